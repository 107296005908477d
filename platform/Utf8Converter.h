#pragma once
// UTF-8 input: converting UTF-8 text, possibly arriving in chunks, to the
// process multi-byte code page (see CodePage.h) through UTF-16, on ICU.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// ICU's converter; declared here so that callers need not include ICU.
struct UConverter;

namespace webstep::platform {

/// Opens a converter on "utf-8"; null on failure. Malformed UTF-8 converts to
/// "?". Close it with WrUtilsCloseUTF8Converter.
WEBSTEP_API UConverter* WrUtilsGetUTF8Converter();

/// Converts a chunk of UTF-8 to the process code page into out (replacing its
/// contents). The converter keeps an incomplete character at the end of a
/// chunk and completes it with the next chunk, so a character split between
/// two chunks converts whole. Characters that the code page cannot represent
/// become "?". False (out empty) when the converter is null or the code page
/// has no converter.
WEBSTEP_API bool WrUtilsUtf8ToMb_Statefull(UConverter* converter, const MString& in, MString& out);

/// Ends a stream: an incomplete character still held by the converter
/// becomes "?" in out (empty when none), and the converter is ready for a new
/// stream.
WEBSTEP_API bool WrUtilsUtf8ToMb_Flush(UConverter* converter, MString& out);

/// Closes the converter; null is accepted.
WEBSTEP_API void WrUtilsCloseUTF8Converter(UConverter* converter);

}  // namespace webstep::platform
