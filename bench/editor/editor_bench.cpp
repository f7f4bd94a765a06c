// Editor benchmarks on a 1 MB Markdown document in which the query matches 20 000 times.
// Targets: one typed character (edit, draft update, match recount, highlights) under 16 ms,
// replace-all under 1 s.
#include "CaseFoldedSearch.h"
#include "DraftKeeper.h"
#include "DraftStore.h"
#include "EditorBenchTiming.h"
#include "EditorPane.h"
#include "MarkdownEditorActions.h"
#include "PlainTextEditView.h"
#include "TarnEditorTextView.h"

#include <ModelFixture.h>
#include <TarnDocument.h>

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <ctime>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int matchCount = 20000;

// 20 000 lines of mixed English and Chinese, about 1 MB in UTF-8, each holding the query once in
// some mix of case.
QString largeDocument()
{
    const QString spellings[] = {QStringLiteral("tarn"), QStringLiteral("Tarn"),
                                 QStringLiteral("TARN")};
    QString text;
    for (int line = 0; line < matchCount; ++line) {
        text += QStringLiteral("- 第 %1 行：the %2 editor keeps 草稿 safe.\n")
                    .arg(line)
                    .arg(spellings[line % 3]);
    }
    return text;
}

const QString &document()
{
    static const QString text = largeDocument();
    return text;
}

struct PaneBench
{
    PaneBench()
        : doc(QUrl::fromLocalFile(QStringLiteral("/tmp/large.md")), document())
    {
        pane.resize(1100, 760);
        pane.setDocument(&doc);
        pane.show();
        QApplication::processEvents();
        pane.actions()->setFindText(QStringLiteral("tarn"));
    }

    TarnDocument doc;
    EditorPane pane;
};

void typeCharacter(QWidget *target, QChar character)
{
    QKeyEvent press(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, QString(character));
    QApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_X, Qt::NoModifier, QString(character));
    QApplication::sendEvent(target, &release);
}

// One keystroke in the middle of the document with the query active, then a repaint of the
// view, as the next frame would draw it.
void BM_TypeCharacter(benchmark::State &state)
{
    const bool paint = state.range(0) != 0;
    PaneBench bench;
    TarnEditorTextView *view = bench.pane.textView();
    bench.pane.textViewAdapter()->setSelection({int(document().size() / 2), 0});
    view->setFocus();
    std::vector<double> times;
    std::vector<double> cpuTimes;
    for (auto _ : state) {
        const double cpuStart = threadCpuMilliseconds();
        const auto start = std::chrono::steady_clock::now();
        typeCharacter(view, u'x');
        if (paint)
            view->viewport()->repaint();
        const auto end = std::chrono::steady_clock::now();
        cpuTimes.push_back(threadCpuMilliseconds() - cpuStart);
        const double seconds = std::chrono::duration<double>(end - start).count();
        times.push_back(seconds * 1000);
        state.SetIterationTime(seconds);
    }
    if (bench.pane.actions()->matchCount() != matchCount)
        state.SkipWithError("the match count drifted");
    state.counters["median_ms"] = median(times);
    state.counters["median_cpu_ms"] = median(cpuTimes);
    state.counters["matches"] = bench.pane.actions()->matchCount();
}
BENCHMARK(BM_TypeCharacter)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(200);

