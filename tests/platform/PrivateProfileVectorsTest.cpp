// Replays every recorded answer of the private-profile functions: the shared
// vectors, our own rows derived from further recorded answers
// (profile-extra.tsv), and any vector files named in WEBSTEP_PROFILE_VECTORS
// (separated by ":"), less the rows named in profile-known-differences.txt.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "settings/ScratchDir.h"
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

std::vector<Row> LoadRows(const std::filesystem::path& path) {
    std::vector<Row> rows;
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << "cannot read the vector file " << path.string();
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
        EXPECT_GE(f.size(), 11u) << path.string() << ": " << line;
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

// Runs one row in a fresh scratch folder; empty when the answer is the
// recorded one, else what differed.
std::string Replay(const Row& row) {
    std::ostringstream diff;
    auto check = [&diff](const char* what, const std::string& got, const std::string& want) {
        if (got != want) {
            diff << what << ": got \"" << got << "\", recorded \"" << want << "\"; ";
        }
    };
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
        check("ret", std::to_string(ret), row.ret);
        check("error", std::to_string(error), row.error);
        check("output", std::string(buffer.data(), std::min<std::size_t>(ret, size)),
              row.output.value_or("\\N"));
        if (buffer[size] != '\x7F') {
            diff << "wrote past the buffer; ";
        }
        if (ret < size && buffer[ret] != '\0') {
            diff << "answer not NUL-terminated; ";
        }
    } else if (row.op == "iniint") {
        const int def = std::atoi(row.arg ? row.arg->c_str() : "0");
        const wp::UINT ret =
            wp::GetPrivateProfileIntA(Ptr(row.section), Ptr(row.key), def, path.c_str());
        check("ret", std::to_string(ret), row.ret);
        check("output", std::to_string(static_cast<int>(ret)), row.output.value_or("\\N"));
    } else if (row.op == "iniwrite") {
        wp::SetLastError(0);
        const wp::BOOL ret = wp::WritePrivateProfileStringA(Ptr(row.section), Ptr(row.key),
                                                            Ptr(row.arg), path.c_str());
        const wp::DWORD error = wp::GetLastError();
        if (wp::WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str()) != 1) {
            diff << "flush failed; ";
        }
        check("ret", std::to_string(ret ? 1 : 0), row.ret);
        if (!ret) {
            check("error", std::to_string(error), row.error);
        }
        std::string after;
        const bool exists = ScratchDir::Read(path, after);
        if (exists != row.output.has_value()) {
            diff << (exists ? "file exists, recorded none; " : "no file, recorded one; ");
        } else if (exists) {
            // Which sections and keys change must agree everywhere; the
            // bytes must agree whenever the file held nothing that the
            // recording writer would have reformatted (blank lines,
            // spacing, bare LF), since untouched lines are kept as they
            // stand here.
            if (Meaningful(after) != Meaningful(*row.output)) {
                check("file (meaningful lines)", after, *row.output);
            } else if (!row.content || IsCanonical(*row.content)) {
                check("file", after, *row.output);
            }
        }
    } else {
        diff << "unknown operation " << row.op << "; ";
    }
    return diff.str();
}

// "file<TAB>id" of the rows listed as deliberately different.
std::map<std::string, std::string> KnownDifferences() {
    std::map<std::string, std::string> known;
    const auto path = webstep::test::SourceDir() / "tests/platform/profile-known-differences.txt";
    std::ifstream in(path);
    EXPECT_TRUE(in.good()) << "missing " << path.string();
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const std::size_t first = line.find('\t');
        const std::size_t second =
            first == std::string::npos ? std::string::npos : line.find('\t', first + 1);
        EXPECT_NE(second, std::string::npos) << path.string() << ": expected file, id and reason "
                                             << "separated by tabs: " << line;
        if (second != std::string::npos) {
            known[line.substr(0, second)] = line.substr(second + 1);
        }
    }
    return known;
}

class ProfileVectors : public ::testing::Test {
protected:
    void SetUp() override { wp::SetProcessCodePage(wp::CP_LATIN1); }
    void TearDown() override { wp::SetProcessCodePage(0); }

    // Replays every row of the file; returns the number of rows.
    static std::size_t ReplayFile(const std::filesystem::path& file,
                                  const std::map<std::string, std::string>& known) {
        const std::vector<Row> rows = LoadRows(file);
        const std::string name = file.filename().string();
        for (const Row& row : rows) {
            SCOPED_TRACE(name + " row " + row.id + " (" + row.op + "): " + row.note);
            const std::string diff = Replay(row);
            const auto listed = known.find(name + "\t" + row.id);
            if (listed == known.end()) {
                EXPECT_EQ(diff, "");
            } else {
                EXPECT_NE(diff, "") << "listed as a known difference (" << listed->second
                                    << ") but reproduced: remove it from the list";
            }
        }
        return rows.size();
    }
};

TEST_F(ProfileVectors, EveryRecordedRowIsReproduced) {
    EXPECT_EQ(ReplayFile(webstep::test::RequireShared("vectors/profile.tsv"), KnownDifferences()),
              83u);
}

TEST_F(ProfileVectors, EveryRowDerivedFromFurtherRecordedAnswersIsReproduced) {
    EXPECT_GE(ReplayFile(webstep::test::SourceDir() / "tests/platform/profile-extra.tsv",
                         KnownDifferences()),
              20u);
}

// Held-out recordings in the same format: WEBSTEP_PROFILE_VECTORS=a.tsv:b.tsv.
TEST_F(ProfileVectors, EveryRowOfFurtherVectorFilesIsReproduced) {
    const char* env = std::getenv("WEBSTEP_PROFILE_VECTORS");
    if (env == nullptr || *env == '\0') {
        GTEST_SKIP() << "no further vector files named in WEBSTEP_PROFILE_VECTORS";
    }
    std::istringstream list(env);
    std::string file;
    while (std::getline(list, file, ':')) {
        if (!file.empty()) {
            EXPECT_GT(ReplayFile(file, KnownDifferences()), 0u) << file;
        }
    }
}

}  // namespace
