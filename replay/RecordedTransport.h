#pragma once
// A transport that answers a virtual user from a folder's recording, and
// says for every request whether it is the request that was recorded.
//
// When a step begins, the exchanges of its snapshot XML file are read (every
// task, response bodies kept) and its tN.inf description gives the page and
// resource files with their URLs. Each request is then answered, in this
// order, by:
//  1. the first unused recorded exchange of the same URL (fragment aside,
//     compared as the request comparison compares addresses) and method,
//     preferring one whose origin fits the request's role (the Primary task
//     for the step's own request, Redirection tasks for redirects...); each
//     exchange answers at most one request per step;
//  2. the first unused exchange of the same URL with another method (the
//     answer is the recorded one; the comparison names the method);
//  3. the exchange the request stands in for when its URL is not recorded:
//     the step's unused Primary task for its own request, the next unused
//     Redirection task for a redirect. The request gets that recorded answer
//     (so that one difference does not spoil the steps after it) and the
//     comparison says where it differs;
//  4. a page or resource file of tN.inf whose URL is the request's (status
//     200, Content-Type from the description's ContentType for the
//     document, guessed from the file's extension for the others);
//  5. for a step recorded without an XML file, its document file answers
//     the step's own request (older recordings); a document the description
//     does not give an address for (or a step without a description) is
//     found by the name its place in the page gives it (HttpRequest's
//     document, "t4f1.html", as .html or .htm), for the step's own request
//     and its frames;
//  6. otherwise "not recorded": status 404, the header
//     "X-Webstep-Not-Recorded: 1", the body and error text "not recorded"
//     (a 404 rather than a transport failure, so that the user goes on as it
//     would with a missing page, and the step fails naming the URL).
//
// Recorded answers: the status the XML carries (or its status line); when
// it carries none, 302 for a response with a Location header (so the
// redirect the recording followed is followed again) and 200 otherwise. The
// recorded headers, less Transfer-Encoding and Content-Encoding (the body is
// kept decoded) and a Content-Length that does not fit the body.
//
// A registration whose value comes from a recorded response gets that value,
// so later steps send what the recording sent.
#include <cstddef>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/HttpExchange.h"
#include "webstep/recording/Recording.h"
#include "webstep/recording/RequestComparison.h"
#include "webstep/replay/HttpMessage.h"
#include "webstep/replay/Transport.h"

class CScriptFolder;

/// What the recorded transport found for one request.
struct WEBSTEP_API RecordedRequestCheck {
    /// Where the answer came from.
    enum class Source {
        Exchange,    ///< an exchange of the snapshot XML file
        File,        ///< a page or resource file of tN.inf
        NotRecorded  ///< nothing: the "not recorded" answer
    };
    Source source = Source::NotRecorded;
    /// The request has a recorded counterpart to compare with: always for
    /// Exchange, for File when the description names the file's URL, never
    /// for NotRecorded.
    bool recorded = false;
    /// Method, URL and body as recorded (the counterpart).
    RequestComparison comparison;
    std::string recordedMethod;
    std::string recordedUrl;
    /// Where the counterpart is: "data/snapshot_2.xml:93 (Redirection)" or
    /// "data/t1_site.css".
    std::string where;
    /// The step it belonged to.
    unsigned step = 0;
    std::string snapshot;

    /// The request is exactly the recorded one (references aside).
    bool Same() const { return recorded && comparison.same; }
};

/// Totals of what a recorded transport answered.
struct WEBSTEP_API RecordedCounts {
    std::size_t requests = 0;
    /// Requests identical to their recorded counterpart.
    std::size_t same = 0;
    /// Requests with a counterpart that differ from it.
    std::size_t different = 0;
    /// Requests without a counterpart that got the "not recorded" answer.
    std::size_t notRecorded = 0;
    /// Requests answered from a page file whose request the recording does
    /// not hold (older recordings without URLs): nothing to compare with.
    std::size_t unverified = 0;
    /// Recorded exchanges no request of their step took.
    std::size_t unsent = 0;
};

