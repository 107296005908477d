#include "webstep/script/ScriptLexer.h"

#include "webstep/platform/CodePage.h"

namespace {

bool IsIdentifierStart(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$' || c >= 0x80;
}

bool IsIdentifierByte(unsigned char c) {
    return IsIdentifierStart(c) || (c >= '0' && c <= '9');
}

bool IsDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

CScriptLexer::CScriptLexer(const char* data, size_t size, unsigned int codePage)
    : m_pData(data),
      m_nSize(data == nullptr ? 0 : size),
      m_nPos(0),
      m_nLineStart(0),
      m_nLine(1),
      m_nCodePage(codePage),
      m_bMultiByte(webstep::platform::IsMultiByteCodePage(codePage)),
      m_bByteOrderMark(false),
      m_bAtLineStart(true),
      m_bInDirective(false) {
    if (m_nSize >= 3 && static_cast<unsigned char>(m_pData[0]) == 0xEF &&
        static_cast<unsigned char>(m_pData[1]) == 0xBB &&
        static_cast<unsigned char>(m_pData[2]) == 0xBF) {
        m_bByteOrderMark = true;
        m_nPos = 3;
        m_nLineStart = 3;
    }
}

size_t CScriptLexer::LineEndLength(size_t p) const {
    if (p >= m_nSize)
        return 0;
    if (m_pData[p] == '\n')
        return 1;
    if (m_pData[p] == '\r')
        return (p + 1 < m_nSize && m_pData[p + 1] == '\n') ? 2 : 1;
    return 0;
}

void CScriptLexer::NewLine(size_t nextLineStart) {
    ++m_nLine;
    m_nLineStart = nextLineStart;
}

unsigned int CScriptLexer::ColumnOf(size_t offset) const {
    return static_cast<unsigned int>(offset - m_nLineStart + 1);
}

void CScriptLexer::AddProblem(EScriptLexProblem problem, size_t offset) {
    m_Problems.push_back({problem, offset, m_nLine, ColumnOf(offset)});
}

void CScriptLexer::TakeProblems(std::vector<ScriptLexProblem>& problems) {
    problems.insert(problems.end(), m_Problems.begin(), m_Problems.end());
    m_Problems.clear();
}

bool CScriptLexer::SkipBlank() {
    const char* d = m_pData;
    while (m_nPos < m_nSize) {
        char c = d[m_nPos];
        if (size_t eol = LineEndLength(m_nPos)) {
            m_nPos += eol;
            NewLine(m_nPos);
            m_bInDirective = false;
            m_bAtLineStart = true;
            continue;
        }
        if (c == ' ' || c == '\t' || c == '\f' || c == '\v') {
            ++m_nPos;
            continue;
        }
        if (c == '\\') {
            // A splice joins two lines into one logical line: a preprocessor
            // line goes on.
            if (size_t eol = LineEndLength(m_nPos + 1)) {
                m_nPos += 1 + eol;
                NewLine(m_nPos);
                continue;
            }
        }
        if (c == '\0') {
            AddProblem(EScriptLexProblem::NulByte, m_nPos);
            ++m_nPos;
            continue;
        }
        if (c == '/' && m_nPos + 1 < m_nSize && d[m_nPos + 1] == '/') {
            m_nPos += 2;
            while (m_nPos < m_nSize && LineEndLength(m_nPos) == 0) {
                if (d[m_nPos] == '\\') {
                    if (size_t eol = LineEndLength(m_nPos + 1)) {
                        m_nPos += 1 + eol;
                        NewLine(m_nPos);
                        continue;
                    }
                }
                ++m_nPos;
            }
            continue;
        }
        if (c == '/' && m_nPos + 1 < m_nSize && d[m_nPos + 1] == '*') {
            size_t start = m_nPos;
            unsigned int line = m_nLine;
            unsigned int column = ColumnOf(start);
            m_nPos += 2;
            bool closed = false;
            while (m_nPos < m_nSize) {
                if (d[m_nPos] == '*' && m_nPos + 1 < m_nSize && d[m_nPos + 1] == '/') {
                    m_nPos += 2;
                    closed = true;
                    break;
                }
                if (size_t eol = LineEndLength(m_nPos)) {
                    m_nPos += eol;
                    NewLine(m_nPos);
                } else {
                    ++m_nPos;
                }
            }
            if (!closed)
                m_Problems.push_back({EScriptLexProblem::UnterminatedComment, start, line, column});
            continue;
        }
        if (c == '#' && m_bAtLineStart) {
            m_bInDirective = true;
            m_bAtLineStart = false;
            ++m_nPos;
            continue;
        }
        if (m_bInDirective) {
            // Literals of a directive are skipped whole so that a quote or a
            // comment opener inside them is not taken for one; an include
            // path like <a'b.h> is not C, so nothing is reported here.
            if (c == '"' || c == '\'') {
                ++m_nPos;
                while (m_nPos < m_nSize && LineEndLength(m_nPos) == 0) {
                    char k = d[m_nPos];
                    if (k == c) {
                        ++m_nPos;
                        break;
                    }
                    if (k == '\\') {
                        if (size_t eol = LineEndLength(m_nPos + 1)) {
                            m_nPos += 1 + eol;
                            NewLine(m_nPos);
                            continue;
                        }
                        m_nPos += m_nPos + 1 < m_nSize ? 2 : 1;
                        continue;
                    }
                    ++m_nPos;
                }
                continue;
            }
            ++m_nPos;
            continue;
        }
        return true;
    }
    return false;
}

void CScriptLexer::LexLiteral(ScriptToken& token, char quote) {
    const char* d = m_pData;
    ++m_nPos;
    bool closed = false;
    while (m_nPos < m_nSize) {
        unsigned char c = static_cast<unsigned char>(d[m_nPos]);
        if (c == '\n' || c == '\r')
            break;
        if (c == static_cast<unsigned char>(quote)) {
            ++m_nPos;
            closed = true;
            break;
        }
        if (c == '\\') {
            token.escaped = true;
            if (size_t eol = LineEndLength(m_nPos + 1)) {
                token.spliced = true;
                m_nPos += 1 + eol;
                NewLine(m_nPos);
                continue;
            }
            if (m_nPos + 1 < m_nSize && d[m_nPos + 1] == '\0') {
                token.holdsNul = true;
                AddProblem(EScriptLexProblem::NulByte, m_nPos + 1);
            }
            // The escape letter is taken whatever it is, as the decoding does.
            m_nPos += m_nPos + 1 < m_nSize ? 2 : 1;
            continue;
        }
        if (c == '\0') {
            token.holdsNul = true;
            AddProblem(EScriptLexProblem::NulByte, m_nPos);
            ++m_nPos;
            continue;
        }
        if (m_bMultiByte && c >= 0x80 && m_nPos + 1 < m_nSize &&
            webstep::platform::IsLeadByte(m_nCodePage, c)) {
            char n = d[m_nPos + 1];
            // A quote, a line end or a NUL is never taken as a trail byte:
            // the literal would otherwise swallow the rest of its line. In
            // UTF-8 only a continuation byte follows a lead byte, so a
            // backslash after a stray lead byte (text of another code page)
            // still escapes what follows, as a compiler reads it.
            const bool trail = m_nCodePage != webstep::platform::CP_UTF8 ||
                               (static_cast<unsigned char>(n) & 0xC0) == 0x80;
            if (trail && n != quote && n != '\n' && n != '\r' && n != '\0') {
                m_nPos += 2;
                continue;
            }
        }
        ++m_nPos;
    }
    if (!closed) {
        token.unterminated = true;
        m_Problems.push_back({quote == '"' ? EScriptLexProblem::UnterminatedString
                                           : EScriptLexProblem::UnterminatedCharacter,
                              token.offset, token.line, token.column});
    }
}

void CScriptLexer::Next(ScriptToken& token) {
    token = ScriptToken();
    if (!SkipBlank()) {
        token.kind = EScriptTokenKind::End;
        token.offset = m_nSize;
        token.line = m_nLine;
        token.column = ColumnOf(m_nPos);
        return;
    }
    m_bAtLineStart = false;
    const char* d = m_pData;
    token.offset = m_nPos;
    token.line = m_nLine;
    token.column = ColumnOf(m_nPos);
    unsigned char c = static_cast<unsigned char>(d[m_nPos]);
    if (c == '"' || c == '\'') {
        token.kind = c == '"' ? EScriptTokenKind::String : EScriptTokenKind::Character;
        LexLiteral(token, static_cast<char>(c));
    } else if (IsIdentifierStart(c)) {
        token.kind = EScriptTokenKind::Identifier;
        ++m_nPos;
        while (m_nPos < m_nSize && IsIdentifierByte(static_cast<unsigned char>(d[m_nPos])))
            ++m_nPos;
    } else if (IsDigit(c) || (c == '.' && m_nPos + 1 < m_nSize &&
                              IsDigit(static_cast<unsigned char>(d[m_nPos + 1])))) {
        token.kind = EScriptTokenKind::Number;
        ++m_nPos;
        while (m_nPos < m_nSize) {
            unsigned char k = static_cast<unsigned char>(d[m_nPos]);
            if (IsIdentifierByte(k) || k == '.') {
                ++m_nPos;
            } else if ((k == '+' || k == '-') && (d[m_nPos - 1] == 'e' || d[m_nPos - 1] == 'E' ||
                                                  d[m_nPos - 1] == 'p' || d[m_nPos - 1] == 'P')) {
                ++m_nPos;
            } else {
                break;
            }
        }
    } else {
        token.kind = EScriptTokenKind::Punctuator;
        token.punctuator = static_cast<char>(c);
        ++m_nPos;
        if (c == '-' && m_nPos < m_nSize && d[m_nPos] == '>') {
            token.punctuator = '>';
            ++m_nPos;
        }
    }
    token.length = m_nPos - token.offset;
}

void CScriptLexer::GetLiteralText(const char* data, const ScriptToken& token, MString& text) {
    const char* s = data + token.offset;
    size_t n = token.length;
    if (!token.spliced && !token.holdsNul && !token.unterminated) {
        text.assign(s, n);
        return;
    }
    text.clear();
    text.reserve(n + 1);
    size_t i = 0;
    while (i < n) {
        char c = s[i];
        if (c == '\\' && i + 1 < n) {
            char e = s[i + 1];
            if (e == '\n' || e == '\r') {
                i += 2;
                if (e == '\r' && i < n && s[i] == '\n')
                    ++i;
                continue;
            }
            // An escaped NUL goes with its backslash.
            if (e != '\0') {
                text.push_back(c);
                text.push_back(e);
            }
            i += 2;
            continue;
        }
        if (c != '\0')
            text.push_back(c);
        ++i;
    }
    if (token.unterminated)
        text.push_back(token.kind == EScriptTokenKind::Character ? '\'' : '"');
}
