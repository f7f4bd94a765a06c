// Exported HTML written into another folder: its relative images and links still reach their
// files, and nothing else in the page changes.
#include "ModelTestSupport.h"

#include "ExportedPage.h"
#include "MarkdownRenderer.h"

#include <QDir>
#include <QRegularExpression>

// Markdown, the output folder, the address expected in the exported page ("" = the page is
// unchanged), the document's folder when it is not /home/u/notes.
using MoveRow = std::tuple<QString, QString, QString, QString>;

namespace {

QString page(const QString &markdown)
{
    return QString::fromStdU16String(MarkdownRenderer::render(markdown.toStdU16String()).html);
}

} // namespace

class TestExportedPage : public QObject
{
    Q_OBJECT

private slots:
    void addressesResolveFromTheOutput_data()
    {
        QTest::addColumn<MoveRow>("row");
        // clang-format off
        QTest::newRow("image, sibling folder") << MoveRow{"![a](img/red.png)", "/home/u/out", "../notes/img/red.png", ""};
        QTest::newRow("query and fragment kept") << MoveRow{"[x](other.md?v=1&w=2#part)", "/home/u/out", "../notes/other.md?v=1&amp;amp;w=2#part", ""};
        QTest::newRow("up and back collapse") << MoveRow{"![a](../shared/a.png)", "/home/u/out", "../shared/a.png", ""};
        QTest::newRow("dot segments") << MoveRow{"![a](./img/../img/%2e/a.png)", "/home/u/out", "../notes/img/a.png", ""};
        QTest::newRow("output inside") << MoveRow{"![a](img/red.png)", "/home/u/notes/site/html", "../../img/red.png", ""};
        QTest::newRow("output above") << MoveRow{"![a](img/red.png)", "/home", "u/notes/img/red.png", ""};
        QTest::newRow("above the root stays at the root") << MoveRow{"![a](../../../../x.png)", "/home/u/out", "../../../x.png", ""};
        QTest::newRow("folder link keeps its slash") << MoveRow{"[f](sub/)", "/home/u/out", "../notes/sub/", ""};
        QTest::newRow("parent folder") << MoveRow{"[f](..)", "/home/u/out", "../", ""};
        QTest::newRow("backslash is a slash") << MoveRow{"![a](img\\red.png)", "/home/u/out", "../notes/img/red.png", ""};
        QTest::newRow("encoded once, never twice") << MoveRow{"![a](my%20pics/图.png)", "/srv", "../home/u/notes/my%20pics/%E5%9B%BE.png", ""};
        QTest::newRow("folder names encoded") << MoveRow{"![a](a.png)", "/home/u/out", "../my%20%231%20%E6%96%87%E6%A1%A3/a.png", "/home/u/my #1 文档"};
        QTest::newRow("a quote stays in the value") << MoveRow{"![a](x\"onerror=\"alert.png)", "/home/u/out", "../notes/x%22onerror=%22alert.png", ""};
        QTest::newRow("tags in the description") << MoveRow{"![`src=\"x.png\"` <b>](c.png)", "/home/u/out", "../notes/c.png", ""};
        QTest::newRow("fragment only") << MoveRow{"[h](#top)", "/home/u/out", "", ""};
        QTest::newRow("query only") << MoveRow{"[h](?x=1)", "/home/u/out", "", ""};
        QTest::newRow("web") << MoveRow{"![a](https://e.com/a.png)", "/home/u/out", "", ""};
        QTest::newRow("absolute path") << MoveRow{"![a](/srv/a.png)", "/home/u/out", "", ""};
        QTest::newRow("protocol-relative with backslashes") << MoveRow{"![a](\\\\cdn.example/a.png)", "/home/u/out", "", ""};
        QTest::newRow("script address") << MoveRow{"[x](javascript:alert(1))", "/home/u/out", "", ""};
        QTest::newRow("same folder") << MoveRow{"![a](img/red.png) [x](../b.md)", "/home/u/./notes/", "", ""};
        // clang-format on
    }
    void addressesResolveFromTheOutput()
    {
        QFETCH(MoveRow, row);
        const auto &[markdown, outputFolder, expected, documentFolder] = row;
        const QString original = page("# T\n\n" + markdown + "\n\n`x src=\"keep.png\"`\n");
        QString wanted = original;
        if (!expected.isEmpty()) {
            static const QRegularExpression address(" (src|href)=\"([^\"]*)\"");
            const QRegularExpressionMatch match = address.match(original);
            wanted.replace(match.capturedStart(2), match.capturedLength(2), expected);
        }
        const QString folder = documentFolder.isEmpty() ? "/home/u/notes" : documentFolder;
        QCOMPARE(ExportedPage::relocated(original, folder, outputFolder), wanted);
    }

    // Raw HTML in the standard flavour: every candidate of a srcset list moves.
    void sourceSetsResolveFromTheOutput()
    {
        const QString markdown =
            "<picture><source srcset=\"a.webp\"><img src=\"b.png\" "
            "srcset=\"b.png 1x, hi/b.png 2x,https://e.com/c.png 3x\"></picture>\n";
        const QString original = QString::fromStdU16String(
            MarkdownRenderer::render(markdown.toStdU16String(), TarnTheme::businessBlue, u"T",
                                     MarkdownFlavor::gfm)
                .html);
        const QString moved = ExportedPage::relocated(original, "/home/u/notes", "/home/u/out");
        QVERIFY(moved.contains("srcset=\"../notes/a.webp\""));
        QVERIFY(moved.contains(
            "srcset=\"../notes/b.png 1x, ../notes/hi/b.png 2x,https://e.com/c.png 3x\""));
    }

    // The window's export writes the same page: moved for another folder, as is for its own.
    void windowExportMovesAddresses()
    {
        ModelHarness h;
        QVERIFY(QDir(h.dir.path()).mkpath("notes/out"));
        h.model->openURLs({h.file("notes/doc.md", "![a](img/red.png)\n")}, false);
        for (const QString name : {"notes/same.html", "notes/out/moved.html"}) {
            h.platform.savePanelAnswers = {h.url(name)};
            h.model->exportSelectedDocumentAsHTML();
        }
        QVERIFY(readFile(h.path("notes/same.html")).contains("src=\"img/red.png\""));
        QVERIFY(readFile(h.path("notes/out/moved.html")).contains("src=\"../img/red.png\""));
    }
};

MODEL_TEST_RUNNER(TestExportedPage)

#include "tst_exported_page.moc"
