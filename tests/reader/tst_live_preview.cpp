// The split view's preview page: drafts reach it in place, as the reader would render them,
// and nothing in a draft runs script on the way in.
#include "FragmentBlocks.h"
#include "LivePreview.h"
#include "ReaderTestSupport.h"
#include "TarnDocument.h"
#include "TarnWebView.h"

#include <QSignalSpy>
#include <QTest>
#include <QWidget>

namespace {

QStringView htmlOf(const MarkdownRenderer::Fragment &fragment)
{
    return QStringView(reinterpret_cast<const QChar *>(fragment.html.data()),
                       qsizetype(fragment.html.size()));
}

} // namespace

class LivePreviewTest : public QObject
{
    Q_OBJECT

private slots:
    void draftsArriveInPlace_data()
    {
        QTest::addColumn<MarkdownFlavor>("flavor");
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("shown"); // text the page shows afterwards
        const auto both = [](const char *name, const QString &before, const QString &after,
                             const QString &shown) {
            QTest::addRow("classic %s", name)
                << MarkdownFlavor::classic << before << after << shown;
            QTest::addRow("gfm %s", name) << MarkdownFlavor::gfm << before << after << shown;
        };
        const QString blocks = QStringLiteral(
            "# Title\n\nOne 1 < 2 & two\n\n- a\n- b\n\n| x | y |\n|---|---|\n| 1 | 2 |\n\n"
            "```js\nif (a < b) {}\n```\n\n---\n\nlast\n");
        both("a paragraph changed", blocks, QString(blocks).replace("two", "three"),
             "One 1 < 2 & three");
        both("a block inserted", blocks, QString(blocks).replace("last", "new\n\nlast"), "new");
        both("blocks removed", blocks, QStringLiteral("# Title\n\nlast\n"), "last");
        both("script in the draft", blocks,
             blocks + QStringLiteral("\n<img src=x onerror=\"window.pwned=1\">"
                                     "<script>window.pwned=1</script>\n\n"
                                     "<a href=\"javascript:window.pwned=1\">go</a>\n"),
             "go");
        QTest::addRow("gfm raw HTML and math")
            << MarkdownFlavor::gfm << blocks + QStringLiteral("\n$z$\n")
            << blocks + QStringLiteral("\n<details><summary>more</summary>\n\ninner\n\n"
                                       "</details>\n\n$x^2$ and $$y$$\n")
            << "inner";
    }

    void draftsArriveInPlace()
    {
        QFETCH(MarkdownFlavor, flavor);
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, shown);
        TarnDocument document(QUrl(), before);
        document.setDraft(before);
        QWidget window;
        window.resize(800, 600);
        LivePreview preview(&window);
        preview.view()->resize(800, 600);
        window.show();
        int updates = 0;
        connect(&preview, &LivePreview::updated, this, [&updates] { ++updates; });
        preview.show(&document, flavor, TarnTheme::businessBlue);
        QTRY_VERIFY_WITH_TIMEOUT(updates == 1, 30000);
        QWebEnginePage *page = preview.view()->page();
        const int loads = preview.view()->loadCount();

        document.updateDraft(after);
        QTRY_VERIFY_WITH_TIMEOUT(updates == 2, 10000);
        QCOMPARE(preview.view()->loadCount(), loads);
        QVERIFY(evaluateAndWait(page, "document.querySelector('main').textContent")
                    .toString()
                    .contains(shown));
        QCOMPARE(evaluateAndWait(page, "typeof window.pwned").toString(),
                 QStringLiteral("undefined"));
        if (flavor == MarkdownFlavor::gfm) {
            // Changed blocks are drawn again, unchanged ones keep their drawing.
            QTRY_VERIFY(evaluateAndWait(page, "Array.from(document.querySelectorAll("
                                              "'.math-inline, .math-display, pre > code'))"
                                              ".every((e) => e.querySelector('.katex') || "
                                              "e.classList.contains('hljs'))")
                            .toBool());
        }
        // The page holds the blocks the host counts, each with the line it starts on.
        const auto fragment = MarkdownRenderer::renderFragment(after.toStdU16String(), flavor);
        QCOMPARE(evaluateAndWait(page, "document.querySelector('main').children.length").toInt(),
                 int(FragmentBlocks::split(htmlOf(fragment)).size()));
        QStringList lines;
        for (const std::size_t line : fragment.blockLines)
            lines << QString::number(line);
        QCOMPARE(evaluateAndWait(page, "Array.from(document.querySelectorAll('main > "
                                       "[data-source-line]'), (b) => b.dataset.sourceLine)"
                                       ".join(',')")
                     .toString(),
                 lines.join(u','));
    }

    // The preview's page takes the theme's appearance, as the reading page does.
    void darkThemeReachesThePage()
    {
        TarnDocument document(QUrl(), QStringLiteral("# Dark\n"));
        QWidget window;
        LivePreview preview(&window);
        window.show();
        QSignalSpy updated(&preview, &LivePreview::updated);
        preview.show(&document, MarkdownFlavor::classic, TarnTheme::dark);
        QTRY_VERIFY_WITH_TIMEOUT(updated.count() == 1, 30000);
        QCOMPARE(
            evaluateAndWait(preview.view()->page(), "document.documentElement.style.colorScheme")
                .toString(),
            QStringLiteral("dark"));
    }
};

TARN_WEB_TEST(LivePreviewTest);

#include "tst_live_preview.moc"
