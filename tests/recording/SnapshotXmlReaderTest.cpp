#include <gtest/gtest.h>

#include "SnapshotTestSupport.h"
#include "webstep/recording/SnapshotXmlReader.h"

namespace {

using snaptest::AllMessages;
using snaptest::Base64;
using snaptest::CountWarnings;
using snaptest::DataSet;
using snaptest::Header;
using snaptest::TempDir;

struct ReadOutcome {
    SnapshotReadResult result;
    std::vector<HttpExchange> exchanges;
    FolderMessages messages;
};

ReadOutcome Read(std::string_view xml, SnapshotReadOptions options = {}) {
    ReadOutcome out;
    CSnapshotXmlReader reader(options);
    out.result = reader.ReadText(
        xml, "data/snapshot_7.xml",
        [&out](const HttpExchange& exchange) {
            out.exchanges.push_back(exchange);
            return true;
        },
        out.messages);
    return out;
}

std::string Task(std::string_view attributes, std::string_view request,
                 std::string_view response = "") {
    return "<HTTPTask " + std::string(attributes) + ">\n<HTTPRequest method=\"GET\">" +
           std::string(request) + "</HTTPRequest>\n<HTTPResponse>" + std::string(response) +
           "</HTTPResponse>\n</HTTPTask>\n";
}

std::string Snapshot(std::string_view tasks) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<HTTPSnapshot id=\"7\">\n" +
           std::string(tasks) + "</HTTPSnapshot>\n";
}

TEST(SnapshotXml, ReadsTheTaskOfTheFormatPage) {
    const std::string xml =
        "<HTTPSnapshot id=\"7\">\n"
        "  <HTTPTask id=\"31\" url=\"https://loans.example.org/catalogue\" "
        "hostname=\"loans.example.org\"\n"
        "            port=\"443\" path=\"/catalogue\" origin=\"Primary\" frame=\"1\">\n"
        "    <HTTPRequest method=\"GET\">\n"
        "      <HTTPHeaders>\n"
        "        <HTTPHeaderEntity name=\"Accept\" index=\"0\">\n"
        "          <HTTPDataSet><HTTPData dfeDataType=\"Raw\" sectionDataType=\"1\">\n"
        "            <ActualData>dGV4dC9odG1s</ActualData>\n"
        "          </HTTPData></HTTPDataSet>\n"
        "        </HTTPHeaderEntity>\n"
        "      </HTTPHeaders>\n"
        "      <HTTPBody><HTTPDataSet><HTTPData><ActualData>cT1ib29rcw==</ActualData>"
        "</HTTPData></HTTPDataSet></HTTPBody>\n"
        "    </HTTPRequest>\n"
        "    <HTTPResponse>\n"
        "      <HTTPHeaders>" +
        Header("Content-Type", "text/html") +
        "</HTTPHeaders>\n"
        "      <HTTPBody>" +
        DataSet({"<html></html>"}) +
        "</HTTPBody>\n"
        "    </HTTPResponse>\n"
        "  </HTTPTask>\n"
        "  <HTTPTask id=\"32\" url=\"https://loans.example.org/logo.png\" origin=\"ExtraRes\" "
        "frame=\"1\"><HTTPRequest method=\"GET\"/></HTTPTask>\n"
        "</HTTPSnapshot>\n";
    const ReadOutcome out = Read(xml);
    EXPECT_TRUE(out.result.Ok());
    EXPECT_FALSE(out.result.stopped);
    EXPECT_TRUE(out.messages.empty()) << AllMessages(out.messages);
    ASSERT_EQ(out.exchanges.size(), 2u);
    EXPECT_EQ(out.result.exchanges, 2u);
    const HttpExchange& primary = out.exchanges[0];
    EXPECT_EQ(primary.origin, ExchangeOrigin::Primary);
    EXPECT_EQ(primary.originText, "Primary");
    EXPECT_EQ(primary.frame, "1");
    EXPECT_EQ(primary.taskId, "31");
    EXPECT_EQ(primary.line, 2u);
    EXPECT_EQ(primary.url, "https://loans.example.org/catalogue");
    EXPECT_EQ(primary.method, "GET");
    ASSERT_EQ(primary.requestHeaders.size(), 1u);
    EXPECT_EQ(primary.requestHeaders[0], (HttpHeader{"Accept", "text/html"}));
    EXPECT_EQ(primary.requestBody, "q=books");
    EXPECT_EQ(primary.requestBodySize, 7u);
    ASSERT_NE(primary.ResponseHeader("content-type"), nullptr);
    EXPECT_EQ(*primary.ResponseHeader("content-type"), "text/html");
    EXPECT_EQ(primary.responseBody, "<html></html>");
    EXPECT_EQ(primary.responseStatus, 0) << "this file carries no status";
    EXPECT_FALSE(primary.requestBodyCut || primary.responseBodyCut || primary.requestBodyLeftOut ||
                 primary.responseBodyLeftOut);
    EXPECT_EQ(out.exchanges[1].origin, ExchangeOrigin::ExtraRes);
    EXPECT_EQ(out.exchanges[1].taskId, "32");
    EXPECT_TRUE(out.exchanges[1].requestHeaders.empty());
}

