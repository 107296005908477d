#pragma once
// Umbrella header: includes every public header of the library.
#include "foundation/MString.h"
#include "foundation/Version.h"
