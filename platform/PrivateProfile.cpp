#include "webstep/platform/PrivateProfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "webstep/platform/CodePage.h"

namespace webstep::platform {
namespace {

constexpr DWORD kErrorPathNotFound = 3;
constexpr DWORD kErrorAccessDenied = 5;

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::string Trim(const std::string& s) {
    std::size_t begin = 0;
    std::size_t end = s.size();
    while (begin < end && IsSpace(s[begin])) {
        ++begin;
    }
    while (end > begin && IsSpace(s[end - 1])) {
        --end;
    }
    return s.substr(begin, end - begin);
}

char FoldAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool NamesEqual(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (FoldAscii(a[i]) != FoldAscii(b[i])) {
            return false;
        }
    }
    return true;
}

std::string StripQuotes(const std::string& value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        return value.substr(1, value.size() - 2);
    }
    return value;
}

enum class LineKind { Blank, Section, Key };

struct Line {
    std::string text;    // without its line ending
    std::string ending;  // "\r\n", "\n" or "" (last line without one)
    LineKind kind = LineKind::Blank;
    std::string name;       // section or key name, trimmed
    bool hasValue = false;  // a key line with "="
    std::string value;      // trimmed, quotes kept
};

// A section: the range of lines [first, end) that follow its header.
struct SectionRange {
    std::string name;
    long header;  // -1 for the keys before the first section
    std::size_t first;
    std::size_t end;
};

struct Profile {
    std::vector<Line> lines;
    std::vector<SectionRange> sections;

    void Parse(const std::string& content);
    void Index();
    const SectionRange* FindSection(const std::string& name) const;
    long FindKey(const SectionRange& section, const std::string& name) const;
    std::string Serialize() const;
    std::string LineEnding() const;
};

void ClassifyLine(Line& line) {
    std::string text = line.text;
    const std::string trimmed = Trim(text);
    if (trimmed.empty()) {
        line.kind = LineKind::Blank;
        return;
    }
    const std::size_t close = trimmed.rfind(']');
    if (trimmed.front() == '[' && close != std::string::npos) {
        // The name runs to the last "]"; text after it is ignored. A "[" line
        // without any "]" opens no section: it is read as a key line of the
        // section it stands in (a key without "=" unless it holds one).
        line.kind = LineKind::Section;
        line.name = Trim(trimmed.substr(1, close - 1));
        return;
    }
    line.kind = LineKind::Key;
    const std::size_t equals = trimmed.find('=');
    if (equals == std::string::npos) {
        line.name = trimmed;
        line.hasValue = false;
    } else {
        line.name = Trim(trimmed.substr(0, equals));
        line.value = Trim(trimmed.substr(equals + 1));
        line.hasValue = true;
    }
}

void Profile::Parse(const std::string& content) {
    lines.clear();
    std::size_t start = 0;
    // A UTF-8 byte order mark is kept in the file but not read as text.
    const bool bom = content.compare(0, 3, "\xEF\xBB\xBF") == 0;
    // A line ends with CRLF, LF or CR alone.
    while (start < content.size()) {
        const std::size_t end = content.find_first_of("\r\n", start);
        Line line;
        if (end == std::string::npos) {
            line.text = content.substr(start);
            start = content.size();
        } else {
            const std::size_t next =
                content[end] == '\r' && end + 1 < content.size() && content[end + 1] == '\n'
                    ? end + 2
                    : end + 1;
            line.text = content.substr(start, end - start);
            line.ending = content.substr(end, next - end);
            start = next;
        }
        lines.push_back(std::move(line));
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Line& line = lines[i];
        if (i == 0 && bom) {
            const std::string text = line.text;
            line.text = text.substr(3);
            ClassifyLine(line);
            line.text = text;
        } else {
            ClassifyLine(line);
        }
    }
    Index();
}

void Profile::Index() {
    sections.clear();
    sections.push_back(SectionRange{"", -1, 0, 0});
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].kind == LineKind::Section) {
            sections.back().end = i;
            sections.push_back(SectionRange{lines[i].name, static_cast<long>(i), i + 1, 0});
        }
    }
    sections.back().end = lines.size();
}

const SectionRange* Profile::FindSection(const std::string& name) const {
    for (const SectionRange& section : sections) {
        // The empty name is that of the keys before the first header, which
        // always come first: a header "[]" is never the one found.
        if (name.empty() && section.header >= 0) {
            return nullptr;
        }
        // The implicit section before the first header exists only when it
        // holds a key.
        if (section.header < 0) {
            bool hasKey = false;
            for (std::size_t i = section.first; i < section.end; ++i) {
                hasKey = hasKey || lines[i].kind == LineKind::Key;
            }
            if (!hasKey) {
                continue;
            }
        }
        if (NamesEqual(section.name, name)) {
            return &section;
        }
    }
    return nullptr;
}

