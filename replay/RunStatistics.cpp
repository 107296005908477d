#include "webstep/replay/RunStatistics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

// Durations beyond this (about 31 years) or NaN are bad input; they are
// clamped so that sums and buckets stay finite.
constexpr double kLongestTime = 1e9;

double Sane(double seconds) {
    if (!(seconds > 0))  // NaN and negative
        return 0;
    return std::min(seconds, kLongestTime);
}

// The value of rank ceil(p/100 * n) of a sorted, non-empty list.
double NearestRank(const std::vector<double>& sorted, double p) {
    auto rank = static_cast<std::size_t>(std::ceil(p * double(sorted.size()) / 100.0));
    rank = std::clamp<std::size_t>(rank, 1, sorted.size());
    return sorted[rank - 1];
}

// Columns are aligned by characters, not bytes: UTF-8 continuation bytes
// take no room.
std::size_t DisplayWidth(std::string_view text) {
    std::size_t width = 0;
    for (unsigned char c : text)
        if ((c & 0xC0) != 0x80)
            ++width;
    return width;
}

std::string Seconds(double seconds) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", seconds);
    return text;
}

// A plain-text table: the first column left-aligned, the others right-aligned,
// two spaces between columns.
std::string Table(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        if (widths.size() < row.size())
            widths.resize(row.size(), 0);
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
    std::string out;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t pad = widths[i] - DisplayWidth(row[i]);
            if (i > 0)
                line += "  ";
            if (i == 0) {
                line += row[i];
                if (row.size() > 1)
                    line.append(pad, ' ');
            } else {
                line.append(pad, ' ');
                line += row[i];
            }
        }
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        out += line;
        out += '\n';
    }
    return out;
}

// Names and messages go on one line of the table: control characters become
// spaces, and a message is cut (at a character boundary) to a bounded key.
std::string OneLine(std::string_view text, std::size_t maxBytes) {
    const bool cut = text.size() > maxBytes;
    if (cut) {
        std::size_t end = maxBytes;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
            --end;
        text = text.substr(0, end);
    }
    std::string line(text);
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = ' ';
    if (cut)
        line += "...";
    return line;
}

}  // namespace

// ---- Histogram ----

int CRunStatistics::Histogram::Bin(double seconds) {
    if (!(seconds >= std::ldexp(1.0, kLowestExponent)))
        return 0;
    if (seconds >= std::ldexp(1.0, kHighestExponent))
        return kBinCount - 1;
    int exponent = 0;
    // seconds = mantissa * 2^exponent with mantissa in [0.5, 1): the value
    // lies in the octave [2^(exponent-1), 2^exponent).
    const double mantissa = std::frexp(seconds, &exponent);
    const int octave = exponent - 1 - kLowestExponent;
    int sub = static_cast<int>((mantissa - 0.5) * 2 * kBinsPerOctave);
    sub = std::clamp(sub, 0, kBinsPerOctave - 1);
    return 1 + octave * kBinsPerOctave + sub;
}

double CRunStatistics::Histogram::Midpoint(int bin) {
    if (bin <= 0)
        return 0;
    if (bin >= kBinCount - 1)
        return kLongestTime;
    const int octave = (bin - 1) / kBinsPerOctave;
    const int sub = (bin - 1) % kBinsPerOctave;
    const double low = std::ldexp(1.0, octave + kLowestExponent);
    return low * (1.0 + (sub + 0.5) / kBinsPerOctave);
}

void CRunStatistics::Histogram::Add(double seconds, std::uint64_t count) {
    if (count == 0)
        return;
    seconds = Sane(seconds);
    const int bin = Bin(seconds);
    if (m_bins.empty()) {
        m_first = bin;
        m_bins.assign(1, 0);
    } else if (bin < m_first) {
        m_bins.insert(m_bins.begin(), static_cast<std::size_t>(m_first - bin), 0);
        m_first = bin;
    } else if (static_cast<std::size_t>(bin - m_first) >= m_bins.size()) {
        m_bins.resize(static_cast<std::size_t>(bin - m_first) + 1, 0);
    }
    m_bins[static_cast<std::size_t>(bin - m_first)] += count;
    if (m_count == 0) {
        m_min = m_max = seconds;
    } else {
        m_min = std::min(m_min, seconds);
        m_max = std::max(m_max, seconds);
    }
    m_count += count;
    m_sum += seconds * static_cast<double>(count);
}

