#pragma once
// The browser cache of a virtual user: saved to a file (web_dump_cache),
// loaded from one (web_load_cache), and downloads that continue across steps
// (web_reg_cross_step_download).
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// web_dump_cache: the parameter that receives the file name, the
/// "FileName" and whether an existing file is replaced ("Replace", yes or
/// no). Getters of attribute-backed fields share one scratch string.
class WEBSTEP_API CWebStepDumpCache : public CWebStepWithAttributes {
public:
    CWebStepDumpCache() = default;
    CWebStepDumpCache(const CWebStepDumpCache& other) = default;
    CWebStepDumpCache& operator=(const CWebStepDumpCache& other) = default;
    ~CWebStepDumpCache() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);
    WEBSTEP_ATTRIBUTE_FIELD(FileName, "FileName")
    WEBSTEP_ATTRIBUTE_FIELD(Replace, "Replace")

private:
    mutable MString m_Scratch;
    MString m_ParamName;
};

/// web_load_cache: the parameter named in the call and the "FileName".
class WEBSTEP_API CWebStepLoadCache : public CWebStepWithAttributes {
public:
    CWebStepLoadCache() = default;
    CWebStepLoadCache(const CWebStepLoadCache& other) = default;
    CWebStepLoadCache& operator=(const CWebStepLoadCache& other) = default;
    ~CWebStepLoadCache() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);
    WEBSTEP_ATTRIBUTE_FIELD(FileName, "FileName")

private:
    mutable MString m_Scratch;
    MString m_ParamName;
};

/// web_reg_cross_step_download: the resources ("URL", with "ContentType",
/// "Callback" and the other options as written) whose download may run on
/// past the end of the step. Getters share one scratch string.
class WEBSTEP_API CWebStepRegCrossStepDownload : public CWebStepWithAttributes {
public:
    CWebStepRegCrossStepDownload() = default;
    CWebStepRegCrossStepDownload(const CWebStepRegCrossStepDownload& other) = default;
    CWebStepRegCrossStepDownload& operator=(const CWebStepRegCrossStepDownload& other) = default;
    ~CWebStepRegCrossStepDownload() override;

    WEBSTEP_ATTRIBUTE_FIELD(Url, "URL")
    WEBSTEP_ATTRIBUTE_FIELD(ContentType, "ContentType")

private:
    mutable MString m_Scratch;
};
