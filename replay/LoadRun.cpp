#include "webstep/replay/LoadRun.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "webstep/replay/RunChannel.h"
#include "webstep/replay/UserClock.h"

namespace {

double SteadyNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void CloseFd(int& fd) {
    if (fd >= 0)
        close(fd);
    fd = -1;
}

std::string SignalText(int signal) {
    const char* name = strsignal(signal);
    return "signal " + std::to_string(signal) +
           (name != nullptr ? std::string(" (") + name + ")" : "");
}

bool ParseNumber(const std::string& text, double& value) {
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0])))
        return false;
    char* end = nullptr;
    errno = 0;
    value = std::strtod(text.c_str(), &end);
    return errno == 0 && end == text.c_str() + text.size() && std::isfinite(value);
}

}  // namespace

// One worker: its users, its process or thread, its two channels and what
// the parent knows of its users.
struct CLoadRun::Worker {
    unsigned index = 0;
    std::vector<unsigned> users;
    pid_t pid = -1;
    std::thread thread;
    // Records: worker -> parent (a pipe). Control: parent -> worker (a
    // socket pair, so that the parent's send to a dead worker is an error
    // and not SIGPIPE).
    int dataRead = -1, dataWrite = -1;
    int controlParent = -1, controlWorker = -1;
    CRunChannelReader reader;
    bool open = false;
    bool done = false;
    bool killed = false;
    std::string broken;
    std::set<unsigned> started, ended;
    std::map<unsigned, std::pair<unsigned, unsigned>> iterations;  // begun, failed
};

// What the threads of one worker share.
struct CLoadRun::Shared {
    explicit Shared(int fd) : writer(fd) {}
    CRunChannelWriter writer;
    std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    std::map<unsigned, CVirtualUser*> running;

    // Every user finishes its call and ends; sleeping clocks wake.
    void Stop() {
        {
            std::lock_guard<std::mutex> lock(mutex);
            stopping = true;
            for (auto& [user, virtualUser] : running)
                virtualUser->RequestStop();
        }
        wake.notify_all();
    }
};

namespace {

// Real time whose waits end early once the worker stops: a user thinking or
// pacing leaves at once.
class CStoppableClock : public CSystemClock {
public:
    CStoppableClock(std::mutex& mutex, std::condition_variable& wake, const bool& stopping)
        : m_mutex(mutex), m_wake(wake), m_stopping(stopping) {}
    void Sleep(double seconds) override {
        if (!(seconds > 0))
            return;
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wake.wait_for(lock, std::chrono::duration<double>(seconds),
                        [this] { return m_stopping; });
    }

private:
    std::mutex& m_mutex;
    std::condition_variable& m_wake;
    const bool& m_stopping;
};

// Encodes what a user reports into the worker's channel.
class CChannelObserver : public CReplayObserver {
public:
    CChannelObserver(CRunChannelWriter& writer, unsigned user) : m_writer(writer), m_user(user) {}
    void OnRequest(const RequestRecord& request, const HttpResponse& response) override {
        m_frame.clear();
        CRunChannel::AppendRequest(m_frame, request, response);
        m_writer.Append(m_frame);
    }
    void OnStep(const StepRecord& step) override {
        m_frame.clear();
        CRunChannel::AppendStep(m_frame, m_user, step);
        m_writer.Append(m_frame);
    }
    void OnTransaction(const TransactionRecord& transaction) override {
        m_frame.clear();
        CRunChannel::AppendTransaction(m_frame, transaction);
        m_writer.Append(m_frame);
    }
    void OnMessage(const std::string& level, const std::string& text) override {
        m_frame.clear();
        CRunChannel::AppendMessage(m_frame, m_user, level, text);
        m_writer.Append(m_frame);
    }
    void Iteration(unsigned iteration, bool failed, double time) {
        m_frame.clear();
        CRunChannel::AppendIteration(m_frame, m_user, iteration, failed, time);
        m_writer.Append(m_frame);
    }
    void Start(double time) {
        m_frame.clear();
        CRunChannel::AppendUserStart(m_frame, m_user, time);
        m_writer.Append(m_frame);
    }
    void End(const UserEndRecord& end) {
        m_frame.clear();
        CRunChannel::AppendUserEnd(m_frame, end);
        m_writer.Append(m_frame);
    }

private:
    CRunChannelWriter& m_writer;
    unsigned m_user;
    // Reused: a user's frames are encoded on its own thread without a lock.
    std::string m_frame;
};

struct UserThreadArgs {
    std::function<void()> body;
};

void* UserThreadMain(void* raw) {
    std::unique_ptr<UserThreadArgs> args(static_cast<UserThreadArgs*>(raw));
    args->body();
    return nullptr;
}

}  // namespace