void CRunStatistics::Histogram::Merge(const Histogram& other) {
    if (other.m_count == 0)
        return;
    if (m_count == 0) {
        *this = other;
        return;
    }
    const int first = std::min(m_first, other.m_first);
    const int last = std::max(m_first + static_cast<int>(m_bins.size()),
                              other.m_first + static_cast<int>(other.m_bins.size()));
    if (first < m_first) {
        m_bins.insert(m_bins.begin(), static_cast<std::size_t>(m_first - first), 0);
        m_first = first;
    }
    m_bins.resize(static_cast<std::size_t>(last - m_first), 0);
    for (std::size_t i = 0; i < other.m_bins.size(); ++i)
        m_bins[static_cast<std::size_t>(other.m_first - m_first) + i] += other.m_bins[i];
    m_min = std::min(m_min, other.m_min);
    m_max = std::max(m_max, other.m_max);
    m_count += other.m_count;
    m_sum += other.m_sum;
}

void CRunStatistics::Histogram::Clear() {
    *this = Histogram();
}

double CRunStatistics::Histogram::Percentile(double p) const {
    if (m_count == 0)
        return 0;
    if (!(p > 0))
        return m_min;
    if (p >= 100)
        return m_max;
    // Nearest rank; p * count is exact for whole p, so the division gives
    // the exact rank whenever it is a whole number.
    std::uint64_t rank = static_cast<std::uint64_t>(std::ceil(p * double(m_count) / 100.0));
    rank = std::clamp<std::uint64_t>(rank, 1, m_count);
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < m_bins.size(); ++i) {
        seen += m_bins[i];
        if (seen >= rank)
            return std::clamp(Midpoint(m_first + static_cast<int>(i)), m_min, m_max);
    }
    return m_max;
}

// ---- the statistics ----

CRunStatistics::CRunStatistics() = default;

std::size_t CRunStatistics::TransactionIndex(std::string_view name) {
    if (name.empty())
        name = "(unnamed)";
    auto found = m_transactionIndex.find(name);
    if (found != m_transactionIndex.end())
        return found->second;
    std::string key(name);
    if (m_transactions.size() >= kMaxNames) {
        key = "(other transactions)";
        found = m_transactionIndex.find(key);
        if (found != m_transactionIndex.end())
            return found->second;
    }
    m_transactions.push_back(TransactionStats{OneLine(key, kMaxMessageBytes), 0, 0, 0, {}});
    m_transactionIndex.emplace(std::move(key), m_transactions.size() - 1);
    return m_transactions.size() - 1;
}

std::size_t CRunStatistics::StepIndex(std::string_view name) {
    if (name.empty())
        name = "(no step)";
    auto found = m_stepIndex.find(name);
    if (found != m_stepIndex.end())
        return found->second;
    std::string key(name);
    if (m_steps.size() >= kMaxNames) {
        key = "(other steps)";
        found = m_stepIndex.find(key);
        if (found != m_stepIndex.end())
            return found->second;
    }
    StepRow row;
    row.step = OneLine(key, kMaxMessageBytes);
    m_steps.push_back(std::move(row));
    m_stepIndex.emplace(std::move(key), m_steps.size() - 1);
    return m_steps.size() - 1;
}

void CRunStatistics::AddError(std::string_view message, double time) {
    ++m_errorCount;
    BucketAt(time).errors += 1;
    std::string key = OneLine(message, kMaxMessageBytes);
    auto found = m_errorIndex.find(key);
    if (found == m_errorIndex.end()) {
        if (m_errors.size() >= kMaxErrorMessages) {
            key = "(other messages)";
            found = m_errorIndex.find(key);
        }
        if (found == m_errorIndex.end()) {
            m_errors.push_back(ErrorRow{key, 0});
            found = m_errorIndex.emplace(std::move(key), m_errors.size() - 1).first;
        }
    }
    m_errors[found->second].count += 1;
}

