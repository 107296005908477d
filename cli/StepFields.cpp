#include "StepFields.h"

#include "webstep/forms/DataSet.h"
#include "webstep/forms/Resource.h"
#include "webstep/steps/WebSteps.h"

namespace webstep::cli {
namespace {

template <typename T>
const T* As(const CWebStepData& step) {
    return dynamic_cast<const T*>(&step);
}

OrderedJson Attributes(const CAttributeSet& attributes) {
    OrderedJson list = OrderedJson::array();
    CPropertyBagIterator it(attributes);
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value))
        list.push_back(OrderedJson{{"name", JsonText(name)}, {"value", JsonText(value)}});
    return list;
}

const char* DataTypeName(CData::DataType type) {
    switch (type) {
        case CData::DT_UNSPECIFIED:
            return "unspecified";
        case CData::DT_TEXT:
            return "text";
        case CData::DT_TEXTAREA:
            return "textarea";
        case CData::DT_RADIO:
            return "radio";
        case CData::DT_CHECKBOX:
            return "checkbox";
        case CData::DT_SELECT:
            return "select";
        case CData::DT_SUBMIT:
            return "submit";
        case CData::DT_IMAGE:
            return "image";
        case CData::DT_HIDDEN:
            return "hidden";
        case CData::DT_FILE:
            return "file";
        case CData::DT_PASSWORD:
            return "password";
    }
    return "unknown";
}

const char* RegexName(CData::RegexType type) {
    return type == CData::RT_REGEX ? "regex" : "literal";
}

OrderedJson DataItem(const CData& item) {
    OrderedJson out;
    out["name"] = JsonText(item.GetNameArgument().GetScriptForm());
    out["value"] = JsonText(item.GetValueArgument().GetScriptForm());
    out["name_is_parameter"] = item.IsNameDataDriven();
    out["value_is_parameter"] = item.IsValueDataDriven();
    out["type"] = DataTypeName(item.GetType());
    out["name_match"] = RegexName(item.GetNameRegexType());
    out["value_match"] = RegexName(item.GetValueRegexType());
    out["name_prefix"] = JsonText(item.GetNamePfxArgument().GetScriptForm());
    out["name_suffix"] = JsonText(item.GetNameSfxArgument().GetScriptForm());
    out["content_type"] = JsonText(item.GetContentType());
    out["file_path"] = JsonText(item.GetFilePath());
    out["content_transfer_encoding"] = JsonText(item.GetContentTransferEncoding());
    out["sent"] = item.IsSent();
    out["read_only"] = item.IsReadOnly();
    out["keeps_default"] = item.IsFieldDefault();
    return out;
}

OrderedJson DataSet(const CDataSet& dataSet) {
    OrderedJson items = OrderedJson::array();
    for (const CData* item : dataSet.DataElements().GetList())
        if (item)
            items.push_back(DataItem(*item));
    return OrderedJson{{"action_url", JsonText(dataSet.GetActionUrl())}, {"items", items}};
}

OrderedJson Resources(const CResourceElements& resources) {
    OrderedJson list = OrderedJson::array();
    for (const CResource* resource : resources.GetList())
        if (resource)
            list.push_back(
                OrderedJson{{"url", JsonText(resource->GetUrlArgument().GetScriptForm())},
                            {"referer", JsonText(resource->GetReferer())}});
    return list;
}

const char* BodyEncodingName(int encoding) {
    switch (encoding) {
        case CWebStepCustomRequest::BODY_TEXT:
            return "Body";
        case CWebStepCustomRequest::BODY_UNICODE:
            return "BodyUnicode";
        case CWebStepCustomRequest::BODY_BINARY:
            return "BodyBinary";
        case CWebStepCustomRequest::BODY_VARIABLE:
            return "body variable";
    }
    return "unknown";
}

