#include "webstep/steps/WebStepRegSaveParamEx.h"

#include "webstep/steps/StepText.h"

CWebStepSaveParamRule::~CWebStepSaveParamRule() = default;

void CWebStepSaveParamRule::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}

const MString& CWebStepSaveParamRule::GetSearchFilter(const char* name) const {
    m_Scratch.clear();
    m_SearchFilters.GetAttribute(name, m_Scratch);
    return m_Scratch;
}

CWebStepRegSaveParamEx::~CWebStepRegSaveParamEx() = default;
CWebStepRegSaveParamRegexp::~CWebStepRegSaveParamRegexp() = default;
CWebStepRegSaveParamJson::~CWebStepRegSaveParamJson() = default;
CWebStepRegSaveParamXpath::~CWebStepRegSaveParamXpath() = default;
CWebStepRegSaveParamAttrib::~CWebStepRegSaveParamAttrib() = default;
