#include <cstring>
#include <string>

#include "webstep/platform/WinInetInternal.h"

namespace webstep::platform {

std::string CanonicalizeUrl(std::string_view url, DWORD flags) {
    (void)flags;
    return std::string(url);
}

BOOL CopyResult(const std::string& result, LPSTR buffer, LPDWORD length, bool setError) {
    if (length == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (buffer == nullptr || *length <= result.size()) {
        *length = static_cast<DWORD>(result.size() + 1);
        if (setError)
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    std::memcpy(buffer, result.data(), result.size());
    buffer[result.size()] = '\0';
    *length = static_cast<DWORD>(result.size());
    return TRUE;
}

BOOL InternetCanonicalizeUrlA(LPCSTR lpszUrl, LPSTR lpszBuffer, LPDWORD lpdwBufferLength,
                              DWORD dwFlags) {
    if (lpszUrl == nullptr || lpdwBufferLength == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return CopyResult(CanonicalizeUrl(lpszUrl, dwFlags), lpszBuffer, lpdwBufferLength, true);
}

}  // namespace webstep::platform
