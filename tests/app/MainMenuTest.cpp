// The menu bar: its items and shortcuts, the validation rules, localisation of titles the
// desktop adds, and the commands that reach the model, the editor and the window.
#include "MainMenu.h"
#include "AppTestSupport.h"
#include "ContentView.h"
#include "EditorNotifications.h"
#include "EditorPane.h"
#include "MainWindow.h"
#include "MenuLocalizer.h"
#include "TarnEditorTextView.h"

#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTest>

namespace {

struct MenuFixture
{
    AppHarness app;
    MainWindow window{*app.model};
    MainMenu menu{*app.model};

    MenuFixture()
    {
        menu.install(window.menuBar());
        window.placeInitially();
        window.show();
    }

    QMenu *topMenu(const QString &title) const
    {
        for (QAction *action : window.menuBar()->actions()) {
            if (action->text() == title)
                return action->menu();
        }
        return nullptr;
    }

    QAction *item(const QString &menuTitle, MainMenu::Command command) const
    {
        if (QMenu *found = topMenu(menuTitle)) {
            for (QAction *action : found->actions()) {
                if (MainMenu::command(action) == command)
                    return action;
            }
        }
        return nullptr;
    }

    // Opens and closes the menu, which localises and validates it.
    void open(const QString &menuTitle) const
    {
        QMenu *found = topMenu(menuTitle);
        QVERIFY(found);
        found->popup(QPoint(0, 0));
        found->hide();
    }

    QStringList titles(QMenu *menu) const
    {
        QStringList result;
        for (QAction *action : menu->actions())
            result << (action->isSeparator() ? QStringLiteral("-") : action->text());
        return result;
    }
};

} // namespace

class MainMenuTest : public QObject
{
    Q_OBJECT

private slots:
    void menuBar();
    void shortcuts_data();
    void shortcuts();
    void validation_data();
    void validation();
    void oneThemeChecked();
    void localisesWhatTheDesktopAdds_data();
    void localisesWhatTheDesktopAdds();
    void themeMenuComesBack();
    void emptiedBarIsRebuilt();
    void translationTable();
    void commandsReachTheModel();
    void undoAndRedoReachTheEditor();
    void findCommand();
    void closingTheWindowAsksTheModel();
};

void MainMenuTest::menuBar()
{
    MenuFixture f;
    QStringList top;
    for (QAction *action : f.window.menuBar()->actions())
        top << action->text();
    QCOMPARE(top,
             (QStringList{QStringLiteral("Tarn"), QStringLiteral("文件"), QStringLiteral("编辑"),
                          QStringLiteral("视图"), QStringLiteral("主题"), QStringLiteral("窗口"),
                          QStringLiteral("帮助")}));
    QCOMPARE(f.titles(f.topMenu(QStringLiteral("Tarn"))),
             (QStringList{QStringLiteral("关于 Tarn"), QStringLiteral("联系作者"),
                          QStringLiteral("-"), QStringLiteral("退出 Tarn")}));
    QCOMPARE(f.titles(f.topMenu(QStringLiteral("文件"))),
             (QStringList{QStringLiteral("打开..."), QStringLiteral("-"), QStringLiteral("保存"),
                          QStringLiteral("-"), QStringLiteral("导出 PDF..."),
                          QStringLiteral("导出 HTML..."), QStringLiteral("-"),
                          QStringLiteral("关闭标签页"), QStringLiteral("关闭窗口")}));
    QCOMPARE(f.titles(f.topMenu(QStringLiteral("编辑"))),
             (QStringList{QStringLiteral("撤销"), QStringLiteral("重做"), QStringLiteral("-"),
                          QStringLiteral("剪切"), QStringLiteral("复制"), QStringLiteral("粘贴"),
                          QStringLiteral("删除"), QStringLiteral("全选"), QStringLiteral("-"),
                          QStringLiteral("查找")}));
    QCOMPARE(f.titles(f.topMenu(QStringLiteral("视图"))),
             (QStringList{QStringLiteral("编辑 Markdown"), QStringLiteral("隐藏目录"),
                          QStringLiteral("-"), QStringLiteral("进入全屏")}));
    QCOMPARE(f.titles(f.topMenu(QStringLiteral("主题"))),
             (QStringList{QStringLiteral("商务浅蓝"), QStringLiteral("清爽浅色"),
                          QStringLiteral("暖色护眼"), QStringLiteral("深色夜读")}));
    QCOMPARE(f.titles(f.topMenu(QStringLiteral("窗口"))),
             (QStringList{QStringLiteral("最小化"), QStringLiteral("缩放"), QStringLiteral("-"),
                          QStringLiteral("全部前置")}));
    QCOMPARE(f.titles(f.topMenu(QStringLiteral("帮助"))),
             (QStringList{QStringLiteral("联系作者"), QStringLiteral("-"),
                          QStringLiteral("打开使用日志")}));
}

