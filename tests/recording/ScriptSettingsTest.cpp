// The sections of a settings file that a replay obeys beside [WEB].
#include <gtest/gtest.h>

#include "settings/ScratchDir.h"
#include "webstep/recording/ScriptSettings.h"

namespace {

using webstep::test::ScratchDir;

CScriptSettings ReadSettings(const std::string& text) {
    ScratchDir dir;
    ScratchDir::Write(dir.File("default.cfg"), text);
    CScriptSettings settings;
    FolderMessages messages;
    EXPECT_TRUE(settings.Read(dir.File("default.cfg"), messages));
    return settings;
}

TEST(ScriptSettingsTest, DefaultsWhenSectionsAreMissing) {
    CScriptSettings settings = ReadSettings("[WEB]\nHttpVer=1.0\n");
    EXPECT_EQ(settings.Web().GetHttpVer(), "1.0");
    EXPECT_EQ(settings.ThinkTime().mode, ThinkTimeSettings::Mode::Recorded);
    EXPECT_EQ(settings.Pacing().mode, PacingSettings::Mode::AsSoonAsPossible);
    EXPECT_EQ(settings.Iterations(), 0u);
    EXPECT_FALSE(settings.ContinueOnError());
    EXPECT_FALSE(settings.AutomaticTransactions());
    EXPECT_EQ(settings.Log().level, LogSettings::Level::Brief);
}

TEST(ScriptSettingsTest, ThinkTimeNone) {
    CScriptSettings s = ReadSettings("[ThinkTime]\nOptions=NOTHINK\n");
    std::mt19937_64 random(1);
    EXPECT_EQ(s.ThinkTime().Apply(5, random), 0);
}

TEST(ScriptSettingsTest, ThinkTimeRecordedMultipliedAndCapped) {
    std::mt19937_64 random(1);
    EXPECT_EQ(ReadSettings("[ThinkTime]\nOptions=RECORDED\n").ThinkTime().Apply(4, random), 4);
    CScriptSettings m = ReadSettings("[ThinkTime]\nOptions=MULTIPLY\nFactor=2.5\n");
    EXPECT_DOUBLE_EQ(m.ThinkTime().Apply(4, random), 10);
    CScriptSettings capped =
        ReadSettings("[ThinkTime]\nOptions=MULTIPLY\nFactor=3\nLimitFlag=1\nLimit=5\n");
    EXPECT_DOUBLE_EQ(capped.ThinkTime().Apply(4, random), 5);
    EXPECT_DOUBLE_EQ(capped.ThinkTime().Apply(1, random), 3);
    EXPECT_EQ(capped.ThinkTime().Apply(-2, random), 0);
}

TEST(ScriptSettingsTest, ThinkTimeRandomStaysWithinThePercentages) {
    CScriptSettings s = ReadSettings(
        "[ThinkTime]\nOptions=RANDOM\nThinkTimeRandomLow=50\nThinkTimeRandomHigh=150\n");
    std::mt19937_64 random(7);
    double low = 1e9, high = 0;
    for (int i = 0; i < 2000; ++i) {
        double wait = s.ThinkTime().Apply(10, random);
        low = std::min(low, wait);
        high = std::max(high, wait);
    }
    EXPECT_GE(low, 5.0);
    EXPECT_LE(high, 15.0);
    EXPECT_LT(low, 5.5);
    EXPECT_GT(high, 14.5);
}

TEST(ScriptSettingsTest, PacingFixedIntervalWaitsForTheRestAndNeverNegative) {
    CScriptSettings s =
        ReadSettings("[Iterations]\nNumOfIterations=5\nIterationPace=ConstPace\nStartEvery=60\n");
    EXPECT_EQ(s.Iterations(), 5u);
    EXPECT_EQ(s.Pacing().mode, PacingSettings::Mode::FixedInterval);
    std::mt19937_64 random(1);
    EXPECT_DOUBLE_EQ(s.Pacing().Wait(20, random), 40);
    EXPECT_EQ(s.Pacing().Wait(75, random), 0);  // overran: the next starts at once
}

TEST(ScriptSettingsTest, PacingRandomAndAfterPreviousAndCap) {
    std::mt19937_64 random(3);
    CScriptSettings r =
        ReadSettings("[Iterations]\nIterationPace=RandomPace\nRandomMin=10\nRandomMax=20\n");
    EXPECT_EQ(r.Pacing().mode, PacingSettings::Mode::RandomInterval);
    for (int i = 0; i < 100; ++i) {
        double wait = r.Pacing().Wait(0, random);
        EXPECT_GE(wait, 10);
        EXPECT_LE(wait, 20);
    }
    CScriptSettings fixedDelay =
        ReadSettings("[Iterations]\nIterationPace=ConstAfterPrev\nStartEvery=7\n");
    EXPECT_EQ(fixedDelay.Pacing().mode, PacingSettings::Mode::FixedDelay);
    EXPECT_DOUBLE_EQ(fixedDelay.Pacing().Wait(100, random), 7);
    CScriptSettings randomDelay =
        ReadSettings("[Iterations]\nIterationPace=RandomAfterPrev\nRandomMin=1\nRandomMax=2\n");
    EXPECT_EQ(randomDelay.Pacing().mode, PacingSettings::Mode::RandomDelay);
    CScriptSettings huge =
        ReadSettings("[Iterations]\nIterationPace=ConstAfterPrev\nStartEvery=99999999\n");
    EXPECT_DOUBLE_EQ(huge.Pacing().Wait(0, random), 32000);
}

TEST(ScriptSettingsTest, GeneralSwitchesAndLog) {
    CScriptSettings s = ReadSettings(
        "[General]\nContinueOnError=1\nAutomaticTransactions=1\n"
        "[Log]\nLogOptions=LogExtended\nMsgClassParameters=1\n");
    EXPECT_TRUE(s.ContinueOnError());
    EXPECT_TRUE(s.AutomaticTransactions());
    EXPECT_EQ(s.Log().level, LogSettings::Level::Extended);
    EXPECT_TRUE(s.Log().parameterSubstitution);
    EXPECT_FALSE(s.Log().dataReturnedByServer);
    CScriptSettings off =
        ReadSettings("[General]\nContinueOnError=no\n[Log]\nLogOptions=LogDisabled\n");
    EXPECT_FALSE(off.ContinueOnError());
    EXPECT_EQ(off.Log().level, LogSettings::Level::Disabled);
}

TEST(ScriptSettingsTest, UnknownOptionsWarnAndKeepTheDefault) {
    ScratchDir dir;
    ScratchDir::Write(dir.File("d.cfg"),
                      "[ThinkTime]\nOptions=SOMETIMES\n[Iterations]\nIterationPace=Whenever\n");
    CScriptSettings settings;
    FolderMessages messages;
    ASSERT_TRUE(settings.Read(dir.File("d.cfg"), messages));
    EXPECT_EQ(settings.ThinkTime().mode, ThinkTimeSettings::Mode::Recorded);
    EXPECT_EQ(settings.Pacing().mode, PacingSettings::Mode::AsSoonAsPossible);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].line, 2u);
    EXPECT_FALSE(settings.Read(dir.File("missing.cfg"), messages));
}

}  // namespace
