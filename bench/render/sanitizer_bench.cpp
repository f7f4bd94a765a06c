// The standard flavour's raw-HTML sanitizer: its cost on Markdown people wrote (whose raw HTML
// sends the whole page through it) and on nesting an HTML parser finds quadratic.
#include "DocumentGenerator.h"
#include "MarkdownRenderer.h"
#include "gfm/HtmlSanitizer.h"

#include <benchmark/benchmark.h>

namespace {

void BM_StandardFlavour(benchmark::State &state, bool withRawHtml)
{
    std::string document =
        BenchDocuments::realMarkdown(10 * 1024 * 1024, BenchDocuments::realMarkdownFolders());
    if (document.empty()) {
        state.SkipWithError("no real Markdown found");
        return;
    }
    if (!withRawHtml) {
        for (char &c : document) {
            if (c == '<')
                c = '(';
        }
    }
    for (auto _ : state) {
        const auto page = MarkdownRenderer::render(std::string_view(document), TarnTheme::light,
                                                   u"Tarn", MarkdownFlavor::gfm);
        benchmark::DoNotOptimize(page.html.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document.size()));
}
BENCHMARK_CAPTURE(BM_StandardFlavour, real_10MB_raw_html, true)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_StandardFlavour, real_10MB_no_raw_html, false)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

void BM_Sanitizer(benchmark::State &state, std::string (*make)())
{
    const std::string html = make();
    for (auto _ : state)
        benchmark::DoNotOptimize(TarnGfm::sanitizeHtml(html));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(html.size()));
}
BENCHMARK_CAPTURE(BM_Sanitizer, paragraphs_9MB,
                  [] {
                      std::string html;
                      for (int i = 0; i < 100000; ++i)
                          html += "<p>Some <em>text</em> with a <a href=\"https://x.org/a\">link"
                                  "</a> and <code>code</code>.</p>\n";
                      return html;
                  })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Sanitizer, nested_div_200k,
                  [] {
                      std::string html;
                      for (int i = 0; i < 200000; ++i)
                          html += "<div>";
                      return html;
                  })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Sanitizer, nested_div_500_times_2000,
                  [] {
                      std::string html;
                      for (int i = 0; i < 2000; ++i) {
                          for (int j = 0; j < 500; ++j)
                              html += "<div>";
                          for (int j = 0; j < 500; ++j)
                              html += "</div>";
                      }
                      return html;
                  })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

} // namespace
