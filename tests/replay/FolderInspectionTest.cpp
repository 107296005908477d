// The listing of what a replay plans: one user over a folder's recording,
// going on past failed steps, with the target, page, request as written and
// the comparison with the recording kept for every call.
#include <gtest/gtest.h>

#include <filesystem>

#include "settings/ScratchDir.h"
#include "webstep/replay/FolderInspection.h"

namespace {

using webstep::test::ScratchDir;

const std::string kExample = std::string(WEBSTEP_SOURCE_DIR) + "/examples/library-loans";

const InspectedCall* FindStep(const CFolderInspection& inspection, const std::string& name) {
    for (const InspectedFile& file : inspection.Files())
        for (const InspectedCall& call : file.calls)
            if (!call.arguments.empty() && call.arguments[0] == name &&
                call.kind != InspectedCall::Kind::StartTransaction &&
                call.kind != InspectedCall::Kind::EndTransaction)
                return &call;
    return nullptr;
}

class FolderInspectionTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::is_directory(kExample))
            FAIL() << "the example folder " << kExample << " is missing";
    }
};

TEST_F(FolderInspectionTest, TheExampleIsPlannedAsRecordedStepByStep) {
    CFolderInspection inspection;
    ASSERT_TRUE(inspection.Run(kExample));
    EXPECT_TRUE(inspection.Problems().empty());
    const InspectionSummary& summary = inspection.Summary();
    EXPECT_EQ(summary.files, 3u);
    EXPECT_EQ(summary.navigations, 10u);
    EXPECT_EQ(summary.resolved, 10u);
    EXPECT_EQ(summary.unresolved, 0u);
    EXPECT_EQ(summary.recorded, 10u);
    EXPECT_EQ(summary.recordedSame, 10u);

    // The sign-in form on the live (recorded) home page: its hidden token as
    // the page carries it, the PIN reference as written.
    const InspectedCall* signIn = FindStep(inspection, "sign_in");
    ASSERT_NE(signIn, nullptr);
    EXPECT_EQ(signIn->step.target.kind, "form");
    EXPECT_EQ(signIn->step.target.document, "data/t1.html");
    EXPECT_EQ(signIn->step.target.formIndex, 1);
    EXPECT_TRUE(signIn->step.target.fits);
    EXPECT_EQ(signIn->method, "POST");
    EXPECT_NE(signIn->body.find("csrf=7f3c9a1e5b2d4680"), std::string::npos) << signIn->body;
    EXPECT_NE(signIn->body.find("pin={PatronPin}"), std::string::npos) << signIn->body;
    ASSERT_TRUE(signIn->recorded);
    EXPECT_TRUE(signIn->check.Same());
    ASSERT_EQ(signIn->check.comparison.references.size(), 1u);
    EXPECT_EQ(signIn->check.comparison.references[0].first, "PatronPin");

    // The frameset page names its frames by the files the recording has.
    const InspectedCall* catalogue = FindStep(inspection, "Catalogue");
    ASSERT_NE(catalogue, nullptr);
    ASSERT_EQ(catalogue->step.pageLoaded.frames.size(), 2u);
    EXPECT_EQ(catalogue->step.pageLoaded.frames[0].file, "data/t4f0.html");
    EXPECT_TRUE(catalogue->step.pageLoaded.frames[1].loaded);
    const InspectedCall* search = FindStep(inspection, "search");
    ASSERT_NE(search, nullptr);
    EXPECT_EQ(search->step.target.frameId, "1.2");
    EXPECT_EQ(search->step.target.document, "data/t4f1.html");

    // Binary body parts are shown in their escaped form.
    const InspectedCall* log = FindStep(inspection, "reading_log");
    ASSERT_NE(log, nullptr);
    EXPECT_NE(log->body.find("\\x01"), std::string::npos) << log->body;
    EXPECT_FALSE(log->step.pageLoaded.changes);
}

TEST_F(FolderInspectionTest, NotAFolderIsAProblem) {
    ScratchDir dir;
    CFolderInspection inspection;
    EXPECT_FALSE(inspection.Run(dir.File("nothing")));
    ASSERT_EQ(inspection.Problems().size(), 1u);
    EXPECT_NE(inspection.Problems()[0].find("is not a folder"), std::string::npos);
}

TEST_F(FolderInspectionTest, AMissingActionFileAndSettingsFileAreProblemsAndTheRestGoesOn) {
    InspectionOptions options;
    options.order = {"loans.c", "nosuch.c"};
    options.settingsFile = "/nonexistent/other.cfg";
    CFolderInspection inspection;
    ASSERT_TRUE(inspection.Run(kExample, options));
    ASSERT_EQ(inspection.Problems().size(), 2u);
    EXPECT_NE(inspection.Problems()[0].find("cannot read the settings file"), std::string::npos);
    EXPECT_NE(inspection.Problems()[1].find("no action file \"nosuch.c\""), std::string::npos);
    ASSERT_EQ(inspection.Files().size(), 1u);
    // Without init, the first link has no page to act on; the rest is listed.
    const InspectedCall* loans = FindStep(inspection, "My loans");
    ASSERT_NE(loans, nullptr);
    EXPECT_FALSE(loans->step.planned);
    EXPECT_NE(loans->step.message.find("no navigation step before this one"), std::string::npos);
    EXPECT_GT(inspection.Summary().resolved, 0u);
}

class SmallFolderTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(dir.path() / "data"); }
    void Page(const std::string& name, const std::string& html) {
        ScratchDir::Write(dir.File("data/" + name), html);
    }
    void Action(const std::string& body) {
        ScratchDir::Write(dir.File("Action.c"), "Action()\n{\n" + body + "\n    return 0;\n}\n");
    }
    ScratchDir dir;
};

