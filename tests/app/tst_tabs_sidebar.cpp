// The tab strip and the sidebar: what they show in each theme, and what their clicks, keys and
// drags ask of the model.
#include "AppTestSupport.h"
#include "EditorPane.h"
#include "FileSidebar.h"
#include "StoredFileListModel.h"
#include "StoredFileRow.h"
#include "TabItem.h"
#include "TarnEditorTextView.h"
#include "TitleTabBar.h"
#include "TopTabStrip.h"
#include "WindowChrome.h"

#include <QLineEdit>
#include <QListView>
#include <QTest>
#include <QToolButton>
#include <QWheelEvent>

namespace {

// The colour the strip's tab `index` is painted in, at its left edge, over the bar.
QColor tabColour(TopTabStrip *strip, int index)
{
    QWidget *bar = strip->parentWidget()->parentWidget();
    const QRect tab = strip->tabRect(index);
    const QPoint at = strip->mapTo(bar, QPoint(tab.left() + 3, tab.center().y()));
    return QColor(bar->grab().toImage().pixel(at));
}

} // namespace

void AppTest::tabStrip()
{
    WindowFixture f;
    f.open({"one.md", "two.md", "a very long file name that cannot fit into any tab.md"});
    TopTabStrip *strip = f.view.tabBar()->tabStrip();
    QCOMPARE(strip->count(), 3);
    QTRY_COMPARE(strip->tabRect(2).width(), TabItem::maximumWidth);
    QCOMPARE(strip->displayedTitle(0), QStringLiteral("one"));
    QVERIFY(strip->displayedTitle(2).contains(QChar(0x2026))); // elided
    // The title sits between the dot and the close button.
    QVERIFY(strip->dirtyDot(0)->geometry().right() < strip->closeButton(0)->x());
    QCOMPARE(strip->currentIndex(), 2);

    QTest::mouseClick(strip, Qt::LeftButton, {}, strip->tabRect(0).center());
    QCOMPARE(f.model->selectedDocument(), strip->document(0));
    QCOMPARE(strip->currentIndex(), 0);
    const TarnTheme theme = f.model->theme();
    QCOMPARE(strip->tabTextColor(0), WindowChrome::primaryText(theme));
    QCOMPARE(strip->tabTextColor(2), WindowChrome::secondaryText(theme));
    const QColor bar = WindowChrome::sidebar(theme);
    for (const auto &[index, selected] : {std::pair(0, true), std::pair(1, false)}) {
        const QColor expected = WindowChrome::over(TabItem::backgroundColor(theme, selected), bar);
        QCOMPARE(tabColour(strip, index).name(), expected.name());
    }

    QVERIFY(!strip->dirtyDot(0)->isVisible());
    makeSelectedDirty(*f.model);
    QVERIFY(strip->dirtyDot(0)->isVisible());
    f.model->setTheme(TarnTheme::dark);
    f.model->setTheme(theme);
    // Closing a clean tab asks nothing; the strip follows the model.
    strip->closeButton(1)->click();
    QVERIFY(f.platform.alerts.isEmpty());
    QCOMPARE(strip->count(), 2);
}

