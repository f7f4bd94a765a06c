// The menu bar: the commands that reach the model, the editor and the window; the launched
// program's hand-over, contact window and quitting.
#include "AppTestSupport.h"
#include "ContactWindow.h"
#include "EditorNotifications.h"
#include "EditorPane.h"
#include "PlainTextEditView.h"
#include "TarnApplication.h"
#include "TarnEditorTextView.h"
#include "WindowChrome.h"
#include "WorkspaceFolder.h"

#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

void AppTest::commandsReachTheModel()
{
    WindowFixture f;
    f.item(C::open)->trigger();
    QCOMPARE(f.platform.openPanels.size(), 1);
    f.open({"a.md", "b.md"});
    f.item(C::closeTab)->trigger();
    QCOMPARE(f.model->tabs().size(), 1);
    f.item(C::toggleOutline)->trigger();
    QVERIFY(!f.model->showOutline());

    // While reading the search field takes Find; the hidden editor must not grab the keys.
    QSignalSpy editorFind(EditorNotifications::instance(), &EditorNotifications::showEditorFind);
    QSignalSpy readerFind(&f.menu, &MainMenu::readerFindRequested);
    f.item(C::find)->trigger();
    QCOMPARE(editorFind.size(), 0);
    QCOMPARE(readerFind.size(), 1);
    f.item(C::toggleEditing)->trigger();
    f.item(C::find)->trigger();
    QCOMPARE(editorFind.size(), 1);
    QTRY_VERIFY(f.view.editorPane()->showFindPanel());

    f.item(C::revealUsageLog)->trigger();
    QCOMPARE(f.platform.revealedPaths, QStringList{f.logger->logFilePath()});
}

void AppTest::editCommandsReachTheEditor()
{
    WindowFixture f;
    f.open({"a.md"});
    f.model->toggleEditing();
    TarnEditorTextView *text = f.view.editorPane()->textView();
    QTRY_VERIFY(text->hasFocus());
    const QString original = text->toPlainText();
    text->moveCursor(QTextCursor::End);
    QTest::keyClicks(text, "more");
    f.item(C::undo)->trigger();
    QCOMPARE(f.model->selectedDocument()->draft(), original);
    f.item(C::redo)->trigger();
    QCOMPARE(text->toPlainText(), original + "more");
    f.item(C::selectAll)->trigger();
    f.item(C::deleteSelection)->trigger();
    QCOMPARE(text->toPlainText(), QString());
    f.item(C::undo)->trigger();
    QCOMPARE(text->toPlainText(), original + "more");

    // The undo item names a replace-all it would revert, and nothing else.
    f.openMenu("editMenu");
    QCOMPARE(f.item(C::undo)->text(), QStringLiteral("撤销"));
    PlainTextEditView *view = f.view.editorPane()->textViewAdapter();
    view->replaceUndoably({0, 1}, "X", {1, 0});
    view->setUndoActionName("全部替换");
    f.openMenu("editMenu");
    QCOMPARE(f.item(C::undo)->text(), QStringLiteral("撤销全部替换"));
    f.item(C::undo)->trigger();
    f.openMenu("editMenu");
    QCOMPARE(f.item(C::undo)->text(), QStringLiteral("撤销"));
}

