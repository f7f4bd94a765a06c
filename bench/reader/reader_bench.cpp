// Time from the start of a page load to the reader script's readiness, and PDF export time.
#include "MarkdownRenderer.h"
#include "ReaderPageLoader.h"
#include "ReaderScripts.h"
#include "TarnPDFExporter.h"
#include "WebBenchMain.h"
#include "WebEngineProcess.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QWebEngineView>

#include <benchmark/benchmark.h>

namespace {

// Mostly prose, as reading documents are, with a list in every section and a code block and
// a table in every fifth.
QString section(int number)
{
    QString text = QStringLiteral("## Section %1\n\n").arg(number);
    const QString paragraph = QStringLiteral(
        "A paragraph of reading text with *emphasis*, **strong words**, `inline code` and a "
        "[link](https://example.com/%1). 这是一段中文内容，用来检查排版的速度。 It goes on for a "
        "while so that it wraps over a few lines in the reader's column, as prose does.\n\n");
    text += paragraph.arg(number).repeated(3);
    text += QStringLiteral("- first item of a list\n- second item with `code`\n- third item\n\n");
    if (number % 5 == 0)
        text += QStringLiteral("```cpp\nint value = %1; // a code block\nreturn value * 2;\n```\n\n"
                               "| Column | Value |\n|---|---|\n| a | %1 |\n| b | %1 |\n\n")
                    .arg(number);
    return text;
}

QString diagram(int number)
{
    return QStringLiteral("```mermaid\ngraph TD\n  A%1[Start %1] --> B%1{Check}\n"
                          "  B%1 -->|yes| C%1[Done]\n  B%1 -->|no| D%1[Retry]\n"
                          "  D%1 --> A%1\n```\n\n")
        .arg(number);
}

// A document of about `bytes` of Markdown text with `diagrams` diagrams spread through it.
QString page(qsizetype bytes, int diagrams)
{
    QString markdown = QStringLiteral("# Benchmark document\n\n");
    int sections = 0;
    while (markdown.toUtf8().size() < bytes)
        markdown += section(++sections);
    for (int i = 0; i < diagrams; ++i) {
        const qsizetype at = markdown.indexOf(
            QStringLiteral("## Section %1\n").arg(1 + i * sections / std::max(diagrams, 1)));
        markdown.insert(at < 0 ? markdown.size() : at, diagram(i));
    }
    const RenderedMarkdown rendered = MarkdownRenderer::render(markdown.toStdU16String());
    return QString::fromStdU16String(rendered.html);
}

bool isReady(QWebEnginePage *page)
{
    bool answered = false;
    bool ready = false;
    page->runJavaScript(QString::fromLatin1(ReaderScripts::readinessTest),
                        [&](const QVariant &value) {
                            answered = true;
                            ready = value.toBool();
                        });
    spinUntil([&] { return answered; });
    return ready;
}

void loadToReady(benchmark::State &state, qsizetype bytes, int diagrams)
{
    const QString html = page(bytes, diagrams);
    QWebEngineView view;
    view.resize(1000, 800);
    view.show();
    ReaderPageLoader loader(view.page());
    for (auto _ : state) {
        bool loaded = false;
        auto connection =
            QObject::connect(&loader, &ReaderPageLoader::pageLoaded, [&] { loaded = true; });
        QElapsedTimer clock;
        clock.start();
        loader.load(html, {});
        if (!spinUntil([&] { return loaded; }) ||
            !spinUntil([&] { return isReady(view.page()); })) {
            state.SkipWithError("the page never got ready");
            break;
        }
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
        QObject::disconnect(connection);
    }
    state.counters["page_bytes"] = double(html.toUtf8().size());
}

void BM_ReadyOneMegabyteNoDiagrams(benchmark::State &state)
{
    loadToReady(state, 1'000'000, 0);
}
BENCHMARK(BM_ReadyOneMegabyteNoDiagrams)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

void BM_ReadyTwentyDiagrams(benchmark::State &state)
{
    loadToReady(state, 20'000, 20);
}
BENCHMARK(BM_ReadyTwentyDiagrams)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_PdfTwoHundredKilobytesTenDiagrams(benchmark::State &state)
{
    const QString html = page(200'000, 10);
    QTemporaryDir folder;
    const QUrl output = QUrl::fromLocalFile(folder.filePath(QStringLiteral("bench.pdf")));
    QObject exports;
    for (auto _ : state) {
        bool done = false;
        bool ok = false;
        TarnPDFExporter::exportPdf(
            html, {}, output,
            [&](const PdfExportResult &result) {
                done = true;
                ok = result.ok;
            },
            nullptr, &exports);
        if (!spinUntil([&] { return done; }) || !ok) {
            state.SkipWithError("the export failed");
            break;
        }
    }
    state.counters["page_bytes"] = double(html.toUtf8().size());
}
BENCHMARK(BM_PdfTwoHundredKilobytesTenDiagrams)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

} // namespace

int main(int argc, char *argv[])
{
    return runWebEngineBenchmarks(argc, argv);
}
