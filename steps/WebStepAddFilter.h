#pragma once
// Request filters: which requests a step (web_add_filter) or every later
// step (web_add_auto_filter) sends, and the end of an automatic filter
// (web_remove_auto_filter).
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// web_add_filter: "Action" (Include or Exclude) and the one criterion the
/// call gives ("Url", "UrlPrefix", "Host", "Path", "Port", "Scheme" or
/// "Query"), whose name and value are also kept as fields. Getters of
/// attribute-backed fields share one scratch string.
class WEBSTEP_API CWebStepAddFilter : public CWebStepWithAttributes {
public:
    CWebStepAddFilter() = default;
    CWebStepAddFilter(const CWebStepAddFilter& other) = default;
    CWebStepAddFilter& operator=(const CWebStepAddFilter& other) = default;
    ~CWebStepAddFilter() override;

    WEBSTEP_ATTRIBUTE_FIELD(Action, "Action")
    const MString& GetCriterion() const { return m_Criterion; }
    const MString& GetCriterionValue() const { return m_CriterionValue; }
    void SetCriterion(const char* name, const char* value);

protected:
    mutable MString m_Scratch;

private:
    MString m_Criterion;
    MString m_CriterionValue;
};

/// web_add_auto_filter: the same fields, for every later step.
class WEBSTEP_API CWebStepAddAutoFilter : public CWebStepAddFilter {
public:
    CWebStepAddAutoFilter() = default;
    CWebStepAddAutoFilter(const CWebStepAddAutoFilter& other) = default;
    CWebStepAddAutoFilter& operator=(const CWebStepAddAutoFilter& other) = default;
    ~CWebStepAddAutoFilter() override;
};

/// web_remove_auto_filter: the same fields, naming the filter to remove.
class WEBSTEP_API CWebStepRemoveAutoFilter : public CWebStepAddFilter {
public:
    CWebStepRemoveAutoFilter() = default;
    CWebStepRemoveAutoFilter(const CWebStepRemoveAutoFilter& other) = default;
    CWebStepRemoveAutoFilter& operator=(const CWebStepRemoveAutoFilter& other) = default;
    ~CWebStepRemoveAutoFilter() override;
};
