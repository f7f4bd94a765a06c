// Entry point: conversions run without a window; otherwise the program opens its window.
#include "CommandLine.h"
#include "TarnApplication.h"

#include <QApplication>
#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    const auto parsed = TarnCommandLine::parse(TarnCommandLine::argumentList(argc, argv));
    if (!parsed.options) {
        std::fprintf(stderr, "tarn: %s\n\n%s", qUtf8Printable(parsed.error),
                     qUtf8Printable(TarnCommandLine::usageText()));
        return 2;
    }
    const TarnCommandLine::Options &options = *parsed.options;
    if (options.mode == TarnCommandLine::Mode::Window)
        return TarnApplication::run(argc, argv, options.files);
    if (options.mode == TarnCommandLine::Mode::ExportPdf) {
        TarnCommandLine::prepareWebEngineWithoutWindow();
        QApplication app(argc, argv);
        return TarnCommandLine::runPdfExport(options, stderr);
    }
    QCoreApplication app(argc, argv);
    switch (options.mode) {
    case TarnCommandLine::Mode::Help:
        std::fputs(qUtf8Printable(TarnCommandLine::usageText()), stdout);
        return 0;
    case TarnCommandLine::Mode::Version:
        std::fputs(qUtf8Printable(TarnCommandLine::versionText()), stdout);
        return 0;
    case TarnCommandLine::Mode::ExportHtml:
    case TarnCommandLine::Mode::Outline:
        return TarnCommandLine::runTextConversion(options, stdout, stderr);
    case TarnCommandLine::Mode::ExportPdf:
    case TarnCommandLine::Mode::Window:
        break;
    }
    return 0;
}
