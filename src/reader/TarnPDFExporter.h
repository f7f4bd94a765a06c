// Prints a finished reader page into a PDF file: one page that holds the whole page, or, for a
// page taller than PDF viewers accept, as few pages of at most that height as it takes.
#pragma once

#include "PageReadiness.h"
#include "PdfExportService.h"

#include <QObject>
#include <QPageLayout>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QWebEnginePage;
class QWebEngineView;
class ReaderPageLoader;
class TarnUsageLogger;

class TarnPDFExporter : public QObject
{
    Q_OBJECT

public:
    using Completion = std::function<void(const PdfExportResult &)>;

    static constexpr int pageWidth = 900;          // CSS pixels
    static constexpr int minimumPageHeight = 1200; // CSS pixels
    // The tallest page viewers and printers take is 14,400 pt (200 in); see pageLayout().
    static constexpr double maximumPageHeight = (14400 - 1) / 0.75; // CSS pixels

    struct Deadlines
    {
        // For the page to say it is ready; then it is printed as it is, and the wait logged.
        std::chrono::milliseconds ready = PageReadiness::defaultDeadline;
        // For the whole export; then it fails. An engine that never loads the page or never
        // answers must not keep a command-line export waiting for ever.
        std::chrono::milliseconds whole = std::chrono::minutes(2);
    };

    // Returns at once with the exporter, a child of `owner`. `completion` runs exactly once, on
    // the main thread, with success or the first error: at the latest when the whole deadline
    // passes, or, with a failure, when the owner deletes the exporter first. The exporter
    // deletes itself once it has finished. Needs a QApplication. Problems along the way go to
    // `logger`, or nowhere when it is null (command-line conversions).
    static TarnPDFExporter *exportPdf(const QString &html, const QUrl &baseURL,
                                      const QUrl &outputURL, Completion completion,
                                      TarnUsageLogger *logger, QObject *owner, Deadlines deadlines);
    static TarnPDFExporter *exportPdf(const QString &html, const QUrl &baseURL,
                                      const QUrl &outputURL, Completion completion,
                                      TarnUsageLogger *logger, QObject *owner)
    {
        return exportPdf(html, baseURL, outputURL, std::move(completion), logger, owner, {});
    }

    // A page of width × height CSS pixels, without margins.
    static QPageLayout pageLayout(double width, double height);

    // Before it has finished, with a failure: the export was stopped.
    ~TarnPDFExporter() override;

    // The off-screen page the export loads and prints.
    QWebEnginePage *page() const;

private:
    TarnPDFExporter(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                    Completion completion, TarnUsageLogger *logger, QObject *owner);

    void start(Deadlines deadlines);
    void didBecomeReady(PageReadiness::Outcome outcome, const QString &error);
    void measureAndExport();
    void paginateAndExport();
    // Prints pages of `height` CSS pixels: the first only, or as many as the page takes.
    void printPages(double height, bool onlyFirst);
    void writePdf(const QByteArray &pdf);
    // Completes, then lets the exporter go.
    void finish(const PdfExportResult &result);
    void complete(const PdfExportResult &result);
    void log(const QString &event, const std::optional<QString> &error = std::nullopt);

    QString m_html;
    QUrl m_baseURL;
    QUrl m_outputURL;
    Completion m_completion;
    TarnUsageLogger *m_logger;
    std::unique_ptr<QWebEngineView> m_webView;
    ReaderPageLoader *m_loader = nullptr;
    PageReadiness *m_readiness = nullptr;
    QTimer m_wholeDeadline;
    bool m_completed = false;
};
