#include "webstep/platform/CodePage.h"

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

namespace webstep::platform {

namespace {

// 0 means "not set": the override falls back to the environment, and the
// cached environment value is recomputed on next use.
std::atomic<unsigned int> g_override{0};
std::atomic<unsigned int> g_fromEnvironment{0};

bool InRange(unsigned char b, unsigned char lo, unsigned char hi) {
    return b >= lo && b <= hi;
}

bool IsUtf8Continuation(unsigned char b) {
    return (b & 0xC0) == 0x80;
}

// Lead bytes only; whether a valid trail follows is checked separately.
bool IsLeadByteImpl(unsigned int cp, unsigned char b) {
    switch (cp) {
        case CP_SHIFT_JIS:
            return InRange(b, 0x81, 0x9F) || InRange(b, 0xE0, 0xFC);
        case CP_GBK:
        case CP_UHC:
        case CP_BIG5:
        case CP_GB18030:
            return InRange(b, 0x81, 0xFE);
        case CP_EUC_JP:
            return b == 0x8E || b == 0x8F || InRange(b, 0xA1, 0xFE);
        case CP_UTF8:
            return InRange(b, 0xC2, 0xF4);
        default:
            return false;
    }
}

bool IsValidTrail(unsigned int cp, unsigned char lead, unsigned char b) {
    switch (cp) {
        case CP_SHIFT_JIS:
            return InRange(b, 0x40, 0x7E) || InRange(b, 0x80, 0xFC);
        case CP_GBK:
        case CP_GB18030:
            return InRange(b, 0x40, 0x7E) || InRange(b, 0x80, 0xFE);
        case CP_UHC:
            return InRange(b, 0x41, 0x5A) || InRange(b, 0x61, 0x7A) || InRange(b, 0x81, 0xFE);
        case CP_BIG5:
            return InRange(b, 0x40, 0x7E) || InRange(b, 0xA1, 0xFE);
        case CP_EUC_JP:
            return lead == 0x8E ? InRange(b, 0xA1, 0xDF) : InRange(b, 0xA1, 0xFE);
        default:
            return false;
    }
}

// Length that the lead byte at s announces, as the runtime walks strings:
// in the double-byte sets any non-NUL byte after a lead byte is its trail;
// in UTF-8 only continuation bytes belong to a character, so an ASCII byte
// always stands alone. Looks at most `avail` bytes and never past a NUL.
// Returns the announced length; `complete` tells whether all of its bytes
// are present (non-NUL and within avail).
std::size_t AnnouncedLength(unsigned int cp, const unsigned char* s, std::size_t avail,
                            bool& complete) {
    complete = true;
    const unsigned char lead = s[0];
    if (!IsLeadByteImpl(cp, lead))
        return 1;
    std::size_t len = 2;
    if (cp == CP_UTF8) {
        len = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        for (std::size_t i = 1; i < len; ++i) {
            if (i >= avail || s[i] == 0) {
                complete = false;
                return len;
            }
            // A broken sequence is one byte of its own; the next byte is
            // examined afresh.
            if (!IsUtf8Continuation(s[i]))
                return 1;
        }
        return len;
    }
    if (cp == CP_EUC_JP && lead == 0x8F)
        len = 3;
    if (cp == CP_GB18030 && avail >= 2 && InRange(s[1], 0x30, 0x39))
        len = 4;
    for (std::size_t i = 1; i < len; ++i) {
        if (i >= avail || s[i] == 0) {
            complete = false;
            return len;
        }
    }
    return len;
}

std::string Normalise(const char* codeset) {
    std::string out;
    for (const char* p = codeset; *p; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (c == '-' || c == '_' || c == ' ')
            continue;
        out += static_cast<char>(std::toupper(c));
    }
    return out;
}

// A positive decimal number filling the whole text, else 0.
unsigned int ParseNumber(const std::string& text) {
    if (text.empty() || text.size() > 5)
        return 0;
    unsigned int value = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return 0;
        value = value * 10 + static_cast<unsigned int>(c - '0');
    }
    return value;
}

unsigned int CodePageFromEnvironment() {
    if (const char* env = std::getenv("WEBSTEP_CODEPAGE"); env && *env) {
        // A number is taken as it is; a codeset name is accepted too.
        if (unsigned int cp = ParseNumber(env))
            return cp;
        if (unsigned int cp = CodePageFromCodeset(env))
            return cp;
    }
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value)
            return CodePageFromLocale(value);
    }
    return CP_LATIN1;
}

