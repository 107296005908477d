#include "webstep/replay/CompiledScript.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

#include "webstep/replay/VirtualUser.h"

namespace fs = std::filesystem;

namespace {

// Room kept above the script's frames for an argument list not closed by
// LAST: QZ_MAX_STEP_ARGUMENTS pointers and some.
constexpr std::size_t kHeadroom = 128 * 1024;
constexpr std::size_t kSignalStack = 64 * 1024;
const int kCrashSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

int TimeoutSignal() {
    return SIGRTMIN + 4;
}

struct sigaction g_previous[NSIG];

const char* SignalName(int signal) {
    switch (signal) {
        case SIGSEGV:
            return "SIGSEGV (a bad memory access or a stack overflow)";
        case SIGBUS:
            return "SIGBUS (a bad memory access)";
        case SIGFPE:
            return "SIGFPE (an arithmetic error such as a division by zero)";
        case SIGILL:
            return "SIGILL (an illegal instruction)";
        default:
            return "a signal";
    }
}

// Appends text to buffer without allocating.
void Put(char* buffer, std::size_t size, std::size_t& at, const char* text) {
    for (; text != nullptr && *text != 0 && at + 1 < size; ++text)
        buffer[at++] = *text;
    buffer[at] = 0;
}

void OnSignal(int signal, siginfo_t* info, void* context) {
    const int saved = errno;
    CScriptRuntime* runtime = CScriptRuntime::Current();
    const bool inScript = runtime != nullptr && runtime->Armed() && runtime->IsInScript();
    if (signal == TimeoutSignal()) {
        if (inScript) {
            char* report = runtime->Report();
            std::size_t at = 0;
            Put(report, CScriptRuntime::kReportSize, at,
                "the step timeout ended the user: the script ran without calling the runtime, "
                "in ");
            runtime->WhereInto(report + at, CScriptRuntime::kReportSize - at);
            runtime->Arm(false);
            siglongjmp(runtime->JumpBuffer(), static_cast<int>(ScriptLeave::Timeout));
        }
        errno = saved;
        return;
    }
    if (inScript) {
        char* report = runtime->Report();
        std::size_t at = 0;
        Put(report, CScriptRuntime::kReportSize, at, SignalName(signal));
        Put(report, CScriptRuntime::kReportSize, at, " in the script's code, after ");
        runtime->WhereInto(report + at, CScriptRuntime::kReportSize - at);
        runtime->Arm(false);
        siglongjmp(runtime->JumpBuffer(), static_cast<int>(ScriptLeave::Crash));
    }
    // Not the script's own code: say where the user was, then let the
    // signal do what it did before (end the process, or another handler).
    if (runtime != nullptr) {
        char line[1200];
        std::size_t at = 0;
        Put(line, sizeof line, at, "webstep: ");
        Put(line, sizeof line, at, SignalName(signal));
        Put(line, sizeof line, at, " while a compiled script ran, in ");
        runtime->WhereInto(line + at, sizeof line - at);
        at = std::strlen(line);
        Put(line, sizeof line, at, "\n");
        const ssize_t ignored = write(2, line, at);
        (void)ignored;
    }
    sigaction(signal, &g_previous[signal], nullptr);
    if (info == nullptr || info->si_code <= 0)
        raise(signal);
    errno = saved;
    (void)context;
}

void InstallHandlers() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action;
        std::memset(&action, 0, sizeof action);
        action.sa_sigaction = OnSignal;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        for (int signal : kCrashSignals)
            sigaction(signal, &action, &g_previous[signal]);
        sigaction(TimeoutSignal(), &action, &g_previous[TimeoutSignal()]);
    });
}

double SteadyNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// The watchdog of the step timeout: one thread for the process, started by
// the first user that has a timeout.
class Watchdog {
public:
    static Watchdog& Instance() {
        // Never destroyed: the thread may outlive static destruction.
        static Watchdog* watchdog = new Watchdog;
        return *watchdog;
    }
    void Add(CScriptRuntime* runtime, double timeout) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_watched[runtime] = Entry{pthread_self(), timeout, 0};
        if (!m_started) {
            m_started = true;
            std::thread([this] { Loop(); }).detach();
        }
    }
    void Remove(CScriptRuntime* runtime) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_watched.erase(runtime);
    }

