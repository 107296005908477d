#include "webstep/replay/ScriptRuntime.h"

#include <iconv.h>
#include <pthread.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "webstep/replay/VirtualUser.h"
#include "webstep/script/PasswordDecryption.h"

// The definitions below are the functions the header declares: the header
// is read without its location macros, and a definition whose parameters
// differ from the declaration does not compile.
#define QZ_NO_LOCATION
#include "webstep/runtime.h"

namespace {

thread_local CScriptRuntime* t_current = nullptr;

double SteadyNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// ---- Reading what the script hands over ----

enum class TextRead { Ok, Null, Unreadable, TooLong };

// The process's id, asked of the kernel once per process (not per read:
// every argument of every call is read this way); a fork asks again.
std::atomic<pid_t> g_ownPid{0};

pid_t OwnPid() {
    pid_t pid = g_ownPid.load(std::memory_order_relaxed);
    if (pid == 0) {
        static std::once_flag atFork;
        std::call_once(atFork, [] { pthread_atfork(nullptr, nullptr, [] { g_ownPid.store(0); }); });
        pid = getpid();
        g_ownPid.store(pid, std::memory_order_relaxed);
    }
    return pid;
}

// Whether the kernel reads our own memory for us: then a pointer that is not
// readable gives EFAULT instead of a crash.
bool SafeReadsWork() {
    static const bool works = [] {
        char from[4] = {'a', 'b', 'c', 0}, to[4] = {0};
        iovec local{to, sizeof to}, remote{from, sizeof from};
        return process_vm_readv(OwnPid(), &local, 1, &remote, 1, 0) == 4;
    }();
    return works;
}

// Copies the text at pointer (up to its zero byte, at most limit bytes) into
// out without reading memory that is not there.
TextRead ReadText(const char* pointer, std::size_t limit, std::string& out) {
    out.clear();
    if (pointer == nullptr)
        return TextRead::Null;
    if (!SafeReadsWork()) {
        const std::size_t length = strnlen(pointer, limit + 1);
        if (length > limit)
            return TextRead::TooLong;
        out.assign(pointer, length);
        return TextRead::Ok;
    }
    const std::uintptr_t page = 4096;
    char chunk[4096];
    std::uintptr_t at = reinterpret_cast<std::uintptr_t>(pointer);
    for (;;) {
        // Up to the end of the page: a page is readable as a whole or not.
        const std::size_t size = static_cast<std::size_t>(page - (at % page));
        iovec local{chunk, size};
        iovec remote{reinterpret_cast<void*>(at), size};
        const ssize_t got = process_vm_readv(OwnPid(), &local, 1, &remote, 1, 0);
        if (got <= 0)
            return TextRead::Unreadable;
        const void* zero = std::memchr(chunk, 0, static_cast<std::size_t>(got));
        const std::size_t take =
            zero != nullptr ? static_cast<std::size_t>(static_cast<const char*>(zero) - chunk)
                            : static_cast<std::size_t>(got);
        if (out.size() + take > limit)
            return TextRead::TooLong;
        out.append(chunk, take);
        if (zero != nullptr)
            return TextRead::Ok;
        at += static_cast<std::uintptr_t>(got);
    }
}

constexpr std::size_t kMaxArguments = QZ_MAX_STEP_ARGUMENTS;
constexpr std::size_t kMaxText = static_cast<std::size_t>(QZ_MAX_STEP_TEXT);

// The pointers of an argument list up to LAST, a null pointer or the bound.
// An unclosed list is read past its end into the caller's frames, which the
// caller of the action keeps readable (CCompiledScript reserves room above
// the script's frames); the address checker must not watch these reads.
#if defined(__GNUC__) || defined(__clang__)
__attribute__((no_sanitize_address))
#endif
std::size_t
ListPointers(va_list& list, const char** pointers, std::size_t room, bool& closed) {
    closed = false;
    std::size_t count = 0;
    while (count < room) {
        const char* pointer = va_arg(list, const char*);
        pointers[count++] = pointer;
        if (pointer == nullptr) {
            closed = true;
            break;
        }
        // LAST ends the list (its text is read safely below).
        char head[5] = {0};
        if (SafeReadsWork()) {
            iovec local{head, 5}, remote{const_cast<char*>(pointer), 5};
            if (process_vm_readv(OwnPid(), &local, 1, &remote, 1, 0) == 5 &&
                std::memcmp(head, "LAST", 5) == 0) {
                closed = true;
                break;
            }
        } else if (std::strcmp(pointer, "LAST") == 0) {
            closed = true;
            break;
        }
    }
    return count;
}

// ---- Entering and leaving the runtime ----

// The user of the calling thread, with the runtime marked busy; null when no
// user runs a script on this thread.
CScriptRuntime* Enter(const char* function) {
    CScriptRuntime* runtime = t_current;
    if (runtime == nullptr)
        return nullptr;
    runtime->InScript(false);
    runtime->SetFunction(function);
    return runtime;
}

// Back to the script, or out of the action when a leave was asked for.
void Return(CScriptRuntime* runtime) {
    if (runtime == nullptr)
        return;
    runtime->LeaveIfAsked();
    runtime->InScript(true);
}

std::string BaseName(const char* file) {
    if (file == nullptr)
        return std::string();
    const char* slash = std::strrchr(file, '/');
    return slash != nullptr ? std::string(slash + 1) : std::string(file);
}

std::string ReadOrEmpty(const char* pointer) {
    std::string text;
    ReadText(pointer, kMaxText, text);
    return text;
}

void Warn(CScriptRuntime& runtime, const std::string& text) {
    runtime.Message("warning", runtime.Where() + ": " + text);
}

// After a call: a failed step that ends the iteration or a user that must
// end leaves the action.
void AfterCall(CScriptRuntime& runtime) {
    switch (runtime.User().Next()) {
        case UserNext::Continue:
            break;
        case UserNext::EndIteration:
            runtime.Ask(ScriptLeave::StepFailed);
            break;
        case UserNext::EndUser:
            runtime.Ask(ScriptLeave::UserEnded);
            break;
    }
}

int CallUser(CScriptRuntime& runtime, const char* function,
             const std::vector<std::string>& arguments) {
    try {
        StepRecord record = runtime.User().Call(function, arguments, BaseName(runtime.WhereFile()),
                                                runtime.WhereLine());
        if (record.navigation)
            runtime.LastNavigation() = record;
        AfterCall(runtime);
        return record.failed ? QZ_FAIL : QZ_PASS;
    } catch (const std::exception& error) {
        Warn(runtime, std::string(function) + " failed: " + error.what());
        return QZ_FAIL;
    }
}

// A step whose arguments are a list closed by LAST.
int ListStep(const char* function, const char* first, va_list& list) {
    CScriptRuntime* runtime = Enter(function);
    if (runtime == nullptr)
        return -1;
    std::vector<const char*> pointers(kMaxArguments + 1);
    pointers[0] = first;
    bool closed = first == nullptr;
    std::size_t count = 1;
    if (!closed) {
        std::string head;
        if (ReadText(first, 8, head) == TextRead::Ok && head == "LAST")
            closed = true;
        else
            count += ListPointers(list, pointers.data() + 1, kMaxArguments - 1, closed);
    }
    std::vector<std::string> arguments;
    std::string problem;
    std::size_t total = 0;
    for (std::size_t i = 0; i < count && problem.empty(); ++i) {
        if (pointers[i] == nullptr)
            break;  // a null argument ends the list as LAST does
        std::string text;
        const TextRead read = ReadText(pointers[i], kMaxText - total, text);
        if (read == TextRead::Unreadable)
            problem = "argument " + std::to_string(i + 1) +
                      " is not readable text (a number or a bad pointer where a text belongs)";
        else if (read == TextRead::TooLong)
            problem = "the arguments hold more than " + std::to_string(kMaxText) +
                      " bytes of text (the bound of a list not closed by LAST)";
        total += text.size();
        arguments.push_back(std::move(text));
    }
    if (problem.empty() && !closed)
        problem = "the argument list is not closed by LAST: read " + std::to_string(count) +
                  " arguments, the bound is " + std::to_string(kMaxArguments);
    if (problem.empty() && (arguments.empty() || arguments.back() != "LAST"))
        arguments.push_back("LAST");
    if (!problem.empty()) {
        // The step fails as a step that does not parse does.
        runtime->Message("error", runtime->Where() + ": " + function + ": " + problem);
        if (!runtime->User().ContinueOnError())
            runtime->Ask(ScriptLeave::StepFailed);
        return QZ_FAIL;
    }
    return CallUser(*runtime, function, arguments);
}

// What web_get_int_property answers: a property of the last navigation
// step, or -1.
int IntProperty(CScriptRuntime& runtime, std::string kind) {
    for (char& c : kind)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (kind.rfind("HTTP_INFO_", 0) != 0)
        kind = "HTTP_INFO_" + kind;
    const StepRecord& step = runtime.LastNavigation();
    if (step.requests.empty())
        return kind == "HTTP_INFO_RETURN_CODE" ? 0 : -1;
    const RequestRecord& first = step.requests.front();
    if (kind == "HTTP_INFO_RETURN_CODE") {
        // The status of the step's own request after its redirects: the last
        // request that is not a resource of the page.
        int status = first.status;
        for (const RequestRecord& request : step.requests)
            if (request.request.role == RequestRole::Primary ||
                request.request.role == RequestRole::Redirection)
                status = request.status;
        return status;
    }
    std::size_t bytes = 0;
    double seconds = 0;
    for (const RequestRecord& request : step.requests) {
        bytes += request.responseBytes;
        seconds += request.timings.total;
    }
    if (kind == "HTTP_INFO_DOWNLOAD_SIZE" || kind == "HTTP_INFO_TOTAL_RESPONSE_STAT")
        return static_cast<int>(bytes);
    if (kind == "HTTP_INFO_DOWNLOAD_TIME")
        return static_cast<int>(seconds * 1000.0);
    if (kind == "HTTP_INFO_TOTAL_REQUEST_STAT") {
        std::size_t sent = 0;
        for (const RequestRecord& request : step.requests)
            sent += request.request.body.size();
        return static_cast<int>(sent);
    }
    return -1;
}

// A step of a fixed number of texts.
int FixedStep(const char* function, std::initializer_list<const char*> texts) {
    CScriptRuntime* runtime = Enter(function);
    if (runtime == nullptr)
        return -1;
    std::vector<std::string> arguments;
    std::size_t index = 0;
    for (const char* pointer : texts) {
        ++index;
        std::string text;
        if (ReadText(pointer, kMaxText, text) == TextRead::Unreadable) {
            runtime->Message("error", runtime->Where() + ": " + function + ": argument " +
                                          std::to_string(index) + " is not readable text");
            if (!runtime->User().ContinueOnError())
                runtime->Ask(ScriptLeave::StepFailed);
            return QZ_FAIL;
        }
        arguments.push_back(std::move(text));
    }
    const int result = CallUser(*runtime, function, arguments);
    if (std::strcmp(function, "web_get_int_property") == 0)
        return IntProperty(*runtime, arguments.empty() ? std::string() : arguments[0]);
    return result;
}

// printf-style formatting into the runtime's buffer; the script's own
// arguments are read in script mode (a bad pointer there is the script's
// crash). Holds nothing that needs destroying. -1 on a bad format.
int Format(CScriptRuntime& runtime, const char* format, va_list& list) {
    std::string check;
    if (ReadText(format, kMaxText, check) != TextRead::Ok)
        return -1;
    char*& buffer = runtime.FormatBuffer();
    std::size_t& capacity = runtime.FormatCapacity();
    if (buffer == nullptr) {
        buffer = static_cast<char*>(std::malloc(4096));
        if (buffer == nullptr)
            return -1;
        capacity = 4096;
    }
    va_list again;
    va_copy(again, list);
    runtime.InScript(true);
    int length = std::vsnprintf(buffer, capacity, format, list);
    runtime.InScript(false);
    if (length >= 0 && static_cast<std::size_t>(length) >= capacity) {
        const std::size_t wanted = static_cast<std::size_t>(length) + 1;
        char* grown =
            wanted <= kMaxText ? static_cast<char*>(std::realloc(buffer, wanted)) : nullptr;
        if (grown == nullptr) {
            length = -1;
        } else {
            buffer = grown;
            capacity = wanted;
            runtime.InScript(true);
            length = std::vsnprintf(buffer, capacity, format, again);
            runtime.InScript(false);
        }
    }
    va_end(again);
    return length;
}

int SendFormatted(CScriptRuntime* runtime, const char* level, int length) {
    if (length < 0) {
        Warn(*runtime, std::string("a message with a null or unreadable format (level ") + level +
                           ") was not sent");
        return -1;
    }
    runtime->Message(level, std::string(runtime->FormatBuffer(), static_cast<std::size_t>(length)));
    return length;
}

const char* StatusText(int status) {
    switch (status) {
        case QZ_PASS:
            return "QZ_PASS";
        case QZ_FAIL:
            return "QZ_FAIL";
        case QZ_STOP:
            return "QZ_STOP";
        default:
            return "QZ_AUTO";
    }
}

bool NameOf(CScriptRuntime& runtime, const char* pointer, const std::string& what,
            std::string& name) {
    const TextRead read = ReadText(pointer, kMaxText, name);
    if (read == TextRead::Ok && !name.empty())
        return true;
    Warn(runtime, what + (read == TextRead::Null         ? " is null"
                          : read == TextRead::Unreadable ? " is not readable text"
                          : read == TextRead::TooLong    ? " is too long"
                                                         : " is empty"));
    return false;
}

std::string Saved(CScriptRuntime& runtime, const std::string& name, bool& found) {
    std::string value;
    found = runtime.User().Parameters().GetSavedParameter(name, value);
    if (!found)
        found = runtime.User().Parameters().Evaluate(name, value);
    return value;
}

}  // namespace

