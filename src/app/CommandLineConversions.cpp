// The window-less conversions: HTML and PDF export and the outline as JSON.
#include "CommandLine.h"

#include "ExportedPage.h"
#include "MarkdownRenderer.h"
#include "TarnDocument.h"
#include "TarnPDFExporter.h"
#include "TextFileReader.h"
#include "Utf16Text.h"
#include "WebEngineProcess.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <algorithm>
#include <chrono>
#include <memory>

namespace TarnCommandLine {
namespace {

void print(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

// One JSON value as QJsonDocument writes it: strings escaped, integers as integers.
QByteArray jsonValue(const QJsonValue &value)
{
    // A document holds an array or an object; the value is written as a one-element array.
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

// {"file": ..., "outline": [{"id": ..., "title": ..., "level": ...}, ...]} and a newline. The
// members are written in turn because QJsonObject would sort their keys.
QByteArray outlineJson(const QString &file, const std::vector<TOCItem> &toc)
{
    QByteArray line = "{\"file\": " + jsonValue(file) + ", \"outline\": [";
    for (std::size_t i = 0; i < toc.size(); ++i) {
        if (i > 0)
            line += ", ";
        line += "{\"id\": " + jsonValue(toQString(toc[i].id)) +
                ", \"title\": " + jsonValue(toQString(toc[i].title)) +
                ", \"level\": " + jsonValue(qint64(toc[i].level)) + '}';
    }
    return line + "]}\n";
}

QString defaultTitle(const QString &input)
{
    if (input == QLatin1String("-"))
        return QStringLiteral("Tarn");
    return TarnDocument::displayTitle(QFileInfo(input).fileName());
}

// Also through links and "./" detours, when the files exist.
bool samePath(const QString &a, const QString &b)
{
    const QFileInfo first(a);
    const QFileInfo second(b);
    if (first.absoluteFilePath() == second.absoluteFilePath())
        return true;
    const QString canonical = first.canonicalFilePath();
    return !canonical.isEmpty() && canonical == second.canonicalFilePath();
}

// Relative images and links resolve against the document's folder, as in the reader.
QString documentFolder(const QString &input)
{
    return input == QLatin1String("-") ? QDir::currentPath() : QFileInfo(input).absolutePath();
}

// How long one PDF may take: TARN_PDF_TIMEOUT seconds when set to a positive number.
TarnPDFExporter::Deadlines pdfDeadlines(FILE *err)
{
    TarnPDFExporter::Deadlines deadlines;
    const QString text = qEnvironmentVariable("TARN_PDF_TIMEOUT");
    if (text.isEmpty())
        return deadlines;
    bool ok = false;
    const double seconds = text.toDouble(&ok);
    if (!ok || !(seconds > 0) || seconds > 24 * 3600) {
        print(err, QStringLiteral("tarn: ignoring TARN_PDF_TIMEOUT=\"%1\": not a number of "
                                  "seconds\n")
                       .arg(text));
        return deadlines;
    }
    deadlines.whole = std::chrono::milliseconds(qint64(seconds * 1000));
    deadlines.ready = std::min(deadlines.ready, deadlines.whole / 2);
    return deadlines;
}

QString outputName(const QString &input, const QString &extension)
{
    if (input == QLatin1String("-"))
        return QStringLiteral("stdin.") + extension;
    return QFileInfo(input).completeBaseName() + QLatin1Char('.') + extension;
}

} // namespace

int planJobs(const Options &options, const QString &extension, QList<Job> *jobs, QString *error)
{
    const bool several = options.files.size() > 1;
    QString folder;
    if (options.output && (several || QFileInfo(*options.output).isDir()))
        folder = *options.output;
    QHash<QString, QString> claimedBy;
    for (const QString &input : options.files) {
        Job job;
        job.input = input;
        job.title = options.title.value_or(defaultTitle(input));
        if (!folder.isEmpty()) {
            job.output = QDir(folder).filePath(outputName(input, extension));
        } else if (options.output) {
            job.output = *options.output;
        } else if (input == QLatin1String("-")) {
            job.output = QStringLiteral("-");
        } else {
            const QFileInfo info(input);
            job.output = info.dir().filePath(outputName(input, extension));
        }
        if (job.output != QLatin1String("-")) {
            const QString key = QFileInfo(job.output).absoluteFilePath();
            if (claimedBy.contains(key)) {
                *error = QStringLiteral("\"%1\" and \"%2\" would both be written to \"%3\"")
                             .arg(claimedBy.value(key), input, job.output);
                return 1;
            }
            claimedBy.insert(key, input);
        }
        jobs->append(job);
    }
    // Checked before anything is written: a conversion must never destroy its own source.
    for (const Job &job : std::as_const(*jobs)) {
        if (job.output == QLatin1String("-"))
            continue;
        for (const QString &input : options.files) {
            if (input != QLatin1String("-") && samePath(input, job.output)) {
                *error = QStringLiteral("the output \"%1\" would replace the input \"%2\"")
                             .arg(job.output, input);
                return 2;
            }
        }
    }
    if (!folder.isEmpty() && !QDir().mkpath(folder)) {
        *error = QStringLiteral("cannot create the output folder \"%1\"").arg(folder);
        return 1;
    }
    return 0;
}

InputText readInput(const QString &input)
{
    InputText result;
    if (input == QLatin1String("-")) {
        QFile in;
        if (!in.open(stdin, QIODevice::ReadOnly)) {
            result.error = QStringLiteral("cannot read standard input");
            return result;
        }
        const TextFileReadResult read = TextFileReader::decode(in.readAll(), input);
        result.ok = read.ok;
        result.text = read.text;
        result.error = read.errorString;
        return result;
    }
    const TextFileReadResult read = TextFileReader::read(input);
    result.ok = read.ok;
    result.text = read.text;
    result.error = read.errorString;
    return result;
}

bool writeOutput(const QString &output, const QByteArray &bytes, QString *error)
{
    if (output == QLatin1String("-")) {
        const bool written =
            std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) == size_t(bytes.size());
        std::fflush(stdout);
        if (!written)
            *error = QStringLiteral("cannot write to standard output");
        return written;
    }
    QSaveFile file(output);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}

namespace {

// Keeps a document's parse tree until the process ends, which takes it back far faster than
// freeing it node by node (a tenth of a 10 MB export). Only the last one is kept; the keeper is
// never destroyed, so the tree stays reachable rather than leaked.
void keepUntilExit(const std::shared_ptr<void> &parseTree)
{
    static auto *const kept = new std::shared_ptr<void>;
    *kept = parseTree;
}

} // namespace

int runTextConversion(const Options &options, FILE *out, FILE *err)
{
    QList<Job> jobs;
    QString error;
    if (options.mode == Mode::ExportHtml) {
        if (const int status = planJobs(options, QStringLiteral("html"), &jobs, &error)) {
            print(err, QStringLiteral("tarn: %1\n").arg(error));
            return status;
        }
    }
    int status = 0;
    for (qsizetype i = 0; i < options.files.size(); ++i) {
        const QString &input = options.files[i];
        const InputText text = readInput(input);
        if (!text.ok) {
            print(err, QStringLiteral("tarn: %1: %2\n").arg(input, text.error));
            status = 1;
            continue;
        }
        if (options.mode == Mode::Outline) {
            const auto fragment =
                MarkdownRenderer::renderFragment(u16View(text.text), options.flavor);
            const QByteArray line = outlineJson(input, fragment.toc);
            std::fwrite(line.constData(), 1, size_t(line.size()), out);
            std::fflush(out);
            continue;
        }
        const Job &job = jobs[i];
        const RenderedMarkdown page = MarkdownRenderer::render(
            u16View(text.text), options.theme, job.title.toStdU16String(), options.flavor);
        const QString html = rawQString(page.html);
        const QByteArray bytes = job.output == QLatin1String("-")
                                     ? html.toUtf8()
                                     : ExportedPage::relocated(html, documentFolder(input),
                                                               QFileInfo(job.output).absolutePath())
                                           .toUtf8();
        if (!writeOutput(job.output, bytes, &error)) {
            print(err, QStringLiteral("tarn: %1: cannot write \"%2\": %3\n")
                           .arg(input, job.output, error));
            status = 1;
        }
        keepUntilExit(page.parseTree);
    }
    return status;
}

QStringList argumentList(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

void prepareWebEngineWithoutWindow()
{
    // Without a display the web engine still lays pages out and prints on the offscreen
    // platform.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    configureWebEngineForProcess();
    // The engine reports its graphics set-up on every start; a conversion's standard error
    // carries only its own failures, unless Qt's logging is asked for.
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES")) {
        static QtMessageHandler qtHandler = nullptr;
        qtHandler = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext &context, const QString &message) {
                if (type != QtCriticalMsg && type != QtFatalMsg)
                    return;
                if (qtHandler)
                    qtHandler(type, context, message);
                else
                    print(stderr, qFormatLogMessage(type, context, message) + u'\n');
            });
    }
}

