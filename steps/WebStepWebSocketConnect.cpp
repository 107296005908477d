#include "webstep/steps/WebStepWebSocketConnect.h"

CWebStepWebSocketConnect::~CWebStepWebSocketConnect() = default;
CWebStepWebSocketSend::~CWebStepWebSocketSend() = default;
CWebStepWebSocketClose::~CWebStepWebSocketClose() = default;
