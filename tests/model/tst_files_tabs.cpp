// Opening files as tabs (filters, encodings, failures), saving them, and the tabs themselves:
// the closing neighbour rule, editing mode and the questions about unsaved changes.
#include "ModelTestSupport.h"

#include <QDir>
#include <QStringEncoder>

using CloseRow = std::tuple<int, int, int, int>;
using Unsaved = std::tuple<int, QString, int, bool>;

const QString french =
    QStringLiteral("Le café où nous déjeunions était fermé; à côté, une crêperie très animée.\n"
                   "Où êtes-vous allés cet été ? Près de la forêt, le château était ouvert.\n");
const QString chinese =
    QStringLiteral("这是一个用于测试编码检测的中文段落。我们希望程序能够正确识别它的编码，"
                   "并且在打开文件时不会丢失任何文字。阅读模式和编辑模式都应当显示同样的内容。\n");

// Opens n.md holding "text n" for n = 0...count-1 and returns their documents in tab order.
static QList<TarnDocument *> openTabs(ModelHarness &h, int count)
{
    QList<QUrl> urls;
    for (int i = 0; i < count; ++i)
        urls.append(h.file(QString::number(i) + ".md", "text " + QByteArray::number(i)));
    h.model->openURLs(urls, false);
    return h.model->tabs();
}

class TestFilesTabs : public QObject
{
    Q_OBJECT

private slots:
    void openFilters_data()
    {
        QTest::addColumn<QStringList>("dropped");
        QTest::addColumn<QStringList>("titles"); // of the tabs opened; Markdown extensions go
        // clang-format off
        QTest::newRow("mixed drop keeps order") << QStringList{"e.mdown.MD", "c.mkdn", "a.md", "folder", "d.markdown", "b.txt", "data.json"} << QStringList{"e", "c", "a", "d", "b.txt"};
        QTest::newRow("text without an extension") << QStringList{"README", "notes.cpp"} << QStringList{"README"};
        QTest::newRow("same file twice gives one tab") << QStringList{"a.md", "a.md"} << QStringList{"a"};
        // clang-format on
    }
    void openFilters()
    {
        QFETCH(QStringList, dropped);
        QFETCH(QStringList, titles);
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
        QStringList opened;
        for (const TarnDocument *document : h.model->tabs())
            opened.append(document->title());
        QCOMPARE(opened, titles);
        QCOMPARE(h.model->selectedDocument()->title(), titles.last());
        QVERIFY(!h.model->alert());
    }

