#include "webstep/steps/WebStepAddHeader.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepAddHeader::CWebStepAddHeader() = default;
CWebStepAddHeader::CWebStepAddHeader(const CWebStepAddHeader& other) = default;
CWebStepAddHeader& CWebStepAddHeader::operator=(const CWebStepAddHeader& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Header = other.m_Header;
        m_Value = other.m_Value;
    }
    return *this;
}
CWebStepAddHeader::~CWebStepAddHeader() = default;
void CWebStepAddHeader::SetHeader(const char* text) {
    AssignText(m_Header, text);
}
void CWebStepAddHeader::SetValue(const char* text) {
    AssignText(m_Value, text);
}

CWebStepAddAutoHeader::CWebStepAddAutoHeader() = default;
CWebStepAddAutoHeader::CWebStepAddAutoHeader(const CWebStepAddAutoHeader& other) = default;
CWebStepAddAutoHeader& CWebStepAddAutoHeader::operator=(const CWebStepAddAutoHeader& other) {
    CWebStepAddHeader::operator=(other);
    return *this;
}
CWebStepAddAutoHeader::~CWebStepAddAutoHeader() = default;

CWebStepRevertAutoHeader::CWebStepRevertAutoHeader() = default;
CWebStepRevertAutoHeader::CWebStepRevertAutoHeader(const CWebStepRevertAutoHeader& other) = default;
CWebStepRevertAutoHeader& CWebStepRevertAutoHeader::operator=(
    const CWebStepRevertAutoHeader& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Header = other.m_Header;
    }
    return *this;
}
CWebStepRevertAutoHeader::~CWebStepRevertAutoHeader() = default;
void CWebStepRevertAutoHeader::SetHeader(const char* text) {
    AssignText(m_Header, text);
}

CWebStepRemoveAutoHeader::CWebStepRemoveAutoHeader() = default;
CWebStepRemoveAutoHeader::CWebStepRemoveAutoHeader(const CWebStepRemoveAutoHeader& other) = default;
CWebStepRemoveAutoHeader& CWebStepRemoveAutoHeader::operator=(
    const CWebStepRemoveAutoHeader& other) {
    if (this != &other) {
        CWebStepRevertAutoHeader::operator=(other);
        m_ImplicitGeneration = other.m_ImplicitGeneration;
    }
    return *this;
}
CWebStepRemoveAutoHeader::~CWebStepRemoveAutoHeader() = default;
void CWebStepRemoveAutoHeader::SetImplicitGeneration(const char* text) {
    AssignText(m_ImplicitGeneration, text);
}

CWebStepCleanupAutoHeaders::CWebStepCleanupAutoHeaders() = default;
CWebStepCleanupAutoHeaders::CWebStepCleanupAutoHeaders(const CWebStepCleanupAutoHeaders& other) =
    default;
CWebStepCleanupAutoHeaders& CWebStepCleanupAutoHeaders::operator=(
    const CWebStepCleanupAutoHeaders& other) {
    CWebStepData::operator=(other);
    return *this;
}
CWebStepCleanupAutoHeaders::~CWebStepCleanupAutoHeaders() = default;
