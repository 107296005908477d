#pragma once
// Requests stated in full (method, URL, body parts, raw body) and the steps
// built the same way: web_url, flex and silverlight requests.
#include <list>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebActionStep.h"

/// web_custom_request: a request with its method, URL, body parts in script
/// order (text, Unicode, binary, body variables), encoding type, raw body
/// and recorded headers and bodies. WriteBodyToFile returns false when a
/// file cannot be written.
class WEBSTEP_API CWebStepCustomRequest : public CWebContextlessStep {
public:
    /// How a body part was written in the script.
    enum BodyEncoding {
        BODY_TEXT = 0,      // "Body"
        BODY_UNICODE = 1,   // "BodyUnicode"
        BODY_BINARY = 2,    // "BodyBinary", or a single body marked binary
        BODY_VARIABLE = 3,  // an attribute whose name starts with "body"
    };

    /// One piece of request body with the encoding it was written in.
    struct tag_BodyAndEncoding {
        MString attributeName;  // the name as written, kept for body variables
        MString value;
        int encoding = BODY_TEXT;  // a BodyEncoding
    };
    using BodyList = std::list<tag_BodyAndEncoding>;

    CWebStepCustomRequest();
    CWebStepCustomRequest(const CWebStepCustomRequest& other);
    CWebStepCustomRequest& operator=(const CWebStepCustomRequest& other);
    ~CWebStepCustomRequest() override;

    const MString& GetMethod() const { return m_Method; }
    void SetMethod(const char* text);
    const MString& GetUrl() const { return m_Url; }
    void SetUrl(const char* text);
    /// Body parts in script order.
    const BodyList& GetBody() const { return m_Body; }
    BodyList& GetBody() { return m_Body; }
    void SetBody(const BodyList& body) { m_Body = body; }
    bool GetUseEncType() const { return m_UseEncType; }
    void SetUseEncType(bool use) { m_UseEncType = use; }
    const MString& GetEncType() const { return m_EncType; }
    void SetEncType(const char* text);
    /// The raw-body texts, the first being the start marker.
    const std::list<MString>& GetRawBodyStartEnd() const { return m_RawBodyStartEnd; }
    void SetRawBodyStartEnd(const std::list<MString>& texts) { m_RawBodyStartEnd = texts; }
    const MString& GetRequestHeaders() const { return m_RequestHeaders; }
    void SetRequestHeaders(const char* text);
    /// Bodies may hold zero bytes, hence the explicit length; a null pointer
    /// stores an empty body.
    const MString& GetRequestBody() const { return m_RequestBody; }
    void SetRequestBody(const char* data, unsigned int length);
    const MString& GetResponseHeaders() const { return m_ResponseHeaders; }
    void SetResponseHeaders(const char* text);
    const MString& GetResponseBody() const { return m_ResponseBody; }
    void SetResponseBody(const char* data, unsigned int length);
    const MString& GetContentEncoding() const { return m_ContentEncoding; }
    void SetContentEncoding(const char* text);

    /// Writes the body variables into the custom body header file of the
    /// directory and renames each such part to its variable; false when a
    /// file cannot be opened. Defined with the custom body file writer.
    bool WriteBodyToFile(const MString& directory, const MString& stepName, int& counter);

private:
    MString m_Method;
    MString m_Url;
    BodyList m_Body;
    bool m_UseEncType;
    MString m_EncType;
    std::list<MString> m_RawBodyStartEnd;
    MString m_RequestHeaders;
    MString m_RequestBody;
    MString m_ResponseHeaders;
    MString m_ResponseBody;
    MString m_ContentEncoding;
};

/// web_url: a custom request built from a URL step.
class WEBSTEP_API CWebStepUrl : public CWebStepCustomRequest {
public:
    CWebStepUrl();
    CWebStepUrl(const CWebStepUrl& other);
    CWebStepUrl& operator=(const CWebStepUrl& other);
    ~CWebStepUrl() override;
};

/// flex_web_request: a custom request of the Flex protocol.
class WEBSTEP_API CWebStepFlexCustomRequest : public CWebStepCustomRequest {
public:
    CWebStepFlexCustomRequest();
    CWebStepFlexCustomRequest(const CWebStepFlexCustomRequest& other);
    CWebStepFlexCustomRequest& operator=(const CWebStepFlexCustomRequest& other);
    ~CWebStepFlexCustomRequest() override;
};

/// silverlight_web_request: a custom request of the Silverlight protocol.
class WEBSTEP_API CWebStepSilverlightCustomRequest : public CWebStepCustomRequest {
public:
    CWebStepSilverlightCustomRequest();
    CWebStepSilverlightCustomRequest(const CWebStepSilverlightCustomRequest& other);
    CWebStepSilverlightCustomRequest& operator=(const CWebStepSilverlightCustomRequest& other);
    ~CWebStepSilverlightCustomRequest() override;
};
