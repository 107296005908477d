// The parameters of virtual users: what user u sees in iteration i, for every
// type, row selection, update rule and out-of-values policy.
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterContext.h"

namespace {

using webstep::test::ScratchDir;

// A folder with a ten-row table (cards.dat: card "c1".."c10", pin "p1"..) and
// the parameter file given.
class ParameterContextTest : public testing::Test {
protected:
    void Load(const std::string& prm, unsigned rows = 10) {
        std::string table = "card,pin\n";
        for (unsigned i = 1; i <= rows; ++i)
            table += "c" + std::to_string(i) + ",p" + std::to_string(i) + "\n";
        ScratchDir::Write(m_dir.File("cards.dat"), table);
        m_set.LoadText(prm, "f.prm", m_dir.path().string(), m_messages);
    }
    // What `text` becomes for user in iteration (a fresh context).
    std::string Sees(unsigned user, unsigned iteration, const std::string& text,
                     std::uint64_t seed = 1) {
        CParameterContext context(m_set, user, seed);
        context.BeginIteration(iteration);
        return context.Substitute(text);
    }
    static std::string Table(const std::string& name, const std::string& extra) {
        return "[parameter:" + name + "]\nType=Table\nTable=cards.dat\nColumnName=card\n" + extra;
    }

    ScratchDir m_dir;
    CParameterSet m_set;
    FolderMessages m_messages;
};

TEST_F(ParameterContextTest, SequentialEachIterationEveryUserWalksFromStartRow) {
    Load(Table("Card", "StartRow=3\n"));
    EXPECT_TRUE(m_messages.empty());
    EXPECT_EQ(Sees(1, 1, "{Card}"), "c3");
    EXPECT_EQ(Sees(3, 2, "{Card}"), "c4");
    EXPECT_EQ(Sees(7, 2, "{Card}"), "c4");
    EXPECT_EQ(Sees(3, 8, "{Card}"), "c10");
    EXPECT_EQ(Sees(3, 9, "{Card}"), "c1");  // wraps to the first row (ContinueCyclic)
    // Within an iteration the value stays.
    CParameterContext context(m_set, 3, 1);
    context.BeginIteration(2);
    EXPECT_EQ(context.Substitute("{Card} {Card}"), "c4 c4");
    context.BeginIteration(3);
    EXPECT_EQ(context.Substitute("{Card}"), "c5");
}

TEST_F(ParameterContextTest, IterationsWithoutAReferenceStillCount) {
    Load(Table("Card", ""));
    CParameterContext context(m_set, 1, 1);
    EXPECT_EQ(context.Substitute("{Card}"), "c1");  // init counts as iteration 1
    context.BeginIteration(1);
    EXPECT_EQ(context.Substitute("{Card}"), "c1");
    context.BeginIteration(2);
    context.BeginIteration(3);
    EXPECT_EQ(context.Substitute("{Card}"), "c3");
}

TEST_F(ParameterContextTest, SequentialContinueWithLastKeepsTheLastRow) {
    Load(Table("Card", "StartRow=9\nOutOfRangePolicy=ContinueWithLast\n"));
    EXPECT_EQ(Sees(2, 2, "{Card}"), "c10");
    EXPECT_EQ(Sees(2, 5, "{Card}"), "c10");
}

TEST_F(ParameterContextTest, SequentialAbortVuserStopsTheUser) {
    Load(Table("Card", "StartRow=10\nOutOfRangePolicy=AbortVuser\n"));
    CParameterContext context(m_set, 4, 1);
    context.BeginIteration(1);
    MString result;
    EXPECT_TRUE(context.Parametrize("Card", result, true));
    EXPECT_EQ(result, "c10");
    EXPECT_FALSE(context.Aborted());
    context.BeginIteration(2);
    EXPECT_FALSE(context.Parametrize("Card", result, true));
    EXPECT_EQ(result, "{Card}");
    EXPECT_TRUE(context.Aborted());
    ASSERT_EQ(context.Messages().size(), 1u);
    EXPECT_NE(context.Messages()[0].text.find("user 4"), std::string::npos);
    EXPECT_NE(context.Messages()[0].text.find("Card"), std::string::npos);
}

TEST_F(ParameterContextTest, EachOccurrenceTakesTheNextRowAtEveryReference) {
    Load(Table("Card", "GenerateNewVal=EachOccurrence\nStartRow=2\n"), 4);
    CParameterContext context(m_set, 3, 1);
    context.BeginIteration(1);
    EXPECT_EQ(context.Substitute("{Card},{Card}"), "c2,c3");
    context.BeginIteration(2);
    EXPECT_EQ(context.Substitute("{Card},{Card}"), "c4,c1");
}

TEST_F(ParameterContextTest, OnceKeepsOneValueForTheUsersLife) {
    Load(Table("Card", "GenerateNewVal=Once\nStartRow=5\n"));
    CParameterContext context(m_set, 2, 1);
    context.BeginIteration(1);
    EXPECT_EQ(context.Substitute("{Card}"), "c5");
    context.BeginIteration(2);
    EXPECT_EQ(context.Substitute("{Card}{Card}"), "c5c5");
    context.BeginIteration(9);
    EXPECT_EQ(context.Substitute("{Card}"), "c5");
}

TEST_F(ParameterContextTest, RandomRowsAreRepeatableWithTheSeed) {
    Load(Table("Card", "SelectNextRow=Random\nGenerateNewVal=EachOccurrence\n"));
    std::string text;
    for (int i = 0; i < 40; ++i)
        text += "{Card} ";
    std::string a = Sees(2, 1, text, 42);
    EXPECT_EQ(a, Sees(2, 1, text, 42));
    EXPECT_NE(a, Sees(2, 1, text, 43));
    EXPECT_NE(a, Sees(3, 1, text, 42));
    // Every value comes from the table and several rows show up.
    std::set<std::string> seen;
    std::size_t pos = 0;
    while (pos < a.size()) {
        std::size_t end = a.find(' ', pos);
        seen.insert(a.substr(pos, end - pos));
        pos = end + 1;
    }
    EXPECT_GT(seen.size(), 4u);
    for (const std::string& v : seen)
        EXPECT_TRUE(v.size() >= 2 && v[0] == 'c') << v;
}

TEST_F(ParameterContextTest, RandomEachIterationHoldsWithinTheIteration) {
    Load(Table("Card", "SelectNextRow=Random\n"));
    CParameterContext context(m_set, 1, 7);
    context.BeginIteration(1);
    std::string first = context.Substitute("{Card}");
    EXPECT_EQ(context.Substitute("{Card}"), first);
}

TEST_F(ParameterContextTest, RandomDrawsOfOneParameterDoNotDependOnOthers) {
    Load(Table("Card", "SelectNextRow=Random\nGenerateNewVal=EachOccurrence\n") +
         "[parameter:R]\nType=Random\nMinValue=1\nMaxValue=1000\nGenerateNewVal=EachOccurrence\n");
    std::string alone = Sees(1, 1, "{Card}{Card}{Card}", 5);
    CParameterContext context(m_set, 1, 5);
    std::string mixed = context.Substitute("{Card}|{R}|{Card}|{R}|{Card}");
    std::vector<std::string> fields;
    std::size_t pos = 0;
    for (std::size_t bar; (bar = mixed.find('|', pos)) != std::string::npos; pos = bar + 1)
        fields.push_back(mixed.substr(pos, bar - pos));
    fields.push_back(mixed.substr(pos));
    ASSERT_EQ(fields.size(), 5u);
    std::string cards = fields[0] + fields[2] + fields[4];
    EXPECT_EQ(cards, alone);
}

TEST_F(ParameterContextTest, UniqueRowsGiveEachUserItsOwnBlock) {
    Load(Table("Card", "SelectNextRow=Unique\nauto_allocate_block_size=3\n"));
    EXPECT_EQ(Sees(1, 1, "{Card}"), "c1");
    EXPECT_EQ(Sees(1, 3, "{Card}"), "c3");
    EXPECT_EQ(Sees(2, 1, "{Card}"), "c4");
    EXPECT_EQ(Sees(3, 2, "{Card}"), "c8");
    EXPECT_EQ(Sees(4, 1, "{Card}"), "c10");
    // Past the block: ContinueCyclic starts the user's block again.
    EXPECT_EQ(Sees(3, 4, "{Card}"), "c7");
    EXPECT_EQ(Sees(4, 2, "{Card}"), "c10");  // a block of one row
}

TEST_F(ParameterContextTest, UniqueAutomaticBlockIsAnEvenShareOfTheUsers) {
    Load(Table("Card", "SelectNextRow=Unique\n"));
    m_set.SetUserCount(5);  // 10 rows: two per user
    EXPECT_EQ(Sees(3, 1, "{Card}"), "c5");
    EXPECT_EQ(Sees(3, 2, "{Card}"), "c6");
    EXPECT_EQ(Sees(5, 2, "{Card}"), "c10");
}

TEST_F(ParameterContextTest, UniqueContinueWithLastAndAbort) {
    Load(Table("Card",
               "SelectNextRow=Unique\nauto_allocate_block_size=2\n"
               "OutOfRangePolicy=ContinueWithLast\n") +
         "[parameter:Pin]\nType=Table\nTable=cards.dat\nColumnName=pin\nSelectNextRow=Unique\n"
         "auto_allocate_block_size=2\nOutOfRangePolicy=AbortVuser\n");
    EXPECT_EQ(Sees(2, 3, "{Card}"), "c4");
    EXPECT_EQ(Sees(2, 7, "{Card}"), "c4");
    CParameterContext context(m_set, 2, 1);
    context.BeginIteration(2);
    EXPECT_EQ(context.Substitute("{Pin}"), "p4");
    context.BeginIteration(3);
    MString out;
    EXPECT_FALSE(context.Parametrize("x={Pin}", out, false));
    EXPECT_EQ(out, "x={Pin}");
    EXPECT_TRUE(context.Aborted());
}

TEST_F(ParameterContextTest, UniqueUserBeyondTheTable) {
    Load(Table("Card", "SelectNextRow=Unique\nauto_allocate_block_size=4\n") +
         "[parameter:Last]\nType=Table\nTable=cards.dat\nColumnName=card\nSelectNextRow=Unique\n"
         "auto_allocate_block_size=4\nOutOfRangePolicy=ContinueWithLast\n" +
         "[parameter:Stop]\nType=Table\nTable=cards.dat\nColumnName=card\nSelectNextRow=Unique\n"
         "auto_allocate_block_size=4\nOutOfRangePolicy=AbortVuser\n");
    // User 4's block would be rows 13..16: it has none; cyclic shares rows.
    EXPECT_EQ(Sees(4, 1, "{Card}"), "c3");
    EXPECT_EQ(Sees(4, 2, "{Card}"), "c4");
    EXPECT_EQ(Sees(4, 1, "{Last}"), "c10");
    CParameterContext context(m_set, 4, 1);
    EXPECT_EQ(context.Substitute("{Stop}"), "{Stop}");
    EXPECT_TRUE(context.Aborted());
}

TEST_F(ParameterContextTest, SameLineAsFollowsTheOtherParametersRow) {
    Load(Table("Card", "SelectNextRow=Random\n") +
         "[parameter:Pin]\nType=Table\nTable=cards.dat\nColumnName=pin\n"
         "SelectNextRow=Same line as Card\n");
    for (unsigned user = 1; user <= 3; ++user) {
        CParameterContext context(m_set, user, 99);
        for (unsigned it = 1; it <= 5; ++it) {
            context.BeginIteration(it);
            std::string pair = context.Substitute("{Card}/{Pin}");
            std::string card = pair.substr(1, pair.find('/') - 1);
            EXPECT_EQ(pair, "c" + card + "/p" + card) << "user " << user << " iteration " << it;
        }
    }
    // The pin asked first draws the card's row.
    CParameterContext context(m_set, 2, 99);
    std::string pin = context.Substitute("{Pin}");
    std::string card = context.Substitute("{Card}");
    EXPECT_EQ(pin.substr(1), card.substr(1));
}

TEST_F(ParameterContextTest, SameLineAsAnEachOccurrenceParameter) {
    Load(Table("Card", "GenerateNewVal=EachOccurrence\n") +
         "[parameter:Pin]\nType=Table\nTable=cards.dat\nColumnName=pin\n"
         "SelectNextRow=Same line as Card\n");
    CParameterContext context(m_set, 1, 1);
    EXPECT_EQ(context.Substitute("{Card}{Pin} {Card}{Pin}{Pin}"), "c1p1 c2p2p2");
}

TEST_F(ParameterContextTest, TimeIsTheClockPlusOffset) {
    Load(
        "[parameter:Now]\nType=Time\nFormat=\"%Y-%m-%d %H:%M:%S\"\nOffset=90\n"
        "[parameter:Stamp]\nType=Time\nFormat=%H:%M:%S\nGenerateNewVal=EachOccurrence\n"
        "[parameter:Plain]\nType=Time\n");
    std::time_t now = 1709211909;  // 2024-02-29 13:05:09 UTC
    CParameterContext context(m_set, 1, 1);
    context.SetClock([&now] { return now; }, true);
    EXPECT_EQ(context.Substitute("{Now}"), "2024-02-29 13:06:39");
    EXPECT_EQ(context.Substitute("{Plain}"), "2024-02-29 13:05:09");
    now += 5;
    EXPECT_EQ(context.Substitute("{Now}"), "2024-02-29 13:06:39");  // same iteration
    EXPECT_EQ(context.Substitute("{Stamp}"), "13:05:14");
    now += 1;
    EXPECT_EQ(context.Substitute("{Stamp}"), "13:05:15");
    context.BeginIteration(2);
    EXPECT_EQ(context.Substitute("{Now}"), "2024-02-29 13:06:45");
}

TEST_F(ParameterContextTest, RandomNumbersStayInRangeAndRepeatWithTheSeed) {
    Load(
        "[parameter:R]\nType=Random\nMinValue=5\nMaxValue=9\nFormat=\"n%03d\"\n"
        "GenerateNewVal=EachOccurrence\n"
        "[parameter:Wide]\nType=Random\nMinValue=-9223372036854775808\n"
        "MaxValue=9223372036854775807\n");
    CParameterContext a(m_set, 1, 11);
    CParameterContext b(m_set, 1, 11);
    std::set<std::string> seen;
    for (int i = 0; i < 200; ++i) {
        std::string v = a.Substitute("{R}");
        EXPECT_EQ(v, b.Substitute("{R}"));
        seen.insert(v);
    }
    EXPECT_EQ(seen, (std::set<std::string>{"n005", "n006", "n007", "n008", "n009"}));
    EXPECT_FALSE(a.Substitute("{Wide}").empty());
}

TEST_F(ParameterContextTest, UniqueNumbersPerUserBlock) {
    Load(
        "[parameter:N]\nType=Unique\nStartValue=1000\nBlockSize=10\nFormat=%d\n"
        "[parameter:Few]\nType=Unique\nStartValue=1\nBlockSize=2\nGenerateNewVal=EachOccurrence\n"
        "OutOfRangePolicy=AbortVuser\n");
    EXPECT_EQ(Sees(1, 1, "{N}"), "1000");
    EXPECT_EQ(Sees(3, 1, "{N}"), "1020");
    EXPECT_EQ(Sees(3, 2, "{N}"), "1021");
    EXPECT_EQ(Sees(3, 11, "{N}"), "1020");  // ContinueCyclic within the block
    CParameterContext context(m_set, 2, 1);
    EXPECT_EQ(context.Substitute("{Few} {Few}"), "3 4");
    EXPECT_FALSE(context.Aborted());
    EXPECT_EQ(context.Substitute("{Few}"), "{Few}");
    EXPECT_TRUE(context.Aborted());
}

TEST_F(ParameterContextTest, IterationAndUserNumbersWithFormat) {
    Load(
        "[parameter:It]\nType=CurrentIteration\nFormat=%03d\n"
        "[parameter:User]\nType=Userid\n"
        "[parameter:Bad]\nType=Userid\nFormat=\"%s%n%999999999d\"\n");
    EXPECT_EQ(Sees(3, 2, "{User}-{It}"), "3-002");
    EXPECT_EQ(Sees(12, 1, "{It}"), "001");
    std::string bad = Sees(3, 1, "{Bad}");
    EXPECT_EQ(bad.substr(0, 4), "%s%n");
    EXPECT_EQ(bad.back(), '3');
}

TEST_F(ParameterContextTest, CustomFromItsTableOrItsOriginalValue) {
    Load(
        "[parameter:Lib]\nType=Custom\nOriginalValue=Northfield\n"
        "[parameter:Pin]\nType=Custom\nTable=cards.dat\nColumnName=pin\nStartRow=2\n");
    EXPECT_EQ(Sees(1, 1, "{Lib}"), "Northfield");
    EXPECT_EQ(Sees(1, 2, "{Pin}"), "p3");
}

TEST_F(ParameterContextTest, OutputHasNoValueUntilSaved) {
    Load("[parameter:Token]\nType=Output\nOriginalValue=abc\n");
    CParameterContext context(m_set, 1, 1);
    EXPECT_EQ(context.Substitute("t={Token}"), "t={Token}");
    EXPECT_TRUE(context.UnknownReferences().empty());  // defined, just empty
    EXPECT_TRUE(context.AssignToParameter("Token", "xyz"));
    EXPECT_EQ(context.Substitute("t={Token}"), "t=xyz");
}

TEST_F(ParameterContextTest, UnknownTypeKeepsItsReferences) {
    Load("[parameter:Doc]\nType=XmlDocument\nOriginalValue=<a/>\n");
    ASSERT_EQ(m_messages.size(), 1u);
    EXPECT_EQ(Sees(1, 1, "d={Doc}"), "d={Doc}");
}

TEST_F(ParameterContextTest, MissingTableKeepsReferencesWithOneWarning) {
    m_set.LoadText(
        "[parameter:Card]\nType=Table\nTable=gone.dat\nColumnName=card\n"
        "[parameter:Pin]\nType=Table\nTable=gone.dat\nColumnName=pin\n"
        "SelectNextRow=Same line as Card\n",
        "f.prm", m_dir.path().string(), m_messages);
    ASSERT_EQ(m_messages.size(), 1u);
    EXPECT_NE(m_messages[0].Format().find("gone.dat"), std::string::npos);
    EXPECT_EQ(Sees(1, 1, "{Card}:{Pin}"), "{Card}:{Pin}");
}

TEST_F(ParameterContextTest, ShortRowsGiveEmptyValues) {
    ScratchDir::Write(m_dir.File("short.dat"), "card,pin\nc1,p1\nc2\n");
    m_set.LoadText("[parameter:Pin]\nType=Table\nTable=short.dat\nColumnName=pin\n", "f.prm",
                   m_dir.path().string(), m_messages);
    ASSERT_EQ(m_messages.size(), 1u);
    EXPECT_EQ(m_messages[0].line, 3u);
    EXPECT_EQ(Sees(1, 1, "[{Pin}]"), "[p1]");
    EXPECT_EQ(Sees(1, 2, "[{Pin}]"), "[]");
}

TEST_F(ParameterContextTest, UnknownReferencesStayAndAreListedOnce) {
    Load(Table("Card", ""));
    CParameterContext context(m_set, 1, 1);
    EXPECT_EQ(context.Substitute("{BaseUrl}/x?c={Card}&{BaseUrl}&{Other}"),
              "{BaseUrl}/x?c=c1&{BaseUrl}&{Other}");
    EXPECT_EQ(context.UnknownReferences(), (std::vector<MString>{"BaseUrl", "Other"}));
    // Braces around text that is no name are left alone and not listed.
    EXPECT_EQ(context.Substitute("{\"a\":1, \"b\":{}} { }"), "{\"a\":1, \"b\":{}} { }");
    EXPECT_EQ(context.UnknownReferences().size(), 2u);
    MString out;
    EXPECT_TRUE(context.Parametrize("Nobody", out, true));
    EXPECT_EQ(out, "{Nobody}");
    EXPECT_EQ(context.UnknownReferences().size(), 3u);
}

TEST_F(ParameterContextTest, OtherBracesIncludingLongerOnes) {
    Load(Table("Card", ""));
    CParameterContext angle(m_set, 2, 1, "<", ">");
    EXPECT_EQ(angle.Substitute("<Card> {Card} <<Card>>"), "c1 {Card} <c1>");
    CParameterContext doubled(m_set, 2, 1, "[[", "]]");
    EXPECT_EQ(doubled.Substitute("a[[Card]]b [[ [[Card]] [Card] [[Card"),
              "ac1b [[ c1 [Card] [[Card");
    // A {} argument is not a reference in a folder with other braces.
    MString out;
    EXPECT_TRUE(doubled.Parametrize("Card", out, true));
    EXPECT_EQ(out, "{Card}");
    EXPECT_TRUE(doubled.Parametrize("x=[[Card]]", out, false));
    EXPECT_EQ(out, "x=c1");
}

TEST_F(ParameterContextTest, SavedValueOverridesADefinitionUntilRemoved) {
    Load(Table("Card", ""));
    CParameterContext context(m_set, 1, 1);
    EXPECT_EQ(context.Substitute("{Card}"), "c1");
    context.SaveParameter("Card", "saved");
    EXPECT_EQ(context.Substitute("{Card}"), "saved");
    MString value;
    EXPECT_TRUE(context.GetSavedParameter("Card", value));
    EXPECT_EQ(value, "saved");
    EXPECT_TRUE(context.RemoveParameter("Card"));
    EXPECT_FALSE(context.RemoveParameter("Card"));
    EXPECT_FALSE(context.GetSavedParameter("Card", value));
    EXPECT_EQ(context.Substitute("{Card}"), "c1");
    // Array-style names are ordinary saved values.
    context.SaveParameter("ids_1", "a");
    context.SaveParameter("ids_count", "1");
    EXPECT_EQ(context.Substitute("{ids_1}/{ids_count}"), "a/1");
}

TEST_F(ParameterContextTest, SubstituteSaysWhichValuesItUsed) {
    Load(Table("Card", "") + "[parameter:Pin]\nType=Table\nTable=cards.dat\nColumnName=pin\n");
    CParameterContext context(m_set, 1, 1);
    CParameterContext::UsedValues used;
    EXPECT_EQ(context.Substitute("{Card}{Pin}{Card}{Gone}", &used), "c1p1c1{Gone}");
    using Pair = std::pair<MString, MString>;
    EXPECT_EQ(used, (CParameterContext::UsedValues{Pair("Card", "c1"), Pair("Pin", "p1")}));
}

TEST_F(ParameterContextTest, ParametrizeOfADataDrivenName) {
    Load(Table("Card", "StartRow=2\n"));
    CParameterContext context(m_set, 5, 1);
    context.BeginIteration(3);
    MString out;
    EXPECT_TRUE(context.Parametrize("Card", out, true));
    EXPECT_EQ(out, "c4");
}

TEST_F(ParameterContextTest, SameUserNumberTwiceIsReported) {
    Load(Table("Card", "SelectNextRow=Unique\nauto_allocate_block_size=2\n"));
    CParameterContext first(m_set, 2, 1);
    EXPECT_EQ(first.Substitute("{Card}"), "c3");
    EXPECT_TRUE(first.Messages().empty());
    {
        CParameterContext twin(m_set, 2, 1);
        EXPECT_EQ(twin.Substitute("{Card}"), "c3");
        EXPECT_EQ(twin.Messages().size(), 1u);
    }
    CParameterContext other(m_set, 3, 1);
    other.Substitute("{Card}");
    EXPECT_TRUE(other.Messages().empty());
}

TEST_F(ParameterContextTest, ExtremeNumbersNeitherCrashNorOverflow) {
    Load(Table("Far", "StartRow=9223372036854775807\n") +
         Table("Wide", "SelectNextRow=Unique\nauto_allocate_block_size=9223372036854775807\n") +
         "[parameter:Big]\nType=Unique\nStartValue=9223372036854775807\n"
         "BlockSize=9223372036854775807\n"
         "[parameter:Late]\nType=Time\nOffset=9223372036854775807\n"
         "[parameter:Huge]\nType=Table\nTable=cards.dat\nStartRow=99999999999999999999999\n");
    EXPECT_EQ(m_messages.size(), 1u);      // the StartRow beyond a whole number
    EXPECT_EQ(Sees(1, 1, "{Far}"), "c7");  // (2^63 - 2) mod 10 = 6: the 7th row
    // No rows of its own: row ((u-1)*B + n) mod 10 = (9*7 + 1) mod 10 = 4.
    EXPECT_EQ(Sees(4000000000u, 2, "{Wide}"), "c5");
    EXPECT_FALSE(Sees(4000000000u, 1, "{Big}").empty());
    CParameterContext context(m_set, 1, 1);
    context.SetClock([] { return std::time_t(1709211909); }, true);
    EXPECT_EQ(context.Substitute("{Late}"), "{Late}");
    EXPECT_EQ(Sees(1, 4000000000u, "{Huge}"), "c10");
}

TEST_F(ParameterContextTest, ThreadsWithUniqueRowsNeverShareARow) {
    const unsigned users = 8;
    const unsigned iterations = 6;
    Load(Table("Card", "SelectNextRow=Unique\n") +
             "[parameter:N]\nType=Unique\nStartValue=1\nBlockSize=6\n"
             "[parameter:R]\nType=Random\nMinValue=1\nMaxValue=6\n",
         users * iterations);
    m_set.SetUserCount(users);
    std::vector<std::vector<std::string>> seen(users);
    std::vector<std::thread> threads;
    for (unsigned u = 1; u <= users; ++u) {
        threads.emplace_back([&, u] {
            CParameterContext context(m_set, u, 3);
            for (unsigned i = 1; i <= iterations; ++i) {
                context.BeginIteration(i);
                seen[u - 1].push_back(context.Substitute("{Card}"));
                seen[u - 1].push_back("n" + context.Substitute("{N}"));
                context.Substitute("{R}");
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    std::set<std::string> all;
    for (const auto& values : seen) {
        for (const std::string& v : values)
            EXPECT_TRUE(all.insert(v).second) << v << " given twice";
    }
    EXPECT_EQ(all.size(), 2u * users * iterations);
    EXPECT_EQ(seen[2][2], "c14");  // user 3, iteration 2
    EXPECT_EQ(seen[2][3], "n14");
}

}  // namespace
