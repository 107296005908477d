#include "webstep/recording/Recording.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

struct CRecording::Entry {
    std::string name;
    // The tN.inf file's name on disk; empty for an older snapshot without one.
    std::string infFile;
    std::unique_ptr<CSnapshotInfo> info;
};

namespace {

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           CIniDocument::NamesEqual(text.substr(text.size() - suffix.size()), suffix);
}

// "t12" and friends: a letter t and digits, the names recordings give their
// steps.
bool IsStepName(std::string_view name) {
    if (name.size() < 2 || (name[0] != 't' && name[0] != 'T'))
        return false;
    return std::all_of(name.begin() + 1, name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Orders t2 before t10: runs of digits compare by their value.
bool NaturalLess(const std::string& a, const std::string& b) {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        const bool da = a[i] >= '0' && a[i] <= '9', db = b[j] >= '0' && b[j] <= '9';
        if (da && db) {
            std::size_t ei = i, ej = j;
            while (ei < a.size() && a[ei] >= '0' && a[ei] <= '9')
                ++ei;
            while (ej < b.size() && b[ej] >= '0' && b[ej] <= '9')
                ++ej;
            std::string_view na(a.data() + i, ei - i), nb(b.data() + j, ej - j);
            while (na.size() > 1 && na.front() == '0')
                na.remove_prefix(1);
            while (nb.size() > 1 && nb.front() == '0')
                nb.remove_prefix(1);
            if (na.size() != nb.size())
                return na.size() < nb.size();
            if (na != nb)
                return na < nb;
            i = ei;
            j = ej;
            continue;
        }
        const std::string ca = Lower(std::string_view(&a[i], 1)),
                          cb = Lower(std::string_view(&b[j], 1));
        if (ca != cb)
            return ca < cb;
        ++i;
        ++j;
    }
    return a.size() - i < b.size() - j;
}

std::string JoinPath(const std::string& dir, const std::string& name) {
    if (dir.empty())
        return name;
    return dir.back() == '/' ? dir + name : dir + "/" + name;
}

}  // namespace

CRecording::CRecording() = default;
CRecording::~CRecording() = default;
CRecording::CRecording(CRecording&&) noexcept = default;
CRecording& CRecording::operator=(CRecording&&) noexcept = default;

std::string CRecording::NameOf(std::string_view nameOrFile) {
    const std::size_t slash = nameOrFile.find_last_of("/\\");
    if (slash != std::string_view::npos)
        nameOrFile.remove_prefix(slash + 1);
    if (EndsWithNoCase(nameOrFile, ".inf"))
        nameOrFile.remove_suffix(4);
    return std::string(nameOrFile);
}

bool CRecording::Open(const std::string& dataDir, FolderMessages& messages) {
    *this = CRecording();
    m_dataDir = dataDir;
    namespace fs = std::filesystem;
    std::error_code error;
    if (!fs::is_directory(fs::path(dataDir), error)) {
        AddFolderNote(messages, dataDir, 0, "no recording: the directory does not exist");
        return false;
    }
    fs::directory_iterator it(fs::path(dataDir), error);
    if (error) {
        AddFolderWarning(messages, dataDir, 0,
                         "cannot list the recording directory: " + error.message());
        return false;
    }
    for (; it != fs::directory_iterator(); it.increment(error)) {
        if (error) {
            AddFolderWarning(messages, dataDir, 0,
                             "cannot list the recording directory: " + error.message());
            break;
        }
        std::error_code typeError;
        if (!it->is_regular_file(typeError))
            continue;
        m_fileList.push_back(it->path().filename().string());
    }
    std::sort(m_fileList.begin(), m_fileList.end());
    for (const std::string& file : m_fileList)
        m_files.emplace(Lower(file), file);

    // Snapshots with a description first, then the page files of steps
    // without one.
    for (const std::string& file : m_fileList) {
        if (!EndsWithNoCase(file, ".inf") || file.size() == 4)
            continue;
        const std::string name = file.substr(0, file.size() - 4);
        auto entry = std::make_unique<Entry>();
        entry->name = name;
        entry->infFile = file;
        if (m_entries.emplace(Lower(name), std::move(entry)).second)
            m_names.push_back(name);
    }
    for (const std::string& file : m_fileList) {
        std::string_view name(file);
        if (EndsWithNoCase(name, ".html"))
            name.remove_suffix(5);
        else if (EndsWithNoCase(name, ".htm"))
            name.remove_suffix(4);
        else
            continue;
        if (!IsStepName(name))
            continue;
        auto entry = std::make_unique<Entry>();
        entry->name = std::string(name);
        if (m_entries.emplace(Lower(name), std::move(entry)).second)
            m_names.emplace_back(name);
    }
    std::sort(m_names.begin(), m_names.end(), NaturalLess);
    m_open = true;
    return true;
}

