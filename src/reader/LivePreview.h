// The split view's preview of a draft: the reader page of the draft, loaded once and then
// changed block by block in place while the text is edited, and scrolled by source line.
#pragma once

#include "MarkdownRenderer.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <optional>

class MarkdownWebViewCoordinator;
class TarnDocument;
class TarnWebView;

class LivePreview : public QObject
{
    Q_OBJECT

public:
    // While typing goes on the preview follows at most this often; a change after a pause
    // goes at once.
    static constexpr int updateIntervalMs = 100;

    explicit LivePreview(QWidget *parentWidget);
    ~LivePreview() override;

    TarnWebView *view() const { return m_view; }

    // The document whose draft is shown, in this flavour and theme; a change loads the page
    // anew, anything else only schedules an update.
    void show(TarnDocument *document, MarkdownFlavor flavor, TarnTheme theme);
    // Brings the page up to the draft now, unless it is loading or an update is on its way.
    void updateNow();
    // Scrolls so the block of this 0-based source line is at the top (inside a block, in
    // proportion), now or once the page is ready.
    void showLine(int line);
    // The id of the last heading of the shown draft at or above a 0-based source line.
    QString headingAtLine(int line) const;

    // Called with the links the page was asked to follow; the preview itself never navigates.
    std::function<void(const QUrl &)> onOpenLink;

    // The preview scripts for a fragment: handing it to the page in place of the current one,
    // and telling the page which fragment it was loaded from. The HTML travels as a string
    // literal, never as script text.
    static QString updateScript(const MarkdownRenderer::Fragment &fragment);
    static QString adoptScript(const MarkdownRenderer::Fragment &fragment);
    // Only the blocks that differ from `shown` (the blocks on the page) go over; the page
    // answers -1 when it does not hold those blocks, and then takes `updateScript`. Sets
    // `shown` to the fragment's blocks.
    static QString patchScript(const MarkdownRenderer::Fragment &fragment, QStringList &shown);
    // The morphing library and the page's preview part, run once per load.
    static QString installScript();

signals:
    // The page was loaded and prepared for updates.
    void pageReady();
    // The page shows the draft as of now (after a load or an update); `milliseconds` is how
    // long an update took from the draft to the changed page, -1 for a load.
    void updated(int milliseconds);
    // The user scrolled the preview: this source line is at its top now.
    void lineAtTopChanged(int line);
    // The outline of the draft shown.
    void outlineChanged(const std::vector<TOCItem> &toc);

private:
    void scheduleUpdate();
    void load();
    void onPageReady();
    void receive(const QVariantMap &body);
    MarkdownRenderer::Fragment renderDraft() const;
    void noteOutline(const MarkdownRenderer::Fragment &fragment);
    // Whether the loaded page has what the fragment needs (diagram library, math, colours).
    bool pageCanShow(const MarkdownRenderer::Fragment &fragment) const;

    MarkdownWebViewCoordinator *m_coordinator;
    TarnWebView *m_view;
    QPointer<TarnDocument> m_document;
    MarkdownFlavor m_flavor = MarkdownFlavor::classic;
    TarnTheme m_theme = TarnTheme::businessBlue;
    QTimer m_timer;
    QElapsedTimer m_lastUpdate; // since the last update began
    bool m_ready = false;
    bool m_updating = false;
    bool m_stale = false; // the draft changed since the page last took it
    QString m_shownDraft;
    QStringList m_blocks; // the top-level blocks' HTML on the page, in order
    MarkdownRenderer::Fragment m_loadedFragment;
    std::optional<int> m_pendingLine;
    std::vector<std::size_t> m_headingLines; // of the shown draft's outline
    std::vector<TOCItem> m_toc;
};
