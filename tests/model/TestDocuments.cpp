// Documents and what is stored about them: drafts, display titles, the library's JSON, its
// filter and order, and the settings store with defaults for missing or corrupt values.
#include "ModelTestSupport.h"
#include "StoredFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

namespace {

StoredFile entry(const QString &path, bool favorite, std::optional<double> opened)
{
    return StoredFile{path, path.section(QLatin1Char('/'), -1), std::nullopt, favorite, opened};
}

// An INI line holding `json` as a binary value, the way QSettings writes QByteArray.
QByteArray blobLine(const char *key, QByteArray json)
{
    json.replace('\\', "\\\\").replace('"', "\\\"");
    return QByteArray(key) + "=\"@ByteArray(" + json + ")\"\n";
}

const QByteArray validLibrary =
    R"([{"path":"/a/x.md","displayName":"x.md","isFavorite":true,"lastOpenedAt":5.25}])";

} // namespace

class TestDocuments : public QObject
{
    Q_OBJECT

private slots:
    void draftDirtiness_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("draft");
        QTest::addColumn<bool>("dirty");
        // Long equal context around the edit, so the compared middle is small.
        const QString x = QString(200, u'x');
        // clang-format off
        QTest::newRow("same") << "a\n" << "a\n" << false;
        QTest::newRow("decomposed equals precomposed") << "caf\u00e9" << "cafe\u0301" << false;
        QTest::newRow("decomposed inside a long text") << x + "caf\u00e9 " + x << x + "cafe\u0301 " + x << false;
        QTest::newRow("combining marks in another order") << x + "q\u0323\u0301" + x << x + "q\u0301\u0323" + x << false;
        QTest::newRow("mark added after a shared letter") << x + "e" + x << x + "e\u0301" + x << true;
        QTest::newRow("hangul syllable and its jamo") << x + "\uac00" + x << x + "\u1100\u1161" + x << false;
        QTest::newRow("different supplementary letters") << x + "\U0001D400" + x << x + "\U0001D401" + x << true;
        QTest::newRow("trailing newline added") << "a" << "a\n" << true;
        QTest::newRow("line ending changed") << "a\nb" << "a\r\nb" << true;
        QTest::newRow("empty file, one character") << "" << "x" << true;
        // clang-format on
    }
    void draftDirtiness()
    {
        QFETCH(QString, content);
        QFETCH(QString, draft);
        QFETCH(bool, dirty);
        TarnDocument document(QUrl::fromLocalFile("/tmp/a.md"), content);
        QSignalSpy dirtySpy(&document, &TarnDocument::isDirtyChanged);
        document.updateDraft(draft);
        QCOMPARE(document.isDirty(), dirty);
        document.updateDraft(content);
        QVERIFY(!document.isDirty());
        QCOMPARE(dirtySpy.count(), 2); // notified on every edit
    }

    void displayTitle_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("title");
        // clang-format off
        QTest::newRow("plain") << "notes.md" << "notes";
        QTest::newRow("repeated, mixed case") << "a.MD.markdown" << "a";
        QTest::newRow("mdown then md") << "x.mdown.md" << "x";
        QTest::newRow("nothing left") << ".md" << ".md";
        QTest::newRow("txt kept") << "notes.txt" << "notes.txt";
        // clang-format on
    }
    void displayTitle()
    {
        QFETCH(QString, fileName);
        QTEST(TarnDocument::displayTitle(fileName), "title");
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
        const QJsonArray array = QJsonDocument::fromJson(*json).array();
        QCOMPARE(array.at(0).toObject().value("bookmarkData").toString(), QStringLiteral("AAH/"));
        QVERIFY(!array.at(1).toObject().contains("lastOpenedAt"));
        QVERIFY(!json->contains('\n')); // compact
    }

    void libraryFilterAndOrder_data()
    {
        QTest::addColumn<QList<StoredFile>>("files");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("shown");
        // clang-format off
        QTest::newRow("favourites first, newest first, undated favourite last of them, undated recent hidden")
            << QList<StoredFile>{entry("/r/old.md", false, 10), entry("/f/undated.md", true, std::nullopt), entry("/r/new.md", false, 30),
                                 entry("/f/dated.md", true, 20), entry("/gone.md", false, std::nullopt)}
            << "" << QStringList{"/f/dated.md", "/f/undated.md", "/r/new.md", "/r/old.md"};
        QTest::newRow("ties keep stored order") << QList<StoredFile>{entry("/b.md", false, 5), entry("/a.md", false, 5)} << "" << QStringList{"/b.md", "/a.md"};
        QTest::newRow("filter trimmed, on name or folder, any case")
            << QList<StoredFile>{entry("/NOTES/x.txt", false, 1), entry("/a/readme.MD", false, 2), entry("/a/plain.txt", false, 3)}
            << "  notes \n" << QStringList{"/NOTES/x.txt"};
        QTest::newRow("decomposed filter finds precomposed name")
            << QList<StoredFile>{entry("/a/café.md", false, 1), entry("/a/cafe.md", false, 2)} << "cafe\u0301" << QStringList{"/a/café.md"};
        // clang-format on
    }
    void libraryFilterAndOrder()
    {
        QFETCH(QList<StoredFile>, files);
        QFETCH(QString, filter);
        QStringList paths;
        for (const StoredFile &file : StoredFiles::filtered(files, filter))
            paths.append(file.path);
        QTEST(paths, "shown");
    }

    void settingsLoading_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::addColumn<QString>("theme");
        QTest::addColumn<bool>("showOutline");
        QTest::addColumn<int>("storedFiles");
        QTest::addColumn<int>("readPositions");
        // clang-format off
        QTest::newRow("no file") << QByteArray() << "businessBlue" << true << 0 << 0;
        QTest::newRow("all valid") << "[General]\ntarn.theme=dark\ntarn.showOutline=false\n" + blobLine("tarn.storedFiles", validLibrary) + blobLine("tarn.readPositions", R"({"/a/x.md":120.5,"/b.md":0})")
                                   << "dark" << false << 1 << 2;
        QTest::newRow("theme in wrong case, outline not a boolean") << QByteArray("[General]\ntarn.theme=Dark\ntarn.showOutline=0\n") << "businessBlue" << true << 0 << 0;
        QTest::newRow("library as text, positions not an object") << "[General]\ntarn.storedFiles=\"" + QByteArray(validLibrary).replace('"', "\\\"") + "\"\n" + blobLine("tarn.readPositions", "[1,2]")
                                                                  << "businessBlue" << true << 0 << 0;
        QTest::newRow("position that is not a number spoils the map") << "[General]\n" + blobLine("tarn.readPositions", R"({"/a.md":1,"/b.md":"top"})") << "businessBlue" << true << 0 << 0;
        QTest::newRow("binary garbage file") << QByteArray("\x00\xff\x13[[[=\n\x01\x02@ByteArray(", 20) << "businessBlue" << true << 0 << 0;
        // clang-format on
    }
    void settingsLoading()
    {
        QFETCH(QByteArray, ini);
        QFETCH(int, storedFiles);
        ModelHarness h(ini);
        QTEST(QString::fromLatin1(TarnThemes::rawValue(h.model->theme()).data()), "theme");
        QTEST(h.model->showOutline(), "showOutline");
        QCOMPARE(h.model->storedFiles().size(), storedFiles);
        QTEST(int(h.model->readPositions().size()), "readPositions");
        // The library is written back at once: unreadable values become an empty array.
        const QVariant written = h.storedValue("tarn.storedFiles");
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
        // A value JSON cannot hold changes the document but leaves the store as it was.
        h.model->rememberScroll(h.model->selectedDocument(), qQNaN());

        ModelHarness next(readFile(h.path("settings.ini")));
        QCOMPARE(next.model->theme(), TarnTheme::warm);
        QVERIFY(!next.model->showOutline());
        next.model->openURLs({url}, false);
        QCOMPARE(next.model->selectedDocument()->scrollY(), 640.5);
        QCOMPARE(next.model->storedFiles(), h.model->storedFiles());
    }
};

int runTestDocuments(int argc, char **argv)
{
    TestDocuments test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestDocuments.moc"
