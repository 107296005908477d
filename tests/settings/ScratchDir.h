#pragma once
// A private scratch directory for tests that write files; removed at the end.
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace webstep::test {

class ScratchDir {
public:
    ScratchDir() {
        static std::atomic<unsigned> counter{0};
        m_path =
            std::filesystem::temp_directory_path() /
            ("webstep-settings-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    ~ScratchDir() {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string File(const std::string& name) const { return (m_path / name).string(); }

    static void Write(const std::string& path, const std::string& content) {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << content;
    }
    static bool Read(const std::string& path, std::string& content) {
        std::ifstream in(path, std::ios::binary);
        if (!in) {
            return false;
        }
        content.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        return true;
    }

private:
    std::filesystem::path m_path;
};

}  // namespace webstep::test
