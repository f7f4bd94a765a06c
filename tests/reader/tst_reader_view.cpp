// The reader bridge in a real web engine: loads only on change, restores search or position,
// steps and jumps once, and turns page messages into calls one main-loop turn later.
#include "ReaderTestSupport.h"

#include "TarnReaderPage.h"

#include <QApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <cmath>
#include <csignal>
#include <limits>

class ReaderBridgeTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_bridge = std::make_unique<BridgeHarness>(); }
    void cleanup() { m_bridge.reset(); }

    void reloadsOnlyWhenThePageChanges()
    {
        const QString markdown = QStringLiteral("# Hello\n\nSome alpha text.");
        m_bridge->html = ReaderTestPages::observed(markdown);
        QVERIFY(m_bridge->show());
        m_bridge->eval(QStringLiteral("window.__marker = 'first load'; true;"));
        m_bridge->update();
        QCOMPARE(m_bridge->view->loadCount(), 1);
        QCOMPARE(m_bridge->eval(QStringLiteral("window.__marker")).toString(), "first load");

        m_bridge->html = ReaderTestPages::observed(markdown, TarnTheme::dark, "Other");
        m_bridge->update();
        m_bridge->update();
        QCOMPARE(m_bridge->view->loadCount(), 2);
        QVERIFY(m_bridge->waitForReady());
        QCOMPARE(m_bridge->eval(QStringLiteral("document.title")).toString(), "Other");
        QVERIFY(m_bridge->eval(QStringLiteral("window.__marker")).isNull());
    }

    void restoresSearchOrPositionAfterLoad_data()
    {
        // clang-format off
        QTest::addColumn<QString>("query");
        QTest::addColumn<double>("remembered");
        QTest::addColumn<QVariantList>("scrollCalls");
        QTest::addColumn<bool>("hits");
        QTest::addColumn<double>("stillPending");

        QTest::newRow("query beats position") << "alpha" << 900.0 << QVariantList{} << true << 900.0;
        QTest::newRow("position restored") << "" << 900.0 << QVariantList{900} << false << 0.0;
        QTest::newRow("spaces are no query") << "  \n" << 300.0 << QVariantList{300} << false << 0.0;
        // clang-format on
    }

    void restoresSearchOrPositionAfterLoad()
    {
        QFETCH(QString, query);
        QFETCH(double, remembered);
        QFETCH(QVariantList, scrollCalls);
        QFETCH(bool, hits);
        QFETCH(double, stillPending);
        m_bridge->html = ReaderTestPages::observed(ReaderTestPages::longDocument());
        m_bridge->searchQuery = query;
        m_bridge->initialScrollY = remembered;
        QVERIFY(m_bridge->show());

        // The search is applied in every case, so its report marks the end of the restore.
        QTRY_VERIFY(m_bridge->calls.filter(QStringLiteral("search:")).size() == 1);
        const QString report = m_bridge->calls.filter(QStringLiteral("search:")).constFirst();
        QCOMPARE(report == QLatin1String("search:0/0"), !hits);
        QCOMPARE(m_bridge->eval(QStringLiteral("window.__scrollCalls")).toList(), scrollCalls);
        QCOMPARE(m_bridge->view->pendingInitialScrollY(), stillPending);
        QCOMPARE(m_bridge->view->lastSearchQuery(), query);
        if (hits) // scrolled to the first hit, which is near the top, not to 900
            QTRY_VERIFY(m_bridge->eval(QStringLiteral("window.scrollY")).toDouble() < 600);
        else if (remembered > 0)
            QTRY_VERIFY(
                qAbs(m_bridge->eval(QStringLiteral("window.scrollY")).toDouble() - remembered) < 1);
    }

    void pushesOnlyChangedQueries()
    {
        m_bridge->html = ReaderTestPages::observed(QStringLiteral("alpha beta beta gamma"));
        QVERIFY(m_bridge->show());
        QTRY_COMPARE(m_bridge->calls, QStringList{"search:0/0"});

        m_bridge->searchQuery = QStringLiteral("beta");
        m_bridge->update();
        m_bridge->update();
        m_bridge->searchQuery = QStringLiteral("gamma");
        m_bridge->update();
        // Reports arrive in order, so a repeated "beta" would show before "gamma".
        QTRY_COMPARE(m_bridge->calls, (QStringList{"search:0/0", "search:1/2", "search:1/1"}));
        QCOMPARE(m_bridge->view->lastSearchQuery(), "gamma");
    }

    void searchStepRunsOncePerRequest()
    {
        m_bridge->html = ReaderTestPages::observed(QStringLiteral("a1 a2 a3 a4 a5"));
        m_bridge->searchQuery = QStringLiteral("a");
        QVERIFY(m_bridge->show());
        QTRY_COMPARE(m_bridge->calls, QStringList{"search:1/5"});

        const SearchNavigationRequest request{QUuid::createUuid(), SearchNavigationDirection::next};
        m_bridge->request = request;
        for (int refresh = 0; refresh < 3; ++refresh)
            m_bridge->update();
        QCOMPARE(m_bridge->view->lastSearchNavigationRequestID(), request.id);
        QTRY_VERIFY(!m_bridge->request.has_value());
        QTRY_COMPARE(m_bridge->calls, (QStringList{"search:1/5", "search:2/5"}));

        // A second press before the first request was cleared is kept and carried out.
        m_bridge->request =
            SearchNavigationRequest{QUuid::createUuid(), SearchNavigationDirection::previous};
        m_bridge->update();
        const SearchNavigationRequest newer{QUuid::createUuid(),
                                            SearchNavigationDirection::previous};
        m_bridge->request = newer;
        QTest::qWait(0);
        QCOMPARE(m_bridge->request, std::optional(newer));
        m_bridge->update();
        QTRY_VERIFY(!m_bridge->request.has_value());
        QTRY_COMPARE(m_bridge->calls,
                     (QStringList{"search:1/5", "search:2/5", "search:1/5", "search:5/5"}));
    }

    void pageMessages_data()
    {
        // clang-format off
        QTest::addColumn<QString>("message"); // a JavaScript object literal
        QTest::addColumn<QStringList>("calls");

        QTest::newRow("scroll fraction") << "{type: 'scroll', y: 812.5}" << QStringList{"scroll:812.5"};
        QTest::newRow("scroll whole") << "{type: 'scroll', y: 812}" << QStringList{"scroll:812"};
        QTest::newRow("search") << "{type: 'search', current: 2, total: 7}" << QStringList{"search:2/7"};
        QTest::newRow("search without total") << "{type: 'search', current: 3}" << QStringList{"search:3/0"};
        QTest::newRow("search text numbers") << "{type: 'search', current: '2', total: '4'}" << QStringList{"search:0/0"};
        QTest::newRow("heading") << "{type: 'heading', id: 'intro'}" << QStringList{"heading:intro"};
        QTest::newRow("link") << "{type: 'openLink', href: 'https://example.com/a?b=1'}" << QStringList{"link:https://example.com/a?b=1"};
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
        m_bridge->html = ReaderTestPages::observed(QStringLiteral("Text without headings."));
        QVERIFY(m_bridge->show());
        QTRY_COMPARE(m_bridge->calls, QStringList{"search:0/0"});
        m_bridge->calls.clear();

        m_bridge->post(message);
        // Messages arrive in order: once the marker is through, the message before it was handled.
        m_bridge->post(QStringLiteral("{type: 'heading', id: 'marker'}"));
        calls.append(QStringLiteral("heading:marker"));
        QTRY_COMPARE(m_bridge->calls, calls);
    }

    void neverReadyPageIsServedAfterTheWait()
    {
        m_bridge->html = ReaderTestPages::neverReady(ReaderTestPages::longDocument());
        m_bridge->initialScrollY = 700;
        QVERIFY(m_bridge->show(20000));
        QCOMPARE(m_bridge->eval(QStringLiteral("window.tarnReadyDone")).toBool(), false);
        QTRY_COMPARE(m_bridge->calls.filter(QStringLiteral("search:")), QStringList{"search:0/0"});
        QCOMPARE(m_bridge->eval(QStringLiteral("window.__scrollCalls")).toList(),
                 QVariantList{700});
    }

    void reloadWhilePollingServesOnlyTheNewPage()
    {
        m_bridge->html = ReaderTestPages::neverReady(ReaderTestPages::longDocument());
        m_bridge->initialScrollY = 700;
        QVERIFY(m_bridge->show(0));
        QSignalSpy ready(m_bridge->coordinator, &MarkdownWebViewCoordinator::pageReady);
        // The old page is written and being polled when the new one arrives.
        QTRY_COMPARE(m_bridge->view->loadCount(), 1);
        QTRY_VERIFY(!m_bridge->view->loader().isLoading());
        m_bridge->html = ReaderTestPages::observed(ReaderTestPages::longDocument(41));
        m_bridge->initialScrollY = 300;
        m_bridge->update();
        QVERIFY(ready.wait());
        // The old wait polls every 0.1 s; had it acted on the new page, it would have by now.
        m_bridge->post(QStringLiteral("{type: 'heading', id: 'marker'}"));
        QTRY_VERIFY(m_bridge->calls.contains("heading:marker"));
        QCOMPARE(m_bridge->calls.filter("search:"), QStringList{"search:0/0"});
        QCOMPARE(m_bridge->eval("window.__scrollCalls").toList(), QVariantList{300});
        QCOMPARE(ready.size(), 1);
    }

    // A renderer process that dies is followed by a reload of the same page, where it was read.
    void killedRendererReloads()
    {
        m_bridge->html = ReaderTestPages::observed(ReaderTestPages::longDocument());
        QVERIFY(m_bridge->show());
        QSignalSpy ready(m_bridge->coordinator, &MarkdownWebViewCoordinator::pageReady);
        m_bridge->post("{type: 'scroll', y: 900}");
        QTRY_VERIFY(m_bridge->calls.contains("scroll:900"));
        const qint64 pid = m_bridge->view->page()->renderProcessPid();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid_t(pid), SIGKILL), 0);
        QVERIFY(ready.wait());
        QCOMPARE(m_bridge->view->loadCount(), 2);
        QCOMPARE(m_bridge->eval("document.querySelector('h1').textContent").toString(),
                 QStringLiteral("Long document"));
        QCOMPARE(m_bridge->eval("window.__scrollCalls").toList(), QVariantList{900});
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
        m_bridge->html = ReaderTestPages::observed(ReaderTestPages::longDocument(8));
        QVERIFY(m_bridge->show());
        m_bridge->eval("window.__marker = 'kept'; true;");
        TarnReaderPage &page = m_bridge->view->readerPage();
        const int before = page.refusedNavigationCount();
        QSignalSpy ended(&page, &QWebEnginePage::loadFinished);
        QSignalSpy moved(&page, &QWebEnginePage::urlChanged);
        m_bridge->eval(script + " true;");
        if (refused) // a navigation let through would have changed the URL before it ended
            QTRY_VERIFY(ended.size() == 1 && moved.isEmpty());
        else
            QTRY_COMPARE(m_bridge->eval("location.hash").toString(), QStringLiteral("#part-3"));
        QCOMPARE(m_bridge->eval("window.__marker").toString(), QStringLiteral("kept"));
        QCOMPARE(page.refusedNavigationCount() > before, refused);
    }

    void zoomKeysAndWheelSurviveReload()
    {
        TarnWebView *view = showActive();
        QVERIFY(view);
        QWidget *render = view->focusProxy();
        render->setFocus();
        QTRY_VERIFY(render->hasFocus());
        QTest::keyClick(render, Qt::Key_Plus, Qt::ControlModifier);
        QTest::keyClick(render, Qt::Key_Plus, Qt::ControlModifier);
        const QPoint centre = render->rect().center();
        QWheelEvent wheel(centre, render->mapToGlobal(centre), QPoint(), QPoint(0, -120),
                          Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(render, &wheel);
        QCOMPARE(view->readerZoomFactor(), 1.1);
        QTRY_VERIFY(qAbs(m_bridge->eval("window.devicePixelRatio").toDouble() - 1.1) < 1e-3);

        m_bridge->html = ReaderTestPages::observed("# Another page");
        m_bridge->update();
        QVERIFY(m_bridge->waitForReady());
        QCOMPARE(view->page()->zoomFactor(), 1.1);
        QTest::keyClick(view->focusProxy(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(view->readerZoomFactor(), 1.0);
    }

    void contextMenuOffersCopyAndSelectAll()
    {
        TarnWebView *view = showActive();
        QVERIFY(view);
        // A real right click: the engine asks the view for its menu.
        QTest::mouseClick(view->focusProxy(), Qt::RightButton, {},
                          view->focusProxy()->rect().center());
        QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QCOMPARE(menu->actions(),
                 (QList<QAction *>{view->page()->action(QWebEnginePage::Copy),
                                   view->page()->action(QWebEnginePage::SelectAll)}));
        menu->actions().at(1)->trigger();
        menu->close();
        QTRY_VERIFY(m_bridge->eval("String(window.getSelection())").toString().contains("Part 8"));
    }

private:
    // A page of eight parts in an active window, its render widget created.
    TarnWebView *showActive()
    {
        m_bridge->html = ReaderTestPages::observed(ReaderTestPages::longDocument(8));
        if (!m_bridge->show())
            return nullptr;
        TarnWebView *view = m_bridge->view.get();
        view->activateWindow();
        const bool ready = QTest::qWaitForWindowActive(view) &&
                           QTest::qWaitFor([view] { return view->focusProxy() != nullptr; });
        return ready ? view : nullptr;
    }

    std::unique_ptr<BridgeHarness> m_bridge;
};

int runReaderPaneTests(int argc, char *argv[]);

int main(int argc, char *argv[])
{
    configureWebEngineForProcess();
    QApplication app(argc, argv);
    int status = 0;
    {
        ReaderBridgeTest bridge;
        status |= QTest::qExec(&bridge, argc, argv);
    }
    status |= runReaderPaneTests(argc, argv);
    return status;
}

#include "tst_reader_view.moc"
