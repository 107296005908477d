#include "webstep/replay/CookieJar.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "webstep/url/URLParser.h"

namespace {

constexpr std::time_t kEarliest = std::numeric_limits<std::time_t>::min();
constexpr std::time_t kLatest = std::numeric_limits<std::time_t>::max();

bool IsWsp(char c) {
    return c == ' ' || c == '\t';
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsWsp(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsWsp(text.back()))
        text.remove_suffix(1);
    return text;
}

char Lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string ToLower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = Lower(c);
    return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i]))
            return false;
    return true;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Bytes no cookie may hold: NUL, the other C0 controls but tab, and DEL.
bool HasControlByte(std::string_view text) {
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < 0x20 && byte != '\t') || byte == 0x7F)
            return true;
    }
    return false;
}

// A text for a message: at most 60 bytes of it.
std::string Excerpt(std::string_view text) {
    if (text.size() <= 60)
        return std::string(text);
    return std::string(text.substr(0, 60)) + "...";
}

// The parts of one cookie text (a Set-Cookie value or web_add_cookie's text).
struct ParsedCookie {
    std::string name;
    std::string value;
    std::optional<std::time_t> expires;
    std::optional<std::time_t> maxAgeExpiry;
    std::optional<std::string> domain;
    std::optional<std::string> path;
    bool secure = false;
    bool httpOnly = false;
    std::string sameSite;
};

// RFC 6265 5.2: the name-value pair, then the attributes, the last of each
// name winning. Attributes with values that cannot be read are ignored.
bool ParseCookieText(std::string_view text, std::time_t now, ParsedCookie& cookie,
                     std::string& error) {
    const std::size_t semicolon = text.find(';');
    const std::string_view pair = text.substr(0, semicolon);
    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos) {
        error = "no '=' in the name-value pair";
        return false;
    }
    cookie.name = std::string(Trim(pair.substr(0, equals)));
    cookie.value = std::string(Trim(pair.substr(equals + 1)));
    if (cookie.name.empty()) {
        error = "empty cookie name";
        return false;
    }
    if (cookie.name.size() + cookie.value.size() > CCookieJar::kMaxCookieBytes) {
        error = "name and value exceed " + std::to_string(CCookieJar::kMaxCookieBytes) + " bytes";
        return false;
    }
    std::string_view rest =
        semicolon == std::string_view::npos ? std::string_view() : text.substr(semicolon + 1);
    while (!rest.empty()) {
        const std::size_t next = rest.find(';');
        const std::string_view av = rest.substr(0, next);
        rest = next == std::string_view::npos ? std::string_view() : rest.substr(next + 1);
        const std::size_t eq = av.find('=');
        const std::string_view attrName = Trim(av.substr(0, eq));
        const std::string_view attrValue =
            eq == std::string_view::npos ? std::string_view() : Trim(av.substr(eq + 1));
        if (attrValue.size() > CCookieJar::kMaxAttributeBytes)
            continue;
        if (EqualsNoCase(attrName, "expires")) {
            std::time_t when = 0;
            if (CCookieJar::ParseCookieDate(attrValue, when))
                cookie.expires = when;
        } else if (EqualsNoCase(attrName, "max-age")) {
            if (attrValue.empty() || !(IsDigit(attrValue[0]) || attrValue[0] == '-'))
                continue;
            const bool negative = attrValue[0] == '-';
            const std::string_view digits = negative ? attrValue.substr(1) : attrValue;
            if (digits.empty() ||
                !std::all_of(digits.begin(), digits.end(), [](char c) { return IsDigit(c); }))
                continue;
            // Saturates: a huge Max-Age is "for ever", never a wrap to the past.
            std::time_t delta = 0;
            for (char c : digits) {
                if (delta > (kLatest - 9) / 10) {
                    delta = kLatest;
                    break;
                }
                delta = delta * 10 + (c - '0');
            }
            if (negative || delta <= 0)
                cookie.maxAgeExpiry = kEarliest;
            else
                cookie.maxAgeExpiry = delta > kLatest - now ? kLatest : now + delta;
        } else if (EqualsNoCase(attrName, "domain")) {
            if (attrValue.empty())
                continue;
            std::string_view domain = attrValue;
            if (domain.front() == '.')
                domain.remove_prefix(1);
            cookie.domain = ToLower(domain);
        } else if (EqualsNoCase(attrName, "path")) {
            if (attrValue.empty() || attrValue.front() != '/')
                cookie.path.reset();
            else
                cookie.path = std::string(attrValue);
        } else if (EqualsNoCase(attrName, "secure")) {
            cookie.secure = true;
        } else if (EqualsNoCase(attrName, "httponly")) {
            cookie.httpOnly = true;
        } else if (EqualsNoCase(attrName, "samesite")) {
            cookie.sameSite = std::string(attrValue);
        }
    }
    return true;
}