OrderedJson SearchFlags(unsigned int flags) {
    // The bits of the boundary and text options, named as scripts write them.
    static const struct {
        unsigned int bit;
        const char* name;
    } names[] = {{1, "IC"},      {2, "BIN"},      {4, "DIG"},
                 {8, "ALNUMIC"}, {16, "ALNUMLC"}, {32, "ALNUMUC"}};
    OrderedJson list = OrderedJson::array();
    unsigned int rest = flags;
    for (const auto& entry : names)
        if (flags & entry.bit) {
            list.push_back(entry.name);
            rest &= ~entry.bit;
        }
    if (rest != 0)
        list.push_back(std::to_string(rest));
    return list;
}

OrderedJson TextList(const std::list<MString>& texts) {
    OrderedJson list = OrderedJson::array();
    for (const MString& text : texts)
        list.push_back(JsonText(text));
    return list;
}

struct ClassName {
    const char* name;
    bool (*test)(const CWebStepData&);
};

template <typename T>
bool Is(const CWebStepData& step) {
    return dynamic_cast<const T*>(&step) != nullptr;
}

// Most derived classes before their bases.
const ClassName theClassNames[] = {
    {"CWebStepUrl", Is<CWebStepUrl>},
    {"CWebStepFlexCustomRequest", Is<CWebStepFlexCustomRequest>},
    {"CWebStepSilverlightCustomRequest", Is<CWebStepSilverlightCustomRequest>},
    {"CWebStepCustomRequest", Is<CWebStepCustomRequest>},
    {"CWebStepSubmitData", Is<CWebStepSubmitData>},
    {"CWebContextlessStep", Is<CWebContextlessStep>},
    {"CWebStepLink", Is<CWebStepLink>},
    {"CWebStepImage", Is<CWebStepImage>},
    {"CWebStepSubmitForm", Is<CWebStepSubmitForm>},
    {"CWebContextStep", Is<CWebContextStep>},
    {"CWebActionStep", Is<CWebActionStep>},
    {"CWebStepFind", Is<CWebStepFind>},
    {"CWebStepImageCheck", Is<CWebStepImageCheck>},
    {"CWebStepJavaCheck", Is<CWebStepJavaCheck>},
    {"CWebCheckStep", Is<CWebCheckStep>},
    {"CWebStepRegFind", Is<CWebStepRegFind>},
    {"CWebStepRegSaveParam", Is<CWebStepRegSaveParam>},
    {"CWebStepGlobalVerification", Is<CWebStepGlobalVerification>},
    {"CWebStepConvertParam", Is<CWebStepConvertParam>},
    {"CWebStepConvertDateParam", Is<CWebStepConvertDateParam>},
    {"CWebStepSetCertificateEx", Is<CWebStepSetCertificateEx>},
    {"CWebStepRegSaveParamEx", Is<CWebStepRegSaveParamEx>},
    {"CWebStepRegSaveParamRegexp", Is<CWebStepRegSaveParamRegexp>},
    {"CWebStepRegSaveParamJson", Is<CWebStepRegSaveParamJson>},
    {"CWebStepRegSaveParamXpath", Is<CWebStepRegSaveParamXpath>},
    {"CWebStepRegSaveParamAttrib", Is<CWebStepRegSaveParamAttrib>},
    {"CWebStepSaveParamRule", Is<CWebStepSaveParamRule>},
    {"CWebStepRest", Is<CWebStepRest>},
    {"CWebStepJsRun", Is<CWebStepJsRun>},
    {"CWebStepRegAsyncAttributes", Is<CWebStepRegAsyncAttributes>},
    {"CWebStepStopAsync", Is<CWebStepStopAsync>},
    {"CWebStepSync", Is<CWebStepSync>},
    {"CWebStepAddAutoFilter", Is<CWebStepAddAutoFilter>},
    {"CWebStepRemoveAutoFilter", Is<CWebStepRemoveAutoFilter>},
    {"CWebStepAddFilter", Is<CWebStepAddFilter>},
    {"CWebStepSetRtsKey", Is<CWebStepSetRtsKey>},
    {"CWebStepConvertToFormatted", Is<CWebStepConvertToFormatted>},
    {"CWebStepConvertFromFormatted", Is<CWebStepConvertFromFormatted>},
    {"CWebStepServiceCall", Is<CWebStepServiceCall>},
    {"CWebStepWebSocketConnect", Is<CWebStepWebSocketConnect>},
    {"CWebStepWebSocketSend", Is<CWebStepWebSocketSend>},
    {"CWebStepWebSocketClose", Is<CWebStepWebSocketClose>},
    {"CWebStepDumpCache", Is<CWebStepDumpCache>},
    {"CWebStepLoadCache", Is<CWebStepLoadCache>},
    {"CWebStepRegCrossStepDownload", Is<CWebStepRegCrossStepDownload>},
    {"CWebStepWithAttributes", Is<CWebStepWithAttributes>},
    {"CWebStepJsReset", Is<CWebStepJsReset>},
    {"CWebStepSaveTimestampParam", Is<CWebStepSaveTimestampParam>},
    {"CWebStepSaveParamLengthEx", Is<CWebStepSaveParamLengthEx>},
    {"CWebStepRegAddCookie", Is<CWebStepRegAddCookie>},
    {"CWebStepAddCookieEx", Is<CWebStepAddCookieEx>},
    {"CWebStepAddCookie", Is<CWebStepAddCookie>},
    {"CWebStepRemoveCookie", Is<CWebStepRemoveCookie>},
    {"CWebStepCleanupCookies", Is<CWebStepCleanupCookies>},
    {"CWebStepAddAutoHeader", Is<CWebStepAddAutoHeader>},
    {"CWebStepAddHeader", Is<CWebStepAddHeader>},
    {"CWebStepRemoveAutoHeader", Is<CWebStepRemoveAutoHeader>},
    {"CWebStepRevertAutoHeader", Is<CWebStepRevertAutoHeader>},
    {"CWebStepCleanupAutoHeaders", Is<CWebStepCleanupAutoHeaders>},
    {"CWebStepCodeC", Is<CWebStepCodeC>},
    {"CQzStepSaveInt", Is<CQzStepSaveInt>},
    {"CWebStepCreateHtmlParamEx", Is<CWebStepCreateHtmlParamEx>},
    {"CWebStepCreateHtmlParam", Is<CWebStepCreateHtmlParam>},
    {"CWebStepSetMaxHtmlParamLen", Is<CWebStepSetMaxHtmlParamLen>},
    {"CWebStepSjisToEucParam", Is<CWebStepSjisToEucParam>},
    {"CWebStepSaveParamLength", Is<CWebStepSaveParamLength>},
    {"CWebStepSaveHeader", Is<CWebStepSaveHeader>},
    {"CWebStepGetIntProperty", Is<CWebStepGetIntProperty>},
    {"CWebStepGlobalVerificationPause", Is<CWebStepGlobalVerificationPause>},
    {"CWebStepGlobalVerificationResume", Is<CWebStepGlobalVerificationResume>},
    {"CWebStepGlobalVerificationPauseResumeBase", Is<CWebStepGlobalVerificationPauseResumeBase>},
    {"CWebStepSetCertificate", Is<CWebStepSetCertificate>},
    {"CWebStepSetSecureProxy", Is<CWebStepSetSecureProxy>},
    {"CWebStepSetProxy", Is<CWebStepSetProxy>},
    {"CWebStepSetUser", Is<CWebStepSetUser>},
    {"CWebStepSetProxyBypass", Is<CWebStepSetProxyBypass>},
    {"CWebStepSetProxyBypassLocal", Is<CWebStepSetProxyBypassLocal>},
    {"CWebStepSetConnectionsLimit", Is<CWebStepSetConnectionsLimit>},
    {"CWebStepEnableKeepAlive", Is<CWebStepEnableKeepAlive>},
    {"CWebStepDisableKeepAlive", Is<CWebStepDisableKeepAlive>},
    {"CWebStepSetTimeout", Is<CWebStepSetTimeout>},
    {"CWebStepSetMaxRetries", Is<CWebStepSetMaxRetries>},
    {"CWebStepSetSocketsOption", Is<CWebStepSetSocketsOption>},
    {"CWebStepCacheCleanup", Is<CWebStepCacheCleanup>},
    {"CWebStepConcurrentStart", Is<CWebStepConcurrentStart>},
    {"CWebStepConcurrentEnd", Is<CWebStepConcurrentEnd>},
};

