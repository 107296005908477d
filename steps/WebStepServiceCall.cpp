#include "webstep/steps/WebStepServiceCall.h"

CWebStepServiceCall::~CWebStepServiceCall() = default;
