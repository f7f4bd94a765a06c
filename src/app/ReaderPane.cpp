// Keeps one reader web view per recently shown document and feeds the shown one from the model.
#include "ReaderPane.h"

#include "AppModel.h"
#include "FlavorHintBar.h"
#include "MarkdownWebView.h"
#include "OutlinePane.h"
#include "PageNumbers.h"
#include "ScriptEvaluation.h"
#include "TarnDocument.h"
#include "TarnWebView.h"
#include "Utf16Text.h"
#include "WindowChrome.h"

#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

#include <malloc.h>

namespace {

// Documents at least this long are rendered on a worker thread while the engine loads the
// page's shell; shorter ones take a few milliseconds.
constexpr qsizetype backgroundRenderLength = 256 * 1024;

// The index of the first top-level block of the page that reaches below the top of the view.
// Blocks follow each other down the page, so a binary search finds it.
const QString firstVisibleBlockScript = QStringLiteral(R"((() => {
  const main = document.querySelector("main.tarn-document");
  if (!main) return -1;
  const items = main.children;
  let low = 0;
  let high = items.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (items[middle].getBoundingClientRect().bottom <= 0) low = middle + 1;
    else high = middle;
  }
  return low < items.length ? low : -1;
})())");

} // namespace

struct ReaderPane::Page
{
    QPointer<TarnDocument> document;
    TarnWebView *view = nullptr;                       // in the stack
    MarkdownWebViewCoordinator *coordinator = nullptr; // a child of the view
    // What the page was rendered from, so that refreshes do not render again, and what a
    // render running on a worker thread renders.
    std::optional<RenderInputs> rendered;
    std::optional<RenderInputs> rendering;
    // The heading to jump to once the page, redrawn in another flavour, is ready.
    QString headingAfterLoad;
    QString html;
    std::vector<TOCItem> toc;
    // The parser's tree of the last render, let go once the page is ready (see onPageReady).
    std::shared_ptr<void> parseTree;
};

ReaderPane::ReaderPane(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_hintBar(new FlavorHintBar(model, this))
    , m_stack(new QStackedWidget(this))
    , m_placeholder(new QWidget(m_stack))
    , m_outline(new OutlinePane(model, this))
{
    m_stack->addWidget(m_placeholder);
    // The hint takes a row of its own above the page, never a place over it.
    auto *column = new QVBoxLayout;
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_hintBar);
    column->addWidget(m_stack, 1);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(column, 1);
    layout->addWidget(m_outline);

    connect(&m_model, &AppModel::selectedDocumentChanged, this, &ReaderPane::refresh);
    connect(&m_model, &AppModel::tabsChanged, this, &ReaderPane::refresh);
    connect(&m_model, &AppModel::themeChanged, this, &ReaderPane::applyTheme);
    connect(&m_model, &AppModel::markdownFlavorChanged, this, [this] {
        rememberHeadingsForFlavor();
        refresh();
    });
    connect(&m_model, &AppModel::searchQueryChanged, this, &ReaderPane::refresh);
    connect(&m_model, &AppModel::searchNavigationRequestChanged, this, &ReaderPane::refresh);
    connect(&m_model, &AppModel::scrollTargetIDChanged, this, &ReaderPane::refresh);
    connect(&m_model, &AppModel::showOutlineChanged, this, &ReaderPane::refresh);
    applyTheme();
}

ReaderPane::~ReaderPane()
{
    // The views' callbacks refer to this pane; they go first.
    while (!m_pages.empty()) {
        delete m_pages.back()->view;
        m_pages.pop_back();
    }
}

TarnDocument *ReaderPane::document() const
{
    return m_current ? m_current->document.data() : nullptr;
}

TarnWebView *ReaderPane::currentView() const
{
    return m_current ? m_current->view : nullptr;
}

bool ReaderPane::isShown(const TarnDocument *document) const
{
    return document && m_model.selectedDocument() == document;
}

void ReaderPane::refresh()
{
    dropClosedPages();
    TarnDocument *document = m_model.selectedDocument();
    if (m_watchedDocument != document) {
        if (m_watchedDocument)
            disconnect(m_watchedDocument, &TarnDocument::contentChanged, this, nullptr);
        m_watchedDocument = document;
        if (document)
            connect(document, &TarnDocument::contentChanged, this, &ReaderPane::refresh);
    }
    if (!document) {
        m_current = nullptr;
        m_stack->setCurrentWidget(m_placeholder);
        m_outline->setOutline({});
        m_outline->setVisible(false);
        return;
    }

    Page &page = pageFor(document);
    const bool shownBefore = &page == m_current;
    m_current = &page;
    // A page still being made shows what it showed until then; a new one gets a view whose
    // shell loads meanwhile.
    if (renderIfNeeded(page) || !page.view)
        showPage(page, shownBefore);
    else
        m_stack->setCurrentWidget(page.view);
    m_outline->setOutline(page.toc, page.rendered.has_value());
    m_outline->setVisible(m_model.showOutline());

    while (m_pages.size() > std::size_t(maximumLoadedPages))
        dropPage(m_pages.front().get());
}

