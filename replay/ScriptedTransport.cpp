#include "webstep/replay/ScriptedTransport.h"

#include <strings.h>

namespace {

std::string WithoutFragment(const std::string& url) {
    const std::size_t hash = url.find('#');
    return hash == std::string::npos ? url : url.substr(0, hash);
}

}  // namespace

HttpResponse CScriptedTransport::Response(int status, std::string body,
                                          std::vector<HttpHeader> headers) {
    HttpResponse response;
    response.status = status;
    response.body = std::move(body);
    response.headers = std::move(headers);
    return response;
}

HttpResponse CScriptedTransport::Redirect(int status, const std::string& location) {
    return Response(status, std::string(), {{"Location", location}});
}

HttpResponse CScriptedTransport::Failure(const std::string& error) {
    HttpResponse response;
    response.status = 0;
    response.error = error;
    return response;
}

std::size_t CScriptedTransport::Add(Rule rule) {
    m_rules.push_back(std::move(rule));
    return m_rules.size() - 1;
}

std::size_t CScriptedTransport::Answer(const std::string& url, HttpResponse response,
                                       const std::string& method) {
    Rule rule;
    rule.url = WithoutFragment(url);
    rule.method = method;
    rule.response = std::move(response);
    return Add(std::move(rule));
}

std::size_t CScriptedTransport::Answer(const std::string& url, int status, std::string body,
                                       std::vector<HttpHeader> headers) {
    return Answer(url, Response(status, std::move(body), std::move(headers)));
}

std::size_t CScriptedTransport::AnswerOnce(const std::string& url, HttpResponse response,
                                           const std::string& method) {
    const std::size_t index = Answer(url, std::move(response), method);
    Times(index, 1);
    return index;
}

std::size_t CScriptedTransport::AnswerPrefix(const std::string& prefix, HttpResponse response,
                                             const std::string& method) {
    Rule rule;
    rule.kind = Rule::Kind::Prefix;
    rule.url = prefix;
    rule.method = method;
    rule.response = std::move(response);
    return Add(std::move(rule));
}

std::size_t CScriptedTransport::AnswerIf(Predicate predicate, HttpResponse response) {
    Rule rule;
    rule.kind = Rule::Kind::Predicate;
    rule.predicate = std::move(predicate);
    rule.response = std::move(response);
    return Add(std::move(rule));
}

void CScriptedTransport::Times(std::size_t rule, std::size_t count) {
    if (rule >= m_rules.size())
        return;
    m_rules[rule].limited = true;
    m_rules[rule].left = count;
}

bool CScriptedTransport::Matches(const Rule& rule, const HttpRequest& request) const {
    if (rule.limited && rule.left == 0)
        return false;
    if (!rule.method.empty() && strcasecmp(rule.method.c_str(), request.method.c_str()) != 0)
        return false;
    const std::string url = WithoutFragment(request.url);
    switch (rule.kind) {
        case Rule::Kind::Exact:
            return url == rule.url;
        case Rule::Kind::Prefix:
            return url.compare(0, rule.url.size(), rule.url) == 0;
        case Rule::Kind::Predicate:
            return rule.predicate && rule.predicate(request);
    }
    return false;
}

void CScriptedTransport::BeginStep(const TransportStep& step) {
    m_steps.push_back(step);
    m_inStep = true;
}

HttpResponse CScriptedTransport::Send(const HttpRequest& request) {
    SentRequest sent;
    sent.request = request;
    if (!m_steps.empty()) {
        sent.step = m_steps.back().number;
        sent.snapshot = m_steps.back().snapshot;
    }
    HttpResponse response = m_default;
    for (std::size_t i = 0; i < m_rules.size(); ++i) {
        Rule& rule = m_rules[i];
        if (!Matches(rule, request))
            continue;
        if (rule.limited)
            --rule.left;
        sent.rule = static_cast<int>(i);
        response = rule.response;
        break;
    }
    if (sent.rule < 0)
        ++m_unanswered;
    m_sent.push_back(std::move(sent));
    if (m_clock != nullptr)
        m_clock->Advance(m_secondsPerAnswer);
    if (response.responseBytes == 0)
        response.responseBytes = response.body.size();
    return response;
}

std::vector<std::string> CScriptedTransport::SentUrls() const {
    std::vector<std::string> urls;
    urls.reserve(m_sent.size());
    for (const SentRequest& sent : m_sent)
        urls.push_back(sent.request.url);
    return urls;
}

std::vector<std::string> CScriptedTransport::SentLines() const {
    std::vector<std::string> lines;
    lines.reserve(m_sent.size());
    for (const SentRequest& sent : m_sent)
        lines.push_back(sent.request.method + " " + sent.request.url);
    return lines;
}

std::vector<HttpRequest> CScriptedTransport::SentInStep(unsigned number) const {
    std::vector<HttpRequest> requests;
    for (const SentRequest& sent : m_sent)
        if (sent.step == number)
            requests.push_back(sent.request);
    return requests;
}

void CScriptedTransport::ClearSent() {
    m_sent.clear();
    m_steps.clear();
    m_unanswered = 0;
}
