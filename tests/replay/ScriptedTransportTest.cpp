// The scripted transport that tests of the virtual user answer with: rules by
// URL, prefix, predicate and method, sequences of answers, the default
// answer, and the record of what was sent.
#include <gtest/gtest.h>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/ScriptedTransport.h"
#include "webstep/replay/VirtualUser.h"

namespace {

using webstep::test::ScratchDir;

HttpRequest Request(const std::string& method, const std::string& url,
                    const std::string& body = std::string()) {
    HttpRequest request;
    request.method = method;
    request.url = url;
    request.body = body;
    return request;
}

TEST(ScriptedTransportTest, AnswersByExactUrlWithTheFragmentAside) {
    CScriptedTransport transport;
    transport.Answer("https://a.example/page", 200, "<p>page</p>");
    const HttpResponse response = transport.Send(Request("GET", "https://a.example/page#top"));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "<p>page</p>");
    ASSERT_NE(response.Header("Content-Type"), nullptr);
    EXPECT_EQ(*response.Header("Content-Type"), "text/html");
    // Exact: a longer URL is another one.
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/page2")).status, 404);
}

TEST(ScriptedTransportTest, UnscriptedRequestsGetTheDefaultAnswer) {
    CScriptedTransport transport;
    HttpResponse response = transport.Send(Request("GET", "https://a.example/none"));
    EXPECT_EQ(response.status, 404);
    EXPECT_EQ(response.body, "not scripted");
    EXPECT_EQ(transport.Unanswered(), 1u);
    EXPECT_EQ(transport.Sent().front().rule, -1);

    transport.SetDefault(CScriptedTransport::Failure("connection refused"));
    response = transport.Send(Request("GET", "https://a.example/none"));
    EXPECT_EQ(response.status, 0);
    EXPECT_EQ(response.error, "connection refused");
    EXPECT_EQ(transport.Unanswered(), 2u);
}

TEST(ScriptedTransportTest, MethodRulesAnswerOnlyTheirMethod) {
    CScriptedTransport transport;
    transport.Answer("https://a.example/form", CScriptedTransport::Response(201, "made"), "post");
    transport.Answer("https://a.example/form", 200, "the form");
    EXPECT_EQ(transport.Send(Request("POST", "https://a.example/form", "a=1")).body, "made");
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/form")).body, "the form");
    EXPECT_EQ(transport.Sent()[0].rule, 0);
    EXPECT_EQ(transport.Sent()[1].rule, 1);
}

TEST(ScriptedTransportTest, PrefixAndPredicateRules) {
    CScriptedTransport transport;
    transport.AnswerIf(
        [](const HttpRequest& r) { return r.Header("X-Api") != nullptr; },
        CScriptedTransport::Response(200, "{}", {{"Content-Type", "application/json"}}));
    transport.AnswerPrefix(
        "https://a.example/static/",
        CScriptedTransport::Response(200, "css", {{"Content-Type", "text/css"}}));
    HttpRequest api = Request("GET", "https://a.example/static/x");
    api.headers.push_back({"X-Api", "1"});
    EXPECT_EQ(transport.Send(api).body, "{}");  // the first rule that fits wins
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/static/site.css")).body, "css");
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/other")).status, 404);
}

TEST(ScriptedTransportTest, AnswersOnceInTheOrderAddedThenFallsThrough) {
    CScriptedTransport transport;
    transport.AnswerOnce("https://a.example/poll", CScriptedTransport::Response(200, "one"));
    transport.AnswerOnce("https://a.example/poll", CScriptedTransport::Response(200, "two"));
    const std::size_t rest = transport.Answer("https://a.example/poll", 200, "rest");
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/poll")).body, "one");
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/poll")).body, "two");
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/poll")).body, "rest");
    transport.Times(rest, 1);
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/poll")).body, "rest");
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/poll")).status, 404);
}

