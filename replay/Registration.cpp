#include "webstep/replay/Registration.h"

#include <strings.h>

#include <cctype>

#include "webstep/foundation/PropertyBag.h"
#include "webstep/replay/FindCheck.h"
#include "webstep/replay/SaveParamRule.h"
#include "webstep/steps/WebStepGlobalVerification.h"
#include "webstep/steps/WebStepRegFind.h"
#include "webstep/steps/WebStepRegSaveParam.h"
#include "webstep/steps/WebStepRegSaveParamEx.h"

namespace {

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

bool IsYes(const std::string& text) {
    return EqualsNoCase(text, "yes") || EqualsNoCase(text, "true") || text == "1";
}

std::string Trim(std::string text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.pop_back();
    std::size_t start = 0;
    while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start])))
        ++start;
    return text.substr(start);
}

// "ALL" and an empty text both mean every frame.
std::string FrameFilter(const std::string& text) {
    return EqualsNoCase(text, "ALL") ? std::string() : text;
}

// A registration whose step could not be read: it fails the step it applies
// to, so the mistake shows where the rule would have acted.
class CInvalidRegistration : public CRegistration {
public:
    CInvalidRegistration(std::string what, std::string why)
        : m_What(std::move(what)), m_Why(std::move(why)) {}
    void Apply(const std::vector<StepResponse>&, CParameterContext&, const RegistrationLimits&,
               RegistrationReport& report) const override {
        report.Fail(m_What + ": " + m_Why);
    }
    std::string Describe() const override { return m_What; }

private:
    std::string m_What;
    std::string m_Why;
};

std::unique_ptr<CRegistration> Invalid(const std::string& what, const std::string& why) {
    return std::make_unique<CInvalidRegistration>(what, why);
}

// The value of "Name=value" among the call's arguments (name case ignored).
bool ArgumentValue(const std::vector<std::string>& arguments, std::string_view name,
                   std::string& value) {
    for (const std::string& argument : arguments) {
        const std::size_t equals = argument.find('=');
        if (equals != std::string::npos && EqualsNoCase(argument.substr(0, equals), name)) {
            value = argument.substr(equals + 1);
            return true;
        }
    }
    return false;
}

// Reads the SEARCH_FILTERS section of the newer save rules; false with why.
bool ReadFilters(const CWebStepSaveParamRule& step, SearchFilter& filter, std::string& why) {
    const std::string scope = step.GetSearchFilter("Scope");
    if (!scope.empty() && !CRegistration::ParseScope(scope, filter.scope)) {
        why = "Scope=" + scope + " is not one of All, Headers, Body, NoResource, Cookies";
        return false;
    }
    std::string names = step.GetSearchFilter("HeaderNames");
    for (std::size_t start = 0; start <= names.size();) {
        std::size_t comma = names.find(',', start);
        if (comma == std::string::npos)
            comma = names.size();
        std::string name = Trim(names.substr(start, comma - start));
        if (!name.empty())
            filter.headerNames.push_back(name);
        start = comma + 1;
    }
    filter.contentType = step.GetSearchFilter("ContentType");
    filter.requestUrl = step.GetSearchFilter("RequestUrl");
    filter.ignoreRedirections = IsYes(step.GetSearchFilter("IgnoreRedirections"));
    filter.frame = FrameFilter(step.GetSearchFilter("RelFrameID"));
    return true;
}

// ParamName, NotFound and the filters of the newer save rules.
bool ReadRuleCommon(const CWebStepSaveParamRule& step, const char* function,
                    CSaveRule::Options& options, std::string& why) {
    options.function = function;
    options.param = step.GetParamName();
    options.warnOnly = EqualsNoCase(step.GetNotFound(), "warning");
    return ReadFilters(step, options.filter, why);
}

bool ReadOrdinal(const std::string& text, CSaveRule::Options& options, std::string& why) {
    if (CSaveRule::ParseOrdinal(text, options.ordinal, options.ordinalNumber))
        return true;
    why = "the ordinal \"" + text + "\" is not a number from 1, All or Last";
    return false;
}

