// The statistics of a load run: the duration histogram against sorted lists,
// the transaction table, requests per step by status class, errors by
// message, the progress line, the bounded time series, and the cost of a
// request.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "webstep/replay/RunStatistics.h"
#include "support/HeapInUse.h"

namespace {

using webstep::test::HeapInUse;

using Histogram = CRunStatistics::Histogram;

// The value of nearest rank ceil(p/100 * n) of a sorted list.
double NearestRank(const std::vector<double>& sorted, double p) {
    auto rank = static_cast<std::size_t>(std::ceil(p * double(sorted.size()) / 100.0));
    rank = std::clamp<std::size_t>(rank, 1, sorted.size());
    return sorted[rank - 1];
}

RequestRecord Request(double start, double duration, int status, const std::string& step = "home",
                      const std::string& transaction = "", const std::string& error = "") {
    RequestRecord record;
    record.request.url = "http://example.test/" + step;
    record.start = start;
    record.timings.total = duration;
    record.status = status;
    record.step = step;
    record.transaction = transaction;
    record.error = error;
    record.user = 1;
    return record;
}

TransactionRecord Transaction(const std::string& name, double start, double duration,
                              TransactionRecord::Status status = TransactionRecord::Status::Pass) {
    TransactionRecord record;
    record.name = name;
    record.start = start;
    record.duration = duration;
    record.status = status;
    return record;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The words of the first line of text that starts with the given words.
std::vector<std::string> RowOf(const std::string& text, const std::string& first) {
    for (const std::string& line : Lines(text)) {
        std::istringstream in(line);
        std::vector<std::string> words;
        for (std::string word; in >> word;)
            words.push_back(word);
        if (!words.empty() && words[0] == first)
            return words;
    }
    return {};
}

using Words = std::vector<std::string>;

TEST(RunStatisticsTest, HistogramPercentilesAreWithinOnePercentOfASortedList) {
    std::mt19937_64 random(42);
    // Response times spread over four decades, as a mixed run gives them.
    std::lognormal_distribution<double> durations(std::log(0.2), 1.5);
    std::vector<double> values;
    Histogram histogram;
    for (int i = 0; i < 200000; ++i) {
        const double value = durations(random);
        values.push_back(value);
        histogram.Add(value);
    }
    std::sort(values.begin(), values.end());
    for (double p : {0.1, 1.0, 10.0, 25.0, 50.0, 75.0, 90.0, 95.0, 99.0, 99.9}) {
        const double exact = NearestRank(values, p);
        EXPECT_NEAR(histogram.Percentile(p), exact, exact * 0.01) << "p" << p;
    }
    EXPECT_EQ(histogram.Count(), values.size());
    EXPECT_DOUBLE_EQ(histogram.Min(), values.front());
    EXPECT_DOUBLE_EQ(histogram.Max(), values.back());
    double sum = 0;
    for (double v : values)
        sum += v;
    EXPECT_NEAR(histogram.Mean(), sum / double(values.size()), 1e-9 * sum);
    EXPECT_DOUBLE_EQ(histogram.Percentile(0), values.front());
    EXPECT_DOUBLE_EQ(histogram.Percentile(100), values.back());
}

TEST(RunStatisticsTest, HistogramOfSmallListsMatchesNearestRankExactlyEnough) {
    // Small counts are where rank arithmetic goes wrong: p90 of 10 values is
    // the 9th, p50 of 4 values the 2nd.
    for (std::size_t n : {1u, 2u, 3u, 4u, 10u, 20u, 99u, 100u, 101u}) {
        std::vector<double> values;
        Histogram histogram;
        for (std::size_t i = 1; i <= n; ++i) {
            values.push_back(double(i));
            histogram.Add(double(i));
        }
        for (double p : {50.0, 90.0, 95.0}) {
            const double exact = NearestRank(values, p);
            EXPECT_NEAR(histogram.Percentile(p), exact, exact / 128 + 1e-12)
                << "n " << n << " p" << p;
        }
    }
}

TEST(RunStatisticsTest, EmptyHistogramGivesZeros) {
    Histogram histogram;
    EXPECT_EQ(histogram.Count(), 0u);
    EXPECT_EQ(histogram.Percentile(90), 0);
    EXPECT_EQ(histogram.Min(), 0);
    EXPECT_EQ(histogram.Max(), 0);
    EXPECT_EQ(histogram.Mean(), 0);
    EXPECT_EQ(histogram.BinsHeld(), 0u);
}

TEST(RunStatisticsTest, HistogramOfOneValueGivesThatValueEverywhere) {
    Histogram histogram;
    histogram.Add(0.4321);
    for (double p : {0.0, 1.0, 50.0, 90.0, 100.0})
        EXPECT_DOUBLE_EQ(histogram.Percentile(p), 0.4321);
    EXPECT_EQ(histogram.BinsHeld(), 1u);
}

TEST(RunStatisticsTest, HistogramTakesValuesBeyondItsRangeAndBadValues) {
    Histogram histogram;
    histogram.Add(0);
    histogram.Add(-5);                                        // counted as 0
    histogram.Add(std::numeric_limits<double>::quiet_NaN());  // counted as 0
    histogram.Add(1e-9);                                      // below the lowest bin
    histogram.Add(5e5);                                       // above the highest bin
    histogram.Add(std::numeric_limits<double>::infinity());
    EXPECT_EQ(histogram.Count(), 6u);
    EXPECT_EQ(histogram.Min(), 0);
    EXPECT_TRUE(std::isfinite(histogram.Max()));
    EXPECT_TRUE(std::isfinite(histogram.Mean()));
    EXPECT_EQ(histogram.Percentile(50), 0);
    EXPECT_EQ(histogram.Percentile(100), histogram.Max());
    EXPECT_LE(histogram.BinsHeld(), std::size_t(Histogram::kBinCount));
    // The top bin answers with the largest value, not a made-up one.
    Histogram top;
    top.Add(2e5);
    top.Add(3e5);
    EXPECT_EQ(top.Percentile(90), 3e5);
}

TEST(RunStatisticsTest, TenMillionValuesStayInBoundedCounters) {
    Histogram histogram;
    // 10 million durations cycling from 1 ms to 10 s: the value of each rank
    // is known without sorting.
    const std::uint64_t n = 10'000'000;
    const int steps = 10000;
    for (std::uint64_t i = 0; i < n; ++i)
        histogram.Add(0.001 * double(1 + i % steps));
    EXPECT_EQ(histogram.Count(), n);
    EXPECT_LE(histogram.BinsHeld(), std::size_t(Histogram::kBinCount));
    for (double p : {50.0, 90.0, 95.0}) {
        // Rank r of n (n a multiple of steps) is the value step ceil(r / (n/steps)).
        const auto rank = static_cast<std::uint64_t>(std::ceil(p * double(n) / 100.0));
        const double exact = 0.001 * double((rank + n / steps - 1) / (n / steps));
        EXPECT_NEAR(histogram.Percentile(p), exact, exact * 0.01) << "p" << p;
    }
    EXPECT_NEAR(histogram.Mean(), 0.001 * (steps + 1) / 2.0, 1e-6);
}

TEST(RunStatisticsTest, MergedHistogramsEqualOneFedWithBoth) {
    Histogram a, b, both;
    std::mt19937 random(7);
    std::uniform_real_distribution<double> low(0.001, 0.01), high(1, 100);
    for (int i = 0; i < 1000; ++i) {
        const double x = low(random), y = high(random);
        a.Add(x);
        b.Add(y);
        both.Add(x);
        both.Add(y);
    }
    Histogram merged = a;
    merged.Merge(b);
    merged.Merge(Histogram());
    EXPECT_EQ(merged.Count(), both.Count());
    for (double p : {10.0, 50.0, 90.0})
        EXPECT_EQ(merged.Percentile(p), both.Percentile(p));
    EXPECT_EQ(merged.Min(), both.Min());
    EXPECT_EQ(merged.Max(), both.Max());
    Histogram empty;
    empty.Merge(b);
    EXPECT_EQ(empty.Percentile(50), b.Percentile(50));
}

TEST(RunStatisticsTest, TransactionTableCountsAndPercentilesOfPassedOnes) {
    CRunStatistics stats;
    std::vector<double> passed;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> durations(0.05, 2.5);
    for (int i = 0; i < 500; ++i) {
        const double d = durations(random);
        passed.push_back(d);
        stats.OnTransaction(Transaction("login", i * 0.1, d));
    }
    // Failed and stopped ones count but do not move the times.
    stats.OnTransaction(Transaction("login", 1, 99, TransactionRecord::Status::Fail));
    stats.OnTransaction(Transaction("login", 1, 0.0001, TransactionRecord::Status::Stop));
    stats.OnTransaction(Transaction("search", 2, 0.3));

    const auto rows = stats.Transactions();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].name, "login");
    EXPECT_EQ(rows[0].count, 502u);
    EXPECT_EQ(rows[0].passed, 500u);
    EXPECT_EQ(rows[0].failed, 1u);
    EXPECT_EQ(rows[0].stopped, 1u);
    std::sort(passed.begin(), passed.end());
    EXPECT_DOUBLE_EQ(rows[0].min, passed.front());
    EXPECT_DOUBLE_EQ(rows[0].max, passed.back());
    double sum = 0;
    for (double d : passed)
        sum += d;
    EXPECT_NEAR(rows[0].average, sum / 500, 1e-12);
    EXPECT_NEAR(rows[0].p50, NearestRank(passed, 50), NearestRank(passed, 50) * 0.01);
    EXPECT_NEAR(rows[0].p90, NearestRank(passed, 90), NearestRank(passed, 90) * 0.01);
    EXPECT_NEAR(rows[0].p95, NearestRank(passed, 95), NearestRank(passed, 95) * 0.01);
    EXPECT_EQ(rows[1].name, "search");
    EXPECT_EQ(rows[1].count, 1u);
    EXPECT_DOUBLE_EQ(rows[1].p90, 0.3);
    EXPECT_TRUE(stats.Failed());
}

