#pragma once
// Private to the navigation and custom-request parsers: moves what a parse
// collected into the step it fills.
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Resource.h"
#include "webstep/steps/WebActionStep.h"

namespace webstep::script_internal {

// The values GetContextlessAttributes reads, from the scratch step that
// received them to the step being filled.
inline void CopyContextlessFields(const CWebContextlessStep& from, CWebContextlessStep& to) {
    to.SetTargetFrame(from.GetTargetFrame().c_str());
    to.SetResource(from.GetResource());
    to.SetContentType(from.GetContentType().c_str());
    to.SetSnapshot(from.GetSnapshot().c_str());
    to.SetReferer(from.GetReferer().c_str());
    to.SetUserAgent(from.GetUserAgent().c_str());
    to.SetMode(from.GetMode().c_str());
    to.SetResourceByteLimit(from.GetResourceByteLimit().c_str());
}

// The step takes over the parsed resources (its old ones are released); the
// parsed list drops its references so that the resources are not freed twice.
inline void MoveResources(CResourceElements& parsed, CResourceElements& target) {
    target = parsed;
    parsed.ClearResourceReferences();
}

inline void MoveDataItems(CDataSet& parsed, CDataSet& target) {
    target.DataElements() = parsed.DataElements();
    parsed.ClearDataReferences();
}

}  // namespace webstep::script_internal
