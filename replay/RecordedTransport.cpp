#include "webstep/replay/RecordedTransport.h"

#include <strings.h>

#include <cctype>
#include <cstring>
#include <ctime>
#include <utility>

#include "webstep/recording/ScriptFolder.h"

namespace {

std::string Upper(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The same address, compared as a request comparison compares them (the
// fragment aside; host case, default ports and escapes as sent).
bool SameUrl(const std::string& sent, const std::string& recorded, const std::string& left,
             const std::string& right) {
    if (sent == recorded)
        return true;
    RequestText a{"GET", sent, std::string(), std::string()};
    RequestText b{"GET", recorded, std::string(), std::string()};
    return CompareRequests(a, b, left, right).same;
}

// The recorded origin that fits a request's role.
ExchangeOrigin OriginOf(RequestRole role) {
    switch (role) {
        case RequestRole::Primary:
            return ExchangeOrigin::Primary;
        case RequestRole::Redirection:
            return ExchangeOrigin::Redirection;
        case RequestRole::Frame:
        case RequestRole::Resource:
            return ExchangeOrigin::HTML;
        case RequestRole::ExtraRes:
            return ExchangeOrigin::ExtraRes;
    }
    return ExchangeOrigin::Other;
}

// A content type for a resource file, from its extension.
// "t4f1.html" gives "t4f1".
std::string FileStem(const std::string& name) {
    const std::size_t slash = name.find_last_of("/\\");
    std::string stem = slash == std::string::npos ? name : name.substr(slash + 1);
    const std::size_t dot = stem.rfind('.');
    if (dot != std::string::npos && dot != 0)
        stem.erase(dot);
    return stem;
}

std::string GuessContentType(const std::string& fileName) {
    static const std::pair<const char*, const char*> types[] = {
        {"htm", "text/html"},         {"html", "text/html"},
        {"css", "text/css"},          {"js", "application/javascript"},
        {"json", "application/json"}, {"xml", "application/xml"},
        {"txt", "text/plain"},        {"png", "image/png"},
        {"gif", "image/gif"},         {"jpg", "image/jpeg"},
        {"jpeg", "image/jpeg"},       {"svg", "image/svg+xml"},
        {"ico", "image/x-icon"},      {"webp", "image/webp"},
        {"woff", "font/woff"},        {"woff2", "font/woff2"},
        {"ttf", "font/ttf"},          {"pdf", "application/pdf"},
    };
    const std::size_t dot = fileName.rfind('.');
    if (dot != std::string::npos) {
        const std::string extension = Lower(fileName.substr(dot + 1));
        for (const auto& [ext, type] : types)
            if (extension == ext)
                return type;
    }
    return "application/octet-stream";
}

// The method of a request line "POST /signin HTTP/1.1" at the start of a
// request header file; empty when it has none.
std::string MethodOfRequestLine(const std::string& text) {
    std::size_t end = 0;
    while (end < text.size() && std::isupper(static_cast<unsigned char>(text[end])))
        ++end;
    if (end == 0 || end >= text.size() || text[end] != ' ')
        return std::string();
    return text.substr(0, end);
}

std::string WithoutFragment(const std::string& url) {
    const std::size_t hash = url.find('#');
    return hash == std::string::npos ? url : url.substr(0, hash);
}

std::string Trim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool IsNamed(const HttpHeader& header, const char* name) {
    return strcasecmp(header.name.c_str(), name) == 0;
}

}  // namespace

// One step's recording: its exchanges (each used once) and its description.
struct CRecordedTransport::StepData {
    TransportStep info;
    std::vector<HttpExchange> exchanges;
    std::vector<bool> used;
    const CSnapshotInfo* description = nullptr;
    bool hasXml = false;
    std::string xmlName;
    std::size_t sent = 0;

    std::string Where(const HttpExchange& exchange) const {
        return "data/" + xmlName + ":" + std::to_string(exchange.line) + " (" +
               (exchange.originText.empty() ? std::string("no origin") : exchange.originText) + ")";
    }
};

CRecordedTransport::CRecordedTransport() = default;
CRecordedTransport::~CRecordedTransport() = default;

bool CRecordedTransport::Open(const CScriptFolder& folder, FolderMessages& messages) {
    return Open(folder.DataDir(), messages, folder.Description().LeftBrace(),
                folder.Description().RightBrace());
}

bool CRecordedTransport::Open(const std::string& dataDir, FolderMessages& messages,
                              const std::string& leftBrace, const std::string& rightBrace) {
    m_left = leftBrace;
    m_right = rightBrace;
    m_step.reset();
    m_open = m_recording.Open(dataDir, messages);
    return m_open;
}

void CRecordedTransport::BeginStep(const TransportStep& step) {
    CloseStep();
    m_step = std::make_unique<StepData>();
    m_step->info = step;
    if (!m_open || step.snapshot.empty() || !m_recording.HasSnapshot(step.snapshot))
        return;
    m_step->description = m_recording.Snapshot(step.snapshot, m_messages);
    if (m_step->description != nullptr && m_step->description->SnapshotXmlFile().Named())
        m_step->xmlName = m_step->description->SnapshotXmlFile().name;
    if (!m_recording.HasExchanges(step.snapshot))
        return;
    SnapshotReadOptions options;  // every task, bodies kept whole
    StepData& data = *m_step;
    const bool read = m_recording.ReadExchanges(
        step.snapshot, options,
        [&data](const HttpExchange& exchange) {
            data.exchanges.push_back(exchange);
            return true;
        },
        m_messages);
    data.used.assign(data.exchanges.size(), false);
    // A broken file still answers with the exchanges read before the break,
    // but counts as no XML for the fallback to the document file.
    data.hasXml = read && !data.exchanges.empty();
}

void CRecordedTransport::EndStep() {
    CloseStep();
}

void CRecordedTransport::CloseStep() {
    if (!m_step)
        return;
    m_lastUnsent.clear();
    for (std::size_t i = 0; i < m_step->exchanges.size(); ++i) {
        if (m_step->used[i])
            continue;
        const HttpExchange& exchange = m_step->exchanges[i];
        m_lastUnsent.push_back(
            {exchange.method, exchange.url, exchange.originText, m_step->Where(exchange)});
    }
    m_counts.unsent += m_lastUnsent.size();
    m_step.reset();
}

HttpResponse CRecordedTransport::Answer(const HttpExchange& exchange) const {
    HttpResponse response;
    response.body = exchange.responseBody;
    for (const HttpHeader& header : exchange.responseHeaders) {
        // The body is kept decoded and whole: framing headers no longer fit.
        if (IsNamed(header, "Transfer-Encoding") || IsNamed(header, "Content-Encoding"))
            continue;
        if (IsNamed(header, "Content-Length") &&
            Trim(header.value) != std::to_string(response.body.size()))
            continue;
        response.headers.push_back(header);
    }
    if (exchange.responseStatus != 0)
        response.status = exchange.responseStatus;
    else if (exchange.ResponseHeader("Location") != nullptr)
        response.status = 302;
    else
        response.status = 200;
    response.responseBytes = response.body.size();
    return response;
}

bool CRecordedTransport::AnswerFromFile(const HttpRequest& request, HttpResponse& response,
                                        RecordedRequestCheck& check) {
    if (!m_step)
        return false;
    const CSnapshotInfo* description = m_step->description;
    const SnapshotPage* found = nullptr;
    if (description != nullptr)
        for (const SnapshotPage& page : description->Pages()) {
            if (page.url.empty() || !page.file.Named() || page.file.missing)
                continue;
            if (SameUrl(request.url, page.url, std::string(), std::string())) {
                found = &page;
                break;
            }
        }
    // A step recorded without an XML file: its document answers the step's
    // own request, whatever its address.
    const bool first = m_step->sent == 1 && request.role == RequestRole::Primary;
    if (found == nullptr && first && !m_step->hasXml && description != nullptr) {
        const SnapshotPage* document = description->Document();
        if (document != nullptr && document->file.Named() && !document->file.missing)
            found = document;
    }
    // Pages recorded without their addresses (older recordings, or files
    // saved without a description): the document a request loads is found
    // by the name its place in the page gives it ("t4f1.html"), as .html or
    // .htm, in the description first.
    const bool byName = !request.document.empty() &&
                        ((first && !m_step->hasXml) || request.role == RequestRole::Frame);
    if (found == nullptr && byName) {
        const std::string stem = Lower(FileStem(request.document));
        if (description != nullptr)
            for (const SnapshotPage& page : description->Pages())
                if (page.kind != SnapshotPage::Kind::Resource && page.file.Named() &&
                    !page.file.missing && Lower(FileStem(page.file.name)) == stem) {
                    found = &page;
                    break;
                }
        if (found == nullptr)
            return AnswerFromNamedFile(request, response, check);
    }
    if (found == nullptr)
        return false;
    std::string bytes;
    if (!m_recording.ReadPage(*found, bytes, m_messages))
        return false;

    const bool isDocument = found->kind == SnapshotPage::Kind::Document;
    response = HttpResponse();
    response.status = 200;
    response.body = std::move(bytes);
    response.responseBytes = response.body.size();
    std::string type = isDocument ? description->ContentType() : std::string();
    if (type.empty())
        type = GuessContentType(found->file.name);
    response.headers.push_back({"Content-Type", type});

    // The request that was recorded for the file: a frame or resource is a
    // GET; the document's method is the request line of its header file (a
    // body file without one makes it a POST), its body the body file.
    RequestText recorded{"GET", found->url, std::string(), std::string()};
    if (isDocument) {
        FolderMessages ignored;
        std::string headerText;
        const SnapshotFileRef& headerFile = description->RequestHeaderFile();
        if (headerFile.Named() && !headerFile.missing &&
            m_recording.ReadFileBytes(headerFile.name, headerText, ignored)) {
            const std::string method = MethodOfRequestLine(headerText);
            if (!method.empty())
                recorded.method = method;
        }
        const SnapshotFileRef& bodyFile = description->RequestBodyFile();
        if (bodyFile.Named() && !bodyFile.missing &&
            m_recording.ReadFileBytes(bodyFile.name, recorded.body, m_messages)) {
            if (recorded.method == "GET" && headerText.empty())
                recorded.method = "POST";
        }
    }
    RequestText sent{request.method, request.url, request.body, std::string()};
    if (const std::string* type = request.Header("Content-Type"))
        sent.contentType = *type;
    check.source = RecordedRequestCheck::Source::File;
    check.recorded = !found->url.empty();
    check.recordedMethod = recorded.method;
    check.recordedUrl = found->url;
    check.where = "data/" + found->file.name;
    if (check.recorded)
        check.comparison = CompareWithWrittenForm(request, sent, recorded);
    return true;
}

bool CRecordedTransport::AnswerFromNamedFile(const HttpRequest& request, HttpResponse& response,
                                             RecordedRequestCheck& check) {
    const std::string stem = FileStem(request.document);
    for (const std::string& candidate : {request.document, stem + ".htm", stem + ".html"}) {
        const std::optional<std::string> name = m_recording.FindFile(candidate);
        std::string bytes;
        FolderMessages ignored;
        if (!name || !m_recording.ReadFileBytes(*name, bytes, ignored))
            continue;
        response = HttpResponse();
        response.status = 200;
        response.body = std::move(bytes);
        response.responseBytes = response.body.size();
        response.headers.push_back({"Content-Type", "text/html"});
        check.source = RecordedRequestCheck::Source::File;
        check.recorded = false;
        check.where = "data/" + *name;
        return true;
    }
    return false;
}

// The request as sent against the recorded one; when they differ and the
// request comes with its form as written, that form's references may match
// the recorded values (a parameter whose value today is not the recorded
// one is still the request the script recorded).
RequestComparison CRecordedTransport::CompareWithWrittenForm(const HttpRequest& request,
                                                             const RequestText& sent,
                                                             const RequestText& recorded) const {
    // The written form is compared first, so that a match names the
    // references and the recorded values they stand for.
    if (request.hasWrittenForm) {
        RequestText written = sent;
        written.url = request.writtenUrl;
        written.body = request.writtenBody;
        RequestComparison comparison = CompareRequests(written, recorded, m_left, m_right);
        if (comparison.same)
            return comparison;
    }
    return CompareRequests(sent, recorded, m_left, m_right);
}

HttpResponse CRecordedTransport::Send(const HttpRequest& request) {
    RecordedRequestCheck check;
    HttpResponse response;
    bool answered = false;
    if (m_step) {
        ++m_step->sent;
        check.step = m_step->info.number;
        check.snapshot = m_step->info.snapshot;
        StepData& data = *m_step;
        const std::string method = Upper(request.method);
        const ExchangeOrigin fits = OriginOf(request.role);
        const bool references = !m_left.empty() && request.url.find(m_left) != std::string::npos;

        // The first unused exchange of the URL (and method, when asked),
        // one of the origin that fits the role first.
        // How addresses are compared: the same text first (cheap, and what a
        // replay usually sends), then as the request comparison compares
        // them, then with references matching any text.
        enum class Match { Text, Canonical, References };
        const std::string url = WithoutFragment(request.url);
        auto find = [&](bool sameMethod, Match match) -> std::size_t {
            std::size_t best = data.exchanges.size();
            for (std::size_t i = 0; i < data.exchanges.size(); ++i) {
                if (data.used[i])
                    continue;
                const HttpExchange& exchange = data.exchanges[i];
                if (sameMethod && Upper(exchange.method) != method)
                    continue;
                const bool same =
                    match == Match::Text
                        ? url == WithoutFragment(exchange.url)
                        : SameUrl(request.url, exchange.url,
                                  match == Match::References ? m_left : std::string(),
                                  match == Match::References ? m_right : std::string());
                if (!same)
                    continue;
                if (exchange.origin == fits)
                    return i;
                if (best == data.exchanges.size())
                    best = i;
            }
            return best;
        };
        std::size_t index = data.exchanges.size();
        for (const bool sameMethod : {true, false})
            for (const Match match : {Match::Text, Match::Canonical, Match::References}) {
                if (index != data.exchanges.size())
                    break;
                if (match == Match::References && !references)
                    continue;
                index = find(sameMethod, match);
            }
        // The exchange the request stands in for: the step's own request, or
        // the redirect it follows. The XML is the full exchange: it wins over
        // the tN.inf files, which may name the address the script expected.
        if (index == data.exchanges.size() &&
            (request.role == RequestRole::Primary || request.role == RequestRole::Redirection)) {
            for (std::size_t i = 0; i < data.exchanges.size(); ++i)
                if (!data.used[i] && data.exchanges[i].origin == fits) {
                    index = i;
                    break;
                }
        }
        if (index == data.exchanges.size())
            answered = AnswerFromFile(request, response, check);
        if (!answered && index < data.exchanges.size()) {
            const HttpExchange& exchange = data.exchanges[index];
            data.used[index] = true;
            response = Answer(exchange);
            RequestText sent{request.method, request.url, request.body, std::string()};
            if (const std::string* type = request.Header("Content-Type"))
                sent.contentType = *type;
            RequestText recorded{exchange.method, exchange.url, exchange.requestBody,
                                 std::string()};
            if (const std::string* type = exchange.RequestHeader("Content-Type"))
                recorded.contentType = *type;
            check.source = RecordedRequestCheck::Source::Exchange;
            check.recorded = true;
            check.recordedMethod = exchange.method;
            check.recordedUrl = exchange.url;
            check.where = data.Where(exchange);
            check.comparison = CompareWithWrittenForm(request, sent, recorded);
            answered = true;
        }
    }
    if (!answered) {
        check.source = RecordedRequestCheck::Source::NotRecorded;
        check.recorded = false;
        response = HttpResponse();
        response.status = 404;
        response.headers = {{"Content-Type", "text/plain"}, {"X-Webstep-Not-Recorded", "1"}};
        response.body = "not recorded: " + request.method + " " + request.url +
                        (check.snapshot.empty() ? std::string(" (the step has no snapshot)")
                                                : " is not in the recording of " + check.snapshot);
        response.error = "not recorded";
        response.responseBytes = response.body.size();
    }

    ++m_counts.requests;
    if (!check.recorded && check.source == RecordedRequestCheck::Source::File)
        ++m_counts.unverified;
    else if (!check.recorded)
        ++m_counts.notRecorded;
    else if (check.comparison.same)
        ++m_counts.same;
    else
        ++m_counts.different;
    m_last = std::move(check);
    m_hasLast = true;
    if (m_callback)
        m_callback(request, response, m_last);
    return response;
}

const RecordedRequestCheck* CRecordedTransport::LastCheck() const {
    return m_hasLast ? &m_last : nullptr;
}

const RequestComparison* CRecordedTransport::LastComparison() const {
    return m_hasLast && m_last.recorded ? &m_last.comparison : nullptr;
}

bool CRecordedTransport::LastWasRecorded() const {
    return m_hasLast && m_last.Same();
}

FolderMessages CRecordedTransport::TakeNewMessages() {
    FolderMessages fresh(m_messages.begin() + static_cast<std::ptrdiff_t>(m_reported),
                         m_messages.end());
    m_reported = m_messages.size();
    return fresh;
}

std::optional<std::time_t> CRecordedTransport::ParseHttpDate(const std::string& text) {
    static const char* const forms[] = {
        "%a, %d %b %Y %H:%M:%S",  // Tue, 17 Nov 2026 14:06:34 GMT
        "%A, %d-%b-%y %H:%M:%S",  // Tuesday, 17-Nov-26 14:06:34 GMT
        "%a %b %d %H:%M:%S %Y",   // Tue Nov 17 14:06:34 2026
    };
    const std::string value = Trim(text);
    for (const char* form : forms) {
        std::tm parts{};
        const char* end = strptime(value.c_str(), form, &parts);
        if (end == nullptr)
            continue;
        const std::time_t seconds = timegm(&parts);
        if (seconds == static_cast<std::time_t>(-1))
            continue;
        return seconds;
    }
    return std::nullopt;
}

std::optional<std::time_t> CRecordedTransport::RecordedTime(std::string* where) {
    if (!m_open)
        return std::nullopt;
    // The first snapshots say it; a recording without any Date is not read
    // whole for it.
    constexpr std::size_t kSnapshotsLooked = 20;
    std::size_t looked = 0;
    FolderMessages ignored;
    for (const std::string& name : m_recording.SnapshotNames()) {
        if (++looked > kSnapshotsLooked)
            break;
        if (m_recording.HasExchanges(name)) {
            std::optional<HttpExchange> primary = m_recording.PrimaryRequest(name, ignored);
            if (primary) {
                if (const std::string* date = primary->ResponseHeader("Date"))
                    if (std::optional<std::time_t> time = ParseHttpDate(*date)) {
                        if (where != nullptr)
                            *where = "the Date of the primary answer of " + name;
                        return time;
                    }
            }
        }
        const CSnapshotInfo* info = m_recording.Snapshot(name, ignored);
        if (info == nullptr || !info->ResponseHeaderFile().Named() ||
            info->ResponseHeaderFile().missing)
            continue;
        std::string headers;
        if (!m_recording.ReadFileBytes(info->ResponseHeaderFile().name, headers, ignored))
            continue;
        std::size_t at = 0;
        while (at < headers.size()) {
            std::size_t end = headers.find('\n', at);
            if (end == std::string::npos)
                end = headers.size();
            std::string line = headers.substr(at, end - at);
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            at = end + 1;
            if (line.size() > 5 && strncasecmp(line.c_str(), "Date:", 5) == 0)
                if (std::optional<std::time_t> time = ParseHttpDate(line.substr(5))) {
                    if (where != nullptr)
                        *where = "the Date of data/" + info->ResponseHeaderFile().name;
                    return time;
                }
        }
    }
    return std::nullopt;
}
