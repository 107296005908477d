#pragma once
// Files written next to a script: the custom body header with its list of
// body variables, and the process-wide list of every file the library wrote
// for the caller.
#include <cstddef>
#include <cstdio>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// Appends a name to the exported files list: names each ended by a zero byte,
/// the whole list by an extra zero byte, at most 4,094 bytes of names (a name
/// that does not fit is cut there). Thread-safe.
WEBSTEP_API void WriteToExportedFilesList(const char* name);

/// The list as stored (double-zero terminated; valid until the next write or
/// clear), the names in order, and emptying it.
WEBSTEP_API const char* GetExportedFilesList();
WEBSTEP_API std::vector<MString> GetExportedFileNames();
WEBSTEP_API void ClearExportedFilesList();

namespace webstep::steps {

/// Capacity of the exported files list in bytes.
constexpr std::size_t kExportedFilesCapacity = 4094;

/// Names of the files written by CWebStepCustomRequest::WriteBodyToFile,
/// appended to the caller's directory text as they are.
constexpr const char* kCustomBodyHeaderFile = "qzw_custom_body.h";
constexpr const char* kCustomBodyVariablesFile = "custom_body_variables.txt";

/// Writes data through a temporary file in the same folder that replaces path
/// only when it is complete, so a failure leaves the previous file intact.
WEBSTEP_API bool WriteFileWhole(const MString& path, const MString& data);

/// The low-level write used by WriteFileWhole (all of data to the open file,
/// true on success); replaceable to simulate failing disks. Null restores the
/// standard one.
using FileWriteFunction = bool (*)(std::FILE* file, const char* data, std::size_t size);
WEBSTEP_API void SetFileWriteFunction(FileWriteFunction function);

}  // namespace webstep::steps
