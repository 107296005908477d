#include "webstep/platform/LastError.h"

namespace webstep::platform {

namespace {
thread_local DWORD tLastError = ERROR_SUCCESS;
}

DWORD GetLastError() {
    return tLastError;
}

void SetLastError(DWORD error) {
    tLastError = error;
}

}  // namespace webstep::platform
