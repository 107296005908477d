#include "webstep/platform/CodePage.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "CodePageGuard.h"

using namespace webstep::platform;
using webstep::test::CodePageGuard;
using webstep::test::EnvGuard;

namespace {

const unsigned char* U(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}

}  // namespace

// --- code page selection -------------------------------------------------

TEST(CodePageSelection, SetProcessCodePageOverridesEnvironment) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", "936"}});
    CodePageGuard cp(932);
    EXPECT_EQ(GetProcessCodePage(), 932u);
}

TEST(CodePageSelection, WebstepCodepageVariableIsUsedWhenNotOverridden) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", "936"}, {"LC_ALL", "ja_JP.SJIS"}});
    CodePageGuard cp(0);
    EXPECT_EQ(GetProcessCodePage(), 936u);
}

TEST(CodePageSelection, WebstepCodepageAcceptsCodesetName) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", "Shift_JIS"}, {"LC_ALL", nullptr}});
    CodePageGuard cp(0);
    EXPECT_EQ(GetProcessCodePage(), 932u);
}

TEST(CodePageSelection, InvalidWebstepCodepageFallsBackToLocale) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", "not-a-page"}, {"LC_ALL", "zh_CN.GBK"}});
    CodePageGuard cp(0);
    EXPECT_EQ(GetProcessCodePage(), 936u);
}

TEST(CodePageSelection, LcAllTakesPrecedenceOverLcCtypeAndLang) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", nullptr},
                  {"LC_ALL", "ko_KR.EUC-KR"},
                  {"LC_CTYPE", "ja_JP.SJIS"},
                  {"LANG", "zh_CN.GBK"}});
    CodePageGuard cp(0);
    EXPECT_EQ(GetProcessCodePage(), 949u);
}

TEST(CodePageSelection, LcCtypeTakesPrecedenceOverLang) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", nullptr},
                  {"LC_ALL", nullptr},
                  {"LC_CTYPE", "ja_JP.SJIS"},
                  {"LANG", "zh_CN.GBK"}});
    CodePageGuard cp(0);
    EXPECT_EQ(GetProcessCodePage(), 932u);
}

TEST(CodePageSelection, EmptyLcAllIsSkipped) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", nullptr},
                  {"LC_ALL", ""},
                  {"LC_CTYPE", nullptr},
                  {"LANG", "en_US.UTF-8"}});
    CodePageGuard cp(0);
    EXPECT_EQ(GetProcessCodePage(), 65001u);
}

TEST(CodePageSelection, NoLocaleAtAllGivesWestern) {
    EnvGuard env({{"WEBSTEP_CODEPAGE", nullptr},
                  {"LC_ALL", nullptr},
                  {"LC_CTYPE", nullptr},
                  {"LANG", nullptr}});
    CodePageGuard cp(0);
    EXPECT_EQ(GetProcessCodePage(), 1252u);
}

TEST(CodePageSelection, ResettingOverrideRereadsChangedEnvironment) {
    CodePageGuard cp(0);
    {
        EnvGuard env({{"WEBSTEP_CODEPAGE", "950"}});
        SetProcessCodePage(0);
        EXPECT_EQ(GetProcessCodePage(), 950u);
    }
    EnvGuard env({{"WEBSTEP_CODEPAGE", "949"}});
    SetProcessCodePage(0);
    EXPECT_EQ(GetProcessCodePage(), 949u);
}

TEST(CodePageLocale, CodesetsOfCommonLocales) {
    EXPECT_EQ(CodePageFromLocale("zh_CN.GBK"), 936u);
    EXPECT_EQ(CodePageFromLocale("zh_CN.gb2312"), 936u);
    EXPECT_EQ(CodePageFromLocale("zh_CN.GB18030"), 54936u);
    EXPECT_EQ(CodePageFromLocale("ja_JP.SJIS"), 932u);
    EXPECT_EQ(CodePageFromLocale("ja_JP.eucJP"), 51932u);
    EXPECT_EQ(CodePageFromLocale("en_US.UTF-8"), 65001u);
    EXPECT_EQ(CodePageFromLocale("de_DE.utf8"), 65001u);
    EXPECT_EQ(CodePageFromLocale("zh_TW.Big5"), 950u);
    EXPECT_EQ(CodePageFromLocale("ko_KR.euckr"), 949u);
    EXPECT_EQ(CodePageFromLocale("fr_FR.ISO-8859-1"), 28591u);
}

