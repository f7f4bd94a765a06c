// Fuzz harness for the standard flavour's HTML sanitizer: any input comes out without crashing,
// and reading the output back (as a browser will) cannot turn its text into markup or make
// new attributes: sanitized again, it keeps the same text and only start tags it had, or
// plain ones the parser adds. (Nesting may change, and with it a line break after <pre>: HTML
// re-nests misnested links and tables on every read.)
#include "gfm/HtmlSanitizer.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

namespace {

// The sanitizer's output escapes every "<" of its text, so each "<" starts one of its tags.
void split(std::string_view html, std::string &text, std::set<std::string> &startTags)
{
    for (std::size_t at = 0; at < html.size();) {
        const std::size_t open = html.find('<', at);
        for (const char c : html.substr(at, open - at)) {
            if (c != '\n')
                text.push_back(c);
        }
        if (open == std::string_view::npos)
            return;
        const std::size_t close = html.find('>', open);
        if (close == std::string_view::npos) {
            std::fprintf(stderr, "unterminated tag in:\n%.*s\n", int(html.size()), html.data());
            std::abort();
        }
        if (html[open + 1] != '/')
            startTags.emplace(html.substr(open, close + 1 - open));
        at = close + 1;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char *>(data), size);
    const auto kept = TarnGfm::sanitizeHtml(input);
    if (!kept)
        return 0;
    const auto again = TarnGfm::sanitizeHtml(*kept);
    std::string keptText, againText;
    std::set<std::string> keptTags, againTags;
    split(*kept, keptText, keptTags);
    if (again)
        split(*again, againText, againTags);
    bool newTags = false;
    // The parser may add plain elements of its own (a paragraph, a table body), never one with
    // attributes.
    for (const std::string &tag : againTags)
        newTags = newTags || (!keptTags.count(tag) && tag.find(' ') != std::string::npos);
    if (!again || againText != keptText || newTags) {
        std::fprintf(stderr, "read back differently:\n%s\n---\n%s\n", kept->c_str(),
                     again ? again->c_str() : "(none)");
        std::abort();
    }
    return 0;
}
