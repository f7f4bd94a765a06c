// The model's PDF export service, carried out by TarnPDFExporter.
#pragma once

#include "PdfExportService.h"

#include <QObject>

// Owns the exports it starts: those still running when it goes (the program quitting) stop, and
// their off-screen pages go with them, before the web engine shuts down.
class TarnPdfExportService : public PdfExportService
{
public:
    // Must be called on the main thread of a QApplication; completes on the main thread.
    void exportPdf(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                   std::function<void(const PdfExportResult &)> completion) override;

private:
    QObject m_exports;
};
