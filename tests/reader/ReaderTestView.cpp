// Test helpers around a real web view showing reader pages.
#include "ReaderTestView.h"

#include "MarkdownRenderer.h"
#include "ReaderScripts.h"

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

ReaderTestView::ReaderTestView(QWidget *parent)
    : QWebEngineView(parent)
    , loader(page())
    , channel(page())
{
    resize(900, 700);
    show();
    connect(&channel, &TarnMessageChannel::messageReceived, this,
            [this](const QVariantMap &body) { messages.append(body); });
}

bool ReaderTestView::loadPage(const QString &html, const QUrl &baseURL, int timeoutMs)
{
    messages.clear();
    QSignalSpy loaded(&loader, &ReaderPageLoader::pageLoaded);
    loader.load(html, baseURL);
    if (!loaded.wait(timeoutMs))
        return false;
    for (int attempt = 0; attempt < 300; ++attempt) {
        if (eval(QString::fromLatin1(ReaderScripts::readinessTest)).toBool())
            return true;
        QTest::qWait(100);
    }
    return false;
}

QVariant ReaderTestView::eval(const QString &script)
{
    QVariant result;
    QEventLoop loop;
    bool done = false;
    page()->runJavaScript(script, [&](const QVariant &value) {
        result = value;
        done = true;
        loop.quit();
    });
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    if (!done)
        loop.exec();
    return result;
}

QList<QVariantMap> ReaderTestView::messagesOfType(const QString &type) const
{
    QList<QVariantMap> matching;
    for (const QVariantMap &message : messages) {
        if (message.value(QStringLiteral("type")) == type)
            matching.append(message);
    }
    return matching;
}

namespace ReaderTestPages {

QString render(const QString &markdown, const QString &title)
{
    const RenderedMarkdown page = MarkdownRenderer::render(
        markdown.toStdU16String(), TarnTheme::businessBlue, title.toStdU16String());
    return QString::fromStdU16String(page.html);
}

QString withoutDiagramLibrary(const QString &html)
{
    const QString library = QString::fromStdU16String(MarkdownRenderer::inlineMermaidScript());
    QString page = html;
    page.replace(library, QString());
    return page;
}

} // namespace ReaderTestPages
