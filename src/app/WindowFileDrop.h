// Files dropped anywhere on a window, the reader's web view included, go to one callback.
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <functional>

class QMimeData;
class QWidget;

class WindowFileDrop : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(const QList<QUrl> &)>;

    // Watches drags over `window` and its children for as long as both exist. `handler` gets
    // the dropped file URLs once per drop, on a later turn of the event loop.
    WindowFileDrop(QWidget *window, Handler handler);
    ~WindowFileDrop() override;

    // The local file URLs a drag carries, in order; anything else is skipped.
    static QList<QUrl> fileURLs(const QMimeData *data);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool belongsToWindow(QObject *object) const;

    QPointer<QWidget> m_window;
    Handler m_handler;
};
