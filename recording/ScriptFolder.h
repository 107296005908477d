#pragma once
// A recorded script folder as users have it: its description, run logic,
// settings, parameters and recording, read as one object. Folders without a
// description (plain action files beside a settings file and data/) are read
// the older way: the settings file is the first with a "[WEB]" section, and
// the action files run with names holding "init" first and "end" last.
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderDescription.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/RunLogic.h"
#include "webstep/recording/ScriptSettings.h"

/// One action of a folder with the file that holds it.
struct WEBSTEP_API FolderAction {
    std::string name;
    /// The file name as the folder names it (relative to the folder).
    std::string file;
};

/// A whole script folder. Open never stops at a bad file: each problem is a
/// message and the defaults the format gives stand in.
class WEBSTEP_API CScriptFolder {
public:
    /// Reads the folder; false only when it is not a readable directory.
    bool Open(const std::string& dir, FolderMessages& messages);
    /// Reads another settings file in place of the folder's own.
    bool UseSettingsFile(const std::string& path, FolderMessages& messages);

    const std::string& Dir() const { return m_dir; }
    /// True when the folder has a description ("*.usr").
    bool HasDescription() const { return !m_description.Path().empty(); }
    const CFolderDescription& Description() const { return m_description; }
    const CRunLogic& RunLogic() const { return m_runLogic; }
    const CScriptSettings& Settings() const { return m_settings; }
    /// For a run that replaces a setting (the think-time mode of the command
    /// line) before its users start.
    CScriptSettings& Settings() { return m_settings; }
    /// The settings file read, or empty when the folder has none.
    const std::string& SettingsPath() const { return m_settings.Path(); }
    /// The parameter file of the folder (it may not exist).
    std::string ParameterPath() const;
    /// The path of the data/ directory.
    std::string DataDir() const;
    /// Iterations of the run group: the run logic's, else the settings', else 1.
    unsigned Iterations() const;

    /// The folder's actions with their files: the description's, or the
    /// action files of a folder without one.
    const std::vector<FolderAction>& Actions() const { return m_actions; }
    /// The action of that name (ASCII case ignored), or null.
    const FolderAction* FindAction(const std::string& name) const;
    /// The actions an inspection walks through: init, the run group once
    /// (every action of a random group once), end.
    std::vector<FolderAction> InspectionOrder() const;

private:
    std::string m_dir;
    CFolderDescription m_description;
    CRunLogic m_runLogic;
    CScriptSettings m_settings;
    std::vector<FolderAction> m_actions;
};
