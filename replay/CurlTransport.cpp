#include "webstep/replay/CurlTransport.h"

#include <curl/curl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <string_view>

#include "webstep/recording/IniDocument.h"
#include "webstep/settings/RunTimeSettings.h"

namespace {

using Clock = std::chrono::steady_clock;

// libcurl's MAX_INITIAL_POST_SIZE: a smaller body goes out with the headers.
constexpr std::size_t kInlineBodyLimit = 64 * 1024;

// libcurl's global state must be set up once before the first handle, and
// curl_global_init itself is not safe to call from two threads at once.
bool GlobalInit() {
    static std::once_flag once;
    static bool ok = false;
    std::call_once(once, [] { ok = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK; });
    return ok;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    return CIniDocument::NamesEqual(a, b);
}

bool IsTokenChar(char c) {
    if (c >= 'a' && c <= 'z')
        return true;
    if (c >= 'A' && c <= 'Z')
        return true;
    if (c >= '0' && c <= '9')
        return true;
    return std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool IsToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenChar);
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r' ||
                             text.back() == '\n'))
        text.remove_suffix(1);
    return text;
}

// "2", "0.5", "120": seconds as people write them.
std::string FormatSeconds(double seconds) {
    char text[32];
    if (seconds == std::floor(seconds) && seconds < 1e9)
        std::snprintf(text, sizeof text, "%.0f", seconds);
    else
        std::snprintf(text, sizeof text, "%.3g", seconds);
    return text;
}

std::string FormatSize(std::size_t bytes) {
    constexpr std::size_t kMiB = std::size_t{1} << 20;
    constexpr std::size_t kKiB = std::size_t{1} << 10;
    if (bytes % kMiB == 0)
        return std::to_string(bytes / kMiB) + " MiB";
    if (bytes % kKiB == 0)
        return std::to_string(bytes / kKiB) + " KiB";
    return std::to_string(bytes) + " bytes";
}

long Milliseconds(double seconds) {
    double ms = std::ceil(seconds * 1000.0);
    return static_cast<long>(std::clamp(ms, 1.0, 2.0e9));
}

bool IsPositiveSeconds(double seconds) {
    return std::isfinite(seconds) && seconds > 0;
}

