// The real program under an X server, driven with synthetic input (xdotool): open two files,
// switch tabs, edit and save, search, export both formats and quit; then check the files on
// disk, the remembered reading position and the usage log.
#include "ProcessTestSupport.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

namespace {

constexpr int kTimeout = 60000;

// Runs xdotool and returns its standard output, trimmed.
QString xdotool(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    if (!process.waitForFinished(20000))
        return QString();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

// The visible top-level windows of `pid`, by X window id.
QStringList windowsOf(qint64 pid)
{
    return xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                    QStringLiteral("--pid"), QString::number(pid), QStringLiteral("--name"),
                    QStringLiteral(".")})
        .split(u'\n', Qt::SkipEmptyParts);
}

QString windowName(const QString &window)
{
    return xdotool({QStringLiteral("getwindowname"), window});
}

// The visible window of `process` called `name`, or "" while there is none.
QString windowNamed(const QProcess *process, const QString &name)
{
    for (const QString &candidate : windowsOf(process->processId())) {
        if (windowName(candidate) == name)
            return candidate;
    }
    return QString();
}

// Everything the recovery files in `folder` hold.
QByteArray recoveryFiles(const QString &folder)
{
    QByteArray all;
    for (const QFileInfo &file : QDir(folder).entryInfoList({QStringLiteral("draft-*.json")})) {
        QFile in(file.filePath());
        if (in.open(QIODevice::ReadOnly))
            all += in.readAll();
    }
    return all;
}

QSize windowSize(const QString &window)
{
    const QString shell =
        xdotool({QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), window});
    static const QRegularExpression width(QStringLiteral("WIDTH=(\\d+)"));
    static const QRegularExpression height(QStringLiteral("HEIGHT=(\\d+)"));
    return QSize(width.match(shell).captured(1).toInt(), height.match(shell).captured(1).toInt());
}

void keys(const QString &window, const QStringList &keyNames)
{
    xdotool({QStringLiteral("windowfocus"), QStringLiteral("--sync"), window});
    xdotool(QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("40")} +
            keyNames);
}

void type(const QString &text)
{
    xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("20"), text});
}

void click(const QString &window, int x, int y)
{
    xdotool({QStringLiteral("mousemove"), QStringLiteral("--window"), window, QString::number(x),
             QString::number(y), QStringLiteral("click"), QStringLiteral("1")});
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

double rememberedPosition(const QString &ini, const QString &file)
{
    QSettings settings(ini, QSettings::IniFormat);
    const QJsonObject positions =
        QJsonDocument::fromJson(settings.value(QStringLiteral("tarn.readPositions")).toByteArray())
            .object();
    return positions.value(file).toDouble();
}

} // namespace

class EndToEndTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void readEditSearchExportQuit();
    void unsavedEditsSurviveKillAndTerm();

private:
    // An X client for the whole run: when the last one goes, as a killed Tarn does, the X
    // server resets and refuses the next Tarn for a moment.
    QProcess m_keepServerUp;
    // Chooses an item of a toolbar menu and answers the save panel it opens with `output`.
    void exportThrough(QProcess *process, const QString &window, QPoint button, int downPresses,
                       const QString &output);
};

void EndToEndTest::initTestCase()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        QSKIP("needs an X server (run under xvfb-run)");
    if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
        QSKIP("needs xdotool (scripts/setup installs it)");
    m_keepServerUp.start(QStringLiteral("xdotool"),
                         {QStringLiteral("search"), QStringLiteral("--sync"),
                          QStringLiteral("--name"), QStringLiteral("^no such window, ever$")});
    QVERIFY(m_keepServerUp.waitForStarted());
}

void EndToEndTest::cleanupTestCase()
{
    m_keepServerUp.kill();
    m_keepServerUp.waitForFinished();
}

void EndToEndTest::exportThrough(QProcess *process, const QString &window, QPoint button,
                                 int downPresses, const QString &output)
{
    click(window, button.x(), button.y());
    QStringList menuKeys;
    for (int i = 0; i < downPresses; ++i)
        menuKeys << QStringLiteral("Down");
    menuKeys << QStringLiteral("Return");
    xdotool(QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("80")} +
            menuKeys);
    // The save panel is a second visible window of the process.
    QString dialog;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            for (const QString &candidate : windowsOf(process->processId())) {
                if (candidate != window)
                    dialog = candidate;
            }
            return !dialog.isEmpty();
        }(),
        kTimeout);
    keys(dialog, {QStringLiteral("ctrl+a")});
    type(output);
    keys(dialog, {QStringLiteral("Return")});
    QTRY_VERIFY_WITH_TIMEOUT(windowsOf(process->processId()) == QStringList{window}, kTimeout);
}

