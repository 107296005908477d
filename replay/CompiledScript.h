#pragma once
// Running the compiled C of a script folder: each user calls its init
// action, the run group's actions per the run logic for the iterations, then
// its end action; every step call of the C goes to the user's CVirtualUser.
//
// A copy of the globals per user: each user loads its own copy of the shared
// object. The object is copied to a file of its own name and opened with
// dlopen(RTLD_NOW | RTLD_LOCAL); the dynamic loader keeps objects apart by
// file, so every copy has its own data and bss (the script's globals) and
// nothing binds across copies (the object is linked with -Bsymbolic and no
// copy is global). dlmopen would give whole namespaces, but the C library
// allows about 16 of them per process, each with its own copy of the C
// library; copies of one object scale to thousands of users. The copy's
// file is removed as soon as it is open.
//
// Bad scripts. The runtime functions read every text the script hands them
// without trusting its pointers (a pointer that is not readable text fails
// the step with a message), and an argument list that is not closed by LAST
// is read for at most QZ_MAX_STEP_ARGUMENTS arguments (the caller's frame
// keeps room above the script's frames, so the reads stay in memory that is
// there). A crash in the script's own code (SIGSEGV, SIGBUS, SIGFPE, SIGILL,
// a stack overflow from endless recursion: the handler runs on a stack of
// its own) ends that user: its result names the signal and the action, file
// and line of the call last made; the end action does not run and other
// users go on. A crash inside the library is written to standard error the
// same way before the process ends as the signal's default action says.
//
// The step timeout: a watchdog thread looks at each running user twice a
// second; a user whose script has run longer than the timeout since it last
// returned from a runtime function (an endless loop) is interrupted with a
// signal and ends the same way as a crash, its result naming the timeout.
// What is lost: the script stops where it is; if it was inside the C
// library (malloc, printf), a lock that call held may stay held.
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/ReplayRecord.h"
#include "webstep/replay/ScriptCompiler.h"
#include "webstep/replay/ScriptRuntime.h"
#include "webstep/replay/UserClock.h"

class CVirtualUser;

/// How compiled scripts run.
struct WEBSTEP_API CompiledScriptOptions {
    ScriptCompileOptions compile;
    /// Seconds a script may run without calling the runtime before its user
    /// is ended (0: no limit).
    double stepTimeout = 0;
    /// What the identity functions tell.
    ScriptIdentity identity;
    /// The seed of the run logic's random groups (with the user number).
    std::uint64_t seed = 1;
};

/// How one user's run ended.
struct WEBSTEP_API ScriptUserResult {
    enum class Ending {
        Completed,  // init, the iterations, end
        Ended,      // qz_exit(QZ_EXIT_VUSER...) or the virtual user had to end
        Aborted,    // qz_abort
        Crashed,    // a signal in the script's code
        TimedOut,   // the step timeout
        NotRun      // the script could not be loaded for this user
    };
    Ending ending = Ending::NotRun;
    /// Iterations of the run group begun.
    unsigned iterations = 0;
    /// Iterations that failed (a step failed or qz_exit with QZ_FAIL).
    unsigned failedIterations = 0;
    /// For a crash, a timeout or a load failure: what happened and where
    /// ("SIGSEGV in action renew_all, renew_all.c:17 (web_url)").
    std::string message;
};

/// A script folder's C, compiled and ready to run for any number of users,
/// each on its own thread.
class WEBSTEP_API CCompiledScript {
    struct Copy;
    struct Context;

public:
    CCompiledScript();
    ~CCompiledScript();
    CCompiledScript(const CCompiledScript&) = delete;
    CCompiledScript& operator=(const CCompiledScript&) = delete;

