#include "webstep/steps/WebStepSetRtsKey.h"

CWebStepSetRtsKey::~CWebStepSetRtsKey() = default;
