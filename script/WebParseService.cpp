// Parsers of the service steps: connection settings, headers, cookies,
// certificates, time-outs, checks and parameter conversions.
//
// Positional arguments fill the step fields in argument order. Where a step
// accepts only some values the checks below are this library's choice, each
// noted beside its parser.
#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/script/PasswordDecryption.h"
#include "webstep/script/WebParsers.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebSteps.h"

namespace {

template <class Step>
Step* SlotStep(CWebStepData* slot) {
    return slot ? dynamic_cast<Step*>(slot) : nullptr;
}

// The step to fill: a new one in the slot when creation is asked for,
// otherwise the caller's (null when absent or of another class).
template <class Step>
Step* FinalStep(CWebStepBase& base, Step* expected, bool create) {
    if (!create)
        return expected;
    Step* step = new Step;
    base.SetDataStep(step);
    return step;
}

enum CountRule {
    CR_NONE,           // no arguments: any argument is 1010
    CR_FIXED,          // fewer are 1008, more are 1010
    CR_FIXED_OR_1008,  // any other count is 1008
};

// The error of a wrong argument count (array mode only), or 0.
unsigned int CountError(bool arrayMode, unsigned int count, CountRule rule, unsigned int wanted) {
    if (!arrayMode)
        return 0;
    switch (rule) {
        case CR_NONE:
            return count != 0 ? static_cast<unsigned int>(WSE_UNEXPECTED_ARGUMENT) : 0u;
        case CR_FIXED:
            if (count < wanted)
                return WSE_MISSING_ARGUMENT;
            return count > wanted ? static_cast<unsigned int>(WSE_UNEXPECTED_ARGUMENT) : 0u;
        case CR_FIXED_OR_1008:
            return count != wanted ? static_cast<unsigned int>(WSE_MISSING_ARGUMENT) : 0u;
    }
    return 0;
}

MString Text(const char* argument) {
    return argument ? MString(argument) : MString();
}

bool EqualsNoCase(const MString& a, const char* b) {
    return a.size() == std::strlen(b) && strcasecmp(a.c_str(), b) == 0;
}

MString BaseName(const MString& attributeName) {
    return attributeName.substr(0, attributeName.find('/'));
}

// "Text", "TextPfx" and "TextSfx" of a find or verification step, each with
// the option suffixes that the given reader takes into its flags; the first
// of each name counts.
template <class Flags>
struct FindTexts {
    MString texts[3];
    bool have[3] = {false, false, false};
    Flags flags[3] = {};

    template <class ReadSuffixes>
    bool Collect(CAttributeSet& attributes, ReadSuffixes readSuffixes) {
        const char* const bases[3] = {CWebStepScript::KeyWord_Text, CWebStepScript::KeyWord_TextPfx,
                                      CWebStepScript::KeyWord_TextSfx};
        CPropertyBagIterator it(attributes);
        MString name, value;
        for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value)) {
            const MString base = BaseName(name);
            for (int i = 0; i < 3; ++i) {
                if (!have[i] && EqualsNoCase(base, bases[i])) {
                    if (!readSuffixes(name, flags[i]))
                        return false;
                    texts[i] = value;
                    have[i] = true;
                }
            }
        }
        return true;
    }

    // Flags before texts: the texts are stored under names carrying them.
    template <class Step>
    void Store(Step* step) const {
        if (have[0]) {
            step->SetTextFlags(flags[0]);
            step->SetText(texts[0].c_str());
        }
        if (have[1]) {
            step->SetTextPfxFlags(flags[1]);
            step->SetTextPfx(texts[1].c_str());
        }
        if (have[2]) {
            step->SetTextSfxFlags(flags[2]);
            step->SetTextSfx(texts[2].c_str());
        }
    }
};

// The port after the colon of a host argument; not a checked number (these
// steps record no number error), so the leading digits are read and anything
// else gives 0.
unsigned int PortOf(const MString& rest) {
    return static_cast<unsigned int>(std::strtoul(rest.c_str(), nullptr, 10));
}

