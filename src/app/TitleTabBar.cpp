// Keeps the tab row in step with the model's tabs, selection and theme.
#include "TitleTabBar.h"

#include "AppModel.h"
#include "TabItem.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>
#include <QWheelEvent>

TitleTabBar::TitleTabBar(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("titleTabBar"));
    setFixedHeight(barHeight);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 0, 8, 0);
    m_stack = new QStackedWidget(this);
    layout->addWidget(m_stack);

    m_caption = new QLabel(QStringLiteral("未打开文件"), m_stack);
    m_caption->setObjectName(QStringLiteral("noFileCaption"));
    m_caption->setFont(WindowChrome::scaledFont(font(), 12));
    m_stack->addWidget(m_caption);

    // Tabs scroll sideways when they do not fit; the wheel scrolls them too.
    m_scroll = new QScrollArea(m_stack);
    m_scroll->setObjectName(QStringLiteral("tabScrollArea"));
    m_scroll->setFrameShape(QFrame::NoFrame);
    // It shows nothing of its own to act on: Tab goes past it.
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setWidgetResizable(true);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_scroll->viewport()->installEventFilter(this);
    m_row = new QWidget(m_scroll);
    m_row->setAutoFillBackground(false);
    auto *row = new QHBoxLayout(m_row);
    row->setContentsMargins(0, 4, 0, 4);
    row->setSpacing(4);
    row->addStretch(1);
    m_scroll->setWidget(m_row);
    m_stack->addWidget(m_scroll);

    connect(&m_model, &AppModel::tabsChanged, this, &TitleTabBar::rebuildTabs);
    connect(&m_model, &AppModel::selectedTabIDChanged, this, &TitleTabBar::updateSelection);
    connect(&m_model, &AppModel::themeChanged, this, &TitleTabBar::updateTheme);
    rebuildTabs();
    updateTheme();
}

bool TitleTabBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_scroll->viewport() && event->type() == QEvent::Wheel) {
        const auto *wheel = static_cast<QWheelEvent *>(event);
        const QPoint delta = wheel->angleDelta();
        QScrollBar *bar = m_scroll->horizontalScrollBar();
        bar->setValue(bar->value() - (delta.x() != 0 ? delta.x() : delta.y()) / 2);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void TitleTabBar::rebuildTabs()
{
    auto *row = static_cast<QHBoxLayout *>(m_row->layout());
    // Tabs whose documents are still open are kept, so a tab being clicked is not destroyed
    // under the mouse when another tab opens or closes.
    QList<TabItem *> kept;
    const QList<TarnDocument *> tabs = m_model.tabs();
    for (TabItem *item : std::as_const(m_items)) {
        if (item->document() && tabs.contains(item->document())) {
            kept << item;
        } else {
            row->removeWidget(item);
            item->hide();
            item->deleteLater();
        }
    }
    m_items.clear();
    for (qsizetype i = 0; i < tabs.size(); ++i) {
        TabItem *item = nullptr;
        for (TabItem *candidate : std::as_const(kept)) {
            if (candidate->document() == tabs[i])
                item = candidate;
        }
        if (!item) {
            item = new TabItem(m_model, tabs[i], m_row);
            item->setTheme(m_model.theme());
        }
        row->removeWidget(item);
        row->insertWidget(int(i), item);
        m_items << item;
    }
    m_stack->setCurrentWidget(m_items.isEmpty() ? static_cast<QWidget *>(m_caption) : m_scroll);
    updateSelection();
}

void TitleTabBar::updateSelection()
{
    const QUuid selected = m_model.selectedTabID();
    for (TabItem *item : std::as_const(m_items)) {
        const bool isSelected = item->document() && item->document()->id() == selected;
        item->setSelected(isSelected);
        if (isSelected) {
            // After the row has laid out a tab that was just added.
            QMetaObject::invokeMethod(
                this,
                [this, tab = QPointer<TabItem>(item)] {
                    if (tab)
                        m_scroll->ensureWidgetVisible(tab, 24, 0);
                },
                Qt::QueuedConnection);
        }
    }
}

void TitleTabBar::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::sidebar(theme));
    QPalette p = m_caption->palette();
    p.setColor(QPalette::WindowText, WindowChrome::secondaryText(theme));
    m_caption->setPalette(p);
    for (TabItem *item : std::as_const(m_items))
        item->setTheme(theme);
}
