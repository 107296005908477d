#pragma once
// web_global_verification: a text check applied to every following response,
// and the steps that pause and resume such checks by identifier.
#include <list>
#include <utility>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/StepText.h"
#include "webstep/steps/WebStepData.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// Options of a global verification text (only these two are accepted).
enum GlobalVerificationFlags : unsigned int {
    GVF_NONE = 0,
    GVF_IGNORE_CASE = 1,  // "IC"
    GVF_BINARY = 2,       // "BIN"
};
WEBSTEP_FLAG_OPERATORS(GlobalVerificationFlags)

/// Attribute-backed; the texts are stored under "Text", "TextPfx" and
/// "TextSfx" followed by "/IC" and "/BIN" for their current flags, as the
/// script writes them; set the flags before the text. Getters share one
/// scratch string.
class WEBSTEP_API CWebStepGlobalVerification : public CWebStepWithAttributes {
public:
    CWebStepGlobalVerification();
    CWebStepGlobalVerification(const CWebStepGlobalVerification& other);
    CWebStepGlobalVerification& operator=(const CWebStepGlobalVerification& other);
    ~CWebStepGlobalVerification() override;

    GlobalVerificationFlags GetTextFlags() const { return m_TextFlags; }
    void SetTextFlags(GlobalVerificationFlags flags) { m_TextFlags = flags; }
    GlobalVerificationFlags GetTextPfxFlags() const { return m_TextPfxFlags; }
    void SetTextPfxFlags(GlobalVerificationFlags flags) { m_TextPfxFlags = flags; }
    GlobalVerificationFlags GetTextSfxFlags() const { return m_TextSfxFlags; }
    void SetTextSfxFlags(GlobalVerificationFlags flags) { m_TextSfxFlags = flags; }

    const MString& GetText() const;
    void SetText(const char* text);
    const MString& GetTextPfx() const;
    void SetTextPfx(const char* text);
    const MString& GetTextSfx() const;
    void SetTextSfx(const char* text);
    /// "Search"
    const MString& GetSearchScope() const;
    void SetSearchScope(const char* text);
    /// "Fail"
    const MString& GetFailIf() const;
    void SetFailIf(const char* text);

    /// The attribute name of a text with the given flags ("Text/BIN").
    static MString TextName(const char* base, GlobalVerificationFlags flags);

private:
    GlobalVerificationFlags m_TextFlags;
    GlobalVerificationFlags m_TextPfxFlags;
    GlobalVerificationFlags m_TextSfxFlags;
    mutable MString m_Scratch;
};

/// The identifiers of the global verifications to pause or resume.
class WEBSTEP_API CWebStepGlobalVerificationPauseResumeBase : public CWebStepData {
public:
    CWebStepGlobalVerificationPauseResumeBase();
    CWebStepGlobalVerificationPauseResumeBase(
        const CWebStepGlobalVerificationPauseResumeBase& other);
    CWebStepGlobalVerificationPauseResumeBase& operator=(
        const CWebStepGlobalVerificationPauseResumeBase& other);
    ~CWebStepGlobalVerificationPauseResumeBase() override;

    void AddID(MString id) { m_IDs.push_back(std::move(id)); }
    void ResetAll() { m_IDs.clear(); }
    const std::list<MString>& GetIDs() const { return m_IDs; }

private:
    std::list<MString> m_IDs;
};

/// web_global_verification_pause: the named global verifications paused.
class WEBSTEP_API CWebStepGlobalVerificationPause
    : public CWebStepGlobalVerificationPauseResumeBase {
public:
    CWebStepGlobalVerificationPause();
    CWebStepGlobalVerificationPause(const CWebStepGlobalVerificationPause& other);
    CWebStepGlobalVerificationPause& operator=(const CWebStepGlobalVerificationPause& other);
    ~CWebStepGlobalVerificationPause() override;
};

/// web_global_verification_resume: the named global verifications resumed.
class WEBSTEP_API CWebStepGlobalVerificationResume
    : public CWebStepGlobalVerificationPauseResumeBase {
public:
    CWebStepGlobalVerificationResume();
    CWebStepGlobalVerificationResume(const CWebStepGlobalVerificationResume& other);
    CWebStepGlobalVerificationResume& operator=(const CWebStepGlobalVerificationResume& other);
    ~CWebStepGlobalVerificationResume() override;
};
