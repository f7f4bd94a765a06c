// Loads the page off screen, waits for it to say it is ready, measures it and prints it.
#include "TarnPDFExporter.h"

#include "PageNumbers.h"
#include "ReaderPageLoader.h"
#include "ReaderScripts.h"
#include "ScriptEvaluation.h"
#include "TarnMessageChannel.h"
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
#include <utility>

namespace TarnEmbedded {
std::string_view pdfLayoutUtf8();
}

namespace {

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

TarnPDFExporter *TarnPDFExporter::exportPdf(const QString &html, const QUrl &baseURL,
                                            const QUrl &outputURL, Completion completion,
                                            TarnUsageLogger *logger, QObject *owner,
                                            Deadlines deadlines)
{
    auto *exporter =
        new TarnPDFExporter(html, baseURL, outputURL, std::move(completion), logger, owner);
    exporter->start(deadlines);
    return exporter;
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
                                 Completion completion, TarnUsageLogger *logger, QObject *owner)
    : QObject(owner)
    , m_html(html)
    , m_baseURL(baseURL)
    , m_outputURL(outputURL)
    , m_completion(std::move(completion))
    , m_logger(logger)
{}

TarnPDFExporter::~TarnPDFExporter()
{
    complete({false, QStringLiteral("导出在完成前被中止。")});
}

QWebEnginePage *TarnPDFExporter::page() const
{
    return m_webView ? m_webView->page() : nullptr;
}

void TarnPDFExporter::start(Deadlines deadlines)
{
    m_webView = std::make_unique<QWebEngineView>();
    // Shown to the engine but never on screen: a hidden page would not lay out at this size.
    m_webView->setAttribute(Qt::WA_DontShowOnScreen);
    m_webView->settings()->setAttribute(QWebEngineSettings::ShowScrollBars, false);
    m_webView->resize(pageWidth, minimumPageHeight);
    m_webView->show();

    m_wholeDeadline.setSingleShot(true);
    connect(&m_wholeDeadline, &QTimer::timeout, this, [this] {
        finish({false, QStringLiteral("网页引擎没有在 %1 秒内完成导出。")
                           .arg(double(m_wholeDeadline.interval()) / 1000)});
    });
    m_wholeDeadline.start(deadlines.whole);

    m_loader = new ReaderPageLoader(m_webView->page(), this);
    // The page's readiness arrives as a message; everything else it posts is not listened to.
    auto *channel = new TarnMessageChannel(m_webView->page(), m_loader);
    m_readiness = new PageReadiness(m_loader, channel, this);
    m_readiness->setDeadline(deadlines.ready);
    connect(m_readiness, &PageReadiness::finished, this, &TarnPDFExporter::didBecomeReady);
    connect(m_loader, &ReaderPageLoader::pageLoadFailed, this, [this](const QString &error) {
        finish({false, error});
    });
    m_loader->load(m_html, m_baseURL);
    m_html.clear();
}

void TarnPDFExporter::didBecomeReady(PageReadiness::Outcome outcome, const QString &error)
{
    if (m_completed)
        return;
    if (outcome == PageReadiness::Outcome::CheckFailed)
        log(QStringLiteral("export.pdf.ready_check_failed"), error);
    else if (outcome == PageReadiness::Outcome::TimedOut)
        log(QStringLiteral("export.pdf.ready_timeout"));
    measureAndExport();
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
    complete(result);
    // The view may be in the middle of delivering this very callback; release it afterwards.
    deleteLater();
}

void TarnPDFExporter::complete(const PdfExportResult &result)
{
    if (m_completed)
        return;
    m_completed = true;
    m_wholeDeadline.stop();
    if (const Completion completion = std::exchange(m_completion, nullptr))
        completion(result);
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
