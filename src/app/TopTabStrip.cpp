// Keeps QTabBar's tabs in step with the model: the model decides, the bar only asks it.
#include "TopTabStrip.h"

#include "AppModel.h"
#include "TabItem.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QStyleOptionTab>
#include <QToolButton>
#include <QWheelEvent>

namespace {

// The unsaved-changes dot; it keeps its room while hidden so the title does not jump.
class Dot : public QWidget
{
public:
    explicit Dot(QWidget *parent)
        : QWidget(parent)
    {
        setObjectName(QStringLiteral("dirtyDot"));
        setFixedSize(TabItem::dotSize, TabItem::dotSize);
    }
    QColor color;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawEllipse(rect());
    }
};

} // namespace

TopTabStrip::TopTabStrip(AppModel &model, QWidget *parent)
    : QTabBar(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("topTabStrip"));
    // Clicked, not focused: Tab goes past it.
    setFocusPolicy(Qt::NoFocus);
    setDrawBase(false);
    setExpanding(false);
    setMovable(true);
    setUsesScrollButtons(true);
    setElideMode(Qt::ElideMiddle);
    setFont(WindowChrome::scaledFont(font(), 12, QFont::Medium));

    connect(this, &QTabBar::currentChanged, this, [this](int index) {
        if (m_syncing || index < 0)
            return;
        m_model.selectTab(idAt(index));
        syncSelection(); // the model may have kept the old tab (unsaved changes, cancelled)
    });
    connect(this, &QTabBar::tabMoved, this, [this](int from, int to) {
        if (!m_syncing)
            m_model.moveTab(from, to);
    });
    connect(&m_model, &AppModel::tabsChanged, this, &TopTabStrip::syncTabs);
    connect(&m_model, &AppModel::selectedTabIDChanged, this, &TopTabStrip::syncSelection);
    connect(&m_model, &AppModel::themeChanged, this, &TopTabStrip::updateTheme);
    updateTheme();
    syncTabs();
}

TarnDocument *TopTabStrip::document(int index) const
{
    const QUuid id = idAt(index);
    for (TarnDocument *document : m_model.tabs()) {
        if (document->id() == id)
            return document;
    }
    return nullptr;
}

QString TopTabStrip::displayedTitle(int index) const
{
    QStyleOptionTab option;
    initStyleOption(&option, index); // elides the text to the tab's room
    return option.text;
}

QToolButton *TopTabStrip::closeButton(int index) const
{
    return qobject_cast<QToolButton *>(tabButton(index, RightSide));
}

QSize TopTabStrip::tabSizeHint(int index) const
{
    QSize size = QTabBar::tabSizeHint(index);
    size.setWidth(qMin(size.width(), TabItem::maximumWidth));
    return size;
}

QSize TopTabStrip::minimumTabSizeHint(int index) const
{
    // Tabs that do not fit scroll rather than shrink to an ellipsis each.
    return tabSizeHint(index);
}

void TopTabStrip::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::MiddleButton) {
        if (TarnDocument *target = document(tabAt(event->position().toPoint())))
            m_model.closeTab(target);
        event->accept();
        return;
    }
    QTabBar::mouseReleaseEvent(event);
}

void TopTabStrip::wheelEvent(QWheelEvent *event)
{
    // The wheel scrolls the row, as the scroll buttons do; it does not switch documents.
    const QPoint delta = event->angleDelta();
    const int amount = delta.x() != 0 ? delta.x() : delta.y();
    auto *button = findChild<QToolButton *>(amount > 0 ? QStringLiteral("ScrollLeftButton")
                                                       : QStringLiteral("ScrollRightButton"));
    if (amount != 0 && button && button->isVisible() && button->isEnabled())
        button->click();
    event->accept();
}

QUuid TopTabStrip::idAt(int index) const
{
    return tabData(index).toUuid();
}

int TopTabStrip::indexOf(const QUuid &id) const
{
    for (int i = 0; i < count(); ++i) {
        if (idAt(i) == id)
            return i;
    }
    return -1;
}

void TopTabStrip::addTab(int index, TarnDocument *document)
{
    insertTab(index, document->title());
    setTabData(index, document->id());
    setTabToolTip(index, document->url().toLocalFile());

    auto *dot = new Dot(this);
    dot->color = WindowChrome::accent(m_theme);
    setTabButton(index, LeftSide, dot);
    dot->setVisible(document->isDirty());
    connect(document, &TarnDocument::isDirtyChanged, dot,
            [dot, document] { dot->setVisible(document->isDirty()); });

    auto *close = new QToolButton(this);
    close->setObjectName(QStringLiteral("closeTabButton"));
    close->setToolTip(QStringLiteral("关闭标签页"));
    close->setAutoRaise(true);
    close->setFocusPolicy(Qt::NoFocus);
    close->setFixedSize(TabItem::closeSize, TabItem::closeSize);
    close->setIconSize(QSize(10, 10));
    close->setIcon(TarnIcons::icon(QStringLiteral("x"), WindowChrome::secondaryText(m_theme)));
    setTabButton(index, RightSide, close);
    const QUuid id = document->id();
    connect(close, &QToolButton::clicked, this, [this, id] {
        if (TarnDocument *target = this->document(indexOf(id)))
            m_model.closeTab(target);
    });
}

void TopTabStrip::syncTabs()
{
    const QScopedValueRollback<bool> syncing(m_syncing, true);
    const QList<TarnDocument *> tabs = m_model.tabs();
    QList<QUuid> ids;
    for (const TarnDocument *document : tabs)
        ids << document->id();
    for (int i = count() - 1; i >= 0; --i) {
        if (!ids.contains(idAt(i)))
            removeTab(i);
    }
    // Tabs still open are moved, not rebuilt, so a tab under the mouse survives.
    for (int i = 0; i < int(tabs.size()); ++i) {
        const int at = indexOf(ids[i]);
        if (at == i)
            continue;
        if (at > i)
            moveTab(at, i);
        else
            addTab(i, tabs[i]);
    }
    syncSelection();
}

void TopTabStrip::syncSelection()
{
    const QScopedValueRollback<bool> syncing(m_syncing, true);
    const int selected = indexOf(m_model.selectedTabID());
    if (selected >= 0)
        setCurrentIndex(selected); // also scrolls it into view
    for (int i = 0; i < count(); ++i)
        setTabTextColor(i, TabItem::textColor(m_theme, i == selected));
}

void TopTabStrip::updateTheme()
{
    m_theme = m_model.theme();
    setStyleSheet(TabItem::styleSheet(m_theme));
    for (int i = 0; i < count(); ++i) {
        if (auto *dot = static_cast<Dot *>(dirtyDot(i))) {
            dot->color = WindowChrome::accent(m_theme);
            dot->update();
        }
        if (QToolButton *close = closeButton(i))
            close->setIcon(
                TarnIcons::icon(QStringLiteral("x"), WindowChrome::secondaryText(m_theme)));
    }
    syncSelection();
}
