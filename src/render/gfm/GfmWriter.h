// The standard flavour's HTML writer, shared by the files that hold its cases.
#pragma once

#include "Alerts.h"
#include "MarkdownRenderer.h"
#include "RendererInternal.h"

#include <cmark-gfm-extension_api.h>

#include <string>
#include <string_view>
#include <vector>

namespace TarnGfm {

using TarnRender::u16;

std::string_view literal(cmark_node *node);

class HtmlWriter
{
public:
    HtmlWriter(std::size_t firstLine, std::string &out, MarkdownRenderer::Fragment &fragment,
               bool keepRawHtml)
        : m_keepRawHtml(keepRawHtml)
        , m_firstLine(firstLine)
        , m_out(out)
        , m_fragment(fragment)
        , m_tasklist(cmark_find_syntax_extension("tasklist"))
    {}

    void write(cmark_node *root);

private:
    // Each child element of <main> is one top-level block; skipped raw HTML makes none (kept,
    // it is counted as one, which it usually is), and the footnotes at the end share one
    // section.
    void noteTopLevelBlock(cmark_node *node)
    {
        const cmark_node_type type = cmark_node_get_type(node);
        if ((type == CMARK_NODE_HTML_BLOCK && !m_keepRawHtml) ||
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

    bool m_keepRawHtml;
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

} // namespace TarnGfm
