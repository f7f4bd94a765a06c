// Entry point: conversions run without a window; otherwise the program opens its window.
#include "CommandLine.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const auto parsed = TarnCommandLine::parse(app.arguments());
    if (!parsed.options) {
        std::fprintf(stderr, "tarn: %s\n\n%s", qUtf8Printable(parsed.error),
                     qUtf8Printable(TarnCommandLine::usageText()));
        return 2;
    }
    const TarnCommandLine::Options &options = *parsed.options;
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
        std::fputs("tarn: PDF export is not available in this build yet\n", stderr);
        return 1;
    case TarnCommandLine::Mode::Window:
        // The window arrives with the application shell; until then, explain the usage.
        std::fputs(qUtf8Printable(TarnCommandLine::usageText()), stdout);
        return 0;
    }
    return 0;
}
