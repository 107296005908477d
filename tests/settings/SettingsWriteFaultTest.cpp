// Faults while the settings file and the registry stand-in are written: a
// folder that refuses new files, and a disk that fills up part way. The
// previous file stays as it was, no temporary file is left behind, and the
// write reports the failure.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "ScratchDir.h"
#include "support/FaultInjection.h"
#include "webstep/platform/PrivateProfile.h"
#include "webstep/platform/Registry.h"
#include "webstep/settings/RunTimeSettings.h"

namespace {

namespace wp = webstep::platform;
using webstep::test::AsUnprivileged;
using webstep::test::FileSizeLimit;
using webstep::test::ScratchDir;

const char* const kSettings =
    "[General]\r\nXlBridgeTimeout=120\r\n\r\n[WEB]\r\nHttpVer=1.0\r\nKeepAlive=Yes\r\n"
    "; a note kept by hand\r\n";

std::string Contents(const std::string& path) {
    std::string content;
    ScratchDir::Read(path, content);
    return content;
}

int FileCount(const std::filesystem::path& dir) {
    int n = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir))
        ++n;
    return n;
}

CRunTimeSettings ChangedSettings() {
    CRunTimeSettings settings;
    settings.SetHttpVer("1.1");
    settings.SetKeepAlive(false);
    settings.SetCustomAgent(std::string(4096, 'a'));
    settings.SetUseCustomAgent(true);
    return settings;
}

// A folder of the scratch directory whose files stay writable but which
// takes no new file.
std::string LockedFolderWith(const ScratchDir& dir, const std::string& name,
                             const std::string& content) {
    const std::string folder = dir.File("locked");
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/" + name;
    ScratchDir::Write(path, content);
    ::chmod(dir.path().c_str(), 0755);
    ::chmod(path.c_str(), 0666);
    ::chmod(folder.c_str(), 0555);
    return path;
}

}  // namespace

TEST(SettingsWriteFault, SettingsSavedIntoAFolderThatTakesNoNewFileLeaveTheOldFile) {
    ScratchDir dir;
    const std::string path = LockedFolderWith(dir, "default.cfg", kSettings);
    const int outcome = AsUnprivileged([&] {
        // Every key is refused, and the file is not touched.
        if (wp::WritePrivateProfileStringA("WEB", "HttpVer", "1.1", path.c_str()))
            return 1;
        if (wp::GetLastError() != 5u)
            return 2;
        ChangedSettings().SaveToFile(path);
        return 0;
    });
    ::chmod((dir.File("locked")).c_str(), 0755);
    ASSERT_EQ(outcome, 0) << "1: the write succeeded, 2: another error than access denied";
    EXPECT_EQ(Contents(path), kSettings);
    EXPECT_EQ(FileCount(dir.File("locked")), 1);
}

TEST(SettingsWriteFault, SettingsSavedOnAFullDiskLeaveTheOldFile) {
    ScratchDir dir;
    const std::string path = dir.File("default.cfg");
    ScratchDir::Write(path, kSettings);
    {
        // Smaller than the settings file: no rewrite of it can complete.
        FileSizeLimit full(64);
        ASSERT_TRUE(full.ok());
        wp::SetLastError(0);
        EXPECT_FALSE(wp::WritePrivateProfileStringA("WEB", "HttpVer", "1.1", path.c_str()));
        EXPECT_NE(wp::GetLastError(), 0u);
        ChangedSettings().SaveToFile(path);
    }
    EXPECT_EQ(Contents(path), kSettings);
    EXPECT_EQ(FileCount(dir.path()), 1);
    // Once there is room again the same save goes through.
    ChangedSettings().SaveToFile(path);
    CRunTimeSettings read;
    read.ReadFromFile(path);
    EXPECT_EQ(read.GetHttpVer(), "1.1");
    EXPECT_FALSE(read.GetKeepAlive());
    EXPECT_NE(Contents(path).find("XlBridgeTimeout=120"), std::string::npos);
}

