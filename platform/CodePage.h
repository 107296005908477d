#pragma once
// The process multi-byte ("ANSI") code page and the runtime's multi-byte
// string helpers, portable.
//
// The code page is taken, in this order, from SetProcessCodePage, from the
// environment variable WEBSTEP_CODEPAGE (a number such as 936), and from the
// codeset of the locale (LC_ALL, LC_CTYPE, LANG). The double-byte code pages
// 932 (Shift-JIS), 936 (GBK), 949 (UHC) and 950 (Big5) have lead bytes; UTF-8
// (65001) has multi-byte sequences whose bytes are all >= 0x80, so an ASCII
// byte is never part of a character. EUC-JP (51932, up to 3 bytes) and
// GB18030 (54936, up to 4 bytes) are multi-byte too, for Linux locales that
// use them; every other code page is single-byte.
//
// Locale parsing: the first non-empty of LC_ALL, LC_CTYPE, LANG is used; its
// codeset is the text between "." and "@" ("zh_CN.GBK" -> 936). "C", "POSIX",
// a locale without codeset and an unknown codeset all give 1252, the code
// page that Western Windows systems run with.
#include <cstddef>
#include "webstep/foundation/Export.h"

namespace webstep::platform {

constexpr unsigned int CP_SHIFT_JIS = 932;
constexpr unsigned int CP_GBK = 936;
constexpr unsigned int CP_UHC = 949;
constexpr unsigned int CP_BIG5 = 950;
constexpr unsigned int CP_LATIN1 = 1252;
constexpr unsigned int CP_UTF8 = 65001;
constexpr unsigned int CP_LATIN1_ISO = 28591;
constexpr unsigned int CP_EUC_JP = 51932;
constexpr unsigned int CP_GB18030 = 54936;

/// The current process code page.
WEBSTEP_API unsigned int GetProcessCodePage();
/// Overrides the process code page; 0 returns to the environment / locale.
WEBSTEP_API void SetProcessCodePage(unsigned int codePage);
/// The code page named by a codeset such as "UTF-8", "GBK", "SJIS",
/// "ISO-8859-1", "CP936"; 0 when unknown.
WEBSTEP_API unsigned int CodePageFromCodeset(const char* codeset);

/// The code page that a locale name such as "zh_CN.GBK@x" stands for; 1252
/// for "C", "POSIX", an empty name, no codeset or an unknown codeset.
WEBSTEP_API unsigned int CodePageFromLocale(const char* locale);

/// 932, 936, 949 and 950.
WEBSTEP_API bool IsDoubleByteCodePage(unsigned int codePage);
/// Any code page with characters of more than one byte (the double-byte ones,
/// UTF-8, EUC-JP, GB18030).
WEBSTEP_API bool IsMultiByteCodePage(unsigned int codePage);
/// The longest character of the code page, in bytes.
WEBSTEP_API int GetMaxCharLength(unsigned int codePage);
/// Length of the character at s in the code page, looking at most n bytes,
/// with the semantics of mblen below.
WEBSTEP_API int CharLength(unsigned int codePage, const char* s, std::size_t n);
/// A half-width katakana byte, a one-byte character of Shift-JIS (0xA1-0xDF).
WEBSTEP_API bool IsHalfWidthKatakana(unsigned int codePage, unsigned char byte);
WEBSTEP_API bool IsHalfWidthKatakana(unsigned char byte);
/// Whether the byte starts a character of two or more bytes in the code page.
WEBSTEP_API bool IsLeadByte(unsigned int codePage, unsigned char byte);
/// The same in the current process code page.
WEBSTEP_API bool IsLeadByte(unsigned char byte);
/// Whether the system has a double-byte character set enabled: the process
/// code page has characters of several bytes. UTF-8 counts too, so that text
/// in a UTF-8 locale is kept whole rather than treated byte by byte.
WEBSTEP_API bool IsDbcsEnabled();
/// The longest character of the current code page, in bytes.
WEBSTEP_API int GetMaxCharLength();

/// Runtime multi-byte functions, in the current process code page.
WEBSTEP_API int _ismbblead(unsigned int c);
/// First occurrence of c as a whole character (never as a trail byte). A c
/// above 0xFF is a multi-byte character, its bytes packed big-endian (0x955C).
/// c == 0 finds the terminating NUL.
WEBSTEP_API unsigned char* _mbschr(const unsigned char* s, unsigned int c);
/// Compare at most n bytes; a double-byte character cut by n is not compared.
/// Results are -1, 0 or 1. The case-insensitive form folds ASCII letters, the
/// letters of the Western single-byte code pages and the full-width Latin
/// letters of the East Asian code pages.
WEBSTEP_API int _mbsnbcmp(const unsigned char* a, const unsigned char* b, std::size_t n);
WEBSTEP_API int _mbsnbicmp(const unsigned char* a, const unsigned char* b, std::size_t n);
/// Copy at most n bytes, never half a character; pads with NULs like strncpy.
/// A lead byte whose character does not fit, or is cut by the end of src, is
/// replaced by a NUL.
WEBSTEP_API unsigned char* _mbsnbcpy(unsigned char* dst, const unsigned char* src, std::size_t n);
/// Whether c is a white-space character: the ASCII white-space bytes (space,
/// tab, line feed, vertical tab, form feed, carriage return), or, as a
/// multi-byte character packed like _mbschr's argument, the ideographic space
/// of the code page (0x8140 in 932, 0xA1A1 in 936, 949, 51932 and 54936,
/// 0xA140 in 950, 0xE38080 in UTF-8).
WEBSTEP_API int _ismbcspace(unsigned int c);
/// Length of the character at s looking at most n bytes: 0 for a NUL byte,
/// -1 for an invalid or cut sequence, else its byte count.
WEBSTEP_API int mblen(const char* s, std::size_t n);

}  // namespace webstep::platform