const CWebStepScript::AttrTableEntry kSearchScopes[] = {
    {"Headers", 1}, {"Body", 2}, {"Noresource", 3}, {"All", 4}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kFailConditions[] = {
    {"Found", 1}, {"NotFound", 2}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kEncodings[] = {
    {"HTML", 1}, {"URL", 2}, {"PLAIN", 3}, {"HTML_TO_URL", 4}, {"HTML_TO_TEXT", 5}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kCertificateFormats[] = {{"PEM", 1}, {"DER", 2}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kYesNo[] = {{"Yes", 1}, {"No", 0}, {nullptr, 0}};

// Moves the items into the step's set: a copy of a data set would share
// them, and both sets would free them.
void MoveItems(CDataSet& from, CDataSet& to) {
    for (CData* item : from.DataElements().GetList())
        to.AddData(item);
    from.ClearDataReferences();
}

const char* kItemDataOrLast[] = {"ITEMDATA", "LAST", nullptr};

}  // namespace

#define WEBSTEP_CHECK_COUNT(rule, wanted)                                      \
    do {                                                                       \
        if (const unsigned int countError_ =                                   \
                CountError(IsArrayMode(), GetArgumentCount(), rule, wanted)) { \
            SetErrorInfo(countError_, nullptr);                                \
            return false;                                                      \
        }                                                                      \
    } while (0)

// Steps without arguments: any argument is 1010; the step has no fields.
#define WEBSTEP_NO_ARGUMENT_PARSER(Parser, Step)                     \
    bool Parser::__ParseArguments() {                                \
        Step* step = SlotStep<Step>(GetDataStep());                  \
        WEBSTEP_CHECK_COUNT(CR_NONE, 0);                             \
        FinalStep(*this, step, (GetFlags() & WPF_CREATE_STEP) != 0); \
        return true;                                                 \
    }

WEBSTEP_NO_ARGUMENT_PARSER(CWebParseCleanupAutoHeaders, CWebStepCleanupAutoHeaders)
WEBSTEP_NO_ARGUMENT_PARSER(CWebParseEnableKeepAlive, CWebStepEnableKeepAlive)
WEBSTEP_NO_ARGUMENT_PARSER(CWebParseDisableKeepAlive, CWebStepDisableKeepAlive)
WEBSTEP_NO_ARGUMENT_PARSER(CWebParseCleanupCookies, CWebStepCleanupCookies)
WEBSTEP_NO_ARGUMENT_PARSER(CWebParseCacheCleanup, CWebStepCacheCleanup)
#undef WEBSTEP_NO_ARGUMENT_PARSER

// Steps of one or more plain texts: the count is checked, then each argument
// is read in order.
#define WEBSTEP_BEGIN_FIXED(Parser, Step, rule, wanted) \
    bool Parser::__ParseArguments() {                   \
        Step* step = SlotStep<Step>(GetDataStep());     \
        WEBSTEP_CHECK_COUNT(rule, wanted);
#define WEBSTEP_CREATE_STEP() step = FinalStep(*this, step, (GetFlags() & WPF_CREATE_STEP) != 0)

// "web_concurrent_start" and "web_concurrent_end": one argument, written NULL
// in scripts; the steps keep nothing of it.
WEBSTEP_BEGIN_FIXED(CWebParseConcurrentStart, CWebStepConcurrentStart, CR_FIXED, 1)
GetNextArgument();
WEBSTEP_CREATE_STEP();
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseConcurrentEnd, CWebStepConcurrentEnd, CR_FIXED, 1)
GetNextArgument();
WEBSTEP_CREATE_STEP();
return true;
}

// The proxy: host and port, or a parameter reference for the whole of it.
WEBSTEP_BEGIN_FIXED(CWebParseSetProxy, CWebStepSetProxy, CR_FIXED, 1)
const MString argument = Text(GetNextArgument());
MString host, rest, parameter;
if (!ParseUrlArgument(argument, host, rest, parameter))
    return false;
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetHost(host.c_str());
    step->SetPort(PortOf(rest));
    step->SetParameterUrl(parameter.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetSecureProxy, CWebStepSetSecureProxy, CR_FIXED, 1)
const MString argument = Text(GetNextArgument());
MString host, rest, parameter;
if (!ParseUrlArgument(argument, host, rest, parameter))
    return false;
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetHost(host.c_str());
    step->SetPort(PortOf(rest));
    step->SetParameterUrl(parameter.c_str());
}
return true;
}

// User name, password (a "qz_decrypt(...)" form is decrypted through the
// installed routine) and the host the credentials are for.
WEBSTEP_BEGIN_FIXED(CWebParseSetUser, CWebStepSetUser, CR_FIXED, 3)
const MString user = Text(GetNextArgument());
const MString password = Text(GetNextArgument());
const MString argument = Text(GetNextArgument());
MString host, rest, parameter;
if (!ParseUrlArgument(argument, host, rest, parameter))
    return false;
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetUsername(user.c_str());
    step->SetPassword(UnwrapPasswordArgument(password).c_str());
    step->SetHost(host.c_str());
    step->PutPort(PortOf(rest));
    step->SetParameterUrl(parameter.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseAddHeader, CWebStepAddHeader, CR_FIXED, 2)
