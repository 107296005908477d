#include "webstep/platform/CharacterServices.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "CodePageGuard.h"

using namespace webstep::platform;
using webstep::test::CodePageGuard;

namespace {

// Sample texts, byte by byte.
const std::string kSjisA = "\x82\xA0";                     // あ
const std::string kEucA = "\xA4\xA2";                      // あ
const std::string kUtf8A = "\xE3\x81\x82";                 // あ
const std::string kJisA = "\x1B$B$\"\x1B(B";               // あ in ISO-2022-JP
const std::string kSjisTest = "\x83\x65\x83\x58\x83\x67";  // テスト
const std::string kEucTest = "\xA5\xC6\xA5\xB9\xA5\xC8";   // テスト
const std::string kUtf8Test = "\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88";
const std::string kJisTest = "\x1B$B%F%9%H\x1B(B";
const std::string kSjisNihon = "\x93\xFA\x96\x7B";  // 日本
const std::string kGbkNihon = "\xC8\xD5\xB1\xBE";   // 日本

class CharsetTypeGuard {
public:
    explicit CharsetTypeGuard(xeOsCharsetType type) { os_set_charset_type(type); }
    ~CharsetTypeGuard() { os_set_charset_type(OS_CHARSET_NONE); }
};

MString Convert(xeOsEncodedMethod from, xeOsEncodedMethod to, const std::string& in) {
    MString out = "junk";
    EXPECT_TRUE(os_conv_strings(from, to, in.data(), in.size(), out));
    return out;
}

}  // namespace

// --- character-set type --------------------------------------------------

TEST(CharsetType, FollowsProcessCodePage) {
    CodePageGuard cp(936);
    EXPECT_EQ(os_get_charset_type(), OS_CHARSET_GBK);
    EXPECT_GT(os_get_charset_type(), 1);
    SetProcessCodePage(1252);
    EXPECT_EQ(os_get_charset_type(), OS_CHARSET_SINGLE_BYTE);
    SetProcessCodePage(65001);
    EXPECT_EQ(os_get_charset_type(), OS_CHARSET_UTF8);
    SetProcessCodePage(932);
    EXPECT_EQ(os_get_charset_type(), OS_CHARSET_SHIFT_JIS);
}

TEST(CharsetType, EveryMultiByteCodePageIsAboveOne) {
    for (unsigned int cp : {932u, 936u, 949u, 950u, 51932u, 54936u, 65001u}) {
        EXPECT_GT(CharsetTypeFromCodePage(cp), 1) << cp;
    }
    for (unsigned int cp : {1252u, 1251u, 28591u, 437u}) {
        EXPECT_EQ(CharsetTypeFromCodePage(cp), OS_CHARSET_SINGLE_BYTE) << cp;
    }
}

TEST(CharsetType, OverrideAndReset) {
    CodePageGuard cp(1252);
    {
        CharsetTypeGuard forced(OS_CHARSET_SHIFT_JIS);
        EXPECT_EQ(os_get_charset_type(), OS_CHARSET_SHIFT_JIS);
        SetProcessCodePage(936);
        EXPECT_EQ(os_get_charset_type(), OS_CHARSET_SHIFT_JIS);
    }
    EXPECT_EQ(os_get_charset_type(), OS_CHARSET_GBK);
}

// --- os_char_len ---------------------------------------------------------

TEST(CharLen, MeasuresCharactersOfProcessCodePage) {
    CodePageGuard cp(932);
    EXPECT_EQ(os_char_len(kSjisA.data(), kSjisA.size()), 2u);
    EXPECT_EQ(os_char_len("a", 1), 1u);
    EXPECT_EQ(os_char_len("\xB1", 1), 1u);
    SetProcessCodePage(65001);
    EXPECT_EQ(os_char_len(kUtf8A.data(), kUtf8A.size()), 3u);
}

