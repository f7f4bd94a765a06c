// A real model for tests and benchmarks: settings in "settings.ini" and the log in "logs" of
// a fresh temporary folder, with the scripted platform and PDF exporter.
#pragma once

#include "AppModel.h"
#include "ScriptedPlatform.h"
#include "TarnClock.h"
#include "TarnUsageLogger.h"
#include "UsageLogReader.h"

#include <QByteArray>
#include <QSettings>
#include <QTemporaryDir>

#include <memory>

class ModelFixture
{
public:
    // A non-null `iniText` is put in place as the settings file before the model reads it.
    explicit ModelFixture(const QByteArray &iniText = {}, TarnClock clock = tarnSystemClock());
    virtual ~ModelFixture();

    QString path(const QString &name) const { return dir.filePath(name); }
    // The usage log so far (waits for queued lines).
    QList<LogLine> log() const;
    QStringList events() const { return eventNames(log()); }

    QTemporaryDir dir;
    ScriptedPlatform platform;
    ScriptedPdfExportService pdf;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<TarnUsageLogger> logger;
    std::unique_ptr<AppModel> model;
};
