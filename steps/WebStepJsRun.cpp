#include "webstep/steps/WebStepJsRun.h"

CWebStepJsRun::~CWebStepJsRun() = default;

void CWebStepJsRun::AddSource(const char* file) {
    m_Sources.emplace_back(file ? file : "");
}

CWebStepJsReset::~CWebStepJsReset() = default;
