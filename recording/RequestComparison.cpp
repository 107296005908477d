#include "webstep/recording/RequestComparison.h"

#include <algorithm>
#include <cctype>

#include "webstep/url/URLParser.h"

namespace {

// A pattern cut at its references: literal texts with the references
// between them (references.size() == literals.size() - 1).
struct Pattern {
    std::vector<std::string> literals;
    std::vector<std::string> references;
};

bool IsNameChar(char c) {
    // A reference names a parameter: no line breaks, no quotes, no spaces.
    return c != '\r' && c != '\n' && c != '"' && c != ' ' && c != '\t';
}

Pattern Split(const std::string& text, const std::string& left, const std::string& right) {
    Pattern pattern;
    pattern.literals.emplace_back();
    std::size_t i = 0;
    while (i < text.size()) {
        if (!left.empty() && text.compare(i, left.size(), left) == 0) {
            std::size_t close = text.find(right, i + left.size());
            if (close != std::string::npos && close > i + left.size()) {
                std::string name = text.substr(i + left.size(), close - i - left.size());
                if (std::all_of(name.begin(), name.end(), IsNameChar) &&
                    name.find(left) == std::string::npos) {
                    pattern.references.push_back(name);
                    pattern.literals.emplace_back();
                    i = close + right.size();
                    continue;
                }
            }
        }
        pattern.literals.back() += text[i++];
    }
    return pattern;
}

// The length of the common prefix of a and b.
std::size_t Common(const std::string& a, std::size_t ai, const std::string& b, std::size_t bi) {
    std::size_t n = 0;
    while (ai + n < a.size() && bi + n < b.size() && a[ai + n] == b[bi + n])
        ++n;
    return n;
}

std::string Excerpt(const std::string& text, std::size_t at) {
    constexpr std::size_t kBefore = 20, kAfter = 40;
    std::size_t from = at > kBefore ? at - kBefore : 0;
    std::string out = from > 0 ? "..." : "";
    for (std::size_t i = from; i < text.size() && i < at + kAfter; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '\r')
            out += "\\r";
        else if (c == '\n')
            out += "\\n";
        else if (c < 0x20 || c == 0x7f) {
            static const char hex[] = "0123456789ABCDEF";
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 15];
        } else
            out += static_cast<char>(c);
    }
    if (at + kAfter < text.size())
        out += "...";
    return out;
}

std::string StripFragment(const std::string& url) {
    std::size_t hash = url.find('#');
    return hash == std::string::npos ? url : url.substr(0, hash);
}