// The launched program: files that cannot open are named in an alert; files handed over while a
// dialog is open wait until it closes; the
// contact window, from the menu, follows the theme; Ctrl+Q and Ctrl+Shift+W with an unsaved tab ask
// first, and cancelling keeps the window, the tab and its draft.
void AppTest::launchedProgram()
{
    AppHarness app;
    TarnApplication tarn(*app.settings, app.platform, app.pdf, *app.logger);
    // Files that cannot open, given at start or by another launch, are named in the window.
    tarn.launch(
        {app.file("a.md").toLocalFile(), app.path("gone.md"), app.file("photo.png").toLocalFile()});
    MainWindow *window = tarn.mainWindow();
    auto dismissAlert = [&](const QString &message) {
        QMessageBox *alert = window->contentView()->alertBox();
        QTRY_VERIFY(alert && alert->isVisible());
        QCOMPARE(alert->text(), QStringLiteral("打开失败"));
        QCOMPARE(alert->informativeText(), message);
        alert->buttons().first()->click();
    };
    dismissAlert("文件“gone.md”不存在。\nTarn 只能打开 Markdown 和纯文本文件：\nphoto.png");
    QCOMPARE(tarn.model().tabs().size(), 1);
    QVERIFY(QDir(app.dir.path()).mkdir("notes"));
    // A folder from another launch opens in the sidebar.
    tarn.openFromAnotherLaunch({app.path("notes")});
    QCOMPARE(tarn.model().workspaceFolder().path(), app.path("notes"));

    QMessageBox box(QMessageBox::Information, "Tarn", "dialog", QMessageBox::Ok, window);
    box.open();
    tarn.openFromAnotherLaunch({app.file("b.md").toLocalFile()});
    QCOMPARE(tarn.model().tabs().size(), 1);
    box.accept();
    QTRY_COMPARE(tarn.model().tabs().size(), 2);
    // Another launch brings the window back, even with nothing to open.
    window->showMinimized();
    tarn.openFromAnotherLaunch({});
    QVERIFY(!window->isMinimized());

    menuItem(window->menuBar(), C::contact)->trigger();
    QVERIFY(tarn.contactWindow());
    tarn.model().setTheme(TarnTheme::dark);
    const QPalette dark = WindowChrome::palette(TarnTheme::dark);
    QCOMPARE(tarn.contactWindow()->palette().color(QPalette::Window), dark.color(QPalette::Window));
    // A link for each shipped entry, in the theme's accent.
    const auto links = tarn.contactWindow()->findChildren<QPushButton *>("contactLink");
    QString error;
    QCOMPARE(links.size(), ContactWindow::shippedDetails(&error).value().entries.size());
    for (const QPushButton *link : links)
        QVERIFY(link->styleSheet().contains(dark.color(QPalette::Highlight).name()));
    tarn.contactWindow()->close();

    QSignalSpy accepted(window, &MainWindow::closeAccepted);
    window->activateWindow();
    QTRY_VERIFY(QApplication::activeWindow() == window);
    makeSelectedDirty(tarn.model(), "unsaved\n");
    app.platform.alertAnswers = {2, 2}; // cancel
    QTest::keyClick(window, Qt::Key_Q, Qt::ControlModifier);
    QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(app.platform.alerts.size(), 2);
    QCOMPARE(accepted.size(), 0);
    QVERIFY(window->isVisible());
    QCOMPARE(tarn.model().tabs().size(), 2);
    QCOMPARE(tarn.model().selectedDocument()->draft(), QStringLiteral("unsaved\n"));
    app.platform.alertAnswers = {1}; // discard
    QTest::keyClick(window, Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(accepted.size(), 1);
}

// The whole window fits small screens, menu bar and title bar included; on a large one it
// takes its usual size and minimum again.
void AppTest::windowFitsTheScreen()
{
    WindowFixture f;
    f.window.hide(); // not framed: room is kept for a title bar
    for (const QRect area : {QRect(0, 0, 1366, 768 - 32), QRect(0, 0, 1280, 720 - 40)}) {
        f.window.placeIn(area);
        const int room = area.height() - MainWindow::titleBarAllowance;
        QVERIFY(f.window.height() <= room && f.window.width() <= area.width());
        QVERIFY(f.window.minimumSizeHint().height() <= room);
    }
    f.window.placeIn(QRect(0, 0, 1920, 1050));
    const int menuBar = f.window.menuBar()->sizeHint().height();
    QCOMPARE(f.window.size(), ContentView::initialContentSize.grownBy({0, menuBar, 0, 0}));
    QCOMPARE(f.view.minimumSize(), ContentView::minimumContentSize);
}