// Many tabs: the selected one is scrolled into view; Ctrl+Tab and Ctrl+PgDn step on,
// Ctrl+Shift+Tab and Ctrl+PgUp back, around the ends; a dragged tab moves in the model too.
void AppTest::manyTabs()
{
    WindowFixture f;
    QStringList names;
    for (int i = 0; i < 25; ++i)
        names << QStringLiteral("document %1.md").arg(i);
    f.open(names);
    TopTabStrip *strip = f.view.tabBar()->tabStrip();
    auto selectedShown = [&] {
        return strip->rect().contains(strip->tabRect(strip->currentIndex())) &&
               strip->currentIndex() == f.model->tabs().indexOf(f.model->selectedDocument());
    };
    QTRY_VERIFY(selectedShown());
    QVERIFY(strip->tabRect(0).right() < 0); // the first tabs are scrolled away
    // The wheel scrolls the row back; it does not switch documents.
    const int before = strip->tabRect(0).x();
    TarnDocument *shown = f.model->selectedDocument();
    QWheelEvent wheel(QPointF(50, 10), strip->mapToGlobal(QPointF(50, 10)), {}, {0, 120},
                      Qt::NoButton, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(strip, &wheel);
    QVERIFY(strip->tabRect(0).x() > before);
    QCOMPARE(f.model->selectedDocument(), shown);
    f.model->selectTab(f.model->tabs().at(0)->id());
    QTRY_VERIFY(selectedShown());

    f.window.activateWindow();
    QTRY_VERIFY(QApplication::activeWindow() == &f.window);
    auto selected = [&] { return int(f.model->tabs().indexOf(f.model->selectedDocument())); };
    const std::pair<QKeyCombination, int> steps[] = {
        {Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab, 24},
        {Qt::CTRL | Qt::Key_Tab, 0},
        {Qt::CTRL | Qt::Key_PageDown, 1},
        {Qt::CTRL | Qt::Key_PageUp, 0},
        {Qt::CTRL | Qt::Key_PageUp, 24},
    };
    for (const auto &[key, expected] : steps) {
        QTest::keyClick(&f.window, key.key(), key.keyboardModifiers());
        QCOMPARE(selected(), expected);
        QTRY_VERIFY(selectedShown());
    }
    // Also from the editor, which takes most keys.
    f.model->toggleEditing();
    QTRY_VERIFY(f.view.editorPane()->textView()->hasFocus());
    QTest::keyClick(&f.window, Qt::Key_Tab, Qt::ControlModifier);
    QCOMPARE(selected(), 0);
    f.model->selectTab(f.model->tabs().at(24)->id());

    TarnDocument *last = f.model->tabs().at(24);
    strip->moveTab(24, 23); // as a drag ends
    QCOMPARE(f.model->tabs().at(23), last);
    QCOMPARE(f.model->selectedDocument(), last);
    QCOMPARE(strip->document(23), last);
}

void AppTest::sidebar()
{
    WindowFixture f;
    const QString base = f.dir.path() + '/';
    auto stored = [&](const QString &name, bool favorite, std::optional<double> openedAt) {
        return StoredFile{base + name, name, std::nullopt, favorite, openedAt};
    };
    f.model->setStoredFiles({stored("old.md", false, 100), stored("new.md", false, 300),
                             stored("fav.md", true, 50), stored("never.md", false, {})});
    FileSidebar *sidebar = f.view.sidebar();
    QListView *list = sidebar->fileList();
    QCOMPARE(sidebar->width(), FileSidebar::sidebarWidth);
    auto names = [sidebar] {
        QStringList result;
        for (int row = 0; row < sidebar->shownFiles()->rowCount(); ++row)
            result << sidebar->shownFiles()->file(row).displayName;
        return result;
    };
    auto rowOf = [&](const QString &name) {
        return list->visualRect(sidebar->shownFiles()->index(int(names().indexOf(name)), 0));
    };
    QCOMPARE(names(), (QStringList{"fav.md", "new.md", "old.md"}));
    QTest::keyClicks(sidebar->filterField(), "ne");
    QCOMPARE(f.model->fileFilter(), QStringLiteral("ne"));
    QCOMPARE(names(), QStringList{"new.md"});
    f.model->setFileFilter(QString());

    // A click on the star, or a few pixels off it, toggles the favourite and opens nothing.
    auto clickStar = [&](const QString &name, const QPoint &offset) {
        const QRect star = StoredFileRow::starRect(rowOf(name));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, star.center() + offset);
    };
    clickStar("new.md", {});
    QCOMPARE(names(), (QStringList{"new.md", "fav.md", "old.md"}));
    clickStar("new.md", {-11, 0}); // 4 px left of the 14 px star
    QCOMPARE(names(), (QStringList{"fav.md", "new.md", "old.md"}));
    QVERIFY(f.model->tabs().isEmpty());

    // A click elsewhere opens the file; its row then carries the selection highlight.
    f.file("old.md");
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      rowOf("old.md").topLeft() + QPoint(20, 10));
    QCOMPARE(f.model->selectedDocument()->url().toLocalFile(), base + "old.md");
    const QImage painted = sidebar->grab().toImage();
    const TarnTheme theme = f.model->theme();
    const QColor highlight = WindowChrome::over(
        WindowChrome::withAlpha(WindowChrome::accent(theme), 0.16), WindowChrome::sidebar(theme));
    for (const QString &name : names()) {
        const QRect row = rowOf(name);
        const QPoint at =
            list->viewport()->mapTo(sidebar, QPoint(row.left() + 3, row.center().y()));
        const QColor colour(painted.pixel(at));
        const bool highlighted = qAbs(colour.red() - highlight.red()) <= 2 &&
                                 qAbs(colour.green() - highlight.green()) <= 2 &&
                                 qAbs(colour.blue() - highlight.blue()) <= 2;
        QCOMPARE(highlighted, name == QLatin1String("old.md"));
    }

    // The context menu: favourite, reveal, forget.
    auto trigger = [&](const QString &name, int index) {
        const StoredFile file = sidebar->shownFiles()->file(int(names().indexOf(name)));
        std::unique_ptr<QMenu> menu(StoredFileRow::makeContextMenu(*f.model, file, nullptr));
        menu->actions().at(index)->trigger();
        return menu->actions().at(index)->text();
    };
    trigger("new.md", 0);
    QCOMPARE(names(), (QStringList{"new.md", "fav.md", "old.md"}));
    QCOMPARE(trigger("old.md", 1), QStringLiteral("在文件管理器中显示"));
    QCOMPARE(f.platform.revealedPaths, QStringList{base + "old.md"});
    trigger("old.md", 2);
    QCOMPARE(names(), (QStringList{"new.md", "fav.md"}));
}
