#include "webstep/html/HTMLBaseParser.h"

#include <cstdlib>
#include <cstring>
#include <string>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "webstep/html/HTMLLexer.h"
#include "webstep/platform/CharacterServices.h"

namespace {

constexpr const char* kTagNames[HTML_KNOWN_TAG_COUNT] = {
    "a",         "address",  "applet",     "area",    "b",        "banner",  "base",     "basefont",
    "big",       "blink",    "blockquote", "body",    "br",       "caption", "center",   "cite",
    "code",      "dd",       "dfn",        "dir",     "div",      "dl",      "dt",       "em",
    "embed",     "fig",      "fn",         "font",    "form",     "frame",   "frameset", "h1",
    "h2",        "h3",       "h4",         "h5",      "h6",       "head",    "hr",       "html",
    "i",         "iframe",   "ilayer",     "image",   "img",      "input",   "isindex",  "kbd",
    "layer",     "li",       "link",       "listing", "map",      "menu",    "meta",     "nextid",
    "nobr",      "noframes", "noscript",   "note",    "ol",       "option",  "p",        "param",
    "plaintext", "pre",      "samp",       "script",  "select",   "small",   "style",    "strong",
    "sub",       "sup",      "table",      "td",      "textarea", "th",      "title",    "tr",
    "tt",        "u",        "ul",         "var",     "wbr",      "xmp"};

constexpr int kTagHashBytes = 6;

constexpr std::array<unsigned char, HTML_KNOWN_TAG_COUNT> BuildTagLengths() {
    std::array<unsigned char, HTML_KNOWN_TAG_COUNT> lengths{};
    for (int i = 0; i < HTML_KNOWN_TAG_COUNT; ++i) {
        unsigned n = 0;
        while (kTagNames[i][n] != '\0') {
            ++n;
        }
        lengths[i] = static_cast<unsigned char>(n);
    }
    return lengths;
}

// The lengths of the known names, so that a lookup compares without strlen.
constexpr std::array<unsigned char, HTML_KNOWN_TAG_COUNT> kTagLengths = BuildTagLengths();
constexpr int kTagHashWeights[kTagHashBytes] = {1, 5, 2, 5, 3, 1};
// Entity names of this many bytes or more are never looked up.
constexpr unsigned kMaxEntityName = 80;
// Bytes of the attribute value buffer kept between values.
constexpr std::size_t kMaxKeptScratch = 64 * 1024;
// Spare attributes kept between tags.
constexpr int kMaxSpareAttrs = 256;

constexpr int HashOf(const char* name, unsigned length) {
    int h = 0;
    for (int i = 0; i < kTagHashBytes; ++i) {
        const int c = static_cast<unsigned>(i) < length
                          ? static_cast<int>(static_cast<unsigned char>(name[i])) - '0'
                          : 0;
        h += kTagHashWeights[i] * c;
    }
    return h;
}

constexpr unsigned ConstLength(const char* s) {
    unsigned n = 0;
    while (s[n] != '\0') {
        ++n;
    }
    return n;
}

constexpr std::array<unsigned char, CHTMLBaseParser::kTagMapSize> BuildTagMap() {
    std::array<unsigned char, CHTMLBaseParser::kTagMapSize> map{};
    for (int i = 0; i < HTML_KNOWN_TAG_COUNT; ++i) {
        const int h = HashOf(kTagNames[i], ConstLength(kTagNames[i]));
        // A name hashing to the bound or beyond has no slot ("strong").
        if (h >= 0 && h < CHTMLBaseParser::kTagMapSize) {
            map[h] = static_cast<unsigned char>(HTML_FIRST_KNOWN_TAG + i);
        }
    }
    return map;
}

bool IsCommentModeTag(HTMLTag tag) {
    return tag == HTML_SCRIPT || tag == HTML_NOFRAMES || tag == HTML_NOSCRIPT;
}

// Bytes of the character at s (at least 1), n bytes readable.
std::size_t CharLength(const char* s, std::size_t n) {
    if (static_cast<unsigned char>(*s) < 0x80) {
        return 1;
    }
    const std::size_t len = webstep::platform::os_char_len(s, n);
    return len == 0 ? 1 : (len > n ? n : len);
}

// Parses digits in the given base; false when there are none, or anything
// else is met. Saturates instead of overflowing.
bool ParseNumber(const char* s, unsigned n, int base, unsigned long& value) {
    if (n == 0) {
        return false;
    }
    value = 0;
    for (unsigned i = 0; i < n; ++i) {
        const char c = s[i];
        int digit;
        if (c >= '0' && c <= '9') {
            digit = c - '0';
        } else if (base == 16 && c >= 'a' && c <= 'f') {
            digit = c - 'a' + 10;
        } else if (base == 16 && c >= 'A' && c <= 'F') {
            digit = c - 'A' + 10;
        } else {
            return false;
        }
        if (value < 0x10000000UL) {
            value = value * static_cast<unsigned long>(base) + static_cast<unsigned long>(digit);
        }
    }
    return true;
}

// "#123" or "#x7B" (the text after the ampersand).
bool ParseNumericName(const char* name, unsigned length, unsigned long& value) {
    if (length < 2 || name[0] != '#') {
        return false;
    }
    if (name[1] == 'x' || name[1] == 'X') {
        return ParseNumber(name + 2, length - 2, 16, value);
    }
    return ParseNumber(name + 1, length - 1, 10, value);
}

// The first line break, ampersand or NUL byte of a value, or n. No lead or
// trail byte of a multi-byte character of the supported code pages is one of
// these bytes, so a byte search finds what a walk by characters would.
std::size_t StopOfValue(const char* s, std::size_t n) {
    std::size_t i = 0;
#if defined(__SSE2__)
    const __m128i lf = _mm_set1_epi8('\n');
    const __m128i cr = _mm_set1_epi8('\r');
    const __m128i amp = _mm_set1_epi8('&');
    const __m128i nul = _mm_setzero_si128();
    for (; i + 16 <= n; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
        const __m128i hit =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, lf), _mm_cmpeq_epi8(v, cr)),
                         _mm_or_si128(_mm_cmpeq_epi8(v, amp), _mm_cmpeq_epi8(v, nul)));
        const int mask = _mm_movemask_epi8(hit);
        if (mask != 0) {
            return i + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
        }
    }
