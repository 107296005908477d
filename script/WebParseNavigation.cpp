// Parsers of the steps that load pages: web_url, web_link, web_image,
// web_submit_form and web_submit_data.
#include <strings.h>

#include <cstring>

#include "webstep/forms/DataSet.h"
#include "webstep/forms/Resource.h"
#include "webstep/script/WebParsers.h"
#include "webstep/script/internal/StepTransfer.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebSteps.h"

using webstep::script_internal::CopyContextlessFields;
using webstep::script_internal::MoveDataItems;
using webstep::script_internal::MoveResources;

namespace {

// The frame a contextless step targets when the script names none.
constexpr const char* kTopFrame = "_TOP";

bool EqualsNoCase(const MString& text, const char* keyword) {
    return strcasecmp(text.c_str(), keyword) == 0 && text.size() == std::strlen(keyword);
}

// Terminator arrays: each is filled on the first use of its parser (a local
// static) and kept for the life of the process.

// web_url, web_link, web_image: 0 "EXTRARES", 1 "LAST".
const char** PageTerminators() {
    static const char* terminators[] = {CWebStepScript::KeyWord_StartRes,
                                        CWebStepScript::KeyWord_LastItem, nullptr};
    return terminators;
}
enum { PAGE_EXTRARES = 0, PAGE_LAST = 1 };

// web_submit_form: 0 "STARTHIDDENS", 1 "ITEMDATA", 2 "EXTRARES", 3 "LAST".
const char** SubmitFormTerminators() {
    static const char* terminators[] = {
        CWebStepScript::KeyWord_StartHiddens, CWebStepScript::KeyWord_ItemData,
        CWebStepScript::KeyWord_StartRes, CWebStepScript::KeyWord_LastItem, nullptr};
    return terminators;
}

// Hidden fields end at 0 "ENDHIDDENS" or 1 "LAST".
const char** HiddensTerminators() {
    static const char* terminators[] = {CWebStepScript::KeyWord_EndHiddens,
                                        CWebStepScript::KeyWord_LastItem, nullptr};
    return terminators;
}

// Item data ends at 0 "EXTRARES" or 1 "LAST".
const char** ItemDataTerminators() {
    static const char* terminators[] = {CWebStepScript::KeyWord_StartRes,
                                        CWebStepScript::KeyWord_LastItem, nullptr};
    return terminators;
}
enum { ITEMS_EXTRARES = 0, ITEMS_LAST = 1 };

// web_submit_data: 0 "ITEMDATA", 1 "EXTRARES", 2 "LAST".
const char** SubmitDataTerminators() {
    static const char* terminators[] = {CWebStepScript::KeyWord_ItemData,
                                        CWebStepScript::KeyWord_StartRes,
                                        CWebStepScript::KeyWord_LastItem, nullptr};
    return terminators;
}
enum { DATA_ITEMDATA = 0, DATA_EXTRARES = 1, DATA_LAST = 2 };

template <class Step>
Step* ExpectedStep(CWebStepData* slot) {
    return slot ? dynamic_cast<Step*>(slot) : nullptr;
}

// Removes the attribute from the set and hands back its value; false when
// it is absent.
bool TakeAttribute(CAttributeSet& attributes, const char* name, MString& value) {
    if (!attributes.GetAttribute(name, value))
        return false;
    attributes.RemoveAttribute(name);
    return true;
}

}  // namespace

bool CWebStepParse::GetContextlessAttributes(const CAttributeSet& attributes,
                                             CWebContextlessStep& step) {
    MString value;
    step.SetTargetFrame(attributes.GetAttribute(KeyWord_TargetFrame, value) ? value.c_str()
                                                                            : kTopFrame);
    if (attributes.GetAttribute(KeyWord_ContentType, value))
        step.SetContentType(value.c_str());
    if (attributes.GetAttribute(KeyWord_Resource, value)) {
        bool resource = false;
        if (!ParseBooleanArgument(value, resource))
            return false;
        step.SetResource(resource);
    }
    if (attributes.GetAttribute(KeyWord_Snapshot, value))
        step.SetSnapshot(value.c_str());
    step.SetReferer(attributes.GetAttribute(KeyWord_Referer, value) ? value.c_str() : "");
    step.SetUserAgent(attributes.GetAttribute(KeyWord_UserAgent, value) ? value.c_str() : "");
    if (attributes.GetAttribute(KeyWord_Mode, value))
        step.SetMode(value.c_str());
    step.SetResourceByteLimit(
        attributes.GetAttribute(KeyWord_ResourceByteLimit, value) ? value.c_str() : "");
    return true;
}

