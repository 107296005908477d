#include "webstep/steps/WebActionStep.h"

#include "webstep/steps/StepText.h"

CWebActionStep::CWebActionStep() = default;

CWebActionStep::CWebActionStep(const MString& snapshot, const CResourceElements& resources)
    : m_Snapshot(snapshot), m_OutOfContextResources(resources) {}

CWebActionStep::CWebActionStep(const CWebActionStep& other)
    : CWebStepData(other),
      m_Snapshot(other.m_Snapshot),
      m_OutOfContextResources(other.m_OutOfContextResources) {}

CWebActionStep& CWebActionStep::operator=(const CWebActionStep& other) {
    // Assigning a resource list to itself would delete the shared resources.
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Snapshot = other.m_Snapshot;
        m_OutOfContextResources = other.m_OutOfContextResources;
    }
    return *this;
}

CWebActionStep::~CWebActionStep() = default;

void CWebActionStep::SetSnapshot(const char* snapshot) {
    webstep::steps::AssignText(m_Snapshot, snapshot);
}

CWebContextlessStep::CWebContextlessStep() : m_Resource(false), m_OutOfBrowser(false) {}

CWebContextlessStep::CWebContextlessStep(const MString& targetFrame, const MString& contentType,
                                         bool resource, const MString& referer, const MString& mode,
                                         bool outOfBrowser)
    : m_TargetFrame(targetFrame),
      m_ContentType(contentType),
      m_Referer(referer),
      m_Mode(mode),
      m_Resource(resource),
      m_OutOfBrowser(outOfBrowser) {}

CWebContextlessStep::CWebContextlessStep(const CWebContextlessStep& other) = default;

CWebContextlessStep& CWebContextlessStep::operator=(const CWebContextlessStep& other) {
    if (this != &other) {
        CWebActionStep::operator=(other);
        m_TargetFrame = other.m_TargetFrame;
        m_ContentType = other.m_ContentType;
        m_Referer = other.m_Referer;
        m_Mode = other.m_Mode;
        m_Resource = other.m_Resource;
        m_OutOfBrowser = other.m_OutOfBrowser;
        m_UserAgent = other.m_UserAgent;
        m_ResourceByteLimit = other.m_ResourceByteLimit;
    }
    return *this;
}

CWebContextlessStep::~CWebContextlessStep() = default;

void CWebContextlessStep::SetTargetFrame(const char* text) {
    webstep::steps::AssignText(m_TargetFrame, text);
}
void CWebContextlessStep::SetContentType(const char* text) {
    webstep::steps::AssignText(m_ContentType, text);
}
void CWebContextlessStep::SetReferer(const char* text) {
    webstep::steps::AssignText(m_Referer, text);
}
void CWebContextlessStep::SetMode(const char* text) {
    webstep::steps::AssignText(m_Mode, text);
}
void CWebContextlessStep::SetUserAgent(const char* text) {
    webstep::steps::AssignText(m_UserAgent, text);
}
void CWebContextlessStep::SetResourceByteLimit(const char* text) {
    webstep::steps::AssignText(m_ResourceByteLimit, text);
}

CWebContextStep::CWebContextStep() = default;

CWebContextStep::CWebContextStep(const CAttributeSet& attributes) : m_Attributes(attributes) {}

CWebContextStep::CWebContextStep(const CWebContextStep& other) = default;

CWebContextStep& CWebContextStep::operator=(const CWebContextStep& other) {
    if (this != &other) {
        CWebActionStep::operator=(other);
        m_Attributes = other.m_Attributes;
    }
    return *this;
}

CWebContextStep::~CWebContextStep() = default;
