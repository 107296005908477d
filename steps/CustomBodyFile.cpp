#include "webstep/steps/CustomBodyFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "webstep/steps/WebStepCustomRequest.h"

namespace {

// Two bytes beyond the capacity hold the closing zeros of a full list.
char g_exportedFiles[webstep::steps::kExportedFilesCapacity + 2] = {};
std::mutex g_exportedFilesMutex;

bool StandardWrite(std::FILE* file, const char* data, std::size_t size) {
    return size == 0 || std::fwrite(data, 1, size, file) == size;
}

std::atomic<webstep::steps::FileWriteFunction> g_writeFunction{&StandardWrite};

const char kHeaderGuard[] = "#ifndef _QZW_CUSTOM_BODY_H\r\n#define _QZW_CUSTOM_BODY_H\r\n\r\n";
// CR LF and the 31-character closing line.
const char kHeaderTrailer[] = "\r\n#endif /* _QZW_CUSTOM_BODY_H */";
constexpr std::size_t kTrailerLength = sizeof(kHeaderTrailer) - 1;  // 33

// Reads a whole file; exists is false when it cannot be opened for reading.
bool ReadFile(const MString& path, MString& content, bool& exists) {
    content.clear();
    std::FILE* file = std::fopen(path.c_str(), "rb");
    exists = file != nullptr;
    if (file == nullptr) {
        return true;
    }
    char buffer[4096];
    std::size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) {
        content.append(buffer, n);
    }
    const bool ok = std::ferror(file) == 0;
    std::fclose(file);
    return ok;
}

// Chooses the next free variable name and records it in the variables list;
// list and exists receive the list as it was, so that it can be put back.
bool ChooseVariableName(const MString& directory, int& counter, MString& name, MString& list,
                        bool& exists) {
    const MString listPath = directory + webstep::steps::kCustomBodyVariablesFile;
    if (!ReadFile(listPath, list, exists)) {
        return false;
    }
    // A name that occurs anywhere in the list (even inside a longer name) is
    // taken.
    name = "body_variable_" + std::to_string(counter);
    while (list.find(name) != MString::npos) {
        ++counter;
        name = "body_variable_" + std::to_string(counter);
    }
    return webstep::steps::WriteFileWhole(listPath, list + name + "\r\n");
}

// The header with one more entry: before the closing line when the file ends
// with it, appended otherwise (a file whose closing line was edited away is
// left open).
MString HeaderWithEntry(const MString& existing, bool exists, const MString& entry) {
    if (!exists) {
        return kHeaderGuard + entry + kHeaderTrailer;
    }
    const std::size_t size = existing.size();
    if (size > 34 && existing[size - 31] == '#') {
        return existing.substr(0, size - kTrailerLength) + entry + kHeaderTrailer;
    }
    return existing + entry;
}

}  // namespace

void WriteToExportedFilesList(const char* name) {
    using webstep::steps::kExportedFilesCapacity;
    std::lock_guard<std::mutex> lock(g_exportedFilesMutex);
    std::size_t end = kExportedFilesCapacity;
    for (std::size_t i = 0; i < kExportedFilesCapacity; ++i) {
        if (g_exportedFiles[i] == '\0' && g_exportedFiles[i + 1] == '\0') {
            end = i;
            break;
        }
    }
    // The previous name keeps its zero; an empty list starts at 0.
    std::size_t position = end == 0 ? 0 : end + 1;
    if (position > kExportedFilesCapacity) {
        position = kExportedFilesCapacity;
    }
    for (const char* p = name != nullptr ? name : "";
         *p != '\0' && position < kExportedFilesCapacity; ++p) {
        g_exportedFiles[position++] = *p;
    }
    g_exportedFiles[position] = '\0';
    g_exportedFiles[position + 1] = '\0';
}

const char* GetExportedFilesList() {
    return g_exportedFiles;
}

std::vector<MString> GetExportedFileNames() {
    std::lock_guard<std::mutex> lock(g_exportedFilesMutex);
    std::vector<MString> names;
    std::size_t i = 0;
    while (i < webstep::steps::kExportedFilesCapacity && g_exportedFiles[i] != '\0') {
        const std::size_t length = std::strlen(g_exportedFiles + i);
        names.emplace_back(g_exportedFiles + i, length);
        i += length + 1;
    }
    return names;
}

void ClearExportedFilesList() {
    std::lock_guard<std::mutex> lock(g_exportedFilesMutex);
    std::memset(g_exportedFiles, 0, sizeof g_exportedFiles);
}

namespace webstep::steps {

void SetFileWriteFunction(FileWriteFunction function) {
    g_writeFunction.store(function != nullptr ? function : &StandardWrite);
}

bool WriteFileWhole(const MString& path, const MString& data) {
    // Unique per process and call, so that concurrent writers never share a
    // temporary file.
    static std::atomic<unsigned long> sequence{0};
    const MString temporary = path + ".tmp" + std::to_string(static_cast<long>(getpid())) + "_" +
                              std::to_string(sequence.fetch_add(1));
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    // The replacement keeps the permissions of the file it replaces.
    struct stat existing {};
    if (::stat(path.c_str(), &existing) == 0) {
        (void)::fchmod(fileno(file), existing.st_mode & 07777);
    }
    bool ok = g_writeFunction.load()(file, data.data(), data.size());
    ok = std::fflush(file) == 0 && ok;
    // On disk before the rename, so that a crash leaves the old or the new
    // file, never an empty one.
    ok = ok && ::fsync(fileno(file)) == 0;
    ok = std::fclose(file) == 0 && ok;
    if (ok) {
        ok = std::rename(temporary.c_str(), path.c_str()) == 0;
    }
    if (!ok) {
        std::remove(temporary.c_str());
    }
    return ok;
}

}  // namespace webstep::steps

bool CWebStepCustomRequest::WriteBodyToFile(const MString& directory, const MString& stepName,
                                            int& counter) {
    const MString headerPath = directory + webstep::steps::kCustomBodyHeaderFile;
    for (tag_BodyAndEncoding& part : m_Body) {
        if (part.encoding != BODY_VARIABLE) {
            continue;
        }
        MString variable;
        MString list;
        bool listExisted = false;
        if (!ChooseVariableName(directory, counter, variable, list, listExisted)) {
            return false;
        }
        MString header;
        bool exists = false;
        const MString entry = "// Step Name : " + stepName + " \r\nconst char * const " + variable +
                              " = " + part.value + " ;\r\n";
        if (!ReadFile(headerPath, header, exists) ||
            !webstep::steps::WriteFileWhole(headerPath, HeaderWithEntry(header, exists, entry))) {
            // The list must not name a variable that the header lacks: put
            // it back as it was (it is smaller, so it fits where the header
            // did not).
            const MString listPath = directory + webstep::steps::kCustomBodyVariablesFile;
            if (listExisted) {
                webstep::steps::WriteFileWhole(listPath, list);
            } else {
                std::remove(listPath.c_str());
            }
            return false;
        }
        part.value = variable;
    }
    return true;
}