// ---- CScriptRuntime ----

CScriptRuntime::CScriptRuntime(CVirtualUser& user, CReplayObserver* observer,
                               const ScriptIdentity& identity)
    : m_user(user), m_observer(observer), m_identity(identity) {}

CScriptRuntime::~CScriptRuntime() {
    if (t_current == this)
        t_current = nullptr;
    std::free(m_format);
}

CScriptRuntime* CScriptRuntime::Current() {
    return t_current;
}

void CScriptRuntime::SetCurrent(CScriptRuntime* runtime) {
    t_current = runtime;
}

void CScriptRuntime::Message(const std::string& level, const std::string& text) {
    if (m_observer != nullptr)
        m_observer->OnMessage(level, text);
}

void CScriptRuntime::SetAction(const std::string& action) {
    std::snprintf(m_action, sizeof m_action, "%s", action.c_str());
    m_file = nullptr;
    m_line = 0;
    m_function = nullptr;
}

std::string CScriptRuntime::Where() const {
    char buffer[512];
    const std::size_t length = WhereInto(buffer, sizeof buffer);
    return std::string(buffer, length);
}

std::size_t CScriptRuntime::WhereInto(char* buffer, std::size_t size) const {
    // No snprintf: this runs in signal handlers too.
    std::size_t at = 0;
    auto put = [&](const char* text) {
        for (; text != nullptr && *text != 0 && at + 1 < size; ++text)
            buffer[at++] = *text;
    };
    put("action ");
    put(m_action);
    const char* file = m_file;
    if (file != nullptr) {
        const char* slash = std::strrchr(file, '/');
        put(", ");
        put(slash != nullptr ? slash + 1 : file);
        put(":");
        char digits[16];
        int n = 0;
        unsigned line = m_line > 0 ? static_cast<unsigned>(m_line) : 0u;
        do {
            digits[n++] = static_cast<char>('0' + line % 10);
            line /= 10;
        } while (line != 0 && n < 15);
        while (n > 0 && at + 1 < size)
            buffer[at++] = digits[--n];
    }
    const char* function = m_function;
    if (function != nullptr) {
        put(" (");
        put(function);
        put(")");
    }
    if (size > 0)
        buffer[at < size ? at : size - 1] = 0;
    return at;
}

