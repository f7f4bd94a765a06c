// Drag events are taken at the application level, before any child sees them: the web view
// would otherwise take a dropped file as a page to navigate to.
#include "WindowFileDrop.h"

#include <QApplication>
#include <QDropEvent>
#include <QMimeData>
#include <QTimer>
#include <QWidget>

WindowFileDrop::WindowFileDrop(QWidget *window, Handler handler)
    : QObject(window)
    , m_window(window)
    , m_handler(std::move(handler))
{
    // Qt only delivers drags to a widget that accepts drops, or to one of its ancestors.
    window->setAcceptDrops(true);
    qApp->installEventFilter(this);
}

WindowFileDrop::~WindowFileDrop()
{
    qApp->removeEventFilter(this);
}

QList<QUrl> WindowFileDrop::fileURLs(const QMimeData *data)
{
    QList<QUrl> urls;
    if (!data || !data->hasUrls())
        return urls;
    for (const QUrl &url : data->urls()) {
        if (url.isLocalFile() && !url.toLocalFile().isEmpty())
            urls << url;
    }
    return urls;
}

bool WindowFileDrop::belongsToWindow(QObject *object) const
{
    auto *widget = qobject_cast<QWidget *>(object);
    return widget && m_window && widget->window() == m_window;
}

bool WindowFileDrop::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto *drag = static_cast<QDragMoveEvent *>(event);
        // Only local files are the window's: web links and text go on to the widget below (the
        // editor inserts them), and the editor never sees a file as text to insert.
        if (!belongsToWindow(watched) || fileURLs(drag->mimeData()).isEmpty())
            return false;
        drag->setDropAction(Qt::CopyAction);
        drag->accept();
        return true;
    }
    case QEvent::Drop: {
        auto *drop = static_cast<QDropEvent *>(event);
        const QList<QUrl> urls = fileURLs(drop->mimeData());
        if (!belongsToWindow(watched) || urls.isEmpty())
            return false;
        drop->setDropAction(Qt::CopyAction);
        drop->accept();
        // The drag source waits for this event to return; open the files afterwards.
        QTimer::singleShot(0, this, [this, urls] { m_handler(urls); });
        return true;
    }
    default:
        return false;
    }
}
