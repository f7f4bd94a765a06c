// Test helpers around real web views showing reader pages.
#include "ReaderTestSupport.h"

#include "MarkdownRenderer.h"
#include "ReaderPane.h"
#include "ReaderScripts.h"

#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>

QVariant evaluateAndWait(QWebEnginePage *page, const QString &script)
{
    QVariant result;
    bool done = false;
    QEventLoop loop;
    page->runJavaScript(script, [&](const QVariant &value) {
        result = value;
        done = true;
        loop.quit();
    });
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    if (!done)
        loop.exec();
    return result;
}

namespace ReaderTestPages {

QString render(const QString &markdown, TarnTheme theme, const QString &title)
{
    return QString::fromStdU16String(
        MarkdownRenderer::render(markdown.toStdU16String(), theme, title.toStdU16String()).html);
}

QString observed(const QString &markdown, TarnTheme theme, const QString &title)
{
    return render(markdown, theme, title)
        .replace("<head>\n", "<head>\n<script>\nwindow.__scrollCalls = [];\n"
                             "const tarnTestScrollTo = window.scrollTo.bind(window);\n"
                             "window.scrollTo = (x, y) => { window.__scrollCalls.push(y); "
                             "tarnTestScrollTo(x, y); };\n</script>\n");
}

QString withoutDiagramLibrary(const QString &html)
{
    return QString(html).replace(QString::fromStdU16String(MarkdownRenderer::inlineMermaidScript()),
                                 QString());
}

QString neverReady(const QString &markdown)
{
    return observed(markdown).replace("window.tarnReadyDone = true;",
                                      "window.tarnReadyDone = false;");
}

QString headingAtTop(const QString &id)
{
    return QStringLiteral("(() => { const heading = document.getElementById('%1');"
                          "  const margin = parseFloat(getComputedStyle(heading).scrollMarginTop);"
                          "  return Math.abs(heading.getBoundingClientRect().top - margin) < 2;"
                          "})()")
        .arg(id);
}

QString longDocument(int sections)
{
    QString markdown = QStringLiteral("# Long document\n\n");
    for (int i = 1; i <= sections; ++i)
        markdown += QStringLiteral("## Part %1\n\n").arg(i) +
                    QStringLiteral("The alpha paragraph of part %1 goes on for a while so that "
                                   "it fills some lines of the reader's column.\n\n")
                        .arg(i)
                        .repeated(4);
    return markdown;
}

} // namespace ReaderTestPages

ReaderTestView::ReaderTestView()
    : loader(page())
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

QList<QVariantMap> ReaderTestView::messagesOfType(const QString &type) const
{
    QList<QVariantMap> matching;
    for (const QVariantMap &message : messages) {
        if (message.value(QStringLiteral("type")) == type)
            matching.append(message);
    }
    return matching;
}

MarkdownWebView BridgeHarness::value()
{
    BridgeHarness *self = this;
    MarkdownWebView value;
    value.html = html;
    value.baseURL = baseURL;
    value.searchQuery = searchQuery;
    value.searchNavigationRequest.get = [self] { return self->request; };
    value.searchNavigationRequest.set = [self](const auto &newValue) { self->request = newValue; };
    value.currentHeadingID.get = [self] { return self->headingID; };
    value.currentHeadingID.set = [self](const QString &id) {
        self->headingID = id;
        self->calls.append(QStringLiteral("heading:") + id);
    };
    value.scrollTargetID.get = [self] { return self->scrollTarget; };
    value.scrollTargetID.set = [self](const auto &newValue) { self->scrollTarget = newValue; };
    value.initialScrollY = initialScrollY;
    value.onScroll = [self](double y) {
        self->calls.append(QStringLiteral("scroll:") + QString::number(y, 'g', 17));
    };
    value.onSearchResults = [self](int current, int total) {
        self->calls.append(QStringLiteral("search:%1/%2").arg(current).arg(total));
    };
    value.onOpenLink = [self](const QUrl &url) {
        self->calls.append(QStringLiteral("link:") + url.toString());
    };
    return value;
}

bool BridgeHarness::show(int timeoutMs)
{
    coordinator = new MarkdownWebViewCoordinator;
    view.reset(coordinator->makeView(value()));
    coordinator->setParent(view.get());
    view->resize(900, 700);
    view->show();
    return timeoutMs <= 0 || waitForReady(timeoutMs);
}

bool BridgeHarness::waitForReady(int timeoutMs)
{
    QSignalSpy ready(coordinator, &MarkdownWebViewCoordinator::pageReady);
    return ready.wait(timeoutMs);
}

void BridgeHarness::post(const QString &objectLiteral)
{
    eval(QStringLiteral("window.webkit.messageHandlers.tarn.postMessage(%1); true;")
             .arg(objectLiteral));
}

PaneHarness::PaneHarness()
{
    pane = std::make_unique<ReaderPane>(*model);
    pane->resize(1100, 700);
    pane->show();
}

PaneHarness::~PaneHarness() = default;

QUrl PaneHarness::file(const QString &name, const QString &text) const
{
    QFile out(dir.filePath(name));
    if (!out.open(QIODevice::WriteOnly))
        return {};
    out.write(text.toUtf8());
    return QUrl::fromLocalFile(out.fileName());
}

bool PaneHarness::open(const QUrl &url, int timeoutMs)
{
    QSignalSpy ready(pane.get(), &ReaderPane::pageReady);
    model->openURLs({url}, true);
    return ready.wait(timeoutMs);
}

TarnWebView *PaneHarness::view() const
{
    return pane->currentView();
}
