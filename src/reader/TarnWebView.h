// The reader's web view: remembers what it was given, keeps its zoom, and never leaves its page.
#pragma once

#include "PageReadiness.h"
#include "ReaderPageLoader.h"
#include "TarnMessageChannel.h"

#include <QColor>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <QWebEngineView>

#include <optional>

class QMenu;
class TarnReaderPage;

class TarnWebView : public QWebEngineView
{
    Q_OBJECT

public:
    explicit TarnWebView(QWidget *parent = nullptr);

    // The page text last handed to the view.
    const QString &lastHTML() const { return m_lastHTML; }
    void setLastHTML(const QString &html) { m_lastHTML = html; }
    // The query last pushed into the page, untrimmed.
    const QString &lastSearchQuery() const { return m_lastSearchQuery; }
    void setLastSearchQuery(const QString &query) { m_lastSearchQuery = query; }
    // The id of the last search step carried out.
    std::optional<QUuid> lastSearchNavigationRequestID() const
    {
        return m_lastSearchNavigationRequestID;
    }
    void setLastSearchNavigationRequestID(const QUuid &id) { m_lastSearchNavigationRequestID = id; }
    // The position to restore after the current load; 0 once restored.
    double pendingInitialScrollY() const { return m_pendingInitialScrollY; }
    void setPendingInitialScrollY(double y) { m_pendingInitialScrollY = y; }

    ReaderPageLoader &loader() { return *m_loader; }
    TarnMessageChannel &messageChannel() { return *m_channel; }
    // Reports once per written page that it is ready, or that the deadline passed.
    PageReadiness &readiness() { return *m_readiness; }
    TarnReaderPage &readerPage() { return *m_page; }

    // Replaces the page; relative references resolve against `baseURL` when there is one.
    void loadPage(const QString &html, const std::optional<QUrl> &baseURL);
    // How many times loadPage ran.
    int loadCount() const { return m_loadCount; }
    // Runs a script in the page without waiting for it or reading its result.
    void evaluate(const QString &script);

    // What shows until the page paints its own background.
    void setPlaceholderColor(const QColor &color);

    // Zoom of the page; it survives reloads. Steps follow the browser's usual levels.
    double readerZoomFactor() const { return m_zoomFactor; }
    void setReaderZoomFactor(double factor);
    void zoomIn();
    void zoomOut();
    void resetZoom();

    // The view's context menu: copy and select all, nothing that could leave the page.
    QMenu *createReaderContextMenu(QWidget *parent = nullptr);

signals:
    void readerZoomFactorChanged(double factor);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    // Drops belong to the window, which opens dropped files.
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void watchChild(QObject *child);
    void applyZoom();

    TarnReaderPage *m_page;
    ReaderPageLoader *m_loader;
    TarnMessageChannel *m_channel;
    PageReadiness *m_readiness;
    QString m_lastHTML;
    QString m_lastSearchQuery;
    std::optional<QUuid> m_lastSearchNavigationRequestID;
    double m_pendingInitialScrollY = 0;
    double m_zoomFactor = 1.0;
    int m_loadCount = 0;
};
