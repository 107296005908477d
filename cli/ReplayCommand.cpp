#include "ReplayCommand.h"

#include "ScriptCheck.h"

#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/CompiledScript.h"
#include "webstep/replay/Credentials.h"
#include "webstep/replay/LoadRun.h"
#include "webstep/replay/RecordedTransport.h"
#include "webstep/replay/UserClock.h"
#include "webstep/replay/VirtualUser.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

namespace fs = std::filesystem;

struct ReplayOptions {
    std::string folder;
    bool offline = false;
    // 0: the folder's own count.
    unsigned iterations = 0;
    bool json = false;
    unsigned user = 1;
    std::uint64_t seed = 1;
    // Read the step calls in order instead of running the folder's C.
    bool noCompile = false;
    double stepTimeout = 0;
    std::vector<std::string> attributes;
};

// Request bodies and URLs in the text output are cut here.
constexpr size_t kTextLimit = 200;

const char* RoleName(RequestRole role) {
    switch (role) {
        case RequestRole::Primary:
            return "primary";
        case RequestRole::Redirection:
            return "redirection";
        case RequestRole::Frame:
            return "frame";
        case RequestRole::Resource:
            return "resource";
        case RequestRole::ExtraRes:
            return "extrares";
    }
    return "?";
}

const char* StatusName(TransactionRecord::Status status) {
    switch (status) {
        case TransactionRecord::Status::Pass:
            return "pass";
        case TransactionRecord::Status::Fail:
            return "fail";
        case TransactionRecord::Status::Stop:
            return "stop";
    }
    return "?";
}

std::string Seconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f s", seconds);
    return text;
}

// Prints what the user does as it happens: requests are held until their
// step ends, so that each is shown under its step (file, line, function).
class CReplayPrinter : public CReplayObserver {
public:
    CReplayPrinter(CRecordedTransport& transport, bool json, std::ostream& out)
        : m_transport(transport), m_json(json), m_out(out) {}

    void OnRequest(const RequestRecord& request, const HttpResponse& response) override {
        Held held;
        held.record = request;
        held.status = response.status;
        if (const RecordedRequestCheck* check = m_transport.LastCheck())
            held.check = *check;
        m_held.push_back(std::move(held));
    }

    void OnStep(const StepRecord& step) override {
        if (step.navigation)
            ++m_navigations;
        if (m_json)
            PrintJson(step);
        else
            PrintText(step);
        m_held.clear();
        ReportTransportMessages();
    }

    void OnTransaction(const TransactionRecord& transaction) override {
        if (m_json)
            return;
        m_out << "transaction \"" << transaction.name << "\": " << StatusName(transaction.status)
              << ", " << Seconds(transaction.duration);
        if (transaction.thinkTime > 0)
            m_out << " (think time " << Seconds(transaction.thinkTime) << ")";
        m_out << '\n';
    }

    void OnMessage(const std::string& level, const std::string& text) override {
        (m_json ? std::cerr : m_out) << level << ": " << text << '\n';
    }

    void ReportTransportMessages() {
        for (const FolderMessage& message : m_transport.TakeNewMessages())
            (m_json ? std::cerr : m_out) << message.Format() << '\n';
    }

    size_t Navigations() const { return m_navigations; }

private:
    struct Held {
        RequestRecord record;
        int status = 0;
        RecordedRequestCheck check;
    };

    static std::string Verdict(const RecordedRequestCheck& check) {
        if (!check.recorded && check.source == RecordedRequestCheck::Source::File)
            return "answered from " + check.where + " (no recorded request to compare)";
        if (!check.recorded)
            return "not recorded";
        if (check.comparison.same)
            return "same as recorded";
        return "DIFFERENT: " + check.comparison.difference + " (recorded " + check.recordedMethod +
               " " + check.recordedUrl + ", " + check.where + ")";
    }