// Splits at the colons that are not inside [brackets] (IPv6 addresses).
std::vector<std::string_view> SplitColons(std::string_view text) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    int depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '[')
            ++depth;
        else if (text[i] == ']')
            depth = std::max(0, depth - 1);
        else if (text[i] == ':' && depth == 0) {
            parts.push_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool IsPort(std::string_view text, bool allowEmpty) {
    if (text.empty())
        return allowEmpty;
    if (text.size() > 5 ||
        !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return false;
    long port = std::stol(std::string(text));
    return port >= 1 && port <= 65535;
}

bool HasControl(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

std::string CheckOptions(const CurlTransportOptions& options) {
    for (const std::string& entry : options.connectTo) {
        std::vector<std::string_view> parts = SplitColons(entry);
        if (parts.size() != 4 || !IsPort(parts[1], true) || !IsPort(parts[3], true) ||
            HasControl(entry))
            return "the connect-to entry \"" + entry + "\" is not HOST:PORT:HOST2:PORT2";
    }
    for (const std::string& entry : options.resolve) {
        std::string_view text = entry;
        bool remove = !text.empty() && text.front() == '-';
        if (!text.empty() && (text.front() == '-' || text.front() == '+'))
            text.remove_prefix(1);
        // The address list may hold unbracketed IPv6 addresses: only the
        // first two colons separate.
        std::size_t first = text.find(':');
        std::size_t second = first == std::string_view::npos ? first : text.find(':', first + 1);
        bool ok = first != std::string_view::npos && first > 0 && !HasControl(text);
        if (ok && remove)
            ok = IsPort(
                text.substr(first + 1, second == std::string_view::npos ? std::string_view::npos
                                                                        : second - first - 1),
                false);
        else if (ok)
            ok = second != std::string_view::npos &&
                 IsPort(text.substr(first + 1, second - first - 1), false) &&
                 second + 1 < text.size();
        if (!ok)
            return "the resolve entry \"" + entry + "\" is not HOST:PORT:ADDRESS";
    }
    for (const CurlProxy* proxy : {&options.proxy, &options.secureProxy}) {
        if (!proxy->Enabled())
            continue;
        if (proxy->port == 0 || proxy->port > 65535)
            return "the proxy \"" + proxy->host + "\" needs a port from 1 to 65535";
        if (HasControl(proxy->host) || proxy->host.find_first_of(" /@") != std::string::npos)
            return "the proxy host \"" + proxy->host + "\" is not a host name or address";
    }
    if (!IsPositiveSeconds(options.connectTimeout))
        return "the connect timeout must be a positive number of seconds";
    if (!IsPositiveSeconds(options.receiveTimeout))
        return "the receive timeout must be a positive number of seconds";
    if (options.maxResponseBytes == 0)
        return "the response size limit must be at least 1 byte";
    if (!options.caFile.empty() && !std::ifstream(options.caFile).good())
        return "the CA file \"" + options.caFile + "\" cannot be read";
    return {};
}

curl_slist* MakeList(const std::vector<std::string>& entries) {
    curl_slist* list = nullptr;
    for (const std::string& entry : entries) {
        curl_slist* longer = curl_slist_append(list, entry.c_str());
        if (longer == nullptr)
            break;
        list = longer;
    }
    return list;
}

struct SlistDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Slist = std::unique_ptr<curl_slist, SlistDeleter>;

// The parts of a URL that messages name.
struct UrlParts {
    std::string scheme;
    std::string host;
    std::string port;
};

// Checks the URL as libcurl will read it; an error text or empty.
std::string ParseUrl(const std::string& url, UrlParts& parts) {
    if (HasControl(url) || url.find(' ') != std::string::npos)
        return "the URL \"" + url + "\" holds a space or a line break";
    CURLU* handle = curl_url();
    if (handle == nullptr)
        return "out of memory";
    std::string problem;
    if (curl_url_set(handle, CURLUPART_URL, url.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
        problem = "the URL \"" + url + "\" is not an absolute http or https URL";
    } else {
        auto get = [&](CURLUPart part, unsigned flags) {
            char* value = nullptr;
            std::string text;
            if (curl_url_get(handle, part, &value, flags) == CURLUE_OK && value != nullptr)
                text = value;
            curl_free(value);
            return text;
        };
        parts.scheme = get(CURLUPART_SCHEME, 0);
        parts.host = get(CURLUPART_HOST, 0);
        parts.port = get(CURLUPART_PORT, CURLU_DEFAULT_PORT);
        if (!EqualsNoCase(parts.scheme, "http") && !EqualsNoCase(parts.scheme, "https"))
            problem = "the URL \"" + url + "\" is not an http or https URL";
    }
    curl_url_cleanup(handle);
    return problem;
}

// Defined with the settings mapping below.
std::string NoProxyList(std::string_view bypass, bool local);

}  // namespace

// The libcurl handles of one transport and what the callbacks fill during a
// request.
struct CCurlTransport::State {
    CURL* easy = nullptr;
    CURLM* multi = nullptr;
    curl_slist* connectTo = nullptr;
    curl_slist* resolve = nullptr;
    char errorText[CURL_ERROR_SIZE] = {};

    // The request under way.
    HttpResponse* response = nullptr;
    std::size_t limit = 0;
    std::size_t received = 0;
    bool overLimit = false;
    bool chunked = false;
    bool anyByte = false;
    Clock::time_point lastActivity;

    ~State() {
        if (multi != nullptr && easy != nullptr)
            curl_multi_remove_handle(multi, easy);
        if (easy != nullptr)
            curl_easy_cleanup(easy);
        if (multi != nullptr)
            curl_multi_cleanup(multi);
        curl_slist_free_all(connectTo);
        curl_slist_free_all(resolve);
    }

    static size_t OnHeader(char* data, size_t size, size_t count, void* user) {
        State& state = *static_cast<State*>(user);
        const size_t length = size * count;
        state.lastActivity = Clock::now();
        state.anyByte = true;
        state.received += length;
        if (state.received > state.limit) {
            state.overLimit = true;
            return 0;
        }
        std::string_view line = Trim(std::string_view(data, length));
        std::vector<HttpHeader>& headers = state.response->headers;
        if (line.substr(0, 5) == "HTTP/") {
            // A new response: an interim 1xx one's headers are dropped.
            headers.clear();
            state.chunked = false;
        } else if (line.empty()) {
            // The end of a header block.
        } else if (data[0] == ' ' || data[0] == '\t') {
            // An obsolete folded line continues the previous value.
            if (!headers.empty())
                headers.back().value.append(" ").append(line);
        } else {
            std::size_t colon = line.find(':');
            HttpHeader header;
            header.name = std::string(Trim(line.substr(0, colon)));
            header.value = colon == std::string_view::npos
                               ? std::string()
                               : std::string(Trim(line.substr(colon + 1)));
            if (EqualsNoCase(header.name, "Transfer-Encoding") &&
                header.value.find("chunked") != std::string::npos)
                state.chunked = true;
            headers.push_back(std::move(header));
        }
        return length;
    }

    static size_t OnBody(char* data, size_t size, size_t count, void* user) {
        State& state = *static_cast<State*>(user);
        const size_t length = size * count;
        state.lastActivity = Clock::now();
        state.anyByte = true;
        state.received += length;
        if (state.received > state.limit) {
            state.overLimit = true;
            return 0;
        }
        std::string& body = state.response->body;
        if (body.empty()) {
            // One allocation for a body of announced length (capped: the
            // announcement may lie).
            curl_off_t announced = -1;
            curl_easy_getinfo(state.easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
            if (announced > 0)
                body.reserve(
                    std::min<std::size_t>(static_cast<std::size_t>(announced), state.limit));
        }
        body.append(data, length);
        return length;
    }
};

CCurlTransport::CCurlTransport(CurlTransportOptions options)
    : m_options(std::move(options)), m_state(std::make_unique<State>()) {
    m_setupError = CheckOptions(m_options);
    if (!GlobalInit()) {
        m_setupError = "libcurl could not be initialised";
        return;
    }
    State& state = *m_state;
    state.easy = curl_easy_init();
    state.multi = curl_multi_init();
    if (state.easy == nullptr || state.multi == nullptr) {
        m_setupError = "libcurl could not be initialised";
        return;
    }
    CURL* easy = state.easy;
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, state.errorText);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &State::OnHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &state);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &State::OnBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &state);
    // The user follows redirects itself, with its cookies and checks.
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // A proxy tunnel's "200 Connection established" is not the response.
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, m_options.verifyTls ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, m_options.verifyTls ? 2L : 0L);
    if (!m_options.caFile.empty())
        curl_easy_setopt(easy, CURLOPT_CAINFO, m_options.caFile.c_str());
    long version = CURL_HTTP_VERSION_1_1;
    if (m_options.http2)
        version = CURL_HTTP_VERSION_2TLS;
    else if (m_options.http10)
        version = CURL_HTTP_VERSION_1_0;
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, version);
    if (!m_options.keepAlive) {
        curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
        curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
    }
    // An empty list means every encoding libcurl was built to decode.
    if (m_options.compression)
        curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    // Checked up front against an announced Content-Length; the callbacks
    // enforce the limit on what actually arrives.
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE,
                     static_cast<curl_off_t>(
                         std::min<std::size_t>(m_options.maxResponseBytes, std::size_t{1} << 62)));
    if (!m_options.noProxy.empty())
        curl_easy_setopt(easy, CURLOPT_NOPROXY, m_options.noProxy.c_str());
    state.connectTo = MakeList(m_options.connectTo);
    state.resolve = MakeList(m_options.resolve);
    if (state.connectTo != nullptr)
        curl_easy_setopt(easy, CURLOPT_CONNECT_TO, state.connectTo);
    if (state.resolve != nullptr)
        curl_easy_setopt(easy, CURLOPT_RESOLVE, state.resolve);
}

