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
    bytes.truncate(U_SUCCESS(status) ? length : 0);
    return bytes;
}

const QString frenchText =
    QStringLiteral("Le café où nous déjeunions était fermé; à côté, une crêperie très animée.\n"
                   "Où êtes-vous allés cet été ? Près de la forêt, le château était ouvert.\n");
const QString chineseText =
    QStringLiteral("这是一个用于测试编码检测的中文段落。我们希望程序能够正确识别它的编码，"
                   "并且在打开文件时不会丢失任何文字。阅读模式和编辑模式都应当显示同样的内容。\n");

} // namespace

class TestFiles : public QObject
{
    Q_OBJECT

private slots:
    void openFilters_data()
    {
        QTest::addColumn<QStringList>("dropped");
        QTest::addColumn<QStringList>("opened");
        // clang-format off
        QTest::newRow("mixed drop keeps order") << QStringList{"e.MD", "c.mkdn", "a.md", "folder", "d.markdown", "b.txt", "data.json"} << QStringList{"e.MD", "c.mkdn", "a.md", "d.markdown", "b.txt"};
        QTest::newRow("text without an extension") << QStringList{"README", "notes.cpp"} << QStringList{"README"};
        QTest::newRow("same file twice gives one tab") << QStringList{"a.md", "a.md"} << QStringList{"a.md"};
        // clang-format on
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
        QStringList names;
        for (const TarnDocument *document : h.model->tabs())
            names.append(document->fileName());
        QCOMPARE(names, opened);
        QCOMPARE(h.model->selectedDocument()->fileName(), opened.last());
        QVERIFY(!h.model->alert());
    }

    // The open panel offers the document types Tarn reads, and what it cannot read is said so.
    void openPanelFiltersAndRefusals()
    {
        ModelHarness h;
        h.platform.openPanelAnswers = {{h.file("data.json", "{}"), h.file("notes.mkd", "# n")}};
        h.model->presentOpenPanel();
        const QStringList filters = h.platform.openPanels.first().nameFilters;
        QVERIFY2(filters.first().contains("*.md *.markdown *.mdown *.mkd *.mkdn *.txt"),
                 qPrintable(filters.join(';')));
        QCOMPARE(h.model->tabs().size(), 1);
        QCOMPARE(h.model->alert()->title, QStringLiteral("打开失败"));
        QVERIFY(h.model->alert()->message.endsWith("\ndata.json"));
    }

