#include "webstep/steps/WebStepFind.h"

CWebStepFind::CWebStepFind() = default;
CWebStepFind::CWebStepFind(const CAttributeSet& attributes) : CWebCheckStep(attributes) {}
CWebStepFind::CWebStepFind(const CWebStepFind& other) = default;
CWebStepFind& CWebStepFind::operator=(const CWebStepFind& other) {
    // Assigning a data set to itself would delete the shared items.
    if (this != &other) {
        CWebCheckStep::operator=(other);
        m_DataSet = other.m_DataSet;
    }
    return *this;
}
CWebStepFind::~CWebStepFind() = default;

CWebStepImageCheck::CWebStepImageCheck() = default;
CWebStepImageCheck::CWebStepImageCheck(const CAttributeSet& attributes)
    : CWebCheckStep(attributes) {}
CWebStepImageCheck::CWebStepImageCheck(const CWebStepImageCheck& other) = default;
CWebStepImageCheck& CWebStepImageCheck::operator=(const CWebStepImageCheck& other) {
    CWebCheckStep::operator=(other);
    return *this;
}
CWebStepImageCheck::~CWebStepImageCheck() = default;

CWebStepJavaCheck::CWebStepJavaCheck() = default;
CWebStepJavaCheck::CWebStepJavaCheck(const CAttributeSet& attributes) : CWebCheckStep(attributes) {}
CWebStepJavaCheck::CWebStepJavaCheck(const CWebStepJavaCheck& other) = default;
CWebStepJavaCheck& CWebStepJavaCheck::operator=(const CWebStepJavaCheck& other) {
    if (this != &other) {
        CWebCheckStep::operator=(other);
        m_AppletParams = other.m_AppletParams;
    }
    return *this;
}
CWebStepJavaCheck::~CWebStepJavaCheck() = default;