TEST(RunStatisticsTest, FewTransactionsGiveExactPercentiles) {
    // Up to kExactSamples the table shows the durations themselves, not the
    // midpoints of their histogram bins (0.28 rather than 0.279).
    for (std::size_t n : {std::size_t(1), std::size_t(11), CRunStatistics::kExactSamples}) {
        CRunStatistics stats;
        std::vector<double> values;
        for (std::size_t i = 0; i < n; ++i) {
            const double d = 0.1 + 0.02 * double(i % 11);
            values.push_back(d);
            stats.OnTransaction(Transaction("t", 0, d));
        }
        std::sort(values.begin(), values.end());
        const auto row = stats.Transactions().at(0);
        EXPECT_EQ(row.p50, NearestRank(values, 50)) << n;
        EXPECT_EQ(row.p90, NearestRank(values, 90)) << n;
        EXPECT_EQ(row.p95, NearestRank(values, 95)) << n;
    }
    // One more and the histogram answers, within its 1/128.
    CRunStatistics stats;
    Histogram histogram;
    std::vector<double> values;
    for (std::size_t i = 0; i <= CRunStatistics::kExactSamples; ++i) {
        const double d = 0.1 + 0.02 * double(i % 11);
        values.push_back(d);
        histogram.Add(d);
        stats.OnTransaction(Transaction("t", 0, d));
    }
    std::sort(values.begin(), values.end());
    const auto row = stats.Transactions().at(0);
    EXPECT_EQ(row.p90, histogram.Percentile(90));
    EXPECT_NEAR(row.p90, NearestRank(values, 90), NearestRank(values, 90) / 128);
}

