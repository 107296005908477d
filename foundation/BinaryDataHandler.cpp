#include "webstep/foundation/BinaryDataHandler.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "webstep/platform/CharacterServices.h"
#include "webstep/platform/CodePage.h"

namespace {

namespace wp = webstep::platform;

const char kHexDigits[] = "0123456789ABCDEF";

bool IsPrintable(unsigned char c) {
    return c < 127 && (c >= 32 || c == '\r' || c == '\n' || c == '\t');
}

// The character-set facts that decide how bytes are measured, taken once
// per conversion.
struct CharsetView {
    bool multiByte;  // the OS character-set type is above 1
    std::size_t maxLength;
    bool shiftJis;

    CharsetView()
        : multiByte(wp::os_get_charset_type() > 1),
          maxLength(static_cast<std::size_t>(wp::GetMaxCharLength())),
          shiftJis(wp::GetProcessCodePage() == wp::CP_SHIFT_JIS) {}

    // Byte length of the character at p, looking at most `remaining` bytes.
    int CharacterLength(const unsigned char* p, std::size_t remaining) const {
        if (multiByte) {
            return wp::mblen(reinterpret_cast<const char*>(p), std::min(remaining, maxLength));
        }
        return (remaining == 0 || *p == 0) ? 0 : 1;
    }

    bool IsHalfWidthKatakana(unsigned char c) const { return shiftJis && c >= 0xA1 && c <= 0xDF; }
};

void AppendEscape(char* out, unsigned char c) {
    out[0] = '\\';
    out[1] = 'x';
    out[2] = kHexDigits[c >> 4];
    out[3] = kHexDigits[c & 0x0F];
}

// Readability tests of raw memory have no safe equivalent here; only null
// pointers are treated as bad memory.
bool IsBadMemory(const void* p) {
    return p == nullptr;
}

}  // namespace

