#pragma once
// Proxy and user settings of the virtual user's connections.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

/// web_set_proxy: the proxy of plain HTTP connections.
class WEBSTEP_API CWebStepSetProxy : public CWebStepData {
public:
    CWebStepSetProxy();
    CWebStepSetProxy(const CWebStepSetProxy& other);
    CWebStepSetProxy& operator=(const CWebStepSetProxy& other);
    ~CWebStepSetProxy() override;

    const MString& GetHost() const { return m_Host; }
    void SetHost(const char* text);
    unsigned int GetPort() const { return m_Port; }
    void SetPort(unsigned int value) { m_Port = value; }
    /// The whole proxy given as a parameter reference.
    const MString& GetParameterUrl() const { return m_ParameterUrl; }
    void SetParameterUrl(const char* text);

private:
    MString m_Host;
    unsigned int m_Port;
    MString m_ParameterUrl;
};

/// web_set_secure_proxy: the proxy of HTTPS connections.
class WEBSTEP_API CWebStepSetSecureProxy : public CWebStepSetProxy {
public:
    CWebStepSetSecureProxy();
    CWebStepSetSecureProxy(const CWebStepSetSecureProxy& other);
    CWebStepSetSecureProxy& operator=(const CWebStepSetSecureProxy& other);
    ~CWebStepSetSecureProxy() override;
};

/// web_set_user: user name and password for a host.
class WEBSTEP_API CWebStepSetUser : public CWebStepData {
public:
    CWebStepSetUser();
    CWebStepSetUser(const CWebStepSetUser& other);
    CWebStepSetUser& operator=(const CWebStepSetUser& other);
    ~CWebStepSetUser() override;

    const MString& GetUsername() const { return m_Username; }
    void SetUsername(const char* text);
    const MString& GetPassword() const { return m_Password; }
    void SetPassword(const char* text);
    const MString& GetHost() const { return m_Host; }
    void SetHost(const char* text);
    unsigned int GetPort() const { return m_Port; }
    void PutPort(unsigned int value) { m_Port = value; }
    const MString& GetParameterUrl() const { return m_ParameterUrl; }
    void SetParameterUrl(const char* text);

private:
    MString m_Username;
    MString m_Password;
    MString m_Host;
    unsigned int m_Port;
    MString m_ParameterUrl;
};

/// web_set_proxy_bypass: the hosts reached without the proxy.
class WEBSTEP_API CWebStepSetProxyBypass : public CWebStepData {
public:
    CWebStepSetProxyBypass();
    CWebStepSetProxyBypass(const CWebStepSetProxyBypass& other);
    CWebStepSetProxyBypass& operator=(const CWebStepSetProxyBypass& other);
    ~CWebStepSetProxyBypass() override;

    const MString& GetBypass() const { return m_Bypass; }
    void SetBypass(const char* text);

private:
    MString m_Bypass;
};

/// web_set_proxy_bypass_local: whether local addresses bypass the proxy.
class WEBSTEP_API CWebStepSetProxyBypassLocal : public CWebStepData {
public:
    CWebStepSetProxyBypassLocal();
    CWebStepSetProxyBypassLocal(const CWebStepSetProxyBypassLocal& other);
    CWebStepSetProxyBypassLocal& operator=(const CWebStepSetProxyBypassLocal& other);
    ~CWebStepSetProxyBypassLocal() override;

    bool GetBypassOption() const { return m_BypassOption; }
    void SetBypassOption(bool value) { m_BypassOption = value; }

private:
    bool m_BypassOption;
};
