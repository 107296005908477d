// The registration of every parser under its script function name.
#include "webstep/script/WebParsers.h"

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
