#include "webstep/replay/RunChannel.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <utility>

namespace {

// ---- encoding ----

void PutVarint(std::string& out, std::uint64_t value) {
    while (value >= 0x80) {
        out.push_back(static_cast<char>((value & 0x7F) | 0x80));
        value >>= 7;
    }
    out.push_back(static_cast<char>(value));
}

void PutDouble(std::string& out, double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    char bytes[8];
    for (int i = 0; i < 8; ++i)
        bytes[i] = static_cast<char>((bits >> (8 * i)) & 0xFF);
    out.append(bytes, 8);
}

void PutText(std::string& out, const std::string& text) {
    PutVarint(out, text.size());
    out.append(text);
}

void PutBool(std::string& out, bool value) {
    out.push_back(value ? 1 : 0);
}

// Signed numbers zigzag-encoded: small negative ones stay short.
void PutSigned(std::string& out, std::int64_t value) {
    PutVarint(out,
              (static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63));
}

void PutPairs(std::string& out, const std::vector<std::pair<std::string, std::string>>& pairs) {
    PutVarint(out, pairs.size());
    for (const auto& [name, value] : pairs) {
        PutText(out, name);
        PutText(out, value);
    }
}

void PutHeaders(std::string& out, const std::vector<HttpHeader>& headers) {
    PutVarint(out, headers.size());
    for (const HttpHeader& header : headers) {
        PutText(out, header.name);
        PutText(out, header.value);
    }
}

void PutTexts(std::string& out, const std::vector<std::string>& texts) {
    PutVarint(out, texts.size());
    for (const std::string& text : texts)
        PutText(out, text);
}

void PutTimings(std::string& out, const HttpTimings& timings) {
    PutDouble(out, timings.dns);
    PutDouble(out, timings.connect);
    PutDouble(out, timings.tls);
    PutDouble(out, timings.firstByte);
    PutDouble(out, timings.total);
}

// Starts a frame: room for the length, then the kind. EndFrame fills the
// length in once the fields are there.
std::size_t BeginFrame(std::string& out, RunFrameKind kind) {
    const std::size_t at = out.size();
    out.append(4, '\0');
    out.push_back(static_cast<char>(kind));
    return at;
}

void EndFrame(std::string& out, std::size_t at) {
    const std::size_t length = out.size() - at - 4;
    for (int i = 0; i < 4; ++i)
        out[at + i] = static_cast<char>((length >> (8 * i)) & 0xFF);
}

// ---- decoding ----

// Reads the fields of one frame; the first failure sticks and names what
// was expected.
class Cursor {
public:
    Cursor(const char* data, std::size_t size) : m_data(data), m_size(size) {}

    bool Ok() const { return m_error.empty(); }
    const std::string& Error() const { return m_error; }
    bool AtEnd() const { return m_at == m_size; }

