// The page template: stylesheet per theme, diagram library, script, line ends; the themes.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

// The stylesheet is long, fixed text: it is pinned by the SHA-256 of a copy written out by hand
// from the page's definition, with the theme palette taken out (the palettes are compared
// below as text). A change to any rule changes the digest.
const char kStylesheetDigest[] = "cb22b60f100d5e2bfd6b970f6e6c5081a3f0f6beadf4531292c7ded5788c2b6b";
const QRegularExpression kPalette(QStringLiteral("--bg:[^}]*;(?=\n})"));

QString between(const QString &text, const QString &from, const QString &to)
{
    const qsizetype begin = text.indexOf(from);
    const qsizetype end = text.indexOf(to, begin + from.size());
    if (begin < 0 || end < 0)
        return QStringLiteral("<missing>");
    return text.mid(begin + from.size(), end - begin - from.size());
}

} // namespace

void RenderTest::initTestCase()
{
    // The library is read once per process, so point the lookup at a known file first.
    static QTemporaryDir resources;
    QVERIFY(resources.isValid());
    QFile file(resources.filePath(QStringLiteral("mermaid.min.js")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QStringLiteral("var lib = '</script>'; // 图").toUtf8());
    file.close();
    // The standard flavour's libraries, with one KaTeX font face in three formats.
    QVERIFY(QDir(resources.path()).mkpath(QStringLiteral("katex/fonts")));
    const QList<QPair<QString, QByteArray>> files = {
        {QStringLiteral("katex/katex.min.js"), "var katex = '</script>';"},
        {QStringLiteral("katex/katex.min.css"),
         "@font-face{font-family:KaTeX_Main;src:url(fonts/M.woff2) format(\"woff2\"),"
         "url(fonts/M.woff) format(\"woff\"),url(fonts/M.ttf) format(\"truetype\")}"},
        {QStringLiteral("katex/fonts/M.woff2"), "wOF2 font"},
        {QStringLiteral("highlight.min.js"), "var hljs = {};"}};
    for (const auto &[name, content] : files) {
        QFile library(resources.filePath(name));
        QVERIFY(library.open(QIODevice::WriteOnly));
        library.write(content);
    }
    qputenv("TARN_RESOURCE_DIR", resources.path().toUtf8());
}

void RenderTest::pageStructure()
{
    const RenderedMarkdown page = MarkdownRenderer::render(u"", TarnTheme::businessBlue);
    const QString html = qs(page.html);
    QVERIFY(page.toc.empty());
    QVERIFY(html.startsWith(QStringLiteral(
        "<!doctype html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
        "content=\"width=device-width, initial-scale=1\">\n<title>Tarn</title>\n<style>\n")));
    QCOMPARE(between(html, QStringLiteral("<main class=\"tarn-document\">\n"),
                     QStringLiteral("\n</main>")),
             qs(TarnRender::kEmptyState));
    const QString tail = QStringLiteral("\n</main>\n\n<script>\n") +
                         qs(MarkdownRenderer::readerScript()) +
                         QStringLiteral("\n</script>\n</body>\n</html>");
    QVERIFY(html.endsWith(tail));
    QVERIFY(html.contains(QStringLiteral("\n</style>\n</head>\n<body>\n<main class=")));
    // Rendering is a pure function.
    QCOMPARE(qs(MarkdownRenderer::render(u"", TarnTheme::businessBlue).html), html);
}

void RenderTest::stylesheetPerTheme_data()
{
    QTest::addColumn<int>("theme");
    QTest::addColumn<QString>("palette");
    // clang-format off
    QTest::newRow("businessBlue") << int(TarnTheme::businessBlue) << "--bg: #F7FBFF;\n  --text: #172033;\n  --muted: #62748A;\n  --panel: #FFFFFF;\n  --rule: #D8E6F5;\n  --accent: #2563A8;\n  --code: #EEF6FF;\n  --quote: #EAF3FF;";
    QTest::newRow("light") << int(TarnTheme::light) << "--bg: #FAFAF8;\n  --text: #211F1A;\n  --muted: #6E675D;\n  --panel: #FFFFFF;\n  --rule: #DDD8CF;\n  --accent: #2F6F56;\n  --code: #F0EEE8;\n  --quote: #EFF5EF;";
    QTest::newRow("warm") << int(TarnTheme::warm) << "--bg: #F8EFD9;\n  --text: #2B2118;\n  --muted: #796650;\n  --panel: #FFF8EA;\n  --rule: #E3CFA9;\n  --accent: #9A5527;\n  --code: #F1DFC2;\n  --quote: #F5E5C8;";
    QTest::newRow("dark") << int(TarnTheme::dark) << "--bg: #191B1C;\n  --text: #E8E1D4;\n  --muted: #AAA092;\n  --panel: #202326;\n  --rule: #383D40;\n  --accent: #9FCB9B;\n  --code: #111314;\n  --quote: #222B25;";
    // clang-format on
}

void RenderTest::stylesheetPerTheme()
{
    QFETCH(int, theme);
    QString stylesheet = between(qs(MarkdownRenderer::render(u"x", TarnTheme(theme)).html),
                                 QStringLiteral("<style>\n"), QStringLiteral("\n</style>"));
    QTEST(kPalette.match(stylesheet).captured(0), "palette");
    stylesheet.replace(kPalette, QStringLiteral("PALETTE"));
    QCOMPARE(QCryptographicHash::hash(stylesheet.toUtf8(), QCryptographicHash::Sha256).toHex(),
             QByteArray(kStylesheetDigest));
    QVERIFY(stylesheet.startsWith(
        QStringLiteral(":root {\n  color-scheme: light dark;\n  PALETTE\n}")));
}

void RenderTest::diagramLibraryOnlyWithDiagrams()
{
    const QString withDiagrams =
        qs(MarkdownRenderer::render(u"```mermaid\na\n```\n```mmd\nb\n```").html);
    const QString library = QStringLiteral("<script>\nvar lib = '<\\/script>'; // 图\n</script>");
    QCOMPARE(withDiagrams.count(library), 1);
    QCOMPARE(between(withDiagrams, QStringLiteral("\n</main>\n"), QStringLiteral("\n<script>\n")),
             library.left(library.size()));
    const QString without = qs(MarkdownRenderer::render(u"```js\na\n```").html);
    QVERIFY(without.contains(QStringLiteral("\n</main>\n\n<script>\n")));
    QVERIFY(!without.contains(QStringLiteral("var lib")));
}

// The page around a fragment made already is the page `render` gives, in both flavours.
void RenderTest::pageOfAFragment()
{
    const std::u16string markdown = u"# T\n\n```mermaid\na\n```\n\n$x$ and `c`\n\n- a\n- b\n";
    for (const MarkdownFlavor flavor : {MarkdownFlavor::classic, MarkdownFlavor::gfm}) {
        const auto fragment = MarkdownRenderer::renderFragment(markdown, flavor);
        QCOMPARE(qs(MarkdownRenderer::pageOf(fragment, flavor, TarnTheme::dark, u"T")),
                 qs(MarkdownRenderer::render(markdown, TarnTheme::dark, u"T", flavor).html));
    }
}

void RenderTest::lineEnds_data()
{
    // clang-format off
    QTest::addColumn<QString>("text");
    QTest::newRow("crlf") << "# A\r\n\r\n- x\r\n- y\r\n```\r\ncode\r\n```\r\n";
    QTest::newRow("cr") << "# A\r\r- x\r- y\r```\rcode\r```\r";
    QTest::newRow("mixed") << "# A\r\n\r- x\n- y\r\n```\rcode\n```\r\n";
    // clang-format on
}

void RenderTest::lineEnds()
{
    QFETCH(QString, text);
    const auto unix = MarkdownRenderer::render(u"# A\n\n- x\n- y\n```\ncode\n```\n");
    const auto other = MarkdownRenderer::render(u16(text));
    QCOMPARE(qs(other.html), qs(unix.html));
    QVERIFY(other.toc == unix.toc);
}

void RenderTest::themes()
{
    QStringList raw;
    QStringList names;
    for (TarnTheme theme : TarnThemes::allCases) {
        raw << QString::fromLatin1(TarnThemes::rawValue(theme));
        names << qs(TarnThemes::displayName(theme));
        QCOMPARE(TarnThemes::fromRawValue(TarnThemes::rawValue(theme)), theme);
    }
    QCOMPARE(raw, (QStringList{"businessBlue", "light", "warm", "dark"}));
    QCOMPARE(names, (QStringList{"商务浅蓝", "清爽浅色", "暖色护眼", "深色夜读"}));
    QVERIFY(!TarnThemes::fromRawValue(std::string_view("Dark")));
    QVERIFY(!TarnThemes::fromRawValue(std::string_view("")));
    QVERIFY(!TarnThemes::fromRawValue(std::u16string_view(u"暗")));
    QVERIFY(TarnThemes::colorScheme(TarnTheme::dark) == TarnColorScheme::dark);
    QVERIFY(TarnThemes::colorScheme(TarnTheme::warm) == TarnColorScheme::light);
}
