// Drafts of unsaved edits kept on disk and brought back after a crash, and open files
// following changes other programs make on disk, with the real file watcher.
#include "ModelTestSupport.h"

#include "DraftKeeper.h"
#include "DraftStore.h"

#include <QDir>

#include <cstdio>

using DiskRow = std::tuple<QString, bool, int, QString, bool, QString>;

class TestDraftsDisk : public QObject
{
    Q_OBJECT

private slots:
    // One Tarn at a time keeps the folder; a lock left by a dead process is taken over.
    void folderLock()
    {
        QTemporaryDir dir;
        QByteArray lockText;
        {
            DraftStore first(dir.path());
            QVERIFY(first.acquire());
            QVERIFY(!DraftStore(dir.path()).acquire());
            lockText = readFile(dir.filePath("lock"));
        }
        QVERIFY(!QFile::exists(dir.filePath("lock")));
        // The same lock, as a crashed process with another id leaves it.
        writeFile(dir.filePath("lock"), "2147480000" + lockText.mid(lockText.indexOf('\n')));
        QVERIFY(DraftStore(dir.path()).acquire());
    }

    void draftsKeptAndRestored()
    {
        ModelHarness h;
        h.file("a.md", "on disk");
        DraftStore store(h.path("drafts"));
        QVERIFY(store.acquire());
        store.save(h.path("a.md"), "recovered a");
        store.flush();
        store.save(h.path("gone/b.md"), "recovered b");
        store.flush();
        writeFile(h.path("drafts/draft-0.json"), "{\"path\": 1}");
        writeFile(h.path("drafts/draft-1.json"), "not JSON"); // and cannot be moved aside:
        QVERIFY(QDir().mkpath(h.path("drafts/draft-1.json.broken/full")));
        DraftKeeper keeper(*h.model, store);
        keeper.restore();

        const QList<TarnDocument *> tabs = h.model->tabs();
        QCOMPARE(tabs.size(), 2);
        QCOMPARE(tabs.at(0)->draft(), QStringLiteral("recovered a"));
        QCOMPARE(tabs.at(0)->content(), QStringLiteral("on disk"));
        QCOMPARE(tabs.at(1)->draft(), QStringLiteral("recovered b"));
        QVERIFY(tabs.at(0)->isDirty() && tabs.at(1)->isDirty());
        QCOMPARE(h.model->selectedDocument(), tabs.at(1));
        QVERIFY(h.model->isEditing());
        QCOMPARE(h.model->alert()->title, QStringLiteral("已恢复未保存的修改"));
        QCOMPARE(h.model->alert()->message,
                 QStringLiteral("Tarn 上次没有正常退出，以下文件的未保存修改已恢复，请检查后保存："
                                "\na.md\nb.md"));
        QCOMPARE(readFile(h.path("a.md")), QByteArray("on disk"));
        QCOMPARE(h.events().count("draft.recovered"), 2);
        QStringList unreadable;
        for (const LogLine &line : h.log()) {
            if (line.event == "draft.recovery.failure" && !line.metadata.value("error").isEmpty())
                unreadable << line.metadata.value("path");
        }
        QCOMPARE(unreadable, QStringList({h.path("drafts/draft-0.json.broken"),
                                          h.path("drafts/draft-1.json")}));
        QVERIFY(QFile::exists(h.path("drafts/draft-0.json.broken")));
        const LogLine stuck = h.lastLine("draft.save.failure");
        QCOMPARE(stuck.metadata.value("path"), h.path("drafts/draft-1.json"));
        QVERIFY(!stuck.metadata.value("error").isEmpty());

        // Saving the tab of the vanished file makes it again, and its recovery file goes.
        QDir(h.dir.path()).mkdir("gone");
        QVERIFY(h.model->saveDocument(tabs.at(1)));
        QCOMPARE(readFile(h.path("gone/b.md")), QByteArray("recovered b"));
        QTRY_VERIFY(!QFile::exists(store.fileFor(h.path("gone/b.md"))));
        QVERIFY(QFile::exists(store.fileFor(h.path("a.md"))));

        // Edits are kept a second later, or at once before quitting, until saved or typed back.
        const auto kept = [&store] { return store.readAll().value(0).draft; };
        tabs.at(0)->updateDraft("typed");
        QTRY_COMPARE(kept(), QStringLiteral("typed"));
        QVERIFY(h.model->saveDocument(tabs.at(0)));
        QTRY_COMPARE(kept(), QString());
        tabs.at(0)->updateDraft("typed just now");
        keeper.writeAllNow();
        QCOMPARE(kept(), QStringLiteral("typed just now"));
        tabs.at(0)->updateDraft("typed");
        QTRY_COMPARE(kept(), QString());
    }