// Typing in the 1 MB document of a real model, with and without its draft being kept for
// recovery: a keystroke, then the event loop's turn (where the write is handed to the writer
// thread once a second), at about ten keystrokes a second less the think time.
void BM_TypeWithRecovery(benchmark::State &state)
{
    const bool keep = state.range(0) != 0;
    ModelFixture fixture;
    QFile file(fixture.path(QStringLiteral("large.md")));
    if (!file.open(QIODevice::WriteOnly) || file.write(document().toUtf8()) < 0)
        return state.SkipWithError("cannot write the document");
    file.close();
    fixture.model->openURLs({QUrl::fromLocalFile(file.fileName())}, false);
    fixture.model->toggleEditing();
    DraftStore store(fixture.path(QStringLiteral("drafts")));
    std::unique_ptr<DraftKeeper> keeper;
    if (keep && store.acquire())
        keeper = std::make_unique<DraftKeeper>(*fixture.model, store);
    EditorPane pane;
    pane.resize(1100, 760);
    pane.setDocument(fixture.model->selectedDocument());
    pane.show();
    QApplication::processEvents();
    pane.textViewAdapter()->setSelection({int(document().size() / 2), 0});
    std::vector<double> cpuTimes;
    for (auto _ : state) {
        const double cpuStart = threadCpuMilliseconds();
        const auto start = std::chrono::steady_clock::now();
        typeCharacter(pane.textView(), u'x');
        QApplication::processEvents();
        const auto end = std::chrono::steady_clock::now();
        cpuTimes.push_back(threadCpuMilliseconds() - cpuStart);
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    store.flush();
    const QList<RecoveredDraft> kept = store.readAll();
    if (keep && (kept.isEmpty() || kept.first().draft.size() < document().size()))
        state.SkipWithError("the draft was not kept");
    state.counters["median_cpu_ms"] = median(cpuTimes);
    state.counters["max_cpu_ms"] = *std::max_element(cpuTimes.begin(), cpuTimes.end());
}
BENCHMARK(BM_TypeWithRecovery)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(150);

// Typing into a match, which changes the count and the current match on every keystroke.
void BM_TypeIntoMatch(benchmark::State &state)
{
    PaneBench bench;
    TarnEditorTextView *view = bench.pane.textView();
    const int middle = int(document().indexOf(QStringLiteral("tarn"), document().size() / 2));
    std::vector<double> times;
    std::vector<double> cpuTimes;
    int typed = 0;
    for (auto _ : state) {
        // Alternately break the match and restore it.
        const bool restore = typed++ % 2 == 1;
        const double cpuStart = threadCpuMilliseconds();
        const auto start = std::chrono::steady_clock::now();
        if (restore) {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier);
            QApplication::sendEvent(view, &press);
        } else {
            bench.pane.textViewAdapter()->setSelection({middle + 2, 0});
            typeCharacter(view, u'x');
        }
        const auto end = std::chrono::steady_clock::now();
        cpuTimes.push_back(threadCpuMilliseconds() - cpuStart);
        const double seconds = std::chrono::duration<double>(end - start).count();
        times.push_back(seconds * 1000);
        state.SetIterationTime(seconds);
    }
    state.counters["median_ms"] = median(times);
    state.counters["median_cpu_ms"] = median(cpuTimes);
    if (bench.pane.actions()->matchCount() != matchCount)
        state.SkipWithError("the match count drifted");
}
BENCHMARK(BM_TypeIntoMatch)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(200);

// Typing the query itself: every change of the find text scans the whole document.
void BM_ChangeQuery(benchmark::State &state)
{
    PaneBench bench;
    bool other = false;
    for (auto _ : state) {
        bench.pane.actions()->setFindText(other ? QStringLiteral("tarn") : QStringLiteral("tar"));
        other = !other;
    }
    state.counters["matches"] = bench.pane.actions()->matchCount();
}
BENCHMARK(BM_ChangeQuery)->Unit(benchmark::kMillisecond)->Iterations(50);

// The whole-text scan alone, for comparison with the incremental recount while typing.
void BM_FullScan(benchmark::State &state)
{
    const CaseFoldedSearch search(u"tarn");
    qsizetype found = 0;
    for (auto _ : state)
        found = search.findAll(document()).size();
    state.counters["matches"] = double(found);
}
BENCHMARK(BM_FullScan)->Unit(benchmark::kMillisecond)->Iterations(50);

// Replace-all confirmed at once, through the pane so the draft is updated as well.
void BM_ReplaceAll(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto bench = std::make_unique<PaneBench>();
        bench->pane.actions()->setReplaceText(QStringLiteral("Tarn 编辑器"));
        QTimer::singleShot(0, [] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget()))
                box->defaultButton()->click();
        });
        state.ResumeTiming();
        bench->pane.actions()->replaceAll();
        state.PauseTiming();
        if (bench->doc.draft().count(QStringLiteral("编辑器")) != matchCount)
            state.SkipWithError("replace-all did not replace every match");
        bench.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ReplaceAll)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
