// Pages held by context tree nodes: owned scans, borrowed facades and facades
// of other classes, all asked through the page facade alone.
#include <memory>
#include <string>

#include "context/ContextTestSupport.h"
#include "webstep/html/HTMLScanner.h"

namespace {

// A facade that answers nothing of its own: every default of the base.
class CBarePage : public CHTMLVParser {};

// A facade of another class than the scanner's: it forwards to an owned scan
// and counts the questions, to show that the tree asks the facade itself.
class CForwardingPage : public CHTMLVParser {
public:
    explicit CForwardingPage(const std::string& html) : m_page(CContextPage::Scan(html)) {}
    int nLinks() const override {
        ++questions;
        return m_page->nLinks();
    }
    CHTMLLink* link(int i) const override { return m_page->link(i); }
    bool isEmpty() const override {
        ++questions;
        return m_page->isEmpty();
    }
    bool isFrameSet() const override { return m_page->isFrameSet(); }
    bool isFrame() const override { return m_page->isFrame(); }
    CHTMLVParser* clone() const override { return new CForwardingPage(m_page->text()); }

    mutable int questions = 0;

private:
    std::unique_ptr<CContextPage> m_page;
};

// A scanner's facade with something more of its own that a plain copy of
// the facade would lose.
class CNotedPage : public CHTMLPage {
public:
    using CHTMLPage::CHTMLPage;
    int note = 7;
};

}  // namespace

TEST(ContextPage, NothingScannedIsEmpty) {
    std::unique_ptr<CContextPage> page(CContextPage::Scan(nullptr, 0));
    EXPECT_TRUE(page->isEmpty());
    EXPECT_EQ(page->nLinks(), 0);
    const CHTMLVParser* facade = page.get();
    EXPECT_TRUE(facade->isEmpty());
}

TEST(ContextPage, ScannedTextIsKeptAndNotEmpty) {
    const std::string html = "<a href=x.html>x</a><img src=y.gif>";
    std::unique_ptr<CContextPage> page(CContextPage::Scan(html));
    EXPECT_FALSE(page->isEmpty());
    EXPECT_EQ(page->text(), html);
    const CHTMLVParser* facade = page.get();
    EXPECT_EQ(facade->nLinks(), 2);
    EXPECT_STREQ(facade->link(1)->url(), "y.gif");
    EXPECT_EQ(facade->link(2), nullptr);
    EXPECT_EQ(facade->link(-1), nullptr);
}

TEST(ContextPage, TextWithZeroBytesIsScannedWhole) {
    const std::string html("<img src=a.gif>\0<img src=b.gif>", 31);
    std::unique_ptr<CContextPage> page(CContextPage::Scan(html));
    EXPECT_EQ(page->text().size(), 31u);
    EXPECT_EQ(page->nLinks(), 2);
}

TEST(ContextPage, CloneIsIndependent) {
    std::unique_ptr<CContextPage> page(CContextPage::Scan("<frame src=a.html>"));
    std::unique_ptr<CContextPage> clone(page->clone());
    EXPECT_NE(clone->scanner(), page->scanner());
    EXPECT_EQ(clone->text(), page->text());
    page.reset();
    EXPECT_EQ(clone->nLinks(), 1);
    EXPECT_TRUE(clone->isFrame());
}

TEST(ContextPage, CloneThroughTheFacadeIsAnOwnedScanToo) {
    std::unique_ptr<CContextPage> page(CContextPage::Scan("<title>t</title><img src=a.gif>"));
    const CHTMLVParser* facade = page.get();
    std::unique_ptr<CHTMLVParser> clone(facade->clone());
    ASSERT_NE(dynamic_cast<CContextPage*>(clone.get()), nullptr);
    page.reset();
    EXPECT_STREQ(clone->title(), "t");
    EXPECT_EQ(clone->nLinks(), 1);
}

TEST(ContextPage, CloneOfAnEmptyPageIsEmpty) {
    std::unique_ptr<CContextPage> page(CContextPage::Scan(""));
    std::unique_ptr<CContextPage> clone(page->clone());
    EXPECT_TRUE(clone->isEmpty());
}

TEST(ContextPage, LargePageIsScannedInPieces) {
    std::string html;
    for (int i = 0; i < 60000; ++i) {
        html += "<img src=i" + std::to_string(i) + ".gif>";
    }
    ASSERT_GT(html.size(), 1u << 20);
    std::unique_ptr<CContextPage> page(CContextPage::Scan(html));
    EXPECT_EQ(page->nLinks(), 60000);
    EXPECT_STREQ(page->link(59999)->url(), "i59999.gif");
}

TEST(ContextPage, BorrowedFacadeAnswersItsScannersEmptiness) {
    CHTMLScanner scanner;
    scanner.startParse();
    scanner.endParse();
    std::unique_ptr<CHTMLPage> facade(scanner.CreateObject());
    EXPECT_TRUE(facade->isEmpty());
    scanner.startParse();
    scanner.continueParse("<img src=a.gif>", 15);
    scanner.endParse();
    EXPECT_FALSE(facade->isEmpty());
}

