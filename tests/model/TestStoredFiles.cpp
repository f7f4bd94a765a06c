// The library's stored JSON form, the sidebar's filter and order, and document drafts.
#include "StoredFile.h"
#include "TarnDocument.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

namespace {

StoredFile entry(const QString &path, bool favorite, std::optional<double> opened)
{
    return StoredFile{path, path.section(QLatin1Char('/'), -1), std::nullopt, favorite, opened};
}

QStringList paths(const QList<StoredFile> &files)
{
    QStringList result;
    for (const StoredFile &file : files)
        result.append(file.path);
    return result;
}

} // namespace

class TestStoredFiles : public QObject
{
    Q_OBJECT

private slots:
    void decode_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("readable");
        QTest::addColumn<int>("count");

        QTest::newRow("full entry") << QByteArray(R"([{"path":"/a/x.md","displayName":"x.md",)"
                                                  R"("bookmarkData":"AAEC","isFavorite":true,)"
                                                  R"("lastOpenedAt":794045730.5}])")
                                    << true << 1;
        QTest::newRow("optional keys missing")
            << QByteArray(R"([{"path":"/x.md","displayName":"x.md","isFavorite":false}])") << true
            << 1;
        QTest::newRow("optional keys null")
            << QByteArray(R"([{"path":"/x.md","displayName":"x.md","isFavorite":false,)"
                          R"("bookmarkData":null,"lastOpenedAt":null}])")
            << true << 1;
        QTest::newRow("empty array") << QByteArray("[]") << true << 0;
        QTest::newRow("one entry lacks isFavorite")
            << QByteArray(R"([{"path":"/a.md","displayName":"a.md","isFavorite":true},)"
                          R"({"path":"/b.md","displayName":"b.md"}])")
            << false << 0;
        QTest::newRow("isFavorite as string")
            << QByteArray(R"([{"path":"/a.md","displayName":"a.md","isFavorite":"true"}])") << false
            << 0;
        QTest::newRow("path missing")
            << QByteArray(R"([{"displayName":"a.md","isFavorite":true}])") << false << 0;
        QTest::newRow("lastOpenedAt as text")
            << QByteArray(R"([{"path":"/a.md","displayName":"a.md","isFavorite":true,)"
                          R"("lastOpenedAt":"yesterday"}])")
            << false << 0;
        QTest::newRow("bookmark not base64")
            << QByteArray(R"([{"path":"/a.md","displayName":"a.md","isFavorite":true,)"
                          R"("bookmarkData":"***"}])")
            << false << 0;
        QTest::newRow("object, not array") << QByteArray(R"({"path":"/a.md"})") << false << 0;
        QTest::newRow("element not an object") << QByteArray("[1]") << false << 0;
        QTest::newRow("not JSON") << QByteArray("[{\"path\":") << false << 0;
        QTest::newRow("empty bytes") << QByteArray() << false << 0;
    }
    void decode()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, readable);
        QFETCH(int, count);
        const auto files = StoredFiles::decode(json);
        QCOMPARE(files.has_value(), readable);
        if (files)
            QCOMPARE(files->size(), count);
    }

    void roundTripKeepsEveryField()
    {
        const QList<StoredFile> files{
            {"/a/笔记.md", "笔记.md", QByteArray("\x00\x01\xff", 3), true, 794045730.123456},
            {"/b/x.md", "x.md", std::nullopt, false, std::nullopt},
        };
        const auto json = StoredFiles::encode(files);
        QVERIFY(json);
        QCOMPARE(StoredFiles::decode(*json), std::optional(files));

        const QJsonArray array = QJsonDocument::fromJson(*json).array();
        const QJsonObject first = array.at(0).toObject();
        QCOMPARE(first.value("bookmarkData").toString(), QStringLiteral("AAH/"));
        QCOMPARE(first.value("lastOpenedAt").toDouble(), 794045730.123456);
        const QJsonObject second = array.at(1).toObject();
        QVERIFY(!second.contains("bookmarkData"));
        QVERIFY(!second.contains("lastOpenedAt"));
        QVERIFY(!json->contains('\n')); // compact
    }

    void filtered_data()
    {
        QTest::addColumn<QList<StoredFile>>("files");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("shown");

        const QList<StoredFile> mixed{entry("/r/old.md", false, 10),
                                      entry("/f/undated.md", true, std::nullopt),
                                      entry("/r/new.md", false, 30), entry("/f/dated.md", true, 20),
                                      entry("/gone.md", false, std::nullopt)};
        QTest::newRow("favourites first, newest first, undated favourite last of them")
            << mixed << "" << QStringList{"/f/dated.md", "/f/undated.md", "/r/new.md", "/r/old.md"};
        QTest::newRow("ties keep stored order")
            << QList<StoredFile>{entry("/b.md", false, 5), entry("/a.md", false, 5),
                                 entry("/c.md", false, 5)}
            << "" << QStringList{"/b.md", "/a.md", "/c.md"};
        QTest::newRow("filter trimmed, matches name or path, any case")
            << QList<StoredFile>{entry("/NOTES/x.txt", false, 1), entry("/a/readme.MD", false, 2),
                                 entry("/a/plain.txt", false, 3)}
            << "  md \n"
            << QStringList{"/a/readme.MD"};
        QTest::newRow("filter on folder part of the path")
            << QList<StoredFile>{entry("/Notes/x.txt", false, 1), entry("/a/y.md", false, 2)}
            << "notes" << QStringList{"/Notes/x.txt"};
        QTest::newRow("decomposed filter finds precomposed name")
            << QList<StoredFile>{entry("/a/café.md", false, 1), entry("/a/cafe.md", false, 2)}
            << QString::fromUtf8("cafe\xcc\x81") << QStringList{"/a/café.md"};
        QTest::newRow("neither favourite nor dated never shows")
            << QList<StoredFile>{entry("/x.md", false, std::nullopt)} << "" << QStringList{};
    }
    void filtered()
    {
        QFETCH(QList<StoredFile>, files);
        QFETCH(QString, filter);
        QFETCH(QStringList, shown);
        QCOMPARE(paths(StoredFiles::filtered(files, filter)), shown);
    }

    void displayTitle_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("title");
        QTest::newRow("plain") << "notes.md"
                               << "notes";
        QTest::newRow("repeated") << "guide.md.md"
                                  << "guide";
        QTest::newRow("mixed case repeated") << "a.MD.markdown"
                                             << "a";
        QTest::newRow("mdown then md") << "x.mdown.md"
                                       << "x";
        QTest::newRow("capital Markdown") << "README.Markdown"
                                          << "README";
        QTest::newRow("nothing left") << ".md"
                                      << ".md";
        QTest::newRow("txt kept") << "notes.txt"
                                  << "notes.txt";
        QTest::newRow("mdx kept") << "a.mdx"
                                  << "a.mdx";
    }
    void displayTitle()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, title);
        QCOMPARE(TarnDocument::displayTitle(fileName), title);
    }

    void draftDirtiness_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("draft");
        QTest::addColumn<bool>("dirty");
        QTest::newRow("same") << "a\n"
                              << "a\n"
                              << false;
        QTest::newRow("decomposed equals precomposed")
            << QString::fromUtf8("caf\xc3\xa9") << QString::fromUtf8("cafe\xcc\x81") << false;
        // Long equal context around the edit, so the compared middle is small.
        const QString context = QString(200, u'x');
        QTest::newRow("decomposed inside a long text")
            << context + QString::fromUtf8("caf\xc3\xa9 ") + context
            << context + QString::fromUtf8("cafe\xcc\x81 ") + context << false;
        QTest::newRow("combining marks in another order")
            << context + QString::fromUtf8("q\xcc\xa3\xcc\x81") + context
            << context + QString::fromUtf8("q\xcc\x81\xcc\xa3") + context << false;
        QTest::newRow("mark added after a shared letter")
            << context + "e" + context << context + QString::fromUtf8("e\xcc\x81") + context
            << true;
        QTest::newRow("hangul syllable and its jamo")
            << context + QString::fromUtf8("\xea\xb0\x80") + context
            << context + QString::fromUtf8("\xe1\x84\x80\xe1\x85\xa1") + context << false;
        QTest::newRow("different supplementary letters")
            << context + QString::fromUtf8("\xf0\x9d\x90\x80") + context
            << context + QString::fromUtf8("\xf0\x9d\x90\x81") + context << true;
        QTest::newRow("trailing newline added") << "a"
                                                << "a\n"
                                                << true;
        QTest::newRow("line ending changed") << "a\nb"
                                             << "a\r\nb" << true;
        QTest::newRow("empty file, one character") << ""
                                                   << "x" << true;
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
};

int runTestStoredFiles(int argc, char **argv)
{
    TestStoredFiles test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestStoredFiles.moc"