    std::uint64_t Varint(const char* what) {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            if (!Need(1, what))
                return 0;
            const unsigned char byte = static_cast<unsigned char>(m_data[m_at++]);
            value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if ((byte & 0x80) == 0)
                return value;
        }
        Fail(std::string("a number of at most 10 bytes for ") + what);
        return 0;
    }
    unsigned Unsigned(const char* what) {
        const std::uint64_t value = Varint(what);
        if (value > 0xFFFFFFFFull) {
            Fail(std::string("a 32-bit number for ") + what);
            return 0;
        }
        return static_cast<unsigned>(value);
    }
    double Double(const char* what) {
        if (!Need(8, what))
            return 0;
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i)
            bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(m_data[m_at + i]))
                    << (8 * i);
        m_at += 8;
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    int Signed(const char* what) {
        const std::uint64_t zigzag = Varint(what);
        const std::int64_t value =
            static_cast<std::int64_t>(zigzag >> 1) ^ -static_cast<std::int64_t>(zigzag & 1);
        if (value < INT32_MIN || value > INT32_MAX) {
            Fail(std::string("a 32-bit number for ") + what);
            return 0;
        }
        return static_cast<int>(value);
    }
    bool Bool(const char* what) {
        if (!Need(1, what))
            return false;
        const unsigned char byte = static_cast<unsigned char>(m_data[m_at++]);
        if (byte > 1)
            Fail(std::string("0 or 1 for ") + what + ", not " + std::to_string(byte));
        return byte == 1;
    }
    std::uint8_t Byte(const char* what) {
        if (!Need(1, what))
            return 0;
        return static_cast<std::uint8_t>(m_data[m_at++]);
    }
    std::string Text(const char* what) {
        const std::uint64_t length = Varint(what);
        if (!Ok())
            return std::string();
        if (length > m_size - m_at) {
            Fail(std::string("a text of ") + std::to_string(length) + " bytes for " + what +
                 ", but the record has " + std::to_string(m_size - m_at) + " left");
            return std::string();
        }
        std::string text(m_data + m_at, static_cast<std::size_t>(length));
        m_at += static_cast<std::size_t>(length);
        return text;
    }
    // A count of items each at least minBytes long: it cannot exceed what is
    // left, so a corrupt count does not reserve memory.
    std::size_t Count(const char* what, std::size_t minBytes) {
        const std::uint64_t count = Varint(what);
        if (Ok() && count > (m_size - m_at) / minBytes) {
            Fail(std::string("a count of ") + what + " that fits the record, not " +
                 std::to_string(count));
            return 0;
        }
        return Ok() ? static_cast<std::size_t>(count) : 0;
    }
    std::vector<HttpHeader> Headers(const char* what) {
        std::vector<HttpHeader> headers;
        const std::size_t count = Count(what, 2);
        headers.reserve(count);
        for (std::size_t i = 0; i < count && Ok(); ++i) {
            HttpHeader header;
            header.name = Text(what);
            header.value = Text(what);
            headers.push_back(std::move(header));
        }
        return headers;
    }
    std::vector<std::pair<std::string, std::string>> Pairs(const char* what) {
        std::vector<std::pair<std::string, std::string>> pairs;
        const std::size_t count = Count(what, 2);
        pairs.reserve(count);
        for (std::size_t i = 0; i < count && Ok(); ++i) {
            std::string name = Text(what);
            std::string value = Text(what);
            pairs.emplace_back(std::move(name), std::move(value));
        }
        return pairs;
    }
    std::vector<std::string> Texts(const char* what) {
        std::vector<std::string> texts;
        const std::size_t count = Count(what, 1);
        texts.reserve(count);
        for (std::size_t i = 0; i < count && Ok(); ++i)
            texts.push_back(Text(what));
        return texts;
    }
    HttpTimings Timings(const char* what) {
        HttpTimings timings;
        timings.dns = Double(what);
        timings.connect = Double(what);
        timings.tls = Double(what);
        timings.firstByte = Double(what);
        timings.total = Double(what);
        return timings;
    }
    void Fail(const std::string& message) {
        if (m_error.empty())
            m_error = "expected " + message;
    }

private:
    bool Need(std::size_t bytes, const char* what) {
        if (!Ok())
            return false;
        if (m_size - m_at < bytes) {
            Fail(std::string(what) + ", but the record ends");
            return false;
        }
        return true;
    }

    const char* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
    std::string m_error;
};

const char* KindName(RunFrameKind kind) {
    switch (kind) {
        case RunFrameKind::Request:
            return "request";
        case RunFrameKind::Step:
            return "step";
        case RunFrameKind::Transaction:
            return "transaction";
        case RunFrameKind::Message:
            return "message";
        case RunFrameKind::UserStart:
            return "user start";
        case RunFrameKind::UserEnd:
            return "user end";
        case RunFrameKind::Iteration:
            return "iteration";
        case RunFrameKind::Done:
            return "end of stream";
    }
    return "?";
}

