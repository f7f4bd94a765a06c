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
    void operator()(void *node) const { cmark_node_free(static_cast<cmark_node *>(node)); }
};

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

MarkdownRenderer::Fragment renderFragment(std::u16string_view markdown,
                                          std::shared_ptr<void> *keptTree)
{
    return renderFragment(std::string_view(TarnText::toUtf8(markdown)), keptTree);
}

MarkdownRenderer::Fragment renderFragment(std::string_view markdownUtf8,
                                          std::shared_ptr<void> *keptTree)
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
        auto root = parse(text);
        const auto ranges = writeHtml(root.get(), firstLine, html, written, keepRawHtml);
        if (keptTree)
            *keptTree = std::shared_ptr<void>(root.release(), NodeDeleter());
        if (!ranges.empty()) {
            // Only the stretches with raw HTML go through the sanitizer's parse, which is far
            // slower than the rest: Tarn's own markup around them is escaped and balanced.
            std::string sanitized;
            sanitized.reserve(html.size());
            std::size_t copied = 0;
            for (const auto &[begin, end] : ranges) {
                sanitized.append(html, copied, begin - copied);
                const std::optional<std::string> stretch =
                    sanitizeHtml(std::string_view(html).substr(begin, end - begin));
                if (!stretch)
                    return std::optional<std::pair<std::string, MarkdownRenderer::Fragment>>();
                sanitized.append(*stretch);
                copied = end;
            }
            sanitized.append(html, copied);
            html = std::move(sanitized);
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
