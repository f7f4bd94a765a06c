// The standard flavour's page in the real engine: Tarn's own scripts run under the page's
// policy (diagrams, math, code colours, readiness), and hostile documents stay inert both in the
// reader and as an exported file opened in a plain page with no filter and no channel.
#include "ReaderTestSupport.h"

#include "MarkdownRenderer.h"
#include "ReaderScripts.h"

#include <algorithm>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>

namespace {

// Records every request of the pages of a profile and lets it through.
class RequestRecorder : public QWebEngineUrlRequestInterceptor
{
public:
    void interceptRequest(QWebEngineUrlRequestInfo &info) override
    {
        requests.append({info.requestUrl(), info.resourceType()});
    }
    QList<QPair<QUrl, QWebEngineUrlRequestInfo::ResourceType>> requests;
};

// The page of a standard-flavour document, with the page resources its content asks for, as
// the renderer flags them.
QString standardPage(const QString &markdown)
{
    MarkdownRenderer::Fragment fragment =
        MarkdownRenderer::renderFragment(markdown.toStdU16String(), MarkdownFlavor::gfm);
    const QString html = QString::fromStdU16String(fragment.html);
    fragment.hasMermaid = html.contains(QStringLiteral("mermaid-diagram"));
    fragment.hasMath = html.contains(QStringLiteral("class=\"math "));
    fragment.hasHighlight = html.contains(QStringLiteral("class=\"language-"));
    return QString::fromStdU16String(MarkdownRenderer::standardPage(fragment));
}

// Everything a reader might do to the page: follow each link, press each button, open each
// summary, point at and focus each element, submit each form. Then a harmless image request
// that marks the end: what the page asked for before it has reached the recorder by then.
constexpr char kProvoke[] =
    "document.querySelectorAll('a, button, input, summary').forEach((e) =>"
    "  e.dispatchEvent(new MouseEvent('click', { bubbles: true, cancelable: true })));"
    "document.querySelectorAll('main *').forEach((e) => ['mouseover', 'focus', 'toggle']"
    "  .forEach((type) => e.dispatchEvent(new Event(type))));"
    "document.querySelectorAll('form').forEach((f) => { try { f.submit(); } catch (e) {} });"
    "const canary = new Image(); canary.src = 'tarn-canary.png'; true;";

} // namespace

class StandardPageTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    RequestRecorder m_readerRequests; // on the reader's (default) profile
    BridgeHarness m_reader;
    QWebEngineProfile m_plainProfile; // off the record, as a fresh browser
    RequestRecorder m_plainRequests;
    std::unique_ptr<QWebEnginePage> m_plain;

    // Provokes the page, waits until the end marker has been asked for, then says what else
    // was asked for since the recorder was cleared, besides the page, its local images and
    // data: addresses.
    QStringList unexpectedRequests(QWebEnginePage *page, RequestRecorder &recorder)
    {
        evaluateAndWait(page, kProvoke);
        const auto isCanary = [](const QUrl &url) { return url.path().endsWith("canary.png"); };
        if (!waitUntil([&] {
                return std::any_of(recorder.requests.begin(), recorder.requests.end(),
                                   [&](const auto &request) { return isCanary(request.first); });
            }))
            return {QStringLiteral("no end marker")};
        QStringList others;
        for (const auto &[url, type] : recorder.requests) {
            const bool local = url.scheme() == "file" &&
                               (type == QWebEngineUrlRequestInfo::ResourceTypeMainFrame ||
                                type == QWebEngineUrlRequestInfo::ResourceTypeImage ||
                                type == QWebEngineUrlRequestInfo::ResourceTypeFavicon);
            if (!isCanary(url) && !local && url.scheme() != "data")
                others << QStringLiteral("%1 (%2)").arg(url.toString()).arg(int(type));
        }
        return others;
    }

