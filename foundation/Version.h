#pragma once
// The library's version, as built.
namespace webstep {
const char* GetVersion();
}