// Days since 1970-01-01 of a date of the proleptic Gregorian calendar.
long long DaysFromCivil(long long year, unsigned month, unsigned day) {
    year -= month <= 2;
    const long long era = (year >= 0 ? year : year - 399) / 400;
    const auto yoe = static_cast<unsigned>(year - era * 400);
    const unsigned doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

bool IsLeap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// RFC 6265 5.1.1 delimiters.
bool IsDateDelimiter(unsigned char c) {
    return c == 0x09 || (c >= 0x20 && c <= 0x2F) || (c >= 0x3B && c <= 0x40) ||
           (c >= 0x5B && c <= 0x60) || (c >= 0x7B && c <= 0x7E);
}

// Reads minDigits..maxDigits digits at pos, followed by nothing or a
// non-digit; advances pos past the digits.
bool ReadDigits(std::string_view token, std::size_t& pos, std::size_t minDigits,
                std::size_t maxDigits, int& value) {
    std::size_t start = pos;
    value = 0;
    while (pos < token.size() && IsDigit(token[pos]) && pos - start < maxDigits)
        value = value * 10 + (token[pos++] - '0');
    if (pos - start < minDigits)
        return false;
    return pos == token.size() || !IsDigit(token[pos]);
}

bool MatchTime(std::string_view token, int& hour, int& minute, int& second) {
    std::size_t pos = 0;
    if (!ReadDigits(token, pos, 1, 2, hour) || pos >= token.size() || token[pos] != ':')
        return false;
    ++pos;
    if (!ReadDigits(token, pos, 1, 2, minute) || pos >= token.size() || token[pos] != ':')
        return false;
    ++pos;
    return ReadDigits(token, pos, 1, 2, second);
}

bool MatchMonth(std::string_view token, int& month) {
    static const char* const kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                          "jul", "aug", "sep", "oct", "nov", "dec"};
    if (token.size() < 3)
        return false;
    for (int i = 0; i < 12; ++i)
        if (EqualsNoCase(token.substr(0, 3), kMonths[i])) {
            month = i + 1;
            return true;
        }
    return false;
}

}  // namespace

CCookieJar::CCookieJar(Clock clock) : m_clock(std::move(clock)) {}

void CCookieJar::SetClock(Clock clock) {
    m_clock = std::move(clock);
}

std::time_t CCookieJar::Now() const {
    return m_clock ? m_clock() : std::time(nullptr);
}

void CCookieJar::Note(std::string message) {
    if (m_messages.size() + 1 < kMaxMessages) {
        m_messages.push_back(std::move(message));
        return;
    }
    ++m_droppedMessages;
    const std::string summary =
        "... and " + std::to_string(m_droppedMessages) + " more cookie messages";
    if (m_messages.size() + 1 == kMaxMessages)
        m_messages.push_back(summary);
    else
        m_messages.back() = summary;
}

