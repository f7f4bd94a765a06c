// Reads the usage log back for tests: one entry per line, metadata unescaped.
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

struct LogLine
{
    QString time;
    QString event;
    QMap<QString, QString> metadata;
};

// Parses lines in the logger's format; `ok` turns false at the first malformed line.
QList<LogLine> parseUsageLog(const QByteArray &text, bool *ok = nullptr);
// The lines of the log file at `path` (none when it cannot be read).
QList<LogLine> readUsageLog(const QString &path, bool *ok = nullptr);
QStringList eventNames(const QList<LogLine> &lines);
