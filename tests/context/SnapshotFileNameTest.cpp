// Snapshot file names: base name, hierarchical name, the resource's file name
// and the extension registered for the content type.
#include <memory>

#include "context/ContextTestSupport.h"

using context_test::NewNode;

namespace {

class SnapshotFileName : public context_test::MimeTypesFixture {
protected:
    // A top page with a URL and three children in slots 0, 1 and 2.
    void SetUp() override {
        MimeTypesFixture::SetUp();
        m_top.reset(NewNode("http://shop.example/index.html"));
        for (int i = 0; i < 3; ++i) {
            m_children[i] = new CContextTree();
            m_children[i]->SetParent(m_top.get());
            m_children[i]->SetOrdinal(static_cast<std::uint32_t>(i));
            m_top->GetChildrenArray().push_back(m_children[i]);
        }
    }

    std::unique_ptr<CContextTree> m_top;
    CContextTree* m_children[3] = {};
};

}  // namespace

TEST_F(SnapshotFileName, ThirdResourceOfTopPageIsT5f2LogoGif) {
    CContextTree* logo = m_children[2];
    logo->SetResource(true);
    logo->SetUrl(CURLParser("http://shop.example/img/logo.gif"));
    EXPECT_EQ(logo->ComputeSnapshotFileName("", "image/gif", "t5", false), "t5f2_logo.gif");
    EXPECT_EQ(logo->GetSnapshotFileName(), "t5f2_logo.gif");
}

TEST_F(SnapshotFileName, PathPrefixIsOnlyInTheResult) {
    CContextTree* logo = m_children[2];
    logo->SetResource(true);
    logo->SetUrl(CURLParser("http://shop.example/img/logo.gif"));
    EXPECT_EQ(logo->ComputeSnapshotFileName("/tmp/data/", "image/gif", "t5", false),
              "/tmp/data/t5f2_logo.gif");
    EXPECT_EQ(logo->GetSnapshotFileName(), "t5f2_logo.gif");
}

TEST_F(SnapshotFileName, DocumentWithoutForceGetsBaseNameAndExtension) {
    EXPECT_EQ(m_top->ComputeSnapshotFileName("", "text/html", "t5", false), "t5.html");
    CContextTree* frame = m_children[1];
    frame->SetUrl(CURLParser("http://shop.example/frame.htm"));
    EXPECT_EQ(frame->ComputeSnapshotFileName("", "image/jpeg", "t5", false), "t5.jpeg");
}

TEST_F(SnapshotFileName, ForcedHierarchicalDocumentGetsItsNodeName) {
    CContextTree* frame = m_children[1];
    frame->SetUrl(CURLParser("http://shop.example/frame.htm"));
    // A document gets no file name part, even when forced.
    EXPECT_EQ(frame->ComputeSnapshotFileName("", "text/html", "t7", true), "t7f1.html");
}

TEST_F(SnapshotFileName, VeryLongRegisteredExtensionFallsBackToHtml) {
    std::string registered;
    ASSERT_TRUE(
        webstep::platform::GetExtensionFromContentType("application/x-very-long", registered));
    ASSERT_EQ(registered, ".verylongext");
    EXPECT_EQ(m_top->ComputeSnapshotFileName("", "application/x-very-long", "t1", false),
              "t1.html");
}

TEST_F(SnapshotFileName, NineByteExtensionFitsTheBufferTenDoesNot) {
    EXPECT_EQ(m_top->ComputeSnapshotFileName("", "application/x-nine", "t1", false), "t1.abcdefgh");
    EXPECT_EQ(m_top->ComputeSnapshotFileName("", "application/x-ten", "t1", false), "t1.html");
}

TEST_F(SnapshotFileName, UnknownOrEmptyContentTypeGivesHtml) {
    EXPECT_EQ(m_top->ComputeSnapshotFileName("", "application/x-unheard-of", "t2", false),
              "t2.html");
    EXPECT_EQ(m_top->ComputeSnapshotFileName("", "", "t2", false), "t2.html");
}

TEST_F(SnapshotFileName, ResourceFileWithoutDotIsKeptWhole) {
    CContextTree* res = m_children[0];
    res->SetResource(true);
    res->SetUrl(CURLParser("http://shop.example/api/pixel"));
    EXPECT_EQ(res->ComputeSnapshotFileName("", "image/gif", "t3", false), "t3f0_pixel.gif");
}

TEST_F(SnapshotFileName, ResourceFileLosesOnlyItsLastExtension) {
    CContextTree* res = m_children[0];
    res->SetResource(true);
    res->SetUrl(CURLParser("http://shop.example/js/app.min.js?v=3"));
    EXPECT_EQ(res->ComputeSnapshotFileName("", "text/html", "t3", false), "t3f0_app.min.html");
}

TEST_F(SnapshotFileName, ResourceWithoutFilePartGetsNoUnderscore) {
    CContextTree* res = m_children[1];
    res->SetResource(true);
    res->SetUrl(CURLParser("http://shop.example/dir/"));
    EXPECT_EQ(res->ComputeSnapshotFileName("", "image/gif", "t4", false), "t4f1.gif");
    res->SetUrl(CURLParser());
    EXPECT_EQ(res->ComputeSnapshotFileName("", "image/gif", "t4", false), "t4f1.gif");
}

TEST_F(SnapshotFileName, ResourceUnderParentWithoutUrlHasNoNodePart) {
    CContextTree top;
    auto* res = new CContextTree();
    res->SetResource(true);
    res->SetUrl(CURLParser("http://shop.example/logo.gif"));
    ASSERT_TRUE(top.AddChild(res, res->GetUrl(), true));
    EXPECT_EQ(res->ComputeSnapshotFileName("", "image/gif", "t6", false), "t6_logo.gif");
}

TEST_F(SnapshotFileName, ContentTypeIsLookedUpWithoutRegardToCase) {
    EXPECT_EQ(m_top->ComputeSnapshotFileName("", "IMAGE/GIF", "t8", false), "t8.gif");
}

TEST_F(SnapshotFileName, RecomputingReplacesTheKeptName) {
    m_top->ComputeSnapshotFileName("", "image/gif", "t1", false);
    m_top->ComputeSnapshotFileName("", "text/html", "t2", false);
    EXPECT_EQ(m_top->GetSnapshotFileName(), "t2.html");
}
