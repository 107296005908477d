// The script reader on broken C: every problem is reported with its position
// and the reading goes on with the next call.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "webstep/platform/CodePage.h"
#include "webstep/script/ScriptReader.h"

namespace {

class ScriptReaderBrokenTest : public ::testing::Test {
protected:
    void SetUp() override { webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1); }
    void TearDown() override { webstep::platform::SetProcessCodePage(0); }

    ScriptReadResult Read(const std::string& text) {
        ScriptReadResult result;
        EXPECT_TRUE(m_Reader.Read(text, result));
        return result;
    }
    static const ScriptDiagnostic* Find(const ScriptReadResult& r, EScriptDiagnostic code) {
        for (const ScriptDiagnostic& d : r.diagnostics) {
            if (d.code == code)
                return &d;
        }
        return nullptr;
    }

    CScriptReader m_Reader;
};

TEST_F(ScriptReaderBrokenTest, UnclosedStringIsReportedAndTheNextCallIsRead) {
    auto r = Read(
        "web_url(\"a\",\n"
        "  \"URL=http://x/, \n"
        "  LAST);\n"
        "web_url(\"next\", LAST);\n");
    const ScriptDiagnostic* open = Find(r, EScriptDiagnostic::UnterminatedString);
    ASSERT_NE(open, nullptr);
    EXPECT_EQ(open->line, 2u);
    EXPECT_EQ(open->column, 3u);
    EXPECT_TRUE(open->error);
    const ScriptDiagnostic* dropped = Find(r, EScriptDiagnostic::MalformedCall);
    ASSERT_NE(dropped, nullptr);
    EXPECT_EQ(dropped->function, "web_url");
    EXPECT_EQ(dropped->callLine, 1u);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "next");
    EXPECT_EQ(r.calls[0].line, 4u);
}

TEST_F(ScriptReaderBrokenTest, MissingClosingParenthesisBeforeSemicolonIsReported) {
    auto r = Read("web_url(\"a\", \"URL=http://x/\", LAST;\nweb_url(\"b\", LAST);");
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::CallNotClosed);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->line, 1u);
    EXPECT_EQ(d->column, 35u);
    EXPECT_EQ(d->callLine, 1u);
    EXPECT_EQ(d->callColumn, 1u);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "b");
}

TEST_F(ScriptReaderBrokenTest, MissingParenthesisAndSemicolonLoseOnlyTheBrokenCall) {
    auto r = Read("web_url(\"a\", LAST\n\nweb_url(\"b\", LAST);\nweb_url(\"c\", LAST);");
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::CallNotClosed);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->callLine, 1u);
    EXPECT_EQ(d->line, 3u);
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "b");
    EXPECT_EQ(r.calls[1].arguments[0].value, "c");
}

TEST_F(ScriptReaderBrokenTest, CallCutOffByTheEndOfTheTextIsReported) {
    auto r = Read("web_url(\"a\", LAST);\nweb_url(\"b\",\n  \"URL=");
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::CallCutOff);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->callLine, 2u);
    EXPECT_EQ(d->function, "web_url");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "a");
}

TEST_F(ScriptReaderBrokenTest, NameAtTheVeryEndOfTheTextIsNoCall) {
    auto r = Read("web_url");
    EXPECT_TRUE(r.calls.empty());
    EXPECT_TRUE(r.diagnostics.empty());
    r = Read("web_url(");
    EXPECT_TRUE(r.calls.empty());
    EXPECT_NE(Find(r, EScriptDiagnostic::CallCutOff), nullptr);
}

TEST_F(ScriptReaderBrokenTest, ExtraClosingParenthesisIsAWarning) {
    auto r = Read("web_url(\"a\", LAST));\nweb_url(\"b\", LAST);");
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::UnbalancedParenthesis);
    ASSERT_NE(d, nullptr);
    EXPECT_FALSE(d->error);
    EXPECT_EQ(d->column, 19u);
    EXPECT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.GetErrorCount(), 0u);
    EXPECT_EQ(r.GetWarningCount(), 1u);
}

TEST_F(ScriptReaderBrokenTest, UnclosedCommentEndsTheTextButKeepsEarlierCalls) {
    auto r = Read("web_url(\"a\", LAST);\n/* web_url(\"b\", LAST);\nweb_url(\"c\", LAST);");
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::UnterminatedComment);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->line, 2u);
    EXPECT_EQ(d->column, 1u);
    ASSERT_EQ(r.calls.size(), 1u);
}

TEST_F(ScriptReaderBrokenTest, EmptyArgumentDropsTheCall) {
    auto r = Read("web_url(\"a\",, LAST);\nweb_url(\"b\", LAST,);\nweb_url(\"c\", LAST);");
    size_t empties = 0;
    for (const ScriptDiagnostic& d : r.diagnostics)
        empties += d.code == EScriptDiagnostic::EmptyArgument ? 1 : 0;
    EXPECT_EQ(empties, 2u);
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::EmptyArgument);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->line, 1u);
    EXPECT_EQ(d->column, 13u);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "c");
}

TEST_F(ScriptReaderBrokenTest, BraceInsideAnArgumentListEndsTheCall) {
    auto r = Read("void f() {\n web_url(\"a\",\n}\nint g() { web_url(\"b\", LAST); }");
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::CallNotClosed);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->line, 3u);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "b");
}

TEST_F(ScriptReaderBrokenTest, UnclosedCharacterLiteralIsReported) {
    auto r = Read("web_url(\"a\", 'x, LAST);\nweb_url(\"b\", LAST);");
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::UnterminatedCharacter);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->column, 14u);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "b");
}

