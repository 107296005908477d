// A virtual user's steps without I/O: the transport hands back a canned
// answer, so what is timed is the user itself (parsing the step call,
// building the request, scanning the page into the context tree, applying
// save rules and checks). Reported: requests per second on one core, and for
// the HTML step the share of its time spent outside the HTML engine (the
// scan of the same page, timed alone, taken away).
#include <benchmark/benchmark.h>

#include <time.h>

#include <string>
#include <vector>

#include "webstep/context/ContextPage.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/VirtualUser.h"

namespace {

class CannedTransport : public CTransport {
public:
    explicit CannedTransport(HttpResponse response) : m_response(std::move(response)) {}
    HttpResponse Send(const HttpRequest&) override { return m_response; }

private:
    HttpResponse m_response;
};

// A 50 KB page of a catalogue: rows of links, a form with hidden fields.
std::string CataloguePage() {
    std::string page =
        "<html><head><title>Catalogue</title></head><body><form name=\"search\" "
        "action=\"/search\"><input type=\"hidden\" name=\"token\" value=\"tk-4471\">"
        "<input name=\"q\"></form><table>";
    for (int row = 0; page.size() < 50 * 1024; ++row)
        page += "<tr><td><a href=\"/item?id=" + std::to_string(row) + "\" data-id=\"" +
                std::to_string(row) + "\">Item " + std::to_string(row) +
                "</a></td><td>in stock</td></tr>\n";
    return page + "</table><p>Welcome back</p></body></html>";
}

// Processor time of this thread: the machine may be busy with other work.
double ThreadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double SecondsPerScan(const std::string& page) {
    const double start = ThreadSeconds();
    int runs = 0;
    for (; runs < 200; ++runs)
        delete CContextPage::Scan(page);
    return (ThreadSeconds() - start) / runs;
}

void BM_VirtualUserHtmlStep(benchmark::State& state) {
    const std::string page = CataloguePage();
    HttpResponse response;
    response.status = 200;
    response.headers = {{"Content-Type", "text/html"}};
    response.body = page;
    CannedTransport transport(response);
    const CScriptFolder folder;
    const CParameterSet parameters;
    CManualClock clock;
    CVirtualUser user(folder, parameters, transport, clock);
    const std::vector<std::string> save1{"token", "LB=name=\"token\" value=\"", "RB=\"", "LAST"};
    const std::vector<std::string> save2{"ids", "LB=data-id=\"", "RB=\"", "Ord=5", "LAST"};
    const std::vector<std::string> check{"Text=Welcome back", "LAST"};
    const std::vector<std::string> step{"catalogue", "URL=http://library.example/catalogue",
                                        "Mode=HTTP", "LAST"};
    std::size_t failed = 0;
    const double start = ThreadSeconds();
    for (auto _ : state) {
        user.Call("web_reg_save_param", save1);
        user.Call("web_reg_save_param", save2);
        user.Call("web_reg_find", check);
        failed += user.Call("web_url", step).failed ? 1 : 0;
    }
    if (failed != 0)
        state.SkipWithError("the step failed");
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * page.size()));
    const double perStep = (ThreadSeconds() - start) / static_cast<double>(state.iterations());
    const double scan = SecondsPerScan(page);
    state.counters["step_cpu_us"] = perStep * 1e6;
    state.counters["scan_cpu_us"] = scan * 1e6;
    state.counters["outside_html_engine"] = perStep > scan ? 1.0 - scan / perStep : 0.0;
}
BENCHMARK(BM_VirtualUserHtmlStep)->Unit(benchmark::kMicrosecond);

void BM_VirtualUserJsonStep(benchmark::State& state) {
    std::string body = "{\"loans\":[";
    for (int i = 0; i < 200; ++i)
        body += std::string(i ? "," : "") + "{\"id\":\"L-" + std::to_string(i) +
                "\",\"title\":\"Tide tables\",\"due\":\"2026-12-0" + std::to_string(i % 9 + 1) +
                "\"}";
    body += "],\"patron\":{\"name\":\"Ann\"}}";
    HttpResponse response;
    response.status = 200;
    response.headers = {{"Content-Type", "application/json"}};
    response.body = body;
    CannedTransport transport(response);
    const CScriptFolder folder;
    const CParameterSet parameters;
    CManualClock clock;
    CVirtualUser user(folder, parameters, transport, clock);
    const std::vector<std::string> rule{"ParamName=loan", "QueryString=$.loans[3].id", "LAST"};
    const std::vector<std::string> step{"loans",      "URL=http://library.example/api/loans",
                                        "Method=GET", "Resource=0",
                                        "Mode=HTTP",  "LAST"};
    std::size_t failed = 0;
    for (auto _ : state) {
        user.Call("web_reg_save_param_json", rule);
        failed += user.Call("web_custom_request", step).failed ? 1 : 0;
    }
    if (failed != 0)
        state.SkipWithError("the step failed");
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_VirtualUserJsonStep)->Unit(benchmark::kMicrosecond);

}  // namespace