long Profile::FindKey(const SectionRange& section, const std::string& name) const {
    for (std::size_t i = section.first; i < section.end; ++i) {
        if (lines[i].kind == LineKind::Key && NamesEqual(lines[i].name, name)) {
            return static_cast<long>(i);
        }
    }
    return -1;
}

std::string Profile::Serialize() const {
    std::string out;
    for (const Line& line : lines) {
        out += line.text;
        out += line.ending;
    }
    return out;
}

std::string Profile::LineEnding() const {
    for (const Line& line : lines) {
        if (!line.ending.empty()) {
            return line.ending;
        }
    }
    return "\r\n";
}

enum class ReadResult { Ok, Missing, Failed };

ReadResult ReadFile(const char* path, std::string& content, DWORD& error) {
    content.clear();
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const int openErrno = errno;
        if (openErrno == ENOENT) {
            error = ERROR_FILE_NOT_FOUND;
            return ReadResult::Missing;
        }
        error = openErrno == ENOTDIR ? kErrorPathNotFound : kErrorAccessDenied;
        return ReadResult::Failed;
    }
    char chunk[65536];
    for (;;) {
        const ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            error = kErrorAccessDenied;  // a directory or an unreadable file
            ::close(fd);
            return ReadResult::Failed;
        }
        if (n == 0) {
            break;
        }
        content.append(chunk, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return ReadResult::Ok;
}

// Loads and parses the file; false (with the last error set) when it is
// missing or unreadable.
bool LoadProfile(const char* path, Profile& profile) {
    if (path == nullptr || *path == '\0') {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return false;
    }
    std::string content;
    DWORD error = 0;
    if (ReadFile(path, content, error) != ReadResult::Ok) {
        SetLastError(error);
        return false;
    }
    profile.Parse(content);
    return true;
}

// Length of the longest prefix of at most limit bytes that does not end in
// the middle of a multi-byte character.
std::size_t WholeCharacterPrefix(const std::string& s, std::size_t limit) {
    if (limit >= s.size()) {
        return s.size();
    }
    if (GetMaxCharLength() <= 1) {
        return limit;
    }
    std::size_t i = 0;
    while (i < limit) {
        int n = mblen(s.data() + i, s.size() - i);
        if (n <= 0) {
            n = 1;
        }
        if (i + static_cast<std::size_t>(n) > limit) {
            break;
        }
        i += static_cast<std::size_t>(n);
    }
    return i;
}

DWORD CopyString(const std::string& value, char* buffer, DWORD size) {
    const std::size_t n = WholeCharacterPrefix(value, size - 1);
    std::memcpy(buffer, value.data(), n);
    buffer[n] = '\0';
    return static_cast<DWORD>(n);
}

DWORD CopyList(const std::vector<std::string>& names, char* buffer, DWORD size) {
    std::string all;
    for (const std::string& name : names) {
        all += name;
        all.push_back('\0');
    }
    // The list fits only with room for both final NULs; a buffer that holds
    // the names and one NUL gets the cut list (size - 2), like a smaller one.
    if (all.size() + 2 <= size) {
        std::memcpy(buffer, all.data(), all.size());
        buffer[all.size()] = '\0';
        if (all.empty() && size > 1) {
            buffer[1] = '\0';
        }
        return static_cast<DWORD>(all.size());
    }
    if (size < 2) {
        buffer[0] = '\0';
        return 0;
    }
    std::memcpy(buffer, all.data(), size - 2);
    buffer[size - 2] = '\0';
    buffer[size - 1] = '\0';
    return size - 2;
}

std::string PrepareDefault(const char* defaultValue) {
    std::string value = defaultValue != nullptr ? defaultValue : "";
    while (!value.empty() && value.back() == ' ') {
        value.pop_back();
    }
    return StripQuotes(value);
}

// The value of section/key; false when either is missing or the key has
// no "=".
bool LookUp(const Profile& profile, const char* section, const char* key, std::string& value) {
    const SectionRange* range = profile.FindSection(Trim(section));
    if (range == nullptr) {
        return false;
    }
    const long index = profile.FindKey(*range, Trim(key));
    if (index < 0 || !profile.lines[static_cast<std::size_t>(index)].hasValue) {
        return false;
    }
    value = StripQuotes(profile.lines[static_cast<std::size_t>(index)].value);
    return true;
}

std::mutex& WriteMutex() {
    static std::mutex mutex;
    return mutex;
}

DWORD ErrorFromErrno(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return kErrorPathNotFound;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
            return kErrorAccessDenied;
        default:
            return kErrorAccessDenied;
    }
}

