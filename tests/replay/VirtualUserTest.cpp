// The virtual user against scripted responses: the requests it decides, how
// it follows pages, redirects, frames and resources, and how steps end.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/VirtualUser.h"

namespace {

using webstep::test::ScratchDir;

// Answers by URL from a table; everything else is a 404. Keeps what it sent.
class TableTransport : public CTransport {
public:
    void Answer(const std::string& url, int status, const std::string& body,
                std::vector<HttpHeader> headers = {{"Content-Type", "text/html"}}) {
        HttpResponse response;
        response.status = status;
        response.body = body;
        response.headers = std::move(headers);
        m_answers[url] = response;
    }
    HttpResponse Send(const HttpRequest& request) override {
        sent.push_back(request);
        auto it = m_answers.find(request.url);
        if (it == m_answers.end()) {
            HttpResponse missing;
            missing.status = 404;
            return missing;
        }
        clock->Advance(0.25);  // every answer takes a quarter of a second
        return it->second;
    }
    void BeginStep(const TransportStep& step) override { steps.push_back(step); }
    std::vector<std::string> Urls() const {
        std::vector<std::string> urls;
        for (const auto& request : sent)
            urls.push_back(request.url);
        return urls;
    }
    std::vector<HttpRequest> sent;
    std::vector<TransportStep> steps;
    CManualClock* clock = nullptr;

private:
    std::map<std::string, HttpResponse> m_answers;
};

// Collects what the user reports.
class Collector : public CReplayObserver {
public:
    void OnStep(const StepRecord& step) override { steps.push_back(step); }
    void OnTransaction(const TransactionRecord& transaction) override {
        transactions.push_back(transaction);
    }
    std::vector<StepRecord> steps;
    std::vector<TransactionRecord> transactions;
};

class VirtualUserTest : public ::testing::Test {
protected:
    void SetUp() override { transport.clock = &clock; }
    // A user over a folder made of the given settings text (and no other file).
    CVirtualUser& User(const std::string& settings =
                           "CustomUserAgent=TestAgent/1.0\n"
                           "UseCustomAgent=1\n") {
        // A settings file is known by its [WEB] section.
        ScratchDir::Write(dir.File("default.cfg"), "[WEB]\n" + settings);
        FolderMessages messages;
        folder.Open(dir.path().string(), messages);
        user = std::make_unique<CVirtualUser>(folder, parameters, transport, clock);
        user->SetObserver(&collector);
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
    TableTransport transport;
    Collector collector;
    std::unique_ptr<CVirtualUser> user;
};

const char kHome[] =
    "<html><head><title>Home</title><link rel=\"stylesheet\" href=\"/s.css\">"
    "<script src=\"/a.js\"></script></head><body background=\"/bg.png\">"
    "<img src=\"/logo.png\"><img src=\"/logo.png\"><a href=\"/next?x=1\">Next page</a>"
    "<form name=\"f\" method=\"post\" action=\"/submit\"><input type=\"hidden\" name=\"token\" "
    "value=\"live-1\"><input name=\"q\"><input type=\"image\" src=\"/go.gif\"></form>"
    "</body></html>";

TEST_F(VirtualUserTest, UrlStepSendsGetWithUserAgentAndFetchesPageResourcesOnce) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    StepRecord step = Call("web_url", {"home", "URL=http://h.org/", "Mode=HTML"});
    ASSERT_FALSE(step.failed) << step.message;
    EXPECT_EQ(transport.Urls(),
              (std::vector<std::string>{"http://h.org/", "http://h.org/s.css", "http://h.org/a.js",
                                        "http://h.org/bg.png", "http://h.org/logo.png",
                                        "http://h.org/go.gif"}));
    EXPECT_EQ(transport.sent[0].method, "GET");
    ASSERT_NE(transport.sent[0].Header("User-Agent"), nullptr);
    EXPECT_EQ(*transport.sent[0].Header("User-Agent"), "TestAgent/1.0");
    // The resources answered 404: warnings, not a failure.
    EXPECT_EQ(step.warnings.size(), 5u);
    ASSERT_NE(user->Page(), nullptr);
    EXPECT_EQ(user->Page()->GetUrl().GetFullURLWithSearch(), "http://h.org/");
}

TEST_F(VirtualUserTest, ModeHttpFetchesOnlyTheExtraResources) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    StepRecord step = Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP", "EXTRARES",
                                       "Url=/extra.js", "ENDITEM"});
    ASSERT_FALSE(step.failed) << step.message;
    EXPECT_EQ(transport.Urls(),
              (std::vector<std::string>{"http://h.org/", "http://h.org/extra.js"}));
    EXPECT_EQ(transport.sent[1].role, RequestRole::ExtraRes);
}

