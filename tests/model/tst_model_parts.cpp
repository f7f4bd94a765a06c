// The model's parts on their own: the tabs, the file library, the reader state with its stored
// read positions, and the disk watcher.
#include "ModelTestSupport.h"

#include "DiskWatcher.h"
#include "ModelSettings.h"

#include <QDir>
#include <QSignalSpy>

using SearchReport = std::tuple<int, int, int, int>; // current and total; then count and index
using FavRow = std::tuple<QStringList, bool, bool, bool>;

class TestModelParts : public QObject
{
    Q_OBJECT

private slots:
    // Only the selected document's unsaved state and saved text concern the window.
    void tabsReportTheSelectedDocument()
    {
        DocumentTabs tabs;
        auto *a = new TarnDocument(QUrl::fromLocalFile("/a.md"), "a");
        auto *b = new TarnDocument(QUrl::fromLocalFile("/b.md"), "b");
        tabs.append(a);
        tabs.append(b);
        tabs.setSelectedTabID(b->id());
        QSignalSpy canSave(&tabs, &DocumentTabs::canSaveSelectedDocumentChanged);
        QSignalSpy content(&tabs, &DocumentTabs::selectedContentChanged);
        a->updateDraft("edited a");
        a->setContent("saved a");
        QCOMPARE(canSave.count() + content.count(), 0);
        b->updateDraft("edited b");
        QVERIFY(tabs.canSaveSelectedDocument());
        b->setContent("saved b");
        QCOMPARE(canSave.count(), 1);
        QCOMPARE(content.count(), 1);
        QCOMPARE(tabs.remove(a), 0);
        QCOMPARE(tabs.remove(a), -1);
        QCOMPARE(tabs.documentWithPath("/b.md"), b);
    }

    // Every change of the library is one write of the whole list, and the store holds it.
    void favouritesAndRecents_data()
    {
        QTest::addColumn<FavRow>("row"); // steps; then present, favourite, dated
        QTest::newRow("favourite twice: recent") << FavRow{{"fav", "fav"}, true, false, true};
        QTest::newRow("remove recent") << FavRow{{"remove"}, false, false, false};
        QTest::newRow("favourite off recent stays") << FavRow{{"fav", "remove"}, true, true, false};
        QTest::newRow("unmarked: gone") << FavRow{{"fav", "remove", "fav"}, false, false, false};
        QTest::newRow("opened again, then favourite") << FavRow{{"open", "fav"}, true, true, true};
    }
    void favouritesAndRecents()
    {
        QFETCH(FavRow, row);
        const auto &[steps, present, favorite, dated] = row;
        ModelHarness h;
        FileLibrary &library = h.model->library();
        QSignalSpy writes(&library, &FileLibrary::storedFilesChanged);
        // The bookmark made on opening fails; the first favourite mark makes it.
        int bookmarks = 0;
        h.platform.bookmarkMaker = [&](const QUrl &url) {
            const QByteArray made = url.toEncoded() + "#" + QByteArray::number(++bookmarks);
            return bookmarks == 1 ? std::nullopt : std::optional(made);
        };
        library.rememberFile(h.file("a.md", "a"));
        for (const QString &step : steps) {
            if (step == "open")
                library.rememberFile(h.url("a.md"));
            else if (step == "fav")
                library.toggleFavorite(library.storedFiles().first());
            else
                library.removeRecent(library.storedFiles().first());
        }
        QCOMPARE(writes.count(), 1 + steps.size());
        QCOMPARE(library.storedFiles().size(), present ? 1 : 0);
        QCOMPARE(library.filteredStoredFiles().size(), present ? 1 : 0);
        QCOMPARE(StoredFiles::decode(h.settings->value("tarn.storedFiles").toByteArray()),
                 std::optional(library.storedFiles()));
        if (!present)
            return;
        const StoredFile stored = library.storedFiles().first();
        QCOMPARE(stored.isFavorite, favorite);
        QCOMPARE(stored.lastOpenedAt.has_value(), dated);
        QCOMPARE(stored.bookmarkData, std::optional(h.url("a.md").toEncoded() + "#2"));
    }