#endif
    for (; i < n; ++i) {
        const char c = s[i];
        if (c == '\n' || c == '\r' || c == '&' || c == '\0') {
            return i;
        }
    }
    return n;
}

}  // namespace

// Sorted by byte order of the names (upper-case initials first) so that a
// binary search with an exact comparison finds every one of them.
const HTMLEntityRecord CHTMLBaseParser::theEntityMap[kEntityCount] = {
    {"AElig", 0xC6},  {"Aacute", 0xC1}, {"Acirc", 0xC2},  {"Agrave", 0xC0}, {"Aring", 0xC5},
    {"Atilde", 0xC3}, {"Auml", 0xC4},   {"Ccedil", 0xC7}, {"ETH", 0xD0},    {"Eacute", 0xC9},
    {"Ecirc", 0xCA},  {"Egrave", 0xC8}, {"Euml", 0xCB},   {"Iacute", 0xCD}, {"Icirc", 0xCE},
    {"Igrave", 0xCC}, {"Iuml", 0xCF},   {"Ntilde", 0xD1}, {"Oacute", 0xD3}, {"Ocirc", 0xD4},
    {"Ograve", 0xD2}, {"Oslash", 0xD8}, {"Otilde", 0xD5}, {"Ouml", 0xD6},   {"THORN", 0xDE},
    {"Uacute", 0xDA}, {"Ucirc", 0xDB},  {"Ugrave", 0xD9}, {"Uuml", 0xDC},   {"Yacute", 0xDD},
    {"aacute", 0xE1}, {"acirc", 0xE2},  {"acute", 0xB4},  {"aelig", 0xE6},  {"agrave", 0xE0},
    {"amp", 0x26},    {"aring", 0xE5},  {"atilde", 0xE3}, {"auml", 0xE4},   {"brvbar", 0xA6},
    {"ccedil", 0xE7}, {"cedil", 0xB8},  {"cent", 0xA2},   {"copy", 0xA9},   {"curren", 0xA4},
    {"deg", 0xB0},    {"divide", 0xF7}, {"eacute", 0xE9}, {"ecirc", 0xEA},  {"egrave", 0xE8},
    {"eth", 0xF0},    {"euml", 0xEB},   {"frac12", 0xBD}, {"frac14", 0xBC}, {"frac34", 0xBE},
    {"gt", 0x3E},     {"iacute", 0xED}, {"icirc", 0xEE},  {"iexcl", 0xA1},  {"igrave", 0xEC},
    {"iquest", 0xBF}, {"iuml", 0xEF},   {"laquo", 0xAB},  {"lt", 0x3C},     {"macr", 0xAF},
    {"micro", 0xB5},  {"middot", 0xB7}, {"nbsp", 0xA0},   {"not", 0xAC},    {"ntilde", 0xF1},
    {"oacute", 0xF3}, {"ocirc", 0xF4},  {"ograve", 0xF2}, {"ordf", 0xAA},   {"ordm", 0xBA},
    {"oslash", 0xF8}, {"otilde", 0xF5}, {"ouml", 0xF6},   {"para", 0xB6},   {"plusmn", 0xB1},
    {"pound", 0xA3},  {"quot", 0x22},   {"raquo", 0xBB},  {"reg", 0xAE},    {"sect", 0xA7},
    {"shy", 0xAD},    {"sup1", 0xB9},   {"sup2", 0xB2},   {"sup3", 0xB3},   {"szlig", 0xDF},
    {"thorn", 0xFE},  {"times", 0xD7},  {"uacute", 0xFA}, {"ucirc", 0xFB},  {"ugrave", 0xF9},
    {"uml", 0xA8},    {"uuml", 0xFC},   {"yacute", 0xFD}, {"yen", 0xA5},    {"yuml", 0xFF},
};

