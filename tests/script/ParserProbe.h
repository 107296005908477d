#pragma once
// A parser whose parse is supplied by the test, with the protected cursor,
// primitives and field-list builders made public.
#include <functional>
#include <string>
#include <vector>

#include "webstep/script/WebStepParse.h"

class CProbeParser : public CWebStepParse {
public:
    using CWebStepParse::ApplyFrame;
    using CWebStepParse::BuildAttrSetFromArgList;
    using CWebStepParse::BuildDataSetFromFieldList;
    using CWebStepParse::BuildFreeText;
    using CWebStepParse::BuildResourceDataSetFromFieldList;
    using CWebStepParse::FrameRule;
    using CWebStepParse::GetArgumentCount;
    using CWebStepParse::GetArgumentIndex;
    using CWebStepParse::GetFlags;
    using CWebStepParse::GetNextArgument;
    using CWebStepParse::IsArrayMode;
    using CWebStepParse::IsBodyVariable;
    using CWebStepParse::IsParameter;
    using CWebStepParse::IsTerminator;
    using CWebStepParse::ParseAttribute;
    using CWebStepParse::ParseBooleanArgument;
    using CWebStepParse::ParseNumericArgument;
    using CWebStepParse::ParseNumericArgumentOrAll;
    using CWebStepParse::ParseNumericSignedArgument;
    using CWebStepParse::ParseUrlArgument;
    using CWebStepParse::ParseYesNoArgument;
    using CWebStepParse::SetErrorInfo;
    using CWebStepParse::ValidateAttribute;

    std::function<bool(CProbeParser&)> body;

    // Reads every argument to the array's end or up to a terminator.
    static bool ReadAll(CProbeParser& p, std::vector<std::string>& out) {
        while (const char* a = p.GetNextArgument()) {
            out.push_back(a);
            if (IsTerminator(a, DefaultTerminators, nullptr))
                break;
        }
        return true;
    }

    // Sets up array mode over the given texts without running a parse body.
    void Feed(std::vector<const char*>& args, WebParserFlags flags = WPF_NONE) {
        auto saved = body;
        body = nullptr;
        ParseArguments(static_cast<unsigned int>(args.size()), args.data(), flags);
        body = saved;
    }

protected:
    bool __ParseArguments() override { return body ? body(*this) : true; }
};

// The error record as "code|name=value|name=value".
inline std::string ErrorText(const CWebStepBase& base) {
    const CWebStepError& error = base.GetLastErrorInfo();
    std::string out = std::to_string(error.GetCode());
    CPropertyBagIterator it(error.GetAttributes());
    MString name, value;
    for (bool ok = it.GetFirst(name, value); ok; ok = it.GetNext(name, value))
        out += "|" + name + "=" + value;
    return out;
}