TEST(CodePageLocale, ModifierAfterCodesetIsIgnored) {
    EXPECT_EQ(CodePageFromLocale("de_DE.UTF-8@euro"), 65001u);
    EXPECT_EQ(CodePageFromLocale("ja_JP.SJIS@x"), 932u);
}

TEST(CodePageLocale, CAndPosixAndMissingCodesetGiveWestern) {
    EXPECT_EQ(CodePageFromLocale("C"), 1252u);
    EXPECT_EQ(CodePageFromLocale("POSIX"), 1252u);
    EXPECT_EQ(CodePageFromLocale("en_US"), 1252u);
    EXPECT_EQ(CodePageFromLocale(""), 1252u);
    EXPECT_EQ(CodePageFromLocale(nullptr), 1252u);
    EXPECT_EQ(CodePageFromLocale("xx_YY.NO-SUCH-SET"), 1252u);
}

TEST(CodePageLocale, CodesetNamesAndNumbers) {
    EXPECT_EQ(CodePageFromCodeset("UTF-8"), 65001u);
    EXPECT_EQ(CodePageFromCodeset("GBK"), 936u);
    EXPECT_EQ(CodePageFromCodeset("SJIS"), 932u);
    EXPECT_EQ(CodePageFromCodeset("Shift_JIS"), 932u);
    EXPECT_EQ(CodePageFromCodeset("ISO-8859-1"), 28591u);
    EXPECT_EQ(CodePageFromCodeset("CP936"), 936u);
    EXPECT_EQ(CodePageFromCodeset("windows-1251"), 1251u);
    EXPECT_EQ(CodePageFromCodeset("cp1252"), 1252u);
    EXPECT_EQ(CodePageFromCodeset("CP"), 0u);
    EXPECT_EQ(CodePageFromCodeset("CP12x"), 0u);
    EXPECT_EQ(CodePageFromCodeset("bogus"), 0u);
    EXPECT_EQ(CodePageFromCodeset(""), 0u);
    EXPECT_EQ(CodePageFromCodeset(nullptr), 0u);
}

// --- code page properties ------------------------------------------------

TEST(CodePageProperties, DoubleAndMultiByteSets) {
    for (unsigned int cp : {932u, 936u, 949u, 950u}) {
        EXPECT_TRUE(IsDoubleByteCodePage(cp)) << cp;
        EXPECT_TRUE(IsMultiByteCodePage(cp)) << cp;
        EXPECT_EQ(GetMaxCharLength(cp), 2) << cp;
    }
    EXPECT_FALSE(IsDoubleByteCodePage(65001));
    EXPECT_TRUE(IsMultiByteCodePage(65001));
    EXPECT_EQ(GetMaxCharLength(65001u), 4);
    EXPECT_EQ(GetMaxCharLength(51932u), 3);
    EXPECT_EQ(GetMaxCharLength(54936u), 4);
    EXPECT_FALSE(IsMultiByteCodePage(1252));
    EXPECT_EQ(GetMaxCharLength(1252u), 1);
}

TEST(CodePageProperties, LeadByteRangeBoundaries) {
    EXPECT_FALSE(IsLeadByte(932, 0x80));
    EXPECT_TRUE(IsLeadByte(932, 0x81));
    EXPECT_TRUE(IsLeadByte(932, 0x9F));
    EXPECT_FALSE(IsLeadByte(932, 0xA0));
    EXPECT_FALSE(IsLeadByte(932, 0xDF));
    EXPECT_TRUE(IsLeadByte(932, 0xE0));
    EXPECT_TRUE(IsLeadByte(932, 0xFC));
    EXPECT_FALSE(IsLeadByte(932, 0xFD));
    for (unsigned int cp : {936u, 949u, 950u}) {
        EXPECT_FALSE(IsLeadByte(cp, 0x80)) << cp;
        EXPECT_TRUE(IsLeadByte(cp, 0x81)) << cp;
        EXPECT_TRUE(IsLeadByte(cp, 0xFE)) << cp;
        EXPECT_FALSE(IsLeadByte(cp, 0xFF)) << cp;
        EXPECT_FALSE(IsLeadByte(cp, 'A')) << cp;
    }
    EXPECT_FALSE(IsLeadByte(1252, 0x81));
    EXPECT_FALSE(IsLeadByte(65001, 0x80));
    EXPECT_FALSE(IsLeadByte(65001, 0xC1));
    EXPECT_TRUE(IsLeadByte(65001, 0xC2));
    EXPECT_TRUE(IsLeadByte(65001, 0xF4));
    EXPECT_FALSE(IsLeadByte(65001, 0xF5));
}

