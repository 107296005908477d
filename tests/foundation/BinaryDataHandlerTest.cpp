#include "webstep/foundation/BinaryDataHandler.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "webstep/platform/CharacterServices.h"
#include "webstep/platform/CodePage.h"

namespace {

struct CodePageScope {
    explicit CodePageScope(unsigned int cp) { webstep::platform::SetProcessCodePage(cp); }
    ~CodePageScope() { webstep::platform::SetProcessCodePage(0); }
};

// Decodes text and returns the produced bytes (embedded NULs included).
std::string Decode(const char* text, bool unescapeBackslash) {
    char* result = nullptr;
    const int n = CBinaryDataHandler::ConvertAsciiToBinary(text, &result, unescapeBackslash);
    EXPECT_GE(n, 0);
    EXPECT_NE(result, nullptr);
    std::string bytes(result, static_cast<std::size_t>(n));
    EXPECT_EQ(result[n], '\0');
    std::free(result);
    return bytes;
}

std::string Encode(const std::string& bytes, bool keepText, bool* escaped = nullptr) {
    MString out = "previous";
    const bool mark = CBinaryDataHandler::ConvertBinaryToAsciiEx(
        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()),
        out, false, keepText);
    if (escaped != nullptr) {
        *escaped = mark;
    }
    return out;
}

bool NeedsEscape(const std::string& bytes) {
    MString out = "untouched";
    const bool mark = CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()),
        out, true);
    EXPECT_EQ(out, "untouched");
    return mark;
}

TEST(BinaryDataHandler, CharToHexaAcceptsBothCasesOnly) {
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('0'), 0);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('9'), 9);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('A'), 10);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('f'), 15);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('F'), 15);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('g'), -1);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('G'), -1);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('/'), -1);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa(':'), -1);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa('\0'), -1);
    EXPECT_EQ(CBinaryDataHandler::CharToHexa(static_cast<char>(0xC1)), -1);
}

TEST(BinaryDataHandler, GetEscapedCharReadsXOrCapitalXAndTwoDigits) {
    char lower[] = "x4a";
    char upper[] = "XfF";
    char bad[] = "x4g";
    char notX[] = "y41";
    char shortText[] = "x4";
    char empty[] = "";
    EXPECT_EQ(CBinaryDataHandler::GetEscapedChar(lower), 0x4A);
    EXPECT_EQ(CBinaryDataHandler::GetEscapedChar(upper), 0xFF);
    EXPECT_EQ(CBinaryDataHandler::GetEscapedChar(bad), -1);
    EXPECT_EQ(CBinaryDataHandler::GetEscapedChar(notX), -1);
    EXPECT_EQ(CBinaryDataHandler::GetEscapedChar(shortText), -1);
    EXPECT_EQ(CBinaryDataHandler::GetEscapedChar(empty), -1);
    EXPECT_EQ(CBinaryDataHandler::GetEscapedChar(nullptr), -1);
}

TEST(BinaryDataHandler, DecodingBackslashX41YieldsByte41) {
    EXPECT_EQ(Decode("\\x41", false), "A");
    EXPECT_EQ(Decode("\\X4a", true), "J");
}

TEST(BinaryDataHandler, DecodingBadHexDigitKeepsFourCharacters) {
    EXPECT_EQ(Decode("\\x4g", false), "\\x4g");
    EXPECT_EQ(Decode("\\x4g", true), "\\x4g");
}

TEST(BinaryDataHandler, DecodingTwoBackslashesDependsOnUnescapeFlag) {
    EXPECT_EQ(Decode("\\\\", true), "\\");
    EXPECT_EQ(Decode("\\\\", false), "\\\\");
}

TEST(BinaryDataHandler, DecodingEscapeTooNearTheEndIsCopiedLiterally) {
    EXPECT_EQ(Decode("ab\\x4", true), "ab\\x4");
    EXPECT_EQ(Decode("\\x", true), "\\x");
    EXPECT_EQ(Decode("\\", true), "\\");
    EXPECT_EQ(Decode("ab\\", false), "ab\\");
}

TEST(BinaryDataHandler, DecodingEscapedZeroByteCountsIt) {
    const std::string bytes = Decode("a\\x00b", false);
    EXPECT_EQ(bytes, std::string("a\0b", 3));
}

