// The freedesktop recent-files list, reading the contact details, the single-instance key, the
// file panels and the alerts.
#include "AppTestSupport.h"
#include "ContactWindow.h"
#include "QtPlatform.h"
#include "RecentDocuments.h"
#include "SingleInstance.h"

#include <QDesktopServices>
#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QLockFile>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QTimer>
#include <QTreeView>

#include <future>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// clang-format off
const QByteArray otherProgramsList =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\" xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\" xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">\n"
    "<bookmark href=\"file:///home/u/photo.png\" added=\"2025-01-01T00:00:00Z\" modified=\"2025-01-01T00:00:00Z\" visited=\"2025-01-01T00:00:00Z\"><info><metadata owner=\"http://freedesktop.org\">"
    "<mime:mime-type type=\"image/png\"/><bookmark:applications><bookmark:application name=\"Viewer\" exec=\"'viewer %u'\" modified=\"2025-01-01T00:00:00Z\" count=\"3\"/></bookmark:applications></metadata></info></bookmark>\n</xbel>\n";
// clang-format on

// The list before (empty: no file yet), how often the file is added, the bookmarks afterwards
// (0: the list is refused and left as it was) and Tarn's count on its bookmark.
using RecentRow = std::tuple<QByteArray, int, int, int>;
// A socket file nobody listens on, as an instance that was killed leaves it.
bool leaveDeadSocket(const QString &path)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    const bool bound = ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    ::close(fd);
    return bound;
}

// Stands in for the desktop's browser.
class UrlHandler : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl &url) { opened << url; }
};

// WAYLAND_DISPLAY and DISPLAY ("": unset, as in a session without X), then the key's end.
using KeyRow = std::tuple<QByteArray, QByteArray, QString>;

} // namespace

void AppTest::recentDocuments_data()
{
    QTest::addColumn<RecentRow>("row");
    // clang-format off
    QTest::newRow("created") << RecentRow{{}, 1, 1, 1};
    QTest::newRow("same file twice") << RecentRow{{}, 2, 1, 2};
    QTest::newRow("other programs' entries kept") << RecentRow{otherProgramsList, 1, 2, 1};
    QTest::newRow("cut off") << RecentRow{otherProgramsList.left(200), 1, 0, 0};
    QTest::newRow("another root") << RecentRow{"<?xml version=\"1.0\"?><html/>", 1, 0, 0};
    // clang-format on
}
void AppTest::recentDocuments()
{
    QFETCH(RecentRow, row);
    const auto &[existing, adds, bookmarks, tarnCount] = row;
    QTemporaryDir dir;
    const QString xbel = dir.filePath("share/recently-used.xbel");
    if (!existing.isEmpty()) {
        QDir().mkpath(dir.filePath("share"));
        QFile file(xbel);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(existing);
    }
    const QUrl url = QUrl::fromLocalFile("/home/u/笔记 one.md");
    const QDateTime when(QDate(2026, 3, 1), QTime(8, 0), QTimeZone::utc());
    for (int i = 0; i < adds; ++i)
        QCOMPARE(RecentDocuments::add(xbel, url, "text/markdown", when.addSecs(i)), bookmarks > 0);
    if (bookmarks == 0) {
        QCOMPARE(readAll(xbel), existing);
        return;
    }

    QDomDocument document;
    QVERIFY(document.setContent(readAll(xbel)));
    const QDomNodeList all = document.elementsByTagName("bookmark");
    QCOMPARE(int(all.size()), bookmarks);
    const QDomElement ours = all.at(all.size() - 1).toElement();
    QCOMPARE(ours.attribute("href"), QString::fromUtf8(url.toEncoded()));
    QCOMPARE(ours.attribute("added"), QStringLiteral("2026-03-01T08:00:00.000Z"));
    QCOMPARE(ours.attribute("visited"), QStringLiteral("2026-03-01T08:00:0%1.000Z").arg(adds - 1));
    QCOMPARE(ours.elementsByTagName("mime:mime-type").at(0).toElement().attribute("type"),
             QStringLiteral("text/markdown"));
    const QDomElement tarn = ours.elementsByTagName("bookmark:application").at(0).toElement();
    QCOMPARE(tarn.attribute("name"), QStringLiteral("Tarn"));
    QCOMPARE(tarn.attribute("count").toInt(), tarnCount);
}

void AppTest::contactDetails_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("entries"); // -1: an error
    // clang-format off
    QTest::newRow("two entries") << QByteArray(R"({"intro":"hi","entries":[{"label":"邮件","text":"a","url":"mailto:a@b.org"},{"label":"主页","text":"b","url":"https://b.org/"}]})") << 2;
    QTest::newRow("not JSON") << QByteArray("{entries: [") << -1;
    QTest::newRow("no entries") << QByteArray(R"({"entries":[]})") << -1;
    QTest::newRow("entry without label") << QByteArray(R"({"entries":[{"text":"a@example.org","url":"mailto:a@example.org"}]})") << -1;
    QTest::newRow("address without scheme") << QByteArray(R"({"entries":[{"label":"主页","text":"x","url":"example.org"}]})") << -1;
    // clang-format on
}

