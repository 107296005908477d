#pragma once
// The statistics of a load run, gathered as its records arrive: per
// transaction counts and duration percentiles, requests per step by status
// class, errors grouped by message, what is happening now (for a progress
// line) and a time series for the HTML report. The command line prints the
// end-of-run summary table and the progress line this class makes.
//
// Memory does not grow with the length of a run: durations go into
// log-scale histograms (see Histogram), the time series keeps at most
// kMaxBuckets buckets (their width doubles, pairs merged, when a run
// outgrows them), and the names kept are bounded (kMaxNames transactions
// and steps, kMaxErrorMessages messages of kMaxMessageBytes; the rest are
// counted under one "(other ...)" row).
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/RunObserver.h"

class WEBSTEP_API CRunStatistics : public CRunObserver {
public:
    /// Durations in seconds counted in log-scale bins: 64 equal bins per
    /// power of two from 2^-20 s (about 1 microsecond) to 2^17 s (36 hours),
    /// one bin below (reported as the smallest value added) and one above
    /// (reported as the largest). A percentile is the midpoint of its bin,
    /// clamped to the exact minimum and maximum, so it is within 1/128
    /// (0.78%) of the value a sorted list gives. Only the bins between the
    /// lowest and the highest one used are held (at most 2,370 counters).
    class WEBSTEP_API Histogram {
    public:
        void Add(double seconds, std::uint64_t count = 1);
        void Merge(const Histogram& other);
        void Clear();
        std::uint64_t Count() const { return m_count; }
        /// Exact; 0 when empty.
        double Min() const { return m_count ? m_min : 0; }
        double Max() const { return m_count ? m_max : 0; }
        double Mean() const { return m_count ? m_sum / double(m_count) : 0; }
        /// The nearest-rank percentile (p from 0 to 100): the value of rank
        /// ceil(p/100 * count) in sorted order, as its bin's midpoint; 0
        /// when empty.
        double Percentile(double p) const;
        /// Counters held (for memory checks).
        std::size_t BinsHeld() const { return m_bins.size(); }

        static constexpr int kBinsPerOctave = 64;
        static constexpr int kLowestExponent = -20;
        static constexpr int kHighestExponent = 17;
        static constexpr int kBinCount = (kHighestExponent - kLowestExponent) * kBinsPerOctave + 2;

    private:
        static int Bin(double seconds);
        static double Midpoint(int bin);

        std::vector<std::uint64_t> m_bins;
        int m_first = 0;
        std::uint64_t m_count = 0;
        double m_sum = 0;
        double m_min = 0;
        double m_max = 0;
    };

    /// One row of the transaction table. The times are those of the passed
    /// transactions (a quick failure would otherwise look like a fast page):
    /// exact nearest-rank percentiles while a transaction has passed at most
    /// kExactSamples times, from its histogram after that;
    /// count is every record, so count = passed + failed + stopped (a
    /// transaction ended with Stop counts as neither passed nor failed). A
    /// transaction that requests named but that never ended has count 0.
    struct WEBSTEP_API TransactionRow {
        std::string name;
        std::uint64_t count = 0;
        std::uint64_t passed = 0;
        std::uint64_t failed = 0;
        std::uint64_t stopped = 0;
        /// Seconds, think time included (as the records give durations);
        /// all 0 when none passed.
        double min = 0;
        double average = 0;
        double p50 = 0;
        double p90 = 0;
        double p95 = 0;
        double max = 0;
    };

    /// Requests of one step by the class of their status: 1xx to 5xx, and
    /// "failed" for no answer (status 0) or a status outside 100 to 599.
    struct WEBSTEP_API StepRow {
        std::string step;
        std::uint64_t byClass[5] = {0, 0, 0, 0, 0};
        std::uint64_t failed = 0;
    };

    struct WEBSTEP_API ErrorRow {
        std::string message;
        std::uint64_t count = 0;
    };

    /// The run over time, one entry per bucket of bucketWidth seconds from
    /// 0 (the last bucket may be partly covered).
    struct WEBSTEP_API Series {
        double bucketWidth = 1;
        /// Requests ended in the bucket, divided by the seconds it covers.
        std::vector<double> requestsPerSecond;
        /// The most users running at once in the bucket.
        std::vector<unsigned> users;
        /// Errors (as counted in Errors()) in the bucket.
        std::vector<std::uint64_t> errors;
        /// Per transaction (the first kMaxSeriesTransactions names, sorted): the
        /// percentiles of the durations of the passed ones ended in each
        /// bucket, and how many; a bucket without any has count 0 and
        /// percentiles 0.
        struct WEBSTEP_API Transaction {
            std::string name;
            std::vector<std::uint64_t> count;
            std::vector<double> p50;
            std::vector<double> p90;
            std::vector<double> p95;
        };
        std::vector<Transaction> transactions;
    };

