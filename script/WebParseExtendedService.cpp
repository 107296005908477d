// Parsers of the other step calls of current script versions: REST and
// service calls, JavaScript, asynchronous conversations, filters, run-time
// keys, conversions, WebSockets, cache files and parameters written by the
// script itself.
#include <strings.h>

#include <cstring>

#include "webstep/script/WebParsers.h"
#include "webstep/steps/WebStepConvertParam.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebStepAddFilter.h"
#include "webstep/steps/WebStepConvertToFormatted.h"
#include "webstep/steps/WebStepDumpCache.h"
#include "webstep/steps/WebStepJsRun.h"
#include "webstep/steps/WebStepRegAsyncAttributes.h"
#include "webstep/steps/WebStepRest.h"
#include "webstep/steps/WebStepSaveTimestampParam.h"
#include "webstep/steps/WebStepServiceCall.h"
#include "webstep/steps/WebStepSetRtsKey.h"
#include "webstep/steps/WebStepWebSocketConnect.h"

namespace {

#define WEBSTEP_END_OF_RULES \
    { nullptr, CWebParseExtended::EV_TEXT, CWebParseExtended::EN_OPTIONAL, nullptr }

const CWebStepScript::AttrTableEntry kRestMethods[] = {{"GET", 0},     {"POST", 1},  {"PUT", 2},
                                                       {"DELETE", 3},  {"PATCH", 4}, {"HEAD", 5},
                                                       {"OPTIONS", 6}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kAsyncPatterns[] = {
    {"None", 0}, {"Push", 1}, {"Poll", 2}, {"LongPoll", 3}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kFilterActions[] = {
    {"Include", 0}, {"Exclude", 1}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kLengthBases[] = {
    {"Decimal", 10}, {"Hexadecimal", 16}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry kExpectedResponses[] = {
    {"SoapResult", 0}, {"AnySoap", 1}, {"SoapFault", 2}, {nullptr, 0}};

}  // namespace

// web_rest("step", "URL=...", "Method=...", ["EncType=", "Snapshot=",
// "Body=", ...], [HEADERS, "Name=...", "Value=...", ENDHEADER, ...], LAST).
// Choices: the step name comes first, as for web_custom_request; the method
// is one of GET, POST, PUT, DELETE, PATCH, HEAD and OPTIONS (1003 otherwise,
// a parameter reference included); the other attributes of a custom request
// are kept as written without checks of their own (the list is open); a
// header needs both "Name=" and "Value=" before ENDHEADER (1000).
bool CWebParseRest::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"URL", EV_TEXT, EN_VALUE, nullptr},        {"Method", EV_TABLE, EN_PRESENT, kRestMethods},
        {"EncType", EV_TEXT, EN_OPTIONAL, nullptr}, {"Snapshot", EV_TEXT, EN_OPTIONAL, nullptr},
        {"Body", EV_TEXT, EN_OPTIONAL, nullptr},    WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {"web_rest", LA_STEP_NAME, attributes, true,
                                            nullptr,    ES_HEADERS,   nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepRest* step = ExtendedStep<CWebStepRest>();
    if (step == nullptr)
        return true;
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    for (const CAttributeSet& header : call.items) {
        MString name, value;
        header.GetAttribute(KeyWord_FormFieldName, name);
        header.GetAttribute(KeyWord_FormFieldValue, value);
        step->AddHeader(name.c_str(), value.c_str());
    }
    return true;
}

// web_save_timestamp_param("Param", LAST).
// Choices: the parameter name is the first argument and names the step
// ("web_save_timestamp_param Param"); a call without it is refused with 1008;
// no attribute follows (1001 for a name, 1002 for a text without "=").
bool CWebParseSaveTimestampParam::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_save_timestamp_param", LA_PARAMETER_NAME, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepSaveTimestampParam* step = ExtendedStep<CWebStepSaveTimestampParam>();
    if (step != nullptr)
        step->SetParamName(call.leading.c_str());
    return true;
}

// web_save_param_length("Param", ["Base=Decimal|Hexadecimal"], LAST).
// Choices: the parameter name first, as for the time stamp; "Base" selects
// the notation of the saved length and is Decimal when absent.
bool CWebParseSaveParamLength::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"Base", EV_TABLE, EN_OPTIONAL, kLengthBases},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_save_param_length", LA_PARAMETER_NAME, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepSaveParamLengthEx* step = ExtendedStep<CWebStepSaveParamLengthEx>();
    if (step == nullptr)
        return true;
    MString base = "Decimal";
    call.attributes.GetAttribute("Base", base);
    step->SetParamName(call.leading.c_str());
    step->SetConversionBase(base.c_str());
    return true;
}

