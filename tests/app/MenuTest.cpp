// The menu bar: localising what the desktop adds, rebuilding, and the commands that reach the
// model, the editor and the window, quitting included.
#include "AppTestSupport.h"
#include "ContactWindow.h"
#include "EditorNotifications.h"
#include "EditorPane.h"
#include "PlainTextEditView.h"
#include "ReaderPane.h"
#include "TarnApplication.h"
#include "TarnEditorTextView.h"
#include "WindowChrome.h"

#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <QSignalSpy>
#include <QTest>

class MenuTest : public QObject
{
    Q_OBJECT

private slots:
    void localisesWhatTheDesktopAdds_data()
    {
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("barRun"); // localised by a bar-wide run, not by opening
        // clang-format off
        QTest::newRow("full screen") << "Enter Full Screen" << "进入全屏" << false;
        QTest::newRow("bar run") << "Enter Full Screen" << "进入全屏" << true;
        QTest::newRow("ellipsis character") << "Find and Replace…" << "查找与替换…" << false;
        QTest::newRow("case matters") << "enter full screen" << "enter full screen" << false;
        // clang-format on
    }
    void localisesWhatTheDesktopAdds()
    {
        QFETCH(QString, english);
        QFETCH(bool, barRun);
        WindowFixture f;
        QMenu *view = f.topMenu("视图");
        QAction *inserted = view->addAction(english);
        QMenu *speech = view->addMenu("Speech");
        QAction *nested = speech->addAction("Start Speaking");
        if (barRun)
            f.menu.localizeMenuBar(f.window.menuBar());
        else
            f.openMenu("视图");
        QTEST(inserted->text(), "expected");
        QCOMPARE(speech->title(), QStringLiteral("朗读"));
        // The submenu is watched from now on: its items are localised when it opens.
        speech->popup(QPoint(0, 0));
        speech->hide();
        QCOMPARE(nested->text(), QStringLiteral("开始朗读"));
    }

    void themeMenuComesBack()
    {
        WindowFixture f;
        QMenuBar *bar = f.window.menuBar();
        bar->removeAction(f.topMenu("主题")->menuAction());
        f.menu.localizeMenuBar(bar);
        f.menu.localizeMenuBar(bar);
        QStringList top;
        for (QAction *action : bar->actions())
            top << action->text();
        // Back in its place, before "窗口", once however often localisation runs.
        QCOMPARE(top.count("主题"), 1);
        QCOMPARE(top.indexOf("主题") + 1, top.indexOf("窗口"));
        QMenu *restored = f.topMenu("主题");
        restored->actions().at(3)->trigger();
        QCOMPARE(f.app.model->theme(), TarnTheme::dark);

        // An emptied bar is rebuilt by the scheduled runs.
        bar->clear();
        f.menu.scheduleLocalization(bar);
        QTRY_COMPARE(bar->actions().size(), 7);
    }

    void commandsReachTheModel()
    {
        WindowFixture f;
        using C = MainMenu::Command;
        f.item("文件", C::open)->trigger();
        QCOMPARE(f.app.platform.openPanels.size(), 1);

        f.app.open({"a.md", "b.md"});
        QCOMPARE(f.item("文件", C::closeTab)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_W));
        f.item("文件", C::closeTab)->trigger();
        QCOMPARE(f.app.model->tabs().size(), 1);
        f.item("视图", C::toggleOutline)->trigger();
        QVERIFY(!f.app.model->showOutline());
        f.item("视图", C::toggleEditing)->trigger();
        QVERIFY(f.app.model->isEditing());

