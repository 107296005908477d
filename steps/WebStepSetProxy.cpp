#include "webstep/steps/WebStepSetProxy.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepSetProxy::CWebStepSetProxy() : m_Port(0) {}
CWebStepSetProxy::CWebStepSetProxy(const CWebStepSetProxy& other) = default;
CWebStepSetProxy& CWebStepSetProxy::operator=(const CWebStepSetProxy& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Host = other.m_Host;
        m_Port = other.m_Port;
        m_ParameterUrl = other.m_ParameterUrl;
    }
    return *this;
}
CWebStepSetProxy::~CWebStepSetProxy() = default;
void CWebStepSetProxy::SetHost(const char* text) {
    AssignText(m_Host, text);
}
void CWebStepSetProxy::SetParameterUrl(const char* text) {
    AssignText(m_ParameterUrl, text);
}

CWebStepSetSecureProxy::CWebStepSetSecureProxy() = default;
CWebStepSetSecureProxy::CWebStepSetSecureProxy(const CWebStepSetSecureProxy& other) = default;
CWebStepSetSecureProxy& CWebStepSetSecureProxy::operator=(const CWebStepSetSecureProxy& other) {
    CWebStepSetProxy::operator=(other);
    return *this;
}
CWebStepSetSecureProxy::~CWebStepSetSecureProxy() = default;

CWebStepSetUser::CWebStepSetUser() : m_Port(0) {}
CWebStepSetUser::CWebStepSetUser(const CWebStepSetUser& other) = default;
CWebStepSetUser& CWebStepSetUser::operator=(const CWebStepSetUser& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Username = other.m_Username;
        m_Password = other.m_Password;
        m_Host = other.m_Host;
        m_Port = other.m_Port;
        m_ParameterUrl = other.m_ParameterUrl;
    }
    return *this;
}
CWebStepSetUser::~CWebStepSetUser() = default;
void CWebStepSetUser::SetUsername(const char* text) {
    AssignText(m_Username, text);
}
void CWebStepSetUser::SetPassword(const char* text) {
    AssignText(m_Password, text);
}
void CWebStepSetUser::SetHost(const char* text) {
    AssignText(m_Host, text);
}
void CWebStepSetUser::SetParameterUrl(const char* text) {
    AssignText(m_ParameterUrl, text);
}

CWebStepSetProxyBypass::CWebStepSetProxyBypass() = default;
CWebStepSetProxyBypass::CWebStepSetProxyBypass(const CWebStepSetProxyBypass& other) = default;
CWebStepSetProxyBypass& CWebStepSetProxyBypass::operator=(const CWebStepSetProxyBypass& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Bypass = other.m_Bypass;
    }
    return *this;
}
CWebStepSetProxyBypass::~CWebStepSetProxyBypass() = default;
void CWebStepSetProxyBypass::SetBypass(const char* text) {
    AssignText(m_Bypass, text);
}

CWebStepSetProxyBypassLocal::CWebStepSetProxyBypassLocal() : m_BypassOption(false) {}
CWebStepSetProxyBypassLocal::CWebStepSetProxyBypassLocal(const CWebStepSetProxyBypassLocal& other) =
    default;
CWebStepSetProxyBypassLocal& CWebStepSetProxyBypassLocal::operator=(
    const CWebStepSetProxyBypassLocal& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_BypassOption = other.m_BypassOption;
    }
    return *this;
}
CWebStepSetProxyBypassLocal::~CWebStepSetProxyBypassLocal() = default;
