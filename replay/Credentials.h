#pragma once
// The user names and passwords that web_set_user gives a virtual user, per
// host and port, and the basic Authorization header they make.
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"

/// The web_set_user store of one virtual user (used by one thread): one user
/// name and password per host and port. Choices where the step leaves room:
/// - Hosts compare without regard to letter case; a URL without a port uses
///   its scheme's default (80 for http, 443 for https).
/// - A host given without a port ("host" or "host:") applies to every port
///   of that host; an entry with the request's very port wins over it.
/// - The host may also be given as a URL ("http://host:8080/": its port or
///   the scheme's default); an IPv6 address is written in brackets
///   ("[::1]:8080").
/// - A later Set for the same host and port replaces the earlier one.
class WEBSTEP_API CCredentials {
public:
    /// Port value of an entry that applies to every port of its host.
    static constexpr unsigned kAnyPort = 0;

    /// Stores user and password for hostPort ("host:port", "host" or a URL).
    /// False (with Message()) when no host can be read from it or the port
    /// is not a number from 1 to 65535.
    bool Set(const std::string& user, const std::string& password, const std::string& hostPort);
    /// Stores user and password for host and port (kAnyPort: every port), as
    /// a parsed web_set_user step gives them.
    bool Set(const std::string& user, const std::string& password, const std::string& host,
             unsigned port);

    /// "Basic " and the base64 of "user:password" for the URL's host and
    /// port; empty when no entry applies or the URL cannot be read.
    std::string AuthorizationFor(const std::string& url) const;

    void Clear() { m_entries.clear(); }
    std::size_t Size() const { return m_entries.size(); }
    /// Why the last Set failed.
    const std::string& Message() const { return m_message; }

    /// Standard base64 (RFC 4648) with padding.
    static std::string Base64(const std::string& bytes);

private:
    struct Entry {
        std::string host;  // lower case
        unsigned port = kAnyPort;
        std::string user;
        std::string password;
    };
    std::vector<Entry> m_entries;
    std::string m_message;
};
