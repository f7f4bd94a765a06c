// Written after cmark's own html.c, so the markup matches CommonMark's; Tarn's additions (heading
// ids, diagrams, math, alerts, footnote ids, highlighted-code classes) are cases of the switch.
#include "GfmHtml.h"

#include "Alerts.h"
#include "GfmText.h"
#include "MathExtension.h"
#include "RendererInternal.h"

#include <cmark-gfm-core-extensions.h>

#include <cstring>
#include <vector>

namespace TarnGfm {
namespace {

using TarnRender::u16;

std::string_view literal(cmark_node *node)
{
    const char *text = cmark_node_get_literal(node);
    return text ? std::string_view(text) : std::string_view();
}

std::string_view mathSource(cmark_node *node)
{
    const char *text = cmark_node_get_string_content(node);
    return text ? std::string_view(text) : std::string_view();
}

std::string_view withoutFinalNewline(std::string_view text)
{
    return text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
}

// The words of a heading as a reader sees them: text, code and formulas, breaks as spaces.
void appendPlainText(std::string &out, cmark_node *node)
{
    for (cmark_node *child = cmark_node_first_child(node); child; child = cmark_node_next(child)) {
        const cmark_node_type type = cmark_node_get_type(child);
        if (type == CMARK_NODE_TEXT || type == CMARK_NODE_CODE)
            out.append(literal(child));
        else if (type == CMARK_NODE_SOFTBREAK || type == CMARK_NODE_LINEBREAK)
            out.push_back(' ');
        else if (type == mathInlineType() || type == mathDisplayType())
            out.append(mathSource(child));
        else
            appendPlainText(out, child);
    }
}

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
        if (type != mathDisplayType() || math)
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

class Writer
{
public:
    Writer(std::size_t firstLine, std::string &out, MarkdownRenderer::Fragment &fragment)
        : m_firstLine(firstLine)
        , m_out(out)
        , m_fragment(fragment)
        , m_tasklist(cmark_find_syntax_extension("tasklist"))
    {}

    void write(cmark_node *root)
    {
        cmark_iter *iter = cmark_iter_new(root);
        for (cmark_event_type event; (event = cmark_iter_next(iter)) != CMARK_EVENT_DONE;) {
            cmark_node *node = cmark_iter_get_node(iter);
            if (event == CMARK_EVENT_ENTER && cmark_node_parent(node) == root)
                noteTopLevelBlock(node);
            if (!visit(node, event == CMARK_EVENT_ENTER))
                cmark_iter_reset(iter, node, CMARK_EVENT_EXIT);
        }
        cmark_iter_free(iter);
        if (m_footnotes > 0)
            m_out.append("</ol>\n</section>\n");
    }

private:
    // Each child element of <main> is one top-level block; skipped raw HTML makes none, and
    // the footnotes at the end share one section.
    void noteTopLevelBlock(cmark_node *node)
    {
        const cmark_node_type type = cmark_node_get_type(node);
        if (type == CMARK_NODE_HTML_BLOCK ||
            (type == CMARK_NODE_FOOTNOTE_DEFINITION && m_footnotes))
            return;
        m_fragment.blockLines.push_back(sourceLine(node));
    }

    std::size_t sourceLine(cmark_node *node) const
    {
        const int line = cmark_node_get_start_line(node);
        return m_firstLine + std::size_t(line > 0 ? line - 1 : 0);
    }

    void newline()
    {
        if (!m_out.empty() && m_out.back() != '\n')
            m_out.push_back('\n');
    }

    void appendU16(TarnRender::u16v text) { m_out.append(TarnText::toUtf8(text)); }

    // Writes the node's markup for one event; false skips the node's children.
    bool visit(cmark_node *node, bool entering);
    void extensionNode(cmark_node *node, bool entering);
    void heading(cmark_node *node, bool entering);
    bool codeBlock(cmark_node *node);
    void link(cmark_node *node, bool entering);
    void tableCell(cmark_node *node, bool entering);
    void footnoteDefinition(bool entering);
    void footnoteReference(cmark_node *node);
    void backReferences();
    void rawHtml(cmark_node *node);

