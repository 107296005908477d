// Parsers of the saving rules of current script versions:
// web_reg_save_param_ex, _regexp, _json, _xpath and _attrib. Each takes its
// attributes (names without regard to case), then an optional SEARCH_FILTERS
// section (Scope, HeaderNames, ContentType, RequestUrl, IgnoreRedirections,
// RelFrameID), then "LAST".
#include <cstdlib>
#include <cstring>

#include "webstep/script/WebParsers.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebStepRegSaveParamEx.h"

namespace {

using Rule = CWebParseExtended;

const CWebStepScript::AttrTableEntry kNotFoundValues[] = {
    {"error", 0}, {"warning", 1}, {nullptr, 0}};

}  // namespace

// web_reg_save_param_ex("ParamName=...", "LB=...", "RB=...", [Ordinal,
// NotFound, SaveLen, SaveOffset, DFEs], [SEARCH_FILTERS, ...], LAST).
// Choices: the boundaries take the options of web_reg_save_param (IC, BIN,
// DIG, ALNUMIC, ALNUMLC, ALNUMUC, shortened forms included); an empty
// boundary is allowed (the text from the start or to the end); an empty
// ParamName is refused with 1003; "Ordinal" is a number from 1, All or LAST;
// SaveLen is signed (-1 means to the end), SaveOffset unsigned.
bool CWebParseRegSaveParamEx::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"ParamName", EV_TEXT, EN_VALUE, nullptr},
        {"LB", EV_BOUNDARY, EN_PRESENT, nullptr},
        {"RB", EV_BOUNDARY, EN_PRESENT, nullptr},
        {"Ordinal", EV_ORDINAL, EN_OPTIONAL, nullptr},
        {"NotFound", EV_TABLE, EN_OPTIONAL, kNotFoundValues},
        {"SaveLen", EV_SIGNED, EN_OPTIONAL, nullptr},
        {"SaveOffset", EV_UNSIGNED, EN_OPTIONAL, nullptr},
        {"DFEs", EV_TEXT, EN_OPTIONAL, nullptr},
        {nullptr, EV_TEXT, EN_OPTIONAL, nullptr}};
    static const ExtendedGrammar grammar = {
        "web_reg_save_param_ex", LA_NONE, attributes, false, nullptr, ES_SEARCH_FILTERS, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepRegSaveParamEx* step = FillSavingRule<CWebStepRegSaveParamEx>(grammar, call);
    if (step == nullptr)
        return true;
    step->SetLeftBoundFlags(call.leftFlags);
    step->SetRightBoundFlags(call.rightFlags);
    return true;
}

// web_reg_save_param_regexp("ParamName=...", "RegExp=...", [Group, Ordinal,
// NotFound, DFEs], [SEARCH_FILTERS, ...], LAST).
// Choices: "Group" is a number from 0 to 10 (1006 when not a number, 1003
// when above 10); the expression is kept as written and not compiled, since
// the engines that run it differ in dialect; SaveLen and SaveOffset are not
// attributes of this function (1001).
bool CWebParseRegSaveParamRegexp::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"ParamName", EV_TEXT, EN_VALUE, nullptr},
        {"RegExp", EV_TEXT, EN_VALUE, nullptr},
        {"Group", EV_UNSIGNED, EN_OPTIONAL, nullptr},
        {"Ordinal", EV_ORDINAL, EN_OPTIONAL, nullptr},
        {"NotFound", EV_TABLE, EN_OPTIONAL, kNotFoundValues},
        {"DFEs", EV_TEXT, EN_OPTIONAL, nullptr},
        {nullptr, EV_TEXT, EN_OPTIONAL, nullptr}};
    static const ExtendedGrammar grammar = {
        "web_reg_save_param_regexp", LA_NONE, attributes, false, nullptr,
        ES_SEARCH_FILTERS,           nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    MString group;
    if (call.attributes.GetAttribute("Group", group) && !IsParameter(group) &&
        std::strtoul(group.c_str(), nullptr, 10) > 10) {
        SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", "Group", "text", group.c_str(),
                     nullptr);
        return false;
    }
    FillSavingRule<CWebStepRegSaveParamRegexp>(grammar, call);
    return true;
}

