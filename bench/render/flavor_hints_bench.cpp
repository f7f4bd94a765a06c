// The flavour hint runs whenever a tab is selected: it must scan a long classic document, which
// holds none of the constructs it looks for, without a noticeable pause.
#include "DocumentGenerator.h"
#include "MarkdownRenderer.h"
#include "gfm/FlavorHints.h"

#include <benchmark/benchmark.h>

namespace {

void BM_FlavorHints(benchmark::State &state)
{
    // The generated document sticks to the classic grammar, so the scan reads every line.
    const std::u16string document = TarnText::fromUtf8(BenchDocuments::realistic(5'000'000));
    if (FlavorHints::firstStandardConstruct(document)) {
        state.SkipWithError("the generated document holds a standard construct");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(FlavorHints::firstStandardConstruct(document));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document.size() * 2));
}
BENCHMARK(BM_FlavorHints)->Name("classic_5MB/flavor_hints")->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
