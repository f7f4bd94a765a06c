// The shared model fixture.
#include "ModelFixture.h"

#include <QFile>

ModelFixture::ModelFixture(const QByteArray &iniText, TarnClock clock)
{
    if (!iniText.isNull()) {
        QFile ini(path(QStringLiteral("settings.ini")));
        if (!ini.open(QIODevice::WriteOnly) || ini.write(iniText) != iniText.size())
            qFatal("cannot prepare the settings file");
    }
    settings =
        std::make_unique<QSettings>(path(QStringLiteral("settings.ini")), QSettings::IniFormat);
    logger = std::make_unique<TarnUsageLogger>(path(QStringLiteral("logs")), clock);
    model = std::make_unique<AppModel>(*settings, platform, pdf, *logger, clock);
}

ModelFixture::~ModelFixture() = default;

QList<LogLine> ModelFixture::log() const
{
    logger->flush();
    return readUsageLog(logger->logFilePath());
}
