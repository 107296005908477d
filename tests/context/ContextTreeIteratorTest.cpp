// Walking a context tree: the whole tree depth first in pre-order, and the
// children of one node.
#include <memory>
#include <vector>

#include "context/ContextTestSupport.h"

namespace {

std::vector<CContextTree*> WalkAll(CContextTree* root) {
    std::vector<CContextTree*> seen;
    CContextTreeIterator it(root);
    while (CContextTree* node = it.GetNext()) {
        seen.push_back(node);
    }
    return seen;
}

}  // namespace

TEST(ContextTreeIterator, VisitsRootThenEachSubtreeInSlotOrder) {
    CContextTree root;
    auto* a = new CContextTree();
    auto* b = new CContextTree();
    auto* a1 = new CContextTree();
    auto* a2 = new CContextTree();
    auto* b1 = new CContextTree();
    root.GetChildrenArray() = {a, nullptr, b};
    a->GetChildrenArray() = {nullptr, a1, a2};
    b->GetChildrenArray() = {b1, nullptr};
    EXPECT_EQ(WalkAll(&root), (std::vector<CContextTree*>{&root, a, a1, a2, b, b1}));
}

TEST(ContextTreeIterator, SingleNodeAndNullRoot) {
    CContextTree root;
    EXPECT_EQ(WalkAll(&root), (std::vector<CContextTree*>{&root}));
    EXPECT_TRUE(WalkAll(nullptr).empty());
}

TEST(ContextTreeIterator, StaysAtTheEndAndResetStartsAgain) {
    CContextTree root;
    auto* a = new CContextTree();
    root.GetChildrenArray() = {a};
    CContextTreeIterator it(&root);
    EXPECT_EQ(it.GetNext(), &root);
    EXPECT_EQ(it.GetNext(), a);
    EXPECT_EQ(it.GetNext(), nullptr);
    EXPECT_EQ(it.GetNext(), nullptr);
    it.Reset();
    EXPECT_EQ(it.GetNext(), &root);
}

TEST(ContextTreeIterator, SubtreeWalkDoesNotLeaveTheStartNode) {
    CContextTree root;
    auto* a = new CContextTree();
    auto* a1 = new CContextTree();
    auto* b = new CContextTree();
    root.GetChildrenArray() = {a, b};
    a->GetChildrenArray() = {a1};
    EXPECT_EQ(WalkAll(a), (std::vector<CContextTree*>{a, a1}));
}

TEST(ContextTreeIterator, DeepChainIsWalkedWithoutRecursion) {
    CContextTree root;
    CContextTree* node = &root;
    for (int i = 0; i < 5000; ++i) {
        auto* child = new CContextTree();
        node->GetChildrenArray().push_back(child);
        node = child;
    }
    auto all = WalkAll(&root);
    ASSERT_EQ(all.size(), 5001u);
    EXPECT_EQ(all.back(), node);
}

TEST(ContextTreeChildIterator, VisitsChildrenInSlotOrderSkippingGaps) {
    CContextTree root;
    auto* a = new CContextTree();
    auto* b = new CContextTree();
    auto* a1 = new CContextTree();
    root.GetChildrenArray() = {nullptr, a, nullptr, b, nullptr};
    a->GetChildrenArray() = {a1};
    CContextTreeChildIterator it(&root);
    EXPECT_EQ(it.GetNext(), a);
    EXPECT_EQ(it.GetNext(), b);
    EXPECT_EQ(it.GetNext(), nullptr);
    EXPECT_EQ(it.GetNext(), nullptr);
    it.Reset();
    EXPECT_EQ(it.GetNext(), a);
}

TEST(ContextTreeChildIterator, NodeWithoutChildrenAndNullNode) {
    CContextTree leaf;
    CContextTreeChildIterator it(&leaf);
    EXPECT_EQ(it.GetNext(), nullptr);
    CContextTreeChildIterator none(nullptr);
    EXPECT_EQ(none.GetNext(), nullptr);
}