// The boundary of a multipart body: from the content type, else from the
// body's first line ("--boundary").
std::string Boundary(const RequestText& request) {
    std::string lower = request.contentType;
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::size_t at = lower.find("boundary=");
    if (at != std::string::npos) {
        std::string value = request.contentType.substr(at + 9);
        std::size_t end = value.find_first_of("; \t");
        if (end != std::string::npos)
            value.erase(end);
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        if (!value.empty())
            return value;
    }
    if (request.body.compare(0, 2, "--") == 0) {
        std::size_t end = request.body.find("\r\n");
        if (end != std::string::npos && end > 2 && end < 200)
            return request.body.substr(2, end - 2);
    }
    return std::string();
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
    if (from.empty())
        return;
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

// Bytes a browser escapes before it sends an address (non-ASCII, blanks,
// controls), escaped, and escapes written with upper-case digits, so that an
// address the script writes raw compares equal to the one that was sent.
std::string EscapeAsSent(const std::string& url) {
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    for (std::size_t i = 0; i < url.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(url[i]);
        if (c == '%' && i + 2 < url.size() &&
            std::isxdigit(static_cast<unsigned char>(url[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(url[i + 2]))) {
            out += '%';
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(url[i + 1])));
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(url[i + 2])));
            i += 2;
        } else if (c >= 0x80 || c <= 0x20 || c == 0x7f) {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

// A URL printed the one way the parser prints it, so that equal addresses
// written differently (host case, a default port, raw or escaped bytes)
// compare equal.
std::string Canonical(const std::string& url) {
    CURLParser parser(url.c_str());
    if (!parser.IsValid())
        return EscapeAsSent(url);
    return EscapeAsSent(StripFragment(parser.GetFullURLWithSearch()));
}

}  // namespace

bool MatchWithReferences(const std::string& patternText, const std::string& text,
                         const std::string& leftBrace, const std::string& rightBrace,
                         std::vector<std::pair<std::string, std::string>>* matched,
                         std::size_t* mismatchOffset) {
    const Pattern pattern = Split(patternText, leftBrace, rightBrace);
    std::vector<std::pair<std::string, std::string>> found;
    auto fail = [&](std::size_t at) {
        if (mismatchOffset != nullptr)
            *mismatchOffset = at;
        return false;
    };
    const std::string& first = pattern.literals.front();
    if (pattern.references.empty()) {
        if (first == text)
            return true;
        return fail(Common(first, 0, text, 0));
    }
    if (text.compare(0, first.size(), first) != 0)
        return fail(Common(first, 0, text, 0));
    const std::string& last = pattern.literals.back();
    if (text.size() < first.size() + last.size() ||
        text.compare(text.size() - last.size(), last.size(), last) != 0) {
        // The end does not match: say where the tail of the text leaves it.
        std::size_t n = 0;
        while (n < last.size() && n < text.size() &&
               last[last.size() - 1 - n] == text[text.size() - 1 - n])
            ++n;
        return fail(text.size() - n);
    }
    // Between the fixed ends, each middle literal at its leftmost place: with
    // references matching any text, the leftmost choice never loses a match.
    std::size_t pos = first.size();
    const std::size_t end = text.size() - last.size();
    for (std::size_t k = 1; k + 1 < pattern.literals.size(); ++k) {
        const std::string& literal = pattern.literals[k];
        std::size_t at = text.find(literal, pos);
        if (at == std::string::npos || at + literal.size() > end)
            return fail(pos);
        found.emplace_back(pattern.references[k - 1], text.substr(pos, at - pos));
        pos = at + literal.size();
    }
    found.emplace_back(pattern.references.back(), text.substr(pos, end - pos));
    if (matched != nullptr)
        *matched = std::move(found);
    return true;
}

RequestComparison CompareRequests(const RequestText& planned, const RequestText& recorded,
                                  const std::string& leftBrace, const std::string& rightBrace) {
    RequestComparison result;
    auto differs = [&](const char* part, const std::string& plannedText,
                       const std::string& recordedText, std::size_t at) {
        result.part = part;
        result.offset = at;
        result.difference = std::string(part) + " differs at byte " + std::to_string(at) +
                            ": planned \"" +
                            Excerpt(plannedText, std::min(at, plannedText.size())) +
                            "\", recorded \"" + Excerpt(recordedText, at) + "\"";
        return result;
    };
    std::string plannedMethod = planned.method, recordedMethod = recorded.method;
    for (std::string* m : {&plannedMethod, &recordedMethod})
        for (char& c : *m)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (plannedMethod != recordedMethod) {
        result.part = "method";
        result.difference =
            "method differs: planned " + planned.method + ", recorded " + recorded.method;
        return result;
    }

    std::vector<std::pair<std::string, std::string>> urlRefs;
    const std::string plannedUrl = StripFragment(planned.url);
    const std::string recordedUrl = StripFragment(recorded.url);
    std::size_t at = 0;
    if (!MatchWithReferences(plannedUrl, recordedUrl, leftBrace, rightBrace, &urlRefs, &at)) {
        // Written differently but the same address (host case, default port).
        const std::string a = Canonical(plannedUrl), b = Canonical(recordedUrl);
        std::size_t canonicalAt = 0;
        if (!MatchWithReferences(a, b, leftBrace, rightBrace, &urlRefs, &canonicalAt))
            return differs("url", plannedUrl, recordedUrl, at);
    }

    // Multipart bodies carry a boundary of their own each time they are sent.
    std::string plannedBody = planned.body;
    const std::string plannedBoundary = Boundary(planned);
    const std::string recordedBoundary = Boundary(recorded);
    if (!plannedBoundary.empty() && !recordedBoundary.empty())
        ReplaceAll(plannedBody, plannedBoundary, recordedBoundary);
    std::vector<std::pair<std::string, std::string>> bodyRefs;
    if (!MatchWithReferences(plannedBody, recorded.body, leftBrace, rightBrace, &bodyRefs, &at))
        return differs("body", plannedBody, recorded.body, at);

    result.same = true;
    result.references = std::move(urlRefs);
    result.references.insert(result.references.end(), bodyRefs.begin(), bodyRefs.end());
    return result;
}
