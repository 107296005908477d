#include "webstep/replay/SaveParamRule.h"

#include <strings.h>

#include <iterator>
#include <regex>

#include "webstep/forms/EscArgs.h"
#include "webstep/html/HTMLBaseParser.h"
#include "webstep/recording/ParameterContext.h"
#include "webstep/replay/JsonPathQuery.h"
#include "webstep/replay/XPathQuery.h"

namespace {

constexpr std::size_t kAllWanted = static_cast<std::size_t>(-1);

std::string Where(const SearchText& text) {
    std::string where = text.headers ? "the headers of " : "the body of ";
    where += (text.from && text.from->request && !text.from->request->url.empty())
                 ? text.from->request->url
                 : std::string("a response");
    return where;
}

void AppendUtf8(std::string& out, unsigned long code) {
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        code = 0xFFFD;
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

// ----- the regular expression engine's guard -----

// Thrown by the counting iterator when a search has used up its steps.
struct StepsExhausted {};

// A pointer into the searched text that counts its moves: the regex engine
// moves it for every byte it examines, so the count bounds the work of one
// search whatever the pattern, and running out unwinds the search.
class CountingIterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator() = default;
    CountingIterator(const char* at, long long* budget) : m_At(at), m_Budget(budget) {}
    reference operator*() const { return *m_At; }
    CountingIterator& operator++() {
        ++m_At;
        Spend();
        return *this;
    }
    CountingIterator operator++(int) {
        CountingIterator before = *this;
        ++*this;
        return before;
    }
    CountingIterator& operator--() {
        --m_At;
        Spend();
        return *this;
    }
    CountingIterator operator--(int) {
        CountingIterator before = *this;
        --*this;
        return before;
    }
    bool operator==(const CountingIterator& other) const { return m_At == other.m_At; }
    bool operator!=(const CountingIterator& other) const { return m_At != other.m_At; }
    const char* Get() const { return m_At; }

private:
    void Spend() {
        if (--*m_Budget < 0)
            throw StepsExhausted{};
    }
    const char* m_At = nullptr;
    long long* m_Budget = nullptr;
};

}  // namespace

CSaveRule::~CSaveRule() = default;

bool CSaveRule::ParseOrdinal(const std::string& text, OrdinalKind& kind, std::size_t& number) {
    kind = OrdinalKind::Number;
    number = 1;
    if (text.empty())
        return true;
    if (strcasecmp(text.c_str(), "All") == 0) {
        kind = OrdinalKind::All;
        return true;
    }
    if (strcasecmp(text.c_str(), "Last") == 0) {
        kind = OrdinalKind::Last;
        return true;
    }
    if (text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    number = std::stoul(text);
    return number >= 1;
}

std::string CSaveRule::DecodeHtml(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '&') {
            out.push_back(text[i]);
            continue;
        }
        const std::size_t semicolon = text.find(';', i + 1);
        if (semicolon == std::string::npos || semicolon - i > 12) {
            out.push_back('&');
            continue;
        }
        const std::string name = text.substr(i + 1, semicolon - i - 1);
        bool decoded = false;
        if (name.size() > 1 && name[0] == '#') {
            const bool hex = name[1] == 'x' || name[1] == 'X';
            const std::string digits = name.substr(hex ? 2 : 1);
            if (!digits.empty() && digits.size() <= 7 &&
                digits.find_first_not_of(hex ? "0123456789abcdefABCDEF" : "0123456789") ==
                    std::string::npos) {
                AppendUtf8(out, std::stoul(digits, nullptr, hex ? 16 : 10));
                decoded = true;
            }
        } else if (name == "apos") {
            out.push_back('\'');
            decoded = true;
        } else if (!name.empty()) {
            char latin1 = 0;
            if (CHTMLBaseParser::LookupEntity(name.c_str(), static_cast<unsigned>(name.size()),
                                              latin1)) {
                AppendUtf8(out, static_cast<unsigned char>(latin1));
                decoded = true;
            }
        }
        if (decoded)
            i = semicolon;
        else
            out.push_back('&');
    }
    return out;
}

