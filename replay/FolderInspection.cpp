#include "webstep/replay/FolderInspection.h"

#include <cctype>
#include <filesystem>
#include <map>

#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/Recording.h"
#include "webstep/replay/StepParser.h"
#include "webstep/replay/UserClock.h"
#include "webstep/replay/VirtualUser.h"

namespace fs = std::filesystem;

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// "t4f1.html" gives "t4f1".
std::string Stem(const std::string& name) {
    const std::size_t slash = name.find_last_of("/\\");
    std::string stem = slash == std::string::npos ? name : name.substr(slash + 1);
    const std::size_t dot = stem.rfind('.');
    if (dot != std::string::npos && dot != 0)
        stem.erase(dot);
    return stem;
}

}  // namespace

CFolderInspection::CFolderInspection() = default;
CFolderInspection::~CFolderInspection() = default;

std::string CFolderInspection::RecordedFile(const std::string& snapshot,
                                            const std::string& name) const {
    if (name.empty())
        return name;
    const std::string stem = Lower(Stem(name));
    if (m_recording) {
        FolderMessages ignored;
        if (!snapshot.empty())
            if (const CSnapshotInfo* info = m_recording->Snapshot(snapshot, ignored))
                for (const SnapshotPage& page : info->Pages())
                    if (page.kind != SnapshotPage::Kind::Resource && page.file.Named() &&
                        !page.file.missing && Lower(Stem(page.file.name)) == stem)
                        return "data/" + page.file.name;
        for (const std::string& candidate : {name, Stem(name) + ".htm", Stem(name) + ".html"})
            if (std::optional<std::string> found = m_recording->FindFile(candidate))
                return "data/" + *found;
    }
    return "data/" + name;
}

bool CFolderInspection::Run(const std::string& folder, const InspectionOptions& options) {
    m_options = options;
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) {
        m_problems.push_back("\"" + folder + "\" is not a folder");
        return false;
    }
    m_folder.Open(folder, m_messages);
    if (!options.settingsFile.empty()) {
        if (!fs::is_regular_file(options.settingsFile, ec))
            m_problems.push_back("cannot read the settings file \"" + options.settingsFile + "\"");
        else
            m_folder.UseSettingsFile(options.settingsFile, m_messages);
        m_settingsFile = options.settingsFile;
    } else {
        m_settingsFile = m_folder.SettingsPath();
    }
    // The transport reads the recording and reports on it; this copy only
    // names page files for the listing.
    FolderMessages ignored;
    m_recording = std::make_unique<CRecording>();
    m_recording->Open(m_folder.DataDir(), ignored);
    m_transport = std::make_unique<CRecordedTransport>();
    m_transport->Open(m_folder, m_messages);
    m_transport->SetCheckCallback(
        [this](const HttpRequest& request, const HttpResponse&, const RecordedRequestCheck& check) {
            m_checks.emplace_back(request, check);
        });
    m_parameters = std::make_unique<CParameterSet>();
    if (m_folder.HasDescription())
        m_parameters->Load(m_folder.ParameterPath(), folder, m_messages);

    // The values of user 1 in iteration 1; the steps go on past failures.
    CManualClock clock;
    VirtualUserOptions userOptions;
    userOptions.extended = options.extended;
    userOptions.keepWrittenForm = true;
    CVirtualUser user(m_folder, *m_parameters, *m_transport, clock, userOptions);
    user.SetContinueOnError(true);
    m_extended = options.extended;

    std::vector<std::string> names = options.order;
    if (names.empty())
        for (const FolderAction& action : m_folder.InspectionOrder())
            names.push_back(action.file);
    std::vector<std::string> readable;
    for (const std::string& name : names) {
        if (!fs::is_regular_file(fs::path(folder) / name, ec)) {
            m_problems.push_back("no action file \"" + name + "\" in " + folder);
            continue;
        }
        readable.push_back(name);
    }
    if (m_options.progress) {
        CStepParser parser(m_extended);
        CScriptReader reader([&parser](const MString& name) { return parser.IsKnown(name); });
        ScriptReadResult result;
        for (const std::string& name : readable)
            if (reader.ReadFile((fs::path(folder) / name).string().c_str(), result))
                for (const ScriptCall& call : result.calls)
                    m_totalSteps += call.kind == EScriptCallKind::Step ? 1 : 0;
    }
    user.BeginIteration(1);
    for (const std::string& name : readable) {
        m_files.emplace_back();
        InspectFile(name, user, m_files.back());
    }
    user.EndIteration();
    m_summary.files = readable.size();
    // The listing shows references that stay as written; the notes that say
    // so would only repeat it.
    for (const FolderMessage& message : user.Parameters().Messages())
        if (message.kind != FolderMessage::Kind::Note)
            m_messages.push_back(message);
    for (const FolderMessage& message : m_transport->TakeNewMessages())
        m_messages.push_back(message);
    return true;
}

