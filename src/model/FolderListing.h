// Reading one level of the sidebar's folder off the main thread: its document files and the
// subfolders that lead to any, in the order of the Chinese collation of their names.
#pragma once

#include <QByteArray>
#include <QFuture>
#include <QList>
#include <QPromise>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <unicode/uversion.h>

#include <functional>
#include <memory>

U_NAMESPACE_BEGIN
class Collator;
U_NAMESPACE_END

struct FolderEntry
{
    QString name;
    QByteArray sortKey; // the collation key of the name; compare bytes
    bool isFolder = false;

    // Folders first, then files, each by collation key.
    friend bool operator<(const FolderEntry &a, const FolderEntry &b)
    {
        if (a.isFolder != b.isFolder)
            return a.isFolder;
        return a.sortKey < b.sortKey;
    }
};

namespace FolderListing {

// A collator for names the way a Chinese reader orders them (pinyin, numbers by value).
std::unique_ptr<icu::Collator> makeNameCollator();
QByteArray sortKey(const icu::Collator &collator, const QString &name);

// Delivers the document files of `folder` first, then its subfolders that lead to a document
// in batches as they are found; each batch is sorted. Stops early when the future is
// cancelled.
QFuture<QList<FolderEntry>> list(const QString &folder);

// The entries of `folder` that are neither hidden nor ignored: document files and folders
// (symbolic links count as what they point to). Nothing when the folder cannot be read.
void readLevel(const QString &folder, QStringList &documents, QStringList &folders,
               const std::function<bool()> &cancelled = {});

// True when a document lies somewhere below `folder`. Symbolic links are followed; a folder
// reached twice is searched once, so loops end.
bool leadsToDocument(const QString &folder, const QPromise<QList<FolderEntry>> *promise = nullptr);

// Runs `work(promise)` on the shared thread pool and finishes the promise after it.
template<typename T, typename Work> QFuture<T> runInPool(Work work)
{
    auto promise = std::make_shared<QPromise<T>>();
    QFuture<T> future = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start([promise, work = std::move(work)]() mutable {
        work(*promise);
        promise->finish();
    });
    return future;
}

} // namespace FolderListing
