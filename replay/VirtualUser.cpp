#include "webstep/replay/VirtualUser.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "webstep/context/ContextPage.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/forms/Resource.h"
#include "webstep/forms/StepResolver.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLObject.h"
#include "webstep/replay/CookieJar.h"
#include "webstep/replay/Credentials.h"
#include "webstep/replay/Registration.h"
#include "webstep/replay/RequestPlanner.h"
#include "webstep/replay/SaveParamRule.h"
#include "webstep/forms/EscArgs.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebSteps.h"
#include "webstep/url/URLParser.h"

namespace {

// Frames of frames are followed this deep.
constexpr unsigned kFrameDepth = 8;

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool EqualNoCase(const std::string& a, const char* b) {
    return strcasecmp(a.c_str(), b) == 0;
}

bool IsHtml(const HttpResponse& response) {
    const std::string* type = response.Header("Content-Type");
    if (type == nullptr) {
        // Without a content type, a body that starts like markup is a page.
        std::size_t first = response.body.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
        return first != std::string::npos && response.body[first] == '<';
    }
    const std::string lower = Lower(*type);
    return lower.find("html") != std::string::npos;
}

std::string ContentTypeOf(const HttpResponse& response) {
    const std::string* type = response.Header("Content-Type");
    return type != nullptr ? *type : std::string("(none)");
}

std::string StripFragment(const std::string& url) {
    std::size_t hash = url.find('#');
    return hash == std::string::npos ? url : url.substr(0, hash);
}

// "t5.inf" gives "t5".
std::string SnapshotBase(const std::string& snapshot) {
    std::string base = snapshot;
    const std::size_t slash = base.find_last_of("/\\");
    if (slash != std::string::npos)
        base.erase(0, slash + 1);
    const std::size_t dot = base.rfind('.');
    if (dot != std::string::npos && dot != 0)
        base.erase(dot);
    return base;
}

bool IsWindowTarget(const std::string& target) {
    static const char* const windows[] = {"_top", "_self", "_parent", "_blank"};
    if (target.empty())
        return true;
    for (const char* window : windows)
        if (EqualNoCase(target, window))
            return true;
    return false;
}

// The transaction status a script writes (QZ_AUTO, QZ_PASS, ...; the numbers
// of the runtime header too).
TransactionRecord::Status StatusOf(const std::string& text, bool& automatic) {
    std::string upper = text;
    for (char& c : upper)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    automatic = false;
    if (upper.find("PASS") != std::string::npos || upper == "0")
        return TransactionRecord::Status::Pass;
    if (upper.find("FAIL") != std::string::npos || upper == "1")
        return TransactionRecord::Status::Fail;
    if (upper.find("STOP") != std::string::npos || upper == "3")
        return TransactionRecord::Status::Stop;
    automatic = true;
    return TransactionRecord::Status::Pass;
}

// The href values of the style sheets a page links (<link rel="stylesheet">):
// the page model keeps a link element's URL but not its rel attribute.
std::set<std::string> StyleSheets(const std::string& body) {
    std::set<std::string> hrefs;
    const std::string lower = Lower(body);
    for (std::size_t at = lower.find("<link"); at != std::string::npos;
         at = lower.find("<link", at + 5)) {
        const std::size_t end = lower.find('>', at);
        if (end == std::string::npos)
            break;
        const std::string tag = lower.substr(at, end - at);
        if (tag.find("stylesheet") == std::string::npos)
            continue;
        std::size_t href = tag.find("href");
        while (href != std::string::npos) {
            std::size_t i = href + 4;
            while (i < tag.size() && (tag[i] == ' ' || tag[i] == '\t' || tag[i] == '\n'))
                ++i;
            if (i < tag.size() && tag[i] == '=') {
                ++i;
                while (i < tag.size() && (tag[i] == ' ' || tag[i] == '\t' || tag[i] == '\n'))
                    ++i;
                const char quote = i < tag.size() && (tag[i] == '"' || tag[i] == '\'') ? tag[i] : 0;
                if (quote != 0)
                    ++i;
                std::size_t stop = quote != 0 ? tag.find(quote, i) : tag.find_first_of(" \t\n", i);
                if (stop == std::string::npos)
                    stop = tag.size();
                // The original bytes (the lower-case copy has the same offsets).
                hrefs.insert(body.substr(at + i, stop - i));
                break;
            }
            href = tag.find("href", href + 4);
        }
    }
    return hrefs;
}

// A resource a browser fetches to show a page: images, scripts, style
// sheets, input images, backgrounds, embedded objects. (The page model's tag
// table has no object element, so "object data" is not among them.)
bool IsPageResource(const CHTMLLink& link, const std::set<std::string>& styleSheets) {
    const char* attr = link.urlAttrName() != nullptr ? link.urlAttrName() : "";
    switch (link.tag()) {
        case HTML_IMG:
        case HTML_SCRIPT:
        case HTML_EMBED:
            return strcasecmp(attr, "src") == 0;
        case HTML_BODY:
        case HTML_TABLE:
        case HTML_TD:
            return strcasecmp(attr, "background") == 0;
        case HTML_INPUT:
            // Only an image input has a source.
            return strcasecmp(attr, "src") == 0;
        case HTML_LINK:
            return strcasecmp(attr, "href") == 0 && link.url() != nullptr &&
                   styleSheets.count(link.url()) != 0;
        default:
            return false;
    }
}

}  // namespace

struct CVirtualUser::OpenTransaction {
    std::string name;
    double start = 0;
    double thinkTime = 0;
    bool failed = false;
};

// What one navigation step has sent and received; the requests and
// responses keep their addresses for the registrations.
struct CVirtualUser::StepState {
    std::vector<std::unique_ptr<HttpRequest>> requests;
    std::vector<std::unique_ptr<HttpResponse>> responses;
    std::vector<StepResponse> seen;
    std::set<std::string> fetched;
    std::string snapshot;
    // The bytes of each document loaded, for what the page model leaves out.
    std::map<const CContextTree*, std::string> bodies;

