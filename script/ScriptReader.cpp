#include "webstep/script/ScriptReader.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cctype>
#include <cstring>
#include <iterator>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "webstep/platform/CodePage.h"
#include "webstep/script/ScriptLexer.h"
#include "webstep/script/WebStepScript.h"

namespace {

// The function names of the step parser registry, in registration order.
// The standard set: the functions the reader takes as steps.
#define WEBSTEP_NAME_STANDARD(function) #function,
#define WEBSTEP_NAME_EXTENDED(function)
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_NAME_##set(function)
const char* const kStepFunctions[] = {
#include "webstep/script/StepFunctions.def"
};
#undef WEBSTEP_NAME_STANDARD
#undef WEBSTEP_NAME_EXTENDED

// A literal that begins like an attribute: a name of letters, digits and
// underscores (options after slashes allowed) and an equals sign. A literal
// that ends with "&", ";", "," or a space continues its value in the next
// literal (a query, a cookie list), and so does a body attribute with nothing
// after its equals sign ("Body=" with the body in the next literal); these
// are not taken as whole attributes. An empty attribute of another name
// ("Referer=") is one.
bool LooksLikeAttribute(const char* text, size_t length) {
    size_t i = 0;
    if (length == 0 || !std::isalpha(static_cast<unsigned char>(text[0])))
        return false;
    while (i < length && i < 64 &&
           (std::isalnum(static_cast<unsigned char>(text[i])) || text[i] == '_' || text[i] == '/'))
        ++i;
    if (i >= length || text[i] != '=')
        return false;
    const char last = text[length - 1];
    if (i + 1 == length && length >= 5 && strncasecmp(text, "body", 4) == 0)
        return false;
    return last != '&' && last != ';' && last != ',' && last != ' ';
}

bool TextEquals(const char* data, size_t length, const char* word) {
    return std::strlen(word) == length && std::memcmp(data, word, length) == 0;
}

// Identifiers after which a name followed by "(" is still a call.
bool IsStatementKeyword(const char* data, size_t length) {
    return TextEquals(data, length, "return") || TextEquals(data, length, "else") ||
           TextEquals(data, length, "do") || TextEquals(data, length, "case") ||
           TextEquals(data, length, "sizeof");
}

struct ArgumentState {
    size_t tokens = 0;
    size_t start = 0;
    size_t end = 0;
    unsigned int line = 0;
    unsigned int column = 0;
    bool allStrings = true;
    bool marker = false;
    // Whether the last token was a literal that looks like "Name=Value".
    bool lastLooksLikeAttribute = false;
    unsigned int mergedLine = 0;
    unsigned int mergedColumn = 0;
    MString decoded;
};

struct OpenCall {
    size_t record = 0;
    ArgumentState argument;
    bool commaSeen = false;
    bool malformed = false;
};

struct Frame {
    char open;
    // Index into the open calls, or -1 for a parenthesis or bracket that
    // belongs to no call being read.
    long call;
};

// One reading of one text.
class CReadPass {
public:
    CReadPass(const char* data, size_t size, const CScriptReader::FunctionTest& isStep,
              ScriptReadResult& result)
        : m_pData(data),
          m_nSize(size),
          m_IsStep(isStep),
          m_Result(result),
          m_Lexer(data, size, webstep::platform::GetProcessCodePage()) {}

    void Run();
    unsigned int GetLineCount() const { return m_Lexer.GetLine(); }

private:
    void AddDiagnostic(EScriptDiagnostic code, bool error, unsigned int line, unsigned int column,
                       const ScriptCall* call, MString message);
    void TakeLexProblems();
    bool ClassifyCandidate(const ScriptToken& token, EScriptCallKind& kind);
    void AddToArgument(const ScriptToken& token);
    void FinishArgument(OpenCall& call, const ScriptToken& at, bool closing);
    void OpenCallFrame(const ScriptToken& name, EScriptCallKind kind);
    void CloseTopFrame(const ScriptToken& closer);
    // Ends every call still open from the frame at index `from` upwards.
    void BreakFrames(size_t from, EScriptDiagnostic code, const ScriptToken& at, const char* why);
    void Compact();

