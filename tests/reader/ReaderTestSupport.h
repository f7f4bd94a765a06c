// Shared pieces of the reader tests: reader pages made by the real renderer, the bridge fed from
// plain state, and one main for every web test object.
#pragma once

#include "MarkdownWebView.h"
#include "TarnTheme.h"
#include "TarnWebView.h"

#include <QSignalSpy>
#include <QTest>

#include <functional>

#include <memory>

// Evaluates a script in `page` and waits for its value.
QVariant evaluateAndWait(QWebEnginePage *page, const QString &script);
// Spins the event loop until `done` or the time-out. (QTest::qWaitFor can run on for seconds
// past its predicate while the engine keeps posting events.)
bool waitUntil(const std::function<bool()> &done, int timeoutMs = 30000);

namespace ReaderTestPages {

// The reader page of `markdown`, made by the real renderer.
QString render(const QString &markdown, TarnTheme theme = TarnTheme::businessBlue);
// The same with a recorder of the host's window.scrollTo calls in window.__scrollCalls.
QString observed(const QString &markdown);
// A document tall enough to scroll, with "alpha" in every section.
QString longDocument(int sections = 40);

} // namespace ReaderTestPages

// The state a reader pane would hand the bridge, in plain fields, with what the bridge calls back
// recorded in order as "heading:ID", "scroll:Y", "search:CURRENT/TOTAL", "link:URL".
class BridgeHarness
{
public:
    // Makes the view for the current state and waits until its page is ready (0: no wait).
    bool show(int timeoutMs = 30000);
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
    // Posts a marker and waits for it, then drops it: messages arrive in order, so everything
    // posted before it has been handled.
    bool sync();

    QString html;
    std::optional<QUrl> baseURL;
    QString searchQuery;
    std::optional<SearchNavigationRequest> request;
    double initialScrollY = 0;
    QStringList calls;
    MarkdownWebViewCoordinator *coordinator = nullptr;
    std::unique_ptr<TarnWebView> view;

private:
    MarkdownWebView value();
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
