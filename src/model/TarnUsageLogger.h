// The program's local usage log: one line per event, written in call order on a thread of its own.
#pragma once

#include "TarnClock.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QUrl>

#include <memory>

class Platform;

class TarnUsageLogger
{
public:
    // The log is moved aside once it has reached this size.
    static constexpr qint64 maxLogSize = 2'097'152;

    // Creates `folder` (and its parents) if needed; a failure only means later lines are lost.
    explicit TarnUsageLogger(const QString &folder, TarnClock clock = tarnSystemClock());
    // Writes every line queued so far, then stops the writer thread.
    ~TarnUsageLogger();
    TarnUsageLogger(const TarnUsageLogger &) = delete;
    TarnUsageLogger &operator=(const TarnUsageLogger &) = delete;

    // The process-wide log in defaultFolder(), created on first use.
    static TarnUsageLogger &shared();
    // $TARN_LOG_DIR if set; else $XDG_STATE_HOME (or ~/.local/state) + "/Logs/Tarn"; else the
    // temporary folder + "/TarnLogs".
    static QString defaultFolder();

    // Queues one line and returns at once; callable from any thread. The time stamp is taken
    // when the line is written. Never reports an error.
    void log(const QString &event, const QMap<QString, QString> &metadata = {});
    // Blocks until every line queued before this call is on disk.
    void flush();
    // Waits for the queued lines, creates the log if it is still missing, then asks the file
    // manager to show it.
    void revealInFinder(Platform &platform);

    QString logFilePath() const { return m_logPath; }
    QString previousLogFilePath() const { return m_previousPath; }
    QUrl logURL() const { return QUrl::fromLocalFile(m_logPath); }

    // One log line, LF included: UTC time with milliseconds, event, metadata sorted by key.
    static QByteArray formatLine(const QDateTime &time, const QString &event,
                                 const QMap<QString, QString> &metadata);
    static QString escapeValue(const QString &value);

private:
    class Writer;

    QString m_logPath;
    QString m_previousPath;
    std::unique_ptr<Writer> m_writer;
};
