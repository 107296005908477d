// The argument-count frame of every parser over the generated corpus of step
// calls: each call is parsed in array mode with step creation, as the corpus
// outcomes were read. Count errors (1008, 1009, 1010) must match exactly; a
// call the corpus reads as parsing, or as failing for a reason other than its
// count, must pass the frame. Calls listed in
// parser-corpus-known-differences.txt (file:line and the reason) are skipped.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/TestPaths.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebStepData.h"

namespace {

using nlohmann::json;

std::string FromHex(const std::string& hex) {
    std::string out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

std::set<std::string> KnownDifferences() {
    std::set<std::string> known;
    std::ifstream in(webstep::test::SourceDir() /
                     "tests/script/parser-corpus-known-differences.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        known.insert(line.substr(0, line.find(' ')));
    }
    return known;
}

bool IsCountError(int code) {
    return code == 1008 || code == 1009 || code == 1010;
}

}  // namespace

TEST(ParserCorpus, ArgumentCountFrameAgreesWithEveryCall) {
    std::ifstream in(webstep::test::RequireShared("corpus/scripts/expected.jsonl"));
    ASSERT_TRUE(in.good());
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);
    const std::set<std::string> known = KnownDifferences();

    std::string line;
    int checked = 0, countErrors = 0, extended = 0, mismatches = 0;
    while (std::getline(in, line)) {
        json call = json::parse(line);
        const std::string where =
            call["file"].get<std::string>() + ":" + std::to_string(call["line"].get<int>());
        json expect = call["expect"];
        if (expect.is_string() && expect == "expr")
            expect = call["expect_as_text"];
        const std::string function = call["function"];
        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(repository.CreateObject(function.c_str())));
        if (expect.is_string() && expect == "extended") {
            EXPECT_EQ(parser, nullptr) << where;
            ++extended;
            continue;
        }
        if (expect.is_string() && expect == "unsettled")
            continue;
        ASSERT_NE(parser, nullptr) << where << " " << function;
        if (known.count(where))
            continue;

        std::vector<std::string> storage;
        for (const json& arg : call["args"]) {
            if (arg.is_string())
                storage.push_back(arg.get<std::string>());
            else if (arg.contains("hex"))
                storage.push_back(FromHex(arg["hex"].get<std::string>()));
            else
                storage.push_back(arg["expr"].get<std::string>());
        }
        std::vector<const char*> args;
        for (const std::string& s : storage)
            args.push_back(s.c_str());

        const bool ok = parser->ParseArguments(static_cast<unsigned int>(args.size()), args.data(),
                                               WPF_CREATE_STEP);
        delete parser->GetDataStep();
        const unsigned int code = parser->GetLastErrorInfo().GetCode();
        ++checked;
        if (expect.is_object() && IsCountError(expect["error"].get<int>())) {
            ++countErrors;
            if (ok || code != expect["error"].get<unsigned int>()) {
                ++mismatches;
                ADD_FAILURE() << where << " " << function << ": expected "
                              << expect["error"].get<int>() << ", got " << (ok ? 0u : code);
            }
        } else if (!ok && IsCountError(static_cast<int>(code))) {
            ++mismatches;
            ADD_FAILURE() << where << " " << function << ": unexpected count error " << code;
        }
        if (mismatches > 50)
            break;
    }
    EXPECT_GT(checked, 20000);
    EXPECT_GT(countErrors, 800);
    EXPECT_EQ(extended, 1114);
}
