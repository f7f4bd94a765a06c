// Shared pieces of the reader tests: reader pages made by the real renderer, the bridge fed from
// plain state, and one main for every web test object.
#pragma once

#include "MarkdownRenderer.h"
#include "MarkdownWebView.h"
#include "TarnWebView.h"

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

// Spins the event loop until `done` or the time-out (QTest::qWaitFor can overrun by seconds).
inline bool waitUntil(const std::function<bool()> &done, int timeoutMs = 30000)
{
    QTimer tick; // wakes the loop to look at the clock
    tick.start(10);
    for (QDeadlineTimer deadline(timeoutMs); !done();
         QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents)) {
        if (deadline.hasExpired())
            return false;
    }
    return true;
}

// Evaluates a script in `page` and waits for its value.
inline QVariant evaluateAndWait(QWebEnginePage *page, const QString &script)
{
    // Shared, so that an answer after the time-out has somewhere to go.
    auto result = std::make_shared<std::optional<QVariant>>();
    page->runJavaScript(script, [result](const QVariant &value) { *result = value; });
    waitUntil([&] { return result->has_value(); }, 60000);
    return result->value_or(QVariant());
}

namespace ReaderTestPages {

// The reader page of `markdown`, made by the real renderer.
inline QString render(const QString &markdown, TarnTheme theme = TarnTheme::businessBlue)
{
    return QString::fromStdU16String(
        MarkdownRenderer::render(markdown.toStdU16String(), theme).html);
}

// The same with a recorder of the host's window.scrollTo calls in window.__scrollCalls.
inline QString observed(const QString &markdown)
{
    return render(markdown).replace("<head>\n",
                                    "<head>\n<script>\nwindow.__scrollCalls = [];\n"
                                    "const tarnTestScrollTo = window.scrollTo.bind(window);\n"
                                    "window.scrollTo = (x, y) => { window.__scrollCalls.push(y); "
                                    "tarnTestScrollTo(x, y); };\n</script>\n");
}

// A document tall enough to scroll, with "alpha" in every section.
inline QString longDocument(int sections = 40)
{
    const QString paragraph("The alpha paragraph of part %1 goes on for a while so that it fills "
                            "some lines of the reader's column.\n\n");
    QString markdown = "# Long document\n\n";
    for (int i = 1; i <= sections; ++i)
        markdown += QStringLiteral("## Part %1\n\n").arg(i) + paragraph.arg(i).repeated(4);
    return markdown;
}

} // namespace ReaderTestPages

// The state a reader pane would hand the bridge, in plain fields, with what the bridge calls back
// recorded in order as "heading:ID", "scroll:Y", "search:CURRENT/TOTAL", "link:URL".
class BridgeHarness
{
public:
    // Makes the view for the current state and `page`, and waits until it is ready (0: no wait).
    bool show(const QString &page, int timeoutMs = 30000)
    {
        html = page;
        coordinator = new MarkdownWebViewCoordinator;
        view.reset(coordinator->makeView(value()));
        view->readiness().setDeadline(readinessDeadline);
        coordinator->setParent(view.get());
        QObject::connect(&view->messageChannel(), &TarnMessageChannel::messageReceived, view.get(),
                         [this](const QVariantMap &body) {
                             if (body.value("type") == "search")
                                 searchReports.append(QStringLiteral("%1:%2/%3")
                                                          .arg(body.value("query").toString(),
                                                               body.value("current").toString(),
                                                               body.value("total").toString()));
                         });
        view->resize(900, 700);
        view->show();
        return timeoutMs <= 0 || waitForReady(timeoutMs);
    }
    void update() { coordinator->updateView(view.get(), value()); }
    bool waitForReady(int timeoutMs = 30000)
    {
        QSignalSpy ready(coordinator, &MarkdownWebViewCoordinator::pageReady);
        return ready.wait(timeoutMs);
    }
    QVariant eval(const QString &script) { return evaluateAndWait(view->page(), script); }
    // Posts an object literal on the page's tarn channel, as the page script does.
    void post(const QString &literal)
    {
        eval("webkit.messageHandlers.tarn.postMessage(" + literal + ")");
    }
    // Posts a marker and waits for it: messages arrive in order, so all before it were handled.
    bool sync()
    {
        post(QStringLiteral("{type: 'heading', id: 'sync marker'}"));
        const bool arrived = waitUntil([this] { return calls.contains("heading:sync marker"); });
        calls.removeAll(QStringLiteral("heading:sync marker"));
        return arrived;
    }

    QString html;
    std::optional<QUrl> baseURL;
    QString searchQuery;
    std::optional<SearchNavigationRequest> request;
    double initialScrollY = 0;
    std::chrono::milliseconds readinessDeadline = PageReadiness::defaultDeadline;
    QStringList calls;
    // The page's own search reports, "QUERY:CURRENT/TOTAL", before the bridge sorts them out.
    QStringList searchReports;
    MarkdownWebViewCoordinator *coordinator = nullptr;
    std::unique_ptr<TarnWebView> view;

private:
    MarkdownWebView value()
    {
        auto record = [this](const QString &call) { calls.append(call); };
        return {.html = html,
                .baseURL = baseURL,
                .searchQuery = searchQuery,
                .searchNavigationRequest = {[this] { return request; },
                                            [this](const auto &newValue) { request = newValue; }},
                .currentHeadingID = {{}, [record](const QString &id) { record("heading:" + id); }},
                .scrollTargetID = {},
                .initialScrollY = initialScrollY,
                .onScroll = [record](double y) { record("scroll:" + QString::number(y, 'g', 17)); },
                .onSearchResults =
                    [record](int current, int total) {
                        record(QStringLiteral("search:%1/%2").arg(current).arg(total));
                    },
                .onOpenLink = [record](const QUrl &url) { record("link:" + url.toString()); }};
    }
};

// The test objects of this binary; main starts the engine the way the program does (no sandbox
// for root) and runs them all in one process.
QList<int (*)(int argc, char **argv)> &webTests();
template<typename Test> int runWebTest(int argc, char **argv)
{
    Test test;
    return QTest::qExec(&test, argc, argv);
}
#define TARN_WEB_TEST(Test)                                                                        \
    static const bool registered##Test = (webTests().append(&runWebTest<Test>), true)