    void Keep(const HttpRequest& request, const HttpResponse& response, bool resource,
              bool redirect, const std::string& frame) {
        requests.push_back(std::make_unique<HttpRequest>(request));
        responses.push_back(std::make_unique<HttpResponse>(response));
        StepResponse step;
        step.request = requests.back().get();
        step.response = responses.back().get();
        step.resource = resource;
        step.redirect = redirect;
        step.frame = frame;
        seen.push_back(step);
    }
};

CVirtualUser::CVirtualUser(const CScriptFolder& folder, const CParameterSet& parameters,
                           CTransport& transport, CUserClock& clock,
                           const VirtualUserOptions& options)
    : m_folder(folder),
      m_parameterSet(parameters),
      m_transport(transport),
      m_clock(clock),
      m_options(options),
      m_parser(options.extended),
      m_parameters(std::make_unique<CParameterContext>(parameters, options.user, options.seed,
                                                       folder.Description().LeftBrace(),
                                                       folder.Description().RightBrace())),
      m_cookies(std::make_unique<CCookieJar>()),
      m_credentials(std::make_unique<CCredentials>()),
      m_registrations(std::make_unique<CRegistrations>()),
      m_random(options.seed * 0x9E3779B97F4A7C15ULL + options.user) {
    m_continueOnError = folder.Settings().ContinueOnError();
    m_automaticTransactions = folder.Settings().AutomaticTransactions();
    m_failOnResourceErrors = options.failOnResourceErrors;
}

CVirtualUser::~CVirtualUser() = default;

void CVirtualUser::Message(const std::string& level, const std::string& text) {
    if (m_observer != nullptr)
        m_observer->OnMessage(level, text);
}

void CVirtualUser::Fail(StepRecord& record, const std::string& message) {
    if (!record.failed) {
        record.failed = true;
        record.message = message;
    } else {
        record.warnings.push_back(message);
    }
}

void CVirtualUser::Finish(StepRecord& record) {
    ++m_stepCount;
    if (record.failed) {
        ++m_failedSteps;
        m_iterationFailed = true;
        for (auto& transaction : m_transactions)
            transaction->failed = true;
        if (!m_continueOnError)
            m_next = UserNext::EndIteration;
    }
    if (m_parameters->Aborted())
        m_next = UserNext::EndUser;
    if (m_observer != nullptr)
        m_observer->OnStep(record);
}

StepRecord CVirtualUser::Call(const std::string& function,
                              const std::vector<std::string>& arguments, const std::string& file,
                              unsigned line) {
    StepRecord record = CallOnce(function, arguments, file, line);
    // A stop request ends the user once the call is done (its end action
    // runs whole).
    if (m_next == UserNext::Continue && !m_inEndAction && StopRequested())
        m_next = UserNext::EndUser;
    return record;
}

StepRecord CVirtualUser::CallOnce(const std::string& function,
                                  const std::vector<std::string>& arguments,
                                  const std::string& file, unsigned line) {
    StepRecord record;
    record.function = function;
    record.file = file;
    record.line = line;
    m_next = UserNext::Continue;
    auto argument = [&arguments](std::size_t i) {
        return i < arguments.size() ? arguments[i] : std::string();
    };

    // Calls of the run time between steps.
    if (function == "qz_start_transaction" || function == "qz_start_sub_transaction") {
        record.name = m_parameters->Substitute(argument(0));
        StartTransaction(record.name);
        return record;
    }
    if (function == "qz_end_transaction" || function == "qz_end_sub_transaction") {
        record.name = m_parameters->Substitute(argument(0));
        bool automatic = true;
        const TransactionRecord::Status status = StatusOf(argument(1), automatic);
        EndTransaction(record.name, status, automatic);
        return record;
    }
    if (function == "qz_think_time") {
        ThinkTime(std::atof(argument(0).c_str()));
        return record;
    }

    // Parameter references are substituted in every text argument before the
    // step is parsed; the step name stays as written.
    std::vector<std::string> texts;
    texts.reserve(arguments.size());
    CParameterContext::UsedValues used;
    for (std::size_t i = 0; i < arguments.size(); ++i)
        texts.push_back(i == 0 ? arguments[i] : m_parameters->Substitute(arguments[i], &used));
    for (auto& [name, value] : used)
        record.parameters.emplace_back(std::move(name), std::move(value));
    record.name = argument(0);
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts)
        pointers.push_back(text.c_str());

    ParsedStep parsed = m_parser.Parse(function, pointers);
    if (!parsed.known) {
        record.notes.push_back("\"" + function +
                               "\" is not a step function this user knows; skipped");
        Message("warning", file + ":" + std::to_string(line) + ": " + record.notes.back());
        return record;
    }
    if (!parsed.ok) {
        const char* english = CWebStepErrMsg::GetEnglishMessage(parsed.errorCode);
        std::string message = "the step does not parse: error " + std::to_string(parsed.errorCode) +
                              ": " + (english ? english : "unknown error");
        for (const auto& [label, value] : parsed.errorAttributes)
            message += " " + label + "=" + value;
        record.parseFailed = true;
        record.errorCode = static_cast<int>(parsed.errorCode);
        record.errorAttributes.assign(parsed.errorAttributes.begin(), parsed.errorAttributes.end());
        Fail(record, message);
        Finish(record);
        return record;
    }
    CWebStepData* step = parsed.step.get();
    // The call as written is kept when substitution changed it, and for
    // listings also when a reference stayed as written (an unknown name), so
    // that the request shows it unencoded.
    const std::string& left = m_folder.Description().LeftBrace();
    bool references = texts != arguments;
    if (!references && m_options.keepWrittenForm && !left.empty())
        for (std::size_t i = 1; i < arguments.size() && !references; ++i)
            references = arguments[i].find(left) != std::string::npos;
    m_writtenArguments = references ? &arguments : nullptr;
    if (auto* action = dynamic_cast<CWebActionStep*>(step)) {
        record.navigation = true;
        record.snapshot = SnapshotBase(action->GetSnapshot());
        const bool automatic = m_automaticTransactions;
        if (automatic)
            StartTransaction(record.name);
        Navigate(*action, record);
        Finish(record);
        if (automatic)
            EndTransaction(record.name, TransactionRecord::Status::Pass, true);
        return record;
    }
    if (auto* rest = dynamic_cast<CWebStepRest*>(step)) {
        record.navigation = true;
        record.snapshot = SnapshotBase(rest->GetSnapshot());
        Rest(*rest, record);
        Finish(record);
        return record;
    }
    if (m_registrations->AddStep(*step, texts)) {
        Finish(record);
        return record;
    }
    Service(*step, record);
    Finish(record);
    return record;
}