CCurlTransport::~CCurlTransport() = default;

void CCurlTransport::SetTimeout(double seconds) {
    if (!IsPositiveSeconds(seconds))
        return;
    m_options.connectTimeout = seconds;
    m_options.receiveTimeout = seconds;
}

bool CCurlTransport::SetProxy(const std::string& host, unsigned port, bool secure) {
    CurlTransportOptions changed = m_options;
    CurlProxy& proxy = secure ? changed.secureProxy : changed.proxy;
    proxy = CurlProxy();
    proxy.host = host;
    proxy.port = host.empty() ? 0 : port;
    if (!CheckOptions(changed).empty())
        return false;
    m_options = std::move(changed);
    return true;
}

bool CCurlTransport::SetProxyBypass(const std::string& hosts) {
    if (!m_state || m_state->easy == nullptr)
        return false;
    m_options.noProxy = NoProxyList(hosts, false);
    curl_easy_setopt(m_state->easy, CURLOPT_NOPROXY,
                     m_options.noProxy.empty() ? nullptr : m_options.noProxy.c_str());
    return true;
}

bool CCurlTransport::SetSocketOption(const std::string& name, const std::string& value) {
    if (!m_state || m_state->easy == nullptr || !EqualsNoCase(name, "SSL_VERSION"))
        return false;
    static const struct {
        const char* text;
        long version;
    } versions[] = {{"TLS", CURL_SSLVERSION_DEFAULT},    {"TLS1", CURL_SSLVERSION_TLSv1_0},
                    {"TLS1.0", CURL_SSLVERSION_TLSv1_0}, {"TLS1.1", CURL_SSLVERSION_TLSv1_1},
                    {"TLS1.2", CURL_SSLVERSION_TLSv1_2}, {"TLS1.3", CURL_SSLVERSION_TLSv1_3}};
    for (const auto& known : versions)
        if (EqualsNoCase(value, known.text))
            return curl_easy_setopt(m_state->easy, CURLOPT_SSLVERSION, known.version) == CURLE_OK;
    return false;
}