TEST(CharLen, InvalidCutOrNulCountsOneAndEmptyZero) {
    CodePageGuard cp(932);
    EXPECT_EQ(os_char_len(kSjisA.data(), 1), 1u);
    EXPECT_EQ(os_char_len("\x81\x20", 2), 1u);
    EXPECT_EQ(os_char_len("\0", 1), 1u);
    EXPECT_EQ(os_char_len("a", 0), 0u);
    EXPECT_EQ(os_char_len(nullptr, 5), 0u);
}

// --- os_is_char_space ----------------------------------------------------

TEST(CharSpace, AsciiWhiteSpace) {
    CodePageGuard cp(1252);
    for (char c : std::string(" \t\n\v\f\r"))
        EXPECT_TRUE(os_is_char_space(&c, 1)) << int(c);
    for (char c : std::string("a0_\x1C"))
        EXPECT_FALSE(os_is_char_space(&c, 1)) << int(c);
    EXPECT_FALSE(os_is_char_space(" ", 0));
    EXPECT_FALSE(os_is_char_space(nullptr, 1));
}

TEST(CharSpace, IdeographicSpaceInEachMultiByteCodePage) {
    CodePageGuard cp(932);
    EXPECT_TRUE(os_is_char_space("\x81\x40", 2));
    SetProcessCodePage(936);
    EXPECT_TRUE(os_is_char_space("\xA1\xA1", 2));
    SetProcessCodePage(949);
    EXPECT_TRUE(os_is_char_space("\xA1\xA1", 2));
    SetProcessCodePage(950);
    EXPECT_TRUE(os_is_char_space("\xA1\x40", 2));
    SetProcessCodePage(65001);
    EXPECT_TRUE(os_is_char_space("\xE3\x80\x80", 3));
}

TEST(CharSpace, NoBreakSpaceIsNotSpace) {
    CodePageGuard cp(1252);
    EXPECT_FALSE(os_is_char_space("\xA0", 1));
    SetProcessCodePage(65001);
    EXPECT_FALSE(os_is_char_space("\xC2\xA0", 2));
}

TEST(CharSpace, DoubleByteCharacterWithSpaceLikeTrailIsNotSpace) {
    CodePageGuard cp(932);
    EXPECT_FALSE(os_is_char_space(kSjisA.data(), 2));
    // A lead byte cut by the bound is no character at all.
    EXPECT_FALSE(os_is_char_space("\x81\x40", 1));
}

// --- os_is_char_alpha ----------------------------------------------------

TEST(CharAlpha, AsciiLettersOnly) {
    CodePageGuard cp(1252);
    for (char c : std::string("azAZ"))
        EXPECT_TRUE(os_is_char_alpha(&c, 1)) << c;
    for (char c : std::string("09@[`{ _-"))
        EXPECT_FALSE(os_is_char_alpha(&c, 1)) << c;
}

TEST(CharAlpha, WesternAccentedLetters) {
    CodePageGuard cp(1252);
    EXPECT_TRUE(os_is_char_alpha("\xC9", 1));
    EXPECT_TRUE(os_is_char_alpha("\xE9", 1));
    EXPECT_FALSE(os_is_char_alpha("\xD7", 1));  // multiplication sign
    EXPECT_FALSE(os_is_char_alpha("\x80", 1));  // euro sign
}

TEST(CharAlpha, EastAsianCharacters) {
    CodePageGuard cp(936);
    EXPECT_TRUE(os_is_char_alpha(kGbkNihon.data(), 2));
    EXPECT_FALSE(os_is_char_alpha("\xA1\xA1", 2));  // ideographic space
    EXPECT_FALSE(os_is_char_alpha("\xA3\xAC", 2));  // full-width comma
    SetProcessCodePage(932);
    EXPECT_TRUE(os_is_char_alpha(kSjisNihon.data(), 2));
    EXPECT_TRUE(os_is_char_alpha("\xB1", 1));       // half-width katakana
    EXPECT_TRUE(os_is_char_alpha("\x82\x60", 2));   // full-width A
    EXPECT_FALSE(os_is_char_alpha("\x82\x60", 1));  // cut
}

