// Renderer benchmarks: throughput against cmark-gfm and md4c on the same bytes, peak memory,
// and pathological inputs that must stay linear.
#include "DocumentGenerator.h"
#include "MarkdownRenderer.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>

#ifdef TARN_HAVE_CMARK_GFM
#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>
#endif
#ifdef TARN_HAVE_MD4C
#include <md4c-html.h>
#endif

namespace {

constexpr std::size_t kDocumentBytes = 10 * 1024 * 1024;

// The two 10 MB inputs every parser reads: 0 the generated mix, 1 the Markdown files found on
// this machine (empty when there are none; those runs are skipped).
const std::string &document(int which)
{
    static const std::string generated = BenchDocuments::realistic(kDocumentBytes);
    static const std::string real =
        BenchDocuments::realMarkdown(kDocumentBytes, BenchDocuments::realMarkdownFolders());
    return which == 0 ? generated : real;
}

constexpr const char *kInputNames[] = {"generated_10MB", "real_10MB"};

bool skipWithoutInput(benchmark::State &state, const std::string &input)
{
    if (!input.empty())
        return false;
    state.SkipWithError("no Markdown files found under node_modules/ or /usr/share/doc");
    return true;
}

// Kilobytes from /proc/self/status ("VmRSS", "VmHWM").
long statusKilobytes(const char *field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(field) + ":";
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0)
            return std::stol(line.substr(prefix.size()));
    }
    return 0;
}

void resetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

void BM_Tarn(benchmark::State &state, int which, MarkdownFlavor flavor)
{
    const std::string &document = ::document(which);
    if (skipWithoutInput(state, document))
        return;
    resetPeakMemory();
    const long before = statusKilobytes("VmRSS");
    for (auto _ : state) {
        const RenderedMarkdown page = MarkdownRenderer::render(
            std::string_view(document), TarnTheme::businessBlue, u"Tarn", flavor);
        std::string html = TarnText::toUtf8(page.html);
        benchmark::DoNotOptimize(html.data());
    }
    const double peak = double(statusKilobytes("VmHWM") - before) * 1024.0;
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document.size()));
    state.counters["peak_MB"] = peak / 1e6;
    state.counters["peak_x_input"] = peak / double(document.size());
}
BENCHMARK_CAPTURE(BM_Tarn, generated, 0, MarkdownFlavor::classic)
    ->Name("generated_10MB/tarn")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Tarn, real, 1, MarkdownFlavor::classic)
    ->Name("real_10MB/tarn")
    ->Unit(benchmark::kMillisecond);
// The standard flavour: the whole page, as the exporter writes it, against cmark-gfm's HTML.
BENCHMARK_CAPTURE(BM_Tarn, generated_gfm, 0, MarkdownFlavor::gfm)
    ->Name("generated_10MB/tarn-gfm")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Tarn, real_gfm, 1, MarkdownFlavor::gfm)
    ->Name("real_10MB/tarn-gfm")
    ->Unit(benchmark::kMillisecond);

#ifdef TARN_HAVE_CMARK_GFM
void BM_CmarkGfm(benchmark::State &state, int which)
{
    const std::string &document = ::document(which);
    if (skipWithoutInput(state, document))
        return;
    cmark_gfm_core_extensions_ensure_registered();
    for (auto _ : state) {
        cmark_parser *parser = cmark_parser_new(CMARK_OPT_DEFAULT);
        for (const char *name : {"table", "strikethrough", "tasklist", "autolink"})
            cmark_parser_attach_syntax_extension(parser, cmark_find_syntax_extension(name));
        cmark_parser_feed(parser, document.data(), document.size());
        cmark_node *root = cmark_parser_finish(parser);
        char *html =
            cmark_render_html(root, CMARK_OPT_DEFAULT, cmark_parser_get_syntax_extensions(parser));
        benchmark::DoNotOptimize(html);
        free(html);
        cmark_node_free(root);
        cmark_parser_free(parser);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document.size()));
}
BENCHMARK_CAPTURE(BM_CmarkGfm, generated, 0)
    ->Name("generated_10MB/cmark-gfm")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CmarkGfm, real, 1)->Name("real_10MB/cmark-gfm")->Unit(benchmark::kMillisecond);
