#include "webstep/steps/WebStepRegSaveParam.h"

#include <string>

namespace {
constexpr unsigned int kAllBoundFlags = 63;
}

CWebStepRegSaveParam::CWebStepRegSaveParam()
    : m_LeftBoundFlags(RSPF_NONE), m_RightBoundFlags(RSPF_NONE) {}

CWebStepRegSaveParam::CWebStepRegSaveParam(const CWebStepRegSaveParam& other) = default;

CWebStepRegSaveParam& CWebStepRegSaveParam::operator=(const CWebStepRegSaveParam& other) {
    if (this != &other) {
        CWebStepWithAttributes::operator=(other);
        m_ParamName = other.m_ParamName;
        m_LeftBoundFlags = other.m_LeftBoundFlags;
        m_RightBoundFlags = other.m_RightBoundFlags;
        m_Scratch = other.m_Scratch;
    }
    return *this;
}

CWebStepRegSaveParam::~CWebStepRegSaveParam() = default;

void CWebStepRegSaveParam::SetParamName(const char* name) {
    webstep::steps::AssignText(m_ParamName, name);
}

MString CWebStepRegSaveParam::LeftBoundName(RegSaveParamFlags flags) {
    return webstep::steps::AttributeNameWithFlags("LB", flags, kAllBoundFlags);
}

MString CWebStepRegSaveParam::RightBoundName(RegSaveParamFlags flags) {
    return webstep::steps::AttributeNameWithFlags("RB", flags, kAllBoundFlags);
}

const MString& CWebStepRegSaveParam::GetInstance() const {
    return GetAttributeValue("Ord", m_Scratch);
}

void CWebStepRegSaveParam::SetInstance(int instance) {
    const std::string text = instance > 0 ? std::to_string(instance) : std::string("1");
    SetAttributeValue("Ord", text.c_str());
}

void CWebStepRegSaveParam::SetInstance(const char* text) {
    SetAttributeValue("Ord", text);
}

const MString& CWebStepRegSaveParam::GetNotFound() const {
    return GetAttributeValue("NotFound", m_Scratch);
}

void CWebStepRegSaveParam::SetNotFound(const char* text) {
    SetAttributeValue("NotFound", text);
}

const MString& CWebStepRegSaveParam::GetSearchScope() const {
    return GetAttributeValue("Search", m_Scratch);
}

void CWebStepRegSaveParam::SetSearchScope(const char* text) {
    SetAttributeValue("Search", text);
}

const MString& CWebStepRegSaveParam::GetRelativeFrameId() const {
    return GetAttributeValue("RelFrameId", m_Scratch);
}

void CWebStepRegSaveParam::SetRelativeFrameId(const char* text) {
    SetAttributeValue("RelFrameId", text);
}

const MString& CWebStepRegSaveParam::GetSaveOffset() const {
    return GetAttributeValue("SaveOffset", m_Scratch);
}

void CWebStepRegSaveParam::SetSaveOffset(unsigned int offset) {
    const std::string text = offset == 0 ? std::string("0") : std::to_string(offset);
    SetAttributeValue("SaveOffset", text.c_str());
}

const MString& CWebStepRegSaveParam::GetSaveLen() const {
    return GetAttributeValue("SaveLen", m_Scratch);
}

void CWebStepRegSaveParam::SetSaveLen(long length) {
    // A negative length means "up to the right boundary": stored as empty.
    const std::string text = length >= 0 ? std::to_string(length) : std::string();
    SetAttributeValue("SaveLen", text.c_str());
}

const MString& CWebStepRegSaveParam::GetCallbackName() const {
    return GetAttributeValue("AutoCorrelationFunction", m_Scratch);
}

void CWebStepRegSaveParam::SetCallbackName(const char* text) {
    SetAttributeValue("AutoCorrelationFunction", text);
}

const MString& CWebStepRegSaveParam::GetCallbackDLLName() const {
    return GetAttributeValue("AutoCorrelationDll", m_Scratch);
}

void CWebStepRegSaveParam::SetCallbackDLLName(const char* text) {
    SetAttributeValue("AutoCorrelationDll", text);
}

const MString& CWebStepRegSaveParam::GetIgnoreRedirections() const {
    return GetAttributeValue("IgnoreRedirections", m_Scratch);
}

void CWebStepRegSaveParam::SetIgnoreRedirections(const char* text) {
    SetAttributeValue("IgnoreRedirections", text);
}

const MString& CWebStepRegSaveParam::GetLeft() const {
    return GetAttributeValue(LeftBoundName(m_LeftBoundFlags).c_str(), m_Scratch);
}

void CWebStepRegSaveParam::SetLeft(const char* text) {
    SetAttributeValue(LeftBoundName(m_LeftBoundFlags).c_str(), text);
}

const MString& CWebStepRegSaveParam::GetRight() const {
    return GetAttributeValue(RightBoundName(m_RightBoundFlags).c_str(), m_Scratch);
}

void CWebStepRegSaveParam::SetRight(const char* text) {
    SetAttributeValue(RightBoundName(m_RightBoundFlags).c_str(), text);
}