bool ReadCut(const std::string& offset, const std::string& length, CSaveRule::Options& options,
             std::string& why) {
    if (!offset.empty()) {
        if (offset.size() > 9 || offset.find_first_not_of("0123456789") != std::string::npos) {
            why = "SaveOffset=" + offset + " is not a number of bytes";
            return false;
        }
        options.saveOffset = std::stoul(offset);
    }
    if (!length.empty()) {
        const bool negative = length[0] == '-';
        const std::string digits = negative ? length.substr(1) : length;
        if (digits.empty() || digits.size() > 9 ||
            digits.find_first_not_of("0123456789") != std::string::npos) {
            why = "SaveLen=" + length + " is not a number of bytes";
            return false;
        }
        options.saveLength = negative ? -1 : std::stol(digits);
    }
    return true;
}

std::unique_ptr<CRegistration> FromSaveParam(const CWebStepRegSaveParam& step,
                                             const std::vector<std::string>& arguments) {
    CSaveRule::Options options;
    options.function = "web_reg_save_param";
    options.param = step.GetParamName();
    const std::string what = options.function + " " + options.param;
    std::string why;
    CBoundaryText left(step.GetLeft(), step.GetLeftBoundFlags());
    CBoundaryText right(step.GetRight(), step.GetRightBoundFlags());
    if (!ReadOrdinal(step.GetInstance(), options, why))
        return Invalid(what, why);
    options.warnOnly = EqualsNoCase(step.GetNotFound(), "warning");
    const std::string search = step.GetSearchScope();
    if (!search.empty() && !CRegistration::ParseScope(search, options.filter.scope))
        return Invalid(what, "Search=" + search + " is not one of Headers, Body, NoResource, All");
    options.filter.frame = FrameFilter(step.GetRelativeFrameId());
    options.filter.ignoreRedirections = IsYes(step.GetIgnoreRedirections());
    const std::string offset = step.GetSaveOffset();
    const std::string length = step.GetSaveLen();
    if (!ReadCut(offset, length, options, why))
        return Invalid(what, why);
    // The step object does not keep Convert=: it is read from the call.
    std::string convert;
    if (ArgumentValue(arguments, "Convert", convert)) {
        if (EqualsNoCase(convert, "HTML_TO_URL"))
            options.conversion = CSaveRule::Conversion::HtmlToUrl;
        else if (EqualsNoCase(convert, "HTML_TO_TEXT"))
            options.conversion = CSaveRule::Conversion::HtmlToText;
        else
            return Invalid(what, "Convert=" + convert + " is not HTML_TO_URL or HTML_TO_TEXT");
    }
    return std::make_unique<CBoundaryRule>(std::move(options), std::move(left), std::move(right));
}

std::unique_ptr<CRegistration> FromSaveParamEx(const CWebStepRegSaveParamEx& step) {
    CSaveRule::Options options;
    std::string why;
    const bool common = ReadRuleCommon(step, "web_reg_save_param_ex", options, why);
    const std::string what = options.function + " " + options.param;
    if (!common)
        return Invalid(what, why);
    CBoundaryText left(step.GetLeft(), step.GetLeftBoundFlags());
    CBoundaryText right(step.GetRight(), step.GetRightBoundFlags());
    if (!ReadOrdinal(step.GetOrdinal(), options, why))
        return Invalid(what, why);
    const std::string offset = step.GetSaveOffset();
    const std::string length = step.GetSaveLen();
    if (!ReadCut(offset, length, options, why))
        return Invalid(what, why);
    return std::make_unique<CBoundaryRule>(std::move(options), std::move(left), std::move(right));
}

std::unique_ptr<CRegistration> FromRegexp(const CWebStepRegSaveParamRegexp& step) {
    CSaveRule::Options options;
    std::string why;
    const bool common = ReadRuleCommon(step, "web_reg_save_param_regexp", options, why);
    const std::string what = options.function + " " + options.param;
    if (!common || !ReadOrdinal(step.GetOrdinal(), options, why))
        return Invalid(what, why);
    const std::string group = step.GetGroup();
    int number = -1;
    if (!group.empty()) {
        if (group.size() > 2 || group.find_first_not_of("0123456789") != std::string::npos)
            return Invalid(what, "Group=" + group + " is not a number from 0 to 10");
        number = std::stoi(group);
    }
    return std::make_unique<CRegexpRule>(std::move(options), step.GetRegExp(), number);
}

