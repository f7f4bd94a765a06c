// The reader bridge: page loads only on change, post-load restore, search and jump scripts,
// and the page's "tarn" messages turned into model calls one main-loop turn later.
#include "MarkdownWebView.h"

#include "PageNumbers.h"
#include "ReaderScripts.h"
#include "TarnWebView.h"

#include <QLocale>
#include <QPointer>
#include <QTimer>
#include <QWebEnginePage>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Model changes caused by the page wait for the next main-loop turn, so the model never
// changes while the view is being updated.
template<typename Function> void later(QObject *context, Function function)
{
    QTimer::singleShot(0, context, std::move(function));
}

// A view that is gone, or being destroyed, reads as null. A page being destroyed answers its
// pending scripts from inside the view's destructor, when the view is no TarnWebView any more
// and a QPointer<TarnWebView> could not even be read.
class ViewGuard
{
public:
    explicit ViewGuard(TarnWebView *view)
        : m_object(view)
    {}
    TarnWebView *get() const { return qobject_cast<TarnWebView *>(m_object.data()); }
    explicit operator bool() const { return get() != nullptr; }
    TarnWebView *operator->() const { return get(); }

private:
    QPointer<QObject> m_object;
};

} // namespace

MarkdownWebViewCoordinator::MarkdownWebViewCoordinator(QObject *parent)
    : QObject(parent)
{
    qRegisterMetaType<TarnWebView *>();
}

TarnWebView *MarkdownWebViewCoordinator::makeView(const MarkdownWebView &value,
                                                  QWidget *parentWidget)
{
    m_parent = value;
    auto *view = new TarnWebView(parentWidget);
    const ViewGuard weakView(view);
    connect(&view->messageChannel(), &TarnMessageChannel::messageReceived, this,
            &MarkdownWebViewCoordinator::receive);
    connect(&view->loader(), &ReaderPageLoader::pageLoaded, this, [this, weakView] {
        if (weakView)
            didFinish(weakView.get());
    });
    // Whatever the outcome, the page is used as it is now: a failed check or a page that never
    // says it is ready would not be helped by waiting longer.
    connect(&view->readiness(), &PageReadiness::finished, this, [this, weakView] {
        if (!weakView)
            return;
        later(this, [this, weakView, loadNumber = weakView->loadCount()] {
            if (weakView && weakView->loadCount() == loadNumber)
                didBecomeReady(weakView.get());
        });
    });
    connect(view->page(), &QWebEnginePage::renderProcessTerminated, this,
            [this, weakView](QWebEnginePage::RenderProcessTerminationStatus status) {
                if (weakView && status != QWebEnginePage::NormalTerminationStatus)
                    later(this, [this, weakView] {
                        if (weakView)
                            reloadAfterCrash(weakView.get());
                    });
            });
    view->setPendingInitialScrollY(value.initialScrollY);
    view->setLastHTML(value.html);
    // A page still being made (null HTML) has its shell loaded meanwhile; updateView brings it.
    if (value.html.isNull())
        view->loader().prepare(value.baseURL.value_or(QUrl()));
    else
        view->loadPage(value.html, value.baseURL);
    return view;
}

void MarkdownWebViewCoordinator::reloadAfterCrash(TarnWebView *view)
{
    // A renderer process that died (killed, out of memory) leaves the view blank: load the
    // same page again where the reader was. A page that keeps killing the engine is given up.
    if (m_crashReloads >= maximumCrashReloads)
        return;
    ++m_crashReloads;
    view->setPendingInitialScrollY(m_lastReportedScrollY.value_or(m_parent.initialScrollY));
    view->loadPage(view->lastHTML(), m_parent.baseURL);
}

void MarkdownWebViewCoordinator::updateView(TarnWebView *view, const MarkdownWebView &value)
{
    m_parent = value;
    // A heading jump asked for while the page loads (a link into another file) waits for it.
    if (const auto target = value.scrollTargetID.value()) {
        m_pendingHeadingID = *target;
        later(this, [binding = value.scrollTargetID] { binding.assign(std::nullopt); });
    }
    if (view->lastHTML() != value.html) {
        view->setLastHTML(value.html);
        view->setPendingInitialScrollY(value.initialScrollY);
        m_lastReportedHeadingID.clear();
        view->loadPage(value.html, value.baseURL);
        // Search, steps and jumps wait for the page: the steps after the load apply the query.
        return;
    }

    syncSearch(view, value.searchQuery);

    if (const auto request = value.searchNavigationRequest.value();
        request && view->lastSearchNavigationRequestID() != request->id) {
        view->setLastSearchNavigationRequestID(request->id);
        moveSearch(view, request->direction);
        // Clear only the request handled here: a newer one that arrived meanwhile must stay.
        later(this, [binding = value.searchNavigationRequest, handled = request->id] {
            const auto pending = binding.value();
            if (pending && pending->id == handled)
                binding.assign(std::nullopt);
        });
    }

    if (m_pendingHeadingID && m_readyLoadCount == view->loadCount())
        scrollToHeading(view, *std::exchange(m_pendingHeadingID, std::nullopt));
}

void MarkdownWebViewCoordinator::dismantleView(TarnWebView *view)
{
    disconnect(&view->messageChannel(), nullptr, this, nullptr);
    disconnect(&view->loader(), nullptr, this, nullptr);
    disconnect(&view->readiness(), nullptr, this, nullptr);
}

