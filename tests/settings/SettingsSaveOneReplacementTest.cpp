// The settings are saved with one replacement of the file. What that gives
// must be the very file that writing the keys one by one gives, on recorded
// settings files, on hand-edited ones with odd layouts and on a new file;
// and the several-keys profile write must apply its pairs exactly as single
// writes would.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "ScratchDir.h"
#include "support/TestPaths.h"
#include "webstep/platform/PrivateProfile.h"
#include "webstep/settings/RunTimeSettings.h"

namespace {

namespace wp = webstep::platform;
using webstep::test::ScratchDir;

using Pairs = std::vector<std::pair<const char*, std::string>>;

const char* OneZero(bool value) {
    return value ? "1" : "0";
}

// The keys of the settings file, in their writing order, with the spellings
// that the settings writer uses.
Pairs SettingsPairs(const CRunTimeSettings& s) {
    const CProxyInfo& p = s.GetProxyInfo();
    return {
        {"BrowserType", s.GetBrowserId()},
        {"HttpVer", s.GetHttpVer()},
        {"CustomUserAgent", s.GetCustomAgent()},
        {"ResetContext", s.GetResetContext() ? "True" : "False"},
        {"UseCustomAgent", OneZero(s.GetUseCustomAgent())},
        {"KeepAlive", s.GetKeepAlive() ? "Yes" : "No"},
        {"EnableChecks", OneZero(s.GetEnableChecks())},
        {"AnalogMode", s.GetAnalogMode() ? (s.GetIsDIL() ? "2" : "1") : "0"},
        {"ProxyUseBrowser", OneZero(s.GetProxyUseBrowser())},
        {"ProxyUseProxy", OneZero(p.GetUseProxyServer() || p.GetUseAutoConfigScript())},
        {"ProxyHTTPHost", p.GetHTTPHost()},
        {"ProxyHTTPSHost", p.GetHTTPSHost()},
        {"ProxyHTTPPort", std::to_string(static_cast<int>(p.GetHTTPPort()))},
        {"ProxyHTTPSPort", std::to_string(static_cast<int>(p.GetHTTPSPort()))},
        {"ProxyUseSame", OneZero(p.GetUseSameForAll() != 0)},
        {"ProxyNoLocal", OneZero(p.GetDontUseForLocal() != 0)},
        {"ProxyBypass", p.GetBypass()},
        {"ProxyUserName", p.GetUserNameA()},
        {"ProxyPassword", p.GetPassword()},
        {"ProxyUseAutoConfigScript", OneZero(p.GetUseAutoConfigScript() != 0)},
        {"ProxyAutoConfigScriptURL", p.GetAutoConfigScriptURL()},
        {"ProxyUseProxyServer", OneZero(p.GetUseProxyServer() != 0)},
        {"WebRecorderVersion", std::to_string(static_cast<int>(s.GetRecorderVersion()))},
        {"SaveSnapshotResources", OneZero(s.GetSaveSnapshotResources())},
        {"UTF8InputOutput", OneZero(s.GetUTF8InputOutput())},
    };
}

CRunTimeSettings ChangedSettings() {
    CRunTimeSettings s;
    s.SetBrowserId("Netscape Navigator 4.5");
    s.SetHttpVer("1.1");
    s.SetCustomAgent("Agent/2.0 (a=b; \"quoted\")");
    s.SetUseCustomAgent(true);
    s.SetKeepAlive(false);
    s.SetEnableChecks(true);
    s.SetAnalogMode(true);
    s.SetIsDIL(true);
    s.SetProxyUseBrowser(true);
    s.SetResetContext(false);
    s.SetRecorderVersion(12);
    s.SetSaveSnapshotResources(true);
    s.SetUTF8InputOutput(true);
    CProxyInfo& p = s.GetProxyInfo();
    p.SetHTTPHost("proxy.example.net");
    p.SetHTTPSHost("secure.example.net");
    p.SetHTTPPort(3128);
    p.SetHTTPSPort(8443);
    p.SetUseSameForAll(1);
    p.SetDontUseForLocal(1);
    p.SetBypass("*.local;<local>");
    p.SetUserName("user");
    p.SetPassword("p=w d");
    p.SetUseProxyServer(1);
    p.SetAutoConfigScriptURL("http://wpad/wpad.dat");
    return s;
}

// Settings files as people keep them: recorded ones, hand edits with other
// line endings, no final line ending, repeated or empty sections, a byte
// order mark, keys before the first section.
std::vector<std::pair<std::string, std::string>> StartingFiles() {
    std::string recorded;
    EXPECT_TRUE(ScratchDir::Read(
        (webstep::test::SourceDir() / "tests/settings/data/recorded.cfg").string(), recorded))
        << "the recorded settings sample is missing";
    return {
        {"recorded", recorded},
        {"short",
         "[General]\r\nXlBridgeTimeout=120\r\n\r\n[WEB]\r\nHttpVer=1.0\r\n"
         "KeepAlive=Yes\r\n; a note kept by hand\r\n"},
        {"empty file", ""},
        {"line feeds, no final ending",
         "[General]\niterations=2\n\n[WEB]\nHttpVer=1.1\n\n[Log]\n"
         "LogOptions=LogBrief"},
        {"web section last without ending", "[General]\r\nA=1\r\n[WEB]\r\nKeepAlive = No  "},
        {"bare web header at the end", "[General]\r\nA=1\r\n[WEB]"},
        {"no web section, blank last line", "[General]\r\nA=1\r\n\r\n"},
        {"web section twice, other case",
         "[web]\r\nBrowserType=Netscape Navigator 2.0\r\n\r\n\r\n[Other]\r\nk=v\r\n"
         "[WEB]\r\nHttpVer=1.1\r\n"},
        {"byte order mark", "\xEF\xBB\xBF[WEB]\r\nHttpVer=1.1\r\nProxyPassword=\"old\"\r\n"},
        {"keys before the first section", "top=1\nHttpVer=9\n[WEB]\nEnableChecks\n\n"},
        {"mixed line endings", "[WEB]\nUseCustomAgent=1\r\n  ; kept\n[X]\r\ny=2"},
    };
}

// The file that writing the pairs one at a time gives.
std::string WrittenKeyByKey(const ScratchDir& dir, const std::string& start, bool exists,
                            const Pairs& pairs) {
    const std::string path = dir.File("single.cfg");
    std::filesystem::remove(path);
    if (exists)
        ScratchDir::Write(path, start);
    for (const auto& [key, value] : pairs)
        EXPECT_TRUE(wp::WritePrivateProfileStringA("WEB", key, value.c_str(), path.c_str()));
    std::string content;
    ScratchDir::Read(path, content);
    return content;
}

}  // namespace

