#pragma once
// Conversions between raw data and a formatted (readable) form of it:
// web_convert_to_formatted and web_convert_from_formatted.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// web_convert_to_formatted: "RawData" through the codec chain "ChainName"
/// into the parameter "TargetParam". Getters share one scratch string.
class WEBSTEP_API CWebStepConvertToFormatted : public CWebStepWithAttributes {
public:
    CWebStepConvertToFormatted() = default;
    CWebStepConvertToFormatted(const CWebStepConvertToFormatted& other) = default;
    CWebStepConvertToFormatted& operator=(const CWebStepConvertToFormatted& other) = default;
    ~CWebStepConvertToFormatted() override;

    WEBSTEP_ATTRIBUTE_FIELD(RawData, "RawData")
    WEBSTEP_ATTRIBUTE_FIELD(TargetParam, "TargetParam")
    WEBSTEP_ATTRIBUTE_FIELD(ChainName, "ChainName")

private:
    mutable MString m_Scratch;
};

/// web_convert_from_formatted: "FormattedData" back to raw data in the
/// parameter "TargetParam", with the codec "Extensions". Getters share one
/// scratch string.
class WEBSTEP_API CWebStepConvertFromFormatted : public CWebStepWithAttributes {
public:
    CWebStepConvertFromFormatted() = default;
    CWebStepConvertFromFormatted(const CWebStepConvertFromFormatted& other) = default;
    CWebStepConvertFromFormatted& operator=(const CWebStepConvertFromFormatted& other) = default;
    ~CWebStepConvertFromFormatted() override;

    WEBSTEP_ATTRIBUTE_FIELD(FormattedData, "FormattedData")
    WEBSTEP_ATTRIBUTE_FIELD(TargetParam, "TargetParam")
    WEBSTEP_ATTRIBUTE_FIELD(Extensions, "Extensions")

private:
    mutable MString m_Scratch;
};
