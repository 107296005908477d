#pragma once
// The script reader: finds the step calls of a C action file and hands out
// each call's arguments as the step parsers receive them.
//
// The text may end its lines with CR LF, LF or a lone CR, in any mix, and
// may be UTF-8 with or without a byte order mark or text in the process code
// page: literal contents are kept as bytes. Comments, preprocessor lines and
// line splices are skipped as a C compiler skips them; calls inside comments
// or literals are not calls.
//
// A call is a name followed by "(" that is
//   - a step function (by default the names the step parsers are registered
//     under; a caller may give its own test, e.g. backed by its repository),
//   - another name starting with "web_" (an unknown function), or
//   - one of the run-time calls qz_start_transaction, qz_end_transaction and
//     qz_think_time,
// and is not a member access (after "." or "->"), a declaration (after a type
// or other identifier on the same line; "return", "else", "do", "case" and
// "sizeof" excepted) nor a function definition (the ")" followed by "{").
// Calls nested in the arguments of other calls are found too; records come in
// the order of their names in the text.
//
// Each argument is one of:
//   - a literal: one or more adjacent string literals (comments and line
//     ends may stand between them), each decoded with
//     CWebStepScript::SetTokenValue, the results concatenated;
//   - a marker: a bare LAST, ENDITEM, ITEMDATA, EXTRARES, STARTHIDDENS,
//     ENDHIDDENS or RAW_BODY_START, given as its own text (written in quotes
//     it is a literal of the same text);
//   - anything else ("not a literal": a variable or other bare identifier,
//     NULL, a number, a cast, a call such as qz_eval_string("{x}"), a macro
//     next to a literal): its source text from its first to its last
//     character, which is what the parser receives.
//
// Broken C never stops the reading. A literal left open ends at its line
// end; a call not closed by ")" before ";", "{", "}" or the end of the text
// is dropped; a call holding a lexical error or an empty argument is dropped
// too. Each of these is reported with its position and the reading goes on
// with the next call. The work is linear in the size of the text.
#include <cstddef>
#include <functional>
#include <list>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

enum class EScriptArgumentKind {
    Literal,
    Marker,
    Expression,  // not a literal: handed over as its source text
};

/// One argument of a step call: a decoded literal, a marker keyword (LAST,
/// ITEMDATA, ...) or the source text of anything else, with its position.
struct WEBSTEP_API ScriptArgument {
    EScriptArgumentKind kind = EScriptArgumentKind::Literal;
    /// Decoded bytes of a literal, the keyword of a marker, the source text of
    /// an expression.
    MString value;
    /// Position of the argument's first character.
    unsigned int line = 0;
    unsigned int column = 0;
    /// Position of the first literal of the argument that follows another
    /// literal, where both look like an attribute ("Name=Value"): usually a
    /// missing comma that merged two attributes into one. 0 when none.
    unsigned int mergedLine = 0;
    unsigned int mergedColumn = 0;

    bool IsLiteral() const { return kind == EScriptArgumentKind::Literal; }
    bool IsMarker() const { return kind == EScriptArgumentKind::Marker; }
    bool IsOpaque() const { return kind == EScriptArgumentKind::Expression; }
};

enum class EScriptCallKind {
    Step,              // a registered step function
    UnknownFunction,   // another web_ name
    StartTransaction,  // qz_start_transaction
    EndTransaction,    // qz_end_transaction
    ThinkTime,         // qz_think_time
};

/// One call found in a C text: kind, function name, position and arguments.
/// GetArgumentList gives the texts in the form the step parsers take.
struct WEBSTEP_API ScriptCall {
    EScriptCallKind kind = EScriptCallKind::Step;
    MString function;
    /// 1-based line and column (in bytes, a byte order mark not counted) of the
    /// function name, and its byte offset in the text.
    unsigned int line = 0;
    unsigned int column = 0;
    size_t offset = 0;
    std::vector<ScriptArgument> arguments;
    /// The call's value is used: assigned, compared, tested, returned or
    /// passed on (the name follows an operator, "(", "," or "return").
    bool returnValueUsed = false;

