#include "webstep/recording/SnapshotXmlReader.h"

#include <expat.h>

#include <cstdio>
#include <cstring>
#include <vector>

namespace {

// Header values and the HTTPAllHeaders text only serve small lines: hostile
// files must not make them grow without end.
constexpr std::size_t kMaxHeaderBytes = 1024 * 1024;
constexpr std::size_t kMaxAllHeadersBytes = 4096;

bool AsciiEqual(const char* a, const char* b) {
    for (; *a && *b; ++a, ++b) {
        char x = *a, y = *b;
        if (x >= 'A' && x <= 'Z')
            x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z')
            y = static_cast<char>(y - 'A' + 'a');
        if (x != y)
            return false;
    }
    return *a == *b;
}

bool StartsWithHttp(std::string_view text) {
    return text.size() >= 5 && (text[0] == 'H' || text[0] == 'h') &&
           (text[1] == 'T' || text[1] == 't') && (text[2] == 'T' || text[2] == 't') &&
           (text[3] == 'P' || text[3] == 'p') && text[4] == '/';
}

// A status code of three digits at the start of text (after blanks); 0 when
// there is none.
int ReadStatusCode(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    int code = 0, digits = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9' && digits < 4) {
        code = code * 10 + (text[i] - '0');
        ++digits;
        ++i;
    }
    return (digits == 3 && code >= 100) ? code : 0;
}

// The code of a status line "HTTP/1.1 200 OK"; 0 when text is not one.
int StatusFromStatusLine(std::string_view text) {
    if (!StartsWithHttp(text))
        return 0;
    std::size_t space = text.find_first_of(" \t");
    if (space == std::string_view::npos)
        return 0;
    return ReadStatusCode(text.substr(space));
}

