#include "webstep/replay/ResultsWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>
#include <ctime>
#include <nlohmann/json.hpp>

namespace {

std::string FileName(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string Folder(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return "";
    return path.substr(0, slash + 1);
}

const char* StatusName(TransactionRecord::Status status) {
    switch (status) {
        case TransactionRecord::Status::Pass:
            return "pass";
        case TransactionRecord::Status::Fail:
            return "fail";
        case TransactionRecord::Status::Stop:
            return "stop";
    }
    return "pass";
}

}  // namespace

// ---- StreamedFile ----

CResultsWriter::StreamedFile::~StreamedFile() {
    Abandon();
}

bool CResultsWriter::StreamedFile::Open(const std::string& target, std::string& error) {
    Abandon();
    if (target.empty() || target.back() == '/') {
        error = "expected a file name, got \"" + target + "\"";
        return false;
    }
    struct stat info {};
    if (::stat(target.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        error = "cannot write " + target + ": it is a directory";
        return false;
    }
    static std::atomic<unsigned> counter{0};
    // The name is kept short so that a long target name still fits.
    const std::string temporary = Folder(target) + "." + FileName(target).substr(0, 64) + ".tmp-" +
                                  std::to_string(::getpid()) + "-" + std::to_string(++counter);
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = "cannot create " + temporary + " (for " + target + "): " + std::strerror(errno);
        return false;
    }
    m_fd = fd;
    m_target = target;
    m_temporary = temporary;
    m_buffer.clear();
    m_buffer.reserve(kFlushBytes + 4096);
    m_error.clear();
    return true;
}

void CResultsWriter::StreamedFile::Write(std::string_view text) {
    m_buffer.append(text);
    FlushIfFull();
}

void CResultsWriter::StreamedFile::Flush() {
    if (m_fd < 0 || !m_error.empty()) {
        m_buffer.clear();
        return;
    }
    const char* data = m_buffer.data();
    std::size_t left = m_buffer.size();
    while (left > 0) {
        const ssize_t written = ::write(m_fd, data, left);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            m_error = "cannot write " + m_temporary + ": " + std::strerror(errno);
            break;
        }
        data += written;
        left -= static_cast<std::size_t>(written);
    }
    m_buffer.clear();
}

bool CResultsWriter::StreamedFile::Commit(std::string& error) {
    if (m_fd < 0) {
        error = "no file open to finish";
        return false;
    }
    Flush();
    if (m_error.empty() && ::fsync(m_fd) != 0)
        m_error = "cannot write " + m_temporary + ": " + std::strerror(errno);
    if (::close(m_fd) != 0 && m_error.empty())
        m_error = "cannot write " + m_temporary + ": " + std::strerror(errno);
    m_fd = -1;
    if (m_error.empty() && ::rename(m_temporary.c_str(), m_target.c_str()) != 0)
        m_error = "cannot rename " + m_temporary + " to " + m_target + ": " + std::strerror(errno);
    if (!m_error.empty()) {
        ::unlink(m_temporary.c_str());
        error = m_error;
        return false;
    }
    m_temporary.clear();
    return true;
}

void CResultsWriter::StreamedFile::Abandon() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
        ::unlink(m_temporary.c_str());
    }
    m_buffer.clear();
}

// ---- JSON text ----

