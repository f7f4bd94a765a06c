// Levels arrive in sorted batches; a re-read inserts what is new and, once complete, removes
// what is gone, so rows that stay keep their expansion and selection.
#include "FolderTreeModel.h"

#include <QDir>
#include <QFileSystemWatcher>
#include <QFutureWatcher>
#include <QSet>

#include <algorithm>

// Deleted later, since it may be dropped from inside its own watcher's signal.
struct FolderTreeModel::Load : QObject
{
    QFutureWatcher<QList<FolderEntry>> watcher;
    // A level read again drops what was not seen; the first reading has nothing to drop.
    bool again = false;
    QSet<QString> seen;
};

FolderTreeModel::FolderTreeModel(QObject *parent)
    : QAbstractItemModel(parent)
    , m_watcher(new QFileSystemWatcher(this))
{
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, [this](const QString &folder) {
        if (Node *node = nodeForPath(folder); node && node->loaded)
            load(node);
    });
}

FolderTreeModel::~FolderTreeModel()
{
    for (Load *pending : std::as_const(m_loads))
        pending->watcher.cancel();
}

void FolderTreeModel::setRootPath(const QString &folder)
{
    beginResetModel();
    for (Load *pending : std::as_const(m_loads)) {
        pending->watcher.cancel();
        pending->deleteLater();
    }
    m_loads.clear();
    if (!m_watcher->directories().isEmpty())
        m_watcher->removePaths(m_watcher->directories());
    m_rootPath = folder.isEmpty() ? QString() : QDir::cleanPath(folder);
    m_root.reset();
    m_pendingReveal.clear();
    if (!m_rootPath.isEmpty()) {
        m_root = std::make_unique<Node>();
        m_root->entry.isFolder = true;
        m_root->expanded = true;
    }
    endResetModel();
    if (m_root)
        load(m_root.get());
}

QString FolderTreeModel::rootPath() const
{
    return m_rootPath;
}

FolderTreeModel::Node *FolderTreeModel::nodeFor(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<Node *>(index.internalPointer()) : m_root.get();
}

int FolderTreeModel::rowOf(const Node *node) const
{
    const auto &siblings = node->parent->children;
    const auto it = std::find_if(siblings.begin(), siblings.end(),
                                 [node](const auto &sibling) { return sibling.get() == node; });
    return int(it - siblings.begin());
}

QModelIndex FolderTreeModel::indexFor(Node *node) const
{
    if (!node || node == m_root.get())
        return {};
    return createIndex(rowOf(node), 0, node);
}

QString FolderTreeModel::pathOf(const Node *node) const
{
    QStringList names;
    for (; node && node != m_root.get(); node = node->parent)
        names.prepend(node->entry.name);
    return names.isEmpty() ? m_rootPath : m_rootPath + u'/' + names.join(u'/');
}

FolderTreeModel::Node *FolderTreeModel::nodeForPath(const QString &path) const
{
    if (!m_root)
        return nullptr;
    const QString clean = QDir::cleanPath(path);
    if (clean == m_rootPath)
        return m_root.get();
    if (!clean.startsWith(m_rootPath + u'/'))
        return nullptr;
    Node *node = m_root.get();
    const QStringList names = clean.mid(m_rootPath.size() + 1).split(u'/');
    for (const QString &name : names) {
        const auto it =
            std::find_if(node->children.begin(), node->children.end(),
                         [&name](const auto &child) { return child->entry.name == name; });
        if (it == node->children.end())
            return nullptr;
        node = it->get();
    }
    return node;
}

QModelIndex FolderTreeModel::indexForPath(const QString &path) const
{
    Node *node = nodeForPath(path);
    return node == m_root.get() ? QModelIndex() : indexFor(node);
}

QModelIndex FolderTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    const Node *node = nodeFor(parent);
    if (!node || column != 0 || row < 0 || row >= int(node->children.size()))
        return {};
    return createIndex(row, 0, node->children[size_t(row)].get());
}

QModelIndex FolderTreeModel::parent(const QModelIndex &child) const
{
    return child.isValid() ? indexFor(nodeFor(child)->parent) : QModelIndex();
}

int FolderTreeModel::rowCount(const QModelIndex &parent) const
{
    const Node *node = nodeFor(parent);
    return node ? int(node->children.size()) : 0;
}

int FolderTreeModel::columnCount(const QModelIndex &) const
{
    return 1;
}

QVariant FolderTreeModel::data(const QModelIndex &index, int role) const
{
    const Node *node = nodeFor(index);
    if (!index.isValid() || !node)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return node->entry.name;
    case PathRole:
        return pathOf(node);
    case IsFolderRole:
        return node->entry.isFolder;
    default:
        return {};
    }
}

bool FolderTreeModel::hasChildren(const QModelIndex &parent) const
{
    const Node *node = nodeFor(parent);
    // A listed folder leads to a document, so it has rows once read.
    return node && node->entry.isFolder && (!node->loaded || !node->children.empty());
}

bool FolderTreeModel::canFetchMore(const QModelIndex &parent) const
{
    const Node *node = nodeFor(parent);
    return node && node->entry.isFolder && !node->loaded && !m_loads.contains(pathOf(node));
}

void FolderTreeModel::fetchMore(const QModelIndex &parent)
{
    if (canFetchMore(parent))
        load(nodeFor(parent));
}

void FolderTreeModel::setExpanded(const QModelIndex &index, bool expanded)
{
    Node *node = nodeFor(index);
    if (!node || !node->entry.isFolder || node == m_root.get() || node->expanded == expanded)
        return;
    node->expanded = expanded;
    if (expanded && node->loaded)
        load(node);
    updateWatch(node);
}

