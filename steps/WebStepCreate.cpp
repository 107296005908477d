#include "webstep/steps/WebStepCreate.h"

#include <new>

#include "webstep/steps/WebSteps.h"

namespace {

// The registry stores factories returning void*; the object behind it is
// always a CWebStepCreate*.
template <class Creator>
void* RegisteredFactory() {
    return static_cast<CWebStepCreate*>(Creator::CreateObject());
}

// Allocation failure gives null; a throwing constructor frees the memory.
template <class T>
T* NewOrNull() {
    return new (std::nothrow) T();
}

}  // namespace

#define WEBSTEP_DEFINE_STEP_CREATOR(Creator, Step) \
    CWebStepCreate* Creator::CreateObject() {      \
        return NewOrNull<Creator>();               \
    }                                              \
    CWebStepData* Creator::CreateNew() {           \
        return NewOrNull<Step>();                  \
    }

WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateUrl, CWebStepUrl)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateLink, CWebStepLink)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateImage, CWebStepImage)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSubmitForm, CWebStepSubmitForm)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSubmitData, CWebStepSubmitData)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateCustomRequest, CWebStepCustomRequest)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateFind, CWebStepFind)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateImageCheck, CWebStepImageCheck)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateJavaCheck, CWebStepJavaCheck)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetProxy, CWebStepSetProxy)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetSecureProxy, CWebStepSetSecureProxy)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetUser, CWebStepSetUser)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateAddHeader, CWebStepAddHeader)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateAddAutoHeader, CWebStepAddAutoHeader)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateCleanupAutoHeaders, CWebStepCleanupAutoHeaders)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetProxyBypass, CWebStepSetProxyBypass)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetConnectionsLimit, CWebStepSetConnectionsLimit)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateEnableKeepAlive, CWebStepEnableKeepAlive)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateDisableKeepAlive, CWebStepDisableKeepAlive)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetTimeout, CWebStepSetTimeout)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateCreateHtmlParam, CWebStepCreateHtmlParam)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetMaxHtmlParamLen, CWebStepSetMaxHtmlParamLen)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateAddCookie, CWebStepAddCookie)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateRemoveCookie, CWebStepRemoveCookie)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateCleanupCookies, CWebStepCleanupCookies)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetCertificate, CWebStepSetCertificate)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateGetIntProperty, CWebStepGetIntProperty)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSaveHeader, CWebStepSaveHeader)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateCreateHtmlParamEx, CWebStepCreateHtmlParamEx)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetProxyBypassLocal, CWebStepSetProxyBypassLocal)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateCacheCleanup, CWebStepCacheCleanup)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateConcurrentStart, CWebStepConcurrentStart)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateConcurrentEnd, CWebStepConcurrentEnd)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateRegSaveParam, CWebStepRegSaveParam)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetMaxRetries, CWebStepSetMaxRetries)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetCertificateEx, CWebStepSetCertificateEx)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSetSocketsOption, CWebStepSetSocketsOption)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateRegFind, CWebStepRegFind)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateRemoveAutoHeader, CWebStepRemoveAutoHeader)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateRevertAutoHeader, CWebStepRevertAutoHeader)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSjisToEucParam, CWebStepSjisToEucParam)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateGlobalVerification, CWebStepGlobalVerification)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateRegAddCookie, CWebStepRegAddCookie)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateConvertParam, CWebStepConvertParam)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateAddCookieEx, CWebStepAddCookieEx)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateGlobalVerificationPause, CWebStepGlobalVerificationPause)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateGlobalVerificationResume, CWebStepGlobalVerificationResume)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateFlexCustomRequest, CWebStepFlexCustomRequest)
WEBSTEP_DEFINE_STEP_CREATOR(CWebCreateSilverlightCustomRequest, CWebStepSilverlightCustomRequest)