void CResultsWriter::AppendJsonString(std::string& out, std::string_view text) {
    // Most names and URLs are printable ASCII without quotes or backslashes:
    // those are copied as they are, the rest escaped by nlohmann-json.
    bool plain = true;
    for (unsigned char c : text)
        if (c < 0x20 || c >= 0x7F || c == '"' || c == '\\') {
            plain = false;
            break;
        }
    if (plain) {
        out += '"';
        out.append(text);
        out += '"';
        return;
    }
    out += nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void CResultsWriter::AppendNumber(std::string& out, double value, int decimals) {
    if (!std::isfinite(value))
        value = 0;
    // The common case, times in seconds: whole units of 10^-decimals as an
    // integer, which is several times faster than formatting the double.
    static constexpr double kScale[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
    if (decimals >= 1 && decimals <= 9 && std::fabs(value) < 1e9) {
        const long long units = std::llround(value * kScale[decimals]);
        const unsigned long long magnitude =
            units < 0 ? 0ULL - static_cast<unsigned long long>(units) : units;
        const unsigned long long scale = static_cast<unsigned long long>(kScale[decimals]);
        if (units < 0)
            out += '-';
        char text[32];
        auto result = std::to_chars(text, text + sizeof text, magnitude / scale);
        out.append(text, result.ptr);
        out += '.';
        result = std::to_chars(text, text + sizeof text, magnitude % scale);
        out.append(static_cast<std::size_t>(decimals - (result.ptr - text)), '0');
        out.append(text, result.ptr);
        return;
    }
    char text[400];
    const auto result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
    if (result.ec != std::errc()) {
        out += '0';
        return;
    }
    out.append(text, result.ptr);
}

void CResultsWriter::AppendNumber(std::string& out, std::uint64_t value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    out.append(text, result.ptr);
}

std::string CResultsWriter::IsoTime(std::chrono::system_clock::time_point start, double seconds) {
    using namespace std::chrono;
    if (!std::isfinite(seconds))
        seconds = 0;
    const auto moment =
        time_point_cast<milliseconds>(start) + milliseconds(std::llround(seconds * 1000.0));
    long long millis = moment.time_since_epoch().count();
    long long whole = millis / 1000;
    int fraction = static_cast<int>(millis % 1000);
    if (fraction < 0) {
        fraction += 1000;
        whole -= 1;
    }
    const std::time_t clock = static_cast<std::time_t>(whole);
    std::tm parts{};
    gmtime_r(&clock, &parts);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    char tail[16];
    std::snprintf(tail, sizeof tail, ".%03dZ", fraction);
    return std::string(text, length) + tail;
}

// ---- the writer ----

// ---- a run file's life ----

CResultsWriter::RunFile::RunFile(std::string path, std::string what,
                                 std::function<void(std::string&)> head)
    : m_path(std::move(path)), m_what(std::move(what)), m_head(std::move(head)) {}

bool CResultsWriter::RunFile::Open(std::string& error) {
    if (m_file.IsOpen())
        return true;
    m_triedOpen = true;
    if (!m_file.Open(m_path, m_openError)) {
        error = m_openError;
        return false;
    }
    m_head(m_file.Buffer());
    return true;
}

std::string* CResultsWriter::RunFile::Record() {
    if (m_ended)
        return nullptr;
    if (!m_file.IsOpen()) {
        if (m_triedOpen)
            return nullptr;
        std::string error;
        if (!Open(error))
            return nullptr;
    }
    return &m_file.Buffer();
}

bool CResultsWriter::RunFile::Finish(const std::function<void(std::string&)>& tail,
                                     std::string& error) {
    if (m_ended) {
        error = m_what + " " + m_path + " was already finished";
        return false;
    }
    if (!m_file.IsOpen() && !m_triedOpen) {
        std::string ignored;
        Open(ignored);
    }
    m_ended = true;
    if (!m_file.IsOpen()) {
        error = m_openError;
        return false;
    }
    tail(m_file.Buffer());
    return m_file.Commit(error);
}

// ---- the writer ----

CResultsWriter::CResultsWriter(std::string path, std::chrono::system_clock::time_point wallStart)
    : m_wallStart(wallStart), m_file(std::move(path), "the results file", [this](std::string& out) {
          out += "{\"format\":\"webstep-results\",\"version\":1,\"startedAt\":";
          AppendJsonString(out, IsoTime(m_wallStart, 0));
          out += ",\"events\":[";
      }) {}

CResultsWriter::~CResultsWriter() = default;

bool CResultsWriter::Open(std::string& error) {
    return m_file.Open(error);
}

bool CResultsWriter::BeginEvent(const char* type) {
    std::string* buffer = m_file.Record();
    if (buffer == nullptr)
        return false;
    std::string& out = *buffer;
    out += m_firstEvent ? "\n" : ",\n";
    m_firstEvent = false;
    out += "{\"type\":\"";
    out += type;
    out += '"';
    return true;
}

void CResultsWriter::EndEvent() {
    if (std::string* out = m_file.Record())
        *out += '}';
    m_file.FlushIfFull();
}

void CResultsWriter::OnRequest(const RequestRecord& request, const HttpResponse& response) {
    ++m_requests;
    if (!BeginEvent("request"))
        return;
    std::string& out = *m_file.Record();
    out += ",\"start\":";
    AppendNumber(out, request.start);
    out += ",\"duration\":";
    AppendNumber(out, request.timings.total);
    out += ",\"status\":";
    out += std::to_string(request.status);
    out += ",\"bytes\":";
    AppendNumber(out, static_cast<std::uint64_t>(request.responseBytes));
    out += ",\"user\":";
    AppendNumber(out, static_cast<std::uint64_t>(request.user));
    out += ",\"iteration\":";
    AppendNumber(out, static_cast<std::uint64_t>(request.iteration));
    out += ",\"step\":";
    AppendJsonString(out, request.step);
    out += ",\"transaction\":";
    AppendJsonString(out, request.transaction);
    out += ",\"method\":";
    AppendJsonString(out, request.request.method);
    out += ",\"url\":";
    AppendJsonString(out, request.request.url);
    out += ",\"error\":";
    AppendJsonString(out, request.error);
    out += ",\"timings\":{\"dns\":";
    AppendNumber(out, request.timings.dns);
    out += ",\"connect\":";
    AppendNumber(out, request.timings.connect);
    out += ",\"tls\":";
    AppendNumber(out, request.timings.tls);
    out += ",\"firstByte\":";
    AppendNumber(out, request.timings.firstByte);
    out += '}';
    EndEvent();
}

void CResultsWriter::OnStep(const StepRecord& step) {
    // Steps that went well are in their requests; a failure is an event of
    // its own with its reason.
    if (!step.failed)
        return;
    ++m_stepsFailed;
    if (!BeginEvent("stepFailed"))
        return;
    std::string& out = *m_file.Record();
    out += ",\"function\":";
    AppendJsonString(out, step.function);
    out += ",\"name\":";
    AppendJsonString(out, step.name);
    out += ",\"file\":";
    AppendJsonString(out, step.file);
    out += ",\"line\":";
    AppendNumber(out, static_cast<std::uint64_t>(step.line));
    out += ",\"message\":";
    AppendJsonString(out, step.message);
    if (!step.requests.empty()) {
        // A step record carries no user of its own; its requests do.
        const RequestRecord& last = step.requests.back();
        out += ",\"user\":";
        AppendNumber(out, static_cast<std::uint64_t>(last.user));
        out += ",\"iteration\":";
        AppendNumber(out, static_cast<std::uint64_t>(last.iteration));
        out += ",\"time\":";
        AppendNumber(out, last.start + last.timings.total);
    }
    EndEvent();
}

void CResultsWriter::OnTransaction(const TransactionRecord& transaction) {
    ++m_transactions;
    if (transaction.status == TransactionRecord::Status::Fail)
        ++m_transactionsFailed;
    if (!BeginEvent("transaction"))
        return;
    std::string& out = *m_file.Record();
    out += ",\"name\":";
    AppendJsonString(out, transaction.name);
    out += ",\"status\":\"";
    out += StatusName(transaction.status);
    out += "\",\"start\":";
    AppendNumber(out, transaction.start);
    out += ",\"duration\":";
    AppendNumber(out, transaction.duration);
    out += ",\"thinkTime\":";
    AppendNumber(out, transaction.thinkTime);
    out += ",\"user\":";
    AppendNumber(out, static_cast<std::uint64_t>(transaction.user));
    out += ",\"iteration\":";
    AppendNumber(out, static_cast<std::uint64_t>(transaction.iteration));
    out += ",\"parent\":";
    AppendJsonString(out, transaction.parent);
    EndEvent();
}

void CResultsWriter::OnUserStart(unsigned user, double time) {
    ++m_usersStarted;
    if (!BeginEvent("userStart"))
        return;
    std::string& out = *m_file.Record();
    out += ",\"user\":";
    AppendNumber(out, static_cast<std::uint64_t>(user));
    out += ",\"time\":";
    AppendNumber(out, time);
    EndEvent();
}

void CResultsWriter::OnUserEnd(const UserEndRecord& end) {
    if (end.failed)
        ++m_usersFailed;
    if (!BeginEvent("userEnd"))
        return;
    std::string& out = *m_file.Record();
    out += ",\"user\":";
    AppendNumber(out, static_cast<std::uint64_t>(end.user));
    out += ",\"time\":";
    AppendNumber(out, end.time);
    out += ",\"iterations\":";
    AppendNumber(out, static_cast<std::uint64_t>(end.iterations));
    out += ",\"failedIterations\":";
    AppendNumber(out, static_cast<std::uint64_t>(end.failedIterations));
    out += end.failed ? ",\"failed\":true" : ",\"failed\":false";
    out += ",\"message\":";
    AppendJsonString(out, end.message);
    EndEvent();
}

void CResultsWriter::OnIteration(unsigned user, unsigned iteration, bool failed, double time) {
    ++m_iterations;
    if (!BeginEvent("iteration"))
        return;
    std::string& out = *m_file.Record();
    out += ",\"user\":";
    AppendNumber(out, static_cast<std::uint64_t>(user));
    out += ",\"iteration\":";
    AppendNumber(out, static_cast<std::uint64_t>(iteration));
    out += failed ? ",\"failed\":true" : ",\"failed\":false";
    out += ",\"time\":";
    AppendNumber(out, time);
    EndEvent();
}

void CResultsWriter::OnRunMessage(const std::string& level, const std::string& text) {
    ++m_messages;
    if (!BeginEvent("runMessage"))
        return;
    std::string& out = *m_file.Record();
    out += ",\"level\":";
    AppendJsonString(out, level);
    out += ",\"text\":";
    AppendJsonString(out, text);
    EndEvent();
}

bool CResultsWriter::OnRunEnd(double time, std::string& error) {
    return m_file.Finish(
        [&](std::string& out) {
            out += m_firstEvent ? "],\n" : "\n],\n";
            out += "\"summary\":{\"end\":";
            AppendNumber(out, time);
            const std::pair<const char*, std::uint64_t> counts[] = {
                {"requests", m_requests},
                {"transactions", m_transactions},
                {"transactionsFailed", m_transactionsFailed},
                {"stepsFailed", m_stepsFailed},
                {"usersStarted", m_usersStarted},
                {"usersFailed", m_usersFailed},
                {"iterations", m_iterations},
                {"runMessages", m_messages},
            };
            for (const auto& [name, value] : counts) {
                out += ",\"";
                out += name;
                out += "\":";
                AppendNumber(out, value);
            }
            out += "}}\n";
        },
        error);
}
