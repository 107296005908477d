#include "webstep/recording/SnapshotInfo.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace {

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           CIniDocument::NamesEqual(text.substr(0, prefix.size()), prefix);
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           CIniDocument::NamesEqual(text.substr(text.size() - suffix.size()), suffix);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// The last part of a path written with either separator: recordings made
// elsewhere may carry a directory in front of the name.
std::string BaseName(std::string_view name) {
    const std::size_t slash = name.find_last_of("/\\");
    return std::string(slash == std::string_view::npos ? name : name.substr(slash + 1));
}

std::string JoinPath(const std::string& dir, const std::string& name) {
    if (dir.empty())
        return name;
    return dir.back() == '/' ? dir + name : dir + "/" + name;
}

// Reads "<prefix><digits>" (prefix without regard to case); the number, or 0
// when key is not of that form.
unsigned KeyNumber(std::string_view key, std::string_view prefix) {
    if (!StartsWithNoCase(key, prefix) || key.size() == prefix.size() ||
        key.size() > prefix.size() + 6)
        return 0;
    unsigned number = 0;
    for (char c : key.substr(prefix.size())) {
        if (!IsDigit(c))
            return 0;
        number = number * 10 + static_cast<unsigned>(c - '0');
    }
    return number;
}

// The rest of fileName after the snapshot name and any "f<digits>" groups,
// with the ordinals of those groups.
std::string_view AfterFrameGroups(std::string_view snapshotName, std::string_view fileName,
                                  std::vector<unsigned>* ordinals) {
    std::string_view rest = fileName.substr(snapshotName.size());
    while (rest.size() >= 2 && (rest[0] == 'f' || rest[0] == 'F') && IsDigit(rest[1])) {
        std::size_t i = 1;
        unsigned ordinal = 0;
        while (i < rest.size() && IsDigit(rest[i]) && i < 8) {
            ordinal = ordinal * 10 + static_cast<unsigned>(rest[i] - '0');
            ++i;
        }
        if (ordinals)
            ordinals->push_back(ordinal);
        rest.remove_prefix(i);
    }
    return rest;
}

bool IsPageExtension(std::string_view rest) {
    return CIniDocument::NamesEqual(rest, ".htm") || CIniDocument::NamesEqual(rest, ".html");
}

// The file of dir named name, ASCII case aside.
std::optional<std::string> FindInDirectory(const std::string& dir, std::string_view name) {
    namespace fs = std::filesystem;
    std::error_code error;
    const std::string exact(name);
    if (fs::is_regular_file(fs::path(JoinPath(dir, exact)), error))
        return exact;
    fs::directory_iterator it(dir.empty() ? fs::path(".") : fs::path(dir), error);
    if (error)
        return std::nullopt;
    for (; it != fs::directory_iterator(); it.increment(error)) {
        if (error)
            break;
        const std::string found = it->path().filename().string();
        if (CIniDocument::NamesEqual(found, name) && it->is_regular_file(error))
            return found;
    }
    return std::nullopt;
}

}  // namespace

bool CSnapshotInfo::ParseFrameIndex(std::string_view text, std::vector<unsigned>& index) {
    index.clear();
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    if (text.empty())
        return false;
    std::size_t start = 0;
    while (true) {
        const std::size_t dot = text.find('.', start);
        const std::string_view part = text.substr(
            start, dot == std::string_view::npos ? std::string_view::npos : dot - start);
        if (part.empty() || part.size() > 6)
            return false;
        unsigned value = 0;
        for (char c : part) {
            if (!IsDigit(c))
                return false;
            value = value * 10 + static_cast<unsigned>(c - '0');
        }
        index.push_back(value);
        if (dot == std::string_view::npos)
            break;
        start = dot + 1;
    }
    return true;
}

bool CSnapshotInfo::FrameIndexFromName(std::string_view snapshotName, std::string_view fileName,
                                       std::vector<unsigned>& index) {
    index.clear();
    if (snapshotName.empty() || !StartsWithNoCase(fileName, snapshotName))
        return false;
    std::vector<unsigned> ordinals;
    const std::string_view rest = AfterFrameGroups(snapshotName, fileName, &ordinals);
    if (ordinals.empty() || !IsPageExtension(rest))
        return false;
    // The top document is frame 0; each "f<n>" is one level further down.
    index.push_back(0);
    index.insert(index.end(), ordinals.begin(), ordinals.end());
    return true;
}

bool CSnapshotInfo::IsPageName(std::string_view snapshotName, std::string_view fileName) {
    const std::size_t dot = fileName.rfind('.');
    if (dot == std::string_view::npos || !IsPageExtension(fileName.substr(dot)))
        return false;
    // tN_<name>.html is a resource that happens to be HTML.
    if (!snapshotName.empty() && StartsWithNoCase(fileName, snapshotName)) {
        const std::string_view rest = AfterFrameGroups(snapshotName, fileName, nullptr);
        if (!rest.empty() && rest.front() == '_')
            return false;
    }
    return true;
}

