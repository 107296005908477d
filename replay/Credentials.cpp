#include "webstep/replay/Credentials.h"

#include <algorithm>

#include "webstep/url/URLParser.h"

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::string Trim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::string CCredentials::Base64(const std::string& bytes) {
    static const char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        const unsigned n = static_cast<unsigned char>(bytes[i]) << 16 |
                           static_cast<unsigned char>(bytes[i + 1]) << 8 |
                           static_cast<unsigned char>(bytes[i + 2]);
        out += kAlphabet[n >> 18 & 63];
        out += kAlphabet[n >> 12 & 63];
        out += kAlphabet[n >> 6 & 63];
        out += kAlphabet[n & 63];
    }
    if (i + 1 == bytes.size()) {
        const unsigned n = static_cast<unsigned char>(bytes[i]) << 16;
        out += kAlphabet[n >> 18 & 63];
        out += kAlphabet[n >> 12 & 63];
        out += "==";
    } else if (i + 2 == bytes.size()) {
        const unsigned n = static_cast<unsigned char>(bytes[i]) << 16 |
                           static_cast<unsigned char>(bytes[i + 1]) << 8;
        out += kAlphabet[n >> 18 & 63];
        out += kAlphabet[n >> 12 & 63];
        out += kAlphabet[n >> 6 & 63];
        out += '=';
    }
    return out;
}

bool CCredentials::Set(const std::string& user, const std::string& password,
                       const std::string& hostPort) {
    const std::string text = Trim(hostPort);
    std::string host;
    std::string portText;
    if (text.find("://") != std::string::npos) {
        const CURLParser url(text.c_str());
        if (!url.IsValid() || url.GetHost().empty()) {
            m_message = "web_set_user: no host in \"" + hostPort + "\"";
            return false;
        }
        return Set(user, password, url.GetHost(), url.GetPortInt());
    }
    if (!text.empty() && text.front() == '[') {
        // An IPv6 address keeps its brackets, as URLs write the host.
        const std::size_t close = text.find(']');
        if (close == std::string::npos) {
            m_message = "web_set_user: no ']' after the address in \"" + hostPort + "\"";
            return false;
        }
        host = text.substr(0, close + 1);
        const std::string rest = text.substr(close + 1);
        if (!rest.empty() && rest.front() != ':') {
            m_message =
                "web_set_user: expected ':' and a port after the address in \"" + hostPort + "\"";
            return false;
        }
        portText = rest.empty() ? std::string() : rest.substr(1);
    } else {
        const std::size_t colon = text.find(':');
        host = text.substr(0, colon);
        portText = colon == std::string::npos ? std::string() : text.substr(colon + 1);
    }
    host = Trim(host);
    portText = Trim(portText);
    unsigned port = kAnyPort;
    if (!portText.empty()) {
        const bool digits =
            portText.size() <= 5 && std::all_of(portText.begin(), portText.end(),
                                                [](char c) { return c >= '0' && c <= '9'; });
        const unsigned long value = digits ? std::stoul(portText) : 0;
        if (!digits || value < 1 || value > 65535) {
            m_message = "web_set_user: expected a port from 1 to 65535 in \"" + hostPort +
                        "\", got \"" + portText + "\"";
            return false;
        }
        port = static_cast<unsigned>(value);
    }
    return Set(user, password, host, port);
}

bool CCredentials::Set(const std::string& user, const std::string& password,
                       const std::string& host, unsigned port) {
    const std::string key = Lower(Trim(host));
    if (key.empty()) {
        m_message = "web_set_user: expected a host, got an empty text";
        return false;
    }
    if (port > 65535) {
        m_message = "web_set_user: expected a port up to 65535, got " + std::to_string(port);
        return false;
    }
    for (Entry& entry : m_entries)
        if (entry.host == key && entry.port == port) {
            entry.user = user;
            entry.password = password;
            return true;
        }
    m_entries.push_back(Entry{key, port, user, password});
    return true;
}

std::string CCredentials::AuthorizationFor(const std::string& url) const {
    if (m_entries.empty())
        return {};
    const CURLParser parsed(url.c_str());
    if (!parsed.IsValid())
        return {};
    const std::string host = Lower(parsed.GetHost());
    const unsigned port = parsed.GetPortInt();
    const Entry* chosen = nullptr;
    for (const Entry& entry : m_entries) {
        if (entry.host != host)
            continue;
        if (entry.port == port) {
            chosen = &entry;
            break;
        }
        if (entry.port == kAnyPort && chosen == nullptr)
            chosen = &entry;
    }
    if (chosen == nullptr)
        return {};
    return "Basic " + Base64(chosen->user + ":" + chosen->password);
}
