// The HAR file of a load run: entries for every request (answered or not)
// that the HAR 1.2 schema accepts (checked by har-validator under node, see
// tests/har), timings consistent with each entry's time, and a file that
// appears only at the end of the run.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "support/TestPaths.h"
#include "webstep/replay/HarWriter.h"

namespace fs = std::filesystem;

namespace {

const std::chrono::system_clock::time_point kWallStart = std::chrono::system_clock::time_point(
    std::chrono::seconds(1714557600));  // 2024-05-01 10:00 UTC

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Runs a command; its exit status and what it wrote (stdout and stderr).
int RunCommand(const std::string& command, std::string& output) {
    output.clear();
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr)
        return -1;
    char buffer[4096];
    std::size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, got);
    const int status = ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool HaveNode() {
    return std::system("command -v node >/dev/null 2>&1") == 0;
}

// har-validator's verdict on a file; fails the test with its messages.
void ExpectValidHar(const fs::path& file) {
    const fs::path script = webstep::test::SourceDir() / "tests" / "har" / "validate.js";
    std::string output;
    const int status = RunCommand("node '" + script.string() + "' '" + file.string() + "'", output);
    EXPECT_EQ(status, 0) << "har-validator refused " << file << ":\n"
                         << output
                         << (status == 2 ? "(install the checker: npm ci in tests/har, "
                                           "or run scripts/bootstrap.sh)"
                                         : "");
}

