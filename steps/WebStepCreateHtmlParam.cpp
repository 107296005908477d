#include "webstep/steps/WebStepCreateHtmlParam.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepCreateHtmlParam::CWebStepCreateHtmlParam() = default;
CWebStepCreateHtmlParam::CWebStepCreateHtmlParam(const CWebStepCreateHtmlParam& other) = default;
CWebStepCreateHtmlParam& CWebStepCreateHtmlParam::operator=(const CWebStepCreateHtmlParam& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Name = other.m_Name;
        m_Left = other.m_Left;
        m_Right = other.m_Right;
    }
    return *this;
}
CWebStepCreateHtmlParam::~CWebStepCreateHtmlParam() = default;
void CWebStepCreateHtmlParam::SetName(const char* text) {
    AssignText(m_Name, text);
}
void CWebStepCreateHtmlParam::SetLeft(const char* text) {
    AssignText(m_Left, text);
}
void CWebStepCreateHtmlParam::SetRight(const char* text) {
    AssignText(m_Right, text);
}

CWebStepCreateHtmlParamEx::CWebStepCreateHtmlParamEx() : m_Instance(0) {}
CWebStepCreateHtmlParamEx::CWebStepCreateHtmlParamEx(const CWebStepCreateHtmlParamEx& other) =
    default;
CWebStepCreateHtmlParamEx& CWebStepCreateHtmlParamEx::operator=(
    const CWebStepCreateHtmlParamEx& other) {
    if (this != &other) {
        CWebStepCreateHtmlParam::operator=(other);
        m_Instance = other.m_Instance;
    }
    return *this;
}
CWebStepCreateHtmlParamEx::~CWebStepCreateHtmlParamEx() = default;

CWebStepSetMaxHtmlParamLen::CWebStepSetMaxHtmlParamLen() : m_Len(0) {}
CWebStepSetMaxHtmlParamLen::CWebStepSetMaxHtmlParamLen(const CWebStepSetMaxHtmlParamLen& other) =
    default;
CWebStepSetMaxHtmlParamLen& CWebStepSetMaxHtmlParamLen::operator=(
    const CWebStepSetMaxHtmlParamLen& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Len = other.m_Len;
    }
    return *this;
}
CWebStepSetMaxHtmlParamLen::~CWebStepSetMaxHtmlParamLen() = default;

CWebStepSjisToEucParam::CWebStepSjisToEucParam() = default;
CWebStepSjisToEucParam::CWebStepSjisToEucParam(const CWebStepSjisToEucParam& other) = default;
CWebStepSjisToEucParam& CWebStepSjisToEucParam::operator=(const CWebStepSjisToEucParam& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_ParamName = other.m_ParamName;
        m_ParamValue = other.m_ParamValue;
    }
    return *this;
}
CWebStepSjisToEucParam::~CWebStepSjisToEucParam() = default;
void CWebStepSjisToEucParam::SetParamName(const char* text) {
    AssignText(m_ParamName, text);
}
void CWebStepSjisToEucParam::SetParamValue(const char* text) {
    AssignText(m_ParamValue, text);
}

CWebStepSaveParamLength::CWebStepSaveParamLength() = default;
CWebStepSaveParamLength::CWebStepSaveParamLength(const CWebStepSaveParamLength& other) = default;
CWebStepSaveParamLength& CWebStepSaveParamLength::operator=(const CWebStepSaveParamLength& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_ConversionBase = other.m_ConversionBase;
    }
    return *this;
}
CWebStepSaveParamLength::~CWebStepSaveParamLength() = default;
void CWebStepSaveParamLength::SetConversionBase(const char* text) {
    AssignText(m_ConversionBase, text);
}

CWebStepSaveHeader::CWebStepSaveHeader() : m_Option(SAVE_HEADER_NONE) {}
CWebStepSaveHeader::CWebStepSaveHeader(const CWebStepSaveHeader& other) = default;
CWebStepSaveHeader& CWebStepSaveHeader::operator=(const CWebStepSaveHeader& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Option = other.m_Option;
        m_Header = other.m_Header;
    }
    return *this;
}
CWebStepSaveHeader::~CWebStepSaveHeader() = default;
void CWebStepSaveHeader::SetHeader(const char* text) {
    AssignText(m_Header, text);
}

CWebStepGetIntProperty::CWebStepGetIntProperty() : m_HttpInfoType(HTTP_INFO_NONE) {}
CWebStepGetIntProperty::CWebStepGetIntProperty(const CWebStepGetIntProperty& other) = default;
CWebStepGetIntProperty& CWebStepGetIntProperty::operator=(const CWebStepGetIntProperty& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_HttpInfoType = other.m_HttpInfoType;
    }
    return *this;
}
CWebStepGetIntProperty::~CWebStepGetIntProperty() = default;