const std::array<unsigned char, CHTMLBaseParser::kTagMapSize> CHTMLBaseParser::theTagMap =
    BuildTagMap();

TagCallback::~TagCallback() = default;
TextCallback::~TextCallback() = default;
CommentCallback::~CommentCallback() = default;

class CHTMLBaseParser::Sink : public CHTMLTokenSink {
public:
    explicit Sink(CHTMLBaseParser* owner) : m_owner(owner) {}
    void onTokens(HTMLTokenSinkId sink, const CHTMLTokenBatch& batch) override {
        switch (sink) {
            case HTML_SINK_TAG_DATA:
                m_owner->onTagData(batch);
                break;
            case HTML_SINK_AUX_MARKUP:
                m_owner->onAuxMarkup(batch);
                break;
            case HTML_SINK_ERR_LIM:
                m_owner->onErrLim(batch);
                break;
        }
    }

private:
    CHTMLBaseParser* m_owner;
};

CHTMLBaseParser::CHTMLBaseParser()
    : m_lexer(new CHTMLLexer(nullptr, true)),
      m_sink(new Sink(this)),
      m_tagCallbacks(new TagCallback*[HTML_KNOWN_TAG_COUNT]()),
      m_currentCallback(nullptr),
      m_textCallback(nullptr),
      m_commentCallback(nullptr),
      m_inStartTag(false),
      m_currentTag(HTML_UNKNOWN_TAG),
      m_wanted(false),
      m_hasPendingName(false),
      m_attrs(nullptr),
      m_recycledAttrs(nullptr),
      m_spareAttrs(new CHTMLAttrs()),
      m_text(new CTextBuffer()),
      m_inComment(false),
      m_comment(new CTextBuffer()),
      m_unterminatedComment(false),
      m_inMultiByte(false),
      m_multiByte(new CTextBuffer()),
      m_inCommentTag(false) {
    m_lexer->setSink(m_sink);
}

