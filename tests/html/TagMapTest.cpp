// The tag and link maps that drive the page scanner.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "webstep/html/HTMLVParser.h"
#include "webstep/html/TagMap.h"

namespace {

// Stand-ins for the scanner's operations: only their identity matters here.
struct FakeScanner {
    void addForm(CHTMLObjectImpl*&) {}
    void addFormElement(CHTMLObjectImpl*&) {}
    void addMenu(CHTMLObjectImpl*&) {}
    void addMenuItem(CHTMLObjectImpl*&) {}
    void addBASE(CHTMLObjectImpl*&) {}
    void addMap(CHTMLObjectImpl*&) {}
};

const ProcessTagFunc kAddForm = reinterpret_cast<ProcessTagFunc>(&FakeScanner::addForm);
const ProcessTagFunc kAddFormElement =
    reinterpret_cast<ProcessTagFunc>(&FakeScanner::addFormElement);
const ProcessTagFunc kAddMenu = reinterpret_cast<ProcessTagFunc>(&FakeScanner::addMenu);
const ProcessTagFunc kAddMenuItem = reinterpret_cast<ProcessTagFunc>(&FakeScanner::addMenuItem);
const ProcessTagFunc kAddBase = reinterpret_cast<ProcessTagFunc>(&FakeScanner::addBASE);
const ProcessTagFunc kAddMap = reinterpret_cast<ProcessTagFunc>(&FakeScanner::addMap);

// The rows of the scanner's tag table.
const TagSpec kTagTable[] = {
    {HTML_A, true, nullptr},
    {HTML_FORM, true, kAddForm},
    {HTML_INPUT, true, kAddFormElement},
    {HTML_SELECT, true, kAddMenu},
    {HTML_OPTION, true, kAddMenuItem},
    {HTML_TEXTAREA, true, kAddFormElement},
    {HTML_BASE, true, kAddBase},
    {HTML_IMG, true, nullptr},
    {HTML_META, true, nullptr},
    {HTML_HEAD, false, nullptr},
    {HTML_TITLE, false, nullptr},
    {HTML_MAP, true, kAddMap},
    {HTML_IMAGE, true, nullptr},
    {HTML_UNKNOWN_TAG, false, nullptr},
};

// The map as the scanner builds it at construction.
void BuildDefault(CTagMap& map, const LinkSpec* links = CHTMLVParser::linkDescriptor) {
    map = CTagMap(kTagTable);
    map.addLinks(links);
}

std::vector<std::string> LinkNames(const CTagMapInfo* info) {
    std::vector<std::string> names;
    LinkSpec entry{};
    for (unsigned i = 0; info->linkInfo() != nullptr && info->linkInfo()->getAt(i, entry); ++i) {
        names.push_back(entry.attribute);
    }
    return names;
}

}  // namespace

TEST(LinkDescriptor, HasTheTwentyFourRowsInOrder) {
    int rows = 0;
    while (CHTMLVParser::linkDescriptor[rows].tag != 0) {
        ++rows;
    }
    EXPECT_EQ(rows, 24);
    const LinkSpec& first = CHTMLVParser::linkDescriptor[0];
    EXPECT_EQ(first.tag, HTML_A);
    EXPECT_STREQ(first.attribute, "href");
    EXPECT_FALSE(first.isResource);
    EXPECT_TRUE(first.isFollowable);
    EXPECT_TRUE(first.hasObject);
    const LinkSpec& meta = CHTMLVParser::linkDescriptor[10];
    EXPECT_EQ(meta.tag, HTML_META);
    EXPECT_STREQ(meta.attribute, "content");
    EXPECT_TRUE(meta.isResource && meta.isFollowable && meta.hasObject);
    const LinkSpec& last = CHTMLVParser::linkDescriptor[23];
    EXPECT_EQ(last.tag, HTML_IMAGE);
    EXPECT_STREQ(last.attribute, "src");
}

TEST(LinkDescriptor, FramesetRowsAreTheOnlyOnesWithoutAnyFlag) {
    for (int i = 0; CHTMLVParser::linkDescriptor[i].tag != 0; ++i) {
        const LinkSpec& row = CHTMLVParser::linkDescriptor[i];
        const bool none = !row.isResource && !row.isFollowable && !row.hasObject;
        EXPECT_EQ(none, row.tag == HTML_FRAMESET) << i;
    }
    EXPECT_STREQ(CHTMLVParser::linkDescriptor[6].attribute, "rows");
    EXPECT_STREQ(CHTMLVParser::linkDescriptor[7].attribute, "cols");
}

