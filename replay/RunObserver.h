#pragma once
// What a load run reports beyond the records of each user: users starting and
// ending, iterations, worker processes lost. Results writers (statistics,
// the results file, the HTML report, the HAR file) are run observers; a load
// run hands them the records of all its users, in the order they arrive, on
// one thread.
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/ReplayRecord.h"

/// How one user of a load run ended.
struct WEBSTEP_API UserEndRecord {
    unsigned user = 0;
    /// Iterations begun and iterations that failed.
    unsigned iterations = 0;
    unsigned failedIterations = 0;
    /// The user ended abnormally (a crash, a timeout, a lost worker, a
    /// parameter that ran out): counted as failed.
    bool failed = false;
    /// What happened, for a user that failed ("SIGSEGV in action ...",
    /// "worker 2 ended by signal 9").
    std::string message;
    /// The run's clock (seconds since the run started) at the end.
    double time = 0;
};

/// Receives the records of a whole load run on one thread.
class WEBSTEP_API CRunObserver : public CReplayObserver {
public:
    /// A user starts (time: seconds since the run started).
    virtual void OnUserStart(unsigned user, double time) {}
    /// A user ended.
    virtual void OnUserEnd(const UserEndRecord& end) {}
    /// A user finished an iteration of its run group.
    virtual void OnIteration(unsigned user, unsigned iteration, bool failed, double time) {}
    /// A message of the run itself, not of a user ("worker 2 lost: ...").
    virtual void OnRunMessage(const std::string& level, const std::string& text) {}
    /// The run is over; writers finish their files here. False when a file
    /// could not be written (error says why).
    virtual bool OnRunEnd(double time, std::string& error) { return true; }
};

/// Hands every record to several observers in turn (the statistics, the
/// results file, the HAR file...). The observers must outlive it.
class WEBSTEP_API CRunObserverList : public CRunObserver {
public:
    void Add(CRunObserver& observer) { m_observers.push_back(&observer); }

    void OnRequest(const RequestRecord& request, const HttpResponse& response) override {
        for (CRunObserver* observer : m_observers)
            observer->OnRequest(request, response);
    }
    void OnStep(const StepRecord& step) override {
        for (CRunObserver* observer : m_observers)
            observer->OnStep(step);
    }
    void OnTransaction(const TransactionRecord& transaction) override {
        for (CRunObserver* observer : m_observers)
            observer->OnTransaction(transaction);
    }
    void OnMessage(const std::string& level, const std::string& text) override {
        for (CRunObserver* observer : m_observers)
            observer->OnMessage(level, text);
    }
    void OnUserStart(unsigned user, double time) override {
        for (CRunObserver* observer : m_observers)
            observer->OnUserStart(user, time);
    }
    void OnUserEnd(const UserEndRecord& end) override {
        for (CRunObserver* observer : m_observers)
            observer->OnUserEnd(end);
    }
    void OnIteration(unsigned user, unsigned iteration, bool failed, double time) override {
        for (CRunObserver* observer : m_observers)
            observer->OnIteration(user, iteration, failed, time);
    }
    void OnRunMessage(const std::string& level, const std::string& text) override {
        for (CRunObserver* observer : m_observers)
            observer->OnRunMessage(level, text);
    }
    /// Every observer ends, even after one failed; the errors are joined.
    bool OnRunEnd(double time, std::string& error) override {
        bool ok = true;
        for (CRunObserver* observer : m_observers) {
            std::string one;
            if (!observer->OnRunEnd(time, one)) {
                ok = false;
                error += (error.empty() ? "" : "; ") + one;
            }
        }
        return ok;
    }

private:
    std::vector<CRunObserver*> m_observers;
};
