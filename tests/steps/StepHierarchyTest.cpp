#include <gtest/gtest.h>

#include <type_traits>
#include <typeinfo>

#include "webstep/steps/WebSteps.h"

namespace {

// Every class of the step model, for the checks that apply to all of them.
using AllStepClasses = ::testing::Types<
    CWebActionStep, CWebContextlessStep, CWebContextStep, CWebStepWithAttributes, CWebCheckStep,
    CWebStepUrl, CWebStepCustomRequest, CWebStepFlexCustomRequest, CWebStepSilverlightCustomRequest,
    CWebStepSubmitData, CWebStepLink, CWebStepImage, CWebStepSubmitForm, CWebStepFind,
    CWebStepImageCheck, CWebStepJavaCheck, CWebStepRegSaveParam, CWebStepRegFind,
    CWebStepGlobalVerification, CWebStepConvertParam, CWebStepConvertDateParam,
    CWebStepSetCertificateEx, CWebStepSetProxy, CWebStepSetSecureProxy, CWebStepSetUser,
    CWebStepAddHeader, CWebStepAddAutoHeader, CWebStepRevertAutoHeader, CWebStepRemoveAutoHeader,
    CWebStepCleanupAutoHeaders, CWebStepSetProxyBypass, CWebStepSetProxyBypassLocal,
    CWebStepSetConnectionsLimit, CWebStepEnableKeepAlive, CWebStepDisableKeepAlive,
    CWebStepSetTimeout, CWebStepSetMaxRetries, CWebStepSetSocketsOption, CWebStepCreateHtmlParam,
    CWebStepCreateHtmlParamEx, CWebStepSetMaxHtmlParamLen, CWebStepAddCookie, CWebStepRegAddCookie,
    CWebStepAddCookieEx, CWebStepRemoveCookie, CWebStepCleanupCookies, CWebStepSetCertificate,
    CWebStepGetIntProperty, CWebStepSaveHeader, CWebStepCacheCleanup, CWebStepConcurrentStart,
    CWebStepConcurrentEnd, CWebStepSjisToEucParam, CWebStepSaveParamLength, CWebStepCodeC,
    CQzStepSaveInt, CWebStepGlobalVerificationPauseResumeBase, CWebStepGlobalVerificationPause,
    CWebStepGlobalVerificationResume>;

// Records that the most derived destructor ran.
template <class T>
class DestructionProbe : public T {
public:
    explicit DestructionProbe(int* counter) : m_counter(counter) {}
    ~DestructionProbe() override { ++*m_counter; }

private:
    int* m_counter;
};

template <class T>
class EveryStepClass : public ::testing::Test {};
TYPED_TEST_SUITE(EveryStepClass, AllStepClasses);

TYPED_TEST(EveryStepClass, IsAStepWithVirtualDestructorAndValueOperations) {
    static_assert(std::is_base_of_v<CWebStepData, TypeParam>);
    static_assert(std::has_virtual_destructor_v<TypeParam>);
    static_assert(std::is_default_constructible_v<TypeParam>);
    static_assert(std::is_copy_constructible_v<TypeParam>);
    static_assert(std::is_copy_assignable_v<TypeParam>);
    static_assert(!std::is_abstract_v<TypeParam>);
    static_assert(std::is_polymorphic_v<TypeParam>);
    TypeParam step;
    EXPECT_FALSE(step.GetEscapeingString());
}

TYPED_TEST(EveryStepClass, DeletingThroughTheRootRunsTheWholeDestructorChain) {
    int destroyed = 0;
    CWebStepData* step = new DestructionProbe<TypeParam>(&destroyed);
    EXPECT_EQ(typeid(*step), typeid(DestructionProbe<TypeParam>));
    delete step;
    EXPECT_EQ(destroyed, 1);
}

TYPED_TEST(EveryStepClass, EscapingFlagIsCopiedAndAssigned) {
    TypeParam step;
    step.SetEscapeingString(true);
    EXPECT_TRUE(step.GetEscapeingString());
    TypeParam copy(step);
    EXPECT_TRUE(copy.GetEscapeingString());
    TypeParam assigned;
    assigned = step;
    EXPECT_TRUE(assigned.GetEscapeingString());
    step.SetEscapeingString(false);
    assigned = step;
    EXPECT_FALSE(assigned.GetEscapeingString());
}

TYPED_TEST(EveryStepClass, SelfAssignmentKeepsTheStepIntact) {
    TypeParam step;
    step.SetEscapeingString(true);
    TypeParam& alias = step;
    step = alias;
    EXPECT_TRUE(step.GetEscapeingString());
}

// The bases of the tree, as stated for each class.
static_assert(std::is_base_of_v<CWebStepData, CWebActionStep>);
static_assert(std::is_base_of_v<CWebActionStep, CWebContextlessStep>);
static_assert(std::is_base_of_v<CWebActionStep, CWebContextStep>);
static_assert(std::is_base_of_v<CWebStepData, CWebStepWithAttributes>);
static_assert(!std::is_base_of_v<CWebActionStep, CWebStepWithAttributes>);
static_assert(std::is_base_of_v<CWebStepWithAttributes, CWebCheckStep>);
static_assert(!std::is_base_of_v<CWebStepWithAttributes, CWebContextStep>);
static_assert(std::is_base_of_v<CWebContextlessStep, CWebStepCustomRequest>);
static_assert(std::is_base_of_v<CWebStepCustomRequest, CWebStepUrl>);
static_assert(std::is_base_of_v<CWebStepCustomRequest, CWebStepFlexCustomRequest>);
static_assert(std::is_base_of_v<CWebStepCustomRequest, CWebStepSilverlightCustomRequest>);
static_assert(std::is_base_of_v<CWebContextlessStep, CWebStepSubmitData>);
static_assert(!std::is_base_of_v<CWebStepCustomRequest, CWebStepSubmitData>);
static_assert(std::is_base_of_v<CWebContextStep, CWebStepLink>);
static_assert(std::is_base_of_v<CWebContextStep, CWebStepImage>);
static_assert(std::is_base_of_v<CWebContextStep, CWebStepSubmitForm>);
static_assert(std::is_base_of_v<CWebCheckStep, CWebStepFind>);
static_assert(std::is_base_of_v<CWebCheckStep, CWebStepImageCheck>);
static_assert(std::is_base_of_v<CWebCheckStep, CWebStepJavaCheck>);
static_assert(std::is_base_of_v<CWebStepWithAttributes, CWebStepRegSaveParam>);
static_assert(!std::is_base_of_v<CWebCheckStep, CWebStepRegSaveParam>);
static_assert(std::is_base_of_v<CWebStepWithAttributes, CWebStepRegFind>);
static_assert(!std::is_base_of_v<CWebCheckStep, CWebStepRegFind>);
static_assert(std::is_base_of_v<CWebStepWithAttributes, CWebStepGlobalVerification>);
static_assert(std::is_base_of_v<CWebStepWithAttributes, CWebStepConvertParam>);
static_assert(std::is_base_of_v<CWebStepWithAttributes, CWebStepConvertDateParam>);
static_assert(std::is_base_of_v<CWebStepWithAttributes, CWebStepSetCertificateEx>);
static_assert(std::is_base_of_v<CWebStepSetProxy, CWebStepSetSecureProxy>);
static_assert(std::is_base_of_v<CWebStepAddHeader, CWebStepAddAutoHeader>);
static_assert(std::is_base_of_v<CWebStepRevertAutoHeader, CWebStepRemoveAutoHeader>);
static_assert(std::is_base_of_v<CWebStepCreateHtmlParam, CWebStepCreateHtmlParamEx>);
static_assert(std::is_base_of_v<CWebStepAddCookie, CWebStepRegAddCookie>);
static_assert(std::is_base_of_v<CWebStepAddCookie, CWebStepAddCookieEx>);
static_assert(!std::is_base_of_v<CWebStepAddCookie, CWebStepRemoveCookie>);
static_assert(
    std::is_base_of_v<CWebStepGlobalVerificationPauseResumeBase, CWebStepGlobalVerificationPause>);
static_assert(
    std::is_base_of_v<CWebStepGlobalVerificationPauseResumeBase, CWebStepGlobalVerificationResume>);
static_assert(!std::is_base_of_v<CWebStepWithAttributes, CWebStepSetCertificate>);
// The root is built only by derived classes.
static_assert(!std::is_default_constructible_v<CWebStepData>);

TEST(WebStepData, StepsAreRecognisedByDynamicType) {
    CWebStepData* step = new CWebStepUrl;
    EXPECT_NE(dynamic_cast<CWebStepCustomRequest*>(step), nullptr);
    EXPECT_NE(dynamic_cast<CWebContextlessStep*>(step), nullptr);
    EXPECT_EQ(dynamic_cast<CWebContextStep*>(step), nullptr);
    EXPECT_EQ(dynamic_cast<CWebStepWithAttributes*>(step), nullptr);
    EXPECT_EQ(typeid(*step), typeid(CWebStepUrl));
    delete step;
}

TEST(WebContextlessStep, DefaultHasSixEmptyStringsAndBothFlagsFalse) {
    CWebContextlessStep step;
    EXPECT_EQ(step.GetTargetFrame(), "");
    EXPECT_EQ(step.GetContentType(), "");
    EXPECT_EQ(step.GetReferer(), "");
    EXPECT_EQ(step.GetMode(), "");
    EXPECT_EQ(step.GetUserAgent(), "");
    EXPECT_EQ(step.GetResourceByteLimit(), "");
    EXPECT_FALSE(step.GetResource());
    EXPECT_FALSE(step.GetIsOutOfBrowserStep());
    EXPECT_EQ(step.GetSnapshot(), "");
    EXPECT_EQ(step.GetOutOfContextResources().GetNumElements(), 0u);
    EXPECT_FALSE(step.GetEscapeingString());
}

TEST(WebContextlessStep, SixArgumentConstructorLeavesUserAgentAndByteLimitEmpty) {
    CWebContextlessStep step("_TOP", "text/html", true, "http://ref/", "HTML", true);
    EXPECT_EQ(step.GetTargetFrame(), "_TOP");
    EXPECT_EQ(step.GetContentType(), "text/html");
    EXPECT_TRUE(step.GetResource());
    EXPECT_EQ(step.GetReferer(), "http://ref/");
    EXPECT_EQ(step.GetMode(), "HTML");
    EXPECT_TRUE(step.GetIsOutOfBrowserStep());
    EXPECT_EQ(step.GetUserAgent(), "");
    EXPECT_EQ(step.GetResourceByteLimit(), "");
}

TEST(WebContextlessStep, ArgumentOrderKeepsResourceAndOutOfBrowserApart) {
    CWebContextlessStep onlyResource("", "", true, "", "", false);
    EXPECT_TRUE(onlyResource.GetResource());
    EXPECT_FALSE(onlyResource.GetIsOutOfBrowserStep());
    CWebContextlessStep onlyOutOfBrowser("", "", false, "", "", true);
    EXPECT_FALSE(onlyOutOfBrowser.GetResource());
    EXPECT_TRUE(onlyOutOfBrowser.GetIsOutOfBrowserStep());
}

TEST(WebContextlessStep, SettersAndGettersRoundTrip) {
    CWebContextlessStep step;
    step.SetTargetFrame("main");
    step.SetContentType("image/gif");
    step.SetReferer("http://r/");
    step.SetMode("HTTP");
    step.SetUserAgent("Agent/1.0");
    step.SetResourceByteLimit("{Limit}");
    step.SetResource(true);
    step.SetIsOutOfBrowserStep(true);
    step.SetSnapshot("t1.inf");
    EXPECT_EQ(step.GetTargetFrame(), "main");
    EXPECT_EQ(step.GetContentType(), "image/gif");
    EXPECT_EQ(step.GetReferer(), "http://r/");
    EXPECT_EQ(step.GetMode(), "HTTP");
    EXPECT_EQ(step.GetUserAgent(), "Agent/1.0");
    EXPECT_EQ(step.GetResourceByteLimit(), "{Limit}");
    EXPECT_TRUE(step.GetResource());
    EXPECT_TRUE(step.GetIsOutOfBrowserStep());
    EXPECT_EQ(step.GetSnapshot(), "t1.inf");
}

TEST(WebContextlessStep, ResourceByteLimitIsKeptAsWrittenNotAsANumber) {
    CWebContextlessStep step;
    step.SetResourceByteLimit(" 0010 ");
    EXPECT_EQ(step.GetResourceByteLimit(), " 0010 ");
}

TEST(WebContextlessStep, NullTextSetterStoresEmpty) {
    CWebContextlessStep step;
    step.SetMode("HTML");
    step.SetMode(nullptr);
    EXPECT_EQ(step.GetMode(), "");
}

TEST(WebContextlessStep, CopyAndAssignmentCopyEveryField) {
    CWebContextlessStep step("f", "c", true, "r", "m", true);
    step.SetUserAgent("ua");
    step.SetResourceByteLimit("100");
    step.SetSnapshot("t2.inf");
    step.SetEscapeingString(true);
    CWebContextlessStep copy(step);
    CWebContextlessStep assigned;
    assigned = step;
    for (const CWebContextlessStep* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetTargetFrame(), "f");
        EXPECT_EQ(s->GetContentType(), "c");
        EXPECT_TRUE(s->GetResource());
        EXPECT_EQ(s->GetReferer(), "r");
        EXPECT_EQ(s->GetMode(), "m");
        EXPECT_TRUE(s->GetIsOutOfBrowserStep());
        EXPECT_EQ(s->GetUserAgent(), "ua");
        EXPECT_EQ(s->GetResourceByteLimit(), "100");
        EXPECT_EQ(s->GetSnapshot(), "t2.inf");
        EXPECT_TRUE(s->GetEscapeingString());
    }
}

