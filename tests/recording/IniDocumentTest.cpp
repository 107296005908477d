// The tolerant INI reader of a script folder's files.
#include <gtest/gtest.h>

#include "settings/ScratchDir.h"
#include "webstep/recording/IniDocument.h"

namespace {

CIniDocument Read(const std::string& text, FolderMessages& messages) {
    CIniDocument ini;
    ini.ReadText(text, "f.ini", messages);
    return ini;
}

TEST(IniDocumentTest, NamesCompareWithoutCaseAndQuotesAreDropped) {
    FolderMessages messages;
    CIniDocument ini = Read("[General]\nParamLeftBrace=\"<\"\n  Key = v a l \n", messages);
    EXPECT_EQ(ini.Get("general", "PARAMLEFTBRACE").value_or("?"), "<");
    EXPECT_EQ(ini.Get("GENERAL", "key").value_or("?"), "v a l");
    EXPECT_FALSE(ini.Get("General", "missing").has_value());
    EXPECT_EQ(ini.Get("Other", "Key", "dflt"), "dflt");
    EXPECT_TRUE(messages.empty());
}

TEST(IniDocumentTest, ByteOrderMarkAndEveryLineEnd) {
    FolderMessages messages;
    CIniDocument ini = Read("\xEF\xBB\xBF[a]\r\nx=1\ry=2\nz=3\r\n\r\n[b]\rw=4", messages);
    EXPECT_EQ(ini.GetInt("a", "x", 0), 1);
    EXPECT_EQ(ini.GetInt("a", "y", 0), 2);
    EXPECT_EQ(ini.GetInt("a", "z", 0), 3);
    EXPECT_EQ(ini.GetInt("b", "w", 0), 4);
    ASSERT_EQ(ini.Sections().size(), 2u);
    EXPECT_EQ(ini.Sections()[1].line, 6u);
}

TEST(IniDocumentTest, FirstOccurrenceWins) {
    FolderMessages messages;
    CIniDocument ini = Read("[s]\nk=1\nK=2\n[S]\nk=3\n", messages);
    EXPECT_EQ(ini.Get("s", "k").value_or(""), "1");
}

TEST(IniDocumentTest, CommentsAreSkippedAndBrokenLinesWarnWithTheirLine) {
    FolderMessages messages;
    CIniDocument ini = Read("; top\n[s]\n# hash\nflag\n[broken\nk=v\n", messages);
    EXPECT_EQ(ini.Get("s", "k").value_or(""), "v");  // "[broken" opens no section
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].line, 4u);
    EXPECT_EQ(messages[1].line, 5u);
    EXPECT_NE(messages[1].Format().find("f.ini:5: warning:"), std::string::npos);
}

TEST(IniDocumentTest, KeysBeforeAnySectionWarnOnce) {
    FolderMessages messages;
    Read("a=1\nb=2\n[s]\n", messages);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].line, 1u);
}

TEST(IniDocumentTest, ValueKeepsEqualsSignsAndOddQuotes) {
    FolderMessages messages;
    CIniDocument ini = Read("[s]\nFormat=\"%Y-%m-%d\"\nq=\"a\nr=a=b\n", messages);
    EXPECT_EQ(ini.Get("s", "Format").value_or(""), "%Y-%m-%d");
    EXPECT_EQ(ini.Get("s", "q").value_or(""), "\"a");
    EXPECT_EQ(ini.Get("s", "r").value_or(""), "a=b");
}

TEST(IniDocumentTest, NumbersWithDefaults) {
    FolderMessages messages;
    CIniDocument ini = Read("[s]\na= 42x\nb=abc\nc=-3\nd=2.5\n", messages);
    EXPECT_EQ(ini.GetInt("s", "a", 7), 42);
    EXPECT_EQ(ini.GetInt("s", "b", 7), 7);
    EXPECT_EQ(ini.GetInt("s", "c", 7), -3);
    EXPECT_DOUBLE_EQ(ini.GetNumber("s", "d", 0), 2.5);
    EXPECT_EQ(ini.GetInt("s", "none", 9), 9);
}

TEST(IniDocumentTest, MissingFileWarnsAndEmptyTextIsEmpty) {
    FolderMessages messages;
    CIniDocument ini;
    EXPECT_FALSE(ini.ReadFile("/nonexistent/x.ini", messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].text.find("cannot be read"), std::string::npos);
    messages.clear();
    ini.ReadText("", "e.ini", messages);
    EXPECT_TRUE(ini.Sections().empty());
    EXPECT_TRUE(messages.empty());
}

TEST(IniDocumentTest, CodePageBytesAreKeptAsTheyAre) {
    FolderMessages messages;
    CIniDocument ini = Read("[s]\nname=\xC4\xE3\xBA\xC3\nutf=\xE4\xB8\xAD\n", messages);
    EXPECT_EQ(ini.Get("s", "name").value_or(""), "\xC4\xE3\xBA\xC3");
    EXPECT_EQ(ini.Get("s", "utf").value_or(""), "\xE4\xB8\xAD");
}

}  // namespace
