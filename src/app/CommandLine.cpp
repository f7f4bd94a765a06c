// Argument parsing, the usage text and the version.
#include "CommandLine.h"

#include "ModelSettings.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

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

// The option as it was written: "-v" for a short name, "--frobnicate" for a long one.
QString optionSpelling(const QString &name)
{
    return (name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name;
}

// Which conversion the arguments ask for, once the parser has accepted them.
std::optional<Mode> conversionMode(const QCommandLineParser &parser,
                                   const QCommandLineOption &exportOption,
                                   const QCommandLineOption &outlineOption, QString *error)
{
    std::optional<Mode> mode;
    for (const QString &format : parser.values(exportOption)) {
        const Mode asked = format == QLatin1String("html")  ? Mode::ExportHtml
                           : format == QLatin1String("pdf") ? Mode::ExportPdf
                                                            : Mode::Window;
        if (asked == Mode::Window) {
            *error = QStringLiteral("unknown export format \"%1\"; use html or pdf").arg(format);
            return std::nullopt;
        }
        if (mode && *mode != asked) {
            *error = QStringLiteral("choose one of --export and --outline");
            return std::nullopt;
        }
        mode = asked;
    }
    if (parser.isSet(outlineOption)) {
        if (mode) {
            *error = QStringLiteral("choose one of --export and --outline");
            return std::nullopt;
        }
        mode = Mode::Outline;
    }
    return mode.value_or(Mode::Window);
}

} // namespace

ParseResult parse(const QStringList &arguments)
{
    const QCommandLineOption exportOption(QStringLiteral("export"), {}, QStringLiteral("FORMAT"));
    const QCommandLineOption outlineOption(QStringLiteral("outline"));
    const QCommandLineOption flavorOption(QStringLiteral("flavor"), {}, QStringLiteral("NAME"));
    const QCommandLineOption themeOption(QStringLiteral("theme"), {}, QStringLiteral("NAME"));
    const QCommandLineOption titleOption(QStringLiteral("title"), {}, QStringLiteral("TEXT"));
    const QCommandLineOption outputOption({QStringLiteral("o"), QStringLiteral("output")}, {},
                                          QStringLiteral("PATH"));
    const QCommandLineOption helpOption(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption versionOption(
        QStringList{QStringLiteral("V"), QStringLiteral("version")});
    QCommandLineParser parser;
    parser.addOptions({exportOption, outlineOption, flavorOption, themeOption, titleOption,
                       outputOption, helpOption, versionOption});
    if (!parser.parse(arguments)) {
        const QStringList unknown = parser.unknownOptionNames();
        if (!unknown.isEmpty())
            return usageError(
                QStringLiteral("unknown option \"%1\"").arg(optionSpelling(unknown.first())));
        return usageError(parser.errorText());
    }

    Options options;
    if (parser.isSet(helpOption) || parser.isSet(versionOption)) {
        options.mode = parser.isSet(helpOption) ? Mode::Help : Mode::Version;
        return {options, {}};
    }
    QString error;
    const auto mode = conversionMode(parser, exportOption, outlineOption, &error);
    if (!mode)
        return usageError(error);
    options.mode = *mode;
    options.files = parser.positionalArguments();

    if (parser.isSet(themeOption)) {
        const QString name = parser.value(themeOption);
        const auto theme = TarnThemes::fromRawValue(name.toStdU16String());
        if (!theme)
            return usageError(QStringLiteral("unknown theme \"%1\"; valid themes: %2")
                                  .arg(name, validThemeNames()));
        options.theme = *theme;
    }
    if (parser.isSet(flavorOption)) {
        const QString name = parser.value(flavorOption);
        const auto flavor = ModelSettings::flavorFromName(name);
        if (!flavor)
            return usageError(
                QStringLiteral("unknown flavor \"%1\"; use classic or gfm").arg(name));
        options.flavor = *flavor;
    }
    if (parser.isSet(titleOption))
        options.title = parser.value(titleOption);
    if (parser.isSet(outputOption)) {
        if (parser.value(outputOption).isEmpty())
            return usageError(QStringLiteral("--output needs a path"));
        options.output = parser.value(outputOption);
    }

    const bool exporting = options.mode == Mode::ExportHtml || options.mode == Mode::ExportPdf;
    if (!exporting && (options.title || options.output))
        return usageError(QStringLiteral("--title and --output go with --export"));
    if (!exporting && parser.isSet(themeOption))
        return usageError(QStringLiteral("--theme goes with --export"));
    if (options.mode == Mode::Window && parser.isSet(flavorOption))
        return usageError(QStringLiteral("--flavor goes with --export or --outline"));
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
               "  tarn DIR                            open the folder in the sidebar\n"
               "  tarn --export html|pdf [--flavor classic|gfm] [--theme NAME] [--title TEXT]\n"
               "       [--output PATH] FILE...\n"
               "  tarn --outline [--flavor classic|gfm] FILE...\n"
               "                                      print each file's headings as one JSON "
               "line\n"
               "  tarn --help | --version\n"
               "\n"
               "Options:\n"
               "  --export html|pdf     convert the files without opening a window\n"
               "  --outline             print the headings of the files\n"
               "  --flavor classic|gfm  the Markdown grammar of a conversion: Tarn's classic one\n"
               "                        (default) or CommonMark with GitHub's extensions\n"
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

} // namespace TarnCommandLine