CLoadRun::CLoadRun(std::string folder, LoadRunOptions options)
    : m_folderPath(std::move(folder)), m_options(std::move(options)), m_parentPid(getpid()) {
    if (pipe2(m_wake, O_CLOEXEC | O_NONBLOCK) != 0)
        m_wake[0] = m_wake[1] = -1;
}

CLoadRun::~CLoadRun() {
    CloseFd(m_wake[0]);
    CloseFd(m_wake[1]);
}

void CLoadRun::RequestStop() {
    // A worker inherits its parent's signal handlers through fork: there
    // this object is a copy and must not count.
    if (getpid() != m_parentPid)
        return;
    m_stops.fetch_add(1);
    if (m_wake[1] >= 0) {
        const char byte = 's';
        const ssize_t ignored = write(m_wake[1], &byte, 1);
        (void)ignored;
    }
}

bool CLoadRun::ParseThinkTime(const std::string& text, ThinkTimeSettings& settings,
                              std::string& error) {
    const std::string expected =
        "think time \"" + text +
        "\": expected none, recorded, multiply=FACTOR (a number of 0 or more) or random=LOW-HIGH "
        "(per cent of the recorded time, 0 <= LOW <= HIGH)";
    if (text == "none") {
        settings.mode = ThinkTimeSettings::Mode::Ignore;
        return true;
    }
    if (text == "recorded") {
        settings.mode = ThinkTimeSettings::Mode::Recorded;
        return true;
    }
    if (text.rfind("multiply=", 0) == 0) {
        double factor = 0;
        if (!ParseNumber(text.substr(9), factor) || factor < 0) {
            error = expected;
            return false;
        }
        settings.mode = ThinkTimeSettings::Mode::Multiply;
        settings.factor = factor;
        return true;
    }
    if (text.rfind("random=", 0) == 0) {
        const std::string range = text.substr(7);
        // The dash after the first character: LOW itself is never negative.
        const std::size_t dash = range.find('-', 1);
        double low = 0, high = 0;
        if (dash == std::string::npos || !ParseNumber(range.substr(0, dash), low) ||
            !ParseNumber(range.substr(dash + 1), high) || low < 0 || high < low) {
            error = expected;
            return false;
        }
        settings.mode = ThinkTimeSettings::Mode::Random;
        settings.randomLow = low;
        settings.randomHigh = high;
        return true;
    }
    error = expected;
    return false;
}

bool CLoadRun::ParseParam(const std::string& text, std::string& name, std::string& value,
                          std::string& error) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        error = "a parameter value NAME=VALUE, not \"" + text + "\"";
        return false;
    }
    name = text.substr(0, equals);
    value = text.substr(equals + 1);
    return true;
}

void CLoadRun::RunPlainFolder(CVirtualUser& user, const CScriptFolder& folder,
                              unsigned iterations) {
    auto lower = [](std::string text) {
        for (char& c : text)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return text;
    };
    std::vector<std::string> init, run, end;
    for (const FolderAction& action : folder.Actions()) {
        const std::string name = lower(action.name);
        if (name.find("init") != std::string::npos)
            init.push_back(action.name);
        else if (name.find("end") != std::string::npos)
            end.push_back(action.name);
        else
            run.push_back(action.name);
    }
    auto group = [&user](const std::vector<std::string>& actions) {
        for (const std::string& action : actions) {
            user.RunActionFile(action);
            if (user.Next() != UserNext::Continue)
                break;
        }
    };
    const unsigned count = iterations != 0 ? iterations : folder.Iterations();
    user.BeginIteration(1);
    group(init);
    user.EndIteration();
    for (unsigned i = 1; i <= count && user.Next() != UserNext::EndUser && !user.StopRequested();
         ++i) {
        const std::size_t failedBefore = user.FailedSteps();
        user.BeginIteration(i);
        group(run);
        const bool failed = user.FailedSteps() > failedBefore;
        user.EndIteration();
        user.IterationEnded(i, failed);
    }
    // A user that had to end (a parameter ran out) skips its end action; a
    // stopped one runs it.
    if (user.Next() != UserNext::EndUser || user.StopRequested()) {
        user.EnterEndAction();
        group(end);
        user.EndIteration();
    }
}

