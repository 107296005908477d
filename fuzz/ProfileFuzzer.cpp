// The INI reader over arbitrary files: lists of sections and keys are always
// ended by two NULs and cut to the buffer, a value read into a small buffer
// is the beginning of the value read into a large one, and writing one key
// makes it readable while every other key keeps its value.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "FuzzSupport.h"
#include "webstep/platform/PrivateProfile.h"

namespace {

using namespace webstep::platform;

const std::string& FilePath() {
    static const std::string path = [] {
        char pattern[] = "/tmp/webstep-fuzz-ini-XXXXXX";
        const char* dir = mkdtemp(pattern);
        return std::string(dir != nullptr ? dir : "/tmp") + "/fuzz.ini";
    }();
    return path;
}

std::vector<std::string> Names(const char* section, const char* file) {
    std::vector<char> buffer(1 << 16, '#');
    const DWORD n = GetPrivateProfileStringA(section, nullptr, "", buffer.data(),
                                             static_cast<DWORD>(buffer.size()), file);
    FUZZ_CHECK(n < buffer.size());
    FUZZ_CHECK(buffer[n] == '\0');
    std::vector<std::string> names;
    for (size_t at = 0; at < n;) {
        const size_t length = std::strlen(buffer.data() + at);
        names.emplace_back(buffer.data() + at, length);
        at += length + 1;
    }
    return names;
}

std::string Value(const std::string& section, const std::string& key, const char* file,
                  DWORD size) {
    std::vector<char> buffer(size == 0 ? 1 : size, '#');
    const DWORD n = GetPrivateProfileStringA(section.c_str(), key.c_str(), "(default)",
                                             size == 0 ? nullptr : buffer.data(), size, file);
    if (size == 0) {
        FUZZ_CHECK(n == 0);
        return std::string();
    }
    FUZZ_CHECK(n < size);
    FUZZ_CHECK(buffer[n] == '\0');
    return std::string(buffer.data(), n);
}

bool SameName(std::string a, std::string b) {
    for (auto* s : {&a, &b})
        for (char& c : *s)
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
    return a == b;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(in.Byte()));
    const DWORD small = in.Byte();
    std::string written;
    for (char c : in.Until(0))
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
            written.push_back(c);
    const std::string content = in.Rest();
    const std::string& path = FilePath();
    if (FILE* f = std::fopen(path.c_str(), "wb")) {
        std::fwrite(content.data(), 1, content.size(), f);
        std::fclose(f);
    } else {
        return 0;
    }
    const char* file = path.c_str();

    // A cut list still ends with two NULs.
    if (small >= 2) {
        std::vector<char> buffer(small, '#');
        const DWORD n = GetPrivateProfileStringA(nullptr, nullptr, "", buffer.data(), small, file);
        // Each name ends with a NUL and the list with one more: the result
        // counts all but the last. A list that does not fit is cut (inside a
        // name, maybe) and ended with two NULs.
        FUZZ_CHECK(n <= small - 1u);
        FUZZ_CHECK(buffer[n] == '\0');
        FUZZ_CHECK(n == 0 || buffer[n - 1] == '\0' || (n == small - 2u && buffer[n + 1] == '\0'));
    }

    std::map<std::pair<std::string, std::string>, std::string> before;
    const std::vector<std::string> sections = Names(nullptr, file);
    for (size_t s = 0; s < sections.size() && s < 8; ++s) {
        const std::vector<std::string> keys = Names(sections[s].c_str(), file);
        for (size_t k = 0; k < keys.size() && k < 8; ++k) {
            const std::string large = Value(sections[s], keys[k], file, 1 << 16);
            const std::string cut = Value(sections[s], keys[k], file, small);
            FUZZ_CHECK(cut.size() <= large.size());
            FUZZ_CHECK(large.compare(0, cut.size(), cut) == 0);
            if (!SameName(sections[s], "fz"))
                before[{sections[s], keys[k]}] = large;
            (void)GetPrivateProfileIntA(sections[s].c_str(), keys[k].c_str(), 7, file);
        }
    }

    if (!written.empty() && WritePrivateProfileStringA("fz", "k1", written.c_str(), file)) {
        FUZZ_CHECK(Value("fz", "k1", file, 1 << 16) == written);
        for (const auto& [where, value] : before)
            FUZZ_CHECK(Value(where.first, where.second, file, 1 << 16) == value);
    }
    std::remove(file);
    webstep::platform::SetProcessCodePage(0);
    return 0;
}