void DecodeRequest(Cursor& in, RunFrame& frame) {
    RequestRecord& record = frame.request;
    record = RequestRecord();
    record.user = in.Unsigned("the user");
    record.iteration = in.Unsigned("the iteration");
    record.step = in.Text("the step");
    record.function = in.Text("the function");
    record.snapshot = in.Text("the snapshot");
    record.transaction = in.Text("the transaction");
    record.start = in.Double("the start");
    HttpRequest& request = record.request;
    request.method = in.Text("the method");
    request.url = in.Text("the URL");
    request.headers = in.Headers("the request headers");
    request.body = in.Text("the request body");
    const std::uint8_t role = in.Byte("the role");
    if (in.Ok() && role > static_cast<std::uint8_t>(RequestRole::ExtraRes))
        in.Fail("a request role of 0 to 4, not " + std::to_string(role));
    request.role = static_cast<RequestRole>(role <= 4 ? role : 0);
    request.frame = in.Text("the frame");
    request.document = in.Text("the document");
    request.hasWrittenForm = in.Bool("the written form flag");
    request.writtenUrl = in.Text("the written URL");
    request.writtenBody = in.Text("the written body");
    record.status = static_cast<int>(in.Varint("the status"));
    record.error = in.Text("the error");
    record.responseBytes = static_cast<std::size_t>(in.Varint("the response bytes"));
    record.timings = in.Timings("the timings");
    HttpResponse& response = frame.response;
    response = HttpResponse();
    response.status = static_cast<int>(in.Varint("the response status"));
    response.headers = in.Headers("the response headers");
    response.requestBytes = static_cast<std::size_t>(in.Varint("the request bytes"));
    response.responseBytes = static_cast<std::size_t>(in.Varint("the response bytes"));
    response.error = in.Text("the response error");
    response.timings = in.Timings("the response timings");
}

void DecodeStep(Cursor& in, RunFrame& frame) {
    frame.user = in.Unsigned("the user");
    StepRecord& step = frame.step;
    step = StepRecord();
    step.function = in.Text("the function");
    step.name = in.Text("the step name");
    step.file = in.Text("the file");
    step.line = in.Unsigned("the line");
    step.snapshot = in.Text("the snapshot");
    step.navigation = in.Bool("the navigation flag");
    step.failed = in.Bool("the failed flag");
    step.message = in.Text("the message");
    step.saved = in.Pairs("the saved values");
    step.checks = in.Texts("the checks");
    step.warnings = in.Texts("the warnings");
    step.notes = in.Texts("the notes");
    step.page = in.Text("the page");
    StepTargetRecord& target = step.target;
    target.kind = in.Text("the target's kind");
    target.text = in.Text("the target's text");
    target.href = in.Text("the target's address");
    target.document = in.Text("the target's document");
    target.frameId = in.Text("the target's frame id");
    target.frameName = in.Text("the target's frame name");
    target.inFrame = in.Bool("the target's frame flag");
    target.formIndex = in.Signed("the target's form index");
    target.action = in.Text("the target's action");
    target.items = in.Unsigned("the target's items");
    target.fits = in.Bool("the target's fit flag");
    target.misfitItem = in.Unsigned("the misfit item");
    target.misfitName = in.Text("the misfit name");
    target.misfitValue = in.Text("the misfit value");
    target.misfitReason = in.Text("the misfit reason");
    PageRecord& page = step.pageLoaded;
    page.changes = in.Bool("the page's change flag");
    page.intoFrame = in.Bool("the page's frame flag");
    page.frameId = in.Text("the page's frame id");
    page.frameName = in.Text("the page's frame name");
    page.file = in.Text("the page's file");
    page.loaded = in.Bool("the page's loaded flag");
    page.url = in.Text("the page's URL");
    page.title = in.Text("the page's title");
    page.hasTitle = in.Bool("the page's title flag");
    page.forms = in.Signed("the page's forms");
    page.links = in.Signed("the page's links");
    const std::size_t frames = in.Count("the page's frames", 5);
    page.frames.reserve(frames);
    for (std::size_t i = 0; i < frames && in.Ok(); ++i) {
        PageRecord::Frame frame;
        frame.id = in.Text("a frame's id");
        frame.name = in.Text("a frame's name");
        frame.file = in.Text("a frame's file");
        frame.loaded = in.Bool("a frame's loaded flag");
        frame.url = in.Text("a frame's URL");
        page.frames.push_back(std::move(frame));
    }
    step.parameters = in.Pairs("the parameter values");
    step.hasShownBody = in.Bool("the shown body flag");
    step.shownBody = in.Text("the shown body");
    step.extraResources = in.Texts("the extra resources");
    step.planned = in.Bool("the planned flag");
    step.parseFailed = in.Bool("the parse failure flag");
    step.errorCode = in.Signed("the error code");
    step.errorAttributes = in.Pairs("the error attributes");
}

