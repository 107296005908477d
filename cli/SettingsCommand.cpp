#include "SettingsCommand.h"

#include "webstep/platform/LastError.h"
#include "webstep/platform/PrivateProfile.h"
#include "webstep/settings/RunTimeSettings.h"

#include <nlohmann/json.hpp>
#include <strings.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

struct SettingsOptions {
    std::string file;
    std::vector<std::string> assignments;
    bool json = false;
};

// Same spellings as the settings file accepts.
bool ParseBool(const std::string& text, bool& value) {
    if (strcasecmp(text.c_str(), "true") == 0 || strcasecmp(text.c_str(), "yes") == 0 ||
        text == "1") {
        value = true;
        return true;
    }
    if (strcasecmp(text.c_str(), "false") == 0 || strcasecmp(text.c_str(), "no") == 0 ||
        text == "0") {
        value = false;
        return true;
    }
    return false;
}

bool ParseNumber(const std::string& text, unsigned int& value) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos ||
        text.size() > 9) {
        return false;
    }
    value = static_cast<unsigned int>(std::stoul(text));
    return true;
}

using Setter = std::function<bool(CRunTimeSettings&, const std::string&)>;

Setter BoolSetter(bool (CRunTimeSettings::*set)(bool)) {
    return [set](CRunTimeSettings& s, const std::string& text) {
        bool value = false;
        return ParseBool(text, value) && (s.*set)(value);
    };
}

Setter ProxyText(void (CProxyInfo::*set)(const MString&)) {
    return [set](CRunTimeSettings& s, const std::string& text) {
        (s.GetProxyInfo().*set)(text);
        return true;
    };
}

Setter ProxyPort(void (CProxyInfo::*set)(unsigned int)) {
    return [set](CRunTimeSettings& s, const std::string& text) {
        unsigned int port = 0;
        if (!ParseNumber(text, port) || port > 65535)
            return false;
        (s.GetProxyInfo().*set)(port);
        return true;
    };
}

Setter ProxyFlag(void (CProxyInfo::*set)(int)) {
    return [set](CRunTimeSettings& s, const std::string& text) {
        bool value = false;
        if (!ParseBool(text, value))
            return false;
        (s.GetProxyInfo().*set)(value ? 1 : 0);
        return true;
    };
}

// Keys as the settings file names them; matched without regard to case.
const std::vector<std::pair<std::string, Setter>>& Setters() {
    static const std::vector<std::pair<std::string, Setter>> setters = {
        {"BrowserType",
         [](CRunTimeSettings& s, const std::string& v) { return s.SetBrowserId(v); }},
        {"HttpVer", [](CRunTimeSettings& s, const std::string& v) { return s.SetHttpVer(v); }},
        {"CustomUserAgent",
         [](CRunTimeSettings& s, const std::string& v) { return s.SetCustomAgent(v); }},
        {"ResetContext", BoolSetter(&CRunTimeSettings::SetResetContext)},
        {"UseCustomAgent", BoolSetter(&CRunTimeSettings::SetUseCustomAgent)},
        {"KeepAlive", BoolSetter(&CRunTimeSettings::SetKeepAlive)},
        {"EnableChecks", BoolSetter(&CRunTimeSettings::SetEnableChecks)},
        {"AnalogMode",
         [](CRunTimeSettings& s, const std::string& v) {
             if (v != "0" && v != "1" && v != "2")
                 return false;
             s.SetAnalogMode(v != "0");
             s.SetIsDIL(v == "2");
             return true;
         }},
        {"ProxyUseBrowser", BoolSetter(&CRunTimeSettings::SetProxyUseBrowser)},
        {"ProxyHTTPHost", ProxyText(&CProxyInfo::SetHTTPHost)},
        {"ProxyHTTPSHost", ProxyText(&CProxyInfo::SetHTTPSHost)},
        {"ProxyHTTPPort", ProxyPort(&CProxyInfo::SetHTTPPort)},
        {"ProxyHTTPSPort", ProxyPort(&CProxyInfo::SetHTTPSPort)},
        {"ProxyUseSame", ProxyFlag(&CProxyInfo::SetUseSameForAll)},
        {"ProxyNoLocal", ProxyFlag(&CProxyInfo::SetDontUseForLocal)},
        {"ProxyBypass", ProxyText(&CProxyInfo::SetBypass)},
        {"ProxyUserName", ProxyText(&CProxyInfo::SetUserName)},
        {"ProxyPassword", ProxyText(&CProxyInfo::SetPassword)},
        {"ProxyUseAutoConfigScript", ProxyFlag(&CProxyInfo::SetUseAutoConfigScript)},
        {"ProxyAutoConfigScriptURL",
         [](CRunTimeSettings& s, const std::string& v) {
             s.GetProxyInfo().SetAutoConfigScriptURL(v);
             return true;
         }},
        {"ProxyUseProxyServer", ProxyFlag(&CProxyInfo::SetUseProxyServer)},
        {"WebRecorderVersion",
         [](CRunTimeSettings& s, const std::string& v) {
             unsigned int version = 0;
             return ParseNumber(v, version) && s.SetRecorderVersion(version);
         }},
        {"SaveSnapshotResources", BoolSetter(&CRunTimeSettings::SetSaveSnapshotResources)},
        {"UTF8InputOutput", BoolSetter(&CRunTimeSettings::SetUTF8InputOutput)},
    };
    return setters;
}

