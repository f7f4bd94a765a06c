// A reader page in the real web engine: the page script's search, reports, links and diagrams,
// the tarn channel, the loader's big pages and file refusals, the reload after a dead renderer.
#include "ReaderTestSupport.h"

#include "MarkdownRenderer.h"
#include "ReaderScripts.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryDir>

#include <csignal>

using namespace ReaderTestPages;

namespace {

// Search cases first, then diagrams (the second one under an id unsafe for the page, the third
// broken), then headings far enough down that none has reached the reading line at the top.
const QString scriptPage = QStringLiteral(
    "qQq\n\n**xy**z xy\n\nfoo `foo` foo\n\nbar\n\n```\nbar\n```\n\nİSTANBUL istanbul\n\nAlpha\n\n"
    "```mermaid\ngraph TD\n  Alpha --> Beta\n```\n\n```mmd\nsequenceDiagram\n  A->>B: hi\n```\n\n"
    "```mermaid\ngraph TD\n  A -->\n```\n\n");

// Each diagram's drawing id, or the label shown in its place.
constexpr char diagramsShown[] =
    "Array.from(document.querySelectorAll('.mermaid-diagram'), (d) => {"
    "  const source = getComputedStyle(d.querySelector('.mermaid-source')).display;"
    "  const output = d.querySelector('.mermaid-output'), svg = output.querySelector(':scope>svg');"
    "  if (d.classList.contains('is-rendered')) return svg && source === 'none' ? svg.id : '?';"
    "  const error = output.querySelector(':scope > .mermaid-error');"
    "  const shown = getComputedStyle(output).display === 'block' && source !== 'none';"
    "  return error && d.classList.contains('has-error') && shown ? error.textContent : '?'; })";

// href, drawn in a diagram (with xlink:href), reported (relative to the page's folder),
// followed by a page without host
using LinkRow = std::tuple<QString, bool, QString, bool>;

} // namespace

class ReaderPageTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    BridgeHarness m_page;      // the script page, shown once for all the tests below
    QWebEnginePage m_hostless; // a reader page without the tarn channel, as in a browser