void MainMenuTest::shortcuts_data()
{
    QTest::addColumn<QString>("menu");
    QTest::addColumn<MainMenu::Command>("command");
    QTest::addColumn<QString>("shortcut");

    const QString file = QStringLiteral("文件"), edit = QStringLiteral("编辑");
    QTest::newRow("quit") << QStringLiteral("Tarn") << MainMenu::Command::quit
                          << QStringLiteral("Ctrl+Q");
    QTest::newRow("open") << file << MainMenu::Command::open << QStringLiteral("Ctrl+O");
    QTest::newRow("save") << file << MainMenu::Command::save << QStringLiteral("Ctrl+S");
    QTest::newRow("export") << file << MainMenu::Command::exportPDF << QString();
    QTest::newRow("close tab") << file << MainMenu::Command::closeTab << QStringLiteral("Ctrl+W");
    QTest::newRow("close window") << file << MainMenu::Command::closeWindow
                                  << QStringLiteral("Ctrl+Shift+W");
    QTest::newRow("undo") << edit << MainMenu::Command::undo << QStringLiteral("Ctrl+Z");
    QTest::newRow("redo") << edit << MainMenu::Command::redo << QStringLiteral("Ctrl+Shift+Z");
    QTest::newRow("delete") << edit << MainMenu::Command::deleteSelection << QString();
    QTest::newRow("select all") << edit << MainMenu::Command::selectAll << QStringLiteral("Ctrl+A");
    QTest::newRow("find") << edit << MainMenu::Command::find << QStringLiteral("Ctrl+F");
    QTest::newRow("edit markdown")
        << QStringLiteral("视图") << MainMenu::Command::toggleEditing << QStringLiteral("Ctrl+E");
    QTest::newRow("outline") << QStringLiteral("视图") << MainMenu::Command::toggleOutline
                             << QString();
    QTest::newRow("full screen") << QStringLiteral("视图") << MainMenu::Command::toggleFullScreen
                                 << QStringLiteral("F11");
    QTest::newRow("minimise") << QStringLiteral("窗口") << MainMenu::Command::minimize
                              << QStringLiteral("Ctrl+M");
}

void MainMenuTest::shortcuts()
{
    QFETCH(QString, menu);
    QFETCH(MainMenu::Command, command);
    MenuFixture f;
    QAction *action = f.item(menu, command);
    QVERIFY(action);
    QTEST(action->shortcut().toString(QKeySequence::PortableText), "shortcut");
}

void MainMenuTest::validation_data()
{
    QTest::addColumn<int>("documents");
    QTest::addColumn<bool>("editing");
    QTest::addColumn<bool>("dirty");
    QTest::addColumn<bool>("outlineShown");
    QTest::addColumn<bool>("saveEnabled");
    QTest::addColumn<bool>("documentEnabled"); // export, find, edit
    QTest::addColumn<bool>("outlineEnabled");
    QTest::addColumn<QString>("editTitle");
    QTest::addColumn<QString>("outlineTitle");

    QTest::newRow("nothing open") << 0 << false << false << false << false << false << false
                                  << QStringLiteral("编辑 Markdown") << QStringLiteral("显示目录");
    QTest::newRow("reading, outline shown")
        << 1 << false << false << true << false << true << true << QStringLiteral("编辑 Markdown")
        << QStringLiteral("隐藏目录");
    QTest::newRow("reading, outline hidden")
        << 2 << false << false << false << false << true << true << QStringLiteral("编辑 Markdown")
        << QStringLiteral("显示目录");
    QTest::newRow("editing, clean") << 1 << true << false << true << false << true << false
                                    << QStringLiteral("返回阅读") << QStringLiteral("隐藏目录");
    QTest::newRow("editing, dirty") << 1 << true << true << false << true << true << false
                                    << QStringLiteral("返回阅读") << QStringLiteral("显示目录");
}