TEST(CharAlpha, Utf8Letters) {
    CodePageGuard cp(65001);
    EXPECT_TRUE(os_is_char_alpha(kUtf8A.data(), 3));
    EXPECT_TRUE(os_is_char_alpha("\xC3\x84", 2));
    EXPECT_FALSE(os_is_char_alpha("\xE2\x82\xAC", 3));
    EXPECT_FALSE(os_is_char_alpha("\xC3", 1));
}

// --- os_tolower ----------------------------------------------------------

TEST(ToLower, AsciiInPlace) {
    CodePageGuard cp(936);
    char text[] = "Ab1";
    EXPECT_EQ(os_tolower(text, 3), 1u);
    EXPECT_EQ(os_tolower(text + 1, 2), 1u);
    EXPECT_EQ(os_tolower(text + 2, 1), 1u);
    EXPECT_STREQ(text, "ab1");
}

TEST(ToLower, WesternAccentedCapital) {
    CodePageGuard cp(1252);
    char text[] = "\xC9";
    EXPECT_EQ(os_tolower(text, 1), 1u);
    EXPECT_EQ(text[0], '\xE9');
}

TEST(ToLower, FullWidthAndGreekCapitalsInDoubleByteCodePages) {
    CodePageGuard cp(932);
    char sjis[] = "\x82\x60";
    EXPECT_EQ(os_tolower(sjis, 2), 2u);
    EXPECT_EQ(std::string(sjis), "\x82\x81");
    SetProcessCodePage(936);
    char gbk[] = "\xA3\xC1\xA6\xA1";  // full-width A, Greek capital alpha
    EXPECT_EQ(os_tolower(gbk, 4), 2u);
    EXPECT_EQ(os_tolower(gbk + 2, 2), 2u);
    EXPECT_EQ(std::string(gbk), "\xA3\xE1\xA6\xC1");
}

TEST(ToLower, IdeographsAndKanaAreUnchanged) {
    CodePageGuard cp(936);
    std::string text = kGbkNihon;
    EXPECT_EQ(os_tolower(text.data(), text.size()), 2u);
    EXPECT_EQ(text, kGbkNihon);
}

TEST(ToLower, Utf8CapitalAndLengthChangingLetter) {
    CodePageGuard cp(65001);
    char umlaut[] = "\xC3\x84";
    EXPECT_EQ(os_tolower(umlaut, 2), 2u);
    EXPECT_EQ(std::string(umlaut), "\xC3\xA4");
    // The Kelvin sign lowers to a one-byte k: it is left alone.
    char kelvin[] = "\xE2\x84\xAA";
    EXPECT_EQ(os_tolower(kelvin, 3), 3u);
    EXPECT_EQ(std::string(kelvin), "\xE2\x84\xAA");
}

TEST(ToLower, InvalidBytesAreLeftAndCountOne) {
    CodePageGuard cp(65001);
    char text[] = "\xC3";
    EXPECT_EQ(os_tolower(text, 1), 1u);
    EXPECT_EQ(text[0], '\xC3');
    EXPECT_EQ(os_tolower(text, 0), 0u);
    EXPECT_EQ(os_tolower(nullptr, 3), 0u);
}

// --- os_str_detect_encoded_method ----------------------------------------

TEST(DetectEncoding, AsciiAndEmpty) {
    EXPECT_EQ(os_str_detect_encoded_method("hello", 5), OS_ENCODED_ASCII);
    EXPECT_EQ(os_str_detect_encoded_method("", 0), OS_ENCODED_ASCII);
    EXPECT_EQ(os_str_detect_encoded_method(nullptr, 0), OS_ENCODED_ASCII);
    // A lone escape byte does not make ISO-2022 text.
    EXPECT_EQ(os_str_detect_encoded_method("a\x1B", 2), OS_ENCODED_ASCII);
}

