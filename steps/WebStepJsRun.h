#pragma once
// JavaScript steps: running code or a file in the script's engine
// (web_js_run) and starting that engine afresh (web_js_reset).
#include <list>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepData.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// web_js_run: "Code" or "File", the parameter that receives the result
/// ("ResultParam"), and the source files loaded first (the SOURCES items, in
/// script order). Getters of attribute-backed fields share one scratch string.
class WEBSTEP_API CWebStepJsRun : public CWebStepWithAttributes {
public:
    CWebStepJsRun() = default;
    CWebStepJsRun(const CWebStepJsRun& other) = default;
    CWebStepJsRun& operator=(const CWebStepJsRun& other) = default;
    ~CWebStepJsRun() override;

    WEBSTEP_ATTRIBUTE_FIELD(Code, "Code")
    WEBSTEP_ATTRIBUTE_FIELD(File, "File")
    WEBSTEP_ATTRIBUTE_FIELD(ResultParam, "ResultParam")

    const std::list<MString>& GetSources() const { return m_Sources; }
    void AddSource(const char* file);

private:
    mutable MString m_Scratch;
    std::list<MString> m_Sources;
};

/// web_js_reset: no fields.
class WEBSTEP_API CWebStepJsReset : public CWebStepData {
public:
    CWebStepJsReset() = default;
    CWebStepJsReset(const CWebStepJsReset& other) = default;
    CWebStepJsReset& operator=(const CWebStepJsReset& other) = default;
    ~CWebStepJsReset() override;
};
