// The script vocabulary: keyword texts, value tables, defaults, terminators
// and the decoding of script string tokens.
#include "webstep/script/WebStepScript.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "webstep/platform/CodePage.h"

namespace {

MString Decode(const char* token) {
    MString value = "garbage";
    CWebStepScript::SetTokenValue(token, value);
    return value;
}

class ScriptCodePage : public ::testing::Test {
protected:
    void SetUp() override { webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1); }
    void TearDown() override { webstep::platform::SetProcessCodePage(0); }
};

using SetTokenValueTest = ScriptCodePage;

}  // namespace

TEST(WebStepScriptKeywords, SharedTextsAreDeliberate) {
    EXPECT_STREQ(CWebStepScript::KeyWord_LinkText, "Text");
    EXPECT_STREQ(CWebStepScript::KeyWord_Text, "Text");
    EXPECT_STREQ(CWebStepScript::KeyWord_Body, "Body");
    EXPECT_STREQ(CWebStepScript::KeyWord_ScopeBody, "Body");
}

TEST(WebStepScriptKeywords, RecordedContentTypeIsNotTheFieldContentType) {
    EXPECT_STREQ(CWebStepScript::KeyWord_ContentType, "RecContentType");
    EXPECT_STREQ(CWebStepScript::KeyWord_FormFieldContentType, "ContentType");
}

TEST(WebStepScriptKeywords, EveryKeywordHasItsExactText) {
    struct Row {
        const char* actual;
        const char* expected;
    };
    using S = CWebStepScript;
    const Row rows[] = {
        {S::KeyWord_Url, "URL"},
        {S::KeyWord_ImageAlt, "Alt"},
        {S::KeyWord_ImageSrc, "Src"},
        {S::KeyWord_ImageMapName, "MapName"},
        {S::KeyWord_ImageAreaAlt, "AreaAlt"},
        {S::KeyWord_ImageAreaOrdinal, "AreaOrdinal"},
        {S::KeyWord_Binary, "Binary"},
        {S::KeyWord_Action, "Action"},
        {S::KeyWord_Method, "Method"},
        {S::KeyWord_EncType, "EncType"},
        {S::KeyWord_TargetFrame, "TargetFrame"},
        {S::KeyWord_Frame, "Frame"},
        {S::KeyWord_Ordinal, "Ordinal"},
        {S::KeyWord_BodyBinary, "BodyBinary"},
        {S::KeyWord_BodyUnicode, "BodyUnicode"},
        {S::KeyWord_FtpAscii, "FtpAscii"},
        {S::KeyWord_Resource, "Resource"},
        {S::KeyWord_Snapshot, "Snapshot"},
        {S::KeyWord_Referer, "Referer"},
        {S::KeyWord_Mode, "Mode"},
        {S::KeyWord_LastItem, "LAST"},
        {S::KeyWord_EndItem, "ENDITEM"},
        {S::KeyWord_ItemData, "ITEMDATA"},
        {S::KeyWord_StartHiddens, "STARTHIDDENS"},
        {S::KeyWord_EndHiddens, "ENDHIDDENS"},
        {S::KeyWord_BodyVariablePrefix, "body"},
        {S::KeyWord_ContentEncoding, "ContentEncoding"},
        {S::KeyWord_UserAgent, "UserAgent"},
        {S::KeyWord_ResourceByteLimit, "ResourceByteLimit"},
        {S::KeyWord_StartRes, "EXTRARES"},
        {S::KeyWord_NameRegExp, "NameRegExp"},
        {S::KeyWord_ValueRegExp, "ValueRegExp"},
        {S::KeyWord_True, "1"},
        {S::KeyWord_False, "0"},
        {S::KeyWord_Yes, "yes"},
        {S::KeyWord_No, "no"},
        {S::KeyWord_FormFieldName, "Name"},
        {S::KeyWord_FormFieldNamePfx, "NamePfx"},
        {S::KeyWord_FormFieldNameSfx, "NameSfx"},
        {S::KeyWord_FormFieldValue, "Value"},
        {S::KeyWord_FormFieldFile, "File"},
        {S::KeyWord_FormFieldSent, "Sent"},
        {S::KeyWord_FormFieldFilePath, "FilePath"},
        {S::KeyWord_FormFieldContentTransferEncoding, "ContentTransferEncoding"},
        {S::KeyWord_ImageMapXCoord, "XCoord"},
        {S::KeyWord_ImageMapYCoord, "YCoord"},
        {S::KeyWord_ParamName, "ParamName"},
        {S::KeyWord_LeftBound, "LB"},
        {S::KeyWord_RightBound, "RB"},
        {S::KeyWord_BoundIgnoreCase, "IC"},
        {S::KeyWord_BoundBinary, "BIN"},
        {S::KeyWord_BoundUseNum, "DIG"},
        {S::KeyWord_Instance, "Ord"},
        {S::KeyWord_NotFound, "NotFound"},
        {S::KeyWord_SearchScope, "Search"},
        {S::KeyWord_ScopeHeader, "Headers"},
        {S::KeyWord_ScopeAll, "All"},
        {S::KeyWord_SaveCount, "SaveCount"},
        {S::KeyWord_Fail, "Fail"},
        {S::KeyWord_RelFrameId, "RelFrameId"},
        {S::KeyWord_CallbackName, "AutoCorrelationFunction"},
        {S::KeyWord_CallbackDLLName, "AutoCorrelationDll"},
        {S::KeyWord_TextSfx, "TextSfx"},
        {S::KeyWord_TextPfx, "TextPfx"},
        {S::KeyWord_ImplicitGeneration, "ImplicitGen"},
        {S::KeyWord_CustomReq_RawBodyStart, "RAW_BODY_START"},
        {S::KeyWord_EncodeAtSign, "EncodeAtSign"},
        {S::KeyWord_Cookie, "Cookie"},
        {S::KeyWord_Insert, "Insert"},
        {S::KeyWord_ID, "ID"},
        {S::KeyWord_IgnoreRedirections, "IgnoreRedirections"},
        {S::KeyWord_ClassName, "ClassName"},
        {S::KeyWord_FindRightOf, "RightOf"},
        {S::KeyWord_FindLeftOf, "LeftOf"},
        {S::KeyWord_FindInside, "inside"},
        {S::KeyWord_FindWhat, "what"},
        {S::KeyWord_FindType, "type"},
        {S::KeyWord_Expect, "Expect"},
        {S::KeyWord_MatchCase, "MatchCase"},
        {S::KeyWord_Repeat, "Repeat"},
        {S::KeyWord_Report, "Report"},
        {S::KeyWord_AbortOnFailure, "onfailure"},
        {S::m_paramLeftBrace, "{"},
        {S::m_paramRightBrace, "}"},
    };
    for (const Row& row : rows)
        EXPECT_STREQ(row.actual, row.expected);
}