bool CLoadRun::Prepare() {
    if (m_prepared)
        return true;
    m_error.clear();
    const LoadRunOptions& options = m_options;
    if (options.users == 0) {
        m_error = "a load run needs at least 1 user";
        return false;
    }
    if (!(options.rampUp >= 0) || !std::isfinite(options.rampUp)) {
        m_error = "the ramp-up must be 0 or more seconds";
        return false;
    }
    if (!(options.duration >= 0) || !std::isfinite(options.duration)) {
        m_error = "the duration must be 0 (use the iterations) or more seconds";
        return false;
    }
    if (!(options.stepTimeout >= 0) || !std::isfinite(options.stepTimeout)) {
        m_error = "the step timeout must be 0 (none) or more seconds";
        return false;
    }
    if (!options.transport) {
        m_error = "a load run needs a transport factory (LoadRunOptions::transport)";
        return false;
    }
    const std::size_t minimumStack = static_cast<std::size_t>(PTHREAD_STACK_MIN);
    if (options.threadStack < minimumStack) {
        m_error =
            "the users' thread stack must be at least " + std::to_string(minimumStack) + " bytes";
        return false;
    }
    m_params.clear();
    for (const std::string& text : options.params) {
        std::string name, value;
        if (!ParseParam(text, name, value, m_error))
            return false;
        m_params.emplace_back(name, value);
    }
    ThinkTimeSettings thinkTime;
    if (!options.thinkTime.empty() && !ParseThinkTime(options.thinkTime, thinkTime, m_error))
        return false;
    if (!m_folder.Open(m_folderPath, m_messages)) {
        m_error = "\"" + m_folderPath + "\" is not a readable script folder";
        return false;
    }
    if (!options.thinkTime.empty()) {
        // The override keeps the folder's cap on each wait.
        ThinkTimeSettings settings = m_folder.Settings().ThinkTime();
        ParseThinkTime(options.thinkTime, settings, m_error);
        m_folder.Settings().SetThinkTime(settings);
    }
    m_parameters.SetUserCount(options.users);
    m_parameters.Load(m_folder.ParameterPath(), m_folder.Dir(), m_messages);
    m_compiled = false;
    if (options.compile && m_folder.HasDescription()) {
        CompiledScriptOptions compiled;
        compiled.compile = options.compileOptions;
        compiled.stepTimeout = options.stepTimeout;
        compiled.identity = options.identity;
        compiled.seed = options.seed;
        if (!m_script.Load(m_folder, m_messages, compiled)) {
            m_compileFailed = m_script.CompileFailed();
            m_error = m_script.Error();
            return false;
        }
        m_compiled = true;
    }
    unsigned workers = options.workers;
    if (workers == 0)
        workers = std::max(1u, std::thread::hardware_concurrency());
    m_workers = std::min(workers, options.users);
    m_prepared = true;
    return true;
}

LoadRunResult CLoadRun::Fail(const std::string& error) {
    LoadRunResult result;
    result.error = error;
    result.usersPlanned = m_options.users;
    result.failed = true;
    return result;
}