    void searchState()
    {
        ModelHarness h;
        ReaderState &reader = h.model->reader();
        QSignalSpy countSpy(&reader, &ReaderState::searchResultCountChanged);
        QSignalSpy indexSpy(&reader, &ReaderState::currentSearchResultIndexChanged);
        // Reports are clamped to the hits; the same report again wakes nobody.
        const QList<SearchReport> reports{{0, 5, 5, 1}, {9, 5, 5, 5}, {9, 5, 5, 5}, {3, -2, 0, 0}};
        for (const auto &[current, total, count, index] : reports) {
            reader.updateSearchResults(current, total);
            QCOMPARE(reader.searchResultCount(), count);
            QCOMPARE(reader.currentSearchResultIndex(), index);
        }
        QCOMPARE(countSpy.count() + indexSpy.count(), 5);

        // Moving to the next hit needs a document, a query that is not blank, and a hit.
        const auto step = [&] {
            h.model->navigateSearch(SearchNavigationDirection::next);
            return reader.searchNavigationRequest();
        };
        reader.setSearchQuery("tarn");
        reader.updateSearchResults(1, 3);
        QVERIFY(!step());
        h.model->openURLs({h.file("a.md", "tarn")}, false);
        reader.setSearchQuery(" \n\t");
        reader.updateSearchResults(1, 3);
        QVERIFY(!step());
        reader.setSearchQuery("tarn");
        QVERIFY(!step());
        reader.updateSearchResults(1, 3);
        const SearchNavigationRequest first = step().value();
        QVERIFY(step().value() != first); // same direction, new request

        // Results are forgotten when the query changes, and only then.
        reader.setSearchQuery("tarn");
        QCOMPARE(reader.searchResultCount(), 3);
        reader.setSearchQuery("tar");
        QCOMPARE(reader.searchResultCount(), 0);
        QVERIFY(!reader.searchNavigationRequest());
        reader.updateSearchResults(1, 1);
        reader.clearSearch();
        QCOMPARE(reader.searchQuery(), QString());
        QCOMPARE(reader.searchResultCount(), 0);
    }

    // Positions are kept for the most recently read files only, and which those are survives
    // a restart.
    void readPositionsKeepTheMostRecentFiles()
    {
        ModelHarness h;
        QHash<QString, double> seeded;
        QStringList order;
        for (int i = 0; i < ReadPositions::limit; ++i) {
            order << "/f/" + QString::number(i);
            seeded.insert(order.last(), i);
        }
        QVERIFY(ModelSettings::writeReadPositions(*h.settings, ReadPositions(seeded, order)));
        const QString ini = h.path("settings.ini");
        {
            QSettings settings(ini, QSettings::IniFormat);
            ReaderState reader(settings);
            reader.rememberReadPosition("/f/1", 1.5); // read again: now the newest
            reader.rememberReadPosition("/new", 7);
        }
        QSettings settings(ini, QSettings::IniFormat);
        ReaderState reader(settings);
        reader.rememberReadPosition("/newer", 8);
        QSettings reloaded(ini, QSettings::IniFormat);
        const QHash<QString, double> kept = ReaderState(reloaded).readPositions();
        QCOMPARE(kept.size(), ReadPositions::limit);
        for (const char *dropped : {"/f/0", "/f/2"})
            QVERIFY2(!kept.contains(dropped), dropped);
        QCOMPARE(kept.value("/f/1"), 1.5);
        QCOMPARE(kept.value("/f/3"), 3.0);
        QCOMPARE(kept.value("/newer"), 8.0);
    }

    // The open files and their folders are watched, and nothing else.
    void watcherFollowsTheTabs()
    {
        ModelHarness h;
        QDir(h.dir.path()).mkdir("sub");
        h.model->openURLs({h.file("a.md", "a"), h.file("sub/b.md", "b")}, false);
        const DiskWatcher &watcher = h.model->diskWatcher();
        QStringList all{h.dir.path(), h.path("a.md"), h.path("sub"), h.path("sub/b.md")};
        all.sort();
        QCOMPARE(watcher.watchedPaths(), all);
        h.model->closeTab(h.model->selectedDocument());
        QCOMPARE(watcher.watchedPaths(), (QStringList{h.dir.path(), h.path("a.md")}));
        h.model->closeTab(h.model->selectedDocument());
        QCOMPARE(watcher.watchedPaths(), QStringList());
    }
};

MODEL_TEST_RUNNER(TestModelParts)

#include "tst_model_parts.moc"
