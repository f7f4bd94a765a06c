// The reader bridge and view in a real web engine: page messages, navigation, context menu,
// zoom, reloads, search or position restored after a load, search pushed and stepped once.
#include "ReaderTestSupport.h"

#include <QApplication>
#include <QMenu>
#include <QWheelEvent>

using namespace ReaderTestPages;

namespace {

// An observed page whose script never reports ready.
QString neverReady(const QString &markdown)
{
    return observed(markdown).replace("tarnReadyDone = true;", "tarnReadyDone = false;");
}

// The page of `markdown` with `script` run in its head, before the page's own scripts.
QString withHeadScript(const QString &page, const QString &script)
{
    return QString(page).replace("<head>\n", "<head>\n<script>\n" + script + "\n</script>\n");
}

QString standardPage(const QString &markdown)
{
    return QString::fromStdU16String(MarkdownRenderer::render(markdown.toStdU16String(),
                                                              TarnTheme::businessBlue, u"Tarn",
                                                              MarkdownFlavor::gfm)
                                         .html);
}

// page, readiness deadline (ms), outcome, what holds in the page when it is reported
using ReadinessRow = std::tuple<QString, int, PageReadiness::Outcome, QString>;

} // namespace

// query, remembered position, scrollTo calls after the load, query has hits, page gets ready
using RestoreRow = std::tuple<QString, double, QVariantList, bool, bool>;

class ReaderBridgeTest : public QObject
{
    Q_OBJECT

