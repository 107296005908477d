#include "webstep/steps/WebStepError.h"

#include "webstep/resources/StringTable.h"

CWebStepError::CWebStepError() : m_Code(0) {}

CWebStepError::CWebStepError(unsigned int code, const CAttributeSet& attributes)
    : m_Code(code), m_Attributes(attributes) {}

CWebStepError::CWebStepError(const CWebStepError& other)
    : m_Code(other.m_Code), m_Attributes(other.m_Attributes) {}

CWebStepError& CWebStepError::operator=(const CWebStepError& other) {
    if (this != &other) {
        m_Code = other.m_Code;
        m_Attributes = other.m_Attributes;
    }
    return *this;
}

CWebStepError::~CWebStepError() = default;

const CWebStepErrMsg::ErrMsgMapEntry CWebStepErrMsg::m_MessageTable[16] = {
    {1000, 22}, {1001, 23}, {1002, 24}, {1003, 25}, {1004, 26}, {1006, 27}, {1005, 28}, {1007, 29},
    {1008, 30}, {1009, 31}, {1010, 32}, {1011, 33}, {1012, 34}, {1013, 35}, {1014, 36}, {1015, 37},
};

unsigned int CWebStepErrMsg::GetMessageStringID(unsigned int code) {
    // The scan counter is 8 bits wide, which is enough for the sixteen entries.
    for (std::uint8_t i = 0; i < 16; ++i) {
        if (m_MessageTable[i].code == code) {
            return m_MessageTable[i].resourceId;
        }
    }
    return 0;
}

bool CWebStepErrMsg::GetMessageString(unsigned int code, char* buffer, unsigned long size) {
    const unsigned int id = GetMessageStringID(code);
    return webstep::resources::LoadStringA(id, buffer, size) != 0;
}

const char* CWebStepErrMsg::GetEnglishMessage(unsigned int code) {
    return webstep::resources::FindEnglishString(GetMessageStringID(code));
}
