#include "webstep/settings/RunTimeSettings.h"

#include "support/TestPaths.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

class SettingsFile : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() /
               ("webstep-settings-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir_);
        path_ = (dir_ / "default.cfg").string();
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    void WriteFile(const std::string& content) {
        std::ofstream out(path_, std::ios::binary);
        out << content;
    }
    std::string ReadFile() const {
        std::ifstream in(path_, std::ios::binary);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }

    std::filesystem::path dir_;
    std::string path_;
};

}  // namespace

TEST(RunTimeSettings, DefaultsAreTheDocumentedOnes) {
    CRunTimeSettings s;
    EXPECT_EQ(s.GetBrowserId(), "Microsoft Internet Explorer 4.0");
    EXPECT_EQ(s.GetHttpVer(), "1.0");
    EXPECT_EQ(s.GetCustomAgent(), "Mozilla/4.0 (compatible; MSIE 4.0; Windows NT)");
    EXPECT_FALSE(s.GetUseCustomAgent());
    EXPECT_TRUE(s.GetKeepAlive());
    EXPECT_FALSE(s.GetProxyUseBrowser());
    EXPECT_FALSE(s.GetEnableChecks());
    EXPECT_FALSE(s.GetAnalogMode());
    EXPECT_TRUE(s.GetResetContext());
    EXPECT_FALSE(s.GetIsDIL());
    EXPECT_EQ(s.GetRecorderVersion(), 10u);
    EXPECT_FALSE(s.GetSaveSnapshotResources());
    EXPECT_FALSE(s.GetUTF8InputOutput());
    EXPECT_FALSE(s.GetProxyInfo().IsProxyEnabled());
}

TEST(RunTimeSettings, HttpVersionWithPrefixIsStoredShortAndPrintedLong) {
    CRunTimeSettings s;
    EXPECT_TRUE(s.SetHttpVer("HTTP/1.1"));
    EXPECT_EQ(s.GetHttpVer(), "1.1");
    EXPECT_EQ(s.GetActualHTTPVerString(), "HTTP/1.1");
    EXPECT_TRUE(s.SetHttpVer("HTTP/1.0"));
    EXPECT_EQ(s.GetHttpVer(), "1.0");
    EXPECT_EQ(s.GetActualHTTPVerString(), "HTTP/1.0");
    EXPECT_TRUE(s.SetHttpVer("1.1"));
    EXPECT_EQ(s.GetHttpVer(), "1.1");
}

TEST(RunTimeSettings, OtherHttpVersionTextsAreRefusedAndKeepTheOldOne) {
    CRunTimeSettings s;
    s.SetHttpVer("1.1");
    for (const char* bad : {"2.0", "http/1.1", "1.1 ", "", "HTTP/2", "1"}) {
        EXPECT_FALSE(s.SetHttpVer(bad)) << bad;
        EXPECT_EQ(s.GetHttpVer(), "1.1") << bad;
    }
}

TEST(RunTimeSettings, UnknownBrowserIdIsRefusedAndKeepsThePreviousOne) {
    CRunTimeSettings s;
    EXPECT_TRUE(s.SetBrowserId("Netscape Navigator 4.5"));
    EXPECT_FALSE(s.SetBrowserId("Netscape Navigator 4.6"));
    EXPECT_FALSE(s.SetBrowserId("netscape navigator 4.5")) << "the comparison is case-sensitive";
    EXPECT_FALSE(s.SetBrowserId("Microsoft Internet Explorer 6.0"));
    EXPECT_EQ(s.GetBrowserId(), "Netscape Navigator 4.5");
}

TEST(RunTimeSettings, EveryKnownBrowserIdIsAccepted) {
    CRunTimeSettings s;
    for (const char* id : CRunTimeSettings::BrowserIds) {
        EXPECT_TRUE(s.SetBrowserId(id)) << id;
        EXPECT_EQ(s.GetBrowserId(), id);
    }
}

TEST(RunTimeSettings, ActualBrowserStringFollowsTheCustomAgentSwitch) {
    CRunTimeSettings s;
    s.SetCustomAgent("LoadAgent/1.0");
    EXPECT_EQ(s.GetActualBrowserIdString(), "Microsoft Internet Explorer 4.0");
    s.SetUseCustomAgent(true);
    EXPECT_EQ(s.GetActualBrowserIdString(), "LoadAgent/1.0");
}

