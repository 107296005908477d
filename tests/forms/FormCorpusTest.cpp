// Forms of the recorded pages of the step-call corpus, scanned with the page
// scanner and matched against the items of the form submissions that follow
// each page in its script; the bodies built from them read back into the
// same items.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "FormTestSupport.h"
#include "support/TestPaths.h"

namespace {

using nlohmann::json;
using webstep::test::Describe;
using webstep::test::Item;
using webstep::test::ReadWholeFile;
using webstep::test::Scan;

struct Submission {
    std::string where;  // file:line
    std::string folder;
    std::string page;  // the page of the step before
    std::vector<std::pair<std::string, std::string>> items;
    std::vector<std::pair<std::string, std::string>> hiddens;
};

// Items of the ITEMDATA section and hidden pairs between STARTHIDDENS and
// ENDHIDDENS; an item that is not a plain Name/Value pair (a regular
// expression, a file, an unusual attribute) leaves the call out.
bool ReadSubmission(const json& args, Submission& s) {
    enum { Attributes, Hiddens, Data } section = Attributes;
    std::string name, value;
    bool haveName = false;
    for (const json& a : args) {
        if (!a.is_string()) {
            return false;
        }
        const std::string t = a.get<std::string>();
        if (t == "STARTHIDDENS") {
            section = Hiddens;
        } else if (t == "ENDHIDDENS") {
            section = Attributes;
        } else if (t == "ITEMDATA") {
            section = Data;
        } else if (t == "ENDITEM") {
            if (!haveName) {
                return false;
            }
            (section == Hiddens ? s.hiddens : s.items).emplace_back(name, value);
            haveName = false;
            value.clear();
        } else if (t == "LAST") {
            break;
        } else if (section != Attributes) {
            if (t.rfind("Name=", 0) == 0) {
                name = t.substr(5);
                haveName = true;
            } else if (t.rfind("Value=", 0) == 0) {
                value = t.substr(6);
            } else {
                return false;
            }
        }
    }
    return !s.items.empty();
}

// The text of a "key": "value" pair of a JSON line (no escapes expected).
std::string RawField(const std::string& line, const std::string& key) {
    const std::string marker = "\"" + key + "\": \"";
    const auto at = line.find(marker);
    if (at == std::string::npos) {
        return "";
    }
    const auto from = at + marker.size();
    return line.substr(from, line.find('"', from) - from);
}

std::vector<Submission> CorpusSubmissions() {
    const std::string root = webstep::test::RequireShared("corpus/scripts/expected.jsonl");
    const std::filesystem::path dir = std::filesystem::path(root).parent_path();
    std::ifstream in(root);
    std::map<std::string, std::string> lastSnapshot;
    std::vector<Submission> out;
    std::string line;
    while (std::getline(in, line)) {
        // Only the submissions are parsed whole; the rest is searched for
        // their snapshot names (parsing every line is slow in debug builds).
        const std::string file = RawField(line, "file");
        if (RawField(line, "function") == "web_submit_form" && lastSnapshot.count(file) != 0) {
            const json row = json::parse(line, nullptr, false);
            if (!row.is_discarded() && row["expect"] == "ok") {
                Submission s;
                s.where = file + ":" + std::to_string(row["line"].get<int>());
                s.folder = (dir / file.substr(0, file.find('/'))).string();
                s.page = s.folder + "/data/" + lastSnapshot[file];
                if (std::filesystem::exists(s.page) && ReadSubmission(row["args"], s)) {
                    out.push_back(std::move(s));
                }
            }
        }
        const auto snap = line.find("\"Snapshot=");
        if (snap != std::string::npos) {
            const auto from = snap + 10;
            std::string name = line.substr(from, line.find('"', from) - from);
            const auto dot = name.rfind(".inf");
            if (dot != std::string::npos) {
                name.replace(dot, 4, ".html");
            }
            lastSnapshot[file] = name;
        }
    }
    return out;
}

// Looks for a form of the page that holds the step's hidden pairs and
// accepts its items; sets it and checks the body it builds.
bool FitsOnPage(const Submission& s, const std::string& path) {
    auto page = Scan(ReadWholeFile(path));
    for (int i = 0; i < page->nForms(); ++i) {
        CForm form(nullptr, page->form(i), false, "");
        CHtmlAttributeSet wanted;
        for (const auto& [n, v] : s.hiddens) {
            wanted.AddAttribute(new CHiddenAttribute(n, v));
        }
        CDataSet set;
        for (const auto& [n, v] : s.items) {
            set.AddData(Item(n, v));
        }
        if (!form.MatchAttributes(wanted) || !form.CheckAgainstDataSet(&set)) {
            continue;
        }
        EXPECT_TRUE(form.SetToDataSet(&set)) << s.where;
        MString body, boundary;
        form.GetSubmitArgs(body, boundary);
        CDataSet back;
        bool rt = false, at = false;
        back.AddDataFromString(body, form.GetEncoding() == ENCTYPE_MULTIPART ? boundary : "", false,
                               false, rt, at, false, false);
        // Every item of the step is sent with its value.
        const std::string sent = Describe(back);
        for (const auto& [n, v] : s.items) {
            if (v != "<OFF>" && v != "_DEFAULT_" && v != "<ON>") {
                EXPECT_NE(sent.find(n + "=" + v + "\n"), std::string::npos)
                    << s.where << " " << n << "=" << v;
            }
        }
        // The body holds exactly the fields' state.
        CDataSet fromForm;
        form.GetDataSet(fromForm);
        EXPECT_EQ(sent, Describe(fromForm)) << s.where;
        return true;
    }
    return false;
}

TEST(FormCorpus, SubmissionsFindTheirFormOnARecordedPageAndBodiesReadBack) {
    const std::vector<Submission> cases = CorpusSubmissions();
    ASSERT_GE(cases.size(), 20u);
    int onPrevious = 0;
    int inFolder = 0;
    std::string misfits;
    for (const Submission& s : cases) {
        if (FitsOnPage(s, s.page)) {
            ++onPrevious;
            continue;
        }
        bool found = false;
        for (const auto& entry : std::filesystem::directory_iterator(s.folder + "/data")) {
            if (entry.path().extension() == ".html" && entry.path().string() != s.page &&
                FitsOnPage(s, entry.path().string())) {
                found = true;
                break;
            }
        }
        if (found) {
            ++inFolder;
            continue;
        }
        misfits += s.where + " ";
        // Only a step whose fields no recorded page of its script holds may
        // stay unfitted: some item name is written as name="..." nowhere.
        for (const auto& entry : std::filesystem::directory_iterator(s.folder + "/data")) {
            const std::string html = ReadWholeFile(entry.path().string());
            bool all = true;
            for (const auto& item : s.items) {
                all = all && html.find("name=\"" + item.first + "\"") != std::string::npos;
            }
            EXPECT_FALSE(all) << s.where << " has all its fields on " << entry.path();
        }
    }
    EXPECT_GE(onPrevious + inFolder, 10);
    std::cout << "corpus submissions: " << cases.size() << ", on the previous page: " << onPrevious
              << ", on another page of the script: " << inFolder << "\nnot fitted: " << misfits
              << "\n";
}

}  // namespace