bool WriteAll(int fd, const std::string& content) {
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// Replaces the file with content through a temporary file in the same
// directory and a rename, keeping the permissions of an existing file.
bool ReplaceFile(const std::string& path, const std::string& content) {
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::path target(path);
    // Writing through a symbolic link updates the file it points at.
    if (fs::is_symlink(fs::symlink_status(target, ec))) {
        const fs::path resolved = fs::weakly_canonical(target, ec);
        if (!ec) {
            target = resolved;
        }
    }
    static std::atomic<unsigned> counter{0};
    const fs::path directory = target.has_parent_path() ? target.parent_path() : fs::path(".");
    int fd = -1;
    std::string temporary;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        // A shortened prefix keeps the name within the file-name limit.
        temporary = (directory / ("." + target.filename().string().substr(0, 64) + ".tmp" +
                                  std::to_string(::getpid()) + "." + std::to_string(counter++)))
                        .string();
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) {
            break;
        }
    }
    if (fd < 0) {
        SetLastError(ErrorFromErrno(errno));
        return false;
    }
    struct stat existing {};
    if (::stat(target.c_str(), &existing) == 0) {
        (void)::fchmod(fd, existing.st_mode & 07777);
    }
    const bool written = WriteAll(fd, content) && ::fsync(fd) == 0;
    const int savedErrno = errno;
    if (::close(fd) != 0 || !written) {
        ::unlink(temporary.c_str());
        SetLastError(ErrorFromErrno(written ? errno : savedErrno));
        return false;
    }
    if (::rename(temporary.c_str(), target.c_str()) != 0) {
        const int renameErrno = errno;
        ::unlink(temporary.c_str());
        SetLastError(ErrorFromErrno(renameErrno));
        return false;
    }
    return true;
}

// Removes the lines of a section: its header and its body.
void EraseSection(Profile& profile, const SectionRange& section) {
    const std::size_t begin =
        section.header < 0 ? section.first : static_cast<std::size_t>(section.header);
    // Lines before the first header are kept unless they are keys: comments
    // at the top of a file are not part of the keys' section.
    if (section.header < 0) {
        std::vector<Line> kept;
        for (std::size_t i = 0; i < profile.lines.size(); ++i) {
            if (i < section.end && profile.lines[i].kind == LineKind::Key) {
                continue;
            }
            kept.push_back(std::move(profile.lines[i]));
        }
        profile.lines = std::move(kept);
    } else {
        profile.lines.erase(profile.lines.begin() + static_cast<long>(begin),
                            profile.lines.begin() + static_cast<long>(section.end));
    }
    profile.Index();
}

Line MakeLine(const std::string& text, const std::string& ending) {
    Line line;
    line.text = text;
    line.ending = ending;
    ClassifyLine(line);
    return line;
}

// Applies one key write (see WritePrivateProfileStringA) to the profile in
// memory; true when the file's content changed.
bool ApplyWrite(Profile& profile, LPCSTR section, LPCSTR key, LPCSTR value) {
    const std::string sectionName = Trim(section);
    const std::string ending = profile.LineEnding();
    bool changed = false;

    if (key == nullptr) {
        while (const SectionRange* range = profile.FindSection(sectionName)) {
            EraseSection(profile, *range);
            changed = true;
        }
    } else {
        const std::string keyName = Trim(key);
        const SectionRange* range = profile.FindSection(sectionName);
        const long index = range != nullptr ? profile.FindKey(*range, keyName) : -1;
        if (value == nullptr) {
            if (index >= 0) {
                profile.lines.erase(profile.lines.begin() + index);
                changed = true;
            }
        } else if (index >= 0) {
            Line& line = profile.lines[static_cast<std::size_t>(index)];
            line = MakeLine(line.name + "=" + value,
                            line.ending.empty() ? std::string() : line.ending);
            changed = true;
        } else {
            const std::string text = keyName + "=" + value;
            if (range != nullptr) {
                // After the last non-blank line of the section, so that blank
                // separator lines stay before the next section.
                std::size_t at = range->first;
                for (std::size_t i = range->first; i < range->end; ++i) {
                    if (profile.lines[i].kind != LineKind::Blank) {
                        at = i + 1;
                    }
                }
                if (at > 0 && profile.lines[at - 1].ending.empty()) {
                    profile.lines[at - 1].ending = ending;
                }
                profile.lines.insert(profile.lines.begin() + static_cast<long>(at),
                                     MakeLine(text, ending));
            } else if (sectionName.empty()) {
                // Keys of the section "" are those before the first header.
                profile.lines.insert(profile.lines.begin(), MakeLine(text, ending));
            } else {
                if (!profile.lines.empty() && profile.lines.back().ending.empty()) {
                    if (profile.lines.back().text.empty()) {
                        profile.lines.pop_back();
                    } else {
                        profile.lines.back().ending = ending;
                    }
                }
                profile.lines.push_back(MakeLine("[" + sectionName + "]", ending));
                profile.lines.push_back(MakeLine(text, ending));
            }
            changed = true;
        }
    }
    return changed;
}

