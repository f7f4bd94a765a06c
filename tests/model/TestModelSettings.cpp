// Loading and writing the settings store: defaults for missing, mistyped and corrupt values.
#include "ModelTestSupport.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

namespace {

// An INI line holding `json` as a binary value, the way QSettings writes QByteArray.
QByteArray blobLine(const char *key, const QByteArray &json)
{
    QByteArray escaped = json;
    escaped.replace('\\', "\\\\").replace('"', "\\\"");
    return QByteArray(key) + "=\"@ByteArray(" + escaped + ")\"\n";
}

const QByteArray validLibrary =
    R"([{"path":"/a/x.md","displayName":"x.md","isFavorite":true,"lastOpenedAt":5.25}])";

} // namespace

class TestModelSettings : public QObject
{
    Q_OBJECT

private slots:
    void loading_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::addColumn<QString>("theme");
        QTest::addColumn<bool>("showOutline");
        QTest::addColumn<int>("storedFiles");
        QTest::addColumn<int>("readPositions");

        QTest::newRow("no file") << QByteArray() << "businessBlue" << true << 0 << 0;
        QTest::newRow("all valid")
            << "[General]\ntarn.theme=dark\ntarn.showOutline=false\n" +
                   blobLine("tarn.storedFiles", validLibrary) +
                   blobLine("tarn.readPositions", R"({"/a/x.md":120.5,"/b.md":0})")
            << "dark" << false << 1 << 2;
        QTest::newRow("theme in wrong case, outline not a boolean")
            << QByteArray("[General]\ntarn.theme=Dark\ntarn.showOutline=0\n") << "businessBlue"
            << true << 0 << 0;
        QTest::newRow("library stored as text, not binary")
            << "[General]\ntarn.storedFiles=\"" + QByteArray(validLibrary).replace('"', "\\\"") +
                   "\"\n"
            << "businessBlue" << true << 0 << 0;
        QTest::newRow("library not JSON, positions not an object")
            << "[General]\n" + blobLine("tarn.storedFiles", "[{oops") +
                   blobLine("tarn.readPositions", "[1,2]")
            << "businessBlue" << true << 0 << 0;
        QTest::newRow("entry without isFavorite spoils the library")
            << "[General]\n" +
                   blobLine("tarn.storedFiles",
                            R"([{"path":"/a.md","displayName":"a.md","isFavorite":false},)"
                            R"({"path":"/b.md","displayName":"b.md"}])")
            << "businessBlue" << true << 0 << 0;
        QTest::newRow("position that is not a number spoils the map")
            << "[General]\n" + blobLine("tarn.readPositions", R"({"/a.md":1,"/b.md":"top"})")
            << "businessBlue" << true << 0 << 0;
        QTest::newRow("binary garbage file")
            << QByteArray("\x00\xff\x13[[[=\n\x01\x02@ByteArray(", 20) << "businessBlue" << true
            << 0 << 0;
    }
    void loading()
    {
        QFETCH(QByteArray, ini);
        QFETCH(QString, theme);
        QFETCH(bool, showOutline);
        QFETCH(int, storedFiles);
        QFETCH(int, readPositions);

        ModelHarness h(ini);
        AppModel &model = *h.model;
        QCOMPARE(QString::fromLatin1(TarnThemes::rawValue(model.theme()).data()), theme);
        QCOMPARE(model.showOutline(), showOutline);
        QCOMPARE(model.storedFiles().size(), storedFiles);
        QCOMPARE(model.readPositions().size(), readPositions);

        // The library is written back at once: unreadable values become an empty array.
        const QVariant written = h.storedValue("tarn.storedFiles");
        QCOMPARE(written.typeId(), int(QMetaType::QByteArray));
        QCOMPARE(StoredFiles::decode(written.toByteArray()), std::optional(model.storedFiles()));
        if (storedFiles == 0)
            QCOMPARE(written.toByteArray(), QByteArray("[]"));
    }

    void preferencesAreWrittenAtOnce()
    {
        ModelHarness h;
        QSignalSpy themeSpy(h.model.get(), &AppModel::themeChanged);
        h.model->setTheme(TarnTheme::warm);
        h.model->toggleOutline();
        QCOMPARE(themeSpy.count(), 1);
        QCOMPARE(h.storedValue("tarn.theme").toString(), QStringLiteral("warm"));
        QCOMPARE(h.storedValue("tarn.showOutline").toString(), QStringLiteral("false"));

        // And read back by the next start.
        ModelHarness next(readFile(h.path("settings.ini")));
        QCOMPARE(next.model->theme(), TarnTheme::warm);
        QVERIFY(!next.model->showOutline());
    }

    void readPositionsRoundTrip()
    {
        ModelHarness h;
        const QUrl url = h.file("a.md", "# A\n");
        h.model->openURLs({url}, false);
        TarnDocument *document = h.model->selectedDocument();
        QVERIFY(document);
        h.model->rememberScroll(document, 640.5);
        QCOMPARE(document->scrollY(), 640.5);
        const QJsonDocument stored =
            QJsonDocument::fromJson(h.storedValue("tarn.readPositions").toByteArray());
        QCOMPARE(stored.object().value(url.toLocalFile()).toDouble(), 640.5);

        // A value JSON cannot hold changes the document but leaves the store as it was.
        h.model->rememberScroll(document, qQNaN());
        QCOMPARE(QJsonDocument::fromJson(h.storedValue("tarn.readPositions").toByteArray()),
                 stored);

        ModelHarness next(readFile(h.path("settings.ini")));
        next.model->openURLs({QUrl::fromLocalFile(url.toLocalFile())}, false);
        QCOMPARE(next.model->selectedDocument()->scrollY(), 640.5);
    }
};

int runTestModelSettings(int argc, char **argv)
{
    TestModelSettings test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestModelSettings.moc"
