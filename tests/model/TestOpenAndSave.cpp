// Opening files as tabs (filters, encodings, failures) and saving them, with real files on disk.
#include "ModelTestSupport.h"

#include <QDir>
#include <QTest>

#include <unicode/ucnv.h>

namespace {

QByteArray encodeWithIcu(const QString &text, const char *charset)
{
    UErrorCode status = U_ZERO_ERROR;
    QByteArray bytes(text.size() * 4 + 8, Qt::Uninitialized);
    const int32_t length = ucnv_convert(charset, "UTF-16LE", bytes.data(), int32_t(bytes.size()),
                                        reinterpret_cast<const char *>(text.utf16()),
                                        int32_t(text.size() * 2), &status);
    if (U_FAILURE(status))
        qFatal("cannot encode test text as %s", charset);
    bytes.truncate(length);
    return bytes;
}

QStringList tabNames(const AppModel &model)
{
    QStringList names;
    for (const TarnDocument *document : model.tabs())
        names.append(document->fileName());
    return names;
}

const QString frenchText =
    QStringLiteral("Le café où nous déjeunions était fermé; à côté, une crêperie très animée.\n"
                   "Où êtes-vous allés cet été ? Près de la forêt, le château était ouvert.\n");
const QString chineseText =
    QStringLiteral("这是一个用于测试编码检测的中文段落。我们希望程序能够正确识别它的编码，"
                   "并且在打开文件时不会丢失任何文字。阅读模式和编辑模式都应当显示同样的内容。\n");

} // namespace

class TestOpenAndSave : public QObject
{
    Q_OBJECT

private slots:
    void openFilters_data()
    {
        QTest::addColumn<QStringList>("dropped");
        QTest::addColumn<QStringList>("opened");
        QTest::newRow("txt opens") << QStringList{"b.txt"} << QStringList{"b.txt"};
        QTest::newRow("mkdn and folders do nothing")
            << QStringList{"c.mkdn", "folder"} << QStringList{};
        QTest::newRow("mixed drop keeps order")
            << QStringList{"e.MD", "c.mkdn", "a.md", "d.markdown", "f.mdown"}
            << QStringList{"e.MD", "a.md", "d.markdown", "f.mdown"};
        QTest::newRow("same file twice gives one tab")
            << QStringList{"a.md", "a.md"} << QStringList{"a.md"};
        QTest::newRow("no extension, hidden .md") << QStringList{"README", ".md"} << QStringList{};
    }
    void openFilters()
    {
        QFETCH(QStringList, dropped);
        QFETCH(QStringList, opened);
        ModelHarness h;
        QList<QUrl> urls;
        for (const QString &name : dropped) {
            if (name == "folder")
                QDir(h.dir.path()).mkdir(name);
            else
                h.file(name, "# " + name.toUtf8() + "\n");
            urls.append(h.url(name));
        }
        urls.append(QUrl("https://example.com/remote.md"));
        h.model->openURLs(urls, false);
        QCOMPARE(tabNames(*h.model), opened);
        if (!opened.isEmpty())
            QCOMPARE(h.model->selectedDocument()->fileName(), opened.last());
        QVERIFY(!h.model->alert());
    }