TEST(SnapshotXml, EveryOriginIsRecognizedAndOtherTextIsKept) {
    std::string tasks;
    for (const char* origin :
         {"Primary", "Redirection", "HTML", "ExtraRes", "Polling", "Prefetch", "primary"})
        tasks += Task("origin=\"" + std::string(origin) + "\" url=\"http://a/\"", "");
    const ReadOutcome out = Read(Snapshot(tasks));
    ASSERT_EQ(out.exchanges.size(), 7u);
    EXPECT_EQ(out.exchanges[0].origin, ExchangeOrigin::Primary);
    EXPECT_EQ(out.exchanges[1].origin, ExchangeOrigin::Redirection);
    EXPECT_EQ(out.exchanges[2].origin, ExchangeOrigin::HTML);
    EXPECT_EQ(out.exchanges[3].origin, ExchangeOrigin::ExtraRes);
    EXPECT_EQ(out.exchanges[4].origin, ExchangeOrigin::Polling);
    EXPECT_EQ(out.exchanges[5].origin, ExchangeOrigin::Other);
    EXPECT_EQ(out.exchanges[5].originText, "Prefetch");
    // Compared exactly as the files write it.
    EXPECT_EQ(out.exchanges[6].origin, ExchangeOrigin::Other);
}

TEST(SnapshotXml, TaskWithoutOriginIsPrimaryOnlyWhenItComesFirst) {
    const ReadOutcome out =
        Read(Snapshot(Task("url=\"http://a/1\"", "") + Task("url=\"http://a/2\"", "")));
    ASSERT_EQ(out.exchanges.size(), 2u);
    EXPECT_EQ(out.exchanges[0].origin, ExchangeOrigin::Primary);
    EXPECT_EQ(out.exchanges[0].originText, "");
    EXPECT_EQ(out.exchanges[1].origin, ExchangeOrigin::Other);
}

TEST(SnapshotXml, AttributesInAnyOrderAndExtraAttributesAreTolerated) {
    const ReadOutcome out = Read(
        Snapshot("<HTTPTask newThing=\"yes\" frame=\"1.2\" origin=\"HTML\" id=\"4\" "
                 "url=\"http://a/b?x=1&amp;y=2\">"
                 "<HTTPRequest extra=\"1\" method=\"POST\"><HTTPHeaders count=\"1\">"
                 "<HTTPHeaderEntity index=\"0\" name=\"X-A\" more=\"m\">" +
                 DataSet({"v"}) + "</HTTPHeaderEntity></HTTPHeaders></HTTPRequest></HTTPTask>"));
    ASSERT_EQ(out.exchanges.size(), 1u) << AllMessages(out.messages);
    EXPECT_EQ(out.exchanges[0].frame, "1.2");
    EXPECT_EQ(out.exchanges[0].origin, ExchangeOrigin::HTML);
    EXPECT_EQ(out.exchanges[0].url, "http://a/b?x=1&y=2");
    EXPECT_EQ(out.exchanges[0].method, "POST");
    ASSERT_EQ(out.exchanges[0].requestHeaders.size(), 1u);
    EXPECT_EQ(out.exchanges[0].requestHeaders[0], (HttpHeader{"X-A", "v"}));
}