TEST(TagMap, ImgHasThreeLinkAttributesInTableOrder) {
    CTagMap map;
    BuildDefault(map);
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(map.getInfo(HTML_IMG, info));
    EXPECT_TRUE(info->pickAllAttrs());
    EXPECT_EQ(info->processTagFunc(), nullptr);
    EXPECT_TRUE(info->isLink());
    EXPECT_EQ(LinkNames(info), (std::vector<std::string>{"dynsrc", "imagemap", "src"}));
    LinkSpec entry{};
    ASSERT_TRUE(info->linkInfo()->getAt(2, entry));
    EXPECT_EQ(entry.tag, HTML_IMG);
    EXPECT_TRUE(entry.isResource);
    EXPECT_FALSE(entry.isFollowable);
    EXPECT_TRUE(entry.hasObject);
    EXPECT_FALSE(info->linkInfo()->getAt(3, entry));
}

TEST(TagMap, ScriptEntryIsMadeFromItsLinkRowAlone) {
    CTagMap map;
    BuildDefault(map);
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(map.getInfo(HTML_SCRIPT, info));
    EXPECT_EQ(LinkNames(info), (std::vector<std::string>{"src"}));
    EXPECT_EQ(info->processTagFunc(), nullptr);
    EXPECT_FALSE(info->pickAllAttrs());
}

TEST(TagMap, HeadHasNoLinkInformation) {
    CTagMap map;
    BuildDefault(map);
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(map.getInfo(HTML_HEAD, info));
    EXPECT_FALSE(info->isLink());
    unsigned index = 99;
    for (const char* name : {"href", "src", "", "profile"}) {
        EXPECT_FALSE(info->isLinkAttr(name, index));
    }
    EXPECT_EQ(index, 99u);
}

TEST(TagMap, LinkAttributeComparisonIsCaseSensitive) {
    CTagMap map;
    BuildDefault(map);
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(map.getInfo(HTML_A, info));
    unsigned index = 0;
    EXPECT_FALSE(info->isLinkAttr("HREF", index));
    EXPECT_TRUE(info->isLinkAttr("href", index));
    EXPECT_EQ(index, 0u);
}

TEST(TagMap, SetupWithAnotherTableDropsTheOldLinksButKeepsOperations) {
    CTagMap map;
    BuildDefault(map);
    const LinkSpec bodyOnly[] = {{HTML_BODY, "background", true, false, false},
                                 {HTML_UNKNOWN_TAG, nullptr, false, false, false}};
    map.removeAllLinks();
    map.addLinks(bodyOnly);
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(map.getInfo(HTML_A, info));
    unsigned index = 0;
    EXPECT_FALSE(info->isLinkAttr("href", index));
    ASSERT_TRUE(map.getInfo(HTML_FORM, info));
    EXPECT_EQ(info->processTagFunc(), kAddForm);
    EXPECT_FALSE(info->isLink());
    ASSERT_TRUE(map.getInfo(HTML_BODY, info));
    EXPECT_TRUE(info->isLinkAttr("background", index));
    // A tag that only had links keeps its entry, now without links.
    ASSERT_TRUE(map.getInfo(HTML_SCRIPT, info));
    EXPECT_FALSE(info->isLink());
}

TEST(TagMap, UnknownTagIsNotInTheMap) {
    CTagMap map;
    BuildDefault(map);
    CTagMapInfo* info = reinterpret_cast<CTagMapInfo*>(&map);
    EXPECT_FALSE(map.getInfo(HTML_STRONG, info));
    EXPECT_EQ(info, nullptr);
}

TEST(TagMap, AddTagReplacesOperationAndKeepsLinks) {
    CTagMap map;
    BuildDefault(map);
    const TagSpec replacement = {HTML_A, false, kAddMap};
    map.addTag(replacement);
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(map.getInfo(HTML_A, info));
    EXPECT_EQ(info->processTagFunc(), kAddMap);
    EXPECT_FALSE(info->pickAllAttrs());
    EXPECT_TRUE(info->isLink());
}

TEST(TagMap, RepeatedLinkRowKeepsTheFirstNameAndTakesTheLaterFlags) {
    CTagMap map;
    const LinkSpec table[] = {{HTML_A, "href", false, true, true},
                              {HTML_A, "href", true, false, false},
                              {HTML_UNKNOWN_TAG, nullptr, false, false, false}};
    map.addLinks(table);
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(map.getInfo(HTML_A, info));
    EXPECT_EQ(info->linkInfo()->size(), 1);
    LinkSpec entry{};
    ASSERT_TRUE(info->linkInfo()->getAt(0, entry));
    EXPECT_TRUE(entry.isResource);
    EXPECT_FALSE(entry.isFollowable);
    EXPECT_FALSE(entry.hasObject);
}

