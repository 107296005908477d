#pragma once
// Connection settings: limits, keep-alive, time-outs, retries, socket options, the cache and
// concurrent groups.
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

class CWebStepSetConnectionsLimit : public CWebStepData {
public:
    CWebStepSetConnectionsLimit();
    CWebStepSetConnectionsLimit(const CWebStepSetConnectionsLimit& other);
    CWebStepSetConnectionsLimit& operator=(const CWebStepSetConnectionsLimit& other);
    ~CWebStepSetConnectionsLimit() override;

    unsigned int GetLimit() const { return m_Limit; }
    void SetLimit(unsigned int value) { m_Limit = value; }

private:
    unsigned int m_Limit;
};

class CWebStepEnableKeepAlive : public CWebStepData {
public:
    CWebStepEnableKeepAlive();
    CWebStepEnableKeepAlive(const CWebStepEnableKeepAlive& other);
    CWebStepEnableKeepAlive& operator=(const CWebStepEnableKeepAlive& other);
    ~CWebStepEnableKeepAlive() override;
};

class CWebStepDisableKeepAlive : public CWebStepData {
public:
    CWebStepDisableKeepAlive();
    CWebStepDisableKeepAlive(const CWebStepDisableKeepAlive& other);
    CWebStepDisableKeepAlive& operator=(const CWebStepDisableKeepAlive& other);
    ~CWebStepDisableKeepAlive() override;
};

class CWebStepSetTimeout : public CWebStepData {
public:
    // The kind of time-out (the numbers of the script's value table).
    enum ActionOption {
        ACTION_NONE = 0,
        ACTION_RESOLVE = 1,
        ACTION_CONNECT = 2,
        ACTION_RECEIVE = 3,
        ACTION_STEP = 4,
    };

    CWebStepSetTimeout();
    CWebStepSetTimeout(const CWebStepSetTimeout& other);
    CWebStepSetTimeout& operator=(const CWebStepSetTimeout& other);
    ~CWebStepSetTimeout() override;

    ActionOption GetAction() const { return m_Action; }
    void SetAction(ActionOption value) { m_Action = value; }
    // Seconds.
    unsigned int GetTimeout() const { return m_Timeout; }
    void SetTimeout(unsigned int value) { m_Timeout = value; }

private:
    ActionOption m_Action;
    unsigned int m_Timeout;
};

class CWebStepSetMaxRetries : public CWebStepData {
public:
    CWebStepSetMaxRetries();
    CWebStepSetMaxRetries(const CWebStepSetMaxRetries& other);
    CWebStepSetMaxRetries& operator=(const CWebStepSetMaxRetries& other);
    ~CWebStepSetMaxRetries() override;

    unsigned int GetMaxRetries() const { return m_MaxRetries; }
    void SetMaxRetries(unsigned int value) { m_MaxRetries = value; }

private:
    unsigned int m_MaxRetries;
};

class CWebStepSetSocketsOption : public CWebStepData {
public:
    CWebStepSetSocketsOption();
    CWebStepSetSocketsOption(const CWebStepSetSocketsOption& other);
    CWebStepSetSocketsOption& operator=(const CWebStepSetSocketsOption& other);
    ~CWebStepSetSocketsOption() override;

    // Kept as written.
    const MString& GetOptionID() const { return m_OptionID; }
    void SetOptionID(const char* text);
    // Kept as written.
    const MString& GetOptionValue() const { return m_OptionValue; }
    void SetOptionValue(const char* text);

private:
    MString m_OptionID;
    MString m_OptionValue;
};

class CWebStepCacheCleanup : public CWebStepData {
public:
    CWebStepCacheCleanup();
    CWebStepCacheCleanup(const CWebStepCacheCleanup& other);
    CWebStepCacheCleanup& operator=(const CWebStepCacheCleanup& other);
    ~CWebStepCacheCleanup() override;
};

class CWebStepConcurrentStart : public CWebStepData {
public:
    CWebStepConcurrentStart();
    CWebStepConcurrentStart(const CWebStepConcurrentStart& other);
    CWebStepConcurrentStart& operator=(const CWebStepConcurrentStart& other);
    ~CWebStepConcurrentStart() override;
};

class CWebStepConcurrentEnd : public CWebStepData {
public:
    CWebStepConcurrentEnd();
    CWebStepConcurrentEnd(const CWebStepConcurrentEnd& other);
    CWebStepConcurrentEnd& operator=(const CWebStepConcurrentEnd& other);
    ~CWebStepConcurrentEnd() override;
};
