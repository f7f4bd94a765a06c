// Readiness as a message: the host's script waits inside the page on the reader script's promise
// and the images' own events, and posts once; the host waits for that message or its deadline.
#include "PageReadiness.h"

#include "ReaderPageLoader.h"
#include "ReaderScripts.h"
#include "ScriptEvaluation.h"
#include "TarnMessageChannel.h"

#include <QUuid>
#include <QWebEnginePage>

namespace {

// %1: the token, as a string literal. The channel and the reader script's readiness are read
// before anything is awaited, so a page that has broken either fails the check at once. The
// page itself may still post a "ready" of its own only if it learns the token; at worst the
// host then goes on early, as it would after the deadline.
constexpr char scriptTemplate[] = R"JS((() => {
  const channel = window.webkit.messageHandlers.tarn;
  const token = %1;
  const started = Boolean(window.tarnReadyDone || typeof window.tarnReady === "undefined");
  const startup = started ? null : window.tarnReady;
  const settled = (value) => Promise.resolve(value).then(() => undefined, () => undefined);
  const event = (target, names) => new Promise((resolve) => {
    names.forEach((name) => target.addEventListener(name, resolve, { once: true }));
  });
  (async () => {
    await settled(startup);
    // A reader script that settles without having finished starting up is not ready.
    if (startup !== null && !window.tarnReadyDone) {
      return;
    }
    // A page written into its shell can say "complete" before its images are in.
    for (;;) {
      const waits = Array.from(document.images).filter((image) => !image.complete)
        .map((image) => event(image, ["load", "error"]));
      if (document.readyState !== "complete") {
        waits.push(event(document, ["readystatechange"]));
      }
      if (waits.length === 0) {
        break;
      }
      await Promise.all(waits);
    }
    channel.postMessage({ type: "ready", token });
  })();
  return true;
})())JS";

} // namespace

PageReadiness::PageReadiness(ReaderPageLoader *loader, TarnMessageChannel *channel, QObject *parent)
    : QObject(parent)
    , m_loader(loader)
{
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(defaultDeadline);
    connect(&m_deadline, &QTimer::timeout, this, [this] { finish(Outcome::TimedOut); });
    connect(loader, &ReaderPageLoader::loadStarted, this, &PageReadiness::cancel);
    connect(loader, &ReaderPageLoader::pageLoadFailed, this, &PageReadiness::cancel);
    connect(loader, &ReaderPageLoader::pageLoaded, this, &PageReadiness::start);
    connect(channel, &TarnMessageChannel::messageReceived, this, &PageReadiness::receive);
}

QString PageReadiness::readinessScript(const QString &token)
{
    return QString::fromLatin1(scriptTemplate).arg(ReaderScripts::stringLiteral(token));
}

void PageReadiness::start()
{
    m_token = QUuid::createUuid().toString(QUuid::WithoutBraces);
    m_deadline.start();
    evaluateScript(m_loader->page(), readinessScript(m_token), this,
                   [this, token = m_token](const ScriptOutcome &outcome) {
                       if (!outcome.ok && token == m_token)
                           finish(Outcome::CheckFailed, outcome.errorString);
                   });
}

void PageReadiness::cancel()
{
    m_deadline.stop();
    m_token.clear();
}

void PageReadiness::receive(const QVariantMap &body)
{
    // Only the answer to the wait in progress counts, once; anything else the page posts is not
    // an answer.
    const QVariant type = body.value(QStringLiteral("type"));
    const QVariant token = body.value(QStringLiteral("token"));
    if (isWaiting() && type.typeId() == QMetaType::QString && type.toString() == u"ready" &&
        token.typeId() == QMetaType::QString && token.toString() == m_token)
        finish(Outcome::Ready);
}

void PageReadiness::finish(Outcome outcome, const QString &error)
{
    if (!isWaiting())
        return;
    cancel();
    emit finished(outcome, error);
}
