// The usage log's writer: lines queued to a worker thread, rotation and the append rule.
#include "TarnUsageLogger.h"

#include "Platform.h"
#include "SerialWorker.h"
#include "StateHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace {

// Plain code-point order; QString's own operator< compares UTF-16 units, which puts
// supplementary characters before U+E000...U+FFFF.
bool codePointLess(const QString &a, const QString &b)
{
    const QList<uint> ua = a.toUcs4();
    const QList<uint> ub = b.toUcs4();
    return std::lexicographical_compare(ua.begin(), ua.end(), ub.begin(), ub.end());
}

bool hasSurrogates(const QString &s)
{
    return std::any_of(s.begin(), s.end(), [](QChar c) { return c.isSurrogate(); });
}

} // namespace

// The log file as the worker thread sees it. The file is kept open while a burst of lines is
// written, so the size is tracked here instead of being read back before every line.
class TarnUsageLogger::Writer
{
public:
    Writer(const QString &logPath, const QString &previousPath, TarnClock clock)
        : m_logPath(logPath)
        , m_previousPath(previousPath)
        , m_clock(std::move(clock))
        , m_worker([this] { closeFile(); })
    {}

    void enqueueLine(const QString &event, const QMap<QString, QString> &metadata)
    {
        m_worker.post([this, event, metadata] {
            rotateIfNeeded();
            append(formatLine(m_clock(), event, metadata));
        });
    }

    // Runs `task` on the worker thread after every earlier line, with the file closed, and
    // waits for it.
    void runAndWait(std::function<void()> task)
    {
        m_worker.post([this, task = std::move(task)] {
            closeFile();
            task();
        });
        m_worker.flush();
    }

    void appendCreatedLineIfMissing()
    {
        if (!QFileInfo::exists(m_logPath))
            append(m_clock().toUTC().toString(Qt::ISODateWithMs).toUtf8() + " usage_log.created\n");
    }

private:
    void rotateIfNeeded()
    {
        qint64 size = 0;
        if (m_file.isOpen()) {
            size = m_openSize;
        } else {
            const QFileInfo info(m_logPath);
            if (!info.exists())
                return;
            size = info.size();
        }
        if (size < maxLogSize)
            return;
        closeFile();
        QFile::remove(m_previousPath);
        QFile::rename(m_logPath, m_previousPath);
    }

    void append(const QByteArray &line)
    {
        if (!m_file.isOpen() && QFileInfo::exists(m_logPath)) {
            m_file.setFileName(m_logPath);
            if (m_file.open(QIODevice::WriteOnly | QIODevice::Append))
                m_openSize = m_file.size();
        }
        if (m_file.isOpen()) {
            if (m_file.write(line) == line.size())
                m_openSize += line.size();
            return;
        }
        // No log yet, or one that cannot be opened for writing: the line becomes the whole file.
        QSaveFile file(m_logPath);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(line);
            file.commit();
        }
    }

    void closeFile()
    {
        if (m_file.isOpen())
            m_file.close();
    }

    const QString m_logPath;
    const QString m_previousPath;
    const TarnClock m_clock;
    // Used on the worker thread only.
    QFile m_file;
    qint64 m_openSize = 0;

    SerialWorker m_worker; // last: stops, writing what is queued, before the file goes
};

TarnUsageLogger::TarnUsageLogger(const QString &folder, TarnClock clock)
    : m_logPath(QDir(folder).filePath(QStringLiteral("tarn.log")))
    , m_previousPath(QDir(folder).filePath(QStringLiteral("tarn.previous.log")))
{
    QDir().mkpath(folder);
    m_writer = std::make_unique<Writer>(m_logPath, m_previousPath, std::move(clock));
}

TarnUsageLogger::~TarnUsageLogger() = default;

TarnUsageLogger &TarnUsageLogger::shared()
{
    static TarnUsageLogger logger(defaultFolder());
    return logger;
}

QString TarnUsageLogger::defaultFolder()
{
    const QString overridden = qEnvironmentVariable("TARN_LOG_DIR");
    if (!overridden.isEmpty())
        return overridden;
    const QString state = xdgStateHome();
    if (state.isEmpty())
        return QDir(QDir::tempPath()).filePath(QStringLiteral("TarnLogs"));
    return QDir(state).filePath(QStringLiteral("Logs/Tarn"));
}

void TarnUsageLogger::log(const QString &event, const QMap<QString, QString> &metadata)
{
    m_writer->enqueueLine(event, metadata);
}

void TarnUsageLogger::flush()
{
    m_writer->runAndWait([] {});
}

void TarnUsageLogger::revealInFinder(Platform &platform)
{
    Writer *writer = m_writer.get();
    writer->runAndWait([writer] { writer->appendCreatedLineIfMissing(); });
    platform.revealInFileManager(m_logPath);
}

QString TarnUsageLogger::escapeValue(const QString &value)
{
    QString escaped;
    escaped.reserve(value.size() + 8);
    for (QChar c : value) {
        switch (c.unicode()) {
        case '\\':
            escaped += QLatin1String("\\\\");
            break;
        case '"':
            escaped += QLatin1String("\\\"");
            break;
        case '\n':
            escaped += QLatin1String("\\n");
            break;
        case '\r':
            escaped += QLatin1String("\\r");
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

QByteArray TarnUsageLogger::formatLine(const QDateTime &time, const QString &event,
                                       const QMap<QString, QString> &metadata)
{
    QStringList keys = metadata.keys();
    if (std::any_of(keys.begin(), keys.end(), hasSurrogates))
        std::sort(keys.begin(), keys.end(), codePointLess);

    QString line = time.toUTC().toString(Qt::ISODateWithMs);
    line += QLatin1Char(' ');
    line += event;
    for (const QString &key : std::as_const(keys)) {
        line += QLatin1Char(' ');
        line += key;
        line += QLatin1String("=\"");
        line += escapeValue(metadata.value(key));
        line += QLatin1Char('"');
    }
    line += QLatin1Char('\n');
    return line.toUtf8();
}
