#include "webstep/settings/BrowserSettings.h"

#include "webstep/settings/RegistryKeyData.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

using webstep::platform::HKEY_CLASSES_ROOT;

CBrowserSettings::CBrowserSettings() = default;
CBrowserSettings::CBrowserSettings(const CBrowserSettings& other) = default;
CBrowserSettings& CBrowserSettings::operator=(const CBrowserSettings& other) = default;
CBrowserSettings::~CBrowserSettings() = default;

MString CBrowserSettings::GetPath() const {
    return m_useDefault ? GetDefaultBrowserPath() : m_path;
}

MString CBrowserSettings::ExtractShortPath(const MString& commandLine) {
    size_t start = commandLine.find_first_not_of(" \t");
    if (start == MString::npos)
        return MString();
    if (commandLine[start] == '"') {
        size_t end = commandLine.find('"', start + 1);
        // An unclosed quote takes the rest of the line.
        return commandLine.substr(start + 1,
                                  end == MString::npos ? MString::npos : end - start - 1);
    }
    size_t end = commandLine.find_first_of(" \t", start);
    return commandLine.substr(start, end == MString::npos ? MString::npos : end - start);
}

namespace {

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::vector<std::string> SplitPathList(const std::string& list) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= list.size()) {
        size_t end = list.find(':', start);
        if (end == std::string::npos)
            end = list.size();
        if (end > start)
            parts.push_back(list.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::string HomeDir(const char* xdgVariable, const char* fallback) {
    std::string dir = Env(xdgVariable);
    if (!dir.empty())
        return dir;
    std::string home = Env("HOME");
    return home.empty() ? std::string() : home + "/" + fallback;
}

std::vector<std::string> ConfigDirs() {
    std::vector<std::string> dirs;
    std::string home = HomeDir("XDG_CONFIG_HOME", ".config");
    if (!home.empty())
        dirs.push_back(home);
    std::string system = Env("XDG_CONFIG_DIRS");
    for (auto& dir : SplitPathList(system.empty() ? "/etc/xdg" : system))
        dirs.push_back(dir);
    return dirs;
}

std::vector<std::string> ApplicationDirs() {
    std::vector<std::string> dirs;
    std::string home = HomeDir("XDG_DATA_HOME", ".local/share");
    if (!home.empty())
        dirs.push_back(home + "/applications");
    std::string system = Env("XDG_DATA_DIRS");
    for (auto& dir : SplitPathList(system.empty() ? "/usr/local/share:/usr/share" : system)) {
        dirs.push_back(dir + "/applications");
    }
    return dirs;
}

// The value of `key` in `section` of a desktop-entry style file.
std::string ReadEntry(const std::string& path, const std::string& section, const std::string& key) {
    std::ifstream in(path);
    std::string line;
    bool inSection = false;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty() && line.front() == '[') {
            inSection = line == "[" + section + "]";
        } else if (inSection && line.compare(0, key.size() + 1, key + "=") == 0) {
            return line.substr(key.size() + 1);
        }
    }
    return std::string();
}

// The first desktop file named as the default handler of a MIME type.
std::string DefaultDesktopFile(const char* mimeType) {
    std::vector<std::string> lists;
    for (auto& dir : ConfigDirs())
        lists.push_back(dir + "/mimeapps.list");
    for (auto& dir : ApplicationDirs())
        lists.push_back(dir + "/mimeapps.list");
    for (auto& list : lists) {
        std::string handlers = ReadEntry(list, "Default Applications", mimeType);
        // The value is a ";"-separated list; the first entry is the default.
        std::string first = handlers.substr(0, handlers.find(';'));
        if (!first.empty())
            return first;
    }
    return std::string();
}

MString XdgDefaultBrowser() {
    for (const char* mimeType : {"x-scheme-handler/http", "text/html"}) {
        std::string desktopFile = DefaultDesktopFile(mimeType);
        if (desktopFile.empty())
            continue;
        for (auto& dir : ApplicationDirs()) {
            std::string exec = ReadEntry(dir + "/" + desktopFile, "Desktop Entry", "Exec");
            if (!exec.empty())
                return CBrowserSettings::ExtractShortPath(exec);
        }
    }
    return MString();
}

MString RegisteredBrowser() {
    MString fileType = GetStringKeyData(".htm", "", HKEY_CLASSES_ROOT, "");
    if (fileType.empty())
        return MString();
    MString command =
        GetStringKeyData((fileType + "\\shell\\open\\command").c_str(), "", HKEY_CLASSES_ROOT, "");
    return CBrowserSettings::ExtractShortPath(command);
}

}  // namespace

MString CBrowserSettings::GetDefaultBrowserPath() {
    // $BROWSER holds ":"-separated commands, the preferred one first.
    std::vector<std::string> browsers = SplitPathList(Env("BROWSER"));
    if (!browsers.empty()) {
        MString program = ExtractShortPath(browsers.front());
        if (!program.empty())
            return program;
    }
    MString program = XdgDefaultBrowser();
    if (!program.empty())
        return program;
    return RegisteredBrowser();
}
