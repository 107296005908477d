// The step object model: the creator repository makes an empty step of the
// class that belongs to a function name; a parsed step is recognised by its
// dynamic type and read through its getters; error codes map to messages.
#include <webstep/script/ObjectRepository.h>
#include <webstep/script/WebStepParse.h>
#include <webstep/steps/WebStepCreate.h>
#include <webstep/steps/WebStepCustomRequest.h>
#include <webstep/steps/WebStepError.h>
#include <webstep/steps/WebStepRegSaveParam.h>

#include <cstdio>
#include <memory>

int main() {
    // Creators: the factory gives a creator (owned by the caller), the
    // creator gives an empty step (owned by the caller too).
    CObjectRepository creators;
    CWebStepCreate::UpdateRepository(creators);
    std::unique_ptr<CWebStepCreate> creator(
        static_cast<CWebStepCreate*>(creators.CreateObject("web_url")));
    if (!creator)
        return 1;
    std::unique_ptr<CWebStepData> empty(creator->CreateStep());
    auto* url = dynamic_cast<CWebStepUrl*>(empty.get());
    if (!url)
        return 1;
    url->SetUrl("http://example.org/");
    std::printf("created a URL step for %s\n", url->GetUrl().c_str());
    if (creators.CreateObject("no_such_function") != nullptr)
        return 1;  // unknown names give null

    // A parsed correlation step, read through its own class.
    CObjectRepository parsers;
    CWebStepParse::UpdateRepository(parsers);
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(parsers.CreateObject("web_reg_save_param")));
    const char* args[] = {"SessionId", "LB=sid=", "RB=&", "Ord=2", "LAST"};
    bool ok = parser->ParseArguments(5, args, WPF_CREATE_STEP);
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    auto* save = dynamic_cast<CWebStepRegSaveParam*>(step.get());
    if (!ok || !save)
        return 1;
    std::printf("saves {%s}, occurrence %s\n", save->GetParamName().c_str(),
                save->GetInstance().c_str());

    // Every error code has a message: English here, the message table's
    // text (in the process code page) through GetMessageString.
    for (unsigned code = WSE_MISSING_ATTRIBUTE; code <= WSE_TEXT_OR_PREFIX_SUFFIX; ++code)
        std::printf("%u: %s\n", code, CWebStepErrMsg::GetEnglishMessage(code));
    return save->GetParamName() == "SessionId" && save->GetInstance() == "2" ? 0 : 1;
}
