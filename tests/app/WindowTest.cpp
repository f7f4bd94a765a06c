// The main window against a real model: what the bars, tabs, sidebar and content area show, and
// what their controls, the menu's enable rules and dropped files ask of the model.
#include "AppTestSupport.h"
#include "EditorPane.h"
#include "ElidedLabel.h"
#include "EmptyTarnState.h"
#include "FileSidebar.h"
#include "ReaderPane.h"
#include "ReaderSearchControl.h"
#include "StoredFileRow.h"
#include "TabItem.h"
#include "TarnEditorTextView.h"
#include "TarnIcons.h"
#include "TarnWebView.h"
#include "TitleTabBar.h"
#include "WindowChrome.h"

#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QScrollArea>
#include <QTest>
#include <QToolButton>

namespace {

StoredFile stored(const QString &path, bool favorite, std::optional<double> lastOpenedAt)
{
    return StoredFile{path, path.section(u'/', -1), std::nullopt, favorite, lastOpenedAt};
}

} // namespace

class WindowTest : public QObject
{
    Q_OBJECT

private slots:
    void emptyWindowAndContentArea()
    {
        WindowFixture f;
        QVERIFY(f.view.tabBar()->emptyCaption()->isVisible());
        QCOMPARE(f.view.tabBar()->emptyCaption()->text(), QStringLiteral("未打开文件"));
        QCOMPARE(f.view.currentContent(), f.view.emptyState());
        QCOMPARE(f.window.windowTitle(), QStringLiteral("Tarn"));
        QVERIFY(!TarnIcons::applicationIcon().isNull()); // embedded, so also found when installed

        f.app.open({"a.md", "b.md"});
        QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.readerPane()));
        f.app.model->toggleEditing();
        QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.editorPane()));
        QCOMPARE(f.view.editorPane()->document(), f.app.model->selectedDocument());
        f.app.model->toggleEditing();
        QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.readerPane()));
        f.app.model->closeTab(f.app.model->tabs().at(1));
        f.app.model->closeTab(f.app.model->tabs().at(0));
        QCOMPARE(f.view.currentContent(), static_cast<QWidget *>(f.view.emptyState()));
    }

    // An opened document, and one whose editing ended, takes the keys; containers that show
    // nothing to act on are no Tab stops.
    void readerTakesTheKeys()
    {
        WindowFixture f;
        f.app.open({"a.md"});
        QTRY_VERIFY(f.view.readerPane()->currentView() &&
                    f.view.readerPane()->currentView()->focusProxy());
        QWidget *page = f.view.readerPane()->currentView()->focusProxy();
        QTRY_COMPARE(f.window.focusWidget(), page);
        f.app.model->toggleEditing();
        QCOMPARE(f.window.focusWidget(), f.view.editorPane()->textView());
        f.app.model->toggleEditing();
        QCOMPARE(f.window.focusWidget(), page);
        QCOMPARE(f.view.tabBar()->scrollArea()->focusPolicy(), Qt::NoFocus);
        QCOMPARE(f.view.sidebar()->findChild<QScrollArea *>()->focusPolicy(), Qt::NoFocus);
    }

    // One table for the toolbar's and the menu's enable rules and titles.
    void enableRules_data()
    {
        QTest::addColumn<int>("documents");
        QTest::addColumn<bool>("editing");
        QTest::addColumn<bool>("dirty");
        QTest::addColumn<bool>("outlineShown");
        QTest::addColumn<bool>("saveEnabled");
        QTest::addColumn<bool>("documentEnabled"); // export, find, edit
        QTest::addColumn<QString>("editTitle");
        QTest::addColumn<QString>("outlineTitle");
        // clang-format off
        QTest::newRow("nothing open") << 0 << false << false << false << false << false << "编辑 Markdown" << "显示目录";
        QTest::newRow("reading, outline shown") << 1 << false << false << true << false << true << "编辑 Markdown" << "隐藏目录";
        QTest::newRow("editing, clean") << 1 << true << false << true << false << true << "返回阅读" << "隐藏目录";
        QTest::newRow("editing, dirty") << 2 << true << true << false << true << true << "返回阅读" << "显示目录";
        // clang-format on
    }
    void enableRules()
    {
        QFETCH(int, documents);
        QFETCH(bool, editing);
        QFETCH(bool, dirty);
        QFETCH(bool, outlineShown);
        QFETCH(bool, documentEnabled);
        WindowFixture f;
        QStringList names;
        for (int i = 0; i < documents; ++i)
            names << QStringLiteral("doc%1.md").arg(i);
        f.app.open(names);
        f.app.model->setShowOutline(outlineShown);
        if (editing)
            f.app.model->toggleEditing();
        if (dirty)
            makeSelectedDirty(*f.app.model);
        for (const char *title : {"文件", "编辑", "视图"})
            f.openMenu(QString::fromUtf8(title));

        using C = MainMenu::Command;
        QTEST(f.item("文件", C::save)->isEnabled(), "saveEnabled");
        QTEST(f.toolbar.saveButton()->isEnabled(), "saveEnabled");
        QCOMPARE(f.item("文件", C::exportPDF)->isEnabled(), documentEnabled);
        QCOMPARE(f.item("编辑", C::find)->isEnabled(), documentEnabled);
        QCOMPARE(f.item("视图", C::toggleEditing)->isEnabled(), documentEnabled);
        QCOMPARE(f.toolbar.exportButton()->isEnabled(), documentEnabled);
        QCOMPARE(f.toolbar.editButton()->isEnabled(), documentEnabled);
        QTEST(f.item("视图", C::toggleEditing)->text(), "editTitle");
        QTEST(f.toolbar.editButton()->toolTip(), "editTitle");
        QCOMPARE(f.item("视图", C::toggleOutline)->isEnabled(), documentEnabled && !editing);
        QTEST(f.item("视图", C::toggleOutline)->text(), "outlineTitle");
        // The outline button and the search control only belong to reading.
        QCOMPARE(f.toolbar.outlineButton()->isVisible(), !editing);
        QCOMPARE(f.toolbar.searchControl()->isVisible(), !editing);
        QVERIFY(f.item("文件", C::open)->isEnabled() && f.toolbar.openButton()->isEnabled());
    }

    // The theme menus of the menu bar and the toolbar carry one check mark, wherever the theme
    // was chosen; the bars take its colours and the choice is stored.
    void oneThemeChecked()
    {
        WindowFixture f;
        QMenu *bar = f.topMenu("主题");
        QMenu *tool = f.toolbar.themeMenu();
        auto checked = [](QMenu *menu) {
            QList<int> marks;
            for (int i = 0; i < menu->actions().size(); ++i) {
                if (menu->actions().at(i)->isChecked())
                    marks << i;
            }
            return marks;
        };
        for (int chosen : {3, 1, 1, 0}) {
            (chosen % 2 ? tool : bar)->actions().at(chosen)->trigger();
            QCOMPARE(int(f.app.model->theme()), chosen);
            f.openMenu("主题");
            QCOMPARE(checked(bar), QList<int>{chosen});
            QCOMPARE(checked(tool), QList<int>{chosen});
            QCOMPARE(f.toolbar.palette().color(QPalette::Window),
                     WindowChrome::sidebar(TarnTheme(chosen)));
        }
        f.app.model->setTheme(TarnTheme::warm);
        QCOMPARE(checked(bar), QList<int>{2});
        QCOMPARE(f.app.settings->value("tarn.theme").toString(), QStringLiteral("warm"));
    }

    // A window made while a theme is stored shows it at once, its tabs too.
    void startsInTheStoredTheme()
    {
        AppHarness app("[General]\ntarn.theme=dark\n");
        app.open({"a.md", "b.md"});
        MainWindow window(*app.model);
        QCOMPARE(window.palette().color(QPalette::Window),
                 WindowChrome::palette(TarnTheme::dark).color(QPalette::Window));
        const QList<TabItem *> items = window.contentView()->tabBar()->tabItems();
        QCOMPARE(items.at(0)->titleLabel()->palette().color(QPalette::WindowText),
                 WindowChrome::secondaryText(TarnTheme::dark));
    }

    void searchControl_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("label");
        QTest::addColumn<bool>("stepEnabled");
        // clang-format off
        QTest::newRow("only spaces and a line break") << "  \n " << 0 << 0 << "" << false;
        QTest::newRow("no hits") << "zebra" << 0 << 0 << "无结果" << false;
        QTest::newRow("hits") << "tarn" << 3 << 12 << "3/12" << true;
        // clang-format on
    }
    void searchControl()
    {
        QFETCH(QString, query);
        QFETCH(int, current);
        QFETCH(int, count);
        WindowFixture f;
        f.app.open({"a.md"});
        ReaderSearchControl *search = f.toolbar.searchControl();
        const int idleWidth = search->width();
        // A line break cannot be typed into the field; such a query comes from the model.
        if (query.contains(u'\n'))
            f.app.model->setSearchQuery(query);
        else
            QTest::keyClicks(search->field(), query);
        QCOMPARE(f.app.model->searchQuery(), query);
        f.app.model->updateSearchResults(current, count);

        QTEST(search->resultLabel()->text(), "label");
        const bool active = !query.trimmed().isEmpty();
        QCOMPARE(search->resultLabel()->isVisible(), active);
        QCOMPARE(search->clearButton()->isVisible(), active);
        QCOMPARE(search->width() > idleWidth, active);
        QTEST(search->nextButton()->isEnabled(), "stepEnabled");
        QTEST(search->previousButton()->isEnabled(), "stepEnabled");
        if (active) {
            search->clearButton()->click();
            QCOMPARE(f.app.model->searchQuery(), QString());
            QCOMPARE(search->field()->text(), QString());
            QCOMPARE(search->width(), idleWidth);
        }
    }

    void searchKeys_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("direction"); // of the navigation request, "" for none
        QTest::addColumn<QString>("queryAfter");
        QTest::addColumn<bool>("consumed");
        // clang-format off
        QTest::newRow("return") << "tarn" << int(Qt::Key_Return) << 0 << "next" << "tarn" << true;
        QTest::newRow("shift+return") << "tarn" << int(Qt::Key_Enter) << int(Qt::ShiftModifier) << "previous" << "tarn" << true;
        QTest::newRow("escape empties") << "tarn" << int(Qt::Key_Escape) << 0 << "" << "" << true;
        QTest::newRow("escape on empty passes on") << "" << int(Qt::Key_Escape) << 0 << "" << "" << false;
        // clang-format on
    }
    void searchKeys()
    {
        QFETCH(QString, query);
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QString, direction);
        WindowFixture f;
        f.app.open({"a.md"});
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

    void alerts()
    {
        WindowFixture f;
        f.app.model->openURLs({QUrl::fromLocalFile(f.app.path("missing.md"))}, false);
        QMessageBox *box = f.view.alertBox();
        QVERIFY(box);
        QTRY_VERIFY(box->isVisible());
        QCOMPARE(box->text(), QStringLiteral("打开失败"));
        QCOMPARE(box->informativeText(), f.app.model->alert()->message);
        box->buttons().first()->click();
        QVERIFY(!f.app.model->alert());
        // A newer alert replaces one still on screen.
        f.app.model->setAlert(AppAlert::make("链接不可用", "one"));
        QPointer<QMessageBox> first = f.view.alertBox();
        f.app.model->setAlert(AppAlert::make("文件不可用", "two"));
        QVERIFY(f.view.alertBox() != first);
        QCOMPARE(f.view.alertBox()->text(), QStringLiteral("文件不可用"));
    }

    void tabStrip()
    {
        WindowFixture f;
        const QString longName = "a very long file name that cannot fit into any tab of it.md";
        f.app.open({"one.md", "two.md", longName});
        TitleTabBar *bar = f.view.tabBar();
        QList<TabItem *> items = bar->tabItems();
        QCOMPARE(items.size(), 3);
        QTRY_COMPARE(items[2]->width(), TabItem::maximumWidth);
        QCOMPARE(items[0]->titleLabel()->displayedText(), QStringLiteral("one"));
        // The title sits between the dot and the close button.
        const QRect title = items[0]->titleLabel()->geometry();
        QVERIFY(title.left() > 0 && title.right() < items[0]->closeButton()->x());
        QVERIFY(items[2]->isSelected());
        QVERIFY(items[2]->titleLabel()->displayedText().contains(QChar(0x2026))); // elided

        QTest::mouseClick(items[0], Qt::LeftButton, {}, QPoint(30, items[0]->height() / 2));
        QCOMPARE(f.app.model->selectedDocument(), items[0]->document());
        QVERIFY(items[0]->isSelected() && !items[2]->isSelected());
        QCOMPARE(f.window.windowTitle(), QStringLiteral("one[*] — Tarn"));
        const TarnTheme theme = f.app.model->theme();
        QCOMPARE(items[0]->titleLabel()->palette().color(QPalette::WindowText),
                 WindowChrome::primaryText(theme));
        QCOMPARE(items[2]->titleLabel()->palette().color(QPalette::WindowText),
                 WindowChrome::secondaryText(theme));

        QVERIFY(!items[0]->dirtyDot()->isVisible());
        makeSelectedDirty(*f.app.model);
        QVERIFY(items[0]->dirtyDot()->isVisible());
        QVERIFY(f.window.isWindowModified());

        // Closing a clean tab asks nothing; the strip follows the model.
        items[1]->closeButton()->click();
        QVERIFY(f.app.platform.alerts.isEmpty());
        QCOMPARE(bar->tabItems().size(), 2);
    }

    void sidebar()
    {
        WindowFixture f;
        const QString base = f.app.dir.path();
        f.app.model->setStoredFiles(
            {stored(base + "/old.md", false, 100), stored(base + "/new.md", false, 300),
             stored(base + "/fav.md", true, 50), stored(base + "/never.md", false, std::nullopt)});
        FileSidebar *sidebar = f.view.sidebar();
        auto names = [sidebar] {
            QStringList result;
            for (StoredFileRow *row : sidebar->rows())
                result << row->file().displayName;
            return result;
        };
        QCOMPARE(names(), (QStringList{"fav.md", "new.md", "old.md"}));
        QTest::keyClicks(sidebar->filterField(), "ne");
        QCOMPARE(f.app.model->fileFilter(), QStringLiteral("ne"));
        QCOMPARE(names(), QStringList{"new.md"});
        f.app.model->setFileFilter(QString());

        // A click opens the file; its row then carries the selection highlight.
        f.app.file("old.md");
        QTest::mouseClick(sidebar->rows()[2], Qt::LeftButton, {}, QPoint(20, 10));
        QCOMPARE(f.app.model->selectedDocument()->url().toLocalFile(), base + "/old.md");
        for (StoredFileRow *row : sidebar->rows())
            QCOMPARE(row->isSelected(), row->file().displayName == QLatin1String("old.md"));

        // The context menu: favourite, reveal, forget.
        auto trigger = [&](const QString &name, int index) {
            for (StoredFileRow *row : sidebar->rows()) {
                if (row->file().displayName == name) {
                    std::unique_ptr<QMenu> menu(row->makeContextMenu(nullptr));
                    menu->actions().at(index)->trigger();
                    return;
                }
            }
            QFAIL("no such row");
        };
        trigger("new.md", 0);
        QCOMPARE(names(), (QStringList{"new.md", "fav.md", "old.md"}));
        QCOMPARE(std::unique_ptr<QMenu>(sidebar->rows()[0]->makeContextMenu(nullptr))
                     ->actions()
                     .at(1)
                     ->text(),
                 QStringLiteral("在文件管理器中显示"));
        trigger("old.md", 1);
        QCOMPARE(f.app.platform.revealedPaths, QStringList{base + "/old.md"});
        trigger("old.md", 2);
        QCOMPARE(names(), (QStringList{"new.md", "fav.md"}));
    }

    // Files dropped anywhere on the window, the reader's web view included, reach openURLs
    // once; drags without local files are not the window's.
    void drops_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("withFiles");
        // clang-format off
        QTest::newRow("reader view") << "reader view" << true;
        QTest::newRow("sidebar") << "sidebar" << true;
        QTest::newRow("editor") << "editor" << true;
        QTest::newRow("web links only") << "editor" << false;
        // clang-format on
    }
    void drops()
    {
        QFETCH(QString, target);
        QFETCH(bool, withFiles);
        WindowFixture f;
        f.app.open({"current.md"});
        QWidget *widget = f.view.sidebar();
        if (target == QLatin1String("editor")) {
            f.app.model->toggleEditing();
            widget = f.view.editorPane()->textView()->viewport();
        }
        makeSelectedDirty(*f.app.model);
        f.app.platform.alertAnswers = {1, 1, 1}; // discard the edit
        if (target == QLatin1String("reader view")) {
            QTRY_VERIFY(f.view.readerPane()->currentView());
            TarnWebView *webView = f.view.readerPane()->currentView();
            widget = webView->focusProxy() ? webView->focusProxy() : webView;
        }
        QList<QUrl> urls{QUrl("https://example.org/remote.md")};
        if (withFiles)
            urls << f.app.file("one.md") << f.app.file("picture.png", "png")
                 << f.app.file("two.txt");
        QMimeData data;
        data.setUrls(urls);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(widget, &enter);
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(widget, &drop);
        QCoreApplication::processEvents();
        if (!withFiles) {
            // Not the window's: a web link dropped on the editor is the editor's text.
            QVERIFY(f.app.model->tabs().first()->draft().contains("https://example.org/remote.md"));
            QCOMPARE(f.app.model->tabs().size(), 1);
            QVERIFY(f.app.platform.alerts.isEmpty());
            return;
        }
        QVERIFY(enter.isAccepted() && drop.isAccepted());
        QTRY_COMPARE(f.app.model->tabs().size(), 3);
        QCOMPARE(f.app.platform.alerts.size(), 1);
        QCOMPARE(f.app.model->tabs().at(2)->fileName(), QStringLiteral("two.txt"));
        QVERIFY(!f.app.model->tabs().first()->draft().contains("file://"));
    }
};

int runWindowTests(int argc, char **argv)
{
    WindowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "WindowTest.moc"
