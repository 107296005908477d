// Load runs: many users over worker processes, their records handed to one
// run observer in the parent; ramp-up, duration, stopping, lost workers,
// crashing scripts, overrides. The transport is a fake in-process one that
// answers every request; folders are written by the tests (their C compiled
// with the system compiler) or are the examples.
//
// Forking: CLoadRun forks its workers before it starts any thread, and the
// tests start no thread before Run, so they work under ASan too.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "settings/ScratchDir.h"
#include "webstep/replay/LoadRun.h"
#include "webstep/replay/RecordedTransport.h"

namespace {

using webstep::test::ScratchDir;

// One compile cache for the program: each source set compiles once.
std::string Cache() {
    static ScratchDir* dir = new ScratchDir;
    return dir->File("cache");
}

// Answers every request 200 with a small page, naming the process that
// answered; "/slow" takes 20 seconds.
class CFakeTransport : public CTransport {
public:
    HttpResponse Send(const HttpRequest& request) override {
        if (request.url.find("/slow") != std::string::npos)
            std::this_thread::sleep_for(std::chrono::seconds(20));
        HttpResponse response;
        response.status = 200;
        response.headers = {{"Content-Type", "text/html"}, {"X-Pid", std::to_string(getpid())}};
        response.body = "<html><head><title>ok</title></head><body>ok</body></html>";
        return response;
    }
};

std::function<std::unique_ptr<CTransport>(unsigned)> FakeTransport() {
    return [](unsigned) { return std::make_unique<CFakeTransport>(); };
}

// Everything a run reports, on the parent's thread.
class Recorder : public CRunObserver {
public:
    void OnRequest(const RequestRecord& request, const HttpResponse& response) override {
        requests.push_back(request);
        responses.push_back(response);
        if (onRequest)
            onRequest(request, response);
    }
    void OnStep(const StepRecord& step) override { steps.push_back(step); }
    void OnTransaction(const TransactionRecord& transaction) override {
        transactions.push_back(transaction);
    }
    void OnMessage(const std::string& level, const std::string& text) override {
        messages.push_back(level + ": " + text);
        if (onMessage)
            onMessage(text);
    }
    void OnUserStart(unsigned user, double time) override {
        starts[user] = time;
        ++startCount;
        if (onStart)
            onStart(user);
    }
    void OnUserEnd(const UserEndRecord& end) override {
        ends[end.user] = end;
        ++endCount;
    }
    void OnIteration(unsigned user, unsigned iteration, bool failed, double time) override {
        iterations[user].push_back(iteration);
        if (failed)
            ++failedIterations;
        (void)time;
    }
    void OnRunMessage(const std::string& level, const std::string& text) override {
        runMessages.push_back(level + ": " + text);
    }
    bool OnRunEnd(double time, std::string& error) override {
        ++runEnds;
        endTime = time;
        (void)error;
        return true;
    }

    // Requests of a user whose URL holds part.
    std::size_t Requests(unsigned user, const std::string& part) const {
        std::size_t count = 0;
        for (const RequestRecord& request : requests)
            if (request.user == user && request.request.url.find(part) != std::string::npos)
                ++count;
        return count;
    }
    std::string All() const {
        std::string all;
        for (const std::string& message : runMessages)
            all += "run " + message + "\n";
        for (const std::string& message : messages)
            all += message + "\n";
        for (const auto& [user, end] : ends)
            all += "end " + std::to_string(user) + (end.failed ? " failed: " : ": ") + end.message +
                   "\n";
        return all;
    }