void AppTest::contactDetails()
{
    QFETCH(QByteArray, json);
    QFETCH(int, entries);
    QString error;
    const std::optional<ContactDetails> details = ContactWindow::parse(json, &error);
    QCOMPARE(details ? int(details->entries.size()) : -1, entries);
    QCOMPARE(error.isEmpty(), entries >= 0);
}

// One Tarn per user and session: a Wayland session's display wins over its Xwayland one,
// and a Wayland session without X still has a key of its own.
void AppTest::singleInstanceKey_data()
{
    QTest::addColumn<KeyRow>("row");
    QTest::newRow("X only") << KeyRow{"", ":1", "-_1"};
    QTest::newRow("Wayland only") << KeyRow{"wayland-0", "", "-wayland_0"};
    QTest::newRow("both") << KeyRow{"wayland-1", ":0", "-wayland_1"};
}
void AppTest::singleInstanceKey()
{
    QFETCH(KeyRow, row);
    const auto &[wayland, x11, suffix] = row;
    const auto set = [](const char *name, const QByteArray &value) {
        value.isEmpty() ? qunsetenv(name) : qputenv(name, value);
    };
    const QByteArray saved[] = {qgetenv("WAYLAND_DISPLAY"), qgetenv("DISPLAY")};
    set("WAYLAND_DISPLAY", wayland);
    set("DISPLAY", x11);
    const QString key = SingleInstance::defaultKey();
    set("WAYLAND_DISPLAY", saved[0]);
    set("DISPLAY", saved[1]);
    QCOMPARE(key, QStringLiteral("tarn-%1").arg(::getuid()) + suffix);
}

// The name belongs to the live instance that holds its lock; what a dead one left is replaced.
// Only this user may hand files over: another local user must not reach the window.
void AppTest::singleInstanceSocket_data()
{
    QTest::addColumn<QString>("before");
    QTest::newRow("nothing") << "";
    QTest::newRow("socket and lock of a killed instance") << "dead";
    QTest::newRow("a live instance") << "live";
}
void AppTest::singleInstanceSocket()
{
    QFETCH(QString, before);
    QTemporaryDir dir;
    const QString key = dir.filePath("tarn");
    SingleInstance live(key);
    if (before == "live")
        QVERIFY(live.listen());
    if (before == "dead") {
        QVERIFY(leaveDeadSocket(key));
        QLockFile lock(key + ".lock");
        QVERIFY(lock.tryLock(0));
        const QByteArray text = readAll(key + ".lock");
        lock.unlock();
        QFile file(key + ".lock");
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("2147480000" + text.mid(text.indexOf('\n'))); // a process id nobody has
    }
    SingleInstance instance(key);
    QCOMPARE(instance.listen(), before != "live");

    SingleInstance &running = before == "live" ? live : instance;
    QSignalSpy activated(&running, &SingleInstance::activationRequested);
    auto handedOver = std::async(std::launch::async,
                                 [&key] { return SingleInstance(key).handOver({"/笔记.md"}); });
    QTRY_COMPARE(activated.size(), 1);
    QCOMPARE(activated.first().first().toStringList(), QStringList{"/笔记.md"});
    QVERIFY(handedOver.get());
    const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                      QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    QCOMPARE(QFileInfo(key).permissions() & others, QFile::Permissions());
    QCOMPARE(QFileInfo(key).ownerId(), ::getuid());
}

// The real platform layer: an opened file joins the desktop's recently-used list, and an
// external link reaches the desktop's handler for its scheme.
void AppTest::qtPlatformReachesTheDesktop()
{
    QTemporaryDir data;
    QStandardPaths::setTestModeEnabled(false); // test mode hides XDG_DATA_HOME
    const QByteArray savedDataHome = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    UrlHandler browser;
    QDesktopServices::setUrlHandler("https", &browser, "open");
    const auto restore = qScopeGuard([&] {
        QDesktopServices::unsetUrlHandler("https");
        savedDataHome.isNull() ? qunsetenv("XDG_DATA_HOME")
                               : qputenv("XDG_DATA_HOME", savedDataHome);
        QStandardPaths::setTestModeEnabled(true);
    });

    AppHarness h;
    QtPlatform platform;
    AppModel model(*h.settings, platform, h.pdf, *h.logger);
    const QUrl note = h.file("笔记.md");
    model.openURLs({note}, false);
    QDomDocument recent;
    QVERIFY(recent.setContent(readAll(data.filePath("recently-used.xbel"))));
    const QDomNodeList bookmarks = recent.elementsByTagName("bookmark");
    QCOMPARE(bookmarks.size(), 1);
    QCOMPARE(bookmarks.at(0).toElement().attribute("href"), QString::fromUtf8(note.toEncoded()));

    const QUrl link("https://example.org/页面?q=1#part");
    model.openLink(link, model.selectedDocument());
    QCOMPARE(browser.opened, QList<QUrl>{link});
}