void CSaveRule::Apply(const std::vector<StepResponse>& responses, CParameterContext& params,
                      const RegistrationLimits& limits, RegistrationReport& report) const {
    const Options& o = m_Options;
    CSearchTexts texts(responses, o.filter);
    const std::size_t wanted = o.ordinal == OrdinalKind::Number ? o.ordinalNumber : kAllWanted;
    std::vector<std::string> matches;
    std::string error;
    if (!Collect(texts, wanted, matches, report, error)) {
        report.Fail(Describe() + ": " + error);
        return;
    }

    std::vector<std::string> chosen;
    if (o.ordinal == OrdinalKind::All)
        chosen = std::move(matches);
    else if (o.ordinal == OrdinalKind::Last && !matches.empty())
        chosen.push_back(matches.back());
    else if (o.ordinal == OrdinalKind::Number && matches.size() >= o.ordinalNumber)
        chosen.push_back(matches[o.ordinalNumber - 1]);

    if (chosen.empty()) {
        std::string message = Describe() + ": nothing found";
        if (o.ordinal == OrdinalKind::Number && o.ordinalNumber > 1)
            message += " for ordinal " + std::to_string(o.ordinalNumber) + " (" +
                       std::to_string(matches.size()) + " matches)";
        message += " in " + std::to_string(texts.Texts().size()) + " searched text(s)";
        if (o.ordinal == OrdinalKind::All) {
            params.SaveParameter(o.param + "_count", "0");
            report.saved.emplace_back(o.param + "_count", "0");
        }
        // NotFound=WARNING leaves an earlier value of the parameter as it was.
        if (o.warnOnly)
            report.Warn(message + " (NotFound=WARNING)");
        else if (limits.continueOnError)
            report.Warn(message + " (continue-on-error)");
        else
            report.Fail(message);
        return;
    }

    auto finish = [&](std::string value) -> std::string {
        if (Cuts()) {
            // An offset at the end gives an empty value; past it, too, with a
            // warning.
            if (o.saveOffset > value.size()) {
                report.Warn(Describe() + ": SaveOffset " + std::to_string(o.saveOffset) +
                            " is past the end of the " + std::to_string(value.size()) +
                            " bytes found; saved an empty value");
                value.clear();
            } else {
                value.erase(0, o.saveOffset);
            }
            if (o.saveLength >= 0 && static_cast<std::size_t>(o.saveLength) < value.size())
                value.resize(static_cast<std::size_t>(o.saveLength));
        }
        if (o.conversion == Conversion::HtmlToText) {
            value = DecodeHtml(value);
        } else if (o.conversion == Conversion::HtmlToUrl) {
            value = DecodeHtml(value);
            EscArgs(value, true);
        }
        return value;
    };
    auto save = [&](const std::string& name, const std::string& value) {
        if (value.size() > limits.maxParamLength) {
            report.Fail(Describe() + ": the value for " + name + " is " +
                        std::to_string(value.size()) + " bytes, longer than the limit of " +
                        std::to_string(limits.maxParamLength) + " (web_set_max_html_param_len)");
            return;
        }
        params.SaveParameter(name, value);
        report.saved.emplace_back(name, value);
    };

    if (o.ordinal == OrdinalKind::All) {
        for (std::size_t i = 0; i < chosen.size(); ++i)
            save(o.param + "_" + std::to_string(i + 1), finish(std::move(chosen[i])));
        const std::string count = std::to_string(chosen.size());
        params.SaveParameter(o.param + "_count", count);
        report.saved.emplace_back(o.param + "_count", count);
    } else {
        save(o.param, finish(std::move(chosen.front())));
    }
}

// ----- boundaries -----

bool CBoundaryRule::Collect(const CSearchTexts& texts, std::size_t wanted,
                            std::vector<std::string>& matches, RegistrationReport&,
                            std::string&) const {
    for (const SearchText& piece : texts.Texts()) {
        const std::string_view text = piece.text;
        std::size_t from = 0;
        while (matches.size() < wanted && from <= text.size()) {
            // An empty left boundary matches at the start of the text only.
            if (m_Left.Empty() && from > 0)
                break;
            const std::size_t left = m_Left.Find(text, from);
            if (left == std::string_view::npos)
                break;
            const std::size_t start = left + m_Left.Size();
            // An empty right boundary matches at the end of the text.
            const std::size_t right = m_Right.Empty() ? text.size() : m_Right.Find(text, start);
            if (right == std::string_view::npos)
                break;
            matches.emplace_back(text.substr(start, right - start));
            from = right + m_Right.Size();
            if (m_Right.Empty())
                break;
        }
        if (matches.size() >= wanted)
            break;
    }
    return true;
}

// ----- regular expressions -----

