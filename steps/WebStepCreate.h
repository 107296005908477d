#pragma once
// Step creators: one per script function name, each making a new, empty step
// of its class. UpdateRepository enters them into a name-to-factory registry.
#include "webstep/foundation/Export.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/steps/WebStepData.h"

/// Base of all creators; no data.
class WEBSTEP_API CWebStepCreate {
public:
    CWebStepCreate() = default;
    CWebStepCreate(const CWebStepCreate&) = default;
    CWebStepCreate& operator=(const CWebStepCreate&) = default;
    virtual ~CWebStepCreate() = default;

    /// Registers the creators of all 49 script functions, in table order. Each
    /// registered factory returns, as void*, a new CWebStepCreate* (from the
    /// creator's CreateObject) that the caller owns and deletes.
    static void UpdateRepository(CObjectRepository& repository);
    /// Registers the creators of the functions that current script versions
    /// call beyond those 49 (web_reg_save_param_ex, web_rest, ...), in the
    /// order of CWebStepParse::UpdateRepositoryExtended; a caller that wants
    /// both sets calls both.
    static void UpdateRepositoryExtended(CObjectRepository& repository);

    /// Public entry to CreateNew for the holders of a CWebStepCreate*: a new
    /// empty step owned by the caller, or null when allocation fails.
    CWebStepData* CreateStep() { return CreateNew(); }

protected:
    virtual CWebStepData* CreateNew() = 0;
};

// Declares a creator: CreateObject makes the creator (null when allocation
// fails), CreateNew the step.
#define WEBSTEP_DECLARE_STEP_CREATOR(Creator)           \
    class WEBSTEP_API Creator : public CWebStepCreate { \
    public:                                             \
        Creator() = default;                            \
        Creator(const Creator&) = default;              \
        Creator& operator=(const Creator&) = default;   \
        ~Creator() override = default;                  \
        static CWebStepCreate* CreateObject();          \
                                                        \
    protected:                                          \
        CWebStepData* CreateNew() override;             \
    };

/// "web_url" makes a CWebStepUrl.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateUrl)
/// "web_link" makes a CWebStepLink.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateLink)
/// "web_image" makes a CWebStepImage.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateImage)
/// "web_submit_form" makes a CWebStepSubmitForm.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSubmitForm)
/// "web_submit_data" makes a CWebStepSubmitData.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSubmitData)
/// "web_custom_request" makes a CWebStepCustomRequest.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateCustomRequest)
/// "web_find" makes a CWebStepFind.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateFind)
/// "web_image_check" makes a CWebStepImageCheck.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateImageCheck)
/// "web_java_check" makes a CWebStepJavaCheck.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateJavaCheck)
/// "web_set_proxy" makes a CWebStepSetProxy.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetProxy)
/// "web_set_secure_proxy" makes a CWebStepSetSecureProxy.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetSecureProxy)
/// "web_set_user" makes a CWebStepSetUser.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetUser)
/// "web_add_header" makes a CWebStepAddHeader.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateAddHeader)
/// "web_add_auto_header" makes a CWebStepAddAutoHeader.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateAddAutoHeader)
/// "web_cleanup_auto_headers" makes a CWebStepCleanupAutoHeaders.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateCleanupAutoHeaders)
/// "web_set_proxy_bypass" makes a CWebStepSetProxyBypass.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetProxyBypass)
/// "web_set_connections_limit" makes a CWebStepSetConnectionsLimit.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetConnectionsLimit)
/// "web_enable_keep_alive" makes a CWebStepEnableKeepAlive.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateEnableKeepAlive)
/// "web_disable_keep_alive" makes a CWebStepDisableKeepAlive.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateDisableKeepAlive)
/// "web_set_timeout" makes a CWebStepSetTimeout.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetTimeout)
/// "web_create_html_param" makes a CWebStepCreateHtmlParam.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateCreateHtmlParam)
/// "web_set_max_html_param_len" makes a CWebStepSetMaxHtmlParamLen.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetMaxHtmlParamLen)
/// "web_add_cookie" makes a CWebStepAddCookie.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateAddCookie)
/// "web_remove_cookie" makes a CWebStepRemoveCookie.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRemoveCookie)
/// "web_cleanup_cookies" makes a CWebStepCleanupCookies.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateCleanupCookies)
/// "web_set_certificate" makes a CWebStepSetCertificate.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetCertificate)
/// "web_get_int_property" makes a CWebStepGetIntProperty.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateGetIntProperty)
/// "web_save_header" makes a CWebStepSaveHeader.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSaveHeader)
/// "web_create_html_param_ex" makes a CWebStepCreateHtmlParamEx.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateCreateHtmlParamEx)
/// "web_set_proxy_bypass_local" makes a CWebStepSetProxyBypassLocal.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetProxyBypassLocal)
/// "web_cache_cleanup" makes a CWebStepCacheCleanup.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateCacheCleanup)
/// "web_concurrent_start" makes a CWebStepConcurrentStart.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateConcurrentStart)
/// "web_concurrent_end" makes a CWebStepConcurrentEnd.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateConcurrentEnd)
/// "web_reg_save_param" makes a CWebStepRegSaveParam.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegSaveParam)
/// "web_set_max_retries" makes a CWebStepSetMaxRetries.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetMaxRetries)
/// "web_set_certificate_ex" makes a CWebStepSetCertificateEx.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetCertificateEx)
/// "web_set_sockets_option" makes a CWebStepSetSocketsOption.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetSocketsOption)
/// "web_reg_find" makes a CWebStepRegFind.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegFind)
/// "web_remove_auto_header" makes a CWebStepRemoveAutoHeader.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRemoveAutoHeader)
/// "web_revert_auto_header" makes a CWebStepRevertAutoHeader.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRevertAutoHeader)
/// "web_sjis_to_euc_param" makes a CWebStepSjisToEucParam.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSjisToEucParam)
/// "web_global_verification" makes a CWebStepGlobalVerification.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateGlobalVerification)
/// "web_reg_add_cookie" makes a CWebStepRegAddCookie.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegAddCookie)
/// "web_convert_param" makes a CWebStepConvertParam.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateConvertParam)
/// "web_add_cookie_ex" makes a CWebStepAddCookieEx.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateAddCookieEx)
/// "web_global_verification_pause" makes a CWebStepGlobalVerificationPause.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateGlobalVerificationPause)
/// "web_global_verification_resume" makes a CWebStepGlobalVerificationResume.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateGlobalVerificationResume)
/// "flex_web_request" makes a CWebStepFlexCustomRequest.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateFlexCustomRequest)
/// "silverlight_web_request" makes a CWebStepSilverlightCustomRequest.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSilverlightCustomRequest)

