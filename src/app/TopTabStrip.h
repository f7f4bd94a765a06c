// The row of tabs, one per open document in the model's order: a QTabBar that selects, closes and
// reorders through the model, with the unsaved-changes dot and a close button on each tab.
#pragma once

#include "TarnTheme.h"

#include <QTabBar>
#include <QUuid>

class AppModel;
class QToolButton;
class TarnDocument;

class TopTabStrip : public QTabBar
{
    Q_OBJECT

public:
    explicit TopTabStrip(AppModel &model, QWidget *parent = nullptr);

    TarnDocument *document(int index) const;
    // The title as drawn, elided to the tab's width.
    QString displayedTitle(int index) const;
    QWidget *dirtyDot(int index) const { return tabButton(index, LeftSide); }
    QToolButton *closeButton(int index) const;

protected:
    QSize tabSizeHint(int index) const override;
    QSize minimumTabSizeHint(int index) const override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void syncTabs();
    void syncSelection();
    void updateTheme();
    void addTab(int index, TarnDocument *document);
    QUuid idAt(int index) const;
    int indexOf(const QUuid &id) const;

    AppModel &m_model;
    TarnTheme m_theme = TarnTheme::businessBlue;
    bool m_syncing = false; // changes made here to follow the model are not sent back to it
};
