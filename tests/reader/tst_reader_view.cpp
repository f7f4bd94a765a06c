// The reader bridge in a real web engine: loads only on change, restores search or position,
// steps and jumps once, and turns page messages into calls one main-loop turn later.
#include "ReaderViewTestSupport.h"

#include "MarkdownRenderer.h"
#include "WebEngineProcess.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

class ReaderBridgeTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_bridge = std::make_unique<BridgeHarness>(); }
    void cleanup() { m_bridge.reset(); }

    void scriptTexts_data();
    void scriptTexts();
    void intValue_data();
    void intValue();
    void reloadsOnlyWhenThePageChanges_data();
    void reloadsOnlyWhenThePageChanges();
    void restoresSearchOrPositionAfterLoad_data();
    void restoresSearchOrPositionAfterLoad();
    void pushesOnlyChangedQueries();
    void searchStepRunsOncePerRequest();
    void pageMessages_data();
    void pageMessages();
    void modelCallsWaitForTheNextTurn();
    void neverReadyPageIsServedAfterTheWait();

private:
    std::unique_ptr<BridgeHarness> m_bridge;
};

void ReaderBridgeTest::scriptTexts_data()
{
    QTest::addColumn<double>("y");
    QTest::addColumn<QString>("script");
    QTest::newRow("whole number keeps .0") << 1200.0 << "window.scrollTo(0, 1200.0);";
    QTest::newRow("fraction") << 812.5 << "window.scrollTo(0, 812.5);";
    QTest::newRow("shortest exact form") << 0.1 << "window.scrollTo(0, 0.1);";
    QTest::newRow("many digits") << 1234.5678901234 << "window.scrollTo(0, 1234.5678901234);";
}

void ReaderBridgeTest::scriptTexts()
{
    QFETCH(double, y);
    QFETCH(QString, script);
    QCOMPARE(MarkdownWebViewCoordinator::restorePositionScript(y), script);
}

void ReaderBridgeTest::intValue_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("expected"); // -999 for none
    QTest::newRow("int") << QVariant(7) << 7;
    QTest::newRow("double truncated") << QVariant(2.9) << 2;
    QTest::newRow("negative toward zero") << QVariant(-2.9) << -2;
    QTest::newRow("huge clamped") << QVariant(1e12) << std::numeric_limits<int>::max();
    QTest::newRow("not a number") << QVariant(std::nan("")) << -999;
    QTest::newRow("string") << QVariant(QStringLiteral("3")) << -999;
    QTest::newRow("bool") << QVariant(true) << -999;
    QTest::newRow("missing") << QVariant() << -999;
}

void ReaderBridgeTest::intValue()
{
    QFETCH(QVariant, value);
    QFETCH(int, expected);
    QCOMPARE(MarkdownWebViewCoordinator::intValue(value).value_or(-999), expected);
}

void ReaderBridgeTest::reloadsOnlyWhenThePageChanges_data()
{
    QTest::addColumn<int>("theme");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("loads");
    QTest::newRow("same page") << int(TarnTheme::businessBlue) << "Tarn" << 1;
    QTest::newRow("theme changed") << int(TarnTheme::dark) << "Tarn" << 2;
    QTest::newRow("title changed") << int(TarnTheme::businessBlue) << "Other" << 2;
}

void ReaderBridgeTest::reloadsOnlyWhenThePageChanges()
{
    QFETCH(int, theme);
    QFETCH(QString, title);
    QFETCH(int, loads);
    const QString markdown = QStringLiteral("# Hello\n\nSome alpha text.");
    m_bridge->html = ReaderViewPages::observed(markdown);
    QVERIFY(m_bridge->show());
    m_bridge->eval(QStringLiteral("window.__marker = 'first load'; true;"));

    m_bridge->html = ReaderViewPages::observed(markdown, TarnTheme(theme), title);
    m_bridge->update();
    m_bridge->update();
    QCOMPARE(m_bridge->view->loadCount(), loads);
    if (loads == 1) {
        QCOMPARE(m_bridge->eval(QStringLiteral("window.__marker")).toString(), "first load");
        return;
    }
    QVERIFY(m_bridge->waitForReady());
    QCOMPARE(m_bridge->eval(QStringLiteral("document.title")).toString(), title);
    QVERIFY(m_bridge->eval(QStringLiteral("window.__marker")).isNull());
    QCOMPARE(m_bridge->view->lastHTML(), m_bridge->html);
}

void ReaderBridgeTest::restoresSearchOrPositionAfterLoad_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<double>("remembered");
    QTest::addColumn<QVariantList>("scrollCalls");
    QTest::addColumn<bool>("hits");
    QTest::addColumn<double>("stillPending");

    QTest::newRow("query beats position") << "alpha" << 900.0 << QVariantList{} << true << 900.0;
    QTest::newRow("position restored") << "" << 900.0 << QVariantList{900} << false << 0.0;
    QTest::newRow("zero restores nothing") << "" << 0.0 << QVariantList{} << false << 0.0;
    QTest::newRow("spaces are no query") << "  \n" << 300.0 << QVariantList{300} << false << 0.0;
}

void ReaderBridgeTest::restoresSearchOrPositionAfterLoad()
{
    QFETCH(QString, query);
    QFETCH(double, remembered);
    QFETCH(QVariantList, scrollCalls);
    QFETCH(bool, hits);
    QFETCH(double, stillPending);
    m_bridge->html = ReaderViewPages::observed(ReaderViewPages::longDocument());
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
        QTRY_VERIFY(qAbs(m_bridge->eval(QStringLiteral("window.scrollY")).toDouble() - remembered) <
                    1);
}

