// The sidebar's "文件夹" section: the folder's name with a close button, the search across it
// and, while no search is typed, its tree. Hidden while no folder is open.
#pragma once

#include <QWidget>

class AppModel;
class FolderSearchPanel;
class FolderTreeView;
class QLabel;
class QToolButton;

class FolderPane : public QWidget
{
    Q_OBJECT

public:
    explicit FolderPane(AppModel &model, QWidget *parent = nullptr);

    FolderTreeView *tree() const { return m_tree; }
    FolderSearchPanel *searchPanel() const { return m_search; }
    // "在文件夹中搜索": the keyboard goes to the search field.
    void focusSearch();

private:
    void updateFolder();
    void updateTheme();

    AppModel &m_model;
    QLabel *m_title;
    QToolButton *m_close;
    FolderSearchPanel *m_search;
    FolderTreeView *m_tree;
};