TEST(RunStatisticsTest, StoppedTransactionCountsAsNeitherPassedNorFailed) {
    CRunStatistics stats;
    stats.OnTransaction(Transaction("t", 0, 1, TransactionRecord::Status::Stop));
    const auto rows = stats.Transactions();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].count, 1u);
    EXPECT_EQ(rows[0].passed, 0u);
    EXPECT_EQ(rows[0].failed, 0u);
    EXPECT_EQ(rows[0].stopped, 1u);
    EXPECT_FALSE(stats.Failed());
}

TEST(RunStatisticsTest, NoRecordsGiveEmptySectionsAndNoFailure) {
    CRunStatistics stats;
    std::string error;
    EXPECT_TRUE(stats.OnRunEnd(0, error));
    EXPECT_FALSE(stats.Failed());
    const std::string text = stats.SummaryText();
    EXPECT_NE(text.find("no transactions"), std::string::npos) << text;
    EXPECT_NE(text.find("no requests"), std::string::npos) << text;
    EXPECT_NE(text.find("no errors"), std::string::npos) << text;
    EXPECT_EQ(stats.ProgressText(),
              "elapsed 0:00:00  users 0  iterations 0  req/s 0.0  errors 0  p90 - (last 10 s)");
    const auto series = stats.TimeSeries();
    EXPECT_TRUE(series.requestsPerSecond.empty());
    EXPECT_TRUE(series.transactions.empty());
}

