// Faults while the custom body header and its variable list are written: a
// folder that refuses new files, a disk that fills up part way, and a write
// that fails after the variable list was already replaced. Both files stay
// as they were, no temporary file is left, the step keeps its body, and the
// write reports the failure.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "support/FaultInjection.h"
#include "webstep/steps/CustomBodyFile.h"
#include "webstep/steps/WebStepCustomRequest.h"

namespace fs = std::filesystem;
using webstep::test::AsUnprivileged;
using webstep::test::FileSizeLimit;

namespace {

class CustomBodyWriteFault : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        m_dir = fs::temp_directory_path() /
                ("webstep_body_fault_" + std::to_string(getpid()) + "_" + info->name());
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
        // A first step gives both files some content.
        int counter = 1;
        CWebStepCustomRequest first = Step("\"first\"");
        ASSERT_TRUE(first.WriteBodyToFile(Dir(), "one", counter));
        m_header = Read(webstep::steps::kCustomBodyHeaderFile);
        m_list = Read(webstep::steps::kCustomBodyVariablesFile);
        ASSERT_FALSE(m_header.empty());
        ASSERT_FALSE(m_list.empty());
    }
    void TearDown() override {
        webstep::steps::SetFileWriteFunction(nullptr);
        ::chmod(m_dir.c_str(), 0755);
        fs::remove_all(m_dir);
    }

    MString Dir() const { return m_dir.string() + "/"; }
    std::string Read(const char* name) const {
        std::ifstream in(m_dir / name, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    int FileCount() const {
        int n = 0;
        for ([[maybe_unused]] const auto& entry : fs::directory_iterator(m_dir))
            ++n;
        return n;
    }
    static CWebStepCustomRequest Step(const char* body) {
        CWebStepCustomRequest step;
        step.SetBody({{"bodyVar", body, CWebStepCustomRequest::BODY_VARIABLE}});
        return step;
    }
    void ExpectUnchanged(const CWebStepCustomRequest& step, const char* body) {
        EXPECT_EQ(Read(webstep::steps::kCustomBodyHeaderFile), m_header);
        EXPECT_EQ(Read(webstep::steps::kCustomBodyVariablesFile), m_list);
        EXPECT_EQ(step.GetBody().front().value, body);
        EXPECT_EQ(FileCount(), 2);
    }

    fs::path m_dir;
    std::string m_header;
    std::string m_list;
};

// Fails the second write (the header's, after the variable list's), as a
// disk that fills up for a moment would.
int g_writes = 0;
bool FailSecondWrite(std::FILE* file, const char* data, std::size_t size) {
    if (g_writes++ == 1) {
        std::fwrite(data, 1, size / 2, file);
        return false;
    }
    return std::fwrite(data, 1, size, file) == size;
}

}  // namespace

TEST_F(CustomBodyWriteFault, FolderThatTakesNoNewFileLeavesBothFiles) {
    for (const char* name :
         {webstep::steps::kCustomBodyHeaderFile, webstep::steps::kCustomBodyVariablesFile})
        ::chmod((m_dir / name).c_str(), 0666);
    ::chmod(m_dir.c_str(), 0555);
    CWebStepCustomRequest step = Step("\"second\"");
    const int outcome = AsUnprivileged([&] {
        int counter = 1;
        if (step.WriteBodyToFile(Dir(), "two", counter))
            return 1;
        return step.GetBody().front().value == "\"second\"" ? 0 : 2;
    });
    ::chmod(m_dir.c_str(), 0755);
    ASSERT_EQ(outcome, 0) << "1: the write succeeded, 2: the step's body was changed";
    ExpectUnchanged(step, "\"second\"");
}

TEST_F(CustomBodyWriteFault, FullDiskLeavesBothFiles) {
    CWebStepCustomRequest step = Step(("\"" + std::string(4096, 'b') + "\"").c_str());
    int counter = 1;
    {
        // Room for the variable list, not for the header.
        FileSizeLimit full(m_header.size() + 16);
        ASSERT_TRUE(full.ok());
        EXPECT_FALSE(step.WriteBodyToFile(Dir(), "two", counter));
    }
    ExpectUnchanged(step, ("\"" + std::string(4096, 'b') + "\"").c_str());
}

TEST_F(CustomBodyWriteFault, HeaderFailingAfterTheListWasWrittenPutsTheListBack) {
    g_writes = 0;
    webstep::steps::SetFileWriteFunction(&FailSecondWrite);
    CWebStepCustomRequest step = Step("\"second\"");
    int counter = 1;
    EXPECT_FALSE(step.WriteBodyToFile(Dir(), "two", counter));
    webstep::steps::SetFileWriteFunction(nullptr);
    ExpectUnchanged(step, "\"second\"");
    // The next write takes the name that the failed one did not keep.
    ASSERT_TRUE(step.WriteBodyToFile(Dir(), "two", counter));
    EXPECT_EQ(step.GetBody().front().value, "body_variable_2");
}

TEST_F(CustomBodyWriteFault, ReplacedFilesKeepTheirPermissions) {
    const fs::path header = m_dir / webstep::steps::kCustomBodyHeaderFile;
    ASSERT_EQ(::chmod(header.c_str(), 0640), 0);
    CWebStepCustomRequest step = Step("\"second\"");
    int counter = 1;
    ASSERT_TRUE(step.WriteBodyToFile(Dir(), "two", counter));
    struct stat st {};
    ASSERT_EQ(::stat(header.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
}

// A real full disk: both files on a small tmpfs filled to the last byte.
TEST(CustomBodyWriteFaultOnDisk, FilledDiskLeavesBothFiles) {
    const fs::path mount =
        fs::temp_directory_path() / ("webstep_body_disk_" + std::to_string(getpid()));
    fs::create_directories(mount);
    const int outcome = webstep::test::OnSmallDisk(mount.string(), [](const std::string& folder) {
        const MString dir = folder + "/";
        CWebStepCustomRequest first;
        first.SetBody({{"bodyVar", "\"first\"", CWebStepCustomRequest::BODY_VARIABLE}});
        int counter = 1;
        if (!first.WriteBodyToFile(dir, "one", counter))
            return 10;
        auto read = [&](const char* name) {
            std::ifstream in(dir + name, std::ios::binary);
            std::ostringstream s;
            s << in.rdbuf();
            return s.str();
        };
        const std::string header = read(webstep::steps::kCustomBodyHeaderFile);
        const std::string list = read(webstep::steps::kCustomBodyVariablesFile);
        if (!webstep::test::FillDisk(folder))
            return 11;
        CWebStepCustomRequest second;
        second.SetBody({{"bodyVar", "\"second\"", CWebStepCustomRequest::BODY_VARIABLE}});
        if (second.WriteBodyToFile(dir, "two", counter))
            return 1;
        if (read(webstep::steps::kCustomBodyHeaderFile) != header ||
            read(webstep::steps::kCustomBodyVariablesFile) != list)
            return 2;
        int files = 0;
        for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder))
            ++files;
        return files == 3 ? 0 : 3;
    });
    fs::remove_all(mount);
    if (outcome == webstep::test::kNoSmallDisk)
        GTEST_SKIP() << "a tmpfs cannot be mounted here; the file-size limit test covers the case";
    EXPECT_EQ(outcome, 0) << "1: the write succeeded, 2: a file changed, 3: a temporary file was "
                             "left, 10/11: set-up failed";
}