/// The creators of the extended function set.
/// "web_reg_save_param_ex" makes a CWebStepRegSaveParamEx.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegSaveParamEx)
/// "web_reg_save_param_regexp" makes a CWebStepRegSaveParamRegexp.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegSaveParamRegexp)
/// "web_reg_save_param_json" makes a CWebStepRegSaveParamJson.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegSaveParamJson)
/// "web_reg_save_param_xpath" makes a CWebStepRegSaveParamXpath.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegSaveParamXpath)
/// "web_reg_save_param_attrib" makes a CWebStepRegSaveParamAttrib.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegSaveParamAttrib)
/// "web_rest" makes a CWebStepRest.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRest)
/// "web_save_timestamp_param" makes a CWebStepSaveTimestampParam.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSaveTimestampParam)
/// "web_save_param_length" makes a CWebStepSaveParamLengthEx.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSaveParamLength)
/// "web_convert_date_param" makes a CWebStepConvertDateParam.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateConvertDateParam)
/// "web_reg_async_attributes" makes a CWebStepRegAsyncAttributes.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegAsyncAttributes)
/// "web_stop_async" makes a CWebStepStopAsync.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateStopAsync)
/// "web_sync" makes a CWebStepSync.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSync)
/// "web_js_run" makes a CWebStepJsRun.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateJsRun)
/// "web_js_reset" makes a CWebStepJsReset.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateJsReset)
/// "web_add_filter" makes a CWebStepAddFilter.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateAddFilter)
/// "web_add_auto_filter" makes a CWebStepAddAutoFilter.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateAddAutoFilter)
/// "web_remove_auto_filter" makes a CWebStepRemoveAutoFilter.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRemoveAutoFilter)
/// "web_set_rts_key" makes a CWebStepSetRtsKey.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateSetRtsKey)
/// "web_convert_to_formatted" makes a CWebStepConvertToFormatted.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateConvertToFormatted)
/// "web_convert_from_formatted" makes a CWebStepConvertFromFormatted.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateConvertFromFormatted)
/// "web_service_call" makes a CWebStepServiceCall.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateServiceCall)
/// "web_websocket_connect" makes a CWebStepWebSocketConnect.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateWebSocketConnect)
/// "web_websocket_send" makes a CWebStepWebSocketSend.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateWebSocketSend)
/// "web_websocket_close" makes a CWebStepWebSocketClose.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateWebSocketClose)
/// "web_reg_cross_step_download" makes a CWebStepRegCrossStepDownload.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateRegCrossStepDownload)
/// "web_dump_cache" makes a CWebStepDumpCache.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateDumpCache)
/// "web_load_cache" makes a CWebStepLoadCache.
WEBSTEP_DECLARE_STEP_CREATOR(CWebCreateLoadCache)
