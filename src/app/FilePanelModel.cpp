// Reformats the size and date columns from the file system model's own values.
#include "FilePanelModel.h"

#include <QFileSystemModel>
#include <QLocale>

QVariant FilePanelModel::data(const QModelIndex &index, int role) const
{
    const auto *files = qobject_cast<const QFileSystemModel *>(sourceModel());
    if (!files || role != Qt::DisplayRole ||
        (index.column() != sizeColumn && index.column() != dateColumn))
        return QIdentityProxyModel::data(index, role);
    const QModelIndex source = mapToSource(index);
    if (index.column() == dateColumn)
        return QLocale().toString(files->lastModified(source), QLocale::ShortFormat);
    // Folders and drives show no size.
    if (files->isDir(source))
        return QIdentityProxyModel::data(index, role);
    return QLocale().formattedDataSize(files->size(source));
}