CHTMLBaseParser::~CHTMLBaseParser() {
    delete m_lexer;
    delete m_sink;
    delete[] m_tagCallbacks;
    delete m_attrs;
    delete m_recycledAttrs;
    delete m_spareAttrs;
    delete m_text;
    delete m_comment;
    delete m_multiByte;
}

void CHTMLBaseParser::registerTagCallback(HTMLTag tag, TagCallback* cb) {
    if (tag == HTML_ALL_TAGS) {
        for (int i = 0; i < HTML_KNOWN_TAG_COUNT; ++i) {
            m_tagCallbacks[i] = cb;
        }
    } else if (tag >= HTML_FIRST_KNOWN_TAG && tag <= HTML_LAST_TAG) {
        m_tagCallbacks[tag - HTML_FIRST_KNOWN_TAG] = cb;
    }
}

void CHTMLBaseParser::recycleAttrs(CHTMLAttrs* list) {
    if (list == nullptr || list == m_attrs || list == m_recycledAttrs) {
        return;
    }
    delete m_recycledAttrs;
    m_recycledAttrs = list;
}

void CHTMLBaseParser::registerTextCallback(TextCallback* cb) {
    m_textCallback = cb;
}

void CHTMLBaseParser::registerCommentCallback(CommentCallback* cb) {
    m_commentCallback = cb;
}

void CHTMLBaseParser::startParse() {
    m_lexer->reset();
    m_inStartTag = false;
    m_currentTag = HTML_UNKNOWN_TAG;
    m_wanted = false;
    m_currentCallback = nullptr;
    m_inComment = false;
    m_inCommentTag = false;
    m_unterminatedComment = false;
    m_inMultiByte = false;
    m_hasPendingName = false;
    m_text->clean();
    m_comment->clean();
    m_multiByte->clean();
}

void CHTMLBaseParser::continueParse(const char* data, unsigned length) {
    m_lexer->feed(data, length);
}

void CHTMLBaseParser::stopParse() {
    // The closing feed ends every token that still waits for input; a
    // comment left open is cut at its first greater-than sign and what
    // follows is scanned again, as often as that happens.
    for (;;) {
        m_lexer->feed(nullptr, 0);
        if (!m_unterminatedComment) {
            break;
        }
        OnUnterminatedComment();
    }
    m_lexer->feed(nullptr, 0);
    if (m_inStartTag) {
        pushStartTag();
    } else if (m_inComment) {
        pushComment();
    }
    pushText();
}

void CHTMLBaseParser::OnUnterminatedComment() {
    const int at = m_comment->find('>');
    const int size = m_comment->size();
    if (at < 0 || at == size - 1) {
        m_unterminatedComment = false;
        endComment();
        return;
    }
    const std::string rest(m_comment->buffer() + at + 1);
    m_comment->truncate(at + 1);
    endComment();
    m_unterminatedComment = false;
    continueParse(rest.data(), static_cast<unsigned>(rest.size()));
}

const char* CHTMLBaseParser::TagToString(HTMLTag tag) {
    if (tag < HTML_FIRST_KNOWN_TAG || tag > HTML_LAST_TAG) {
        return nullptr;
    }
    return kTagNames[tag - HTML_FIRST_KNOWN_TAG];
}

int CHTMLBaseParser::TagHash(const char* name, unsigned length) {
    if (name == nullptr) {
        return 0;
    }
    return HashOf(name, length);
}

