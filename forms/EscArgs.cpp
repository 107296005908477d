#include "webstep/forms/EscArgs.h"

#include <cstring>

namespace {

bool IsKept(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '*';
}

int HexValue(unsigned char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

}  // namespace

void EscArgs(MString& text, bool escapeAt) {
    static const char kHex[] = "0123456789ABCDEF";
    // The output is built in one pass into a string sized for the worst case
    // (the stack/heap split of the working buffer is an allocation detail).
    MString out;
    out.reserve(text.size() * 3);
    for (unsigned char c : text) {
        if (IsKept(c)) {
            out.push_back(static_cast<char>(c));
        } else if (c == ' ') {
            out.push_back('+');
        } else if (c == '@' && !escapeAt) {
            out.push_back('@');
        } else {
            out.push_back('%');
            out.push_back(kHex[c >> 4]);
            out.push_back(kHex[c & 0x0F]);
        }
    }
    text.swap(out);
}

void UnEscArgs(MString& text, bool* sawEscapedAt) {
    MString out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '+') {
            out.push_back(' ');
        } else if (c == '%' && i + 2 < text.size() &&
                   HexValue(static_cast<unsigned char>(text[i + 1])) >= 0 &&
                   HexValue(static_cast<unsigned char>(text[i + 2])) >= 0) {
            int byte = HexValue(static_cast<unsigned char>(text[i + 1])) * 16 +
                       HexValue(static_cast<unsigned char>(text[i + 2]));
            if (byte == '@' && sawEscapedAt != nullptr)
                *sawEscapedAt = true;
            out.push_back(static_cast<char>(byte));
            i += 2;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    text.swap(out);
}
