#include "webstep/steps/WebStepBase.h"

#include <cstdarg>
#include <string>

CWebStepDesign::CWebStepDesign() : m_DataStep(nullptr) {}

CWebStepDesign::CWebStepDesign(const CWebStepDesign& other)
    : m_Name(other.m_Name), m_DataStep(other.m_DataStep) {}

const CWebStepDesign& CWebStepDesign::operator=(const CWebStepDesign& other) {
    if (this != &other) {
        m_Name = other.m_Name;
        m_DataStep = other.m_DataStep;
    }
    return *this;
}

// The step belongs to whoever took it from the parser.
CWebStepDesign::~CWebStepDesign() = default;

CWebStepBase::CWebStepBase() = default;

CWebStepBase::CWebStepBase(const CWebStepDesign& design) : m_WebStep(design) {}

CWebStepBase::CWebStepBase(const CWebStepBase& other)
    : m_WebStep(other.m_WebStep), m_LastError(other.m_LastError) {}

CWebStepBase& CWebStepBase::operator=(const CWebStepBase& other) {
    if (this != &other) {
        m_WebStep = other.m_WebStep;
        m_LastError = other.m_LastError;
    }
    return *this;
}

CWebStepBase::~CWebStepBase() = default;

void CWebStepBase::AddErrorAttribute(const char* name, const char* value) {
    m_LastError.GetAttributes().AddAttribute(name, value, true);
}

void CWebStepBase::AddErrorAttribute(const char* name, unsigned int value) {
    // Written as a signed number, so values above INT_MAX come out negative.
    const std::string text = std::to_string(static_cast<int>(value));
    AddErrorAttribute(name, text.c_str());
}

void CWebStepBase::SetErrorInfo(unsigned int code, const CAttributeSet& attributes) {
    m_LastError = CWebStepError(code, attributes);
}

void CWebStepBase::SetErrorInfo(unsigned int code, ...) {
    CAttributeSet attributes;
    va_list args;
    va_start(args, code);
    const char* name = va_arg(args, const char*);
    while (name != nullptr) {
        const char* value = va_arg(args, const char*);
        if (value == nullptr) {
            break;
        }
        attributes.AddAttribute(name, value, true);
        name = va_arg(args, const char*);
    }
    va_end(args);
    SetErrorInfo(code, attributes);
}