    void openDecodesText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("UTF-8") << chineseText.toUtf8() << chineseText;
        QTest::newRow("UTF-8 with BOM") << "\xEF\xBB\xBF" + frenchText.toUtf8() << frenchText;
        QTest::newRow("Latin-1") << frenchText.toLatin1() << frenchText;
        QTest::newRow("GB18030") << encodeWithIcu(chineseText, "gb18030") << chineseText;
        QTest::newRow("UTF-16LE with BOM")
            << "\xFF\xFE" + encodeWithIcu(chineseText, "UTF-16LE") << chineseText;
        QTest::newRow("UTF-16BE with BOM")
            << "\xFE\xFF" + encodeWithIcu(frenchText, "UTF-16BE") << frenchText;
        QTest::newRow("empty file") << QByteArray("") << QString("");
    }
    void openDecodesText()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        ModelHarness h;
        h.model->openURLs({h.file("doc.md", bytes)}, false);
        QVERIFY2(!h.model->alert(), qPrintable(h.model->alert() ? h.model->alert()->message : ""));
        TarnDocument *document = h.model->selectedDocument();
        QVERIFY(document);
        QCOMPARE(document->content(), text);
        QCOMPARE(document->draft(), text);
        QVERIFY(!document->isDirty());
        QCOMPARE(h.platform.recentDocuments, QList<QUrl>{h.url("doc.md")});
        const LogLine line = h.log().last();
        QCOMPARE(line.event, QStringLiteral("file.open.success"));
        QCOMPARE(line.metadata,
                 (QMap<QString, QString>{{"file", "doc.md"}, {"path", h.path("doc.md")}}));
    }

    void openFailureAlerts_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("binary file") << "binary";
        QTest::newRow("missing file") << "missing";
        QTest::newRow("folder with a Markdown name") << "folder";
    }
    void openFailureAlerts()
    {
        QFETCH(QString, kind);
        ModelHarness h;
        const QString name = "broken.md";
        if (kind == "binary") {
            QByteArray bytes;
            for (int i = 0; i < 4096; ++i)
                bytes.append(char((i * 131 + 7) % 256));
            h.file(name, bytes);
        } else if (kind == "folder") {
            QDir(h.dir.path()).mkdir(name);
        }
        h.model->openURLs({h.url(name)}, false);
        QVERIFY(h.model->tabs().isEmpty());
        QVERIFY(h.model->alert());
        QCOMPARE(h.model->alert()->title, QStringLiteral("打开失败"));
        const LogLine line = h.log().last();
        QCOMPARE(line.event, QStringLiteral("file.open.failure"));
        QCOMPARE(line.metadata.value("file"), name);
        QCOMPARE(line.metadata.value("path"), h.path(name));
        QVERIFY(!line.metadata.value("error").isEmpty());
        QCOMPARE(line.metadata.value("error"), h.model->alert()->message);
        QVERIFY(h.model->storedFiles().isEmpty());
    }

    void openingAnOpenFileSelectsItsTab()
    {
        ModelHarness h;
        const QUrl a = h.file("a.md", "first");
        h.model->openURLs({a, h.file("b.md", "b")}, false);
        const double openedAt = h.model->storedFiles().first().lastOpenedAt.value();
        writeFile(h.path("a.md"), "changed on disk");
        h.model->updateSearchResults(2, 4);

        h.model->openURLs({a}, false);
        QCOMPARE(h.model->tabs().size(), 2);
        QCOMPARE(h.model->selectedDocument()->content(), QStringLiteral("first"));
        QCOMPARE(h.model->searchResultCount(), 0);
        QCOMPARE(h.model->storedFiles().last().path, h.path("a.md"));
        QVERIFY(h.model->storedFiles().last().lastOpenedAt.value() > openedAt);
        QCOMPARE(h.events().last(), QStringLiteral("file.open.existing"));
    }

    void saveWritesTheDraft()
    {
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "old")}, false);
        TarnDocument *document = h.model->selectedDocument();
        h.model->toggleEditing();
        document->updateDraft(QStringLiteral("新的内容\n"));
        QVERIFY(h.model->canSaveSelectedDocument());
        h.model->saveSelectedDocument();
        QCOMPARE(readFile(h.path("a.md")), QStringLiteral("新的内容\n").toUtf8());
        QCOMPARE(document->content(), QStringLiteral("新的内容\n"));
        QVERIFY(!document->isDirty());
        QVERIFY(!h.model->canSaveSelectedDocument());
        QCOMPARE(h.events().last(), QStringLiteral("file.save.success"));
    }

    void failedSaveKeepsEverything_data()
    {
        QTest::addColumn<QString>("sabotage");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("saved");
        QTest::newRow("parent became a file, keep editing") << "parentIsFile" << 0 << false;
        QTest::newRow("target became a folder, keep editing") << "targetIsFolder" << 0 << false;
        QTest::newRow("dialog closed") << "targetIsFolder" << -1 << false;
        QTest::newRow("save as instead") << "parentIsFile" << 1 << true;
    }
    void failedSaveKeepsEverything()
    {
        QFETCH(QString, sabotage);
        QFETCH(int, answer);
        QFETCH(bool, saved);
        ModelHarness h;
        QDir(h.dir.path()).mkdir("sub");
        h.model->openURLs({h.file("sub/a.md", "on disk")}, false);
        TarnDocument *document = h.model->selectedDocument();
        h.model->toggleEditing();
        document->updateDraft("edited");

        QString untouched; // what must stay exactly as it was
        if (sabotage == "parentIsFile") {
            QDir(h.path("sub")).removeRecursively();
            writeFile(h.path("sub"), "a file now");
            untouched = h.path("sub");
        } else {
            QFile::remove(h.path("sub/a.md"));
            QDir(h.path("sub")).mkdir("a.md");
        }
        h.platform.alertAnswers = {answer};
        h.platform.savePanelAnswers = {h.url("rescued.md")};

        QCOMPARE(h.model->saveDocument(document), saved);
        QCOMPARE(h.platform.alerts.size(), 1);
        const ModalAlert alert = h.platform.alerts.first();
        QCOMPARE(alert.style, AlertStyle::critical);
        QCOMPARE(alert.message, QStringLiteral("保存失败"));
        QCOMPARE(alert.buttons, (QStringList{"继续编辑", "另存为..."}));
        const QString prefix = "Tarn 无法写入文件。你的编辑内容仍然保留在窗口中。\n\n";
        QVERIFY(alert.informativeText.startsWith(prefix));

        const QList<LogLine> log = h.log();
        const auto failure = std::find_if(log.begin(), log.end(), [](const LogLine &line) {
            return line.event == "file.save.failure";
        });
        QVERIFY(failure != log.end());
        QCOMPARE(failure->metadata.value("error"), alert.informativeText.mid(prefix.size()));
        QCOMPARE(failure->metadata.value("path"), h.path("sub/a.md"));

        QCOMPARE(document->draft(), QStringLiteral("edited"));
        QCOMPARE(document->isDirty(), !saved);
        QCOMPARE(document->url(), h.url("sub/a.md"));
        if (!untouched.isEmpty())
            QCOMPARE(readFile(untouched), QByteArray("a file now"));
        else
            QVERIFY(QFileInfo(h.path("sub/a.md")).isDir());
        QCOMPARE(QFileInfo::exists(h.path("rescued.md")), saved);
        if (saved)
            QCOMPARE(readFile(h.path("rescued.md")), QByteArray("edited"));
    }

    void saveAs_data()
    {
        QTest::addColumn<QString>("target"); // "" for a cancelled panel
        QTest::addColumn<QString>("event");
        QTest::newRow("new file") << "copy.md"
                                  << "file.save_as.success";
        QTest::newRow("cancelled") << ""
                                   << "file.save_as.cancelled";
        QTest::newRow("target is a folder") << "taken.md"
                                            << "file.save_as.failure";
    }
    void saveAs()
    {
        QFETCH(QString, target);
        QFETCH(QString, event);
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "old")}, false);
        TarnDocument *document = h.model->selectedDocument();
        h.model->toggleEditing();
        document->updateDraft("draft");
        QDir(h.dir.path()).mkdir("taken.md");
        if (!target.isEmpty())
            h.platform.savePanelAnswers = {h.url(target)};

        const bool saved = event == "file.save_as.success";
        QCOMPARE(h.model->saveDocumentAs(document), saved);
        QCOMPARE(h.platform.savePanels.first().title, QStringLiteral("另存为 Markdown 文件"));
        QCOMPARE(h.platform.savePanels.first().suggestedName, QStringLiteral("a.md"));
        const LogLine line = h.log().last();
        QCOMPARE(line.event, event);
        QCOMPARE(line.metadata.value("file"), QStringLiteral("a.md"));
        QCOMPARE(readFile(h.path("a.md")), QByteArray("old"));
        // The tab keeps its own file even when the draft went elsewhere.
        QCOMPARE(document->url(), h.url("a.md"));
        QCOMPARE(document->isDirty(), !saved);
        QCOMPARE(bool(h.model->alert()), event == "file.save_as.failure");
        if (saved) {
            QCOMPARE(readFile(h.path(target)), QByteArray("draft"));
            QCOMPARE(line.metadata.value("path"), h.path(target));
            QCOMPARE(h.model->storedFiles().last().path, h.path(target));
        } else if (h.model->alert()) {
            QCOMPARE(h.model->alert()->title, QStringLiteral("保存失败"));
            QCOMPARE(h.model->alert()->message, line.metadata.value("error"));
        }
    }
};

int runTestOpenAndSave(int argc, char **argv)
{
    TestOpenAndSave test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestOpenAndSave.moc"