void DecodeTransaction(Cursor& in, RunFrame& frame) {
    TransactionRecord& transaction = frame.transaction;
    transaction = TransactionRecord();
    transaction.name = in.Text("the transaction name");
    const std::uint8_t status = in.Byte("the status");
    if (in.Ok() && status > static_cast<std::uint8_t>(TransactionRecord::Status::Stop))
        in.Fail("a transaction status of 0 to 2, not " + std::to_string(status));
    transaction.status = static_cast<TransactionRecord::Status>(status <= 2 ? status : 0);
    transaction.start = in.Double("the start");
    transaction.duration = in.Double("the duration");
    transaction.thinkTime = in.Double("the think time");
    transaction.user = in.Unsigned("the user");
    transaction.iteration = in.Unsigned("the iteration");
    transaction.parent = in.Text("the parent");
}

}  // namespace

// ---- CRunChannel ----

void CRunChannel::AppendRequest(std::string& out, const RequestRecord& record,
                                const HttpResponse& response) {
    const std::size_t at = BeginFrame(out, RunFrameKind::Request);
    PutVarint(out, record.user);
    PutVarint(out, record.iteration);
    PutText(out, record.step);
    PutText(out, record.function);
    PutText(out, record.snapshot);
    PutText(out, record.transaction);
    PutDouble(out, record.start);
    const HttpRequest& request = record.request;
    PutText(out, request.method);
    PutText(out, request.url);
    PutHeaders(out, request.headers);
    PutText(out, request.body);
    out.push_back(static_cast<char>(request.role));
    PutText(out, request.frame);
    PutText(out, request.document);
    PutBool(out, request.hasWrittenForm);
    PutText(out, request.writtenUrl);
    PutText(out, request.writtenBody);
    // Statuses are never negative in practice; a negative one is sent as 0.
    PutVarint(out, record.status > 0 ? static_cast<std::uint64_t>(record.status) : 0);
    PutText(out, record.error);
    PutVarint(out, record.responseBytes);
    PutTimings(out, record.timings);
    PutVarint(out, response.status > 0 ? static_cast<std::uint64_t>(response.status) : 0);
    PutHeaders(out, response.headers);
    PutVarint(out, response.requestBytes);
    PutVarint(out, response.responseBytes);
    PutText(out, response.error);
    PutTimings(out, response.timings);
    EndFrame(out, at);
}

void CRunChannel::AppendStep(std::string& out, unsigned user, const StepRecord& step) {
    const std::size_t at = BeginFrame(out, RunFrameKind::Step);
    PutVarint(out, user);
    PutText(out, step.function);
    PutText(out, step.name);
    PutText(out, step.file);
    PutVarint(out, step.line);
    PutText(out, step.snapshot);
    PutBool(out, step.navigation);
    PutBool(out, step.failed);
    PutText(out, step.message);
    PutPairs(out, step.saved);
    PutTexts(out, step.checks);
    PutTexts(out, step.warnings);
    PutTexts(out, step.notes);
    PutText(out, step.page);
    const StepTargetRecord& target = step.target;
    PutText(out, target.kind);
    PutText(out, target.text);
    PutText(out, target.href);
    PutText(out, target.document);
    PutText(out, target.frameId);
    PutText(out, target.frameName);
    PutBool(out, target.inFrame);
    PutSigned(out, target.formIndex);
    PutText(out, target.action);
    PutVarint(out, target.items);
    PutBool(out, target.fits);
    PutVarint(out, target.misfitItem);
    PutText(out, target.misfitName);
    PutText(out, target.misfitValue);
    PutText(out, target.misfitReason);
    const PageRecord& page = step.pageLoaded;
    PutBool(out, page.changes);
    PutBool(out, page.intoFrame);
    PutText(out, page.frameId);
    PutText(out, page.frameName);
    PutText(out, page.file);
    PutBool(out, page.loaded);
    PutText(out, page.url);
    PutText(out, page.title);
    PutBool(out, page.hasTitle);
    PutSigned(out, page.forms);
    PutSigned(out, page.links);
    PutVarint(out, page.frames.size());
    for (const PageRecord::Frame& frame : page.frames) {
        PutText(out, frame.id);
        PutText(out, frame.name);
        PutText(out, frame.file);
        PutBool(out, frame.loaded);
        PutText(out, frame.url);
    }
    PutPairs(out, step.parameters);
    PutBool(out, step.hasShownBody);
    PutText(out, step.shownBody);
    PutTexts(out, step.extraResources);
    PutBool(out, step.planned);
    PutBool(out, step.parseFailed);
    PutSigned(out, step.errorCode);
    PutPairs(out, step.errorAttributes);
    EndFrame(out, at);
}