    void PrintText(const StepRecord& step) {
        m_out << (step.file.empty() ? std::string("?") : step.file) << ':' << step.line << ' '
              << step.function << ' ' << QuotedText(step.name, 80);
        if (!step.snapshot.empty())
            m_out << " [" << step.snapshot << ']';
        m_out << '\n';
        for (const Held& held : m_held) {
            const HttpRequest& request = held.record.request;
            m_out << "  " << request.method << ' ' << DisplayText(request.url, kTextLimit) << " -> "
                  << held.status;
            if (request.role != RequestRole::Primary)
                m_out << " (" << RoleName(request.role) << ')';
            m_out << "  " << Verdict(held.check) << '\n';
            if (!request.body.empty())
                m_out << "    body: " << QuotedText(request.body, kTextLimit) << '\n';
        }
        for (const auto& [name, value] : step.saved)
            m_out << "  saved " << name << " = " << QuotedText(value, kTextLimit) << '\n';
        for (const std::string& check : step.checks)
            m_out << "  check: " << check << '\n';
        for (const std::string& warning : step.warnings)
            m_out << "  warning: " << warning << '\n';
        for (const std::string& note : step.notes)
            m_out << "  note: " << note << '\n';
        if (step.navigation)
            for (const UnsentExchange& unsent : m_transport.LastStepUnsent())
                m_out << "  recorded but not sent: " << unsent.method << ' '
                      << DisplayText(unsent.url, kTextLimit) << " (" << unsent.where << ")\n";
        if (step.failed)
            m_out << "  FAILED: " << step.message << '\n';
    }

    void PrintJson(const StepRecord& step) {
        for (const Held& held : m_held) {
            const HttpRequest& request = held.record.request;
            OrderedJson line;
            line["step"] = JsonText(step.name);
            line["function"] = step.function;
            line["file"] = JsonText(step.file);
            line["line"] = step.line;
            line["snapshot"] = step.snapshot;
            line["iteration"] = held.record.iteration;
            line["transaction"] = JsonText(held.record.transaction);
            line["role"] = RoleName(request.role);
            line["method"] = JsonText(request.method);
            line["url"] = JsonText(request.url);
            if (IsValidUtf8(request.body, true))
                line["body"] = request.body;
            else
                line["body_base64"] = CCredentials::Base64(request.body);
            line["status"] = held.status;
            line["recorded"] = held.check.recorded;
            line["recorded_same"] = held.check.Same();
            if (held.check.source == RecordedRequestCheck::Source::File)
                line["answered_from"] = JsonText(held.check.where);
            if (held.check.recorded) {
                line["recorded_method"] = JsonText(held.check.recordedMethod);
                line["recorded_url"] = JsonText(held.check.recordedUrl);
                line["recorded_where"] = JsonText(held.check.where);
                if (!held.check.comparison.same)
                    line["difference"] = JsonText(held.check.comparison.difference);
            }
            line["step_failed"] = step.failed;
            m_out << line.dump(-1, ' ', false, OrderedJson::error_handler_t::replace) << '\n';
        }
    }

    CRecordedTransport& m_transport;
    bool m_json;
    std::ostream& m_out;
    std::vector<Held> m_held;
    size_t m_navigations = 0;
};

