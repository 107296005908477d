#include "webstep/foundation/PropertyBag.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> Names(const CPropertyBag& bag) {
    std::vector<std::string> names;
    CPropertyBagIterator it(bag);
    MString name, value;
    for (bool ok = it.GetFirst(name, value); ok; ok = it.GetNext(name, value)) {
        names.push_back(name + "=" + value);
    }
    return names;
}

TEST(PropertyBag, AddingSameNameInOtherCaseWithoutDuplicatesIsRefused) {
    CPropertyBag bag;
    EXPECT_TRUE(bag.AddProperty("A", "1", false));
    EXPECT_FALSE(bag.AddProperty("a", "2", false));
    EXPECT_EQ(bag.GetNumItems(), 1u);
    MString value;
    EXPECT_TRUE(bag.GetProperty("a", value));
    EXPECT_EQ(value, "1");
}

TEST(PropertyBag, DuplicatesLookupFindsFirstAndRemoveTakesFirst) {
    CPropertyBag bag;
    EXPECT_TRUE(bag.AddProperty("A", "first", true));
    EXPECT_TRUE(bag.AddProperty("A", "second", true));
    EXPECT_EQ(bag.GetNumItems(), 2u);
    MString value;
    EXPECT_TRUE(bag.GetProperty("a", value));
    EXPECT_EQ(value, "first");
    EXPECT_TRUE(bag.RemoveProperty("A"));
    EXPECT_TRUE(bag.GetProperty("A", value));
    EXPECT_EQ(value, "second");
    EXPECT_EQ(bag.GetNumItems(), 1u);
}

TEST(PropertyBag, SetPropertyOnAbsentNameFailsAndAddsNothing) {
    CPropertyBag bag;
    EXPECT_FALSE(bag.SetProperty("Name", "v"));
    EXPECT_EQ(bag.GetNumItems(), 0u);
}

TEST(PropertyBag, SetPropertyReplacesFirstRecordValue) {
    CPropertyBag bag;
    bag.AddProperty("k", "1", true);
    bag.AddProperty("K", "2", true);
    EXPECT_TRUE(bag.SetProperty("K", "new"));
    EXPECT_EQ(Names(bag), (std::vector<std::string>{"k=new", "K=2"}));
}

TEST(PropertyBag, SafeAddOnAbsentNameAppends) {
    CPropertyBag bag;
    bag.AddProperty("x", "1", false);
    EXPECT_TRUE(bag.SafeAddProperty("y", "2"));
    EXPECT_TRUE(bag.SafeSetProperty("z", "3"));
    EXPECT_EQ(Names(bag), (std::vector<std::string>{"x=1", "y=2", "z=3"}));
}

TEST(PropertyBag, SafeAddOnExistingNameKeepsPositionAndOriginalSpelling) {
    CPropertyBag bag;
    bag.AddProperty("First", "1", false);
    bag.AddProperty("Second", "2", false);
    bag.AddProperty("Third", "3", false);
    EXPECT_TRUE(bag.SafeAddProperty("SECOND", "two"));
    EXPECT_TRUE(bag.SafeSetProperty("first", "one"));
    EXPECT_EQ(Names(bag), (std::vector<std::string>{"First=one", "Second=two", "Third=3"}));
}

TEST(PropertyBag, GetPropertyOnAbsentNameLeavesValueUntouched) {
    CPropertyBag bag;
    bag.AddProperty("a", "1", false);
    MString value = "unchanged";
    EXPECT_FALSE(bag.GetProperty("b", value));
    EXPECT_EQ(value, "unchanged");
}

TEST(PropertyBag, RemoveAbsentNameFails) {
    CPropertyBag bag;
    EXPECT_FALSE(bag.RemoveProperty("a"));
    bag.AddProperty("a", "1", false);
    EXPECT_FALSE(bag.RemoveProperty("ab"));
    EXPECT_EQ(bag.GetNumItems(), 1u);
}

TEST(PropertyBag, NullNameComparesAsEmptyString) {
    CPropertyBag bag;
    EXPECT_TRUE(bag.AddProperty(nullptr, nullptr, false));
    EXPECT_FALSE(bag.AddProperty("", "x", false));
    MString value = "?";
    EXPECT_TRUE(bag.GetProperty("", value));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(bag.RemoveProperty(nullptr));
    EXPECT_EQ(bag.GetNumItems(), 0u);
}