int FoldSingle(unsigned int cp, unsigned int c) {
    if (c >= 'A' && c <= 'Z')
        return static_cast<int>(c + 32);
    if (cp == CP_LATIN1 || cp == CP_LATIN1_ISO) {
        if (c >= 0xC0 && c <= 0xDE && c != 0xD7)
            return static_cast<int>(c + 32);
        if (cp == CP_LATIN1) {
            if (c == 0x8A || c == 0x8C || c == 0x8E)
                return static_cast<int>(c + 16);
            if (c == 0x9F)
                return 0xFF;
        }
    }
    return static_cast<int>(c);
}

// Full-width Latin capitals become their small letters.
unsigned int FoldDouble(unsigned int cp, unsigned int c) {
    switch (cp) {
        case CP_SHIFT_JIS:
            if (c >= 0x8260 && c <= 0x8279)
                return c + 0x21;
            break;
        case CP_GBK:
        case CP_UHC:
        case CP_GB18030:
        case CP_EUC_JP:
            if (c >= 0xA3C1 && c <= 0xA3DA)
                return c + 0x20;
            break;
        default:
            break;
    }
    return c;
}

// Reads one character for comparison: its bytes packed big-endian, or 0
// when it is cut by the bound or by the end of the string.
unsigned int ReadCompareChar(unsigned int cp, const unsigned char*& p, std::size_t remaining,
                             std::size_t& used, bool fold) {
    bool complete = true;
    std::size_t len = AnnouncedLength(cp, p, remaining, complete);
    if (len == 1) {
        used = 1;
        unsigned int c = *p++;
        return fold ? static_cast<unsigned int>(FoldSingle(cp, c)) : c;
    }
    if (!complete) {
        used = remaining;
        return 0;
    }
    unsigned int value = 0;
    for (std::size_t i = 0; i < len; ++i)
        value = (value << 8) | p[i];
    p += len;
    used = len;
    return fold ? FoldDouble(cp, value) : value;
}

int CompareBounded(const unsigned char* a, const unsigned char* b, std::size_t n, bool fold) {
    if (!a || !b)
        return a == b ? 0 : (a ? 1 : -1);
    const unsigned int cp = GetProcessCodePage();
    std::size_t remaining = n;
    while (remaining > 0) {
        std::size_t usedA = 0;
        std::size_t usedB = 0;
        const unsigned int ca = ReadCompareChar(cp, a, remaining, usedA, fold);
        const unsigned int cb = ReadCompareChar(cp, b, remaining, usedB, fold);
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == 0)
            return 0;
        remaining -= usedA < remaining ? usedA : remaining;
    }
    return 0;
}

}  // namespace

unsigned int GetProcessCodePage() {
    if (unsigned int cp = g_override.load(std::memory_order_relaxed))
        return cp;
    unsigned int cp = g_fromEnvironment.load(std::memory_order_relaxed);
    if (cp == 0) {
        cp = CodePageFromEnvironment();
        g_fromEnvironment.store(cp, std::memory_order_relaxed);
    }
    return cp;
}

void SetProcessCodePage(unsigned int codePage) {
    g_override.store(codePage, std::memory_order_relaxed);
    // Going back to the environment reads it again, so that a changed
    // WEBSTEP_CODEPAGE or locale takes effect.
    if (codePage == 0)
        g_fromEnvironment.store(0, std::memory_order_relaxed);
}

