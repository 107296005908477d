#pragma once
// Helpers of the recording tests: a fresh temporary directory, files written
// into it, base64 for the snapshot XML files the tests write.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "webstep/recording/FolderMessage.h"

namespace snaptest {

// A new empty directory under the test temp dir, removed at the end.
class TempDir {
public:
    TempDir() {
        std::string pattern = testing::TempDir() + "webstep-snap-XXXXXX";
        if (char* made = mkdtemp(pattern.data()))
            m_path = made;
    }
    ~TempDir() {
        std::error_code error;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, error);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return m_path; }
    std::string File(std::string_view name) const { return m_path + "/" + std::string(name); }
    void Write(std::string_view name, std::string_view bytes) const {
        std::ofstream out(File(name), std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

private:
    std::string m_path;
};

inline std::string Base64(std::string_view bytes) {
    static const char* alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) |
                           (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                           static_cast<unsigned char>(bytes[i + 2]);
        out += alphabet[(v >> 18) & 63];
        out += alphabet[(v >> 12) & 63];
        out += alphabet[(v >> 6) & 63];
        out += alphabet[v & 63];
    }
    if (bytes.size() - i == 1) {
        const unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        out += alphabet[(v >> 18) & 63];
        out += alphabet[(v >> 12) & 63];
        out += "==";
    } else if (bytes.size() - i == 2) {
        const unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) |
                           (static_cast<unsigned char>(bytes[i + 1]) << 8);
        out += alphabet[(v >> 18) & 63];
        out += alphabet[(v >> 12) & 63];
        out += alphabet[(v >> 6) & 63];
        out += '=';
    }
    return out;
}

// <HTTPDataSet> with one HTTPData per part, each part base64 encoded.
inline std::string DataSet(std::initializer_list<std::string_view> parts) {
    std::string out = "<HTTPDataSet>";
    for (std::string_view part : parts) {
        out += "<HTTPData dfeDataType=\"Raw\" sectionDataType=\"1\"><ActualData>" + Base64(part) +
               "</ActualData></HTTPData>";
    }
    return out + "</HTTPDataSet>";
}

inline std::string Header(std::string_view name, std::string_view value, int index = 0) {
    return "<HTTPHeaderEntity name=\"" + std::string(name) + "\" index=\"" + std::to_string(index) +
           "\">" + DataSet({value}) + "</HTTPHeaderEntity>";
}

inline std::string AllMessages(const FolderMessages& messages) {
    std::string out;
    for (const FolderMessage& message : messages)
        out += message.Format() + "\n";
    return out;
}

inline std::size_t CountWarnings(const FolderMessages& messages) {
    std::size_t n = 0;
    for (const FolderMessage& message : messages)
        n += message.kind == FolderMessage::Kind::Warning;
    return n;
}

}  // namespace snaptest
