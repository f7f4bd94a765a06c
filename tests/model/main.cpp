// Runs every model test class in one binary.
#include <QCoreApplication>

int runTestStoredFiles(int argc, char **argv);
int runTestUsageLog(int argc, char **argv);
int runTestModelSettings(int argc, char **argv);
int runTestOpenAndSave(int argc, char **argv);
int runTestTabs(int argc, char **argv);
int runTestLibrary(int argc, char **argv);
int runTestReaderOps(int argc, char **argv);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    int failures = 0;
    for (auto run : {runTestStoredFiles, runTestUsageLog, runTestModelSettings, runTestOpenAndSave,
                     runTestTabs, runTestLibrary, runTestReaderOps})
        failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}
