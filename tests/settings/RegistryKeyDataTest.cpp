#include "webstep/settings/BrowserSettings.h"
#include "webstep/settings/RegistryKeyData.h"

#include "webstep/platform/MessageBox.h"
#include "webstep/platform/Registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>
#include <unistd.h>

using webstep::platform::HKEY_CLASSES_ROOT;
using webstep::platform::HKEY_CURRENT_USER;

namespace {

// Points the registry stand-in at a scratch file and records message boxes.
class RegistryFile : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() /
               ("webstep-registry-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir_);
        webstep::platform::SetRegistryPath((dir_ / "registry.ini").c_str());
        webstep::platform::SetMessageBoxSink(
            [this](void* owner, const char* text, const char* caption, unsigned type) {
                boxes_.push_back({owner, text, caption, type});
                return 1;
            });
    }
    void TearDown() override {
        webstep::platform::SetMessageBoxSink({});
        webstep::platform::SetRegistryPath(nullptr);
        std::filesystem::remove_all(dir_);
    }

    struct Box {
        void* owner;
        std::string text;
        std::string caption;
        unsigned type;
    };
    std::filesystem::path dir_;
    std::vector<Box> boxes_;
};

}  // namespace

TEST_F(RegistryFile, StringValueRoundTrip) {
    EXPECT_NE(SetStringKeyData("Software\\webstep", "Name", HKEY_CURRENT_USER, "a b\tc"), 0);
    EXPECT_EQ(GetStringKeyData("Software\\webstep", "Name", HKEY_CURRENT_USER, "dflt"), "a b\tc");
    EXPECT_TRUE(boxes_.empty());
}

TEST_F(RegistryFile, MissingValueGivesTheDefault) {
    EXPECT_EQ(GetStringKeyData("Software\\none", "Name", HKEY_CURRENT_USER, "dflt"), "dflt");
    EXPECT_EQ(GetNumKeyData("Software\\none", "N", HKEY_CURRENT_USER, 42), 42ul);
    unsigned char buffer[4];
    EXPECT_EQ(GetBinKeyData("Software\\none", "B", HKEY_CURRENT_USER, buffer, 4, nullptr), 0ul);
}

TEST_F(RegistryFile, RootsAreSeparate) {
    SetStringKeyData("K", "V", HKEY_CURRENT_USER, "user");
    EXPECT_EQ(GetStringKeyData("K", "V", HKEY_CLASSES_ROOT, "none"), "none");
}

TEST_F(RegistryFile, NumberValueRoundTripKeepsThirtyTwoBits) {
    EXPECT_NE(SetNumKeyData("K", "N", HKEY_CURRENT_USER, 0xFFFFFFFFul), 0);
    EXPECT_EQ(GetNumKeyData("K", "N", HKEY_CURRENT_USER, 0), 0xFFFFFFFFul);
    SetNumKeyData("K", "N", HKEY_CURRENT_USER, 7);
    EXPECT_EQ(GetNumKeyData("K", "N", HKEY_CURRENT_USER, 0), 7ul);
}

TEST_F(RegistryFile, NumberReadOfAStringValueGivesTheDefault) {
    SetStringKeyData("K", "N", HKEY_CURRENT_USER, "12");
    EXPECT_EQ(GetNumKeyData("K", "N", HKEY_CURRENT_USER, 99), 99ul);
}

TEST_F(RegistryFile, StringReadOfANumberValueGivesTheDefault) {
    SetNumKeyData("K", "N", HKEY_CURRENT_USER, 12);
    EXPECT_EQ(GetStringKeyData("K", "N", HKEY_CURRENT_USER, "dflt"), "dflt");
}

TEST_F(RegistryFile, StringThatLooksTypedStaysAString) {
    SetStringKeyData("K", "S", HKEY_CURRENT_USER, "dword:00000001");
    EXPECT_EQ(GetStringKeyData("K", "S", HKEY_CURRENT_USER, ""), "dword:00000001");
    EXPECT_EQ(GetNumKeyData("K", "S", HKEY_CURRENT_USER, 5), 5ul);
}

TEST_F(RegistryFile, BinaryValueRoundTripIntoTheCallersBuffer) {
    const unsigned char data[] = {0x00, 0xFF, 0x10, 0x0A};
    EXPECT_NE(SetBinKeyData("K", "B", HKEY_CURRENT_USER, data, sizeof data), 0);
    unsigned char buffer[8] = {};
    unsigned char* allocated = reinterpret_cast<unsigned char*>(1);
    EXPECT_EQ(GetBinKeyData("K", "B", HKEY_CURRENT_USER, buffer, sizeof buffer, &allocated), 4ul);
    EXPECT_EQ(allocated, nullptr);
    EXPECT_EQ(std::memcmp(buffer, data, 4), 0);
}

