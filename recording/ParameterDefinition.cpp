#include "webstep/recording/ParameterDefinition.h"

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <utility>

namespace {

// The text folded for comparison: ASCII lower case, blanks, underscores and
// hyphens removed ("Each Iteration", "each_iteration" -> "eachiteration").
std::string Fold(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '_' || c == '-')
            continue;
        out += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return out;
}

std::string TrimBlanks(const std::string& text) {
    std::size_t b = text.find_first_not_of(" \t");
    if (b == std::string::npos)
        return std::string();
    std::size_t e = text.find_last_not_of(" \t");
    return text.substr(b, e - b + 1);
}

unsigned LineOf(const CIniDocument::Section& section, const char* key) {
    const CIniDocument::Entry* entry = section.Find(key);
    return entry ? entry->line : section.line;
}

// A whole decimal integer (blanks around allowed); false otherwise.
bool ParseInteger(const std::string& text, long long& out) {
    std::string t = TrimBlanks(text);
    if (t.empty())
        return false;
    char* end = nullptr;
    errno = 0;
    long long value = std::strtoll(t.c_str(), &end, 10);
    if (end == t.c_str() || *end != '\0' || errno == ERANGE)
        return false;
    out = value;
    return true;
}

// Reads an integer key into out; a value that is not a number keeps the
// default with a warning.
void ReadInteger(const CIniDocument::Section& section, const char* key, const std::string& file,
                 long long& out, FolderMessages& messages) {
    std::optional<std::string> text = section.Get(key);
    if (!text || TrimBlanks(*text).empty())
        return;
    long long value = 0;
    if (ParseInteger(*text, value)) {
        out = value;
        return;
    }
    AddFolderWarning(messages, file, LineOf(section, key),
                     std::string(key) + " \"" + *text + "\" is not a whole number; " +
                         std::to_string(out) + " is used");
}

}  // namespace

CParameterDefinition::Type CParameterDefinition::ParseType(const std::string& text) {
    std::string t = Fold(text);
    if (t == "table" || t == "file")
        return Type::Table;
    if (t == "custom" || t == "userdefined")
        return Type::Custom;
    if (t == "time" || t == "datetime" || t == "date/time")
        return Type::Time;
    if (t == "random" || t == "randomnumber")
        return Type::Random;
    if (t == "unique" || t == "uniquenumber")
        return Type::Unique;
    if (t == "currentiteration" || t == "iteration" || t == "iterationnumber")
        return Type::CurrentIteration;
    if (t == "userid" || t == "vuserid" || t == "usernumber")
        return Type::Userid;
    if (t == "output")
        return Type::Output;
    return Type::Unknown;
}

std::string CParameterDefinition::ParseDelimiter(const std::string& text) {
    if (text.empty())
        return ",";
    std::string t = Fold(text);
    if (text == "\t" || t == "tab" || t == "\\t")
        return "\t";
    if (text == " " || t == "space" || t == "blank")
        return " ";
    if (t == "comma")
        return ",";
    if (t == "semicolon")
        return ";";
    if (t == "pipe")
        return "|";
    return text;
}

