// Tabs: selection, the closing neighbour rule, editing mode and the unsaved-changes questions,
// and the library of known files behind the sidebar.
#include "ModelTestSupport.h"

#include <QDir>
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

std::optional<StoredFile> entryFor(const AppModel &model, const QString &path)
{
    for (const StoredFile &file : model.storedFiles()) {
        if (file.path == path)
            return file;
    }
    return std::nullopt;
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
        // clang-format off
        QTest::newRow("only tab") << 1 << 0 << 0 << -1;
        QTest::newRow("middle selected: right neighbour") << 3 << 1 << 1 << 2;
        QTest::newRow("first selected") << 3 << 0 << 0 << 1;
        QTest::newRow("last selected: new last") << 3 << 2 << 2 << 1;
        QTest::newRow("other tab closed: selection stays") << 3 << 2 << 0 << 2;
        QTest::newRow("tab right of selection closed") << 3 << 0 << 2 << 0;
        // clang-format on
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
        // clang-format off
        QTest::newRow("save") << 0 << false << true << QByteArray("edit");
        QTest::newRow("save fails, keep editing") << 0 << true << false << QByteArray();
        QTest::newRow("discard") << 1 << false << true << QByteArray("text 0");
        QTest::newRow("cancel") << 2 << false << false << QByteArray("text 0");
        QTest::newRow("closed without answer") << -1 << false << false << QByteArray("text 0");
        // clang-format on
    }
    void dirtyDialogAnswers()
    {
        QFETCH(int, answer);
        QFETCH(bool, sabotageSave);
        QFETCH(bool, proceeds);
        QFETCH(QByteArray, onDisk);
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
        QCOMPARE(document->isDirty(), !proceeds && answer != 1);
        if (!sabotageSave)
            QCOMPARE(readFile(h.path("0.md")), onDisk);
        if (answer == 1)
            QCOMPARE(document->draft(), document->content());
    }

    // Another tab, or the open panel, asks about the unsaved tab once; then it goes on.
    void leavingADirtyTabAsksOnce()
    {
        ModelHarness h;
        const QList<TarnDocument *> tabs = openTabs(h, 2);
        h.model->toggleEditing();
        tabs.at(1)->updateDraft("unsaved");
        h.model->updateSearchResults(2, 5);
        h.model->setCurrentHeadingID("intro");
        h.platform.alertAnswers = {2};
        h.model->selectTab(tabs.at(0)->id());
        QCOMPARE(h.model->selectedDocument(), tabs.at(1));
        QVERIFY(h.model->isEditing());
        QCOMPARE(h.model->searchResultCount(), 5);

        h.platform.alertAnswers = {1};
        h.model->selectTab(tabs.at(0)->id());
        QCOMPARE(h.model->selectedDocument(), tabs.at(0));
        QVERIFY(!h.model->isEditing());
        QCOMPARE(h.model->searchResultCount(), 0);
        QCOMPARE(h.model->currentSearchResultIndex(), 0);
        QCOMPARE(h.model->currentHeadingID(), QString());
        QCOMPARE(h.platform.alerts.size(), 2);

        h.model->toggleEditing();
        tabs.at(0)->updateDraft("unsaved too");
        h.platform.alertAnswers = {1};
        h.platform.openPanelAnswers = {{h.file("chosen.md", "chosen")}};
        h.model->presentOpenPanel();
        QCOMPARE(h.platform.alerts.size(), 3);
        QCOMPARE(h.model->selectedDocument()->fileName(), QStringLiteral("chosen.md"));
    }

    // An unsaved draft outside editing (recovered, or kept over a change on disk) is the user's
    // text: editing starts from it, and leaving asks.
    void toggleEditingKeepsAnUnsavedDraft()
    {
        ModelHarness h;
        TarnDocument *document = openTabs(h, 1).at(0);
        document->updateDraft("recovered draft");
        h.model->toggleEditing();
        QVERIFY(h.model->isEditing());
        QCOMPARE(document->draft(), QStringLiteral("recovered draft"));
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
        QCOMPARE(seen,
                 (QList<QPair<TarnDocument *, bool>>{{tabs.at(0), true}, {tabs.at(2), true}}));
        QVERIFY(tabs.at(2)->isDirty());
        h.platform.alertHandler = [](const ModalAlert &) { return 1; };
        QVERIFY(h.model->confirmBeforeTerminating());
        const qsizetype asked = h.platform.alerts.size();
        QVERIFY(h.model->confirmBeforeTerminating()); // nothing left to ask
        QCOMPARE(h.platform.alerts.size(), asked);
    }

    void favouritesAndRecents_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<bool>("present");
        QTest::addColumn<bool>("favorite");
        QTest::addColumn<bool>("dated");
        // clang-format off
        QTest::newRow("favourite twice is recent again") << QStringList{"fav", "fav"} << true << false << true;
        QTest::newRow("remove recent") << QStringList{"remove"} << false << false << false;
        QTest::newRow("favourite taken off recent stays") << QStringList{"fav", "remove"} << true << true << false;
        QTest::newRow("then unmarked, gone") << QStringList{"fav", "remove", "fav"} << false << false << false;
        // clang-format on
    }
    void favouritesAndRecents()
    {
        QFETCH(QStringList, steps);
        QFETCH(bool, present);
        ModelHarness h;
        // The bookmark made on opening fails; the first favourite mark makes it.
        int bookmarks = 0;
        h.platform.bookmarkMaker = [&](const QUrl &url) -> std::optional<QByteArray> {
            if (++bookmarks == 1)
                return std::nullopt;
            return url.toEncoded() + "#" + QByteArray::number(bookmarks);
        };
        h.model->openURLs({h.file("a.md", "a")}, false);
        for (const QString &step : steps) {
            const StoredFile file = *entryFor(*h.model, h.path("a.md"));
            if (step == "fav")
                h.model->toggleFavorite(file);
            else
                h.model->removeRecent(file);
        }
        const auto entry = entryFor(*h.model, h.path("a.md"));
        QCOMPARE(entry.has_value(), present);
        QCOMPARE(h.model->filteredStoredFiles().size(), present ? 1 : 0);
        if (!entry)
            return;
        QTEST(entry->isFavorite, "favorite");
        QTEST(entry->lastOpenedAt.has_value(), "dated");
        QCOMPARE(entry->bookmarkData, std::optional(h.url("a.md").toEncoded() + "#2"));
        // The store holds the same list.
        QCOMPARE(StoredFiles::decode(h.storedValue("tarn.storedFiles").toByteArray()),
                 std::optional(h.model->storedFiles()));
    }

    void rememberMovesToTheEnd()
    {
        ModelHarness h;
        const QUrl a = h.file("a.md", "a");
        h.model->openURLs({a, h.file("A.md", "A"), h.file("b.md", "b")}, false);
        QCOMPARE(h.model->storedFiles().size(), 3); // paths differing in case are two entries
        const double before = entryFor(*h.model, h.path("a.md"))->lastOpenedAt.value();
        h.model->rememberFile(a);
        QCOMPARE(h.model->storedFiles().last().path, h.path("a.md"));
        QVERIFY(h.model->storedFiles().last().lastOpenedAt.value() > before);
    }

    void openStoredFile_data()
    {
        QTest::addColumn<bool>("fileExists");
        QTest::addColumn<QString>("bookmark"); // "", "fresh", "stale", "broken"
        QTest::addColumn<QString>("opened");   // tab file name, or "" for the alert
        // clang-format off
        QTest::newRow("file gone") << false << "" << "";
        QTest::newRow("stale bookmark to a moved file is renewed") << false << "stale" << "moved.md";
        QTest::newRow("broken bookmark falls back to the path") << true << "broken" << "a.md";
        // clang-format on
    }
    void openStoredFile()
    {
        QFETCH(bool, fileExists);
        QFETCH(QString, bookmark);
        QFETCH(QString, opened);
        ModelHarness h;
        h.file("moved.md", "moved");
        StoredFile file{h.path("a.md"), "a.md", std::nullopt, true, std::nullopt};
        if (fileExists)
            h.file("a.md", "a");
        if (!bookmark.isEmpty())
            file.bookmarkData = bookmark.toUtf8();
        h.platform.bookmarkResolver =
            [&](const QByteArray &data) -> std::optional<ResolvedBookmark> {
            if (data == "broken")
                return std::nullopt;
            return ResolvedBookmark{h.url("moved.md"), data == "stale"};
        };
        h.model->setStoredFiles({file});
        h.model->openStoredFile(file);
        if (opened.isEmpty()) {
            QVERIFY(h.model->tabs().isEmpty());
            QCOMPARE(h.model->alert()->title, QStringLiteral("文件不可用"));
            QCOMPARE(h.model->storedFiles(), QList<StoredFile>{file});
            return;
        }
        QCOMPARE(h.model->selectedDocument()->fileName(), opened);
        QVERIFY(!h.model->alert());
    }
};

int runTestTabs(int argc, char **argv)
{
    TestTabs test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestTabs.moc"