void ActionFields(const CWebStepData& step, OrderedJson& out) {
    const auto* action = As<CWebActionStep>(step);
    if (!action)
        return;
    out["snapshot"] = JsonText(action->GetSnapshot());
    if (const auto* contextless = As<CWebContextlessStep>(step)) {
        out["target_frame"] = JsonText(contextless->GetTargetFrame());
        out["content_type"] = JsonText(contextless->GetContentType());
        out["referer"] = JsonText(contextless->GetReferer());
        out["mode"] = JsonText(contextless->GetMode());
        out["resource"] = contextless->GetResource();
        out["out_of_browser"] = contextless->GetIsOutOfBrowserStep();
        out["user_agent"] = JsonText(contextless->GetUserAgent());
        out["resource_byte_limit"] = JsonText(contextless->GetResourceByteLimit());
    }
    if (const auto* context = As<CWebContextStep>(step))
        out["attributes"] = Attributes(context->GetAttributes());
    if (const auto* request = As<CWebStepCustomRequest>(step)) {
        out["method"] = JsonText(request->GetMethod());
        out["url"] = JsonText(request->GetUrl());
        out["use_enc_type"] = request->GetUseEncType();
        out["enc_type"] = JsonText(request->GetEncType());
        OrderedJson body = OrderedJson::array();
        for (const auto& part : request->GetBody())
            body.push_back(OrderedJson{{"attribute", JsonText(part.attributeName)},
                                       {"encoding", BodyEncodingName(part.encoding)},
                                       {"value", JsonText(part.value)}});
        out["body"] = body;
        out["raw_body"] = TextList(request->GetRawBodyStartEnd());
        out["request_headers"] = JsonText(request->GetRequestHeaders());
        out["request_body"] = JsonText(request->GetRequestBody());
        out["response_headers"] = JsonText(request->GetResponseHeaders());
        out["response_body"] = JsonText(request->GetResponseBody());
        out["content_encoding"] = JsonText(request->GetContentEncoding());
    }
    if (const auto* submit = As<CWebStepSubmitData>(step)) {
        out["action"] = JsonText(submit->GetAction());
        out["method"] = JsonText(submit->GetMethod());
        out["use_enc_type"] = submit->GetUseEncType();
        out["enc_type"] = JsonText(submit->GetEncType());
        out["content_encoding"] = JsonText(submit->GetContentEncoding());
        out["encode_at_sign"] = submit->GetEncodeAtSign();
        out["redirected_to_submit"] = submit->IsRedirectedToSubmit();
        out["data_set"] = DataSet(submit->GetDataSet());
    }
    if (const auto* image = As<CWebStepImage>(step)) {
        out["x"] = JsonText(image->GetX());
        out["y"] = JsonText(image->GetY());
    }
    if (const auto* form = As<CWebStepSubmitForm>(step)) {
        out["content_encoding"] = JsonText(form->GetContentEncoding());
        out["data_set"] = DataSet(form->GetDataSet());
        out["hiddens"] = DataSet(form->GetHiddens());
    }
    out["resources"] = Resources(action->GetOutOfContextResources());
}

