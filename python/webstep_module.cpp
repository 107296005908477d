// _webstep: the extension under the Python package webstep. A script folder
// opened (and its C compiled) once per process, and virtual users driven a
// piece at a time: init, one iteration, end, each returning what the user
// did as plain tuples that webstep/__init__.py turns into event objects.
//
// The interpreter lock is released while a user runs (its C script, its
// requests, its think time), so other Python threads, and gevent's hub when
// the calls are made on its thread pool, go on meanwhile.
#include <dlfcn.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cctype>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/CompiledScript.h"
#include "webstep/replay/CurlTransport.h"
#include "webstep/replay/LoadRun.h"
#include "webstep/replay/VirtualUser.h"

namespace py = pybind11;

namespace {

// Raised for a folder that cannot be opened or C that does not compile;
// made a subclass of webstep.ScriptError by the package.
PyObject* g_scriptError = nullptr;

[[noreturn]] void ThrowScriptError(const std::string& message) {
    PyErr_SetString(g_scriptError != nullptr ? g_scriptError : PyExc_RuntimeError, message.c_str());
    throw py::error_already_set();
}

// Compiled scripts find the runtime functions (qz_..., web_...) by name in
// the process's global scope, but Python loads extensions and their
// libraries with RTLD_LOCAL: the webstep library is made global once.
void MakeRuntimeGlobal() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&CLoadRun::ParseThinkTime), &info) == 0 ||
        info.dli_fname == nullptr)
        return;
    // Stays open for the life of the process, as the extension does.
    dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}

// Real time whose waits end at once when the user is asked to stop.
class CStopClock : public CUserClock {
public:
    double Now() override {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
    void Sleep(double seconds) override {
        if (!(seconds > 0))
            return;
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wake.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return m_stop; });
    }
    void Stop() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        m_wake.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;
};

const char* StatusText(TransactionRecord::Status status) {
    switch (status) {
        case TransactionRecord::Status::Pass:
            return "pass";
        case TransactionRecord::Status::Fail:
            return "fail";
        default:
            return "stop";
    }
}

// What a user did during one call, kept as plain values while the
// interpreter lock is released, turned into Python tuples afterwards.
struct Event {
    enum class Kind { Request, Transaction, Step, Message };
    explicit Event(Kind kind) : kind(kind) {}
    Kind kind;
    std::string name, method, url, error, transaction, text;
    int status = 0;
    double duration = 0, thinkTime = 0;
    std::size_t bytes = 0;
    unsigned iteration = 0;
};

class CEventCollector : public CReplayObserver {
public:
    void OnRequest(const RequestRecord& request, const HttpResponse& response) override {
        Event event{Event::Kind::Request};
        event.name = request.step;
        event.method = request.request.method;
        event.url = request.request.url;
        event.status = request.status;
        event.duration = response.timings.total;
        event.bytes = request.responseBytes;
        event.error = request.error;
        event.transaction = request.transaction;
        event.iteration = request.iteration;
        m_events.push_back(std::move(event));
    }
    void OnStep(const StepRecord& step) override {
        if (!step.failed)
            return;
        Event event{Event::Kind::Step};
        event.name = step.name.empty() ? step.function : step.name;
        event.method = step.function;
        event.error = step.message;
        m_events.push_back(std::move(event));
    }
    void OnTransaction(const TransactionRecord& transaction) override {
        Event event{Event::Kind::Transaction};
        event.name = transaction.name;
        event.text = StatusText(transaction.status);
        event.duration = transaction.duration;
        event.thinkTime = transaction.thinkTime;
        event.iteration = transaction.iteration;
        event.transaction = transaction.parent;
        m_events.push_back(std::move(event));
    }
    void OnMessage(const std::string& level, const std::string& text) override {
        Event event{Event::Kind::Message};
        event.name = level;
        event.text = text;
        m_events.push_back(std::move(event));
    }
    std::vector<Event> Take() { return std::exchange(m_events, {}); }

private:
    std::vector<Event> m_events;
};

