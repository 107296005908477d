#pragma once
// The description of one recorded step: data/tN.inf, an INI file with one
// section named after the snapshot. It lists the files kept for the step
// (FileNameK/URLK for K = 1..Total: the document, its frames by FrameIndexK,
// the resources), the response's content type, the files with the request
// headers and body and the response headers, and the snapshot XML file with
// the full exchanges.
//
// File names are resolved against the data/ directory; a name that does not
// exist on disk (ASCII case aside, as recordings come from systems that
// ignore it) gives a warning and the entry is kept, marked missing.
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/IniDocument.h"

/// A file of the data/ directory named by a snapshot description.
struct WEBSTEP_API SnapshotFileRef {
    /// The name as written (empty: none named).
    std::string name;
    /// The path of the file on disk: data/ joined with the name found there.
    std::string path;
    /// The file was named but is not in data/.
    bool missing = false;

    bool Named() const { return !name.empty(); }
};

/// One FileNameK entry of a snapshot description.
struct WEBSTEP_API SnapshotPage {
    enum class Kind {
        Document,  ///< the step's document (K = 1)
        Frame,     ///< a page inside the document
        Resource   ///< any other file kept (image, script, style sheet)
    };
    /// K of FileNameK.
    unsigned number = 0;
    Kind kind = Kind::Resource;
    SnapshotFileRef file;
    std::string url;
    /// The frame's place: {0, 1} is the second frame of the top document,
    /// {0, 1, 0} the first frame inside it. Empty for the document and for
    /// a frame whose place is not known; for a resource, the frame it
    /// belongs to when its FrameIndexK says so.
    std::vector<unsigned> frameIndex;
    /// The place was taken from the file name (tNf1f0.htm), not from a
    /// FrameIndexK key.
    bool frameIndexFromName = false;
};

/// What data/tN.inf says about one recorded step.
class WEBSTEP_API CSnapshotInfo {
public:
    /// Finds the name of a file of data/ as it is on disk (ASCII case
    /// ignored); nothing when there is none.
    using FileFinder = std::function<std::optional<std::string>(std::string_view name)>;

    /// Reads data/tN.inf; the snapshot's name is the file's base name. False
    /// (with a warning) when it cannot be read. finder defaults to looking in
    /// the file's directory.
    bool ReadFile(const std::string& infPath, FolderMessages& messages,
                  const FileFinder& finder = {});
    /// Reads text as the inf file fileName of the directory dataDir.
    void ReadText(std::string_view text, const std::string& fileName, const std::string& dataDir,
                  FolderMessages& messages, const FileFinder& finder = {});
    /// Describes a step of an older recording without a tN.inf: the
    /// document, frames and resources are the files of dataDir whose names
    /// follow the snapshot naming (tN.htm/tN.html, tNf0.html, tN_logo.png).
    void FromFiles(const std::string& name, const std::string& dataDir,
                   const std::vector<std::string>& fileNames);

    /// "t7" (the name the step's "Snapshot=t7.inf" gives, without ".inf").
    const std::string& Name() const { return m_name; }
    const std::string& DataDir() const { return m_dataDir; }
    /// The description came from a tN.inf file (not from the page files).
    bool FromInf() const { return m_fromInf; }

    /// Every FileNameK entry, in the order of K.
    const std::vector<SnapshotPage>& Pages() const { return m_pages; }
    /// The document (K = 1), or null when there is none.
    const SnapshotPage* Document() const;
    std::vector<const SnapshotPage*> Frames() const;
    std::vector<const SnapshotPage*> Resources() const;
    /// The frame at that place, or null.
    const SnapshotPage* FindFrame(const std::vector<unsigned>& frameIndex) const;

    /// UseFrameIndex=1.
    bool UseFrameIndex() const { return m_useFrameIndex; }
    const std::string& ContentType() const { return m_contentType; }
    const SnapshotFileRef& RequestHeaderFile() const { return m_requestHeaderFile; }
    /// Not named when the inf says NONE.
    const SnapshotFileRef& RequestBodyFile() const { return m_requestBodyFile; }
    const SnapshotFileRef& ResponseHeaderFile() const { return m_responseHeaderFile; }
    const SnapshotFileRef& SnapshotXmlFile() const { return m_snapshotXmlFile; }

    /// "0.1.0" as {0, 1, 0}; false when text is not dot-separated numbers.
    static bool ParseFrameIndex(std::string_view text, std::vector<unsigned>& index);
    /// The place a page name following the snapshot naming gives: "t7f1f0.htm"
    /// is {0, 1, 0}; false for the document's name and for other names.
    static bool FrameIndexFromName(std::string_view snapshotName, std::string_view fileName,
                                   std::vector<unsigned>& index);
    /// How a file name of the snapshot is classified when nothing else says:
    /// pages end in .htm/.html; tN_<name>.<ext> and other files are
    /// resources.
    static bool IsPageName(std::string_view snapshotName, std::string_view fileName);

private:
    void Clear();
    SnapshotFileRef Resolve(const std::string& name, const std::string& key, unsigned line,
                            FolderMessages& messages, const FileFinder& finder) const;

    std::string m_name;
    std::string m_dataDir;
    std::string m_fileName;
    bool m_fromInf = false;
    std::vector<SnapshotPage> m_pages;
    bool m_useFrameIndex = false;
    std::string m_contentType;
    SnapshotFileRef m_requestHeaderFile;
    SnapshotFileRef m_requestBodyFile;
    SnapshotFileRef m_responseHeaderFile;
    SnapshotFileRef m_snapshotXmlFile;
};
