// Multi-line blocks: fenced code, diagram blocks and pipe tables.
#include "RendererInternal.h"

namespace TarnRender {

u16 normalizedFenceLanguage(u16v info)
{
    u16v s = trimmedWide(info);
    if (!s.empty() && s[0] == u'{') {
        const std::size_t close = s.find(u'}');
        if (close != u16v::npos)
            s = s.substr(1, close - 1);
    }
    const std::size_t begin = s.find_first_not_of(u" \t,.");
    if (begin == u16v::npos)
        return {};
    const std::size_t end = s.find_first_of(u" \t,.", begin);
    const u16v piece = s.substr(begin, end == u16v::npos ? u16v::npos : end - begin);
    return toLowerFull(trimmedWide(piece));
}

u16 Parser::parseCodeFence()
{
    const u16v t = trimmed(lines[index]);
    const u16 language = normalizedFenceLanguage(trimmed(t.substr(3)));

    u16 code;
    std::size_t i = index + 1;
    bool firstBodyLine = true;
    for (; i < lines.size(); ++i) {
        if (beginsWithFence(trimmed(lines[i])))
            break;
        if (!firstBodyLine)
            code.push_back(u'\n');
        code.append(lines[i]);
        firstBodyLine = false;
    }
    index = i < lines.size() ? i + 1 : lines.size();

    u16 out;
    if (isDiagramLanguage(language)) {
        hasMermaid = true;
        appendDiagram(out, mermaidCounter++, code);
        return out;
    }
    out = u"<pre><code";
    if (!language.empty()) {
        out.append(u" class=\"language-");
        appendEscapedAttribute(out, language);
        out.append(u"\"");
    }
    out.append(u">");
    appendEscapedHTML(out, code);
    out.append(u"</code></pre>");
    return out;
}

bool isDiagramLanguage(u16v language)
{
    return language == u"mermaid" || language == u"mmd";
}

void appendDiagram(u16 &out, long long number, u16v code)
{
    out.append(u"<figure class=\"mermaid-diagram\" data-mermaid-id=\"tarn-mermaid-");
    appendDecimal(out, number);
    out.append(u"\">\n<div class=\"mermaid-output\" aria-label=\"流程图\"></div>\n"
               u"<pre class=\"mermaid-source\"><code>");
    appendEscapedHTML(out, code);
    out.append(u"</code></pre>\n</figure>");
}

std::vector<u16v> splitTableRow(u16v line)
{
    u16v t = trimmed(line);
    if (startsWithChars(t, u"|"))
        t.remove_prefix(1);
    if (!t.empty() && t.back() == u'|')
        t.remove_suffix(1);
    std::vector<u16v> cells;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < t.size(); ++i) {
        // A bar carrying a combining mark is another character, not a cell border.
        if (t[i] == u'|' && isBoundary(t, i + 1)) {
            cells.push_back(t.substr(begin, i - begin));
            begin = i + 1;
        }
    }
    cells.push_back(t.substr(begin));
    return cells;
}

bool isTableSeparator(u16v line)
{
    for (const u16v cell : splitTableRow(line)) {
        const u16v t = trimmed(cell);
        if (t.size() < 3 || t.find_first_not_of(u"-:") != u16v::npos || t.find(u'-') == u16v::npos)
            return false;
    }
    return true;
}

bool Parser::isTableStart(std::size_t at) const
{
    return at + 1 < lines.size() && lines[at].find(u'|') != u16v::npos &&
           isTableSeparator(lines[at + 1]);
}

u16 Parser::parseTable()
{
    u16 out = u"<div class=\"table-wrap\">\n<table>\n<thead><tr>";
    for (const u16v cell : splitTableRow(lines[index])) {
        out.append(u"<th>");
        out.append(renderInline(trimmed(cell)));
        out.append(u"</th>");
    }
    out.append(u"</tr></thead>\n<tbody>\n");

    std::size_t i = index + 2;
    bool firstRow = true;
    for (; i < lines.size() && lines[i].find(u'|') != u16v::npos; ++i) {
        if (!firstRow)
            out.push_back(u'\n');
        out.append(u"<tr>");
        for (const u16v cell : splitTableRow(lines[i])) {
            out.append(u"<td>");
            out.append(renderInline(trimmed(cell)));
            out.append(u"</td>");
        }
        out.append(u"</tr>");
        firstRow = false;
    }
    index = std::min(i, lines.size());
    out.append(u"\n</tbody>\n</table>\n</div>");
    return out;
}

} // namespace TarnRender