ReaderPane::Page *ReaderPane::findPage(const TarnDocument *document) const
{
    const auto found = std::find_if(m_pages.begin(), m_pages.end(), [document](const auto &page) {
        return page->document == document;
    });
    return found == m_pages.end() ? nullptr : found->get();
}

ReaderPane::Page &ReaderPane::pageFor(TarnDocument *document)
{
    auto found = std::find_if(m_pages.begin(), m_pages.end(),
                              [document](const auto &page) { return page->document == document; });
    if (found == m_pages.end()) {
        auto page = std::make_unique<Page>();
        page->document = document;
        m_pages.push_back(std::move(page));
        return *m_pages.back();
    }
    // Most recently shown last, so the oldest page goes first when there are too many.
    std::rotate(found, found + 1, m_pages.end());
    return *m_pages.back();
}

bool ReaderPane::renderIfNeeded(Page &page)
{
    const RenderInputs inputs{page.document->content(), m_model.theme(), m_model.markdownFlavor()};
    if (page.rendered == inputs)
        return true;
    const QString title = page.document->title();
    if (inputs.content.size() < backgroundRenderLength) {
        page.rendering.reset();
        takeRender(page, inputs, render(inputs, title));
        return true;
    }
    if (page.rendering != inputs) {
        page.rendering = inputs;
        auto *watcher = new QFutureWatcher<RenderedPage>(this);
        connect(watcher, &QFutureWatcherBase::finished, this,
                [this, watcher, document = page.document, inputs] {
                    watcher->deleteLater();
                    // The page may be gone, or a newer render may have replaced this one.
                    Page *done = document ? findPage(document) : nullptr;
                    if (!done || done->rendering != inputs)
                        return;
                    done->rendering.reset();
                    takeRender(*done, inputs, watcher->future().takeResult());
                    if (done == m_current)
                        refresh();
                });
        watcher->setFuture(QtConcurrent::run([inputs, title] { return render(inputs, title); }));
    }
    return false;
}

// The page's text becomes a QString on the thread that rendered it: 13 MB for a 5 MB document.
ReaderPane::RenderedPage ReaderPane::render(const RenderInputs &inputs, const QString &title)
{
    RenderedMarkdown rendered = MarkdownRenderer::render(u16View(inputs.content), inputs.theme,
                                                         title.toStdU16String(), inputs.flavor);
    return {QString::fromStdU16String(rendered.html), std::move(rendered.toc),
            std::move(rendered.parseTree)};
}

void ReaderPane::takeRender(Page &page, const RenderInputs &inputs, RenderedPage rendered)
{
    page.html = std::move(rendered.html);
    page.toc = std::move(rendered.toc);
    page.parseTree = std::move(rendered.parseTree);
    page.rendered = inputs;
}

MarkdownWebView ReaderPane::viewValue(const Page &page)
{
    TarnDocument *document = page.document;
    const QPointer<TarnDocument> weakDocument(document);
    AppModel *model = &m_model;

    MarkdownWebView value;
    value.html = page.html; // null while the page's first render runs
    if (!document->url().isEmpty())
        value.baseURL = document->baseURL();
    value.searchQuery = m_model.searchQuery();
    value.darkAppearance =
        WindowChrome::isDark(page.rendered ? page.rendered->theme : m_model.theme());
    value.searchNavigationRequest.get = [model] { return model->searchNavigationRequest(); };
    value.searchNavigationRequest.set = [model](const std::optional<SearchNavigationRequest> &r) {
        model->setSearchNavigationRequest(r);
    };
    value.currentHeadingID.get = [model] { return model->currentHeadingID(); };
    value.currentHeadingID.set = [this, weakDocument](const QString &id) {
        if (isShown(weakDocument))
            m_model.setCurrentHeadingID(id);
    };
    // A jump waits while a page loads: the steps after the load would undo it.
    value.scrollTargetID.get = [model, view = QPointer<TarnWebView>(page.view)] {
        return view && view->loader().isLoading() ? std::nullopt : model->scrollTargetID();
    };
    value.scrollTargetID.set = [model](const std::optional<QString> &id) {
        model->setScrollTargetID(id);
    };
    value.initialScrollY = document->scrollY();
    // A page kept loaded in the background still reports its own document's position.
    value.onScroll = [this, model, weakDocument](double y) {
        if (!weakDocument)
            return;
        model->rememberScroll(weakDocument, y);
        reportReadingBlock(weakDocument);
    };
    value.onSearchResults = [this, weakDocument](int current, int total) {
        if (isShown(weakDocument))
            m_model.updateSearchResults(current, total);
    };
    value.onOpenLink = [model, weakDocument](const QUrl &url) {
        if (weakDocument)
            model->openLink(url, weakDocument);
    };
    return value;
}

void ReaderPane::reportReadingBlock(TarnDocument *document)
{
    const auto found = std::find_if(m_pages.begin(), m_pages.end(), [document](const auto &page) {
        return page->document == document && page->view;
    });
    if (found == m_pages.end())
        return;
    evaluateScript((*found)->view->page(), firstVisibleBlockScript, (*found)->view,
                   [model = &m_model,
                    weakDocument = QPointer<TarnDocument>(document)](const ScriptOutcome &outcome) {
                       const std::optional<int> block = pageInt(outcome.value);
                       if (weakDocument && outcome.ok && block)
                           model->rememberReadingBlock(weakDocument, *block);
                   });
}

