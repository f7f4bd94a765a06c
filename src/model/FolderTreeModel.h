// The sidebar's folder as a lazy tree: each level is read off the main thread when it is first
// shown, and re-read when the disk changes while it is expanded.
#pragma once

#include "FolderListing.h"

#include <QAbstractItemModel>
#include <QHash>

#include <memory>
#include <vector>

class QFileSystemWatcher;
template<typename T> class QFutureWatcher;

class FolderTreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Role
    {
        PathRole = Qt::UserRole + 1, // absolute path, QString
        IsFolderRole,                // bool
    };

    explicit FolderTreeModel(QObject *parent = nullptr);
    ~FolderTreeModel() override;

    // Shows `folder` (empty: nothing) and starts reading its first level.
    void setRootPath(const QString &folder);
    QString rootPath() const;

    // The view reports which folders are open: only those are watched for changes, and one
    // opened again is re-read, since it was not followed while closed.
    void setExpanded(const QModelIndex &index, bool expanded);
    // While on, every level is read, opened or not (the file filter looks through all of
    // them); levels read only for this are not watched.
    void setReadsEveryLevel(bool on);
    // Reads the levels down to `path` as needed, then emits revealed with its index. A later
    // call replaces an earlier one that has not arrived yet.
    void reveal(const QString &path);
    QModelIndex indexForPath(const QString &path) const;
    // True while any level is being read.
    bool isBusy() const { return !m_loads.isEmpty(); }

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;

signals:
    void revealed(const QModelIndex &index);
    // A level was read (or re-read) completely.
    void levelLoaded(const QString &folder);

private:
    struct Node
    {
        FolderEntry entry;
        Node *parent = nullptr;
        std::vector<std::unique_ptr<Node>> children;
        bool loaded = false;
        bool expanded = false;
    };
    struct Load;

    Node *nodeFor(const QModelIndex &index) const;
    QModelIndex indexFor(Node *node) const;
    QString pathOf(const Node *node) const;
    Node *nodeForPath(const QString &path) const;
    int rowOf(const Node *node) const;
    void load(Node *node);
    void insertEntries(const QString &folder, const QList<FolderEntry> &entries);
    void finishLoad(const QString &folder);
    void updateWatch(Node *node);
    void continueReveal();
    void readUnreadFolders(Node *node);

    std::unique_ptr<Node> m_root;
    QString m_rootPath;
    QHash<QString, Load *> m_loads; // by folder path
    QFileSystemWatcher *m_watcher;
    QString m_pendingReveal;
    bool m_readsEveryLevel = false;
};
