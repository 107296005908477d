#pragma once
// Everything a recorded script folder says about its parameters: the
// definitions of its parameter file and the tables they read, loaded once
// and then shared, read-only, by every virtual user (thread) of a run.
//
// Shared mutable state: exactly one piece, the register of unique blocks
// (which user holds the rows of a Unique table parameter and the numbers of a
// Unique parameter), guarded by a mutex. Everything else is fixed by Load and
// may be read from any number of threads without locking.
//
// Unique blocks. The rule is fixed so that a run is repeatable given the user
// numbers: user u (1-based) owns block u-1, that is
//   rows     [(u-1)*B, u*B)                      of a Unique table parameter,
//            B = auto_allocate_block_size, or when that is automatic (0) an
//            even share: the table's row count divided by the user count
//            (SetUserCount, default 1), at least 1;
//   numbers  StartValue + (u-1)*BlockSize .. StartValue + u*BlockSize - 1
//            of a Unique parameter.
// Rows of a block beyond the end of the table do not exist: a user whose
// block lies wholly beyond the table has no rows of its own, and the
// out-of-values policy applies from its first value on. The register only
// records which user numbers are in use, so that two live contexts with the
// same user number (which would share a block) are detected and reported.
#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/ParameterDefinition.h"
#include "webstep/recording/ParameterTable.h"

/// The parameter definitions and tables of one folder, immutable after
/// loading and shared by the contexts of all users, plus the thread-safe
/// register of unique blocks.
class WEBSTEP_API CParameterSet {
public:
    /// The rows of a table (0-based, first data row is 0) owned by one user.
    struct Block {
        std::size_t first = 0;
        std::size_t count = 0;
    };

    CParameterSet() = default;
    CParameterSet(const CParameterSet&) = delete;
    CParameterSet& operator=(const CParameterSet&) = delete;

    /// Reads the parameter file prmPath and the tables it names (looked up in
    /// folderDir). A missing parameter file means no parameters: true without
    /// a message. Problems (unreadable or missing tables, unknown types or
    /// columns, bad values) are warnings in messages and loading goes on;
    /// false only when prmPath exists but cannot be read. The set is emptied
    /// first. Each table file is read once, however many parameters use it.
    bool Load(const std::string& prmPath, const std::string& folderDir, FolderMessages& messages);
    /// The same with the parameter file's contents given as text (prmName is
    /// used in messages); tables are still read from folderDir.
    void LoadText(const std::string& prmText, const std::string& prmName,
                  const std::string& folderDir, FolderMessages& messages);

    /// The definition of that name (names compare exactly), or null.
    const CParameterDefinition* Find(const std::string& name) const;
    /// The parameter names in the order of the file.
    std::vector<std::string> Names() const;
    const std::vector<CParameterDefinition>& Definitions() const { return m_definitions; }
    /// The parameter file's name as given to Load (for messages).
    const std::string& FileName() const { return m_fileName; }

    /// The number of users sharing automatic Unique blocks (default 1); set
    /// it before the contexts start.
    void SetUserCount(unsigned users) { m_userCount = users == 0 ? 1 : users; }
    unsigned UserCount() const { return m_userCount; }

    /// The rows that user (1-based) owns of a Unique table parameter, clipped
    /// to the table (count 0 when the block lies beyond it or there is no
    /// table).
    Block UniqueRows(const CParameterDefinition& definition, unsigned user) const;
    /// The rows per user of a Unique table parameter (see above).
    std::size_t UniqueRowsPerUser(const CParameterDefinition& definition) const;
    /// The first number that user (1-based) owns of a Unique parameter.
    static long long UniqueFirstNumber(const CParameterDefinition& definition, unsigned user);

    /// Records that a context of user number `user` uses the block of the
    /// named parameter; false when a live context already holds it (thread
    /// safe).
    bool ClaimBlock(const std::string& name, unsigned user) const;
    /// Gives a block back (when the context ends).
    void ReleaseBlock(const std::string& name, unsigned user) const;

private:
    void Resolve(const std::string& folderDir, FolderMessages& messages);

    std::string m_fileName;
    std::vector<CParameterDefinition> m_definitions;
    std::map<std::string, std::size_t> m_byName;
    std::atomic<unsigned> m_userCount{1};

    mutable std::mutex m_blockMutex;
    mutable std::set<std::pair<std::string, unsigned>> m_claimed;
};
