#include "webstep/settings/ProxyInfo.h"

#include <string>

CProxyInfo::CProxyInfo() = default;
CProxyInfo::CProxyInfo(const CProxyInfo& other) = default;
CProxyInfo& CProxyInfo::operator=(const CProxyInfo& other) = default;
CProxyInfo::~CProxyInfo() = default;

void CProxyInfo::SetAll(unsigned long accessType, const MString& httpHost, unsigned int httpPort,
                        const MString& httpsHost, unsigned int httpsPort, int useSameForAll,
                        int dontUseForLocal, const MString& bypass, const MString& userName,
                        const MString& password, const MString& proxyString,
                        int useAutoConfigScript, const MString& autoConfigScriptURL,
                        int useProxyServer) {
    m_accessType = accessType;
    m_httpHost = httpHost;
    m_httpPort = httpPort;
    m_httpsHost = httpsHost;
    m_httpsPort = httpsPort;
    m_useSameForAll = useSameForAll;
    m_dontUseForLocal = dontUseForLocal;
    m_bypass = bypass;
    m_userName = userName;
    m_password = password;
    m_proxyString = proxyString;
    m_useAutoConfigScript = useAutoConfigScript;
    m_autoConfigScriptURL = autoConfigScriptURL;
    m_useProxyServer = useProxyServer;
}

void CProxyInfo::ResetDirect() {
    *this = CProxyInfo();
}

namespace {
// "%s:%d" of a host and port; the port is printed as the signed number it
// was in the settings file.
MString HostPort(const MString& host, unsigned int port) {
    return host + ":" + std::to_string(static_cast<int>(port));
}
}  // namespace

void CProxyInfo::GetProxyWininetString(MString& out) const {
    out.clear();
    if (!IsProxyEnabled())
        return;
    if (!m_proxyString.empty()) {
        out = m_proxyString;
    } else if (m_useSameForAll) {
        out = HostPort(m_httpHost, m_httpPort);
    } else if (!m_httpHost.empty()) {
        out = "http=" + HostPort(m_httpHost, m_httpPort);
        if (!m_httpsHost.empty())
            out += " https=" + HostPort(m_httpsHost, m_httpsPort);
    } else if (!m_httpsHost.empty()) {
        out = "https=" + HostPort(m_httpsHost, m_httpsPort);
    }
}