TEST(BinaryDataHandler, DecodingDoubledBackslashBeforeXIsNotAnEscape) {
    EXPECT_EQ(Decode("\\\\x41", true), "\\x41");
    EXPECT_EQ(Decode("\\\\x41", false), "\\A");
}

TEST(BinaryDataHandler, DecodingEmptyOrNullTextGivesEmptyResult) {
    EXPECT_EQ(Decode("", true), "");
    EXPECT_EQ(Decode(nullptr, true), "");
}

TEST(BinaryDataHandler, DecodingIntoNullResultFails) {
    EXPECT_EQ(CBinaryDataHandler::ConvertAsciiToBinary("\\x41", nullptr, true), -1);
}

TEST(BinaryDataHandler, EncodingZeroAndLetterEscapesZeroAndReportsTrue) {
    bool escaped = false;
    EXPECT_EQ(Encode(std::string("\0A", 2), true, &escaped), "\\x00A");
    EXPECT_TRUE(escaped);
}

TEST(BinaryDataHandler, EncodingPlainTextReportsFalse) {
    bool escaped = true;
    EXPECT_EQ(Encode("Hello, world!\r\n\tok", true, &escaped), "Hello, world!\r\n\tok");
    EXPECT_FALSE(escaped);
}

TEST(BinaryDataHandler, EncodingDoublesBackslash) {
    bool escaped = true;
    EXPECT_EQ(Encode("a\\b", true, &escaped), "a\\\\b");
    EXPECT_FALSE(escaped);
}

TEST(BinaryDataHandler, EncodingWithoutKeepTextEscapesLetters) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    bool escaped = false;
    EXPECT_EQ(Encode("Az\\", false, &escaped), "\\x41\\x7A\\x5C");
    EXPECT_TRUE(escaped);
}

TEST(BinaryDataHandler, EncodingUsesUpperCaseHexAndEscapesDelAndHighBytes) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    EXPECT_EQ(Encode("\x7F\xAB\xFF\x1F", true), "\\x7F\\xAB\\xFF\\x1F");
}

TEST(BinaryDataHandler, EncodingEmptyInputClearsOutputAndReportsFalse) {
    MString out = "old";
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAsciiEx(
        reinterpret_cast<const unsigned char*>(""), 0, out, false, true));
    EXPECT_EQ(out, "");
}

TEST(BinaryDataHandler, CheckModeOnEmptyInputReturnsFalse) {
    MString out = "kept";
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>(""), 0, out, true));
    EXPECT_EQ(out, "kept");
    unsigned int length = 7;
    char buffer[8] = {};
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>(""), 0, buffer, &length, true));
}

TEST(BinaryDataHandler, CheckModeTellsWhetherEscapingIsNeeded) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    EXPECT_FALSE(NeedsEscape("plain text\\ with backslash"));
    EXPECT_TRUE(NeedsEscape(std::string("nul\0inside", 10)));
    EXPECT_TRUE(NeedsEscape("latin1 \xE9"));
}

TEST(BinaryDataHandler, DoubleByteCharactersAreNeverEscapedEvenWithoutKeepText) {
    CodePageScope cp(webstep::platform::CP_GBK);
    bool escaped = true;
    // Two GBK characters (a trail byte equal to '@' among them).
    EXPECT_EQ(Encode("\xD6\xD0\x81\x40", false, &escaped), "\xD6\xD0\x81\x40");
    EXPECT_FALSE(escaped);
    EXPECT_EQ(Encode("a\xD6\xD0", false, &escaped), "\\x61\xD6\xD0");
    EXPECT_TRUE(escaped);
}

TEST(BinaryDataHandler, ShiftJisTrailBackslashIsCopiedNotDoubled) {
    CodePageScope cp(webstep::platform::CP_SHIFT_JIS);
    bool escaped = true;
    EXPECT_EQ(Encode("\x95\x5C", true, &escaped), "\x95\x5C");
    EXPECT_FALSE(escaped);
    EXPECT_FALSE(NeedsEscape("\x95\x5C"));
}

TEST(BinaryDataHandler, HalfWidthKatakanaIsCopiedUnderShiftJis) {
    CodePageScope cp(webstep::platform::CP_SHIFT_JIS);
    std::string katakana;
    for (int c = 0xA1; c <= 0xDF; ++c) {
        katakana.push_back(static_cast<char>(c));
    }
    bool escaped = true;
    EXPECT_EQ(Encode(katakana, false, &escaped), katakana);
    EXPECT_FALSE(escaped);
    EXPECT_FALSE(NeedsEscape(katakana));
}

