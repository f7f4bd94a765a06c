// Start-up time of the windowed program: from process start to the main window's first paint,
// and to the first document's page being ready in the reader, for a cold start (no settings,
// no web engine data yet) and warm starts (the same folders again). Each start is a fresh
// process running the program's own launch steps. Run under an X server (xvfb-run).
#include "ContentView.h"
#include "MainWindow.h"
#include "QtPlatform.h"
#include "ReaderPane.h"
#include "TarnApplication.h"
#include "TarnPdfExportService.h"
#include "TarnUsageLogger.h"
#include "WebEngineProcess.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace {

constexpr double kWindowTargetMs = 600;
constexpr double kPageTargetMs = 1500;

// Milliseconds since this process started, from the kernel's record of its start time.
double msSinceProcessStart()
{
    QFile stat(QStringLiteral("/proc/self/stat"));
    if (!stat.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = stat.readAll();
    // Field 22 (starttime, in clock ticks since boot) follows the command name in parentheses.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.value(19).toDouble();
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const double nowMs = double(now.tv_sec) * 1000 + double(now.tv_nsec) / 1e6;
    return nowMs - ticks * 1000 / double(sysconf(_SC_CLK_TCK));
}

class FirstPaint : public QObject
{
public:
    double at = -1;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (at < 0 && event->type() == QEvent::Paint)
            at = msSinceProcessStart();
        return QObject::eventFilter(watched, event);
    }
};

// One start: prints "<window ms> <page ms>" and quits.
int runChild(int argc, char **argv, const QString &home, const QString &document)
{
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home + QStringLiteral("/config")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home + QStringLiteral("/data")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home + QStringLiteral("/cache")));
    qputenv("TARN_LOG_DIR", QFile::encodeName(home + QStringLiteral("/logs")));
    configureWebEngineForProcess();
    QApplication app(argc, argv);
    TarnApplication::configureApplication(app);
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tarn"),
                       QStringLiteral("tarn"));
    QtPlatform platform;
    TarnPdfExportService pdfExporter;
    TarnApplication tarn(settings, platform, pdfExporter, TarnUsageLogger::shared());
    FirstPaint paint;
    double pageAt = -1;
    QObject::connect(&tarn, &TarnApplication::mainWindowCreated, &app, [&](MainWindow *window) {
        window->installEventFilter(&paint);
        QObject::connect(window->contentView()->readerPane(), &ReaderPane::pageReady, &app, [&] {
            if (pageAt < 0)
                pageAt = msSinceProcessStart();
            QTimer::singleShot(0, &app, &QApplication::quit);
        });
    });
    tarn.launch({document});
    QTimer::singleShot(30000, &app, &QApplication::quit);
    app.exec();
    std::printf("%.1f %.1f\n", paint.at, pageAt);
    return pageAt < 0 ? 1 : 0;
}

struct Sample
{
    double window = -1;
    double page = -1;
};

Sample startOnce(const QString &self, const QString &home, const QString &document)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::SeparateChannels);
    child.start(self, {QStringLiteral("--child"), home, document});
    Sample sample;
    if (!child.waitForFinished(60000))
        return sample;
    const QList<QByteArray> numbers = child.readAllStandardOutput().trimmed().split(' ');
    if (numbers.size() == 2) {
        sample.window = numbers[0].toDouble();
        sample.page = numbers[1].toDouble();
    }
    return sample;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? -1 : values[values.size() / 2];
}

QString markdownDocument(bool withDiagram)
{
    QString text = QStringLiteral("# 启动测试\n\n");
    for (int section = 1; section <= 40; ++section) {
        text += QStringLiteral("## 第 %1 节\n\n").arg(section);
        text +=
            QStringLiteral("这是一段用于测量启动时间的正文，包含 **粗体**、*斜体* 和 `代码`。\n\n");
        text += QStringLiteral("- 列表项一\n- 列表项二\n- [ ] 任务\n\n");
        text += QStringLiteral("| 列 | 值 |\n|---|---|\n| a | %1 |\n\n").arg(section);
    }
    if (withDiagram)
        text +=
            QStringLiteral("```mermaid\ngraph TD\n  A[开始] --> B{判断}\n  B --> C[结束]\n```\n");
    return text;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && qstrcmp(argv[1], "--child") == 0)
        return runChild(argc, argv, QString::fromLocal8Bit(argv[2]),
                        QString::fromLocal8Bit(argv[3]));

    const int warmRuns = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
    QCoreApplication app(argc, argv);
    const QString self = QCoreApplication::applicationFilePath();
    QTextStream out(stdout);
    out << "Tarn start-up, milliseconds from process start (targets: window " << kWindowTargetMs
        << ", first page " << kPageTargetMs << ")\n";
    bool withinTargets = true;
    for (const bool withDiagram : {false, true}) {
        QTemporaryDir home;
        const QString document = home.filePath(QStringLiteral("start.md"));
        QFile file(document);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
        file.write(markdownDocument(withDiagram).toUtf8());
        file.close();

        const Sample cold = startOnce(self, home.path(), document);
        QList<double> windows, pages;
        for (int i = 0; i < warmRuns; ++i) {
            const Sample warm = startOnce(self, home.path(), document);
            windows << warm.window;
            pages << warm.page;
        }
        const char *label = withDiagram ? "with a diagram" : "plain document";
        out << QStringLiteral(
                   "%1  cold: window %2, page %3   warm (median of %4): window %5, page %6\n")
                   .arg(QString::fromLatin1(label).leftJustified(15))
                   .arg(cold.window, 0, 'f', 0)
                   .arg(cold.page, 0, 'f', 0)
                   .arg(warmRuns)
                   .arg(median(windows), 0, 'f', 0)
                   .arg(median(pages), 0, 'f', 0);
        for (const double value : {cold.window, median(windows)})
            withinTargets = withinTargets && value >= 0 && value <= kWindowTargetMs;
        for (const double value : {cold.page, median(pages)})
            withinTargets = withinTargets && value >= 0 && value <= kPageTargetMs;
    }
    out << (withinTargets ? "within targets\n" : "OUTSIDE TARGETS\n");
    return 0;
}
