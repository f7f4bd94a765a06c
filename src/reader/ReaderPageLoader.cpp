// Loads a tiny document with the base URL, then writes the real page into it.
#include "ReaderPageLoader.h"

#include "ReaderRequestFilter.h"
#include "ReaderScripts.h"

#include <QDir>
#include <QFileInfo>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineSettings>

#include <string_view>

namespace TarnEmbedded {
std::string_view lazyLayoutUtf8();
}

namespace {

QString shellDocument(quint64 loadNumber)
{
    return QStringLiteral("<!doctype html><html><head><meta charset=\"utf-8\">"
                          "<meta name=\"tarn-load\" content=\"%1\"></head><body></body></html>")
        .arg(loadNumber);
}

// The page is written in pieces, each its own script run, so the engine can paint the first
// screen while it still parses the rest. Pieces end at a line break before a tag, between
// elements: the engine joins text written in pieces only up to its own text node length, so a
// long code block cut inside would come out in other text nodes than the page written whole.
constexpr qsizetype firstPieceSize = 32 * 1024;
constexpr qsizetype pieceSize = 512 * 1024;

QList<QStringView> pieces(QStringView html)
{
    QList<QStringView> out;
    qsizetype size = firstPieceSize;
    while (html.size() > size) {
        const qsizetype lineEnd = html.indexOf(u"\n<", size);
        if (lineEnd < 0)
            break;
        out.append(html.first(lineEnd + 1));
        html = html.sliced(lineEnd + 1);
        size = pieceSize;
    }
    out.append(html);
    return out;
}

// The first piece opens the document, but only the shell of this very load: an older shell that
// finishes late must not receive the newer page. The later pieces check that the document is
// still the one this load opened.
QString writeScript(quint64 loadNumber, QStringView piece, bool first, bool last, bool lazyLayout,
                    bool announceFirstScreen)
{
    const QString number = QString::number(loadNumber);
    QString script = QStringLiteral("(() => {\n");
    if (first) {
        script +=
            QStringLiteral("  const marker = document.querySelector('meta[name=\"tarn-load\"]');\n"
                           "  if (!marker || marker.content !== \"%1\") return false;\n"
                           "  document.open();\n"
                           "  window.tarnLoadWriting = %1;\n")
                .arg(number);
        if (lazyLayout)
            script += QString::fromUtf8(TarnEmbedded::lazyLayoutUtf8());
    } else {
        script +=
            QStringLiteral("  if (window.tarnLoadWriting !== %1) return false;\n").arg(number);
    }
    script += QStringLiteral("  document.write(") + ReaderScripts::stringLiteral(piece) +
              QStringLiteral(");\n");
    if (first && !last && announceFirstScreen) {
        // The frame after this one has the first screen on it.
        script += QStringLiteral(
                      "  requestAnimationFrame(() => setTimeout(() => {\n"
                      "    const host = window.webkit && window.webkit.messageHandlers;\n"
                      "    if (host && host.tarn) host.tarn.postMessage({ type: \"firstScreen\", "
                      "load: %1 });\n"
                      "  }));\n")
                      .arg(number);
    }
    if (last)
        script += QStringLiteral("  document.close();\n  delete window.tarnLoadWriting;\n");
    return script + QStringLiteral("  return true;\n})();");
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

void ReaderPageLoader::prepare(const QUrl &baseURL)
{
    if (!m_page || m_state != State::Idle)
        return;
    ++m_loadNumber;
    m_pieces.clear();
    m_html.clear();
    m_waitingForPage = true;
    m_preparedBase = folderBaseURL(baseURL);
    m_state = State::LoadingShell;
    m_page->setHtml(shellDocument(m_loadNumber), m_preparedBase);
}

void ReaderPageLoader::load(const QString &html, const QUrl &baseURL)
{
    emit loadStarted();
    if (!m_page)
        return;
    const QUrl base = folderBaseURL(baseURL);
    if (m_waitingForPage && base == m_preparedBase) {
        m_waitingForPage = false;
        m_html = html;
        if (m_state == State::ShellReady)
            writePage();
        return;
    }
    m_waitingForPage = false;
    ++m_loadNumber;
    m_pieces.clear();
    m_html = html;
    m_state = State::LoadingShell;
    m_page->setHtml(shellDocument(m_loadNumber), base);
}

void ReaderPageLoader::onShellLoadFinished(bool ok)
{
    if (m_state != State::LoadingShell)
        return;
    if (!ok) {
        // An abandoned shell also ends with !ok; a newer shell may still be on its way.
        if (m_page && m_page->isLoading())
            return;
        if (m_waitingForPage) {
            // Nothing to report yet: the page, when it comes, loads a shell of its own.
            m_waitingForPage = false;
            m_state = State::Idle;
            return;
        }
        fail(QStringLiteral("页面无法载入。"));
        return;
    }
    if (m_waitingForPage) {
        m_state = State::ShellReady;
        return;
    }
    writePage();
}

void ReaderPageLoader::writePage()
{
    m_state = State::Writing;
    m_pieces = pieces(m_html);
    m_firstScreen = FirstScreen::Waiting;
    writePiece(0);
}

void ReaderPageLoader::writePiece(qsizetype index)
{
    const quint64 loadNumber = m_loadNumber;
    const bool first = index == 0;
    const bool last = index == m_pieces.size() - 1;
    QPointer<ReaderPageLoader> self(this);
    m_page->runJavaScript(
        writeScript(loadNumber, m_pieces[index], first, last, m_lazyLayout, m_paced),
        [self, loadNumber, first, last](const QVariant &written) {
            if (!self || self->m_loadNumber != loadNumber || self->m_state != State::Writing)
                return;
            if (first && written.typeId() == QMetaType::Bool && !written.toBool()) {
                // The shell on screen is not this load's; its own loadFinished is still to
                // come, and the rest of the page is sent only after it.
                self->m_state = State::LoadingShell;
                return;
            }
            if (!written.toBool()) {
                self->fail(QStringLiteral("页面无法写入。"));
                return;
            }
            if (first && !last)
                self->writeRestAfterFirstScreen();
            if (!last)
                return;
            self->m_state = State::Idle;
            self->m_pieces.clear();
            self->m_html.clear();
            emit self->pageLoaded();
        });
    // One piece per turn of the event loop: preparing them all at once would keep this thread,
    // which also puts the engine's frames on screen, busy for a long page.
    if (!first && !last) {
        QTimer::singleShot(0, this, [this, loadNumber, next = index + 1] {
            if (loadNumber == m_loadNumber && m_state == State::Writing)
                writePiece(next);
        });
    }
}

// The rest of a long page waits until the engine has drawn the first screen: written at once,
// it keeps the engine parsing and holds that frame back. A page that is not on screen draws no
// frames, so the wait is short.
void ReaderPageLoader::writeRestAfterFirstScreen()
{
    const bool drawn = m_firstScreen == FirstScreen::Drawn;
    m_firstScreen = FirstScreen::Written;
    if (!m_paced || drawn) {
        writeRest(m_loadNumber);
        return;
    }
    QTimer::singleShot(firstScreenWait, this,
                       [this, loadNumber = m_loadNumber] { writeRest(loadNumber); });
}

void ReaderPageLoader::firstScreenDrawn(quint64 loadNumber)
{
    if (loadNumber != m_loadNumber || m_state != State::Writing)
        return;
    if (m_firstScreen == FirstScreen::Waiting)
        m_firstScreen = FirstScreen::Drawn; // before the first piece's answer
    else
        writeRest(loadNumber);
}

void ReaderPageLoader::writeRest(quint64 loadNumber)
{
    if (loadNumber != m_loadNumber || m_state != State::Writing ||
        m_firstScreen != FirstScreen::Written)
        return;
    m_firstScreen = FirstScreen::RestWritten;
    writePiece(1);
}

void ReaderPageLoader::fail(const QString &errorString)
{
    m_state = State::Idle;
    m_pieces.clear();
    m_html.clear();
    emit pageLoadFailed(errorString);
}
