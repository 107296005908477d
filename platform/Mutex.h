#pragma once
// Windows-style mutexes inside one process: recursive, owned by the thread
// that acquired them, released only by that thread.
//
// Handles are checked: a null, unknown or already closed handle fails with
// ERROR_INVALID_HANDLE (6) instead of touching memory. A name makes the mutex
// shared by every CreateMutexA of that name in this process (there is no
// sharing between processes). When a thread ends while it owns a mutex, the
// next thread to acquire it gets WAIT_ABANDONED (and owns it).
#include "webstep/foundation/Export.h"
#include "webstep/platform/LastError.h"

namespace webstep::platform {

using BOOL = int;
using LPCSTR = const char*;
using HANDLE = void*;

constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_ABANDONED = 0x80;
constexpr DWORD WAIT_TIMEOUT = 0x102;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

/// A new mutex, or, for a name already in use, a new handle to that mutex
/// (the last error is then ERROR_ALREADY_EXISTS, 183, else 0). With
/// initialOwner the calling thread owns a newly created mutex at once. The
/// security attributes are ignored. Never null.
WEBSTEP_API HANDLE CreateMutexA(void* securityAttributes, BOOL initialOwner, LPCSTR name);
/// Acquires the mutex, waiting at most `milliseconds` (INFINITE: no limit;
/// 0: just try). WAIT_OBJECT_0, WAIT_ABANDONED, WAIT_TIMEOUT, or WAIT_FAILED
/// for a bad handle. The owner acquires again at once (the count rises).
WEBSTEP_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
/// Lowers the owner's count, freeing the mutex at 0. Fails with
/// ERROR_NOT_OWNER (288) when the calling thread does not own it.
WEBSTEP_API BOOL ReleaseMutex(HANDLE handle);
/// Closes the handle; the mutex goes away with its last handle (ownership is
/// not released by closing). Fails for a bad handle.
WEBSTEP_API BOOL CloseHandle(HANDLE handle);

}  // namespace webstep::platform