CRunStatistics::Bucket& CRunStatistics::BucketAt(double time) {
    time = Sane(time);
    NoteTime(time);
    std::size_t index = static_cast<std::size_t>(time / m_bucketWidth);
    while (index >= kMaxBuckets) {
        // Twice as wide, pairs merged: the number of buckets stays bounded
        // however long the run.
        std::vector<Bucket> merged((m_buckets.size() + 1) / 2);
        for (std::size_t i = 0; i < m_buckets.size(); ++i) {
            Bucket& into = merged[i / 2];
            Bucket& from = m_buckets[i];
            into.requests += from.requests;
            into.errors += from.errors;
            into.users = std::max(into.users, from.users);
            if (into.transactions.size() < from.transactions.size())
                into.transactions.resize(from.transactions.size());
            for (std::size_t t = 0; t < from.transactions.size(); ++t)
                into.transactions[t].Merge(from.transactions[t]);
        }
        m_buckets = std::move(merged);
        m_bucketWidth *= 2;
        index = static_cast<std::size_t>(time / m_bucketWidth);
    }
    while (m_buckets.size() <= index) {
        m_buckets.emplace_back();
        m_buckets.back().users = m_usersRunning;
    }
    return m_buckets[index];
}

void CRunStatistics::NoteTime(double time) {
    m_latest = std::max(m_latest, Sane(time));
}

void CRunStatistics::NoteUsers(double time) {
    Bucket& bucket = BucketAt(time);
    bucket.users = std::max(bucket.users, m_usersRunning);
}

void CRunStatistics::OnRequest(const RequestRecord& request, const HttpResponse& response) {
    ++m_requests;
    const double duration = Sane(request.timings.total);
    const double end = Sane(request.start) + duration;
    BucketAt(end).requests += 1;

    const long long second = static_cast<long long>(std::floor(Sane(end)));
    RecentSlot& slot = m_recent[second % kRecentSeconds];
    if (slot.second < second) {
        slot.second = second;
        slot.requests = 0;
        slot.durations.Clear();
    }
    if (slot.second == second) {  // older records than the window are left out
        slot.requests += 1;
        slot.durations.Add(duration);
    }

    StepRow& step = m_steps[StepIndex(request.step)];
    if (request.status >= 100 && request.status <= 599)
        step.byClass[request.status / 100 - 1] += 1;
    else
        step.failed += 1;

    if (!request.transaction.empty())
        TransactionIndex(request.transaction);

    if (!request.error.empty())
        AddError(request.error, end);
    else if (request.status == 0)
        AddError("no answer (status 0)", end);
}

void CRunStatistics::OnStep(const StepRecord& step) {
    if (!step.failed)
        return;
    ++m_stepsFailed;
    double time = m_latest;
    if (!step.requests.empty()) {
        const RequestRecord& last = step.requests.back();
        time = Sane(last.start) + Sane(last.timings.total);
    }
    if (!step.message.empty())
        AddError(step.message, time);
    else
        AddError(step.function + " \"" + step.name + "\" failed", time);
}

void CRunStatistics::OnTransaction(const TransactionRecord& transaction) {
    const std::size_t index = TransactionIndex(transaction.name);
    TransactionStats& stats = m_transactions[index];
    const double end = Sane(transaction.start) + Sane(transaction.duration);
    Bucket& bucket = BucketAt(end);
    switch (transaction.status) {
        case TransactionRecord::Status::Pass:
            stats.passed += 1;
            stats.durations.Add(transaction.duration);
            if (stats.durations.Count() <= kExactSamples) {
                stats.exact.push_back(Sane(transaction.duration));
            } else if (!stats.exact.empty()) {
                stats.exact.clear();
                stats.exact.shrink_to_fit();
            }
            if (index < kMaxSeriesTransactions) {
                if (bucket.transactions.size() <= index)
                    bucket.transactions.resize(index + 1);
                bucket.transactions[index].Add(transaction.duration);
            }
            break;
        case TransactionRecord::Status::Fail:
            stats.failed += 1;
            break;
        case TransactionRecord::Status::Stop:
            stats.stopped += 1;
            break;
    }
}

void CRunStatistics::OnUserStart(unsigned user, double time) {
    ++m_usersStarted;
    ++m_usersRunning;
    NoteUsers(time);
}

void CRunStatistics::OnUserEnd(const UserEndRecord& end) {
    if (m_usersRunning > 0)
        --m_usersRunning;
    NoteUsers(end.time);
    if (end.failed) {
        ++m_usersFailed;
        AddError(end.message.empty() ? "user " + std::to_string(end.user) + " failed" : end.message,
                 end.time);
    }
}

