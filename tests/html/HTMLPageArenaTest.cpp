// The arena that holds the page model of one page: its blocks, the
// attributes, lists, objects and links placed in it, links that refer to
// attribute values, and the memory a scan keeps.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "HTMLScannerTestSupport.h"
#include "webstep/html/HTMLAttr.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLObject.h"
#include "webstep/html/HTMLScanner.h"

using webstep::test::ScanPage;

namespace {

bool Aligned(const void* p, std::size_t align) {
    return reinterpret_cast<std::uintptr_t>(p) % align == 0;
}

std::size_t ArenaBytes(const CHTMLScanner& scanner) {
    return scanner.impl()->arena().reserved();
}

}  // namespace

// ---------------------------------------------------------------- arena

TEST(HTMLAttrArena, StartsEmptyAndTakesNoBlockBeforeTheFirstAllocation) {
    CHTMLAttrArena arena;
    EXPECT_EQ(arena.reserved(), 0u);
    int local = 0;
    EXPECT_FALSE(arena.contains(&local));
}

TEST(HTMLAttrArena, AllocationsAreAlignedAndDoNotOverlap) {
    CHTMLAttrArena arena;
    char* a = static_cast<char*>(arena.allocate(3, 1));
    void* b = arena.allocate(24, 8);
    void* c = arena.allocate(16, 16);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(Aligned(b, 8));
    EXPECT_TRUE(Aligned(c, 16));
    EXPECT_LE(reinterpret_cast<std::uintptr_t>(a) + 3, reinterpret_cast<std::uintptr_t>(b));
    EXPECT_LE(reinterpret_cast<std::uintptr_t>(b) + 24, reinterpret_cast<std::uintptr_t>(c));
    EXPECT_TRUE(arena.contains(a));
    EXPECT_TRUE(arena.contains(c));
}

TEST(HTMLAttrArena, CopyIsTerminatedAndKeepsEmbeddedBytes) {
    CHTMLAttrArena arena;
    const char text[] = {'a', 'b', 'c', 'd'};
    char* copy = arena.copy(text, 3);
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy, "abc");
    char* empty = arena.copy("", 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_STREQ(empty, "");
}

TEST(HTMLAttrArena, BlocksGrowFromFourKilobytesAndStayBoundedBySize) {
    CHTMLAttrArena arena;
    arena.allocate(8);
    EXPECT_EQ(arena.reserved(), 4096u);
    // A megabyte of small pieces: the blocks double up to 32 KiB, so the
    // arena holds at most one block's worth beyond what was asked.
    std::size_t asked = 8;
    while (asked < 1024 * 1024) {
        ASSERT_NE(arena.allocate(40), nullptr);
        asked += 40;
    }
    EXPECT_GE(arena.reserved(), asked);
    EXPECT_LT(arena.reserved(), asked + 2 * 32 * 1024);
    arena.clear();
    EXPECT_EQ(arena.reserved(), 0u);
}

TEST(HTMLAttrArena, LargeTextGetsABlockOfItsOwnAndTheCurrentBlockStaysInUse) {
    CHTMLAttrArena arena;
    char* before = static_cast<char*>(arena.allocate(16, 1));
    const std::string big(100000, 'x');
    char* copy = arena.copy(big.data(), big.size());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(std::strlen(copy), big.size());
    EXPECT_GE(arena.reserved(), 4096u + big.size());
    char* after = static_cast<char*>(arena.allocate(16, 1));
    // The small piece after the large one comes from the first block.
    EXPECT_EQ(after, before + 16);
}

TEST(HTMLAttrArena, ShrinkLastHandsBackTheEndOfTheLastBlockOnly) {
    CHTMLAttrArena arena;
    char* a = static_cast<char*>(arena.allocate(100, 1));
    arena.shrinkLast(a, 100, 10);
    char* b = static_cast<char*>(arena.allocate(1, 1));
    EXPECT_EQ(b, a + 10);
    // Not the last block any more: nothing changes.
    arena.shrinkLast(a, 10, 5);
    char* c = static_cast<char*>(arena.allocate(1, 1));
    EXPECT_EQ(c, b + 1);
}

