#include <gtest/gtest.h>

#include <iconv.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "webstep/platform/CodePage.h"
#include "webstep/resources/StringTable.h"
#include "webstep/steps/WebStepError.h"

namespace {

struct Expected {
    unsigned int code;
    unsigned int id;
    const char* text;  // UTF-8
};

// The complete table, in lookup order.
const Expected kTable[16] = {
    {1000, 22, "缺少请求的属性"},
    {1001, 23, "无法识别的关键字"},
    {1002, 24, "属性中的语句错误"},
    {1003, 25, "为属性指定的值无效"},
    {1004, 26, "布尔值中的语句错误"},
    {1006, 27, "数字中的语句错误"},
    {1005, 28, "“是/否”值中的语句错误"},
    {1007, 29, "URL 规格中的语句错误"},
    {1008, 30, "缺少请求的参数"},
    {1009, 31, "语句指定错误，未提供参数"},
    {1010, 32, "遇到非预期参数"},
    {1011, 33, "遇到语句非预期的结束"},
    {1012, 34, "遇到重复属性值指定"},
    {1013, 35, "在语句中未找到有效的终止符"},
    {1014, 36, "在 SUBMIT 指令中指定的方法无效"},
    {1015, 37, "只为“Text”或同时为“TextPfx”和“TextSfx”指定非空值"},
};

// Converts with the C library's converter, independently of the code under
// test.
std::string Iconv(const char* to, const std::string& utf8) {
    iconv_t cd = iconv_open(to, "UTF-8");
    EXPECT_NE(cd, reinterpret_cast<iconv_t>(-1)) << to;
    std::string out(utf8.size() * 4 + 4, '\0');
    char* in = const_cast<char*>(utf8.data());
    size_t inLeft = utf8.size();
    char* outPtr = out.data();
    size_t outLeft = out.size();
    const size_t rc = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
    EXPECT_NE(rc, static_cast<size_t>(-1));
    iconv_close(cd);
    out.resize(out.size() - outLeft);
    return out;
}

// Selects a process code page for one test and restores the default after.
class CodePageScope {
public:
    explicit CodePageScope(unsigned int codePage) {
        webstep::platform::SetProcessCodePage(codePage);
    }
    ~CodePageScope() { webstep::platform::SetProcessCodePage(0); }
};

TEST(WebStepErrMsg, MessageTableHasSixteenEntriesInOrder) {
    ASSERT_EQ(sizeof(CWebStepErrMsg::m_MessageTable) / sizeof(CWebStepErrMsg::m_MessageTable[0]),
              16u);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(CWebStepErrMsg::m_MessageTable[i].code, kTable[i].code) << i;
        EXPECT_EQ(CWebStepErrMsg::m_MessageTable[i].resourceId, kTable[i].id) << i;
    }
}

TEST(WebStepErrMsg, EntryIsAPairOf32BitIntegers) {
    EXPECT_EQ(sizeof(CWebStepErrMsg::ErrMsgMapEntry), 8u);
}

TEST(WebStepErrMsg, NumberMessageIdPrecedesYesNoMessageId) {
    EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(1005), 28u);
    EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(1006), 27u);
}

TEST(WebStepErrMsg, EveryCodeMapsToItsStringId) {
    for (const Expected& e : kTable) {
        EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(e.code), e.id) << e.code;
    }
}

TEST(WebStepErrMsg, CodesOutsideTheTableHaveIdZero) {
    EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(999), 0u);
    EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(1016), 0u);
    EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(0), 0u);
    EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(22), 0u);
    EXPECT_EQ(CWebStepErrMsg::GetMessageStringID(0xFFFFFFFFu), 0u);
}

TEST(WebStepErrMsg, UnknownCodesLoadNothingAndLeaveBufferUntouched) {
    for (unsigned int code : {999u, 1016u, 0u}) {
        char buffer[64];
        std::memset(buffer, 'Z', sizeof buffer);
        EXPECT_FALSE(CWebStepErrMsg::GetMessageString(code, buffer, sizeof buffer)) << code;
        for (char c : buffer) {
            ASSERT_EQ(c, 'Z');
        }
    }
}

TEST(WebStepErrMsg, NoArgumentsMessageLoadsInGbkUnderCodePage936) {
    CodePageScope scope(936);
    char buffer[64];
    ASSERT_TRUE(CWebStepErrMsg::GetMessageString(1009, buffer, 64));
    EXPECT_EQ(std::string(buffer), Iconv("GBK", "语句指定错误，未提供参数"));
}

TEST(WebStepErrMsg, NoArgumentsMessageLoadsInUtf8UnderUtf8CodePage) {
    CodePageScope scope(65001);
    char buffer[64];
    ASSERT_TRUE(CWebStepErrMsg::GetMessageString(1009, buffer, 64));
    EXPECT_STREQ(buffer, "语句指定错误，未提供参数");
}

TEST(WebStepErrMsg, CodePageOfTheEnvironmentIsUsedWithoutOverride) {
    const char* saved = std::getenv("WEBSTEP_CODEPAGE");
    const std::string savedValue = saved != nullptr ? saved : "";
    for (const char* codePage : {"936", "65001"}) {
        setenv("WEBSTEP_CODEPAGE", codePage, 1);
        webstep::platform::SetProcessCodePage(0);
        char buffer[64];
        ASSERT_TRUE(CWebStepErrMsg::GetMessageString(1009, buffer, sizeof buffer));
        const std::string expected = std::string(codePage) == "936"
                                         ? Iconv("GBK", "语句指定错误，未提供参数")
                                         : std::string("语句指定错误，未提供参数");
        EXPECT_EQ(std::string(buffer), expected) << codePage;
    }
    if (saved != nullptr) {
        setenv("WEBSTEP_CODEPAGE", savedValue.c_str(), 1);
    } else {
        unsetenv("WEBSTEP_CODEPAGE");
    }
    webstep::platform::SetProcessCodePage(0);
}

