// The script reader on scripts written as recorded scripts are written.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "webstep/platform/CodePage.h"
#include "webstep/script/ScriptReader.h"

namespace {

class ScriptReaderTest : public ::testing::Test {
protected:
    void SetUp() override { webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1); }
    void TearDown() override { webstep::platform::SetProcessCodePage(0); }

    ScriptReadResult Read(const std::string& text) {
        ScriptReadResult result;
        EXPECT_TRUE(m_Reader.Read(text, result));
        return result;
    }
    // The argument texts of a call.
    static std::vector<std::string> Texts(const ScriptCall& call) {
        std::vector<std::string> texts;
        for (const ScriptArgument& a : call.arguments)
            texts.push_back(a.value);
        return texts;
    }
    static std::vector<EScriptArgumentKind> Kinds(const ScriptCall& call) {
        std::vector<EScriptArgumentKind> kinds;
        for (const ScriptArgument& a : call.arguments)
            kinds.push_back(a.kind);
        return kinds;
    }

    CScriptReader m_Reader;
};

using K = EScriptArgumentKind;
using Strings = std::vector<std::string>;

TEST_F(ScriptReaderTest, RecordedUrlStepWithCrLfGivesNamePositionAndArguments) {
    auto r = Read(
        "Action()\r\n{\r\n\r\n\tweb_url(\"home\", \r\n\t\t\"URL=http://a.example/\", \r\n"
        "\t\t\"Resource=0\", \r\n\t\t\"Snapshot=t1.inf\", \r\n\t\tLAST);\r\n\r\n\treturn "
        "0;\r\n}\r\n");
    ASSERT_EQ(r.calls.size(), 1u);
    const ScriptCall& c = r.calls[0];
    EXPECT_EQ(c.kind, EScriptCallKind::Step);
    EXPECT_EQ(c.function, "web_url");
    EXPECT_EQ(c.line, 4u);
    EXPECT_EQ(c.column, 2u);
    EXPECT_EQ(Texts(c),
              (Strings{"home", "URL=http://a.example/", "Resource=0", "Snapshot=t1.inf", "LAST"}));
    EXPECT_EQ(Kinds(c),
              (std::vector<K>{K::Literal, K::Literal, K::Literal, K::Literal, K::Marker}));
    EXPECT_EQ(c.arguments[1].line, 5u);
    EXPECT_EQ(c.arguments[1].column, 3u);
    EXPECT_EQ(c.arguments[4].line, 8u);
    EXPECT_TRUE(r.diagnostics.empty());
    EXPECT_EQ(r.lineCount, 11u);
}

TEST_F(ScriptReaderTest, AdjacentLiteralsOverSeveralLinesAreConcatenated) {
    auto r = Read(
        "web_custom_request(\"api\",\n"
        "    \"Body={\\\"user\\\":\\\"{UserName}\\\",\"\n"
        "    \"\\\"pin\\\":\\\"{Pin}\\\"}\",\n"
        "    LAST);\n");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(Texts(r.calls[0]),
              (Strings{"api", "Body={\"user\":\"{UserName}\",\"pin\":\"{Pin}\"}", "LAST"}));
    EXPECT_EQ(r.calls[0].arguments[1].kind, K::Literal);
    EXPECT_EQ(r.calls[0].arguments[1].line, 2u);
}

TEST_F(ScriptReaderTest, CommentsBetweenAdjacentLiteralsAndInsideTheArgumentListAreSkipped) {
    auto r = Read(
        "web_url(\"a\", // the step name\n"
        "  /* \"Dropped=1\", */ \"URL=http://x/\" /* half */ \"path\" // and\n"
        "  \"/more\",\n"
        "  \"Resource=1\",  // web_url(\"x\") would not work here\n"
        "  LAST);\n");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(Texts(r.calls[0]), (Strings{"a", "URL=http://x/path/more", "Resource=1", "LAST"}));
}

