// AppModel's export commands: the rendered page as an HTML file or, through the reader, a PDF.
#include "AppModel.h"

#include "AtomicFileWriter.h"
#include "ExportedPage.h"
#include "MarkdownRenderer.h"
#include "PdfExportService.h"
#include "Platform.h"
#include "Utf16Text.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>

std::optional<QUrl> AppModel::runExportPanel(TarnDocument *document, const QString &title,
                                             const QString &extension, const QString &nameFilter,
                                             const QString &cancelEvent)
{
    SavePanelOptions options;
    options.title = title;
    options.suggestedName = document->title() + QLatin1Char('.') + extension;
    options.nameFilters = {nameFilter};
    options.defaultSuffix = extension;
    options.directory = panelFolder(document);
    std::optional<QUrl> chosen = m_platform.runSavePanel(options);
    if (chosen) {
        notePanelChoice(*chosen);
        chosen = withDefaultSuffix(*chosen, extension);
    } else {
        log(cancelEvent, {{QStringLiteral("file"), document->fileName()}});
    }
    return chosen;
}

// The page as the reader would show it, with unsaved edits included.
QString AppModel::exportedPage(TarnDocument *document) const
{
    const QString text = document->isDirty() ? document->draft() : document->content();
    const QString title = document->title();
    const RenderedMarkdown page =
        MarkdownRenderer::render(u16View(text), m_theme, u16View(title), m_markdownFlavor);
    return QString::fromStdU16String(page.html);
}

void AppModel::exportSelectedDocumentAsHTML()
{
    TarnDocument *document = selectedDocument();
    if (!document)
        return;
    const auto chosen =
        runExportPanel(document, QStringLiteral("导出 HTML"), QStringLiteral("html"),
                       QStringLiteral("HTML (*.html)"), QStringLiteral("export.html.cancelled"));
    if (!chosen)
        return;
    const QString output = chosen->toLocalFile();
    // Written elsewhere, the page's relative images and links must still find their files.
    const QString html =
        ExportedPage::relocated(exportedPage(document), document->baseURL().toLocalFile(),
                                QFileInfo(output).absolutePath());
    QMap<QString, QString> metadata{{QStringLiteral("file"), document->fileName()},
                                    {QStringLiteral("output"), output}};
    log(QStringLiteral("export.html.start"), metadata);
    const FileWriteResult result = AtomicFileWriter::write(output, html.toUtf8());
    if (result.ok) {
        log(QStringLiteral("export.html.success"), metadata);
        return;
    }
    metadata.insert(QStringLiteral("error"), result.errorString);
    log(QStringLiteral("export.html.failure"), metadata);
    showAlert(QStringLiteral("导出失败"), result.errorString);
}

void AppModel::exportSelectedDocumentAsPDF()
{
    TarnDocument *document = selectedDocument();
    if (!document)
        return;
    const auto chosen =
        runExportPanel(document, QStringLiteral("导出 PDF"), QStringLiteral("pdf"),
                       QStringLiteral("PDF (*.pdf)"), QStringLiteral("export.pdf.cancelled"));
    if (!chosen)
        return;
    const QString html = exportedPage(document);
    const QString file = document->fileName();
    const QString output = chosen->toLocalFile();
    log(QStringLiteral("export.pdf.start"),
        {{QStringLiteral("file"), file}, {QStringLiteral("output"), output}});

    // The exporter may finish on any thread and after the model is gone; the result is looked
    // at only on the main thread, and only while the model still exists.
    QPointer<AppModel> model(this);
    QObject *mainThreadContext = QCoreApplication::instance();
    m_pdfExporter.exportPdf(
        html, document->baseURL(), *chosen,
        [model, mainThreadContext, file, output](const PdfExportResult &result) {
            const auto finish = [model, file, output, result] {
                if (model)
                    model->finishPdfExport(file, output, result.ok, result.errorString);
            };
            if (mainThreadContext)
                QMetaObject::invokeMethod(mainThreadContext, finish, Qt::QueuedConnection);
            else
                finish();
        });
}

void AppModel::finishPdfExport(const QString &file, const QString &output, bool ok,
                               const QString &error)
{
    QMap<QString, QString> metadata{{QStringLiteral("file"), file},
                                    {QStringLiteral("output"), output}};
    if (ok) {
        log(QStringLiteral("export.pdf.success"), metadata);
        return;
    }
    metadata.insert(QStringLiteral("error"), error);
    log(QStringLiteral("export.pdf.failure"), metadata);
    showAlert(QStringLiteral("导出失败"), error);
}
