#pragma once
// How a virtual user reaches the network: directly, through HTTP/HTTPS
// proxies, or through an auto-configuration script.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// Proxy settings of a virtual user: access type, HTTP and HTTPS proxy hosts
/// and ports, bypass list, local-address switch and auto-configuration script.
/// A value class held by CRunTimeSettings; setters store what they are given.
class WEBSTEP_API CProxyInfo {
public:
    /// Access type 1 is direct access; every other value means a proxy.
    static constexpr unsigned long DirectAccess = 1;

    CProxyInfo();
    CProxyInfo(const CProxyInfo& other);
    CProxyInfo& operator=(const CProxyInfo& other);
    virtual ~CProxyInfo();

    unsigned long GetAccessType() const { return m_accessType; }
    void SetAccessType(unsigned long accessType) { m_accessType = accessType; }
    const MString& GetHTTPHost() const { return m_httpHost; }
    void SetHTTPHost(const MString& host) { m_httpHost = host; }
    unsigned int GetHTTPPort() const { return m_httpPort; }
    void SetHTTPPort(unsigned int port) { m_httpPort = port; }
    const MString& GetHTTPSHost() const { return m_httpsHost; }
    void SetHTTPSHost(const MString& host) { m_httpsHost = host; }
    unsigned int GetHTTPSPort() const { return m_httpsPort; }
    void SetHTTPSPort(unsigned int port) { m_httpsPort = port; }
    int GetUseSameForAll() const { return m_useSameForAll; }
    void SetUseSameForAll(int useSame) { m_useSameForAll = useSame; }
    int GetDontUseForLocal() const { return m_dontUseForLocal; }
    void SetDontUseForLocal(int dontUse) { m_dontUseForLocal = dontUse; }
    const MString& GetBypass() const { return m_bypass; }
    void SetBypass(const MString& bypass) { m_bypass = bypass; }
    /// The irregular "A" suffix is part of the interface.
    const MString& GetUserNameA() const { return m_userName; }
    void SetUserName(const MString& userName) { m_userName = userName; }
    const MString& GetPassword() const { return m_password; }
    void SetPassword(const MString& password) { m_password = password; }
    const MString& GetProxyString() const { return m_proxyString; }
    void SetProxyString(MString proxyString) { m_proxyString = std::move(proxyString); }
    void ResetProxyString() { m_proxyString.clear(); }
    int GetUseAutoConfigScript() const { return m_useAutoConfigScript; }
    void SetUseAutoConfigScript(int use) { m_useAutoConfigScript = use; }
    const MString& GetAutoConfigScriptURL() const { return m_autoConfigScriptURL; }
    void SetAutoConfigScriptURL(MString url) { m_autoConfigScriptURL = std::move(url); }
    int GetUseProxyServer() const { return m_useProxyServer; }
    void SetUseProxyServer(int use) { m_useProxyServer = use; }

    /// Sets every field in one call, in field order.
    void SetAll(unsigned long accessType, const MString& httpHost, unsigned int httpPort,
                const MString& httpsHost, unsigned int httpsPort, int useSameForAll,
                int dontUseForLocal, const MString& bypass, const MString& userName,
                const MString& password, const MString& proxyString, int useAutoConfigScript,
                const MString& autoConfigScriptURL, int useProxyServer);

    bool IsProxyEnabled() const { return m_accessType != DirectAccess; }
    bool IsUserAuthenticationEnabled() const { return !m_userName.empty() || !m_password.empty(); }
    /// Back to direct access with everything empty.
    void ResetDirect();
    /// The proxy list in the form the internet functions take: empty for
    /// direct access, else the ready-made proxy string, else built from the
    /// hosts and ports.
    void GetProxyWininetString(MString& out) const;

private:
    unsigned long m_accessType = DirectAccess;
    MString m_httpHost;
    unsigned int m_httpPort = 0;
    MString m_httpsHost;
    unsigned int m_httpsPort = 0;
    int m_useSameForAll = 0;
    int m_dontUseForLocal = 0;
    MString m_bypass;
    MString m_userName;
    MString m_password;
    MString m_proxyString;
    int m_useAutoConfigScript = 0;
    MString m_autoConfigScriptURL;
    int m_useProxyServer = 0;
};
