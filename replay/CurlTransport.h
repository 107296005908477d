#pragma once
// The live transport: sends a virtual user's requests to real servers with
// libcurl. One transport per user (one thread); it keeps the user's
// connections open between requests as a browser would.
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/Transport.h"

class CRunTimeSettings;

/// A forward proxy that requests go through (plain HTTP proxy; HTTPS URLs are
/// tunnelled through it with CONNECT).
struct WEBSTEP_API CurlProxy {
    /// Empty: no proxy.
    std::string host;
    unsigned port = 0;
    /// Basic authentication with the proxy when user is not empty.
    std::string user;
    std::string password;

    bool Enabled() const { return !host.empty(); }
};

/// How a CCurlTransport talks to servers.
struct WEBSTEP_API CurlTransportOptions {
    /// Check the server's certificate and host name (--insecure turns it off).
    bool verifyTls = true;
    /// A PEM file of the certificate authorities to trust instead of the
    /// system's; empty: the system's.
    std::string caFile;
    /// HTTP/2 when the server offers it by ALPN on a TLS connection.
    /// Cleartext http:// URLs stay on HTTP/1.1 (no upgrade, no prior
    /// knowledge): servers that speak h2c only are rare and a load test of
    /// such a server would see a different exchange from a browser's.
    bool http2 = false;
    /// HTTP/1.0 requests (the run-time settings' "HttpVer=1.0"); ignored
    /// when http2 is set.
    bool http10 = false;
    /// False: a new connection for every request, closed after it.
    bool keepAlive = true;
    /// The proxy of every request (no proxy by default; the environment's
    /// http_proxy variables are never used).
    CurlProxy proxy;
    /// The proxy of https:// requests when it differs from proxy.
    CurlProxy secureProxy;
    /// Host names that bypass the proxy, in libcurl's CURLOPT_NOPROXY form
    /// ("example.com,.internal,127.0.0.1"; a name also matches its
    /// subdomains; "*" alone bypasses for every host).
    std::string noProxy;
    /// Seconds to wait for a connection (TCP and TLS handshake).
    double connectTimeout = 120;
    /// Seconds a request may wait without receiving or sending a byte once
    /// connected: an idle limit, so a long download that keeps arriving is
    /// never cut off.
    double receiveTimeout = 120;
    /// Ask for every content encoding libcurl decodes (gzip, deflate, br,
    /// zstd) unless the request names its own Accept-Encoding, and hand the
    /// user the decoded body (the headers stay as received, Content-Encoding
    /// included). False: no Accept-Encoding is added and bodies are handed
    /// over as received.
    bool compression = true;
    /// "HOST:PORT:HOST2:PORT2" entries (CURLOPT_CONNECT_TO): requests for
    /// HOST:PORT connect to HOST2:PORT2 instead; URL, Host header and TLS
    /// name stay those of the request. Empty parts match any host or port.
    std::vector<std::string> connectTo;
    /// "HOST:PORT:ADDR[,ADDR...]" entries (CURLOPT_RESOLVE): HOST resolves
    /// to ADDR for that port.
    std::vector<std::string> resolve;
    /// The most bytes a response may bring (headers and decoded body); a
    /// bigger one is cut off there and the request fails. One announced
    /// bigger by its Content-Length fails before its body is read.
    std::size_t maxResponseBytes = std::size_t{64} << 20;
};

/// Sends requests with libcurl; see CTransport. Not thread-safe: one
/// transport per user thread. Any number of transports may exist in
/// different threads at once.
///
/// The timings of a response are phase durations, not libcurl's running
/// totals: dns (name lookup), connect (TCP handshake), tls (TLS handshake),
/// firstByte (from the connection being ready to the first response byte:
/// sending the request and the server's think time) and total (the whole
/// exchange, body included; at least the sum of the others). A reused
/// connection spends about nothing on the first three. requestBytes is the
/// request line, headers and body as sent; responseBytes the status line,
/// headers and body as received (the body before decoding, without chunk
/// framing or TLS overhead).
class WEBSTEP_API CCurlTransport : public CTransport {
public:
    explicit CCurlTransport(CurlTransportOptions options = {});
    ~CCurlTransport() override;
    CCurlTransport(const CCurlTransport&) = delete;
    CCurlTransport& operator=(const CCurlTransport&) = delete;

    /// Sends the request as given: its method, URL, headers in order and
    /// body. Redirects are handed back, not followed. A failure gives status
    /// 0 and an error in plain words; the transport stays usable.
    HttpResponse Send(const HttpRequest& request) override;
    /// Both the connect and the receive timeout of later requests; a value
    /// that is not a positive number is ignored.
    void SetTimeout(double seconds) override;
    /// web_set_proxy and web_set_secure_proxy: the proxy of later requests
    /// (of https:// ones when secure); an empty host: none. False, and no
    /// change, for a proxy the options would refuse (no port...).
    bool SetProxy(const std::string& host, unsigned port, bool secure) override;
    /// web_set_proxy_bypass: hosts that go around the proxy, written as the
    /// settings' bypass list ("*.local;10.0.0.1;<local>").
    bool SetProxyBypass(const std::string& hosts) override;
    /// web_set_sockets_option: "SSL_VERSION" with "TLS1", "TLS1.1",
    /// "TLS1.2" or "TLS1.3" (the lowest TLS version accepted) or "TLS"
    /// (libcurl's default); other options are not honoured (false).
    bool SetSocketOption(const std::string& name, const std::string& value) override;

    const CurlTransportOptions& Options() const { return m_options; }
    /// Why the options cannot be used (a malformed connect-to or resolve
    /// entry, a proxy without a port...), or empty. Every Send fails with
    /// this text while it is set.
    const std::string& SetupError() const { return m_setupError; }

    /// Options from a folder's web run-time settings: keep-alive, HTTP
    /// version 1.0 or 1.1, the proxy (HTTP host and port, the HTTPS one
    /// unless "use the same for all", user and password, the bypass list).
    /// Everything else keeps its default.
    static CurlTransportOptions OptionsFromSettings(const CRunTimeSettings& web);
    /// OptionsFromSettings of the settings file's "[WEB]" section, plus its
    /// "ConnectTimeout" and "ReceiveTimeout" (seconds) and
    /// "BrowserAcceptEncoding" (empty turns compression off). A missing or
    /// unreadable file gives the defaults.
    static CurlTransportOptions OptionsFromSettingsFile(const std::string& path);

private:
    struct State;

    CurlTransportOptions m_options;
    std::string m_setupError;
    std::unique_ptr<State> m_state;
};
