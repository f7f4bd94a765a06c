// Runs the renderer's tests: the fragment table is filled from the files of each topic; the small
// text functions share one table.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QTest>

#include <functional>

void RenderTest::fragment_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("html");
    addBlockRows();
    addCodeAndTableRows();
}

void RenderTest::fragment()
{
    QFETCH(QString, markdown);
    QFETCH(QString, html);
    QCOMPARE(qs(MarkdownRenderer::renderFragment(u16(markdown)).html), html);
}

void RenderTest::textFunctions_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");
    // clang-format off
    // Heading ids, in document order, joined by spaces.
    QTest::newRow("slug words") << "slugs" << "# Hello World" << "hello-world";
    QTest::newRow("slug chinese") << "slugs" << "### 快速 开始" << "快速-开始";
    QTest::newRow("slug punctuation") << "slugs" << "## Q&A: Part 1" << "q-a-part-1";
    QTest::newRow("slug nothing left") << "slugs" << lines({"# ---", "# !!!"}) << "section section-2";
    QTest::newRow("slug repeats") << "slugs" << lines({"# Intro", "## Intro", "### Intro"}) << "intro intro-2 intro-3";
    QTest::newRow("slug suffix collision accepted") << "slugs" << lines({"# A", "# A", "# A 2"}) << "a a-2 a-2";
    QTest::newRow("slug full lower-case mapping") << "slugs" << "# İstanbul" << "i̇stanbul";
    QTest::newRow("slug marks and numbers kept") << "slugs" << "# Café ٣" << "café-٣";
    QTest::newRow("slug symbols") << "slugs" << "# a+b=c" << "a-b-c";
    QTest::newRow("slug emoji become hyphens") << "slugs" << "# ok 👍 go" << "ok-go";

    QTest::newRow("language upper") << "language" << "SQL" << "sql";
    QTest::newRow("language braces") << "language" << "{.ruby}" << "ruby";
    QTest::newRow("language comma") << "language" << "js,linenums" << "js";
    QTest::newRow("language r chunk") << "language" << "{r, echo=FALSE}" << "r";
    QTest::newRow("language hyphen kept") << "language" << "shell-script" << "shell-script";
    QTest::newRow("language empty") << "language" << "" << "";
    QTest::newRow("language fourth backtick") << "language" << "`js" << "`js";
    QTest::newRow("language classes") << "language" << "{.sql .numberLines}" << "sql";
    QTest::newRow("language only separators") << "language" << " ., " << "";

    QTest::newRow("separator aligned") << "separator" << "|---|:---:|--:|" << "yes";
    QTest::newRow("separator bare") << "separator" << "---" << "yes";
    QTest::newRow("separator too short") << "separator" << "--" << "no";
    QTest::newRow("separator without dash") << "separator" << ":::" << "no";
    QTest::newRow("separator spaces inside") << "separator" << "- - -" << "no";
    QTest::newRow("separator empty cell") << "separator" << "|---|---||" << "no";
    QTest::newRow("separator padded cells") << "separator" << "| --- | :-- |" << "yes";

    QTest::newRow("plain code") << "plain" << "Use `code_name` here" << "Use codename here";
    QTest::newRow("plain link and strong") << "plain" << "[Docs](a.md) and **more**" << "Docs and more";
    QTest::newRow("plain image alt") << "plain" << "![alt](x.png) tail" << "alt tail";
    QTest::newRow("plain underscores vanish") << "plain" << "snake_case" << "snakecase";
    QTest::newRow("plain no escaping") << "plain" << "a < b & c" << "a < b & c";
    QTest::newRow("plain tildes brought together") << "plain" << "~*~x" << "x";
    QTest::newRow("plain trims line breaks too") << "plain" << "\u2028 x \u0085" << "x";

    QTest::newRow("title markup") << "title" << "a<b>&c" << "a&lt;b&gt;&amp;c";
    QTest::newRow("title quotes kept") << "title" << "say \"hi\" 'x'" << "say \"hi\" 'x'";
    QTest::newRow("title chinese") << "title" << "笔记" << "笔记";
    // clang-format on
}

void RenderTest::textFunctions()
{
    QFETCH(QString, function);
    QFETCH(QString, input);
    const std::map<QString, std::function<QString(const std::u16string &)>> functions{
        {"slugs",
         [](const std::u16string &markdown) {
             QStringList ids;
             for (const TOCItem &item : MarkdownRenderer::renderFragment(markdown).toc)
                 ids << qs(item.id);
             return ids.join(u' ');
         }},
        {"language",
         [](const auto &info) { return qs(TarnRender::normalizedFenceLanguage(info)); }},
        {"separator",
         [](const auto &line) {
             return QString(TarnRender::isTableSeparator(line) ? "yes" : "no");
         }},
        {"plain", [](const auto &markdown) { return qs(TarnRender::plainText(markdown)); }},
        {"title",
         [](const auto &title) {
             const QString html = qs(MarkdownRenderer::render(u"x", TarnTheme::light, title).html);
             const qsizetype begin = html.indexOf("<title>") + 7;
             return html.mid(begin, html.indexOf("</title>") - begin);
         }},
    };
    QTEST(functions.at(function)(u16(input)), "expected");
}

QTEST_GUILESS_MAIN(RenderTest)
