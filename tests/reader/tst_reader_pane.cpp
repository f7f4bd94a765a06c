// The reader pane and outline on a real model and real files: what is shown, links, reading
// positions, pages kept loaded across tab switches, and the outline's rows.
#include "ReaderTestSupport.h"

#include "ModelFixture.h"
#include "OutlinePane.h"
#include "ReaderPane.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QPointer>

using namespace ReaderTestPages;

namespace {

// True when the heading with this id sits at the top of the view, as far as its margin allows.
QString headingAtTop(const QString &id)
{
    return QStringLiteral("(() => { const heading = document.getElementById('%1');"
                          "  const margin = parseFloat(getComputedStyle(heading).scrollMarginTop);"
                          "  return Math.abs(heading.getBoundingClientRect().top - margin) < 2;"
                          "})()")
        .arg(id);
}

QRgb windowColor(TarnRGB rgb)
{
    return QColor::fromRgbF(float(rgb.red), float(rgb.green), float(rgb.blue)).rgb();
}

} // namespace

// A real model on files in a temporary folder, and a reader pane showing it.
struct PaneFixture : ModelFixture
{
    PaneFixture()
    {
        pane.resize(1100, 700);
        pane.show();
    }
    ReaderPane pane{*model}; // destroyed before the model it shows
};

class ReaderPaneTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PaneFixture> m_fixture;

    AppModel *model() const { return m_fixture->model.get(); }
    ReaderPane *pane() const { return &m_fixture->pane; }
    TarnDocument *selected() const { return model()->selectedDocument(); }
    QVariant eval(const QString &script)
    {
        return evaluateAndWait(pane()->currentView()->page(), script);
    }
    QUrl file(const QString &name, const QByteArray &text)
    {
        QFile out(m_fixture->dir.filePath(name));
        const bool written = out.open(QIODevice::WriteOnly) && out.write(text) == text.size();
        return written ? QUrl::fromLocalFile(out.fileName()) : QUrl();
    }
    // Waits for the pane's next page to be ready after `change`.
    bool reloads(const std::function<void()> &change, int timeoutMs = 30000)
    {
        QSignalSpy ready(pane(), &ReaderPane::pageReady);
        change();
        return ready.wait(timeoutMs);
    }
    bool open(const QString &name, const QByteArray &text, int timeoutMs = 30000)
    {
        const QUrl url = file(name, text);
        return reloads([&] { model()->openURLs({url}, true); }, timeoutMs);
    }

