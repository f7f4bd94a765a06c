// PDF export in the real web engine, checked with poppler's pdfinfo, pdftotext and pdftoppm.
#include "ReaderTestSupport.h"
#include "TarnPDFExporter.h"
#include "TarnUsageLogger.h"
#include "UsageLogReader.h"

#include <QFileInfo>
#include <QImage>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cmath>
#include <csignal>

using namespace ReaderTestPages;

namespace {

QString run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(30000) ? QString::fromUtf8(process.readAllStandardOutput()) : "";
}

struct PdfWord
{
    QString text;
    QRectF box; // in points, from the page's top left
};
struct PdfPage
{
    QSizeF size; // in points
    QList<PdfWord> words;
    QString text() const
    {
        QStringList all;
        for (const PdfWord &word : words)
            all << word.text;
        return all.join(u' ');
    }
    // Whether every word lies on the page, none cut off at an edge.
    bool holdsItsWords() const
    {
        return std::all_of(words.begin(), words.end(), [this](const PdfWord &word) {
            return QRectF(QPointF(), size).adjusted(-0.5, -0.5, 0.5, 0.5).contains(word.box);
        });
    }
};

// Every page of the PDF at `path` with its words where pdftotext finds them.
QList<PdfPage> pdfPages(const QString &path)
{
    static const QRegularExpression page(R"re(<page width="([\d.]+)" height="([\d.]+)">)re");
    static const QRegularExpression word(R"re(<word xMin="(-?[\d.]+)" yMin="(-?[\d.]+)" )re"
                                         R"re(xMax="(-?[\d.]+)" yMax="(-?[\d.]+)">(.*)</word>)re");
    QList<PdfPage> pages;
    for (const QString &line : run("pdftotext", {"-bbox", path, "-"}).split(u'\n')) {
        if (const auto match = page.match(line); match.hasMatch())
            pages.append({{match.captured(1).toDouble(), match.captured(2).toDouble()}, {}});
        else if (const auto found = word.match(line); found.hasMatch() && !pages.isEmpty())
            pages.last().words.append(
                {found.captured(5),
                 QRectF(QPointF(found.captured(1).toDouble(), found.captured(2).toDouble()),
                        QPointF(found.captured(3).toDouble(), found.captured(4).toDouble()))});
    }
    return pages;
}

// Whether `size` (points) is the reader's 900 CSS pixels wide, as the engine rounds it.
bool isReaderWidth(QSizeF size)
{
    return std::abs(size.width() - 900 * 0.75) < 0.5;
}

// Whether `size` is a page of the reader's width, printed for `height` CSS pixels.
bool isPageOf(QSizeF size, double height)
{
    return isReaderWidth(size) && std::abs(size.width() / size.height() -
                                           900 * 0.75 / (std::ceil(height * 0.75) + 1)) < 1e-3;
}

// The tallest page that PDF viewers and printers take, in points.
constexpr double tallestPage = 14400;

// script, event, error (empty: none logged)
using ProblemRow = std::tuple<QString, QString, QString>;
// page text, pages expected, their height in CSS pixels
using HeightRow = std::tuple<QString, int, double>;

} // namespace

class ReaderPdfTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    TarnUsageLogger m_logger{m_folder.filePath(QStringLiteral("logs"))};
    qsizetype m_logSeen = 0;
    qsizetype m_completions = 0; // of the last export

    QObject m_exports; // the exporters' owner

    // Exports a page based in the test folder and waits until the export is over.
    PdfExportResult exportPdf(const QString &html, const QUrl &output,
                              TarnPDFExporter::Deadlines deadlines = {})
    {
        auto done = std::make_shared<QList<PdfExportResult>>();
        TarnPDFExporter::exportPdf(
            html, QUrl::fromLocalFile(m_folder.path() + u'/'), output,
            [done](const PdfExportResult &result) { done->append(result); }, &m_logger, &m_exports,
            deadlines);
        waitUntil([&] { return !done->isEmpty() && m_exports.children().isEmpty(); }, 60000);
        m_completions = done->size();
        return done->value(0, {false, QStringLiteral("not completed")});
    }
    // The usage-log lines written since the last call.
    QList<LogLine> newLogLines()
    {
        m_logger.flush();
        const QList<LogLine> lines = readUsageLog(m_logger.logFilePath());
        const QList<LogLine> added = lines.mid(m_logSeen);
        m_logSeen = lines.size();
        return added;
    }

