#include "webstep/recording/ParameterSet.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include "webstep/recording/IniDocument.h"

namespace fs = std::filesystem;

namespace {

// The table file a Table value names. Folders come from other systems, so a
// value may hold backslashes, a path that only existed where it was recorded,
// or a name in another letter case than the file: the name as written is
// tried first, then its last path element, each also without regard to case.
fs::path FindTableFile(const std::string& folderDir, const std::string& written) {
    std::string slashed = written;
    for (char& c : slashed) {
        if (c == '\\')
            c = '/';
    }
    fs::path dir = folderDir.empty() ? fs::path(".") : fs::path(folderDir);
    std::error_code ec;
    std::vector<fs::path> candidates;
    fs::path asWritten(slashed);
    candidates.push_back(asWritten.is_absolute() ? asWritten : dir / asWritten);
    std::string base = slashed.substr(slashed.find_last_of('/') + 1);
    if (!base.empty())
        candidates.push_back(dir / base);
    for (const fs::path& p : candidates) {
        if (fs::is_regular_file(p, ec))
            return p;
    }
    if (!base.empty()) {
        for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
            if (CIniDocument::NamesEqual(it->path().filename().string(), base) &&
                it->is_regular_file(ec))
                return it->path();
        }
    }
    return candidates.front();
}

}  // namespace

bool CParameterSet::Load(const std::string& prmPath, const std::string& folderDir,
                         FolderMessages& messages) {
    m_fileName = prmPath;
    m_definitions.clear();
    m_byName.clear();
    std::error_code ec;
    if (!fs::exists(prmPath, ec))
        return true;
    std::ifstream in(prmPath, std::ios::binary);
    std::ostringstream text;
    if (in)
        text << in.rdbuf();
    if (!in || in.bad()) {
        AddFolderWarning(messages, prmPath, 0,
                         "the parameter file cannot be read; the folder has no parameters");
        return false;
    }
    LoadText(text.str(), prmPath, folderDir, messages);
    return true;
}

void CParameterSet::LoadText(const std::string& prmText, const std::string& prmName,
                             const std::string& folderDir, FolderMessages& messages) {
    m_fileName = prmName;
    m_definitions.clear();
    m_byName.clear();
    CIniDocument document;
    document.ReadText(prmText, prmName, messages);
    for (const CIniDocument::Section& section : document.Sections()) {
        // Sections other than "parameter:Name" belong to other tools' keys.
        std::size_t colon = section.name.find(':');
        if (colon == std::string::npos ||
            !CIniDocument::NamesEqual(section.name.substr(0, colon), "parameter"))
            continue;
        CParameterDefinition definition;
        if (!CParameterDefinition::FromSection(section, prmName, definition, messages))
            continue;
        if (m_byName.count(definition.name) != 0) {
            AddFolderWarning(messages, prmName, section.line,
                             "parameter \"" + definition.name +
                                 "\" is defined twice; the first definition is used");
            continue;
        }
        m_byName.emplace(definition.name, m_definitions.size());
        m_definitions.push_back(std::move(definition));
    }
    Resolve(folderDir, messages);
}