TEST_F(ScriptReaderTest, ExtraResourcesBlockKeepsMarkersAndItems) {
    auto r = Read(
        "web_url(\"p\", \"URL=http://x/\", \"Resource=0\",\n"
        "  EXTRARES,\n"
        "  \"Url=/a.gif\", ENDITEM,\n"
        "  \"Url=/b.css\", \"Referer=http://x/\", ENDITEM,\n"
        "  LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(Texts(r.calls[0]),
              (Strings{"p", "URL=http://x/", "Resource=0", "EXTRARES", "Url=/a.gif", "ENDITEM",
                       "Url=/b.css", "Referer=http://x/", "ENDITEM", "LAST"}));
    EXPECT_EQ(r.calls[0].arguments[3].kind, K::Marker);
    EXPECT_EQ(r.calls[0].arguments[5].kind, K::Marker);
}

TEST_F(ScriptReaderTest, ItemDataAndHiddenFieldMarkersAreMarkers) {
    auto r = Read(
        "web_submit_data(\"login\", \"Action=http://x/l\", \"Method=POST\", ITEMDATA,\n"
        "  \"Name=user\", \"Value={User}\", ENDITEM,\n"
        "  STARTHIDDENS, \"Name=h\", \"Value=1\", ENDITEM, ENDHIDDENS, LAST);\n"
        "web_custom_request(\"raw\", \"Method=POST\", RAW_BODY_START, \"abc\", 3, LAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(Kinds(r.calls[0]),
              (std::vector<K>{K::Literal, K::Literal, K::Literal, K::Marker, K::Literal, K::Literal,
                              K::Marker, K::Marker, K::Literal, K::Literal, K::Marker, K::Marker,
                              K::Marker}));
    EXPECT_EQ(r.calls[0].arguments[4].value, "Name=user");
    EXPECT_EQ(r.calls[0].arguments[5].value, "Value={User}");
    EXPECT_EQ(Kinds(r.calls[1]), (std::vector<K>{K::Literal, K::Literal, K::Marker, K::Literal,
                                                 K::Expression, K::Marker}));
    EXPECT_EQ(r.calls[1].arguments[2].value, "RAW_BODY_START");
    EXPECT_EQ(r.calls[1].arguments[4].value, "3");
}

TEST_F(ScriptReaderTest, QuotedMarkerIsALiteralOfTheSameText) {
    auto r = Read("web_url(\"a\", \"URL=http://x/\", \"LAST\");");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[2].value, "LAST");
    EXPECT_EQ(r.calls[0].arguments[2].kind, K::Literal);
}

TEST_F(ScriptReaderTest, MarkerSpelledInOtherCaseIsABareIdentifierNotAMarker) {
    auto r = Read("web_url(\"a\", Last);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[1].value, "Last");
    EXPECT_EQ(r.calls[0].arguments[1].kind, K::Expression);
}

TEST_F(ScriptReaderTest, BodyBinaryKeepsDoubledBackslashEscapesAsText) {
    auto r = Read("web_custom_request(\"bin\", \"BodyBinary=\\\\x41\\\\x00\\x42\\t|\", LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    // \\x41 is the four characters \x41; \x42 is the byte B.
    EXPECT_EQ(r.calls[0].arguments[1].value, "BodyBinary=\\x41\\x00B\t|");
}

TEST_F(ScriptReaderTest, EscapesAreDecodedByTheTokenRulesIncludingTheOctalSlip) {
    auto r = Read("web_add_header(\"X\", \"\\101|\\0|\\x|\\x4142|\\/\\,\\q|\\\"|\\n\");");
    ASSERT_EQ(r.calls.size(), 1u);
    // \101 skips its first digit: byte 1. \0 is the character 0. \x alone is
    // x. \x4142 reads all hex digits into one byte (0x42). Other escapes give
    // the character itself.
    EXPECT_EQ(r.calls[0].arguments[1].value, std::string("\x01|0|x|\x42|/,q|\"|\n"));
}

TEST_F(ScriptReaderTest, EachAdjacentLiteralIsDecodedOnItsOwn) {
    // \x41 followed by a literal starting with a hex digit: C ends the escape
    // at the literal's end.
    auto r = Read("web_add_header(\"X\", \"\\x41\" \"BC\");");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[1].value, "ABC");
}

TEST_F(ScriptReaderTest, ParameterReferencesAndGuidBracesStayAsWritten) {
    auto r = Read("web_url(\"{Step}\", \"URL=http://x/{Path}?id={3F2504E0-4F89-11D3}\", LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(Texts(r.calls[0]),
              (Strings{"{Step}", "URL=http://x/{Path}?id={3F2504E0-4F89-11D3}", "LAST"}));
}

TEST_F(ScriptReaderTest, ByteOrderMarkIsSkippedAndNotCountedInColumns) {
    auto r = Read("\xEF\xBB\xBFweb_url(\"\xE4\xB8\xAD\", LAST);\n");
    EXPECT_TRUE(r.hasByteOrderMark);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].line, 1u);
    EXPECT_EQ(r.calls[0].column, 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "\xE4\xB8\xAD");
}

