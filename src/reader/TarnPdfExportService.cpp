// Hands the model's PDF exports to TarnPDFExporter.
#include "TarnPdfExportService.h"

#include "TarnPDFExporter.h"
#include "TarnUsageLogger.h"

void TarnPdfExportService::exportPdf(const QString &html, const QUrl &baseURL,
                                     const QUrl &outputURL,
                                     std::function<void(const PdfExportResult &)> completion)
{
    TarnPDFExporter::exportPdf(html, baseURL, outputURL, std::move(completion),
                               &TarnUsageLogger::shared(), &m_exports);
}
