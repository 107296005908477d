// The primitives that take one argument apart, with the error each records.
#include <gtest/gtest.h>

#include "ParserProbe.h"
#include "webstep/platform/CodePage.h"

namespace {

class Primitives : public ::testing::Test {
protected:
    CProbeParser p;
};

}  // namespace

TEST_F(Primitives, OnlyTheFirstEqualsSignSplitsAnAttribute) {
    MString name, value;
    ASSERT_TRUE(p.ParseAttribute("URL=a:b=c", name, value));
    EXPECT_EQ(name, "URL");
    EXPECT_EQ(value, "a:b=c");
    EXPECT_EQ(ErrorText(p), "0");
}

TEST_F(Primitives, ArgumentStartingWithEqualsFailsWith1002) {
    MString name, value;
    EXPECT_FALSE(p.ParseAttribute("=x", name, value));
    EXPECT_EQ(ErrorText(p), "1002|text==x");
}

TEST_F(Primitives, ArgumentWithoutEqualsAndNotBodyFailsWith1002) {
    MString name, value;
    EXPECT_FALSE(p.ParseAttribute("plain", name, value));
    EXPECT_EQ(ErrorText(p), "1002|text=plain");
    EXPECT_FALSE(p.ParseAttribute("bod", name, value));
    EXPECT_EQ(ErrorText(p), "1002|text=bod");
    EXPECT_FALSE(p.ParseAttribute("", name, value));
    EXPECT_EQ(ErrorText(p), "1002|text=");
}

TEST_F(Primitives, BodyVariableWithoutEqualsIsANameWithEmptyValue) {
    MString name, value = "old";
    ASSERT_TRUE(p.ParseAttribute("bodyText", name, value));
    EXPECT_EQ(name, "bodyText");
    EXPECT_EQ(value, "");
    ASSERT_TRUE(p.ParseAttribute("Body", name, value));
    EXPECT_EQ(name, "Body");
    ASSERT_TRUE(p.ParseAttribute("BODY", name, value));
    // An equals sign at the first byte falls back to the body test.
    ASSERT_TRUE(p.ParseAttribute("body=", name, value));
    EXPECT_EQ(name, "body");
    EXPECT_EQ(ErrorText(p), "0");
}

TEST_F(Primitives, NameOfOnlySpacesFailsWith1002AndSpacesAroundANameAreKept) {
    MString name, value;
    EXPECT_FALSE(p.ParseAttribute("   =v", name, value));
    EXPECT_EQ(ErrorText(p), "1002|text=   =v");
    ASSERT_TRUE(p.ParseAttribute(" N = v ", name, value));
    EXPECT_EQ(name, " N ");
    EXPECT_EQ(value, " v ");
}

TEST_F(Primitives, IsParameterTestsOnlyTheOuterBraces) {
    EXPECT_TRUE(p.IsParameter("{}"));
    EXPECT_TRUE(p.IsParameter("{ }"));
    EXPECT_TRUE(p.IsParameter("{a}"));
    EXPECT_FALSE(p.IsParameter("{"));
    EXPECT_FALSE(p.IsParameter(""));
    EXPECT_FALSE(p.IsParameter("x{a}"));
    EXPECT_FALSE(p.IsParameter("{a}x"));
}

TEST_F(Primitives, IsBodyVariableComparesFourBytesIgnoringCase) {
    EXPECT_TRUE(p.IsBodyVariable("body"));
    EXPECT_TRUE(p.IsBodyVariable("BoDy_1"));
    EXPECT_FALSE(p.IsBodyVariable("bod"));
    EXPECT_FALSE(p.IsBodyVariable("xbody"));
}

TEST_F(Primitives, UrlArgumentSplitsAtTheFirstColonAndTrims) {
    MString url, rest = "unchanged", param = "x";
    ASSERT_TRUE(p.ParseUrlArgument(" host : 8080 ", url, rest, param));
    EXPECT_EQ(url, "host");
    EXPECT_EQ(rest, "8080");
    EXPECT_EQ(param, "");
    rest = "unchanged";
    ASSERT_TRUE(p.ParseUrlArgument("hostonly", url, rest, param));
    EXPECT_EQ(url, "hostonly");
    EXPECT_EQ(rest, "unchanged");  // no colon: the rest is left as it was
    ASSERT_TRUE(p.ParseUrlArgument("h:1:2", url, rest, param));
    EXPECT_EQ(rest, "1:2");
}

