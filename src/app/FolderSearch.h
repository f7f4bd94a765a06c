// Searching every document of the sidebar's folder off the main thread, with the matching of the
// in-page search (case-insensitive under full case folding). A new search cancels the last one.
#pragma once

#include "WorkspaceFolder.h"

#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>

struct FolderSearchHit
{
    int line = 0;     // 0-based
    int column = 0;   // UTF-16 offset in the line
    int location = 0; // UTF-16 offset in the file's text
    int length = 0;
    QString lineText;  // the line, shortened around the match
    int lineMatch = 0; // where the match starts in lineText
};

struct FolderSearchFile
{
    QString path;
    int hitCount = 0;
    QList<FolderSearchHit> hits; // the first maximumShownHits of them
};

// What one worker reports at a time.
struct FolderSearchBatch
{
    QList<FolderSearchFile> files;
    int searched = 0;
    int skipped = 0;
};

class FolderSearch : public QObject
{
    Q_OBJECT

public:
    static constexpr int maximumShownHits = 200;

    // Logs each finished search through `folder`.
    explicit FolderSearch(WorkspaceFolder &folder, QObject *parent = nullptr);
    ~FolderSearch() override;

    // Searches `root` for `query` (trimmed; nothing for an empty one), cancelling any search
    // still running.
    void start(const QString &root, const QString &query);
    void cancel();
    bool isRunning() const;

    // The search itself, on the calling thread; `report` receives each batch. Exposed for the
    // benchmark.
    static FolderSearchStats run(const QString &root, const QString &query,
                                 const std::function<bool()> &cancelled,
                                 const std::function<void(const FolderSearchBatch &)> &report);

signals:
    // Files with hits, in no particular order, as they are found.
    void filesFound(const QList<FolderSearchFile> &files);
    void finished(const FolderSearchStats &stats);

private:
    WorkspaceFolder &m_folder;
    QFutureWatcher<FolderSearchBatch> *m_watcher = nullptr;
    QElapsedTimer m_clock;
    FolderSearchStats m_stats;
};