// What a key takes, for the message that refuses a value.
std::string AcceptedValues(const std::string& key) {
    auto is = [&key](const char* name) { return strcasecmp(key.c_str(), name) == 0; };
    if (is("BrowserType")) {
        std::string text = "it takes one of:";
        for (const char* id : CRunTimeSettings::BrowserIds)
            text += std::string(" \"") + id + "\"";
        return text;
    }
    if (is("HttpVer"))
        return "it takes 1.0 or 1.1";
    if (is("AnalogMode"))
        return "it takes 0, 1 or 2";
    if (is("ProxyHTTPPort") || is("ProxyHTTPSPort"))
        return "it takes a port number from 0 to 65535";
    if (is("WebRecorderVersion"))
        return "it takes a decimal number";
    return "it takes Yes/No, True/False or 1/0";
}

nlohmann::ordered_json ToJson(const CRunTimeSettings& s) {
    const CProxyInfo& p = s.GetProxyInfo();
    MString proxyList;
    p.GetProxyWininetString(proxyList);
    return {
        {"BrowserType", s.GetBrowserId()},
        {"HttpVer", s.GetHttpVer()},
        {"CustomUserAgent", s.GetCustomAgent()},
        {"ResetContext", s.GetResetContext()},
        {"UseCustomAgent", s.GetUseCustomAgent()},
        {"KeepAlive", s.GetKeepAlive()},
        {"EnableChecks", s.GetEnableChecks()},
        {"AnalogMode", s.GetAnalogMode()},
        {"IsDIL", s.GetIsDIL()},
        {"ProxyUseBrowser", s.GetProxyUseBrowser()},
        {"ProxyEnabled", p.IsProxyEnabled()},
        {"ProxyHTTPHost", p.GetHTTPHost()},
        {"ProxyHTTPPort", p.GetHTTPPort()},
        {"ProxyHTTPSHost", p.GetHTTPSHost()},
        {"ProxyHTTPSPort", p.GetHTTPSPort()},
        {"ProxyUseSame", p.GetUseSameForAll() != 0},
        {"ProxyNoLocal", p.GetDontUseForLocal() != 0},
        {"ProxyBypass", p.GetBypass()},
        {"ProxyUserName", p.GetUserNameA()},
        {"ProxyPasswordSet", !p.GetPassword().empty()},
        {"ProxyUseAutoConfigScript", p.GetUseAutoConfigScript() != 0},
        {"ProxyAutoConfigScriptURL", p.GetAutoConfigScriptURL()},
        {"ProxyUseProxyServer", p.GetUseProxyServer() != 0},
        {"ProxyList", proxyList},
        {"RecorderVersion", s.GetRecorderVersion()},
        {"SaveSnapshotResources", s.GetSaveSnapshotResources()},
        {"UTF8InputOutput", s.GetUTF8InputOutput()},
        {"ActualBrowser", s.GetActualBrowserIdString()},
        {"ActualHttpVersion", s.GetActualHTTPVerString()},
    };
}