CRecording::Entry* CRecording::FindEntry(std::string_view name) {
    auto it = m_entries.find(Lower(NameOf(name)));
    return it == m_entries.end() ? nullptr : it->second.get();
}

const CRecording::Entry* CRecording::FindEntry(std::string_view name) const {
    auto it = m_entries.find(Lower(NameOf(name)));
    return it == m_entries.end() ? nullptr : it->second.get();
}

bool CRecording::HasSnapshot(std::string_view name) const {
    return FindEntry(name) != nullptr;
}

const CSnapshotInfo* CRecording::Snapshot(std::string_view name) {
    return Snapshot(name, m_messages);
}

const CSnapshotInfo* CRecording::Snapshot(std::string_view name, FolderMessages& messages) {
    Entry* entry = FindEntry(name);
    if (!entry)
        return nullptr;
    if (!entry->info) {
        entry->info = std::make_unique<CSnapshotInfo>();
        if (entry->infFile.empty()) {
            entry->info->FromFiles(entry->name, m_dataDir, m_fileList);
        } else {
            const CSnapshotInfo::FileFinder finder = [this](std::string_view file) {
                return FindFile(file);
            };
            entry->info->ReadFile(JoinPath(m_dataDir, entry->infFile), messages, finder);
        }
    }
    return entry->info.get();
}

std::optional<std::string> CRecording::FindFile(std::string_view fileName) const {
    auto it = m_files.find(Lower(fileName));
    if (it != m_files.end())
        return it->second;
    // A file written after the directory was listed.
    std::error_code error;
    const std::string name(fileName);
    if (!name.empty() && name.find('/') == std::string::npos &&
        std::filesystem::is_regular_file(JoinPath(m_dataDir, name), error))
        return name;
    return std::nullopt;
}

bool CRecording::HasExchanges(std::string_view name) {
    const CSnapshotInfo* info = Snapshot(name);
    return info && info->SnapshotXmlFile().Named() && !info->SnapshotXmlFile().missing;
}

bool CRecording::ReadExchanges(std::string_view name, const SnapshotReadOptions& options,
                               const CSnapshotXmlReader::Callback& callback,
                               FolderMessages& messages) {
    const CSnapshotInfo* info = Snapshot(name, messages);
    if (!info) {
        AddFolderWarning(messages, m_dataDir, 0,
                         "no snapshot " + NameOf(name) + " in the recording");
        return false;
    }
    const SnapshotFileRef& xml = info->SnapshotXmlFile();
    // No XML (an older recording) or a missing one (warned about when the
    // description was read): the step has no recorded exchanges.
    if (!xml.Named() || xml.missing)
        return false;
    CSnapshotXmlReader reader(options);
    return reader.ReadFile(xml.path, callback, messages).Ok();
}

std::optional<HttpExchange> CRecording::PrimaryRequest(std::string_view name,
                                                       FolderMessages& messages) {
    SnapshotReadOptions options;
    options.primaryOnly = true;
    options.checkToEnd = true;
    options.keepResponseBodies = false;
    std::optional<HttpExchange> primary;
    const bool ok = ReadExchanges(
        name, options,
        [&primary](const HttpExchange& exchange) {
            primary = exchange;
            return true;
        },
        messages);
    if (!ok)
        return std::nullopt;
    return primary;
}

bool CRecording::ReadFileBytes(std::string_view fileName, std::string& bytes,
                               FolderMessages& messages) const {
    bytes.clear();
    const std::optional<std::string> found = FindFile(fileName);
    if (!found) {
        AddFolderWarning(messages, JoinPath(m_dataDir, std::string(fileName)), 0,
                         "the file is not in the recording");
        return false;
    }
    const std::string path = JoinPath(m_dataDir, *found);
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        AddFolderWarning(messages, path, 0, "cannot read the file");
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (in.bad()) {
        AddFolderWarning(messages, path, 0, "read error");
        return false;
    }
    return true;
}

bool CRecording::ReadPage(const SnapshotPage& page, std::string& bytes,
                          FolderMessages& messages) const {
    if (page.file.missing) {
        bytes.clear();
        AddFolderWarning(messages, page.file.path, 0, "the page file is not in the recording");
        return false;
    }
    return ReadFileBytes(page.file.name, bytes, messages);
}
