#include "webstep/steps/WebStepWithAttributes.h"

CWebStepWithAttributes::CWebStepWithAttributes() = default;

CWebStepWithAttributes::CWebStepWithAttributes(const CAttributeSet& attributes)
    : m_Attributes(attributes) {}

CWebStepWithAttributes::CWebStepWithAttributes(const CWebStepWithAttributes& other) = default;

CWebStepWithAttributes& CWebStepWithAttributes::operator=(const CWebStepWithAttributes& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Attributes = other.m_Attributes;
    }
    return *this;
}

CWebStepWithAttributes::~CWebStepWithAttributes() = default;

void CWebStepWithAttributes::SetAttributeValue(const char* name, const char* value) {
    const char* text = value != nullptr ? value : "";
    // A second call replaces the value instead of being refused.
    if (!m_Attributes.SetAttribute(name, text)) {
        m_Attributes.AddAttribute(name, text, false);
    }
}

const MString& CWebStepWithAttributes::GetAttributeValue(const char* name, MString& scratch) const {
    scratch.clear();
    m_Attributes.GetAttribute(name, scratch);
    return scratch;
}

CWebCheckStep::CWebCheckStep() = default;

CWebCheckStep::CWebCheckStep(const CAttributeSet& attributes)
    : CWebStepWithAttributes(attributes) {}

CWebCheckStep::CWebCheckStep(const CWebCheckStep& other) = default;

CWebCheckStep& CWebCheckStep::operator=(const CWebCheckStep& other) {
    CWebStepWithAttributes::operator=(other);
    return *this;
}

CWebCheckStep::~CWebCheckStep() = default;
