// Splitting a URL into its components, without decoding or copying.
#include <cstring>
#include <string_view>

#include "webstep/platform/WinInet.h"
#include "webstep/platform/internal/WinInetInternal.h"

namespace webstep::platform {

namespace {

struct Piece {
    const char* begin = nullptr;
    DWORD length = 0;
};

// Hands one component back: a pointer into the text, a copy into the
// caller's buffer, or nothing when the caller did not ask for it.
bool SetComponent(LPSTR& pointer, DWORD& length, const Piece& piece) {
    if (pointer == nullptr) {
        if (length == 0)
            return true;
        pointer = const_cast<LPSTR>(piece.length ? piece.begin : nullptr);
        length = piece.length;
        return true;
    }
    if (length <= piece.length) {
        length = piece.length + 1;
        return false;
    }
    if (piece.length)
        std::memcpy(pointer, piece.begin, piece.length);
    pointer[piece.length] = '\0';
    length = piece.length;
    return true;
}

// Port text as the C runtime's strtol reads a number into a 32-bit long:
// leading white space, a sign, digits, saturating at the long range; the
// result is then cut to 16 bits (so an overflowing port is 65535).
INTERNET_PORT ParsePort(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r')))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        negative = text[i++] == '-';
    std::int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > 0x80000000LL)
            value = 0x80000000LL;
    }
    if (negative)
        value = -value;
    if (value > 0x7FFFFFFFLL)
        value = 0x7FFFFFFFLL;
    return static_cast<INTERNET_PORT>(static_cast<std::uint32_t>(static_cast<std::int32_t>(value)) &
                                      0xFFFFu);
}

}  // namespace

bool CrackUrlParts(std::string_view url, CrackedUrl& out) {
    out = CrackedUrl{};
    std::size_t colon = url.find(':');
    if (colon == std::string_view::npos)
        return false;
    for (std::size_t i = 0; i < colon; ++i) {
        if (!IsSchemeChar(url[i]))
            return false;
    }
    out.scheme = url.substr(0, colon);
    out.nScheme = SchemeNumber(out.scheme);
    std::string_view rest = url.substr(colon + 1);

    // The extra information starts at the first "?", or when there is none,
    // at the first "#".
    std::size_t extra = rest.find('?');
    if (extra == std::string_view::npos)
        extra = rest.find('#');
    std::size_t pathStart = 0;
    if (rest.size() >= 2 && rest[0] == '/' && rest[1] == '/') {
        out.hasAuthority = true;
        std::size_t authEnd = rest.find('/', 2);
        if (extra != std::string_view::npos &&
            (authEnd == std::string_view::npos || extra < authEnd))
            authEnd = extra;
        if (authEnd == std::string_view::npos)
            authEnd = rest.size();
        std::string_view authority = rest.substr(2, authEnd - 2);
        pathStart = authEnd;
        // A file URL whose "host" is a drive ("c:" or a single letter) has
        // no host at all: the path starts right after the slashes.
        if (out.nScheme == INTERNET_SCHEME_FILE &&
            (authority.size() == 1 || (authority.size() >= 2 && authority[1] == ':'))) {
            pathStart = 2;
        } else {
            std::string_view hostPort = authority;
            std::size_t at = authority.find('@');
            if (at != std::string_view::npos) {
                std::string_view userInfo = authority.substr(0, at);
                std::size_t userColon = userInfo.rfind(':');
                if (userColon == std::string_view::npos) {
                    out.user = userInfo;
                } else {
                    out.user = userInfo.substr(0, userColon);
                    out.password = userInfo.substr(userColon + 1);
                }
                hostPort = authority.substr(at + 1);
            }
            std::size_t portColon = hostPort.rfind(':');
            if (portColon == std::string_view::npos) {
                out.host = hostPort;
                out.port = DefaultPort(out.nScheme);
            } else {
                out.host = hostPort.substr(0, portColon);
                out.port = ParsePort(hostPort.substr(portColon + 1));
                out.hasPort = true;
            }
        }
    }
    std::size_t pathEnd = extra == std::string_view::npos ? rest.size() : extra;
    if (pathEnd < pathStart)
        pathEnd = pathStart;
    out.path = rest.substr(pathStart, pathEnd - pathStart);
    // A line feed ends the path (a pasted URL with its line end).
    if (std::size_t lf = out.path.find('\n'); lf != std::string_view::npos)
        out.path = out.path.substr(0, lf);
    if (extra != std::string_view::npos)
        out.extra = rest.substr(extra);
    return true;
}

BOOL InternetCrackUrlA(LPCSTR lpszUrl, DWORD dwUrlLength, DWORD dwFlags,
                       URL_COMPONENTSA* lpUrlComponents) {
    (void)dwFlags;
    if (lpszUrl == nullptr || lpUrlComponents == nullptr ||
        (lpUrlComponents->dwStructSize != sizeof(URL_COMPONENTSA) &&
         lpUrlComponents->dwStructSize != URL_COMPONENTSA_SIZE32)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    std::string_view url(lpszUrl, dwUrlLength ? dwUrlLength : std::strlen(lpszUrl));
    if (url.empty()) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    CrackedUrl parts;
    if (!CrackUrlParts(url, parts)) {
        SetLastError(ERROR_INTERNET_UNRECOGNIZED_SCHEME);
        return FALSE;
    }
    auto piece = [](std::string_view v) { return Piece{v.data(), static_cast<DWORD>(v.size())}; };
    URL_COMPONENTSA& uc = *lpUrlComponents;
    bool fits = true;
    fits &= SetComponent(uc.lpszScheme, uc.dwSchemeLength, piece(parts.scheme));
    fits &= SetComponent(uc.lpszHostName, uc.dwHostNameLength, piece(parts.host));
    fits &= SetComponent(uc.lpszUserName, uc.dwUserNameLength, piece(parts.user));
    fits &= SetComponent(uc.lpszPassword, uc.dwPasswordLength, piece(parts.password));
    fits &= SetComponent(uc.lpszUrlPath, uc.dwUrlPathLength, piece(parts.path));
    fits &= SetComponent(uc.lpszExtraInfo, uc.dwExtraInfoLength, piece(parts.extra));
    uc.nScheme = static_cast<INTERNET_SCHEME>(parts.nScheme);
    uc.nPort = parts.port;
    if (!fits) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    return TRUE;
}

}  // namespace webstep::platform
