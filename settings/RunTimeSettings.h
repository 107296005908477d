#pragma once
// The web run-time settings of one script, kept in the "WEB" section of the
// script's settings file.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/settings/ProxyInfo.h"

/// The web run-time settings of one script. A value class that starts on the
/// defaults. Setters of constrained values (browser id, HTTP version) return
/// false and keep the old value for a value outside their set; the others
/// always return true. ReadFromFile never fails: what is missing or unreadable
/// keeps its default. SaveToFile rewrites the "WEB" section only;
/// TrySaveToFile does the same and reports a failed write.
class WEBSTEP_API CRunTimeSettings {
public:
    CRunTimeSettings();
    CRunTimeSettings(const CRunTimeSettings& other);
    CRunTimeSettings& operator=(const CRunTimeSettings& other);
    ~CRunTimeSettings();

    MString GetBrowserId() const { return m_browserId; }
    MString GetHttpVer() const { return m_httpVer; }
    MString GetCustomAgent() const { return m_customAgent; }
    bool GetUseCustomAgent() const { return m_useCustomAgent; }
    bool GetKeepAlive() const { return m_keepAlive; }
    bool GetProxyUseBrowser() const { return m_proxyUseBrowser; }
    bool GetEnableChecks() const { return m_enableChecks; }
    bool GetAnalogMode() const { return m_analogMode; }
    bool GetResetContext() const { return m_resetContext; }
    bool GetIsDIL() const { return m_isDIL; }
    unsigned int GetRecorderVersion() const { return m_recorderVersion; }
    bool GetSaveSnapshotResources() const { return m_saveSnapshotResources; }
    bool GetUTF8InputOutput() const { return m_utf8InputOutput; }
    CProxyInfo& GetProxyInfo() { return m_proxyInfo; }
    const CProxyInfo& GetProxyInfo() const { return m_proxyInfo; }

    /// Accepts only the eight known browser ids (exact, case-sensitive);
    /// otherwise returns false and keeps the previous id.
    bool SetBrowserId(MString browserId);
    /// Accepts "1.0", "HTTP/1.0", "1.1" and "HTTP/1.1"; stores "1.0" or "1.1".
    bool SetHttpVer(MString httpVer);
    bool SetCustomAgent(MString agent);
    bool SetUseCustomAgent(bool use);
    bool SetKeepAlive(bool keepAlive);
    bool SetSaveSnapshotResources(bool save);
    bool SetProxyUseBrowser(bool use);
    bool SetProxyInfo(const CProxyInfo& proxyInfo);
    bool SetEnableChecks(bool enable);
    bool SetAnalogMode(bool analog);
    bool SetResetContext(bool reset);
    bool SetIsDIL(bool isDIL);
    bool SetRecorderVersion(unsigned int version);
    bool SetUTF8InputOutput(bool utf8);

    /// The custom agent when it is in use, else the browser id.
    MString GetActualBrowserIdString() const;
    /// "HTTP/1.1" when the version is "1.1", else "HTTP/1.0".
    MString GetActualHTTPVerString() const;

    /// Restores every default except the proxy information.
    void SetDefaults();

    /// Neither reports failure: a missing file or key gives the defaults, and
    /// failed writes are ignored. The recorder version is written but never
    /// read back. The save replaces the file once with all keys set, so it
    /// holds either every new value or the previous content.
    void SaveToFile(MString path) const;
    /// SaveToFile for callers that want to know: false when the file could not
    /// be written (it then keeps its previous content, and the platform's
    /// GetLastError() tells the cause), true otherwise.
    bool TrySaveToFile(MString path) const;
    void ReadFromFile(MString path);

    static const char* const DefaultBrowserId;
    static const char* const DefaultCustomAgent;
    static const char* const BrowserIds[8];

private:
    MString m_browserId;
    MString m_httpVer;
    MString m_customAgent;
    bool m_useCustomAgent = false;
    bool m_keepAlive = true;
    bool m_proxyUseBrowser = false;
    bool m_enableChecks = false;
    bool m_analogMode = false;
    bool m_resetContext = true;
    CProxyInfo m_proxyInfo;
    bool m_isDIL = false;
    unsigned int m_recorderVersion = 10;
    bool m_saveSnapshotResources = false;
    bool m_utf8InputOutput = false;
};