private slots:
    void initTestCase()
    {
        QWebEngineProfile::defaultProfile()->setUrlRequestInterceptor(&m_readerRequests);
        m_reader.baseURL = QUrl::fromLocalFile(m_folder.path());
        QVERIFY(m_reader.show(standardPage(QStringLiteral("# Start"))));
        m_plainProfile.setUrlRequestInterceptor(&m_plainRequests);
        m_plain = std::make_unique<QWebEnginePage>(&m_plainProfile);
        // A browser lets a local file load from the web; only the page itself may stop it.
        m_plain->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls,
                                          true);
    }

    void cleanupTestCase()
    {
        m_plain.reset();
        QWebEngineProfile::defaultProfile()->setUrlRequestInterceptor(nullptr);
    }

    // Every script of the page runs under its policy: the diagram library, KaTeX, highlight.js,
    // the page script and the reader script; the math and colours are done by the time the page
    // reports ready.
    void pageScriptsRunUnderThePolicy()
    {
        MarkdownRenderer::Fragment fragment;
        fragment.html =
            MarkdownRenderer::renderFragment(u"```mermaid\ngraph TD\n  A --> B\n```\n").html +
            u"<p>Inline <span class=\"math math-inline\">x^2</span> and broken "
            u"<span class=\"math math-inline\">\\frac{1}{</span>.</p>\n"
            u"<div class=\"math math-display\">\\sum_{i=1}^n i</div>\n"
            u"<pre><code class=\"language-cpp\">int main() { return 0; }</code></pre>\n"
            u"<pre><code class=\"language-nosuch\">int x;</code></pre>\n"
            u"<p><img src=\"http://127.0.0.1:9/logo.png\" alt=\"Project logo\"></p>\n"
            u"<p>return here</p>\n";
        fragment.hasMermaid = fragment.hasMath = fragment.hasHighlight = true;
        m_reader.html = QString::fromStdU16String(MarkdownRenderer::standardPage(fragment));
        m_reader.update();
        QVERIFY(m_reader.waitForReady());
        QCOMPARE(m_reader.eval("document.querySelectorAll('.is-rendered svg').length"), 1);
        QCOMPARE(m_reader.eval("document.querySelectorAll('.math-inline > .katex').length"), 1);
        QCOMPARE(m_reader.eval("document.querySelectorAll('.math-display .katex-display').length"),
                 1);
        QCOMPARE(m_reader.eval("document.querySelector('.math-error').textContent"), "\\frac{1}{");
        QCOMPARE(
            m_reader.eval("document.querySelector('.language-cpp .hljs-keyword')?.textContent"),
            "return");
        QCOMPARE(m_reader.eval("document.querySelector('.language-nosuch').innerHTML"), "int x;");
        QCOMPARE(m_reader.eval("typeof window.tarnApplySearch"), "function");
        // Coloured code stays out of the search, as plain code does.
        m_reader.eval("window.tarnApplySearch('return')");
        QTRY_COMPARE(m_reader.eval("document.querySelectorAll('mark.tarn-search-hit').length"), 1);
        QCOMPARE(m_reader.eval("document.querySelector('mark.tarn-search-hit').parentElement"
                               ".tagName"),
                 "P");
        // KaTeX's fonts come from the page itself.
        QTRY_VERIFY(m_reader
                        .eval("Array.from(document.fonts).some((f) => f.family === 'KaTeX_Main'"
                              "  && f.status === 'loaded')")
                        .toBool());
        // The remote image stays out of the reader; its alt text shows instead.
        QTRY_COMPARE(m_reader.eval("document.querySelector('.tarn-image-fallback')?.textContent"),
                     "Project logo");
        QCOMPARE(m_reader.eval("document.querySelectorAll('main img').length"), 0);
        // So does one that fails after the page is complete (as in the split view's preview).
        m_reader.eval("const late = document.createElement('img'); late.alt = 'Late';"
                      "late.src = 'no-such-file.png'; document.querySelector('main').append(late)");
        QTRY_COMPARE(m_reader.eval("document.querySelectorAll('.tarn-image-fallback').length"), 2);
    }

    // A long page is coloured and drawn in slices; it reports ready only when all are done, so
    // a PDF made from it has them all.
    void longPageIsReadyWhenAllIsDrawn()
    {
        MarkdownRenderer::Fragment fragment;
        for (int i = 0; i < 3000; ++i) {
            fragment.html += u"<pre><code class=\"language-js\">const x = 1; // "
                             u"the code of one block</code></pre>\n"
                             u"<p><span class=\"math math-inline\">\\sqrt{x_1}</span></p>\n";
        }
        fragment.hasMath = fragment.hasHighlight = true;
        m_reader.html = QString::fromStdU16String(MarkdownRenderer::standardPage(fragment));
        m_reader.update();
        QVERIFY(m_reader.waitForReady(60000));
        QCOMPARE(m_reader.eval("document.querySelectorAll('code.hljs').length"), 3000);
        QCOMPARE(m_reader.eval("document.querySelectorAll('.math-inline > .katex').length"), 3000);
    }

    void hostileDocumentsStayInert_data()
    {
        QTest::addColumn<QString>("markdown");
        // Each vector would set window.pwned, load from 127.0.0.1 or navigate, if it worked.
        // clang-format off
        QTest::newRow("script") << "<script>pwned = 1</script>\n\nx <script>pwned = 1</script>";
        QTest::newRow("script src") << "<script src=\"http://127.0.0.1:9/a.js\"></script>";
        QTest::newRow("img onerror") << "<img src=\"x\" onerror=\"pwned = 1\">";
        QTest::newRow("svg onload") << "<svg onload=\"pwned = 1\"><circle r=\"1\"/></svg>\n\n<svg><script>pwned = 1</script></svg>";
        QTest::newRow("iframe") << "<iframe src=\"http://127.0.0.1:9/f\"></iframe>\n\n<iframe srcdoc=\"<script>parent.pwned = 1</script>\"></iframe>";
        QTest::newRow("object and embed") << "<object data=\"http://127.0.0.1:9/o\"></object>\n\n<embed src=\"http://127.0.0.1:9/e\">";
        QTest::newRow("form submit") << "<form action=\"http://127.0.0.1:9/s\"><input name=\"q\" value=\"v\"><input type=\"submit\"><button>Go</button></form>";
        QTest::newRow("meta refresh") << "<meta http-equiv=\"refresh\" content=\"0;url=http://127.0.0.1:9/m\">";
        QTest::newRow("base href") << "<base href=\"http://127.0.0.1:9/\">\n\n![i](rel.png)";
        QTest::newRow("link stylesheet") << "<link rel=\"stylesheet\" href=\"http://127.0.0.1:9/l.css\">";
        QTest::newRow("style import and font") << "<style>@import url(http://127.0.0.1:9/i.css); @font-face { font-family: x; src: url(http://127.0.0.1:9/f.woff); } p { font-family: x; }</style>\n\ntext";
        QTest::newRow("style attribute") << "<p style=\"background: url(http://127.0.0.1:9/bg.png)\">x</p>";
        QTest::newRow("javascript href") << "<a href=\"javascript:pwned = 1\">a</a>";
        QTest::newRow("javascript href, tab") << "<a href=\"java\tscript:pwned = 1\">a</a>";
        QTest::newRow("javascript href, entities") << "<a href=\"&#106;ava&#x09;script&colon;pwned = 1\">a</a>";
        QTest::newRow("javascript Markdown link") << "[a](javascript:pwned=1) [b](JaVaScRiPt:pwned=1) <br>";
        QTest::newRow("data link") << "<a href=\"data:text/html,<script>parent.pwned = 1</script>\">d</a>";
        QTest::newRow("handlers on kept elements") << "<details open ontoggle=\"pwned = 1\"><summary onclick=\"pwned = 1\">s</summary></details>\n\n<div onmouseover=\"pwned = 1\" onfocus=\"pwned = 1\" tabindex=\"1\">m</div>";
        QTest::newRow("malformed tags") << "<img src=\"x\" alt=\"a\"onerror=\"pwned = 1\">\n\n<a href=\">\"<script>pwned = 1</script>\">y</a>\n\n<<script>pwned = 1//<</script>";
        QTest::newRow("parser differentials") << "<noscript><p title=\"</noscript><img src=x onerror=pwned=1>\"></noscript>\n\n<math><mtext><table><mglyph><style><img src=x onerror=pwned=1>";
        QTest::newRow("math commands") << "<p><span class=\"math math-inline\">\\href{javascript:pwned=1}{x} \\url{javascript:pwned=1}</span></p>\n<div class=\"math math-display\">\\includegraphics{http://127.0.0.1:9/g.png} \\htmlId{x}{y}</div>";
        QTest::newRow("fence languages") << "```\"><img src=x onerror=pwned=1>\nx\n```\n\n```c\" onmouseover=\"pwned=1\nx\n```\n\n```constructor\nx\n```\n\n```__proto__\nx\n```\n\n<b>html</b>";
        QTest::newRow("diagram labels") << "<figure class=\"mermaid-diagram\" data-mermaid-id=\"tarn-mermaid-0\"><div class=\"mermaid-output\"></div><pre class=\"mermaid-source\"><code>graph TD\n  A[\"&lt;img src=x onerror=pwned=1&gt;\"] --&gt; B\n  click A \"javascript:pwned=1\"\n  click B href \"javascript:pwned=1\"\n</code></pre></figure>";
        QTest::newRow("footnote label") << "x[^<img src=x onerror=pwned=1>]\n\n[^<img src=x onerror=pwned=1>]: y <script>pwned=1</script>";
        QTest::newRow("alert body") << "> [!NOTE]\n> <img src=x onerror=pwned=1> <script>pwned = 1</script>";
        QTest::newRow("front matter") << "---\ntitle: <script>pwned = 1</script>\nlogo: <img src=x onerror=pwned=1>\n---\n\nx";
        // clang-format on
    }

    void hostileDocumentsStayInert()
    {
        QFETCH(QString, markdown);
        // Each page differs from the one before, or the reader would keep that one.
        const QString page =
            standardPage(markdown + "\n\nRow " + QString::fromUtf8(QTest::currentDataTag()));

        // In the reader.
        m_reader.html = page;
        m_reader.calls.clear();
        m_readerRequests.requests.clear();
        m_reader.update();
        QVERIFY(m_reader.waitForReady());
        QCOMPARE(unexpectedRequests(m_reader.view->page(), m_readerRequests).join(' '), QString());
        QCOMPARE(m_reader.eval("typeof window.pwned"), "undefined");
        QVERIFY(m_reader.sync());
        QCOMPARE(m_reader.calls.filter(QStringLiteral("link:")).join(' '), QString());

        // Exported and opened as a file, with nothing of the reader around it.
        const QString path = m_folder.filePath(QStringLiteral("exported.html"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(page.toUtf8());
        file.close();
        m_plainRequests.requests.clear();
        QSignalSpy loaded(m_plain.get(), &QWebEnginePage::loadFinished);
        m_plain->load(QUrl::fromLocalFile(path));
        QVERIFY(loaded.wait());
        QTRY_VERIFY(evaluateAndWait(m_plain.get(), ReaderScripts::readinessTest).toBool());
        QCOMPARE(unexpectedRequests(m_plain.get(), m_plainRequests).join(' '), QString());
        QCOMPARE(evaluateAndWait(m_plain.get(), "typeof window.pwned"), "undefined");
        QCOMPARE(m_plain->url(), QUrl::fromLocalFile(path));
    }
};

TARN_WEB_TEST(StandardPageTest);
#include "tst_reader_standard_page.moc"
