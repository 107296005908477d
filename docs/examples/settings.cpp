// Run-time settings: defaults, a few changes, the WEB section written to a
// settings file and read back into a fresh object, and the proxy record the
// settings hold.
#include <webstep/settings/ProxyInfo.h>
#include <webstep/settings/RunTimeSettings.h>

#include <cstdio>
#include <fstream>
#include <iostream>

int main() {
    const char* path = "settings-example.cfg";
    std::remove(path);

    CRunTimeSettings settings;  // starts on the defaults
    std::printf("default browser %s, HTTP %s, keep-alive %s\n", settings.GetBrowserId().c_str(),
                settings.GetActualHTTPVerString().c_str(), settings.GetKeepAlive() ? "yes" : "no");

    settings.SetHttpVer("1.0");
    settings.SetKeepAlive(false);
    CProxyInfo proxy = settings.GetProxyInfo();
    proxy.SetHTTPHost("proxy.example.org");
    proxy.SetHTTPPort(3128);
    settings.SetProxyInfo(proxy);
    // Only the WEB section is written; other sections of the file stay.
    settings.SaveToFile(path);

    std::ifstream file(path);
    std::cout << file.rdbuf() << '\n';

    // A reader never fails: what is missing or unreadable keeps its default.
    CRunTimeSettings reread;
    reread.ReadFromFile(path);
    std::printf("read back: HTTP %s, keep-alive %s, proxy %s:%u\n", reread.GetHttpVer().c_str(),
                reread.GetKeepAlive() ? "yes" : "no", reread.GetProxyInfo().GetHTTPHost().c_str(),
                reread.GetProxyInfo().GetHTTPPort());
    std::remove(path);

    CRunTimeSettings missing;
    missing.ReadFromFile("no-such-settings-file.cfg");

    return reread.GetHttpVer() == "1.0" && !reread.GetKeepAlive() &&
                   reread.GetProxyInfo().GetHTTPHost() == "proxy.example.org" &&
                   missing.GetKeepAlive()
               ? 0
               : 1;
}
