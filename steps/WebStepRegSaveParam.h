#pragma once
// web_reg_save_param: a rule that saves the part of the next response between
// a left and a right boundary into a parameter.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/StepText.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// Options of a boundary, written as suffixes of its attribute name.
enum RegSaveParamFlags : unsigned int {
    RSPF_NONE = 0,
    RSPF_IGNORE_CASE = 1,  // "IC"
    RSPF_BINARY = 2,       // "BIN"
    RSPF_DIGITS = 4,       // "DIG"
    RSPF_ALNUMIC = 8,      // "ALNUMIC"
    RSPF_ALNUMLC = 16,     // "ALNUMLC"
    RSPF_ALNUMUC = 32,     // "ALNUMUC"
};
WEBSTEP_FLAG_OPERATORS(RegSaveParamFlags)

/// Most fields live in the attribute set; each getter copies the value into
/// one scratch string and returns it, so the next getter call overwrites what
/// an earlier one returned. The boundaries are stored under "LB" and "RB"
/// followed by the suffixes of the current flags ("LB/IC/BIN"): set the flags
/// before the boundary text, since changing them later makes the getter look
/// under another name.
class WEBSTEP_API CWebStepRegSaveParam : public CWebStepWithAttributes {
public:
    CWebStepRegSaveParam();
    CWebStepRegSaveParam(const CWebStepRegSaveParam& other);
    CWebStepRegSaveParam& operator=(const CWebStepRegSaveParam& other);
    ~CWebStepRegSaveParam() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);
    RegSaveParamFlags GetLeftBoundFlags() const { return m_LeftBoundFlags; }
    void SetLeftBoundFlags(RegSaveParamFlags flags) { m_LeftBoundFlags = flags; }
    RegSaveParamFlags GetRightBoundFlags() const { return m_RightBoundFlags; }
    void SetRightBoundFlags(RegSaveParamFlags flags) { m_RightBoundFlags = flags; }

    /// "Ord": the decimal text when above 0, otherwise "1".
    const MString& GetInstance() const;
    void SetInstance(int instance);
    /// Stores the text unchanged (for "All" or a parameter reference).
    void SetInstance(const char* text);
    /// "NotFound"
    const MString& GetNotFound() const;
    void SetNotFound(const char* text);
    /// "Search"
    const MString& GetSearchScope() const;
    void SetSearchScope(const char* text);
    /// "RelFrameId"
    const MString& GetRelativeFrameId() const;
    void SetRelativeFrameId(const char* text);
    /// "SaveOffset": "0" for 0, otherwise the decimal text.
    const MString& GetSaveOffset() const;
    void SetSaveOffset(unsigned int offset);
    /// "SaveLen": the decimal text when 0 or more, an empty value when negative.
    const MString& GetSaveLen() const;
    void SetSaveLen(long length);
    /// "AutoCorrelationFunction"
    const MString& GetCallbackName() const;
    void SetCallbackName(const char* text);
    /// "AutoCorrelationDll"
    const MString& GetCallbackDLLName() const;
    void SetCallbackDLLName(const char* text);
    /// "IgnoreRedirections"
    const MString& GetIgnoreRedirections() const;
    void SetIgnoreRedirections(const char* text);
    /// "LB" with the suffixes of the left-boundary flags.
    const MString& GetLeft() const;
    void SetLeft(const char* text);
    /// "RB" with the suffixes of the right-boundary flags.
    const MString& GetRight() const;
    void SetRight(const char* text);

    /// The attribute names the boundaries are stored under with given flags.
    static MString LeftBoundName(RegSaveParamFlags flags);
    static MString RightBoundName(RegSaveParamFlags flags);

private:
    MString m_ParamName;
    RegSaveParamFlags m_LeftBoundFlags;
    RegSaveParamFlags m_RightBoundFlags;
    mutable MString m_Scratch;
};