TEST_F(VirtualUserTest, ResourceStepLeavesThePageAsItIs) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    transport.Answer("http://h.org/data.html", 200, "<html><a href=\"/other\">Other</a></html>");
    Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP"});
    StepRecord step =
        Call("web_url", {"data", "URL=http://h.org/data.html", "Resource=1", "Mode=HTTP"});
    ASSERT_FALSE(step.failed) << step.message;
    EXPECT_EQ(user->Page()->GetUrl().GetFullURLWithSearch(), "http://h.org/");
}

TEST_F(VirtualUserTest, LinkIsPickedOnTheLivePage) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    transport.Answer("http://h.org/next?x=1", 200, "<html>next</html>");
    Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP"});
    StepRecord step = Call("web_link", {"Next page", "Text=Next page", "Mode=HTTP"});
    ASSERT_FALSE(step.failed) << step.message;
    EXPECT_EQ(transport.sent.back().url, "http://h.org/next?x=1");
    ASSERT_NE(transport.sent.back().Header("Referer"), nullptr);
    EXPECT_EQ(*transport.sent.back().Header("Referer"), "http://h.org/");
}

TEST_F(VirtualUserTest, MissingLinkFailsTheStepAndEndsTheIteration) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP"});
    StepRecord step = Call("web_link", {"Gone", "Text=Gone away", "Mode=HTTP"});
    EXPECT_TRUE(step.failed);
    EXPECT_NE(step.message.find("Gone away"), std::string::npos) << step.message;
    EXPECT_EQ(user->Next(), UserNext::EndIteration);
}

TEST_F(VirtualUserTest, SubmitFormSendsTheHiddenValueTheServerJustSent) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    transport.Answer("http://h.org/submit", 200, "<html>done</html>");
    Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP"});
    StepRecord step =
        Call("web_submit_form", {"f", "Mode=HTTP", "ITEMDATA", "Name=q", "Value=a b", "ENDITEM"});
    ASSERT_FALSE(step.failed) << step.message;
    const HttpRequest& post = transport.sent.back();
    EXPECT_EQ(post.method, "POST");
    EXPECT_EQ(post.url, "http://h.org/submit");
    EXPECT_EQ(post.body, "token=live-1&q=a+b");
    ASSERT_NE(post.Header("Content-Type"), nullptr);
    EXPECT_EQ(*post.Header("Content-Type"), "application/x-www-form-urlencoded");
}

TEST_F(VirtualUserTest, SubmitDataPostAndGet) {
    User();
    transport.Answer("http://h.org/p", 200, "ok", {{"Content-Type", "text/plain"}});
    transport.Answer("http://h.org/g?a=1&b=x+y", 200, "ok", {{"Content-Type", "text/plain"}});
    Call("web_submit_data", {"p", "Action=http://h.org/p", "Method=POST", "ITEMDATA", "Name=a",
                             "Value=1", "ENDITEM", "Name=b", "Value=x y", "ENDITEM"});
    EXPECT_EQ(transport.sent.back().body, "a=1&b=x+y");
    StepRecord step =
        Call("web_submit_data", {"g", "Action=http://h.org/g", "Method=GET", "ITEMDATA", "Name=a",
                                 "Value=1", "ENDITEM", "Name=b", "Value=x y", "ENDITEM"});
    ASSERT_FALSE(step.failed) << step.message;
    EXPECT_EQ(transport.sent.back().url, "http://h.org/g?a=1&b=x+y");
    EXPECT_EQ(transport.sent.back().body, "");
}

