#include "webstep/steps/WebStepSetTimeout.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepSetConnectionsLimit::CWebStepSetConnectionsLimit() : m_Limit(0) {}
CWebStepSetConnectionsLimit::CWebStepSetConnectionsLimit(const CWebStepSetConnectionsLimit& other) =
    default;
CWebStepSetConnectionsLimit& CWebStepSetConnectionsLimit::operator=(
    const CWebStepSetConnectionsLimit& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Limit = other.m_Limit;
    }
    return *this;
}
CWebStepSetConnectionsLimit::~CWebStepSetConnectionsLimit() = default;

CWebStepEnableKeepAlive::CWebStepEnableKeepAlive() = default;
CWebStepEnableKeepAlive::CWebStepEnableKeepAlive(const CWebStepEnableKeepAlive& other) = default;
CWebStepEnableKeepAlive& CWebStepEnableKeepAlive::operator=(const CWebStepEnableKeepAlive& other) {
    CWebStepData::operator=(other);
    return *this;
}
CWebStepEnableKeepAlive::~CWebStepEnableKeepAlive() = default;

CWebStepDisableKeepAlive::CWebStepDisableKeepAlive() = default;
CWebStepDisableKeepAlive::CWebStepDisableKeepAlive(const CWebStepDisableKeepAlive& other) = default;
CWebStepDisableKeepAlive& CWebStepDisableKeepAlive::operator=(
    const CWebStepDisableKeepAlive& other) {
    CWebStepData::operator=(other);
    return *this;
}
CWebStepDisableKeepAlive::~CWebStepDisableKeepAlive() = default;

CWebStepSetTimeout::CWebStepSetTimeout() : m_Action(ACTION_NONE), m_Timeout(0) {}
CWebStepSetTimeout::CWebStepSetTimeout(const CWebStepSetTimeout& other) = default;
CWebStepSetTimeout& CWebStepSetTimeout::operator=(const CWebStepSetTimeout& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Action = other.m_Action;
        m_Timeout = other.m_Timeout;
    }
    return *this;
}
CWebStepSetTimeout::~CWebStepSetTimeout() = default;

CWebStepSetMaxRetries::CWebStepSetMaxRetries() : m_MaxRetries(0) {}
CWebStepSetMaxRetries::CWebStepSetMaxRetries(const CWebStepSetMaxRetries& other) = default;
CWebStepSetMaxRetries& CWebStepSetMaxRetries::operator=(const CWebStepSetMaxRetries& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_MaxRetries = other.m_MaxRetries;
    }
    return *this;
}
CWebStepSetMaxRetries::~CWebStepSetMaxRetries() = default;

CWebStepSetSocketsOption::CWebStepSetSocketsOption() = default;
CWebStepSetSocketsOption::CWebStepSetSocketsOption(const CWebStepSetSocketsOption& other) = default;
CWebStepSetSocketsOption& CWebStepSetSocketsOption::operator=(
    const CWebStepSetSocketsOption& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_OptionID = other.m_OptionID;
        m_OptionValue = other.m_OptionValue;
    }
    return *this;
}
CWebStepSetSocketsOption::~CWebStepSetSocketsOption() = default;
void CWebStepSetSocketsOption::SetOptionID(const char* text) {
    AssignText(m_OptionID, text);
}
void CWebStepSetSocketsOption::SetOptionValue(const char* text) {
    AssignText(m_OptionValue, text);
}

CWebStepCacheCleanup::CWebStepCacheCleanup() = default;
CWebStepCacheCleanup::CWebStepCacheCleanup(const CWebStepCacheCleanup& other) = default;
CWebStepCacheCleanup& CWebStepCacheCleanup::operator=(const CWebStepCacheCleanup& other) {
    CWebStepData::operator=(other);
    return *this;
}
CWebStepCacheCleanup::~CWebStepCacheCleanup() = default;

CWebStepConcurrentStart::CWebStepConcurrentStart() = default;
CWebStepConcurrentStart::CWebStepConcurrentStart(const CWebStepConcurrentStart& other) = default;
CWebStepConcurrentStart& CWebStepConcurrentStart::operator=(const CWebStepConcurrentStart& other) {
    CWebStepData::operator=(other);
    return *this;
}
CWebStepConcurrentStart::~CWebStepConcurrentStart() = default;

CWebStepConcurrentEnd::CWebStepConcurrentEnd() = default;
CWebStepConcurrentEnd::CWebStepConcurrentEnd(const CWebStepConcurrentEnd& other) = default;
CWebStepConcurrentEnd& CWebStepConcurrentEnd::operator=(const CWebStepConcurrentEnd& other) {
    CWebStepData::operator=(other);
    return *this;
}
CWebStepConcurrentEnd::~CWebStepConcurrentEnd() = default;
