#include "webstep/html/HTMLScannerImpl.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "webstep/html/HTMLVParser.h"
#include "webstep/platform/CharacterServices.h"
#include "webstep/platform/CodePage.h"

namespace {

using webstep::platform::os_char_len;
using webstep::platform::os_is_char_space;

// Length of the character at s (at least 1 while bytes remain).
// No code page has a lead byte below 0x80, so an ASCII byte is a character
// of its own and the character services are asked about the others only.
std::size_t CharLen(const char* s, std::size_t n) {
    if (n > 0 && static_cast<unsigned char>(*s) < 0x80) {
        return 1;
    }
    const std::size_t len = os_char_len(s, n);
    return len == 0 ? 1 : (len > n ? n : len);
}

bool IsSpaceAt(const char* s, std::size_t n) {
    if (n == 0) {
        return false;
    }
    const unsigned char c = static_cast<unsigned char>(*s);
    if (c < 0x80) {
        return c == ' ' || (c >= '\t' && c <= '\r');
    }
    // In UTF-8 every white-space character beyond ASCII (U+0085, U+00A0,
    // U+1680, U+2000 to U+205F, U+3000) starts with 0xC2, 0xE1, 0xE2 or
    // 0xE3: any other lead byte (CJK text, for one) is no space.
    if ((c < 0xC2 || (c > 0xC2 && c < 0xE1) || c > 0xE3) &&
        webstep::platform::GetProcessCodePage() == webstep::platform::CP_UTF8) {
        return false;
    }
    return os_is_char_space(s, n);
}

constexpr int kMinTextCapacity = 256;

// Writes the formatted text (see CHTMLScannerTextCallback::Format) of
// text[0, n) to out and returns its length, which is never above n: every
// byte is copied, dropped, or one of a run of white space that gives at most
// one space.
std::size_t FormatInto(const char* text, std::size_t n, char* out) {
    // The code page is read once for the whole text, not per character.
    const unsigned int cp = webstep::platform::GetProcessCodePage();
    const bool utf8 = cp == webstep::platform::CP_UTF8;
    std::size_t o = 0;
    bool pendingSpace = false;
    std::size_t i = 0;
    while (i < n) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            // ASCII: white space sets the pending space, a run of other
            // characters is copied at once.
            if (c == ' ' || (c >= '\t' && c <= '\r')) {
                pendingSpace = o != 0;
                ++i;
                continue;
            }
            std::size_t j = i + 1;
            while (j < n) {
                const unsigned char d = static_cast<unsigned char>(text[j]);
                if (d >= 0x80 || d == ' ' || (d >= '\t' && d <= '\r')) {
                    break;
                }
                ++j;
            }
            if (pendingSpace) {
                out[o++] = ' ';
                pendingSpace = false;
            }
            std::memcpy(out + o, text + i, j - i);
            o += j - i;
            i = j;
            continue;
        }
        // As CharLen and IsSpaceAt, with the code page at hand.
        const int charLength = webstep::platform::CharLength(cp, text + i, n - i);
        std::size_t len = charLength > 0 ? static_cast<std::size_t>(charLength) : 1;
        if (len > n - i) {
            len = n - i;
        }
        if (len == 1 && c == 0xA0) {
            // A no-break space stands on its own: it ends a run of white
            // space before it and does not absorb white space after it.
            if (pendingSpace) {
                out[o++] = ' ';
                pendingSpace = false;
            }
            out[o++] = ' ';
        } else if (!(utf8 && (c < 0xC2 || (c > 0xC2 && c < 0xE1) || c > 0xE3)) &&
                   os_is_char_space(text + i, n - i)) {
            pendingSpace = o != 0;
        } else {
            if (pendingSpace) {
                out[o++] = ' ';
                pendingSpace = false;
            }
            std::memcpy(out + o, text + i, len);
            o += len;
        }
        i += len;
    }
    return o;
}

// True when every byte is printable ASCII other than the space (0x21 to
// 0x7F): no white space and no multi-byte character.
bool IsPlainUrlText(const char* s, std::size_t n) {
    std::size_t i = 0;
#if defined(__SSE2__)
    const __m128i space = _mm_set1_epi8(0x20);
    for (; i + 16 <= n; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
        // Signed bytes: 0x80 to 0xFF are negative, so only 0x21 to 0x7F pass.
        if (_mm_movemask_epi8(_mm_cmpgt_epi8(v, space)) != 0xFFFF) {
            return false;
        }
    }
#endif
    for (; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c <= 0x20 || c >= 0x80) {
            return false;
        }
    }
    return true;
}

