#pragma once
// A boundary or search text of a save rule or a check, with the options its
// attribute name carries (/IC, /BIN, /DIG, /ALNUMIC, /ALNUMLC, /ALNUMUC).
#include <cstddef>
#include <string>
#include <string_view>

#include "webstep/foundation/Export.h"

/// A text searched for in responses. The option bits are those of
/// RegSaveParamFlags (the find and global verification flags use the same
/// values): 1 ignore case, 2 binary (the text is written with \xHH escapes),
/// 4 '#' stands for any digit, 8/16/32 '^' stands for any letter or digit
/// (any case, lower case, upper case).
class WEBSTEP_API CBoundaryText {
public:
    static constexpr unsigned kIgnoreCase = 1;
    static constexpr unsigned kBinary = 2;
    static constexpr unsigned kDigits = 4;
    static constexpr unsigned kAlnumAnyCase = 8;
    static constexpr unsigned kAlnumLower = 16;
    static constexpr unsigned kAlnumUpper = 32;

    CBoundaryText() = default;
    CBoundaryText(std::string_view text, unsigned flags);

    /// The first position at or after from where the text matches; npos when
    /// none. An empty text matches at from.
    std::size_t Find(std::string_view haystack, std::size_t from) const;
    /// Number of non-overlapping matches (an empty text counts none).
    std::size_t Count(std::string_view haystack) const;
    bool Empty() const { return m_Bytes.empty(); }
    std::size_t Size() const { return m_Bytes.size(); }
    /// The bytes searched for (escapes of a binary text decoded).
    const std::string& Bytes() const { return m_Bytes; }

    /// \xHH, \\, \n, \r, \t and \0 decoded; other bytes kept.
    static std::string DecodeBinary(std::string_view text);

private:
    bool Matches(unsigned char pattern, unsigned char c) const;
    bool MatchesAt(std::string_view haystack, std::size_t at) const;

    std::string m_Bytes;
    unsigned m_Flags = 0;
    bool m_Plain = true;  // no option changes byte equality: a plain find
};