const MString header = Text(GetNextArgument());
const MString value = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetHeader(header.c_str());
    step->SetValue(value.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseAddAutoHeader, CWebStepAddAutoHeader, CR_FIXED, 2)
const MString header = Text(GetNextArgument());
const MString value = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetHeader(header.c_str());
    step->SetValue(value.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseRevertAutoHeader, CWebStepRevertAutoHeader, CR_FIXED, 1)
const MString header = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step)
    step->SetHeader(header.c_str());
return true;
}

// Header name, "ImplicitGen=Yes|No" and the closing marker. A second
// argument that is not an attribute, or names another attribute, is a
// syntax error (1002); a value other than Yes or No (any case) is 1003; a
// third argument other than the closing marker counts as the marker missing
// (1008), like a wrong number of arguments.
WEBSTEP_BEGIN_FIXED(CWebParseRemoveAutoHeader, CWebStepRemoveAutoHeader, CR_FIXED_OR_1008, 3)
const MString header = Text(GetNextArgument());
const MString argument = Text(GetNextArgument());
const MString closing = Text(GetNextArgument());
MString name, value;
if (!ParseAttribute(argument, name, value))
    return false;
if (!EqualsNoCase(name, KeyWord_ImplicitGeneration)) {
    SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", argument.c_str(), nullptr);
    return false;
}
if (!ValidateAttribute(name, value, kYesNo, false, nullptr))
    return false;
if (!IsTerminator(closing, DefaultTerminators, nullptr)) {
    SetErrorInfo(WSE_MISSING_ARGUMENT, "text", closing.c_str(), nullptr);
    return false;
}
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetHeader(header.c_str());
    step->SetImplicitGeneration(value.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetProxyBypass, CWebStepSetProxyBypass, CR_FIXED, 1)
const MString list = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step)
    step->SetBypass(list.c_str());
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetProxyBypassLocal, CWebStepSetProxyBypassLocal, CR_FIXED, 1)
const MString argument = Text(GetNextArgument());
bool bypass = false;
if (!ParseBooleanArgument(argument, bypass))
    return false;
WEBSTEP_CREATE_STEP();
if (step)
    step->SetBypassOption(bypass);
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetConnectionsLimit, CWebStepSetConnectionsLimit, CR_FIXED, 1)
const MString argument = Text(GetNextArgument());
unsigned int limit = 0;
if (!ParseNumericArgument(argument, limit))
    return false;
WEBSTEP_CREATE_STEP();
if (step)
    step->SetLimit(limit);
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetMaxRetries, CWebStepSetMaxRetries, CR_FIXED, 1)
const MString argument = Text(GetNextArgument());
unsigned int retries = 0;
if (!ParseNumericArgument(argument, retries))
    return false;
WEBSTEP_CREATE_STEP();
if (step)
    step->SetMaxRetries(retries);
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetMaxHtmlParamLen, CWebStepSetMaxHtmlParamLen, CR_FIXED, 1)
const MString argument = Text(GetNextArgument());
unsigned int length = 0;
if (!ParseNumericArgument(argument, length))
    return false;
WEBSTEP_CREATE_STEP();
if (step)
    step->SetLen(length);
return true;
}

// The kind (any letter case) and the seconds. The kind's error names the
// attribute "Action".
WEBSTEP_BEGIN_FIXED(CWebParseSetTimeout, CWebStepSetTimeout, CR_FIXED, 2)
const MString kind = Text(GetNextArgument());
const MString seconds = Text(GetNextArgument());
int action = CWebStepSetTimeout::ACTION_NONE;
if (!ValidateAttribute("Action", kind, m_valuesAction, false, &action))
    return false;
unsigned int timeout = 0;
if (!ParseNumericArgument(seconds, timeout))
    return false;
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetAction(static_cast<CWebStepSetTimeout::ActionOption>(action));
    step->SetTimeout(timeout);
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetSocketsOption, CWebStepSetSocketsOption, CR_FIXED, 2)
const MString option = Text(GetNextArgument());
const MString value = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetOptionID(option.c_str());
    step->SetOptionValue(value.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseCreateHtmlParam, CWebStepCreateHtmlParam, CR_FIXED, 3)