TEST_F(VirtualUserTest, SubmitDataMultipartCarriesItsBoundary) {
    User();
    transport.Answer("http://h.org/up", 200, "ok", {{"Content-Type", "text/plain"}});
    Call("web_submit_data",
         {"up", "Action=http://h.org/up", "Method=POST", "EncType=multipart/form-data", "ITEMDATA",
          "Name=a", "Value=1", "ENDITEM"});
    const HttpRequest& post = transport.sent.back();
    ASSERT_NE(post.Header("Content-Type"), nullptr);
    const std::string type = *post.Header("Content-Type");
    ASSERT_EQ(type.rfind("multipart/form-data; boundary=", 0), 0u) << type;
    const std::string boundary = type.substr(30);
    EXPECT_NE(post.body.find("--" + boundary + "\r\n"), std::string::npos) << post.body;
    EXPECT_NE(post.body.find("name=\"a\""), std::string::npos) << post.body;
}

TEST_F(VirtualUserTest, CustomRequestBodies) {
    User();
    transport.Answer("http://h.org/api", 200, "{}", {{"Content-Type", "application/json"}});
    Call("web_custom_request",
         {"j", "URL=http://h.org/api", "Method=PUT", "EncType=application/json", "Body={\"a\":1}"});
    EXPECT_EQ(transport.sent.back().method, "PUT");
    EXPECT_EQ(transport.sent.back().body, "{\"a\":1}");
    EXPECT_EQ(*transport.sent.back().Header("Content-Type"), "application/json");
    Call("web_custom_request",
         {"b", "URL=http://h.org/api", "Method=POST", "BodyBinary=A\\x00\\xFFz"});
    EXPECT_EQ(transport.sent.back().body, std::string("A\0\xFFz", 4));
    Call("web_custom_request",
         {"u", "URL=http://h.org/api", "Method=POST", "BodyUnicode=h\xC3\xA9"});
    EXPECT_EQ(transport.sent.back().body, std::string("h\0\xE9\0", 4));
}

TEST_F(VirtualUserTest, RestStepSendsItsHeadersAndBodyAndSavesFromTheAnswer) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    transport.Answer("http://h.org/api/quote", 200, "{\"id\":\"Q-7\"}",
                     {{"Content-Type", "application/json"}});
    Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP"});
    Call("web_reg_save_param_json", {"ParamName=quote", "QueryString=$.id"});
    StepRecord step = Call(
        "web_rest", {"quote", "URL=/api/quote", "Method=post", "EncType=raw", "Body={\"cart\":1}",
                     "HEADERS", "Name=Content-Type", "Value=application/json", "ENDHEADER"});
    ASSERT_FALSE(step.failed) << step.message;
    const HttpRequest& sent = transport.sent.back();
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.url, "http://h.org/api/quote");
    EXPECT_EQ(sent.body, "{\"cart\":1}");
    ASSERT_NE(sent.Header("Content-Type"), nullptr);
    EXPECT_EQ(*sent.Header("Content-Type"), "application/json");
    ASSERT_EQ(step.saved.size(), 1u);
    EXPECT_EQ(step.saved[0].second, "Q-7");
    // The answer is not a page: the page stays.
    EXPECT_EQ(user->Page()->GetUrl().GetFullURLWithSearch(), "http://h.org/");
}

