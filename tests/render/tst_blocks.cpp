// Block grammar (precedence, paragraphs, quotes, lists, rules, the empty state) and headings.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QTest>

namespace {

const char *const kEmpty = "<section class=\"empty-state\"><h1>Tarn</h1><p>打开或拖入 Markdown "
                           "文件开始阅读。</p></section>";
const char *const kTask = "<li class=\"task-item\"><input type=\"checkbox\" disabled";

} // namespace

void addBlockRows()
{
    // clang-format off
    QTest::newRow("empty") << "" << kEmpty;
    QTest::newRow("blank lines of every kind") << "  \n\t\n\u3000\u00A0\n" << kEmpty;

    // Paragraphs, and what interrupts them
    QTest::newRow("lines join with a space") << lines({"line one", "line two"}) << "<p>line one line two</p>";
    QTest::newRow("raw lines keep their spaces") << lines({"  a  ", "b"}) << "<p>  a   b</p>";
    QTest::newRow("no hard break from a backslash") << lines({"a\\", "b"}) << "<p>a\\ b</p>";
    QTest::newRow("paragraph then rule") << lines({"Title", "---"}) << "<p>Title</p>\n<hr>";
    QTest::newRow("paragraph then any ordered item") << lines({"text", "7. item"}) << "<p>text</p>\n<ol start=\"7\">\n<li>item</li>\n</ol>";
    QTest::newRow("paragraph then fence") << lines({"text", "```", "code", "```"}) << "<p>text</p>\n<pre><code>code</code></pre>";
    QTest::newRow("paragraph then quote") << lines({"text", "> q"}) << "<p>text</p>\n<blockquote>q</blockquote>";
    QTest::newRow("paragraph then heading") << lines({"text", "# H"}) << "<p>text</p>\n<h1 id=\"h\">H</h1>";
    QTest::newRow("paragraph then table") << lines({"text", "a | b", "---|---"})
        << "<p>text</p>\n<div class=\"table-wrap\">\n<table>\n<thead><tr><th>a</th><th>b</th></tr></thead>\n<tbody>\n\n</tbody>\n</table>\n</div>";
    QTest::newRow("emphasis across lines") << lines({"*a", "b*"}) << "<p><em>a b</em></p>";
    QTest::newRow("trailing newline changes nothing") << "para\n" << "<p>para</p>";

    // Headings and rules
    QTest::newRow("hash without space is text") << "#Title" << "<p>#Title</p>";
    QTest::newRow("hash and space alone are text") << lines({"#", "# "}) << "<p># # </p>";
    QTest::newRow("seven hashes are text") << "####### Seven" << "<p>####### Seven</p>";
    QTest::newRow("tab after hash is text") << "#\tx" << "<p>#\tx</p>";
    QTest::newRow("combining mark on the space") << "# \u0301a" << "<p># \u0301a</p>";
    QTest::newRow("indented heading") << "   # Title" << "<h1 id=\"title\">Title</h1>";
    QTest::newRow("rules") << lines({"***", "___", "-----", "   ---   "}) << "<hr>\n<hr>\n<hr>\n<hr>";
    QTest::newRow("two dashes are text") << "--" << "<p>--</p>";
    QTest::newRow("mixed rule characters are text") << "-*-" << "<p>-*-</p>";
    QTest::newRow("spaced dashes are a list item") << "- - -" << "<ul>\n<li>- -</li>\n</ul>";
    QTest::newRow("dash with combining mark is no rule") << "--\u0301-" << "<p>--\u0301-</p>";

    // Quotes
    QTest::newRow("quote lines") << lines({"> a", "> b"}) << "<blockquote>a<br>b</blockquote>";
    QTest::newRow("empty quote line") << lines({"> a", ">", "> b"}) << "<blockquote>a<br><br>b</blockquote>";
    QTest::newRow("no nested quotes") << "> > deep" << "<blockquote>&gt; deep</blockquote>";
    QTest::newRow("quote ends at a plain line") << lines({"> a", "b"}) << "<blockquote>a</blockquote>\n<p>b</p>";
    QTest::newRow("headings inside quotes are text") << "> # no" << "<blockquote># no</blockquote>";
    QTest::newRow("indentation ignored for quotes") << "\t> q" << "<blockquote>q</blockquote>";

    // Lists
    QTest::newRow("ordered start") << lines({"19. a", "4. b"}) << "<ol start=\"19\">\n<li>a</li>\n<li>b</li>\n</ol>";
    QTest::newRow("only the first number counts") << lines({"1. a", "5. b"}) << "<ol>\n<li>a</li>\n<li>b</li>\n</ol>";
    QTest::newRow("zero start") << "0. a" << "<ol start=\"0\">\n<li>a</li>\n</ol>";
    QTest::newRow("leading zeros") << "007. a" << "<ol start=\"7\">\n<li>a</li>\n</ol>";
    QTest::newRow("huge number has no start") << "99999999999999999999. a" << "<ol>\n<li>a</li>\n</ol>";
    QTest::newRow("arabic-indic digits have no start") << "\u0663. a" << "<ol>\n<li>a</li>\n</ol>";
    QTest::newRow("not list items") << lines({"-item", "-", "1) item", "1.item"}) << "<p>-item - 1) item 1.item</p>";
    QTest::newRow("dash and space alone") << "- " << "<p>- </p>";
    QTest::newRow("ideographic space, inner spaces kept") << lines({"-\u3000x", "   -  a  b"}) << "<ul>\n<li>x</li>\n<li>a  b</li>\n</ul>";
    QTest::newRow("bullet then ordered") << lines({"- a", "1. b"}) << "<ul>\n<li>a</li>\n</ul>\n<ol>\n<li>b</li>\n</ol>";
    QTest::newRow("task items mix with bullets") << lines({"- [ ] plan", "+ [x] done", "* [X] also", "- plain"})
        << "<ul>\n" + QString(kTask) + "><span>plan</span></li>\n" + kTask + " checked><span>done</span></li>\n" + kTask + " checked><span>also</span></li>\n<li>plain</li>\n</ul>";
    QTest::newRow("boxes that are not tasks") << lines({"- [x]", "- [y] a"}) << "<ul>\n<li>[x]</li>\n<li>[y] a</li>\n</ul>";
    QTest::newRow("ordered task is not a task") << "12. [ ] a" << "<ol start=\"12\">\n<li>[ ] a</li>\n</ol>";
    QTest::newRow("em space after the box, tab after the number") << lines({"- [x]\u2003box", "", "2.\tb"})
        << "<ul>\n" + QString(kTask) + " checked><span>box</span></li>\n</ul>\n<ol start=\"2\">\n<li>b</li>\n</ol>";
    QTest::newRow("line separator as the space, digits of two scripts") << lines({"-\u2028x", "", "1\u0663. a"})
        << "<ul>\n<li>x</li>\n</ul>\n<ol>\n<li>a</li>\n</ol>";
    QTest::newRow("blank line splits lists") << lines({"- a", "", "- b"}) << "<ul>\n<li>a</li>\n</ul>\n<ul>\n<li>b</li>\n</ul>";
    QTest::newRow("no nesting") << lines({"- top", "    - nested"}) << "<ul>\n<li>top</li>\n<li>nested</li>\n</ul>";
    QTest::newRow("list ends at text") << lines({"- a", "b"}) << "<ul>\n<li>a</li>\n</ul>\n<p>b</p>";
    // clang-format on
}

void RenderTest::headingHtmlAndOutline()
{
    const auto fragment = MarkdownRenderer::renderFragment(
        u16(lines({"# Hello World", "###### Six", "## Title ##", "# Use `code_name` here",
                   "# [Docs](a.md) and **more**", "## a<b"})));
    QCOMPARE(qs(fragment.html),
             lines({"<h1 id=\"hello-world\">Hello World</h1>", "<h6 id=\"six\">Six</h6>",
                    "<h2 id=\"title\">Title ##</h2>",
                    "<h1 id=\"use-codename-here\">Use <code>code_name</code> here</h1>",
                    "<h1 id=\"docs-and-more\"><a href=\"a.md\">Docs</a> and "
                    "<strong>more</strong></h1>",
                    "<h2 id=\"a-b\">a&lt;b</h2>"}));
    const std::vector<TOCItem> expected = {{u"hello-world", u"Hello World", 1},
                                           {u"six", u"Six", 6},
                                           {u"title", u"Title ##", 2},
                                           {u"use-codename-here", u"Use codename here", 1},
                                           {u"docs-and-more", u"Docs and more", 1},
                                           {u"a-b", u"a<b", 2}};
    QVERIFY(fragment.toc == expected);
}