void CRunChannel::AppendTransaction(std::string& out, const TransactionRecord& transaction) {
    const std::size_t at = BeginFrame(out, RunFrameKind::Transaction);
    PutText(out, transaction.name);
    out.push_back(static_cast<char>(transaction.status));
    PutDouble(out, transaction.start);
    PutDouble(out, transaction.duration);
    PutDouble(out, transaction.thinkTime);
    PutVarint(out, transaction.user);
    PutVarint(out, transaction.iteration);
    PutText(out, transaction.parent);
    EndFrame(out, at);
}

void CRunChannel::AppendMessage(std::string& out, unsigned user, const std::string& level,
                                const std::string& text) {
    const std::size_t at = BeginFrame(out, RunFrameKind::Message);
    PutVarint(out, user);
    PutText(out, level);
    PutText(out, text);
    EndFrame(out, at);
}

void CRunChannel::AppendUserStart(std::string& out, unsigned user, double time) {
    const std::size_t at = BeginFrame(out, RunFrameKind::UserStart);
    PutVarint(out, user);
    PutDouble(out, time);
    EndFrame(out, at);
}

void CRunChannel::AppendUserEnd(std::string& out, const UserEndRecord& end) {
    const std::size_t at = BeginFrame(out, RunFrameKind::UserEnd);
    PutVarint(out, end.user);
    PutVarint(out, end.iterations);
    PutVarint(out, end.failedIterations);
    PutBool(out, end.failed);
    PutText(out, end.message);
    PutDouble(out, end.time);
    EndFrame(out, at);
}

void CRunChannel::AppendIteration(std::string& out, unsigned user, unsigned iteration, bool failed,
                                  double time) {
    const std::size_t at = BeginFrame(out, RunFrameKind::Iteration);
    PutVarint(out, user);
    PutVarint(out, iteration);
    PutBool(out, failed);
    PutDouble(out, time);
    EndFrame(out, at);
}

void CRunChannel::AppendDone(std::string& out) {
    EndFrame(out, BeginFrame(out, RunFrameKind::Done));
}

// ---- CRunChannelReader ----

void CRunChannelReader::Feed(const char* data, std::size_t size) {
    // A broken stream is not read further.
    if (!m_error.empty())
        return;
    // Drop what was decoded before the buffer grows again.
    if (m_at > 0 && m_at * 2 >= m_data.size()) {
        m_data.erase(0, m_at);
        m_at = 0;
    }
    m_data.append(data, size);
}