const MString name = Text(GetNextArgument());
const MString left = Text(GetNextArgument());
const MString right = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetName(name.c_str());
    step->SetLeft(left.c_str());
    step->SetRight(right.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseCreateHtmlParamEx, CWebStepCreateHtmlParamEx, CR_FIXED, 4)
const MString name = Text(GetNextArgument());
const MString left = Text(GetNextArgument());
const MString right = Text(GetNextArgument());
const MString instanceText = Text(GetNextArgument());
unsigned int instance = 0;
if (!ParseNumericArgument(instanceText, instance))
    return false;
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetName(name.c_str());
    step->SetLeft(left.c_str());
    step->SetRight(right.c_str());
    step->SetInstance(static_cast<int>(instance));
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSjisToEucParam, CWebStepSjisToEucParam, CR_FIXED, 2)
const MString name = Text(GetNextArgument());
const MString value = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetParamName(name.c_str());
    step->SetParamValue(value.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseAddCookie, CWebStepAddCookie, CR_FIXED, 1)
const MString cookie = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step)
    step->SetCookie(cookie.c_str());
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseRemoveCookie, CWebStepRemoveCookie, CR_FIXED, 1)
const MString cookie = Text(GetNextArgument());
WEBSTEP_CREATE_STEP();
if (step)
    step->SetCookie(cookie.c_str());
return true;
}

// The cookie, "Text=..." and the closing marker. A second argument that is
// not an attribute, or names another attribute, is a syntax error (1002); a
// third argument other than the closing marker is unexpected (1010).
WEBSTEP_BEGIN_FIXED(CWebParseRegAddCookie, CWebStepRegAddCookie, CR_FIXED, 3)
const MString cookie = Text(GetNextArgument());
const MString argument = Text(GetNextArgument());
const MString closing = Text(GetNextArgument());
MString name, value;
if (!ParseAttribute(argument, name, value))
    return false;
if (!EqualsNoCase(name, KeyWord_Text)) {
    SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", argument.c_str(), nullptr);
    return false;
}
if (!IsTerminator(closing, DefaultTerminators, nullptr)) {
    SetErrorInfo(WSE_UNEXPECTED_ARGUMENT, "text", closing.c_str(), nullptr);
    return false;
}
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetCookie(cookie.c_str());
    step->SetTextToFind(value.c_str());
}
return true;
}

// "Cookie=...", "Insert=..." and the closing marker, in this order. An
// argument that is not an attribute or names the wrong attribute is a syntax
// error (1002); a third argument other than the closing marker counts as the
// marker missing (1008).
WEBSTEP_BEGIN_FIXED(CWebParseAddCookieEx, CWebStepAddCookieEx, CR_FIXED_OR_1008, 3)
const MString first = Text(GetNextArgument());
const MString second = Text(GetNextArgument());
const MString closing = Text(GetNextArgument());
MString cookieName, cookie, insertName, insert;
if (!ParseAttribute(first, cookieName, cookie))
    return false;
if (!EqualsNoCase(cookieName, KeyWord_Cookie)) {
    SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", first.c_str(), nullptr);
    return false;
}
if (!ParseAttribute(second, insertName, insert))
    return false;
if (!EqualsNoCase(insertName, KeyWord_Insert)) {
    SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", second.c_str(), nullptr);
    return false;
}
if (!IsTerminator(closing, DefaultTerminators, nullptr)) {
    SetErrorInfo(WSE_MISSING_ARGUMENT, "text", closing.c_str(), nullptr);
    return false;
}
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetCookie(cookie.c_str());
    step->SetInsertAt(insert.c_str());
}
return true;
}

WEBSTEP_BEGIN_FIXED(CWebParseSetCertificate, CWebStepSetCertificate, CR_FIXED, 1)
const MString argument = Text(GetNextArgument());
unsigned int index = 0;
if (!ParseNumericArgument(argument, index))
    return false;
WEBSTEP_CREATE_STEP();
if (step)
    step->SetIndex(index);
return true;
}

