#pragma once
// URL encoding of form names and values.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// Keeps ASCII letters, digits, '-', '.', '_' and '*', writes a space as '+',
/// keeps '@' unless escapeAt, and writes any other byte as %XX (upper case).
WEBSTEP_API void EscArgs(MString& text, bool escapeAt);
/// '+' becomes a space, %HH the byte; a malformed escape stays as written.
/// Sets *sawEscapedAt (when not null) to true when a %40 was decoded; it is
/// never set back to false, so a caller can collect over several texts.
WEBSTEP_API void UnEscArgs(MString& text, bool* sawEscapedAt);
