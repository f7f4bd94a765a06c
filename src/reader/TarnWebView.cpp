// The reader's web view: page loading, zoom keys and wheel, a minimal context menu, no drops.
#include "TarnWebView.h"

#include "TarnReaderPage.h"

#include <QAction>
#include <QChildEvent>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeySequence>
#include <QMenu>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <functional>

namespace {

// The zoom levels browsers step through.
constexpr std::array<double, 17> zoomLevels{0.25, 0.33, 0.5,  0.67, 0.75, 0.8, 0.9, 1.0, 1.1,
                                            1.25, 1.5,  1.75, 2.0,  2.5,  3.0, 4.0, 5.0};

double nextZoomLevel(double factor, int direction)
{
    constexpr double tolerance = 0.001;
    if (direction > 0) {
        for (double level : zoomLevels) {
            if (level > factor + tolerance)
                return level;
        }
        return zoomLevels.back();
    }
    for (auto level = zoomLevels.rbegin(); level != zoomLevels.rend(); ++level) {
        if (*level < factor - tolerance)
            return *level;
    }
    return zoomLevels.front();
}

QAction *addShortcutAction(QWidget *owner, const QList<QKeySequence> &keys,
                           std::function<void()> trigger)
{
    auto *action = new QAction(owner);
    action->setShortcuts(keys);
    // The page's own widget has the focus, so the shortcut must cover the view's children.
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    QObject::connect(action, &QAction::triggered, owner, std::move(trigger));
    owner->addAction(action);
    return action;
}

} // namespace

TarnWebView::TarnWebView(QWidget *parent)
    : QWebEngineView(parent)
    , m_page(new TarnReaderPage(this))
{
    setPage(m_page);
    m_loader = new ReaderPageLoader(m_page, this);
    m_loader->setLazyLayout(true);
    m_channel = new TarnMessageChannel(m_page, this);
    m_loader->setPaced(true);
    connect(m_channel, &TarnMessageChannel::messageReceived, m_loader,
            [this](const QVariantMap &body) {
                const QVariant load = body.value(QStringLiteral("load"));
                if (body.value(QStringLiteral("type")) == QStringLiteral("firstScreen") &&
                    load.canConvert<quint64>())
                    m_loader->firstScreenDrawn(load.toULongLong());
            });
    m_readiness = new PageReadiness(m_loader, m_channel, this);
    setAcceptDrops(false);
    // A new document starts at the engine's default zoom; put the reader's back at once.
    connect(m_loader, &ReaderPageLoader::pageLoaded, this, &TarnWebView::applyZoom);
    connect(m_page, &QWebEnginePage::loadFinished, this, &TarnWebView::applyZoom);

    addShortcutAction(this, {QKeySequence::ZoomIn, QKeySequence(Qt::CTRL | Qt::Key_Equal)},
                      [this] { zoomIn(); });
    addShortcutAction(this, {QKeySequence::ZoomOut}, [this] { zoomOut(); });
    addShortcutAction(this, {QKeySequence(Qt::CTRL | Qt::Key_0)}, [this] { resetZoom(); });
    for (QObject *child : children())
        watchChild(child);
}

void TarnWebView::loadPage(const QString &html, const std::optional<QUrl> &baseURL)
{
    ++m_loadCount;
    m_loader->load(html, baseURL.value_or(QUrl()));
}

void TarnWebView::evaluate(const QString &script)
{
    m_page->runJavaScript(script);
}

void TarnWebView::setPlaceholderColor(const QColor &color)
{
    m_page->setBackgroundColor(color);
}

void TarnWebView::setReaderZoomFactor(double factor)
{
    factor = std::clamp(factor, zoomLevels.front(), zoomLevels.back());
    if (qFuzzyCompare(factor, m_zoomFactor))
        return;
    m_zoomFactor = factor;
    applyZoom();
    emit readerZoomFactorChanged(m_zoomFactor);
}

void TarnWebView::zoomIn()
{
    setReaderZoomFactor(nextZoomLevel(m_zoomFactor, +1));
}

void TarnWebView::zoomOut()
{
    setReaderZoomFactor(nextZoomLevel(m_zoomFactor, -1));
}

void TarnWebView::resetZoom()
{
    setReaderZoomFactor(1.0);
}

void TarnWebView::applyZoom()
{
    if (!qFuzzyCompare(m_page->zoomFactor(), m_zoomFactor))
        m_page->setZoomFactor(m_zoomFactor);
}

QMenu *TarnWebView::createReaderContextMenu(QWidget *parent)
{
    auto *menu = new QMenu(parent);
    menu->addAction(m_page->action(QWebEnginePage::Copy));
    menu->addAction(m_page->action(QWebEnginePage::SelectAll));
    return menu;
}

void TarnWebView::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu *menu = createReaderContextMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
    event->accept();
}

bool TarnWebView::event(QEvent *event)
{
    // The engine puts its render widget in the view after construction, and again after a
    // render process restarts; each one gets the same treatment.
    if (event->type() == QEvent::ChildAdded || event->type() == QEvent::ChildPolished)
        watchChild(static_cast<QChildEvent *>(event)->child());
    return QWebEngineView::event(event);
}

void TarnWebView::watchChild(QObject *child)
{
    auto *widget = qobject_cast<QWidget *>(child);
    if (!widget)
        return;
    widget->setAcceptDrops(false);
    widget->removeEventFilter(this);
    widget->installEventFilter(this);
}

bool TarnWebView::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Wheel: {
        auto *wheel = static_cast<QWheelEvent *>(event);
        if (!(wheel->modifiers() & Qt::ControlModifier))
            break;
        const int delta = wheel->angleDelta().y();
        if (delta > 0)
            zoomIn();
        else if (delta < 0)
            zoomOut();
        wheel->accept();
        return true;
    }
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        event->ignore();
        return true;
    default:
        break;
    }
    return QWebEngineView::eventFilter(watched, event);
}

void TarnWebView::dragEnterEvent(QDragEnterEvent *event)
{
    event->ignore();
}

void TarnWebView::dragMoveEvent(QDragMoveEvent *event)
{
    event->ignore();
}

void TarnWebView::dropEvent(QDropEvent *event)
{
    event->ignore();
}