namespace {
// The table of three and the two properties current script versions add: the
// request's and the response's header-plus-body sizes, which the run time
// answers.
const CWebStepScript::AttrTableEntry kHttpInfoTypeExtended[] = {
    {"HTTP_INFO_RETURN_CODE", CWebStepGetIntProperty::HTTP_INFO_RETURN_CODE},
    {"HTTP_INFO_DOWNLOAD_SIZE", CWebStepGetIntProperty::HTTP_INFO_DOWNLOAD_SIZE},
    {"HTTP_INFO_DOWNLOAD_TIME", CWebStepGetIntProperty::HTTP_INFO_DOWNLOAD_TIME},
    {"HTTP_INFO_TOTAL_REQUEST_STAT", CWebStepGetIntProperty::HTTP_INFO_TOTAL_REQUEST_STAT},
    {"HTTP_INFO_TOTAL_RESPONSE_STAT", CWebStepGetIntProperty::HTTP_INFO_TOTAL_RESPONSE_STAT},
    {nullptr, 0}};
}  // namespace

// The property is written as a bare identifier (HTTP_INFO_RETURN_CODE); its
// text is checked against the table in any letter case, the longer table with
// WPF_EXTENDED_VALUES. The error names the attribute "HttpInfoType".
WEBSTEP_BEGIN_FIXED(CWebParseGetIntProperty, CWebStepGetIntProperty, CR_FIXED, 1)
const MString kind = Text(GetNextArgument());
int type = CWebStepGetIntProperty::HTTP_INFO_NONE;
const AttrTableEntry* table =
    (GetFlags() & WPF_EXTENDED_VALUES) != 0 ? kHttpInfoTypeExtended : m_valuesHttpInfoType;
if (!ValidateAttribute("HttpInfoType", kind, table, false, &type))
    return false;
WEBSTEP_CREATE_STEP();
if (step)
    step->SetHttpInfoType(static_cast<CWebStepGetIntProperty::HttpInfoTypeOption>(type));
return true;
}

// The kind (REQUEST or RESPONSE, any letter case; the error names the
// attribute "SaveHeader") and the parameter that receives the headers.
WEBSTEP_BEGIN_FIXED(CWebParseSaveHeader, CWebStepSaveHeader, CR_FIXED, 2)
const MString kind = Text(GetNextArgument());
const MString parameter = Text(GetNextArgument());
int option = CWebStepSaveHeader::SAVE_HEADER_NONE;
if (!ValidateAttribute("SaveHeader", kind, m_valuesSaveHeader, false, &option))
    return false;
WEBSTEP_CREATE_STEP();
if (step) {
    step->SetOption(static_cast<CWebStepSaveHeader::SaveHeaderOption>(option));
    step->SetHeader(parameter.c_str());
}
return true;
}

#undef WEBSTEP_BEGIN_FIXED

// Attribute lists: 1009 for an empty array, the step name unless the flags
// say there is none, then the attributes up to one of the terminators.
#define WEBSTEP_READ_ATTRIBUTES(withStepName, attributes, terminators, terminator, duplicates) \
    do {                                                                                       \
        if (IsArrayMode() && GetArgumentCount() == 0) {                                        \
            SetErrorInfo(WSE_NO_ARGUMENTS, nullptr);                                           \
            return false;                                                                      \
        }                                                                                      \
        if ((withStepName) && (GetFlags() & WPF_NO_STEP_NAME) == 0) {                          \
            if (const char* name_ = GetNextArgument())                                         \
                GetWebStep().SetName(name_);                                                   \
        }                                                                                      \
        if (!BuildAttrSetFromArgList(attributes, terminators, &(terminator), duplicates))      \
            return false;                                                                      \
    } while (0)

// "What" (the text) or an "ITEMDATA" list of "what"/"type" items, "RightOf",
// "LeftOf", "Frame", "inside" (list, link, table; empty allowed) and the
// check attributes. No text in either form records 1000 naming "What"; an
// item list that is malformed or does not end at "LAST" records 1013.
bool CWebParseFind::__ParseArguments() {
    CWebStepFind* step = SlotStep<CWebStepFind>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    WEBSTEP_READ_ATTRIBUTES(true, attributes, kItemDataOrLast, terminator, false);
    CDataSet items;
    if (terminator == 0) {
        int end = -1;
        if (!BuildDataSetFromFindFields(items, DefaultTerminators, &end) || end != 0) {
            SetErrorInfo(WSE_NO_TERMINATOR, nullptr);
            AddErrorAttribute("argument", GetArgumentIndex());
            return false;
        }
    }
    MString frame;
    bool expect, matchCase, repeat, abort;
    CWebCheckStep::ReportOption report;
    if (!GetCheckAttributes(attributes, frame, expect, matchCase, repeat, abort, report))
        return false;
    MString value;
    if (attributes.GetAttribute(KeyWord_FindInside, value) &&
        !ValidateAttribute(KeyWord_FindInside, value, m_valuesInside, true, nullptr))
        return false;
    MString what;
    const bool haveWhat = attributes.GetAttribute("What", what) && !what.empty();
    if (!haveWhat && items.GetNumElements() == 0) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "attribute", "What", nullptr);
        return false;
    }
    WEBSTEP_CREATE_STEP();
    if (step) {
        step->GetAttributes() = attributes;
        MoveItems(items, step->GetDataSet());
    }
    return true;
}