void ReaderBridgeTest::pushesOnlyChangedQueries()
{
    m_bridge->html = ReaderViewPages::observed(QStringLiteral("alpha beta beta gamma"));
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

void ReaderBridgeTest::searchStepRunsOncePerRequest()
{
    m_bridge->html = ReaderViewPages::observed(QStringLiteral("a1 a2 a3 a4 a5"));
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
    const SearchNavigationRequest newer{QUuid::createUuid(), SearchNavigationDirection::previous};
    m_bridge->request = newer;
    QTest::qWait(0);
    QCOMPARE(m_bridge->request, std::optional(newer));
    m_bridge->update();
    QTRY_VERIFY(!m_bridge->request.has_value());
    QTRY_COMPARE(m_bridge->calls,
                 (QStringList{"search:1/5", "search:2/5", "search:1/5", "search:5/5"}));
}

void ReaderBridgeTest::pageMessages_data()
{
    QTest::addColumn<QString>("message"); // a JavaScript object literal
    QTest::addColumn<QStringList>("calls");

    QTest::newRow("scroll fraction") << "{type: 'scroll', y: 812.5}" << QStringList{"scroll:812.5"};
    QTest::newRow("scroll whole") << "{type: 'scroll', y: 812}" << QStringList{"scroll:812"};
    QTest::newRow("scroll text") << "{type: 'scroll', y: '812'}" << QStringList{};
    QTest::newRow("search") << "{type: 'search', current: 2, total: 7}"
                            << QStringList{"search:2/7"};
    QTest::newRow("search without total")
        << "{type: 'search', current: 3}" << QStringList{"search:3/0"};
    QTest::newRow("search fractions")
        << "{type: 'search', current: 2.7, total: 5.9}" << QStringList{"search:2/5"};
    QTest::newRow("search text numbers")
        << "{type: 'search', current: '2', total: '4'}" << QStringList{"search:0/0"};
    QTest::newRow("heading") << "{type: 'heading', id: 'intro'}" << QStringList{"heading:intro"};
    QTest::newRow("heading without text id") << "{type: 'heading', id: 4}" << QStringList{};
    QTest::newRow("link") << "{type: 'openLink', href: 'https://example.com/a?b=1'}"
                          << QStringList{"link:https://example.com/a?b=1"};
    QTest::newRow("unparsable link")
        << "{type: 'openLink', href: 'http://exa mple.com/'}" << QStringList{};
    QTest::newRow("link not text") << "{type: 'openLink', href: 42}" << QStringList{};
    QTest::newRow("no type") << "{id: 'intro'}" << QStringList{};
    QTest::newRow("type not text") << "{type: 1, y: 3}" << QStringList{};
    QTest::newRow("unknown type") << "{type: 'scrolled', y: 3}" << QStringList{};
    QTest::newRow("not an object") << "'heading'" << QStringList{};
}

void ReaderBridgeTest::pageMessages()
{
    QFETCH(QString, message);
    QFETCH(QStringList, calls);
    m_bridge->html = ReaderViewPages::observed(QStringLiteral("Text without headings."));
    QVERIFY(m_bridge->show());
    QTRY_COMPARE(m_bridge->calls, QStringList{"search:0/0"});
    m_bridge->calls.clear();

    m_bridge->post(message);
    // Messages arrive in order: once the marker is through, the message before it was handled.
    m_bridge->post(QStringLiteral("{type: 'heading', id: 'marker'}"));
    calls.append(QStringLiteral("heading:marker"));
    QTRY_COMPARE(m_bridge->calls, calls);
}

void ReaderBridgeTest::modelCallsWaitForTheNextTurn()
{
    m_bridge->html = ReaderViewPages::observed(QStringLiteral("Text."));
    QVERIFY(m_bridge->show());
    QTRY_COMPARE(m_bridge->calls.size(), 1);
    m_bridge->calls.clear();
    // Connected after the coordinator, so this runs right after it has seen each message.
    QStringList seenDuringDelivery;
    connect(&m_bridge->view->messageChannel(), &TarnMessageChannel::messageReceived, this,
            [&] { seenDuringDelivery.append(m_bridge->calls.join(u',')); });
    m_bridge->post(QStringLiteral("{type: 'scroll', y: 10}"));
    m_bridge->post(QStringLiteral("{type: 'heading', id: 'a'}"));
    QTRY_COMPARE(m_bridge->calls, (QStringList{"scroll:10", "heading:a"}));
    QCOMPARE(seenDuringDelivery.size(), 2);
    QVERIFY(!seenDuringDelivery.at(0).contains(QLatin1String("scroll")));
    QVERIFY(!seenDuringDelivery.at(1).contains(QLatin1String("heading")));
}

void ReaderBridgeTest::neverReadyPageIsServedAfterTheWait()
{
    m_bridge->html = ReaderViewPages::neverReady(ReaderViewPages::longDocument());
    m_bridge->initialScrollY = 700;
    QElapsedTimer clock;
    clock.start();
    QVERIFY(m_bridge->show(20000));
    // 81 readiness tests, 0.1 s apart (coarse timers may fire a little early).
    QVERIFY2(clock.elapsed() >= 7500, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(m_bridge->eval(QStringLiteral("window.tarnReadyDone")).toBool(), false);
    QTRY_COMPARE(m_bridge->calls.filter(QStringLiteral("search:")), QStringList{"search:0/0"});
    QCOMPARE(m_bridge->eval(QStringLiteral("window.__scrollCalls")).toList(), QVariantList{700});
}

int main(int argc, char *argv[])
{
    configureWebEngineForProcess();
    QApplication app(argc, argv);
    int status = 0;
    {
        ReaderBridgeTest bridge;
        status |= QTest::qExec(&bridge, argc, argv);
    }
    status |= runReaderWebViewTests(argc, argv);
    status |= runReaderPaneTests(argc, argv);
    return status;
}

#include "tst_reader_view.moc"
