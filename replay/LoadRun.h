#pragma once
// A load run: many virtual users of one script folder at once, spread over
// worker processes.
//
// The parent opens the folder, reads its parameters and compiles its C once
// (workers then load the object from the compile cache), and forks the
// workers before it starts any thread of its own. Each worker runs each of
// its users on a thread of its own, with its own transport (made by the
// options' factory in the worker, after the fork), clock, virtual user and
// copy of the compiled script; user numbers 1..N are dealt out round-robin,
// so each worker has every Wth user and ramp-up starts alternate between
// workers. The records go through a pipe per worker (RunChannel.h); the
// parent hands them to one CRunObserver on its own thread, in the order they
// arrive, with times rebased to seconds since the run started.
//
// A worker that dies costs only its own users: the parent reports it and
// ends each of its users that had not ended as failed. Stopping: the first
// RequestStop lets every user finish its step, leave its iteration, run its
// end action and end (a duration ends the same way); the second kills the
// workers and the run ends with what had arrived.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/recording/ScriptSettings.h"
#include "webstep/replay/CompiledScript.h"
#include "webstep/replay/RunObserver.h"
#include "webstep/replay/Transport.h"
#include "webstep/replay/VirtualUser.h"

/// How a load run runs.
struct WEBSTEP_API LoadRunOptions {
    /// Virtual users (at least 1).
    unsigned users = 1;
    /// Seconds over which users start: user i of N (from 0) starts at
    /// i * rampUp / N.
    double rampUp = 0;
    /// Iterations of the run group per user (0: the folder's count). Not
    /// used when duration is set.
    unsigned iterations = 0;
    /// Seconds (> 0): users repeat iterations until this long after the run
    /// started, then stop as on RequestStop.
    double duration = 0;
    /// Worker processes (0: min(users, processors)); never more than users.
    unsigned workers = 0;
    /// NAME=VALUE pairs set for every user as saved values (which override
    /// the folder's definitions of those names).
    std::vector<std::string> params;
    /// Think time: empty (the folder's settings), "none", "recorded",
    /// "multiply=F" or "random=LO-HI" (per cent of the recorded time). The
    /// folder's cap on each wait stays.
    std::string thinkTime;
    /// Seeds users' random choices (with their numbers).
    std::uint64_t seed = 1;
    /// What the script's identity functions tell (--attr NAME=VALUE).
    ScriptIdentity identity;
    /// Run the folder's C when it has a description (false, or a folder
    /// without one: the step calls of the action files in order).
    bool compile = true;
    ScriptCompileOptions compileOptions;
    /// Seconds a script may run without calling the runtime (0: no limit).
    double stepTimeout = 0;
    /// Makes a user's transport; called in the worker, on the user's thread.
    std::function<std::unique_ptr<CTransport>(unsigned user)> transport;
    /// Called on the parent's thread about once a second with the seconds
    /// since the run started (a progress line).
    std::function<void(double elapsed)> tick;
    /// The users' options; user and seed are set per user.
    VirtualUserOptions user;
    /// Stack size of each user's thread. Compiled scripts recurse and a
    /// stack overflow ends only its user (the runtime's handler runs on a
    /// stack of its own); only pages touched become resident.
    std::size_t threadStack = 4u << 20;
    /// Run the workers as threads of this process instead of forked
    /// processes (tests, tools): no isolation, a crash ends everything, and
    /// a second stop cannot kill (it is a first one again).
    bool inProcess = false;
};

/// How a load run went.
struct WEBSTEP_API LoadRunResult {
    /// False when the run could not start (error says why); nothing was
    /// reported to the observer then.
    bool ran = false;
    std::string error;
    unsigned usersPlanned = 0;
    unsigned usersStarted = 0;
    /// Users that ended abnormally (a crash, a timeout, a lost worker, a
    /// parameter that ran out, killed by a second stop).
    unsigned usersFailed = 0;
    /// Anything failed: a user, an iteration, a transaction, a worker, the
    /// observer's OnRunEnd.
    bool failed = false;
    /// RequestStop was called (once: a graceful stop; twice: at once).
    unsigned stopRequests = 0;
    double elapsed = 0;
    /// Records received from the workers, and their encoded bytes.
    std::size_t frames = 0;
    std::size_t bytes = 0;
};

/// One load run of one script folder.
class WEBSTEP_API CLoadRun {
public:
    CLoadRun(std::string folder, LoadRunOptions options);
    ~CLoadRun();
    CLoadRun(const CLoadRun&) = delete;
    CLoadRun& operator=(const CLoadRun&) = delete;

    /// Checks the options, opens the folder, reads its parameters and
    /// compiles its C. False with Error() (CompileFailed() for the
    /// compiler's own messages). Run calls it when it was not called.
    bool Prepare();
    const std::string& Error() const { return m_error; }
    bool CompileFailed() const { return m_compileFailed; }
    /// Notes and warnings about the folder and its compilation.
    const FolderMessages& Messages() const { return m_messages; }
    const CScriptFolder& Folder() const { return m_folder; }
    /// The workers the run uses (after Prepare).
    unsigned Workers() const { return m_workers; }

    /// Runs the users; every record goes to observer on this thread, then
    /// OnRunEnd. Call once.
    LoadRunResult Run(CRunObserver& observer);

    /// Async-signal-safe (an atomic counter and a write to a pipe): call it
    /// from a signal handler or any thread. Once: users end gracefully;
    /// twice: the workers are killed.
    void RequestStop();

    /// Parses a think-time override into settings (keeping its cap); false
    /// with a message naming what was expected.
    static bool ParseThinkTime(const std::string& text, ThinkTimeSettings& settings,
                               std::string& error);
    /// Parses NAME=VALUE; false with a message.
    static bool ParseParam(const std::string& text, std::string& name, std::string& value,
                           std::string& error);
    /// A folder without a description: action files whose names hold
    /// "init" run once first, those holding "end" once last, the others are
    /// the run group, for iterations (0: the folder's count).
    static void RunPlainFolder(CVirtualUser& user, const CScriptFolder& folder,
                               unsigned iterations);

private:
    struct Worker;
    struct Shared;
    void WorkerMain(Worker& worker);
    void RunUser(Shared& shared, unsigned user, double startAt);
    LoadRunResult Fail(const std::string& error);

    std::string m_folderPath;
    LoadRunOptions m_options;
    CScriptFolder m_folder;
    CParameterSet m_parameters;
    CCompiledScript m_script;
    FolderMessages m_messages;
    std::vector<std::pair<std::string, std::string>> m_params;
    std::string m_error;
    bool m_prepared = false;
    bool m_compileFailed = false;
    bool m_compiled = false;
    bool m_ran = false;
    unsigned m_workers = 1;
    double m_runStart = 0;
    // RequestStop: counted, and a byte written to m_wake[1] wakes the
    // parent's loop.
    std::atomic<unsigned> m_stops{0};
    int m_wake[2] = {-1, -1};
    // The process that made the run: a worker's copy of RequestStop (a
    // handler inherited through fork) does nothing.
    int m_parentPid = 0;
};
