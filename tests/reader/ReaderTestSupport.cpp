// Test helpers around real web views showing reader pages, and the main of the web tests.
#include "ReaderTestSupport.h"

#include "MarkdownRenderer.h"
#include "WebEngineProcess.h"

#include <QApplication>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>

QVariant evaluateAndWait(QWebEnginePage *page, const QString &script)
{
    // Shared, so that an answer after the time-out has somewhere to go.
    auto result = std::make_shared<std::optional<QVariant>>();
    QEventLoop loop;
    page->runJavaScript(script, [result, waiting = QPointer(&loop)](const QVariant &value) {
        *result = value;
        if (waiting)
            waiting->quit();
    });
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    if (!result->has_value())
        loop.exec();
    return result->value_or(QVariant());
}

bool waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    for (QDeadlineTimer deadline(timeoutMs); !done(); QTest::qWait(10)) {
        if (deadline.hasExpired())
            return false;
    }
    return true;
}

namespace ReaderTestPages {

QString render(const QString &markdown, TarnTheme theme)
{
    return QString::fromStdU16String(
        MarkdownRenderer::render(markdown.toStdU16String(), theme).html);
}

QString observed(const QString &markdown)
{
    return render(markdown).replace("<head>\n",
                                    "<head>\n<script>\nwindow.__scrollCalls = [];\n"
                                    "const tarnTestScrollTo = window.scrollTo.bind(window);\n"
                                    "window.scrollTo = (x, y) => { window.__scrollCalls.push(y); "
                                    "tarnTestScrollTo(x, y); };\n</script>\n");
}

QString longDocument(int sections)
{
    const QString paragraph("The alpha paragraph of part %1 goes on for a while so that it fills "
                            "some lines of the reader's column.\n\n");
    QString markdown = "# Long document\n\n";
    for (int i = 1; i <= sections; ++i)
        markdown += QStringLiteral("## Part %1\n\n").arg(i) + paragraph.arg(i).repeated(4);
    return markdown;
}

} // namespace ReaderTestPages

MarkdownWebView BridgeHarness::value()
{
    BridgeHarness *self = this;
    auto record = [self](const QString &call) { self->calls.append(call); };
    MarkdownWebView value;
    value.html = html;
    value.baseURL = baseURL;
    value.searchQuery = searchQuery;
    value.searchNavigationRequest.get = [self] { return self->request; };
    value.searchNavigationRequest.set = [self](const auto &newValue) { self->request = newValue; };
    value.currentHeadingID.set = [record](const QString &id) { record("heading:" + id); };
    value.initialScrollY = initialScrollY;
    value.onScroll = [record](double y) { record("scroll:" + QString::number(y, 'g', 17)); };
    value.onSearchResults = [record](int current, int total) {
        record(QStringLiteral("search:%1/%2").arg(current).arg(total));
    };
    value.onOpenLink = [record](const QUrl &url) { record("link:" + url.toString()); };
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

bool BridgeHarness::sync()
{
    post(QStringLiteral("{type: 'heading', id: 'sync marker'}"));
    const bool arrived = waitUntil([this] { return calls.contains("heading:sync marker"); });
    calls.removeAll(QStringLiteral("heading:sync marker"));
    return arrived;
}

QList<int (*)(int, char **)> &webTests()
{
    static QList<int (*)(int, char **)> tests;
    return tests;
}

int main(int argc, char *argv[])
{
    configureWebEngineForProcess();
    QApplication app(argc, argv);
    int status = 0;
    for (const auto run : webTests())
        status |= run(argc, argv);
    return status;
}