int CBinaryDataHandler::CharToHexa(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

int CBinaryDataHandler::GetEscapedChar(char* p) {
    if (p == nullptr || (p[0] != 'x' && p[0] != 'X')) {
        return -1;
    }
    // p[2] is looked at only when p[1] is a digit, so a short text is never
    // read past its terminator.
    const int high = CharToHexa(p[1]);
    if (high < 0) {
        return -1;
    }
    const int low = CharToHexa(p[2]);
    if (low < 0) {
        return -1;
    }
    return high * 16 + low;
}

int CBinaryDataHandler::ConvertAsciiToBinary(const char* text, char** result,
                                             bool unescapeBackslash) {
    if (result == nullptr) {
        return -1;
    }
    *result = nullptr;
    if (text == nullptr) {
        text = "";
    }
    const std::size_t length = std::strlen(text);
    if (length > static_cast<std::size_t>(INT_MAX) - 2) {
        return -1;
    }
    char* out = static_cast<char*>(std::malloc(length + 2));
    if (out == nullptr) {
        return -1;
    }
    // GetEscapedChar takes a mutable pointer; work on a private copy.
    char* copy = static_cast<char*>(std::malloc(length + 1));
    if (copy == nullptr) {
        std::free(out);
        return -1;
    }
    std::memcpy(copy, text, length + 1);

    std::size_t produced = 0;
    std::size_t i = 0;
    while (i < length) {
        if (copy[i] == '\\') {
            if (i + 3 < length) {
                const int value = GetEscapedChar(copy + i + 1);
                if (value >= 0) {
                    out[produced++] = static_cast<char>(value);
                    i += 4;
                    continue;
                }
            }
            if (unescapeBackslash && copy[i + 1] == '\\') {
                out[produced++] = '\\';
                i += 2;
                continue;
            }
        }
        out[produced++] = copy[i++];
    }
    out[produced] = '\0';
    std::free(copy);
    *result = out;
    return static_cast<int>(produced);
}

bool CBinaryDataHandler::ConvertBinaryToAsciiEx(const unsigned char* data, unsigned int length,
                                                MString& out, bool checkOnly, bool keepText) {
    if (length == 0 || data == nullptr) {
        if (!checkOnly) {
            out.clear();
        }
        return false;
    }
    char* write = nullptr;
    if (!checkOnly) {
        // An output that cannot be allocated is reported as an empty result
        // rather than thrown.
        try {
            out.resize(static_cast<std::size_t>(length) * 4);
        } catch (const std::exception&) {
            out.clear();
            return false;
        }
        write = out.data();
    }
    const bool doubleByte = wp::IsDbcsEnabled();
    const CharsetView charset;
    bool escaped = false;
    std::size_t produced = 0;
    std::size_t i = 0;
    while (i < length) {
        const unsigned char c = data[i];
        // ASCII bytes are whole characters in every code page; only the
        // others need measuring.
        if (doubleByte && c >= 0x80) {
            const int charLength = charset.CharacterLength(data + i, length - i);
            // Multi-byte and half-width katakana characters stay as they are,
            // even when text is not kept.
            if (charLength >= 2 || (charLength == 1 && charset.IsHalfWidthKatakana(c))) {
                if (!checkOnly) {
                    std::memcpy(write + produced, data + i, static_cast<std::size_t>(charLength));
                    produced += static_cast<std::size_t>(charLength);
                }
                i += static_cast<std::size_t>(charLength);
                continue;
            }
        }
        if (keepText && IsPrintable(c)) {
            if (!checkOnly) {
                write[produced++] = static_cast<char>(c);
                if (c == '\\') {
                    write[produced++] = '\\';
                }
            }
        } else {
            escaped = true;
            if (checkOnly) {
                return true;
            }
            AppendEscape(write + produced, c);
            produced += 4;
        }
        ++i;
    }
    if (!checkOnly) {
        out.resize(produced);
    }
    return escaped;
}

bool CBinaryDataHandler::ConvertBinaryToAscii(const unsigned char* data, unsigned int length,
                                              MString& out, bool checkOnly) {
    return ConvertBinaryToAsciiEx(data, length, out, checkOnly, true);
}

bool CBinaryDataHandler::ConvertBinaryToAscii(const unsigned char* data, unsigned int length,
                                              char* out, unsigned int* outLength, bool checkOnly) {
    if (IsBadMemory(data)) {
        return false;
    }
    if (!checkOnly && (IsBadMemory(out) || outLength == nullptr)) {
        return false;
    }
    const unsigned long long capacity = checkOnly ? 0 : *outLength;
    unsigned long long count = 0;
    bool escaped = false;
    for (unsigned int i = 0; i < length; ++i) {
        const unsigned char c = data[i];
        if (IsPrintable(c) && c != '\\') {
            if (!checkOnly && count + 1 <= capacity) {
                out[count] = static_cast<char>(c);
            }
            count += 1;
        } else if (c == '\\') {
            if (!checkOnly && count + 2 <= capacity) {
                out[count] = '\\';
                out[count + 1] = '\\';
            }
            count += 2;
        } else {
            escaped = true;
            if (checkOnly) {
                return true;
            }
            if (count + 4 <= capacity) {
                AppendEscape(out + count, c);
            }
            count += 4;
        }
    }
    if (!checkOnly) {
        // The needed size saturates rather than wrapping for inputs over 1 GB.
        *outLength = count > UINT_MAX ? UINT_MAX : static_cast<unsigned int>(count);
    }
    return escaped;
}

int CharToHexa(char c) {
    return CBinaryDataHandler::CharToHexa(c);
}

int GetEscapedChar(char* p) {
    return CBinaryDataHandler::GetEscapedChar(p);
}

int ConvertAsciiToBinary(const char* text, char** result, bool unescapeBackslash) {
    return CBinaryDataHandler::ConvertAsciiToBinary(text, result, unescapeBackslash);
}

bool ConvertBinaryToAsciiEx(const unsigned char* data, unsigned int length, MString& out,
                            bool checkOnly, bool keepText) {
    return CBinaryDataHandler::ConvertBinaryToAsciiEx(data, length, out, checkOnly, keepText);
}

bool ConvertBinaryToAscii(const unsigned char* data, unsigned int length, MString& out,
                          bool checkOnly) {
    return CBinaryDataHandler::ConvertBinaryToAscii(data, length, out, checkOnly);
}

bool ConvertBinaryToAscii(const unsigned char* data, unsigned int length, char* out,
                          unsigned int* outLength, bool checkOnly) {
    return CBinaryDataHandler::ConvertBinaryToAscii(data, length, out, outLength, checkOnly);
}