void CRunStatistics::OnIteration(unsigned user, unsigned iteration, bool failed, double time) {
    ++m_iterations;
    if (failed)
        ++m_iterationsFailed;
    NoteTime(time);
}

void CRunStatistics::OnRunMessage(const std::string& level, const std::string& text) {
    // A lost worker or the like: an error of the run, at the latest time seen.
    if (level == "error") {
        ++m_runErrors;
        AddError(text, m_latest);
    }
}

bool CRunStatistics::OnRunEnd(double time, std::string& error) {
    m_end = Sane(time);
    NoteTime(m_end);
    // The series reaches the end (the running users of its last bucket)
    // without opening a bucket that the end only touches.
    if (m_end > 0)
        NoteUsers(std::nextafter(m_end, 0.0));
    return true;
}

std::vector<CRunStatistics::TransactionRow> CRunStatistics::Transactions() const {
    std::vector<TransactionRow> rows;
    rows.reserve(m_transactions.size());
    for (const TransactionStats& stats : m_transactions) {
        TransactionRow row;
        row.name = stats.name;
        row.passed = stats.passed;
        row.failed = stats.failed;
        row.stopped = stats.stopped;
        row.count = stats.passed + stats.failed + stats.stopped;
        row.min = stats.durations.Min();
        row.average = stats.durations.Mean();
        if (!stats.exact.empty() && stats.exact.size() == stats.durations.Count()) {
            std::vector<double> sorted = stats.exact;
            std::sort(sorted.begin(), sorted.end());
            row.p50 = NearestRank(sorted, 50);
            row.p90 = NearestRank(sorted, 90);
            row.p95 = NearestRank(sorted, 95);
        } else {
            row.p50 = stats.durations.Percentile(50);
            row.p90 = stats.durations.Percentile(90);
            row.p95 = stats.durations.Percentile(95);
        }
        row.max = stats.durations.Max();
        rows.push_back(std::move(row));
    }
    std::stable_sort(
        rows.begin(), rows.end(),
        [](const TransactionRow& a, const TransactionRow& b) { return a.name < b.name; });
    return rows;
}

std::vector<CRunStatistics::StepRow> CRunStatistics::Steps() const {
    return m_steps;
}

std::vector<CRunStatistics::ErrorRow> CRunStatistics::Errors() const {
    std::vector<ErrorRow> rows = m_errors;
    std::stable_sort(rows.begin(), rows.end(),
                     [](const ErrorRow& a, const ErrorRow& b) { return a.count > b.count; });
    return rows;
}

CRunStatistics::Series CRunStatistics::TimeSeries() const {
    Series series;
    series.bucketWidth = m_bucketWidth;
    const double end = m_end >= 0 ? m_end : m_latest;
    const std::size_t count = m_buckets.size();
    const std::size_t named = std::min(m_transactions.size(), kMaxSeriesTransactions);
    series.transactions.resize(named);
    for (std::size_t t = 0; t < named; ++t) {
        series.transactions[t].name = m_transactions[t].name;
        series.transactions[t].count.assign(count, 0);
        series.transactions[t].p50.assign(count, 0);
        series.transactions[t].p90.assign(count, 0);
        series.transactions[t].p95.assign(count, 0);
    }
    for (std::size_t i = 0; i < count; ++i) {
        const Bucket& bucket = m_buckets[i];
        const double start = double(i) * m_bucketWidth;
        double covered = std::min(m_bucketWidth, end - start);
        if (!(covered > 0))
            covered = m_bucketWidth;
        series.requestsPerSecond.push_back(double(bucket.requests) / covered);
        series.users.push_back(bucket.users);
        series.errors.push_back(bucket.errors);
        for (std::size_t t = 0; t < named && t < bucket.transactions.size(); ++t) {
            const Histogram& h = bucket.transactions[t];
            series.transactions[t].count[i] = h.Count();
            series.transactions[t].p50[i] = h.Percentile(50);
            series.transactions[t].p90[i] = h.Percentile(90);
            series.transactions[t].p95[i] = h.Percentile(95);
        }
    }
    std::stable_sort(
        series.transactions.begin(), series.transactions.end(),
        [](const Series::Transaction& a, const Series::Transaction& b) { return a.name < b.name; });
    return series;
}

std::uint64_t CRunStatistics::RecentRequests(double now) const {
    const long long last = static_cast<long long>(std::floor(Sane(now)));
    std::uint64_t requests = 0;
    for (const RecentSlot& slot : m_recent)
        if (slot.second >= 0 && slot.second <= last && slot.second > last - kRecentSeconds)
            requests += slot.requests;
    return requests;
}