private slots:
    void initTestCase()
    {
        const QString filler = QStringLiteral("Filler paragraph.\n\n").repeated(40);
        QString page =
            observed(scriptPage + filler + "## Two\n\n" + filler + "## Three\n\n" + filler);
        m_page.baseURL = QUrl::fromLocalFile(m_folder.path());
        QVERIFY(m_page.show(
            page.replace("data-mermaid-id=\"tarn-mermaid-1\"", "data-mermaid-id=\"a b/c\"")));
        QSignalSpy loaded(&m_hostless, &QWebEnginePage::loadFinished);
        m_hostless.setHtml(render("Links."), QUrl::fromLocalFile(m_folder.filePath("page.html")));
        QVERIFY(loaded.wait());
        QTRY_VERIFY(evaluateAndWait(&m_hostless, "window.tarnReadyDone").toBool());
    }

    void searchCountsVisibleTextOnly_data()
    {
        // clang-format off
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("marks");
        QTest::newRow("case kept") << "Q" << QStringList{"q", "Q", "q"};
        QTest::newRow("not across bold") << "xyz" << QStringList{};
        QTest::newRow("code skipped") << "foo" << QStringList{"foo", "foo"};
        QTest::newRow("code block skipped") << "bar" << QStringList{"bar"};
        QTest::newRow("drawn diagram skipped") << "alpha" << QStringList{"Alpha"};
        QTest::newRow("letters that grow when lower-cased") << "stanbul" << QStringList{"STANBUL", "stanbul"};
        QTest::newRow("spaces clear") << "   " << QStringList{};
        // clang-format on
    }

    void searchCountsVisibleTextOnly()
    {
        QFETCH(QString, query);
        QFETCH(QStringList, marks);
        const QString main = QStringLiteral("document.querySelector('main').innerHTML");
        const QString before = m_page.eval(main).toString();
        m_page.searchReports.clear();
        m_page.eval("tarnApplySearch(" + ReaderScripts::stringLiteral(query) + ", {})");
        QTRY_COMPARE(
            m_page.eval("Array.from(document.querySelectorAll('mark'), (m) => m.textContent)")
                .toStringList(),
            marks);
        // Clearing takes the marks out and joins the text back as it was.
        m_page.eval("tarnApplySearch(null)");
        QTRY_COMPARE(m_page.eval(main).toString(), before);
        QCOMPARE(m_page.eval("Array.from(document.querySelectorAll('main *')).some((element) =>"
                             "  Array.from(element.childNodes).some((node) => node.nodeType === 3"
                             "    && node.nextSibling && node.nextSibling.nodeType === 3))"),
                 false);
        const QString found = QStringLiteral("%1:%2/%3").arg(query).arg(marks.isEmpty() ? 0 : 1);
        QTRY_COMPARE(m_page.searchReports, (QStringList{found.arg(marks.size()), ":0/0"}));
    }

    // On a long page each query cancels the search before it: only the last one is reported,
    // with the query it belongs to, and a step asked for while it counts waits for the count.
    // The hits are all marked in the end.
    void searchOnALongPageIsCancelledByTheNextQuery()
    {
        BridgeHarness big;
        QVERIFY(big.show(
            render(QStringLiteral("The reader keeps its place, 中文.\n\n").repeated(50000)),
            60000));
        QTRY_COMPARE(big.searchReports, QStringList{":0/0"}); // after the load
        big.searchReports.clear();
        big.eval("for (const query of ['r', 're', 'rea', 'read', 'reade', 'reader'])"
                 "  tarnApplySearch(query, { scrollToFirst: true });"
                 "tarnMoveSearch('next');");
        // The query just before the last may finish counting in its first slice, before the last
        // one arrives; any earlier ones are cut short.
        const QStringList last{"reader:1/50000", "reader:2/50000"};
        QTRY_COMPARE(big.searchReports.mid(qMax(0, big.searchReports.size() - 2)), last);
        QVERIFY(big.searchReports == last ||
                big.searchReports == QStringList{"reade:1/50000"} + last);
        QTRY_COMPARE_WITH_TIMEOUT(big.eval("document.querySelectorAll('mark').length").toInt(),
                                  50000, 60000);
        QCOMPARE(big.eval("document.querySelectorAll('main > p')[1]"
                          ".querySelector('.tarn-search-current').textContent"),
                 "reader");
    }

    void linkClicks_data()
    {
        QTest::addColumn<LinkRow>("row");
        // Every click but an in-page jump stays in the page; only four schemes reach the host.
        // Without a host, web, mail and relative links are followed; other schemes stay put.
        // clang-format off
        QTest::newRow("in-page anchor") << LinkRow{"#section", false, "", true};
        QTest::newRow("relative with space") << LinkRow{"sub/my notes.md", false, "sub/my%20notes.md", true};
        QTest::newRow("https") << LinkRow{"https://example.com/a?b=1", false, "https://example.com/a?b=1", true};
        QTest::newRow("mailto") << LinkRow{"mailto:someone@example.com", false, "mailto:someone@example.com", true};
        QTest::newRow("file") << LinkRow{"file:///etc/hosts", false, "file:///etc/hosts", false};
        QTest::newRow("javascript") << LinkRow{"javascript:void(0)", false, "", false};
        QTest::newRow("javascript split by a tab") << LinkRow{"java\tscript:void(0)", false, "", false};
        QTest::newRow("javascript after spaces") << LinkRow{" \x01javascript:void(0)", false, "", false};
        QTest::newRow("custom scheme") << LinkRow{"tarn-test:abc", false, "", false};
        QTest::newRow("empty") << LinkRow{"", false, "", false};
        QTest::newRow("diagram link") << LinkRow{"https://example.com/d", true, "https://example.com/d", true};
        QTest::newRow("diagram script link") << LinkRow{"javascript:void(1)", true, "", false};
        // clang-format on
    }

    void linkClicks()
    {
        QFETCH(LinkRow, row);
        const auto &[href, svg, reported, followedWithoutHost] = row;
        m_page.calls.clear();
        // A listener after the page's own records whether the click was cancelled, then cancels
        // it anyway so the view stays on the page.
        const QString click = QStringLiteral(
            "(() => { const main = document.querySelector('main'), href = %1; let cancelled;"
            "  main.insertAdjacentHTML('beforeend', %2"
            "    ? `<svg><a xlink:href=\"${href}\"><text/></a></svg>`"
            "    : `<a href=\"${href}\"><span></span></a>`);"
            "  const listener = (e) => { cancelled = e.defaultPrevented; e.preventDefault(); };"
            "  addEventListener('click', listener, { once: true });"
            "  main.lastElementChild.querySelector('span, text')"
            "    .dispatchEvent(new MouseEvent('click', { bubbles: true, cancelable: true }));"
            "  return cancelled; })()");
        const QString script = click.arg(ReaderScripts::stringLiteral(href), svg ? "1" : "0");
        QCOMPARE(m_page.eval(script), !href.startsWith('#'));
        QCOMPARE(evaluateAndWait(&m_hostless, script), !followedWithoutHost);
        QVERIFY(m_page.sync());
        const QString folder = QUrl::fromLocalFile(m_folder.path()).toString() + u'/';
        const QUrl expected(reported.contains(u':') ? reported : folder + reported);
        QCOMPARE(m_page.calls,
                 reported.isEmpty() ? QStringList() : QStringList{"link:" + expected.toString()});
    }

    // The position is reported once scrolling rests; a heading when it reaches the reading line.
    void scrollAndHeadingReports()
    {
        m_page.calls.clear();
        // Two seconds of scrolling, a step every 100 ms: never 500 ms of quiet.
        m_page.eval("(() => { let steps = 0; const ticker = setInterval(() => {"
                    "  scrollBy(0, 40); if (++steps === 20) clearInterval(ticker); }, 100); })()");
        QTRY_COMPARE(m_page.eval("scrollY").toDouble(), 800.0);
        QCOMPARE(m_page.calls, QStringList());
        QTRY_COMPARE(m_page.calls, QStringList{"scroll:800"});

        // Puts the heading at 20% of the view's height, above the reading line; the first jump lays
        // out the blocks above it, so that the second starts from its real place.
        const QStringList visits{"heading:two", "heading:three", "heading:two"};
        for (int i = 0; i < visits.size(); ++i) {
            m_page.eval(QStringLiteral("(() => { const heading = document.getElementById('%1');"
                                       "  const top = () => heading.getBoundingClientRect().top;"
                                       "  scrollTo(0, top() + scrollY);"
                                       "  scrollTo(0, top() + scrollY - innerHeight * 0.2); })()")
                            .arg(visits[i].mid(8)));
            QTRY_COMPARE(m_page.calls.filter("heading:").size(), i + 1);
        }
        QVERIFY(m_page.sync());
        QCOMPARE(m_page.calls.filter("heading:"), visits);
    }

    // Each diagram is drawn in place of its source, under an id safe for the page, or shows why
    // it is not; a failed drawing leaves nothing behind at the end of the page.
    void diagrams()
    {
        QCOMPARE(m_page.eval(diagramsShown).toStringList(),
                 (QStringList{"tarn-mermaid-0", "a-b-c", "流程图渲染失败"}));
        QCOMPARE(m_page.eval("document.querySelectorAll('body > div svg').length"), 0);

        BridgeHarness bare;
        QVERIFY(bare.show(
            render("```mermaid\ngraph TD\n  A --> B\n```")
                .remove(QString::fromStdU16String(MarkdownRenderer::inlineMermaidScript()))));
        QCOMPARE(bare.eval(diagramsShown).toStringList(), QStringList{"流程图库加载失败"});
    }

    // Pages are handed over as string literals: every text reads back unit for unit.
    void stringLiteralReadsBack()
    {
        static const char16_t text[] =
            u"\"'\\ \\u0041 ${x} `t` \0\x01\b\f\n\r\t\x1f a\u2028b\u2029c"
            u" </script><!-- --> 😀 中文 \xd800x\xdc00";
        QVariantList units;
        for (const char16_t unit : std::u16string_view(text, std::size(text) - 1))
            units.append(int(unit));
        QCOMPARE(m_page
                     .eval(ReaderScripts::stringLiteral(QString::fromUtf16(text, units.size())) +
                           ".split('').map((unit) => unit.charCodeAt(0))")
                     .toList(),
                 units);
    }

    void messagesPostedBeforeTheChannelConnects()
    {
        TarnWebView view;
        QList<QVariantMap> messages;
        connect(&view.messageChannel(), &TarnMessageChannel::messageReceived, this,
                [&](const QVariantMap &body) { messages.append(body); });
        // Posted before the channel's handshake ends; what is not an object, or cannot be copied,
        // is dropped; each is copied when posted.
        view.page()->setHtml(
            "<script>const tarn = window.webkit.messageHandlers.tarn, cycle = {}, message = {y: 1};"
            "tarn.postMessage(message); message.y = 2; cycle.self = cycle;"
            "tarn.postMessage('text'); tarn.postMessage([1]); tarn.postMessage(undefined);"
            "tarn.postMessage(cycle); for (let i = 0; i < 200; i += 1) tarn.postMessage({i});"
            "setTimeout(() => tarn.postMessage({ nested: { ok: true } }), 0);</script>");
        QTRY_COMPARE(messages.size(), 202);
        QCOMPARE(messages[0].value("y"), 1);
        for (int i = 0; i < 200; ++i)
            QCOMPARE(messages[1 + i].value("i"), i);
        QCOMPARE(messages[201].value("nested").toMap().value("ok"), true);
    }

    // A long page's rest follows its first screen: at once when the page announces that screen,
    // after a short wait when nobody passes the announcement on.
    void longPageIsWrittenAfterItsFirstScreen_data()
    {
        QTest::addColumn<bool>("announced");
        QTest::newRow("announced") << true;
        QTest::newRow("no channel") << false;
    }
    void longPageIsWrittenAfterItsFirstScreen()
    {
        QFETCH(bool, announced);
        const QString html =
            render(QStringLiteral("Paragraph of the long page.\n\n").repeated(40000));
        TarnWebView view;
        view.resize(600, 400);
        view.show();
        QWebEnginePage bare;
        ReaderPageLoader bareLoader(&bare);
        bareLoader.setPaced(true);
        ReaderPageLoader &loader = announced ? view.loader() : bareLoader;
        QWebEnginePage *page = announced ? view.page() : &bare;
        QList<QVariantMap> messages;
        connect(&view.messageChannel(), &TarnMessageChannel::messageReceived, this,
                [&](const QVariantMap &body) { messages.append(body); });
        QSignalSpy loaded(&loader, &ReaderPageLoader::pageLoaded);
        QElapsedTimer clock;
        clock.start();
        loader.load(html, QUrl::fromLocalFile(m_folder.path()));
        QVERIFY(loaded.wait(30000));
        QCOMPARE(evaluateAndWait(page, "document.querySelectorAll('main > p').length"), 40000);
        if (announced)
            QVERIFY(std::any_of(messages.begin(), messages.end(), [](const QVariantMap &m) {
                return m.value("type") == "firstScreen";
            }));
        else
            QVERIFY(clock.elapsed() >= ReaderPageLoader::firstScreenWait);
    }

    // A big page, loaded while a small one is still on its way, finds its images next to the
    // document; a script in it may not read the document's neighbours or open windows.
    void bigPageWithRelativeImages()
    {
        QTemporaryDir folder;
        QFile secret(folder.filePath("secret.txt"));
        QVERIFY(secret.open(QIODevice::WriteOnly) && secret.write("secret") == 6 && secret.flush());
        QVERIFY(QDir(folder.path()).mkdir("img") &&
                QImage(4, 3, QImage::Format_RGB32).save(folder.filePath("img/dot.png")));
        BridgeHarness big;
        big.baseURL = QUrl::fromLocalFile(folder.path());
        QVERIFY(big.show(render("# Small"), 0));
        QSignalSpy loaded(&big.view->loader(), &ReaderPageLoader::pageLoaded);
        QSignalSpy failed(&big.view->loader(), &ReaderPageLoader::pageLoadFailed);
        // The diagram library alone is about 2.5 MB; the text brings the page to about 3.5 MB.
        big.html = render(
            "# Big\n\n```mermaid\ngraph TD\n  A --> B\n```\n\n" +
            QStringLiteral("Some text that fills the page, 中文 too.\n\n").repeated(22000) +
            "Odd text: \"q\" \\ </script> \u2028 😀\n\n![dot](img/dot.png)\n\n[notes](notes.md)\n");
        big.update();
        QVERIFY(big.waitForReady(60000));
        QCOMPARE(loaded.size(), 1); // only the last load reports
        QCOMPARE(failed.size(), 0);

        const QString folderURL = QUrl::fromLocalFile(folder.path()).toString();
        QCOMPARE(big.eval("document.baseURI").toString(), folderURL + u'/');
        QCOMPARE(big.eval("document.querySelector('main a').href").toString(),
                 folderURL + "/notes.md");
        QCOMPARE(big.eval("document.querySelector('main img').naturalWidth"), 4);
        QCOMPARE(big.eval("document.querySelectorAll('.is-rendered svg').length"), 1);
        QCOMPARE(big.eval("document.querySelectorAll('main > p').length"), 22003);
        QCOMPARE(big.eval("document.querySelectorAll('main > p')[22000].textContent").toString(),
                 QStringLiteral("Odd text: \"q\" \\ </script> \u2028 😀"));

        big.eval(
            "window.reads = []; const note = (what) => reads.push(what);"
            "fetch('secret.txt').then((r) => r.text()).then(note, () => note('no fetch'));"
            "const x = new XMLHttpRequest(); x.open('GET', 'secret.txt');"
            "x.onload = () => note(x.responseText); x.onerror = () => note('no xhr'); x.send();"
            "const f = document.createElement('iframe'); f.src = 'secret.txt';"
            "document.body.append(f); note(window.open('secret.txt') ? 'window' : 'no window');");
        QTRY_COMPARE(big.eval("reads.sort().join()").toString(), "no fetch,no window,no xhr");
        QCOMPARE(big.eval("String(f.contentDocument?.body?.textContent).includes('secret')"),
                 false);
    }

    // A dead renderer's page is loaded again where it was read. Last, as after a renderer dies
    // the engine's next new page can miss its channel.
    void killedRendererReloads()
    {
        const int loads = m_page.view->loadCount();
        m_page.post("{type: 'scroll', y: 900}");
        QTRY_VERIFY(m_page.calls.contains("scroll:900"));
        QSignalSpy ready(m_page.coordinator, &MarkdownWebViewCoordinator::pageReady);
        QCOMPARE(::kill(pid_t(m_page.view->page()->renderProcessPid()), SIGKILL), 0);
        QVERIFY(ready.wait());
        QCOMPARE(m_page.view->loadCount(), loads + 1);
        QCOMPARE(m_page.eval("document.getElementById('three').textContent"), "Three");
        QCOMPARE(m_page.eval("__scrollCalls").toList(), QVariantList{900});
    }
};

TARN_WEB_TEST(ReaderPageTest);
#include "tst_reader_page.moc"
