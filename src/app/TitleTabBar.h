// The bar above the toolbar: one tab per open document, or "未打开文件" when there is none.
#pragma once

#include <QList>
#include <QWidget>

class AppModel;
class QLabel;
class QScrollArea;
class QStackedWidget;
class TabItem;

class TitleTabBar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int barHeight = 34;

    explicit TitleTabBar(AppModel &model, QWidget *parent = nullptr);

    QList<TabItem *> tabItems() const { return m_items; }
    QLabel *emptyCaption() const { return m_caption; }
    QScrollArea *scrollArea() const { return m_scroll; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void rebuildTabs();
    void updateSelection();
    void updateTheme();

    AppModel &m_model;
    QStackedWidget *m_stack;
    QLabel *m_caption;
    QScrollArea *m_scroll;
    QWidget *m_row;
    QList<TabItem *> m_items;
};
