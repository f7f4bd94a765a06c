// The writer's cases for headings, code blocks, links and images, table cells and footnotes.
#include "GfmText.h"
#include "GfmWriter.h"
#include "MathExtension.h"

#include <cmark-gfm-core-extensions.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace TarnGfm {
namespace {

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
        else if (mathOf(child) != Math::none)
            out.append(texOf(child));
        else
            appendPlainText(out, child);
    }
}

} // namespace

void HtmlWriter::heading(cmark_node *node, bool entering)
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

bool HtmlWriter::codeBlock(cmark_node *node)
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

void HtmlWriter::link(cmark_node *node, bool entering)
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

void HtmlWriter::tableCell(cmark_node *node, bool entering)
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
void HtmlWriter::footnoteDefinition(bool entering)
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

void HtmlWriter::footnoteReference(cmark_node *node)
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

void HtmlWriter::backReferences()
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

namespace {

// GitHub's tag filter, which cmark-gfm applies only inside its own HTML renderer: the "<" of
// these tags becomes "&lt;", so they show as text. The sanitizer that follows removes the rest.
void appendTagFiltered(std::string &out, std::string_view html)
{
    static constexpr std::string_view kFiltered[] = {"title",    "textarea", "style",
                                                     "xmp",      "iframe",   "noembed",
                                                     "noframes", "script",   "plaintext"};
    std::size_t copied = 0;
    for (std::size_t at = html.find('<'); at != std::string_view::npos;
         at = html.find('<', at + 1)) {
        std::size_t name = at + 1;
        if (name < html.size() && html[name] == '/')
            ++name;
        for (std::string_view tag : kFiltered) {
            if (html.size() - name < tag.size())
                continue;
            bool same = true;
            for (std::size_t i = 0; i < tag.size() && same; ++i)
                same = (html[name + i] | 0x20) == tag[i];
            const std::size_t after = name + tag.size();
            if (!same || (after < html.size() && !std::strchr(" \t\n\f\r/>", html[after])))
                continue;
            out.append(html.substr(copied, at - copied));
            out.append("&lt;");
            copied = at + 1;
            break;
        }
    }
    out.append(html.substr(copied));
}

// How many elements `html` leaves open, roughly: start tags less end tags, void elements and
// self-closing tags aside. Only used to keep a stretch for the sanitizer whole; the sanitizer's
// own parse decides what the HTML is.
int openedElements(std::string_view html)
{
    static constexpr std::string_view kVoid[] = {"area",  "base",   "br",    "col",  "embed",
                                                 "hr",    "img",    "input", "link", "meta",
                                                 "param", "source", "track", "wbr"};
    int opened = 0;
    for (std::size_t at = html.find('<'); at != std::string_view::npos;
         at = html.find('<', at + 1)) {
        const bool closing = at + 1 < html.size() && html[at + 1] == '/';
        const std::size_t name = at + (closing ? 2 : 1);
        std::size_t end = name;
        while (end < html.size() && std::isalnum(static_cast<unsigned char>(html[end])))
            ++end;
        if (end == name)
            continue;
        std::string tag(html.substr(name, end - name));
        for (char &c : tag)
            c = char(std::tolower(static_cast<unsigned char>(c)));
        const std::size_t close = html.find('>', end);
        const bool selfClosing = close != std::string_view::npos && html[close - 1] == '/';
        if (closing)
            --opened;
        else if (!selfClosing &&
                 std::find(std::begin(kVoid), std::end(kVoid), tag) == std::end(kVoid))
            ++opened;
    }
    return opened;
}

} // namespace

// Raw HTML is written only for a caller that sanitizes its stretch of the fragment afterwards.
void HtmlWriter::rawHtml(cmark_node *node)
{
    if (!m_keepRawHtml) {
        m_out.append("<!-- raw HTML omitted -->");
        return;
    }
    const std::string_view html = literal(node);
    appendTagFiltered(m_out, html);
    m_blockHasRawHtml = true;
    // Only HTML blocks wrap Markdown between them (a <details> around a list); an inline tag
    // left open ends with its paragraph.
    if (cmark_node_get_type(node) == CMARK_NODE_HTML_BLOCK)
        m_openRawElements = std::max(0, m_openRawElements + openedElements(html));
}

} // namespace TarnGfm