TEST(WebActionStep, ConstructorFromSnapshotAndResourcesSharesTheResources) {
    CResourceElements resources;
    auto* resource = new CResource("http://a/x.gif", "http://a/");
    resources.AddTail(resource);
    CWebActionStep step("t3.inf", resources);
    EXPECT_EQ(step.GetSnapshot(), "t3.inf");
    ASSERT_EQ(step.GetOutOfContextResources().GetNumElements(), 1u);
    EXPECT_EQ(step.GetOutOfContextResources().GetList().front(), resource);
    // The step now owns the resource; the caller's list drops its reference.
    resources.ClearResourceReferences();
}

TEST(WebActionStep, CopySharesResourcesUntilTheCopyDropsItsReferences) {
    auto* step = new CWebActionStep;
    step->SetSnapshot("t4.inf");
    auto* resource = new CResource("http://a/y.css", "");
    step->GetOutOfContextResources().AddTail(resource);
    {
        CWebActionStep copy(*step);
        EXPECT_EQ(copy.GetSnapshot(), "t4.inf");
        ASSERT_EQ(copy.GetOutOfContextResources().GetNumElements(), 1u);
        EXPECT_EQ(copy.GetOutOfContextResources().GetList().front(), resource);
        copy.GetOutOfContextResources().ClearResourceReferences();
    }
    EXPECT_EQ(step->GetOutOfContextResources().GetList().front()->GetUrl(), "http://a/y.css");
    delete step;
}

