// Parses with cmark-gfm (GitHub's extensions, footnotes and Tarn's math) and writes the fragment.
#include "GfmRenderer.h"
#include "HtmlSanitizer.h"

#include "FrontMatter.h"
#include "GfmHtml.h"
#include "MathExtension.h"
#include "RendererInternal.h"

#include <cmark-gfm-core-extensions.h>

#include <memory>
#include <optional>
#include <string>

namespace TarnGfm {
namespace {

// Raw HTML is written by Tarn's own walk (through the tag filter and the sanitizer), so the
// library's safe-mode option does not matter here.
constexpr int kOptions = CMARK_OPT_DEFAULT;

struct ParserDeleter
{
    void operator()(cmark_parser *parser) const { cmark_parser_free(parser); }
};
struct NodeDeleter
{
    void operator()(cmark_node *node) const { cmark_node_free(node); }
};

bool hasRawHtml(cmark_node *root)
{
    cmark_iter *iter = cmark_iter_new(root);
    bool found = false;
    while (!found && cmark_iter_next(iter) != CMARK_EVENT_DONE) {
        const cmark_node_type type = cmark_node_get_type(cmark_iter_get_node(iter));
        found = type == CMARK_NODE_HTML_BLOCK || type == CMARK_NODE_HTML_INLINE;
    }
    cmark_iter_free(iter);
    return found;
}

// Something that may be a footnote definition, "[^label]:" with a label as cmark-gfm scans it
// (no "]", spaces, tabs or line ends). Footnotes cost cmark-gfm two more walks over the whole
// tree, and without a definition no reference is a footnote.
bool mayHaveFootnotes(std::string_view markdown)
{
    for (std::size_t at = markdown.find("[^"); at != std::string_view::npos;) {
        const std::size_t end = markdown.find_first_of("] \t\r\n", at + 2);
        if (end == std::string_view::npos)
            return false;
        if (markdown[end] == ']' && end > at + 2 && end + 1 < markdown.size() &&
            markdown[end + 1] == ':')
            return true;
        // A "[^" before `end` would stop at `end` too.
        at = markdown.find("[^", end);
    }
    return false;
}

std::unique_ptr<cmark_node, NodeDeleter> parse(std::string_view markdown)
{
    cmark_gfm_core_extensions_ensure_registered();
    const int options = mayHaveFootnotes(markdown) ? kOptions | CMARK_OPT_FOOTNOTES : kOptions;
    std::unique_ptr<cmark_parser, ParserDeleter> parser(cmark_parser_new(options));
    for (const char *name : {"table", "strikethrough", "autolink", "tagfilter", "tasklist"}) {
        if (cmark_syntax_extension *extension = cmark_find_syntax_extension(name))
            cmark_parser_attach_syntax_extension(parser.get(), extension);
    }
    cmark_parser_attach_syntax_extension(parser.get(), mathExtension());
    resetMathScanner();
    cmark_parser_feed(parser.get(), markdown.data(), markdown.size());
    return std::unique_ptr<cmark_node, NodeDeleter>(cmark_parser_finish(parser.get()));
}

} // namespace

MarkdownRenderer::Fragment renderFragment(std::u16string_view markdown)
{
    return renderFragment(std::string_view(TarnText::toUtf8(markdown)));
}

MarkdownRenderer::Fragment renderFragment(std::string_view markdownUtf8)
{
    MarkdownRenderer::Fragment fragment;
    // Raw HTML is written out only to go through the sanitizer, which keeps it inert.
    const auto write = [&](bool keepRawHtml) {
        std::string html;
        html.reserve(markdownUtf8.size() + markdownUtf8.size() / 4 + 256);
        MarkdownRenderer::Fragment written;
        std::string_view text = markdownUtf8;
        const std::optional<FrontMatter> frontMatter = readFrontMatter(text);
        std::size_t firstLine = 0;
        if (frontMatter) {
            text.remove_prefix(frontMatter->byteCount);
            firstLine = frontMatter->lineCount;
            appendFrontMatterTable(html, *frontMatter);
            written.blockLines.push_back(0);
        }
        const auto root = parse(text);
        const bool keep = keepRawHtml && hasRawHtml(root.get());
        writeHtml(root.get(), firstLine, html, written, keep);
        if (keep) {
            std::optional<std::string> sanitized = sanitizeHtml(html);
            if (!sanitized)
                return std::optional<std::pair<std::string, MarkdownRenderer::Fragment>>();
            html = std::move(*sanitized);
        }
        return std::optional(std::pair(std::move(html), std::move(written)));
    };
    // Nesting deeper than a browser keeps leaves the raw HTML out.
    auto result = write(true);
    if (!result)
        result = write(false);
    std::string &html = result->first;
    fragment = std::move(result->second);

    if (html.empty())
        html = TarnText::toUtf8(TarnRender::kEmptyState);
    while (html.ends_with('\n'))
        html.pop_back();
    // The one place the fragment's HTML is made.
    fragment.html = TarnText::fromUtf8(html);
    return fragment;
}

} // namespace TarnGfm