TEST(TagMap, CopiesAreDeep) {
    CTagMap map;
    BuildDefault(map);
    CTagMap copy(map);
    map.removeAllLinks();
    CTagMapInfo* info = nullptr;
    ASSERT_TRUE(copy.getInfo(HTML_IMG, info));
    EXPECT_EQ(LinkNames(info).size(), 3u);
    CTagMap assigned;
    assigned = copy;
    copy.cleanup();
    EXPECT_EQ(copy.size(), 0);
    ASSERT_TRUE(assigned.getInfo(HTML_FORM, info));
    EXPECT_EQ(info->processTagFunc(), kAddForm);
}

TEST(TagMapIterator, EmptyMapEqualsZeroAtOnce) {
    CTagMap map;
    CTagMapIterator it(&map);
    EXPECT_TRUE(it == 0);
    EXPECT_FALSE(it != 0);
    EXPECT_EQ(it.tag(), HTML_UNKNOWN_TAG);
    EXPECT_EQ(it.info(), nullptr);
    ++it;
    EXPECT_TRUE(it == 0);
    CTagMapIterator none;
    EXPECT_TRUE(none == 0);
    EXPECT_EQ(none.tag(), HTML_UNKNOWN_TAG);
}

TEST(TagMapIterator, VisitsTagsInAscendingNumberStartingWithA) {
    CTagMap map;
    BuildDefault(map);
    CTagMapIterator it;
    it = &map;
    EXPECT_EQ(it.tag(), HTML_A);
    std::vector<int> tags;
    while (it != 0) {
        tags.push_back(it.tag());
        ASSERT_NE(it.info(), nullptr);
        EXPECT_EQ(it.info()->tag(), it.tag());
        it++;
    }
    EXPECT_EQ(static_cast<int>(tags.size()), map.size());
    for (std::size_t i = 1; i < tags.size(); ++i) {
        EXPECT_LT(tags[i - 1], tags[i]);
    }
    EXPECT_FALSE(it == 1);
}

TEST(TagMapIterator, ComparesMapAndPosition) {
    CTagMap map;
    BuildDefault(map);
    CTagMapIterator a(&map);
    CTagMapIterator b(&map);
    EXPECT_TRUE(a == b);
    ++b;
    EXPECT_TRUE(a != b);
    CTagMapIterator before = a++;
    EXPECT_TRUE(a == b);
    EXPECT_EQ(before.tag(), HTML_A);
    CTagMap other;
    BuildDefault(other);
    EXPECT_TRUE(CTagMapIterator(&map) != CTagMapIterator(&other));
}

TEST(LinkMapInfo, FindSetSpecAndCopies) {
    CLinkMapInfo info(HTML_IMG);
    EXPECT_EQ(info.find("src"), -1);
    info.setSpec({HTML_IMG, "src", true, false, true});
    info.setSpec({HTML_IMG, "lowsrc", true, false, false});
    EXPECT_EQ(info.find("lowsrc"), 1);
    EXPECT_EQ(info.find("SRC"), -1);
    CLinkMapInfo copy(info);
    info.setSpec({HTML_IMG, "src", false, true, false});
    LinkSpec entry{};
    ASSERT_TRUE(copy.getAt(0, entry));
    EXPECT_TRUE(entry.isResource);
    ASSERT_TRUE(info.getAt(0, entry));
    EXPECT_FALSE(entry.isResource);
    EXPECT_TRUE(entry.isFollowable);
    CLinkMapInfo::Attr attr("n", true, true, false);
    CLinkMapInfo::Attr attrCopy(attr);
    EXPECT_STREQ(attrCopy.name(), "n");
    EXPECT_FALSE(attrCopy.hasObject());
}

TEST(TagMapInfo, BuiltFromATagSpecCopiesTheGivenLinks) {
    CLinkMapInfo links(HTML_FORM);
    links.setSpec({HTML_FORM, "action", false, true, true});
    const TagSpec entry = {HTML_FORM, true, kAddForm};
    CTagMapInfo info(entry, &links);
    links.setSpec({HTML_FORM, "other", false, false, false});
    EXPECT_EQ(info.linkInfo()->size(), 1);
    EXPECT_EQ(info.processTagFunc(), kAddForm);
    CTagMapInfo copy(info);
    info.setLinkInfo(nullptr);
    EXPECT_FALSE(info.isLink());
    EXPECT_TRUE(copy.isLink());
}
