#include "webstep/recording/FolderDescription.h"

#include <filesystem>

#include "webstep/recording/IniDocument.h"

bool CFolderDescription::Read(const std::string& path, FolderMessages& messages) {
    *this = CFolderDescription();
    m_path = path;
    m_parameterFile = std::filesystem::path(path).stem().string() + ".prm";
    CIniDocument ini;
    if (!ini.ReadFile(path, messages))
        return false;
    const std::string file = std::filesystem::path(path).filename().string();
    if (const auto* general = ini.FindSection("General")) {
        // Braces are kept as written: some folders use other characters, or
        // more than one, to tell references from literal braces in bodies.
        std::string left = general->Get("ParamLeftBrace", "{");
        std::string right = general->Get("ParamRightBrace", "}");
        if (left.empty() || right.empty()) {
            AddFolderWarning(messages, file, general->line,
                             "empty parameter braces; \"{\" and \"}\" are used");
        } else {
            m_leftBrace = left;
            m_rightBrace = right;
        }
        std::string cfg = general->Get("DefaultCfg", "");
        if (!cfg.empty())
            m_settingsFile = cfg;
        std::string prm = general->Get("ParameterFile", "");
        if (!prm.empty())
            m_parameterFile = prm;
    }
    if (const auto* actions = ini.FindSection("Actions")) {
        for (const auto& entry : actions->entries) {
            if (entry.value.empty()) {
                AddFolderWarning(messages, file, entry.line,
                                 "the action \"" + entry.key + "\" names no file; it is skipped");
                continue;
            }
            m_actions.push_back({entry.key, entry.value});
        }
    } else {
        AddFolderWarning(messages, file, 0, "no [Actions] section: the folder has no actions");
    }
    if (const auto* runLogic = ini.FindSection("RunLogicFiles")) {
        for (const auto& entry : runLogic->entries) {
            if (!entry.value.empty()) {
                m_runLogicFile = entry.value;
                break;
            }
        }
    }
    if (const auto* extra = ini.FindSection("ExtraFiles")) {
        for (const auto& entry : extra->entries)
            m_extraFiles.push_back(entry.key);
    }
    return true;
}

const ScriptAction* CFolderDescription::FindAction(const std::string& name) const {
    for (const ScriptAction& action : m_actions) {
        if (CIniDocument::NamesEqual(action.name, name))
            return &action;
    }
    return nullptr;
}
