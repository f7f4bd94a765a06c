// Loads a tiny document with the base URL, then writes the real page into it.
#include "ReaderPageLoader.h"

#include "ReaderRequestFilter.h"
#include "ReaderScripts.h"

#include <QDir>
#include <QFileInfo>
#include <QWebEnginePage>
#include <QWebEngineSettings>

namespace {

QString shellDocument(quint64 loadNumber)
{
    return QStringLiteral("<!doctype html><html><head><meta charset=\"utf-8\">"
                          "<meta name=\"tarn-load\" content=\"%1\"></head><body></body></html>")
        .arg(loadNumber);
}

// Writes only into the shell of this very load: an older shell that finishes late must not
// receive the newer page.
QString writeScript(quint64 loadNumber, const QString &html)
{
    return QStringLiteral("(() => {\n"
                          "  const marker = document.querySelector('meta[name=\"tarn-load\"]');\n"
                          "  if (!marker || marker.content !== \"%1\") return false;\n"
                          "  document.open();\n"
                          "  document.write(")
               .arg(loadNumber) +
           ReaderScripts::stringLiteral(html) +
           QStringLiteral(");\n"
                          "  document.close();\n"
                          "  return true;\n"
                          "})();");
}

} // namespace

ReaderPageLoader::ReaderPageLoader(QWebEnginePage *page, QObject *parent)
    : QObject(parent)
    , m_page(page)
{
    // Documents are untrusted: a script in one may not read other local files, reach the
    // network or open windows. The engine's own switch for file access would also stop the
    // document's images, so requests are filtered instead.
    page->setUrlRequestInterceptor(new ReaderRequestFilter(this));
    QWebEngineSettings *settings = page->settings();
    settings->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, false);
    settings->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
    connect(page, &QWebEnginePage::loadFinished, this, &ReaderPageLoader::onShellLoadFinished);
    connect(page, &QWebEnginePage::renderProcessTerminated, this, [this] {
        if (isLoading())
            fail(QStringLiteral("页面的渲染进程意外结束。"));
    });
}

QUrl ReaderPageLoader::folderBaseURL(const QUrl &url)
{
    if (!url.isLocalFile() || url.path().endsWith(u'/'))
        return url;
    if (!QFileInfo(url.toLocalFile()).isDir())
        return url;
    QUrl folder = url;
    folder.setPath(url.path() + u'/');
    return folder;
}

void ReaderPageLoader::load(const QString &html, const QUrl &baseURL)
{
    if (!m_page)
        return;
    ++m_loadNumber;
    m_html = html;
    m_state = State::LoadingShell;
    m_page->setHtml(shellDocument(m_loadNumber), folderBaseURL(baseURL));
}

void ReaderPageLoader::onShellLoadFinished(bool ok)
{
    if (m_state != State::LoadingShell)
        return;
    if (!ok) {
        // An abandoned shell also ends with !ok; a newer shell may still be on its way.
        if (m_page && m_page->isLoading())
            return;
        fail(QStringLiteral("页面无法载入。"));
        return;
    }
    writePage();
}

void ReaderPageLoader::writePage()
{
    m_state = State::Writing;
    const quint64 loadNumber = m_loadNumber;
    QPointer<ReaderPageLoader> self(this);
    m_page->runJavaScript(
        writeScript(loadNumber, m_html), [self, loadNumber](const QVariant &written) {
            if (!self || self->m_loadNumber != loadNumber || self->m_state != State::Writing)
                return;
            if (written.typeId() == QMetaType::Bool && !written.toBool()) {
                // The shell on screen is not this load's; its own loadFinished is still to come.
                self->m_state = State::LoadingShell;
                return;
            }
            if (!written.toBool()) {
                self->fail(QStringLiteral("页面无法写入。"));
                return;
            }
            self->m_state = State::Idle;
            self->m_html.clear();
            emit self->pageLoaded();
        });
}

void ReaderPageLoader::fail(const QString &errorString)
{
    m_state = State::Idle;
    m_html.clear();
    emit pageLoadFailed(errorString);
}