void CWebStepCreate::UpdateRepository(CObjectRepository& repository) {
    repository.RegisterObject("web_url", &RegisteredFactory<CWebCreateUrl>);
    repository.RegisterObject("web_link", &RegisteredFactory<CWebCreateLink>);
    repository.RegisterObject("web_image", &RegisteredFactory<CWebCreateImage>);
    repository.RegisterObject("web_submit_form", &RegisteredFactory<CWebCreateSubmitForm>);
    repository.RegisterObject("web_submit_data", &RegisteredFactory<CWebCreateSubmitData>);
    repository.RegisterObject("web_custom_request", &RegisteredFactory<CWebCreateCustomRequest>);
    repository.RegisterObject("web_find", &RegisteredFactory<CWebCreateFind>);
    repository.RegisterObject("web_image_check", &RegisteredFactory<CWebCreateImageCheck>);
    repository.RegisterObject("web_java_check", &RegisteredFactory<CWebCreateJavaCheck>);
    repository.RegisterObject("web_set_proxy", &RegisteredFactory<CWebCreateSetProxy>);
    repository.RegisterObject("web_set_secure_proxy", &RegisteredFactory<CWebCreateSetSecureProxy>);
    repository.RegisterObject("web_set_user", &RegisteredFactory<CWebCreateSetUser>);
    repository.RegisterObject("web_add_header", &RegisteredFactory<CWebCreateAddHeader>);
    repository.RegisterObject("web_add_auto_header", &RegisteredFactory<CWebCreateAddAutoHeader>);
    repository.RegisterObject("web_cleanup_auto_headers",
                              &RegisteredFactory<CWebCreateCleanupAutoHeaders>);
    repository.RegisterObject("web_set_proxy_bypass", &RegisteredFactory<CWebCreateSetProxyBypass>);
    repository.RegisterObject("web_set_connections_limit",
                              &RegisteredFactory<CWebCreateSetConnectionsLimit>);
    repository.RegisterObject("web_enable_keep_alive",
                              &RegisteredFactory<CWebCreateEnableKeepAlive>);
    repository.RegisterObject("web_disable_keep_alive",
                              &RegisteredFactory<CWebCreateDisableKeepAlive>);
    repository.RegisterObject("web_set_timeout", &RegisteredFactory<CWebCreateSetTimeout>);
    repository.RegisterObject("web_create_html_param",
                              &RegisteredFactory<CWebCreateCreateHtmlParam>);
    repository.RegisterObject("web_set_max_html_param_len",
                              &RegisteredFactory<CWebCreateSetMaxHtmlParamLen>);
    repository.RegisterObject("web_add_cookie", &RegisteredFactory<CWebCreateAddCookie>);
    repository.RegisterObject("web_remove_cookie", &RegisteredFactory<CWebCreateRemoveCookie>);
    repository.RegisterObject("web_cleanup_cookies", &RegisteredFactory<CWebCreateCleanupCookies>);
    repository.RegisterObject("web_set_certificate", &RegisteredFactory<CWebCreateSetCertificate>);
    repository.RegisterObject("web_get_int_property", &RegisteredFactory<CWebCreateGetIntProperty>);
    repository.RegisterObject("web_save_header", &RegisteredFactory<CWebCreateSaveHeader>);
    repository.RegisterObject("web_create_html_param_ex",
                              &RegisteredFactory<CWebCreateCreateHtmlParamEx>);
    repository.RegisterObject("web_set_proxy_bypass_local",
                              &RegisteredFactory<CWebCreateSetProxyBypassLocal>);
    repository.RegisterObject("web_cache_cleanup", &RegisteredFactory<CWebCreateCacheCleanup>);
    repository.RegisterObject("web_concurrent_start",
                              &RegisteredFactory<CWebCreateConcurrentStart>);
    repository.RegisterObject("web_concurrent_end", &RegisteredFactory<CWebCreateConcurrentEnd>);
    repository.RegisterObject("web_reg_save_param", &RegisteredFactory<CWebCreateRegSaveParam>);
    repository.RegisterObject("web_set_max_retries", &RegisteredFactory<CWebCreateSetMaxRetries>);
    repository.RegisterObject("web_set_certificate_ex",
                              &RegisteredFactory<CWebCreateSetCertificateEx>);
    repository.RegisterObject("web_set_sockets_option",
                              &RegisteredFactory<CWebCreateSetSocketsOption>);
    repository.RegisterObject("web_reg_find", &RegisteredFactory<CWebCreateRegFind>);
    repository.RegisterObject("web_remove_auto_header",
                              &RegisteredFactory<CWebCreateRemoveAutoHeader>);
    repository.RegisterObject("web_revert_auto_header",
                              &RegisteredFactory<CWebCreateRevertAutoHeader>);
    repository.RegisterObject("web_sjis_to_euc_param",
                              &RegisteredFactory<CWebCreateSjisToEucParam>);
    repository.RegisterObject("web_global_verification",
                              &RegisteredFactory<CWebCreateGlobalVerification>);
    repository.RegisterObject("web_reg_add_cookie", &RegisteredFactory<CWebCreateRegAddCookie>);
    repository.RegisterObject("web_convert_param", &RegisteredFactory<CWebCreateConvertParam>);
    repository.RegisterObject("web_add_cookie_ex", &RegisteredFactory<CWebCreateAddCookieEx>);
    repository.RegisterObject("web_global_verification_pause",
                              &RegisteredFactory<CWebCreateGlobalVerificationPause>);
    repository.RegisterObject("web_global_verification_resume",
                              &RegisteredFactory<CWebCreateGlobalVerificationResume>);
    repository.RegisterObject("flex_web_request", &RegisteredFactory<CWebCreateFlexCustomRequest>);
    repository.RegisterObject("silverlight_web_request",
                              &RegisteredFactory<CWebCreateSilverlightCustomRequest>);
}