TEST_F(Primitives, UrlArgumentThatIsAParameterReference) {
    MString url = "u", rest = "r", param;
    ASSERT_TRUE(p.ParseUrlArgument("{Proxy}", url, rest, param));
    EXPECT_EQ(url, "");
    EXPECT_EQ(rest, "");
    EXPECT_EQ(param, "{Proxy}");
}

TEST_F(Primitives, UrlArgumentWithEmptyHostFailsWith1007) {
    MString url, rest, param;
    EXPECT_FALSE(p.ParseUrlArgument(":8080", url, rest, param));
    EXPECT_EQ(ErrorText(p), "1007|text=:8080");
    EXPECT_FALSE(p.ParseUrlArgument("  :8080", url, rest, param));
    EXPECT_EQ(ErrorText(p), "1007|text=  :8080");
    EXPECT_FALSE(p.ParseUrlArgument("", url, rest, param));
    EXPECT_EQ(ErrorText(p), "1007|text=");
}

TEST_F(Primitives, NumericArgumentWithTrailingCharactersFailsWith1006) {
    unsigned int n = 99;
    EXPECT_FALSE(p.ParseNumericArgument("12a", n));
    EXPECT_EQ(ErrorText(p), "1006|text=12a");
    EXPECT_FALSE(p.ParseNumericArgument("30s", n));
    EXPECT_FALSE(p.ParseNumericArgument(" ", n));
    EXPECT_FALSE(p.ParseNumericArgument("1 ", n));
}

TEST_F(Primitives, NumericArgumentEmptyOrParameterGivesZero) {
    unsigned int n = 99;
    ASSERT_TRUE(p.ParseNumericArgument("", n));
    EXPECT_EQ(n, 0u);
    n = 99;
    ASSERT_TRUE(p.ParseNumericArgument("{Count}", n));
    EXPECT_EQ(n, 0u);
    ASSERT_TRUE(p.ParseNumericArgument(" +42", n));
    EXPECT_EQ(n, 42u);
    ASSERT_TRUE(p.ParseNumericArgument("-1", n));
    EXPECT_EQ(n, 4294967295u);  // the standard conversion wraps a negative number
}

TEST_F(Primitives, SignedNumericArgument) {
    long n = 0;
    ASSERT_TRUE(p.ParseNumericSignedArgument("-1", n));
    EXPECT_EQ(n, -1);
    EXPECT_FALSE(p.ParseNumericSignedArgument("-1x", n));
    EXPECT_EQ(ErrorText(p), "1006|text=-1x");
    ASSERT_TRUE(p.ParseNumericSignedArgument("{P}", n));
    EXPECT_EQ(n, 0);
}

TEST_F(Primitives, NumericOrAllAcceptsAllNumbersAndReferences) {
    EXPECT_TRUE(p.ParseNumericArgumentOrAll("All"));
    EXPECT_TRUE(p.ParseNumericArgumentOrAll("aLL"));
    EXPECT_TRUE(p.ParseNumericArgumentOrAll("3"));
    EXPECT_TRUE(p.ParseNumericArgumentOrAll("{Ord}"));
    EXPECT_FALSE(p.ParseNumericArgumentOrAll("third"));
    EXPECT_EQ(ErrorText(p), "1002|text=third");
}

TEST_F(Primitives, YesNoArgument) {
    bool v = false;
    ASSERT_TRUE(p.ParseYesNoArgument("YES", v));
    EXPECT_TRUE(v);
    ASSERT_TRUE(p.ParseYesNoArgument("No", v));
    EXPECT_FALSE(v);
    v = true;
    ASSERT_TRUE(p.ParseYesNoArgument("{Flag}", v));
    EXPECT_FALSE(v);
    EXPECT_FALSE(p.ParseYesNoArgument("maybe", v));
    EXPECT_EQ(ErrorText(p), "1005|text=maybe");
    EXPECT_FALSE(p.ParseYesNoArgument("", v));
}