TEST(HTMLAttrArena, RollbackHandsBackWhatFollowedTheMarkLargeBlocksIncluded) {
    CHTMLAttrArena arena;
    arena.allocate(32);
    const CHTMLAttrArena::Mark mark = arena.mark();
    const std::size_t reserved = arena.reserved();
    void* small = arena.allocate(64);
    const std::string big(50000, 'y');
    ASSERT_NE(arena.copy(big.data(), big.size()), nullptr);
    EXPECT_GT(arena.reserved(), reserved);
    EXPECT_FALSE(arena.mark() == mark);
    arena.rollback(mark);
    EXPECT_EQ(arena.reserved(), reserved);
    EXPECT_TRUE(arena.mark() == mark);
    EXPECT_EQ(arena.allocate(64), small);
}

// ---------------------------------------------------------------- attributes

TEST(HTMLAttrInArena, CopyReadsLikeTheOriginal) {
    CHTMLAttrArena arena;
    const CHTMLAttr with("href", "a.htm");
    const CHTMLAttr without("checked", nullptr);
    CHTMLAttr* a = CHTMLAttr::NewInArena(arena, with);
    CHTMLAttr* b = CHTMLAttr::NewInArena(arena, without);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_STREQ(a->name(), "href");
    EXPECT_STREQ(a->value(), "a.htm");
    EXPECT_TRUE(a->hasAValue());
    EXPECT_TRUE(a->valueInArena());
    EXPECT_TRUE(arena.contains(a));
    EXPECT_TRUE(arena.contains(a->value()));
    EXPECT_STREQ(b->name(), "checked");
    EXPECT_EQ(b->value(), nullptr);
    EXPECT_FALSE(b->hasAValue());
    EXPECT_FALSE(b->valueInArena());
    delete a;
    delete b;
}

TEST(HTMLAttrInArena, NewValueTakesItsOwnStorageAndLeavesTheArenaTextAlone) {
    CHTMLAttrArena arena;
    CHTMLAttr* a = CHTMLAttr::NewInArena(arena, CHTMLAttr("href", "first.htm"));
    ASSERT_NE(a, nullptr);
    const char* old = a->value();
    a->setValue("x");  // shorter: would fit in place, but the arena text stays
    EXPECT_STREQ(a->value(), "x");
    EXPECT_NE(a->value(), old);
    EXPECT_FALSE(a->valueInArena());
    EXPECT_STREQ(old, "first.htm");
    a->setValue(a->value());
    EXPECT_STREQ(a->value(), "x");
    delete a;
    EXPECT_STREQ(old, "first.htm");  // the arena still holds it
}

TEST(HTMLAttrInArena, AssignAndAssignmentLeaveTheArenaTextsAlone) {
    CHTMLAttrArena arena;
    CHTMLAttr* a = CHTMLAttr::NewInArena(arena, CHTMLAttr("name", "value"));
    CHTMLAttr* b = CHTMLAttr::NewInArena(arena, CHTMLAttr("src", "img.gif"));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    const char* oldName = a->name();
    const char* oldValue = a->value();
    a->assign("id", 2, "v", 1);
    EXPECT_STREQ(a->name(), "id");
    EXPECT_STREQ(a->value(), "v");
    EXPECT_STREQ(oldName, "name");
    EXPECT_STREQ(oldValue, "value");
    const char* bName = b->name();
    *b = CHTMLAttr("alt", nullptr);
    EXPECT_STREQ(b->name(), "alt");
    EXPECT_EQ(b->value(), nullptr);
    EXPECT_STREQ(bName, "src");
    // An attribute given its own texts again, from the arena's.
    *a = *CHTMLAttr::NewInArena(arena, CHTMLAttr("k", "w"));
    EXPECT_STREQ(a->name(), "k");
    EXPECT_STREQ(a->value(), "w");
    delete a;
    delete b;
}

TEST(HTMLAttrsInArena, CapacityIsThatOfAListGrownByTens) {
    CHTMLAttrArena arena;
    CHTMLAttrs list;
    std::unique_ptr<CHTMLAttrs> empty(CHTMLAttrs::NewInArena(arena, &list));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->size(), 0);
    EXPECT_EQ(empty->capacity(), 10);
    for (int i = 0; i < 10; ++i) {
        list.add(("a" + std::to_string(i)).c_str(), "v");
    }
    std::unique_ptr<CHTMLAttrs> ten(CHTMLAttrs::NewInArena(arena, &list));
    EXPECT_EQ(ten->size(), 10);
    EXPECT_EQ(ten->capacity(), 10);
    list.add("a10", nullptr);
    std::unique_ptr<CHTMLAttrs> eleven(CHTMLAttrs::NewInArena(arena, &list));
    EXPECT_EQ(eleven->size(), 11);
    EXPECT_EQ(eleven->capacity(), 20);
    EXPECT_EQ((*eleven)[10]->value(), nullptr);
    EXPECT_STREQ((*eleven)[3]->name(), "a3");
    std::unique_ptr<CHTMLAttrs> none(CHTMLAttrs::NewInArena(arena, nullptr));
    EXPECT_EQ(none->size(), 0);
    EXPECT_EQ(none->capacity(), 10);
}

