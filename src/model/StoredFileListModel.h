// The library of known files as an item model, and the filtered, ordered view of it that the
// sidebar shows.
#pragma once

#include "StoredFile.h"

#include <QAbstractListModel>
#include <QSortFilterProxyModel>

class StoredFileListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role
    {
        PathRole = Qt::UserRole + 1,
        FolderRole,   // the folder that holds the file
        FavoriteRole, // bool
        OpenedAtRole, // seconds since the reference date, or invalid when never opened
    };

    using QAbstractListModel::QAbstractListModel;

    void setFiles(const QList<StoredFile> &files);
    const QList<StoredFile> &files() const { return m_files; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    QList<StoredFile> m_files;
};

// Favourites and dated entries whose name or path contains the filter text (case and Unicode
// composition aside), favourites first, then the most recently opened; ties keep their order.
class StoredFileFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit StoredFileFilterModel(QObject *parent = nullptr);

    void setFilterText(const QString &text);
    // The entry shown at `row`.
    StoredFile file(int row) const;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;

private:
    QString m_query; // trimmed, composed
};
