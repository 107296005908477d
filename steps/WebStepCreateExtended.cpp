// The creators of the functions that current script versions call beyond
// the 49 of UpdateRepository (the EXTENDED rows of StepFunctions.def).
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

#define WEBSTEP_DEFINE_STANDARD(function, Creator, Step)
#define WEBSTEP_DEFINE_EXTENDED(function, Creator, Step) \
    CWebStepCreate* Creator::CreateObject() {            \
        return new (std::nothrow) Creator();             \
    }                                                    \
    CWebStepData* Creator::CreateNew() {                 \
        return new (std::nothrow) Step();                \
    }
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_DEFINE_##set(function, Creator, Step)
#include "webstep/script/StepFunctions.def"
#undef WEBSTEP_DEFINE_STANDARD
#undef WEBSTEP_DEFINE_EXTENDED

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

#define WEBSTEP_ROW_STANDARD(function, Creator)
#define WEBSTEP_ROW_EXTENDED(function, Creator) {#function, ExtendedFactory<Creator>},
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_ROW_##set(function, Creator)
constexpr ExtendedCreator kExtendedCreators[] = {
#include "webstep/script/StepFunctions.def"
};
#undef WEBSTEP_ROW_STANDARD
#undef WEBSTEP_ROW_EXTENDED

}  // namespace

void CWebStepCreate::UpdateRepositoryExtended(CObjectRepository& repository) {
    for (const ExtendedCreator& creator : kExtendedCreators) {
        repository.RegisterObject(creator.name, creator.factory);
    }
}
