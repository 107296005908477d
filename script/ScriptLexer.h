#pragma once
// Token stream over the text of a C action file, enough of C for finding
// calls and their arguments: identifiers, string and character literals,
// numbers and punctuators. Comments, white space, line splices (backslash
// before a line end) and preprocessor lines are skipped. Line ends are
// CR LF, LF or a lone CR, in any mix. One pass, no backtracking: every byte
// is looked at a bounded number of times, so a huge literal costs its length.
//
// Lexical problems (a literal or comment left open, a NUL byte) never stop
// the stream: a string or character literal left open ends at its line end,
// a comment left open runs to the end of the text, and the problem is queued
// for the caller with its position.
#include <cstddef>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

enum class EScriptTokenKind {
    End,
    Identifier,
    String,     // "..." (no prefix; L"..." is an identifier then a string)
    Character,  // '...'
    Number,
    Punctuator,  // one character, or "->" (m_punctuator is then '>')
};

/// One token of a C text: kind, extent (offset and length in the text), line
/// and column, and flags for literals with problems.
struct WEBSTEP_API ScriptToken {
    EScriptTokenKind kind = EScriptTokenKind::End;
    /// Extent in the text, first byte to one past the last byte.
    size_t offset = 0;
    size_t length = 0;
    /// 1-based line, 1-based column in bytes (a byte order mark is not counted).
    unsigned int line = 0;
    unsigned int column = 0;
    char punctuator = 0;
    bool unterminated = false;  // a literal with no closing quote on its line
    bool spliced = false;       // a literal holding a backslash-line-end splice
    bool holdsNul = false;      // a literal holding a NUL byte
    bool escaped = false;       // a literal holding a backslash
};

enum class EScriptLexProblem {
    UnterminatedString,
    UnterminatedCharacter,
    UnterminatedComment,
    NulByte,
};

/// A lexical problem met in a C text (an open literal or comment, a NUL
/// byte) with its position.
struct WEBSTEP_API ScriptLexProblem {
    EScriptLexProblem problem;
    size_t offset;
    unsigned int line;
    unsigned int column;
};

/// Cuts a C text into tokens as a compiler does (comments, literals, line
/// splices, preprocessor lines). Never fails: problems are reported beside
/// the tokens.
class WEBSTEP_API CScriptLexer {
public:
    /// The text is not copied and must outlive the lexer. A UTF-8 byte order
    /// mark at its start is skipped. codePage decides which bytes of literals
    /// start a multi-byte character (their next byte is never taken as a
    /// backslash or quote of the literal, as the token decoding does too).
    CScriptLexer(const char* data, size_t size, unsigned int codePage);

    /// The next token; kind End at the end of the text (and on every call
    /// after that).
    void Next(ScriptToken& token);

    /// Problems found since the last call, in text order; the queue is emptied.
    void TakeProblems(std::vector<ScriptLexProblem>& problems);
    bool HasProblems() const { return !m_Problems.empty(); }

    bool HasByteOrderMark() const { return m_bByteOrderMark; }
    /// Lines seen so far (all of them once End was returned).
    unsigned int GetLine() const { return m_nLine; }

    /// The literal token as the token decoding wants it: the quotes kept,
    /// splices and NUL bytes removed, and a closing quote added to a literal
    /// left open.
    static void GetLiteralText(const char* data, const ScriptToken& token, MString& text);

private:
    /// Length of the line end at position p (0 when there is none).
    size_t LineEndLength(size_t p) const;
    void NewLine(size_t nextLineStart);
    void AddProblem(EScriptLexProblem problem, size_t offset);
    unsigned int ColumnOf(size_t offset) const;
    /// Skips white space, comments, splices and preprocessor lines; returns
    /// false at the end of the text.
    bool SkipBlank();
    void LexLiteral(ScriptToken& token, char quote);

    const char* m_pData;
    size_t m_nSize;
    size_t m_nPos;
    size_t m_nLineStart;
    unsigned int m_nLine;
    unsigned int m_nCodePage;
    bool m_bMultiByte;
    bool m_bByteOrderMark;
    bool m_bAtLineStart;  // only blanks so far on this line
    bool m_bInDirective;  // inside a preprocessor line
    std::vector<ScriptLexProblem> m_Problems;
};
