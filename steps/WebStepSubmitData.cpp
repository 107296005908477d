#include "webstep/steps/WebStepSubmitData.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepSubmitData::CWebStepSubmitData()
    : m_UseEncType(false), m_EncodeAtSign(false), m_RedirectedToSubmit(false) {}

CWebStepSubmitData::CWebStepSubmitData(const CWebStepSubmitData& other) = default;

CWebStepSubmitData& CWebStepSubmitData::operator=(const CWebStepSubmitData& other) {
    // Assigning a data set to itself would delete the shared items.
    if (this != &other) {
        CWebContextlessStep::operator=(other);
        m_Action = other.m_Action;
        m_Method = other.m_Method;
        m_EncType = other.m_EncType;
        m_ContentEncoding = other.m_ContentEncoding;
        m_DataSet = other.m_DataSet;
        m_UseEncType = other.m_UseEncType;
        m_EncodeAtSign = other.m_EncodeAtSign;
        m_RedirectedToSubmit = other.m_RedirectedToSubmit;
    }
    return *this;
}

CWebStepSubmitData::~CWebStepSubmitData() = default;

void CWebStepSubmitData::SetAction(const char* text) {
    AssignText(m_Action, text);
}
void CWebStepSubmitData::SetMethod(const char* text) {
    AssignText(m_Method, text);
}
void CWebStepSubmitData::SetEncType(const char* text) {
    AssignText(m_EncType, text);
}
void CWebStepSubmitData::SetContentEncoding(const char* text) {
    AssignText(m_ContentEncoding, text);
}
