// The registration of every parser under its script function name.
#include "webstep/script/WebParsers.h"

void CWebStepParse::UpdateRepository(CObjectRepository& repository) {
#define WEBSTEP_REGISTER_STANDARD(function, Parser) \
    repository.RegisterObject(#function, Parser::CreateObject);
#define WEBSTEP_REGISTER_EXTENDED(function, Parser)
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_REGISTER_##set(function, Parser)
#include "webstep/script/StepFunctions.def"
#undef WEBSTEP_REGISTER_STANDARD
#undef WEBSTEP_REGISTER_EXTENDED
}
