#include "webstep/recording/ParameterTable.h"

#include <fstream>
#include <sstream>

#include "webstep/recording/IniDocument.h"

namespace {

std::vector<std::string> Split(std::string_view line, const std::string& delimiter) {
    std::vector<std::string> fields;
    if (delimiter.empty()) {
        fields.emplace_back(line);
        return fields;
    }
    std::size_t pos = 0;
    while (true) {
        std::size_t end = line.find(delimiter, pos);
        if (end == std::string_view::npos) {
            fields.emplace_back(line.substr(pos));
            return fields;
        }
        fields.emplace_back(line.substr(pos, end - pos));
        pos = end + delimiter.size();
    }
}

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

}  // namespace

bool CParameterTable::ReadFile(const std::string& path, const std::string& delimiter,
                               FolderMessages& messages) {
    m_fileName = path;
    m_columns.clear();
    m_rows.clear();
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        AddFolderWarning(messages, path, 0,
                         "the parameter table cannot be read; references to its parameters "
                         "stay as written");
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        AddFolderWarning(messages, path, 0,
                         "the parameter table cannot be read; references to its parameters "
                         "stay as written");
        return false;
    }
    ReadText(text.str(), path, delimiter, messages);
    return true;
}

void CParameterTable::ReadText(std::string_view text, const std::string& fileName,
                               const std::string& delimiter, FolderMessages& messages) {
    m_fileName = fileName;
    m_columns.clear();
    m_rows.clear();
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
        text.remove_prefix(3);
    std::vector<std::string_view> lines;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find('\n', pos);
        std::size_t next = end == std::string_view::npos ? text.size() : end + 1;
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view line = text.substr(pos, end - pos);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        lines.push_back(line);
        pos = next;
    }
    while (!lines.empty() && TrimBlanks(lines.back()).empty())
        lines.pop_back();
    if (lines.empty()) {
        AddFolderWarning(messages, fileName, 0,
                         "the parameter table is empty (no line of column names)");
        return;
    }
    m_columns = Split(lines[0], delimiter);
    unsigned shortRows = 0;
    unsigned firstShortLine = 0;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        std::vector<std::string> fields = Split(lines[i], delimiter);
        if (fields.size() < m_columns.size()) {
            if (shortRows++ == 0)
                firstShortLine = static_cast<unsigned>(i + 1);
            fields.resize(m_columns.size());
        } else if (fields.size() > m_columns.size()) {
            fields.resize(m_columns.size());
        }
        m_rows.push_back(std::move(fields));
    }
    if (shortRows > 0) {
        AddFolderWarning(messages, fileName, firstShortLine,
                         std::to_string(shortRows) + (shortRows == 1 ? " row has" : " rows have") +
                             " fewer fields than the " + std::to_string(m_columns.size()) +
                             " columns of the header; the missing fields are empty");
    }
}

int CParameterTable::FindColumn(const std::string& columnName) const {
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        if (m_columns[i] == columnName)
            return static_cast<int>(i);
    }
    std::string_view wanted = TrimBlanks(columnName);
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        if (CIniDocument::NamesEqual(TrimBlanks(m_columns[i]), wanted))
            return static_cast<int>(i);
    }
    // "Col 2", "col2", "#2": the column by its 1-based place.
    std::string_view rest;
    if (wanted.size() > 3 && CIniDocument::NamesEqual(wanted.substr(0, 3), "col"))
        rest = TrimBlanks(wanted.substr(3));
    else if (wanted.size() > 1 && wanted[0] == '#')
        rest = TrimBlanks(wanted.substr(1));
    if (rest.empty() || rest.size() > 6)
        return -1;
    std::size_t number = 0;
    for (char c : rest) {
        if (c < '0' || c > '9')
            return -1;
        number = number * 10 + static_cast<std::size_t>(c - '0');
    }
    if (number >= 1 && number <= m_columns.size())
        return static_cast<int>(number - 1);
    return -1;
}
