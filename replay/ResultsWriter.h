#pragma once
// The results file of a load run (--results FILE.json): every request and
// transaction, as they come, streamed to a temporary file beside the target
// and renamed onto it at the end of the run, so that a run that is killed
// leaves either the whole file or none. Memory stays flat however long the
// run: nothing is kept per record. The layout (one JSON document, one event
// per line) is described in docs/replay.md, "Results of a run".
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "webstep/foundation/Export.h"
#include "webstep/replay/RunObserver.h"

class WEBSTEP_API CResultsWriter : public CRunObserver {
public:
    /// A file written under a temporary name beside its target (".NAME.tmp-PID-N"
    /// in the same folder, so the rename stays on one file system) and renamed
    /// onto the target by Commit; dropped (the temporary removed) otherwise.
    /// Writes are buffered; the first write error is kept and reported by
    /// Commit.
    class WEBSTEP_API StreamedFile {
    public:
        StreamedFile() = default;
        ~StreamedFile();
        StreamedFile(const StreamedFile&) = delete;
        StreamedFile& operator=(const StreamedFile&) = delete;

        /// Creates the temporary file; false with the reason when it cannot.
        bool Open(const std::string& target, std::string& error);
        bool IsOpen() const { return m_fd >= 0; }
        const std::string& Target() const { return m_target; }
        const std::string& TemporaryPath() const { return m_temporary; }
        /// Text to append; written out when it holds kFlushBytes or more.
        std::string& Buffer() { return m_buffer; }
        void Write(std::string_view text);
        /// Writes the buffer out when it is large enough.
        void FlushIfFull() {
            if (m_buffer.size() >= kFlushBytes)
                Flush();
        }
        /// Writes the rest, syncs, closes and renames onto the target.
        bool Commit(std::string& error);
        /// Closes and removes the temporary file.
        void Abandon();

        static constexpr std::size_t kFlushBytes = 64 * 1024;

    private:
        void Flush();

        int m_fd = -1;
        std::string m_target;
        std::string m_temporary;
        std::string m_buffer;
        std::string m_error;
    };

    /// A run file's life, the same for every file a run streams: opened on
    /// first use or by Open (its head written then, once), a record appended
    /// while the run goes on, finished once at the end (its tail, then the
    /// rename onto the target). After a failed open or the end, records are
    /// dropped and the end reports why.
    class WEBSTEP_API RunFile {
    public:
        /// what names the file in messages ("the results file"); head writes
        /// the file's head into the buffer.
        RunFile(std::string path, std::string what, std::function<void(std::string&)> head);
        bool Open(std::string& error);
        /// The buffer to append the next record to, or null.
        std::string* Record();
        /// Writes the buffer out when it is large enough.
        void FlushIfFull() { m_file.FlushIfFull(); }
        /// tail writes the end of the file; then the file is renamed.
        bool Finish(const std::function<void(std::string&)>& tail, std::string& error);
        const std::string& TemporaryPath() const { return m_file.TemporaryPath(); }

    private:
        std::string m_path;
        std::string m_what;
        std::function<void(std::string&)> m_head;
        StreamedFile m_file;
        std::string m_openError;
        bool m_triedOpen = false;
        bool m_ended = false;
    };

    /// JSON text of a string, quoted and escaped (nlohmann-json escapes any
    /// text that needs it; bytes that are not UTF-8 become U+FFFD).
    static void AppendJsonString(std::string& out, std::string_view text);
    /// A number with that many decimals (NaN and infinities give 0).
    static void AppendNumber(std::string& out, double value, int decimals = 6);
    static void AppendNumber(std::string& out, std::uint64_t value);
    /// ISO 8601 UTC with milliseconds ("2024-05-01T10:00:00.123Z") of the
    /// moment seconds after start.
    static std::string IsoTime(std::chrono::system_clock::time_point start, double seconds);

    /// wallStart: the wall clock when the run started (its time 0).
    explicit CResultsWriter(std::string path, std::chrono::system_clock::time_point wallStart =
                                                  std::chrono::system_clock::now());
    ~CResultsWriter() override;

    /// Creates the temporary file now, so that a path that cannot be written
    /// is reported before the run; otherwise the first record does it (and
    /// OnRunEnd reports a failure).
    bool Open(std::string& error);
    const std::string& TemporaryPath() const { return m_file.TemporaryPath(); }

    void OnRequest(const RequestRecord& request, const HttpResponse& response) override;
    void OnStep(const StepRecord& step) override;
    void OnTransaction(const TransactionRecord& transaction) override;
    void OnUserStart(unsigned user, double time) override;
    void OnUserEnd(const UserEndRecord& end) override;
    void OnIteration(unsigned user, unsigned iteration, bool failed, double time) override;
    void OnRunMessage(const std::string& level, const std::string& text) override;
    /// Writes the summary and renames the file onto the target.
    bool OnRunEnd(double time, std::string& error) override;

private:
    bool BeginEvent(const char* type);
    void EndEvent();

    std::chrono::system_clock::time_point m_wallStart;
    RunFile m_file;
    bool m_firstEvent = true;
    std::uint64_t m_requests = 0;
    std::uint64_t m_transactions = 0;
    std::uint64_t m_transactionsFailed = 0;
    std::uint64_t m_stepsFailed = 0;
    std::uint64_t m_usersStarted = 0;
    std::uint64_t m_usersFailed = 0;
    std::uint64_t m_iterations = 0;
    std::uint64_t m_messages = 0;
};
