#include "webstep/settings/RunTimeSettings.h"

#include "webstep/platform/PrivateProfile.h"

#include <strings.h>

#include <iterator>
#include <string>
#include <utility>

using webstep::platform::GetPrivateProfileIntA;
using webstep::platform::GetPrivateProfileStringA;
using webstep::platform::WritePrivateProfileStringsA;

const char* const CRunTimeSettings::DefaultBrowserId = "Microsoft Internet Explorer 4.0";
const char* const CRunTimeSettings::DefaultCustomAgent =
    "Mozilla/4.0 (compatible; MSIE 4.0; Windows NT)";
const char* const CRunTimeSettings::BrowserIds[8] = {
    "Netscape Navigator 2.0",          "Netscape Navigator 3.0",
    "Netscape Navigator 4.0",          "Netscape Navigator 4.5",
    "Microsoft Internet Explorer 2.0", "Microsoft Internet Explorer 3.0",
    "Microsoft Internet Explorer 4.0", "Microsoft Internet Explorer 5.0",
};

namespace {

const char* const kSection = "WEB";
constexpr unsigned long kReadBufferSize = 1000;
// The access type that the settings file's "ProxyUseProxy" switch selects:
// the internet functions' "use the given proxy" value.
constexpr unsigned long kProxyAccessType = 3;

MString ReadText(const char* key, const char* def, const MString& path) {
    char buffer[kReadBufferSize];
    unsigned long length =
        GetPrivateProfileStringA(kSection, key, def, buffer, kReadBufferSize, path.c_str());
    return MString(buffer, length);
}

// "True" or "Yes" in any case, or exactly "1".
bool IsTrueText(const MString& text) {
    return strcasecmp(text.c_str(), "True") == 0 || strcasecmp(text.c_str(), "Yes") == 0 ||
           text == "1";
}

bool ReadBool(const char* key, const char* def, const MString& path) {
    return IsTrueText(ReadText(key, def, path));
}

int ReadInt(const char* key, const MString& path) {
    return static_cast<int>(GetPrivateProfileIntA(kSection, key, 0, path.c_str()));
}

const char* OneZero(bool value) {
    return value ? "1" : "0";
}

}  // namespace

CRunTimeSettings::CRunTimeSettings() {
    SetDefaults();
}
CRunTimeSettings::CRunTimeSettings(const CRunTimeSettings& other) = default;
CRunTimeSettings& CRunTimeSettings::operator=(const CRunTimeSettings& other) = default;
CRunTimeSettings::~CRunTimeSettings() = default;

bool CRunTimeSettings::SetBrowserId(MString browserId) {
    for (const char* known : BrowserIds) {
        if (browserId == known) {
            m_browserId = std::move(browserId);
            return true;
        }
    }
    return false;
}

bool CRunTimeSettings::SetHttpVer(MString httpVer) {
    if (httpVer == "1.0" || httpVer == "HTTP/1.0") {
        m_httpVer = "1.0";
    } else if (httpVer == "1.1" || httpVer == "HTTP/1.1") {
        m_httpVer = "1.1";
    } else {
        return false;
    }
    return true;
}

bool CRunTimeSettings::SetCustomAgent(MString agent) {
    m_customAgent = std::move(agent);
    return true;
}
bool CRunTimeSettings::SetUseCustomAgent(bool use) {
    m_useCustomAgent = use;
    return true;
}
bool CRunTimeSettings::SetKeepAlive(bool keepAlive) {
    m_keepAlive = keepAlive;
    return true;
}
bool CRunTimeSettings::SetSaveSnapshotResources(bool save) {
    m_saveSnapshotResources = save;
    return true;
}
bool CRunTimeSettings::SetProxyUseBrowser(bool use) {
    m_proxyUseBrowser = use;
    return true;
}
bool CRunTimeSettings::SetProxyInfo(const CProxyInfo& proxyInfo) {
    m_proxyInfo = proxyInfo;
    return true;
}
bool CRunTimeSettings::SetEnableChecks(bool enable) {
    m_enableChecks = enable;
    return true;
}
bool CRunTimeSettings::SetAnalogMode(bool analog) {
    m_analogMode = analog;
    return true;
}
bool CRunTimeSettings::SetResetContext(bool reset) {
    m_resetContext = reset;
    return true;
}
bool CRunTimeSettings::SetIsDIL(bool isDIL) {
    m_isDIL = isDIL;
    return true;
}
bool CRunTimeSettings::SetRecorderVersion(unsigned int version) {
    m_recorderVersion = version;
    return true;
}
bool CRunTimeSettings::SetUTF8InputOutput(bool utf8) {
    m_utf8InputOutput = utf8;
    return true;
}

MString CRunTimeSettings::GetActualBrowserIdString() const {
    return m_useCustomAgent ? m_customAgent : m_browserId;
}

MString CRunTimeSettings::GetActualHTTPVerString() const {
    return m_httpVer == "1.1" ? "HTTP/1.1" : "HTTP/1.0";
}

void CRunTimeSettings::SetDefaults() {
    m_browserId = DefaultBrowserId;
    m_httpVer = "1.0";
    m_customAgent = DefaultCustomAgent;
    m_useCustomAgent = false;
    m_keepAlive = true;
    m_proxyUseBrowser = false;
    m_enableChecks = false;
    m_analogMode = false;
    m_resetContext = true;
    m_isDIL = false;
    m_recorderVersion = 10;
    m_saveSnapshotResources = false;
    m_utf8InputOutput = false;
}

