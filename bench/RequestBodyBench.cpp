// Building request bodies: a 50-field form attached to a scanned page and
// its URL-encoded and multipart bodies, and a 50-item data set turned into
// both kinds of body without a form.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/forms/DataSet.h"
#include "webstep/html/HTMLScanner.h"

namespace {

// 50 fields: text, hidden, check boxes, radios, selections, a text area and
// a submit button, with values that need escaping.
std::string FiftyFieldPage(bool multipart) {
    std::string html = std::string("<html><body><form action=\"/submit\" method=post") +
                       (multipart ? " enctype=\"multipart/form-data\">" : ">");
    for (int i = 0; i < 20; ++i) {
        html += "<input name=\"text" + std::to_string(i) + "\" value=\"value " + std::to_string(i) +
                " & more/x\">";
    }
    for (int i = 0; i < 10; ++i) {
        html += "<input type=hidden name=\"h" + std::to_string(i) +
                "\" value=\"tok=" + std::to_string(i * 7919) + "\">";
    }
    for (int i = 0; i < 8; ++i) {
        html += "<input type=checkbox name=\"c" + std::to_string(i) + "\" value=\"y\"" +
                (i % 2 == 0 ? " checked>" : ">");
    }
    for (int i = 0; i < 6; ++i) {
        html += "<input type=radio name=\"r\" value=\"" + std::to_string(i) + "\"" +
                (i == 3 ? " checked>" : ">");
    }
    for (int i = 0; i < 4; ++i) {
        html += "<select name=\"s" + std::to_string(i) +
                "\"><option value=a>Alpha<option value=b selected>Beta<option>Gamma</select>";
    }
    html += "<textarea name=\"notes\">Some longer text with spaces, commas; and more.</textarea>";
    html += "<input type=submit name=\"go\" value=\"Send\"></form></body></html>";
    return html;
}

struct ScannedForm {
    std::unique_ptr<CHTMLScanner> scanner = std::make_unique<CHTMLScanner>();
    explicit ScannedForm(bool multipart) {
        const std::string html = FiftyFieldPage(multipart);
        scanner->startParse();
        scanner->continueParse(html.data(), static_cast<unsigned>(html.size()));
        scanner->endParse();
    }
};

void BM_AttachFiftyFieldForm(benchmark::State& state) {
    ScannedForm page(false);
    for (auto _ : state) {
        CForm form(nullptr, page.scanner->form(0), false, "");
        benchmark::DoNotOptimize(form.GetFields().size());
    }
}
BENCHMARK(BM_AttachFiftyFieldForm);

void BM_FiftyFieldFormBody(benchmark::State& state, bool multipart) {
    ScannedForm page(multipart);
    CForm form(nullptr, page.scanner->form(0), false, "");
    MString body, boundary;
    form.GetDefaultArgs(body, boundary);
    for (auto _ : state) {
        form.GetSubmitArgs(body, boundary);
        benchmark::DoNotOptimize(body.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(body.size()));
}
BENCHMARK_CAPTURE(BM_FiftyFieldFormBody, UrlEncoded, false);
BENCHMARK_CAPTURE(BM_FiftyFieldFormBody, Multipart, true);

void BM_FiftyItemDataSetBody(benchmark::State& state, bool multipart) {
    CDataSet set;
    for (int i = 0; i < 50; ++i) {
        set.AddData(new CData("name" + std::to_string(i), "value " + std::to_string(i) + " & more",
                              CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_TEXT, true, "", "",
                              false, "", "", ""));
    }
    const MString boundary = multipart ? "1234567894294967295" : "";
    MString body;
    for (auto _ : state) {
        body.clear();
        set.CreateArgumentsFromData(boundary, false, body);
        benchmark::DoNotOptimize(body.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(body.size()));
}
BENCHMARK_CAPTURE(BM_FiftyItemDataSetBody, UrlEncoded, false);
BENCHMARK_CAPTURE(BM_FiftyItemDataSetBody, Multipart, true);

}  // namespace
