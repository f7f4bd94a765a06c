// The reader pane and outline on a real model and real files: what is shown, links, reading
// positions, pages kept loaded across tab switches, and the outline's rows.
#include "ReaderTestSupport.h"

#include "OutlinePane.h"
#include "ReaderPane.h"
#include "TarnTheme.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

namespace {

constexpr char guide[] = "# Guide\n\nSaved alpha text.\n\n## Setup\n\nMore alpha.\n\n"
                         "### Details\n\n[other](other.md) [missing](missing.md) "
                         "[web](https://example.com/page) [up](../up.md)\n";

QColor windowColor(TarnRGB rgb)
{
    return QColor::fromRgbF(float(rgb.red), float(rgb.green), float(rgb.blue));
}

} // namespace

class ReaderPaneTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_pane = std::make_unique<PaneHarness>(); }
    void cleanup() { m_pane.reset(); }

    void opensRealDocument()
    {
        const QUrl url = m_pane->file(QStringLiteral("guide.md"), QString::fromUtf8(guide));
        QVERIFY(m_pane->open(url));
        QCOMPARE(m_pane->pane->document(), selected());
        QCOMPARE(m_pane->eval(QStringLiteral("document.title")).toString(), "guide");
        QCOMPARE(
            m_pane->eval(QStringLiteral("document.querySelector('h1').textContent")).toString(),
            "Guide");
        QCOMPARE(m_pane->eval(QStringLiteral("document.baseURI")).toString(),
                 QUrl::fromLocalFile(m_pane->dir.path() + QLatin1Char('/')).toString());
        QCOMPARE(m_pane->view()->page()->backgroundColor().rgb(),
                 windowColor(TarnThemes::backgroundColor(TarnTheme::businessBlue)).rgb());
        QCOMPARE(m_pane->pane->outlinePane()->rows()->count(), 3);
        QVERIFY(m_pane->pane->outlinePane()->isVisible());
        QCOMPARE(m_pane->pane->outlinePane()->width(), OutlinePane::paneWidth);
        m_pane->model->setShowOutline(false);
        QVERIFY(!m_pane->pane->outlinePane()->isVisible());
        m_pane->eval("window.webkit.messageHandlers.tarn.postMessage({type: 'scroll', y: 812.5});");
        QTRY_COMPARE(selected()->scrollY(), 812.5);
        QCOMPARE(m_pane->model->readPositions().value(m_pane->path("guide.md")), 812.5);

        // The page shows the saved text, not the draft.
        selected()->updateDraft(QStringLiteral("# Draft only"));
        m_pane->model->setSearchQuery(QStringLiteral("x")); // any refresh
        QCOMPARE(m_pane->view()->loadCount(), 1);
        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        selected()->setContent(QStringLiteral("# Saved again\n"));
        QVERIFY(ready.wait());
        QCOMPARE(m_pane->eval("document.querySelector('h1').textContent").toString(),
                 "Saved again");
    }

    // A click in the page reaches the model: a Markdown file opens as a tab, a web link goes
    // to the desktop.
    void links()
    {
        m_pane->file(QStringLiteral("up.md"), QStringLiteral("# Up page\n"));
        QVERIFY(QDir(m_pane->dir.path()).mkdir(QStringLiteral("docs")));
        QVERIFY(
            m_pane->open(m_pane->file(QStringLiteral("docs/guide.md"), QString::fromUtf8(guide))));
        m_pane->eval(
            "document.querySelector('a[href=\"https://example.com/page\"]').click(); true;");
        QTRY_COMPARE(m_pane->platform.openedWithDefaultHandler,
                     QList<QUrl>{QUrl("https://example.com/page")});
        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        m_pane->eval("document.querySelector('a[href=\"../up.md\"]').click(); true;");
        QVERIFY(ready.wait());
        QCOMPARE(selected()->fileName(), "up.md");
        QCOMPARE(m_pane->eval("document.querySelector('h1').textContent").toString(), "Up page");
    }

    // The position is restored once the document's images are in: after a theme switch the
    // reader is back on the same text, though a tall image stands above it.
    void positionSurvivesReloadBelowImages()
    {
        QImage tall(300, 3000, QImage::Format_RGB32);
        tall.fill(Qt::gray);
        QVERIFY(tall.save(m_pane->dir.filePath("tall.png")));
        QVERIFY(m_pane->open(
            m_pane->file("img.md", "![tall](tall.png)\n\n" + ReaderTestPages::longDocument(30))));
        m_pane->eval("document.getElementById('part-20').scrollIntoView(); true;");
        QTRY_VERIFY(selected()->scrollY() > 3000);
        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        m_pane->model->setTheme(TarnTheme::warm);
        QVERIFY(ready.wait());
        QTRY_VERIFY(m_pane->eval(ReaderTestPages::headingAtTop("part-20")).toBool());
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
        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        m_pane->model->setTheme(TarnTheme::warm);
        QVERIFY(ready.wait(60000));
        QTRY_VERIFY(m_pane->eval(ReaderTestPages::headingAtTop("part-9000")).toBool());
    }

    void switchingBackKeepsThePage()
    {
        QVERIFY(m_pane->open(
            m_pane->file(QStringLiteral("a.md"), QStringLiteral("# A\n\nalpha alpha"))));
        TarnDocument *a = selected();
        TarnWebView *viewOfA = m_pane->view();
        m_pane->eval(QStringLiteral("window.webkit.messageHandlers.tarn.postMessage("
                                    "{type: 'heading', id: 'a'});"));
        QTRY_COMPARE(m_pane->model->currentHeadingID(), "a");
        QVERIFY(m_pane->open(m_pane->file(QStringLiteral("b.md"), QStringLiteral("# B\n\nalpha"))));
        QVERIFY(m_pane->view() != viewOfA);
        m_pane->model->setSearchQuery(QStringLiteral("alpha"));
        QTRY_COMPARE(m_pane->model->searchResultCount(), 1);

        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        m_pane->model->selectTab(a->id());
        QCOMPARE(m_pane->view(), viewOfA);
        QCOMPARE(viewOfA->loadCount(), 1);
        // The page reports its hits and heading again, though the model forgot them.
        QTRY_COMPARE(m_pane->model->searchResultCount(), 2);
        QTRY_COMPARE(m_pane->model->currentHeadingID(), "a");
        QCOMPARE(ready.size(), 0);
    }

    void keepsFewPagesLoaded()
    {
        QList<TarnDocument *> documents;
        QList<QPointer<TarnWebView>> views;
        for (const QString name : {"1.md", "2.md", "3.md", "4.md"}) {
            QVERIFY(m_pane->open(m_pane->file(name, QStringLiteral("# ") + name)));
            documents.append(selected());
            views.append(m_pane->view());
        }
        QCOMPARE(m_pane->pane->loadedPageCount(), ReaderPane::maximumLoadedPages);
        // The view of the page shown longest ago went, and its web engine memory with it.
        QTRY_VERIFY(!views.at(0));

        m_pane->model->closeTab(documents.at(3));
        QCOMPARE(m_pane->model->tabs().size(), 3);
        QCOMPARE(m_pane->pane->loadedPageCount(), 2);
        // The first page was let go, so showing it loads it again.
        QSignalSpy ready(m_pane->pane.get(), &ReaderPane::pageReady);
        m_pane->model->selectTab(documents.at(0)->id());
        QVERIFY(ready.wait());
        QCOMPARE(m_pane->eval(QStringLiteral("document.title")).toString(), "1");
    }

    // The outline lists the headings, marks the current one, and a click scrolls the page.
    void outline()
    {
        QVERIFY(m_pane->open(
            m_pane->file(QStringLiteral("long.md"), ReaderTestPages::longDocument(30))));
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
        QTRY_VERIFY(
            m_pane->eval(ReaderTestPages::headingAtTop(QStringLiteral("part-25"))).toBool());
        QTRY_VERIFY(rows->item(2)->foreground().color().rgb() != accent.rgb());

        OutlinePane empty(*m_pane->model);
        empty.show();
        empty.setOutline({});
        QVERIFY(!empty.rows()->isVisible());
        QCOMPARE(empty.emptyLabel()->text(), QStringLiteral("没有标题"));
        QVERIFY(empty.emptyLabel()->isVisible());
    }

private:
    TarnDocument *selected() const { return m_pane->model->selectedDocument(); }

    std::unique_ptr<PaneHarness> m_pane;
};

// For developers: TARN_READER_FILE=doc.md [TARN_READER_SHOT=shot.png] tst_reader_view
// developerDocument opens any document in the real pane and reports how it went.
int runReaderPaneTests(int argc, char *argv[])
{
    ReaderPaneTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ReaderPaneTest.moc"
