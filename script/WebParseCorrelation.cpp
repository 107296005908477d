// Parser of the correlation step that saves part of a response, and the
// readers shared with the verification and check steps: option suffixes of
// attribute names, check attributes and find item lists.
#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/script/WebParsers.h"
#include "webstep/script/internal/OptionSuffixes.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebSteps.h"

namespace {

// In bit order: option i sets bit 1 << i.
const char* const kSaveParamOptions[] = {"IC", "BIN", "DIG", "ALNUMIC", "ALNUMLC", "ALNUMUC"};
const char* const kGlobalVerificationOptions[] = {"IC", "BIN"};

bool EqualsNoCase(const MString& a, const char* b) {
    return strcasecmp(a.c_str(), b) == 0 && a.size() == std::strlen(b);
}

MString BaseName(const MString& attributeName) {
    return attributeName.substr(0, attributeName.find('/'));
}

}  // namespace

bool CWebStepParse::ParseParamBoundary(const MString& attributeName, RegSaveParamFlags& flags) {
    unsigned int bits = 0;
    const bool ok =
        webstep::script_internal::ReadOptionSuffixes(attributeName, kSaveParamOptions, 6, bits);
    flags = static_cast<RegSaveParamFlags>(ok ? bits : 0);
    if (!ok)
        SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", attributeName.c_str(), nullptr);
    return ok;
}

bool CWebStepParse::ParseFindText(const MString& label, const MString& attributeName,
                                  RegFindFlags& flags) {
    unsigned int bits = 0;
    const bool ok =
        webstep::script_internal::ReadOptionSuffixes(attributeName, kSaveParamOptions, 6, bits);
    flags = static_cast<RegFindFlags>(ok ? bits : 0);
    if (!ok)
        SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, label.c_str(), attributeName.c_str(), nullptr);
    return ok;
}

bool CWebStepParse::ParseGlobalVerificationText(const MString& label, const MString& attributeName,
                                                GlobalVerificationFlags& flags) {
    unsigned int bits = 0;
    const bool ok = webstep::script_internal::ReadOptionSuffixes(
        attributeName, kGlobalVerificationOptions, 2, bits);
    flags = static_cast<GlobalVerificationFlags>(ok ? bits : 0);
    if (!ok)
        SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, label.c_str(), attributeName.c_str(), nullptr);
    return ok;
}

bool CWebStepParse::GetCheckAttributes(const CAttributeSet& attributes, MString& frame,
                                       bool& expectFound, bool& matchCase, bool& repeat,
                                       bool& abortOnFailure, CWebCheckStep::ReportOption& report) {
    expectFound = bDefaultExpect;
    matchCase = bDefaultMatchCase;
    repeat = bDefaultRepeat;
    abortOnFailure = bDefaultAbort;
    report = DefaultReport;

    MString value;
    if (attributes.GetAttribute(KeyWord_Frame, value))
        frame = value;
    if (attributes.GetAttribute(KeyWord_Expect, value)) {
        int row = 1;
        if (!ValidateAttribute(KeyWord_Expect, value, m_valuesExpect, false, &row))
            return false;
        expectFound = row != 0;
    }
    if (attributes.GetAttribute(KeyWord_MatchCase, value) && !ParseYesNoArgument(value, matchCase))
        return false;
    if (attributes.GetAttribute(KeyWord_Repeat, value) && !ParseYesNoArgument(value, repeat))
        return false;
    if (attributes.GetAttribute(KeyWord_AbortOnFailure, value)) {
        int row = 0;
        if (!ValidateAttribute(KeyWord_AbortOnFailure, value, m_valuesOnFailure, false, &row))
            return false;
        abortOnFailure = row == 1;
    }
    if (attributes.GetAttribute(KeyWord_Report, value)) {
        int row = DefaultReport;
        if (!ValidateAttribute(KeyWord_Report, value, m_valuesReport, false, &row))
            return false;
        report = static_cast<CWebCheckStep::ReportOption>(row);
    }
    return true;
}

bool CWebStepParse::BuildDataSetFromFindFields(CDataSet& dataSet, const char** terminators,
                                               int* terminatorIndex) {
    MString text, type;
    bool haveText = false, haveType = false;
    for (;;) {
        const char* argument = GetNextArgument();
        if (argument == nullptr)
            return true;
        if (IsTerminator(argument, terminators, terminatorIndex))
            return true;
        MString name, value;
        // Split without ParseAttribute: this reader records no error of its
        // own, the calling parser does.
        const char* equals = std::strchr(argument, '=');
        if (equals != nullptr && equals != argument) {
            name.assign(argument, equals);
            value = equals + 1;
            if (EqualsNoCase(name, KeyWord_FindWhat) && !haveText) {
                text = value;
                haveText = true;
            } else if (EqualsNoCase(name, KeyWord_FindType) && !haveType) {
                type = value;
                haveType = true;
            } else {
                return false;
            }
            continue;
        }
        if (IsBodyVariable(argument) || strcasecmp(argument, KeyWord_EndItem) != 0)
            return false;
        // An open item not closed before the terminator is dropped: only
        // "ENDITEM" appends.
        dataSet.AddData(new CData(text, type, CData::RT_LITERAL, CData::RT_LITERAL,
                                  CData::DT_UNSPECIFIED, true, MString(), MString(), false,
                                  MString(), MString(), MString()));
        text.clear();
        type.clear();
        haveText = haveType = false;
    }
}

