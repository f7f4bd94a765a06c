// The sidebar: the "Tarn" header, the file filter, then its sections: the open folder and the
// list of recent and favourite files.
#pragma once

#include <QWidget>

class AppModel;
class FolderPane;
class QLabel;
class QLineEdit;
class QListView;
class QVBoxLayout;
class StoredFileFilterModel;
class StoredFileListModel;
class StoredFileRow;

class FileSidebar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int sidebarWidth = 252;

    explicit FileSidebar(AppModel &model, QWidget *parent = nullptr);

    QLineEdit *filterField() const { return m_filter; }
    QLabel *titleLabel() const { return m_title; }
    FolderPane *folderPane() const { return m_folderPane; }
    // The recent and favourite files as shown: filtered and in the sidebar's order.
    QListView *fileList() const { return m_list; }
    StoredFileFilterModel *shownFiles() const { return m_shown; }
    // The sections below the filter field, top to bottom; another section goes in with
    // insertWidget (index 0 puts it above the files).
    QVBoxLayout *sections() const { return m_sections; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void updateFiles();
    void updateSelection();
    void updateTheme();
    void showContextMenu(const QPoint &at);

    AppModel &m_model;
    QLabel *m_symbol;
    QLabel *m_title;
    QLineEdit *m_filter;
    QAction *m_filterSymbol;
    FolderPane *m_folderPane;
    QVBoxLayout *m_sections;
    StoredFileListModel *m_files;
    StoredFileFilterModel *m_shown;
    StoredFileRow *m_rows;
    QListView *m_list;
};
