// Every call of the generated step-call corpus to a correlation, check or
// service function, parsed in array mode with step creation and its
// arguments exactly as listed (texts converted back to the folder's
// encoding): a call read as parsing must parse, a call read as failing must
// fail with its code and its error attributes (the whole record in order
// when the corpus marks it exact, else the listed pairs). Calls whose
// outcome is not settled, that hold expressions or that use functions the
// parsers do not know are skipped. Calls listed in
// corpus-known-differences-service.txt ("file:line reason") are skipped.
#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/TestPaths.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebStepData.h"

namespace {

// Ordered: the error attributes are listed in the order they are recorded.
using json = nlohmann::ordered_json;

const std::set<std::string> kFunctions = {
    "web_reg_save_param",
    "web_find",
    "web_image_check",
    "web_java_check",
    "web_set_proxy",
    "web_set_secure_proxy",
    "web_set_user",
    "web_add_header",
    "web_add_auto_header",
    "web_cleanup_auto_headers",
    "web_set_proxy_bypass",
    "web_set_connections_limit",
    "web_enable_keep_alive",
    "web_disable_keep_alive",
    "web_set_timeout",
    "web_create_html_param",
    "web_set_max_html_param_len",
    "web_add_cookie",
    "web_remove_cookie",
    "web_cleanup_cookies",
    "web_set_certificate",
    "web_get_int_property",
    "web_save_header",
    "web_create_html_param_ex",
    "web_set_proxy_bypass_local",
    "web_cache_cleanup",
    "web_concurrent_start",
    "web_concurrent_end",
    "web_set_max_retries",
    "web_set_certificate_ex",
    "web_set_sockets_option",
    "web_reg_find",
    "web_remove_auto_header",
    "web_revert_auto_header",
    "web_sjis_to_euc_param",
    "web_global_verification",
    "web_reg_add_cookie",
    "web_convert_param",
    "web_add_cookie_ex",
    "web_global_verification_pause",
    "web_global_verification_resume",
};

std::string FromHex(const std::string& hex) {
    std::string out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

// UTF-8 text back to the bytes of the folder's encoding.
bool FromUtf8(const std::string& text, const std::string& encoding, std::string& out) {
    if (encoding != "gbk" && encoding != "cp1251") {
        out = text;
        return true;
    }
    UErrorCode status = U_ZERO_ERROR;
    UConverter* from = ucnv_open("UTF-8", &status);
    if (U_FAILURE(status))
        return false;
    std::u16string wide(text.size() + 1, u'\0');
    int32_t n = ucnv_toUChars(from, wide.data(), static_cast<int32_t>(wide.size()), text.data(),
                              static_cast<int32_t>(text.size()), &status);
    ucnv_close(from);
    if (U_FAILURE(status))
        return false;
    wide.resize(n);
    UConverter* to = ucnv_open(encoding == "gbk" ? "GBK" : "windows-1251", &status);
    if (U_FAILURE(status))
        return false;
    ucnv_setFromUCallBack(to, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    out.assign(wide.size() * 4 + 1, '\0');
    int32_t m = ucnv_fromUChars(to, out.data(), static_cast<int32_t>(out.size()), wide.data(),
                                static_cast<int32_t>(wide.size()), &status);
    ucnv_close(to);
    if (U_FAILURE(status))
        return false;
    out.resize(m);
    return true;
}

std::map<std::string, std::string> FolderEncodings() {
    std::map<std::string, std::string> encodings;
    std::ifstream in(webstep::test::RequireShared("corpus/scripts/files.jsonl"));
    std::string line;
    while (std::getline(in, line)) {
        json folder = json::parse(line);
        encodings[folder["folder"].get<std::string>()] = folder["encoding"].get<std::string>();
    }
    return encodings;
}

std::set<std::string> KnownDifferences() {
    std::set<std::string> known;
    std::ifstream in(webstep::test::SourceDir() /
                     "tests/script/corpus-known-differences-service.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        known.insert(line.substr(0, line.find(' ')));
    }
    return known;
}

using ErrorRecord = std::vector<std::pair<std::string, std::string>>;

ErrorRecord RecordOf(const CWebStepError& error) {
    ErrorRecord record;
    CPropertyBagIterator it(error.GetAttributes());
    MString name, value;
    for (bool ok = it.GetFirst(name, value); ok; ok = it.GetNext(name, value))
        record.emplace_back(name, value);
    return record;
}

std::string Show(const ErrorRecord& record) {
    std::string out;
    for (const auto& [name, value] : record)
        out += " " + name + "=" + value;
    return out;
}

struct Tally {
    int checked = 0;
    int matched = 0;
};

}  // namespace

TEST(ServiceParseCorpus, EveryCorrelationCheckAndServiceCallHasItsListedOutcome) {
    std::ifstream in(webstep::test::RequireShared("corpus/scripts/expected.jsonl"));
    ASSERT_TRUE(in.good());
    const std::map<std::string, std::string> encodings = FolderEncodings();
    const std::set<std::string> known = KnownDifferences();
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);

    std::map<std::string, Tally> tallies;
    int skippedKnown = 0, errors = 0;
    std::string line;
    while (std::getline(in, line)) {
        json call = json::parse(line);
        const std::string function = call["function"];
        if (!kFunctions.count(function))
            continue;
        const json& expect = call["expect"];
        if (expect.is_string() && expect != "ok")
            continue;  // expressions, unsettled and extended calls
        const std::string file = call["file"];
        const std::string where = file + ":" + std::to_string(call["line"].get<int>());
        if (known.count(where)) {
            ++skippedKnown;
            continue;
        }
        const std::string encoding = encodings.at(file.substr(0, file.find('/')));

        std::vector<std::string> storage;
        bool convertible = true;
        for (const json& arg : call["args"]) {
            std::string bytes;
            if (arg.is_string())
                convertible &= FromUtf8(arg.get<std::string>(), encoding, bytes);
            else
                bytes = FromHex(arg["hex"].get<std::string>());
            storage.push_back(bytes);
        }
        ASSERT_TRUE(convertible) << where;
        std::vector<const char*> args;
        for (const std::string& s : storage)
            args.push_back(s.c_str());

        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(repository.CreateObject(function.c_str())));
        ASSERT_NE(parser, nullptr) << function;
        const bool ok = parser->ParseArguments(static_cast<unsigned int>(args.size()), args.data(),
                                               WPF_CREATE_STEP);
        delete parser->GetDataStep();
        const CWebStepError& error = parser->GetLastErrorInfo();
        const ErrorRecord got = RecordOf(error);

        Tally& tally = tallies[function];
        ++tally.checked;
        bool match = true;
        std::string want;
        if (expect.is_string()) {
            match = ok;
            want = "ok";
        } else {
            const unsigned int code = expect["error"].get<unsigned int>();
            ErrorRecord listed;
            for (const auto& [name, value] : expect["attrs"].items()) {
                std::string bytes;
                FromUtf8(value.get<std::string>(), encoding, bytes);
                listed.emplace_back(name, bytes);
            }
            want = std::to_string(code) + Show(listed) +
                   (expect["exact"].get<bool>() ? " (exact)" : "");
            if (ok || error.GetCode() != code) {
                match = false;
            } else if (expect["exact"].get<bool>()) {
                match = got == listed;
            } else {
                for (const auto& pair : listed) {
                    bool found = false;
                    for (const auto& have : got)
                        found |= have == pair;
                    match &= found;
                }
            }
        }
        if (match) {
            ++tally.matched;
        } else if (++errors <= 60) {
            ADD_FAILURE() << where << " " << function << ": expected " << want << ", got "
                          << (ok ? std::string("ok") : std::to_string(error.GetCode()) + Show(got));
        }
    }

    int checked = 0;
    for (const auto& [function, tally] : tallies) {
        std::cout << "  " << function << ": " << tally.matched << "/" << tally.checked << "\n";
        checked += tally.checked;
    }
    std::cout << "  known differences skipped: " << skippedKnown << "\n";
    EXPECT_EQ(errors, 0);
    EXPECT_GT(checked, 8000);
    EXPECT_EQ(tallies.size(), kFunctions.size());
}