TEST_F(VirtualUserTest, TheWrittenFormKeepsTheReferencesOfTheCall) {
    ScratchDir::Write(dir.File("default.cfg"), "[WEB]\n");
    FolderMessages messages;
    folder.Open(dir.path().string(), messages);
    VirtualUserOptions options;
    options.keepWrittenForm = true;
    user = std::make_unique<CVirtualUser>(folder, parameters, transport, clock, options);
    transport.Answer("http://h.org/r", 200, "ok", {{"Content-Type", "text/plain"}});
    user->Parameters().SaveParameter("id", "L-2");
    Call("web_submit_data", {"r", "Action=http://h.org/r", "Method=POST", "ITEMDATA", "Name=loan",
                             "Value={id}", "ENDITEM"});
    const HttpRequest& sent = transport.sent.back();
    EXPECT_EQ(sent.body, "loan=L-2");
    ASSERT_TRUE(sent.hasWrittenForm);
    EXPECT_EQ(sent.writtenBody, "loan={id}");
    EXPECT_EQ(sent.writtenUrl, "http://h.org/r");
    // A call without references has no written form of its own.
    Call("web_url", {"r", "URL=http://h.org/r"});
    EXPECT_FALSE(transport.sent.back().hasWrittenForm);
}

TEST_F(VirtualUserTest, ConvertParamChangesTheEncodingOfASavedValue) {
    User();
    user->Parameters().SaveParameter("p", "a&amp;b c");
    StepRecord step = Call("web_convert_param", {"p", "SourceEncoding=HTML", "TargetEncoding=URL"});
    ASSERT_FALSE(step.failed) << step.message;
    MString value;
    ASSERT_TRUE(user->Parameters().GetSavedParameter("p", value));
    EXPECT_EQ(value, "a%26b+c");
    Call("web_convert_param", {"p", "SourceEncoding=URL", "TargetEncoding=HTML"});
    user->Parameters().GetSavedParameter("p", value);
    EXPECT_EQ(value, "a&amp;b c");
    StepRecord none =
        Call("web_convert_param", {"nothing", "SourceEncoding=HTML", "TargetEncoding=URL"});
    EXPECT_TRUE(none.failed);
}

TEST_F(VirtualUserTest, RedirectsBecomeGetOrKeepTheirMethod) {
    User();
    transport.Answer("http://h.org/login", 302, "", {{"Location", "/home"}});
    transport.Answer("http://h.org/home", 200, "<html>home</html>");
    transport.Answer("http://h.org/keep", 307, "", {{"Location", "http://h.org/kept"}});
    transport.Answer("http://h.org/kept", 200, "ok", {{"Content-Type", "text/plain"}});
    StepRecord step = Call("web_submit_data", {"login", "Action=http://h.org/login", "Method=POST",
                                               "ITEMDATA", "Name=a", "Value=1", "ENDITEM"});
    ASSERT_FALSE(step.failed) << step.message;
    ASSERT_EQ(transport.sent.size(), 2u);
    EXPECT_EQ(transport.sent[1].method, "GET");
    EXPECT_EQ(transport.sent[1].body, "");
    EXPECT_EQ(transport.sent[1].role, RequestRole::Redirection);
    EXPECT_EQ(user->Page()->GetUrl().GetFullURLWithSearch(), "http://h.org/home");
    Call("web_custom_request", {"k", "URL=http://h.org/keep", "Method=PUT", "Body=x"});
    EXPECT_EQ(transport.sent.back().url, "http://h.org/kept");
    EXPECT_EQ(transport.sent.back().method, "PUT");
    EXPECT_EQ(transport.sent.back().body, "x");
}

TEST_F(VirtualUserTest, RedirectLoopFailsAfterTenHops) {
    User();
    transport.Answer("http://h.org/loop", 302, "", {{"Location", "/loop"}});
    StepRecord step = Call("web_url", {"loop", "URL=http://h.org/loop"});
    EXPECT_TRUE(step.failed);
    EXPECT_NE(step.message.find("more than 10 redirects"), std::string::npos) << step.message;
    EXPECT_EQ(transport.sent.size(), 11u);
}