void MainMenuTest::validation()
{
    QFETCH(int, documents);
    QFETCH(bool, editing);
    QFETCH(bool, dirty);
    QFETCH(bool, outlineShown);
    MenuFixture f;
    QStringList names;
    for (int i = 0; i < documents; ++i)
        names << QStringLiteral("doc%1.md").arg(i);
    f.app.open(names);
    f.app.model->setShowOutline(outlineShown);
    if (editing)
        f.app.model->toggleEditing();
    if (dirty)
        makeSelectedDirty(*f.app.model);
    for (const QString &title : {QStringLiteral("文件"), QStringLiteral("编辑"),
                                 QStringLiteral("视图"), QStringLiteral("窗口")})
        f.open(title);

    using C = MainMenu::Command;
    const QString file = QStringLiteral("文件"), view = QStringLiteral("视图");
    QTEST(f.item(file, C::save)->isEnabled(), "saveEnabled");
    QTEST(f.item(file, C::exportPDF)->isEnabled(), "documentEnabled");
    QTEST(f.item(file, C::exportHTML)->isEnabled(), "documentEnabled");
    QTEST(f.item(QStringLiteral("编辑"), C::find)->isEnabled(), "documentEnabled");
    QTEST(f.item(view, C::toggleEditing)->isEnabled(), "documentEnabled");
    QTEST(f.item(view, C::toggleEditing)->text(), "editTitle");
    QTEST(f.item(view, C::toggleOutline)->isEnabled(), "outlineEnabled");
    QTEST(f.item(view, C::toggleOutline)->text(), "outlineTitle");
    // Window and application items never depend on the document.
    for (const auto &[menu, command] :
         {std::pair{QStringLiteral("窗口"), C::minimize},
          std::pair{QStringLiteral("窗口"), C::zoom}, std::pair{QStringLiteral("Tarn"), C::quit},
          std::pair{file, C::open}, std::pair{file, C::closeWindow},
          std::pair{QStringLiteral("帮助"), C::revealUsageLog}})
        QVERIFY(f.item(menu, command)->isEnabled());
}

void MainMenuTest::oneThemeChecked()
{
    MenuFixture f;
    QMenu *themes = f.topMenu(QStringLiteral("主题"));
    for (int chosen = 3; chosen >= 0; --chosen) {
        themes->actions().at(chosen)->trigger();
        QCOMPARE(int(f.app.model->theme()), chosen);
        f.open(QStringLiteral("主题"));
        int checked = 0;
        for (QAction *action : themes->actions())
            checked += action->isChecked() ? 1 : 0;
        QCOMPARE(checked, 1);
        QVERIFY(themes->actions().at(chosen)->isChecked());
    }
    // Choosing the current theme again keeps its check mark.
    themes->actions().at(0)->trigger();
    QVERIFY(themes->actions().at(0)->isChecked());
    // A theme set elsewhere (the toolbar) moves the check mark too.
    f.app.model->setTheme(TarnTheme::warm);
    QVERIFY(themes->actions().at(2)->isChecked());
}

void MainMenuTest::localisesWhatTheDesktopAdds_data()
{
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("nested");
    QTest::addColumn<bool>("whenActive"); // localised by a bar-wide run, not by opening

    QTest::newRow("full screen") << QStringLiteral("Enter Full Screen")
                                 << QStringLiteral("进入全屏") << false << false;
    QTest::newRow("full screen, bar run")
        << QStringLiteral("Enter Full Screen") << QStringLiteral("进入全屏") << false << true;
    QTest::newRow("three dots") << QStringLiteral("Print...") << QStringLiteral("打印...") << false
                                << false;
    QTest::newRow("ellipsis character")
        << QStringLiteral("Find and Replace…") << QStringLiteral("查找与替换…") << false << false;
    QTest::newRow("in a submenu") << QStringLiteral("Start Speaking") << QStringLiteral("开始朗读")
                                  << true << false;
    QTest::newRow("case matters") << QStringLiteral("enter full screen")
                                  << QStringLiteral("enter full screen") << false << false;
    QTest::newRow("unknown title")
        << QStringLiteral("Frobnicate") << QStringLiteral("Frobnicate") << false << true;
}