TEST(SnapshotXml, UrlIsRebuiltFromItsPartsWhenTheTaskHasNone) {
    const ReadOutcome out = Read(Snapshot(
        Task("origin=\"Primary\" hostname=\"loans.example.org\" port=\"443\" path=\"/a?b=1\"", "") +
        Task("origin=\"HTML\" hostname=\"h\" port=\"8080\" path=\"x\"", "")));
    ASSERT_EQ(out.exchanges.size(), 2u);
    EXPECT_EQ(out.exchanges[0].url, "https://loans.example.org/a?b=1");
    EXPECT_EQ(out.exchanges[1].url, "http://h:8080/x");
}

TEST(SnapshotXml, BodySplitOverSeveralDataElementsIsTheirConcatenation) {
    const std::string body = "<HTTPBody>" + DataSet({"first=1&", "second=", "2"}) + "</HTTPBody>";
    const ReadOutcome out = Read(Snapshot(Task("origin=\"Primary\"", body, body)));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].requestBody, "first=1&second=2");
    EXPECT_EQ(out.exchanges[0].responseBody, "first=1&second=2");
    EXPECT_EQ(out.exchanges[0].requestBodySize, 16u);
    EXPECT_TRUE(out.messages.empty()) << AllMessages(out.messages);
}

TEST(SnapshotXml, SeveralDataSetsOfOneBodyAreConcatenatedToo) {
    const std::string body = "<HTTPBody>" + DataSet({"ab"}) + DataSet({"cd"}) + "</HTTPBody>";
    const ReadOutcome out = Read(Snapshot(Task("origin=\"Primary\"", body)));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].requestBody, "abcd");
}

TEST(SnapshotXml, WhiteSpaceInsideActualDataIsIgnored) {
    const ReadOutcome out = Read(
        Snapshot(Task("origin=\"Primary\"",
                      "<HTTPBody><HTTPDataSet><HTTPData><ActualData>\r\n  cT1i\n\tb29r\r\n cw=\n=\n"
                      "</ActualData></HTTPData></HTTPDataSet></HTTPBody>")));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].requestBody, "q=books");
    EXPECT_TRUE(out.messages.empty()) << AllMessages(out.messages);
}

TEST(SnapshotXml, PaddedPartsWrittenInOneActualDataAreDecodedOneAfterTheOther) {
    const std::string text = Base64("a") + Base64("bc") + Base64("def");
    const ReadOutcome out = Read(Snapshot(
        Task("origin=\"Primary\"", "<HTTPBody><HTTPDataSet><HTTPData><ActualData>" + text +
                                       "</ActualData></HTTPData></HTTPDataSet></HTTPBody>")));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].requestBody, "abcdef");
}

TEST(SnapshotXml, UnpaddedPartIsDecodedAsFarAsItGoes) {
    const ReadOutcome out =
        Read(Snapshot(Task("origin=\"Primary\"",
                           "<HTTPBody><HTTPDataSet><HTTPData><ActualData>YWJjZA"
                           "</ActualData></HTTPData></HTTPDataSet></HTTPBody>")));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].requestBody, "abcd");
    EXPECT_TRUE(out.messages.empty()) << AllMessages(out.messages);
}

TEST(SnapshotXml, BodyLargerThanAChunkIsDecodedAcrossChunkBoundaries) {
    std::string big;
    for (int i = 0; big.size() < 3 * CSnapshotXmlReader::kChunkSize + 7; ++i)
        big += "line " + std::to_string(i) + "\n";
    std::string encoded = Base64(big);
    // Line breaks every 76 characters, as mail-style encoders write.
    std::string wrapped;
    for (std::size_t i = 0; i < encoded.size(); i += 76)
        wrapped += encoded.substr(i, 76) + "\n";
    const ReadOutcome out =
        Read(Snapshot(Task("origin=\"Primary\"", "",
                           "<HTTPBody><HTTPDataSet><HTTPData><ActualData>" + wrapped +
                               "</ActualData></HTTPData></HTTPDataSet></HTTPBody>")));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].responseBody, big);
    EXPECT_EQ(out.exchanges[0].responseBodySize, big.size());
}

