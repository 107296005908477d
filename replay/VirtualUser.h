#pragma once
// A virtual user: it replays the step calls of a script folder, one call at a
// time, and does no I/O of its own. Each call is parsed through the step
// repositories (after its parameter references are substituted), and a
// navigation step becomes the requests a browser would send: the step's own,
// the redirects it follows, the frames and resources of the page it loads,
// its extra resources. They go out through the transport; each HTML response
// is scanned into the page model and placed in the user's context tree, so
// that the next step finds its links and forms on the live page. Save rules
// and checks registered before a step apply to that step's responses.
//
// A user belongs to one thread. Users share nothing mutable but the parameter
// set's register of unique blocks.
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "webstep/context/ContextTree.h"
#include "webstep/foundation/Export.h"
#include "webstep/recording/ParameterContext.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/ReplayRecord.h"
#include "webstep/replay/StepParser.h"
#include "webstep/replay/Transport.h"
#include "webstep/replay/UserClock.h"

class CCookieJar;
class CCredentials;
class CRegistrations;
class CWebActionStep;
class CWebStepData;
class CWebStepRest;
class CWebStepConvertParam;
struct StepTarget;

/// Who the user is and how it runs.
struct WEBSTEP_API VirtualUserOptions {
    /// 1-based user number.
    unsigned user = 1;
    std::uint64_t seed = 1;
    /// Parse with the extended set of current script versions too.
    bool extended = true;
    /// Redirects followed per request before the step fails.
    unsigned maxRedirects = 10;
    /// A resource answered with 400 or above fails the step (by default it
    /// is a warning). "[General] FailOnResourceErrors=1" in the settings
    /// turns it on as well.
    bool failOnResourceErrors = false;
    /// Also plan each step's own request from the call as written (its
    /// parameter references kept) and hand it along with the request, for
    /// transports that compare with a recording.
    bool keepWrittenForm = false;
};

/// What the user does after a call: go on, end the iteration (a step failed
/// without continue-on-error), or stop (the user must end).
enum class UserNext { Continue, EndIteration, EndUser };

/// One virtual user replaying the calls of a script folder.
class WEBSTEP_API CVirtualUser {
public:
    /// The folder, the parameter set, the transport and the clock must
    /// outlive the user.
    CVirtualUser(const CScriptFolder& folder, const CParameterSet& parameters,
                 CTransport& transport, CUserClock& clock, const VirtualUserOptions& options = {});
    ~CVirtualUser();
    CVirtualUser(const CVirtualUser&) = delete;
    CVirtualUser& operator=(const CVirtualUser&) = delete;

    void SetObserver(CReplayObserver* observer) { m_observer = observer; }

    /// Hands one call: a step function with its arguments (the first is the
    /// step name; markers such as "LAST" are arguments of their own), or one
    /// of the run-time calls a script makes between steps
    /// (qz_start_transaction, qz_end_transaction, qz_think_time, ...).
    /// file and line say where the call is, for messages.
    StepRecord Call(const std::string& function, const std::vector<std::string>& arguments,
                    const std::string& file = std::string(), unsigned line = 0);
    /// What the user does next after the last call.
    UserNext Next() const { return m_next; }

    /// Iterations: parameters that change each iteration take their next
    /// value; open transactions end at EndIteration (as failed when the
    /// iteration failed, otherwise by their automatic status).
    void BeginIteration(unsigned iteration);
    void EndIteration();
    unsigned Iteration() const { return m_iteration; }
    /// Reads the calls of an action file and hands them over in order until
    /// the iteration or the user must end. False when the file cannot be
    /// read (a message says why).
    bool RunActionFile(const std::string& actionName);
    /// The user's whole life: init once, the run group for the iterations
    /// (0: the folder's count) with pacing between them, end once.
    void Run(unsigned iterations = 0);

    /// Asks the user to stop (thread-safe, lock-free: any thread may call
    /// it). After the call in progress the user leaves its iteration (a
    /// compiled script jumps out at its next runtime call, as for a failed
    /// step), begins no new one, runs its end action whole and ends.
    void RequestStop() { m_stopRequested.store(true, std::memory_order_relaxed); }
    bool StopRequested() const { return m_stopRequested.load(std::memory_order_relaxed); }
    /// The end action begins: a stop request no longer cuts calls short.
    void EnterEndAction() { m_inEndAction = true; }
    /// Told after each iteration of the run group, with its number and
    /// whether it failed (a load run reports iterations as they end).
    void SetIterationListener(std::function<void(unsigned, bool)> listener) {
        m_iterationListener = std::move(listener);
    }
    void IterationEnded(unsigned iteration, bool failed) {
        if (m_iterationListener)
            m_iterationListener(iteration, failed);
    }

