#pragma once
// The cookies of one virtual user, kept by the storage model of RFC 6265:
// stored from the Set-Cookie headers of responses and from web_add_cookie,
// sent back in the Cookie header of the requests they match.
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/HttpMessage.h"

/// One stored cookie, as a report shows it.
struct WEBSTEP_API Cookie {
    std::string name;
    std::string value;
    /// Lower case, without a leading dot: the request host for a host-only
    /// cookie, the Domain attribute otherwise.
    std::string domain;
    std::string path;
    /// Sent to the domain's host only, not to its subdomains.
    bool hostOnly = true;
    bool secure = false;
    bool httpOnly = false;
    /// As written in the SameSite attribute (empty without one); kept for
    /// reports, not enforced.
    std::string sameSite;
    /// True when Max-Age or Expires gave an expiry; a session cookie lives
    /// as long as the jar (until Clear).
    bool persistent = false;
    /// The expiry of a persistent cookie (seconds since 1970, UTC).
    std::time_t expires = 0;
    /// When the first cookie of this name, domain and path was stored; a
    /// replacement keeps it.
    std::time_t created = 0;
    /// Order of creation within the jar (ties of created within a second).
    std::uint64_t creationOrder = 0;
    /// Order of the last store or send, for evicting the least recently used.
    std::uint64_t lastAccess = 0;
};

/// The cookie jar of one virtual user (used by one thread). Set-Cookie
/// headers are parsed and stored per RFC 6265 sections 5.2 and 5.3 and the
/// Cookie header is built per 5.4. Choices where the rules leave room:
/// - A Set-Cookie without "=" in its first part, with an empty name, or with
///   a control byte (other than tab) anywhere is ignored.
/// - Without a public suffix list, a Domain attribute of a single label
///   ("com", "localhost") is refused unless it is the request host itself,
///   which then gets a host-only cookie.
/// - A request host that is an IP address gets host-only cookies; a Domain
///   attribute other than that address itself drops the cookie.
/// - Limits against hostile servers: name and value together at most
///   kMaxCookieBytes (a larger cookie is ignored), attribute values of more
///   than 1024 bytes are ignored, at most kMaxPerDomain cookies per domain and
///   kMaxTotal in all (expired ones go first, then the least recently used),
///   and at most kMaxSetCookiePerResponse Set-Cookie headers of one response
///   are read.
/// - Secure cookies may be set over http (as RFC 6265 allows); they are only
///   sent over https.
/// Ignored cookies are noted in Messages().
class WEBSTEP_API CCookieJar {
public:
    using Clock = std::function<std::time_t()>;

    static constexpr std::size_t kMaxCookieBytes = 4096;
    static constexpr std::size_t kMaxPerDomain = 180;
    static constexpr std::size_t kMaxTotal = 3000;
    static constexpr std::size_t kMaxSetCookiePerResponse = 1000;
    static constexpr std::size_t kMaxAttributeBytes = 1024;
    static constexpr std::size_t kMaxMessages = 100;

    /// Without a clock the jar reads the system time.
    explicit CCookieJar(Clock clock = {});

    void SetClock(Clock clock);

    /// Stores every Set-Cookie header of a response to a request for
    /// requestUrl (an absolute URL).
    void StoreFromResponse(const std::string& requestUrl, const HttpResponse& response);
    /// Stores one Set-Cookie header value received for requestUrl; false
    /// (with a message) when the cookie was ignored. A cookie that deletes
    /// (expiry in the past) counts as stored.
    bool StoreSetCookie(const std::string& requestUrl, std::string_view setCookie);

    /// The value of the Cookie header of a request for url: the cookies whose
    /// domain and path match, secure ones only over https, longer paths
    /// first, then earlier creation; empty when none match.
    std::string CookieHeader(const std::string& url);

    /// web_add_cookie: "name=value; domain=host; path=/; expires=...". The
    /// domain is required: without one nothing is stored and the result is
    /// false. The cookie is stored as if host (the domain without a leading
    /// dot) had sent it over https with that Domain attribute, so it also
    /// goes to the host's subdomains (an IP address: to itself only). Path
    /// defaults to "/".
    bool AddCookie(const std::string& cookieText);
    /// web_remove_cookie: removes the cookies of that name, and of that
    /// domain (leading dot ignored, letter case ignored) and path when the
    /// text gives them. False when the text has no name or nothing matched.
    bool RemoveCookie(const std::string& cookieText);
    /// web_cleanup_cookies: every cookie goes.
    void Clear();

    /// The cookies that have not expired, in order of creation.
    std::vector<Cookie> Cookies() const;
    std::size_t Size() const { return m_cookies.size(); }

    /// What was ignored and why, oldest first (at most kMaxMessages; later
    /// ones are counted in the last).
    const std::vector<std::string>& Messages() const { return m_messages; }
    void ClearMessages() {
        m_messages.clear();
        m_droppedMessages = 0;
    }

    /// Parses a date of an Expires attribute by the algorithm of RFC 6265
    /// 5.1.1 (RFC 1123, RFC 850, asctime and the usual variants); false when
    /// it is not a date.
    static bool ParseCookieDate(std::string_view text, std::time_t& result);
    /// RFC 6265 5.1.3: host equals domain, or ends with "." + domain and is
    /// not an IP address.
    static bool DomainMatch(std::string_view host, std::string_view domain);
    /// RFC 6265 5.1.4.
    static bool PathMatch(std::string_view requestPath, std::string_view cookiePath);
    /// RFC 6265 5.1.4: the directory of a request path ("/a/b" gives "/a",
    /// "/a" and "" give "/").
    static std::string DefaultPath(std::string_view requestPath);
    static bool IsIpAddress(std::string_view host);

private:
    std::time_t Now() const;
    void Note(std::string message);
    // Parses and stores one cookie text received from host over a secure
    // channel or not; requestPath is the path of the request. For
    // web_add_cookie the domain is required (addCookieForm).
    bool Store(std::string_view host, std::string_view requestPath, std::string_view text,
               bool addCookieForm);
    void Insert(Cookie cookie);
    void RemoveExpired(std::time_t now);
    void Evict(const std::string& domain);

    Clock m_clock;
    std::vector<Cookie> m_cookies;
    std::uint64_t m_sequence = 0;
    std::vector<std::string> m_messages;
    std::size_t m_droppedMessages = 0;
};
