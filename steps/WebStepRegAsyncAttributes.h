#pragma once
// Asynchronous conversations: the rule that marks the requests of one
// (web_reg_async_attributes), its end (web_stop_async), and a wait for a
// condition that such a conversation fulfils (web_sync).
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// Options written after the "URL" name of an asynchronous rule.
enum AsyncUrlFlags : unsigned int {
    AUF_NONE = 0,
    AUF_REGULAR_EXPRESSION = 1,  // "RE": the URL is a regular expression
    AUF_IGNORE_CASE = 2,         // "IC"
};

/// web_reg_async_attributes: the conversation's "ID", the "URL" that its
/// requests match (stored under the plain name, its options as flags), the
/// "Pattern" and the other options; the callback names (attributes whose name
/// ends in "CB") stay in the attribute set. Getters share one scratch string.
class WEBSTEP_API CWebStepRegAsyncAttributes : public CWebStepWithAttributes {
public:
    CWebStepRegAsyncAttributes() = default;
    CWebStepRegAsyncAttributes(const CWebStepRegAsyncAttributes& other) = default;
    CWebStepRegAsyncAttributes& operator=(const CWebStepRegAsyncAttributes& other) = default;
    ~CWebStepRegAsyncAttributes() override;

    WEBSTEP_ATTRIBUTE_FIELD(ID, "ID")
    WEBSTEP_ATTRIBUTE_FIELD(Url, "URL")
    WEBSTEP_ATTRIBUTE_FIELD(Pattern, "Pattern")
    WEBSTEP_ATTRIBUTE_FIELD(PollIntervalMs, "PollIntervalMs")
    WEBSTEP_ATTRIBUTE_FIELD(XMLHttpRequest, "XMLHttpRequest")
    WEBSTEP_ATTRIBUTE_FIELD(CrossStep, "CrossStep")
    AsyncUrlFlags GetUrlFlags() const { return m_UrlFlags; }
    void SetUrlFlags(AsyncUrlFlags flags) { m_UrlFlags = flags; }

private:
    mutable MString m_Scratch;
    AsyncUrlFlags m_UrlFlags = AUF_NONE;
};

/// web_stop_async: the conversation "ID".
class WEBSTEP_API CWebStepStopAsync : public CWebStepWithAttributes {
public:
    CWebStepStopAsync() = default;
    CWebStepStopAsync(const CWebStepStopAsync& other) = default;
    CWebStepStopAsync& operator=(const CWebStepStopAsync& other) = default;
    ~CWebStepStopAsync() override;

    WEBSTEP_ATTRIBUTE_FIELD(ID, "ID")

private:
    mutable MString m_Scratch;
};

/// web_sync: the condition ("ParamExists" or "ParamNotExists", naming a
/// parameter) and the retry timing. Getters share one scratch string.
class WEBSTEP_API CWebStepSync : public CWebStepWithAttributes {
public:
    CWebStepSync() = default;
    CWebStepSync(const CWebStepSync& other) = default;
    CWebStepSync& operator=(const CWebStepSync& other) = default;
    ~CWebStepSync() override;

    WEBSTEP_ATTRIBUTE_FIELD(ParamExists, "ParamExists")
    WEBSTEP_ATTRIBUTE_FIELD(ParamNotExists, "ParamNotExists")
    WEBSTEP_ATTRIBUTE_FIELD(RetryIntervalMs, "RetryIntervalMs")
    WEBSTEP_ATTRIBUTE_FIELD(RetryTimeoutMs, "RetryTimeoutMs")

private:
    mutable MString m_Scratch;
};