TEST(BinaryDataHandler, KatakanaBytesAreEscapedInSingleByteCodePage) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    EXPECT_EQ(Encode("\xA1\xDF", true), "\\xA1\\xDF");
}

TEST(BinaryDataHandler, CutDoubleByteCharacterAtEndIsEscaped) {
    CodePageScope cp(webstep::platform::CP_SHIFT_JIS);
    bool escaped = false;
    EXPECT_EQ(Encode("a\x95", true, &escaped), "a\\x95");
    EXPECT_TRUE(escaped);
}

TEST(BinaryDataHandler, BufferFormWithCapacityTwoAndZeroByteStoresFourWritesNothing) {
    const unsigned char zero[1] = {0};
    char buffer[3] = {'#', '#', '#'};
    unsigned int length = 2;
    EXPECT_TRUE(CBinaryDataHandler::ConvertBinaryToAscii(zero, 1, buffer, &length, false));
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(buffer[1], '#');
    EXPECT_EQ(buffer[2], '#');
}

TEST(BinaryDataHandler, BufferFormWritesWhatFitsAndCountsTheRest) {
    const std::string input = std::string("ab\\", 3) + std::string(1, '\x01') + "c";
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    unsigned int length = 4;  // "ab" fits, the doubled backslash fits, the escape does not
    EXPECT_TRUE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>(input.data()), static_cast<unsigned>(input.size()),
        buffer, &length, false));
    EXPECT_EQ(length, 9u);
    EXPECT_EQ(std::string(buffer, 5), "ab\\\\#");
}

TEST(BinaryDataHandler, BufferFormMatchesStringFormForSingleBytes) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    std::string input;
    for (int i = 0; i < 256; ++i) {
        input.push_back(static_cast<char>(i));
    }
    char buffer[1024];
    unsigned int length = sizeof buffer;
    EXPECT_TRUE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>(input.data()), 256, buffer, &length, false));
    EXPECT_EQ(std::string(buffer, length), Encode(input, true));
}

TEST(BinaryDataHandler, BufferFormHasNoMultiByteHandling) {
    CodePageScope cp(webstep::platform::CP_GBK);
    char buffer[16];
    unsigned int length = sizeof buffer;
    EXPECT_TRUE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>("\xD6\xD0"), 2, buffer, &length, false));
    EXPECT_EQ(std::string(buffer, length), "\\xD6\\xD0");
}

TEST(BinaryDataHandler, BufferFormRefusesNullPointers) {
    char buffer[8];
    unsigned int length = 8;
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAscii(nullptr, 1, buffer, &length, false));
    EXPECT_EQ(length, 8u);
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>("\x01"), 1, nullptr, &length, false));
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>("\x01"), 1, buffer, nullptr, false));
    // Check mode needs no output buffer.
    EXPECT_TRUE(CBinaryDataHandler::ConvertBinaryToAscii(
        reinterpret_cast<const unsigned char*>("\x01"), 1, nullptr, nullptr, true));
}

TEST(BinaryDataHandler, StringFormWithNullDataReportsFalse) {
    MString out = "x";
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAsciiEx(nullptr, 5, out, false, true));
    EXPECT_EQ(out, "");
}

TEST(BinaryDataHandler, AllByteValuesRoundTrip) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    std::string input;
    for (int i = 0; i < 256; ++i) {
        input.push_back(static_cast<char>(i));
    }
    for (bool keepText : {true, false}) {
        const std::string text = Encode(input, keepText);
        EXPECT_EQ(text.find('\0'), std::string::npos);
        EXPECT_EQ(Decode(text.c_str(), true), input) << "keepText=" << keepText;
    }
}

TEST(BinaryDataHandler, HugeMixedInputRoundTrips) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    std::string input;
    input.reserve(3 << 20);
    unsigned state = 12345;
    for (int i = 0; i < (3 << 20); ++i) {
        state = state * 1103515245u + 12345u;
        input.push_back(static_cast<char>((i % 3 == 0) ? (state >> 16) : 'a' + (state >> 20) % 26));
    }
    const std::string text = Encode(input, true);
    EXPECT_EQ(Decode(text.c_str(), true), input);
    char* out = nullptr;
    std::string copy = text;
    EXPECT_EQ(CBinaryDataHandler::ConvertAsciiToBinary(copy.c_str(), &out, true),
              static_cast<int>(input.size()));
    std::free(out);
}

