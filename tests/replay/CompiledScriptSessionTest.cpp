// A compiled user driven a piece at a time (CCompiledScript::CSession): one
// copy of the globals across init, the iterations and end, each call on any
// thread, pacing handed back instead of waited, and the ways a user ends.
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/CompiledScript.h"
#include "webstep/replay/ScriptedTransport.h"
#include "webstep/replay/VirtualUser.h"

namespace {

using webstep::test::ScratchDir;

std::string Cache() {
    static ScratchDir* dir = new ScratchDir;
    return dir->File("cache");
}

class Messages : public CReplayObserver {
public:
    void OnMessage(const std::string& level, const std::string& text) override {
        std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(level + ": " + text);
    }
    void OnTransaction(const TransactionRecord& transaction) override {
        std::lock_guard<std::mutex> lock(mutex);
        transactions.push_back(transaction.name);
    }
    bool Has(const std::string& line) {
        std::lock_guard<std::mutex> lock(mutex);
        for (const std::string& each : lines)
            if (each == line)
                return true;
        return false;
    }
    std::string All() {
        std::lock_guard<std::mutex> lock(mutex);
        std::string all;
        for (const std::string& each : lines)
            all += each + "\n";
        return all;
    }
    std::mutex mutex;
    std::vector<std::string> lines;
    std::vector<std::string> transactions;
};

class CompiledScriptSessionTest : public ::testing::Test {
protected:
    // init, one run action, end; the settings' [Iterations] section as given.
    void Folder(const std::string& init, const std::string& run, const std::string& end,
                const std::string& iterations = "NumOfIterations=1\n") {
        ScratchDir::Write(dir.File("init.c"), init);
        ScratchDir::Write(dir.File("run.c"), run);
        ScratchDir::Write(dir.File("end.c"), end);
        ScratchDir::Write(dir.File("test.usr"),
                          "[General]\nDefaultCfg=default.cfg\n[Actions]\ninit=init.c\nrun=run.c\n"
                          "end=end.c\n[RunLogicFiles]\nDefault Profile=default.usp\n");
        std::string usp;
        struct Group {
            std::string root, name, action;
        };
        for (const auto& [root, name, action] :
             {Group{"RunLogicInitRoot", "Init", "init"}, Group{"RunLogicRunRoot", "Run", "run"},
              Group{"RunLogicEndRoot", "End", "end"}})
            usp += "[" + root + "]\nName=\"" + name +
                   "\"\nRunLogicObjectKind=\"Group\"\nRunLogicActionOrder=\"" + action +
                   "\"\nRunLogicNumOfIterations=\"1\"\nRunLogicRunMode=\"Sequential\"\n[" + root +
                   ":" + action + "]\nName=\"" + action + "\"\nRunLogicObjectKind=\"Action\"\n";
        ScratchDir::Write(dir.File("default.usp"), usp);
        ScratchDir::Write(dir.File("default.cfg"), "[Iterations]\n" + iterations + "[WEB]\n");
        FolderMessages messages;
        ASSERT_TRUE(folder.Open(dir.path().string(), messages));
        CompiledScriptOptions options;
        options.compile.cacheDir = Cache();
        ASSERT_TRUE(script.Load(folder, messages, options)) << script.Error();
    }
    std::unique_ptr<CVirtualUser> User(unsigned number, CUserClock& clock) {
        VirtualUserOptions options;
        options.user = number;
        auto user = std::make_unique<CVirtualUser>(folder, parameters, transport, clock, options);
        user->SetObserver(&observer);
        return user;
    }

