// Parameter definitions read from the sections of a parameter file, and the
// safe formatting of the values they generate.
#include <gtest/gtest.h>

#include <cstring>

#include "webstep/recording/IniDocument.h"
#include "webstep/recording/ParameterDefinition.h"
#include "webstep/recording/ParameterFormat.h"

namespace {

using Def = CParameterDefinition;

Def Read(const std::string& text, FolderMessages& messages, bool expectOk = true) {
    CIniDocument ini;
    ini.ReadText(text, "f.prm", messages);
    Def d;
    EXPECT_FALSE(ini.Sections().empty());
    if (!ini.Sections().empty()) {
        bool ok = Def::FromSection(ini.Sections()[0], "f.prm", d, messages);
        EXPECT_EQ(ok, expectOk);
    }
    return d;
}

TEST(ParameterDefinitionTest, TableKeysAreReadWithoutRegardToCase) {
    FolderMessages messages;
    Def d = Read(
        "[parameter:CardNumber]\nparamname=\"CardNumber\"\nTYPE=\"Table\"\ntable=\"cards.dat\"\n"
        "ColumnName=\"Col 2\"\ndelimiter=\";\"\nStartRow=\"3\"\nSelectNextRow=\"Unique\"\n"
        "GenerateNewVal=\"EachOccurrence\"\nOutOfRangePolicy=\"AbortVuser\"\n"
        "auto_allocate_block_size=\"5\"\nOriginalValue=\"290000\"\n",
        messages);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(d.name, "CardNumber");
    EXPECT_EQ(d.type, Def::Type::Table);
    EXPECT_EQ(d.tableFile, "cards.dat");
    EXPECT_EQ(d.columnName, "Col 2");
    EXPECT_EQ(d.delimiter, ";");
    EXPECT_EQ(d.startRow, 3);
    EXPECT_EQ(d.selection, Def::Selection::Unique);
    EXPECT_EQ(d.update, Def::Update::EachOccurrence);
    EXPECT_EQ(d.outOfRange, Def::OutOfRange::AbortVuser);
    EXPECT_EQ(d.blockSize, 5);
    EXPECT_EQ(d.originalValue, "290000");
    EXPECT_TRUE(d.UsesTable());
}

TEST(ParameterDefinitionTest, DefaultsAreSequentialEachIterationCyclicAutomaticBlocks) {
    FolderMessages messages;
    Def d = Read("[parameter:A]\nType=Table\nTable=a.dat\n", messages);
    EXPECT_EQ(d.name, "A");  // from the section name when ParamName is missing
    EXPECT_EQ(d.delimiter, ",");
    EXPECT_EQ(d.startRow, 1);
    EXPECT_EQ(d.selection, Def::Selection::Sequential);
    EXPECT_EQ(d.update, Def::Update::EachIteration);
    EXPECT_EQ(d.outOfRange, Def::OutOfRange::ContinueCyclic);
    EXPECT_EQ(d.blockSize, 0);
    EXPECT_TRUE(messages.empty());
}

TEST(ParameterDefinitionTest, SameLineAsNamesTheOtherParameter) {
    FolderMessages messages;
    Def d =
        Read("[parameter:Pin]\nType=Table\nTable=c.dat\nSelectNextRow=\"Same line as  Card_No\"\n",
             messages);
    EXPECT_EQ(d.selection, Def::Selection::SameLineAs);
    EXPECT_EQ(d.sameLineAs, "Card_No");
    Def lower =
        Read("[parameter:Pin]\nType=Table\nTable=c.dat\nSelectNextRow=same line as X\n", messages);
    EXPECT_EQ(lower.sameLineAs, "X");
    EXPECT_TRUE(messages.empty());
}

TEST(ParameterDefinitionTest, WordsWithBlanksAndOtherCaseAreUnderstood) {
    FolderMessages messages;
    Def d = Read(
        "[parameter:A]\nType=table\nTable=a.dat\nGenerateNewVal=each iteration\n"
        "OutOfRangePolicy=Continue With Last\n",
        messages);
    EXPECT_EQ(d.update, Def::Update::EachIteration);
    EXPECT_EQ(d.outOfRange, Def::OutOfRange::ContinueWithLast);
    EXPECT_TRUE(messages.empty());
}

TEST(ParameterDefinitionTest, DelimiterWordsAndQuotedBlank) {
    EXPECT_EQ(Def::ParseDelimiter("tab"), "\t");
    EXPECT_EQ(Def::ParseDelimiter("TAB"), "\t");
    EXPECT_EQ(Def::ParseDelimiter("\\t"), "\t");
    EXPECT_EQ(Def::ParseDelimiter("\t"), "\t");
    EXPECT_EQ(Def::ParseDelimiter("space"), " ");
    EXPECT_EQ(Def::ParseDelimiter(" "), " ");
    EXPECT_EQ(Def::ParseDelimiter(""), ",");
    EXPECT_EQ(Def::ParseDelimiter("||"), "||");
    FolderMessages messages;
    Def d = Read("[parameter:A]\nType=Table\nTable=a.dat\nDelimiter=\" \"\n", messages);
    EXPECT_EQ(d.delimiter, " ");
}

TEST(ParameterDefinitionTest, EveryTypeIsKnownByItsNames) {
    EXPECT_EQ(Def::ParseType("Table"), Def::Type::Table);
    EXPECT_EQ(Def::ParseType("Custom"), Def::Type::Custom);
    EXPECT_EQ(Def::ParseType("Time"), Def::Type::Time);
    EXPECT_EQ(Def::ParseType("Random"), Def::Type::Random);
    EXPECT_EQ(Def::ParseType("Unique"), Def::Type::Unique);
    EXPECT_EQ(Def::ParseType("CurrentIteration"), Def::Type::CurrentIteration);
    EXPECT_EQ(Def::ParseType("Userid"), Def::Type::Userid);
    EXPECT_EQ(Def::ParseType("UserID"), Def::Type::Userid);
    EXPECT_EQ(Def::ParseType("Output"), Def::Type::Output);
    EXPECT_EQ(Def::ParseType("XmlDocument"), Def::Type::Unknown);
    EXPECT_EQ(Def::ParseType(""), Def::Type::Unknown);
}

TEST(ParameterDefinitionTest, NumericKeysOfTheGeneratedTypes) {
    FolderMessages messages;
    Def r = Read("[parameter:R]\nType=Random\nMinValue=10\nMaxValue=\"20\"\nFormat=\"%03d\"\n",
                 messages);
    EXPECT_EQ(r.minValue, 10);
    EXPECT_EQ(r.maxValue, 20);
    EXPECT_EQ(r.format, "%03d");
    Def u = Read("[parameter:U]\nType=Unique\nStartValue=1000\nBlockSize=50\n", messages);
    EXPECT_EQ(u.startValue, 1000);
    EXPECT_EQ(u.uniqueBlockSize, 50);
    Def t = Read("[parameter:T]\nType=Time\nFormat=\"%H:%M\"\nOffset=-3600\n", messages);
    EXPECT_EQ(t.offset, -3600);
    EXPECT_EQ(t.format, "%H:%M");
    EXPECT_TRUE(messages.empty());
}

TEST(ParameterDefinitionTest, BadValuesFallBackWithAWarningNamingFileAndLine) {
    FolderMessages messages;
    Def d = Read(
        "[parameter:A]\nType=Table\nTable=a.dat\nStartRow=first\nSelectNextRow=Shuffle\n"
        "GenerateNewVal=Sometimes\nOutOfRangePolicy=Explode\n",
        messages);
    EXPECT_EQ(d.startRow, 1);
    EXPECT_EQ(d.selection, Def::Selection::Sequential);
    EXPECT_EQ(d.update, Def::Update::EachIteration);
    EXPECT_EQ(d.outOfRange, Def::OutOfRange::ContinueCyclic);
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[0].file, "f.prm");
    EXPECT_EQ(messages[0].line, 4u);
    EXPECT_NE(messages[0].text.find("StartRow"), std::string::npos);
    EXPECT_EQ(messages[1].line, 5u);
    EXPECT_EQ(messages[3].line, 7u);
}

