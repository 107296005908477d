#pragma once
// The HTML lexer as its clients see it: feeds a page in pieces to the token
// engine, assembles start tags with their attributes, decodes entity and
// character references, collects text and comments, treats the content of
// script, noframes and noscript as comment text, converts ISO-2022-JP
// sequences to the process code page and calls the registered callbacks.
#include <array>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/TextBuffer.h"
#include "webstep/html/HTMLAttr.h"
#include "webstep/html/HTMLTag.h"

class CHTMLLexer;
class CHTMLTokenSink;
struct CHTMLTokenBatch;

/// Receives the start and end tags of a page from CHTMLBaseParser. The parser
/// does not own its callbacks; they must outlive the parse.
class WEBSTEP_API TagCallback {
public:
    virtual ~TagCallback();
    /// attrs is the parser's own list, emptied at the next start tag; a
    /// callback that keeps it may take the pointer and replace it.
    virtual void onStartTag(HTMLTag tag, CHTMLAttrs*& attrs) = 0;
    virtual void onEndTag(HTMLTag tag) = 0;
};

/// Receives the text between tags from CHTMLBaseParser (not owned by it).
class WEBSTEP_API TextCallback {
public:
    virtual ~TextCallback();
    virtual void onText(const char* text, unsigned length) = 0;
};

/// Receives comment text, and the content of script, noframes and noscript,
/// from CHTMLBaseParser (not owned by it).
class WEBSTEP_API CommentCallback {
public:
    virtual ~CommentCallback();
    virtual void onComment(const char* text, unsigned length) = 0;
};

/// One record of the entity table: a NUL-padded name and its ISO 8859-1 code.
struct WEBSTEP_API HTMLEntityRecord {
    char name[20];
    unsigned char value;
};

/// The HTML lexer as its clients see it: a page fed in pieces comes out as
/// start tags with decoded attributes, text and comments through the
/// registered callbacks (which it does not own). Malformed HTML never fails
/// the parse; what the lexer met is reported through its warning callback
/// only. Not copyable; one parser is used by one thread at a time.
class WEBSTEP_API CHTMLBaseParser {
public:
    /// Slots of the tag hash; a hash at or above this bound is unknown.
    static constexpr int kTagMapSize = 1095;
    static constexpr int kEntityCount = 100;

    CHTMLBaseParser();
    CHTMLBaseParser(const CHTMLBaseParser&) = delete;
    CHTMLBaseParser& operator=(const CHTMLBaseParser&) = delete;
    virtual ~CHTMLBaseParser();

    /// HTML_ALL_TAGS sets the callback of every known tag.
    void registerTagCallback(HTMLTag tag, TagCallback* cb);
    void registerTextCallback(TextCallback* cb);
    void registerCommentCallback(CommentCallback* cb);

    /// Hands back a list that a tag callback took from the parser (setting
    /// its pointer to null) and no longer needs: the parser owns it again and
    /// the next start tag reuses it and its attributes instead of making a new
    /// list. A list handed back earlier and not yet reused is deleted.
    void recycleAttrs(CHTMLAttrs* list);

    /// Also returns the engine to normal text, so that a parser can be reused.
    void startParse();
    /// A length of 0 ends the input.
    void continueParse(const char* data, unsigned length);
    /// Closes what is still open and delivers the rest; a comment that was
    /// never closed ends at its first greater-than sign and the rest of the
    /// page is scanned again as ordinary input.
    void stopParse();

    void SetUnterminatedComment(bool on) { m_unterminatedComment = on; }

    /// The token engine, for the diagnostic dump.
    CHTMLLexer& lexer() { return *m_lexer; }

    /// The lower-case name of a known tag; null otherwise.
    static const char* TagToString(HTMLTag tag);
    /// The perfect hash over at most the first six bytes of a name; negative
    /// hashes are possible for names with bytes below the digit zero.
    static int TagHash(const char* name, unsigned length);
    /// The tag of an already lower-cased name; HTML_UNKNOWN_TAG when none.
    static HTMLTag LookupTag(const char* name, unsigned length);
    /// An entity name (without the ampersand) or "#" and a decimal or "#x"
    /// and a hexadecimal number up to 255.
    static bool LookupEntity(const char* name, unsigned length, char& out);
    /// text starts at an ampersand; succeeds when a semicolon ends the
    /// reference and its name is known; consumed then covers the semicolon.
    static bool translateEntityRef(const char* text, char& out, unsigned& consumed);
    /// Drops line breaks after the first break or reference, decodes the
    /// references and removes a leading and a trailing quote.
    static void processAttrValue(char* value);

    static const std::array<unsigned char, kTagMapSize> theTagMap;
    static const HTMLEntityRecord theEntityMap[kEntityCount];

private:
    class Sink;
    friend class Sink;

    void onTagData(const CHTMLTokenBatch& batch);
    void onAuxMarkup(const CHTMLTokenBatch& batch);
    void onErrLim(const CHTMLTokenBatch& batch);
    void onGeneralEntityRef(const char* text, unsigned length, bool semicolonFollows);
    void onNumCharRef(const char* text, unsigned length, bool semicolonFollows);
    void appendText(const char* text, unsigned length);
    void addPendingName();
    void addValue(const char* text, unsigned length);
    /// Adds an attribute to the current list, reusing a spare one.
    void addAttr(const char* name, unsigned nameLength, const char* value, unsigned valueLength);
    /// Empties the current list into the spares.
    void clearAttrs();
    void pushStartTag();
    void pushText();
    void pushComment();
    void endComment();
    void endMultiByte();
    void OnUnterminatedComment();
    bool wantsText() const { return m_textCallback != nullptr && !m_inComment; }

    CHTMLLexer* m_lexer;
    Sink* m_sink;
    TagCallback** m_tagCallbacks;
    TagCallback* m_currentCallback;
    TextCallback* m_textCallback;
    CommentCallback* m_commentCallback;
    bool m_inStartTag;
    HTMLTag m_currentTag;
    bool m_wanted;
    /// The name read last, waiting for its value (cut at a NUL byte).
    std::string m_pendingName;
    bool m_hasPendingName;
    CHTMLAttrs* m_attrs;
    /// A list a callback took and handed back (see recycleAttrs); null when none.
    CHTMLAttrs* m_recycledAttrs;
    /// Attributes of earlier tags kept for reuse, so that an attribute does
    /// not cost allocations for its object, name and value at every tag.
    CHTMLAttrs* m_spareAttrs;
    CTextBuffer* m_text;
    bool m_inComment;
    CTextBuffer* m_comment;
    bool m_unterminatedComment;
    bool m_inMultiByte;
    CTextBuffer* m_multiByte;
    /// Inside script, noframes or noscript: a markup comment that ends there
    /// does not end the comment mode of the tag.
    bool m_inCommentTag;
};
