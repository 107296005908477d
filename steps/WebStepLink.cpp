#include "webstep/steps/WebStepLink.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepLink::CWebStepLink() = default;
CWebStepLink::CWebStepLink(const CAttributeSet& attributes) : CWebContextStep(attributes) {}
CWebStepLink::CWebStepLink(const CWebStepLink& other) = default;
CWebStepLink& CWebStepLink::operator=(const CWebStepLink& other) {
    CWebContextStep::operator=(other);
    return *this;
}
CWebStepLink::~CWebStepLink() = default;

CWebStepImage::CWebStepImage() = default;
CWebStepImage::CWebStepImage(const CAttributeSet& attributes) : CWebContextStep(attributes) {}
CWebStepImage::CWebStepImage(const CWebStepImage& other) = default;
CWebStepImage& CWebStepImage::operator=(const CWebStepImage& other) {
    if (this != &other) {
        CWebContextStep::operator=(other);
        m_X = other.m_X;
        m_Y = other.m_Y;
    }
    return *this;
}
CWebStepImage::~CWebStepImage() = default;
void CWebStepImage::SetX(const char* text) {
    AssignText(m_X, text);
}
void CWebStepImage::SetY(const char* text) {
    AssignText(m_Y, text);
}

CWebStepSubmitForm::CWebStepSubmitForm() = default;
CWebStepSubmitForm::CWebStepSubmitForm(const CAttributeSet& attributes)
    : CWebContextStep(attributes) {}
CWebStepSubmitForm::CWebStepSubmitForm(const CWebStepSubmitForm& other) = default;
CWebStepSubmitForm& CWebStepSubmitForm::operator=(const CWebStepSubmitForm& other) {
    // Assigning a data set to itself would delete the shared items.
    if (this != &other) {
        CWebContextStep::operator=(other);
        m_DataSet = other.m_DataSet;
        m_Hiddens = other.m_Hiddens;
        m_ContentEncoding = other.m_ContentEncoding;
    }
    return *this;
}
CWebStepSubmitForm::~CWebStepSubmitForm() = default;
void CWebStepSubmitForm::SetContentEncoding(const char* text) {
    AssignText(m_ContentEncoding, text);
}