void CParameterSet::Resolve(const std::string& folderDir, FolderMessages& messages) {
    // Tables are read once per file and delimiter, whatever number of
    // parameters share them; a missing file is reported once.
    std::map<std::pair<std::string, std::string>, std::shared_ptr<const CParameterTable>> tables;
    std::set<std::string> reported;
    for (CParameterDefinition& d : m_definitions) {
        if (!d.UsesTable() || d.tableFile.empty())
            continue;
        fs::path path = FindTableFile(folderDir, d.tableFile);
        auto key = std::make_pair(path.string(), d.delimiter);
        auto found = tables.find(key);
        if (found == tables.end()) {
            auto table = std::make_shared<CParameterTable>();
            std::shared_ptr<const CParameterTable> kept;
            bool readable;
            if (reported.count(path.string()) != 0) {
                FolderMessages ignored;
                readable = table->ReadFile(path.string(), d.delimiter, ignored);
            } else {
                readable = table->ReadFile(path.string(), d.delimiter, messages);
                reported.insert(path.string());
                if (readable && table->RowCount() == 0 && !table->Columns().empty()) {
                    AddFolderWarning(messages, path.string(), 0,
                                     "the parameter table has no rows; references to its "
                                     "parameters stay as written");
                }
            }
            if (readable)
                kept = table;
            found = tables.emplace(key, kept).first;
        }
        d.table = found->second;
        if (!d.table)
            continue;
        std::string column = d.columnName.empty() ? "Col 1" : d.columnName;
        d.column = d.table->FindColumn(column);
        if (d.column < 0) {
            AddFolderWarning(messages, d.file, d.line,
                             "parameter \"" + d.name + "\": the table " + path.string() +
                                 " has no column \"" + d.columnName +
                                 "\"; its references stay as written");
        }
    }
    // "Same line as X" must lead, possibly through others, to a table
    // parameter that chooses its own rows; otherwise it walks sequentially.
    for (CParameterDefinition& d : m_definitions) {
        if (d.selection != CParameterDefinition::Selection::SameLineAs || !d.UsesTable())
            continue;
        const CParameterDefinition* target = &d;
        std::size_t steps = 0;
        while (target && target->selection == CParameterDefinition::Selection::SameLineAs &&
               steps <= m_definitions.size()) {
            target = Find(target->sameLineAs);
            ++steps;
        }
        std::string problem;
        if (!target)
            problem = "names a parameter that is not defined";
        else if (steps > m_definitions.size())
            problem = "leads back to itself";
        else if (!target->UsesTable())
            problem = "names a parameter without a table";
        if (!problem.empty()) {
            AddFolderWarning(messages, d.file, d.line,
                             "parameter \"" + d.name + "\": \"Same line as " + d.sameLineAs +
                                 "\" " + problem + "; Sequential is used");
            d.selection = CParameterDefinition::Selection::Sequential;
        }
    }
}

const CParameterDefinition* CParameterSet::Find(const std::string& name) const {
    auto it = m_byName.find(name);
    return it == m_byName.end() ? nullptr : &m_definitions[it->second];
}

std::vector<std::string> CParameterSet::Names() const {
    std::vector<std::string> names;
    names.reserve(m_definitions.size());
    for (const CParameterDefinition& d : m_definitions)
        names.push_back(d.name);
    return names;
}

std::size_t CParameterSet::UniqueRowsPerUser(const CParameterDefinition& definition) const {
    if (definition.blockSize > 0)
        return static_cast<std::size_t>(definition.blockSize);
    std::size_t rows = definition.table ? definition.table->RowCount() : 0;
    std::size_t share = rows / m_userCount.load();
    return share == 0 ? 1 : share;
}

CParameterSet::Block CParameterSet::UniqueRows(const CParameterDefinition& definition,
                                               unsigned user) const {
    Block block;
    std::size_t rows = definition.table ? definition.table->RowCount() : 0;
    std::size_t perUser = UniqueRowsPerUser(definition);
    std::size_t index = user == 0 ? 0 : user - 1;
    // Beyond the table (also when the product would overflow): no rows.
    if (perUser != 0 && index > rows / perUser)
        return block;
    std::size_t first = index * perUser;
    if (first >= rows)
        return block;
    block.first = first;
    block.count = std::min(perUser, rows - first);
    return block;
}

long long CParameterSet::UniqueFirstNumber(const CParameterDefinition& definition, unsigned user) {
    unsigned long long index = user == 0 ? 0 : user - 1;
    // Wraps like unsigned arithmetic instead of overflowing a signed value.
    unsigned long long first = static_cast<unsigned long long>(definition.startValue) +
                               index * static_cast<unsigned long long>(definition.uniqueBlockSize);
    return static_cast<long long>(first);
}

bool CParameterSet::ClaimBlock(const std::string& name, unsigned user) const {
    std::lock_guard<std::mutex> lock(m_blockMutex);
    return m_claimed.emplace(name, user).second;
}

void CParameterSet::ReleaseBlock(const std::string& name, unsigned user) const {
    std::lock_guard<std::mutex> lock(m_blockMutex);
    m_claimed.erase(std::make_pair(name, user));
}
