// The script reader over arbitrary text: every call it reports must point at
// its own name in the text, in increasing order, and each read step call is
// then handed to its parser (which must answer, whatever the arguments).
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebSteps.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    if (size == 0)
        return 0;
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(data[0]));
    const char* text = reinterpret_cast<const char*>(data + 1);
    const size_t length = size - 1;

    CScriptReader reader;
    ScriptReadResult result;
    FUZZ_CHECK(reader.Read(text, length, result));
    FUZZ_CHECK(result.byteCount == length);
    size_t previous = 0;
    bool first = true;
    for (const ScriptCall& call : result.calls) {
        FUZZ_CHECK(call.offset < length);
        FUZZ_CHECK(call.offset + call.function.size() <= length);
        FUZZ_CHECK(std::string(text + call.offset, call.function.size()) == call.function);
        FUZZ_CHECK(first || call.offset > previous);
        FUZZ_CHECK(call.line >= 1 && call.line <= result.lineCount);
        FUZZ_CHECK(call.column >= 1);
        previous = call.offset;
        first = false;
        for (const ScriptArgument& argument : call.arguments)
            FUZZ_CHECK(argument.line >= call.line);
        if (call.kind != EScriptCallKind::Step)
            continue;
        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(repository.CreateObject(call.function.c_str())));
        FUZZ_CHECK(parser != nullptr);
        const bool ok = parser->ParseArguments(call.GetArgumentList(), WPF_CREATE_STEP);
        if (ok)
            FUZZ_CHECK(parser->GetDataStep() != nullptr);
        else
            FUZZ_CHECK(parser->GetLastErrorInfo().GetCode() != 0);
        delete parser->GetDataStep();
        parser->SetDataStep(nullptr);
    }
    for (const ScriptDiagnostic& diagnostic : result.diagnostics)
        FUZZ_CHECK(diagnostic.line <= result.lineCount + 1);
    webstep::platform::SetProcessCodePage(0);
    return 0;
}
