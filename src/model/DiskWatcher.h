// Watches the open documents' files and their folders, and reports each file that changed,
// appeared or vanished once a burst of changes is over.
#pragma once

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>

class DocumentTabs;
class QFileSystemWatcher;
class QTimer;

class DiskWatcher : public QObject
{
    Q_OBJECT
    // The files and folders under watch, sorted.
    Q_PROPERTY(QStringList watchedPaths READ watchedPaths NOTIFY watchedPathsChanged)

public:
    // Follows `tabs`, which must outlive the watcher. While `busy` says so, reports wait.
    DiskWatcher(const DocumentTabs &tabs, std::function<bool()> busy, QObject *parent = nullptr);

    QStringList watchedPaths() const;
    // Brings the watch in line with the open documents' files.
    void refresh();

signals:
    void watchedPathsChanged();
    // An open document's file is worth another look.
    void fileChanged(const QString &path);

private:
    void onDirectoryChanged(const QString &folder);
    void schedule(const QString &path);
    void reportScheduled();

    const DocumentTabs &m_tabs;
    const std::function<bool()> m_busy;
    QFileSystemWatcher *m_watcher = nullptr;
    QTimer *m_timer = nullptr;
    QSet<QString> m_scheduled;
};
