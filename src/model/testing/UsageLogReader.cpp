// The usage-log reader shared by the model, reader and app tests.
#include "UsageLogReader.h"

#include <QFile>
#include <QRegularExpression>

namespace {

QString unescaped(const QString &escaped)
{
    QString value;
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
    return value;
}

} // namespace

QList<LogLine> parseUsageLog(const QByteArray &text, bool *ok)
{
    static const QRegularExpression head(
        QStringLiteral("^(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z) ([a-z_.]+)"));
    static const QRegularExpression entry(QStringLiteral("^ ([^=]+)=\"((?:[^\"\\\\]|\\\\.)*)\""));
    QList<LogLine> lines;
    bool wellFormed = true;
    const QList<QByteArray> rawLines = text.split('\n');
    for (qsizetype i = 0; i < rawLines.size(); ++i) {
        const QString raw = QString::fromUtf8(rawLines.at(i));
        if (raw.isEmpty() && i == rawLines.size() - 1)
            break; // after the final LF
        const auto match = head.match(raw);
        if (!match.hasMatch()) {
            wellFormed = false;
            continue;
        }
        LogLine line{match.captured(1), match.captured(2), {}};
        QString rest = raw.mid(match.capturedLength());
        while (!rest.isEmpty()) {
            const auto pair = entry.match(rest);
            if (!pair.hasMatch()) {
                wellFormed = false;
                break;
            }
            line.metadata.insert(pair.captured(1), unescaped(pair.captured(2)));
            rest = rest.mid(pair.capturedLength());
        }
        lines.append(line);
    }
    if (ok)
        *ok = wellFormed;
    return lines;
}

QList<LogLine> readUsageLog(const QString &path, bool *ok)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (ok)
            *ok = true;
        return {};
    }
    return parseUsageLog(file.readAll(), ok);
}

QStringList eventNames(const QList<LogLine> &lines)
{
    QStringList names;
    for (const LogLine &line : lines)
        names.append(line.event);
    return names;
}