TEST(SnapshotXml, HeadersKeepTheirOrderAndDuplicates) {
    const ReadOutcome out = Read(
        Snapshot(Task("origin=\"Primary\"",
                      "<HTTPHeaders>" + Header("Accept", "*/*", 0) + Header("Cookie", "a=1", 1) +
                          Header("Cookie", "b=2", 2) + Header("X-Empty", "", 3) + "</HTTPHeaders>",
                      "<HTTPHeaders>" + Header("Set-Cookie", "s=1", 0) +
                          Header("Set-Cookie", "t=2", 1) + "</HTTPHeaders>")));
    ASSERT_EQ(out.exchanges.size(), 1u);
    const HttpExchange& exchange = out.exchanges[0];
    EXPECT_EQ(exchange.requestHeaders,
              (std::vector<HttpHeader>{
                  {"Accept", "*/*"}, {"Cookie", "a=1"}, {"Cookie", "b=2"}, {"X-Empty", ""}}));
    EXPECT_EQ(exchange.responseHeaders,
              (std::vector<HttpHeader>{{"Set-Cookie", "s=1"}, {"Set-Cookie", "t=2"}}));
    ASSERT_NE(exchange.RequestHeader("cookie"), nullptr);
    EXPECT_EQ(*exchange.RequestHeader("cookie"), "a=1");
    EXPECT_EQ(exchange.RequestHeader("Referer"), nullptr);
}

TEST(SnapshotXml, CookiesAllHeadersQueryStringsAndUnknownElementsAreSkipped) {
    const std::string request = "<HTTPCookies><HTTPCookieEntity name=\"sid\">" +
                                DataSet({"cookie"}) +
                                "</HTTPCookieEntity></HTTPCookies>"
                                "<HTTPAllHeaders>" +
                                DataSet({"GET / HTTP/1.1\r\nAccept: */*\r\n"}) +
                                "</HTTPAllHeaders>"
                                "<QueryString>" +
                                DataSet({"q=1"}) +
                                "</QueryString>"
                                "<HTTPSplittedQueryStrings><HTTPQueryString name=\"q\">" +
                                DataSet({"1"}) +
                                "</HTTPQueryString></HTTPSplittedQueryStrings>"
                                "<HTTPHeaders><Unknown>" +
                                DataSet({"no"}) + "</Unknown>" + Header("Accept", "*/*") +
                                "</HTTPHeaders>"
                                "<HTTPBody><Comment>not data</Comment>" +
                                DataSet({"b=1"}) + "</HTTPBody><Timing start=\"1\"/>";
    const ReadOutcome out =
        Read(Snapshot("<Meta><Tool version=\"1\"/></Meta>" + Task("origin=\"Primary\"", request) +
                      "<Trailer>text</Trailer>"));
    EXPECT_TRUE(out.result.Ok());
    EXPECT_TRUE(out.messages.empty()) << AllMessages(out.messages);
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].requestHeaders, (std::vector<HttpHeader>{{"Accept", "*/*"}}));
    EXPECT_EQ(out.exchanges[0].requestBody, "b=1");
}

TEST(SnapshotXml, ResponseStatusComesFromAnAttribute) {
    std::string tasks;
    for (const char* attribute : {"status=\"302\"", "statusCode=\"404\"", "code=\"200\"",
                                  "StatusCode=\" 500 \"", "status=\"abc\""}) {
        tasks +=
            "<HTTPTask origin=\"HTML\"><HTTPResponse " + std::string(attribute) + "/></HTTPTask>";
    }
    const ReadOutcome out = Read(Snapshot(tasks));
    ASSERT_EQ(out.exchanges.size(), 5u);
    EXPECT_EQ(out.exchanges[0].responseStatus, 302);
    EXPECT_EQ(out.exchanges[1].responseStatus, 404);
    EXPECT_EQ(out.exchanges[2].responseStatus, 200);
    EXPECT_EQ(out.exchanges[3].responseStatus, 500);
    EXPECT_EQ(out.exchanges[4].responseStatus, 0);
}

