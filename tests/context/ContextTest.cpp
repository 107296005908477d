// The browser context: URL of the current tree, locks, single-node copies and
// the parameter hooks.
#include <memory>
#include <string>

#include "context/ContextTestSupport.h"
#include "webstep/html/HTMLScanner.h"

using context_test::NewNode;
using context_test::NewPageNode;

namespace {

const std::string kFrames = "<frameset cols=*,*><frame src=a.html><frame src=b.html></frameset>";

// A node class that the copy must reproduce.
class CTaggedTree : public CContextTree {
public:
    CContextTree* CreateObject() override { return new CTaggedTree(); }
};

// A node class that cannot make new nodes.
class CBarrenTree : public CContextTree {
public:
    CContextTree* CreateObject() override { return nullptr; }
};

// A context that keeps one parameter.
class COneParameterContext : public CContext {
public:
    bool Parametrize(const MString& value, MString& result, bool) override {
        if (value != "{p}") {
            return false;
        }
        result = m_value;
        return true;
    }
    bool AssignToParameter(const MString& name, const MString& value) override {
        m_value = value;
        return name == "p";
    }

private:
    MString m_value;
};

}  // namespace

TEST(Context, LockTreeWithoutCurrentTreeReturnsTrue) {
    CContext context;
    EXPECT_TRUE(context.LockTree());
    EXPECT_TRUE(context.UnlockTree());
}

TEST(Context, LockAndUnlockTheCurrentTree) {
    CContextTree tree;
    CContext context;
    context.SetContextTree(&tree);
    EXPECT_TRUE(context.LockTree());
    EXPECT_TRUE(context.UnlockTree());
    // Released as often as it was taken: once more fails.
    EXPECT_FALSE(context.UnlockTree());
}

TEST(Context, UrlOfTheCurrentTree) {
    CContextTree tree;
    CContext context;
    context.SetContextTree(&tree);
    EXPECT_TRUE(context.SetUrl(CURLParser("http://shop.example/cart?id=4")));
    EXPECT_EQ(tree.GetUrl().GetFullURLWithSearch(), "http://shop.example/cart?id=4");
    EXPECT_EQ(context.GetUrl().GetHost(), "shop.example");
}

TEST(Context, UrlWithoutCurrentTreeIsEmptyAndCannotBeSet) {
    CContext context;
    EXPECT_FALSE(context.GetUrl().IsValid());
    EXPECT_EQ(context.GetUrl().GetFullURL(), "");
    EXPECT_FALSE(context.SetUrl(CURLParser("http://shop.example/")));
    EXPECT_FALSE(context.GetUrl().IsValid());
}

TEST(Context, DetachAndPreviousTreeAndReset) {
    CContextTree current;
    CContextTree previous;
    CContext context;
    context.SetContextTree(&current);
    context.SetPrevContextTree(&previous);
    EXPECT_EQ(context.GetPrevContextTree(), &previous);
    EXPECT_EQ(context.DetachContextTree(), &current);
    EXPECT_EQ(context.GetContextTree(), nullptr);
    context.SetContextTree(&current);
    context.Reset();
    EXPECT_EQ(context.GetPrevContextTree(), nullptr);
    EXPECT_EQ(context.GetContextTree(), &current);
}

TEST(Context, CopyPointsAtTheSameTrees) {
    CContextTree current;
    CContext context;
    context.SetContextTree(&current);
    CContext copy(context);
    EXPECT_EQ(copy.GetContextTree(), &current);
    CContext assigned;
    assigned = context;
    EXPECT_EQ(assigned.GetContextTree(), &current);
}

TEST(Context, ParameterHooksSucceedAndLeaveResultAlone) {
    CContext context;
    MString result = "untouched";
    EXPECT_TRUE(context.Parametrize("{name}", result, false));
    EXPECT_EQ(result, "untouched");
    EXPECT_TRUE(context.AssignToParameter("name", "value"));
}

TEST(Context, ParameterHooksCanBeOverridden) {
    COneParameterContext own;
    CContext& context = own;
    EXPECT_TRUE(context.AssignToParameter("p", "42"));
    MString result;
    EXPECT_TRUE(context.Parametrize("{p}", result, true));
    EXPECT_EQ(result, "42");
    EXPECT_FALSE(context.Parametrize("{q}", result, true));
}

