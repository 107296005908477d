#include "webstep/steps/WebStepCodeC.h"

CWebStepCodeC::CWebStepCodeC() : m_Location(CODEC_NONE) {}
CWebStepCodeC::CWebStepCodeC(const CWebStepCodeC& other) = default;
CWebStepCodeC& CWebStepCodeC::operator=(const CWebStepCodeC& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Code = other.m_Code;
        m_Location = other.m_Location;
    }
    return *this;
}
CWebStepCodeC::~CWebStepCodeC() = default;

CQzStepSaveInt::CQzStepSaveInt() = default;
CQzStepSaveInt::CQzStepSaveInt(const CQzStepSaveInt& other) = default;
CQzStepSaveInt& CQzStepSaveInt::operator=(const CQzStepSaveInt& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_ParamName = other.m_ParamName;
        m_Expression = other.m_Expression;
    }
    return *this;
}
CQzStepSaveInt::~CQzStepSaveInt() = default;
