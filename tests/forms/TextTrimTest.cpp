// Multi-byte aware trimming.
#include "webstep/forms/TextTrim.h"

#include <gtest/gtest.h>

#include "webstep/platform/CodePage.h"

namespace {

class TextTrim : public ::testing::Test {
protected:
    void TearDown() override { webstep::platform::SetProcessCodePage(0); }
};

}  // namespace

TEST_F(TextTrim, AsciiWhiteSpaceAtBothEnds) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1);
    EXPECT_EQ(MbTrim(" \t\r\n a b \v\f"), "a b");
    EXPECT_EQ(MbTrim(""), "");
    EXPECT_EQ(MbTrim("   "), "");
    EXPECT_EQ(MbTrim("x"), "x");
}

TEST_F(TextTrim, IdeographicSpaceOfTheCodePage) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_GBK);
    EXPECT_EQ(MbTrim("\xA1\xA1"
                     "ab\xA1\xA1 "),
              "ab");
    webstep::platform::SetProcessCodePage(webstep::platform::CP_SHIFT_JIS);
    EXPECT_EQ(MbTrim("\x81\x40"
                     "ab"),
              "ab");
    webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1);
    EXPECT_EQ(MbTrim("\xA1\xA1"
                     "ab"),
              "\xA1\xA1"
              "ab");
}

TEST_F(TextTrim, TrailByteIsNeverASpaceOfItsOwn) {
    // 0x95 0x5C and 0x95 0x40 are single Shift-JIS characters; their trail
    // bytes are not taken apart.
    webstep::platform::SetProcessCodePage(webstep::platform::CP_SHIFT_JIS);
    EXPECT_EQ(MbTrim("a\x95\x5C"), "a\x95\x5C");
    EXPECT_EQ(MbTrim("\x95\x40 "), "\x95\x40");
}
