// The Markdown flavour setting: the reading place kept across a switch, and the hint bar's state.
#include "ModelTestSupport.h"

#include <QSignalSpy>

namespace {

// Shown differently by the two flavours: a heading only in the standard one.
constexpr char underlined[] = "Intro\n=====\n\nText.\n";

} // namespace

class TestFlavor : public QObject
{
    Q_OBJECT

private slots:
    // The choice is stored at once; the reader is asked back to the heading it was at.
    void switchingKeepsTheHeading()
    {
        ModelHarness h;
        h.model->openURLs({h.file("a.md", underlined)}, false);
        h.model->setCurrentHeadingID("intro");
        QSignalSpy changed(h.model.get(), &AppModel::markdownFlavorChanged);
        h.model->setMarkdownFlavor(MarkdownFlavor::gfm);
        h.model->setMarkdownFlavor(MarkdownFlavor::gfm);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(h.model->scrollTargetID(), std::optional<QString>("intro"));

        ModelHarness next(readFile(h.path("settings.ini")));
        QCOMPARE(next.model->markdownFlavor(), MarkdownFlavor::gfm);
    }

    void hintShowsForStandardConstructsUntilClosed()
    {
        ModelHarness h;
        QSignalSpy shows(h.model.get(), &AppModel::showsFlavorHintChanged);
        h.model->openURLs({h.file("plain.md", "# Plain\n\nText.\n")}, false);
        QVERIFY(!h.model->showsFlavorHint());
        h.model->selectedDocument()->setContent(underlined); // reloaded from disk
        QVERIFY(h.model->showsFlavorHint());
        h.model->openURLs({h.file("a.md", underlined), h.file("b.md", underlined)}, false);
        QVERIFY(h.model->showsFlavorHint());

        h.model->closeFlavorHint(); // b.md
        QVERIFY(!h.model->showsFlavorHint());
        h.model->selectTab(h.model->tabs().at(1)->id()); // a.md still offers it
        QVERIFY(h.model->showsFlavorHint());
        h.model->setMarkdownFlavor(MarkdownFlavor::gfm);
        QVERIFY(!h.model->showsFlavorHint());
        QCOMPARE(shows.count(), 4);

        ModelHarness next(readFile(h.path("settings.ini")));
        next.model->openURLs({h.url("b.md")}, false);
        next.model->setMarkdownFlavor(MarkdownFlavor::classic);
        QVERIFY(!next.model->showsFlavorHint());
        next.model->openURLs({h.url("a.md")}, false);
        QVERIFY(next.model->showsFlavorHint());
    }

    // The closed hints as stored: a list of paths; anything else closes none.
    void closedHintsAreReadStrictly_data()
    {
        QTest::addColumn<QByteArray>("stored"); // "%1" is the document's path
        QTest::addColumn<bool>("shows");
        QTest::newRow("closed") << QByteArray(R"(["/elsewhere.md","%1"])") << false;
        QTest::newRow("another file") << QByteArray(R"(["/elsewhere.md"])") << true;
        QTest::newRow("an entry not a path") << QByteArray(R"(["%1",3])") << true;
        QTest::newRow("not a list") << QByteArray(R"({"%1":true})") << true;
        QTest::newRow("not JSON") << QByteArray("%1") << true;
    }
    void closedHintsAreReadStrictly()
    {
        QFETCH(QByteArray, stored);
        QFETCH(bool, shows);
        ModelHarness h;
        const QUrl url = h.file("a.md", underlined);
        h.settings->setValue("tarn.flavorHintClosed",
                             QByteArray(stored).replace("%1", url.toLocalFile().toUtf8()));
        h.model = std::make_unique<AppModel>(*h.settings, h.platform, h.pdf, *h.logger, testClock);
        h.model->openURLs({url}, false);
        QCOMPARE(h.model->showsFlavorHint(), shows);
    }
};

MODEL_TEST_RUNNER(TestFlavor)
#include "tst_flavor.moc"
