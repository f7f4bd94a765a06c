// Open files follow changes other programs make on disk, with the real file watcher.
#include "ModelTestSupport.h"

#include <QDir>
#include <QTest>

#include <cstdio>

class TestDiskChanges : public QObject
{
    Q_OBJECT

private slots:
    void changeOnDisk_data()
    {
        QTest::addColumn<QString>("change"); // "write", "rename over", "delete"
        QTest::addColumn<bool>("edited");    // the tab has unsaved edits
        QTest::addColumn<int>("answer");     // to the question about an edited tab
        QTest::addColumn<QString>("draft");  // afterwards
        QTest::addColumn<bool>("dirty");
        QTest::addColumn<QString>("event"); // logged, or "" for none
        // clang-format off
        QTest::newRow("write, clean tab reloads") << "write" << false << -1 << "disk 3" << false << "file.reload.external";
        QTest::newRow("rename over, clean tab reloads") << "rename over" << false << -1 << "disk 3" << false << "file.reload.external";
        QTest::newRow("edited, keep my edits") << "write" << true << 0 << "mine" << true << "";
        QTest::newRow("edited, load the disk's") << "rename over" << true << 1 << "disk 3" << false << "file.reload.external";
        QTest::newRow("deleted: unsaved") << "delete" << false << -1 << "on disk" << true << "file.missing.external";
        // clang-format on
    }
    void changeOnDisk()
    {
        QFETCH(QString, change);
        QFETCH(bool, edited);
        QFETCH(int, answer);
        QFETCH(QString, event);
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "on disk")}, false);
        TarnDocument *document = h.model->selectedDocument();
        if (edited)
            document->updateDraft("mine");
        // Three changes in a burst; the question comes once, after the last.
        int asked = 0;
        h.platform.alertHandler = [&](const ModalAlert &) {
            ++asked;
            writeFile(h.path("a.md"), "disk 3"); // changed again while the question is open
            return answer;
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
        QTEST(document->draft(), "draft");
        QTEST(document->isDirty(), "dirty");
        QCOMPARE(asked, edited ? 1 : 0);
        if (edited) {
            const ModalAlert alert = h.platform.alerts.first();
            QCOMPARE(alert.message, QStringLiteral("文件已在磁盘上更改"));
            QCOMPARE(alert.informativeText,
                     QStringLiteral("“a.md”已被其他程序修改，你在 Tarn 中还有未保存的修改。"));
            QCOMPARE(alert.buttons, (QStringList{"保留我的修改", "载入磁盘上的版本"}));
        }
        if (change != "delete") // the tab now compares with what is really on disk
            QCOMPARE(document->content(), QStringLiteral("disk 3"));

        // The watch survives the change; saving writes the draft back at the same path without
        // Tarn's own write counting as a change.
        if (!document->isDirty()) {
            writeFile(h.path("a.md"), "disk 4");
            QTRY_COMPARE(document->draft(), QStringLiteral("disk 4"));
        }
        h.model->saveDocument(document);
        QVERIFY(!document->isDirty());
        h.model->openURLs({h.file("b.md", "b")}, false);
        writeFile(h.path("b.md"), "b changed"); // a later change elsewhere marks the end
        QTRY_COMPARE(h.lastLine("file.reload").metadata.value("file"), QStringLiteral("b.md"));
        QCOMPARE(readFile(h.path("a.md")), document->draft().toUtf8());
        QVERIFY(!document->isDirty());
        QCOMPARE(asked, edited ? 1 : 0);
    }
};

int runTestDiskChanges(int argc, char **argv)
{
    TestDiskChanges test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestDiskChanges.moc"
