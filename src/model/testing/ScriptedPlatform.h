// A Platform for tests: records every request and answers from prepared scripts.
#pragma once

#include "PdfExportService.h"
#include "Platform.h"

#include <QList>

#include <functional>

class ScriptedPlatform : public Platform
{
public:
    // Prepared answers, used front first. With none left, panels report "cancelled" and alerts
    // report -1 (closed without a button).
    QList<QList<QUrl>> openPanelAnswers;
    QList<std::optional<QUrl>> savePanelAnswers;
    QList<int> alertAnswers;
    // When set, decides alerts instead of alertAnswers, e.g. to look at the model meanwhile.
    std::function<int(const ModalAlert &)> alertHandler;
    // When set, stand in for a platform with bookmarks.
    std::function<std::optional<QByteArray>(const QUrl &)> bookmarkMaker;
    std::function<std::optional<ResolvedBookmark>(const QByteArray &)> bookmarkResolver;

    // What the model asked for, in order.
    QList<OpenPanelOptions> openPanels;
    QList<SavePanelOptions> savePanels;
    QList<ModalAlert> alerts;
    QList<QUrl> openedWithDefaultHandler;
    QStringList revealedPaths;
    QList<QUrl> recentDocuments;

    QList<QUrl> runOpenPanel(const OpenPanelOptions &options) override;
    std::optional<QUrl> runSavePanel(const SavePanelOptions &options) override;
    int runModalAlert(const ModalAlert &alert) override;
    void openWithDefaultHandler(const QUrl &url) override;
    void revealInFileManager(const QString &path) override;
    void noteRecentDocument(const QUrl &url) override;
    std::optional<QByteArray> createBookmark(const QUrl &url) override;
    std::optional<ResolvedBookmark> resolveBookmark(const QByteArray &bookmark) override;
};

// A PDF exporter for tests: keeps each request until the test completes it.
class ScriptedPdfExportService : public PdfExportService
{
public:
    struct Request
    {
        QString html;
        QUrl baseURL;
        QUrl outputURL;
        std::function<void(const PdfExportResult &)> completion;
    };
    QList<Request> requests;

    void exportPdf(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                   std::function<void(const PdfExportResult &)> completion) override
    {
        requests.append(Request{html, baseURL, outputURL, std::move(completion)});
    }
};
