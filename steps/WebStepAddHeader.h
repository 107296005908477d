#pragma once
// Request headers: added once, added to every request, reverted and removed.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

/// web_add_header: a header added to the next request.
class WEBSTEP_API CWebStepAddHeader : public CWebStepData {
public:
    CWebStepAddHeader();
    CWebStepAddHeader(const CWebStepAddHeader& other);
    CWebStepAddHeader& operator=(const CWebStepAddHeader& other);
    ~CWebStepAddHeader() override;

    const MString& GetHeader() const { return m_Header; }
    void SetHeader(const char* text);
    const MString& GetValue() const { return m_Value; }
    void SetValue(const char* text);

private:
    MString m_Header;
    MString m_Value;
};

/// web_add_auto_header: a header added to every following request.
class WEBSTEP_API CWebStepAddAutoHeader : public CWebStepAddHeader {
public:
    CWebStepAddAutoHeader();
    CWebStepAddAutoHeader(const CWebStepAddAutoHeader& other);
    CWebStepAddAutoHeader& operator=(const CWebStepAddAutoHeader& other);
    ~CWebStepAddAutoHeader() override;
};

/// web_revert_auto_header: an automatic header no longer sent.
class WEBSTEP_API CWebStepRevertAutoHeader : public CWebStepData {
public:
    CWebStepRevertAutoHeader();
    CWebStepRevertAutoHeader(const CWebStepRevertAutoHeader& other);
    CWebStepRevertAutoHeader& operator=(const CWebStepRevertAutoHeader& other);
    ~CWebStepRevertAutoHeader() override;

    const MString& GetHeader() const { return m_Header; }
    void SetHeader(const char* text);

private:
    MString m_Header;
};

/// web_remove_auto_header: an automatic header removed.
class WEBSTEP_API CWebStepRemoveAutoHeader : public CWebStepRevertAutoHeader {
public:
    CWebStepRemoveAutoHeader();
    CWebStepRemoveAutoHeader(const CWebStepRemoveAutoHeader& other);
    CWebStepRemoveAutoHeader& operator=(const CWebStepRemoveAutoHeader& other);
    ~CWebStepRemoveAutoHeader() override;

    const MString& GetImplicitGeneration() const { return m_ImplicitGeneration; }
    void SetImplicitGeneration(const char* text);

private:
    MString m_ImplicitGeneration;
};

/// web_cleanup_auto_headers: every automatic header removed.
class WEBSTEP_API CWebStepCleanupAutoHeaders : public CWebStepData {
public:
    CWebStepCleanupAutoHeaders();
    CWebStepCleanupAutoHeaders(const CWebStepCleanupAutoHeaders& other);
    CWebStepCleanupAutoHeaders& operator=(const CWebStepCleanupAutoHeaders& other);
    ~CWebStepCleanupAutoHeaders() override;
};
