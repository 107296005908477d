// The recorded transport: answers from a step's snapshot XML (by URL and
// method, each exchange once, the origin that fits the role first,
// redirects), from the files of its tN.inf, "not recorded" for the rest, and
// for each request whether it is the one that was recorded.
#include <gtest/gtest.h>

#include <filesystem>

#include "settings/ScratchDir.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/RecordedTransport.h"
#include "webstep/replay/VirtualUser.h"

namespace {

using webstep::test::ScratchDir;

std::string Base64(const std::string& bytes) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        const unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) |
                           (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                           static_cast<unsigned char>(bytes[i + 2]);
        for (int shift = 18; shift >= 0; shift -= 6)
            out += digits[(v >> shift) & 63];
    }
    if (i < bytes.size()) {
        unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        if (i + 1 < bytes.size())
            v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        out += digits[(v >> 18) & 63];
        out += digits[(v >> 12) & 63];
        out += i + 1 < bytes.size() ? digits[(v >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

std::string XmlEscape(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '"')
            out += "&quot;";
        else if (c == '<')
            out += "&lt;";
        else
            out += c;
    }
    return out;
}

// One recorded exchange as a test writes it.
struct Task {
    std::string origin = "Primary";
    std::string method = "GET";
    std::string url;
    std::string requestBody;
    std::vector<HttpHeader> requestHeaders;
    /// 0: the response carries no status attribute.
    int status = 200;
    /// A status line written in HTTPAllHeaders instead of the attribute.
    std::string statusLine;
    std::vector<HttpHeader> responseHeaders = {{"Content-Type", "text/html"}};
    std::string responseBody;
};

std::string Data(const std::string& bytes) {
    return "<HTTPDataSet><HTTPData><ActualData>" + Base64(bytes) +
           "</ActualData></HTTPData></HTTPDataSet>";
}

std::string Headers(const std::vector<HttpHeader>& headers) {
    std::string out = "<HTTPHeaders>\n";
    for (const HttpHeader& header : headers)
        out += "  <HTTPHeaderEntity name=\"" + XmlEscape(header.name) + "\" index=\"0\">" +
               Data(header.value) + "</HTTPHeaderEntity>\n";
    return out + "</HTTPHeaders>\n";
}

std::string SnapshotXml(const std::vector<Task>& tasks) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<HTTPSnapshot id=\"1\">\n";
    int id = 100;
    for (const Task& task : tasks) {
        xml += "<HTTPTask id=\"" + std::to_string(++id) + "\" url=\"" + XmlEscape(task.url) +
               "\" origin=\"" + task.origin + "\" frame=\"1\">\n";
        xml += "<HTTPRequest method=\"" + task.method + "\">\n" + Headers(task.requestHeaders);
        if (!task.requestBody.empty())
            xml += "<HTTPBody>" + Data(task.requestBody) + "</HTTPBody>\n";
        xml += "</HTTPRequest>\n<HTTPResponse";
        if (task.status != 0)
            xml += " status=\"" + std::to_string(task.status) + "\"";
        xml += ">\n" + Headers(task.responseHeaders);
        if (!task.statusLine.empty())
            xml += "<HTTPAllHeaders>" + Data(task.statusLine + "\r\n\r\n") + "</HTTPAllHeaders>\n";
        if (!task.responseBody.empty())
            xml += "<HTTPBody>" + Data(task.responseBody) + "</HTTPBody>\n";
        xml += "</HTTPResponse>\n</HTTPTask>\n";
    }
    return xml + "</HTTPSnapshot>\n";
}

HttpRequest Request(const std::string& method, const std::string& url,
                    RequestRole role = RequestRole::Primary,
                    const std::string& body = std::string()) {
    HttpRequest request;
    request.method = method;
    request.url = url;
    request.role = role;
    request.body = body;
    return request;
}

TransportStep Step(const std::string& snapshot, unsigned number = 1) {
    TransportStep step;
    step.function = "web_url";
    step.name = "step";
    step.snapshot = snapshot;
    step.number = number;
    return step;
}

class RecordedTransportTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(dir.path() / "data"); }
    std::string DataFile(const std::string& name) const { return dir.File("data/" + name); }
    // data/tN.inf with the snapshot XML of the tasks and the extra lines.
    void Snapshot(unsigned n, const std::vector<Task>& tasks, const std::string& extra = "") {
        const std::string name = "t" + std::to_string(n);
        std::string inf = "[" + name + "]\n" + extra;
        if (!tasks.empty()) {
            const std::string xml = "snapshot_" + std::to_string(n) + ".xml";
            ScratchDir::Write(DataFile(xml), SnapshotXml(tasks));
            inf += "SnapshotXmlFile=" + xml + "\n";
        }
        ScratchDir::Write(DataFile(name + ".inf"), inf);
    }
    void Open() {
        FolderMessages messages;
        ASSERT_TRUE(transport.Open(dir.File("data"), messages));
    }

    ScratchDir dir;
    CRecordedTransport transport;
};

TEST_F(RecordedTransportTest, AnswersByUrlAndMethodFromTheSnapshotXml) {
    Task page;
    page.url = "https://lib.example/";
    page.responseBody = "<html>home</html>";
    page.responseHeaders.push_back({"Set-Cookie", "s=1; Path=/"});
    Task css;
    css.origin = "HTML";
    css.url = "https://lib.example/site.css";
    css.responseHeaders = {{"Content-Type", "text/css"}};
    css.responseBody = "body{}";
    Snapshot(1, {page, css});
    Open();

    transport.BeginStep(Step("t1"));
    HttpResponse response = transport.Send(Request("GET", "https://lib.example/"));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "<html>home</html>");
    EXPECT_EQ(response.Headers("Set-Cookie"), std::vector<std::string>{"s=1; Path=/"});
    ASSERT_NE(transport.LastCheck(), nullptr);
    EXPECT_EQ(transport.LastCheck()->source, RecordedRequestCheck::Source::Exchange);
    EXPECT_TRUE(transport.LastWasRecorded());
    EXPECT_NE(transport.LastCheck()->where.find("data/snapshot_1.xml:"), std::string::npos)
        << transport.LastCheck()->where;

    // Host case and the default port aside, the address is the recorded one.
    response =
        transport.Send(Request("GET", "https://LIB.example:443/site.css#x", RequestRole::Resource));
    EXPECT_EQ(response.body, "body{}");
    EXPECT_TRUE(transport.LastWasRecorded());
    transport.EndStep();

    EXPECT_EQ(transport.Counts().requests, 2u);
    EXPECT_EQ(transport.Counts().same, 2u);
    EXPECT_EQ(transport.Counts().unsent, 0u);
}

TEST_F(RecordedTransportTest, EachExchangeAnswersOnceThenTheRequestIsNotRecorded) {
    Task one, two;
    one.origin = two.origin = "Polling";
    one.url = two.url = "https://lib.example/poll";
    one.responseBody = "one";
    two.responseBody = "two";
    Snapshot(1, {one, two});
    Open();
    transport.BeginStep(Step("t1"));
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/poll")).body, "one");
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/poll")).body, "two");
    const HttpResponse third = transport.Send(Request("GET", "https://lib.example/poll"));
    EXPECT_EQ(third.status, 404);
    EXPECT_EQ(third.error, "not recorded");
    ASSERT_NE(third.Header("X-Webstep-Not-Recorded"), nullptr);
    EXPECT_EQ(transport.LastCheck()->source, RecordedRequestCheck::Source::NotRecorded);
    EXPECT_FALSE(transport.LastWasRecorded());
    EXPECT_EQ(transport.LastComparison(), nullptr);
    EXPECT_EQ(transport.Counts().notRecorded, 1u);

    // A new step starts with every exchange unused again.
    transport.BeginStep(Step("t1", 2));
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/poll")).body, "one");
}

TEST_F(RecordedTransportTest, TheOriginThatFitsTheRoleAnswersFirst) {
    Task resource, primary;
    resource.origin = "HTML";
    resource.url = primary.url = "https://lib.example/x";
    resource.responseBody = "as a resource";
    primary.responseBody = "as the page";
    Snapshot(1, {resource, primary});
    Open();
    transport.BeginStep(Step("t1"));
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/x")).body, "as the page");
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/x", RequestRole::Resource)).body,
              "as a resource");
}

