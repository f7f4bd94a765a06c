// Shared pieces of the model tests: a stepping clock, a model on real files and settings, and a
// reader for the usage log lines.
#pragma once

#include "AppModel.h"
#include "ModelFixture.h"
#include "ScriptedPlatform.h"
#include "TarnUsageLogger.h"

#include <QMap>
#include <QSettings>
#include <QString>
#include <QTemporaryDir>

#include <atomic>
#include <memory>

// Starts at 2026-03-01T08:15:30.123Z and moves on by one second per reading.
class SteppingClock
{
public:
    TarnClock clock();
    static QDateTime start();

private:
    std::shared_ptr<std::atomic<qint64>> m_ticks = std::make_shared<std::atomic<qint64>>(0);
};

struct LogLine
{
    QString time;
    QString event;
    QMap<QString, QString> metadata;
};

// Parses lines written by TarnUsageLogger; QVERIFY-fails on a malformed one.
QList<LogLine> parseLogLines(const QByteArray &text, bool *ok = nullptr);
QList<LogLine> readLog(TarnUsageLogger &logger);

QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);

// A model over a fresh temporary folder: settings in "settings.ini", the log in "logs".
class ModelHarness : public ModelFixture
{
public:
    // Settings to put in place before the model reads them; the log and the model share one
    // stepping clock.
    explicit ModelHarness(const QByteArray &iniText = {}, SteppingClock steppingClock = {});

    QUrl url(const QString &name) const { return QUrl::fromLocalFile(path(name)); }
    // Writes `bytes` to `name` in the folder and returns its URL.
    QUrl file(const QString &name, const QByteArray &bytes) const;
    QList<LogLine> log() { return readLog(*logger); }
    QStringList events();
    // Settings as a fresh reader of the INI file sees them.
    QVariant storedValue(const QString &key) const;

    SteppingClock clock;
};
