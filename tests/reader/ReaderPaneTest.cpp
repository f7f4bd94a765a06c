// The reader pane and outline on a real model and real files: what is shown, links, reading
// positions, pages kept loaded across tab switches, and the outline's rows.
#include "ReaderTestSupport.h"

#include "OutlinePane.h"
#include "ReaderPane.h"

#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QSignalSpy>

namespace {

QColor windowColor(TarnRGB rgb)
{
    return QColor::fromRgbF(float(rgb.red), float(rgb.green), float(rgb.blue));
}

} // namespace

class ReaderPaneTest : public QObject
{
    Q_OBJECT

    TarnDocument *selected() const { return m_pane->model->selectedDocument(); }
    // Waits for the next page of the pane to be ready after `change`.
    template<typename Change> bool reloads(Change change, int timeoutMs = 30000)
    {
        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        change();
        return ready.wait(timeoutMs);
    }

    std::unique_ptr<PaneHarness> m_pane;

private slots:
    void init() { m_pane = std::make_unique<PaneHarness>(); }
    void cleanup() { m_pane.reset(); }

    // The page shows the saved text, not the draft, in the theme's colour; a click in it reaches
    // the model: a Markdown file opens as a tab, a web link goes to the desktop.
    void showsSavedTextAndOpensLinks()
    {
        m_pane->file("up.md", "# Up page\n");
        QVERIFY(QDir(m_pane->dir.path()).mkdir("docs"));
        QVERIFY(m_pane->open(m_pane->file(
            "docs/guide.md",
            "# Guide\n\n## Setup\n\n### More\n\n[web](https://example.com/page) [up](../up.md)")));
        QCOMPARE(m_pane->pane->document(), selected());
        QCOMPARE(m_pane->eval("document.title").toString(), "guide");
        QCOMPARE(m_pane->eval("document.baseURI").toString(),
                 QUrl::fromLocalFile(m_pane->dir.path() + "/docs/").toString());
        QCOMPARE(m_pane->view()->page()->backgroundColor().rgb(),
                 windowColor(TarnThemes::backgroundColor(TarnTheme::businessBlue)).rgb());
        OutlinePane *outline = m_pane->pane->outlinePane();
        QCOMPARE(outline->rows()->count(), 3);
        QVERIFY(outline->isVisible());
        QCOMPARE(outline->width(), OutlinePane::paneWidth);
        m_pane->model->setShowOutline(false);
        QVERIFY(!outline->isVisible());

        m_pane->eval("document.querySelector('a[href^=\"https\"]').click(); true;");
        QTRY_COMPARE(m_pane->platform.openedWithDefaultHandler,
                     QList<QUrl>{QUrl("https://example.com/page")});
        QVERIFY(reloads([this] {
            m_pane->eval("document.querySelector('a[href=\"../up.md\"]').click(); true;");
        }));
        QCOMPARE(selected()->fileName(), "up.md");

        selected()->updateDraft(QStringLiteral("# Draft only"));
        m_pane->model->setSearchQuery(QStringLiteral("x")); // any refresh
        QCOMPARE(m_pane->view()->loadCount(), 1);
        QCOMPARE(m_pane->eval("document.querySelector('h1').textContent").toString(), "Up page");
        QVERIFY(reloads([this] { selected()->setContent(QStringLiteral("# Saved again\n")); }));
        QCOMPARE(m_pane->eval("document.querySelector('h1').textContent").toString(),
                 "Saved again");
    }

    // The outline lists the headings, marks the current one, and a click scrolls the page; the
    // position it reached is restored once the images are in, though a tall one stands above.
    void outlineAndPositionBelowATallImage()
    {
        QImage tall(300, 3000, QImage::Format_RGB32);
        tall.fill(Qt::gray);
        QVERIFY(tall.save(m_pane->dir.filePath("tall.png")));
        QVERIFY(m_pane->open(
            m_pane->file("img.md", "![tall](tall.png)\n\n" + ReaderTestPages::longDocument(30))));
        QListWidget *rows = m_pane->pane->outlinePane()->rows();
        QCOMPARE(rows->count(), 31);
        QListWidgetItem *part25 = rows->item(25);
        QCOMPARE(part25->text(), "Part 25");
        const QColor accent = windowColor(TarnThemes::accentColor(m_pane->model->theme()));
        m_pane->model->setCurrentHeadingID(QStringLiteral("part-2"));
        QCOMPARE(rows->item(2)->foreground().color().rgb(), accent.rgb());
        QVERIFY(rows->item(1)->foreground().color().rgb() != accent.rgb());
        rows->scrollToItem(part25);
        QTest::mouseClick(rows->viewport(), Qt::LeftButton, {},
                          rows->visualItemRect(part25).center());
        QTRY_VERIFY(!m_pane->model->scrollTargetID().has_value());
        QTRY_VERIFY(m_pane->eval(ReaderTestPages::headingAtTop("part-25")).toBool());
        // Into the reading band: the outline follows the page.
        m_pane->eval("window.scrollBy(0, -100); true;");
        QTRY_COMPARE(rows->item(25)->foreground().color().rgb(), accent.rgb());
        QVERIFY(rows->item(2)->foreground().color().rgb() != accent.rgb());

        QTRY_VERIFY(selected()->scrollY() > 3000 &&
                    selected()->scrollY() == m_pane->eval("window.scrollY").toDouble());
        const QString top("document.getElementById('part-25').getBoundingClientRect().top");
        const double before = m_pane->eval(top).toDouble();
        QVERIFY(reloads([this] { m_pane->model->setTheme(TarnTheme::warm); }));
        QTRY_VERIFY(qAbs(m_pane->eval(top).toDouble() - before) < 1);

        OutlinePane empty(*m_pane->model);
        empty.show();
        empty.setOutline({});
        QVERIFY(!empty.rows()->isVisible());
        QCOMPARE(empty.emptyLabel()->text(), QStringLiteral("没有标题"));
        QVERIFY(empty.emptyLabel()->isVisible());
    }