// Steps that change the user's state without a request.
void CVirtualUser::Service(CWebStepData& step, StepRecord& record) {
    if (auto* autoHeader = dynamic_cast<CWebStepAddAutoHeader*>(&step)) {
        // A later automatic header of the same name replaces the earlier.
        auto same = [&](const HttpHeader& h) {
            return strcasecmp(h.name.c_str(), autoHeader->GetHeader().c_str()) == 0;
        };
        m_autoHeaders.erase(std::remove_if(m_autoHeaders.begin(), m_autoHeaders.end(), same),
                            m_autoHeaders.end());
        m_autoHeaders.push_back({autoHeader->GetHeader(), autoHeader->GetValue()});
    } else if (auto* header = dynamic_cast<CWebStepAddHeader*>(&step)) {
        m_nextHeaders.push_back({header->GetHeader(), header->GetValue()});
    } else if (auto* revert = dynamic_cast<CWebStepRevertAutoHeader*>(&step)) {
        // Removing and reverting an automatic header both stop sending it.
        auto same = [&](const HttpHeader& h) {
            return strcasecmp(h.name.c_str(), revert->GetHeader().c_str()) == 0;
        };
        m_autoHeaders.erase(std::remove_if(m_autoHeaders.begin(), m_autoHeaders.end(), same),
                            m_autoHeaders.end());
    } else if (dynamic_cast<CWebStepCleanupAutoHeaders*>(&step) != nullptr) {
        m_autoHeaders.clear();
    } else if (auto* remove = dynamic_cast<CWebStepRemoveCookie*>(&step)) {
        m_cookies->RemoveCookie(remove->GetCookie());
    } else if (dynamic_cast<CWebStepCleanupCookies*>(&step) != nullptr) {
        m_cookies->Clear();
    } else if (auto* cookie = dynamic_cast<CWebStepAddCookie*>(&step)) {
        if (!m_cookies->AddCookie(cookie->GetCookie()))
            record.warnings.push_back("the cookie \"" + cookie->GetCookie() +
                                      "\" was not added (it names no domain, or is malformed)");
    } else if (auto* timeout = dynamic_cast<CWebStepSetTimeout*>(&step)) {
        m_transport.SetTimeout(timeout->GetTimeout());
    } else if (auto* proxy = dynamic_cast<CWebStepSetProxy*>(&step)) {
        // Proxies, bypass lists and socket options are the transport's to
        // honour; one that cannot is told so and the user goes on.
        const bool secure = dynamic_cast<CWebStepSetSecureProxy*>(&step) != nullptr;
        std::string host = proxy->GetHost();
        unsigned port = proxy->GetPort();
        if (host.empty() && !proxy->GetParameterUrl().empty()) {
            // A parameter that held the proxy: substituted by now, "host:port".
            host = proxy->GetParameterUrl();
            const std::size_t colon = host.rfind(':');
            if (colon != std::string::npos) {
                port = static_cast<unsigned>(std::atoi(host.c_str() + colon + 1));
                host.erase(colon);
            }
        }
        if (!m_transport.SetProxy(host, port, secure))
            record.warnings.push_back(
                "the proxy " +
                (host.empty() ? std::string("setting") : host + ":" + std::to_string(port)) +
                " is not used: this transport cannot honour it");
    } else if (auto* bypass = dynamic_cast<CWebStepSetProxyBypass*>(&step)) {
        if (!m_transport.SetProxyBypass(bypass->GetBypass()))
            record.warnings.push_back(
                "the proxy bypass list is not used: this transport cannot honour it");
    } else if (auto* option = dynamic_cast<CWebStepSetSocketsOption*>(&step)) {
        if (!m_transport.SetSocketOption(option->GetOptionID(), option->GetOptionValue()))
            record.warnings.push_back("the socket option " + option->GetOptionID() + "=" +
                                      option->GetOptionValue() +
                                      " is not honoured by this transport; ignored");
    } else if (dynamic_cast<CWebStepCacheCleanup*>(&step) != nullptr) {
        m_cache.clear();
    } else if (auto* convert = dynamic_cast<CWebStepConvertParam*>(&step)) {
        ConvertParameter(*convert, record);
    } else if (auto* user = dynamic_cast<CWebStepSetUser*>(&step)) {
        if (!m_credentials->Set(user->GetUsername(), user->GetPassword(), user->GetHost(),
                                user->GetPort()))
            record.warnings.push_back(m_credentials->Message());
    } else if (record.function == "web_set_max_html_param_len") {
        // The limit is the call's only argument, where a step name stands.
        const long long length = std::atoll(record.name.c_str());
        if (length > 0)
            m_maxParamLength = static_cast<std::size_t>(length);
        else
            record.warnings.push_back("\"" + record.name + "\" is not a length; the limit stays " +
                                      std::to_string(m_maxParamLength));
    }
}