const char* CScriptRuntime::WhereFile() const {
    return m_file;
}

int CScriptRuntime::WhereLine() const {
    return m_line;
}

char* CScriptRuntime::Keep(std::string text) {
    m_kept.push_back(std::move(text));
    return m_kept.back().data();
}

void CScriptRuntime::EndIteration() {
    m_kept.clear();
}

void CScriptRuntime::Leave(ScriptLeave why) {
    m_asked = ScriptLeave::None;
    siglongjmp(m_jump, static_cast<int>(why));
}

void CScriptRuntime::LeaveIfAsked() {
    if (m_asked != ScriptLeave::None && m_armed.load())
        Leave(m_asked);
}

void CScriptRuntime::InScript(bool on) {
    m_scriptSince.store(on ? SteadyNow() : 0.0);
    m_inScript.store(on);
}

// ---- The C functions ----

extern "C" {

WEBSTEP_API void qz__at(const char* file, int line) {
    if (CScriptRuntime* runtime = t_current)
        runtime->SetLocation(file, line);
}

// Every step function, from the one list of them.
#define WEBSTEP_DEFINE_LIST(function)                        \
    WEBSTEP_API int function(const char* first, ...) {       \
        va_list list;                                        \
        va_start(list, first);                               \
        const int result = ListStep(#function, first, list); \
        va_end(list);                                        \
        Return(t_current);                                   \
        return result;                                       \
    }
#define WEBSTEP_DEFINE_0(function)                   \
    WEBSTEP_API int function(void) {                 \
        const int result = FixedStep(#function, {}); \
        Return(t_current);                           \
        return result;                               \
    }
#define WEBSTEP_DEFINE_1(function)                    \
    WEBSTEP_API int function(const char* a) {         \
        const int result = FixedStep(#function, {a}); \
        Return(t_current);                            \
        return result;                                \
    }
#define WEBSTEP_DEFINE_2(function)                           \
    WEBSTEP_API int function(const char* a, const char* b) { \
        const int result = FixedStep(#function, {a, b});     \
        Return(t_current);                                   \
        return result;                                       \
    }
#define WEBSTEP_DEFINE_3(function)                                          \
    WEBSTEP_API int function(const char* a, const char* b, const char* c) { \
        const int result = FixedStep(#function, {a, b, c});                 \
        Return(t_current);                                                  \
        return result;                                                      \
    }
#define WEBSTEP_DEFINE_4(function)                                                         \
    WEBSTEP_API int function(const char* a, const char* b, const char* c, const char* d) { \
        const int result = FixedStep(#function, {a, b, c, d});                             \
        Return(t_current);                                                                 \
        return result;                                                                     \
    }
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_DEFINE_##arguments(function)
#include "webstep/script/StepFunctions.def"

// ---- Transactions ----

WEBSTEP_API int qz_start_transaction(const char* name) {
    CScriptRuntime* runtime = Enter("qz_start_transaction");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string text;
        if (NameOf(*runtime, name, "the transaction name", text)) {
            runtime->TransactionStarts()[text] = runtime->User().FailedSteps();
            CallUser(*runtime, "qz_start_transaction", {text});
            result = 0;
        }
    }
    Return(runtime);
    return result;
}

WEBSTEP_API int qz_start_sub_transaction(const char* name, const char* parent) {
    CScriptRuntime* runtime = Enter("qz_start_sub_transaction");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string text;
        if (NameOf(*runtime, name, "the transaction name", text)) {
            runtime->TransactionStarts()[text] = runtime->User().FailedSteps();
            CallUser(*runtime, "qz_start_sub_transaction", {text, ReadOrEmpty(parent)});
            result = 0;
        }
    }
    Return(runtime);
    return result;
}

namespace {
int EndTransaction(const char* function, const char* name, int status) {
    CScriptRuntime* runtime = Enter(function);
    if (runtime == nullptr)
        return -1;
    std::string text;
    if (!NameOf(*runtime, name, "the transaction name", text))
        return -1;
    runtime->TransactionStarts().erase(text);
    CallUser(*runtime, function, {text, StatusText(status)});
    return 0;
}
}  // namespace

WEBSTEP_API int qz_end_transaction(const char* name, int status) {
    const int result = EndTransaction("qz_end_transaction", name, status);
    Return(t_current);
    return result;
}

WEBSTEP_API int qz_end_sub_transaction(const char* name, int status) {
    const int result = EndTransaction("qz_end_sub_transaction", name, status);
    Return(t_current);
    return result;
}

WEBSTEP_API int qz_stop_transaction(const char* name) {
    const int result = EndTransaction("qz_end_transaction", name, QZ_STOP);
    Return(t_current);
    return result;
}

WEBSTEP_API int qz_get_transaction_status(const char* name) {
    CScriptRuntime* runtime = Enter("qz_get_transaction_status");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string text;
        if (NameOf(*runtime, name, "the transaction name", text)) {
            const auto found = runtime->TransactionStarts().find(text);
            if (found != runtime->TransactionStarts().end())
                result = runtime->User().FailedSteps() > found->second ? QZ_FAIL : QZ_PASS;
        }
    }
    Return(runtime);
    return result;
}

WEBSTEP_API void qz_think_time(double seconds) {
    CScriptRuntime* runtime = Enter("qz_think_time");
    if (runtime == nullptr)
        return;
    {
        char text[64];
        std::snprintf(text, sizeof text, "%.17g", seconds);
        CallUser(*runtime, "qz_think_time", {text});
    }
    Return(runtime);
}

// ---- Parameters ----

WEBSTEP_API char* qz_eval_string(const char* text) {
    CScriptRuntime* runtime = Enter("qz_eval_string");
    if (runtime == nullptr)
        return nullptr;
    char* result = nullptr;
    {
        std::string value;
        const TextRead read = ReadText(text, kMaxText, value);
        if (read == TextRead::Ok)
            result = runtime->Keep(runtime->User().Parameters().Substitute(value));
        else
            Warn(*runtime, "qz_eval_string: the text is null, not readable or too long");
    }
    Return(runtime);
    return result;
}

namespace {
int SaveText(CScriptRuntime& runtime, const char* function, const std::string& value,
             const char* name) {
    std::string parameter;
    if (!NameOf(runtime, name, std::string(function) + ": the parameter name", parameter))
        return -1;
    runtime.User().Parameters().SaveParameter(parameter, value);
    return 0;
}
}  // namespace

WEBSTEP_API int qz_save_string(const char* value, const char* name) {
    CScriptRuntime* runtime = Enter("qz_save_string");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string text;
        const TextRead read = ReadText(value, kMaxText, text);
        if (read == TextRead::Ok)
            result = SaveText(*runtime, "qz_save_string", text, name);
        else
            Warn(*runtime, std::string("qz_save_string: the value is ") +
                               (read == TextRead::Null ? "null"
                                : read == TextRead::TooLong
                                    ? "longer than " + std::to_string(kMaxText) + " bytes"
                                    : "not readable text") +
                               "; nothing saved");
    }
    Return(runtime);
    return result;
}

WEBSTEP_API int qz_save_int(int value, const char* name) {
    CScriptRuntime* runtime = Enter("qz_save_int");
    if (runtime == nullptr)
        return -1;
    const int result = SaveText(*runtime, "qz_save_int", std::to_string(value), name);
    Return(runtime);
    return result;
}

WEBSTEP_API void qz_save_datetime(const char* format, int offset, const char* name) {
    CScriptRuntime* runtime = Enter("qz_save_datetime");
    if (runtime == nullptr)
        return;
    {
        std::string pattern;
        if (ReadText(format, 4096, pattern) != TextRead::Ok) {
            Warn(*runtime, "qz_save_datetime: the format is null or not readable text");
        } else {
            const std::time_t when = std::time(nullptr) + offset;
            std::tm local{};
            localtime_r(&when, &local);
            char text[1024];
            const std::size_t length =
                pattern.empty() ? 0 : std::strftime(text, sizeof text, pattern.c_str(), &local);
            SaveText(*runtime, "qz_save_datetime", std::string(text, length), name);
        }
    }
    Return(runtime);
}

WEBSTEP_API int qz_param_sprintf(const char* name, const char* format, ...) {
    CScriptRuntime* runtime = Enter("qz_param_sprintf");
    if (runtime == nullptr)
        return -1;
    va_list list;
    va_start(list, format);
    int length = Format(*runtime, format, list);
    va_end(list);
    if (length < 0)
        Warn(*runtime, "qz_param_sprintf: the format is null or not readable text");
    else if (SaveText(*runtime, "qz_param_sprintf",
                      std::string(runtime->FormatBuffer(), static_cast<std::size_t>(length)),
                      name) != 0)
        length = -1;
    Return(runtime);
    return length;
}

WEBSTEP_API char* qz_paramarr_idx(const char* name, unsigned int index) {
    CScriptRuntime* runtime = Enter("qz_paramarr_idx");
    if (runtime == nullptr)
        return nullptr;
    char* result = nullptr;
    {
        std::string array;
        if (NameOf(*runtime, name, "qz_paramarr_idx: the array name", array)) {
            bool found = false;
            std::string value = Saved(*runtime, array + "_" + std::to_string(index), found);
            if (found)
                result = runtime->Keep(std::move(value));
            else
                Warn(*runtime,
                     "qz_paramarr_idx: " + array + " has no element " + std::to_string(index));
        }
    }
    Return(runtime);
    return result;
}

WEBSTEP_API int qz_paramarr_len(const char* name) {
    CScriptRuntime* runtime = Enter("qz_paramarr_len");
    if (runtime == nullptr)
        return 0;
    int result = 0;
    {
        std::string array;
        if (NameOf(*runtime, name, "qz_paramarr_len: the array name", array)) {
            bool found = false;
            const std::string count = Saved(*runtime, array + "_count", found);
            result = found ? std::atoi(count.c_str()) : 0;
        }
    }
    Return(runtime);
    return result;
}

WEBSTEP_API char* qz_paramarr_random(const char* name) {
    CScriptRuntime* runtime = Enter("qz_paramarr_random");
    if (runtime == nullptr)
        return nullptr;
    char* result = nullptr;
    {
        std::string array;
        if (NameOf(*runtime, name, "qz_paramarr_random: the array name", array)) {
            bool found = false;
            const int count = std::atoi(Saved(*runtime, array + "_count", found).c_str());
            if (count > 0) {
                // Repeatable per user: drawn from the user number and a counter.
                static thread_local unsigned long long draws = 0;
                unsigned long long x = (runtime->User().User() * 0x9E3779B97F4A7C15ULL) ^
                                       (++draws * 0xBF58476D1CE4E5B9ULL);
                x ^= x >> 31;
                const unsigned index = static_cast<unsigned>(x % static_cast<unsigned>(count)) + 1;
                std::string value = Saved(*runtime, array + "_" + std::to_string(index), found);
                if (found)
                    result = runtime->Keep(std::move(value));
            }
        }
    }
    Return(runtime);
    return result;
}

WEBSTEP_API int qz_advance_param(const char* name) {
    CScriptRuntime* runtime = Enter("qz_advance_param");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string parameter, value;
        if (NameOf(*runtime, name, "qz_advance_param: the parameter name", parameter))
            result = runtime->User().Parameters().Evaluate(parameter, value) ? 0 : -1;
    }
    Return(runtime);
    return result;
}

WEBSTEP_API int qz_free_parameter(const char* name) {
    CScriptRuntime* runtime = Enter("qz_free_parameter");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string parameter;
        if (NameOf(*runtime, name, "qz_free_parameter: the parameter name", parameter))
            result = runtime->User().Parameters().RemoveParameter(parameter) ? 0 : -1;
    }
    Return(runtime);
    return result;
}

WEBSTEP_API int qz_save_searched_string(const char* buffer, long size, unsigned int occurrence,
                                        const char* search, int offset, unsigned int length,
                                        const char* name) {
    CScriptRuntime* runtime = Enter("qz_save_searched_string");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string text, needle;
        if (size < 0 || ReadText(buffer, kMaxText, text) != TextRead::Ok ||
            ReadText(search, kMaxText, needle) != TextRead::Ok || needle.empty()) {
            Warn(*runtime,
                 "qz_save_searched_string: the buffer or the search text is null, "
                 "empty or not readable");
        } else {
            // The text is read up to its zero byte; size cuts it shorter.
            if (static_cast<unsigned long>(size) < text.size())
                text.resize(static_cast<std::size_t>(size));
            std::size_t at = text.find(needle);
            for (unsigned i = 0; i < occurrence && at != std::string::npos; ++i)
                at = text.find(needle, at + 1);
            const long long start =
                at == std::string::npos ? -1 : static_cast<long long>(at) + offset;
            if (start < 0 || static_cast<unsigned long long>(start) > text.size()) {
                Warn(*runtime, "qz_save_searched_string: occurrence " + std::to_string(occurrence) +
                                   " of \"" + needle + "\" not found");
            } else {
                const std::string value = text.substr(static_cast<std::size_t>(start), length);
                result = SaveText(*runtime, "qz_save_searched_string", value, name);
            }
        }
    }
    Return(runtime);
    return result;
}

