#pragma once
// A small stand-in for the Windows registry: the MIME database (content type
// <-> file extension) read from a mime.types file, and a file-backed store of
// string values under key paths.
//
// MIME database: the file has lines "type/subtype ext1 ext2 ..."; "#" starts
// a comment. A content type maps to its first extension; an extension maps to
// the first content type that lists it. Lookups ignore letter case and
// parameters (";charset=..."). The file is /etc/mime.types unless set with
// SetMimeTypesPath; it is read again when it changes.
//
// Value store: an INI file (see PrivateProfile.h) whose sections are key
// paths (such as "HKEY_CURRENT_USER\Software\webstep") and whose keys are
// value names; names compare case-insensitively, like the registry's. The file
// is SetRegistryPath's, else $WEBSTEP_REGISTRY, else
// $XDG_CONFIG_HOME/webstep/registry.ini, else ~/.config/webstep/registry.ini;
// its directory is created on the first write. Values are stored quoted and
// with "%" escapes, so any byte string (spaces at the ends, line breaks)
// survives. Every write replaces the file as a whole (the old or the new file,
// never a mix). Value names and key paths may hold any bytes but NUL.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

namespace webstep::platform {

/// null or "" returns to /etc/mime.types.
WEBSTEP_API void SetMimeTypesPath(const char* path);
WEBSTEP_API MString GetMimeTypesPath();
/// "image/gif" -> ".gif" (with the dot); false when unknown.
WEBSTEP_API bool GetExtensionFromContentType(const char* contentType, MString& extension);
/// ".gif" or "gif" -> "image/gif"; false when unknown.
WEBSTEP_API bool GetContentTypeFromExtension(const char* extension, MString& contentType);

/// null or "" returns to the default location.
WEBSTEP_API void SetRegistryPath(const char* path);
WEBSTEP_API MString GetRegistryPath();
/// False (value untouched) when the key path or value is missing.
WEBSTEP_API bool RegistryGetString(const char* keyPath, const char* valueName, MString& value);
/// Creates the key path and the value as needed; false when the file cannot
/// be written.
WEBSTEP_API bool RegistrySetString(const char* keyPath, const char* valueName, const char* value);
/// True also when there was nothing to delete.
WEBSTEP_API bool RegistryDeleteValue(const char* keyPath, const char* valueName);
/// Deletes the key path with all its values.
WEBSTEP_API bool RegistryDeleteKey(const char* keyPath);

}  // namespace webstep::platform