void MainMenuTest::localisesWhatTheDesktopAdds()
{
    QFETCH(QString, english);
    QFETCH(bool, nested);
    QFETCH(bool, whenActive);
    MenuFixture f;
    QMenu *view = f.topMenu(QStringLiteral("视图"));
    QAction *inserted = nullptr;
    if (nested) {
        QMenu *speech = view->addMenu(QStringLiteral("Speech"));
        inserted = speech->addAction(english);
        f.open(QStringLiteral("视图"));
        QCOMPARE(speech->title(), QStringLiteral("朗读"));
        // The submenu is watched from now on: a later item is localised when it opens.
        QAction *later = speech->addAction(QStringLiteral("Stop Speaking"));
        speech->popup(QPoint(0, 0));
        speech->hide();
        QCOMPARE(later->text(), QStringLiteral("停止朗读"));
    } else {
        inserted = view->addAction(english);
        if (whenActive)
            f.menu.localizeMenuBar(f.window.menuBar());
        else
            f.open(QStringLiteral("视图"));
    }
    QTEST(inserted->text(), "expected");
}

void MainMenuTest::themeMenuComesBack()
{
    MenuFixture f;
    QMenuBar *bar = f.window.menuBar();
    QAction *themes = f.topMenu(QStringLiteral("主题"))->menuAction();
    bar->removeAction(themes);
    QVERIFY(!f.topMenu(QStringLiteral("主题")));
    f.menu.localizeMenuBar(bar);
    QMenu *restored = f.topMenu(QStringLiteral("主题"));
    QVERIFY(restored);
    QCOMPARE(restored->actions().size(), 4);
    // Back in its place, before "窗口", and only once however often localisation runs.
    f.menu.localizeMenuBar(bar);
    QStringList top;
    for (QAction *action : bar->actions())
        top << action->text();
    QCOMPARE(top.indexOf(QStringLiteral("主题")) + 1, top.indexOf(QStringLiteral("窗口")));
    QCOMPARE(top.count(QStringLiteral("主题")), 1);

    // The restored items work and are validated like the originals.
    restored->actions().at(3)->trigger();
    QCOMPARE(f.app.model->theme(), TarnTheme::dark);
    f.app.model->setTheme(TarnTheme::light);
    QVERIFY(restored->actions().at(1)->isChecked());

    // Without "窗口" the menu goes before the last one.
    bar->removeAction(restored->menuAction());
    bar->removeAction(f.topMenu(QStringLiteral("窗口"))->menuAction());
    f.menu.localizeMenuBar(bar);
    top.clear();
    for (QAction *action : bar->actions())
        top << action->text();
    QCOMPARE(top.indexOf(QStringLiteral("主题")), top.size() - 2);
}

void MainMenuTest::emptiedBarIsRebuilt()
{
    MenuFixture f;
    f.window.menuBar()->clear();
    f.menu.scheduleLocalization(f.window.menuBar());
    QTRY_COMPARE(f.window.menuBar()->actions().size(), 7);
    QVERIFY(f.topMenu(QStringLiteral("主题")));
    // The later scheduled runs find the bar complete and add nothing.
    QTest::qWait(2200);
    QCOMPARE(f.window.menuBar()->actions().size(), 7);
}

void MainMenuTest::translationTable()
{
    const QHash<QString, QString> &table = MenuLocalizer::translations();
    QCOMPARE(table.size(), 79);
    for (const QString &english :
         {QStringLiteral("Services Settings..."), QStringLiteral("Services Settings…"),
          QStringLiteral("Customize Toolbar..."), QStringLiteral("Customize Toolbar…")})
        QVERIFY2(table.contains(english), qPrintable(english));
    QCOMPARE(table.value(QStringLiteral("Tarn Help")), QStringLiteral("Tarn 帮助"));
}

void MainMenuTest::commandsReachTheModel()
{
    MenuFixture f;
    using C = MainMenu::Command;
    f.item(QStringLiteral("文件"), C::open)->trigger();
    QCOMPARE(f.app.platform.openPanels.size(), 1);

    f.app.open({QStringLiteral("a.md"), QStringLiteral("b.md")});
    f.item(QStringLiteral("文件"), C::closeTab)->trigger();
    QCOMPARE(f.app.model->tabs().size(), 1);
    QCOMPARE(f.app.model->selectedDocument()->fileName(), QStringLiteral("a.md"));

    f.item(QStringLiteral("视图"), C::toggleOutline)->trigger();
    QVERIFY(!f.app.model->showOutline());
    f.item(QStringLiteral("视图"), C::toggleEditing)->trigger();
    QVERIFY(f.app.model->isEditing());

    makeSelectedDirty(*f.app.model, QStringLiteral("saved from the menu\n"));
    QVERIFY(f.item(QStringLiteral("文件"), C::save)->isEnabled()); // without opening the menu
    f.item(QStringLiteral("文件"), C::save)->trigger();
    QFile saved(f.app.path(QStringLiteral("a.md")));
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), QByteArray("saved from the menu\n"));

    f.item(QStringLiteral("帮助"), C::revealUsageLog)->trigger();
    QCOMPARE(f.app.platform.revealedPaths, QStringList{f.app.logger->logFilePath()});
    QVERIFY(QFile::exists(f.app.logger->logFilePath()));

    QSignalSpy contact(&f.menu, &MainMenu::contactRequested);
    f.item(QStringLiteral("帮助"), C::contact)->trigger();
    f.item(QStringLiteral("Tarn"), C::contact)->trigger();
    QCOMPARE(contact.size(), 2);
}