unsigned int CodePageFromCodeset(const char* codeset) {
    if (!codeset || !*codeset)
        return 0;
    const std::string n = Normalise(codeset);
    struct Entry {
        const char* name;
        unsigned int cp;
    };
    static const Entry kNames[] = {
        {"UTF8", CP_UTF8},
        {"GBK", CP_GBK},
        {"GB2312", CP_GBK},
        {"EUCCN", CP_GBK},
        {"GB18030", CP_GB18030},
        {"SJIS", CP_SHIFT_JIS},
        {"SHIFTJIS", CP_SHIFT_JIS},
        {"MS932", CP_SHIFT_JIS},
        {"WINDOWS31J", CP_SHIFT_JIS},
        {"PCK", CP_SHIFT_JIS},
        {"EUCJP", CP_EUC_JP},
        {"UJIS", CP_EUC_JP},
        {"EUCKR", CP_UHC},
        {"UHC", CP_UHC},
        {"BIG5", CP_BIG5},
        {"BIG5HKSCS", CP_BIG5},
        {"ISO88591", CP_LATIN1_ISO},
        {"LATIN1", CP_LATIN1_ISO},
        {"ISO885915", 28605},
        {"ISO88592", 28592},
        {"ISO88595", 28595},
        {"ISO88597", 28597},
        {"KOI8R", 20866},
        {"KOI8U", 21866},
        // Plain ASCII behaves like the Western default.
        {"ASCII", CP_LATIN1},
        {"USASCII", CP_LATIN1},
        {"ANSIX3.41968", CP_LATIN1},
    };
    for (const Entry& e : kNames) {
        if (n == e.name)
            return e.cp;
    }
    for (const char* prefix : {"CP", "WINDOWS", "IBM", "MS"}) {
        const std::size_t len = std::strlen(prefix);
        if (n.compare(0, len, prefix) == 0) {
            if (unsigned int cp = ParseNumber(n.substr(len)))
                return cp;
        }
    }
    return 0;
}

unsigned int CodePageFromLocale(const char* locale) {
    if (!locale || !*locale)
        return CP_LATIN1;
    const char* dot = std::strchr(locale, '.');
    if (!dot)
        return CP_LATIN1;
    std::string codeset(dot + 1);
    if (std::size_t at = codeset.find('@'); at != std::string::npos)
        codeset.resize(at);
    const unsigned int cp = CodePageFromCodeset(codeset.c_str());
    return cp ? cp : CP_LATIN1;
}

bool IsDoubleByteCodePage(unsigned int codePage) {
    return codePage == CP_SHIFT_JIS || codePage == CP_GBK || codePage == CP_UHC ||
           codePage == CP_BIG5;
}

bool IsMultiByteCodePage(unsigned int codePage) {
    return IsDoubleByteCodePage(codePage) || codePage == CP_UTF8 || codePage == CP_EUC_JP ||
           codePage == CP_GB18030;
}

int GetMaxCharLength(unsigned int codePage) {
    if (IsDoubleByteCodePage(codePage))
        return 2;
    if (codePage == CP_EUC_JP)
        return 3;
    if (codePage == CP_UTF8 || codePage == CP_GB18030)
        return 4;
    return 1;
}

bool IsLeadByte(unsigned int codePage, unsigned char byte) {
    return IsLeadByteImpl(codePage, byte);
}

bool IsLeadByte(unsigned char byte) {
    return IsLeadByteImpl(GetProcessCodePage(), byte);
}

bool IsHalfWidthKatakana(unsigned int codePage, unsigned char byte) {
    return codePage == CP_SHIFT_JIS && InRange(byte, 0xA1, 0xDF);
}

bool IsHalfWidthKatakana(unsigned char byte) {
    return IsHalfWidthKatakana(GetProcessCodePage(), byte);
}

bool IsDbcsEnabled() {
    return IsMultiByteCodePage(GetProcessCodePage());
}

int GetMaxCharLength() {
    return GetMaxCharLength(GetProcessCodePage());
}

