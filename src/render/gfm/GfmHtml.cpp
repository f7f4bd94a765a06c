// Written after cmark's own html.c, so the markup matches CommonMark's; Tarn's additions (heading
// ids, diagrams, math, alerts, footnote ids, highlighted-code classes) are cases of the switch.
#include "GfmHtml.h"

#include "GfmText.h"
#include "GfmWriter.h"
#include "MathExtension.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm/node.h>

namespace TarnGfm {

// Text and code spans are read in place: cmark_node_get_literal() copies each literal into a
// string of its own on first use, and making and freeing those copies cost about 7 % of the
// time on large documents. The node layout is that of the very library version linked: its
// soname carries the full version.
std::string_view literal(cmark_node *node)
{
    const cmark_node_type type = cmark_node_get_type(node);
    if (type == CMARK_NODE_TEXT || type == CMARK_NODE_CODE) {
        const cmark_chunk &chunk = node->as.literal;
        return {reinterpret_cast<const char *>(chunk.data), std::size_t(chunk.len)};
    }
    const char *text = cmark_node_get_literal(node);
    return text ? std::string_view(text) : std::string_view();
}

namespace {

// A paragraph that holds one display formula and nothing else becomes the formula's block.
cmark_node *onlyDisplayMath(cmark_node *paragraph)
{
    cmark_node *math = nullptr;
    for (cmark_node *child = cmark_node_first_child(paragraph); child;
         child = cmark_node_next(child)) {
        const cmark_node_type type = cmark_node_get_type(child);
        if (type == CMARK_NODE_SOFTBREAK ||
            (type == CMARK_NODE_TEXT &&
             literal(child).find_first_not_of(" \t") == std::string::npos))
            continue;
        if (mathOf(child) != Math::displayMath || math)
            return nullptr;
        math = child;
    }
    return math;
}

bool isTightParagraph(cmark_node *paragraph)
{
    cmark_node *item = cmark_node_parent(paragraph);
    cmark_node *list = item ? cmark_node_parent(item) : nullptr;
    return list && cmark_node_get_type(list) == CMARK_NODE_LIST && cmark_node_get_list_tight(list);
}

} // namespace

void HtmlWriter::write(cmark_node *root)
{
    cmark_iter *iter = cmark_iter_new(root);
    for (cmark_event_type event; (event = cmark_iter_next(iter)) != CMARK_EVENT_DONE;) {
        cmark_node *node = cmark_iter_get_node(iter);
        if (event == CMARK_EVENT_ENTER && cmark_node_parent(node) == root) {
            startTopLevelBlock(node);
            noteTopLevelBlock(node);
        }
        if (event == CMARK_EVENT_ENTER && cmark_node_get_type(node) == CMARK_NODE_BLOCK_QUOTE) {
            m_quotes.push_back(takeAlertMarker(node));
            // The iterator has already looked at the children the marker took away.
            cmark_iter_reset(iter, node, CMARK_EVENT_ENTER);
        }
        if (!visit(node, event == CMARK_EVENT_ENTER))
            cmark_iter_reset(iter, node, CMARK_EVENT_EXIT);
    }
    cmark_iter_free(iter);
    if (m_footnotes > 0)
        m_out.append("</ol>\n</section>\n");
    closeRawRange();
}

bool HtmlWriter::visit(cmark_node *node, bool entering)
{
    const cmark_node_type type = cmark_node_get_type(node);
    if (m_imageOpen && node != m_imageOpen) {
        // An image's description becomes its alt text.
        if (mathOf(node) != Math::none)
            appendEscaped(m_out, texOf(node));
        else if (type == CMARK_NODE_TEXT || type == CMARK_NODE_CODE)
            appendEscaped(m_out, literal(node));
        else if (type == CMARK_NODE_SOFTBREAK || type == CMARK_NODE_LINEBREAK)
            m_out.push_back(' ');
        return true;
    }
    if (const Math math = mathOf(node); math != Math::none) {
        if (entering) {
            // A display formula among other text stays inline-level, so the paragraph holds.
            m_out.append(math == Math::inlineMath ? "<span class=\"math math-inline\">"
                                                  : "<span class=\"math math-display\">");
            appendEscaped(m_out, texOf(node));
            m_out.append("</span>");
            m_fragment.hasMath = true;
        }
        return true;
    }
    switch (type) {
    case CMARK_NODE_DOCUMENT:
        break;
    case CMARK_NODE_BLOCK_QUOTE:
        newline();
        if (entering) {
            const AlertKind *alert = m_quotes.back();
            if (!alert) {
                m_out.append("<blockquote>\n");
                break;
            }
            m_out.append("<div class=\"markdown-alert markdown-alert-");
            m_out.append(alert->cssName);
            m_out.append("\"><p class=\"markdown-alert-title\">");
            m_out.append(alert->title);
            m_out.append("</p>\n");
        } else {
            m_out.append(m_quotes.back() ? "</div>\n" : "</blockquote>\n");
            m_quotes.pop_back();
        }
        break;
    case CMARK_NODE_LIST:
        if (entering) {
            newline();
            const int start = cmark_node_get_list_start(node);
            if (cmark_node_get_list_type(node) == CMARK_BULLET_LIST)
                m_out.append("<ul>\n");
            else if (start == 1)
                m_out.append("<ol>\n");
            else
                m_out.append("<ol start=\"" + std::to_string(start) + "\">\n");
        } else {
            m_out.append(cmark_node_get_list_type(node) == CMARK_BULLET_LIST ? "</ul>\n"
                                                                             : "</ol>\n");
        }
        break;
    case CMARK_NODE_ITEM: {
        // A task item is a flex row, as in the classic flavour: the box, then one box of text.
        const bool task = m_tasklist && cmark_node_get_syntax_extension(node) == m_tasklist;
        if (!entering) {
            m_out.append(task ? "</div></li>\n" : "</li>\n");
            break;
        }
        newline();
        if (!task)
            m_out.append("<li>");
        else if (cmark_gfm_extensions_get_tasklist_item_checked(node))
            m_out.append("<li class=\"task-item\"><input type=\"checkbox\" disabled checked><div>");
        else
            m_out.append("<li class=\"task-item\"><input type=\"checkbox\" disabled><div>");
        break;
    }
    case CMARK_NODE_HEADING:
        heading(node, entering);
        break;
    case CMARK_NODE_CODE_BLOCK:
        return codeBlock(node);
    case CMARK_NODE_HTML_BLOCK:
        newline();
        rawHtml(node);
        newline();
        break;
    case CMARK_NODE_THEMATIC_BREAK:
        newline();
        m_out.append("<hr />\n");
        break;
    case CMARK_NODE_PARAGRAPH:
        if (entering) {
            if (cmark_node *math = onlyDisplayMath(node)) {
                newline();
                m_out.append("<div class=\"math math-display\">");
                appendEscaped(m_out, texOf(math));
                m_out.append("</div>\n");
                m_fragment.hasMath = true;
                return false;
            }
            if (!isTightParagraph(node)) {
                newline();
                m_out.append("<p>");
            }
        } else {
            const bool lastInFootnote =
                cmark_node_get_type(cmark_node_parent(node)) == CMARK_NODE_FOOTNOTE_DEFINITION &&
                !cmark_node_next(node);
            if (lastInFootnote)
                backReferences();
            if (!isTightParagraph(node))
                m_out.append("</p>\n");
        }
        break;
    case CMARK_NODE_TEXT:
        appendEscaped(m_out, literal(node));
        break;
    case CMARK_NODE_LINEBREAK:
        m_out.append("<br />\n");
        break;
    case CMARK_NODE_SOFTBREAK:
        m_out.push_back('\n');
        break;
    case CMARK_NODE_CODE:
        m_out.append("<code>");
        appendEscaped(m_out, literal(node));
        m_out.append("</code>");
        break;
    case CMARK_NODE_HTML_INLINE:
        rawHtml(node);
        break;
    case CMARK_NODE_EMPH:
        m_out.append(entering ? "<em>" : "</em>");
        break;
    case CMARK_NODE_STRONG:
        m_out.append(entering ? "<strong>" : "</strong>");
        break;
    case CMARK_NODE_LINK:
    case CMARK_NODE_IMAGE:
        link(node, entering);
        break;
    case CMARK_NODE_FOOTNOTE_DEFINITION:
        footnoteDefinition(entering);
        break;
    case CMARK_NODE_FOOTNOTE_REFERENCE:
        if (entering)
            footnoteReference(node);
        break;
    default:
        extensionNode(node, entering);
        break;
    }
    return true;
}

// The extensions' node types are only known by name.
void HtmlWriter::extensionNode(cmark_node *node, bool entering)
{
    const std::string_view name = cmark_node_get_type_string(node);
    if (name == "strikethrough") {
        m_out.append(entering ? "<del>" : "</del>");
    } else if (name == "table") {
        newline();
        m_out.append(entering ? "<div class=\"table-wrap\">\n<table>\n"
                              : "</tbody>\n</table>\n</div>\n");
    } else if (name == "table_row" || name == "table_header") {
        const bool header = cmark_gfm_extensions_get_table_row_is_header(node);
        if (entering)
            m_out.append(header ? "<thead>\n<tr>\n" : "<tr>\n");
        else
            m_out.append(header ? "</tr>\n</thead>\n<tbody>\n" : "</tr>\n");
    } else if (name == "table_cell") {
        tableCell(node, entering);
    }
}

std::vector<std::pair<std::size_t, std::size_t>> writeHtml(cmark_node *root, std::size_t firstLine,
                                                           std::string &out,
                                                           MarkdownRenderer::Fragment &fragment,
                                                           bool keepRawHtml)
{
    HtmlWriter writer(firstLine, out, fragment, keepRawHtml);
    writer.write(root);
    return writer.rawHtmlRanges();
}

} // namespace TarnGfm
