// Attribute lists: copies, reuse of an attribute's storage, and the values
// the lexer gives when attributes are reused from tag to tag.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HTMLTestSupport.h"

using webstep::test::RecordingParser;
using Strings = std::vector<std::string>;

namespace {

// What processAttrValue makes of a value, for comparison with the lexer.
std::string Processed(const std::string& value) {
    std::vector<char> buffer(value.begin(), value.end());
    buffer.push_back('\0');
    CHTMLBaseParser::processAttrValue(buffer.data());
    return std::string(buffer.data());
}

// Takes the attribute list of every start tag away from the parser.
struct TakingCallback : TagCallback {
    void onStartTag(HTMLTag, CHTMLAttrs*& attrs) override {
        taken.emplace_back(attrs);
        attrs = nullptr;
    }
    void onEndTag(HTMLTag) override {}
    std::vector<std::unique_ptr<CHTMLAttrs>> taken;
};

}  // namespace

TEST(HTMLAttr, AssignReusesStorageAndDropsTheValueWhenNoneIsGiven) {
    CHTMLAttr a("name", "a long value that needs some room");
    const unsigned storage = a.storage();
    a.assign("id", 2, "short", 5);
    EXPECT_STREQ(a.name(), "id");
    EXPECT_STREQ(a.value(), "short");
    EXPECT_EQ(a.storage(), storage);
    a.assign("checked", 7, nullptr, 0);
    EXPECT_STREQ(a.name(), "checked");
    EXPECT_FALSE(a.hasAValue());
    EXPECT_EQ(a.value(), nullptr);
    a.assign("nam", 3, "xyz-not-part", 3);
    EXPECT_STREQ(a.value(), "xyz");
}

TEST(HTMLAttr, AssignGrowsForLongerTexts) {
    CHTMLAttr a(nullptr, nullptr);
    EXPECT_EQ(a.name(), nullptr);
    EXPECT_FALSE(a.hasAValue());
    const std::string value(1000, 'v');
    a.assign("n", 1, value.data(), static_cast<unsigned>(value.size()));
    EXPECT_EQ(a.value(), value);
    EXPECT_GT(a.storage(), 1000u);
}

TEST(HTMLAttr, CopyAndAssignmentKeepTheMissingValue) {
    CHTMLAttr bare("checked", nullptr);
    CHTMLAttr valued("name", "v");
    CHTMLAttr copy(bare);
    EXPECT_FALSE(copy.hasAValue());
    valued = bare;
    EXPECT_STREQ(valued.name(), "checked");
    EXPECT_FALSE(valued.hasAValue());
    valued.setValue(nullptr);
    EXPECT_STREQ(valued.value(), "");
}

TEST(HTMLAttr, TakeLastHandsOverTheLastAttribute) {
    CHTMLAttrs list;
    list.add("a", "1");
    list.add("b", nullptr);
    CHTMLAttr* last = list.takeLast();
    ASSERT_NE(last, nullptr);
    EXPECT_STREQ(last->name(), "b");
    EXPECT_EQ(list.size(), 1);
    delete last;
    delete list.takeLast();
    EXPECT_EQ(list.takeLast(), nullptr);
}

TEST(HTMLAttrReuse, ValuesAreRightWhenAttributesAreReusedFromTagToTag) {
    RecordingParser p;
    p.run(
        "<input name=\"a long first value\" value=x checked>"
        "<input checked value=\"y\">"
        "<input NAME=b>"
        "<input value='' title=\"\" alt=\"'\">");
    EXPECT_EQ(p.rec.events,
              (Strings{"<input name=a long first value value=x checked>", "<input checked value=y>",
                       "<input name=b>", "<input value= title= alt='>"}));
}

TEST(HTMLAttrReuse, ValuesWithAndWithoutReferencesMatchTheValueRewrite) {
    const std::vector<std::string> values = {"\"plain\"", "'plain'",
                                             "\"\"",      "''",
                                             "\"'\"",     "'\"'",
                                             "plain",     "\"a&amp;b\"",
                                             "\"a\nb\"",  "\"a\r\nb\"",
                                             "\"&lt;\"",  "\"&bogus;\"",
                                             "\"tail&\"", "\"a b c d e f g h i j k l m n o p\""};
    for (const std::string& value : values) {
        RecordingParser p;
        p.run("<input value=" + value + ">");
        EXPECT_EQ(p.rec.events, (Strings{"<input value=" + Processed(value) + ">"})) << value;
    }
}

TEST(HTMLAttrReuse, NulByteEndsANameAndAValue) {
    RecordingParser p;
    p.run(std::string("<input value=\"ab\0cd\" na\0me=x>", 29));
    EXPECT_EQ(p.rec.events, (Strings{"<input value=ab na=x>"}));
}

TEST(HTMLAttrReuse, ListsTakenByTheCallbackKeepTheirAttributes) {
    CHTMLBaseParser parser;
    TakingCallback cb;
    parser.registerTagCallback(HTML_ALL_TAGS, &cb);
    parser.startParse();
    const std::string page = "<a href=one name=n><a href=two><a href=\"three\" id=i>";
    parser.continueParse(page.data(), static_cast<unsigned>(page.size()));
    parser.stopParse();
    ASSERT_EQ(cb.taken.size(), 3u);
    ASSERT_EQ(cb.taken[0]->size(), 2);
    EXPECT_STREQ((*cb.taken[0])[0]->value(), "one");
    EXPECT_STREQ((*cb.taken[0])[1]->value(), "n");
    ASSERT_EQ(cb.taken[1]->size(), 1);
    EXPECT_STREQ((*cb.taken[1])[0]->value(), "two");
    ASSERT_EQ(cb.taken[2]->size(), 2);
    EXPECT_STREQ((*cb.taken[2])[0]->value(), "three");
    EXPECT_STREQ((*cb.taken[2])[1]->name(), "id");
}

TEST(HTMLAttr, ValueSharingTheNamesStorageCanGrowAndBeCopied) {
    CHTMLAttr a(nullptr, nullptr);
    a.assign("href", 4, "x", 1);
    EXPECT_STREQ(a.name(), "href");
    EXPECT_STREQ(a.value(), "x");
    // Longer than the room the value has: it moves to storage of its own.
    a.setValue("a value much longer than before");
    EXPECT_STREQ(a.value(), "a value much longer than before");
    EXPECT_STREQ(a.name(), "href");
    a.assign("src", 3, "y", 1);
    EXPECT_STREQ(a.name(), "src");
    EXPECT_STREQ(a.value(), "y");
    a.assign("a-much-longer-name", 18, "and a longer value too", 22);
    CHTMLAttr copy(a);
    CHTMLAttr assigned("n", "v");
    assigned = a;
    a.assign("id", 2, nullptr, 0);
    EXPECT_FALSE(a.hasAValue());
    EXPECT_STREQ(copy.name(), "a-much-longer-name");
    EXPECT_STREQ(copy.value(), "and a longer value too");
    EXPECT_STREQ(assigned.name(), "a-much-longer-name");
    EXPECT_STREQ(assigned.value(), "and a longer value too");
    // Its own text given back to it.
    assigned.assign(assigned.value(), 5, assigned.name(), 6);
    EXPECT_STREQ(assigned.name(), "and a");
    EXPECT_STREQ(assigned.value(), "a-much");
}
