// cmark-gfm's parse tree to Tarn's fragment.
#include "GfmRenderer.h"
#include "HtmlSanitizer.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace TarnGfm {
namespace {

constexpr int kOptions = CMARK_OPT_DEFAULT | CMARK_OPT_FOOTNOTES;

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

} // namespace

MarkdownRenderer::Fragment renderFragment(std::u16string_view markdown)
{
    cmark_gfm_core_extensions_ensure_registered();
    std::unique_ptr<cmark_parser, ParserDeleter> parser(cmark_parser_new(kOptions));
    for (const char *name : {"table", "strikethrough", "autolink", "tagfilter", "tasklist"}) {
        if (cmark_syntax_extension *extension = cmark_find_syntax_extension(name))
            cmark_parser_attach_syntax_extension(parser.get(), extension);
    }
    const std::string utf8 = TarnText::toUtf8(markdown);
    cmark_parser_feed(parser.get(), utf8.data(), utf8.size());
    std::unique_ptr<cmark_node, NodeDeleter> root(cmark_parser_finish(parser.get()));

    MarkdownRenderer::Fragment fragment;
    // Raw HTML is written out only to go through the sanitizer; documents without any keep
    // cmark-gfm's own safe output (which also drops javascript: and similar link addresses).
    cmark_llist *extensions = cmark_parser_get_syntax_extensions(parser.get());
    std::optional<std::string> kept;
    if (hasRawHtml(root.get())) {
        char *html = cmark_render_html(root.get(), kOptions | CMARK_OPT_UNSAFE, extensions);
        kept = sanitizeHtml(html);
        std::free(html);
    }
    if (kept) {
        fragment.html = TarnText::fromUtf8(*kept);
    } else {
        char *html = cmark_render_html(root.get(), kOptions, extensions);
        fragment.html = TarnText::fromUtf8(html);
        std::free(html);
    }
    return fragment;
}

} // namespace TarnGfm
