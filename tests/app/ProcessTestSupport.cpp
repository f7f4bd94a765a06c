// Process set-up shared by the single-instance and end-to-end tests.
#include "ProcessTestSupport.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

TarnProcesses::TarnProcesses(const QString &platform)
    : environment(QProcessEnvironment::systemEnvironment())
    , m_dir(QDir::tempPath() + QStringLiteral("/tarnp-XXXXXX")) // short: sockets have a path limit
{
    for (const char *folder : {"logs", "config", "data", "state", "tmp", "runtime"})
        QDir(m_dir.path()).mkpath(QLatin1String(folder));
    QFile::setPermissions(path(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), platform);
    environment.insert(QStringLiteral("TARN_LOG_DIR"), path(QStringLiteral("logs")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), path(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_STATE_HOME"), path(QStringLiteral("state")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), path(QStringLiteral("runtime")));
    environment.insert(QStringLiteral("TMPDIR"), path(QStringLiteral("tmp")));
    environment.insert(QStringLiteral("QTWEBENGINE_DISABLE_SANDBOX"), QStringLiteral("1"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORMTHEME"));
    if (platform == QLatin1String("offscreen")) // a display name of its own: a Tarn of its own
        environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":tarn-test"));
    // No session bus: revealing files must not reach a real file manager.
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       QStringLiteral("unix:path=") + path(QStringLiteral("no-bus")));
}

TarnProcesses::~TarnProcesses()
{
    for (const auto &process : m_processes) {
        if (process->state() != QProcess::NotRunning) {
            process->kill();
            process->waitForFinished(10000);
        }
    }
}

QString TarnProcesses::file(const QString &name, const QString &text) const
{
    QFile out(path(name));
    if (!out.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(name));
    out.write(text.toUtf8());
    return path(name);
}

QProcess *TarnProcesses::start(const QStringList &arguments)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(m_dir.path());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start(QStringLiteral(TARN_BINARY), arguments);
    m_processes.push_back(std::move(process));
    return m_processes.back().get();
}

QString TarnProcesses::socketPath() const
{
    const QString display = environment.value(QStringLiteral("DISPLAY"));
    QString sanitized = display;
    for (QChar &c : sanitized) {
        if (!c.isLetterOrNumber())
            c = u'_';
    }
    return path(QStringLiteral("tmp/tarn-%1-%2").arg(::getuid()).arg(sanitized));
}

QStringList TarnProcesses::openedPaths() const
{
    QStringList paths;
    for (const LogLine &line : log()) {
        if (line.event == QLatin1String("file.open.success"))
            paths << line.metadata.value(QStringLiteral("path"));
    }
    return paths;
}
