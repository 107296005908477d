// Parameter tables (*.dat) and the parameter set that reads a folder's
// parameter file with its tables.
#include <gtest/gtest.h>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ParameterTable.h"

namespace {

using webstep::test::ScratchDir;

CParameterTable ReadTable(const std::string& text, FolderMessages& messages,
                          const std::string& delimiter = ",") {
    CParameterTable table;
    table.ReadText(text, "cards.dat", delimiter, messages);
    return table;
}

TEST(ParameterTableTest, HeaderRowsAndEveryLineEnd) {
    FolderMessages messages;
    CParameterTable t = ReadTable(
        "\xEF\xBB\xBF"
        "card,pin\r\n2900001,0000\n2900002,4321\r\n\r\n\n",
        messages);
    ASSERT_EQ(t.Columns().size(), 2u);
    EXPECT_EQ(t.Columns()[0], "card");
    EXPECT_EQ(t.Columns()[1], "pin");
    ASSERT_EQ(t.RowCount(), 2u);  // blank trailing lines ignored
    EXPECT_EQ(t.Field(0, 0), "2900001");
    EXPECT_EQ(t.Field(1, 1), "4321");
    EXPECT_TRUE(messages.empty());
}

TEST(ParameterTableTest, CodePageBytesAreKeptAsBytes) {
    FolderMessages messages;
    CParameterTable t = ReadTable(
        "name\nM\xFC"
        "ller\n\xC3\xA9t\xC3\xA9\n",
        messages);
    ASSERT_EQ(t.RowCount(), 2u);
    EXPECT_EQ(t.Field(0, 0),
              "M\xFC"
              "ller");
    EXPECT_EQ(t.Field(1, 0), "\xC3\xA9t\xC3\xA9");
}

TEST(ParameterTableTest, ShortRowsGetEmptyFieldsAndOneWarningWithTheFirstLine) {
    FolderMessages messages;
    CParameterTable t = ReadTable("a,b,c\n1,2,3\n4\n5,6\n7,8,9,10\n", messages);
    ASSERT_EQ(t.RowCount(), 4u);
    EXPECT_EQ(t.Field(1, 0), "4");
    EXPECT_EQ(t.Field(1, 1), "");
    EXPECT_EQ(t.Field(2, 2), "");
    EXPECT_EQ(t.Field(3, 2), "9");  // fields beyond the header are dropped
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].file, "cards.dat");
    EXPECT_EQ(messages[0].line, 3u);
    EXPECT_NE(messages[0].text.find("2 rows"), std::string::npos);
}

TEST(ParameterTableTest, TabAndMultiByteDelimiters) {
    FolderMessages messages;
    CParameterTable tab = ReadTable("a\tb\nx y\tz\n", messages, "\t");
    EXPECT_EQ(tab.Field(0, 0), "x y");
    EXPECT_EQ(tab.Field(0, 1), "z");
    CParameterTable two = ReadTable("a||b\n1||2\n", messages, "||");
    EXPECT_EQ(two.Field(0, 1), "2");
    EXPECT_TRUE(messages.empty());
}

TEST(ParameterTableTest, ColumnsByNameCaseAndPlace) {
    FolderMessages messages;
    CParameterTable t = ReadTable("card,Pin,Col 1\n1,2,3\n", messages);
    EXPECT_EQ(t.FindColumn("card"), 0);
    EXPECT_EQ(t.FindColumn("pin"), 1);
    EXPECT_EQ(t.FindColumn("Col 2"), 1);
    EXPECT_EQ(t.FindColumn("col2"), 1);
    EXPECT_EQ(t.FindColumn("#3"), 2);
    EXPECT_EQ(t.FindColumn("Col 1"), 2);  // a real column of that name wins
    EXPECT_EQ(t.FindColumn("Col 4"), -1);
    EXPECT_EQ(t.FindColumn("Col 0"), -1);
    EXPECT_EQ(t.FindColumn("nope"), -1);
}

