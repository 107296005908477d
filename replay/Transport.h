#pragma once
// The only way out of a virtual user: the transport that sends its requests
// and hands back the responses. A live transport talks HTTP; the recorded
// one answers from a folder's recording; tests script their answers.
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/replay/HttpMessage.h"

/// The step whose requests follow, as the user tells its transport.
struct WEBSTEP_API TransportStep {
    std::string function;
    std::string name;
    /// The snapshot of the step ("t7", from "Snapshot=t7.inf"); may be empty.
    std::string snapshot;
    /// Counts the navigation steps of the user from 1.
    unsigned number = 0;
};

/// Sends one request and returns its response. Called by one user's thread
/// only; a transport shared by users must make Send thread-safe itself.
class WEBSTEP_API CTransport {
public:
    virtual ~CTransport() = default;
    /// The user starts a navigation step; its requests follow.
    virtual void BeginStep(const TransportStep& step) {}
    /// Sends request. A failure to get any answer is a response with status 0
    /// and an error text, never an exception.
    virtual HttpResponse Send(const HttpRequest& request) = 0;
    /// The step's requests are done.
    virtual void EndStep() {}
    /// A timeout in seconds for the following requests (web_set_timeout);
    /// transports that cannot honour it ignore it.
    virtual void SetTimeout(double seconds) {}
    /// The proxy of later requests (web_set_proxy; secure: the proxy of
    /// https:// requests, web_set_secure_proxy); an empty host: none. False
    /// when the transport cannot honour it or the proxy is not usable (the
    /// user then warns and goes on).
    virtual bool SetProxy(const std::string& host, unsigned port, bool secure) { return false; }
    /// Hosts that go around the proxy (web_set_proxy_bypass), as the script
    /// writes them ("*.local;10.*"); false when not honoured.
    virtual bool SetProxyBypass(const std::string& hosts) { return false; }
    /// A socket option of web_set_sockets_option by its name and value as
    /// written; false when the transport does not know or honour it.
    virtual bool SetSocketOption(const std::string& name, const std::string& value) {
        return false;
    }
};
