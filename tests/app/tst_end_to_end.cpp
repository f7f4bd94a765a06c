// The real program under an X server (xvfb-run), driven with synthetic input (xdotool): one Tarn
// per display, reading, editing, searching, exporting and quitting, then unsaved edits through a
// crash and a termination.
#include "UsageLogReader.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <list>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Tarn processes whose every write (settings, logs, drafts, the instance socket, recent files)
// goes under a fresh temporary folder; they are killed at the end of the test.
class Sandbox
{
public:
    Sandbox()
    {
        const char *const folders[][2] = {{"TARN_LOG_DIR", "logs"},
                                          {"XDG_CONFIG_HOME", "config"},
                                          {"XDG_DATA_HOME", "data"},
                                          {"XDG_STATE_HOME", "state"},
                                          {"TMPDIR", "tmp"}};
        for (const auto &[variable, folder] : folders) {
            QDir(m_dir.path()).mkpath(folder);
            m_environment.insert(variable, path(folder));
        }
        m_environment.insert("XDG_RUNTIME_DIR",
                             m_dir.path()); // private to the owner, as it must be
        m_environment.insert("QT_QPA_PLATFORM", "xcb");
        for (const char *variable :
             {"WAYLAND_DISPLAY", "QT_QPA_PLATFORMTHEME", "XDG_CURRENT_DESKTOP"})
            m_environment.remove(variable);
        // No session bus: revealing files must not reach a real file manager.
        m_environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path("no-bus"));
    }
    ~Sandbox()
    {
        for (QProcess &process : m_processes) {
            process.kill(); // nothing happens to one that has ended
            process.waitForFinished(10000);
        }
    }

    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString file(const QString &name, const QString &text) const
    {
        QFile out(path(name));
        if (!out.open(QIODevice::WriteOnly) || out.write(text.toUtf8()) < 0)
            qFatal("cannot write %s", qPrintable(name));
        return path(name);
    }
    QProcess *start(const QStringList &arguments, const QString &program = TARN_BINARY)
    {
        QProcess &process = m_processes.emplace_back();
        process.setProcessEnvironment(m_environment);
        process.setWorkingDirectory(m_dir.path());
        process.setStandardOutputFile(QProcess::nullDevice());
        process.start(program, arguments);
        return &process;
    }
    QStringList events() const { return eventNames(readUsageLog(path("logs/tarn.log"))); }

private:
    QTemporaryDir m_dir{QDir::tempPath() + "/tarnp-XXXXXX"}; // short: sockets have a path limit
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    std::list<QProcess> m_processes;
};

constexpr int kTimeout = 60000;