private slots:
    // A document taller than the tallest PDF page is split between its blocks into as few pages
    // as it takes, and shows as the reader does: images in place before it is measured (else
    // the end is cut off), diagrams drawn, the theme's background, the last line.
    void longDocumentInPagesBetweenBlocks()
    {
        QImage tall(300, 2400, QImage::Format_RGB32);
        tall.fill(Qt::darkGreen);
        QVERIFY(tall.save(m_folder.filePath("tall.png")));
        QString markdown = "# Long\n\nFirst line.\n\n![tall](tall.png)\n\n![tall](tall.png)\n\n"
                           "```mermaid\ngraph TD\n  Alpha --> Omega\n```\n\n";
        for (int i = 0; i < 300; ++i)
            markdown +=
                QStringLiteral("Paragraph %1 ").arg(i) +
                QStringLiteral("with enough words to wrap over several lines. ").repeated(12) +
                QStringLiteral("end %1.\n\n").arg(i);
        // A table taller than a page, broken between its rows.
        markdown += "| Row | Cell |\n|---|---|\n";
        for (int i = 0; i < 500; ++i)
            markdown += QStringLiteral("| row %1 | cell %1 |\n").arg(i);
        markdown += "\nThe very last line.";
        const QString path = m_folder.filePath("long.pdf");
        const PdfExportResult result =
            exportPdf(render(markdown, TarnTheme::dark), QUrl::fromLocalFile(path));
        QVERIFY2(result.ok, qPrintable(result.errorString));

        const QList<PdfPage> pages = pdfPages(path);
        QVERIFY(pages.size() > 3);
        QHash<QString, QList<qsizetype>> blockPages; // "p7", "r7" → the pages their text is on
        static const QRegularExpression marker("\\b(Paragraph|end|row|cell) (\\d+)\\b");
        for (qsizetype i = 0; i < pages.size(); ++i) {
            const PdfPage &page = pages[i];
            QVERIFY(isReaderWidth(page.size) && page.size.height() <= tallestPage);
            QVERIFY2(page.holdsItsWords(), qPrintable(QString::number(i)));
            // Each page but the last is full: the next block would not have fit on it.
            double bottom = 0;
            for (const PdfWord &word : page.words)
                bottom = std::max(bottom, word.box.bottom());
            QVERIFY2(i == pages.size() - 1 || bottom > tallestPage - 600,
                     qPrintable(QString::number(bottom)));
            const QString text = page.text();
            for (const auto &match : marker.globalMatch(text))
                blockPages[(match.captured(1) == "row" || match.captured(1) == "cell" ? "r" : "p") +
                           match.captured(2)]
                    .append(i);
            QCOMPARE(text.contains("Alpha"), text.contains("Omega"));
        }
        QCOMPARE(blockPages.size(), 800);
        for (auto block = blockPages.cbegin(); block != blockPages.cend(); ++block)
            QVERIFY2(block->size() == 2 && block->first() == block->last(),
                     qPrintable(block.key()));
        QVERIFY(pages.first().text().startsWith("Long First line. Alpha"));
        QVERIFY(pages.last().text().endsWith("The very last line."));
        const QString text = run("pdftotext", {path, "-"});
        QVERIFY2(!text.contains("-->"), qPrintable(text));
        // Each image is drawn once, on one page.
        static const QRegularExpression image("^ +\\d+ +\\d+ image ",
                                              QRegularExpression::MultilineOption);
        QCOMPARE(run("pdfimages", {"-list", path}).count(image), 2);
        run("pdftoppm", {"-r", "24", "-png", "-singlefile", path, m_folder.filePath("long")});
        const QImage firstPage(m_folder.filePath("long.png"));
        for (const QPoint at :
             {QPoint(2, 2), QPoint(firstPage.width() / 2, firstPage.height() - 3)})
            QCOMPARE(firstPage.pixelColor(at).name(), QStringLiteral("#191b1c"));
        // Nothing was wrong, so nothing is logged.
        QCOMPARE(newLogLines().size(), 0);
    }

    // A page is printed at the height it measures, exactly: no scroll bar or margin adds to it.
    // Past the tallest PDF page it is split into the fewest pages that hold whole blocks.
    void pageHeights_data()
    {
        QTest::addColumn<HeightRow>("row");
        const QString blocks("<main class=\"tarn-document\" style=\"padding:0\">%1</main>");
        const QString block("<div style=\"height:1000px\">x</div>");
        // clang-format off
        QTest::newRow("one tall page") << HeightRow{"<div style=\"height:5000px\">x", 1, 5000};
        QTest::newRow("up to the tallest page") << HeightRow{blocks.arg(block.repeated(19)), 1, 19000};
        QTest::newRow("fewest pages of whole blocks") << HeightRow{blocks.arg(block.repeated(40)), 3, 19000};
        QTest::newRow("a block taller than a page") << HeightRow{blocks.arg("<div style=\"height:25000px\">x</div>"), 2, (tallestPage - 1) / 0.75};
        // clang-format on
    }
    void pageHeights()
    {
        QFETCH(HeightRow, row);
        const auto &[page, count, height] = row;
        const QString path = m_folder.filePath("tall.pdf");
        QVERIFY(
            exportPdf("<!doctype html><body style=\"margin:0\">" + page, QUrl::fromLocalFile(path))
                .ok);
        const QList<PdfPage> pages = pdfPages(path);
        QCOMPARE(pages.size(), count);
        for (const PdfPage &printed : pages)
            QVERIFY2(isPageOf(printed.size, height) && printed.size.height() <= tallestPage,
                     qPrintable(QString::number(printed.size.height())));
    }

    // Paper does not scroll sideways: long code lines wrap and long words break, so every
    // character is on the page.
    void longLinesStayOnThePage()
    {
        const QString code = "code_" + QString("abcdefghij").repeated(30) + "_end";
        const QString word = "Word" + QString("verylong").repeated(30) + "End";
        const QString cell = "Cell" + QString("tablecell").repeated(30) + "End";
        const QString path = m_folder.filePath("wide.pdf");
        QVERIFY(exportPdf(render(QStringLiteral("# Wide\n\n%1\n\n```\n%2\n```\n\n| a |\n"
                                                "|---|\n| %3 |\n")
                                     .arg(word, code, cell)),
                          QUrl::fromLocalFile(path))
                    .ok);
        const QList<PdfPage> pages = pdfPages(path);
        QCOMPARE(pages.size(), 1);
        QVERIFY(pages.first().holdsItsWords());
        const QString text = pages.first().text().remove(u' ');
        for (const QString &whole : {code, word, cell})
            QVERIFY2(text.contains(whole), qPrintable(text));
    }

    void problemsAreLoggedAndPrintedAnyway_data()
    {
        QTest::addColumn<ProblemRow>("row");
        // clang-format off
        QTest::newRow("never ready") << ProblemRow{"window.tarnReady = new Promise(() => {}); window.tarnReadyDone = false;", "export.pdf.ready_timeout", ""};
        QTest::newRow("readiness test throws") << ProblemRow{"Object.defineProperty(window, 'tarnReadyDone', { get() { throw new Error('boom'); } });", "export.pdf.ready_check_failed", "Error: boom"};
        QTest::newRow("height cannot be measured") << ProblemRow{"document.querySelector('p').style.height = '3000px'; Object.defineProperty(document, 'body', { get() { throw new Error('no body'); } });", "export.pdf.height_measure_failed", "Error: no body"};
        // clang-format on
    }

    void problemsAreLoggedAndPrintedAnyway()
    {
        QFETCH(ProblemRow, row);
        const auto &[script, event, error] = row;
        const QString path = m_folder.filePath(QStringLiteral("problem.pdf"));
        QVERIFY(exportPdf("<!doctype html><p>Printed anyway</p><script>" + script + "</script>",
                          QUrl::fromLocalFile(path), {.ready = std::chrono::milliseconds(500)})
                    .ok);
        QVERIFY(run("pdftotext", {path, "-"}).contains("Printed anyway"));
        // A short page, or one that could not be measured, is padded to the least height.
        const QList<PdfPage> pages = pdfPages(path);
        QVERIFY(pages.size() == 1 && isPageOf(pages.first().size, 1200));

        const QList<LogLine> lines = newLogLines();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines.first().event, event);
        QMap<QString, QString> metadata{{QStringLiteral("output"), path}};
        if (!error.isEmpty())
            metadata.insert(QStringLiteral("error"), error);
        QCOMPARE(lines.first().metadata, metadata);
    }

    void failuresCompleteOnceAndWriteNothing_data()
    {
        // clang-format off
        QTest::addColumn<QString>("output"); // "%1" stands for the test folder
        QTest::addColumn<QString>("error"); // shown to the user: Chinese, or the system's text
        QTest::newRow("missing folder") << "file://%1/missing/out.pdf" << "";
        QTest::newRow("not a local file") << "https://example.com/out.pdf" << "“https://example.com/out.pdf”不是本地文件。";
        QTest::newRow("renderer ends while loading") << "file://%1/crash.pdf" << "页面的渲染进程意外结束。";
        QTest::newRow("engine stops answering") << "file://%1/stopped.pdf" << "网页引擎没有在 1 秒内完成导出。";
        // clang-format on
    }

    void failuresCompleteOnceAndWriteNothing()
    {
        QFETCH(QString, output);
        QFETCH(QString, error);
        const QUrl url(output.replace(QStringLiteral("%1"), m_folder.path()));
        // The renderer is killed, or stopped so that nothing ever answers, while the page, big
        // enough to be still loading then, loads.
        const int signal = error.startsWith(QStringLiteral("页面的渲染")) ? SIGKILL
                           : error.startsWith(QStringLiteral("网页引擎")) ? SIGSTOP
                                                                          : 0;
        const QString markdown =
            signal ? QStringLiteral("Text that fills the page.\n\n").repeated(60000) : "text";
        auto renderer = std::make_shared<pid_t>(0);
        QTimer::singleShot(0, this, [this, signal, renderer] { // once the export has started
            QWebEnginePage *page = m_exports.findChild<TarnPDFExporter *>()->page();
            if (signal && waitUntil([page] { return page->renderProcessPid() > 0; })) {
                *renderer = pid_t(page->renderProcessPid());
                ::kill(*renderer, signal);
            }
        });
        TarnPDFExporter::Deadlines deadlines;
        if (signal == SIGSTOP)
            deadlines.whole = std::chrono::seconds(1);
        const PdfExportResult result = exportPdf(render(markdown), url, deadlines);
        if (signal == SIGSTOP)
            ::kill(*renderer, SIGCONT);
        QVERIFY(!result.ok && !result.errorString.isEmpty());
        if (!error.isEmpty())
            QCOMPARE(result.errorString, error);
        QCOMPARE(m_completions, 1);
        QVERIFY(!QFileInfo(url.toLocalFile()).isFile());
    }

    // Quitting deletes the owner: the export stops, fails once, and takes its page with it.
    void ownerEndsTheExport()
    {
        auto owner = std::make_unique<QObject>();
        QList<PdfExportResult> results;
        const QString path = m_folder.filePath(QStringLiteral("stopped.pdf"));
        const QPointer<QWebEnginePage> page =
            TarnPDFExporter::exportPdf(
                render("text"), {}, QUrl::fromLocalFile(path),
                [&results](const PdfExportResult &result) { results.append(result); }, nullptr,
                owner.get())
                ->page();
        QVERIFY(page);
        owner.reset();
        QVERIFY(!page);
        QCOMPARE(results.size(), 1);
        QVERIFY(!results.first().ok && !results.first().errorString.isEmpty());
        QVERIFY(!QFileInfo::exists(path));
    }
};

TARN_WEB_TEST(ReaderPdfTest);
#include "tst_reader_pdf.moc"
