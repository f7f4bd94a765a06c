// Documents and what is stored about them: drafts, display titles, the library's JSON, its
// filter and order, reopening, and the settings store with its defaults.
#include "ModelTestSupport.h"

#include <QSignalSpy>

using DirtyRow = std::tuple<QString, QString, bool>;
using FilterRow = std::tuple<QList<StoredFile>, QString, QStringList>;
using SettingsRow = std::tuple<QByteArray, QString, bool, int, int, bool>;

static StoredFile entry(const QString &path, bool favorite, std::optional<double> opened)
{
    return StoredFile{path, path.section(QLatin1Char('/'), -1), std::nullopt, favorite, opened};
}

// An INI line holding `json` as a binary value, the way QSettings writes QByteArray.
static QByteArray blobLine(const char *key, QByteArray json)
{
    json.replace('\\', "\\\\").replace('"', "\\\"");
    return QByteArray(key) + "=\"@ByteArray(" + json + ")\"\n";
}

const QByteArray validLibrary =
    R"([{"path":"/a/x.md","displayName":"x.md","isFavorite":true,"lastOpenedAt":5.25}])";

class TestDocumentsLibrary : public QObject
{
    Q_OBJECT

private slots:
    void draftDirtiness_data()
    {
        QTest::addColumn<DirtyRow>("row");
        // Long equal context around the edit, so the compared middle is small.
        const QString x(200, u'x');
        // clang-format off
        QTest::newRow("decomposed equals precomposed") << DirtyRow{"caf\u00e9", "cafe\u0301", false};
        QTest::newRow("decomposed inside a long text") << DirtyRow{x + "caf\u00e9 " + x, x + "cafe\u0301 " + x, false};
        QTest::newRow("combining marks in another order") << DirtyRow{x + "q\u0323\u0301" + x, x + "q\u0301\u0323" + x, false};
        QTest::newRow("mark added after a shared letter") << DirtyRow{x + "e" + x, x + "e\u0301" + x, true};
        QTest::newRow("hangul syllable and its jamo") << DirtyRow{x + "\uac00" + x, x + "\u1100\u1161" + x, false};
        QTest::newRow("different supplementary letters") << DirtyRow{x + "\U0001D400" + x, x + "\U0001D401" + x, true};
        QTest::newRow("trailing newline added") << DirtyRow{"a", "a\n", true};
        QTest::newRow("line ending changed") << DirtyRow{"a\nb", "a\r\nb", true};
        QTest::newRow("empty file, one character") << DirtyRow{"", "x", true};
        // clang-format on
    }
    void draftDirtiness()
    {
        QFETCH(DirtyRow, row);
        const auto &[content, draft, dirty] = row;
        TarnDocument document(QUrl::fromLocalFile("/tmp/a.md"), content);
        QSignalSpy dirtySpy(&document, &TarnDocument::isDirtyChanged);
        document.updateDraft(draft);
        QCOMPARE(document.isDirty(), dirty);
        document.updateDraft(content);
        QVERIFY(!document.isDirty());
        QCOMPARE(dirtySpy.count(), 2); // notified on every edit
    }

