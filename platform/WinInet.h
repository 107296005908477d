#pragma once
// URL services with the names, signatures and observable behaviour of the
// Windows Internet functions: splitting a URL into its components,
// canonicalising it and combining a base URL with a relative one. Byte
// strings are processed as they stand (single-byte code page semantics).
#include <cstdint>

#include "webstep/foundation/Export.h"
#include "webstep/platform/LastError.h"

namespace webstep::platform {

using BOOL = int;
using WORD = std::uint16_t;
using INTERNET_PORT = WORD;
using LPSTR = char*;
using LPCSTR = const char*;
using LPDWORD = DWORD*;

constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;

enum INTERNET_SCHEME : int {
    INTERNET_SCHEME_PARTIAL = -2,
    INTERNET_SCHEME_UNKNOWN = -1,
    INTERNET_SCHEME_DEFAULT = 0,
    INTERNET_SCHEME_FTP = 1,
    INTERNET_SCHEME_GOPHER = 2,
    INTERNET_SCHEME_HTTP = 3,
    INTERNET_SCHEME_HTTPS = 4,
    INTERNET_SCHEME_FILE = 5,
    INTERNET_SCHEME_NEWS = 6,
    INTERNET_SCHEME_MAILTO = 7,
    INTERNET_SCHEME_SOCKS = 8,
    INTERNET_SCHEME_JAVASCRIPT = 9,
    INTERNET_SCHEME_VBSCRIPT = 10,
    INTERNET_SCHEME_RES = 11,
    INTERNET_SCHEME_FIRST = INTERNET_SCHEME_FTP,
    INTERNET_SCHEME_LAST = INTERNET_SCHEME_RES
};

constexpr INTERNET_PORT INTERNET_INVALID_PORT_NUMBER = 0;
constexpr INTERNET_PORT INTERNET_DEFAULT_FTP_PORT = 21;
constexpr INTERNET_PORT INTERNET_DEFAULT_HTTP_PORT = 80;
constexpr INTERNET_PORT INTERNET_DEFAULT_HTTPS_PORT = 443;

/// Flags of the canonicalise/combine services (only ICU_NO_ENCODE and
/// ICU_DECODE change the result here; the others are accepted).
constexpr DWORD ICU_NO_ENCODE = 0x20000000;
constexpr DWORD ICU_DECODE = 0x10000000;
constexpr DWORD ICU_NO_META = 0x08000000;
constexpr DWORD ICU_ENCODE_SPACES_ONLY = 0x04000000;
constexpr DWORD ICU_BROWSER_MODE = 0x02000000;
constexpr DWORD ICU_ENCODE_PERCENT = 0x00001000;
constexpr DWORD ICU_ESCAPE = 0x80000000;

/// The components record. A component whose pointer is null and whose length
/// is not zero is returned as a pointer into the URL text plus a length; one
/// with a caller buffer (pointer and its size) is copied there with a NUL;
/// one with a null pointer and length 0 is not wanted.
struct WEBSTEP_API URL_COMPONENTSA {
    DWORD dwStructSize;
    LPSTR lpszScheme;
    DWORD dwSchemeLength;
    INTERNET_SCHEME nScheme;
    LPSTR lpszHostName;
    DWORD dwHostNameLength;
    INTERNET_PORT nPort;
    LPSTR lpszUserName;
    DWORD dwUserNameLength;
    LPSTR lpszPassword;
    DWORD dwPasswordLength;
    LPSTR lpszUrlPath;
    DWORD dwUrlPathLength;
    LPSTR lpszExtraInfo;
    DWORD dwExtraInfoLength;
};

/// The size that 32-bit callers store in dwStructSize; accepted as well as
/// sizeof(URL_COMPONENTSA).
constexpr DWORD URL_COMPONENTSA_SIZE32 = 60;

/// Splits a URL. dwUrlLength 0 means the text is NUL-terminated. Fails with
/// ERROR_INVALID_PARAMETER for a null/empty URL or a bad record and with
/// ERROR_INTERNET_UNRECOGNIZED_SCHEME when the text has no scheme.
WEBSTEP_API BOOL InternetCrackUrlA(LPCSTR lpszUrl, DWORD dwUrlLength, DWORD dwFlags,
                                   URL_COMPONENTSA* lpUrlComponents);

/// Canonicalises a URL into lpszBuffer of *lpdwBufferLength bytes. On success
/// *lpdwBufferLength is the result length without the NUL; when the buffer is
/// too small it fails with ERROR_INSUFFICIENT_BUFFER and sets the size needed
/// including the NUL.
WEBSTEP_API BOOL InternetCanonicalizeUrlA(LPCSTR lpszUrl, LPSTR lpszBuffer,
                                          LPDWORD lpdwBufferLength, DWORD dwFlags);

/// Resolves lpszRelativeUrl against lpszBaseUrl and canonicalises the result,
/// with the same buffer contract as InternetCanonicalizeUrlA.
WEBSTEP_API BOOL InternetCombineUrlA(LPCSTR lpszBaseUrl, LPCSTR lpszRelativeUrl, LPSTR lpszBuffer,
                                     LPDWORD lpdwBufferLength, DWORD dwFlags);

}  // namespace webstep::platform