    static constexpr std::size_t kExactSamples = 256;
    static constexpr std::size_t kMaxBuckets = 600;
    static constexpr std::size_t kMaxSeriesTransactions = 50;
    static constexpr std::size_t kMaxNames = 10000;
    static constexpr std::size_t kMaxErrorMessages = 1000;
    static constexpr std::size_t kMaxMessageBytes = 500;
    /// Seconds of the window of RecentRequestsPerSecond and RecentP90.
    static constexpr int kRecentSeconds = 10;

    CRunStatistics();

    void OnRequest(const RequestRecord& request, const HttpResponse& response) override;
    void OnStep(const StepRecord& step) override;
    void OnTransaction(const TransactionRecord& transaction) override;
    void OnUserStart(unsigned user, double time) override;
    void OnUserEnd(const UserEndRecord& end) override;
    void OnIteration(unsigned user, unsigned iteration, bool failed, double time) override;
    void OnRunMessage(const std::string& level, const std::string& text) override;
    bool OnRunEnd(double time, std::string& error) override;

    /// Transactions sorted by name (byte order: a numbered prefix such as
    /// "01 home" orders them as the script does).
    std::vector<TransactionRow> Transactions() const;
    /// Steps in the order their first request came.
    std::vector<StepRow> Steps() const;
    /// The most frequent first (ties in the order they first came).
    std::vector<ErrorRow> Errors() const;
    Series TimeSeries() const;

    unsigned UsersRunning() const { return m_usersRunning; }
    std::uint64_t UsersStarted() const { return m_usersStarted; }
    std::uint64_t IterationsDone() const { return m_iterations; }
    std::uint64_t Requests() const { return m_requests; }
    std::uint64_t ErrorCount() const { return m_errorCount; }
    /// The latest run time seen in any record (or given to OnRunEnd).
    double Elapsed() const { return m_latest; }
    /// Requests that ended in the last kRecentSeconds before now (whole
    /// seconds of the run clock, the current one included) per second; over
    /// the time since the start when the run is younger.
    double RecentRequestsPerSecond(double now) const;
    /// The 90th percentile of the durations of those requests; 0 without any.
    double RecentP90(double now) const;
    std::uint64_t RecentRequests(double now) const;

    /// A transaction failed, a step failed, an iteration failed, a user
    /// ended abnormally, or the run reported an error.
    bool Failed() const;

    /// The end-of-run table: transactions, requests per step by status
    /// class, errors by message, in aligned plain-text columns.
    std::string SummaryText() const;
    /// One line, no newline: "elapsed 0:01:23  users 50  iterations 120
    /// req/s 230.5  errors 3  p90 0.412 s (last 10 s)" at the run time now.
    std::string ProgressText(double now) const;
    std::string ProgressText() const { return ProgressText(m_latest); }

private:
    struct TransactionStats {
        std::string name;
        std::uint64_t passed = 0;
        std::uint64_t failed = 0;
        std::uint64_t stopped = 0;
        Histogram durations;
        /// The durations themselves while there are at most kExactSamples.
        std::vector<double> exact;
    };
    struct Bucket {
        std::uint64_t requests = 0;
        std::uint64_t errors = 0;
        unsigned users = 0;
        /// Indexed like m_transactions (the first kMaxSeriesTransactions).
        std::vector<Histogram> transactions;
    };
    struct RecentSlot {
        long long second = -1;
        std::uint64_t requests = 0;
        Histogram durations;
    };
    struct StringHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>{}(text);
        }
    };
    using NameIndex = std::unordered_map<std::string, std::size_t, StringHash, std::equal_to<>>;

    std::size_t TransactionIndex(std::string_view name);
    std::size_t StepIndex(std::string_view name);
    void AddError(std::string_view message, double time);
    Bucket& BucketAt(double time);
    void NoteTime(double time);
    void NoteUsers(double time);

    std::vector<TransactionStats> m_transactions;
    NameIndex m_transactionIndex;
    std::vector<StepRow> m_steps;
    NameIndex m_stepIndex;
    std::vector<ErrorRow> m_errors;
    NameIndex m_errorIndex;

    std::vector<Bucket> m_buckets;
    double m_bucketWidth = 1;
    RecentSlot m_recent[kRecentSeconds];

    unsigned m_usersRunning = 0;
    std::uint64_t m_usersStarted = 0;
    std::uint64_t m_usersFailed = 0;
    std::uint64_t m_iterations = 0;
    std::uint64_t m_iterationsFailed = 0;
    std::uint64_t m_requests = 0;
    std::uint64_t m_stepsFailed = 0;
    std::uint64_t m_runErrors = 0;
    std::uint64_t m_errorCount = 0;
    double m_latest = 0;
    double m_end = -1;
};
