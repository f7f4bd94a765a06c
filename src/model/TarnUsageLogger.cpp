// The usage log's writer thread: a serial queue of lines, rotation and the append rule.
#include "TarnUsageLogger.h"

#include "Platform.h"
#include "StateHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

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

class TarnUsageLogger::Writer
{
public:
    Writer(const QString &logPath, const QString &previousPath, TarnClock clock)
        : m_logPath(logPath)
        , m_previousPath(previousPath)
        , m_clock(std::move(clock))
        , m_thread([this] { run(); })
    {}

    ~Writer()
    {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }

    void enqueueLine(const QString &event, const QMap<QString, QString> &metadata)
    {
        enqueue(Job{event, metadata, {}});
    }

    // Runs `task` on the writer thread after every earlier job and waits for it.
    void runAndWait(std::function<void()> task)
    {
        std::promise<void> done;
        std::future<void> finished = done.get_future();
        enqueue(Job{{}, {}, [&] {
                        task();
                        done.set_value();
                    }});
        finished.wait();
    }

    void appendCreatedLineIfMissing()
    {
        if (!QFileInfo::exists(m_logPath))
            append(m_clock().toUTC().toString(Qt::ISODateWithMs).toUtf8() + " usage_log.created\n");
    }

private:
    struct Job
    {
        QString event;
        QMap<QString, QString> metadata;
        std::function<void()> task; // set for barriers; then the line fields are unused
    };

    void enqueue(Job job)
    {
        bool wake = false;
        {
            std::lock_guard lock(m_mutex);
            m_queue.push_back(std::move(job));
            wake = m_idle;
        }
        // Waking costs a system call; skip it while the writer is still draining.
        if (wake)
            m_wake.notify_one();
    }

    void run()
    {
        std::deque<Job> batch;
        for (;;) {
            {
                std::unique_lock lock(m_mutex);
                while (m_queue.empty() && !m_stopping) {
                    m_idle = true;
                    m_wake.wait(lock);
                }
                m_idle = false;
                if (m_queue.empty())
                    return; // stopping, and nothing left to write
                batch.swap(m_queue);
            }
            for (Job &job : batch) {
                if (job.task) {
                    closeFile();
                    job.task();
                } else {
                    rotateIfNeeded();
                    append(formatLine(m_clock(), job.event, job.metadata));
                }
            }
            batch.clear();
            closeFile();
        }
    }

    // The file is kept open while a batch of lines is written, so the size is tracked here
    // instead of being read back before every line.
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

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Job> m_queue;
    bool m_idle = false;
    bool m_stopping = false;

    // Used on the writer thread only.
    QFile m_file;
    qint64 m_openSize = 0;

    std::thread m_thread; // last: starts once everything above is ready
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