// The panels start in the folder the model names, else in the home folder, never the working
// folder; their listing is in Chinese, sizes and dates included, whatever the session's locale;
// what is chosen in it comes back.
void AppTest::filePanels_data()
{
    QTest::addColumn<bool>("save");
    QTest::addColumn<bool>("inDocumentsFolder");
    QTest::newRow("open, document's folder") << false << true;
    QTest::newRow("save, document's folder") << true << true;
    QTest::newRow("open, no folder given") << false << false;
}
void AppTest::filePanels()
{
    QFETCH(bool, save);
    QFETCH(bool, inDocumentsFolder);
    QTemporaryDir dir;
    QFile note(dir.filePath("note.md"));
    QVERIFY(note.open(QIODevice::WriteOnly) && note.write(QByteArray(375, 'x')) == 375);
    note.close();
    const QString folder = inDocumentsFolder ? dir.path() : QString();

    const QString chosen = save ? "new.md" : "note.md";
    QString shownFolder;
    QStringList noteRow; // the columns' texts on note.md's line
    QTimer::singleShot(0, [&] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        bool accepted = false;
        const auto close = qScopeGuard([&] { // also on a failure
            if (!accepted)
                dialog->reject();
        });
        shownFolder = dialog->directory().absolutePath();
        const QTreeView *list = dialog->findChild<QTreeView *>("treeView");
        const QAbstractItemModel *model = list->model();
        auto row = [&] {
            QStringList texts;
            for (int r = 0; r < model->rowCount(list->rootIndex()); ++r) {
                if (model->index(r, 0, list->rootIndex()).data() == "note.md") {
                    for (int c = 0; c < model->columnCount(list->rootIndex()); ++c)
                        texts << model->index(r, c, list->rootIndex()).data().toString();
                }
            }
            return texts;
        };
        if (inDocumentsFolder) {
            QTRY_VERIFY(row().size() == 4 && !row().at(3).isEmpty());
            noteRow = row();
            list->selectionModel()->clear(); // the save panel has the suggested name selected
            auto *name = dialog->findChild<QLineEdit *>("fileNameEdit");
            name->selectAll();
            QTest::keyClicks(name, chosen);
            QVERIFY(QMetaObject::invokeMethod(dialog, "accept"));
            accepted = !dialog->isVisible();
        }
    });
    QtPlatform platform;
    QList<QUrl> result;
    if (save)
        result << platform.runSavePanel({"另存为", "note.md", {}, "md", folder}).value_or(QUrl());
    else
        result = platform.runOpenPanel({"打开", true, true, false, {}, folder});
    result.removeAll(QUrl());
    QCOMPARE(result,
             inDocumentsFolder ? QList{QUrl::fromLocalFile(dir.filePath(chosen))} : QList<QUrl>());

    QCOMPARE(shownFolder, inDocumentsFolder ? QDir(dir.path()).absolutePath() : QDir::homePath());
    if (!inDocumentsFolder)
        return;
    QCOMPARE(noteRow.size(), 4);
    QVERIFY2(noteRow.at(1).contains("375") && noteRow.at(1).contains("字节"),
             qPrintable(noteRow.at(1)));
    QVERIFY2(!noteRow.at(3).contains(QRegularExpression("[A-Za-z]")), qPrintable(noteRow.at(3)));
}

// The alert's keys, the same for the model's questions and the editor's: Return presses the
// first button, Escape a "取消" button; without one Escape does nothing, an answer is needed.
void AppTest::alertKeys_data()
{
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<QList<int>>("keys");
    QTest::addColumn<int>("answer");
    const QStringList unsaved{"保存", "放弃修改", "取消"};
    QTest::newRow("unsaved: Return saves") << unsaved << QList<int>{Qt::Key_Return} << 0;
    QTest::newRow("unsaved: Escape cancels") << unsaved << QList<int>{Qt::Key_Escape} << 2;
    QTest::newRow("replace all: Escape cancels")
        << QStringList{"全部替换", "取消"} << QList<int>{Qt::Key_Escape} << 1;
    QTest::newRow("changed on disk: Escape does nothing")
        << QStringList{"保留我的修改", "载入磁盘上的版本"}
        << QList<int>{Qt::Key_Escape, Qt::Key_Return} << 0;
}
void AppTest::alertKeys()
{
    QFETCH(QStringList, buttons);
    QFETCH(QList<int>, keys);
    QFETCH(int, answer);
    QTimer::singleShot(0, [keys] {
        auto *box = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        QVERIFY(box);
        for (const int key : keys) {
            if (box->isVisible())
                QTest::keyClick(box, Qt::Key(key));
        }
        if (box->isVisible())
            box->done(0); // unanswered, so that a failure does not leave the test waiting
    });
    QtPlatform platform;
    QCOMPARE(platform.runModalAlert({AlertStyle::warning, "问题", "说明", buttons}), answer);
}

#include "tst_desktop_services.moc"