// The parameter name comes first and names the step; this function has no
// step name of its own whatever the flags say. Unlike the other parsers, the
// step is created before the attributes are checked, so a failed parse with
// WPF_CREATE_STEP still leaves a new step in the slot for the caller to free.
bool CWebParseRegSaveParam::__ParseArguments() {
    CWebStepRegSaveParam* step =
        GetDataStep() ? dynamic_cast<CWebStepRegSaveParam*>(GetDataStep()) : nullptr;
    if (IsArrayMode() && GetArgumentCount() == 0) {
        SetErrorInfo(WSE_NO_ARGUMENTS, nullptr);
        return false;
    }
    const char* parameter = GetNextArgument();
    const MString paramName = parameter ? parameter : "";
    GetWebStep().SetName(MString("web_reg_save_param ") + paramName);

    CAttributeSet attributes;
    int terminator = -1;
    if (!BuildAttrSetFromArgList(attributes, DefaultTerminators, &terminator, false))
        return false;
    if (GetFlags() & WPF_CREATE_STEP) {
        step = new CWebStepRegSaveParam;
        SetDataStep(step);
    }

    bool haveLeft = false, haveRight = false;
    MString left, right;
    RegSaveParamFlags leftFlags = RSPF_NONE, rightFlags = RSPF_NONE;
    CPropertyBagIterator it(attributes);
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value)) {
        const MString base = BaseName(name);
        if (!haveLeft && EqualsNoCase(base, KeyWord_LeftBound)) {
            if (!ParseParamBoundary(name, leftFlags))
                return false;
            left = value;
            haveLeft = true;
        } else if (!haveRight && EqualsNoCase(base, KeyWord_RightBound)) {
            if (!ParseParamBoundary(name, rightFlags))
                return false;
            right = value;
            haveRight = true;
        }
    }
    if (!haveLeft) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", KeyWord_LeftBound, nullptr);
        return false;
    }
    if (!haveRight) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", KeyWord_RightBound, nullptr);
        return false;
    }

    MString ord;
    const bool haveOrd = attributes.GetAttribute(KeyWord_Instance, ord) && !ord.empty();
    if (haveOrd && !ParseNumericArgumentOrAll(ord))
        return false;
    MString offsetText, lengthText;
    unsigned int offset = 0;
    long length = -1;
    const bool haveOffset = attributes.GetAttribute("SaveOffset", offsetText);
    if (haveOffset && !ParseNumericArgument(offsetText, offset))
        return false;
    const bool haveLength = attributes.GetAttribute("SaveLen", lengthText);
    if (haveLength && !ParseNumericSignedArgument(lengthText, length))
        return false;

    MString notFound, relFrameId, callback, callbackDll, ignoreRedirections, search;
    const bool haveNotFound = attributes.GetAttribute(KeyWord_NotFound, notFound);
    const bool haveRelFrameId = attributes.GetAttribute(KeyWord_RelFrameId, relFrameId);
    const bool haveCallback = attributes.GetAttribute(KeyWord_CallbackName, callback);
    const bool haveCallbackDll = attributes.GetAttribute(KeyWord_CallbackDLLName, callbackDll);
    const bool haveIgnore = attributes.GetAttribute(KeyWord_IgnoreRedirections, ignoreRedirections);
    const bool haveSearch = attributes.GetAttribute(KeyWord_SearchScope, search);
    if (haveSearch && search.empty()) {
        SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "text", KeyWord_SearchScope, nullptr);
        return false;
    }

    if (step == nullptr)
        return true;
    step->SetParamName(paramName.c_str());
    // The flags first: the boundary texts are stored under names that carry
    // the flags' suffixes.
    step->SetLeftBoundFlags(leftFlags);
    step->SetLeft(left.c_str());
    step->SetRightBoundFlags(rightFlags);
    step->SetRight(right.c_str());
    if (haveOrd) {
        if (IsParameter(ord) || strcasecmp(ord.c_str(), KeyWord_ScopeAll) == 0)
            step->SetInstance(ord.c_str());
        else
            step->SetInstance(static_cast<int>(std::strtoul(ord.c_str(), nullptr, 10)));
    }
    if (haveNotFound)
        step->SetNotFound(notFound.c_str());
    if (haveRelFrameId)
        step->SetRelativeFrameId(relFrameId.c_str());
    if (haveSearch)
        step->SetSearchScope(search.c_str());
    if (haveOffset)
        step->SetSaveOffset(offset);
    if (haveLength)
        step->SetSaveLen(length);
    if (haveCallback)
        step->SetCallbackName(callback.c_str());
    if (haveCallbackDll)
        step->SetCallbackDLLName(callbackDll.c_str());
    if (haveIgnore)
        step->SetIgnoreRedirections(ignoreRedirections.c_str());
    return true;
}