TEST(HTMLAttrsInArena, CommonNamesAreSharedAndOthersCopied) {
    CHTMLAttrArena arena;
    CHTMLAttrs source;
    source.add("href", "a.htm");
    source.add("data-x", "1");
    source.add("hreF", "b");  // not lower case: copied as it is
    source.add("content", "c");
    source.add("checked", nullptr);
    std::unique_ptr<CHTMLAttrs> one(CHTMLAttrs::NewInArena(arena, &source));
    std::unique_ptr<CHTMLAttrs> two(CHTMLAttrs::NewInArena(arena, &source));
    ASSERT_EQ(one->size(), 5);
    EXPECT_STREQ((*one)[0]->name(), "href");
    EXPECT_EQ((*one)[0]->name(), (*two)[0]->name());
    EXPECT_FALSE(arena.contains((*one)[0]->name()));
    EXPECT_STREQ((*one)[1]->name(), "data-x");
    EXPECT_TRUE(arena.contains((*one)[1]->name()));
    EXPECT_STREQ((*one)[2]->name(), "hreF");
    EXPECT_TRUE(arena.contains((*one)[2]->name()));
    EXPECT_STREQ((*one)[3]->name(), "content");
    EXPECT_STREQ((*one)[4]->name(), "checked");
    EXPECT_EQ((*one)[4]->value(), nullptr);
    // A shared name is never written: a new one takes storage of its own.
    (*one)[0]->assign("src", 3, "x", 1);
    EXPECT_STREQ((*one)[0]->name(), "src");
    EXPECT_STREQ((*two)[0]->name(), "href");
    CHTMLAttr* found = nullptr;
    EXPECT_TRUE(two->find("href", found));
    EXPECT_STREQ(found->value(), "a.htm");
}

TEST(HTMLAttrsInArena, ManyAttributesAreCopiedOneByOne) {
    CHTMLAttrArena arena;
    CHTMLAttrs source;
    for (int i = 0; i < 45; ++i) {
        const std::string name = "n" + std::to_string(i);
        const std::string value = "v" + std::to_string(i);
        source.add(name.c_str(), i % 3 == 0 ? nullptr : value.c_str());
    }
    std::unique_ptr<CHTMLAttrs> list(CHTMLAttrs::NewInArena(arena, &source));
    ASSERT_EQ(list->size(), 45);
    EXPECT_EQ(list->capacity(), 50);
    for (int i = 0; i < 45; ++i) {
        EXPECT_EQ((*list)[static_cast<unsigned>(i)]->name(), "n" + std::to_string(i));
        if (i % 3 == 0) {
            EXPECT_EQ((*list)[static_cast<unsigned>(i)]->value(), nullptr);
        } else {
            EXPECT_EQ((*list)[static_cast<unsigned>(i)]->value(), "v" + std::to_string(i));
        }
    }
    for (int i = 0; i < 6; ++i) {
        list->add("x", "y");
    }
    EXPECT_EQ(list->capacity(), 60);
    EXPECT_STREQ((*list)[50]->name(), "x");
}

TEST(HTMLAttrsInArena, GrowsByTenOnTheHeapAndCopiesDeeply) {
    CHTMLAttrArena arena;
    CHTMLAttrs source;
    source.add("a", "1");
    source.add("b", nullptr);
    std::unique_ptr<CHTMLAttrs> list(CHTMLAttrs::NewInArena(arena, &source));
    // Past the slots placed in the arena, within the reported capacity.
    list->add("c", "3");
    EXPECT_EQ(list->capacity(), 10);
    for (int i = 0; i < 7; ++i) {
        list->add("d", "4");
    }
    EXPECT_EQ(list->size(), 10);
    EXPECT_EQ(list->capacity(), 10);
    list->add("e", "5");
    EXPECT_EQ(list->capacity(), 20);
    EXPECT_STREQ((*list)[0]->value(), "1");
    EXPECT_EQ((*list)[1]->value(), nullptr);
    EXPECT_STREQ((*list)[10]->name(), "e");
    CHTMLAttr* found = nullptr;
    EXPECT_TRUE(list->find("c", found));
    EXPECT_STREQ(found->value(), "3");

    // A copy lives on the heap and outlives the arena.
    CHTMLAttrs copy(*list);
    CHTMLAttrs assigned;
    assigned = *list;
    list.reset();
    arena.clear();
    ASSERT_EQ(copy.size(), 11);
    EXPECT_STREQ(copy[0]->name(), "a");
    EXPECT_STREQ(copy[0]->value(), "1");
    EXPECT_EQ(copy[1]->value(), nullptr);
    ASSERT_EQ(assigned.size(), 11);
    EXPECT_STREQ(assigned[10]->value(), "5");
}

