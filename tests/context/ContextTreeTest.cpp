// Context tree nodes: placing children by the page's counted links or by
// appending, relative frame ids, hierarchical names, replacing and purging
// children, pages and the top of a tree.
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/TestPaths.h"
#include "context/ContextTestSupport.h"

using context_test::NewNode;
using context_test::NewPageNode;

namespace {

const char* const kTop = "http://shop.example/index.html";

const std::string kTwoFramesPage =
    "<html><frameset cols='50%,*'><frame name=left src=left.html>"
    "<frame name=right src=right.html></frameset></html>";

// A node class whose children report how they were let go.
class CKeptTree : public CContextTree {
public:
    explicit CKeptTree(bool canDelete, int* deletes, int* destroyed)
        : m_canDelete(canDelete), m_deletes(deletes), m_destroyed(destroyed) {}
    ~CKeptTree() override {
        if (m_destroyed != nullptr) {
            ++*m_destroyed;
        }
    }
    bool CanDelete() override { return m_canDelete; }
    void Delete() override { ++*m_deletes; }
    CContextTree* CreateObject() override { return new CKeptTree(m_canDelete, m_deletes, nullptr); }

private:
    bool m_canDelete;
    int* m_deletes;
    int* m_destroyed;
};

}  // namespace

// ------------------------------------------------------------------ pages and frame flags

TEST(ContextTreePage, NodeWithoutPageReportsFrameSetAndFrame) {
    CContextTree node;
    EXPECT_EQ(node.GetTree(), nullptr);
    EXPECT_TRUE(node.IsFrameSet());
    EXPECT_TRUE(node.IsFrame());
}

TEST(ContextTreePage, PlainPageReportsNeitherFrameSetNorFrame) {
    CContextTree node;
    node.SetTree(CContextPage::Scan("<html><body><p>hello</p></body></html>"));
    EXPECT_FALSE(node.IsFrameSet());
    EXPECT_FALSE(node.IsFrame());
}

TEST(ContextTreePage, OpenFramesetReportsFrameSetAndFrame) {
    CContextTree node;
    node.SetTree(CContextPage::Scan("<frameset rows=1,*><frame src=a.html>"));
    EXPECT_TRUE(node.IsFrameSet());
    EXPECT_TRUE(node.IsFrame());
}

TEST(ContextTreePage, ClosedFramesetStillReportsItsFrames) {
    CContextTree node;
    node.SetTree(CContextPage::Scan(kTwoFramesPage));
    // The frameset is closed again at the end of the page.
    EXPECT_FALSE(node.IsFrameSet());
    EXPECT_TRUE(node.IsFrame());
}

TEST(ContextTreePage, SetTreeDestroysOldPageAndPurgesChildren) {
    std::unique_ptr<CContextTree> top(NewNode(kTop));
    int deletes = 0;
    int destroyed = 0;
    ASSERT_TRUE(top->AddChild(new CKeptTree(true, &deletes, &destroyed), CURLParser(), false));
    top->SetTree(CContextPage::Scan(kTwoFramesPage));
    EXPECT_EQ(destroyed, 1);
    EXPECT_TRUE(top->GetChildrenArray().empty());
    ASSERT_NE(top->GetTree(), nullptr);
    // Setting the page again keeps it alive (it is not destroyed twice).
    CHTMLVParser* page = top->GetTree();
    top->SetTree(page);
    EXPECT_EQ(top->GetTree(), page);
    EXPECT_EQ(page->nLinks(), 3);  // frameset cols and two frames
}

TEST(ContextTreePage, RemoveTreeLeavesNoPageAndNoChildren) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    ASSERT_TRUE(top->AddChild(NewNode("http://shop.example/left.html"),
                              CURLParser("http://shop.example/left.html"), false));
    top->RemoveTree();
    EXPECT_EQ(top->GetTree(), nullptr);
    EXPECT_TRUE(top->GetChildrenArray().empty());
}

TEST(ContextTreePage, DetachTreeHandsOverThePageAndKeepsChildren) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    ASSERT_TRUE(top->AddChild(NewNode("http://shop.example/left.html"),
                              CURLParser("http://shop.example/left.html"), false));
    std::unique_ptr<CHTMLVParser> page(top->DetachTree());
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(top->GetTree(), nullptr);
    EXPECT_EQ(top->GetChildrenArray().size(), 1u);
    EXPECT_EQ(top->DetachTree(), nullptr);
}

