// Block grammar: precedence, paragraphs, quotes, lists, rules and the empty state.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QTest>

namespace {

const char *const kEmpty = "<section class=\"empty-state\"><h1>Tarn</h1><p>打开或拖入 Markdown "
                           "文件开始阅读。</p></section>";

class BlocksTest : public QObject
{
    Q_OBJECT

private slots:
    void fragment_data();
    void fragment();
    void listRecognition_data();
    void listRecognition();
    void lineTests_data();
    void lineTests();
};

void BlocksTest::fragment_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("html");

    // Empty documents
    QTest::newRow("empty") << "" << kEmpty;
    QTest::newRow("blank lines of every kind") << "  \n\t\n\u3000\u00A0\n" << kEmpty;

    // Paragraphs
    QTest::newRow("lines join with a space")
        << lines({"line one", "line two"}) << "<p>line one line two</p>";
    QTest::newRow("raw lines keep their spaces") << lines({"  a  ", "b"}) << "<p>  a   b</p>";
    QTest::newRow("no hard break from a backslash") << lines({"a\\", "b"}) << "<p>a\\ b</p>";
    QTest::newRow("paragraph then rule") << lines({"Title", "---"}) << "<p>Title</p>\n<hr>";
    QTest::newRow("paragraph then bullet")
        << lines({"text", "- item"}) << "<p>text</p>\n<ul>\n<li>item</li>\n</ul>";
    QTest::newRow("paragraph then any ordered item")
        << lines({"text", "7. item"}) << "<p>text</p>\n<ol start=\"7\">\n<li>item</li>\n</ol>";
    QTest::newRow("paragraph then fence")
        << lines({"text", "```", "code", "```"}) << "<p>text</p>\n<pre><code>code</code></pre>";
    QTest::newRow("paragraph then quote")
        << lines({"text", "> q"}) << "<p>text</p>\n<blockquote>q</blockquote>";
    QTest::newRow("paragraph then heading")
        << lines({"text", "# H"}) << "<p>text</p>\n<h1 id=\"h\">H</h1>";
    QTest::newRow("paragraph then table")
        << lines({"text", "a | b", "---|---"})
        << "<p>text</p>\n<div class=\"table-wrap\">\n<table>\n<thead><tr><th>a</th><th>b</th>"
           "</tr></thead>\n<tbody>\n\n</tbody>\n</table>\n</div>";
    QTest::newRow("emphasis across lines") << lines({"*a", "b*"}) << "<p><em>a b</em></p>";
    QTest::newRow("trailing newline changes nothing") << "para\n"
                                                      << "<p>para</p>";
    QTest::newRow("hash without space is text") << "#Title"
                                                << "<p>#Title</p>";
    QTest::newRow("seven hashes are text") << "####### Seven"
                                           << "<p>####### Seven</p>";
    QTest::newRow("tab after hash is text") << "#\tx"
                                            << "<p>#\tx</p>";

    // Rules
    QTest::newRow("rules") << lines({"***", "___", "-----", "   ---   "})
                           << "<hr>\n<hr>\n<hr>\n<hr>";
    QTest::newRow("two dashes are text") << "--"
                                         << "<p>--</p>";
    QTest::newRow("spaced dashes are a list item") << "- - -"
                                                   << "<ul>\n<li>- -</li>\n</ul>";
    QTest::newRow("dash with combining mark is no rule") << "--\u0301-"
                                                         << "<p>--\u0301-</p>";

    // Quotes
    QTest::newRow("quote lines") << lines({"> a", "> b"}) << "<blockquote>a<br>b</blockquote>";
    QTest::newRow("empty quote line")
        << lines({"> a", ">", "> b"}) << "<blockquote>a<br><br>b</blockquote>";
    QTest::newRow("no nested quotes") << "> > deep"
                                      << "<blockquote>&gt; deep</blockquote>";
    QTest::newRow("quote ends at a plain line")
        << lines({"> a", "b"}) << "<blockquote>a</blockquote>\n<p>b</p>";
    QTest::newRow("headings inside quotes are text") << "> # no"
                                                     << "<blockquote># no</blockquote>";