TEST_F(Primitives, BooleanArgumentTwoFailsWith1004) {
    bool v = false;
    EXPECT_FALSE(p.ParseBooleanArgument("2", v));
    EXPECT_EQ(ErrorText(p), "1004|text=2");
}

TEST_F(Primitives, BooleanArgumentReplacesTheNumberError) {
    bool v = false;
    EXPECT_FALSE(p.ParseBooleanArgument("yes", v));
    EXPECT_EQ(ErrorText(p), "1004|text=yes");
}

TEST_F(Primitives, BooleanArgumentZeroOneAndReference) {
    bool v = false;
    ASSERT_TRUE(p.ParseBooleanArgument("1", v));
    EXPECT_TRUE(v);
    ASSERT_TRUE(p.ParseBooleanArgument("0", v));
    EXPECT_FALSE(v);
    v = true;
    ASSERT_TRUE(p.ParseBooleanArgument("{R}", v));
    EXPECT_FALSE(v);
    ASSERT_TRUE(p.ParseBooleanArgument("", v));  // empty reads as the number 0
    EXPECT_FALSE(v);
}

TEST_F(Primitives, ValidateAttributeIgnoresCaseAndReturnsTheRowNumber) {
    int result = -5;
    ASSERT_TRUE(
        p.ValidateAttribute("Expect", "FOUND", CWebStepScript::m_valuesExpect, false, &result));
    EXPECT_EQ(result, 1);
    ASSERT_TRUE(
        p.ValidateAttribute("Report", "Always", CWebStepScript::m_valuesReport, false, &result));
    EXPECT_EQ(result, 0);
    ASSERT_TRUE(
        p.ValidateAttribute("Expect", "notfound", CWebStepScript::m_valuesExpect, false, nullptr));
}

TEST_F(Primitives, ValidateAttributeRejectsAValueWrittenAsReference) {
    int result = -5;
    EXPECT_FALSE(p.ValidateAttribute("Expect", "{ExpectFound}", CWebStepScript::m_valuesExpect,
                                     false, &result));
    EXPECT_EQ(ErrorText(p), "1003|attribute=Expect|text={ExpectFound}");
    EXPECT_EQ(result, -5);
}

TEST_F(Primitives, ValidateAttributeAcceptsAnyValueWhenTheNameIsAReference) {
    int result = -5;
    EXPECT_TRUE(
        p.ValidateAttribute("{Name}", "whatever", CWebStepScript::m_valuesExpect, false, &result));
    EXPECT_EQ(result, -5);
}

TEST_F(Primitives, ValidateAttributeEmptyValue) {
    int result = -5;
    EXPECT_TRUE(p.ValidateAttribute("inside", "", CWebStepScript::m_valuesInside, true, &result));
    EXPECT_EQ(result, -5);
    EXPECT_FALSE(p.ValidateAttribute("inside", "", CWebStepScript::m_valuesInside, false, &result));
    EXPECT_EQ(ErrorText(p), "1003|attribute=inside|text=");
}

TEST_F(Primitives, DuplicateAttributeInArgListFailsWith1012OnTheSecondArgument) {
    std::vector<const char*> args = {"A=1", "a=2", "LAST"};
    p.Feed(args);
    CAttributeSet set;
    int index = 7;
    EXPECT_FALSE(p.BuildAttrSetFromArgList(set, CWebStepScript::DefaultTerminators, &index, false));
    EXPECT_EQ(ErrorText(p), "1012|attribute=a|argument=2");
    EXPECT_EQ(set.GetNumItems(), 1u);
}

TEST_F(Primitives, AttrSetFromArgListWithDuplicatesAllowed) {
    std::vector<const char*> args = {"A=1", "a=2", "last", "B=3"};
    p.Feed(args);
    CAttributeSet set;
    int index = 7;
    ASSERT_TRUE(p.BuildAttrSetFromArgList(set, CWebStepScript::DefaultTerminators, &index, true));
    EXPECT_EQ(index, 0);
    EXPECT_EQ(set.GetNumItems(), 2u);
    EXPECT_EQ(p.GetArgumentIndex(), 3u);  // stops right after the terminator
}