// The settings object never reads the recorder version back from a file;
// the tool does, so that a change of another key keeps the file's version.
CRunTimeSettings Load(const std::string& file) {
    CRunTimeSettings settings;
    settings.ReadFromFile(file);
    settings.SetRecorderVersion(webstep::platform::GetPrivateProfileIntA(
        "WEB", "WebRecorderVersion", static_cast<int>(settings.GetRecorderVersion()),
        file.c_str()));
    return settings;
}

int RunSettings(const SettingsOptions& options) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(options.file, error)) {
        std::cerr << "webstep settings: \"" << options.file << "\" is not a readable file\n";
        return 2;
    }
    CRunTimeSettings settings = Load(options.file);
    if (!options.assignments.empty()) {
        for (const std::string& assignment : options.assignments) {
            size_t equals = assignment.find('=');
            if (equals == std::string::npos || equals == 0) {
                std::cerr << "webstep settings: --set takes Key=Value, not \"" << assignment
                          << "\"\n";
                return 2;
            }
            std::string key = assignment.substr(0, equals);
            std::string value = assignment.substr(equals + 1);
            const Setter* setter = nullptr;
            for (const auto& [name, set] : Setters()) {
                if (strcasecmp(name.c_str(), key.c_str()) == 0)
                    setter = &set;
            }
            if (setter == nullptr) {
                std::cerr << "webstep settings: unknown key \"" << key << "\"; known keys:";
                for (const auto& entry : Setters())
                    std::cerr << ' ' << entry.first;
                std::cerr << '\n';
                return 2;
            }
            if (!(*setter)(settings, value)) {
                std::cerr << "webstep settings: \"" << value << "\" is not a valid value for "
                          << key << "; " << AcceptedValues(key) << '\n';
                return 2;
            }
        }
        if (!settings.TrySaveToFile(options.file)) {
            // The file is replaced whole or not at all, so it still holds its old settings.
            std::cerr << "webstep settings: could not write \"" << options.file << "\" (error "
                      << webstep::platform::GetLastError() << "); the file is unchanged\n";
            return 2;
        }
        // Read back what was written, so the output shows the file.
        settings = Load(options.file);
    }
    nlohmann::ordered_json json = ToJson(settings);
    if (options.json) {
        std::cout << json.dump(2) << '\n';
    } else {
        for (auto& [key, value] : json.items()) {
            std::cout << key << ": "
                      << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
        }
    }
    return 0;
}

}  // namespace

void AddSettingsCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<SettingsOptions>();
    CLI::App* settings = app.add_subcommand(
        "settings",
        "Print the run-time settings of a script's settings file (its WEB section), or change "
        "them with --set and write them back; other sections are left as they are.\n"
        "  example: webstep settings default.cfg\n"
        "  example: webstep settings default.cfg --set HttpVer=1.1 --set KeepAlive=No");
    settings->add_option("FILE", options->file, "The settings file")->required();
    settings->add_option("--set", options->assignments,
                         "Key=Value to change (keys as in the file, e.g. HttpVer, KeepAlive, "
                         "BrowserType, ProxyHTTPHost); may be repeated");
    settings->add_flag("--json", options->json, "Print the settings as one JSON object");
    settings->footer(
        "Examples:\n"
        "  webstep settings default.cfg\n"
        "  webstep settings --json default.cfg\n"
        "  webstep settings default.cfg --set HttpVer=1.1 --set KeepAlive=No");
    settings->callback([options, exitCode] { *exitCode = RunSettings(*options); });
}

}  // namespace webstep::cli
