// The page scanner over the saved pages of the shared corpus: the full scan
// (startParse, continueParse in 16 KiB pieces, endParse) of all pages, and
// of each page alone. The live heap held by the page model of a page after
// its scan is reported as the counter "model_bytes".
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <string>
#include <vector>

#include "support/BenchCorpus.h"
#include "webstep/html/HTMLScanner.h"

namespace {

constexpr std::size_t kPiece = 16 * 1024;

using webstep::bench::Page;

const std::vector<Page>& Pages() {
    return webstep::bench::CorpusPages();
}

void Scan(CHTMLScanner& scanner, const std::string& text) {
    webstep::bench::ScanInPieces(scanner, text, kPiece);
}

void BM_HTMLScannerCorpus(benchmark::State& state) {
    const auto& pages = Pages();
    if (pages.empty()) {
        state.SkipWithError("no pages in corpus/html");
        return;
    }
    int64_t bytes = 0;
    for (const Page& p : pages) {
        bytes += static_cast<int64_t>(p.text.size());
    }
    CHTMLScanner scanner;
    for (auto _ : state) {
        for (const Page& p : pages) {
            Scan(scanner, p.text);
            benchmark::DoNotOptimize(scanner.nLinks());
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
}
BENCHMARK(BM_HTMLScannerCorpus)->Unit(benchmark::kMillisecond);

void BM_HTMLScannerPage(benchmark::State& state) {
    const auto& pages = Pages();
    const auto index = static_cast<std::size_t>(state.range(0));
    if (index >= pages.size()) {
        state.SkipWithError("no such page");
        return;
    }
    const Page& page = pages[index];
    state.SetLabel(page.name);
    // Live heap of the model of this page, measured once outside the loop.
    {
        const auto before = mallinfo2().uordblks;
        auto* scanner = new CHTMLScanner();
        Scan(*scanner, page.text);
        const auto after = mallinfo2().uordblks;
        state.counters["model_bytes"] = static_cast<double>(after - before);
        state.counters["links"] = scanner->nLinks();
        delete scanner;
    }
    CHTMLScanner scanner;
    for (auto _ : state) {
        Scan(scanner, page.text);
        benchmark::DoNotOptimize(scanner.nLinks());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(page.text.size()));
}
BENCHMARK(BM_HTMLScannerPage)->DenseRange(0, 7)->Unit(benchmark::kMillisecond);

}  // namespace
