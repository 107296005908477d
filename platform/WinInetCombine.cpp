#include <string>

#include "webstep/platform/WinInetInternal.h"

namespace webstep::platform {

std::string CombineUrl(std::string_view base, std::string_view relative, DWORD flags) {
    (void)base;
    return CanonicalizeUrl(relative, flags);
}

BOOL InternetCombineUrlA(LPCSTR lpszBaseUrl, LPCSTR lpszRelativeUrl, LPSTR lpszBuffer,
                         LPDWORD lpdwBufferLength, DWORD dwFlags) {
    if (lpszBaseUrl == nullptr || lpszRelativeUrl == nullptr || lpdwBufferLength == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return CopyResult(CombineUrl(lpszBaseUrl, lpszRelativeUrl, dwFlags), lpszBuffer,
                      lpdwBufferLength, true);
}

}  // namespace webstep::platform