// web_convert_param: a saved value (or the step's SourceString) from one
// encoding to another, saved under the parameter's name. HTML is text with
// character references, URL is URL-encoded text, PLAIN and TEXT are the text
// itself; other encodings (code pages) are left alone with a warning.
void CVirtualUser::ConvertParameter(const CWebStepConvertParam& step, StepRecord& record) {
    const std::string name = step.GetParamName();
    std::string value = step.GetSourceString();
    if (value.empty() && !m_parameters->GetSavedParameter(name, value) &&
        !m_parameters->Evaluate(name, value)) {
        Fail(record, "web_convert_param: the parameter \"" + name + "\" has no value to convert");
        return;
    }
    auto is = [](const std::string& text, const char* word) {
        return strcasecmp(text.c_str(), word) == 0;
    };
    const std::string from = step.GetSourceEncoding(), to = step.GetTargetEncoding();
    const bool known = [&](const std::string& e) {
        return is(e, "HTML") || is(e, "URL") || is(e, "PLAIN") || is(e, "TEXT");
    }(from) && (is(to, "HTML") || is(to, "URL") || is(to, "PLAIN") || is(to, "TEXT"));
    if (!known) {
        record.warnings.push_back("web_convert_param: " + from + " to " + to +
                                  " is not a conversion this user makes; the value is unchanged");
        return;
    }
    if (is(from, "HTML"))
        value = CSaveRule::DecodeHtml(value);
    else if (is(from, "URL"))
        UnEscArgs(value, nullptr);
    if (is(to, "URL")) {
        EscArgs(value, true);
    } else if (is(to, "HTML")) {
        std::string html;
        for (char c : value) {
            switch (c) {
                case '&':
                    html += "&amp;";
                    break;
                case '<':
                    html += "&lt;";
                    break;
                case '>':
                    html += "&gt;";
                    break;
                case '"':
                    html += "&quot;";
                    break;
                default:
                    html += c;
            }
        }
        value = html;
    }
    m_parameters->SaveParameter(name, value);
    record.saved.emplace_back(name, value);
}

std::string CVirtualUser::Absolute(const std::string& text) const {
    CURLParser url(text.c_str());
    if (url.IsValid() && url.IsWellKnownScheme())
        return StripFragment(url.GetFullURLWithSearch());
    if (m_page && m_page->GetUrl().IsValid()) {
        CURLParser combined(m_page->GetUrl(), text.c_str());
        if (combined.IsValid())
            return StripFragment(combined.GetFullURLWithSearch());
    }
    return std::string();
}

void CVirtualUser::AddHeaders(HttpRequest& request, const std::string& referer) {
    const CRunTimeSettings& web = m_folder.Settings().Web();
    const MString agent = web.GetActualBrowserIdString();
    if (!agent.empty())
        request.headers.push_back({"User-Agent", agent});
    for (const HttpHeader& header : m_autoHeaders)
        request.headers.push_back(header);
    for (const HttpHeader& header : m_nextHeaders)
        request.headers.push_back(header);
    m_nextHeaders.clear();
    if (!referer.empty())
        request.headers.push_back({"Referer", referer});
    const std::string cookies = m_cookies->CookieHeader(request.url);
    if (!cookies.empty())
        request.headers.push_back({"Cookie", cookies});
    const std::string authorization = m_credentials->AuthorizationFor(request.url);
    if (!authorization.empty())
        request.headers.push_back({"Authorization", authorization});
}

