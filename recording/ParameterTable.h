#pragma once
// A parameter table file ("*.dat") of a recorded script folder:
//
//   card,pin
//   29000012345678,0000
//   29000087654321,4321
//
// The first line holds the column names, every further line one row, fields
// split at the delimiter the parameter names (one or more bytes; no quoting:
// a field is the bytes between two delimiters). Lines end with CR LF or LF; a
// UTF-8 byte order mark is skipped; all other bytes (UTF-8 or the process
// code page) are kept as they are. Blank lines at the end are ignored; a
// blank line between rows is a row of empty fields. A row with fewer fields
// than the header gets empty fields for the missing ones (one warning per
// table, naming the first such line); fields beyond the header's are ignored.
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"

/// The column names and rows of one table file, read whole.
class WEBSTEP_API CParameterTable {
public:
    /// Reads the file; false (with one warning naming the file) when it
    /// cannot be read. The table is emptied first.
    bool ReadFile(const std::string& path, const std::string& delimiter, FolderMessages& messages);
    /// Reads text as the contents of a file named fileName (used in messages).
    void ReadText(std::string_view text, const std::string& fileName, const std::string& delimiter,
                  FolderMessages& messages);

    const std::string& FileName() const { return m_fileName; }
    const std::vector<std::string>& Columns() const { return m_columns; }
    std::size_t RowCount() const { return m_rows.size(); }
    /// The field of a row (0-based) and column (0-based); every row has as
    /// many fields as the header has columns.
    const std::string& Field(std::size_t row, std::size_t column) const {
        return m_rows[row][column];
    }

    /// The 0-based column that a ColumnName value names, or -1. The exact
    /// column name wins, then the name without regard to ASCII case, then
    /// "Col N" (N-th column, 1-based; also "ColN", "col 2", "#2").
    int FindColumn(const std::string& columnName) const;

private:
    std::string m_fileName;
    std::vector<std::string> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};