// Reads the file for a write; false (with the last error set) when it exists
// but cannot be read. A missing file reads as empty.
bool LoadForWrite(LPCSTR fileName, Profile& profile) {
    std::string content;
    DWORD error = 0;
    if (ReadFile(fileName, content, error) == ReadResult::Failed) {
        SetLastError(error);
        return false;
    }
    profile.Parse(content);
    return true;
}

}  // namespace

DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR defaultValue, LPSTR buffer,
                               DWORD size, LPCSTR fileName) {
    if (buffer == nullptr || size == 0) {
        return 0;
    }
    Profile profile;
    const bool loaded = LoadProfile(fileName, profile);
    if (section == nullptr) {
        std::vector<std::string> names;
        if (loaded) {
            for (const SectionRange& range : profile.sections) {
                if (range.header >= 0 && !range.name.empty()) {
                    names.push_back(range.name);
                }
            }
        }
        return CopyList(names, buffer, size);
    }
    if (key == nullptr) {
        std::vector<std::string> names;
        const SectionRange* range = loaded ? profile.FindSection(Trim(section)) : nullptr;
        if (range != nullptr) {
            for (std::size_t i = range->first; i < range->end; ++i) {
                const Line& line = profile.lines[i];
                // Only keys: lines with "=" whose name is not a comment.
                if (line.kind == LineKind::Key && line.hasValue && !line.name.empty() &&
                    line.name.front() != ';') {
                    names.push_back(line.name);
                }
            }
        }
        return CopyList(names, buffer, size);
    }
    std::string value;
    if (!loaded || !LookUp(profile, section, key, value)) {
        value = PrepareDefault(defaultValue);
    }
    return CopyString(value, buffer, size);
}

UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, INT defaultValue, LPCSTR fileName) {
    const UINT fallback = static_cast<UINT>(defaultValue);
    if (section == nullptr || key == nullptr) {
        return fallback;
    }
    Profile profile;
    std::string value;
    if (!LoadProfile(fileName, profile) || !LookUp(profile, section, key, value) || value.empty()) {
        return fallback;
    }
    const char* p = value.c_str();
    while (*p != '\0' && static_cast<unsigned char>(*p) <= ' ') {
        ++p;
    }
    bool negative = false;
    if (*p == '-' || *p == '+') {
        negative = *p == '-';
        ++p;
    }
    unsigned base = 10;
    if (p[0] == '0') {
        // Lower-case prefixes only: "0X1f" is the digit 0 followed by text.
        const char prefix = p[1];
        if (prefix == 'x') {
            base = 16;
            p += 2;
        } else if (prefix == 'o') {
            base = 8;
            p += 2;
        } else if (prefix == 'b') {
            base = 2;
            p += 2;
        }
    }
    std::uint32_t result = 0;
    for (;; ++p) {
        const char c = FoldAscii(*p);
        unsigned digit = 0;
        if (c >= '0' && c <= '9') {
            digit = static_cast<unsigned>(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            digit = static_cast<unsigned>(c - 'a' + 10);
        } else {
            break;
        }
        if (digit >= base) {
            break;
        }
        result = result * base + digit;  // wraps modulo 2^32
    }
    return negative ? static_cast<UINT>(0u - result) : static_cast<UINT>(result);
}

BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value, LPCSTR fileName) {
    if (section == nullptr && key == nullptr && value == nullptr) {
        return 1;  // a cache flush: there is no cache
    }
    if (section == nullptr) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return 0;
    }
    if (fileName == nullptr || *fileName == '\0') {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::lock_guard<std::mutex> lock(WriteMutex());
    Profile profile;
    if (!LoadForWrite(fileName, profile)) {
        return 0;
    }
    if (!ApplyWrite(profile, section, key, value)) {
        return 1;
    }
    return ReplaceFile(fileName, profile.Serialize()) ? 1 : 0;
}

BOOL WritePrivateProfileStringsA(LPCSTR section, const LPCSTR* keys, const LPCSTR* values,
                                 DWORD count, LPCSTR fileName) {
    if (section == nullptr) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return 0;
    }
    if (fileName == nullptr || *fileName == '\0' ||
        (count > 0 && (keys == nullptr || values == nullptr))) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::lock_guard<std::mutex> lock(WriteMutex());
    Profile profile;
    if (!LoadForWrite(fileName, profile)) {
        return 0;
    }
    bool changed = false;
    for (DWORD i = 0; i < count; ++i) {
        if (ApplyWrite(profile, section, keys[i], values[i])) {
            changed = true;
            // Parsed again from its text, as the next single write would read
            // the file back: the lines are then classified exactly as then.
            profile.Parse(profile.Serialize());
        }
    }
    if (!changed) {
        return 1;
    }
    return ReplaceFile(fileName, profile.Serialize()) ? 1 : 0;
}

}  // namespace webstep::platform
