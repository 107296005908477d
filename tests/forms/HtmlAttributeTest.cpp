// Attributes by which a step names a page object, and the attribute set.
#include <gtest/gtest.h>

#include "webstep/context/Context.h"
#include "webstep/forms/HtmlAttributeSet.h"

namespace {

CHtmlAttributeSet PageForm(const char* action) {
    CHtmlAttributeSet set;
    set.AddAttribute(new CStringAttribute("action", action));
    set.AddAttribute(new CStringAttribute("name", "login"));
    set.AddAttribute(new CHiddenAttribute("sid", "42"));
    return set;
}

TEST(HtmlAttributeSet, WantedActionMatchesExactlyTheSameAction) {
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("action", "/a.cgi"));
    EXPECT_TRUE(PageForm("/a.cgi").Match(wanted));
}

TEST(HtmlAttributeSet, WantedActionDoesNotMatchOtherLetterCase) {
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("action", "/a.cgi"));
    EXPECT_FALSE(PageForm("/A.cgi").Match(wanted));
}

TEST(HtmlAttributeSet, WantedSourceShortFormMatchesFullPageSourceIgnoringCase) {
    CHtmlAttributeSet page;
    page.AddAttribute(new CSrcStringAttribute("src", "/img/A.GIF"));
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CSrcStringAttribute("src", "a.gif"));
    EXPECT_TRUE(page.Match(wanted));
}

TEST(HtmlAttributeSet, WantedSourceDoesNotMatchOtherImage) {
    CHtmlAttributeSet page;
    page.AddAttribute(new CSrcStringAttribute("src", "/img/b.gif"));
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CSrcStringAttribute("src", "a.gif"));
    EXPECT_FALSE(page.Match(wanted));
}

TEST(HtmlAttributeSet, PlainStringAttributeDoesNotMatchShortSourceForm) {
    CHtmlAttributeSet page;
    page.AddAttribute(new CStringAttribute("src", "/img/a.gif"));
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("src", "a.gif"));
    EXPECT_FALSE(page.Match(wanted));
}

TEST(HtmlAttributeSet, SourceAttributeNeedsEqualKeys) {
    CSrcStringAttribute page("src", "/img/a.gif");
    CSrcStringAttribute wanted("href", "a.gif");
    EXPECT_FALSE(page.Match(wanted));
}

TEST(HtmlAttributeSet, EmptyWantedSetAlwaysMatches) {
    CHtmlAttributeSet empty;
    EXPECT_TRUE(PageForm("/x").Match(empty));
    EXPECT_TRUE(CHtmlAttributeSet().Match(empty));
}

TEST(HtmlAttributeSet, OnePageAttributeServesSeveralWantedAttributes) {
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("name", "login"));
    wanted.AddAttribute(new CStringAttribute("name", "login"));
    EXPECT_TRUE(PageForm("/x").Match(wanted));
}

TEST(HtmlAttributeSet, MissingWantedAttributeFails) {
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("name", "login"));
    wanted.AddAttribute(new CStringAttribute("targetframe", "main"));
    EXPECT_FALSE(PageForm("/x").Match(wanted));
}

TEST(HtmlAttributeSet, HiddenAttributesMatchByNameAndValue) {
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CHiddenAttribute("sid", "42"));
    EXPECT_TRUE(PageForm("/x").Match(wanted));
    CHtmlAttributeSet other;
    other.AddAttribute(new CHiddenAttribute("sid", "43"));
    EXPECT_FALSE(PageForm("/x").Match(other));
    CHtmlAttributeSet otherName;
    otherName.AddAttribute(new CHiddenAttribute("SID", "42"));
    EXPECT_FALSE(PageForm("/x").Match(otherName));
}

TEST(HtmlAttributeSet, HiddenAttributeNeverMatchesStringAttribute) {
    CHiddenAttribute hidden("action", "/x");
    CStringAttribute action("action", "/x");
    EXPECT_FALSE(hidden.Match(action));
    EXPECT_FALSE(action.Match(hidden));
}

TEST(HtmlAttributeSet, GetParamByKeyHiddenIsFalseEvenWhenHiddenAttributesExist) {
    const CHtmlAttributeSet set = PageForm("/x");
    CParametrizableArgument out("untouched");
    EXPECT_FALSE(set.GetParamByKey("hidden", out));
    EXPECT_EQ(out.GetValue(), "untouched");
}

TEST(HtmlAttributeSet, GetParamByKeyCopiesTheArgument) {
    CHtmlAttributeSet set;
    set.AddAttribute(new CStringAttribute("action", "{Url}"));
    CParametrizableArgument out;
    ASSERT_TRUE(set.GetParamByKey("action", out));
    EXPECT_TRUE(out.IsDataDriven());
    EXPECT_EQ(out.GetParametrizableValue(), "Url");
    EXPECT_FALSE(set.GetParamByKey("method", out));
    EXPECT_FALSE(set.GetParamByKey("ACTION", out));
}

