#include "webstep/steps/WebStepSaveTimestampParam.h"

#include "webstep/steps/StepText.h"

CWebStepSaveTimestampParam::~CWebStepSaveTimestampParam() = default;

void CWebStepSaveTimestampParam::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}

CWebStepSaveParamLengthEx::~CWebStepSaveParamLengthEx() = default;

void CWebStepSaveParamLengthEx::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}
