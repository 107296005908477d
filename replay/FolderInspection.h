#pragma once
// A listing of what a replay of a script folder plans, step by step. One
// virtual user reads the action files in the order a reader follows them
// (the folder's order: init, the run group's actions, end; or an order
// given), hands every call to its CVirtualUser and answers from the folder's
// recording (CRecordedTransport). It goes on past steps that fail, so every
// step is listed: the request the user plans (as the script writes it,
// references kept, and as it is sent), the link, image or form it picks on
// the live page, the page it loads with its frames, and whether the request
// is the one the recording holds. There is one planner, the virtual user's;
// this class only keeps what it did.
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/RecordedTransport.h"
#include "webstep/replay/ReplayRecord.h"
#include "webstep/script/ScriptReader.h"

/// How to inspect a folder.
struct WEBSTEP_API InspectionOptions {
    /// The action files to read, in this order (names in the folder); empty:
    /// the folder's own order.
    std::vector<std::string> order;
    /// Read the run-time settings from this file instead of the folder's.
    std::string settingsFile;
    /// Parse with the extended set of current script versions too.
    bool extended = true;
    /// Called after each step call with the steps done and the steps in all
    /// (for a progress line); not called when empty.
    std::function<void(std::size_t done, std::size_t total)> progress;
};

/// One call of an action file and what the user made of it.
struct WEBSTEP_API InspectedCall {
    enum class Kind {
        StartTransaction,
        EndTransaction,
        ThinkTime,
        UnknownFunction,  ///< a web_ name no parser knows
        NotParsed,        ///< a step call that does not parse (step.errorCode)
        Service,          ///< a step that sends nothing
        Navigation        ///< a step that sends requests
    };
    Kind kind = Kind::Service;
    std::string function;
    unsigned line = 0;
    unsigned column = 0;
    /// The arguments as written.
    std::vector<std::string> arguments;
    /// What the user did (steps).
    StepRecord step;

    /// Navigation steps with a planned request: the step's own request as the
    /// script writes it (references kept), the address it resolved to when
    /// that differs, its content type and body (binary parts escaped).
    bool hasRequest = false;
    std::string method;
    std::string url;
    std::string resolvedUrl;
    std::string contentType;
    std::string body;

    /// The step's own request against the request its snapshot XML holds:
    /// compared (recorded), or why not.
    bool recorded = false;
    std::string notRecordedWhy;
    RecordedRequestCheck check;
};

/// One action file.
struct WEBSTEP_API InspectedFile {
    std::string name;
    bool readable = false;
    /// What the C reader met (open literals, calls not closed...).
    std::vector<ScriptDiagnostic> warnings;
    std::vector<InspectedCall> calls;
};

/// Counts over the whole folder.
struct WEBSTEP_API InspectionSummary {
    std::size_t files = 0;
    std::size_t navigations = 0;
    /// Navigation steps whose request was planned, and those that failed
    /// before it (no page, no such link or form, items that do not fit).
    std::size_t resolved = 0;
    std::size_t unresolved = 0;
    std::size_t notParsed = 0;
    /// Steps whose snapshot XML holds their request, and those of them sent
    /// exactly as recorded.
    std::size_t recorded = 0;
    std::size_t recordedSame = 0;
};

/// Runs the inspection of one folder.
class WEBSTEP_API CFolderInspection {
public:
    CFolderInspection();
    ~CFolderInspection();
    CFolderInspection(const CFolderInspection&) = delete;
    CFolderInspection& operator=(const CFolderInspection&) = delete;

    /// Inspects folder. False when it is not a folder (Problems() says so);
    /// files that cannot be read and a settings file that does not exist are
    /// problems too, but the inspection goes on.
    bool Run(const std::string& folder, const InspectionOptions& options = {});

    const CScriptFolder& Folder() const { return m_folder; }
    /// The settings file read, or empty (defaults).
    const std::string& SettingsFile() const { return m_settingsFile; }
    const std::vector<InspectedFile>& Files() const { return m_files; }
    const InspectionSummary& Summary() const { return m_summary; }
    /// Warnings and notes on the folder's files, in the order met.
    const FolderMessages& Messages() const { return m_messages; }
    /// Input and output errors: a folder, an action file or a settings file
    /// that cannot be read.
    const std::vector<std::string>& Problems() const { return m_problems; }
    /// The name a page file has in the recording ("data/t4f1.htm") for the
    /// name the context tree gives it ("t4f1.html") in a snapshot.
    std::string RecordedFile(const std::string& snapshot, const std::string& name) const;

private:
    void InspectFile(const std::string& name, class CVirtualUser& user, InspectedFile& file);
    void Describe(InspectedCall& call);

    CScriptFolder m_folder;
    FolderMessages m_messages;
    std::unique_ptr<class CParameterSet> m_parameters;
    std::unique_ptr<CRecording> m_recording;
    std::unique_ptr<CRecordedTransport> m_transport;
    std::vector<std::pair<HttpRequest, RecordedRequestCheck>> m_checks;
    // Page files: the name the context tree gives them, as recorded.
    std::map<std::string, std::string> m_shownFiles;
    std::string m_settingsFile;
    std::vector<InspectedFile> m_files;
    InspectionSummary m_summary;
    std::vector<std::string> m_problems;
    InspectionOptions m_options;
    std::size_t m_totalSteps = 0;
    std::size_t m_doneSteps = 0;
    bool m_extended = true;
};
