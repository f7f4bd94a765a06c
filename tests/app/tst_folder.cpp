// The folder in the sidebar: the search across it on a real tree with a link loop, an unreadable
// folder, a name that is not UTF-8, binary and oversized files; the tree and the results in the
// window, and where a clicked hit leads.
#include "AppTestSupport.h"
#include "EditorPane.h"
#include "FileSidebar.h"
#include "FolderPane.h"
#include "FolderSearchPanel.h"
#include "FolderTreeModel.h"
#include "FolderTreeView.h"
#include "TarnEditorTextView.h"
#include "UnprivilegedScope.h"
#include "WorkspaceFolder.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTreeWidget>

#include <fcntl.h>
#include <unistd.h>

namespace {

void write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

// A folder with every kind of entry the search must cope with.
void makeSearchTree(const QString &root)
{
    write(root + "/a.md", "Straße\nnothing here\nSTRASSE and strasse\n");
    write(root + "/章节/二.markdown", "中文搜索测试\n\n再搜索一次\n");
    write(root + "/notes.txt", "plain strasse\r\n");
    write(root + "/picture.png", "strasse");
    write(root + "/node_modules/dep.md", "strasse");
    write(root + "/.hidden.md", "strasse");
    write(root + "/binary.md", QByteArray("strasse\0\1\2", 10));
    QFile big(root + "/big.md");
    if (!big.open(QIODevice::WriteOnly) ||
        !big.resize(WorkspaceFolder::maximumSearchedFileSize + 1))
        qFatal("cannot make the large file");
    write(root + "/locked/secret.md", "strasse");
    QFile::link(root, root + "/章节/loop");
    // A name that is not UTF-8.
    const QByteArray latin1 = QFile::encodeName(root) + "/caf\xe9.md";
    const int descriptor = ::open(latin1.constData(), O_CREAT | O_WRONLY, 0644);
    if (descriptor < 0 || ::write(descriptor, "strasse", 7) != 7)
        qFatal("cannot write the non-UTF-8 name");
    ::close(descriptor);
}

} // namespace

