#pragma once
// The library's version, as built.
#include "webstep/foundation/Export.h"
namespace webstep {
WEBSTEP_API const char* GetVersion();
}