void MainMenuTest::undoAndRedoReachTheEditor()
{
    MenuFixture f;
    f.app.open({QStringLiteral("a.md")});
    f.app.model->toggleEditing();
    TarnEditorTextView *text = f.window.contentView()->editorPane()->textView();
    QTRY_VERIFY(text->isVisible());
    text->setFocus();
    QTRY_VERIFY(text->hasFocus());
    const QString original = text->toPlainText();
    text->moveCursor(QTextCursor::End);
    QTest::keyClicks(text, QStringLiteral("more"));
    QCOMPARE(f.app.model->selectedDocument()->draft(), original + QStringLiteral("more"));

    using C = MainMenu::Command;
    f.item(QStringLiteral("编辑"), C::undo)->trigger();
    QCOMPARE(text->toPlainText(), original);
    QCOMPARE(f.app.model->selectedDocument()->draft(), original);
    f.item(QStringLiteral("编辑"), C::redo)->trigger();
    QCOMPARE(text->toPlainText(), original + QStringLiteral("more"));

    f.item(QStringLiteral("编辑"), C::selectAll)->trigger();
    QCOMPARE(text->textCursor().selectedText().replace(QChar::ParagraphSeparator, u'\n'),
             original + QStringLiteral("more"));
    f.item(QStringLiteral("编辑"), C::deleteSelection)->trigger();
    QCOMPARE(text->toPlainText(), QString());
    f.item(QStringLiteral("编辑"), C::undo)->trigger();
    QCOMPARE(text->toPlainText(), original + QStringLiteral("more"));
}

void MainMenuTest::findCommand()
{
    MenuFixture f;
    QSignalSpy find(EditorNotifications::instance(), &EditorNotifications::showEditorFind);
    QSignalSpy readerFind(&f.menu, &MainMenu::readerFindRequested);
    f.app.open({QStringLiteral("a.md")});
    f.item(QStringLiteral("编辑"), MainMenu::Command::find)->trigger();
    // While reading the search field takes it; the hidden editor must not grab the keyboard.
    QCOMPARE(find.size(), 0);
    QCOMPARE(readerFind.size(), 1);
    QVERIFY(!f.window.contentView()->editorPane()->showFindPanel());
    f.app.model->toggleEditing();
    f.item(QStringLiteral("编辑"), MainMenu::Command::find)->trigger();
    QCOMPARE(find.size(), 1);
    QCOMPARE(readerFind.size(), 1);
    QTRY_VERIFY(f.window.contentView()->editorPane()->showFindPanel());
}

void MainMenuTest::closingTheWindowAsksTheModel()
{
    MenuFixture f;
    f.app.open({QStringLiteral("a.md")});
    makeSelectedDirty(*f.app.model);
    QSignalSpy accepted(&f.window, &MainWindow::closeAccepted);
    f.app.platform.alertAnswers = {2, 1}; // cancel, then discard
    f.window.activateWindow();
    QTRY_VERIFY(QApplication::activeWindow() == &f.window);
    f.item(QStringLiteral("文件"), MainMenu::Command::closeWindow)->trigger();
    QCOMPARE(f.app.platform.alerts.size(), 1);
    QCOMPARE(accepted.size(), 0);
    QVERIFY(f.window.isVisible());
    f.item(QStringLiteral("文件"), MainMenu::Command::closeWindow)->trigger();
    QCOMPARE(f.app.platform.alerts.size(), 2);
    QCOMPARE(accepted.size(), 1);
}

int runMainMenuTests(int argc, char **argv)
{
    MainMenuTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "MainMenuTest.moc"
