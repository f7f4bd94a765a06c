// The sidebar's folder: opening and remembering it, and its tree on a real folder that changes
// on disk while the test runs.
#include "FolderTreeModel.h"
#include "ModelTestSupport.h"
#include "UnprivilegedScope.h"
#include "WorkspaceFolder.h"

#include <QDir>
#include <QSignalSpy>

#include <unistd.h>

namespace {

// Paths ending in "/" are folders; "a -> b" is a symbolic link to b.
void makeTree(const QString &root, const QStringList &entries)
{
    for (const QString &entry : entries) {
        if (entry.contains(" -> ")) {
            const QStringList parts = entry.split(" -> ");
            QFile::link(parts[1], root + '/' + parts[0]);
        } else if (entry.endsWith('/')) {
            QDir(root).mkpath(entry);
        } else {
            QDir(root).mkpath(QFileInfo(entry).path());
            writeFile(root + '/' + entry, "# " + entry.toUtf8() + "\n");
        }
    }
}

QStringList levelNames(const FolderTreeModel &model, const QModelIndex &parent = {})
{
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        names << index.data().toString() +
                     (index.data(FolderTreeModel::IsFolderRole).toBool() ? "/" : "");
    }
    return names;
}

// Waits for each folder on the way to `relative` to be listed, opening it.
QModelIndex openLevel(FolderTreeModel &model, const QString &relative)
{
    QModelIndex index;
    QString path = model.rootPath();
    for (const QString &name : relative.split('/', Qt::SkipEmptyParts)) {
        path += '/' + name;
        if (!QTest::qWaitFor([&] { return model.indexForPath(path).isValid(); }))
            return {};
        index = model.indexForPath(path);
        model.fetchMore(index);
        model.setExpanded(index, true);
    }
    return index;
}

// The top level, then the rows of "sub" when it is shown.
QString shownTree(FolderTreeModel &model)
{
    const QModelIndex sub = model.indexForPath(model.rootPath() + "/sub");
    return levelNames(model).join(' ') + " | " +
           (sub.isValid() ? levelNames(model, sub).join(' ') : QString());
}

} // namespace

class TestWorkspaceFolder : public QObject
{
    Q_OBJECT

private slots:
    void opening_data()
    {
        QTest::addColumn<QString>("given"); // relative to the temporary folder
        QTest::addColumn<QString>("event");
        QTest::addColumn<bool>("opened");
        QTest::newRow("folder") << "notes"
                                << "folder.open.success" << true;
        QTest::newRow("missing") << "gone"
                                 << "folder.open.failure" << false;
        QTest::newRow("a file") << "notes/a.md"
                                << "folder.open.failure" << false;
    }
    void opening()
    {
        QFETCH(QString, given);
        QFETCH(QString, event);
        QFETCH(bool, opened);
        ModelHarness h;
        makeTree(h.dir.path(), {"notes/a.md"});
        WorkspaceFolder &folder = h.model->workspaceFolder();
        // A dropped folder arrives through openURLs with the files.
        if (opened)
            h.model->openURLs({h.url(given)}, false);
        else
            folder.open(h.path(given));
        QVERIFY(h.model->tabs().isEmpty());
        QCOMPARE(folder.path(), opened ? h.path(given) : QString());
        QCOMPARE(h.lastLine("folder.").event, event);
        QCOMPARE(h.lastLine("folder.").metadata.value("path"), h.path(given));
        QCOMPARE(h.lastLine("folder.").metadata.contains("error"), !opened);
        QCOMPARE(h.model->alert().has_value(), !opened);
        h.settings->sync();
        QCOMPARE(h.settings->value(WorkspaceFolder::settingsKey).toString(),
                 opened ? h.path(given) : QString());
        folder.close();
        QCOMPARE(folder.path(), QString());
        QVERIFY(!h.settings->contains(WorkspaceFolder::settingsKey));
    }

    void rememberedAcrossLaunches_data()
    {
        QTest::addColumn<bool>("stillThere");
        QTest::newRow("kept") << true;
        QTest::newRow("gone, dropped with a log line") << false;
    }
    void rememberedAcrossLaunches()
    {
        QFETCH(bool, stillThere);
        QTemporaryDir notes;
        const QString path = notes.path() + (stillThere ? "" : "/gone");
        ModelHarness h("[General]\ntarn.workspaceFolder=" + path.toUtf8() + "\n");
        QCOMPARE(h.model->workspaceFolder().path(), stillThere ? path : QString());
        QCOMPARE(h.settings->contains(WorkspaceFolder::settingsKey), stillThere);
        QCOMPARE(h.events().contains("folder.open.failure"), !stillThere);
    }