/// A recorded exchange that no request of its step took.
struct WEBSTEP_API UnsentExchange {
    std::string method;
    std::string url;
    std::string origin;
    /// "data/snapshot_1.xml:40"
    std::string where;
};

/// Answers requests from a script folder's recording (data/) and compares
/// each with the request that was recorded. One user's thread only.
class WEBSTEP_API CRecordedTransport : public CTransport {
public:
    /// Called for every request after it was answered.
    using CheckCallback =
        std::function<void(const HttpRequest&, const HttpResponse&, const RecordedRequestCheck&)>;

    CRecordedTransport();
    ~CRecordedTransport() override;
    CRecordedTransport(const CRecordedTransport&) = delete;
    CRecordedTransport& operator=(const CRecordedTransport&) = delete;

    /// Opens the recording of folder (its data/ directory) and takes the
    /// folder's parameter braces. False, with a message, when the folder has
    /// no recording (every request is then not recorded).
    bool Open(const CScriptFolder& folder, FolderMessages& messages);
    /// Opens the recording in dataDir; references between leftBrace and
    /// rightBrace match any recorded text (empty leftBrace: none do).
    bool Open(const std::string& dataDir, FolderMessages& messages,
              const std::string& leftBrace = "{", const std::string& rightBrace = "}");

    void BeginStep(const TransportStep& step) override;
    HttpResponse Send(const HttpRequest& request) override;
    void EndStep() override;

    /// The check of the last request sent, or null before any.
    const RecordedRequestCheck* LastCheck() const;
    /// Its comparison with the recorded request, or null when it had no
    /// counterpart (or before any request).
    const RequestComparison* LastComparison() const;
    /// The last request was exactly the recorded one.
    bool LastWasRecorded() const;
    void SetCheckCallback(CheckCallback callback) { m_callback = std::move(callback); }

    const RecordedCounts& Counts() const { return m_counts; }
    /// The recorded exchanges of the step that ended last that no request
    /// took, in recorded order.
    const std::vector<UnsentExchange>& LastStepUnsent() const { return m_lastUnsent; }
    /// The time the recording was made: the Date header of the first
    /// recorded answer that has one (snapshots in the order of their
    /// numbers, their primary task, else their response header file).
    /// Offline, Time parameters take it, so that dates are the recorded
    /// ones. where names the file it came from.
    std::optional<std::time_t> RecordedTime(std::string* where = nullptr);
    /// Reads an HTTP date (RFC 1123, RFC 850 or asctime form) as seconds
    /// since 1970 UTC.
    static std::optional<std::time_t> ParseHttpDate(const std::string& text);

    /// What reading the recording had to say (broken XML, missing files).
    const FolderMessages& Messages() const { return m_messages; }
    /// Messages added since the last call (for reporting them as they come).
    FolderMessages TakeNewMessages();

private:
    struct StepData;

    void CloseStep();
    HttpResponse Answer(const HttpExchange& exchange) const;
    bool AnswerFromNamedFile(const HttpRequest& request, HttpResponse& response,
                             RecordedRequestCheck& check);
    RequestComparison CompareWithWrittenForm(const HttpRequest& request, const RequestText& sent,
                                             const RequestText& recorded) const;
    bool AnswerFromFile(const HttpRequest& request, HttpResponse& response,
                        RecordedRequestCheck& check);

    CRecording m_recording;
    bool m_open = false;
    std::string m_left = "{", m_right = "}";
    std::unique_ptr<StepData> m_step;
    RecordedCounts m_counts;
    RecordedRequestCheck m_last;
    bool m_hasLast = false;
    std::vector<UnsentExchange> m_lastUnsent;
    FolderMessages m_messages;
    std::size_t m_reported = 0;
    CheckCallback m_callback;
};
