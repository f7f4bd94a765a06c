// Fuzz harness for the renderer: any input must render in both flavours without crashing, and
// no markup from the source may reach the page: every "<" opens one of the renderer's own tags
// (or is the standard flavour's note that raw HTML was left out), and every attribute value
// ends at its own closing quote.
#include "MarkdownRenderer.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::array<std::u16string_view, 34> kTags = {
    u"p",   u"h1",     u"h2",    u"h3",      u"h4",      u"h5",   u"h6",  u"hr",   u"blockquote",
    u"br",  u"ul",     u"ol",    u"li",      u"input",   u"span", u"pre", u"code", u"figure",
    u"div", u"table",  u"thead", u"tbody",   u"tr",      u"th",   u"td",  u"img",  u"a",
    u"del", u"strong", u"em",    u"section", u"caption", u"main", u"sup"};

constexpr std::array<std::u16string_view, 13> kAttributes = {
    u"id",         u"class", u"href",     u"src",     u"alt",
    u"start",      u"type",  u"disabled", u"checked", u"data-mermaid-id",
    u"aria-label", u"align", u"title"};

// Raw HTML kept by the standard flavour may bring any allow-listed tag, but never these, nor an
// event handler or a style attribute.
constexpr std::array<std::u16string_view, 14> kNeverKept = {
    u"script", u"style", u"iframe", u"object", u"embed", u"meta",     u"base",
    u"link",   u"form",  u"svg",    u"math",   u"frame", u"template", u"textarea"};

bool isDangerousAttribute(std::u16string_view name)
{
    return name.starts_with(u"on") || name == u"style" || name == u"srcdoc" ||
           name == u"formaction";
}

constexpr std::u16string_view kRawHtmlOmitted = u"<!-- raw HTML omitted -->";

[[noreturn]] void fail(const char *what, std::u16string_view html, std::size_t at)
{
    const std::size_t from = at > 40 ? at - 40 : 0;
    std::fprintf(stderr, "invariant broken: %s at %zu: ...%s...\n", what, at,
                 TarnText::toUtf8(html.substr(from, 120)).c_str());
    std::abort();
}

bool isNameChar(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'-';
}

template<std::size_t N>
bool known(const std::array<std::u16string_view, N> &names, std::u16string_view name)
{
    for (std::u16string_view candidate : names) {
        if (candidate == name)
            return true;
    }
    return false;
}

void checkFragment(std::u16string_view html, bool rawHtmlKept)
{
    for (std::size_t at = html.find(u'<'); at != std::u16string_view::npos;
         at = html.find(u'<', at + 1)) {
        if (html.substr(at).starts_with(kRawHtmlOmitted))
            continue;
        std::size_t i = at + 1;
        const bool closing = i < html.size() && html[i] == u'/';
        if (closing)
            ++i;
        const std::size_t nameBegin = i;
        while (i < html.size() && isNameChar(html[i]))
            ++i;
        const std::u16string_view name = html.substr(nameBegin, i - nameBegin);
        if (rawHtmlKept ? (name.empty() || known(kNeverKept, name)) : !known(kTags, name))
            fail("unknown tag", html, at);
        // Attributes: name, or name="value" where the value runs to the next quote.
        while (i < html.size() && html[i] == u' ') {
            ++i;
            if (html.substr(i).starts_with(u"/>"))
                break;
            const std::size_t attributeBegin = i;
            while (i < html.size() && isNameChar(html[i]))
                ++i;
            const std::u16string_view attribute = html.substr(attributeBegin, i - attributeBegin);
            if (closing || attribute.empty() ||
                (rawHtmlKept ? isDangerousAttribute(attribute) : !known(kAttributes, attribute)))
                fail("unknown attribute", html, attributeBegin);
            if (i < html.size() && html[i] == u'=') {
                if (i + 1 >= html.size() || html[i + 1] != u'"')
                    fail("unquoted attribute", html, i);
                const std::size_t close = html.find(u'"', i + 2);
                if (close == std::u16string_view::npos)
                    fail("unterminated attribute", html, i);
                i = close + 1;
                if (i >= html.size() || (html[i] != u' ' && html[i] != u'>'))
                    fail("quote inside an attribute value", html, close);
            }
        }
        if (!closing && html.substr(i).starts_with(u"/>"))
            ++i; // "<br />"
        if (i >= html.size() || html[i] != u'>')
            fail("malformed tag", html, at);
    }
}

void checkOutline(const MarkdownRenderer::Fragment &fragment)
{
    for (const TOCItem &item : fragment.toc) {
        if (item.id.empty() || item.level < 1 || item.level > 6)
            fail("bad outline entry", fragment.html, 0);
    }
    if (fragment.headingLines.size() != fragment.toc.size())
        fail("a heading without its line", fragment.html, 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::u16string text =
        TarnText::fromUtf8(std::string_view(reinterpret_cast<const char *>(data), size));
    for (const MarkdownFlavor flavor : {MarkdownFlavor::classic, MarkdownFlavor::gfm}) {
        const auto fragment = MarkdownRenderer::renderFragment(text, flavor);
        checkFragment(fragment.html, flavor == MarkdownFlavor::gfm);
        checkOutline(fragment);
    }
    return 0;
}
