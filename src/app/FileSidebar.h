// The sidebar: the "Tarn" header, the file filter, the open folder and the rows of recent and
// favourite files.
#pragma once

#include <QList>
#include <QWidget>

class AppModel;
class FolderPane;
class QLabel;
class QLineEdit;
class QScrollArea;
class StoredFileRow;

class FileSidebar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int sidebarWidth = 252;

    explicit FileSidebar(AppModel &model, QWidget *parent = nullptr);

    QLineEdit *filterField() const { return m_filter; }
    QList<StoredFileRow *> rows() const { return m_rows; }
    QLabel *titleLabel() const { return m_title; }
    FolderPane *folderPane() const { return m_folderPane; }

private:
    void rebuildRows();
    void updateSelection();
    void updateTheme();

    AppModel &m_model;
    QLabel *m_symbol;
    QLabel *m_title;
    QLineEdit *m_filter;
    QAction *m_filterSymbol;
    FolderPane *m_folderPane;
    QScrollArea *m_scroll;
    QWidget *m_list;
    QList<StoredFileRow *> m_rows;
};