// ------------------------------------------------------------------ single-node copies

TEST(ContextTreeCopy, WithoutCurrentTreeIsNull) {
    CContext context;
    EXPECT_EQ(context.CreateTreeCopy(), nullptr);
}

TEST(ContextTreeCopy, TreeWithFramesYieldsOneNodeWithoutChildren) {
    std::unique_ptr<CContextTree> top(NewPageNode("http://shop.example/", kFrames));
    ASSERT_TRUE(top->AddChild(NewNode(nullptr), CURLParser("http://shop.example/a.html"), false));
    ASSERT_TRUE(top->AddChild(NewNode(nullptr), CURLParser("http://shop.example/b.html"), false));
    ASSERT_EQ(top->GetChildrenArray().size(), 2u);
    CContext context;
    context.SetContextTree(top.get());
    std::unique_ptr<CContextTree> copy(context.CreateTreeCopy());
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->GetChildrenArray().empty());
    EXPECT_EQ(copy->GetParent(), nullptr);
    EXPECT_EQ(copy->GetUrl().GetFullURL(), "http://shop.example/");
    // The page is a copy of its own, with the same links.
    ASSERT_NE(copy->GetTree(), nullptr);
    EXPECT_NE(copy->GetTree(), top->GetTree());
    EXPECT_EQ(copy->GetTree()->nLinks(), top->GetTree()->nLinks());
    EXPECT_TRUE(copy->IsFrame());
    // The original is untouched.
    EXPECT_EQ(top->GetChildrenArray().size(), 2u);
    // The copy places frames from its own page.
    EXPECT_TRUE(copy->AddChild(NewNode(nullptr), CURLParser("http://shop.example/b.html"), false));
}

TEST(ContextTreeCopy, CopyOutlivesTheOriginalPage) {
    std::unique_ptr<CContextTree> top(NewPageNode("http://shop.example/", kFrames));
    CContext context;
    context.SetContextTree(top.get());
    std::unique_ptr<CContextTree> copy(context.CreateTreeCopy());
    top.reset();
    ASSERT_NE(copy->GetTree(), nullptr);
    EXPECT_EQ(copy->GetTree()->nLinks(), 3);  // cols and two frames
}

TEST(ContextTreeCopy, NodeWithoutPageCopiesWithoutPage) {
    CContextTree tree;
    tree.SetUrl(CURLParser("http://shop.example/x"));
    tree.SetFrameName("main");
    CContext context;
    context.SetContextTree(&tree);
    std::unique_ptr<CContextTree> copy(context.CreateTreeCopy());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetTree(), nullptr);
    EXPECT_EQ(copy->GetUrl().GetFullURL(), "http://shop.example/x");
    // Only the URL and the page are copied.
    EXPECT_EQ(copy->GetFrameName(), "");
}

TEST(ContextTreeCopy, CopyIsMadeByTheTreesOwnClass) {
    CTaggedTree tree;
    CContext context;
    context.SetContextTree(&tree);
    std::unique_ptr<CContextTree> copy(context.CreateTreeCopy());
    EXPECT_NE(dynamic_cast<CTaggedTree*>(copy.get()), nullptr);
}

TEST(ContextTreeCopy, BorrowedFacadeIsCopiedOverTheSameScanner) {
    CHTMLScanner scanner;
    scanner.startParse();
    scanner.continueParse(kFrames.data(), static_cast<unsigned>(kFrames.size()));
    scanner.endParse();
    CContextTree tree;
    tree.SetUrl(CURLParser("http://shop.example/"));
    tree.SetTree(scanner.CreateObject());
    CContext context;
    context.SetContextTree(&tree);
    std::unique_ptr<CContextTree> copy(context.CreateTreeCopy());
    ASSERT_NE(copy->GetTree(), nullptr);
    EXPECT_NE(copy->GetTree(), tree.GetTree());
    EXPECT_EQ(copy->GetTree()->nLinks(), 3);  // cols and two frames
    EXPECT_EQ(copy->GetTree()->link(1), scanner.link(1));
}

TEST(ContextTreeCopy, NodeClassThatMakesNoNodeGivesNoCopy) {
    CBarrenTree tree;
    tree.SetTree(CContextPage::Scan(kFrames));
    CContext context;
    context.SetContextTree(&tree);
    EXPECT_EQ(context.CreateTreeCopy(), nullptr);
}
