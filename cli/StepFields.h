#pragma once
// Every field a step object exposes, as ordered JSON: its class name first,
// then the fields of each class from the root of the family down.
#include "ScriptCheck.h"

class CWebStepData;

namespace webstep::cli {

// The name of the step's most derived class ("CWebStepUrl", ...).
const char* StepClassName(const CWebStepData& step);
// {"class": ..., field: value, ...}; data sets, resources and body parts as
// arrays of objects, script texts through JsonText.
OrderedJson StepFields(const CWebStepData& step);

}  // namespace webstep::cli