// "Alt" and/or "Src" (at least one, else 1000 naming "Alt"), "Frame" and the
// check attributes.
bool CWebParseImageCheck::__ParseArguments() {
    CWebStepImageCheck* step = SlotStep<CWebStepImageCheck>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    WEBSTEP_READ_ATTRIBUTES(true, attributes, DefaultTerminators, terminator, false);
    MString frame;
    bool expect, matchCase, repeat, abort;
    CWebCheckStep::ReportOption report;
    if (!GetCheckAttributes(attributes, frame, expect, matchCase, repeat, abort, report))
        return false;
    MString value;
    if (!attributes.GetAttribute(KeyWord_ImageAlt, value) &&
        !attributes.GetAttribute(KeyWord_ImageSrc, value)) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "attribute", KeyWord_ImageAlt, nullptr);
        return false;
    }
    WEBSTEP_CREATE_STEP();
    if (step)
        step->GetAttributes() = attributes;
    return true;
}

// "ClassName" (required, else 1000), the check attributes and an optional
// "ITEMDATA" list of applet parameters ("Name"/"Value" items, read with the
// form field list reader and its errors); a list that does not end at
// "LAST" records 1013.
bool CWebParseJavaCheck::__ParseArguments() {
    CWebStepJavaCheck* step = SlotStep<CWebStepJavaCheck>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    WEBSTEP_READ_ATTRIBUTES(true, attributes, kItemDataOrLast, terminator, false);
    CDataSet parameters;
    if (terminator == 0) {
        int end = -1;
        if (!BuildDataSetFromFieldList(parameters, DefaultTerminators, &end))
            return false;
        if (end != 0) {
            SetErrorInfo(WSE_NO_TERMINATOR, nullptr);
            AddErrorAttribute("argument", GetArgumentIndex());
            return false;
        }
    }
    MString frame;
    bool expect, matchCase, repeat, abort;
    CWebCheckStep::ReportOption report;
    if (!GetCheckAttributes(attributes, frame, expect, matchCase, repeat, abort, report))
        return false;
    MString className;
    if (!attributes.GetAttribute(KeyWord_ClassName, className)) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "attribute", KeyWord_ClassName, nullptr);
        return false;
    }
    WEBSTEP_CREATE_STEP();
    if (step) {
        step->GetAttributes() = attributes;
        MoveItems(parameters, step->GetAppletParams());
    }
    return true;
}

// "Text" (or "TextPfx" with "TextSfx"), each with its option suffixes;
// "Search" one of Headers, Body, Noresource, All; "SaveCount"; "Fail" one of
// Found, NotFound; "ID"; "RelFrameId". No non-empty "Text" and not both
// "TextPfx" and "TextSfx" records 1000 naming "Text"; a bad "Search" or
// "Fail" records 1003. Other attributes are kept unchecked.
bool CWebParseRegFind::__ParseArguments() {
    CWebStepRegFind* step = SlotStep<CWebStepRegFind>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    WEBSTEP_READ_ATTRIBUTES(false, attributes, DefaultTerminators, terminator, false);
    FindTexts<RegFindFlags> found;
    if (!found.Collect(attributes, [this](const MString& name, RegFindFlags& flags) {
            return ParseFindText("attribute", name, flags);
        }))
        return false;
    const MString* const texts = found.texts;
    const bool* const have = found.have;
    if (!(have[0] && !texts[0].empty()) && !(have[1] && have[2])) {
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "attribute", KeyWord_Text, nullptr);
        return false;
    }
    MString search, fail, saveCount, id, relFrameId;
    const bool haveSearch = attributes.GetAttribute(KeyWord_SearchScope, search);
    if (haveSearch &&
        !ValidateAttribute(KeyWord_SearchScope, search, kSearchScopes, false, nullptr))
        return false;
    const bool haveFail = attributes.GetAttribute(KeyWord_Fail, fail);
    if (haveFail && !ValidateAttribute(KeyWord_Fail, fail, kFailConditions, false, nullptr))
        return false;
    const bool haveSaveCount = attributes.GetAttribute(KeyWord_SaveCount, saveCount);
    const bool haveId = attributes.GetAttribute(KeyWord_ID, id);
    const bool haveRelFrameId = attributes.GetAttribute(KeyWord_RelFrameId, relFrameId);
    WEBSTEP_CREATE_STEP();
    if (step == nullptr)
        return true;
    found.Store(step);
    if (haveSearch)
        step->SetSearchScope(search.c_str());
    if (haveFail)
        step->SetFail(fail.c_str());
    if (haveSaveCount)
        step->SetSaveCount(saveCount.c_str());
    if (haveId)
        step->GetAttributes().AddAttribute(KeyWord_ID, id.c_str(), false);
    if (haveRelFrameId)
        step->GetAttributes().AddAttribute(KeyWord_RelFrameId, relFrameId.c_str(), false);
    return true;
}