        makeSelectedDirty(*f.app.model, "saved from the menu\n");
        QVERIFY(f.item("文件", C::save)->isEnabled()); // without opening the menu
        f.item("文件", C::save)->trigger();
        QFile saved(f.app.path("a.md"));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), QByteArray("saved from the menu\n"));

        f.item("帮助", C::revealUsageLog)->trigger();
        QCOMPARE(f.app.platform.revealedPaths, QStringList{f.app.logger->logFilePath()});
        QSignalSpy contact(&f.menu, &MainMenu::contactRequested);
        f.item("帮助", C::contact)->trigger();
        QCOMPARE(contact.size(), 1);
    }

    void editCommandsReachTheEditor()
    {
        WindowFixture f;
        f.app.open({"a.md"});
        f.app.model->toggleEditing();
        TarnEditorTextView *text = f.view.editorPane()->textView();
        QTRY_VERIFY(text->isVisible());
        text->setFocus();
        QTRY_VERIFY(text->hasFocus());
        const QString original = text->toPlainText();
        text->moveCursor(QTextCursor::End);
        QTest::keyClicks(text, "more");
        using C = MainMenu::Command;
        f.item("编辑", C::undo)->trigger();
        QCOMPARE(f.app.model->selectedDocument()->draft(), original);
        f.item("编辑", C::redo)->trigger();
        QCOMPARE(text->toPlainText(), original + "more");
        f.item("编辑", C::selectAll)->trigger();
        f.item("编辑", C::deleteSelection)->trigger();
        QCOMPARE(text->toPlainText(), QString());
        f.item("编辑", C::undo)->trigger();
        QCOMPARE(text->toPlainText(), original + "more");

        // The undo item names a replace-all it would revert, and nothing else.
        f.openMenu("编辑");
        QCOMPARE(f.item("编辑", C::undo)->text(), QStringLiteral("撤销"));
        PlainTextEditView *view = f.view.editorPane()->textViewAdapter();
        view->replaceUndoably({0, 1}, "X");
        view->setUndoActionName("全部替换");
        f.openMenu("编辑");
        QCOMPARE(f.item("编辑", C::undo)->text(), QStringLiteral("撤销全部替换"));
        f.item("编辑", C::undo)->trigger();
        f.openMenu("编辑");
        QCOMPARE(f.item("编辑", C::undo)->text(), QStringLiteral("撤销"));
    }

    void findCommand()
    {
        WindowFixture f;
        QSignalSpy find(EditorNotifications::instance(), &EditorNotifications::showEditorFind);
        QSignalSpy readerFind(&f.menu, &MainMenu::readerFindRequested);
        f.app.open({"a.md"});
        f.item("编辑", MainMenu::Command::find)->trigger();
        // While reading the search field takes it; the hidden editor must not grab the keys.
        QCOMPARE(find.size(), 0);
        QCOMPARE(readerFind.size(), 1);
        f.app.model->toggleEditing();
        f.item("编辑", MainMenu::Command::find)->trigger();
        QCOMPARE(find.size(), 1);
        QTRY_VERIFY(f.view.editorPane()->showFindPanel());
    }

    // Files handed over by another launch while a dialog is open wait until it closes.
    void handOverWaitsForOpenDialogs()
    {
        AppHarness app;
        TarnApplication tarn(*app.settings, app.platform, app.pdf, *app.logger);
        tarn.launch({});
        QMessageBox box(QMessageBox::Information, "Tarn", "dialog", QMessageBox::Ok,
                        tarn.mainWindow());
        qsizetype tabsWhileOpen = -1;
        QTimer::singleShot(0, &box, [&] {
            tarn.openFromAnotherLaunch({app.file("b.md").toLocalFile()});
            QCoreApplication::processEvents();
            tabsWhileOpen = tarn.model().tabs().size();
            box.accept();
        });
        box.exec();
        QCOMPARE(tabsWhileOpen, 0);
        QTRY_COMPARE(tarn.model().tabs().size(), 1);
    }

    void contactWindowFollowsTheme()
    {
        AppHarness app;
        TarnApplication tarn(*app.settings, app.platform, app.pdf, *app.logger);
        tarn.launch({});
        emit tarn.menu()->contactRequested();
        QVERIFY(tarn.contactWindow());
        tarn.model().setTheme(TarnTheme::dark);
        const QColor accent = WindowChrome::palette(TarnTheme::dark).color(QPalette::Highlight);
        QCOMPARE(tarn.contactWindow()->palette().color(QPalette::Window),
                 WindowChrome::palette(TarnTheme::dark).color(QPalette::Window));
        for (const QPushButton *link :
             tarn.contactWindow()->findChildren<QPushButton *>("contactLink"))
            QVERIFY2(link->styleSheet().contains(accent.name()), qPrintable(link->styleSheet()));
    }

    // The whole window fits small screens, menu bar and title bar included; on a large one it
    // takes its usual size and minimum.
    void windowFitsTheScreen_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::newRow("1366 × 768") << QRect(0, 0, 1366, 768 - 32);
        QTest::newRow("1280 × 720") << QRect(0, 0, 1280, 720 - 40);
        QTest::newRow("large") << QRect(0, 0, 1920, 1050);
    }
    void windowFitsTheScreen()
    {
        QFETCH(QRect, area);
        AppHarness app;
        MainWindow window(*app.model);
        MainMenu menu(*app.model);
        menu.install(window.menuBar());
        window.placeIn(area); // not yet framed: room is kept for a title bar
        const int room = area.height() - MainWindow::titleBarAllowance;
        QVERIFY(window.height() <= room && window.width() <= area.width());
        QVERIFY(window.minimumSizeHint().height() <= room);
        if (area.height() > 1000) {
            QCOMPARE(window.size(), ContentView::initialContentSize.grownBy(
                                        {0, window.menuBar()->sizeHint().height(), 0, 0}));
            QCOMPARE(window.contentView()->minimumSize(), ContentView::minimumContentSize);
        }
    }

    // Ctrl+Q and Ctrl+Shift+W with an unsaved tab ask first; cancelling keeps the window, the
    // tab and its draft.
    void quittingAsksAboutUnsavedTabs_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::newRow("quit") << int(Qt::Key_Q) << int(Qt::ControlModifier);
        QTest::newRow("close window")
            << int(Qt::Key_W) << int(Qt::ControlModifier | Qt::ShiftModifier);
    }
    void quittingAsksAboutUnsavedTabs()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        AppHarness app;
        TarnApplication tarn(*app.settings, app.platform, app.pdf, *app.logger);
        tarn.launch({app.file("a.md").toLocalFile()});
        MainWindow *window = tarn.mainWindow();
        QSignalSpy accepted(window, &MainWindow::closeAccepted);
        window->activateWindow();
        QTRY_VERIFY(QApplication::activeWindow() == window);
        makeSelectedDirty(tarn.model(), "unsaved\n");

        app.platform.alertAnswers = {2}; // cancel
        QTest::keyClick(window, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(app.platform.alerts.size(), 1);
        QCOMPARE(app.platform.alerts.first().buttons, (QStringList{"保存", "放弃修改", "取消"}));
        QCOMPARE(accepted.size(), 0);
        QVERIFY(window->isVisible());
        QCOMPARE(tarn.model().selectedDocument()->draft(), QStringLiteral("unsaved\n"));

        app.platform.alertAnswers = {1}; // discard
        QTest::keyClick(window, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(accepted.size(), 1);
    }
};

int runMenuTests(int argc, char **argv)
{
    MenuTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "MenuTest.moc"
