// Argument parsing and the window-less HTML, PDF and outline conversions.
#include "CommandLine.h"

#include "ExportedPage.h"
#include "MarkdownRenderer.h"
#include "TarnDocument.h"
#include "TarnPDFExporter.h"
#include "TextFileReader.h"
#include "WebEngineProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>

namespace TarnCommandLine {
namespace {

QString validThemeNames()
{
    QStringList names;
    for (TarnTheme theme : TarnThemes::allCases)
        names << QString::fromLatin1(TarnThemes::rawValue(theme));
    return names.join(QStringLiteral(", "));
}

ParseResult usageError(const QString &message)
{
    return {std::nullopt, message};
}

QString toQString(std::u16string_view text)
{
    return QString::fromUtf16(text.data(), qsizetype(text.size()));
}

// The text without a copy: a 10 MB document is otherwise copied once more on the way in.
std::u16string_view u16View(const QString &text)
{
    return {reinterpret_cast<const char16_t *>(text.utf16()), size_t(text.size())};
}

void print(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

QString jsonString(const QString &text)
{
    QString out = QStringLiteral("\"");
    for (QChar c : text) {
        switch (c.unicode()) {
        case '"':
            out += QLatin1String("\\\"");
            break;
        case '\\':
            out += QLatin1String("\\\\");
            break;
        case '\n':
            out += QLatin1String("\\n");
            break;
        case '\r':
            out += QLatin1String("\\r");
            break;
        case '\t':
            out += QLatin1String("\\t");
            break;
        default:
            if (c.unicode() < 0x20)
                out += QStringLiteral("\\u%1").arg(int(c.unicode()), 4, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    return out + QLatin1Char('"');
}

QString outlineJson(const QString &file, const std::vector<TOCItem> &toc)
{
    QString line =
        QStringLiteral("{\"file\": ") + jsonString(file) + QStringLiteral(", \"outline\": [");
    for (std::size_t i = 0; i < toc.size(); ++i) {
        if (i > 0)
            line += QStringLiteral(", ");
        line += QStringLiteral("{\"id\": ") + jsonString(toQString(toc[i].id)) +
                QStringLiteral(", \"title\": ") + jsonString(toQString(toc[i].title)) +
                QStringLiteral(", \"level\": ") + QString::number(toc[i].level) + QLatin1Char('}');
    }
    return line + QStringLiteral("]}\n");
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

QString outputName(const QString &input, const QString &extension)
{
    if (input == QLatin1String("-"))
        return QStringLiteral("stdin.") + extension;
    return QFileInfo(input).completeBaseName() + QLatin1Char('.') + extension;
}

} // namespace

ParseResult parse(const QStringList &arguments)
{
    Options options;
    bool themeGiven = false;
    bool modeSet = false;
    bool optionsEnded = false;
    auto setMode = [&](Mode mode) -> bool {
        if (modeSet && options.mode != mode)
            return false;
        options.mode = mode;
        modeSet = true;
        return true;
    };

    for (qsizetype i = 1; i < arguments.size(); ++i) {
        QString argument = arguments[i];
        if (optionsEnded || argument == QLatin1String("-") || !argument.startsWith(u'-')) {
            options.files << argument;
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        QString inlineValue;
        bool hasInlineValue = false;
        if (argument.startsWith(QLatin1String("--")) && argument.contains(u'=')) {
            const qsizetype equals = argument.indexOf(u'=');
            inlineValue = argument.mid(equals + 1);
            argument = argument.left(equals);
            hasInlineValue = true;
        }
        auto takeValue = [&](QString *value) -> bool {
            if (hasInlineValue) {
                *value = inlineValue;
                return true;
            }
            if (i + 1 >= arguments.size())
                return false;
            *value = arguments[++i];
            return true;
        };

        QString value;
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            options.mode = Mode::Help;
            return {options, {}};
        }
        if (argument == QLatin1String("--version") || argument == QLatin1String("-V")) {
            options.mode = Mode::Version;
            return {options, {}};
        }
        if (argument == QLatin1String("--export")) {
            if (!takeValue(&value))
                return usageError(QStringLiteral("--export needs a format: html or pdf"));
            const Mode mode = value == QLatin1String("html")  ? Mode::ExportHtml
                              : value == QLatin1String("pdf") ? Mode::ExportPdf
                                                              : Mode::Window;
            if (mode == Mode::Window)
                return usageError(
                    QStringLiteral("unknown export format \"%1\"; use html or pdf").arg(value));
            if (!setMode(mode))
                return usageError(QStringLiteral("choose one of --export and --outline"));
        } else if (argument == QLatin1String("--outline")) {
            if (hasInlineValue)
                return usageError(QStringLiteral("--outline takes no value"));
            if (!setMode(Mode::Outline))
                return usageError(QStringLiteral("choose one of --export and --outline"));
        } else if (argument == QLatin1String("--theme")) {
            if (!takeValue(&value))
                return usageError(QStringLiteral("--theme needs a name: ") + validThemeNames());
            const auto theme = TarnThemes::fromRawValue(value.toStdU16String());
            if (!theme)
                return usageError(QStringLiteral("unknown theme \"%1\"; valid themes: %2")
                                      .arg(value, validThemeNames()));
            options.theme = *theme;
            themeGiven = true;
        } else if (argument == QLatin1String("--title")) {
            if (!takeValue(&value))
                return usageError(QStringLiteral("--title needs a text"));
            options.title = value;
        } else if (argument == QLatin1String("--output") || argument == QLatin1String("-o")) {
            if (!takeValue(&value) || value.isEmpty())
                return usageError(QStringLiteral("--output needs a path"));
            options.output = value;
        } else {
            return usageError(QStringLiteral("unknown option \"%1\"").arg(arguments[i]));
        }
    }

    const bool exporting = options.mode == Mode::ExportHtml || options.mode == Mode::ExportPdf;
    if (!exporting && (options.title || options.output))
        return usageError(QStringLiteral("--title and --output go with --export"));
    if (!exporting && themeGiven)
        return usageError(QStringLiteral("--theme goes with --export"));
    if (options.mode != Mode::Window && options.files.isEmpty())
        return usageError(QStringLiteral("no input file given (use - for standard input)"));
    if (options.files.count(QStringLiteral("-")) > 1)
        return usageError(QStringLiteral("standard input (-) can be read only once"));
    if (options.mode == Mode::ExportPdf && options.output == QLatin1String("-"))
        return usageError(QStringLiteral("PDF cannot be written to standard output"));
    if (options.mode == Mode::ExportPdf && !options.output &&
        options.files.contains(QStringLiteral("-")))
        return usageError(QStringLiteral("PDF from standard input needs --output"));
    if (options.files.size() > 1 && options.output == QLatin1String("-"))
        return usageError(QStringLiteral("with several files, --output must name a folder"));
    return {options, {}};
}

QString usageText()
{
    return QStringLiteral(
               "Usage:\n"
               "  tarn [FILE...]                      open the files as tabs\n"
               "  tarn --export html|pdf [--theme NAME] [--title TEXT] [--output PATH] FILE...\n"
               "  tarn --outline FILE...              print each file's headings as one JSON line\n"
               "  tarn --help | --version\n"
               "\n"
               "Options:\n"
               "  --export html|pdf     convert the files without opening a window\n"
               "  --outline             print the headings of the files\n"
               "  --theme NAME          page theme of an export, one of %1\n"
               "                        (default businessBlue)\n"
               "  --title TEXT          page title of an export (default: the file's name)\n"
               "  -o, --output PATH     output file, a folder for several files, or - for HTML\n"
               "                        on standard output\n"
               "  -h, --help            show this help and exit\n"
               "  -V, --version         show the version and exit\n"
               "\n"
               "FILE may be - for standard input. An output never replaces an input file.\n"
               "Exit status: 0 on success, 1 when a file could not be read or written,\n"
               "2 on a usage error.\n")
        .arg(validThemeNames());
}

QString versionText()
{
    return QStringLiteral("tarn %1\n").arg(QStringLiteral(TARN_VERSION));
}

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
            const auto fragment = MarkdownRenderer::renderFragment(u16View(text.text));
            print(out, outlineJson(input, fragment.toc));
            continue;
        }
        const Job &job = jobs[i];
        const RenderedMarkdown page =
            MarkdownRenderer::render(u16View(text.text), options.theme, job.title.toStdU16String());
        const QString html = QString::fromRawData(reinterpret_cast<const QChar *>(page.html.data()),
                                                  qsizetype(page.html.size()));
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
    int status = 0;
    for (const Job &job : std::as_const(jobs)) {
        const InputText text = readInput(job.input);
        if (!text.ok) {
            print(err, QStringLiteral("tarn: %1: %2\n").arg(job.input, text.error));
            status = 1;
            continue;
        }
        const RenderedMarkdown page =
            MarkdownRenderer::render(u16View(text.text), options.theme, job.title.toStdU16String());
        PdfExportResult result;
        bool finished = false;
        QEventLoop loop;
        TarnPDFExporter::exportPdf(
            toQString(page.html), QUrl::fromLocalFile(documentFolder(job.input) + u'/'),
            QUrl::fromLocalFile(QFileInfo(job.output).absoluteFilePath()),
            [&](const PdfExportResult &outcome) {
                result = outcome;
                finished = true;
                loop.quit();
            },
            nullptr);
        if (!finished)
            loop.exec();
        // The exporter and its view go away now, before the engine shuts down.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!result.ok) {
            print(err, QStringLiteral("tarn: %1: cannot write \"%2\": %3\n")
                           .arg(job.input, job.output, result.errorString));
            status = 1;
        }
    }
    return status;
}

} // namespace TarnCommandLine