void MarkdownWebViewCoordinator::didFinish(TarnWebView *view)
{
    // The page's "color-scheme: light dark" follows the engine's preference, which is always
    // light here; the host gives the root element the window's appearance instead.
    if (m_parent.darkAppearance)
        view->evaluate(QStringLiteral("document.documentElement.style.colorScheme = \"dark\";"));
}

void MarkdownWebViewCoordinator::didBecomeReady(TarnWebView *view)
{
    m_readyLoadCount = view->loadCount();
    const QString query = m_parent.searchQuery;
    view->setLastSearchQuery(query);
    const bool searching = isSearchable(query);
    // An empty query is applied too: the page then reports 0 of 0.
    applySearch(view, query, searching);
    // A heading jump wins over the first hit, which wins over the remembered position.
    if (m_pendingHeadingID) {
        view->setPendingInitialScrollY(0);
        scrollToHeading(view, *std::exchange(m_pendingHeadingID, std::nullopt));
    } else if (!searching && view->pendingInitialScrollY() > 0) {
        const double y = view->pendingInitialScrollY();
        view->setPendingInitialScrollY(0);
        view->evaluate(restorePositionScript(y));
    }
    emit pageReady(view);
}

void MarkdownWebViewCoordinator::syncSearch(TarnWebView *view, const QString &query)
{
    if (query == view->lastSearchQuery())
        return;
    view->setLastSearchQuery(query);
    applySearch(view, query, isSearchable(query));
}

void MarkdownWebViewCoordinator::applySearch(TarnWebView *view, const QString &query,
                                             bool scrollToFirst)
{
    view->evaluate(QStringLiteral("window.tarnApplySearch(") + jsLiteral(query) +
                   QStringLiteral(", { scrollToFirst: ") +
                   (scrollToFirst ? QStringLiteral("true") : QStringLiteral("false")) +
                   QStringLiteral(" });"));
}

void MarkdownWebViewCoordinator::moveSearch(TarnWebView *view, SearchNavigationDirection direction)
{
    view->evaluate(QStringLiteral("window.tarnMoveSearch(") + jsLiteral(rawValue(direction)) +
                   QStringLiteral(");"));
}

void MarkdownWebViewCoordinator::scrollToHeading(TarnWebView *view, const QString &id)
{
    view->evaluate(QStringLiteral("window.tarnScrollTo(") + jsLiteral(id) + QStringLiteral(");"));
}

QString MarkdownWebViewCoordinator::jsLiteral(const QString &text)
{
    // Escapes quotes, backslashes, controls, line separators and lone surrogates, so the
    // result is both a JavaScript literal and a JSON string, and cannot fail.
    return ReaderScripts::stringLiteral(text);
}

QString MarkdownWebViewCoordinator::restorePositionScript(double y)
{
    QString number = QString::number(y, 'g', QLocale::FloatingPointShortest);
    if (std::isfinite(y) && !number.contains(u'.') && !number.contains(u'e'))
        number += QStringLiteral(".0");
    return QStringLiteral("window.scrollTo(0, ") + number + QStringLiteral(");");
}

bool MarkdownWebViewCoordinator::isSearchable(const QString &query)
{
    return !query.trimmed().isEmpty();
}

void MarkdownWebViewCoordinator::receive(const QVariantMap &body)
{
    const QVariant type = body.value(QStringLiteral("type"));
    if (type.typeId() != QMetaType::QString)
        return;
    const QString kind = type.toString();

    if (kind == QLatin1String("heading")) {
        const QVariant id = body.value(QStringLiteral("id"));
        if (id.typeId() != QMetaType::QString)
            return;
        m_lastReportedHeadingID = id.toString();
        later(this,
              [binding = m_parent.currentHeadingID, id = id.toString()] { binding.assign(id); });
    } else if (kind == QLatin1String("scroll")) {
        const QVariant y = body.value(QStringLiteral("y"));
        // Whole numbers may arrive as integers; both reach the model as doubles.
        if (!isPageNumber(y))
            return;
        m_lastReportedScrollY = y.toDouble();
        if (m_parent.onScroll)
            later(this, [callback = m_parent.onScroll, y = y.toDouble()] { callback(y); });
    } else if (kind == QLatin1String("search")) {
        // A report on a query the field no longer holds is dropped: the newer one's is coming.
        const QVariant query = body.value(QStringLiteral("query"));
        if (query.typeId() == QMetaType::QString && query.toString() != m_parent.searchQuery)
            return;
        const int current = pageInt(body.value(QStringLiteral("current"))).value_or(0);
        const int total = pageInt(body.value(QStringLiteral("total"))).value_or(0);
        if (!m_parent.onSearchResults)
            return;
        later(this,
              [callback = m_parent.onSearchResults, current, total] { callback(current, total); });
    } else if (kind == QLatin1String("openLink")) {
        const QVariant href = body.value(QStringLiteral("href"));
        if (href.typeId() != QMetaType::QString)
            return;
        // Chromium leaves some characters unescaped in what it reports (|, ^, spaces).
        const QUrl url(href.toString(), QUrl::TolerantMode);
        if (!url.isValid() || url.isEmpty() || !m_parent.onOpenLink)
            return;
        later(this, [callback = m_parent.onOpenLink, url] { callback(url); });
    }
}
