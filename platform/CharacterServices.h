#pragma once
// Character classification and encoding services of the operating-system
// layer, on ICU: a process-wide character-set type, multi-byte aware tests
// and lower-casing of one character of the process code page, detection of
// Japanese encodings in a byte string and conversion between encodings.
//
// Every function takes the character at `s` with at most `n` bytes readable
// there; none reads past `n` or relies on a terminating NUL. None throws.
#include <cstddef>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

namespace webstep::platform {

/// The character-set type of the process, a process-wide setting. Values
/// above 1 mean a multi-byte set (characters of more than one byte exist), 1
/// a single-byte set; 0 is only used to reset an override. By default it
/// follows the process code page (see CodePage.h).
enum xeOsCharsetType : int {
    OS_CHARSET_NONE = 0,
    OS_CHARSET_SINGLE_BYTE = 1,
    OS_CHARSET_SHIFT_JIS = 2,  // 932
    OS_CHARSET_GBK = 3,        // 936
    OS_CHARSET_UHC = 4,        // 949
    OS_CHARSET_BIG5 = 5,       // 950
    OS_CHARSET_EUC_JP = 6,     // 51932
    OS_CHARSET_GB18030 = 7,    // 54936
    OS_CHARSET_UTF8 = 8,       // 65001
};

/// The type of a code page: single-byte code pages give 1.
WEBSTEP_API xeOsCharsetType CharsetTypeFromCodePage(unsigned int codePage);
/// The current type: the override when one is set, else the process code
/// page's type.
WEBSTEP_API xeOsCharsetType os_get_charset_type();
/// Overrides the type; OS_CHARSET_NONE follows the process code page again.
WEBSTEP_API void os_set_charset_type(xeOsCharsetType type);

/// Bytes of the character at s in the process code page: 1 for a byte that
/// does not start a valid character (an invalid or cut sequence, or a NUL),
/// 0 only when n is 0 or s is null. Walking a string with it never stops.
WEBSTEP_API std::size_t os_char_len(const char* s, std::size_t n);

/// Whether the character at s is white space: the ASCII white-space bytes
/// (space, tab, line feed, vertical tab, form feed, carriage return) and, for
/// other characters, the Unicode separators that are not no-break spaces
/// (so the ideographic space U+3000 is space and U+00A0 is not).
WEBSTEP_API bool os_is_char_space(const char* s, std::size_t n);
/// Whether the character at s is a letter (ASCII letters, and any other
/// character that Unicode counts as alphabetic, such as é or 漢).
WEBSTEP_API bool os_is_char_alpha(const char* s, std::size_t n);
/// Lowers the character at s in place when its lower-case form has the same
/// number of bytes in the process code page (otherwise it is left as it is).
/// Returns the character's length as os_char_len does.
WEBSTEP_API std::size_t os_tolower(char* s, std::size_t n);

/// Encodings known to the detection and conversion services.
enum xeOsEncodedMethod : int {
    OS_ENCODED_UNKNOWN = 0,
    OS_ENCODED_ASCII = 1,
    OS_ENCODED_ISO2022JP = 2,  // 7-bit JIS with escape sequences
    OS_ENCODED_SHIFT_JIS = 3,
    OS_ENCODED_EUC_JP = 4,
    OS_ENCODED_UTF8 = 5,
    OS_ENCODED_GBK = 6,
    OS_ENCODED_UHC = 7,
    OS_ENCODED_BIG5 = 8,
    OS_ENCODED_WINDOWS_1252 = 9,
    OS_ENCODED_GB18030 = 10,
    OS_ENCODED_LOCAL = 100,  // the process code page
};

/// Detects the encoding of n bytes: ASCII when every byte is below 0x80 and
/// no ISO-2022 escape sequence occurs; ISO-2022-JP when such a sequence
/// occurs and every byte is below 0x80; otherwise UTF-8 when the bytes are
/// valid UTF-8; otherwise Shift-JIS or EUC-JP, whichever the bytes are valid
/// in (when both are, the one in which more of the text reads as kana,
/// full-width kana weighing three times a half-width one, with ties going to
/// EUC-JP when it is the process code page and otherwise to Shift-JIS);
/// otherwise OS_ENCODED_UNKNOWN. Empty input is ASCII.
WEBSTEP_API xeOsEncodedMethod os_str_detect_encoded_method(const char* s, std::size_t n);

/// Converts n bytes from one encoding to another into out (replacing its
/// contents). Characters that the target cannot represent become "?", and
/// malformed input is replaced the same way. Half-width katakana written to
/// ISO-2022-JP, which has none, become their full-width forms. Returns false, with out empty,
/// when an encoding is unknown or unavailable or s is null with n > 0.
WEBSTEP_API bool os_conv_strings(xeOsEncodedMethod from, xeOsEncodedMethod to, const char* s,
                                 std::size_t n, MString& out);

/// The ICU converter name for a code page (the first of its candidate names
/// that ICU can open); empty when ICU has none.
WEBSTEP_API std::string IcuConverterNameForCodePage(unsigned int codePage);

/// The bytes of one Unicode code point in the process code page, replacing
/// out. Fails (false, out empty) when the code page cannot represent it
/// exactly, for surrogates and for values above U+10FFFF; no substitute
/// character is ever produced.
WEBSTEP_API bool CodePointToProcessCodePage(unsigned int codePoint, MString& out);

}  // namespace webstep::platform
