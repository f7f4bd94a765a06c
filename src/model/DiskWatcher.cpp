// Open files follow changes other programs make on disk.
#include "DiskWatcher.h"

#include "DocumentTabs.h"

#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

namespace {

// Editors write in bursts (truncate, write, rename): one look once the burst is over.
constexpr int diskCheckDelayMs = 250;

QString folderOf(const QString &path)
{
    return QFileInfo(path).absolutePath();
}

} // namespace

DiskWatcher::DiskWatcher(const DocumentTabs &tabs, std::function<bool()> busy, QObject *parent)
    : QObject(parent)
    , m_tabs(tabs)
    , m_busy(std::move(busy))
    , m_watcher(new QFileSystemWatcher(this))
    , m_timer(new QTimer(this))
{
    m_timer->setSingleShot(true);
    m_timer->setInterval(diskCheckDelayMs);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &DiskWatcher::schedule);
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this,
            &DiskWatcher::onDirectoryChanged);
    connect(m_timer, &QTimer::timeout, this, &DiskWatcher::reportScheduled);
    connect(&m_tabs, &DocumentTabs::tabsChanged, this, &DiskWatcher::refresh);
}

QStringList DiskWatcher::watchedPaths() const
{
    QStringList paths = m_watcher->files() + m_watcher->directories();
    paths.sort();
    return paths;
}

void DiskWatcher::refresh()
{
    // The folders too: a file replaced by renaming another over it, or deleted and made
    // again, is no longer the one the watch was on.
    QSet<QString> wanted;
    for (const TarnDocument *document : m_tabs.tabs()) {
        const QString path = document->url().toLocalFile();
        if (QFileInfo::exists(path))
            wanted.insert(path);
        if (QFileInfo::exists(folderOf(path)))
            wanted.insert(folderOf(path));
    }
    const QStringList watched = m_watcher->files() + m_watcher->directories();
    QStringList stale;
    for (const QString &path : watched) {
        if (!wanted.remove(path))
            stale << path;
    }
    if (!stale.isEmpty())
        m_watcher->removePaths(stale);
    if (!wanted.isEmpty())
        m_watcher->addPaths(QStringList(wanted.begin(), wanted.end()));
    if (!stale.isEmpty() || !wanted.isEmpty())
        emit watchedPathsChanged();
}

void DiskWatcher::onDirectoryChanged(const QString &folder)
{
    const QStringList watchedFiles = m_watcher->files();
    for (const TarnDocument *document : m_tabs.tabs()) {
        const QString path = document->url().toLocalFile();
        if (folderOf(path) != folder)
            continue;
        const bool exists = QFileInfo::exists(path);
        // A new file under the old name, or a file gone: other changes reach the file's watch.
        if (exists != watchedFiles.contains(path) || exists == document->isMissingOnDisk())
            schedule(path);
    }
}

void DiskWatcher::schedule(const QString &path)
{
    m_scheduled.insert(path);
    m_timer->start();
}

void DiskWatcher::reportScheduled()
{
    // One question at a time, and none on top of another dialog.
    if (m_busy && m_busy()) {
        m_timer->start();
        return;
    }
    const QSet<QString> paths = std::exchange(m_scheduled, {});
    for (const QString &path : paths)
        emit fileChanged(path);
    refresh();
}
