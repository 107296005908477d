#include "webstep/platform/Mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "webstep/platform/LastError.h"

namespace {

namespace wp = webstep::platform;

// Closes a handle at the end of a test.
struct HandleScope {
    explicit HandleScope(wp::HANDLE h) : handle(h) {}
    ~HandleScope() { wp::CloseHandle(handle); }
    wp::HANDLE handle;
};

TEST(Mutex, CreateGivesUsableHandle) {
    HandleScope m(wp::CreateMutexA(nullptr, 0, nullptr));
    ASSERT_NE(m.handle, nullptr);
    EXPECT_EQ(wp::WaitForSingleObject(m.handle, wp::INFINITE), wp::WAIT_OBJECT_0);
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
}

TEST(Mutex, OwnerAcquiresRecursivelyAndReleasesAsOften) {
    HandleScope m(wp::CreateMutexA(nullptr, 0, nullptr));
    EXPECT_EQ(wp::WaitForSingleObject(m.handle, 0), wp::WAIT_OBJECT_0);
    EXPECT_EQ(wp::WaitForSingleObject(m.handle, 0), wp::WAIT_OBJECT_0);
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
    // Still owned once: another thread cannot take it.
    std::thread([&] { EXPECT_EQ(wp::WaitForSingleObject(m.handle, 0), wp::WAIT_TIMEOUT); }).join();
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
    std::thread([&] {
        EXPECT_EQ(wp::WaitForSingleObject(m.handle, 0), wp::WAIT_OBJECT_0);
        EXPECT_TRUE(wp::ReleaseMutex(m.handle));
    }).join();
    wp::SetLastError(0);
    EXPECT_FALSE(wp::ReleaseMutex(m.handle));
    EXPECT_EQ(wp::GetLastError(), 288u);
}

TEST(Mutex, InitialOwnerHoldsItAtOnce) {
    HandleScope m(wp::CreateMutexA(nullptr, 1, nullptr));
    std::thread([&] { EXPECT_EQ(wp::WaitForSingleObject(m.handle, 10), wp::WAIT_TIMEOUT); }).join();
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
}

TEST(Mutex, ReleaseByOtherThreadFailsWithNotOwner) {
    HandleScope m(wp::CreateMutexA(nullptr, 0, nullptr));
    ASSERT_EQ(wp::WaitForSingleObject(m.handle, wp::INFINITE), wp::WAIT_OBJECT_0);
    std::thread([&] {
        wp::SetLastError(0);
        EXPECT_FALSE(wp::ReleaseMutex(m.handle));
        EXPECT_EQ(wp::GetLastError(), 288u);
    }).join();
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
}

TEST(Mutex, TimedWaitTimesOutAfterRoughlyTheDelay) {
    HandleScope m(wp::CreateMutexA(nullptr, 1, nullptr));
    std::thread([&] {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(wp::WaitForSingleObject(m.handle, 50), wp::WAIT_TIMEOUT);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(45));
    }).join();
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
}

