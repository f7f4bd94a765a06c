// Drafts of unsaved edits on disk: written about a second after an edit, gone after a save,
// written at once before the process ends, and brought back after a crash.
#include "ModelTestSupport.h"

#include "DraftKeeper.h"
#include "DraftStore.h"

#include <QDir>
#include <QTest>

class TestDrafts : public QObject
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
        DraftStore store(dir.path());
        QVERIFY(store.acquire());
        store.save("/notes/a.md", "first");
        store.save("/notes/a.md", "second");
        store.save("/notes/b.md", "b");
        store.remove("/notes/b.md");
        store.flush();
        const QList<RecoveredDraft> drafts = store.readAll();
        QCOMPARE(drafts.size(), 1);
        QCOMPARE(drafts.first().path, QStringLiteral("/notes/a.md"));
        QCOMPARE(drafts.first().draft, QStringLiteral("second"));
        QVERIFY(!QFile::exists(store.fileFor("/notes/b.md")));
    }

    void keeperFollowsTheDraft()
    {
        ModelHarness h;
        DraftStore store(h.path("drafts"));
        QVERIFY(store.acquire());
        DraftKeeper keeper(*h.model, store);
        h.model->openURLs({h.file("a.md", "on disk")}, false);
        TarnDocument *document = h.model->selectedDocument();
        auto kept = [&store] {
            const QList<RecoveredDraft> drafts = store.readAll();
            return drafts.isEmpty() ? QString() : drafts.first().draft;
        };
        document->updateDraft("typed");
        QTRY_COMPARE(kept(), QStringLiteral("typed"));
        QCOMPARE(store.readAll().first().path, h.path("a.md"));
        h.model->saveDocument(document);
        QTRY_COMPARE(store.readAll().size(), 0);
        // Before the process ends, what was just typed is written without waiting.
        document->updateDraft("typed just now");
        keeper.writeAllNow();
        QCOMPARE(kept(), QStringLiteral("typed just now"));
        QCOMPARE(readFile(h.path("a.md")), QByteArray("typed"));
        document->updateDraft("typed"); // back to the saved text
        QTRY_COMPARE(store.readAll().size(), 0);
    }

    void restoreAfterACrash()
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
        const QList<LogLine> log = h.log();
        QCOMPARE(eventNames(log).count("draft.recovered"), 2);
        const LogLine failure = h.lastLine("draft.recovery.failure");
        QCOMPARE(failure.metadata.value("path"), h.path("drafts/draft-0.json.broken"));
        QVERIFY(!failure.metadata.value("error").isEmpty());
        QVERIFY(QFile::exists(h.path("drafts/draft-0.json.broken")));

        // Saving the tab of the vanished file makes it again, and its recovery file goes.
        QDir(h.dir.path()).mkdir("gone");
        QVERIFY(h.model->saveDocument(tabs.at(1)));
        QCOMPARE(readFile(h.path("gone/b.md")), QByteArray("recovered b"));
        QTRY_VERIFY(!QFile::exists(store.fileFor(h.path("gone/b.md"))));
        QVERIFY(QFile::exists(store.fileFor(h.path("a.md"))));
    }
};

int runTestDrafts(int argc, char **argv)
{
    TestDrafts test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestDrafts.moc"
