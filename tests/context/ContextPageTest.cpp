// Pages held by context tree nodes: owned scans, borrowed facades and pages
// the tree knows nothing about.
#include <memory>
#include <string>

#include "context/ContextTestSupport.h"
#include "webstep/html/HTMLScanner.h"

TEST(ContextPage, NothingScannedIsEmpty) {
    std::unique_ptr<CContextPage> page(CContextPage::Scan(nullptr, 0));
    EXPECT_TRUE(page->isEmpty());
    EXPECT_EQ(page->nLinks(), 0);
    EXPECT_TRUE(CContextPage::IsEmptyPage(page.get()));
}

TEST(ContextPage, ScannedTextIsKeptAndNotEmpty) {
    const std::string html = "<a href=x.html>x</a><img src=y.gif>";
    std::unique_ptr<CContextPage> page(CContextPage::Scan(html));
    EXPECT_FALSE(page->isEmpty());
    EXPECT_EQ(page->text(), html);
    EXPECT_EQ(page->nLinks(), 2);
    EXPECT_STREQ(CContextPage::PageLink(page.get(), 1)->url(), "y.gif");
    EXPECT_EQ(CContextPage::PageLink(page.get(), 2), nullptr);
    EXPECT_EQ(CContextPage::PageLink(page.get(), -1), nullptr);
}

TEST(ContextPage, TextWithZeroBytesIsScannedWhole) {
    const std::string html("<img src=a.gif>\0<img src=b.gif>", 31);
    std::unique_ptr<CContextPage> page(CContextPage::Scan(html));
    EXPECT_EQ(page->text().size(), 31u);
    EXPECT_EQ(page->nLinks(), 2);
}

TEST(ContextPage, CloneIsIndependent) {
    std::unique_ptr<CContextPage> page(CContextPage::Scan("<frame src=a.html>"));
    std::unique_ptr<CContextPage> clone(page->Clone());
    EXPECT_NE(clone->scanner(), page->scanner());
    page.reset();
    EXPECT_EQ(clone->nLinks(), 1);
    EXPECT_TRUE(clone->isFrame());
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

TEST(ContextPage, BorrowedFacadeIsNeverEmpty) {
    CHTMLScanner scanner;
    scanner.startParse();
    scanner.endParse();
    std::unique_ptr<CHTMLPage> facade(scanner.CreateObject());
    EXPECT_FALSE(CContextPage::IsEmptyPage(facade.get()));
}

TEST(ContextPage, UnknownPageClassHasNoLinksAndCannotBeCopied) {
    CHTMLVParser bare;
    EXPECT_TRUE(CContextPage::IsEmptyPage(&bare));
    EXPECT_FALSE(CContextPage::PageIsFrameSet(&bare));
    EXPECT_FALSE(CContextPage::PageIsFrame(&bare));
    EXPECT_EQ(CContextPage::PageLinkCount(&bare), 0);
    EXPECT_EQ(CContextPage::ClonePage(&bare), nullptr);
    EXPECT_EQ(CContextPage::ClonePage(nullptr), nullptr);
}

TEST(ContextPage, NodeWithUnknownPageAppendsChildren) {
    CContextTree top;
    top.SetUrl(CURLParser("http://shop.example/"));
    top.SetTree(new CHTMLVParser());
    auto* child = new CContextTree();
    ASSERT_TRUE(top.AddChild(child, CURLParser("http://shop.example/x.gif"), false));
    EXPECT_EQ(child->GetOrdinal(), 1u);
    EXPECT_FALSE(top.IsFrameSet());
}
