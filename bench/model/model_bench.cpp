// Model benchmarks: a 10 MB document opened through openURLs and saved, and 100 000 log events.
// Targets on the development machine: open and save under 100 ms each; under 5 µs spent by the
// calling thread per log call.
#include "AppModel.h"
#include "ScriptedPlatform.h"
#include "TarnUsageLogger.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

namespace {

constexpr qsizetype documentBytes = 10 * 1024 * 1024;

// Mixed English and Chinese Markdown, as a real notes file would hold.
QByteArray markdownDocument()
{
    const QByteArray section =
        QStringLiteral("## 第 %1 节 Section\n\n"
                       "The reader keeps its place while the page renders *quickly*, with "
                       "`inline code` and [links](notes.md).\n阅读时保持位置，页面渲染**迅速**，"
                       "而且清晰。\n\n- item one\n- 第二项\n\n```swift\nlet x = 1\n```\n\n")
            .toUtf8();
    QByteArray document;
    document.reserve(documentBytes + section.size() * 2);
    for (int i = 1; document.size() < documentBytes; ++i)
        document += QByteArray(section).replace("%1", QByteArray::number(i));
    return document;
}

QByteArray latin1Document()
{
    const QByteArray line =
        "Le caf\xe9 o\xf9 nous d\xe9jeunions \xe9tait ferm\xe9, \xe0 c\xf4t\xe9 "
        "une cr\xeaperie tr\xe8s anim\xe9"
        "e.\n";
    QByteArray document;
    document.reserve(documentBytes + line.size());
    while (document.size() < documentBytes)
        document += line;
    return document;
}

// A model over a temporary folder with the scripted platform, as the tests use it.
struct Bench
{
    QTemporaryDir dir;
    ScriptedPlatform platform;
    ScriptedPdfExportService pdf;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    TarnUsageLogger logger{dir.filePath("logs")};
    std::unique_ptr<AppModel> model;

    QUrl write(const QString &name, const QByteArray &bytes)
    {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return QUrl();
        return QUrl::fromLocalFile(file.fileName());
    }
    void freshModel() { model = std::make_unique<AppModel>(settings, platform, pdf, logger); }
};

void openDocument(benchmark::State &state, const QByteArray &bytes)
{
    Bench bench;
    const QUrl url = bench.write("large.md", bytes);
    for (auto _ : state) {
        state.PauseTiming();
        bench.freshModel();
        state.ResumeTiming();
        bench.model->openURLs({url}, false);
        benchmark::DoNotOptimize(bench.model->selectedDocument());
        state.PauseTiming();
        if (!bench.model->selectedDocument())
            state.SkipWithError("the document did not open");
        bench.model.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}

void BM_OpenUtf8ThroughOpenURLs(benchmark::State &state)
{
    openDocument(state, markdownDocument());
}
BENCHMARK(BM_OpenUtf8ThroughOpenURLs)->Unit(benchmark::kMillisecond)->UseRealTime();

// The second read, with encoding detection, for a file that is not UTF-8.
void BM_OpenLatin1ThroughOpenURLs(benchmark::State &state)
{
    openDocument(state, latin1Document());
}
BENCHMARK(BM_OpenLatin1ThroughOpenURLs)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SaveDocument(benchmark::State &state)
{
    Bench bench;
    const QByteArray bytes = markdownDocument();
    bench.freshModel();
    bench.model->openURLs({bench.write("large.md", bytes)}, false);
    TarnDocument *document = bench.model->selectedDocument();
    const QString original = document->content();
    const QString edited = original + QStringLiteral("\n一行新的文字\n");
    bool flip = false;
    for (auto _ : state) {
        state.PauseTiming();
        flip = !flip;
        document->updateDraft(flip ? edited : original);
        state.ResumeTiming();
        if (!bench.model->saveDocument(document))
            state.SkipWithError("save failed");
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(BM_SaveDocument)->Unit(benchmark::kMillisecond)->UseRealTime();

// 100 000 events with typical metadata, then a flush. "log_call_us" is what the calling thread
// spent per log call; the iteration time includes writing every line.
void BM_Log100kEventsAndFlush(benchmark::State &state)
{
    constexpr int events = 100'000;
    QTemporaryDir dir;
    const QMap<QString, QString> metadata{{"file", "笔记.md"}, {"path", "/home/user/文档/笔记.md"}};
    double callSeconds = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto logger = std::make_unique<TarnUsageLogger>(dir.filePath("logs"));
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < events; ++i)
            logger->log(QStringLiteral("file.open.success"), metadata);
        callSeconds +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        logger->flush();
        state.PauseTiming();
        logger.reset();
        QFile::remove(dir.filePath("logs/tarn.log"));
        QFile::remove(dir.filePath("logs/tarn.previous.log"));
        state.ResumeTiming();
    }
    state.counters["log_call_us"] = callSeconds * 1e6 / double(state.iterations() * events);
    state.SetItemsProcessed(state.iterations() * events);
}
BENCHMARK(BM_Log100kEventsAndFlush)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
