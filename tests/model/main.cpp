// Runs every model test class in one binary.
#include <QCoreApplication>

int runTestDocuments(int argc, char **argv);
int runTestUsageLog(int argc, char **argv);
int runTestTabs(int argc, char **argv);
int runTestFiles(int argc, char **argv);
int runTestReaderOps(int argc, char **argv);
int runTestDiskChanges(int argc, char **argv);
int runTestDrafts(int argc, char **argv);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    int failures = 0;
    for (auto run : {runTestDocuments, runTestUsageLog, runTestTabs, runTestFiles, runTestReaderOps,
                     runTestDiskChanges, runTestDrafts})
        failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}
