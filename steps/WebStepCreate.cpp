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

#define WEBSTEP_CREATOR_STANDARD(Creator, Step) WEBSTEP_DEFINE_STEP_CREATOR(Creator, Step)
#define WEBSTEP_CREATOR_EXTENDED(Creator, Step)
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_CREATOR_##set(Creator, Step)
#include "webstep/script/StepFunctions.def"
#undef WEBSTEP_CREATOR_STANDARD
#undef WEBSTEP_CREATOR_EXTENDED

void CWebStepCreate::UpdateRepository(CObjectRepository& repository) {
#define WEBSTEP_REGISTER_STANDARD(function, Creator) \
    repository.RegisterObject(#function, &RegisteredFactory<Creator>);
#define WEBSTEP_REGISTER_EXTENDED(function, Creator)
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_REGISTER_##set(function, Creator)
#include "webstep/script/StepFunctions.def"
#undef WEBSTEP_REGISTER_STANDARD
#undef WEBSTEP_REGISTER_EXTENDED
}