TEST(SettingsSaveOneReplacement, SavedFileIsByteForByteWhatKeyByKeyWritesGive) {
    ScratchDir dir;
    // Every layout with changed settings; the defaults on the recorded file
    // only (each key-by-key reference costs a synced write per key).
    const std::pair<CRunTimeSettings, bool> cases[] = {{ChangedSettings(), false},
                                                       {CRunTimeSettings(), true}};
    for (const auto& [settings, recordedOnly] : cases) {
        const Pairs pairs = SettingsPairs(settings);
        for (const auto& [name, start] : StartingFiles()) {
            if (recordedOnly && name != "recorded")
                continue;
            const std::string expected = WrittenKeyByKey(dir, start, true, pairs);
            const std::string path = dir.File("whole.cfg");
            ScratchDir::Write(path, start);
            EXPECT_TRUE(settings.TrySaveToFile(path)) << name;
            std::string saved;
            ScratchDir::Read(path, saved);
            EXPECT_EQ(saved, expected) << name;
        }
    }
}

TEST(SettingsSaveOneReplacement, NewFileIsByteForByteWhatKeyByKeyWritesGive) {
    ScratchDir dir;
    const CRunTimeSettings settings = ChangedSettings();
    const std::string expected = WrittenKeyByKey(dir, "", false, SettingsPairs(settings));
    ASSERT_EQ(expected.rfind("[WEB]\r\nBrowserType=Netscape Navigator 4.5\r\n", 0), 0u) << expected;
    const std::string path = dir.File("new.cfg");
    settings.SaveToFile(path);
    std::string saved;
    ASSERT_TRUE(ScratchDir::Read(path, saved));
    EXPECT_EQ(saved, expected);
}