TEST(SettingsWriteFault, NewSettingsFileOnAFullDiskIsNotCreatedHalfWritten) {
    ScratchDir dir;
    const std::string path = dir.File("new.cfg");
    {
        FileSizeLimit full(16);
        ASSERT_TRUE(full.ok());
        EXPECT_FALSE(wp::WritePrivateProfileStringA("WEB", "CustomUserAgent",
                                                    std::string(256, 'x').c_str(), path.c_str()));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(FileCount(dir.path()), 0);
}

namespace {

// Points the registry stand-in at a file of the scratch directory.
class RegistryWriteFault : public ::testing::Test {
protected:
    void TearDown() override {
        ::chmod(dir.File("locked").c_str(), 0755);
        wp::SetRegistryPath(nullptr);
    }
    ScratchDir dir;
};

const char* const kKey = "HKEY_CURRENT_USER\\Software\\webstep";

}  // namespace

TEST_F(RegistryWriteFault, ValueWrittenIntoAFolderThatTakesNoNewFileFailsAndKeepsTheStore) {
    const std::string folder = dir.File("locked");
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/registry.ini";
    wp::SetRegistryPath(path.c_str());
    ASSERT_TRUE(wp::RegistrySetString(kKey, "Browser", "firefox"));
    const std::string before = Contents(path);
    ::chmod(path.c_str(), 0666);
    ::chmod(dir.path().c_str(), 0755);
    ::chmod(folder.c_str(), 0555);
    const int outcome = AsUnprivileged([&] {
        if (wp::RegistrySetString(kKey, "Browser", "chromium"))
            return 1;
        if (wp::RegistryDeleteKey(kKey))
            return 2;
        MString value;
        return wp::RegistryGetString(kKey, "Browser", value) && value == "firefox" ? 0 : 3;
    });
    ASSERT_EQ(outcome, 0) << "1: the set succeeded, 2: the delete succeeded, 3: value lost";
    EXPECT_EQ(Contents(path), before);
    ::chmod(folder.c_str(), 0755);
    EXPECT_EQ(FileCount(folder), 1);
}

TEST_F(RegistryWriteFault, ValueWrittenOnAFullDiskFailsAndKeepsTheStore) {
    const std::string path = dir.File("registry.ini");
    wp::SetRegistryPath(path.c_str());
    ASSERT_TRUE(wp::RegistrySetString(kKey, "Browser", "firefox"));
    const std::string before = Contents(path);
    {
        FileSizeLimit full(before.size());
        ASSERT_TRUE(full.ok());
        EXPECT_FALSE(wp::RegistrySetString(kKey, "Browser", std::string(512, 'c').c_str()));
        EXPECT_FALSE(wp::RegistrySetString(kKey, "Other", "value"));
    }
    EXPECT_EQ(Contents(path), before);
    EXPECT_EQ(FileCount(dir.path()), 1);
    MString value;
    ASSERT_TRUE(wp::RegistryGetString(kKey, "Browser", value));
    EXPECT_EQ(value, "firefox");
}

namespace {

using webstep::test::FillDisk;
using webstep::test::kNoSmallDisk;
using webstep::test::OnSmallDisk;

}  // namespace

// A real full disk: the settings file and the registry file live on a small
// tmpfs filled to the last byte.
TEST(SettingsWriteFault, SettingsAndRegistryOnAFilledDiskKeepTheirOldContent) {
    ScratchDir dir;
    const std::string mount = dir.File("disk");
    std::filesystem::create_directories(mount);
    const int outcome = OnSmallDisk(mount, [](const std::string& folder) {
        const std::string settings = folder + "/default.cfg";
        const std::string registry = folder + "/registry.ini";
        ScratchDir::Write(settings, kSettings);
        wp::SetRegistryPath(registry.c_str());
        if (!wp::RegistrySetString(kKey, "Browser", "firefox"))
            return 10;
        std::string registryBefore;
        ScratchDir::Read(registry, registryBefore);
        if (!FillDisk(folder))
            return 11;
        wp::SetLastError(0);
        if (wp::WritePrivateProfileStringA("WEB", "HttpVer", "1.1", settings.c_str()))
            return 1;
        if (wp::GetLastError() == 0)
            return 2;
        ChangedSettings().SaveToFile(settings);
        wp::SetLastError(0);
        if (ChangedSettings().TrySaveToFile(settings) || wp::GetLastError() == 0)
            return 7;
        if (wp::RegistrySetString(kKey, "Browser", std::string(1024, 'c').c_str()))
            return 3;
        if (Contents(settings) != kSettings)
            return 4;
        if (Contents(registry) != registryBefore)
            return 5;
        // Only the three files: no temporary file is left.
        return FileCount(folder) == 3 ? 0 : 6;
    });
    if (outcome == kNoSmallDisk)
        GTEST_SKIP() << "a tmpfs cannot be mounted here; the file-size limit tests cover the case";
    EXPECT_EQ(outcome, 0)
        << "1: a write succeeded, 2: no error recorded, 3: registry write "
           "succeeded, 4/5: old content changed, 6: a temporary file was left, "
           "7: the settings save reported success or no error, 10/11: set-up failed";
}

// A limit between the old and the new size lets the first keys of a key by
// key save through and stops a later one: the save as a whole must not.
TEST(SettingsWriteFault, SaveStoppedPartWayLeavesTheOldFileByteForByteAndSaysSo) {
    ScratchDir dir;
    const std::string path = dir.File("default.cfg");
    const std::string keyByKey = dir.File("keybykey.cfg");
    ScratchDir::Write(path, kSettings);
    ScratchDir::Write(keyByKey, kSettings);
    const CRunTimeSettings settings = ChangedSettings();
    const std::string limitText = std::string(kSettings) + std::string(200, 'x');
    {
        FileSizeLimit full(limitText.size());
        ASSERT_TRUE(full.ok());
        // What writing the keys one by one would leave: some new, some old.
        EXPECT_TRUE(wp::WritePrivateProfileStringA("WEB", "BrowserType", "Netscape Navigator 2.0",
                                                   keyByKey.c_str()));
        EXPECT_FALSE(wp::WritePrivateProfileStringA(
            "WEB", "CustomUserAgent", settings.GetCustomAgent().c_str(), keyByKey.c_str()));
        wp::SetLastError(0);
        EXPECT_FALSE(settings.TrySaveToFile(path));
        EXPECT_EQ(wp::GetLastError(), 5u) << "a refused write is reported as access denied";
    }
    EXPECT_NE(Contents(keyByKey), kSettings)
        << "the limit let no key through: the case is not tested";
    EXPECT_EQ(Contents(path), kSettings);
    EXPECT_EQ(FileCount(dir.path()), 2) << "a temporary file was left";
    EXPECT_TRUE(settings.TrySaveToFile(path));
    CRunTimeSettings read;
    read.ReadFromFile(path);
    EXPECT_EQ(read.GetHttpVer(), "1.1");
    EXPECT_FALSE(read.GetKeepAlive());
    EXPECT_TRUE(read.GetUseCustomAgent());
}

TEST(SettingsWriteFault, SaveIntoAFolderThatTakesNoNewFileReportsAccessDenied) {
    ScratchDir dir;
    const std::string path = LockedFolderWith(dir, "default.cfg", kSettings);
    const int outcome = AsUnprivileged([&] {
        wp::SetLastError(0);
        if (ChangedSettings().TrySaveToFile(path))
            return 1;
        return wp::GetLastError() == 5u ? 0 : 2;
    });
    ::chmod((dir.File("locked")).c_str(), 0755);
    ASSERT_EQ(outcome, 0) << "1: the save succeeded, 2: another error than access denied";
    EXPECT_EQ(Contents(path), kSettings);
    EXPECT_EQ(FileCount(dir.File("locked")), 1);
}

TEST(SettingsWriteFault, SaveOverSomethingThatIsNotAFileFailsAndLeavesIt) {
    ScratchDir dir;
    const std::string folder = dir.File("default.cfg");
    std::filesystem::create_directories(folder);
    ScratchDir::Write(folder + "/inside", "kept");
    wp::SetLastError(0);
    EXPECT_FALSE(ChangedSettings().TrySaveToFile(folder));
    EXPECT_EQ(wp::GetLastError(), 5u);
    ASSERT_TRUE(std::filesystem::is_directory(folder));
    EXPECT_EQ(Contents(folder + "/inside"), "kept");
    EXPECT_EQ(FileCount(dir.path()), 1);
}

TEST(SettingsWriteFault, SaveIntoAMissingFolderReportsPathNotFound) {
    ScratchDir dir;
    const std::string path = dir.File("absent/default.cfg");
    wp::SetLastError(0);
    EXPECT_FALSE(ChangedSettings().TrySaveToFile(path));
    EXPECT_EQ(wp::GetLastError(), 3u);
    EXPECT_FALSE(std::filesystem::exists(dir.File("absent")));
    // The old form still saves quietly.
    ChangedSettings().SaveToFile(path);
    EXPECT_EQ(FileCount(dir.path()), 0);
}
