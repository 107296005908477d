#pragma once
// One parser class per script function. Each applies the common frame (the
// expected step, the argument count, the step name, the walk to "LAST") and,
// with WPF_CREATE_STEP, creates the step object of its function.
#include "webstep/script/WebStepParse.h"

// Declares a parser class: its factory and its parse.
#define WEBSTEP_DECLARE_PARSER(Parser)                          \
    class Parser : public CWebStepParse {                       \
    public:                                                     \
        /* The factory registered under the function's name. */ \
        static void* CreateObject() { return new Parser; }      \
                                                                \
    protected:                                                  \
        bool __ParseArguments() override;                       \
    };

WEBSTEP_DECLARE_PARSER(CWebParseUrl)                       // "web_url"
WEBSTEP_DECLARE_PARSER(CWebParseLink)                      // "web_link"
WEBSTEP_DECLARE_PARSER(CWebParseImage)                     // "web_image"
WEBSTEP_DECLARE_PARSER(CWebParseSubmitForm)                // "web_submit_form"
WEBSTEP_DECLARE_PARSER(CWebParseSubmitData)                // "web_submit_data"
WEBSTEP_DECLARE_PARSER(CWebParseCustomRequest)             // "web_custom_request"
WEBSTEP_DECLARE_PARSER(CWebParseFind)                      // "web_find"
WEBSTEP_DECLARE_PARSER(CWebParseImageCheck)                // "web_image_check"
WEBSTEP_DECLARE_PARSER(CWebParseJavaCheck)                 // "web_java_check"
WEBSTEP_DECLARE_PARSER(CWebParseSetProxy)                  // "web_set_proxy"
WEBSTEP_DECLARE_PARSER(CWebParseSetSecureProxy)            // "web_set_secure_proxy"
WEBSTEP_DECLARE_PARSER(CWebParseSetUser)                   // "web_set_user"
WEBSTEP_DECLARE_PARSER(CWebParseAddHeader)                 // "web_add_header"
WEBSTEP_DECLARE_PARSER(CWebParseAddAutoHeader)             // "web_add_auto_header"
WEBSTEP_DECLARE_PARSER(CWebParseCleanupAutoHeaders)        // "web_cleanup_auto_headers"
WEBSTEP_DECLARE_PARSER(CWebParseSetProxyBypass)            // "web_set_proxy_bypass"
WEBSTEP_DECLARE_PARSER(CWebParseSetConnectionsLimit)       // "web_set_connections_limit"
WEBSTEP_DECLARE_PARSER(CWebParseEnableKeepAlive)           // "web_enable_keep_alive"
WEBSTEP_DECLARE_PARSER(CWebParseDisableKeepAlive)          // "web_disable_keep_alive"
WEBSTEP_DECLARE_PARSER(CWebParseSetTimeout)                // "web_set_timeout"
WEBSTEP_DECLARE_PARSER(CWebParseCreateHtmlParam)           // "web_create_html_param"
WEBSTEP_DECLARE_PARSER(CWebParseSetMaxHtmlParamLen)        // "web_set_max_html_param_len"
WEBSTEP_DECLARE_PARSER(CWebParseAddCookie)                 // "web_add_cookie"
WEBSTEP_DECLARE_PARSER(CWebParseRemoveCookie)              // "web_remove_cookie"
WEBSTEP_DECLARE_PARSER(CWebParseCleanupCookies)            // "web_cleanup_cookies"
WEBSTEP_DECLARE_PARSER(CWebParseSetCertificate)            // "web_set_certificate"
WEBSTEP_DECLARE_PARSER(CWebParseGetIntProperty)            // "web_get_int_property"
WEBSTEP_DECLARE_PARSER(CWebParseSaveHeader)                // "web_save_header"
WEBSTEP_DECLARE_PARSER(CWebParseCreateHtmlParamEx)         // "web_create_html_param_ex"
WEBSTEP_DECLARE_PARSER(CWebParseSetProxyBypassLocal)       // "web_set_proxy_bypass_local"
WEBSTEP_DECLARE_PARSER(CWebParseCacheCleanup)              // "web_cache_cleanup"
WEBSTEP_DECLARE_PARSER(CWebParseConcurrentStart)           // "web_concurrent_start"
WEBSTEP_DECLARE_PARSER(CWebParseConcurrentEnd)             // "web_concurrent_end"
WEBSTEP_DECLARE_PARSER(CWebParseRegSaveParam)              // "web_reg_save_param"
WEBSTEP_DECLARE_PARSER(CWebParseSetMaxRetries)             // "web_set_max_retries"
WEBSTEP_DECLARE_PARSER(CWebParseSetCertificateEx)          // "web_set_certificate_ex"
WEBSTEP_DECLARE_PARSER(CWebParseSetSocketsOption)          // "web_set_sockets_option"
WEBSTEP_DECLARE_PARSER(CWebParseRegFind)                   // "web_reg_find"
WEBSTEP_DECLARE_PARSER(CWebParseRemoveAutoHeader)          // "web_remove_auto_header"
WEBSTEP_DECLARE_PARSER(CWebParseRevertAutoHeader)          // "web_revert_auto_header"
WEBSTEP_DECLARE_PARSER(CWebParseSjisToEucParam)            // "web_sjis_to_euc_param"
WEBSTEP_DECLARE_PARSER(CWebParseGlobalVerification)        // "web_global_verification"
WEBSTEP_DECLARE_PARSER(CWebParseRegAddCookie)              // "web_reg_add_cookie"
WEBSTEP_DECLARE_PARSER(CWebParseConvertParam)              // "web_convert_param"
WEBSTEP_DECLARE_PARSER(CWebParseAddCookieEx)               // "web_add_cookie_ex"
WEBSTEP_DECLARE_PARSER(CWebParseGlobalVerificationPause)   // "web_global_verification_pause"
WEBSTEP_DECLARE_PARSER(CWebParseGlobalVerificationResume)  // "web_global_verification_resume"
WEBSTEP_DECLARE_PARSER(CWebParseFlexCustomRequest)         // "flex_web_request"
WEBSTEP_DECLARE_PARSER(CWebParseSilverlightCustomRequest)  // "silverlight_web_request"

#undef WEBSTEP_DECLARE_PARSER
