// The command-line interface: argument parsing and the conversions that need no window.
#pragma once

#include "MarkdownRenderer.h"
#include "TarnTheme.h"

#include <QString>
#include <QStringList>

#include <cstdio>
#include <optional>

namespace TarnCommandLine {

enum class Mode
{
    Window,
    ExportHtml,
    ExportPdf,
    Outline,
    Help,
    Version
};

struct Options
{
    Mode mode = Mode::Window;
    TarnTheme theme = TarnTheme::businessBlue;
    MarkdownFlavor flavor = MarkdownFlavor::classic;
    std::optional<QString> title;
    std::optional<QString> output;
    QStringList files;
};

struct ParseResult
{
    std::optional<Options> options; // empty on a usage error
    QString error;
};

ParseResult parse(const QStringList &arguments);
QString usageText();
QString versionText();

// One conversion job: where a FILE argument's text comes from and where its result goes.
struct Job
{
    QString input;  // a path, or "-" for standard input
    QString output; // a path, or "-" for standard output
    QString title;
};

// Works out output paths (creating an output folder when several files are given). Returns the
// exit status to stop with and fills `error`: 2 when an output would replace an input, 1 when
// two outputs clash or the folder cannot be made; 0 to go on.
int planJobs(const Options &options, const QString &extension, QList<Job> *jobs, QString *error);

// Reads a FILE argument ("-" = standard input) as the app reads documents.
struct InputText
{
    bool ok = false;
    QString text;
    QString error;
};
InputText readInput(const QString &input);

// Writes bytes to a path atomically, or to standard output for "-".
bool writeOutput(const QString &output, const QByteArray &bytes, QString *error);

// Runs --export html and --outline; returns the process exit status.
int runTextConversion(const Options &options, FILE *out, FILE *err);

// The program's arguments, decoded as QCoreApplication::arguments() would, before it exists.
QStringList argumentList(int argc, char *argv[]);

// Call before QApplication exists: picks the offscreen platform when there is no display and
// sets up the web engine's process.
void prepareWebEngineWithoutWindow();

// Runs --export pdf inside a QApplication, one file after another; returns the exit status.
int runPdfExport(const Options &options, FILE *err);

} // namespace TarnCommandLine