HTMLTag CHTMLBaseParser::LookupTag(const char* name, unsigned length) {
    if (name == nullptr || length == 0) {
        return HTML_UNKNOWN_TAG;
    }
    // The hash of HashOf, unrolled: one of the hottest calls of a scan.
    const auto c = [name](int i) {
        return static_cast<int>(static_cast<unsigned char>(name[i])) - '0';
    };
    int h = 0;
    switch (length < kTagHashBytes ? length : kTagHashBytes) {
        case 6:
            h += kTagHashWeights[5] * c(5);
            [[fallthrough]];
        case 5:
            h += kTagHashWeights[4] * c(4);
            [[fallthrough]];
        case 4:
            h += kTagHashWeights[3] * c(3);
            [[fallthrough]];
        case 3:
            h += kTagHashWeights[2] * c(2);
            [[fallthrough]];
        case 2:
            h += kTagHashWeights[1] * c(1);
            [[fallthrough]];
        default:
            h += kTagHashWeights[0] * c(0);
    }
    static_assert(kTagHashBytes == 6, "the unrolled hash covers six bytes");
    if (h < 0 || h >= kTagMapSize) {
        return HTML_UNKNOWN_TAG;
    }
    const HTMLTag tag = static_cast<HTMLTag>(theTagMap[h]);
    if (tag < HTML_FIRST_KNOWN_TAG || tag > HTML_LAST_TAG) {
        return HTML_UNKNOWN_TAG;
    }
    const int index = tag - HTML_FIRST_KNOWN_TAG;
    if (kTagLengths[index] != length) {
        return HTML_UNKNOWN_TAG;
    }
    const char* known = kTagNames[index];
    for (unsigned i = 0; i < length; ++i) {
        if (known[i] != name[i]) {
            return HTML_UNKNOWN_TAG;
        }
    }
    return tag;
}

bool CHTMLBaseParser::LookupEntity(const char* name, unsigned length, char& out) {
    if (name == nullptr || length == 0 || length >= kMaxEntityName) {
        return false;
    }
    if (name[0] == '#' && length >= 2) {
        unsigned long value = 0;
        // A NUL byte would cut the text it lands in: "&#0;" stays as written.
        if (!ParseNumericName(name, length, value) || value == 0 || value > 255) {
            return false;
        }
        out = static_cast<char>(static_cast<unsigned char>(value));
        return true;
    }
    int lo = 0;
    int hi = kEntityCount - 1;
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        const char* candidate = theEntityMap[mid].name;
        const unsigned candidateLength =
            static_cast<unsigned>(strnlen(candidate, sizeof(theEntityMap[mid].name)));
        const unsigned common = length < candidateLength ? length : candidateLength;
        int cmp = std::memcmp(name, candidate, common);
        if (cmp == 0) {
            cmp = length < candidateLength ? -1 : (length > candidateLength ? 1 : 0);
        }
        if (cmp == 0) {
            out = static_cast<char>(theEntityMap[mid].value);
            return true;
        }
        if (cmp < 0) {
            hi = mid - 1;
        } else {
            lo = mid + 1;
        }
    }
    return false;
}

bool CHTMLBaseParser::translateEntityRef(const char* text, char& out, unsigned& consumed) {
    consumed = 0;
    if (text == nullptr || *text == '\0') {
        return false;
    }
    const std::size_t n = std::strlen(text);
    std::size_t i = 1;
    while (i < n && text[i] != ';' && text[i] != '&') {
        i += CharLength(text + i, n - i);
    }
    if (i >= n || text[i] != ';') {
        return false;
    }
    consumed = static_cast<unsigned>(i + 1);
    return LookupEntity(text + 1, static_cast<unsigned>(i - 1), out);
}

