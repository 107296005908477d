#pragma once
// Trimming of white space at both ends of a text, multi-byte aware: the
// ASCII white-space bytes and the ideographic space of the process code page
// count as space; a trail byte is never taken for a space of its own.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

WEBSTEP_API MString MbTrim(const MString& text);
