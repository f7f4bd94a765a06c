// DraftStore: the folder lock, the writer thread and the recovery file format.
#include "DraftStore.h"

#include "AtomicFileWriter.h"
#include "StateHome.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <tuple>

class DraftStore::Writer
{
public:
    explicit Writer(const DraftStore &store)
        : m_store(store)
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

    // `draft` empty: remove the file.
    void enqueue(const QString &documentPath, std::optional<QString> draft)
    {
        {
            std::lock_guard lock(m_mutex);
            m_pending[documentPath] = Request{std::move(draft), QDateTime::currentDateTimeUtc()};
        }
        m_wake.notify_one();
    }

    void flush()
    {
        std::unique_lock lock(m_mutex);
        m_drained.wait(lock, [this] { return m_pending.empty() && !m_busy; });
    }

private:
    struct Request
    {
        std::optional<QString> draft;
        QDateTime time;
    };

    void run()
    {
        for (;;) {
            std::map<QString, Request> batch;
            {
                std::unique_lock lock(m_mutex);
                m_busy = false;
                m_drained.notify_all();
                m_wake.wait(lock, [this] { return !m_pending.empty() || m_stopping; });
                if (m_pending.empty())
                    return; // stopping, and nothing left to write
                batch.swap(m_pending);
                m_busy = true;
            }
            for (const auto &[documentPath, request] : batch) {
                const QString file = m_store.fileFor(documentPath);
                // A failed write keeps the previous recovery file, which is the best left to do.
                if (request.draft)
                    AtomicFileWriter::write(
                        file, encode(RecoveredDraft{documentPath, *request.draft, request.time}));
                else
                    QFile::remove(file);
            }
        }
    }

    const DraftStore &m_store;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_drained;
    std::map<QString, Request> m_pending;
    bool m_busy = true; // until the thread first waits
    bool m_stopping = false;
    std::thread m_thread;
};

DraftStore::DraftStore(const QString &folder)
    : m_folder(folder)
{}

DraftStore::~DraftStore() = default;

QString DraftStore::defaultFolder()
{
    const QString state = xdgStateHome();
    if (state.isEmpty())
        return QDir(QDir::tempPath()).filePath(QStringLiteral("TarnDrafts"));
    return QDir(state).filePath(QStringLiteral("Tarn/Drafts"));
}

bool DraftStore::acquire()
{
    if (m_writer)
        return true;
    if (!QDir().mkpath(m_folder))
        return false;
    auto lock = std::make_unique<QLockFile>(QDir(m_folder).filePath(QStringLiteral("lock")));
    // Only a live process keeps the folder; age alone never makes its lock stale.
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0))
        return false;
    m_lock = std::move(lock);
    m_writer = std::make_unique<Writer>(*this);
    return true;
}

bool DraftStore::isAcquired() const
{
    return m_writer != nullptr;
}

QString DraftStore::fileFor(const QString &documentPath) const
{
    const QByteArray hash =
        QCryptographicHash::hash(documentPath.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QDir(m_folder).filePath(QStringLiteral("draft-%1.json").arg(hash.left(32)));
}

void DraftStore::save(const QString &documentPath, const QString &draft)
{
    if (m_writer)
        m_writer->enqueue(documentPath, draft);
}

void DraftStore::remove(const QString &documentPath)
{
    if (m_writer)
        m_writer->enqueue(documentPath, std::nullopt);
}

void DraftStore::flush()
{
    if (m_writer)
        m_writer->flush();
}

QList<RecoveredDraft> DraftStore::readAll(QList<BrokenDraftFile> *broken) const
{
    QList<RecoveredDraft> drafts;
    if (!m_writer)
        return drafts;
    const QDir folder(m_folder);
    const QStringList names =
        folder.entryList({QStringLiteral("draft-*.json")}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        const QString path = folder.filePath(name);
        QFile file(path);
        QString error;
        std::optional<RecoveredDraft> draft;
        if (file.open(QIODevice::ReadOnly))
            draft = decode(file.readAll(), &error);
        else
            error = file.errorString();
        if (draft) {
            drafts.append(*draft);
            continue;
        }
        file.close();
        const QString aside = path + QStringLiteral(".broken");
        QFile::remove(aside);
        QFile::rename(path, aside);
        if (broken)
            broken->append(BrokenDraftFile{aside, error});
    }
    std::sort(drafts.begin(), drafts.end(), [](const auto &a, const auto &b) {
        return std::tie(a.savedAt, a.path) < std::tie(b.savedAt, b.path);
    });
    return drafts;
}

QByteArray DraftStore::encode(const RecoveredDraft &draft)
{
    const QJsonObject object{
        {QStringLiteral("path"), draft.path},
        {QStringLiteral("draft"), draft.draft},
        {QStringLiteral("savedAt"), draft.savedAt.toUTC().toString(Qt::ISODateWithMs)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<RecoveredDraft> DraftStore::decode(const QByteArray &bytes, QString *error)
{
    QJsonParseError parse;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parse);
    if (!document.isObject()) {
        *error = parse.error != QJsonParseError::NoError
                     ? QStringLiteral("不是有效的 JSON：") + parse.errorString()
                     : QStringLiteral("不是 JSON 对象");
        return std::nullopt;
    }
    const QJsonObject object = document.object();
    const QJsonValue path = object.value(QStringLiteral("path"));
    const QJsonValue draft = object.value(QStringLiteral("draft"));
    if (!path.isString() || QDir::isRelativePath(path.toString()) || !draft.isString()) {
        *error = QStringLiteral("缺少文件路径或草稿内容");
        return std::nullopt;
    }
    const QDateTime savedAt = QDateTime::fromString(
        object.value(QStringLiteral("savedAt")).toString(), Qt::ISODateWithMs);
    return RecoveredDraft{path.toString(), draft.toString(), savedAt};
}