void CHTMLBaseParser::processAttrValue(char* value) {
    if (value == nullptr) {
        return;
    }
    std::size_t n = std::strlen(value);
    std::size_t r = 0;
    while (r < n && value[r] != '\n' && value[r] != '\r' && value[r] != '&') {
        r += CharLength(value + r, n - r);
    }
    if (r > n) {
        r = n;
    }
    std::size_t w = r;
    while (r < n) {
        const char c = value[r];
        if (c == '\n' || c == '\r') {
            ++r;
            continue;
        }
        if (c == '&') {
            char decoded = 0;
            unsigned consumed = 0;
            if (translateEntityRef(value + r, decoded, consumed)) {
                value[w++] = decoded;
                r += consumed;
                continue;
            }
            value[w++] = value[r++];
            continue;
        }
        const std::size_t len = CharLength(value + r, n - r);
        std::memmove(value + w, value + r, len);
        w += len;
        r += len;
    }
    value[w] = '\0';
    n = w;
    // Deliberately lenient toward broken markup: a quote at either end goes,
    // each on its own.
    if (n > 1) {
        if (value[n - 1] == '"' || value[n - 1] == '\'') {
            value[--n] = '\0';
        }
        if (value[0] == '"' || value[0] == '\'') {
            std::memmove(value, value + 1, n);
        }
    }
}

void CHTMLBaseParser::addValue(const char* text, unsigned length) {
    // Like a C string, the value ends at a NUL byte.
    const unsigned n = static_cast<unsigned>(StopOfValue(text, length));
    const unsigned name = static_cast<unsigned>(m_pendingName.size());
    if (n == length || text[n] == '\0') {
        // No line break or reference: only the quotes at the ends go, as
        // processAttrValue would take them, without rewriting the value.
        const char* v = text;
        unsigned vn = n;
        if (vn > 1) {
            if (v[vn - 1] == '"' || v[vn - 1] == '\'') {
                --vn;
            }
            if (v[0] == '"' || v[0] == '\'') {
                ++v;
                --vn;
            }
        }
        addAttr(m_pendingName.data(), name, v, vn);
        return;
    }
    // The value is rewritten in a buffer kept for the thread; the attribute
    // takes its own copy.
    thread_local std::string scratch;
    scratch.assign(text, length);
    processAttrValue(scratch.data());
    addAttr(m_pendingName.data(), name, scratch.c_str(),
            static_cast<unsigned>(std::strlen(scratch.c_str())));
    if (scratch.capacity() > kMaxKeptScratch) {
        std::string().swap(scratch);  // a huge value is not kept
    }
}

void CHTMLBaseParser::appendText(const char* text, unsigned length) {
    m_text->append(text, length);
}

void CHTMLBaseParser::addPendingName() {
    // The empty name of a bare attribute carries nothing worth listing.
    if (m_hasPendingName && !m_pendingName.empty() && m_attrs != nullptr) {
        addAttr(m_pendingName.data(), static_cast<unsigned>(m_pendingName.size()), nullptr, 0);
    }
    m_hasPendingName = false;
}

void CHTMLBaseParser::addAttr(const char* name, unsigned nameLength, const char* value,
                              unsigned valueLength) {
    CHTMLAttr* attr = m_spareAttrs->takeLast();
    if (attr == nullptr) {
        attr = new CHTMLAttr(nullptr, nullptr);
    }
    attr->assign(name, nameLength, value, valueLength);
    m_attrs->add(attr);
}

void CHTMLBaseParser::clearAttrs() {
    while (CHTMLAttr* attr = m_attrs->takeLast()) {
        // A huge value is not kept for the next tags.
        if (attr->storage() > kMaxKeptScratch || m_spareAttrs->size() >= kMaxSpareAttrs) {
            delete attr;
        } else {
            m_spareAttrs->add(attr);
        }
    }
}

void CHTMLBaseParser::pushStartTag() {
    if (m_inStartTag && m_wanted && m_currentCallback != nullptr) {
        addPendingName();
        m_currentCallback->onStartTag(m_currentTag, m_attrs);
    }
    m_inStartTag = false;
    m_hasPendingName = false;
}

void CHTMLBaseParser::pushText() {
    if (m_text->isEmpty()) {
        return;
    }
    if (m_textCallback != nullptr) {
        m_textCallback->onText(m_text->buffer(), static_cast<unsigned>(m_text->size()));
    }
    m_text->clean();
}