// ------------------------------------------------------------------ placing children

TEST(ContextTreeAddChild, AppendedChildOrdinalIsOneMoreThanItsIndex) {
    CContextTree top;
    top.SetLevel(3);
    CContextTree* first = NewNode("http://a.example/1.gif");
    CContextTree* second = NewNode("http://a.example/2.gif");
    ASSERT_TRUE(top.AddChild(first, first->GetUrl(), false));
    ASSERT_TRUE(top.AddChild(second, second->GetUrl(), false));
    ASSERT_EQ(top.GetChildrenArray().size(), 2u);
    EXPECT_EQ(top.GetChildrenArray()[0], first);
    EXPECT_EQ(top.GetChildrenArray()[1], second);
    // Deliberately the number of children after appending.
    EXPECT_EQ(first->GetOrdinal(), 1u);
    EXPECT_EQ(second->GetOrdinal(), 2u);
    EXPECT_EQ(first->GetLevel(), 4u);
    EXPECT_EQ(second->GetParent(), &top);
}

TEST(ContextTreeAddChild, AppendedChildKeepsItsRelativeFrameId) {
    CContextTree top;
    top.UpdateRelFrameId("");
    CContextTree* child = NewNode("http://a.example/x.html");
    child->UpdateRelFrameId("7");
    ASSERT_TRUE(top.AddChild(child, child->GetUrl(), false));
    EXPECT_EQ(child->GetRelFrameId(), "7.1");
}

TEST(ContextTreeAddChild, EmptyPageAppendsLikeNoPage) {
    CContextTree top;
    top.SetUrl(CURLParser(kTop));
    top.SetTree(CContextPage::Scan(""));
    ASSERT_NE(top.GetTree(), nullptr);
    EXPECT_TRUE(top.GetTree()->isEmpty());
    CContextTree* child = NewNode("http://elsewhere.example/a.css");
    ASSERT_TRUE(top.AddChild(child, child->GetUrl(), false));
    EXPECT_EQ(child->GetOrdinal(), 1u);
}

TEST(ContextTreeAddChild, FrameTakesTheSlotOfItsLink) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    top->UpdateRelFrameId(nullptr);
    CContextTree* right = NewNode("http://shop.example/right.html");
    ASSERT_TRUE(top->AddChild(right, CURLParser("http://shop.example/right.html"), false));
    // The frameset's cols link is not a resource and does not count.
    ASSERT_EQ(top->GetChildrenArray().size(), 2u);
    EXPECT_EQ(top->GetChildrenArray()[0], nullptr);
    EXPECT_EQ(top->GetChildrenArray()[1], right);
    EXPECT_EQ(right->GetOrdinal(), 1u);
    EXPECT_EQ(right->GetLevel(), 1u);
    EXPECT_EQ(right->GetParent(), top.get());
    EXPECT_EQ(right->GetRelFrameId(), "1.2");
}

TEST(ContextTreeAddChild, FramesWithTheSameUrlTakeSuccessiveSlots) {
    std::unique_ptr<CContextTree> top(
        NewPageNode(kTop,
                    "<frameset rows=*,*,*><frame src=same.html><frame src=same.html>"
                    "<frame src=same.html></frameset>"));
    top->UpdateRelFrameId("");
    CURLParser same("http://shop.example/same.html");
    CContextTree* a = NewNode(nullptr);
    CContextTree* b = NewNode(nullptr);
    CContextTree* c = NewNode(nullptr);
    ASSERT_TRUE(top->AddChild(a, same, false));
    ASSERT_TRUE(top->AddChild(b, same, false));
    ASSERT_TRUE(top->AddChild(c, same, false));
    EXPECT_EQ(a->GetOrdinal(), 0u);
    EXPECT_EQ(b->GetOrdinal(), 1u);
    EXPECT_EQ(c->GetOrdinal(), 2u);
    EXPECT_EQ(c->GetRelFrameId(), "1.3");
    // Every slot of that URL is taken now.
    std::unique_ptr<CContextTree> d(NewNode(nullptr));
    EXPECT_FALSE(top->AddChild(d.get(), same, false));
    EXPECT_EQ(top->GetChildrenArray().size(), 3u);
}