TEST(RunStatisticsTest, OneRecordOfEachKind) {
    CRunStatistics stats;
    stats.OnUserStart(1, 0);
    stats.OnRequest(Request(0.2, 0.25, 200, "home", "t"), HttpResponse());
    stats.OnTransaction(Transaction("t", 0.1, 0.5));
    stats.OnIteration(1, 1, false, 0.6);
    UserEndRecord end;
    end.user = 1;
    end.time = 0.7;
    stats.OnUserEnd(end);
    std::string error;
    ASSERT_TRUE(stats.OnRunEnd(0.7, error));

    const auto rows = stats.Transactions();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].count, 1u);
    for (double v :
         {rows[0].min, rows[0].average, rows[0].p50, rows[0].p90, rows[0].p95, rows[0].max})
        EXPECT_DOUBLE_EQ(v, 0.5);
    EXPECT_EQ(stats.Requests(), 1u);
    EXPECT_EQ(stats.IterationsDone(), 1u);
    EXPECT_EQ(stats.UsersRunning(), 0u);
    EXPECT_FALSE(stats.Failed());
    const auto series = stats.TimeSeries();
    ASSERT_EQ(series.requestsPerSecond.size(), 1u);
    // One request in the 0.7 s the run lasted.
    EXPECT_NEAR(series.requestsPerSecond[0], 1 / 0.7, 1e-9);
    EXPECT_EQ(series.users[0], 1u);
    ASSERT_EQ(series.transactions.size(), 1u);
    EXPECT_EQ(series.transactions[0].count[0], 1u);
    EXPECT_DOUBLE_EQ(series.transactions[0].p90[0], 0.5);
}

TEST(RunStatisticsTest, AllFailedShowsNoTimesAndFails) {
    CRunStatistics stats;
    for (int i = 0; i < 5; ++i) {
        stats.OnRequest(Request(i, 0.1, 0, "home", "t", "connection refused"), HttpResponse());
        stats.OnTransaction(Transaction("t", i, 0.1, TransactionRecord::Status::Fail));
    }
    const auto rows = stats.Transactions();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].failed, 5u);
    EXPECT_EQ(rows[0].passed, 0u);
    EXPECT_EQ(rows[0].p90, 0);
    EXPECT_TRUE(stats.Failed());
    EXPECT_EQ(RowOf(stats.SummaryText(), "t"),
              (Words{"t", "5", "0", "5", "-", "-", "-", "-", "-", "-"}))
        << stats.SummaryText();
    const auto errors = stats.Errors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].message, "connection refused");
    EXPECT_EQ(errors[0].count, 5u);
}

