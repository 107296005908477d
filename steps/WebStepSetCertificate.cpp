#include "webstep/steps/WebStepSetCertificate.h"

CWebStepSetCertificate::CWebStepSetCertificate() : m_Index(0) {}
CWebStepSetCertificate::CWebStepSetCertificate(const CWebStepSetCertificate& other) = default;
CWebStepSetCertificate& CWebStepSetCertificate::operator=(const CWebStepSetCertificate& other) {
    CWebStepData::operator=(other);
    m_Index = other.m_Index;
    return *this;
}
CWebStepSetCertificate::~CWebStepSetCertificate() = default;

CWebStepSetCertificateEx::CWebStepSetCertificateEx() = default;
CWebStepSetCertificateEx::CWebStepSetCertificateEx(const CWebStepSetCertificateEx& other) = default;
CWebStepSetCertificateEx& CWebStepSetCertificateEx::operator=(
    const CWebStepSetCertificateEx& other) {
    if (this != &other) {
        CWebStepWithAttributes::operator=(other);
        m_Scratch = other.m_Scratch;
    }
    return *this;
}
CWebStepSetCertificateEx::~CWebStepSetCertificateEx() = default;

const MString& CWebStepSetCertificateEx::GetCertFilePath() const {
    return GetAttributeValue("CertFilePath", m_Scratch);
}
void CWebStepSetCertificateEx::SetCertFilePath(const char* text) {
    SetAttributeValue("CertFilePath", text);
}
const MString& CWebStepSetCertificateEx::GetCertFormat() const {
    return GetAttributeValue("CertFormat", m_Scratch);
}
void CWebStepSetCertificateEx::SetCertFormat(const char* text) {
    SetAttributeValue("CertFormat", text);
}
const MString& CWebStepSetCertificateEx::GetCertIndex() const {
    return GetAttributeValue("CertIndex", m_Scratch);
}
void CWebStepSetCertificateEx::SetCertIndex(const char* text) {
    SetAttributeValue("CertIndex", text);
}
const MString& CWebStepSetCertificateEx::GetKeyFilePath() const {
    return GetAttributeValue("KeyFilePath", m_Scratch);
}
void CWebStepSetCertificateEx::SetKeyFilePath(const char* text) {
    SetAttributeValue("KeyFilePath", text);
}
const MString& CWebStepSetCertificateEx::GetKeyFormat() const {
    return GetAttributeValue("KeyFormat", m_Scratch);
}
void CWebStepSetCertificateEx::SetKeyFormat(const char* text) {
    SetAttributeValue("KeyFormat", text);
}
const MString& CWebStepSetCertificateEx::GetPassword() const {
    return GetAttributeValue("Password", m_Scratch);
}
void CWebStepSetCertificateEx::SetPassword(const char* text) {
    SetAttributeValue("Password", text);
}