bool CCookieJar::ParseCookieDate(std::string_view text, std::time_t& result) {
    bool foundTime = false, foundDay = false, foundMonth = false, foundYear = false;
    int hour = 0, minute = 0, second = 0, day = 0, month = 0, year = 0;
    std::size_t pos = 0;
    while (pos < text.size()) {
        while (pos < text.size() && IsDateDelimiter(static_cast<unsigned char>(text[pos])))
            ++pos;
        const std::size_t start = pos;
        while (pos < text.size() && !IsDateDelimiter(static_cast<unsigned char>(text[pos])))
            ++pos;
        const std::string_view token = text.substr(start, pos - start);
        if (token.empty())
            continue;
        std::size_t at = 0;
        int h = 0, m = 0, s = 0, number = 0;
        if (!foundTime && MatchTime(token, h, m, s)) {
            foundTime = true;
            hour = h;
            minute = m;
            second = s;
        } else if (!foundDay && (at = 0, ReadDigits(token, at, 1, 2, number))) {
            foundDay = true;
            day = number;
        } else if (!foundMonth && MatchMonth(token, number)) {
            foundMonth = true;
            month = number;
        } else if (!foundYear && (at = 0, ReadDigits(token, at, 2, 4, number))) {
            foundYear = true;
            year = number;
        }
    }
    if (!foundTime || !foundDay || !foundMonth || !foundYear)
        return false;
    if (year >= 70 && year <= 99)
        year += 1900;
    else if (year >= 0 && year <= 69)
        year += 2000;
    if (day < 1 || day > 31 || year < 1601 || hour > 23 || minute > 59 || second > 59)
        return false;
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const int monthDays = month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
    if (day > monthDays)
        return false;
    const long long days =
        DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    result = static_cast<std::time_t>(days * 86400LL + hour * 3600LL + minute * 60LL + second);
    return true;
}

bool CCookieJar::IsIpAddress(std::string_view host) {
    if (host.empty())
        return false;
    if (host.front() == '[' || host.find(':') != std::string_view::npos)
        return true;
    return std::all_of(host.begin(), host.end(), [](char c) { return IsDigit(c) || c == '.'; });
}

bool CCookieJar::DomainMatch(std::string_view host, std::string_view domain) {
    if (host == domain)
        return true;
    return !domain.empty() && host.size() > domain.size() && host.ends_with(domain) &&
           host[host.size() - domain.size() - 1] == '.' && !IsIpAddress(host);
}

bool CCookieJar::PathMatch(std::string_view requestPath, std::string_view cookiePath) {
    if (requestPath == cookiePath)
        return true;
    if (!requestPath.starts_with(cookiePath))
        return false;
    return (!cookiePath.empty() && cookiePath.back() == '/') ||
           requestPath[cookiePath.size()] == '/';
}

std::string CCookieJar::DefaultPath(std::string_view requestPath) {
    if (requestPath.empty() || requestPath.front() != '/')
        return "/";
    const std::size_t slash = requestPath.rfind('/');
    if (slash == 0)
        return "/";
    return std::string(requestPath.substr(0, slash));
}

void CCookieJar::RemoveExpired(std::time_t now) {
    std::erase_if(m_cookies, [now](const Cookie& cookie) {
        return cookie.persistent && cookie.expires <= now;
    });
}