TEST(ScriptedTransportTest, KeepsEveryRequestWithItsStep) {
    CScriptedTransport transport;
    transport.Answer("https://a.example/", 200, "x");
    transport.Send(Request("GET", "https://a.example/"));  // before any step
    TransportStep step;
    step.name = "home";
    step.snapshot = "t1";
    step.number = 1;
    transport.BeginStep(step);
    EXPECT_FALSE(transport.StepClosed());
    HttpRequest post = Request("POST", "https://a.example/", "a=1&b=2");
    post.headers.push_back({"Content-Type", "application/x-www-form-urlencoded"});
    transport.Send(post);
    transport.EndStep();
    EXPECT_TRUE(transport.StepClosed());

    ASSERT_EQ(transport.Sent().size(), 2u);
    EXPECT_EQ(transport.Sent()[0].step, 0u);
    EXPECT_EQ(transport.Sent()[1].step, 1u);
    EXPECT_EQ(transport.Sent()[1].snapshot, "t1");
    EXPECT_EQ(transport.Sent()[1].request.body, "a=1&b=2");
    ASSERT_NE(transport.Sent()[1].request.Header("content-type"), nullptr);
    EXPECT_EQ(transport.SentLines(),
              (std::vector<std::string>{"GET https://a.example/", "POST https://a.example/"}));
    ASSERT_EQ(transport.SentInStep(1).size(), 1u);
    EXPECT_EQ(transport.SentInStep(1).front().method, "POST");
    ASSERT_EQ(transport.Steps().size(), 1u);
    EXPECT_EQ(transport.Steps().front().name, "home");

    transport.ClearSent();
    EXPECT_TRUE(transport.Sent().empty());
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/")).body, "x");  // rules stay
}

TEST(ScriptedTransportTest, AdvancesTheClockPerAnswerAndKeepsTheTimeout) {
    CScriptedTransport transport;
    CManualClock clock;
    transport.SetClock(&clock, 0.5);
    transport.Send(Request("GET", "https://a.example/"));
    transport.Send(Request("GET", "https://a.example/"));
    EXPECT_DOUBLE_EQ(clock.Now(), 1.0);
    transport.SetTimeout(30);
    EXPECT_DOUBLE_EQ(transport.Timeout(), 30);
}

TEST(ScriptedTransportTest, RedirectHelperAndByteCount) {
    const HttpResponse redirect = CScriptedTransport::Redirect(303, "/next");
    EXPECT_EQ(redirect.status, 303);
    ASSERT_NE(redirect.Header("Location"), nullptr);
    EXPECT_EQ(*redirect.Header("Location"), "/next");
    CScriptedTransport transport;
    transport.Answer("https://a.example/", 200, "12345");
    EXPECT_EQ(transport.Send(Request("GET", "https://a.example/")).responseBytes, 5u);
}

// The transport in the place it was made for: a virtual user's steps.
TEST(ScriptedTransportTest, AnswersAVirtualUserAndRecordsItsRequests) {
    ScratchDir dir;
    ScratchDir::Write(dir.File("default.cfg"), "[WEB]\n");
    FolderMessages messages;
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(dir.path().string(), messages));
    CParameterSet parameters;
    CScriptedTransport transport;
    CManualClock clock;
    transport.Answer("https://a.example/", 200,
                     "<html><body><a href=\"/next\">Next</a></body></html>");
    transport.Answer("https://a.example/next", CScriptedTransport::Redirect(302, "/done"));
    transport.Answer("https://a.example/done", 200, "<html><body>done</body></html>");
    CVirtualUser user(folder, parameters, transport, clock);
    StepRecord home = user.Call("web_url", {"home", "URL=https://a.example/", "Mode=HTTP", "LAST"});
    EXPECT_FALSE(home.failed) << home.message;
    StepRecord next = user.Call("web_link", {"Next", "Text=Next", "LAST"});
    EXPECT_FALSE(next.failed) << next.message;
    EXPECT_EQ(transport.SentUrls(),
              (std::vector<std::string>{"https://a.example/", "https://a.example/next",
                                        "https://a.example/done"}));
    ASSERT_EQ(transport.Steps().size(), 2u);
    EXPECT_EQ(transport.Sent()[2].request.role, RequestRole::Redirection);
    EXPECT_EQ(transport.Sent()[2].step, 2u);
    EXPECT_TRUE(transport.StepClosed());
    EXPECT_EQ(transport.Unanswered(), 0u);
}

}  // namespace
