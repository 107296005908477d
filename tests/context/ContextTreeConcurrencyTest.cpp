// Node locks shared between threads: a held lock makes others wait without
// limit, only the owner releases it, and readers never see a half-replaced
// child under the lock.
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "context/ContextTestSupport.h"

using namespace std::chrono_literals;

TEST(ContextTreeConcurrency, SecondThreadWaitsUntilTheFirstUnlocks) {
    CContextTree tree;
    CContext context;
    context.SetContextTree(&tree);
    std::atomic<bool> released{false};
    std::atomic<bool> acquiredBeforeRelease{false};
    std::atomic<bool> acquired{false};

    ASSERT_TRUE(context.LockTree());
    std::thread other([&] {
        EXPECT_TRUE(tree.LockTree());
        acquiredBeforeRelease = !released.load();
        acquired = true;
        EXPECT_TRUE(tree.UnlockTree());
    });
    std::this_thread::sleep_for(100ms);
    EXPECT_FALSE(acquired.load());
    released = true;
    ASSERT_TRUE(context.UnlockTree());
    other.join();
    EXPECT_TRUE(acquired.load());
    EXPECT_FALSE(acquiredBeforeRelease.load());
}

TEST(ContextTreeConcurrency, OnlyTheOwnerCanUnlock) {
    CContextTree tree;
    ASSERT_TRUE(tree.LockTree());
    bool unlockedByOther = true;
    std::thread other([&] { unlockedByOther = tree.UnlockTree(); });
    other.join();
    EXPECT_FALSE(unlockedByOther);
    EXPECT_TRUE(tree.UnlockTree());
}

TEST(ContextTreeConcurrency, OwnerMayLockAgainAndReleasesAsOften) {
    CContextTree tree;
    ASSERT_TRUE(tree.LockTree());
    ASSERT_TRUE(tree.LockTree());
    ASSERT_TRUE(tree.UnlockTree());
    std::atomic<bool> acquired{false};
    std::thread other([&] {
        tree.LockTree();
        acquired = true;
        tree.UnlockTree();
    });
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(acquired.load());  // still held once
    ASSERT_TRUE(tree.UnlockTree());
    other.join();
    EXPECT_TRUE(acquired.load());
}

TEST(ContextTreeConcurrency, EachNodeHasALockOfItsOwn) {
    CContextTree top;
    auto* child = new CContextTree();
    ASSERT_TRUE(top.AddChild(child, CURLParser(), false));
    ASSERT_TRUE(top.LockTree());
    bool childLocked = false;
    std::thread other([&] {
        childLocked = child->LockTree();
        child->UnlockTree();
    });
    other.join();
    EXPECT_TRUE(childLocked);
    EXPECT_TRUE(top.UnlockTree());
}

TEST(ContextTreeConcurrency, ReadersUnderTheLockNeverSeeAHalfReplacedChild) {
    constexpr int kSlots = 6;
    constexpr int kReaders = 4;
    constexpr int kReplacements = 1500;
    CContextTree top;
    top.SetUrl(CURLParser("http://shop.example/"));
    for (int i = 0; i < kSlots; ++i) {
        auto* child = new CContextTree();
        child->SetUrl(CURLParser("http://shop.example/frame0.html"));
        top.GetChildrenArray().push_back(child);
        child->SetParent(&top);
        child->SetOrdinal(static_cast<std::uint32_t>(i));
    }

    std::atomic<bool> done{false};
    std::atomic<int> inconsistencies{0};
    std::atomic<long> reads{0};
    std::vector<std::thread> readers;
    for (int r = 0; r < kReaders; ++r) {
        readers.emplace_back([&] {
            while (!done.load()) {
                if (!top.LockTree()) {
                    ++inconsistencies;
                    return;
                }
                const auto& children = top.GetChildrenArray();
                if (children.size() != kSlots) {
                    ++inconsistencies;
                }
                for (std::size_t i = 0; i < children.size(); ++i) {
                    CContextTree* child = children[i];
                    if (child == nullptr || child->GetOrdinal() != i ||
                        child->GetParent() != &top || child->GetHierarchicalName().empty() ||
                        !child->GetUrl().IsValid()) {
                        ++inconsistencies;
                    }
                }
                ++reads;
                top.UnlockTree();
            }
        });
    }

    std::thread writer([&] {
        for (int n = 1; n <= kReplacements; ++n) {
            auto* replacement = new CContextTree();
            replacement->SetUrl(
                CURLParser(("http://shop.example/frame" + std::to_string(n) + ".html").c_str()));
            ASSERT_TRUE(top.LockTree());
            CContextTree* old = top.GetChildrenArray()[n % kSlots];
            EXPECT_TRUE(top.ReplaceChild(old, replacement));
            delete old;
            top.UnlockTree();
        }
        done = true;
    });
    writer.join();
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(inconsistencies.load(), 0);
    EXPECT_GT(reads.load(), 0);
}