// Appends to a list of the page model, growing it by half its size instead
// of ten slots at a time: a page of thousands of links would otherwise move
// its list hundreds of times.
template <class T>
void Append(ArrayOfPointers<T>& list, T* item) {
    if (list.size() == list.capacity()) {
        list.SetSize(list.capacity() + std::max(10, list.capacity() / 2));
    }
    list.add(item);
}

}  // namespace

// ---------------------------------------------------------------- text callback

CHTMLScannerTextCallback::CHTMLScannerTextCallback()
    : m_format(false),
      m_raw(static_cast<char*>(std::malloc(kMinTextCapacity + 1))),
      m_formatted(nullptr),
      m_capacity(kMinTextCapacity),
      m_length(0) {
    m_raw[0] = '\0';
}

CHTMLScannerTextCallback::~CHTMLScannerTextCallback() {
    std::free(m_raw);
    std::free(m_formatted);
}

void CHTMLScannerTextCallback::onText(const char* text, unsigned length) {
    if (text == nullptr || length == 0) {
        return;
    }
    const int n = static_cast<int>(length);
    if (m_length + n > m_capacity) {
        m_capacity += n >= kMinTextCapacity ? n : kMinTextCapacity;
        m_raw = static_cast<char*>(std::realloc(m_raw, static_cast<std::size_t>(m_capacity) + 1));
    }
    std::memcpy(m_raw + m_length, text, length);
    m_length += n;
    m_raw[m_length] = '\0';
    std::free(m_formatted);
    m_formatted = nullptr;
}

void CHTMLScannerTextCallback::reset() {
    m_length = 0;
    m_raw[0] = '\0';
    if (m_formatted != nullptr) {
        std::free(m_formatted);
        m_formatted = nullptr;
    }
}

const char* CHTMLScannerTextCallback::text() {
    if (!m_format) {
        return m_raw;
    }
    if (m_formatted == nullptr) {
        // Formatted straight into its own buffer: the text only shrinks.
        const std::size_t n = std::strlen(m_raw);
        m_formatted = static_cast<char*>(std::malloc(n + 1));
        if (m_formatted != nullptr) {
            m_formatted[FormatInto(m_raw, n, m_formatted)] = '\0';
        }
    }
    return m_formatted;
}

const char* CHTMLScannerTextCallback::copyText(CHTMLAttrArena& arena) {
    // Up to the first NUL, as text() reads it.
    const std::size_t n = std::strlen(m_raw);
    if (!m_format) {
        return arena.copy(m_raw, n);
    }
    if (m_formatted != nullptr) {
        return arena.copy(m_formatted, std::strlen(m_formatted));
    }
    // Formatted straight into the arena: the text only shrinks.
    char* out = static_cast<char*>(arena.allocate(n + 1, 1));
    if (out != nullptr) {
        const std::size_t used = FormatInto(m_raw, n, out);
        out[used] = '\0';
        arena.shrinkLast(out, n + 1, used + 1);
    }
    return out;
}

MString CHTMLScannerTextCallback::Format(const char* text) {
    MString out;
    if (text == nullptr) {
        return out;
    }
    const std::size_t n = std::strlen(text);
    out.resize(n);
    out.resize(FormatInto(text, n, out.data()));
    return out;
}

MString CHTMLScannerTextCallback::Trim(const char* text) {
    if (text == nullptr) {
        return MString();
    }
    const std::size_t n = std::strlen(text);
    std::size_t i = 0;
    std::size_t start = n;
    std::size_t end = 0;
    while (i < n) {
        const std::size_t len = CharLen(text + i, n - i);
        if (!IsSpaceAt(text + i, n - i)) {
            if (start == n) {
                start = i;
            }
            end = i + len;
        }
        i += len;
    }
    return start < end ? MString(text + start, end - start) : MString();
}

// ---------------------------------------------------------------- tag callback

