#pragma once
// Proxy and user settings of the virtual user's connections.
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

class CWebStepSetProxy : public CWebStepData {
public:
    CWebStepSetProxy();
    CWebStepSetProxy(const CWebStepSetProxy& other);
    CWebStepSetProxy& operator=(const CWebStepSetProxy& other);
    ~CWebStepSetProxy() override;

    const MString& GetHost() const { return m_Host; }
    void SetHost(const char* text);
    unsigned int GetPort() const { return m_Port; }
    void SetPort(unsigned int value) { m_Port = value; }
    // The whole proxy given as a parameter reference.
    const MString& GetParameterUrl() const { return m_ParameterUrl; }
    void SetParameterUrl(const char* text);

private:
    MString m_Host;
    unsigned int m_Port;
    MString m_ParameterUrl;
};

class CWebStepSetSecureProxy : public CWebStepSetProxy {
public:
    CWebStepSetSecureProxy();
    CWebStepSetSecureProxy(const CWebStepSetSecureProxy& other);
    CWebStepSetSecureProxy& operator=(const CWebStepSetSecureProxy& other);
    ~CWebStepSetSecureProxy() override;
};

class CWebStepSetUser : public CWebStepData {
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

class CWebStepSetProxyBypass : public CWebStepData {
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

class CWebStepSetProxyBypassLocal : public CWebStepData {
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