bool CVirtualUser::PrimaryRequest(CWebActionStep& step, StepState& state, StepRecord& record) {
    HttpRequest request;
    request.role = RequestRole::Primary;
    request.frame = "1";
    std::string referer = m_page && m_page->GetUrl().IsValid()
                              ? StripFragment(m_page->GetUrl().GetFullURLWithSearch())
                              : std::string();
    std::string contentType;
    if (auto* contextless = dynamic_cast<CWebContextlessStep*>(&step)) {
        // The step's Referer wins; an empty one sends none.
        referer = contextless->GetReferer();
    }
    PlanOptions options;
    options.leftBrace = m_folder.Description().LeftBrace();
    options.rightBrace = m_folder.Description().RightBrace();
    options.folder = m_folder.Dir();
    PlannedRequest planned;
    if (auto* data = dynamic_cast<CWebStepSubmitData*>(&step)) {
        const std::string action = Absolute(data->GetAction());
        if (action.empty()) {
            Fail(record, "the Action \"" + data->GetAction() + "\" is not a valid address");
            return false;
        }
        planned = CRequestPlanner::SubmitData(*data, action, options, m_random);
    } else if (auto* custom = dynamic_cast<CWebStepCustomRequest*>(&step)) {
        const std::string url = Absolute(custom->GetUrl());
        if (url.empty()) {
            Fail(record, "the URL \"" + custom->GetUrl() + "\" is not a valid address");
            return false;
        }
        bool exact = true;
        planned = CRequestPlanner::CustomRequest(*custom, url, m_folder.Dir(), exact);
        // Listings show binary parts in their escaped form.
        std::string shown = CRequestPlanner::CustomRequestShownBody(*custom);
        if (shown != planned.body) {
            record.hasShownBody = true;
            record.shownBody = std::move(shown);
        }
        if (!exact)
            record.warnings.push_back(
                "a body variable of the step cannot be known here; it is sent empty");
    } else if (auto* form = dynamic_cast<CWebStepSubmitForm*>(&step)) {
        if (!PageReady(record))
            return false;
        FormPlan plan = CRequestPlanner::SubmitForm(*form, *m_page, options);
        const std::string where = " on the page " + m_page->GetUrl().GetFullURLWithSearch();
        if (!plan.found) {
            Fail(record, plan.why + where);
            return false;
        }
        DescribeTarget(plan.target, "form", record.target);
        record.target.formIndex = plan.target.formIndex + 1;
        record.target.action = plan.action;
        record.target.items = static_cast<unsigned>(plan.items);
        record.target.fits = plan.fits;
        record.target.misfitItem = static_cast<unsigned>(plan.misfitItem);
        record.target.misfitName = plan.misfitName;
        record.target.misfitValue = plan.misfitValue;
        record.target.misfitReason = plan.reason;
        if (!plan.fits) {
            Fail(record, "the step's items do not fit the form" + where +
                             (plan.misfitItem != 0
                                  ? ": item " + std::to_string(plan.misfitItem) + ", " + plan.reason
                                  : std::string()));
            return false;
        }
        if (plan.request.url.empty()) {
            Fail(record, "the form's action \"" + plan.action + "\" gives no address");
            return false;
        }
        planned = plan.request;
        request.frame = plan.target.node->GetRelFrameId();
        referer = StripFragment(plan.target.node->GetUrl().GetFullURLWithSearch());
    } else if (auto* context = dynamic_cast<CWebContextStep*>(&step)) {
        if (!PageReady(record))
            return false;
        StepTarget target;
        MString why;
        bool found = false;
        auto* image = dynamic_cast<CWebStepImage*>(&step);
        if (image != nullptr)
            found = CStepResolver::FindImage(*m_page, context->GetAttributes(), image->GetX(),
                                             image->GetY(), target, why);
        else
            found = CStepResolver::FindLink(*m_page, context->GetAttributes(), target, why);
        if (!found) {
            Fail(record, why + " on the page " + m_page->GetUrl().GetFullURLWithSearch());
            return false;
        }
        DescribeTarget(target, image != nullptr ? "image" : "link", record.target);
        if (!target.url.IsValid()) {
            Fail(record, "the link's address gives no absolute URL");
            return false;
        }
        request.url = StripFragment(target.url.GetFullURLWithSearch());
        if (target.node != nullptr) {
            request.frame = target.node->GetRelFrameId();
            referer = StripFragment(target.node->GetUrl().GetFullURLWithSearch());
        }
    } else {
        Fail(record, "this kind of step is not replayed");
        return false;
    }
    if (!planned.url.empty()) {
        request.method = planned.method;
        request.url = StripFragment(planned.url);
        request.body = planned.body;
        contentType = planned.contentType;
    }
    AddHeaders(request, referer);
    if (!contentType.empty())
        request.headers.push_back({"Content-Type", contentType});
    if (m_options.keepWrittenForm && m_writtenArguments != nullptr)
        AddWrittenForm(step, record.function, request);

    // Where the answer goes: a step aimed at a frame of the current frameset
    // loads into that frame, any other into the window.
    auto* contextless = dynamic_cast<CWebContextlessStep*>(&step);
    MString targetFrame;
    if (contextless != nullptr)
        targetFrame = contextless->GetTargetFrame();
    else if (auto* context = dynamic_cast<CWebContextStep*>(&step))
        context->GetAttributes().GetAttribute("TargetFrame", targetFrame);
    CContextTree* frame = nullptr;
    if (m_page && !IsWindowTarget(targetFrame))
        frame = CStepResolver::FindFrame(*m_page, targetFrame);
    {
        CContextTree fresh;
        CContextTree& into = frame != nullptr ? *frame : fresh;
        request.document = into.ComputeSnapshotFileName("", "text/html", state.snapshot, false);
    }
    record.planned = true;

    std::string finalUrl;
    HttpResponse response = Exchange(request, state, record, finalUrl);
    if (response.status == 0) {
        Fail(record,
             "no answer for " + request.url + ": " +
                 (response.error.empty() ? std::string("transport error") : response.error));
        return false;
    }
    if (record.failed)
        return false;
    if (response.status >= 400)
        Fail(record, "HTTP status " + std::to_string(response.status) + " for " + finalUrl);

    // A resource request or a response that is not HTML leaves the page; an
    // error answer that is not HTML leaves none, as a browser shows its own
    // error page instead (the next context step then finds nothing to act
    // on rather than a page that is gone).
    const bool resourceStep = contextless != nullptr && contextless->GetResource();
    if (!resourceStep && response.status >= 400 && !IsHtml(response)) {
        PageRecord& page = record.pageLoaded;
        page.changes = true;
        page.file = request.document;
        page.url = finalUrl;
        if (frame != nullptr) {
            page.intoFrame = true;
            page.frameId = frame->GetRelFrameId();
            page.frameName = frame->GetFrameName();
            frame->RemoveTree();
            frame->PurgeChildren();
        } else {
            m_page = std::make_unique<CContextTree>();
            m_page->SetUrl(CURLParser(finalUrl.c_str()));
            m_page->ComputeSnapshotFileName("", "text/html", state.snapshot, false);
        }
        return true;
    }
    if (resourceStep || !IsHtml(response)) {
        // An error answer has failed the step already; its content type is
        // no news.
        if (!resourceStep && contextless != nullptr && response.status < 400 &&
            Lower(contextless->GetContentType()).find("html") != std::string::npos)
            record.warnings.push_back("an HTML page was recorded, " + ContentTypeOf(response) +
                                      " came; the page stays as it was");
        return true;
    }
    LoadDocument(finalUrl, response, state, record, frame);
    CContextTree* loaded = frame != nullptr ? frame : m_page.get();
    const MString mode = contextless != nullptr ? contextless->GetMode() : MString();
    if (!EqualNoCase(mode, "HTTP") && loaded != nullptr)
        FetchPageParts(*loaded, state, record, 0);
    if (loaded != nullptr)
        DescribePage(*loaded, frame != nullptr, request.document, record.pageLoaded);
    return true;
}

bool CVirtualUser::PageReady(StepRecord& record) {
    if (!m_page) {
        Fail(record, "no navigation step before this one, so there is no page to act on");
        return false;
    }
    if (m_page->GetTree() == nullptr) {
        std::vector<CContextTree*> documents;
        CStepResolver::Documents(*m_page, documents);
        if (documents.empty()) {
            Fail(record, "the previous navigation step loaded no page (" +
                             m_page->GetUrl().GetFullURLWithSearch() + ")");
            return false;
        }
    }
    return true;
}

void CVirtualUser::DescribeTarget(const StepTarget& target, const char* kind,
                                  StepTargetRecord& out) {
    out.kind = kind;
    out.text = target.text;
    if (target.link != nullptr && target.link->url() != nullptr)
        out.href = target.link->url();
    if (target.node != nullptr) {
        out.document = target.node->GetSnapshotFileName();
        if (target.node->GetParent() != nullptr) {
            out.inFrame = true;
            out.frameId = target.node->GetRelFrameId();
            out.frameName = target.node->GetFrameName();
        }
    }
}

