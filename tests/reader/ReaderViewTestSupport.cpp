// Test helpers around the real reader view, bridge, model and pane.
#include "ReaderViewTestSupport.h"

#include "MarkdownRenderer.h"
#include "ReaderPane.h"

#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

namespace ReaderViewPages {

QString observed(const QString &markdown, TarnTheme theme, const QString &title)
{
    const RenderedMarkdown page =
        MarkdownRenderer::render(markdown.toStdU16String(), theme, title.toStdU16String());
    QString html = QString::fromStdU16String(page.html);
    html.replace(QStringLiteral("<head>\n"),
                 QStringLiteral("<head>\n<script>\n"
                                "window.__scrollCalls = [];\n"
                                "const tarnTestScrollTo = window.scrollTo.bind(window);\n"
                                "window.scrollTo = (x, y) => {\n"
                                "  window.__scrollCalls.push(y);\n"
                                "  tarnTestScrollTo(x, y);\n"
                                "};\n"
                                "</script>\n"));
    return html;
}

QString neverReady(const QString &markdown)
{
    QString html = observed(markdown);
    html.replace(QStringLiteral("window.tarnReadyDone = true;"),
                 QStringLiteral("window.tarnReadyDone = false;"));
    return html;
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
    for (int i = 1; i <= sections; ++i) {
        markdown += QStringLiteral("## Part %1\n\n").arg(i);
        markdown += QStringLiteral("The alpha paragraph of part %1 goes on for a while so that it "
                                   "fills some lines of the reader's column.\n\n")
                        .arg(i)
                        .repeated(4);
    }
    return markdown;
}

} // namespace ReaderViewPages

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
    QTimer::singleShot(30000, &loop, &QEventLoop::quit);
    if (!done)
        loop.exec();
    return result;
}

BridgeHarness::BridgeHarness() = default;

BridgeHarness::~BridgeHarness()
{
    view.reset();
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
    QObject::connect(coordinator, &MarkdownWebViewCoordinator::pageReady, coordinator,
                     [this] { ++readyCount; });
    view->resize(900, 700);
    view->show();
    return waitForReady(timeoutMs);
}

void BridgeHarness::update()
{
    coordinator->updateView(view.get(), value());
}

bool BridgeHarness::waitForReady(int timeoutMs)
{
    QSignalSpy ready(coordinator, &MarkdownWebViewCoordinator::pageReady);
    return ready.wait(timeoutMs);
}

QVariant BridgeHarness::eval(const QString &script)
{
    return evaluateAndWait(view->page(), script);
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

QVariant PaneHarness::eval(const QString &script)
{
    return evaluateAndWait(view()->page(), script);
}
