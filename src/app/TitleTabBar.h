// The bar above the toolbar: the tab strip, or "未打开文件" when no document is open; and the
// keys that step through the tabs.
#pragma once

#include <QWidget>

class AppModel;
class QLabel;
class QStackedWidget;
class TopTabStrip;

class TitleTabBar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int barHeight = 34;

    explicit TitleTabBar(AppModel &model, QWidget *parent = nullptr);

    TopTabStrip *tabStrip() const { return m_strip; }
    QLabel *emptyCaption() const { return m_caption; }

private:
    // Selects the tab `step` places after the selected one, wrapping around at either end.
    void selectNeighbour(int step);
    void updateContent();
    void updateTheme();

    AppModel &m_model;
    QStackedWidget *m_stack;
    QLabel *m_caption;
    TopTabStrip *m_strip;
};