TEST_F(RecordedTransportTest, RedirectsComeFromRedirectionTasksWithTheirStatus) {
    Task post;
    post.method = "POST";
    post.url = "https://lib.example/signin";
    post.requestBody = "card=1&pin=2";
    post.status = 0;  // the status only in the status line of all headers
    post.statusLine = "HTTP/1.1 303 See Other";
    post.responseHeaders = {{"Location", "/account"}, {"Content-Length", "0"}};
    Task account;
    account.origin = "Redirection";
    account.url = "https://lib.example/account";
    account.status = 0;  // none at all: 200
    account.responseBody = "<html>account</html>";
    Task old;
    old.origin = "Redirection";
    old.url = "https://lib.example/old";
    old.status = 0;  // no status but a Location: the redirect is followed
    old.responseHeaders = {{"Location", "/new"}};
    Snapshot(1, {post, account, old});
    Open();
    transport.BeginStep(Step("t1"));
    HttpResponse response = transport.Send(
        Request("POST", "https://lib.example/signin", RequestRole::Primary, "card=1&pin=2"));
    EXPECT_EQ(response.status, 303);
    ASSERT_NE(response.Header("Location"), nullptr);
    EXPECT_EQ(*response.Header("Content-Length"), "0");  // it fits the empty body
    EXPECT_TRUE(transport.LastWasRecorded());
    response =
        transport.Send(Request("GET", "https://lib.example/account", RequestRole::Redirection));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "<html>account</html>");
    EXPECT_TRUE(transport.LastWasRecorded());
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/old")).status, 302);
}

TEST_F(RecordedTransportTest, HeadersThatNoLongerFitTheDecodedBodyAreDropped) {
    Task page;
    page.url = "https://lib.example/";
    page.responseBody = "hello";
    page.responseHeaders = {{"Content-Type", "text/html"},
                            {"Content-Encoding", "gzip"},
                            {"Transfer-Encoding", "chunked"},
                            {"Content-Length", "2048"},
                            {"X-Kept", "yes"}};
    Snapshot(1, {page});
    Open();
    transport.BeginStep(Step("t1"));
    const HttpResponse response = transport.Send(Request("GET", "https://lib.example/"));
    EXPECT_EQ(response.Header("Content-Encoding"), nullptr);
    EXPECT_EQ(response.Header("Transfer-Encoding"), nullptr);
    EXPECT_EQ(response.Header("Content-Length"), nullptr);
    ASSERT_NE(response.Header("X-Kept"), nullptr);
    EXPECT_EQ(response.responseBytes, 5u);
}

TEST_F(RecordedTransportTest, AMethodOrBodyThatDiffersIsNamedAndStillAnswered) {
    Task form;
    form.method = "POST";
    form.url = "https://lib.example/form";
    form.requestBody = "q=tides&page=1";
    form.responseBody = "results";
    Task again = form;
    Snapshot(1, {form, again});
    Open();
    transport.BeginStep(Step("t1"));
    HttpResponse response = transport.Send(Request("GET", "https://lib.example/form"));
    EXPECT_EQ(response.body, "results");
    ASSERT_NE(transport.LastComparison(), nullptr);
    EXPECT_FALSE(transport.LastComparison()->same);
    EXPECT_EQ(transport.LastComparison()->part, "method");

    transport.Send(
        Request("POST", "https://lib.example/form", RequestRole::Primary, "q=tides&page=2"));
    ASSERT_NE(transport.LastComparison(), nullptr);
    EXPECT_EQ(transport.LastComparison()->part, "body");
    EXPECT_EQ(transport.LastComparison()->offset, 13u);
    EXPECT_NE(transport.LastComparison()->difference.find("page=2"), std::string::npos)
        << transport.LastComparison()->difference;
    EXPECT_EQ(transport.Counts().different, 2u);
}

TEST_F(RecordedTransportTest, ReferencesBetweenTheBracesMatchTheRecordedText) {
    Task form;
    form.method = "POST";
    form.url = "https://lib.example/form";
    form.requestBody = "token=abc123&x=1";
    Snapshot(1, {form});
    FolderMessages messages;
    ASSERT_TRUE(transport.Open(dir.File("data"), messages, "<<", ">>"));
    transport.BeginStep(Step("t1"));
    transport.Send(
        Request("POST", "https://lib.example/form", RequestRole::Primary, "token=<<Token>>&x=1"));
    ASSERT_TRUE(transport.LastWasRecorded());
    ASSERT_EQ(transport.LastComparison()->references.size(), 1u);
    EXPECT_EQ(transport.LastComparison()->references[0].first, "Token");
    EXPECT_EQ(transport.LastComparison()->references[0].second, "abc123");
}