namespace {

std::string Dump(const CWebStepScript::AttrTableEntry* table) {
    std::string out;
    for (; table->name != nullptr; ++table)
        out += std::string(table->name) + "=" + std::to_string(table->value) + ";";
    return out;
}

}  // namespace

TEST(WebStepScriptTables, RowsInOrderWithTheirValues) {
    EXPECT_EQ(Dump(CWebStepScript::m_valuesExpect), "found=1;notfound=0;");
    EXPECT_EQ(Dump(CWebStepScript::m_valuesReport), "success=2;failure=1;always=0;");
    EXPECT_EQ(Dump(CWebStepScript::m_valuesOnFailure), "abort=1;continue=0;");
    EXPECT_EQ(Dump(CWebStepScript::m_valuesInside), "list=0;link=1;table=2;");
    EXPECT_EQ(Dump(CWebStepScript::m_valuesAction), "CONNECT=2;RESOLVE=1;STEP=4;RECEIVE=3;");
    EXPECT_EQ(Dump(CWebStepScript::m_valuesHttpInfoType),
              "HTTP_INFO_RETURN_CODE=1;HTTP_INFO_DOWNLOAD_SIZE=2;HTTP_INFO_DOWNLOAD_TIME=3;");
    EXPECT_EQ(Dump(CWebStepScript::m_valuesSaveHeader), "REQUEST=1;RESPONSE=2;");
}

TEST(WebStepScriptDefaults, CheckAttributeDefaults) {
    EXPECT_TRUE(CWebStepScript::bDefaultExpect);
    EXPECT_FALSE(CWebStepScript::bDefaultMatchCase);
    EXPECT_TRUE(CWebStepScript::bDefaultRepeat);
    EXPECT_FALSE(CWebStepScript::bDefaultAbort);
    EXPECT_EQ(CWebStepScript::DefaultReport, 0);
}

