// Compiled scripts: the runtime header, compiling a folder's C with the
// system compiler (into a private cache), running it per user with its own
// globals, and scripts that misbehave.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/CompiledScript.h"
#include "webstep/replay/RecordedTransport.h"
#include "webstep/replay/ScriptedTransport.h"
#include "webstep/replay/VirtualUser.h"
#include "webstep/script/PasswordDecryption.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/script/WebStepParse.h"

namespace {

using webstep::test::ScratchDir;

std::string ReadAll(const std::string& path) {
    std::string text;
    EXPECT_TRUE(ScratchDir::Read(path, text)) << "cannot read " << path;
    return text;
}

std::string TestC(const std::string& name) {
    return ReadAll(std::string(WEBSTEP_SOURCE_DIR) + "/tests/replay/c/" + name);
}

// One cache for the whole program: each source set compiles once.
std::string Cache() {
    static ScratchDir* dir = new ScratchDir;
    return dir->File("cache");
}

// Collects what users report; users on several threads may share it.
class Collector : public CReplayObserver {
public:
    void OnStep(const StepRecord& step) override {
        std::lock_guard<std::mutex> lock(mutex);
        steps.push_back(step);
    }
    void OnTransaction(const TransactionRecord& transaction) override {
        std::lock_guard<std::mutex> lock(mutex);
        transactions.push_back(transaction);
    }
    void OnMessage(const std::string& level, const std::string& text) override {
        std::lock_guard<std::mutex> lock(mutex);
        messages.push_back(level + ": " + text);
    }
    bool Has(const std::string& line) const {
        for (const std::string& message : messages)
            if (message == line)
                return true;
        return false;
    }
    bool HasPart(const std::string& part) const {
        for (const std::string& message : messages)
            if (message.find(part) != std::string::npos)
                return true;
        return false;
    }
    std::string All() const {
        std::string all;
        for (const std::string& message : messages)
            all += message + "\n";
        return all;
    }
    std::mutex mutex;
    std::vector<StepRecord> steps;
    std::vector<TransactionRecord> transactions;
    std::vector<std::string> messages;
};

class CompiledScriptTest : public ::testing::Test {
protected:
    void SetUp() override {
        transport.AnswerPrefix("http://test.example/home",
                               CScriptedTransport::Response(200, "<html><body>home</body></html>",
                                                            {{"Content-Type", "text/html"}}));
    }

    // A folder with a description: the actions (name, C) in order; init
    // runs the first, end the last, the run group those between.
    void Folder(const std::vector<std::pair<std::string, std::string>>& actions,
                unsigned iterations = 1, const std::string& settings = std::string()) {
        std::string usr = "[General]\nDefaultCfg=default.cfg\n[Actions]\n";
        for (const auto& [name, code] : actions) {
            usr += name + "=" + name + ".c\n";
            ScratchDir::Write(dir.File(name + ".c"), code);
        }
        usr += "[RunLogicFiles]\nDefault Profile=default.usp\n";
        ScratchDir::Write(dir.File("test.usr"), usr);
        auto group = [](const std::string& root, const std::string& name,
                        const std::vector<std::string>& names, unsigned count) {
            std::string text = "[" + root + "]\nName=\"" + name +
                               "\"\nRunLogicObjectKind=\"Group\"\nRunLogicActionOrder=\"";
            for (std::size_t i = 0; i < names.size(); ++i)
                text += (i ? "," : "") + names[i];
            text += "\"\nRunLogicNumOfIterations=\"" + std::to_string(count) +
                    "\"\nRunLogicRunMode=\"Sequential\"\n";
            for (const std::string& action : names)
                text += "[" + root + ":" + action + "]\nName=\"" + action +
                        "\"\nRunLogicObjectKind=\"Action\"\n";
            return text;
        };
        std::vector<std::string> run;
        for (std::size_t i = 1; i + 1 < actions.size(); ++i)
            run.push_back(actions[i].first);
        std::string usp = group("RunLogicInitRoot", "Init", {actions.front().first}, 1);
        usp += group("RunLogicRunRoot", "Run", run, iterations);
        usp += group("RunLogicEndRoot", "End", {actions.back().first}, 1);
        ScratchDir::Write(dir.File("default.usp"), usp);
        ScratchDir::Write(dir.File("default.cfg"), "[General]\n" + settings + "[WEB]\n");
        FolderMessages messages;
        ASSERT_TRUE(folder.Open(dir.path().string(), messages));
    }
    // A folder of one action (used with RunActions).
    void OneAction(const std::string& name, const std::string& code) { Folder({{name, code}}); }
    bool Load(CCompiledScript& script, CompiledScriptOptions options = {}) {
        options.compile.cacheDir = Cache();
        messages.clear();
        return script.Load(folder, messages, options);
    }
    std::unique_ptr<CVirtualUser> User(unsigned number = 1) {
        VirtualUserOptions options;
        options.user = number;
        auto user = std::make_unique<CVirtualUser>(folder, parameters, transport, clock, options);
        user->SetObserver(&collector);
        return user;
    }

