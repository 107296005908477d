#pragma once
// Where tests find the project's own files and the shared corpus.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace webstep::test {

inline std::filesystem::path SourceDir() { return WEBSTEP_SOURCE_DIR; }

// The shared corpus and vectors: $WEBSTEP_SHARED when set, else ../shared
// beside the project root.
inline std::filesystem::path SharedDir() {
    if (const char* env = std::getenv("WEBSTEP_SHARED"); env && *env) return env;
    return WEBSTEP_SHARED_DIR;
}

// Resolves a path below the shared folder; fails the calling test with a
// clear message when it is missing.
inline std::filesystem::path RequireShared(const std::string& relative) {
    auto path = SharedDir() / relative;
    if (!std::filesystem::exists(path)) {
        ADD_FAILURE() << "shared test data missing: " << path.string()
                      << " (expected the shared folder beside the project root, or set "
                         "WEBSTEP_SHARED)";
    }
    return path;
}

}  // namespace webstep::test