private slots:
    void init() { m_fixture = std::make_unique<PaneFixture>(); }
    void cleanup() { m_fixture.reset(); }

    // The document's page in the theme's colour; clicks reach the model (a web link goes to the
    // desktop, a Markdown file opens); the page shows the saved text, not the draft.
    void showsSavedTextAndOpensLinks()
    {
        file("up.md", "# Up page\n");
        QVERIFY(QDir(m_fixture->dir.path()).mkdir("docs"));
        QVERIFY(open("docs/guide.md", "# Guide\n\n## Setup\n\n### More\n\n"
                                      "[web](https://example.com/page) [up](../up.md)"));
        QCOMPARE(eval("document.title").toString(), "guide");
        QCOMPARE(eval("document.baseURI").toString(),
                 QUrl::fromLocalFile(m_fixture->dir.filePath("docs/")).toString());
        QCOMPARE(pane()->currentView()->page()->backgroundColor().rgb(),
                 windowColor(TarnThemes::backgroundColor(TarnTheme::businessBlue)));
        OutlinePane *outline = pane()->outlinePane();
        QCOMPARE(outline->rows()->count(), 3);
        QVERIFY(outline->isVisible());
        QCOMPARE(outline->width(), OutlinePane::paneWidth);
        model()->setShowOutline(false);
        QVERIFY(!outline->isVisible());

        eval("document.links[0].click()");
        QTRY_COMPARE(m_fixture->platform.openedWithDefaultHandler,
                     QList<QUrl>{QUrl("https://example.com/page")});
        QVERIFY(reloads([this] { eval("document.links[1].click()"); }));
        QCOMPARE(selected()->fileName(), "up.md");

        selected()->updateDraft(QStringLiteral("# Draft only"));
        model()->setSearchQuery(QStringLiteral("x")); // any refresh
        QCOMPARE(pane()->currentView()->loadCount(), 1);
        QCOMPARE(eval("document.querySelector('h1').textContent").toString(), "Up page");
        QVERIFY(reloads([this] { selected()->setContent(QStringLiteral("# Saved again\n")); }));
        QCOMPARE(eval("document.querySelector('h1').textContent").toString(), "Saved again");
    }

    // A link into another file's heading opens that file at the heading, not at its top.
    void linkIntoAnotherFilesHeading()
    {
        file("long.md", (longDocument(20) + "## 目标锚点\n\n" + longDocument(20)).toUtf8());
        QVERIFY(open("index.md", "[long](long.md#目标锚点)\n"));
        QVERIFY(reloads([this] { eval("document.links[0].click()"); }));
        QCOMPARE(selected()->fileName(), "long.md");
        QTRY_VERIFY(eval(headingAtTop("目标锚点")).toBool());
        QVERIFY(!model()->scrollTargetID().has_value());
    }

    // The outline lists the headings, marks the current one, and a click scrolls the page; the
    // position reached is restored once the images are in, though a tall one stands above.
    void outlineAndPositionBelowATallImage()
    {
        QImage tall(300, 3000, QImage::Format_RGB32);
        tall.fill(Qt::gray);
        QVERIFY(tall.save(m_fixture->dir.filePath("tall.png")));
        QVERIFY(open("img.md", "![tall](tall.png)\n\n" + longDocument(30).toUtf8()));
        QListWidget *rows = pane()->outlinePane()->rows();
        QCOMPARE(rows->count(), 31);
        QCOMPARE(rows->item(25)->text(), "Part 25");
        const QRgb accent = windowColor(TarnThemes::accentColor(model()->theme()));
        auto marked = [rows](int row) { return rows->item(row)->foreground().color().rgb(); };
        model()->setCurrentHeadingID(QStringLiteral("part-2"));
        QCOMPARE(marked(2), accent);
        QVERIFY(marked(1) != accent);
        rows->scrollToItem(rows->item(25));
        QTest::mouseClick(rows->viewport(), Qt::LeftButton, {},
                          rows->visualItemRect(rows->item(25)).center());
        QTRY_VERIFY(!model()->scrollTargetID().has_value());
        QTRY_VERIFY(eval(headingAtTop("part-25")).toBool());
        eval("window.scrollBy(0, -100)"); // still above the reading line: the outline keeps it
        QTRY_COMPARE(marked(25), accent);
        QVERIFY(marked(2) != accent);

        QTRY_VERIFY(selected()->scrollY() > 3000 &&
                    selected()->scrollY() == eval("window.scrollY").toDouble());
        const QString top("document.getElementById('part-25').getBoundingClientRect().top");
        const double before = eval(top).toDouble();
        QVERIFY(reloads([this] { model()->setTheme(TarnTheme::warm); }));
        QTRY_VERIFY(qAbs(eval(top).toDouble() - before) < 1);
    }

    // A 5 MB page is laid out only near the screen, yet a jump, the search and a remembered
    // position land where they would on the page laid out whole.
    void bigPageKeepsPositionsExact()
    {
        QVERIFY(QImage(4, 3, QImage::Format_RGB32).save(m_fixture->dir.filePath("dot.png")));
        QString markdown = QStringLiteral("# Big\n\n![dot](dot.png)\n\n");
        for (int i = 1; markdown.size() < 5'000'000; ++i) {
            // Blocks of many heights, so that sizes guessed before layout are mostly wrong.
            markdown += QStringLiteral("## Part %1\n\n").arg(i) +
                        QStringLiteral("Words of part %1. ").arg(i).repeated(1 + i % 23) +
                        (i % 6000 == 0 ? QStringLiteral("\n\nzeta") : QString()) +
                        QStringLiteral("\n\n- one\n- two\n").repeated(i % 3) + u'\n';
        }
        QVERIFY(open("big.md", markdown.toUtf8(), 60000));
        QCOMPARE(eval("document.images[0].naturalWidth").toInt(), 4);

        // A jump reports the position the heading has on the page laid out whole: scrolling on
        // from there lays out what the jump passed by, and the heading stays where it was.
        auto jumpTo = [this](const char *id) {
            model()->setScrollTargetID(QString::fromLatin1(id));
            QTRY_VERIFY_WITH_TIMEOUT(eval(headingAtTop(id)).toBool(), 20000);
            QTRY_COMPARE_WITH_TIMEOUT(eval("window.scrollY").toDouble(), selected()->scrollY(),
                                      20000);
        };
        jumpTo("part-16000");
        const double reported = selected()->scrollY();
        QVERIFY(reported > 1'000'000);
        eval("window.scrollBy(0, -100)"); // still above the reading line
        QTRY_COMPARE(model()->currentHeadingID(), "part-16000");
        QTRY_COMPARE(selected()->scrollY(), reported - 100);

        model()->setSearchQuery(QStringLiteral("zeta"));
        QTRY_COMPARE(model()->searchResultCount(), 3);
        for (int step = 0; step < 3; ++step) {
            const QString shown = "(({ top, bottom }) => top >= 0 && bottom <= innerHeight)("
                                  "document.querySelector('.tarn-search-current')"
                                  ".getBoundingClientRect())";
            QTRY_VERIFY_WITH_TIMEOUT(eval(shown).toBool(), 20000);
            model()->navigateSearch(SearchNavigationDirection::next);
        }

        // A new page (here after a theme switch) lands on the same heading.
        model()->setSearchQuery({});
        jumpTo("part-9000");
        QVERIFY(reloads([this] { model()->setTheme(TarnTheme::warm); }, 60000));
        QTRY_VERIFY(eval(headingAtTop("part-9000")).toBool());
    }

    // On a long page laid out lazily, the current heading is the section at the top of the
    // page after a jump from the outline, an in-page link or a search hit, and after a theme
    // switch brings the reader back to where it was.
    void currentHeadingFollowsJumps()
    {
        const QString markdown = longDocument(120)
                                     .replace("## Part 3\n\n", "## Part 3\n\n[on](#part-40)\n\n")
                                     .replace("## Part 91\n\n", "needle\n\n## Part 91\n\n");
        QVERIFY(open("long.md", markdown.toUtf8()));
        QTRY_COMPARE(model()->currentHeadingID(), "part-1");
        model()->scrollToHeading(QStringLiteral("part-100"));
        QTRY_COMPARE(model()->currentHeadingID(), "part-100");
        model()->scrollToHeading(QStringLiteral("part-3"));
        QTRY_COMPARE(model()->currentHeadingID(), "part-3");
        eval("document.querySelector('a[href=\"#part-40\"]').click()");
        QTRY_COMPARE(model()->currentHeadingID(), "part-40");
        model()->setSearchQuery(QStringLiteral("needle"));
        QTRY_COMPARE(model()->currentHeadingID(), "part-90");

        model()->setSearchQuery({});
        QTRY_VERIFY(selected()->scrollY() > 0 &&
                    selected()->scrollY() == eval("window.scrollY").toDouble());
        QVERIFY(reloads([this] { model()->setTheme(TarnTheme::dark); }));
        QTRY_COMPARE(model()->currentHeadingID(), "part-90");
        QCOMPARE(pane()->outlinePane()->rows()->item(90)->foreground().color().rgb(),
                 windowColor(TarnThemes::accentColor(TarnTheme::dark)));
    }

    // A page shown again is the one kept loaded and reports its hits and heading again, which the
    // model forgot; only the pages shown last stay loaded. The first has no headings, as it says.
    // A long document renders on a worker thread: its page and outline arrive when the render
    // is done, with what the model asks for by then, whatever happened meanwhile.
    void longDocumentRendersInTheBackground_data()
    {
        QTest::addColumn<QString>("meanwhile");
        QTest::newRow("nothing") << "nothing";
        QTest::newRow("theme changed") << "theme";
        QTest::newRow("switched away and back") << "switch";
        QTest::newRow("closed") << "close";
    }
    void longDocumentRendersInTheBackground()
    {
        QFETCH(QString, meanwhile);
        QVERIFY(open("small.md", "# Small"));
        TarnDocument *small = selected();
        QByteArray markdown;
        for (int i = 0; markdown.size() < 600'000; ++i)
            markdown += "## Part " + QByteArray::number(i) + "\n\n" +
                        QByteArray("Words of a long document. ").repeated(20) + "\n\n";
        QSignalSpy ready(pane(), &ReaderPane::pageReady);
        model()->openURLs({file("long.md", markdown)}, true);
        TarnDocument *long_ = selected();
        // Not rendered yet, and the outline does not claim there are no headings.
        QCOMPARE(pane()->outlinePane()->rows()->count(), 0);
        QVERIFY(!pane()->outlinePane()->emptyLabel()->isVisibleTo(pane()));
        if (meanwhile == "theme") {
            model()->setTheme(TarnTheme::dark);
        } else if (meanwhile == "switch") {
            model()->selectTab(small->id());
            QCOMPARE(pane()->document(), small);
            model()->selectTab(long_->id());
        } else if (meanwhile == "close") {
            model()->closeTab(long_);
            QTRY_COMPARE(pane()->loadedPageCount(), 1);
            QCOMPARE(pane()->document(), small);
            QVERIFY(reloads([&] { model()->setTheme(TarnTheme::warm); }));
            QCOMPARE(pane()->currentView()->lastHTML(),
                     QString::fromStdU16String(
                         MarkdownRenderer::render(u"# Small", TarnTheme::warm, u"small").html));
            return;
        }
        QTRY_VERIFY_WITH_TIMEOUT(ready.contains({QVariant::fromValue(long_)}), 30000);
        QCOMPARE(pane()->document(), long_);
        const QString text = QString::fromUtf8(markdown);
        const RenderedMarkdown expected =
            MarkdownRenderer::render(text.toStdU16String(), model()->theme(), u"long");
        QCOMPARE(pane()->currentView()->lastHTML(), QString::fromStdU16String(expected.html));
        QCOMPARE(pane()->outlinePane()->rows()->count(), int(expected.toc.size()));
    }

    void keepsRecentPagesLoaded()
    {
        QVERIFY(open("a.md", "alpha alpha"));
        OutlinePane *outline = pane()->outlinePane();
        QVERIFY(outline->emptyLabel()->isVisible() && !outline->rows()->isVisible());
        QCOMPARE(outline->emptyLabel()->text(), "没有标题");
        TarnDocument *a = selected();
        TarnWebView *viewOfA = pane()->currentView();
        eval("webkit.messageHandlers.tarn.postMessage({type: 'heading', id: 'a'})");
        QTRY_COMPARE(model()->currentHeadingID(), "a");
        QVERIFY(open("b.md", "# B\n\nalpha"));
        TarnDocument *b = selected();
        const QPointer<TarnWebView> viewOfB = pane()->currentView();
        model()->setSearchQuery(QStringLiteral("alpha"));
        QTRY_COMPARE(model()->searchResultCount(), 1);
        QSignalSpy ready(pane(), &ReaderPane::pageReady);
        model()->selectTab(a->id());
        QCOMPARE(pane()->currentView(), viewOfA);
        QCOMPARE(viewOfA->loadCount(), 1);
        QTRY_COMPARE(model()->searchResultCount(), 2);
        QTRY_COMPARE(model()->currentHeadingID(), "a");
        QCOMPARE(ready.size(), 0);

        // The view of the page shown longest ago goes, and its web engine memory with it.
        QVERIFY(open("c.md", "# C"));
        QVERIFY(open("d.md", "# D"));
        QCOMPARE(pane()->loadedPageCount(), ReaderPane::maximumLoadedPages);
        QTRY_VERIFY(!viewOfB);
        model()->closeTab(selected());
        QCOMPARE(pane()->loadedPageCount(), 2);
        QCOMPARE(pane()->document(), selected());
        QVERIFY(reloads([&] { model()->selectTab(b->id()); }));
        QCOMPARE(eval("document.title").toString(), "b");
    }
};

TARN_WEB_TEST(ReaderPaneTest);
#include "tst_reader_pane.moc"
