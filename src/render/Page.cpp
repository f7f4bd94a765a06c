// The complete reader page: stylesheet with the theme palette, template, diagram library, script.
#include "RendererInternal.h"
#include "gfm/GfmRenderer.h"
#include "gfm/StandardPage.h"

namespace TarnRender {
namespace {

struct Rule
{
    u16v selector;
    std::vector<u16v> declarations;
    bool oneLine;
};

const std::vector<Rule> &fixedRules()
{
    static const std::vector<Rule> rules = {
        {u"*", {u"box-sizing: border-box;"}, true},
        {u"html", {u"background: var(--bg);"}, true},
        {u"body",
         {u"margin: 0;", u"background: var(--bg);", u"color: var(--text);",
          u"font-family: ui-serif, \"New York\", \"Songti SC\", \"Noto Serif CJK SC\", Georgia, "
          u"serif;",
          u"font-size: 18px;", u"line-height: 1.78;", u"letter-spacing: 0;",
          u"-webkit-font-smoothing: antialiased;"},
         false},
        {u".tarn-document",
         {u"width: min(820px, calc(100vw - 64px));", u"margin: 0 auto;", u"padding: 56px 0 96px;"},
         false},
        {u"h1, h2, h3, h4, h5, h6",
         {u"color: var(--text);",
          u"font-family: ui-rounded, \"Avenir Next\", -apple-system, BlinkMacSystemFont, "
          u"\"Segoe UI\", sans-serif;",
          u"letter-spacing: 0;", u"line-height: 1.22;", u"scroll-margin-top: 32px;"},
         false},
        {u"h1", {u"font-size: 2.35rem;", u"margin: 0 0 1.4rem;"}, true},
        {u"h2",
         {u"font-size: 1.72rem;", u"margin: 2.4rem 0 0.8rem;", u"padding-bottom: 0.35rem;",
          u"border-bottom: 1px solid var(--rule);"},
         true},
        {u"h3", {u"font-size: 1.35rem;", u"margin: 1.9rem 0 0.65rem;"}, true},
        {u"h4, h5, h6", {u"font-size: 1.05rem;", u"margin: 1.4rem 0 0.45rem;"}, true},
        {u"p", {u"margin: 0 0 1.15rem;"}, true},
        {u"a",
         {u"color: var(--accent);", u"text-decoration-thickness: 1px;",
          u"text-underline-offset: 3px;"},
         true},
        {u"strong", {u"font-weight: 750;"}, true},
        {u"ul, ol", {u"margin: 0 0 1.25rem 1.25rem;", u"padding-left: 1rem;"}, true},
        {u"li", {u"margin: 0.28rem 0;"}, true},
        {u".task-item",
         {u"list-style: none;", u"margin-left: -1.7rem;", u"display: flex;", u"gap: 0.55rem;",
          u"align-items: baseline;"},
         true},
        {u".task-item input", {u"transform: translateY(1px);"}, true},
        {u"blockquote",
         {u"margin: 1.4rem 0;", u"padding: 0.95rem 1.1rem;",
          u"border-left: 4px solid var(--accent);", u"background: var(--quote);",
          u"color: var(--text);", u"border-radius: 8px;"},
         false},
        {u"hr", {u"border: 0;", u"border-top: 1px solid var(--rule);", u"margin: 2rem 0;"}, true},
        {u"code",
         {u"font-family: \"SF Mono\", ui-monospace, Menlo, Consolas, monospace;",
          u"font-size: 0.9em;", u"background: var(--code);", u"padding: 0.15em 0.35em;",
          u"border-radius: 5px;"},
         false},
        {u"pre",
         {u"margin: 1.35rem 0;", u"padding: 1rem;", u"background: var(--code);",
          u"border: 1px solid var(--rule);", u"border-radius: 8px;", u"overflow-x: auto;"},
         false},
        {u"pre code",
         {u"display: block;", u"padding: 0;", u"background: transparent;", u"border-radius: 0;",
          u"line-height: 1.6;"},
         false},
        {u".mermaid-diagram",
         {u"margin: 1.45rem 0;", u"padding: 1rem;", u"background: var(--quote);",
          u"border: 1px solid var(--rule);", u"border-radius: 10px;", u"overflow-x: auto;"},
         false},
        {u".mermaid-output",
         {u"display: none;", u"min-width: 520px;", u"text-align: center;"},
         false},
        {u".mermaid-output svg",
         {u"max-width: 100%;", u"height: auto;",
          u"font-family: -apple-system, BlinkMacSystemFont, \"Segoe UI\", sans-serif;"},
         false},
        {u".mermaid-diagram.is-rendered", {u"background: var(--panel);"}, false},
        {u".mermaid-diagram.is-rendered .mermaid-output", {u"display: block;"}, false},
        {u".mermaid-diagram.is-rendered .mermaid-source", {u"display: none;"}, false},
        {u".mermaid-error",
         {u"margin-bottom: 0.75rem;", u"color: var(--accent);",
          u"font-family: -apple-system, BlinkMacSystemFont, \"Segoe UI\", sans-serif;",
          u"font-size: 0.95rem;", u"font-weight: 700;"},
         false},
        {u"img",
         {u"max-width: 100%;", u"border-radius: 8px;", u"display: block;",
          u"margin: 1.25rem auto;"},
         false},
        {u".table-wrap",
         {u"overflow-x: auto;", u"margin: 1.4rem 0;", u"border: 1px solid var(--rule);",
          u"border-radius: 8px;", u"background: var(--panel);"},
         false},
        {u"table",
         {u"width: 100%;", u"border-collapse: collapse;",
          u"font-family: -apple-system, BlinkMacSystemFont, \"Segoe UI\", sans-serif;",
          u"font-size: 0.94rem;"},
         true},
        {u"th, td",
         {u"padding: 0.72rem 0.85rem;", u"border-bottom: 1px solid var(--rule);",
          u"text-align: left;", u"vertical-align: top;"},
         true},
        {u"th",
         {u"color: var(--muted);", u"font-weight: 700;",
          u"background: color-mix(in srgb, var(--panel) 82%, var(--code));"},
         true},
        {u"tr:last-child td", {u"border-bottom: 0;"}, true},
        {u"mark.tarn-search-hit",
         {u"background: #FFD965;", u"color: #231A10;", u"padding: 0.05em 0.14em;",
          u"border-radius: 4px;"},
         false},
        {u"mark.tarn-search-current",
         {u"background: #F5A524;", u"outline: 2px solid var(--accent);", u"outline-offset: 2px;",
          u"box-shadow: 0 0 0 3px color-mix(in srgb, var(--accent) 18%, transparent);"},
         false},
        {u".empty-state",
         {u"min-height: 55vh;", u"display: grid;", u"place-content: center;",
          u"text-align: center;", u"color: var(--muted);"},
         true},
    };
    return rules;
}

void appendRule(u16 &out, const Rule &rule, u16v indent)
{
    out.append(indent);
    out.append(rule.selector);
    if (rule.oneLine) {
        out.append(u" { ");
        for (std::size_t i = 0; i < rule.declarations.size(); ++i) {
            if (i > 0)
                out.push_back(u' ');
            out.append(rule.declarations[i]);
        }
        out.append(u" }");
        return;
    }
    out.append(u" {\n");
    for (const u16v declaration : rule.declarations) {
        out.append(u"  ");
        out.append(declaration);
        out.push_back(u'\n');
    }
    out.append(u"}");
}

// Everything after the palette; identical for every theme, so it is built once.
const u16 &fixedStylesheet()
{
    static const u16 text = [] {
        u16 out = u";\n}\n";
        for (const Rule &rule : fixedRules()) {
            appendRule(out, rule, u"");
            out.push_back(u'\n');
        }
        out.append(u"@media print {\n");
        appendRule(out, {u"body", {u"background: white;", u"color: #1f1f1f;"}, true}, u"  ");
        out.push_back(u'\n');
        appendRule(
            out,
            {u".tarn-document", {u"width: auto;", u"max-width: 720px;", u"padding: 24px 0;"}, true},
            u"  ");
        out.append(u"\n}");
        return out;
    }();
    return text;
}

void appendStylesheet(u16 &out, TarnTheme theme)
{
    out.append(u":root {\n  color-scheme: light dark;\n");
    bool first = true;
    for (const auto &entry : TarnThemes::pagePalette(theme)) {
        if (!first)
            out.append(u";\n");
        out.append(u"  --");
        out.append(entry.name);
        out.append(u": ");
        out.append(entry.value);
        first = false;
    }
    out.append(fixedStylesheet());
}

} // namespace
} // namespace TarnRender