TEST_F(VirtualUserTest, ErrorStatusOfTheMainRequestFailsTheStep) {
    User();
    transport.Answer("http://h.org/bad", 500, "oops", {{"Content-Type", "text/plain"}});
    StepRecord step = Call("web_url", {"bad", "URL=http://h.org/bad", "RecContentType=text/html"});
    EXPECT_TRUE(step.failed);
    EXPECT_NE(step.message.find("HTTP status 500"), std::string::npos);
    // The failure says it all: no warning about the error page's type.
    EXPECT_TRUE(step.warnings.empty());
}

TEST_F(VirtualUserTest, ContinueOnErrorGoesOn) {
    User("[General]\nContinueOnError=1\n");
    StepRecord step = Call("web_url", {"missing", "URL=http://h.org/missing"});
    EXPECT_TRUE(step.failed);
    EXPECT_EQ(user->Next(), UserNext::Continue);
}

TEST_F(VirtualUserTest, FramesArePlacedInTheTreeAndTheirResourcesFetched) {
    User();
    transport.Answer("http://h.org/fs", 200,
                     "<html><frameset><frame name=\"a\" src=\"/fa\"><frame name=\"b\" "
                     "src=\"/fb\"></frameset></html>");
    transport.Answer("http://h.org/fa", 200, "<html><img src=\"/i.png\"></html>");
    transport.Answer("http://h.org/fb", 200,
                     "<html><frameset><frame name=\"c\" src=\"/fc\"></frameset></html>");
    transport.Answer("http://h.org/fc", 200, "<html><a href=\"/deep\">Deep</a></html>");
    transport.Answer("http://h.org/i.png", 200, "PNG", {{"Content-Type", "image/png"}});
    transport.Answer("http://h.org/deep", 200, "<html>deep</html>");
    StepRecord step = Call("web_url", {"fs", "URL=http://h.org/fs", "Mode=HTML"});
    ASSERT_FALSE(step.failed) << step.message;
    EXPECT_EQ(transport.Urls(),
              (std::vector<std::string>{"http://h.org/fs", "http://h.org/fa", "http://h.org/fb",
                                        "http://h.org/i.png", "http://h.org/fc"}));
    // The link in the frame of a frame is found on the live page.
    StepRecord deep = Call("web_link", {"Deep", "Text=Deep", "Mode=HTTP"});
    ASSERT_FALSE(deep.failed) << deep.message;
    EXPECT_EQ(transport.sent.back().url, "http://h.org/deep");
    EXPECT_EQ(transport.sent.back().frame, "1.2.1");
}

TEST_F(VirtualUserTest, SavedValueIsSentByTheNextStep) {
    User();
    transport.Answer("http://h.org/", 200, "<html><input name=\"t\" value=\"abc123\"></html>");
    transport.Answer("http://h.org/use?t=abc123", 200, "<html>ok</html>");
    Call("web_reg_save_param", {"tok", "LB=value=\"", "RB=\""});
    StepRecord first = Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP"});
    ASSERT_FALSE(first.failed) << first.message;
    ASSERT_EQ(first.saved.size(), 1u);
    EXPECT_EQ(first.saved[0], (std::pair<std::string, std::string>{"tok", "abc123"}));
    StepRecord second = Call("web_url", {"use", "URL=http://h.org/use?t={tok}", "Mode=HTTP"});
    ASSERT_FALSE(second.failed) << second.message;
    EXPECT_EQ(transport.sent.back().url, "http://h.org/use?t=abc123");
}

TEST_F(VirtualUserTest, RegistrationsApplyToTheNextStepOnly) {
    User();
    transport.Answer("http://h.org/a", 200, "<html>nothing</html>");
    Call("web_reg_find", {"Text=Welcome"});
    StepRecord first = Call("web_url", {"a", "URL=http://h.org/a", "Mode=HTTP"});
    EXPECT_TRUE(first.failed);
    StepRecord second = Call("web_url", {"a", "URL=http://h.org/a", "Mode=HTTP"});
    EXPECT_FALSE(second.failed) << second.message;
}