    void openDecodesText_data()
    {
        QTest::addColumn<QByteArray>("bytes"); // null: no file
        QTest::addColumn<QString>("text");     // null: cannot be opened
        QTest::newRow("UTF-8 BOM") << "\xEF\xBB\xBF" + french.toUtf8() << french;
        QTest::newRow("Latin-1") << french.toLatin1() << french;
        QTest::newRow("GB18030") << QByteArray(QStringEncoder("GB18030")(chinese)) << chinese;
        QTest::newRow("UTF-16LE BOM")
            << "\xFF\xFE" + QByteArray(QStringEncoder(QStringEncoder::Utf16LE)(chinese)) << chinese;
        QTest::newRow("UTF-16BE BOM")
            << "\xFE\xFF" + QByteArray(QStringEncoder(QStringEncoder::Utf16BE)(chinese)) << chinese;
        QTest::newRow("UTF-32LE BOM, which starts like UTF-16LE's")
            << QByteArray("\xFF\xFE\0\0", 4) +
                   QByteArray(QStringEncoder(QStringEncoder::Utf32LE)(chinese))
            << chinese;
        QTest::newRow("empty file") << QByteArray("") << QString("");
        QTest::newRow("binary file") << QByteArray(64, 0) << QString();
        QTest::newRow("missing file") << QByteArray() << QString();
    }
    void openDecodesText()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        ModelHarness h;
        if (!bytes.isNull())
            h.file("doc.md", bytes);
        h.model->openURLs({h.url("doc.md")}, false);
        const LogLine line = h.log().last();
        if (text.isNull()) {
            QVERIFY(h.model->tabs().isEmpty());
            QCOMPARE(h.model->alert()->title, QStringLiteral("打开失败"));
            QCOMPARE(line.event, QStringLiteral("file.open.failure"));
            QCOMPARE(line.metadata.value("error"), h.model->alert()->message);
            return;
        }
        QVERIFY2(!h.model->alert(), qPrintable(h.model->alert() ? h.model->alert()->message : ""));
        QCOMPARE(h.model->selectedDocument()->content(), text);
        QCOMPARE(h.platform.recentDocuments, QList<QUrl>{h.url("doc.md")});
        QCOMPARE(line.event, QStringLiteral("file.open.success"));
    }

    void openingAnOpenFileSelectsItsTab()
    {
        ModelHarness h;
        const QUrl a = h.file("a.md", "first");
        h.model->openURLs({a, h.file("b.md", "b")}, false);
        writeFile(h.path("a.md"), "changed on disk");
        h.model->updateSearchResults(2, 4);
        h.model->openURLs({a}, false);
        QCOMPARE(h.model->selectedDocument()->content(), QStringLiteral("first"));
        QCOMPARE(h.model->searchResultCount(), 0);
        QCOMPARE(h.model->storedFiles().last().path, h.path("a.md"));
        QCOMPARE(h.events().last(), QStringLiteral("file.open.existing"));
    }

    void saveAs()
    {
        ModelHarness h;
        TarnDocument *document = h.editDraft("a.md", "old", "draft");
        QDir(h.dir.path()).mkdir("taken.md");
        // Cancelled, then refused by a folder in the way: the draft stays unsaved.
        h.platform.savePanelAnswers = {std::nullopt, h.url("taken.md"), h.url("copy")};
        QVERIFY(!h.model->saveDocumentAs(document));
        QCOMPARE(h.log().last().event, QStringLiteral("file.save_as.cancelled"));
        QVERIFY(!h.model->alert());
        QVERIFY(!h.model->saveDocumentAs(document));
        QCOMPARE(h.log().last().event, QStringLiteral("file.save_as.failure"));
        QCOMPARE(h.model->alert()->title, QStringLiteral("保存失败"));
        QVERIFY(document->isDirty());
        // Typed without an extension.
        QVERIFY(h.model->saveDocumentAs(document));
        QCOMPARE(h.log().last().event, QStringLiteral("file.save_as.success"));
        QCOMPARE(readFile(h.path("copy.md")), QByteArray("draft"));
        QCOMPARE(h.model->storedFiles().last().path, h.path("copy.md"));
        QVERIFY(!document->isDirty());
        const SavePanelOptions panel = h.platform.savePanels.first();
        QCOMPARE(panel.suggestedName, QStringLiteral("a.md"));
        QCOMPARE(panel.nameFilters, QStringList{AppModel::documentNameFilter()});
    }

    // Open, save-as and export panels start in the document's folder; with none selected, in
    // the folder a panel last chose from.
    void panelsStartInTheDocumentsFolder()
    {
        ModelHarness h;
        QDir(h.dir.path()).mkdir("notes");
        QDir(h.dir.path()).mkdir("elsewhere");
        h.model->presentOpenPanel();
        h.model->openURLs({h.file("notes/n.md", "n")}, false);
        h.platform.savePanelAnswers = {h.url("elsewhere/copy.md")};
        h.model->saveDocumentAs(h.model->selectedDocument());
        h.model->exportSelectedDocumentAsHTML();
        h.model->closeTab(h.model->selectedDocument());
        h.model->presentOpenPanel();
        QCOMPARE(h.platform.openPanels.at(0).directory, QString());
        QCOMPARE(h.platform.savePanels.at(0).directory, h.path("notes"));
        QCOMPARE(h.platform.savePanels.at(1).directory, h.path("notes"));
        QCOMPARE(h.platform.openPanels.at(1).directory, h.path("elsewhere"));
    }

    void closeTabNeighbour_data()
    {
        QTest::addColumn<CloseRow>("row"); // tabs, selected, closed, selected after (-1: none)
        QTest::newRow("only tab") << CloseRow{1, 0, 0, -1};
        QTest::newRow("middle selected: right neighbour") << CloseRow{3, 1, 1, 2};
        QTest::newRow("first selected") << CloseRow{3, 0, 0, 1};
        QTest::newRow("last selected: new last") << CloseRow{3, 2, 2, 1};
        QTest::newRow("other tab closed: selection stays") << CloseRow{3, 2, 0, 2};
        QTest::newRow("tab right of selection closed") << CloseRow{3, 0, 2, 0};
    }
    void closeTabNeighbour()
    {
        QFETCH(CloseRow, row);
        const auto &[count, selected, closed, expected] = row;
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

    // Dragging a tab: the order follows, the selected document stays selected.
    void moveTab_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QString>("order"); // the tabs' numbers afterwards
        QTest::newRow("first to last") << 0 << 2 << "120";
        QTest::newRow("last to first") << 2 << 0 << "201";
        QTest::newRow("to its neighbour") << 1 << 2 << "021";
        QTest::newRow("out of range: nothing") << 0 << 3 << "012";
    }
    void moveTab()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QString, order);
        ModelHarness h;
        const QList<TarnDocument *> tabs = openTabs(h, 3);
        h.model->selectTab(tabs.at(1)->id());
        h.model->moveTab(from, to);
        QString numbers;
        for (const TarnDocument *document : h.model->tabs())
            numbers += document->title();
        QCOMPARE(numbers, order);
        QCOMPARE(h.model->selectedDocument(), tabs.at(1));
    }

    void closingAnUnsavedTab_data()
    {
        QTest::addColumn<Unsaved>("row"); // answer, what breaks, answer to the failure, closes
        QTest::newRow("save") << Unsaved{0, "", -1, true};
        QTest::newRow("parent is a file: keep editing") << Unsaved{0, "parent", 0, false};
        QTest::newRow("target is a folder: dialog closed") << Unsaved{0, "folder", -1, false};
        QTest::newRow("save fails, save as instead") << Unsaved{0, "parent", 1, true};
        QTest::newRow("discard") << Unsaved{1, "", -1, true};
        QTest::newRow("cancel") << Unsaved{2, "", -1, false};
        QTest::newRow("closed without answer") << Unsaved{-1, "", -1, false};
    }
    void closingAnUnsavedTab()
    {
        QFETCH(Unsaved, row);
        const auto &[answer, broken, failureAnswer, closes] = row;
        ModelHarness h;
        QDir(h.dir.path()).mkdir("sub");
        const QString draft = QStringLiteral("新的内容");
        TarnDocument *document = h.editDraft("sub/a.md", "on disk", draft);
        QVERIFY(h.model->canSaveSelectedDocument());
        if (broken == "parent") {
            QDir(h.path("sub")).removeRecursively();
            writeFile(h.path("sub"), "a file now");
        } else if (broken == "folder") {
            QFile::remove(h.path("sub/a.md"));
            QDir(h.path("sub")).mkdir("a.md");
        }
        h.platform.alertAnswers = {answer, failureAnswer};
        h.platform.savePanelAnswers = {h.url("rescued.md")};

        h.model->closeTab(document);
        QCOMPARE(alertText(h.platform.alerts.first()),
                 "要保存对 a.md 的修改吗？ | 你的编辑还没有保存。 | 保存 / 放弃修改 / 取消");
        QCOMPARE(h.model->tabs().contains(document), !closes);
        QCOMPARE(document->isDirty(), !closes);
        QCOMPARE(document->draft(), answer == 1 ? QStringLiteral("on disk") : draft);
        const bool saved = closes && answer == 0;
        if (broken.isEmpty()) {
            QCOMPARE(h.platform.alerts.size(), 1);
            QCOMPARE(readFile(h.path("sub/a.md")), saved ? draft.toUtf8() : "on disk");
            if (saved)
                QCOMPARE(h.events().last(), QStringLiteral("file.save.success"));
            return;
        }
        QCOMPARE(h.platform.alerts.size(), 2);
        const ModalAlert alert = h.platform.alerts.last();
        QCOMPARE(alert.style, AlertStyle::critical);
        QCOMPARE(alertText(alert),
                 "保存失败 | Tarn 无法写入文件。你的编辑内容仍然保留在窗口中。\n\n" +
                     h.lastLine("file.save.failure").metadata.value("error") +
                     " | 继续编辑 / 另存为...");
        if (broken == "parent")
            QCOMPARE(readFile(h.path("sub")), QByteArray("a file now"));
        QCOMPARE(readFile(h.path("rescued.md")), saved ? draft.toUtf8() : QByteArray());
    }

    // Another tab, leaving editing or the open panel asks about an unsaved tab once, then goes on.
    void leavingADirtyTabAsksOnce()
    {
        ModelHarness h;
        const QList<TarnDocument *> tabs = openTabs(h, 2);
        // A draft kept outside editing (recovered after a crash) is where editing starts.
        tabs.at(1)->updateDraft("unsaved");
        h.model->toggleEditing();
        QCOMPARE(tabs.at(1)->draft(), QStringLiteral("unsaved"));
        h.model->updateSearchResults(2, 5);
        h.model->setCurrentHeadingID("intro");
        h.platform.alertAnswers = {2, 2};
        h.model->toggleEditing();
        h.model->selectTab(tabs.at(0)->id());
        QCOMPARE(h.platform.alerts.size(), 2);
        QCOMPARE(h.model->selectedDocument(), tabs.at(1));
        QVERIFY(h.model->isEditing());
        QCOMPARE(h.model->searchResultCount(), 5);

        h.platform.alertAnswers = {1};
        h.model->selectTab(tabs.at(0)->id());
        QCOMPARE(h.model->selectedDocument(), tabs.at(0));
        QCOMPARE(tabs.at(1)->draft(), QStringLiteral("text 1"));
        QVERIFY(!h.model->isEditing());
        QCOMPARE(h.model->searchResultCount(), 0);
        QCOMPARE(h.model->currentSearchResultIndex(), 0);
        QCOMPARE(h.model->currentHeadingID(), QString());

        // The open panel offers the document types Tarn reads, and what it cannot read is said so.
        h.model->toggleEditing();
        tabs.at(0)->updateDraft("unsaved too");
        h.platform.alertAnswers = {1};
        h.platform.openPanelAnswers = {{h.file("data.json", "{}"), h.file("chosen.mkd", "c")}};
        h.model->presentOpenPanel();
        QCOMPARE(h.platform.alerts.size(), 4);
        QCOMPARE(h.model->selectedDocument()->fileName(), QStringLiteral("chosen.mkd"));
        const QStringList filters = h.platform.openPanels.first().nameFilters;
        QVERIFY(filters.first().contains("*.md *.markdown *.mdown *.mkd *.mkdn *.txt"));
        QCOMPARE(h.model->alert()->title, QStringLiteral("打开失败"));
        QVERIFY(h.model->alert()->message.endsWith("\ndata.json"));
        h.model->toggleEditing();
        h.model->toggleEditing(); // nothing unsaved: leaves at once
        QVERIFY(!h.model->isEditing());
        QVERIFY(!h.model->canSaveSelectedDocument());
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
    }
};

MODEL_TEST_RUNNER(TestFilesTabs)

#include "tst_files_tabs.moc"