TEST(ContextTreeAddChild, CountedLinksWithoutChildLeaveNullGaps) {
    std::unique_ptr<CContextTree> top(
        NewPageNode(kTop,
                    "<frameset rows=*,*,*,*><frame src=a.html><frame src=b.html>"
                    "<frame src=c.html><frame src=d.html></frameset>"));
    CContextTree* d = NewNode(nullptr);
    CContextTree* b = NewNode(nullptr);
    ASSERT_TRUE(top->AddChild(d, CURLParser("http://shop.example/d.html"), false));
    const auto& children = top->GetChildrenArray();
    ASSERT_EQ(children.size(), 4u);
    EXPECT_EQ(children[0], nullptr);
    EXPECT_EQ(children[1], nullptr);
    EXPECT_EQ(children[2], nullptr);
    EXPECT_EQ(children[3], d);
    ASSERT_TRUE(top->AddChild(b, CURLParser("http://shop.example/b.html"), false));
    EXPECT_EQ(children.size(), 4u);
    EXPECT_EQ(children[1], b);
    EXPECT_EQ(b->GetOrdinal(), 1u);
}

TEST(ContextTreeAddChild, ChildWithoutMatchingLinkIsNotAdded) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    std::unique_ptr<CContextTree> stray(NewNode(nullptr));
    EXPECT_FALSE(top->AddChild(stray.get(), CURLParser("http://shop.example/other.html"), false));
    EXPECT_TRUE(top->GetChildrenArray().empty());
    EXPECT_EQ(stray->GetParent(), nullptr);
}

TEST(ContextTreeAddChild, AnchorsNeverCountAndImagesOnlyForAnyResource) {
    const std::string page =
        "<body><a href=next.html>next</a><img src=logo.gif>"
        "<iframe src=ad.html></iframe><img src=photo.jpg></body>";
    // Without anyResource only the iframe counts: it is slot 0.
    {
        std::unique_ptr<CContextTree> top(NewPageNode(kTop, page));
        CContextTree* frame = NewNode(nullptr);
        ASSERT_TRUE(top->AddChild(frame, CURLParser("http://shop.example/ad.html"), false));
        EXPECT_EQ(frame->GetOrdinal(), 0u);
        std::unique_ptr<CContextTree> image(NewNode(nullptr));
        EXPECT_FALSE(top->AddChild(image.get(), CURLParser("http://shop.example/logo.gif"), false));
        std::unique_ptr<CContextTree> anchor(NewNode(nullptr));
        EXPECT_FALSE(
            top->AddChild(anchor.get(), CURLParser("http://shop.example/next.html"), true));
    }
    // With anyResource the images count too: logo 0, iframe 1, photo 2.
    {
        std::unique_ptr<CContextTree> top(NewPageNode(kTop, page));
        CContextTree* photo = NewNode(nullptr);
        CContextTree* frame = NewNode(nullptr);
        ASSERT_TRUE(top->AddChild(photo, CURLParser("http://shop.example/photo.jpg"), true));
        ASSERT_TRUE(top->AddChild(frame, CURLParser("http://shop.example/ad.html"), true));
        EXPECT_EQ(photo->GetOrdinal(), 2u);
        EXPECT_EQ(frame->GetOrdinal(), 1u);
        EXPECT_EQ(top->GetChildrenArray()[0], nullptr);
    }
}

TEST(ContextTreeAddChild, QueryMustMatchButFragmentDoesNot) {
    std::unique_ptr<CContextTree> top(
        NewPageNode(kTop, "<iframe src='box.html?id=1#part'></iframe>"));
    std::unique_ptr<CContextTree> other(NewNode(nullptr));
    EXPECT_FALSE(
        top->AddChild(other.get(), CURLParser("http://shop.example/box.html?id=2"), false));
    EXPECT_FALSE(top->AddChild(other.get(), CURLParser("http://shop.example/box.html"), false));
    CContextTree* box = NewNode(nullptr);
    EXPECT_TRUE(top->AddChild(box, CURLParser("http://shop.example/box.html?id=1#other"), false));
}

