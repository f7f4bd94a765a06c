// Runs the renderer's tests: the fragment table is filled from the files of each topic.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QTest>

void RenderTest::fragment_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("html");
    addBlockRows();
    addCodeAndTableRows();
}

void RenderTest::fragment()
{
    QFETCH(QString, markdown);
    QFETCH(QString, html);
    QCOMPARE(qs(MarkdownRenderer::renderFragment(u16(markdown)).html), html);
}

QTEST_GUILESS_MAIN(RenderTest)
