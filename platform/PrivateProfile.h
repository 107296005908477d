#pragma once
// The Windows private-profile (INI file) functions, on plain files.
//
// File format, as read: lines end with CRLF, LF or CR alone; a line whose
// first non-blank character is "[" and that holds a "]" opens a section named
// by the text up to the last "]" (trimmed); a "[" line without "]" opens no
// section. Any other non-blank line is a key line, split at its first "="
// (name and value trimmed of white space); a line without "=" is no key. Keys
// before the first section belong to the section "", and a lookup of "" finds
// only them (never a section written "[]"). Names compare case-insensitively
// (ASCII). When a section or key occurs twice, the first one wins. A direct
// lookup takes ";" as part of a name (the line "; k=v" answers "; k"), but
// enumerating a section's keys leaves out names that start with ";". A value
// enclosed in matching single or double quotes loses them.
//
// Writes change only the line concerned and keep every other byte of the
// file (blank lines, spacing, comments, line endings); a changed key is
// written as "name=value", new lines use the file's line ending (CRLF for a
// new file). A write replaces the file as a whole through a temporary file
// in the same directory, so readers see the old or the new file, never a
// mix. Writes from threads of one process are serialised; concurrent
// writers in other processes may overwrite each other's changes.
//
// A relative path is taken relative to the working directory. Errors are
// reported through GetLastError() (LastError.h): ERROR_FILE_NOT_FOUND when
// the file is missing (reads still return the default), and for failed
// writes the cause: 3 (path not found), 5 (access denied), 87 (invalid
// parameter) or 2 (file not found).
#include <cstdint>

#include "webstep/foundation/Export.h"
#include "webstep/platform/LastError.h"

namespace webstep::platform {

using BOOL = int;
using UINT = unsigned int;
using INT = int;
using LPSTR = char*;
using LPCSTR = const char*;

/// Copies into buffer (size bytes) and returns the bytes copied, without the
/// terminator:
/// - section and key given: the key's value, else the default (trailing
///   spaces of the default removed, enclosing quotes stripped); cut to
///   size - 1 bytes, never in the middle of a double-byte character.
/// - section NULL: the names of all sections (not the empty one); key NULL:
///   the names of the keys of the section (lines with "=", not ";" names);
///   each name NUL-terminated, the list ended by a second NUL. The whole list
///   is returned only when size is at least the names with their NULs plus
///   2; otherwise (also when the buffer holds the list and its final NUL
///   exactly) it is cut, ended with two NULs, and the result is size - 2.
/// A null buffer or a size of 0 returns 0 and writes nothing.
WEBSTEP_API DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR defaultValue,
                                           LPSTR buffer, DWORD size, LPCSTR fileName);

/// The key's value read as an integer: leading white space, an optional sign,
/// an optional prefix "0x" (hex), "0o" (octal) or "0b" (binary), lower-case
/// only ("0X1f" reads as 0), then digits
/// up to the first that does not belong to the base; the value wraps modulo
/// 2^32 ("0" when there are no digits). The default when the key is missing,
/// has no value or an empty one, or the file is missing.
WEBSTEP_API UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, INT defaultValue,
                                       LPCSTR fileName);

/// Sets section/key to value, creating the file, the section and the key as
/// needed. A NULL key deletes every section of that name; a NULL value deletes
/// the key (the first of that name). A NULL section fails with
/// ERROR_FILE_NOT_FOUND, except that all three NULL (a cache flush on
/// Windows) succeeds and does nothing. Deleting what does not exist succeeds
/// and leaves the file (or its absence) untouched. Returns nonzero on success.
WEBSTEP_API BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value,
                                            LPCSTR fileName);

/// Sets several keys of one section with a single replacement of the file:
/// the pairs keys[i]/values[i] are applied in order, each exactly as
/// WritePrivateProfileStringA would apply it (a NULL value deletes the key, a
/// NULL key the section), so the file ends byte for byte as after count
/// single writes - but the file holds either all of the changes or none of
/// them. A NULL section fails with ERROR_FILE_NOT_FOUND; a missing file name,
/// or null arrays with a count above 0, with ERROR_INVALID_PARAMETER. A count
/// of 0, or changes that change nothing, succeed without touching the file.
/// Returns nonzero on success; on failure the file is as it was and
/// GetLastError() tells the cause.
WEBSTEP_API BOOL WritePrivateProfileStringsA(LPCSTR section, const LPCSTR* keys,
                                             const LPCSTR* values, DWORD count, LPCSTR fileName);

}  // namespace webstep::platform
