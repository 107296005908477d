// A virtual user replaying a fixed script against fuzzed answers: status,
// headers (Location, Set-Cookie, Content-Type) and bodies come from the fuzz
// bytes, so redirects, cookies, pages with frames and forms, save rules and
// checks all meet hostile input. Whatever comes, every step ends with an
// outcome and the user goes on or ends the iteration.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/VirtualUser.h"

namespace {

class FuzzTransport : public CTransport {
public:
    explicit FuzzTransport(webstep::fuzz::FuzzInput& in) : m_in(in) {}
    HttpResponse Send(const HttpRequest& request) override {
        HttpResponse response;
        // Bounded: a user that keeps asking gets 404s once the bytes run out.
        if (m_in.Empty() || ++m_sent > 200) {
            response.status = 404;
            return response;
        }
        static const int statuses[] = {200, 200, 200, 301, 302, 303, 307, 308, 404, 500, 0};
        response.status = statuses[m_in.Byte() % (sizeof statuses / sizeof statuses[0])];
        if (response.status == 0)
            response.error = "fuzzed transport error";
        const size_t headers = m_in.Byte() % 5;
        for (size_t i = 0; i < headers; ++i) {
            static const char* names[] = {"Location", "Set-Cookie", "Content-Type", "X-Other"};
            response.headers.push_back({names[m_in.Byte() % 4], m_in.Until(0)});
        }
        response.body = m_in.Until(0xFF);
        return response;
    }

private:
    webstep::fuzz::FuzzInput& m_in;
    unsigned m_sent = 0;
};

struct Call {
    const char* function;
    std::vector<std::string> arguments;
};

const std::vector<Call>& Script() {
    static const std::vector<Call> calls = {
        {"web_reg_save_param",
         {"tok", "LB=value=\"", "RB=\"", "Ord=ALL", "NotFound=warning", "LAST"}},
        {"web_reg_save_param_json",
         {"ParamName=j", "QueryString=$..id", "NotFound=warning", "LAST"}},
        {"web_reg_find", {"Text=Welcome", "Fail=Found", "LAST"}},
        {"qz_start_transaction", {"home"}},
        {"web_url",
         {"home", "URL=http://h.example/", "Mode=HTML", "EXTRARES", "Url=/x.css", "ENDITEM",
          "LAST"}},
        {"qz_end_transaction", {"home", "QZ_AUTO"}},
        {"web_link", {"next", "Text=Next", "LAST"}},
        {"web_reg_save_param_regexp",
         {"ParamName=r", "RegExp=id=([0-9]+)", "NotFound=warning", "LAST"}},
        {"web_submit_form", {"f", "ITEMDATA", "Name=q", "Value={tok_1}", "ENDITEM", "LAST"}},
        {"web_reg_save_param_xpath",
         {"ParamName=x", "QueryString=//a/@href", "NotFound=warning", "LAST"}},
        {"web_custom_request",
         {"api", "URL=http://h.example/api?t={tok}", "Method=POST", "Body={\"a\":\"{r}\"}",
          "LAST"}},
        {"web_submit_data",
         {"d", "Action=/post", "Method=POST", "ITEMDATA", "Name=a", "Value={x}", "ENDITEM",
          "LAST"}},
    };
    return calls;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    static const CScriptFolder folder;
    static const CParameterSet parameters;
    FuzzTransport transport(in);
    CManualClock clock;
    CVirtualUser user(folder, parameters, transport, clock);
    user.SetContinueOnError(true);
    for (const Call& call : Script()) {
        StepRecord record = user.Call(call.function, call.arguments);
        FUZZ_CHECK(!record.failed || !record.message.empty());  // a failed step says why
    }
    user.EndIteration();
    return 0;
}