TEST(HTMLAttrsInArena, TakenAttributeCanBeDeletedByTheTaker) {
    CHTMLAttrArena arena;
    CHTMLAttrs source;
    source.add("a", "1");
    std::unique_ptr<CHTMLAttrs> list(CHTMLAttrs::NewInArena(arena, &source));
    CHTMLAttr* taken = list->takeLast();
    ASSERT_NE(taken, nullptr);
    EXPECT_STREQ(taken->value(), "1");
    EXPECT_EQ(list->size(), 0);
    delete taken;
    list->removeAll();
    list->add("b", "2");
    EXPECT_STREQ((*list)[0]->value(), "2");
}

// Taking an attribute out of a list in the arena hands over a copy of its
// own: it is still whole after the arena is cleared (the page moved on).
TEST(HTMLAttrsInArena, TakenAttributeOutlivesTheArena) {
    CHTMLAttrArena arena;
    CHTMLAttrs source;
    source.add("href", "next.html");
    source.add("title", "a longer title that is not stored inline");
    std::unique_ptr<CHTMLAttrs> list(CHTMLAttrs::NewInArena(arena, &source));
    std::unique_ptr<CHTMLAttr> title(list->takeLast());
    std::unique_ptr<CHTMLAttr> href(list->takeLast());
    ASSERT_TRUE(title && href);
    EXPECT_FALSE(arena.contains(title.get()));
    EXPECT_FALSE(arena.contains(title->value()));
    EXPECT_FALSE(title->valueInArena());
    list.reset();
    arena.clear();
    EXPECT_STREQ(title->name(), "title");
    EXPECT_STREQ(title->value(), "a longer title that is not stored inline");
    EXPECT_STREQ(href->value(), "next.html");
}

// A scanned page: an attribute taken from a page object's list stays whole
// after the scanner has started on the next page.
TEST(HTMLAttrsInArena, AttributeTakenFromAPageObjectOutlivesThePage) {
    CHTMLScanner scanner;
    const std::string page = "<form action=\"/post\" name=\"login form\"><input name=q></form>";
    scanner.startParse();
    scanner.continueParse(page.data(), static_cast<unsigned>(page.size()));
    scanner.endParse();
    ASSERT_EQ(scanner.nForms(), 1);
    CHTMLAttrs* attrs = scanner.form(0)->GetImpl()->attrs();
    ASSERT_NE(attrs, nullptr);
    ASSERT_GT(attrs->size(), 0);
    std::unique_ptr<CHTMLAttr> taken(attrs->takeLast());
    ASSERT_NE(taken, nullptr);
    const std::string name = taken->name();
    const std::string value = taken->value() != nullptr ? taken->value() : "(none)";
    scanner.startParse();
    const std::string other(5000, 'x');
    scanner.continueParse(other.data(), static_cast<unsigned>(other.size()));
    scanner.endParse();
    EXPECT_EQ(std::string(taken->name()), name);
    EXPECT_EQ(std::string(taken->value() != nullptr ? taken->value() : "(none)"), value);
}

