// Every call of the generated step-call corpus to one of the navigation or
// custom-request functions, parsed in array mode with step creation, against
// the outcome the corpus gives: success, or the error code with its
// attributes (the whole list in order when the corpus marks it exact, else
// the pairs it lists). Arguments are handed over in the folder's own
// encoding. Calls listed in corpus-known-differences-navigation.txt
// (file:line, then the reason) are skipped and counted.
#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ParserProbe.h"
#include "support/TestPaths.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebStepData.h"

namespace {

using nlohmann::ordered_json;

const std::set<std::string> kFunctions = {
    "web_url",         "web_link",           "web_image",        "web_submit_form",
    "web_submit_data", "web_custom_request", "flex_web_request", "silverlight_web_request"};

std::string FromHex(const std::string& hex) {
    std::string out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

// UTF-8 text back to the folder's code page; false when it cannot be.
bool ToEncoding(const std::string& utf8, const std::string& encoding, std::string& out) {
    if (encoding == "ascii" || encoding == "utf-8") {
        out = utf8;
        return true;
    }
    const char* name = encoding == "gbk" ? "GBK" : encoding == "cp1251" ? "windows-1251" : nullptr;
    if (name == nullptr)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    std::vector<char> buffer(utf8.size() * 4 + 16);
    int32_t length = ucnv_convert(name, "UTF-8", buffer.data(), static_cast<int32_t>(buffer.size()),
                                  utf8.data(), static_cast<int32_t>(utf8.size()), &status);
    if (U_FAILURE(status))
        return false;
    out.assign(buffer.data(), static_cast<size_t>(length));
    return true;
}

std::map<std::string, std::string> FolderEncodings() {
    std::map<std::string, std::string> encodings;
    std::ifstream in(webstep::test::RequireShared("corpus/scripts/files.jsonl"));
    std::string line;
    while (std::getline(in, line)) {
        ordered_json folder = ordered_json::parse(line);
        encodings[folder["folder"].get<std::string>()] = folder["encoding"].get<std::string>();
    }
    return encodings;
}

std::set<std::string> KnownDifferences() {
    std::set<std::string> known;
    std::ifstream in(webstep::test::SourceDir() /
                     "tests/script/corpus-known-differences-navigation.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        known.insert(line.substr(0, line.find(' ')));
    }
    return known;
}

std::vector<std::pair<std::string, std::string>> ErrorAttributes(const CWebStepBase& base) {
    std::vector<std::pair<std::string, std::string>> out;
    CPropertyBagIterator it(base.GetLastErrorInfo().GetAttributes());
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value))
        out.emplace_back(name, value);
    return out;
}

struct Counts {
    int checked = 0;
    int matched = 0;
    int known = 0;
};

}  // namespace

TEST(NavigationParseCorpus, EveryNavigationAndCustomRequestCallHasItsExpectedOutcome) {
    const std::map<std::string, std::string> encodings = FolderEncodings();
    const std::set<std::string> known = KnownDifferences();
    std::ifstream in(webstep::test::RequireShared("corpus/scripts/expected.jsonl"));
    ASSERT_TRUE(in.good());
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);

    std::map<std::string, Counts> counts;
    int reported = 0;
    std::string line;
    while (std::getline(in, line)) {
        ordered_json call = ordered_json::parse(line);
        const std::string function = call["function"].get<std::string>();
        if (kFunctions.count(function) == 0)
            continue;
        const ordered_json& expect = call["expect"];
        if (expect.is_string() && expect.get<std::string>() != "ok")
            continue;  // expr, unsettled, extended
        const std::string file = call["file"].get<std::string>();
        const std::string where = file + ":" + std::to_string(call["line"].get<int>());
        Counts& count = counts[function];
        if (known.count(where)) {
            ++count.known;
            continue;
        }
        const std::string folder = file.substr(0, file.find('/'));
        const auto encoding = encodings.find(folder);
        ASSERT_NE(encoding, encodings.end()) << where;

        std::vector<std::string> storage;
        for (const ordered_json& arg : call["args"]) {
            std::string text;
            if (arg.is_string())
                ASSERT_TRUE(ToEncoding(arg.get<std::string>(), encoding->second, text)) << where;
            else
                text = FromHex(arg["hex"].get<std::string>());
            storage.push_back(text);
        }
        std::vector<const char*> args;
        for (const std::string& s : storage)
            args.push_back(s.c_str());

        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(repository.CreateObject(function.c_str())));
        ASSERT_NE(parser, nullptr) << function;
        const bool ok = parser->ParseArguments(static_cast<unsigned int>(args.size()), args.data(),
                                               WPF_CREATE_STEP);
        std::unique_ptr<CWebStepData> step(parser->GetDataStep());
        ++count.checked;

        std::string problem;
        if (expect.is_string()) {
            if (!ok)
                problem = "expected success, got " + ErrorText(*parser);
            else if (step == nullptr)
                problem = "no step created";
        } else {
            const unsigned int code = expect["error"].get<unsigned int>();
            const auto actual = ErrorAttributes(*parser);
            std::vector<std::pair<std::string, std::string>> wanted;
            for (const auto& [name, value] : expect["attrs"].items()) {
                // Error texts quote the arguments, so they are in the folder's encoding too.
                std::string text;
                ASSERT_TRUE(ToEncoding(value.get<std::string>(), encoding->second, text)) << where;
                wanted.emplace_back(name, text);
            }
            if (ok) {
                problem = "expected error " + std::to_string(code) + ", parse succeeded";
            } else if (parser->GetLastErrorInfo().GetCode() != code) {
                problem = "expected error " + std::to_string(code) + ", got " + ErrorText(*parser);
            } else if (expect["exact"].get<bool>()) {
                if (actual != wanted)
                    problem = "error attributes differ: " + ErrorText(*parser);
            } else {
                for (const auto& pair : wanted) {
                    bool found = false;
                    for (const auto& have : actual)
                        found = found || have == pair;
                    if (!found)
                        problem = "missing " + pair.first + "=" + pair.second + " in " +
                                  ErrorText(*parser);
                }
            }
        }
        if (problem.empty()) {
            ++count.matched;
        } else if (++reported <= 40) {
            ADD_FAILURE() << where << " " << function << ": " << problem;
        }
    }

    int total = 0;
    for (const auto& [function, count] : counts) {
        std::cout << "[ corpus   ] " << function << ": " << count.matched << " of " << count.checked
                  << " calls match, " << count.known << " listed as known differences\n";
        total += count.checked;
        EXPECT_EQ(count.matched, count.checked) << function;
    }
    EXPECT_EQ(counts.size(), kFunctions.size());
    EXPECT_GT(total, 14000);
}