    /// The argument texts in order, the form CWebStepParse::ParseArguments
    /// takes.
    std::list<MString> GetArgumentList() const;
    bool HasOpaqueArguments() const;
};

enum class EScriptDiagnostic {
    UnterminatedString,     // a string literal with no closing quote on its line
    UnterminatedCharacter,  // the same for a character literal
    UnterminatedComment,    // a block comment running to the end of the text
    NulByte,                // a NUL byte in the text (skipped)
    CallNotClosed,          // ";", "{" or "}" inside a call's argument list
    CallCutOff,             // the text ends inside a call's argument list
    EmptyArgument,          // nothing between two commas, or a trailing comma
    MalformedCall,          // a call holding a lexical error (see the others)
    UnbalancedParenthesis,  // a ")" or "]" with no opening partner
    ReadFailed,             // the file could not be read
};

/// A problem the reader met in a C text (an open literal, a call not closed,
/// ...), an error or a warning, with its position and an English message.
struct WEBSTEP_API ScriptDiagnostic {
    EScriptDiagnostic code = EScriptDiagnostic::ReadFailed;
    /// Errors make a call or a piece of text unreadable; the rest are warnings.
    bool error = true;
    /// Where the problem was found.
    unsigned int line = 0;
    unsigned int column = 0;
    /// The call concerned (empty, and 0, when none).
    MString function;
    unsigned int callLine = 0;
    unsigned int callColumn = 0;
    /// An English description.
    MString message;
};

/// What reading a C text gives: the calls in text order and the
/// diagnostics. A value type.
struct WEBSTEP_API ScriptReadResult {
    std::vector<ScriptCall> calls;
    std::vector<ScriptDiagnostic> diagnostics;
    bool hasByteOrderMark = false;
    size_t byteCount = 0;
    unsigned int lineCount = 0;

    size_t GetErrorCount() const;
    size_t GetWarningCount() const;
    void Clear();
};

/// Finds the step calls of a C action file or text and hands out each call's
/// arguments as the step parsers receive them. Broken C never stops the
/// reading: problems become diagnostics of the result. ReadFile returns
/// false (with a ReadFailed diagnostic) when the file cannot be read; Read
/// always returns true.
class WEBSTEP_API CScriptReader {
public:
    using FunctionTest = std::function<bool(const MString& name)>;

    /// Step functions are the names of the step parser registry.
    CScriptReader();
    /// Step functions are the names for which the test answers true (other
    /// web_ names are still reported, as unknown functions).
    explicit CScriptReader(FunctionTest isStepFunction);

    /// Reads a text; the result is cleared first. Literals are decoded, and
    /// their multi-byte characters recognised, in the process code page.
    /// Returns true; problems are in the result's diagnostics.
    bool Read(const char* data, size_t size, ScriptReadResult& result) const;
    bool Read(const MString& text, ScriptReadResult& result) const;
    /// Reads a file; false (with a ReadFailed diagnostic) when it cannot be
    /// read.
    bool ReadFile(const char* path, ScriptReadResult& result) const;

    /// Whether the name is one of the step parser registry's function names.
    static bool IsRegisteredStepFunction(const MString& name);
    /// Those names, in registration order.
    static std::vector<MString> GetStepFunctionNames();
    /// Whether the bare identifier is one of the argument-list markers.
    static bool IsMarker(const char* text, size_t length);
    /// "text"-like names of the kinds, for messages and JSON.
    static const char* GetCallKindName(EScriptCallKind kind);
    static const char* GetArgumentKindName(EScriptArgumentKind kind);
    static const char* GetDiagnosticName(EScriptDiagnostic code);

private:
    FunctionTest m_IsStepFunction;
};
