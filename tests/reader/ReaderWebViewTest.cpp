// The reader web view on its own: it never leaves its page, keeps its zoom across reloads,
// offers only copy and select-all, and leaves drops to the window.
#include "ReaderViewTestSupport.h"

#include "TarnReaderPage.h"

#include <QApplication>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QMenu>
#include <QMimeData>
#include <QTest>
#include <QWheelEvent>

class ReaderWebViewTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_bridge = std::make_unique<BridgeHarness>();
        m_bridge->html = ReaderViewPages::observed(ReaderViewPages::longDocument(8));
        QVERIFY(m_bridge->show());
        m_bridge->eval(QStringLiteral("window.__marker = 'kept'; true;"));
    }
    void cleanup() { m_bridge.reset(); }

    void navigationStaysOnThePage_data();
    void navigationStaysOnThePage();
    void zoomKeysAndWheel_data();
    void zoomKeysAndWheel();
    void zoomSurvivesReload();
    void contextMenuCopiesAndSelectsAll();
    void dropsAreLeftToTheWindow();

private:
    QWidget *renderWidget() const { return m_bridge->view->focusProxy(); }

    std::unique_ptr<BridgeHarness> m_bridge;
};

void ReaderWebViewTest::navigationStaysOnThePage_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QString>("hash");

    QTest::newRow("web address") << "location.href = 'https://example.com/';" << true << "";
    QTest::newRow("local file") << "location.href = 'file:///etc/hostname';" << true << "";
    QTest::newRow("reload") << "location.reload();" << true << "";
    QTest::newRow("form") << "const f = document.createElement('form'); f.action = "
                             "'https://example.com/'; document.body.append(f); f.submit();"
                          << true << "";
    QTest::newRow("in-page anchor") << "location.hash = '#part-3';" << false << "#part-3";
}

void ReaderWebViewTest::navigationStaysOnThePage()
{
    QFETCH(QString, script);
    QFETCH(bool, refused);
    QFETCH(QString, hash);
    const int before = m_bridge->view->readerPage().refusedNavigationCount();
    m_bridge->eval(script + QStringLiteral(" true;"));
    if (refused)
        QTRY_VERIFY(m_bridge->view->readerPage().refusedNavigationCount() > before);
    else
        QTRY_COMPARE(m_bridge->eval(QStringLiteral("location.hash")).toString(), hash);
    QCOMPARE(m_bridge->eval(QStringLiteral("window.__marker")).toString(), "kept");
    QCOMPARE(m_bridge->view->readerPage().refusedNavigationCount() > before, refused);
}

void ReaderWebViewTest::zoomKeysAndWheel_data()
{
    QTest::addColumn<QString>("gestures"); // space-separated
    QTest::addColumn<double>("zoom");

    QTest::newRow("ctrl+plus") << "ctrl+plus" << 1.1;
    QTest::newRow("ctrl+equal") << "ctrl+equal" << 1.1;
    QTest::newRow("ctrl+minus twice") << "ctrl+minus ctrl+minus" << 0.8;
    QTest::newRow("ctrl+0 resets") << "ctrl+plus ctrl+plus ctrl+0" << 1.0;
    QTest::newRow("ctrl+wheel up") << "ctrl+wheelup" << 1.1;
    QTest::newRow("ctrl+wheel down") << "ctrl+wheeldown" << 0.9;
    QTest::newRow("plain wheel scrolls") << "wheeldown" << 1.0;
}