void CVirtualUser::DescribePage(CContextTree& node, bool intoFrame, const std::string& file,
                                PageRecord& out) {
    out.changes = true;
    out.intoFrame = intoFrame;
    if (intoFrame) {
        out.frameId = node.GetRelFrameId();
        out.frameName = node.GetFrameName();
    }
    out.file = file;
    out.url = node.GetUrl().IsValid() ? node.GetUrl().GetFullURLWithSearch() : MString();
    CHTMLVParser* html = node.GetTree();
    out.loaded = html != nullptr;
    if (html == nullptr)
        return;
    out.hasTitle = html->title() != nullptr;
    if (out.hasTitle)
        out.title = html->title();
    out.forms = html->nForms();
    out.links = html->nLinks();
    if (intoFrame)
        return;
    CContextTreeIterator it(&node);
    for (CContextTree* child = it.GetNext(); child != nullptr; child = it.GetNext()) {
        if (child == &node)
            continue;
        PageRecord::Frame frame;
        frame.id = child->GetRelFrameId();
        frame.name = child->GetFrameName();
        frame.file = child->GetSnapshotFileName();
        frame.loaded = child->GetTree() != nullptr;
        if (child->GetUrl().IsValid())
            frame.url = child->GetUrl().GetFullURLWithSearch();
        out.frames.push_back(std::move(frame));
    }
}

HttpResponse CVirtualUser::Exchange(HttpRequest request, StepState& state, StepRecord& record,
                                    std::string& finalUrl) {
    const bool resource =
        request.role == RequestRole::Resource || request.role == RequestRole::ExtraRes;
    for (unsigned hop = 0;; ++hop) {
        RequestRecord sent;
        sent.request = request;
        sent.start = m_clock.Now();
        sent.step = record.name;
        sent.function = record.function;
        sent.snapshot = record.snapshot;
        sent.transaction = m_transactions.empty() ? std::string() : m_transactions.back()->name;
        sent.user = m_options.user;
        sent.iteration = m_iteration;
        HttpResponse response = m_transport.Send(request);
        ++m_requestCount;
        sent.status = response.status;
        sent.error = response.error;
        sent.responseBytes =
            response.responseBytes != 0 ? response.responseBytes : response.body.size();
        sent.timings = response.timings;
        m_cookies->StoreFromResponse(request.url, response);
        if (m_observer != nullptr)
            m_observer->OnRequest(sent, response);
        record.requests.push_back(std::move(sent));
        finalUrl = request.url;
        const int status = response.status;
        const std::string* location = response.Header("Location");
        const bool redirect =
            (status == 301 || status == 302 || status == 303 || status == 307 || status == 308) &&
            location != nullptr && !location->empty();
        state.Keep(request, response, resource, redirect, request.frame);
        if (!redirect)
            return response;
        if (hop + 1 > m_options.maxRedirects) {
            Fail(record, "more than " + std::to_string(m_options.maxRedirects) +
                             " redirects from " + record.requests.front().request.url);
            return response;
        }
        CURLParser base(request.url.c_str());
        CURLParser next(base, location->c_str());
        if (!next.IsValid()) {
            Fail(record, "the redirect to \"" + *location + "\" is not a valid address");
            return response;
        }
        HttpRequest follow;
        follow.url = StripFragment(next.GetFullURLWithSearch());
        follow.role = resource ? request.role : RequestRole::Redirection;
        follow.frame = request.frame;
        // 301, 302 and 303 become GET without a body; 307 and 308 keep both.
        if (status == 307 || status == 308) {
            follow.method = request.method;
            follow.body = request.body;
        }
        AddHeaders(follow, std::string());
        if (status == 307 || status == 308)
            if (const std::string* type = request.Header("Content-Type"))
                follow.headers.push_back({"Content-Type", *type});
        request = std::move(follow);
    }
}

void CVirtualUser::LoadDocument(const std::string& url, const HttpResponse& response,
                                StepState& state, StepRecord& record, CContextTree* into) {
    CURLParser address(url.c_str());
    CContextPage* page = CContextPage::Scan(response.body);
    state.bodies[into != nullptr ? into : nullptr] = response.body;
    if (into != nullptr) {
        into->SetUrl(address);
        into->RemoveTree();
        into->PurgeChildren();
        into->SetTree(page);
        m_page->UpdateRelFrameId(nullptr);
    } else {
        m_page = std::make_unique<CContextTree>();
        m_page->SetUrl(address);
        m_page->ComputeSnapshotFileName("", "text/html", state.snapshot, false);
        m_page->SetTree(page);
        m_page->UpdateRelFrameId(nullptr);
        state.bodies[m_page.get()] = std::move(state.bodies[nullptr]);
    }
    record.page = url;
}

void CVirtualUser::FetchPageParts(CContextTree& node, StepState& state, StepRecord& record,
                                  unsigned depth) {
    if (node.GetTree() == nullptr || depth > kFrameDepth)
        return;
    // Frames first, each placed in its slot of the tree and scanned.
    CStepResolver::PlaceFrames(
        node, state.snapshot,
        [this, &state, &record](CContextTree& frame, const MString& name) -> CHTMLVParser* {
            const std::string url = StripFragment(frame.GetUrl().GetFullURLWithSearch());
            HttpRequest request;
            request.url = url;
            request.role = RequestRole::Frame;
            request.document = name;
            request.frame = frame.GetRelFrameId();
            const CContextTree* parent = frame.GetParent();
            AddHeaders(request, parent ? StripFragment(parent->GetUrl().GetFullURLWithSearch())
                                       : std::string());
            std::string finalUrl;
            HttpResponse response = Exchange(request, state, record, finalUrl);
            if (response.status >= 400 || response.status == 0 || !IsHtml(response)) {
                record.warnings.push_back(
                    "the frame " + url + " answered " +
                    (response.status == 0
                         ? response.error
                         : std::to_string(response.status) + " " + ContentTypeOf(response)));
                return nullptr;
            }
            if (finalUrl != url)
                frame.SetUrl(CURLParser(finalUrl.c_str()));
            state.bodies[&frame] = response.body;
            return CContextPage::Scan(response.body);
        },
        1);
    if (m_page)
        m_page->UpdateRelFrameId(nullptr);
    for (CContextTree* child : node.GetChildrenArray())
        if (child != nullptr && child->GetTree() != nullptr)
            FetchPageParts(*child, state, record, depth + 1);

    // Then the resources the page names, each URL once per step.
    CHTMLVParser* page = node.GetTree();
    const std::set<std::string> styleSheets = StyleSheets(state.bodies[&node]);
    const int count = page->nLinks();
    for (int i = 0; i < count; ++i) {
        const CHTMLLink* link = page->link(i);
        if (link == nullptr || !IsPageResource(*link, styleSheets))
            continue;
        const CURLParser url = CStepResolver::LinkUrl(node, *link);
        if (!url.IsValid() || !url.IsWellKnownScheme())
            continue;
        FetchResource(StripFragment(url.GetFullURLWithSearch()), RequestRole::Resource,
                      node.GetRelFrameId(), state, record);
    }
}