TEST(CodePageProperties, CurrentCodePageDecidesLeadBytesAndDbcs) {
    CodePageGuard cp(936);
    EXPECT_TRUE(IsLeadByte(static_cast<unsigned char>(0xA0)));
    EXPECT_TRUE(IsDbcsEnabled());
    EXPECT_EQ(GetMaxCharLength(), 2);
    SetProcessCodePage(932);
    EXPECT_FALSE(IsLeadByte(static_cast<unsigned char>(0xA0)));
    SetProcessCodePage(1252);
    EXPECT_FALSE(IsDbcsEnabled());
    EXPECT_EQ(GetMaxCharLength(), 1);
    SetProcessCodePage(65001);
    EXPECT_TRUE(IsDbcsEnabled());
    EXPECT_EQ(GetMaxCharLength(), 4);
}

TEST(CodePageProperties, HalfWidthKatakanaOnlyInShiftJis) {
    EXPECT_FALSE(IsHalfWidthKatakana(932, 0xA0));
    EXPECT_TRUE(IsHalfWidthKatakana(932, 0xA1));
    EXPECT_TRUE(IsHalfWidthKatakana(932, 0xB1));
    EXPECT_TRUE(IsHalfWidthKatakana(932, 0xDF));
    EXPECT_FALSE(IsHalfWidthKatakana(932, 0xE0));
    EXPECT_FALSE(IsHalfWidthKatakana(936, 0xB1));
    CodePageGuard cp(932);
    EXPECT_TRUE(IsHalfWidthKatakana(static_cast<unsigned char>(0xB1)));
}

// --- _ismbblead ----------------------------------------------------------

TEST(Ismbblead, FollowsProcessCodePage) {
    CodePageGuard cp(932);
    EXPECT_NE(_ismbblead(0x95), 0);
    EXPECT_EQ(_ismbblead(0x5C), 0);
    EXPECT_EQ(_ismbblead(0xB1), 0);
    EXPECT_EQ(_ismbblead(0x9558), 0);  // not a byte
    SetProcessCodePage(1252);
    EXPECT_EQ(_ismbblead(0x95), 0);
}

// --- _mbschr -------------------------------------------------------------

TEST(Mbschr, ShiftJisTrailBackslashIsNotFound) {
    CodePageGuard cp(932);
    // 表 is 0x95 0x5C: its trail byte is a backslash.
    const char text[] =
        "\x95\x5C"
        "abc";
    EXPECT_EQ(_mbschr(U(text), '\\'), nullptr);
    EXPECT_EQ(_mbschr(U(text), 'b'), U(text) + 3);
}

TEST(Mbschr, ShiftJisRealBackslashAfterTrailIsFound) {
    CodePageGuard cp(932);
    const char text[] = "\x95\x5C\\x";
    EXPECT_EQ(_mbschr(U(text), '\\'), U(text) + 2);
}

TEST(Mbschr, SameBytesInWesternCodePageMatchTheBackslash) {
    CodePageGuard cp(1252);
    const char text[] =
        "\x95\x5C"
        "abc";
    EXPECT_EQ(_mbschr(U(text), '\\'), U(text) + 1);
}

TEST(Mbschr, GbkTrailBytesPipeAndAtAreNotFound) {
    CodePageGuard cp(936);
    // 0x81 0x7C and 0x81 0x40 are GBK characters whose trail bytes are | and @.
    const char text[] = "\x81\x7C\x81\x40|@";
    EXPECT_EQ(_mbschr(U(text), '|'), U(text) + 4);
    EXPECT_EQ(_mbschr(U(text), '@'), U(text) + 5);
    const char onlyTrails[] = "\x81\x7C\x81\x40";
    EXPECT_EQ(_mbschr(U(onlyTrails), '|'), nullptr);
    EXPECT_EQ(_mbschr(U(onlyTrails), '@'), nullptr);
}

