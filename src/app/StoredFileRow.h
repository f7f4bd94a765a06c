// How one library entry is drawn in the sidebar's list: name over folder, the favourite star on
// the right, the selected document's row in the accent colour; and the row's context menu.
#pragma once

#include "StoredFile.h"
#include "TarnTheme.h"

#include <QIcon>
#include <QStyledItemDelegate>

class AppModel;
class QMenu;

class StoredFileRow : public QStyledItemDelegate
{
    Q_OBJECT

public:
    // A click this far off the star still means the star, which is small.
    static constexpr int starSlop = 5;

    explicit StoredFileRow(QObject *parent = nullptr);

    void setTheme(TarnTheme theme);
    // The file of the selected document; its row is highlighted.
    void setSelectedPath(const QString &path) { m_selectedPath = path; }

    // Where the star is drawn in a row occupying `row`.
    static QRect starRect(const QRect &row);
    // A folder as shown: the home folder abbreviated to "~".
    static QString folderLine(const QString &folder);
    // The context menu's items for `file`, in order.
    static QMenu *makeContextMenu(AppModel &model, const StoredFile &file, QWidget *parent);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    TarnTheme m_theme = TarnTheme::businessBlue;
    QString m_selectedPath;
    QIcon m_star;
    QIcon m_filledStar;
};