CHTMLScannerTagCallback::CHTMLScannerTagCallback(CHTMLScannerImpl* scanner,
                                                 CHTMLScannerTextCallback* text)
    : m_scanner(scanner),
      m_text(text),
      m_info(nullptr),
      m_object(nullptr),
      m_textTarget(nullptr),
      m_objectStart{},
      m_objectEnd{},
      m_inTitle(false),
      m_inTextArea(false),
      m_inAnchor(false) {}

CHTMLScannerTagCallback::~CHTMLScannerTagCallback() {
    delete m_object;
}

void CHTMLScannerTagCallback::reset() {
    dropObject();
    m_info = nullptr;
    m_textTarget = nullptr;
    m_inTitle = false;
    m_inTextArea = false;
    m_inAnchor = false;
    m_text->reset();
}

void CHTMLScannerTagCallback::dropObject() {
    if (m_object == nullptr) {
        return;
    }
    // A text area that no form adopted must not receive text once deleted.
    if (m_textTarget == m_object) {
        m_textTarget = nullptr;
    }
    const bool last = m_scanner->arena().mark() == m_objectEnd;
    delete m_object;
    m_object = nullptr;
    if (last) {
        m_scanner->arena().rollback(m_objectStart);
    }
}

void CHTMLScannerTagCallback::deliverText() {
    if (m_textTarget != nullptr) {
        // The targets are page objects of the scanner's arena: their text
        // goes there too.
        const char* text = m_text->copyText(m_scanner->arena());
        if (text != nullptr) {
            m_textTarget->setContentInArena(text);
        } else {
            m_textTarget->setContent(m_text->text());
        }
    }
    m_text->reset();
    m_textTarget = nullptr;
    m_scanner->stopTextNotification();
}

void CHTMLScannerTagCallback::storeTitle() {
    m_scanner->setTitle(m_text->text());
    m_text->reset();
    m_scanner->stopTextNotification();
    m_inTitle = false;
}

void CHTMLScannerTagCallback::stopParse() {
    if (m_inTitle) {
        storeTitle();
    } else if (m_scanner->currentMenuItem() != nullptr) {
        // An option left open at the end of the page still gets its text.
        m_scanner->endMenuItem();
    } else if (m_textTarget != nullptr) {
        deliverText();
    }
    m_inTextArea = false;
    m_inAnchor = false;
    dropObject();
}

namespace {

// Writes the processed URL (see processURL) of value[0, n) to out, which has
// room for 3 * n + 1 bytes, and returns its length.
std::size_t ProcessURLInto(const char* value, std::size_t n, char* out) {
    std::size_t o = 0;
    // Trim: find the first and the end of the last non-space character.
    std::size_t start = n;
    std::size_t end = 0;
    for (std::size_t i = 0; i < n;) {
        const char c = value[i];
        std::size_t len = 1;
        bool space = c == ' ' || (c >= '\t' && c <= '\r');
        if (static_cast<unsigned char>(c) >= 0x80) {
            len = CharLen(value + i, n - i);
            space = IsSpaceAt(value + i, n - i);
        }
        if (!space) {
            if (start == n) {
                start = i;
            }
            end = i + len;
        }
        i += len;
    }
    for (std::size_t i = start; i < end;) {
        const char c = value[i];
        if (static_cast<unsigned char>(c) < 0x80) {
            if (c == ' ') {
                out[o++] = '%';
                out[o++] = '2';
                out[o++] = '0';
            } else if (!(c >= '\t' && c <= '\r')) {
                out[o++] = c;
            }
            ++i;
            continue;
        }
        const std::size_t len = CharLen(value + i, end - i);
        if (!IsSpaceAt(value + i, end - i)) {
            std::memcpy(out + o, value + i, len);
            o += len;
        }
        i += len;
    }
    out[o] = '\0';
    return o;
}

}  // namespace

char* CHTMLScannerTagCallback::processURL(const char* value) {
    if (value == nullptr) {
        value = "";
    }
    const std::size_t n = std::strlen(value);
    if (IsPlainUrlText(value, n)) {
        // Nothing to trim, drop or escape: the value as it stands.
        char* copy = static_cast<char*>(std::malloc(n + 1));
        if (copy != nullptr) {
            std::memcpy(copy, value, n + 1);
        }
        return copy;
    }
    char* out = static_cast<char*>(std::malloc(3 * n + 1));
    if (out != nullptr) {
        ProcessURLInto(value, n, out);
    }
    return out;
}

