#include "webstep/platform/Tick.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <thread>

using namespace webstep::platform;

TEST(Tick, NeverGoesBackwards) {
    std::uint64_t previous = GetTickCount64();
    for (int i = 0; i < 10000; ++i) {
        const std::uint64_t now = GetTickCount64();
        ASSERT_GE(now, previous);
        previous = now;
    }
}

TEST(Tick, AdvancesInMilliseconds) {
    const std::uint32_t before = GetTickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    const std::uint32_t elapsed = GetTickCount() - before;  // wrap-safe difference
    EXPECT_GE(elapsed, 25u);
    EXPECT_LT(elapsed, 5000u);
}

TEST(Tick, ThirtyTwoBitCountIsLowPartOfFullCount) {
    const std::uint64_t wide = GetTickCount64();
    const std::uint32_t narrow = GetTickCount();
    // Taken a moment apart: equal low 32 bits up to a few milliseconds.
    EXPECT_LT(static_cast<std::uint32_t>(narrow - static_cast<std::uint32_t>(wide)), 1000u);
}

TEST(Tick, MillisecondsFromClockReading) {
    EXPECT_EQ(TickFromMonotonic(0, 0), 0u);
    EXPECT_EQ(TickFromMonotonic(1, 999999), 1000u);
    EXPECT_EQ(TickFromMonotonic(1, 1000000), 1001u);
    EXPECT_EQ(TickFromMonotonic(12, 345678901), 12345u);
}

TEST(Tick, WrapsAfterTwoToThe32Milliseconds) {
    // 2^32 ms = 4294967.296 s.
    EXPECT_EQ(TickFromMonotonic(4294967, 295000000), 0xFFFFFFFFu);
    EXPECT_EQ(TickFromMonotonic(4294967, 296000000), 0u);
    EXPECT_EQ(TickFromMonotonic(4294967, 297000000), 1u);
}

TEST(Tick, NegativeReadingGivesZero) {
    EXPECT_EQ(TickFromMonotonic(-1, 0), 0u);
    EXPECT_EQ(TickFromMonotonic(0, -5), 0u);
}
