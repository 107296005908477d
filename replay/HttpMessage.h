#pragma once
// The requests a virtual user sends and the responses it is handed, as plain
// values: what crosses the transport interface in both directions.
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/HttpExchange.h"

/// Why a request is sent: the step's own request, a redirect it follows, or
/// a frame or resource of its page.
enum class RequestRole {
    Primary,      ///< the step's own request
    Redirection,  ///< a redirect being followed
    Frame,        ///< a frame or iframe of the page
    Resource,     ///< an image, script, style sheet... named by the page
    ExtraRes      ///< an item of the step's EXTRARES list
};

/// One request a virtual user decided to send.
struct WEBSTEP_API HttpRequest {
    std::string method = "GET";
    /// The absolute URL, without a fragment.
    std::string url;
    /// In the order they are sent; names as written.
    std::vector<HttpHeader> headers;
    std::string body;
    RequestRole role = RequestRole::Primary;
    /// The relative frame id of the document it loads or belongs to ("1",
    /// "1.2"); empty for the step's request before its page is known.
    std::string frame;
    /// The snapshot file name the context tree gives the document this
    /// request loads ("t4.html", "t4f1.html"); empty for resources. A
    /// transport answering from recorded files may look the page up by it.
    std::string document;
    /// The step's own request as the script writes it, parameter references
    /// kept (when the user was asked to keep it and substitution changed
    /// it): a comparison with a recording lets a reference match the value
    /// that was recorded.
    bool hasWrittenForm = false;
    std::string writtenUrl;
    std::string writtenBody;

    /// The value of the first header of that name (ASCII case ignored), or
    /// null.
    const std::string* Header(std::string_view name) const {
        return HttpExchange::FindHeader(headers, name);
    }
};

/// Seconds spent in the phases of one exchange, as far as the transport
/// knows them (0 when it does not).
struct WEBSTEP_API HttpTimings {
    double dns = 0;
    double connect = 0;
    double tls = 0;
    double firstByte = 0;
    double total = 0;
};

/// One response a virtual user is handed.
struct WEBSTEP_API HttpResponse {
    /// The HTTP status; 0 when the transport failed (see error).
    int status = 0;
    std::vector<HttpHeader> headers;
    std::string body;
    HttpTimings timings;
    /// Bytes of the request and the response as they went over the wire
    /// (headers and body), when the transport knows them.
    std::size_t requestBytes = 0;
    std::size_t responseBytes = 0;
    /// What went wrong when the transport could not get an answer.
    std::string error;

    const std::string* Header(std::string_view name) const {
        return HttpExchange::FindHeader(headers, name);
    }
    /// Every value of the headers of that name, in order (Set-Cookie).
    std::vector<std::string> Headers(std::string_view name) const {
        std::vector<std::string> values;
        for (const HttpHeader& header : headers)
            if (HttpExchange::FindHeader(std::vector<HttpHeader>{header}, name) != nullptr)
                values.push_back(header.value);
        return values;
    }
};