namespace {

// The plain-words reason of a failed transfer.
std::string Explain(CURLcode code, CURL* easy, const char* errorText, const UrlParts& url,
                    const CurlProxy* proxy, const CurlTransportOptions& options, bool chunked) {
    std::string detail = errorText[0] != '\0' ? errorText : curl_easy_strerror(code);
    long osError = 0;
    curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &osError);
    const std::string target = url.host + ":" + url.port;
    std::string peer = target;
    if (proxy != nullptr) {
        peer = "the proxy " + proxy->host + ":" + std::to_string(proxy->port);
    } else {
        // libcurl does not tell where a failed connection went; a connect-to
        // entry (the first that matches, as libcurl takes it) does.
        for (const std::string& entry : options.connectTo) {
            std::vector<std::string_view> parts = SplitColons(entry);
            if (parts.size() != 4 || (!parts[0].empty() && !EqualsNoCase(parts[0], url.host)) ||
                (!parts[1].empty() && parts[1] != url.port))
                continue;
            peer = std::string(parts[2].empty() ? std::string_view(url.host) : parts[2]) + ":" +
                   std::string(parts[3].empty() ? std::string_view(url.port) : parts[3]) +
                   ", which stands in for " + target;
            break;
        }
    }
    const bool reset = osError == ECONNRESET || detail.find("reset by peer") != std::string::npos;
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
            return "the host name \"" + url.host + "\" could not be resolved";
        case CURLE_COULDNT_RESOLVE_PROXY:
            return "the proxy host name \"" + (proxy != nullptr ? proxy->host : std::string()) +
                   "\" could not be resolved";
        case CURLE_COULDNT_CONNECT:
            if (osError == ECONNREFUSED || detail.find("refused") != std::string::npos)
                return "connection refused by " + peer;
            if (osError == ENETUNREACH || osError == EHOSTUNREACH)
                return peer + " cannot be reached";
            return "could not connect to " + peer + " (" + detail + ")";
        case CURLE_OPERATION_TIMEDOUT:
            return "no connection to " + peer + " within " + FormatSeconds(options.connectTimeout) +
                   " s";
        case CURLE_SEND_ERROR:
            if (reset)
                return "the connection was reset";
            return "the connection closed while the request was being sent";
        case CURLE_RECV_ERROR:
            if (reset)
                return "the connection was reset";
            return "receiving the response failed (" + detail + ")";
        case CURLE_GOT_NOTHING:
            return "the server closed the connection without answering";
        case CURLE_PARTIAL_FILE:
            if (chunked)
                return "the chunked body ended early";
            return "the body ended early (" + detail + ")";
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_UNSUPPORTED_PROTOCOL:
            if (detail.find("HTTP/0.9") != std::string::npos || code == CURLE_WEIRD_SERVER_REPLY)
                return "the response is not HTTP";
            return "the request could not be sent (" + detail + ")";
        case CURLE_FILESIZE_EXCEEDED:
            return "the response is larger than " + FormatSize(options.maxResponseBytes);
        case CURLE_BAD_CONTENT_ENCODING:
            return "the response body could not be decoded (" + detail + ")";
        case CURLE_PEER_FAILED_VERIFICATION:
            return "the certificate of " + target + " could not be verified (" + detail + ")";
        case CURLE_SSL_CONNECT_ERROR:
            return "the TLS handshake with " + target + " failed (" + detail + ")";
        case CURLE_SSL_CACERT_BADFILE:
            return "the CA file \"" + options.caFile + "\" could not be used (" + detail + ")";
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return "the HTTP/2 exchange failed (" + detail + ")";
        case CURLE_OUT_OF_MEMORY:
            return "out of memory";
        default:
            return "the request failed (" + detail + ")";
    }
}

