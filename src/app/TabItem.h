// One tab of the title bar: the unsaved-changes dot, the document's title and a close button.
#pragma once

#include "TarnTheme.h"

#include <QColor>
#include <QPointer>
#include <QWidget>

class AppModel;
class ElidedLabel;
class QToolButton;
class TarnDocument;

class TabItem : public QWidget
{
    Q_OBJECT

public:
    static constexpr int maximumWidth = 220;
    static constexpr int dotSize = 7;

    TabItem(AppModel &model, TarnDocument *document, QWidget *parent = nullptr);

    TarnDocument *document() const { return m_document; }
    bool isSelected() const { return m_selected; }
    void setSelected(bool selected);
    void setTheme(TarnTheme theme);

    // What the tab is painted with in `theme`, selected or not.
    static QColor backgroundColor(TarnTheme theme, bool selected);
    QColor backgroundColor() const { return backgroundColor(m_theme, m_selected); }

    ElidedLabel *titleLabel() const { return m_title; }
    QWidget *dirtyDot() const { return m_dot; }
    QToolButton *closeButton() const { return m_close; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    void updateTitle();
    void updateDirty();
    void updateColors();

    AppModel &m_model;
    QPointer<TarnDocument> m_document;
    QWidget *m_dot;
    ElidedLabel *m_title;
    QToolButton *m_close;
    TarnTheme m_theme = TarnTheme::businessBlue;
    bool m_selected = false;
};