TEST(WebStepScriptDefaults, DefaultTerminatorsHoldTheLastKeywordPointer) {
    EXPECT_EQ(CWebStepScript::DefaultTerminators[0], CWebStepScript::KeyWord_LastItem);
    EXPECT_STREQ(CWebStepScript::DefaultTerminators[0], "LAST");
    EXPECT_EQ(CWebStepScript::DefaultTerminators[1], nullptr);
}

TEST_F(SetTokenValueTest, QuotedTabEscapeYieldsThreeBytes) {
    EXPECT_EQ(Decode("\"a\\tb\""), std::string("a\tb"));
}

TEST_F(SetTokenValueTest, TokenStartingWithQuoteLosesItsLastByteAnyway) {
    EXPECT_EQ(Decode("\"abc"), "ab");
    EXPECT_EQ(Decode("\"abcd'"), "abcd");
}

TEST_F(SetTokenValueTest, UnquotedTokenKeepsAllItsBytes) {
    EXPECT_EQ(Decode("abc\""), "abc\"");
}

TEST_F(SetTokenValueTest, HexEscapesYieldTheirBytes) {
    EXPECT_EQ(Decode("\\x41\\x42"), "AB");
}

TEST_F(SetTokenValueTest, HexEscapeWithoutDigitsYieldsTheLetter) {
    EXPECT_EQ(Decode("\\xyz"), "xyz");
    EXPECT_EQ(Decode("\\X"), "X");
}

TEST_F(SetTokenValueTest, HexEscapeTakesEveryFollowingDigit) {
    // \x4142 is one escape; the low byte of its value is kept.
    EXPECT_EQ(Decode("\\x4142z"), "Bz");
    EXPECT_EQ(Decode("\\x0041"), "A");
    EXPECT_EQ(Decode("\\x6a"), "j");
}

TEST_F(SetTokenValueTest, BackslashOneZeroOneYieldsByteOne) {
    EXPECT_EQ(Decode("\\101"), std::string(1, '\x01'));
}

TEST_F(SetTokenValueTest, OctalEscapeSkipsItsFirstDigit) {
    EXPECT_EQ(Decode("\\0101"), "A");
    EXPECT_EQ(Decode("\\377x"), std::string("\x3F") + "x");  // 77 octal is 63
    EXPECT_EQ(Decode("\\18"), "18");
}

TEST_F(SetTokenValueTest, BackslashSevenAloneYieldsTheCharacterSeven) {
    EXPECT_EQ(Decode("\\7"), "7");
    EXPECT_EQ(Decode("\\0"), "0");
}

TEST_F(SetTokenValueTest, SimpleEscapesYieldTheirBytes) {
    EXPECT_EQ(Decode("\\b\\a\\\\\\?\\\"\\'\\f\\n\\r\\t\\v"), std::string("\b\a\\?\"'\f\n\r\t\v"));
}

TEST_F(SetTokenValueTest, OtherEscapedCharacterStandsForItself) {
    EXPECT_EQ(Decode("\\/\\,\\.\\=\\_\\>"), "/,.=_>");
}

TEST_F(SetTokenValueTest, EmptyTokenAndTwoQuotesYieldEmpty) {
    EXPECT_EQ(Decode(""), "");
    EXPECT_EQ(Decode("\"\""), "");
    EXPECT_EQ(Decode("\""), "");
    EXPECT_EQ(Decode(nullptr), "");
}

TEST_F(SetTokenValueTest, TrailingBackslashAppendsNothing) {
    EXPECT_EQ(Decode("ab\\"), "ab");
    EXPECT_EQ(Decode("\"ab\\\""), "ab");
}

TEST(SetTokenValueCodePage, LeadByteCarriesABackslashTrailByteUninterpreted) {
    // In Shift-JIS 0x95 0x5C is one character whose trail byte is a backslash.
    webstep::platform::SetProcessCodePage(webstep::platform::CP_SHIFT_JIS);
    MString value;
    CWebStepScript::SetTokenValue("\x95\\n", value);
    EXPECT_EQ(value, std::string("\x95\\n"));
    webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1);
    CWebStepScript::SetTokenValue("\x95\\n", value);
    EXPECT_EQ(value, std::string("\x95\n"));
    webstep::platform::SetProcessCodePage(0);
}

TEST_F(SetTokenValueTest, HugeTokenDecodesWhole) {
    std::string token(200000, 'a');
    token += "\\n";
    MString value;
    CWebStepScript::SetTokenValue(token.c_str(), value);
    EXPECT_EQ(value.size(), 200001u);
    EXPECT_EQ(value.back(), '\n');
}
