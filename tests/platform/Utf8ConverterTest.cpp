#include "webstep/platform/Utf8Converter.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CodePageGuard.h"

using namespace webstep::platform;
using webstep::test::CodePageGuard;

namespace {

struct ConverterDeleter {
    void operator()(UConverter* c) const { WrUtilsCloseUTF8Converter(c); }
};
using ConverterPtr = std::unique_ptr<UConverter, ConverterDeleter>;

ConverterPtr Open() {
    ConverterPtr converter(WrUtilsGetUTF8Converter());
    EXPECT_NE(converter, nullptr);
    return converter;
}

MString ConvertWhole(const std::string& utf8) {
    ConverterPtr converter = Open();
    MString out = "junk";
    EXPECT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), utf8, out));
    return out;
}

// Mixed text: ASCII, two ideographs, a kana, a full-width letter.
const std::string kUtf8Mixed = "a\xE6\x97\xA5\xE6\x9C\xAC-\xE3\x81\x82\xEF\xBC\xA1z";
const std::string kGbkMixed = "a\xC8\xD5\xB1\xBE-\xA4\xA2\xA3\xC1z";
const std::string kSjisMixed = "a\x93\xFA\x96\x7B-\x82\xA0\x82\x60z";

}  // namespace

TEST(Utf8Converter, OpenAndClose) {
    UConverter* converter = WrUtilsGetUTF8Converter();
    ASSERT_NE(converter, nullptr);
    WrUtilsCloseUTF8Converter(converter);
    WrUtilsCloseUTF8Converter(nullptr);
}

TEST(Utf8Converter, WholeTextToGbk) {
    CodePageGuard cp(936);
    EXPECT_EQ(ConvertWhole(kUtf8Mixed), kGbkMixed);
}

TEST(Utf8Converter, WholeTextToShiftJis) {
    CodePageGuard cp(932);
    EXPECT_EQ(ConvertWhole(kUtf8Mixed), kSjisMixed);
}

TEST(Utf8Converter, WesternAndUtf8Targets) {
    CodePageGuard cp(1252);
    EXPECT_EQ(ConvertWhole("\xC3\xA9\xE2\x82\xAC"), "\xE9\x80");
    SetProcessCodePage(65001);
    EXPECT_EQ(ConvertWhole(kUtf8Mixed), kUtf8Mixed);
}

// Every split point of the text, for both double-byte targets: the two
// outputs together equal the conversion of the whole.
TEST(Utf8Converter, ChunkSplitAtEveryByteConvertsWhole) {
    for (unsigned int page : {936u, 932u}) {
        CodePageGuard cp(page);
        const MString expected = page == 936 ? kGbkMixed : kSjisMixed;
        for (std::size_t split = 0; split <= kUtf8Mixed.size(); ++split) {
            ConverterPtr converter = Open();
            MString first;
            MString second;
            ASSERT_TRUE(
                WrUtilsUtf8ToMb_Statefull(converter.get(), kUtf8Mixed.substr(0, split), first));
            ASSERT_TRUE(
                WrUtilsUtf8ToMb_Statefull(converter.get(), kUtf8Mixed.substr(split), second));
            EXPECT_EQ(first + second, expected) << "page " << page << " split " << split;
        }
    }
}

TEST(Utf8Converter, CharacterSplitOverThreeChunks) {
    CodePageGuard cp(936);
    ConverterPtr converter = Open();
    MString out;
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "x\xE6", out));
    EXPECT_EQ(out, "x");
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\x97", out));
    EXPECT_EQ(out, "");
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\xA5y", out));
    EXPECT_EQ(out, "\xC8\xD5y");
}

TEST(Utf8Converter, EmptyChunkKeepsPendingBytes) {
    CodePageGuard cp(932);
    ConverterPtr converter = Open();
    MString out = "junk";
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\xE3\x81", out));
    EXPECT_EQ(out, "");
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "", out));
    EXPECT_EQ(out, "");
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\x82", out));
    EXPECT_EQ(out, "\x82\xA0");
}