// web_reg_save_param_json("ParamName=...", "QueryString=$...", [SelectAll,
// NotFound], [SEARCH_FILTERS, ...], LAST).
// Choices: the query must be a JSON path, that is begin with "$" (or be a
// parameter reference), else 1003; "Ordinal" is not an attribute of this
// function (1001).
bool CWebParseRegSaveParamJson::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"ParamName", EV_TEXT, EN_VALUE, nullptr},
        {"QueryString", EV_TEXT, EN_VALUE, nullptr},
        {"SelectAll", EV_YES_NO, EN_OPTIONAL, nullptr},
        {"NotFound", EV_TABLE, EN_OPTIONAL, kNotFoundValues},
        {nullptr, EV_TEXT, EN_OPTIONAL, nullptr}};
    static const ExtendedGrammar grammar = {
        "web_reg_save_param_json", LA_NONE, attributes, false, nullptr, ES_SEARCH_FILTERS, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    MString query;
    call.attributes.GetAttribute("QueryString", query);
    if (query[0] != '$' && !IsParameter(query)) {
        SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", "QueryString", "text", query.c_str(),
                     nullptr);
        return false;
    }
    FillSavingRule<CWebStepRegSaveParamJson>(grammar, call);
    return true;
}

// web_reg_save_param_xpath("ParamName=...", "QueryString=//...", [SelectAll,
// ReturnXML, NotFound], [SEARCH_FILTERS, ...], LAST).
// Choices: the XPath is kept as written (relative paths are XPaths too);
// SelectAll and ReturnXML are yes or no; NotFound is accepted as for the
// other saving rules; "Ordinal" is not an attribute of this function (1001).
bool CWebParseRegSaveParamXpath::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"ParamName", EV_TEXT, EN_VALUE, nullptr},
        {"QueryString", EV_TEXT, EN_VALUE, nullptr},
        {"SelectAll", EV_YES_NO, EN_OPTIONAL, nullptr},
        {"ReturnXML", EV_YES_NO, EN_OPTIONAL, nullptr},
        {"NotFound", EV_TABLE, EN_OPTIONAL, kNotFoundValues},
        {nullptr, EV_TEXT, EN_OPTIONAL, nullptr}};
    static const ExtendedGrammar grammar = {
        "web_reg_save_param_xpath", LA_NONE, attributes, false, nullptr,
        ES_SEARCH_FILTERS,          nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    FillSavingRule<CWebStepRegSaveParamXpath>(grammar, call);
    return true;
}

// web_reg_save_param_attrib("ParamName=...", "TagName=...", "Extract=...",
// selecting attributes ("Name=", "Type=", ...), [SEARCH_FILTERS, ...], LAST).
// Choices: the list is open, since any tag attribute may select the tag;
// Ordinal and NotFound, when given, are checked as for the other rules.
bool CWebParseRegSaveParamAttrib::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"ParamName", EV_TEXT, EN_VALUE, nullptr},
        {"TagName", EV_TEXT, EN_VALUE, nullptr},
        {"Extract", EV_TEXT, EN_VALUE, nullptr},
        {"Ordinal", EV_ORDINAL, EN_OPTIONAL, nullptr},
        {"NotFound", EV_TABLE, EN_OPTIONAL, kNotFoundValues},
        {nullptr, EV_TEXT, EN_OPTIONAL, nullptr}};
    static const ExtendedGrammar grammar = {
        "web_reg_save_param_attrib", LA_NONE, attributes, true, nullptr,
        ES_SEARCH_FILTERS,           nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    FillSavingRule<CWebStepRegSaveParamAttrib>(grammar, call);
    return true;
}
