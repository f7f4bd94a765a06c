// Exports of a document's rendered page: an HTML file written here, or a PDF printed by the
// PDF export service, which may finish later and on another thread.
#pragma once

#include "MarkdownRenderer.h"
#include "TarnTheme.h"

#include <QObject>
#include <QString>
#include <QUrl>

class PdfExportService;
class TarnDocument;
class TarnUsageLogger;

class DocumentExporter : public QObject
{
    Q_OBJECT
    // PDF exports started and not yet finished.
    Q_PROPERTY(int pendingPdfExports READ pendingPdfExports NOTIFY pendingPdfExportsChanged)

public:
    // Both collaborators must outlive the exporter.
    DocumentExporter(PdfExportService &pdfExporter, TarnUsageLogger &logger,
                     QObject *parent = nullptr);

    int pendingPdfExports() const { return m_pendingPdfExports; }

    // The page as the reader would show it, with unsaved edits included.
    static QString page(const TarnDocument &document, TarnTheme theme, MarkdownFlavor flavor);
    void exportHTML(const TarnDocument &document, const QUrl &output, TarnTheme theme,
                    MarkdownFlavor flavor);
    void exportPDF(const TarnDocument &document, const QUrl &output, TarnTheme theme,
                   MarkdownFlavor flavor);

signals:
    void pendingPdfExportsChanged();
    // An export failed; the error is already logged.
    void failed(const QString &error);

private:
    void finishPdf(const QString &file, const QString &output, bool ok, const QString &error);

    PdfExportService &m_pdfExporter;
    TarnUsageLogger &m_logger;
    int m_pendingPdfExports = 0;
};