    const char* m_pData;
    size_t m_nSize;
    const CScriptReader::FunctionTest& m_IsStep;
    ScriptReadResult& m_Result;
    CScriptLexer m_Lexer;

    std::vector<Frame> m_Frames;
    std::vector<OpenCall> m_OpenCalls;
    // Positions in m_Frames of the frames that read a call, bottom first.
    std::vector<size_t> m_CallFrames;
    std::vector<char> m_Dropped;
    // The call just closed outside any other call, until the next token
    // tells whether it was a function definition.
    static constexpr size_t kNone = static_cast<size_t>(-1);
    size_t m_nClosedAtTop = kNone;
    // The open calls below this depth hold a lexical error.
    size_t m_nBrokenDepth = 0;
    std::vector<ScriptLexProblem> m_Problems;
    MString m_Literal;
    MString m_Decoded;
};

void CReadPass::AddDiagnostic(EScriptDiagnostic code, bool error, unsigned int line,
                              unsigned int column, const ScriptCall* call, MString message) {
    ScriptDiagnostic d;
    d.code = code;
    d.error = error;
    d.line = line;
    d.column = column;
    if (call != nullptr) {
        d.function = call->function;
        d.callLine = call->line;
        d.callColumn = call->column;
    }
    d.message = std::move(message);
    m_Result.diagnostics.push_back(std::move(d));
}

void CReadPass::TakeLexProblems() {
    m_Problems.clear();
    m_Lexer.TakeProblems(m_Problems);
    for (const ScriptLexProblem& p : m_Problems) {
        EScriptDiagnostic code = EScriptDiagnostic::NulByte;
        const char* message = "NUL byte in the text, skipped";
        bool error = true;
        switch (p.problem) {
            case EScriptLexProblem::UnterminatedString:
                code = EScriptDiagnostic::UnterminatedString;
                message = "string literal not closed on its line";
                break;
            case EScriptLexProblem::UnterminatedCharacter:
                code = EScriptDiagnostic::UnterminatedCharacter;
                message = "character literal not closed on its line";
                break;
            case EScriptLexProblem::UnterminatedComment:
                code = EScriptDiagnostic::UnterminatedComment;
                message = "comment not closed before the end of the text";
                break;
            case EScriptLexProblem::NulByte:
                error = false;
                break;
        }
        AddDiagnostic(code, error, p.line, p.column, nullptr, message);
        // A call whose text is not valid C is not handed on. A NUL byte is
        // only skipped, and a comment left open ends the calls with the text.
        if (code == EScriptDiagnostic::UnterminatedString ||
            code == EScriptDiagnostic::UnterminatedCharacter) {
            // Every call open now is broken; marked by depth, not one by one,
            // so that deep nesting stays linear.
            m_nBrokenDepth = m_OpenCalls.size();
        }
    }
}

bool CReadPass::ClassifyCandidate(const ScriptToken& token, EScriptCallKind& kind) {
    const char* name = m_pData + token.offset;
    size_t length = token.length;
    if (length > 4 && std::memcmp(name, "web_", 4) == 0) {
        kind = EScriptCallKind::UnknownFunction;
    } else if (TextEquals(name, length, "qz_start_transaction")) {
        kind = EScriptCallKind::StartTransaction;
        return true;
    } else if (TextEquals(name, length, "qz_end_transaction")) {
        kind = EScriptCallKind::EndTransaction;
        return true;
    } else if (TextEquals(name, length, "qz_think_time")) {
        kind = EScriptCallKind::ThinkTime;
        return true;
    } else {
        kind = EScriptCallKind::Step;
    }
    if (m_IsStep && m_IsStep(MString(name, length))) {
        kind = EScriptCallKind::Step;
        return true;
    }
    return kind == EScriptCallKind::UnknownFunction;
}

void CReadPass::AddToArgument(const ScriptToken& token) {
    if (m_Frames.empty() || m_Frames.back().call < 0)
        return;
    ArgumentState& a = m_OpenCalls[m_Frames.back().call].argument;
    if (a.tokens == 0) {
        a.start = token.offset;
        a.line = token.line;
        a.column = token.column;
    }
    a.end = token.offset + token.length;
    ++a.tokens;
    if (token.kind == EScriptTokenKind::String && a.allStrings) {
        // Each literal is decoded on its own, then appended, as C does with
        // adjacent literals.
        const bool follows = a.tokens > 1 && a.lastLooksLikeAttribute;
        if (!token.escaped && !token.holdsNul && !token.unterminated) {
            // Without a backslash the decoding copies every byte (a lead byte
            // with its trail byte too): the value is the text between the
            // quotes, taken without a copy of the token.
            a.lastLooksLikeAttribute =
                LooksLikeAttribute(m_pData + token.offset + 1, token.length - 2);
            a.decoded.append(m_pData + token.offset + 1, token.length - 2);
        } else {
            CScriptLexer::GetLiteralText(m_pData, token, m_Literal);
            CWebStepScript::SetTokenValue(m_Literal.c_str(), m_Decoded);
            a.lastLooksLikeAttribute = LooksLikeAttribute(m_Decoded.data(), m_Decoded.size());
            if (a.decoded.empty())
                a.decoded.swap(m_Decoded);
            else
                a.decoded.append(m_Decoded);
        }
        if (follows && a.lastLooksLikeAttribute && a.mergedLine == 0) {
            a.mergedLine = token.line;
            a.mergedColumn = token.column;
        }
    } else {
        a.allStrings = false;
        a.lastLooksLikeAttribute = false;
        a.decoded.clear();
    }
    a.marker = a.tokens == 1 && token.kind == EScriptTokenKind::Identifier &&
               CScriptReader::IsMarker(m_pData + token.offset, token.length);
}

void CReadPass::FinishArgument(OpenCall& call, const ScriptToken& at, bool closing) {
    ScriptCall& record = m_Result.calls[call.record];
    ArgumentState& a = call.argument;
    if (a.tokens == 0) {
        if (!(closing && !call.commaSeen)) {
            AddDiagnostic(EScriptDiagnostic::EmptyArgument, true, at.line, at.column, &record,
                          "empty argument in the call of " + record.function);
            call.malformed = true;
        }
        a = ArgumentState();
        return;
    }
    ScriptArgument argument;
    argument.line = a.line;
    argument.column = a.column;
    if (a.allStrings) {
        argument.kind = EScriptArgumentKind::Literal;
        argument.value.swap(a.decoded);
        argument.mergedLine = a.mergedLine;
        argument.mergedColumn = a.mergedColumn;
    } else if (a.marker) {
        argument.kind = EScriptArgumentKind::Marker;
        argument.value.assign(m_pData + a.start, a.end - a.start);
    } else {
        argument.kind = EScriptArgumentKind::Expression;
        argument.value.assign(m_pData + a.start, a.end - a.start);
    }
    record.arguments.push_back(std::move(argument));
    a = ArgumentState();
}

void CReadPass::OpenCallFrame(const ScriptToken& name, EScriptCallKind kind) {
    ScriptCall record;
    record.kind = kind;
    record.function.assign(m_pData + name.offset, name.length);
    record.line = name.line;
    record.column = name.column;
    record.offset = name.offset;
    m_Result.calls.push_back(std::move(record));
    m_Dropped.push_back(0);
    OpenCall call;
    call.record = m_Result.calls.size() - 1;
    m_OpenCalls.push_back(std::move(call));
    m_CallFrames.push_back(m_Frames.size());
    m_Frames.push_back({'(', static_cast<long>(m_OpenCalls.size() - 1)});
}

void CReadPass::CloseTopFrame(const ScriptToken& closer) {
    Frame top = m_Frames.back();
    if (top.call >= 0) {
        OpenCall& call = m_OpenCalls[top.call];
        FinishArgument(call, closer, true);
        if (call.malformed || static_cast<size_t>(top.call) < m_nBrokenDepth) {
            const ScriptCall& record = m_Result.calls[call.record];
            AddDiagnostic(EScriptDiagnostic::MalformedCall, true, record.line, record.column,
                          &record, "call of " + record.function + " not read: its text is broken");
            m_Dropped[call.record] = 1;
        }
        size_t record = call.record;
        m_OpenCalls.pop_back();
        m_CallFrames.pop_back();
        m_nBrokenDepth = std::min(m_nBrokenDepth, m_OpenCalls.size());
        if (m_CallFrames.empty() && !m_Dropped[record])
            m_nClosedAtTop = record;
    }
    m_Frames.pop_back();
}

void CReadPass::BreakFrames(size_t from, EScriptDiagnostic code, const ScriptToken& at,
                            const char* why) {
    while (m_Frames.size() > from) {
        Frame top = m_Frames.back();
        if (top.call >= 0) {
            OpenCall& call = m_OpenCalls[top.call];
            const ScriptCall& record = m_Result.calls[call.record];
            AddDiagnostic(code, true, at.line, at.column, &record,
                          "call of " + record.function + " at line " + std::to_string(record.line) +
                              " not closed " + why);
            m_Dropped[call.record] = 1;
            m_OpenCalls.pop_back();
            m_CallFrames.pop_back();
            m_nBrokenDepth = std::min(m_nBrokenDepth, m_OpenCalls.size());
        }
        m_Frames.pop_back();
    }
}

void CReadPass::Compact() {
    size_t kept = 0;
    for (size_t i = 0; i < m_Result.calls.size(); ++i) {
        if (m_Dropped[i])
            continue;
        if (kept != i)
            m_Result.calls[kept] = std::move(m_Result.calls[i]);
        ++kept;
    }
    m_Result.calls.resize(kept);
}

// Whether a call whose name follows this token has its value used: after an
// operator, "(" (a condition or an argument), "," or "return". After ";",
// "{", "}", ")" (a cast to void, an if condition), ":" (a label or case), or
// at the start, the value is dropped.
bool IsValueUse(const char* data, const ScriptToken& previous) {
    if (previous.kind == EScriptTokenKind::Punctuator) {
        const char c = previous.punctuator;
        return !(c == ';' || c == '{' || c == '}' || c == ')' || c == ':');
    }
    return previous.kind == EScriptTokenKind::Identifier &&
           TextEquals(data + previous.offset, previous.length, "return");
}

void CReadPass::Run() {
    ScriptToken token;
    // The last token, for telling calls from declarations and member uses.
    ScriptToken previous;
    // A name that opens a call when "(" follows.
    bool candidate = false;
    EScriptCallKind candidateKind = EScriptCallKind::Step;
    ScriptToken candidateToken;
    bool candidateValueUsed = false;
    for (;;) {
        m_Lexer.Next(token);
        if (m_Lexer.HasProblems())
            TakeLexProblems();
        if (token.kind == EScriptTokenKind::End) {
            if (!m_CallFrames.empty())
                BreakFrames(m_CallFrames.front(), EScriptDiagnostic::CallCutOff, token,
                            "before the end of the text");
            break;
        }
        if (m_nClosedAtTop != kNone) {
            // A name, its parameter list and then "{" define a function.
            if (token.kind == EScriptTokenKind::Punctuator && token.punctuator == '{')
                m_Dropped[m_nClosedAtTop] = 1;
            m_nClosedAtTop = kNone;
        }
        bool opensCall =
            candidate && token.kind == EScriptTokenKind::Punctuator && token.punctuator == '(';
        candidate = false;
        if (token.kind == EScriptTokenKind::Punctuator) {
            char c = token.punctuator;
            if (c == '(' || c == '[') {
                AddToArgument(token);
                if (opensCall) {
                    OpenCallFrame(candidateToken, candidateKind);
                    m_Result.calls.back().returnValueUsed = candidateValueUsed;
                } else
                    m_Frames.push_back({c, -1});
            } else if (c == ')' || c == ']') {
                char open = c == ')' ? '(' : '[';
                if (m_Frames.empty() || m_Frames.back().open != open) {
                    AddDiagnostic(EScriptDiagnostic::UnbalancedParenthesis, false, token.line,
                                  token.column, nullptr,
                                  MString("'") + c + "' without a matching '" + open + "'");
                } else {
                    CloseTopFrame(token);
                    AddToArgument(token);
                }
            } else if (c == ',') {
                if (!m_Frames.empty() && m_Frames.back().call >= 0) {
                    OpenCall& call = m_OpenCalls[m_Frames.back().call];
                    FinishArgument(call, token, false);
                    call.commaSeen = true;
                } else {
                    AddToArgument(token);
                }
            } else if (c == ';') {
                // Ends a statement: no call can still be open. Parentheses of
                // other kinds stay (a for header holds semicolons).
                if (!m_CallFrames.empty())
                    BreakFrames(m_CallFrames.front(), EScriptDiagnostic::CallNotClosed, token,
                                "before ';'");
            } else if (c == '{' || c == '}') {
                BreakFrames(0, EScriptDiagnostic::CallNotClosed, token,
                            c == '{' ? "before '{'" : "before '}'");
            } else {
                AddToArgument(token);
            }
        } else {
            AddToArgument(token);
            if (token.kind == EScriptTokenKind::Identifier) {
                bool allowed = true;
                if (previous.kind == EScriptTokenKind::Punctuator) {
                    allowed = !(previous.punctuator == '.' ||
                                (previous.punctuator == '>' && previous.length == 2));
                } else if (previous.kind == EScriptTokenKind::Identifier &&
                           previous.line == token.line && m_CallFrames.empty()) {
                    // "int web_url(" declares. Inside an argument list, or
                    // after a name on an earlier line, an identifier before the
                    // name is a missing comma or parenthesis, and the call is
                    // read.
                    allowed = IsStatementKeyword(m_pData + previous.offset, previous.length);
                }
                if (allowed && ClassifyCandidate(token, candidateKind)) {
                    candidate = true;
                    candidateToken = token;
                    candidateValueUsed = IsValueUse(m_pData, previous);
                }
            }
        }
        previous = token;
    }
    Compact();
}

}  // namespace

