// Runs every editor test class in one binary.
#include <QApplication>
#include <QTest>

int runCaseFoldedSearchTests(int argc, char **argv);
int runFormattingCommandsTests(int argc, char **argv);
int runFindReplaceTests(int argc, char **argv);
int runEditorPaneTests(int argc, char **argv);
int runSourceColoursTests(int argc, char **argv);
int runCountsTests(int argc, char **argv);

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    int failures = 0;
    for (auto run : {runCaseFoldedSearchTests, runFormattingCommandsTests, runFindReplaceTests,
                     runEditorPaneTests, runSourceColoursTests, runCountsTests})
        failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}
