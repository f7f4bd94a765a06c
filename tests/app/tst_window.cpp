// The main window against a real model: what the bars and content area show, and what their
// controls, the menu's enable rules and dropped files ask of the model.
#include "AppTestSupport.h"
#include "EditorPane.h"
#include "EmptyTarnState.h"
#include "FileSidebar.h"
#include "ReaderPane.h"
#include "ReaderSearchControl.h"
#include "TarnEditorTextView.h"
#include "TarnIcons.h"
#include "TarnWebView.h"
#include "TitleTabBar.h"
#include "TopTabStrip.h"
#include "WindowChrome.h"

#include <QLabel>
#include <QListView>
#include <QMessageBox>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>
#include <QWebEnginePage>

namespace {

// Documents open, editing, dirty, outline shown; then save enabled, the document commands
// (export, find, edit) enabled, the edit and the outline item's titles.
using EnableRow = std::tuple<int, bool, bool, bool, bool, bool, QString, QString>;

} // namespace

// The content area follows the selection and the editing mode, and what it shows takes the
// keys; containers that show nothing to act on are no Tab stops.
void AppTest::contentArea()
{
    WindowFixture f;
    QVERIFY(f.view.tabBar()->emptyCaption()->isVisible());
    QCOMPARE(f.view.currentContent(), f.view.emptyState());
    QCOMPARE(f.window.windowTitle(), QStringLiteral("Tarn"));
    QVERIFY(!TarnIcons::applicationIcon().isNull()); // embedded, so also found when installed

    f.open({"a.md", "b.md"});
    QCOMPARE(f.view.currentContent(), f.view.readerPane());
    QTRY_VERIFY(f.view.readerPane()->currentView() &&
                f.view.readerPane()->currentView()->focusProxy());
    QWidget *page = f.view.readerPane()->currentView()->focusProxy();
    QTRY_COMPARE(f.window.focusWidget(), page);
    f.model->toggleEditing();
    QCOMPARE(f.view.currentContent(), f.view.editorPane());
    QCOMPARE(f.view.editorPane()->document(), f.model->selectedDocument());
    QCOMPARE(f.window.focusWidget(), f.view.editorPane()->textView());
    f.model->toggleEditing();
    QCOMPARE(f.view.currentContent(), f.view.readerPane());
    QCOMPARE(f.window.focusWidget(), page);
    QCOMPARE(f.view.tabBar()->tabStrip()->focusPolicy(), Qt::NoFocus);
    QCOMPARE(f.view.sidebar()->fileList()->focusPolicy(), Qt::NoFocus);

    for (TarnDocument *document : f.model->tabs())
        f.model->closeTab(document);
    QCOMPARE(f.view.currentContent(), f.view.emptyState());
}

// Ctrl+E keeps the place: the editor opens with the first block on screen at its top, and
// reading comes back at the last heading at or above the editor's top line. Each kind of block
// is one element of the page, so the page's blocks and the source's agree.
void AppTest::editingKeepsThePlace()
{
    WindowFixture f;
    const int introBlocks = 5;
    const int introLines = 15;
    QString text =
        "> 引用\n\n- 列表\n- 二\n\n| a | b |\n|---|---|\n| 1 | 2 |\n\n```\ncode\n```\n\n---\n\n";
    for (const char *section : {"一", "二", "三", "四", "五", "六"}) {
        text += QStringLiteral("## 第%1节\n\n").arg(QString::fromUtf8(section));
        for (int line = 0; line < 40; ++line)
            text += QStringLiteral("段落 %1\n\n").arg(line);
    }
    QSignalSpy ready(f.view.readerPane(), &ReaderPane::pageReady);
    f.model->openURLs({f.file("long.md", text)}, false);
    QTRY_COMPARE_WITH_TIMEOUT(ready.count(), 1, 10000);
    const int sectionLines = 2 + 80;
    // The 18th paragraph of the third section.
    const int block = introBlocks + 2 * 41 + 1 + 17;
    QWebEnginePage *page = f.view.readerPane()->currentView()->page();
    page->runJavaScript(
        QStringLiteral("document.querySelector('main').children[%1].scrollIntoView()").arg(block));
    TarnDocument *document = f.model->selectedDocument();
    QTRY_COMPARE_WITH_TIMEOUT(f.model->readingBlock(document), block, 10000);
    f.item(C::toggleEditing)->trigger();
    EditorPane *editor = f.view.editorPane();
    QCOMPARE(f.view.currentContent(), editor);
    QCOMPARE(editor->topLine(), introLines + 2 * sectionLines + 2 + 2 * 17);
    QCOMPARE(editor->textView()->textCursor().block().text(), "段落 17");

    // Scrolled up into the second section, by the scroll bar as a wheel would.
    QScrollBar *bar = editor->textView()->verticalScrollBar();
    bar->setValue(bar->value() - sectionLines);
    QCOMPARE(f.model->editorTopLine(), introLines + sectionLines + 2 + 2 * 17);
    f.item(C::toggleEditing)->trigger();
    QCOMPARE(f.view.currentContent(), f.view.readerPane());
    QVERIFY(headingAtTop(f.view.readerPane()->currentView(), QStringLiteral("第二节")));
}

