#include "RunCommand.h"

#include "ScriptCheck.h"

#include "webstep/replay/CurlTransport.h"
#include "webstep/replay/HarWriter.h"
#include "webstep/replay/HtmlReport.h"
#include "webstep/replay/LoadRun.h"
#include "webstep/replay/ResultsWriter.h"
#include "webstep/replay/RunObserver.h"
#include "webstep/replay/RunStatistics.h"

#include <unistd.h>

#include <atomic>
#include <cctype>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

struct RunOptions {
    std::string folder;
    unsigned users = 1;
    std::string rampUp;
    unsigned iterations = 0;
    std::string duration;
    unsigned workers = 0;
    std::vector<std::string> params;
    std::string thinkTime;
    std::uint64_t seed = 1;
    std::vector<std::string> attributes;
    bool noCompile = false;
    double stepTimeout = 0;
    bool insecure = false;
    bool http2 = false;
    std::vector<std::string> connectTo;
    std::vector<std::string> resolve;
    std::string results;
    std::string report;
    std::string har;
    bool json = false;
};

// "90", "90s", "5m", "1h", "1m30s": seconds; false when it is none of these.
bool ParseDuration(const std::string& text, double& seconds) {
    seconds = 0;
    if (text.empty())
        return false;
    std::size_t i = 0;
    bool any = false;
    while (i < text.size()) {
        std::size_t end = i;
        while (end < text.size() &&
               (std::isdigit(static_cast<unsigned char>(text[end])) || text[end] == '.'))
            ++end;
        if (end == i)
            return false;
        char* stop = nullptr;
        const std::string number = text.substr(i, end - i);
        const double value = std::strtod(number.c_str(), &stop);
        if (stop == nullptr || *stop != '\0' || value < 0)
            return false;
        double unit = 1;
        if (end < text.size()) {
            switch (text[end]) {
                case 's':
                    unit = 1;
                    break;
                case 'm':
                    unit = 60;
                    break;
                case 'h':
                    unit = 3600;
                    break;
                default:
                    return false;
            }
            ++end;
        } else if (any) {
            return false;  // "1m30" is ambiguous
        }
        seconds += value * unit;
        any = true;
        i = end;
    }
    return any;
}

// The run a signal stops: the first SIGINT or SIGTERM lets users finish,
// the second stops at once.
std::atomic<CLoadRun*> g_run{nullptr};

void OnStopSignal(int) {
    CLoadRun* run = g_run.load();
    if (run == nullptr)
        return;
    static const char text[] =
        "\nwebstep run: stopping: users finish their step and run their end action "
        "(again to stop at once)\n";
    ssize_t written = write(STDERR_FILENO, text, sizeof text - 1);
    (void)written;
    run->RequestStop();
}

OrderedJson SummaryJson(const CRunStatistics& statistics, const LoadRunResult& result) {
    OrderedJson transactions = OrderedJson::array();
    for (const CRunStatistics::TransactionRow& row : statistics.Transactions())
        transactions.push_back(OrderedJson{{"name", JsonText(row.name)},
                                           {"count", row.count},
                                           {"passed", row.passed},
                                           {"failed", row.failed},
                                           {"stopped", row.stopped},
                                           {"min", row.min},
                                           {"average", row.average},
                                           {"p50", row.p50},
                                           {"p90", row.p90},
                                           {"p95", row.p95},
                                           {"max", row.max}});
    OrderedJson steps = OrderedJson::array();
    for (const CRunStatistics::StepRow& row : statistics.Steps())
        steps.push_back(OrderedJson{{"step", JsonText(row.step)},
                                    {"1xx", row.byClass[0]},
                                    {"2xx", row.byClass[1]},
                                    {"3xx", row.byClass[2]},
                                    {"4xx", row.byClass[3]},
                                    {"5xx", row.byClass[4]},
                                    {"failed", row.failed}});
    OrderedJson errors = OrderedJson::array();
    for (const CRunStatistics::ErrorRow& row : statistics.Errors())
        errors.push_back(OrderedJson{{"message", JsonText(row.message)}, {"count", row.count}});
    return OrderedJson{{"elapsed", result.elapsed},
                       {"users_planned", result.usersPlanned},
                       {"users_started", result.usersStarted},
                       {"users_failed", result.usersFailed},
                       {"iterations", statistics.IterationsDone()},
                       {"requests", statistics.Requests()},
                       {"errors_total", statistics.ErrorCount()},
                       {"failed", result.failed || statistics.Failed()},
                       {"transactions", transactions},
                       {"steps", steps},
                       {"errors", errors}};
}