double Seconds(curl_off_t microseconds) {
    return microseconds > 0 ? static_cast<double>(microseconds) / 1e6 : 0.0;
}

// libcurl's times all count from the start; the user wants each phase.
HttpTimings PhaseTimings(CURL* easy) {
    curl_off_t lookup = 0, connect = 0, handshake = 0, firstByte = 0, total = 0;
    curl_easy_getinfo(easy, CURLINFO_NAMELOOKUP_TIME_T, &lookup);
    curl_easy_getinfo(easy, CURLINFO_CONNECT_TIME_T, &connect);
    curl_easy_getinfo(easy, CURLINFO_APPCONNECT_TIME_T, &handshake);
    curl_easy_getinfo(easy, CURLINFO_STARTTRANSFER_TIME_T, &firstByte);
    curl_easy_getinfo(easy, CURLINFO_TOTAL_TIME_T, &total);
    HttpTimings timings;
    timings.dns = Seconds(lookup);
    timings.connect = Seconds(connect - lookup);
    timings.tls = handshake > 0 ? Seconds(handshake - std::max(connect, lookup)) : 0.0;
    const curl_off_t ready = std::max({lookup, connect, handshake});
    timings.firstByte = firstByte > 0 ? Seconds(firstByte - ready) : 0.0;
    timings.total = Seconds(total);
    return timings;
}

}  // namespace

