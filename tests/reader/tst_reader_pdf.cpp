// PDF export in the real web engine, checked with poppler's pdfinfo and pdftotext.
#include "ReaderTestSupport.h"
#include "TarnPDFExporter.h"
#include "TarnUsageLogger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cmath>

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
        TarnPDFExporter::exportPdf(html, base, output, [record](const PdfExportResult &result) {
            ++record->completions;
            record->result = result;
        });
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
        // Nothing was wrong, so nothing is logged.
        QCOMPARE(newLogLines(), QStringList());
    }

    void longDocumentIsPrintedToTheEnd()
    {
        QString markdown = QStringLiteral("# Long\n\nFirst line.\n\n");
        // Long paragraphs take more lines in the narrower printed column.
        for (int i = 0; i < 300; ++i)
            markdown +=
                QStringLiteral("Paragraph %1 ").arg(i) +
                QStringLiteral("with enough words to wrap over several lines. ").repeated(12) +
                QStringLiteral("\n\n");
        markdown += QStringLiteral("The very last line.");
        const QString path = m_folder.filePath(QStringLiteral("long.pdf"));
        auto done = startExport(ReaderTestPages::render(markdown), QUrl::fromLocalFile(path));
        QTRY_COMPARE_WITH_TIMEOUT(done->completions, 1, 60000);
        QVERIFY2(done->result.ok, qPrintable(done->result.errorString));

        const PdfFacts pdf = readPdf(path);
        QCOMPARE(pdf.pages, 1);
        QVERIFY(pdf.height > 10000);
        QVERIFY(pdf.text.contains(QStringLiteral("First line.")));
        QVERIFY(pdf.text.contains(QStringLiteral("Paragraph 299")));
        QVERIFY(pdf.text.contains(QStringLiteral("The very last line.")));
    }

    void diagramsAreDrawnBeforePrinting()
    {
        const QString path = m_folder.filePath(QStringLiteral("diagram.pdf"));
        auto done = startExport(ReaderTestPages::render(QStringLiteral(
                                    "Before.\n\n```mermaid\ngraph TD\n  Alpha --> Omega\n```\n")),
                                QUrl::fromLocalFile(path));
        QTRY_COMPARE_WITH_TIMEOUT(done->completions, 1, 30000);
        QVERIFY2(done->result.ok, qPrintable(done->result.errorString));

        const PdfFacts pdf = readPdf(path);
        QVERIFY(pdf.text.contains(QStringLiteral("Omega")));
        QVERIFY2(!pdf.text.contains(QStringLiteral("-->")), qPrintable(pdf.text));
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

        QTest::newRow("missing folder") << "file://%1/missing/out.pdf";
        QTest::newRow("not a local file") << "https://example.com/out.pdf";
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

        auto done = startExport(ReaderTestPages::render(QStringLiteral("text")), url);
        QTRY_COMPARE_WITH_TIMEOUT(done->completions, 1, 30000);
        QVERIFY(!done->result.ok);
        QVERIFY(!done->result.errorString.isEmpty());
        QTRY_VERIFY(TarnPDFExporter::activeExporters().isEmpty());
        QCOMPARE(done->completions, 1);
        QVERIFY(!QFileInfo(url.toLocalFile()).isFile());
        QCOMPARE(QFileInfo(plain.fileName()).size(), 0);
    }

    void concurrentExportsReplaceExistingFiles()
    {
        const QString first = m_folder.filePath(QStringLiteral("first.pdf"));
        const QString second = m_folder.filePath(QStringLiteral("second.pdf"));
        QFile old(first);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();

        auto one =
            startExport(ReaderTestPages::render(QStringLiteral("One")), QUrl::fromLocalFile(first));
        auto two = startExport(ReaderTestPages::render(QStringLiteral("Two")),
                               QUrl::fromLocalFile(second));
        QCOMPARE(TarnPDFExporter::activeExporters().size(), 2);
        QTRY_VERIFY_WITH_TIMEOUT(one->completions == 1 && two->completions == 1, 30000);
        QVERIFY(one->result.ok && two->result.ok);
        QVERIFY(TarnPDFExporter::activeExporters().isEmpty());
        QCOMPARE(readPdf(first).text.trimmed(), QStringLiteral("One"));
        QCOMPARE(readPdf(second).text.trimmed(), QStringLiteral("Two"));
    }

    void commandLineWithoutDisplay_data()
    {
        // clang-format off
        QTest::addColumn<QStringList>("arguments"); // "%1" stands for a fresh folder
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("pdfs");
        QTest::addColumn<QString>("stderrHas");

        QTest::newRow("named output, theme and title") << QStringList{"--export", "pdf", "--theme", "dark", "--title", "标题", "--output", "%1/named.pdf", "%1/doc.md"} << 0 << QStringList{"%1/named.pdf"} << "";
        QTest::newRow("missing input keeps going") << QStringList{"--export", "pdf", "--output", "%1/pdfs", "%1/missing.md", "%1/doc.md", "%1/other.md"} << 1
                                                   << QStringList{"%1/pdfs/doc.pdf", "%1/pdfs/other.pdf"} << "missing.md";
        // clang-format on
    }

    void commandLineWithoutDisplay()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QStringList, pdfs);
        QFETCH(QString, stderrHas);
        QTemporaryDir folder;
        for (const QString &name : {QStringLiteral("doc.md"), QStringLiteral("other.md")}) {
            QFile file(folder.filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("# Heading\n\nText of " + name.toUtf8() + "\n");
        }
        for (QString &argument : arguments)
            argument.replace(QStringLiteral("%1"), folder.path());

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(QString::fromLatin1(name));
        environment.insert(QStringLiteral("TARN_LOG_DIR"), folder.filePath(QStringLiteral("logs")));
        QProcess tarn;
        tarn.setProcessEnvironment(environment);
        tarn.start(QStringLiteral(TARN_BINARY), arguments);
        QVERIFY(tarn.waitForFinished(120000));
        const QString errors = QString::fromUtf8(tarn.readAllStandardError());
        QCOMPARE(tarn.exitCode(), status);
        QVERIFY2(stderrHas.isEmpty() ? errors.isEmpty() : errors.contains(stderrHas),
                 qPrintable(errors));

        for (QString pdf : pdfs) {
            pdf.replace(QStringLiteral("%1"), folder.path());
            const PdfFacts facts = readPdf(pdf);
            QCOMPARE(facts.pages, 1);
            QVERIFY2(facts.text.contains(QStringLiteral("Heading")) &&
                         facts.text.contains(QStringLiteral("Text of ")),
                     qPrintable(facts.text));
        }
        QCOMPARE(QDir(folder.path()).entryList({QStringLiteral("*.pdf")}, QDir::Files).size(),
                 pdfs.filter(QRegularExpression(QStringLiteral("%1/[^/]*$"))).size());
    }
};

TARN_WEB_TEST_MAIN(ReaderPdfTest)
#include "tst_reader_pdf.moc"
