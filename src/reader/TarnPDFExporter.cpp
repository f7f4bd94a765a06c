// Loads the page off screen, waits for its diagrams, measures it and prints it as one page.
#include "TarnPDFExporter.h"

#include "PageNumbers.h"
#include "ReaderPageLoader.h"
#include "ReaderScripts.h"
#include "ScriptEvaluation.h"
#include "TarnUsageLogger.h"

#include <QPageRanges>
#include <QPageSize>
#include <QPointer>
#include <QSaveFile>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineSettings>
#include <QWebEngineView>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace TarnEmbedded {
std::string_view pdfLayoutUtf8();
}

namespace {

QList<TarnPDFExporter *> &exporters()
{
    static QList<TarnPDFExporter *> list;
    return list;
}

// Fits the exporter's copy of the page to paper and splits it into pages (pdf-layout.js).
QString pageLayoutCall(const QString &call)
{
    return QLatin1Char('(') + QString::fromUtf8(TarnEmbedded::pdfLayoutUtf8()).trimmed() +
           QStringLiteral(").") + call;
}

QString outputPath(const QUrl &url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

} // namespace

void TarnPDFExporter::exportPdf(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                                Completion completion, TarnUsageLogger *logger)
{
    auto *exporter = new TarnPDFExporter(html, baseURL, outputURL, std::move(completion), logger);
    exporters().append(exporter);
    exporter->start();
}

const QList<TarnPDFExporter *> &TarnPDFExporter::activeExporters()
{
    return exporters();
}

QPageLayout TarnPDFExporter::pageLayout(double width, double height)
{
    // The engine lays a print page out at 96/72 CSS pixels per point. The extra point keeps
    // rounding from pushing the last line onto a second page.
    const QSizeF points(width * 0.75, std::ceil(height * 0.75) + 1.0);
    const QPageSize size(points, QPageSize::Point, QString(), QPageSize::ExactMatch);
    return QPageLayout(size, QPageLayout::Portrait, QMarginsF(0, 0, 0, 0), QPageLayout::Point);
}

TarnPDFExporter::TarnPDFExporter(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                                 Completion completion, TarnUsageLogger *logger)
    : m_html(html)
    , m_baseURL(baseURL)
    , m_outputURL(outputURL)
    , m_completion(std::move(completion))
    , m_logger(logger)
{}

TarnPDFExporter::~TarnPDFExporter()
{
    exporters().removeOne(this);
}

void TarnPDFExporter::start()
{
    m_webView = std::make_unique<QWebEngineView>();
    // Shown to the engine but never on screen: a hidden page would not lay out at this size.
    m_webView->setAttribute(Qt::WA_DontShowOnScreen);
    m_webView->settings()->setAttribute(QWebEngineSettings::ShowScrollBars, false);
    m_webView->resize(pageWidth, minimumPageHeight);
    m_webView->show();

    m_loader = new ReaderPageLoader(m_webView->page(), this);
    connect(m_loader, &ReaderPageLoader::pageLoaded, this,
            [this] { waitForReadyAndExport(readinessAttempts); });
    connect(m_loader, &ReaderPageLoader::pageLoadFailed, this, [this](const QString &error) {
        finish({false, error});
    });
    m_loader->load(m_html, m_baseURL);
    m_html.clear();
}

void TarnPDFExporter::waitForReadyAndExport(int attemptsRemaining)
{
    evaluateScript(m_webView->page(), QString::fromLatin1(ReaderScripts::readinessTest), this,
                   [this, attemptsRemaining](const ScriptOutcome &outcome) {
                       if (m_completed)
                           return;
                       if (!outcome.ok) {
                           log(QStringLiteral("export.pdf.ready_check_failed"),
                               outcome.errorString);
                           measureAndExport();
                           return;
                       }
                       // The last test always counts as a timeout, even when it says ready.
                       if (attemptsRemaining <= 0) {
                           log(QStringLiteral("export.pdf.ready_timeout"));
                           measureAndExport();
                           return;
                       }
                       if (isReadyResult(outcome.value)) {
                           measureAndExport();
                           return;
                       }
                       QTimer::singleShot(readinessIntervalMs, this, [this, attemptsRemaining] {
                           waitForReadyAndExport(attemptsRemaining - 1);
                       });
                   });
}

void TarnPDFExporter::measureAndExport()
{
    QString measure = QString::fromLatin1(ReaderScripts::heightMeasurement).trimmed();
    measure.chop(1); // the final ";": the two run as one expression
    evaluateScript(m_webView->page(), pageLayoutCall(QStringLiteral("prepare(),\n")) + measure,
                   this, [this](const ScriptOutcome &outcome) {
                       if (m_completed)
                           return;
                       if (!outcome.ok)
                           log(QStringLiteral("export.pdf.height_measure_failed"),
                               outcome.errorString);
                       const double height = outcome.ok && isPageNumber(outcome.value)
                                                 ? outcome.value.toDouble()
                                                 : double(minimumPageHeight);
                       if (height <= maximumPageHeight)
                           printPages(std::max(height, double(minimumPageHeight)), true);
                       else
                           paginateAndExport();
                   });
}

void TarnPDFExporter::paginateAndExport()
{
    evaluateScript(
        m_webView->page(),
        pageLayoutCall(QStringLiteral("paginate(%1)").arg(maximumPageHeight, 0, 'g', 17)), this,
        [this](const ScriptOutcome &outcome) {
            if (m_completed)
                return;
            // Without chosen breaks the engine still breaks, between lines.
            const double height = outcome.ok && isPageNumber(outcome.value)
                                      ? outcome.value.toDouble()
                                      : maximumPageHeight;
            printPages(std::clamp(height, double(minimumPageHeight), maximumPageHeight), false);
        });
}

void TarnPDFExporter::printPages(double height, bool onlyFirst)
{
    QPageRanges pages;
    if (onlyFirst)
        pages.addPage(1);
    m_webView->page()->printToPdf(
        [guard = QPointer(this)](const QByteArray &pdf) {
            if (guard)
                guard->writePdf(pdf);
        },
        pageLayout(pageWidth, height), pages);
}

void TarnPDFExporter::writePdf(const QByteArray &pdf)
{
    if (m_completed)
        return;
    if (pdf.isEmpty()) {
        finish({false, QStringLiteral("页面无法打印为 PDF。")});
        return;
    }
    if (!m_outputURL.isLocalFile()) {
        finish({false, QStringLiteral("“%1”不是本地文件。").arg(m_outputURL.toString())});
        return;
    }
    QSaveFile file(m_outputURL.toLocalFile());
    if (!file.open(QIODevice::WriteOnly) || file.write(pdf) != pdf.size() || !file.commit()) {
        finish({false, file.errorString()});
        return;
    }
    finish({true, {}});
}

void TarnPDFExporter::finish(const PdfExportResult &result)
{
    if (m_completed)
        return;
    m_completed = true;
    if (m_completion)
        m_completion(result);
    exporters().removeOne(this);
    // The view may be in the middle of delivering this very callback; release it afterwards.
    deleteLater();
}

void TarnPDFExporter::log(const QString &event, const std::optional<QString> &error)
{
    if (!m_logger)
        return;
    QMap<QString, QString> metadata{{QStringLiteral("output"), outputPath(m_outputURL)}};
    if (error)
        metadata.insert(QStringLiteral("error"), *error);
    m_logger->log(event, metadata);
}