TEST(ContextTreeAddChild, LinkIsResolvedAgainstTheBaseElement) {
    std::unique_ptr<CContextTree> top(
        NewPageNode(kTop,
                    "<head><base href='http://cdn.example/pages/'></head>"
                    "<frameset rows=*><frame src=inner.html></frameset>"));
    std::unique_ptr<CContextTree> wrong(NewNode(nullptr));
    EXPECT_FALSE(top->AddChild(wrong.get(), CURLParser("http://shop.example/inner.html"), false));
    CContextTree* inner = NewNode(nullptr);
    EXPECT_TRUE(top->AddChild(inner, CURLParser("http://cdn.example/pages/inner.html"), false));
}

TEST(ContextTreeAddChild, RelativeBaseElementIsResolvedAgainstTheNodeUrl) {
    std::unique_ptr<CContextTree> top(
        NewPageNode("http://shop.example/a/index.html",
                    "<base href='sub/'><frameset rows=*><frame src=inner.html></frameset>"));
    CContextTree* inner = NewNode(nullptr);
    EXPECT_TRUE(top->AddChild(inner, CURLParser("http://shop.example/a/sub/inner.html"), false));
}

TEST(ContextTreeAddChild, InvalidUrlMatchesNoLink) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    std::unique_ptr<CContextTree> child(NewNode(nullptr));
    EXPECT_FALSE(top->AddChild(child.get(), CURLParser(), false));
    EXPECT_TRUE(top->GetChildrenArray().empty());
}

TEST(ContextTreeAddChild, NullSelfAndRepeatedChildrenAreRefused) {
    CContextTree top;
    EXPECT_FALSE(top.AddChild(nullptr, CURLParser(kTop), false));
    EXPECT_FALSE(top.AddChild(&top, CURLParser(kTop), false));
    CContextTree* child = NewNode(kTop);
    ASSERT_TRUE(top.AddChild(child, CURLParser(kTop), false));
    EXPECT_FALSE(top.AddChild(child, CURLParser(kTop), false));
    EXPECT_EQ(top.GetChildrenArray().size(), 1u);
}

TEST(ContextTreeAddChild, ManyAppendedChildren) {
    CContextTree top;
    for (int i = 0; i < 20000; ++i) {
        ASSERT_TRUE(top.AddChild(new CContextTree(), CURLParser(), false));
    }
    EXPECT_EQ(top.GetChildrenArray().size(), 20000u);
    EXPECT_EQ(top.GetChildrenArray().back()->GetOrdinal(), 20000u);
}

TEST(ContextTreeAddChild, PlacedFrameGetsIdsForItsWholeSubtree) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    top->UpdateRelFrameId("");
    CContextTree* left = NewPageNode("http://shop.example/left.html", "");
    CContextTree* inner = NewNode("http://shop.example/inner.gif");
    ASSERT_TRUE(left->AddChild(inner, inner->GetUrl(), false));  // appended, ordinal 1
    ASSERT_TRUE(top->AddChild(left, CURLParser("http://shop.example/left.html"), false));
    EXPECT_EQ(left->GetRelFrameId(), "1.1");
    EXPECT_EQ(inner->GetRelFrameId(), "1.1.2");
}

// ------------------------------------------------------------------ relative frame ids

TEST(ContextTreeRelFrameId, TopWithTwoChildrenFromEmptyParentIdGivesOneAndOneOneAndOneTwo) {
    CContextTree top;
    auto* first = new CContextTree();
    auto* second = new CContextTree();
    top.GetChildrenArray() = {first, second};
    first->SetOrdinal(0);
    second->SetOrdinal(1);
    top.UpdateRelFrameId("");
    EXPECT_EQ(top.GetRelFrameId(), "1");
    EXPECT_EQ(first->GetRelFrameId(), "1.1");
    EXPECT_EQ(second->GetRelFrameId(), "1.2");
}

TEST(ContextTreeRelFrameId, NullParentIdGivesOne) {
    CContextTree node;
    node.SetOrdinal(5);
    node.UpdateRelFrameId(nullptr);
    EXPECT_EQ(node.GetRelFrameId(), "1");
}

TEST(ContextTreeRelFrameId, ThirdFrameInsideFirstFrame) {
    CContextTree top;
    auto* frame = new CContextTree();
    auto* third = new CContextTree();
    top.GetChildrenArray() = {frame, nullptr};
    frame->GetChildrenArray() = {nullptr, nullptr, third};
    third->SetOrdinal(2);
    top.UpdateRelFrameId("");
    EXPECT_EQ(third->GetRelFrameId(), "1.1.3");
}