const char* CHTMLScannerTagCallback::processURL(const char* value, CHTMLAttrArena& arena,
                                                bool inPlace) {
    if (value == nullptr) {
        value = "";
    }
    const std::size_t n = std::strlen(value);
    if (IsPlainUrlText(value, n)) {
        return inPlace ? value : arena.copy(value, n);
    }
    char* out = static_cast<char*>(arena.allocate(3 * n + 1, 1));
    if (out != nullptr) {
        const std::size_t used = ProcessURLInto(value, n, out);
        arena.shrinkLast(out, 3 * n + 1, used + 1);
    }
    return out;
}

void CHTMLScannerTagCallback::splitRefresh(const char* content, MString& time, MString& url) {
    time.clear();
    url.clear();
    if (content == nullptr) {
        return;
    }
    const std::size_t n = std::strlen(content);
    std::size_t sep = n;
    for (std::size_t i = 0; i < n;) {
        if (content[i] == ';' || content[i] == ',') {
            sep = i;
            break;
        }
        i += CharLen(content + i, n - i);
    }
    time = CHTMLScannerTextCallback::Trim(MString(content, sep).c_str());
    if (sep == n) {
        return;
    }
    const MString rest(content + sep + 1);
    const std::size_t eq = rest.find('=');
    MString key = CHTMLScannerTextCallback::Trim(rest.substr(0, eq).c_str());
    for (char& c : key) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c + 32);
        }
    }
    if (key != "url" || eq == MString::npos) {
        return;
    }
    const char* u = rest.c_str() + eq + 1;
    const std::size_t un = std::strlen(u);
    std::size_t i = 0;
    while (i < un && IsSpaceAt(u + i, un - i)) {
        i += CharLen(u + i, un - i);
    }
    url.assign(u + i);
}