TEST(PropertyBag, CaseFoldingIsAsciiOnly) {
    CPropertyBag bag;
    bag.AddProperty("\xC4name", "1", false);  // Latin-1 capital A umlaut
    MString value;
    EXPECT_FALSE(bag.GetProperty("\xE4NAME", value));
    EXPECT_TRUE(bag.GetProperty("\xC4NAME", value));
    // A prefix or a longer name is a different name.
    EXPECT_FALSE(bag.GetProperty("\xC4nam", value));
    EXPECT_FALSE(bag.GetProperty("\xC4names", value));
}

TEST(PropertyBag, CopyAndAssignmentCopyAllRecordsIncludingDuplicates) {
    CPropertyBag bag;
    bag.AddProperty("a", "1", true);
    bag.AddProperty("A", "2", true);
    bag.AddProperty("b", "3", true);
    CPropertyBag copy(bag);
    EXPECT_EQ(Names(copy), Names(bag));
    CPropertyBag other;
    other.AddProperty("zz", "old", false);
    other = bag;
    EXPECT_EQ(Names(other), (std::vector<std::string>{"a=1", "A=2", "b=3"}));
    other = other;
    EXPECT_EQ(other.GetNumItems(), 3u);
    copy.RemoveAll();
    EXPECT_EQ(copy.GetNumItems(), 0u);
    EXPECT_EQ(bag.GetNumItems(), 3u);
}

TEST(PropertyBag, ManyRecordsKeepInsertionOrder) {
    CPropertyBag bag;
    std::vector<std::string> expected;
    for (int i = 0; i < 5000; ++i) {
        const std::string n = "n" + std::to_string(i);
        ASSERT_TRUE(bag.AddProperty(n.c_str(), "v", false));
        expected.push_back(n + "=v");
    }
    EXPECT_EQ(Names(bag), expected);
    MString value;
    EXPECT_TRUE(bag.GetProperty("N4999", value));
}

TEST(AttributeSet, MatchIsTrueForSharedNameWhateverTheValues) {
    CAttributeSet mine;
    mine.AddAttribute("A", "1", false);
    CAttributeSet other;
    other.AddAttribute("a", "2", false);
    EXPECT_TRUE(mine.Match(other));
}

TEST(AttributeSet, MatchAgainstEmptySetIsFalse) {
    CAttributeSet mine;
    mine.AddAttribute("A", "1", false);
    CAttributeSet empty;
    EXPECT_FALSE(mine.Match(empty));
    EXPECT_FALSE(empty.Match(mine));
}

TEST(AttributeSet, MatchIsFalseWithoutCommonName) {
    CAttributeSet mine;
    mine.AddAttribute("A", "1", false);
    CAttributeSet other;
    other.AddAttribute("B", "1", false);
    other.AddAttribute("C", "1", false);
    EXPECT_FALSE(mine.Match(other));
    other.AddAttribute("a", "9", false);
    EXPECT_TRUE(mine.Match(other));
}

TEST(AttributeSet, SetAttributeNeverCreates) {
    CAttributeSet set;
    EXPECT_FALSE(set.SetAttribute("x", "1"));
    EXPECT_EQ(set.GetNumItems(), 0u);
    set.AddAttribute("x", "1", false);
    EXPECT_TRUE(set.SetAttribute("X", "2"));
    MString value;
    EXPECT_TRUE(set.GetAttribute("x", value));
    EXPECT_EQ(value, "2");
}

TEST(AttributeSet, ForwardsAddGetRemoveAndCounts) {
    CAttributeSet set;
    EXPECT_TRUE(set.AddAttribute("URL", "http://a/", false));
    EXPECT_FALSE(set.AddAttribute("url", "http://b/", false));
    EXPECT_TRUE(set.AddAttribute("url", "http://b/", true));
    EXPECT_EQ(set.GetNumItems(), 2u);
    EXPECT_TRUE(set.RemoveAttribute("Url"));
    MString value;
    EXPECT_TRUE(set.GetAttribute("URL", value));
    EXPECT_EQ(value, "http://b/");
    set.RemoveAll();
    EXPECT_EQ(set.GetNumItems(), 0u);
    EXPECT_FALSE(set.RemoveAttribute("URL"));
}