TEST(HTMLObjectInArena, ObjectAndWrapperAreDestroyedWithoutFreeingArenaMemory) {
    CHTMLAttrArena arena;
    CHTMLAttrs source;
    source.add("href", "x.htm");
    CHTMLObjectImpl* impl =
        CHTMLObjectImpl::NewInArena(arena, HTML_A, CHTMLAttrs::NewInArena(arena, &source));
    ASSERT_NE(impl, nullptr);
    EXPECT_TRUE(arena.contains(impl));
    const char* text = arena.copy("anchor text", 11);
    impl->setContentInArena(text);
    EXPECT_EQ(impl->content(), text);
    impl->setContent("other");  // a heap copy replaces the arena text
    EXPECT_STREQ(impl->content(), "other");
    EXPECT_STREQ(text, "anchor text");
    impl->addAttr("isFrame", "");
    EXPECT_STREQ(impl->attr("isFrame"), "");

    // A copy is a heap object of its own.
    std::unique_ptr<CHTMLObjectImpl> copy(new CHTMLObjectImpl(*impl));
    EXPECT_FALSE(arena.contains(copy.get()));

    CHTMLAnchor* anchor = CHTMLObjectDirect::NewInArena<CHTMLAnchor>(arena, impl);
    ASSERT_NE(anchor, nullptr);
    EXPECT_STREQ(anchor->attr("href"), "x.htm");
    CHTMLObjectDirect* asDirect = anchor;
    delete asDirect;  // deletes impl too
    arena.clear();
    EXPECT_STREQ(copy->attr("href"), "x.htm");
    EXPECT_STREQ(copy->content(), "other");
}

TEST(HTMLLinkInArena, RefersToItsTextsInsteadOfCopyingThem) {
    CHTMLAttrArena arena;
    const char* name = arena.copy("href", 4);
    const char* url = arena.copy("a.htm", 5);
    CHTMLLinkImpl* link =
        CHTMLLinkImpl::NewInArena(arena, HTML_A, name, url, false, true, nullptr, nullptr);
    ASSERT_NE(link, nullptr);
    EXPECT_EQ(link->url(), url);
    EXPECT_EQ(link->urlAttrName(), name);
    EXPECT_TRUE(link->isFollowable());
    EXPECT_FALSE(link->isMap());
    CHTMLLinkImpl* empty =
        CHTMLLinkImpl::NewInArena(arena, HTML_IMG, nullptr, nullptr, true, false, nullptr, nullptr);
    EXPECT_STREQ(empty->url(), "");
    EXPECT_STREQ(empty->urlAttrName(), "");
    delete link;
    delete empty;
}

// ---------------------------------------------------------------- scanner

TEST(HTMLScannerArena, LinkRefersToTheAttributeValueAndSurvivesItsChange) {
    auto scanner = ScanPage("<a href=first.htm>one</a><a href='my page.htm '>two</a>");
    ASSERT_EQ(scanner->nLinks(), 2);
    CHTMLLink* link = scanner->link(0);
    CHTMLObject* anchor = link->getObject();
    ASSERT_NE(anchor, nullptr);
    // The plain value is not copied.
    EXPECT_EQ(link->url(), anchor->attr("href"));
    anchor->setAttr("href", "changed.htm");
    EXPECT_STREQ(anchor->attr("href"), "changed.htm");
    EXPECT_STREQ(link->url(), "first.htm");
    anchor->setAttr("href", "a-much-longer-value-than-before.htm");
    EXPECT_STREQ(link->url(), "first.htm");
    // A value that needs changing gets a text of its own.
    EXPECT_STREQ(scanner->link(1)->url(), "my%20page.htm");
    EXPECT_STREQ(scanner->link(1)->getObject()->attr("href"), "my page.htm ");
    EXPECT_STREQ(anchor->content(), "one");
    EXPECT_STREQ(scanner->link(1)->getObject()->content(), "two");
}

TEST(HTMLScannerArena, EmptyPageTakesNoArenaBlockAndAPlainPageOneSmallBlock) {
    auto scanner = ScanPage("");
    EXPECT_EQ(scanner->nLinks(), 0);
    EXPECT_EQ(ArenaBytes(*scanner), 0u);
    auto none = ScanPage("<p>text only</p>");
    EXPECT_EQ(ArenaBytes(*none), 0u);
    // The body element's object (it may carry a background link) is made
    // and given back: the first block stays.
    auto plain = ScanPage("<html><head></head><body>text only</body></html>");
    EXPECT_EQ(plain->nLinks(), 0);
    EXPECT_EQ(ArenaBytes(*plain), 4096u);
}

TEST(HTMLScannerArena, ObjectsNobodyAdoptsGiveTheirRoomBack) {
    // Every table cell gets a page object (a cell may carry a background
    // link) that no list adopts: the arena must not grow with their number.
    std::string page;
    for (int i = 0; i < 20000; ++i) {
        page += "<td class=\"some words of text\" align=left>";
    }
    const std::string huge(300000, 'z');
    page += "<td title=\"" + huge + "\"><p>";
    auto scanner = ScanPage(page);
    EXPECT_EQ(scanner->nLinks(), 0);
    EXPECT_LE(ArenaBytes(*scanner), 4096u);
}