void CHTMLScannerTagCallback::onStartTag(HTMLTag tag, CHTMLAttrs*& attrs) {
    // 1. An object nobody adopted at the previous tag goes now.
    dropObject();
    m_info = nullptr;
    if (!m_scanner->tagMap().getInfo(tag, m_info)) {
        m_info = nullptr;
    }
    const bool isLink = m_info != nullptr && m_info->isLink();

    // 2. The page object gets the attributes, copied into the page's arena
    // with their texts: one block for a whole page instead of a few heap
    // blocks per attribute, and the lexer keeps its list and attributes for
    // the next tags.
    CHTMLObjectImpl* element = nullptr;
    if (m_info != nullptr && (m_info->pickAllAttrs() || isLink)) {
        CHTMLAttrArena& arena = m_scanner->arena();
        m_objectStart = arena.mark();
        CHTMLAttrs* copy = CHTMLAttrs::NewInArena(arena, attrs);
        if (copy == nullptr && attrs != nullptr) {
            // Out of memory in the arena: the object takes the list itself.
            copy = attrs;
            attrs = nullptr;
        }
        m_object = CHTMLObjectImpl::NewInArena(arena, tag, copy);
        m_objectEnd = arena.mark();
        element = m_object;
        if (tag == HTML_FORM && element->attr("action") == nullptr) {
            element->addAttr("action", "");
        }
    }

    // 3-4. Frames.
    if (tag == HTML_FRAMESET) {
        m_scanner->setFrameSet(true);
    } else if (isLink && element != nullptr) {
        if ((tag == HTML_FRAME && m_scanner->framesetDepth() > 0) || tag == HTML_IFRAME) {
            element->addAttr("isFrame", "");
        }
    }

    // 5. Anchors collect their text.
    if (tag == HTML_A) {
        deliverText();
        m_inAnchor = true;
        m_scanner->startTextNotification(true);
        m_textTarget = element;
        if (m_object != nullptr) {
            m_scanner->addAnchor(m_object);
        }
    }

    // 6. Every URL-carrying attribute becomes a link.
    if (isLink && element != nullptr) {
        const bool isImage = tag == HTML_IMG || tag == HTML_IMAGE;
        bool hasIsmap = false;
        bool hasUsemap = false;
        bool linkObjectMade = false;
        for (int i = 0; i < element->nAttrs(); ++i) {
            const char* name = element->getAttrNameByIndex(i);
            if (name == nullptr) {
                continue;
            }
            if (isImage) {
                hasIsmap = hasIsmap || htmlpage::EqualsNoCase(name, "ismap");
                hasUsemap = hasUsemap || htmlpage::EqualsNoCase(name, "usemap");
            }
            unsigned index = 0;
            if (!m_info->isLinkAttr(name, index)) {
                continue;
            }
            LinkSpec entry{};
            if (!m_info->linkInfo()->getAt(index, entry)) {
                continue;
            }
            if (entry.hasObject && !linkObjectMade && m_object != nullptr) {
                linkObjectMade = true;
                if (isImage && m_inAnchor) {
                    m_scanner->addImage(m_object);
                } else if (m_info->processTagFunc() != nullptr) {
                    // The object itself stays for the processing operation.
                    CHTMLObjectImpl* copy = new CHTMLObjectImpl(*m_object);
                    m_scanner->addLinkObject(copy);
                    delete copy;  // null once adopted
                } else {
                    m_scanner->addLinkObject(m_object);
                }
            }
            // Read in place: the attribute outlives this loop step.
            const char* value = element->getAttrValueByIndex(i);
            // A value of the arena that needs no change is the link's URL
            // as it stands: the arena's texts are never written.
            bool inPlace = (*element->attrs())[static_cast<unsigned>(i)]->valueInArena();
            MString refreshUrl;
            if (tag == HTML_META && htmlpage::EqualsNoCase(name, "content")) {
                const CHTMLAttr* equiv = element->findAttrNoCase("http-equiv");
                if (equiv == nullptr || !htmlpage::EqualsNoCase(equiv->value(), "refresh")) {
                    continue;
                }
                MString time;
                splitRefresh(value, time, refreshUrl);
                element->addAttr("time", time.c_str());
                value = refreshUrl.c_str();
                inPlace = false;
            }
            const char* url = processURL(value, m_scanner->arena(), inPlace);
            if (url != nullptr) {
                m_scanner->addLinkInArena(&entry, url);
            } else {
                char* heapUrl = processURL(value);
                m_scanner->addLink(&entry, heapUrl);
                std::free(heapUrl);
            }
        }
        if (isImage && m_inAnchor && hasIsmap && !hasUsemap) {
            m_scanner->onISMAP();
        }
    }

    // 7. Titles and text areas collect their text.
    if (tag == HTML_TITLE) {
        m_inTitle = true;
        m_scanner->startTextNotification(true);
    } else if (tag == HTML_TEXTAREA) {
        m_inTextArea = true;
        m_textTarget = element;
        m_scanner->startTextNotification(false);
    }

    // 8. The tag's own operation.
    if (m_info != nullptr && m_info->processTagFunc() != nullptr && m_object != nullptr) {
        (m_scanner->*(m_info->processTagFunc()))(m_object);
    }

    // 9.
    if (tag == HTML_FRAME) {
        m_scanner->setFrame();
    }

    // 10. The page object owns the attributes now (as a copy in the arena),
    // so the lexer's list pointer is set to null; the list goes back to the
    // lexer for reuse at its next start tag instead of being freed, so that
    // its attributes cost no allocations.
    if (element != nullptr && attrs != nullptr) {
        CHTMLAttrs* taken = attrs;
        attrs = nullptr;
        m_scanner->lexer().recycleAttrs(taken);
    }
}

void CHTMLScannerTagCallback::onEndTag(HTMLTag tag) {
    switch (tag) {
        case HTML_OPTION:
            m_scanner->endMenuItem();
            break;
        case HTML_SELECT:
            m_scanner->endMenu();
            break;
        case HTML_TEXTAREA:
            if (m_inTextArea) {
                m_inTextArea = false;
                deliverText();
            }
            break;
        case HTML_TITLE:
        case HTML_HEAD:
            if (m_inTitle) {
                storeTitle();
            }
            break;
        case HTML_MAP:
            m_scanner->endMap();
            break;
        case HTML_A:
            if (m_inAnchor) {
                m_inAnchor = false;
                deliverText();
            }
            break;
        case HTML_FORM:
            if (m_inTextArea) {
                m_inTextArea = false;
                deliverText();
            }
            m_scanner->endForm();
            break;
        case HTML_FRAMESET:
            m_scanner->setFrameSet(false);
            break;
        default:
            break;
    }
}