HttpResponse CCurlTransport::Send(const HttpRequest& request) {
    HttpResponse response;
    if (!m_setupError.empty()) {
        response.error = m_setupError;
        return response;
    }
    UrlParts url;
    response.error = ParseUrl(request.url, url);
    if (!response.error.empty())
        return response;
    if (!IsToken(request.method)) {
        response.error = "the method \"" + request.method + "\" is not an HTTP method name";
        return response;
    }

    // The headers as given, in order. A value-less header is written
    // "Name;": libcurl reads "Name:" as "remove that header".
    Slist headers;
    bool hasContentType = false, hasExpect = false, hasConnection = false;
    auto add = [&](const std::string& line) {
        curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
        if (longer == nullptr)
            return false;
        headers.release();
        headers.reset(longer);
        return true;
    };
    for (const HttpHeader& header : request.headers) {
        if (!IsToken(header.name) || HasControl(header.value)) {
            response.error = "the request header \"" + header.name +
                             "\" is not a header name with a one-line value";
            return response;
        }
        hasContentType = hasContentType || EqualsNoCase(header.name, "Content-Type");
        hasExpect = hasExpect || EqualsNoCase(header.name, "Expect");
        hasConnection = hasConnection || EqualsNoCase(header.name, "Connection");
        if (!add(header.value.empty() ? header.name + ";" : header.name + ": " + header.value)) {
            response.error = "out of memory";
            return response;
        }
    }
    // No header the request did not ask for, beyond Host and Accept (and
    // Accept-Encoding with compression): no "Expect: 100-continue", no
    // form Content-Type for a body.
    if (!hasExpect)
        add("Expect:");
    if (!hasContentType)
        add("Content-Type:");
    // HTTP/1.0 closes the connection after each answer unless asked not to,
    // as a browser asks when it keeps connections alive.
    if (m_options.http10 && m_options.keepAlive && !hasConnection)
        add("Connection: keep-alive");

    State& state = *m_state;
    CURL* easy = state.easy;
    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, nullptr);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, nullptr);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(-1));
    curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
    const std::string& method = request.method;
    bool bodySent = false;
    if (method == "HEAD") {
        // A HEAD response has no body, whatever its Content-Length says, and
        // its request carries none.
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    } else if (method == "GET" && request.body.empty()) {
        // HTTPGET above.
    } else if (!request.body.empty() || method == "POST" || method == "PUT" || method == "PATCH") {
        bodySent = true;
        // A body for any method; POST, PUT and PATCH say "Content-Length: 0"
        // when theirs is empty, as browsers do.
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.body.data());
        if (method != "POST")
            curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
    } else {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
    }

    const CurlProxy* proxy = nullptr;
    if (EqualsNoCase(url.scheme, "https") && m_options.secureProxy.Enabled())
        proxy = &m_options.secureProxy;
    else if (m_options.proxy.Enabled())
        proxy = &m_options.proxy;
    if (proxy != nullptr) {
        std::string host = proxy->host.find(':') != std::string::npos && proxy->host[0] != '['
                               ? "[" + proxy->host + "]"
                               : proxy->host;
        std::string address = "http://" + host + ":" + std::to_string(proxy->port);
        curl_easy_setopt(easy, CURLOPT_PROXY, address.c_str());
        curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME,
                         proxy->user.empty() ? nullptr : proxy->user.c_str());
        curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD,
                         proxy->user.empty() ? nullptr : proxy->password.c_str());
    } else {
        // Empty: no proxy, whatever the environment's http_proxy says.
        curl_easy_setopt(easy, CURLOPT_PROXY, "");
    }
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, Milliseconds(m_options.connectTimeout));

    state.response = &response;
    state.limit = m_options.maxResponseBytes;
    state.received = 0;
    state.overLimit = false;
    state.chunked = false;
    state.anyByte = false;
    state.errorText[0] = '\0';
    const Clock::time_point start = Clock::now();
    state.lastActivity = start;

    // The multi interface rather than curl_easy_perform: the receive
    // timeout is an idle limit measured here to the millisecond, which
    // libcurl's own low-speed limit (whole seconds) cannot do.
    bool done = false, idle = false;
    CURLcode result = CURLE_OK;
    std::string multiError;
    if (CURLMcode added = curl_multi_add_handle(state.multi, easy); added != CURLM_OK) {
        multiError = curl_multi_strerror(added);
    } else {
        const auto idleLimit = std::chrono::duration<double>(m_options.receiveTimeout);
        curl_off_t lastCount = -1;
        for (;;) {
            int running = 0;
            CURLMcode code = curl_multi_perform(state.multi, &running);
            if (code != CURLM_OK) {
                multiError = curl_multi_strerror(code);
                break;
            }
            int queued = 0;
            while (CURLMsg* message = curl_multi_info_read(state.multi, &queued))
                if (message->msg == CURLMSG_DONE) {
                    done = true;
                    result = message->data.result;
                }
            if (done || running == 0)
                break;
            // Bytes moving either way count as activity (the body callback
            // may lag behind a decoder's input).
            curl_off_t down = 0, up = 0, pretransfer = 0;
            curl_easy_getinfo(easy, CURLINFO_SIZE_DOWNLOAD_T, &down);
            curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &up);
            curl_easy_getinfo(easy, CURLINFO_PRETRANSFER_TIME_T, &pretransfer);
            const Clock::time_point now = Clock::now();
            if (down + up != lastCount) {
                lastCount = down + up;
                state.lastActivity = std::max(state.lastActivity, now);
            }
            double remainingMs = 1000.0;
            // Until the request can be sent the connect timeout rules.
            if (pretransfer > 0) {
                const Clock::time_point ready = start + std::chrono::microseconds(pretransfer);
                const auto quiet = now - std::max(state.lastActivity, ready);
                if (quiet >= idleLimit) {
                    idle = true;
                    break;
                }
                remainingMs = std::chrono::duration<double, std::milli>(idleLimit - quiet).count();
            }
            const int waitMs = static_cast<int>(std::clamp(std::ceil(remainingMs), 1.0, 1000.0));
            code = curl_multi_poll(state.multi, nullptr, 0, waitMs, nullptr);
            if (code != CURLM_OK) {
                multiError = curl_multi_strerror(code);
                break;
            }
        }
        // A transfer removed before its end closes its connection: the next
        // request starts on a clean one.
        curl_multi_remove_handle(state.multi, easy);
    }
    state.response = nullptr;
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, nullptr);

    response.timings = PhaseTimings(easy);
    long requestSize = 0, headerSize = 0;
    curl_off_t uploaded = 0, downloaded = 0;
    curl_easy_getinfo(easy, CURLINFO_REQUEST_SIZE, &requestSize);
    curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &uploaded);
    curl_easy_getinfo(easy, CURLINFO_HEADER_SIZE, &headerSize);
    curl_easy_getinfo(easy, CURLINFO_SIZE_DOWNLOAD_T, &downloaded);
    // libcurl counts a body under 64 KiB, sent in one piece with the
    // headers, in the request size as well as in the upload.
    std::size_t requestHead = static_cast<std::size_t>(std::max<long>(requestSize, 0));
    if (bodySent && request.body.size() < kInlineBodyLimit && requestHead > request.body.size())
        requestHead -= request.body.size();
    response.requestBytes =
        requestHead + static_cast<std::size_t>(std::max<curl_off_t>(uploaded, 0));
    response.responseBytes = static_cast<std::size_t>(std::max<long>(headerSize, 0)) +
                             static_cast<std::size_t>(std::max<curl_off_t>(downloaded, 0));
    if (done && result == CURLE_OK) {
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        response.status = static_cast<int>(status);
        if (status <= 0)
            response.error = "the response is not HTTP";
    } else if (!multiError.empty()) {
        response.error = "libcurl failed (" + multiError + ")";
    } else if (idle) {
        response.error = state.anyByte
                             ? "the response stopped arriving: nothing came for " +
                                   FormatSeconds(m_options.receiveTimeout) + " s"
                             : "no answer within " + FormatSeconds(m_options.receiveTimeout) + " s";
    } else if (state.overLimit || result == CURLE_FILESIZE_EXCEEDED) {
        response.error = "the response is larger than " + FormatSize(m_options.maxResponseBytes);
    } else {
        response.error =
            Explain(result, easy, state.errorText, url, proxy, m_options, state.chunked);
    }
    if (response.status == 0) {
        // A failed request hands back no partial answer.
        response.headers.clear();
        response.body.clear();
        response.body.shrink_to_fit();
    }
    return response;
}