WEBSTEP_API int qz_convert_string_encoding(const char* text, const char* from, const char* to,
                                           const char* name) {
    CScriptRuntime* runtime = Enter("qz_convert_string_encoding");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string input;
        const std::string source = from != nullptr ? ReadOrEmpty(from) : std::string("");
        const std::string target = to != nullptr ? ReadOrEmpty(to) : std::string("");
        if (ReadText(text, kMaxText, input) != TextRead::Ok) {
            Warn(*runtime, "qz_convert_string_encoding: the text is null or not readable");
        } else {
            iconv_t converter = iconv_open(target.c_str(), source.c_str());
            if (converter == reinterpret_cast<iconv_t>(-1)) {
                Warn(*runtime, "qz_convert_string_encoding: no conversion from \"" + source +
                                   "\" to \"" + target + "\"");
            } else {
                std::string output(input.size() * 4 + 16, '\0');
                char* in = input.data();
                std::size_t inLeft = input.size();
                char* out = output.data();
                std::size_t outLeft = output.size();
                const std::size_t done = iconv(converter, &in, &inLeft, &out, &outLeft);
                iconv_close(converter);
                if (done == static_cast<std::size_t>(-1)) {
                    Warn(*runtime, "qz_convert_string_encoding: the text is not valid \"" + source +
                                       "\" (" + std::strerror(errno) + ")");
                } else {
                    output.resize(output.size() - outLeft);
                    result = SaveText(*runtime, "qz_convert_string_encoding", output, name);
                }
            }
        }
    }
    Return(runtime);
    return result;
}

