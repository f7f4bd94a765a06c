// The standard flavour's additions to cmark-gfm: heading ids and the outline, footnote ids,
// alerts, front matter, diagrams, code languages and math.
#include "TestSupport.h"

#include "MarkdownRenderer.h"

#include <QTest>

namespace {

MarkdownRenderer::Fragment gfm(const QString &markdown)
{
    return MarkdownRenderer::renderFragment(u16(markdown), MarkdownFlavor::gfm);
}

QString joined(const std::vector<std::size_t> &numbers)
{
    QStringList list;
    for (std::size_t n : numbers)
        list << QString::number(n);
    return list.join(u' ');
}

const char *const kFootnote = "<section class=\"footnotes\">\n<ol>\n<li id=\"fn_1\">\n<p>y <a "
                              "href=\"#fnref_1\" class=\"footnote-backref\" "
                              "aria-label=\"返回正文\">↩</a></p>\n</li>\n</ol>\n</section>";

QString alert(const char *kind, const char *title, const char *body)
{
    return QStringLiteral("<div class=\"markdown-alert markdown-alert-%1\"><p "
                          "class=\"markdown-alert-title\">%2</p>\n%3\n</div>")
        .arg(QString::fromUtf8(kind), QString::fromUtf8(title), QString::fromUtf8(body));
}

} // namespace

void RenderTest::gfmFragment_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("html");
    // clang-format off
    QTest::newRow("heading ids from plain text, repeats numbered") << lines({"# Use `a_b` *here*", "", "Intro", "===", "## Intro"})
        << "<h1 id=\"use-a-b-here\">Use <code>a_b</code> <em>here</em></h1>\n<h1 id=\"intro\">Intro</h1>\n<h2 id=\"intro-2\">Intro</h2>";
    QTest::newRow("footnote ids apart from heading ids") << lines({"# fn 1", "", "x[^a]", "", "[^a]: y"})
        << "<h1 id=\"fn-1\">fn 1</h1>\n<p>x<sup class=\"footnote-ref\"><a href=\"#fn_1\" id=\"fnref_1\">1</a></sup></p>\n" + QString(kFootnote);

    QTest::newRow("alert note") << lines({"> [!NOTE]", "> Read *this*."}) << alert("note", "注意", "<p>Read <em>this</em>.</p>");
    QTest::newRow("alert tip") << lines({"> [!TIP]", "> a"}) << alert("tip", "提示", "<p>a</p>");
    QTest::newRow("alert important") << lines({"> [!IMPORTANT]", "> a"}) << alert("important", "重要", "<p>a</p>");
    QTest::newRow("alert warning, any case") << lines({"> [!warning]", "> a"}) << alert("warning", "警告", "<p>a</p>");
    QTest::newRow("alert caution, paragraphs") << lines({"> [!CAUTION]", ">", "> a", ">", "> b"}) << alert("caution", "小心", "<p>a</p>\n<p>b</p>");
    QTest::newRow("marker with text on its line is a quote") << "> [!NOTE] a" << "<blockquote>\n<p>[!NOTE] a</p>\n</blockquote>";
    QTest::newRow("marker alone is a quote") << "> [!NOTE]" << "<blockquote>\n<p>[!NOTE]</p>\n</blockquote>";
    QTest::newRow("unknown marker is a quote") << lines({"> [!TODO]", "> a"}) << "<blockquote>\n<p>[!TODO]\na</p>\n</blockquote>";

    QTest::newRow("front matter table, escaped, nested raw") << lines({"---", "title: \"A & <b>\"", "tags:", "  - x", "# note", "text: a", "  b", "...", "# H"})
        << "<div class=\"table-wrap front-matter\">\n<table>\n<tbody>\n<tr><th>title</th><td>A &amp; &lt;b&gt;</td></tr>\n"
           "<tr><th>tags</th><td><pre>  - x</pre></td></tr>\n<tr><th>text</th><td><pre>a\n  b</pre></td></tr>\n</tbody>\n</table>\n</div>\n<h1 id=\"h\">H</h1>";
    QTest::newRow("front matter must begin with a key") << lines({"---", "Foo", "---", "Bar"}) << "<hr />\n<h2 id=\"foo\">Foo</h2>\n<p>Bar</p>";
    QTest::newRow("unclosed front matter is Markdown") << lines({"---", "a: b"}) << "<hr />\n<p>a: b</p>";
    QTest::newRow("front matter only on the first line") << lines({"x", "---", "a: b", "---"}) << "<h2 id=\"x\">x</h2>\n<h2 id=\"a-b\">a: b</h2>";

    QTest::newRow("task items, text in one box") << lines({"- [x] done *well*", "- [ ] open", "- plain"})
        << "<ul>\n<li class=\"task-item\"><input type=\"checkbox\" disabled checked><div>done <em>well</em></div></li>\n"
           "<li class=\"task-item\"><input type=\"checkbox\" disabled><div>open</div></li>\n<li>plain</li>\n</ul>";
    QTest::newRow("fence language normalised and escaped") << lines({"```{.Ruby}", "a", "```", "```a\"<b", "```"})
        << "<pre><code class=\"language-ruby\">a\n</code></pre>\n<pre><code class=\"language-a&quot;&lt;b\"></code></pre>";
    QTest::newRow("indented code has no language") << "    x < y" << "<pre><code>x &lt; y\n</code></pre>";

    QTest::newRow("inline math") << "a $x^2 < y$ b" << "<p>a <span class=\"math math-inline\">x^2 &lt; y</span> b</p>";
    QTest::newRow("prices stay text") << "costs $5 and $10" << "<p>costs $5 and $10</p>";
    QTest::newRow("no closer before a digit") << "a $x$1 b" << "<p>a $x$1 b</p>";
    QTest::newRow("escaped dollar") << "\\$x$ and $y\\$" << "<p>$x$ and $y$</p>";
    QTest::newRow("space after opener, before closer") << "$ x$ and $x $" << "<p>$ x$ and $x $</p>";
    QTest::newRow("dollars in code spans") << "`$x$`" << "<p><code>$x$</code></p>";
    QTest::newRow("display math across lines") << lines({"$$", "a", "b", "$$"}) << "<div class=\"math math-display\">\na\nb\n</div>";
    QTest::newRow("display math inside text") << "see $$x$$ here" << "<p>see <span class=\"math math-display\">x</span> here</p>";
    QTest::newRow("math fence") << lines({"```math", "a<b", "```"}) << "<div class=\"math math-display\">a&lt;b</div>";
    QTest::newRow("unclosed display") << "$$x" << "<p>$$x</p>";
    QTest::newRow("math in a table cell") << lines({"| a |", "|---|", "| $x$ $$y$$ |"})
        << "<div class=\"table-wrap\">\n<table>\n<thead>\n<tr>\n<th>a</th>\n</tr>\n</thead>\n<tbody>\n<tr>\n"
           "<td><span class=\"math math-inline\">x</span> <span class=\"math math-display\">y</span></td>\n</tr>\n</tbody>\n</table>\n</div>";
    QTest::newRow("math in a heading") << "# Area $r^2$" << "<h1 id=\"area-r-2\">Area <span class=\"math math-inline\">r^2</span></h1>";

    QTest::newRow("empty document") << "" << "<section class=\"empty-state\"><h1>Tarn</h1><p>打开或拖入 Markdown 文件开始阅读。</p></section>";
    // clang-format on
}