TEST_F(RegistryFile, BinaryValueLargerThanTheBufferIsAllocated) {
    unsigned char data[300];
    for (int i = 0; i < 300; ++i)
        data[i] = static_cast<unsigned char>(i);
    SetBinKeyData("K", "B", HKEY_CURRENT_USER, data, sizeof data);
    unsigned char buffer[16] = {};
    unsigned char* allocated = nullptr;
    EXPECT_EQ(GetBinKeyData("K", "B", HKEY_CURRENT_USER, buffer, sizeof buffer, &allocated), 300ul);
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(std::memcmp(allocated, data, 300), 0);
    std::free(allocated);
    EXPECT_EQ(GetBinKeyData("K", "B", HKEY_CURRENT_USER, buffer, sizeof buffer, nullptr), 300ul)
        << "without an allocation slot the length is still told";
}

TEST_F(RegistryFile, BinaryReadOfAStringValueGivesNothing) {
    SetStringKeyData("K", "B", HKEY_CURRENT_USER, "text");
    unsigned char buffer[8];
    EXPECT_EQ(GetBinKeyData("K", "B", HKEY_CURRENT_USER, buffer, sizeof buffer, nullptr), 0ul);
}

TEST_F(RegistryFile, EmptyBinaryValueRoundTrip) {
    const unsigned char data[1] = {0};
    EXPECT_NE(SetBinKeyData("K", "B", HKEY_CURRENT_USER, data, 0), 0);
    unsigned char buffer[1];
    EXPECT_EQ(GetBinKeyData("K", "B", HKEY_CURRENT_USER, buffer, 1, nullptr), 0ul);
}

TEST_F(RegistryFile, NullBinaryDataWritesNothing) {
    EXPECT_NE(SetBinKeyData("K", "B", HKEY_CURRENT_USER, nullptr, 3), 0);
    EXPECT_EQ(GetStringKeyData("K", "B", HKEY_CURRENT_USER, "absent"), "absent");
}

TEST_F(RegistryFile, FailedWriteShowsTheMessageBoxAndReturnsZero) {
    // A registry path whose folder is a regular file cannot be written.
    std::filesystem::path blocker = dir_ / "blocker";
    {
        FILE* f = std::fopen(blocker.c_str(), "w");
        std::fclose(f);
    }
    webstep::platform::SetRegistryPath((blocker / "registry.ini").c_str());
    EXPECT_EQ(SetStringKeyData("K", "V", HKEY_CURRENT_USER, "x"), 0);
    EXPECT_EQ(SetNumKeyData("K", "N", HKEY_CURRENT_USER, 1), 0);
    ASSERT_EQ(boxes_.size(), 2u);
    EXPECT_EQ(boxes_[0].owner, nullptr);
    EXPECT_EQ(boxes_[0].text, "can not update the registry.");
    EXPECT_EQ(boxes_[0].caption, "Error");
    EXPECT_EQ(boxes_[0].type, webstep::platform::MB_ICONSTOP);
}

TEST_F(RegistryFile, UnknownRootFailsToWrite) {
    EXPECT_EQ(SetStringKeyData("K", "V", 0x1234, "x"), 0);
    EXPECT_EQ(boxes_.size(), 1u);
    EXPECT_EQ(GetStringKeyData("K", "V", 0x1234, "d"), "d");
}

TEST(BrowserSettings, DefaultsUseTheDefaultBrowserAndNoManualInvoke) {
    CBrowserSettings settings;
    EXPECT_TRUE(settings.IsUseDefault());
    EXPECT_FALSE(settings.IsManualInvoke());
}

TEST(BrowserSettings, ExplicitPathIsReturnedWhenTheDefaultIsNotUsed) {
    CBrowserSettings settings;
    settings.SetUseDefault(false);
    settings.SetPath("/usr/bin/firefox");
    settings.SetManualInvoke(true);
    CBrowserSettings copy(settings);
    EXPECT_EQ(copy.GetPath(), "/usr/bin/firefox");
    EXPECT_TRUE(copy.IsManualInvoke());
}

TEST(BrowserSettings, ProgramIsExtractedFromQuotedAndPlainCommandLines) {
    EXPECT_EQ(CBrowserSettings::ExtractShortPath("\"C:\\Program Files\\IE\\iexplore.exe\" -nohome"),
              "C:\\Program Files\\IE\\iexplore.exe");
    EXPECT_EQ(CBrowserSettings::ExtractShortPath("/usr/bin/firefox %u"), "/usr/bin/firefox");
    EXPECT_EQ(CBrowserSettings::ExtractShortPath("  browser"), "browser");
    EXPECT_EQ(CBrowserSettings::ExtractShortPath("\"unclosed path"), "unclosed path");
    EXPECT_EQ(CBrowserSettings::ExtractShortPath(""), "");
    EXPECT_EQ(CBrowserSettings::ExtractShortPath("   "), "");
}

