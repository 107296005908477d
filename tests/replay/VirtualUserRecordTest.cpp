// What a step's record tells beyond its requests, for listings of a replay:
// the target picked on the page, the page loaded, the parameter values used,
// the extra resources, the parse error; and what an error answer leaves.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/VirtualUser.h"

namespace {

using webstep::test::ScratchDir;

// Answers by URL; anything else is a plain-text 404.
class PageTransport : public CTransport {
public:
    void Page(const std::string& url, const std::string& html, int status = 200,
              const std::string& type = "text/html") {
        HttpResponse response;
        response.status = status;
        response.body = html;
        response.headers = {{"Content-Type", type}};
        m_answers[url] = response;
    }
    HttpResponse Send(const HttpRequest& request) override {
        sent.push_back(request);
        auto it = m_answers.find(request.url);
        if (it != m_answers.end())
            return it->second;
        HttpResponse missing;
        missing.status = 404;
        missing.body = "not here";
        missing.headers = {{"Content-Type", "text/plain"}};
        return missing;
    }
    std::vector<HttpRequest> sent;

private:
    std::map<std::string, HttpResponse> m_answers;
};

class VirtualUserRecordTest : public ::testing::Test {
protected:
    CVirtualUser& User(bool keepWrittenForm = false) {
        FolderMessages messages;
        folder.Open(dir.path().string(), messages);
        VirtualUserOptions options;
        options.keepWrittenForm = keepWrittenForm;
        user = std::make_unique<CVirtualUser>(folder, parameters, transport, clock, options);
        user->SetContinueOnError(true);
        return *user;
    }
    StepRecord Call(const std::string& function, std::vector<std::string> arguments) {
        arguments.push_back("LAST");
        return user->Call(function, arguments, "Action.c", 1);
    }
    ScratchDir dir;
    CScriptFolder folder;
    CParameterSet parameters;
    CManualClock clock;
    PageTransport transport;
    std::unique_ptr<CVirtualUser> user;
};

TEST_F(VirtualUserRecordTest, TheRecordNamesThePageLoadedAndItsFrames) {
    User();
    transport.Page("http://h.org/",
                   "<title>Top</title><frameset><frame name=\"nav\" src=\"n.html\">"
                   "<frame name=\"main\" src=\"m.html\"></frameset>");
    transport.Page("http://h.org/n.html", "<a href=\"/x\">X</a><a href=\"/y\">Y</a>");
    StepRecord step = Call("web_url", {"top", "URL=http://h.org/", "Snapshot=t3.inf"});
    EXPECT_TRUE(step.planned);
    const PageRecord& page = step.pageLoaded;
    EXPECT_TRUE(page.changes);
    EXPECT_TRUE(page.loaded);
    EXPECT_FALSE(page.intoFrame);
    EXPECT_EQ(page.file, "t3.html");
    EXPECT_EQ(page.title, "Top");
    ASSERT_EQ(page.frames.size(), 2u);
    EXPECT_EQ(page.frames[0].id, "1.1");
    EXPECT_EQ(page.frames[0].name, "nav");
    EXPECT_EQ(page.frames[0].file, "t3f0.html");
    EXPECT_TRUE(page.frames[0].loaded);
    EXPECT_EQ(page.frames[0].url, "http://h.org/n.html");
    EXPECT_FALSE(page.frames[1].loaded);  // m.html answered 404
    // The frame requests name the documents they load.
    ASSERT_GE(transport.sent.size(), 3u);
    EXPECT_EQ(transport.sent[0].document, "t3.html");
    EXPECT_EQ(transport.sent[1].document, "t3f0.html");

    // A link in a frame: the target names the frame and its document.
    StepRecord link = Call("web_link", {"y", "Text=Y", "Snapshot=t4.inf"});
    EXPECT_EQ(link.target.kind, "link");
    EXPECT_EQ(link.target.text, "Y");
    EXPECT_EQ(link.target.href, "/y");
    EXPECT_TRUE(link.target.inFrame);
    EXPECT_EQ(link.target.frameId, "1.1");
    EXPECT_EQ(link.target.frameName, "nav");
    EXPECT_EQ(link.target.document, "t3f0.html");
}

TEST_F(VirtualUserRecordTest, AFormTargetTellsWhetherTheItemsFit) {
    User();
    transport.Page("http://h.org/f",
                   "<form name=\"order\" action=\"/buy\" method=\"post\"><select name=\"colour\">"
                   "<option>red</option></select></form>");
    Call("web_url", {"order", "URL=http://h.org/f", "Snapshot=t1.inf"});
    StepRecord buy = Call("web_submit_form", {"buy", "Snapshot=t2.inf", "ITEMDATA", "Name=colour",
                                              "Value=purple", "ENDITEM"});
    EXPECT_FALSE(buy.planned);
    EXPECT_TRUE(buy.failed);
    EXPECT_EQ(buy.target.kind, "form");
    EXPECT_EQ(buy.target.formIndex, 1);
    EXPECT_EQ(buy.target.action, "/buy");
    EXPECT_EQ(buy.target.items, 1u);
    EXPECT_FALSE(buy.target.fits);
    EXPECT_EQ(buy.target.misfitItem, 1u);
    EXPECT_EQ(buy.target.misfitName, "colour");
    EXPECT_EQ(buy.target.misfitValue, "purple");
    EXPECT_FALSE(buy.target.misfitReason.empty());
    EXPECT_FALSE(buy.pageLoaded.changes);
}

TEST_F(VirtualUserRecordTest, AnErrorAnswerThatIsNotHtmlLeavesNoPage) {
    User();
    transport.Page("http://h.org/", "<a href=\"/gone\">Gone</a>");
    Call("web_url", {"home", "URL=http://h.org/", "Snapshot=t1.inf"});
    StepRecord gone = Call("web_link", {"gone", "Text=Gone", "Snapshot=t2.inf"});
    EXPECT_TRUE(gone.planned);
    EXPECT_TRUE(gone.failed);
    EXPECT_TRUE(gone.pageLoaded.changes);
    EXPECT_FALSE(gone.pageLoaded.loaded);
    EXPECT_EQ(gone.pageLoaded.file, "t2.html");
    // A browser shows its own error page: the old links are gone with it.
    StepRecord again = Call("web_link", {"again", "Text=Gone", "Snapshot=t3.inf"});
    EXPECT_FALSE(again.planned);
    EXPECT_NE(again.message.find("the previous navigation step loaded no page"), std::string::npos)
        << again.message;
}

TEST_F(VirtualUserRecordTest, AnErrorPageInHtmlIsThePage) {
    User();
    transport.Page("http://h.org/", "<a href=\"/home\">Home</a>", 500);
    StepRecord step = Call("web_url", {"home", "URL=http://h.org/"});
    EXPECT_TRUE(step.failed);
    EXPECT_TRUE(step.pageLoaded.loaded);
    StepRecord link = Call("web_link", {"home", "Text=Home"});
    EXPECT_TRUE(link.planned);
}

TEST_F(VirtualUserRecordTest, ContextStepsBeforeAnyPageSaySoPlainly) {
    User();
    StepRecord step = Call("web_link", {"early", "Text=Home"});
    EXPECT_FALSE(step.planned);
    EXPECT_EQ(step.message, "no navigation step before this one, so there is no page to act on");
}

TEST_F(VirtualUserRecordTest, TheParameterValuesACallUsesAreRecorded) {
    ScratchDir::Write(dir.File("f.usr"),
                      "[General]\nParameterFile=f.prm\n[Actions]\nAction=Action.c\n");
    ScratchDir::Write(
        dir.File("f.prm"),
        "[parameter:Host]\nParamName=\"Host\"\nType=\"Custom\"\nOriginalValue=\"h.org\"\n");
    FolderMessages messages;
    folder.Open(dir.path().string(), messages);
    parameters.Load(folder.ParameterPath(), dir.path().string(), messages);
    User(true);
    transport.Page("http://h.org/a?x=h.org", "<p>ok</p>");
    StepRecord step = Call("web_url", {"a", "URL=http://{Host}/a?x={Host}"});
    ASSERT_FALSE(step.parameters.empty());
    EXPECT_EQ(step.parameters[0], std::make_pair(std::string("Host"), std::string("h.org")));
    ASSERT_FALSE(transport.sent.empty());
    EXPECT_EQ(transport.sent[0].url, "http://h.org/a?x=h.org");
}

TEST_F(VirtualUserRecordTest, AnUnknownReferenceKeepsItsWrittenFormForListings) {
    User(true);
    StepRecord step = Call("web_submit_data", {"find", "Action=http://h.org/find", "Method=GET",
                                               "ITEMDATA", "Name=sid", "Value={Sid}", "ENDITEM"});
    ASSERT_FALSE(transport.sent.empty());
    EXPECT_TRUE(transport.sent[0].hasWrittenForm);
    EXPECT_EQ(transport.sent[0].writtenUrl, "http://h.org/find?sid={Sid}");
    // Without the option the written form is not planned.
    User(false);
    transport.sent.clear();
    Call("web_submit_data", {"find", "Action=http://h.org/find", "Method=GET", "ITEMDATA",
                             "Name=sid", "Value={Sid}", "ENDITEM"});
    ASSERT_FALSE(transport.sent.empty());
    EXPECT_FALSE(transport.sent[0].hasWrittenForm);
    (void)step;
}

TEST_F(VirtualUserRecordTest, ExtraResourcesAreListedEvenWhenThePageFetchedThemFirst) {
    User();
    transport.Page("http://h.org/", "<img src=\"/logo.png\">");
    StepRecord step = Call("web_url", {"home", "URL=http://h.org/", "Mode=HTML", "EXTRARES",
                                       "Url=/logo.png", "ENDITEM", "Url=b.css", "ENDITEM"});
    EXPECT_EQ(step.extraResources,
              (std::vector<std::string>{"http://h.org/logo.png", "http://h.org/b.css"}));
    std::size_t logos = 0;
    for (const HttpRequest& request : transport.sent)
        logos += request.url == "http://h.org/logo.png" ? 1 : 0;
    EXPECT_EQ(logos, 1u);
}

TEST_F(VirtualUserRecordTest, ACallThatDoesNotParseKeepsItsErrorCode) {
    User();
    StepRecord step = Call("web_url", {"no url", "Snapshot=t5.inf"});
    EXPECT_TRUE(step.parseFailed);
    EXPECT_NE(step.errorCode, 0);
    EXPECT_FALSE(step.errorAttributes.empty());
    EXPECT_FALSE(step.planned);
}

TEST_F(VirtualUserRecordTest, AnActionFileIsReadOncePerUser) {
    ScratchDir::Write(dir.File("Action.c"),
                      "Action() { web_url(\"a\", \"URL=http://h.org/a\", LAST); return 0; }\n");
    User();
    transport.Page("http://h.org/a", "<p>a</p>");
    ASSERT_TRUE(user->RunActionFile("Action"));
    // Later iterations run the calls read the first time.
    std::filesystem::remove(dir.File("Action.c"));
    ASSERT_TRUE(user->RunActionFile("Action"));
    ASSERT_EQ(transport.sent.size(), 2u);
    EXPECT_EQ(transport.sent[1].url, "http://h.org/a");
    // A file that was never there still says so.
    EXPECT_FALSE(user->RunActionFile("Missing"));
}

TEST_F(VirtualUserRecordTest, BinaryBodiesAreShownEscaped) {
    User();
    transport.Page("http://h.org/api", "{}", 200, "application/json");
    StepRecord step = Call("web_custom_request", {"bin", "URL=http://h.org/api", "Method=POST",
                                                  "BodyBinary=AB\\x01\\x00C"});
    ASSERT_FALSE(transport.sent.empty());
    EXPECT_EQ(transport.sent[0].body, std::string("AB\x01\x00"
                                                  "C",
                                                  5));
    EXPECT_TRUE(step.hasShownBody);
    EXPECT_EQ(step.shownBody, "AB\\x01\\x00C");
}

// A transport that honours proxies and one socket option, and says so.
class OptionTransport : public PageTransport {
public:
    bool SetProxy(const std::string& host, unsigned port, bool secure) override {
        proxies.push_back((secure ? "secure " : "") + host + ":" + std::to_string(port));
        return true;
    }
    bool SetProxyBypass(const std::string& hosts) override {
        bypass = hosts;
        return true;
    }
    bool SetSocketOption(const std::string& name, const std::string& value) override {
        options.push_back(name + "=" + value);
        return name == "SSL_VERSION";
    }
    std::vector<std::string> proxies;
    std::string bypass;
    std::vector<std::string> options;
};

TEST(VirtualUserTransportOptionsTest, ProxiesBypassListsAndSocketOptionsGoToTheTransport) {
    ScratchDir dir;
    CScriptFolder folder;
    FolderMessages messages;
    folder.Open(dir.path().string(), messages);
    CParameterSet parameters;
    CManualClock clock;
    OptionTransport transport;
    CVirtualUser user(folder, parameters, transport, clock);
    // These calls take their arguments without a LAST marker.
    auto call = [&user](const std::string& function, std::vector<std::string> arguments) {
        return user.Call(function, arguments, "Action.c", 1);
    };
    StepRecord proxy = call("web_set_proxy", {"proxy.example:3128"});
    EXPECT_FALSE(proxy.failed) << proxy.message;
    EXPECT_TRUE(proxy.warnings.empty());
    call("web_set_secure_proxy", {"tls-proxy.example:8443"});
    call("web_set_proxy_bypass", {"*.local;10.*"});
    EXPECT_EQ(transport.proxies,
              (std::vector<std::string>{"proxy.example:3128", "secure tls-proxy.example:8443"}));
    EXPECT_EQ(transport.bypass, "*.local;10.*");
    StepRecord known = call("web_set_sockets_option", {"SSL_VERSION", "TLS1.2"});
    EXPECT_TRUE(known.warnings.empty());
    StepRecord unknown = call("web_set_sockets_option", {"NO_SUCH_OPTION", "1"});
    ASSERT_EQ(unknown.warnings.size(), 1u);
    EXPECT_NE(unknown.warnings[0].find("NO_SUCH_OPTION=1"), std::string::npos);
    EXPECT_FALSE(unknown.failed);
}

TEST(VirtualUserTransportOptionsTest, ATransportThatCannotHonourAProxyIsAWarningNotAFailure) {
    ScratchDir dir;
    CScriptFolder folder;
    FolderMessages messages;
    folder.Open(dir.path().string(), messages);
    CParameterSet parameters;
    CManualClock clock;
    PageTransport transport;  // honours nothing
    CVirtualUser user(folder, parameters, transport, clock);
    StepRecord step = user.Call("web_set_proxy", {"proxy.example:3128"}, "Action.c", 1);
    EXPECT_FALSE(step.failed);
    ASSERT_EQ(step.warnings.size(), 1u);
    EXPECT_NE(step.warnings[0].find("proxy.example:3128"), std::string::npos);
}

}  // namespace