void CHTMLBaseParser::pushComment() {
    if (m_commentCallback != nullptr) {
        m_commentCallback->onComment(m_comment->buffer(), static_cast<unsigned>(m_comment->size()));
    }
    m_comment->clean();
}

void CHTMLBaseParser::endComment() {
    pushComment();
    m_inComment = m_inCommentTag;
}

void CHTMLBaseParser::onTagData(const CHTMLTokenBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const char* text = batch.texts[i];
        const unsigned length = batch.lengths[i];
        switch (batch.kinds[i]) {
            case HTML_TOKEN_DATA:
                if (wantsText()) {
                    appendText(text, length);
                }
                break;
            case HTML_TOKEN_START_TAG: {
                if (m_inComment) {
                    break;
                }
                pushText();
                m_inStartTag = true;
                m_wanted = false;
                m_currentCallback = nullptr;
                if (m_attrs == nullptr) {
                    // The callback took the list: one it handed back is
                    // reused with its attributes, else a new one is made.
                    m_attrs = m_recycledAttrs != nullptr ? m_recycledAttrs : new CHTMLAttrs();
                    m_recycledAttrs = nullptr;
                }
                clearAttrs();
                m_hasPendingName = false;
                // The token holds the less-than sign and the name.
                m_currentTag = length > 1 ? LookupTag(text + 1, length - 1) : HTML_UNKNOWN_TAG;
                if (m_currentTag != HTML_UNKNOWN_TAG) {
                    TagCallback* cb = m_tagCallbacks[m_currentTag - HTML_FIRST_KNOWN_TAG];
                    if (cb != nullptr) {
                        m_wanted = true;
                        m_currentCallback = cb;
                    }
                }
                break;
            }
            case HTML_TOKEN_END_TAG: {
                if (m_textCallback != nullptr) {
                    pushText();
                }
                const HTMLTag tag = length > 2 ? LookupTag(text + 2, length - 2) : HTML_UNKNOWN_TAG;
                if (IsCommentModeTag(tag)) {
                    m_inCommentTag = false;
                    m_inComment = false;
                }
                if (!m_inComment && tag != HTML_UNKNOWN_TAG) {
                    TagCallback* cb = m_tagCallbacks[tag - HTML_FIRST_KNOWN_TAG];
                    if (cb != nullptr) {
                        cb->onEndTag(tag);
                    }
                }
                break;
            }
            case HTML_TOKEN_TAG_CLOSE:
                if (m_inStartTag) {
                    if (IsCommentModeTag(m_currentTag)) {
                        m_inCommentTag = true;
                        m_inComment = true;
                    }
                    pushStartTag();
                }
                break;
            case HTML_TOKEN_ATTR_NAME:
            case HTML_TOKEN_NAME:
                if (!m_inComment && m_inStartTag && m_wanted) {
                    addPendingName();
                    // Like a C string, the name ends at a NUL byte.
                    const void* nul = std::memchr(text, '\0', length);
                    m_pendingName.assign(
                        text, nul != nullptr ? static_cast<const char*>(nul) - text : length);
                    m_hasPendingName = true;
                }
                break;
            case HTML_TOKEN_NAME_TOKEN:
            case HTML_TOKEN_LITERAL:
                if (!m_inComment && m_inStartTag && m_wanted) {
                    if (m_tagCallbacks[m_currentTag - HTML_FIRST_KNOWN_TAG] == nullptr) {
                        // The callback was withdrawn while the tag was read.
                        m_wanted = false;
                        m_currentCallback = nullptr;
                    } else if (m_hasPendingName && m_attrs != nullptr) {
                        if (!m_pendingName.empty()) {
                            addValue(text, length);
                        }
                        m_hasPendingName = false;
                    }
                }
                break;
            case HTML_TOKEN_ENTITY:
            case HTML_TOKEN_CHARREF: {
                if (m_inComment) {
                    break;
                }
                const bool semicolon = i + 1 < batch.count &&
                                       batch.kinds[i + 1] == HTML_TOKEN_REFC &&
                                       batch.lengths[i + 1] > 0 && batch.texts[i + 1][0] == ';';
                if (batch.kinds[i] == HTML_TOKEN_ENTITY) {
                    onGeneralEntityRef(text, length, semicolon);
                } else {
                    onNumCharRef(text, length, semicolon);
                }
                break;
            }
            default:
                break;
        }
    }
}

