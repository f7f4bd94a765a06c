// Runs every model test class in one binary.
#include <QCoreApplication>

int runTestDocumentsLibrary(int argc, char **argv);
int runTestFilesTabs(int argc, char **argv);
int runTestReaderLog(int argc, char **argv);
int runTestDraftsDisk(int argc, char **argv);
int runTestExportedPage(int argc, char **argv);
int runTestFlavor(int argc, char **argv);
int runTestModelParts(int argc, char **argv);
int runTestSerialWorker(int argc, char **argv);
int runTestWorkspaceFolder(int argc, char **argv);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    int failures = 0;
    for (auto run : {runTestDocumentsLibrary, runTestFilesTabs, runTestReaderLog, runTestDraftsDisk,
                     runTestExportedPage, runTestFlavor, runTestModelParts, runTestSerialWorker,
                     runTestWorkspaceFolder})
        failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}