TEST(SnapshotXml, ResponseStatusComesFromTheStatusLineOfTheHeaders) {
    const std::string allHeaders = "<HTTPAllHeaders>" +
                                   DataSet({"HTTP/1.1 301 Moved Permanently\r\nLocation: /x\r\n"}) +
                                   "</HTTPAllHeaders>";
    const std::string entity = "<HTTPHeaders>" + Header("", "HTTP/1.0 404 Not Found") +
                               Header("Server", "s") + "</HTTPHeaders>";
    const std::string statusHeader =
        "<HTTPHeaders>" + Header("Status", "503 Busy") + "</HTTPHeaders>";
    const ReadOutcome out = Read(Snapshot(
        Task("origin=\"Primary\"", "", allHeaders) + Task("origin=\"HTML\"", "", entity) +
        Task("origin=\"HTML\"", "", statusHeader) +
        Task("origin=\"HTML\"", "<HTTPHeaders>" + Header("Status", "201") + "</HTTPHeaders>")));
    ASSERT_EQ(out.exchanges.size(), 4u);
    EXPECT_EQ(out.exchanges[0].responseStatus, 301);
    EXPECT_EQ(out.exchanges[1].responseStatus, 404);
    // A status line is not a header.
    EXPECT_EQ(out.exchanges[1].responseHeaders, (std::vector<HttpHeader>{{"Server", "s"}}));
    EXPECT_EQ(out.exchanges[2].responseStatus, 503);
    // On the request side a header named Status is just a header.
    EXPECT_EQ(out.exchanges[3].responseStatus, 0);
    EXPECT_EQ(out.exchanges[3].requestHeaders.size(), 1u);
}

TEST(SnapshotXml, PrimaryOnlyDeliversTheFirstPrimaryTaskAndStops) {
    const std::string tasks = Task("origin=\"Redirection\" url=\"http://a/old\"", "") +
                              Task("origin=\"Primary\" url=\"http://a/new\"", "",
                                   "<HTTPBody>" + DataSet({"page"}) + "</HTTPBody>") +
                              Task("origin=\"Primary\" url=\"http://a/again\"", "") +
                              Task("origin=\"HTML\" url=\"http://a/frame\"", "");
    SnapshotReadOptions options;
    options.primaryOnly = true;
    const ReadOutcome out = Read(Snapshot(tasks), options);
    EXPECT_TRUE(out.result.Ok());
    EXPECT_TRUE(out.result.stopped);
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.result.exchanges, 1u);
    EXPECT_EQ(out.exchanges[0].url, "http://a/new");
    EXPECT_EQ(out.exchanges[0].responseBody, "page");
}

TEST(SnapshotXml, PrimaryOnlyDoesNotSeeABreakAfterThePrimaryTaskUnlessAskedToCheck) {
    const std::string xml = Snapshot(Task("origin=\"Primary\" url=\"http://a/\"", "") +
                                     "<HTTPTask origin=\"HTML\"><oops></HTTPTask>");
    SnapshotReadOptions options;
    options.primaryOnly = true;
    const ReadOutcome fast = Read(xml, options);
    EXPECT_TRUE(fast.result.Ok());
    EXPECT_EQ(fast.exchanges.size(), 1u);
    options.checkToEnd = true;
    const ReadOutcome checked = Read(xml, options);
    EXPECT_TRUE(checked.result.broken);
    EXPECT_EQ(checked.exchanges.size(), 1u);
    EXPECT_EQ(CountWarnings(checked.messages), 1u) << AllMessages(checked.messages);
}

TEST(SnapshotXml, CallbackReturningFalseStopsTheRead) {
    std::string tasks;
    for (int i = 0; i < 5; ++i)
        tasks += Task("origin=\"HTML\" id=\"" + std::to_string(i) + "\"", "");
    CSnapshotXmlReader reader;
    FolderMessages messages;
    int seen = 0;
    const SnapshotReadResult result = reader.ReadText(
        Snapshot(tasks), "s.xml", [&seen](const HttpExchange&) { return ++seen < 2; }, messages);
    EXPECT_EQ(seen, 2);
    EXPECT_TRUE(result.Ok());
    EXPECT_TRUE(result.stopped);
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
}