py::list ToPython(const std::vector<Event>& events) {
    py::list list;
    for (const Event& event : events) {
        switch (event.kind) {
            case Event::Kind::Request:
                list.append(py::make_tuple(
                    "request", event.name, event.method, event.url, event.status, event.duration,
                    event.bytes,
                    event.error.empty() ? py::object(py::none()) : py::object(py::str(event.error)),
                    event.transaction, event.iteration));
                break;
            case Event::Kind::Transaction:
                list.append(py::make_tuple("transaction", event.name, event.text, event.duration,
                                           event.thinkTime, event.iteration, event.transaction));
                break;
            case Event::Kind::Step:
                list.append(py::make_tuple("step", event.name, event.method, event.error));
                break;
            case Event::Kind::Message:
                list.append(py::make_tuple("message", event.name, event.text));
                break;
        }
    }
    return list;
}

// A script folder opened, its parameters read and its C compiled, once; any
// number of users share it (from any threads).
class CPyScript {
public:
    CPyScript(const std::string& folder, bool compile, unsigned userCount) : m_path(folder) {
        if (userCount == 0)
            throw py::value_error("user_count must be at least 1");
        bool ok = false;
        std::string error;
        {
            py::gil_scoped_release release;
            ok = Open(compile, userCount, error);
        }
        if (!ok)
            ThrowScriptError(error);
    }

    const std::string& Path() const { return m_path; }
    bool Compiled() const { return m_compiled; }
    const CScriptFolder& Folder() const { return m_folder; }
    const CParameterSet& Parameters() const { return m_parameters; }
    const CCompiledScript& Script() const { return m_script; }
    std::vector<std::string> Messages() const {
        std::vector<std::string> lines;
        for (const FolderMessage& message : m_messages)
            lines.push_back(message.Format());
        return lines;
    }
    unsigned Iterations() const { return m_folder.Iterations(); }
    unsigned UserCount() const { return m_parameters.UserCount(); }
    void SetUserCount(unsigned users) {
        if (users == 0)
            throw py::value_error("user_count must be at least 1");
        m_parameters.SetUserCount(users);
    }
    std::vector<std::string> Actions() const {
        std::vector<std::string> names;
        for (const FolderAction& action : m_folder.Actions())
            names.push_back(action.name);
        return names;
    }
    const CurlTransportOptions& TransportOptions() const { return m_transport; }

    // The folder a user with this think-time override reads its settings
    // from: the script's own, or a copy opened once per override.
    const CScriptFolder& FolderFor(const std::string& thinkTime) {
        if (thinkTime.empty())
            return m_folder;
        std::lock_guard<std::mutex> lock(m_mutex);
        auto found = m_thinkFolders.find(thinkTime);
        if (found != m_thinkFolders.end())
            return *found->second;
        ThinkTimeSettings settings = m_folder.Settings().ThinkTime();
        std::string error;
        if (!CLoadRun::ParseThinkTime(thinkTime, settings, error))
            throw py::value_error("think_time: " + error);
        auto copy = std::make_unique<CScriptFolder>();
        FolderMessages ignored;
        if (!copy->Open(m_path, ignored))
            ThrowScriptError("\"" + m_path + "\" is no longer a readable script folder");
        // The copy belongs to this script; its settings are not shared.
        const_cast<CScriptSettings&>(copy->Settings()).SetThinkTime(settings);
        return *m_thinkFolders.emplace(thinkTime, std::move(copy)).first->second;
    }

private:
    bool Open(bool compile, unsigned userCount, std::string& error) {
        if (!m_folder.Open(m_path, m_messages)) {
            error = "\"" + m_path + "\" is not a readable script folder";
            for (const FolderMessage& message : m_messages)
                error += "\n" + message.Format();
            return false;
        }
        m_parameters.SetUserCount(userCount);
        m_parameters.Load(m_folder.ParameterPath(), m_folder.Dir(), m_messages);
        if (compile && m_folder.HasDescription()) {
            if (!m_script.Load(m_folder, m_messages)) {
                error = m_script.CompileFailed()
                            ? "the C of \"" + m_path + "\" does not compile:\n" + m_script.Error()
                            : m_script.Error();
                return false;
            }
            m_compiled = true;
        }
        m_transport = CCurlTransport::OptionsFromSettingsFile(m_folder.SettingsPath());
        return true;
    }

    std::string m_path;
    CScriptFolder m_folder;
    CParameterSet m_parameters;
    CCompiledScript m_script;
    FolderMessages m_messages;
    CurlTransportOptions m_transport;
    bool m_compiled = false;
    std::mutex m_mutex;
    std::map<std::string, std::unique_ptr<CScriptFolder>> m_thinkFolders;
};

