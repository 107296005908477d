#pragma once
// One parameter of a recorded script folder, as its section of the parameter
// file ("*.prm") describes it:
//
//   [parameter:CardNumber]
//   ParamName="CardNumber"
//   Type="Table"
//   Table="cards.dat"
//   ColumnName="card"          (or "Col 2": the second column)
//   Delimiter=","              ("tab", "\t", "space", ";" ... also accepted)
//   StartRow="1"
//   SelectNextRow="Sequential" (Random, Unique, "Same line as CardPin")
//   GenerateNewVal="EachIteration" (EachOccurrence, Once)
//   OutOfRangePolicy="ContinueCyclic" (ContinueWithLast, AbortVuser)
//   OriginalValue="29000012345678"
//
// Key names and the words of values compare without regard to ASCII case and
// blanks ("Each Iteration" is EachIteration). A value that is not understood
// falls back to the default named below, with a warning naming the file and
// line. A type that is not known keeps the parameter's references as written
// (one warning for the parameter).
#include <memory>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/IniDocument.h"

class CParameterTable;

/// One parameter definition read from a section "[parameter:Name]" of the
/// parameter file. A plain value: the parameter set fills in the table of a
/// table parameter after loading and never changes it afterwards.
class WEBSTEP_API CParameterDefinition {
public:
    /// What the parameter's values are made of.
    enum class Type {
        Table,             // a column of a table file
        Custom,            // its table when it names one, else OriginalValue
        Time,              // the current time plus Offset, printed with Format
        Random,            // a random integer in MinValue..MaxValue
        Unique,            // a number unique across users (StartValue, BlockSize)
        CurrentIteration,  // the iteration number, printed with Format
        Userid,            // the user number, printed with Format
        Output,            // no value until the script saves one
        Unknown            // not known here: references stay as written
    };
    /// How the next table row is chosen.
    enum class Selection { Sequential, Random, Unique, SameLineAs };
    /// When a new value is due.
    enum class Update { EachIteration, EachOccurrence, Once };
    /// What happens when the rows (or unique numbers) are used up.
    enum class OutOfRange { ContinueCyclic, ContinueWithLast, AbortVuser };

    /// The name used in references (ParamName, else the section's suffix).
    std::string name;
    /// The Type text as written (for messages about unknown types).
    std::string typeText;
    Type type = Type::Unknown;
    std::string originalValue;

    // Table and Custom with a table.
    std::string tableFile;        // as written in the file
    std::string columnName;       // as written ("card", "Col 2")
    std::string delimiter = ",";  // the field delimiter, one or more bytes
    long long startRow = 1;       // 1-based, first data row after the header
    Selection selection = Selection::Sequential;
    std::string sameLineAs;  // for SameLineAs: the other parameter
    Update update = Update::EachIteration;
    OutOfRange outOfRange = OutOfRange::ContinueCyclic;
    /// Rows per user for Unique selection; 0 means automatic (an even share).
    long long blockSize = 0;

    // Time, Random, CurrentIteration, Userid, Unique.
    std::string format;               // empty: the type's default
    long long offset = 0;             // Time: seconds added to the clock
    long long minValue = 0;           // Random
    long long maxValue = 100;         // Random
    long long startValue = 1;         // Unique
    long long uniqueBlockSize = 100;  // Unique: numbers per user

    /// The file and line of the section (for messages).
    std::string file;
    unsigned line = 0;

    // Filled in by the parameter set: the table (null when the parameter has
    // none or it could not be read) and the 0-based column (-1 when unknown).
    std::shared_ptr<const CParameterTable> table;
    int column = -1;

    /// True when the parameter takes its values from a table.
    bool UsesTable() const {
        return type == Type::Table || (type == Type::Custom && !tableFile.empty());
    }

    /// Reads a definition from its section. Returns false (with a warning)
    /// only when the section names no parameter; values that are not
    /// understood fall back to defaults with a warning each.
    static bool FromSection(const CIniDocument::Section& section, const std::string& file,
                            CParameterDefinition& out, FolderMessages& messages);

    /// The type named by text (ASCII case and blanks ignored); Unknown when
    /// it is none of the known ones.
    static Type ParseType(const std::string& text);
    /// The delimiter a Delimiter value stands for: "tab", "\t" and a tab are a
    /// tab, "space" and a blank are a blank, "comma", "semicolon" likewise;
    /// any other text is itself; empty is ",".
    static std::string ParseDelimiter(const std::string& text);
};
