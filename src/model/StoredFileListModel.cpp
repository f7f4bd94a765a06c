// The sidebar's rows come from Qt's proxy machinery, so filtering and ordering live in one place.
#include "StoredFileListModel.h"

#include <limits>

void StoredFileListModel::setFiles(const QList<StoredFile> &files)
{
    beginResetModel();
    m_files = files;
    endResetModel();
}

int StoredFileListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_files.size());
}

QVariant StoredFileListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const StoredFile &file = m_files.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return file.displayName;
    case Qt::ToolTipRole:
    case PathRole:
        return file.path;
    case FolderRole:
        return file.subtitle();
    case FavoriteRole:
        return file.isFavorite;
    case OpenedAtRole:
        return file.lastOpenedAt ? QVariant(*file.lastOpenedAt) : QVariant();
    default:
        return {};
    }
}

StoredFileFilterModel::StoredFileFilterModel(QObject *parent)
    : QSortFilterProxyModel(parent)
{
    sort(0);
}

void StoredFileFilterModel::setFilterText(const QString &text)
{
    // Canonically equivalent spellings (precomposed or not) count as the same text.
    const QString query = text.trimmed().normalized(QString::NormalizationForm_C);
    if (query == m_query)
        return;
    m_query = query;
    invalidateFilter();
}

StoredFile StoredFileFilterModel::file(int row) const
{
    const auto *files = qobject_cast<const StoredFileListModel *>(sourceModel());
    const QModelIndex source = mapToSource(index(row, 0));
    if (!files || !source.isValid())
        return {};
    return files->files().at(source.row());
}

bool StoredFileFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    const QModelIndex row = sourceModel()->index(sourceRow, 0, sourceParent);
    if (!row.data(StoredFileListModel::FavoriteRole).toBool() &&
        !row.data(StoredFileListModel::OpenedAtRole).isValid())
        return false;
    if (m_query.isEmpty())
        return true;
    const auto matches = [this](const QString &text) {
        return text.normalized(QString::NormalizationForm_C).contains(m_query, Qt::CaseInsensitive);
    };
    return matches(row.data(Qt::DisplayRole).toString()) ||
           matches(row.data(StoredFileListModel::PathRole).toString());
}

bool StoredFileFilterModel::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    const bool leftFavorite = left.data(StoredFileListModel::FavoriteRole).toBool();
    const bool rightFavorite = right.data(StoredFileListModel::FavoriteRole).toBool();
    if (leftFavorite != rightFavorite)
        return leftFavorite;
    const auto opened = [](const QModelIndex &index) {
        const QVariant value = index.data(StoredFileListModel::OpenedAtRole);
        return value.isValid() ? value.toDouble() : -std::numeric_limits<double>::infinity();
    };
    if (opened(left) != opened(right))
        return opened(left) > opened(right);
    return left.row() < right.row();
}