TEST(DetectEncoding, Iso2022JpEscapeSequences) {
    EXPECT_EQ(os_str_detect_encoded_method(kJisA.data(), kJisA.size()), OS_ENCODED_ISO2022JP);
    const std::string old = "\x1B$@$\"\x1B(J";
    EXPECT_EQ(os_str_detect_encoded_method(old.data(), old.size()), OS_ENCODED_ISO2022JP);
    const std::string x0212 = "\x1B$(D0!\x1B(B";
    EXPECT_EQ(os_str_detect_encoded_method(x0212.data(), x0212.size()), OS_ENCODED_ISO2022JP);
}

TEST(DetectEncoding, Utf8) {
    EXPECT_EQ(os_str_detect_encoded_method(kUtf8Test.data(), kUtf8Test.size()), OS_ENCODED_UTF8);
}

TEST(DetectEncoding, ShiftJisAndEucJp) {
    EXPECT_EQ(os_str_detect_encoded_method(kSjisTest.data(), kSjisTest.size()),
              OS_ENCODED_SHIFT_JIS);
    EXPECT_EQ(os_str_detect_encoded_method(kEucTest.data(), kEucTest.size()), OS_ENCODED_EUC_JP);
    const std::string trail5C =
        "x\x95\x5C"
        "y";  // 表 in Shift-JIS
    EXPECT_EQ(os_str_detect_encoded_method(trail5C.data(), trail5C.size()), OS_ENCODED_SHIFT_JIS);
    const std::string eucKatakana = "\x8E\xB1";  // half-width ｱ in EUC-JP
    EXPECT_EQ(os_str_detect_encoded_method(eucKatakana.data(), eucKatakana.size()),
              OS_ENCODED_EUC_JP);
}

TEST(DetectEncoding, AmbiguousTextFollowsKanaThenCodePage) {
    // 0xE0 0xE0 reads as a kanji in both; with no kana the code page decides.
    const std::string both = "\xE0\xE0";
    {
        CodePageGuard cp(51932);
        EXPECT_EQ(os_str_detect_encoded_method(both.data(), both.size()), OS_ENCODED_EUC_JP);
    }
    CodePageGuard cp(932);
    EXPECT_EQ(os_str_detect_encoded_method(both.data(), both.size()), OS_ENCODED_SHIFT_JIS);
    // EUC-JP hiragana are also valid Shift-JIS bytes, but read as kana only
    // in EUC-JP.
    const std::string hiragana = "\xA4\xA2\xA4\xA4";
    EXPECT_EQ(os_str_detect_encoded_method(hiragana.data(), hiragana.size()), OS_ENCODED_EUC_JP);
}

TEST(DetectEncoding, UndecodableBytesAreUnknown) {
    const std::string bad = "\xFF\xFF\xFF";
    EXPECT_EQ(os_str_detect_encoded_method(bad.data(), bad.size()), OS_ENCODED_UNKNOWN);
    const std::string cutSjis = "a\x93";
    EXPECT_EQ(os_str_detect_encoded_method(cutSjis.data(), cutSjis.size()), OS_ENCODED_UNKNOWN);
}

// --- os_conv_strings -----------------------------------------------------

TEST(ConvertStrings, Iso2022JpToEachJapaneseEncoding) {
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_SHIFT_JIS, kJisTest), kSjisTest);
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_EUC_JP, kJisTest), kEucTest);
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_UTF8, kJisTest), kUtf8Test);
}

TEST(ConvertStrings, Iso2022JpToProcessCodePage) {
    CodePageGuard cp(932);
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_LOCAL, kJisA), kSjisA);
    SetProcessCodePage(936);
    // あ in GBK is A4 A2.
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_LOCAL, kJisA), "\xA4\xA2");
    SetProcessCodePage(65001);
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_LOCAL, "ab" + kJisA + "cd"),
              "ab" + kUtf8A + "cd");
}