// web_convert_date_param("Param", "SourceFormat=...", "TargetFormat=...",
// ["TargetParameter=..."], LAST).
// Choices: both formats are required and must not be empty (1000, 1003);
// without a target parameter the source parameter receives the result.
bool CWebParseConvertDateParam::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"SourceFormat", EV_TEXT, EN_VALUE, nullptr},
        {"TargetFormat", EV_TEXT, EN_VALUE, nullptr},
        {"TargetParameter", EV_TEXT, EN_OPTIONAL, nullptr},
        WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_convert_date_param", LA_PARAMETER_NAME, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepConvertDateParam* step = ExtendedStep<CWebStepConvertDateParam>();
    if (step == nullptr)
        return true;
    MString value;
    step->SetParamName(call.leading.c_str());
    if (call.attributes.GetAttribute("SourceFormat", value))
        step->SetSourceFormat(value.c_str());
    if (call.attributes.GetAttribute("TargetFormat", value))
        step->SetTargetFormat(value.c_str());
    if (call.attributes.GetAttribute("TargetParameter", value))
        step->SetTargetParameterName(value.c_str());
    return true;
}

// web_reg_async_attributes("ID=...", "URL=...", "Pattern=...",
// ["PollIntervalMs=", "XMLHttpRequest=", "CrossStep=", "...CB="], LAST).
// Choices: ID, URL and Pattern are required; Pattern is None, Push, Poll or
// LongPoll; the URL takes the options RE and IC ("URL/RE/IC="); the poll
// interval is a number of milliseconds; XMLHttpRequest and CrossStep are yes
// or no; any attribute whose name ends in "CB" names a callback.
bool CWebParseRegAsyncAttributes::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"ID", EV_TEXT, EN_VALUE, nullptr},
        {"URL", EV_URL, EN_VALUE, nullptr},
        {"Pattern", EV_TABLE, EN_PRESENT, kAsyncPatterns},
        {"PollIntervalMs", EV_UNSIGNED, EN_OPTIONAL, nullptr},
        {"XMLHttpRequest", EV_YES_NO, EN_OPTIONAL, nullptr},
        {"CrossStep", EV_YES_NO, EN_OPTIONAL, nullptr},
        WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_reg_async_attributes", LA_NONE, attributes, false, "CB", 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepRegAsyncAttributes* step = ExtendedStep<CWebStepRegAsyncAttributes>();
    if (step == nullptr)
        return true;
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    step->SetUrlFlags(static_cast<AsyncUrlFlags>(call.urlFlags));
    return true;
}

