// Runs the window, menu and desktop services tests in one binary.
#include "AppTestSupport.h"
#include "TarnApplication.h"
#include "WebEngineProcess.h"

#include <QApplication>
#include <QStandardPaths>
#include <QTest>

int runFolderTest(int argc, char **argv);

int main(int argc, char **argv)
{
    // The reader pane hosts web views, which need this before the application exists.
    configureWebEngineForProcess();
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    // The program's style, locale and Qt translations, which its dialogs are seen in.
    TarnApplication::configureApplication(app);
    AppTest test;
    const int failures = QTest::qExec(&test, argc, argv);
    return failures + runFolderTest(argc, argv) == 0 ? 0 : 1;
}
