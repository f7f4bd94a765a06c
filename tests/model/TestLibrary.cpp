// The library kept by the model: remembering, favourites, removal, reopening and its storage.
#include "ModelTestSupport.h"

#include <QTest>

namespace {

std::optional<StoredFile> entryFor(const AppModel &model, const QString &path)
{
    for (const StoredFile &file : model.storedFiles()) {
        if (file.path == path)
            return file;
    }
    return std::nullopt;
}

} // namespace

class TestLibrary : public QObject
{
    Q_OBJECT

private slots:
    void rememberMovesToTheEndAndKeepsTheFavourite()
    {
        ModelHarness h;
        const QUrl a = h.file("a.md", "a");
        const QUrl upper = h.file("A.md", "A");
        h.model->openURLs({a, upper, h.file("b.md", "b")}, false);
        QCOMPARE(h.model->storedFiles().size(), 3); // paths differing in case are two entries
        h.model->toggleFavorite(*entryFor(*h.model, h.path("a.md")));
        const double before = entryFor(*h.model, h.path("a.md"))->lastOpenedAt.value();

        h.model->rememberFile(a);
        const QList<StoredFile> files = h.model->storedFiles();
        QCOMPARE(files.size(), 3);
        QCOMPARE(files.last().path, h.path("a.md"));
        QCOMPARE(files.last().displayName, QStringLiteral("a.md"));
        QVERIFY(files.last().isFavorite);
        QVERIFY(files.last().lastOpenedAt.value() > before);
        // The store holds the same list.
        QCOMPARE(StoredFiles::decode(h.storedValue("tarn.storedFiles").toByteArray()),
                 std::optional(files));
    }

    void favouriteLifecycle_data()
    {
        QTest::addColumn<bool>("bookmarkOnOpen");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<bool>("present");
        QTest::addColumn<bool>("favorite");
        QTest::addColumn<bool>("dated");
        QTest::addColumn<bool>("shown");
        QTest::newRow("recent") << false << QStringList{} << true << false << true << true;
        QTest::newRow("favourite twice is recent again")
            << false << QStringList{"fav", "fav"} << true << false << true << true;
        QTest::newRow("remove recent")
            << false << QStringList{"remove"} << false << false << false << false;
        QTest::newRow("favourite taken off recent stays")
            << false << QStringList{"fav", "remove"} << true << true << false << true;
        QTest::newRow("then unmarked, gone")
            << false << QStringList{"fav", "remove", "fav"} << false << false << false << false;
        QTest::newRow("favourite keeps the bookmark made on opening")
            << true << QStringList{"fav"} << true << true << true << true;
    }
    void favouriteLifecycle()
    {
        QFETCH(bool, bookmarkOnOpen);
        QFETCH(QStringList, steps);
        QFETCH(bool, present);
        QFETCH(bool, favorite);
        QFETCH(bool, dated);
        QFETCH(bool, shown);
        ModelHarness h;
        // Unless bookmarkOnOpen, the first bookmark (made on opening) fails.
        int bookmarks = 0;
        h.platform.bookmarkMaker = [&](const QUrl &url) -> std::optional<QByteArray> {
            if (++bookmarks == 1 && !bookmarkOnOpen)
                return std::nullopt;
            return url.toEncoded() + "#" + QByteArray::number(bookmarks);
        };
        h.model->openURLs({h.file("a.md", "a")}, false);
        QCOMPARE(entryFor(*h.model, h.path("a.md"))->bookmarkData.has_value(), bookmarkOnOpen);
        for (const QString &step : steps) {
            const StoredFile file = *entryFor(*h.model, h.path("a.md"));
            if (step == "fav")
                h.model->toggleFavorite(file);
            else
                h.model->removeRecent(file);
        }
        const auto entry = entryFor(*h.model, h.path("a.md"));
        QCOMPARE(entry.has_value(), present);
        if (entry) {
            QCOMPARE(entry->isFavorite, favorite);
            QCOMPARE(entry->lastOpenedAt.has_value(), dated);
            // Made once, on opening or by the first favourite mark, and then kept.
            const std::optional<QByteArray> expected =
                bookmarkOnOpen          ? std::optional(h.url("a.md").toEncoded() + "#1")
                : steps.contains("fav") ? std::optional(h.url("a.md").toEncoded() + "#2")
                                        : std::nullopt;
            QCOMPARE(entry->bookmarkData, expected);
        }
        QCOMPARE(h.model->filteredStoredFiles().size(), shown ? 1 : 0);
    }

    void openStoredFile_data()
    {
        QTest::addColumn<bool>("fileExists");
        QTest::addColumn<QString>("bookmark"); // "", "fresh", "stale", "broken"
        QTest::addColumn<QString>("opened");   // tab file name, or "" for the alert
        QTest::newRow("plain path") << true << ""
                                    << "a.md";
        QTest::newRow("file gone") << false << ""
                                   << "";
        QTest::newRow("fresh bookmark to a moved file") << false << "fresh"
                                                        << "moved.md";
        QTest::newRow("stale bookmark is renewed") << false << "stale"
                                                   << "moved.md";
        QTest::newRow("broken bookmark falls back to the path") << true << "broken"
                                                                << "a.md";
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
            QCOMPARE(
                h.model->alert()->message,
                QStringLiteral("Tarn 无法继续访问这个文件。请从访达重新打开它，以刷新文件权限。"));
            QCOMPARE(h.model->storedFiles(), QList<StoredFile>{file});
            QVERIFY(h.events().isEmpty());
            return;
        }
        QCOMPARE(h.model->selectedDocument()->fileName(), opened);
        QVERIFY(!h.model->alert());
    }
};

int runTestLibrary(int argc, char **argv)
{
    TestLibrary test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestLibrary.moc"
