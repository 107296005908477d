#include "webstep/platform/Tick.h"

#include <time.h>

namespace webstep::platform {

namespace {

std::uint64_t Milliseconds(std::int64_t seconds, std::int64_t nanoseconds) {
    if (seconds < 0 || nanoseconds < 0)
        return 0;
    return static_cast<std::uint64_t>(seconds) * 1000u +
           static_cast<std::uint64_t>(nanoseconds) / 1000000u;
}

}  // namespace

std::uint64_t GetTickCount64() {
    timespec now{};
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0)
        return 0;
    return Milliseconds(now.tv_sec, now.tv_nsec);
}

std::uint32_t GetTickCount() {
    return static_cast<std::uint32_t>(GetTickCount64());
}

std::uint32_t TickFromMonotonic(std::int64_t seconds, std::int64_t nanoseconds) {
    return static_cast<std::uint32_t>(Milliseconds(seconds, nanoseconds));
}

}  // namespace webstep::platform