private:
    struct Entry {
        pthread_t thread;
        double timeout;
        double signalled;  // the ScriptSince that was signalled
    };
    void Loop() {
        for (;;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            std::lock_guard<std::mutex> lock(m_mutex);
            const double now = SteadyNow();
            for (auto& [runtime, entry] : m_watched) {
                const double since = runtime->ScriptSince();
                if (since > 0 && now - since > entry.timeout && entry.signalled != since) {
                    entry.signalled = since;
                    pthread_kill(entry.thread, TimeoutSignal());
                }
            }
        }
    }
    std::mutex m_mutex;
    std::map<CScriptRuntime*, Entry> m_watched;
    bool m_started = false;
};

std::atomic<unsigned long> g_copies{0};

using ActionFunction = int (*)();

// Calls the action with room kept above its frames (see kHeadroom). Not
// inlined, and the call is not the last thing it does, so the room stays.
__attribute__((noinline)) int CallWithHeadroom(ActionFunction function, CScriptRuntime& runtime) {
    volatile char* room = static_cast<char*>(__builtin_alloca(kHeadroom));
    room[0] = 0;
    room[kHeadroom - 1] = 0;
    runtime.InScript(true);
    const int result = function();
    runtime.InScript(false);
    room[0] = 1;
    return result;
}

}  // namespace

struct CCompiledScript::Copy {
    void* handle = nullptr;
    std::map<std::string, ActionFunction> functions;
    ~Copy() {
        if (handle != nullptr)
            dlclose(handle);
    }
    ActionFunction Function(const std::string& name) {
        auto found = functions.find(name);
        if (found != functions.end())
            return found->second;
        void* symbol = dlsym(handle, name.c_str());
        ActionFunction function = nullptr;
        std::memcpy(&function, &symbol, sizeof function);
        functions[name] = function;
        return function;
    }
};

// One user's run: its runtime (current on its thread while it runs), its
// copy of the object, the signal stack of its thread.
struct CCompiledScript::Context {
    Context(CVirtualUser& user, CReplayObserver* observer, const ScriptIdentity& identity)
        : user(user), runtime(user, observer, identity) {}
    CVirtualUser& user;
    CScriptRuntime runtime;
    std::unique_ptr<Copy> copy;
};

CCompiledScript::CCompiledScript() = default;
CCompiledScript::~CCompiledScript() = default;

bool CCompiledScript::Load(const CScriptFolder& folder, FolderMessages& messages,
                           const CompiledScriptOptions& options) {
    m_folder = &folder;
    m_options = options;
    m_error.clear();
    m_compileFailed = false;
    m_loaded = false;
    if (!CScriptCompiler::Compile(folder, options.compile, m_compilation, messages)) {
        m_compileFailed = true;
        m_error = m_compilation.compilerOutput;
        return false;
    }
    // The runtime functions must be reachable by name from the object.
    if (dlsym(RTLD_DEFAULT, "qz__at") == nullptr) {
        m_error =
            "the runtime functions of compiled scripts are not exported by this program: link it "
            "with -rdynamic (CMake: ENABLE_EXPORTS) or with the shared webstep library";
        return false;
    }
    std::string error;
    std::unique_ptr<Copy> copy = LoadCopy(error);
    if (!copy) {
        m_error = error;
        return false;
    }
    for (const FolderAction& action : m_compilation.actions) {
        if (copy->Function(action.name) == nullptr) {
            m_error = (fs::path(folder.Dir()) / action.file).string() +
                      ": error: the compiled script has no function \"" + action.name +
                      "\" for its action";
            return false;
        }
    }
    m_loaded = true;
    return true;
}

