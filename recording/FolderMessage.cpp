#include "webstep/recording/FolderMessage.h"

std::string FolderMessage::Format() const {
    std::string out = file;
    if (line != 0)
        out += ":" + std::to_string(line);
    out += kind == Kind::Note ? ": note: " : ": warning: ";
    out += text;
    return out;
}

void AddFolderWarning(FolderMessages& messages, const std::string& file, unsigned line,
                      const std::string& text) {
    messages.push_back({FolderMessage::Kind::Warning, file, line, text});
}

void AddFolderNote(FolderMessages& messages, const std::string& file, unsigned line,
                   const std::string& text) {
    messages.push_back({FolderMessage::Kind::Note, file, line, text});
}
