// The model's PDF export service, carried out by TarnPDFExporter.
#pragma once

#include "PdfExportService.h"

class TarnPdfExportService : public PdfExportService
{
public:
    // Must be called on the main thread of a QApplication; completes on the main thread.
    void exportPdf(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                   std::function<void(const PdfExportResult &)> completion) override;
};