    void libraryDecoding_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("count"); // -1: unreadable
        // clang-format off
        QTest::newRow("optional keys null") << QByteArray(R"([{"path":"/x.md","displayName":"x.md","isFavorite":false,"bookmarkData":null,"lastOpenedAt":null}])") << 1;
        QTest::newRow("one entry lacks isFavorite") << QByteArray(R"([{"path":"/a.md","displayName":"a.md","isFavorite":true},{"path":"/b.md","displayName":"b.md"}])") << -1;
        QTest::newRow("lastOpenedAt as text") << QByteArray(R"([{"path":"/a.md","displayName":"a.md","isFavorite":true,"lastOpenedAt":"yesterday"}])") << -1;
        QTest::newRow("bookmark not base64") << QByteArray(R"([{"path":"/a.md","displayName":"a.md","isFavorite":true,"bookmarkData":"***"}])") << -1;
        QTest::newRow("element not an object") << QByteArray("[1]") << -1;
        // clang-format on
    }
    void libraryDecoding()
    {
        QFETCH(QByteArray, json);
        const auto files = StoredFiles::decode(json);
        QTEST(files ? int(files->size()) : -1, "count");
    }

    void libraryRoundTripKeepsEveryField()
    {
        const QList<StoredFile> files{
            {"/a/笔记.md", "笔记.md", QByteArray("\x00\x01\xff", 3), true, 794045730.123456},
            {"/b/x.md", "x.md", std::nullopt, false, std::nullopt},
        };
        const auto json = StoredFiles::encode(files);
        QVERIFY(json);
        QCOMPARE(StoredFiles::decode(*json), std::optional(files));
        QVERIFY(json->contains(R"("bookmarkData":"AAH/")"));
        QCOMPARE(json->count("lastOpenedAt"), 1); // absent, not null
    }

    void libraryFilterAndOrder_data()
    {
        QTest::addColumn<FilterRow>("row");
        // clang-format off
        QTest::newRow("favourites first, newest first, undated favourite last of them, undated recent hidden")
            << FilterRow{{entry("/r/old.md", false, 10), entry("/f/undated.md", true, std::nullopt), entry("/r/new.md", false, 30), entry("/f/dated.md", true, 20), entry("/gone.md", false, std::nullopt)}, "", {"/f/dated.md", "/f/undated.md", "/r/new.md", "/r/old.md"}};
        QTest::newRow("ties keep stored order") << FilterRow{{entry("/b.md", false, 5), entry("/a.md", false, 5)}, "", {"/b.md", "/a.md"}};
        QTest::newRow("filter trimmed, on name or folder, any case") << FilterRow{{entry("/NOTES/x.txt", false, 1), entry("/a/readme.MD", false, 2), entry("/a/plain.txt", false, 3)}, "  notes \n", {"/NOTES/x.txt"}};
        QTest::newRow("decomposed filter finds precomposed name") << FilterRow{{entry("/a/café.md", false, 1), entry("/a/cafe.md", false, 2)}, "cafe\u0301", {"/a/café.md"}};
        // clang-format on
    }
    void libraryFilterAndOrder()
    {
        QFETCH(FilterRow, row);
        const auto &[files, filter, shown] = row;
        QStringList paths;
        for (const StoredFile &file : StoredFiles::filtered(files, filter))
            paths.append(file.path);
        QCOMPARE(paths, shown);
    }

    void openStoredFile()
    {
        ModelHarness h;
        h.file("moved.md", "moved");
        h.platform.bookmarkResolver = [&](const QByteArray &data) {
            const ResolvedBookmark moved{h.url("moved.md"), data == "stale"};
            return data == "broken" ? std::nullopt : std::optional(moved);
        };
        StoredFile file{h.path("a.md"), "a.md", std::nullopt, true, std::nullopt};
        h.model->setStoredFiles({file});
        h.model->openStoredFile(file); // no bookmark, and the file is gone
        QVERIFY(h.model->tabs().isEmpty());
        QCOMPARE(h.model->alert()->title, QStringLiteral("文件不可用"));
        QCOMPARE(h.model->alert()->message,
                 QStringLiteral("Tarn 无法继续访问这个文件。它可能已被移动、重命名或删除。"));
        QCOMPARE(h.model->storedFiles(), QList<StoredFile>{file});
        h.file("a.md", "a");
        file.bookmarkData = "broken"; // falls back to the path
        h.model->openStoredFile(file);
        QCOMPARE(h.model->selectedDocument()->fileName(), QStringLiteral("a.md"));
        file.bookmarkData = "stale"; // the file moved; the bookmark leads there
        h.model->openStoredFile(file);
        QCOMPARE(h.model->selectedDocument()->fileName(), QStringLiteral("moved.md"));
    }

    void settingsLoading_data()
    {
        QTest::addColumn<SettingsRow>("row"); // INI; theme, outline, library, positions, gfm read
        // clang-format off
        QTest::newRow("no file") << SettingsRow{{}, "businessBlue", true, 0, 0, false};
        QTest::newRow("all valid") << SettingsRow{"[General]\ntarn.theme=dark\ntarn.showOutline=false\ntarn.markdownFlavor=gfm\n" + blobLine("tarn.storedFiles", validLibrary) + blobLine("tarn.readPositions", R"({"/a/x.md":120.5,"/b.md":0})"), "dark", false, 1, 2, true};
        QTest::newRow("theme and flavour in wrong case, outline not a boolean") << SettingsRow{"[General]\ntarn.theme=Dark\ntarn.showOutline=0\ntarn.markdownFlavor=GFM\n", "businessBlue", true, 0, 0, false};
        QTest::newRow("library as text, positions not an object, unknown flavour") << SettingsRow{"[General]\ntarn.markdownFlavor=commonmark\ntarn.storedFiles=\"" + QByteArray(validLibrary).replace('"', "\\\"") + "\"\n" + blobLine("tarn.readPositions", "[1,2]"), "businessBlue", true, 0, 0, false};
        QTest::newRow("position that is not a number spoils the map, flavour a list") << SettingsRow{"[General]\ntarn.markdownFlavor=gfm, gfm\n" + blobLine("tarn.readPositions", R"({"/a.md":1,"/b.md":"top"})"), "businessBlue", true, 0, 0, false};
        QTest::newRow("order of the positions unreadable: positions kept") << SettingsRow{"[General]\n" + blobLine("tarn.readPositions", R"({"/a.md":1,"/b.md":2})") + blobLine("tarn.readPositionOrder", R"(["/b.md",3)"), "businessBlue", true, 0, 2, false};
        QTest::newRow("flavour as corrupt bytes") << SettingsRow{"[General]\ntarn.markdownFlavor=\"@ByteArray(gfm\\0\\xff)\"\n", "businessBlue", true, 0, 0, false};
        // clang-format on
    }
    void settingsLoading()
    {
        QFETCH(SettingsRow, row);
        const auto &[ini, theme, showOutline, storedFiles, readPositions, gfm] = row;
        ModelHarness h(ini);
        QCOMPARE(QString::fromLatin1(TarnThemes::rawValue(h.model->theme()).data()), theme);
        QCOMPARE(h.model->showOutline(), showOutline);
        QCOMPARE(h.model->storedFiles().size(), storedFiles);
        QCOMPARE(h.model->readPositions().size(), readPositions);
        QCOMPARE(h.model->markdownFlavor(), gfm ? MarkdownFlavor::gfm : MarkdownFlavor::classic);
        // The library is written back at once: unreadable values become an empty array.
        const QVariant written = h.settings->value("tarn.storedFiles");
        QCOMPARE(written.typeId(), int(QMetaType::QByteArray));
        QCOMPARE(StoredFiles::decode(written.toByteArray()), std::optional(h.model->storedFiles()));
    }

    void preferencesAndPositionsAreWrittenAtOnce()
    {
        ModelHarness h;
        QSignalSpy themeSpy(h.model.get(), &AppModel::themeChanged);
        h.model->setTheme(TarnTheme::warm);
        h.model->toggleOutline();
        QCOMPARE(themeSpy.count(), 1);
        const QUrl url = h.file("a.md", "# A\n");
        h.model->openURLs({url}, false);
        h.model->rememberScroll(h.model->selectedDocument(), 640.5);
        // A value JSON cannot hold changes the document but leaves the store as it was, and
        // another file's position is still stored.
        h.model->rememberScroll(h.model->selectedDocument(), qQNaN());
        QVERIFY(qIsNaN(h.model->selectedDocument()->scrollY()));
        h.model->openURLs({h.file("b.md", "b")}, false);
        h.model->rememberScroll(h.model->selectedDocument(), 720);

        ModelHarness next(readFile(h.path("settings.ini")));
        QCOMPARE(next.model->theme(), TarnTheme::warm);
        QVERIFY(!next.model->showOutline());
        QCOMPARE(next.model->readPositions(),
                 (QHash<QString, double>{{url.toLocalFile(), 640.5}, {h.path("b.md"), 720}}));
        QCOMPARE(next.model->storedFiles(), h.model->storedFiles());
        next.model->openURLs({url}, false);
        QCOMPARE(next.model->selectedDocument()->scrollY(), 640.5);
    }
};

MODEL_TEST_RUNNER(TestDocumentsLibrary)

#include "tst_documents_library.moc"
