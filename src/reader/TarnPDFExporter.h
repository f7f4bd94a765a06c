// Prints a finished reader page into a PDF file: one page that holds the whole page, or, for a
// page taller than PDF viewers accept, as few pages of at most that height as it takes.
#pragma once

#include "PdfExportService.h"

#include <QList>
#include <QObject>
#include <QPageLayout>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

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
    static constexpr int readinessAttempts = 80;
    static constexpr int readinessIntervalMs = 100;

    // Returns at once. `completion` runs once, on the main thread, with success or the first
    // error; a page that never finishes loading never completes. Needs a QApplication. Problems
    // along the way go to `logger`, or nowhere when it is null (command-line conversions).
    static void exportPdf(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                          Completion completion, TarnUsageLogger *logger);

    // The exports still running in this process; each keeps itself and its view alive here.
    static const QList<TarnPDFExporter *> &activeExporters();

    // A page of width × height CSS pixels, without margins.
    static QPageLayout pageLayout(double width, double height);

    ~TarnPDFExporter() override;

private:
    TarnPDFExporter(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                    Completion completion, TarnUsageLogger *logger);

    void start();
    void waitForReadyAndExport(int attemptsRemaining);
    void measureAndExport();
    void paginateAndExport();
    // Prints pages of `height` CSS pixels: the first only, or as many as the page takes.
    void printPages(double height, bool onlyFirst);
    void writePdf(const QByteArray &pdf);
    void finish(const PdfExportResult &result);
    void log(const QString &event, const std::optional<QString> &error = std::nullopt);

    QString m_html;
    QUrl m_baseURL;
    QUrl m_outputURL;
    Completion m_completion;
    TarnUsageLogger *m_logger;
    std::unique_ptr<QWebEngineView> m_webView;
    ReaderPageLoader *m_loader = nullptr;
    bool m_completed = false;
};
