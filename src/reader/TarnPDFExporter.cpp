// Loads the page off screen, waits for its diagrams, measures it and prints it as one page.
#include "TarnPDFExporter.h"

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

namespace {

QList<TarnPDFExporter *> &exporters()
{
    static QList<TarnPDFExporter *> list;
    return list;
}

// The stylesheet's print rules narrow the text column, so the printed page can be taller than
// the one on screen. This measures the page with those rules applied as screen rules, then
// takes them away again.
constexpr char printedHeightScript[] = R"JS((() => {
  const printRules = [];
  for (const sheet of Array.from(document.styleSheets)) {
    let rules;
    try {
      rules = sheet.cssRules;
    } catch (error) {
      continue;
    }
    for (const rule of Array.from(rules)) {
      if (rule instanceof CSSMediaRule &&
          Array.from(rule.media).some((medium) => medium.trim().toLowerCase() === "print")) {
        for (const inner of Array.from(rule.cssRules)) printRules.push(inner.cssText);
      }
    }
  }
  if (printRules.length === 0 || !document.documentElement) return null;
  const style = document.createElement("style");
  style.textContent = printRules.join("\n");
  (document.head || document.documentElement).appendChild(style);
  const height = Math.max(document.body ? document.body.scrollHeight : 0,
                          document.documentElement.scrollHeight);
  style.remove();
  return height;
})())JS";

QString outputPath(const QUrl &url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
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
    evaluateScript(
        m_webView->page(), QString::fromLatin1(ReaderScripts::heightMeasurement), this,
        [this](const ScriptOutcome &outcome) {
            if (m_completed)
                return;
            if (!outcome.ok)
                log(QStringLiteral("export.pdf.height_measure_failed"), outcome.errorString);
            const double height = outcome.ok && isNumber(outcome.value) ? outcome.value.toDouble()
                                                                        : double(minimumPageHeight);
            printPage(height);
        });
}

void TarnPDFExporter::printPage(double measuredHeight)
{
    m_webView->page()->runJavaScript(
        QString::fromLatin1(printedHeightScript),
        [self = QPointer(this), measuredHeight](const QVariant &printed) {
            if (!self || self->m_completed)
                return;
            double height = measuredHeight;
            if (isNumber(printed))
                height = std::max(height, printed.toDouble());
            if (!(height > minimumPageHeight))
                height = minimumPageHeight;
            QPageRanges firstPage;
            firstPage.addPage(1);
            self->m_webView->page()->printToPdf(
                [guard = QPointer(self.data())](const QByteArray &pdf) {
                    if (guard)
                        guard->writePdf(pdf);
                },
                pageLayout(pageWidth, height), firstPage);
        });
}

void TarnPDFExporter::writePdf(const QByteArray &pdf)
{
    if (m_completed)
        return;
    if (pdf.isEmpty()) {
        finish({false, tr("The page could not be printed to PDF.")});
        return;
    }
    if (!m_outputURL.isLocalFile()) {
        finish({false, tr("\"%1\" is not a local file.").arg(m_outputURL.toString())});
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
