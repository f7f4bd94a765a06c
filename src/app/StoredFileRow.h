// One library entry in the sidebar: name, folder, favourite star, and its context menu. A click
// on the star toggles the favourite; anywhere else on the row it opens the file.
#pragma once

#include "StoredFile.h"
#include "TarnTheme.h"

#include <QWidget>

class AppModel;
class ElidedLabel;
class QLabel;
class QMenu;

class StoredFileRow : public QWidget
{
    Q_OBJECT

public:
    StoredFileRow(AppModel &model, const StoredFile &file, QWidget *parent = nullptr);

    const StoredFile &file() const { return m_file; }
    bool isSelected() const { return m_selected; }
    void setSelected(bool selected);
    void setTheme(TarnTheme theme);
    QColor backgroundColor() const;

    // The context menu's items for this row, in order.
    QMenu *makeContextMenu(QWidget *parent);

    ElidedLabel *nameLabel() const { return m_name; }
    ElidedLabel *folderLabel() const { return m_folder; }
    QLabel *starLabel() const { return m_star; }

    // The folder as shown: the home folder abbreviated to "~".
    static QString folderLine(const StoredFile &file);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    static constexpr int starSlop = 5;

    AppModel &m_model;
    StoredFile m_file;
    ElidedLabel *m_name;
    ElidedLabel *m_folder;
    QLabel *m_star;
    TarnTheme m_theme = TarnTheme::businessBlue;
    bool m_selected = false;
    bool m_hovered = false;
};
