#pragma once
// Helpers of the correlation and service parser tests: a parse through the
// repository that keeps the created step, and a probe that opens the
// correlation, verification and service readers.
#include <memory>
#include <string>
#include <vector>

#include "ParserProbe.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebStepData.h"

class CServiceProbe : public CProbeParser {
public:
    using CWebStepParse::BuildDataSetFromFindFields;
    using CWebStepParse::GetCheckAttributes;
    using CWebStepParse::ParseFindText;
    using CWebStepParse::ParseGlobalVerificationText;
    using CWebStepParse::ParseParamBoundary;
};

struct ParseOutcome {
    bool ok = false;
    std::string error;  // "code|name=value|..." as ErrorText gives it
    std::string stepName;
    std::unique_ptr<CWebStepData> step;

    template <class Step>
    Step* As() const {
        return dynamic_cast<Step*>(step.get());
    }
};

// The repository of the 49 standard functions, and the one that also holds
// the extended set.
inline CObjectRepository& StandardParsers() {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    return repository;
}

inline CObjectRepository& ExtendedParsers() {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        CWebStepParse::UpdateRepositoryExtended(r);
        return r;
    }();
    return repository;
}

inline std::unique_ptr<CWebStepParse> ServiceParser(const char* function) {
    return std::unique_ptr<CWebStepParse>(
        static_cast<CWebStepParse*>(StandardParsers().CreateObject(function)));
}

// Array mode through the given repository; the created step (if any) is
// owned by the outcome.
inline ParseOutcome ParseCallIn(CObjectRepository& repository, const char* function,
                                std::vector<const char*> args,
                                WebParserFlags flags = WPF_CREATE_STEP) {
    ParseOutcome out;
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(repository.CreateObject(function)));
    if (!parser) {
        out.error = "no parser";
        return out;
    }
    out.ok = parser->ParseArguments(static_cast<unsigned int>(args.size()), args.data(), flags);
    out.error = out.ok ? "" : ErrorText(*parser);
    out.stepName = parser->GetWebStep().GetName();
    if (flags & WPF_CREATE_STEP)
        out.step.reset(parser->GetDataStep());
    return out;
}

inline ParseOutcome ParseCall(const char* function, std::vector<const char*> args,
                              WebParserFlags flags = WPF_CREATE_STEP) {
    return ParseCallIn(StandardParsers(), function, std::move(args), flags);
}
