// Front matter is read line by line without a YAML library: the table only needs the top-level
// "key: value" pairs, and anything nested is shown as the text it was written as.
#include "FrontMatter.h"

#include "GfmText.h"

namespace TarnGfm {
namespace {

std::string_view trimmedEnd(std::string_view s)
{
    const std::size_t end = s.find_last_not_of(" \t");
    return end == std::string_view::npos ? std::string_view() : s.substr(0, end + 1);
}

std::string_view trimmed(std::string_view s)
{
    const std::size_t begin = s.find_first_not_of(" \t");
    if (begin == std::string_view::npos)
        return {};
    return s.substr(begin, s.find_last_not_of(" \t") - begin + 1);
}

// The next line of `text` from `at`, without its ending; `at` moves past the ending.
std::string_view nextLine(std::string_view text, std::size_t &at)
{
    const std::size_t begin = at;
    const std::size_t end = text.find_first_of("\r\n", begin);
    if (end == std::string_view::npos) {
        at = text.size();
        return text.substr(begin);
    }
    at = end + (text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n' ? 2 : 1);
    return text.substr(begin, end - begin);
}

// "key: value" at the start of a line; the key may not start with a space, "#" or "-".
bool splitKey(std::string_view line, std::string_view &key, std::string_view &value)
{
    if (line.empty() || line[0] == ' ' || line[0] == '\t' || line[0] == '#' || line[0] == '-')
        return false;
    for (std::size_t colon = line.find(':'); colon != std::string_view::npos;
         colon = line.find(':', colon + 1)) {
        if (colon + 1 == line.size() || line[colon + 1] == ' ' || line[colon + 1] == '\t') {
            key = trimmed(line.substr(0, colon));
            value = trimmed(line.substr(colon + 1));
            return !key.empty();
        }
    }
    return false;
}

std::string_view unquoted(std::string_view value)
{
    if (value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0])
        return value.substr(1, value.size() - 2);
    return value;
}

} // namespace

std::optional<FrontMatter> readFrontMatter(std::string_view utf8)
{
    std::size_t at = utf8.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    if (trimmedEnd(nextLine(utf8, at)) != "---")
        return std::nullopt;
    FrontMatter frontMatter;
    frontMatter.lineCount = 1;
    std::vector<std::string_view> body;
    while (at < utf8.size()) {
        const std::string_view line = nextLine(utf8, at);
        ++frontMatter.lineCount;
        const std::string_view t = trimmedEnd(line);
        if (t == "---" || t == "...") {
            frontMatter.byteCount = at;
            break;
        }
        body.push_back(line);
    }
    if (frontMatter.byteCount == 0)
        return std::nullopt; // never closed: ordinary Markdown

    for (const std::string_view line : body) {
        std::string_view key, value;
        if (splitKey(line, key, value)) {
            frontMatter.entries.push_back({std::string(key), std::string(value)});
        } else if (!trimmed(line).empty() && !trimmed(line).starts_with('#')) {
            // YAML front matter begins with a key; anything else is a rule and Markdown.
            if (frontMatter.entries.empty())
                return std::nullopt;
            FrontMatter::Entry &entry = frontMatter.entries.back();
            std::string &raw = entry.value;
            if (!entry.nested && (raw.starts_with('|') || raw.starts_with('>')))
                raw.clear(); // a block scalar's text is the lines below its indicator
            entry.nested = true;
            if (!raw.empty())
                raw.push_back('\n');
            raw.append(line);
        }
    }
    if (frontMatter.entries.empty())
        return std::nullopt;
    for (FrontMatter::Entry &entry : frontMatter.entries) {
        if (!entry.nested)
            entry.value = std::string(unquoted(entry.value));
    }
    return frontMatter;
}

void appendFrontMatterTable(std::string &out, const FrontMatter &frontMatter)
{
    out.append("<div class=\"table-wrap front-matter\">\n<table>\n<tbody>\n");
    for (const FrontMatter::Entry &entry : frontMatter.entries) {
        out.append("<tr><th>");
        appendEscaped(out, entry.key);
        out.append(entry.nested ? "</th><td><pre>" : "</th><td>");
        appendEscaped(out, entry.value);
        out.append(entry.nested ? "</pre></td></tr>\n" : "</td></tr>\n");
    }
    out.append("</tbody>\n</table>\n</div>\n");
}

} // namespace TarnGfm
