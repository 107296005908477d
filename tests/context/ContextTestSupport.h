#pragma once
// Shared helpers of the context tests: a private MIME database, pages made
// from HTML text and nodes with URLs.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include "webstep/context/Context.h"
#include "webstep/context/ContextPage.h"
#include "webstep/context/ContextTree.h"
#include "webstep/platform/Registry.h"

namespace context_test {

// Points the MIME database at a file of the test's own for the test's
// lifetime.
class MimeTypesFixture : public ::testing::Test {
protected:
    void SetUp() override {
        static std::atomic<int> counter{0};
        m_path = std::filesystem::temp_directory_path() /
                 ("webstep-context-mime-" + std::to_string(::getpid()) + "-" +
                  std::to_string(counter++) + ".types");
        std::ofstream out(m_path);
        out << "# test database\n"
               "image/gif gif\n"
               "image/jpeg jpeg jpg\n"
               "text/html html htm\n"
               "application/x-very-long verylongext\n"
               "application/x-nine abcdefgh\n"
               "application/x-ten abcdefghi\n";
        out.close();
        webstep::platform::SetMimeTypesPath(m_path.c_str());
    }
    void TearDown() override {
        webstep::platform::SetMimeTypesPath(nullptr);
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    std::filesystem::path m_path;
};

inline CContextTree* NewNode(const char* url) {
    auto* node = new CContextTree();
    if (url != nullptr) {
        node->SetUrl(CURLParser(url));
    }
    return node;
}

inline CContextTree* NewPageNode(const char* url, const std::string& html) {
    CContextTree* node = NewNode(url);
    node->SetTree(CContextPage::Scan(html));
    return node;
}

}  // namespace context_test