    /// Transactions. The status given to EndTransaction: "auto" passes unless
    /// a step inside failed; "pass" and "fail" force it; "stop" ends it
    /// without a status.
    void StartTransaction(const std::string& name);
    void EndTransaction(const std::string& name, TransactionRecord::Status status, bool automatic);
    /// Waits as the settings say for a recorded think time.
    void ThinkTime(double recordedSeconds);

    CParameterContext& Parameters() { return *m_parameters; }
    /// The user's current page (the top of its context tree), or null.
    CContextTree* Page() { return m_page.get(); }
    bool ContinueOnError() const { return m_continueOnError; }
    void SetContinueOnError(bool on) { m_continueOnError = on; }
    unsigned User() const { return m_options.user; }
    /// Steps and requests so far, and the steps that failed.
    std::size_t Steps() const { return m_stepCount; }
    std::size_t FailedSteps() const { return m_failedSteps; }
    std::size_t Requests() const { return m_requestCount; }
    /// Raises the limit of saved values (web_set_max_html_param_len).
    std::size_t MaxParamLength() const { return m_maxParamLength; }

private:
    struct OpenTransaction;
    struct StepState;

    StepRecord CallOnce(const std::string& function, const std::vector<std::string>& arguments,
                        const std::string& file, unsigned line);
    void Service(CWebStepData& step, StepRecord& record);
    void Navigate(CWebActionStep& step, StepRecord& record);
    void Rest(CWebStepRest& step, StepRecord& record);
    void ConvertParameter(const CWebStepConvertParam& step, StepRecord& record);
    void ApplyRegistrations(StepState& state, StepRecord& record);
    void AddWrittenForm(CWebActionStep& step, const std::string& function, HttpRequest& request);
    bool PrimaryRequest(CWebActionStep& step, StepState& state, StepRecord& record);
    HttpResponse Exchange(HttpRequest request, StepState& state, StepRecord& record,
                          std::string& finalUrl);
    void LoadDocument(const std::string& url, const HttpResponse& response, StepState& state,
                      StepRecord& record, CContextTree* into);
    void FetchPageParts(CContextTree& node, StepState& state, StepRecord& record, unsigned depth);
    void FetchResource(const std::string& url, RequestRole role, const std::string& frame,
                       StepState& state, StepRecord& record);
    void AddHeaders(HttpRequest& request, const std::string& referer);
    std::string Absolute(const std::string& text) const;
    void Fail(StepRecord& record, const std::string& message);
    /// Fails the step when there is no page for a context step to act on.
    bool PageReady(StepRecord& record);
    static void DescribeTarget(const StepTarget& target, const char* kind, StepTargetRecord& out);
    static void DescribePage(CContextTree& node, bool intoFrame, const std::string& file,
                             PageRecord& out);
    void Finish(StepRecord& record);
    void Message(const std::string& level, const std::string& text);

    const CScriptFolder& m_folder;
    const CParameterSet& m_parameterSet;
    CTransport& m_transport;
    CUserClock& m_clock;
    VirtualUserOptions m_options;
    CReplayObserver* m_observer = nullptr;
    CStepParser m_parser;
    std::unique_ptr<CParameterContext> m_parameters;
    std::unique_ptr<CCookieJar> m_cookies;
    std::unique_ptr<CCredentials> m_credentials;
    std::unique_ptr<CRegistrations> m_registrations;
    std::unique_ptr<CContextTree> m_page;
    std::mt19937_64 m_random;

    // Headers: automatic ones (every request, in the order added) and the
    // one-shot headers of the next request.
    std::vector<HttpHeader> m_autoHeaders;
    std::vector<HttpHeader> m_nextHeaders;
    // Resources fetched in this iteration (the cache), by URL.
    std::map<std::string, bool> m_cache;
    std::vector<std::unique_ptr<OpenTransaction>> m_transactions;
    // The calls of the action files read so far, by file name.
    struct ActionCall {
        std::string function;
        std::vector<std::string> arguments;
        unsigned line = 0;
    };
    std::map<std::string, std::vector<ActionCall>> m_actionFiles;
    // The arguments of the call being handled, as written.
    const std::vector<std::string>* m_writtenArguments = nullptr;

    unsigned m_iteration = 1;
    bool m_iterationFailed = false;
    bool m_continueOnError = false;
    bool m_automaticTransactions = false;
    bool m_failOnResourceErrors = false;
    std::size_t m_maxParamLength = 256;
    UserNext m_next = UserNext::Continue;
    unsigned m_navigationNumber = 0;
    std::size_t m_stepCount = 0, m_failedSteps = 0, m_requestCount = 0;
    std::atomic<bool> m_stopRequested{false};
    bool m_inEndAction = false;
    std::function<void(unsigned, bool)> m_iterationListener;
};