TEST(AttributeSet, BuiltFromBagAndCopiedDeeply) {
    CPropertyBag bag;
    bag.AddProperty("a", "1", true);
    bag.AddProperty("a", "2", true);
    CAttributeSet fromBag(bag);
    EXPECT_EQ(fromBag.GetNumItems(), 2u);
    CAttributeSet copy(fromBag);
    copy.RemoveAll();
    EXPECT_EQ(fromBag.GetNumItems(), 2u);
    CAttributeSet assigned;
    assigned.AddAttribute("zz", "z", false);
    assigned = fromBag;
    EXPECT_EQ(assigned.GetNumItems(), 2u);
    MString value;
    EXPECT_FALSE(assigned.GetAttribute("zz", value));
}

struct ValueMatchingSet : CAttributeSet {
    bool Match(const CAttributeSet&) override { return true; }
};

TEST(AttributeSet, MatchIsVirtual) {
    ValueMatchingSet derived;
    CAttributeSet empty;
    CAttributeSet& base = derived;
    EXPECT_TRUE(base.Match(empty));
}

TEST(PropertyBagIterator, EmptyBagGetFirstAndGetPreviousAreFalse) {
    CPropertyBag bag;
    CPropertyBagIterator it(bag);
    MString name, value;
    EXPECT_FALSE(it.GetFirst(name, value));
    EXPECT_FALSE(it.GetPrevious(name, value));
    EXPECT_FALSE(it.GetNext(name, value));
}

TEST(PropertyBagIterator, WalksForwardThenBackFromTheEnd) {
    CPropertyBag bag;
    bag.AddProperty("a", "1", false);
    bag.AddProperty("b", "2", false);
    bag.AddProperty("c", "3", false);
    CPropertyBagIterator it(bag);
    MString name, value;
    ASSERT_TRUE(it.GetFirst(name, value));
    EXPECT_EQ(name, "a");
    EXPECT_FALSE(it.GetPrevious(name, value));
    ASSERT_TRUE(it.GetNext(name, value));
    EXPECT_EQ(name, "b");
    ASSERT_TRUE(it.GetNext(name, value));
    EXPECT_EQ(name, "c");
    EXPECT_EQ(value, "3");
    EXPECT_FALSE(it.GetNext(name, value));
    EXPECT_FALSE(it.GetNext(name, value));  // stays at the end
    ASSERT_TRUE(it.GetPrevious(name, value));
    EXPECT_EQ(name, "c");
    ASSERT_TRUE(it.GetPrevious(name, value));
    EXPECT_EQ(name, "b");
    ASSERT_TRUE(it.GetPrevious(name, value));
    EXPECT_EQ(name, "a");
    EXPECT_FALSE(it.GetPrevious(name, value));
}

TEST(PropertyBagIterator, GetNextWithoutGetFirstStartsAfterFirstRecord) {
    CPropertyBag bag;
    bag.AddProperty("a", "1", false);
    bag.AddProperty("b", "2", false);
    CPropertyBagIterator it(bag);
    MString name, value;
    ASSERT_TRUE(it.GetNext(name, value));
    EXPECT_EQ(name, "b");
}

TEST(PropertyBagIterator, FailedStepsLeaveOutputsUntouched) {
    CPropertyBag bag;
    CPropertyBagIterator it(bag);
    MString name = "n", value = "v";
    EXPECT_FALSE(it.GetFirst(name, value));
    EXPECT_EQ(name, "n");
    EXPECT_EQ(value, "v");
}

TEST(PropertyBagIterator, CopyKeepsPosition) {
    CPropertyBag bag;
    bag.AddProperty("a", "1", false);
    bag.AddProperty("b", "2", false);
    bag.AddProperty("c", "3", false);
    CPropertyBagIterator it(bag);
    MString name, value;
    it.GetFirst(name, value);
    it.GetNext(name, value);
    CPropertyBagIterator copy(it);
    ASSERT_TRUE(copy.GetNext(name, value));
    EXPECT_EQ(name, "c");
    ASSERT_TRUE(it.GetPrevious(name, value));
    EXPECT_EQ(name, "a");
}

TEST(PropertyBagIterator, WalksAnAttributeSet) {
    CAttributeSet set;
    set.AddAttribute("Name", "x", false);
    CPropertyBagIterator it(set);
    MString name, value;
    ASSERT_TRUE(it.GetFirst(name, value));
    EXPECT_EQ(name, "Name");
    EXPECT_EQ(value, "x");
    EXPECT_FALSE(it.GetNext(name, value));
}

}  // namespace
