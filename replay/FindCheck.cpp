#include "webstep/replay/FindCheck.h"

#include "webstep/recording/ParameterContext.h"

CFindCheck::~CFindCheck() = default;

std::string CFindCheck::Describe() const {
    std::string what = m_Options.function;
    if (!m_Options.id.empty())
        what += " " + m_Options.id;
    if (m_Options.pair)
        what += " \"" + m_Options.prefix.Bytes() + "\"...\"" + m_Options.suffix.Bytes() + "\"";
    else
        what += " \"" + m_Options.text.Bytes() + "\"";
    return what;
}

std::size_t CFindCheck::Count(const CSearchTexts& texts) const {
    std::size_t count = 0;
    for (const SearchText& piece : texts.Texts()) {
        if (!m_Options.pair) {
            count += m_Options.text.Count(piece.text);
            continue;
        }
        std::size_t from = 0;
        for (;;) {
            const std::size_t prefix = m_Options.prefix.Find(piece.text, from);
            if (prefix == std::string_view::npos)
                break;
            const std::size_t suffix =
                m_Options.suffix.Find(piece.text, prefix + m_Options.prefix.Size());
            if (suffix == std::string_view::npos)
                break;
            ++count;
            // Empty halves would find the same place again: step past it.
            const std::size_t next = suffix + m_Options.suffix.Size();
            from = next > from ? next : from + 1;
            if (from > piece.text.size())
                break;
        }
    }
    return count;
}

void CFindCheck::Apply(const std::vector<StepResponse>& responses, CParameterContext& params,
                       const RegistrationLimits&, RegistrationReport& report) const {
    CSearchTexts texts(responses, m_Options.filter);
    const std::size_t count = Count(texts);
    if (!m_Options.saveCount.empty()) {
        params.SaveParameter(m_Options.saveCount, std::to_string(count));
        report.saved.emplace_back(m_Options.saveCount, std::to_string(count));
    }
    std::string words = Describe() + ": found " + std::to_string(count) + " time(s) in " +
                        std::to_string(texts.Texts().size()) + " searched text(s)";
    bool failed = false;
    switch (m_Options.fail) {
        case FailWhen::NotFound:
            failed = count == 0;
            words += failed ? "; Fail=NotFound: failed" : "; passed";
            break;
        case FailWhen::Found:
            failed = count > 0;
            words += failed ? "; Fail=Found: failed" : "; passed";
            break;
        case FailWhen::Never:
            words += "; counted only";
            break;
    }
    report.checks.push_back(words);
    if (failed)
        report.Fail(words);
}
