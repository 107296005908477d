// Platform services: the process code page, a URL split into its parts the
// way the Windows Internet functions do it, and an INI file written and read
// with the private-profile functions.
#include <webstep/platform/CodePage.h>
#include <webstep/platform/PrivateProfile.h>
#include <webstep/platform/WinInet.h>

#include <cstdio>
#include <cstring>
#include <string>

using namespace webstep::platform;

int main() {
    // GBK is a double-byte code page: 0x81 starts a two-byte character.
    SetProcessCodePage(CP_GBK);
    std::printf("code page %u, 0x81 is a lead byte: %s\n", GetProcessCodePage(),
                IsLeadByte(0x81) ? "yes" : "no");
    bool lead = IsLeadByte(0x81);
    SetProcessCodePage(0);  // back to what the environment says
    if (!lead)
        return 1;

    // Null pointers with non-zero lengths ask for pointers into the URL.
    const char* url = "https://user@shop.example.com:8443/cart/view?id=7#top";
    URL_COMPONENTSA parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = 1;
    parts.dwUrlPathLength = 1;
    parts.dwExtraInfoLength = 1;
    if (!InternetCrackUrlA(url, 0, 0, &parts)) {
        std::printf("cannot split %s (error %lu)\n", url,
                    static_cast<unsigned long>(GetLastError()));
        return 1;
    }
    std::string host(parts.lpszHostName, parts.dwHostNameLength);
    std::string path(parts.lpszUrlPath, parts.dwUrlPathLength);
    std::printf("scheme %d host %s port %u path %s\n", static_cast<int>(parts.nScheme),
                host.c_str(), parts.nPort, path.c_str());
    if (parts.nScheme != INTERNET_SCHEME_HTTPS || host != "shop.example.com" ||
        parts.nPort != 8443 || path != "/cart/view")
        return 1;

    // A text without a scheme is refused, with the reason in the last error.
    if (InternetCrackUrlA("no scheme here", 0, 0, &parts))
        return 1;

    const char* ini = "platform-example.ini";
    std::remove(ini);
    if (!WritePrivateProfileStringA("WEB", "HttpVer", "1.1", ini))
        return 1;
    char value[32];
    DWORD n = GetPrivateProfileStringA("WEB", "HttpVer", "1.0", value, sizeof value, ini);
    UINT missing = GetPrivateProfileIntA("WEB", "Missing", 42, ini);
    std::printf("HttpVer=%s (%lu bytes), Missing=%u\n", value, static_cast<unsigned long>(n),
                missing);
    std::remove(ini);
    return std::strcmp(value, "1.1") == 0 && missing == 42 ? 0 : 1;
}
