#pragma once
// Connection settings: limits, keep-alive, time-outs, retries, socket options, the cache and
// concurrent groups.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

/// web_set_connections_limit: the most connections a virtual user opens.
class WEBSTEP_API CWebStepSetConnectionsLimit : public CWebStepData {
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

/// web_enable_keep_alive: connections kept open between requests.
class WEBSTEP_API CWebStepEnableKeepAlive : public CWebStepData {
public:
    CWebStepEnableKeepAlive();
    CWebStepEnableKeepAlive(const CWebStepEnableKeepAlive& other);
    CWebStepEnableKeepAlive& operator=(const CWebStepEnableKeepAlive& other);
    ~CWebStepEnableKeepAlive() override;
};

/// web_disable_keep_alive: connections closed after each request.
class WEBSTEP_API CWebStepDisableKeepAlive : public CWebStepData {
public:
    CWebStepDisableKeepAlive();
    CWebStepDisableKeepAlive(const CWebStepDisableKeepAlive& other);
    CWebStepDisableKeepAlive& operator=(const CWebStepDisableKeepAlive& other);
    ~CWebStepDisableKeepAlive() override;
};

/// web_set_timeout: a time-out (resolve, connect, receive or step) in seconds.
class WEBSTEP_API CWebStepSetTimeout : public CWebStepData {
public:
    /// The kind of time-out (the numbers of the script's value table).
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
    /// Seconds.
    unsigned int GetTimeout() const { return m_Timeout; }
    void SetTimeout(unsigned int value) { m_Timeout = value; }

private:
    ActionOption m_Action;
    unsigned int m_Timeout;
};

/// web_set_max_retries: how often a failed request is tried again.
class WEBSTEP_API CWebStepSetMaxRetries : public CWebStepData {
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

/// web_set_sockets_option: one socket option and its value.
class WEBSTEP_API CWebStepSetSocketsOption : public CWebStepData {
public:
    CWebStepSetSocketsOption();
    CWebStepSetSocketsOption(const CWebStepSetSocketsOption& other);
    CWebStepSetSocketsOption& operator=(const CWebStepSetSocketsOption& other);
    ~CWebStepSetSocketsOption() override;

    /// Kept as written.
    const MString& GetOptionID() const { return m_OptionID; }
    void SetOptionID(const char* text);
    /// Kept as written.
    const MString& GetOptionValue() const { return m_OptionValue; }
    void SetOptionValue(const char* text);

private:
    MString m_OptionID;
    MString m_OptionValue;
};

/// web_cache_cleanup: the virtual user's cache emptied.
class WEBSTEP_API CWebStepCacheCleanup : public CWebStepData {
public:
    CWebStepCacheCleanup();
    CWebStepCacheCleanup(const CWebStepCacheCleanup& other);
    CWebStepCacheCleanup& operator=(const CWebStepCacheCleanup& other);
    ~CWebStepCacheCleanup() override;
};

/// web_concurrent_start: the following requests run concurrently.
class WEBSTEP_API CWebStepConcurrentStart : public CWebStepData {
public:
    CWebStepConcurrentStart();
    CWebStepConcurrentStart(const CWebStepConcurrentStart& other);
    CWebStepConcurrentStart& operator=(const CWebStepConcurrentStart& other);
    ~CWebStepConcurrentStart() override;
};

/// web_concurrent_end: the end of a concurrent group.
class WEBSTEP_API CWebStepConcurrentEnd : public CWebStepData {
public:
    CWebStepConcurrentEnd();
    CWebStepConcurrentEnd(const CWebStepConcurrentEnd& other);
    CWebStepConcurrentEnd& operator=(const CWebStepConcurrentEnd& other);
    ~CWebStepConcurrentEnd() override;
};
