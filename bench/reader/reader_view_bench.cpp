// The reader pane as the window uses it: time from selecting a tab to its first screen being
// painted and to its page being ready, memory of the program with its web engine processes,
// switching back without a reload, and searching while typing.
// Run under an X server (xvfb-run), like the web tests.
#include "AppModel.h"
#include "DocumentGenerator.h"
#include "ModelFixture.h"
#include "ReaderPane.h"
#include "TarnUsageLogger.h"
#include "TarnWebView.h"
#include "WebBenchMain.h"
#include "WebEngineProcess.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QWebEnginePage>

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

namespace {

// When the engine first painted the page's content, in milliseconds since the epoch (0 when it
// never did): its own first-contentful-paint entry, kept on the page's timeline.
double firstContentfulPaint(QWebEnginePage *page)
{
    double at = 0;
    bool failed = false;
    const bool painted = spinUntil([&] {
        bool answered = false;
        page->runJavaScript(
            QStringLiteral("(() => {"
                           "  const paint = performance.getEntriesByName('first-contentful-paint');"
                           "  return paint.length ? performance.timeOrigin + paint[0].startTime"
                           "    : 0; })()"),
            [&](const QVariant &value) {
                at = value.toDouble();
                answered = true;
            });
        failed = !spinUntil([&] { return answered; });
        return at > 0 || failed;
    });
    return painted && !failed ? at : 0;
}

// One field of /proc/PID/status or smaps_rollup, in kilobytes; 0 when missing.
qint64 procKilobytes(const QString &file, const QByteArray &field)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : in.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').value(0).toLongLong();
    }
    return 0;
}

qint64 parentOf(const QString &pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = stat.readAll();
    // The command name in parentheses may hold spaces; the fields after it do not.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return fields.value(1).toLongLong();
}

struct TreeMemory
{
    double rssMiB = 0;
    double pssMiB = 0;
    int processes = 0;
};

// This process and every process below it (the web engine's zygote, renderers and GPU process).
TreeMemory processTreeMemory()
{
    QList<qint64> tree{QCoreApplication::applicationPid()};
    bool grew = true;
    const QStringList all = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    while (grew) {
        grew = false;
        for (const QString &entry : all) {
            bool isPid = false;
            const qint64 pid = entry.toLongLong(&isPid);
            if (isPid && !tree.contains(pid) && tree.contains(parentOf(entry))) {
                tree.append(pid);
                grew = true;
            }
        }
    }
    TreeMemory memory;
    for (const qint64 pid : tree) {
        memory.rssMiB +=
            procKilobytes(QStringLiteral("/proc/%1/status").arg(pid), "VmRSS") / 1024.0;
        memory.pssMiB +=
            procKilobytes(QStringLiteral("/proc/%1/smaps_rollup").arg(pid), "Pss") / 1024.0;
    }
    memory.processes = int(tree.size());
    return memory;
}

// A model on files in a temporary folder and a shown reader pane, as in the window.
struct Reader : ModelFixture
{
    Reader()
    {
        pane = std::make_unique<ReaderPane>(*model);
        pane->resize(1180 - 252, 700);
        pane->show();
    }
    TarnDocument *open(const QString &name, const std::string &markdown)
    {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            return nullptr;
        file.write(markdown.data(), qint64(markdown.size()));
        file.close();
        model->openURLs({QUrl::fromLocalFile(file.fileName())}, true);
        TarnDocument *document = model->selectedDocument();
        return waitForPage(document) ? document : nullptr;
    }

    bool waitForPage(TarnDocument *document)
    {
        bool ready = false;
        auto connection = QObject::connect(pane.get(), &ReaderPane::pageReady,
                                           [&](TarnDocument *shown) { ready = shown == document; });
        const bool ok = spinUntil([&] { return ready; });
        QObject::disconnect(connection);
        return ok;
    }

    // Destroyed before the model it shows.
    std::unique_ptr<ReaderPane> pane;
};