TEST(ParameterTableTest, EmptyFileIsReported) {
    FolderMessages messages;
    CParameterTable t = ReadTable("\r\n\n", messages);
    EXPECT_EQ(t.RowCount(), 0u);
    EXPECT_EQ(messages.size(), 1u);
}

TEST(ParameterSetTest, MissingParameterFileMeansNoParametersAndNoMessage) {
    ScratchDir dir;
    CParameterSet set;
    FolderMessages messages;
    EXPECT_TRUE(set.Load(dir.File("none.prm"), dir.path().string(), messages));
    EXPECT_TRUE(set.Names().empty());
    EXPECT_TRUE(messages.empty());
}

TEST(ParameterSetTest, LoadsDefinitionsInFileOrderAndSharesTables) {
    ScratchDir dir;
    ScratchDir::Write(dir.File("cards.dat"), "card,pin\n1,11\n2,22\n");
    ScratchDir::Write(dir.File("f.prm"),
                      "[parameter:Card]\nParamName=Card\nType=Table\nTable=cards.dat\n"
                      "ColumnName=card\n"
                      "[Other]\nx=1\n"
                      "[parameter:Pin]\nParamName=Pin\nType=Table\nTable=CARDS.DAT\n"
                      "ColumnName=Col 2\nSelectNextRow=Same line as Card\n"
                      "[parameter:Id]\nType=Userid\n");
    CParameterSet set;
    FolderMessages messages;
    ASSERT_TRUE(set.Load(dir.File("f.prm"), dir.path().string(), messages));
    for (const FolderMessage& m : messages)
        ADD_FAILURE() << m.Format();
    EXPECT_EQ(set.Names(), (std::vector<std::string>{"Card", "Pin", "Id"}));
    const CParameterDefinition* card = set.Find("Card");
    const CParameterDefinition* pin = set.Find("Pin");
    ASSERT_TRUE(card && pin);
    ASSERT_TRUE(card->table);
    EXPECT_EQ(card->table, pin->table);  // read once (the name's case differs)
    EXPECT_EQ(card->column, 0);
    EXPECT_EQ(pin->column, 1);
    EXPECT_EQ(set.Find("card"), nullptr);
}

TEST(ParameterSetTest, MissingTableIsOneWarningNamingTheFile) {
    ScratchDir dir;
    CParameterSet set;
    FolderMessages messages;
    set.LoadText(
        "[parameter:Card]\nType=Table\nTable=cards.dat\nColumnName=card\n"
        "[parameter:Pin]\nType=Table\nTable=cards.dat\nColumnName=pin\n",
        "f.prm", dir.path().string(), messages);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].file.find("cards.dat"), std::string::npos);
    EXPECT_EQ(set.Find("Card")->table, nullptr);
    EXPECT_EQ(set.Find("Pin")->table, nullptr);
}

TEST(ParameterSetTest, WindowsPathOfATableFindsTheFileInTheFolder) {
    ScratchDir dir;
    ScratchDir::Write(dir.File("cards.dat"), "card\n1\n");
    CParameterSet set;
    FolderMessages messages;
    set.LoadText(
        "[parameter:Card]\nType=Table\nTable=C:\\scripts\\loans\\Cards.dat\n"
        "ColumnName=card\n",
        "f.prm", dir.path().string(), messages);
    EXPECT_TRUE(messages.empty());
    ASSERT_TRUE(set.Find("Card")->table);
    EXPECT_EQ(set.Find("Card")->table->RowCount(), 1u);
}