// One virtual user of a script, driven by init / iteration / end calls. The
// calls of one user are serialised by a mutex (taken with the interpreter
// lock released); RequestStop may come from any thread at any time.
class CPyUser {
public:
    CPyUser(std::shared_ptr<CPyScript> script, long long userId, const py::dict& params,
            const std::vector<std::string>& connectTo, const std::vector<std::string>& resolve,
            bool insecure, const std::string& thinkTime, const py::dict& attributes)
        : m_script(std::move(script)) {
        if (userId < 1 || userId > 0x7fffffff)
            throw py::value_error("user_id must be a number from 1 to 2147483647, not " +
                                  std::to_string(userId));
        std::vector<std::pair<std::string, std::string>> saved;
        for (auto item : params) {
            if (!py::isinstance<py::str>(item.first))
                throw py::type_error("params: the names must be str");
            const std::string name = item.first.cast<std::string>();
            if (name.empty())
                throw py::value_error("params: a parameter name cannot be empty");
            saved.emplace_back(name, py::str(item.second).cast<std::string>());
        }
        m_identity.group = "group1";
        for (auto item : attributes) {
            if (!py::isinstance<py::str>(item.first))
                throw py::type_error("attributes: the names must be str");
            m_identity.attributes[item.first.cast<std::string>()] =
                py::str(item.second).cast<std::string>();
        }
        CurlTransportOptions options = m_script->TransportOptions();
        if (insecure)
            options.verifyTls = false;
        options.connectTo = connectTo;
        options.resolve = resolve;
        m_transport = std::make_unique<CCurlTransport>(options);
        if (!m_transport->SetupError().empty())
            throw py::value_error(m_transport->SetupError());
        const CScriptFolder& folder = m_script->FolderFor(thinkTime);
        m_folder = &folder;
        VirtualUserOptions userOptions;
        userOptions.user = static_cast<unsigned>(userId);
        m_user = std::make_unique<CVirtualUser>(folder, m_script->Parameters(), *m_transport,
                                                m_clock, userOptions);
        m_user->SetObserver(&m_events);
        for (const auto& [name, value] : saved)
            m_user->Parameters().SaveParameter(name, value);
        m_random.seed(0x9E3779B97F4A7C15ULL + userOptions.user);
        if (m_script->Compiled()) {
            m_session = m_script->Script().OpenSession(*m_user, m_clock, &m_events, &m_identity);
            if (!m_session->Loaded())
                ThrowScriptError(m_session->Result().message);
        }
    }

    unsigned UserId() const { return m_user->User(); }

    py::list RunInit() {
        std::vector<Event> events;
        {
            py::gil_scoped_release release;
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stage != Stage::New)
                Misuse("run_init() runs once, before the iterations");
            m_stage = Stage::Running;
            if (m_session) {
                if (!m_session->RunInit())
                    m_mustEnd = true;
            } else {
                m_user->BeginIteration(1);
                RunPlain(Group::Init);
                m_user->EndIteration();
            }
            ForwardParameterMessages();
            events = m_events.Take();
        }
        return ToPython(events);
    }

    py::list RunIteration() {
        std::vector<Event> events;
        {
            py::gil_scoped_release release;
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stage == Stage::New)
                Misuse("run_init() must run before run_iteration()");
            if (m_stage == Stage::Ended)
                Misuse("the user has run its end action; it runs no more iterations");
            if (m_mustEnd || m_user->StopRequested()) {
                // Nothing more runs; the caller goes on to run_end().
                m_mustEnd = true;
            } else {
                ++m_iteration;
                m_iterationStart = m_clock.Now();
                if (m_session) {
                    if (!m_session->RunIteration())
                        m_mustEnd = true;
                    m_lastFailed = m_session->LastIterationFailed();
                } else {
                    const std::size_t failedBefore = m_user->FailedSteps();
                    m_user->BeginIteration(m_iteration);
                    RunPlain(Group::Run);
                    m_lastFailed = m_user->FailedSteps() > failedBefore;
                    m_user->EndIteration();
                }
            }
            ForwardParameterMessages();
            events = m_events.Take();
        }
        return ToPython(events);
    }

    py::list RunEnd() {
        std::vector<Event> events;
        {
            py::gil_scoped_release release;
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stage == Stage::Ended)
                Misuse("run_end() runs once");
            // A user that never ran init has nothing to end.
            if (m_stage == Stage::Running) {
                if (m_session) {
                    m_session->RunEnd();
                } else if (!m_plainEnded) {
                    m_user->EnterEndAction();
                    RunPlain(Group::End);
                    m_user->EndIteration();
                }
            }
            m_stage = Stage::Ended;
            ForwardParameterMessages();
            events = m_events.Take();
        }
        return ToPython(events);
    }

    double Pacing() {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_iteration == 0 || m_mustEnd || m_stage != Stage::Running)
            return 0;
        if (m_session)
            return m_session->PacingWait();
        return m_folder->Settings().Pacing().Wait(m_clock.Now() - m_iterationStart, m_random);
    }

    void RequestStop() {
        m_user->RequestStop();
        m_clock.Stop();
    }

    bool MustEnd() const {
        return m_mustEnd.load() || m_user->Parameters().Aborted() || m_user->StopRequested();
    }
    unsigned Iteration() const { return m_iteration.load(); }
    bool LastIterationFailed() const { return m_lastFailed.load(); }
    bool StopRequested() const { return m_user->StopRequested(); }

    // "completed", "ended", "aborted", "crashed", "timed out", "not run";
    // none before the end.
    std::optional<std::string> Ending() {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stage != Stage::Ended)
            return std::nullopt;
        if (!m_session)
            return m_user->Parameters().Aborted() ? "ended" : "completed";
        switch (m_session->Result().ending) {
            case ScriptUserResult::Ending::Completed:
                return "completed";
            case ScriptUserResult::Ending::Ended:
                return "ended";
            case ScriptUserResult::Ending::Aborted:
                return "aborted";
            case ScriptUserResult::Ending::Crashed:
                return "crashed";
            case ScriptUserResult::Ending::TimedOut:
                return "timed out";
            default:
                return "not run";
        }
    }
    std::string EndMessage() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_session ? m_session->Result().message : std::string();
    }

