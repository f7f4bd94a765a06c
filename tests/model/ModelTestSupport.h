// Shared pieces of the model tests: a stepping clock and a model on real files and settings.
#pragma once

#include "AppModel.h"
#include "ModelFixture.h"

#include <QSettings>
#include <QString>

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

QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);

// A model over a fresh temporary folder: settings in "settings.ini", the log in "logs".
class ModelHarness : public ModelFixture
{
public:
    explicit ModelHarness(const QByteArray &iniText = {}, SteppingClock steppingClock = {})
        : ModelFixture(iniText, steppingClock.clock())
    {}

    QUrl url(const QString &name) const { return QUrl::fromLocalFile(path(name)); }
    // Writes `bytes` to `name` in the folder and returns its URL.
    QUrl file(const QString &name, const QByteArray &bytes) const;
    // Settings as a fresh reader of the INI file sees them.
    QVariant storedValue(const QString &key) const;
    // The last usage-log line whose event starts with `prefix`.
    LogLine lastLine(const QString &prefix = {}) const;
};
