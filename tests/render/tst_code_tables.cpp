// Fenced code, fence languages, diagram blocks and pipe tables.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QTest>

namespace {

const char *const kHead = "<div class=\"table-wrap\">\n<table>\n<thead><tr>";
const char *const kEnd = "</tbody>\n</table>\n</div>";

} // namespace

void addCodeAndTableRows()
{
    // clang-format off
    QTest::newRow("language and escaping") << lines({"```sql", "a < 2", "```"}) << "<pre><code class=\"language-sql\">a &lt; 2</code></pre>";
    QTest::newRow("indentation kept") << lines({"```", "  indented", "```"}) << "<pre><code>  indented</code></pre>";
    QTest::newRow("empty body") << lines({"```", "```"}) << "<pre><code></code></pre>";
    QTest::newRow("unclosed swallows the rest") << lines({"```", "# not a heading", "- nor a list"}) << "<pre><code># not a heading\n- nor a list</code></pre>";
    QTest::newRow("closing line with text still closes") << lines({"```", "x", "```js", "after"}) << "<pre><code>x</code></pre>\n<p>after</p>";
    QTest::newRow("no inline rendering in code") << lines({"```", "**b** [l](u)", "```"}) << "<pre><code>**b** [l](u)</code></pre>";
    QTest::newRow("mermaidjs is plain code") << lines({"```mermaidjs", "x", "```"}) << "<pre><code class=\"language-mermaidjs\">x</code></pre>";
    QTest::newRow("diagram") << lines({"```mmd", "a-->b", "```"})
        << "<figure class=\"mermaid-diagram\" data-mermaid-id=\"tarn-mermaid-0\">\n<div class=\"mermaid-output\" aria-label=\"流程图\"></div>\n"
           "<pre class=\"mermaid-source\"><code>a--&gt;b</code></pre>\n</figure>";
    QTest::newRow("language attribute escaped") << "```a\"b\n```" << "<pre><code class=\"language-a&quot;b\"></code></pre>";

    QTest::newRow("table") << lines({"| a | b |", "|---|:-:|", "| 1 | 2 |"}) << QString(kHead) + "<th>a</th><th>b</th></tr></thead>\n<tbody>\n<tr><td>1</td><td>2</td></tr>\n" + kEnd;
    QTest::newRow("no body") << lines({"| a |", "|---|"}) << QString(kHead) + "<th>a</th></tr></thead>\n<tbody>\n\n" + kEnd;
    QTest::newRow("rule line under a bar line") << lines({"a | b", "---"}) << QString(kHead) + "<th>a</th><th>b</th></tr></thead>\n<tbody>\n\n" + kEnd;
    QTest::newRow("short separator is a paragraph") << lines({"| x |", "|--|"}) << "<p>| x | |--|</p>";
    QTest::newRow("ragged rows") << lines({"| a | b |", "|---|---|", "| only |", "| 1 | 2 | 3 |"})
        << QString(kHead) + "<th>a</th><th>b</th></tr></thead>\n<tbody>\n<tr><td>only</td></tr>\n<tr><td>1</td><td>2</td><td>3</td></tr>\n" + kEnd;
    QTest::newRow("blank line ends the table") << lines({"| a |", "|---|", "| 1 |", "", "| 2 |"})
        << QString(kHead) + "<th>a</th></tr></thead>\n<tbody>\n<tr><td>1</td></tr>\n" + kEnd + "\n<p>| 2 |</p>";
    QTest::newRow("any bar line continues") << lines({"| a |", "|---|", "# h | x"})
        << QString(kHead) + "<th>a</th></tr></thead>\n<tbody>\n<tr><td># h</td><td>x</td></tr>\n" + kEnd;
    QTest::newRow("bar in code splits") << lines({"| `a|b` |", "|---|"}) << QString(kHead) + "<th>`a</th><th>b`</th></tr></thead>\n<tbody>\n\n" + kEnd;
    QTest::newRow("inline in cells") << lines({"| **a** |", "|---|", "| [l](u) |"})
        << QString(kHead) + "<th><strong>a</strong></th></tr></thead>\n<tbody>\n<tr><td><a href=\"u\">l</a></td></tr>\n" + kEnd;
    // clang-format on
}

void RenderTest::diagramsAreNumberedAndFlagged()
{
    const auto fragment = MarkdownRenderer::renderFragment(
        u16(lines({"```mermaid", "a", "```", "text", "```mermaid", "b", "```"})));
    QVERIFY(fragment.hasMermaid);
    QVERIFY(fragment.html.find(u"data-mermaid-id=\"tarn-mermaid-0\"") != std::u16string::npos);
    QVERIFY(fragment.html.find(u"data-mermaid-id=\"tarn-mermaid-1\"") != std::u16string::npos);
    QVERIFY(!MarkdownRenderer::renderFragment(u"```js\nx\n```").hasMermaid);
}