void CLoadRun::RunUser(Shared& shared, unsigned user, double startAt) {
    {
        std::unique_lock<std::mutex> lock(shared.mutex);
        const double wait = startAt - SteadyNow();
        if (wait > 0)
            shared.wake.wait_for(lock, std::chrono::duration<double>(wait),
                                 [&shared] { return shared.stopping; });
        // Users not started when the run stops never start.
        if (shared.stopping)
            return;
    }
    CStoppableClock clock(shared.mutex, shared.wake, shared.stopping);
    CChannelObserver observer(shared.writer, user);
    UserEndRecord end;
    end.user = user;
    observer.Start(clock.Now());
    try {
        std::unique_ptr<CTransport> transport = m_options.transport(user);
        if (!transport) {
            end.failed = true;
            end.message =
                "user " + std::to_string(user) + ": the transport factory made no transport";
            observer.OnMessage("error", end.message);
        } else {
            VirtualUserOptions options = m_options.user;
            options.user = user;
            options.seed = m_options.seed;
            CVirtualUser virtualUser(m_folder, m_parameters, *transport, clock, options);
            for (const auto& [name, value] : m_params)
                virtualUser.Parameters().SaveParameter(name, value);
            virtualUser.SetObserver(&observer);
            unsigned begun = 0, failed = 0;
            virtualUser.SetIterationListener([&](unsigned iteration, bool iterationFailed) {
                ++begun;
                failed += iterationFailed ? 1 : 0;
                observer.Iteration(iteration, iterationFailed, clock.Now());
            });
            // Listed while it lives, so that a stop reaches it.
            struct Listing {
                Listing(Shared& shared, unsigned user, CVirtualUser& virtualUser)
                    : shared(shared), user(user) {
                    std::lock_guard<std::mutex> lock(shared.mutex);
                    shared.running[user] = &virtualUser;
                    if (shared.stopping)
                        virtualUser.RequestStop();
                }
                ~Listing() {
                    std::lock_guard<std::mutex> lock(shared.mutex);
                    shared.running.erase(user);
                }
                Shared& shared;
                unsigned user;
            } listing(shared, user, virtualUser);
            const unsigned iterations = m_options.duration > 0
                                            ? std::numeric_limits<unsigned>::max()
                                            : m_options.iterations;
            if (m_compiled) {
                const ScriptUserResult result =
                    m_script.RunUser(virtualUser, clock, &observer, iterations);
                end.iterations = result.iterations;
                end.failedIterations = result.failedIterations;
                switch (result.ending) {
                    case ScriptUserResult::Ending::Crashed:
                    case ScriptUserResult::Ending::TimedOut:
                    case ScriptUserResult::Ending::Aborted:
                    case ScriptUserResult::Ending::NotRun:
                        end.failed = true;
                        end.message = result.message.empty()
                                          ? "user " + std::to_string(user) + ": the script aborted"
                                          : result.message;
                        break;
                    default:
                        break;
                }
            } else {
                if (m_folder.HasDescription())
                    virtualUser.Run(iterations);
                else
                    RunPlainFolder(virtualUser, m_folder, iterations);
                end.iterations = begun;
                end.failedIterations = failed;
            }
            if (!end.failed && virtualUser.Parameters().Aborted()) {
                end.failed = true;
                end.message = "user " + std::to_string(user) +
                              ": a parameter ran out of values (its rule aborts the user)";
            }
        }
    } catch (const std::exception& exception) {
        end.failed = true;
        end.message = "user " + std::to_string(user) + ": internal error: " + exception.what();
    }
    end.time = clock.Now();
    observer.End(end);
}