void EndToEndTest::readEditSearchExportQuit()
{
    TarnProcesses tarn(QStringLiteral("xcb"));
    tarn.environment.remove(QStringLiteral("XDG_CURRENT_DESKTOP"));
    QString filler;
    for (int i = 1; i <= 150; ++i)
        filler += QStringLiteral("Paragraph %1 of the long introduction.\n\n").arg(i);
    const QString a =
        tarn.file(QStringLiteral("a.md"),
                  QStringLiteral("# Alpha\n\n") + filler +
                      QStringLiteral("## Needle\n\nThe word zebra appears only here.\n"));
    const QString b = tarn.file(QStringLiteral("b.md"), QStringLiteral("# Beta\n\nSecond file.\n"));
    QDir(tarn.path(QString())).mkpath(QStringLiteral("out"));

    QProcess *process = tarn.start({QStringLiteral("a.md"), QStringLiteral("b.md")});
    QVERIFY(process->waitForStarted());
    QString window;
    QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(process, "b — Tarn")).isEmpty(), kTimeout);
    QTRY_COMPARE_WITH_TIMEOUT(tarn.openedPaths(), (QStringList{a, b}), kTimeout);

    // The window's content is 1180 × 760 below the menu bar; the tab bar (34) comes first,
    // then a hairline and the toolbar (42) whose buttons are 30 wide, 4 apart, from x = 10.
    const int menuBar = windowSize(window).height() - 760;
    QVERIFY2(menuBar > 10 && menuBar < 60, qPrintable(QString::number(menuBar)));
    const int toolbarMiddle = menuBar + 34 + 1 + 21;

    click(window, 30, menuBar + 17); // the first tab
    QTRY_COMPARE_WITH_TIMEOUT(windowName(window), QStringLiteral("a — Tarn"), kTimeout);

    keys(window, {QStringLiteral("ctrl+e"), QStringLiteral("ctrl+End")});
    type(QStringLiteral("Added from the keyboard."));
    QTRY_COMPARE_WITH_TIMEOUT(windowName(window), QStringLiteral("a* — Tarn"), kTimeout);
    keys(window, {QStringLiteral("ctrl+s")});
    QTRY_COMPARE_WITH_TIMEOUT(readAll(a).right(30), QByteArray("here.\nAdded from the keyboard."),
                              kTimeout);
    QTRY_COMPARE(windowName(window), QStringLiteral("a — Tarn"));

    // Back to reading; the search field takes Ctrl+F, Return goes to the first hit far down.
    keys(window, {QStringLiteral("ctrl+e"), QStringLiteral("ctrl+f")});
    type(QStringLiteral("zebra"));
    keys(window, {QStringLiteral("Return")});
    const QString ini = tarn.path(QStringLiteral("config/tarn/tarn.ini"));
    QTRY_VERIFY_WITH_TIMEOUT(rememberedPosition(ini, a) > 1000, kTimeout);

    const QString pdf = tarn.path(QStringLiteral("out/exported a.pdf"));
    const QString html = tarn.path(QStringLiteral("out/exported a.html"));
    exportThrough(process, window, QPoint(10 + 34 + 34 + 15, toolbarMiddle), 1, pdf);
    QTRY_VERIFY_WITH_TIMEOUT(tarn.events().contains(QStringLiteral("export.pdf.success")),
                             kTimeout);
    exportThrough(process, window, QPoint(10 + 34 + 34 + 15, toolbarMiddle), 2, html);
    QTRY_VERIFY_WITH_TIMEOUT(tarn.events().contains(QStringLiteral("export.html.success")),
                             kTimeout);

    keys(window, {QStringLiteral("ctrl+q")});
    QVERIFY(process->waitForFinished(kTimeout));
    QCOMPARE(process->exitStatus(), QProcess::NormalExit);
    QCOMPARE(process->exitCode(), 0);

    QVERIFY(readAll(a).startsWith("# Alpha\n\nParagraph 1 of"));
    QCOMPARE(readAll(b), QByteArray("# Beta\n\nSecond file.\n"));
    QVERIFY(readAll(pdf).startsWith("%PDF-"));
    if (!QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty()) {
        QProcess text;
        text.start(QStringLiteral("pdftotext"), {pdf, QStringLiteral("-")});
        QVERIFY(text.waitForFinished(kTimeout));
        const QByteArray printed = text.readAllStandardOutput();
        QVERIFY(printed.contains("Paragraph 1 of the long introduction."));
        QVERIFY(printed.contains("Added from the keyboard."));
    }
    const QByteArray page = readAll(html);
    QVERIFY(page.contains("<title>a</title>"));
    QVERIFY(page.contains("Added from the keyboard."));
    QVERIFY(page.contains("zebra"));

    const QStringList events = tarn.events();
    const QStringList expectedOrder{
        QStringLiteral("app.launch"),        QStringLiteral("file.open.success"),
        QStringLiteral("file.open.success"), QStringLiteral("file.save.success"),
        QStringLiteral("export.pdf.start"),  QStringLiteral("export.pdf.success"),
        QStringLiteral("export.html.start"), QStringLiteral("export.html.success")};
    qsizetype from = 0;
    for (const QString &event : expectedOrder) {
        from = events.indexOf(event, from);
        QVERIFY2(from >= 0, qPrintable(event + QStringLiteral(" in ") + events.join(u' ')));
        ++from;
    }
    for (const QString &event : events)
        QVERIFY2(!event.endsWith(QLatin1String(".failure")), qPrintable(event));
}