TEST(BinaryDataHandler, FreeFunctionsForward) {
    EXPECT_EQ(CharToHexa('b'), 11);
    char esc[] = "x7e";
    EXPECT_EQ(GetEscapedChar(esc), 0x7E);
    char* result = nullptr;
    EXPECT_EQ(ConvertAsciiToBinary("\\x7e!", &result, false), 2);
    EXPECT_STREQ(result, "~!");
    std::free(result);
    MString out;
    EXPECT_TRUE(ConvertBinaryToAsciiEx(reinterpret_cast<const unsigned char*>("\x02"), 1, out,
                                       false, true));
    EXPECT_EQ(out, "\\x02");
    EXPECT_FALSE(ConvertBinaryToAscii(reinterpret_cast<const unsigned char*>("ok"), 2, out, false));
    EXPECT_EQ(out, "ok");
    char buffer[8];
    unsigned int length = sizeof buffer;
    EXPECT_FALSE(ConvertBinaryToAscii(reinterpret_cast<const unsigned char*>("ok"), 2, buffer,
                                      &length, false));
    EXPECT_EQ(length, 2u);
}

TEST(BinaryDataHandler, AssignmentDoesNothingHarmful) {
    CBinaryDataHandler a;
    CBinaryDataHandler b;
    CBinaryDataHandler& result = (a = b);
    EXPECT_EQ(&result, &a);
}

}  // namespace

namespace {

// Restores the character-set type to follow the code page again.
struct CharsetTypeScope {
    explicit CharsetTypeScope(webstep::platform::xeOsCharsetType type) {
        webstep::platform::os_set_charset_type(type);
    }
    ~CharsetTypeScope() {
        webstep::platform::os_set_charset_type(webstep::platform::OS_CHARSET_NONE);
    }
};

TEST(BinaryDataHandler, SingleByteCharsetTypeEscapesDoubleByteCharacters) {
    CodePageScope cp(webstep::platform::CP_GBK);
    CharsetTypeScope type(webstep::platform::OS_CHARSET_SINGLE_BYTE);
    bool escaped = false;
    EXPECT_EQ(Encode("\xD6\xD0", true, &escaped), "\\xD6\\xD0");
    EXPECT_TRUE(escaped);
}

TEST(BinaryDataHandler, Utf8CharactersAreKeptUnderUtf8CodePage) {
    CodePageScope cp(webstep::platform::CP_UTF8);
    bool escaped = true;
    EXPECT_EQ(Encode("\xE4\xB8\xAD", true, &escaped), "\xE4\xB8\xAD");
    EXPECT_FALSE(escaped);
    EXPECT_EQ(Encode("\xE4\xB8", true, &escaped), "\\xE4\\xB8");  // a cut character
    EXPECT_TRUE(escaped);
}

}  // namespace

namespace {

TEST(BinaryDataHandler, CheckModeWithoutKeepTextNeedsEscapeForAnySingleByte) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    MString out = "kept";
    EXPECT_TRUE(CBinaryDataHandler::ConvertBinaryToAsciiEx(
        reinterpret_cast<const unsigned char*>("abc"), 3, out, true, false));
    EXPECT_EQ(out, "kept");
}

TEST(BinaryDataHandler, CheckModeWithoutKeepTextAcceptsOnlyDoubleByteText) {
    CodePageScope cp(webstep::platform::CP_GBK);
    MString out;
    EXPECT_FALSE(CBinaryDataHandler::ConvertBinaryToAsciiEx(
        reinterpret_cast<const unsigned char*>("\xD6\xD0\xCE\xC4"), 4, out, true, false));
    EXPECT_TRUE(CBinaryDataHandler::ConvertBinaryToAsciiEx(
        reinterpret_cast<const unsigned char*>("\xD6\xD0!"), 3, out, true, false));
}

TEST(BinaryDataHandler, DecodingStopsAtTheTextsTerminator) {
    char* result = nullptr;
    EXPECT_EQ(CBinaryDataHandler::ConvertAsciiToBinary("ab\0\\x41", &result, true), 2);
    EXPECT_STREQ(result, "ab");
    std::free(result);
}

}  // namespace
