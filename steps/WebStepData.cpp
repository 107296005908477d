#include "webstep/steps/WebStepData.h"

CWebStepData::CWebStepData() : m_EscapeingString(false) {}

CWebStepData::CWebStepData(const CWebStepData& other)
    : m_EscapeingString(other.m_EscapeingString) {}

CWebStepData& CWebStepData::operator=(const CWebStepData& other) {
    m_EscapeingString = other.m_EscapeingString;
    return *this;
}

CWebStepData::~CWebStepData() = default;
