// The calls of the generated step-call corpus that belong to the extended
// function set: every such call without a note of a deliberate mistake must
// parse, with both repositories filled, in array mode with step creation (as
// the corpus outcomes are read); the 49 alone must not know the functions.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
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

struct CorpusCall {
    std::string where;
    std::string function;
    std::vector<std::string> args;
    bool noted = false;
};

std::vector<CorpusCall> ReadExtendedCalls() {
    std::vector<CorpusCall> calls;
    const auto path = webstep::test::RequireShared("corpus/scripts/expected.jsonl");
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        const json entry = json::parse(line, nullptr, false);
        if (entry.is_discarded() || !entry["expect"].is_string() || entry["expect"] != "extended")
            continue;
        CorpusCall call;
        call.where =
            entry["file"].get<std::string>() + ":" + std::to_string(entry["line"].get<int>());
        call.function = entry["function"].get<std::string>();
        call.noted = entry.contains("note");
        for (const json& arg : entry["args"]) {
            if (arg.is_string())
                call.args.push_back(arg.get<std::string>());
            else if (arg.contains("hex"))
                call.args.push_back(FromHex(arg["hex"].get<std::string>()));
            else
                call.args.push_back(arg["expr"].get<std::string>());
        }
        calls.push_back(std::move(call));
    }
    return calls;
}

// Read once for all the tests of this file.
const std::vector<CorpusCall>& ExtendedCalls() {
    static const std::vector<CorpusCall> calls = ReadExtendedCalls();
    return calls;
}

}  // namespace

TEST(ExtendedCorpus, EveryExtendedCallWithoutANoteParses) {
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);
    CWebStepParse::UpdateRepositoryExtended(repository);
    const std::vector<CorpusCall>& calls = ExtendedCalls();
    ASSERT_FALSE(calls.empty()) << "no call marked extended in the corpus";
    size_t parsed = 0;
    std::map<std::string, size_t> perFunction;
    for (const CorpusCall& call : calls) {
        if (call.noted)
            continue;
        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(repository.CreateObject(call.function.c_str())));
        ASSERT_NE(parser, nullptr) << call.where << ": no parser for " << call.function;
        std::vector<const char*> args;
        for (const std::string& arg : call.args)
            args.push_back(arg.c_str());
        const bool ok = parser->ParseArguments(static_cast<unsigned int>(args.size()), args.data(),
                                               WPF_CREATE_STEP);
        std::unique_ptr<CWebStepData> step(parser->GetDataStep());
        EXPECT_TRUE(ok) << call.where << ": " << call.function << " refused with "
                        << parser->GetLastErrorInfo().GetCode();
        EXPECT_NE(step, nullptr) << call.where;
        parsed += ok ? 1 : 0;
        ++perFunction[call.function];
    }
    EXPECT_EQ(parsed, 1114u);
    EXPECT_EQ(perFunction["web_reg_save_param_ex"], 613u);
}

TEST(ExtendedCorpus, TheFortyNineAloneDoNotKnowTheExtendedFunctions) {
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);
    for (const CorpusCall& call : ExtendedCalls())
        EXPECT_EQ(repository.CreateObject(call.function.c_str()), nullptr) << call.function;
}