// The parser reads every 8-bit file as ISO-8859-1, so that each byte comes
// back as one code point; this turns the UTF-8 it hands over back into the
// bytes of the file. Code points above 255 (from character references) stay
// UTF-8.
std::string FileBytes(const char* utf8, bool byteTransparent) {
    std::string out;
    if (!byteTransparent) {
        out = utf8;
        return out;
    }
    const std::size_t n = std::strlen(utf8);
    out.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(utf8[i]);
        if ((c == 0xC2 || c == 0xC3) && i + 1 < n) {
            const unsigned char next = static_cast<unsigned char>(utf8[i + 1]);
            out += static_cast<char>(((c & 0x03) << 6) | (next & 0x3F));
            ++i;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

const char* FindAttribute(const XML_Char** atts, const char* name) {
    for (int i = 0; atts[i]; i += 2) {
        if (std::strcmp(atts[i], name) == 0)
            return atts[i + 1];
    }
    return nullptr;
}

// Where the decoded bytes of an ActualData element go.
enum class SinkKind { None, HeaderValue, Body, AllHeaders };

// What an open element is to the reader.
enum class Node {
    Outside,     // an element around the tasks (the root, any wrapper)
    Task,        // HTTPTask
    Side,        // HTTPRequest or HTTPResponse
    Headers,     // HTTPHeaders
    HeaderItem,  // HTTPHeaderEntity
    Body,        // HTTPBody
    AllHeaders,  // HTTPAllHeaders (read for the status line only)
    Data,        // HTTPDataSet, HTTPData and anything else around ActualData
    ActualData
};

// 0..63 for the base64 alphabet (both the standard and the URL-safe one),
// kBlank for white space, kPad for "=", kBad for anything else.
constexpr unsigned char kBlank = 64, kPad = 65, kBad = 66;

struct Base64Table {
    unsigned char value[256];
    Base64Table() {
        std::memset(value, kBad, sizeof value);
        const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (int i = 0; i < 64; ++i)
            value[static_cast<unsigned char>(alphabet[i])] = static_cast<unsigned char>(i);
        value[static_cast<unsigned char>('-')] = 62;
        value[static_cast<unsigned char>('_')] = 63;
        for (char c : {' ', '\t', '\r', '\n', '\f', '\v'})
            value[static_cast<unsigned char>(c)] = kBlank;
        value[static_cast<unsigned char>('=')] = kPad;
    }
};

const Base64Table& Table() {
    static const Base64Table table;
    return table;
}

}  // namespace

// One read of one file: the expat parser and the state of the task being
// read.
class CSnapshotXmlReader::CParse {
public:
    CParse(const SnapshotReadOptions& options, const std::string& fileName,
           const Callback& callback, FolderMessages& messages)
        : m_options(options), m_fileName(fileName), m_callback(callback), m_messages(messages) {}

    ~CParse() {
        if (m_parser)
            XML_ParserFree(m_parser);
    }

    // Makes the parser; utf16 when the file starts with a UTF-16 byte order
    // mark (the only case where the bytes are not taken one by one).
    bool Create(bool utf16) {
        m_byteTransparent = !utf16;
        m_parser = XML_ParserCreate(utf16 ? nullptr : "ISO-8859-1");
        if (!m_parser) {
            AddFolderWarning(m_messages, m_fileName, 0, "cannot create an XML parser");
            return false;
        }
        XML_SetUserData(m_parser, this);
        XML_SetElementHandler(m_parser, &CParse::OnStart, &CParse::OnEnd);
        XML_SetCharacterDataHandler(m_parser, &CParse::OnText);
        return true;
    }

    XML_Parser Parser() const { return m_parser; }

    // Parses len bytes already in the parser's buffer; false when the read
    // ends (error or stop).
    bool ParseBuffer(int len, bool final) {
        if (XML_ParseBuffer(m_parser, len, final) == XML_STATUS_OK)
            return true;
        Failed();
        return false;
    }

    bool Parse(const char* data, int len, bool final) {
        if (XML_Parse(m_parser, data, len, final) == XML_STATUS_OK)
            return true;
        Failed();
        return false;
    }

    SnapshotReadResult& Result() { return m_result; }

private:
    void Failed() {
        const XML_Error code = XML_GetErrorCode(m_parser);
        if (code == XML_ERROR_ABORTED && m_result.stopped)
            return;
        m_result.broken = true;
        const unsigned line = static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser));
        const XML_LChar* text = XML_ErrorString(code);
        AddFolderWarning(m_messages, m_fileName, line,
                         std::string("broken XML: ") + (text ? text : "unknown error") +
                             "; the snapshot counts as not recorded");
    }

    static void XMLCALL OnStart(void* data, const XML_Char* name, const XML_Char** atts) {
        static_cast<CParse*>(data)->Start(name, atts);
    }
    static void XMLCALL OnEnd(void* data, const XML_Char* name) {
        static_cast<CParse*>(data)->End(name);
    }
    static void XMLCALL OnText(void* data, const XML_Char* text, int len) {
        static_cast<CParse*>(data)->Text(text, len);
    }

    void Start(const char* name, const XML_Char** atts) {
        if (m_skipDepth > 0) {
            ++m_skipDepth;
            return;
        }
        const Node top = m_stack.empty() ? Node::Outside : m_stack.back();
        switch (top) {
            case Node::Outside:
                if (std::strcmp(name, "HTTPTask") == 0)
                    StartTask(atts);
                else
                    m_stack.push_back(Node::Outside);
                return;
            case Node::Task:
                if (std::strcmp(name, "HTTPRequest") == 0) {
                    m_response = false;
                    if (const char* method = FindAttribute(atts, "method"))
                        m_exchange.method = FileBytes(method, m_byteTransparent);
                    m_stack.push_back(Node::Side);
                } else if (std::strcmp(name, "HTTPResponse") == 0) {
                    m_response = true;
                    for (int i = 0; atts[i] && !m_exchange.responseStatus; i += 2) {
                        if (AsciiEqual(atts[i], "status") || AsciiEqual(atts[i], "statusCode") ||
                            AsciiEqual(atts[i], "code"))
                            m_exchange.responseStatus = ReadStatusCode(atts[i + 1]);
                    }
                    m_stack.push_back(Node::Side);
                } else {
                    m_skipDepth = 1;
                }
                return;
            case Node::Side:
                if (std::strcmp(name, "HTTPHeaders") == 0) {
                    m_stack.push_back(Node::Headers);
                } else if (std::strcmp(name, "HTTPBody") == 0) {
                    m_stack.push_back(Node::Body);
                } else if (std::strcmp(name, "HTTPAllHeaders") == 0 && m_response &&
                           m_exchange.responseStatus == 0) {
                    m_allHeaders.clear();
                    m_stack.push_back(Node::AllHeaders);
                } else {
                    m_skipDepth = 1;
                }
                return;
            case Node::Headers:
                if (std::strcmp(name, "HTTPHeaderEntity") == 0) {
                    const char* headerName = FindAttribute(atts, "name");
                    m_header.name = headerName ? FileBytes(headerName, m_byteTransparent) : "";
                    m_header.value.clear();
                    m_headerCut = false;
                    m_stack.push_back(Node::HeaderItem);
                } else {
                    m_skipDepth = 1;
                }
                return;
            case Node::HeaderItem:
            case Node::Body:
            case Node::AllHeaders:
            case Node::Data:
                if (std::strcmp(name, "ActualData") == 0) {
                    m_quad = 0;
                    m_count = 0;
                    m_bad = false;
                    m_stack.push_back(Node::ActualData);
                } else {
                    m_stack.push_back(Node::Data);
                }
                return;
            case Node::ActualData:
                m_skipDepth = 1;
                return;
        }
    }

    void StartTask(const XML_Char** atts) {
        const char* origin = FindAttribute(atts, "origin");
        const bool first = m_tasksSeen++ == 0;
        // A task without an origin is taken as the step's own request only
        // when it comes first, as the primary task does.
        const bool primary = origin ? std::strcmp(origin, "Primary") == 0 : first;
        if (m_done || (m_options.primaryOnly && !primary)) {
            m_skipDepth = 1;
            return;
        }
        m_exchange = HttpExchange();
        m_exchange.line = static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser));
        if (origin) {
            m_exchange.originText = FileBytes(origin, m_byteTransparent);
            m_exchange.origin = HttpExchange::OriginFromText(m_exchange.originText);
        } else if (primary) {
            m_exchange.origin = ExchangeOrigin::Primary;
        }
        if (const char* frame = FindAttribute(atts, "frame"))
            m_exchange.frame = FileBytes(frame, m_byteTransparent);
        if (const char* id = FindAttribute(atts, "id"))
            m_exchange.taskId = FileBytes(id, m_byteTransparent);
        if (const char* method = FindAttribute(atts, "method"))
            m_exchange.method = FileBytes(method, m_byteTransparent);
        if (const char* url = FindAttribute(atts, "url")) {
            m_exchange.url = FileBytes(url, m_byteTransparent);
        } else if (const char* host = FindAttribute(atts, "hostname")) {
            // No URL written: rebuild it from its parts.
            const char* port = FindAttribute(atts, "port");
            const char* path = FindAttribute(atts, "path");
            const bool https = port && std::strcmp(port, "443") == 0;
            m_exchange.url =
                std::string(https ? "https://" : "http://") + FileBytes(host, m_byteTransparent);
            if (port && std::strcmp(port, "443") != 0 && std::strcmp(port, "80") != 0 && *port)
                m_exchange.url += std::string(":") + port;
            const std::string pathText = path ? FileBytes(path, m_byteTransparent) : "";
            m_exchange.url += (pathText.empty() || pathText[0] != '/') ? "/" + pathText : pathText;
        }
        m_stack.push_back(Node::Task);
    }

    void End(const char*) {
        if (m_skipDepth > 0) {
            --m_skipDepth;
            return;
        }
        if (m_stack.empty())
            return;
        const Node node = m_stack.back();
        m_stack.pop_back();
        switch (node) {
            case Node::ActualData:
                FinishActualData();
                break;
            case Node::HeaderItem:
                FinishHeader();
                break;
            case Node::AllHeaders:
                if (m_exchange.responseStatus == 0) {
                    const std::size_t end = m_allHeaders.find_first_of("\r\n");
                    m_exchange.responseStatus =
                        StatusFromStatusLine(std::string_view(m_allHeaders).substr(0, end));
                }
                m_allHeaders.clear();
                break;
            case Node::Task:
                FinishTask();
                break;
            default:
                break;
        }
    }

    void FinishHeader() {
        HttpHeader& header = m_header;
        if (m_response) {
            // A status line written as a header is the status, not a header.
            if (StartsWithHttp(header.name) ||
                (header.name.empty() && StartsWithHttp(header.value))) {
                if (m_exchange.responseStatus == 0) {
                    m_exchange.responseStatus = StatusFromStatusLine(
                        header.name.empty() ? header.value : header.name + " " + header.value);
                }
                return;
            }
            if (m_exchange.responseStatus == 0 && (AsciiEqual(header.name.c_str(), "status") ||
                                                   AsciiEqual(header.name.c_str(), ":status")))
                m_exchange.responseStatus = ReadStatusCode(header.value);
        }
        (m_response ? m_exchange.responseHeaders : m_exchange.requestHeaders)
            .push_back(std::move(header));
        header = HttpHeader();
    }

    void FinishTask() {
        ++m_result.exchanges;
        const bool more = m_callback ? m_callback(m_exchange) : true;
        // The bodies may be large: let them go now, not at the next task.
        m_exchange = HttpExchange();
        if (!more || m_options.primaryOnly) {
            m_result.stopped = true;
            if (more && m_options.checkToEnd)
                m_done = true;
            else
                XML_StopParser(m_parser, XML_FALSE);
        }
    }

    SinkKind CurrentSink() const {
        // The nearest container above the ActualData element.
        for (auto it = m_stack.rbegin(); it != m_stack.rend(); ++it) {
            switch (*it) {
                case Node::HeaderItem:
                    return SinkKind::HeaderValue;
                case Node::Body:
                    return SinkKind::Body;
                case Node::AllHeaders:
                    return SinkKind::AllHeaders;
                case Node::Data:
                case Node::ActualData:
                    continue;
                default:
                    return SinkKind::None;
            }
        }
        return SinkKind::None;
    }

    void Text(const char* text, int len) {
        if (m_skipDepth > 0 || m_stack.empty() || m_stack.back() != Node::ActualData || m_bad)
            return;
        const Base64Table& table = Table();
        char out[3072];
        std::size_t used = 0;
        for (int i = 0; i < len; ++i) {
            const unsigned char v = table.value[static_cast<unsigned char>(text[i])];
            if (v < 64) {
                m_quad = (m_quad << 6) | v;
                if (++m_count == 4) {
                    out[used++] = static_cast<char>((m_quad >> 16) & 0xFF);
                    out[used++] = static_cast<char>((m_quad >> 8) & 0xFF);
                    out[used++] = static_cast<char>(m_quad & 0xFF);
                    m_quad = 0;
                    m_count = 0;
                    if (used == sizeof out) {
                        Emit(out, used);
                        used = 0;
                    }
                }
            } else if (v == kBlank) {
                continue;
            } else if (v == kPad) {
                // Padding ends a group; what follows may be another encoded
                // part written right after it.
                used += Flush(out + used);
                if (used + 3 > sizeof out) {
                    Emit(out, used);
                    used = 0;
                }
            } else {
                Emit(out, used);
                used = 0;
                m_bad = true;
                char what[64];
                std::snprintf(what, sizeof what, "byte 0x%02X",
                              static_cast<unsigned char>(text[i]));
                AddFolderWarning(m_messages, m_fileName,
                                 static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser)),
                                 std::string("ActualData is not base64 (") + what +
                                     "); the value is kept as far as it was decoded");
                return;
            }
        }
        Emit(out, used);
    }

    // Writes the bytes of an incomplete group (2 or 3 characters) to out;
    // returns how many.
    std::size_t Flush(char* out) {
        std::size_t n = 0;
        if (m_count == 2) {
            out[n++] = static_cast<char>((m_quad >> 4) & 0xFF);
        } else if (m_count == 3) {
            out[n++] = static_cast<char>((m_quad >> 10) & 0xFF);
            out[n++] = static_cast<char>((m_quad >> 2) & 0xFF);
        }
        m_quad = 0;
        m_count = 0;
        return n;
    }

    void FinishActualData() {
        if (m_bad)
            return;
        if (m_count == 1) {
            AddFolderWarning(m_messages, m_fileName,
                             static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser)),
                             "ActualData ends with a single base64 character; it is ignored");
        }
        char out[3];
        Emit(out, Flush(out));
    }

    void Emit(const char* bytes, std::size_t n) {
        if (n == 0)
            return;
        switch (CurrentSink()) {
            case SinkKind::HeaderValue: {
                const std::size_t room = kMaxHeaderBytes - m_header.value.size();
                if (n > room && !m_headerCut) {
                    m_headerCut = true;
                    AddFolderWarning(m_messages, m_fileName,
                                     static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser)),
                                     "header value longer than 1 MiB; the rest is dropped");
                }
                m_header.value.append(bytes, n < room ? n : room);
                break;
            }
            case SinkKind::AllHeaders: {
                const std::size_t room = kMaxAllHeadersBytes - m_allHeaders.size();
                m_allHeaders.append(bytes, n < room ? n : room);
                break;
            }
            case SinkKind::Body: {
                const bool keep =
                    m_response ? m_options.keepResponseBodies : m_options.keepRequestBodies;
                std::string& body = m_response ? m_exchange.responseBody : m_exchange.requestBody;
                (m_response ? m_exchange.responseBodySize : m_exchange.requestBodySize) += n;
                if (!keep) {
                    (m_response ? m_exchange.responseBodyLeftOut : m_exchange.requestBodyLeftOut) =
                        true;
                    break;
                }
                const std::size_t cap = m_options.maxBodyBytes;
                const std::size_t room = body.size() < cap ? cap - body.size() : 0;
                if (n > room)
                    (m_response ? m_exchange.responseBodyCut : m_exchange.requestBodyCut) = true;
                body.append(bytes, n < room ? n : room);
                break;
            }
            case SinkKind::None:
                break;
        }
    }

    const SnapshotReadOptions& m_options;
    const std::string& m_fileName;
    const Callback& m_callback;
    FolderMessages& m_messages;
    XML_Parser m_parser = nullptr;
    bool m_byteTransparent = true;
    SnapshotReadResult m_result;

    std::vector<Node> m_stack;
    std::size_t m_skipDepth = 0;
    std::size_t m_tasksSeen = 0;
    // Every task wanted has been delivered; the rest is only checked.
    bool m_done = false;
    HttpExchange m_exchange;
    bool m_response = false;
    HttpHeader m_header;
    bool m_headerCut = false;
    std::string m_allHeaders;
    // Base64 state of the open ActualData element.
    unsigned m_quad = 0;
    int m_count = 0;
    bool m_bad = false;
};