TEST(Utf8Converter, ConvertersKeepSeparateState) {
    CodePageGuard cp(932);
    ConverterPtr a = Open();
    ConverterPtr b = Open();
    MString outA;
    MString outB;
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(a.get(), "\xE3\x81", outA));
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(b.get(), "q", outB));
    EXPECT_EQ(outB, "q");
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(a.get(), "\x82", outA));
    EXPECT_EQ(outA, "\x82\xA0");
}

TEST(Utf8Converter, FlushTurnsIncompleteCharacterIntoQuestionMark) {
    CodePageGuard cp(936);
    ConverterPtr converter = Open();
    MString out;
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "a\xE6\x97", out));
    EXPECT_EQ(out, "a");
    ASSERT_TRUE(WrUtilsUtf8ToMb_Flush(converter.get(), out));
    EXPECT_EQ(out, "?");
    // The converter starts afresh.
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "b", out));
    EXPECT_EQ(out, "b");
    ASSERT_TRUE(WrUtilsUtf8ToMb_Flush(converter.get(), out));
    EXPECT_EQ(out, "");
}

TEST(Utf8Converter, UnrepresentableCharacterBecomesQuestionMark) {
    CodePageGuard cp(932);
    // A Thai letter has no Shift-JIS form.
    EXPECT_EQ(ConvertWhole("a\xE0\xB8\x81"
                           "b"),
              "a?b");
    SetProcessCodePage(1252);
    EXPECT_EQ(ConvertWhole("\xE6\x97\xA5"), "?");
}

TEST(Utf8Converter, MalformedUtf8BecomesQuestionMark) {
    CodePageGuard cp(936);
    EXPECT_EQ(ConvertWhole("a\xFF"
                           "b"),
              "a?b");
    EXPECT_EQ(ConvertWhole("a\x80"
                           "b"),
              "a?b");
    // A lead byte followed by ASCII: the ASCII byte survives.
    EXPECT_EQ(ConvertWhole("\xE6/"), "?/");
}

TEST(Utf8Converter, NullConverterFails) {
    MString out = "junk";
    EXPECT_FALSE(WrUtilsUtf8ToMb_Statefull(nullptr, "abc", out));
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(WrUtilsUtf8ToMb_Flush(nullptr, out));
}

TEST(Utf8Converter, CodePageWithoutConverterFails) {
    CodePageGuard cp(99999);
    ConverterPtr converter = Open();
    MString out = "junk";
    EXPECT_FALSE(WrUtilsUtf8ToMb_Statefull(converter.get(), "abc", out));
    EXPECT_TRUE(out.empty());
}

TEST(Utf8Converter, FollowsCodePageChangeBetweenCalls) {
    CodePageGuard cp(936);
    ConverterPtr converter = Open();
    MString out;
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\xE3\x81\x82", out));
    EXPECT_EQ(out, "\xA4\xA2");
    SetProcessCodePage(932);
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\xE3\x81\x82", out));
    EXPECT_EQ(out, "\x82\xA0");
}

TEST(Utf8Converter, EmbeddedNulAndHugeInput) {
    CodePageGuard cp(936);
    EXPECT_EQ(ConvertWhole(std::string("a\0b", 3)), std::string("a\0b", 3));
    std::string big;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        big += kUtf8Mixed;
        expected += kGbkMixed;
    }
    EXPECT_EQ(ConvertWhole(big), expected);
}

TEST(Utf8Converter, SupplementaryCharacterSplitAcrossChunks) {
    CodePageGuard cp(65001);
    ConverterPtr converter = Open();
    MString first;
    MString second;
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\xF0\x9F", first));
    ASSERT_TRUE(WrUtilsUtf8ToMb_Statefull(converter.get(), "\x98\x80", second));
    EXPECT_EQ(first + second, "\xF0\x9F\x98\x80");
}
