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
    /// The page the step left current, when it loaded one ("t3.htm" style
    /// URL and title are in the notes); empty otherwise.
    std::string page;
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
