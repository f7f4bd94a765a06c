// What the reader pane shows in the reader web view, and the coordinator that keeps page and
// model in step: it loads changed pages, restores position and search after a load, pushes
// search, search steps and heading jumps into the page, and turns page messages into calls.
#pragma once

#include "AppModelTypes.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>

#include <functional>
#include <optional>

class TarnWebView;

// A model field the view reads now and may write later.
template<typename T> struct TarnBinding
{
    std::function<T()> get;
    std::function<void(const T &)> set;

    T value() const { return get ? get() : T(); }
    void assign(const T &newValue) const
    {
        if (set)
            set(newValue);
    }
};

// Rebuilt by the reader pane on every refresh.
struct MarkdownWebView
{
    QString html;
    std::optional<QUrl> baseURL; // the folder that holds the document
    QString searchQuery;
    TarnBinding<std::optional<SearchNavigationRequest>> searchNavigationRequest;
    TarnBinding<QString> currentHeadingID;
    TarnBinding<std::optional<QString>> scrollTargetID;
    double initialScrollY = 0;
    // The page's theme has the dark appearance: its scroll bars and controls go dark too.
    bool darkAppearance = false;
    std::function<void(double)> onScroll;
    std::function<void(int current, int total)> onSearchResults;
    std::function<void(const QUrl &)> onOpenLink;
};

// One per web view; it must not outlive the views it made (make it a child of the view).
class MarkdownWebViewCoordinator : public QObject
{
    Q_OBJECT

public:
    explicit MarkdownWebViewCoordinator(QObject *parent = nullptr);

    // A new view that receives this coordinator's page messages and loads `value`'s page. With
    // a null page, the view only prepares its load until updateView brings the page.
    TarnWebView *makeView(const MarkdownWebView &value, QWidget *parentWidget = nullptr);
    // After every refresh: reload when the page text changed, otherwise bring search, search
    // steps and heading jumps up to date.
    void updateView(TarnWebView *view, const MarkdownWebView &value);
    // Stops listening to the view's page; the view itself stays with its owner.
    void dismantleView(TarnWebView *view);

    // The value of the latest update.
    const MarkdownWebView &parentValue() const { return m_parent; }
    // The heading the page last reported since its last load, empty when none.
    const QString &lastReportedHeadingID() const { return m_lastReportedHeadingID; }

    void syncSearch(TarnWebView *view, const QString &query);
    void applySearch(TarnWebView *view, const QString &query, bool scrollToFirst);
    void moveSearch(TarnWebView *view, SearchNavigationDirection direction);
    void scrollToHeading(TarnWebView *view, const QString &id);

    // `text` as a JavaScript string literal (also a valid JSON string value).
    static QString jsLiteral(const QString &text);
    // "window.scrollTo(0, y);" with y in its shortest exact form, whole numbers as "1200.0".
    static QString restorePositionScript(double y);
    // Whether a query searches anything: its text without surrounding white space.
    static bool isSearchable(const QString &query);

    // Reloads after a renderer process died, at most this many times for one view.
    static constexpr int maximumCrashReloads = 3;

signals:
    // The steps after a load have run: the page was ready, or was waited for long enough.
    void pageReady(TarnWebView *view);

private:
    void didFinish(TarnWebView *view);
    // Restores search, a heading jump or the position once the page has said it is ready.
    void didBecomeReady(TarnWebView *view);
    void receive(const QVariantMap &body);

    void reloadAfterCrash(TarnWebView *view);

    MarkdownWebView m_parent;
    QString m_lastReportedHeadingID;
    std::optional<double> m_lastReportedScrollY;
    std::optional<QString> m_pendingHeadingID;
    int m_readyLoadCount = 0; // the view's load whose page is ready; 0: none yet
    int m_crashReloads = 0;
};
