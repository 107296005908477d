#include "webstep/script/WebParsers.h"

#include "webstep/steps/WebSteps.h"

// Casts the current step to the parser's step class (null when the slot is
// empty or holds another class), applies the frame, and on success creates
// the step when asked to. Without WPF_CREATE_STEP and without a step of the
// right class in the slot, the arguments are still checked and nothing is
// filled, so a caller can validate a call without a step object.
#define WEBSTEP_DEFINE_PARSER(Parser, Step, Function, Shape, Count, Leading)       \
    bool Parser::__ParseArguments() {                                              \
        static const FrameRule rule = {Function, Shape, Count, Leading};           \
        Step* step = GetDataStep() ? dynamic_cast<Step*>(GetDataStep()) : nullptr; \
        if (!ApplyFrame(rule))                                                     \
            return false;                                                          \
        if (GetFlags() & WPF_CREATE_STEP) {                                        \
            step = new Step;                                                       \
            SetDataStep(step);                                                     \
        }                                                                          \
        (void)step;                                                                \
        return true;                                                               \
    }

WEBSTEP_DEFINE_PARSER(CWebParseUrl, CWebStepUrl, "web_url", AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseLink, CWebStepLink, "web_link", AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseImage, CWebStepImage, "web_image", AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSubmitForm, CWebStepSubmitForm, "web_submit_form", AS_ATTRIBUTES, 0,
                      LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSubmitData, CWebStepSubmitData, "web_submit_data", AS_ATTRIBUTES, 0,
                      LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseCustomRequest, CWebStepCustomRequest, "web_custom_request",
                      AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseFind, CWebStepFind, "web_find", AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseImageCheck, CWebStepImageCheck, "web_image_check", AS_ATTRIBUTES, 0,
                      LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseJavaCheck, CWebStepJavaCheck, "web_java_check", AS_ATTRIBUTES, 0,
                      LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSetProxy, CWebStepSetProxy, "web_set_proxy", AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetSecureProxy, CWebStepSetSecureProxy, "web_set_secure_proxy",
                      AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetUser, CWebStepSetUser, "web_set_user", AS_FIXED, 3, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseAddHeader, CWebStepAddHeader, "web_add_header", AS_FIXED, 2, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseAddAutoHeader, CWebStepAddAutoHeader, "web_add_auto_header",
                      AS_FIXED, 2, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseCleanupAutoHeaders, CWebStepCleanupAutoHeaders,
                      "web_cleanup_auto_headers", AS_NONE, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetProxyBypass, CWebStepSetProxyBypass, "web_set_proxy_bypass",
                      AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetConnectionsLimit, CWebStepSetConnectionsLimit,
                      "web_set_connections_limit", AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseEnableKeepAlive, CWebStepEnableKeepAlive, "web_enable_keep_alive",
                      AS_NONE, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseDisableKeepAlive, CWebStepDisableKeepAlive, "web_disable_keep_alive",
                      AS_NONE, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetTimeout, CWebStepSetTimeout, "web_set_timeout", AS_FIXED, 2,
                      LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseCreateHtmlParam, CWebStepCreateHtmlParam, "web_create_html_param",
                      AS_FIXED, 3, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetMaxHtmlParamLen, CWebStepSetMaxHtmlParamLen,
                      "web_set_max_html_param_len", AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseAddCookie, CWebStepAddCookie, "web_add_cookie", AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseRemoveCookie, CWebStepRemoveCookie, "web_remove_cookie", AS_FIXED, 1,
                      LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseCleanupCookies, CWebStepCleanupCookies, "web_cleanup_cookies",
                      AS_NONE, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetCertificate, CWebStepSetCertificate, "web_set_certificate",
                      AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseGetIntProperty, CWebStepGetIntProperty, "web_get_int_property",
                      AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSaveHeader, CWebStepSaveHeader, "web_save_header", AS_FIXED, 2,
                      LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseCreateHtmlParamEx, CWebStepCreateHtmlParamEx,
                      "web_create_html_param_ex", AS_FIXED, 4, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetProxyBypassLocal, CWebStepSetProxyBypassLocal,
                      "web_set_proxy_bypass_local", AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseCacheCleanup, CWebStepCacheCleanup, "web_cache_cleanup", AS_NONE, 0,
                      LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseConcurrentStart, CWebStepConcurrentStart, "web_concurrent_start",
                      AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseConcurrentEnd, CWebStepConcurrentEnd, "web_concurrent_end", AS_FIXED,
                      1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseRegSaveParam, CWebStepRegSaveParam, "web_reg_save_param",
                      AS_ATTRIBUTES, 0, LA_PARAMETER_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSetMaxRetries, CWebStepSetMaxRetries, "web_set_max_retries",
                      AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetCertificateEx, CWebStepSetCertificateEx, "web_set_certificate_ex",
                      AS_ATTRIBUTES, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSetSocketsOption, CWebStepSetSocketsOption, "web_set_sockets_option",
                      AS_FIXED, 2, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseRegFind, CWebStepRegFind, "web_reg_find", AS_ATTRIBUTES, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseRemoveAutoHeader, CWebStepRemoveAutoHeader, "web_remove_auto_header",
                      AS_FIXED_OR_1008, 3, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseRevertAutoHeader, CWebStepRevertAutoHeader, "web_revert_auto_header",
                      AS_FIXED, 1, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseSjisToEucParam, CWebStepSjisToEucParam, "web_sjis_to_euc_param",
                      AS_FIXED, 2, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseGlobalVerification, CWebStepGlobalVerification,
                      "web_global_verification", AS_ATTRIBUTES, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseRegAddCookie, CWebStepRegAddCookie, "web_reg_add_cookie", AS_FIXED,
                      3, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseConvertParam, CWebStepConvertParam, "web_convert_param",
                      AS_ATTRIBUTES, 0, LA_PARAMETER_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseAddCookieEx, CWebStepAddCookieEx, "web_add_cookie_ex",
                      AS_FIXED_OR_1008, 3, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseGlobalVerificationPause, CWebStepGlobalVerificationPause,
                      "web_global_verification_pause", AS_ATTRIBUTES, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseGlobalVerificationResume, CWebStepGlobalVerificationResume,
                      "web_global_verification_resume", AS_ATTRIBUTES, 0, LA_NONE)
