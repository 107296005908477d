#include "webstep/platform/Registry.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "ScratchDir.h"
#include "webstep/platform/CodePage.h"

namespace {

namespace wp = webstep::platform;
using webstep::test::ScratchDir;

// Points the MIME database at a test file and back at the default after.
class MimeTypes : public ::testing::Test {
protected:
    void SetUp() override {
        path = dir.File("mime.types");
        ScratchDir::Write(path,
                          "# comment line\n"
                          "text/html\t\t\thtml htm shtml\n"
                          "image/gif gif\n"
                          "application/x-long verylongext # trailing comment\n"
                          "image/x-alias gif alias\n"
                          "application/x-empty\n"
                          "IMAGE/Upper UPX\r\n");
        wp::SetMimeTypesPath(path.c_str());
    }
    void TearDown() override { wp::SetMimeTypesPath(nullptr); }

    ScratchDir dir;
    std::string path;
};

TEST_F(MimeTypes, ContentTypeGivesFirstExtensionWithDot) {
    MString ext;
    ASSERT_TRUE(wp::GetExtensionFromContentType("text/html", ext));
    EXPECT_EQ(ext, ".html");
    ASSERT_TRUE(wp::GetExtensionFromContentType("image/gif", ext));
    EXPECT_EQ(ext, ".gif");
    ASSERT_TRUE(wp::GetExtensionFromContentType("application/x-long", ext));
    EXPECT_EQ(ext, ".verylongext");
}

TEST_F(MimeTypes, ContentTypeLookupIgnoresCaseAndParameters) {
    MString ext;
    ASSERT_TRUE(wp::GetExtensionFromContentType("Text/HTML; charset=utf-8", ext));
    EXPECT_EQ(ext, ".html");
    ASSERT_TRUE(wp::GetExtensionFromContentType("image/upper", ext));
    EXPECT_EQ(ext, ".UPX");
}

TEST_F(MimeTypes, UnknownOrEmptyContentTypeFailsAndLeavesOutput) {
    MString ext = "unchanged";
    EXPECT_FALSE(wp::GetExtensionFromContentType("application/unknown", ext));
    EXPECT_FALSE(wp::GetExtensionFromContentType("application/x-empty", ext));
    EXPECT_FALSE(wp::GetExtensionFromContentType("", ext));
    EXPECT_FALSE(wp::GetExtensionFromContentType(nullptr, ext));
    EXPECT_EQ(ext, "unchanged");
}

TEST_F(MimeTypes, ExtensionGivesFirstContentTypeListingIt) {
    MString type;
    ASSERT_TRUE(wp::GetContentTypeFromExtension(".gif", type));
    EXPECT_EQ(type, "image/gif");
    ASSERT_TRUE(wp::GetContentTypeFromExtension("HTM", type));
    EXPECT_EQ(type, "text/html");
    ASSERT_TRUE(wp::GetContentTypeFromExtension("alias", type));
    EXPECT_EQ(type, "image/x-alias");
    type = "unchanged";
    EXPECT_FALSE(wp::GetContentTypeFromExtension(".nope", type));
    EXPECT_FALSE(wp::GetContentTypeFromExtension(".", type));
    EXPECT_FALSE(wp::GetContentTypeFromExtension(nullptr, type));
    EXPECT_EQ(type, "unchanged");
}

TEST_F(MimeTypes, ChangedFileIsReadAgain) {
    MString type;
    EXPECT_FALSE(wp::GetContentTypeFromExtension("new", type));
    ScratchDir::Write(path, "application/x-new new newer\n");
    ASSERT_TRUE(wp::GetContentTypeFromExtension("newer", type));
    EXPECT_EQ(type, "application/x-new");
    EXPECT_FALSE(wp::GetContentTypeFromExtension("gif", type));
}

TEST_F(MimeTypes, MissingFileKnowsNothing) {
    wp::SetMimeTypesPath(dir.File("absent.types").c_str());
    MString ext;
    EXPECT_FALSE(wp::GetExtensionFromContentType("text/html", ext));
}

TEST(MimeTypesDefault, DefaultPathIsSystemFile) {
    wp::SetMimeTypesPath(nullptr);
    EXPECT_EQ(wp::GetMimeTypesPath(), "/etc/mime.types");
    ASSERT_TRUE(std::filesystem::exists("/etc/mime.types"))
        << "the system MIME database is missing (Debian package media-types)";
    MString ext;
    ASSERT_TRUE(wp::GetExtensionFromContentType("image/gif", ext));
    EXPECT_EQ(ext, ".gif");
}

class RegistryStore : public ::testing::Test {
protected:
    void SetUp() override {
        path = dir.File("sub/dir/registry.ini");
        wp::SetRegistryPath(path.c_str());
    }
    void TearDown() override { wp::SetRegistryPath(nullptr); }

