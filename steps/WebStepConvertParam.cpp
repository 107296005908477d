#include "webstep/steps/WebStepConvertParam.h"

#include "webstep/steps/StepText.h"

CWebStepConvertParam::CWebStepConvertParam() = default;
CWebStepConvertParam::CWebStepConvertParam(const CWebStepConvertParam& other) = default;
CWebStepConvertParam& CWebStepConvertParam::operator=(const CWebStepConvertParam& other) {
    if (this != &other) {
        CWebStepWithAttributes::operator=(other);
        m_ParamName = other.m_ParamName;
        m_Scratch = other.m_Scratch;
    }
    return *this;
}
CWebStepConvertParam::~CWebStepConvertParam() = default;

void CWebStepConvertParam::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}
const MString& CWebStepConvertParam::GetSourceString() const {
    return GetAttributeValue("SourceString", m_Scratch);
}
void CWebStepConvertParam::SetSourceString(const char* text) {
    SetAttributeValue("SourceString", text);
}
const MString& CWebStepConvertParam::GetSourceEncoding() const {
    return GetAttributeValue("SourceEncoding", m_Scratch);
}
void CWebStepConvertParam::SetSourceEncoding(const char* text) {
    SetAttributeValue("SourceEncoding", text);
}
const MString& CWebStepConvertParam::GetTargetEncoding() const {
    return GetAttributeValue("TargetEncoding", m_Scratch);
}
void CWebStepConvertParam::SetTargetEncoding(const char* text) {
    SetAttributeValue("TargetEncoding", text);
}

CWebStepConvertDateParam::CWebStepConvertDateParam() = default;
CWebStepConvertDateParam::CWebStepConvertDateParam(const CWebStepConvertDateParam& other) = default;
CWebStepConvertDateParam& CWebStepConvertDateParam::operator=(
    const CWebStepConvertDateParam& other) {
    if (this != &other) {
        CWebStepWithAttributes::operator=(other);
        m_ParamName = other.m_ParamName;
        m_Scratch = other.m_Scratch;
    }
    return *this;
}
CWebStepConvertDateParam::~CWebStepConvertDateParam() = default;

void CWebStepConvertDateParam::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}
const MString& CWebStepConvertDateParam::GetSourceFormat() const {
    return GetAttributeValue("SourceFormat", m_Scratch);
}
void CWebStepConvertDateParam::SetSourceFormat(const char* text) {
    SetAttributeValue("SourceFormat", text);
}
const MString& CWebStepConvertDateParam::GetTargetFormat() const {
    return GetAttributeValue("TargetFormat", m_Scratch);
}
void CWebStepConvertDateParam::SetTargetFormat(const char* text) {
    SetAttributeValue("TargetFormat", text);
}
const MString& CWebStepConvertDateParam::GetTargetParameterName() const {
    return GetAttributeValue("TargetParameter", m_Scratch);
}
void CWebStepConvertDateParam::SetTargetParameterName(const char* text) {
    SetAttributeValue("TargetParameter", text);
}