    std::size_t m_firstLine;
    std::string &m_out;
    MarkdownRenderer::Fragment &m_fragment;
    cmark_syntax_extension *m_tasklist;
    TarnRender::SlugRegistry m_slugs;
    long long m_diagrams = 0;
    std::vector<const AlertKind *> m_quotes; // open block quotes, null where not an alert
    cmark_node *m_imageOpen = nullptr;       // inside an image: only its plain text counts
    int m_footnotes = 0;                     // definitions written so far
    std::vector<int> m_references;           // references so far, per definition
    bool m_backReferencesWritten = false;
};

bool Writer::visit(cmark_node *node, bool entering)
{
    const cmark_node_type type = cmark_node_get_type(node);
    if (m_imageOpen && node != m_imageOpen) {
        // An image's description becomes its alt text.
        if (type == CMARK_NODE_TEXT || type == CMARK_NODE_CODE)
            appendEscaped(m_out, literal(node));
        else if (type == mathInlineType() || type == mathDisplayType())
            appendEscaped(m_out, mathSource(node));
        else if (type == CMARK_NODE_SOFTBREAK || type == CMARK_NODE_LINEBREAK)
            m_out.push_back(' ');
        return true;
    }
    switch (type) {
    case CMARK_NODE_DOCUMENT:
        break;
    case CMARK_NODE_BLOCK_QUOTE:
        newline();
        if (entering) {
            const AlertKind *alert = takeAlertMarker(node);
            m_quotes.push_back(alert);
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
    case CMARK_NODE_ITEM:
        if (!entering) {
            m_out.append("</li>\n");
        } else if (cmark_node_get_syntax_extension(node) == m_tasklist && m_tasklist) {
            newline();
            m_out.append(cmark_gfm_extensions_get_tasklist_item_checked(node)
                             ? "<li class=\"task-item\"><input type=\"checkbox\" disabled checked> "
                             : "<li class=\"task-item\"><input type=\"checkbox\" disabled> ");
        } else {
            newline();
            m_out.append("<li>");
        }
        break;
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
                appendEscaped(m_out, mathSource(math));
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
void Writer::extensionNode(cmark_node *node, bool entering)
{
    const cmark_node_type type = cmark_node_get_type(node);
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
    } else if (entering && (type == mathInlineType() || type == mathDisplayType())) {
        // A display formula among other text stays inline-level, so the paragraph holds.
        m_out.append(type == mathInlineType() ? "<span class=\"math math-inline\">"
                                              : "<span class=\"math math-display\">");
        appendEscaped(m_out, mathSource(node));
        m_out.append("</span>");
        m_fragment.hasMath = true;
    }
}

void Writer::heading(cmark_node *node, bool entering)
{
    const std::string level = std::to_string(cmark_node_get_heading_level(node));
    if (!entering) {
        m_out.append("</h" + level + ">\n");
        return;
    }
    std::string plain;
    appendPlainText(plain, node);
    const u16 plainText = TarnText::fromUtf8(plain);
    const u16 id = m_slugs.unique(plainText);
    m_fragment.toc.push_back(
        TOCItem{id, u16(TarnRender::trimmedWide(plainText)), cmark_node_get_heading_level(node)});
    m_fragment.headingLines.push_back(sourceLine(node));
    newline();
    m_out.append("<h" + level + " id=\"");
    appendU16(id); // letters, marks, numbers and hyphens: nothing to escape
    m_out.append("\">");
}

bool Writer::codeBlock(cmark_node *node)
{
    newline();
    const std::string_view code = literal(node);
    int fenceLength = 0, fenceOffset = 0;
    char fenceCharacter = 0;
    const u16 language = cmark_node_get_fenced(node, &fenceLength, &fenceOffset, &fenceCharacter)
                             ? TarnRender::normalizedFenceLanguage(
                                   TarnText::fromUtf8(cmark_node_get_fence_info(node)))
                             : u16();
    if (TarnRender::isDiagramLanguage(language)) {
        u16 diagram;
        TarnRender::appendDiagram(diagram, m_diagrams++,
                                  TarnText::fromUtf8(withoutFinalNewline(code)));
        appendU16(diagram);
        m_out.push_back('\n');
        m_fragment.hasMermaid = true;
    } else if (language == u"math") {
        m_out.append("<div class=\"math math-display\">");
        appendEscaped(m_out, withoutFinalNewline(code));
        m_out.append("</div>\n");
        m_fragment.hasMath = true;
    } else {
        m_out.append("<pre><code");
        if (!language.empty()) {
            u16 attribute;
            TarnRender::appendEscapedAttribute(attribute, language);
            m_out.append(" class=\"language-");
            appendU16(attribute);
            m_out.append("\"");
            m_fragment.hasHighlight = true;
        }
        m_out.append(">");
        appendEscaped(m_out, code);
        m_out.append("</code></pre>\n");
    }
    return false;
}

void Writer::link(cmark_node *node, bool entering)
{
    const bool image = cmark_node_get_type(node) == CMARK_NODE_IMAGE;
    const std::string_view title = cmark_node_get_title(node);
    if (entering) {
        m_out.append(image ? "<img src=\"" : "<a href=\"");
        const std::string_view url = cmark_node_get_url(node);
        if (!isDangerousUrl(url))
            appendEscapedHref(m_out, url);
        if (image) {
            m_out.append("\" alt=\"");
            m_imageOpen = node;
            return;
        }
    } else if (!image) {
        m_out.append("</a>");
        return;
    } else {
        m_imageOpen = nullptr;
    }
    if (!title.empty()) {
        m_out.append("\" title=\"");
        appendEscaped(m_out, title);
    }
    m_out.append(image ? "\" />" : "\">");
}

void Writer::tableCell(cmark_node *node, bool entering)
{
    cmark_node *row = cmark_node_parent(node);
    const bool header = cmark_gfm_extensions_get_table_row_is_header(row);
    if (!entering) {
        m_out.append(header ? "</th>\n" : "</td>\n");
        return;
    }
    int column = 0;
    for (cmark_node *cell = cmark_node_first_child(row); cell != node; cell = cmark_node_next(cell))
        ++column;
    cmark_node *table = cmark_node_parent(row);
    const std::uint8_t *alignments = cmark_gfm_extensions_get_table_alignments(table);
    const char alignment = column < int(cmark_gfm_extensions_get_table_columns(table)) && alignments
                               ? char(alignments[column])
                               : 0;
    m_out.append(header ? "<th" : "<td");
    m_out.append(alignment == 'l'   ? " align=\"left\""
                 : alignment == 'c' ? " align=\"center\""
                 : alignment == 'r' ? " align=\"right\""
                                    : "");
    m_out.append(">");
}

// Footnote ids hold "_", which heading ids never do, so the two never collide.
void Writer::footnoteDefinition(bool entering)
{
    if (entering) {
        if (m_footnotes == 0)
            m_out.append("<section class=\"footnotes\">\n<ol>\n");
        ++m_footnotes;
        m_backReferencesWritten = false;
        m_out.append("<li id=\"fn_" + std::to_string(m_footnotes) + "\">\n");
    } else {
        if (!m_backReferencesWritten) {
            backReferences();
            m_out.push_back('\n');
        }
        m_out.append("</li>\n");
    }
}

void Writer::footnoteReference(cmark_node *node)
{
    // cmark-gfm gives each reference its definition's number.
    const int number = std::atoi(std::string(literal(node)).c_str());
    if (number < 1)
        return;
    if (std::size_t(number) > m_references.size())
        m_references.resize(std::size_t(number), 0);
    const int occurrence = ++m_references[std::size_t(number - 1)];
    const std::string n = std::to_string(number);
    m_out.append("<sup class=\"footnote-ref\"><a href=\"#fn_" + n + "\" id=\"fnref_" + n);
    if (occurrence > 1)
        m_out.append("_" + std::to_string(occurrence));
    m_out.append("\">" + n + "</a></sup>");
}

void Writer::backReferences()
{
    m_backReferencesWritten = true;
    const std::size_t index = std::size_t(m_footnotes - 1);
    const int count = index < m_references.size() ? m_references[index] : 0;
    const std::string n = std::to_string(m_footnotes);
    for (int occurrence = 1; occurrence <= count; ++occurrence) {
        const std::string suffix = occurrence > 1 ? "_" + std::to_string(occurrence) : "";
        m_out.append(" <a href=\"#fnref_" + n + suffix +
                     "\" class=\"footnote-backref\" aria-label=\"返回正文\">↩</a>");
    }
}

// Raw HTML stays out of the page for now.
void Writer::rawHtml(cmark_node *)
{
    m_out.append("<!-- raw HTML omitted -->");
}

} // namespace

void writeHtml(cmark_node *root, std::size_t firstLine, std::string &out,
               MarkdownRenderer::Fragment &fragment)
{
    Writer(firstLine, out, fragment).write(root);
}

} // namespace TarnGfm
