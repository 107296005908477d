#include "webstep/platform/Registry.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "webstep/platform/PrivateProfile.h"

namespace webstep::platform {
namespace {

constexpr const char* kDefaultMimeTypes = "/etc/mime.types";

std::string Lower(std::string s) {
    for (char& c : s) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return s;
}

std::string TrimSpaces(const std::string& s) {
    const char* ws = " \t\r\n\v\f";
    const std::size_t begin = s.find_first_not_of(ws);
    if (begin == std::string::npos) {
        return std::string();
    }
    return s.substr(begin, s.find_last_not_of(ws) + 1 - begin);
}

struct MimeDatabase {
    std::mutex lock;
    std::string path = kDefaultMimeTypes;
    // Identity of the loaded file, to notice changes.
    std::string loadedPath;
    long long loadedTime = -1;
    long long loadedSize = -1;
    std::map<std::string, std::string> typeToExtension;
    std::map<std::string, std::string> extensionToType;

    void Refresh() {
        struct stat st {};
        const bool exists = ::stat(path.c_str(), &st) == 0;
        const long long time =
            exists ? static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec
                   : -2;
        const long long size = exists ? static_cast<long long>(st.st_size) : -2;
        if (path == loadedPath && time == loadedTime && size == loadedSize) {
            return;
        }
        typeToExtension.clear();
        extensionToType.clear();
        loadedPath = path;
        loadedTime = time;
        loadedSize = size;
        std::ifstream in(path, std::ios::binary);
        std::string line;
        while (std::getline(in, line)) {
            const std::size_t hash = line.find('#');
            if (hash != std::string::npos) {
                line.erase(hash);
            }
            std::vector<std::string> words;
            std::size_t i = 0;
            while (i < line.size()) {
                while (i < line.size() && (line[i] == ' ' || line[i] == '\t' || line[i] == '\r')) {
                    ++i;
                }
                const std::size_t start = i;
                while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r') {
                    ++i;
                }
                if (i > start) {
                    words.push_back(line.substr(start, i - start));
                }
            }
            if (words.size() < 2 || words[0].find('/') == std::string::npos) {
                continue;
            }
            const std::string type = Lower(words[0]);
            typeToExtension.emplace(type, "." + words[1]);
            for (std::size_t w = 1; w < words.size(); ++w) {
                extensionToType.emplace(Lower(words[w]), words[0]);
            }
        }
    }
};

MimeDatabase& Mime() {
    static MimeDatabase database;
    return database;
}

std::mutex& RegistryPathMutex() {
    static std::mutex mutex;
    return mutex;
}

std::string& RegistryPathOverride() {
    static std::string path;
    return path;
}

std::string HomeDirectory() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        return home;
    }
    if (const passwd* entry = ::getpwuid(::getuid());
        entry != nullptr && entry->pw_dir != nullptr) {
        return entry->pw_dir;
    }
    return ".";
}

