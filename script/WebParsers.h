#pragma once
// One parser class per script function. Each applies the common frame (the
// expected step, the argument count, the step name, the walk to "LAST") and,
// with WPF_CREATE_STEP, creates the step object of its function.
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/script/WebStepParse.h"

// Declares a parser class: its factory and its parse.
#define WEBSTEP_DECLARE_PARSER(Parser)                          \
    class WEBSTEP_API Parser : public CWebStepParse {           \
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

/// The base of the parsers of the step calls that current script versions
/// make beyond the registered 49 (CWebStepParse::UpdateRepositoryExtended
/// registers them): one reader of their grammar, driven by a table per
/// function (attributes with their value kinds, sections, the leading
/// argument). Like every parser it records a failure as an error code with
/// details and returns false; with WPF_CREATE_STEP the new step goes to the
/// current-step slot, owned by whoever takes it from there.
class WEBSTEP_API CWebParseExtended : public CWebStepParse {
public:
    /// How an attribute's value is checked.
    enum ExtendedValue {
        EV_TEXT,      // any text
        EV_UNSIGNED,  // an unsigned decimal number (1006)
        EV_SIGNED,    // a signed decimal number (1006)
        EV_YES_NO,    // yes or no (1005)
        EV_BOOLEAN,   // 0 or 1 (1004)
        EV_TABLE,     // a row of the attribute's value table (1003)
        EV_ORDINAL,   // a number from 1, "All" or "LAST" (1002, 1003 for 0)
        EV_BOUNDARY,  // a boundary: options after the name ("LB/IC/BIN", 1002)
        EV_URL,       // a URL: options "RE" and "IC" after the name (1002)
    };
    /// Whether an attribute must be given.
    enum ExtendedNeed {
        EN_OPTIONAL,
        EN_PRESENT,  // absent: 1000 with "text" and the name
        EN_VALUE,    // as EN_PRESENT, and an empty value gives 1003
    };
    struct ExtendedAttribute {
        const char* name;
        ExtendedValue kind;
        ExtendedNeed need;
        const CWebStepScript::AttrTableEntry* table;  // for EV_TABLE
    };
    /// Sections a call may hold after its attributes.
    enum ExtendedSection : unsigned int {
        ES_SEARCH_FILTERS = 1,  // SEARCH_FILTERS, then filter attributes
        ES_HEADERS = 2,         // HEADERS, then "Name="/"Value=" closed by ENDHEADER
        ES_SOURCES = 4,         // SOURCES, then "File=" items closed by ENDITEM
        ES_ARGUMENTS = 8,       // BEGIN_ARGUMENTS ... END_ARGUMENTS, BEGIN_RESULT ... END_RESULT
    };
    struct ExtendedGrammar {
        const char* function;
        LeadingArgument leading;
        const ExtendedAttribute* attributes;  // closed by a row with a null name
        /// Names outside the list: refused with 1001 unless the list is open,
        /// or the name ends with openSuffix (callback names ending in "CB").
        bool open;
        const char* openSuffix;
        unsigned int sections;
        /// Exactly one of these names is required (null when none): none
        /// gives 1000 naming them all, a second 1003.
        const char* const* oneOf;
    };
    /// What a call held, as written.
    struct ExtendedCall {
        MString leading;  // the parameter name of LA_PARAMETER_NAME
        CAttributeSet attributes;
        CAttributeSet filters;
        std::vector<CAttributeSet> items;  // headers or source files
        CAttributeSet arguments;
        CAttributeSet results;
        RegSaveParamFlags leftFlags = RSPF_NONE;
        RegSaveParamFlags rightFlags = RSPF_NONE;
        unsigned int urlFlags = 0;
        MString oneOfName;  // the name of the oneOf attribute given
        MString oneOfValue;
    };

protected:
    /// Reads and checks a call by its grammar: the argument count, the leading
    /// argument, the attribute run, the sections up to "LAST" (or the array's
    /// end), then every value, the required attributes and the filters.
    bool ReadExtendedCall(const ExtendedGrammar& grammar, ExtendedCall& call);
    /// The step to fill: a new one with WPF_CREATE_STEP, else the caller's
    /// step when it has the class, else null.
    template <class Step>
    Step* ExtendedStep() {
        if (GetFlags() & WPF_CREATE_STEP) {
            Step* step = new Step;
            SetDataStep(step);
            return step;
        }
        return GetDataStep() ? dynamic_cast<Step*>(GetDataStep()) : nullptr;
    }
    /// Copies the attributes as written into the step's set; boundary and URL
    /// names lose their options (kept as flags), so "LB/IC" is stored as "LB".
    void CopyExtendedAttributes(const ExtendedGrammar& grammar, const CAttributeSet& from,
                                CAttributeSet& to);
    /// The saving-rule step to fill (see ExtendedStep), given the call's
    /// attributes, search filters and parameter name; null when there is none.
    template <class Step>
    Step* FillSavingRule(const ExtendedGrammar& grammar, ExtendedCall& call) {
        Step* step = ExtendedStep<Step>();
        if (step == nullptr)
            return nullptr;
        CopyExtendedAttributes(grammar, call.attributes, step->GetAttributes());
        step->GetSearchFilters() = call.filters;
        MString name;
        call.attributes.GetAttribute("ParamName", name);
        step->SetParamName(name.c_str());
        return step;
    }

private:
    bool ReadExtendedArguments(const ExtendedGrammar& grammar, ExtendedCall& call);
    bool CheckExtendedValues(const ExtendedGrammar& grammar, ExtendedCall& call);
    bool CheckSearchFilters(ExtendedCall& call);
    bool CheckValue(const ExtendedAttribute& rule, const MString& name, const MString& value,
                    ExtendedCall& call);
};

#define WEBSTEP_DECLARE_EXTENDED_PARSER(Parser)                 \
    class WEBSTEP_API Parser : public CWebParseExtended {       \
    public:                                                     \
        /* The factory registered under the function's name. */ \
        static void* CreateObject() { return new Parser; }      \
                                                                \
    protected:                                                  \
        bool __ParseArguments() override;                       \
    };

WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRegSaveParamEx)        // "web_reg_save_param_ex"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRegSaveParamRegexp)    // "web_reg_save_param_regexp"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRegSaveParamJson)      // "web_reg_save_param_json"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRegSaveParamXpath)     // "web_reg_save_param_xpath"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRegSaveParamAttrib)    // "web_reg_save_param_attrib"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRest)                  // "web_rest"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseSaveTimestampParam)    // "web_save_timestamp_param"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseSaveParamLength)       // "web_save_param_length"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseConvertDateParam)      // "web_convert_date_param"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRegAsyncAttributes)    // "web_reg_async_attributes"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseStopAsync)             // "web_stop_async"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseSync)                  // "web_sync"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseJsRun)                 // "web_js_run"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseJsReset)               // "web_js_reset"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseAddFilter)             // "web_add_filter"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseAddAutoFilter)         // "web_add_auto_filter"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRemoveAutoFilter)      // "web_remove_auto_filter"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseSetRtsKey)             // "web_set_rts_key"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseConvertToFormatted)    // "web_convert_to_formatted"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseConvertFromFormatted)  // "web_convert_from_formatted"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseServiceCall)           // "web_service_call"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseWebSocketConnect)      // "web_websocket_connect"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseWebSocketSend)         // "web_websocket_send"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseWebSocketClose)        // "web_websocket_close"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseRegCrossStepDownload)  // "web_reg_cross_step_download"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseDumpCache)             // "web_dump_cache"
WEBSTEP_DECLARE_EXTENDED_PARSER(CWebParseLoadCache)             // "web_load_cache"

#undef WEBSTEP_DECLARE_EXTENDED_PARSER