TEST(ParameterDefinitionTest, MinAboveMaxIsSwapped) {
    FolderMessages messages;
    Def d = Read("[parameter:R]\nType=Random\nMinValue=9\nMaxValue=3\n", messages);
    EXPECT_EQ(d.minValue, 3);
    EXPECT_EQ(d.maxValue, 9);
    EXPECT_EQ(messages.size(), 1u);
}

TEST(ParameterDefinitionTest, UnknownTypeIsReportedOnce) {
    FolderMessages messages;
    Def d = Read("[parameter:Doc]\nType=XmlDocument\nOriginalValue=x\n", messages);
    EXPECT_EQ(d.type, Def::Type::Unknown);
    EXPECT_EQ(d.typeText, "XmlDocument");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].line, 2u);
    EXPECT_NE(messages[0].text.find("XmlDocument"), std::string::npos);
}

TEST(ParameterDefinitionTest, SectionWithoutAnyNameIsSkipped) {
    FolderMessages messages;
    Read("[parameter:]\nType=Table\n", messages, false);
    EXPECT_EQ(messages.size(), 1u);
}

TEST(ParameterFormatTest, IntegerConversionsWithFlagsWidthAndText) {
    EXPECT_EQ(CParameterFormat::FormatInteger("%d", 42), "42");
    EXPECT_EQ(CParameterFormat::FormatInteger("%03d", 7), "007");
    EXPECT_EQ(CParameterFormat::FormatInteger("id-%05u!", 42), "id-00042!");
    EXPECT_EQ(CParameterFormat::FormatInteger("%-4d|", 5), "5   |");
    EXPECT_EQ(CParameterFormat::FormatInteger("%x %X %o", 255), "ff FF 377");
    EXPECT_EQ(CParameterFormat::FormatInteger("%ld %lld %hd", 3), "3 3 3");
    EXPECT_EQ(CParameterFormat::FormatInteger("%+d", 3), "+3");
    EXPECT_EQ(CParameterFormat::FormatInteger("", -12), "-12");
    EXPECT_EQ(CParameterFormat::FormatInteger("100%%", 1), "100%");
}

