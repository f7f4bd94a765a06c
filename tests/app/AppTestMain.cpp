// Runs every window, menu and desktop test class in one binary.
#include "WebEngineProcess.h"

#include <QApplication>
#include <QStandardPaths>

int runWindowTests(int argc, char **argv);
int runMenuTests(int argc, char **argv);
int runDesktopServicesTests(int argc, char **argv);

int main(int argc, char **argv)
{
    // The reader pane hosts web views, which need this before the application exists.
    configureWebEngineForProcess();
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    int failures = 0;
    for (auto run : {runWindowTests, runMenuTests, runDesktopServicesTests})
        failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}