    void openDecodesText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        // clang-format off
        QTest::newRow("UTF-8 with BOM") << "\xEF\xBB\xBF" + frenchText.toUtf8() << frenchText;
        QTest::newRow("Latin-1") << frenchText.toLatin1() << frenchText;
        QTest::newRow("GB18030") << encodeWithIcu(chineseText, "gb18030") << chineseText;
        QTest::newRow("UTF-16LE with BOM") << "\xFF\xFE" + encodeWithIcu(chineseText, "UTF-16LE") << chineseText;
        QTest::newRow("empty file") << QByteArray("") << QString("");
        // clang-format on
    }
    void openDecodesText()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        ModelHarness h;
        h.model->openURLs({h.file("doc.md", bytes)}, false);
        QVERIFY2(!h.model->alert(), qPrintable(h.model->alert() ? h.model->alert()->message : ""));
        TarnDocument *document = h.model->selectedDocument();
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
    }
    void openFailureAlerts()
    {
        QFETCH(QString, kind);
        ModelHarness h;
        if (kind == "binary") {
            QByteArray bytes;
            for (int i = 0; i < 4096; ++i)
                bytes.append(char((i * 131 + 7) % 256));
            h.file("broken.md", bytes);
        }
        h.model->openURLs({h.url("broken.md")}, false);
        QVERIFY(h.model->tabs().isEmpty());
        QCOMPARE(h.model->alert()->title, QStringLiteral("打开失败"));
        const LogLine line = h.log().last();
        QCOMPARE(line.event, QStringLiteral("file.open.failure"));
        QCOMPARE(line.metadata.value("path"), h.path("broken.md"));
        QVERIFY(!line.metadata.value("error").isEmpty());
        QCOMPARE(line.metadata.value("error"), h.model->alert()->message);
        QVERIFY(h.model->storedFiles().isEmpty());
    }

    void openingAnOpenFileSelectsItsTab()
    {
        ModelHarness h;
        const QUrl a = h.file("a.md", "first");
        h.model->openURLs({a, h.file("b.md", "b")}, false);
        writeFile(h.path("a.md"), "changed on disk");
        h.model->updateSearchResults(2, 4);
        h.model->openURLs({a}, false);
        QCOMPARE(h.model->tabs().size(), 2);
        QCOMPARE(h.model->selectedDocument()->content(), QStringLiteral("first"));
        QCOMPARE(h.model->searchResultCount(), 0);
        QCOMPARE(h.model->storedFiles().last().path, h.path("a.md"));
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
        QTest::addColumn<bool>("parentIsFile"); // else the target became a folder
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("saved");
        // clang-format off
        QTest::newRow("parent became a file, keep editing") << true << 0 << false;
        QTest::newRow("target became a folder, dialog closed") << false << -1 << false;
        QTest::newRow("save as instead") << true << 1 << true;
        // clang-format on
    }
    void failedSaveKeepsEverything()
    {
        QFETCH(bool, parentIsFile);
        QFETCH(int, answer);
        QFETCH(bool, saved);
        ModelHarness h;
        QDir(h.dir.path()).mkdir("sub");
        h.model->openURLs({h.file("sub/a.md", "on disk")}, false);
        TarnDocument *document = h.model->selectedDocument();
        h.model->toggleEditing();
        document->updateDraft("edited");
        if (parentIsFile) {
            QDir(h.path("sub")).removeRecursively();
            writeFile(h.path("sub"), "a file now");
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
        const LogLine failure = h.lastLine("file.save.failure");
        QCOMPARE(failure.metadata.value("error"), alert.informativeText.mid(prefix.size()));
        QCOMPARE(failure.metadata.value("path"), h.path("sub/a.md"));

        QCOMPARE(document->draft(), QStringLiteral("edited"));
        QCOMPARE(document->isDirty(), !saved);
        QCOMPARE(document->url(), h.url("sub/a.md"));
        if (parentIsFile)
            QCOMPARE(readFile(h.path("sub")), QByteArray("a file now"));
        QCOMPARE(readFile(h.path("rescued.md")), saved ? QByteArray("edited") : QByteArray());
    }

    void saveAs_data()
    {
        QTest::addColumn<QString>("target"); // "" for a cancelled panel
        QTest::addColumn<QString>("event");
        // clang-format off
        QTest::newRow("new file") << "copy.md" << "file.save_as.success";
        QTest::newRow("typed without an extension") << "copy" << "file.save_as.success";
        QTest::newRow("cancelled") << "" << "file.save_as.cancelled";
        QTest::newRow("target is a folder") << "taken.md" << "file.save_as.failure";
        // clang-format on
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
        QCOMPARE(h.platform.savePanels.first().nameFilters,
                 QStringList{AppModel::documentNameFilter()});
        const LogLine line = h.log().last();
        QCOMPARE(line.event, event);
        QCOMPARE(readFile(h.path("a.md")), QByteArray("old"));
        // The tab keeps its own file even when the draft went elsewhere.
        QCOMPARE(document->url(), h.url("a.md"));
        QCOMPARE(document->isDirty(), !saved);
        QCOMPARE(bool(h.model->alert()), event == "file.save_as.failure");
        if (saved) {
            const QString written = target.endsWith(".md") ? target : target + ".md";
            QCOMPARE(readFile(h.path(written)), QByteArray("draft"));
            QCOMPARE(h.model->storedFiles().last().path, h.path(written));
        }
    }
};

int runTestFiles(int argc, char **argv)
{
    TestFiles test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestFiles.moc"
