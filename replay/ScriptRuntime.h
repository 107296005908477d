#pragma once
// The library's side of <webstep/runtime.h>: the C functions a compiled
// script calls (every step function and qz_ function, defined extern "C" in
// ScriptRuntime.cpp) find the user they work for through a thread-local
// pointer to its CScriptRuntime, set while that user runs its script. Each
// call is handed to the user's CVirtualUser with the texts it collected.
//
// Leaving an action early (a failed step, qz_exit, qz_abort, a crash of the
// script, the step timeout) is a jump back to the frame that called the
// action (CCompiledScript); a runtime function jumps only after its own C++
// objects are gone, so no destructor is skipped.
#include <atomic>
#include <csetjmp>
#include <cstddef>
#include <deque>
#include <map>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/replay/ReplayRecord.h"

class CVirtualUser;

/// Who a user is, as the identity functions of scripts tell it.
struct WEBSTEP_API ScriptIdentity {
    /// The group name qz_whoami gives.
    std::string group = "group1";
    /// qz_get_host_name; empty: the machine's name.
    std::string hostName;
    /// qz_get_vuser_ip; empty when the user has none.
    std::string ip;
    /// The "--attr NAME=VALUE" pairs of the command line.
    std::map<std::string, std::string> attributes;
};

/// Why a script's action did not return normally.
enum class ScriptLeave {
    None = 0,
    /// A step failed and the user does not continue on error (the iteration
    /// ends), or the virtual user must end (a parameter ran out).
    StepFailed,
    UserEnded,
    /// qz_exit with its modes, qz_abort.
    ExitAction,
    ExitIteration,
    ExitUser,
    Abort,
    /// qz_exit's modes that let the iteration or the action finish first
    /// (kept as pending, not as a leave).
    ExitUserAfterIteration,
    ExitUserAfterAction,
    /// The script crashed (a bad pointer, a stack overflow, a division by
    /// zero) or ran longer than the step timeout outside the library.
    Crash,
    Timeout,
};

/// The state of one user running a compiled script: the virtual user its
/// calls go to, the texts handed back to the script, where the script is,
/// and how it left an action. Made and made current by CCompiledScript.
class WEBSTEP_API CScriptRuntime {
public:
    CScriptRuntime(CVirtualUser& user, CReplayObserver* observer, const ScriptIdentity& identity);
    ~CScriptRuntime();
    CScriptRuntime(const CScriptRuntime&) = delete;
    CScriptRuntime& operator=(const CScriptRuntime&) = delete;

    /// The runtime of the calling thread, or null.
    static CScriptRuntime* Current();
    /// Makes runtime the calling thread's (null: none).
    static void SetCurrent(CScriptRuntime* runtime);

    CVirtualUser& User() { return m_user; }
    const ScriptIdentity& Identity() const { return m_identity; }
    /// Sends a message to the observer (levels "output", "error", "log",
    /// "message", "status", "rendezvous", "data-point", "warning").
    void Message(const std::string& level, const std::string& text);

    /// The action that runs (for reports).
    void SetAction(const std::string& action);
    const char* Action() const { return m_action; }
    /// Where the script called last: the file (as __FILE__ gave it), the line
    /// and the runtime function.
    void SetLocation(const char* file, int line) {
        m_file = file;
        m_line = line;
    }
    void SetFunction(const char* function) { m_function = function; }
    const char* WhereFile() const;
    int WhereLine() const;
    /// "action NAME, FILE:LINE (FUNCTION)" of the call last made.
    std::string Where() const;
    /// The same, written into buffer without allocating (for signal
    /// handlers); returns its length.
    std::size_t WhereInto(char* buffer, std::size_t size) const;

    /// A text the script may keep until the end of the iteration.
    char* Keep(std::string text);
    /// Forgets the kept texts (at the end of each iteration).
    void EndIteration();

    /// The jump back to the caller of the action: armed while it runs.
    sigjmp_buf& JumpBuffer() { return m_jump; }
    void Arm(bool on) { m_armed.store(on); }
    bool Armed() const { return m_armed.load(); }
    /// Leaves the action now with why (the action must be running).
    [[noreturn]] void Leave(ScriptLeave why);
    /// Asks for a leave at the next return to the script; Leave happens in
    /// LeaveIfAsked, called by each runtime function after its own work.
    void Ask(ScriptLeave why) { m_asked = why; }
    void LeaveIfAsked();
    ScriptLeave Asked() const { return m_asked; }
    void ClearAsked() { m_asked = ScriptLeave::None; }

    /// The script's own code runs (true) or a runtime function does (false):
    /// a crash or a timeout jumps out only from the script's own code.
    void InScript(bool on);
    bool IsInScript() const { return m_inScript.load(); }
    /// Seconds (steady clock) since the script last left the library, or 0
    /// while the library works.
    double ScriptSince() const { return m_scriptSince.load(); }

    /// qz_exit's mode for "after the iteration" or "after the action".
    ScriptLeave Pending() const { return m_pending; }
    void SetPending(ScriptLeave why) { m_pending = why; }
    /// qz_exit(..., QZ_FAIL) or a crash: the iteration counts as failed.
    bool ExitFailed() const { return m_exitFailed; }
    void SetExitFailed(bool failed) { m_exitFailed = failed; }

    /// The message classes of qz_set_debug_message.
    unsigned DebugClasses() const { return m_debugClasses; }
    void SetDebugClasses(unsigned classes) { m_debugClasses = classes; }

    /// The last navigation step (web_get_int_property reads it).
    StepRecord& LastNavigation() { return m_lastNavigation; }
    /// Failed steps counted when each open transaction started.
    std::map<std::string, std::size_t>& TransactionStarts() { return m_transactionStarts; }

    /// The report of a crash or a timeout, written by the signal handler.
    char* Report() { return m_report; }
    static constexpr std::size_t kReportSize = 1024;
    /// A scratch buffer for formatting (kept across calls, released at the
    /// end): so that a crash while formatting leaves nothing to destroy.
    char*& FormatBuffer() { return m_format; }
    std::size_t& FormatCapacity() { return m_formatCapacity; }

private:
    CVirtualUser& m_user;
    CReplayObserver* m_observer;
    ScriptIdentity m_identity;
    char m_action[128] = {0};
    const char* volatile m_file = nullptr;
    volatile int m_line = 0;
    const char* volatile m_function = nullptr;
    std::deque<std::string> m_kept;
    sigjmp_buf m_jump;
    std::atomic<bool> m_armed{false};
    std::atomic<bool> m_inScript{false};
    std::atomic<double> m_scriptSince{0};
    ScriptLeave m_asked = ScriptLeave::None;
    ScriptLeave m_pending = ScriptLeave::None;
    bool m_exitFailed = false;
    unsigned m_debugClasses = 2;
    StepRecord m_lastNavigation;
    std::map<std::string, std::size_t> m_transactionStarts;
    char m_report[kReportSize] = {0};
    char* m_format = nullptr;
    std::size_t m_formatCapacity = 0;
};