    std::vector<RequestRecord> requests;
    std::vector<HttpResponse> responses;
    std::vector<StepRecord> steps;
    std::vector<TransactionRecord> transactions;
    std::vector<std::string> messages;
    std::vector<std::string> runMessages;
    std::map<unsigned, double> starts;
    std::map<unsigned, UserEndRecord> ends;
    std::map<unsigned, std::vector<unsigned>> iterations;
    unsigned startCount = 0, endCount = 0, failedIterations = 0, runEnds = 0;
    double endTime = -1;
    std::function<void(const RequestRecord&, const HttpResponse&)> onRequest;
    std::function<void(const std::string&)> onMessage;
    std::function<void(unsigned)> onStart;
};

class LoadRunTest : public ::testing::Test {
protected:
    // A folder with a description: init, the run group's actions, end.
    void Folder(const std::vector<std::pair<std::string, std::string>>& actions,
                unsigned iterations = 1, const std::string& general = std::string()) {
        std::string usr = "[General]\nDefaultCfg=default.cfg\n" + general + "[Actions]\n";
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
        ScratchDir::Write(dir.File("default.cfg"), "[General]\n[WEB]\n");
    }
    // init (one request), action (a transaction around a request, then
    // think), end (one request).
    void StandardFolder(double think = 0, unsigned iterations = 1) {
        Folder({{"vuser_init",
                 "vuser_init()\n{\n\tweb_url(\"home\", "
                 "\"URL=http://test.example/home\", LAST);\n\treturn 0;\n}\n"},
                {"act",
                 "act()\n{\n\tqz_start_transaction(\"page\");\n\tweb_url(\"page\", "
                 "\"URL=http://test.example/page\", LAST);\n\tqz_end_transaction(\"page\", "
                 "QZ_AUTO);\n\tqz_think_time(" +
                     std::to_string(think) + ");\n\treturn 0;\n}\n"},
                {"vuser_end",
                 "vuser_end()\n{\n\tweb_url(\"bye\", "
                 "\"URL=http://test.example/bye\", LAST);\n\treturn 0;\n}\n"}},
               iterations);
    }
    LoadRunOptions Options(unsigned users, unsigned workers) {
        LoadRunOptions options;
        options.users = users;
        options.workers = workers;
        options.transport = FakeTransport();
        options.compileOptions.cacheDir = Cache();
        return options;
    }