TEST(RunStatisticsTest, TransactionThatNeverEndsIsListedWithCountZero) {
    CRunStatistics stats;
    stats.OnRequest(Request(0, 0.1, 200, "home", "checkout"), HttpResponse());
    const auto rows = stats.Transactions();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].name, "checkout");
    EXPECT_EQ(rows[0].count, 0u);
    EXPECT_FALSE(stats.Failed());
    EXPECT_EQ(RowOf(stats.SummaryText(), "checkout"),
              (Words{"checkout", "0", "0", "0", "-", "-", "-", "-", "-", "-"}))
        << stats.SummaryText();
}

TEST(RunStatisticsTest, RequestsPerStepByStatusClass) {
    CRunStatistics stats;
    for (int status : {101, 200, 204, 302, 404, 503, 0, 99, 600})
        stats.OnRequest(Request(0, 0.1, status, "home"), HttpResponse());
    stats.OnRequest(Request(0, 0.1, 200, "login"), HttpResponse());
    stats.OnRequest(Request(0, 0.1, 200, ""), HttpResponse());
    const auto steps = stats.Steps();
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[0].step, "home");
    EXPECT_EQ(steps[0].byClass[0], 1u);
    EXPECT_EQ(steps[0].byClass[1], 2u);
    EXPECT_EQ(steps[0].byClass[2], 1u);
    EXPECT_EQ(steps[0].byClass[3], 1u);
    EXPECT_EQ(steps[0].byClass[4], 1u);
    // No answer and statuses outside 100..599.
    EXPECT_EQ(steps[0].failed, 3u);
    EXPECT_EQ(steps[1].step, "login");
    EXPECT_EQ(steps[1].byClass[1], 1u);
    EXPECT_EQ(steps[2].step, "(no step)");
    const std::string text = stats.SummaryText();
    EXPECT_EQ(RowOf(text, "step"), (Words{"step", "1xx", "2xx", "3xx", "4xx", "5xx", "failed"}));
    EXPECT_EQ(RowOf(text, "home"), (Words{"home", "1", "2", "1", "1", "1", "3"})) << text;
}

TEST(RunStatisticsTest, ErrorsAreGroupedByMessageMostFrequentFirst) {
    CRunStatistics stats;
    stats.OnRequest(Request(0, 0.1, 0, "a", "", "timeout"), HttpResponse());
    StepRecord step;
    step.function = "web_url";
    step.name = "home";
    step.failed = true;
    step.message = "text \"Welcome\" not found";
    for (int i = 0; i < 3; ++i)
        stats.OnStep(step);
    step.message.clear();
    stats.OnStep(step);
    stats.OnRequest(Request(1, 0.1, 0, "a", "", "timeout"), HttpResponse());
    stats.OnRequest(Request(1, 0.1, 0, "a"), HttpResponse());  // no answer, no text
    UserEndRecord end;
    end.user = 4;
    end.failed = true;
    end.message = "user 4: SIGSEGV in action crash";
    stats.OnUserEnd(end);
    stats.OnRunMessage("error", "worker 2 lost: ended by signal 9");
    stats.OnRunMessage("info", "worker 3 started");

    const auto errors = stats.Errors();
    ASSERT_EQ(errors.size(), 6u);
    EXPECT_EQ(errors[0].message, "text \"Welcome\" not found");
    EXPECT_EQ(errors[0].count, 3u);
    EXPECT_EQ(errors[1].message, "timeout");
    EXPECT_EQ(errors[1].count, 2u);
    EXPECT_EQ(errors[2].message, "web_url \"home\" failed");
    EXPECT_EQ(errors[3].message, "no answer (status 0)");
    EXPECT_EQ(errors[4].message, "user 4: SIGSEGV in action crash");
    EXPECT_EQ(errors[5].message, "worker 2 lost: ended by signal 9");
    EXPECT_EQ(stats.ErrorCount(), 9u);
    const std::string text = stats.SummaryText();
    EXPECT_NE(text.find("count  message\n    3  text \"Welcome\" not found\n    2  timeout\n"),
              std::string::npos)
        << text;
}