void CFolderInspection::InspectFile(const std::string& name, CVirtualUser& user,
                                    InspectedFile& file) {
    file.name = name;
    const std::string path = (fs::path(m_folder.Dir()) / name).string();
    CStepParser parser(m_extended);
    CScriptReader reader([&parser](const MString& function) { return parser.IsKnown(function); });
    ScriptReadResult result;
    if (!reader.ReadFile(path.c_str(), result)) {
        m_problems.push_back("cannot read \"" + path + "\"");
        return;
    }
    file.readable = true;
    file.warnings = result.diagnostics;
    for (const ScriptCall& read : result.calls) {
        InspectedCall call;
        call.function = read.function;
        call.line = read.line;
        call.column = read.column;
        for (const ScriptArgument& argument : read.arguments)
            call.arguments.push_back(argument.value);
        switch (read.kind) {
            case EScriptCallKind::StartTransaction:
                call.kind = InspectedCall::Kind::StartTransaction;
                break;
            case EScriptCallKind::EndTransaction:
                call.kind = InspectedCall::Kind::EndTransaction;
                break;
            case EScriptCallKind::ThinkTime:
                call.kind = InspectedCall::Kind::ThinkTime;
                break;
            case EScriptCallKind::UnknownFunction:
                call.kind = InspectedCall::Kind::UnknownFunction;
                file.calls.push_back(std::move(call));
                continue;
            case EScriptCallKind::Step:
                break;
        }
        if (read.kind != EScriptCallKind::Step) {
            // Transactions and think time go to the user too (on its own
            // clock, so nothing waits).
            user.Call(call.function, call.arguments, name, call.line);
            file.calls.push_back(std::move(call));
            continue;
        }
        m_checks.clear();
        call.step = user.Call(call.function, call.arguments, name, call.line);
        for (const FolderMessage& message : m_transport->TakeNewMessages())
            m_messages.push_back(message);
        if (call.step.parseFailed) {
            call.kind = InspectedCall::Kind::NotParsed;
            ++m_summary.notParsed;
        } else if (call.step.navigation) {
            call.kind = InspectedCall::Kind::Navigation;
            ++m_summary.navigations;
            ++(call.step.planned ? m_summary.resolved : m_summary.unresolved);
            Describe(call);
        } else {
            call.kind = InspectedCall::Kind::Service;
        }
        file.calls.push_back(std::move(call));
        ++m_doneSteps;
        if (m_options.progress)
            m_options.progress(m_doneSteps, m_totalSteps);
    }
}

void CFolderInspection::Describe(InspectedCall& call) {
    StepRecord& step = call.step;
    const RequestRecord* primary = nullptr;
    for (const RequestRecord& sent : step.requests)
        if (sent.request.role == RequestRole::Primary && primary == nullptr)
            primary = &sent;
    if (primary != nullptr) {
        const HttpRequest& request = primary->request;
        call.hasRequest = true;
        call.method = request.method;
        call.url = request.hasWrittenForm ? request.writtenUrl : request.url;
        if (request.hasWrittenForm && request.writtenUrl != request.url)
            call.resolvedUrl = request.url;
        if (const std::string* type = request.Header("Content-Type"))
            call.contentType = *type;
        call.body = step.hasShownBody        ? step.shownBody
                    : request.hasWrittenForm ? request.writtenBody
                                             : request.body;
    }

    // The step's own request against the one its snapshot XML holds.
    const RecordedRequestCheck* check = nullptr;
    for (const auto& [request, found] : m_checks)
        if (request.role == RequestRole::Primary) {
            check = &found;
            break;
        }
    if (step.snapshot.empty()) {
        call.notRecordedWhy = "the step has no Snapshot";
    } else if (primary == nullptr || check == nullptr) {
        call.notRecordedWhy = "nothing was planned";
    } else if (check->source == RecordedRequestCheck::Source::Exchange && check->recorded) {
        call.recorded = true;
        call.check = *check;
        ++m_summary.recorded;
        m_summary.recordedSame += check->Same() ? 1 : 0;
    } else {
        call.notRecordedWhy = "the recording holds no request for this step";
    }

    // Page files by the names the recording gives them. A target's document
    // was loaded by an earlier step: its name was kept then.
    if (!step.target.document.empty()) {
        auto known = m_shownFiles.find(step.target.document);
        step.target.document =
            known != m_shownFiles.end() ? known->second : "data/" + step.target.document;
    }
    PageRecord& page = step.pageLoaded;
    if (page.changes) {
        const std::string shown = RecordedFile(step.snapshot, page.file);
        m_shownFiles[page.file] = shown;
        page.file = shown;
        for (PageRecord::Frame& frame : page.frames) {
            const std::string name = RecordedFile(step.snapshot, frame.file);
            m_shownFiles[frame.file] = name;
            frame.file = name;
        }
    }
}
