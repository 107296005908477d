#include <gtest/gtest.h>

#include <climits>

#include "webstep/steps/WebStepBase.h"
#include "webstep/steps/WebStepData.h"

namespace {

// A minimal step: the base only holds a pointer to one.
class TestStep : public CWebStepData {
public:
    MString text;
};

// Reaches the protected error setters, as a parser does.
class TestParserBase : public CWebStepBase {
public:
    using CWebStepBase::CWebStepBase;
    using CWebStepBase::SetErrorInfo;
};

MString Attribute(const CWebStepError& error, const char* name) {
    MString value;
    EXPECT_TRUE(error.GetAttributes().GetAttribute(name, value)) << name;
    return value;
}

TEST(WebStepDesign, DefaultHasEmptyNameAndNoStep) {
    CWebStepDesign design;
    EXPECT_EQ(design.GetName(), "");
    EXPECT_EQ(design.GetDataStep(), nullptr);
}

TEST(WebStepDesign, CopyAndAssignmentCopyNameAndPointer) {
    TestStep step;
    CWebStepDesign design;
    design.SetName("Home");
    design.SetDataStep(&step);
    CWebStepDesign copy(design);
    EXPECT_EQ(copy.GetName(), "Home");
    EXPECT_EQ(copy.GetDataStep(), &step);
    CWebStepDesign assigned;
    const CWebStepDesign& result = (assigned = design);
    EXPECT_EQ(&result, &assigned);
    EXPECT_EQ(assigned.GetName(), "Home");
    EXPECT_EQ(assigned.GetDataStep(), &step);
}

TEST(WebStepBase, DefaultHasNoErrorAndNoStep) {
    CWebStepBase base;
    EXPECT_EQ(base.GetDataStep(), nullptr);
    EXPECT_EQ(base.GetWebStep().GetName(), "");
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 0u);
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 0u);
}

TEST(WebStepBase, ConstructorFromDesignCopiesNameAndStepWithoutError) {
    TestStep step;
    CWebStepDesign design;
    design.SetName("Login");
    design.SetDataStep(&step);
    CWebStepBase base(design);
    EXPECT_EQ(base.GetWebStep().GetName(), "Login");
    EXPECT_EQ(base.GetDataStep(), &step);
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 0u);
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 0u);
}

TEST(WebStepBase, DestroyingBaseLeavesItsStepAlive) {
    // Under the address sanitizer a delete of the step by the base would be
    // reported as a double free or a use after free below.
    auto* step = new TestStep;
    step->text = "http://a/";
    {
        TestParserBase base;
        base.SetDataStep(step);
    }
    EXPECT_EQ(step->text, "http://a/");
    delete step;
}

TEST(WebStepBase, TwoCopiesNameTheSameStep) {
    auto* step = new TestStep;
    TestParserBase base;
    base.SetDataStep(step);
    base.GetWebStep().SetName("s");
    TestParserBase copy(base);
    EXPECT_EQ(copy.GetDataStep(), step);
    TestParserBase assigned;
    assigned = base;
    EXPECT_EQ(assigned.GetDataStep(), step);
    EXPECT_EQ(assigned.GetWebStep().GetName(), "s");
    delete step;
}

TEST(WebStepBase, CopyCarriesTheError) {
    TestParserBase base;
    base.SetErrorInfo(1002, "text", "URL=", nullptr);
    TestParserBase copy(base);
    EXPECT_EQ(copy.GetLastErrorInfo().GetCode(), 1002u);
    EXPECT_EQ(Attribute(copy.GetLastErrorInfo(), "text"), "URL=");
    TestParserBase assigned;
    assigned = base;
    EXPECT_EQ(assigned.GetLastErrorInfo().GetCode(), 1002u);
    EXPECT_EQ(Attribute(assigned.GetLastErrorInfo(), "text"), "URL=");
    // The copy holds its own attributes.
    base.AddErrorAttribute("more", "x");
    EXPECT_EQ(copy.GetLastErrorInfo().GetAttributes().GetNumItems(), 1u);
}

TEST(WebStepBase, SetWebStepAssignsTheDesign) {
    TestStep step;
    CWebStepDesign design;
    design.SetName("find");
    design.SetDataStep(&step);
    CWebStepBase base;
    base.SetWebStep(design);
    EXPECT_EQ(base.GetWebStep().GetName(), "find");
    EXPECT_EQ(base.GetDataStep(), &step);
    base.SetDataStep(nullptr);
    EXPECT_EQ(base.GetDataStep(), nullptr);
    EXPECT_EQ(design.GetDataStep(), &step);
}