TEST(RunStatisticsTest, DistinctErrorMessagesAreBounded) {
    CRunStatistics stats;
    const std::size_t extra = 50;
    for (std::size_t i = 0; i < CRunStatistics::kMaxErrorMessages + extra; ++i)
        stats.OnRequest(Request(0, 0, 0, "a", "", "error " + std::to_string(i)), HttpResponse());
    // A message with a newline and a huge one stay one bounded line.
    CRunStatistics other;
    other.OnRequest(Request(0, 0, 0, "a", "", "line one\nline two"), HttpResponse());
    other.OnRequest(Request(0, 0, 0, "a", "", std::string(100000, 'x')), HttpResponse());

    const auto errors = stats.Errors();
    ASSERT_EQ(errors.size(), CRunStatistics::kMaxErrorMessages + 1);
    EXPECT_EQ(errors[0].message, "(other messages)");
    EXPECT_EQ(errors[0].count, extra);
    EXPECT_EQ(stats.ErrorCount(), CRunStatistics::kMaxErrorMessages + extra);
    const auto bounded = other.Errors();
    ASSERT_EQ(bounded.size(), 2u);
    EXPECT_EQ(bounded[0].message, "line one line two");
    EXPECT_EQ(bounded[1].message.size(), CRunStatistics::kMaxMessageBytes + 3);
}

TEST(RunStatisticsTest, FailedWhenAStepAUserOrATransactionFailed) {
    {
        CRunStatistics stats;
        stats.OnTransaction(Transaction("t", 0, 1));
        stats.OnRequest(Request(0, 0.1, 404, "a"), HttpResponse());  // the step decides
        StepRecord ok;
        stats.OnStep(ok);
        UserEndRecord end;
        stats.OnUserEnd(end);
        stats.OnIteration(1, 1, false, 1);
        EXPECT_FALSE(stats.Failed());
    }
    {
        CRunStatistics stats;
        StepRecord step;
        step.failed = true;
        stats.OnStep(step);
        EXPECT_TRUE(stats.Failed());
    }
    {
        CRunStatistics stats;
        UserEndRecord end;
        end.failed = true;
        stats.OnUserEnd(end);
        EXPECT_TRUE(stats.Failed());
    }
    {
        CRunStatistics stats;
        stats.OnTransaction(Transaction("t", 0, 1, TransactionRecord::Status::Fail));
        EXPECT_TRUE(stats.Failed());
    }
    {
        CRunStatistics stats;
        stats.OnIteration(1, 1, true, 1);
        EXPECT_TRUE(stats.Failed());
    }
}

TEST(RunStatisticsTest, ProgressLineShowsTheLastTenSeconds) {
    CRunStatistics stats;
    for (unsigned u = 1; u <= 3; ++u)
        stats.OnUserStart(u, 0);
    UserEndRecord end;
    end.user = 3;
    end.time = 1;
    stats.OnUserEnd(end);
    stats.OnIteration(1, 1, false, 5);
    stats.OnIteration(2, 1, false, 6);
    // Slow requests long ago, fast ones in the window (seconds 11 to 20).
    for (int i = 0; i < 100; ++i)
        stats.OnRequest(Request(0.5, 5.0, 200), HttpResponse());
    for (int i = 0; i < 200; ++i)
        stats.OnRequest(Request(11 + i * 0.045, 0.001 * (i % 100 + 1), 200), HttpResponse());
    EXPECT_EQ(stats.RecentRequests(20.0), 200u);
    // The window runs from the start of second 11 to now (20.0): 9 seconds.
    EXPECT_NEAR(stats.RecentRequestsPerSecond(20.0), 200 / 9.0, 1e-9);
    EXPECT_NEAR(stats.RecentP90(20.0), 0.090, 0.090 * 0.01);
    EXPECT_EQ(stats.ProgressText(20.0),
              "elapsed 0:00:20  users 2  iterations 2  req/s 22.2  errors 0  p90 0.090 s (last "
              "10 s)");
    // Later, nothing recent.
    EXPECT_EQ(stats.RecentRequests(100.0), 0u);
    EXPECT_EQ(stats.RecentP90(100.0), 0);
    EXPECT_NE(stats.ProgressText(3725.0).find("elapsed 1:02:05"), std::string::npos);
    // Early in a run the rate is over the time since the start.
    CRunStatistics young;
    for (int i = 0; i < 30; ++i)
        young.OnRequest(Request(0.1 * i, 0.01, 200), HttpResponse());
    EXPECT_NEAR(young.RecentRequestsPerSecond(3.0), 10.0, 1e-9);
}