bool CCookieJar::Store(std::string_view host, std::string_view requestPath, std::string_view text,
                       bool addCookieForm) {
    const char* const origin = addCookieForm ? "web_add_cookie" : "Set-Cookie";
    if (HasControlByte(text)) {
        Note(std::string(origin) + " ignored: it holds a control byte: " + Excerpt(text));
        return false;
    }
    const std::time_t now = Now();
    ParsedCookie parsed;
    std::string error;
    if (!ParseCookieText(text, now, parsed, error)) {
        Note(std::string(origin) + " ignored: " + error + ": " + Excerpt(text));
        return false;
    }
    std::string requestHost;
    if (addCookieForm) {
        if (!parsed.domain) {
            Note("web_add_cookie ignored: it needs \"domain=\": " + Excerpt(text));
            return false;
        }
        requestHost = *parsed.domain;
    } else {
        requestHost = ToLower(host);
    }

    Cookie cookie;
    cookie.name = std::move(parsed.name);
    cookie.value = std::move(parsed.value);
    if (parsed.maxAgeExpiry) {
        cookie.persistent = true;
        cookie.expires = *parsed.maxAgeExpiry;
    } else if (parsed.expires) {
        cookie.persistent = true;
        cookie.expires = *parsed.expires;
    }
    std::string domain = parsed.domain.value_or(std::string());
    // No public suffix list: a single label is taken as one, and only the
    // host of that very name may use it (for itself alone).
    if (!domain.empty() && domain.find('.') == std::string::npos) {
        if (domain != requestHost) {
            Note(std::string(origin) + " ignored: Domain=" + domain +
                 " is a top-level label and not the request host " + requestHost);
            return false;
        }
        domain.clear();
    }
    if (!domain.empty()) {
        if (!DomainMatch(requestHost, domain)) {
            Note(std::string(origin) + " ignored: Domain=" + domain +
                 " does not domain-match the request host " + requestHost);
            return false;
        }
        // An address has no subdomains: its cookies are host-only.
        cookie.hostOnly = IsIpAddress(requestHost);
        cookie.domain = cookie.hostOnly ? requestHost : domain;
    } else {
        if (requestHost.empty()) {
            Note(std::string(origin) + " ignored: the request has no host");
            return false;
        }
        cookie.hostOnly = true;
        cookie.domain = requestHost;
    }
    cookie.path = parsed.path ? *parsed.path : DefaultPath(requestPath);
    cookie.secure = parsed.secure;
    cookie.httpOnly = parsed.httpOnly;
    cookie.sameSite = std::move(parsed.sameSite);
    cookie.created = now;

    RemoveExpired(now);
    auto old = std::find_if(m_cookies.begin(), m_cookies.end(), [&](const Cookie& stored) {
        return stored.name == cookie.name && stored.domain == cookie.domain &&
               stored.path == cookie.path;
    });
    if (old != m_cookies.end()) {
        cookie.created = old->created;
        cookie.creationOrder = old->creationOrder;
        m_cookies.erase(old);
    } else {
        cookie.creationOrder = ++m_sequence;
    }
    // An expiry in the past deletes: the old cookie is gone, the new one is
    // not kept.
    if (cookie.persistent && cookie.expires <= now)
        return true;
    Insert(std::move(cookie));
    return true;
}

void CCookieJar::Insert(Cookie cookie) {
    cookie.lastAccess = ++m_sequence;
    const std::string domain = cookie.domain;
    m_cookies.push_back(std::move(cookie));
    Evict(domain);
}

void CCookieJar::Evict(const std::string& domain) {
    // Expired cookies are gone already (RemoveExpired before every store);
    // then the least recently used of the crowded domain, then of all.
    auto leastRecent = [this](const std::string* only) {
        auto chosen = m_cookies.end();
        for (auto it = m_cookies.begin(); it != m_cookies.end(); ++it)
            if ((only == nullptr || it->domain == *only) &&
                (chosen == m_cookies.end() || it->lastAccess < chosen->lastAccess))
                chosen = it;
        return chosen;
    };
    std::size_t inDomain = static_cast<std::size_t>(std::count_if(
        m_cookies.begin(), m_cookies.end(), [&](const Cookie& c) { return c.domain == domain; }));
    while (inDomain > kMaxPerDomain) {
        auto victim = leastRecent(&domain);
        Note("cookie " + victim->name + " of " + domain + " dropped: more than " +
             std::to_string(kMaxPerDomain) + " cookies for that domain");
        m_cookies.erase(victim);
        --inDomain;
    }
    while (m_cookies.size() > kMaxTotal) {
        auto victim = leastRecent(nullptr);
        Note("cookie " + victim->name + " of " + victim->domain + " dropped: more than " +
             std::to_string(kMaxTotal) + " cookies in all");
        m_cookies.erase(victim);
    }
}

bool CCookieJar::StoreSetCookie(const std::string& requestUrl, std::string_view setCookie) {
    const CURLParser url(requestUrl.c_str());
    if (!url.IsValid() || url.GetHost().empty()) {
        Note("Set-Cookie ignored: the request URL has no host: " + Excerpt(requestUrl));
        return false;
    }
    return Store(url.GetHost(), url.GetFullPath(), setCookie, false);
}

