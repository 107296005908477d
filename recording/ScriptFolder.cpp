#include "webstep/recording/ScriptFolder.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

#include "webstep/recording/IniDocument.h"

namespace fs = std::filesystem;

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::vector<fs::path> RegularFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code fileEc;
        if (it->is_regular_file(fileEc))
            files.push_back(it->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// A file holds a settings section "WEB" when one of its lines, trimmed, reads
// "[WEB]" in any letter case. Large files are not settings files.
bool HasWebSection(const fs::path& path) {
    std::error_code ec;
    if (fs::file_size(path, ec) > (8u << 20) || ec)
        return false;
    std::ifstream in(path, std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        const size_t first = line.find_first_not_of(" \t\r\xEF\xBB\xBF");
        const size_t last = line.find_last_not_of(" \t\r");
        if (first != std::string::npos && Lower(line.substr(first, last - first + 1)) == "[web]")
            return true;
    }
    return false;
}

// The settings file of a folder without a description: the first file (by
// name, .cfg files first) directly in the folder with a "WEB" section.
std::string FindSettingsFile(const std::vector<fs::path>& files) {
    std::vector<fs::path> candidates;
    for (const fs::path& path : files)
        if (path.extension() != ".c" && path.extension() != ".h")
            candidates.push_back(path);
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const fs::path& a, const fs::path& b) {
                         return (a.extension() == ".cfg") > (b.extension() == ".cfg");
                     });
    for (const fs::path& path : candidates)
        if (HasWebSection(path))
            return path.string();
    return std::string();
}

// Action files of a folder without a description: names holding "init"
// first, names holding "end" last, the rest between them, each group by name.
std::vector<FolderAction> ActionFiles(const std::vector<fs::path>& files) {
    std::vector<FolderAction> actions;
    for (const fs::path& path : files)
        if (path.extension() == ".c")
            actions.push_back({path.stem().string(), path.filename().string()});
    auto rank = [](const FolderAction& action) {
        const std::string lower = Lower(action.file);
        if (lower.find("init") != std::string::npos)
            return 0;
        if (lower.find("end") != std::string::npos)
            return 2;
        return 1;
    };
    std::stable_sort(
        actions.begin(), actions.end(),
        [&](const FolderAction& a, const FolderAction& b) { return rank(a) < rank(b); });
    return actions;
}

// The folder's description: the "*.usr" file named after the folder, else
// the first one by name.
std::string FindDescription(const fs::path& folder, const std::vector<fs::path>& files,
                            FolderMessages& messages) {
    std::vector<fs::path> found;
    for (const fs::path& path : files)
        if (Lower(path.extension().string()) == ".usr")
            found.push_back(path);
    if (found.empty())
        return std::string();
    const std::string own = folder.filename().string();
    for (const fs::path& path : found)
        if (path.stem().string() == own)
            return path.string();
    if (found.size() > 1)
        AddFolderNote(
            messages, found.front().filename().string(), 0,
            "the folder holds " + std::to_string(found.size()) + " descriptions; this one is read");
    return found.front().string();
}

}  // namespace

bool CScriptFolder::Open(const std::string& dir, FolderMessages& messages) {
    *this = CScriptFolder();
    m_dir = dir;
    std::error_code ec;
    if (!fs::is_directory(dir, ec)) {
        AddFolderWarning(messages, dir, 0, "is not a readable folder");
        return false;
    }
    const fs::path folder(dir);
    const std::vector<fs::path> files = RegularFiles(folder);
    const std::string description = FindDescription(folder, files, messages);
    if (description.empty()) {
        m_actions = ActionFiles(files);
        m_runLogic.UseDefault(m_description);
        const std::string settings = FindSettingsFile(files);
        if (!settings.empty())
            m_settings.Read(settings, messages);
        return true;
    }
    if (!m_description.Read(description, messages)) {
        // Unreadable description: fall back to the plain files of the folder.
        m_actions = ActionFiles(files);
    } else {
        for (const ScriptAction& action : m_description.Actions()) {
            if (!fs::is_regular_file(folder / action.file, ec))
                AddFolderWarning(messages, description, 0,
                                 "the action file \"" + action.file + "\" does not exist");
            m_actions.push_back({action.name, action.file});
        }
    }
    if (m_description.RunLogicFile().empty() ||
        !fs::is_regular_file(folder / m_description.RunLogicFile(), ec)) {
        if (!m_description.RunLogicFile().empty())
            AddFolderWarning(messages, (folder / m_description.RunLogicFile()).string(), 0,
                             "the run-logic file does not exist; the actions run in the order "
                             "of the folder description, one iteration");
        m_runLogic.UseDefault(m_description);
    } else {
        m_runLogic.Read((folder / m_description.RunLogicFile()).string(), m_description, messages);
    }
    const fs::path settings = folder / m_description.SettingsFile();
    if (fs::is_regular_file(settings, ec)) {
        m_settings.Read(settings.string(), messages);
    } else {
        const std::string other = FindSettingsFile(files);
        AddFolderWarning(messages, settings.string(), 0,
                         other.empty()
                             ? "the settings file does not exist; defaults are used"
                             : "the settings file does not exist; " +
                                   fs::path(other).filename().string() + " is read instead");
        if (!other.empty())
            m_settings.Read(other, messages);
    }
    return true;
}

bool CScriptFolder::UseSettingsFile(const std::string& path, FolderMessages& messages) {
    return m_settings.Read(path, messages);
}

std::string CScriptFolder::ParameterPath() const {
    if (!HasDescription())
        return std::string();
    return (fs::path(m_dir) / m_description.ParameterFile()).string();
}

std::string CScriptFolder::DataDir() const {
    return (fs::path(m_dir) / "data").string();
}

unsigned CScriptFolder::Iterations() const {
    if (m_runLogic.Iterations() != 0)
        return m_runLogic.Iterations();
    if (m_settings.Iterations() != 0)
        return m_settings.Iterations();
    return 1;
}

const FolderAction* CScriptFolder::FindAction(const std::string& name) const {
    for (const FolderAction& action : m_actions)
        if (CIniDocument::NamesEqual(action.name, name))
            return &action;
    return nullptr;
}

std::vector<FolderAction> CScriptFolder::InspectionOrder() const {
    if (!HasDescription())
        return m_actions;
    std::vector<std::string> names;
    CRunLogic::ExpandAll(m_runLogic.Init(), names);
    CRunLogic::ExpandAll(m_runLogic.Run(), names);
    CRunLogic::ExpandAll(m_runLogic.End(), names);
    std::vector<FolderAction> order;
    for (const std::string& name : names) {
        if (const FolderAction* action = FindAction(name))
            order.push_back(*action);
        else
            // A run-logic name without an action line: its file is taken to
            // be named after it, as recordings name action files.
            order.push_back({name, name + ".c"});
    }
    return order;
}
