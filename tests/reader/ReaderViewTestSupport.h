// Shared pieces of the reader view tests: a bridge fed from plain test state, a reader pane on a
// real model with files in a temporary folder, and reader pages made for observing the host.
#pragma once

#include "AppModel.h"
#include "MarkdownWebView.h"
#include "ModelFixture.h"
#include "TarnUsageLogger.h"
#include "TarnWebView.h"

#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

class ReaderPane;

namespace ReaderViewPages {

// The reader page of `markdown`, with a recorder of the host's window.scrollTo calls in
// window.__scrollCalls.
QString observed(const QString &markdown, TarnTheme theme = TarnTheme::businessBlue,
                 const QString &title = QStringLiteral("Tarn"));
// The same page with a script that never reports ready.
QString neverReady(const QString &markdown);
// A script that is true when the heading with this id sits at the top of the view, as far as
// its scroll margin lets it.
QString headingAtTop(const QString &id);
// A document tall enough to scroll, with "alpha" in every section.
QString longDocument(int sections = 40);

} // namespace ReaderViewPages

// The state a reader pane would hand the bridge, kept in plain fields, with what the bridge
// calls back recorded in order as "heading:ID", "scroll:Y", "search:CURRENT/TOTAL", "link:URL".
class BridgeHarness
{
public:
    BridgeHarness();
    ~BridgeHarness();

    MarkdownWebView value();
    // Makes the view for the current state and waits until its page is ready.
    bool show(int timeoutMs = 30000);
    // Runs a bridge update with the current state.
    void update();
    bool waitForReady(int timeoutMs = 30000);
    // Evaluates a script and waits for its value.
    QVariant eval(const QString &script);
    // Posts `objectLiteral` on the page's tarn channel, as the page script does.
    void post(const QString &objectLiteral);

    QString html;
    std::optional<QUrl> baseURL;
    QString searchQuery;
    std::optional<SearchNavigationRequest> request;
    QString headingID;
    std::optional<QString> scrollTarget;
    double initialScrollY = 0;
    QStringList calls;

    MarkdownWebViewCoordinator *coordinator = nullptr;
    std::unique_ptr<TarnWebView> view;
    int readyCount = 0;
};

// A real model on settings and files in a temporary folder, with a reader pane showing it.
class PaneHarness : public ModelFixture
{
public:
    PaneHarness();

    // Writes `text` to `name` in the folder and returns its URL.
    QUrl file(const QString &name, const QString &text) const;
    // Opens the file as a tab and waits until its page is ready.
    bool open(const QUrl &url, int timeoutMs = 30000);
    TarnWebView *view() const;
    QVariant eval(const QString &script);

    // Destroyed before the model it shows.
    std::unique_ptr<ReaderPane> pane;
};

// The other test classes of this binary.
int runReaderPaneTests(int argc, char *argv[]);
int runReaderWebViewTests(int argc, char *argv[]);

// Evaluates a script in `page` and waits for its value.
QVariant evaluateAndWait(QWebEnginePage *page, const QString &script);