    ScratchDir dir;
    std::string path;
};

TEST_F(RegistryStore, WriteCreatesDirectoryAndReadsBack) {
    ASSERT_TRUE(wp::RegistrySetString("HKEY_CURRENT_USER\\Software\\webstep", "Browser",
                                      "/usr/bin/firefox"));
    EXPECT_TRUE(std::filesystem::exists(path));
    MString value;
    ASSERT_TRUE(wp::RegistryGetString("hkey_current_user\\software\\WEBSTEP", "browser", value));
    EXPECT_EQ(value, "/usr/bin/firefox");
}

TEST_F(RegistryStore, MissingValueOrKeyLeavesOutputUntouched) {
    MString value = "unchanged";
    EXPECT_FALSE(wp::RegistryGetString("K", "v", value));
    ASSERT_TRUE(wp::RegistrySetString("K", "v", "1"));
    EXPECT_FALSE(wp::RegistryGetString("K", "w", value));
    EXPECT_FALSE(wp::RegistryGetString("L", "v", value));
    EXPECT_FALSE(wp::RegistryGetString(nullptr, "v", value));
    EXPECT_EQ(value, "unchanged");
}

TEST_F(RegistryStore, AwkwardValuesSurviveExactly) {
    const std::string values[] = {"",
                                  "  spaces at both ends  ",
                                  "\"quoted\"",
                                  "'single'",
                                  "line1\r\nline2\n",
                                  "100% = [x]; y",
                                  "\x01\x7F tabs\tand bytes \xE9\xFF",
                                  std::string(5000, 'L')};
    int i = 0;
    for (const std::string& v : values) {
        const std::string name = "value" + std::to_string(i++);
        ASSERT_TRUE(wp::RegistrySetString("Key", name.c_str(), v.c_str())) << name;
        MString back = "?";
        ASSERT_TRUE(wp::RegistryGetString("Key", name.c_str(), back)) << name;
        EXPECT_EQ(back, v) << name;
    }
}

TEST_F(RegistryStore, LongDoubleByteValueIsReadWhole) {
    wp::SetProcessCodePage(wp::CP_GBK);
    std::string value;
    for (int i = 0; i < 400; ++i) {
        value += "\xD6\xD0";
    }
    value += "x";
    ASSERT_TRUE(wp::RegistrySetString("Key", "gbk", value.c_str()));
    MString back;
    ASSERT_TRUE(wp::RegistryGetString("Key", "gbk", back));
    wp::SetProcessCodePage(0);
    EXPECT_EQ(back, value);
}

TEST_F(RegistryStore, AwkwardNamesAndKeyPathsAreKeptApart) {
    const char* names[] = {"",          "Content Type", " edge ",     "a=b",
                           "[section]", "50%",          "semi;colon", "quote\""};
    for (const char* name : names) {
        ASSERT_TRUE(wp::RegistrySetString("MIME\\Database\\Content Type\\a/b ", name, name))
            << name;
    }
    for (const char* name : names) {
        MString back;
        ASSERT_TRUE(wp::RegistryGetString("MIME\\Database\\Content Type\\a/b ", name, back))
            << name;
        EXPECT_EQ(back, name);
    }
    MString back;
    EXPECT_FALSE(wp::RegistryGetString("MIME\\Database\\Content Type\\a/b", "Content Type", back));
    ASSERT_TRUE(wp::RegistrySetString("[odd]]", "v", "1"));
    ASSERT_TRUE(wp::RegistryGetString("[odd]]", "v", back));
    EXPECT_EQ(back, "1");
}

TEST_F(RegistryStore, OverwriteReplacesValue) {
    ASSERT_TRUE(wp::RegistrySetString("K", "v", "old"));
    ASSERT_TRUE(wp::RegistrySetString("K", "V", "new"));
    MString value;
    ASSERT_TRUE(wp::RegistryGetString("K", "v", value));
    EXPECT_EQ(value, "new");
}

TEST_F(RegistryStore, DeleteValueAndKey) {
    ASSERT_TRUE(wp::RegistrySetString("K", "a", "1"));
    ASSERT_TRUE(wp::RegistrySetString("K", "b", "2"));
    ASSERT_TRUE(wp::RegistrySetString("Other", "c", "3"));
    ASSERT_TRUE(wp::RegistryDeleteValue("K", "a"));
    MString value;
    EXPECT_FALSE(wp::RegistryGetString("K", "a", value));
    ASSERT_TRUE(wp::RegistryGetString("K", "b", value));
    ASSERT_TRUE(wp::RegistryDeleteKey("k"));
    EXPECT_FALSE(wp::RegistryGetString("K", "b", value));
    ASSERT_TRUE(wp::RegistryGetString("Other", "c", value));
    EXPECT_EQ(value, "3");
    EXPECT_TRUE(wp::RegistryDeleteValue("Absent", "x"));
    EXPECT_TRUE(wp::RegistryDeleteKey("Absent"));
}

TEST_F(RegistryStore, NullValueIsRefused) {
    EXPECT_FALSE(wp::RegistrySetString("K", "v", nullptr));
    EXPECT_FALSE(wp::RegistrySetString(nullptr, "v", "x"));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RegistryStore, UnwritableLocationFailsWithoutCrash) {
    const std::string blocker = dir.File("file");
    ScratchDir::Write(blocker, "not a directory");
    wp::SetRegistryPath((blocker + "/registry.ini").c_str());
    EXPECT_FALSE(wp::RegistrySetString("K", "v", "x"));
    MString value;
    EXPECT_FALSE(wp::RegistryGetString("K", "v", value));
}

TEST(RegistryPath, OverrideThenEnvironmentThenHome) {
    wp::SetRegistryPath("/tmp/explicit.ini");
    EXPECT_EQ(wp::GetRegistryPath(), "/tmp/explicit.ini");
    wp::SetRegistryPath(nullptr);
    const char* oldEnv = std::getenv("WEBSTEP_REGISTRY");
    const std::string savedEnv = oldEnv != nullptr ? oldEnv : "";
    const char* oldXdg = std::getenv("XDG_CONFIG_HOME");
    const std::string savedXdg = oldXdg != nullptr ? oldXdg : "";
    const char* oldHome = std::getenv("HOME");
    const std::string savedHome = oldHome != nullptr ? oldHome : "";

    ::setenv("WEBSTEP_REGISTRY", "/tmp/from-env.ini", 1);
    EXPECT_EQ(wp::GetRegistryPath(), "/tmp/from-env.ini");
    ::unsetenv("WEBSTEP_REGISTRY");
    ::unsetenv("XDG_CONFIG_HOME");
    ::setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(wp::GetRegistryPath(), "/home/someone/.config/webstep/registry.ini");
    ::setenv("XDG_CONFIG_HOME", "/xdg", 1);
    EXPECT_EQ(wp::GetRegistryPath(), "/xdg/webstep/registry.ini");

    if (oldEnv != nullptr) {
        ::setenv("WEBSTEP_REGISTRY", savedEnv.c_str(), 1);
    }
    if (oldXdg != nullptr) {
        ::setenv("XDG_CONFIG_HOME", savedXdg.c_str(), 1);
    } else {
        ::unsetenv("XDG_CONFIG_HOME");
    }
    if (oldHome != nullptr) {
        ::setenv("HOME", savedHome.c_str(), 1);
    }
}

}  // namespace
