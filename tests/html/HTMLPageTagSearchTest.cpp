// Finding a tag and an attribute value in raw page text.
#include <gtest/gtest.h>

#include <string>

#include "webstep/html/HTMLTagSearch.h"

namespace {

struct Found {
    bool ok = false;
    TagPositionData pos;
    std::string tag;
    std::string value;
};

Found Search(std::string text, const char* tag, const char* attr, const char* value,
             const char* report = "", unsigned occurrence = 1) {
    Found f;
    f.ok = CHTMLTagSearch::FindTag(text.data(), text.size(), tag, attr, value, report, occurrence,
                                   f.pos);
    if (f.ok) {
        f.tag = text.substr(f.pos.tagStart, f.pos.tagEnd - f.pos.tagStart);
        f.value = text.substr(f.pos.valueStart, f.pos.valueEnd - f.pos.valueStart);
    }
    return f;
}

TEST(HTMLTagSearchTest, FindsTagByAttributeValueAndReportsPositions) {
    const std::string page = "<p><input name=a value=1><INPUT Name=\"b\" value='two'></p>";
    Found f = Search(page, "input", "name", "b", "value");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.pos.tagStart, 25u);
    EXPECT_EQ(f.tag, "<INPUT Name=\"b\" value='two'>");
    EXPECT_TRUE(f.pos.attrFound);
    EXPECT_TRUE(f.pos.attrHasValue);
    EXPECT_EQ(f.value, "two");
    EXPECT_EQ(f.pos.quote, '\'');
}

TEST(HTMLTagSearchTest, ReportsTheSearchedAttributeWhenNoOtherIsAsked) {
    Found f = Search("<a href=x.htm>", "A", "HREF", "x.htm");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.value, "x.htm");
    EXPECT_EQ(f.pos.quote, '\0');
}

TEST(HTMLTagSearchTest, ValueComparesExactly) {
    EXPECT_FALSE(Search("<input name=B>", "input", "name", "b").ok);
    EXPECT_FALSE(Search("<input name=bb>", "input", "name", "b").ok);
    EXPECT_TRUE(Search("<input name=\"a&amp;b\">", "input", "name", "a&amp;b").ok);
}

TEST(HTMLTagSearchTest, TagsInsideCommentsAreSkipped) {
    const std::string page = "<!-- <input name=a> --><input name=a id=real>";
    Found f = Search(page, "input", "name", "a", "id");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.value, "real");
    EXPECT_FALSE(Search("<!-- <form> -->", "form", "", "").ok);
}

TEST(HTMLTagSearchTest, QuotedValuesHideGreaterThanAndTags) {
    const std::string page = "<a title='x > <input name=a>' href=1><input name=a value=v>";
    Found f = Search(page, "input", "name", "a", "value");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.value, "v");
    Found a = Search(page, "a", "href", "1");
    ASSERT_TRUE(a.ok);
    EXPECT_EQ(a.tag, "<a title='x > <input name=a>' href=1>");
}

TEST(HTMLTagSearchTest, OccurrenceCountsMatches) {
    const std::string page = "<input name=a value=1><input name=b><input name=a value=3>";
    EXPECT_EQ(Search(page, "input", "name", "a", "value", 0).value, "1");
    EXPECT_EQ(Search(page, "input", "name", "a", "value", 1).value, "1");
    EXPECT_EQ(Search(page, "input", "name", "a", "value", 2).value, "3");
    EXPECT_FALSE(Search(page, "input", "name", "a", "value", 3).ok);
    EXPECT_EQ(Search(page, "input", "", "", "name", 2).value, "b");
}

TEST(HTMLTagSearchTest, EmptyValueMatchesAnyValueOrNone) {
    Found f = Search("<option value=1 selected>", "option", "selected", "");
    ASSERT_TRUE(f.ok);
    EXPECT_TRUE(f.pos.attrFound);
    EXPECT_FALSE(f.pos.attrHasValue);
    EXPECT_EQ(f.value, "");
}

TEST(HTMLTagSearchTest, MissingReportedAttributeStillFindsTheTag) {
    Found f = Search("<input name=a>", "input", "name", "a", "value");
    ASSERT_TRUE(f.ok);
    EXPECT_FALSE(f.pos.attrFound);
}

TEST(HTMLTagSearchTest, EndTagsDeclarationsAndPrefixesDoNotMatch) {
    EXPECT_FALSE(Search("</form><!doctype form><?form x?>", "form", "", "").ok);
    EXPECT_FALSE(Search("<formx action=1>", "form", "", "").ok);
    EXPECT_TRUE(Search("<form/>", "form", "", "").ok);
}

TEST(HTMLTagSearchTest, UnclosedTagEndsAtTheNextTag) {
    Found f = Search("<input name=a <input name=b>", "input", "name", "a");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.tag, "<input name=a ");
    EXPECT_TRUE(Search("<input name=b>", "input", "name", "b").ok);
}

TEST(HTMLTagSearchTest, TextCutInsideATagOrValueIsSafe) {
    const std::string page = "<input name=\"abc";
    for (std::size_t n = 0; n <= page.size(); ++n) {
        std::string cut = page.substr(0, n);
        TagPositionData pos;
        CHTMLTagSearch::FindTag(cut.data(), cut.size(), "input", "name", "", "", 1, pos);
    }
    Found f = Search(page, "input", "name", "");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.value, "abc");
    EXPECT_EQ(f.pos.tagEnd, page.size());
}

TEST(HTMLTagSearchTest, NullTextOrEmptyTagNameFindNothing) {
    TagPositionData pos;
    pos.tagStart = 77;
    EXPECT_FALSE(CHTMLTagSearch::FindTag(nullptr, 10, "a", "", "", "", 1, pos));
    char text[] = "<a href=1>";
    EXPECT_FALSE(CHTMLTagSearch::FindTag(text, 10, "", "", "", "", 1, pos));
    EXPECT_FALSE(CHTMLTagSearch::FindTag(text, 0, "a", "", "", "", 1, pos));
    EXPECT_EQ(pos.tagStart, 77u);
}

TEST(HTMLTagSearchTest, MultiByteTextIsWalkedSafely) {
    // GBK and Shift-JIS characters with trail bytes in the ASCII range.
    const std::string page = "<p>\xB1\x5C\x81\x40</p><input name=\"\xC4\xE3\" value=ok>";
    Found f = Search(page, "input", "name", "\xC4\xE3", "value");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.value, "ok");
}

TEST(HTMLTagSearchTest, HugeTextWithTheTagAtTheEnd) {
    std::string page(1 << 20, 'x');
    page += "<form name=f action=a>";
    Found f = Search(page, "form", "name", "f", "action");
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.pos.tagStart, 1u << 20);
    EXPECT_EQ(f.value, "a");
}

}  // namespace