std::list<MString> ScriptCall::GetArgumentList() const {
    std::list<MString> list;
    for (const ScriptArgument& argument : arguments)
        list.push_back(argument.value);
    return list;
}

bool ScriptCall::HasOpaqueArguments() const {
    for (const ScriptArgument& argument : arguments) {
        if (argument.IsOpaque())
            return true;
    }
    return false;
}

size_t ScriptReadResult::GetErrorCount() const {
    size_t count = 0;
    for (const ScriptDiagnostic& d : diagnostics)
        count += d.error ? 1 : 0;
    return count;
}

size_t ScriptReadResult::GetWarningCount() const {
    return diagnostics.size() - GetErrorCount();
}

void ScriptReadResult::Clear() {
    calls.clear();
    diagnostics.clear();
    hasByteOrderMark = false;
    byteCount = 0;
    lineCount = 0;
}

CScriptReader::CScriptReader() : m_IsStepFunction(&CScriptReader::IsRegisteredStepFunction) {}

CScriptReader::CScriptReader(FunctionTest isStepFunction)
    : m_IsStepFunction(std::move(isStepFunction)) {}

bool CScriptReader::Read(const char* data, size_t size, ScriptReadResult& result) const {
    result.Clear();
    if (data == nullptr)
        size = 0;
    result.byteCount = size;
    CReadPass pass(data == nullptr ? "" : data, size, m_IsStepFunction, result);
    pass.Run();
    size_t bom = 0;
    if (size >= 3 && std::memcmp(data, "\xEF\xBB\xBF", 3) == 0) {
        result.hasByteOrderMark = true;
        bom = 3;
    }
    // Lines: a text ending in a line end has no empty line after it.
    unsigned int lines = 0;
    if (size > bom) {
        lines = pass.GetLineCount();
        if (data[size - 1] == '\n' || data[size - 1] == '\r')
            --lines;
    }
    result.lineCount = lines;
    return true;
}

