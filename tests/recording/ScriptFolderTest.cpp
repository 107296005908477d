// A folder as users have it: description, run logic and settings, with the
// fallbacks when a file is missing.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "settings/ScratchDir.h"
#include "webstep/recording/ScriptFolder.h"

namespace {

using webstep::test::ScratchDir;

std::vector<std::string> Names(const std::vector<FolderAction>& actions) {
    std::vector<std::string> names;
    for (const auto& action : actions)
        names.push_back(action.name);
    return names;
}

class ScriptFolderTest : public ::testing::Test {
protected:
    void Write(const std::string& name, const std::string& text) {
        std::filesystem::create_directories(std::filesystem::path(dir.File(name)).parent_path());
        ScratchDir::Write(dir.File(name), text);
    }
    std::string Folder() const { return dir.path().string(); }
    void WriteUsr(const std::string& extraGeneral = "") {
        Write("loans.usr",
              "[General]\r\nParamLeftBrace=<\r\nParamRightBrace=>\r\n" + extraGeneral +
                  "[Actions]\r\nvuser_init=vuser_init.c\r\nAction=Action.c\r\nSearch=Search.c\r\n"
                  "vuser_end=vuser_end.c\r\n[RunLogicFiles]\r\nDefault Profile=default.usp\r\n"
                  "[ExtraFiles]\r\nglobals.h=\r\ncards.dat=\r\n");
        for (const char* file : {"vuser_init.c", "Action.c", "Search.c", "vuser_end.c"})
            Write(file, "x() { return 0; }\n");
    }
    ScratchDir dir;
    FolderMessages messages;
};

TEST_F(ScriptFolderTest, DescriptionGivesActionsBracesAndFileNames) {
    WriteUsr("DefaultCfg=run.cfg\r\n");
    Write("run.cfg", "[WEB]\nHttpVer=1.0\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    ASSERT_TRUE(folder.HasDescription());
    EXPECT_EQ(folder.Description().LeftBrace(), "<");
    EXPECT_EQ(folder.Description().RightBrace(), ">");
    EXPECT_EQ(folder.Description().SettingsFile(), "run.cfg");
    EXPECT_EQ(folder.Description().ParameterFile(), "loans.prm");
    EXPECT_EQ(folder.Description().RunLogicFile(), "default.usp");
    EXPECT_EQ(folder.Description().ExtraFiles(),
              (std::vector<std::string>{"globals.h", "cards.dat"}));
    EXPECT_EQ(Names(folder.Actions()),
              (std::vector<std::string>{"vuser_init", "Action", "Search", "vuser_end"}));
    EXPECT_EQ(folder.Settings().Web().GetHttpVer(), "1.0");
    EXPECT_EQ(folder.ParameterPath(), (dir.path() / "loans.prm").string());
}

TEST_F(ScriptFolderTest, MissingRunLogicFallsBackToTheDescriptionOrder) {
    WriteUsr();
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    EXPECT_EQ(Names(folder.InspectionOrder()),
              (std::vector<std::string>{"vuser_init", "Action", "Search", "vuser_end"}));
    EXPECT_EQ(folder.Iterations(), 1u);
    bool warned = false;
    for (const auto& m : messages)
        warned |=
            m.file == dir.File("default.usp") && m.text.find("does not exist") != std::string::npos;
    EXPECT_TRUE(warned);
}

TEST_F(ScriptFolderTest, RunLogicOrderAndIterationsWin) {
    WriteUsr();
    Write(
        "default.usp",
        "[RunLogicInitRoot]\nRunLogicActionOrder=\"vuser_init\"\n"
        "[RunLogicRunRoot]\nRunLogicActionOrder=\"Search,Action\"\nRunLogicNumOfIterations=\"3\"\n"
        "RunLogicRunMode=\"Sequential\"\n"
        "[RunLogicRunRoot:Search]\nName=\"Search\"\nRunLogicObjectKind=\"Action\"\n"
        "[RunLogicEndRoot]\nRunLogicActionOrder=\"vuser_end\"\n");
    Write("default.cfg", "[Iterations]\nNumOfIterations=7\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    EXPECT_EQ(Names(folder.InspectionOrder()),
              (std::vector<std::string>{"vuser_init", "Search", "Action", "vuser_end"}));
    EXPECT_EQ(folder.Iterations(), 3u);
    EXPECT_EQ(folder.Settings().Iterations(), 7u);
}

TEST_F(ScriptFolderTest, SettingsIterationsCountWhenTheRunLogicIsSilent) {
    WriteUsr();
    Write("default.cfg", "[Iterations]\nNumOfIterations=4\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    EXPECT_EQ(folder.Iterations(), 4u);
}

TEST_F(ScriptFolderTest, WeightedRandomGroupPicksByWeightAndNestedBlocksRepeat) {
    WriteUsr();
    Write("default.usp",
          "[RunLogicInitRoot]\nRunLogicActionOrder=\"vuser_init\"\n"
          "[RunLogicRunRoot]\nRunLogicActionOrder=\"Action,Block\"\nRunLogicRunMode=\"Random\"\n"
          "[RunLogicRunRoot:Action]\nName=\"Action\"\nRunLogicActionWeight=\"75\"\n"
          "[RunLogicRunRoot:Block]\nName=\"Block\"\nRunLogicObjectKind=\"Group\"\n"
          "RunLogicActionWeight=\"25\"\nRunLogicRunMode=\"Sequential\"\n"
          "RunLogicActionOrder=\"Search,Action\"\nRunLogicNumOfIterations=\"2\"\n"
          "[RunLogicEndRoot]\nRunLogicActionOrder=\"vuser_end\"\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    const RunLogicNode& run = folder.RunLogic().Run();
    ASSERT_EQ(run.children.size(), 2u);
    EXPECT_EQ(run.mode, RunLogicNode::Mode::Random);
    EXPECT_EQ(run.children[1].kind, RunLogicNode::Kind::Group);
    EXPECT_EQ(run.children[1].iterations, 2u);
    // Inspection walks every action of a random group once.
    EXPECT_EQ(Names(folder.InspectionOrder()),
              (std::vector<std::string>{"vuser_init", "Action", "Search", "Action", "vuser_end"}));
    std::mt19937_64 random(42);
    int single = 0, block = 0;
    for (int i = 0; i < 4000; ++i) {
        std::vector<std::string> actions;
        CRunLogic::Expand(run, random, actions);
        if (actions == std::vector<std::string>{"Action"})
            ++single;
        else if (actions == std::vector<std::string>{"Search", "Action", "Search", "Action"})
            ++block;
        else
            ADD_FAILURE() << "unexpected pass of " << actions.size() << " actions";
    }
    EXPECT_NEAR(single / 4000.0, 0.75, 0.03);
    EXPECT_NEAR(block / 4000.0, 0.25, 0.03);
}

TEST_F(ScriptFolderTest, RandomGroupWithoutWeightsPicksEveryChild) {
    RunLogicNode group;
    group.kind = RunLogicNode::Kind::Group;
    group.mode = RunLogicNode::Mode::Random;
    for (const char* name : {"a", "b", "c"})
        group.children.push_back(RunLogicNode{RunLogicNode::Kind::Action, name});
    std::mt19937_64 random(1);
    std::map<std::string, int> seen;
    for (int i = 0; i < 300; ++i) {
        std::vector<std::string> actions;
        CRunLogic::Expand(group, random, actions);
        ASSERT_EQ(actions.size(), 1u);
        ++seen[actions[0]];
    }
    EXPECT_EQ(seen.size(), 3u);
}

TEST_F(ScriptFolderTest, GroupNamingItselfDoesNotRecurseWithoutEnd) {
    WriteUsr();
    Write("default.usp",
          "[RunLogicRunRoot]\nRunLogicActionOrder=\"B\"\n"
          "[RunLogicRunRoot:B]\nRunLogicObjectKind=\"Group\"\nRunLogicActionOrder=\"B\"\n");
    // Each level is its own section name ("...:B:B"), so this file ends after
    // two levels; a deeper chain is cut with a warning.
    std::string usp = "[RunLogicRunRoot]\nRunLogicActionOrder=\"B\"\n";
    std::string path = "RunLogicRunRoot";
    for (int i = 0; i < 40; ++i) {
        path += ":B";
        usp += "[" + path + "]\nRunLogicObjectKind=\"Group\"\nRunLogicActionOrder=\"B\"\n";
    }
    Write("default.usp", usp);
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    bool cut = false;
    for (const auto& m : messages)
        cut |= m.text.find("nested deeper") != std::string::npos;
    EXPECT_TRUE(cut);
}

TEST_F(ScriptFolderTest, UnknownActionInRunLogicIsReported) {
    WriteUsr();
    Write("default.usp", "[RunLogicRunRoot]\nRunLogicActionOrder=\"Action,Ghost\"\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    bool reported = false;
    for (const auto& m : messages)
        reported |= m.text.find("\"Ghost\" is not one of") != std::string::npos;
    EXPECT_TRUE(reported);
    // Missing init and end groups fall back to the description's first and last.
    EXPECT_EQ(Names(folder.InspectionOrder()),
              (std::vector<std::string>{"vuser_init", "Action", "Ghost", "vuser_end"}));
    EXPECT_EQ(folder.InspectionOrder()[2].file, "Ghost.c");
}

TEST_F(ScriptFolderTest, FolderWithoutDescriptionKeepsTheOlderLayout) {
    Write("end.c", "");
    Write("loans.c", "");
    Write("init.c", "");
    Write("aaa.cfg", "[General]\n");
    Write("settings.ini", "[WEB]\nHttpVer=1.0\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    EXPECT_FALSE(folder.HasDescription());
    EXPECT_EQ(Names(folder.InspectionOrder()), (std::vector<std::string>{"init", "loans", "end"}));
    EXPECT_EQ(folder.SettingsPath(), dir.File("settings.ini"));
    EXPECT_EQ(folder.ParameterPath(), "");
}

TEST_F(ScriptFolderTest, MissingSettingsFileFallsBackToAFileWithWebSection) {
    WriteUsr();
    Write("other.cfg", "[WEB]\nHttpVer=1.0\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    EXPECT_EQ(folder.SettingsPath(), dir.File("other.cfg"));
    bool warned = false;
    for (const auto& m : messages)
        warned |= m.file == dir.File("default.cfg");
    EXPECT_TRUE(warned);
}

TEST_F(ScriptFolderTest, MissingActionFileAndUnreadableFolder) {
    WriteUsr();
    std::filesystem::remove(dir.File("Search.c"));
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    bool warned = false;
    for (const auto& m : messages)
        warned |= m.text.find("\"Search.c\" does not exist") != std::string::npos;
    EXPECT_TRUE(warned);
    EXPECT_FALSE(folder.Open(dir.File("nope"), messages));
}

TEST_F(ScriptFolderTest, DescriptionNamedAfterTheFolderIsPreferred) {
    WriteUsr();
    const std::string own = dir.path().filename().string() + ".usr";
    Write(own, "[Actions]\nonly=only.c\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    EXPECT_EQ(Names(folder.Actions()), (std::vector<std::string>{"only"}));
}

TEST_F(ScriptFolderTest, EmptyBracesKeepTheDefaultWithAWarning) {
    Write("x.usr", "[General]\nParamLeftBrace=\nParamRightBrace=\n[Actions]\na=a.c\n");
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(Folder(), messages));
    EXPECT_EQ(folder.Description().LeftBrace(), "{");
    EXPECT_EQ(folder.Description().RightBrace(), "}");
}

}  // namespace