TEST_F(ScriptReaderTest, StepNamesHoldingEqualsOrSemicolonAreWholeLiterals) {
    auto r = Read("web_url(\"index.html;sid={S}\", LAST);\nweb_url(\"a=b\", LAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "index.html;sid={S}");
    EXPECT_EQ(r.calls[1].arguments[0].value, "a=b");
}

TEST_F(ScriptReaderTest, MixedLineEndsCountLinesAlike) {
    auto r = Read("\r\n\n\rweb_url(\"a\", LAST);\r\n\nweb_url(\"b\",\r\"c\",\nLAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].line, 4u);
    EXPECT_EQ(r.calls[1].line, 6u);
    EXPECT_EQ(r.calls[1].arguments[1].line, 7u);
    EXPECT_EQ(r.calls[1].arguments[2].line, 8u);
}

TEST_F(ScriptReaderTest, CallsInsideCommentsAndLiteralsAreNotCalls) {
    auto r = Read(
        "// web_url(\"disabled\", LAST);\n"
        "/* web_link(\"x\", LAST); */\n"
        "qz_output_message(\"web_url(\\\"start\\\") in init, LAST);\");\n"
        "web_url(\"real\", LAST);\n");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "real");
    EXPECT_EQ(r.calls[0].line, 4u);
}

TEST_F(ScriptReaderTest, PreprocessorLinesAreSkippedWithTheirContinuations) {
    auto r = Read(
        "#include \"site_common.h\"\n"
        "#define STEP web_url(\"macro\", \\\n"
        "    LAST)\n"
        "  # define Q 'x\n"
        "web_url(\"a\", LAST); # not at line start\n");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "a");
    EXPECT_EQ(r.calls[0].line, 5u);
    EXPECT_TRUE(r.diagnostics.empty());
}

TEST_F(ScriptReaderTest, OtherExpressionsAreOpaqueWithTheirSourceText) {
    auto r = Read(
        "web_url(\"a\", NULL, trace_id, 42, (char*) buf, qz_eval_string(\"{x}\"),\n"
        "  \"URL=\" BASE_URL \"/status\", HTTP_INFO_RETURN_CODE, L\"w\", 'c', LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(Texts(r.calls[0]),
              (Strings{"a", "NULL", "trace_id", "42", "(char*) buf", "qz_eval_string(\"{x}\")",
                       "\"URL=\" BASE_URL \"/status\"", "HTTP_INFO_RETURN_CODE", "L\"w\"", "'c'",
                       "LAST"}));
    for (size_t i = 1; i + 1 < r.calls[0].arguments.size(); ++i)
        EXPECT_TRUE(r.calls[0].arguments[i].IsOpaque()) << i;
    EXPECT_TRUE(r.calls[0].HasOpaqueArguments());
}

