// The standard flavour's page parts. Its raw HTML is untrusted, so the page carries a policy
// that lets only Tarn's own inline scripts run, by their SHA-256; see HtmlSanitizer.cpp for
// which layer stops what.
#include "StandardPage.h"

#include "Digest.h"
#include "RendererInternal.h"

#include <string_view>

namespace TarnEmbedded {
std::string_view standardPageScriptUtf8();
std::string_view imageFallbackScriptUtf8();
} // namespace TarnEmbedded

namespace TarnGfm {
namespace {

using TarnRender::u16;
using TarnRender::u16v;

// An inline script element and the policy source that allows exactly its text.
struct InlineScript
{
    u16 element;
    u16 source;
};

InlineScript inlineScript(u16 text)
{
    // The element's text is what the engine hashes: the line breaks around the code included.
    const u16 content = u"\n" + text + u"\n";
    const auto digest = sha256(TarnText::toUtf8(content));
    const std::string hash =
        base64(std::string_view(reinterpret_cast<const char *>(digest.data()), digest.size()));
    return {u"<script>" + content + u"</script>", u"'sha256-" + TarnText::fromUtf8(hash) + u"'"};
}

// A library from the resources, read once per process; empty when it is missing.
InlineScript libraryScript(const std::string &path)
{
    auto text = TarnRender::readResourceText(path);
    if (!text)
        return {};
    TarnRender::replaceAll(*text, u"</script>", u"<\\/script>");
    return inlineScript(std::move(*text));
}

const InlineScript &katexScript()
{
    static const InlineScript script = libraryScript("katex/katex.min.js");
    return script;
}

const InlineScript &highlightScript()
{
    static const InlineScript script = libraryScript("highlight.min.js");
    return script;
}

const InlineScript &pageScript()
{
    static const InlineScript script =
        inlineScript(TarnText::fromUtf8(TarnEmbedded::standardPageScriptUtf8()));
    return script;
}

const InlineScript &imageFallbackScript()
{
    static const InlineScript script =
        inlineScript(TarnText::fromUtf8(TarnEmbedded::imageFallbackScriptUtf8()));
    return script;
}

const InlineScript &readerScript()
{
    static const InlineScript script = inlineScript(u16(MarkdownRenderer::readerScript()));
    return script;
}

// The shared diagram library element, "<script>\n...\n</script>", allowed by its own text.
const u16 &mermaidSource()
{
    static const u16 source = [] {
        const u16 &element = MarkdownRenderer::inlineMermaidScript();
        constexpr u16v open = u"<script>\n", close = u"\n</script>";
        if (element.size() < open.size() + close.size())
            return u16();
        const u16 text = element.substr(open.size(), element.size() - open.size() - close.size());
        return inlineScript(text).source;
    }();
    return source;
}

// KaTeX's style sheet with its fonts inside, so the page needs nothing beside it: each
// font-face keeps only its WOFF2 file, as a data: address.
u16 katexStyles()
{
    auto css = TarnRender::readResourceText("katex/katex.min.css");
    if (!css)
        return {};
    u16 out;
    u16v rest(*css);
    constexpr u16v src = u"src:url(fonts/";
    for (std::size_t at = rest.find(src); at != u16v::npos; at = rest.find(src)) {
        const std::size_t nameEnd = rest.find(u')', at);
        const std::size_t end = rest.find_first_of(u";}", at);
        if (nameEnd == u16v::npos || end == u16v::npos || nameEnd > end)
            break;
        const u16v name = rest.substr(at + src.size(), nameEnd - at - src.size());
        const auto font = TarnRender::readResourceBytes("katex/fonts/" + TarnText::toUtf8(name));
        out.append(rest.substr(0, at));
        if (font && name.ends_with(u".woff2")) {
            out.append(u"src:url(data:font/woff2;base64,");
            out.append(TarnText::fromUtf8(base64(*font)));
            out.append(u") format(\"woff2\")");
        } else {
            out.append(rest.substr(at, end - at));
        }
        rest.remove_prefix(end);
    }
    out.append(rest);
    return out;
}

const u16 &katexStyleElement()
{
    static const u16 element = [] {
        const u16 css = katexStyles();
        return css.empty() ? u16() : u"<style>\n" + css + u"\n</style>\n";
    }();
    return element;
}

// Code colours for each theme: keyword, string, comment, number, title, type, attribute,
// deletion.
struct CodeColours
{
    u16v keyword, string, comment, number, title, type, attribute, deletion;
};

CodeColours codeColours(TarnTheme theme)
{
    switch (theme) {
    case TarnTheme::light:
        return {u"#A3324A", u"#2F6F56", u"#8A8276", u"#2B5C8A",
                u"#6B4FA0", u"#8A5A12", u"#2B5C8A", u"#A3324A"};
    case TarnTheme::warm:
        return {u"#9A3B27", u"#5F7A1F", u"#8C7A62", u"#2F5E86",
                u"#7B4B94", u"#9A5527", u"#2F5E86", u"#A4352B"};
    case TarnTheme::dark:
        return {u"#E3A0C8", u"#A8D5A2", u"#8C877D", u"#9CC3E6",
                u"#D8B8F0", u"#E6C07B", u"#9CC3E6", u"#F2A0A0"};
    case TarnTheme::businessBlue:
    default:
        return {u"#C0355E", u"#1F7A4D", u"#6B7C93", u"#0B5CAD",
                u"#7A3DB8", u"#A1560F", u"#0B5CAD", u"#B3261E"};
    }
}

void appendRule(u16 &out, u16v selectors, u16v colour, u16v extra = {})
{
    out.append(selectors);
    out.append(u" { color: ");
    out.append(colour);
    out.append(u";");
    out.append(extra);
    out.append(u" }\n");
}

void appendCodeColours(u16 &out, TarnTheme theme)
{
    const CodeColours colours = codeColours(theme);
    out.append(u"<style>\n");
    appendRule(out,
               u".hljs-keyword, .hljs-selector-tag, .hljs-literal, .hljs-doctag, "
               u".hljs-section, .hljs-name",
               colours.keyword);
    appendRule(out, u".hljs-string, .hljs-regexp, .hljs-addition, .hljs-char.escape_",
               colours.string);
    appendRule(out, u".hljs-comment, .hljs-quote", colours.comment, u" font-style: italic;");
    appendRule(out,
               u".hljs-number, .hljs-symbol, .hljs-bullet, .hljs-link, .hljs-variable, "
               u".hljs-template-variable",
               colours.number);
    appendRule(out, u".hljs-title, .hljs-title.function_", colours.title);
    appendRule(out, u".hljs-type, .hljs-built_in, .hljs-title.class_, .hljs-params", colours.type);
    appendRule(out,
               u".hljs-attr, .hljs-attribute, .hljs-property, .hljs-meta, "
               u".hljs-selector-class, .hljs-selector-id, .hljs-selector-attr",
               colours.attribute);
    appendRule(out, u".hljs-deletion", colours.deletion);
    out.append(u".hljs-emphasis { font-style: italic; }\n.hljs-strong { font-weight: 700; }\n"
               u".hljs code { display: inline; font-family: inherit; font-size: inherit; "
               u"background: none; padding: 0; "
               u"border-radius: 0; }\n</style>\n");
}

// A formula that does not parse stays as its source; an image that does not load shows its
// alt text in a quiet frame; keys written with <kbd> look like keys.
constexpr u16v kPageStyles =
    u"<style>\n"
    u".math-display { display: block; margin: 1.2rem 0; overflow-x: auto; overflow-y: hidden; "
    u"text-align: center; }\n"
    u".math-error { font-family: \"SF Mono\", ui-monospace, Menlo, Consolas, monospace; "
    u"font-size: 0.9em; color: var(--muted); white-space: pre-wrap; }\n"
    u"kbd { font-family: \"SF Mono\", ui-monospace, Menlo, Consolas, monospace; "
    u"font-size: 0.82em; padding: 0.1em 0.4em; border: 1px solid var(--rule); "
    u"border-bottom-width: 2px; border-radius: 5px; background: var(--panel); }\n"
    u".tarn-image-fallback { display: inline-block; max-width: 100%; margin: 0.2rem 0; "
    u"padding: 0.3rem 0.75rem; border: 1px dashed var(--rule); border-radius: 6px; "
    u"background: var(--panel); color: var(--muted); font-size: 0.9em; line-height: 1.5; "
    u"overflow-wrap: anywhere; }\n"
    u"</style>\n";

} // namespace

std::u16string securityPolicy(const MarkdownRenderer::Fragment &fragment)
{
    u16 scripts;
    const auto allow = [&scripts](const u16 &source) {
        if (!source.empty()) {
            scripts.push_back(u' ');
            scripts.append(source);
        }
    };
    // In the order the scripts come on the page.
    allow(imageFallbackScript().source);
    if (fragment.hasMermaid)
        allow(mermaidSource());
    if (fragment.hasMath)
        allow(katexScript().source);
    if (fragment.hasHighlight)
        allow(highlightScript().source);
    allow(pageScript().source);
    allow(readerScript().source);
    // Styles inline only (the themes, KaTeX and the diagrams need them), images from the
    // document's folder, the web and data: (the reader's request filter still keeps remote ones
    // out of the reader), fonts only from the page itself, and nothing else at all.
    return u"<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
           u"script-src" +
           scripts +
           u"; style-src 'unsafe-inline'; img-src 'self' data: file: http: https:; "
           u"font-src data:; object-src 'none'; base-uri 'none'; form-action 'none'; "
           u"frame-src 'none'; connect-src 'none'\">\n";
}

void appendStyles(std::u16string &page, const MarkdownRenderer::Fragment &fragment, TarnTheme theme)
{
    page.append(kPageStyles);
    page.append(imageFallbackScript().element);
    page.append(u"\n");
    if (fragment.hasHighlight)
        appendCodeColours(page, theme);
}

void appendScripts(std::u16string &page, const MarkdownRenderer::Fragment &fragment)
{
    // KaTeX's styles (a third of a megabyte with their fonts) come with its script rather than
    // in the head: they style only what the script draws, and the engine paints nothing before
    // it has parsed the head.
    if (fragment.hasMath) {
        page.append(katexStyleElement());
        page.append(katexScript().element);
    }
    if (fragment.hasHighlight)
        page.append(highlightScript().element);
    page.append(u"\n");
    page.append(pageScript().element);
}

} // namespace TarnGfm