// One table for the toolbar's and the menu's enable rules and titles.
void AppTest::enableRules_data()
{
    QTest::addColumn<EnableRow>("row");
    // clang-format off
    QTest::newRow("nothing open") << EnableRow{0, false, false, false, false, false, "编辑 Markdown", "显示目录"};
    QTest::newRow("reading, outline shown") << EnableRow{1, false, false, true, false, true, "编辑 Markdown", "隐藏目录"};
    QTest::newRow("editing, clean") << EnableRow{1, true, false, true, false, true, "返回阅读", "隐藏目录"};
    QTest::newRow("editing, dirty") << EnableRow{2, true, true, false, true, true, "返回阅读", "显示目录"};
    // clang-format on
}
void AppTest::enableRules()
{
    QFETCH(EnableRow, row);
    const auto &[documents, editing, dirty, outline, saveEnabled, enabled, editTitle,
                 outlineTitle] = row;
    WindowFixture f;
    f.open(QStringList{"a.md", "b.md"}.mid(0, documents));
    f.model->setShowOutline(outline);
    if (editing)
        f.model->toggleEditing();
    if (dirty)
        makeSelectedDirty(*f.model);

    QCOMPARE(f.item(C::save)->isEnabled(), saveEnabled);
    QCOMPARE(f.toolbar.saveButton()->isEnabled(), saveEnabled);
    for (QAction *item : {f.item(C::exportPDF), f.item(C::find), f.item(C::toggleEditing)})
        QCOMPARE(item->isEnabled(), enabled);
    for (QToolButton *button :
         {f.toolbar.exportButton(), f.toolbar.editButton(), f.toolbar.outlineButton()})
        QCOMPARE(button->isEnabled(), enabled);
    QCOMPARE(f.item(C::toggleEditing)->text(), editTitle);
    QCOMPARE(f.toolbar.editButton()->toolTip(), editTitle);
    QCOMPARE(f.item(C::toggleOutline)->isEnabled(), enabled && !editing);
    QCOMPARE(f.item(C::toggleOutline)->text(), outlineTitle);
    // The outline button and the search control only belong to reading.
    QCOMPARE(f.toolbar.outlineButton()->isVisible(), !editing);
    QCOMPARE(f.toolbar.searchControl()->isVisible(), !editing);
    QVERIFY(f.item(C::open)->isEnabled() && f.toolbar.openButton()->isEnabled());
    // The title bar marks unsaved changes.
    QCOMPARE(f.window.isWindowModified(), dirty);
}