bool CParameterDefinition::FromSection(const CIniDocument::Section& section,
                                       const std::string& file, CParameterDefinition& out,
                                       FolderMessages& messages) {
    out = CParameterDefinition();
    out.file = file;
    out.line = section.line;
    std::string suffix;
    std::size_t colon = section.name.find(':');
    if (colon != std::string::npos)
        suffix = TrimBlanks(section.name.substr(colon + 1));
    out.name = TrimBlanks(section.Get("ParamName", ""));
    if (out.name.empty())
        out.name = suffix;
    if (out.name.empty()) {
        AddFolderWarning(messages, file, section.line,
                         "parameter section \"" + section.name + "\" names no parameter; skipped");
        return false;
    }
    out.typeText = section.Get("Type", "");
    out.type = ParseType(out.typeText);
    if (out.type == Type::Unknown) {
        AddFolderWarning(messages, file, LineOf(section, "Type"),
                         "parameter \"" + out.name + "\" has the type \"" + out.typeText +
                             "\", which is not known; its references stay as written");
    }
    out.originalValue = section.Get("OriginalValue", "");
    out.tableFile = TrimBlanks(section.Get("Table", ""));
    out.columnName = section.Get("ColumnName", "");
    out.delimiter = ParseDelimiter(section.Get("Delimiter", ""));
    out.format = section.Get("Format", "");

    ReadInteger(section, "StartRow", file, out.startRow, messages);
    if (out.startRow < 1) {
        AddFolderWarning(
            messages, file, LineOf(section, "StartRow"),
            "StartRow " + std::to_string(out.startRow) + " is before the first row; 1 is used");
        out.startRow = 1;
    }

    std::string select = section.Get("SelectNextRow", "");
    std::string folded = Fold(select);
    if (folded.empty() || folded == "sequential") {
        out.selection = Selection::Sequential;
    } else if (folded == "random") {
        out.selection = Selection::Random;
    } else if (folded == "unique") {
        out.selection = Selection::Unique;
    } else if (folded.rfind("samelineas", 0) == 0) {
        // "Same line as CardPin": the name is what follows the words.
        std::string rest = TrimBlanks(select);
        std::size_t pos = 0;
        for (int words = 0; words < 3 && pos < rest.size(); ++words) {
            pos = rest.find_first_of(" \t", pos);
            if (pos == std::string::npos) {
                pos = rest.size();
                break;
            }
            pos = rest.find_first_not_of(" \t", pos);
            if (pos == std::string::npos)
                pos = rest.size();
        }
        out.sameLineAs = TrimBlanks(rest.substr(pos));
        out.selection = Selection::SameLineAs;
        if (out.sameLineAs.empty()) {
            AddFolderWarning(
                messages, file, LineOf(section, "SelectNextRow"),
                "SelectNextRow \"" + select + "\" names no parameter; Sequential is used");
            out.selection = Selection::Sequential;
        }
    } else {
        AddFolderWarning(messages, file, LineOf(section, "SelectNextRow"),
                         "SelectNextRow \"" + select +
                             "\" is not Sequential, Random, Unique or \"Same line as\" a "
                             "parameter; Sequential is used");
    }

    std::string update = Fold(section.Get("GenerateNewVal", ""));
    if (update.empty() || update == "eachiteration") {
        out.update = Update::EachIteration;
    } else if (update == "eachoccurrence" || update == "eachoccurence") {
        out.update = Update::EachOccurrence;
    } else if (update == "once") {
        out.update = Update::Once;
    } else {
        AddFolderWarning(messages, file, LineOf(section, "GenerateNewVal"),
                         "GenerateNewVal \"" + section.Get("GenerateNewVal", "") +
                             "\" is not EachIteration, EachOccurrence or Once; EachIteration is "
                             "used");
    }

    std::string policy = Fold(section.Get("OutOfRangePolicy", ""));
    if (policy.empty() || policy == "continuecyclic" || policy == "cyclic") {
        out.outOfRange = OutOfRange::ContinueCyclic;
    } else if (policy == "continuewithlast" || policy == "continuewithlastvalue") {
        out.outOfRange = OutOfRange::ContinueWithLast;
    } else if (policy == "abortvuser" || policy == "abort" || policy == "abortuser") {
        out.outOfRange = OutOfRange::AbortVuser;
    } else {
        AddFolderWarning(messages, file, LineOf(section, "OutOfRangePolicy"),
                         "OutOfRangePolicy \"" + section.Get("OutOfRangePolicy", "") +
                             "\" is not ContinueCyclic, ContinueWithLast or AbortVuser; "
                             "ContinueCyclic is used");
    }

    std::string block = Fold(section.Get("auto_allocate_block_size", ""));
    if (!block.empty() && block != "automatic" && block != "auto") {
        long long size = 0;
        if (ParseInteger(block, size) && size >= 0) {
            out.blockSize = size;
        } else {
            AddFolderWarning(messages, file, LineOf(section, "auto_allocate_block_size"),
                             "auto_allocate_block_size \"" +
                                 section.Get("auto_allocate_block_size", "") +
                                 "\" is not a number of rows; an even share is used");
        }
    }

    ReadInteger(section, "Offset", file, out.offset, messages);
    ReadInteger(section, "MinValue", file, out.minValue, messages);
    ReadInteger(section, "MaxValue", file, out.maxValue, messages);
    if (out.minValue > out.maxValue) {
        AddFolderWarning(messages, file, LineOf(section, "MaxValue"),
                         "MinValue is above MaxValue; the two are swapped");
        std::swap(out.minValue, out.maxValue);
    }
    ReadInteger(section, "StartValue", file, out.startValue, messages);
    ReadInteger(section, "BlockSize", file, out.uniqueBlockSize, messages);
    if (out.uniqueBlockSize < 1) {
        AddFolderWarning(messages, file, LineOf(section, "BlockSize"),
                         "BlockSize must be at least 1; 100 is used");
        out.uniqueBlockSize = 100;
    }

    if (out.type == Type::Table && out.tableFile.empty()) {
        AddFolderWarning(messages, file, section.line,
                         "table parameter \"" + out.name +
                             "\" names no Table file; its references stay as written");
    }
    return true;
}
