#include "webstep/steps/WebStepRegAsyncAttributes.h"

CWebStepRegAsyncAttributes::~CWebStepRegAsyncAttributes() = default;
CWebStepStopAsync::~CWebStepStopAsync() = default;
CWebStepSync::~CWebStepSync() = default;
