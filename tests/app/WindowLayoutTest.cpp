// The main window against a real model: what the bars, sidebar and content area show, and
// what their controls ask of the model.
#include "AppTestSupport.h"
#include "ContentView.h"
#include "EditorPane.h"
#include "ElidedLabel.h"
#include "EmptyTarnState.h"
#include "FileSidebar.h"
#include "MainWindow.h"
#include "ReaderPane.h"
#include "ReaderSearchControl.h"
#include "StoredFileRow.h"
#include "TabItem.h"
#include "TitleTabBar.h"
#include "TopToolbar.h"
#include "WindowChrome.h"

#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QScrollArea>
#include <QTest>
#include <QToolButton>

class WindowLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void emptyWindow();
    void toolbarRules_data();
    void toolbarRules();
    void toolbarOrderAndHelp();
    void themeMenuFollowsModel();
    void searchControl_data();
    void searchControl();
    void searchKeys_data();
    void searchKeys();
    void contentArea();
    void alerts();
};

void WindowLayoutTest::emptyWindow()
{
    WindowFixture f;
    QCOMPARE(f.view.tabBar()->height(), TitleTabBar::barHeight);
    QVERIFY(f.view.tabBar()->emptyCaption()->isVisible());
    QCOMPARE(f.view.tabBar()->emptyCaption()->text(), QStringLiteral("未打开文件"));
    QCOMPARE(f.view.currentContent(), f.view.emptyState());
    QCOMPARE(f.view.emptyState()->titleLabel()->text(), QStringLiteral("Tarn"));
    QCOMPARE(f.view.emptyState()->hintLabel()->text(), QStringLiteral("打开或拖入 Markdown 文件"));
    QCOMPARE(f.view.sidebar()->width(), FileSidebar::sidebarWidth);
    QCOMPARE(f.view.sidebar()->filterField()->placeholderText(), QStringLiteral("搜索文件"));
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Tarn"));
    QCOMPARE(f.window.centralWidget()->minimumSize(), QSize(980, 700));
    QCOMPARE(f.window.centralWidget()->size(), QSize(1180, 760));
}

void WindowLayoutTest::toolbarRules_data()
{
    QTest::addColumn<int>("documents");
    QTest::addColumn<bool>("editing");
    QTest::addColumn<bool>("dirty");
    QTest::addColumn<bool>("saveEnabled");
    QTest::addColumn<bool>("documentEnabled"); // export, outline, edit
    QTest::addColumn<QString>("editHelp");

    QTest::newRow("no document") << 0 << false << false << false << false
                                 << QStringLiteral("编辑 Markdown");
    QTest::newRow("reading") << 2 << false << false << false << true
                             << QStringLiteral("编辑 Markdown");
    QTest::newRow("editing, clean")
        << 1 << true << false << false << true << QStringLiteral("返回阅读");
    QTest::newRow("editing, dirty")
        << 1 << true << true << true << true << QStringLiteral("返回阅读");
}

void WindowLayoutTest::toolbarRules()
{
    QFETCH(int, documents);
    QFETCH(bool, editing);
    QFETCH(bool, dirty);
    WindowFixture f;
    QStringList names;
    for (int i = 0; i < documents; ++i)
        names << QStringLiteral("doc%1.md").arg(i);
    f.app.open(names);
    if (editing)
        f.app.model->toggleEditing();
    if (dirty)
        makeSelectedDirty(*f.app.model);

    QVERIFY(f.toolbar.openButton()->isEnabled());
    QVERIFY(f.toolbar.themeButton()->isEnabled());
    QTEST(f.toolbar.saveButton()->isEnabled(), "saveEnabled");
    QTEST(f.toolbar.exportButton()->isEnabled(), "documentEnabled");
    QTEST(f.toolbar.editButton()->isEnabled(), "documentEnabled");
    QTEST(f.toolbar.editButton()->toolTip(), "editHelp");
    // The outline button and the search control only belong to reading.
    QCOMPARE(f.toolbar.outlineButton()->isVisible(), !editing);
    QCOMPARE(f.toolbar.searchControl()->isVisible(), !editing);
    if (!editing)
        QTEST(f.toolbar.outlineButton()->isEnabled(), "documentEnabled");
}

