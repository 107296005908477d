#include "webstep/steps/WebStepRest.h"

CWebStepRest::~CWebStepRest() = default;

void CWebStepRest::AddHeader(const char* name, const char* value) {
    m_Headers.emplace_back(name ? name : "", value ? value : "");
}
