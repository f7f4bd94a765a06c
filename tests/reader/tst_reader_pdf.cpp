// PDF export in the real web engine, checked with poppler's pdfinfo and pdftotext.
#include "ReaderTestSupport.h"
#include "TarnPDFExporter.h"
#include "TarnUsageLogger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cmath>
#include <csignal>

namespace {

struct PdfFacts
{
    int pages = 0;
    double width = 0; // points
    double height = 0;
    QString text;
};

PdfFacts readPdf(const QString &path)
{
    PdfFacts facts;
    QProcess info;
    info.start(QStringLiteral("pdfinfo"), {path});
    info.waitForFinished();
    const QString out = QString::fromUtf8(info.readAllStandardOutput());
    facts.pages =
        QRegularExpression(QStringLiteral("Pages:\\s+(\\d+)")).match(out).captured(1).toInt();
    const auto size =
        QRegularExpression(QStringLiteral("Page size:\\s+([\\d.]+) x ([\\d.]+) pts")).match(out);
    facts.width = size.captured(1).toDouble();
    facts.height = size.captured(2).toDouble();
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {path, QStringLiteral("-")});
    text.waitForFinished();
    facts.text = QString::fromUtf8(text.readAllStandardOutput());
    return facts;
}

// Kills the web engine's renderers: they are forked from a zygote this process started.
int killRenderers()
{
    auto parentOf = [](qint64 pid) {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
        const QByteArray text = stat.open(QIODevice::ReadOnly) ? stat.readAll() : QByteArray();
        return text.mid(text.lastIndexOf(')') + 2).split(' ').value(1).toLongLong();
    };
    const qint64 self = QCoreApplication::applicationPid();
    int killed = 0;
    for (const QString &entry : QDir("/proc").entryList(QDir::Dirs)) {
        const qint64 pid = entry.toLongLong();
        const qint64 parent = pid > 0 ? parentOf(pid) : 0;
        if (parent > 1 && parent != self && parentOf(parent) == self)
            killed += ::kill(pid_t(pid), SIGKILL) == 0;
    }
    return killed;
}

struct Export
{
    int completions = 0;
    PdfExportResult result;
};

} // namespace

class ReaderPdfTest : public QObject
{
    Q_OBJECT

private:
    // Starts an export; the returned record fills in when it completes.
    std::shared_ptr<Export> startExport(const QString &html, const QUrl &output,
                                        const QUrl &base = {})
    {
        auto record = std::make_shared<Export>();
        TarnPDFExporter::exportPdf(
            html, base, output,
            [record](const PdfExportResult &result) {
                ++record->completions;
                record->result = result;
            },
            &TarnUsageLogger::shared());
        return record;
    }
    // The usage-log lines written since the last call.
    QStringList newLogLines()
    {
        TarnUsageLogger::shared().flush();
        QFile log(TarnUsageLogger::shared().logFilePath());
        if (!log.open(QIODevice::ReadOnly))
            return {};
        log.seek(m_logSeen);
        const QByteArray added = log.readAll();
        m_logSeen += added.size();
        return QString::fromUtf8(added).split(u'\n', Qt::SkipEmptyParts);
    }

    QTemporaryDir m_logFolder;
    QTemporaryDir m_folder;
    qint64 m_logSeen = 0;

private slots:
    void initTestCase()
    {
        qputenv("TARN_LOG_DIR", m_logFolder.path().toUtf8());
        QCOMPARE(TarnUsageLogger::shared().logFilePath(),
                 QDir(m_logFolder.path()).filePath(QStringLiteral("tarn.log")));
        newLogLines();
    }

    void pageSize_data()
    {
        // clang-format off
        QTest::addColumn<QString>("html");
        QTest::addColumn<double>("cssHeight");

        const QString block = QStringLiteral(
            "<!doctype html><body style=\"margin:0\"><div style=\"height:%1px\">x</div></body>");
        QTest::newRow("700 px is padded") << block.arg(700) << 1200.0;
        QTest::newRow("5000 px") << block.arg(5000) << 5000.0;
        // clang-format on
    }

    void pageSize()
    {
        QFETCH(QString, html);
        QFETCH(double, cssHeight);
        const QString path = m_folder.filePath(QStringLiteral("size.pdf"));
        auto done = startExport(html, QUrl::fromLocalFile(path));
        QTRY_COMPARE_WITH_TIMEOUT(done->completions, 1, 30000);
        QVERIFY2(done->result.ok, qPrintable(done->result.errorString));

        const PdfFacts pdf = readPdf(path);
        QCOMPARE(pdf.pages, 1);
        // The engine rounds page sizes to its own units, a few hundredths of a point.
        QVERIFY2(std::abs(pdf.width - 675.0) < 0.5, qPrintable(QString::number(pdf.width)));
        QVERIFY2(std::abs(pdf.width / pdf.height - 900.0 / cssHeight) < 0.001,
                 qPrintable(QStringLiteral("%1 x %2 pts").arg(pdf.width).arg(pdf.height)));
    }