std::unique_ptr<CCompiledScript::Copy> CCompiledScript::LoadCopy(std::string& error) const {
    // A file of its own for each copy, removed once open.
    const std::string path = m_compilation.object + ".copy-" + std::to_string(getpid()) + "-" +
                             std::to_string(++g_copies);
    std::error_code failure;
    fs::copy_file(m_compilation.object, path, fs::copy_options::overwrite_existing, failure);
    if (failure) {
        error =
            "cannot copy the compiled script " + m_compilation.object + ": " + failure.message();
        return nullptr;
    }
    auto copy = std::make_unique<Copy>();
    copy->handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    fs::remove(path, failure);
    if (copy->handle == nullptr) {
        const char* reason = dlerror();
        error = "cannot load the compiled script " + m_compilation.object + ": " +
                (reason != nullptr ? reason : "unknown reason");
        return nullptr;
    }
    return copy;
}

ScriptLeave CCompiledScript::RunAction(Context& context, const std::string& action) const {
    CScriptRuntime& runtime = context.runtime;
    ActionFunction function = context.copy->Function(action);
    if (function == nullptr) {
        runtime.Message("error", "the compiled script has no function \"" + action + "\"");
        return ScriptLeave::None;
    }
    runtime.SetAction(action);
    runtime.ClearAsked();
    const int jumped = sigsetjmp(runtime.JumpBuffer(), 1);
    if (jumped == 0) {
        runtime.Arm(true);
        CallWithHeadroom(function, runtime);
        runtime.Arm(false);
        return ScriptLeave::None;
    }
    runtime.Arm(false);
    runtime.InScript(false);
    return static_cast<ScriptLeave>(jumped);
}

void CCompiledScript::Finish(Context& context, ScriptLeave leave, ScriptUserResult& result) const {
    switch (leave) {
        case ScriptLeave::Crash:
        case ScriptLeave::Timeout:
            result.ending = leave == ScriptLeave::Crash ? ScriptUserResult::Ending::Crashed
                                                        : ScriptUserResult::Ending::TimedOut;
            result.message =
                "user " + std::to_string(context.user.User()) + ": " + context.runtime.Report();
            context.runtime.Message("error", result.message);
            break;
        default:
            break;
    }
}

namespace {

// What a leave means for the rest of the run.
struct Outcome {
    bool endIteration = false;
    bool endUser = false;
    bool abort = false;
    bool fatal = false;
};

Outcome OutcomeOf(ScriptLeave leave, CScriptRuntime& runtime) {
    Outcome outcome;
    switch (leave) {
        case ScriptLeave::StepFailed:
        case ScriptLeave::ExitIteration:
            outcome.endIteration = true;
            break;
        case ScriptLeave::UserEnded:
        case ScriptLeave::ExitUser:
            outcome.endUser = true;
            break;
        case ScriptLeave::Abort:
            outcome.endUser = outcome.abort = true;
            break;
        case ScriptLeave::Crash:
        case ScriptLeave::Timeout:
            outcome.fatal = true;
            break;
        default:
            break;
    }
    if (runtime.Pending() == ScriptLeave::ExitUserAfterAction)
        outcome.endUser = true;
    return outcome;
}

// Sets the thread up for running scripts and undoes it at the end.
class ThreadSetup {
public:
    ThreadSetup(CScriptRuntime& runtime, double timeout) : m_runtime(runtime), m_timeout(timeout) {
        InstallHandlers();
        m_stack = static_cast<char*>(std::malloc(kSignalStack));
        if (m_stack != nullptr) {
            stack_t stack{};
            stack.ss_sp = m_stack;
            stack.ss_size = kSignalStack;
            m_haveOld = sigaltstack(&stack, &m_old) == 0;
        }
        m_previous = CScriptRuntime::Current();
        CScriptRuntime::SetCurrent(&runtime);
        if (timeout > 0)
            Watchdog::Instance().Add(&runtime, timeout);
    }
    ~ThreadSetup() {
        if (m_timeout > 0)
            Watchdog::Instance().Remove(&m_runtime);
        CScriptRuntime::SetCurrent(m_previous);
        if (m_haveOld) {
            // Back to the thread's own signal stack (or none).
            if (m_old.ss_flags & SS_DISABLE) {
                stack_t off{};
                off.ss_flags = SS_DISABLE;
                sigaltstack(&off, nullptr);
            } else {
                sigaltstack(&m_old, nullptr);
            }
        }
        std::free(m_stack);
    }

private:
    CScriptRuntime& m_runtime;
    double m_timeout;
    char* m_stack = nullptr;
    stack_t m_old{};
    bool m_haveOld = false;
    CScriptRuntime* m_previous = nullptr;
};

}  // namespace