    ScratchDir dir;
    CScriptFolder folder;
    CParameterSet parameters;
    CScriptedTransport transport;
    CCompiledScript script;
    Messages observer;
};

const char* kCountingInit = "int count;\ninit() { count = 100; return 0; }\n";
const char* kCountingRun =
    "run() {\n"
    "  qz_start_transaction(\"step\");\n"
    "  count++;\n"
    "  qz_output_message(\"count %d\", count);\n"
    "  qz_end_transaction(\"step\", QZ_AUTO);\n"
    "  return 0;\n}\n";
const char* kCountingEnd = "end() { qz_output_message(\"end %d\", count); return 0; }\n";

TEST_F(CompiledScriptSessionTest, InitIterationsAndEndShareOneCopyOfTheGlobals) {
    Folder(kCountingInit, kCountingRun, kCountingEnd);
    CManualClock clock;
    auto user = User(1, clock);
    auto session = script.OpenSession(*user, clock, &observer);
    ASSERT_TRUE(session->Loaded()) << session->Result().message;
    EXPECT_TRUE(session->RunInit());
    // More iterations than the folder's count: the host decides.
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(session->RunIteration());
    session->RunEnd();
    EXPECT_TRUE(observer.Has("output: count 101")) << observer.All();
    EXPECT_TRUE(observer.Has("output: count 103")) << observer.All();
    EXPECT_TRUE(observer.Has("output: end 103")) << observer.All();
    EXPECT_EQ(observer.transactions.size(), 3u);
    EXPECT_EQ(session->Result().ending, ScriptUserResult::Ending::Completed);
    EXPECT_EQ(session->Result().iterations, 3u);
    EXPECT_EQ(session->Result().failedIterations, 0u);
    // After the end nothing more runs.
    EXPECT_FALSE(session->RunIteration());
    EXPECT_EQ(session->Result().iterations, 3u);
}

TEST_F(CompiledScriptSessionTest, EachCallMayRunOnAnotherThread) {
    Folder(kCountingInit, kCountingRun, kCountingEnd);
    CManualClock clock;
    auto first = User(1, clock);
    auto second = User(2, clock);
    auto a = script.OpenSession(*first, clock, &observer);
    auto b = script.OpenSession(*second, clock, &observer);
    // Each call on a fresh thread; the two users interleave.
    auto on = [](auto call) { std::thread(call).join(); };
    on([&] { a->RunInit(); });
    on([&] { b->RunInit(); });
    on([&] { a->RunIteration(); });
    on([&] { a->RunIteration(); });
    on([&] { b->RunIteration(); });
    on([&] { a->RunEnd(); });
    on([&] { b->RunEnd(); });
    EXPECT_TRUE(observer.Has("output: end 102")) << observer.All();
    EXPECT_TRUE(observer.Has("output: end 101")) << observer.All();
}

TEST_F(CompiledScriptSessionTest, PacingIsHandedBackNotWaited) {
    Folder(kCountingInit, kCountingRun, kCountingEnd,
           "NumOfIterations=2\nIterationPace=ConstPace\nStartEvery=5\n");
    CManualClock clock;
    auto user = User(1, clock);
    auto session = script.OpenSession(*user, clock, &observer);
    ASSERT_TRUE(session->RunInit());
    ASSERT_TRUE(session->RunIteration());
    clock.Advance(2);
    // Every 5 s from the start of the iteration, which began 2 s ago.
    EXPECT_DOUBLE_EQ(session->PacingWait(), 3.0);
    EXPECT_DOUBLE_EQ(clock.Slept(), 0.0);
    session->RunEnd();
}

TEST_F(CompiledScriptSessionTest, AUserThatExitsEndsAfterItsIterationAndStillRunsEnd) {
    Folder(kCountingInit,
           "run() { count++; if (count == 102) qz_exit(QZ_EXIT_VUSER, QZ_FAIL); return 0; }\n",
           kCountingEnd);
    CManualClock clock;
    auto user = User(1, clock);
    auto session = script.OpenSession(*user, clock, &observer);
    ASSERT_TRUE(session->RunInit());
    EXPECT_TRUE(session->RunIteration());
    EXPECT_FALSE(session->MustEnd());
    EXPECT_FALSE(session->RunIteration());
    EXPECT_TRUE(session->MustEnd());
    EXPECT_TRUE(session->LastIterationFailed());
    session->RunEnd();
    EXPECT_TRUE(observer.Has("output: end 102")) << observer.All();
    EXPECT_EQ(session->Result().ending, ScriptUserResult::Ending::Ended);
}

TEST_F(CompiledScriptSessionTest, ACrashEndsTheUserWithoutItsEndAction) {
    Folder(kCountingInit, "run() { int *p = 0; count = *p; return 0; }\n", kCountingEnd);
    CManualClock clock;
    auto user = User(4, clock);
    auto session = script.OpenSession(*user, clock, &observer);
    ASSERT_TRUE(session->RunInit());
    EXPECT_FALSE(session->RunIteration());
    session->RunEnd();
    EXPECT_EQ(session->Result().ending, ScriptUserResult::Ending::Crashed);
    EXPECT_NE(session->Result().message.find("user 4: SIGSEGV"), std::string::npos)
        << session->Result().message;
    EXPECT_FALSE(observer.Has("output: end 100")) << observer.All();
}

TEST_F(CompiledScriptSessionTest, ASessionOfAScriptNotLoadedSaysSoAndRunsNothing) {
    CCompiledScript empty;
    CManualClock clock;
    CScriptFolder none;
    CVirtualUser user(none, parameters, transport, clock);
    auto session = empty.OpenSession(user, clock, &observer);
    EXPECT_FALSE(session->Loaded());
    EXPECT_FALSE(session->RunInit());
    EXPECT_FALSE(session->RunIteration());
    session->RunEnd();
    EXPECT_EQ(session->Result().ending, ScriptUserResult::Ending::NotRun);
    EXPECT_EQ(session->Result().message, "the script is not loaded");
    EXPECT_EQ(session->PacingWait(), 0.0);
}

}  // namespace
