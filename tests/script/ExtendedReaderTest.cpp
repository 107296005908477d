// What the script reader records for the warnings of real scripts: adjacent
// literals that each look like an attribute (a missing comma), and a step
// call whose value is used.
#include <gtest/gtest.h>

#include <string>

#include "webstep/script/ScriptReader.h"

namespace {

ScriptReadResult Read(const std::string& text) {
    ScriptReadResult result;
    CScriptReader reader;
    reader.Read(text.data(), text.size(), result);
    return result;
}

}  // namespace

TEST(ExtendedReaderMergedLiterals, TwoAttributesWithoutACommaAreMarkedAtTheSecond) {
    const ScriptReadResult r = Read(
        "web_url(\"a\", \"URL=http://x/\", \"Resource=0\"\n"
        "        \"RecContentType=text/html\", LAST);\n");
    ASSERT_EQ(r.calls.size(), 1u);
    const ScriptArgument& merged = r.calls[0].arguments[2];
    EXPECT_EQ(merged.value, "Resource=0RecContentType=text/html");
    EXPECT_EQ(merged.mergedLine, 2u);
    EXPECT_EQ(merged.mergedColumn, 9u);
    EXPECT_EQ(r.calls[0].arguments[1].mergedLine, 0u);
}

TEST(ExtendedReaderMergedLiterals, AnEmptyAttributeBeforeAnotherIsMarked) {
    const ScriptReadResult r = Read("web_url(\"a\", \"Referer=\" \"Snapshot=t1.inf\", LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_NE(r.calls[0].arguments[1].mergedLine, 0u);
}

TEST(ExtendedReaderMergedLiterals, EscapedLiteralsAreJudgedByTheirDecodedText) {
    const ScriptReadResult r = Read("web_url(\"a\", \"Name=\\x41\" \"Value=\\x42\", LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[1].value, "Name=AValue=B");
    EXPECT_NE(r.calls[0].arguments[1].mergedLine, 0u);
}

TEST(ExtendedReaderMergedLiterals, ValuesSplitOverLiteralsAreNotMarked) {
    // A query continued after "&", a cookie list after "; ", a value that
    // does not begin with a name and an equals sign, a body that begins in
    // the literal after "Body=".
    const ScriptReadResult r = Read(
        "web_url(\"a\", \"URL=http://x/?a=1&\" \"b=2\", \"Cookie=a=1; \" \"b=2\",\n"
        "        \"Body=<xml>\" \"</xml>\", \"Body=\" \"a=1\", LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    for (const ScriptArgument& argument : r.calls[0].arguments)
        EXPECT_EQ(argument.mergedLine, 0u) << argument.value;
}

TEST(ExtendedReaderValueUse, AssignedComparedTestedReturnedAndPassedOnAreUses) {
    const ScriptReadResult r = Read(
        "Action() {\n"
        "    rc = web_url(\"a\", LAST);\n"
        "    if (web_url(\"b\", LAST) != 0) return 1;\n"
        "    if (!web_url(\"c\", LAST)) return 2;\n"
        "    return web_url(\"d\", LAST);\n"
        "    lr_log(web_url(\"e\", LAST));\n"
        "}\n");
    ASSERT_EQ(r.calls.size(), 5u);
    for (const ScriptCall& call : r.calls)
        EXPECT_TRUE(call.returnValueUsed) << call.arguments[0].value;
}

TEST(ExtendedReaderValueUse, StatementsCastsToVoidAndBranchesAreNotUses) {
    const ScriptReadResult r = Read(
        "Action() {\n"
        "    web_url(\"a\", LAST);\n"
        "    (void)web_url(\"b\", LAST);\n"
        "    if (x) web_url(\"c\", LAST); else web_url(\"d\", LAST);\n"
        "    { web_url(\"e\", LAST); }\n"
        "    label: web_url(\"f\", LAST);\n"
        "}\n");
    ASSERT_EQ(r.calls.size(), 6u);
    for (const ScriptCall& call : r.calls)
        EXPECT_FALSE(call.returnValueUsed) << call.arguments[0].value;
}