TEST(ParameterFormatTest, HostileFormatsAreCopiedNotObeyed) {
    EXPECT_EQ(CParameterFormat::FormatInteger("%s", 1), "%s");
    EXPECT_EQ(CParameterFormat::FormatInteger("%n%d", 1), "%n1");
    EXPECT_EQ(CParameterFormat::FormatInteger("%", 1), "%");
    EXPECT_EQ(CParameterFormat::FormatInteger("a%", 1), "a%");
    EXPECT_EQ(CParameterFormat::FormatInteger("%*d", 1), "%*d");
    EXPECT_EQ(CParameterFormat::FormatInteger("%.", 1), "%.");
    // A huge width is capped instead of asking for gigabytes.
    std::string wide = CParameterFormat::FormatInteger("%99999999999d", 1);
    EXPECT_EQ(wide.size(), 64u);
    EXPECT_EQ(wide.back(), '1');
    std::string zeros = CParameterFormat::FormatInteger("%.9999d", 1);
    EXPECT_EQ(zeros.size(), 64u);
}

TEST(ParameterFormatTest, TimeCodesAndUnknownCodes) {
    std::tm t{};
    t.tm_year = 2024 - 1900;
    t.tm_mon = 1;
    t.tm_mday = 29;
    t.tm_hour = 13;
    t.tm_min = 5;
    t.tm_sec = 9;
    EXPECT_EQ(CParameterFormat::FormatTime("%Y-%m-%d %H:%M:%S", t), "2024-02-29 13:05:09");
    EXPECT_EQ(CParameterFormat::FormatTime("", t), "2024-02-29 13:05:09");
    EXPECT_EQ(CParameterFormat::FormatTime("%d/%m/%y %%", t), "29/02/24 %");
    EXPECT_EQ(CParameterFormat::FormatTime("%Q%", t), "%Q%");
}

}  // namespace
