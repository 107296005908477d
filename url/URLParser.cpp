#include "webstep/url/URLParser.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "webstep/foundation/TextBuffer.h"
#include "webstep/platform/CodePage.h"
#include "webstep/platform/LastError.h"

using namespace webstep::platform;

// ---------------------------------------------------------------------------
// Scheme table

const InternetSchemeMap::AuxRow InternetSchemeMap::m_SchemeDescrAuxArray[] = {
    {"unknown", ":", 0, 0},  {"ftp", "://", 1, 21},     {"gopher", "://", 1, 70},
    {"http", "://", 1, 80},  {"https", "://", 1, 443},  {"file", "://", 1, 0},
    {"news", ":", 0, 0},     {"mailto", ":", 0, 0},     {"socks", "://", 1, 1080},
    {"telnet", "://", 1, 0}, {"javascript", ":", 0, 0}, {"term", ":", 0, 0},
};
const long InternetSchemeMap::m_SchemeDescrArraySize = 12;
SchemeDescr* InternetSchemeMap::m_SchemeDescrArray = nullptr;
std::map<MString, SchemeDescr*>* InternetSchemeMap::m_SchemeNameMap = nullptr;

// Any instance makes sure that the process-wide one, which owns the table,
// exists; only that one fills the table and releases it at exit.
InternetSchemeMap::InternetSchemeMap() {
    Instance();
}

InternetSchemeMap::InternetSchemeMap(ProcessWide) {
    if (m_SchemeDescrArray != nullptr)
        return;
    m_owner = true;
    m_SchemeDescrArray = new SchemeDescr[m_SchemeDescrArraySize];
    m_SchemeNameMap = new std::map<MString, SchemeDescr*>();
    for (long i = 0; i < m_SchemeDescrArraySize; ++i) {
        const AuxRow& row = m_SchemeDescrAuxArray[i];
        m_SchemeDescrArray[i] =
            SchemeDescr{row.name, row.separator, row.hierarchical, row.defaultPort};
        (*m_SchemeNameMap)[row.name] = &m_SchemeDescrArray[i];
    }
}

InternetSchemeMap& InternetSchemeMap::Instance() {
    static InternetSchemeMap map{ProcessWide{}};
    return map;
}

InternetSchemeMap::~InternetSchemeMap() {
    if (!m_owner)
        return;
    delete m_SchemeNameMap;
    delete[] m_SchemeDescrArray;
    m_SchemeNameMap = nullptr;
    m_SchemeDescrArray = nullptr;
}

SchemeDescr* InternetSchemeMap::GetDescr(const char* name) {
    // The same exact match as the name map, without building a key string:
    // the table has a dozen rows.
    if (name != nullptr) {
        for (long i = 0; i < m_SchemeDescrArraySize; ++i) {
            if (std::strcmp(m_SchemeDescrAuxArray[i].name, name) == 0)
                return &m_SchemeDescrArray[i];
        }
    }
    return &m_SchemeDescrArray[0];
}

SchemeDescr* InternetSchemeMap::GetDescr(long tag) {
    return &m_SchemeDescrArray[tag];
}

long InternetSchemeMap::GetTag(SchemeDescr* descr) {
    return static_cast<long>(descr - m_SchemeDescrArray);
}

bool InternetSchemeMap::IsUnknown(SchemeDescr* descr) {
    return descr == &m_SchemeDescrArray[0];
}

InternetSchemeMap& TheInternetSchemeMap() {
    return InternetSchemeMap::Instance();
}

// ---------------------------------------------------------------------------
// Platform calls with the insufficient-buffer retry

namespace {

// The buffer starts at 256 bytes; when the service reports
// ERROR_INSUFFICIENT_BUFFER it is grown to the reported length plus one and
// the call is made once more, and that answer is final.
template <typename Call>
bool CallWithRetry(MString& out, Call call) {
    StringBuffer buffer;
    char* data = buffer.GetBuffer(StringBuffer::kInlineSize);
    DWORD length = static_cast<DWORD>(buffer.GetLength());
    if (!call(data, &length)) {
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER)
            return false;
        data = buffer.GetBuffer(static_cast<unsigned long>(length) + 1);
        if (data == nullptr)
            return false;
        length = static_cast<DWORD>(buffer.GetLength());
        if (!call(data, &length))
            return false;
    }
    out.assign(data, length);
    return true;
}

bool CanonicalizeURL(const char* url, MString& out) {
    return CallWithRetry(out, [url](char* buf, DWORD* len) {
        return InternetCanonicalizeUrlA(url, buf, len, ICU_NO_ENCODE);
    });
}

bool CombineURL(const char* base, const char* relative, MString& out) {
    return CallWithRetry(out, [=](char* buf, DWORD* len) {
        return InternetCombineUrlA(base, relative, buf, len, ICU_NO_ENCODE);
    });
}

bool IsEmpty(const char* s) {
    return s == nullptr || *s == '\0';
}

}  // namespace

// ---------------------------------------------------------------------------
// The parts text

CURLParser::CPartsText::CPartsText(const CPartsText& other) : m_data(m_inline) {
    append(other.m_data, other.m_size);
}

CURLParser::CPartsText& CURLParser::CPartsText::operator=(const CPartsText& other) {
    if (this != &other) {
        clear();
        append(other.m_data, other.m_size);
    }
    return *this;
}

CURLParser::CPartsText::~CPartsText() {
    if (m_data != m_inline)
        delete[] m_data;
}

void CURLParser::CPartsText::reserve(std::size_t capacity) {
    if (capacity <= m_capacity)
        return;
    if (capacity < 2 * m_capacity)
        capacity = 2 * m_capacity;
    char* grown = new char[capacity];
    if (m_size != 0)
        std::memcpy(grown, m_data, m_size);
    if (m_data != m_inline)
        delete[] m_data;
    m_data = grown;
    m_capacity = capacity;
}

