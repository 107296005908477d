#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "webstep/steps/CustomBodyFile.h"
#include "webstep/steps/WebStepCustomRequest.h"

namespace fs = std::filesystem;

namespace {

const std::string kGuard = "#ifndef _QZW_CUSTOM_BODY_H\r\n#define _QZW_CUSTOM_BODY_H\r\n\r\n";
const std::string kTrailer = "\r\n#endif /* _QZW_CUSTOM_BODY_H */";

std::string Entry(const std::string& step, const std::string& variable, const std::string& body) {
    return "// Step Name : " + step + " \r\nconst char * const " + variable + " = " + body +
           " ;\r\n";
}

// A fresh folder per test, removed afterwards.
class CustomBodyFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        m_dir = fs::temp_directory_path() /
                ("webstep_steps_" + std::to_string(getpid()) + "_" + info->name());
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override {
        webstep::steps::SetFileWriteFunction(nullptr);
        fs::remove_all(m_dir);
    }

    // The directory text as the caller passes it: with its trailing separator.
    MString Dir() const { return m_dir.string() + "/"; }
    std::string Read(const char* name) const {
        std::ifstream in(m_dir / name, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    void Write(const char* name, const std::string& content) const {
        std::ofstream out(m_dir / name, std::ios::binary);
        out << content;
    }
    int FileCount() const {
        int n = 0;
        for ([[maybe_unused]] const auto& entry : fs::directory_iterator(m_dir)) {
            ++n;
        }
        return n;
    }

    static CWebStepCustomRequest StepWithVariable(const char* name, const char* body) {
        CWebStepCustomRequest step;
        step.SetBody({{name, body, CWebStepCustomRequest::BODY_VARIABLE}});
        return step;
    }

    fs::path m_dir;
};

TEST_F(CustomBodyFileTest, NewHeaderHoldsGuardsBlankLineOneEntryAndClosingLine) {
    CWebStepCustomRequest step = StepWithVariable("bodyVar", "\"a=1\"");
    int counter = 1;
    ASSERT_TRUE(step.WriteBodyToFile(Dir(), "login", counter));
    EXPECT_EQ(Read("qzw_custom_body.h"),
              kGuard + Entry("login", "body_variable_1", "\"a=1\"") + kTrailer);
    EXPECT_EQ(Read("custom_body_variables.txt"), "body_variable_1\r\n");
    EXPECT_EQ(step.GetBody().front().value, "body_variable_1");
    EXPECT_EQ(step.GetBody().front().attributeName, "bodyVar");
}

TEST_F(CustomBodyFileTest, SecondEntryGoesBeforeTheClosingLine) {
    int counter = 1;
    CWebStepCustomRequest first = StepWithVariable("bodyA", "\"x\"");
    CWebStepCustomRequest second = StepWithVariable("bodyB", "\"y\"");
    ASSERT_TRUE(first.WriteBodyToFile(Dir(), "one", counter));
    ASSERT_TRUE(second.WriteBodyToFile(Dir(), "two", counter));
    EXPECT_EQ(Read("qzw_custom_body.h"), kGuard + Entry("one", "body_variable_1", "\"x\"") +
                                             Entry("two", "body_variable_2", "\"y\"") + kTrailer);
    EXPECT_EQ(second.GetBody().front().value, "body_variable_2");
    EXPECT_EQ(Read("custom_body_variables.txt"), "body_variable_1\r\nbody_variable_2\r\n");
}

TEST_F(CustomBodyFileTest, HeaderWithoutClosingLineGetsEntriesAppendedAndStaysOpen) {
    const std::string edited = kGuard + Entry("old", "body_variable_9", "\"o\"") + "// mine\r\n";
    Write("qzw_custom_body.h", edited);
    CWebStepCustomRequest step = StepWithVariable("bodyX", "\"n\"");
    int counter = 1;
    ASSERT_TRUE(step.WriteBodyToFile(Dir(), "new", counter));
    EXPECT_EQ(Read("qzw_custom_body.h"), edited + Entry("new", "body_variable_1", "\"n\""));
}

TEST_F(CustomBodyFileTest, ShortExistingHeaderIsAppendedTo) {
    Write("qzw_custom_body.h", "#");
    CWebStepCustomRequest step = StepWithVariable("bodyX", "1");
    int counter = 3;
    ASSERT_TRUE(step.WriteBodyToFile(Dir(), "s", counter));
    EXPECT_EQ(Read("qzw_custom_body.h"), "#" + Entry("s", "body_variable_3", "1"));
}

TEST_F(CustomBodyFileTest, NameAlreadyListedMovesTheCounterOn) {
    Write("custom_body_variables.txt", "body_variable_1\r\n");
    CWebStepCustomRequest step = StepWithVariable("bodyX", "\"v\"");
    int counter = 1;
    ASSERT_TRUE(step.WriteBodyToFile(Dir(), "s", counter));
    EXPECT_EQ(step.GetBody().front().value, "body_variable_2");
    EXPECT_EQ(counter, 2);
    EXPECT_EQ(Read("custom_body_variables.txt"), "body_variable_1\r\nbody_variable_2\r\n");
}

TEST_F(CustomBodyFileTest, NameFoundInsideALongerListedNameIsTaken) {
    Write("custom_body_variables.txt", "body_variable_10\r\n");
    CWebStepCustomRequest step = StepWithVariable("bodyX", "\"v\"");
    int counter = 1;
    ASSERT_TRUE(step.WriteBodyToFile(Dir(), "s", counter));
    EXPECT_EQ(step.GetBody().front().value, "body_variable_2");
}

TEST_F(CustomBodyFileTest, NumberingContinuesAcrossStepsAndParts) {
    int counter = 1;
    CWebStepCustomRequest first;
    first.SetBody({{"Body", "\"plain\"", CWebStepCustomRequest::BODY_TEXT},
                   {"bodyA", "\"a\"", CWebStepCustomRequest::BODY_VARIABLE},
                   {"bodyB", "\"b\"", CWebStepCustomRequest::BODY_VARIABLE}});
    ASSERT_TRUE(first.WriteBodyToFile(Dir(), "first", counter));
    CWebStepCustomRequest second = StepWithVariable("bodyC", "\"c\"");
    ASSERT_TRUE(second.WriteBodyToFile(Dir(), "second", counter));
    auto it = first.GetBody().begin();
    EXPECT_EQ(it->value, "\"plain\"");
    EXPECT_EQ((++it)->value, "body_variable_1");
    EXPECT_EQ((++it)->value, "body_variable_2");
    EXPECT_EQ(second.GetBody().front().value, "body_variable_3");
    EXPECT_EQ(Read("qzw_custom_body.h"), kGuard + Entry("first", "body_variable_1", "\"a\"") +
                                             Entry("first", "body_variable_2", "\"b\"") +
                                             Entry("second", "body_variable_3", "\"c\"") +
                                             kTrailer);
}

TEST_F(CustomBodyFileTest, StepWithoutBodyVariablesWritesNothing) {
    CWebStepCustomRequest step;
    step.SetBody({{"Body", "\"x\"", CWebStepCustomRequest::BODY_TEXT},
                  {"BodyBinary", "\\x00", CWebStepCustomRequest::BODY_BINARY}});
    int counter = 1;
    EXPECT_TRUE(step.WriteBodyToFile(Dir(), "s", counter));
    EXPECT_EQ(FileCount(), 0);
    EXPECT_EQ(counter, 1);
}

TEST_F(CustomBodyFileTest, MissingFolderFailsAndKeepsThePartValue) {
    CWebStepCustomRequest step = StepWithVariable("bodyX", "\"v\"");
    int counter = 1;
    EXPECT_FALSE(step.WriteBodyToFile(Dir() + "missing/", "s", counter));
    EXPECT_EQ(step.GetBody().front().value, "\"v\"");
}

// Writes half of the data, then reports a failure, as a full disk would.
bool FailHalfway(std::FILE* file, const char* data, std::size_t size) {
    std::fwrite(data, 1, size / 2, file);
    return false;
}

TEST_F(CustomBodyFileTest, FailedHeaderWriteLeavesTheExistingHeaderIntact) {
    int counter = 1;
    CWebStepCustomRequest first = StepWithVariable("bodyA", "\"a\"");
    ASSERT_TRUE(first.WriteBodyToFile(Dir(), "one", counter));
    const std::string header = Read("qzw_custom_body.h");
    const std::string list = Read("custom_body_variables.txt");
    const int files = FileCount();

    webstep::steps::SetFileWriteFunction(&FailHalfway);
    CWebStepCustomRequest second = StepWithVariable("bodyB", "\"b\"");
    EXPECT_FALSE(second.WriteBodyToFile(Dir(), "two", counter));
    webstep::steps::SetFileWriteFunction(nullptr);

    EXPECT_EQ(Read("qzw_custom_body.h"), header);
    EXPECT_EQ(Read("custom_body_variables.txt"), list);
    EXPECT_EQ(second.GetBody().front().value, "\"b\"");
    // No temporary file is left behind.
    EXPECT_EQ(FileCount(), files);
}

TEST_F(CustomBodyFileTest, WriteFileWholeReplacesTheFile) {
    const MString path = Dir() + "f.txt";
    Write("f.txt", "old content that is longer");
    ASSERT_TRUE(webstep::steps::WriteFileWhole(path, MString("n\0w", 3)));
    EXPECT_EQ(Read("f.txt"), std::string("n\0w", 3));
    EXPECT_FALSE(webstep::steps::WriteFileWhole(Dir() + "no/such/f.txt", "x"));
}

// --- Exported files list ------------------------------------------------

class ExportedFilesList : public ::testing::Test {
protected:
    void SetUp() override { ClearExportedFilesList(); }
    void TearDown() override { ClearExportedFilesList(); }
};

TEST_F(ExportedFilesList, NamesAreZeroSeparatedAndDoubleZeroTerminated) {
    WriteToExportedFilesList("a.h");
    WriteToExportedFilesList("certificate1.pem");
    const char* list = GetExportedFilesList();
    EXPECT_EQ(std::memcmp(list, "a.h\0certificate1.pem\0\0", 22), 0);
    EXPECT_EQ(GetExportedFileNames(), (std::vector<MString>{"a.h", "certificate1.pem"}));
}

TEST_F(ExportedFilesList, EmptyNameChangesNothing) {
    WriteToExportedFilesList("");
    EXPECT_TRUE(GetExportedFileNames().empty());
    WriteToExportedFilesList("x");
    WriteToExportedFilesList("");
    WriteToExportedFilesList(nullptr);
    WriteToExportedFilesList("y");
    EXPECT_EQ(GetExportedFileNames(), (std::vector<MString>{"x", "y"}));
}

TEST_F(ExportedFilesList, KeepsAtMost4094BytesAndCutsTheLastName) {
    const std::string first(4000, 'a');
    WriteToExportedFilesList(first.c_str());
    const std::string second(200, 'b');
    WriteToExportedFilesList(second.c_str());
    // 4000 bytes, a zero, then the 93 bytes that still fit.
    const std::vector<MString> names = GetExportedFileNames();
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], first);
    EXPECT_EQ(names[1], std::string(4094 - 4001, 'b'));
    const char* list = GetExportedFilesList();
    EXPECT_EQ(list[4094], '\0');
    EXPECT_EQ(list[4095], '\0');
    // A full list takes nothing more.
    WriteToExportedFilesList("more");
    EXPECT_EQ(GetExportedFileNames().size(), 2u);
}

TEST_F(ExportedFilesList, SingleHugeNameIsCutAtTheCapacity) {
    const std::string huge(10000, 'z');
    WriteToExportedFilesList(huge.c_str());
    const std::vector<MString> names = GetExportedFileNames();
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0].size(), 4094u);
}

}  // namespace