    // The whole document in one tall page, as the reader shows it: images in place before the
    // page is measured (else the end would be cut off), diagrams drawn, the theme's background
    // from top to bottom, and the last line printed.
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
        auto done =
            startExport(ReaderTestPages::render(markdown, TarnTheme::dark),
                        QUrl::fromLocalFile(path), QUrl::fromLocalFile(m_folder.path() + "/"));
        QTRY_COMPARE_WITH_TIMEOUT(done->completions, 1, 60000);
        QVERIFY2(done->result.ok, qPrintable(done->result.errorString));

        const PdfFacts pdf = readPdf(path);
        QCOMPARE(pdf.pages, 1);
        QVERIFY(pdf.height > 10000);
        for (const char *text : {"First line.", "Omega", "Paragraph 299", "The very last line."})
            QVERIFY2(pdf.text.contains(text), text);
        QVERIFY2(!pdf.text.contains("-->"), qPrintable(pdf.text));
        QProcess images;
        images.start("pdfimages", {"-list", path});
        QVERIFY(images.waitForFinished(30000));
        QVERIFY(images.readAllStandardOutput().count(" image ") >= 2);
        QProcess raster;
        raster.start("pdftoppm",
                     {"-r", "24", "-png", "-singlefile", path, m_folder.filePath("long")});
        QVERIFY(raster.waitForFinished(30000));
        const QImage image(m_folder.filePath("long.png"));
        QVERIFY(!image.isNull());
        for (const QPoint at : {QPoint(2, 2), QPoint(image.width() / 2, image.height() - 3)})
            QCOMPARE(image.pixelColor(at).name(), QStringLiteral("#191b1c"));
        // Nothing was wrong, so nothing is logged.
        QCOMPARE(newLogLines(), QStringList());
    }

    void problemsAreLoggedAndPrintedAnyway_data()
    {
        // clang-format off
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("event");
        QTest::addColumn<QString>("error"); // expected in the logged line; empty: no "error"
        QTest::addColumn<double>("cssHeight");

        QTest::newRow("never ready") << "window.tarnReady = new Promise(() => {});"
                                        "window.tarnReadyDone = false;"
                                     << "export.pdf.ready_timeout"
                                     << "" << 1200.0;
        QTest::newRow("readiness test throws")
            << "Object.defineProperty(window, 'tarnReadyDone', { get() { throw new Error('boom'); } });"
            << "export.pdf.ready_check_failed"
            << "Error: boom" << 1200.0;
        QTest::newRow("height cannot be measured")
            << "document.querySelector('p').style.height = '3000px';"
               "Object.defineProperty(document, 'body', { get() { throw new Error('no body'); } });"
            << "export.pdf.height_measure_failed"
            << "Error: no body" << 1200.0;
        // clang-format on
    }

    void problemsAreLoggedAndPrintedAnyway()
    {
        QFETCH(QString, script);
        QFETCH(QString, event);
        QFETCH(QString, error);
        QFETCH(double, cssHeight);
        const QString path = m_folder.filePath(QStringLiteral("problem.pdf"));
        auto done = startExport(
            QStringLiteral("<!doctype html><p>Printed anyway</p><script>%1</script>").arg(script),
            QUrl::fromLocalFile(path));
        QTRY_COMPARE_WITH_TIMEOUT(done->completions, 1, 30000);
        QVERIFY(done->result.ok);
        const PdfFacts pdf = readPdf(path);
        QVERIFY(pdf.text.contains(QStringLiteral("Printed anyway")));
        QVERIFY(std::abs(pdf.width / pdf.height - 900.0 / cssHeight) < 0.001);

        const QStringList lines = newLogLines();
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().contains(u' ' + event + u' '), qPrintable(lines.first()));
        QVERIFY2(lines.first().contains(path), qPrintable(lines.first()));
        QCOMPARE(lines.first().contains(QStringLiteral("error=")), !error.isEmpty());
        QVERIFY2(lines.first().contains(error), qPrintable(lines.first()));
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
        QFile plain(m_folder.filePath(QStringLiteral("plain.txt")));
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.close();
        QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("folder")));
        const QUrl url(output.replace(QStringLiteral("%1"), m_folder.path()));

        QFETCH(QString, error);
        const bool crash = error == QStringLiteral("页面的渲染进程意外结束。");
        // A page big enough to be still loading when its renderer is killed.
        const QString markdown =
            crash ? QStringLiteral("Text that fills the page.\n\n").repeated(60000)
                  : QStringLiteral("text");
        auto done = startExport(ReaderTestPages::render(markdown), url);
        if (crash)
            QTRY_VERIFY(killRenderers() > 0);
        QTRY_COMPARE_WITH_TIMEOUT(done->completions, 1, 30000);
        QVERIFY(!done->result.ok);
        QVERIFY(!done->result.errorString.isEmpty());
        if (!error.isEmpty())
            QCOMPARE(done->result.errorString, error);
        QTRY_VERIFY(TarnPDFExporter::activeExporters().isEmpty());
        QCOMPARE(done->completions, 1);
        QVERIFY(!QFileInfo(url.toLocalFile()).isFile());
        QCOMPARE(QFileInfo(plain.fileName()).size(), 0);
    }
};

TARN_WEB_TEST_MAIN(ReaderPdfTest)
#include "tst_reader_pdf.moc"