CURLParser::CPartsText& CURLParser::CPartsText::append(const char* text, std::size_t length) {
    if (length == 0)
        return *this;
    if (m_size + length > m_capacity) {
        // The text may be a piece of this buffer: it is copied before the
        // old storage goes.
        std::size_t capacity = 2 * m_capacity;
        if (capacity < m_size + length)
            capacity = m_size + length;
        char* grown = new char[capacity];
        std::memcpy(grown, m_data, m_size);
        std::memcpy(grown + m_size, text, length);
        if (m_data != m_inline)
            delete[] m_data;
        m_data = grown;
        m_capacity = capacity;
    } else {
        std::memmove(m_data + m_size, text, length);
    }
    m_size += length;
    return *this;
}

void CURLParser::CPartsText::insert(std::size_t at, char c) {
    reserve(m_size + 1);
    std::memmove(m_data + at + 1, m_data + at, m_size - at);
    m_data[at] = c;
    ++m_size;
}

void CURLParser::CPartsText::erase(std::size_t at, std::size_t length) {
    std::memmove(m_data + at, m_data + at + length, m_size - at - length);
    m_size -= length;
}

void CURLParser::CPartsText::swap(CPartsText& other) {
    if (m_data != m_inline && other.m_data != other.m_inline) {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
        return;
    }
    CPartsText held(other);
    other = *this;
    *this = held;
}

// ---------------------------------------------------------------------------
// CURLParser

CURLParser::CrackFunc CURLParser::lpfncInternetCrackURL = &InternetCrackUrlA;

CURLParser::CURLParser() {
    Clear();
}

CURLParser::CURLParser(const char* url) {
    Clear();
    CreateFromAbsoluteURL(url);
}

CURLParser::CURLParser(const CURLParser& base, const char* url) {
    Clear();
    if (base.IsValid())
        CreateFromRelativeURL(base, url);
    else
        CreateFromAbsoluteURL(url);
}

CURLParser::CURLParser(const char* server, const char* fullPath, const char* scheme) {
    Clear();
    CreateFromServerAndFullPath(server, fullPath, scheme);
}

CURLParser::CURLParser(const char* host, unsigned int port, const char* fullPath,
                       const char* scheme) {
    Clear();
    CreateFromHostAndFullPath(host, port, fullPath, scheme);
}

CURLParser::CURLParser(const char* server, const char* path, const char* ignored,
                       const char* scheme, const char* userInfo, const char* sixth,
                       const char* search) {
    Clear();
    CreateFromServerAndURLParts(server, path, ignored, scheme, userInfo, sixth, search);
}

CURLParser::CURLParser(const char* host, unsigned int port, const char* path, const char* ignored,
                       const char* scheme, const char* userInfo, const char* sixth,
                       const char* search) {
    Clear();
    CreateFromHostAndURLParts(host, port, path, ignored, scheme, userInfo, sixth, search);
}

void CURLParser::Clear() {
    TheInternetSchemeMap();
    m_valid = 0;
    m_scheme = InternetSchemeMap::m_SchemeDescrArray;
    m_port = 0;
    m_buf.clear();
    m_userPart = m_passwordPart = m_hostPart = m_pathPart = m_filePart = m_extraPart = PartRange{};
    m_explicitPort = false;
    m_plain = false;
    m_prefixLen = 0;
}

void CURLParser::SetParts(std::string_view user, std::string_view password, std::string_view host,
                          std::string_view path, std::string_view file, std::string_view extra) {
    // The parts may come from m_buf itself, so they are joined in a new buffer.
    CPartsText buf;
    buf.reserve(user.size() + password.size() + host.size() + path.size() + file.size() +
                extra.size());
    auto add = [&buf](std::string_view piece, PartRange& range) {
        range.off = static_cast<std::uint32_t>(buf.size());
        range.len = static_cast<std::uint32_t>(piece.size());
        buf.append(piece);
    };
    add(user, m_userPart);
    add(password, m_passwordPart);
    add(host, m_hostPart);
    add(path, m_pathPart);
    add(file, m_filePart);
    add(extra, m_extraPart);
    m_buf.swap(buf);
    m_prefixLen = 0;
}

int CURLParser::Create(const CURLParser& base, const char* url) {
    return CreateFromRelativeURL(base, url);
}

namespace {

// Bytes that the canonical form of an http path keeps as they are and that
// never lead a multi-byte character: no blanks or control characters, no
// backslash (it would become a slash), nothing above ASCII.
bool IsPlainPathByte(unsigned char c) {
    return c > 0x20 && c < 0x7f && c != '\\';
}

// Host bytes that lower-casing, the port and the user information leave alone.
constexpr bool IsPlainHostByte(unsigned char c) {
    return c > 0x20 && c < 0x7f && c != ':' && c != '@' && c != '\\' && c != '/' && c != '?' &&
           c != '#' && !(c >= 'A' && c <= 'Z');
}

// IsPlainHostByte as a table: the host is read a byte at a time.
struct PlainHostBytes {
    bool plain[256];
    constexpr PlainHostBytes() : plain() {
        for (int c = 0; c < 256; ++c)
            plain[c] = IsPlainHostByte(static_cast<unsigned char>(c));
    }
};
constexpr PlainHostBytes kPlainHostBytes;

// The bytes that end the search for a link's scheme.
struct SchemeStops {
    bool stop[256];
    constexpr SchemeStops() : stop() {
        for (unsigned char c : {':', '/', '\\', '?', '#'})
            stop[c] = true;
    }
};
constexpr SchemeStops kSchemeStops;

// The same answer as a substring search of the whole text for the port text
// (":80" or ":443"), which cannot start inside the scheme ("http://" has its
// colon before "//"); a byte search for the colons is cheaper than strstr.
bool HasPortText(std::string_view text, std::size_t from, std::string_view port) {
    const char* const data = text.data();
    const std::size_t n = text.size();
    for (const void* at = std::memchr(data + from, ':', n - from); at != nullptr;) {
        const std::size_t k = static_cast<std::size_t>(static_cast<const char*>(at) - data);
        if (text.substr(k, port.size()) == port)
            return true;
        at = std::memchr(data + k + 1, ':', n - k - 1);
    }
    return false;
}

}  // namespace