    ScratchDir dir;
};

TEST_F(LoadRunTest, UsersOverTwoWorkersRunInitIterationsAndEndWithUniqueNumbers) {
    StandardFolder(0, 2);
    CLoadRun run(dir.path().string(), Options(6, 2));
    Recorder recorder;
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(run.Workers(), 2u);
    EXPECT_EQ(result.usersPlanned, 6u);
    EXPECT_EQ(result.usersStarted, 6u);
    EXPECT_EQ(result.usersFailed, 0u);
    EXPECT_FALSE(result.failed) << recorder.All();
    EXPECT_EQ(recorder.runEnds, 1u);
    ASSERT_EQ(recorder.startCount, 6u);
    ASSERT_EQ(recorder.endCount, 6u);
    std::set<std::string> pids;
    for (unsigned user = 1; user <= 6; ++user) {
        ASSERT_EQ(recorder.starts.count(user), 1u) << user;
        ASSERT_EQ(recorder.ends.count(user), 1u) << user;
        EXPECT_FALSE(recorder.ends[user].failed) << recorder.ends[user].message;
        EXPECT_EQ(recorder.ends[user].iterations, 2u);
        EXPECT_EQ(recorder.iterations[user], (std::vector<unsigned>{1, 2}));
        EXPECT_EQ(recorder.Requests(user, "/home"), 1u);
        EXPECT_EQ(recorder.Requests(user, "/page"), 2u);
        EXPECT_EQ(recorder.Requests(user, "/bye"), 1u);
        // Times are seconds since the run started.
        EXPECT_GE(recorder.starts[user], 0);
        EXPECT_LT(recorder.starts[user], 30);
        EXPECT_GE(recorder.ends[user].time, recorder.starts[user]);
    }
    EXPECT_EQ(recorder.requests.size(), 24u);
    EXPECT_EQ(recorder.steps.size(), 24u);
    // Steps come without their requests; requests with their response's
    // headers but not its body.
    for (const StepRecord& step : recorder.steps)
        EXPECT_TRUE(step.requests.empty());
    for (std::size_t i = 0; i < recorder.responses.size(); ++i) {
        EXPECT_EQ(recorder.responses[i].status, 200);
        EXPECT_TRUE(recorder.responses[i].body.empty());
        ASSERT_NE(recorder.responses[i].Header("X-Pid"), nullptr);
        pids.insert(*recorder.responses[i].Header("X-Pid"));
        EXPECT_GE(recorder.requests[i].start, 0);
    }
    // Two worker processes, neither of them this one.
    EXPECT_EQ(pids.size(), 2u);
    EXPECT_EQ(pids.count(std::to_string(getpid())), 0u);
    ASSERT_EQ(recorder.transactions.size(), 12u);
    for (const TransactionRecord& transaction : recorder.transactions) {
        EXPECT_EQ(transaction.name, "page");
        EXPECT_EQ(transaction.status, TransactionRecord::Status::Pass);
        EXPECT_GE(transaction.start, 0);
    }
    EXPECT_GT(result.frames, 24u);
    EXPECT_GE(recorder.endTime, 0);
}

TEST_F(LoadRunTest, RampUpSpreadsStarts) {
    StandardFolder();
    LoadRunOptions options = Options(4, 2);
    options.rampUp = 0.8;
    CLoadRun run(dir.path().string(), options);
    Recorder recorder;
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    ASSERT_EQ(recorder.starts.size(), 4u);
    // User i of N starts at i * rampUp / N: 0, 0.2, 0.4, 0.6 s.
    for (unsigned user = 1; user <= 4; ++user)
        EXPECT_GE(recorder.starts[user], 0.2 * (user - 1) - 0.01) << user;
    EXPECT_LT(recorder.starts[1], 0.15);
    EXPECT_LT(recorder.starts[1], recorder.starts[2]);
    EXPECT_LT(recorder.starts[2], recorder.starts[3]);
    EXPECT_LT(recorder.starts[3], recorder.starts[4]);
    EXPECT_GE(result.elapsed, 0.59);
}

TEST_F(LoadRunTest, DurationStopsUsersAndRunsTheirEndActions) {
    // Each iteration thinks 0.1 s; the run lasts 0.6 s.
    StandardFolder(0.1, 1);
    LoadRunOptions options = Options(3, 2);
    options.duration = 0.6;
    CLoadRun run(dir.path().string(), options);
    Recorder recorder;
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(result.usersFailed, 0u) << recorder.All();
    EXPECT_GE(result.elapsed, 0.55);
    EXPECT_LT(result.elapsed, 10);
    for (unsigned user = 1; user <= 3; ++user) {
        // More iterations than the folder's one: users repeat until the end.
        EXPECT_GE(recorder.iterations[user].size(), 3u) << user;
        EXPECT_EQ(recorder.Requests(user, "/bye"), 1u) << user;
        EXPECT_FALSE(recorder.ends[user].failed);
    }
}

TEST_F(LoadRunTest, RequestStopOnceLetsEveryUserRunItsEndAction) {
    // Users think 60 s in their iteration: the stop cuts the wait short.
    StandardFolder(60, 5);
    CLoadRun run(dir.path().string(), Options(4, 2));
    Recorder recorder;
    recorder.onRequest = [&](const RequestRecord&, const HttpResponse&) {
        // Once every user sent its first page, stop.
        std::set<unsigned> paged;
        for (const RequestRecord& request : recorder.requests)
            if (request.request.url.find("/page") != std::string::npos)
                paged.insert(request.user);
        if (paged.size() == 4 && recorder.requests.size() < 1000) {
            run.RequestStop();
            recorder.onRequest = nullptr;
        }
    };
    const auto began = std::chrono::steady_clock::now();
    const LoadRunResult result = run.Run(recorder);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(result.stopRequests, 1u);
    EXPECT_LT(seconds, 20);
    EXPECT_EQ(result.usersFailed, 0u) << recorder.All();
    ASSERT_EQ(recorder.ends.size(), 4u);
    for (unsigned user = 1; user <= 4; ++user) {
        EXPECT_EQ(recorder.Requests(user, "/page"), 1u) << user;
        EXPECT_EQ(recorder.Requests(user, "/bye"), 1u) << user;
        EXPECT_FALSE(recorder.ends[user].failed) << recorder.ends[user].message;
        EXPECT_EQ(recorder.ends[user].iterations, 1u);
    }
    EXPECT_EQ(recorder.runEnds, 1u);
}

TEST_F(LoadRunTest, RequestStopTwiceKillsTheWorkersAndReturnsAtOnce) {
    // The end action waits 20 s on the server: a graceful stop would wait.
    Folder({{"vuser_init", "vuser_init()\n{\n\treturn 0;\n}\n"},
            {"act", "act()\n{\n\tqz_think_time(60);\n\treturn 0;\n}\n"},
            {"vuser_end",
             "vuser_end()\n{\n\tqz_output_message(\"ending\");\n\tweb_url(\"slow\", "
             "\"URL=http://test.example/slow\", LAST);\n\treturn 0;\n}\n"}});
    CLoadRun run(dir.path().string(), Options(4, 2));
    Recorder recorder;
    unsigned ending = 0;
    recorder.onStart = [&](unsigned) {
        if (recorder.startCount == 4)
            run.RequestStop();
    };
    recorder.onMessage = [&](const std::string& text) {
        if (text.find("ending") != std::string::npos && ++ending == 4)
            run.RequestStop();
    };
    const auto began = std::chrono::steady_clock::now();
    const LoadRunResult result = run.Run(recorder);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(result.stopRequests, 2u);
    EXPECT_LT(seconds, 15) << recorder.All();
    EXPECT_EQ(recorder.runEnds, 1u);
    // Every user started is ended, as failed: it did not finish its end.
    ASSERT_EQ(recorder.ends.size(), 4u) << recorder.All();
    for (const auto& [user, end] : recorder.ends) {
        EXPECT_TRUE(end.failed);
        EXPECT_NE(end.message.find("stopped at once"), std::string::npos) << end.message;
    }
    EXPECT_EQ(result.usersFailed, 4u);
}

TEST_F(LoadRunTest, AWorkerKilledMidRunCostsOnlyItsOwnUsers) {
    // Two iterations of 0.4 s think each; worker 1 (users 1 and 3) is
    // killed when user 1's first page arrives.
    StandardFolder(0.4, 2);
    CLoadRun run(dir.path().string(), Options(4, 2));
    Recorder recorder;
    bool killed = false;
    recorder.onRequest = [&](const RequestRecord& request, const HttpResponse& response) {
        if (!killed && request.user == 1 &&
            request.request.url.find("/page") != std::string::npos) {
            killed = true;
            kill(std::stoi(*response.Header("X-Pid")), SIGKILL);
        }
    };
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    ASSERT_TRUE(killed);
    EXPECT_TRUE(result.failed);
    EXPECT_EQ(result.usersStarted, 4u);
    EXPECT_EQ(result.usersFailed, 2u) << recorder.All();
    ASSERT_EQ(recorder.ends.size(), 4u);
    for (unsigned user : {1u, 3u}) {
        EXPECT_TRUE(recorder.ends[user].failed);
        EXPECT_NE(recorder.ends[user].message.find("worker 1"), std::string::npos)
            << recorder.ends[user].message;
        EXPECT_NE(recorder.ends[user].message.find("signal 9"), std::string::npos)
            << recorder.ends[user].message;
    }
    for (unsigned user : {2u, 4u}) {
        EXPECT_FALSE(recorder.ends[user].failed) << recorder.ends[user].message;
        EXPECT_EQ(recorder.Requests(user, "/page"), 2u);
        EXPECT_EQ(recorder.Requests(user, "/bye"), 1u);
    }
    bool reported = false;
    for (const std::string& message : recorder.runMessages)
        reported |=
            message.find("error: worker 1") == 0 && message.find("signal 9") != std::string::npos;
    EXPECT_TRUE(reported) << recorder.All();
    EXPECT_EQ(recorder.runEnds, 1u);
}

TEST_F(LoadRunTest, AScriptThatCrashesEndsOnlyItsUser) {
    Folder({{"vuser_init", "vuser_init()\n{\n\treturn 0;\n}\n"},
            {"act",
             "act()\n{\n\tint user = 0, scenario = 0;\n\tchar* group = 0;\n"
             "\tweb_url(\"page\", \"URL=http://test.example/page\", LAST);\n"
             "\tqz_whoami(&user, &group, &scenario);\n"
             "\tif (user == 2) {\n\t\tint* nowhere = (int*)16;\n\t\t*nowhere = 1;\n\t}\n"
             "\treturn 0;\n}\n"},
            {"vuser_end",
             "vuser_end()\n{\n\tweb_url(\"bye\", \"URL=http://test.example/bye\", "
             "LAST);\n\treturn 0;\n}\n"}});
    CLoadRun run(dir.path().string(), Options(3, 1));
    Recorder recorder;
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(result.usersFailed, 1u) << recorder.All();
    ASSERT_EQ(recorder.ends.size(), 3u);
    EXPECT_TRUE(recorder.ends[2].failed);
    EXPECT_NE(recorder.ends[2].message.find("SIGSEGV"), std::string::npos)
        << recorder.ends[2].message;
    // The crashed user's end action does not run; the others' do.
    EXPECT_EQ(recorder.Requests(2, "/bye"), 0u);
    for (unsigned user : {1u, 3u}) {
        EXPECT_FALSE(recorder.ends[user].failed) << recorder.ends[user].message;
        EXPECT_EQ(recorder.Requests(user, "/bye"), 1u);
    }
}

TEST_F(LoadRunTest, ParamsOverrideTheFolderForEveryUser) {
    // The folder defines "who" as the user's number; an override wins over
    // the definition and defines a name the folder does not have.
    Folder({{"vuser_init", "vuser_init()\n{\n\treturn 0;\n}\n"},
            {"act",
             "act()\n{\n\tweb_url(\"page\", \"URL=http://test.example/{who}/{where}\", "
             "LAST);\n\treturn 0;\n}\n"},
            {"vuser_end", "vuser_end()\n{\n\treturn 0;\n}\n"}},
           1, "ParameterFile=test.prm\n");
    ScratchDir::Write(dir.File("test.prm"),
                      "[parameter:who]\nParamName=\"who\"\nType=\"Userid\"\nFormat=\"%03d\"\n"
                      "OriginalValue=\"001\"\n");
    {
        CLoadRun run(dir.path().string(), Options(2, 2));
        Recorder recorder;
        ASSERT_TRUE(run.Run(recorder).ran);
        EXPECT_EQ(recorder.Requests(1, "http://test.example/001/{where}"), 1u)
            << recorder.requests.at(0).request.url;
        EXPECT_EQ(recorder.Requests(2, "http://test.example/002/"), 1u);
    }
    LoadRunOptions options = Options(2, 2);
    options.params = {"who=alice", "where=a=b"};
    CLoadRun run(dir.path().string(), options);
    Recorder recorder;
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    ASSERT_EQ(recorder.requests.size(), 2u) << recorder.All();
    for (const RequestRecord& request : recorder.requests)
        EXPECT_EQ(request.request.url, "http://test.example/alice/a=b");
}

TEST_F(LoadRunTest, ThinkTimeOverrideTexts) {
    ThinkTimeSettings settings;
    settings.limited = true;
    settings.limit = 5;
    std::string error;
    EXPECT_TRUE(CLoadRun::ParseThinkTime("none", settings, error));
    EXPECT_EQ(settings.mode, ThinkTimeSettings::Mode::Ignore);
    EXPECT_TRUE(CLoadRun::ParseThinkTime("recorded", settings, error));
    EXPECT_EQ(settings.mode, ThinkTimeSettings::Mode::Recorded);
    EXPECT_TRUE(CLoadRun::ParseThinkTime("multiply=2.5", settings, error));
    EXPECT_EQ(settings.mode, ThinkTimeSettings::Mode::Multiply);
    EXPECT_DOUBLE_EQ(settings.factor, 2.5);
    EXPECT_TRUE(CLoadRun::ParseThinkTime("multiply=0", settings, error));
    EXPECT_DOUBLE_EQ(settings.factor, 0);
    EXPECT_TRUE(CLoadRun::ParseThinkTime("random=50-150", settings, error));
    EXPECT_EQ(settings.mode, ThinkTimeSettings::Mode::Random);
    EXPECT_DOUBLE_EQ(settings.randomLow, 50);
    EXPECT_DOUBLE_EQ(settings.randomHigh, 150);
    EXPECT_TRUE(CLoadRun::ParseThinkTime("random=100-100", settings, error));
    // The folder's cap stays.
    EXPECT_TRUE(settings.limited);
    EXPECT_DOUBLE_EQ(settings.limit, 5);
    for (const char* bad :
         {"", "None", "multiply", "multiply=", "multiply=-1", "multiply=x", "multiply=2x",
          "multiply= 2", "multiply=nan", "multiply=inf", "random=", "random=50", "random=150-50",
          "random=-5-10", "random=a-b", "random=10-", "fast"}) {
        error.clear();
        EXPECT_FALSE(CLoadRun::ParseThinkTime(bad, settings, error)) << bad;
        EXPECT_NE(error.find("expected none, recorded, multiply=FACTOR"), std::string::npos)
            << bad << ": " << error;
    }
}

TEST_F(LoadRunTest, ThinkTimeOverrideAppliesToTheUsers) {
    StandardFolder(60, 1);
    LoadRunOptions options = Options(2, 1);
    options.thinkTime = "none";
    CLoadRun run(dir.path().string(), options);
    Recorder recorder;
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_LT(result.elapsed, 20);
    EXPECT_EQ(recorder.Requests(1, "/bye"), 1u);
    EXPECT_EQ(run.Folder().Settings().ThinkTime().mode, ThinkTimeSettings::Mode::Ignore);
}

TEST_F(LoadRunTest, BadOptionsAreRefusedWithAMessage) {
    StandardFolder();
    struct Case {
        std::function<void(LoadRunOptions&)> change;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {[](LoadRunOptions& o) { o.users = 0; }, "at least 1 user"},
        {[](LoadRunOptions& o) { o.transport = nullptr; }, "transport factory"},
        {[](LoadRunOptions& o) { o.rampUp = -1; }, "ramp-up"},
        {[](LoadRunOptions& o) { o.duration = -2; }, "duration"},
        {[](LoadRunOptions& o) { o.stepTimeout = -2; }, "step timeout"},
        {[](LoadRunOptions& o) { o.params = {"=x"}; }, "NAME=VALUE"},
        {[](LoadRunOptions& o) { o.params = {"novalue"}; }, "NAME=VALUE"},
        {[](LoadRunOptions& o) { o.thinkTime = "sometimes"; }, "expected none"},
        {[](LoadRunOptions& o) { o.threadStack = 1; }, "thread stack"},
    };
    for (const Case& item : cases) {
        LoadRunOptions options = Options(2, 1);
        item.change(options);
        CLoadRun run(dir.path().string(), options);
        Recorder recorder;
        const LoadRunResult result = run.Run(recorder);
        EXPECT_FALSE(result.ran) << item.expected;
        EXPECT_NE(result.error.find(item.expected), std::string::npos) << result.error;
        EXPECT_EQ(recorder.runEnds, 0u);
    }
    CLoadRun missing(dir.File("no-such-folder"), Options(1, 1));
    EXPECT_FALSE(missing.Prepare());
    EXPECT_NE(missing.Error().find("not a readable script folder"), std::string::npos);
    // A compile error is told apart.
    ScratchDir::Write(dir.File("act.c"), "act()\n{\n\tthis is not C;\n}\n");
    CLoadRun broken(dir.path().string(), Options(1, 1));
    EXPECT_FALSE(broken.Prepare());
    EXPECT_TRUE(broken.CompileFailed());
}

TEST_F(LoadRunTest, MoreWorkersThanUsersAreCappedAndARunRunsOnce) {
    StandardFolder();
    CLoadRun run(dir.path().string(), Options(1, 8));
    Recorder recorder;
    ASSERT_TRUE(run.Run(recorder).ran);
    EXPECT_EQ(run.Workers(), 1u);
    EXPECT_EQ(recorder.ends.size(), 1u);
    const LoadRunResult again = run.Run(recorder);
    EXPECT_FALSE(again.ran);
    EXPECT_NE(again.error.find("runs once"), std::string::npos);
}

TEST_F(LoadRunTest, TheCallsInOrderRunWithoutCompiling) {
    // Without compiling, and a folder without a description: action files
    // named init and end run once, the others are the run group.
    StandardFolder();
    LoadRunOptions options = Options(2, 2);
    options.compile = false;
    options.iterations = 3;
    CLoadRun run(dir.path().string(), options);
    Recorder recorder;
    ASSERT_TRUE(run.Run(recorder).ran);
    for (unsigned user = 1; user <= 2; ++user) {
        EXPECT_EQ(recorder.Requests(user, "/page"), 3u);
        EXPECT_EQ(recorder.iterations[user].size(), 3u);
    }

    ScratchDir plain;
    ScratchDir::Write(plain.File("default.cfg"), "[General]\n[WEB]\n");
    ScratchDir::Write(plain.File("vuser_init.c"),
                      "vuser_init()\n{\n\tweb_url(\"home\", \"URL=http://test.example/home\", "
                      "LAST);\n\treturn 0;\n}\n");
    ScratchDir::Write(plain.File("shop.c"),
                      "shop()\n{\n\tweb_url(\"page\", \"URL=http://test.example/page\", "
                      "LAST);\n\treturn 0;\n}\n");
    ScratchDir::Write(plain.File("vuser_end.c"),
                      "vuser_end()\n{\n\tweb_url(\"bye\", \"URL=http://test.example/bye\", "
                      "LAST);\n\treturn 0;\n}\n");
    LoadRunOptions plainOptions = Options(3, 2);
    plainOptions.iterations = 2;
    CLoadRun plainRun(plain.path().string(), plainOptions);
    Recorder plainRecorder;
    ASSERT_TRUE(plainRun.Run(plainRecorder).ran) << plainRun.Error();
    for (unsigned user = 1; user <= 3; ++user) {
        EXPECT_EQ(plainRecorder.Requests(user, "/home"), 1u);
        EXPECT_EQ(plainRecorder.Requests(user, "/page"), 2u);
        EXPECT_EQ(plainRecorder.Requests(user, "/bye"), 1u);
    }
}

TEST_F(LoadRunTest, TheExampleFolderReplaysForEachUserFromItsRecording) {
    const std::string folder = std::string(WEBSTEP_SOURCE_DIR) + "/examples/library-loans";
    LoadRunOptions options = Options(3, 2);
    options.transport = [folder](unsigned) -> std::unique_ptr<CTransport> {
        auto transport = std::make_unique<CRecordedTransport>();
        FolderMessages messages;
        CScriptFolder opened;
        if (!opened.Open(folder, messages))
            return nullptr;
        if (!transport->Open(opened, messages))
            return nullptr;
        return transport;
    };
    options.user.keepWrittenForm = true;
    options.thinkTime = "none";
    options.iterations = 1;
    CLoadRun run(folder, options);
    Recorder recorder;
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(result.usersStarted, 3u);
    EXPECT_EQ(result.usersFailed, 0u) << recorder.All();
    for (unsigned user = 1; user <= 3; ++user)
        EXPECT_GT(recorder.Requests(user, "http"), 3u) << user;
}

TEST_F(LoadRunTest, TicksComeAboutOnceASecond) {
    StandardFolder(1.6, 1);
    LoadRunOptions options = Options(1, 1);
    std::vector<double> ticks;
    options.tick = [&ticks](double elapsed) { ticks.push_back(elapsed); };
    CLoadRun run(dir.path().string(), options);
    Recorder recorder;
    ASSERT_TRUE(run.Run(recorder).ran);
    ASSERT_GE(ticks.size(), 1u);
    EXPECT_GE(ticks[0], 0.99);
    EXPECT_LT(ticks[0], 1.5);
}

// Resident memory of a process in kB (VmRSS), or 0.
long ResidentKb(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0)
            return std::atol(line.c_str() + 6);
    return 0;
}