// ---- Messages ----

#define WEBSTEP_DEFINE_MESSAGE(function, level)                   \
    WEBSTEP_API int function(const char* format, ...) {           \
        CScriptRuntime* runtime = Enter(#function);               \
        if (runtime == nullptr)                                   \
            return -1;                                            \
        va_list list;                                             \
        va_start(list, format);                                   \
        const int length = Format(*runtime, format, list);        \
        va_end(list);                                             \
        const int result = SendFormatted(runtime, level, length); \
        Return(runtime);                                          \
        return result;                                            \
    }
WEBSTEP_DEFINE_MESSAGE(qz_output_message, "output")
WEBSTEP_DEFINE_MESSAGE(qz_error_message, "error")
WEBSTEP_DEFINE_MESSAGE(qz_message, "message")
WEBSTEP_DEFINE_MESSAGE(qz_vuser_status_message, "status")
#undef WEBSTEP_DEFINE_MESSAGE

WEBSTEP_API int qz_log_message(const char* format, ...) {
    CScriptRuntime* runtime = Enter("qz_log_message");
    if (runtime == nullptr)
        return -1;
    va_list list;
    va_start(list, format);
    const int length = Format(*runtime, format, list);
    va_end(list);
    int result = length;
    if ((runtime->DebugClasses() & QZ_MSG_CLASS_DISABLE_LOG) == 0)
        result = SendFormatted(runtime, "log", length);
    Return(runtime);
    return result;
}

WEBSTEP_API unsigned int qz_set_debug_message(unsigned int classes, unsigned int on) {
    CScriptRuntime* runtime = Enter("qz_set_debug_message");
    if (runtime == nullptr)
        return 0;
    const unsigned now = on == QZ_SWITCH_OFF ? runtime->DebugClasses() & ~classes
                                             : runtime->DebugClasses() | classes;
    runtime->SetDebugClasses(now);
    Return(runtime);
    return now;
}

WEBSTEP_API unsigned int qz_get_debug_message(void) {
    CScriptRuntime* runtime = Enter("qz_get_debug_message");
    if (runtime == nullptr)
        return 0;
    const unsigned classes = runtime->DebugClasses();
    Return(runtime);
    return classes;
}

// ---- Control ----

WEBSTEP_API void qz_exit(int mode, int status) {
    CScriptRuntime* runtime = Enter("qz_exit");
    if (runtime == nullptr)
        std::abort();
    if (status == QZ_FAIL)
        runtime->SetExitFailed(true);
    switch (mode) {
        case QZ_EXIT_ACTION_AND_CONTINUE:
            runtime->Ask(ScriptLeave::ExitAction);
            break;
        case QZ_EXIT_ITERATION_AND_CONTINUE:
            runtime->Ask(ScriptLeave::ExitIteration);
            break;
        case QZ_EXIT_VUSER_AFTER_ITERATION:
            // The iteration goes on; the user ends after it.
            runtime->SetPending(ScriptLeave::ExitUserAfterIteration);
            break;
        case QZ_EXIT_VUSER_AFTER_ACTION:
            runtime->SetPending(ScriptLeave::ExitUserAfterAction);
            break;
        case QZ_EXIT_VUSER:
        default:
            runtime->Ask(ScriptLeave::ExitUser);
            break;
    }
    runtime->LeaveIfAsked();
    // Not armed (no action runs): nothing to leave.
    runtime->InScript(true);
}

WEBSTEP_API void qz_abort(void) {
    CScriptRuntime* runtime = Enter("qz_abort");
    if (runtime == nullptr)
        std::abort();
    runtime->Ask(ScriptLeave::Abort);
    runtime->LeaveIfAsked();
    runtime->InScript(true);
}

WEBSTEP_API void qz_continue_on_error(int on) {
    CScriptRuntime* runtime = Enter("qz_continue_on_error");
    if (runtime == nullptr)
        return;
    runtime->User().SetContinueOnError(on != 0);
    Return(runtime);
}

// ---- Identity ----

WEBSTEP_API void qz_whoami(int* user, char** group, int* scenario) {
    CScriptRuntime* runtime = Enter("qz_whoami");
    if (runtime == nullptr)
        return;
    char* name = runtime->Keep(runtime->Identity().group);
    const int number = static_cast<int>(runtime->User().User());
    // The writes go to the script's memory: a bad pointer is its crash.
    runtime->InScript(true);
    if (user != nullptr)
        *user = number;
    if (group != nullptr)
        *group = name;
    if (scenario != nullptr)
        *scenario = 0;
    runtime->InScript(false);
    Return(runtime);
}

WEBSTEP_API char* qz_get_host_name(void) {
    CScriptRuntime* runtime = Enter("qz_get_host_name");
    if (runtime == nullptr)
        return nullptr;
    char* result = nullptr;
    {
        std::string name = runtime->Identity().hostName;
        if (name.empty()) {
            char host[256] = {0};
            if (gethostname(host, sizeof host - 1) == 0)
                name = host;
        }
        result = runtime->Keep(name);
    }
    Return(runtime);
    return result;
}

WEBSTEP_API char* qz_get_vuser_ip(void) {
    CScriptRuntime* runtime = Enter("qz_get_vuser_ip");
    if (runtime == nullptr)
        return nullptr;
    char* result = runtime->Keep(runtime->Identity().ip);
    Return(runtime);
    return result;
}

WEBSTEP_API char* qz_get_attrib_string(const char* name) {
    CScriptRuntime* runtime = Enter("qz_get_attrib_string");
    if (runtime == nullptr)
        return nullptr;
    char* result = nullptr;
    {
        std::string key;
        if (NameOf(*runtime, name, "qz_get_attrib_string: the attribute name", key)) {
            const auto& attributes = runtime->Identity().attributes;
            const auto found = attributes.find(key);
            if (found != attributes.end())
                result = runtime->Keep(found->second);
        }
    }
    Return(runtime);
    return result;
}

WEBSTEP_API char* qz_decrypt(const char* text) {
    CScriptRuntime* runtime = Enter("qz_decrypt");
    if (runtime == nullptr)
        return nullptr;
    char* result = nullptr;
    {
        std::string encrypted;
        if (ReadText(text, kMaxText, encrypted) != TextRead::Ok) {
            Warn(*runtime, "qz_decrypt: the text is null or not readable");
            result = runtime->Keep(std::string());
        } else {
            // The same routine as a "qz_decrypt(...)" argument of web_set_user.
            result = runtime->Keep(UnwrapPasswordArgument("qz_decrypt(\"" + encrypted + "\")"));
        }
    }
    Return(runtime);
    return result;
}

// ---- Results ----

WEBSTEP_API int qz_rendezvous(const char* name) {
    CScriptRuntime* runtime = Enter("qz_rendezvous");
    if (runtime == nullptr)
        return -1;
    {
        std::string text;
        if (NameOf(*runtime, name, "qz_rendezvous: the name", text))
            runtime->Message("rendezvous", text);
    }
    Return(runtime);
    return 0;
}

WEBSTEP_API int qz_user_data_point(const char* name, double value) {
    CScriptRuntime* runtime = Enter("qz_user_data_point");
    if (runtime == nullptr)
        return -1;
    int result = -1;
    {
        std::string text;
        if (NameOf(*runtime, name, "qz_user_data_point: the name", text)) {
            char number[64];
            std::snprintf(number, sizeof number, "%.17g", value);
            runtime->Message("data-point", text + "=" + number);
            result = 0;
        }
    }
    Return(runtime);
    return result;
}

}  // extern "C"
