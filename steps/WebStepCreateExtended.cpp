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

// Script function name, creator, step class: one row per function, in
// registration order.
#define WEBSTEP_EXTENDED_CREATORS(X)                                                               \
    X("web_reg_save_param_ex", CWebCreateRegSaveParamEx, CWebStepRegSaveParamEx)                   \
    X("web_reg_save_param_regexp", CWebCreateRegSaveParamRegexp, CWebStepRegSaveParamRegexp)       \
    X("web_reg_save_param_json", CWebCreateRegSaveParamJson, CWebStepRegSaveParamJson)             \
    X("web_reg_save_param_xpath", CWebCreateRegSaveParamXpath, CWebStepRegSaveParamXpath)          \
    X("web_reg_save_param_attrib", CWebCreateRegSaveParamAttrib, CWebStepRegSaveParamAttrib)       \
    X("web_rest", CWebCreateRest, CWebStepRest)                                                    \
    X("web_save_timestamp_param", CWebCreateSaveTimestampParam, CWebStepSaveTimestampParam)        \
    X("web_save_param_length", CWebCreateSaveParamLength, CWebStepSaveParamLengthEx)               \
    X("web_convert_date_param", CWebCreateConvertDateParam, CWebStepConvertDateParam)              \
    X("web_reg_async_attributes", CWebCreateRegAsyncAttributes, CWebStepRegAsyncAttributes)        \
    X("web_stop_async", CWebCreateStopAsync, CWebStepStopAsync)                                    \
    X("web_sync", CWebCreateSync, CWebStepSync)                                                    \
    X("web_js_run", CWebCreateJsRun, CWebStepJsRun)                                                \
    X("web_js_reset", CWebCreateJsReset, CWebStepJsReset)                                          \
    X("web_add_filter", CWebCreateAddFilter, CWebStepAddFilter)                                    \
    X("web_add_auto_filter", CWebCreateAddAutoFilter, CWebStepAddAutoFilter)                       \
    X("web_remove_auto_filter", CWebCreateRemoveAutoFilter, CWebStepRemoveAutoFilter)              \
    X("web_set_rts_key", CWebCreateSetRtsKey, CWebStepSetRtsKey)                                   \
    X("web_convert_to_formatted", CWebCreateConvertToFormatted, CWebStepConvertToFormatted)        \
    X("web_convert_from_formatted", CWebCreateConvertFromFormatted, CWebStepConvertFromFormatted)  \
    X("web_service_call", CWebCreateServiceCall, CWebStepServiceCall)                              \
    X("web_websocket_connect", CWebCreateWebSocketConnect, CWebStepWebSocketConnect)               \
    X("web_websocket_send", CWebCreateWebSocketSend, CWebStepWebSocketSend)                        \
    X("web_websocket_close", CWebCreateWebSocketClose, CWebStepWebSocketClose)                     \
    X("web_reg_cross_step_download", CWebCreateRegCrossStepDownload, CWebStepRegCrossStepDownload) \
    X("web_dump_cache", CWebCreateDumpCache, CWebStepDumpCache)                                    \
    X("web_load_cache", CWebCreateLoadCache, CWebStepLoadCache)

#define WEBSTEP_DEFINE_EXTENDED_CREATOR(name, Creator, Step) \
    CWebStepCreate* Creator::CreateObject() {                \
        return new (std::nothrow) Creator();                 \
    }                                                        \
    CWebStepData* Creator::CreateNew() {                     \
        return new (std::nothrow) Step();                    \
    }

WEBSTEP_EXTENDED_CREATORS(WEBSTEP_DEFINE_EXTENDED_CREATOR)

#undef WEBSTEP_DEFINE_EXTENDED_CREATOR

namespace {

// The registry stores factories returning void*; the object behind it is
// always a CWebStepCreate*.
template <class Creator>
void* ExtendedFactory() {
    return static_cast<CWebStepCreate*>(Creator::CreateObject());
}

struct ExtendedCreator {
    const char* name;
    void* (*factory)();
};

#define WEBSTEP_EXTENDED_CREATOR_ROW(name, Creator, Step) {name, ExtendedFactory<Creator>},
constexpr ExtendedCreator kExtendedCreators[] = {
    WEBSTEP_EXTENDED_CREATORS(WEBSTEP_EXTENDED_CREATOR_ROW)};
#undef WEBSTEP_EXTENDED_CREATOR_ROW

}  // namespace

#undef WEBSTEP_EXTENDED_CREATORS

void CWebStepCreate::UpdateRepositoryExtended(CObjectRepository& repository) {
    for (const ExtendedCreator& creator : kExtendedCreators) {
        repository.RegisterObject(creator.name, creator.factory);
    }
}
