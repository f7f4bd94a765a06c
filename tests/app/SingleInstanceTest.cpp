// One Tarn per user and display, with real processes: a second launch hands its files to the
// first and exits; a stale socket and stray messages do not get in the way.
#include "SingleInstance.h"
#include "ProcessTestSupport.h"

#include <QLocalSocket>
#include <QTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// WAYLAND_DISPLAY and DISPLAY ("": unset, as in a session without X), then the key's end.
using KeyRow = std::tuple<QByteArray, QByteArray, QString>;

class SingleInstanceTest : public QObject
{
    Q_OBJECT

private slots:
    // One Tarn per user and session: a Wayland session's display wins over its Xwayland one,
    // and a Wayland session without X still has a key of its own.
    void keyPerSession_data()
    {
        QTest::addColumn<KeyRow>("row");
        QTest::newRow("X only") << KeyRow{"", ":1", "-_1"};
        QTest::newRow("Wayland only") << KeyRow{"wayland-0", "", "-wayland_0"};
        QTest::newRow("both") << KeyRow{"wayland-1", ":0", "-wayland_1"};
    }
    void keyPerSession()
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

    void secondLaunchHandsOver()
    {
        TarnProcesses tarn;
        for (const char *name : {"a.md", "b.md", "pic.png"})
            tarn.file(name, QStringLiteral("# %1\n").arg(name));
        // A crashed instance left its socket behind, which nobody listens on: the first launch
        // takes it over.
        const QString socket = tarn.path(QStringLiteral("tmp/tarn-%1-_tarn_test").arg(::getuid()));
        sockaddr_un address{AF_UNIX, {}};
        qstrncpy(address.sun_path, QFile::encodeName(socket).constData(), sizeof(address.sun_path));
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        ::close(fd);
        QVERIFY(!SingleInstance(socket).handOver({"/tmp/a.md"}, 500));
        QProcess *first = tarn.start({"a.md"});
        QTRY_COMPARE_WITH_TIMEOUT(tarn.openedPaths(), QStringList{tarn.path("a.md")}, 60000);

        // Messages that are no list of paths are neither acknowledged nor acted on.
        for (const QByteArray &message :
             {QByteArray("{\"files\":[\"x.md\"]}\n"), QByteArray(5 * 1024 * 1024, 'x')}) {
            QLocalSocket stray;
            stray.connectToServer(socket);
            QVERIFY(stray.waitForConnected(5000));
            stray.write(message);
            stray.waitForBytesWritten(5000);
            QVERIFY(!stray.waitForReadyRead(1000) || !stray.readAll().startsWith("ok"));
        }

        // b.md is new, a.md is open already: only b opens, a's tab is selected again. What cannot
        // open is said on standard error and the rest still goes.
        QProcess *second = tarn.start({"b.md", "missing.md", "pic.png", "a.md"});
        QVERIFY(second->waitForFinished(60000));
        QVERIFY(second->exitStatus() == QProcess::NormalExit && second->exitCode() == 0);
        QCOMPARE(second->readAllStandardError(),
                 QByteArray("tarn: missing.md: no such file\n"
                            "tarn: pic.png: not a Markdown or text file\n"));
        QTRY_COMPARE(tarn.openedPaths(), (QStringList{tarn.path("a.md"), tarn.path("b.md")}));
        QTRY_VERIFY(tarn.events().contains("file.open.existing"));
        QCOMPARE(tarn.events().count("app.launch"), 1);
        QCOMPARE(tarn.events().count("file.open.failure"), 0);
        QCOMPARE(first->state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