namespace {

bool IsSeparator(char c) {
    return c == '/' || c == '\\';
}

// The length of "http:" or "https:" at the start of the text (lower case, as
// the one-pass path prints the scheme from the text itself), 0 otherwise.
std::size_t WebSchemeColonEnd(std::string_view text) {
    if (text.starts_with("http:"))
        return 5;
    if (text.starts_with("https:"))
        return 6;
    return 0;
}

// The dot segments of a path ("/" followed by "." or "..", then "/" or the
// end) resolved in place, the way canonicalization and the later clean-up of
// the path leave them: "." disappears, ".." removes the segment before it
// and disappears at the root; but when the first segment is itself a dot
// segment, the path is left to the clean-up, which drops every dot segment
// without removing anything before it. The path starts with "/"; the result
// is never longer. Returns the new end.
std::size_t ResolveDotSegments(char* data, std::size_t begin, std::size_t end) {
    const auto isDot = [data](std::size_t at, std::size_t len) {
        return (len == 1 && data[at] == '.') ||
               (len == 2 && data[at] == '.' && data[at + 1] == '.');
    };
    const auto segmentEnd = [data, end](std::size_t from) {
        const void* slash = std::memchr(data + from, '/', end - from);
        return slash != nullptr ? static_cast<std::size_t>(static_cast<const char*>(slash) - data)
                                : end;
    };
    const std::size_t root = begin + 1;
    const bool leave = isDot(root, segmentEnd(root) - root);
    std::size_t w = root;
    for (std::size_t r = root;;) {
        const std::size_t e = segmentEnd(r);
        const std::size_t len = e - r;
        const bool last = e == end;
        if (isDot(r, len)) {
            // ".." removes the last kept segment (with its "/"), if any.
            if (!leave && len == 2 && w > root) {
                std::size_t k = w - 1;
                while (k > begin && data[k - 1] != '/')
                    --k;
                w = k;
            }
        } else {
            const std::size_t n = len + (last ? 0 : 1);
            if (w != r)
                std::memmove(data + w, data + r, n);
            w += n;
        }
        if (last)
            break;
        r = e + 1;
    }
    return w;
}

}  // namespace