TEST(Mbschr, FindsDoubleByteCharacterByPackedValue) {
    CodePageGuard cp(932);
    const char text[] = "a\x82\xA0\x95\x5C";
    EXPECT_EQ(_mbschr(U(text), 0x955Cu), U(text) + 3);
    EXPECT_EQ(_mbschr(U(text), 0x82A0u), U(text) + 1);
    EXPECT_EQ(_mbschr(U(text), 0x5C95u), nullptr);
}

TEST(Mbschr, Utf8NeverMatchesInsideCharacters) {
    CodePageGuard cp(65001);
    // 中 is E4 B8 AD, € is E2 82 AC; no ASCII byte can occur inside them.
    const char text[] = "\xE4\xB8\xAD\xE2\x82\xAC/";
    EXPECT_EQ(_mbschr(U(text), '/'), U(text) + 6);
    EXPECT_EQ(_mbschr(U(text), 0xB8), nullptr);
    EXPECT_EQ(_mbschr(U(text), 0xE282ACu), U(text) + 3);
}

TEST(Mbschr, Utf8BrokenSequenceLeavesFollowingAsciiFindable) {
    CodePageGuard cp(65001);
    // A lead byte followed by ASCII: the ASCII byte is its own character.
    const char text[] = "\xE4/x";
    EXPECT_EQ(_mbschr(U(text), '/'), U(text) + 1);
}

TEST(Mbschr, NulFindsTerminatorAndNullInputGivesNull) {
    CodePageGuard cp(936);
    const char text[] = "ab\x81\x40";
    EXPECT_EQ(_mbschr(U(text), 0), U(text) + 4);
    EXPECT_EQ(_mbschr(nullptr, 'a'), nullptr);
    EXPECT_EQ(_mbschr(U(""), 'a'), nullptr);
}

TEST(Mbschr, LeadByteCutByEndOfStringStopsSearch) {
    CodePageGuard cp(936);
    const char text[] = "ab\x81";
    EXPECT_EQ(_mbschr(U(text), 'b'), U(text) + 1);
    EXPECT_EQ(_mbschr(U(text), 0x81), nullptr);
}

// --- _mbsnbcmp / _mbsnbicmp ----------------------------------------------

TEST(Mbsnbcmp, EqualAndOrderedResults) {
    CodePageGuard cp(1252);
    EXPECT_EQ(_mbsnbcmp(U("abc"), U("abc"), 3), 0);
    EXPECT_LT(_mbsnbcmp(U("abc"), U("abd"), 3), 0);
    EXPECT_GT(_mbsnbcmp(U("abd"), U("abc"), 3), 0);
    EXPECT_EQ(_mbsnbcmp(U("abc"), U("abd"), 2), 0);
    EXPECT_EQ(_mbsnbcmp(U("abc"), U("xyz"), 0), 0);
    EXPECT_LT(_mbsnbcmp(U("ab"), U("abc"), 5), 0);
    EXPECT_EQ(_mbsnbcmp(U("ab"), U("ab"), 100), 0);
}

TEST(Mbsnbcmp, HighBytesCompareUnsigned) {
    CodePageGuard cp(1252);
    EXPECT_GT(_mbsnbcmp(U("\xE9"), U("e"), 1), 0);
}

TEST(Mbsnbcmp, DoubleByteCharacterCutByBoundIsNotCompared) {
    CodePageGuard cp(936);
    // Same first byte, different trails: with n = 3 the second character is
    // cut after its lead byte and is not compared.
    const char a[] = "x\x81\x40";
    const char b[] = "x\x81\x41";
    EXPECT_EQ(_mbsnbcmp(U(a), U(b), 2), 0);
    EXPECT_NE(_mbsnbcmp(U(a), U(b), 3), 0);
}

TEST(Mbsnbcmp, TrailByteIsComparedAsPartOfCharacter) {
    CodePageGuard cp(932);
    // 0x95 0x5C against 0x95 0x5D: differ in the trail only.
    EXPECT_LT(_mbsnbcmp(U("\x95\x5C"), U("\x95\x5D"), 2), 0);
}

TEST(Mbsnbicmp, FoldsAsciiCase) {
    CodePageGuard cp(1252);
    EXPECT_EQ(_mbsnbicmp(U("HeLLo"), U("hello"), 5), 0);
    EXPECT_NE(_mbsnbicmp(U("Hello"), U("help"), 4), 0);
    EXPECT_EQ(_mbsnbicmp(U("ABC"), U("abd"), 2), 0);
}

