#pragma once
// Parameter conversions: between encodings (web_convert_param) and between
// date formats (built directly by the programs that use it).
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// Attribute-backed; getters share one scratch string.
class WEBSTEP_API CWebStepConvertParam : public CWebStepWithAttributes {
public:
    CWebStepConvertParam();
    CWebStepConvertParam(const CWebStepConvertParam& other);
    CWebStepConvertParam& operator=(const CWebStepConvertParam& other);
    ~CWebStepConvertParam() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);
    /// "SourceString"
    const MString& GetSourceString() const;
    void SetSourceString(const char* text);
    /// "SourceEncoding"
    const MString& GetSourceEncoding() const;
    void SetSourceEncoding(const char* text);
    /// "TargetEncoding"
    const MString& GetTargetEncoding() const;
    void SetTargetEncoding(const char* text);

private:
    MString m_ParamName;
    mutable MString m_Scratch;
};

/// Attribute-backed; getters share one scratch string.
class WEBSTEP_API CWebStepConvertDateParam : public CWebStepWithAttributes {
public:
    CWebStepConvertDateParam();
    CWebStepConvertDateParam(const CWebStepConvertDateParam& other);
    CWebStepConvertDateParam& operator=(const CWebStepConvertDateParam& other);
    ~CWebStepConvertDateParam() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);
    /// "SourceFormat"
    const MString& GetSourceFormat() const;
    void SetSourceFormat(const char* text);
    /// "TargetFormat"
    const MString& GetTargetFormat() const;
    void SetTargetFormat(const char* text);
    /// "TargetParameter"
    const MString& GetTargetParameterName() const;
    void SetTargetParameterName(const char* text);

private:
    MString m_ParamName;
    mutable MString m_Scratch;
};
