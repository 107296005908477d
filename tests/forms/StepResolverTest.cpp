// Picking the link, image or form that a context step names in the pages of a
// context tree, and placing a frameset's frames with their snapshot names.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "FormTestSupport.h"
#include "webstep/context/ContextPage.h"
#include "webstep/context/ContextTree.h"
#include "webstep/forms/StepResolver.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"

namespace {

// A top document with the page text, at the URL.
std::unique_ptr<CContextTree> Tree(const std::string& url, const std::string& html) {
    auto tree = std::make_unique<CContextTree>();
    tree->SetUrl(CURLParser(url.c_str()));
    tree->SetTree(CContextPage::Scan(html));
    return tree;
}

CAttributeSet Attributes(const std::vector<std::pair<std::string, std::string>>& pairs) {
    CAttributeSet set;
    for (const auto& [name, value] : pairs)
        set.AddAttribute(name.c_str(), value.c_str(), false);
    return set;
}

const char* const kLinks =
    "<html><body>"
    "<a href='/a/one.html'>Next  page</a>"
    "<a href='two.html'>Other</a>"
    "<a href='/a/three.html'>Next page</a>"
    "<a href='/map.cgi'><img src='/img/Plan.GIF' alt='Floor plan' ismap></a>"
    "<img src='/img/loose.png' alt='Loose'>"
    "<map name='seats'><area href='/seat?a' alt='Stalls'><area href='/seat?b' alt='Balcony'></map>"
    "</body></html>";

TEST(StepResolver, LinkIsFoundByItsTextWithWhiteSpaceRunsCountingAsOne) {
    auto tree = Tree("http://example.org/a/index.html", kLinks);
    StepTarget target;
    MString why;
    ASSERT_TRUE(CStepResolver::FindLink(*tree, Attributes({{"Text", " Next page "}}), target, why))
        << why;
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/a/one.html");
    EXPECT_EQ(target.node, tree.get());
}

TEST(StepResolver, OrdinalPicksTheNthLinkOfThatText) {
    auto tree = Tree("http://example.org/a/index.html", kLinks);
    StepTarget target;
    MString why;
    ASSERT_TRUE(CStepResolver::FindLink(
        *tree, Attributes({{"Text", "Next page"}, {"Ordinal", "2"}}), target, why));
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/a/three.html");
    EXPECT_FALSE(CStepResolver::FindLink(
        *tree, Attributes({{"Text", "Next page"}, {"Ordinal", "3"}}), target, why));
    EXPECT_NE(why.find("2 found"), MString::npos) << why;
}

TEST(StepResolver, RelativeLinkIsTakenAgainstThePageAndItsBase) {
    auto tree = Tree("http://example.org/a/index.html", kLinks);
    StepTarget target;
    MString why;
    ASSERT_TRUE(CStepResolver::FindLink(*tree, Attributes({{"Text", "Other"}}), target, why));
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/a/two.html");

    auto based = Tree("http://example.org/a/index.html",
                      "<base href='http://cdn.example.net/x/'><a href='y.html'>Y</a>");
    ASSERT_TRUE(CStepResolver::FindLink(*based, Attributes({{"Text", "Y"}}), target, why));
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://cdn.example.net/x/y.html");
}

TEST(StepResolver, MissingLinkAndParameterTextAreSaidPlainly) {
    auto tree = Tree("http://example.org/", kLinks);
    StepTarget target;
    MString why;
    EXPECT_FALSE(CStepResolver::FindLink(*tree, Attributes({{"Text", "Nowhere"}}), target, why));
    EXPECT_EQ(why, "no link with the text \"Nowhere\"");
    EXPECT_FALSE(CStepResolver::FindLink(*tree, Attributes({{"Text", "{Label}"}}), target, why));
    EXPECT_NE(why.find("parameter"), MString::npos);
    EXPECT_FALSE(CStepResolver::FindLink(*tree, Attributes({}), target, why));
    EXPECT_FALSE(CStepResolver::FindLink(*tree, Attributes({{"Text", "Other"}, {"Ordinal", "x"}}),
                                         target, why));
    EXPECT_NE(why.find("Ordinal"), MString::npos);
}

TEST(StepResolver, ImageByShortSourceFollowsItsAnchorWithTheClickForAServerMap) {
    auto tree = Tree("http://example.org/a/index.html", kLinks);
    StepTarget target;
    MString why;
    ASSERT_TRUE(
        CStepResolver::FindImage(*tree, Attributes({{"Src", "plan.gif"}}), "10", "20", target, why))
        << why;
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/map.cgi?10,20");
    ASSERT_TRUE(
        CStepResolver::FindImage(*tree, Attributes({{"Alt", "Floor plan"}}), "", "", target, why));
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/map.cgi");
}

TEST(StepResolver, ImageOutsideAnyLinkLeadsNowhere) {
    auto tree = Tree("http://example.org/", kLinks);
    StepTarget target;
    MString why;
    EXPECT_FALSE(
        CStepResolver::FindImage(*tree, Attributes({{"Alt", "Loose"}}), "", "", target, why));
    EXPECT_NE(why.find("not inside a link"), MString::npos) << why;
    EXPECT_FALSE(CStepResolver::FindImage(*tree, Attributes({{"Src", "/img/none.png"}}), "", "",
                                          target, why));
    EXPECT_NE(why.find("no image"), MString::npos) << why;
}

TEST(StepResolver, MapAreaIsChosenByItsTextOrOrdinal) {
    auto tree = Tree("http://example.org/", kLinks);
    StepTarget target;
    MString why;
    ASSERT_TRUE(CStepResolver::FindImage(
        *tree, Attributes({{"MapName", "seats"}, {"AreaAlt", "Balcony"}}), "", "", target, why))
        << why;
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/seat?b");
    ASSERT_TRUE(CStepResolver::FindImage(
        *tree, Attributes({{"MapName", "seats"}, {"AreaOrdinal", "1"}}), "", "", target, why));
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/seat?a");
    EXPECT_FALSE(CStepResolver::FindImage(
        *tree, Attributes({{"MapName", "seats"}, {"AreaAlt", "Gallery"}}), "", "", target, why));
    EXPECT_FALSE(
        CStepResolver::FindImage(*tree, Attributes({{"MapName", "rows"}}), "", "", target, why));
    EXPECT_NE(why.find("no image map named"), MString::npos);
}

const char* const kForms =
    "<form name='login' action='/signin' method='post'>"
    "<input type=hidden name=csrf value=abc><input name=user></form>"
    "<form name='search' action='results' method='get'><input name=q></form>"
    "<form name='search' action='results2'><input name=q></form>";

TEST(StepResolver, FormIsFoundByNameMethodActionAndHiddenFields) {
    auto tree = Tree("http://example.org/app/home", kForms);
    StepTarget target;
    MString why;
    CDataSet none;
    ASSERT_TRUE(CStepResolver::FindForm(*tree, Attributes({{"Name", "login"}, {"Method", "post"}}),
                                        none, target, why))
        << why;
    EXPECT_EQ(target.formIndex, 0);
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/signin");

    // The action may be written absolute while the page writes it relative.
    ASSERT_TRUE(CStepResolver::FindForm(
        *tree, Attributes({{"Action", "http://example.org/app/results2"}}), none, target, why))
        << why;
    EXPECT_EQ(target.formIndex, 2);

    CDataSet hiddens;
    hiddens.AddData(webstep::test::Item("csrf", "abc"));
    ASSERT_TRUE(CStepResolver::FindForm(*tree, Attributes({}), hiddens, target, why));
    EXPECT_EQ(target.formIndex, 0);
    CDataSet wrong;
    wrong.AddData(webstep::test::Item("csrf", "zzz"));
    EXPECT_FALSE(CStepResolver::FindForm(*tree, Attributes({}), wrong, target, why));
}

TEST(StepResolver, FormOrdinalCountsOnlyMatchingFormsAndFailureListsThePageForms) {
    auto tree = Tree("http://example.org/app/home", kForms);
    StepTarget target;
    MString why;
    CDataSet none;
    ASSERT_TRUE(CStepResolver::FindForm(*tree, Attributes({{"Name", "search"}, {"Ordinal", "2"}}),
                                        none, target, why));
    EXPECT_EQ(target.formIndex, 2);
    EXPECT_FALSE(
        CStepResolver::FindForm(*tree, Attributes({{"Name", "checkout"}}), none, target, why));
    EXPECT_NE(why.find("Name=checkout"), MString::npos) << why;
    EXPECT_NE(why.find("3 forms"), MString::npos) << why;

    auto empty = Tree("http://example.org/", "<p>nothing</p>");
    EXPECT_FALSE(CStepResolver::FindForm(*empty, Attributes({}), none, target, why));
    EXPECT_EQ(why, "the page has no form");
}

TEST(StepResolver, FramesArePlacedWithIdsNamesAndSnapshotFilesAndSearched) {
    auto tree = Tree("http://example.org/cat/",
                     "<frameset cols='20%,80%'><frame name=nav src='nav.html'>"
                     "<frame name=main src='/cat/main.html'></frameset>");
    std::map<std::string, std::string> files{
        {"t4f0.html", "<a href='/cat/help'>Help</a>"},
        {"t4f1.html",
         "<form name=find action='/cat/find'><input name=q></form>"
         "<a href='/cat/help2'>Help</a>"}};
    std::vector<std::string> asked;
    const unsigned int placed =
        CStepResolver::PlaceFrames(*tree, "t4", [&](const MString& name) -> CHTMLVParser* {
            asked.push_back(name);
            auto found = files.find(name);
            return found == files.end() ? nullptr : CContextPage::Scan(found->second);
        });
    tree->UpdateRelFrameId(nullptr);
    ASSERT_EQ(placed, 2u);
    EXPECT_EQ(asked, (std::vector<std::string>{"t4f0.html", "t4f1.html"}));
    CContextTree* main = CStepResolver::FindFrame(*tree, "MAIN");
    ASSERT_NE(main, nullptr);
    EXPECT_EQ(main->GetRelFrameId(), "1.2");
    EXPECT_EQ(main->GetSnapshotFileName(), "t4f1.html");
    EXPECT_EQ(main->GetUrl().GetFullURLWithSearch(), "http://example.org/cat/main.html");

    StepTarget target;
    MString why;
    CDataSet none;
    ASSERT_TRUE(CStepResolver::FindForm(*tree, Attributes({{"Name", "find"}}), none, target, why));
    EXPECT_EQ(target.node, main);
    ASSERT_TRUE(CStepResolver::FindLink(*tree, Attributes({{"Text", "Help"}, {"Frame", "main"}}),
                                        target, why));
    EXPECT_EQ(target.url.GetFullURLWithSearch(), "http://example.org/cat/help2");
    EXPECT_FALSE(CStepResolver::FindLink(*tree, Attributes({{"Text", "Help"}, {"Frame", "side"}}),
                                         target, why));
    EXPECT_NE(why.find("no frame named"), MString::npos);
    // The form named by a frame it is not in is not taken.
    EXPECT_FALSE(CStepResolver::FindForm(*tree, Attributes({{"Name", "find"}, {"Frame", "nav"}}),
                                         none, target, why));
}

TEST(StepResolver, FrameWithoutRecordedPageStaysEmptyAndIsNotSearched) {
    auto tree = Tree("http://example.org/", "<frameset><frame name=a src='a.html'></frameset>");
    EXPECT_EQ(CStepResolver::PlaceFrames(*tree, "t1",
                                         [](const MString&) -> CHTMLVParser* { return nullptr; }),
              1u);
    std::vector<CContextTree*> docs;
    CStepResolver::Documents(*tree, docs);
    ASSERT_EQ(docs.size(), 1u);
    EXPECT_EQ(docs[0], tree.get());
    StepTarget target;
    MString why;
    EXPECT_FALSE(
        CStepResolver::FindLink(*tree, Attributes({{"Text", "x"}, {"Frame", "a"}}), target, why));
    EXPECT_NE(why.find("no recorded page"), MString::npos) << why;
}

}  // namespace
