#pragma once
// A transport that answers from a script of responses written by a test:
// by URL (exact, by prefix, or by any predicate), optionally by method, with
// a default answer for the rest. It keeps every request it was sent, with the
// step it belonged to, so that a test can check what a virtual user decided.
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/HttpMessage.h"
#include "webstep/replay/Transport.h"
#include "webstep/replay/UserClock.h"

/// Answers requests from scripted responses and records what it was sent.
///
/// Rules are tried in the order they were added; the first one that matches
/// and has uses left answers. A rule added with a use count (AnswerOnce, or
/// Times) answers that many requests and then stands aside, so that a test
/// scripts a sequence of answers for one URL by adding them in order.
/// Requests no rule answers get the default answer: 404 with the body
/// "not scripted" unless SetDefault says otherwise.
class WEBSTEP_API CScriptedTransport : public CTransport {
public:
    using Predicate = std::function<bool(const HttpRequest&)>;

    /// One request as it was sent, with the step it belonged to.
    struct SentRequest {
        HttpRequest request;
        /// The number of the step (TransportStep::number) it was sent in; 0
        /// before any BeginStep.
        unsigned step = 0;
        std::string snapshot;
        /// Which rule answered it (index in the order of adding); -1 for the
        /// default answer.
        int rule = -1;
    };

    /// A response with status, body and headers (Content-Type text/html by
    /// default, as most scripted answers are pages).
    static HttpResponse Response(int status, std::string body,
                                 std::vector<HttpHeader> headers = {{"Content-Type", "text/html"}});
    /// A redirect to location.
    static HttpResponse Redirect(int status, const std::string& location);
    /// A transport failure: status 0 and the error text.
    static HttpResponse Failure(const std::string& error);

    /// Answers requests for exactly url (a fragment of the request aside);
    /// method empty: any method. Returns the rule's index.
    std::size_t Answer(const std::string& url, HttpResponse response,
                       const std::string& method = std::string());
    /// Shorthand: Answer(url, Response(status, body, headers)).
    std::size_t Answer(const std::string& url, int status, std::string body,
                       std::vector<HttpHeader> headers = {{"Content-Type", "text/html"}});
    /// Answers the next request for url only (then the rule stands aside).
    std::size_t AnswerOnce(const std::string& url, HttpResponse response,
                           const std::string& method = std::string());
    /// Answers requests whose URL starts with prefix.
    std::size_t AnswerPrefix(const std::string& prefix, HttpResponse response,
                             const std::string& method = std::string());
    /// Answers requests the predicate accepts.
    std::size_t AnswerIf(Predicate predicate, HttpResponse response);
    /// Limits a rule to count more answers (0: it answers no more).
    void Times(std::size_t rule, std::size_t count);
    /// The answer for requests no rule takes.
    void SetDefault(HttpResponse response) { m_default = std::move(response); }
    /// Removes every rule (what was sent stays).
    void ClearRules() { m_rules.clear(); }

    /// Each answer advances clock by seconds (a test of durations drives
    /// time this way); null: no clock.
    void SetClock(CManualClock* clock, double secondsPerAnswer) {
        m_clock = clock;
        m_secondsPerAnswer = secondsPerAnswer;
    }

    void BeginStep(const TransportStep& step) override;
    HttpResponse Send(const HttpRequest& request) override;
    void EndStep() override { m_inStep = false; }
    void SetTimeout(double seconds) override { m_timeout = seconds; }

    /// Every request sent, in order.
    const std::vector<SentRequest>& Sent() const { return m_sent; }
    /// The URLs (or "METHOD URL" texts) sent, in order: handy in assertions.
    std::vector<std::string> SentUrls() const;
    std::vector<std::string> SentLines() const;
    /// The steps begun, in order.
    const std::vector<TransportStep>& Steps() const { return m_steps; }
    /// The requests sent within the step of that number.
    std::vector<HttpRequest> SentInStep(unsigned number) const;
    /// Requests that got the default answer.
    std::size_t Unanswered() const { return m_unanswered; }
    /// The last timeout set (0 when none was).
    double Timeout() const { return m_timeout; }
    /// Whether EndStep was called for every BeginStep so far.
    bool StepClosed() const { return !m_inStep; }
    /// Forgets what was sent and the steps (the rules stay).
    void ClearSent();

private:
    struct Rule {
        enum class Kind { Exact, Prefix, Predicate };
        Kind kind = Kind::Exact;
        std::string url;
        std::string method;
        Predicate predicate;
        HttpResponse response;
        /// Uses left; unlimited when not limited.
        bool limited = false;
        std::size_t left = 0;
    };
    bool Matches(const Rule& rule, const HttpRequest& request) const;
    std::size_t Add(Rule rule);

    std::vector<Rule> m_rules;
    HttpResponse m_default = Response(404, "not scripted", {{"Content-Type", "text/plain"}});
    std::vector<SentRequest> m_sent;
    std::vector<TransportStep> m_steps;
    CManualClock* m_clock = nullptr;
    double m_secondsPerAnswer = 0;
    double m_timeout = 0;
    std::size_t m_unanswered = 0;
    bool m_inStep = false;
};
