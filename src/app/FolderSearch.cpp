// The folder's documents are listed first, then read and searched by every core at once; each
// worker hands its files with hits over in small batches, so the first results show early.
#include "FolderSearch.h"

#include "CaseFoldedSearch.h"
#include "FolderListing.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QSet>
#include <QThread>
#include <QWaitCondition>

#include <atomic>

namespace {

constexpr int contextBefore = 40;
constexpr int longestLine = 160;

// Every listed document below `root`, following links but entering each real folder once.
QStringList documentsBelow(const QString &root, const std::function<bool()> &cancelled)
{
    QStringList files;
    QSet<QString> visited;
    QStringList pending{root};
    while (!pending.isEmpty() && !cancelled()) {
        const QString folder = pending.takeLast();
        const QString canonical = QFileInfo(folder).canonicalFilePath();
        if (canonical.isEmpty() || visited.contains(canonical))
            continue;
        visited.insert(canonical);
        QStringList documents;
        QStringList folders;
        FolderListing::readLevel(folder, documents, folders, cancelled);
        for (const QString &name : std::as_const(documents))
            files << folder + u'/' + name;
        for (const QString &name : std::as_const(folders))
            pending << folder + u'/' + name;
    }
    files.sort();
    return files;
}

FolderSearchHit makeHit(QStringView text, int lineStart, int line, EditorRange range)
{
    qsizetype lineEnd = text.indexOf(u'\n', range.location);
    if (lineEnd < 0)
        lineEnd = text.size();
    if (lineEnd > lineStart && text[lineEnd - 1] == u'\r')
        --lineEnd;
    int from = lineStart;
    int to = int(lineEnd);
    if (to - from > longestLine) {
        from = std::max(lineStart, range.location - contextBefore);
        to = std::min(int(lineEnd), std::max(range.end(), from + longestLine));
    }
    QString shown = text.mid(from, to - from).toString();
    int match = range.location - from;
    if (from > lineStart) {
        shown.prepend(u'…');
        ++match;
    }
    if (to < lineEnd)
        shown.append(u'…');
    return FolderSearchHit{line, range.location - lineStart, range.location, range.length, shown,
                           match};
}

enum class Outcome
{
    searched,
    skipped
};

Outcome searchFile(const QString &path, const CaseFoldedSearch &search, FolderSearchFile &found)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > WorkspaceFolder::maximumSearchedFileSize)
        return Outcome::skipped;
    // Read at most one byte past the limit: the file may grow while it is read.
    const QByteArray bytes = file.read(WorkspaceFolder::maximumSearchedFileSize + 1);
    if (file.error() != QFileDevice::NoError ||
        bytes.size() > WorkspaceFolder::maximumSearchedFileSize || bytes.contains('\0'))
        return Outcome::skipped;
    const QString text = QString::fromUtf8(bytes);
    found.path = path;
    int line = 0;
    int lineStart = 0;
    int scanned = 0;
    search.scan(text, 0, int(text.size()), int(text.size()), [&](EditorRange range) {
        for (; scanned < range.location; ++scanned) {
            if (text[scanned] == u'\n') {
                ++line;
                lineStart = scanned + 1;
            }
        }
        ++found.hitCount;
        if (found.hits.size() < FolderSearch::maximumShownHits)
            found.hits << makeHit(text, lineStart, line, range);
        return true;
    });
    return Outcome::searched;
}

// The files and the workers that take them one by one. A helper that starts after the search
// has closed does nothing, so the search never waits for a helper still queued in the pool.
struct SharedWork
{
    QStringList files;
    std::atomic<int> next{0};
    std::atomic<int> searched{0};
    std::atomic<int> skipped{0};
    std::atomic<int> hits{0};
    QMutex mutex;
    QWaitCondition idle;
    int running = 0;
    bool closed = false;

    bool claim()
    {
        QMutexLocker locker(&mutex);
        if (closed)
            return false;
        ++running;
        return true;
    }
    void release()
    {
        QMutexLocker locker(&mutex);
        if (--running == 0)
            idle.wakeAll();
    }
    void closeAndWait()
    {
        QMutexLocker locker(&mutex);
        closed = true;
        while (running > 0)
            idle.wait(&mutex);
    }
};