class FolderTest : public QObject
{
    Q_OBJECT

private slots:
    void search_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("found"); // "relative path:hits"
        QTest::addColumn<QString>("logged");    // files hits skipped
        QTest::addColumn<bool>("lockedFolder");
        // clang-format off
        QTest::newRow("lower-cased like the page search") << "STRASSE" << QStringList{"a.md:2", "locked/secret.md:1", "notes.txt:1"} << "4 4 2" << false;
        QTest::newRow("trimmed like the page search") << "  straße " << QStringList{"a.md:1"} << "4 1 2" << false;
        QTest::newRow("Chinese") << "搜索" << QStringList{"章节/二.markdown:2"} << "4 2 2" << false;
        QTest::newRow("unreadable folder skipped") << "strasse" << QStringList{"a.md:2", "notes.txt:1"} << "3 3 2" << true;
        // clang-format on
    }
    void search()
    {
        QFETCH(QString, query);
        QFETCH(QStringList, found);
        QFETCH(QString, logged);
        QFETCH(bool, lockedFolder);
        AppHarness h;
        QTemporaryDir folder;
        makeSearchTree(folder.path());
        const UnprivilegedScope unprivileged(lockedFolder ? QStringList{folder.path(), h.dir.path()}
                                                          : QStringList());
        QVERIFY(unprivileged.holds());
        if (lockedFolder)
            QFile::setPermissions(folder.path() + "/locked", {});
        FolderSearch search(h.model->workspaceFolder());
        QSignalSpy finished(&search, &FolderSearch::finished);
        QStringList results;
        connect(&search, &FolderSearch::filesFound, this,
                [&](const QList<FolderSearchFile> &files) {
                    for (const FolderSearchFile &file : files)
                        results << QDir(folder.path()).relativeFilePath(file.path) + ':' +
                                       QString::number(file.hitCount);
                });
        search.start(folder.path(), query);
        QTRY_COMPARE(finished.count(), 1);
        QFile::setPermissions(folder.path() + "/locked", QFile::ReadOwner | QFile::ExeOwner);
        results.sort();
        QCOMPARE(results, found);
        const LogLine line = h.log().last();
        QCOMPARE(line.event, QString("folder.search.finished"));
        QCOMPARE(
            QStringList({line.metadata["files"], line.metadata["hits"], line.metadata["skipped"]})
                .join(' '),
            logged);
        QVERIFY(line.metadata.contains("ms"));
        QCOMPARE(line.metadata.size(), 4); // no query text
    }

    // A file with more hits than are listed shows the first ones and counts them all.
    void manyHitsInOneFile()
    {
        AppHarness h;
        QTemporaryDir folder;
        write(folder.path() + "/many.md",
              QByteArray("hit\n").repeated(FolderSearch::maximumShownHits + 1));
        FolderSearch search(h.model->workspaceFolder());
        QSignalSpy finished(&search, &FolderSearch::finished);
        QList<FolderSearchFile> found;
        connect(&search, &FolderSearch::filesFound, this,
                [&](const QList<FolderSearchFile> &files) { found += files; });
        search.start(folder.path(), "hit");
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.first().hitCount, FolderSearch::maximumShownHits + 1);
        QCOMPARE(found.first().hits.size(), FolderSearch::maximumShownHits);
        QCOMPARE(found.first().hits.last().line, FolderSearch::maximumShownHits - 1);
    }

    // Each keystroke cancels the search before: only the last one reports.
    void newQueryCancelsTheLast()
    {
        AppHarness h;
        QTemporaryDir folder;
        for (int i = 0; i < 300; ++i)
            write(folder.path() + QString("/f%1.md").arg(i), "alpha beta\n");
        FolderSearch search(h.model->workspaceFolder());
        QSignalSpy finished(&search, &FolderSearch::finished);
        int files = 0;
        connect(&search, &FolderSearch::filesFound, this,
                [&](const QList<FolderSearchFile> &found) { files += found.size(); });
        search.start(folder.path(), "alpha");
        search.start(folder.path(), "gamma");
        search.start(folder.path(), "beta");
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(finished.first().first().value<FolderSearchStats>().hits, 300);
        QCOMPARE(files, 300);
        QTest::qWait(0);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(h.events().count("folder.search.finished"), 1);
    }

    // The window: the menu's search command, streamed results, a hit opening its file at that
    // hit (the reader's search or the editor's selection), and the tree following the tab and
    // the file filter.
    void inTheWindow()
    {
        WindowFixture f;
        QTemporaryDir folder;
        // The first hit is in a link address, which the page does not show.
        write(folder.path() + "/a.md", "# A\n\n[link](x.md) first x\n\nsecond x\n\nthird X\n");
        write(folder.path() + "/sub/b.md", "# B\n");
        write(folder.path() + "/sub/inner/deep.md", "# D\n");
        FolderPane *pane = f.view.sidebar()->folderPane();
        QVERIFY(!pane->isVisible());
        f.platform.openPanelAnswers = {{QUrl::fromLocalFile(folder.path())}};
        f.item(C::openFolder)->trigger();
        QCOMPARE(f.model->workspaceFolder().path(), folder.path());
        QVERIFY(pane->isVisible());

        QSignalSpy findRequested(&f.menu, &MainMenu::folderFindRequested);
        f.item(C::findInFolder)->trigger();
        QCOMPARE(findRequested.count(), 1);
        pane->focusSearch();
        FolderSearchPanel *panel = pane->searchPanel();
        QCOMPARE(f.window.focusWidget(), panel->field()); // the window may be inactive here
        QTest::keyClicks(panel->field(), "x");
        QTRY_COMPARE(panel->countLabel()->text(), QStringLiteral("1 个文件中 4 处"));
        QVERIFY(!pane->tree()->isVisible());
        QTreeWidgetItem *second = panel->results()->topLevelItem(0)->child(2);
        QCOMPARE(second->text(0), QString("second x"));

        // Reading: the page searches the query and steps to the same hit, its second.
        emit panel->results()->itemClicked(second, 0);
        QTRY_VERIFY(f.model->selectedDocument());
        QCOMPARE(f.model->selectedDocument()->url().toLocalFile(), folder.path() + "/a.md");
        QCOMPARE(f.model->searchQuery(), QString("x"));
        QTRY_COMPARE_WITH_TIMEOUT(f.model->currentSearchResultIndex(), 2, 10000);
        QCOMPARE(f.model->searchResultCount(), 3);

        // Editing: the editor selects the hit.
        f.model->toggleEditing();
        emit panel->results()->itemClicked(second, 0);
        QVERIFY(f.model->isEditing());
        const QTextCursor cursor = f.view.editorPane()->textView()->textCursor();
        QCOMPARE(cursor.selectedText(), QString("x"));
        QCOMPARE(cursor.block().text(), QString("second x"));
        f.model->toggleEditing();

        // The tree shows the tab's file, opens a clicked one and follows the file filter.
        panel->field()->clear();
        FolderTreeView *tree = pane->tree();
        QVERIFY(tree->isVisible());
        QTRY_COMPARE(tree->currentIndex().data(FolderTreeModel::PathRole).toString(),
                     folder.path() + "/a.md");
        // The filter looks into folders not opened yet, and opens the way to what it finds.
        f.model->setFileFilter("DEEP.m");
        const QString deep = folder.path() + "/sub/inner/deep.md";
        QTRY_VERIFY(tree->viewIndex(deep).isValid());
        QVERIFY(!tree->viewIndex(folder.path() + "/a.md").isValid());
        QVERIFY(!tree->viewIndex(folder.path() + "/sub/b.md").isValid());
        QTRY_VERIFY(tree->isExpanded(tree->viewIndex(folder.path() + "/sub/inner")));
        emit tree->clicked(tree->viewIndex(deep));
        QCOMPARE(f.model->selectedDocument()->url().toLocalFile(), deep);

        f.item(C::closeFolder)->trigger();
        QVERIFY(!pane->isVisible());
    }
};

int runFolderTest(int argc, char **argv)
{
    FolderTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_folder.moc"
