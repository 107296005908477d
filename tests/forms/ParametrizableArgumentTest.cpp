// Script texts that may be parameter references.
#include "webstep/forms/ParametrizableArgument.h"

#include <gtest/gtest.h>

#include <map>

#include "webstep/context/Context.h"
#include "webstep/platform/CodePage.h"

namespace {

// A context that keeps parameters in a map and counts its calls.
class CMapContext : public CContext {
public:
    std::map<MString, MString> params;
    int parametrizeCalls = 0;
    int assignCalls = 0;
    bool Parametrize(const MString& value, MString& result, bool isDataDriven) override {
        ++parametrizeCalls;
        if (!isDataDriven)
            return true;
        auto it = params.find(value);
        if (it == params.end())
            return false;
        result = it->second;
        return true;
    }
    bool AssignToParameter(const MString& name, const MString& value) override {
        ++assignCalls;
        params[name] = value;
        return true;
    }
};

}  // namespace

TEST(ParametrizableArgument, BracedNameIsDataDriven) {
    CParametrizableArgument arg("{Name}");
    EXPECT_TRUE(arg.IsDataDriven());
    EXPECT_EQ(arg.GetParametrizableValue(), "Name");
    EXPECT_EQ(arg.GetValue(), "{Name}");
    EXPECT_EQ(arg.GetScriptForm(), "{Name}");
}

TEST(ParametrizableArgument, LoneBraceAndPartialBracesAreLiterals) {
    for (const char* text : {"{", "x{Name}", "{Name", "}", "Name}", ""}) {
        CParametrizableArgument arg(text);
        EXPECT_FALSE(arg.IsDataDriven()) << text;
        EXPECT_EQ(arg.GetParametrizableValue(), text);
        EXPECT_EQ(arg.GetValue(), text);
        EXPECT_EQ(arg.GetScriptForm(), text);
    }
}

TEST(ParametrizableArgument, EmptyBracesAreDataDrivenWithEmptyName) {
    CParametrizableArgument arg("{}");
    EXPECT_TRUE(arg.IsDataDriven());
    EXPECT_EQ(arg.GetParametrizableValue(), "");
    EXPECT_EQ(arg.GetValue(), "{}");
    EXPECT_FALSE(arg.IsEmpty());
}

TEST(ParametrizableArgument, InnerClosingBraceBelongsToTheName) {
    CParametrizableArgument arg("{a}b}");
    EXPECT_TRUE(arg.IsDataDriven());
    EXPECT_EQ(arg.GetParametrizableValue(), "a}b");
}

TEST(ParametrizableArgument, ClosingBraceAsTrailByteIsNotAReference) {
    // 0x81 0x7D is one Shift-JIS character whose trail byte looks like "}".
    webstep::platform::SetProcessCodePage(webstep::platform::CP_SHIFT_JIS);
    CParametrizableArgument arg(MString("{a\x81}"));
    EXPECT_FALSE(arg.IsDataDriven());
    CParametrizableArgument real(MString("{\x81\x7D}"));
    EXPECT_TRUE(real.IsDataDriven());
    webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1);
    CParametrizableArgument latin(MString("{a\x81}"));
    EXPECT_TRUE(latin.IsDataDriven());
    webstep::platform::SetProcessCodePage(0);
}

TEST(ParametrizableArgument, DifferentFlagsWithEqualValuesCompareEqual) {
    CParametrizableArgument a(true, "x");
    CParametrizableArgument b(false, "x");
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    EXPECT_TRUE(a == MString("x"));
    EXPECT_TRUE(a != MString("X"));
}

TEST(ParametrizableArgument, FlagConstructorDoesNotLookAtBraces) {
    CParametrizableArgument arg(false, "{P}");
    EXPECT_FALSE(arg.IsDataDriven());
    EXPECT_EQ(arg.GetParametrizableValue(), "{P}");
    arg.Set(true, "plain");
    EXPECT_TRUE(arg.IsDataDriven());
    EXPECT_EQ(arg.GetScriptForm(), "{plain}");
}

TEST(ParametrizableArgument, SetRealValueKeepsTheScriptFormOfAReference) {
    CParametrizableArgument arg("{P}");
    arg.SetRealValue("run-time");
    EXPECT_TRUE(arg.IsDataDriven());
    EXPECT_EQ(arg.GetValue(), "run-time");
    EXPECT_EQ(arg.GetScriptForm(), "{P}");
    CParametrizableArgument literal("lit");
    literal.SetRealValue("{Q}");
    EXPECT_TRUE(literal.IsDataDriven());
    EXPECT_EQ(literal.GetParametrizableValue(), "Q");
}

TEST(ParametrizableArgument, EmptyClearsEverything) {
    CParametrizableArgument arg("{P}");
    arg.Empty();
    EXPECT_FALSE(arg.IsDataDriven());
    EXPECT_TRUE(arg.IsEmpty());
    arg = MString("{Q}");
    EXPECT_TRUE(arg.IsDataDriven());
}

TEST(ParametrizableArgument, SrcMatchesIgnoresCaseAndPathOfTheRecordedSource) {
    EXPECT_TRUE(CParametrizableArgument("/img/a.gif").SrcMatches(CParametrizableArgument("A.GIF")));
    EXPECT_FALSE(CParametrizableArgument("a.gif").SrcMatches(CParametrizableArgument("img/a.gif")));
    EXPECT_TRUE(CParametrizableArgument("A.gif").SrcMatches(CParametrizableArgument("a.GIF")));
    EXPECT_FALSE(
        CParametrizableArgument("/img/a.gif").SrcMatches(CParametrizableArgument("b.gif")));
    EXPECT_TRUE(CParametrizableArgument("dir/").SrcMatches(CParametrizableArgument("")));
}

TEST(ParametrizableArgument, ParametrizeWithoutContext) {
    EXPECT_TRUE(CParametrizableArgument("lit").Parametrize(nullptr));
    EXPECT_FALSE(CParametrizableArgument("{P}").Parametrize(nullptr));
}

TEST(ParametrizableArgument, ParametrizeThroughContextWritesTheCurrentValue) {
    CMapContext ctx;
    ctx.params["P"] = "42";
    const CParametrizableArgument arg("{P}");
    EXPECT_TRUE(arg.Parametrize(&ctx));
    EXPECT_EQ(arg.GetValue(), "42");
    EXPECT_EQ(arg.GetScriptForm(), "{P}");
    EXPECT_EQ(arg.Report(false, false, "x"), "42");
    const CParametrizableArgument missing("{Q}");
    EXPECT_FALSE(missing.Parametrize(&ctx));
    CContext plain;
    EXPECT_TRUE(missing.Parametrize(&plain));
}

TEST(ParametrizableArgument, AssignToParameterCallsTheContextOnlyForReferences) {
    CMapContext ctx;
    EXPECT_TRUE(CParametrizableArgument("lit").AssignToParameter(&ctx));
    EXPECT_EQ(ctx.assignCalls, 0);
    CParametrizableArgument arg("{P}");
    arg.SetRealValue("v");
    EXPECT_TRUE(arg.AssignToParameter(&ctx));
    EXPECT_EQ(ctx.assignCalls, 1);
    EXPECT_EQ(ctx.params["P"], "v");
    EXPECT_FALSE(arg.AssignToParameter(nullptr));
}
