#pragma once
// Non-navigation steps whose options are a free attribute set, and the content
// checks among them.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"
#include "webstep/steps/WebStepData.h"

/// Base of the steps whose options are a free attribute set (checks,
/// correlation, conversions); the attribute-backed getters give an empty
/// text for an attribute that is not there.
class WEBSTEP_API CWebStepWithAttributes : public CWebStepData {
public:
    CWebStepWithAttributes();
    explicit CWebStepWithAttributes(const CAttributeSet& attributes);
    CWebStepWithAttributes(const CWebStepWithAttributes& other);
    CWebStepWithAttributes& operator=(const CWebStepWithAttributes& other);
    ~CWebStepWithAttributes() override;

    CAttributeSet& GetAttributes() { return m_Attributes; }
    const CAttributeSet& GetAttributes() const { return m_Attributes; }

protected:
    /// Attribute-backed fields: stores the value under the name, replacing the
    /// first record of that name or appending a new one (null counts as "").
    void SetAttributeValue(const char* name, const char* value);
    /// Copies the named value (empty when absent) into scratch and returns it.
    const MString& GetAttributeValue(const char* name, MString& scratch) const;

private:
    CAttributeSet m_Attributes;
};

/// A content check; what to search, where, and what to report live in the
/// inherited attribute set.
class WEBSTEP_API CWebCheckStep : public CWebStepWithAttributes {
public:
    /// What a check reports.
    enum ReportOption {
        REPORT_ALWAYS = 0,
        REPORT_FAILURE = 1,
        REPORT_SUCCESS = 2,
    };

    CWebCheckStep();
    explicit CWebCheckStep(const CAttributeSet& attributes);
    CWebCheckStep(const CWebCheckStep& other);
    CWebCheckStep& operator=(const CWebCheckStep& other);
    ~CWebCheckStep() override;
};