    // Lists
    QTest::newRow("ordered start")
        << lines({"3. a", "4. b"}) << "<ol start=\"3\">\n<li>a</li>\n<li>b</li>\n</ol>";
    QTest::newRow("only the first number counts")
        << lines({"1. a", "5. b"}) << "<ol>\n<li>a</li>\n<li>b</li>\n</ol>";
    QTest::newRow("zero start") << "0. a"
                                << "<ol start=\"0\">\n<li>a</li>\n</ol>";
    QTest::newRow("leading zeros") << "007. a"
                                   << "<ol start=\"7\">\n<li>a</li>\n</ol>";
    QTest::newRow("huge number has no start") << "99999999999999999999. a"
                                              << "<ol>\n<li>a</li>\n</ol>";
    QTest::newRow("arabic-indic digits have no start") << "\u0663. a"
                                                       << "<ol>\n<li>a</li>\n</ol>";
    QTest::newRow("bullet then ordered")
        << lines({"- a", "1. b"}) << "<ul>\n<li>a</li>\n</ul>\n<ol>\n<li>b</li>\n</ol>";
    QTest::newRow("task items mix with bullets")
        << lines({"- [ ] plan", "- [X] done", "- plain"})
        << "<ul>\n<li class=\"task-item\"><input type=\"checkbox\" disabled><span>plan</span>"
           "</li>\n<li class=\"task-item\"><input type=\"checkbox\" disabled checked><span>done"
           "</span></li>\n<li>plain</li>\n</ul>";
    QTest::newRow("blank line splits lists")
        << lines({"- a", "", "- b"}) << "<ul>\n<li>a</li>\n</ul>\n<ul>\n<li>b</li>\n</ul>";
    QTest::newRow("no nesting") << lines({"- top", "    - nested"})
                                << "<ul>\n<li>top</li>\n<li>nested</li>\n</ul>";
    QTest::newRow("markers mix") << lines({"- a", "* b", "+ c"})
                                 << "<ul>\n<li>a</li>\n<li>b</li>\n<li>c</li>\n</ul>";
    QTest::newRow("list ends at text")
        << lines({"- a", "b"}) << "<ul>\n<li>a</li>\n</ul>\n<p>b</p>";
    QTest::newRow("indented heading") << "   # Title"
                                      << "<h1 id=\"title\">Title</h1>";
    QTest::newRow("indentation ignored for quotes") << "\t> q"
                                                    << "<blockquote>q</blockquote>";
}

void BlocksTest::fragment()
{
    QFETCH(QString, markdown);
    QFETCH(QString, html);
    QCOMPARE(qs(MarkdownRenderer::renderFragment(u16(markdown)).html), html);
}

void BlocksTest::listRecognition_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("isItem");
    QTest::addColumn<bool>("ordered");
    QTest::addColumn<QString>("content");
    QTest::addColumn<int>("checked");     // -1 absent, 0 false, 1 true
    QTest::addColumn<qlonglong>("start"); // -1 absent

    QTest::newRow("bullet") << "- item" << true << false << "item" << -1 << -1LL;
    QTest::newRow("star") << "* item" << true << false << "item" << -1 << -1LL;
    QTest::newRow("no space") << "-item" << false << false << "" << -1 << -1LL;
    QTest::newRow("dash alone") << "-" << false << false << "" << -1 << -1LL;
    QTest::newRow("dash space") << "- " << false << false << "" << -1 << -1LL;
    QTest::newRow("ideographic space") << "-\u3000x" << true << false << "x" << -1 << -1LL;
    QTest::newRow("task open") << "- [ ] a" << true << false << "a" << 0 << -1LL;
    QTest::newRow("task x") << "+ [x] a" << true << false << "a" << 1 << -1LL;
    QTest::newRow("task X") << "* [X] a" << true << false << "a" << 1 << -1LL;
    QTest::newRow("box alone") << "- [x]" << true << false << "[x]" << -1 << -1LL;
    QTest::newRow("box with y") << "- [y] a" << true << false << "[y] a" << -1 << -1LL;
    QTest::newRow("ordered") << "12. text" << true << true << "text" << -1 << 12LL;
    QTest::newRow("ordered task is not a task")
        << "1. [ ] a" << true << true << "[ ] a" << -1 << 1LL;
    QTest::newRow("paren marker") << "1) item" << false << false << "" << -1 << -1LL;
    QTest::newRow("no space after dot") << "1.item" << false << false << "" << -1 << -1LL;
    QTest::newRow("indented") << "   - x" << true << false << "x" << -1 << -1LL;
    QTest::newRow("content keeps inner spaces")
        << "-  a  b" << true << false << "a  b" << -1 << -1LL;
}

void BlocksTest::listRecognition()
{
    QFETCH(QString, line);
    QFETCH(bool, isItem);
    const auto item = TarnRender::listInfo(u16(line));
    QCOMPARE(item.has_value(), isItem);
    if (!item)
        return;
    QFETCH(bool, ordered);
    QFETCH(QString, content);
    QFETCH(int, checked);
    QFETCH(qlonglong, start);
    QCOMPARE(item->ordered, ordered);
    QCOMPARE(qs(item->content), content);
    QCOMPARE(item->checked ? int(*item->checked) : -1, checked);
    QCOMPARE(item->start ? qlonglong(*item->start) : -1LL, start);
}

void BlocksTest::lineTests_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("heading");
    QTest::addColumn<bool>("rule");

    QTest::newRow("h1") << "# a" << true << false;
    QTest::newRow("h6") << "###### a" << true << false;
    QTest::newRow("hash alone") << "#" << false << false;
    QTest::newRow("hash space only") << "# " << false << false;
    QTest::newRow("space with combining mark") << "# \u0301a" << false << false;
    QTest::newRow("dashes") << "---" << false << true;
    QTest::newRow("mixed rule chars") << "-*-" << false << false;
    QTest::newRow("underscores") << "___" << false << true;
    QTest::newRow("heading of dashes") << "# ---" << true << false;
}

void BlocksTest::lineTests()
{
    QFETCH(QString, line);
    QFETCH(bool, heading);
    QFETCH(bool, rule);
    QCOMPARE(TarnRender::isHeadingStart(u16(line)), heading);
    QCOMPARE(TarnRender::isHorizontalRule(u16(line)), rule);
}

} // namespace

QObject *makeBlocksTest()
{
    return new BlocksTest;
}

#include "tst_blocks.moc"
