#pragma once
// The save rules: web_reg_save_param and web_reg_save_param_ex (boundaries),
// _regexp (a regular expression), _json (a JSONPath), _xpath (an XPath) and
// _attrib (an attribute of a tag). Each finds its matches in the texts its
// filter lets through; the base class picks the ordinal, cuts, converts,
// checks the length limit and saves.
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/BoundaryText.h"
#include "webstep/replay/Registration.h"

/// What every save rule shares: the parameter, the ordinal, the cut, the
/// conversion and the NotFound handling.
class WEBSTEP_API CSaveRule : public CRegistration {
public:
    /// Which match is saved.
    enum class OrdinalKind { Number, All, Last };
    /// Convert=: none, HTML entities decoded then URL-encoded, or decoded.
    enum class Conversion { None, HtmlToUrl, HtmlToText };

    /// The options read from the step.
    struct Options {
        std::string function;  ///< "web_reg_save_param_ex", for messages
        std::string param;
        bool warnOnly = false;  ///< NotFound=WARNING
        SearchFilter filter;
        OrdinalKind ordinal = OrdinalKind::Number;
        std::size_t ordinalNumber = 1;
        std::size_t saveOffset = 0;
        long saveLength = -1;
        Conversion conversion = Conversion::None;
    };

    explicit CSaveRule(Options options) : m_Options(std::move(options)) {}
    ~CSaveRule() override;

    void Apply(const std::vector<StepResponse>& responses, CParameterContext& params,
               const RegistrationLimits& limits, RegistrationReport& report) const override;
    std::string Describe() const override { return m_Options.function + " " + m_Options.param; }
    const Options& GetOptions() const { return m_Options; }

    /// Reads "Ord"/"Ordinal": a number from 1, "All" or "Last" (case
    /// ignored); an empty text means 1. False for anything else.
    static bool ParseOrdinal(const std::string& text, OrdinalKind& kind, std::size_t& number);
    /// HTML character references decoded (named ones of the HTML 4 set and
    /// numeric ones), written as UTF-8.
    static std::string DecodeHtml(const std::string& text);

protected:
    /// Appends the rule's matches in the searched texts, in order, stopping
    /// once `wanted` are found. False (with error) when the rule cannot run
    /// at all (a pattern that does not compile); a text it cannot read (not
    /// JSON) is skipped with a note.
    virtual bool Collect(const CSearchTexts& texts, std::size_t wanted,
                         std::vector<std::string>& matches, RegistrationReport& report,
                         std::string& error) const = 0;
    /// Whether SaveOffset/SaveLen cut the matches (boundary rules only).
    virtual bool Cuts() const { return false; }

private:
    Options m_Options;
};

/// web_reg_save_param and web_reg_save_param_ex: the text strictly between a
/// left boundary and the next right boundary after it.
class WEBSTEP_API CBoundaryRule : public CSaveRule {
public:
    CBoundaryRule(Options options, CBoundaryText left, CBoundaryText right)
        : CSaveRule(std::move(options)), m_Left(std::move(left)), m_Right(std::move(right)) {}

protected:
    bool Collect(const CSearchTexts& texts, std::size_t wanted, std::vector<std::string>& matches,
                 RegistrationReport& report, std::string& error) const override;
    bool Cuts() const override { return true; }

private:
    CBoundaryText m_Left;
    CBoundaryText m_Right;
};

/// web_reg_save_param_regexp: one group of each match of a regular
/// expression (ECMAScript syntax, run by an engine whose time grows with the
/// text, not exponentially; back-references are refused).
class WEBSTEP_API CRegexpRule : public CSaveRule {
public:
    /// group < 0: group 1, or the whole match when the expression has no
    /// group.
    CRegexpRule(Options options, std::string pattern, int group)
        : CSaveRule(std::move(options)), m_Pattern(std::move(pattern)), m_Group(group) {}

    /// Bytes of one text that the expression reads; the rest is not searched
    /// (a warning says so).
    static constexpr std::size_t kMaxText = 16u << 20;

protected:
    bool Collect(const CSearchTexts& texts, std::size_t wanted, std::vector<std::string>& matches,
                 RegistrationReport& report, std::string& error) const override;

private:
    std::string m_Pattern;
    int m_Group;
};

/// web_reg_save_param_json: the values a JSONPath selects in JSON bodies
/// (strings as their text, other values as compact JSON).
class WEBSTEP_API CJsonRule : public CSaveRule {
public:
    CJsonRule(Options options, std::string query)
        : CSaveRule(std::move(options)), m_Query(std::move(query)) {}

protected:
    bool Collect(const CSearchTexts& texts, std::size_t wanted, std::vector<std::string>& matches,
                 RegistrationReport& report, std::string& error) const override;

private:
    std::string m_Query;
};

/// web_reg_save_param_xpath: the nodes an XPath selects in an HTML or XML
/// body (their text, or their markup with ReturnXML=Yes).
class WEBSTEP_API CXPathRule : public CSaveRule {
public:
    CXPathRule(Options options, std::string query, bool returnXml)
        : CSaveRule(std::move(options)), m_Query(std::move(query)), m_ReturnXml(returnXml) {}

protected:
    bool Collect(const CSearchTexts& texts, std::size_t wanted, std::vector<std::string>& matches,
                 RegistrationReport& report, std::string& error) const override;

private:
    std::string m_Query;
    bool m_ReturnXml;
};

/// web_reg_save_param_attrib: the attribute `extract` of the elements named
/// `tag` whose attributes have the values `select` gives (names ignore case,
/// values compare exactly).
class WEBSTEP_API CAttribRule : public CSaveRule {
public:
    CAttribRule(Options options, std::string tag, std::string extract,
                std::vector<std::pair<std::string, std::string>> select)
        : CSaveRule(std::move(options)),
          m_Tag(std::move(tag)),
          m_Extract(std::move(extract)),
          m_Select(std::move(select)) {}

protected:
    bool Collect(const CSearchTexts& texts, std::size_t wanted, std::vector<std::string>& matches,
                 RegistrationReport& report, std::string& error) const override;

private:
    std::string m_Tag;
    std::string m_Extract;
    std::vector<std::pair<std::string, std::string>> m_Select;
};