TEST_F(RecordedTransportTest, AValueThatDiffersStillMatchesWhereTheScriptWritesAReference) {
    Task renew;
    renew.method = "POST";
    renew.url = "https://lib.example/renew";
    renew.requestBody = "loan=L-1&weeks=3";
    Snapshot(1, {renew, renew});
    Open();
    HttpRequest sent =
        Request("POST", "https://lib.example/renew", RequestRole::Primary, "loan=L-2&weeks=3");
    // Without its form as written, the other loan is a difference.
    transport.BeginStep(Step("t1"));
    transport.Send(sent);
    ASSERT_NE(transport.LastComparison(), nullptr);
    EXPECT_FALSE(transport.LastComparison()->same);
    // With it, the reference matches the recorded value and is named.
    sent.hasWrittenForm = true;
    sent.writtenUrl = "{BaseUrl}/renew";
    sent.writtenBody = "loan={loanId}&weeks=3";
    transport.Send(sent);
    ASSERT_TRUE(transport.LastComparison()->same) << transport.LastComparison()->difference;
    ASSERT_EQ(transport.LastComparison()->references.size(), 2u);
    EXPECT_EQ(transport.LastComparison()->references[1].first, "loanId");
    EXPECT_EQ(transport.LastComparison()->references[1].second, "L-1");
    // The written form does not excuse a difference outside its references.
    sent.writtenBody = "loan={loanId}&weeks=4";
    transport.EndStep();
    transport.BeginStep(Step("t1"));
    transport.Send(sent);
    EXPECT_FALSE(transport.LastComparison()->same);
}

TEST_F(RecordedTransportTest, AWrittenFormThatMatchesNamesItsReferencesEvenWhenTheSentOneDoes) {
    Task renew;
    renew.method = "POST";
    renew.url = "https://lib.example/renew";
    renew.requestBody = "loan=L-1&weeks=3";
    Snapshot(1, {renew});
    Open();
    HttpRequest sent =
        Request("POST", "https://lib.example/renew", RequestRole::Primary, "loan=L-1&weeks=3");
    sent.hasWrittenForm = true;
    sent.writtenUrl = "https://lib.example/renew";
    sent.writtenBody = "loan={loanId}&weeks=3";
    transport.BeginStep(Step("t1"));
    transport.Send(sent);
    ASSERT_NE(transport.LastComparison(), nullptr);
    ASSERT_TRUE(transport.LastComparison()->same);
    ASSERT_EQ(transport.LastComparison()->references.size(), 1u);
    EXPECT_EQ(transport.LastComparison()->references[0].first, "loanId");
    EXPECT_EQ(transport.LastComparison()->references[0].second, "L-1");
}

TEST_F(RecordedTransportTest, PagesWithoutAddressesAreFoundByTheDocumentsName) {
    // No tN.inf at all: the step's own request and its frames are answered
    // by the files their place in the page names, as .html or .htm.
    ScratchDir::Write(DataFile("t2.html"), "<frameset><frame src=\"a.html\"></frameset>");
    ScratchDir::Write(DataFile("t2f0.htm"), "<p>frame</p>");
    Open();
    transport.BeginStep(Step("t2"));
    HttpRequest top = Request("GET", "https://lib.example/anything");
    top.document = "t2.html";
    HttpResponse answer = transport.Send(top);
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.body.find("frameset"), std::string::npos);
    ASSERT_NE(transport.LastCheck(), nullptr);
    EXPECT_EQ(transport.LastCheck()->source, RecordedRequestCheck::Source::File);
    EXPECT_FALSE(transport.LastCheck()->recorded);  // nothing to compare with
    EXPECT_EQ(transport.LastCheck()->where, "data/t2.html");
    HttpRequest frame = Request("GET", "https://lib.example/a.html", RequestRole::Frame);
    frame.document = "t2f0.html";
    answer = transport.Send(frame);
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "<p>frame</p>");
    // A resource is never looked up by a name, nor a frame without a file.
    HttpRequest resource = Request("GET", "https://lib.example/x.png", RequestRole::Resource);
    resource.document = "t2.html";
    EXPECT_EQ(transport.Send(resource).status, 404);
    HttpRequest other = Request("GET", "https://lib.example/b.html", RequestRole::Frame);
    other.document = "t2f1.html";
    EXPECT_EQ(transport.Send(other).status, 404);
    transport.EndStep();
}