void CVirtualUser::FetchResource(const std::string& url, RequestRole role, const std::string& frame,
                                 StepState& state, StepRecord& record) {
    if (!state.fetched.insert(url).second)
        return;
    // Within an iteration a resource already fetched comes from the cache.
    if (role == RequestRole::Resource && m_cache.count(url) != 0)
        return;
    HttpRequest request;
    request.url = url;
    request.role = role;
    request.frame = frame;
    AddHeaders(request, m_page && m_page->GetUrl().IsValid()
                            ? StripFragment(m_page->GetUrl().GetFullURLWithSearch())
                            : std::string());
    std::string finalUrl;
    HttpResponse response = Exchange(request, state, record, finalUrl);
    if (response.status == 0 || response.status >= 400) {
        const std::string what =
            "the resource " + url + " answered " +
            (response.status == 0 ? response.error : std::to_string(response.status));
        if (m_failOnResourceErrors)
            Fail(record, what);
        else
            record.warnings.push_back(what);
        return;
    }
    m_cache[url] = true;
}

void CVirtualUser::Navigate(CWebActionStep& step, StepRecord& record) {
    StepState state;
    state.snapshot = record.snapshot;
    TransportStep info;
    info.function = record.function;
    info.name = record.name;
    info.snapshot = record.snapshot;
    info.number = ++m_navigationNumber;
    m_transport.BeginStep(info);
    const bool sent = PrimaryRequest(step, state, record);
    if (sent) {
        // The extra resources of the step, relative to the page it loaded.
        for (const CResource* resource : step.GetOutOfContextResources().GetList()) {
            std::string url = resource->GetUrl();
            if (!record.requests.empty()) {
                CURLParser first(record.requests.front().request.url.c_str());
                CURLParser absolute(first, url.c_str());
                if (absolute.IsValid())
                    url = StripFragment(absolute.GetFullURLWithSearch());
            }
            record.extraResources.push_back(url);
            FetchResource(url, RequestRole::ExtraRes, "1", state, record);
        }
    }
    ApplyRegistrations(state, record);
    m_transport.EndStep();
}

// The step's request planned once more from the call as written, its
// references kept, on the same page: a listing's form of the request.
void CVirtualUser::AddWrittenForm(CWebActionStep& step, const std::string& function,
                                  HttpRequest& request) {
    std::vector<const char*> pointers;
    for (const std::string& text : *m_writtenArguments)
        pointers.push_back(text.c_str());
    ParsedStep written = m_parser.Parse(function, pointers);
    if (!written.ok)
        return;
    // An address that is not absolute as written keeps its references; the
    // page's address is its base when it is relative.
    const std::string& left = m_folder.Description().LeftBrace();
    auto address = [this, &left](const std::string& text) {
        // "{BaseUrl}/list" is absolute once substituted: it stays as written.
        if (text.compare(0, left.size(), left) == 0)
            return text;
        std::string url = Absolute(text);
        return url.empty() ? text : url;
    };
    PlanOptions options;
    options.keepReferences = true;
    options.leftBrace = m_folder.Description().LeftBrace();
    options.rightBrace = m_folder.Description().RightBrace();
    options.folder = m_folder.Dir();
    PlannedRequest planned;
    CWebStepData* parsed = written.step.get();
    if (auto* data = dynamic_cast<CWebStepSubmitData*>(parsed)) {
        // The written multipart body keeps the boundary of the one sent.
        const std::string* type = request.Header("Content-Type");
        const std::size_t at = type ? type->find("boundary=") : std::string::npos;
        options.boundary = at != std::string::npos ? type->substr(at + 9) : std::string();
        planned = CRequestPlanner::SubmitData(*data, address(data->GetAction()), options, m_random);
    } else if (auto* custom = dynamic_cast<CWebStepCustomRequest*>(parsed)) {
        bool exact = true;
        planned = CRequestPlanner::CustomRequest(*custom, address(custom->GetUrl()), m_folder.Dir(),
                                                 exact);
    } else if (auto* form = dynamic_cast<CWebStepSubmitForm*>(parsed)) {
        if (!m_page)
            return;
        FormPlan plan = CRequestPlanner::SubmitForm(*form, *m_page, options);
        if (!plan.found || !plan.fits)
            return;
        planned = plan.request;
    } else {
        return;  // links and images are found on the page: nothing written to keep
    }
    request.hasWrittenForm = true;
    request.writtenUrl = StripFragment(planned.url);
    request.writtenBody = planned.body;
}

// Registrations apply to what the step received, then are cleared.
void CVirtualUser::ApplyRegistrations(StepState& state, StepRecord& record) {
    RegistrationLimits limits;
    limits.maxParamLength = m_maxParamLength;
    limits.continueOnError = m_continueOnError;
    RegistrationReport report;
    m_registrations->ApplyAndClear(state.seen, *m_parameters, limits, report);
    record.saved.insert(record.saved.end(), report.saved.begin(), report.saved.end());
    record.checks.insert(record.checks.end(), report.checks.begin(), report.checks.end());
    record.warnings.insert(record.warnings.end(), report.warnings.begin(), report.warnings.end());
    record.notes.insert(record.notes.end(), report.notes.begin(), report.notes.end());
    if (report.failed)
        Fail(record, report.failure);
}

