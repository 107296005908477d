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

ScriptUserResult CCompiledScript::RunUser(CVirtualUser& user, CUserClock& clock,
                                          CReplayObserver* observer, unsigned iterations) const {
    ScriptUserResult result;
    if (!m_loaded || m_folder == nullptr) {
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
    std::mt19937_64 random(m_options.seed * 0x9E3779B97F4A7C15ULL + user.User());
    bool fatal = false, endUser = false, aborted = false;

    // Runs a group's actions; false when the rest of the run must stop.
    auto runGroup = [&](const RunLogicNode& group, bool& iterationFailed) {
        std::vector<std::string> actions;
        CRunLogic::Expand(group, random, actions);
        for (const std::string& action : actions) {
            const ScriptLeave leave = RunAction(context, action);
            const Outcome outcome = OutcomeOf(leave, runtime);
            if (leave == ScriptLeave::StepFailed || runtime.ExitFailed())
                iterationFailed = true;
            if (outcome.fatal) {
                Finish(context, leave, result);
                fatal = true;
                return;
            }
            if (outcome.abort)
                aborted = true;
            if (outcome.endUser) {
                endUser = true;
                return;
            }
            if (outcome.endIteration)
                return;
        }
    };

    const unsigned count = iterations != 0 ? iterations : m_folder->Iterations();
    bool failed = false;
    user.BeginIteration(1);
    runGroup(m_folder->RunLogic().Init(), failed);
    user.EndIteration();
    runtime.EndIteration();
    runtime.TransactionStarts().clear();
    for (unsigned i = 1; i <= count && !fatal && !endUser && !user.StopRequested(); ++i) {
        const double start = clock.Now();
        const std::size_t failedBefore = user.FailedSteps();
        runtime.SetExitFailed(false);
        user.BeginIteration(i);
        ++result.iterations;
        bool iterationFailed = false;
        runGroup(m_folder->RunLogic().Run(), iterationFailed);
        const bool thisFailed = iterationFailed || fatal || user.FailedSteps() > failedBefore;
        if (thisFailed)
            ++result.failedIterations;
        if (fatal) {
            user.IterationEnded(i, true);
            break;
        }
        user.EndIteration();
        runtime.EndIteration();
        runtime.TransactionStarts().clear();
        user.IterationEnded(i, thisFailed);
        if (runtime.Pending() == ScriptLeave::ExitUserAfterIteration)
            endUser = true;
        if (!endUser && i < count && !user.StopRequested())
            clock.Sleep(m_folder->Settings().Pacing().Wait(clock.Now() - start, random));
    }
    if (!fatal) {
        bool ignored = false;
        user.EnterEndAction();
        runGroup(m_folder->RunLogic().End(), ignored);
        if (!fatal) {
            user.EndIteration();
            runtime.EndIteration();
            result.ending = aborted   ? ScriptUserResult::Ending::Aborted
                            : endUser ? ScriptUserResult::Ending::Ended
                                      : ScriptUserResult::Ending::Completed;
        }
    }
    return result;
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
