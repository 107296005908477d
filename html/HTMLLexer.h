#pragma once
// The token engine of the SGML/HTML lexer: a table-driven scanner with start
// conditions that cuts the bytes of a page, fed in pieces of any size, into
// typed tokens and hands them in batches to three sinks (tag/data, auxiliary
// markup, errors and limitations). A token may be split anywhere between two
// pieces; the engine keeps the unfinished bytes and scans them again when the
// next piece arrives. Long runs (text, comment text, quoted values, skipped
// sections, bytes of a JIS sequence) are consumed as they come, so that a long
// run fed in small pieces costs linear time.
//
// One engine has no global state: two engines may run in two threads.
#include <cstdio>
#include "webstep/foundation/Export.h"

/// Token kinds; the numbers are the interface between the engine and its sinks.
enum HTMLTokenKind : int {
    HTML_TOKEN_NONE = 0,
    HTML_TOKEN_DATA = 1,
    HTML_TOKEN_START_TAG = 2,
    HTML_TOKEN_END_TAG = 3,
    HTML_TOKEN_TAG_CLOSE = 4,
    HTML_TOKEN_ATTR_NAME = 5,
    HTML_TOKEN_NAME = 6,
    HTML_TOKEN_NUMBER = 7,
    HTML_TOKEN_NAME_TOKEN = 8,
    HTML_TOKEN_LITERAL = 9,
    HTML_TOKEN_ENTITY = 10,
    HTML_TOKEN_CHARREF = 11,
    HTML_TOKEN_REFC = 12,
    HTML_TOKEN_PROCESSING_INSTRUCTION = 13,
    HTML_TOKEN_MARKUP_DECL = 14,
    HTML_TOKEN_COMMENT = 15,
    HTML_TOKEN_LIMITATION = 16,
    HTML_TOKEN_ERROR = 17,
    HTML_TOKEN_WARNING = 18,
    HTML_TOKEN_UNTERMINATED_COMMENT = 19,
    HTML_TOKEN_MB_START = 20,
    HTML_TOKEN_MB_BYTES = 21,
    HTML_TOKEN_MB_END = 22,
    HTML_TOKEN_UNTERMINATED_MB = 23,
};

/// The three receivers of token batches.
enum HTMLTokenSinkId : int {
    HTML_SINK_TAG_DATA = 0,
    HTML_SINK_AUX_MARKUP = 1,
    HTML_SINK_ERR_LIM = 2,
};

/// Start conditions of the engine, as reported by CHTMLLexer::condition().
enum HTMLLexerCondition : int {
    HTML_COND_TEXT = 0,
    HTML_COND_START_TAG = 1,
    HTML_COND_ATTR_VALUE = 2,
    HTML_COND_END_TAG = 3,
    HTML_COND_DECLARATION = 4,
    HTML_COND_COMMENT = 5,
    HTML_COND_SKIP = 6,
    HTML_COND_MB_1 = 7,
    HTML_COND_MB_2 = 8,
    /// A quoted value being collected (inside a tag or a declaration).
    HTML_COND_QUOTED = 9,
};

/// One batch of tokens. The texts are not NUL-terminated; they stay valid
/// only during the sink call.
struct WEBSTEP_API CHTMLTokenBatch {
    int count;
    const int* kinds;
    const char* const* texts;
    const unsigned* lengths;
    int line;  // the engine's line counter when the batch was handed over
};

/// Receives the lexer's token batches; the lexer does not own its sink.
class WEBSTEP_API CHTMLTokenSink {
public:
    virtual ~CHTMLTokenSink();
    virtual void onTokens(HTMLTokenSinkId sink, const CHTMLTokenBatch& batch) = 0;
};

/// The token engine: cuts a page fed in pieces of any size into typed tokens
/// and hands them in batches to its sink (not owned). Never fails on bad
/// input: errors and limitations are tokens of their own. Not copyable; one
/// engine per thread.
class WEBSTEP_API CHTMLLexer {
public:
    explicit CHTMLLexer(CHTMLTokenSink* sink = nullptr, bool normalize = true);
    CHTMLLexer(const CHTMLLexer&) = delete;
    CHTMLLexer& operator=(const CHTMLLexer&) = delete;
    ~CHTMLLexer();

    void setSink(CHTMLTokenSink* sink);
    /// Normalisation drops trailing white space from markup tokens and lowers
    /// the names of tags, attributes and declarations.
    void setNormalize(bool on);
    bool normalize() const;
    /// Prints every batch to the stream (standard output when null) in the
    /// diagnostic format; false switches the dump off.
    void setDump(bool on, std::FILE* out = nullptr);

    /// Scans a piece. A length of 0 ends the input: unfinished tokens are
    /// closed and the end-of-input rules of the current condition run. Ending
    /// twice without input in between does nothing the second time.
    void feed(const char* data, unsigned length);
    /// Back to normal text, dropping any unfinished token and pending batch.
    void reset();

    int line() const;
    HTMLLexerCondition condition() const;

    /// The printed name of a token kind ("Data", "Start Tag", ...).
    static const char* TokenName(int kind);
    /// "Tag/Data", "Aux Markup" or "Err/Lim".
    static const char* SinkLabel(HTMLTokenSinkId sink);
    /// Writes a batch in the diagnostic format.
    static void DumpBatch(std::FILE* out, HTMLTokenSinkId sink, const CHTMLTokenBatch& batch);

    struct Impl;

private:
    Impl* m_impl;
};
