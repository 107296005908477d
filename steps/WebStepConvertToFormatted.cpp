#include "webstep/steps/WebStepConvertToFormatted.h"

CWebStepConvertToFormatted::~CWebStepConvertToFormatted() = default;
CWebStepConvertFromFormatted::~CWebStepConvertFromFormatted() = default;
