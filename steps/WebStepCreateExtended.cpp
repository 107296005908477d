// The creators of the functions that current script versions call beyond
// the 49 of UpdateRepository.
#include <new>

#include "webstep/steps/WebStepAddFilter.h"
#include "webstep/steps/WebStepConvertParam.h"
#include "webstep/steps/WebStepConvertToFormatted.h"
#include "webstep/steps/WebStepCreate.h"
#include "webstep/steps/WebStepDumpCache.h"
#include "webstep/steps/WebStepJsRun.h"
#include "webstep/steps/WebStepRegAsyncAttributes.h"
#include "webstep/steps/WebStepRegSaveParamEx.h"
#include "webstep/steps/WebStepRest.h"
#include "webstep/steps/WebStepSaveTimestampParam.h"
#include "webstep/steps/WebStepServiceCall.h"
#include "webstep/steps/WebStepSetRtsKey.h"
#include "webstep/steps/WebStepWebSocketConnect.h"

namespace {

// The registry stores factories returning void*; the object behind it is
// always a CWebStepCreate*.
template <class Creator>
void* ExtendedFactory() {
    return static_cast<CWebStepCreate*>(Creator::CreateObject());
}

}  // namespace

#define WEBSTEP_DEFINE_EXTENDED_CREATOR(Creator, Step) \
    CWebStepCreate* Creator::CreateObject() {          \
        return new (std::nothrow) Creator();           \
    }                                                  \
    CWebStepData* Creator::CreateNew() {               \
        return new (std::nothrow) Step();              \
    }

WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRegSaveParamEx, CWebStepRegSaveParamEx)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRegSaveParamRegexp, CWebStepRegSaveParamRegexp)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRegSaveParamJson, CWebStepRegSaveParamJson)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRegSaveParamXpath, CWebStepRegSaveParamXpath)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRegSaveParamAttrib, CWebStepRegSaveParamAttrib)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRest, CWebStepRest)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateSaveTimestampParam, CWebStepSaveTimestampParam)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateSaveParamLength, CWebStepSaveParamLengthEx)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateConvertDateParam, CWebStepConvertDateParam)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRegAsyncAttributes, CWebStepRegAsyncAttributes)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateStopAsync, CWebStepStopAsync)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateSync, CWebStepSync)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateJsRun, CWebStepJsRun)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateJsReset, CWebStepJsReset)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateAddFilter, CWebStepAddFilter)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateAddAutoFilter, CWebStepAddAutoFilter)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRemoveAutoFilter, CWebStepRemoveAutoFilter)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateSetRtsKey, CWebStepSetRtsKey)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateConvertToFormatted, CWebStepConvertToFormatted)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateConvertFromFormatted, CWebStepConvertFromFormatted)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateServiceCall, CWebStepServiceCall)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateWebSocketConnect, CWebStepWebSocketConnect)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateWebSocketSend, CWebStepWebSocketSend)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateWebSocketClose, CWebStepWebSocketClose)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateRegCrossStepDownload, CWebStepRegCrossStepDownload)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateDumpCache, CWebStepDumpCache)
WEBSTEP_DEFINE_EXTENDED_CREATOR(CWebCreateLoadCache, CWebStepLoadCache)

#undef WEBSTEP_DEFINE_EXTENDED_CREATOR

void CWebStepCreate::UpdateRepositoryExtended(CObjectRepository& repository) {
    repository.RegisterObject("web_reg_save_param_ex", ExtendedFactory<CWebCreateRegSaveParamEx>);
    repository.RegisterObject("web_reg_save_param_regexp",
                              ExtendedFactory<CWebCreateRegSaveParamRegexp>);
    repository.RegisterObject("web_reg_save_param_json",
                              ExtendedFactory<CWebCreateRegSaveParamJson>);
    repository.RegisterObject("web_reg_save_param_xpath",
                              ExtendedFactory<CWebCreateRegSaveParamXpath>);
    repository.RegisterObject("web_reg_save_param_attrib",
                              ExtendedFactory<CWebCreateRegSaveParamAttrib>);
    repository.RegisterObject("web_rest", ExtendedFactory<CWebCreateRest>);
    repository.RegisterObject("web_save_timestamp_param",
                              ExtendedFactory<CWebCreateSaveTimestampParam>);
    repository.RegisterObject("web_save_param_length", ExtendedFactory<CWebCreateSaveParamLength>);
    repository.RegisterObject("web_convert_date_param",
                              ExtendedFactory<CWebCreateConvertDateParam>);
    repository.RegisterObject("web_reg_async_attributes",
                              ExtendedFactory<CWebCreateRegAsyncAttributes>);
    repository.RegisterObject("web_stop_async", ExtendedFactory<CWebCreateStopAsync>);
    repository.RegisterObject("web_sync", ExtendedFactory<CWebCreateSync>);
    repository.RegisterObject("web_js_run", ExtendedFactory<CWebCreateJsRun>);
    repository.RegisterObject("web_js_reset", ExtendedFactory<CWebCreateJsReset>);
    repository.RegisterObject("web_add_filter", ExtendedFactory<CWebCreateAddFilter>);
    repository.RegisterObject("web_add_auto_filter", ExtendedFactory<CWebCreateAddAutoFilter>);
    repository.RegisterObject("web_remove_auto_filter",
                              ExtendedFactory<CWebCreateRemoveAutoFilter>);
    repository.RegisterObject("web_set_rts_key", ExtendedFactory<CWebCreateSetRtsKey>);
    repository.RegisterObject("web_convert_to_formatted",
                              ExtendedFactory<CWebCreateConvertToFormatted>);
    repository.RegisterObject("web_convert_from_formatted",
                              ExtendedFactory<CWebCreateConvertFromFormatted>);
    repository.RegisterObject("web_service_call", ExtendedFactory<CWebCreateServiceCall>);
    repository.RegisterObject("web_websocket_connect", ExtendedFactory<CWebCreateWebSocketConnect>);
    repository.RegisterObject("web_websocket_send", ExtendedFactory<CWebCreateWebSocketSend>);
    repository.RegisterObject("web_websocket_close", ExtendedFactory<CWebCreateWebSocketClose>);
    repository.RegisterObject("web_reg_cross_step_download",
                              ExtendedFactory<CWebCreateRegCrossStepDownload>);
    repository.RegisterObject("web_dump_cache", ExtendedFactory<CWebCreateDumpCache>);
    repository.RegisterObject("web_load_cache", ExtendedFactory<CWebCreateLoadCache>);
}
