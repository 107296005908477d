#include "webstep/steps/WebStepCustomRequest.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepCustomRequest::CWebStepCustomRequest() : m_UseEncType(false) {}

CWebStepCustomRequest::CWebStepCustomRequest(const CWebStepCustomRequest& other) = default;

CWebStepCustomRequest& CWebStepCustomRequest::operator=(const CWebStepCustomRequest& other) {
    if (this != &other) {
        CWebContextlessStep::operator=(other);
        m_Method = other.m_Method;
        m_Url = other.m_Url;
        m_Body = other.m_Body;
        m_UseEncType = other.m_UseEncType;
        m_EncType = other.m_EncType;
        m_RawBodyStartEnd = other.m_RawBodyStartEnd;
        m_RequestHeaders = other.m_RequestHeaders;
        m_RequestBody = other.m_RequestBody;
        m_ResponseHeaders = other.m_ResponseHeaders;
        m_ResponseBody = other.m_ResponseBody;
        m_ContentEncoding = other.m_ContentEncoding;
    }
    return *this;
}

CWebStepCustomRequest::~CWebStepCustomRequest() = default;

void CWebStepCustomRequest::SetMethod(const char* text) {
    AssignText(m_Method, text);
}
void CWebStepCustomRequest::SetUrl(const char* text) {
    AssignText(m_Url, text);
}
void CWebStepCustomRequest::SetEncType(const char* text) {
    AssignText(m_EncType, text);
}
void CWebStepCustomRequest::SetRequestHeaders(const char* text) {
    AssignText(m_RequestHeaders, text);
}
void CWebStepCustomRequest::SetResponseHeaders(const char* text) {
    AssignText(m_ResponseHeaders, text);
}
void CWebStepCustomRequest::SetContentEncoding(const char* text) {
    AssignText(m_ContentEncoding, text);
}

void CWebStepCustomRequest::SetRequestBody(const char* data, unsigned int length) {
    if (data != nullptr) {
        m_RequestBody.assign(data, length);
    } else {
        m_RequestBody.clear();
    }
}

void CWebStepCustomRequest::SetResponseBody(const char* data, unsigned int length) {
    if (data != nullptr) {
        m_ResponseBody.assign(data, length);
    } else {
        m_ResponseBody.clear();
    }
}

CWebStepUrl::CWebStepUrl() = default;
CWebStepUrl::CWebStepUrl(const CWebStepUrl& other) = default;
CWebStepUrl& CWebStepUrl::operator=(const CWebStepUrl& other) {
    CWebStepCustomRequest::operator=(other);
    return *this;
}
CWebStepUrl::~CWebStepUrl() = default;

CWebStepFlexCustomRequest::CWebStepFlexCustomRequest() = default;
CWebStepFlexCustomRequest::CWebStepFlexCustomRequest(const CWebStepFlexCustomRequest& other) =
    default;
CWebStepFlexCustomRequest& CWebStepFlexCustomRequest::operator=(
    const CWebStepFlexCustomRequest& other) {
    CWebStepCustomRequest::operator=(other);
    return *this;
}
CWebStepFlexCustomRequest::~CWebStepFlexCustomRequest() = default;

CWebStepSilverlightCustomRequest::CWebStepSilverlightCustomRequest() = default;
CWebStepSilverlightCustomRequest::CWebStepSilverlightCustomRequest(
    const CWebStepSilverlightCustomRequest& other) = default;
CWebStepSilverlightCustomRequest& CWebStepSilverlightCustomRequest::operator=(
    const CWebStepSilverlightCustomRequest& other) {
    CWebStepCustomRequest::operator=(other);
    return *this;
}
CWebStepSilverlightCustomRequest::~CWebStepSilverlightCustomRequest() = default;