TEST(WebStepErrMsg, CompleteMessageTableLoadsUnderUtf8) {
    CodePageScope scope(65001);
    for (const Expected& e : kTable) {
        char buffer[256];
        ASSERT_TRUE(CWebStepErrMsg::GetMessageString(e.code, buffer, sizeof buffer)) << e.code;
        EXPECT_STREQ(buffer, e.text) << e.code;
    }
}

TEST(WebStepErrMsg, CompleteMessageTableLoadsUnderGbk) {
    CodePageScope scope(936);
    for (const Expected& e : kTable) {
        char buffer[256];
        ASSERT_TRUE(CWebStepErrMsg::GetMessageString(e.code, buffer, sizeof buffer)) << e.code;
        EXPECT_EQ(std::string(buffer), Iconv("GBK", e.text)) << e.code;
    }
}

TEST(WebStepErrMsg, CompleteMessageTableLoadsUnderGb18030) {
    CodePageScope scope(54936);
    for (const Expected& e : kTable) {
        char buffer[256];
        ASSERT_TRUE(CWebStepErrMsg::GetMessageString(e.code, buffer, sizeof buffer)) << e.code;
        EXPECT_EQ(std::string(buffer), Iconv("GB18030", e.text)) << e.code;
    }
}

TEST(WebStepErrMsg, LongMessageIsCutWholeCharactersAndTerminated) {
    CodePageScope scope(936);
    const std::string full = Iconv("GBK", "语句指定错误，未提供参数");
    // Five bytes hold two double-byte characters and the zero.
    char buffer[8];
    std::memset(buffer, 'Z', sizeof buffer);
    ASSERT_TRUE(CWebStepErrMsg::GetMessageString(1009, buffer, 6));
    EXPECT_EQ(std::string(buffer), full.substr(0, 4));
    EXPECT_EQ(buffer[6], 'Z');
}

TEST(WebStepErrMsg, MixedTextIsCutAfterTheSingleByteCharacters) {
    CodePageScope scope(936);
    // "URL 规格..." : four single-byte characters, then double-byte ones.
    char buffer[6];
    ASSERT_TRUE(CWebStepErrMsg::GetMessageString(1007, buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "URL ");
}

TEST(WebStepErrMsg, BufferTooSmallForAnyCharacterFails) {
    CodePageScope scope(936);
    char buffer[4] = {'Z', 'Z', 'Z', 'Z'};
    EXPECT_FALSE(CWebStepErrMsg::GetMessageString(1000, buffer, 2));
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_FALSE(CWebStepErrMsg::GetMessageString(1000, buffer, 1));
    EXPECT_FALSE(CWebStepErrMsg::GetMessageString(1000, buffer, 0));
    EXPECT_FALSE(CWebStepErrMsg::GetMessageString(1000, nullptr, 64));
    EXPECT_EQ(buffer[2], 'Z');
}

TEST(WebStepErrMsg, UnrepresentableCharactersBecomeQuestionMarksInLatinCodePage) {
    CodePageScope scope(1252);
    char buffer[64];
    ASSERT_TRUE(CWebStepErrMsg::GetMessageString(1007, buffer, sizeof buffer));
    EXPECT_EQ(std::string(buffer).substr(0, 5), "URL ?");
    EXPECT_EQ(std::string(buffer).find_first_not_of("URL ?"), std::string::npos);
}

TEST(WebStepErrMsg, EnglishRenderingExistsForEveryCode) {
    for (const Expected& e : kTable) {
        const char* text = CWebStepErrMsg::GetEnglishMessage(e.code);
        ASSERT_NE(text, nullptr) << e.code;
        EXPECT_GT(std::strlen(text), 5u);
        for (const char* p = text; *p != '\0'; ++p) {
            EXPECT_LT(static_cast<unsigned char>(*p), 0x80u) << e.code;
        }
    }
    EXPECT_STREQ(CWebStepErrMsg::GetEnglishMessage(1009),
                 "Statement specified incorrectly, no arguments supplied");
    EXPECT_EQ(CWebStepErrMsg::GetEnglishMessage(1016), nullptr);
}

TEST(StringTable, HoldsExactlyIdentifiers22To37) {
    for (unsigned int id = 0; id < 100; ++id) {
        const bool inside = id >= 22 && id <= 37;
        EXPECT_EQ(webstep::resources::FindStringUtf8(id) != nullptr, inside) << id;
    }
}

TEST(StringTable, LoadStringWithExplicitCodePage) {
    char buffer[64];
    EXPECT_EQ(webstep::resources::LoadStringA(31, buffer, sizeof buffer, 65001),
              std::strlen("语句指定错误，未提供参数"));
    EXPECT_STREQ(buffer, "语句指定错误，未提供参数");
    EXPECT_EQ(webstep::resources::LoadStringA(0, buffer, sizeof buffer, 65001), 0u);
}

TEST(StringTable, Utf8CutNeverSplitsACharacter) {
    char buffer[5];
    // Each character of this message takes three bytes in UTF-8.
    EXPECT_EQ(webstep::resources::LoadStringA(22, buffer, sizeof buffer, 65001), 3u);
    EXPECT_STREQ(buffer, "缺");
}

TEST(StringTable, UnknownCodePageDeliversTheStoredUtf8) {
    char buffer[64];
    ASSERT_GT(webstep::resources::LoadStringA(31, buffer, sizeof buffer, 12345), 0u);
    EXPECT_STREQ(buffer, "语句指定错误，未提供参数");
}

}  // namespace
