#pragma once
// The recording of a script folder: its data/ directory, one snapshot per
// navigation step (a step's "Snapshot=t7.inf" names it). Each snapshot is
// described by data/tN.inf (read when first asked for) and may have a
// snapshot XML file with the full exchanges (streamed on request). Older
// recordings have no tN.inf: there the page files themselves (tN.html or
// tN.htm, frames tNf0.html, tNf1f0.html) make the snapshot.
//
// Not thread-safe: the descriptions are read lazily into the object.
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/HttpExchange.h"
#include "webstep/recording/SnapshotInfo.h"
#include "webstep/recording/SnapshotXmlReader.h"

/// The index of a folder's data/ directory: the snapshots found there, their
/// descriptions and their exchanges.
class WEBSTEP_API CRecording {
public:
    CRecording();
    ~CRecording();
    CRecording(CRecording&&) noexcept;
    CRecording& operator=(CRecording&&) noexcept;

    /// Lists the snapshots of dataDir. A missing directory is a folder
    /// without a recording: false, with a note.
    bool Open(const std::string& dataDir, FolderMessages& messages);
    bool IsOpen() const { return m_open; }
    const std::string& DataDir() const { return m_dataDir; }

    /// The snapshot names found ("t1", "t2", ..., in the order of their
    /// numbers): from tN.inf files, and from tN.html/tN.htm for steps
    /// without one.
    const std::vector<std::string>& SnapshotNames() const { return m_names; }
    /// The snapshot name of "t7.inf", "t7" or "T7.INF": "t7" (as given, less
    /// the extension).
    static std::string NameOf(std::string_view nameOrFile);
    bool HasSnapshot(std::string_view name) const;

    /// The description of a snapshot (name given as "t7.inf" or "t7"), read
    /// on first use; null when the recording has no such snapshot. What the
    /// read had to say goes to Messages().
    const CSnapshotInfo* Snapshot(std::string_view name);
    /// As above; the messages of the first read go to messages.
    const CSnapshotInfo* Snapshot(std::string_view name, FolderMessages& messages);
    /// Messages of descriptions read through Snapshot(name).
    const FolderMessages& Messages() const { return m_messages; }

    /// The snapshot has a snapshot XML file on disk.
    bool HasExchanges(std::string_view name);
    /// Streams the exchanges of a snapshot's XML file to callback. False
    /// when the snapshot has no readable XML file or the XML is broken (the
    /// snapshot then counts as not recorded; a warning names file and line).
    bool ReadExchanges(std::string_view name, const SnapshotReadOptions& options,
                       const CSnapshotXmlReader::Callback& callback, FolderMessages& messages);
    /// The first task whose origin is Primary, request only (the response's
    /// headers and status are kept, its body is not); nothing when the
    /// snapshot has none or its XML is broken anywhere in the file.
    std::optional<HttpExchange> PrimaryRequest(std::string_view name, FolderMessages& messages);

    /// The name of a file of data/ as it is on disk (ASCII case ignored).
    std::optional<std::string> FindFile(std::string_view fileName) const;
    /// Reads a file of data/ (a page, a resource, a request body file) whole.
    /// False, with a warning, when it is missing or unreadable.
    bool ReadFileBytes(std::string_view fileName, std::string& bytes,
                       FolderMessages& messages) const;
    /// Reads the bytes of a page of a snapshot description.
    bool ReadPage(const SnapshotPage& page, std::string& bytes, FolderMessages& messages) const;

private:
    struct Entry;
    Entry* FindEntry(std::string_view name);
    const Entry* FindEntry(std::string_view name) const;

    bool m_open = false;
    std::string m_dataDir;
    std::vector<std::string> m_names;
    // Snapshot name, lower case -> entry.
    std::map<std::string, std::unique_ptr<Entry>> m_entries;
    // File name, lower case -> name on disk.
    std::map<std::string, std::string> m_files;
    std::vector<std::string> m_fileList;
    FolderMessages m_messages;
};
