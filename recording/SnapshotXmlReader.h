#pragma once
// The snapshot XML file of a recorded step (data/snapshot_7.xml): one
// HTTPTask element per exchange, every value base64 encoded in ActualData
// elements. The file is read with expat in chunks and each exchange handed to
// the caller as soon as its task closes, so that a file of 100 MB does not
// take 100 MB of memory when bodies are left out or capped.
//
// The bytes of the file are taken as they are: names, URLs and header texts
// in UTF-8 or in a code page alike come out unchanged (a UTF-16 file, known
// by its byte order mark, is converted to UTF-8). Elements the reader does
// not know (HTTPCookies, HTTPAllHeaders, QueryString, ...) are skipped.
// Broken or truncated XML ends the read: the exchanges completed before the
// error have been delivered, the result says the file is broken and a
// warning gives the file, the line and expat's error text.
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/HttpExchange.h"

/// What a snapshot XML read keeps.
struct WEBSTEP_API SnapshotReadOptions {
    bool keepRequestBodies = true;
    bool keepResponseBodies = true;
    /// Bytes kept of each body; the bytes beyond are dropped and the
    /// exchange marked cut.
    std::size_t maxBodyBytes = std::numeric_limits<std::size_t>::max();
    /// Deliver the first task whose origin is Primary and stop there (other
    /// tasks are skipped unread).
    bool primaryOnly = false;
    /// In primary-only mode, go on through the rest of the file (keeping
    /// nothing) so that broken XML after the primary task is still found.
    bool checkToEnd = false;
};

/// How a snapshot XML read ended.
struct WEBSTEP_API SnapshotReadResult {
    /// The file could be opened and read.
    bool readable = false;
    /// The XML is broken or truncated: the snapshot counts as not recorded.
    bool broken = false;
    /// The caller's callback asked to stop, or the primary task was found in
    /// primary-only mode.
    bool stopped = false;
    /// Exchanges handed to the callback.
    std::size_t exchanges = 0;

    /// The file was read without error (to its end, or until stopped).
    bool Ok() const { return readable && !broken; }
};

/// Streams the exchanges of one snapshot XML file to a callback.
class WEBSTEP_API CSnapshotXmlReader {
public:
    /// Called once per completed task; returning false stops the read.
    using Callback = std::function<bool(const HttpExchange&)>;

    /// Bytes read from the file per call to the parser.
    static constexpr std::size_t kChunkSize = 64 * 1024;

    explicit CSnapshotXmlReader(SnapshotReadOptions options = {});
    ~CSnapshotXmlReader();
    CSnapshotXmlReader(const CSnapshotXmlReader&) = delete;
    CSnapshotXmlReader& operator=(const CSnapshotXmlReader&) = delete;

    const SnapshotReadOptions& Options() const { return m_options; }

    /// Reads the file at path; problems go to messages as warnings naming the
    /// file (and line).
    SnapshotReadResult ReadFile(const std::string& path, const Callback& callback,
                                FolderMessages& messages);
    /// Reads xml as the contents of a file named fileName (used in messages).
    SnapshotReadResult ReadText(std::string_view xml, const std::string& fileName,
                                const Callback& callback, FolderMessages& messages);

private:
    class CParse;
    SnapshotReadOptions m_options;
};