TEST_F(VirtualUserTest, CookiesFromResponsesAreSent) {
    User();
    transport.Answer("http://h.org/set", 200, "<html></html>",
                     {{"Content-Type", "text/html"}, {"Set-Cookie", "sid=42; Path=/"}});
    transport.Answer("http://h.org/next", 200, "<html></html>");
    Call("web_url", {"set", "URL=http://h.org/set"});
    Call("web_url", {"next", "URL=http://h.org/next"});
    ASSERT_NE(transport.sent.back().Header("Cookie"), nullptr);
    EXPECT_EQ(*transport.sent.back().Header("Cookie"), "sid=42");
    user->Call("web_cleanup_cookies", {});  // a call of fixed arity: no LAST
    Call("web_url", {"next", "URL=http://h.org/next"});
    EXPECT_EQ(transport.sent.back().Header("Cookie"), nullptr);
}

TEST_F(VirtualUserTest, AutomaticAndOneShotHeaders) {
    User();
    transport.Answer("http://h.org/", 200, "<html></html>");
    user->Call("web_add_auto_header", {"X-Auto", "1"});
    user->Call("web_add_header", {"X-Once", "2"});
    Call("web_url", {"a", "URL=http://h.org/"});
    EXPECT_NE(transport.sent.back().Header("X-Auto"), nullptr);
    EXPECT_NE(transport.sent.back().Header("X-Once"), nullptr);
    Call("web_url", {"b", "URL=http://h.org/"});
    EXPECT_NE(transport.sent.back().Header("X-Auto"), nullptr);
    EXPECT_EQ(transport.sent.back().Header("X-Once"), nullptr);
    user->Call("web_remove_auto_header", {"X-Auto", "ImplicitGen=Yes", "LAST"});
    Call("web_url", {"c", "URL=http://h.org/"});
    EXPECT_EQ(transport.sent.back().Header("X-Auto"), nullptr);
}

TEST_F(VirtualUserTest, SetUserSendsBasicAuthorizationForItsHost) {
    User();
    transport.Answer("http://h.org/", 200, "<html></html>");
    transport.Answer("http://other.org/", 200, "<html></html>");
    user->Call("web_set_user", {"ann", "secret", "h.org:80"});
    Call("web_url", {"a", "URL=http://h.org/"});
    ASSERT_NE(transport.sent.back().Header("Authorization"), nullptr);
    EXPECT_EQ(*transport.sent.back().Header("Authorization"), "Basic YW5uOnNlY3JldA==");
    Call("web_url", {"b", "URL=http://other.org/"});
    EXPECT_EQ(transport.sent.back().Header("Authorization"), nullptr);
}

TEST_F(VirtualUserTest, TransactionsMeasureOnTheUserClockWithThinkTimeApart) {
    User("[ThinkTime]\nOptions=MULTIPLY\nFactor=2\n");
    transport.Answer("http://h.org/", 200, "<html></html>");
    user->Call("qz_start_transaction", {"t"});
    Call("web_url", {"a", "URL=http://h.org/", "Mode=HTTP"});
    user->Call("qz_think_time", {"3"});
    user->Call("qz_end_transaction", {"t", "QZ_AUTO"});
    ASSERT_EQ(collector.transactions.size(), 1u);
    const TransactionRecord& t = collector.transactions[0];
    EXPECT_EQ(t.status, TransactionRecord::Status::Pass);
    EXPECT_DOUBLE_EQ(t.thinkTime, 6.0);
    EXPECT_DOUBLE_EQ(t.duration, 6.25);
    EXPECT_DOUBLE_EQ(clock.Slept(), 6.0);
}

TEST_F(VirtualUserTest, AutomaticStatusFailsWhenAStepInsideFailedAndForcedStatusWins) {
    User("[General]\nContinueOnError=1\n");
    user->Call("qz_start_transaction", {"outer"});
    user->Call("qz_start_transaction", {"inner"});
    Call("web_url", {"a", "URL=http://h.org/none"});
    user->Call("qz_end_transaction", {"inner", "QZ_PASS"});
    user->Call("qz_end_transaction", {"outer", "QZ_AUTO"});
    ASSERT_EQ(collector.transactions.size(), 2u);
    EXPECT_EQ(collector.transactions[0].name, "inner");
    EXPECT_EQ(collector.transactions[0].status, TransactionRecord::Status::Pass);
    EXPECT_EQ(collector.transactions[0].parent, "outer");
    EXPECT_EQ(collector.transactions[1].status, TransactionRecord::Status::Fail);
}

