#pragma once
// An INI file of a recorded script folder (folder description, run logic,
// settings, parameter definitions, snapshot descriptions), read whole into
// memory in the order of its lines.
//
// These files come from many tool versions and editors, so the reader is
// tolerant: a UTF-8 byte order mark is skipped; lines end with CR LF, LF or
// CR alone; blank lines and lines whose first non-blank character is ";" or
// "#" are comments; "[name]" opens a section (text after the "]" is
// ignored); "key=value" is split at the first "=", both sides trimmed of
// blanks, and a value enclosed in double quotes loses them. Section and key
// names compare without regard to ASCII case; when a name occurs twice, the
// first one wins. Anything else (a line without "=", a "[" without "]", a
// key before any section) is skipped with a warning naming the file and
// line. Texts are kept as bytes: UTF-8 or the process code page alike.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"

/// The sections and keys of one INI file, in file order.
class WEBSTEP_API CIniDocument {
public:
    /// One "key=value" line.
    struct Entry {
        std::string key;
        std::string value;
        unsigned line = 0;
    };
    /// One section with its entries in file order.
    struct Section {
        std::string name;
        unsigned line = 0;
        std::vector<Entry> entries;

        /// The value of the first entry named key (ASCII case ignored).
        const Entry* Find(std::string_view key) const;
        std::optional<std::string> Get(std::string_view key) const;
        std::string Get(std::string_view key, std::string_view defaultValue) const;
        /// The value read as a decimal integer (leading blanks and a sign
        /// allowed, text after the digits ignored); the default when the key
        /// is missing or holds no digits.
        long long GetInt(std::string_view key, long long defaultValue) const;
        /// The value read as a decimal number (as GetInt, with a fraction).
        double GetNumber(std::string_view key, double defaultValue) const;
    };

    /// Reads the file; false (with a warning naming the file) when it cannot
    /// be read. The document is emptied first.
    bool ReadFile(const std::string& path, FolderMessages& messages);
    /// Reads text as the contents of a file named fileName (used in messages).
    void ReadText(std::string_view text, const std::string& fileName, FolderMessages& messages);

    const std::string& FileName() const { return m_fileName; }
    const std::vector<Section>& Sections() const { return m_sections; }
    /// The first section of that name (ASCII case ignored), or null.
    const Section* FindSection(std::string_view name) const;
    /// The value of section/key, or nothing when either is missing.
    std::optional<std::string> Get(std::string_view section, std::string_view key) const;
    std::string Get(std::string_view section, std::string_view key,
                    std::string_view defaultValue) const;
    long long GetInt(std::string_view section, std::string_view key, long long defaultValue) const;
    double GetNumber(std::string_view section, std::string_view key, double defaultValue) const;

    /// Case-insensitive (ASCII) comparison of two names, as the file's names
    /// compare.
    static bool NamesEqual(std::string_view a, std::string_view b);

private:
    std::string m_fileName;
    std::vector<Section> m_sections;
};