bool CWebStepParse::ReadStepStart(CAttributeSet& attributes, const char** terminators,
                                  int* terminatorIndex, bool allowDuplicate) {
    if (terminatorIndex)
        *terminatorIndex = -1;
    if (IsArrayMode() && GetArgumentCount() == 0) {
        SetErrorInfo(WSE_NO_ARGUMENTS, nullptr);
        return false;
    }
    if ((GetFlags() & WPF_NO_STEP_NAME) == 0) {
        const char* name = GetNextArgument();
        if (name != nullptr)
            GetWebStep().SetName(name);
    }
    return BuildAttrSetFromArgList(attributes, terminators, terminatorIndex, allowDuplicate);
}

bool CWebStepParse::ReadExtraResources(CResourceElements& resources, int* terminatorIndex) {
    if (BuildResourceDataSetFromFieldList(resources, DefaultTerminators, terminatorIndex))
        return true;
    AddErrorAttribute("context", "resource table");
    return false;
}

// Steps are created only once the whole call has been read, so a failed parse
// leaves the current-step slot as the caller set it (no half-built step to
// free). Without WPF_CREATE_STEP and without a step of the parser's class in
// the slot, the call is still checked and nothing is filled.

bool CWebParseUrl::__ParseArguments() {
    CWebStepUrl* step = ExpectedStep<CWebStepUrl>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    if (!ReadStepStart(attributes, PageTerminators(), &terminator, false))
        return false;
    CWebContextlessStep contextless;
    if (!GetContextlessAttributes(attributes, contextless))
        return false;
    MString url;
    if (!attributes.GetAttribute(KeyWord_Url, url)) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", KeyWord_Url, nullptr);
        return false;
    }
    CResourceElements resources;
    if (terminator == PAGE_EXTRARES && !ReadExtraResources(resources, nullptr))
        return false;

    if (GetFlags() & WPF_CREATE_STEP) {
        step = new CWebStepUrl;
        SetDataStep(step);
    }
    if (step != nullptr) {
        MoveResources(resources, step->GetOutOfContextResources());
        // A URL step always fetches with GET, whatever Method is written.
        step->SetMethod("GET");
        CopyContextlessFields(contextless, *step);
        step->SetUrl(url.c_str());
    }
    return true;
}

namespace {

// web_link and web_image: the attributes left after the snapshot describe the
// page element to act on.
template <class Step>
void FillContextStep(Step& step, CAttributeSet& attributes, CResourceElements& resources) {
    MString snapshot;
    if (TakeAttribute(attributes, CWebStepScript::KeyWord_Snapshot, snapshot))
        step.SetSnapshot(snapshot.c_str());
    step.GetAttributes() = attributes;
    MoveResources(resources, step.GetOutOfContextResources());
}

}  // namespace

bool CWebParseLink::__ParseArguments() {
    CWebStepLink* step = ExpectedStep<CWebStepLink>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    if (!ReadStepStart(attributes, PageTerminators(), &terminator, false))
        return false;
    CResourceElements resources;
    if (terminator == PAGE_EXTRARES && !ReadExtraResources(resources, nullptr))
        return false;
    if (GetFlags() & WPF_CREATE_STEP) {
        step = new CWebStepLink;
        SetDataStep(step);
    }
    if (step != nullptr)
        FillContextStep(*step, attributes, resources);
    return true;
}

bool CWebParseImage::__ParseArguments() {
    CWebStepImage* step = ExpectedStep<CWebStepImage>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    if (!ReadStepStart(attributes, PageTerminators(), &terminator, false))
        return false;
    CResourceElements resources;
    if (terminator == PAGE_EXTRARES && !ReadExtraResources(resources, nullptr))
        return false;
    MString x, y;
    const bool hasX = attributes.GetAttribute(KeyWord_ImageMapXCoord, x);
    const bool hasY = attributes.GetAttribute(KeyWord_ImageMapYCoord, y);
    unsigned int number = 0;
    if ((hasX && !ParseNumericArgument(x, number)) || (hasY && !ParseNumericArgument(y, number)))
        return false;
    if (GetFlags() & WPF_CREATE_STEP) {
        step = new CWebStepImage;
        SetDataStep(step);
    }
    if (step != nullptr) {
        // The coordinates stay in the attribute set; the step's own
        // coordinate fields get the same texts as a convenience.
        if (hasX)
            step->SetX(x.c_str());
        if (hasY)
            step->SetY(y.c_str());
        FillContextStep(*step, attributes, resources);
    }
    return true;
}

