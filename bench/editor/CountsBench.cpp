// The status line's counts of a 1 MB document, Chinese and English mixed: the time the thread
// pool spends on one count, and what a keystroke pays on the main thread while counts run.
#include "EditorBenchTiming.h"
#include "EditorPane.h"
#include "PlainTextEditView.h"
#include "TarnEditorTextView.h"
#include "TextCounts.h"

#include <TarnDocument.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>

#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>
#include <thread>

namespace {

QString mixedDocument()
{
    QString text;
    qsizetype bytes = 0;
    for (int line = 0; bytes < 1'000'000; ++line) {
        const QString next =
            QStringLiteral("第 %1 段：中文和 English words, don't stop at 3.14 😀 e\u0301.\n")
                .arg(line);
        bytes += next.toUtf8().size();
        text += next;
    }
    return text;
}

const QString &document()
{
    static const QString text = mixedDocument();
    return text;
}

// All three counts, then words and characters alone.
void BM_Count1MB(benchmark::State &state)
{
    const int which = int(state.range(0));
    const QString &text = document();
    TextCounts counts;
    for (auto _ : state) {
        if (which == 0)
            counts = TextCounting::count(text);
        else if (which == 1)
            counts.words = TextCounting::words(text);
        else
            counts.characters = TextCounting::characters(text);
    }
    state.counters["words"] = double(counts.words);
    state.counters["characters"] = double(counts.characters);
}
BENCHMARK(BM_Count1MB)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(5);

// Keystrokes in the 1 MB document with the event loop turning in between, so the counts are
// taken and run while typing goes on; the main thread's time per keystroke.
void BM_TypeWhileCounting(benchmark::State &state)
{
    TarnDocument doc(QUrl::fromLocalFile(QStringLiteral("/tmp/counted.md")), document());
    EditorPane pane;
    pane.resize(1100, 760);
    pane.setDocument(&doc);
    pane.show();
    QApplication::processEvents();
    pane.textViewAdapter()->setSelection({int(document().size() / 2), 0});
    const QString before = pane.statusLine()->text();
    double maxCpu = 0;
    for (auto _ : state) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));
        const double cpuStart = threadCpuMilliseconds();
        const auto start = std::chrono::steady_clock::now();
        QApplication::sendEvent(pane.textView(), &press);
        const auto end = std::chrono::steady_clock::now();
        maxCpu = std::max(maxCpu, threadCpuMilliseconds() - cpuStart);
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        QApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        QApplication::processEvents();
    }
    if (pane.statusLine()->text() == before)
        state.SkipWithError("the counts never changed");
    state.counters["max_cpu_ms"] = maxCpu;
}
BENCHMARK(BM_TypeWhileCounting)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(60);

} // namespace
