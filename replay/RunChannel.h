#pragma once
// How the records of a load run cross from a worker process to the parent: a
// stream of frames through a pipe. Each frame is a 4-byte little-endian
// length, a kind byte and the fields of one record: numbers as LEB128
// varints, times as the 8 bytes of a double, texts as a varint length and
// their bytes (any bytes, NUL included). A request travels with its
// response's status, headers, byte counts and timings but not the response
// body; a step travels without its request list (its requests came as
// request frames before it).
//
// The writer is shared by the threads of a worker: each appends whole
// frames, and a thread of the writer's own sends what has gathered every
// few milliseconds (or as soon as a batch is full), so that a busy run is
// not one system call per record. The reader takes bytes as they come and
// hands back whole frames; a frame that does not decode, or a stream that
// ends inside a frame, is an error with a message, never a crash.
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "webstep/foundation/Export.h"
#include "webstep/replay/HttpMessage.h"
#include "webstep/replay/ReplayRecord.h"
#include "webstep/replay/RunObserver.h"

/// What a frame holds.
enum class RunFrameKind : std::uint8_t {
    Request = 1,
    Step,
    Transaction,
    Message,
    UserStart,
    UserEnd,
    Iteration,
    /// The worker sent all it had: nothing follows.
    Done,
};

/// One decoded frame. Only the fields of its kind are set.
struct WEBSTEP_API RunFrame {
    RunFrameKind kind = RunFrameKind::Done;
    /// The user of a step, message, start or iteration (requests,
    /// transactions and ends carry their own).
    unsigned user = 0;
    RequestRecord request;
    /// The response of a request: everything but the body.
    HttpResponse response;
    /// A step without its requests.
    StepRecord step;
    TransactionRecord transaction;
    UserEndRecord end;
    /// A message.
    std::string level;
    std::string text;
    /// An iteration's number and outcome; the time of a start or iteration.
    unsigned iteration = 0;
    bool failed = false;
    double time = 0;
};

/// Appends one encoded frame to out.
class WEBSTEP_API CRunChannel {
public:
    /// Frames larger than this are refused by the reader (a corrupt length).
    static constexpr std::size_t kMaxFrame = 256u << 20;

    static void AppendRequest(std::string& out, const RequestRecord& request,
                              const HttpResponse& response);
    static void AppendStep(std::string& out, unsigned user, const StepRecord& step);
    static void AppendTransaction(std::string& out, const TransactionRecord& transaction);
    static void AppendMessage(std::string& out, unsigned user, const std::string& level,
                              const std::string& text);
    static void AppendUserStart(std::string& out, unsigned user, double time);
    static void AppendUserEnd(std::string& out, const UserEndRecord& end);
    static void AppendIteration(std::string& out, unsigned user, unsigned iteration, bool failed,
                                double time);
    static void AppendDone(std::string& out);
};

/// Decodes frames from bytes handed over in pieces of any size.
class WEBSTEP_API CRunChannelReader {
public:
    enum class Result { Frame, NeedMore, Error };

    /// Adds bytes that arrived.
    void Feed(const char* data, std::size_t size);
    /// The next whole frame into frame (Frame), or NeedMore, or Error (the
    /// stream is broken from here on; Error() says why).
    Result Next(RunFrame& frame);
    /// Call at the end of the stream: false (with Error()) when it ended
    /// inside a frame.
    bool Finish();
    const std::string& Error() const { return m_error; }
    /// Bytes received but not yet decoded.
    std::size_t Pending() const { return m_data.size() - m_at; }

private:
    std::string m_data;
    std::size_t m_at = 0;
    std::string m_error;
};

/// Sends frames to a file descriptor in batches; Append is thread-safe.
class WEBSTEP_API CRunChannelWriter {
public:
    /// The writer owns neither fd nor its closing. maxDelay: seconds a frame
    /// may wait before it is sent.
    explicit CRunChannelWriter(int fd, double maxDelay = 0.02);
    /// Sends what is left (as Close).
    ~CRunChannelWriter();
    CRunChannelWriter(const CRunChannelWriter&) = delete;
    CRunChannelWriter& operator=(const CRunChannelWriter&) = delete;

    /// Adds whole encoded frames. Waits while a great deal is still unsent
    /// (the reader is slow), so that memory stays bounded.
    void Append(const std::string& frames);
    /// Sends everything appended so far and stops the sending thread; later
    /// appends are dropped.
    void Close();
    /// False once a write failed (the reader is gone); appends are then
    /// dropped.
    bool Healthy() const;
    /// Write system calls made and bytes sent so far.
    std::size_t Writes() const;
    std::size_t BytesSent() const;

    /// A batch is sent as soon as it holds this many bytes.
    static constexpr std::size_t kBatch = 64 * 1024;
    /// Appenders wait while this many bytes are unsent.
    static constexpr std::size_t kBacklog = 8u << 20;

private:
    void Loop();
    bool WriteAll(const std::string& bytes);

    const int m_fd;
    const double m_maxDelay;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_drained;
    std::string m_pending;
    bool m_closing = false;
    bool m_closed = false;
    bool m_broken = false;
    bool m_sending = false;
    std::size_t m_writes = 0;
    std::size_t m_bytes = 0;
    std::thread m_thread;
};