TEST_F(RecordedTransportTest, AStepsOwnRequestToAnotherUrlIsComparedWithThePrimaryTask) {
    Task primary;
    primary.url = "https://lib.example/catalogue?page=1";
    primary.responseBody = "<html>catalogue</html>";
    Snapshot(1, {primary});
    Open();
    transport.BeginStep(Step("t1"));
    const HttpResponse response =
        transport.Send(Request("GET", "https://lib.example/catalogue?page=2"));
    // The recorded answer, so that later steps are not spoiled as well.
    EXPECT_EQ(response.body, "<html>catalogue</html>");
    const RecordedRequestCheck* check = transport.LastCheck();
    ASSERT_NE(check, nullptr);
    EXPECT_TRUE(check->recorded);
    EXPECT_FALSE(check->Same());
    EXPECT_EQ(check->comparison.part, "url");
    EXPECT_EQ(check->recordedUrl, "https://lib.example/catalogue?page=1");
    EXPECT_EQ(transport.Counts().different, 1u);

    // A resource of an unrecorded address stands in for nothing.
    transport.Send(Request("GET", "https://lib.example/none.png", RequestRole::Resource));
    EXPECT_EQ(transport.LastCheck()->source, RecordedRequestCheck::Source::NotRecorded);
}

TEST_F(RecordedTransportTest, FilesOfTheInfAnswerWhatTheXmlDoesNotHold) {
    Task primary;
    primary.url = "https://lib.example/";
    primary.responseBody = "<html>home</html>";
    ScratchDir::Write(DataFile("t1_logo.png"), std::string("\x89PNG\r\n\x1a\n\0\0", 10));
    ScratchDir::Write(DataFile("t1_app.js"), "var x;");
    ScratchDir::Write(DataFile("t1f0.htm"), "<html>frame</html>");
    Snapshot(1, {primary},
             "FileName1=t1.htm\nURL1=https://lib.example/\nTotal=4\nContentType=text/html\n"
             "FileName2=t1_logo.png\nURL2=https://lib.example/logo.png\n"
             "FileName3=t1_app.js\nURL3=https://lib.example/app.js\n"
             "FileName4=t1f0.htm\nURL4=https://lib.example/menu\nFrameIndex4=0.0\n");
    Open();
    transport.BeginStep(Step("t1"));
    transport.Send(Request("GET", "https://lib.example/"));
    HttpResponse logo =
        transport.Send(Request("GET", "https://lib.example/logo.png", RequestRole::Resource));
    EXPECT_EQ(logo.status, 200);
    EXPECT_EQ(logo.body.size(), 10u);
    EXPECT_EQ(*logo.Header("Content-Type"), "image/png");
    EXPECT_EQ(transport.LastCheck()->source, RecordedRequestCheck::Source::File);
    EXPECT_EQ(transport.LastCheck()->where, "data/t1_logo.png");
    EXPECT_TRUE(transport.LastWasRecorded());
    EXPECT_EQ(*transport.Send(Request("GET", "https://lib.example/app.js", RequestRole::Resource))
                   .Header("Content-Type"),
              "application/javascript");
    const HttpResponse frame =
        transport.Send(Request("GET", "https://lib.example/menu", RequestRole::Frame));
    EXPECT_EQ(frame.body, "<html>frame</html>");
    EXPECT_EQ(*frame.Header("Content-Type"), "text/html");
    EXPECT_EQ(transport.Counts().same, 4u);
}

