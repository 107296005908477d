#pragma once
// Whether a planned request is the request a recording holds: method,
// absolute URL (fragments aside) and body (multipart boundaries aside). The
// planned texts may hold parameter references between the folder's braces;
// a reference matches whatever text the recording has in its place, and the
// comparison tells which text that was.
#include <string>
#include <utility>
#include <vector>

#include "webstep/foundation/Export.h"

/// The parts of a request that a comparison looks at.
struct WEBSTEP_API RequestText {
    std::string method;
    std::string url;
    std::string body;
    /// The Content-Type header, when known (for the multipart boundary).
    std::string contentType;
};

/// The outcome of comparing a planned request with a recorded one.
struct WEBSTEP_API RequestComparison {
    bool same = false;
    /// "method", "url" or "body" when not the same.
    std::string part;
    /// The first difference, in plain words.
    std::string difference;
    /// Byte offset of the first difference in the recorded part.
    std::size_t offset = 0;
    /// Each reference of the planned request with the recorded text it
    /// matched, in order.
    std::vector<std::pair<std::string, std::string>> references;
};

/// Compares planned with recorded. References are left ... right (the
/// folder's braces); an empty left brace turns reference matching off.
WEBSTEP_API RequestComparison CompareRequests(const RequestText& planned,
                                              const RequestText& recorded,
                                              const std::string& leftBrace = "{",
                                              const std::string& rightBrace = "}");

/// Matches text against a pattern whose references stand for any text
/// (empty included); on success, the matched texts in order.
WEBSTEP_API bool MatchWithReferences(const std::string& pattern, const std::string& text,
                                     const std::string& leftBrace, const std::string& rightBrace,
                                     std::vector<std::pair<std::string, std::string>>* matched,
                                     std::size_t* mismatchOffset = nullptr);
