#pragma once
// WebSocket steps: opening a connection (web_websocket_connect), sending a
// message on it (web_websocket_send) and closing it (web_websocket_close).
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// web_websocket_connect: the connection "ID", the "URI" and "Origin"; the
/// callback names (attributes whose name ends in "CB") stay in the attribute
/// set. Getters share one scratch string.
class WEBSTEP_API CWebStepWebSocketConnect : public CWebStepWithAttributes {
public:
    CWebStepWebSocketConnect() = default;
    CWebStepWebSocketConnect(const CWebStepWebSocketConnect& other) = default;
    CWebStepWebSocketConnect& operator=(const CWebStepWebSocketConnect& other) = default;
    ~CWebStepWebSocketConnect() override;

    WEBSTEP_ATTRIBUTE_FIELD(ID, "ID")
    WEBSTEP_ATTRIBUTE_FIELD(URI, "URI")
    WEBSTEP_ATTRIBUTE_FIELD(Origin, "Origin")

private:
    mutable MString m_Scratch;
};

/// web_websocket_send: the connection "ID", the message "Buffer" and whether
/// it is binary ("IsBinary", 0 or 1, as written).
class WEBSTEP_API CWebStepWebSocketSend : public CWebStepWithAttributes {
public:
    CWebStepWebSocketSend() = default;
    CWebStepWebSocketSend(const CWebStepWebSocketSend& other) = default;
    CWebStepWebSocketSend& operator=(const CWebStepWebSocketSend& other) = default;
    ~CWebStepWebSocketSend() override;

    WEBSTEP_ATTRIBUTE_FIELD(ID, "ID")
    WEBSTEP_ATTRIBUTE_FIELD(Buffer, "Buffer")
    WEBSTEP_ATTRIBUTE_FIELD(IsBinary, "IsBinary")

private:
    mutable MString m_Scratch;
};

/// web_websocket_close: the connection "ID", the close "Code" and "Reason".
class WEBSTEP_API CWebStepWebSocketClose : public CWebStepWithAttributes {
public:
    CWebStepWebSocketClose() = default;
    CWebStepWebSocketClose(const CWebStepWebSocketClose& other) = default;
    CWebStepWebSocketClose& operator=(const CWebStepWebSocketClose& other) = default;
    ~CWebStepWebSocketClose() override;

    WEBSTEP_ATTRIBUTE_FIELD(ID, "ID")
    WEBSTEP_ATTRIBUTE_FIELD(Code, "Code")
    WEBSTEP_ATTRIBUTE_FIELD(Reason, "Reason")

private:
    mutable MString m_Scratch;
};