TEST_F(ScriptReaderTest, UnknownWebFunctionsAreReportedWithTheirArguments) {
    auto r = Read("web_reg_save_param_ex(\"ParamName=x\", \"LB=a\", LAST);\nlr_foo(\"x\");");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].kind, EScriptCallKind::UnknownFunction);
    EXPECT_EQ(r.calls[0].function, "web_reg_save_param_ex");
    EXPECT_EQ(Texts(r.calls[0]), (Strings{"ParamName=x", "LB=a", "LAST"}));
}

TEST_F(ScriptReaderTest, FlexAndSilverlightRequestsAreSteps) {
    auto r = Read("flex_web_request(\"a\", LAST); silverlight_web_request(\"b\", LAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].kind, EScriptCallKind::Step);
    EXPECT_EQ(r.calls[1].kind, EScriptCallKind::Step);
}

TEST_F(ScriptReaderTest, TransactionsAndThinkTimesKeepTheirPlaceAmongSteps) {
    auto r = Read(
        "qz_start_transaction(\"T1\");\nweb_url(\"a\", LAST);\n"
        "qz_end_transaction(\"T1\", QZ_AUTO);\nqz_think_time(15);\nweb_url(\"b\", LAST);");
    ASSERT_EQ(r.calls.size(), 5u);
    EXPECT_EQ(r.calls[0].kind, EScriptCallKind::StartTransaction);
    EXPECT_EQ(Texts(r.calls[0]), (Strings{"T1"}));
    EXPECT_EQ(r.calls[1].kind, EScriptCallKind::Step);
    EXPECT_EQ(r.calls[2].kind, EScriptCallKind::EndTransaction);
    EXPECT_EQ(Kinds(r.calls[2]), (std::vector<K>{K::Literal, K::Expression}));
    EXPECT_EQ(r.calls[3].kind, EScriptCallKind::ThinkTime);
    EXPECT_EQ(Texts(r.calls[3]), (Strings{"15"}));
    EXPECT_EQ(r.calls[4].arguments[0].value, "b");
}

TEST_F(ScriptReaderTest, CallsWhoseResultIsUsedAreFound) {
    auto r = Read(
        "rc = web_custom_request(\"a\", LAST);\n"
        "if (web_get_int_property(HTTP_INFO_RETURN_CODE) != 200) return;\n"
        "qz_output_message(\"%d\", web_get_int_property(HTTP_INFO_DOWNLOAD_SIZE));\n"
        "return web_url(\"r\", LAST);\n"
        "(void)web_url(\"v\", LAST);\n");
    ASSERT_EQ(r.calls.size(), 5u);
    EXPECT_EQ(r.calls[0].function, "web_custom_request");
    EXPECT_EQ(Texts(r.calls[1]), (Strings{"HTTP_INFO_RETURN_CODE"}));
    EXPECT_EQ(Texts(r.calls[2]), (Strings{"HTTP_INFO_DOWNLOAD_SIZE"}));
    EXPECT_EQ(r.calls[3].arguments[0].value, "r");
    EXPECT_EQ(r.calls[4].arguments[0].value, "v");
}

TEST_F(ScriptReaderTest, NestedStepCallsAreBothFoundInTextOrder) {
    auto r = Read("web_add_header(\"X\", web_get_int_property(HTTP_INFO_RETURN_CODE));");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].function, "web_add_header");
    EXPECT_EQ(Texts(r.calls[0]), (Strings{"X", "web_get_int_property(HTTP_INFO_RETURN_CODE)"}));
    EXPECT_EQ(r.calls[1].function, "web_get_int_property");
    EXPECT_EQ(r.calls[1].column, 21u);
}

TEST_F(ScriptReaderTest, MemberUsesAndDeclarationsAreNotCalls) {
    auto r = Read(
        "int web_url(const char* name, ...);\n"
        "extern int web_link(const char*, ...);\n"
        "s.web_url(\"m\"); p->web_url(\"n\");\n"
        "web_url(\"call\", LAST);\n");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "call");
}

