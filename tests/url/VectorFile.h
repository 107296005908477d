#pragma once
// Reads the recorded behaviour vectors: tab-separated rows whose fields are
// escaped (\\, \t, \n, \r, \xHH; a field of exactly \N is a null pointer).
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace webstep::test {

struct VectorRow {
    std::vector<std::optional<std::string>> fields;
    int lineNumber = 0;
};

inline std::optional<std::string> DecodeVectorField(const std::string& raw) {
    if (raw == "\\N")
        return std::nullopt;
    std::string out;
    out.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        char c = raw[i];
        if (c != '\\' || i + 1 >= raw.size()) {
            out += c;
            continue;
        }
        char e = raw[++i];
        switch (e) {
            case '\\':
                out += '\\';
                break;
            case 't':
                out += '\t';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 'x':
                if (i + 2 < raw.size()) {
                    out += static_cast<char>(std::stoi(raw.substr(i + 1, 2), nullptr, 16));
                    i += 2;
                }
                break;
            default:
                out += '\\';
                out += e;
        }
    }
    return out;
}

// All data rows (the header line is skipped).
inline std::vector<VectorRow> ReadVectorFile(const std::string& path) {
    std::vector<VectorRow> rows;
    std::ifstream in(path, std::ios::binary);
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (number == 1 || line.empty())
            continue;
        VectorRow row;
        row.lineNumber = number;
        std::size_t start = 0;
        while (true) {
            std::size_t tab = line.find('\t', start);
            row.fields.push_back(DecodeVectorField(
                line.substr(start, tab == std::string::npos ? std::string::npos : tab - start)));
            if (tab == std::string::npos)
                break;
            start = tab + 1;
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

// Printable form of a byte string for failure messages.
inline std::string Escaped(const std::string& whole) {
    static const char* hex = "0123456789ABCDEF";
    // Long inputs are cut so that a failure message stays readable.
    std::string s = whole.size() > 300 ? whole.substr(0, 300) : whole;
    std::string out;
    for (unsigned char c : s) {
        if (c == '\\')
            out += "\\\\";
        else if (c >= 0x20 && c < 0x7F)
            out += char(c);
        else {
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    if (whole.size() > s.size())
        out += "...(" + std::to_string(whole.size()) + " bytes)";
    return out;
}

}  // namespace webstep::test