TEST(Mbsnbicmp, FoldsWesternAccentedLetters) {
    CodePageGuard cp(1252);
    EXPECT_EQ(_mbsnbicmp(U("\xC9t\xC9"), U("\xE9t\xE9"), 3), 0);
    // Multiplication and division signs are not letters.
    EXPECT_NE(_mbsnbicmp(U("\xD7"), U("\xF7"), 1), 0);
}

TEST(Mbsnbicmp, DoesNotFoldTrailBytes) {
    CodePageGuard cp(932);
    // 0x82 0x60 is full-width A and folds to 0x82 0x81; 0x83 0x41 and 0x83 0x61
    // are different katakana although their trails differ only by case.
    EXPECT_EQ(_mbsnbicmp(U("\x82\x60"), U("\x82\x81"), 2), 0);
    EXPECT_NE(_mbsnbicmp(U("\x83\x41"), U("\x83\x61"), 2), 0);
}

TEST(Mbsnbicmp, GbkFullWidthLettersFold) {
    CodePageGuard cp(936);
    EXPECT_EQ(_mbsnbicmp(U("\xA3\xC1z"), U("\xA3\xE1Z"), 3), 0);
}

TEST(Mbsnbcmp, NullArgumentsDoNotCrash) {
    EXPECT_EQ(_mbsnbcmp(nullptr, nullptr, 3), 0);
    EXPECT_NE(_mbsnbcmp(nullptr, U("a"), 3), 0);
    EXPECT_NE(_mbsnbicmp(U("a"), nullptr, 3), 0);
}

// --- _mbsnbcpy -----------------------------------------------------------

TEST(Mbsnbcpy, CopiesAndPadsWithNuls) {
    CodePageGuard cp(1252);
    unsigned char buf[8];
    std::memset(buf, 'Z', sizeof buf);
    EXPECT_EQ(_mbsnbcpy(buf, U("abc"), 6), buf);
    EXPECT_EQ(std::memcmp(buf, "abc\0\0\0ZZ", 8), 0);
}

TEST(Mbsnbcpy, NeverCopiesHalfACharacter) {
    CodePageGuard cp(932);
    unsigned char buf[4];
    std::memset(buf, 'Z', sizeof buf);
    // "a" + 表: only 2 bytes allowed, so the lead byte is replaced by a NUL.
    _mbsnbcpy(buf, U("a\x95\x5C"), 2);
    EXPECT_EQ(buf[0], 'a');
    EXPECT_EQ(buf[1], 0);
    EXPECT_EQ(buf[2], 'Z');
    _mbsnbcpy(buf, U("a\x95\x5C"), 3);
    EXPECT_EQ(std::memcmp(buf, "a\x95\x5C", 3), 0);
}

TEST(Mbsnbcpy, LeadByteBeforeEndOfSourceBecomesNul) {
    CodePageGuard cp(936);
    unsigned char buf[5];
    std::memset(buf, 'Z', sizeof buf);
    _mbsnbcpy(buf, U("ab\x81"), 5);
    EXPECT_EQ(std::memcmp(buf, "ab\0\0\0", 5), 0);
}

TEST(Mbsnbcpy, Utf8CutCharacterIsDropped) {
    CodePageGuard cp(65001);
    unsigned char buf[6];
    std::memset(buf, 'Z', sizeof buf);
    _mbsnbcpy(buf, U("x\xE4\xB8\xAD"), 3);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(buf[1], 0);
    EXPECT_EQ(buf[2], 0);
    EXPECT_EQ(buf[3], 'Z');
}

TEST(Mbsnbcpy, ZeroBoundAndNullSource) {
    unsigned char buf[2] = {'Z', 'Z'};
    _mbsnbcpy(buf, U("abc"), 0);
    EXPECT_EQ(buf[0], 'Z');
    _mbsnbcpy(buf, nullptr, 2);
    EXPECT_EQ(buf[0], 0);
    EXPECT_EQ(buf[1], 0);
    EXPECT_EQ(_mbsnbcpy(nullptr, U("a"), 1), nullptr);
}

