// The file panels' listing with sizes and dates in the interface's language.
#pragma once

#include <QIdentityProxyModel>

// Qt's file dialog formats sizes and dates in the session's locale ("375 bytes" on an English
// or C session), while the rest of Tarn, its dialogs included, speaks Chinese. Placed between
// the dialog's file system model and its views, this formats both in the default locale.
class FilePanelModel : public QIdentityProxyModel
{
    Q_OBJECT

public:
    using QIdentityProxyModel::QIdentityProxyModel;

    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    // QFileSystemModel's columns.
    static constexpr int sizeColumn = 1;
    static constexpr int dateColumn = 3;
};
