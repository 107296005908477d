#include "webstep/replay/BoundaryText.h"

#include <cctype>

namespace {

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

}  // namespace

CBoundaryText::CBoundaryText(std::string_view text, unsigned flags)
    : m_Bytes((flags & kBinary) ? DecodeBinary(text) : std::string(text)), m_Flags(flags) {
    m_Plain = (flags & (kIgnoreCase | kDigits | kAlnumAnyCase | kAlnumLower | kAlnumUpper)) == 0;
}

std::string CBoundaryText::DecodeBinary(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 >= text.size()) {
            out.push_back(text[i]);
            continue;
        }
        const char next = text[i + 1];
        if ((next == 'x' || next == 'X') && i + 3 < text.size() && HexDigit(text[i + 2]) >= 0 &&
            HexDigit(text[i + 3]) >= 0) {
            out.push_back(static_cast<char>(HexDigit(text[i + 2]) * 16 + HexDigit(text[i + 3])));
            i += 3;
        } else if (next == '\\') {
            out.push_back('\\');
            ++i;
        } else if (next == 'n') {
            out.push_back('\n');
            ++i;
        } else if (next == 'r') {
            out.push_back('\r');
            ++i;
        } else if (next == 't') {
            out.push_back('\t');
            ++i;
        } else if (next == '0') {
            out.push_back('\0');
            ++i;
        } else {
            out.push_back('\\');
        }
    }
    return out;
}

bool CBoundaryText::Matches(unsigned char pattern, unsigned char c) const {
    if (pattern == '#' && (m_Flags & kDigits))
        return std::isdigit(c) != 0;
    if (pattern == '^') {
        if (m_Flags & kAlnumAnyCase)
            return std::isalnum(c) != 0;
        if (m_Flags & kAlnumLower)
            return std::isdigit(c) || std::islower(c);
        if (m_Flags & kAlnumUpper)
            return std::isdigit(c) || std::isupper(c);
    }
    if (m_Flags & kIgnoreCase)
        return std::tolower(pattern) == std::tolower(c);
    return pattern == c;
}

bool CBoundaryText::MatchesAt(std::string_view haystack, std::size_t at) const {
    for (std::size_t i = 0; i < m_Bytes.size(); ++i)
        if (!Matches(static_cast<unsigned char>(m_Bytes[i]),
                     static_cast<unsigned char>(haystack[at + i])))
            return false;
    return true;
}

std::size_t CBoundaryText::Find(std::string_view haystack, std::size_t from) const {
    if (from > haystack.size())
        return std::string_view::npos;
    if (m_Plain)
        return haystack.find(m_Bytes, from);
    if (m_Bytes.size() > haystack.size())
        return std::string_view::npos;
    const std::size_t last = haystack.size() - m_Bytes.size();
    for (std::size_t at = from; at <= last; ++at)
        if (MatchesAt(haystack, at))
            return at;
    return std::string_view::npos;
}

std::size_t CBoundaryText::Count(std::string_view haystack) const {
    if (m_Bytes.empty())
        return 0;
    std::size_t count = 0;
    for (std::size_t at = Find(haystack, 0); at != std::string_view::npos;
         at = Find(haystack, at + m_Bytes.size()))
        ++count;
    return count;
}