TEST_F(Primitives, AttrSetFromArgListEndsWithTheArrayAndReportsNoTerminator) {
    std::vector<const char*> args = {"A=1"};
    p.Feed(args);
    CAttributeSet set;
    int index = 7;
    ASSERT_TRUE(p.BuildAttrSetFromArgList(set, CWebStepScript::DefaultTerminators, &index, false));
    EXPECT_EQ(index, -1);
}

TEST_F(Primitives, AttrSetFromArgListSyntaxErrorCarriesTheArgumentIndex) {
    std::vector<const char*> args = {"A=1", "B=2", "oops", "LAST"};
    p.Feed(args);
    CAttributeSet set;
    EXPECT_FALSE(
        p.BuildAttrSetFromArgList(set, CWebStepScript::DefaultTerminators, nullptr, false));
    EXPECT_EQ(ErrorText(p), "1002|text=oops|argument=3");
}

TEST_F(Primitives, AttrSetFromArgListStopsAtACallerTerminator) {
    static const char* terms[] = {"ITEMDATA", "EXTRARES", "LAST", nullptr};
    std::vector<const char*> args = {"A=1", "extrares", "URL=x"};
    p.Feed(args);
    CAttributeSet set;
    int index = 7;
    ASSERT_TRUE(p.BuildAttrSetFromArgList(set, terms, &index, false));
    EXPECT_EQ(index, 1);
    EXPECT_STREQ(p.GetNextArgument(), "URL=x");
}

TEST_F(Primitives, FreeTextKeepsEveryArgumentUnchanged) {
    std::vector<const char*> args = {"one", "=two", "", "LAST", "after"};
    p.Feed(args);
    std::list<MString> texts;
    int index = 7;
    ASSERT_TRUE(p.BuildFreeText(texts, CWebStepScript::DefaultTerminators, &index));
    EXPECT_EQ(texts, (std::list<MString>{"one", "=two", ""}));
    EXPECT_EQ(index, 0);
}

TEST_F(Primitives, IsTerminatorFindsAnyLetterCaseAtIndexZero) {
    int index = 5;
    for (const char* text : {"last", "Last", "LAST"}) {
        index = 5;
        EXPECT_TRUE(CProbeParser::IsTerminator(text, CWebStepScript::DefaultTerminators, &index));
        EXPECT_EQ(index, 0);
    }
    EXPECT_FALSE(CProbeParser::IsTerminator("LAST ", CWebStepScript::DefaultTerminators, &index));
    EXPECT_EQ(index, -1);
    EXPECT_FALSE(CProbeParser::IsTerminator("LAS", CWebStepScript::DefaultTerminators, nullptr));
    EXPECT_TRUE(CProbeParser::IsTerminator("LAST", CWebStepScript::DefaultTerminators, nullptr));
    static const char* terms[] = {"ENDHIDDENS", "LAST", nullptr};
    EXPECT_TRUE(CProbeParser::IsTerminator("last", terms, &index));
    EXPECT_EQ(index, 1);
    EXPECT_FALSE(CProbeParser::IsTerminator("x", nullptr, &index));
    EXPECT_EQ(index, -1);
}

TEST_F(Primitives, NameOfOnlyIdeographicSpacesFailsWith1002) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_GBK);
    MString name, value;
    EXPECT_FALSE(p.ParseAttribute("\xA1\xA1=v", name, value));
    EXPECT_EQ(ErrorText(p), "1002|text=\xA1\xA1=v");
    MString url, rest, param;
    ASSERT_TRUE(
        p.ParseUrlArgument("\xA1\xA1host\xA1\xA1:\xA1\xA1"
                           "80",
                           url, rest, param));
    EXPECT_EQ(url, "host");
    EXPECT_EQ(rest, "80");
    webstep::platform::SetProcessCodePage(0);
}

TEST_F(Primitives, VariableArgumentModeReportsArgumentZero) {
    p.body = [](CProbeParser& self) {
        CAttributeSet set;
        return self.BuildAttrSetFromArgList(set, CWebStepScript::DefaultTerminators, nullptr,
                                            false);
    };
    EXPECT_FALSE(p.ParseArgumentList(WPF_COPY_ARGUMENTS, "A=1", "bad", "LAST"));
    EXPECT_EQ(ErrorText(p), "1002|text=bad|argument=0");
}
