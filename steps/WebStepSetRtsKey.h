#pragma once
// web_set_rts_key: changes one run-time setting for the rest of the run.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// The setting's "Key" and its new "Value". Getters share one scratch string.
class WEBSTEP_API CWebStepSetRtsKey : public CWebStepWithAttributes {
public:
    CWebStepSetRtsKey() = default;
    CWebStepSetRtsKey(const CWebStepSetRtsKey& other) = default;
    CWebStepSetRtsKey& operator=(const CWebStepSetRtsKey& other) = default;
    ~CWebStepSetRtsKey() override;

    WEBSTEP_ATTRIBUTE_FIELD(Key, "Key")
    WEBSTEP_ATTRIBUTE_FIELD(Value, "Value")

private:
    mutable MString m_Scratch;
};