TEST_F(ScriptReaderTest, FunctionDefinitionsAreNotCalls) {
    auto r = Read(
        "web_helper(const char* name)\n{\n\tweb_url(name, LAST);\n}\n"
        "int\nweb_other(void) { return 0; }\n");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].function, "web_url");
    EXPECT_EQ(r.calls[0].arguments[0].kind, K::Expression);
    EXPECT_TRUE(r.diagnostics.empty());
}

TEST_F(ScriptReaderTest, NameWithoutParenthesisIsNoCall) {
    auto r = Read("fp = web_url; x = web_url /* c */ + 1; web_url /* gap */ (\"g\", LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "g");
}

TEST_F(ScriptReaderTest, EmptyArgumentListGivesNoArguments) {
    auto r = Read("web_cleanup_cookies();");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_TRUE(r.calls[0].arguments.empty());
    EXPECT_TRUE(r.diagnostics.empty());
}

TEST_F(ScriptReaderTest, CustomFunctionTestDecidesWhatIsAStep) {
    CScriptReader reader([](const MString& name) { return name == "web_url" || name == "my_req"; });
    ScriptReadResult r;
    ASSERT_TRUE(
        reader.Read(MString("web_url(\"a\"); web_link(\"b\"); my_req(\"c\"); other(\"d\");"), r));
    ASSERT_EQ(r.calls.size(), 3u);
    EXPECT_EQ(r.calls[0].kind, EScriptCallKind::Step);
    EXPECT_EQ(r.calls[1].kind, EScriptCallKind::UnknownFunction);
    EXPECT_EQ(r.calls[2].kind, EScriptCallKind::Step);
    EXPECT_EQ(r.calls[2].function, "my_req");
}

TEST_F(ScriptReaderTest, RegisteredNamesAreTheFortyNineParserNames) {
    EXPECT_TRUE(CScriptReader::IsRegisteredStepFunction("web_url"));
    EXPECT_TRUE(CScriptReader::IsRegisteredStepFunction("web_global_verification_resume"));
    EXPECT_TRUE(CScriptReader::IsRegisteredStepFunction("silverlight_web_request"));
    EXPECT_FALSE(CScriptReader::IsRegisteredStepFunction("WEB_URL"));
    EXPECT_FALSE(CScriptReader::IsRegisteredStepFunction("web_reg_save_param_ex"));
    EXPECT_FALSE(CScriptReader::IsRegisteredStepFunction(""));
}

TEST_F(ScriptReaderTest, ArgumentListIsTheTextsInOrder) {
    auto r = Read("web_url(\"a\", x, LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    std::list<MString> list = r.calls[0].GetArgumentList();
    EXPECT_EQ(list, (std::list<MString>{"a", "x", "LAST"}));
}

TEST_F(ScriptReaderTest, CharacterLiteralHoldingAQuoteDoesNotOpenAString) {
    auto r = Read("c = '\"'; web_url(\"a\", LAST); d = '\\''; web_url(\"b\", LAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[1].arguments[0].value, "b");
    EXPECT_TRUE(r.diagnostics.empty());
}

TEST_F(ScriptReaderTest, SpliceInsideALiteralJoinsTheLines) {
    auto r = Read("web_url(\"ab\\\r\ncd\", LAST);\nweb_url(\"e\", LAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "abcd");
    EXPECT_EQ(r.calls[1].line, 3u);
}

TEST_F(ScriptReaderTest, LiteralOfTwoHundredKilobytesIsReadWhole) {
    std::string body(200 * 1024, 'a');
    for (size_t i = 0; i < body.size(); i += 100)
        body[i] = '\\', body[i + 1] = 'n';
    auto r =
        Read("web_custom_request(\"big\", \"Body=" + body + "\", LAST);\nweb_url(\"n\", LAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].arguments[1].value.size(), 5 + body.size() - body.size() / 100);
    EXPECT_EQ(r.calls[1].line, 2u);
}

TEST_F(ScriptReaderTest, ManyAdjacentPiecesOfOneArgumentAreReadInLinearTime) {
    // 20,000 pieces of 50 bytes: a rescan per piece would take minutes.
    std::string text = "web_custom_request(\"big\",\n";
    for (int i = 0; i < 20000; ++i)
        text += "  \"" + std::string(48, 'x') + "\"\n";
    text += "  , LAST);";
    auto r = Read(text);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[1].value.size(), 20000u * 48u);
}

TEST_F(ScriptReaderTest, DoubleByteTrailBackslashDoesNotEscapeTheClosingQuote) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_GBK);
    // 0x95 0x5C is one GBK character whose second byte is a backslash.
    auto r = Read("web_url(\"\x95\x5C\", LAST);\nweb_url(\"b\", LAST);");
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "\x95\x5C");
    EXPECT_EQ(r.calls[0].arguments[1].kind, K::Marker);
    EXPECT_TRUE(r.diagnostics.empty());
}

TEST_F(ScriptReaderTest, SingleByteCodePageTakesTheSameBackslashAsAnEscape) {
    // In a single-byte code page the backslash escapes the quote: the literal
    // runs to the line end, and the call is reported, not read.
    auto r = Read("web_url(\"\x95\x5C\", LAST);\nweb_url(\"b\", LAST);");
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].arguments[0].value, "b");
    EXPECT_GE(r.GetErrorCount(), 1u);
}