void CSnapshotInfo::Clear() {
    *this = CSnapshotInfo();
}

const SnapshotPage* CSnapshotInfo::Document() const {
    for (const SnapshotPage& page : m_pages) {
        if (page.kind == SnapshotPage::Kind::Document)
            return &page;
    }
    return nullptr;
}

std::vector<const SnapshotPage*> CSnapshotInfo::Frames() const {
    std::vector<const SnapshotPage*> out;
    for (const SnapshotPage& page : m_pages) {
        if (page.kind == SnapshotPage::Kind::Frame)
            out.push_back(&page);
    }
    return out;
}

std::vector<const SnapshotPage*> CSnapshotInfo::Resources() const {
    std::vector<const SnapshotPage*> out;
    for (const SnapshotPage& page : m_pages) {
        if (page.kind == SnapshotPage::Kind::Resource)
            out.push_back(&page);
    }
    return out;
}

const SnapshotPage* CSnapshotInfo::FindFrame(const std::vector<unsigned>& frameIndex) const {
    for (const SnapshotPage& page : m_pages) {
        if (page.kind == SnapshotPage::Kind::Frame && page.frameIndex == frameIndex)
            return &page;
    }
    return nullptr;
}

SnapshotFileRef CSnapshotInfo::Resolve(const std::string& written, const std::string& key,
                                       unsigned line, FolderMessages& messages,
                                       const FileFinder& finder) const {
    SnapshotFileRef ref;
    ref.name = BaseName(written);
    if (ref.name.empty())
        return ref;
    const std::optional<std::string> found =
        finder ? finder(ref.name) : FindInDirectory(m_dataDir, ref.name);
    ref.path = JoinPath(m_dataDir, found ? *found : ref.name);
    if (!found) {
        ref.missing = true;
        AddFolderWarning(messages, m_fileName, line,
                         key + " names " + ref.name + ", which is not in " +
                             (m_dataDir.empty() ? std::string(".") : m_dataDir));
    }
    return ref;
}

bool CSnapshotInfo::ReadFile(const std::string& infPath, FolderMessages& messages,
                             const FileFinder& finder) {
    Clear();
    std::ifstream in(infPath, std::ios::binary);
    if (!in) {
        AddFolderWarning(messages, infPath, 0, "cannot read the snapshot description");
        return false;
    }
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::size_t slash = infPath.find_last_of('/');
    const std::string dir = slash == std::string::npos ? "" : infPath.substr(0, slash);
    ReadText(text, infPath, dir, messages, finder);
    return true;
}