class HarWriterTest : public testing::Test {
protected:
    fs::path folder;
    void SetUp() override {
        folder = fs::temp_directory_path() /
                 ("webstep-har-" + std::to_string(::getpid()) + "-" +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }
};

RequestRecord Record(const std::string& method, const std::string& url, int status, double start) {
    RequestRecord record;
    record.request.method = method;
    record.request.url = url;
    record.request.headers = {{"User-Agent", "webstep"}, {"Accept", "*/*"}};
    record.status = status;
    record.start = start;
    record.step = "home";
    record.transaction = "visit";
    record.user = 2;
    record.iteration = 1;
    return record;
}

TEST_F(HarWriterTest, EntriesOfEveryKindAreValidHar) {
    const fs::path target = folder / "run.har";
    CHarWriter writer(target.string(), kWallStart);
    std::string error;
    ASSERT_TRUE(writer.Open(error)) << error;

    // A GET with a query and every phase measured.
    RequestRecord get =
        Record("GET", "http://example.test/find?q=a+b%20c&lang=en&flag#top", 200, 1.25);
    get.timings = {0.010, 0.020, 0.030, 0.100, 0.200};
    get.responseBytes = 1234;
    HttpResponse ok;
    ok.status = 200;
    ok.headers = {{"Content-Type", "text/html; charset=utf-8"}, {"Content-Length", "1234"}};
    writer.OnRequest(get, ok);

    // A POST with a body, a redirect, no timings known.
    RequestRecord post = Record("POST", "https://example.test/login", 302, 2.0);
    post.request.headers.push_back({"Content-Type", "application/x-www-form-urlencoded"});
    post.request.body = "user=jo&pass=\"x\"\n\xff";
    HttpResponse redirect;
    redirect.status = 302;
    redirect.headers = {{"Location", "/home"}};
    writer.OnRequest(post, redirect);

    // No answer at all.
    RequestRecord refused = Record("GET", "http://down.test/", 0, 3.0);
    refused.error = "connection refused";
    refused.timings.total = 0.004;
    writer.OnRequest(refused, HttpResponse());

    // Only a total, and phases longer than their total.
    RequestRecord odd = Record("GET", "http://example.test/odd", 599, 4.0);
    odd.timings = {0.5, 0, 0, 0, 0.1};
    writer.OnRequest(odd, HttpResponse());

    EXPECT_FALSE(fs::exists(target));
    ASSERT_TRUE(writer.OnRunEnd(5, error)) << error;
    ASSERT_TRUE(fs::exists(target));

    const nlohmann::json har = nlohmann::json::parse(ReadFile(target));
    const auto& log = har["log"];
    EXPECT_EQ(log["version"], "1.2");
    EXPECT_EQ(log["creator"]["name"], "webstep");
    ASSERT_EQ(log["entries"].size(), 4u);

    const auto& first = log["entries"][0];
    EXPECT_EQ(first["startedDateTime"], "2024-05-01T10:00:01.250Z");
    EXPECT_DOUBLE_EQ(first["time"].get<double>(), 200.0);
    const auto& timings = first["timings"];
    EXPECT_EQ(timings["blocked"], -1);
    EXPECT_DOUBLE_EQ(timings["dns"].get<double>(), 10);
    EXPECT_DOUBLE_EQ(timings["connect"].get<double>(), 50);  // TLS included
    EXPECT_DOUBLE_EQ(timings["ssl"].get<double>(), 30);
    EXPECT_DOUBLE_EQ(timings["wait"].get<double>(), 100);
    EXPECT_DOUBLE_EQ(timings["receive"].get<double>(), 40);
    const auto& query = first["request"]["queryString"];
    ASSERT_EQ(query.size(), 3u);
    EXPECT_EQ(query[0]["name"], "q");
    EXPECT_EQ(query[0]["value"], "a b c");
    EXPECT_EQ(query[2]["name"], "flag");
    EXPECT_EQ(query[2]["value"], "");
    EXPECT_FALSE(first["request"].contains("postData"));
    EXPECT_EQ(first["response"]["statusText"], "OK");
    EXPECT_EQ(first["response"]["content"]["size"], 1234);
    EXPECT_EQ(first["response"]["content"]["mimeType"], "text/html; charset=utf-8");
    EXPECT_EQ(first["response"]["headers"].size(), 2u);
    EXPECT_EQ(first["_user"], 2);
    EXPECT_EQ(first["_step"], "home");
    EXPECT_EQ(first["_transaction"], "visit");

    const auto& second = log["entries"][1];
    EXPECT_EQ(second["startedDateTime"], "2024-05-01T10:00:02.000Z");
    EXPECT_EQ(second["request"]["postData"]["mimeType"], "application/x-www-form-urlencoded");
    EXPECT_EQ(second["request"]["postData"]["text"], "user=jo&pass=\"x\"\n\xEF\xBF\xBD");
    EXPECT_EQ(second["request"]["bodySize"], 18);
    EXPECT_EQ(second["response"]["redirectURL"], "/home");
    EXPECT_EQ(second["time"], 0);

    const auto& third = log["entries"][2];
    EXPECT_EQ(third["response"]["status"], 0);
    EXPECT_EQ(third["response"]["statusText"], "");
    EXPECT_EQ(third["response"]["bodySize"], -1);
    EXPECT_EQ(third["_error"], "connection refused");
    EXPECT_DOUBLE_EQ(third["time"].get<double>(), 4);

    const auto& fourth = log["entries"][3];
    EXPECT_DOUBLE_EQ(fourth["time"].get<double>(), 500);  // stretched to its phases

    if (!HaveNode())
        GTEST_SKIP() << "node is not installed: the HAR schema check (tests/har) was skipped";
    ExpectValidHar(target);
}

TEST_F(HarWriterTest, EmptyRunIsValidHarWithoutEntries) {
    const fs::path target = folder / "empty.har";
    CHarWriter writer(target.string(), kWallStart);
    std::string error;
    ASSERT_TRUE(writer.OnRunEnd(0, error)) << error;
    const nlohmann::json har = nlohmann::json::parse(ReadFile(target));
    EXPECT_TRUE(har["log"]["entries"].empty());
    if (!HaveNode())
        GTEST_SKIP() << "node is not installed: the HAR schema check (tests/har) was skipped";
    ExpectValidHar(target);
}

TEST_F(HarWriterTest, InvalidHarIsRefusedByTheChecker) {
    // The checker itself can fail: an entry without a response.
    if (!HaveNode())
        GTEST_SKIP() << "node is not installed: the HAR schema check (tests/har) was skipped";
    const fs::path bad = folder / "bad.har";
    std::ofstream(bad) << R"({"log":{"version":"1.2","creator":{"name":"x","version":"1"},)"
                       << R"("entries":[{"startedDateTime":"2024-05-01T10:00:00.000Z","time":1,)"
                       << R"("request":{}}]}})";
    const fs::path script = webstep::test::SourceDir() / "tests" / "har" / "validate.js";
    std::string output;
    EXPECT_EQ(RunCommand("node '" + script.string() + "' '" + bad.string() + "'", output), 1)
        << output;
    EXPECT_NE(output.find("response"), std::string::npos) << output;
}

TEST_F(HarWriterTest, AbandonedRunLeavesNoFile) {
    const fs::path target = folder / "run.har";
    {
        CHarWriter writer(target.string());
        for (int i = 0; i < 1000; ++i)
            writer.OnRequest(Record("GET", "http://example.test/", 200, i), HttpResponse());
    }
    EXPECT_FALSE(fs::exists(target));
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(HarWriterTest, PathThatCannotBeWrittenIsNamed) {
    CHarWriter writer((folder / "missing" / "run.har").string());
    std::string error;
    EXPECT_FALSE(writer.Open(error));
    EXPECT_NE(error.find("missing"), std::string::npos) << error;
    std::string endError;
    EXPECT_FALSE(writer.OnRunEnd(0, endError));
    EXPECT_EQ(endError, error);
}

TEST(HarTimingsTest, PhasesAddUpToTheTime) {
    // Nothing measured: all of it is waiting, unknown phases are -1.
    CHarWriter::Timings t = CHarWriter::ToHar(HttpTimings{0, 0, 0, 0, 0.25});
    EXPECT_EQ(t.dns, -1);
    EXPECT_EQ(t.connect, -1);
    EXPECT_EQ(t.ssl, -1);
    EXPECT_EQ(t.blocked, -1);
    EXPECT_DOUBLE_EQ(t.wait, 250);
    EXPECT_DOUBLE_EQ(t.receive, 0);
    EXPECT_DOUBLE_EQ(t.time, 250);
    // Every phase.
    t = CHarWriter::ToHar(HttpTimings{0.001, 0.002, 0.003, 0.004, 0.020});
    EXPECT_DOUBLE_EQ(t.connect, 5);
    EXPECT_DOUBLE_EQ(t.receive, 10);
    EXPECT_DOUBLE_EQ(t.time, t.dns + t.connect + t.send + t.wait + t.receive);
    // Bad numbers.
    t = CHarWriter::ToHar(HttpTimings{-1, std::numeric_limits<double>::quiet_NaN(), 0, 0, -5});
    EXPECT_EQ(t.dns, -1);
    EXPECT_EQ(t.time, 0);
    EXPECT_STREQ(CHarWriter::StatusText(404), "Not Found");
    EXPECT_STREQ(CHarWriter::StatusText(0), "");
    EXPECT_STREQ(CHarWriter::StatusText(799), "");
}

TEST_F(HarWriterTest, CostOfARequest) {
    CHarWriter writer((folder / "cost.har").string());
    RequestRecord record = Record("GET", "http://example.test/find?q=1&r=2", 200, 0);
    record.timings = {0.001, 0.002, 0, 0.01, 0.02};
    HttpResponse response;
    response.status = 200;
    response.headers = {{"Content-Type", "text/html"}, {"Content-Length", "1000"}};
    const int n = 100000;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < n; ++i) {
        record.start = i * 5e-5;
        writer.OnRequest(record, response);
    }
    const double nanos =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() * 1e9 / n;
    std::printf("CHarWriter::OnRequest: %.0f ns per request\n", nanos);
    RecordProperty("ns_per_request", std::to_string(nanos));
    std::string error;
    ASSERT_TRUE(writer.OnRunEnd(5, error)) << error;
    EXPECT_LT(nanos, 20000.0);
}

}  // namespace
