// Text and JSON renderings of a scanned page model.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <string>

#include "HTMLScannerTestSupport.h"
#include "webstep/html/HTMLPageDump.h"
#include "support/TestPaths.h"
#include "webstep/platform/CodePage.h"

namespace {

using webstep::test::ScanPage;

const char kPage[] =
    "<head><title>Shop \"A\"</title><base href=http://h/ target=t>"
    "<meta http-equiv=refresh content='10; url=/next'></head>"
    "<form name=f action=/buy method=post><input name=q value=x>"
    "<input type=radio name=r value=1 checked><input type=radio name=r value=2>"
    "<select name=s><option value=a selected>A<option value=b>B</select></form>"
    "<map name=m><area href=/z></map><a href=/y><img src=i.gif ismap></a>";

TEST(HTMLPageDumpTest, TextListsEveryPartOfTheModel) {
    auto s = ScanPage(kPage);
    const std::string text = CHTMLPageDump::Text(*s);
    EXPECT_NE(text.find("title: \"Shop \\\"A\\\"\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find("frameset: no\nframe: no\n"), std::string::npos);
    EXPECT_NE(text.find("form 1: method POST, action \"/buy\", name \"f\"\n"), std::string::npos);
    EXPECT_NE(text.find("  element 1: text, name \"q\", value \"x\"\n"), std::string::npos);
    EXPECT_NE(text.find("  element 2: radio, name \"r\", value \"1\"\n"
                        "    radio: value \"1\", checked\n    radio: value \"2\"\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("    option: value \"a\", text \"A\", selected\n"), std::string::npos);
    EXPECT_NE(text.find(": a href \"/y\", followable, map\n"), std::string::npos) << text;
    EXPECT_NE(text.find("map 1: name \"m\", links 3\n"), std::string::npos) << text;
    EXPECT_NE(text.find("base 1: href \"http://h/\", target \"t\"\n"), std::string::npos);
    EXPECT_NE(text.find("refresh: time \"10\", url \"/next\"\n"), std::string::npos);
}

TEST(HTMLPageDumpTest, JsonIsValidAndComplete) {
    auto s = ScanPage(kPage);
    const nlohmann::json j = nlohmann::json::parse(CHTMLPageDump::Json(*s));
    EXPECT_EQ(j["title"], "Shop \"A\"");
    EXPECT_EQ(j["frameset"], false);
    ASSERT_EQ(j["forms"].size(), 1u);
    EXPECT_EQ(j["forms"][0]["method"], "POST");
    ASSERT_EQ(j["forms"][0]["elements"].size(), 3u);
    EXPECT_EQ(j["forms"][0]["elements"][1]["type"], "radio");
    EXPECT_EQ(j["forms"][0]["elements"][1]["values"].size(), 2u);
    EXPECT_EQ(j["forms"][0]["elements"][2]["typeNumber"], 10);
    EXPECT_EQ(j["forms"][0]["elements"][2]["options"][0]["selected"], true);
    EXPECT_EQ(j["links"].size(), static_cast<std::size_t>(s->nLinks()));
    EXPECT_EQ(j["maps"][0]["links"][0], 2);
    EXPECT_EQ(j["links"][2]["url"], "/z");
    EXPECT_EQ(j["bases"][0]["target"], "t");
    EXPECT_EQ(j["refresh"]["url"], "/next");
}

TEST(HTMLPageDumpTest, EmptyPage) {
    auto s = ScanPage("");
    EXPECT_EQ(CHTMLPageDump::Text(*s), "title: null\nframeset: no\nframe: no\n");
    const nlohmann::json j = nlohmann::json::parse(CHTMLPageDump::Json(*s));
    EXPECT_TRUE(j["title"].is_null());
    EXPECT_TRUE(j["refresh"].is_null());
    EXPECT_TRUE(j["forms"].empty());
}

TEST(HTMLPageDumpTest, JsonTurnsLocalBytesIntoUtf8) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_GBK);
    auto s = ScanPage("<title>\xC4\xE3\xBA\xC3\x01</title>");
    const nlohmann::json j = nlohmann::json::parse(CHTMLPageDump::Json(*s));
    EXPECT_EQ(j["title"], "\xE4\xBD\xA0\xE5\xA5\xBD\x01");
    webstep::platform::SetProcessCodePage(0);
}

TEST(HTMLPageDumpTest, TypeNames) {
    EXPECT_STREQ(CHTMLPageDump::TypeName(12), "button");
    EXPECT_STREQ(CHTMLPageDump::TypeName(0), "other");
    EXPECT_STREQ(CHTMLPageDump::TypeName(13), "?");
    EXPECT_STREQ(CHTMLPageDump::TypeName(-1), "?");
}

TEST(HTMLPageDumpTest, CorpusPagesGiveValidJson) {
    for (const char* name : {"corpus/html/baidu.html", "corpus/html/xinhua.html",
                             "corpus/html/arabic_newspapers.html"}) {
        std::ifstream in(webstep::test::RequireShared(name), std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
        auto s = ScanPage(text);
        EXPECT_TRUE(nlohmann::json::accept(CHTMLPageDump::Json(*s))) << name;
    }
}

}  // namespace
