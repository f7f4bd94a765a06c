// AppModel's export commands: the save panel, then the exporter writes the HTML or PDF.
#include "AppModel.h"

#include "DocumentExporter.h"
#include "Platform.h"
#include "Utf16Text.h"

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

void AppModel::exportSelectedDocumentAsHTML()
{
    TarnDocument *document = selectedDocument();
    if (!document)
        return;
    const auto chosen =
        runExportPanel(document, QStringLiteral("导出 HTML"), QStringLiteral("html"),
                       QStringLiteral("HTML (*.html)"), QStringLiteral("export.html.cancelled"));
    if (chosen)
        m_exporter->exportHTML(*document, *chosen, m_theme, m_markdownFlavor);
}

void AppModel::exportSelectedDocumentAsPDF()
{
    TarnDocument *document = selectedDocument();
    if (!document)
        return;
    const auto chosen =
        runExportPanel(document, QStringLiteral("导出 PDF"), QStringLiteral("pdf"),
                       QStringLiteral("PDF (*.pdf)"), QStringLiteral("export.pdf.cancelled"));
    if (chosen)
        m_exporter->exportPDF(*document, *chosen, m_theme, m_markdownFlavor);
}