    // A 5 MB page is laid out only near the screen, yet a jump, the search and a remembered
    // position land where they would on the page laid out whole.
    void bigPageKeepsPositionsExact()
    {
        QImage dot(4, 3, QImage::Format_RGB32);
        QVERIFY(dot.save(m_pane->dir.filePath("dot.png")));
        QString markdown = QStringLiteral("# Big\n\n![dot](dot.png)\n\n");
        for (int i = 1; markdown.size() < 5'000'000; ++i) {
            // Blocks of many heights, so that sizes guessed before layout are mostly wrong.
            markdown += QStringLiteral("## Part %1\n\n").arg(i) +
                        QStringLiteral("Words of part %1. ").arg(i).repeated(1 + i % 23) +
                        (i % 6000 == 0 ? QStringLiteral("\n\nzeta") : QString()) +
                        QStringLiteral("\n\n- one\n- two\n").repeated(i % 3) + u'\n';
        }
        QVERIFY(m_pane->open(m_pane->file("big.md", markdown), 60000));
        QCOMPARE(m_pane->eval("document.images[0].naturalWidth").toInt(), 4);

        // A jump reports the position the heading has on the page laid out whole: scrolling on
        // from there lays out what the jump passed by, and the heading stays where it was.
        auto jumpTo = [this](const char *id) {
            m_pane->model->setScrollTargetID(QString::fromLatin1(id));
            QTRY_VERIFY_WITH_TIMEOUT(m_pane->eval(ReaderTestPages::headingAtTop(id)).toBool(),
                                     20000);
            QTRY_COMPARE_WITH_TIMEOUT(m_pane->eval("window.scrollY").toDouble(),
                                      selected()->scrollY(), 20000);
        };
        jumpTo("part-16000");
        const double reported = selected()->scrollY();
        QVERIFY(reported > 1'000'000);
        m_pane->eval("window.scrollBy(0, -100); true;"); // into the reading band
        QTRY_COMPARE(m_pane->model->currentHeadingID(), "part-16000");
        QTRY_COMPARE(selected()->scrollY(), reported - 100);

        m_pane->model->setSearchQuery(QStringLiteral("zeta"));
        QTRY_COMPARE(m_pane->model->searchResultCount(), 3);
        const QString currentHitShown =
            "(() => { const box = document.querySelector('.tarn-search-current')"
            "  .getBoundingClientRect(); return box.top >= 0 && box.bottom <= innerHeight; })()";
        for (int step = 0; step < 3; ++step) {
            QTRY_VERIFY_WITH_TIMEOUT(m_pane->eval(currentHitShown).toBool(), 20000);
            m_pane->model->navigateSearch(SearchNavigationDirection::next);
        }

        // A new page (here after a theme switch) lands on the same heading.
        m_pane->model->setSearchQuery({});
        jumpTo("part-9000");
        QVERIFY(reloads([this] { m_pane->model->setTheme(TarnTheme::warm); }, 60000));
        QTRY_VERIFY(m_pane->eval(ReaderTestPages::headingAtTop("part-9000")).toBool());
    }

    // A page shown again is the one kept loaded, reporting its hits and heading again; only the
    // few pages shown last stay loaded.
    void keepsRecentPagesLoaded()
    {
        QVERIFY(m_pane->open(m_pane->file("a.md", "# A\n\nalpha alpha")));
        TarnDocument *a = selected();
        TarnWebView *viewOfA = m_pane->view();
        m_pane->eval("window.webkit.messageHandlers.tarn.postMessage({type: 'heading', id: 'a'});");
        QTRY_COMPARE(m_pane->model->currentHeadingID(), "a");
        QVERIFY(m_pane->open(m_pane->file("b.md", "# B\n\nalpha")));
        TarnDocument *b = selected();
        const QPointer<TarnWebView> viewOfB = m_pane->view();
        QVERIFY(viewOfB != viewOfA);
        m_pane->model->setSearchQuery(QStringLiteral("alpha"));
        QTRY_COMPARE(m_pane->model->searchResultCount(), 1);

        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        m_pane->model->selectTab(a->id());
        QCOMPARE(m_pane->view(), viewOfA);
        QCOMPARE(viewOfA->loadCount(), 1);
        // The model forgot both when the tab changed.
        QTRY_COMPARE(m_pane->model->searchResultCount(), 2);
        QTRY_COMPARE(m_pane->model->currentHeadingID(), "a");
        QCOMPARE(ready.size(), 0);

        // The view of the page shown longest ago goes, and its web engine memory with it.
        QVERIFY(m_pane->open(m_pane->file("c.md", "# C")));
        QVERIFY(m_pane->open(m_pane->file("d.md", "# D")));
        QCOMPARE(m_pane->pane->loadedPageCount(), ReaderPane::maximumLoadedPages);
        QTRY_VERIFY(!viewOfB);
        m_pane->model->closeTab(selected());
        QCOMPARE(m_pane->pane->loadedPageCount(), 2);
        QVERIFY(reloads([&] { m_pane->model->selectTab(b->id()); }));
        QCOMPARE(m_pane->eval("document.title").toString(), "b");
    }
};

TARN_WEB_TEST(ReaderPaneTest);
#include "ReaderPaneTest.moc"