// "Text" or "TextPfx" with "TextSfx" (options IC and BIN only), "Search"
// (Headers, Body, Noresource, All), "Fail" (Found, NotFound) and "ID". A bad
// "Search" or "Fail" records 1003. Error 1015 unless there is a non-empty
// "Text" without "TextPfx" and "TextSfx", or both of these without a
// non-empty "Text".
bool CWebParseGlobalVerification::__ParseArguments() {
    CWebStepGlobalVerification* step = SlotStep<CWebStepGlobalVerification>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    WEBSTEP_READ_ATTRIBUTES(false, attributes, DefaultTerminators, terminator, false);
    FindTexts<GlobalVerificationFlags> found;
    if (!found.Collect(attributes, [this](const MString& name, GlobalVerificationFlags& flags) {
            return ParseGlobalVerificationText("attribute", name, flags);
        }))
        return false;
    const MString* const texts = found.texts;
    const bool* const have = found.have;
    const bool haveText = have[0] && !texts[0].empty();
    const bool textAlone = haveText && !have[1] && !have[2];
    const bool pairAlone = !haveText && have[1] && have[2];
    if (!textAlone && !pairAlone) {
        SetErrorInfo(WSE_TEXT_OR_PREFIX_SUFFIX, nullptr);
        return false;
    }
    MString search, fail, id;
    const bool haveSearch = attributes.GetAttribute(KeyWord_SearchScope, search);
    if (haveSearch &&
        !ValidateAttribute(KeyWord_SearchScope, search, kSearchScopes, false, nullptr))
        return false;
    const bool haveFail = attributes.GetAttribute(KeyWord_Fail, fail);
    if (haveFail && !ValidateAttribute(KeyWord_Fail, fail, kFailConditions, false, nullptr))
        return false;
    const bool haveId = attributes.GetAttribute(KeyWord_ID, id);
    WEBSTEP_CREATE_STEP();
    if (step == nullptr)
        return true;
    found.Store(step);
    if (haveSearch)
        step->SetSearchScope(search.c_str());
    if (haveFail)
        step->SetFailIf(fail.c_str());
    if (haveId)
        step->GetAttributes().AddAttribute(KeyWord_ID, id.c_str(), false);
    return true;
}

// "ID=..." attributes, repeatable, each adding one identifier; attributes of
// other names are accepted and ignored.
bool CWebStepParse::ReadGlobalVerificationIDs(CWebStepGlobalVerificationPauseResumeBase* step) {
    CAttributeSet attributes;
    int terminator = -1;
    WEBSTEP_READ_ATTRIBUTES(false, attributes, DefaultTerminators, terminator, true);
    if (step == nullptr)
        return true;
    CPropertyBagIterator it(attributes);
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value)) {
        if (EqualsNoCase(name, KeyWord_ID))
            step->AddID(value);
    }
    return true;
}

bool CWebParseGlobalVerificationPause::__ParseArguments() {
    CWebStepGlobalVerificationPause* step =
        SlotStep<CWebStepGlobalVerificationPause>(GetDataStep());
    // Read into a scratch step so that a failed parse leaves no new step.
    CWebStepGlobalVerificationPause read;
    if (!ReadGlobalVerificationIDs(&read))
        return false;
    WEBSTEP_CREATE_STEP();
    if (step)
        for (const MString& id : read.GetIDs())
            step->AddID(id);
    return true;
}

bool CWebParseGlobalVerificationResume::__ParseArguments() {
    CWebStepGlobalVerificationResume* step =
        SlotStep<CWebStepGlobalVerificationResume>(GetDataStep());
    CWebStepGlobalVerificationResume read;
    if (!ReadGlobalVerificationIDs(&read))
        return false;
    WEBSTEP_CREATE_STEP();
    if (step)
        for (const MString& id : read.GetIDs())
            step->AddID(id);
    return true;
}