TEST(HTMLScannerArena, DroppedObjectWithALinkKeepsTheLinkText) {
    // A script element's object is not adopted, but its link refers to the
    // element's attribute value: the text must stay readable.
    auto scanner = ScanPage("<script src=lib.js></script><meta name=x content=y><p>");
    ASSERT_EQ(scanner->nLinks(), 1);
    EXPECT_STREQ(scanner->link(0)->url(), "lib.js");
    EXPECT_STREQ(scanner->link(0)->urlAttrName(), "src");
}

TEST(HTMLScannerArena, LargePageKeepsEveryLinkInBoundedRoom) {
    std::string page = "<html><body>";
    for (int i = 0; i < 30000; ++i) {
        const std::string n = std::to_string(i);
        page += "<a href=\"/item/" + n + "\" class=l title=\"t " + n + "\">item " + n + "</a> ";
    }
    page += "</body></html>";
    for (std::size_t piece : {std::size_t{0}, std::size_t{4096}}) {
        auto scanner = ScanPage(page, piece);
        ASSERT_EQ(scanner->nLinks(), 30000);
        EXPECT_STREQ(scanner->link(0)->url(), "/item/0");
        EXPECT_STREQ(scanner->link(29999)->url(), "/item/29999");
        EXPECT_STREQ(scanner->link(29999)->getObject()->content(), "item 29999");
        EXPECT_STREQ(scanner->link(12345)->getObject()->attr("title"), "t 12345");
        // Anchor, its object, list, three attributes with their texts, the
        // link and the anchor text: under 400 bytes each, block ends
        // included.
        EXPECT_LT(ArenaBytes(*scanner), 30000u * 400u);
    }
}

TEST(HTMLScannerArena, NextStartParseEmptiesTheArenaAndCopiesOutliveIt) {
    CHTMLScanner scanner;
    const std::string first = "<form action=go><input name=q value=v></form><a href=x>t</a>";
    scanner.startParse();
    scanner.continueParse(first.data(), static_cast<unsigned>(first.size()));
    scanner.endParse();
    ASSERT_EQ(scanner.nForms(), 1);
    ASSERT_EQ(scanner.nLinks(), 2);  // the form's action and the anchor
    EXPECT_GT(ArenaBytes(scanner), 0u);
    // Deep copies taken from the model belong to the caller.
    std::unique_ptr<CHTMLObjectImpl> anchor(
        new CHTMLObjectImpl(*scanner.link(1)->getObject()->GetImpl()));
    CHTMLAttr attr("", nullptr);
    ASSERT_TRUE(scanner.form(0)->element(0)->getAttrByIndex(1, attr));

    scanner.startParse();
    EXPECT_EQ(ArenaBytes(scanner), 0u);
    const std::string second = "<a href=y>u</a>";
    scanner.continueParse(second.data(), static_cast<unsigned>(second.size()));
    scanner.endParse();
    EXPECT_EQ(scanner.nForms(), 0);
    ASSERT_EQ(scanner.nLinks(), 1);
    EXPECT_STREQ(scanner.link(0)->url(), "y");
    EXPECT_STREQ(anchor->attr("href"), "x");
    EXPECT_STREQ(anchor->content(), "t");
    EXPECT_STREQ(attr.name(), "value");
    EXPECT_STREQ(attr.value(), "v");
}

TEST(HTMLScannerArena, ScannerAddedAttributesAndRefreshLinksReadRight) {
    auto scanner = ScanPage(
        "<form><input type=image src=b.gif></form>"
        "<meta http-equiv=Refresh content='5; URL= next.htm'>"
        "<iframe src=f.htm></iframe><p>");
    ASSERT_EQ(scanner->nForms(), 1);
    EXPECT_STREQ(scanner->form(0)->action(), "");
    // The form's added action is a link too.
    ASSERT_EQ(scanner->nLinks(), 4);
    EXPECT_STREQ(scanner->link(0)->url(), "");
    EXPECT_STREQ(scanner->link(0)->urlAttrName(), "action");
    EXPECT_STREQ(scanner->link(1)->url(), "b.gif");
    EXPECT_STREQ(scanner->link(2)->url(), "next.htm");
    EXPECT_STREQ(scanner->link(2)->getObject()->attr("time"), "5");
    EXPECT_STREQ(scanner->link(3)->url(), "f.htm");
    ASSERT_NE(scanner->link(3)->getObject(), nullptr);
    EXPECT_STREQ(scanner->link(3)->getObject()->attr("isFrame"), "");
}
