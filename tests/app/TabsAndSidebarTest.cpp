// The tab strip and the file sidebar against a real model: order, selection, backgrounds and
// what their clicks and menus ask of the model.
#include "AppTestSupport.h"
#include "ContentView.h"
#include "ElidedLabel.h"
#include "FileSidebar.h"
#include "StoredFileRow.h"
#include "TabItem.h"
#include "TitleTabBar.h"
#include "WindowChrome.h"

#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollArea>
#include <QTest>
#include <QToolButton>

namespace {

StoredFile stored(const QString &path, bool favorite, std::optional<double> lastOpenedAt)
{
    StoredFile file;
    file.path = path;
    file.displayName = path.section(u'/', -1);
    file.isFavorite = favorite;
    file.lastOpenedAt = lastOpenedAt;
    return file;
}

} // namespace

class TabsAndSidebarTest : public QObject
{
    Q_OBJECT

private slots:
    void tabBackgrounds_data();
    void tabBackgrounds();
    void tabStrip();
    void sidebarRows();
    void sidebarContextMenu();
};

void TabsAndSidebarTest::tabBackgrounds_data()
{
    QTest::addColumn<TarnTheme>("theme");
    QTest::addColumn<bool>("selected");
    QTest::addColumn<QColor>("expected");

    const QColor white = Qt::white;
    auto alpha = [](QColor color, double a) {
        color.setAlphaF(float(a));
        return color;
    };
    QTest::newRow("business blue, selected")
        << TarnTheme::businessBlue << true << alpha(white, 0.84);
    QTest::newRow("warm, selected") << TarnTheme::warm << true << alpha(white, 0.84);
    QTest::newRow("dark, selected") << TarnTheme::dark << true << alpha(white, 0.16);
    QTest::newRow("light, unselected")
        << TarnTheme::light << false << alpha(QColor(0, 0, 0), 0.055);
    QTest::newRow("dark, unselected")
        << TarnTheme::dark << false << alpha(QColor(255, 255, 255), 0.055);
}

void TabsAndSidebarTest::tabBackgrounds()
{
    QFETCH(TarnTheme, theme);
    QFETCH(bool, selected);
    QFETCH(QColor, expected);
    WindowFixture f;
    f.app.model->setTheme(theme);
    f.app.open({QStringLiteral("a.md"), QStringLiteral("b.md")});
    const QList<TabItem *> items = f.view.tabBar()->tabItems();
    QCOMPARE(items.size(), 2);
    TabItem *item = selected ? items[1] : items[0];
    QCOMPARE(item->isSelected(), selected);
    const QColor actual = item->backgroundColor();
    QCOMPARE(actual.rgb(), expected.rgb());
    QVERIFY2(qAbs(actual.alphaF() - expected.alphaF()) < 0.005,
             qPrintable(QString::number(actual.alphaF())));
}

void TabsAndSidebarTest::tabStrip()
{
    WindowFixture f;
    const QString longName =
        QStringLiteral("a very long file name that cannot fit into any tab of the strip.md");
    f.app.open({QStringLiteral("one.md"), QStringLiteral("two.md"), longName});
    TitleTabBar *bar = f.view.tabBar();
    QVERIFY(!bar->emptyCaption()->isVisible());
    QVERIFY(bar->scrollArea()->isVisible());
    QList<TabItem *> items = bar->tabItems();
    QCOMPARE(items.size(), 3);
    QTRY_COMPARE(items[2]->width(), TabItem::maximumWidth);
    QCOMPARE(items[0]->titleLabel()->displayedText(), QStringLiteral("one"));
    QCOMPARE(items[1]->titleLabel()->displayedText(), QStringLiteral("two"));
    QVERIFY(items[2]->isSelected());
    QVERIFY(items[2]->titleLabel()->displayedText().contains(QChar(0x2026))); // elided
    QCOMPARE(items[0]->closeButton()->toolTip(), QStringLiteral("关闭标签页"));
    QCOMPARE(f.window.windowTitle(),
             QStringLiteral("%1[*] — Tarn").arg(items[2]->document()->title()));

    QTest::mouseClick(items[0], Qt::LeftButton, {}, QPoint(30, items[0]->height() / 2));
    QCOMPARE(f.app.model->selectedDocument(), items[0]->document());
    QVERIFY(items[0]->isSelected() && !items[2]->isSelected());
    QCOMPARE(f.window.windowTitle(), QStringLiteral("one[*] — Tarn"));

    QVERIFY(!items[0]->dirtyDot()->isVisible());
    makeSelectedDirty(*f.app.model);
    QVERIFY(items[0]->dirtyDot()->isVisible());
    QCOMPARE(items[0]->dirtyDot()->size(), QSize(TabItem::dotSize, TabItem::dotSize));
    QVERIFY(f.window.isWindowModified());

    // Closing a clean tab asks nothing; the strip follows the model.
    items[1]->closeButton()->click();
    QVERIFY(f.app.platform.alerts.isEmpty());
    QCOMPARE(f.app.model->tabs().size(), 2);
    items = bar->tabItems();
    QCOMPARE(items.size(), 2);
    QCOMPARE(items[1]->titleLabel()->text().left(6), QStringLiteral("a very"));
    QVERIFY(bar->tabItems().first()->x() < bar->tabItems().last()->x());
}

