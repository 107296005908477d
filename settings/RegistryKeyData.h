#pragma once
// Single typed values of the registry: strings, 32-bit numbers and binary
// blocks under a root key and a subkey path.
//
// The values live in the registry stand-in's value store, under the key path
// "<root name>\<subkey>" (for instance "HKEY_CLASSES_ROOT\.htm"). The store
// keeps strings only, so each value is kept with its type the way registry
// export files write it: "hex:0a,ff" for binary data, "dword:0000002a" for a
// number and "expand:text" for an expandable string; any other text is a
// plain string (so hand-written entries need no prefix).
//
// Readers fall back to their default silently. A setter that fails shows the
// message box "can not update the registry." (caption "Error", stop icon,
// no owner) and returns 0.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

namespace webstep::platform {
/// A predefined root key.
using HKEY = unsigned long;
inline constexpr HKEY HKEY_CLASSES_ROOT = 0x80000000ul;
inline constexpr HKEY HKEY_CURRENT_USER = 0x80000001ul;
inline constexpr HKEY HKEY_LOCAL_MACHINE = 0x80000002ul;
inline constexpr HKEY HKEY_USERS = 0x80000003ul;
/// The key path of a subkey under a root ("HKEY_CURRENT_USER\Software\x");
/// empty for an unknown root.
WEBSTEP_API MString RegistryKeyPath(HKEY root, const char* subKey);
}  // namespace webstep::platform

/// A string or expandable string value; the default for any other type.
WEBSTEP_API MString GetStringKeyData(const char* subKey, const char* valueName,
                                     webstep::platform::HKEY root, const char* defaultValue);
WEBSTEP_API int SetStringKeyData(const char* subKey, const char* valueName,
                                 webstep::platform::HKEY root, const char* value);
/// A 32-bit number value; the default for any other type (a number written as
/// a string included).
WEBSTEP_API unsigned long GetNumKeyData(const char* subKey, const char* valueName,
                                        webstep::platform::HKEY root, unsigned long defaultValue);
WEBSTEP_API int SetNumKeyData(const char* subKey, const char* valueName,
                              webstep::platform::HKEY root, unsigned long value);
/// A binary value: returns its length (0 when it is missing or not binary).
/// When it fits into the caller's buffer of `size` bytes it is copied there
/// and *allocated is set to null; otherwise, when `allocated` is not null, a
/// block of its length is taken with malloc, filled and stored in *allocated
/// (the caller frees it with free); with a null `allocated` nothing is copied.
WEBSTEP_API unsigned long GetBinKeyData(const char* subKey, const char* valueName,
                                        webstep::platform::HKEY root, unsigned char* buffer,
                                        unsigned long size, unsigned char** allocated);
/// Writes the value when data is not null; without data it writes nothing
/// and succeeds.
WEBSTEP_API int SetBinKeyData(const char* subKey, const char* valueName,
                              webstep::platform::HKEY root, const unsigned char* data,
                              unsigned long size);