TEST(RunTimeSettings, SetDefaultsLeavesTheProxyInformation) {
    CRunTimeSettings s;
    s.SetKeepAlive(false);
    s.SetRecorderVersion(3);
    s.SetAnalogMode(true);
    s.GetProxyInfo().SetHTTPHost("proxy");
    s.SetDefaults();
    EXPECT_TRUE(s.GetKeepAlive());
    EXPECT_EQ(s.GetRecorderVersion(), 10u);
    EXPECT_FALSE(s.GetAnalogMode());
    EXPECT_EQ(s.GetProxyInfo().GetHTTPHost(), "proxy");
}

TEST(RunTimeSettings, CopiesCarryEveryField) {
    CRunTimeSettings s;
    s.SetBrowserId("Netscape Navigator 3.0");
    s.SetHttpVer("1.1");
    s.SetUTF8InputOutput(true);
    s.SetIsDIL(true);
    s.GetProxyInfo().SetBypass("<local>");
    CRunTimeSettings copy(s);
    CRunTimeSettings assigned;
    assigned = s;
    for (const CRunTimeSettings* c : {&copy, &assigned}) {
        EXPECT_EQ(c->GetBrowserId(), "Netscape Navigator 3.0");
        EXPECT_EQ(c->GetHttpVer(), "1.1");
        EXPECT_TRUE(c->GetUTF8InputOutput());
        EXPECT_TRUE(c->GetIsDIL());
        EXPECT_EQ(c->GetProxyInfo().GetBypass(), "<local>");
    }
}

TEST_F(SettingsFile, FreshObjectSavedAndReadBackIsEqualButTheRecorderVersion) {
    CRunTimeSettings saved;
    saved.SaveToFile(path_);
    CRunTimeSettings read;
    read.SetRecorderVersion(77);
    read.SetKeepAlive(false);
    read.SetBrowserId("Netscape Navigator 2.0");
    read.ReadFromFile(path_);
    EXPECT_EQ(read.GetBrowserId(), saved.GetBrowserId());
    EXPECT_EQ(read.GetHttpVer(), saved.GetHttpVer());
    EXPECT_EQ(read.GetCustomAgent(), saved.GetCustomAgent());
    EXPECT_EQ(read.GetKeepAlive(), saved.GetKeepAlive());
    EXPECT_EQ(read.GetResetContext(), saved.GetResetContext());
    EXPECT_EQ(read.GetRecorderVersion(), 77u) << "the recorder version is written, never read";
    EXPECT_NE(ReadFile().find("WebRecorderVersion=10"), std::string::npos);
}

TEST_F(SettingsFile, EveryFieldSurvivesARoundTrip) {
    CRunTimeSettings s;
    s.SetBrowserId("Netscape Navigator 4.0");
    s.SetHttpVer("1.1");
    s.SetCustomAgent("Agent X");
    s.SetUseCustomAgent(true);
    s.SetKeepAlive(false);
    s.SetProxyUseBrowser(true);
    s.SetEnableChecks(true);
    s.SetAnalogMode(true);
    s.SetIsDIL(true);
    s.SetResetContext(false);
    s.SetSaveSnapshotResources(true);
    s.SetUTF8InputOutput(true);
    s.GetProxyInfo().SetAll(3, "ph", 8080, "phs", 8443, 1, 1, "*.corp", "pu", "pp", "", 1,
                            "http://pac/x.pac", 1);
    s.SaveToFile(path_);
    CRunTimeSettings r;
    r.ReadFromFile(path_);
    EXPECT_EQ(r.GetBrowserId(), "Netscape Navigator 4.0");
    EXPECT_EQ(r.GetHttpVer(), "1.1");
    EXPECT_EQ(r.GetCustomAgent(), "Agent X");
    EXPECT_TRUE(r.GetUseCustomAgent());
    EXPECT_FALSE(r.GetKeepAlive());
    EXPECT_TRUE(r.GetProxyUseBrowser());
    EXPECT_TRUE(r.GetEnableChecks());
    EXPECT_TRUE(r.GetAnalogMode());
    EXPECT_TRUE(r.GetIsDIL());
    EXPECT_FALSE(r.GetResetContext());
    EXPECT_TRUE(r.GetSaveSnapshotResources());
    EXPECT_TRUE(r.GetUTF8InputOutput());
    const CProxyInfo& p = r.GetProxyInfo();
    EXPECT_TRUE(p.IsProxyEnabled());
    EXPECT_EQ(p.GetHTTPHost(), "ph");
    EXPECT_EQ(p.GetHTTPPort(), 8080u);
    EXPECT_EQ(p.GetHTTPSHost(), "phs");
    EXPECT_EQ(p.GetHTTPSPort(), 8443u);
    EXPECT_EQ(p.GetUseSameForAll(), 1);
    EXPECT_EQ(p.GetDontUseForLocal(), 1);
    EXPECT_EQ(p.GetBypass(), "*.corp");
    EXPECT_EQ(p.GetUserNameA(), "pu");
    EXPECT_EQ(p.GetPassword(), "pp");
    EXPECT_EQ(p.GetUseAutoConfigScript(), 1);
    EXPECT_EQ(p.GetAutoConfigScriptURL(), "http://pac/x.pac");
    EXPECT_EQ(p.GetUseProxyServer(), 1);
}

