// DraftStore: the folder lock, the background writer and the recovery file format.
#include "DraftStore.h"

#include "AtomicFileWriter.h"
#include "SerialWorker.h"
#include "StateHome.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>

#include <algorithm>
#include <map>
#include <mutex>
#include <tuple>

// Requests wait in a map so that only the last one for each document is carried out; one
// drain task on the worker takes whatever has gathered by the time it runs.
class DraftStore::Writer
{
public:
    explicit Writer(DraftStore &store)
        : m_store(store)
    {}

    // `draft` empty: remove the file.
    void enqueue(const QString &documentPath, std::optional<QString> draft)
    {
        bool first = false;
        {
            std::lock_guard lock(m_mutex);
            first = m_pending.empty();
            m_pending[documentPath] = Request{std::move(draft), QDateTime::currentDateTimeUtc()};
        }
        if (first)
            m_worker.post([this] { drain(); });
    }

    void flush() { m_worker.flush(); }

private:
    struct Request
    {
        std::optional<QString> draft;
        QDateTime time;
    };

    void drain()
    {
        std::map<QString, Request> batch;
        {
            std::lock_guard lock(m_mutex);
            batch.swap(m_pending);
        }
        for (const auto &[documentPath, request] : batch) {
            const QString file = m_store.fileFor(documentPath);
            // A failed write keeps the previous recovery file, which is the best left to do.
            if (request.draft) {
                const FileWriteResult result = AtomicFileWriter::write(
                    file, encode(RecoveredDraft{documentPath, *request.draft, request.time}));
                if (!result.ok)
                    emit m_store.saveFailed(documentPath, result.errorString);
            } else {
                QFile recoveryFile(file);
                if (!recoveryFile.remove() && recoveryFile.exists())
                    emit m_store.saveFailed(documentPath, recoveryFile.errorString());
            }
        }
    }

    DraftStore &m_store;
    std::mutex m_mutex;
    std::map<QString, Request> m_pending;
    SerialWorker m_worker; // last: stops, writing what is queued, before the map goes
};

DraftStore::DraftStore(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
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
        // Left in place, the file is only tried again at the next start.
        const bool movedAside = file.rename(aside);
        if (broken)
            broken->append(BrokenDraftFile{movedAside ? aside : path, error,
                                           movedAside ? QString() : file.errorString()});
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