TEST_F(RecordedTransportTest, AStepWithoutXmlIsAnsweredByItsDocumentFile) {
    ScratchDir::Write(DataFile("t3.htm"), "<html>renewals</html>");
    Snapshot(3, {},
             "FileName1=t3.htm\nURL1=https://lib.example/renewals\nTotal=1\n"
             "ContentType=text/html; charset=utf-8\n");
    Open();
    transport.BeginStep(Step("t3"));
    HttpResponse response = transport.Send(Request("GET", "https://lib.example/renewals"));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "<html>renewals</html>");
    EXPECT_EQ(*response.Header("Content-Type"), "text/html; charset=utf-8");
    EXPECT_TRUE(transport.LastWasRecorded());

    // The step's own request to another address: the document still answers
    // (older recordings), and the comparison names the address.
    transport.BeginStep(Step("t3", 2));
    response = transport.Send(Request("GET", "https://lib.example/other"));
    EXPECT_EQ(response.body, "<html>renewals</html>");
    EXPECT_EQ(transport.LastCheck()->source, RecordedRequestCheck::Source::File);
    EXPECT_EQ(transport.LastComparison()->part, "url");
    // Only the step's first request.
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/more")).status, 404);
}

TEST_F(RecordedTransportTest, APageFileWithoutAnAddressAnswersButIsNotVerified) {
    // The oldest layout: the page file alone, no tN.inf and no XML.
    ScratchDir::Write(DataFile("t5.html"), "<html>old</html>");
    Open();
    transport.BeginStep(Step("t5"));
    const HttpResponse response = transport.Send(Request("GET", "https://lib.example/old"));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "<html>old</html>");
    EXPECT_EQ(*response.Header("Content-Type"), "text/html");
    EXPECT_EQ(transport.LastCheck()->source, RecordedRequestCheck::Source::File);
    EXPECT_FALSE(transport.LastCheck()->recorded);
    EXPECT_EQ(transport.LastComparison(), nullptr);
    EXPECT_EQ(transport.Counts().unverified, 1u);
    EXPECT_EQ(transport.Counts().notRecorded, 0u);
    EXPECT_EQ(transport.Counts().same + transport.Counts().different, 0u);
}

TEST_F(RecordedTransportTest, TheDocumentsMethodAndBodyComeFromItsRequestFiles) {
    ScratchDir::Write(DataFile("t4.htm"), "<html>done</html>");
    ScratchDir::Write(DataFile("t4_RequestHeader.txt"),
                      "PUT /items/7 HTTP/1.1\r\nHost: lib.example\r\n\r\n");
    ScratchDir::Write(DataFile("t4_RequestBody.txt"), "{\"n\":7}");
    Snapshot(4, {},
             "FileName1=t4.htm\nURL1=https://lib.example/items/7\nTotal=1\n"
             "RequestHeaderFile=t4_RequestHeader.txt\nRequestBodyFile=t4_RequestBody.txt\n");
    Open();
    transport.BeginStep(Step("t4"));
    transport.Send(
        Request("PUT", "https://lib.example/items/7", RequestRole::Primary, "{\"n\":7}"));
    EXPECT_TRUE(transport.LastWasRecorded());
    EXPECT_EQ(transport.LastCheck()->recordedMethod, "PUT");
    transport.BeginStep(Step("t4", 2));
    transport.Send(
        Request("PUT", "https://lib.example/items/7", RequestRole::Primary, "{\"n\":8}"));
    EXPECT_EQ(transport.LastComparison()->part, "body");
}

TEST_F(RecordedTransportTest, StepsWithoutARecordingAreNotRecorded) {
    Open();
    // No step begun, a step without a snapshot, a snapshot the folder lacks.
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/")).status, 404);
    transport.BeginStep(Step(""));
    HttpResponse response = transport.Send(Request("GET", "https://lib.example/"));
    EXPECT_EQ(response.status, 404);
    EXPECT_NE(response.body.find("has no snapshot"), std::string::npos) << response.body;
    transport.BeginStep(Step("t9"));
    response = transport.Send(Request("GET", "https://lib.example/"));
    EXPECT_NE(response.body.find("not in the recording of t9"), std::string::npos) << response.body;
    EXPECT_EQ(transport.Counts().notRecorded, 3u);
    EXPECT_EQ(transport.Counts().requests, 3u);
}

TEST_F(RecordedTransportTest, RecordedExchangesNoRequestTookAreCountedAtTheStepsEnd) {
    Task primary, font;
    primary.url = "https://lib.example/";
    font.origin = "ExtraRes";
    font.url = "https://lib.example/font.woff2";
    Snapshot(1, {primary, font});
    Open();
    transport.BeginStep(Step("t1"));
    transport.Send(Request("GET", "https://lib.example/"));
    transport.EndStep();
    ASSERT_EQ(transport.LastStepUnsent().size(), 1u);
    EXPECT_EQ(transport.LastStepUnsent()[0].url, "https://lib.example/font.woff2");
    EXPECT_EQ(transport.LastStepUnsent()[0].origin, "ExtraRes");
    EXPECT_EQ(transport.Counts().unsent, 1u);
}