TEST(HtmlAttributeSet, SetByKeyReplacesOldAttributeWhichIsDeletedAndNewStandsLast) {
    CHtmlAttributeSet set = PageForm("/old");
    auto* replacement = new CStringAttribute("action", "/new");
    set.SetByKey("action", replacement);
    EXPECT_EQ(set.GetNumItems(), 3u);
    EXPECT_EQ(set.GetList().back(), replacement);
    EXPECT_EQ(set.ReportByKey("action", false), "/new");
    int actions = 0;
    for (const CHtmlAttribute* a : set.GetList()) {
        actions += a->GetKey() == "action" ? 1 : 0;
    }
    EXPECT_EQ(actions, 1);  // the old one is gone (and freed: checked by the leak sanitizer)
}

TEST(HtmlAttributeSet, SetByKeyWithTheSameAttributeChangesNothing) {
    CHtmlAttributeSet set;
    auto* a = new CStringAttribute("action", "/x");
    set.AddAttribute(a);
    set.AddAttribute(new CStringAttribute("name", "n"));
    set.SetByKey("action", a);
    EXPECT_EQ(set.GetNumItems(), 2u);
    EXPECT_EQ(set.GetList().front(), a);
}

TEST(HtmlAttributeSet, SetByKeyHiddenAlwaysAppends) {
    CHtmlAttributeSet set = PageForm("/x");
    set.SetByKey("hidden", new CHiddenAttribute("sid", "99"));
    EXPECT_EQ(set.GetNumItems(), 4u);
    std::list<CHiddenAttribute*> hiddens;
    set.BuildHiddenAttrList(hiddens);
    ASSERT_EQ(hiddens.size(), 2u);
    EXPECT_EQ(hiddens.back()->GetValue(), "99");
}

TEST(HtmlAttributeSet, SetByKeyWithNewKeyAppends) {
    CHtmlAttributeSet set = PageForm("/x");
    set.SetByKey("frame", new CStringAttribute("frame", "top"));
    EXPECT_EQ(set.GetNumItems(), 4u);
    EXPECT_EQ(set.ReportByKey("frame", false), "top");
}

TEST(HtmlAttributeSet, RemoveByKeyIgnoresHidden) {
    CHtmlAttributeSet set = PageForm("/x");
    set.RemoveByKey("hidden");
    EXPECT_EQ(set.GetNumItems(), 3u);
    set.RemoveByKey("name");
    EXPECT_EQ(set.GetNumItems(), 2u);
    EXPECT_EQ(set.ReportByKey("name", false), "");
    set.RemoveByKey("absent");
    EXPECT_EQ(set.GetNumItems(), 2u);
}

TEST(HtmlAttributeSet, ReportByKeyOfHiddenIsEmpty) {
    EXPECT_EQ(PageForm("/x").ReportByKey("hidden", false), "");
}

TEST(HtmlAttributeSet, GetAttributeStringListsEveryAttributeAfterHeading) {
    EXPECT_EQ(PageForm("/x").GetAttributeString(),
              "Step attributes:\r\naction : /x\nname : login\nsid : 42\n");
    EXPECT_EQ(CHtmlAttributeSet().GetAttributeString(), "");
}

TEST(HtmlAttributeSet, ReportJoinsKeyAndReportOfEveryAttribute) {
    EXPECT_EQ(PageForm("/x").Report(false), "action=/x; name=login; hidden(sid)=42");
    EXPECT_EQ(CHtmlAttributeSet().Report(true), "");
}

TEST(HtmlAttributeSet, CopyIsDeep) {
    CHtmlAttributeSet source = PageForm("/x");
    CHtmlAttributeSet copy(source);
    ASSERT_EQ(copy.GetNumItems(), 3u);
    EXPECT_NE(copy.GetList().front(), source.GetList().front());
    EXPECT_TRUE(copy.Match(source));
    EXPECT_TRUE(source.Match(copy));
    source.PurgeData();
    EXPECT_EQ(copy.ReportByKey("action", false), "/x");
    CHtmlAttributeSet assigned;
    assigned.AddAttribute(new CStringAttribute("z", "z"));
    assigned = copy;
    EXPECT_EQ(assigned.GetNumItems(), 3u);
    EXPECT_EQ(assigned.ReportByKey("z", false), "");
    assigned = assigned;  // self-assignment keeps everything
    EXPECT_EQ(assigned.GetNumItems(), 3u);
}

TEST(HtmlAttributeSet, CopyKeepsSourceAttributeClass) {
    CHtmlAttributeSet page;
    page.AddAttribute(new CSrcStringAttribute("src", "/img/A.GIF"));
    CHtmlAttributeSet copy(page);
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("src", "a.gif"));
    EXPECT_TRUE(copy.Match(wanted));
}

