// Headings: their HTML, slugs and the outline.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QTest>

namespace {

class HeadingsTest : public QObject
{
    Q_OBJECT

private slots:
    void slugs_data();
    void slugs();
    void headingHtmlAndOutline();
};

void HeadingsTest::slugs_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QStringList>("ids");

    QTest::newRow("words") << "# Hello World" << QStringList{"hello-world"};
    QTest::newRow("chinese") << "### 快速 开始" << QStringList{"快速-开始"};
    QTest::newRow("punctuation") << "## Q&A: Part 1" << QStringList{"q-a-part-1"};
    QTest::newRow("nothing left") << lines({"# ---", "# !!!"})
                                  << QStringList{"section", "section-2"};
    QTest::newRow("closing hashes stay") << "## Title ##" << QStringList{"title"};
    QTest::newRow("code name") << "# Use `code_name` here" << QStringList{"use-codename-here"};
    QTest::newRow("repeats") << lines({"# Intro", "## Intro", "### Intro"})
                             << QStringList{"intro", "intro-2", "intro-3"};
    QTest::newRow("suffix collision accepted")
        << lines({"# A", "# A", "# A 2"}) << QStringList{"a", "a-2", "a-2"};
    QTest::newRow("full lower-case mapping") << "# İstanbul" << QStringList{"i̇stanbul"};
    QTest::newRow("marks and numbers kept") << "# Café ٣" << QStringList{"café-٣"};
    QTest::newRow("underscore and symbols") << "# a+b=c" << QStringList{"a-b-c"};
    QTest::newRow("emoji become hyphens") << "# ok 👍 go" << QStringList{"ok-go"};
}

void HeadingsTest::slugs()
{
    QFETCH(QString, markdown);
    QFETCH(QStringList, ids);
    QStringList actual;
    for (const TOCItem &item : MarkdownRenderer::renderFragment(u16(markdown)).toc)
        actual << qs(item.id);
    QCOMPARE(actual, ids);
}

void HeadingsTest::headingHtmlAndOutline()
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

} // namespace

QObject *makeHeadingsTest()
{
    return new HeadingsTest;
}

#include "tst_headings.moc"