void work(SharedWork &shared, const CaseFoldedSearch &search,
          const std::function<bool()> &cancelled,
          const std::function<void(const FolderSearchBatch &)> &report)
{
    FolderSearchBatch batch;
    QDeadlineTimer flush(20);
    auto send = [&] {
        if (batch.files.isEmpty() && batch.searched == 0 && batch.skipped == 0)
            return;
        report(std::exchange(batch, {}));
        flush.setRemainingTime(20);
    };
    for (;;) {
        const int index = shared.next.fetch_add(1);
        if (index >= shared.files.size() || cancelled())
            break;
        FolderSearchFile found;
        if (searchFile(shared.files[index], search, found) == Outcome::skipped) {
            ++batch.skipped;
            shared.skipped.fetch_add(1);
        } else {
            ++batch.searched;
            shared.searched.fetch_add(1);
            if (found.hitCount > 0) {
                shared.hits.fetch_add(found.hitCount);
                batch.files << std::move(found);
            }
        }
        if (flush.hasExpired())
            send();
    }
    send();
}

} // namespace

FolderSearch::FolderSearch(WorkspaceFolder &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{}

FolderSearch::~FolderSearch()
{
    cancel();
}

bool FolderSearch::isRunning() const
{
    return m_watcher && m_watcher->isRunning();
}

void FolderSearch::cancel()
{
    if (!m_watcher)
        return;
    // The worker sees the cancellation at its next file; the watcher goes with whatever it
    // still had to report.
    m_watcher->cancel();
    m_watcher->deleteLater();
    m_watcher = nullptr;
}

void FolderSearch::start(const QString &root, const QString &query)
{
    cancel();
    const QString trimmed = query.trimmed();
    if (root.isEmpty() || trimmed.isEmpty())
        return;
    m_stats = {};
    m_clock.start();
    auto *watcher = new QFutureWatcher<FolderSearchBatch>(this);
    m_watcher = watcher;
    connect(watcher, &QFutureWatcherBase::resultsReadyAt, this,
            [this, watcher](int begin, int end) {
                if (watcher != m_watcher)
                    return;
                QList<FolderSearchFile> files;
                for (int i = begin; i < end; ++i) {
                    const FolderSearchBatch batch = watcher->resultAt(i);
                    m_stats.files += batch.searched;
                    m_stats.skipped += batch.skipped;
                    for (const FolderSearchFile &file : batch.files)
                        m_stats.hits += file.hitCount;
                    files << batch.files;
                }
                if (!files.isEmpty())
                    emit filesFound(files);
            });
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        if (watcher->isCanceled())
            return;
        m_stats.ms = m_clock.elapsed();
        m_folder.noteSearchFinished(m_stats);
        emit finished(m_stats);
    });
    watcher->setFuture(FolderListing::runInPool<FolderSearchBatch>(
        [root, trimmed](QPromise<FolderSearchBatch> &promise) {
            run(
                root, trimmed, [&promise] { return promise.isCanceled(); },
                [&promise](const FolderSearchBatch &batch) { promise.addResult(batch); });
        }));
}

FolderSearchStats FolderSearch::run(const QString &root, const QString &query,
                                    const std::function<bool()> &cancelled,
                                    const std::function<void(const FolderSearchBatch &)> &report)
{
    QElapsedTimer clock;
    clock.start();
    // Matched as the page matches, so a hit found here is a hit on the page.
    const CaseFoldedSearch search(query.trimmed(), CaseMatching::lowerCase);
    if (search.isEmpty())
        return {};
    auto shared = std::make_shared<SharedWork>();
    shared->files = documentsBelow(root, cancelled);
    const int helpers = std::min(QThread::idealThreadCount(), int(shared->files.size() / 8)) - 1;
    for (int i = 0; i < helpers; ++i) {
        QThreadPool::globalInstance()->start([shared, search, cancelled, report] {
            if (!shared->claim())
                return;
            work(*shared, search, cancelled, report);
            shared->release();
        });
    }
    work(*shared, search, cancelled, report);
    shared->closeAndWait();
    return FolderSearchStats{shared->searched, shared->hits, shared->skipped, clock.elapsed()};
}
