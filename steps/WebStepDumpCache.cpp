#include "webstep/steps/WebStepDumpCache.h"

#include "webstep/steps/StepText.h"

CWebStepDumpCache::~CWebStepDumpCache() = default;

void CWebStepDumpCache::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}

CWebStepLoadCache::~CWebStepLoadCache() = default;

void CWebStepLoadCache::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}

CWebStepRegCrossStepDownload::~CWebStepRegCrossStepDownload() = default;
