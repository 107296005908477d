#pragma once
// Steps that carry C code or an expression rather than a web call; built directly by the programs
// that use them.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/StepText.h"
#include "webstep/steps/WebStepData.h"

/// Where the code of a C-code step goes relative to the surrounding steps.
enum CodeCFlags : unsigned int {
    CODEC_NONE = 0,
    CODEC_BEFORE_STEP = 1,
    CODEC_AFTER_STEP = 2,
    CODEC_GLOBAL = 4,
};
WEBSTEP_FLAG_OPERATORS(CodeCFlags)

/// A step holding C code and where it goes relative to the surrounding
/// steps; made directly by the programs that use it, not by a parser.
class WEBSTEP_API CWebStepCodeC : public CWebStepData {
public:
    CWebStepCodeC();
    CWebStepCodeC(const CWebStepCodeC& other);
    CWebStepCodeC& operator=(const CWebStepCodeC& other);
    ~CWebStepCodeC() override;

    const MString& GetCode() const { return m_Code; }
    void SetCode(const MString& text) { m_Code = text; }
    CodeCFlags GetLocation() const { return m_Location; }
    void SetLocation(CodeCFlags value) { m_Location = value; }

private:
    MString m_Code;
    CodeCFlags m_Location;
};

/// A step that saves a value into a parameter; made directly by the programs
/// that use it, not by a parser.
class WEBSTEP_API CQzStepSaveInt : public CWebStepData {
public:
    CQzStepSaveInt();
    CQzStepSaveInt(const CQzStepSaveInt& other);
    CQzStepSaveInt& operator=(const CQzStepSaveInt& other);
    ~CQzStepSaveInt() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const MString& text) { m_ParamName = text; }
    const MString& GetExpression() const { return m_Expression; }
    void SetExpression(const MString& text) { m_Expression = text; }

private:
    MString m_ParamName;
    MString m_Expression;
};