    void treeLevels_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("level"); // expanded folder, relative; empty: the top
        QTest::addColumn<QStringList>("shown");
        // clang-format off
        QTest::newRow("documents only, folders first, Chinese order")
            << QStringList{"张.md", "b.txt", "阿.md", "A.MD", "图.png", "README", "章节/1.md", "附录/x.md", "Docs/y.markdown"}
            << "" << QStringList{"附录/", "章节/", "Docs/", "阿.md", "张.md", "A.MD", "b.txt"};
        QTest::newRow("numbers by value") << QStringList{"ch10.md", "ch9.md", "ch1.md"} << ""
            << QStringList{"ch1.md", "ch9.md", "ch10.md"};
        QTest::newRow("hidden, node_modules and .git left out")
            << QStringList{".hidden.md", ".notes/a.md", "node_modules/b.md", ".git/c.md", "d.md"}
            << "" << QStringList{"d.md"};
        QTest::newRow("folders only when they lead to a document")
            << QStringList{"images/a.png", "empty/", "deep/1/2/3/x.md", "deep/1/nothing/", "z.md"}
            << "" << QStringList{"deep/", "z.md"};
        QTest::newRow("a deeper level") << QStringList{"deep/1/2/3/x.md", "deep/1/nothing/", "deep/1/y.md"}
            << "deep/1" << QStringList{"2/", "y.md"};
        QTest::newRow("a symbolic link loop ends")
            << QStringList{"loop/", "loop/self -> .", "loop/inner/up -> ..", "ring/a.md", "ring/again -> ../ring", "top.md"}
            << "" << QStringList{"ring/", "top.md"};
        QTest::newRow("unreadable folder") << QStringList{"locked/a.md", "open/b.md"} << ""
            << QStringList{"open/"};
        // clang-format on
    }
    void treeLevels()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, level);
        QFETCH(QStringList, shown);
        QTemporaryDir root;
        makeTree(root.path(), entries);
        const bool locked = entries.contains("locked/a.md");
        const UnprivilegedScope unprivileged(locked ? QStringList{root.path()} : QStringList());
        QVERIFY(unprivileged.holds());
        if (locked)
            QFile::setPermissions(root.path() + "/locked", {});
        FolderTreeModel model;
        model.setRootPath(root.path());
        const QModelIndex parent = openLevel(model, level);
        QTRY_COMPARE(levelNames(model, parent), shown);
        QFile::setPermissions(root.path() + "/locked",
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void followsDisk_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("shown");
        QTest::newRow("file added") << "add sub/c.md"
                                    << "sub/ a.md | b.md c.md";
        QTest::newRow("file removed") << "remove a.md"
                                      << "sub/ | b.md";
        QTest::newRow("file renamed") << "rename sub/b.md sub/0.md"
                                      << "sub/ a.md | 0.md";
        QTest::newRow("folder added") << "add new/d.md"
                                      << "new/ sub/ a.md | b.md";
        QTest::newRow("last document gone") << "remove sub/b.md"
                                            << "a.md | ";
    }
    void followsDisk()
    {
        QFETCH(QString, change);
        QFETCH(QString, shown);
        QTemporaryDir root;
        makeTree(root.path(), {"a.md", "sub/b.md"});
        FolderTreeModel model;
        model.setRootPath(root.path());
        QVERIFY(openLevel(model, "sub").isValid());
        QTRY_COMPARE(shownTree(model), QString("sub/ a.md | b.md"));
        QTRY_VERIFY(!model.isBusy());
        const QStringList words = change.split(' ');
        const QString first = root.path() + '/' + words[1];
        if (words[0] == "add")
            makeTree(root.path(), {words[1]});
        else if (words[0] == "remove")
            QVERIFY(QFile::remove(first));
        else
            QVERIFY(QFile::rename(first, root.path() + '/' + words[2]));
        QTRY_COMPARE(shownTree(model), shown);
    }

    void revealsAFileDeepDown()
    {
        QTemporaryDir root;
        makeTree(root.path(), {"a/b/c/target.md", "a/other.md", "z.md"});
        FolderTreeModel model;
        model.setRootPath(root.path());
        QSignalSpy revealed(&model, &FolderTreeModel::revealed);
        model.reveal(root.path() + "/a/b/c/target.md");
        QTRY_COMPARE(revealed.count(), 1);
        const QModelIndex index = revealed.first().first().toModelIndex();
        QCOMPARE(index.data(FolderTreeModel::PathRole).toString(),
                 root.path() + "/a/b/c/target.md");
        QCOMPARE(index.parent().parent().parent().data().toString(), QString("a"));
    }
};

MODEL_TEST_RUNNER(TestWorkspaceFolder)
#include "tst_workspace_folder.moc"