void AttributeStepFields(const CWebStepData& step, OrderedJson& out) {
    const auto* withAttributes = As<CWebStepWithAttributes>(step);
    if (!withAttributes)
        return;
    out["attributes"] = Attributes(withAttributes->GetAttributes());
    if (const auto* find = As<CWebStepFind>(step))
        out["data_set"] = DataSet(find->GetDataSet());
    if (const auto* java = As<CWebStepJavaCheck>(step))
        out["applet_params"] = DataSet(java->GetAppletParams());
    if (const auto* regFind = As<CWebStepRegFind>(step)) {
        out["text"] = JsonText(regFind->GetText());
        out["text_flags"] = SearchFlags(regFind->GetTextFlags());
        out["text_prefix"] = JsonText(regFind->GetTextPfx());
        out["text_prefix_flags"] = SearchFlags(regFind->GetTextPfxFlags());
        out["text_suffix"] = JsonText(regFind->GetTextSfx());
        out["text_suffix_flags"] = SearchFlags(regFind->GetTextSfxFlags());
        out["search"] = JsonText(regFind->GetSearchScope());
        out["fail"] = JsonText(regFind->GetFail());
        out["save_count"] = JsonText(regFind->GetSaveCount());
    }
    if (const auto* save = As<CWebStepRegSaveParam>(step)) {
        out["param_name"] = JsonText(save->GetParamName());
        out["left"] = JsonText(save->GetLeft());
        out["left_flags"] = SearchFlags(save->GetLeftBoundFlags());
        out["right"] = JsonText(save->GetRight());
        out["right_flags"] = SearchFlags(save->GetRightBoundFlags());
        out["instance"] = JsonText(save->GetInstance());
        out["not_found"] = JsonText(save->GetNotFound());
        out["search"] = JsonText(save->GetSearchScope());
        out["relative_frame_id"] = JsonText(save->GetRelativeFrameId());
        out["save_offset"] = JsonText(save->GetSaveOffset());
        out["save_len"] = JsonText(save->GetSaveLen());
        out["callback_name"] = JsonText(save->GetCallbackName());
        out["callback_dll_name"] = JsonText(save->GetCallbackDLLName());
        out["ignore_redirections"] = JsonText(save->GetIgnoreRedirections());
    }
    if (const auto* global = As<CWebStepGlobalVerification>(step)) {
        out["text"] = JsonText(global->GetText());
        out["text_flags"] = SearchFlags(global->GetTextFlags());
        out["text_prefix"] = JsonText(global->GetTextPfx());
        out["text_prefix_flags"] = SearchFlags(global->GetTextPfxFlags());
        out["text_suffix"] = JsonText(global->GetTextSfx());
        out["text_suffix_flags"] = SearchFlags(global->GetTextSfxFlags());
        out["search"] = JsonText(global->GetSearchScope());
        out["fail_if"] = JsonText(global->GetFailIf());
    }
    if (const auto* convert = As<CWebStepConvertParam>(step)) {
        out["param_name"] = JsonText(convert->GetParamName());
        out["source_string"] = JsonText(convert->GetSourceString());
        out["source_encoding"] = JsonText(convert->GetSourceEncoding());
        out["target_encoding"] = JsonText(convert->GetTargetEncoding());
    }
    if (const auto* date = As<CWebStepConvertDateParam>(step)) {
        out["param_name"] = JsonText(date->GetParamName());
        out["source_format"] = JsonText(date->GetSourceFormat());
        out["target_format"] = JsonText(date->GetTargetFormat());
        out["target_parameter_name"] = JsonText(date->GetTargetParameterName());
    }
    if (const auto* cert = As<CWebStepSetCertificateEx>(step)) {
        out["cert_file_path"] = JsonText(cert->GetCertFilePath());
        out["cert_format"] = JsonText(cert->GetCertFormat());
        out["cert_index"] = JsonText(cert->GetCertIndex());
        out["key_file_path"] = JsonText(cert->GetKeyFilePath());
        out["key_format"] = JsonText(cert->GetKeyFormat());
        out["password"] = JsonText(cert->GetPassword());
    }
}

