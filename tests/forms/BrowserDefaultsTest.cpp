// Default submissions compared with a browser's: for every form of the test
// pages (pages/) and of the saved real pages, the URL-encoded body of the
// page defaults equals the body that the HTML standard's form submission
// gives with the first submit button (browser_defaults.tsv, written by
// browser_defaults.py from an independent html.parser reading), except for
// the differences named beside each case below.
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "FormTestSupport.h"
#include "support/TestPaths.h"

namespace {

using webstep::test::ReadWholeFile;
using webstep::test::Scan;

struct Case {
    std::string label;
    int index = 0;
    std::string browser;
};

std::vector<Case> ReadCases() {
    std::ifstream in(std::string(WEBSTEP_SOURCE_DIR) + "/tests/forms/browser_defaults.tsv");
    std::vector<Case> cases;
    std::string line;
    while (std::getline(in, line)) {
        const auto t1 = line.find('\t');
        const auto t2 = line.find('\t', t1 + 1);
        if (t1 == std::string::npos || t2 == std::string::npos) {
            continue;
        }
        cases.push_back(
            {line.substr(0, t1), std::stoi(line.substr(t1 + 1, t2 - t1 - 1)), line.substr(t2 + 1)});
    }
    return cases;
}

std::string PagePath(const std::string& label) {
    if (label.rfind("pages/", 0) == 0) {
        return std::string(WEBSTEP_SOURCE_DIR) + "/tests/forms/" + label;
    }
    return webstep::test::RequireShared(label);
}

std::string OurDefaultBody(const std::string& label, int index) {
    auto page = Scan(ReadWholeFile(PagePath(label)));
    if (index >= page->nForms()) {
        return "<no form " + std::to_string(index) + ">";
    }
    CForm form(nullptr, page->form(index), false, "");
    MString body, boundary;
    form.GetDefaultArgs(body, boundary);
    return body;
}

// Where a rule of this library differs from the browser, the body that the
// rule gives, with the rule named.
const std::map<std::string, std::string>& Differences() {
    static const std::map<std::string, std::string> table = {
        // The at sign is kept unescaped in form values (browsers write %40).
        {"pages/email_at.html#0", "mail=user@example.com"},
        // Radio buttons of one name stand together at the place of the first
        // of them (the page model gathers them in one group).
        {"pages/radios_split.html#0", "pick=c&between=b"},
        // The clicked image's coordinates always come last.
        {"pages/image_first.html#0", "t=1&go.x=0&go.y=0"},
        // A <button> element is no field of the form (only input buttons are).
        {"pages/button_element.html#0", "t=1"},
        // A submit button without a value sends its empty value (browsers
        // send their caption "Submit").
        {"pages/checkbox_novalue_submit.html#0", "remember=on&login="},
        // A selected option is sent even when it is disabled (browsers skip
        // disabled options); here the drop-down's disabled "Buy local".
        {"corpus/html/arabic_newspapers.html#1", "languages="},
        // Not a rule of the form model: the page scanner reports no form on
        // this page (its form stands inside markup the scanner does not
        // reach); kept here so that a change there shows up.
        {"corpus/html/google.html#0", "<no form 0>"},
    };
    return table;
}

TEST(BrowserDefaults, AtLeastTwentyFormsAreCompared) {
    EXPECT_GE(ReadCases().size(), 20u);
}

TEST(BrowserDefaults, DefaultBodiesEqualTheBrowsersOrTheNamedDifference) {
    for (const Case& c : ReadCases()) {
        const std::string key = c.label + "#" + std::to_string(c.index);
        const auto diff = Differences().find(key);
        const std::string expected = diff != Differences().end() ? diff->second : c.browser;
        EXPECT_EQ(OurDefaultBody(c.label, c.index), expected) << key;
    }
}

TEST(BrowserDefaults, EveryNamedDifferenceReallyDiffersFromTheBrowser) {
    std::map<std::string, std::string> browser;
    for (const Case& c : ReadCases()) {
        browser[c.label + "#" + std::to_string(c.index)] = c.browser;
    }
    for (const auto& [key, ours] : Differences()) {
        ASSERT_EQ(browser.count(key), 1u) << key;
        EXPECT_NE(browser[key], ours) << key;
    }
}

}  // namespace