// web_stop_async("ID=...", LAST): the ID only.
bool CWebParseStopAsync::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"ID", EV_TEXT, EN_VALUE, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {"web_stop_async", LA_NONE, attributes, false,
                                            nullptr,          0,       nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepStopAsync* step = ExtendedStep<CWebStepStopAsync>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_sync("ParamExists=...", ["RetryIntervalMs=", "RetryTimeoutMs="], LAST).
// Choices: exactly one condition, "ParamExists" or "ParamNotExists", naming a
// parameter (none: 1000 naming both; both: 1003); the retry times are
// numbers of milliseconds.
bool CWebParseSync::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"ParamExists", EV_TEXT, EN_OPTIONAL, nullptr},
        {"ParamNotExists", EV_TEXT, EN_OPTIONAL, nullptr},
        {"RetryIntervalMs", EV_UNSIGNED, EN_OPTIONAL, nullptr},
        {"RetryTimeoutMs", EV_UNSIGNED, EN_OPTIONAL, nullptr},
        WEBSTEP_END_OF_RULES};
    static const char* const conditions[] = {"ParamExists", "ParamNotExists", nullptr};
    static const ExtendedGrammar grammar = {"web_sync", LA_NONE, attributes, false,
                                            nullptr,    0,       conditions};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    if (call.oneOfValue.empty()) {
        SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", call.oneOfName.c_str(), "text", "",
                     nullptr);
        return false;
    }
    CWebStepSync* step = ExtendedStep<CWebStepSync>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_js_run("Code=..." or "File=...", ["ResultParam=..."], [SOURCES,
// "File=...", ENDITEM, ...], LAST).
// Choices: exactly one of Code and File (none: 1000 naming both; both: 1003);
// each source item holds one "File=" and is closed by ENDITEM.
bool CWebParseJsRun::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"Code", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   {"File", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   {"ResultParam", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const char* const sources[] = {"Code", "File", nullptr};
    static const ExtendedGrammar grammar = {"web_js_run", LA_NONE,    attributes, false,
                                            nullptr,      ES_SOURCES, sources};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepJsRun* step = ExtendedStep<CWebStepJsRun>();
    if (step == nullptr)
        return true;
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    for (const CAttributeSet& item : call.items) {
        MString file;
        item.GetAttribute(KeyWord_FormFieldFile, file);
        step->AddSource(file.c_str());
    }
    return true;
}

// web_js_reset(): no arguments; in array mode any argument gives 1010.
bool CWebParseJsReset::__ParseArguments() {
    if (IsArrayMode() && GetArgumentCount() != 0) {
        SetErrorInfo(WSE_UNEXPECTED_ARGUMENT, nullptr);
        return false;
    }
    GetWebStep().SetName("web_js_reset");
    ExtendedStep<CWebStepJsReset>();
    return true;
}

namespace {

// The filter grammar of web_add_filter, web_add_auto_filter and
// web_remove_auto_filter: "Action=Include|Exclude" and exactly one criterion
// (none: 1000 naming them all; two: 1003); a port is a number.
const CWebParseExtended::ExtendedAttribute* FilterAttributes() {
    using P = CWebParseExtended;
    static const P::ExtendedAttribute attributes[] = {
        {"Action", P::EV_TABLE, P::EN_PRESENT, kFilterActions},
        {"Url", P::EV_TEXT, P::EN_OPTIONAL, nullptr},
        {"UrlPrefix", P::EV_TEXT, P::EN_OPTIONAL, nullptr},
        {"Host", P::EV_TEXT, P::EN_OPTIONAL, nullptr},
        {"Path", P::EV_TEXT, P::EN_OPTIONAL, nullptr},
        {"Port", P::EV_UNSIGNED, P::EN_OPTIONAL, nullptr},
        {"Scheme", P::EV_TEXT, P::EN_OPTIONAL, nullptr},
        {"Query", P::EV_TEXT, P::EN_OPTIONAL, nullptr},
        WEBSTEP_END_OF_RULES};
    return attributes;
}
const char* const kFilterCriteria[] = {"Url",  "UrlPrefix", "Host",  "Path",
                                       "Port", "Scheme",    "Query", nullptr};

}  // namespace

bool CWebParseAddFilter::__ParseArguments() {
    static const ExtendedGrammar grammar = {"web_add_filter", LA_NONE, FilterAttributes(), false,
                                            nullptr,          0,       kFilterCriteria};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepAddFilter* step = ExtendedStep<CWebStepAddFilter>();
    if (step == nullptr)
        return true;
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    step->SetCriterion(call.oneOfName.c_str(), call.oneOfValue.c_str());
    return true;
}

bool CWebParseAddAutoFilter::__ParseArguments() {
    static const ExtendedGrammar grammar = {
        "web_add_auto_filter", LA_NONE, FilterAttributes(), false, nullptr, 0, kFilterCriteria};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepAddAutoFilter* step = ExtendedStep<CWebStepAddAutoFilter>();
    if (step == nullptr)
        return true;
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    step->SetCriterion(call.oneOfName.c_str(), call.oneOfValue.c_str());
    return true;
}

bool CWebParseRemoveAutoFilter::__ParseArguments() {
    static const ExtendedGrammar grammar = {
        "web_remove_auto_filter", LA_NONE, FilterAttributes(), false, nullptr, 0, kFilterCriteria};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepRemoveAutoFilter* step = ExtendedStep<CWebStepRemoveAutoFilter>();
    if (step == nullptr)
        return true;
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    step->SetCriterion(call.oneOfName.c_str(), call.oneOfValue.c_str());
    return true;
}

// web_set_rts_key("Key=...", "Value=...", LAST).
// Choices: the key must not be empty (1003); the value may be, which clears
// the setting.
bool CWebParseSetRtsKey::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"Key", EV_TEXT, EN_VALUE, nullptr},
                                                   {"Value", EV_TEXT, EN_PRESENT, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {"web_set_rts_key", LA_NONE, attributes, false,
                                            nullptr,           0,       nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepSetRtsKey* step = ExtendedStep<CWebStepSetRtsKey>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_convert_to_formatted("RawData=...", "TargetParam=...",
// ["ChainName=..."], LAST).
// Choices: the data is required but may be empty; the target parameter must
// be named (1003 when empty); without a chain the default codec is meant.
bool CWebParseConvertToFormatted::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"RawData", EV_TEXT, EN_PRESENT, nullptr},
                                                   {"TargetParam", EV_TEXT, EN_VALUE, nullptr},
                                                   {"ChainName", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_convert_to_formatted", LA_NONE, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepConvertToFormatted* step = ExtendedStep<CWebStepConvertToFormatted>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_convert_from_formatted("FormattedData=...", "TargetParam=...",
// ["Extensions=..."], LAST): the same choices as the opposite direction.
bool CWebParseConvertFromFormatted::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"FormattedData", EV_TEXT, EN_PRESENT, nullptr},
                                                   {"TargetParam", EV_TEXT, EN_VALUE, nullptr},
                                                   {"Extensions", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_convert_from_formatted", LA_NONE, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepConvertFromFormatted* step = ExtendedStep<CWebStepConvertFromFormatted>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_service_call("StepName=...", "SOAPMethod=...", ["ResponseParam=",
// "Service=", "ExpectedResponse=", "Snapshot=", ...], [BEGIN_ARGUMENTS, ...,
// END_ARGUMENTS], [BEGIN_RESULT, ..., END_RESULT], LAST).
// Choices: StepName and SOAPMethod are required and name the step and the
// operation; ExpectedResponse is SoapResult, AnySoap or SoapFault; other
// service options are kept as written (the list is open); argument and result
// items are "name=value" texts, each name once per section.
bool CWebParseServiceCall::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {
        {"StepName", EV_TEXT, EN_VALUE, nullptr},
        {"SOAPMethod", EV_TEXT, EN_VALUE, nullptr},
        {"ResponseParam", EV_TEXT, EN_OPTIONAL, nullptr},
        {"Service", EV_TEXT, EN_OPTIONAL, nullptr},
        {"ExpectedResponse", EV_TABLE, EN_OPTIONAL, kExpectedResponses},
        {"Snapshot", EV_TEXT, EN_OPTIONAL, nullptr},
        WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {"web_service_call", LA_NONE, attributes, true, nullptr,
                                            ES_ARGUMENTS,       nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepServiceCall* step = ExtendedStep<CWebStepServiceCall>();
    if (step == nullptr)
        return true;
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    step->GetArguments() = call.arguments;
    step->GetResults() = call.results;
    return true;
}

// web_websocket_connect("ID=...", "URI=ws://...", ["Origin=...", "...CB="],
// LAST).
// Choices: ID and URI are required; the URI must use the ws or wss scheme
// (or be a parameter reference), else 1007 as for a bad URL; any attribute
// whose name ends in "CB" names a callback.
bool CWebParseWebSocketConnect::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"ID", EV_TEXT, EN_VALUE, nullptr},
                                                   {"URI", EV_TEXT, EN_VALUE, nullptr},
                                                   {"Origin", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_websocket_connect", LA_NONE, attributes, false, "CB", 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    MString uri;
    call.attributes.GetAttribute("URI", uri);
    if (!IsParameter(uri) && strncasecmp(uri.c_str(), "ws://", 5) != 0 &&
        strncasecmp(uri.c_str(), "wss://", 6) != 0 && uri[0] != '{') {
        SetErrorInfo(WSE_URL_SYNTAX, "text", uri.c_str(), nullptr);
        return false;
    }
    CWebStepWebSocketConnect* step = ExtendedStep<CWebStepWebSocketConnect>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_websocket_send("ID=...", "Buffer=...", ["IsBinary=0|1"], LAST).
// Choices: the buffer is required but may be empty; IsBinary is 0 or 1.
bool CWebParseWebSocketSend::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"ID", EV_TEXT, EN_VALUE, nullptr},
                                                   {"Buffer", EV_TEXT, EN_PRESENT, nullptr},
                                                   {"IsBinary", EV_BOOLEAN, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_websocket_send", LA_NONE, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepWebSocketSend* step = ExtendedStep<CWebStepWebSocketSend>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_websocket_close("ID=...", ["Code=...", "Reason=..."], LAST).
// Choices: the close code is a number.
bool CWebParseWebSocketClose::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"ID", EV_TEXT, EN_VALUE, nullptr},
                                                   {"Code", EV_UNSIGNED, EN_OPTIONAL, nullptr},
                                                   {"Reason", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_websocket_close", LA_NONE, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepWebSocketClose* step = ExtendedStep<CWebStepWebSocketClose>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_reg_cross_step_download("URL=...", [options], LAST).
// Choices: the URL of the downloads is required, with the options RE and IC
// as for asynchronous rules; the other options are kept as written (the list
// is open).
bool CWebParseRegCrossStepDownload::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"URL", EV_URL, EN_VALUE, nullptr},
                                                   {"ContentType", EV_TEXT, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_reg_cross_step_download", LA_NONE, attributes, true, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepRegCrossStepDownload* step = ExtendedStep<CWebStepRegCrossStepDownload>();
    if (step != nullptr)
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_dump_cache("Param", "FileName=...", ["Replace=yes|no"], LAST).
// Choices: the parameter first, as for the time stamp; the file name is
// required and must not be empty.
bool CWebParseDumpCache::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"FileName", EV_TEXT, EN_VALUE, nullptr},
                                                   {"Replace", EV_YES_NO, EN_OPTIONAL, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_dump_cache", LA_PARAMETER_NAME, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepDumpCache* step = ExtendedStep<CWebStepDumpCache>();
    if (step == nullptr)
        return true;
    step->SetParamName(call.leading.c_str());
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}

// web_load_cache("Param", "FileName=...", LAST): as web_dump_cache without
// Replace.
bool CWebParseLoadCache::__ParseArguments() {
    static const ExtendedAttribute attributes[] = {{"FileName", EV_TEXT, EN_VALUE, nullptr},
                                                   WEBSTEP_END_OF_RULES};
    static const ExtendedGrammar grammar = {
        "web_load_cache", LA_PARAMETER_NAME, attributes, false, nullptr, 0, nullptr};
    ExtendedCall call;
    if (!ReadExtendedCall(grammar, call))
        return false;
    CWebStepLoadCache* step = ExtendedStep<CWebStepLoadCache>();
    if (step == nullptr)
        return true;
    step->SetParamName(call.leading.c_str());
    CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
    return true;
}