void CCookieJar::StoreFromResponse(const std::string& requestUrl, const HttpResponse& response) {
    const std::vector<std::string> values = response.Headers("Set-Cookie");
    if (values.empty())
        return;
    const CURLParser url(requestUrl.c_str());
    if (!url.IsValid() || url.GetHost().empty()) {
        Note("Set-Cookie ignored: the request URL has no host: " + Excerpt(requestUrl));
        return;
    }
    const MString host = url.GetHost();
    const MString path = url.GetFullPath();
    std::size_t read = 0;
    for (const std::string& value : values) {
        if (read++ == kMaxSetCookiePerResponse) {
            Note("Set-Cookie ignored: more than " + std::to_string(kMaxSetCookiePerResponse) +
                 " in one response from " + Excerpt(requestUrl));
            break;
        }
        Store(host, path, value, false);
    }
}

std::string CCookieJar::CookieHeader(const std::string& url) {
    const CURLParser parsed(url.c_str());
    if (!parsed.IsValid() || m_cookies.empty())
        return {};
    const MString host = parsed.GetHost();
    const MString path = parsed.GetFullPath();
    const MString scheme = ToLower(parsed.GetProtocol());
    const bool secureChannel = scheme == "https" || scheme == "wss";
    RemoveExpired(Now());
    std::vector<Cookie*> chosen;
    for (Cookie& cookie : m_cookies) {
        const bool domainOk =
            cookie.hostOnly ? host == cookie.domain : DomainMatch(host, cookie.domain);
        if (domainOk && PathMatch(path, cookie.path) && (!cookie.secure || secureChannel))
            chosen.push_back(&cookie);
    }
    std::sort(chosen.begin(), chosen.end(), [](const Cookie* a, const Cookie* b) {
        if (a->path.size() != b->path.size())
            return a->path.size() > b->path.size();
        if (a->created != b->created)
            return a->created < b->created;
        return a->creationOrder < b->creationOrder;
    });
    std::string header;
    for (Cookie* cookie : chosen) {
        if (!header.empty())
            header += "; ";
        header += cookie->name;
        header += '=';
        header += cookie->value;
        cookie->lastAccess = ++m_sequence;
    }
    return header;
}

bool CCookieJar::AddCookie(const std::string& cookieText) {
    return Store({}, "/", Trim(cookieText), true);
}

bool CCookieJar::RemoveCookie(const std::string& cookieText) {
    const std::string_view text = Trim(cookieText);
    ParsedCookie parsed;
    std::string error;
    // The value is irrelevant for a removal; "name" alone is a name too.
    std::string withValue(text);
    const std::size_t semicolon = withValue.find(';');
    if (withValue.substr(0, semicolon).find('=') == std::string::npos)
        withValue.insert(semicolon == std::string::npos ? withValue.size() : semicolon, "=");
    if (HasControlByte(text) || !ParseCookieText(withValue, Now(), parsed, error)) {
        Note("web_remove_cookie ignored: " + (error.empty() ? "control byte" : error) + ": " +
             Excerpt(text));
        return false;
    }
    const std::size_t before = m_cookies.size();
    std::erase_if(m_cookies, [&](const Cookie& cookie) {
        return cookie.name == parsed.name && (!parsed.domain || cookie.domain == *parsed.domain) &&
               (!parsed.path || cookie.path == *parsed.path);
    });
    if (m_cookies.size() == before) {
        Note("web_remove_cookie: no cookie matches " + Excerpt(text));
        return false;
    }
    return true;
}

void CCookieJar::Clear() {
    m_cookies.clear();
}

std::vector<Cookie> CCookieJar::Cookies() const {
    const std::time_t now = Now();
    std::vector<Cookie> live;
    for (const Cookie& cookie : m_cookies)
        if (!cookie.persistent || cookie.expires > now)
            live.push_back(cookie);
    std::sort(live.begin(), live.end(),
              [](const Cookie& a, const Cookie& b) { return a.creationOrder < b.creationOrder; });
    return live;
}