void TabsAndSidebarTest::sidebarRows()
{
    WindowFixture f;
    const QString base = f.app.dir.path();
    f.app.model->setStoredFiles({stored(base + QStringLiteral("/old.md"), false, 100),
                                 stored(base + QStringLiteral("/new.md"), false, 300),
                                 stored(base + QStringLiteral("/fav.md"), true, 50),
                                 stored(base + QStringLiteral("/never.md"), false, std::nullopt)});
    FileSidebar *sidebar = f.view.sidebar();
    auto names = [sidebar] {
        QStringList result;
        for (StoredFileRow *row : sidebar->rows())
            result << row->file().displayName;
        return result;
    };
    QStringList expected;
    for (const StoredFile &file : f.app.model->filteredStoredFiles())
        expected << file.displayName;
    QCOMPARE(names(), expected);
    QCOMPARE(names(), (QStringList{QStringLiteral("fav.md"), QStringLiteral("new.md"),
                                   QStringLiteral("old.md")}));
    QVERIFY(!sidebar->rows()[0]->starLabel()->toolTip().isEmpty()); // the favourite's star

    QTest::keyClicks(sidebar->filterField(), QStringLiteral("ne"));
    QCOMPARE(f.app.model->fileFilter(), QStringLiteral("ne"));
    QCOMPARE(names(), QStringList{QStringLiteral("new.md")});
    sidebar->filterField()->clear();
    f.app.model->setFileFilter(QString());
    QCOMPARE(names().size(), 3);

    // A click opens the file; its row then carries the selection highlight.
    f.app.file(QStringLiteral("old.md"));
    StoredFileRow *row = sidebar->rows()[2];
    QTest::mouseClick(row, Qt::LeftButton, {}, QPoint(20, 10));
    QVERIFY(f.app.model->selectedDocument());
    QCOMPARE(f.app.model->selectedDocument()->url().toLocalFile(),
             base + QStringLiteral("/old.md"));
    for (StoredFileRow *candidate : sidebar->rows()) {
        const bool isOld = candidate->file().displayName == QLatin1String("old.md");
        QCOMPARE(candidate->isSelected(), isOld);
        if (isOld) {
            QColor accent = WindowChrome::accent(f.app.model->theme());
            accent.setAlphaF(0.16f);
            QCOMPARE(candidate->backgroundColor(), accent);
        }
    }
}

void TabsAndSidebarTest::sidebarContextMenu()
{
    WindowFixture f;
    const QString path = f.app.dir.filePath(QStringLiteral("note.md"));
    f.app.model->setStoredFiles({stored(path, false, 10)});
    auto menuTitles = [&f] {
        QStringList titles;
        std::unique_ptr<QMenu> menu(f.view.sidebar()->rows().first()->makeContextMenu(nullptr));
        for (QAction *action : menu->actions())
            titles << action->text();
        return titles;
    };
    QCOMPARE(menuTitles(), (QStringList{QStringLiteral("收藏"), QStringLiteral("在访达中显示"),
                                        QStringLiteral("从最近记录移除")}));

    auto trigger = [&f](int index) {
        std::unique_ptr<QMenu> menu(f.view.sidebar()->rows().first()->makeContextMenu(nullptr));
        menu->actions().at(index)->trigger();
    };
    trigger(0);
    QVERIFY(f.app.model->storedFiles().first().isFavorite);
    QCOMPARE(menuTitles().first(), QStringLiteral("取消收藏"));
    trigger(1);
    QCOMPARE(f.app.platform.revealedPaths, QStringList{path});
    trigger(2);
    // The favourite stays in the library; only its date is forgotten.
    QCOMPARE(f.view.sidebar()->rows().size(), f.app.model->filteredStoredFiles().size());
}

int runTabsAndSidebarTests(int argc, char **argv)
{
    TabsAndSidebarTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "TabsAndSidebarTest.moc"