void ServiceStepFields(const CWebStepData& step, OrderedJson& out) {
    if (const auto* cookie = As<CWebStepAddCookie>(step)) {
        out["cookie"] = JsonText(cookie->GetCookie());
        if (const auto* reg = As<CWebStepRegAddCookie>(step))
            out["text_to_find"] = JsonText(reg->GetTextToFind());
        if (const auto* ex = As<CWebStepAddCookieEx>(step))
            out["insert_at"] = JsonText(ex->GetInsertAt());
    }
    if (const auto* remove = As<CWebStepRemoveCookie>(step))
        out["cookie"] = JsonText(remove->GetCookie());
    if (const auto* header = As<CWebStepAddHeader>(step)) {
        out["header"] = JsonText(header->GetHeader());
        out["value"] = JsonText(header->GetValue());
    }
    if (const auto* revert = As<CWebStepRevertAutoHeader>(step)) {
        out["header"] = JsonText(revert->GetHeader());
        if (const auto* remove = As<CWebStepRemoveAutoHeader>(step))
            out["implicit_generation"] = JsonText(remove->GetImplicitGeneration());
    }
    if (const auto* code = As<CWebStepCodeC>(step)) {
        out["code"] = JsonText(code->GetCode());
        out["location"] = static_cast<unsigned int>(code->GetLocation());
    }
    if (const auto* saveInt = As<CQzStepSaveInt>(step)) {
        out["param_name"] = JsonText(saveInt->GetParamName());
        out["expression"] = JsonText(saveInt->GetExpression());
    }
    if (const auto* html = As<CWebStepCreateHtmlParam>(step)) {
        out["param_name"] = JsonText(html->GetName());
        out["left"] = JsonText(html->GetLeft());
        out["right"] = JsonText(html->GetRight());
        if (const auto* ex = As<CWebStepCreateHtmlParamEx>(step))
            out["instance"] = ex->GetInstance();
    }
    if (const auto* len = As<CWebStepSetMaxHtmlParamLen>(step))
        out["len"] = len->GetLen();
    if (const auto* sjis = As<CWebStepSjisToEucParam>(step)) {
        out["param_name"] = JsonText(sjis->GetParamName());
        out["param_value"] = JsonText(sjis->GetParamValue());
    }
    if (const auto* length = As<CWebStepSaveParamLength>(step))
        out["conversion_base"] = JsonText(length->GetConversionBase());
    if (const auto* saveHeader = As<CWebStepSaveHeader>(step)) {
        static const char* const options[] = {"none", "request", "response"};
        const unsigned int option = saveHeader->GetOption();
        out["option"] = option < 3 ? options[option] : "unknown";
        out["header"] = JsonText(saveHeader->GetHeader());
    }
    if (const auto* property = As<CWebStepGetIntProperty>(step)) {
        static const char* const types[] = {"none",
                                            "HTTP_INFO_RETURN_CODE",
                                            "HTTP_INFO_DOWNLOAD_SIZE",
                                            "HTTP_INFO_DOWNLOAD_TIME",
                                            "HTTP_INFO_TOTAL_REQUEST_STAT",
                                            "HTTP_INFO_TOTAL_RESPONSE_STAT"};
        const unsigned int type = property->GetHttpInfoType();
        out["http_info_type"] = type < 6 ? types[type] : "unknown";
    }
    if (const auto* pause = As<CWebStepGlobalVerificationPauseResumeBase>(step))
        out["ids"] = TextList(pause->GetIDs());
    if (const auto* cert = As<CWebStepSetCertificate>(step))
        out["index"] = cert->GetIndex();
    if (const auto* proxy = As<CWebStepSetProxy>(step)) {
        out["host"] = JsonText(proxy->GetHost());
        out["port"] = proxy->GetPort();
        out["parameter_url"] = JsonText(proxy->GetParameterUrl());
    }
    if (const auto* user = As<CWebStepSetUser>(step)) {
        out["username"] = JsonText(user->GetUsername());
        out["password"] = JsonText(user->GetPassword());
        out["host"] = JsonText(user->GetHost());
        out["port"] = user->GetPort();
        out["parameter_url"] = JsonText(user->GetParameterUrl());
    }
    if (const auto* bypass = As<CWebStepSetProxyBypass>(step))
        out["bypass"] = JsonText(bypass->GetBypass());
    if (const auto* local = As<CWebStepSetProxyBypassLocal>(step))
        out["bypass_local"] = local->GetBypassOption();
    if (const auto* limit = As<CWebStepSetConnectionsLimit>(step))
        out["limit"] = limit->GetLimit();
    if (const auto* timeout = As<CWebStepSetTimeout>(step)) {
        static const char* const actions[] = {"none", "RESOLVE", "CONNECT", "RECEIVE", "STEP"};
        const unsigned int action = timeout->GetAction();
        out["action"] = action < 5 ? actions[action] : "unknown";
        out["timeout"] = timeout->GetTimeout();
    }
    if (const auto* retries = As<CWebStepSetMaxRetries>(step))
        out["max_retries"] = retries->GetMaxRetries();
    if (const auto* option = As<CWebStepSetSocketsOption>(step)) {
        out["option_id"] = JsonText(option->GetOptionID());
        out["option_value"] = JsonText(option->GetOptionValue());
    }
}

