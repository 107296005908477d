// Parsers of the service steps: connection settings, headers, cookies,
// certificates, time-outs, checks and parameter conversions.
#include "webstep/script/internal/DefineParser.h"

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
