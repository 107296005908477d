// The HTML lexer over the saved pages of the shared corpus: whole pages and
// 4 KiB pieces, with and without callbacks, and a long text run in pieces.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "support/BenchCorpus.h"
#include "webstep/html/HTMLBaseParser.h"
#include "webstep/html/HTMLLexer.h"

namespace {

struct CountingCallbacks : TagCallback, TextCallback, CommentCallback {
    void onStartTag(HTMLTag, CHTMLAttrs*& attrs) override { count += attrs->size() + 1; }
    void onEndTag(HTMLTag) override { ++count; }
    void onText(const char*, unsigned length) override { count += length; }
    void onComment(const char*, unsigned length) override { count += length; }
    long count = 0;
};

void Feed(CHTMLBaseParser& parser, const std::string& page, std::size_t piece) {
    parser.startParse();
    for (std::size_t at = 0; at < page.size(); at += piece) {
        const std::size_t n = std::min(piece, page.size() - at);
        parser.continueParse(page.data() + at, static_cast<unsigned>(n));
    }
    parser.stopParse();
}

void RunParser(benchmark::State& state, const std::string& page, std::size_t piece,
               bool callbacks) {
    CHTMLBaseParser parser;
    CountingCallbacks counter;
    if (callbacks) {
        parser.registerTagCallback(HTML_ALL_TAGS, &counter);
        parser.registerTextCallback(&counter);
        parser.registerCommentCallback(&counter);
    }
    for (auto _ : state) {
        Feed(parser, page, piece == 0 ? page.size() : piece);
        benchmark::DoNotOptimize(counter.count);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(page.size()));
}

void RunEngine(benchmark::State& state, const std::string& page, std::size_t piece) {
    CHTMLLexer lexer(nullptr, true);
    for (auto _ : state) {
        lexer.reset();
        for (std::size_t at = 0; at < page.size(); at += piece) {
            const std::size_t n = std::min(piece, page.size() - at);
            lexer.feed(page.data() + at, static_cast<unsigned>(n));
        }
        lexer.feed(nullptr, 0);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(page.size()));
}

// Registered at load time: one set of cases per page of the corpus.
const bool kRegistered = [] {
    std::string all;
    for (const webstep::bench::Page& corpusPage : webstep::bench::CorpusPages()) {
        const std::string& page = corpusPage.text;
        all += page;
        const std::string& name = corpusPage.name;
        benchmark::RegisterBenchmark(("HTMLLexer/whole/callbacks/" + name).c_str(),
                                     [page](benchmark::State& s) { RunParser(s, page, 0, true); });
        benchmark::RegisterBenchmark(("HTMLLexer/whole/nocallbacks/" + name).c_str(),
                                     [page](benchmark::State& s) { RunParser(s, page, 0, false); });
        benchmark::RegisterBenchmark(
            ("HTMLLexer/4KiB/callbacks/" + name).c_str(),
            [page](benchmark::State& s) { RunParser(s, page, 4096, true); });
    }
    if (!all.empty()) {
        benchmark::RegisterBenchmark("HTMLLexer/corpus/whole/callbacks",
                                     [all](benchmark::State& s) { RunParser(s, all, 0, true); });
        benchmark::RegisterBenchmark("HTMLLexer/corpus/whole/nocallbacks",
                                     [all](benchmark::State& s) { RunParser(s, all, 0, false); });
        benchmark::RegisterBenchmark("HTMLLexer/corpus/4KiB/callbacks",
                                     [all](benchmark::State& s) { RunParser(s, all, 4096, true); });
        benchmark::RegisterBenchmark(
            "HTMLLexer/corpus/4KiB/nocallbacks",
            [all](benchmark::State& s) { RunParser(s, all, 4096, false); });
        benchmark::RegisterBenchmark("HTMLLexer/corpus/engine-only/4KiB",
                                     [all](benchmark::State& s) { RunEngine(s, all, 4096); });
    }
    // A text run that crosses every piece boundary.
    const std::string run = "<p>" + std::string(500 * 1024, 'x') + "</p>";
    benchmark::RegisterBenchmark("HTMLLexer/textrun500KB/4KiB/callbacks",
                                 [run](benchmark::State& s) { RunParser(s, run, 4096, true); });
    benchmark::RegisterBenchmark("HTMLLexer/textrun500KB/4KiB/nocallbacks",
                                 [run](benchmark::State& s) { RunParser(s, run, 4096, false); });
    return true;
}();

}  // namespace
