// One Tarn per user and display, with real processes: a second launch hands its files to the
// first and exits; stale sockets and stray messages do not get in the way.
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
    void secondLaunchHandsOver_data();
    void secondLaunchHandsOver();
    void staleSocketIsReplaced();
    void strayMessagesAreIgnored_data();
    void strayMessagesAreIgnored();
    void nobodyListening();
};

void SingleInstanceTest::secondLaunchHandsOver_data()
{
    QTest::addColumn<QStringList>("secondArguments");
    QTest::addColumn<QStringList>("expectedOpened"); // after a.md

    QTest::newRow("one file") << QStringList{QStringLiteral("b.md")}
                              << QStringList{QStringLiteral("b.md")};
    QTest::newRow("two files, one open already")
        << QStringList{QStringLiteral("c.md"), QStringLiteral("a.md")}
        << QStringList{QStringLiteral("c.md")};
    QTest::newRow("no file, only raise") << QStringList{} << QStringList{};
}

void SingleInstanceTest::secondLaunchHandsOver()
{
    QFETCH(QStringList, secondArguments);
    QFETCH(QStringList, expectedOpened);
    TarnProcesses tarn;
    for (const char *name : {"a.md", "b.md", "c.md"})
        tarn.file(QLatin1String(name), QStringLiteral("# %1\n").arg(QLatin1String(name)));
    QProcess *first = tarn.start({QStringLiteral("a.md")});
    QTRY_COMPARE_WITH_TIMEOUT(tarn.openedPaths(), QStringList{tarn.path(QStringLiteral("a.md"))},
                              kStartTimeout);

    QProcess *second = tarn.start(secondArguments);
    QVERIFY(second->waitForFinished(kStartTimeout));
    QCOMPARE(second->exitStatus(), QProcess::NormalExit);
    QCOMPARE(second->exitCode(), 0);

    QStringList expected{tarn.path(QStringLiteral("a.md"))};
    for (const QString &name : expectedOpened)
        expected << tarn.path(name);
    if (secondArguments.contains(QStringLiteral("a.md")))
        QTRY_VERIFY(tarn.events().contains(QStringLiteral("file.open.existing")));
    QTRY_COMPARE(tarn.openedPaths(), expected);
    QCOMPARE(tarn.events().count(QStringLiteral("app.launch")), 1);
    QCOMPARE(first->state(), QProcess::Running);
}

void SingleInstanceTest::staleSocketIsReplaced()
{
    TarnProcesses tarn;
    tarn.file(QStringLiteral("a.md"), QStringLiteral("# a\n"));
    tarn.file(QStringLiteral("b.md"), QStringLiteral("# b\n"));
    QVERIFY(makeStaleSocket(tarn.socketPath()));
    QVERIFY(QFile::exists(tarn.socketPath()));

    QProcess *first = tarn.start({QStringLiteral("a.md")});
    QTRY_COMPARE_WITH_TIMEOUT(tarn.openedPaths().size(), 1, kStartTimeout);
    QProcess *second = tarn.start({QStringLiteral("b.md")});
    QVERIFY(second->waitForFinished(kStartTimeout));
    QCOMPARE(second->exitCode(), 0);
    QTRY_COMPARE(tarn.openedPaths().size(), 2);
    QCOMPARE(first->state(), QProcess::Running);
}

void SingleInstanceTest::strayMessagesAreIgnored_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("not JSON") << QByteArray("hello there\n");
    QTest::newRow("JSON object") << QByteArray("{\"files\":[\"x.md\"]}\n");
    QTest::newRow("numbers in the list") << QByteArray("[1, 2, 3]\n");
    QTest::newRow("endless line") << QByteArray(5 * 1024 * 1024, 'x');
}

void SingleInstanceTest::strayMessagesAreIgnored()
{
    QFETCH(QByteArray, message);
    TarnProcesses tarn;
    tarn.file(QStringLiteral("a.md"), QStringLiteral("# a\n"));
    tarn.file(QStringLiteral("b.md"), QStringLiteral("# b\n"));
    QProcess *first = tarn.start({QStringLiteral("a.md")});
    QTRY_COMPARE_WITH_TIMEOUT(tarn.openedPaths().size(), 1, kStartTimeout);

    QLocalSocket stray;
    stray.connectToServer(tarn.socketPath());
    QVERIFY(stray.waitForConnected(5000));
    stray.write(message);
    stray.waitForBytesWritten(5000);
    // The instance answers only a list of paths; anything else is not acknowledged.
    QVERIFY(!stray.waitForReadyRead(1000) || !stray.readAll().startsWith("ok"));
    stray.abort();

    QProcess *second = tarn.start({QStringLiteral("b.md")});
    QVERIFY(second->waitForFinished(kStartTimeout));
    QCOMPARE(second->exitCode(), 0);
    QTRY_COMPARE(tarn.openedPaths().size(), 2);
    QCOMPARE(first->state(), QProcess::Running);
    QCOMPARE(tarn.events().count(QStringLiteral("file.open.failure")), 0);
}

void SingleInstanceTest::nobodyListening()
{
    TarnProcesses tarn;
    SingleInstance instance(tarn.socketPath());
    QVERIFY(!instance.handOver({QStringLiteral("/tmp/a.md")}, 500));
    QVERIFY(makeStaleSocket(tarn.socketPath()));
    QVERIFY(!instance.handOver({QStringLiteral("/tmp/a.md")}, 500));
}

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