void ReaderPane::showPage(Page &page, bool shownBefore)
{
    const MarkdownWebView value = viewValue(page);
    if (!page.view) {
        page.coordinator = new MarkdownWebViewCoordinator;
        page.view = page.coordinator->makeView(value, m_stack);
        page.coordinator->setParent(page.view);
        // A step requested before this page existed was meant for another page.
        if (const auto request = m_model.searchNavigationRequest())
            page.view->setLastSearchNavigationRequestID(request->id);
        page.view->setPlaceholderColor(WindowChrome::background(m_model.theme()));
        page.view->setReaderZoomFactor(m_zoomFactor);
        connect(page.view, &TarnWebView::readerZoomFactorChanged, this, &ReaderPane::setZoomFactor);
        connect(page.coordinator, &MarkdownWebViewCoordinator::pageReady, this,
                [this, document = page.document] {
                    if (!document)
                        return;
                    Page *ready = findPage(document);
                    if (ready)
                        onPageReady(*ready);
                    emit pageReady(document);
                    // Freed only now, so that it does not hold up the first screen. A tree
                    // made on a worker thread lies in that thread's own heap, which keeps what
                    // is freed unless asked to give it back.
                    if ((ready = findPage(document)) && ready->parseTree) {
                        ready->parseTree.reset();
                        malloc_trim(0);
                    }
                });
        m_stack->addWidget(page.view);
        m_stack->setCurrentWidget(page.view);
        return;
    }

    m_stack->setCurrentWidget(page.view);
    const int loadsBefore = page.view->loadCount();
    page.coordinator->updateView(page.view, value);
    const bool reloading = page.view->loadCount() != loadsBefore || page.view->loader().isLoading();
    // Shown again in the flavour it was loaded in, it is still in place. (A page refreshed again
    // while its new load waits to be ready keeps its heading to come back to.)
    if (!reloading && !shownBefore)
        page.headingAfterLoad.clear();
    else if (!page.headingAfterLoad.isEmpty() || m_model.scrollTargetID())
        page.view->setPendingInitialScrollY(0); // the heading wins over a pixel offset
    if (shownBefore || reloading)
        return;

    // A page shown again kept its marks and heading, but the model forgot both when the tab
    // changed: have the page report its hits again (without jumping) and restore the heading.
    const QString query = m_model.searchQuery();
    if (page.view->lastSearchQuery() == query && MarkdownWebViewCoordinator::isSearchable(query))
        page.coordinator->applySearch(page.view, query, false);
    const QString heading = page.coordinator->lastReportedHeadingID();
    if (!heading.isEmpty()) {
        QTimer::singleShot(0, page.view, [this, heading, document = page.document] {
            if (isShown(document))
                m_model.setCurrentHeadingID(heading);
        });
    }
}

void ReaderPane::rememberHeadingsForFlavor()
{
    for (const auto &page : m_pages) {
        if (page.get() != m_current && page->coordinator &&
            !page->coordinator->lastReportedHeadingID().isEmpty())
            page->headingAfterLoad = page->coordinator->lastReportedHeadingID();
    }
}

void ReaderPane::onPageReady(Page &page)
{
    QString heading = std::exchange(page.headingAfterLoad, QString());
    if (&page == m_current && isShown(page.document)) {
        // The model's jump, held back while the page loaded.
        if (const auto target = m_model.scrollTargetID()) {
            heading = *target;
            m_model.setScrollTargetID(std::nullopt);
        }
    }
    if (!heading.isEmpty())
        page.coordinator->scrollToHeading(page.view, heading);
}

void ReaderPane::dropClosedPages()
{
    const QList<TarnDocument *> tabs = m_model.tabs();
    for (std::size_t i = m_pages.size(); i-- > 0;) {
        Page *page = m_pages[i].get();
        if (!page->document || !tabs.contains(page->document.data()))
            dropPage(page);
    }
}

void ReaderPane::dropPage(Page *page)
{
    if (m_current == page)
        m_current = nullptr;
    if (page->view) {
        // No more messages from a page on its way out.
        page->coordinator->dismantleView(page->view);
        m_stack->removeWidget(page->view);
        // Its coordinator may be inside one of its own callbacks.
        page->view->deleteLater();
    }
    std::erase_if(m_pages, [page](const auto &kept) { return kept.get() == page; });
}

void ReaderPane::applyTheme()
{
    const QColor background = WindowChrome::background(m_model.theme());
    WindowChrome::fillBackground(this, background);
    WindowChrome::fillBackground(m_placeholder, background);
    for (const auto &page : m_pages) {
        if (page->view)
            page->view->setPlaceholderColor(background);
    }
    refresh();
}

void ReaderPane::setZoomFactor(double factor)
{
    m_zoomFactor = factor;
    for (const auto &page : m_pages) {
        if (page->view)
            page->view->setReaderZoomFactor(factor);
    }
}