    /// Compiles (or takes from the cache) the folder's C and checks that the
    /// object loads and has a function per action. False with the reason in
    /// Error() (the compiler's own messages for a compile error); notes and
    /// warnings go to messages. The folder must outlive this object.
    bool Load(const CScriptFolder& folder, FolderMessages& messages,
              const CompiledScriptOptions& options = {});
    /// Why Load failed; CompileFailed() tells a compile error (exit 2 for the
    /// command line) from the rest.
    const std::string& Error() const { return m_error; }
    bool CompileFailed() const { return m_compileFailed; }
    const ScriptCompileResult& Compilation() const { return m_compilation; }

    /// One user's whole life on the calling thread, with its own copy of the
    /// globals: init, the run group for iterations (0: the folder's count)
    /// with the settings' pacing on clock between them, end. Messages of the
    /// script go to observer (which may be the user's own observer).
    ScriptUserResult RunUser(CVirtualUser& user, CUserClock& clock, CReplayObserver* observer,
                             unsigned iterations = 0) const;
    /// The named actions in order, once, with one copy of the globals (for
    /// tools and tests); stops where a user would stop.
    ScriptUserResult RunActions(CVirtualUser& user, CReplayObserver* observer,
                                const std::vector<std::string>& actions) const;

    /// One user's life a piece at a time, for hosts that drive each user
    /// call by call (one iteration per task of a Python load tool): the
    /// user's copy of the globals is loaded when the session opens and kept
    /// until it is destroyed, so init, the iterations and end share them.
    /// Each call runs on the calling thread; the calls may come from
    /// different threads, one at a time. RunUser is made of these calls.
    class WEBSTEP_API CSession {
    public:
        ~CSession();
        CSession(const CSession&) = delete;
        CSession& operator=(const CSession&) = delete;

        /// The copy of the script loaded (false: Result() says why and
        /// nothing runs).
        bool Loaded() const;
        /// The init action, once. False when the user must end (it crashed
        /// or ended itself); the end action still runs unless it crashed.
        bool RunInit();
        /// One iteration of the run group, numbered from 1 on. False when
        /// the user must end after it (or could not begin it).
        bool RunIteration();
        /// Seconds to wait before the next iteration, as the settings'
        /// pacing says for the iteration that just ran (measured to now).
        double PacingWait();
        /// The end action, once (not after a crash). Result() is final
        /// after it.
        void RunEnd();
        /// The user must end: a crash, a timeout, qz_exit or qz_abort for
        /// the user, a parameter that ran out.
        bool MustEnd() const;
        /// The last iteration failed (a step failed or qz_exit with
        /// QZ_FAIL).
        bool LastIterationFailed() const { return m_lastFailed; }
        const ScriptUserResult& Result() const { return m_result; }

    private:
        friend class CCompiledScript;
        CSession(const CCompiledScript& script, CVirtualUser& user, CUserClock& clock,
                 CReplayObserver* observer, const ScriptIdentity& identity);
        void RunGroup(const RunLogicNode& group, bool& iterationFailed);

        const CCompiledScript& m_script;
        CUserClock& m_clock;
        std::unique_ptr<Context> m_context;
        std::unique_ptr<std::mt19937_64> m_random;
        ScriptUserResult m_result;
        double m_iterationStart = 0;
        bool m_fatal = false, m_endUser = false, m_aborted = false;
        bool m_lastFailed = false, m_ended = false;
    };
    /// Opens a session of user on this script (see CSession); identity
    /// replaces the options' one for this user when given. The user, clock
    /// and observer must outlive the session.
    std::unique_ptr<CSession> OpenSession(CVirtualUser& user, CUserClock& clock,
                                          CReplayObserver* observer,
                                          const ScriptIdentity* identity = nullptr) const;

private:
    std::unique_ptr<Copy> LoadCopy(std::string& error) const;
    ScriptLeave RunAction(Context& context, const std::string& action) const;
    void Finish(Context& context, ScriptLeave leave, ScriptUserResult& result) const;

    const CScriptFolder* m_folder = nullptr;
    CompiledScriptOptions m_options;
    ScriptCompileResult m_compilation;
    std::string m_error;
    bool m_compileFailed = false;
    bool m_loaded = false;
};