// web_rest: one request written as one call, with its own headers; the
// answer leaves the page as it is.
void CVirtualUser::Rest(CWebStepRest& step, StepRecord& record) {
    StepState state;
    state.snapshot = record.snapshot;
    TransportStep info;
    info.function = record.function;
    info.name = record.name;
    info.snapshot = record.snapshot;
    info.number = ++m_navigationNumber;
    m_transport.BeginStep(info);
    HttpRequest request;
    request.url = Absolute(step.GetUrl());
    if (request.url.empty()) {
        Fail(record, "the URL \"" + step.GetUrl() + "\" is not a valid address");
    } else {
        request.method = step.GetMethod();
        for (char& c : request.method)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        request.body = step.GetBody();
        request.frame = "1";
        AddHeaders(request, m_page && m_page->GetUrl().IsValid()
                                ? StripFragment(m_page->GetUrl().GetFullURLWithSearch())
                                : std::string());
        for (const auto& [name, value] : step.GetHeaders())
            request.headers.push_back({name, value});
        // EncType "raw" sends the body as it is, with the headers written.
        const MString encType = step.GetEncType();
        if (!encType.empty() && !EqualNoCase(encType, "raw") &&
            request.Header("Content-Type") == nullptr)
            request.headers.push_back({"Content-Type", encType});
        std::string finalUrl;
        HttpResponse response = Exchange(request, state, record, finalUrl);
        if (response.status == 0)
            Fail(record,
                 "no answer for " + request.url + ": " +
                     (response.error.empty() ? std::string("transport error") : response.error));
        else if (response.status >= 400)
            Fail(record, "HTTP status " + std::to_string(response.status) + " for " + finalUrl);
    }
    ApplyRegistrations(state, record);
    m_transport.EndStep();
}

void CVirtualUser::StartTransaction(const std::string& name) {
    auto transaction = std::make_unique<OpenTransaction>();
    transaction->name = name;
    transaction->start = m_clock.Now();
    m_transactions.push_back(std::move(transaction));
}

void CVirtualUser::EndTransaction(const std::string& name, TransactionRecord::Status status,
                                  bool automatic) {
    // The innermost open transaction of that name; others stay open.
    auto it = std::find_if(m_transactions.rbegin(), m_transactions.rend(),
                           [&](const auto& open) { return open->name == name; });
    if (it == m_transactions.rend()) {
        Message("warning", "transaction \"" + name + "\" ends but was not started");
        return;
    }
    TransactionRecord record;
    record.name = name;
    record.start = (*it)->start;
    record.duration = m_clock.Now() - (*it)->start;
    record.thinkTime = (*it)->thinkTime;
    record.status = automatic ? ((*it)->failed ? TransactionRecord::Status::Fail
                                               : TransactionRecord::Status::Pass)
                              : status;
    record.user = m_options.user;
    record.iteration = m_iteration;
    auto forward = std::next(it).base();
    if (forward != m_transactions.begin())
        record.parent = (*std::prev(forward))->name;
    m_transactions.erase(forward);
    if (m_observer != nullptr)
        m_observer->OnTransaction(record);
}

void CVirtualUser::ThinkTime(double recordedSeconds) {
    const double wait = m_folder.Settings().ThinkTime().Apply(recordedSeconds, m_random);
    m_clock.Sleep(wait);
    for (auto& transaction : m_transactions)
        transaction->thinkTime += wait;
}

void CVirtualUser::BeginIteration(unsigned iteration) {
    m_iteration = iteration;
    m_iterationFailed = false;
    m_cache.clear();
    m_parameters->BeginIteration(iteration);
}

void CVirtualUser::EndIteration() {
    // Open transactions end: failed when the iteration failed, otherwise by
    // their automatic status.
    while (!m_transactions.empty()) {
        const std::string name = m_transactions.back()->name;
        if (m_iterationFailed)
            m_transactions.back()->failed = true;
        EndTransaction(name, TransactionRecord::Status::Pass, true);
    }
    m_registrations->ClearPending();
}

bool CVirtualUser::RunActionFile(const std::string& actionName) {
    const FolderAction* action = m_folder.FindAction(actionName);
    const std::string file = action != nullptr ? action->file : actionName + ".c";
    // Each file is read and its calls taken apart once per user, not once
    // per iteration.
    auto cached = m_actionFiles.find(file);
    if (cached == m_actionFiles.end()) {
        const std::string path = (std::filesystem::path(m_folder.Dir()) / file).string();
        CScriptReader reader([this](const MString& name) { return m_parser.IsKnown(name); });
        ScriptReadResult result;
        if (!reader.ReadFile(path.c_str(), result)) {
            Message("error", "cannot read the action file " + path);
            return false;
        }
        std::vector<ActionCall> calls;
        for (const ScriptCall& call : result.calls) {
            if (call.kind == EScriptCallKind::UnknownFunction)
                continue;
            ActionCall kept{call.function, {}, call.line};
            for (const ScriptArgument& argument : call.arguments)
                kept.arguments.push_back(argument.value);
            calls.push_back(std::move(kept));
        }
        cached = m_actionFiles.emplace(file, std::move(calls)).first;
    }
    for (const ActionCall& call : cached->second) {
        Call(call.function, call.arguments, file, call.line);
        if (m_next != UserNext::Continue)
            break;
    }
    return true;
}

void CVirtualUser::Run(unsigned iterations) {
    const unsigned count = iterations != 0 ? iterations : m_folder.Iterations();
    auto runGroup = [this](const RunLogicNode& group) {
        std::vector<std::string> actions;
        CRunLogic::Expand(group, m_random, actions);
        for (const std::string& action : actions) {
            RunActionFile(action);
            if (m_next != UserNext::Continue)
                break;
        }
    };
    BeginIteration(1);
    runGroup(m_folder.RunLogic().Init());
    EndIteration();
    for (unsigned i = 1; i <= count && m_next != UserNext::EndUser && !StopRequested(); ++i) {
        const double start = m_clock.Now();
        const std::size_t failedBefore = m_failedSteps;
        BeginIteration(i);
        runGroup(m_folder.RunLogic().Run());
        const bool failed = m_iterationFailed || m_failedSteps > failedBefore;
        EndIteration();
        IterationEnded(i, failed);
        if (m_next == UserNext::EndUser)
            break;
        m_next = UserNext::Continue;
        if (i < count && !StopRequested())
            m_clock.Sleep(m_folder.Settings().Pacing().Wait(m_clock.Now() - start, m_random));
    }
    m_next = UserNext::Continue;
    EnterEndAction();
    runGroup(m_folder.RunLogic().End());
    EndIteration();
}