QString xdotool(const QStringList &arguments)
{
    QProcess process;
    process.start("xdotool", arguments);
    process.waitForFinished(20000);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

// The visible top-level windows of `process`, by X window id.
QStringList windowsOf(const QProcess *process)
{
    const QString pid = QString::number(process->processId());
    return xdotool({"search", "--onlyvisible", "--pid", pid, "--name", "."})
        .split(u'\n', Qt::SkipEmptyParts);
}

// The visible window of `process` called `name`, or "" while there is none.
QString windowNamed(const QProcess *process, const QString &name)
{
    for (const QString &window : windowsOf(process)) {
        if (xdotool({"getwindowname", window}) == name)
            return window;
    }
    return {};
}

// A visible window of `process` other than `window` (a dialog), or "" while there is none.
QString otherWindow(const QProcess *process, const QString &window)
{
    QStringList windows = windowsOf(process);
    windows.removeAll(window);
    return windows.value(0);
}

// Focuses `window`, presses the space-separated `keys`, then types `text`.
void input(const QString &window, const QString &keys, const QString &text = {})
{
    xdotool({"windowfocus", "--sync", window});
    xdotool(QStringList{"key", "--delay", "40"} + keys.split(u' '));
    if (!text.isEmpty())
        xdotool({"type", "--delay", "20", text});
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class EndToEndTest : public QObject
{
    Q_OBJECT

private slots:
    // A stale socket is taken over, stray messages are ignored and a second launch hands its
    // files over. Then: switching tabs, editing and saving, searching, exporting both formats
    // and quitting, checked on disk, in the remembered reading position and in the usage log.
    // Then typing and SIGKILL: the next launch brings the draft back in an unsaved tab and says
    // so; typing and SIGTERM at once: what was just typed is written. The file stays as saved.
    void program()
    {
        Sandbox tarn;
        // An X client for the whole run: when the last one goes, as a killed Tarn does, the X
        // server resets and refuses the next Tarn for a moment.
        tarn.start({"search", "--sync", "--name", "^no such window, ever$"}, "xdotool");
        const QString filler = QString("A paragraph of the long introduction.\n\n").repeated(150);
        const QString aText = "# Alpha\n\n" + filler + "## Needle\n\nThe word zebra is here.\n";
        const QString a = tarn.file("a.md", aText);
        tarn.file("b.md", "# Beta\n\nSecond file.\n");
        tarn.file("c.md", "# Gamma\n");
        tarn.file("pic.png", "png");
        // A crashed instance left its socket behind, which nobody listens on.
        static const QRegularExpression unsafe("[^A-Za-z0-9]");
        const QString display = qEnvironmentVariable("DISPLAY").replace(unsafe, "_");
        const QString socket = tarn.path(QStringLiteral("tmp/tarn-%1-").arg(::getuid()) + display);
        sockaddr_un address{AF_UNIX, {}};
        qstrncpy(address.sun_path, QFile::encodeName(socket).constData(), sizeof(address.sun_path));
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        ::close(fd);

        QProcess *process = tarn.start({"a.md"});
        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(process, "a — Tarn")).isEmpty(), kTimeout);
        // Messages that are no list of paths are neither acknowledged nor acted on.
        for (const QByteArray &message :
             {QByteArray("{\"files\":[\"b.md\"]}\n"), QByteArray(5 * 1024 * 1024, 'x')}) {
            QLocalSocket stray;
            stray.connectToServer(socket);
            QVERIFY(stray.waitForConnected(5000));
            stray.write(message);
            stray.waitForBytesWritten(5000);
            QVERIFY(!stray.waitForReadyRead(1000) || !stray.readAll().startsWith("ok"));
        }
        // a.md is open already and is selected again, b.md opens; what cannot open is said on
        // standard error and the rest still goes.
        QProcess *handOver = tarn.start({"a.md", "missing.md", "pic.png", "b.md"});
        QVERIFY(handOver->waitForFinished(kTimeout));
        QVERIFY(handOver->exitStatus() == QProcess::NormalExit && handOver->exitCode() == 0);
        QCOMPARE(handOver->readAllStandardError(),
                 QByteArray("tarn: missing.md: no such file\n"
                            "tarn: pic.png: not a Markdown or text file\n"));
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "b — Tarn", kTimeout);
        // The window names them too, in an alert that Return dismisses.
        QString refused;
        QTRY_VERIFY_WITH_TIMEOUT(!(refused = otherWindow(process, window)).isEmpty(), kTimeout);
        input(refused, "Return");
        QTRY_VERIFY_WITH_TIMEOUT(windowsOf(process) == QStringList{window}, kTimeout);

        // The window's content is 1180 × 760 below the menu bar; the tab bar (34) comes first,
        // then a hairline and the toolbar (42) whose buttons are 30 wide, 4 apart, from x = 10.
        static const QRegularExpression height("HEIGHT=(\\d+)");
        const QString geometry = xdotool({"getwindowgeometry", "--shell", window});
        const int menuBar = height.match(geometry).captured(1).toInt() - 760;
        // Clicks in the window, then moves the pointer off it: a tooltip is a window of its own.
        const auto click = [&](int x, int y) {
            xdotool({"mousemove", "--window", window, QString::number(x), QString::number(y),
                     "click", "1", "mousemove", "0", "0"});
        };
        click(30, menuBar + 17); // the first tab
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "a — Tarn", kTimeout);

        input(window, "ctrl+e ctrl+End", "Added from the keyboard.");
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "a* — Tarn", kTimeout);
        input(window, "ctrl+s");
        const QByteArray saved = (aText + "Added from the keyboard.").toUtf8();
        QTRY_COMPARE_WITH_TIMEOUT(readAll(a), saved, kTimeout);
        QTRY_COMPARE(xdotool({"getwindowname", window}), "a — Tarn");

        // A launch while an edit is unsaved: the save question is answered (保存, the default)
        // and the handed-over file opens in a tab of its own.
        input(window, "ctrl+End", " Saved by a hand-over.");
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "a* — Tarn", kTimeout);
        QProcess *handOverWhileEditing = tarn.start({"c.md"});
        QString question;
        QTRY_VERIFY_WITH_TIMEOUT(!(question = otherWindow(process, window)).isEmpty(), kTimeout);
        input(question, "Return");
        QTRY_COMPARE_WITH_TIMEOUT(handOverWhileEditing->state(), QProcess::NotRunning, kTimeout);
        QCOMPARE(handOverWhileEditing->exitCode(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "c — Tarn", kTimeout);
        const QByteArray savedTwice = saved + " Saved by a hand-over.";
        QCOMPARE(readAll(a), savedTwice);
        click(30, menuBar + 17);
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "a — Tarn", kTimeout);

        // Reading again; the search field takes Ctrl+F, Return goes to the first hit far down.
        input(window, "ctrl+f", "zebra");
        input(window, "Return");
        const auto position = [&] {
            const QSettings ini(tarn.path("config/tarn/tarn.ini"), QSettings::IniFormat);
            const QByteArray json = ini.value("tarn.readPositions").toByteArray();
            return QJsonDocument::fromJson(json).object().value(a).toDouble();
        };
        QTRY_VERIFY_WITH_TIMEOUT(position() > 1000, kTimeout);

        // Clicks the toolbar's export button, chooses item `item` and answers the save panel.
        const auto exportTo = [&](int item, const QString &output) {
            click(10 + 34 + 34 + 15, menuBar + 34 + 1 + 21);
            xdotool(QStringList{"key", "--delay", "80"} + QStringList(item, "Down") +
                    QStringList{"Return"});
            QString dialog;
            QTRY_VERIFY_WITH_TIMEOUT(!(dialog = otherWindow(process, window)).isEmpty(), kTimeout);
            input(dialog, "ctrl+a", output);
            input(dialog, "Return");
            QTRY_VERIFY_WITH_TIMEOUT(windowsOf(process) == QStringList{window}, kTimeout);
        };
        exportTo(1, tarn.path("exported a.pdf"));
        QTRY_VERIFY_WITH_TIMEOUT(tarn.events().contains("export.pdf.success"), kTimeout);
        exportTo(2, tarn.path("exported a.html"));

        input(window, "ctrl+q");
        QVERIFY(process->waitForFinished(kTimeout));
        QVERIFY2(process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0,
                 process->readAllStandardError().right(4000).constData());
        QVERIFY(readAll(tarn.path("exported a.pdf")).startsWith("%PDF-"));
        const QByteArray page = readAll(tarn.path("exported a.html"));
        QVERIFY(page.contains("<title>a</title>") && page.contains("Added from the keyboard."));

        // The page exporter's own diagnostics aside, which a busy machine may add.
        QStringList events = tarn.events();
        events.removeIf([](const QString &event) { return event.contains(u'_'); });
        QCOMPARE(events, (QStringList{"app.launch", "file.open.success", "file.open.existing",
                                      "file.open.success", "file.save.success", "file.save.success",
                                      "file.open.success", "export.pdf.start", "export.pdf.success",
                                      "export.html.start", "export.html.success"}));

        // Unsaved edits through a crash and a termination.
        const auto drafts = [&] {
            QByteArray all;
            for (const QFileInfo &file : QDir(tarn.path("state/Tarn/Drafts")).entryInfoList())
                all += file.isFile() ? readAll(file.filePath()) : QByteArray();
            return all;
        };
        QProcess *crashing = tarn.start({"a.md"});
        QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(crashing, "a — Tarn")).isEmpty(), kTimeout);
        input(window, "ctrl+e ctrl+End", "Typed before the crash.");
        QTRY_VERIFY_WITH_TIMEOUT(drafts().contains("Typed before the crash."), kTimeout);
        QCOMPARE(::kill(pid_t(crashing->processId()), SIGKILL), 0);
        QVERIFY(crashing->waitForFinished(kTimeout));

        QProcess *next = tarn.start({});
        QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(next, "a* — Tarn")).isEmpty(), kTimeout);
        QString alert;
        QTRY_VERIFY_WITH_TIMEOUT(!(alert = otherWindow(next, window)).isEmpty(), kTimeout);
        QVERIFY(tarn.events().contains("draft.recovered"));
        input(alert, "Return");
        QTRY_VERIFY_WITH_TIMEOUT(windowsOf(next) == QStringList{window}, kTimeout);

        // End after the typing lets the typed keys through before the signal; it changes nothing.
        input(window, "ctrl+End", " And after.");
        input(window, "End End");
        next->terminate();
        QVERIFY(next->waitForFinished(kTimeout));
        QVERIFY(next->exitStatus() == QProcess::NormalExit && next->exitCode() == 0);
        QVERIFY2(drafts().contains("hand-over.Typed before the crash. And after."),
                 drafts().constData());
        QCOMPARE(readAll(a), savedTwice);
    }
};

QTEST_GUILESS_MAIN(EndToEndTest)
#include "tst_end_to_end.moc"
