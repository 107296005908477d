#pragma once
// What the benchmarks share: the shared folder (WEBSTEP_SHARED overrides the
// built-in path), the saved pages of its HTML corpus, and a page fed to the
// scanner in pieces.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "webstep/html/HTMLScanner.h"

namespace webstep::bench {

inline std::filesystem::path SharedDir() {
    if (const char* env = std::getenv("WEBSTEP_SHARED"); env != nullptr && *env != '\0') {
        return env;
    }
    return WEBSTEP_SHARED_DIR;
}

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Page {
    std::string name;  // the file name without ".html"
    std::string text;
};

// The pages of corpus/html in the order of their names; empty when the
// folder is missing (each benchmark says so).
inline const std::vector<Page>& CorpusPages() {
    static const std::vector<Page> pages = [] {
        std::vector<Page> out;
        std::error_code error;
        for (const auto& entry :
             std::filesystem::directory_iterator(SharedDir() / "corpus" / "html", error)) {
            if (entry.path().extension() == ".html") {
                out.push_back({entry.path().stem().string(), ReadFile(entry.path())});
            }
        }
        std::sort(out.begin(), out.end(),
                  [](const Page& a, const Page& b) { return a.name < b.name; });
        return out;
    }();
    return pages;
}

// startParse, continueParse with pieces of the given size, endParse.
inline void ScanInPieces(CHTMLScanner& scanner, const std::string& text, std::size_t piece) {
    scanner.startParse();
    for (std::size_t at = 0; at < text.size(); at += piece) {
        const std::size_t n = std::min(piece, text.size() - at);
        scanner.continueParse(text.data() + at, static_cast<unsigned>(n));
    }
    scanner.endParse();
}

}  // namespace webstep::bench
