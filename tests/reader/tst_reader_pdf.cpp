// PDF export in the real web engine, checked with poppler's pdfinfo, pdftotext and pdftoppm.
#include "ReaderPageLoader.h"
#include "ReaderTestSupport.h"
#include "TarnPDFExporter.h"
#include "TarnUsageLogger.h"
#include "UsageLogReader.h"

#include <QFileInfo>
#include <QImage>
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

// The page size in points of the PDF at `path`, empty unless it has one page, and whether it is
// the reader's 900 CSS pixels wide (the engine rounds sizes by a few hundredths of a point).
std::pair<QSizeF, bool> pageSize(const QString &path)
{
    const auto size =
        QRegularExpression("Pages: +1\\n(.|\\n)*Page size: +([\\d.]+) x ([\\d.]+) pts")
            .match(run("pdfinfo", {path}));
    const QSizeF points(size.captured(2).toDouble(), size.captured(3).toDouble());
    return {points, std::abs(points.width() - 900 * 0.75) < 0.5};
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

// script, event, error (empty: none logged)
using ProblemRow = std::tuple<QString, QString, QString>;

} // namespace

class ReaderPdfTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    TarnUsageLogger m_logger{m_folder.filePath(QStringLiteral("logs"))};
    qsizetype m_logSeen = 0;
    qsizetype m_completions = 0; // of the last export

    // Exports a page based in the test folder and waits until the export is over.
    PdfExportResult exportPdf(const QString &html, const QUrl &output)
    {
        auto done = std::make_shared<QList<PdfExportResult>>();
        TarnPDFExporter::exportPdf(
            html, QUrl::fromLocalFile(m_folder.path() + u'/'), output,
            [done](const PdfExportResult &result) { done->append(result); }, &m_logger);
        waitUntil([&] { return !done->isEmpty() && TarnPDFExporter::activeExporters().isEmpty(); },
                  60000);
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
    // The whole document in one tall page as the reader shows it: images in place before it is
    // measured (else the end is cut off), diagrams drawn, the theme's background, the last line.
    void wholeDocumentInOnePage()
    {
        QImage tall(300, 2400, QImage::Format_RGB32);
        tall.fill(Qt::darkGreen);
        QVERIFY(tall.save(m_folder.filePath("tall.png")));
        QString markdown = "# Long\n\nFirst line.\n\n![tall](tall.png)\n\n![tall](tall.png)\n\n"
                           "```mermaid\ngraph TD\n  Alpha --> Omega\n```\n\n";
        // Long paragraphs take more lines in the narrower printed column.
        for (int i = 0; i < 300; ++i)
            markdown +=
                QStringLiteral("Paragraph %1 ").arg(i) +
                QStringLiteral("with enough words to wrap over several lines. ").repeated(12) +
                "\n\n";
        markdown += "The very last line.";
        const QString path = m_folder.filePath("long.pdf");
        const PdfExportResult result =
            exportPdf(render(markdown, TarnTheme::dark), QUrl::fromLocalFile(path));
        QVERIFY2(result.ok, qPrintable(result.errorString));

        const auto [size, printedWidth] = pageSize(path);
        QVERIFY(printedWidth && size.height() > 10000);
        const QString text = run("pdftotext", {path, "-"});
        for (const char *line : {"First line.", "Omega", "Paragraph 299", "The very last line."})
            QVERIFY2(text.contains(line), line);
        QVERIFY2(!text.contains("-->"), qPrintable(text));
        QVERIFY(run("pdfimages", {"-list", path}).count(" image ") >= 2);
        run("pdftoppm", {"-r", "24", "-png", "-singlefile", path, m_folder.filePath("long")});
        const QImage image(m_folder.filePath("long.png"));
        for (const QPoint at : {QPoint(2, 2), QPoint(image.width() / 2, image.height() - 3)})
            QCOMPARE(image.pixelColor(at).name(), QStringLiteral("#191b1c"));
        // Nothing was wrong, so nothing is logged.
        QCOMPARE(newLogLines().size(), 0);
    }

    // A page is printed at the height it measures, exactly: no scroll bar or margin adds to it.
    void pageOfTheMeasuredHeight()
    {
        const QString path = m_folder.filePath("tall.pdf");
        QVERIFY(exportPdf("<!doctype html><body style=\"margin:0\"><div style=\"height:5000px\">x",
                          QUrl::fromLocalFile(path))
                    .ok);
        const auto [size, printedWidth] = pageSize(path);
        QVERIFY(printedWidth && std::abs(size.width() / size.height() - 900.0 / 5000) < 1e-3);
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
                          QUrl::fromLocalFile(path))
                    .ok);
        QVERIFY(run("pdftotext", {path, "-"}).contains("Printed anyway"));
        // A short page, or one that could not be measured, is padded to the least height.
        const auto [size, printedWidth] = pageSize(path);
        QVERIFY(printedWidth && std::abs(size.width() / size.height() - 900.0 / 1200) < 1e-3);

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
        // clang-format on
    }

    void failuresCompleteOnceAndWriteNothing()
    {
        QFETCH(QString, output);
        QFETCH(QString, error);
        const QUrl url(output.replace(QStringLiteral("%1"), m_folder.path()));
        const bool crash = error == QStringLiteral("页面的渲染进程意外结束。");
        // A page big enough to be still loading when its renderer is killed.
        const QString markdown =
            crash ? QStringLiteral("Text that fills the page.\n\n").repeated(60000) : "text";
        QTimer::singleShot(0, this, [crash] { // once the export has started
            auto *loader =
                TarnPDFExporter::activeExporters().constFirst()->findChild<ReaderPageLoader *>();
            if (crash && waitUntil([loader] { return loader->page()->renderProcessPid() > 0; }))
                ::kill(pid_t(loader->page()->renderProcessPid()), SIGKILL);
        });
        const PdfExportResult result = exportPdf(render(markdown), url);
        QVERIFY(!result.ok && !result.errorString.isEmpty());
        if (!error.isEmpty())
            QCOMPARE(result.errorString, error);
        QCOMPARE(m_completions, 1);
        QVERIFY(!QFileInfo(url.toLocalFile()).isFile());
    }
};

TARN_WEB_TEST(ReaderPdfTest);
#include "tst_reader_pdf.moc"
