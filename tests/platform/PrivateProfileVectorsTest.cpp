// Replays every recorded answer of the private-profile functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ScratchDir.h"
#include "support/TestPaths.h"
#include "webstep/platform/CodePage.h"
#include "webstep/platform/LastError.h"
#include "webstep/platform/PrivateProfile.h"

namespace {

namespace wp = webstep::platform;
using webstep::test::ScratchDir;
using Field = std::optional<std::string>;

Field Decode(const std::string& raw) {
    if (raw == "\\N") {
        return std::nullopt;
    }
    std::string out;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\\' || i + 1 >= raw.size()) {
            out += raw[i];
            continue;
        }
        const char e = raw[++i];
        if (e == 't') {
            out += '\t';
        } else if (e == 'n') {
            out += '\n';
        } else if (e == 'r') {
            out += '\r';
        } else if (e == 'x' && i + 2 < raw.size() + 0) {
            out += static_cast<char>(std::stoi(raw.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            out += e;
        }
    }
    return out;
}

struct Row {
    std::string id, op, note;
    Field content, section, key, arg;
    std::string bufsize, ret, error;
    Field output;
};

std::vector<Row> LoadRows() {
    std::vector<Row> rows;
    std::ifstream in(webstep::test::RequireShared("vectors/profile.tsv"), std::ios::binary);
    std::string line;
    std::getline(in, line);  // header
    while (std::getline(in, line)) {
        if (line.empty()) {
            continue;
        }
        std::vector<std::string> f;
        std::size_t start = 0;
        for (;;) {
            const std::size_t tab = line.find('\t', start);
            f.push_back(
                line.substr(start, tab == std::string::npos ? std::string::npos : tab - start));
            if (tab == std::string::npos) {
                break;
            }
            start = tab + 1;
        }
        EXPECT_GE(f.size(), 11u) << line;
        if (f.size() < 11) {
            continue;
        }
        rows.push_back(Row{f[0], f[1], f[7], Decode(f[2]), Decode(f[3]), Decode(f[4]), Decode(f[5]),
                           f[6], f[8], f[9], Decode(f[10])});
    }
    return rows;
}

const char* Ptr(const Field& f) {
    return f ? f->c_str() : nullptr;
}

// The lines of an INI text that carry meaning, each trimmed and with the
// spacing around the first "=" removed; blank lines dropped.
std::vector<std::string> Meaningful(const std::string& content) {
    std::vector<std::string> out;
    std::istringstream in(content);
    std::string line;
    auto trim = [](std::string s) {
        const char* ws = " \t\r\n";
        s.erase(0,
                s.find_first_not_of(ws) == std::string::npos ? s.size() : s.find_first_not_of(ws));
        s.erase(s.find_last_not_of(ws) + 1);
        return s;
    };
    while (std::getline(in, line)) {
        line = trim(line);
        if (line.empty()) {
            continue;
        }
        const std::size_t eq = line.find('=');
        if (line[0] != '[' && eq != std::string::npos) {
            line = trim(line.substr(0, eq)) + "=" + trim(line.substr(eq + 1));
        }
        out.push_back(line);
    }
    return out;
}

// Content already written the way a writer writes it: CRLF lines, no blank
// lines, no spacing to tidy.
bool IsCanonical(const std::string& content) {
    std::string rebuilt;
    for (const std::string& line : Meaningful(content)) {
        rebuilt += line + "\r\n";
    }
    return rebuilt == content;
}

class ProfileVectors : public ::testing::Test {
protected:
    void SetUp() override { wp::SetProcessCodePage(wp::CP_LATIN1); }
    void TearDown() override { wp::SetProcessCodePage(0); }
};

TEST_F(ProfileVectors, EveryRecordedRowIsReproduced) {
    const std::vector<Row> rows = LoadRows();
    ASSERT_GE(rows.size(), 80u);
    int checked = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE("row " + row.id + " (" + row.op + "): " + row.note);
        ScratchDir dir;
        const std::string path = dir.File("oracle_" + row.id + ".ini");
        if (row.content) {
            ScratchDir::Write(path, *row.content);
        }
        if (row.op == "iniget") {
            const unsigned size =
                row.bufsize.empty() ? 1000u : static_cast<unsigned>(std::stoul(row.bufsize));
            std::vector<char> buffer(size + 1, '\x7F');
            wp::SetLastError(0);
            const wp::DWORD ret = wp::GetPrivateProfileStringA(
                Ptr(row.section), Ptr(row.key), Ptr(row.arg), buffer.data(), size, path.c_str());
            const wp::DWORD error = wp::GetLastError();
            EXPECT_EQ(std::to_string(ret), row.ret);
            EXPECT_EQ(std::to_string(error), row.error);
            ASSERT_TRUE(row.output.has_value());
            EXPECT_EQ(std::string(buffer.data(), std::min<std::size_t>(ret, size)), *row.output);
            EXPECT_EQ(buffer[size], '\x7F') << "wrote past the buffer";
        } else if (row.op == "iniint") {
            const int def = std::atoi(row.arg ? row.arg->c_str() : "0");
            const wp::UINT ret =
                wp::GetPrivateProfileIntA(Ptr(row.section), Ptr(row.key), def, path.c_str());
            EXPECT_EQ(std::to_string(ret), row.ret);
            ASSERT_TRUE(row.output.has_value());
            EXPECT_EQ(std::to_string(static_cast<int>(ret)), *row.output);
        } else if (row.op == "iniwrite") {
            wp::SetLastError(0);
            const wp::BOOL ret = wp::WritePrivateProfileStringA(Ptr(row.section), Ptr(row.key),
                                                                Ptr(row.arg), path.c_str());
            const wp::DWORD error = wp::GetLastError();
            EXPECT_EQ(wp::WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str()), 1);
            EXPECT_EQ(std::to_string(ret ? 1 : 0), row.ret);
            if (!ret) {
                EXPECT_EQ(std::to_string(error), row.error);
            }
            std::string after;
            const bool exists = ScratchDir::Read(path, after);
            ASSERT_EQ(exists, row.output.has_value());
            if (exists) {
                // Which sections and keys change must agree everywhere; the
                // bytes must agree whenever the file held nothing that the
                // recording writer would have reformatted (blank lines,
                // spacing, bare LF), since untouched lines are kept as they
                // stand here.
                EXPECT_EQ(Meaningful(after), Meaningful(*row.output));
                if (!row.content || IsCanonical(*row.content)) {
                    EXPECT_EQ(after, *row.output);
                }
            }
        } else {
            ADD_FAILURE() << "unknown operation " << row.op;
            continue;
        }
        ++checked;
    }
    EXPECT_EQ(checked, static_cast<int>(rows.size()));
}

}  // namespace