TEST(ContextPage, NodeWithBorrowedFacadeOfAnEmptyScanAppendsChildren) {
    CHTMLScanner scanner;
    scanner.startParse();
    scanner.endParse();
    CContextTree top;
    top.SetUrl(CURLParser("http://shop.example/"));
    top.SetTree(scanner.CreateObject());
    auto* child = new CContextTree();
    ASSERT_TRUE(top.AddChild(child, CURLParser("http://shop.example/x.gif"), false));
    EXPECT_EQ(child->GetOrdinal(), 1u);
}

TEST(ContextPage, FacadeDefaultsHaveNothingAndCannotBeCopied) {
    CBarePage bare;
    EXPECT_TRUE(bare.isEmpty());
    EXPECT_FALSE(bare.isFrameSet());
    EXPECT_FALSE(bare.isFrame());
    EXPECT_EQ(bare.nLinks(), 0);
    EXPECT_EQ(bare.link(0), nullptr);
    EXPECT_EQ(bare.nForms(), 0);
    EXPECT_EQ(bare.form(0), nullptr);
    EXPECT_EQ(bare.nMaps(), 0);
    EXPECT_EQ(bare.map(0), nullptr);
    EXPECT_EQ(bare.title(), nullptr);
    EXPECT_EQ(bare.root(), nullptr);
    EXPECT_EQ(bare.getSibling(nullptr, CHTMLVParser::SIBLING_FIRST), nullptr);
    int data = 0;
    bare.setData(nullptr, &data);
    EXPECT_EQ(bare.getData(nullptr), nullptr);
    EXPECT_EQ(bare.clone(), nullptr);
}

TEST(ContextPage, NodeWithFacadeOfNoLinksAppendsChildrenAndCopiesWithoutPage) {
    CContextTree top;
    top.SetUrl(CURLParser("http://shop.example/"));
    top.SetTree(new CBarePage());
    auto* child = new CContextTree();
    ASSERT_TRUE(top.AddChild(child, CURLParser("http://shop.example/x.gif"), false));
    EXPECT_EQ(child->GetOrdinal(), 1u);
    // The page's answer, not the answer of a node without page.
    EXPECT_FALSE(top.IsFrameSet());
    EXPECT_FALSE(top.IsFrame());
    CContext context;
    context.SetContextTree(&top);
    std::unique_ptr<CContextTree> copy(context.CreateTreeCopy());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetTree(), nullptr);
    EXPECT_EQ(copy->GetUrl().GetFullURL(), "http://shop.example/");
}

TEST(ContextPage, FacadeOfAnotherClassPlacesChildrenByItsLinks) {
    CContextTree top;
    top.SetUrl(CURLParser("http://shop.example/index.html"));
    auto* page = new CForwardingPage("<frameset cols=*,*><frame src=a.html><frame src=b.html>");
    top.SetTree(page);
    EXPECT_TRUE(top.IsFrameSet());
    EXPECT_TRUE(top.IsFrame());
    auto* child = new CContextTree();
    ASSERT_TRUE(top.AddChild(child, CURLParser("http://shop.example/b.html"), false));
    EXPECT_GT(page->questions, 0);
    // Slot 1: the cols link is no resource, a.html is slot 0.
    EXPECT_EQ(child->GetOrdinal(), 1u);
    ASSERT_EQ(top.GetChildrenArray().size(), 2u);
    EXPECT_EQ(top.GetChildrenArray()[0], nullptr);
    // A URL that none of its links gives is refused.
    std::unique_ptr<CContextTree> stranger(new CContextTree());
    EXPECT_FALSE(top.AddChild(stranger.get(), CURLParser("http://shop.example/c.html"), false));
}

TEST(ContextPage, TreeCopyUsesThePagesOwnCopy) {
    CContextTree top;
    top.SetUrl(CURLParser("http://shop.example/"));
    top.SetTree(new CForwardingPage("<frame src=a.html>"));
    CContext context;
    context.SetContextTree(&top);
    std::unique_ptr<CContextTree> copy(context.CreateTreeCopy());
    ASSERT_NE(copy, nullptr);
    auto* page = dynamic_cast<CForwardingPage*>(copy->GetTree());
    ASSERT_NE(page, nullptr);
    EXPECT_NE(copy->GetTree(), top.GetTree());
    EXPECT_EQ(page->nLinks(), 1);
}

TEST(ContextPage, DerivedScannerFacadeWithoutItsOwnCopyIsNotCopied) {
    CHTMLScanner scanner;
    scanner.startParse();
    scanner.continueParse("<frame src=a.html>", 18);
    scanner.endParse();
    CNotedPage noted(&scanner);
    EXPECT_EQ(noted.clone(), nullptr);
    // The plain facade is copied over the same scanner.
    std::unique_ptr<CHTMLPage> plain(scanner.CreateObject());
    std::unique_ptr<CHTMLVParser> copy(plain->clone());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->link(0), scanner.link(0));
}
