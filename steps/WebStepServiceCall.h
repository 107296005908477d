#pragma once
// web_service_call: a web service operation with its arguments and the
// parts of the result that are saved.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// The call's attributes ("StepName", "SOAPMethod", "ResponseParam",
/// "Service", "ExpectedResponse", "Snapshot", ...) in the attribute set, the
/// BEGIN_ARGUMENTS items and the BEGIN_RESULT items each in their own set, as
/// written. Getters of attribute-backed fields share one scratch string.
class WEBSTEP_API CWebStepServiceCall : public CWebStepWithAttributes {
public:
    CWebStepServiceCall() = default;
    CWebStepServiceCall(const CWebStepServiceCall& other) = default;
    CWebStepServiceCall& operator=(const CWebStepServiceCall& other) = default;
    ~CWebStepServiceCall() override;

    WEBSTEP_ATTRIBUTE_FIELD(StepName, "StepName")
    WEBSTEP_ATTRIBUTE_FIELD(SOAPMethod, "SOAPMethod")
    WEBSTEP_ATTRIBUTE_FIELD(ResponseParam, "ResponseParam")
    WEBSTEP_ATTRIBUTE_FIELD(Service, "Service")
    WEBSTEP_ATTRIBUTE_FIELD(ExpectedResponse, "ExpectedResponse")
    WEBSTEP_ATTRIBUTE_FIELD(Snapshot, "Snapshot")

    CAttributeSet& GetArguments() { return m_Arguments; }
    const CAttributeSet& GetArguments() const { return m_Arguments; }
    CAttributeSet& GetResults() { return m_Results; }
    const CAttributeSet& GetResults() const { return m_Results; }

private:
    mutable MString m_Scratch;
    CAttributeSet m_Arguments;
    CAttributeSet m_Results;
};
