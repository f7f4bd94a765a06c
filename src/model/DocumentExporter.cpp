// The rendered page as an HTML file or, through the PDF export service, a PDF.
#include "DocumentExporter.h"
#include "Utf16Text.h"

#include "AtomicFileWriter.h"
#include "ExportedPage.h"
#include "PdfExportService.h"
#include "TarnDocument.h"
#include "TarnUsageLogger.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>

DocumentExporter::DocumentExporter(PdfExportService &pdfExporter, TarnUsageLogger &logger,
                                   QObject *parent)
    : QObject(parent)
    , m_pdfExporter(pdfExporter)
    , m_logger(logger)
{}

QString DocumentExporter::page(const TarnDocument &document, TarnTheme theme, MarkdownFlavor flavor)
{
    const QString text = document.isDirty() ? document.draft() : document.content();
    const QString title = document.title();
    const RenderedMarkdown page =
        MarkdownRenderer::render(u16View(text), theme, u16View(title), flavor);
    return QString::fromStdU16String(page.html);
}

void DocumentExporter::exportHTML(const TarnDocument &document, const QUrl &output, TarnTheme theme,
                                  MarkdownFlavor flavor)
{
    const QString path = output.toLocalFile();
    // Written elsewhere, the page's relative images and links must still find their files.
    const QString html =
        ExportedPage::relocated(page(document, theme, flavor), document.baseURL().toLocalFile(),
                                QFileInfo(path).absolutePath());
    QMap<QString, QString> metadata{{QStringLiteral("file"), document.fileName()},
                                    {QStringLiteral("output"), path}};
    m_logger.log(QStringLiteral("export.html.start"), metadata);
    const FileWriteResult result = AtomicFileWriter::write(path, html.toUtf8());
    if (result.ok) {
        m_logger.log(QStringLiteral("export.html.success"), metadata);
        return;
    }
    metadata.insert(QStringLiteral("error"), result.errorString);
    m_logger.log(QStringLiteral("export.html.failure"), metadata);
    emit failed(result.errorString);
}

void DocumentExporter::exportPDF(const TarnDocument &document, const QUrl &output, TarnTheme theme,
                                 MarkdownFlavor flavor)
{
    const QString html = page(document, theme, flavor);
    const QString file = document.fileName();
    const QString path = output.toLocalFile();
    m_logger.log(QStringLiteral("export.pdf.start"),
                 {{QStringLiteral("file"), file}, {QStringLiteral("output"), path}});
    ++m_pendingPdfExports;
    emit pendingPdfExportsChanged();

    // The service may finish on any thread and after the exporter is gone; the result is
    // looked at only on the main thread, and only while the exporter still exists.
    QPointer<DocumentExporter> exporter(this);
    QObject *mainThreadContext = QCoreApplication::instance();
    m_pdfExporter.exportPdf(
        html, document.baseURL(), output,
        [exporter, mainThreadContext, file, path](const PdfExportResult &result) {
            const auto finish = [exporter, file, path, result] {
                if (exporter)
                    exporter->finishPdf(file, path, result.ok, result.errorString);
            };
            if (mainThreadContext)
                QMetaObject::invokeMethod(mainThreadContext, finish, Qt::QueuedConnection);
            else
                finish();
        });
}

void DocumentExporter::finishPdf(const QString &file, const QString &output, bool ok,
                                 const QString &error)
{
    --m_pendingPdfExports;
    emit pendingPdfExportsChanged();
    QMap<QString, QString> metadata{{QStringLiteral("file"), file},
                                    {QStringLiteral("output"), output}};
    if (ok) {
        m_logger.log(QStringLiteral("export.pdf.success"), metadata);
        return;
    }
    metadata.insert(QStringLiteral("error"), error);
    m_logger.log(QStringLiteral("export.pdf.failure"), metadata);
    emit failed(error);
}