void RenderTest::gfmFragment()
{
    QFETCH(QString, markdown);
    QTEST(qs(gfm(markdown).html), "html");
}

void RenderTest::gfmOutline_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("outline"); // id|title|level, space separated
    QTest::addColumn<QString>("headingLines");
    QTest::addColumn<QString>("blockLines");
    // clang-format off
    QTest::newRow("front matter, setext, footnotes") << lines({"---", "a: b", "---", "# One *two*", "", "Three", "-----", "", "x[^n]", "", "[^n]: note", "# One two"})
        << "one-two|One two|1 three|Three|2 one-two-2|One two|1" << "3 5 11" << "0 3 5 8 11 10";
    QTest::newRow("a raw HTML block is one block") << lines({"<div>", "</div>", "", "> [!TIP]", "> t", "", "text"})
        << "" << "" << "0 3 6";
    QTest::newRow("front matter with comments and blank lines") << lines({"---", "", "# c", "a: b", "...", "## a"}) << "a|a|2" << "5" << "0 5";
    // clang-format on
}

void RenderTest::gfmOutline()
{
    QFETCH(QString, markdown);
    const auto fragment = gfm(markdown);
    QStringList outline;
    for (const TOCItem &item : fragment.toc)
        outline << qs(item.id) + u'|' + qs(item.title) + u'|' + QString::number(item.level);
    QTEST(outline.join(u' '), "outline");
    QTEST(joined(fragment.headingLines), "headingLines");
    QTEST(joined(fragment.blockLines), "blockLines");
}

void RenderTest::gfmResourcesAndDiagrams()
{
    const QString diagrams = lines({"```mermaid", "a-->b", "```", "", "```mmd", "c<d", "```"});
    const auto gfmDiagrams = gfm(diagrams);
    QCOMPARE(qs(gfmDiagrams.html), qs(MarkdownRenderer::renderFragment(u16(diagrams)).html));
    QVERIFY(gfmDiagrams.hasMermaid && !gfmDiagrams.hasMath && !gfmDiagrams.hasHighlight);

    QVERIFY(gfm("$x$").hasMath);
    QVERIFY(gfm(lines({"```math", "x", "```"})).hasMath);
    QVERIFY(!gfm("costs $5 and $10").hasMath);
    QVERIFY(gfm(lines({"```js", "x", "```"})).hasHighlight);
    QVERIFY(!gfm(lines({"```", "x", "```"})).hasHighlight);
    QVERIFY(!gfm("    indented").hasHighlight);
}