TEST(SettingsSaveOneReplacement, SavedSettingsReadBackAsSaved) {
    ScratchDir dir;
    const std::string path = dir.File("default.cfg");
    ASSERT_TRUE(ChangedSettings().TrySaveToFile(path));
    CRunTimeSettings read;
    read.ReadFromFile(path);
    EXPECT_EQ(read.GetBrowserId(), "Netscape Navigator 4.5");
    EXPECT_EQ(read.GetCustomAgent(), "Agent/2.0 (a=b; \"quoted\")");
    EXPECT_FALSE(read.GetKeepAlive());
    EXPECT_TRUE(read.GetIsDIL());
    EXPECT_EQ(read.GetProxyInfo().GetPassword(), "p=w d");
    EXPECT_EQ(read.GetProxyInfo().GetHTTPSPort(), 8443u);
}

TEST(ProfileSeveralKeys, PairsApplyInOrderExactlyAsSingleWritesWouldIncludingDeletions) {
    ScratchDir dir;
    const std::string start =
        "top=1\r\n[A]\r\nx=1\r\ny=2\r\n\r\n[B]\r\nz=3\r\n[a]\r\nx=again\r\n[C]\r\nlast=1";
    const char* keys[] = {"x", "new", "y", "x", nullptr, "w", "top", "w2", "q"};
    const char* values[] = {"one", "n", nullptr, "twice", nullptr, "1", nullptr, "2", nullptr};
    const char* sections[] = {"A", "A", "A", "A", "B", "B", "", "", "C"};
    // Single writes, each to the file, as the reference.
    const std::string single = dir.File("single.ini");
    ScratchDir::Write(single, start);
    for (std::size_t i = 0; i < std::size(keys); ++i)
        ASSERT_TRUE(
            wp::WritePrivateProfileStringA(sections[i], keys[i], values[i], single.c_str()));
    std::string expected;
    ScratchDir::Read(single, expected);
    ASSERT_NE(expected, start);

    // The same pairs grouped by section, one several-keys write per section
    // run, in the same order.
    const std::string whole = dir.File("whole.ini");
    ScratchDir::Write(whole, start);
    std::size_t from = 0;
    for (std::size_t i = 1; i <= std::size(keys); ++i) {
        if (i == std::size(keys) || std::string(sections[i]) != sections[from]) {
            ASSERT_TRUE(wp::WritePrivateProfileStringsA(sections[from], keys + from, values + from,
                                                        static_cast<wp::DWORD>(i - from),
                                                        whole.c_str()));
            from = i;
        }
    }
    std::string saved;
    ScratchDir::Read(whole, saved);
    EXPECT_EQ(saved, expected);
}

TEST(ProfileSeveralKeys, NothingToChangeLeavesAMissingFileMissing) {
    ScratchDir dir;
    const std::string path = dir.File("absent.ini");
    EXPECT_TRUE(wp::WritePrivateProfileStringsA("WEB", nullptr, nullptr, 0, path.c_str()));
    const char* keys[] = {"gone"};
    const char* values[] = {nullptr};
    EXPECT_TRUE(wp::WritePrivateProfileStringsA("WEB", keys, values, 1, path.c_str()));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(ProfileSeveralKeys, MissingSectionFileNameOrArraysAreRefusedWithTheirErrors) {
    ScratchDir dir;
    const std::string path = dir.File("p.ini");
    const char* keys[] = {"k"};
    const char* values[] = {"v"};
    wp::SetLastError(0);
    EXPECT_FALSE(wp::WritePrivateProfileStringsA(nullptr, keys, values, 1, path.c_str()));
    EXPECT_EQ(wp::GetLastError(), wp::ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(wp::WritePrivateProfileStringsA("WEB", keys, values, 1, ""));
    EXPECT_EQ(wp::GetLastError(), wp::ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(wp::WritePrivateProfileStringsA("WEB", nullptr, values, 1, path.c_str()));
    EXPECT_EQ(wp::GetLastError(), wp::ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(std::filesystem::exists(path));
}
