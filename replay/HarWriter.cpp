#include "webstep/replay/HarWriter.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "webstep/foundation/Version.h"

namespace {

using Json = CResultsWriter;
using seconds_type = std::chrono::seconds;

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// A query component as a browser shows it: %XX decoded, "+" a space; a "%"
// not followed by two hex digits is kept.
std::string Decode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '+') {
            out += ' ';
        } else if (c == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
                   HexValue(text[i + 2]) >= 0) {
            out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

void AppendNameValue(std::string& out, std::string_view name, std::string_view value) {
    out += "{\"name\":";
    Json::AppendJsonString(out, name);
    out += ",\"value\":";
    Json::AppendJsonString(out, value);
    out += '}';
}

void AppendHeaders(std::string& out, const std::vector<HttpHeader>& headers) {
    out += '[';
    bool first = true;
    for (const HttpHeader& header : headers) {
        if (!first)
            out += ',';
        first = false;
        AppendNameValue(out, header.name, header.value);
    }
    out += ']';
}

void AppendQuery(std::string& out, std::string_view url) {
    out += '[';
    const std::size_t fragment = url.find('#');
    if (fragment != std::string_view::npos)
        url = url.substr(0, fragment);
    const std::size_t question = url.find('?');
    if (question != std::string_view::npos) {
        std::string_view query = url.substr(question + 1);
        bool first = true;
        while (!query.empty()) {
            const std::size_t amp = query.find('&');
            const std::string_view pair = query.substr(0, amp);
            query = amp == std::string_view::npos ? std::string_view() : query.substr(amp + 1);
            if (pair.empty())
                continue;
            const std::size_t equals = pair.find('=');
            if (!first)
                out += ',';
            first = false;
            if (equals == std::string_view::npos)
                AppendNameValue(out, Decode(pair), "");
            else
                AppendNameValue(out, Decode(pair.substr(0, equals)),
                                Decode(pair.substr(equals + 1)));
        }
    }
    out += ']';
}

void AppendMillis(std::string& out, double millis) {
    if (millis < 0)
        out += "-1";
    else
        Json::AppendNumber(out, millis, 3);
}

}  // namespace

CHarWriter::Timings CHarWriter::ToHar(const HttpTimings& timings) {
    auto millis = [](double seconds) {
        return std::isfinite(seconds) && seconds > 0 ? seconds * 1000 : 0.0;
    };
    Timings har;
    const double dns = millis(timings.dns);
    const double connect = millis(timings.connect);
    const double tls = millis(timings.tls);
    const double firstByte = millis(timings.firstByte);
    const double total = millis(timings.total);
    if (dns > 0)
        har.dns = dns;
    if (connect > 0 || tls > 0)
        har.connect = connect + tls;
    if (tls > 0)
        har.ssl = tls;
    const double before = std::max(har.dns, 0.0) + std::max(har.connect, 0.0);
    // A total shorter than its phases (clocks that disagree) is stretched
    // so that time stays the sum of the phases.
    const double rest = std::max(0.0, total - before - firstByte);
    if (firstByte > 0) {
        har.wait = firstByte;
        har.receive = rest;
    } else {
        har.wait = rest;
        har.receive = 0;
    }
    har.time = before + har.send + har.wait + har.receive;
    return har;
}

const char* CHarWriter::StatusText(int status) {
    switch (status) {
        case 100:
            return "Continue";
        case 101:
            return "Switching Protocols";
        case 200:
            return "OK";
        case 201:
            return "Created";
        case 202:
            return "Accepted";
        case 203:
            return "Non-Authoritative Information";
        case 204:
            return "No Content";
        case 205:
            return "Reset Content";
        case 206:
            return "Partial Content";
        case 300:
            return "Multiple Choices";
        case 301:
            return "Moved Permanently";
        case 302:
            return "Found";
        case 303:
            return "See Other";
        case 304:
            return "Not Modified";
        case 307:
            return "Temporary Redirect";
        case 308:
            return "Permanent Redirect";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 406:
            return "Not Acceptable";
        case 408:
            return "Request Timeout";
        case 409:
            return "Conflict";
        case 410:
            return "Gone";
        case 411:
            return "Length Required";
        case 412:
            return "Precondition Failed";
        case 413:
            return "Content Too Large";
        case 414:
            return "URI Too Long";
        case 415:
            return "Unsupported Media Type";
        case 416:
            return "Range Not Satisfiable";
        case 422:
            return "Unprocessable Content";
        case 429:
            return "Too Many Requests";
        case 500:
            return "Internal Server Error";
        case 501:
            return "Not Implemented";
        case 502:
            return "Bad Gateway";
        case 503:
            return "Service Unavailable";
        case 504:
            return "Gateway Timeout";
        case 505:
            return "HTTP Version Not Supported";
        default:
            return "";
    }
}

