// cmark-gfm's parse tree to Tarn's fragment.
#include "GfmRenderer.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>

#include <cstdlib>
#include <memory>

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
    char *html =
        cmark_render_html(root.get(), kOptions, cmark_parser_get_syntax_extensions(parser.get()));
    fragment.html = TarnText::fromUtf8(html);
    std::free(html);
    return fragment;
}

} // namespace TarnGfm
