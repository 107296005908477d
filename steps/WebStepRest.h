#pragma once
// web_rest: a REST request written as one call, with its own header list.
#include <utility>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// A REST request: the request attributes ("URL", "Method", "EncType",
/// "Snapshot", "Body" and the other attributes of a custom request) in the
/// attribute set as written, and the request headers of the HEADERS section
/// as name/value pairs in script order. Getters of attribute-backed fields
/// share one scratch string.
class WEBSTEP_API CWebStepRest : public CWebStepWithAttributes {
public:
    using Header = std::pair<MString, MString>;

    CWebStepRest() = default;
    CWebStepRest(const CWebStepRest& other) = default;
    CWebStepRest& operator=(const CWebStepRest& other) = default;
    ~CWebStepRest() override;

    WEBSTEP_ATTRIBUTE_FIELD(Url, "URL")
    WEBSTEP_ATTRIBUTE_FIELD(Method, "Method")
    WEBSTEP_ATTRIBUTE_FIELD(EncType, "EncType")
    WEBSTEP_ATTRIBUTE_FIELD(Snapshot, "Snapshot")
    WEBSTEP_ATTRIBUTE_FIELD(Body, "Body")

    const std::vector<Header>& GetHeaders() const { return m_Headers; }
    void AddHeader(const char* name, const char* value);
    void ResetHeaders() { m_Headers.clear(); }

private:
    mutable MString m_Scratch;
    std::vector<Header> m_Headers;
};
