// Installs the tarn message shim over QWebChannel and relays what the page posts.
#include "TarnMessageChannel.h"

#include <QFile>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>

// The object the page's channel talks to; only its one invokable is visible to the page.
class TarnMessageReceiver : public QObject
{
    Q_OBJECT

public:
    explicit TarnMessageReceiver(TarnMessageChannel *channel)
        : QObject(channel)
        , m_channel(channel)
    {}

    Q_INVOKABLE void post(const QVariant &message) { m_channel->receive(message); }

private:
    TarnMessageChannel *m_channel;
};

namespace {

// Messages posted before the channel has connected are queued and sent first, in order.
// Each message is copied when posted, so later changes by the page do not alter it.
constexpr char shimSource[] = R"JS(
  var pending = [];
  var host = null;
  function copyOf(message) {
    try {
      return JSON.parse(JSON.stringify(message === undefined ? null : message));
    } catch (error) {
      return undefined;
    }
  }
  var tarn = Object.freeze({
    postMessage: function (message) {
      var copy = copyOf(message);
      if (copy === undefined) return;
      if (host) host.post(copy); else pending.push(copy);
    }
  });
  var handlers = Object.freeze({ tarn: tarn });
  Object.defineProperty(window, "webkit", {
    value: Object.freeze({ messageHandlers: handlers }),
    configurable: true
  });
  function connect(attempt) {
    if (typeof qt === "object" && qt && qt.webChannelTransport) {
      new QWebChannel(qt.webChannelTransport, function (channel) {
        host = channel.objects.tarnHost;
        var queued = pending;
        pending = [];
        queued.forEach(function (message) { host.post(message); });
      });
    } else if (attempt < 200) {
      setTimeout(function () { connect(attempt + 1); }, 10);
    }
  }
  connect(0);
)JS";

QString channelScriptSource()
{
    QFile library(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
    QString libraryText;
    if (library.open(QIODevice::ReadOnly))
        libraryText = QString::fromUtf8(library.readAll());
    else
        qWarning("tarn: qwebchannel.js is missing from the Qt resources; messages are dropped");
    // One function around both keeps QWebChannel and the queue out of the page's globals.
    return QStringLiteral("(function () {\n") + libraryText + QString::fromUtf8(shimSource) +
           QStringLiteral("})();\n");
}

} // namespace

TarnMessageChannel::TarnMessageChannel(QWebEnginePage *page, QObject *parent)
    : QObject(parent)
    , m_page(page)
    , m_webChannel(new QWebChannel(this))
{
    m_webChannel->registerObject(QStringLiteral("tarnHost"), new TarnMessageReceiver(this));
    page->setWebChannel(m_webChannel, QWebEngineScript::MainWorld);

    QWebEngineScript script;
    script.setName(QString::fromLatin1(scriptName));
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::MainWorld);
    script.setRunsOnSubFrames(false);
    script.setSourceCode(channelScriptSource());
    page->scripts().insert(script);
}

TarnMessageChannel::~TarnMessageChannel()
{
    if (!m_page)
        return;
    for (const QWebEngineScript &script : m_page->scripts().find(QString::fromLatin1(scriptName)))
        m_page->scripts().remove(script);
    if (m_page->webChannel() == m_webChannel)
        m_page->setWebChannel(nullptr);
}

void TarnMessageChannel::receive(const QVariant &message)
{
    if (message.typeId() != QMetaType::QVariantMap)
        return;
    emit messageReceived(message.toMap());
}

#include "TarnMessageChannel.moc"
