// The reader bridge and view in a real web engine: page messages turned into calls, navigation
// refused, zoom and context menu, reloads only on change or after a dead renderer, search or
// position restored after a load, search pushed and stepped once, pages that never get ready.
#include "ReaderTestSupport.h"

#include "TarnReaderPage.h"

#include <QApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QWheelEvent>

#include <csignal>

using namespace ReaderTestPages;

// query, remembered position, scrollTo calls, the query has hits, position still to restore
using RestoreRow = std::tuple<QString, double, QVariantList, bool, double>;

class ReaderBridgeTest : public QObject
{
    Q_OBJECT

    BridgeHarness m_page; // in an active window, for the checks that need no state of their own

private slots:
    void initTestCase()
    {
        m_page.html = observed(QStringLiteral("Text without headings."));
        QVERIFY(m_page.show());
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
        QFETCH(QStringList, calls);
        m_page.calls.clear();
        m_page.post(message);
        QVERIFY(m_page.sync());
        QCOMPARE(m_page.calls, calls);
    }

    void navigationStaysOnThePage_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<bool>("refused");
        // clang-format off
        QTest::newRow("local file") << "location.href = 'file:///etc/hostname';" << true;
        QTest::newRow("form") << "const f = document.createElement('form'); f.action = 'https://example.com/'; document.body.append(f); f.submit();" << true;
        QTest::newRow("in-page anchor") << "location.hash = '#part-3';" << false;
        // clang-format on
    }

    void navigationStaysOnThePage()
    {
        QFETCH(QString, script);
        QFETCH(bool, refused);
        m_page.eval("window.__marker = 'kept'");
        TarnReaderPage &page = m_page.view->readerPage();
        const int before = page.refusedNavigationCount();
        QSignalSpy ended(&page, &QWebEnginePage::loadFinished);
        QSignalSpy moved(&page, &QWebEnginePage::urlChanged);
        m_page.eval("{ " + script + " } true;");
        if (refused) // a navigation let through would have changed the URL before it ended
            QTRY_VERIFY(ended.size() == 1 && moved.isEmpty());
        else
            QTRY_COMPARE(m_page.eval("location.hash").toString(), QStringLiteral("#part-3"));
        QCOMPARE(m_page.eval("window.__marker").toString(), QStringLiteral("kept"));
        QCOMPARE(page.refusedNavigationCount() > before, refused);
    }

    void contextMenuOffersCopyAndSelectAll()
    {
        // A real right click: the engine asks the view for its menu.
        QWidget *render = m_page.view->focusProxy();
        QTest::mouseClick(render, Qt::RightButton, {}, render->rect().center());
        QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QWebEnginePage *page = m_page.view->page();
        QCOMPARE(menu->actions(), (QList<QAction *>{page->action(QWebEnginePage::Copy),
                                                    page->action(QWebEnginePage::SelectAll)}));
        menu->actions().at(1)->trigger();
        menu->close();
        QTRY_VERIFY(m_page.eval("String(window.getSelection())").toString().contains("headings"));
    }

    // The zoom keys and wheel set the zoom, which a new page keeps; the page is loaded once
    // for any number of refreshes.
    void zoomSurvivesReload()
    {
        TarnWebView *view = m_page.view.get();
        QWidget *render = view->focusProxy(); // the engine's widget, which has the focus
        render->setFocus();
        QTRY_VERIFY(render->hasFocus());
        QTest::keyClick(render, Qt::Key_Plus, Qt::ControlModifier);
        QTest::keyClick(render, Qt::Key_Plus, Qt::ControlModifier);
        const QPoint centre = render->rect().center();
        QWheelEvent wheel(centre, render->mapToGlobal(centre), QPoint(), QPoint(0, -120),
                          Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(render, &wheel);
        QCOMPARE(view->readerZoomFactor(), 1.1);
        QTRY_VERIFY(qAbs(m_page.eval("window.devicePixelRatio").toDouble() - 1.1) < 1e-3);

        const int loads = view->loadCount();
        m_page.html = observed("# Another page");
        m_page.update();
        m_page.update();
        QVERIFY(m_page.waitForReady());
        QCOMPARE(view->loadCount(), loads + 1);
        QCOMPARE(m_page.eval("document.querySelector('h1').textContent").toString(),
                 QStringLiteral("Another page"));
        QCOMPARE(view->page()->zoomFactor(), 1.1);
        QTest::keyClick(view->focusProxy(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(view->readerZoomFactor(), 1.0);
    }

    // A renderer process that dies is followed by a reload of the same page, where it was read.
    void killedRendererReloads()
    {
        const QString text = QStringLiteral("document.querySelector('main').textContent");
        const QString shown = m_page.eval(text).toString();
        const int loads = m_page.view->loadCount();
        QSignalSpy ready(m_page.coordinator, &MarkdownWebViewCoordinator::pageReady);
        m_page.post("{type: 'scroll', y: 900}");
        QTRY_VERIFY(m_page.calls.contains("scroll:900"));
        const qint64 pid = m_page.view->page()->renderProcessPid();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid_t(pid), SIGKILL), 0);
        QVERIFY(ready.wait());
        QCOMPARE(m_page.view->loadCount(), loads + 1);
        QCOMPARE(m_page.eval(text).toString(), shown);
        QCOMPARE(m_page.eval("window.__scrollCalls").toList(), QVariantList{900});
    }

    void restoresSearchOrPositionAfterLoad_data()
    {
        QTest::addColumn<RestoreRow>("row");
        // clang-format off
        QTest::newRow("query beats position") << RestoreRow{"alpha", 900, {}, true, 900};
        QTest::newRow("position restored") << RestoreRow{"", 900, {900}, false, 0};
        QTest::newRow("spaces are no query") << RestoreRow{"  \n", 300, {300}, false, 0};
        // clang-format on
    }

    void restoresSearchOrPositionAfterLoad()
    {
        QFETCH(RestoreRow, row);
        const auto &[query, remembered, scrollCalls, hits, stillPending] = row;
        BridgeHarness bridge;
        bridge.html = observed(longDocument());
        bridge.searchQuery = query;
        bridge.initialScrollY = remembered;
        QVERIFY(bridge.show());
        // The search is applied in every case, so its report marks the end of the restore.
        QTRY_COMPARE(bridge.calls.filter("search:").size(), 1);
        QCOMPARE(bridge.calls.filter("search:").constFirst() == "search:0/0", !hits);
        QCOMPARE(bridge.eval("window.__scrollCalls").toList(), scrollCalls);
        QCOMPARE(bridge.view->pendingInitialScrollY(), stillPending);
        QCOMPARE(bridge.view->lastSearchQuery(), query);
        // At the first hit, near the top, or at the remembered position.
        const double expected = hits ? 0 : remembered;
        QTRY_VERIFY(qAbs(bridge.eval("window.scrollY").toDouble() - expected) < (hits ? 600 : 1));
    }

    // Only changed queries reach the page, and each step request is carried out once, wrapping
    // around at both ends. Reports arrive in order, so a repeated push or step would show.
    void searchIsPushedAndSteppedOnce()
    {
        BridgeHarness bridge;
        bridge.html = observed(QStringLiteral("x1 x2 x3 y y"));
        QVERIFY(bridge.show());
        bridge.searchQuery = QStringLiteral("y");
        bridge.update();
        bridge.update();
        bridge.searchQuery = QStringLiteral("x");
        bridge.update();
        auto step = [&bridge](SearchNavigationDirection direction) {
            bridge.request = SearchNavigationRequest{QUuid::createUuid(), direction};
            bridge.update();
        };
        step(SearchNavigationDirection::next);
        const QUuid first = bridge.request->id;
        bridge.update();
        bridge.update();
        QCOMPARE(bridge.view->lastSearchNavigationRequestID(), first);
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
        QCOMPARE(bridge.eval("document.querySelectorAll('.tarn-search-current').length").toInt(),
                 1);
        bridge.searchQuery = QStringLiteral("z");
        bridge.update();
        step(SearchNavigationDirection::next);
        QTRY_COMPARE(bridge.calls, (QStringList{"search:0/0", "search:1/2", "search:1/3",
                                                "search:2/3", "search:1/3", "search:3/3",
                                                "search:1/3", "search:0/0", "search:0/0"}));
        QCOMPARE(bridge.view->loadCount(), 1);
    }

    // A reload arriving while the previous page is still being polled gets only the new page's
    // state, once; a page that never reports ready is served after the wait.
    void pagesThatNeverGetReady()
    {
        BridgeHarness bridge;
        bridge.html = neverReady(longDocument());
        bridge.initialScrollY = 700;
        QVERIFY(bridge.show(0));
        QSignalSpy ready(bridge.coordinator, &MarkdownWebViewCoordinator::pageReady);
        QTRY_VERIFY(!bridge.view->loader().isLoading()); // written, and being polled
        bridge.html = observed(longDocument(41));
        bridge.initialScrollY = 300;
        bridge.update();
        QVERIFY(ready.wait());
        // The old wait polls every 0.1 s; had it acted on the new page, it would have by now.
        QVERIFY(bridge.sync());
        QCOMPARE(bridge.calls.filter("search:"), QStringList{"search:0/0"});
        QCOMPARE(bridge.eval("window.__scrollCalls").toList(), QVariantList{300});
        QCOMPARE(ready.size(), 1);

        bridge.html = neverReady(longDocument(42));
        bridge.initialScrollY = 700;
        bridge.update();
        QVERIFY(ready.wait(20000));
        QCOMPARE(bridge.eval("window.tarnReadyDone").toBool(), false);
        QTRY_COMPARE(bridge.calls.filter("search:"), (QStringList{"search:0/0", "search:0/0"}));
        QCOMPARE(bridge.eval("window.__scrollCalls").toList(), QVariantList{700});
    }
};

TARN_WEB_TEST(ReaderBridgeTest);
#include "tst_reader_view.moc"