// ---------------------------------------------------------------- implementation

const TagSpec CHTMLScannerImpl::theTagSpec[] = {
    {HTML_A, true, nullptr},
    {HTML_FORM, true, &CHTMLScannerImpl::addForm},
    {HTML_INPUT, true, &CHTMLScannerImpl::addFormElement},
    {HTML_SELECT, true, &CHTMLScannerImpl::addMenu},
    {HTML_OPTION, true, &CHTMLScannerImpl::addMenuItem},
    {HTML_TEXTAREA, true, &CHTMLScannerImpl::addFormElement},
    {HTML_BASE, true, &CHTMLScannerImpl::addBASE},
    {HTML_IMG, true, nullptr},
    {HTML_META, true, nullptr},
    {HTML_HEAD, false, nullptr},
    {HTML_TITLE, false, nullptr},
    {HTML_MAP, true, &CHTMLScannerImpl::addMap},
    {HTML_IMAGE, true, nullptr},
    {HTML_UNKNOWN_TAG, false, nullptr},
};

CHTMLScannerImpl::CHTMLScannerImpl(const LinkSpec* table)
    : m_tagMap(theTagSpec),
      m_textCallback(new CHTMLScannerTextCallback()),
      m_tagCallback(nullptr),
      m_currentForm(nullptr),
      m_currentMenu(nullptr),
      m_currentMenuItem(nullptr),
      m_currentAnchorLink(nullptr),
      m_currentAnchor(nullptr),
      m_currentElementObject(nullptr),
      m_currentMap(nullptr),
      m_framesetDepth(0),
      m_isFrame(false),
      m_callbacksNeedRegistering(true),
      m_title(nullptr) {
    m_tagCallback = new CHTMLScannerTagCallback(this, m_textCallback);
    m_tagMap.addLinks(table != nullptr ? table : CHTMLVParser::linkDescriptor);
}

CHTMLScannerImpl::~CHTMLScannerImpl() {
    // The lexer must not call back into callbacks that are gone.
    m_lexer.registerTagCallback(HTML_ALL_TAGS, nullptr);
    m_lexer.registerTextCallback(nullptr);
    delete m_tagCallback;
    delete m_textCallback;
    cleanup();
}

void CHTMLScannerImpl::setup(const LinkSpec* table) {
    m_tagMap.removeAllLinks();
    m_tagMap.addLinks(table != nullptr ? table : CHTMLVParser::linkDescriptor);
    m_callbacksNeedRegistering = true;
}

void CHTMLScannerImpl::registerCallbacks() {
    m_lexer.registerTagCallback(HTML_ALL_TAGS, nullptr);
    for (CTagMapIterator it(&m_tagMap); it != 0; ++it) {
        m_lexer.registerTagCallback(it.tag(), m_tagCallback);
    }
    m_callbacksNeedRegistering = false;
}

void CHTMLScannerImpl::cleanup() {
    m_maps.cleanup();
    m_links.cleanup();
    m_forms.cleanup();
    m_objects.cleanup();
    m_bases.cleanup();
    // Everything placed in the arena is gone now.
    m_arena.clear();
    m_formStack.reset();
    m_currentForm = nullptr;
    m_currentMenu = nullptr;
    m_currentMenuItem = nullptr;
    m_currentAnchorLink = nullptr;
    m_currentAnchor = nullptr;
    m_currentElementObject = nullptr;
    m_currentMap = nullptr;
    m_framesetDepth = 0;
    m_isFrame = false;
    std::free(m_title);
    m_title = nullptr;
}

void CHTMLScannerImpl::startParse() {
    // The tag callback may still hold an object of the previous page.
    m_tagCallback->reset();
    cleanup();
    if (m_callbacksNeedRegistering) {
        registerCallbacks();
    }
    stopTextNotification();
    m_textCallback->setFormat(false);
    m_lexer.startParse();
}

void CHTMLScannerImpl::continueParse(const char* data, unsigned length) {
    if (data == nullptr || length == 0) {
        return;  // a length of 0 would end the lexer's input
    }
    m_lexer.continueParse(data, length);
}

