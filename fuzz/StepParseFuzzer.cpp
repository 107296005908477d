// Step calls through the parser repository: a function name and an argument
// array taken from the fuzz bytes. The array form and the list form must
// agree, a refusal must carry an error code, and an accepted call with step
// creation must hand over a step.
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebSteps.h"

namespace {

CObjectRepository& Repository() {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    return repository;
}

struct Outcome {
    bool known = false;
    bool ok = false;
    unsigned int code = 0;
    bool hasStep = false;
};

Outcome Run(const std::string& function, const std::vector<std::string>& args, WebParserFlags flags,
            bool asList) {
    Outcome outcome;
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(Repository().CreateObject(function.c_str())));
    if (!parser)
        return outcome;
    outcome.known = true;
    if (asList) {
        std::list<MString> list(args.begin(), args.end());
        outcome.ok = parser->ParseArguments(list, flags);
    } else {
        std::vector<const char*> pointers;
        pointers.reserve(args.size());
        for (const std::string& a : args)
            pointers.push_back(a.c_str());
        outcome.ok = parser->ParseArguments(static_cast<unsigned int>(pointers.size()),
                                            pointers.data(), flags);
    }
    outcome.code = parser->GetLastErrorInfo().GetCode();
    if (flags & WPF_CREATE_STEP) {
        outcome.hasStep = parser->GetDataStep() != nullptr;
        delete parser->GetDataStep();
        parser->SetDataStep(nullptr);
    }
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(in.Byte()));
    static const std::vector<MString> names = CScriptReader::GetStepFunctionNames();
    const uint8_t selector = in.Byte();
    // Mostly a registered name; sometimes a name spelled by the input.
    const std::string function =
        selector == 0xFF ? in.Until(0) : std::string(names[selector % names.size()]);
    const WebParserFlags flags =
        static_cast<WebParserFlags>(in.Byte() & (WPF_CREATE_STEP | WPF_NO_STEP_NAME));
    std::vector<std::string> args;
    while (!in.Empty() && args.size() < 4096)
        args.push_back(in.Until(0));

    const Outcome array = Run(function, args, flags, false);
    const Outcome list = Run(function, args, flags, true);
    FUZZ_CHECK(array.known == list.known);
    // An unknown name creates no parser, and nothing else is to be checked.
    FUZZ_CHECK(array.known || selector == 0xFF);
    if (!array.known) {
        webstep::platform::SetProcessCodePage(0);
        return 0;
    }
    FUZZ_CHECK(array.ok == list.ok);
    FUZZ_CHECK(array.code == list.code);
    if (!array.ok)
        FUZZ_CHECK(array.code != 0);
    if (array.ok && (flags & WPF_CREATE_STEP))
        FUZZ_CHECK(array.hasStep);
    webstep::platform::SetProcessCodePage(0);
    return 0;
}