// Typing, then SIGKILL: the next launch brings the draft back in an unsaved tab and says so.
// Typing again, then SIGTERM at once: what was just typed is written before the process ends.
// The user's own file is never touched.
void EndToEndTest::unsavedEditsSurviveKillAndTerm()
{
    TarnProcesses tarn(QStringLiteral("xcb"));
    tarn.environment.remove(QStringLiteral("XDG_CURRENT_DESKTOP"));
    const QByteArray saved = "# Alpha\n\nSaved text.\n";
    const QString a = tarn.file(QStringLiteral("a.md"), QString::fromUtf8(saved));
    const QString drafts = tarn.path(QStringLiteral("state/Tarn/Drafts"));

    QProcess *first = tarn.start({QStringLiteral("a.md")});
    QString window;
    QTRY_VERIFY_WITH_TIMEOUT(!(window = windowNamed(first, "a — Tarn")).isEmpty(), kTimeout);
    keys(window, {QStringLiteral("ctrl+e"), QStringLiteral("ctrl+End")});
    type(QStringLiteral("Typed before the crash."));
    QTRY_VERIFY_WITH_TIMEOUT(recoveryFiles(drafts).contains("Typed before the crash."), kTimeout);
    QCOMPARE(::kill(pid_t(first->processId()), SIGKILL), 0);
    QVERIFY(first->waitForFinished(kTimeout));

    QProcess *second = tarn.start({});
    QTRY_VERIFY2_WITH_TIMEOUT(second->state() == QProcess::NotRunning ||
                                  !(window = windowNamed(second, "a* — Tarn")).isEmpty(),
                              "no window of the second launch", kTimeout);
    QVERIFY2(second->state() != QProcess::NotRunning,
             qPrintable(QStringLiteral("the second launch ended: status %1, code %2, %3")
                            .arg(second->exitStatus())
                            .arg(second->exitCode())
                            .arg(QString::fromUtf8(second->readAllStandardError()))));
    QString alert;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            const QStringList windows = windowsOf(second->processId());
            alert = windows.size() == 2 ? windows.at(windows.at(0) == window ? 1 : 0) : QString();
            return !alert.isEmpty();
        }(),
        kTimeout);
    const QList<LogLine> recovered = tarn.log();
    QVERIFY(std::any_of(recovered.begin(), recovered.end(), [&](const LogLine &line) {
        return line.event == "draft.recovered" && line.metadata.value("path") == a;
    }));
    keys(alert, {QStringLiteral("Return")});
    QTRY_VERIFY_WITH_TIMEOUT(windowsOf(second->processId()) == QStringList{window}, kTimeout);

    keys(window, {QStringLiteral("ctrl+End")});
    type(QStringLiteral(" And after."));
    // Lets the typed keys through before the signal; End changes nothing.
    keys(window, {QStringLiteral("End"), QStringLiteral("End")});
    second->terminate();
    QVERIFY(second->waitForFinished(kTimeout));
    QCOMPARE(second->exitStatus(), QProcess::NormalExit);
    QCOMPARE(second->exitCode(), 0);
    QVERIFY2(recoveryFiles(drafts).contains("Saved text.\\nTyped before the crash. And after."),
             recoveryFiles(drafts).constData());
    QCOMPARE(readAll(a), saved);
}

QTEST_GUILESS_MAIN(EndToEndTest)
#include "EndToEndTest.moc"