void CHTMLScannerImpl::stopParse() {
    m_lexer.stopParse();
    m_tagCallback->stopParse();
}

CHTMLObjectImpl* CHTMLScannerImpl::lastBase() const {
    return m_bases.size() > 0 ? m_bases[m_bases.size() - 1] : nullptr;
}

CHTMLForm_* CHTMLScannerImpl::resolveForm() {
    if (m_currentForm == nullptr) {
        const int top = m_formStack.get();
        if (top >= 0 && top < m_forms.size()) {
            m_currentForm = m_forms[top];
        }
    }
    return m_currentForm;
}

void CHTMLScannerImpl::addForm(CHTMLObjectImpl*& obj) {
    if (m_currentForm != nullptr || obj == nullptr) {
        return;  // a form inside an open form is ignored
    }
    m_currentForm = new CHTMLForm_(obj, lastBase());
    obj = nullptr;
    m_forms.add(m_currentForm);
    m_formStack.push(m_forms.size() - 1);
}

void CHTMLScannerImpl::addFormElement(CHTMLObjectImpl*& obj) {
    CHTMLForm_* form = resolveForm();
    if (form == nullptr || obj == nullptr) {
        return;
    }
    CHTMLFormElement* element = nullptr;
    if (obj->tag() == HTML_INPUT) {
        const char* type = obj->attr("type");
        if (htmlpage::EqualsNoCase(type, "radio")) {
            element = new CHTMLRadioValue_(obj);
        } else if (htmlpage::EqualsNoCase(type, "checkbox")) {
            element = new CHTMLCheckbox_(obj);
        }
    } else if (obj->tag() == HTML_TEXTAREA) {
        element = new CHTMLTextArea_(obj);
    }
    if (element == nullptr) {
        element = new CHTMLFormElement_(obj);
    }
    obj = nullptr;
    form->addElement(element);
}

void CHTMLScannerImpl::addMenu(CHTMLObjectImpl*& obj) {
    CHTMLForm_* form = resolveForm();
    if (form == nullptr || obj == nullptr) {
        return;
    }
    // A select left open without its end tag gives its last item its text.
    endMenuItem();
    m_currentMenu = new CHTMLMenu_(obj);
    obj = nullptr;
    form->addElement(m_currentMenu);
}

void CHTMLScannerImpl::addMenuItem(CHTMLObjectImpl*& obj) {
    endMenuItem();
    if (m_currentMenu == nullptr || obj == nullptr) {
        return;
    }
    m_currentMenuItem = new CHTMLMenuItem_(obj);
    obj = nullptr;
    m_currentMenu->addItem(m_currentMenuItem);
    startTextNotification(true);
}

void CHTMLScannerImpl::endMenuItem() {
    if (m_currentMenuItem == nullptr) {
        return;
    }
    const MString text = CHTMLScannerTextCallback::Trim(
        CHTMLScannerTextCallback::Format(m_textCallback->rawText()).c_str());
    m_currentMenuItem->setItemText(text.c_str());
    m_textCallback->reset();
    stopTextNotification();
    m_currentMenuItem = nullptr;
}

void CHTMLScannerImpl::endMenu() {
    endMenuItem();
    m_currentMenu = nullptr;
}

void CHTMLScannerImpl::endForm() {
    endMenu();
    m_formStack.pop();
    m_currentForm = nullptr;
}

void CHTMLScannerImpl::addMap(CHTMLObjectImpl*& obj) {
    if (m_currentMap != nullptr || obj == nullptr) {
        return;  // a map inside an open map is ignored
    }
    m_currentMap = new CHTMLMap(obj);
    obj = nullptr;
    m_maps.add(m_currentMap);
}

void CHTMLScannerImpl::endMap() {
    m_currentMap = nullptr;
}

void CHTMLScannerImpl::addBASE(CHTMLObjectImpl*& obj) {
    if (obj == nullptr) {
        return;
    }
    m_bases.add(obj);
    obj = nullptr;
}