TEST(HtmlAttributeSet, MergeHiddenAttrListReplacesSameNameAndAppendsNewOnes) {
    CHtmlAttributeSet set = PageForm("/x");
    CHiddenAttribute sid("sid", "{Sid}");
    CHiddenAttribute token("token", "t");
    std::list<CHiddenAttribute*> given{&sid, &token};
    EXPECT_EQ(set.MergeHiddenAttrList(given), 1u);
    std::list<CHiddenAttribute*> hiddens;
    set.BuildHiddenAttrList(hiddens);
    ASSERT_EQ(hiddens.size(), 2u);
    EXPECT_EQ(hiddens.front()->GetName(), "sid");
    EXPECT_TRUE(hiddens.front()->GetValueArgument().IsDataDriven());
    EXPECT_EQ(hiddens.back()->GetName(), "token");
    EXPECT_NE(hiddens.back(), &token);  // a copy: the caller keeps its own
}

TEST(HtmlAttributeSet, MergeHiddenAttrListOfItsOwnHiddensChangesNothing) {
    CHtmlAttributeSet set = PageForm("/x");
    std::list<CHiddenAttribute*> own;
    set.BuildHiddenAttrList(own);
    EXPECT_EQ(set.MergeHiddenAttrList(own), 0u);
    EXPECT_EQ(set.GetNumItems(), 3u);
}

class FailingContext : public CContext {
public:
    int calls = 0;
    bool Parametrize(const MString& name, MString& result, bool) override {
        ++calls;
        if (name == "Bad") {
            return false;
        }
        result = "<" + name + ">";
        return true;
    }
};

TEST(HtmlAttributeSet, ParametrizeStopsAfterFirstFailure) {
    CHtmlAttributeSet set;
    set.AddAttribute(new CStringAttribute("a", "{Good}"));
    set.AddAttribute(new CStringAttribute("b", "{Bad}"));
    set.AddAttribute(new CStringAttribute("c", "{Later}"));
    FailingContext ctx;
    EXPECT_FALSE(set.Parametrize(&ctx));
    EXPECT_EQ(ctx.calls, 2);
    EXPECT_EQ(set.ReportByKey("a", false), "<Good>");
    EXPECT_EQ(set.ReportByKey("c", false), "{Later}");
}

TEST(HtmlAttributeSet, ParametrizedValueTakesPartInMatching) {
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("action", "{Act}"));
    FailingContext ctx;
    ASSERT_TRUE(wanted.Parametrize(&ctx));
    EXPECT_TRUE(PageForm("<Act>").Match(wanted));
}

TEST(HiddenAttribute, ParametrizeStopsAtName) {
    CHiddenAttribute h("{Bad}", "{Value}");
    FailingContext ctx;
    EXPECT_FALSE(h.Parametrize(&ctx));
    EXPECT_EQ(ctx.calls, 1);
    EXPECT_EQ(h.GetValue(), "{Value}");
}

TEST(HiddenAttribute, KeyIsAlwaysHiddenAndReportIsValue) {
    CHiddenAttribute h("n", "v");
    EXPECT_EQ(h.GetKey(), "hidden");
    EXPECT_EQ(h.Report(true), "v");
    EXPECT_EQ(h.GetAttributeString(), "n : v\n");
}

TEST(HtmlAttribute, RequiredDataColumnsOfStringAttribute) {
    std::list<std::string> out{"stale"};
    CStringAttribute literal("a", "text");
    literal.GetRequiredDataColumns(out);
    EXPECT_TRUE(out.empty());
    CStringAttribute param("a", "{P}");
    param.GetRequiredDataColumns(out);
    EXPECT_EQ(out, (std::list<std::string>{"P"}));
}

TEST(HtmlAttribute, RequiredDataColumnsOfHiddenAttributeNameThenValue) {
    std::list<std::string> out;
    CHiddenAttribute h("{N}", "{V}");
    h.GetRequiredDataColumns(out);
    EXPECT_EQ(out, (std::list<std::string>{"N", "V"}));
    CHiddenAttribute v("n", "{V}");
    v.GetRequiredDataColumns(out);
    EXPECT_EQ(out, (std::list<std::string>{"V"}));
}

TEST(HtmlAttributeSet, RequiredDataColumnsOfAllAttributesWithoutRepeats) {
    CHtmlAttributeSet set;
    set.AddAttribute(new CStringAttribute("action", "{Url}"));
    set.AddAttribute(new CHiddenAttribute("{Name}", "{Url}"));
    set.AddAttribute(new CStringAttribute("name", "plain"));
    std::list<std::string> out;
    set.GetRequiredDataColumns(out);
    EXPECT_EQ(out, (std::list<std::string>{"Url", "Name"}));
}

TEST(HtmlAttribute, StringAttributeAccessors) {
    CStringAttribute a("k", "v");
    a.SetKey("key");
    a.SetValue("{P}");
    EXPECT_EQ(a.GetKey(), "key");
    EXPECT_EQ(a.GetValue(), "{P}");
    EXPECT_TRUE(a.GetArgument().IsDataDriven());
    EXPECT_EQ(a.GetAttributeString(), "key : {P}\n");
    EXPECT_EQ(a.Report(false), "{P}");
}

TEST(HtmlAttribute, BaseMatchAnswersTrue) {
    CStringAttribute a("k", "v");
    EXPECT_TRUE(a.CHtmlAttribute::Match(CHiddenAttribute("x", "y")));
}

}  // namespace
