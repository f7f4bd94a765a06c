// Helpers shared by the model tests.
#include "ModelTestSupport.h"

#include <QFile>
#include <QTimeZone>

QDateTime SteppingClock::start()
{
    return QDateTime(QDate(2026, 3, 1), QTime(8, 15, 30, 123), QTimeZone::utc());
}

TarnClock SteppingClock::clock()
{
    auto ticks = m_ticks;
    return [ticks] { return start().addSecs(ticks->fetch_add(1)); };
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot prepare test file %s", qPrintable(path));
}

QUrl ModelHarness::file(const QString &name, const QByteArray &bytes) const
{
    writeFile(path(name), bytes);
    return url(name);
}

QVariant ModelHarness::storedValue(const QString &key) const
{
    QSettings reader(path(QStringLiteral("settings.ini")), QSettings::IniFormat);
    return reader.value(key);
}

LogLine ModelHarness::lastLine(const QString &prefix) const
{
    const QList<LogLine> lines = log();
    for (auto it = lines.rbegin(); it != lines.rend(); ++it) {
        if (it->event.startsWith(prefix))
            return *it;
    }
    return {};
}