CSnapshotXmlReader::CSnapshotXmlReader(SnapshotReadOptions options) : m_options(options) {}

CSnapshotXmlReader::~CSnapshotXmlReader() = default;

namespace {

bool IsUtf16Mark(const unsigned char* p, std::size_t n) {
    return n >= 2 && ((p[0] == 0xFF && p[1] == 0xFE) || (p[0] == 0xFE && p[1] == 0xFF));
}

bool IsUtf8Mark(const unsigned char* p, std::size_t n) {
    return n >= 3 && p[0] == 0xEF && p[1] == 0xBB && p[2] == 0xBF;
}

}  // namespace

SnapshotReadResult CSnapshotXmlReader::ReadFile(const std::string& path, const Callback& callback,
                                                FolderMessages& messages) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        AddFolderWarning(messages, path, 0, "cannot open the snapshot XML file");
        return {};
    }
    // The first bytes decide how the parser reads the file.
    unsigned char head[3];
    const std::size_t headLen = std::fread(head, 1, sizeof head, file);
    const bool utf16 = IsUtf16Mark(head, headLen);
    const std::size_t skip = IsUtf8Mark(head, headLen) ? 3 : 0;

    CParse parse(m_options, path, callback, messages);
    if (!parse.Create(utf16)) {
        std::fclose(file);
        return {};
    }
    parse.Result().readable = true;
    bool going = true;
    if (headLen > skip) {
        going = parse.Parse(reinterpret_cast<const char*>(head) + skip,
                            static_cast<int>(headLen - skip), false);
    }
    while (going) {
        void* buffer = XML_GetBuffer(parse.Parser(), static_cast<int>(kChunkSize));
        if (!buffer) {
            AddFolderWarning(messages, path, 0, "out of memory while reading the snapshot XML");
            parse.Result().broken = true;
            break;
        }
        const std::size_t got = std::fread(buffer, 1, kChunkSize, file);
        if (got < kChunkSize && std::ferror(file)) {
            AddFolderWarning(messages, path, 0, "read error in the snapshot XML file");
            parse.Result().broken = true;
            break;
        }
        const bool final = got == 0;
        going = parse.ParseBuffer(static_cast<int>(got), final) && !final;
    }
    std::fclose(file);
    return parse.Result();
}

SnapshotReadResult CSnapshotXmlReader::ReadText(std::string_view xml, const std::string& fileName,
                                                const Callback& callback,
                                                FolderMessages& messages) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(xml.data());
    const bool utf16 = IsUtf16Mark(bytes, xml.size());
    if (IsUtf8Mark(bytes, xml.size()))
        xml.remove_prefix(3);
    CParse parse(m_options, fileName, callback, messages);
    if (!parse.Create(utf16))
        return {};
    parse.Result().readable = true;
    // In chunks, as a file is read.
    bool going = true;
    while (going) {
        const std::size_t n = xml.size() < kChunkSize ? xml.size() : kChunkSize;
        const bool final = n == 0;
        going = parse.Parse(xml.data(), static_cast<int>(n), final) && !final;
        xml.remove_prefix(n);
    }
    return parse.Result();
}