// The parameter name (the step name becomes the function name, a space and
// the parameter name), then "SourceString" (optional: the parameter's own
// value when absent), "SourceEncoding" and "TargetEncoding" (each required,
// else 1000; one of HTML, URL, PLAIN, HTML_TO_URL, HTML_TO_TEXT in any letter
// case, else 1003). A repeated attribute is refused (1012).
bool CWebParseConvertParam::__ParseArguments() {
    CWebStepConvertParam* step = SlotStep<CWebStepConvertParam>(GetDataStep());
    if (IsArrayMode() && GetArgumentCount() == 0) {
        SetErrorInfo(WSE_NO_ARGUMENTS, nullptr);
        return false;
    }
    const MString parameter = Text(GetNextArgument());
    GetWebStep().SetName(MString("web_convert_param ") + parameter);
    CAttributeSet attributes;
    int terminator = -1;
    if (!BuildAttrSetFromArgList(attributes, DefaultTerminators, &terminator, false))
        return false;
    MString source, sourceEncoding, targetEncoding;
    const bool haveSource = attributes.GetAttribute("SourceString", source);
    const char* const required[2] = {"SourceEncoding", "TargetEncoding"};
    MString* values[2] = {&sourceEncoding, &targetEncoding};
    for (int i = 0; i < 2; ++i) {
        if (!attributes.GetAttribute(required[i], *values[i])) {
            SetErrorInfo(WSE_MISSING_ATTRIBUTE, "attribute", required[i], nullptr);
            return false;
        }
        if (!ValidateAttribute(required[i], *values[i], kEncodings, false, nullptr))
            return false;
    }
    WEBSTEP_CREATE_STEP();
    if (step) {
        step->SetParamName(parameter.c_str());
        if (haveSource)
            step->SetSourceString(source.c_str());
        step->SetSourceEncoding(sourceEncoding.c_str());
        step->SetTargetEncoding(targetEncoding.c_str());
    }
    return true;
}

// "CertFilePath", "CertFormat" (PEM or DER, any letter case, else 1003),
// "KeyFilePath", "KeyFormat" (likewise), "Password" and "CertIndex" (a number,
// else 1006); none is required. A repeated attribute is refused (1012).
bool CWebParseSetCertificateEx::__ParseArguments() {
    CWebStepSetCertificateEx* step = SlotStep<CWebStepSetCertificateEx>(GetDataStep());
    CAttributeSet attributes;
    int terminator = -1;
    WEBSTEP_READ_ATTRIBUTES(false, attributes, DefaultTerminators, terminator, false);
    MString certFile, certFormat, keyFile, keyFormat, password, certIndex;
    const bool haveCertFile = attributes.GetAttribute("CertFilePath", certFile);
    const bool haveCertFormat = attributes.GetAttribute("CertFormat", certFormat);
    const bool haveKeyFile = attributes.GetAttribute("KeyFilePath", keyFile);
    const bool haveKeyFormat = attributes.GetAttribute("KeyFormat", keyFormat);
    const bool havePassword = attributes.GetAttribute("Password", password);
    const bool haveIndex = attributes.GetAttribute("CertIndex", certIndex);
    if (haveCertFormat &&
        !ValidateAttribute("CertFormat", certFormat, kCertificateFormats, false, nullptr))
        return false;
    if (haveKeyFormat &&
        !ValidateAttribute("KeyFormat", keyFormat, kCertificateFormats, false, nullptr))
        return false;
    unsigned int index = 0;
    if (haveIndex && !ParseNumericArgument(certIndex, index))
        return false;
    WEBSTEP_CREATE_STEP();
    if (step == nullptr)
        return true;
    if (haveCertFile)
        step->SetCertFilePath(certFile.c_str());
    if (haveCertFormat)
        step->SetCertFormat(certFormat.c_str());
    if (haveKeyFile)
        step->SetKeyFilePath(keyFile.c_str());
    if (haveKeyFormat)
        step->SetKeyFormat(keyFormat.c_str());
    if (havePassword)
        step->SetPassword(password.c_str());
    if (haveIndex)
        step->SetCertIndex(certIndex.c_str());
    return true;
}

#undef WEBSTEP_READ_ATTRIBUTES
#undef WEBSTEP_CREATE_STEP
#undef WEBSTEP_CHECK_COUNT
