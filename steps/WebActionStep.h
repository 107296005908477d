#pragma once
// Steps that load a page or a resource: the action step with its snapshot and
// extra resources, the request that does not depend on the current page, and
// the navigation that is resolved against it.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"
#include "webstep/forms/Resource.h"
#include "webstep/steps/WebStepData.h"

/// A copy shares the extra resources with its source (the resource list copies
/// pointers); the owner of one of the two drops its references with
/// GetOutOfContextResources().ClearResourceReferences() before it is destroyed.
class WEBSTEP_API CWebActionStep : public CWebStepData {
public:
    CWebActionStep();
    CWebActionStep(const MString& snapshot, const CResourceElements& resources);
    CWebActionStep(const CWebActionStep& other);
    CWebActionStep& operator=(const CWebActionStep& other);
    ~CWebActionStep() override;

    const MString& GetSnapshot() const { return m_Snapshot; }
    void SetSnapshot(const char* snapshot);
    const CResourceElements& GetOutOfContextResources() const { return m_OutOfContextResources; }
    CResourceElements& GetOutOfContextResources() { return m_OutOfContextResources; }

private:
    MString m_Snapshot;
    CResourceElements m_OutOfContextResources;
};

/// A request stated in full, independent of the current page (web_url,
/// web_submit_data, web_custom_request): target frame, content type,
/// resource flag, snapshot, referer, user agent, mode and byte limit, plus
/// the extra resources (EXTRARES), which it owns; copies share them (see
/// CDataSet).
class WEBSTEP_API CWebContextlessStep : public CWebActionStep {
public:
    CWebContextlessStep();
    /// User agent and resource byte limit stay empty.
    CWebContextlessStep(const MString& targetFrame, const MString& contentType, bool resource,
                        const MString& referer, const MString& mode, bool outOfBrowser);
    CWebContextlessStep(const CWebContextlessStep& other);
    CWebContextlessStep& operator=(const CWebContextlessStep& other);
    ~CWebContextlessStep() override;

    const MString& GetTargetFrame() const { return m_TargetFrame; }
    void SetTargetFrame(const char* text);
    const MString& GetContentType() const { return m_ContentType; }
    void SetContentType(const char* text);
    const MString& GetReferer() const { return m_Referer; }
    void SetReferer(const char* text);
    const MString& GetMode() const { return m_Mode; }
    void SetMode(const char* text);
    bool GetResource() const { return m_Resource; }
    void SetResource(bool resource) { m_Resource = resource; }
    bool GetIsOutOfBrowserStep() const { return m_OutOfBrowser; }
    void SetIsOutOfBrowserStep(bool outOfBrowser) { m_OutOfBrowser = outOfBrowser; }
    const MString& GetUserAgent() const { return m_UserAgent; }
    void SetUserAgent(const char* text);
    /// Kept as written so that a parameter reference survives.
    const MString& GetResourceByteLimit() const { return m_ResourceByteLimit; }
    void SetResourceByteLimit(const char* text);

private:
    MString m_TargetFrame;
    MString m_ContentType;
    MString m_Referer;
    MString m_Mode;
    bool m_Resource;
    bool m_OutOfBrowser;
    MString m_UserAgent;
    MString m_ResourceByteLimit;
};

/// Holds its own attribute set (the description of the page element to act
/// on), separately from the CWebStepWithAttributes branch.
class WEBSTEP_API CWebContextStep : public CWebActionStep {
public:
    CWebContextStep();
    explicit CWebContextStep(const CAttributeSet& attributes);
    CWebContextStep(const CWebContextStep& other);
    CWebContextStep& operator=(const CWebContextStep& other);
    ~CWebContextStep() override;

    CAttributeSet& GetAttributes() { return m_Attributes; }
    const CAttributeSet& GetAttributes() const { return m_Attributes; }

private:
    CAttributeSet m_Attributes;
};
