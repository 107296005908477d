#pragma once
// Steps that write a parameter from the script itself: the current time
// (web_save_timestamp_param) and the length of another parameter
// (web_save_param_length).
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepCreateHtmlParam.h"
#include "webstep/steps/WebStepData.h"

/// web_save_timestamp_param: the parameter that receives the time stamp.
class WEBSTEP_API CWebStepSaveTimestampParam : public CWebStepData {
public:
    CWebStepSaveTimestampParam() = default;
    CWebStepSaveTimestampParam(const CWebStepSaveTimestampParam& other) = default;
    CWebStepSaveTimestampParam& operator=(const CWebStepSaveTimestampParam& other) = default;
    ~CWebStepSaveTimestampParam() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);

private:
    MString m_ParamName;
};

/// web_save_param_length: the conversion base of the length step plus the
/// name of the parameter whose length is saved.
class WEBSTEP_API CWebStepSaveParamLengthEx : public CWebStepSaveParamLength {
public:
    CWebStepSaveParamLengthEx() = default;
    CWebStepSaveParamLengthEx(const CWebStepSaveParamLengthEx& other) = default;
    CWebStepSaveParamLengthEx& operator=(const CWebStepSaveParamLengthEx& other) = default;
    ~CWebStepSaveParamLengthEx() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);

private:
    MString m_ParamName;
};
