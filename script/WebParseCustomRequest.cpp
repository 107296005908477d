// Parsers of the custom requests and their protocol variants: one grammar,
// three step classes.
#include <strings.h>

#include <cstring>

#include "webstep/forms/Resource.h"
#include "webstep/script/WebParsers.h"
#include "webstep/script/internal/StepTransfer.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebSteps.h"

using webstep::script_internal::CopyContextlessFields;
using webstep::script_internal::MoveResources;

namespace {

// The attribute run ends at 0 "EXTRARES", 1 "RAW_BODY_START" or 2 "LAST";
// filled on the first custom-request parse and kept for the process's life.
const char** CustomRequestTerminators() {
    static const char* terminators[] = {CWebStepScript::KeyWord_StartRes,
                                        CWebStepScript::KeyWord_CustomReq_RawBodyStart,
                                        CWebStepScript::KeyWord_LastItem, nullptr};
    return terminators;
}
enum { CUSTOM_EXTRARES = 0, CUSTOM_RAW_BODY = 1, CUSTOM_LAST = 2 };

// The body keywords are matched with their exact letter case, unlike every
// other attribute name: a lower-case "body" is not the text body.
int BodyKind(const MString& name) {
    if (name == CWebStepScript::KeyWord_Body)
        return CWebStepCustomRequest::BODY_TEXT;
    if (name == CWebStepScript::KeyWord_BodyUnicode)
        return CWebStepCustomRequest::BODY_UNICODE;
    if (name == CWebStepScript::KeyWord_BodyBinary)
        return CWebStepCustomRequest::BODY_BINARY;
    const size_t prefix = std::strlen(CWebStepScript::KeyWord_BodyVariablePrefix);
    if (name.size() > prefix &&
        strncasecmp(name.c_str(), CWebStepScript::KeyWord_BodyVariablePrefix, prefix) == 0)
        return CWebStepCustomRequest::BODY_VARIABLE;
    return -1;
}

template <class Step>
Step* ExpectedStep(CWebStepData* slot) {
    return slot ? dynamic_cast<Step*>(slot) : nullptr;
}

}  // namespace

bool CWebStepParse::ParseCustomRequestFunction(CWebStepCustomRequest* step,
                                               ProtocolIdentifierType protocol) {
    // A request may carry several body parts of the same name: duplicates
    // are allowed in this attribute run only.
    CAttributeSet attributes;
    int terminator = -1;
    if (!ReadStepStart(attributes, CustomRequestTerminators(), &terminator, true))
        return false;
    CWebContextlessStep contextless;
    if (!GetContextlessAttributes(attributes, contextless))
        return false;
    MString method, url;
    if (!attributes.GetAttribute(KeyWord_Method, method)) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", KeyWord_Method, nullptr);
        return false;
    }
    if (!attributes.GetAttribute(KeyWord_Url, url)) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", KeyWord_Url, nullptr);
        return false;
    }
    MString encType, contentEncoding;
    const bool useEncType = attributes.GetAttribute(KeyWord_EncType, encType);
    attributes.GetAttribute(KeyWord_ContentEncoding, contentEncoding);

    CWebStepCustomRequest::BodyList body;
    CPropertyBagIterator walk(attributes);
    MString name, value;
    for (bool more = walk.GetFirst(name, value); more; more = walk.GetNext(name, value)) {
        const int kind = BodyKind(name);
        if (kind < 0)
            continue;
        CWebStepCustomRequest::tag_BodyAndEncoding part;
        part.attributeName = name;
        part.value = value;
        part.encoding = kind;
        body.push_back(part);
    }
    MString binary;
    if (body.size() == 1 && attributes.GetAttribute(KeyWord_Binary, binary)) {
        bool isBinary = false;
        if (!ParseBooleanArgument(binary, isBinary))
            return false;
        if (isBinary)
            body.front().encoding = CWebStepCustomRequest::BODY_BINARY;
    }

    std::list<MString> rawBody;
    CResourceElements resources;
    if (terminator == CUSTOM_RAW_BODY) {
        rawBody.push_back(KeyWord_CustomReq_RawBodyStart);
        if (!BuildFreeText(rawBody, DefaultTerminators, nullptr)) {
            AddErrorAttribute("context", "RAW_BODY");
            return false;
        }
    } else if (terminator == CUSTOM_EXTRARES) {
        if (!ReadExtraResources(resources, nullptr))
            return false;
    }

    // Created only after the whole call was read, so a failure leaves the
    // current-step slot as the caller set it.
    if (GetFlags() & WPF_CREATE_STEP) {
        switch (protocol) {
            case PROTOCOL_FLEX:
                step = new CWebStepFlexCustomRequest;
                break;
            case PROTOCOL_SILVERLIGHT:
                step = new CWebStepSilverlightCustomRequest;
                break;
            default:
                step = new CWebStepCustomRequest;
                break;
        }
        SetDataStep(step);
    }
    if (step != nullptr) {
        MoveResources(resources, step->GetOutOfContextResources());
        step->SetMethod(method.c_str());
        step->SetUrl(url.c_str());
        step->SetBody(body);
        CopyContextlessFields(contextless, *step);
        step->SetEncType(encType.c_str());
        step->SetUseEncType(useEncType);
        step->SetContentEncoding(contentEncoding.c_str());
        step->SetRawBodyStartEnd(rawBody);
    }
    return true;
}

bool CWebParseCustomRequest::__ParseArguments() {
    return ParseCustomRequestFunction(ExpectedStep<CWebStepCustomRequest>(GetDataStep()),
                                      PROTOCOL_HTTP);
}

bool CWebParseFlexCustomRequest::__ParseArguments() {
    return ParseCustomRequestFunction(ExpectedStep<CWebStepFlexCustomRequest>(GetDataStep()),
                                      PROTOCOL_FLEX);
}

bool CWebParseSilverlightCustomRequest::__ParseArguments() {
    return ParseCustomRequestFunction(ExpectedStep<CWebStepSilverlightCustomRequest>(GetDataStep()),
                                      PROTOCOL_SILVERLIGHT);
}
