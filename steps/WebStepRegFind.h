#pragma once
// web_reg_find: a rule that checks the next response for a text.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/StepText.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// Options of a search text, written as suffixes of its attribute name.
enum RegFindFlags : unsigned int {
    RFF_NONE = 0,
    RFF_IGNORE_CASE = 1,  // "IC"
    RFF_BINARY = 2,       // "BIN"
    RFF_DIGITS = 4,       // "DIG"
    RFF_ALNUMIC = 8,      // "ALNUMIC"
    RFF_ALNUMLC = 16,     // "ALNUMLC"
    RFF_ALNUMUC = 32,     // "ALNUMUC"
};
WEBSTEP_FLAG_OPERATORS(RegFindFlags)

/// Attribute-backed like the parameter-saving step, including its naming: the
/// texts are stored under "Text", "TextPfx" and "TextSfx" followed by the
/// suffixes of their current flags (so that the attribute set reads as the
/// script wrote it, "Text/IC=..."); set the flags before the text. Getters
/// share one scratch string.
class WEBSTEP_API CWebStepRegFind : public CWebStepWithAttributes {
public:
    CWebStepRegFind();
    CWebStepRegFind(const CWebStepRegFind& other);
    CWebStepRegFind& operator=(const CWebStepRegFind& other);
    ~CWebStepRegFind() override;

    RegFindFlags GetTextFlags() const { return m_TextFlags; }
    void SetTextFlags(RegFindFlags flags) { m_TextFlags = flags; }
    RegFindFlags GetTextPfxFlags() const { return m_TextPfxFlags; }
    void SetTextPfxFlags(RegFindFlags flags) { m_TextPfxFlags = flags; }
    RegFindFlags GetTextSfxFlags() const { return m_TextSfxFlags; }
    void SetTextSfxFlags(RegFindFlags flags) { m_TextSfxFlags = flags; }

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
    const MString& GetFail() const;
    void SetFail(const char* text);
    /// "SaveCount"
    const MString& GetSaveCount() const;
    void SetSaveCount(const char* text);

    /// The attribute name of a text with the given flags ("Text/IC").
    static MString TextName(const char* base, RegFindFlags flags);

private:
    RegFindFlags m_TextFlags;
    RegFindFlags m_TextPfxFlags;
    RegFindFlags m_TextSfxFlags;
    mutable MString m_Scratch;
};