// 1,000 users thinking at once (the compiled script: a copy of its object
// per user) over two workers: what the parent and the workers hold.
TEST_F(LoadRunTest, AThousandThinkingUsersFitWellUnderOneGigabyte) {
    StandardFolder(600, 1);
    constexpr unsigned kUsers = 1000;
    CLoadRun run(dir.path().string(), Options(kUsers, 2));
    Recorder recorder;
    std::set<pid_t> workers;
    unsigned paged = 0;
    long total = 0;
    recorder.onRequest = [&](const RequestRecord& request, const HttpResponse& response) {
        workers.insert(std::stoi(*response.Header("X-Pid")));
        // Every user has sent its page and thinks: measure, then stop.
        if (request.request.url.find("/page") != std::string::npos && ++paged == kUsers) {
            total = ResidentKb(getpid());
            for (pid_t pid : workers)
                total += ResidentKb(pid);
            run.RequestStop();
        }
    };
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(result.usersStarted, kUsers);
    EXPECT_EQ(result.usersFailed, 0u);
    EXPECT_EQ(workers.size(), 2u);
    ASSERT_EQ(paged, kUsers);
    ASSERT_GT(total, 0);
    std::printf("%u thinking users: %ld MB resident in all, %.0f kB per user\n", kUsers,
                total / 1024, static_cast<double>(total) / kUsers);
    RecordProperty("resident_kb", static_cast<int>(total));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(total, 512 * 1024) << "kB";
#endif
}

