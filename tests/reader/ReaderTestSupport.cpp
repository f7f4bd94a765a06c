// The main of the web tests.
#include "ReaderTestSupport.h"

#include "WebEngineProcess.h"

#include <QApplication>

QList<int (*)(int, char **)> &webTests()
{
    static QList<int (*)(int, char **)> tests;
    return tests;
}

int main(int argc, char *argv[])
{
    configureWebEngineForProcess();
    QApplication app(argc, argv);
    int status = 0;
    for (const auto run : webTests())
        status |= run(argc, argv);
    return status;
}