std::unique_ptr<CRegistration> FromJson(const CWebStepRegSaveParamJson& step) {
    CSaveRule::Options options;
    std::string why;
    if (!ReadRuleCommon(step, "web_reg_save_param_json", options, why))
        return Invalid(options.function + " " + options.param, why);
    // SelectAll=Yes saves every value as an array; otherwise the first.
    if (IsYes(step.GetSelectAll()))
        options.ordinal = CSaveRule::OrdinalKind::All;
    return std::make_unique<CJsonRule>(std::move(options), step.GetQueryString());
}

std::unique_ptr<CRegistration> FromXpath(const CWebStepRegSaveParamXpath& step) {
    CSaveRule::Options options;
    std::string why;
    if (!ReadRuleCommon(step, "web_reg_save_param_xpath", options, why))
        return Invalid(options.function + " " + options.param, why);
    if (IsYes(step.GetSelectAll()))
        options.ordinal = CSaveRule::OrdinalKind::All;
    const bool returnXml = IsYes(step.GetReturnXML());
    return std::make_unique<CXPathRule>(std::move(options), step.GetQueryString(), returnXml);
}

std::unique_ptr<CRegistration> FromAttrib(const CWebStepRegSaveParamAttrib& step) {
    CSaveRule::Options options;
    std::string why;
    const bool common = ReadRuleCommon(step, "web_reg_save_param_attrib", options, why);
    const std::string what = options.function + " " + options.param;
    MString ordinal;
    step.GetAttributes().GetAttribute("Ordinal", ordinal);
    if (!common || !ReadOrdinal(ordinal, options, why))
        return Invalid(what, why);
    // Every attribute that is not an option of the rule selects the tag.
    static const char* const kOptions[] = {"ParamName", "TagName",  "Extract",
                                           "Ordinal",   "NotFound", "DFEs"};
    std::vector<std::pair<std::string, std::string>> select;
    CPropertyBagIterator it(step.GetAttributes());
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value)) {
        bool option = false;
        for (const char* known : kOptions)
            option = option || EqualsNoCase(name, known);
        if (!option)
            select.emplace_back(name, value);
    }
    std::string tag = step.GetTagName();
    std::string extract = step.GetExtract();
    return std::make_unique<CAttribRule>(std::move(options), std::move(tag), std::move(extract),
                                         std::move(select));
}

template <class Step, class Flags>
bool ReadTexts(const Step& step, CFindCheck::Options& options) {
    Flags flags = step.GetTextFlags();
    std::string text = step.GetText();
    if (!text.empty()) {
        options.text = CBoundaryText(text, flags);
        return true;
    }
    flags = step.GetTextPfxFlags();
    std::string prefix = step.GetTextPfx();
    const Flags suffixFlags = step.GetTextSfxFlags();
    std::string suffix = step.GetTextSfx();
    options.prefix = CBoundaryText(prefix, flags);
    options.suffix = CBoundaryText(suffix, suffixFlags);
    options.pair = true;
    return true;
}

bool ReadFail(const std::string& fail, CFindCheck::Options& options, std::string& why) {
    if (fail.empty())
        return true;
    if (EqualsNoCase(fail, "NotFound")) {
        options.fail = CFindCheck::FailWhen::NotFound;
    } else if (EqualsNoCase(fail, "Found")) {
        options.fail = CFindCheck::FailWhen::Found;
    } else {
        why = "Fail=" + fail + " is not Found or NotFound";
        return false;
    }
    return true;
}

std::unique_ptr<CRegistration> FromRegFind(const CWebStepRegFind& step) {
    CFindCheck::Options options;
    options.function = "web_reg_find";
    ReadTexts<CWebStepRegFind, RegFindFlags>(step, options);
    MString value;
    if (step.GetAttributes().GetAttribute("ID", value))
        options.id = value;
    if (step.GetAttributes().GetAttribute("RelFrameId", value))
        options.filter.frame = FrameFilter(value);
    options.filter.scope = SearchScope::Body;  // checks search bodies by default
    const std::string what = CFindCheck(options).Describe();
    const std::string search = step.GetSearchScope();
    if (!search.empty() && !CRegistration::ParseScope(search, options.filter.scope))
        return Invalid(what, "Search=" + search + " is not one of Headers, Body, NoResource, All");
    options.saveCount = step.GetSaveCount();
    const std::string fail = step.GetFail();
    // SaveCount alone only counts; Fail= given too still checks.
    if (!options.saveCount.empty() && fail.empty())
        options.fail = CFindCheck::FailWhen::Never;
    std::string why;
    if (!ReadFail(fail, options, why))
        return Invalid(what, why);
    return std::make_unique<CFindCheck>(std::move(options));
}

