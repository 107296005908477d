#include "webstep/steps/WebStepRegFind.h"

CWebStepRegFind::CWebStepRegFind()
    : m_TextFlags(RFF_NONE), m_TextPfxFlags(RFF_NONE), m_TextSfxFlags(RFF_NONE) {}

CWebStepRegFind::CWebStepRegFind(const CWebStepRegFind& other) = default;

CWebStepRegFind& CWebStepRegFind::operator=(const CWebStepRegFind& other) {
    if (this != &other) {
        CWebStepWithAttributes::operator=(other);
        m_TextFlags = other.m_TextFlags;
        m_TextPfxFlags = other.m_TextPfxFlags;
        m_TextSfxFlags = other.m_TextSfxFlags;
        m_Scratch = other.m_Scratch;
    }
    return *this;
}

CWebStepRegFind::~CWebStepRegFind() = default;

MString CWebStepRegFind::TextName(const char* base, RegFindFlags flags) {
    return webstep::steps::AttributeNameWithFlags(base, flags, 63);
}

const MString& CWebStepRegFind::GetText() const {
    return GetAttributeValue(TextName("Text", m_TextFlags).c_str(), m_Scratch);
}
void CWebStepRegFind::SetText(const char* text) {
    SetAttributeValue(TextName("Text", m_TextFlags).c_str(), text);
}
const MString& CWebStepRegFind::GetTextPfx() const {
    return GetAttributeValue(TextName("TextPfx", m_TextPfxFlags).c_str(), m_Scratch);
}
void CWebStepRegFind::SetTextPfx(const char* text) {
    SetAttributeValue(TextName("TextPfx", m_TextPfxFlags).c_str(), text);
}
const MString& CWebStepRegFind::GetTextSfx() const {
    return GetAttributeValue(TextName("TextSfx", m_TextSfxFlags).c_str(), m_Scratch);
}
void CWebStepRegFind::SetTextSfx(const char* text) {
    SetAttributeValue(TextName("TextSfx", m_TextSfxFlags).c_str(), text);
}
const MString& CWebStepRegFind::GetSearchScope() const {
    return GetAttributeValue("Search", m_Scratch);
}
void CWebStepRegFind::SetSearchScope(const char* text) {
    SetAttributeValue("Search", text);
}
const MString& CWebStepRegFind::GetFail() const {
    return GetAttributeValue("Fail", m_Scratch);
}
void CWebStepRegFind::SetFail(const char* text) {
    SetAttributeValue("Fail", text);
}
const MString& CWebStepRegFind::GetSaveCount() const {
    return GetAttributeValue("SaveCount", m_Scratch);
}
void CWebStepRegFind::SetSaveCount(const char* text) {
    SetAttributeValue("SaveCount", text);
}
