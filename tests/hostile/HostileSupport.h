#pragma once
// Timing, memory and size helpers for the hostile-input tests.
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>

namespace webstep::test {

// Sanitized builds run several times slower; there the largest inputs are cut
// down so that the whole suite stays within seconds. The full sizes run in
// the normal build.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// The full size in the normal build, the reduced one under a sanitizer.
constexpr std::size_t Sized(std::size_t full, std::size_t sanitized) {
    return kSanitized ? sanitized : full;
}

// Processor time of the process, not wall time: the machine is shared, and
// what others run must not count against the input's cost.
inline double CpuSeconds() {
    struct timespec now {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline double SecondsOf(const std::function<void()>& work) {
    const double start = CpuSeconds();
    work();
    return CpuSeconds() - start;
}

// The fastest of a few runs: the one least disturbed by cache and memory
// effects of others.
inline double FastestOf(int runs, const std::function<void()>& work) {
    double best = SecondsOf(work);
    for (int i = 1; i < runs; ++i)
        best = std::min(best, SecondsOf(work));
    return best;
}

// Time grows in proportion to size: the larger input, factor times the
// smaller, takes less than slack * factor times as long. A quadratic cost
// would take factor * factor times as long. The small run is given at least
// a millisecond so that timer noise cannot decide.
struct Scaling {
    double small = 0;
    double large = 0;
    double ratio() const { return large / std::max(small, 1e-3); }
};

inline Scaling MeasureScaling(const std::function<void(std::size_t)>& work, std::size_t smallSize,
                              std::size_t factor) {
    Scaling s;
    s.small = FastestOf(3, [&] { work(smallSize); });
    s.large = FastestOf(2, [&] { work(smallSize * factor); });
    return s;
}

// Peak resident memory of the process so far, in bytes.
inline std::size_t PeakResidentBytes() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

// Repeats a piece until the text holds at least size bytes.
inline std::string Repeat(const std::string& piece, std::size_t size) {
    std::string out;
    out.reserve(size + piece.size());
    while (out.size() < size)
        out += piece;
    return out;
}

}  // namespace webstep::test