bool CRegexpRule::Collect(const CSearchTexts& texts, std::size_t wanted,
                          std::vector<std::string>& matches, RegistrationReport& report,
                          std::string& error) const {
    // ECMAScript syntax (lazy quantifiers, \d, (?:...), look-ahead) run in
    // the library's polynomial mode: no exponential backtracking and no
    // recursion that grows with the text. That mode refuses back-references.
    std::regex expression;
    try {
        if (m_Pattern.size() > 8192)
            throw std::regex_error(std::regex_constants::error_complexity);
#if defined(__GLIBCXX__)
        expression.assign(m_Pattern, std::regex::ECMAScript | std::regex_constants::__polynomial);
#else
        // Other libraries have no such mode: the step budget still bounds
        // the time.
        expression.assign(m_Pattern, std::regex::ECMAScript);
#endif
    } catch (const std::regex_error& e) {
        error = "the regular expression \"" + m_Pattern + "\" cannot be used: ";
        error += (std::string(e.what()).find("back-reference") != std::string::npos)
                     ? "back-references are not supported"
                     : e.what();
        return false;
    } catch (const std::exception& e) {
        error = "the regular expression \"" + m_Pattern + "\" cannot be used: " + e.what();
        return false;
    }
    const std::size_t groups = expression.mark_count();
    std::size_t group = m_Group < 0 ? (groups > 0 ? 1 : 0) : static_cast<std::size_t>(m_Group);
    if (group > groups) {
        error = "Group=" + std::to_string(group) + " but the regular expression has " +
                std::to_string(groups) + " group(s)";
        return false;
    }

    for (const SearchText& piece : texts.Texts()) {
        std::string_view text = piece.text;
        if (text.size() > kMaxText) {
            report.Warn(Describe() + ": searched only the first " + std::to_string(kMaxText) +
                        " of the " + std::to_string(text.size()) + " bytes of " + Where(piece));
            text = text.substr(0, kMaxText);
        }
        // Steps for one text: linear in its size with a generous factor.
        long long budget = 16LL * static_cast<long long>(text.size()) + 4'000'000LL;
        const char* const begin = text.data();
        const char* const end = text.data() + text.size();
        const char* at = begin;
        try {
            std::match_results<CountingIterator> match;
            while (matches.size() < wanted && at <= end) {
                auto flags = std::regex_constants::match_default;
                if (at != begin)
                    flags |= std::regex_constants::match_prev_avail;
                if (!std::regex_search(CountingIterator(at, &budget),
                                       CountingIterator(end, &budget), match, expression, flags))
                    break;
                const auto& whole = match[0];
                const auto& wantedGroup = match[group];
                if (wantedGroup.matched)
                    matches.emplace_back(wantedGroup.first.Get(),
                                         wantedGroup.second.Get() - wantedGroup.first.Get());
                else
                    matches.emplace_back();
                const char* next = whole.second.Get();
                at = next == whole.first.Get() ? next + 1 : next;
            }
        } catch (const StepsExhausted&) {
            report.Warn(Describe() + ": the regular expression needed too many steps on " +
                        Where(piece) + " (" + std::to_string(text.size()) +
                        " bytes); stopped searching it");
        } catch (const std::exception& e) {
            report.Warn(Describe() + ": the regular expression failed on " + Where(piece) + ": " +
                        e.what());
        }
        if (matches.size() >= wanted)
            break;
    }
    return true;
}

// ----- JSONPath -----

bool CJsonRule::Collect(const CSearchTexts& texts, std::size_t wanted,
                        std::vector<std::string>& matches, RegistrationReport& report,
                        std::string& error) const {
    CJsonPathQuery query;
    if (!query.Compile(m_Query, error))
        return false;
    for (const SearchText& piece : texts.Texts()) {
        if (piece.headers)
            continue;
        std::string why;
        if (!query.Evaluate(piece.text, matches, why, wanted))
            report.Note(Describe() + ": skipped " + Where(piece) + ": " + why);
        if (matches.size() >= wanted)
            break;
    }
    return true;
}

// ----- XPath and tag attributes -----

bool CXPathRule::Collect(const CSearchTexts& texts, std::size_t wanted,
                         std::vector<std::string>& matches, RegistrationReport& report,
                         std::string& error) const {
    for (const SearchText& piece : texts.Texts()) {
        if (piece.headers)
            continue;
        const std::string* type = piece.from && piece.from->response
                                      ? piece.from->response->Header("Content-Type")
                                      : nullptr;
        std::string why;
        if (!CMarkupQuery::XPath(piece.text, CMarkupQuery::Detect(piece.text, type), m_Query,
                                 m_ReturnXml, matches, why, wanted)) {
            if (why.find("does not compile") != std::string::npos) {
                error = why;
                return false;
            }
            report.Note(Describe() + ": skipped " + Where(piece) + ": " + why);
        }
        if (matches.size() >= wanted)
            break;
    }
    return true;
}

bool CAttribRule::Collect(const CSearchTexts& texts, std::size_t wanted,
                          std::vector<std::string>& matches, RegistrationReport& report,
                          std::string&) const {
    for (const SearchText& piece : texts.Texts()) {
        if (piece.headers)
            continue;
        const std::string* type = piece.from && piece.from->response
                                      ? piece.from->response->Header("Content-Type")
                                      : nullptr;
        std::string why;
        if (!CMarkupQuery::Attributes(piece.text, CMarkupQuery::Detect(piece.text, type), m_Tag,
                                      m_Extract, m_Select, matches, why, wanted))
            report.Note(Describe() + ": skipped " + Where(piece) + ": " + why);
        if (matches.size() >= wanted)
            break;
    }
    return true;
}