    // A state folder that cannot be written (replaced by a file, which stops root too): every
    // failed draft and settings write is logged, and the user hears about the drafts once.
    void unwritableStateFolder()
    {
        ModelHarness h;
        DraftStore store(h.path("drafts"));
        QVERIFY(store.acquire());
        DraftKeeper keeper(*h.model, store);
        QVERIFY(QDir(h.path("drafts")).removeRecursively());
        writeFile(h.path("drafts"), "not a folder");
        QVERIFY(QFile::remove(h.path("settings.ini")));
        QVERIFY(QDir(h.dir.path()).mkdir("settings.ini"));

        h.editDraft("a.md", "saved", "typed");
        keeper.writeAllNow();
        QTRY_COMPARE(h.platform.alerts.size(), 1);
        QVERIFY(alertText(h.platform.alerts.first())
                    .startsWith("无法保存恢复草稿 | Tarn 无法把未保存的修改写入恢复文件夹。"));
        h.model->selectedDocument()->updateDraft("typed more");
        keeper.writeAllNow();
        QTRY_COMPARE(h.events().count("draft.save.failure"), 2);
        const LogLine draft = h.lastLine("draft.save.failure");
        QCOMPARE(draft.metadata.value("path"), h.path("a.md"));
        QVERIFY(draft.metadata.value("error").contains("draft-"));
        QCOMPARE(h.platform.alerts.size(), 1);

        h.model->toggleOutline();
        const LogLine settings = h.lastLine("settings.save.failure");
        QCOMPARE(settings.metadata.value("path"), h.path("settings.ini"));
        QVERIFY(!settings.metadata.value("error").isEmpty());
    }

    void changeOnDisk_data()
    {
        // The change ("write", "rename over", "delete"), the tab has unsaved edits, the answer
        // to the question about them; then the draft, unsaved, the event logged ("": none).
        QTest::addColumn<DiskRow>("row");
        // clang-format off
        QTest::newRow("write, clean tab reloads") << DiskRow{"write", false, -1, "disk 3", false, "file.reload.external"};
        QTest::newRow("rename over, clean tab reloads") << DiskRow{"rename over", false, -1, "disk 3", false, "file.reload.external"};
        QTest::newRow("edited, keep my edits") << DiskRow{"write", true, 0, "mine", true, ""};
        QTest::newRow("edited, load the disk's") << DiskRow{"rename over", true, 1, "disk 3", false, "file.reload.external"};
        QTest::newRow("deleted: unsaved") << DiskRow{"delete", false, -1, "on disk", true, "file.missing.external"};
        // clang-format on
    }
    void changeOnDisk()
    {
        QFETCH(DiskRow, row);
        const auto &[change, edited, answer, draft, dirty, event] = row;
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "on disk")}, false);
        TarnDocument *document = h.model->selectedDocument();
        if (edited)
            document->updateDraft("mine");
        // Three changes in a burst; the question comes once, after the last.
        int asked = 0;
        const int reply = answer;
        h.platform.alertHandler = [&h, &asked, reply](const ModalAlert &) {
            ++asked;
            writeFile(h.path("a.md"), "disk 3"); // changed again while the question is open
            return reply;
        };
        for (const char *text : {"disk 1", "disk 2", "disk 3"}) {
            if (change == "delete") {
                QFile::remove(h.path("a.md"));
                break;
            }
            if (change == "write") {
                writeFile(h.path("a.md"), text);
            } else {
                writeFile(h.path("new.tmp"), text); // as editors save: a new file renamed over
                QCOMPARE(std::rename(qPrintable(h.path("new.tmp")), qPrintable(h.path("a.md"))), 0);
            }
        }
        if (event.isEmpty())
            QTRY_COMPARE(asked, 1);
        else
            QTRY_COMPARE(h.lastLine(event).event, event);
        QCOMPARE(document->draft(), draft);
        QCOMPARE(document->isDirty(), dirty);
        QCOMPARE(asked, edited ? 1 : 0);
        if (edited)
            QCOMPARE(
                alertText(h.platform.alerts.first()),
                "文件已在磁盘上更改 | “a.md”已被其他程序修改，你在 Tarn 中还有未保存的修改。 | "
                "保留我的修改 / 载入磁盘上的版本");
        if (change != "delete") // the tab now compares with what is really on disk
            QCOMPARE(document->content(), QStringLiteral("disk 3"));

        // The watch survives, and Tarn's own save at the same path is no change to report.
        if (!document->isDirty()) {
            writeFile(h.path("a.md"), "disk 4");
            QTRY_COMPARE(document->draft(), QStringLiteral("disk 4"));
        }
        h.model->saveSelectedDocument();
        QVERIFY(!document->isDirty());
        h.model->openURLs({h.file("b.md", "b")}, false);
        writeFile(h.path("b.md"), "b changed"); // a later change elsewhere marks the end
        QTRY_COMPARE(h.lastLine("file.reload").metadata.value("file"), QStringLiteral("b.md"));
        QCOMPARE(readFile(h.path("a.md")), document->draft().toUtf8());
        QVERIFY(!document->isDirty());
        QCOMPARE(asked, edited ? 1 : 0);
    }
};

MODEL_TEST_RUNNER(TestDraftsDisk)

#include "tst_drafts_disk.moc"
