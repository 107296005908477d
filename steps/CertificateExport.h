#pragma once
// Export of a client certificate as a PEM file through the tool's certificate
// exporter, a loadable module with the function SaveCertPemFileFromCertIndex.
#include "webstep/foundation/Export.h"

/// The exporter's function: writes the certificate of the index to the path;
/// timeText is an eight-digit lower-case hexadecimal text of the current time.
/// Returns non-zero on success.
extern "C" typedef int (*SaveCertPemFileFromCertIndexFunction)(int certIndex,
                                                               const char* targetPath,
                                                               const char* timeText);

namespace webstep::steps {

/// The general failure result of an export.
constexpr long kExportFailed = static_cast<long>(0x80004005L);

/// The exporter module loaded by name (searched as the dynamic loader
/// searches); "libCertExport.so" by default. Null restores the default.
WEBSTEP_API void SetCertificateExporterModule(const char* moduleName);
WEBSTEP_API const char* GetCertificateExporterModule();

}  // namespace webstep::steps
