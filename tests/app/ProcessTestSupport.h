// Runs the real tarn binary in a sealed-off environment and reads its usage log.
#pragma once

#include "UsageLogReader.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

class TarnProcesses
{
public:
    // Everything the program writes (settings, logs, the instance socket, recent files) goes
    // under a fresh temporary folder. `platform` is the Qt platform plugin the processes use.
    explicit TarnProcesses(const QString &platform = QStringLiteral("offscreen"));
    ~TarnProcesses();

    QString path(const QString &name) const { return m_dir.filePath(name); }
    // Writes a UTF-8 file into the folder and returns its path.
    QString file(const QString &name, const QString &text) const;

    // Starts tarn with `arguments` in the folder; the process is killed at the end of the test.
    QProcess *start(const QStringList &arguments);
    // The socket file a running instance listens on.
    QString socketPath() const;

    QList<LogLine> log() const { return readUsageLog(logPath()); }
    QStringList events() const { return eventNames(log()); }
    // The paths of "file.open.success" lines, in order.
    QStringList openedPaths() const;
    QString logPath() const { return path(QStringLiteral("logs/tarn.log")); }

    QProcessEnvironment environment;

private:
    QTemporaryDir m_dir;
    std::vector<std::unique_ptr<QProcess>> m_processes;
};
