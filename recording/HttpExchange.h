#pragma once
// One HTTP exchange of a recorded navigation step, as the step's snapshot XML
// file keeps it: who sent it, the request and the response. Texts and bodies
// are kept as the bytes that were recorded (base64 decoded), whatever their
// encoding.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"

/// What sent a recorded exchange (the task's "origin" attribute).
enum class ExchangeOrigin {
    Primary,      ///< the step's own request
    Redirection,  ///< a redirect that was followed
    HTML,         ///< a frame or resource found in the page
    ExtraRes,     ///< an extra resource of the step
    Polling,      ///< a request repeated by the page
    Other         ///< any other text, or none (kept in originText)
};

/// One header line: name and value as recorded. Lists keep file order and
/// duplicates.
struct WEBSTEP_API HttpHeader {
    std::string name;
    std::string value;

    bool operator==(const HttpHeader&) const = default;
};

/// One recorded exchange (an HTTPTask of a snapshot XML file).
struct WEBSTEP_API HttpExchange {
    ExchangeOrigin origin = ExchangeOrigin::Other;
    /// The origin attribute as written (empty when the task has none).
    std::string originText;
    /// The frame attribute as written ("1", "1.2"; empty when absent).
    std::string frame;
    /// The task's id attribute as written.
    std::string taskId;
    std::string url;
    std::string method;
    /// Line of the task's start tag in the file (1-based).
    unsigned line = 0;

    std::vector<HttpHeader> requestHeaders;
    /// The request body bytes (the concatenation of its parts).
    std::string requestBody;
    /// Decoded size of the request body, whether kept or not.
    std::size_t requestBodySize = 0;
    /// The body had bytes but the reader was told not to keep request bodies.
    bool requestBodyLeftOut = false;
    /// Only the first bytes of the body were kept (the reader's byte cap).
    bool requestBodyCut = false;

    /// The status code when the file carries it; 0 when it does not.
    int responseStatus = 0;
    std::vector<HttpHeader> responseHeaders;
    std::string responseBody;
    std::size_t responseBodySize = 0;
    bool responseBodyLeftOut = false;
    bool responseBodyCut = false;

    /// The origin named by text, compared exactly as the files write it.
    static ExchangeOrigin OriginFromText(std::string_view text) {
        if (text == "Primary")
            return ExchangeOrigin::Primary;
        if (text == "Redirection")
            return ExchangeOrigin::Redirection;
        if (text == "HTML")
            return ExchangeOrigin::HTML;
        if (text == "ExtraRes")
            return ExchangeOrigin::ExtraRes;
        if (text == "Polling")
            return ExchangeOrigin::Polling;
        return ExchangeOrigin::Other;
    }

    /// The value of the first request header named name (ASCII case
    /// ignored), or null.
    const std::string* RequestHeader(std::string_view name) const {
        return FindHeader(requestHeaders, name);
    }
    /// The value of the first response header named name, or null.
    const std::string* ResponseHeader(std::string_view name) const {
        return FindHeader(responseHeaders, name);
    }

    static const std::string* FindHeader(const std::vector<HttpHeader>& headers,
                                         std::string_view name) {
        for (const HttpHeader& header : headers) {
            if (header.name.size() != name.size())
                continue;
            bool same = true;
            for (std::size_t i = 0; i < name.size() && same; ++i) {
                char a = header.name[i], b = name[i];
                if (a >= 'A' && a <= 'Z')
                    a = static_cast<char>(a - 'A' + 'a');
                if (b >= 'A' && b <= 'Z')
                    b = static_cast<char>(b - 'A' + 'a');
                same = a == b;
            }
            if (same)
                return &header.value;
        }
        return nullptr;
    }
};
