#pragma once
// Conversion between raw bytes and the printable script form, in which a byte
// that cannot stand in a script string is written "\xHH" (upper-case hex) and
// a backslash is doubled. Buffers handed to the caller are freed with free().
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// Conversions between raw bytes and their printable script form (a byte that
/// cannot stand in a C string literal written "\xHH", a backslash doubled).
/// Stateless: every member is static. Buffers it allocates for the caller are
/// freed with free(); a decode that runs out of memory returns -1.
class WEBSTEP_API CBinaryDataHandler {
public:
    CBinaryDataHandler& operator=(const CBinaryDataHandler&) { return *this; }

    /// 0-15 for a hexadecimal digit of either case, else -1.
    static int CharToHexa(char c);
    /// p points after a backslash: the value of "xHH" / "XHH" there, else -1.
    static int GetEscapedChar(char* p);
    /// Decodes the script form. *result gets a zero-terminated malloc'd buffer
    /// (the caller frees it); returns the byte count, or -1 when memory runs
    /// out or result is null. A null text decodes as "".
    static int ConvertAsciiToBinary(const char* text, char** result, bool unescapeBackslash);
    /// Encodes into out; returns whether any byte needed an escape. In check
    /// mode nothing is written. With keepText false every single-byte
    /// character is escaped; multi-byte and half-width katakana characters of
    /// a double-byte code page are always copied as they are.
    static bool ConvertBinaryToAsciiEx(const unsigned char* data, unsigned int length, MString& out,
                                       bool checkOnly, bool keepText);
    static bool ConvertBinaryToAscii(const unsigned char* data, unsigned int length, MString& out,
                                     bool checkOnly);
    /// Encodes into a caller's buffer of capacity *outLength (no terminator,
    /// no multi-byte handling). What does not fit is counted but not written;
    /// outside check mode *outLength receives the size the whole output needs.
    static bool ConvertBinaryToAscii(const unsigned char* data, unsigned int length, char* out,
                                     unsigned int* outLength, bool checkOnly);
};

/// Free functions of the same names, forwarding to CBinaryDataHandler.
WEBSTEP_API int CharToHexa(char c);
WEBSTEP_API int GetEscapedChar(char* p);
WEBSTEP_API int ConvertAsciiToBinary(const char* text, char** result, bool unescapeBackslash);
WEBSTEP_API bool ConvertBinaryToAsciiEx(const unsigned char* data, unsigned int length,
                                        MString& out, bool checkOnly, bool keepText);
WEBSTEP_API bool ConvertBinaryToAscii(const unsigned char* data, unsigned int length, MString& out,
                                      bool checkOnly);
WEBSTEP_API bool ConvertBinaryToAscii(const unsigned char* data, unsigned int length, char* out,
                                      unsigned int* outLength, bool checkOnly);
