// Hostile inputs at growing sizes, each with a fitted complexity: the time of
// a linear cost stays flat per byte (or per argument) as the input grows, so
// the fit reports O(N) with a small RMS. A quadratic cost would show up as a
// per-item time that grows with the size.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "webstep/html/HTMLScanner.h"
#include "webstep/platform/PrivateProfile.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebSteps.h"
#include "webstep/url/URLParser.h"

namespace {

std::string Repeat(const std::string& piece, std::size_t size) {
    std::string out;
    out.reserve(size + piece.size());
    while (out.size() < size)
        out += piece;
    return out;
}

void ScanPage(const std::string& page) {
    CHTMLScanner scanner;
    scanner.startParse();
    for (std::size_t at = 0; at < page.size(); at += 1 << 16) {
        const std::size_t n = std::min<std::size_t>(1 << 16, page.size() - at);
        scanner.continueParse(page.data() + at, static_cast<unsigned>(n));
    }
    scanner.endParse();
    benchmark::DoNotOptimize(scanner.nForms());
}

void RunScan(benchmark::State& state, const std::string& page) {
    for (auto _ : state)
        ScanPage(page);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * page.size()));
    state.SetComplexityN(static_cast<int64_t>(page.size()));
}

void BM_HostileOrdinaryPage(benchmark::State& state) {
    RunScan(state, Repeat("<div><p>text &amp; more</p><a href=\"/x?a=1\">l</a><form action=/s>"
                          "<input name=q value=v><select name=s><option>1<option>2</select>"
                          "</form><!-- c --><script>var a='<b>';</script></div>\n",
                          static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(BM_HostileOrdinaryPage)
    ->RangeMultiplier(4)
    ->Range(1 << 20, 16 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

void BM_HostileNestedUnclosedTags(benchmark::State& state) {
    RunScan(state, Repeat("<div><span><b><i><font size=2><table><tr><td><ul><li>",
                          static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(BM_HostileNestedUnclosedTags)
    ->RangeMultiplier(4)
    ->Range(256 << 10, 4 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

void BM_HostileManyForms(benchmark::State& state) {
    RunScan(state, Repeat("<form action=/f><input name=q value=v><input type=submit></form>",
                          static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(BM_HostileManyForms)
    ->RangeMultiplier(4)
    ->Range(256 << 10, 4 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

void BM_HostileLongAttributeValue(benchmark::State& state) {
    RunScan(state,
            "<a href=\"" + std::string(static_cast<std::size_t>(state.range(0)), 'v') + "\">x</a>");
}
BENCHMARK(BM_HostileLongAttributeValue)
    ->RangeMultiplier(4)
    ->Range(1 << 20, 16 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

void BM_HostileNulBytes(benchmark::State& state) {
    RunScan(state, Repeat(std::string("<a h\0ref=x>t\0\0t</a>", 20),
                          static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(BM_HostileNulBytes)
    ->RangeMultiplier(4)
    ->Range(1 << 20, 16 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

std::vector<std::string> SubmitDataArguments(std::size_t count) {
    std::vector<std::string> args = {"s", "Action=http://example.org/post", "ITEMDATA"};
    while (args.size() + 3 < count) {
        args.push_back("Name=n" + std::to_string(args.size()));
        args.push_back("Value=v");
        args.push_back("ENDITEM");
    }
    args.push_back("LAST");
    return args;
}

void BM_HostileStepArguments(benchmark::State& state) {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    const auto args = SubmitDataArguments(static_cast<std::size_t>(state.range(0)));
    std::vector<const char*> pointers;
    for (const std::string& a : args)
        pointers.push_back(a.c_str());
    for (auto _ : state) {
        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(repository.CreateObject("web_submit_data")));
        parser->ParseArguments(static_cast<unsigned int>(pointers.size()), pointers.data(),
                               WPF_CREATE_STEP);
        delete parser->GetDataStep();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * args.size()));
    state.SetComplexityN(static_cast<int64_t>(args.size()));
}
BENCHMARK(BM_HostileStepArguments)
    ->RangeMultiplier(4)
    ->Range(1 << 14, 1 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

void BM_HostileScriptCall(benchmark::State& state) {
    const auto args = SubmitDataArguments(static_cast<std::size_t>(state.range(0)));
    std::string text = "web_submit_data(";
    for (const std::string& a : args)
        text += (a == "ITEMDATA" || a == "ENDITEM" || a == "LAST" ? a : "\"" + a + "\"") + ",\n";
    text += "LAST);\n";
    CScriptReader reader;
    for (auto _ : state) {
        ScriptReadResult result;
        reader.Read(text, result);
        benchmark::DoNotOptimize(result.calls.size());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.SetComplexityN(static_cast<int64_t>(args.size()));
}
BENCHMARK(BM_HostileScriptCall)
    ->RangeMultiplier(4)
    ->Range(1 << 14, 1 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

void BM_HostileLongUrl(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const std::string url =
        "http://example.org/" + Repeat("a/./b/../", n) + "f?" + std::string(n / 4, 'q');
    for (auto _ : state) {
        CURLParser parser(url.c_str());
        MString text;
        parser.ToStringRep(text, 3);
        benchmark::DoNotOptimize(text.size());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * url.size()));
    state.SetComplexityN(static_cast<int64_t>(url.size()));
}
BENCHMARK(BM_HostileLongUrl)
    ->RangeMultiplier(4)
    ->Range(64 << 10, 1 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

void BM_HostileIniLongLine(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("webstep-bench-" + std::to_string(::getpid()) + ".ini"))
                                 .string();
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        << "[WEB]\r\nHttpVer=1.1\r\nLong=" << std::string(n, 'v') << "\r\n";
    std::vector<char> buffer(n + 16);
    for (auto _ : state) {
        benchmark::DoNotOptimize(webstep::platform::GetPrivateProfileStringA(
            "WEB", "Long", "", buffer.data(), static_cast<webstep::platform::DWORD>(buffer.size()),
            path.c_str()));
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
    state.SetComplexityN(static_cast<int64_t>(n));
}
BENCHMARK(BM_HostileIniLongLine)
    ->RangeMultiplier(4)
    ->Range(1 << 20, 16 << 20)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

}  // namespace