bool CScriptReader::Read(const MString& text, ScriptReadResult& result) const {
    return Read(text.data(), text.size(), result);
}

bool CScriptReader::ReadFile(const char* path, ScriptReadResult& result) const {
    result.Clear();
    std::FILE* file = path == nullptr ? nullptr : std::fopen(path, "rb");
    MString text;
    bool ok = file != nullptr;
    if (ok) {
        char buffer[65536];
        size_t n = 0;
        while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0)
            text.append(buffer, n);
        ok = std::ferror(file) == 0;
        std::fclose(file);
    }
    if (!ok) {
        ScriptDiagnostic d;
        d.code = EScriptDiagnostic::ReadFailed;
        d.error = true;
        d.message = MString("cannot read ") + (path == nullptr ? "(no file)" : path);
        result.diagnostics.push_back(std::move(d));
        return false;
    }
    return Read(text, result);
}

bool CScriptReader::IsRegisteredStepFunction(const MString& name) {
    // Looked up for every identifier of a text: a hash set, not a scan.
    static const std::unordered_set<std::string_view> names(std::begin(kStepFunctions),
                                                            std::end(kStepFunctions));
    return names.count(std::string_view(name)) != 0;
}

std::vector<MString> CScriptReader::GetStepFunctionNames() {
    return std::vector<MString>(std::begin(kStepFunctions), std::end(kStepFunctions));
}

