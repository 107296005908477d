#include "webstep/recording/IniDocument.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

char FoldAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Reads an integer prefix (after blanks and a sign) of text; false without digits.
bool ReadLong(const std::string& text, long long& out) {
    const char* p = text.c_str();
    while (IsBlank(*p))
        ++p;
    char* end = nullptr;
    long long value = std::strtoll(p, &end, 10);
    if (end == p)
        return false;
    out = value;
    return true;
}

bool ReadDouble(const std::string& text, double& out) {
    const char* p = text.c_str();
    while (IsBlank(*p))
        ++p;
    char* end = nullptr;
    double value = std::strtod(p, &end);
    if (end == p)
        return false;
    out = value;
    return true;
}

}  // namespace

bool CIniDocument::NamesEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (FoldAscii(a[i]) != FoldAscii(b[i]))
            return false;
    }
    return true;
}

const CIniDocument::Entry* CIniDocument::Section::Find(std::string_view key) const {
    for (const Entry& entry : entries) {
        if (NamesEqual(entry.key, key))
            return &entry;
    }
    return nullptr;
}

std::optional<std::string> CIniDocument::Section::Get(std::string_view key) const {
    if (const Entry* entry = Find(key))
        return entry->value;
    return std::nullopt;
}

std::string CIniDocument::Section::Get(std::string_view key, std::string_view defaultValue) const {
    const Entry* entry = Find(key);
    return entry ? entry->value : std::string(defaultValue);
}

long long CIniDocument::Section::GetInt(std::string_view key, long long defaultValue) const {
    long long value = defaultValue;
    if (const Entry* entry = Find(key))
        ReadLong(entry->value, value);
    return value;
}

double CIniDocument::Section::GetNumber(std::string_view key, double defaultValue) const {
    double value = defaultValue;
    if (const Entry* entry = Find(key))
        ReadDouble(entry->value, value);
    return value;
}

bool CIniDocument::ReadFile(const std::string& path, FolderMessages& messages) {
    m_fileName = path;
    m_sections.clear();
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        AddFolderWarning(messages, path, 0, "cannot be read");
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        AddFolderWarning(messages, path, 0, "cannot be read");
        return false;
    }
    ReadText(text.str(), path, messages);
    return true;
}

void CIniDocument::ReadText(std::string_view text, const std::string& fileName,
                            FolderMessages& messages) {
    m_fileName = fileName;
    m_sections.clear();
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
        text.remove_prefix(3);
    unsigned lineNumber = 0;
    bool warnedOutside = false;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find_first_of("\r\n", pos);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view line = Trim(text.substr(pos, end - pos));
        pos = end;
        if (pos < text.size())
            pos += (text[pos] == '\r' && pos + 1 < text.size() && text[pos + 1] == '\n') ? 2 : 1;
        ++lineNumber;
        if (line.empty() || line.front() == ';' || line.front() == '#')
            continue;
        if (line.front() == '[') {
            std::size_t close = line.find(']');
            if (close == std::string_view::npos) {
                AddFolderWarning(messages, fileName, lineNumber,
                                 "a section line without its closing \"]\" is skipped");
                continue;
            }
            Section section;
            section.name = std::string(Trim(line.substr(1, close - 1)));
            section.line = lineNumber;
            m_sections.push_back(std::move(section));
            continue;
        }
        std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            AddFolderWarning(messages, fileName, lineNumber,
                             "a line that is neither a section nor key=value is skipped");
            continue;
        }
        if (m_sections.empty()) {
            if (!warnedOutside)
                AddFolderWarning(messages, fileName, lineNumber,
                                 "keys before the first section are skipped");
            warnedOutside = true;
            continue;
        }
        Entry entry;
        entry.key = std::string(Trim(line.substr(0, equals)));
        std::string_view value = Trim(line.substr(equals + 1));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        entry.value = std::string(value);
        entry.line = lineNumber;
        m_sections.back().entries.push_back(std::move(entry));
    }
}

const CIniDocument::Section* CIniDocument::FindSection(std::string_view name) const {
    for (const Section& section : m_sections) {
        if (NamesEqual(section.name, name))
            return &section;
    }
    return nullptr;
}

std::optional<std::string> CIniDocument::Get(std::string_view section, std::string_view key) const {
    const Section* found = FindSection(section);
    return found ? found->Get(key) : std::nullopt;
}

std::string CIniDocument::Get(std::string_view section, std::string_view key,
                              std::string_view defaultValue) const {
    const Section* found = FindSection(section);
    return found ? found->Get(key, defaultValue) : std::string(defaultValue);
}

long long CIniDocument::GetInt(std::string_view section, std::string_view key,
                               long long defaultValue) const {
    const Section* found = FindSection(section);
    return found ? found->GetInt(key, defaultValue) : defaultValue;
}

double CIniDocument::GetNumber(std::string_view section, std::string_view key,
                               double defaultValue) const {
    const Section* found = FindSection(section);
    return found ? found->GetNumber(key, defaultValue) : defaultValue;
}