#endif

#ifdef TARN_HAVE_MD4C
void BM_Md4c(benchmark::State &state, int which)
{
    const std::string &document = ::document(which);
    if (skipWithoutInput(state, document))
        return;
    for (auto _ : state) {
        std::string html;
        html.reserve(document.size() * 2);
        md_html(
            document.data(), MD_SIZE(document.size()),
            [](const MD_CHAR *text, MD_SIZE size, void *out) {
                static_cast<std::string *>(out)->append(text, size);
            },
            &html, MD_DIALECT_GITHUB, 0);
        benchmark::DoNotOptimize(html.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document.size()));
}
BENCHMARK_CAPTURE(BM_Md4c, generated, 0)
    ->Name("generated_10MB/md4c")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Md4c, real, 1)->Name("real_10MB/md4c")->Unit(benchmark::kMillisecond);
#endif

void BM_Pathological(benchmark::State &state, std::string (*make)(),
                     MarkdownFlavor flavor = MarkdownFlavor::classic)
{
    const std::string document = make();
    for (auto _ : state) {
        const auto page = MarkdownRenderer::render(std::string_view(document),
                                                   TarnTheme::businessBlue, u"Tarn", flavor);
        benchmark::DoNotOptimize(page.html.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document.size()));
}

BENCHMARK_CAPTURE(BM_Pathological, mixed_delimiters_5MB_line,
                  [] { return BenchDocuments::mixedDelimiterLine(5 * 1024 * 1024); })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Pathological, list_items_200k,
                  [] { return BenchDocuments::listItems(200000); })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Pathological, identical_headings_50k,
                  [] { return BenchDocuments::identicalHeadings(50000); })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Pathological, table_rows_100k,
                  [] { return BenchDocuments::tableRows(100000); })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Pathological, code_spans_20k_one_paragraph,
                  [] { return BenchDocuments::codeSpansParagraph(20000); })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Pathological, bar_lines_1MB,
                  [] { return BenchDocuments::barLines(1024 * 1024); })
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

// The standard flavour on the same shapes, and on the math extension's own worst case.
BENCHMARK_CAPTURE(
    BM_Pathological, gfm_mixed_delimiters_5MB_line,
    [] { return BenchDocuments::mixedDelimiterLine(5 * 1024 * 1024); }, MarkdownFlavor::gfm)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(
    BM_Pathological, gfm_identical_headings_50k,
    [] { return BenchDocuments::identicalHeadings(50000); }, MarkdownFlavor::gfm)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(
    BM_Pathological, gfm_dollars_5MB_paragraph,
    [] { return BenchDocuments::dollarParagraph(5 * 1024 * 1024); }, MarkdownFlavor::gfm)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

// Prints the usual table, then how Tarn compares with the reference parsers.
class SummaryReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            const auto found = run.counters.find("bytes_per_second");
            if (found != run.counters.end())
                m_throughput[run.benchmark_name()] = found->second.value;
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for (const char *input : kInputNames) {
            std::printf("\nThroughput on the same %s document (MB/s):\n", input);
            for (const char *flavor : {"tarn", "tarn-gfm"}) {
                const double tarn = m_throughput[std::string(input) + "/" + flavor];
                if (tarn == 0)
                    continue;
                std::printf("  %-10s %8.1f\n", flavor, tarn / 1e6);
                for (const char *other : {"cmark-gfm", "md4c"}) {
                    const double theirs = m_throughput[std::string(input) + "/" + other];
                    if (theirs > 0)
                        std::printf("    time %s/%s %.2f\n", flavor, other, theirs / tarn);
                }
            }
        }
    }

private:
    std::map<std::string, double> m_throughput;
};

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
