// One Tarn per user and display, with real processes: a second launch hands its files to the
// first and exits; a stale socket and stray messages do not get in the way.
#include "SingleInstance.h"
#include "ProcessTestSupport.h"

#include <QLocalSocket>
#include <QTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int kStartTimeout = 60000;

// A socket file nobody listens on, as a crashed instance leaves it.
bool makeStaleSocket(const QString &path)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0)
        return false;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = path.toLocal8Bit();
    if (size_t(bytes.size()) >= sizeof(address.sun_path)) {
        ::close(fd);
        return false;
    }
    qstrncpy(address.sun_path, bytes.constData(), sizeof(address.sun_path));
    const bool bound = ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0;
    ::close(fd);
    return bound;
}

} // namespace

class SingleInstanceTest : public QObject
{
    Q_OBJECT

private slots:
    // One Tarn per user and session: a Wayland session's display wins over its Xwayland one,
    // and a Wayland session without X still has a key of its own.
    void keyPerSession_data()
    {
        QTest::addColumn<QString>("wayland");
        QTest::addColumn<QString>("x11");
        QTest::addColumn<QString>("suffix");
        // clang-format off
        QTest::newRow("X only") << "" << ":1" << "-_1";
        QTest::newRow("Wayland only") << "wayland-0" << "" << "-wayland_0";
        QTest::newRow("both") << "wayland-1" << ":0" << "-wayland_1";
        // clang-format on
    }
    void keyPerSession()
    {
        QFETCH(QString, wayland);
        QFETCH(QString, x11);
        // An empty value stands for an unset variable, as in a session without X.
        const auto set = [](const char *name, const QByteArray &value) {
            value.isEmpty() ? qunsetenv(name) : qputenv(name, value);
        };
        const QByteArray saved[] = {qgetenv("WAYLAND_DISPLAY"), qgetenv("DISPLAY")};
        set("WAYLAND_DISPLAY", wayland.toUtf8());
        set("DISPLAY", x11.toUtf8());
        const QString key = SingleInstance::defaultKey();
        set("WAYLAND_DISPLAY", saved[0]);
        set("DISPLAY", saved[1]);
        QTEST(key.mid(key.indexOf(u'-', 5)), "suffix");
    }

    void secondLaunchHandsOver()
    {
        TarnProcesses tarn;
        for (const char *name : {"a.md", "b.md"})
            tarn.file(name, QStringLiteral("# %1\n").arg(name));
        // A crashed instance left its socket behind: the first launch takes it over.
        QVERIFY(makeStaleSocket(tarn.socketPath()));
        QVERIFY(!SingleInstance(tarn.socketPath()).handOver({"/tmp/a.md"}, 500));
        QProcess *first = tarn.start({"a.md"});
        QTRY_COMPARE_WITH_TIMEOUT(tarn.openedPaths(), QStringList{tarn.path("a.md")},
                                  kStartTimeout);

        // Messages that are no list of paths are neither acknowledged nor acted on.
        for (const QByteArray &message :
             {QByteArray("{\"files\":[\"x.md\"]}\n"), QByteArray(5 * 1024 * 1024, 'x')}) {
            QLocalSocket stray;
            stray.connectToServer(tarn.socketPath());
            QVERIFY(stray.waitForConnected(5000));
            stray.write(message);
            stray.waitForBytesWritten(5000);
            QVERIFY(!stray.waitForReadyRead(1000) || !stray.readAll().startsWith("ok"));
        }

        // b.md is new, a.md is open already: only b opens, a's tab is selected again. What cannot
        // open is said on standard error and the rest still goes.
        tarn.file("pic.png", "png");
        QProcess *second = tarn.start({"b.md", "missing.md", "pic.png", "a.md"});
        QVERIFY(second->waitForFinished(kStartTimeout));
        QCOMPARE(second->exitStatus(), QProcess::NormalExit);
        QCOMPARE(second->exitCode(), 0);
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
