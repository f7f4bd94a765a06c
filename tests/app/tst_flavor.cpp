// The Markdown flavour in the window: the View menu's item, the hint bar above the page, and the
// page redrawn at the heading being read.
#include "AppTestSupport.h"
#include "FlavorHintBar.h"
#include "ReaderPane.h"
#include "TarnWebView.h"

#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include <algorithm>

void AppTest::flavorMenuAndHint()
{
    WindowFixture f;
    QAction *item = f.window.menuBar()->findChild<QAction *>(QStringLiteral("markdownFlavorItem"));
    QVERIFY(item);
    QCOMPARE(item->text(), QStringLiteral("标准 Markdown（GitHub 风格）"));
    QVERIFY(item->isCheckable() && !item->isChecked());
    ReaderPane *reader = f.view.readerPane();
    FlavorHintBar *bar = reader->flavorHintBar();
    QSignalSpy ready(reader, &ReaderPane::pageReady);

    f.model->openURLs({f.file("plain.md", "# Plain\n\nText.\n")}, false);
    QTRY_COMPARE_WITH_TIMEOUT(ready.count(), 1, 10000);
    QVERIFY(bar->isHidden());

    // The definitions fill the classic page and vanish from the standard one, so a scroll
    // offset kept across the switch would land far from the heading.
    QString text = QStringLiteral("Guide\n=====\n\n");
    for (int i = 0; i < 60; ++i)
        text += QStringLiteral("[ref%1]: https://example.org/%1\n\n").arg(i);
    for (const char *heading : {"## Middle\n\n", "## Third\n\n"}) {
        text += QString::fromUtf8(heading);
        for (int i = 0; i < 40; ++i)
            text += QStringLiteral("Paragraph %1.\n\n").arg(i);
    }
    f.model->openURLs({f.file("guide.md", text)}, false);
    QTRY_COMPARE_WITH_TIMEOUT(ready.count(), 2, 10000);
    QVERIFY(!bar->isHidden());
    TarnWebView *view = reader->currentView();
    QVERIFY(view->mapTo(reader, QPoint(0, 0)).y() > bar->geometry().bottom());

    view->page()->runJavaScript("document.getElementById('third').scrollIntoView()");
    QTRY_COMPARE_WITH_TIMEOUT(f.model->currentHeadingID(), QStringLiteral("third"), 10000);
    bar->switchButton()->click();
    QCOMPARE(f.model->markdownFlavor(), MarkdownFlavor::gfm);
    QVERIFY(item->isChecked());
    QVERIFY(bar->isHidden());
    QTRY_COMPARE_WITH_TIMEOUT(ready.count(), 3, 10000);
    QCOMPARE(view->lastHTML(), QString::fromStdU16String(
                                   MarkdownRenderer::render(text.toStdU16String(), f.model->theme(),
                                                            u"guide", MarkdownFlavor::gfm)
                                       .html));
    QVERIFY(headingAtTop(view, QStringLiteral("third")));
    QTRY_COMPARE_WITH_TIMEOUT(f.model->currentHeadingID(), QStringLiteral("third"), 10000);

    // Back to classic through the menu while the page waits behind another tab: shown again, it
    // is redrawn at its heading, and the hint is offered again, until it is closed.
    TarnDocument *guide = f.model->selectedDocument();
    f.model->selectTab(f.model->tabs().constFirst()->id());
    item->trigger();
    QCOMPARE(f.model->markdownFlavor(), MarkdownFlavor::classic);
    QVERIFY(!item->isChecked());
    ready.clear();
    f.model->selectTab(guide->id());
    QVERIFY(!bar->isHidden());
    // The first tab's page, redrawn in the background, may be ready before or after it.
    const auto guideReady = [&] {
        return std::any_of(ready.cbegin(), ready.cend(), [&](const QList<QVariant> &signal) {
            return signal.at(0).value<TarnDocument *>() == guide;
        });
    };
    QTRY_VERIFY_WITH_TIMEOUT(guideReady(), 10000);
    QVERIFY(headingAtTop(view, QStringLiteral("third")));
    bar->closeButton()->click();
    QVERIFY(bar->isHidden());
    f.model->closeTab(f.model->selectedDocument());
    f.model->openURLs({QUrl::fromLocalFile(f.path("guide.md"))}, false);
    QVERIFY(bar->isHidden());
    f.model->openURLs({f.file("other.md", "Other\n=====\n")}, false);
    QVERIFY(!bar->isHidden());
}