// Many users on threads of one worker that is a thread of this process: the
// channel's writer, the users and the parent's reader all at once (run
// under ThreadSanitizer with the "concurrency" label).
TEST(LoadRunConcurrency, ManyUsersOnThreadsOfOneWorker) {
    ScratchDir dir;
    ScratchDir::Write(dir.File("default.cfg"), "[General]\n[WEB]\n");
    ScratchDir::Write(dir.File("vuser_init.c"),
                      "vuser_init()\n{\n\tweb_url(\"home\", \"URL=http://test.example/home\", "
                      "LAST);\n\treturn 0;\n}\n");
    ScratchDir::Write(dir.File("shop.c"),
                      "shop()\n{\n\tqz_start_transaction(\"t\");\n\tweb_url(\"page\", "
                      "\"URL=http://test.example/page\", LAST);\n\tqz_end_transaction(\"t\", "
                      "QZ_AUTO);\n\tqz_think_time(0.001);\n\treturn 0;\n}\n");
    ScratchDir::Write(dir.File("vuser_end.c"),
                      "vuser_end()\n{\n\tweb_url(\"bye\", \"URL=http://test.example/bye\", "
                      "LAST);\n\treturn 0;\n}\n");
    LoadRunOptions options;
    options.users = 24;
    options.workers = 2;
    options.inProcess = true;
    options.iterations = 5;
    options.transport = FakeTransport();
    CLoadRun run(dir.path().string(), options);
    Recorder recorder;
    recorder.onStart = [&](unsigned) {
        if (recorder.startCount == 24)
            run.RequestStop();
    };
    const LoadRunResult result = run.Run(recorder);
    ASSERT_TRUE(result.ran) << result.error;
    EXPECT_EQ(result.usersStarted, 24u);
    EXPECT_EQ(result.usersFailed, 0u) << recorder.All();
    ASSERT_EQ(recorder.ends.size(), 24u);
    for (unsigned user = 1; user <= 24; ++user) {
        EXPECT_EQ(recorder.Requests(user, "/home"), 1u);
        EXPECT_EQ(recorder.Requests(user, "/bye"), 1u);
        // The stop may leave an iteration before its page: begun, not sent.
        const std::size_t pages = recorder.Requests(user, "/page");
        EXPECT_GE(recorder.iterations[user].size(), pages);
        EXPECT_LE(recorder.iterations[user].size(), pages + 1);
    }
}

}  // namespace