void CLoadRun::WorkerMain(Worker& worker) {
    Shared shared(worker.dataWrite);
    std::atomic<bool> finished{false};
    const double deadline = m_options.duration > 0 ? m_runStart + m_options.duration : 0;
    // Stop orders from the parent (or the parent's end), and the duration.
    std::thread control([&] {
        bool stopped = false;
        while (!finished.load()) {
            pollfd poll{worker.controlWorker, POLLIN, 0};
            const int ready = ::poll(&poll, 1, 50);
            if (ready > 0) {
                char byte = 0;
                const ssize_t got = read(worker.controlWorker, &byte, 1);
                if (got <= 0 && !(got < 0 && errno == EINTR)) {
                    // The parent is gone: end gracefully, then stop reading.
                    if (!stopped)
                        shared.Stop();
                    stopped = true;
                    while (!finished.load())
                        std::this_thread::sleep_for(std::chrono::milliseconds(50));
                    break;
                }
                if (got == 1 && !stopped) {
                    shared.Stop();
                    stopped = true;
                }
            }
            if (deadline > 0 && !stopped && SteadyNow() >= deadline) {
                shared.Stop();
                stopped = true;
            }
        }
    });
    std::vector<pthread_t> threads;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, m_options.threadStack);
    const unsigned users = m_options.users;
    for (unsigned user : worker.users) {
        const double startAt = m_runStart + m_options.rampUp * (user - 1) / users;
        auto* args =
            new UserThreadArgs{[this, &shared, user, startAt] { RunUser(shared, user, startAt); }};
        pthread_t thread;
        const int error = pthread_create(&thread, &attributes, UserThreadMain, args);
        if (error != 0) {
            delete args;
            std::string frame;
            CRunChannel::AppendUserStart(frame, user, SteadyNow());
            UserEndRecord end;
            end.user = user;
            end.failed = true;
            end.message = "user " + std::to_string(user) + ": no thread could be started for it (" +
                          std::strerror(error) + ")";
            end.time = SteadyNow();
            CRunChannel::AppendUserEnd(frame, end);
            shared.writer.Append(frame);
            continue;
        }
        threads.push_back(thread);
    }
    pthread_attr_destroy(&attributes);
    for (pthread_t thread : threads)
        pthread_join(thread, nullptr);
    finished.store(true);
    control.join();
    std::string done;
    CRunChannel::AppendDone(done);
    shared.writer.Append(done);
    shared.writer.Close();
    CloseFd(worker.dataWrite);
    CloseFd(worker.controlWorker);
}