// A window made while a theme is stored shows it at once, tabs opened later too. The theme
// menus of the menu bar and the toolbar carry one check mark, wherever the theme was chosen,
// also when the current one is chosen again; the bars take its colours.
void AppTest::themes()
{
    WindowFixture f("[General]\ntarn.theme=dark\n");
    QCOMPARE(f.window.palette().color(QPalette::Window),
             WindowChrome::palette(TarnTheme::dark).color(QPalette::Window));
    f.open({"a.md", "b.md"});
    QCOMPARE(f.view.tabBar()->tabStrip()->tabTextColor(0),
             WindowChrome::secondaryText(TarnTheme::dark));

    QMenu *bar = f.topMenu("themeMenu");
    QMenu *tool = f.toolbar.themeMenu();
    auto checked = [](QMenu *menu) { // "x" for a checked item, "-" for the others
        QString marks;
        for (QAction *action : menu->actions())
            marks += action->isChecked() ? u'x' : u'-';
        return marks;
    };
    for (const auto &[menu, chosen] : std::initializer_list<std::pair<QMenu *, int>>{
             {tool, 3}, {tool, 3}, {bar, 1}, {bar, 1}, {tool, 0}}) {
        menu->actions().at(chosen)->trigger();
        QCOMPARE(int(f.model->theme()), chosen);
        QCOMPARE(checked(bar), QString("----").replace(chosen, 1, u'x'));
        QCOMPARE(checked(tool), QString("----").replace(chosen, 1, u'x'));
        QCOMPARE(f.toolbar.palette().color(QPalette::Window),
                 WindowChrome::sidebar(TarnTheme(chosen)));
    }
    f.model->setTheme(TarnTheme::warm);
    QCOMPARE(checked(bar), QStringLiteral("--x-"));
    QCOMPARE(checked(tool), QStringLiteral("--x-"));

    // A hovered toolbar button, the ones with menus too, is painted in the current theme's
    // colours, not in those it was first shown with (a white square on the dark bar).
    for (const TarnTheme theme : {TarnTheme::warm, TarnTheme::dark}) {
        f.model->setTheme(theme);
        for (QToolButton *button :
             {f.toolbar.exportButton(), f.toolbar.themeButton(), f.toolbar.openButton()}) {
            button->setAttribute(Qt::WA_UnderMouse, true);
            const QImage image = f.toolbar.grab(button->geometry()).toImage();
            button->setAttribute(Qt::WA_UnderMouse, false);
            const QColor panel = image.pixelColor(4, image.height() / 2); // beside the icon
            QCOMPARE(panel.lightnessF() < 0.5, WindowChrome::isDark(theme));
        }
    }

    // So is the reader page's own scroll bar.
    QString sections;
    for (int i = 1; i <= 100; ++i)
        sections += QStringLiteral("## Part %1\n\ntext\n\n").arg(i);
    QSignalSpy ready(f.view.readerPane(), &ReaderPane::pageReady);
    f.model->openURLs({f.file("long.md", sections)}, true);
    for (const TarnTheme theme : {TarnTheme::dark, TarnTheme::warm}) {
        f.model->setTheme(theme);
        QVERIFY(ready.wait(30000));
        TarnWebView *page = f.view.readerPane()->currentView();
        auto scrollBar = [page] {
            const QImage image = page->grab().toImage();
            return image.pixelColor(image.width() - 5, image.height() / 2);
        };
        const QRgb background = WindowChrome::background(theme).rgb();
        QTRY_VERIFY(scrollBar().rgb() != background && // the page is in
                    (scrollBar().lightnessF() < 0.5) == WindowChrome::isDark(theme));
    }
}

// Chinese text in the editor is as heavy in the dark theme as in a light one, as Latin text is.
void AppTest::chineseTextWeight()
{
    WindowFixture f;
    f.open({"weight.md"});
    f.model->toggleEditing();
    TarnEditorTextView *text = f.view.editorPane()->textView();
    text->setPlainText("中文字体粗细测试，这是一段用于检查的中文文字。");
    // How much of the line is ink: each pixel's share of the way from background to text colour.
    auto ink = [&](TarnTheme theme) {
        f.model->setTheme(theme);
        const QImage image = text->viewport()->grab().toImage();
        const double background =
            image.pixelColor(image.width() - 2, image.height() - 2).lightnessF();
        const QColor pen = text->palette().color(QPalette::Text);
        const double full = WindowChrome::over(pen, WindowChrome::background(theme)).lightnessF();
        double sum = 0;
        for (int y = 0; y < 60; ++y) {
            for (int x = 0; x < image.width(); ++x)
                sum += (image.pixelColor(x, y).lightnessF() - background) / (full - background);
        }
        return sum;
    };
    const double light = ink(TarnTheme::businessBlue);
    const double dark = ink(TarnTheme::dark);
    QVERIFY2(light > 500 && qAbs(dark / light - 1) < 0.05,
             qPrintable(QString::number(dark / light)));
}