TEST_F(VirtualUserTest, OpenTransactionsEndWithTheIteration) {
    User();
    user->BeginIteration(1);
    user->Call("qz_start_transaction", {"open"});
    Call("web_url", {"a", "URL=http://h.org/none"});
    user->EndIteration();
    ASSERT_EQ(collector.transactions.size(), 1u);
    EXPECT_EQ(collector.transactions[0].status, TransactionRecord::Status::Fail);
}

TEST_F(VirtualUserTest, AutomaticTransactionsNameEachStep) {
    User("[General]\nAutomaticTransactions=1\n");
    transport.Answer("http://h.org/", 200, "<html></html>");
    Call("web_url", {"home", "URL=http://h.org/"});
    ASSERT_EQ(collector.transactions.size(), 1u);
    EXPECT_EQ(collector.transactions[0].name, "home");
}

TEST_F(VirtualUserTest, StepThatDoesNotParseFails) {
    User();
    StepRecord step = Call("web_url", {"x"});
    EXPECT_TRUE(step.failed);
    EXPECT_NE(step.message.find("does not parse"), std::string::npos);
}

TEST_F(VirtualUserTest, NonHtmlAnswerWherePageWasRecordedWarnsAndKeepsThePage) {
    User();
    transport.Answer("http://h.org/", 200, kHome);
    transport.Answer("http://h.org/j", 200, "{}", {{"Content-Type", "application/json"}});
    Call("web_url", {"home", "URL=http://h.org/", "Mode=HTTP"});
    StepRecord step =
        Call("web_url", {"j", "URL=http://h.org/j", "RecContentType=text/html", "Mode=HTTP"});
    EXPECT_FALSE(step.failed);
    ASSERT_FALSE(step.warnings.empty());
    EXPECT_NE(step.warnings[0].find("application/json came"), std::string::npos);
    EXPECT_EQ(user->Page()->GetUrl().GetFullURLWithSearch(), "http://h.org/");
}

TEST_F(VirtualUserTest, ResourcesComeFromTheCacheWithinAnIteration) {
    User();
    transport.Answer("http://h.org/", 200, "<html><img src=\"/x.png\"></html>");
    transport.Answer("http://h.org/x.png", 200, "P", {{"Content-Type", "image/png"}});
    user->BeginIteration(1);
    Call("web_url", {"a", "URL=http://h.org/"});
    Call("web_url", {"b", "URL=http://h.org/"});
    EXPECT_EQ(transport.sent.size(), 3u);
    user->Call("web_cache_cleanup", {});
    Call("web_url", {"c", "URL=http://h.org/"});
    EXPECT_EQ(transport.sent.size(), 5u);
    user->BeginIteration(2);
    Call("web_url", {"d", "URL=http://h.org/"});
    EXPECT_EQ(transport.sent.size(), 7u);
}

TEST_F(VirtualUserTest, MaxHtmlParamLengthCapsSavedValues) {
    User();
    transport.Answer("http://h.org/", 200, "<html>[" + std::string(300, 'x') + "]</html>");
    Call("web_reg_save_param", {"v", "LB=[", "RB=]"});
    StepRecord step = Call("web_url", {"a", "URL=http://h.org/"});
    EXPECT_TRUE(step.failed);
    user->Call("web_set_max_html_param_len", {"1024"});
    Call("web_reg_save_param", {"v", "LB=[", "RB=]"});
    step = Call("web_url", {"a", "URL=http://h.org/"});
    EXPECT_FALSE(step.failed) << step.message;
}

}  // namespace