// The fields of the extended function set beyond the attribute set, which
// AttributeStepFields lists already.
void ExtendedStepFields(const CWebStepData& step, OrderedJson& out) {
    if (const auto* rule = As<CWebStepSaveParamRule>(step)) {
        out["param_name"] = JsonText(rule->GetParamName());
        out["search_filters"] = Attributes(rule->GetSearchFilters());
    }
    if (const auto* ex = As<CWebStepRegSaveParamEx>(step)) {
        out["left_flags"] = SearchFlags(ex->GetLeftBoundFlags());
        out["right_flags"] = SearchFlags(ex->GetRightBoundFlags());
    }
    if (const auto* rest = As<CWebStepRest>(step)) {
        OrderedJson headers = OrderedJson::array();
        for (const auto& [name, value] : rest->GetHeaders())
            headers.push_back(OrderedJson{{"name", JsonText(name)}, {"value", JsonText(value)}});
        out["headers"] = headers;
    }
    if (const auto* js = As<CWebStepJsRun>(step)) {
        OrderedJson sources = OrderedJson::array();
        for (const MString& file : js->GetSources())
            sources.push_back(JsonText(file));
        out["sources"] = sources;
    }
    if (const auto* async = As<CWebStepRegAsyncAttributes>(step)) {
        OrderedJson flags = OrderedJson::array();
        if (async->GetUrlFlags() & AUF_REGULAR_EXPRESSION)
            flags.push_back("RE");
        if (async->GetUrlFlags() & AUF_IGNORE_CASE)
            flags.push_back("IC");
        out["url_flags"] = flags;
    }
    if (const auto* filter = As<CWebStepAddFilter>(step)) {
        out["criterion"] = JsonText(filter->GetCriterion());
        out["criterion_value"] = JsonText(filter->GetCriterionValue());
    }
    if (const auto* service = As<CWebStepServiceCall>(step)) {
        out["arguments"] = Attributes(service->GetArguments());
        out["results"] = Attributes(service->GetResults());
    }
    if (const auto* stamp = As<CWebStepSaveTimestampParam>(step))
        out["param_name"] = JsonText(stamp->GetParamName());
    if (const auto* length = As<CWebStepSaveParamLengthEx>(step))
        out["param_name"] = JsonText(length->GetParamName());
    if (const auto* dump = As<CWebStepDumpCache>(step))
        out["param_name"] = JsonText(dump->GetParamName());
    if (const auto* load = As<CWebStepLoadCache>(step))
        out["param_name"] = JsonText(load->GetParamName());
}

}  // namespace

const char* StepClassName(const CWebStepData& step) {
    for (const ClassName& entry : theClassNames)
        if (entry.test(step))
            return entry.name;
    return "CWebStepData";
}

OrderedJson StepFields(const CWebStepData& step) {
    OrderedJson out;
    out["class"] = StepClassName(step);
    out["escaping_strings"] = step.GetEscapeingString();
    ActionFields(step, out);
    AttributeStepFields(step, out);
    ServiceStepFields(step, out);
    ExtendedStepFields(step, out);
    return out;
}

}  // namespace webstep::cli
