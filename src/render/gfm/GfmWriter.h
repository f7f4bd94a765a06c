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

    // The stretches of the output, as byte ranges, that hold raw HTML and must be sanitized:
    // whole top-level blocks, joined while the raw HTML leaves elements open (a <details>
    // around Markdown), so each stretch parses as what it is.
    const std::vector<std::pair<std::size_t, std::size_t>> &rawHtmlRanges() const
    {
        return m_rawRanges;
    }

private:
    // A new top-level block starts a new stretch of output, unless raw HTML before it left an
    // element open or it is a later footnote (the footnotes share one section).
    void startTopLevelBlock(cmark_node *node)
    {
        const bool laterFootnote =
            cmark_node_get_type(node) == CMARK_NODE_FOOTNOTE_DEFINITION && m_footnotes;
        // A stretch held open stops growing at 64 KB: an element that is never closed would
        // otherwise send the rest of the document through the slow parse. What it still
        // holds open is then closed by the sanitizer; what closes it later is dropped.
        m_insideOpenElement = m_openRawElements > 0 && m_out.size() - m_blockBegin < 65536;
        if (laterFootnote || m_insideOpenElement)
            return;
        m_openRawElements = 0;
        closeRawRange();
        m_blockBegin = m_out.size();
    }
    void closeRawRange()
    {
        if (!m_blockHasRawHtml)
            return;
        if (!m_rawRanges.empty() && m_rawRanges.back().second == m_blockBegin)
            m_rawRanges.back().second = m_out.size(); // next to the last one: one stretch
        else
            m_rawRanges.emplace_back(m_blockBegin, m_out.size());
        m_blockHasRawHtml = false;
    }

    // Each child element of <main> is one top-level block; skipped raw HTML makes none (kept,
    // it is counted as one, which it usually is), a block inside an element that raw HTML left
    // open (Markdown in a <details>) belongs to that element, and the footnotes at the end
    // share one section.
    void noteTopLevelBlock(cmark_node *node)
    {
        const cmark_node_type type = cmark_node_get_type(node);
        if ((type == CMARK_NODE_HTML_BLOCK && !m_keepRawHtml) || m_insideOpenElement ||
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
    std::vector<std::pair<std::size_t, std::size_t>> m_rawRanges;
    std::size_t m_blockBegin = 0;
    bool m_blockHasRawHtml = false;
    bool m_insideOpenElement = false; // the current top-level block continues an open element
    int m_openRawElements = 0;        // elements HTML blocks opened and have not closed yet
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
