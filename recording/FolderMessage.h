#pragma once
// What reading a recorded script folder had to say: notes and warnings, each
// naming the file (and line, when there is one) it is about. Reading a folder
// never stops at a bad file; it says so here and goes on.
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"

/// One note or warning about a file of a script folder. The line is 1-based;
/// 0 when the message is about the file as a whole.
struct WEBSTEP_API FolderMessage {
    enum class Kind { Note, Warning };
    Kind kind = Kind::Warning;
    std::string file;
    unsigned line = 0;
    std::string text;

    /// "file:line: warning: text" (without ":line" for a line of 0).
    std::string Format() const;
};

/// The messages of one folder read, in the order they were found.
using FolderMessages = std::vector<FolderMessage>;

/// Appends a warning about file (line 0: the whole file).
WEBSTEP_API void AddFolderWarning(FolderMessages& messages, const std::string& file, unsigned line,
                                  const std::string& text);
/// Appends a note about file (line 0: the whole file).
WEBSTEP_API void AddFolderNote(FolderMessages& messages, const std::string& file, unsigned line,
                               const std::string& text);
