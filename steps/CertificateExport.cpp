#include "webstep/steps/CertificateExport.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>

#include "webstep/steps/CustomBodyFile.h"
#include "webstep/steps/WebStepSetCertificate.h"

namespace {

const char kDefaultExporterModule[] = "libCertExport.so";

std::mutex g_moduleMutex;
std::string g_moduleName = kDefaultExporterModule;

std::string ExporterModule() {
    std::lock_guard<std::mutex> lock(g_moduleMutex);
    return g_moduleName;
}

}  // namespace

namespace webstep::steps {

void SetCertificateExporterModule(const char* moduleName) {
    std::lock_guard<std::mutex> lock(g_moduleMutex);
    g_moduleName = moduleName != nullptr ? moduleName : kDefaultExporterModule;
}

const char* GetCertificateExporterModule() {
    std::lock_guard<std::mutex> lock(g_moduleMutex);
    return g_moduleName.c_str();
}

}  // namespace webstep::steps

long CWebStepSetCertificateEx::ExportCertificate(const MString& directory) const {
    // The index as the script wrote it; a text that is not a number gives 0.
    const int index = static_cast<int>(std::strtol(GetCertIndex().c_str(), nullptr, 10));
    char fileName[64];
    std::snprintf(fileName, sizeof fileName, "certificate%d.pem", index);
    // Joined with the separator of this platform.
    const std::string path = directory + "/" + fileName;

    void* module = dlopen(ExporterModule().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        return webstep::steps::kExportFailed;
    }
    char timeText[16];
    std::snprintf(timeText, sizeof timeText, "%08x", static_cast<unsigned int>(std::time(nullptr)));
    auto function = reinterpret_cast<SaveCertPemFileFromCertIndexFunction>(
        dlsym(module, "SaveCertPemFileFromCertIndex"));
    const bool ok = function != nullptr && function(index, path.c_str(), timeText) != 0;
    dlclose(module);
    if (!ok) {
        return webstep::steps::kExportFailed;
    }
    WriteToExportedFilesList(fileName);
    return 0;
}
