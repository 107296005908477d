// Scheme names and numbers shared by the URL services.
#include <array>

#include "webstep/platform/internal/WinInetInternal.h"

namespace webstep::platform {

namespace {
bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z')
            x = char(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z')
            y = char(y - 'A' + 'a');
        if (x != y)
            return false;
    }
    return true;
}
}  // namespace

bool IsSchemeChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '-' || c == '.';
}

int SchemeNumber(std::string_view scheme) {
    static constexpr std::array<std::string_view, 11> kNames = {
        "ftp",    "gopher", "http",       "https",    "file", "news",
        "mailto", "socks",  "javascript", "vbscript", "res"};
    // The lookup compares only as many characters as the given name has, so
    // a prefix of a known name ("h", or an empty name) takes the first entry
    // it starts.
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        if (scheme.size() <= kNames[i].size() &&
            EqualsNoCase(scheme, kNames[i].substr(0, scheme.size())))
            return int(i) + 1;
    }
    return INTERNET_SCHEME_UNKNOWN;
}

INTERNET_PORT DefaultPort(int nScheme) {
    switch (nScheme) {
        case INTERNET_SCHEME_FTP:
            return INTERNET_DEFAULT_FTP_PORT;
        case INTERNET_SCHEME_HTTP:
            return INTERNET_DEFAULT_HTTP_PORT;
        case INTERNET_SCHEME_HTTPS:
            return INTERNET_DEFAULT_HTTPS_PORT;
        default:
            return INTERNET_INVALID_PORT_NUMBER;
    }
}

}  // namespace webstep::platform
