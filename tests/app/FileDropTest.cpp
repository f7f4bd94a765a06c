// Files dropped anywhere on the window, the reader's web view included, reach the model once.
#include "AppTestSupport.h"
#include "ContentView.h"
#include "FileSidebar.h"
#include "MainWindow.h"
#include "ReaderPane.h"
#include "TarnWebView.h"
#include "TitleTabBar.h"
#include "TopToolbar.h"
#include "WindowFileDrop.h"

#include <QMimeData>
#include <QTest>

class FileDropTest : public QObject
{
    Q_OBJECT

private slots:
    void drop_data();
    void drop();
    void fileURLs_data();
    void fileURLs();
};

void FileDropTest::drop_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("withFiles");

    for (const char *target : {"reader view", "sidebar", "tab bar", "toolbar"})
        QTest::newRow(target) << QString::fromLatin1(target) << true;
    QTest::newRow("reader view, no files") << QStringLiteral("reader view") << false;
}

void FileDropTest::drop()
{
    QFETCH(QString, target);
    QFETCH(bool, withFiles);
    AppHarness app;
    MainWindow window(*app.model);
    window.placeInitially();
    window.show();
    ContentView &view = *window.contentView();
    // An unsaved edit in the selected tab: every openURLs call asks about it exactly once.
    app.open({QStringLiteral("current.md")});
    makeSelectedDirty(*app.model);
    app.platform.alertAnswers = {1, 1, 1}; // discard the edit

    QWidget *widget = nullptr;
    if (target == QLatin1String("reader view")) {
        QTRY_VERIFY(view.readerPane()->currentView());
        TarnWebView *webView = view.readerPane()->currentView();
        widget = webView->focusProxy() ? webView->focusProxy() : webView;
    } else if (target == QLatin1String("sidebar")) {
        widget = view.sidebar();
    } else if (target == QLatin1String("tab bar")) {
        widget = view.tabBar();
    } else {
        widget = view.toolbar();
    }

    QList<QUrl> urls{QUrl(QStringLiteral("https://example.org/remote.md"))};
    if (withFiles) {
        urls = {app.file(QStringLiteral("one.md")), app.file(QStringLiteral("two.markdown")),
                QUrl(QStringLiteral("https://example.org/remote.md")),
                app.file(QStringLiteral("picture.png"), QStringLiteral("png")),
                app.file(QStringLiteral("three.txt"))};
    }
    QMimeData data;
    data.setUrls(urls);
    const QPointF at(5, 5);
    QDragEnterEvent enter(at.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent dropEvent(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &dropEvent);
    QVERIFY(dropEvent.isAccepted());

    if (!withFiles) {
        QTest::qWait(50); // nothing is queued; give a wrongly queued call the chance to show
        QCOMPARE(app.platform.alerts.size(), 0);
        QCOMPARE(app.model->tabs().size(), 1);
        return;
    }
    QTRY_COMPARE(app.model->tabs().size(), 4);
    QCOMPARE(app.platform.alerts.size(), 1);
    QStringList titles;
    for (TarnDocument *document : app.model->tabs())
        titles << document->fileName();
    QCOMPARE(titles, (QStringList{QStringLiteral("current.md"), QStringLiteral("one.md"),
                                  QStringLiteral("two.markdown"), QStringLiteral("three.txt")}));
}

void FileDropTest::fileURLs_data()
{
    QTest::addColumn<QList<QUrl>>("urls");
    QTest::addColumn<QList<QUrl>>("expected");

    const QUrl a = QUrl::fromLocalFile(QStringLiteral("/tmp/a.md"));
    const QUrl b = QUrl::fromLocalFile(QStringLiteral("/tmp/空 格.md"));
    QTest::newRow("files in order") << QList<QUrl>{b, a} << QList<QUrl>{b, a};
    QTest::newRow("web and mail links skipped")
        << QList<QUrl>{QUrl(QStringLiteral("https://example.org/x.md")), a,
                       QUrl(QStringLiteral("mailto:someone@example.org"))}
        << QList<QUrl>{a};
    QTest::newRow("nothing") << QList<QUrl>{} << QList<QUrl>{};
}

void FileDropTest::fileURLs()
{
    QFETCH(QList<QUrl>, urls);
    QMimeData data;
    data.setUrls(urls);
    QTEST(WindowFileDrop::fileURLs(&data), "expected");
    QVERIFY(WindowFileDrop::fileURLs(nullptr).isEmpty());
}

int runFileDropTests(int argc, char **argv)
{
    FileDropTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FileDropTest.moc"
