// The reading area: the selected document's page in the reader web view, with the outline.
#pragma once

#include "MarkdownRenderer.h"
#include "TarnDocument.h"
#include "TarnTheme.h"

#include <QPointer>
#include <QString>
#include <QWidget>

#include <memory>
#include <optional>
#include <vector>

class AppModel;
class FlavorHintBar;
class MarkdownWebViewCoordinator;
class OutlinePane;
class QStackedWidget;
class TarnWebView;
struct MarkdownWebView;

// Shows the saved text (`content`, not the draft) of the model's selected document, rendered
// with the model's theme and flavour, and keeps the page in step with the model's search, outline
// jumps and current heading. The pages of the last few documents shown stay loaded, so switching
// back to an unchanged tab shows its page as it was left instead of loading it again.
class ReaderPane : public QWidget
{
    Q_OBJECT

public:
    // Pages kept loaded, the shown one included.
    static constexpr int maximumLoadedPages = 3;

    explicit ReaderPane(AppModel &model, QWidget *parent = nullptr);
    ~ReaderPane() override;

    // The document shown, or null when the model has none selected.
    TarnDocument *document() const;
    // The web view showing it, or null.
    TarnWebView *currentView() const;
    OutlinePane *outlinePane() const { return m_outline; }
    FlavorHintBar *flavorHintBar() const { return m_hintBar; }
    int loadedPageCount() const { return int(m_pages.size()); }
    // The zoom all pages share; Ctrl+plus, Ctrl+minus, Ctrl+0 and Ctrl+wheel change it.
    double zoomFactor() const { return m_zoomFactor; }

signals:
    // `document`'s page has been loaded and its search or reading position restored.
    void pageReady(TarnDocument *document);

private:
    struct Page;
    // What a page is rendered from.
    struct RenderInputs
    {
        QString content;
        TarnTheme theme = TarnTheme::businessBlue;
        MarkdownFlavor flavor = MarkdownFlavor::classic;
        friend bool operator==(const RenderInputs &, const RenderInputs &) = default;
    };

    void refresh();
    Page &pageFor(TarnDocument *document);
    Page *findPage(const TarnDocument *document) const;
    // Renders the page for the model's current inputs unless it already is. A long document
    // renders on a worker thread: then this returns false, and the page is refreshed when the
    // render is done.
    bool renderIfNeeded(Page &page);
    // A render's result as the page keeps it.
    struct RenderedPage
    {
        QString html;
        std::vector<TOCItem> toc;
        std::shared_ptr<void> parseTree;
    };
    static RenderedPage render(const RenderInputs &inputs, const QString &title);
    static void takeRender(Page &page, const RenderInputs &inputs, RenderedPage rendered);
    MarkdownWebView viewValue(const Page &page);
    void showPage(Page &page, bool wasShownBefore);
    void dropClosedPages();
    void dropPage(Page *page);
    void applyTheme();
    // Pages loaded in the background come back at their heading when next shown.
    void rememberHeadingsForFlavor();
    void onPageReady(Page &page);
    void setZoomFactor(double factor);
    bool isShown(const TarnDocument *document) const;
    // Asks the document's page for its first block on screen and tells the model.
    void reportReadingBlock(TarnDocument *document);

    AppModel &m_model;
    FlavorHintBar *m_hintBar;
    QStackedWidget *m_stack;
    QWidget *m_placeholder;
    OutlinePane *m_outline;
    // Most recently shown last.
    std::vector<std::unique_ptr<Page>> m_pages;
    Page *m_current = nullptr;
    QPointer<TarnDocument> m_watchedDocument;
    double m_zoomFactor = 1.0;
};
