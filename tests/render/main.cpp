// Runs the renderer's test classes in one binary.
#include "TestSupport.h"

#include <QCoreApplication>
#include <QTest>

#include <memory>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    int failures = 0;
    for (auto make :
         {makeBlocksTest, makeInlineTest, makeHeadingsTest, makeCodeTablesTest, makePageTest}) {
        std::unique_ptr<QObject> test(make());
        failures += QTest::qExec(test.get(), argc, argv);
    }
    return failures == 0 ? 0 : 1;
}