void CSnapshotInfo::ReadText(std::string_view text, const std::string& fileName,
                             const std::string& dataDir, FolderMessages& messages,
                             const FileFinder& finder) {
    Clear();
    m_fileName = fileName;
    m_dataDir = dataDir;
    m_fromInf = true;
    m_name = BaseName(fileName);
    if (EndsWithNoCase(m_name, ".inf"))
        m_name.resize(m_name.size() - 4);

    CIniDocument ini;
    ini.ReadText(text, fileName, messages);
    const CIniDocument::Section* section = ini.FindSection(m_name);
    if (!section) {
        if (ini.Sections().empty()) {
            AddFolderWarning(messages, fileName, 0,
                             "no section [" + m_name + "]: the step names no files");
            return;
        }
        section = &ini.Sections().front();
        AddFolderWarning(
            messages, fileName, section->line,
            "no section [" + m_name + "]; section [" + section->name + "] is read instead");
    }

    // FileNameK, URLK and FrameIndexK by K; the first of a repeated key wins.
    struct Numbered {
        const CIniDocument::Entry* fileName = nullptr;
        const CIniDocument::Entry* url = nullptr;
        const CIniDocument::Entry* frameIndex = nullptr;
    };
    std::map<unsigned, Numbered> numbered;
    for (const CIniDocument::Entry& entry : section->entries) {
        if (unsigned k = KeyNumber(entry.key, "FileName")) {
            if (!numbered[k].fileName)
                numbered[k].fileName = &entry;
        } else if (unsigned k = KeyNumber(entry.key, "URL")) {
            if (!numbered[k].url)
                numbered[k].url = &entry;
        } else if (unsigned k = KeyNumber(entry.key, "FrameIndex")) {
            if (!numbered[k].frameIndex)
                numbered[k].frameIndex = &entry;
        }
    }
    unsigned present = 0;
    bool dense = true;
    for (const auto& [k, entries] : numbered) {
        if (entries.fileName) {
            ++present;
            dense = dense && k == present;
        }
    }
    if (const CIniDocument::Entry* total = section->Find("Total")) {
        const long long declared = section->GetInt("Total", -1);
        if (declared != static_cast<long long>(present) || !dense) {
            AddFolderWarning(messages, fileName, total->line,
                             "Total=" + total->value + " but " + std::to_string(present) +
                                 " FileName keys are present" +
                                 (dense ? std::string() : std::string(" (with gaps)")) +
                                 "; the keys present are read");
        }
    }

    for (const auto& [k, entries] : numbered) {
        if (!entries.fileName) {
            const CIniDocument::Entry* stray = entries.url ? entries.url : entries.frameIndex;
            AddFolderWarning(
                messages, fileName, stray->line,
                stray->key + " has no FileName" + std::to_string(k) + "; it is ignored");
            continue;
        }
        SnapshotPage page;
        page.number = k;
        page.file = Resolve(entries.fileName->value, entries.fileName->key, entries.fileName->line,
                            messages, finder);
        if (entries.url)
            page.url = entries.url->value;
        bool indexed = false;
        if (entries.frameIndex) {
            indexed = ParseFrameIndex(entries.frameIndex->value, page.frameIndex);
            if (!indexed) {
                AddFolderWarning(messages, fileName, entries.frameIndex->line,
                                 entries.frameIndex->key + "=" + entries.frameIndex->value +
                                     " is not a frame index (numbers separated by dots); "
                                     "it is ignored");
            }
        }
        if (k == 1) {
            page.kind = SnapshotPage::Kind::Document;
            page.frameIndex.clear();
        } else if (!IsPageName(m_name, page.file.name)) {
            // A resource may say which frame it belongs to.
            page.kind = SnapshotPage::Kind::Resource;
        } else {
            page.kind = SnapshotPage::Kind::Frame;
            if (!indexed) {
                page.frameIndexFromName =
                    FrameIndexFromName(m_name, page.file.name, page.frameIndex);
            }
        }
        m_pages.push_back(std::move(page));
    }
    if (!m_pages.empty() && m_pages.front().kind != SnapshotPage::Kind::Document) {
        AddFolderWarning(messages, fileName, section->line,
                         "no FileName1: the step's document is not named");
    }

    m_useFrameIndex = section->GetInt("UseFrameIndex", 0) != 0;
    m_contentType = section->Get("ContentType", "");
    const auto sideFile = [&](std::string_view key) {
        const CIniDocument::Entry* entry = section->Find(key);
        if (!entry || entry->value.empty() || CIniDocument::NamesEqual(entry->value, "NONE"))
            return SnapshotFileRef();
        return Resolve(entry->value, entry->key, entry->line, messages, finder);
    };
    m_requestHeaderFile = sideFile("RequestHeaderFile");
    m_requestBodyFile = sideFile("RequestBodyFile");
    m_responseHeaderFile = sideFile("ResponseHeaderFile");
    m_snapshotXmlFile = sideFile("SnapshotXmlFile");
}

void CSnapshotInfo::FromFiles(const std::string& name, const std::string& dataDir,
                              const std::vector<std::string>& fileNames) {
    Clear();
    m_name = name;
    m_dataDir = dataDir;
    m_fileName = JoinPath(dataDir, name);
    SnapshotPage document;
    std::vector<SnapshotPage> frames, resources;
    for (const std::string& file : fileNames) {
        if (!StartsWithNoCase(file, name))
            continue;
        SnapshotPage page;
        page.file.name = file;
        page.file.path = JoinPath(dataDir, file);
        const std::string_view rest = AfterFrameGroups(name, file, nullptr);
        if (rest.size() == file.size() - name.size() && IsPageExtension(rest)) {
            // tN.htm and tN.html both present: the first in the list wins.
            if (document.file.name.empty()) {
                page.kind = SnapshotPage::Kind::Document;
                document = std::move(page);
            }
        } else if (FrameIndexFromName(name, file, page.frameIndex)) {
            page.kind = SnapshotPage::Kind::Frame;
            page.frameIndexFromName = true;
            frames.push_back(std::move(page));
        } else if (!rest.empty() && rest.front() == '_') {
            page.kind = SnapshotPage::Kind::Resource;
            resources.push_back(std::move(page));
        }
    }
    std::sort(frames.begin(), frames.end(), [](const SnapshotPage& a, const SnapshotPage& b) {
        return a.frameIndex < b.frameIndex;
    });
    std::sort(resources.begin(), resources.end(), [](const SnapshotPage& a, const SnapshotPage& b) {
        return a.file.name < b.file.name;
    });
    if (!document.file.name.empty())
        m_pages.push_back(std::move(document));
    for (SnapshotPage& page : frames)
        m_pages.push_back(std::move(page));
    for (SnapshotPage& page : resources)
        m_pages.push_back(std::move(page));
    for (std::size_t i = 0; i < m_pages.size(); ++i)
        m_pages[i].number = static_cast<unsigned>(i + 1);
}