private:
    enum class Stage { New, Running, Ended };
    enum class Group { Init, Run, End };

    // Thrown with the interpreter lock released; Guarded makes it a
    // RuntimeError once the lock is back.
    [[noreturn]] static void Misuse(const std::string& message) { throw MisuseError{message}; }

    // The parameters' own warnings (two live users with one number, a
    // table that ran out) come along as messages.
    void ForwardParameterMessages() {
        const FolderMessages& messages = m_user->Parameters().Messages();
        for (; m_parameterMessages < messages.size(); ++m_parameterMessages) {
            const FolderMessage& message = messages[m_parameterMessages];
            m_events.OnMessage(message.kind == FolderMessage::Kind::Note ? "note" : "warning",
                               message.Format());
        }
    }

    // Step calls in order, without compiling: the run logic's groups for a
    // folder with a description, otherwise the action files by name (those
    // holding "init" first, "end" last, the others the run group).
    void RunPlain(Group which) {
        std::vector<std::string> actions;
        if (m_folder->HasDescription()) {
            const CRunLogic& logic = m_folder->RunLogic();
            CRunLogic::Expand(which == Group::Init  ? logic.Init()
                              : which == Group::Run ? logic.Run()
                                                    : logic.End(),
                              m_random, actions);
        } else {
            for (const FolderAction& action : m_folder->Actions()) {
                std::string name = action.name;
                for (char& c : name)
                    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
                const Group group = name.find("init") != std::string::npos  ? Group::Init
                                    : name.find("end") != std::string::npos ? Group::End
                                                                            : Group::Run;
                if (group == which)
                    actions.push_back(action.name);
            }
        }
        for (const std::string& action : actions) {
            m_user->RunActionFile(action);
            if (m_user->Next() != UserNext::Continue)
                break;
        }
        if (m_user->Next() == UserNext::EndUser) {
            m_mustEnd = true;
            // A user that had to end (a parameter ran out) skips its end
            // action; a stopped one runs it.
            if (!m_user->StopRequested())
                m_plainEnded = true;
        }
    }

public:
    struct MisuseError {
        std::string message;
    };

private:
    std::shared_ptr<CPyScript> m_script;
    const CScriptFolder* m_folder = nullptr;
    CStopClock m_clock;
    CEventCollector m_events;
    ScriptIdentity m_identity;
    std::unique_ptr<CCurlTransport> m_transport;
    std::unique_ptr<CVirtualUser> m_user;
    std::unique_ptr<CCompiledScript::CSession> m_session;
    std::mt19937_64 m_random;
    std::mutex m_mutex;
    Stage m_stage = Stage::New;
    std::atomic<unsigned> m_iteration{0};
    std::atomic<bool> m_mustEnd{false};
    std::atomic<bool> m_lastFailed{false};
    bool m_plainEnded = false;
    std::size_t m_parameterMessages = 0;
    double m_iterationStart = 0;
};

