#include "webstep/platform/CharacterServices.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/utf16.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "webstep/platform/CodePage.h"

namespace webstep::platform {

namespace {

std::atomic<int> g_charsetOverride{OS_CHARSET_NONE};

// One converter per thread for the process code page, with both directions
// set to stop at anything that does not convert exactly.
class StrictProcessConverter {
public:
    ~StrictProcessConverter() { Close(); }

    UConverter* Get() {
        const unsigned int cp = GetProcessCodePage();
        if (m_converter && cp == m_codePage)
            return m_converter;
        Close();
        m_codePage = cp;
        const std::string name = IcuConverterNameForCodePage(cp);
        if (name.empty())
            return nullptr;
        UErrorCode status = U_ZERO_ERROR;
        m_converter = ucnv_open(name.c_str(), &status);
        if (U_FAILURE(status)) {
            m_converter = nullptr;
            return nullptr;
        }
        ucnv_setToUCallBack(m_converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &status);
        ucnv_setFromUCallBack(m_converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                              &status);
        return m_converter;
    }

private:
    void Close() {
        if (m_converter)
            ucnv_close(m_converter);
        m_converter = nullptr;
    }

    unsigned int m_codePage = 0;
    UConverter* m_converter = nullptr;
};

thread_local StrictProcessConverter t_strict;

// The code point of the character at s (len bytes), or -1.
UChar32 DecodeCharacter(const char* s, std::size_t len) {
    UConverter* conv = t_strict.Get();
    if (!conv)
        return -1;
    ucnv_resetToUnicode(conv);
    UErrorCode status = U_ZERO_ERROR;
    const char* src = s;
    const UChar32 c = ucnv_getNextUChar(conv, &src, s + len, &status);
    if (U_FAILURE(status) || src != s + len)
        return -1;
    return c;
}

// Encodes one code point strictly; returns the byte count or 0.
std::size_t EncodeCodePoint(UChar32 c, char* out, std::size_t capacity) {
    if (c < 0 || c > 0x10FFFF || U_IS_SURROGATE(c))
        return 0;
    UConverter* conv = t_strict.Get();
    if (!conv)
        return 0;
    ucnv_resetFromUnicode(conv);
    UChar units[2];
    int32_t count = 0;
    UBool error = false;
    U16_APPEND(units, count, 2, c, error);
    if (error)
        return 0;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t written =
        ucnv_fromUChars(conv, out, static_cast<int32_t>(capacity), units, count, &status);
    if (U_FAILURE(status) || written <= 0 || static_cast<std::size_t>(written) > capacity)
        return 0;
    return static_cast<std::size_t>(written);
}

bool IsAsciiSpace(unsigned char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsAsciiAlpha(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// Length of a valid character at s, or 0 for an invalid one.
std::size_t ValidCharLength(const char* s, std::size_t n) {
    const int len = CharLength(GetProcessCodePage(), s, n);
    return len > 0 ? static_cast<std::size_t>(len) : 0;
}

// --- detection -----------------------------------------------------------

bool InRange(unsigned char b, unsigned char lo, unsigned char hi) {
    return b >= lo && b <= hi;
}

// ESC $ @, ESC $ B, ESC $ A, ESC $ ( x, ESC $ ) x, ESC ( B, ESC ( J, ESC ( I,
// ESC . A and the like: what 7-bit ISO-2022 text designates with.
bool IsIso2022Escape(const unsigned char* s, std::size_t n, std::size_t i) {
    if (s[i] != 0x1B || i + 2 >= n)
        return false;
    const unsigned char a = s[i + 1];
    const unsigned char b = s[i + 2];
    if (a == '$') {
        if (b == '@' || b == 'A' || b == 'B')
            return true;
        return (b == '(' || b == ')') && i + 3 < n;
    }
    if (a == '(')
        return b == 'B' || b == 'J' || b == 'I' || b == 'H';
    if (a == '.')
        return b == 'A' || b == 'F';
    return false;
}

bool IsValidUtf8(const char* s, std::size_t n) {
    std::size_t i = 0;
    while (i < n) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            ++i;
            continue;
        }
        const int len = CharLength(CP_UTF8, s + i, n - i);
        if (len <= 0)
            return false;
        i += static_cast<std::size_t>(len);
    }
    return true;
}

// Validity and a kana score: 3 for a full-width hiragana or katakana, 1 for
// a half-width katakana. Real Japanese text is full of kana; the bytes of
// EUC-JP kana are half-width katakana in Shift-JIS, hence the weights.
bool ScanShiftJis(const unsigned char* s, std::size_t n, int& kana) {
    kana = 0;
    for (std::size_t i = 0; i < n;) {
        const unsigned char c = s[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        if (InRange(c, 0xA1, 0xDF)) {
            ++kana;
            ++i;
            continue;
        }
        if (!(InRange(c, 0x81, 0x9F) || InRange(c, 0xE0, 0xFC)) || i + 1 >= n)
            return false;
        const unsigned char t = s[i + 1];
        if (!(InRange(t, 0x40, 0x7E) || InRange(t, 0x80, 0xFC)))
            return false;
        if ((c == 0x82 && InRange(t, 0x9F, 0xF1)) || (c == 0x83 && InRange(t, 0x40, 0x96))) {
            kana += 3;
        }
        i += 2;
    }
    return true;
}

bool ScanEucJp(const unsigned char* s, std::size_t n, int& kana) {
    kana = 0;
    for (std::size_t i = 0; i < n;) {
        const unsigned char c = s[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        if (c == 0x8E) {
            if (i + 1 >= n || !InRange(s[i + 1], 0xA1, 0xDF))
                return false;
            ++kana;
            i += 2;
        } else if (c == 0x8F) {
            if (i + 2 >= n || !InRange(s[i + 1], 0xA1, 0xFE) || !InRange(s[i + 2], 0xA1, 0xFE)) {
                return false;
            }
            i += 3;
        } else if (InRange(c, 0xA1, 0xFE)) {
            if (i + 1 >= n || !InRange(s[i + 1], 0xA1, 0xFE))
                return false;
            if ((c == 0xA4 || c == 0xA5) && InRange(s[i + 1], 0xA1, 0xF6))
                kana += 3;
            i += 2;
        } else {
            return false;
        }
    }
    return true;
}

// --- conversion ----------------------------------------------------------

// Malformed input becomes "?" rather than U+FFFD, so that every target
// shows it the same way.
void ToUnicodeQuestionMark(const void*, UConverterToUnicodeArgs* args, const char*, int32_t,
                           UConverterCallbackReason reason, UErrorCode* status) {
    if (reason > UCNV_IRREGULAR)
        return;
    *status = U_ZERO_ERROR;
    const UChar question = u'?';
    ucnv_cbToUWriteUChars(args, &question, 1, 0, status);
}

std::string IcuNameFor(xeOsEncodedMethod method, bool decoding) {
    switch (method) {
        case OS_ENCODED_ASCII:
            return "US-ASCII";
        case OS_ENCODED_ISO2022JP:
            // Decoding accepts every Japanese designation (JIS X 0212,
            // half-width katakana); encoding writes plain ISO-2022-JP.
            return decoding ? "ISO_2022,locale=ja,version=4" : "ISO-2022-JP";
        case OS_ENCODED_SHIFT_JIS:
            return "ibm-943_P15A-2003";
        case OS_ENCODED_EUC_JP:
            return "EUC-JP";
        case OS_ENCODED_UTF8:
            return "UTF-8";
        case OS_ENCODED_GBK:
            return "windows-936-2000";
        case OS_ENCODED_UHC:
            return "windows-949-2000";
        case OS_ENCODED_BIG5:
            return "windows-950-2000";
        case OS_ENCODED_WINDOWS_1252:
            return "windows-1252";
        case OS_ENCODED_GB18030:
            return "GB18030";
        case OS_ENCODED_LOCAL:
            return IcuConverterNameForCodePage(GetProcessCodePage());
        default:
            return {};
    }
}

// Plain ISO-2022-JP has no half-width katakana: like the mail encoders,
// turn them into their full-width forms (a voiced mark joins its kana).
void WidenHalfWidthKatakana(std::u16string& text) {
    auto isHalfWidth = [](char16_t c) { return c >= 0xFF61 && c <= 0xFF9F; };
    std::size_t i = 0;
    while (i < text.size() && !isHalfWidth(text[i]))
        ++i;
    if (i == text.size())
        return;
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfkc = unorm2_getNFKCInstance(&status);
    if (U_FAILURE(status))
        return;
    std::u16string result(text, 0, i);
    while (i < text.size()) {
        std::size_t end = i;
        while (end < text.size() && isHalfWidth(text[end]))
            ++end;
        if (end == i) {
            result += text[i++];
            continue;
        }
        const std::u16string run(text, i, end - i);
        std::u16string wide(run.size() + 1, u'\0');
        status = U_ZERO_ERROR;
        const int32_t len = unorm2_normalize(
            nfkc, reinterpret_cast<const UChar*>(run.data()), static_cast<int32_t>(run.size()),
            reinterpret_cast<UChar*>(wide.data()), static_cast<int32_t>(wide.size()), &status);
        if (U_SUCCESS(status)) {
            result.append(wide, 0, static_cast<std::size_t>(len));
        } else {
            result += run;
        }
        i = end;
    }
    text.swap(result);
}

struct ConverterCloser {
    void operator()(UConverter* c) const {
        if (c)
            ucnv_close(c);
    }
};

UConverter* OpenConverter(const std::string& name) {
    if (name.empty())
        return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    UConverter* c = ucnv_open(name.c_str(), &status);
    if (U_FAILURE(status))
        return nullptr;
    return c;
}

}  // namespace

xeOsCharsetType CharsetTypeFromCodePage(unsigned int codePage) {
    switch (codePage) {
        case CP_SHIFT_JIS:
            return OS_CHARSET_SHIFT_JIS;
        case CP_GBK:
            return OS_CHARSET_GBK;
        case CP_UHC:
            return OS_CHARSET_UHC;
        case CP_BIG5:
            return OS_CHARSET_BIG5;
        case CP_EUC_JP:
            return OS_CHARSET_EUC_JP;
        case CP_GB18030:
            return OS_CHARSET_GB18030;
        case CP_UTF8:
            return OS_CHARSET_UTF8;
        default:
            return OS_CHARSET_SINGLE_BYTE;
    }
}

xeOsCharsetType os_get_charset_type() {
    const int forced = g_charsetOverride.load(std::memory_order_relaxed);
    if (forced != OS_CHARSET_NONE)
        return static_cast<xeOsCharsetType>(forced);
    return CharsetTypeFromCodePage(GetProcessCodePage());
}

void os_set_charset_type(xeOsCharsetType type) {
    g_charsetOverride.store(type, std::memory_order_relaxed);
}

std::size_t os_char_len(const char* s, std::size_t n) {
    if (!s || n == 0)
        return 0;
    const std::size_t len = ValidCharLength(s, n);
    return len ? len : 1;
}

bool os_is_char_space(const char* s, std::size_t n) {
    if (!s || n == 0)
        return false;
    const unsigned char c = static_cast<unsigned char>(*s);
    if (c < 0x80)
        return IsAsciiSpace(c);
    const std::size_t len = ValidCharLength(s, n);
    if (!len)
        return false;
    const UChar32 cp = DecodeCharacter(s, len);
    return cp >= 0x80 && u_isWhitespace(cp);
}

bool os_is_char_alpha(const char* s, std::size_t n) {
    if (!s || n == 0)
        return false;
    const unsigned char c = static_cast<unsigned char>(*s);
    if (c < 0x80)
        return IsAsciiAlpha(c);
    const std::size_t len = ValidCharLength(s, n);
    if (!len)
        return false;
    const UChar32 cp = DecodeCharacter(s, len);
    return cp >= 0x80 && u_isalpha(cp);
}

std::size_t os_tolower(char* s, std::size_t n) {
    if (!s || n == 0)
        return 0;
    const unsigned char c = static_cast<unsigned char>(*s);
    if (c < 0x80) {
        if (c >= 'A' && c <= 'Z')
            *s = static_cast<char>(c + 32);
        return 1;
    }
    const std::size_t len = ValidCharLength(s, n);
    if (!len)
        return 1;
    const UChar32 cp = DecodeCharacter(s, len);
    if (cp < 0)
        return len;
    const UChar32 lower = u_tolower(cp);
    if (lower == cp)
        return len;
    char buffer[8];
    const std::size_t written = EncodeCodePoint(lower, buffer, sizeof buffer);
    if (written == len)
        std::memcpy(s, buffer, len);
    return len;
}

xeOsEncodedMethod os_str_detect_encoded_method(const char* s, std::size_t n) {
    if (!s || n == 0)
        return OS_ENCODED_ASCII;
    const unsigned char* u = reinterpret_cast<const unsigned char*>(s);
    bool high = false;
    bool escape = false;
    for (std::size_t i = 0; i < n; ++i) {
        if (u[i] >= 0x80) {
            high = true;
            break;
        }
        if (u[i] == 0x1B && i + 2 < n && IsIso2022Escape(u, n, i))
            escape = true;
    }
    if (!high)
        return escape ? OS_ENCODED_ISO2022JP : OS_ENCODED_ASCII;
    if (IsValidUtf8(s, n))
        return OS_ENCODED_UTF8;
    int sjisKana = 0;
    int eucKana = 0;
    const bool sjis = ScanShiftJis(u, n, sjisKana);
    const bool euc = ScanEucJp(u, n, eucKana);
    if (sjis && !euc)
        return OS_ENCODED_SHIFT_JIS;
    if (euc && !sjis)
        return OS_ENCODED_EUC_JP;
    if (!sjis)
        return OS_ENCODED_UNKNOWN;
    if (eucKana != sjisKana)
        return eucKana > sjisKana ? OS_ENCODED_EUC_JP : OS_ENCODED_SHIFT_JIS;
    return GetProcessCodePage() == CP_EUC_JP ? OS_ENCODED_EUC_JP : OS_ENCODED_SHIFT_JIS;
}

bool os_conv_strings(xeOsEncodedMethod from, xeOsEncodedMethod to, const char* s, std::size_t n,
                     MString& out) {
    out.clear();
    if (!s && n > 0)
        return false;
    if (n > static_cast<std::size_t>(INT32_MAX / 2 - 16))
        return false;
    std::unique_ptr<UConverter, ConverterCloser> source(OpenConverter(IcuNameFor(from, true)));
    std::unique_ptr<UConverter, ConverterCloser> target(OpenConverter(IcuNameFor(to, false)));
    if (!source || !target)
        return false;
    if (n == 0)
        return true;

    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(source.get(), ToUnicodeQuestionMark, nullptr, nullptr, nullptr, &status);
    ucnv_setSubstChars(target.get(), "?", 1, &status);
    if (U_FAILURE(status))
        return false;

    // Every input byte gives at most one UTF-16 unit, a four-byte sequence
    // two, so n + 1 units suffice; a table that maps one code to several
    // code points is served by a second, measured pass.
    std::u16string wide(n + 1, u'\0');
    int32_t units = ucnv_toUChars(source.get(), wide.data(), static_cast<int32_t>(wide.size()), s,
                                  static_cast<int32_t>(n), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        ucnv_resetToUnicode(source.get());
        wide.assign(static_cast<std::size_t>(units) + 1, u'\0');
        units = ucnv_toUChars(source.get(), wide.data(), static_cast<int32_t>(wide.size()), s,
                              static_cast<int32_t>(n), &status);
    }
    if (U_FAILURE(status))
        return false;
    wide.resize(static_cast<std::size_t>(units));
    if (to == OS_ENCODED_ISO2022JP)
        WidenHalfWidthKatakana(wide);

    std::size_t capacity =
        wide.size() * static_cast<std::size_t>(ucnv_getMaxCharSize(target.get())) + 16;
    out.resize(capacity);
    status = U_ZERO_ERROR;
    int32_t bytes = ucnv_fromUChars(target.get(), out.data(), static_cast<int32_t>(capacity),
                                    wide.data(), static_cast<int32_t>(wide.size()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        ucnv_resetFromUnicode(target.get());
        out.resize(static_cast<std::size_t>(bytes) + 1);
        bytes = ucnv_fromUChars(target.get(), out.data(), static_cast<int32_t>(out.size()),
                                wide.data(), static_cast<int32_t>(wide.size()), &status);
    }
    if (U_FAILURE(status)) {
        out.clear();
        return false;
    }
    out.resize(static_cast<std::size_t>(bytes));
    return true;
}

std::string IcuConverterNameForCodePage(unsigned int codePage) {
    std::string candidates[4];
    switch (codePage) {
        case CP_SHIFT_JIS:
            candidates[0] = "ibm-943_P15A-2003";
            candidates[1] = "Shift_JIS";
            break;
        case CP_GBK:
            candidates[0] = "windows-936-2000";
            candidates[1] = "GBK";
            break;
        case CP_UHC:
            candidates[0] = "windows-949-2000";
            candidates[1] = "windows-949";
            break;
        case CP_BIG5:
            candidates[0] = "windows-950-2000";
            candidates[1] = "windows-950";
            break;
        case CP_UTF8:
            candidates[0] = "UTF-8";
            break;
        case CP_EUC_JP:
            candidates[0] = "EUC-JP";
            break;
        case CP_GB18030:
            candidates[0] = "GB18030";
            break;
        case 20127:
            candidates[0] = "US-ASCII";
            break;
        case 20866:
            candidates[0] = "KOI8-R";
            break;
        case 21866:
            candidates[0] = "KOI8-U";
            break;
        case 51949:
            candidates[0] = "EUC-KR";
            break;
        default:
            if (codePage >= 28591 && codePage <= 28606) {
                candidates[0] = "ISO-8859-" + std::to_string(codePage - 28590);
            } else {
                candidates[0] = "windows-" + std::to_string(codePage);
                candidates[1] = "cp" + std::to_string(codePage);
                candidates[2] = "ibm-" + std::to_string(codePage);
            }
            break;
    }
    for (const std::string& name : candidates) {
        if (name.empty())
            continue;
        std::unique_ptr<UConverter, ConverterCloser> probe(OpenConverter(name));
        if (probe)
            return name;
    }
    return {};
}

bool CodePointToProcessCodePage(unsigned int codePoint, MString& out) {
    out.clear();
    if (codePoint > 0x10FFFF)
        return false;
    char buffer[8];
    const std::size_t written =
        EncodeCodePoint(static_cast<UChar32>(codePoint), buffer, sizeof buffer);
    if (written == 0)
        return false;
    out.assign(buffer, written);
    return true;
}

}  // namespace webstep::platform