bool CScriptReader::IsMarker(const char* text, size_t length) {
    if (text == nullptr)
        return false;
    const char* const markers[] = {
        CWebStepScript::KeyWord_LastItem,
        CWebStepScript::KeyWord_EndItem,
        CWebStepScript::KeyWord_ItemData,
        CWebStepScript::KeyWord_StartRes,
        CWebStepScript::KeyWord_StartHiddens,
        CWebStepScript::KeyWord_EndHiddens,
        CWebStepScript::KeyWord_CustomReq_RawBodyStart,
    };
    for (const char* marker : markers) {
        if (TextEquals(text, length, marker))
            return true;
    }
    return false;
}

const char* CScriptReader::GetCallKindName(EScriptCallKind kind) {
    switch (kind) {
        case EScriptCallKind::Step:
            return "step";
        case EScriptCallKind::UnknownFunction:
            return "unknown";
        case EScriptCallKind::StartTransaction:
            return "start_transaction";
        case EScriptCallKind::EndTransaction:
            return "end_transaction";
        case EScriptCallKind::ThinkTime:
            return "think_time";
    }
    return "";
}

const char* CScriptReader::GetArgumentKindName(EScriptArgumentKind kind) {
    switch (kind) {
        case EScriptArgumentKind::Literal:
            return "literal";
        case EScriptArgumentKind::Marker:
            return "marker";
        case EScriptArgumentKind::Expression:
            return "expression";
    }
    return "";
}

const char* CScriptReader::GetDiagnosticName(EScriptDiagnostic code) {
    switch (code) {
        case EScriptDiagnostic::UnterminatedString:
            return "unterminated-string";
        case EScriptDiagnostic::UnterminatedCharacter:
            return "unterminated-character";
        case EScriptDiagnostic::UnterminatedComment:
            return "unterminated-comment";
        case EScriptDiagnostic::NulByte:
            return "nul-byte";
        case EScriptDiagnostic::CallNotClosed:
            return "call-not-closed";
        case EScriptDiagnostic::CallCutOff:
            return "call-cut-off";
        case EScriptDiagnostic::EmptyArgument:
            return "empty-argument";
        case EScriptDiagnostic::MalformedCall:
            return "malformed-call";
        case EScriptDiagnostic::UnbalancedParenthesis:
            return "unbalanced-parenthesis";
        case EScriptDiagnostic::ReadFailed:
            return "read-failed";
    }
    return "";
}