CCompiledScript::CSession::CSession(const CCompiledScript& script, CVirtualUser& user,
                                    CUserClock& clock, CReplayObserver* observer,
                                    const ScriptIdentity& identity)
    : m_script(script), m_clock(clock) {
    if (!script.m_loaded || script.m_folder == nullptr) {
        m_result.message = script.m_error.empty() ? "the script is not loaded" : script.m_error;
        return;
    }
    auto context = std::make_unique<Context>(user, observer, identity);
    std::string error;
    context->copy = script.LoadCopy(error);
    if (!context->copy) {
        m_result.message = error;
        return;
    }
    m_context = std::move(context);
    m_random = std::make_unique<std::mt19937_64>(script.m_options.seed * 0x9E3779B97F4A7C15ULL +
                                                 user.User());
}

CCompiledScript::CSession::~CSession() = default;

bool CCompiledScript::CSession::Loaded() const {
    return m_context != nullptr;
}

bool CCompiledScript::CSession::MustEnd() const {
    return m_fatal || m_endUser || m_context == nullptr;
}

// Runs a group's actions until one ends the iteration or the user.
void CCompiledScript::CSession::RunGroup(const RunLogicNode& group, bool& iterationFailed) {
    CScriptRuntime& runtime = m_context->runtime;
    std::vector<std::string> actions;
    CRunLogic::Expand(group, *m_random, actions);
    for (const std::string& action : actions) {
        const ScriptLeave leave = m_script.RunAction(*m_context, action);
        const Outcome outcome = OutcomeOf(leave, runtime);
        if (leave == ScriptLeave::StepFailed || runtime.ExitFailed())
            iterationFailed = true;
        if (outcome.fatal) {
            m_script.Finish(*m_context, leave, m_result);
            m_fatal = true;
            return;
        }
        if (outcome.abort)
            m_aborted = true;
        if (outcome.endUser) {
            m_endUser = true;
            return;
        }
        if (outcome.endIteration)
            return;
    }
}

bool CCompiledScript::CSession::RunInit() {
    if (MustEnd())
        return false;
    // The thread's set-up lasts for the call only: the next call may come
    // from another thread.
    ThreadSetup setup(m_context->runtime, m_script.m_options.stepTimeout);
    CVirtualUser& user = m_context->user;
    bool ignored = false;
    user.BeginIteration(1);
    RunGroup(m_script.m_folder->RunLogic().Init(), ignored);
    user.EndIteration();
    m_context->runtime.EndIteration();
    m_context->runtime.TransactionStarts().clear();
    return !MustEnd();
}

bool CCompiledScript::CSession::RunIteration() {
    if (MustEnd() || m_ended)
        return false;
    ThreadSetup setup(m_context->runtime, m_script.m_options.stepTimeout);
    CVirtualUser& user = m_context->user;
    CScriptRuntime& runtime = m_context->runtime;
    const unsigned i = ++m_result.iterations;
    m_iterationStart = m_clock.Now();
    const std::size_t failedBefore = user.FailedSteps();
    runtime.SetExitFailed(false);
    user.BeginIteration(i);
    bool iterationFailed = false;
    RunGroup(m_script.m_folder->RunLogic().Run(), iterationFailed);
    m_lastFailed = iterationFailed || m_fatal || user.FailedSteps() > failedBefore;
    if (m_lastFailed)
        ++m_result.failedIterations;
    if (m_fatal) {
        user.IterationEnded(i, true);
        return false;
    }
    user.EndIteration();
    runtime.EndIteration();
    runtime.TransactionStarts().clear();
    user.IterationEnded(i, m_lastFailed);
    if (runtime.Pending() == ScriptLeave::ExitUserAfterIteration)
        m_endUser = true;
    return !MustEnd();
}