    BridgeHarness m_page; // in an active window, for the checks that need no state of their own

private slots:
    void initTestCase()
    {
        QVERIFY(m_page.show(observed("Text without headings.")));
        m_page.view->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_page.view.get()));
        QTRY_VERIFY(m_page.view->focusProxy());
        QVERIFY(m_page.sync()); // the search report after the load is in
    }

    void pageMessages_data()
    {
        // clang-format off
        QTest::addColumn<QString>("message"); // a JavaScript object literal
        QTest::addColumn<QStringList>("calls");
        QTest::newRow("scroll fraction") << "{type: 'scroll', y: 812.5}" << QStringList{"scroll:812.5"};
        QTest::newRow("scroll whole") << "{type: 'scroll', y: 812}" << QStringList{"scroll:812"};
        QTest::newRow("search without total") << "{type: 'search', current: 3}" << QStringList{"search:3/0"};
        QTest::newRow("search of an older query") << "{type: 'search', current: 1, total: 2, query: 'old'}" << QStringList{};
        QTest::newRow("search of the query") << "{type: 'search', current: 1, total: 2, query: ''}" << QStringList{"search:1/2"};
        QTest::newRow("search text numbers") << "{type: 'search', current: '2', total: '4'}" << QStringList{"search:0/0"};
        QTest::newRow("link left partly unescaped") << "{type: 'openLink', href: 'file:///tmp/a b|c^d.md'}" << QStringList{"link:" + QUrl("file:///tmp/a b|c^d.md", QUrl::TolerantMode).toString()};
        QTest::newRow("unparsable link") << "{type: 'openLink', href: 'http://exa mple.com/'}" << QStringList{};
        QTest::newRow("no type") << "{id: 'intro'}" << QStringList{};
        QTest::newRow("not an object") << "'heading'" << QStringList{};
        // clang-format on
    }

    void pageMessages()
    {
        QFETCH(QString, message);
        m_page.calls.clear();
        m_page.post(message);
        QVERIFY(m_page.sync());
        QTEST(m_page.calls, "calls");
    }

    // A local file and a form are refused (a navigation let through would have changed the URL
    // before it ended); an in-page jump is let through; the page stays.
    void navigationStaysOnThePage()
    {
        QSignalSpy ended(m_page.view->page(), &QWebEnginePage::loadFinished);
        QSignalSpy moved(m_page.view->page(), &QWebEnginePage::urlChanged);
        m_page.eval("window.marker = 'kept'; location.href = 'file:///etc/hostname'");
        QTRY_COMPARE(ended.size(), 1);
        m_page.eval("const form = document.createElement('form'); document.body.append(form);"
                    "form.action = 'https://example.com/'; form.submit()");
        QTRY_COMPARE(ended.size(), 2);
        QCOMPARE(moved.size(), 0);
        m_page.eval("location.hash = '#part-3'");
        QTRY_COMPARE(m_page.eval("location.hash").toString(), "#part-3");
        QCOMPARE(m_page.eval("window.marker").toString(), "kept");
    }

    // A real right click gets the view's menu: copy and select all. The zoom keys and wheel set
    // the zoom, which a new page keeps; a new page is loaded once for any number of refreshes.
    void contextMenuAndZoom()
    {
        TarnWebView *view = m_page.view.get();
        QWidget *render = view->focusProxy(); // the engine's widget, which has the focus
        QTest::mouseClick(render, Qt::RightButton, {}, render->rect().center());
        QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QCOMPARE(menu->actions(),
                 (QList<QAction *>{view->page()->action(QWebEnginePage::Copy),
                                   view->page()->action(QWebEnginePage::SelectAll)}));
        menu->actions().at(1)->trigger();
        menu->close();
        QTRY_VERIFY(m_page.eval("String(getSelection())").toString().contains("headings"));

        render->setFocus();
        QTRY_VERIFY(render->hasFocus());
        QTest::keyClick(render, Qt::Key_Plus, Qt::ControlModifier);
        QTest::keyClick(render, Qt::Key_Plus, Qt::ControlModifier);
        const QPoint centre = render->rect().center();
        QWheelEvent wheel(centre, render->mapToGlobal(centre), {}, {0, -120}, Qt::NoButton,
                          Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(render, &wheel);
        QCOMPARE(view->readerZoomFactor(), 1.1);
        QTRY_VERIFY(qAbs(m_page.eval("devicePixelRatio").toDouble() - 1.1) < 1e-3);
        const int loads = view->loadCount();
        m_page.html = observed("# Another page");
        m_page.update();
        m_page.update();
        QVERIFY(m_page.waitForReady());
        QCOMPARE(view->loadCount(), loads + 1);
        QCOMPARE(m_page.eval("document.querySelector('h1').textContent"), "Another page");
        QCOMPARE(view->page()->zoomFactor(), 1.1);
        QTest::keyClick(view->focusProxy(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(view->readerZoomFactor(), 1.0);
    }

    // The last row: a page that never reports ready is served after the wait.
    void restoresSearchOrPositionAfterLoad_data()
    {
        QTest::addColumn<RestoreRow>("row");
        QTest::newRow("query beats position") << RestoreRow{"alpha", 900, {}, true, true};
        QTest::newRow("position restored") << RestoreRow{"", 900, {900}, false, true};
        QTest::newRow("spaces are no query") << RestoreRow{"  \n", 300, {300}, false, true};
        QTest::newRow("never ready") << RestoreRow{"", 700, {700}, false, false};
    }

    void restoresSearchOrPositionAfterLoad()
    {
        QFETCH(RestoreRow, row);
        const auto &[query, remembered, scrollCalls, hits, ready] = row;
        BridgeHarness bridge;
        bridge.searchQuery = query;
        bridge.initialScrollY = remembered;
        bridge.readinessDeadline = std::chrono::seconds(1);
        QVERIFY(bridge.show((ready ? observed : neverReady)(longDocument())));
        // The search is applied in every case, so its report marks the end of the restore.
        QTRY_COMPARE(bridge.calls.filter("search:").size(), 1);
        QCOMPARE(bridge.calls.filter("search:").constFirst() == "search:0/0", !hits);
        QCOMPARE(bridge.eval("__scrollCalls").toList(), scrollCalls);
        QCOMPARE(bridge.view->lastSearchQuery(), query);
        // At the first hit, near the top, or at the remembered position.
        const double expected = hits ? 0 : remembered;
        QTRY_VERIFY(qAbs(bridge.eval("scrollY").toDouble() - expected) < (hits ? 600 : 1));
    }

    // Only changed queries reach the page, and each step request is carried out once, wrapping
    // around at both ends. Reports arrive in order, so a repeated push or step would show.
    void searchIsPushedAndSteppedOnce()
    {
        BridgeHarness bridge;
        QVERIFY(bridge.show(observed("x1 x2 x3 y y")));
        auto step = [&bridge](SearchNavigationDirection direction) {
            bridge.request = SearchNavigationRequest{QUuid::createUuid(), direction};
            bridge.update();
        };
        for (const char *query : {"y", "y", "x"}) {
            bridge.searchQuery = query;
            bridge.update();
        }
        step(SearchNavigationDirection::next);
        bridge.update();
        bridge.update();
        QTRY_VERIFY(!bridge.request.has_value());

        // A second press before the first request was cleared is kept and carried out.
        step(SearchNavigationDirection::previous);
        const SearchNavigationRequest newer{QUuid::createUuid(),
                                            SearchNavigationDirection::previous};
        bridge.request = newer;
        QTest::qWait(0);
        QCOMPARE(bridge.request, std::optional(newer));
        bridge.update();
        step(SearchNavigationDirection::next);
        QCOMPARE(bridge.eval("document.querySelectorAll('.tarn-search-current').length"), 1);
        bridge.searchQuery = "z";
        bridge.update();
        step(SearchNavigationDirection::next);
        // The reports on "" (after the load) and "y" come after the query became "x", so they
        // are left out.
        QTRY_COMPARE(bridge.calls,
                     (QStringList{"search:1/3", "search:2/3", "search:1/3", "search:3/3",
                                  "search:1/3", "search:0/0", "search:0/0"}));
    }

    // Lists on a page laid out lazily look as on the page laid out whole: the markers and task
    // boxes that hang left of their block are whole ("1." is not "l."). A long unbroken word
    // breaks instead of widening the page; the page text is the one given.
    void listMarkersAndLongWordsFit()
    {
        const QString lists("1. one\n2. two\n10. ten\n\n- [x] done\n- [ ] open\n\n");
        BridgeHarness lazy;
        QVERIFY(lazy.show(render(lists + QString(300, u'w'))));
        // Laid out for real, as once the reader has scrolled past it.
        QCOMPARE(lazy.eval("(() => { const word = document.querySelector('main > p');"
                           "  word.style.contentVisibility = 'visible';"
                           "  return word.scrollWidth <= word.clientWidth &&"
                           "    document.documentElement.scrollWidth <= innerWidth; })()"),
                 true);
        QWebEngineView whole;
        whole.resize(lazy.view->size());
        whole.show();
        QSignalSpy loaded(whole.page(), &QWebEnginePage::loadFinished);
        whole.setHtml(render(lists));
        QVERIFY(loaded.wait());
        // The first item of each list, with room on its left for what hangs out of it.
        const QString firstItems(
            "Array.from(document.querySelectorAll('main > * > li:first-child'),"
            "  (item) => { const box = item.getBoundingClientRect();"
            "  return [box.left - 60, box.top, box.width + 60, box.height]; })");
        auto grab = [&firstItems](QWebEngineView *view) {
            QList<QImage> images;
            for (const QVariant &item : evaluateAndWait(view->page(), firstItems).toList()) {
                const QVariantList box = item.toList();
                images.append(view->grab(QRect(box[0].toInt(), box[1].toInt(), box[2].toInt(),
                                               box[3].toInt()))
                                  .toImage());
            }
            return images;
        };
        QCOMPARE(grab(lazy.view.get()).size(), 2);
        QTRY_COMPARE(grab(lazy.view.get()), grab(&whole));
    }

    // Each written page is reported once: ready only when the reader script has started up and
    // the standard flavour's math and code colours are done, and never on the strength of an
    // answer the page made up or repeated.
    void readinessIsReportedOnce_data()
    {
        using enum PageReadiness::Outcome;
        QTest::addColumn<ReadinessRow>("row");
        const QString mathAndCode =
            "$x^2$\n\n" + QString("```cpp\nint main() {}\n```\n\n").repeated(400);
        // The page's own script wraps the channel: every message it carries arrives twice.
        const QString twice =
            "const tarn = window.webkit.messageHandlers.tarn;\n"
            "Object.defineProperty(window, 'webkit', { value: { messageHandlers: { tarn: {\n"
            "  postMessage(message) { tarn.postMessage(message); tarn.postMessage(message); }\n"
            "} } } });";
        // A reader script whose start-up ends a while after the page is written.
        const QString late =
            "let startup;\n"
            "Object.defineProperty(window, 'tarnReady', { get: () => startup, set(promise) {\n"
            "  startup = promise.then((value) => new Promise((resolve) => setTimeout(() => {\n"
            "    window.lateStartupDone = true;\n"
            "    resolve(value);\n"
            "  }, 300)));\n"
            "} });\n"
            "Object.defineProperty(window, 'tarnReadyDone', {\n"
            "  get: () => window.lateStartupDone === true, set() {} });";
        // A page that is never ready, but says so, without the host's token, as it is asked.
        const QString forged =
            "const tarn = window.webkit.messageHandlers.tarn;\n"
            "Object.defineProperty(window, 'tarnReady', { get() {\n"
            "  tarn.postMessage({ type: 'ready' });\n"
            "  tarn.postMessage({ type: 'ready', token: 'guessed' });\n"
            "  return new Promise(() => {});\n"
            "}, set() {} });\n"
            "Object.defineProperty(window, 'tarnReadyDone', { get: () => false, set() {} });";
        // clang-format off
        QTest::newRow("startup done") << ReadinessRow{withHeadScript(render("text"), late), 8000, Ready, "window.lateStartupDone === true"};
        QTest::newRow("math and code colours done") << ReadinessRow{standardPage(mathAndCode), 8000, Ready, "document.querySelector('.katex') !== null && document.querySelectorAll('pre > code.hljs').length === 400"};
        QTest::newRow("answer repeated") << ReadinessRow{withHeadScript(render("text"), twice), 8000, Ready, "true"};
        QTest::newRow("answers made up") << ReadinessRow{withHeadScript(render("text"), forged), 500, TimedOut, "true"};
        QTest::newRow("readiness broken") << ReadinessRow{withHeadScript(render("text"), "Object.defineProperty(window, 'tarnReadyDone', { get() { throw new Error('broken'); }, set() {} });"), 8000, CheckFailed, "true"};
        // clang-format on
    }

    void readinessIsReportedOnce()
    {
        QFETCH(ReadinessRow, row);
        const auto &[page, deadline, outcome, holds] = row;
        TarnWebView view;
        view.readiness().setDeadline(std::chrono::milliseconds(deadline));
        QSignalSpy reports(&view.readiness(), &PageReadiness::finished);
        // What holds in the page is read as soon as readiness is reported, before anything else.
        auto held = std::make_shared<QVariant>();
        connect(&view.readiness(), &PageReadiness::finished, this, [&view, holds, held] {
            view.page()->runJavaScript(holds, [held](const QVariant &value) { *held = value; });
        });
        view.loadPage(page, std::nullopt);
        QVERIFY(reports.wait(30000));
        QCOMPARE(reports.constFirst().constFirst().value<PageReadiness::Outcome>(), outcome);
        QTRY_VERIFY(held->isValid());
        QCOMPARE(held->toBool(), true);
        // Messages arrive in order: once a marker posted now is in, so is any second report.
        QSignalSpy messages(&view.messageChannel(), &TarnMessageChannel::messageReceived);
        view.evaluate("webkit.messageHandlers.tarn.postMessage({ type: 'marker' });");
        QTRY_VERIFY(!messages.isEmpty() &&
                    messages.constLast().constFirst().toMap().value("type") == "marker");
        QCOMPARE(reports.size(), 1);
    }

    // A reload while the previous page is still waited for gets only the new page's state, once.
    void reloadWhileThePreviousPageIsWaitedFor()
    {
        BridgeHarness bridge;
        bridge.initialScrollY = 700;
        QVERIFY(bridge.show(neverReady(longDocument()), 0));
        QSignalSpy ready(bridge.coordinator, &MarkdownWebViewCoordinator::pageReady);
        QTRY_VERIFY(!bridge.view->loader().isLoading()); // written, and being polled
        bridge.html = observed(longDocument(41));
        bridge.initialScrollY = 300;
        bridge.update();
        QVERIFY(ready.wait());
        // The old wait went with its load; had it acted on the new page, it would have by now.
        QVERIFY(bridge.sync());
        QCOMPARE(bridge.calls.filter("search:"), QStringList{"search:0/0"});
        QCOMPARE(bridge.eval("__scrollCalls").toList(), QVariantList{300});
        QCOMPARE(ready.size(), 1);
    }
};

TARN_WEB_TEST(ReaderBridgeTest);
#include "tst_reader_view.moc"
