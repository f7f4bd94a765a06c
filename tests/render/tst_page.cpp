// The page template: stylesheet per theme, title escaping, diagram library, script, line ends.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Written out by hand, independently of the renderer's rule table.
const char16_t *const kBusinessBlueStylesheet = uR"CSS(:root {
  color-scheme: light dark;
  --bg: #F7FBFF;
  --text: #172033;
  --muted: #62748A;
  --panel: #FFFFFF;
  --rule: #D8E6F5;
  --accent: #2563A8;
  --code: #EEF6FF;
  --quote: #EAF3FF;
}
* { box-sizing: border-box; }
html { background: var(--bg); }
body {
  margin: 0;
  background: var(--bg);
  color: var(--text);
  font-family: ui-serif, "New York", "Songti SC", "Noto Serif CJK SC", Georgia, serif;
  font-size: 18px;
  line-height: 1.78;
  letter-spacing: 0;
  -webkit-font-smoothing: antialiased;
}
.tarn-document {
  width: min(820px, calc(100vw - 64px));
  margin: 0 auto;
  padding: 56px 0 96px;
}
h1, h2, h3, h4, h5, h6 {
  color: var(--text);
  font-family: ui-rounded, "Avenir Next", -apple-system, BlinkMacSystemFont, "Segoe UI", sans-serif;
  letter-spacing: 0;
  line-height: 1.22;
  scroll-margin-top: 32px;
}
h1 { font-size: 2.35rem; margin: 0 0 1.4rem; }
h2 { font-size: 1.72rem; margin: 2.4rem 0 0.8rem; padding-bottom: 0.35rem; border-bottom: 1px solid var(--rule); }
h3 { font-size: 1.35rem; margin: 1.9rem 0 0.65rem; }
h4, h5, h6 { font-size: 1.05rem; margin: 1.4rem 0 0.45rem; }
p { margin: 0 0 1.15rem; }
a { color: var(--accent); text-decoration-thickness: 1px; text-underline-offset: 3px; }
strong { font-weight: 750; }
ul, ol { margin: 0 0 1.25rem 1.25rem; padding-left: 1rem; }
li { margin: 0.28rem 0; }
.task-item { list-style: none; margin-left: -1.7rem; display: flex; gap: 0.55rem; align-items: baseline; }
.task-item input { transform: translateY(1px); }
blockquote {
  margin: 1.4rem 0;
  padding: 0.95rem 1.1rem;
  border-left: 4px solid var(--accent);
  background: var(--quote);
  color: var(--text);
  border-radius: 8px;
}
hr { border: 0; border-top: 1px solid var(--rule); margin: 2rem 0; }
code {
  font-family: "SF Mono", ui-monospace, Menlo, Consolas, monospace;
  font-size: 0.9em;
  background: var(--code);
  padding: 0.15em 0.35em;
  border-radius: 5px;
}
pre {
  margin: 1.35rem 0;
  padding: 1rem;
  background: var(--code);
  border: 1px solid var(--rule);
  border-radius: 8px;
  overflow-x: auto;
}
pre code {
  display: block;
  padding: 0;
  background: transparent;
  border-radius: 0;
  line-height: 1.6;
}
.mermaid-diagram {
  margin: 1.45rem 0;
  padding: 1rem;
  background: var(--quote);
  border: 1px solid var(--rule);
  border-radius: 10px;
  overflow-x: auto;
}
.mermaid-output {
  display: none;
  min-width: 520px;
  text-align: center;
}
.mermaid-output svg {
  max-width: 100%;
  height: auto;
  font-family: -apple-system, BlinkMacSystemFont, "Segoe UI", sans-serif;
}
.mermaid-diagram.is-rendered {
  background: var(--panel);
}
.mermaid-diagram.is-rendered .mermaid-output {
  display: block;
}
.mermaid-diagram.is-rendered .mermaid-source {
  display: none;
}
.mermaid-error {
  margin-bottom: 0.75rem;
  color: var(--accent);
  font-family: -apple-system, BlinkMacSystemFont, "Segoe UI", sans-serif;
  font-size: 0.95rem;
  font-weight: 700;
}
img {
  max-width: 100%;
  border-radius: 8px;
  display: block;
  margin: 1.25rem auto;
}
.table-wrap {
  overflow-x: auto;
  margin: 1.4rem 0;
  border: 1px solid var(--rule);
  border-radius: 8px;
  background: var(--panel);
}
table { width: 100%; border-collapse: collapse; font-family: -apple-system, BlinkMacSystemFont, "Segoe UI", sans-serif; font-size: 0.94rem; }
th, td { padding: 0.72rem 0.85rem; border-bottom: 1px solid var(--rule); text-align: left; vertical-align: top; }
th { color: var(--muted); font-weight: 700; background: color-mix(in srgb, var(--panel) 82%, var(--code)); }
tr:last-child td { border-bottom: 0; }
mark.tarn-search-hit {
  background: #FFD965;
  color: #231A10;
  padding: 0.05em 0.14em;
  border-radius: 4px;
}
mark.tarn-search-current {
  background: #F5A524;
  outline: 2px solid var(--accent);
  outline-offset: 2px;
  box-shadow: 0 0 0 3px color-mix(in srgb, var(--accent) 18%, transparent);
}
.empty-state { min-height: 55vh; display: grid; place-content: center; text-align: center; color: var(--muted); }
@media print {
  body { background: white; color: #1f1f1f; }
  .tarn-document { width: auto; max-width: 720px; padding: 24px 0; }
})CSS";

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
    QCOMPARE(between(html, QStringLiteral("<style>\n"), QStringLiteral("\n</style>")),
             QString::fromUtf16(kBusinessBlueStylesheet));
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
    // clang-format off
    QTest::addColumn<int>("theme");
    QTest::addColumn<QString>("palette");
    QTest::newRow("light") << int(TarnTheme::light)
                           << "--bg: #FAFAF8;\n  --text: #211F1A;\n  --muted: #6E675D;\n  --panel: "
                              "#FFFFFF;\n  --rule: #DDD8CF;\n  --accent: #2F6F56;\n  --code: "
                              "#F0EEE8;\n  --quote: #EFF5EF;";
    QTest::newRow("warm") << int(TarnTheme::warm)
                          << "--bg: #F8EFD9;\n  --text: #2B2118;\n  --muted: #796650;\n  --panel: "
                             "#FFF8EA;\n  --rule: #E3CFA9;\n  --accent: #9A5527;\n  --code: "
                             "#F1DFC2;\n  --quote: #F5E5C8;";
    QTest::newRow("dark") << int(TarnTheme::dark)
                          << "--bg: #191B1C;\n  --text: #E8E1D4;\n  --muted: #AAA092;\n  --panel: "
                             "#202326;\n  --rule: #383D40;\n  --accent: #9FCB9B;\n  --code: "
                             "#111314;\n  --quote: #222B25;";
    // clang-format on
}