    ScratchDir dir;
    CScriptFolder folder;
    CParameterSet parameters;
    CScriptedTransport transport;
    CManualClock clock;
    Collector collector;
    FolderMessages messages;
};

// The names a header declares as "int NAME(" at the start of a line.
std::set<std::string> DeclaredSteps(const std::string& header) {
    std::set<std::string> names;
    std::regex declaration(R"(^int ((web|flex|silverlight)_\w+)\()");
    std::istringstream lines(header);
    std::string line;
    while (std::getline(lines, line)) {
        std::smatch match;
        if (std::regex_search(line, match, declaration))
            names.insert(match[1]);
    }
    return names;
}

TEST_F(CompiledScriptTest, TheRuntimeHeaderDeclaresExactlyTheListOfStepFunctions) {
    std::set<std::string> listed;
    for (const MString& name : CScriptReader::GetStepFunctionNames())
        listed.insert(name);
    for (const char* const* name = CWebStepParse::GetExtendedFunctionNames(); *name; ++name)
        listed.insert(*name);
    ASSERT_EQ(listed.size(), 76u);
    const std::string header = ReadAll(std::string(WEBSTEP_SOURCE_DIR) + "/runtime.h");
    EXPECT_EQ(DeclaredSteps(header), listed);
    // The copy the compiler writes beside compiled scripts is the same text.
    EXPECT_EQ(std::string(CScriptCompiler::RuntimeHeader()), header);
}

TEST_F(CompiledScriptTest, TheRuntimeHeaderIsPlainC89) {
    const std::string source = dir.File("c89.c");
    ScratchDir::Write(source,
                      "#include <webstep/runtime.h>\n"
                      "int f(void) { return web_url(\"a\", \"URL=http://x/\", LAST) + "
                      "qz_start_transaction(\"t\"); }\n");
    const std::string command = "cc -std=c89 -pedantic-errors -Wall -Werror -c -I" +
                                dir.path().string() + " -o " + dir.File("c89.o") + " " + source +
                                " 2>" + dir.File("c89.log");
    // <webstep/runtime.h> resolves through a link named webstep.
    std::filesystem::create_directory_symlink(WEBSTEP_SOURCE_DIR, dir.path() / "webstep");
    EXPECT_EQ(std::system(command.c_str()), 0) << ReadAll(dir.File("c89.log"));
}

TEST_F(CompiledScriptTest, EveryRuntimeFunctionWorksFromCompiledC) {
    transport.SetClock(&clock, 0);
    Folder({{"calls", TestC("runtime_calls.c")}});
    SetPasswordDecryptRoutine(
        [](const char* text) -> char* { return strdup(("plain:" + std::string(text)).c_str()); });
    CCompiledScript script;
    CompiledScriptOptions options;
    options.identity.attributes["region"] = "north";
    ASSERT_TRUE(Load(script, options)) << script.Error();
    auto user = User(7);
    const ScriptUserResult result = script.RunActions(*user, &collector, {"calls"});
    SetPasswordDecryptRoutine(nullptr);
    EXPECT_EQ(result.ending, ScriptUserResult::Ending::Completed) << result.message;
    const char* const expected[] = {"output: status inner 0",
                                    "output: return code 200",
                                    "output: status none -1",
                                    "output: eval hello Ada",
                                    "output: int 42",
                                    "output: year 1",
                                    "output: sprintf id-007",
                                    "output: array 3 b random",
                                    "output: advance 0",
                                    "output: advance undefined -1",
                                    "output: free 0",
                                    "output: free again -1",
                                    "output: searched 22",
                                    "output: converted 3",
                                    "error: an error 1",
                                    "log: a log",
                                    "message: a message",
                                    "status: status ok",
                                    "output: debug 3",
                                    "output: whoami 7 group1 0",
                                    "output: host 1",
                                    "output: ip []",
                                    "output: attribute north 1",
                                    "output: decrypt [plain:c2VjcmV0]",
                                    "rendezvous: meet",
                                    "data-point: basket=12.5",
                                    "output: after the failure"};
    for (const char* line : expected)
        EXPECT_TRUE(collector.Has(line)) << line << "\n" << collector.All();
    EXPECT_FALSE(collector.HasPart("hidden log"));
    // The second failure without continue-on-error ends the action.
    EXPECT_FALSE(collector.HasPart("never sent"));
    EXPECT_EQ(result.failedIterations, 1u);
    // Transactions: inner inside outer, outer, and the stopped one.
    ASSERT_EQ(collector.transactions.size(), 3u);
    EXPECT_EQ(collector.transactions[0].name, "inner");
    EXPECT_EQ(collector.transactions[0].parent, "outer");
    EXPECT_EQ(collector.transactions[1].name, "outer");
    EXPECT_EQ(collector.transactions[1].status, TransactionRecord::Status::Pass);
    EXPECT_EQ(collector.transactions[2].status, TransactionRecord::Status::Stop);
    // Think time went through the user's clock.
    EXPECT_GT(clock.Slept(), 0.0);
    // Each step names its file and line.
    ASSERT_FALSE(collector.steps.empty());
    EXPECT_EQ(collector.steps[0].file, "calls.c");
    EXPECT_EQ(collector.steps[0].line, 10u);
}

TEST_F(CompiledScriptTest, TwoUsersOnTwoThreadsHaveTheirOwnGlobals) {
    Folder({{"init", "int shared;\ninit() { return 0; }\n"},
            {"count",
             "count() {\n"
             "  int i, mine;\n"
             "  qz_whoami(&mine, 0, 0);\n"
             "  for (i = 0; i < 2000; i++) { shared += mine; qz_think_time(0); }\n"
             "  qz_output_message(\"user %d total %d\", mine, shared);\n"
             "  return 0;\n}\n"},
            {"end", "end() { return 0; }\n"}},
           3);
    CCompiledScript script;
    ASSERT_TRUE(Load(script)) << script.Error();
    auto first = User(1);
    auto second = User(2);
    CManualClock clock1, clock2;
    ScriptUserResult r1, r2;
    std::thread a([&] { r1 = script.RunUser(*first, clock1, &collector); });
    std::thread b([&] { r2 = script.RunUser(*second, clock2, &collector); });
    a.join();
    b.join();
    EXPECT_EQ(r1.ending, ScriptUserResult::Ending::Completed) << r1.message;
    EXPECT_EQ(r2.ending, ScriptUserResult::Ending::Completed) << r2.message;
    EXPECT_EQ(r1.iterations, 3u);
    // Each user's global grows by its own number only: 2000 per iteration.
    for (int i = 1; i <= 3; ++i) {
        EXPECT_TRUE(collector.Has("output: user 1 total " + std::to_string(2000 * i)))
            << collector.All();
        EXPECT_TRUE(collector.Has("output: user 2 total " + std::to_string(4000 * i)))
            << collector.All();
    }
}

TEST_F(CompiledScriptTest, AScriptThatDoesNotCompileGivesTheCompilersMessages) {
    OneAction("broken", "broken()\n{\n\tint x = ;\n\treturn 0;\n}\n");
    CCompiledScript script;
    EXPECT_FALSE(Load(script));
    EXPECT_TRUE(script.CompileFailed());
    EXPECT_NE(script.Error().find("broken.c:3:"), std::string::npos) << script.Error();
    EXPECT_NE(script.Error().find("error"), std::string::npos) << script.Error();
}

TEST_F(CompiledScriptTest, OldStyleCCompilesAndMissingIncludesAreStoodInForWithANote) {
    OneAction("old_style", TestC("old_style.c"));
    CCompiledScript script;
    ASSERT_TRUE(Load(script)) << script.Error();
    std::set<std::string> notes;
    for (const FolderMessage& message : messages)
        if (message.kind == FolderMessage::Kind::Note)
            notes.insert(message.text);
    EXPECT_EQ(notes.count("\"web_api.h\" is not in the folder: webstep's runtime header stands "
                          "in for it"),
              1u);
    EXPECT_EQ(notes.count("\"lrun.h\" is not in the folder: webstep's runtime header stands in "
                          "for it"),
              1u);
    EXPECT_EQ(messages.size(), 2u);
    auto user = User();
    script.RunActions(*user, &collector, {"old_style"});
    EXPECT_TRUE(collector.Has("output: twice gives 42")) << collector.All();
    EXPECT_TRUE(collector.Has("output: length 14")) << collector.All();
    // A second load comes from the cache.
    CCompiledScript again;
    ASSERT_TRUE(Load(again));
    EXPECT_TRUE(again.Compilation().cached);
}

TEST_F(CompiledScriptTest, UnclosedListsNullArgumentsNumbersAndTenMegabytes) {
    OneAction("unclosed", TestC("unclosed.c"));
    CCompiledScript script;
    ASSERT_TRUE(Load(script)) << script.Error();
    auto user = User();
    const ScriptUserResult result = script.RunActions(*user, &collector, {"unclosed"});
    EXPECT_EQ(result.ending, ScriptUserResult::Ending::Completed) << result.message;
    // The unclosed list fails its step with the bound named, or ends at a
    // null pointer met on the way; either way the step is reported.
    EXPECT_TRUE(
        collector.HasPart("is not closed by LAST: read 10000 arguments, the bound is "
                          "10000"))
        << collector.All();
    // The null argument closes its list: the step runs and passes.
    bool nullStep = false;
    for (const StepRecord& step : collector.steps)
        if (step.name == "null ends it")
            nullStep = !step.failed;
    EXPECT_TRUE(nullStep) << collector.All();
    EXPECT_TRUE(collector.HasPart("web_url: argument 3 is not readable text")) << collector.All();
    EXPECT_TRUE(collector.Has("output: saved 0")) << collector.All();
    EXPECT_TRUE(collector.Has("output: length 10485760")) << collector.All();
    EXPECT_TRUE(collector.Has("output: null saved -1")) << collector.All();
    EXPECT_TRUE(collector.HasPart("qz_save_string: the value is null; nothing saved"));
}

TEST_F(CompiledScriptTest, ExitModesAndAbort) {
    Folder({{"init", "init() { return 0; }\n"},
            {"first",
             "first() {\n"
             "  qz_output_message(\"first %d\", atoi(qz_eval_string(\"{n}\")));\n"
             "  qz_exit(QZ_EXIT_ACTION_AND_CONTINUE, QZ_PASS);\n"
             "  qz_output_message(\"never\");\n  return 0;\n}\n"},
            {"second",
             "second() {\n"
             "  int n = atoi(qz_eval_string(\"{n}\")) + 1;\n"
             "  qz_save_int(n, \"n\");\n"
             "  if (n == 2) qz_exit(QZ_EXIT_ITERATION_AND_CONTINUE, QZ_FAIL);\n"
             "  if (n == 3) qz_exit(QZ_EXIT_VUSER, QZ_PASS);\n"
             "  qz_output_message(\"second %d\", n);\n  return 0;\n}\n"},
            {"third", "third() { qz_output_message(\"third\"); return 0; }\n"},
            {"end", "end() { qz_output_message(\"end ran\"); qz_abort(); return 0; }\n"}},
           5);
    CCompiledScript script;
    ASSERT_TRUE(Load(script)) << script.Error();
    auto user = User();
    user->Parameters().SaveParameter("n", "0");
    const ScriptUserResult result = script.RunUser(*user, clock, &collector);
    // Iteration 1: first, second (n=1), third; iteration 2: first, second
    // ends the iteration (failed); iteration 3: first, second ends the user.
    EXPECT_EQ(result.iterations, 3u);
    EXPECT_EQ(result.failedIterations, 1u);
    EXPECT_EQ(result.ending, ScriptUserResult::Ending::Aborted);
    EXPECT_FALSE(collector.HasPart("never"));
    EXPECT_TRUE(collector.Has("output: second 1"));
    EXPECT_FALSE(collector.Has("output: second 2"));
    std::size_t thirds = 0;
    for (const std::string& message : collector.messages)
        thirds += message == "output: third";
    EXPECT_EQ(thirds, 1u) << collector.All();
    EXPECT_TRUE(collector.Has("output: end ran"));
}

// Runs body in a child process; returns what it wrote and its exit code.
std::pair<std::string, int> InChild(const std::function<std::string()>& body) {
    int pipes[2];
    EXPECT_EQ(pipe(pipes), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        close(pipes[0]);
        const std::string out = body();
        const ssize_t ignored = write(pipes[1], out.data(), out.size());
        (void)ignored;
        _exit(0);
    }
    close(pipes[1]);
    std::string out;
    char buffer[4096];
    ssize_t got;
    while ((got = read(pipes[0], buffer, sizeof buffer)) > 0)
        out.append(buffer, static_cast<std::size_t>(got));
    close(pipes[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    return {out, WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status)};
}

TEST_F(CompiledScriptTest, ACrashEndsThatUserWithItsActionFileAndLineAndOthersGoOn) {
    Folder({{"init", "init() { return 0; }\n"},
            {"crash", TestC("crash.c")},
            {"end", "end() { qz_output_message(\"end of %d\", atoi(\"0\")); return 0; }\n"}});
    CCompiledScript script;
    ASSERT_TRUE(Load(script)) << script.Error();
    const auto [out, code] = InChild([&] {
        auto user = User(1);
        const ScriptUserResult crashed = script.RunUser(*user, clock, &collector);
        // Another user in the same process after the crash: it runs too (and
        // crashes the same way, reported the same way).
        auto other = User(2);
        CManualClock otherClock;
        ScriptUserResult second;
        std::thread thread([&] { second = script.RunUser(*other, otherClock, &collector); });
        thread.join();
        return std::to_string(static_cast<int>(crashed.ending)) + "|" + crashed.message + "|" +
               std::to_string(static_cast<int>(second.ending)) + "|" + collector.All();
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(out.substr(0, 2),
              std::to_string(static_cast<int>(ScriptUserResult::Ending::Crashed)) + "|")
        << out;
    EXPECT_NE(out.find("user 1: SIGSEGV (a bad memory access or a stack overflow) in the script's "
                       "code, after action crash, crash.c:6 (qz_output_message)"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("output: before the crash"), std::string::npos) << out;
    EXPECT_EQ(out.find("end of"), std::string::npos) << out;
}

TEST_F(CompiledScriptTest, TheStepTimeoutEndsAnEndlessLoopAndEndlessRecursionIsACrash) {
    Folder({{"init", "init() { return 0; }\n"},
            {"endless", TestC("endless.c")},
            {"end", "end() { return 0; }\n"}});
    CCompiledScript script;
    CompiledScriptOptions options;
    options.stepTimeout = 0.5;
    ASSERT_TRUE(Load(script, options)) << script.Error();
    const auto [out, code] = InChild([&] {
        auto user = User(1);
        const ScriptUserResult loop = script.RunActions(*user, &collector, {"endless"});
        auto other = User(2);
        ScriptUserResult deep;
        // On a thread of its own (a fresh stack).
        std::thread thread([&] { deep = script.RunActions(*other, &collector, {"recurse"}); });
        thread.join();
        return std::to_string(static_cast<int>(loop.ending)) + "|" + loop.message + "|" +
               std::to_string(static_cast<int>(deep.ending)) + "|" + deep.message;
    });
    EXPECT_EQ(code, 0) << out;
    EXPECT_EQ(out.substr(0, 2),
              std::to_string(static_cast<int>(ScriptUserResult::Ending::TimedOut)) + "|")
        << out;
    EXPECT_NE(out.find("the step timeout ended the user"), std::string::npos) << out;
    EXPECT_NE(out.find("action endless, endless.c:6 (qz_output_message)"), std::string::npos)
        << out;
    EXPECT_NE(out.find("|" + std::to_string(static_cast<int>(ScriptUserResult::Ending::Crashed)) +
                       "|user 2: SIGSEGV"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("action recurse"), std::string::npos) << out;
}

TEST_F(CompiledScriptTest, TheExampleFoldersCompile) {
    for (const char* name : {"library-loans", "northfield-branches"}) {
        CScriptFolder example;
        FolderMessages folderMessages;
        ASSERT_TRUE(
            example.Open(std::string(WEBSTEP_SOURCE_DIR) + "/examples/" + name, folderMessages))
            << name;
        CCompiledScript script;
        CompiledScriptOptions options;
        options.compile.cacheDir = Cache();
        FolderMessages compileMessages;
        EXPECT_TRUE(script.Load(example, compileMessages, options)) << name << script.Error();
    }
}

// The examples replayed offline through their compiled C: every request the
// users send is the recorded one. Northfield's renew_all loops over the loan
// ids saved with Ord=ALL and tests the saved count first.
TEST(CompiledScriptExampleTest, TheExamplesReplayOfflineThroughTheirC) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> examples = {
        {"library-loans", {"init", "loans", "end"}},
        {"northfield-branches", {"init", "browse", "reserve", "my_loans", "renew_all", "end"}}};
    for (const auto& [name, actions] : examples) {
        const std::string path = std::string(WEBSTEP_SOURCE_DIR) + "/examples/" + name;
        ASSERT_TRUE(std::filesystem::is_directory(path)) << "example folder missing: " << path;
        FolderMessages messages;
        CScriptFolder folder;
        ASSERT_TRUE(folder.Open(path, messages));
        CParameterSet parameters;
        parameters.Load(folder.ParameterPath(), folder.Dir(), messages);
        CRecordedTransport transport;
        ASSERT_TRUE(transport.Open(folder, messages));
        std::vector<std::string> differences;
        transport.SetCheckCallback([&differences](const HttpRequest& request, const HttpResponse&,
                                                  const RecordedRequestCheck& check) {
            if (!check.Same())
                differences.push_back(
                    request.method + " " + request.url + ": " +
                    (check.recorded ? check.comparison.difference : std::string("not recorded")));
        });
        CCompiledScript script;
        CompiledScriptOptions options;
        options.compile.cacheDir = Cache();
        ASSERT_TRUE(script.Load(folder, messages, options)) << script.Error();
        CManualClock clock;
        CVirtualUser user(folder, parameters, transport, clock);
        Collector collector;
        user.SetObserver(&collector);
        const ScriptUserResult result = script.RunActions(user, &collector, actions);
        EXPECT_EQ(result.ending, ScriptUserResult::Ending::Completed) << name << result.message;
        EXPECT_EQ(user.FailedSteps(), 0u) << name << "\n" << collector.All();
        EXPECT_GE(transport.Counts().requests, 10u) << name;
        EXPECT_EQ(transport.Counts().notRecorded, 0u) << name;
        if (name == "library-loans") {
            EXPECT_TRUE(differences.empty()) << name << ::testing::PrintToString(differences);
            EXPECT_EQ(transport.Counts().same, transport.Counts().requests) << name;
        } else {
            // The loop renews each loan id saved with Ord=ALL (the recording
            // has the first renewal only); the other differences are the
            // values of a Time and a Random parameter (the pickup date, the
            // weeks), drawn now rather than when it was recorded.
            std::vector<std::string> loans;
            for (const std::string& difference : differences) {
                const std::size_t at = difference.find("planned \"loan=");
                if (at != std::string::npos)
                    loans.push_back(difference.substr(at + 9, 12));
                else
                    EXPECT_NE(difference.find("pickup="), std::string::npos) << difference;
            }
            EXPECT_EQ(loans,
                      (std::vector<std::string>{"loan=L-51007", "loan=L-51022", "loan=L-51040"}));
            EXPECT_TRUE(collector.Has("output: Renewing loan 3 of 3: L-51040")) << collector.All();
        }
    }
}

}  // namespace