TEST(RunStatisticsTest, TimeSeriesKeepsBoundedBucketsForALongRun) {
    CRunStatistics stats;
    const int seconds = 200000;  // 55 hours
    std::uint64_t requests = 0;
    stats.OnUserStart(1, 0);
    for (int t = 0; t < seconds; t += 7) {
        stats.OnRequest(Request(t, 0.2, 200, "home", "t"), HttpResponse());
        stats.OnTransaction(Transaction("t", t, 0.2 + (t % 3) * 0.1));
        ++requests;
    }
    std::string error;
    stats.OnRunEnd(seconds, error);
    const auto series = stats.TimeSeries();
    EXPECT_LE(series.requestsPerSecond.size(), CRunStatistics::kMaxBuckets);
    EXPECT_GE(series.requestsPerSecond.size(), CRunStatistics::kMaxBuckets / 2);
    EXPECT_GE(series.bucketWidth * double(series.requestsPerSecond.size()), seconds);
    // Widths double from one second.
    EXPECT_EQ(std::log2(series.bucketWidth), std::floor(std::log2(series.bucketWidth)));
    // Every request is in some bucket.
    double counted = 0;
    for (std::size_t i = 0; i < series.requestsPerSecond.size(); ++i) {
        const double start = double(i) * series.bucketWidth;
        const double covered = std::min(series.bucketWidth, double(seconds) - start);
        counted += series.requestsPerSecond[i] * covered;
    }
    EXPECT_NEAR(counted, double(requests), 1e-6 * double(requests));
    std::uint64_t transactions = 0;
    for (std::uint64_t c : series.transactions[0].count)
        transactions += c;
    EXPECT_EQ(transactions, requests);
    for (unsigned users : series.users)
        EXPECT_EQ(users, 1u);
}

TEST(RunStatisticsTest, MemoryStaysFlatOverALongRun) {
    CRunStatistics stats;
    RequestRecord request = Request(0, 0.1, 200, "home", "t");
    TransactionRecord transaction = Transaction("t", 0, 0.1);
    HttpResponse response;
    auto feed = [&](int from, int to) {
        for (int i = from; i < to; ++i) {
            // A request every half second for eleven days, durations spread
            // over three decades.
            request.start = i * 0.5;
            request.timings.total = 0.001 * (1 + i % 1000);
            request.status = i % 50 ? 200 : 503;
            request.error = i % 50 ? "" : "HTTP 503";
            stats.OnRequest(request, response);
            transaction.start = request.start;
            transaction.duration = request.timings.total * 3;
            stats.OnTransaction(transaction);
        }
    };
    // The first million fill the histograms of the buckets over the range
    // of durations; after that the structure is as large as it gets.
    feed(0, 1000000);
    const std::size_t before = HeapInUse();
    feed(1000000, 3000000);
    const std::size_t after = HeapInUse();
    EXPECT_LT(after, before + 64 * 1024) << "heap grew from " << before << " to " << after;
    EXPECT_EQ(stats.Requests(), 3000000u);
    EXPECT_LE(stats.TimeSeries().requestsPerSecond.size(), CRunStatistics::kMaxBuckets);
}