TEST_F(SmallFolderTest, AFailedStepLeavesThePageAndTheListingGoesOn) {
    Action(R"(    web_url("start", "URL=http://h.example/a/", "Snapshot=t1.inf", LAST);
    web_link("gone", "Text=Nowhere", "Snapshot=t2.inf", LAST);
    web_link("next", "Text=Next", "Snapshot=t3.inf", LAST);
    web_link("after missing", "Text=Next", "Snapshot=t4.inf", LAST);)");
    Page("t1.html", "<title>Start</title><a href=\"next\">Next</a>");
    CFolderInspection inspection;
    ASSERT_TRUE(inspection.Run(dir.path().string()));
    const InspectionSummary& summary = inspection.Summary();
    EXPECT_EQ(summary.navigations, 4u);
    EXPECT_EQ(summary.resolved, 2u);
    EXPECT_EQ(summary.unresolved, 2u);
    const InspectedCall* gone = FindStep(inspection, "gone");
    ASSERT_NE(gone, nullptr);
    EXPECT_NE(gone->step.message.find("no link with the text \"Nowhere\""), std::string::npos);
    // The failed step sent nothing: "Next" is found on the same page.
    const InspectedCall* next = FindStep(inspection, "next");
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(next->url, "http://h.example/a/next");
    EXPECT_EQ(next->step.target.document, "data/t1.html");
    EXPECT_TRUE(next->step.pageLoaded.changes);
    EXPECT_FALSE(next->step.pageLoaded.loaded);  // t3.html is not recorded
    const InspectedCall* after = FindStep(inspection, "after missing");
    ASSERT_NE(after, nullptr);
    EXPECT_NE(after->step.message.find("loaded no page"), std::string::npos) << after->step.message;
}

TEST_F(SmallFolderTest, FramesOfAFolderWithoutDescriptionsAreFoundByTheirNames) {
    Action(R"(    web_url("top", "URL=http://h.example/app/", "Snapshot=t1.inf", LAST);
    web_link("settings", "Text=Settings", "Snapshot=t2.inf", LAST);)");
    Page("t1.html",
         "<frameset><frame name=\"nav\" src=\"nav.html\"><frame name=\"main\" src=\"w.html\">"
         "</frameset>");
    Page("t1f0.htm", "<a href=\"/app/settings\">Settings</a>");
    CFolderInspection inspection;
    ASSERT_TRUE(inspection.Run(dir.path().string()));
    const InspectedCall* top = FindStep(inspection, "top");
    ASSERT_NE(top, nullptr);
    ASSERT_EQ(top->step.pageLoaded.frames.size(), 2u);
    EXPECT_EQ(top->step.pageLoaded.frames[0].file, "data/t1f0.htm");
    EXPECT_TRUE(top->step.pageLoaded.frames[0].loaded);
    EXPECT_FALSE(top->step.pageLoaded.frames[1].loaded);
    const InspectedCall* settings = FindStep(inspection, "settings");
    ASSERT_NE(settings, nullptr);
    EXPECT_EQ(settings->url, "http://h.example/app/settings");
    EXPECT_EQ(settings->step.target.document, "data/t1f0.htm");
    EXPECT_EQ(settings->step.target.frameName, "nav");
}

TEST_F(SmallFolderTest, AnUnknownReferenceIsShownAsWrittenNotEncoded) {
    Action(R"(    web_submit_data("find", "Action=http://h.example/find", "Method=GET",
        ITEMDATA, "Name=sid", "Value={Sid}", ENDITEM, LAST);)");
    CFolderInspection inspection;
    ASSERT_TRUE(inspection.Run(dir.path().string()));
    const InspectedCall* find = FindStep(inspection, "find");
    ASSERT_NE(find, nullptr);
    EXPECT_EQ(find->url, "http://h.example/find?sid={Sid}");
    EXPECT_TRUE(find->resolvedUrl.empty() || find->resolvedUrl != find->url);
    // The listing does not repeat, as a note, that the reference stays.
    for (const FolderMessage& message : inspection.Messages())
        EXPECT_EQ(message.text.find("Sid"), std::string::npos) << message.text;
}

TEST_F(SmallFolderTest, ProgressCountsEveryStepCall) {
    std::string body;
    for (int i = 0; i < 7; ++i)
        body += "    web_url(\"s" + std::to_string(i) + "\", \"URL=http://h.example/" +
                std::to_string(i) + "\", LAST);\n";
    body += "    qz_think_time(3);\n    web_add_header(\"A\", \"b\");\n";
    Action(body);
    std::vector<std::pair<std::size_t, std::size_t>> seen;
    InspectionOptions options;
    options.progress = [&seen](std::size_t done, std::size_t total) {
        seen.emplace_back(done, total);
    };
    CFolderInspection inspection;
    ASSERT_TRUE(inspection.Run(dir.path().string(), options));
    ASSERT_EQ(seen.size(), 8u);
    EXPECT_EQ(seen.front(), std::make_pair(std::size_t{1}, std::size_t{8}));
    EXPECT_EQ(seen.back(), std::make_pair(std::size_t{8}, std::size_t{8}));
}

TEST_F(SmallFolderTest, AnEmptyFolderListsNothing) {
    CFolderInspection inspection;
    ASSERT_TRUE(inspection.Run(dir.path().string()));
    EXPECT_TRUE(inspection.Files().empty());
    EXPECT_EQ(inspection.Summary().navigations, 0u);
}

}  // namespace