void ReaderWebViewTest::zoomKeysAndWheel()
{
    QFETCH(QString, gestures);
    QFETCH(double, zoom);
    TarnWebView *view = m_bridge->view.get();
    view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(view));
    QTRY_VERIFY(renderWidget());
    renderWidget()->setFocus();
    QTRY_VERIFY(renderWidget()->hasFocus());

    for (const QString &gesture : gestures.split(u' ')) {
        const bool ctrl = gesture.startsWith(QLatin1String("ctrl+"));
        const QString what = ctrl ? gesture.mid(5) : gesture;
        if (what.startsWith(QLatin1String("wheel"))) {
            const QPoint centre = renderWidget()->rect().center();
            QWheelEvent wheel(centre, renderWidget()->mapToGlobal(centre), QPoint(),
                              QPoint(0, what == QLatin1String("wheelup") ? 120 : -120),
                              Qt::NoButton, ctrl ? Qt::ControlModifier : Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(renderWidget(), &wheel);
            continue;
        }
        const Qt::Key key = what == QLatin1String("plus")    ? Qt::Key_Plus
                            : what == QLatin1String("equal") ? Qt::Key_Equal
                            : what == QLatin1String("minus") ? Qt::Key_Minus
                                                             : Qt::Key_0;
        QTest::keyClick(renderWidget(), key, Qt::ControlModifier);
    }
    QCOMPARE(view->readerZoomFactor(), zoom);
    QTRY_COMPARE(view->page()->zoomFactor(), zoom);
}

void ReaderWebViewTest::zoomSurvivesReload()
{
    TarnWebView *view = m_bridge->view.get();
    view->setReaderZoomFactor(1.5);
    QTRY_COMPARE(m_bridge->eval(QStringLiteral("window.devicePixelRatio")).toDouble(), 1.5);
    m_bridge->html = ReaderViewPages::observed(QStringLiteral("# Another page"));
    m_bridge->update();
    QVERIFY(m_bridge->waitForReady());
    QCOMPARE(m_bridge->view->loadCount(), 2);
    QCOMPARE(view->page()->zoomFactor(), 1.5);
    QCOMPARE(m_bridge->eval(QStringLiteral("window.devicePixelRatio")).toDouble(), 1.5);
}

void ReaderWebViewTest::contextMenuCopiesAndSelectsAll()
{
    TarnWebView *view = m_bridge->view.get();
    view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(view));
    QTRY_VERIFY(renderWidget());
    QApplication::clipboard()->clear();

    // A real right click: the engine asks the view for its menu.
    const QPoint onText = renderWidget()->rect().center();
    QTest::mouseClick(renderWidget(), Qt::RightButton, {}, onText);
    QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
    auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QList<QAction *> actions = menu->actions();
    QCOMPARE(actions.size(), 2);
    QCOMPARE(actions.at(0), view->page()->action(QWebEnginePage::Copy));
    QCOMPARE(actions.at(1), view->page()->action(QWebEnginePage::SelectAll));
    actions.at(1)->trigger();
    menu->close();
    QTRY_VERIFY(m_bridge->eval(QStringLiteral("String(window.getSelection())"))
                    .toString()
                    .contains(QLatin1String("Part 8")));

    QTest::mouseClick(renderWidget(), Qt::RightButton, {}, onText);
    QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
    menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QVERIFY(menu->actions().at(0)->isEnabled());
    menu->actions().at(0)->trigger();
    menu->close();
    QTRY_VERIFY(QApplication::clipboard()->text().contains(QLatin1String("Long document")));
}

void ReaderWebViewTest::dropsAreLeftToTheWindow()
{
    TarnWebView *view = m_bridge->view.get();
    QTRY_VERIFY(renderWidget());
    QVERIFY(!view->acceptDrops());
    for (QWidget *child : view->findChildren<QWidget *>())
        QVERIFY2(!child->acceptDrops(), child->metaObject()->className());

    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/dropped.md"))});
    for (QWidget *target : {static_cast<QWidget *>(view), renderWidget()}) {
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &files, Qt::LeftButton,
                              Qt::NoModifier);
        enter.setAccepted(false);
        QApplication::sendEvent(target, &enter);
        QVERIFY(!enter.isAccepted());
    }
}

int runReaderWebViewTests(int argc, char *argv[])
{
    ReaderWebViewTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ReaderWebViewTest.moc"
