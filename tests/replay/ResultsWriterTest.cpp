// The results file of a load run: every record streamed into one JSON
// document under a temporary name, renamed at the end of the run only; a run
// that is killed or abandoned leaves no file; memory stays flat over a
// million records.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "webstep/replay/ResultsWriter.h"
#include "support/HeapInUse.h"

namespace fs = std::filesystem;

namespace {

using webstep::test::HeapInUse;

// A folder of its own for each test, removed at the end even when it fails.
class ResultsWriterTest : public testing::Test {
protected:
    fs::path folder;
    void SetUp() override {
        folder = fs::temp_directory_path() /
                 ("webstep-results-" + std::to_string(::getpid()) + "-" +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    std::size_t FilesIn() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }
};

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

RequestRecord Request(double start, int status) {
    RequestRecord record;
    record.request.method = "POST";
    record.request.url = "http://example.test/login?next=%2Fhome";
    record.start = start;
    record.timings = {0.001, 0.002, 0.003, 0.05, 0.125};
    record.status = status;
    record.responseBytes = 5120;
    record.step = "login";
    record.transaction = "sign in";
    record.user = 7;
    record.iteration = 3;
    return record;
}

const std::chrono::system_clock::time_point kWallStart = std::chrono::system_clock::time_point(
    std::chrono::seconds(1714557600));  // 2024-05-01 10:00 UTC

TEST_F(ResultsWriterTest, FileHoldsEveryRecordAndAppearsOnlyAtTheEnd) {
    const fs::path target = folder / "results.json";
    CResultsWriter writer(target.string(), kWallStart);
    std::string error;
    ASSERT_TRUE(writer.Open(error)) << error;

    writer.OnUserStart(7, 0.5);
    writer.OnRequest(Request(1.25, 200), HttpResponse());
    RequestRecord odd = Request(2, 0);
    odd.error = "connect: \"refused\"\n\tagain \xff\xfe";  // quotes, controls, not UTF-8
    odd.request.url = "http://example.test/\xc3\xa9t\xc3\xa9";
    writer.OnRequest(odd, HttpResponse());
    TransactionRecord transaction;
    transaction.name = "sign in";
    transaction.status = TransactionRecord::Status::Fail;
    transaction.start = 1;
    transaction.duration = 1.5;
    transaction.thinkTime = 0.25;
    transaction.user = 7;
    transaction.iteration = 3;
    transaction.parent = "visit";
    writer.OnTransaction(transaction);
    StepRecord step;
    step.function = "web_url";
    step.name = "login";
    step.file = "Action.c";
    step.line = 12;
    step.failed = true;
    step.message = "status 500";
    step.requests.push_back(Request(3, 500));
    writer.OnStep(step);
    StepRecord passed;
    writer.OnStep(passed);  // a step that went well is in its requests only
    writer.OnIteration(7, 3, true, 4);
    UserEndRecord end;
    end.user = 7;
    end.iterations = 3;
    end.failedIterations = 1;
    end.time = 5;
    writer.OnUserEnd(end);
    writer.OnRunMessage("error", "worker 2 lost");

    // Only the temporary file so far, beside the target.
    EXPECT_FALSE(fs::exists(target));
    EXPECT_TRUE(fs::exists(writer.TemporaryPath()));
    EXPECT_EQ(fs::path(writer.TemporaryPath()).parent_path(), folder);

    ASSERT_TRUE(writer.OnRunEnd(6.5, error)) << error;
    EXPECT_TRUE(fs::exists(target));
    EXPECT_EQ(FilesIn(), 1u);

    const nlohmann::json doc = nlohmann::json::parse(ReadFile(target));
    EXPECT_EQ(doc["format"], "webstep-results");
    EXPECT_EQ(doc["version"], 1);
    EXPECT_EQ(doc["startedAt"], "2024-05-01T10:00:00.000Z");
    const auto& events = doc["events"];
    ASSERT_EQ(events.size(), 8u);
    EXPECT_EQ(events[0]["type"], "userStart");
    EXPECT_EQ(events[0]["user"], 7);
    const auto& request = events[1];
    EXPECT_EQ(request["type"], "request");
    EXPECT_DOUBLE_EQ(request["start"].get<double>(), 1.25);
    EXPECT_DOUBLE_EQ(request["duration"].get<double>(), 0.125);
    EXPECT_EQ(request["status"], 200);
    EXPECT_EQ(request["bytes"], 5120);
    EXPECT_EQ(request["user"], 7);
    EXPECT_EQ(request["iteration"], 3);
    EXPECT_EQ(request["step"], "login");
    EXPECT_EQ(request["transaction"], "sign in");
    EXPECT_EQ(request["method"], "POST");
    EXPECT_EQ(request["url"], "http://example.test/login?next=%2Fhome");
    EXPECT_EQ(request["error"], "");
    EXPECT_DOUBLE_EQ(request["timings"]["firstByte"].get<double>(), 0.05);
    EXPECT_EQ(events[2]["status"], 0);
    EXPECT_EQ(events[2]["error"], "connect: \"refused\"\n\tagain \xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(events[2]["url"], "http://example.test/\xc3\xa9t\xc3\xa9");
    const auto& t = events[3];
    EXPECT_EQ(t["type"], "transaction");
    EXPECT_EQ(t["name"], "sign in");
    EXPECT_EQ(t["status"], "fail");
    EXPECT_DOUBLE_EQ(t["duration"].get<double>(), 1.5);
    EXPECT_DOUBLE_EQ(t["thinkTime"].get<double>(), 0.25);
    EXPECT_EQ(t["parent"], "visit");
    EXPECT_EQ(events[4]["type"], "stepFailed");
    EXPECT_EQ(events[4]["message"], "status 500");
    EXPECT_EQ(events[4]["line"], 12);
    EXPECT_EQ(events[4]["user"], 7);
    EXPECT_EQ(events[5]["type"], "iteration");
    EXPECT_EQ(events[5]["failed"], true);
    EXPECT_EQ(events[6]["type"], "userEnd");
    EXPECT_EQ(events[6]["failedIterations"], 1);
    EXPECT_EQ(events[7]["type"], "runMessage");
    EXPECT_EQ(events[7]["text"], "worker 2 lost");
    const auto& summary = doc["summary"];
    EXPECT_DOUBLE_EQ(summary["end"].get<double>(), 6.5);
    EXPECT_EQ(summary["requests"], 2);
    EXPECT_EQ(summary["transactions"], 1);
    EXPECT_EQ(summary["transactionsFailed"], 1);
    EXPECT_EQ(summary["stepsFailed"], 1);
    EXPECT_EQ(summary["usersStarted"], 1);
    EXPECT_EQ(summary["iterations"], 1);

    // A second end is refused and leaves the file as it was.
    EXPECT_FALSE(writer.OnRunEnd(7, error));
    EXPECT_NE(error.find("already finished"), std::string::npos);
    EXPECT_NO_THROW(nlohmann::json::parse(ReadFile(target)));
}

TEST_F(ResultsWriterTest, EmptyRunGivesAValidFile) {
    const fs::path target = folder / "empty.json";
    CResultsWriter writer(target.string(), kWallStart);
    std::string error;
    // Opened by the end itself when nothing came.
    ASSERT_TRUE(writer.OnRunEnd(0, error)) << error;
    const nlohmann::json doc = nlohmann::json::parse(ReadFile(target));
    EXPECT_TRUE(doc["events"].is_array());
    EXPECT_TRUE(doc["events"].empty());
    EXPECT_EQ(doc["summary"]["requests"], 0);
}

TEST_F(ResultsWriterTest, AbandonedRunLeavesNoFile) {
    const fs::path target = folder / "results.json";
    {
        CResultsWriter writer(target.string());
        for (int i = 0; i < 5000; ++i)
            writer.OnRequest(Request(i, 200), HttpResponse());
    }
    EXPECT_FALSE(fs::exists(target));
    EXPECT_EQ(FilesIn(), 0u);
}

TEST_F(ResultsWriterTest, KilledRunLeavesNoTarget) {
    const fs::path target = folder / "results.json";
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        CResultsWriter writer(target.string());
        for (int i = 0; i < 20000; ++i)
            writer.OnRequest(Request(i, 200), HttpResponse());
        ::raise(SIGKILL);
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    // The temporary file stays behind (nothing runs after SIGKILL); the
    // target was never made.
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(ResultsWriterTest, PathThatCannotBeWrittenIsNamed) {
    const fs::path missing = folder / "no-such-folder" / "results.json";
    CResultsWriter writer(missing.string());
    std::string error;
    EXPECT_FALSE(writer.Open(error));
    EXPECT_NE(error.find("no-such-folder"), std::string::npos) << error;
    EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;
    writer.OnRequest(Request(0, 200), HttpResponse());  // dropped, no crash
    std::string endError;
    EXPECT_FALSE(writer.OnRunEnd(1, endError));
    EXPECT_EQ(endError, error);

    CResultsWriter directory(folder.string());
    EXPECT_FALSE(directory.Open(error));
    EXPECT_NE(error.find("is a directory"), std::string::npos) << error;
    CResultsWriter empty("");
    EXPECT_FALSE(empty.Open(error));
    EXPECT_NE(error.find("expected a file name"), std::string::npos) << error;
}

TEST_F(ResultsWriterTest, ExistingTargetIsReplacedOnlyAtTheEnd) {
    const fs::path target = folder / "results.json";
    std::ofstream(target) << "old";
    CResultsWriter writer(target.string());
    writer.OnRequest(Request(0, 200), HttpResponse());
    EXPECT_EQ(ReadFile(target), "old");
    std::string error;
    ASSERT_TRUE(writer.OnRunEnd(1, error)) << error;
    EXPECT_EQ(nlohmann::json::parse(ReadFile(target))["summary"]["requests"], 1);
}

TEST_F(ResultsWriterTest, MillionRecordsKeepMemoryFlat) {
    const fs::path target = folder / "huge.json";
    CResultsWriter writer(target.string());
    std::string error;
    ASSERT_TRUE(writer.Open(error)) << error;
    RequestRecord record = Request(0, 200);
    TransactionRecord transaction;
    transaction.name = "sign in";
    HttpResponse response;
    const int n = 1'000'000;
    // Warm up: the write buffer reaches its size.
    for (int i = 0; i < 1000; ++i)
        writer.OnRequest(record, response);
    const std::size_t before = HeapInUse();
    std::size_t peak = before;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 1000; i < n; ++i) {
        record.start = i * 5e-5;
        if (i % 10 == 0) {
            transaction.start = record.start;
            writer.OnTransaction(transaction);
        } else {
            writer.OnRequest(record, response);
        }
        if (i % 100000 == 0)
            peak = std::max(peak, HeapInUse());
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("CResultsWriter: %.0f ns per record\n", seconds * 1e9 / (n - 1000));
    RecordProperty("ns_per_record", std::to_string(seconds * 1e9 / (n - 1000)));
    // Nothing kept per record: the heap grows by less than one record's
    // worth of bytes per thousand records.
    EXPECT_LT(peak - before, 256u * 1024u) << "heap grew from " << before << " to " << peak;
    ASSERT_TRUE(writer.OnRunEnd(n * 5e-5, error)) << error;

    // Every record is in the file: one line per event between the head and
    // the summary (read as a stream, not parsed whole).
    std::ifstream in(target);
    std::string line, last;
    std::size_t requests = 0, transactions = 0, lines = 0;
    while (std::getline(in, line)) {
        ++lines;
        last = line;
        if (line.rfind("{\"type\":\"request\"", 0) == 0)
            ++requests;
        else if (line.rfind("{\"type\":\"transaction\"", 0) == 0)
            ++transactions;
    }
    EXPECT_EQ(requests + transactions, std::size_t(n));
    EXPECT_EQ(transactions, std::size_t(n / 10 - 100));
    EXPECT_EQ(lines, std::size_t(n) + 3);  // head, events, "],", summary
    // The last event line and the summary make one document.
    EXPECT_EQ(last.rfind("\"summary\":{\"end\":50.000000,\"requests\":900100", 0), 0u) << last;
}

TEST_F(ResultsWriterTest, HugeTextIsWrittenWhole) {
    const fs::path target = folder / "huge-text.json";
    CResultsWriter writer(target.string());
    RequestRecord record = Request(0, 0);
    record.request.url = "http://example.test/?" + std::string(10 * 1024 * 1024, 'a');
    record.error = std::string(3 * 1024 * 1024, '"');  // each one escaped
    writer.OnRequest(record, HttpResponse());
    std::string error;
    ASSERT_TRUE(writer.OnRunEnd(1, error)) << error;
    const nlohmann::json doc = nlohmann::json::parse(ReadFile(target));
    EXPECT_EQ(doc["events"][0]["url"], record.request.url);
    EXPECT_EQ(doc["events"][0]["error"], record.error);
}

TEST(ResultsWriterJsonTest, TextIsEscapedAndNumbersAreFixed) {
    std::string out;
    CResultsWriter::AppendJsonString(out, "plain/url?a=1");
    CResultsWriter::AppendJsonString(out, std::string("nul\0byte", 8));
    CResultsWriter::AppendJsonString(out, "</script>\\");
    CResultsWriter::AppendNumber(out, 1.5, 3);
    CResultsWriter::AppendNumber(out, std::numeric_limits<double>::quiet_NaN(), 2);
    EXPECT_EQ(out, R"("plain/url?a=1""nul\u0000byte""</script>\\"1.5000.00)");
    std::string small;
    CResultsWriter::AppendNumber(small, -0.0000004, 6);
    small += ' ';
    CResultsWriter::AppendNumber(small, -2.5, 3);
    small += ' ';
    CResultsWriter::AppendNumber(small, 0.1234567, 6);
    small += ' ';
    CResultsWriter::AppendNumber(small, 2e9, 2);
    small += ' ';
    CResultsWriter::AppendNumber(small, std::uint64_t(18446744073709551615ULL));
    EXPECT_EQ(small, "0.000000 -2.500 0.123457 2000000000.00 18446744073709551615");
    std::string huge;
    CResultsWriter::AppendNumber(huge, 1e300, 1);
    EXPECT_EQ(huge.size(), 303u);
    EXPECT_EQ(huge.substr(huge.size() - 2), ".0");
    EXPECT_EQ(CResultsWriter::IsoTime(kWallStart, 0.1234), "2024-05-01T10:00:00.123Z");
    EXPECT_EQ(CResultsWriter::IsoTime(kWallStart, 86400 * 366 + 0.9996),
              "2025-05-02T10:00:01.000Z");
}

}  // namespace