int runPdfExport(const Options &options, FILE *err)
{
    QList<Job> jobs;
    QString error;
    if (const int status = planJobs(options, QStringLiteral("pdf"), &jobs, &error)) {
        print(err, QStringLiteral("tarn: %1\n").arg(error));
        return status;
    }
    const TarnPDFExporter::Deadlines deadlines = pdfDeadlines(err);
    int status = 0;
    for (const Job &job : std::as_const(jobs)) {
        const InputText text = readInput(job.input);
        if (!text.ok) {
            print(err, QStringLiteral("tarn: %1: %2\n").arg(job.input, text.error));
            status = 1;
            continue;
        }
        const RenderedMarkdown page = MarkdownRenderer::render(
            u16View(text.text), options.theme, job.title.toStdU16String(), options.flavor);
        PdfExportResult result;
        bool finished = false;
        QEventLoop loop;
        {
            // The exporter and its view go away with this scope, before the engine shuts down;
            // its deadline makes sure the loop ends even when the engine never answers.
            QObject exports;
            TarnPDFExporter::exportPdf(
                toQString(page.html), QUrl::fromLocalFile(documentFolder(job.input) + u'/'),
                QUrl::fromLocalFile(QFileInfo(job.output).absoluteFilePath()),
                [&](const PdfExportResult &outcome) {
                    result = outcome;
                    finished = true;
                    loop.quit();
                },
                nullptr, &exports, deadlines);
            if (!finished)
                loop.exec();
        }
        if (!result.ok) {
            print(err, QStringLiteral("tarn: %1: cannot write \"%2\": %3\n")
                           .arg(job.input, job.output, result.errorString));
            status = 1;
        }
    }
    return status;
}

} // namespace TarnCommandLine