TEST(SnapshotXml, BodiesLeftOutAreCountedButNotKept) {
    const std::string body = "<HTTPBody>" + DataSet({"12345", "678"}) + "</HTTPBody>";
    SnapshotReadOptions options;
    options.keepRequestBodies = false;
    options.keepResponseBodies = false;
    const ReadOutcome out = Read(Snapshot(Task("origin=\"Primary\"", body, body)), options);
    ASSERT_EQ(out.exchanges.size(), 1u);
    const HttpExchange& exchange = out.exchanges[0];
    EXPECT_TRUE(exchange.requestBody.empty());
    EXPECT_TRUE(exchange.responseBody.empty());
    EXPECT_TRUE(exchange.requestBodyLeftOut);
    EXPECT_TRUE(exchange.responseBodyLeftOut);
    EXPECT_EQ(exchange.requestBodySize, 8u);
    EXPECT_EQ(exchange.responseBodySize, 8u);
    EXPECT_FALSE(exchange.requestBodyCut);
}

TEST(SnapshotXml, KeptBodiesAreCappedAndMarkedCut) {
    const std::string body = "<HTTPBody>" + DataSet({"12345", "678"}) + "</HTTPBody>";
    const std::string small = "<HTTPBody>" + DataSet({"1234"}) + "</HTTPBody>";
    SnapshotReadOptions options;
    options.maxBodyBytes = 4;
    const ReadOutcome out = Read(Snapshot(Task("origin=\"Primary\"", small, body)), options);
    ASSERT_EQ(out.exchanges.size(), 1u);
    const HttpExchange& exchange = out.exchanges[0];
    EXPECT_EQ(exchange.requestBody, "1234");
    EXPECT_FALSE(exchange.requestBodyCut) << "exactly the cap is not cut";
    EXPECT_EQ(exchange.responseBody, "1234");
    EXPECT_TRUE(exchange.responseBodyCut);
    EXPECT_EQ(exchange.responseBodySize, 8u);
    EXPECT_FALSE(exchange.responseBodyLeftOut);
}

TEST(SnapshotXml, EmptyResponseBodiesAreEmptyAndNotFlagged) {
    const ReadOutcome out =
        Read(Snapshot(Task("origin=\"Primary\"", "", "<HTTPBody/>") +
                      Task("origin=\"HTML\"", "", "<HTTPBody><HTTPDataSet/></HTTPBody>") +
                      Task("origin=\"HTML\"", "",
                           "<HTTPBody><HTTPDataSet><HTTPData><ActualData></ActualData></HTTPData>"
                           "</HTTPDataSet></HTTPBody>") +
                      Task("origin=\"HTML\"", "", "")));
    ASSERT_EQ(out.exchanges.size(), 4u);
    for (const HttpExchange& exchange : out.exchanges) {
        EXPECT_TRUE(exchange.responseBody.empty());
        EXPECT_EQ(exchange.responseBodySize, 0u);
        EXPECT_FALSE(exchange.responseBodyCut || exchange.responseBodyLeftOut);
    }
    EXPECT_TRUE(out.messages.empty()) << AllMessages(out.messages);
}

TEST(SnapshotXml, NonUtf8BytesInBodiesAndHeadersComeOutUnchanged) {
    const std::string bytes("\xff\xfe\x80\x00\x81q=\xe9t\xe9", 11);
    const ReadOutcome out = Read(Snapshot(Task(
        "origin=\"Primary\"", "<HTTPHeaders>" + Header("X-Name", "Z\xfcrich") + "</HTTPHeaders>",
        "<HTTPBody>" + DataSet({bytes}) + "</HTTPBody>")));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].responseBody, bytes);
    EXPECT_EQ(out.exchanges[0].requestHeaders[0].value, "Z\xfcrich");
}

