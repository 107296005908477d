#pragma once
// The library's own string table: the sixteen error messages (Simplified
// Chinese) under identifiers 22 to 37, kept in UTF-8 and delivered in the
// process code page the way the platform's string loader would deliver them.
// An English rendering of each message is kept beside it, outside the table.
#include <cstddef>
#include "webstep/foundation/Export.h"

namespace webstep::resources {

/// First and last identifier of the string table.
constexpr unsigned int kFirstStringId = 22;
constexpr unsigned int kLastStringId = 37;

/// The UTF-8 text stored under the identifier, or null when there is none.
WEBSTEP_API const char* FindStringUtf8(unsigned int id);

/// The English rendering of the string under the identifier (ASCII), or null.
WEBSTEP_API const char* FindEnglishString(unsigned int id);

/// Copies the string under the identifier, converted to the given code page
/// (0: the process code page), into buffer: at most size bytes including the
/// terminating zero, cut before a character that does not fit whole. Returns
/// the number of bytes copied without the zero; 0 when the identifier is
/// unknown (buffer untouched), the buffer is null, or no character fits (the
/// buffer then holds an empty text when size is at least 1). Characters that
/// the code page cannot represent become "?".
WEBSTEP_API std::size_t LoadStringA(unsigned int id, char* buffer, unsigned long size,
                                    unsigned int codePage = 0);

}  // namespace webstep::resources
