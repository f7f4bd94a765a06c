// Process set-up shared by the single-instance and end-to-end tests.
#include "ProcessTestSupport.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

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
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
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

QList<QStringList> TarnProcesses::logLines() const
{
    QFile log(logPath());
    QList<QStringList> lines;
    if (!log.open(QIODevice::ReadOnly))
        return lines;
    static const QRegularExpression pair(QStringLiteral(" ([^= ]+)=\"((?:[^\"\\\\]|\\\\.)*)\""));
    for (const QByteArray &raw : log.readAll().split('\n')) {
        const QString line = QString::fromUtf8(raw);
        const QStringList head = line.split(u' ');
        if (head.size() < 2)
            continue;
        QStringList entry{head.at(1)};
        for (auto it = pair.globalMatch(line); it.hasNext();) {
            const auto match = it.next();
            entry << match.captured(1) + u'=' + match.captured(2);
        }
        lines << entry;
    }
    return lines;
}

QStringList TarnProcesses::events() const
{
    QStringList names;
    for (const QStringList &line : logLines())
        names << line.first();
    return names;
}

QStringList TarnProcesses::openedPaths() const
{
    QStringList paths;
    for (const QStringList &line : logLines()) {
        if (line.first() != QLatin1String("file.open.success"))
            continue;
        for (const QString &field : line) {
            if (field.startsWith(QLatin1String("path=")))
                paths << field.mid(5);
        }
    }
    return paths;
}
