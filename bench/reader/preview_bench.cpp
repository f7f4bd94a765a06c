// The split view's preview: time from a keystroke's change to the draft to the preview page
// showing it (render the fragment, hand over the changed blocks, morph them), on long documents.
// Run under an X server (xvfb-run), like the web tests.
#include "DocumentGenerator.h"
#include "LivePreview.h"
#include "TarnDocument.h"
#include "TarnWebView.h"
#include "WebBenchMain.h"

#include <QElapsedTimer>
#include <QWidget>

#include <benchmark/benchmark.h>

namespace {

void BM_PreviewKeystroke(benchmark::State &state)
{
    const auto bytes = std::size_t(state.range(0));
    const auto flavor = state.range(1) == 1 ? MarkdownFlavor::gfm : MarkdownFlavor::classic;
    const QString text = QString::fromStdString(BenchDocuments::realistic(bytes));
    TarnDocument document(QUrl(), text);
    document.setDraft(text);
    QWidget window;
    window.resize(900, 1000);
    LivePreview preview(&window);
    preview.view()->resize(900, 1000);
    window.show();
    bool ready = false;
    QObject::connect(&preview, &LivePreview::pageReady, [&] { ready = true; });
    preview.show(&document, flavor, TarnTheme::businessBlue);
    if (!spinUntil([&] { return ready; })) {
        state.SkipWithError("the preview never got ready");
        return;
    }
    int lastUpdate = -2;
    QObject::connect(&preview, &LivePreview::updated, [&](int ms) { lastUpdate = ms; });
    // Typing in the middle of a paragraph halfway down.
    qsizetype at = text.indexOf(QStringLiteral("\n\n"), text.size() / 2);
    QString draft = text;
    for (auto _ : state) {
        lastUpdate = -2;
        // The editor hands each keystroke's text to the draft whether or not a preview shows.
        draft.insert(at++, u'x');
        document.updateDraft(draft);
        QElapsedTimer clock;
        clock.start();
        preview.updateNow();
        if (!spinUntil([&] { return lastUpdate >= 0; })) {
            state.SkipWithError("the update never came");
            return;
        }
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
    }
    // The renderer's share of it: the fragment of the whole draft, made on every update.
    QElapsedTimer renderClock;
    renderClock.start();
    const auto fragment = MarkdownRenderer::renderFragment(draft.toStdU16String(), flavor);
    state.counters["render_ms"] = double(renderClock.nsecsElapsed()) / 1e6;
    state.counters["blocks"] = double(fragment.blockLines.size());
    state.counters["markdown_KB"] = double(bytes) / 1000.0;
    state.counters["loads"] = preview.view()->loadCount();
}
BENCHMARK(BM_PreviewKeystroke)
    ->ArgsProduct({{100 * 1000, 1000 * 1000}, {0, 1}})
    ->ArgNames({"bytes", "gfm"})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20);

} // namespace

int main(int argc, char *argv[])
{
    return runWebEngineBenchmarks(argc, argv);
}