TEST(WebStepBase, ConstBaseReadsStepAndDesign) {
    TestStep step;
    CWebStepDesign design;
    design.SetName("c");
    design.SetDataStep(&step);
    const CWebStepBase base(design);
    EXPECT_EQ(base.GetDataStep(), &step);
    EXPECT_EQ(base.GetWebStep().GetName(), "c");
}

TEST(WebStepBase, SetErrorInfoWithCodeAndNullGivesNoAttributes) {
    TestParserBase base;
    base.SetErrorInfo(1009, nullptr);
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 1009u);
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 0u);
}

TEST(WebStepBase, SetErrorInfoDropsTrailingNameWithoutValue) {
    TestParserBase base;
    base.SetErrorInfo(1003, "text", "Search=Nowhere", "dangling", nullptr);
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 1003u);
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 1u);
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "text"), "Search=Nowhere");
    MString value = "untouched";
    EXPECT_FALSE(base.GetLastErrorInfo().GetAttributes().GetAttribute("dangling", value));
    EXPECT_EQ(value, "untouched");
}

TEST(WebStepBase, SetErrorInfoKeepsSeveralPairsInOrder) {
    TestParserBase base;
    base.SetErrorInfo(1012, "text", "a", "name", "b", nullptr);
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 2u);
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "TEXT"), "a");
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "name"), "b");
}

TEST(WebStepBase, SetErrorInfoReplacesCodeAndAttributesWholesale) {
    TestParserBase base;
    base.SetErrorInfo(1002, "text", "first", nullptr);
    base.AddErrorAttribute("extra", "e");
    base.SetErrorInfo(1011, nullptr);
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 1011u);
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 0u);
}

TEST(WebStepBase, SetErrorInfoFromAttributeSetCopiesTheSet) {
    TestParserBase base;
    CAttributeSet set;
    set.AddAttribute("text", "x", false);
    base.SetErrorInfo(1000, set);
    set.AddAttribute("later", "y", false);
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 1000u);
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 1u);
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "text"), "x");
}

TEST(WebStepBase, AddErrorAttributeWithNumberAddsDecimalText) {
    TestParserBase base;
    base.SetErrorInfo(1006, nullptr);
    base.AddErrorAttribute("text", 7u);
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 1006u);
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "text"), "7");
}

TEST(WebStepBase, AddErrorAttributeWritesLargeNumbersAsSigned) {
    TestParserBase base;
    base.AddErrorAttribute("max", static_cast<unsigned int>(INT_MAX));
    base.AddErrorAttribute("all", UINT_MAX);
    base.AddErrorAttribute("zero", 0u);
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "max"), "2147483647");
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "all"), "-1");
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "zero"), "0");
}

TEST(WebStepBase, AddErrorAttributeAppendsAndKeepsCode) {
    TestParserBase base;
    base.SetErrorInfo(1001, "text", "FOO", nullptr);
    base.AddErrorAttribute("text", "BAR");
    EXPECT_EQ(base.GetLastErrorInfo().GetCode(), 1001u);
    // Appended even under a name already present; lookups see the first.
    EXPECT_EQ(base.GetLastErrorInfo().GetAttributes().GetNumItems(), 2u);
    EXPECT_EQ(Attribute(base.GetLastErrorInfo(), "text"), "FOO");
}

TEST(WebStepError, DefaultHasCodeZeroAndNoAttributes) {
    CWebStepError error;
    EXPECT_EQ(error.GetCode(), 0u);
    EXPECT_EQ(error.GetAttributes().GetNumItems(), 0u);
}

TEST(WebStepError, ConstructorCopyAndAssignmentCopyCodeAndAttributes) {
    CAttributeSet set;
    set.AddAttribute("text", "v", false);
    CWebStepError error(1013, set);
    EXPECT_EQ(error.GetCode(), 1013u);
    CWebStepError copy(error);
    error.GetAttributes().AddAttribute("more", "m", false);
    error.SetCode(1014);
    EXPECT_EQ(copy.GetCode(), 1013u);
    EXPECT_EQ(copy.GetAttributes().GetNumItems(), 1u);
    CWebStepError assigned;
    assigned = error;
    EXPECT_EQ(assigned.GetCode(), 1014u);
    EXPECT_EQ(assigned.GetAttributes().GetNumItems(), 2u);
    assigned = assigned;
    EXPECT_EQ(assigned.GetAttributes().GetNumItems(), 2u);
}

}  // namespace