TEST(ConvertStrings, RoundTripsBetweenJapaneseEncodings) {
    const std::string sjis = "ab" + kSjisNihon + kSjisTest + "z";
    const MString euc = Convert(OS_ENCODED_SHIFT_JIS, OS_ENCODED_EUC_JP, sjis);
    const MString utf8 = Convert(OS_ENCODED_EUC_JP, OS_ENCODED_UTF8, euc);
    const MString jis = Convert(OS_ENCODED_UTF8, OS_ENCODED_ISO2022JP, utf8);
    for (char c : jis)
        EXPECT_LT(static_cast<unsigned char>(c), 0x80);
    EXPECT_EQ(os_str_detect_encoded_method(jis.data(), jis.size()), OS_ENCODED_ISO2022JP);
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_SHIFT_JIS, jis), sjis);
}

TEST(ConvertStrings, HalfWidthKatakanaWidenedForIso2022Jp) {
    // ｱ and ﾊﾟ (ha with a semi-voiced mark) in Shift-JIS.
    const MString jis = Convert(OS_ENCODED_SHIFT_JIS, OS_ENCODED_ISO2022JP, "\xB1\xCA\xDFx");
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_SHIFT_JIS, jis), "\x83\x41\x83\x70x");
    // Other targets keep them half-width.
    EXPECT_EQ(Convert(OS_ENCODED_SHIFT_JIS, OS_ENCODED_EUC_JP, "\xB1"), "\x8E\xB1");
}

TEST(ConvertStrings, UnrepresentableCharacterBecomesQuestionMark) {
    // 日本 has no form in Windows-1252.
    EXPECT_EQ(Convert(OS_ENCODED_SHIFT_JIS, OS_ENCODED_WINDOWS_1252, "a" + kSjisNihon + "b"),
              "a??b");
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_ASCII, "x\xC3\xA9y"), "x?y");
}

TEST(ConvertStrings, MalformedInputBecomesQuestionMark) {
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_SHIFT_JIS,
                      "a\xFF"
                      "b"),
              "a?b");
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_UTF8,
                      "a\xFF"
                      "b"),
              "a?b");
}

TEST(ConvertStrings, ChineseEncodings) {
    EXPECT_EQ(Convert(OS_ENCODED_GBK, OS_ENCODED_UTF8, kGbkNihon), "\xE6\x97\xA5\xE6\x9C\xAC");
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_BIG5, "\xE4\xB8\xAD"), "\xA4\xA4");
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_GB18030, "\xF0\x9F\x98\x80"), "\x94\x39\xFC\x36");
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_UHC, "\xED\x95\x9C"), "\xC7\xD1");  // 한
}

TEST(ConvertStrings, EmptyInputAndBadArguments) {
    MString out = "junk";
    EXPECT_TRUE(os_conv_strings(OS_ENCODED_UTF8, OS_ENCODED_SHIFT_JIS, "", 0, out));
    EXPECT_TRUE(out.empty());
    out = "junk";
    EXPECT_TRUE(os_conv_strings(OS_ENCODED_UTF8, OS_ENCODED_SHIFT_JIS, nullptr, 0, out));
    EXPECT_TRUE(out.empty());
    out = "junk";
    EXPECT_FALSE(os_conv_strings(OS_ENCODED_UTF8, OS_ENCODED_SHIFT_JIS, nullptr, 3, out));
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(os_conv_strings(OS_ENCODED_UNKNOWN, OS_ENCODED_UTF8, "a", 1, out));
    EXPECT_FALSE(os_conv_strings(OS_ENCODED_UTF8, static_cast<xeOsEncodedMethod>(42), "a", 1, out));
}

TEST(ConvertStrings, EmbeddedNulBytesAreKept) {
    const std::string in("a\0b", 3);
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_SHIFT_JIS, in), in);
}

TEST(ConvertStrings, HugeInput) {
    std::string sjis;
    for (int i = 0; i < 100000; ++i)
        sjis += kSjisTest;
    const MString utf8 = Convert(OS_ENCODED_SHIFT_JIS, OS_ENCODED_UTF8, sjis);
    EXPECT_EQ(utf8.size(), 100000u * kUtf8Test.size());
    EXPECT_EQ(utf8.substr(0, kUtf8Test.size()), kUtf8Test);
    EXPECT_EQ(Convert(OS_ENCODED_UTF8, OS_ENCODED_SHIFT_JIS, utf8), sjis);
}

