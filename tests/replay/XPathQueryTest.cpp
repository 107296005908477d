// XPath queries and tag walks on HTML and XML bodies, malformed ones
// included.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "webstep/replay/XPathQuery.h"

using V = std::vector<std::string>;

TEST(MarkupDetect, ContentTypeFirstThenTheXmlDeclaration) {
    const std::string html = "text/html; charset=utf-8", xml = "application/soap+xml";
    EXPECT_EQ(CMarkupQuery::Detect("<?xml version='1.0'?><a/>", &html), MarkupKind::Html);
    EXPECT_EQ(CMarkupQuery::Detect("<a/>", &xml), MarkupKind::Xml);
    EXPECT_EQ(CMarkupQuery::Detect("\xEF\xBB\xBF  <?xml version='1.0'?><a/>", nullptr),
              MarkupKind::Xml);
    EXPECT_EQ(CMarkupQuery::Detect("<html></html>", nullptr), MarkupKind::Html);
}

TEST(MarkupXPath, HtmlTextMarkupAndScalarResults) {
    const std::string page =
        "<html><body><ul><li class=a>One<li class=b>Two &amp; more</ul><p>x<br>y</body>";
    V values;
    std::string error;
    ASSERT_TRUE(CMarkupQuery::XPath(page, MarkupKind::Html, "//li", false, values, error)) << error;
    EXPECT_EQ(values, (V{"One", "Two & more"}));
    values.clear();
    ASSERT_TRUE(
        CMarkupQuery::XPath(page, MarkupKind::Html, "//li[@class='b']", true, values, error));
    EXPECT_EQ(values, V{"<li class=\"b\">Two &amp; more</li>"});
    values.clear();
    ASSERT_TRUE(CMarkupQuery::XPath(page, MarkupKind::Html, "count(//li)", false, values, error));
    EXPECT_EQ(values, V{"2"});
    values.clear();
    ASSERT_TRUE(CMarkupQuery::XPath(page, MarkupKind::Html, "//li", false, values, error, 1));
    EXPECT_EQ(values, V{"One"});
}

TEST(MarkupXPath, XmlElementsAttributesAndMarkup) {
    const std::string feed =
        "<?xml version=\"1.0\"?><r><item k=\"1\">A</item><item k=\"2\"><b>B</b></item></r>";
    V values;
    std::string error;
    ASSERT_TRUE(CMarkupQuery::XPath(feed, MarkupKind::Xml, "/r/item/@k", false, values, error));
    EXPECT_EQ(values, (V{"1", "2"}));
    values.clear();
    ASSERT_TRUE(CMarkupQuery::XPath(feed, MarkupKind::Xml, "/r/item[2]", true, values, error));
    EXPECT_EQ(values, V{"<item k=\"2\"><b>B</b></item>"});
}

TEST(MarkupXPath, BadQueriesAndUnreadableBodiesGivePlainMessages) {
    V values;
    std::string error;
    EXPECT_FALSE(CMarkupQuery::XPath("<a/>", MarkupKind::Xml, "//a[", false, values, error));
    EXPECT_NE(error.find("does not compile"), std::string::npos) << error;
    error.clear();
    EXPECT_FALSE(CMarkupQuery::XPath("", MarkupKind::Xml, "//a", false, values, error));
    EXPECT_FALSE(error.empty());
    error.clear();
    // Binary junk with NUL bytes read as HTML: no crash, whatever it holds.
    std::string junk(4096, '\0');
    for (std::size_t i = 0; i < junk.size(); ++i)
        junk[i] = static_cast<char>((i * 7919) & 0xFF);
    CMarkupQuery::XPath(junk, MarkupKind::Html, "//a", false, values, error);
    CMarkupQuery::XPath(junk, MarkupKind::Xml, "//a", false, values, error);
    SUCCEED();
}

TEST(MarkupXPath, DeepNestingDoesNotExhaustTheStack) {
    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "<div>";
    deep += "<span a=\"v\">x</span>";
    V values;
    std::string error;
    CMarkupQuery::XPath(deep, MarkupKind::Html, "//span", false, values, error);
    CMarkupQuery::Attributes(deep, MarkupKind::Html, "span", "a", {}, values, error);
    CMarkupQuery::XPath(deep, MarkupKind::Xml, "//span", true, values, error);
    SUCCEED();
}

TEST(MarkupAttributes, SelectingAttributesIgnoreNameCaseAndCompareValuesExactly) {
    const std::string form =
        "<form><input TYPE=hidden Name=csrf value=t1>"
        "<input type=hidden name=CSRF value=t2><img src=a.gif></form>";
    V values;
    std::string error;
    ASSERT_TRUE(CMarkupQuery::Attributes(form, MarkupKind::Html, "INPUT", "value",
                                         {{"name", "csrf"}}, values, error));
    EXPECT_EQ(values, V{"t1"});
    values.clear();
    ASSERT_TRUE(CMarkupQuery::Attributes(form, MarkupKind::Html, "input", "value",
                                         {{"type", "hidden"}}, values, error));
    EXPECT_EQ(values, (V{"t1", "t2"}));
}
