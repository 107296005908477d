#include "webstep/steps/WebStepGlobalVerification.h"

CWebStepGlobalVerification::CWebStepGlobalVerification()
    : m_TextFlags(GVF_NONE), m_TextPfxFlags(GVF_NONE), m_TextSfxFlags(GVF_NONE) {}

CWebStepGlobalVerification::CWebStepGlobalVerification(const CWebStepGlobalVerification& other) =
    default;

CWebStepGlobalVerification& CWebStepGlobalVerification::operator=(
    const CWebStepGlobalVerification& other) {
    if (this != &other) {
        CWebStepWithAttributes::operator=(other);
        m_TextFlags = other.m_TextFlags;
        m_TextPfxFlags = other.m_TextPfxFlags;
        m_TextSfxFlags = other.m_TextSfxFlags;
        m_Scratch = other.m_Scratch;
    }
    return *this;
}

CWebStepGlobalVerification::~CWebStepGlobalVerification() = default;

MString CWebStepGlobalVerification::TextName(const char* base, GlobalVerificationFlags flags) {
    // Only "/IC" and "/BIN" exist for this step.
    return webstep::steps::AttributeNameWithFlags(base, flags, GVF_IGNORE_CASE | GVF_BINARY);
}

const MString& CWebStepGlobalVerification::GetText() const {
    return GetAttributeValue(TextName("Text", m_TextFlags).c_str(), m_Scratch);
}
void CWebStepGlobalVerification::SetText(const char* text) {
    SetAttributeValue(TextName("Text", m_TextFlags).c_str(), text);
}
const MString& CWebStepGlobalVerification::GetTextPfx() const {
    return GetAttributeValue(TextName("TextPfx", m_TextPfxFlags).c_str(), m_Scratch);
}
void CWebStepGlobalVerification::SetTextPfx(const char* text) {
    SetAttributeValue(TextName("TextPfx", m_TextPfxFlags).c_str(), text);
}
const MString& CWebStepGlobalVerification::GetTextSfx() const {
    return GetAttributeValue(TextName("TextSfx", m_TextSfxFlags).c_str(), m_Scratch);
}
void CWebStepGlobalVerification::SetTextSfx(const char* text) {
    SetAttributeValue(TextName("TextSfx", m_TextSfxFlags).c_str(), text);
}
const MString& CWebStepGlobalVerification::GetSearchScope() const {
    return GetAttributeValue("Search", m_Scratch);
}
void CWebStepGlobalVerification::SetSearchScope(const char* text) {
    SetAttributeValue("Search", text);
}
const MString& CWebStepGlobalVerification::GetFailIf() const {
    return GetAttributeValue("Fail", m_Scratch);
}
void CWebStepGlobalVerification::SetFailIf(const char* text) {
    SetAttributeValue("Fail", text);
}

CWebStepGlobalVerificationPauseResumeBase::CWebStepGlobalVerificationPauseResumeBase() = default;
CWebStepGlobalVerificationPauseResumeBase::CWebStepGlobalVerificationPauseResumeBase(
    const CWebStepGlobalVerificationPauseResumeBase& other) = default;
CWebStepGlobalVerificationPauseResumeBase& CWebStepGlobalVerificationPauseResumeBase::operator=(
    const CWebStepGlobalVerificationPauseResumeBase& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_IDs = other.m_IDs;
    }
    return *this;
}
CWebStepGlobalVerificationPauseResumeBase::~CWebStepGlobalVerificationPauseResumeBase() = default;

CWebStepGlobalVerificationPause::CWebStepGlobalVerificationPause() = default;
CWebStepGlobalVerificationPause::CWebStepGlobalVerificationPause(
    const CWebStepGlobalVerificationPause& other) = default;
CWebStepGlobalVerificationPause& CWebStepGlobalVerificationPause::operator=(
    const CWebStepGlobalVerificationPause& other) {
    CWebStepGlobalVerificationPauseResumeBase::operator=(other);
    return *this;
}
CWebStepGlobalVerificationPause::~CWebStepGlobalVerificationPause() = default;

CWebStepGlobalVerificationResume::CWebStepGlobalVerificationResume() = default;
CWebStepGlobalVerificationResume::CWebStepGlobalVerificationResume(
    const CWebStepGlobalVerificationResume& other) = default;
CWebStepGlobalVerificationResume& CWebStepGlobalVerificationResume::operator=(
    const CWebStepGlobalVerificationResume& other) {
    CWebStepGlobalVerificationPauseResumeBase::operator=(other);
    return *this;
}
CWebStepGlobalVerificationResume::~CWebStepGlobalVerificationResume() = default;