std::unique_ptr<CRegistration> FromGlobalVerification(const CWebStepGlobalVerification& step) {
    CFindCheck::Options options;
    options.function = "web_global_verification";
    options.global = true;
    ReadTexts<CWebStepGlobalVerification, GlobalVerificationFlags>(step, options);
    MString value;
    if (step.GetAttributes().GetAttribute("ID", value))
        options.id = value;
    options.filter.scope = SearchScope::Body;
    const std::string what = CFindCheck(options).Describe();
    const std::string search = step.GetSearchScope();
    if (!search.empty() && !CRegistration::ParseScope(search, options.filter.scope))
        return Invalid(what, "Search=" + search + " is not one of Headers, Body, NoResource, All");
    std::string why;
    if (!ReadFail(step.GetFailIf(), options, why))
        return Invalid(what, why);
    return std::make_unique<CFindCheck>(std::move(options));
}

// The media type of a Content-Type value, trimmed.
std::string MediaType(const std::string* contentType) {
    if (contentType == nullptr)
        return {};
    return Trim(contentType->substr(0, contentType->find(';')));
}

}  // namespace

// ----- report -----

void RegistrationReport::Fail(const std::string& message) {
    if (!failed) {
        failed = true;
        failure = message;
    } else {
        warnings.push_back(message);
    }
}

// ----- searched texts -----

std::string CSearchTexts::HeaderLines(const HttpResponse& response,
                                      const std::vector<std::string>& names, bool cookiesOnly) {
    std::string lines;
    for (const HttpHeader& header : response.headers) {
        if (cookiesOnly && !EqualsNoCase(header.name, "Set-Cookie"))
            continue;
        if (!names.empty()) {
            bool listed = false;
            for (const std::string& name : names)
                listed = listed || EqualsNoCase(header.name, name);
            if (!listed)
                continue;
        }
        lines += header.name;
        lines += ": ";
        lines += header.value;
        lines += "\r\n";
    }
    return lines;
}