TEST(Mbsnbcpy, HugeInputCopiedWhole) {
    CodePageGuard cp(936);
    std::string big;
    for (int i = 0; i < 50000; ++i)
        big += "\xB1\xED";  // 表 in GBK
    std::vector<unsigned char> buf(big.size() + 1, 'Z');
    _mbsnbcpy(buf.data(), U(big.c_str()), buf.size());
    EXPECT_EQ(std::memcmp(buf.data(), big.data(), big.size()), 0);
    EXPECT_EQ(buf.back(), 0);
    // An odd bound cuts the last character.
    std::vector<unsigned char> odd(101, 'Z');
    _mbsnbcpy(odd.data(), U(big.c_str()), 101);
    EXPECT_EQ(odd[99], 0xED);
    EXPECT_EQ(odd[100], 0);
}

// --- mblen ---------------------------------------------------------------

TEST(Mblen, SingleByteCodePage) {
    CodePageGuard cp(1252);
    EXPECT_EQ(webstep::platform::mblen("a", 1), 1);
    EXPECT_EQ(webstep::platform::mblen("\x81", 1), 1);
    EXPECT_EQ(webstep::platform::mblen("", 1), 0);
    EXPECT_EQ(webstep::platform::mblen("a", 0), 0);
    EXPECT_EQ(webstep::platform::mblen(nullptr, 4), 0);
}

TEST(Mblen, DoubleByteCharactersAndCutOnes) {
    CodePageGuard cp(932);
    EXPECT_EQ(webstep::platform::mblen("\x95\x5C", 2), 2);
    EXPECT_EQ(webstep::platform::mblen("\x95\x5C", 1), -1);
    EXPECT_EQ(webstep::platform::mblen("\x95", 2), -1);      // trail is the NUL
    EXPECT_EQ(webstep::platform::mblen("\x95\x20", 2), -1);  // not a valid trail
    EXPECT_EQ(webstep::platform::mblen("\xB1", 1), 1);       // half-width katakana
    EXPECT_EQ(webstep::platform::mblen("A", 3), 1);
}

TEST(Mblen, TrailRangesPerCodePage) {
    EXPECT_EQ(CharLength(936, "\x81\x40", 2), 2);
    EXPECT_EQ(CharLength(936, "\x81\x7F", 2), -1);
    EXPECT_EQ(CharLength(936, "\x81\xFF", 2), -1);
    EXPECT_EQ(CharLength(949, "\x81\x41", 2), 2);
    EXPECT_EQ(CharLength(949, "\x81\x40", 2), -1);
    EXPECT_EQ(CharLength(950, "\xA4\x40", 2), 2);
    EXPECT_EQ(CharLength(950, "\xA4\x80", 2), -1);
    EXPECT_EQ(CharLength(932, "\x81\x7F", 2), -1);
    EXPECT_EQ(CharLength(932, "\x81\xFD", 2), -1);
}

TEST(Mblen, Utf8SequencesAndInvalidOnes) {
    CodePageGuard cp(65001);
    EXPECT_EQ(webstep::platform::mblen("a", 1), 1);
    EXPECT_EQ(webstep::platform::mblen("\xC3\xA9", 2), 2);
    EXPECT_EQ(webstep::platform::mblen("\xE4\xB8\xAD", 3), 3);
    EXPECT_EQ(webstep::platform::mblen("\xF0\x9F\x98\x80", 4), 4);
    EXPECT_EQ(webstep::platform::mblen("\xE4\xB8\xAD", 2), -1);      // cut
    EXPECT_EQ(webstep::platform::mblen("\xB8", 1), -1);              // lone continuation
    EXPECT_EQ(webstep::platform::mblen("\xC0\xAF", 2), -1);          // overlong
    EXPECT_EQ(webstep::platform::mblen("\xE0\x80\xAF", 3), -1);      // overlong
    EXPECT_EQ(webstep::platform::mblen("\xED\xA0\x80", 3), -1);      // surrogate
    EXPECT_EQ(webstep::platform::mblen("\xF4\x90\x80\x80", 4), -1);  // above U+10FFFF
    EXPECT_EQ(webstep::platform::mblen("\xE4/\xAD", 3), -1);
}

