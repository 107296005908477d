#pragma once
// The process multi-byte ("ANSI") code page and the runtime's multi-byte
// string helpers, portable.
//
// The code page is taken, in this order, from SetProcessCodePage, from the
// environment variable WEBSTEP_CODEPAGE (a number such as 936), and from the
// codeset of the locale (LC_ALL, LC_CTYPE, LANG). The double-byte code pages
// 932 (Shift-JIS), 936 (GBK), 949 (UHC) and 950 (Big5) have lead bytes; UTF-8
// (65001) has multi-byte sequences whose bytes are all >= 0x80, so an ASCII
// byte is never part of a character; every other code page is single-byte.
#include <cstddef>

namespace webstep::platform {

constexpr unsigned int CP_SHIFT_JIS = 932;
constexpr unsigned int CP_GBK = 936;
constexpr unsigned int CP_UHC = 949;
constexpr unsigned int CP_BIG5 = 950;
constexpr unsigned int CP_LATIN1 = 1252;
constexpr unsigned int CP_UTF8 = 65001;

// The current process code page.
unsigned int GetProcessCodePage();
// Overrides the process code page; 0 returns to the environment / locale.
void SetProcessCodePage(unsigned int codePage);
// The code page named by a codeset such as "UTF-8", "GBK", "SJIS",
// "ISO-8859-1", "CP936"; 0 when unknown.
unsigned int CodePageFromCodeset(const char* codeset);

bool IsDoubleByteCodePage(unsigned int codePage);
// Whether the byte starts a character of two or more bytes in the code page.
bool IsLeadByte(unsigned int codePage, unsigned char byte);
// The same in the current process code page.
bool IsLeadByte(unsigned char byte);
// Whether the system has a double-byte character set enabled (the process
// code page is a double-byte one).
bool IsDbcsEnabled();
// The longest character of the current code page, in bytes.
int GetMaxCharLength();

// Runtime multi-byte functions, in the current process code page.
int _ismbblead(unsigned int c);
// First occurrence of c as a whole character (never as a trail byte).
unsigned char* _mbschr(const unsigned char* s, unsigned int c);
// Compare at most n bytes; a double-byte character cut by n is not compared.
int _mbsnbcmp(const unsigned char* a, const unsigned char* b, std::size_t n);
int _mbsnbicmp(const unsigned char* a, const unsigned char* b, std::size_t n);
// Copy at most n bytes, never half a character; pads with NULs like strncpy.
unsigned char* _mbsnbcpy(unsigned char* dst, const unsigned char* src, std::size_t n);
// Length of the character at s looking at most n bytes: 0 for a NUL byte,
// -1 for an invalid or cut sequence, else its byte count.
int mblen(const char* s, std::size_t n);

}  // namespace webstep::platform
