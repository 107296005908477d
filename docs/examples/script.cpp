// Script reading and step parsing: the step calls of a small action file are
// found, each is handed to the parser registered for its function, and the
// result is a step object or an error code with the offending text.
#include <webstep/script/ObjectRepository.h>
#include <webstep/script/ScriptReader.h>
#include <webstep/script/WebStepParse.h>
#include <webstep/steps/WebStepError.h>

#include <cstdio>
#include <memory>

int main() {
    const char action[] =
        "Action()\n"
        "{\n"
        "    web_url(\"home\", \"URL=http://example.org/\", \"Mode=HTML\", LAST);\n"
        "    /* web_url(\"skipped\", LAST); comments hold no calls */\n"
        "    web_reg_find(\"Text=Welcome\", LAST);\n"
        "    web_url(\"books\", \"Mode=HTML\", LAST);\n"
        "    return 0;\n"
        "}\n";

    CScriptReader reader;
    ScriptReadResult read;
    reader.Read(MString(action), read);
    std::printf("%zu calls, %zu problems\n", read.calls.size(), read.diagnostics.size());

    // One repository for the whole program: function name -> parser factory.
    CObjectRepository parsers;
    CWebStepParse::UpdateRepository(parsers);

    int parsed = 0, refused = 0;
    for (const ScriptCall& call : read.calls) {
        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(parsers.CreateObject(call.function.c_str())));
        if (!parser)
            continue;  // a name with no parser
        bool ok = parser->ParseArguments(call.GetArgumentList(), WPF_CREATE_STEP);
        // The step object belongs to whoever takes it, also after a failure.
        std::unique_ptr<CWebStepData> step(parser->GetDataStep());
        if (ok) {
            ++parsed;
            std::printf("line %u: %s parsed\n", call.line, call.function.c_str());
        } else {
            ++refused;
            const CWebStepError& error = parser->GetLastErrorInfo();
            MString text;
            error.GetAttributes().GetAttribute("text", text);
            std::printf("line %u: %s refused: error %u (%s) at \"%s\"\n", call.line,
                        call.function.c_str(), error.GetCode(),
                        CWebStepErrMsg::GetEnglishMessage(error.GetCode()), text.c_str());
        }
    }
    return read.calls.size() == 3 && parsed == 2 && refused == 1 ? 0 : 1;
}