double CCompiledScript::CSession::PacingWait() {
    if (m_context == nullptr)
        return 0;
    return m_script.m_folder->Settings().Pacing().Wait(m_clock.Now() - m_iterationStart, *m_random);
}

void CCompiledScript::CSession::RunEnd() {
    if (m_context == nullptr || m_fatal || m_ended)
        return;
    m_ended = true;
    ThreadSetup setup(m_context->runtime, m_script.m_options.stepTimeout);
    CVirtualUser& user = m_context->user;
    bool ignored = false;
    user.EnterEndAction();
    RunGroup(m_script.m_folder->RunLogic().End(), ignored);
    if (!m_fatal) {
        user.EndIteration();
        m_context->runtime.EndIteration();
        m_result.ending = m_aborted   ? ScriptUserResult::Ending::Aborted
                          : m_endUser ? ScriptUserResult::Ending::Ended
                                      : ScriptUserResult::Ending::Completed;
    }
}

std::unique_ptr<CCompiledScript::CSession> CCompiledScript::OpenSession(
    CVirtualUser& user, CUserClock& clock, CReplayObserver* observer,
    const ScriptIdentity* identity) const {
    return std::unique_ptr<CSession>(new CSession(
        *this, user, clock, observer, identity != nullptr ? *identity : m_options.identity));
}

ScriptUserResult CCompiledScript::RunUser(CVirtualUser& user, CUserClock& clock,
                                          CReplayObserver* observer, unsigned iterations) const {
    std::unique_ptr<CSession> session = OpenSession(user, clock, observer);
    if (!session->Loaded())
        return session->Result();
    const unsigned count = iterations != 0 ? iterations : m_folder->Iterations();
    if (session->RunInit()) {
        for (unsigned i = 1; i <= count && !user.StopRequested(); ++i) {
            if (!session->RunIteration())
                break;
            if (i < count && !user.StopRequested())
                clock.Sleep(session->PacingWait());
        }
    }
    session->RunEnd();
    return session->Result();
}

ScriptUserResult CCompiledScript::RunActions(CVirtualUser& user, CReplayObserver* observer,
                                             const std::vector<std::string>& actions) const {
    ScriptUserResult result;
    if (!m_loaded) {
        result.message = m_error.empty() ? "the script is not loaded" : m_error;
        return result;
    }
    Context context(user, observer, m_options.identity);
    std::string error;
    context.copy = LoadCopy(error);
    if (!context.copy) {
        result.message = error;
        return result;
    }
    CScriptRuntime& runtime = context.runtime;
    ThreadSetup setup(runtime, m_options.stepTimeout);
    user.BeginIteration(1);
    result.iterations = 1;
    result.ending = ScriptUserResult::Ending::Completed;
    for (const std::string& action : actions) {
        const ScriptLeave leave = RunAction(context, action);
        const Outcome outcome = OutcomeOf(leave, runtime);
        if (leave == ScriptLeave::StepFailed || runtime.ExitFailed())
            result.failedIterations = 1;
        if (outcome.fatal) {
            Finish(context, leave, result);
            return result;
        }
        if (outcome.abort) {
            result.ending = ScriptUserResult::Ending::Aborted;
            break;
        }
        if (outcome.endUser) {
            result.ending = ScriptUserResult::Ending::Ended;
            break;
        }
        if (outcome.endIteration)
            break;
    }
    user.EndIteration();
    runtime.EndIteration();
    return result;
}