TEST_F(RecordedTransportTest, TheCallbackSeesEveryRequestWithItsCheck) {
    Task primary;
    primary.url = "https://lib.example/";
    Snapshot(1, {primary});
    Open();
    std::vector<std::pair<std::string, bool>> seen;
    transport.SetCheckCallback([&seen](const HttpRequest& request, const HttpResponse&,
                                       const RecordedRequestCheck& check) {
        seen.emplace_back(request.url, check.Same());
        EXPECT_EQ(check.snapshot, "t1");
        EXPECT_EQ(check.step, 1u);
    });
    transport.BeginStep(Step("t1"));
    transport.Send(Request("GET", "https://lib.example/"));
    transport.Send(Request("GET", "https://lib.example/x", RequestRole::Resource));
    EXPECT_EQ(seen, (std::vector<std::pair<std::string, bool>>{{"https://lib.example/", true},
                                                               {"https://lib.example/x", false}}));
}

TEST_F(RecordedTransportTest, BrokenXmlAnswersWithTheExchangesBeforeTheBreak) {
    Task primary, css;
    primary.url = "https://lib.example/";
    primary.responseBody = "home";
    css.origin = "HTML";
    css.url = "https://lib.example/site.css";
    std::string xml = SnapshotXml({primary, css});
    xml.resize(xml.find("<HTTPTask id=\"102\"") + 40);  // cut inside the second task
    ScratchDir::Write(DataFile("snapshot_1.xml"), xml);
    ScratchDir::Write(DataFile("t1.inf"), "[t1]\nSnapshotXmlFile=snapshot_1.xml\n");
    Open();
    transport.BeginStep(Step("t1"));
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/")).body, "home");
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/site.css", RequestRole::Resource))
                  .status,
              404);
    const FolderMessages fresh = transport.TakeNewMessages();
    ASSERT_FALSE(fresh.empty());
    EXPECT_NE(fresh.front().Format().find("snapshot_1.xml"), std::string::npos)
        << fresh.front().Format();
    EXPECT_TRUE(transport.TakeNewMessages().empty());
}

TEST_F(RecordedTransportTest, AFolderWithoutRecordingDoesNotOpen) {
    FolderMessages messages;
    EXPECT_FALSE(transport.Open(dir.File("nothing-here"), messages));
    transport.BeginStep(Step("t1"));
    EXPECT_EQ(transport.Send(Request("GET", "https://lib.example/")).status, 404);
}

// The example folder replayed by a virtual user: every request the user
// sends is the recorded one, values saved from recorded answers included
// (the sign-in form's token, the first loan's id).
TEST(RecordedTransportExampleTest, LibraryLoansIsReplayedExactlyAsRecorded) {
    const std::string path = std::string(WEBSTEP_SOURCE_DIR) + "/examples/library-loans";
    ASSERT_TRUE(std::filesystem::is_directory(path)) << "example folder missing: " << path;
    FolderMessages messages;
    CScriptFolder folder;
    ASSERT_TRUE(folder.Open(path, messages));
    CParameterSet parameters;
    parameters.Load(folder.ParameterPath(), folder.Dir(), messages);
    CRecordedTransport transport;
    ASSERT_TRUE(transport.Open(folder, messages));
    std::vector<std::string> differences;
    transport.SetCheckCallback([&differences](const HttpRequest& request, const HttpResponse&,
                                              const RecordedRequestCheck& check) {
        if (!check.Same())
            differences.push_back(
                request.method + " " + request.url + ": " +
                (check.recorded ? check.comparison.difference : std::string("not recorded")));
    });
    CManualClock clock;
    CVirtualUser user(folder, parameters, transport, clock);
    user.Run(1);
    EXPECT_EQ(user.FailedSteps(), 0u);
    EXPECT_TRUE(differences.empty()) << ::testing::PrintToString(differences);
    EXPECT_GE(transport.Counts().requests, 10u);
    EXPECT_EQ(transport.Counts().same, transport.Counts().requests);
}

}  // namespace
