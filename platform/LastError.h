#pragma once
// The calling thread's last error code, as the Windows services report it.
// Every platform function that fails sets it; callers read it right after the
// failing call. Shared by all platform services of this layer.
#include <cstdint>
#include "webstep/foundation/Export.h"

namespace webstep::platform {

using DWORD = std::uint32_t;

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INTERNET_INVALID_URL = 12005;
constexpr DWORD ERROR_INTERNET_UNRECOGNIZED_SCHEME = 12006;

WEBSTEP_API DWORD GetLastError();
WEBSTEP_API void SetLastError(DWORD error);

}  // namespace webstep::platform
