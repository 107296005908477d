#include "webstep/settings/BrowserSettings.h"

#include "webstep/settings/RegistryKeyData.h"

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

MString CBrowserSettings::GetDefaultBrowserPath() {
    MString fileType = GetStringKeyData(".htm", "", HKEY_CLASSES_ROOT, "");
    if (fileType.empty())
        return MString();
    MString command =
        GetStringKeyData((fileType + "\\shell\\open\\command").c_str(), "", HKEY_CLASSES_ROOT, "");
    return ExtractShortPath(command);
}