TEST(RunStatisticsTest, TimeSeriesPercentilesPerTransactionPerBucket) {
    CRunStatistics stats;
    // Second 0: a takes 0.1..1.0; second 1: a takes 2; b only in second 2.
    for (int i = 1; i <= 10; ++i)
        stats.OnTransaction(Transaction("a", 0, 0.1 * i));
    stats.OnTransaction(Transaction("a", 1.0, 0.5));  // ends at 1.5
    stats.OnTransaction(Transaction("b", 2.0, 0.25));
    stats.OnTransaction(Transaction("b", 2.0, 0.5, TransactionRecord::Status::Fail));
    const auto series = stats.TimeSeries();
    ASSERT_EQ(series.transactions.size(), 2u);
    const auto& a = series.transactions[0];
    // The ones ending in second 0 (0.1 .. 0.9) and second 1 (1.0 and the 0.5 ending at 1.5).
    EXPECT_EQ(a.count[0], 9u);
    EXPECT_NEAR(a.p50[0], 0.5, 0.005);
    EXPECT_NEAR(a.p90[0], 0.9, 0.009);
    EXPECT_EQ(a.count[1], 2u);
    EXPECT_EQ(a.count[2], 0u);
    const auto& b = series.transactions[1];
    EXPECT_EQ(b.count[2], 1u);  // the failed one is not timed
    EXPECT_DOUBLE_EQ(b.p95[2], 0.25);
}

TEST(RunStatisticsTest, SummaryColumnsAreAligned) {
    CRunStatistics stats;
    stats.OnTransaction(Transaction("a", 0, 0.123));
    stats.OnTransaction(Transaction("a much longer transaction name", 0, 12.5));
    stats.OnTransaction(Transaction("h\xC3\xA9llo", 0, 1234.5678));
    const auto lines = Lines(stats.SummaryText());
    ASSERT_GE(lines.size(), 5u);
    const std::string& header = lines[1];
    EXPECT_EQ(header.find("transaction"), 0u);
    EXPECT_EQ(RowOf(lines[2], "a"),
              (Words{"a", "1", "1", "0", "0.123", "0.123", "0.123", "0.123", "0.123", "0.123"}));
    // Every column ends where its heading ends: the rows are as long as the
    // heading, the accented name one byte longer for its two-byte letter.
    EXPECT_EQ(lines[2].size(), header.size());
    EXPECT_EQ(lines[3].size(), header.size());
    EXPECT_EQ(lines[4].size(), header.size() + 1);
    EXPECT_EQ(lines[4].rfind("1234.568"), header.size() + 1 - std::string("1234.568").size());
    // The name column is as wide as the longest name.
    EXPECT_EQ(header.find("count"), std::string("a much longer transaction name").size() + 2 +
                                        std::string("count").size() - 5);
}

TEST(RunStatisticsTest, CostOfARequest) {
    CRunStatistics stats;
    const int n = 1'000'000;
    std::vector<RequestRecord> records;
    for (int i = 0; i < 64; ++i)
        records.push_back(Request(0, 0.01 * (i + 1), i % 13 ? 200 : 404,
                                  "step " + std::to_string(i % 8), "t" + std::to_string(i % 4)));
    HttpResponse response;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < n; ++i) {
        RequestRecord& record = records[i % 64];
        record.start = i / 20000.0;  // 20,000 requests a second
        stats.OnRequest(record, response);
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const double nanos = seconds * 1e9 / n;
    RecordProperty("ns_per_request", std::to_string(nanos));
    std::printf("CRunStatistics::OnRequest: %.0f ns per request\n", nanos);
    EXPECT_EQ(stats.Requests(), std::uint64_t(n));
    // 20,000 requests a second must cost well under a second of one core.
    EXPECT_LT(nanos, 10000.0);
}

}  // namespace
