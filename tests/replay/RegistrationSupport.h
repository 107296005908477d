#pragma once
// Helpers of the registration tests: a step call parsed through the
// repositories into a registration, scripted responses, and one user's
// parameters to save into.
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "script/ServiceParseSupport.h"
#include "webstep/recording/ParameterContext.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/replay/Registration.h"

namespace regtest {

// Parses the call with the standard and extended parsers and builds its
// registration; fails the test when the call does not parse.
inline std::unique_ptr<CRegistration> Make(const char* function, std::vector<const char*> args) {
    std::vector<std::string> texts(args.begin(), args.end());
    args.push_back("LAST");
    ParseOutcome outcome = ParseCallIn(ExtendedParsers(), function, args);
    EXPECT_TRUE(outcome.ok) << function << ": " << outcome.error;
    if (!outcome.ok || !outcome.step)
        return nullptr;
    return CRegistration::FromStep(*outcome.step, texts);
}

// A step's responses, built in order; pointers stay valid as more are added.
class Responses {
public:
    StepResponse& Add(const std::string& url, const std::string& body,
                      std::vector<HttpHeader> headers = {{"Content-Type", "text/html"}},
                      int status = 200) {
        HttpRequest& request = m_Requests.emplace_back();
        request.url = url;
        HttpResponse& response = m_Responses.emplace_back();
        response.status = status;
        response.headers = std::move(headers);
        response.body = body;
        StepResponse step;
        step.request = &request;
        step.response = &response;
        m_Steps.push_back(step);
        return m_Steps.back();
    }
    const std::vector<StepResponse>& Get() const { return m_Steps; }

private:
    std::deque<HttpRequest> m_Requests;
    std::deque<HttpResponse> m_Responses;
    std::vector<StepResponse> m_Steps;
};

// One user's parameters and the report of one application.
struct User {
    CParameterSet set;
    CParameterContext params{set, 1, 1};
    RegistrationLimits limits;

    RegistrationReport Apply(const CRegistration& registration, const Responses& responses) {
        RegistrationReport report;
        registration.Apply(responses.Get(), params, limits, report);
        return report;
    }
    // The saved value, or "<unset>".
    std::string Value(const std::string& name) const {
        MString value;
        return params.GetSavedParameter(name, value) ? value : "<unset>";
    }
};

}  // namespace regtest