int CharLength(unsigned int cp, const char* str, std::size_t n) {
    if (!str || n == 0)
        return 0;
    const unsigned char* s = reinterpret_cast<const unsigned char*>(str);
    if (s[0] == 0)
        return 0;
    const unsigned char lead = s[0];
    if (cp == CP_UTF8) {
        if (lead < 0x80)
            return 1;
        if (!IsLeadByteImpl(cp, lead))
            return -1;
        const std::size_t len = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        if (n < len)
            return -1;
        for (std::size_t i = 1; i < len; ++i) {
            if (!IsUtf8Continuation(s[i]))
                return -1;
        }
        // Overlong forms, surrogates and values above U+10FFFF.
        if (lead == 0xE0 && s[1] < 0xA0)
            return -1;
        if (lead == 0xED && s[1] >= 0xA0)
            return -1;
        if (lead == 0xF0 && s[1] < 0x90)
            return -1;
        if (lead == 0xF4 && s[1] >= 0x90)
            return -1;
        return static_cast<int>(len);
    }
    if (!IsLeadByteImpl(cp, lead))
        return 1;
    if (n < 2)
        return -1;
    if (cp == CP_GB18030 && InRange(s[1], 0x30, 0x39)) {
        if (n < 4)
            return -1;
        return InRange(s[2], 0x81, 0xFE) && InRange(s[3], 0x30, 0x39) ? 4 : -1;
    }
    if (cp == CP_EUC_JP && lead == 0x8F) {
        if (n < 3)
            return -1;
        return InRange(s[1], 0xA1, 0xFE) && InRange(s[2], 0xA1, 0xFE) ? 3 : -1;
    }
    return IsValidTrail(cp, lead, s[1]) ? 2 : -1;
}

int _ismbblead(unsigned int c) {
    if (c > 0xFF)
        return 0;
    return IsLeadByteImpl(GetProcessCodePage(), static_cast<unsigned char>(c)) ? 1 : 0;
}

unsigned char* _mbschr(const unsigned char* s, unsigned int c) {
    if (!s)
        return nullptr;
    const unsigned int cp = GetProcessCodePage();
    const unsigned char* p = s;
    while (true) {
        if (*p == 0)
            return c == 0 ? const_cast<unsigned char*>(p) : nullptr;
        bool complete = true;
        const std::size_t len = AnnouncedLength(cp, p, static_cast<std::size_t>(-1), complete);
        // A lead byte cut by the end of the string ends the search.
        if (!complete)
            return nullptr;
        unsigned int value = 0;
        for (std::size_t i = 0; i < len; ++i)
            value = (value << 8) | p[i];
        if (value == c)
            return const_cast<unsigned char*>(p);
        p += len;
    }
}

int _mbsnbcmp(const unsigned char* a, const unsigned char* b, std::size_t n) {
    return CompareBounded(a, b, n, false);
}

int _mbsnbicmp(const unsigned char* a, const unsigned char* b, std::size_t n) {
    return CompareBounded(a, b, n, true);
}

unsigned char* _mbsnbcpy(unsigned char* dst, const unsigned char* src, std::size_t n) {
    if (!dst)
        return dst;
    const unsigned int cp = GetProcessCodePage();
    std::size_t i = 0;
    if (src) {
        while (i < n && src[i] != 0) {
            bool complete = true;
            const std::size_t len = AnnouncedLength(cp, src + i, n - i, complete);
            if (!complete)
                break;
            std::memcpy(dst + i, src + i, len);
            i += len;
        }
    }
    if (i < n)
        std::memset(dst + i, 0, n - i);
    return dst;
}

int _ismbcspace(unsigned int c) {
    if (c <= 0xFF)
        return (c == ' ' || (c >= '\t' && c <= '\r')) ? 1 : 0;
    switch (GetProcessCodePage()) {
        case CP_SHIFT_JIS:
            return c == 0x8140 ? 1 : 0;
        case CP_GBK:
        case CP_UHC:
        case CP_EUC_JP:
        case CP_GB18030:
            return c == 0xA1A1 ? 1 : 0;
        case CP_BIG5:
            return c == 0xA140 ? 1 : 0;
        case CP_UTF8:
            return c == 0xE38080 ? 1 : 0;
        default:
            return 0;
    }
}

int mblen(const char* s, std::size_t n) {
    return CharLength(GetProcessCodePage(), s, n);
}

}  // namespace webstep::platform