TEST_F(ScriptReaderTest, BytesAboveAsciiAreKeptAsTheyAreInAllCodePages) {
    for (unsigned int cp : {webstep::platform::CP_LATIN1, webstep::platform::CP_UTF8,
                            webstep::platform::CP_GBK, 1251u}) {
        webstep::platform::SetProcessCodePage(cp);
        auto r = Read("web_url(\"\xD0\x9F\xD1\x80\xC8\xB7\", LAST);");
        ASSERT_EQ(r.calls.size(), 1u) << cp;
        EXPECT_EQ(r.calls[0].arguments[0].value, "\xD0\x9F\xD1\x80\xC8\xB7") << cp;
    }
}

TEST_F(ScriptReaderTest, ReadFileReadsTheFileAndFailsPlainlyWhenMissing) {
    ScriptReadResult r;
    EXPECT_FALSE(m_Reader.ReadFile("/nonexistent/dir/action.c", r));
    ASSERT_EQ(r.diagnostics.size(), 1u);
    EXPECT_EQ(r.diagnostics[0].code, EScriptDiagnostic::ReadFailed);
    EXPECT_FALSE(m_Reader.ReadFile(nullptr, r));

    std::string path = ::testing::TempDir() + "script_reader_file.c";
    FILE* f = fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    fputs("Action()\r\n{\r\n\tweb_url(\"f\", LAST);\r\n}\r\n", f);
    fclose(f);
    ASSERT_TRUE(m_Reader.ReadFile(path.c_str(), r));
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].line, 3u);
    EXPECT_EQ(r.byteCount, 38u);
    remove(path.c_str());
}

TEST_F(ScriptReaderTest, EmptyAndNullTextsGiveNothing) {
    ScriptReadResult r;
    EXPECT_TRUE(m_Reader.Read(nullptr, 10, r));
    EXPECT_TRUE(r.calls.empty());
    EXPECT_EQ(r.lineCount, 0u);
    r = Read("");
    EXPECT_TRUE(r.calls.empty());
    EXPECT_TRUE(r.diagnostics.empty());
    r = Read("\xEF\xBB\xBF");
    EXPECT_TRUE(r.hasByteOrderMark);
    EXPECT_EQ(r.lineCount, 0u);
}

TEST_F(ScriptReaderTest, KindNamesAreStable) {
    EXPECT_STREQ(CScriptReader::GetCallKindName(EScriptCallKind::UnknownFunction), "unknown");
    EXPECT_STREQ(CScriptReader::GetArgumentKindName(EScriptArgumentKind::Expression), "expression");
    EXPECT_STREQ(CScriptReader::GetDiagnosticName(EScriptDiagnostic::CallCutOff), "call-cut-off");
}

}  // namespace