TEST(SnapshotXml, AttributeTextsInACodePageOrInUtf8ComeOutAsTheirBytes) {
    // A file that says UTF-8 but holds a code page byte, and one in UTF-8.
    const ReadOutcome codePage =
        Read(Snapshot(Task("origin=\"Primary\" url=\"http://a/Z\xfcrich\"", "")));
    ASSERT_EQ(codePage.exchanges.size(), 1u) << AllMessages(codePage.messages);
    EXPECT_EQ(codePage.exchanges[0].url, "http://a/Z\xfcrich");
    const ReadOutcome utf8 =
        Read(Snapshot(Task("origin=\"Primary\" url=\"http://a/Z\xc3\xbcrich/\xe4\xb8\xad\"", "")));
    ASSERT_EQ(utf8.exchanges.size(), 1u);
    EXPECT_EQ(utf8.exchanges[0].url, "http://a/Z\xc3\xbcrich/\xe4\xb8\xad");
    // A character reference above 255 comes out as UTF-8.
    const ReadOutcome reference =
        Read(Snapshot(Task("origin=\"Primary\" url=\"http://a/&#x4E2D;&#xFC;\"", "")));
    ASSERT_EQ(reference.exchanges.size(), 1u);
    EXPECT_EQ(reference.exchanges[0].url, "http://a/\xe4\xb8\xad\xfc");
}

TEST(SnapshotXml, ByteOrderMarksAndDeclaredEncodingsAreAccepted) {
    const std::string tasks = Task("origin=\"Primary\" url=\"http://a/\"", "");
    EXPECT_EQ(Read("\xEF\xBB\xBF" + Snapshot(tasks)).exchanges.size(), 1u);
    EXPECT_EQ(Read("<?xml version=\"1.0\" encoding=\"windows-1252\"?><HTTPSnapshot>" + tasks +
                   "</HTTPSnapshot>")
                  .exchanges.size(),
              1u);
    // UTF-16 with its mark.
    const std::string ascii = "<HTTPSnapshot>" + tasks + "</HTTPSnapshot>";
    std::string utf16 = "\xFF\xFE";
    for (char c : ascii) {
        utf16 += c;
        utf16 += '\0';
    }
    const ReadOutcome wide = Read(utf16);
    ASSERT_EQ(wide.exchanges.size(), 1u) << AllMessages(wide.messages);
    EXPECT_EQ(wide.exchanges[0].url, "http://a/");
}

TEST(SnapshotXml, InvalidBase64IsWarnedAndTheValueKeptAsFarAsDecoded) {
    const ReadOutcome out = Read(Snapshot(Task(
        "origin=\"Primary\"",
        "\n<HTTPBody><HTTPDataSet><HTTPData><ActualData>YWJj\nZGVm*Z2hp</ActualData></HTTPData>"
        "<HTTPData><ActualData>Ym9keQ==</ActualData></HTTPData></HTTPDataSet></HTTPBody>")));
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_TRUE(out.result.Ok());
    // The rest of the bad part is dropped; the next part is read.
    EXPECT_EQ(out.exchanges[0].requestBody, "abcdefbody");
    ASSERT_EQ(CountWarnings(out.messages), 1u) << AllMessages(out.messages);
    EXPECT_EQ(out.messages[0].file, "data/snapshot_7.xml");
    EXPECT_EQ(out.messages[0].line, 6u);
    EXPECT_NE(out.messages[0].text.find("base64"), std::string::npos);
}

TEST(SnapshotXml, BrokenXmlIsReportedWithFileLineAndTheParsersText) {
    const std::string xml = Snapshot(Task("origin=\"Primary\" url=\"http://a/1\"", "") +
                                     "<HTTPTask origin=\"HTML\">\n<HTTPRequest>\n</HTTPResponse>\n"
                                     "</HTTPTask>\n");
    const ReadOutcome out = Read(xml);
    EXPECT_FALSE(out.result.Ok());
    EXPECT_TRUE(out.result.broken);
    EXPECT_TRUE(out.result.readable);
    // The task completed before the error was delivered.
    ASSERT_EQ(out.exchanges.size(), 1u);
    EXPECT_EQ(out.exchanges[0].url, "http://a/1");
    ASSERT_EQ(CountWarnings(out.messages), 1u) << AllMessages(out.messages);
    EXPECT_EQ(out.messages[0].file, "data/snapshot_7.xml");
    EXPECT_EQ(out.messages[0].line, 9u);
    EXPECT_NE(out.messages[0].text.find("mismatched tag"), std::string::npos)
        << out.messages[0].text;
}

