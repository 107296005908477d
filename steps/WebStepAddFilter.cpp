#include "webstep/steps/WebStepAddFilter.h"

#include "webstep/steps/StepText.h"

CWebStepAddFilter::~CWebStepAddFilter() = default;

void CWebStepAddFilter::SetCriterion(const char* name, const char* value) {
    webstep::steps::AssignText(m_Criterion, name);
    webstep::steps::AssignText(m_CriterionValue, value);
}

CWebStepAddAutoFilter::~CWebStepAddAutoFilter() = default;
CWebStepRemoveAutoFilter::~CWebStepRemoveAutoFilter() = default;
