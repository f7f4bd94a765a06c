// The real program under an X server, driven with synthetic input (xdotool): reading, editing,
// searching, exporting and quitting; then unsaved edits through a crash and a termination.
#include "ProcessTestSupport.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

namespace {

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

// Clicks the toolbar's export button, chooses the menu's item `item` and answers the save panel.
void exportThrough(const QProcess *process, const QString &window, QPoint button, int item,
                   const QString &output)
{
    xdotool({"mousemove", "--window", window, QString::number(button.x()),
             QString::number(button.y()), "click", "1"});
    xdotool(QStringList{"key", "--delay", "80"} + QStringList(item, "Down") +
            QStringList{"Return"});
    QString dialog;
    QTRY_VERIFY_WITH_TIMEOUT(!(dialog = otherWindow(process, window)).isEmpty(), kTimeout);
    input(dialog, "ctrl+a", output);
    input(dialog, "Return");
    QTRY_VERIFY_WITH_TIMEOUT(windowsOf(process) == QStringList{window}, kTimeout);
}

} // namespace

class EndToEndTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs an X server (run under xvfb-run)");
        if (QStandardPaths::findExecutable("xdotool").isEmpty())
            QSKIP("needs xdotool (scripts/setup installs it)");
        // An X client for the whole run: when the last one goes, as a killed Tarn does, the X
        // server resets and refuses the next Tarn for a moment.
        m_keepServerUp.start("xdotool", {"search", "--sync", "--name", "^no such window, ever$"});
        QVERIFY(m_keepServerUp.waitForStarted());
    }
    void cleanupTestCase()
    {
        m_keepServerUp.kill();
        m_keepServerUp.waitForFinished();
    }

    // Opens two files, switches tabs, edits and saves, searches, exports both formats and
    // quits; then checks the files on disk, the remembered reading position and the usage log.
    void readEditSearchExportQuit()
    {
        TarnProcesses tarn("xcb");
        QString filler;
        for (int i = 1; i <= 150; ++i)
            filler += QStringLiteral("Paragraph %1 of the long introduction.\n\n").arg(i);
        const QString a =
            tarn.file("a.md", "# Alpha\n\n" + filler + "## Needle\n\nThe word zebra is here.\n");
        const QString b = tarn.file("b.md", "# Beta\n\nSecond file.\n");
        QProcess *process = tarn.start({"a.md", "b.md"});
        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(process, "b — Tarn")).isEmpty(), kTimeout);
        QTRY_COMPARE_WITH_TIMEOUT(tarn.openedPaths(), (QStringList{a, b}), kTimeout);

        // The window's content is 1180 × 760 below the menu bar; the tab bar (34) comes first,
        // then a hairline and the toolbar (42) whose buttons are 30 wide, 4 apart, from x = 10.
        static const QRegularExpression height("HEIGHT=(\\d+)");
        const QString geometry = xdotool({"getwindowgeometry", "--shell", window});
        const int menuBar = height.match(geometry).captured(1).toInt() - 760;
        QVERIFY2(menuBar > 10 && menuBar < 60, qPrintable(geometry));
        xdotool({"mousemove", "--window", window, "30", QString::number(menuBar + 17), "click",
                 "1"}); // the first tab
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "a — Tarn", kTimeout);

        input(window, "ctrl+e ctrl+End", "Added from the keyboard.");
        QTRY_COMPARE_WITH_TIMEOUT(xdotool({"getwindowname", window}), "a* — Tarn", kTimeout);
        input(window, "ctrl+s");
        QTRY_VERIFY_WITH_TIMEOUT(readAll(a).endsWith("here.\nAdded from the keyboard."), kTimeout);
        QTRY_COMPARE(xdotool({"getwindowname", window}), "a — Tarn");

        // Back to reading; the search field takes Ctrl+F, Return goes to the first hit far down.
        input(window, "ctrl+e ctrl+f", "zebra");
        input(window, "Return");
        const auto position = [&] {
            const QSettings ini(tarn.path("config/tarn/tarn.ini"), QSettings::IniFormat);
            const QByteArray json = ini.value("tarn.readPositions").toByteArray();
            return QJsonDocument::fromJson(json).object().value(a).toDouble();
        };
        QTRY_VERIFY_WITH_TIMEOUT(position() > 1000, kTimeout);

        const QPoint exportButton(10 + 34 + 34 + 15, menuBar + 34 + 1 + 21);
        exportThrough(process, window, exportButton, 1, tarn.path("exported a.pdf"));
        QTRY_VERIFY_WITH_TIMEOUT(tarn.events().contains("export.pdf.success"), kTimeout);
        exportThrough(process, window, exportButton, 2, tarn.path("exported a.html"));
        QTRY_VERIFY_WITH_TIMEOUT(tarn.events().contains("export.html.success"), kTimeout);

        input(window, "ctrl+q");
        QVERIFY(process->waitForFinished(kTimeout));
        QVERIFY(process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0);
        QVERIFY(readAll(a).startsWith("# Alpha\n\nParagraph 1 of"));
        QCOMPARE(readAll(b), QByteArray("# Beta\n\nSecond file.\n"));
        QVERIFY(readAll(tarn.path("exported a.pdf")).startsWith("%PDF-"));
        const QByteArray page = readAll(tarn.path("exported a.html"));
        QVERIFY(page.contains("<title>a</title>") && page.contains("Added from the keyboard."));

        const QStringList events = tarn.events();
        qsizetype from = 0;
        for (const char *event : {"app.launch", "file.open.success", "file.open.success",
                                  "file.save.success", "export.pdf.start", "export.pdf.success",
                                  "export.html.start", "export.html.success"}) {
            from = events.indexOf(QLatin1String(event), from) + 1;
            QVERIFY2(from > 0, qPrintable(event + (" missing in " + events.join(u' '))));
        }
        for (const QString &event : events)
            QVERIFY2(!event.endsWith(".failure"), qPrintable(event));
    }

    // Typing, then SIGKILL: the next launch brings the draft back in an unsaved tab and says so.
    // Typing again, then SIGTERM at once: what was just typed is written before the process
    // ends. The user's own file is never touched.
    void unsavedEditsSurviveKillAndTerm()
    {
        TarnProcesses tarn("xcb");
        const QByteArray saved = "# Alpha\n\nSaved text.\n";
        const QString a = tarn.file("a.md", saved);
        const auto drafts = [&] {
            QByteArray all;
            for (const QFileInfo &file : QDir(tarn.path("state/Tarn/Drafts")).entryInfoList())
                all += file.isFile() ? readAll(file.filePath()) : QByteArray();
            return all;
        };

        QProcess *first = tarn.start({"a.md"});
        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(first, "a — Tarn")).isEmpty(), kTimeout);
        input(window, "ctrl+e ctrl+End", "Typed before the crash.");
        QTRY_VERIFY_WITH_TIMEOUT(drafts().contains("Typed before the crash."), kTimeout);
        QCOMPARE(::kill(pid_t(first->processId()), SIGKILL), 0);
        QVERIFY(first->waitForFinished(kTimeout));

        QProcess *second = tarn.start({});
        QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(second, "a* — Tarn")).isEmpty(), kTimeout);
        QString alert;
        QTRY_VERIFY_WITH_TIMEOUT(!(alert = otherWindow(second, window)).isEmpty(), kTimeout);
        const QList<LogLine> log = tarn.log();
        QVERIFY(std::any_of(log.begin(), log.end(), [&](const LogLine &line) {
            return line.event == "draft.recovered" && line.metadata.value("path") == a;
        }));
        input(alert, "Return");
        QTRY_VERIFY_WITH_TIMEOUT(windowsOf(second) == QStringList{window}, kTimeout);

        // End after the typing lets the typed keys through before the signal; it changes nothing.
        input(window, "ctrl+End", " And after.");
        input(window, "End End");
        second->terminate();
        QVERIFY(second->waitForFinished(kTimeout));
        QVERIFY(second->exitStatus() == QProcess::NormalExit && second->exitCode() == 0);
        QVERIFY2(drafts().contains("Saved text.\\nTyped before the crash. And after."),
                 drafts().constData());
        QCOMPARE(readAll(a), saved);
    }

private:
    QProcess m_keepServerUp;
};

QTEST_GUILESS_MAIN(EndToEndTest)
#include "EndToEndTest.moc"