TEST_F(SettingsFile, KeysAreWrittenInOrderWithTheirOwnBooleanSpellings) {
    CRunTimeSettings s;
    s.SaveToFile(path_);
    std::string text = ReadFile();
    const char* keys[] = {"BrowserType=Microsoft Internet Explorer 4.0",
                          "HttpVer=1.0",
                          "CustomUserAgent=Mozilla/4.0 (compatible; MSIE 4.0; Windows NT)",
                          "ResetContext=True",
                          "UseCustomAgent=0",
                          "KeepAlive=Yes",
                          "EnableChecks=0",
                          "AnalogMode=0",
                          "ProxyUseBrowser=0",
                          "ProxyUseProxy=0",
                          "ProxyHTTPHost=",
                          "ProxyHTTPSHost=",
                          "ProxyHTTPPort=0",
                          "ProxyHTTPSPort=0",
                          "ProxyUseSame=0",
                          "ProxyNoLocal=0",
                          "ProxyBypass=",
                          "ProxyUserName=",
                          "ProxyPassword=",
                          "ProxyUseAutoConfigScript=0",
                          "ProxyAutoConfigScriptURL=",
                          "ProxyUseProxyServer=0",
                          "WebRecorderVersion=10",
                          "SaveSnapshotResources=0",
                          "UTF8InputOutput=0"};
    ASSERT_EQ(text.find("[WEB]"), 0u) << text;
    size_t at = 0;
    for (const char* key : keys) {
        size_t found = text.find(key, at);
        ASSERT_NE(found, std::string::npos) << key << " missing or out of order in\n" << text;
        at = found + 1;
    }
}

TEST_F(SettingsFile, KeepAliveReadsNoAndYesInAnyCaseAndTwoAsFalse) {
    CRunTimeSettings s;
    WriteFile("[WEB]\nKeepAlive=no\n");
    s.ReadFromFile(path_);
    EXPECT_FALSE(s.GetKeepAlive());
    WriteFile("[WEB]\nKeepAlive=YES\n");
    s.ReadFromFile(path_);
    EXPECT_TRUE(s.GetKeepAlive());
    WriteFile("[WEB]\nKeepAlive=2\n");
    s.ReadFromFile(path_);
    EXPECT_FALSE(s.GetKeepAlive());
    WriteFile("[WEB]\nKeepAlive=tRuE\n");
    s.ReadFromFile(path_);
    EXPECT_TRUE(s.GetKeepAlive());
}

TEST_F(SettingsFile, AnalogModeTwoSetsAnalogAndDilOneSetsAnalogOnly) {
    CRunTimeSettings s;
    WriteFile("[WEB]\nAnalogMode=2\n");
    s.ReadFromFile(path_);
    EXPECT_TRUE(s.GetAnalogMode());
    EXPECT_TRUE(s.GetIsDIL());
    WriteFile("[WEB]\nAnalogMode=1\n");
    s.ReadFromFile(path_);
    EXPECT_TRUE(s.GetAnalogMode());
    EXPECT_FALSE(s.GetIsDIL());
}

TEST_F(SettingsFile, DilWithoutAnalogModeIsSavedAsZero) {
    CRunTimeSettings s;
    s.SetIsDIL(true);
    s.SetAnalogMode(false);
    s.SaveToFile(path_);
    EXPECT_NE(ReadFile().find("AnalogMode=0"), std::string::npos);
}