TEST(Mblen, EucJpAndGb18030Lengths) {
    EXPECT_EQ(CharLength(51932, "\xA4\xA2", 2), 2);
    EXPECT_EQ(CharLength(51932, "\x8E\xB1", 2), 2);
    EXPECT_EQ(CharLength(51932, "\x8F\xB0\xA1", 3), 3);
    EXPECT_EQ(CharLength(51932, "\x8F\xB0", 3), -1);
    EXPECT_EQ(CharLength(54936, "\x81\x30\x81\x30", 4), 4);
    EXPECT_EQ(CharLength(54936, "\x81\x30\x81", 3), -1);
    EXPECT_EQ(CharLength(54936, "\xB1\xED", 2), 2);
}

// --- further code pages --------------------------------------------------

TEST(Mbschr, Big5TrailBackslashIsNotFound) {
    CodePageGuard cp(950);
    // 許 is 0xB3 0x5C in Big5.
    const char text[] = "\xB3\x5C\\";
    EXPECT_EQ(_mbschr(U(text), '\\'), U(text) + 2);
    EXPECT_EQ(_mbschr(U("\xB3\x5C"), '\\'), nullptr);
}

TEST(Mbschr, Gb18030FourByteCharacterHidesItsDigits) {
    CodePageGuard cp(54936);
    // 0x81 0x30 0x81 0x30 is one character whose second and fourth bytes
    // are the digit 0.
    const char text[] =
        "\x81\x30\x81\x30"
        "0";
    EXPECT_EQ(_mbschr(U(text), '0'), U(text) + 4);
    EXPECT_EQ(_mbschr(U("\x81\x30\x81\x30"), '0'), nullptr);
}

TEST(Mbschr, EucJpThreeByteCharacterIsSkippedWhole) {
    CodePageGuard cp(51932);
    const char text[] = "\x8F\xB0\xA1\xB0\xA1";
    // The bytes 0xB0 0xA1 after the three-byte character form a character
    // of their own at offset 3, never at offset 1.
    EXPECT_EQ(_mbschr(U(text), 0xB0A1u), U(text) + 3);
}

TEST(Mbsnbcmp, Utf8CutCharacterIsNotCompared) {
    CodePageGuard cp(65001);
    // 中 (E4 B8 AD) against 丸 (E4 B8 B8): a bound of 2 cuts both.
    EXPECT_EQ(_mbsnbcmp(U("\xE4\xB8\xAD"), U("\xE4\xB8\xB8"), 2), 0);
    EXPECT_NE(_mbsnbcmp(U("\xE4\xB8\xAD"), U("\xE4\xB8\xB8"), 3), 0);
    EXPECT_EQ(_mbsnbicmp(U("X\xE4\xB8\xAD"), U("x\xE4\xB8\xAD"), 4), 0);
}

TEST(Mbschr, HugeStringSearchedToTheEnd) {
    CodePageGuard cp(932);
    std::string big;
    for (int i = 0; i < 100000; ++i)
        big += "\x95\x5C";
    EXPECT_EQ(_mbschr(U(big.c_str()), '\\'), nullptr);
    big += "\\";
    EXPECT_EQ(_mbschr(U(big.c_str()), '\\'), U(big.c_str()) + 200000);
}

// --- _ismbcspace ---------------------------------------------------------

TEST(Ismbcspace, AsciiWhiteSpaceOnly) {
    CodePageGuard cp(1252);
    for (unsigned int c : {0x20u, 0x09u, 0x0Au, 0x0Bu, 0x0Cu, 0x0Du}) {
        EXPECT_NE(_ismbcspace(c), 0) << c;
    }
    for (unsigned int c : {0x00u, 0x08u, 0x0Eu, 0x41u, 0xA0u, 0x85u}) {
        EXPECT_EQ(_ismbcspace(c), 0) << c;
    }
}

TEST(Ismbcspace, IdeographicSpaceOfEachCodePage) {
    CodePageGuard cp(932);
    EXPECT_NE(_ismbcspace(0x8140), 0);
    EXPECT_EQ(_ismbcspace(0xA1A1), 0);
    SetProcessCodePage(936);
    EXPECT_NE(_ismbcspace(0xA1A1), 0);
    EXPECT_EQ(_ismbcspace(0x8140), 0);
    SetProcessCodePage(950);
    EXPECT_NE(_ismbcspace(0xA140), 0);
    SetProcessCodePage(65001);
    EXPECT_NE(_ismbcspace(0xE38080), 0);
    SetProcessCodePage(1252);
    EXPECT_EQ(_ismbcspace(0x8140), 0);
}
