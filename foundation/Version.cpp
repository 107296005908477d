#include "webstep/foundation/Version.h"

namespace webstep {
const char* GetVersion() { return WEBSTEP_VERSION_STRING; }
}  // namespace webstep