void WindowLayoutTest::toolbarOrderAndHelp()
{
    WindowFixture f;
    f.app.open({QStringLiteral("a.md")});
    const QList<QWidget *> order{f.toolbar.openButton(),    f.toolbar.saveButton(),
                                 f.toolbar.exportButton(),  f.toolbar.searchControl(),
                                 f.toolbar.outlineButton(), f.toolbar.editButton(),
                                 f.toolbar.themeButton()};
    for (qsizetype i = 1; i < order.size(); ++i)
        QVERIFY2(order[i - 1]->x() < order[i]->x(), qPrintable(order[i]->objectName()));
    const QStringList help{QStringLiteral("打开文件"), QStringLiteral("保存"),
                           QStringLiteral("导出"), QStringLiteral("显示目录"),
                           QStringLiteral("切换主题")};
    const QList<QToolButton *> buttons{f.toolbar.openButton(), f.toolbar.saveButton(),
                                       f.toolbar.exportButton(), f.toolbar.outlineButton(),
                                       f.toolbar.themeButton()};
    for (qsizetype i = 0; i < buttons.size(); ++i)
        QCOMPARE(buttons[i]->toolTip(), help[i]);

    QStringList exportItems;
    for (QAction *action : f.toolbar.exportMenu()->actions())
        exportItems << action->text();
    QCOMPARE(exportItems, (QStringList{QStringLiteral("导出 PDF"), QStringLiteral("导出 HTML")}));
    // Export HTML asks for a place to write; the scripted panel's cancel ends it there.
    f.toolbar.exportMenu()->actions().at(1)->trigger();
    QCOMPARE(f.app.platform.savePanels.size(), 1);
    QVERIFY(f.app.events().contains(QStringLiteral("export.html.cancelled")));

    QVERIFY(f.app.model->showOutline());
    f.toolbar.outlineButton()->click();
    QVERIFY(!f.app.model->showOutline());
    f.toolbar.editButton()->click();
    QVERIFY(f.app.model->isEditing());
}

void WindowLayoutTest::themeMenuFollowsModel()
{
    WindowFixture f;
    QMenu *menu = f.toolbar.themeMenu();
    QStringList titles;
    for (QAction *action : menu->actions())
        titles << action->text();
    QCOMPARE(titles, (QStringList{QStringLiteral("商务浅蓝"), QStringLiteral("清爽浅色"),
                                  QStringLiteral("暖色护眼"), QStringLiteral("深色夜读")}));
    for (int chosen = 0; chosen < 4; ++chosen) {
        menu->actions().at(chosen)->trigger();
        QCOMPARE(int(f.app.model->theme()), chosen);
        int checked = 0;
        for (QAction *action : menu->actions())
            checked += action->isChecked() ? 1 : 0;
        QCOMPARE(checked, 1);
        QVERIFY(menu->actions().at(chosen)->isChecked());
        // The bars take the theme's sidebar colour.
        QCOMPARE(f.toolbar.palette().color(QPalette::Window),
                 WindowChrome::sidebar(TarnTheme(chosen)));
        QCOMPARE(f.view.sidebar()->palette().color(QPalette::Window),
                 WindowChrome::sidebar(TarnTheme(chosen)));
    }
    menu->actions().at(3)->trigger(); // the current one again
    QVERIFY(menu->actions().at(3)->isChecked());
    QCOMPARE(f.app.settings->value(QStringLiteral("tarn.theme")).toString(),
             QStringLiteral("dark"));
}

void WindowLayoutTest::searchControl_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("stepEnabled");

    QTest::newRow("empty") << QString() << 0 << 0 << QString() << 246 << false;
    QTest::newRow("only spaces and a line break")
        << QStringLiteral("  \n ") << 0 << 0 << QString() << 246 << false;
    QTest::newRow("no hits") << QStringLiteral("zebra") << 0 << 0 << QStringLiteral("无结果") << 345
                             << false;
    QTest::newRow("hits") << QStringLiteral("tarn") << 3 << 12 << QStringLiteral("3/12") << 345
                          << true;
    QTest::newRow("one hit, padded query")
        << QStringLiteral(" x ") << 1 << 1 << QStringLiteral("1/1") << 345 << true;
}

void WindowLayoutTest::searchControl()
{
    QFETCH(QString, query);
    QFETCH(int, current);
    QFETCH(int, count);
    WindowFixture f;
    f.app.open({QStringLiteral("a.md")});
    ReaderSearchControl *search = f.toolbar.searchControl();
    QCOMPARE(search->field()->placeholderText(), QStringLiteral("搜索正文"));
    QCOMPARE(search->field()->size(), QSize(170, 20));

    // A line break cannot be typed into the field; such a query comes from the model.
    if (query.contains(u'\n'))
        f.app.model->setSearchQuery(query);
    else
        QTest::keyClicks(search->field(), query);
    QCOMPARE(f.app.model->searchQuery(), query);
    f.app.model->updateSearchResults(current, count);

    QTEST(search->resultLabel()->text(), "label");
    QTEST(search->width(), "width");
    const bool active = !query.trimmed().isEmpty();
    QCOMPARE(search->resultLabel()->isVisible(), active);
    QCOMPARE(search->clearButton()->isVisible(), active);
    QCOMPARE(search->previousButton()->isVisible(), active);
    QTEST(search->previousButton()->isEnabled(), "stepEnabled");
    QTEST(search->nextButton()->isEnabled(), "stepEnabled");
    QCOMPARE(search->previousButton()->size(), QSize(18, 18));
    QCOMPARE(search->previousButton()->toolTip(), QStringLiteral("上一个结果"));
    QCOMPARE(search->nextButton()->toolTip(), QStringLiteral("下一个结果"));
    QCOMPARE(search->clearButton()->toolTip(), QStringLiteral("清除搜索"));
    QCOMPARE(search->resultLabel()->width(), 46);
    const QColor expected = count > 0 ? WindowChrome::primaryText(f.app.model->theme())
                                      : WindowChrome::secondaryText(f.app.model->theme());
    QCOMPARE(search->resultLabel()->palette().color(QPalette::WindowText), expected);

    if (active) {
        search->clearButton()->click();
        QCOMPARE(f.app.model->searchQuery(), QString());
        QCOMPARE(search->field()->text(), QString());
        QCOMPARE(search->width(), 246);
    }
}