TEST_F(ScriptReaderBrokenTest, NulBytesAreSkippedWithAWarning) {
    const std::string text("web_url(\"a\", \0LAST);\nweb_url(\"b\0c\", LAST);", 42);
    auto r = Read(text);
    const ScriptDiagnostic* d = Find(r, EScriptDiagnostic::NulByte);
    ASSERT_NE(d, nullptr);
    EXPECT_FALSE(d->error);
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].arguments[1].value, "LAST");
    EXPECT_EQ(r.calls[1].arguments[0].value, "bc");
}

TEST_F(ScriptReaderBrokenTest, HugeUnclosedLiteralAtTheEndIsReportedWithoutHanging) {
    std::string text =
        "web_url(\"a\", LAST);\nweb_custom_request(\"b\", \"Body=" + std::string(200 * 1024, 'z');
    auto r = Read(text);
    EXPECT_NE(Find(r, EScriptDiagnostic::UnterminatedString), nullptr);
    EXPECT_NE(Find(r, EScriptDiagnostic::CallCutOff), nullptr);
    ASSERT_EQ(r.calls.size(), 1u);
}

TEST_F(ScriptReaderBrokenTest, DeepNestingNeitherOverflowsNorSlowsDown) {
    std::string text =
        "web_url(\"a\", " + std::string(200000, '(') + "x" + std::string(200000, ')') + ", LAST);";
    for (int i = 0; i < 1000; ++i)
        text += "web_url(" + std::string(50, '(') + ";";
    text += "web_url(\"z\", LAST);";
    auto r = Read(text);
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].arguments[1].value.size(), 400001u);
    EXPECT_EQ(r.calls[1].arguments[0].value, "z");
}

TEST_F(ScriptReaderBrokenTest, UnmatchedOpeningParenthesesOutsideCallsDoNotSwallowCalls) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "if ((x ";
    text += "\nweb_url(\"a\", LAST);";
    for (int i = 0; i < 3000; ++i)
        text += "web_link(\"l\";";
    auto r = Read(text);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "a");
    EXPECT_EQ(r.GetErrorCount(), 3000u);
}

TEST_F(ScriptReaderBrokenTest, ManyBrokenLiteralsInsideDeeplyNestedCallsStayLinear) {
    std::string text;
    for (int i = 0; i < 30000; ++i)
        text += "web_url(\n";
    for (int i = 0; i < 30000; ++i)
        text += "\"open\n";
    text += ";web_url(\"z\", LAST);";
    auto r = Read(text);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "z");
    EXPECT_EQ(r.diagnostics.size(), 60000u);
}

TEST_F(ScriptReaderBrokenTest, BrokenLiteralInsideAnInnerCallDropsTheCallsAroundItOnly) {
    auto r = Read(
        "web_add_header(\"X\", web_get_int_property(\"a));\n"
        "));\n"
        "web_url(\"ok\", LAST);");
    size_t dropped = 0;
    for (const ScriptDiagnostic& d : r.diagnostics)
        dropped += d.code == EScriptDiagnostic::MalformedCall ? 1 : 0;
    EXPECT_EQ(dropped, 2u);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "ok");
}

TEST_F(ScriptReaderBrokenTest, MismatchedBracketIsIgnoredWithAWarning) {
    auto r = Read("web_url(\"a\", x[1), LAST);\nweb_url(\"b\", LAST);");
    EXPECT_NE(Find(r, EScriptDiagnostic::UnbalancedParenthesis), nullptr);
    EXPECT_NE(Find(r, EScriptDiagnostic::CallNotClosed), nullptr);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "b");
}

TEST_F(ScriptReaderBrokenTest, RandomBytesNeverCrash) {
    std::mt19937 random(12345);
    const char alphabet[] = "web_url(\"\\/*\n\r\t,;){}#'LAST x0\xA1\x5C\x95";
    for (int round = 0; round < 300; ++round) {
        std::string text;
        size_t length = random() % 400;
        for (size_t i = 0; i < length; ++i) {
            if (random() % 5 == 0)
                text.push_back(static_cast<char>(random() % 256));
            else
                text.push_back(alphabet[random() % (sizeof alphabet - 1)]);
        }
        for (unsigned int cp : {webstep::platform::CP_LATIN1, webstep::platform::CP_GBK,
                                webstep::platform::CP_UTF8}) {
            webstep::platform::SetProcessCodePage(cp);
            ScriptReadResult r;
            EXPECT_TRUE(m_Reader.Read(text, r));
            for (const ScriptCall& call : r.calls) {
                EXPECT_GE(call.line, 1u);
                EXPECT_LE(call.offset + call.function.size(), text.size());
            }
        }
    }
}

TEST_F(ScriptReaderBrokenTest, BrokenCallInsideAnotherCallDropsBoth) {
    auto r = Read(
        "web_add_header(\"X\", web_get_int_property(HTTP_INFO_RETURN_CODE);\n"
        "web_url(\"ok\", LAST);");
    size_t notClosed = 0;
    for (const ScriptDiagnostic& d : r.diagnostics)
        notClosed += d.code == EScriptDiagnostic::CallNotClosed ? 1 : 0;
    // The inner call closed; the outer one did not.
    EXPECT_EQ(notClosed, 1u);
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].function, "web_get_int_property");
    EXPECT_EQ(r.calls[1].arguments[0].value, "ok");
}

}  // namespace
