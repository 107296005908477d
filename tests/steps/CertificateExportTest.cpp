#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "webstep/steps/CertificateExport.h"
#include "webstep/steps/CustomBodyFile.h"
#include "webstep/steps/WebStepSetCertificate.h"

namespace fs = std::filesystem;

namespace {

class CertificateExport : public ::testing::Test {
protected:
    void SetUp() override {
        m_dir = fs::temp_directory_path() / ("webstep_cert_" + std::to_string(getpid()));
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
        ClearExportedFilesList();
    }
    void TearDown() override {
        webstep::steps::SetCertificateExporterModule(nullptr);
        ClearExportedFilesList();
        fs::remove_all(m_dir);
    }
    std::string Read(const char* name) const {
        std::ifstream in(m_dir / name, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    fs::path m_dir;
};

TEST_F(CertificateExport, DefaultModuleNameAndReset) {
    EXPECT_STREQ(webstep::steps::GetCertificateExporterModule(), "libCertExport.so");
    webstep::steps::SetCertificateExporterModule("other.so");
    EXPECT_STREQ(webstep::steps::GetCertificateExporterModule(), "other.so");
    webstep::steps::SetCertificateExporterModule(nullptr);
    EXPECT_STREQ(webstep::steps::GetCertificateExporterModule(), "libCertExport.so");
}

TEST_F(CertificateExport, WritesPemFileAndRecordsItsName) {
    webstep::steps::SetCertificateExporterModule(WEBSTEP_FAKE_CERT_EXPORT);
    CWebStepSetCertificateEx step;
    step.SetCertIndex("3");
    EXPECT_EQ(step.ExportCertificate(m_dir.string()), 0);
    const std::string content = Read("certificate3.pem");
    ASSERT_EQ(content.substr(0, 13), "index=3 time=");
    // Eight lower-case hexadecimal digits.
    const std::string time = content.substr(13, 8);
    EXPECT_EQ(time.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(content.size(), 22u);
    EXPECT_EQ(GetExportedFileNames(), (std::vector<MString>{"certificate3.pem"}));
}

TEST_F(CertificateExport, MissingModuleFailsWithGeneralFailureAndRecordsNothing) {
    webstep::steps::SetCertificateExporterModule("/nonexistent/libCertExport.so");
    CWebStepSetCertificateEx step;
    step.SetCertIndex("1");
    EXPECT_EQ(step.ExportCertificate(m_dir.string()), static_cast<long>(0x80004005L));
    EXPECT_TRUE(GetExportedFileNames().empty());
}

TEST_F(CertificateExport, ModuleWithoutTheFunctionFails) {
    webstep::steps::SetCertificateExporterModule(WEBSTEP_NO_CERT_EXPORT);
    CWebStepSetCertificateEx step;
    step.SetCertIndex("1");
    EXPECT_EQ(step.ExportCertificate(m_dir.string()), webstep::steps::kExportFailed);
    EXPECT_TRUE(GetExportedFileNames().empty());
}

TEST_F(CertificateExport, FailingExporterFailsAndRecordsNothing) {
    webstep::steps::SetCertificateExporterModule(WEBSTEP_FAKE_CERT_EXPORT);
    CWebStepSetCertificateEx step;
    step.SetCertIndex("99");
    EXPECT_EQ(step.ExportCertificate(m_dir.string()), webstep::steps::kExportFailed);
    EXPECT_TRUE(GetExportedFileNames().empty());
    EXPECT_FALSE(fs::exists(m_dir / "certificate99.pem"));
}

TEST_F(CertificateExport, IndexThatIsNotANumberExportsIndexZero) {
    webstep::steps::SetCertificateExporterModule(WEBSTEP_FAKE_CERT_EXPORT);
    CWebStepSetCertificateEx step;
    EXPECT_EQ(step.ExportCertificate(m_dir.string()), 0);
    EXPECT_TRUE(fs::exists(m_dir / "certificate0.pem"));
}

}  // namespace