// Turns a misuse found with the interpreter lock released into a Python
// RuntimeError once the lock is back.
template <typename Call>
py::list Guarded(CPyUser& user, Call call) {
    try {
        return call();
    } catch (const CPyUser::MisuseError& misuse) {
        throw std::runtime_error(misuse.message);
    }
}

std::vector<std::string> Strings(const py::object& value, const char* what) {
    std::vector<std::string> out;
    if (value.is_none())
        return out;
    if (py::isinstance<py::str>(value))
        return {value.cast<std::string>()};
    for (auto item : value) {
        if (!py::isinstance<py::str>(item))
            throw py::type_error(std::string(what) + ": expected str entries such as " +
                                 (std::string(what) == "resolve" ? "\"HOST:PORT:ADDR\""
                                                                 : "\"HOST:PORT:HOST2:PORT2\""));
        out.push_back(item.cast<std::string>());
    }
    return out;
}

}  // namespace

PYBIND11_MODULE(_webstep, module) {
    module.doc() = "webstep's extension; use the package webstep.";
    MakeRuntimeGlobal();
    static py::exception<std::runtime_error> scriptError(module, "ScriptError");
    g_scriptError = scriptError.ptr();

    py::class_<CPyScript, std::shared_ptr<CPyScript>>(module, "Script")
        .def(py::init<const std::string&, bool, unsigned>(), py::arg("folder"),
             py::arg("compile") = true, py::arg("user_count") = 1)
        .def_property_readonly("folder", &CPyScript::Path)
        .def_property_readonly("compiled", &CPyScript::Compiled)
        .def_property_readonly("messages", &CPyScript::Messages)
        .def_property_readonly("iterations", &CPyScript::Iterations)
        .def_property_readonly("actions", &CPyScript::Actions)
        .def_property("user_count", &CPyScript::UserCount, &CPyScript::SetUserCount);

    py::class_<CPyUser>(module, "VirtualUser")
        .def(py::init([](std::shared_ptr<CPyScript> script, long long userId,
                         const py::object& params, const py::object& connectTo,
                         const py::object& resolve, bool insecure, const py::object& thinkTime,
                         const py::object& attributes) {
                 if (!script)
                     throw py::type_error("script: expected a webstep.Script");
                 return std::make_unique<CPyUser>(
                     script, userId, params.is_none() ? py::dict() : py::dict(params),
                     Strings(connectTo, "connect_to"), Strings(resolve, "resolve"), insecure,
                     thinkTime.is_none() ? std::string() : thinkTime.cast<std::string>(),
                     attributes.is_none() ? py::dict() : py::dict(attributes));
             }),
             py::arg("script"), py::arg("user_id"), py::arg("params") = py::none(),
             py::arg("connect_to") = py::none(), py::arg("resolve") = py::none(),
             py::arg("insecure") = false, py::arg("think_time") = py::none(),
             py::arg("attributes") = py::none())
        .def("run_init",
             [](CPyUser& user) { return Guarded(user, [&] { return user.RunInit(); }); })
        .def("run_iteration",
             [](CPyUser& user) { return Guarded(user, [&] { return user.RunIteration(); }); })
        .def("run_end", [](CPyUser& user) { return Guarded(user, [&] { return user.RunEnd(); }); })
        .def("pacing", &CPyUser::Pacing, py::call_guard<py::gil_scoped_release>())
        .def("request_stop", &CPyUser::RequestStop)
        .def_property_readonly("user_id", &CPyUser::UserId)
        .def_property_readonly("iteration", &CPyUser::Iteration)
        .def_property_readonly("last_iteration_failed", &CPyUser::LastIterationFailed)
        .def_property_readonly("must_end", &CPyUser::MustEnd)
        .def_property_readonly("stop_requested", &CPyUser::StopRequested)
        .def_property_readonly(
            "ending", py::cpp_function(&CPyUser::Ending, py::call_guard<py::gil_scoped_release>()))
        .def_property_readonly(
            "end_message",
            py::cpp_function(&CPyUser::EndMessage, py::call_guard<py::gil_scoped_release>()));
}
