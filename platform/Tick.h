#pragma once
// The system millisecond tick: milliseconds since an unspecified start
// (boot), from the monotonic clock, so it never goes back when the wall
// clock is set. The 32-bit count wraps to 0 after about 49.7 days.
#include <cstdint>
#include "webstep/foundation/Export.h"

namespace webstep::platform {

WEBSTEP_API std::uint32_t GetTickCount();
/// The same count without wrapping.
WEBSTEP_API std::uint64_t GetTickCount64();
/// The 32-bit tick of a monotonic clock reading (seconds and nanoseconds):
/// its milliseconds modulo 2^32. Negative readings give 0.
WEBSTEP_API std::uint32_t TickFromMonotonic(std::int64_t seconds, std::int64_t nanoseconds);

}  // namespace webstep::platform