namespace {

// Sets environment variables for the life of the object.
class ScopedEnv {
public:
    void Set(const char* name, const std::string& value) {
        Remember(name);
        ::setenv(name, value.c_str(), 1);
    }
    void Unset(const char* name) {
        Remember(name);
        ::unsetenv(name);
    }
    ~ScopedEnv() {
        for (auto& [name, value, had] : saved_) {
            if (had) {
                ::setenv(name.c_str(), value.c_str(), 1);
            } else {
                ::unsetenv(name.c_str());
            }
        }
    }

private:
    void Remember(const char* name) {
        const char* old = std::getenv(name);
        saved_.push_back({name, old ? old : "", old != nullptr});
    }
    std::vector<std::tuple<std::string, std::string, bool>> saved_;
};

void WriteText(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    FILE* f = std::fopen(path.c_str(), "w");
    ASSERT_NE(f, nullptr);
    std::fputs(text.c_str(), f);
    std::fclose(f);
}

}  // namespace

// The desktop's own settings are kept out by pointing every XDG folder into
// the scratch folder.
class DefaultBrowser : public RegistryFile {
protected:
    void SetUp() override {
        RegistryFile::SetUp();
        env_.Unset("BROWSER");
        env_.Set("XDG_CONFIG_HOME", (dir_ / "config").string());
        env_.Set("XDG_CONFIG_DIRS", (dir_ / "etc-xdg").string());
        env_.Set("XDG_DATA_HOME", (dir_ / "data").string());
        env_.Set("XDG_DATA_DIRS", (dir_ / "usr-share").string());
    }
    ScopedEnv env_;
};

TEST_F(DefaultBrowser, NothingConfiguredGivesAnEmptyPath) {
    EXPECT_EQ(CBrowserSettings().GetPath(), "");
}

TEST_F(DefaultBrowser, BrowserVariableComesFirstAndItsFirstEntryWins) {
    env_.Set("BROWSER", "/usr/bin/links -g:/usr/bin/lynx");
    SetStringKeyData(".htm", "", HKEY_CLASSES_ROOT, "htmlfile");
    SetStringKeyData("htmlfile\\shell\\open\\command", "", HKEY_CLASSES_ROOT, "/registered");
    EXPECT_EQ(CBrowserSettings().GetPath(), "/usr/bin/links");
}

TEST_F(DefaultBrowser, DesktopDefaultHandlerOfHttpGivesItsExecProgram) {
    WriteText(dir_ / "config/mimeapps.list",
              "[Added Associations]\nx-scheme-handler/http=other.desktop;\n"
              "[Default Applications]\nx-scheme-handler/http=web.desktop;other.desktop;\n");
    WriteText(dir_ / "usr-share/applications/web.desktop",
              "[Desktop Entry]\r\nName=Web\r\nExec=\"/opt/web browser/web\" %u\r\n"
              "[Desktop Action new]\r\nExec=/wrong\r\n");
    EXPECT_EQ(CBrowserSettings().GetPath(), "/opt/web browser/web");
}

TEST_F(DefaultBrowser, HtmlHandlerServesWhenNoSchemeHandlerIsSet) {
    WriteText(dir_ / "etc-xdg/mimeapps.list", "[Default Applications]\ntext/html=page.desktop\n");
    WriteText(dir_ / "data/applications/page.desktop", "[Desktop Entry]\nExec=pageview --new %f\n");
    EXPECT_EQ(CBrowserSettings().GetPath(), "pageview");
}

TEST_F(DefaultBrowser, RegisteredCommandOfWebPagesIsTheLastResort) {
    CBrowserSettings settings;
    SetStringKeyData(".htm", "", HKEY_CLASSES_ROOT, "htmlfile");
    EXPECT_EQ(settings.GetPath(), "") << "no open command for the file type";
    SetStringKeyData("htmlfile\\shell\\open\\command", "", HKEY_CLASSES_ROOT,
                     "\"/opt/web browser/bin/browser\" --new-window \"%1\"");
    EXPECT_EQ(settings.GetPath(), "/opt/web browser/bin/browser");
    settings.SetUseDefault(false);
    settings.SetPath("/explicit");
    EXPECT_EQ(settings.GetPath(), "/explicit");
}