namespace {

// "*.example.com;<local>;10.1.2.3" (the settings' bypass list) in libcurl's
// form; what libcurl cannot express (other wildcards) is left out.
// A bypass list as the settings and scripts write it ("*.x;<local>;h") in
// libcurl's form (".x,localhost,127.0.0.1,::1,h").
std::string NoProxyList(std::string_view bypass, bool local) {
    std::vector<std::string> names;
    std::size_t start = 0;
    while (start <= bypass.size()) {
        std::size_t end = bypass.find_first_of(";, \t", start);
        if (end == std::string_view::npos)
            end = bypass.size();
        std::string_view entry = bypass.substr(start, end - start);
        start = end + 1;
        if (entry.empty())
            continue;
        if (EqualsNoCase(entry, "<local>")) {
            local = true;
            continue;
        }
        if (entry.substr(0, 2) == "*.")
            entry.remove_prefix(1);  // ".example.com": the domain and below
        if (entry != "*" && entry.find('*') != std::string_view::npos)
            continue;
        names.emplace_back(entry);
    }
    if (local)
        for (const char* name : {"localhost", "127.0.0.1", "::1"})
            names.emplace_back(name);
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ",") + name;
    return list;
}

std::string NoProxyList(const CProxyInfo& info) {
    return NoProxyList(info.GetBypass(), info.GetDontUseForLocal() != 0);
}

}  // namespace