bool CWebParseSubmitForm::__ParseArguments() {
    CWebStepSubmitForm* step = ExpectedStep<CWebStepSubmitForm>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    if (!ReadStepStart(attributes, SubmitFormTerminators(), &terminator, false))
        return false;

    CDataSet items, hiddens;
    CResourceElements resources;
    // The keyword that ended the previous list; null when the arguments ran out.
    const char** terminators = SubmitFormTerminators();
    MString keyword = terminator >= 0 ? terminators[terminator] : "";
    bool haveKeyword = terminator >= 0;
    for (;;) {
        if (!haveKeyword) {
            SetErrorInfo(WSE_NO_TERMINATOR, nullptr);
            return false;
        }
        int found = -1;
        if (EqualsNoCase(keyword, KeyWord_LastItem))
            break;
        if (EqualsNoCase(keyword, KeyWord_StartHiddens)) {
            if (!BuildDataSetFromFieldList(hiddens, HiddensTerminators(), &found)) {
                AddErrorAttribute("context", "hidden fields");
                return false;
            }
            haveKeyword = found >= 0;
            if (haveKeyword)
                keyword = HiddensTerminators()[found];
        } else if (EqualsNoCase(keyword, KeyWord_EndHiddens)) {
            const char* next = GetNextArgument();
            haveKeyword = next != nullptr;
            if (haveKeyword)
                keyword = next;
        } else if (EqualsNoCase(keyword, KeyWord_ItemData)) {
            if (!BuildDataSetFromFieldList(items, ItemDataTerminators(), &found)) {
                AddErrorAttribute("context", "data table");
                return false;
            }
            haveKeyword = found >= 0;
            if (haveKeyword)
                keyword = ItemDataTerminators()[found];
        } else if (EqualsNoCase(keyword, KeyWord_StartRes)) {
            if (!ReadExtraResources(resources, &found))
                return false;
            haveKeyword = found >= 0;
            if (haveKeyword)
                keyword = DefaultTerminators[found];
        } else {
            SetErrorInfo(WSE_UNKNOWN_KEYWORD, "text", keyword.c_str(), nullptr);
            return false;
        }
    }

    if (GetFlags() & WPF_CREATE_STEP) {
        step = new CWebStepSubmitForm;
        SetDataStep(step);
    }
    if (step != nullptr) {
        MString value;
        if (TakeAttribute(attributes, KeyWord_Snapshot, value))
            step->SetSnapshot(value.c_str());
        if (TakeAttribute(attributes, KeyWord_ContentEncoding, value))
            step->SetContentEncoding(value.c_str());
        MoveResources(resources, step->GetOutOfContextResources());
        step->GetAttributes() = attributes;
        MoveDataItems(items, step->GetDataSet());
        MoveDataItems(hiddens, step->GetHiddens());
    }
    return true;
}

bool CWebParseSubmitData::__ParseArguments() {
    CWebStepSubmitData* step = ExpectedStep<CWebStepSubmitData>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    if (!ReadStepStart(attributes, SubmitDataTerminators(), &terminator, false))
        return false;
    CWebContextlessStep contextless;
    if (!GetContextlessAttributes(attributes, contextless))
        return false;
    MString action;
    if (!attributes.GetAttribute(KeyWord_Action, action)) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", KeyWord_Action, nullptr);
        return false;
    }
    MString method;
    if (!attributes.GetAttribute(KeyWord_Method, method)) {
        method = "POST";
    } else if (!EqualsNoCase(method, "POST") && !EqualsNoCase(method, "GET")) {
        SetErrorInfo(WSE_INVALID_SUBMIT_METHOD, "text", method.c_str(), nullptr);
        return false;
    }
    MString encType, encodeAtSign, contentEncoding;
    const bool useEncType = attributes.GetAttribute(KeyWord_EncType, encType);
    attributes.GetAttribute(KeyWord_EncodeAtSign, encodeAtSign);
    attributes.GetAttribute(KeyWord_ContentEncoding, contentEncoding);

    CDataSet items;
    CResourceElements resources;
    bool atLast = terminator == DATA_LAST;
    bool atExtraResources = terminator == DATA_EXTRARES;
    if (terminator == DATA_ITEMDATA) {
        int found = -1;
        if (!BuildDataSetFromFieldList(items, ItemDataTerminators(), &found)) {
            AddErrorAttribute("context", "data table");
            return false;
        }
        atLast = found == ITEMS_LAST;
        atExtraResources = found == ITEMS_EXTRARES;
    }
    if (atExtraResources) {
        int end = -1;
        if (!ReadExtraResources(resources, &end))
            return false;
        atLast = end >= 0;
    }
    if (!atLast) {
        SetErrorInfo(WSE_NO_TERMINATOR, nullptr);
        return false;
    }

    if (GetFlags() & WPF_CREATE_STEP) {
        step = new CWebStepSubmitData;
        SetDataStep(step);
    }
    if (step != nullptr) {
        CopyContextlessFields(contextless, *step);
        step->SetAction(action.c_str());
        step->SetMethod(method.c_str());
        step->SetEncType(encType.c_str());
        step->SetUseEncType(useEncType);
        // The flag is taken as written: "yes" in any letter case sets it,
        // anything else (also a parameter reference) leaves it clear.
        step->SetEncodeAtSign(EqualsNoCase(encodeAtSign, KeyWord_Yes));
        step->SetContentEncoding(contentEncoding.c_str());
        MoveDataItems(items, step->GetDataSet());
        MoveResources(resources, step->GetOutOfContextResources());
    }
    return true;
}
