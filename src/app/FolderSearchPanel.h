// The search across the sidebar's folder: the field, the count ("N 个文件中 N 处") and the hits
// grouped by file, each line with its match marked.
#pragma once

#include "FolderSearch.h"

#include <QWidget>

class AppModel;
class QLabel;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

class FolderSearchPanel : public QWidget
{
    Q_OBJECT

public:
    enum Role
    {
        PathRole = Qt::UserRole + 1,
        HitRole, // a hit row's index among its file's hits; -1 on the file's row
        MatchStartRole,
        MatchLengthRole,
    };

    explicit FolderSearchPanel(AppModel &model, QWidget *parent = nullptr);

    QLineEdit *field() const { return m_field; }
    QLabel *countLabel() const { return m_count; }
    QTreeWidget *results() const { return m_results; }
    FolderSearch &search() { return m_search; }
    // Whether the field holds a query, so the results take the tree's place.
    bool isActive() const;

signals:
    void activeChanged(bool active);
    // A hit was clicked: the `ordinal`-th hit of its file for `query`.
    void hitActivated(const QString &path, const FolderSearchHit &hit, int ordinal,
                      const QString &query);

private:
    void restart();
    void addFiles(const QList<FolderSearchFile> &files);
    void updateCount();
    void activate(QTreeWidgetItem *item);

    AppModel &m_model;
    FolderSearch m_search;
    QLineEdit *m_field;
    QLabel *m_count;
    QTreeWidget *m_results;
    QHash<QString, QList<FolderSearchHit>> m_hits; // by path, for the rows
    int m_fileCount = 0;
    int m_hitCount = 0;
    QString m_query; // of the results shown
};
