#pragma once
// web_reg_find and web_global_verification: a text (or a prefix and a suffix)
// looked for in a step's responses, failing the step when it is absent or
// present as asked, and counting its occurrences.
#include <cstddef>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/replay/BoundaryText.h"
#include "webstep/replay/Registration.h"

/// A text check. Occurrences do not overlap; with a prefix and a suffix an
/// occurrence is the prefix followed, anywhere later, by the suffix, and the
/// next one is looked for after that suffix.
class WEBSTEP_API CFindCheck : public CRegistration {
public:
    /// When the check fails the step.
    enum class FailWhen { NotFound, Found, Never };

    /// The options read from the step.
    struct Options {
        std::string function;  ///< "web_reg_find" or "web_global_verification"
        std::string id;        ///< ID= (global verifications are paused by it)
        CBoundaryText text;
        CBoundaryText prefix;
        CBoundaryText suffix;
        bool pair = false;  ///< TextPfx and TextSfx rather than Text
        SearchFilter filter;
        /// Fail= NotFound by default; Never when only SaveCount is asked.
        FailWhen fail = FailWhen::NotFound;
        std::string saveCount;  ///< SaveCount= parameter, or empty
        bool global = false;
    };

    explicit CFindCheck(Options options) : m_Options(std::move(options)) {}
    ~CFindCheck() override;

    void Apply(const std::vector<StepResponse>& responses, CParameterContext& params,
               const RegistrationLimits& limits, RegistrationReport& report) const override;
    bool IsGlobal() const override { return m_Options.global; }
    std::string Id() const override { return m_Options.id; }
    std::string Describe() const override;

    /// Occurrences in the texts.
    std::size_t Count(const CSearchTexts& texts) const;
    const Options& GetOptions() const { return m_Options; }

private:
    Options m_Options;
};
