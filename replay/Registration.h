#pragma once
// Registrations: the save rules and checks that a script registers before a
// navigation step, applied by a virtual user to that step's responses.
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/HttpMessage.h"

class CWebStepData;
class CParameterContext;

/// One response of a navigation step, as registrations see it.
struct WEBSTEP_API StepResponse {
    const HttpRequest* request = nullptr;
    const HttpResponse* response = nullptr;
    /// A resource (image, script, EXTRARES), not the document or a frame.
    bool resource = false;
    /// A 3xx answer that was followed.
    bool redirect = false;
    /// Relative frame id of the document it belongs to ("1", "1.2").
    std::string frame;
};

/// What applying registrations had to say about a step.
struct WEBSTEP_API RegistrationReport {
    /// The first failure fails the step; later failures go to warnings.
    bool failed = false;
    std::string failure;
    std::vector<std::string> warnings;
    std::vector<std::string> notes;
    /// Parameters saved, in order.
    std::vector<std::pair<std::string, std::string>> saved;
    /// Checks passed or failed, in words.
    std::vector<std::string> checks;

    void Fail(const std::string& message);
    void Warn(const std::string& message) { warnings.push_back(message); }
    void Note(const std::string& message) { notes.push_back(message); }
};

/// The user's settings that registrations obey.
struct WEBSTEP_API RegistrationLimits {
    /// web_set_max_html_param_len: a longer saved value fails the step.
    std::size_t maxParamLength = 256;
    /// With continue-on-error a save rule with NotFound=ERROR that finds
    /// nothing is only logged (a warning) instead of failing the step.
    bool continueOnError = false;
};

/// Which part of a step's responses a registration searches.
enum class SearchScope {
    All,         ///< headers and bodies of every response
    Headers,     ///< the header lines only
    Body,        ///< the bodies only
    NoResource,  ///< headers and bodies of the documents and frames only
    Cookies      ///< the Set-Cookie header lines only
};

/// Narrows the responses and texts that a registration searches.
struct WEBSTEP_API SearchFilter {
    SearchScope scope = SearchScope::All;
    /// Header names (ASCII case ignored) searched with Headers; empty: all.
    std::vector<std::string> headerNames;
    /// Media type of the response ('*' wildcards, case ignored); empty: any.
    std::string contentType;
    /// Request URL ('*' wildcards, case kept); empty: any.
    std::string requestUrl;
    bool ignoreRedirections = false;
    /// Relative frame id: only the documents of that frame; empty: all.
    std::string frame;
};

/// One text a registration searches: a response's header lines or its body.
struct WEBSTEP_API SearchText {
    std::string_view text;
    const StepResponse* from = nullptr;
    bool headers = false;
};

/// The texts of a step's responses that a filter lets through, in response
/// order, headers before the body of each response.
class WEBSTEP_API CSearchTexts {
public:
    CSearchTexts(const std::vector<StepResponse>& responses, const SearchFilter& filter);
    const std::vector<SearchText>& Texts() const { return m_Texts; }

    /// "Name: value\r\n" for each header, in order.
    static std::string HeaderLines(const HttpResponse& response,
                                   const std::vector<std::string>& names, bool cookiesOnly);
    /// '*' matches any run of bytes; everything else itself.
    static bool WildcardMatch(std::string_view pattern, std::string_view text, bool ignoreCase);

private:
    std::deque<std::string> m_Owned;
    std::vector<SearchText> m_Texts;
};

/// One registration made by a step call (a save rule or a check).
class WEBSTEP_API CRegistration {
public:
    virtual ~CRegistration();

    /// Builds the registration of a parsed step (web_reg_save_param, _ex,
    /// _regexp, _json, _xpath, _attrib, web_reg_find,
    /// web_global_verification); null for other steps. arguments are the
    /// call's arguments as written, for what the step object does not keep
    /// (Convert= of web_reg_save_param); they may be left empty.
    static std::unique_ptr<CRegistration> FromStep(const CWebStepData& step,
                                                   const std::vector<std::string>& arguments = {});

    virtual void Apply(const std::vector<StepResponse>& responses, CParameterContext& params,
                       const RegistrationLimits& limits, RegistrationReport& report) const = 0;
    /// web_global_verification: kept for every following navigation step.
    virtual bool IsGlobal() const { return false; }
    /// The identifier a global verification is paused and resumed by.
    virtual std::string Id() const { return {}; }
    /// The function and parameter or text, for messages.
    virtual std::string Describe() const = 0;

    /// Reads a Search= value ("Headers", "Body", "NoResource", "All",
    /// "Cookies", case ignored); false for another value.
    static bool ParseScope(std::string_view text, SearchScope& scope);
};

/// The registrations of one virtual user: those pending for the next
/// navigation step and the global verifications in force.
class WEBSTEP_API CRegistrations {
public:
    CRegistrations();
    ~CRegistrations();
    CRegistrations(const CRegistrations&) = delete;
    CRegistrations& operator=(const CRegistrations&) = delete;

    /// A save rule or web_reg_find waits for the next navigation step; a
    /// global verification is kept (replacing one of the same identifier).
    void Add(std::unique_ptr<CRegistration> registration);
    /// Takes a parsed step: registrations as Add, the pause and resume steps
    /// of global verifications as Pause/Resume. False for any other step.
    bool AddStep(const CWebStepData& step, const std::vector<std::string>& arguments = {});
    /// Pauses (or resumes) the global verification of that identifier; an
    /// empty identifier means every one. False when none has it.
    bool Pause(const std::string& id);
    bool Resume(const std::string& id);

    /// Applies the pending registrations, then the active global
    /// verifications, to a navigation step's responses; then clears the
    /// pending ones.
    void ApplyAndClear(const std::vector<StepResponse>& responses, CParameterContext& params,
                       const RegistrationLimits& limits, RegistrationReport& report);
    /// Forgets the pending registrations without applying them.
    void ClearPending() { m_Pending.clear(); }

    std::size_t PendingCount() const { return m_Pending.size(); }
    std::size_t GlobalCount() const { return m_Globals.size(); }
    bool IsPaused(const std::string& id) const;

private:
    struct Global {
        std::unique_ptr<CRegistration> registration;
        bool paused = false;
    };
    std::vector<std::unique_ptr<CRegistration>> m_Pending;
    std::vector<Global> m_Globals;
};