TEST(ContextTreeRelFrameId, GivenParentIdIsExtended) {
    CContextTree node;
    node.SetOrdinal(9);
    node.UpdateRelFrameId("1.4");
    EXPECT_EQ(node.GetRelFrameId(), "1.4.10");
}

TEST(ContextTreeRelFrameId, DeepChainDoesNotExhaustTheStack) {
    CContextTree top;
    CContextTree* node = &top;
    for (int i = 0; i < 3000; ++i) {
        auto* child = new CContextTree();
        node->GetChildrenArray().push_back(child);
        child->SetParent(node);
        node = child;
    }
    top.UpdateRelFrameId("");
    std::string expected = "1";
    for (int i = 0; i < 3000; ++i) {
        expected += ".1";
    }
    EXPECT_EQ(node->GetRelFrameId(), expected);
}

// ------------------------------------------------------------------ hierarchical names

TEST(ContextTreeHierarchicalName, OrdinalsCountFromZero) {
    std::unique_ptr<CContextTree> top(NewNode(kTop));
    auto* first = NewNode("http://shop.example/f.html");
    auto* second = new CContextTree();
    top->GetChildrenArray() = {first};
    first->SetParent(top.get());
    first->SetOrdinal(0);
    first->GetChildrenArray() = {nullptr, second};
    second->SetParent(first);
    second->SetOrdinal(1);
    // Deliberately unlike the relative frame id, which would say 1.1 and 1.1.2.
    EXPECT_EQ(first->GetHierarchicalName(), "f0");
    EXPECT_EQ(second->GetHierarchicalName(), "f0f1");
}

TEST(ContextTreeHierarchicalName, NodeWithoutParentHasEmptyName) {
    CContextTree node;
    node.SetUrl(CURLParser(kTop));
    node.SetOrdinal(4);
    EXPECT_EQ(node.GetHierarchicalName(), "");
}

TEST(ContextTreeHierarchicalName, ParentWithoutUrlGivesEmptyName) {
    CContextTree top;
    auto* child = NewNode("http://shop.example/a.gif");
    ASSERT_TRUE(top.AddChild(child, child->GetUrl(), false));
    EXPECT_EQ(child->GetHierarchicalName(), "");
}

TEST(ContextTreeHierarchicalName, AppendedChildShowsItsShiftedOrdinal) {
    CContextTree top;
    top.SetUrl(CURLParser(kTop));
    auto* child = NewNode("http://shop.example/a.gif");
    ASSERT_TRUE(top.AddChild(child, child->GetUrl(), false));
    EXPECT_EQ(child->GetHierarchicalName(), "f1");
}

TEST(ContextTreeHierarchicalName, NameStartsBelowAnAncestorWithoutUrl) {
    CContextTree root;  // no URL
    auto* top = NewNode(kTop);
    auto* frame = new CContextTree();
    root.GetChildrenArray() = {top};
    top->SetParent(&root);
    top->SetOrdinal(3);
    top->GetChildrenArray() = {frame};
    frame->SetParent(top);
    frame->SetOrdinal(0);
    EXPECT_EQ(top->GetHierarchicalName(), "");
    EXPECT_EQ(frame->GetHierarchicalName(), "f0");
}

// ------------------------------------------------------------------ top of the tree

TEST(ContextTreeTop, RootIsItsOwnTop) {
    CContextTree root;
    EXPECT_EQ(root.GetTopContextTree(), &root);
}

TEST(ContextTreeTop, WalksUpToTheRoot) {
    CContextTree root;
    auto* a = new CContextTree();
    auto* b = new CContextTree();
    root.AddChild(a, CURLParser(), false);
    a->AddChild(b, CURLParser(), false);
    EXPECT_EQ(b->GetTopContextTree(), &root);
    EXPECT_EQ(a->GetTopContextTree(), &root);
}

TEST(ContextTreeTop, StopsBelowTheFirstDummyParent) {
    CContextTree root;
    auto* dummy = new CContextTree();
    auto* page = new CContextTree();
    auto* frame = new CContextTree();
    root.AddChild(dummy, CURLParser(), false);
    dummy->AddChild(page, CURLParser(), false);
    page->AddChild(frame, CURLParser(), false);
    dummy->SetDummy(true);
    EXPECT_EQ(frame->GetTopContextTree(), page);
    EXPECT_EQ(page->GetTopContextTree(), page);
    // The dummy node itself walks on up.
    EXPECT_EQ(dummy->GetTopContextTree(), &root);
}