TEST(Mutex, WaiterGetsMutexWhenOwnerReleases) {
    HandleScope m(wp::CreateMutexA(nullptr, 1, nullptr));
    std::atomic<bool> acquired{false};
    std::thread waiter([&] {
        EXPECT_EQ(wp::WaitForSingleObject(m.handle, wp::INFINITE), wp::WAIT_OBJECT_0);
        acquired = true;
        EXPECT_TRUE(wp::ReleaseMutex(m.handle));
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(acquired.load());
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
    waiter.join();
    EXPECT_TRUE(acquired.load());
}

TEST(Mutex, TwoThreadsNeverHoldItTogether) {
    HandleScope m(wp::CreateMutexA(nullptr, 0, nullptr));
    int inside = 0;
    int maxInside = 0;
    long total = 0;
    auto work = [&] {
        for (int i = 0; i < 2000; ++i) {
            ASSERT_EQ(wp::WaitForSingleObject(m.handle, wp::INFINITE), wp::WAIT_OBJECT_0);
            ++inside;
            maxInside = std::max(maxInside, inside);
            ++total;
            --inside;
            ASSERT_TRUE(wp::ReleaseMutex(m.handle));
        }
    };
    std::thread a(work);
    std::thread b(work);
    a.join();
    b.join();
    EXPECT_EQ(maxInside, 1);
    EXPECT_EQ(total, 4000);
}

TEST(Mutex, ThreadEndingWhileOwnerAbandonsIt) {
    HandleScope m(wp::CreateMutexA(nullptr, 0, nullptr));
    std::thread([&] {
        EXPECT_EQ(wp::WaitForSingleObject(m.handle, wp::INFINITE), wp::WAIT_OBJECT_0);
    }).join();
    EXPECT_EQ(wp::WaitForSingleObject(m.handle, 100), wp::WAIT_ABANDONED);
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
    EXPECT_EQ(wp::WaitForSingleObject(m.handle, 0), wp::WAIT_OBJECT_0);
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
}

TEST(Mutex, SameNameSharesTheMutex) {
    wp::SetLastError(99);
    HandleScope first(wp::CreateMutexA(nullptr, 1, "webstep-test-shared"));
    EXPECT_EQ(wp::GetLastError(), 0u);
    HandleScope second(wp::CreateMutexA(nullptr, 1, "webstep-test-shared"));
    EXPECT_EQ(wp::GetLastError(), 183u);
    EXPECT_NE(first.handle, second.handle);
    std::thread([&] {
        EXPECT_EQ(wp::WaitForSingleObject(second.handle, 0), wp::WAIT_TIMEOUT);
    }).join();
    // initialOwner does not apply to an existing mutex: one release frees it.
    EXPECT_TRUE(wp::ReleaseMutex(second.handle));
    std::thread([&] {
        EXPECT_EQ(wp::WaitForSingleObject(second.handle, 0), wp::WAIT_OBJECT_0);
        EXPECT_TRUE(wp::ReleaseMutex(first.handle));
    }).join();
}

TEST(Mutex, NameIsReusableAfterLastHandleCloses) {
    wp::HANDLE a = wp::CreateMutexA(nullptr, 0, "webstep-test-reuse");
    EXPECT_TRUE(wp::CloseHandle(a));
    wp::SetLastError(99);
    HandleScope b(wp::CreateMutexA(nullptr, 0, "webstep-test-reuse"));
    EXPECT_EQ(wp::GetLastError(), 0u);
}

TEST(Mutex, DifferentUnnamedMutexesAreIndependent) {
    HandleScope a(wp::CreateMutexA(nullptr, 1, nullptr));
    HandleScope b(wp::CreateMutexA(nullptr, 0, nullptr));
    std::thread([&] {
        EXPECT_EQ(wp::WaitForSingleObject(b.handle, 0), wp::WAIT_OBJECT_0);
        EXPECT_TRUE(wp::ReleaseMutex(b.handle));
    }).join();
    EXPECT_TRUE(wp::ReleaseMutex(a.handle));
}

TEST(Mutex, BadHandlesFailWithInvalidHandle) {
    int notAHandle = 0;
    wp::SetLastError(0);
    EXPECT_EQ(wp::WaitForSingleObject(nullptr, 0), wp::WAIT_FAILED);
    EXPECT_EQ(wp::GetLastError(), 6u);
    EXPECT_EQ(wp::WaitForSingleObject(&notAHandle, wp::INFINITE), wp::WAIT_FAILED);
    EXPECT_FALSE(wp::ReleaseMutex(&notAHandle));
    EXPECT_FALSE(wp::CloseHandle(nullptr));
    wp::HANDLE h = wp::CreateMutexA(nullptr, 0, nullptr);
    EXPECT_TRUE(wp::CloseHandle(h));
    EXPECT_FALSE(wp::CloseHandle(h));  // already closed
    EXPECT_EQ(wp::WaitForSingleObject(h, 0), wp::WAIT_FAILED);
}

TEST(Mutex, ManyThreadsContendWithTimeouts) {
    HandleScope m(wp::CreateMutexA(nullptr, 0, nullptr));
    std::atomic<int> acquired{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                const wp::DWORD r = wp::WaitForSingleObject(m.handle, 5);
                if (r == wp::WAIT_OBJECT_0) {
                    ++acquired;
                    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
                } else {
                    EXPECT_EQ(r, wp::WAIT_TIMEOUT);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GT(acquired.load(), 0);
    EXPECT_EQ(wp::WaitForSingleObject(m.handle, 0), wp::WAIT_OBJECT_0);
    EXPECT_TRUE(wp::ReleaseMutex(m.handle));
}

}  // namespace