bool CSearchTexts::WildcardMatch(std::string_view pattern, std::string_view text, bool ignoreCase) {
    auto same = [ignoreCase](char a, char b) {
        return ignoreCase ? std::tolower(static_cast<unsigned char>(a)) ==
                                std::tolower(static_cast<unsigned char>(b))
                          : a == b;
    };
    // Greedy with one back-off point: linear for one star, never exponential.
    std::size_t p = 0, t = 0, star = std::string_view::npos, mark = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            mark = t;
        } else if (p < pattern.size() && same(pattern[p], text[t])) {
            ++p;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            t = ++mark;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

CSearchTexts::CSearchTexts(const std::vector<StepResponse>& responses, const SearchFilter& filter) {
    for (const StepResponse& step : responses) {
        if (step.response == nullptr)
            continue;
        if (filter.ignoreRedirections && step.redirect)
            continue;
        if (filter.scope == SearchScope::NoResource && step.resource)
            continue;
        // A frame filter keeps that frame's document (and its redirects).
        if (!filter.frame.empty() && (step.resource || step.frame != filter.frame))
            continue;
        if (!filter.contentType.empty() &&
            !WildcardMatch(filter.contentType, MediaType(step.response->Header("Content-Type")),
                           true))
            continue;
        if (!filter.requestUrl.empty() &&
            (step.request == nullptr ||
             !WildcardMatch(filter.requestUrl, step.request->url, false)))
            continue;
        const bool headers = filter.scope != SearchScope::Body;
        const bool body = filter.scope == SearchScope::All || filter.scope == SearchScope::Body ||
                          filter.scope == SearchScope::NoResource;
        if (headers) {
            m_Owned.push_back(HeaderLines(*step.response,
                                          filter.scope == SearchScope::Headers
                                              ? filter.headerNames
                                              : std::vector<std::string>{},
                                          filter.scope == SearchScope::Cookies));
            m_Texts.push_back({m_Owned.back(), &step, true});
        }
        if (body)
            m_Texts.push_back({step.response->body, &step, false});
    }
}

// ----- registrations -----

CRegistration::~CRegistration() = default;

bool CRegistration::ParseScope(std::string_view text, SearchScope& scope) {
    static const std::pair<const char*, SearchScope> kScopes[] = {
        {"All", SearchScope::All},
        {"Headers", SearchScope::Headers},
        {"Body", SearchScope::Body},
        {"NoResource", SearchScope::NoResource},
        {"Cookies", SearchScope::Cookies}};
    for (const auto& [name, value] : kScopes) {
        if (EqualsNoCase(text, name)) {
            scope = value;
            return true;
        }
    }
    return false;
}

std::unique_ptr<CRegistration> CRegistration::FromStep(const CWebStepData& step,
                                                       const std::vector<std::string>& arguments) {
    if (auto* s = dynamic_cast<const CWebStepRegSaveParam*>(&step))
        return FromSaveParam(*s, arguments);
    if (auto* s = dynamic_cast<const CWebStepRegSaveParamEx*>(&step))
        return FromSaveParamEx(*s);
    if (auto* s = dynamic_cast<const CWebStepRegSaveParamRegexp*>(&step))
        return FromRegexp(*s);
    if (auto* s = dynamic_cast<const CWebStepRegSaveParamJson*>(&step))
        return FromJson(*s);
    if (auto* s = dynamic_cast<const CWebStepRegSaveParamXpath*>(&step))
        return FromXpath(*s);
    if (auto* s = dynamic_cast<const CWebStepRegSaveParamAttrib*>(&step))
        return FromAttrib(*s);
    if (auto* s = dynamic_cast<const CWebStepRegFind*>(&step))
        return FromRegFind(*s);
    if (auto* s = dynamic_cast<const CWebStepGlobalVerification*>(&step))
        return FromGlobalVerification(*s);
    return nullptr;
}

// ----- the user's registrations -----

CRegistrations::CRegistrations() = default;
CRegistrations::~CRegistrations() = default;

void CRegistrations::Add(std::unique_ptr<CRegistration> registration) {
    if (!registration)
        return;
    if (!registration->IsGlobal()) {
        m_Pending.push_back(std::move(registration));
        return;
    }
    const std::string id = registration->Id();
    // A new global verification replaces one of the same (non-empty) id.
    if (!id.empty()) {
        for (Global& global : m_Globals) {
            if (global.registration->Id() == id) {
                global.registration = std::move(registration);
                global.paused = false;
                return;
            }
        }
    }
    m_Globals.push_back({std::move(registration), false});
}

bool CRegistrations::AddStep(const CWebStepData& step, const std::vector<std::string>& arguments) {
    if (auto* pause = dynamic_cast<const CWebStepGlobalVerificationPause*>(&step)) {
        if (pause->GetIDs().empty())
            return Pause("");
        for (const MString& id : pause->GetIDs())
            Pause(id);
        return true;
    }
    if (auto* resume = dynamic_cast<const CWebStepGlobalVerificationResume*>(&step)) {
        if (resume->GetIDs().empty())
            return Resume("");
        for (const MString& id : resume->GetIDs())
            Resume(id);
        return true;
    }
    std::unique_ptr<CRegistration> registration = CRegistration::FromStep(step, arguments);
    if (!registration)
        return false;
    Add(std::move(registration));
    return true;
}

bool CRegistrations::Pause(const std::string& id) {
    bool any = false;
    for (Global& global : m_Globals) {
        if (id.empty() || global.registration->Id() == id) {
            global.paused = true;
            any = true;
        }
    }
    return any;
}

bool CRegistrations::Resume(const std::string& id) {
    bool any = false;
    for (Global& global : m_Globals) {
        if (id.empty() || global.registration->Id() == id) {
            global.paused = false;
            any = true;
        }
    }
    return any;
}

bool CRegistrations::IsPaused(const std::string& id) const {
    for (const Global& global : m_Globals)
        if (global.registration->Id() == id)
            return global.paused;
    return false;
}

void CRegistrations::ApplyAndClear(const std::vector<StepResponse>& responses,
                                   CParameterContext& params, const RegistrationLimits& limits,
                                   RegistrationReport& report) {
    std::vector<std::unique_ptr<CRegistration>> pending = std::move(m_Pending);
    m_Pending.clear();
    for (const auto& registration : pending)
        registration->Apply(responses, params, limits, report);
    for (const Global& global : m_Globals)
        if (!global.paused)
            global.registration->Apply(responses, params, limits, report);
}