bool CRunTimeSettings::TrySaveToFile(MString path) const {
    const CProxyInfo& proxy = m_proxyInfo;
    // All keys go into the file's content in memory and the file is replaced
    // once, so a failure part way leaves the previous file, never a mix of
    // old and new keys. The result is the same file as writing the keys one
    // by one, in the order below.
    const std::pair<const char*, std::string> entries[] = {
        {"BrowserType", m_browserId},
        {"HttpVer", m_httpVer},
        {"CustomUserAgent", m_customAgent},
        {"ResetContext", m_resetContext ? "True" : "False"},
        {"UseCustomAgent", OneZero(m_useCustomAgent)},
        {"KeepAlive", m_keepAlive ? "Yes" : "No"},
        {"EnableChecks", OneZero(m_enableChecks)},
        {"AnalogMode", m_analogMode ? (m_isDIL ? "2" : "1") : "0"},
        {"ProxyUseBrowser", OneZero(m_proxyUseBrowser)},
        {"ProxyUseProxy", OneZero(proxy.GetUseProxyServer() || proxy.GetUseAutoConfigScript())},
        {"ProxyHTTPHost", proxy.GetHTTPHost()},
        {"ProxyHTTPSHost", proxy.GetHTTPSHost()},
        {"ProxyHTTPPort", std::to_string(static_cast<int>(proxy.GetHTTPPort()))},
        {"ProxyHTTPSPort", std::to_string(static_cast<int>(proxy.GetHTTPSPort()))},
        {"ProxyUseSame", OneZero(proxy.GetUseSameForAll() != 0)},
        {"ProxyNoLocal", OneZero(proxy.GetDontUseForLocal() != 0)},
        {"ProxyBypass", proxy.GetBypass()},
        {"ProxyUserName", proxy.GetUserNameA()},
        {"ProxyPassword", proxy.GetPassword()},
        {"ProxyUseAutoConfigScript", OneZero(proxy.GetUseAutoConfigScript() != 0)},
        {"ProxyAutoConfigScriptURL", proxy.GetAutoConfigScriptURL()},
        {"ProxyUseProxyServer", OneZero(proxy.GetUseProxyServer() != 0)},
        {"WebRecorderVersion", std::to_string(static_cast<int>(m_recorderVersion))},
        {"SaveSnapshotResources", OneZero(m_saveSnapshotResources)},
        {"UTF8InputOutput", OneZero(m_utf8InputOutput)},
    };
    const char* keys[std::size(entries)];
    const char* values[std::size(entries)];
    for (std::size_t i = 0; i < std::size(entries); ++i) {
        keys[i] = entries[i].first;
        values[i] = entries[i].second.c_str();
    }
    return WritePrivateProfileStringsA(kSection, keys, values,
                                       static_cast<webstep::platform::DWORD>(std::size(entries)),
                                       path.c_str()) != 0;
}

void CRunTimeSettings::SaveToFile(MString path) const {
    (void)TrySaveToFile(std::move(path));
}

void CRunTimeSettings::ReadFromFile(MString path) {
    SetBrowserId(ReadText("BrowserType", DefaultBrowserId, path));
    SetHttpVer(ReadText("HttpVer", "1.0", path));
    SetCustomAgent(ReadText("CustomUserAgent", DefaultCustomAgent, path));
    SetResetContext(ReadBool("ResetContext", "True", path));
    SetUseCustomAgent(ReadBool("UseCustomAgent", "False", path));
    SetKeepAlive(ReadBool("KeepAlive", "True", path));
    SetEnableChecks(ReadBool("EnableChecks", "False", path));
    int analogMode = ReadInt("AnalogMode", path);
    SetAnalogMode(analogMode != 0);
    SetIsDIL(analogMode == 2);
    SetProxyUseBrowser(ReadBool("ProxyUseBrowser", "False", path));

    // The file keeps no access type of its own: its "use a proxy" switch
    // selects between direct access and the given proxies.
    CProxyInfo& proxy = m_proxyInfo;
    proxy.SetAccessType(ReadInt("ProxyUseProxy", path) != 0 ? kProxyAccessType
                                                            : CProxyInfo::DirectAccess);
    proxy.SetHTTPHost(ReadText("ProxyHTTPHost", "", path));
    proxy.SetHTTPSHost(ReadText("ProxyHTTPSHost", "", path));
    proxy.SetHTTPPort(static_cast<unsigned int>(ReadInt("ProxyHTTPPort", path)));
    proxy.SetHTTPSPort(static_cast<unsigned int>(ReadInt("ProxyHTTPSPort", path)));
    proxy.SetUseSameForAll(ReadInt("ProxyUseSame", path));
    proxy.SetDontUseForLocal(ReadInt("ProxyNoLocal", path));
    proxy.SetBypass(ReadText("ProxyBypass", "", path));
    proxy.SetUserName(ReadText("ProxyUserName", "", path));
    proxy.SetPassword(ReadText("ProxyPassword", "", path));
    proxy.SetUseAutoConfigScript(ReadInt("ProxyUseAutoConfigScript", path));
    proxy.SetAutoConfigScriptURL(ReadText("ProxyAutoConfigScriptURL", "", path));
    proxy.SetUseProxyServer(ReadInt("ProxyUseProxyServer", path));
    SetSaveSnapshotResources(ReadInt("SaveSnapshotResources", path) != 0);
    SetUTF8InputOutput(ReadBool("UTF8InputOutput", "False", path));
}