namespace {

// Where the parts of the plainest http or https URL begin and end.
struct PlainWebShape {
    std::size_t hostEnd = 0;
    std::size_t fileStart = 0;
    std::size_t extraStart = 0;
    bool explicitPort = false;
};

#if defined(__SSE2__)

__m128i Load16(const char* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

__m128i Bytes(char c) {
    return _mm_set1_epi8(c);
}

// Takes the measure of an http or https URL (colonEnd follows the scheme's
// colon) 16 bytes at a time, and succeeds only for the plainest shape, which
// the one pass of TakeSimpleText leaves as it stands: "//" after the colon;
// no byte up to a blank, no byte above ASCII and no backslash; a host of
// plain lower-case bytes ending at a "/"; no "." right after a "/"; no
// fragment before a query. Anything else is left to TakeSimpleText, which
// gives the same parts for the URLs taken here. Most of the tests are
// gathered over the whole text and looked at once at the end.
bool MeasurePlainWebURL(const char* data, std::size_t n, std::size_t colonEnd,
                        PlainWebShape& shape) {
    const std::size_t schemeLength = colonEnd + 2;
    if (n <= schemeLength || data[colonEnd] != '/' || data[colonEnd + 1] != '/')
        return false;
    // The text after "//", each piece with the byte before it (for the "/."
    // test). A text shorter than a piece is copied into a padded one; the
    // last piece of a longer text is the last 16 bytes, which may overlap the
    // piece before: every test gives the same answer for a byte seen twice.
    alignas(16) char padded[48];
    const char* text = data;
    const std::size_t from = schemeLength;
    std::size_t end = n;
    if (n - from < 16) {
        // Padded with a byte that counts as nothing; the copy keeps the
        // positions of the text.
        std::memset(padded, 'a', sizeof padded);
        std::memcpy(padded + 16, data + from - 1, n - from + 1);
        text = padded + 17 - from;
        end = from + 16;
    }
    const __m128i below = Bytes(0x21);
    __m128i refused = _mm_setzero_si128();
    __m128i extra = _mm_setzero_si128();
    __m128i dotAfterSlash = _mm_setzero_si128();
    __m128i colons = _mm_setzero_si128();
    bool hostFound = false;
    std::size_t lastSlashPiece = 0;
    unsigned lastSlashes = 0;
    for (std::size_t at = from;; at += 16) {
        if (at + 16 > end)
            at = end - 16;
        const __m128i v = Load16(text + at);
        // Signed bytes: the bytes above ASCII are below 0x21 too.
        refused = _mm_or_si128(refused, _mm_or_si128(_mm_cmplt_epi8(v, below),
                                                     _mm_or_si128(_mm_cmpeq_epi8(v, Bytes(0x7f)),
                                                                  _mm_cmpeq_epi8(v, Bytes('\\')))));
        extra = _mm_or_si128(
            extra, _mm_or_si128(_mm_cmpeq_epi8(v, Bytes('?')), _mm_cmpeq_epi8(v, Bytes('#'))));
        colons = _mm_or_si128(colons, _mm_cmpeq_epi8(v, Bytes(':')));
        const __m128i slash = _mm_cmpeq_epi8(v, Bytes('/'));
        const __m128i slashBefore = _mm_cmpeq_epi8(Load16(text + at - 1), Bytes('/'));
        dotAfterSlash =
            _mm_or_si128(dotAfterSlash, _mm_and_si128(slashBefore, _mm_cmpeq_epi8(v, Bytes('.'))));
        const unsigned slashes = static_cast<unsigned>(_mm_movemask_epi8(slash));
        if (slashes != 0) {
            lastSlashPiece = at;
            lastSlashes = slashes;
        }
        if (!hostFound) {
            // The bytes of this piece up to its first "/" are host bytes.
            unsigned host = ~0u;
            if (slashes != 0) {
                const unsigned k = static_cast<unsigned>(__builtin_ctz(slashes));
                shape.hostEnd = at + k;
                hostFound = true;
                host &= (1u << k) - 1;
            }
            const __m128i upper =
                _mm_and_si128(_mm_cmpgt_epi8(v, Bytes('A' - 1)), _mm_cmplt_epi8(v, Bytes('Z' + 1)));
            const __m128i notHost = _mm_or_si128(
                upper, _mm_or_si128(_mm_cmpeq_epi8(v, Bytes('@')), _mm_cmpeq_epi8(v, Bytes(':'))));
            if ((static_cast<unsigned>(_mm_movemask_epi8(notHost)) & host) != 0)
                return false;
        }
        if (at + 16 >= end)
            break;
    }
    if (!hostFound || shape.hostEnd == schemeLength ||
        _mm_movemask_epi8(_mm_or_si128(refused, dotAfterSlash)) != 0)
        return false;
    shape.extraStart = n;
    shape.fileStart = lastSlashPiece + 31 - static_cast<unsigned>(__builtin_clz(lastSlashes)) + 1;
    if (_mm_movemask_epi8(extra) != 0) {
        // The extra information begins at the first "?", or at a "#" with no
        // "?" after it.
        const void* query = std::memchr(data + schemeLength, '?', n - schemeLength);
        const std::size_t hashEnd =
            query != nullptr ? static_cast<std::size_t>(static_cast<const char*>(query) - data) : n;
        const void* hash = std::memchr(data + schemeLength, '#', hashEnd - schemeLength);
        if (hash != nullptr && query != nullptr)
            return false;
        shape.extraStart = hash != nullptr
                               ? static_cast<std::size_t>(static_cast<const char*>(hash) - data)
                               : hashEnd;
        if (shape.extraStart < shape.hostEnd)
            return false;
        shape.fileStart = static_cast<std::size_t>(
                              static_cast<const char*>(memrchr(data + shape.hostEnd, '/',
                                                               shape.extraStart - shape.hostEnd)) -
                              data) +
                          1;
    }
    // The same plain substring test as the general way.
    shape.explicitPort =
        _mm_movemask_epi8(colons) != 0 &&
        HasPortText(std::string_view(data, n), colonEnd, colonEnd == 5 ? ":80" : ":443");
    return true;
}

#else

bool MeasurePlainWebURL(const char*, std::size_t, std::size_t, PlainWebShape&) {
    return false;
}

#endif

}  // namespace

bool CURLParser::TakeSimpleText(CPartsText& buf, std::size_t colonEnd, std::size_t hostEnd,
                                std::size_t checkFrom, std::string_view portText) {
    // Part offsets are 32 bits.
    if (buf.size() >= 0xFFFFFFF0u)
        return false;
    const std::size_t schemeLength = colonEnd + 2;
    std::size_t n = buf.size();
    char* data = buf.data();
    // Byte searches and branch-free sweeps: URLs with long queries are common.
    const void* query = std::memchr(data + checkFrom, '?', n - checkFrom);
    const std::size_t hashEnd =
        query != nullptr ? static_cast<std::size_t>(static_cast<const char*>(query) - data) : n;
    // A fragment before the query would be split at the query when the URL
    // is taken apart again.
    const void* hash = std::memchr(data + checkFrom, '#', hashEnd - checkFrom);
    if (hash != nullptr && query != nullptr)
        return false;
    std::size_t extraStart =
        hash != nullptr ? static_cast<std::size_t>(static_cast<const char*>(hash) - data) : hashEnd;
    // Backslashes before the query or fragment are slashes.
    if (void* back = std::memchr(data + checkFrom, '\\', extraStart - checkFrom)) {
        for (char* p = static_cast<char*>(back); p < data + extraStart; ++p)
            if (*p == '\\')
                *p = '/';
    }
    if (hostEnd == 0) {
        if (n < schemeLength || data[colonEnd] != '/' || data[colonEnd + 1] != '/')
            return false;
        std::size_t i = schemeLength;
        while (i < extraStart && kPlainHostBytes.plain[static_cast<unsigned char>(data[i])])
            ++i;
        if (i == schemeLength)
            return false;
        if (i == extraStart) {
            // "http://host?x" gains the "/" of an empty path.
            buf.insert(i, '/');
            data = buf.data();
            ++n;
            ++extraStart;
        } else if (data[i] != '/') {
            return false;
        }
        hostEnd = i;
    }
    const std::size_t sweepFrom = checkFrom > hostEnd ? checkFrom : hostEnd;
    // Branch-free sweeps, which the compiler vectorizes.
    unsigned char bad = 0;
    for (std::size_t k = sweepFrom; k < extraStart; ++k) {
        const unsigned char c = static_cast<unsigned char>(data[k]);
        bad |= static_cast<unsigned char>(!IsPlainPathByte(c));
    }
    // Blanks in the extra information are trimmed or removed.
    for (std::size_t k = extraStart > checkFrom ? extraStart : checkFrom; k < n; ++k)
        bad |= static_cast<unsigned char>(static_cast<unsigned char>(data[k]) <= 0x20);
    if (bad)
        return false;
    // Dot segments: the path starts with "/", so a dot is never first; the
    // bytes before checkFrom hold none.
    const std::size_t dotFrom = sweepFrom > hostEnd ? sweepFrom : hostEnd + 1;
    for (const void* dot = dotFrom < extraStart
                               ? std::memchr(data + dotFrom, '.', extraStart - dotFrom)
                               : nullptr;
         dot != nullptr;) {
        const std::size_t k = static_cast<std::size_t>(static_cast<const char*>(dot) - data);
        if (data[k - 1] == '/') {
            const std::size_t e = k + 1 < extraStart && data[k + 1] == '.' ? k + 2 : k + 1;
            if (e == extraStart || data[e] == '/') {
                const std::size_t pathEnd = ResolveDotSegments(data, hostEnd, extraStart);
                buf.erase(pathEnd, extraStart - pathEnd);
                data = buf.data();
                n = buf.size();
                extraStart = pathEnd;
                break;
            }
        }
        dot = k + 1 < extraStart ? std::memchr(data + k + 1, '.', extraStart - k - 1) : nullptr;
    }
    const std::size_t fileStart =
        static_cast<std::size_t>(
            static_cast<const char*>(memrchr(data + hostEnd, '/', extraStart - hostEnd)) - data) +
        1;
    // The same plain substring test as the general way, in the given text or
    // else in the text as taken apart.
    const std::string_view port = colonEnd == 5 ? ":80" : ":443";
    const bool explicitPort = portText.data() != nullptr
                                  ? HasPortText(portText, colonEnd, port)
                                  : HasPortText(std::string_view(data, n), colonEnd, port);
    if (&buf != &m_buf)
        m_buf.swap(buf);
    SetPlainParts(colonEnd, hostEnd, fileStart, extraStart, explicitPort);
    return true;
}

void CURLParser::SetPlainParts(std::size_t colonEnd, std::size_t hostEnd, std::size_t fileStart,
                               std::size_t extraStart, bool explicitPort) {
    const std::size_t schemeLength = colonEnd + 2;
    const bool http = colonEnd == 5;
    // The table exists: every constructor made sure of it.
    m_scheme = InternetSchemeMap::m_SchemeDescrArray + (http ? 3 : 4);
    m_port = m_scheme->defaultPort;
    const auto at = [](std::size_t k) { return static_cast<std::uint32_t>(k); };
    m_userPart = m_passwordPart = PartRange{at(schemeLength), 0};
    m_hostPart = PartRange{at(schemeLength), at(hostEnd - schemeLength)};
    m_pathPart = PartRange{at(hostEnd), at(fileStart - hostEnd)};
    m_filePart = PartRange{at(fileStart), at(extraStart - fileStart)};
    m_extraPart = PartRange{at(extraStart), at(m_buf.size() - extraStart)};
    m_prefixLen = static_cast<std::uint8_t>(schemeLength);
    m_explicitPort = explicitPort;
    m_valid = 1;
    m_plain = true;
}

bool CURLParser::TakeSimpleURL(std::string_view url) {
    // A replaced crack service is always asked.
    if (lpfncInternetCrackURL != nullptr && lpfncInternetCrackURL != &InternetCrackUrlA)
        return false;
    const std::size_t colonEnd = WebSchemeColonEnd(url);
    if (colonEnd == 0)
        return false;
    // clear and append: assign would check whether the text overlaps.
    m_buf.clear();
    m_buf.append(url);
    PlainWebShape shape;
    if (url.size() < 0xFFFFFFF0u && MeasurePlainWebURL(m_buf.data(), url.size(), colonEnd, shape)) {
        SetPlainParts(colonEnd, shape.hostEnd, shape.fileStart, shape.extraStart,
                      shape.explicitPort);
        return true;
    }
    // The explicit port is looked for in the text as given.
    return TakeSimpleText(m_buf, colonEnd, 0, colonEnd, url);
}

bool CURLParser::HasSimpleBase() const {
    if (!m_valid || (m_scheme != TheInternetSchemeMap().GetDescr(3L) &&
                     m_scheme != TheInternetSchemeMap().GetDescr(4L)))
        return false;
    const std::string_view host = Part(m_hostPart);
    const std::string_view path = Part(m_pathPart);
    if (host.empty() || !IsDefaultPort() || path.empty() || path[0] != '/')
        return false;
    for (char c : host)
        if (!IsPlainHostByte(static_cast<unsigned char>(c)))
            return false;
    auto plain = [](std::string_view s, char before) {
        for (char c : s) {
            if (!IsPlainPathByte(static_cast<unsigned char>(c)) || c == '?' || c == '#' ||
                (c == '.' && before == '/'))
                return false;
            before = c;
        }
        return true;
    };
    if (!plain(path, 0) || !plain(Part(m_filePart), path.back()))
        return false;
    for (char c : Part(m_extraPart))
        if (static_cast<unsigned char>(c) <= 0x20)
            return false;
    return true;
}

bool CURLParser::TakeSimpleRelativeURL(const CURLParser& base, const char* url) {
    if (lpfncInternetCrackURL != nullptr && lpfncInternetCrackURL != &InternetCrackUrlA)
        return false;
    if (!(base.m_plain || base.HasSimpleBase()))
        return false;
    // Blanks and control characters, which the general way trims or
    // removes, are refused by the sweep of the joined text: it holds every
    // byte of the link.
    const std::string_view rel(url);
    // Resolving against itself needs the base's parts while the new text is
    // built; otherwise the text is built in place.
    CPartsText local;
    CPartsText& buf = &base == this ? local : m_buf;
    // A scheme ends at a colon that no "/", "\", "?" or "#" precedes (none
    // is a scheme character). Only a plain http or https URL is taken here.
    std::size_t stop = 0;
    while (stop < rel.size() && !kSchemeStops.stop[static_cast<unsigned char>(rel[stop])])
        ++stop;
    if (stop < rel.size() && rel[stop] == ':') {
        // With the base's own scheme, only "//" (not backslashes) makes the
        // link absolute.
        const std::size_t colonEnd = WebSchemeColonEnd(rel);
        if (colonEnd == 0 || rel.size() < colonEnd + 2 || rel[colonEnd] != '/' ||
            rel[colonEnd + 1] != '/')
            return false;
        buf.clear();
        buf.append(rel);
        return TakeSimpleText(buf, colonEnd, 0, colonEnd, std::string_view());
    }
    const std::string_view name = base.m_scheme->name;
    const std::size_t colonEnd = name.size() + 1;
    if (rel.size() >= 2 && IsSeparator(rel[0]) && IsSeparator(rel[1])) {
        // A network-path link keeps only the base's scheme.
        buf.clear();
        buf.reserve(colonEnd + rel.size() + 1);
        buf.append(name).append(":").append(rel);
        return TakeSimpleText(buf, colonEnd, 0, colonEnd, std::string_view());
    }
    const std::string_view host = base.Part(base.m_hostPart);
    const std::string_view path = base.Part(base.m_pathPart);
    const std::string_view extra = base.Part(base.m_extraPart);
    const std::size_t hostEnd = colonEnd + 2 + host.size();
    buf.clear();
    buf.reserve(hostEnd + path.size() + base.m_filePart.len + extra.size() + rel.size() + 1);
    // The one-pass path keeps scheme, host, path, file and extra information
    // as one piece.
    const bool whole = base.m_prefixLen != 0;
    const auto addBase = [&](std::string_view tail, std::size_t tailEnd) {
        if (whole)
            buf.append(base.m_buf.data(), tailEnd);
        else
            buf.append(name).append("://").append(host).append(tail);
    };
    std::size_t checkFrom = hostEnd;
    if (!rel.empty() && rel[0] == '#') {
        // The base without its fragment, then the new fragment.
        const std::string_view search = extra.substr(0, extra.find('#'));
        if (whole) {
            addBase({}, base.m_extraPart.off + search.size());
        } else {
            addBase(path, 0);
            buf.append(base.Part(base.m_filePart)).append(search);
        }
    } else if (rel.empty() || !IsSeparator(rel[0])) {
        // A relative path (or a query, or nothing) goes after the base's
        // directory, which holds no query, fragment, backslash or dot
        // segment: only the link is checked.
        addBase(path, base.m_pathPart.off + path.size());
        checkFrom = buf.size();
    } else {
        addBase({}, hostEnd);
    }
    buf.append(rel);
    return TakeSimpleText(buf, colonEnd, hostEnd, checkFrom, std::string_view());
}

int CURLParser::CreateFromAbsoluteURL(const char* url) {
    // A bare fragment or query is never an absolute URL.
    if (url != nullptr && url[0] != '#' && url[0] != '?' && TakeSimpleURL(url))
        return m_valid;
    return CreateFromAbsoluteURLGenerally(url);
}

// Kept out of line: the common case above then needs no room for the
// general way's strings.
[[gnu::noinline]] int CURLParser::CreateFromAbsoluteURLGenerally(const char* url) {
    Clear();
    if (url == nullptr || url[0] == '#' || url[0] == '?')
        return 0;
    MString canonical;
    if (!CanonicalizeURL(url, canonical))
        return 0;
    return m_valid = CreateFromCanonicalText(canonical.c_str(), url);
}

int CURLParser::CreateFromRelativeURL(const CURLParser& base, const char* url) {
    if (url != nullptr && TakeSimpleRelativeURL(base, url))
        return m_valid;
    MString baseText;
    base.ToStringRep(baseText, LABEL | SEARCH);
    Clear();
    if (url == nullptr)
        return 0;
    MString combined;
    if (!CombineURL(baseText.c_str(), url, combined))
        return 0;
    return m_valid = CreateFromCanonicalText(combined.c_str(), combined.c_str());
}

int CURLParser::CreateFromCanonicalText(const char* text, const char* portSearchText) {
    URL_COMPONENTSA components{};
    components.dwStructSize = URL_COMPONENTSA_SIZE32;
    components.dwSchemeLength = components.dwHostNameLength = components.dwUserNameLength =
        components.dwPasswordLength = components.dwUrlPathLength = components.dwExtraInfoLength =
            DWORD(-1);
    CrackFunc crack = lpfncInternetCrackURL ? lpfncInternetCrackURL : &InternetCrackUrlA;
    if (!crack(text, static_cast<DWORD>(std::strlen(text)), 0, &components))
        return 0;
    if (!CreateFromURLComponents(components))
        return 0;
    // A plain substring test: ":<port>" anywhere in the text counts.
    char needle[8];
    std::snprintf(needle, sizeof needle, ":%u", static_cast<unsigned int>(m_port));
    m_explicitPort = std::strstr(portSearchText, needle) != nullptr;
    return 1;
}

int CURLParser::CreateFromURLComponents(const URL_COMPONENTSA& c) {
    auto piece = [](const char* p, DWORD n) {
        return p != nullptr && n != 0 ? MString(p, n) : MString();
    };
    m_scheme = TheInternetSchemeMap().GetDescr(piece(c.lpszScheme, c.dwSchemeLength).c_str());
    const MString host = piece(c.lpszHostName, c.dwHostNameLength);
    const MString userName = piece(c.lpszUserName, c.dwUserNameLength);
    const MString password = piece(c.lpszPassword, c.dwPasswordLength);
    std::string_view path, file;
    m_port = c.nPort != 0 ? c.nPort : m_scheme->defaultPort;
    MString urlPath = piece(c.lpszUrlPath, c.dwUrlPathLength);
    if (!urlPath.empty()) {
        NormalizePath(urlPath);
        const unsigned int codePage = GetProcessCodePage();
        std::size_t cut = MString::npos;
        // The last separator that is a whole character (not a trail byte).
        for (std::size_t i = 0; i < urlPath.size(); ++i) {
            // No code page has a lead byte below 0x80.
            const unsigned char byte = static_cast<unsigned char>(urlPath[i]);
            if (byte >= 0x80 && IsLeadByte(codePage, byte) && i + 1 < urlPath.size()) {
                ++i;
                continue;
            }
            if (urlPath[i] == '/' || urlPath[i] == '\\')
                cut = i + 1;
        }
        if (cut == MString::npos) {
            unsigned char first = static_cast<unsigned char>(urlPath[0]);
            bool drive = urlPath.size() >= 3 && ((first | 0x20) >= 'a' && (first | 0x20) <= 'z') &&
                         urlPath[1] == ':';
            cut = drive ? 2 : 0;
        }
        path = std::string_view(urlPath).substr(0, cut);
        file = std::string_view(urlPath).substr(cut);
    }
    SetParts(userName, password, host, path, file, piece(c.lpszExtraInfo, c.dwExtraInfoLength));
    return 1;
}

void CURLParser::NormalizePath(MString& path) {
    enum State { Normal, AfterSeparator, OneDot, TwoDots };
    const unsigned int codePage = GetProcessCodePage();
    auto isSep = [](char c) { return c == '/' || c == '\\'; };
    // Nothing to do without a "." right after a separator.
    bool candidate = false;
    for (std::size_t k = 1; k < path.size() && !candidate; ++k)
        candidate = path[k] == '.' && isSep(path[k - 1]);
    if (!candidate)
        return;
    MString out;
    out.reserve(path.size());
    std::size_t i = 0;
    // A UNC server name is passed over as it stands.
    if (path.size() >= 2 && path[0] == '\\' && path[1] == '\\') {
        i = 2;
        while (i < path.size() && !isSep(path[i])) {
            if (IsLeadByte(codePage, static_cast<unsigned char>(path[i])) && i + 1 < path.size())
                ++i;
            ++i;
        }
        out.assign(path, 0, i);
    }
    State state = Normal;
    for (; i < path.size(); ++i) {
        char c = path[i];
        if (IsLeadByte(codePage, static_cast<unsigned char>(c)) && i + 1 < path.size()) {
            if (state == OneDot)
                out += '.';
            if (state == TwoDots)
                out += "..";
            out += c;
            out += path[++i];
            state = Normal;
            continue;
        }
        switch (state) {
            case Normal:
                out += c;
                if (isSep(c))
                    state = AfterSeparator;
                break;
            case AfterSeparator:
                if (c == '.') {
                    state = OneDot;
                } else {
                    out += c;
                    if (!isSep(c))
                        state = Normal;
                }
                break;
            case OneDot:
                if (isSep(c)) {
                    state = AfterSeparator;  // "./" disappears
                } else if (c == '.') {
                    state = TwoDots;
                } else {
                    out += '.';
                    out += c;
                    state = Normal;
                }
                break;
            case TwoDots:
                // "../" disappears; the segment before it is kept on purpose.
                if (isSep(c)) {
                    state = AfterSeparator;
                } else {
                    out += "..";
                    out += c;
                    state = Normal;
                }
                break;
        }
    }
    path.swap(out);
}

int CURLParser::CreateFromServerAndFullPath(const char* server, const char* fullPath,
                                            const char* scheme) {
    Clear();
    SchemeDescr* descr = TheInternetSchemeMap().GetDescr(IsEmpty(scheme) ? "http" : scheme);
    if (TheInternetSchemeMap().IsUnknown(descr))
        return 0;
    MString text =
        descr->name + descr->separator + (server ? server : "") + (fullPath ? fullPath : "");
    return CreateFromAbsoluteURL(text.c_str());
}

int CURLParser::CreateFromHostAndFullPath(const char* host, unsigned int port, const char* fullPath,
                                          const char* scheme) {
    MString server = MString(host ? host : "") + ":" + std::to_string(port);
    return CreateFromServerAndFullPath(server.c_str(), fullPath, scheme);
}

int CURLParser::CreateFromServerAndURLParts(const char* server, const char* path,
                                            const char* ignored, const char* scheme,
                                            const char* userInfo, const char* sixth,
                                            const char* search) {
    (void)ignored;
    Clear();
    SchemeDescr* descr = TheInternetSchemeMap().GetDescr(IsEmpty(scheme) ? "http" : scheme);
    if (TheInternetSchemeMap().IsUnknown(descr))
        return 0;
    MString text = descr->name + descr->separator;
    if (!IsEmpty(userInfo))
        text += MString(userInfo) + "@";
    if (server)
        text += server;
    if (path)
        text += path;
    if (!IsEmpty(search))
        text += MString("?") + search;
    // The sixth part is joined with "@", not "#"; kept as the system does it.
    if (!IsEmpty(sixth))
        text += MString("@") + sixth;
    return CreateFromAbsoluteURL(text.c_str());
}

int CURLParser::CreateFromHostAndURLParts(const char* host, unsigned int port, const char* path,
                                          const char* ignored, const char* scheme,
                                          const char* userInfo, const char* sixth,
                                          const char* search) {
    MString server = MString(host ? host : "") + ":" + std::to_string(port);
    return CreateFromServerAndURLParts(server.c_str(), path, ignored, scheme, userInfo, sixth,
                                       search);
}

// ---------------------------------------------------------------------------
// Accessors

MString CURLParser::GetProtocol() const {
    return m_valid ? m_scheme->name : MString();
}
MString CURLParser::GetHost() const {
    return m_valid ? MString(Part(m_hostPart)) : MString();
}
MString CURLParser::GetMail() const {
    return m_valid ? MString(Part(m_userPart)) : MString();
}
MString CURLParser::GetUserNameA() const {
    return m_valid ? MString(Part(m_userPart)) : MString();
}
MString CURLParser::GetPassword() const {
    return m_valid ? MString(Part(m_passwordPart)) : MString();
}
MString CURLParser::GetPath() const {
    return m_valid ? MString(Part(m_pathPart)) : MString();
}
MString CURLParser::GetFile() const {
    return m_valid ? MString(Part(m_filePart)) : MString();
}
unsigned int CURLParser::GetPortInt() const {
    return m_valid ? m_port : 0u;
}
MString CURLParser::GetPortString() const {
    return m_valid ? std::to_string(m_port) : MString();
}

bool CURLParser::IsDefaultPort() const {
    return m_port == m_scheme->defaultPort;
}

MString CURLParser::GetServer() const {
    if (!m_valid)
        return MString();
    MString server(Part(m_hostPart));
    if (!IsDefaultPort())
        server.append(1, ':').append(std::to_string(m_port));
    return server;
}

void CURLParser::DivideExtra(std::string_view* search, std::string_view* label) const {
    *search = std::string_view();
    *label = std::string_view();
    const std::string_view extra = Part(m_extraPart);
    if (extra.empty())
        return;
    if (extra[0] == '#') {
        *label = extra.substr(1);
    } else if (extra[0] == '?') {
        const std::size_t hash = extra.find('#');
        if (hash == std::string_view::npos) {
            *search = extra.substr(1);
        } else {
            *search = extra.substr(1, hash - 1);
            *label = extra.substr(hash + 1);
        }
    }
}

void CURLParser::DivideExtra(MString* search, MString* label) const {
    std::string_view s, l;
    DivideExtra(&s, &l);
    search->assign(s);
    label->assign(l);
}

MString CURLParser::GetSearch() const {
    if (!m_valid || m_extraPart.len == 0)
        return MString();
    std::string_view search, label;
    DivideExtra(&search, &label);
    return MString(search);
}

MString CURLParser::GetLabel() const {
    std::string_view search, label;
    if (m_valid)
        DivideExtra(&search, &label);
    return MString(label);
}

MString CURLParser::FullPath() const {
    const std::string_view path = Part(m_pathPart);
    const std::string_view file = Part(m_filePart);
    MString text;
    text.reserve(path.size() + file.size() + m_extraPart.len + 2);
    text.append(path).append(file);
    return text;
}

MString CURLParser::GetFullPath() const {
    return m_valid ? FullPath() : MString();
}

MString CURLParser::GetFullPathWithLabel() const {
    if (!m_valid)
        return MString();
    std::string_view search, label;
    DivideExtra(&search, &label);
    MString text = FullPath();
    if (!label.empty())
        text.append(1, '#').append(label);
    return text;
}

MString CURLParser::GetFullPathWithSearch() const {
    if (!m_valid)
        return MString();
    // Any extra information gives a "?", even one holding only a label.
    MString text = FullPath();
    if (m_extraPart.len != 0) {
        std::string_view search, label;
        DivideExtra(&search, &label);
        text.append(1, '?').append(search);
    }
    return text;
}

MString CURLParser::GetFullPathWithLabelAndSearch() const {
    if (!m_valid)
        return MString();
    std::string_view search, label;
    DivideExtra(&search, &label);
    MString text = FullPath();
    if (!search.empty())
        text.append(1, '?').append(search);
    else if (Part(m_extraPart) == "?")
        text += "?";
    if (!label.empty())
        text.append(1, '#').append(label);
    return text;
}

MString CURLParser::GetFullURL() const {
    if (m_valid && m_prefixLen != 0)
        return MString(m_buf.data(), m_extraPart.off);
    MString text;
    if (m_valid)
        ToStringRep(text, 0);
    return text;
}

MString CURLParser::GetFullURLWithSearch() const {
    MString text;
    if (m_valid)
        ToStringRep(text, SEARCH);
    return text;
}

MString CURLParser::GetFullURLWithLabelAndSearch() const {
    MString text;
    if (m_valid)
        ToStringRep(text, LABEL | SEARCH);
    return text;
}

bool CURLParser::IsWellKnownScheme() const {
    return m_valid && !TheInternetSchemeMap().IsUnknown(m_scheme);
}

int CURLParser::EstimateStringRepSize(int options) const {
    std::size_t size = m_scheme->name.size() + m_hostPart.len + 10;
    if (options & USERINFO)
        size += m_userPart.len + m_passwordPart.len + 2;
    size += m_pathPart.len + m_filePart.len + 1;
    if (options & (LABEL | SEARCH))
        size += m_extraPart.len;
    return static_cast<int>(size);
}

int CURLParser::ToStringRep(MString& text, int options) const {
    const bool whole = (options & LABEL) && (options & SEARCH);
    if (m_prefixLen != 0) {
        // Scheme to file (and the extra information) are one piece of m_buf.
        const std::size_t end = m_extraPart.off;
        if (whole || m_extraPart.len == 0 || !(options & (LABEL | SEARCH))) {
            text.assign(m_buf.data(), whole ? m_buf.size() : end);
            return static_cast<int>(text.size());
        }
        text.clear();
        text.reserve(m_buf.size() + 1);
        text.append(m_buf.data(), end);
        AppendExtra(text, options);
        return static_cast<int>(text.size());
    }
    text.clear();
    text.reserve(static_cast<std::size_t>(EstimateStringRepSize(options)));
    text += m_scheme->name;
    text += m_scheme->separator;
    const std::string_view user = Part(m_userPart);
    const std::string_view password = Part(m_passwordPart);
    const std::string_view host = Part(m_hostPart);
    const std::string_view extra = Part(m_extraPart);
    if ((options & USERINFO) && !user.empty()) {
        text += user;
        if (!password.empty())
            text.append(1, ':').append(password);
        text += "@";
    }
    // Host, path, file and extra information follow each other in the
    // buffer: without a port to insert they are appended in one piece.
    if (host.empty() || IsDefaultPort()) {
        text.append(
            m_buf.data() + m_hostPart.off,
            m_hostPart.len + m_pathPart.len + m_filePart.len + (whole ? m_extraPart.len : 0));
        if (whole)
            return static_cast<int>(text.size());
    } else {
        text += host;
        text += ":" + std::to_string(m_port);
        text.append(m_buf.data() + m_pathPart.off, m_pathPart.len + m_filePart.len);
    }
    if (!extra.empty()) {
        if (whole)
            text += extra;
        else
            AppendExtra(text, options);
    }
    return static_cast<int>(text.size());
}

void CURLParser::AppendExtra(MString& text, int options) const {
    const std::string_view extra = Part(m_extraPart);
    if (extra.empty() || !(options & (LABEL | SEARCH)))
        return;
    std::string_view search, label;
    DivideExtra(&search, &label);
    // With the label option alone a label suppresses the search.
    if ((options & LABEL) && !label.empty())
        text.append(1, '#').append(label);
    else if (extra[0] == '?')
        text.append(1, '?').append(search);
}

MString CURLParser::GetSimplifiedHost() const {
    if (!m_valid)
        return MString();
    const MString host(Part(m_hostPart));
    if (host.empty())
        return m_scheme->name;
    std::vector<MString> labels;
    std::size_t start = 0;
    while (true) {
        std::size_t dot = host.find('.', start);
        labels.push_back(host.substr(start, dot == MString::npos ? MString::npos : dot - start));
        if (dot == MString::npos)
            break;
        start = dot + 1;
    }
    if (labels.size() < 2)
        return host;
    auto generic = [](const MString& s) {
        static const char* const kGeneric[] = {"edu", "com", "mil", "net", "co",
                                               "ac",  "gov", "go",  "org"};
        for (const char* g : kGeneric)
            if (s == g)
                return true;
        return false;
    };
    if (generic(labels.back())) {
        labels.pop_back();
    } else if (labels.back().size() == 2) {
        labels.pop_back();
        if (labels.size() > 1 && generic(labels.back()))
            labels.pop_back();
    }
    if (labels.size() > 1)
        labels.erase(labels.begin());
    MString joined;
    for (std::size_t i = 0; i < labels.size(); ++i) {
        if (i)
            joined += "_";
        joined += labels[i];
    }
    return joined;
}