TEST(ContextTreeTop, DummyRootActsAsBoundaryToo) {
    CContextTree root;
    root.SetDummy(true);
    auto* page = new CContextTree();
    root.AddChild(page, CURLParser(), false);
    EXPECT_EQ(page->GetTopContextTree(), page);
    EXPECT_EQ(root.GetTopContextTree(), &root);
}

// ------------------------------------------------------------------ replacing and purging

TEST(ContextTreeReplaceChild, NodeThatIsNotAChildReturnsFalseAndChangesNothing) {
    CContextTree top;
    auto* a = new CContextTree();
    auto* b = new CContextTree();
    top.AddChild(a, CURLParser(), false);
    top.AddChild(b, CURLParser(), false);
    CContextTree stranger;
    CContextTree replacement;
    replacement.SetOrdinal(42);
    replacement.SetLevel(7);
    EXPECT_FALSE(top.ReplaceChild(&stranger, &replacement));
    ASSERT_EQ(top.GetChildrenArray().size(), 2u);
    EXPECT_EQ(top.GetChildrenArray()[0], a);
    EXPECT_EQ(top.GetChildrenArray()[1], b);
    EXPECT_EQ(replacement.GetOrdinal(), 42u);
    EXPECT_EQ(replacement.GetLevel(), 7u);
    EXPECT_EQ(replacement.GetParent(), nullptr);
}

TEST(ContextTreeReplaceChild, NullOldDoesNotMatchANullSlot) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    ASSERT_TRUE(
        top->AddChild(new CContextTree(), CURLParser("http://shop.example/right.html"), false));
    ASSERT_EQ(top->GetChildrenArray()[0], nullptr);
    CContextTree replacement;
    EXPECT_FALSE(top->ReplaceChild(nullptr, &replacement));
    EXPECT_EQ(top->GetChildrenArray()[0], nullptr);
    EXPECT_FALSE(top->ReplaceChild(top->GetChildrenArray()[1], nullptr));
}

TEST(ContextTreeReplaceChild, ReplacementTakesPlaceIndexAndLevelAndOldSurvives) {
    CContextTree top;
    top.SetLevel(2);
    auto* a = new CContextTree();
    auto* b = new CContextTree();
    top.AddChild(a, CURLParser(), false);
    top.AddChild(b, CURLParser(), false);
    ASSERT_EQ(b->GetOrdinal(), 2u);
    auto* replacement = new CContextTree();
    ASSERT_TRUE(top.ReplaceChild(b, replacement));
    EXPECT_EQ(top.GetChildrenArray()[1], replacement);
    EXPECT_EQ(replacement->GetOrdinal(), 1u);  // the index, not the appended ordinal
    EXPECT_EQ(replacement->GetLevel(), 3u);
    EXPECT_EQ(replacement->GetParent(), &top);
    // The old node is the caller's again and still usable.
    EXPECT_EQ(b->GetOrdinal(), 2u);
    delete b;
}

TEST(ContextTreePurge, DeletableChildrenAreDestroyedOthersGetDelete) {
    int deletes = 0;
    int destroyed = 0;
    auto* kept = new CKeptTree(false, &deletes, &destroyed);
    {
        CContextTree top;
        top.AddChild(new CKeptTree(true, &deletes, &destroyed), CURLParser(), false);
        top.AddChild(kept, CURLParser(), false);
        top.AddChild(new CKeptTree(true, &deletes, &destroyed), CURLParser(), false);
        top.PurgeChildren();
        EXPECT_TRUE(top.GetChildrenArray().empty());
        EXPECT_EQ(destroyed, 2);
        EXPECT_EQ(deletes, 1);
    }
    // The kept node outlived its parent.
    EXPECT_EQ(destroyed, 2);
    delete kept;
    EXPECT_EQ(destroyed, 3);
}