void CHarWriter::AppendStarted(std::string& out, double seconds) {
    using namespace std::chrono;
    if (!std::isfinite(seconds))
        seconds = 0;
    const long long millis = time_point_cast<milliseconds>(m_wallStart).time_since_epoch().count() +
                             std::llround(seconds * 1000.0);
    long long whole = millis / 1000;
    long long fraction = millis % 1000;
    if (fraction < 0) {
        fraction += 1000;
        whole -= 1;
    }
    if (whole != m_isoSecond || m_isoPrefix.empty()) {
        // "2024-05-01T10:00:00" of "2024-05-01T10:00:00.000Z".
        const std::string iso = Json::IsoTime(system_clock::time_point(seconds_type(whole)), 0);
        m_isoPrefix = iso.substr(0, iso.size() - 5);
        m_isoSecond = whole;
    }
    char tail[8] = {'.',
                    char('0' + fraction / 100),
                    char('0' + fraction / 10 % 10),
                    char('0' + fraction % 10),
                    'Z',
                    '"',
                    0,
                    0};
    out += '"';
    out += m_isoPrefix;
    out.append(tail, 6);
}

CHarWriter::CHarWriter(std::string path, std::chrono::system_clock::time_point wallStart)
    : m_wallStart(wallStart), m_file(std::move(path), "the HAR file", [](std::string& out) {
          out += "{\"log\":{\"version\":\"1.2\",\"creator\":{\"name\":\"webstep\",\"version\":";
          Json::AppendJsonString(out, webstep::GetVersion());
          out += "},\"entries\":[";
      }) {}

CHarWriter::~CHarWriter() = default;

bool CHarWriter::Open(std::string& error) {
    return m_file.Open(error);
}

void CHarWriter::OnRequest(const RequestRecord& record, const HttpResponse& response) {
    std::string* buffer = m_file.Record();
    if (buffer == nullptr)
        return;
    const HttpRequest& request = record.request;
    const bool answered = record.status != 0;
    const Timings timings = ToHar(record.timings);
    std::string& out = *buffer;
    out += m_firstEntry ? "\n" : ",\n";
    m_firstEntry = false;

    out += "{\"startedDateTime\":";
    AppendStarted(out, record.start);
    out += ",\"time\":";
    AppendMillis(out, timings.time);

    out += ",\"request\":{\"method\":";
    Json::AppendJsonString(out, request.method);
    out += ",\"url\":";
    Json::AppendJsonString(out, request.url);
    out += ",\"httpVersion\":\"HTTP/1.1\",\"cookies\":[],\"headers\":";
    AppendHeaders(out, request.headers);
    out += ",\"queryString\":";
    AppendQuery(out, request.url);
    if (!request.body.empty()) {
        const std::string* type = request.Header("Content-Type");
        out += ",\"postData\":{\"mimeType\":";
        Json::AppendJsonString(out, type ? *type : std::string());
        out += ",\"params\":[],\"text\":";
        Json::AppendJsonString(out, request.body);
        out += '}';
    }
    out += ",\"headersSize\":-1,\"bodySize\":";
    Json::AppendNumber(out, static_cast<std::uint64_t>(request.body.size()));
    out += '}';

    // The body does not cross from the workers; its size does.
    const std::size_t size = std::max(record.responseBytes, response.body.size());
    out += ",\"response\":{\"status\":";
    out += std::to_string(record.status);
    out += ",\"statusText\":";
    Json::AppendJsonString(out, StatusText(record.status));
    out += answered ? ",\"httpVersion\":\"HTTP/1.1\"" : ",\"httpVersion\":\"\"";
    out += ",\"cookies\":[],\"headers\":";
    AppendHeaders(out, answered ? response.headers : std::vector<HttpHeader>());
    const std::string* type = answered ? response.Header("Content-Type") : nullptr;
    out += ",\"content\":{\"size\":";
    Json::AppendNumber(out, static_cast<std::uint64_t>(answered ? size : 0));
    out += ",\"mimeType\":";
    Json::AppendJsonString(out, type ? *type : std::string());
    out += "},\"redirectURL\":";
    const std::string* location =
        record.status >= 300 && record.status < 400 ? response.Header("Location") : nullptr;
    Json::AppendJsonString(out, location ? *location : std::string());
    out += ",\"headersSize\":-1,\"bodySize\":";
    if (answered)
        Json::AppendNumber(out, static_cast<std::uint64_t>(size));
    else
        out += "-1";
    out += '}';

    out += ",\"cache\":{},\"timings\":{\"blocked\":";
    AppendMillis(out, timings.blocked);
    out += ",\"dns\":";
    AppendMillis(out, timings.dns);
    out += ",\"connect\":";
    AppendMillis(out, timings.connect);
    out += ",\"ssl\":";
    AppendMillis(out, timings.ssl);
    out += ",\"send\":";
    AppendMillis(out, timings.send);
    out += ",\"wait\":";
    AppendMillis(out, timings.wait);
    out += ",\"receive\":";
    AppendMillis(out, timings.receive);
    out += '}';

    out += ",\"_user\":";
    Json::AppendNumber(out, static_cast<std::uint64_t>(record.user));
    out += ",\"_iteration\":";
    Json::AppendNumber(out, static_cast<std::uint64_t>(record.iteration));
    out += ",\"_step\":";
    Json::AppendJsonString(out, record.step);
    out += ",\"_transaction\":";
    Json::AppendJsonString(out, record.transaction);
    if (!record.error.empty() || !answered) {
        out += ",\"_error\":";
        Json::AppendJsonString(out, record.error.empty() ? "no answer" : record.error);
    }
    out += '}';
    m_file.FlushIfFull();
}

bool CHarWriter::OnRunEnd(double time, std::string& error) {
    return m_file.Finish([this](std::string& out) { out += m_firstEntry ? "]}}\n" : "\n]}}\n"; },
                         error);
}