// Percent escapes keep names and values intact through the INI format:
// line breaks and control bytes, "%", and the characters that the format
// gives a meaning ("=", "[", "]", quotes) or trims (spaces at the ends).
std::string Escape(const std::string& text, bool isValue) {
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const bool atEdge = i == 0 || i + 1 == text.size();
        bool escape = c < 0x20 || c == 0x7F || c == '%';
        if (!isValue) {
            escape = escape || c == '=' || c == '[' || c == ']' || c == '"' || c == '\'' ||
                     (atEdge && c == ' ');
        }
        if (escape) {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 0x0F];
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

int HexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

std::string Unescape(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
            HexValue(text[i + 2]) >= 0) {
            out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

// A value read in full, whatever its length; false when it is missing.
bool ReadWhole(const std::string& section, const std::string& key, const std::string& path,
               std::string& value) {
    // Stored values are never a raw control byte, so this default cannot be
    // mistaken for one.
    static const char kMissing[] = "\x01";
    std::vector<char> buffer(256);
    for (;;) {
        const DWORD n =
            GetPrivateProfileStringA(section.c_str(), key.c_str(), kMissing, buffer.data(),
                                     static_cast<DWORD>(buffer.size()), path.c_str());
        // A cut value may end up to three bytes early (whole characters
        // only), so only a clearly shorter answer is known to be complete.
        if (static_cast<std::size_t>(n) + 4 < buffer.size()) {
            value.assign(buffer.data(), n);
            return value != kMissing;
        }
        buffer.resize(buffer.size() * 2);
    }
}

bool EnsureDirectory(const std::string& path) {
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    if (parent.empty()) {
        return true;
    }
    std::error_code ec;
    std::filesystem::create_directories(parent, ec);
    return !ec || std::filesystem::is_directory(parent);
}

}  // namespace

void SetMimeTypesPath(const char* path) {
    MimeDatabase& mime = Mime();
    std::lock_guard<std::mutex> guard(mime.lock);
    mime.path = (path != nullptr && *path != '\0') ? path : kDefaultMimeTypes;
}

MString GetMimeTypesPath() {
    MimeDatabase& mime = Mime();
    std::lock_guard<std::mutex> guard(mime.lock);
    return mime.path;
}

bool GetExtensionFromContentType(const char* contentType, MString& extension) {
    if (contentType == nullptr) {
        return false;
    }
    std::string type = contentType;
    const std::size_t semicolon = type.find(';');
    if (semicolon != std::string::npos) {
        type.erase(semicolon);
    }
    type = Lower(TrimSpaces(type));
    if (type.empty()) {
        return false;
    }
    MimeDatabase& mime = Mime();
    std::lock_guard<std::mutex> guard(mime.lock);
    mime.Refresh();
    const auto found = mime.typeToExtension.find(type);
    if (found == mime.typeToExtension.end()) {
        return false;
    }
    extension = found->second;
    return true;
}

bool GetContentTypeFromExtension(const char* extension, MString& contentType) {
    if (extension == nullptr) {
        return false;
    }
    std::string ext = TrimSpaces(extension);
    if (!ext.empty() && ext[0] == '.') {
        ext.erase(0, 1);
    }
    ext = Lower(ext);
    if (ext.empty()) {
        return false;
    }
    MimeDatabase& mime = Mime();
    std::lock_guard<std::mutex> guard(mime.lock);
    mime.Refresh();
    const auto found = mime.extensionToType.find(ext);
    if (found == mime.extensionToType.end()) {
        return false;
    }
    contentType = found->second;
    return true;
}

void SetRegistryPath(const char* path) {
    std::lock_guard<std::mutex> guard(RegistryPathMutex());
    RegistryPathOverride() = path != nullptr ? path : "";
}

MString GetRegistryPath() {
    {
        std::lock_guard<std::mutex> guard(RegistryPathMutex());
        if (!RegistryPathOverride().empty()) {
            return RegistryPathOverride();
        }
    }
    if (const char* env = std::getenv("WEBSTEP_REGISTRY"); env != nullptr && *env != '\0') {
        return env;
    }
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && xdg[0] == '/') {
        return std::string(xdg) + "/webstep/registry.ini";
    }
    return HomeDirectory() + "/.config/webstep/registry.ini";
}

bool RegistryGetString(const char* keyPath, const char* valueName, MString& value) {
    if (keyPath == nullptr) {
        return false;
    }
    std::string stored;
    if (!ReadWhole(Escape(keyPath, false), Escape(valueName != nullptr ? valueName : "", false),
                   GetRegistryPath(), stored)) {
        return false;
    }
    value = Unescape(stored);
    return true;
}

bool RegistrySetString(const char* keyPath, const char* valueName, const char* value) {
    if (keyPath == nullptr || value == nullptr) {
        return false;
    }
    const std::string path = GetRegistryPath();
    if (!EnsureDirectory(path)) {
        return false;
    }
    const std::string stored = "\"" + Escape(value, true) + "\"";
    return WritePrivateProfileStringA(Escape(keyPath, false).c_str(),
                                      Escape(valueName != nullptr ? valueName : "", false).c_str(),
                                      stored.c_str(), path.c_str()) != 0;
}

bool RegistryDeleteValue(const char* keyPath, const char* valueName) {
    if (keyPath == nullptr) {
        return false;
    }
    return WritePrivateProfileStringA(Escape(keyPath, false).c_str(),
                                      Escape(valueName != nullptr ? valueName : "", false).c_str(),
                                      nullptr, GetRegistryPath().c_str()) != 0;
}

bool RegistryDeleteKey(const char* keyPath) {
    if (keyPath == nullptr) {
        return false;
    }
    return WritePrivateProfileStringA(Escape(keyPath, false).c_str(), nullptr, nullptr,
                                      GetRegistryPath().c_str()) != 0;
}

}  // namespace webstep::platform
