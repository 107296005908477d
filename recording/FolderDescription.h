#pragma once
// The folder description of a recorded script folder (the "*.usr" file): the
// actions and their order, the parameter braces, and the names of the
// settings, parameter and run-logic files.
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"

/// One line of the "[Actions]" section: the C function an action file
/// defines and the file.
struct WEBSTEP_API ScriptAction {
    std::string name;
    std::string file;
};

/// What a folder description says. Missing keys keep the defaults: braces
/// "{" and "}", settings file "default.cfg", the parameter file named after
/// the description ("<base>.prm"), no run-logic file.
class WEBSTEP_API CFolderDescription {
public:
    /// Reads the description; false (with a warning) when it cannot be read,
    /// in which case the defaults stay.
    bool Read(const std::string& path, FolderMessages& messages);

    const std::string& Path() const { return m_path; }
    const std::string& LeftBrace() const { return m_leftBrace; }
    const std::string& RightBrace() const { return m_rightBrace; }
    /// The settings file named by "DefaultCfg" (a name in the folder).
    const std::string& SettingsFile() const { return m_settingsFile; }
    /// The parameter file: "ParameterFile", or the "*.prm" file named after
    /// the description when that key is missing or empty.
    const std::string& ParameterFile() const { return m_parameterFile; }
    /// The run-logic file of "[RunLogicFiles]" (the first one); may be empty.
    const std::string& RunLogicFile() const { return m_runLogicFile; }
    /// The actions in the order of "[Actions]": the first is the init
    /// action, the last the end action.
    const std::vector<ScriptAction>& Actions() const { return m_actions; }
    /// The files of "[ExtraFiles]".
    const std::vector<std::string>& ExtraFiles() const { return m_extraFiles; }
    /// The action of that name (ASCII case ignored), or null.
    const ScriptAction* FindAction(const std::string& name) const;

private:
    std::string m_path;
    std::string m_leftBrace = "{";
    std::string m_rightBrace = "}";
    std::string m_settingsFile = "default.cfg";
    std::string m_parameterFile;
    std::string m_runLogicFile;
    std::vector<ScriptAction> m_actions;
    std::vector<std::string> m_extraFiles;
};