// Selecting a tab whose page is not loaded: render, load, wait for readiness, restore; in the
// classic flavour (second argument 0) or the standard one (1).
void BM_SelectTabToReady(benchmark::State &state)
{
    const std::size_t bytes = std::size_t(state.range(0));
    Reader reader;
    if (state.range(1) == 1)
        reader.model->setMarkdownFlavor(MarkdownFlavor::gfm);
    TarnDocument *big = reader.open(QStringLiteral("big.md"), BenchDocuments::realistic(bytes));
    // Enough other tabs that the big page is let go each round.
    QList<TarnDocument *> others;
    for (int i = 0; i < ReaderPane::maximumLoadedPages; ++i)
        others.append(reader.open(QStringLiteral("other%1.md").arg(i), "# Other\n\nText.\n"));
    if (!big || others.contains(nullptr)) {
        state.SkipWithError("a document did not open");
        return;
    }
    TreeMemory peak;
    double renderSeconds = 0;
    double firstPaintMs = 0;
    for (auto _ : state) {
        for (TarnDocument *other : others)
            reader.model->selectTab(other->id()); // already loaded: no waiting
        QElapsedTimer clock;
        qint64 readyNs = 0;
        auto connection =
            QObject::connect(reader.pane.get(), &ReaderPane::pageReady, [&](TarnDocument *shown) {
                if (shown == big && readyNs == 0)
                    readyNs = clock.nsecsElapsed();
            });
        clock.start();
        const double selectedAt = std::chrono::duration<double, std::milli>(
                                      std::chrono::system_clock::now().time_since_epoch())
                                      .count();
        reader.model->selectTab(big->id());
        // Rendering happens inside the selection; loading and readiness come after.
        renderSeconds += double(clock.nsecsElapsed()) / 1e9;
        const bool ready = spinUntil([&] { return readyNs != 0; });
        QObject::disconnect(connection);
        if (!ready) {
            state.SkipWithError("the page never got ready");
            return;
        }
        state.SetIterationTime(double(readyNs) / 1e9);
        firstPaintMs += firstContentfulPaint(reader.pane->currentView()->page()) - selectedAt;
        const TreeMemory now = processTreeMemory();
        if (now.rssMiB > peak.rssMiB)
            peak = now;
    }
    state.counters["markdown_KB"] = double(bytes) / 1000.0;
    state.counters["render_ms"] =
        benchmark::Counter(renderSeconds * 1000.0, benchmark::Counter::kAvgIterations);
    state.counters["first_paint_ms"] =
        benchmark::Counter(firstPaintMs, benchmark::Counter::kAvgIterations);
    state.counters["tree_RSS_MiB"] = peak.rssMiB;
    state.counters["tree_PSS_MiB"] = peak.pssMiB;
    state.counters["processes"] = peak.processes;
}
BENCHMARK(BM_SelectTabToReady)
    ->ArgsProduct({{100'000, 1'000'000, 5'000'000}, {0, 1}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

// Switching back to a tab whose page is still loaded and unchanged.
void BM_SwitchBackToUnchangedTab(benchmark::State &state)
{
    const std::size_t bytes = std::size_t(state.range(0));
    Reader reader;
    TarnDocument *big = reader.open(QStringLiteral("big.md"), BenchDocuments::realistic(bytes));
    TarnDocument *other = reader.open(QStringLiteral("other.md"), "# Other\n\nText.\n");
    if (!big || !other) {
        state.SkipWithError("a document did not open");
        return;
    }
    reader.model->selectTab(big->id());
    TarnWebView *view = reader.pane->currentView();
    const int loadsBefore = view->loadCount();
    for (auto _ : state) {
        reader.model->selectTab(other->id());
        reader.model->selectTab(big->id());
    }
    state.counters["reloads"] = double(view->loadCount() - loadsBefore);
    state.counters["same_view"] = reader.pane->currentView() == view ? 1 : 0;
    state.counters["markdown_KB"] = double(bytes) / 1000.0;
}
BENCHMARK(BM_SwitchBackToUnchangedTab)
    ->Arg(1'000'000)
    ->Arg(5'000'000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

// Typing a query into the reader search over a long page, a key every 120 ms: time from the
// last keystroke to the count for the final query (earlier queries' counts never show).
void BM_SearchWhileTyping(benchmark::State &state)
{
    const std::size_t bytes = std::size_t(state.range(0));
    Reader reader;
    TarnDocument *big = reader.open(QStringLiteral("big.md"), BenchDocuments::realistic(bytes));
    if (!big) {
        state.SkipWithError("the document did not open");
        return;
    }
    const QString query = QStringLiteral("reader");
    int hits = 0;
    for (auto _ : state) {
        for (qsizetype typed = 1; typed < query.size(); ++typed) {
            reader.model->setSearchQuery(query.left(typed));
            QElapsedTimer pause;
            pause.start();
            spinUntil([&] { return pause.elapsed() >= 120; });
        }
        QElapsedTimer clock;
        clock.start();
        reader.model->setSearchQuery(query);
        if (!spinUntil([&] { return reader.model->searchResultCount() > 0; })) {
            state.SkipWithError("the count never came");
            return;
        }
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
        hits = reader.model->searchResultCount();
        // The page takes the marks out in the background before the next round.
        reader.model->setSearchQuery(QString());
        QElapsedTimer rest;
        rest.start();
        spinUntil([&] { return rest.elapsed() >= 3000; });
    }
    state.counters["markdown_KB"] = double(bytes) / 1000.0;
    state.counters["hits"] = hits;
}
BENCHMARK(BM_SearchWhileTyping)
    ->Arg(5'000'000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

} // namespace

int main(int argc, char *argv[])
{
    return runWebEngineBenchmarks(argc, argv);
}