WEBSTEP_DEFINE_PARSER(CWebParseFlexCustomRequest, CWebStepFlexCustomRequest, "flex_web_request",
                      AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSilverlightCustomRequest, CWebStepSilverlightCustomRequest,
                      "silverlight_web_request", AS_ATTRIBUTES, 0, LA_STEP_NAME)

#undef WEBSTEP_DEFINE_PARSER

void CWebStepParse::UpdateRepository(CObjectRepository& repository) {
    repository.RegisterObject("web_url", CWebParseUrl::CreateObject);
    repository.RegisterObject("web_link", CWebParseLink::CreateObject);
    repository.RegisterObject("web_image", CWebParseImage::CreateObject);
    repository.RegisterObject("web_submit_form", CWebParseSubmitForm::CreateObject);
    repository.RegisterObject("web_submit_data", CWebParseSubmitData::CreateObject);
    repository.RegisterObject("web_custom_request", CWebParseCustomRequest::CreateObject);
    repository.RegisterObject("web_find", CWebParseFind::CreateObject);
    repository.RegisterObject("web_image_check", CWebParseImageCheck::CreateObject);
    repository.RegisterObject("web_java_check", CWebParseJavaCheck::CreateObject);
    repository.RegisterObject("web_set_proxy", CWebParseSetProxy::CreateObject);
    repository.RegisterObject("web_set_secure_proxy", CWebParseSetSecureProxy::CreateObject);
    repository.RegisterObject("web_set_user", CWebParseSetUser::CreateObject);
    repository.RegisterObject("web_add_header", CWebParseAddHeader::CreateObject);
    repository.RegisterObject("web_add_auto_header", CWebParseAddAutoHeader::CreateObject);
    repository.RegisterObject("web_cleanup_auto_headers",
                              CWebParseCleanupAutoHeaders::CreateObject);
    repository.RegisterObject("web_set_proxy_bypass", CWebParseSetProxyBypass::CreateObject);
    repository.RegisterObject("web_set_connections_limit",
                              CWebParseSetConnectionsLimit::CreateObject);
    repository.RegisterObject("web_enable_keep_alive", CWebParseEnableKeepAlive::CreateObject);
    repository.RegisterObject("web_disable_keep_alive", CWebParseDisableKeepAlive::CreateObject);
    repository.RegisterObject("web_set_timeout", CWebParseSetTimeout::CreateObject);
    repository.RegisterObject("web_create_html_param", CWebParseCreateHtmlParam::CreateObject);
    repository.RegisterObject("web_set_max_html_param_len",
                              CWebParseSetMaxHtmlParamLen::CreateObject);
    repository.RegisterObject("web_add_cookie", CWebParseAddCookie::CreateObject);
    repository.RegisterObject("web_remove_cookie", CWebParseRemoveCookie::CreateObject);
    repository.RegisterObject("web_cleanup_cookies", CWebParseCleanupCookies::CreateObject);
    repository.RegisterObject("web_set_certificate", CWebParseSetCertificate::CreateObject);
    repository.RegisterObject("web_get_int_property", CWebParseGetIntProperty::CreateObject);
    repository.RegisterObject("web_save_header", CWebParseSaveHeader::CreateObject);
    repository.RegisterObject("web_create_html_param_ex", CWebParseCreateHtmlParamEx::CreateObject);
    repository.RegisterObject("web_set_proxy_bypass_local",
                              CWebParseSetProxyBypassLocal::CreateObject);
    repository.RegisterObject("web_cache_cleanup", CWebParseCacheCleanup::CreateObject);
    repository.RegisterObject("web_concurrent_start", CWebParseConcurrentStart::CreateObject);
    repository.RegisterObject("web_concurrent_end", CWebParseConcurrentEnd::CreateObject);
    repository.RegisterObject("web_reg_save_param", CWebParseRegSaveParam::CreateObject);
    repository.RegisterObject("web_set_max_retries", CWebParseSetMaxRetries::CreateObject);
    repository.RegisterObject("web_set_certificate_ex", CWebParseSetCertificateEx::CreateObject);
    repository.RegisterObject("web_set_sockets_option", CWebParseSetSocketsOption::CreateObject);
    repository.RegisterObject("web_reg_find", CWebParseRegFind::CreateObject);
    repository.RegisterObject("web_remove_auto_header", CWebParseRemoveAutoHeader::CreateObject);
    repository.RegisterObject("web_revert_auto_header", CWebParseRevertAutoHeader::CreateObject);
    repository.RegisterObject("web_sjis_to_euc_param", CWebParseSjisToEucParam::CreateObject);
    repository.RegisterObject("web_global_verification", CWebParseGlobalVerification::CreateObject);
    repository.RegisterObject("web_reg_add_cookie", CWebParseRegAddCookie::CreateObject);
    repository.RegisterObject("web_convert_param", CWebParseConvertParam::CreateObject);
    repository.RegisterObject("web_add_cookie_ex", CWebParseAddCookieEx::CreateObject);
    repository.RegisterObject("web_global_verification_pause",
                              CWebParseGlobalVerificationPause::CreateObject);
    repository.RegisterObject("web_global_verification_resume",
                              CWebParseGlobalVerificationResume::CreateObject);
    repository.RegisterObject("flex_web_request", CWebParseFlexCustomRequest::CreateObject);
    repository.RegisterObject("silverlight_web_request",
                              CWebParseSilverlightCustomRequest::CreateObject);
}