TEST_F(SettingsFile, MissingFileGivesTheDefaults) {
    CRunTimeSettings s;
    s.SetKeepAlive(false);
    s.SetHttpVer("1.1");
    s.ReadFromFile((dir_ / "absent.cfg").string());
    EXPECT_TRUE(s.GetKeepAlive());
    EXPECT_EQ(s.GetHttpVer(), "1.0");
    EXPECT_EQ(s.GetBrowserId(), "Microsoft Internet Explorer 4.0");
}

TEST_F(SettingsFile, RefusedBrowserIdAndVersionInTheFileKeepThePreviousValues) {
    CRunTimeSettings s;
    s.SetBrowserId("Netscape Navigator 3.0");
    s.SetHttpVer("1.1");
    WriteFile("[WEB]\nBrowserType=Mosaic 1.0\nHttpVer=2.0\n");
    s.ReadFromFile(path_);
    EXPECT_EQ(s.GetBrowserId(), "Netscape Navigator 3.0");
    EXPECT_EQ(s.GetHttpVer(), "1.1");
}

TEST_F(SettingsFile, OtherSectionsAndKeysOfTheFileAreKept) {
    WriteFile("[General]\nXlBridgeTimeout=120\n\n[WEB]\nKeepAlive=No\nCustomKey=7\n");
    CRunTimeSettings s;
    s.SaveToFile(path_);
    std::string text = ReadFile();
    EXPECT_NE(text.find("XlBridgeTimeout=120"), std::string::npos) << text;
    EXPECT_NE(text.find("CustomKey=7"), std::string::npos) << text;
    EXPECT_NE(text.find("KeepAlive=Yes"), std::string::npos) << text;
}

namespace {

std::string ReadWhole(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// The text before the "[WEB]" header and the text from the next section
// header on.
std::pair<std::string, std::string> OutsideWebSection(const std::string& text) {
    size_t web = text.find("[WEB]");
    size_t next = text.find("\r\n[", web);
    return {text.substr(0, web), next == std::string::npos ? "" : text.substr(next)};
}

}  // namespace

TEST_F(SettingsFile, RecordedSettingsFileIsReadWithItsQuotesSpacesAndProxy) {
    std::filesystem::copy_file(webstep::test::SourceDir() / "tests/settings/data/recorded.cfg",
                               path_, std::filesystem::copy_options::overwrite_existing);
    CRunTimeSettings s;
    s.ReadFromFile(path_);
    EXPECT_EQ(s.GetHttpVer(), "1.1");
    EXPECT_EQ(s.GetBrowserId(), "Netscape Navigator 4.5");
    EXPECT_FALSE(s.GetKeepAlive()) << "spaces around the name and the value are trimmed";
    EXPECT_EQ(s.GetCustomAgent(), "Mozilla/5.0 (X11; Linux x86_64)") << "quotes are taken off";
    EXPECT_TRUE(s.GetProxyInfo().IsProxyEnabled());
    EXPECT_EQ(s.GetProxyInfo().GetHTTPHost(), "proxy.example.net");
    EXPECT_EQ(s.GetProxyInfo().GetHTTPPort(), 3128u);
    EXPECT_TRUE(s.GetResetContext()) << "a key the file lacks keeps its default";
}

TEST_F(SettingsFile, SavingTheWebSectionLeavesEveryOtherByteOfARecordedFile) {
    const auto sample = webstep::test::SourceDir() / "tests/settings/data/recorded.cfg";
    std::filesystem::copy_file(sample, path_, std::filesystem::copy_options::overwrite_existing);
    const std::string before = ReadWhole(sample);
    CRunTimeSettings s;
    s.ReadFromFile(path_);
    s.SetKeepAlive(true);
    s.SaveToFile(path_);
    const std::string after = ReadFile();
    EXPECT_EQ(OutsideWebSection(after), OutsideWebSection(before));
    const std::string web = after.substr(after.find("[WEB]"));
    EXPECT_NE(web.find("KeepAlive=Yes\r\n"), std::string::npos) << web;
    EXPECT_NE(web.find("SearchParamLen=100\r\n"), std::string::npos) << "foreign keys stay";
    EXPECT_NE(web.find("; a comment inside the section\r\n"), std::string::npos);
    for (size_t at = after.find('\n'); at != std::string::npos; at = after.find('\n', at + 1)) {
        ASSERT_EQ(after[at - 1], '\r') << "a bare line feed at byte " << at;
    }
}