int RunReplay(const ReplayOptions& options) {
    if (!options.offline) {
        std::cerr << "webstep replay: only --offline exists (answers from the folder's "
                     "recording); to send the requests to live servers, use \"webstep run\"\n";
        return 2;
    }
    if (options.user == 0) {
        std::cerr << "webstep replay: --user counts from 1\n";
        return 2;
    }
    std::error_code ec;
    if (!fs::is_directory(options.folder, ec)) {
        std::cerr << "webstep replay: \"" << options.folder << "\" is not a folder\n";
        return 2;
    }
    std::ostream& out = std::cout;
    std::ostream& notes = options.json ? std::cerr : std::cout;
    FolderMessages messages;
    CScriptFolder folder;
    if (!folder.Open(options.folder, messages)) {
        for (const FolderMessage& message : messages)
            std::cerr << message.Format() << '\n';
        return 2;
    }
    CParameterSet parameters;
    parameters.SetUserCount(options.user);
    parameters.Load(folder.ParameterPath(), folder.Dir(), messages);
    CRecordedTransport transport;
    const bool recorded = transport.Open(folder, messages);
    for (const FolderMessage& message : messages)
        notes << message.Format() << '\n';
    if (!recorded) {
        std::cerr << "webstep replay: \"" << options.folder
                  << "\" has no recording (no data/ folder) to replay offline\n";
        return 2;
    }

    CManualClock clock;
    VirtualUserOptions userOptions;
    userOptions.user = options.user;
    userOptions.seed = options.seed;
    // A parameter whose value today differs from the recorded one still
    // makes the request the script recorded.
    userOptions.keepWrittenForm = true;
    CVirtualUser user(folder, parameters, transport, clock, userOptions);
    // Time parameters see the time of the recording (plus the time the
    // user has spent), printed as UTC, so that dates are the recorded ones.
    std::string recordedWhere;
    if (const std::optional<std::time_t> recordedTime = transport.RecordedTime(&recordedWhere)) {
        const std::time_t start = *recordedTime;
        user.Parameters().SetClock(
            [start, &clock]() { return start + static_cast<std::time_t>(clock.Now()); }, true);
        char text[32];
        std::tm parts{};
        gmtime_r(&start, &parts);
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
        notes << "note: Time parameters take the recording's time, " << text << " UTC ("
              << recordedWhere << ")\n";
    }
    CReplayPrinter printer(transport, options.json, out);
    user.SetObserver(&printer);
    // The recording holds one pass through the run group: an offline replay
    // makes one iteration unless told otherwise.
    const unsigned iterations = options.iterations != 0 ? options.iterations : 1;
    // A folder with a description runs its own C (loops, conditions, saved
    // values used by the code); --no-compile reads the step calls in order.
    bool scriptFailed = false;
    if (folder.HasDescription() && !options.noCompile) {
        CompiledScriptOptions compiled;
        compiled.stepTimeout = options.stepTimeout;
        compiled.seed = options.seed;
        for (const std::string& attribute : options.attributes) {
            const size_t equals = attribute.find('=');
            if (equals == std::string::npos || equals == 0) {
                std::cerr << "webstep replay: --attr takes NAME=VALUE, not \"" << attribute
                          << "\"\n";
                return 2;
            }
            compiled.identity.attributes[attribute.substr(0, equals)] =
                attribute.substr(equals + 1);
        }
        CCompiledScript script;
        FolderMessages compileMessages;
        if (!script.Load(folder, compileMessages, compiled)) {
            for (const FolderMessage& message : compileMessages)
                std::cerr << message.Format() << '\n';
            std::cerr << script.Error() << '\n';
            return 2;
        }
        for (const FolderMessage& message : compileMessages)
            notes << message.Format() << '\n';
        const ScriptUserResult result = script.RunUser(user, clock, &printer, iterations);
        if (result.ending == ScriptUserResult::Ending::Crashed ||
            result.ending == ScriptUserResult::Ending::TimedOut ||
            result.ending == ScriptUserResult::Ending::NotRun ||
            result.ending == ScriptUserResult::Ending::Aborted) {
            scriptFailed = true;
            std::cerr << "webstep replay: " << result.message << '\n';
        }
    } else if (folder.HasDescription()) {
        user.Run(iterations);
    } else {
        CLoadRun::RunPlainFolder(user, folder, iterations);
    }
    printer.ReportTransportMessages();

    const RecordedCounts& counts = transport.Counts();
    const bool clean = !scriptFailed && user.FailedSteps() == 0 && counts.different == 0 &&
                       counts.notRecorded == 0 && counts.unverified == 0;
    if (options.json) {
        OrderedJson summary{{"steps", user.Steps()},
                            {"navigation_steps", printer.Navigations()},
                            {"failed_steps", user.FailedSteps()},
                            {"requests", counts.requests},
                            {"recorded_same", counts.same},
                            {"recorded_different", counts.different},
                            {"not_recorded", counts.notRecorded},
                            {"unverified", counts.unverified},
                            {"recorded_not_sent", counts.unsent},
                            {"think_time", clock.Slept()},
                            {"passed", clean}};
        out << OrderedJson{{"summary", summary}}.dump(-1, ' ', false,
                                                      OrderedJson::error_handler_t::replace)
            << '\n';
    } else {
        out << "summary: " << user.Steps() << " steps (" << printer.Navigations()
            << " navigation), " << user.FailedSteps() << " failed; " << counts.requests
            << " requests: " << counts.same << " same as recorded, " << counts.different
            << " different, " << counts.notRecorded << " not recorded";
        if (counts.unverified != 0)
            out << ", " << counts.unverified
                << " answered from page files without a recorded request";
        out << "; " << counts.unsent << " recorded requests not sent; think time "
            << Seconds(clock.Slept()) << '\n';
    }
    return clean ? 0 : 1;
}

}  // namespace

void AddReplayCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<ReplayOptions>();
    CLI::App* replay = app.add_subcommand(
        "replay",
        "Replay a script folder as one virtual user (init, the run group, end), offline: every "
        "request is answered from the folder's recording and compared with the request that "
        "was recorded. Prints each step with its requests, statuses, saved parameters, checks, "
        "transactions and differences, then a summary. Exit status 0 when every step passed "
        "and every request was sent exactly as recorded, 1 otherwise, 2 on usage or set-up "
        "errors");
    replay
        ->add_option("DIR", options->folder,
                     "The script folder.\n  example: webstep replay --offline "
                     "examples/library-loans")
        ->required();
    replay->add_flag("--offline", options->offline,
                     "Answer from the recording (data/) instead of the network; the only mode "
                     "for now.\n  example: webstep replay --offline examples/library-loans");
    replay
        ->add_option("--iterations", options->iterations,
                     "Iterations of the run group (default 1: the recording holds one pass; "
                     "the folder's run logic may ask for more).\n"
                     "  example: webstep replay --offline --iterations 2 examples/library-loans")
        ->type_name("N");
    replay->add_flag("--no-compile", options->noCompile,
                     "Read the step calls of the action files in order instead of compiling and "
                     "running the folder's C (loops and conditions are then not run).\n  "
                     "example: webstep replay --offline --no-compile examples/library-loans");
    replay
        ->add_option("--step-timeout", options->stepTimeout,
                     "End the user when its script runs this many seconds without calling a "
                     "step or runtime function (an endless loop); 0: no limit.\n  example: "
                     "webstep replay --offline --step-timeout 30 examples/northfield-branches")
        ->type_name("SECONDS")
        ->check(CLI::NonNegativeNumber);
    replay
        ->add_option("--attr", options->attributes,
                     "A NAME=VALUE the script reads with qz_get_attrib_string (repeatable).\n  "
                     "example: webstep replay --offline --attr env=test examples/library-loans")
        ->type_name("NAME=VALUE");
    replay->add_flag("--json", options->json,
                     "One JSON object per request on its own line, then a summary line.\n"
                     "  example: webstep replay --offline --json examples/library-loans | jq .url");
    replay
        ->add_option("--user", options->user,
                     "The user's number (from 1): which parameter rows it takes.\n  example: "
                     "webstep replay --offline --user 2 examples/library-loans")
        ->type_name("N");
    replay
        ->add_option("--seed", options->seed,
                     "Seed of the user's random choices (random parameters, random run "
                     "groups, think time).\n  example: webstep replay --offline --seed 7 "
                     "examples/northfield-branches")
        ->type_name("S");
    replay->footer(
        "Examples:\n"
        "  webstep replay --offline examples/library-loans\n"
        "  webstep replay --offline --json examples/northfield-branches > requests.jsonl\n"
        "  webstep replay --offline --iterations 3 --user 2 examples/library-loans");
    replay->callback([options, exitCode]() { *exitCode = RunReplay(*options); });
}

}  // namespace webstep::cli
