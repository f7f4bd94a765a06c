// Recovery files of unsaved drafts: one per document in Tarn's state folder, written atomically
// on a thread of its own so that typing never waits for the disk.
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

struct RecoveredDraft
{
    QString path; // the document's own file
    QString draft;
    QDateTime savedAt;

    bool operator==(const RecoveredDraft &) const = default;
};

struct BrokenDraftFile
{
    QString path; // where it was kept aside
    QString error;
};

class DraftStore
{
public:
    // Creates `folder` when it takes the lock.
    explicit DraftStore(const QString &folder);
    // Writes what is still queued.
    ~DraftStore();
    DraftStore(const DraftStore &) = delete;
    DraftStore &operator=(const DraftStore &) = delete;

    // $XDG_STATE_HOME (or ~/.local/state) + "/Tarn/Drafts"; the temporary folder without a home.
    static QString defaultFolder();

    // Takes the folder for this process. False when another running Tarn holds it; a lock left
    // by a crashed one is taken over. Until it succeeds the store reads and writes nothing.
    bool acquire();
    bool isAcquired() const;
    QString folder() const { return m_folder; }
    // The recovery file that holds the draft of the document at `documentPath`.
    QString fileFor(const QString &documentPath) const;

    // Queue the draft of a document, or the removal of its recovery file, and return at once.
    // Only the last request for a document is carried out.
    void save(const QString &documentPath, const QString &draft);
    void remove(const QString &documentPath);
    // Blocks until everything queued so far is on disk.
    void flush();

    // The drafts the folder holds, oldest first (then by path). Files that cannot be read are renamed with a
    // ".broken" suffix and reported in `broken`.
    QList<RecoveredDraft> readAll(QList<BrokenDraftFile> *broken = nullptr) const;

    static QByteArray encode(const RecoveredDraft &draft);
    static std::optional<RecoveredDraft> decode(const QByteArray &bytes, QString *error);

private:
    class Writer;

    QString m_folder;
    std::unique_ptr<class QLockFile> m_lock;
    std::unique_ptr<Writer> m_writer;
};
