// The "tarn" script-message channel: page scripts post with
// window.webkit.messageHandlers.tarn.postMessage(object); the host receives each object in order.
#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantMap>

#include <QWebEnginePage>

class QWebChannel;

class TarnMessageChannel : public QObject
{
    Q_OBJECT

public:
    // Installs the channel in `page` for every document loaded from now on (main frame only).
    explicit TarnMessageChannel(QWebEnginePage *page, QObject *parent = nullptr);
    // Removes the channel from the page, if the page is still there.
    ~TarnMessageChannel() override;

    static constexpr char scriptName[] = "tarn-message-channel";

signals:
    // One message body that was a JavaScript object. Numbers arrive as double or qlonglong.
    // Anything else the page posts (strings, arrays, values that cannot be copied) is dropped.
    void messageReceived(const QVariantMap &body);

private:
    friend class TarnMessageReceiver;
    void receive(const QVariant &message);

    QPointer<QWebEnginePage> m_page;
    QWebChannel *m_webChannel = nullptr;
};