double CRunStatistics::RecentRequestsPerSecond(double now) const {
    now = Sane(now);
    const double last = std::floor(now);
    // The window runs from the start of its oldest second to now.
    double window = now - std::max(0.0, last - (kRecentSeconds - 1));
    window = std::max(window, 1.0);
    return double(RecentRequests(now)) / window;
}

double CRunStatistics::RecentP90(double now) const {
    const long long last = static_cast<long long>(std::floor(Sane(now)));
    Histogram merged;
    for (const RecentSlot& slot : m_recent)
        if (slot.second >= 0 && slot.second <= last && slot.second > last - kRecentSeconds)
            merged.Merge(slot.durations);
    return merged.Percentile(90);
}

bool CRunStatistics::Failed() const {
    if (m_stepsFailed > 0 || m_usersFailed > 0 || m_iterationsFailed > 0 || m_runErrors > 0)
        return true;
    for (const TransactionStats& stats : m_transactions)
        if (stats.failed > 0)
            return true;
    return false;
}

std::string CRunStatistics::SummaryText() const {
    std::string out;
    out +=
        "Transactions (seconds, think time included; times of the passed ones; "
        "a stopped one counts as neither passed nor failed)\n";
    const std::vector<TransactionRow> transactions = Transactions();
    if (transactions.empty()) {
        out += "  no transactions\n";
    } else {
        std::vector<std::vector<std::string>> rows;
        rows.push_back(
            {"transaction", "count", "passed", "failed", "min", "avg", "p50", "p90", "p95", "max"});
        for (const TransactionRow& row : transactions) {
            std::vector<std::string> cells{row.name, std::to_string(row.count),
                                           std::to_string(row.passed), std::to_string(row.failed)};
            for (double value : {row.min, row.average, row.p50, row.p90, row.p95, row.max})
                cells.push_back(row.passed ? Seconds(value) : "-");
            rows.push_back(std::move(cells));
        }
        out += Table(rows);
    }

    out += "\nRequests per step by status class\n";
    if (m_steps.empty()) {
        out += "  no requests\n";
    } else {
        std::vector<std::vector<std::string>> rows;
        rows.push_back({"step", "1xx", "2xx", "3xx", "4xx", "5xx", "failed"});
        for (const StepRow& step : m_steps) {
            std::vector<std::string> cells{step.step};
            for (std::uint64_t n : step.byClass)
                cells.push_back(std::to_string(n));
            cells.push_back(std::to_string(step.failed));
            rows.push_back(std::move(cells));
        }
        out += Table(rows);
    }

    out += "\nErrors by message\n";
    const std::vector<ErrorRow> errors = Errors();
    if (errors.empty()) {
        out += "  no errors\n";
    } else {
        std::vector<std::vector<std::string>> rows;
        rows.push_back({"count", "message"});
        for (const ErrorRow& error : errors)
            rows.push_back({std::to_string(error.count), error.message});
        // The count column right-aligned, the message left: built by hand.
        std::size_t width = 5;
        for (const auto& row : rows)
            width = std::max(width, row[0].size());
        for (const auto& row : rows)
            out += std::string(width - row[0].size(), ' ') + row[0] + "  " + row[1] + "\n";
    }
    return out;
}

std::string CRunStatistics::ProgressText(double now) const {
    now = Sane(now);
    const auto whole = static_cast<unsigned long long>(now);
    char elapsed[64];
    std::snprintf(elapsed, sizeof elapsed, "%llu:%02llu:%02llu", whole / 3600, whole / 60 % 60,
                  whole % 60);
    char rate[64];
    std::snprintf(rate, sizeof rate, "%.1f", RecentRequestsPerSecond(now));
    std::string text = "elapsed ";
    text += elapsed;
    text += "  users " + std::to_string(m_usersRunning);
    text += "  iterations " + std::to_string(m_iterations);
    text += "  req/s ";
    text += rate;
    text += "  errors " + std::to_string(m_errorCount);
    text += "  p90 ";
    text += RecentRequests(now) ? Seconds(RecentP90(now)) + " s" : std::string("-");
    text += " (last " + std::to_string(kRecentSeconds) + " s)";
    return text;
}