int RunLoad(const RunOptions& options) {
    LoadRunOptions how;
    how.users = options.users;
    if (options.users == 0) {
        std::cerr << "webstep run: --users must be 1 or more\n";
        return 2;
    }
    if (!options.rampUp.empty() && !ParseDuration(options.rampUp, how.rampUp)) {
        std::cerr << "webstep run: --ramp-up \"" << options.rampUp
                  << "\" is not a duration (expected seconds such as 30, 30s, 5m or 1h)\n";
        return 2;
    }
    if (!options.duration.empty()) {
        if (!ParseDuration(options.duration, how.duration) || how.duration <= 0) {
            std::cerr << "webstep run: --duration \"" << options.duration
                      << "\" is not a duration above 0 (expected 90, 90s, 5m or 1h)\n";
            return 2;
        }
        if (options.iterations != 0) {
            std::cerr << "webstep run: give --iterations or --duration, not both\n";
            return 2;
        }
    }
    how.iterations = options.iterations;
    how.workers = options.workers;
    how.params = options.params;
    how.thinkTime = options.thinkTime;
    how.seed = options.seed;
    how.compile = !options.noCompile;
    how.stepTimeout = options.stepTimeout;
    for (const std::string& attribute : options.attributes) {
        const std::size_t equals = attribute.find('=');
        if (equals == std::string::npos || equals == 0) {
            std::cerr << "webstep run: --attr \"" << attribute << "\" is not NAME=VALUE\n";
            return 2;
        }
        how.identity.attributes[attribute.substr(0, equals)] = attribute.substr(equals + 1);
    }

    // The live transport: the folder's settings, then the command line's.
    // Filled once the folder is open, before the workers are made; the
    // factory runs in each worker with its copy.
    auto transport = std::make_shared<CurlTransportOptions>();
    how.transport = [transport](unsigned) -> std::unique_ptr<CTransport> {
        return std::make_unique<CCurlTransport>(*transport);
    };
    const bool terminal = isatty(STDERR_FILENO) != 0;
    CRunStatistics statistics;
    if (terminal)
        how.tick = [&statistics](double elapsed) {
            std::cerr << "\r" << statistics.ProgressText(elapsed) << "   " << std::flush;
        };

    CLoadRun run(options.folder, how);
    if (!run.Prepare()) {
        std::cerr << "webstep run: " << run.Error() << '\n';
        return 2;
    }
    for (const FolderMessage& message : run.Messages())
        std::cerr << "webstep run: " << message.Format() << '\n';
    *transport = CCurlTransport::OptionsFromSettingsFile(run.Folder().SettingsPath());
    if (options.insecure)
        transport->verifyTls = false;
    if (options.http2)
        transport->http2 = true;
    transport->connectTo = options.connectTo;
    transport->resolve = options.resolve;
    {
        CCurlTransport check(*transport);
        if (!check.SetupError().empty()) {
            std::cerr << "webstep run: " << check.SetupError() << '\n';
            return 2;
        }
    }

    const auto wallStart = std::chrono::system_clock::now();
    CRunObserverList observers;
    observers.Add(statistics);
    std::unique_ptr<CResultsWriter> results;
    std::unique_ptr<CHarWriter> har;
    std::string error;
    if (!options.results.empty()) {
        results = std::make_unique<CResultsWriter>(options.results, wallStart);
        if (!results->Open(error)) {
            std::cerr << "webstep run: " << error << '\n';
            return 2;
        }
        observers.Add(*results);
    }
    if (!options.har.empty()) {
        har = std::make_unique<CHarWriter>(options.har, wallStart);
        if (!har->Open(error)) {
            std::cerr << "webstep run: " << error << '\n';
            return 2;
        }
        observers.Add(*har);
    }

    const std::string name = std::filesystem::path(options.folder).filename().string();
    std::cerr << "webstep run: " << name << ", " << options.users
              << (options.users == 1 ? " user" : " users") << " over " << run.Workers()
              << (run.Workers() == 1 ? " worker" : " workers") << '\n';
    g_run.store(&run);
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    struct sigaction oldInt {
    }, oldTerm{};
    sigaction(SIGINT, &action, &oldInt);
    sigaction(SIGTERM, &action, &oldTerm);
    const LoadRunResult result = run.Run(observers);
    sigaction(SIGINT, &oldInt, nullptr);
    sigaction(SIGTERM, &oldTerm, nullptr);
    g_run.store(nullptr);
    if (terminal)
        std::cerr << "\r" << statistics.ProgressText(result.elapsed) << '\n';
    if (!result.ran) {
        std::cerr << "webstep run: " << result.error << '\n';
        return 2;
    }

    bool filesWritten = true;
    if (!options.report.empty()) {
        CHtmlReport report(statistics);
        report.SetTitle(name + ", " + std::to_string(options.users) +
                        (options.users == 1 ? " user" : " users"));
        report.SetStartTime(wallStart);
        if (!report.Write(options.report, error)) {
            std::cerr << "webstep run: " << error << '\n';
            filesWritten = false;
        }
    }
    if (options.json) {
        OrderedJson summary = SummaryJson(statistics, result);
        summary["results"] = options.results.empty() ? OrderedJson() : OrderedJson(options.results);
        summary["report"] = options.report.empty() ? OrderedJson() : OrderedJson(options.report);
        summary["har"] = options.har.empty() ? OrderedJson() : OrderedJson(options.har);
        std::cout << DumpJson(summary) << '\n';
    } else {
        std::cout << statistics.SummaryText();
        if (!options.results.empty())
            std::cout << "results: " << options.results << '\n';
        if (!options.report.empty() && filesWritten)
            std::cout << "report: " << options.report << '\n';
        if (!options.har.empty())
            std::cout << "HAR: " << options.har << '\n';
    }
    std::cout.flush();
    if (!filesWritten)
        return 2;
    return result.failed || statistics.Failed() ? 1 : 0;
}

}  // namespace

void AddRunCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<RunOptions>();
    CLI::App* run = app.add_subcommand(
        "run",
        "Run a script folder live: many virtual users (each through init, its iterations with "
        "the run logic, pacing and think time, then end) over worker processes, sending real "
        "requests. Shows a progress line on a terminal and a summary at the end: per "
        "transaction count, passed, failed and response times (min, average, p50, p90, p95, "
        "max in seconds), requests per step by status class, errors by message. Ctrl-C or "
        "SIGTERM lets users finish their step and run their end action; a second one stops at "
        "once; the files asked for are written either way. Exit status 0 when nothing failed, "
        "1 when something did, 2 on usage or set-up errors");
    run->add_option("DIR", options->folder,
                    "The script folder.\n  example: webstep run examples/library-loans --users 10")
        ->required();
    run->add_option("--users", options->users,
                    "Virtual users (default 1).\n  example: webstep run DIR --users 50")
        ->type_name("N");
    run->add_option("--ramp-up", options->rampUp,
                    "Start the users evenly over this time (seconds, or with s, m, h).\n"
                    "  example: webstep run DIR --users 50 --ramp-up 30s")
        ->type_name("TIME");
    run->add_option("--iterations", options->iterations,
                    "Iterations of the run group per user (default: the folder's run logic).\n"
                    "  example: webstep run DIR --iterations 3")
        ->type_name("N");
    run->add_option("--duration", options->duration,
                    "Users repeat iterations until this time has passed, then end (instead of "
                    "--iterations).\n  example: webstep run DIR --users 20 --duration 5m")
        ->type_name("TIME");
    run->add_option("--workers", options->workers,
                    "Worker processes (default: one per processor, at most one per user); a "
                    "script that crashes costs only its worker's users.\n"
                    "  example: webstep run DIR --users 100 --workers 4")
        ->type_name("N");
    run->add_option("--param", options->params,
                    "Set a parameter for every user (repeatable); it overrides the folder's.\n"
                    "  example: webstep run DIR --param BaseUrl=https://test.example.org")
        ->type_name("NAME=VALUE");
    run->add_option("--think-time", options->thinkTime,
                    "none, recorded, multiply=F or random=LO-HI (per cent of the recorded "
                    "time); default: the folder's settings.\n"
                    "  example: webstep run DIR --think-time random=50-150")
        ->type_name("MODE");
    run->add_option("--seed", options->seed,
                    "Seed of the users' random choices.\n  example: webstep run DIR --seed 7")
        ->type_name("S");
    run->add_option("--attr", options->attributes,
                    "A NAME=VALUE the script reads with qz_get_attrib_string (repeatable).\n"
                    "  example: webstep run DIR --attr env=test")
        ->type_name("NAME=VALUE");
    run->add_flag("--no-compile", options->noCompile,
                  "Read the step calls of the action files in order instead of compiling and "
                  "running the folder's C.\n  example: webstep run DIR --no-compile");
    run->add_option("--step-timeout", options->stepTimeout,
                    "End a user whose script runs this many seconds without calling a step or "
                    "runtime function; 0: no limit.\n  example: webstep run DIR --step-timeout 30")
        ->type_name("SECONDS")
        ->check(CLI::NonNegativeNumber);
    run->add_flag("--insecure", options->insecure,
                  "Do not check servers' TLS certificates (test systems with their own).\n"
                  "  example: webstep run DIR --insecure");
    run->add_flag("--http2", options->http2,
                  "Use HTTP/2 where a TLS server offers it.\n  example: webstep run DIR --http2");
    run->add_option("--connect-to", options->connectTo,
                    "Send requests for HOST:PORT to HOST2:PORT2 instead, the URL and Host "
                    "header unchanged (repeatable): aim recorded hosts at a test system.\n"
                    "  example: webstep run DIR --connect-to loans.example.org:443:127.0.0.1:8443")
        ->type_name("HOST:PORT:HOST2:PORT2");
    run->add_option("--resolve", options->resolve,
                    "Resolve HOST for PORT to ADDR (repeatable).\n"
                    "  example: webstep run DIR --resolve loans.example.org:443:127.0.0.1")
        ->type_name("HOST:PORT:ADDR");
    run->add_option("--results", options->results,
                    "Write every transaction and request to this JSON file (written whole at "
                    "the end, or not at all).\n  example: webstep run DIR --results run.json")
        ->type_name("FILE.json");
    run->add_option("--report", options->report,
                    "Write an HTML report with the summary and plots over time (one file, "
                    "viewable without a network).\n  example: webstep run DIR --report run.html")
        ->type_name("FILE.html");
    run->add_option("--har", options->har,
                    "Write the requests and responses as a HAR 1.2 file.\n"
                    "  example: webstep run DIR --har run.har")
        ->type_name("FILE.har");
    run->add_flag("--json", options->json,
                  "Print the summary as JSON instead of the table.\n"
                  "  example: webstep run DIR --json | jq .transactions");
    run->footer(
        "Examples:\n"
        "  webstep run examples/library-loans --users 10 --iterations 3 \\\n"
        "      --connect-to loans.example.org:443:127.0.0.1:8443 --insecure --report run.html\n"
        "  webstep run DIR --users 100 --ramp-up 1m --duration 10m --results run.json\n"
        "  webstep run DIR --users 5 --think-time none --har run.har");
    run->callback([options, exitCode]() { *exitCode = RunLoad(*options); });
}

}  // namespace webstep::cli
