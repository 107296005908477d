#pragma once
// Request headers: added once, added to every request, reverted and removed.
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

class CWebStepAddHeader : public CWebStepData {
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

class CWebStepAddAutoHeader : public CWebStepAddHeader {
public:
    CWebStepAddAutoHeader();
    CWebStepAddAutoHeader(const CWebStepAddAutoHeader& other);
    CWebStepAddAutoHeader& operator=(const CWebStepAddAutoHeader& other);
    ~CWebStepAddAutoHeader() override;
};

class CWebStepRevertAutoHeader : public CWebStepData {
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

class CWebStepRemoveAutoHeader : public CWebStepRevertAutoHeader {
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

class CWebStepCleanupAutoHeaders : public CWebStepData {
public:
    CWebStepCleanupAutoHeaders();
    CWebStepCleanupAutoHeaders(const CWebStepCleanupAutoHeaders& other);
    CWebStepCleanupAutoHeaders& operator=(const CWebStepCleanupAutoHeaders& other);
    ~CWebStepCleanupAutoHeaders() override;
};