CRunChannelReader::Result CRunChannelReader::Next(RunFrame& frame) {
    if (!m_error.empty())
        return Result::Error;
    if (Pending() < 4)
        return Result::NeedMore;
    std::size_t length = 0;
    for (int i = 0; i < 4; ++i)
        length |= static_cast<std::size_t>(static_cast<unsigned char>(m_data[m_at + i])) << (8 * i);
    if (length == 0 || length > CRunChannel::kMaxFrame) {
        m_error = "a record of 1 to " + std::to_string(CRunChannel::kMaxFrame) +
                  " bytes, not one of " + std::to_string(length) + " (the stream is corrupt)";
        return Result::Error;
    }
    if (Pending() - 4 < length)
        return Result::NeedMore;
    const char* body = m_data.data() + m_at + 4;
    const std::uint8_t kind = static_cast<std::uint8_t>(body[0]);
    Cursor in(body + 1, length - 1);
    frame.kind = static_cast<RunFrameKind>(kind);
    frame.user = 0;
    switch (frame.kind) {
        case RunFrameKind::Request:
            DecodeRequest(in, frame);
            break;
        case RunFrameKind::Step:
            DecodeStep(in, frame);
            break;
        case RunFrameKind::Transaction:
            DecodeTransaction(in, frame);
            break;
        case RunFrameKind::Message:
            frame.user = in.Unsigned("the user");
            frame.level = in.Text("the level");
            frame.text = in.Text("the text");
            break;
        case RunFrameKind::UserStart:
            frame.user = in.Unsigned("the user");
            frame.time = in.Double("the time");
            break;
        case RunFrameKind::UserEnd:
            frame.end = UserEndRecord();
            frame.end.user = in.Unsigned("the user");
            frame.end.iterations = in.Unsigned("the iterations");
            frame.end.failedIterations = in.Unsigned("the failed iterations");
            frame.end.failed = in.Bool("the failed flag");
            frame.end.message = in.Text("the message");
            frame.end.time = in.Double("the time");
            break;
        case RunFrameKind::Iteration:
            frame.user = in.Unsigned("the user");
            frame.iteration = in.Unsigned("the iteration");
            frame.failed = in.Bool("the failed flag");
            frame.time = in.Double("the time");
            break;
        case RunFrameKind::Done:
            break;
        default:
            m_error = "a record kind of 1 to 8, not " + std::to_string(kind);
            return Result::Error;
    }
    if (in.Ok() && !in.AtEnd())
        in.Fail(std::string("the ") + KindName(frame.kind) +
                " record to end where its length says");
    if (!in.Ok()) {
        m_error = std::string("in a ") + KindName(frame.kind) + " record: " + in.Error();
        return Result::Error;
    }
    m_at += 4 + length;
    return Result::Frame;
}

bool CRunChannelReader::Finish() {
    if (!m_error.empty())
        return false;
    if (Pending() != 0) {
        std::size_t length = 0;
        if (Pending() >= 4)
            for (int i = 0; i < 4; ++i)
                length |= static_cast<std::size_t>(static_cast<unsigned char>(m_data[m_at + i]))
                          << (8 * i);
        m_error = "the stream ends inside a record: " + std::to_string(Pending()) + " bytes" +
                  (Pending() >= 4 ? " of a " + std::to_string(length + 4) + "-byte record" : "") +
                  " are left";
        return false;
    }
    return true;
}

// ---- CRunChannelWriter ----

CRunChannelWriter::CRunChannelWriter(int fd, double maxDelay) : m_fd(fd), m_maxDelay(maxDelay) {
    m_thread = std::thread([this] { Loop(); });
}

CRunChannelWriter::~CRunChannelWriter() {
    Close();
}

void CRunChannelWriter::Append(const std::string& frames) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_drained.wait(lock, [this] { return m_pending.size() < kBacklog || m_broken || m_closing; });
    if (m_broken || m_closing)
        return;
    m_pending += frames;
    if (m_pending.size() >= kBatch)
        m_wake.notify_one();
}

void CRunChannelWriter::Close() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_closed)
            return;
        m_closing = true;
    }
    m_wake.notify_one();
    m_drained.notify_all();
    if (m_thread.joinable())
        m_thread.join();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
}

bool CRunChannelWriter::Healthy() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_broken;
}

std::size_t CRunChannelWriter::Writes() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_writes;
}

std::size_t CRunChannelWriter::BytesSent() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_bytes;
}

void CRunChannelWriter::Loop() {
    const auto delay = std::chrono::duration<double>(m_maxDelay);
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait_for(lock, delay, [this] { return m_closing || m_pending.size() >= kBatch; });
        const bool last = m_closing;
        std::string batch;
        batch.swap(m_pending);
        if (!batch.empty() && !m_broken) {
            lock.unlock();
            m_drained.notify_all();
            const bool ok = WriteAll(batch);
            lock.lock();
            if (!ok)
                m_broken = true;
            m_drained.notify_all();
        }
        if (last)
            return;
    }
}

bool CRunChannelWriter::WriteAll(const std::string& bytes) {
    std::size_t at = 0;
    std::size_t calls = 0;
    while (at < bytes.size()) {
        const ssize_t written = write(m_fd, bytes.data() + at, bytes.size() - at);
        ++calls;
        if (written < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        at += static_cast<std::size_t>(written);
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_writes += calls;
    m_bytes += at;
    return at == bytes.size();
}