LoadRunResult CLoadRun::Run(CRunObserver& observer) {
    if (m_ran)
        return Fail("a load run runs once");
    if (!Prepare())
        return Fail(m_error);
    m_ran = true;
    LoadRunResult result;
    result.ran = true;
    result.usersPlanned = m_options.users;
    for (const FolderMessage& message : m_messages)
        observer.OnRunMessage(message.kind == FolderMessage::Kind::Note ? "note" : "warning",
                              message.Format());

    // Users dealt out round-robin: ramp-up starts alternate between workers.
    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned w = 0; w < m_workers; ++w) {
        workers.push_back(std::make_unique<Worker>());
        workers.back()->index = w + 1;
    }
    for (unsigned user = 1; user <= m_options.users; ++user)
        workers[(user - 1) % m_workers]->users.push_back(user);

    m_runStart = SteadyNow();
    const bool inProcess = m_options.inProcess;
    for (auto& worker : workers) {
        int data[2] = {-1, -1}, control[2] = {-1, -1};
        if (pipe2(data, O_CLOEXEC) != 0 ||
            socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, control) != 0) {
            worker->broken = std::string("no channel to the worker: ") + std::strerror(errno);
            CloseFd(data[0]);
            CloseFd(data[1]);
            continue;
        }
        worker->dataRead = data[0];
        worker->dataWrite = data[1];
        worker->controlParent = control[0];
        worker->controlWorker = control[1];
        if (inProcess) {
            Worker* raw = worker.get();
            worker->thread = std::thread([this, raw] { WorkerMain(*raw); });
            worker->open = true;
            continue;
        }
        const pid_t pid = fork();
        if (pid == 0) {
            // The worker: only its own ends of its own channels stay open.
            signal(SIGINT, SIG_IGN);
            signal(SIGTERM, SIG_DFL);
            signal(SIGPIPE, SIG_IGN);
            CloseFd(m_wake[0]);
            CloseFd(m_wake[1]);
            for (auto& other : workers) {
                CloseFd(other->dataRead);
                CloseFd(other->controlParent);
                if (other.get() != worker.get()) {
                    CloseFd(other->dataWrite);
                    CloseFd(other->controlWorker);
                }
            }
            WorkerMain(*worker);
            _exit(0);
        }
        CloseFd(worker->dataWrite);
        CloseFd(worker->controlWorker);
        if (pid < 0) {
            worker->broken =
                std::string("the worker process could not be made: ") + std::strerror(errno);
            CloseFd(worker->dataRead);
            CloseFd(worker->controlParent);
            continue;
        }
        worker->pid = pid;
        worker->open = true;
    }

    auto now = [this] { return SteadyNow() - m_runStart; };
    // The end of a worker: what was lost with it.
    auto finishWorker = [&](Worker& worker) {
        worker.open = false;
        CloseFd(worker.dataRead);
        CloseFd(worker.controlParent);
        std::string how;
        if (worker.pid > 0) {
            int status = 0;
            while (waitpid(worker.pid, &status, 0) < 0 && errno == EINTR) {
            }
            if (WIFSIGNALED(status))
                how = "ended by " + SignalText(WTERMSIG(status));
            else if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
                how = "exited with status " + std::to_string(WEXITSTATUS(status));
        } else if (worker.thread.joinable()) {
            worker.thread.join();
        }
        if (!worker.reader.Finish() && worker.broken.empty())
            worker.broken = worker.reader.Error();
        if (how.empty() && !worker.broken.empty())
            how = "sent a broken stream (" + worker.broken + ")";
        if (how.empty() && !worker.done)
            how = "ended before it sent all its records";
        if (how.empty())
            return;
        std::string name = "worker " + std::to_string(worker.index);
        if (worker.pid > 0)
            name += " (process " + std::to_string(worker.pid) + ")";
        const std::string why =
            worker.killed ? name + " was stopped at once (a second stop)" : name + " " + how;
        if (!worker.killed) {
            observer.OnRunMessage("error", why);
            result.failed = true;
        } else {
            observer.OnRunMessage("warning", why);
        }
        for (unsigned user : worker.users) {
            if (worker.started.count(user) == 0 || worker.ended.count(user) != 0)
                continue;
            UserEndRecord end;
            end.user = user;
            end.iterations = worker.iterations[user].first;
            end.failedIterations = worker.iterations[user].second;
            end.failed = true;
            end.message = "user " + std::to_string(user) + ": " + why + " before the user ended";
            end.time = now();
            worker.ended.insert(user);
            ++result.usersFailed;
            result.failed = true;
            observer.OnUserEnd(end);
        }
        std::size_t never = 0;
        for (unsigned user : worker.users)
            never += worker.started.count(user) == 0 ? 1 : 0;
        if (never != 0 && !worker.killed && result.stopRequests == 0)
            observer.OnRunMessage("error",
                                  std::to_string(never) + " users of " + name + " never started");
    };
    for (auto& worker : workers)
        if (!worker->open)
            finishWorker(*worker);

    auto deliver = [&](Worker& worker, RunFrame& frame) {
        switch (frame.kind) {
            case RunFrameKind::Request: {
                frame.request.start -= m_runStart;
                observer.OnRequest(frame.request, frame.response);
                break;
            }
            case RunFrameKind::Step:
                observer.OnStep(frame.step);
                break;
            case RunFrameKind::Transaction:
                frame.transaction.start -= m_runStart;
                if (frame.transaction.status == TransactionRecord::Status::Fail)
                    result.failed = true;
                observer.OnTransaction(frame.transaction);
                break;
            case RunFrameKind::Message: {
                // Messages name their user (unless they already do).
                const std::string prefix = "user " + std::to_string(frame.user) + ": ";
                observer.OnMessage(frame.level, frame.text.rfind(prefix, 0) == 0
                                                    ? frame.text
                                                    : prefix + frame.text);
                break;
            }
            case RunFrameKind::UserStart:
                if (worker.started.insert(frame.user).second)
                    ++result.usersStarted;
                observer.OnUserStart(frame.user, frame.time - m_runStart);
                break;
            case RunFrameKind::UserEnd:
                worker.ended.insert(frame.end.user);
                frame.end.time -= m_runStart;
                if (frame.end.failed) {
                    ++result.usersFailed;
                    result.failed = true;
                }
                if (frame.end.failedIterations != 0)
                    result.failed = true;
                observer.OnUserEnd(frame.end);
                break;
            case RunFrameKind::Iteration: {
                auto& counts = worker.iterations[frame.user];
                ++counts.first;
                if (frame.failed) {
                    ++counts.second;
                    result.failed = true;
                }
                observer.OnIteration(frame.user, frame.iteration, frame.failed,
                                     frame.time - m_runStart);
                break;
            }
            case RunFrameKind::Done:
                worker.done = true;
                break;
        }
    };

    // An observer that throws leaves the run: no worker outlives it.
    struct Cleanup {
        std::vector<std::unique_ptr<Worker>>& workers;
        ~Cleanup() {
            for (auto& worker : workers) {
                if (worker->controlParent >= 0)
                    send(worker->controlParent, "s", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
                if (worker->open && worker->pid > 0) {
                    kill(worker->pid, SIGKILL);
                    while (waitpid(worker->pid, nullptr, 0) < 0 && errno == EINTR) {
                    }
                }
                CloseFd(worker->controlParent);
                if (worker->thread.joinable()) {
                    // The worker thread ends once its users have: its
                    // channel is drained until then.
                    char drain[4096];
                    while (worker->dataRead >= 0 &&
                           read(worker->dataRead, drain, sizeof drain) > 0) {
                    }
                    worker->thread.join();
                }
                CloseFd(worker->dataRead);
            }
        }
    } cleanup{workers};
    bool stopSent = false, killSent = false;
    double nextTick = 1.0;
    std::vector<char> buffer(64 * 1024);
    RunFrame frame;
    for (;;) {
        std::vector<pollfd> polls;
        std::vector<Worker*> polled;
        if (m_wake[0] >= 0)
            polls.push_back({m_wake[0], POLLIN, 0});
        for (auto& worker : workers) {
            if (worker->open) {
                polls.push_back({worker->dataRead, POLLIN, 0});
                polled.push_back(worker.get());
            }
        }
        if (polled.empty())
            break;
        const double untilTick = nextTick - now();
        const int timeout =
            m_options.tick ? std::max(0, static_cast<int>(untilTick * 1000) + 1) : 1000;
        const int ready = poll(polls.data(), polls.size(), timeout);
        if (ready < 0 && errno != EINTR)
            break;
        const std::size_t first = m_wake[0] >= 0 ? 1 : 0;
        if (first == 1 && (polls[0].revents & POLLIN) != 0) {
            char drain[64];
            while (read(m_wake[0], drain, sizeof drain) > 0) {
            }
        }
        // Stop requests (also one made before Run).
        const unsigned stops = m_stops.load();
        result.stopRequests = stops;
        if (stops >= 1 && !stopSent) {
            stopSent = true;
            for (auto& worker : workers)
                if (worker->controlParent >= 0)
                    send(worker->controlParent, "s", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
        }
        if (stops >= 2 && !killSent && !inProcess) {
            killSent = true;
            for (auto& worker : workers) {
                if (worker->open && worker->pid > 0) {
                    worker->killed = true;
                    kill(worker->pid, SIGKILL);
                }
            }
        }
        for (std::size_t i = 0; i < polled.size(); ++i) {
            Worker& worker = *polled[i];
            if ((polls[first + i].revents & (POLLIN | POLLHUP | POLLERR)) == 0)
                continue;
            const ssize_t got = read(worker.dataRead, buffer.data(), buffer.size());
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0) {
                finishWorker(worker);
                continue;
            }
            result.bytes += static_cast<std::size_t>(got);
            worker.reader.Feed(buffer.data(), static_cast<std::size_t>(got));
            for (;;) {
                const CRunChannelReader::Result next = worker.reader.Next(frame);
                if (next == CRunChannelReader::Result::Frame) {
                    ++result.frames;
                    deliver(worker, frame);
                    continue;
                }
                if (next == CRunChannelReader::Result::Error) {
                    // Nothing more of it can be trusted: it ends here.
                    worker.broken = worker.reader.Error();
                    if (worker.pid > 0)
                        kill(worker.pid, SIGKILL);
                    else
                        send(worker.controlParent, "s", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
                    if (worker.pid > 0)
                        finishWorker(worker);
                }
                break;
            }
        }
        if (m_options.tick && now() >= nextTick) {
            m_options.tick(now());
            nextTick = std::floor(now()) + 1.0;
        }
    }
    for (auto& worker : workers)
        if (worker->thread.joinable())
            worker->thread.join();
    result.elapsed = now();
    std::string error;
    if (!observer.OnRunEnd(result.elapsed, error)) {
        result.failed = true;
        result.error = error;
    }
    return result;
}