// The search control follows the model's query and hits; Return steps on, Shift+Return
// back; Escape empties the query, and on an empty field it is the window's.
void AppTest::searchControl()
{
    WindowFixture f;
    f.open({"a.md"});
    ReaderSearchControl *search = f.toolbar.searchControl();
    SearchTextField *field = search->field();
    const int idleWidth = search->width();
    auto shows = [&](const QString &label, bool active, bool canStep) {
        QCOMPARE(search->resultLabel()->text(), label);
        QCOMPARE(search->resultLabel()->isVisible(), active);
        QCOMPARE(search->clearButton()->isVisible(), active);
        QCOMPARE(search->width() > idleWidth, active);
        QCOMPARE(search->nextButton()->isEnabled(), canStep);
        QCOMPARE(search->previousButton()->isEnabled(), canStep);
    };
    auto press = [&](int key, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(field, &event);
        return event.isAccepted();
    };
    auto direction = [&] { return rawValue(f.model->searchNavigationRequest().value().direction); };

    // A line break cannot be typed into the field; such a query comes from the model.
    f.model->setSearchQuery("  \n ");
    shows("", false, false);
    f.model->setSearchQuery(QString());
    QTest::keyClicks(field, "zebra");
    QCOMPARE(f.model->searchQuery(), QStringLiteral("zebra"));
    shows("", true, false); // no count until the page reports on "zebra"
    f.model->updateSearchResults(0, 0);
    shows("无结果", true, false);
    f.model->updateSearchResults(3, 12);
    shows("3/12", true, true);
    search->clearButton()->click();
    QCOMPARE(f.model->searchQuery(), QString());
    QCOMPARE(field->text(), QString());
    QCOMPARE(search->width(), idleWidth);

    QTest::keyClicks(field, "tarn");
    f.model->updateSearchResults(1, 4); // stepping needs hits
    QVERIFY(press(Qt::Key_Return));
    QCOMPARE(direction(), QStringLiteral("next"));
    QVERIFY(press(Qt::Key_Enter, Qt::ShiftModifier));
    QCOMPARE(direction(), QStringLiteral("previous"));
    QCOMPARE(field->text(), QStringLiteral("tarn"));
    QVERIFY(press(Qt::Key_Escape));
    QCOMPARE(f.model->searchQuery(), QString());
    QCOMPARE(field->text(), QString());
    QVERIFY(!press(Qt::Key_Escape));
}

void AppTest::alerts()
{
    WindowFixture f;
    f.model->openURLs({QUrl::fromLocalFile(f.path("missing.md"))}, false);
    QMessageBox *box = f.view.alertBox();
    QVERIFY(box);
    QTRY_VERIFY(box->isVisible());
    QCOMPARE(box->text(), QStringLiteral("打开失败"));
    QCOMPARE(box->informativeText(), f.model->alert()->message);
    box->buttons().first()->click();
    QVERIFY(!f.model->alert());
    // A newer alert replaces one still on screen.
    f.model->setAlert(AppAlert::make("链接不可用", "one"));
    QPointer<QMessageBox> first = f.view.alertBox();
    f.model->setAlert(AppAlert::make("文件不可用", "two"));
    QVERIFY(f.view.alertBox() != first);
    QCOMPARE(f.view.alertBox()->text(), QStringLiteral("文件不可用"));
}

// Files dropped anywhere on the window, the reader's web view included, reach openURLs
// once; drags without local files are not the window's: the editor takes a web link as text.
void AppTest::drops()
{
    WindowFixture f;
    f.open({"current.md"});
    const QUrl link("https://example.org/remote.md");
    auto dropOn = [&](QWidget *widget, const QList<QUrl> &urls) {
        QMimeData data;
        data.setUrls(urls);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(widget, &enter);
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(widget, &drop);
        QCoreApplication::processEvents();
        return enter.isAccepted() && drop.isAccepted();
    };
    QTRY_VERIFY(f.view.readerPane()->currentView());
    TarnWebView *page = f.view.readerPane()->currentView();
    QVERIFY(dropOn(page->focusProxy() ? page->focusProxy() : page, {link, f.file("one.md")}));
    QTRY_COMPARE(f.model->tabs().size(), 2);

    f.model->toggleEditing();
    QWidget *editor = f.view.editorPane()->textView()->viewport();
    dropOn(editor, {link});
    QVERIFY(f.model->selectedDocument()->draft().contains(link.toString()));
    QCOMPARE(f.model->tabs().size(), 2);
    f.platform.alertAnswers = {0}; // save the edit, which holds no file's address
    QVERIFY(dropOn(editor, {link, f.file("picture.png", "png"), f.file("two.txt")}));
    QTRY_COMPARE(f.model->tabs().size(), 3);
    QCOMPARE(f.platform.alerts.size(), 1);
    QCOMPARE(f.model->tabs().at(2)->fileName(), QStringLiteral("two.txt"));
    QVERIFY(!f.model->tabs().at(1)->draft().contains("file://"));
}
