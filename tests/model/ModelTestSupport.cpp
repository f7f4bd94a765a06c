// Helpers shared by the model tests.
#include "ModelTestSupport.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>
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

QList<LogLine> parseLogLines(const QByteArray &text, bool *ok)
{
    static const QRegularExpression head(
        QStringLiteral("^(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z) ([a-z_.]+)"));
    static const QRegularExpression entry(QStringLiteral("^ ([^=]+)=\"((?:[^\"\\\\]|\\\\.)*)\""));
    QList<LogLine> lines;
    if (ok)
        *ok = true;
    const QList<QByteArray> rawLines = text.split('\n');
    for (qsizetype i = 0; i < rawLines.size(); ++i) {
        const QString raw = QString::fromUtf8(rawLines.at(i));
        if (raw.isEmpty() && i == rawLines.size() - 1)
            break; // after the final LF
        const auto match = head.match(raw);
        if (!match.hasMatch()) {
            if (ok)
                *ok = false;
            qWarning("malformed log line: %s", qPrintable(raw));
            continue;
        }
        LogLine line{match.captured(1), match.captured(2), {}};
        QStringView rest = QStringView(raw).mid(match.capturedLength());
        while (!rest.isEmpty()) {
            const auto pair = entry.match(rest.toString());
            if (!pair.hasMatch()) {
                if (ok)
                    *ok = false;
                qWarning("malformed log metadata: %s", qPrintable(rest.toString()));
                break;
            }
            QString value;
            const QString escaped = pair.captured(2);
            for (qsizetype k = 0; k < escaped.size(); ++k) {
                QChar c = escaped.at(k);
                if (c == QLatin1Char('\\') && k + 1 < escaped.size()) {
                    const QChar next = escaped.at(++k);
                    c = next == QLatin1Char('n')   ? QChar('\n')
                        : next == QLatin1Char('r') ? QChar('\r')
                                                   : next;
                }
                value += c;
            }
            line.metadata.insert(pair.captured(1), value);
            rest = rest.mid(pair.capturedLength());
        }
        lines.append(line);
    }
    return lines;
}

QList<LogLine> readLog(TarnUsageLogger &logger)
{
    logger.flush();
    bool ok = false;
    const QList<LogLine> lines = parseLogLines(readFile(logger.logFilePath()), &ok);
    if (!ok)
        qWarning("the usage log holds malformed lines");
    return lines;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot prepare test file %s", qPrintable(path));
}

ModelHarness::ModelHarness(const QByteArray &iniText, SteppingClock steppingClock)
    : ModelFixture(iniText, steppingClock.clock())
    , clock(steppingClock)
{}

QUrl ModelHarness::file(const QString &name, const QByteArray &bytes) const
{
    writeFile(path(name), bytes);
    return url(name);
}

QStringList ModelHarness::events()
{
    QStringList names;
    for (const LogLine &line : log())
        names.append(line.event);
    return names;
}

QVariant ModelHarness::storedValue(const QString &key) const
{
    QSettings reader(path(QStringLiteral("settings.ini")), QSettings::IniFormat);
    return reader.value(key);
}
