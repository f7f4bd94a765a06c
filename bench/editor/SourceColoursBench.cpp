// The source colours on large documents, with and without colouring: a keystroke in a 1 MB
// document (target: none over 16 ms) and putting a 5 MB document into the editor (target: at
// most 0.3 s more than without colouring).
#include "EditorBenchTiming.h"
#include "EditorPane.h"
#include "MarkdownHighlighter.h"
#include "PlainTextEditView.h"
#include "TarnEditorTextView.h"

#include <TarnDocument.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>
#include <vector>

namespace {

// Mixed Markdown of about `bytes` UTF-8 bytes: headings, paragraphs with emphasis, links and
// code, lists with task boxes, quotes, tables, fences, math and Chinese text.
QString markdownOfSize(qsizetype bytes)
{
    const QString section =
        QStringLiteral("## 第 %1 节 Section\n\n"
                       "Some **strong** text, *emphasis*, ~~gone~~ and `inline code` with a "
                       "[link](https://example.org/%1 \"title\") and ![image](img/%1.png).\n"
                       "中文段落：编辑器给 Markdown 源码上色，$x^2$ 也是。\n\n"
                       "- [x] done item %1\n- [ ] open item\n  1. nested <span>html</span>\n\n"
                       "> quoted line\n> second\n\n"
                       "| a | b |\n|---|---|\n| %1 | `c` |\n\n"
                       "```cpp\nint main() { return %1; } // *not emphasis*\n```\n\n"
                       "$$\n\\sum_{i=0}^{%1} i\n$$\n\n");
    QString text;
    for (int n = 0; text.toUtf8().size() < bytes; ++n) {
        QString chunk;
        for (int k = 0; k < 200; ++k)
            chunk += section.arg(n * 200 + k);
        text += chunk;
    }
    return text;
}

void settle(MarkdownHighlighter *highlighter)
{
    QElapsedTimer clock;
    clock.start();
    while (!highlighter->isUpToDate() && clock.elapsed() < 120'000)
        QApplication::processEvents();
}

// A keystroke in the middle of a 1 MB document and the repaint that shows it, then the event
// loop's turn (where the slices, the counts and the draft run) at about ten keystrokes a second.
void BM_TypeColoured(benchmark::State &state)
{
    const bool colour = state.range(0) != 0;
    static const QString text = markdownOfSize(1'000'000);
    TarnDocument doc(QUrl::fromLocalFile(QStringLiteral("/tmp/coloured.md")), text);
    EditorPane pane;
    pane.resize(1100, 760);
    pane.highlighter()->setEnabled(colour);
    pane.setDocument(&doc);
    pane.show();
    const double settleStart = threadCpuMilliseconds();
    settle(pane.highlighter());
    state.counters["colour_all_cpu_ms"] = threadCpuMilliseconds() - settleStart;
    TarnEditorTextView *view = pane.textView();
    // Start of a line in the middle, so typing "`" three times opens a fence over half of it.
    const int middle = int(text.indexOf(u"\n\n## ", text.size() / 2)) + 2;
    pane.textViewAdapter()->setSelection({middle, 0});
    view->setFocus();
    std::vector<double> times;
    std::vector<double> cpuTimes;
    const QString keys = QStringLiteral("```x\b\b\b\bab");
    int typed = 0;
    for (auto _ : state) {
        const QChar key = keys[typed++ % keys.size()];
        QKeyEvent press(QEvent::KeyPress, key == u'\b' ? Qt::Key_Backspace : Qt::Key_X,
                        Qt::NoModifier, key == u'\b' ? QString() : QString(key));
        const double cpuStart = threadCpuMilliseconds();
        const auto start = std::chrono::steady_clock::now();
        QApplication::sendEvent(view, &press);
        view->viewport()->repaint();
        const auto end = std::chrono::steady_clock::now();
        cpuTimes.push_back(threadCpuMilliseconds() - cpuStart);
        const double seconds = std::chrono::duration<double>(end - start).count();
        times.push_back(seconds * 1000);
        state.SetIterationTime(seconds);
        QApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        QApplication::processEvents();
    }
    state.counters["median_ms"] = median(times);
    state.counters["max_ms"] = *std::max_element(times.begin(), times.end());
    state.counters["median_cpu_ms"] = median(cpuTimes);
    state.counters["max_cpu_ms"] = *std::max_element(cpuTimes.begin(), cpuTimes.end());
    state.counters["over_16ms_cpu"] =
        double(std::count_if(cpuTimes.begin(), cpuTimes.end(), [](double ms) { return ms > 16; }));
}
BENCHMARK(BM_TypeColoured)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(120);

// A 5 MB document going into a shown editor until its first frame is painted; colouring adds
// the lines on screen and the first slice, the rest comes later.
void BM_EnterEditing5MB(benchmark::State &state)
{
    const bool colour = state.range(0) != 0;
    static const QString text = markdownOfSize(5'000'000);
    TarnDocument doc(QUrl::fromLocalFile(QStringLiteral("/tmp/large.md")), text);
    std::vector<double> cpuTimes;
    for (auto _ : state) {
        auto pane = std::make_unique<EditorPane>();
        pane->resize(1100, 760);
        pane->highlighter()->setEnabled(colour);
        pane->show();
        QApplication::processEvents();
        const double cpuStart = threadCpuMilliseconds();
        const auto start = std::chrono::steady_clock::now();
        pane->setDocument(&doc);
        pane->textView()->viewport()->repaint();
        QApplication::processEvents();
        const auto end = std::chrono::steady_clock::now();
        cpuTimes.push_back(threadCpuMilliseconds() - cpuStart);
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        if (pane->textViewAdapter()->text().size() != text.size())
            state.SkipWithError("the document did not arrive");
    }
    state.counters["median_cpu_ms"] = median(cpuTimes);
    state.counters["bytes"] = double(text.toUtf8().size());
}
BENCHMARK(BM_EnterEditing5MB)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

} // namespace
