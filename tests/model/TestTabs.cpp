// Tabs: selection, the closing neighbour rule, editing mode and the unsaved-changes questions.
#include "ModelTestSupport.h"

#include <QSignalSpy>
#include <QTest>

namespace {

// Opens n.md for n = 0...count-1 and returns their documents in tab order.
QList<TarnDocument *> openTabs(ModelHarness &h, int count)
{
    QList<QUrl> urls;
    for (int i = 0; i < count; ++i)
        urls.append(h.file(QString::number(i) + ".md", "text " + QByteArray::number(i)));
    h.model->openURLs(urls, false);
    return h.model->tabs();
}

} // namespace

class TestTabs : public QObject
{
    Q_OBJECT

private slots:
    void closeTabNeighbour_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("selected");
        QTest::addColumn<int>("closed");
        QTest::addColumn<int>("expected"); // index into the original tabs, -1 for none
        QTest::newRow("only tab") << 1 << 0 << 0 << -1;
        QTest::newRow("middle selected: right neighbour") << 3 << 1 << 1 << 2;
        QTest::newRow("first selected") << 3 << 0 << 0 << 1;
        QTest::newRow("last selected: new last") << 3 << 2 << 2 << 1;
        QTest::newRow("other tab closed: selection stays") << 3 << 2 << 0 << 2;
        QTest::newRow("tab right of selection closed") << 3 << 0 << 2 << 0;
    }
    void closeTabNeighbour()
    {
        QFETCH(int, count);
        QFETCH(int, selected);
        QFETCH(int, closed);
        QFETCH(int, expected);
        ModelHarness h;
        const QList<TarnDocument *> tabs = openTabs(h, count);
        h.model->selectTab(tabs.at(selected)->id());
        h.model->toggleEditing();
        h.model->updateSearchResults(1, 3);
        h.model->setCurrentHeadingID("intro");

        h.model->closeTab(tabs.at(closed));
        QCOMPARE(h.model->tabs().size(), count - 1);
        QCOMPARE(h.model->selectedDocument(), expected < 0 ? nullptr : tabs.at(expected));
        const bool reset = selected == closed;
        QCOMPARE(h.model->isEditing(), !reset);
        QCOMPARE(h.model->searchResultCount(), reset ? 0 : 3);
        QCOMPARE(h.model->currentHeadingID(), reset ? QString() : QStringLiteral("intro"));
    }

    void dirtyDialogAnswers_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("sabotageSave");
        QTest::addColumn<bool>("proceeds");
        QTest::addColumn<QByteArray>("onDisk");
        QTest::addColumn<bool>("dirtyAfter");
        QTest::newRow("save") << 0 << false << true << QByteArray("edit") << false;
        QTest::newRow("save fails, keep editing") << 0 << true << false << QByteArray() << true;
        QTest::newRow("discard") << 1 << false << true << QByteArray("text 0") << false;
        QTest::newRow("cancel") << 2 << false << false << QByteArray("text 0") << true;
        QTest::newRow("closed without answer")
            << -1 << false << false << QByteArray("text 0") << true;
    }
    void dirtyDialogAnswers()
    {
        QFETCH(int, answer);
        QFETCH(bool, sabotageSave);
        QFETCH(bool, proceeds);
        QFETCH(QByteArray, onDisk);
        QFETCH(bool, dirtyAfter);
        ModelHarness h;
        TarnDocument *document = openTabs(h, 2).at(0);
        h.model->selectTab(document->id());
        h.model->toggleEditing();
        document->updateDraft("edit");
        if (sabotageSave) {
            QFile::remove(h.path("0.md"));
            QDir(h.dir.path()).mkdir("0.md");
        }
        h.platform.alertAnswers = {answer, 0}; // the second answers a failed save's dialog

        h.model->closeTab(document);
        const ModalAlert question = h.platform.alerts.first();
        QCOMPARE(question.style, AlertStyle::warning);
        QCOMPARE(question.message, QStringLiteral("要保存对 0.md 的修改吗？"));
        QCOMPARE(question.informativeText, QStringLiteral("你的编辑还没有保存。"));
        QCOMPARE(question.buttons, (QStringList{"保存", "放弃修改", "取消"}));
        QCOMPARE(h.model->tabs().contains(document), !proceeds);
        QCOMPARE(document->isDirty(), dirtyAfter);
        if (!sabotageSave)
            QCOMPARE(readFile(h.path("0.md")), onDisk);
        if (answer == 1)
            QCOMPARE(document->draft(), document->content());
    }

    void selectTabAsksFirst()
    {
        ModelHarness h;
        const QList<TarnDocument *> tabs = openTabs(h, 2);
        h.model->toggleEditing();
        tabs.at(1)->updateDraft("unsaved");
        h.platform.alertAnswers = {2};
        h.model->selectTab(tabs.at(0)->id());
        QCOMPARE(h.model->selectedDocument(), tabs.at(1));
        QVERIFY(h.model->isEditing());

        h.platform.alertAnswers = {1};
        h.model->selectTab(tabs.at(0)->id());
        QCOMPARE(h.model->selectedDocument(), tabs.at(0));
        QVERIFY(!h.model->isEditing());
        QCOMPARE(h.platform.alerts.size(), 2);
    }

    void toggleEditingResetsTheDraft()
    {
        ModelHarness h;
        TarnDocument *document = openTabs(h, 1).at(0);
        document->updateDraft("stale draft");
        QSignalSpy canSave(h.model.get(), &AppModel::canSaveSelectedDocumentChanged);
        h.model->toggleEditing();
        QVERIFY(h.model->isEditing());
        QCOMPARE(document->draft(), QStringLiteral("text 0"));
        QVERIFY(!document->isDirty());
        QVERIFY(canSave.count() >= 1);

        document->updateDraft("typed");
        h.platform.alertAnswers = {2};
        h.model->toggleEditing();
        QVERIFY(h.model->isEditing()); // cancelled: stays in editing
        h.platform.alertAnswers = {1};
        h.model->toggleEditing();
        QVERIFY(!h.model->isEditing());
        QCOMPARE(document->draft(), QStringLiteral("text 0"));
    }

    void quittingAsksForEachDirtyTab()
    {
        ModelHarness h;
        const QList<TarnDocument *> tabs = openTabs(h, 3);
        h.model->toggleEditing();
        tabs.at(2)->updateDraft("third edited");
        tabs.at(0)->updateDraft("first edited");
        h.model->setEditing(false);
        QList<QPair<TarnDocument *, bool>> seen; // selected document and editing at each question
        h.platform.alertHandler = [&](const ModalAlert &) {
            seen.append({h.model->selectedDocument(), h.model->isEditing()});
            return seen.size() == 1 ? 1 : 2; // discard the first, cancel at the second
        };
        QVERIFY(!h.model->confirmBeforeTerminating());
        QCOMPARE(seen.size(), 2);
        QCOMPARE(seen.at(0), qMakePair(tabs.at(0), true));
        QCOMPARE(seen.at(1), qMakePair(tabs.at(2), true));
        QCOMPARE(h.model->selectedDocument(), tabs.at(2));
        QVERIFY(tabs.at(2)->isDirty());

        h.platform.alertHandler = [](const ModalAlert &) { return 1; };
        QVERIFY(h.model->confirmBeforeTerminating());
        const qsizetype asked = h.platform.alerts.size();
        QVERIFY(h.model->confirmBeforeTerminating()); // nothing left to ask
        QCOMPARE(h.platform.alerts.size(), asked);
    }
};

int runTestTabs(int argc, char **argv)
{
    TestTabs test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestTabs.moc"
