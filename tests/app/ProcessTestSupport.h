// Runs the real tarn binary in a sealed-off environment and reads its usage log.
#pragma once

#include "UsageLogReader.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <vector>

class TarnProcesses
{
public:
    // Everything the program writes (settings, logs, the instance socket, recent files) goes
    // under a fresh temporary folder. `platform` is the Qt platform plugin the processes use.
    explicit TarnProcesses(const QString &platform = QStringLiteral("offscreen"))
    {
        const char *const folders[][2] = {
            {"TARN_LOG_DIR", "logs"},    {"XDG_CONFIG_HOME", "config"},  {"XDG_DATA_HOME", "data"},
            {"XDG_STATE_HOME", "state"}, {"XDG_RUNTIME_DIR", "runtime"}, {"TMPDIR", "tmp"}};
        for (const auto &[variable, folder] : folders) {
            QDir(m_dir.path()).mkpath(folder);
            m_environment.insert(variable, path(folder));
        }
        QFile::setPermissions(path("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_environment.insert("QT_QPA_PLATFORM", platform);
        m_environment.insert("QTWEBENGINE_DISABLE_SANDBOX", "1");
        for (const char *variable :
             {"WAYLAND_DISPLAY", "QT_QPA_PLATFORMTHEME", "XDG_CURRENT_DESKTOP"})
            m_environment.remove(variable);
        if (platform == QLatin1String("offscreen")) // a display name of its own: a Tarn of its own
            m_environment.insert("DISPLAY", ":tarn-test");
        // No session bus: revealing files must not reach a real file manager.
        m_environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path("no-bus"));
    }
    ~TarnProcesses()
    {
        for (const auto &process : m_processes) {
            process->kill(); // nothing happens to one that has ended
            process->waitForFinished(10000);
        }
    }

    QString path(const QString &name) const { return m_dir.filePath(name); }
    // Writes a UTF-8 file into the folder and returns its path.
    QString file(const QString &name, const QString &text) const
    {
        QFile out(path(name));
        if (!out.open(QIODevice::WriteOnly) || out.write(text.toUtf8()) < 0)
            qFatal("cannot write %s", qPrintable(name));
        return path(name);
    }
    // Starts tarn with `arguments` in the folder; the process is killed at the end of the test.
    QProcess *start(const QStringList &arguments)
    {
        auto &process = m_processes.emplace_back(std::make_unique<QProcess>());
        process->setProcessEnvironment(m_environment);
        process->setWorkingDirectory(m_dir.path());
        process->setStandardOutputFile(QProcess::nullDevice());
        process->start(QStringLiteral(TARN_BINARY), arguments);
        return process.get();
    }

    QList<LogLine> log() const { return readUsageLog(path("logs/tarn.log")); }
    QStringList events() const { return eventNames(log()); }
    // The paths of "file.open.success" lines, in order.
    QStringList openedPaths() const
    {
        QStringList paths;
        for (const LogLine &line : log()) {
            if (line.event == QLatin1String("file.open.success"))
                paths << line.metadata.value("path");
        }
        return paths;
    }

private:
    QTemporaryDir m_dir{QDir::tempPath() + "/tarnp-XXXXXX"}; // short: sockets have a path limit
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    std::vector<std::unique_ptr<QProcess>> m_processes;
};