void CHTMLBaseParser::onGeneralEntityRef(const char* text, unsigned length, bool semicolonFollows) {
    if (!wantsText() || length == 0) {
        return;
    }
    char c = 0;
    if (LookupEntity(text + 1, length - 1, c)) {
        appendText(&c, 1);
        return;
    }
    appendText(text, length);
    if (semicolonFollows) {
        appendText(";", 1);
    }
}

void CHTMLBaseParser::onNumCharRef(const char* text, unsigned length, bool semicolonFollows) {
    if (!wantsText() || length == 0) {
        return;
    }
    char c = 0;
    if (LookupEntity(text + 1, length - 1, c)) {
        appendText(&c, 1);
        return;
    }
    // Above 255: the character in the process code page, when the reference
    // is closed by a semicolon and the code page has the character.
    unsigned long value = 0;
    if (length >= 3 && text[0] == '&' && text[1] == '#' && semicolonFollows &&
        ParseNumericName(text + 1, length - 1, value) && value <= 0xFFFF && value != 0) {
        MString converted;
        if (webstep::platform::CodePointToProcessCodePage(static_cast<unsigned>(value),
                                                          converted) &&
            !converted.empty()) {
            appendText(converted.data(), static_cast<unsigned>(converted.size()));
            return;
        }
    }
    appendText(text, length);
    if (semicolonFollows) {
        appendText(";", 1);
    }
}

void CHTMLBaseParser::onAuxMarkup(const CHTMLTokenBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const char* text = batch.texts[i];
        const unsigned length = batch.lengths[i];
        switch (batch.kinds[i]) {
            case HTML_TOKEN_MARKUP_DECL:
                if (m_commentCallback != nullptr) {
                    pushText();
                }
                m_inComment = true;
                break;
            case HTML_TOKEN_COMMENT:
                m_comment->append(text, length);
                break;
            case HTML_TOKEN_TAG_CLOSE:
                endComment();
                break;
            case HTML_TOKEN_MB_START:
                m_multiByte->clean();
                m_multiByte->append(text, length);
                m_inMultiByte = true;
                break;
            case HTML_TOKEN_MB_BYTES:
                m_multiByte->append(text, length);
                break;
            case HTML_TOKEN_MB_END:
                m_multiByte->append(text, length);
                endMultiByte();
                break;
            default:
                break;
        }
    }
}

void CHTMLBaseParser::onErrLim(const CHTMLTokenBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        switch (batch.kinds[i]) {
            case HTML_TOKEN_UNTERMINATED_COMMENT:
                m_unterminatedComment = true;
                break;
            case HTML_TOKEN_UNTERMINATED_MB:
                if (m_inMultiByte) {
                    endMultiByte();
                }
                break;
            default:
                break;
        }
    }
}

void CHTMLBaseParser::endMultiByte() {
    namespace os = webstep::platform;
    const char* bytes = m_multiByte->buffer();
    const std::size_t n = static_cast<std::size_t>(m_multiByte->size());
    // Text inside script, noframes or noscript is not collected either.
    if (wantsText() && n > 0) {
        const os::xeOsEncodedMethod method = os::os_str_detect_encoded_method(bytes, n);
        MString converted;
        if (os::os_conv_strings(method, os::OS_ENCODED_LOCAL, bytes, n, converted)) {
            appendText(converted.data(), static_cast<unsigned>(converted.size()));
        }
    }
    m_multiByte->clean();
    m_inMultiByte = false;
}