TEST(WebActionStep, AssignmentReplacesOwnResourcesWithTheSourceOnes) {
    CWebActionStep source;
    source.GetOutOfContextResources().AddTail(new CResource("http://s/", ""));
    CWebActionStep target;
    target.GetOutOfContextResources().AddTail(new CResource("http://t/1", ""));
    target.GetOutOfContextResources().AddTail(new CResource("http://t/2", ""));
    target = source;
    ASSERT_EQ(target.GetOutOfContextResources().GetNumElements(), 1u);
    EXPECT_EQ(target.GetOutOfContextResources().GetList().front(),
              source.GetOutOfContextResources().GetList().front());
    target.GetOutOfContextResources().ClearResourceReferences();
}

TEST(WebContextStep, KeepsItsOwnAttributeSetCopiedDeeply) {
    CAttributeSet set;
    set.AddAttribute("Text", "Home", false);
    CWebContextStep step(set);
    set.AddAttribute("Ordinal", "2", false);
    EXPECT_EQ(step.GetAttributes().GetNumItems(), 1u);
    CWebContextStep copy(step);
    step.GetAttributes().AddAttribute("Frame", "main", false);
    EXPECT_EQ(copy.GetAttributes().GetNumItems(), 1u);
    CWebContextStep assigned;
    assigned = step;
    EXPECT_EQ(assigned.GetAttributes().GetNumItems(), 2u);
    MString value;
    EXPECT_TRUE(assigned.GetAttributes().GetAttribute("text", value));
    EXPECT_EQ(value, "Home");
}

TEST(WebStepWithAttributes, AttributeSetIsCopiedDeeply) {
    CAttributeSet set;
    set.AddAttribute("Search", "Body", false);
    CWebStepWithAttributes step(set);
    EXPECT_EQ(step.GetAttributes().GetNumItems(), 1u);
    CWebStepWithAttributes copy(step);
    copy.GetAttributes().RemoveAll();
    EXPECT_EQ(step.GetAttributes().GetNumItems(), 1u);
    CWebCheckStep check(set);
    CWebCheckStep checkCopy;
    checkCopy = check;
    check.GetAttributes().RemoveAll();
    MString value;
    EXPECT_TRUE(checkCopy.GetAttributes().GetAttribute("SEARCH", value));
    EXPECT_EQ(value, "Body");
}

TEST(WebCheckStep, ReportOptionsHaveTheValuesOfTheReportTable) {
    EXPECT_EQ(CWebCheckStep::REPORT_ALWAYS, 0);
    EXPECT_EQ(CWebCheckStep::REPORT_FAILURE, 1);
    EXPECT_EQ(CWebCheckStep::REPORT_SUCCESS, 2);
}

}  // namespace