void FolderTreeModel::updateWatch(Node *node)
{
    const QString path = pathOf(node);
    const bool watched = m_watcher->directories().contains(path);
    if (node->expanded && node->loaded && !watched)
        m_watcher->addPath(path);
    else if (!node->expanded && watched)
        m_watcher->removePath(path);
}

void FolderTreeModel::load(Node *node)
{
    const QString folder = pathOf(node);
    if (Load *running = m_loads.take(folder)) {
        running->watcher.cancel();
        running->deleteLater();
    }
    auto *pending = new Load;
    pending->setParent(this);
    pending->again = node->loaded;
    m_loads.insert(folder, pending);
    connect(&pending->watcher, &QFutureWatcherBase::resultsReadyAt, pending,
            [this, pending, folder](int begin, int end) {
                if (m_loads.value(folder) != pending)
                    return;
                for (int i = begin; i < end; ++i) {
                    const QList<FolderEntry> entries = pending->watcher.resultAt(i);
                    for (const FolderEntry &entry : entries) {
                        if (pending->again)
                            pending->seen.insert(entry.name);
                    }
                    insertEntries(folder, entries);
                }
            });
    connect(&pending->watcher, &QFutureWatcherBase::finished, pending, [this, pending, folder] {
        if (m_loads.value(folder) != pending || pending->watcher.isCanceled())
            return;
        finishLoad(folder);
    });
    pending->watcher.setFuture(FolderListing::list(folder));
}

void FolderTreeModel::insertEntries(const QString &folder, const QList<FolderEntry> &entries)
{
    Node *node = nodeForPath(folder);
    if (!node || entries.isEmpty())
        return;
    auto &children = node->children;
    const QModelIndex parentIndex = indexFor(node);
    const auto lessThan = [](const std::unique_ptr<Node> &child, const FolderEntry &entry) {
        return child->entry < entry;
    };
    const auto makeNode = [node](const FolderEntry &entry) {
        auto child = std::make_unique<Node>();
        child->entry = entry;
        child->parent = node;
        return child;
    };
    // A first batch goes in whole: a level of 100,000 files must not take 100,000 inserts.
    if (children.empty()) {
        beginInsertRows(parentIndex, 0, int(entries.size()) - 1);
        children.reserve(size_t(entries.size()));
        for (const FolderEntry &entry : entries)
            children.push_back(makeNode(entry));
        endInsertRows();
        return;
    }
    for (const FolderEntry &entry : entries) {
        const auto same = std::find_if(children.begin(), children.end(), [&entry](const auto &c) {
            return c->entry.name == entry.name && c->entry.isFolder == entry.isFolder;
        });
        if (same != children.end())
            continue;
        const auto at = std::lower_bound(children.begin(), children.end(), entry, lessThan);
        const int row = int(at - children.begin());
        beginInsertRows(parentIndex, row, row);
        children.insert(children.begin() + row, makeNode(entry));
        endInsertRows();
    }
}

void FolderTreeModel::finishLoad(const QString &folder)
{
    Load *pending = m_loads.take(folder);
    pending->deleteLater();
    Node *node = nodeForPath(folder);
    if (!node)
        return;
    auto &children = node->children;
    for (int row = pending->again ? int(children.size()) - 1 : -1; row >= 0; --row) {
        if (pending->seen.contains(children[size_t(row)]->entry.name))
            continue;
        const QString gone = pathOf(children[size_t(row)].get());
        for (const QString &watched : m_watcher->directories()) {
            if (watched == gone || watched.startsWith(gone + u'/'))
                m_watcher->removePath(watched);
        }
        beginRemoveRows(indexFor(node), row, row);
        children.erase(children.begin() + row);
        endRemoveRows();
    }
    node->loaded = true;
    updateWatch(node);
    if (m_readsEveryLevel)
        readUnreadFolders(node);
    emit levelLoaded(folder);
    // A folder left without documents no longer leads to any: its parent decides again.
    if (children.empty() && node != m_root.get() && node->parent->loaded)
        load(node->parent);
    continueReveal();
}

void FolderTreeModel::setReadsEveryLevel(bool on)
{
    m_readsEveryLevel = on;
    if (on && m_root && m_root->loaded)
        readUnreadFolders(m_root.get());
}

void FolderTreeModel::readUnreadFolders(Node *node)
{
    for (const auto &child : node->children) {
        if (!child->entry.isFolder)
            continue;
        if (child->loaded)
            readUnreadFolders(child.get());
        else if (!m_loads.contains(pathOf(child.get())))
            load(child.get());
    }
}

void FolderTreeModel::reveal(const QString &path)
{
    m_pendingReveal = QDir::cleanPath(path);
    continueReveal();
}

void FolderTreeModel::continueReveal()
{
    if (m_pendingReveal.isEmpty() || !m_root || !m_pendingReveal.startsWith(m_rootPath + u'/'))
        return;
    Node *node = m_root.get();
    const QStringList names = m_pendingReveal.mid(m_rootPath.size() + 1).split(u'/');
    for (const QString &name : names) {
        if (!node->loaded) {
            if (!m_loads.contains(pathOf(node)))
                load(node);
            return; // goes on when the level has been read
        }
        const auto it =
            std::find_if(node->children.begin(), node->children.end(),
                         [&name](const auto &child) { return child->entry.name == name; });
        if (it == node->children.end()) {
            m_pendingReveal.clear(); // not in the tree
            return;
        }
        node = it->get();
    }
    m_pendingReveal.clear();
    emit revealed(indexFor(node));
}
