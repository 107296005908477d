#include "webstep/replay/StepParser.h"

#include "webstep/script/ScriptReader.h"
#include "webstep/script/WebStepParse.h"

CStepParser::CStepParser(bool extended) : m_extended(extended) {
    CWebStepParse::UpdateRepository(m_repository);
    for (const MString& name : CScriptReader::GetStepFunctionNames())
        m_names.insert(name);
    if (extended) {
        CWebStepParse::UpdateRepositoryExtended(m_repository);
        for (const char* const* name = CWebStepParse::GetExtendedFunctionNames(); *name; ++name)
            m_names.insert(*name);
    }
}

bool CStepParser::IsExtendedFunction(const MString& function) {
    for (const char* const* name = CWebStepParse::GetExtendedFunctionNames(); *name; ++name)
        if (function == *name)
            return true;
    return false;
}

ParsedStep CStepParser::Parse(const MString& function, const std::vector<const char*>& arguments) {
    ParsedStep result;
    // The factories hand out the concrete parser, whose first and only base
    // is CWebStepParse.
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(m_repository.CreateObject(function.c_str())));
    if (!parser)
        return result;
    result.known = true;
    // The extended mode also takes the longer value tables of current script
    // versions (web_get_int_property's total request and response sizes).
    const WebParserFlags flags =
        m_extended ? WPF_CREATE_STEP | WPF_EXTENDED_VALUES : WPF_CREATE_STEP;
    // The parsers read the texts without changing them; the interface is older
    // than const.
    std::vector<const char*> args(arguments);
    result.ok = parser->ParseArguments(static_cast<unsigned int>(args.size()),
                                       const_cast<const char**>(args.data()), flags);
    // The step belongs to whoever takes it; a failed parse may have left one.
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    parser->SetDataStep(nullptr);
    if (result.ok) {
        result.step = std::move(step);
        return result;
    }
    const CWebStepError& error = parser->GetLastErrorInfo();
    result.errorCode = error.GetCode();
    CPropertyBagIterator it(error.GetAttributes());
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value))
        result.errorAttributes.emplace_back(name, value);
    return result;
}
