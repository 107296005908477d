// Parsing the URLs found in real pages: absolute creation (parse, read the
// parts, print back) and relative creation against the page's address.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "webstep/url/URLParser.h"

namespace {

struct PageLinks {
    std::string base;
    std::vector<std::string> links;
};

// The address each saved page was taken from (their <base> is absent).
const char* PageAddress(const std::string& name) {
    if (name == "bbc.html")
        return "http://www.bbc.co.uk/";
    if (name == "baidu.html")
        return "http://www.baidu.com/";
    if (name == "google.html")
        return "http://www.google.com/";
    if (name == "hacker_news.html")
        return "https://news.ycombinator.com/";
    if (name == "wikipedia.html")
        return "http://en.wikipedia.org/wiki/Main_Page";
    if (name == "xinhua.html")
        return "http://www.xinhuanet.com/";
    if (name == "yahoo.html")
        return "http://www.yahoo.com/";
    return "http://www.example.com/dir/page.html";
}

// Values of href= and src= attributes, quoted or not.
std::vector<std::string> ExtractLinks(const std::string& html) {
    std::vector<std::string> out;
    for (const char* attr : {"href=", "src=", "HREF=", "SRC="}) {
        std::size_t pos = 0;
        std::size_t len = std::char_traits<char>::length(attr);
        while ((pos = html.find(attr, pos)) != std::string::npos) {
            pos += len;
            if (pos >= html.size())
                break;
            char quote = html[pos];
            std::size_t end;
            if (quote == '"' || quote == '\'') {
                ++pos;
                end = html.find(quote, pos);
            } else {
                end = html.find_first_of(" \t\r\n>", pos);
            }
            if (end == std::string::npos)
                break;
            if (end > pos && end - pos < 4096)
                out.push_back(html.substr(pos, end - pos));
            pos = end;
        }
    }
    return out;
}

const std::vector<PageLinks>& Corpus() {
    static std::vector<PageLinks> pages = [] {
        std::vector<PageLinks> result;
        std::filesystem::path dir = std::filesystem::path(WEBSTEP_SHARED_DIR) / "corpus" / "html";
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
            if (entry.path().extension() != ".html")
                continue;
            std::ifstream in(entry.path(), std::ios::binary);
            std::stringstream text;
            text << in.rdbuf();
            result.push_back(
                {PageAddress(entry.path().filename().string()), ExtractLinks(text.str())});
        }
        return result;
    }();
    return pages;
}

std::size_t CountLinks() {
    std::size_t n = 0;
    for (const auto& page : Corpus())
        n += page.links.size();
    return n;
}

// Absolute URLs of the pages: the links resolved once, outside the timing.
const std::vector<std::string>& AbsoluteURLs() {
    static std::vector<std::string> urls = [] {
        std::vector<std::string> result;
        for (const auto& page : Corpus()) {
            CURLParser base(page.base.c_str());
            for (const auto& link : page.links) {
                CURLParser u(base, link.c_str());
                if (u.IsValid())
                    result.push_back(u.GetFullURLWithLabelAndSearch());
            }
        }
        return result;
    }();
    return urls;
}

void BM_ParseAbsoluteURL(benchmark::State& state) {
    const auto& urls = AbsoluteURLs();
    if (urls.empty()) {
        state.SkipWithError("no URLs found in the page corpus");
        return;
    }
    std::size_t parts = 0;
    for (auto _ : state) {
        for (const auto& url : urls) {
            CURLParser u(url.c_str());
            parts +=
                u.GetHost().size() + u.GetPath().size() + u.GetFile().size() + u.GetSearch().size();
            MString printed = u.GetFullURLWithSearch();
            benchmark::DoNotOptimize(printed);
        }
    }
    benchmark::DoNotOptimize(parts);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * urls.size()));
    state.counters["ns_per_url"] = benchmark::Counter(
        static_cast<double>(state.iterations() * urls.size()),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
    state.counters["urls"] = static_cast<double>(urls.size());
}
BENCHMARK(BM_ParseAbsoluteURL)->Unit(benchmark::kMillisecond);

void BM_ResolveRelativeURL(benchmark::State& state) {
    const auto& pages = Corpus();
    std::size_t count = CountLinks();
    if (count == 0) {
        state.SkipWithError("no URLs found in the page corpus");
        return;
    }
    std::vector<CURLParser> bases;
    for (const auto& page : pages)
        bases.emplace_back(page.base.c_str());
    std::size_t valid = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < pages.size(); ++i) {
            for (const auto& link : pages[i].links) {
                CURLParser u(bases[i], link.c_str());
                valid += u.IsValid() ? 1 : 0;
            }
        }
    }
    benchmark::DoNotOptimize(valid);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count));
    state.counters["ns_per_url"] = benchmark::Counter(
        static_cast<double>(state.iterations() * count),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
    state.counters["urls"] = static_cast<double>(count);
}
BENCHMARK(BM_ResolveRelativeURL)->Unit(benchmark::kMillisecond);

}  // namespace