CurlTransportOptions CCurlTransport::OptionsFromSettings(const CRunTimeSettings& web) {
    CurlTransportOptions options;
    options.keepAlive = web.GetKeepAlive();
    options.http10 = web.GetHttpVer() == "1.0";
    // A proxy auto-configuration script and "use the browser's proxy" have
    // no meaning here: only a proxy named by host and port is used.
    const CProxyInfo& info = web.GetProxyInfo();
    if (info.IsProxyEnabled()) {
        auto make = [&](const MString& host, unsigned port) {
            CurlProxy proxy;
            proxy.host = host;
            proxy.port = port;
            proxy.user = info.GetUserNameA();
            proxy.password = info.GetPassword();
            return proxy;
        };
        if (!info.GetHTTPHost().empty())
            options.proxy = make(info.GetHTTPHost(), info.GetHTTPPort());
        if (info.GetUseSameForAll() == 0 && !info.GetHTTPSHost().empty())
            options.secureProxy = make(info.GetHTTPSHost(), info.GetHTTPSPort());
        if (options.proxy.Enabled() || options.secureProxy.Enabled())
            options.noProxy = NoProxyList(info);
    }
    return options;
}

CurlTransportOptions CCurlTransport::OptionsFromSettingsFile(const std::string& path) {
    CRunTimeSettings web;
    web.ReadFromFile(path);
    CurlTransportOptions options = OptionsFromSettings(web);
    CIniDocument document;
    FolderMessages messages;
    if (!document.ReadFile(path, messages))
        return options;
    const double connect = document.GetNumber("WEB", "ConnectTimeout", 0);
    if (IsPositiveSeconds(connect))
        options.connectTimeout = connect;
    const double receive = document.GetNumber("WEB", "ReceiveTimeout", 0);
    if (IsPositiveSeconds(receive))
        options.receiveTimeout = receive;
    if (std::optional<std::string> encoding = document.Get("WEB", "BrowserAcceptEncoding"))
        options.compression = !Trim(*encoding).empty();
    return options;
}