TEST(SnapshotXml, TruncatedXmlIsBroken) {
    const std::string whole = Snapshot(Task("origin=\"Primary\" url=\"http://a/1\"", "") +
                                       Task("origin=\"HTML\" url=\"http://a/2\"", ""));
    // Cut at every position: never a crash, always broken, never a task that
    // was not complete.
    for (std::size_t cut = 0; cut + 1 < whole.size(); cut += 3) {
        const ReadOutcome out = Read(whole.substr(0, cut));
        EXPECT_TRUE(out.result.broken) << cut;
        EXPECT_LE(out.exchanges.size(), 2u);
        EXPECT_EQ(CountWarnings(out.messages), 1u) << cut << "\n" << AllMessages(out.messages);
        if (cut < whole.find("</HTTPTask>")) {
            EXPECT_TRUE(out.exchanges.empty()) << cut;
        }
    }
    const ReadOutcome empty = Read("");
    EXPECT_TRUE(empty.result.broken);
    EXPECT_EQ(empty.messages.size(), 1u);
}

TEST(SnapshotXml, EntitiesThatExpandWithoutEndAreRefused) {
    std::string xml = "<?xml version=\"1.0\"?><!DOCTYPE s [<!ENTITY a \"aaaaaaaaaa\">";
    char previous = 'a';
    for (char name = 'b'; name <= 'k'; ++name) {
        xml += std::string("<!ENTITY ") + name + " \"";
        for (int i = 0; i < 10; ++i)
            xml += std::string("&") + previous + ";";
        xml += "\">";
        previous = name;
    }
    xml += "]><HTTPSnapshot><HTTPTask origin=\"Primary\" url=\"&k;\"/></HTTPSnapshot>";
    const ReadOutcome out = Read(xml);
    EXPECT_TRUE(out.result.broken);
    EXPECT_TRUE(out.exchanges.empty());
}

TEST(SnapshotXml, MissingFileIsUnreadableWithAWarning) {
    TempDir dir;
    CSnapshotXmlReader reader;
    FolderMessages messages;
    const SnapshotReadResult result = reader.ReadFile(
        dir.File("snapshot_1.xml"), [](const HttpExchange&) { return true; }, messages);
    EXPECT_FALSE(result.readable);
    EXPECT_FALSE(result.Ok());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].file, dir.File("snapshot_1.xml"));
}

TEST(SnapshotXml, FileIsReadLikeText) {
    TempDir dir;
    const std::string xml =
        "\xEF\xBB\xBF" + Snapshot(Task("origin=\"Primary\" url=\"http://a/\"",
                                       "<HTTPBody>" + DataSet({"x=1"}) + "</HTTPBody>"));
    dir.Write("snapshot_1.xml", xml);
    CSnapshotXmlReader reader;
    FolderMessages messages;
    std::vector<HttpExchange> seen;
    const SnapshotReadResult result = reader.ReadFile(
        dir.File("snapshot_1.xml"),
        [&seen](const HttpExchange& exchange) {
            seen.push_back(exchange);
            return true;
        },
        messages);
    EXPECT_TRUE(result.Ok()) << AllMessages(messages);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].requestBody, "x=1");
    // Broken on disk: file and line in the warning.
    dir.Write("snapshot_2.xml", "<HTTPSnapshot>\n<HTTPTask>\n");
    messages.clear();
    const SnapshotReadResult broken = reader.ReadFile(
        dir.File("snapshot_2.xml"), [](const HttpExchange&) { return true; }, messages);
    EXPECT_TRUE(broken.broken);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].file, dir.File("snapshot_2.xml"));
    EXPECT_EQ(messages[0].line, 3u);
}

}  // namespace
