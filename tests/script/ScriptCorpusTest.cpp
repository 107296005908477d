// The script reader over the whole generated corpus of script folders: every
// call listed there is found at its line with exactly the listed arguments,
// and no other call is found.
#include <unicode/ucnv.h>

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/TestPaths.h"
#include "webstep/platform/CodePage.h"
#include "webstep/script/ScriptReader.h"

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

struct FolderInfo {
    std::string encoding;
    bool bom = false;
};

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (unsigned char c : bytes) {
        out.push_back(digits[c >> 4]);
        out.push_back(digits[c & 15]);
    }
    return out;
}

// The bytes as UTF-8 text, read in the folder's encoding; false when they are
// not valid text there.
bool ToUtf8(const std::string& bytes, const std::string& encoding, std::string& out) {
    const char* name = "UTF-8";
    if (encoding == "gbk")
        name = "GBK";
    else if (encoding == "cp1251")
        name = "windows-1251";
    UErrorCode status = U_ZERO_ERROR;
    UConverter* from = ucnv_open(name, &status);
    if (U_FAILURE(status))
        return false;
    ucnv_setToUCallBack(from, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    std::u16string wide(bytes.size() + 1, u'\0');
    int32_t n = ucnv_toUChars(from, wide.data(), static_cast<int32_t>(wide.size()), bytes.data(),
                              static_cast<int32_t>(bytes.size()), &status);
    ucnv_close(from);
    if (U_FAILURE(status))
        return false;
    wide.resize(n);
    UConverter* to = ucnv_open("UTF-8", &status);
    out.assign(wide.size() * 3 + 1, '\0');
    int32_t m = ucnv_fromUChars(to, out.data(), static_cast<int32_t>(out.size()), wide.data(),
                                static_cast<int32_t>(wide.size()), &status);
    ucnv_close(to);
    if (U_FAILURE(status))
        return false;
    out.resize(m);
    return true;
}

unsigned int CodePageOf(const std::string& encoding) {
    if (encoding == "gbk")
        return webstep::platform::CP_GBK;
    if (encoding == "cp1251")
        return 1251;
    if (encoding == "utf-8")
        return webstep::platform::CP_UTF8;
    return webstep::platform::CP_LATIN1;
}

// "file:line" of calls whose listed arguments contradict the token rules,
// with the reason after the first blank; '#' starts a comment line.
std::set<std::string> KnownDifferences() {
    std::set<std::string> known;
    std::ifstream in(webstep::test::SourceDir() / "tests/script/corpus-known-differences.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        known.insert(line.substr(0, line.find(' ')));
    }
    return known;
}

// Compares one listed argument with the one read; an empty result means equal.
std::string CompareArgument(const json& expected, const ScriptArgument& got,
                            const std::string& encoding) {
    std::string text;
    bool valid = ToUtf8(got.value, encoding, text);
    if (expected.is_string()) {
        if (got.IsOpaque())
            return "expected a literal, read the expression " + got.value;
        if (!valid)
            return "expected text " + expected.get<std::string>() + ", read bytes " +
                   Hex(got.value);
        if (text != expected.get<std::string>())
            return "expected " + expected.dump() + ", read " + json(text).dump();
        return "";
    }
    if (expected.contains("hex")) {
        if (!got.IsLiteral())
            return "expected literal bytes, read " + got.value;
        if (Hex(got.value) != expected["hex"].get<std::string>())
            return "bytes differ: expected " + expected["hex"].get<std::string>() + ", read " +
                   Hex(got.value);
        return "";
    }
    if (expected.contains("expr")) {
        if (!got.IsOpaque())
            return "expected the expression " + expected["expr"].get<std::string>() + ", read a " +
                   CScriptReader::GetArgumentKindName(got.kind);
        if (!valid || text != expected["expr"].get<std::string>())
            return "expression text differs: expected " + expected["expr"].get<std::string>() +
                   ", read " + got.value;
        return "";
    }
    return "unknown expected form " + expected.dump();
}

struct CorpusOutcome {
    size_t expectedCalls = 0;
    size_t comparedCalls = 0;
    size_t knownSkipped = 0;
    std::vector<std::string> failures;
};

CorpusOutcome RunCorpus(bool folderCodePage) {
    CorpusOutcome outcome;
    fs::path root = webstep::test::RequireShared("corpus/scripts");
    std::map<std::string, FolderInfo> folders;
    {
        std::ifstream in(root / "files.jsonl");
        std::string line;
        while (std::getline(in, line)) {
            json j = json::parse(line);
            folders[j["folder"].get<std::string>()] = {j["encoding"].get<std::string>(),
                                                       j["bom"].get<bool>()};
        }
    }
    std::map<std::string, std::vector<json>> expectedByFile;
    {
        std::ifstream in(root / "expected.jsonl");
        std::string line;
        while (std::getline(in, line)) {
            if (line.empty())
                continue;
            json j = json::parse(line);
            expectedByFile[j["file"].get<std::string>()].push_back(std::move(j));
            ++outcome.expectedCalls;
        }
    }
    std::set<std::string> known = KnownDifferences();
    CScriptReader reader;
    // Every action file of every folder, listed or not.
    std::set<std::string> files;
    for (const auto& [folder, info] : folders) {
        for (const auto& entry : fs::directory_iterator(root / folder)) {
            if (entry.path().extension() == ".c")
                files.insert(folder + "/" + entry.path().filename().string());
        }
    }
    for (const auto& [file, unused] : expectedByFile) {
        if (!files.count(file))
            outcome.failures.push_back(file + ": listed in expected.jsonl but not found");
    }
    for (const std::string& file : files) {
        const FolderInfo& info = folders[file.substr(0, file.find('/'))];
        webstep::platform::SetProcessCodePage(folderCodePage ? CodePageOf(info.encoding)
                                                             : webstep::platform::CP_LATIN1);
        ScriptReadResult result;
        if (!reader.ReadFile((root / file).string().c_str(), result)) {
            outcome.failures.push_back(file + ": cannot read");
            continue;
        }
        if (result.hasByteOrderMark != info.bom)
            outcome.failures.push_back(file + ": byte order mark not as listed");
        if (result.GetErrorCount() != 0)
            outcome.failures.push_back(
                file + ": " + std::to_string(result.GetErrorCount()) +
                " reading errors, first: " + result.diagnostics.front().message + " at line " +
                std::to_string(result.diagnostics.front().line));
        std::vector<const ScriptCall*> calls;
        for (const ScriptCall& call : result.calls) {
            if (call.kind == EScriptCallKind::Step || call.kind == EScriptCallKind::UnknownFunction)
                calls.push_back(&call);
        }
        const std::vector<json>& expected = expectedByFile[file];
        size_t n = std::min(calls.size(), expected.size());
        for (size_t i = 0; i < n; ++i) {
            const json& e = expected[i];
            const ScriptCall& got = *calls[i];
            std::string where = file + ":" + std::to_string(e["line"].get<unsigned>());
            if (got.function != e["function"].get<std::string>() ||
                got.line != e["line"].get<unsigned>()) {
                outcome.failures.push_back(where + ": expected " +
                                           e["function"].get<std::string>() + ", read " +
                                           got.function + " at line " + std::to_string(got.line));
                break;  // the rest of the file would not line up
            }
            bool extended = e["expect"].is_string() && e["expect"] == "extended";
            if (extended != (got.kind == EScriptCallKind::UnknownFunction))
                outcome.failures.push_back(where + ": registered/unknown kind differs");
            if (known.count(where)) {
                ++outcome.knownSkipped;
                continue;
            }
            ++outcome.comparedCalls;
            const json& args = e["args"];
            if (args.size() != got.arguments.size()) {
                outcome.failures.push_back(where + ": expected " + std::to_string(args.size()) +
                                           " arguments, read " +
                                           std::to_string(got.arguments.size()));
                continue;
            }
            for (size_t a = 0; a < args.size(); ++a) {
                std::string why = CompareArgument(args[a], got.arguments[a], info.encoding);
                if (!why.empty()) {
                    outcome.failures.push_back(where + " argument " + std::to_string(a) + ": " +
                                               why.substr(0, 400));
                    break;
                }
            }
        }
        if (calls.size() != expected.size())
            outcome.failures.push_back(file + ": expected " + std::to_string(expected.size()) +
                                       " calls, read " + std::to_string(calls.size()));
    }
    webstep::platform::SetProcessCodePage(0);
    return outcome;
}

void Report(const CorpusOutcome& outcome) {
    EXPECT_EQ(outcome.expectedCalls, 24806u);
    EXPECT_EQ(outcome.comparedCalls + outcome.knownSkipped, outcome.expectedCalls);
    std::ostringstream text;
    size_t shown = 0;
    for (const std::string& failure : outcome.failures) {
        if (++shown > 40)
            break;
        text << failure << "\n";
    }
    EXPECT_TRUE(outcome.failures.empty())
        << outcome.failures.size() << " differences, the first ones:\n"
        << text.str();
}

TEST(ScriptCorpus, EveryListedCallReadWithItsExactArgumentsInTheFolderCodePage) {
    Report(RunCorpus(true));
}

// The corpus promises the same bytes whether or not high bytes start
// double-byte characters; the reader keeps that promise with a single-byte
// code page too.
TEST(ScriptCorpus, EveryListedCallReadWithItsExactArgumentsInASingleByteCodePage) {
    Report(RunCorpus(false));
}

}  // namespace
