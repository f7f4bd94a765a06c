// The sidebar's folder as a tree: the selected tab's file highlighted and revealed, a click on a
// file opens it, the file filter narrows the rows.
#pragma once

#include <QTreeView>

class AppModel;
class FolderTreeModel;
class QSortFilterProxyModel;
class QTimer;

class FolderTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit FolderTreeView(AppModel &model, QWidget *parent = nullptr);

    FolderTreeModel *folderModel() const { return m_folder; }
    // The index in the view's (filtered) model for an absolute path, if it is shown.
    QModelIndex viewIndex(const QString &path) const;

private:
    void showFolder();
    void revealSelectedDocument();
    void openClicked(const QModelIndex &index);
    void updateTheme();
    void applyFilter();

    AppModel &m_model;
    FolderTreeModel *m_folder;
    QSortFilterProxyModel *m_filter;
    // While filtering, every row that leads to a match is open; these openings are the
    // filter's, not the user's, and are not watched.
    bool m_filtering = false;
    QTimer *m_expandTimer;
};