void RenderTest::stylesheetPerTheme()
{
    QFETCH(int, theme);
    QFETCH(QString, palette);
    const QString html = qs(MarkdownRenderer::render(u"x", TarnTheme(theme)).html);
    const QString expected =
        QString::fromUtf16(kBusinessBlueStylesheet)
            .replace(QRegularExpression(QStringLiteral("--bg:[^}]*;(?=\n})")), palette);
    QCOMPARE(between(html, QStringLiteral("<style>\n"), QStringLiteral("\n</style>")), expected);
    QVERIFY(html.contains(QStringLiteral("color-scheme: light dark;")));
}

void RenderTest::title_data()
{
    // clang-format off
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("written");
    QTest::newRow("markup") << "a<b>&c" << "a&lt;b&gt;&amp;c";
    QTest::newRow("quotes kept") << "say \"hi\" 'x'" << "say \"hi\" 'x'";
    QTest::newRow("chinese") << "笔记" << "笔记";
    // clang-format on
}

void RenderTest::title()
{
    QFETCH(QString, title);
    QFETCH(QString, written);
    const QString html = qs(MarkdownRenderer::render(u"x", TarnTheme::light, u16(title)).html);
    QCOMPARE(between(html, QStringLiteral("<title>"), QStringLiteral("</title>")), written);
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
    QVERIFY((TarnThemes::accentColor(TarnTheme::businessBlue) == TarnRGB{0.12, 0.35, 0.66}));
    QVERIFY((TarnThemes::sidebarColor(TarnTheme::dark) == TarnRGB{0.14, 0.15, 0.16}));
}
