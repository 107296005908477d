#pragma once
// Helpers shared by the URL services (not part of the public interface).
#include <string_view>

#include "webstep/platform/WinInet.h"

namespace webstep::platform {

struct CrackedUrl {
    std::string_view scheme, host, user, password, path, extra;
    int nScheme = INTERNET_SCHEME_UNKNOWN;
    INTERNET_PORT port = 0;
    bool hasAuthority = false;  // "scheme://"
    bool hasPort = false;
};

// The splitting rules of InternetCrackUrlA; false when the text has no
// scheme. Views point into url.
bool CrackUrlParts(std::string_view url, CrackedUrl& out);

bool IsSchemeChar(char c);
// INTERNET_SCHEME number of a scheme name (case-insensitive).
int SchemeNumber(std::string_view scheme);
INTERNET_PORT DefaultPort(int nScheme);

}  // namespace webstep::platform

#include <string>

namespace webstep::platform {

std::string CanonicalizeUrl(std::string_view url, DWORD flags);
// With fileUrlForm, file URLs and DOS paths take the URL form that combining
// produces ("file:///C:/dir/x") instead of the path form ("file://C:\\dir\\x").
std::string CanonicalizeUrlForm(std::string_view url, bool fileUrlForm);
std::string CombineUrl(std::string_view base, std::string_view relative, DWORD flags);
// Buffer contract of the canonicalise/combine services.
BOOL CopyResult(const std::string& result, LPSTR buffer, LPDWORD length, bool setError);

}  // namespace webstep::platform