TEST(ParameterSetTest, UnknownColumnAndBadSameLineAreReported) {
    ScratchDir dir;
    ScratchDir::Write(dir.File("t.dat"), "a\n1\n");
    CParameterSet set;
    FolderMessages messages;
    set.LoadText(
        "[parameter:A]\nType=Table\nTable=t.dat\nColumnName=zz\n"
        "[parameter:B]\nType=Table\nTable=t.dat\nColumnName=a\nSelectNextRow=Same line as Nobody\n"
        "[parameter:C]\nType=Table\nTable=t.dat\nColumnName=a\nSelectNextRow=Same line as D\n"
        "[parameter:D]\nType=Table\nTable=t.dat\nColumnName=a\nSelectNextRow=Same line as C\n",
        "f.prm", dir.path().string(), messages);
    ASSERT_EQ(messages.size(), 3u);  // the cycle is broken at its first member
    EXPECT_EQ(messages[0].line, 1u);
    EXPECT_NE(messages[0].text.find("zz"), std::string::npos);
    EXPECT_EQ(set.Find("A")->column, -1);
    EXPECT_EQ(set.Find("B")->selection, CParameterDefinition::Selection::Sequential);
    EXPECT_EQ(set.Find("C")->selection, CParameterDefinition::Selection::Sequential);
}

TEST(ParameterSetTest, DuplicateDefinitionKeepsTheFirst) {
    CParameterSet set;
    FolderMessages messages;
    set.LoadText(
        "[parameter:A]\nType=Custom\nOriginalValue=1\n"
        "[parameter:B]\nParamName=A\nType=Custom\nOriginalValue=2\n",
        "f.prm", "", messages);
    EXPECT_EQ(set.Names().size(), 1u);
    EXPECT_EQ(set.Find("A")->originalValue, "1");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].line, 4u);
}

TEST(ParameterSetTest, UniqueBlocksFollowTheUserNumber) {
    ScratchDir dir;
    std::string rows = "v\n";
    for (int i = 0; i < 10; ++i)
        rows += std::to_string(i) + "\n";
    ScratchDir::Write(dir.File("t.dat"), rows);
    CParameterSet set;
    FolderMessages messages;
    set.LoadText(
        "[parameter:A]\nType=Table\nTable=t.dat\nSelectNextRow=Unique\n"
        "auto_allocate_block_size=3\n"
        "[parameter:Auto]\nType=Table\nTable=t.dat\nSelectNextRow=Unique\n"
        "[parameter:N]\nType=Unique\nStartValue=500\nBlockSize=20\n",
        "f.prm", dir.path().string(), messages);
    const CParameterDefinition& a = *set.Find("A");
    EXPECT_EQ(set.UniqueRows(a, 1).first, 0u);
    EXPECT_EQ(set.UniqueRows(a, 1).count, 3u);
    EXPECT_EQ(set.UniqueRows(a, 3).first, 6u);
    EXPECT_EQ(set.UniqueRows(a, 4).first, 9u);
    EXPECT_EQ(set.UniqueRows(a, 4).count, 1u);  // clipped to the table
    EXPECT_EQ(set.UniqueRows(a, 5).count, 0u);
    EXPECT_EQ(set.UniqueRows(a, 4000000000u).count, 0u);
    const CParameterDefinition& automatic = *set.Find("Auto");
    EXPECT_EQ(set.UniqueRowsPerUser(automatic), 10u);
    set.SetUserCount(3);
    EXPECT_EQ(set.UniqueRowsPerUser(automatic), 3u);
    EXPECT_EQ(set.UniqueRows(automatic, 2).first, 3u);
    EXPECT_EQ(CParameterSet::UniqueFirstNumber(*set.Find("N"), 3), 540);
}

TEST(ParameterSetTest, ABlockIsHeldByOneLiveUserAtATime) {
    CParameterSet set;
    EXPECT_TRUE(set.ClaimBlock("A", 2));
    EXPECT_FALSE(set.ClaimBlock("A", 2));
    EXPECT_TRUE(set.ClaimBlock("A", 3));
    set.ReleaseBlock("A", 2);
    EXPECT_TRUE(set.ClaimBlock("A", 2));
}

}  // namespace
