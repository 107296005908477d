// The script reader over every action file of the step-call corpus, held in
// memory: calls per second and bytes per second.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/BenchCorpus.h"
#include "webstep/foundation/MString.h"
#include "webstep/platform/CodePage.h"
#include "webstep/script/ScriptReader.h"

namespace {

namespace fs = std::filesystem;

fs::path CorpusDir() {
    return webstep::bench::SharedDir() / "corpus" / "scripts";
}

const std::vector<std::string>& ActionFiles() {
    static const std::vector<std::string> files = [] {
        std::vector<std::string> texts;
        std::error_code error;
        for (const auto& folder : fs::directory_iterator(CorpusDir(), error)) {
            if (!folder.is_directory())
                continue;
            for (const auto& entry : fs::directory_iterator(folder.path(), error)) {
                if (entry.path().extension() != ".c")
                    continue;
                std::ifstream in(entry.path(), std::ios::binary);
                std::ostringstream text;
                text << in.rdbuf();
                texts.push_back(text.str());
            }
        }
        return texts;
    }();
    return files;
}

void BM_ReadCorpusActionFiles(benchmark::State& state) {
    const std::vector<std::string>& files = ActionFiles();
    if (files.empty()) {
        state.SkipWithError("corpus/scripts not found beside the project");
        return;
    }
    webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1);
    CScriptReader reader;
    ScriptReadResult result;
    size_t bytes = 0;
    size_t calls = 0;
    size_t steps = 0;
    for (auto _ : state) {
        bytes = 0;
        calls = 0;
        steps = 0;
        for (const std::string& text : files) {
            reader.Read(text, result);
            bytes += text.size();
            calls += result.calls.size();
            for (const ScriptCall& call : result.calls)
                steps += call.kind == EScriptCallKind::Step ||
                         call.kind == EScriptCallKind::UnknownFunction;
            benchmark::DoNotOptimize(result.calls.data());
        }
    }
    webstep::platform::SetProcessCodePage(0);
    // Every call the reader keeps: steps, unknown web_ functions, transactions
    // and think times.
    state.counters["calls/s"] =
        benchmark::Counter(static_cast<double>(calls) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
    // The web_ calls alone (the corpus lists 24,806).
    state.counters["web_calls/s"] =
        benchmark::Counter(static_cast<double>(steps) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
    state.counters["web_calls"] = static_cast<double>(steps);
    state.counters["files"] = static_cast<double>(files.size());
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}
BENCHMARK(BM_ReadCorpusActionFiles)->Unit(benchmark::kMillisecond);

}  // namespace