void WindowLayoutTest::searchKeys_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QString>("direction"); // of the navigation request, "" for none
    QTest::addColumn<QString>("queryAfter");
    QTest::addColumn<bool>("consumed");

    QTest::newRow("return") << QStringLiteral("tarn") << int(Qt::Key_Return) << 0
                            << QStringLiteral("next") << QStringLiteral("tarn") << true;
    QTest::newRow("keypad enter") << QStringLiteral("tarn") << int(Qt::Key_Enter) << 0
                                  << QStringLiteral("next") << QStringLiteral("tarn") << true;
    QTest::newRow("shift+return") << QStringLiteral("tarn") << int(Qt::Key_Return)
                                  << int(Qt::ShiftModifier) << QStringLiteral("previous")
                                  << QStringLiteral("tarn") << true;
    QTest::newRow("escape empties")
        << QStringLiteral("tarn") << int(Qt::Key_Escape) << 0 << QString() << QString() << true;
    QTest::newRow("escape on empty passes on")
        << QString() << int(Qt::Key_Escape) << 0 << QString() << QString() << false;
}

void WindowLayoutTest::searchKeys()
{
    QFETCH(QString, query);
    QFETCH(int, key);
    QFETCH(int, modifiers);
    QFETCH(QString, direction);
    WindowFixture f;
    f.app.open({QStringLiteral("a.md")});
    SearchTextField *field = f.toolbar.searchControl()->field();
    QTest::keyClicks(field, query);
    if (!query.isEmpty())
        f.app.model->updateSearchResults(1, 4); // stepping needs hits

    QKeyEvent press(QEvent::KeyPress, key, Qt::KeyboardModifiers(modifiers));
    QApplication::sendEvent(field, &press);
    QTEST(press.isAccepted(), "consumed");
    const auto request = f.app.model->searchNavigationRequest();
    QCOMPARE(request ? rawValue(request->direction) : QString(), direction);
    QTEST(f.app.model->searchQuery(), "queryAfter");
    QTEST(field->text(), "queryAfter");
}

void WindowLayoutTest::contentArea()
{
    WindowFixture f;
    f.app.open({QStringLiteral("a.md"), QStringLiteral("b.md")});
    QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.readerPane()));
    f.app.model->toggleEditing();
    QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.editorPane()));
    QCOMPARE(f.view.editorPane()->document(), f.app.model->selectedDocument());
    f.app.model->toggleEditing();
    QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.readerPane()));
    f.app.model->closeTab(f.app.model->tabs().at(1));
    f.app.model->closeTab(f.app.model->tabs().at(0));
    QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.emptyState()));
    QVERIFY(f.view.tabBar()->emptyCaption()->isVisible());
}

void WindowLayoutTest::alerts()
{
    WindowFixture f;
    // A file that cannot be read raises the model's alert; the window shows it.
    f.app.model->openURLs({QUrl::fromLocalFile(f.app.path(QStringLiteral("missing.md")))}, false);
    QVERIFY(f.app.model->alert());
    QMessageBox *box = f.view.alertBox();
    QVERIFY(box);
    QTRY_VERIFY(box->isVisible());
    QCOMPARE(box->text(), QStringLiteral("打开失败"));
    QCOMPARE(box->informativeText(), f.app.model->alert()->message);
    QCOMPARE(box->buttons().size(), 1);

    box->buttons().first()->click();
    QVERIFY(!f.app.model->alert());

    // A newer alert replaces one still on screen.
    f.app.model->setAlert(AppAlert::make(QStringLiteral("链接不可用"), QStringLiteral("one")));
    QPointer<QMessageBox> first = f.view.alertBox();
    f.app.model->setAlert(AppAlert::make(QStringLiteral("文件不可用"), QStringLiteral("two")));
    QVERIFY(f.view.alertBox() != first);
    QCOMPARE(f.view.alertBox()->text(), QStringLiteral("文件不可用"));
    QVERIFY(f.app.model->alert());
    QCOMPARE(f.app.model->alert()->message, QStringLiteral("two"));
}

int runWindowLayoutTests(int argc, char **argv)
{
    WindowLayoutTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "WindowLayoutTest.moc"