namespace MarkdownRenderer {

using namespace TarnRender;

namespace {

// Parses `markdown` and appends its blocks' HTML to `out`; the parser keeps the outline.
void appendBlocks(u16 &out, std::u16string_view markdown, Parser &parser)
{
    const bool hasCarriageReturn = markdown.find(u'\r') != u16v::npos;
    const u16 normalized = hasCarriageReturn ? normalizeLineEnds(markdown) : u16();
    parser.lines = splitLines(hasCarriageReturn ? u16v(normalized) : markdown);
    parser.parse(out);
}

// Everything before the blocks. A standard-flavour page (`standard` set) depends on what its
// fragment needs, down to its first element.
void appendPageHead(u16 &page, TarnTheme theme, u16v title, const Fragment *standard)
{
    page.append(u"<!doctype html>\n<html>\n<head>\n");
    if (standard)
        page.append(TarnGfm::securityPolicy(*standard));
    page.append(u"<meta charset=\"utf-8\">\n"
                u"<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                u"<title>");
    appendEscapedHTML(page, title);
    page.append(u"</title>\n<style>\n");
    appendStylesheet(page, theme);
    page.append(u"\n</style>\n");
    if (standard)
        TarnGfm::appendStyles(page, *standard, theme);
    page.append(u"</head>\n<body>\n<main class=\"tarn-document\">\n");
}

void appendPageTail(u16 &page, const Fragment &fragment, bool standard)
{
    page.append(u"\n</main>\n");
    if (fragment.hasMermaid)
        page.append(inlineMermaidScript());
    if (standard)
        TarnGfm::appendScripts(page, fragment);
    page.append(u"\n<script>\n");
    page.append(readerScript());
    page.append(u"\n</script>\n</body>\n</html>");
}

} // namespace

Fragment renderFragment(std::u16string_view markdown, MarkdownFlavor flavor)
{
    if (flavor == MarkdownFlavor::gfm)
        return TarnGfm::renderFragment(markdown);
    Parser parser;
    Fragment fragment;
    appendBlocks(fragment.html, markdown, parser);
    fragment.toc = std::move(parser.toc);
    fragment.headingLines = std::move(parser.headingLines);
    fragment.blockLines = std::move(parser.blockLines);
    fragment.hasMermaid = parser.hasMermaid;
    return fragment;
}

RenderedMarkdown render(std::u16string_view markdown, TarnTheme theme, std::u16string_view title,
                        MarkdownFlavor flavor)
{
    if (flavor == MarkdownFlavor::gfm) {
        std::shared_ptr<void> tree;
        Fragment fragment = TarnGfm::renderFragment(markdown, &tree);
        return {pageOf(fragment, flavor, theme, title), std::move(fragment.toc),
                std::move(fragment.headingLines), std::move(tree)};
    }
    // The blocks are written straight into the page, which is sized for typical Markdown up
    // front: a 10 MB document otherwise copies and regrows tens of megabytes.
    u16 page;
    page.reserve(markdown.size() * 2 + 65536);
    appendPageHead(page, theme, title, nullptr);
    Parser parser;
    appendBlocks(page, markdown, parser);
    Fragment fragment;
    fragment.hasMermaid = parser.hasMermaid;
    appendPageTail(page, fragment, false);
    return {std::move(page), std::move(parser.toc), std::move(parser.headingLines), nullptr};
}

std::u16string pageOf(const Fragment &fragment, MarkdownFlavor flavor, TarnTheme theme,
                      std::u16string_view title)
{
    const bool standard = flavor == MarkdownFlavor::gfm;
    u16 page;
    page.reserve(fragment.html.size() + 65536);
    appendPageHead(page, theme, title, standard ? &fragment : nullptr);
    page.append(fragment.html);
    appendPageTail(page, fragment, standard);
    return page;
}

std::u16string standardPage(const Fragment &fragment, TarnTheme theme, std::u16string_view title)
{
    return pageOf(fragment, MarkdownFlavor::gfm, theme, title);
}

RenderedMarkdown render(std::string_view markdownUtf8, TarnTheme theme, std::u16string_view title,
                        MarkdownFlavor flavor)
{
    return render(u16v(TarnText::fromUtf8(markdownUtf8)), theme, title, flavor);
}

} // namespace MarkdownRenderer