// --- converter names and code points -------------------------------------

TEST(ConverterNames, KnownAndUnknownCodePages) {
    EXPECT_EQ(IcuConverterNameForCodePage(932), "ibm-943_P15A-2003");
    EXPECT_EQ(IcuConverterNameForCodePage(936), "windows-936-2000");
    EXPECT_EQ(IcuConverterNameForCodePage(65001), "UTF-8");
    EXPECT_EQ(IcuConverterNameForCodePage(28591), "ISO-8859-1");
    EXPECT_EQ(IcuConverterNameForCodePage(1251), "windows-1251");
    EXPECT_FALSE(IcuConverterNameForCodePage(437).empty());
    EXPECT_EQ(IcuConverterNameForCodePage(99999), "");
}

TEST(CodePointToLocal, EuroSign) {
    CodePageGuard cp(1252);
    MString out = "junk";
    EXPECT_TRUE(CodePointToProcessCodePage(8364, out));
    EXPECT_EQ(out, "\x80");
    SetProcessCodePage(65001);
    EXPECT_TRUE(CodePointToProcessCodePage(8364, out));
    EXPECT_EQ(out, "\xE2\x82\xAC");
    SetProcessCodePage(28591);
    EXPECT_FALSE(CodePointToProcessCodePage(8364, out));
    EXPECT_TRUE(out.empty());
}

TEST(CodePointToLocal, KanaInShiftJisAndGbk) {
    CodePageGuard cp(932);
    MString out;
    EXPECT_TRUE(CodePointToProcessCodePage(0x3042, out));
    EXPECT_EQ(out, kSjisA);
    SetProcessCodePage(936);
    EXPECT_TRUE(CodePointToProcessCodePage(0x3042, out));
    EXPECT_EQ(out, "\xA4\xA2");
}

TEST(CodePointToLocal, UnrepresentableNeverGivesSubstitute) {
    CodePageGuard cp(932);
    MString out;
    EXPECT_FALSE(CodePointToProcessCodePage(0x0E01, out));  // Thai letter
    EXPECT_FALSE(CodePointToProcessCodePage(0x1F600, out));
    EXPECT_FALSE(CodePointToProcessCodePage(0xD800, out));
    EXPECT_FALSE(CodePointToProcessCodePage(0x110000, out));
    EXPECT_FALSE(CodePointToProcessCodePage(0xFFFFFFFFu, out));
    SetProcessCodePage(65001);
    EXPECT_TRUE(CodePointToProcessCodePage(0x1F600, out));
    EXPECT_EQ(out, "\xF0\x9F\x98\x80");
}

TEST(CharacterServicesThreads, ConcurrentUseIsSafe) {
    CodePageGuard cp(932);
    std::vector<std::thread> threads;
    std::vector<int> hits(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&hits, t] {
            for (int i = 0; i < 2000; ++i) {
                char text[] = "\x82\x60";
                if (os_is_char_alpha(text, 2) && os_tolower(text, 2) == 2 && text[1] == '\x81') {
                    ++hits[t];
                }
            }
        });
    }
    for (auto& th : threads)
        th.join();
    for (int h : hits)
        EXPECT_EQ(h, 2000);
}

TEST(ConvertStrings, OldJisFormWithRomanClosingEscape) {
    // ESC $ @ opens JIS C 6226, ESC ( J returns to JIS-Roman.
    const std::string jis = "\x1B$@$\"\x1B(Jab";
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_SHIFT_JIS, jis), kSjisA + "ab");
}

TEST(ConvertStrings, UnclosedJisSequenceStillConverts) {
    // The input may end inside a sequence; a whole character still converts
    // and a dangling half becomes "?".
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_SHIFT_JIS, "\x1B$B$\""), kSjisA);
    EXPECT_EQ(Convert(OS_ENCODED_ISO2022JP, OS_ENCODED_SHIFT_JIS, "\x1B$B$\"$"), kSjisA + "?");
}