void CHTMLScannerImpl::addAnchor(CHTMLObjectImpl*& obj) {
    if (obj == nullptr) {
        return;
    }
    m_currentAnchor = CHTMLObjectDirect::NewInArena<CHTMLAnchor>(m_arena, obj);
    if (m_currentAnchor == nullptr) {
        m_currentAnchor = new CHTMLAnchor(obj);
    }
    obj = nullptr;
    // An anchor without a URL must not let an image inside it mark the link
    // of an earlier anchor as a map link.
    m_currentAnchorLink = nullptr;
    Append(m_objects, static_cast<CHTMLObjectDirect*>(m_currentAnchor));
}

void CHTMLScannerImpl::addImage(CHTMLObjectImpl*& obj) {
    if (obj == nullptr) {
        return;
    }
    CHTMLObjectDirect* image = CHTMLObjectDirect::NewInArena<CHTMLObjectDirect>(m_arena, obj);
    if (image == nullptr) {
        image = new CHTMLObjectDirect(obj);
    }
    obj = nullptr;
    m_currentElementObject = image;
    if (m_currentAnchor != nullptr && m_currentAnchor->getImage() == nullptr) {
        m_currentAnchor->setImage(image);
    }
    Append(m_objects, image);
}

void CHTMLScannerImpl::addLinkObject(CHTMLObjectImpl*& obj) {
    if (obj == nullptr) {
        return;
    }
    m_currentElementObject = CHTMLObjectDirect::NewInArena<CHTMLObjectDirect>(m_arena, obj);
    if (m_currentElementObject == nullptr) {
        m_currentElementObject = new CHTMLObjectDirect(obj);
    }
    obj = nullptr;
    Append(m_objects, m_currentElementObject);
}

void CHTMLScannerImpl::addLink(const LinkSpec* entry, const char* url) {
    if (entry == nullptr) {
        return;
    }
    const char* text = url != nullptr ? url : "";
    const char* copy = m_arena.copy(text, std::strlen(text));
    if (copy == nullptr) {
        appendLink(entry, new CHTMLLinkImpl(entry->tag, entry->attribute, text, entry->isResource,
                                            entry->isFollowable, lastBase(), nullptr));
        return;
    }
    addLinkInArena(entry, copy);
}

void CHTMLScannerImpl::addLinkInArena(const LinkSpec* entry, const char* url) {
    if (entry == nullptr) {
        return;
    }
    // The attribute name is copied too: the link table may be replaced
    // while the page model is still read.
    const char* name = entry->attribute != nullptr
                           ? m_arena.copy(entry->attribute, std::strlen(entry->attribute))
                           : nullptr;
    CHTMLLinkImpl* link = nullptr;
    if (name != nullptr || entry->attribute == nullptr) {
        link = CHTMLLinkImpl::NewInArena(m_arena, entry->tag, name, url, entry->isResource,
                                         entry->isFollowable, lastBase(), nullptr);
    } else {
        link = new CHTMLLinkImpl(entry->tag, entry->attribute, url, entry->isResource,
                                 entry->isFollowable, lastBase(), nullptr);
    }
    appendLink(entry, link);
}

void CHTMLScannerImpl::appendLink(const LinkSpec* entry, CHTMLLinkImpl* link) {
    if (entry->tag == HTML_A) {
        link->setObject(m_currentAnchor);
        m_currentAnchorLink = link;
    } else if (entry->hasObject) {
        link->setObject(m_currentElementObject);
    }
    Append(m_links, link);
    if (m_currentMap != nullptr) {
        link->setMap(m_currentMap);
        m_currentMap->addLink(link);
    }
}

void CHTMLScannerImpl::onISMAP() {
    if (m_currentAnchorLink != nullptr) {
        m_currentAnchorLink->setIsMap(true);
    }
}

void CHTMLScannerImpl::setTitle(const char* title) {
    char* copy = htmlpage::Duplicate(title != nullptr ? title : "");
    std::free(m_title);
    m_title = copy;
}

void CHTMLScannerImpl::setFrameSet(bool start) {
    if (start) {
        ++m_framesetDepth;
    } else if (m_framesetDepth > 0) {
        --m_framesetDepth;
    }
}

void CHTMLScannerImpl::startTextNotification(bool format) {
    m_textCallback->reset();
    m_textCallback->setFormat(format);
    m_lexer.registerTextCallback(m_textCallback);
}

void CHTMLScannerImpl::stopTextNotification() {
    m_lexer.registerTextCallback(nullptr);
}