TEST(ContextTreePurge, NullSlotsArePassedOver) {
    std::unique_ptr<CContextTree> top(NewPageNode(kTop, kTwoFramesPage));
    ASSERT_TRUE(
        top->AddChild(new CContextTree(), CURLParser("http://shop.example/right.html"), false));
    top->PurgeChildren();
    EXPECT_TRUE(top->GetChildrenArray().empty());
    top->PurgeChildren();
    EXPECT_TRUE(top->GetChildrenArray().empty());
}

TEST(ContextTreePurge, DestroyingATreeDestroysGrandchildren) {
    int deletes = 0;
    int destroyed = 0;
    {
        CContextTree top;
        auto* child = new CKeptTree(true, &deletes, &destroyed);
        top.AddChild(child, CURLParser(), false);
        child->AddChild(new CKeptTree(true, &deletes, &destroyed), CURLParser(), false);
    }
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(deletes, 0);
}

// ------------------------------------------------------------------ a recorded frameset page

TEST(ContextTreeCorpus, RecordedFramesetPageGivesItsFramesSlotsAndNames) {
    auto path = webstep::test::RequireShared("corpus/scripts/s0016_bank_en/data/t22.html");
    std::ifstream in(path, std::ios::binary);
    ASSERT_TRUE(in) << path;
    std::string html((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_NE(html.find("<frameset"), std::string::npos);

    std::unique_ptr<CContextTree> top(NewPageNode("http://bank.example/ib/main", html));
    top->UpdateRelFrameId("");
    EXPECT_TRUE(top->IsFrame());

    CContextTree* content = NewNode("http://bank.example/ib/accounts");
    CContextTree* banner = NewNode("http://bank.example/ib/banner");
    CContextTree* menu = NewNode("http://bank.example/ib/menu");
    ASSERT_TRUE(top->AddChild(content, content->GetUrl(), false));
    ASSERT_TRUE(top->AddChild(banner, banner->GetUrl(), false));
    ASSERT_TRUE(top->AddChild(menu, menu->GetUrl(), false));
    // The anchor to the same accounts page inside noframes does not count.
    std::unique_ptr<CContextTree> second(NewNode("http://bank.example/ib/accounts"));
    EXPECT_FALSE(top->AddChild(second.get(), second->GetUrl(), false));

    ASSERT_EQ(top->GetChildrenArray().size(), 3u);
    EXPECT_EQ(top->GetChildrenArray()[0], banner);
    EXPECT_EQ(top->GetChildrenArray()[1], menu);
    EXPECT_EQ(top->GetChildrenArray()[2], content);
    EXPECT_EQ(banner->GetRelFrameId(), "1.1");
    EXPECT_EQ(content->GetRelFrameId(), "1.3");
    EXPECT_EQ(content->GetHierarchicalName(), "f2");
    EXPECT_EQ(content->GetLevel(), 1u);
    EXPECT_EQ(content->GetTopContextTree(), top.get());
}

TEST(ContextTreeAddChild, NodeWithoutUrlStillMatchesAbsoluteLinks) {
    std::unique_ptr<CContextTree> top(
        NewPageNode(nullptr,
                    "<frameset rows=*,*><frame src=relative.html>"
                    "<frame src='http://cdn.example/abs.html'></frameset>"));
    std::unique_ptr<CContextTree> relative(NewNode(nullptr));
    EXPECT_FALSE(
        top->AddChild(relative.get(), CURLParser("http://cdn.example/relative.html"), false));
    CContextTree* absolute = NewNode(nullptr);
    ASSERT_TRUE(top->AddChild(absolute, CURLParser("http://cdn.example/abs.html"), false));
    // The relative link still counted as slot 0.
    EXPECT_EQ(absolute->GetOrdinal(), 1u);
}

TEST(ContextTreeAddChild, HostCaseAndDefaultPortDoNotPreventAMatch) {
    std::unique_ptr<CContextTree> top(
        NewPageNode(kTop, "<iframe src='http://CDN.example:80/box.html'></iframe>"));
    // The URL parser prints the host in lower case and leaves out a default
    // port, so both spellings compare equal.
    std::unique_ptr<CContextTree> other(NewNode(nullptr));
    EXPECT_FALSE(top->AddChild(other.get(), CURLParser("http://cdn.example:8080/box.html"), false));
    CContextTree* box = NewNode(nullptr);
    EXPECT_TRUE(top->AddChild(box, CURLParser("http://cdn.example/box.html"), false));
}
