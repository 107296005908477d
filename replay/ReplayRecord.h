#pragma once
// What a virtual user reports: every request with its response's summary,
// every step with its outcome, every transaction, and the messages of the
// script. Observers receive them as they happen.
#include <string>
#include <utility>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/HttpMessage.h"

/// One request sent and what came back.
struct WEBSTEP_API RequestRecord {
    HttpRequest request;
    int status = 0;
    std::string error;
    std::size_t responseBytes = 0;
    HttpTimings timings;
    /// The user's clock when the request was sent.
    double start = 0;
    /// The step it belongs to and its position in the script.
    std::string step;
    std::string function;
    std::string snapshot;
    /// The innermost open transaction, or empty.
    std::string transaction;
    unsigned user = 0;
    unsigned iteration = 0;
};

/// What a context step picked on the page: the link, image or form, and the
/// document it is in.
struct WEBSTEP_API StepTargetRecord {
    /// "link", "image" or "form"; empty when the step picked nothing.
    std::string kind;
    std::string text;
    /// The address as the page writes it (links and images).
    std::string href;
    /// The document: the snapshot file name the context tree gives it
    /// ("t4f1.html"), with its frame id and name when it is a frame.
    std::string document;
    std::string frameId;
    std::string frameName;
    bool inFrame = false;
    /// Forms: their 1-based place on the page and their action as written.
    int formIndex = 0;
    std::string action;
    /// Forms: the step's items and whether they fit the form; for an item
    /// that does not, its 1-based place, name, value and why.
    unsigned items = 0;
    bool fits = true;
    unsigned misfitItem = 0;
    std::string misfitName;
    std::string misfitValue;
    std::string misfitReason;
};

/// The page a navigation step loaded, as the next steps see it.
struct WEBSTEP_API PageRecord {
    struct Frame {
        std::string id;
        std::string name;
        /// The snapshot file name the context tree gives the frame.
        std::string file;
        bool loaded = false;
        std::string url;
    };
    /// The step replaced the page or a frame of it (false: a resource or a
    /// response that is not HTML left the page as it was, or the step sent
    /// nothing).
    bool changes = false;
    /// Loaded into this frame of the current frameset rather than the
    /// window.
    bool intoFrame = false;
    std::string frameId;
    std::string frameName;
    /// The snapshot file name the context tree gives the document.
    std::string file;
    /// The document came (false: the answer was an error or "not recorded").
    bool loaded = false;
    std::string url;
    std::string title;
    bool hasTitle = false;
    int forms = 0;
    int links = 0;
    std::vector<Frame> frames;
};

/// How a step ended.
struct WEBSTEP_API StepRecord {
    std::string function;
    std::string name;
    std::string file;
    unsigned line = 0;
    std::string snapshot;
    /// A step that sent requests (web_url, web_link, web_submit_form, ...).
    bool navigation = false;
    bool failed = false;
    /// Why it failed, in plain words.
    std::string message;
    /// The requests it sent, in order.
    std::vector<RequestRecord> requests;
    std::vector<std::pair<std::string, std::string>> saved;
    std::vector<std::string> checks;
    std::vector<std::string> warnings;
    std::vector<std::string> notes;
    /// The URL of the page the step left current, when it loaded one; empty
    /// otherwise.
    std::string page;

    /// What was planned, for listings of a replay: the target picked on the
    /// page, the page loaded, the parameter values the call's texts took
    /// (name, value, in order of use), and for a call that does not parse
    /// its error code and the labels and values it names.
    StepTargetRecord target;
    PageRecord pageLoaded;
    std::vector<std::pair<std::string, std::string>> parameters;
    /// The body of the step's own request as the script writes it, when it
    /// differs from the bytes sent (binary parts in their escaped form).
    bool hasShownBody = false;
    std::string shownBody;
    /// The step's EXTRARES items as absolute URLs, in order (each is
    /// requested unless the page or the cache had it already).
    std::vector<std::string> extraResources;
    /// A request was planned and sent (false: the step failed before it).
    bool planned = false;
    bool parseFailed = false;
    int errorCode = 0;
    std::vector<std::pair<std::string, std::string>> errorAttributes;
};

/// One transaction that ended.
struct WEBSTEP_API TransactionRecord {
    enum class Status { Pass, Fail, Stop };
    std::string name;
    Status status = Status::Pass;
    double start = 0;
    /// Wall time between start and end, think time included.
    double duration = 0;
    /// Think time spent inside it.
    double thinkTime = 0;
    unsigned user = 0;
    unsigned iteration = 0;
    /// The transaction it was nested in, or empty.
    std::string parent;
};

/// Receives what a virtual user does, as it happens, on the user's thread.
class WEBSTEP_API CReplayObserver {
public:
    virtual ~CReplayObserver() = default;
    virtual void OnRequest(const RequestRecord& request, const HttpResponse& response) {}
    virtual void OnStep(const StepRecord& step) {}
    virtual void OnTransaction(const TransactionRecord& transaction) {}
    /// A message of the script or of the user ("error", "warning", "output",
    /// "log"), with where it came from.
    virtual void OnMessage(const std::string& level, const std::string& text) {}
};
