// Save rules applied to scripted responses: boundaries, ordinals, scopes,
// NotFound modes, cuts, conversions, frames, redirects, the length limit,
// regular expressions, JSONPath, XPath and tag attributes.
#include <gtest/gtest.h>

#include <chrono>

#include "RegistrationSupport.h"
#include "webstep/replay/SaveParamRule.h"

using regtest::Make;
using regtest::Responses;
using regtest::User;

namespace {

const char* kPage =
    "<html><a href=\"/x?id=1\">one</a><a href=\"/x?id=22\">two</a>"
    "<a href=\"/x?id=333\">three</a></html>";

}  // namespace

// ----- web_reg_save_param: boundaries and ordinals -----

TEST(SaveParamBoundaries, SavesTheTextBetweenTheFirstLeftAndTheNextRightBoundary) {
    auto rule = Make("web_reg_save_param", {"id", "LB=id=", "RB=\""});
    ASSERT_NE(rule, nullptr);
    Responses responses;
    responses.Add("http://h/", kPage);
    User user;
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_FALSE(report.failed) << report.failure;
    EXPECT_EQ(user.Value("id"), "1");
    ASSERT_EQ(report.saved.size(), 1u);
    EXPECT_EQ(report.saved[0], (std::pair<std::string, std::string>{"id", "1"}));
}

TEST(SaveParamBoundaries, OrdPicksTheNthMatch) {
    auto rule = Make("web_reg_save_param", {"id", "LB=id=", "RB=\"", "Ord=3"});
    Responses responses;
    responses.Add("http://h/", kPage);
    User user;
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("id"), "333");
}

TEST(SaveParamBoundaries, OrdBeyondTheMatchesIsNotFound) {
    auto rule = Make("web_reg_save_param", {"id", "LB=id=", "RB=\"", "Ord=4"});
    Responses responses;
    responses.Add("http://h/", kPage);
    User user;
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("ordinal 4 (3 matches)"), std::string::npos) << report.failure;
    EXPECT_EQ(user.Value("id"), "<unset>");
}

TEST(SaveParamBoundaries, OrdAllWithThreeMatchesSavesAnArray) {
    auto rule = Make("web_reg_save_param", {"id", "LB=id=", "RB=\"", "Ord=ALL"});
    Responses responses;
    responses.Add("http://h/", kPage);
    User user;
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("id_1"), "1");
    EXPECT_EQ(user.Value("id_2"), "22");
    EXPECT_EQ(user.Value("id_3"), "333");
    EXPECT_EQ(user.Value("id_count"), "3");
    EXPECT_EQ(user.Value("id"), "<unset>");
}

TEST(SaveParamBoundaries, OrdAllWithNoMatchSetsCountZeroAndFails) {
    auto rule = Make("web_reg_save_param", {"id", "LB=nothing=", "RB=\"", "Ord=ALL"});
    Responses responses;
    responses.Add("http://h/", kPage);
    User user;
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_EQ(user.Value("id_count"), "0");
}

TEST(SaveParamBoundaries, MatchesCountAcrossResponsesInOrder) {
    auto rule = Make("web_reg_save_param", {"v", "LB=<v>", "RB=</v>", "Ord=2"});
    Responses responses;
    responses.Add("http://h/a", "<v>first</v>");
    responses.Add("http://h/b", "<v>second</v>");
    User user;
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"), "second");
}

TEST(SaveParamBoundaries, EmptyLeftMatchesAtTheStartAndEmptyRightAtTheEnd) {
    Responses responses;
    responses.Add("http://h/", "abc|def|ghi", {});
    User user;
    auto left = Make("web_reg_save_param", {"l", "LB=", "RB=|", "Search=Body"});
    auto right = Make("web_reg_save_param", {"r", "LB=|", "RB=", "Search=Body"});
    auto both = Make("web_reg_save_param", {"b", "LB=", "RB=", "Search=Body"});
    EXPECT_FALSE(user.Apply(*left, responses).failed);
    EXPECT_FALSE(user.Apply(*right, responses).failed);
    EXPECT_FALSE(user.Apply(*both, responses).failed);
    EXPECT_EQ(user.Value("l"), "abc");
    EXPECT_EQ(user.Value("r"), "def|ghi");
    EXPECT_EQ(user.Value("b"), "abc|def|ghi");
}

TEST(SaveParamBoundaries, IgnoreCaseSuffixMatchesEitherCase) {
    Responses responses;
    responses.Add("http://h/", "<INPUT NAME=\"tok\" VALUE=\"xyz\">");
    User user;
    auto exact = Make("web_reg_save_param", {"a", "LB=value=\"", "RB=\"", "NotFound=WARNING"});
    auto folded = Make("web_reg_save_param", {"b", "LB/IC=value=\"", "RB=\""});
    EXPECT_FALSE(user.Apply(*exact, responses).failed);
    EXPECT_EQ(user.Value("a"), "<unset>");
    EXPECT_FALSE(user.Apply(*folded, responses).failed);
    EXPECT_EQ(user.Value("b"), "xyz");
}

TEST(SaveParamBoundaries, BinarySuffixDecodesEscapesAndNulBytesAreSearched) {
    Responses responses;
    responses.Add("http://h/", std::string("ab\0<val>cd\x01z", 13), {});
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB/BIN=\\x00<val>", "RB/BIN=\\x01"});
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_FALSE(report.failed) << report.failure;
    EXPECT_EQ(user.Value("v"), "cd");
}

TEST(SaveParamBoundaries, DigitWildcardMatchesAnyDigit) {
    Responses responses;
    responses.Add("http://h/", "row7=alpha;", {});
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB/DIG=row#=", "RB=;"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"), "alpha");
}

// ----- Search scopes -----

TEST(SaveParamScopes, AllSearchesHeadersThenBody) {
    Responses responses;
    responses.Add("http://h/", "<p>X-Id: body</p>", {{"X-Id", "head"}});
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=X-Id: ", "RB=\r\n"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"), "head");
}

TEST(SaveParamScopes, HeadersSearchesTheRawHeaderLinesOnly) {
    Responses responses;
    responses.Add("http://h/", "Location: /in-body\r\n",
                  {{"Content-Type", "text/html"}, {"Location", "/next"}});
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=Location: ", "RB=\r\n", "Search=Headers"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"), "/next");
    auto none = Make("web_reg_save_param", {"w", "LB=<p>", "RB=</p>", "Search=Headers"});
    Responses body;
    body.Add("http://h/", "<p>x</p>");
    EXPECT_TRUE(user.Apply(*none, body).failed);
}

TEST(SaveParamScopes, BodySkipsTheHeaders) {
    Responses responses;
    responses.Add("http://h/", "id=body;", {{"X", "id=head;"}});
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=id=", "RB=;", "Search=Body"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"), "body");
}

TEST(SaveParamScopes, NoResourceSkipsResources) {
    Responses responses;
    StepResponse& image = responses.Add("http://h/img.gif", "id=image;", {});
    image.resource = true;
    responses.Add("http://h/", "id=page;", {});
    User user;
    auto all = Make("web_reg_save_param", {"a", "LB=id=", "RB=;"});
    auto pages = Make("web_reg_save_param", {"p", "LB=id=", "RB=;", "Search=NoResource"});
    EXPECT_FALSE(user.Apply(*all, responses).failed);
    EXPECT_FALSE(user.Apply(*pages, responses).failed);
    EXPECT_EQ(user.Value("a"), "image");
    EXPECT_EQ(user.Value("p"), "page");
}

// ----- NotFound -----

TEST(SaveParamNotFound, ErrorFailsTheStepWithAPlainMessage) {
    Responses responses;
    responses.Add("http://h/", "nothing here");
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=<b>", "RB=</b>"});
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_EQ(report.failure.rfind("web_reg_save_param v: nothing found", 0), 0u) << report.failure;
}

TEST(SaveParamNotFound, WarningLogsAndLeavesAnEarlierValueAsItWas) {
    Responses responses;
    responses.Add("http://h/", "nothing here");
    User user;
    user.params.SaveParameter("v", "earlier");
    auto rule = Make("web_reg_save_param", {"v", "LB=<b>", "RB=</b>", "NotFound=WARNING"});
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_FALSE(report.failed);
    ASSERT_EQ(report.warnings.size(), 1u);
    EXPECT_NE(report.warnings[0].find("NotFound=WARNING"), std::string::npos);
    EXPECT_EQ(user.Value("v"), "earlier");
}

TEST(SaveParamNotFound, WarningWithOrdAllSetsCountZero) {
    Responses responses;
    responses.Add("http://h/", "nothing here");
    User user;
    auto rule =
        Make("web_reg_save_param", {"v", "LB=<b>", "RB=</b>", "Ord=All", "NotFound=warning"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v_count"), "0");
}

TEST(SaveParamNotFound, ContinueOnErrorOnlyLogsAnError) {
    Responses responses;
    responses.Add("http://h/", "nothing here");
    User user;
    user.limits.continueOnError = true;
    auto rule = Make("web_reg_save_param", {"v", "LB=<b>", "RB=</b>"});
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_FALSE(report.failed);
    ASSERT_EQ(report.warnings.size(), 1u);
    EXPECT_NE(report.warnings[0].find("continue-on-error"), std::string::npos);
}

// ----- cuts -----

TEST(SaveParamCuts, OffsetAndLengthCutTheMatch) {
    Responses responses;
    responses.Add("http://h/", "[0123456789]", {});
    User user;
    struct Case {
        const char* offset;
        const char* length;
        const char* expected;
    } cases[] = {{"0", "-1", "0123456789"}, {"3", "-1", "3456789"},
                 {"3", "2", "34"},          {"0", "0", ""},
                 {"10", "-1", ""},          {"9", "5", "9"},
                 {"0", "10", "0123456789"}, {"0", "11", "0123456789"}};
    for (const Case& c : cases) {
        std::string offset = std::string("SaveOffset=") + c.offset;
        std::string length = std::string("SaveLen=") + c.length;
        auto rule =
            Make("web_reg_save_param", {"v", "LB=[", "RB=]", offset.c_str(), length.c_str()});
        RegistrationReport report = user.Apply(*rule, responses);
        EXPECT_FALSE(report.failed) << report.failure;
        EXPECT_TRUE(report.warnings.empty()) << c.offset;
        EXPECT_EQ(user.Value("v"), c.expected) << c.offset << " " << c.length;
    }
}

TEST(SaveParamCuts, OffsetPastTheEndSavesEmptyWithAWarning) {
    Responses responses;
    responses.Add("http://h/", "[0123456789]", {});
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=[", "RB=]", "SaveOffset=11"});
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_FALSE(report.failed);
    ASSERT_EQ(report.warnings.size(), 1u);
    EXPECT_NE(report.warnings[0].find("past the end of the 10 bytes"), std::string::npos);
    EXPECT_EQ(user.Value("v"), "");
}

// ----- conversions -----

TEST(SaveParamConvert, HtmlToTextDecodesEntities) {
    Responses responses;
    responses.Add("http://h/", "<v>a &amp; b &lt;c&gt; &#233;&#x41;&quot;&eacute;&bogus;</v>");
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=<v>", "RB=</v>", "Convert=HTML_TO_TEXT"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"),
              "a & b <c> \xC3\xA9"
              "A\"\xC3\xA9&bogus;");
}

TEST(SaveParamConvert, HtmlToUrlDecodesThenUrlEncodes) {
    Responses responses;
    responses.Add("http://h/", "<v>a b&amp;c=d/e@f</v>");
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=<v>", "RB=</v>", "Convert=HTML_TO_URL"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"), "a+b%26c%3Dd%2Fe%40f");
}

TEST(SaveParamConvert, AnUnknownConversionFailsTheStep) {
    Responses responses;
    responses.Add("http://h/", "<v>x</v>");
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=<v>", "RB=</v>", "Convert=ROT13"});
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("Convert=ROT13"), std::string::npos);
}

// ----- frames, redirects, limits -----

TEST(SaveParamFrames, RelFrameIdSearchesOnlyThatFramesDocument) {
    Responses responses;
    responses.Add("http://h/", "id=top;").frame = "";
    responses.Add("http://h/f1", "id=one;").frame = "1";
    StepResponse& image = responses.Add("http://h/f2.gif", "id=img;");
    image.frame = "1.2";
    image.resource = true;
    responses.Add("http://h/f2", "id=two;").frame = "1.2";
    User user;
    auto rule = Make("web_reg_save_param", {"v", "LB=id=", "RB=;", "RelFrameId=1.2"});
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("v"), "two");
    auto all = Make("web_reg_save_param", {"w", "LB=id=", "RB=;", "RelFrameId=ALL"});
    EXPECT_FALSE(user.Apply(*all, responses).failed);
    EXPECT_EQ(user.Value("w"), "top");
}

TEST(SaveParamRedirects, IgnoreRedirectionsSkipsTheRedirectAnswers) {
    Responses responses;
    responses.Add("http://h/old", "id=moved;", {{"Location", "/new"}}, 302).redirect = true;
    responses.Add("http://h/new", "id=final;");
    User user;
    auto plain = Make("web_reg_save_param", {"a", "LB=id=", "RB=;"});
    auto skip = Make("web_reg_save_param", {"b", "LB=id=", "RB=;", "IgnoreRedirections=Yes"});
    EXPECT_FALSE(user.Apply(*plain, responses).failed);
    EXPECT_FALSE(user.Apply(*skip, responses).failed);
    EXPECT_EQ(user.Value("a"), "moved");
    EXPECT_EQ(user.Value("b"), "final");
}

TEST(SaveParamLimit, AValueLongerThanTheLimitFailsTheStep) {
    Responses responses;
    responses.Add("http://h/",
                  "<v>" + std::string(257, 'x') + "</v><w>" + std::string(256, 'y') + "</w>");
    User user;
    auto tooLong = Make("web_reg_save_param", {"v", "LB=<v>", "RB=</v>"});
    auto atLimit = Make("web_reg_save_param", {"w", "LB=<w>", "RB=</w>"});
    RegistrationReport report = user.Apply(*tooLong, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("257 bytes, longer than the limit of 256"), std::string::npos)
        << report.failure;
    EXPECT_EQ(user.Value("v"), "<unset>");
    EXPECT_FALSE(user.Apply(*atLimit, responses).failed);
    EXPECT_EQ(user.Value("w").size(), 256u);
    user.limits.maxParamLength = 1000;
    EXPECT_FALSE(user.Apply(*tooLong, responses).failed);
}

// ----- web_reg_save_param_ex -----

TEST(SaveParamEx, NewerAttributeNamesAndFilters) {
    Responses responses;
    responses.Add("http://h/api", "tok=json;", {{"Content-Type", "application/json"}});
    responses.Add("http://h/login", "tok=A1;tok=B2;",
                  {{"Content-Type", "text/html; charset=utf-8"}});
    User user;
    auto rule = Make("web_reg_save_param_ex",
                     {"ParamName=t", "LB=tok=", "RB=;", "Ordinal=2", "SEARCH_FILTERS",
                      "ContentType=text/html", "RequestUrl=*/login*", "Scope=Body"});
    ASSERT_NE(rule, nullptr);
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("t"), "B2");
    auto last = Make("web_reg_save_param_ex", {"ParamName=l", "LB=tok=", "RB=;", "Ordinal=LAST"});
    EXPECT_FALSE(user.Apply(*last, responses).failed);
    EXPECT_EQ(user.Value("l"), "B2");
    auto cut = Make("web_reg_save_param_ex",
                    {"ParamName=c", "LB/IC=TOK=", "RB=;", "SaveOffset=1", "SaveLen=3"});
    EXPECT_FALSE(user.Apply(*cut, responses).failed);
    EXPECT_EQ(user.Value("c"), "son");
}

TEST(SaveParamEx, HeaderNamesAndCookiesScopes) {
    Responses responses;
    responses.Add("http://h/", "", {{"X-A", "a=1;"}, {"Set-Cookie", "a=2;"}, {"X-B", "a=3;"}});
    User user;
    auto named = Make("web_reg_save_param_ex", {"ParamName=n", "LB=a=", "RB=;", "SEARCH_FILTERS",
                                                "Scope=Headers", "HeaderNames=X-B"});
    auto cookies = Make("web_reg_save_param_ex",
                        {"ParamName=c", "LB=a=", "RB=;", "SEARCH_FILTERS", "Scope=Cookies"});
    EXPECT_FALSE(user.Apply(*named, responses).failed);
    EXPECT_FALSE(user.Apply(*cookies, responses).failed);
    EXPECT_EQ(user.Value("n"), "3");
    EXPECT_EQ(user.Value("c"), "2");
}

// ----- web_reg_save_param_regexp -----

TEST(SaveParamRegexp, SavesGroupOneOfTheOrdinalMatch) {
    Responses responses;
    responses.Add("http://h/", "<input name=\"a\" value=\"x1\"><input name=\"b\" value=\"y2\">");
    User user;
    auto first = Make("web_reg_save_param_regexp", {"ParamName=f", "RegExp=value=\"(.*?)\""});
    auto second =
        Make("web_reg_save_param_regexp", {"ParamName=s", "RegExp=value=\"(.*?)\"", "Ordinal=2"});
    auto all =
        Make("web_reg_save_param_regexp", {"ParamName=a", "RegExp=value=\"(.*?)\"", "Ordinal=All"});
    EXPECT_FALSE(user.Apply(*first, responses).failed);
    EXPECT_FALSE(user.Apply(*second, responses).failed);
    EXPECT_FALSE(user.Apply(*all, responses).failed);
    EXPECT_EQ(user.Value("f"), "x1");
    EXPECT_EQ(user.Value("s"), "y2");
    EXPECT_EQ(user.Value("a_count"), "2");
    EXPECT_EQ(user.Value("a_2"), "y2");
}

TEST(SaveParamRegexp, GroupChoosesTheGroupAndZeroIsTheWholeMatch) {
    Responses responses;
    responses.Add("http://h/", "id=12-34;");
    User user;
    auto two =
        Make("web_reg_save_param_regexp", {"ParamName=g2", "RegExp=(\\d+)-(\\d+)", "Group=2"});
    auto zero =
        Make("web_reg_save_param_regexp", {"ParamName=g0", "RegExp=(\\d+)-(\\d+)", "Group=0"});
    auto noGroup = Make("web_reg_save_param_regexp", {"ParamName=ng", "RegExp=\\d+-\\d+"});
    auto tooHigh =
        Make("web_reg_save_param_regexp", {"ParamName=th", "RegExp=(\\d+)-(\\d+)", "Group=3"});
    EXPECT_FALSE(user.Apply(*two, responses).failed);
    EXPECT_FALSE(user.Apply(*zero, responses).failed);
    EXPECT_FALSE(user.Apply(*noGroup, responses).failed);
    EXPECT_EQ(user.Value("g2"), "34");
    EXPECT_EQ(user.Value("g0"), "12-34");
    EXPECT_EQ(user.Value("ng"), "12-34");
    RegistrationReport report = user.Apply(*tooHigh, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("has 2 group(s)"), std::string::npos) << report.failure;
}

TEST(SaveParamRegexp, APatternThatDoesNotCompileFailsWithAPlainMessage) {
    Responses responses;
    responses.Add("http://h/", "abc");
    User user;
    auto broken = Make("web_reg_save_param_regexp", {"ParamName=b", "RegExp=(abc"});
    RegistrationReport report = user.Apply(*broken, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("cannot be used"), std::string::npos) << report.failure;
    auto backref = Make("web_reg_save_param_regexp", {"ParamName=r", "RegExp=(a)\\1"});
    report = user.Apply(*backref, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("back-references are not supported"), std::string::npos);
}

TEST(SaveParamRegexp, CatastrophicPatternsStopInBoundedTime) {
    Responses responses;
    responses.Add("http://h/", std::string(5000, 'a') + "!");
    responses.Add("http://h/2", std::string(200000, '"'));
    User user;
    auto nested =
        Make("web_reg_save_param_regexp", {"ParamName=n", "RegExp=(a+)+b", "NotFound=warning"});
    auto quadratic =
        Make("web_reg_save_param_regexp", {"ParamName=q", "RegExp=\"(.*)!", "NotFound=warning"});
    const auto start = std::chrono::steady_clock::now();
    RegistrationReport report = user.Apply(*nested, responses);
    EXPECT_FALSE(report.failed);
    report = user.Apply(*quadratic, responses);
    EXPECT_FALSE(report.failed);
    bool stopped = false;
    for (const std::string& warning : report.warnings)
        stopped = stopped || warning.find("too many steps") != std::string::npos;
    EXPECT_TRUE(stopped);
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
              30.0);
}

// ----- bad input -----

TEST(SaveParamBadInput, AHundredMegabyteBodyIsSearchedWithoutTrouble) {
    std::string big(100u << 20, 'x');
    big.replace(big.size() - 20, 9, "<v>end</v");
    big[big.size() - 11] = '>';
    Responses responses;
    responses.Add("http://h/", big);
    User user;
    auto boundary = Make("web_reg_save_param", {"v", "LB=<v>", "RB=</v", "Search=Body"});
    EXPECT_FALSE(user.Apply(*boundary, responses).failed);
    EXPECT_EQ(user.Value("v"), "end");
    auto json =
        Make("web_reg_save_param_json", {"ParamName=j", "QueryString=$.a", "NotFound=warning"});
    RegistrationReport report = user.Apply(*json, responses);
    EXPECT_FALSE(report.failed);
    EXPECT_FALSE(report.notes.empty());
    auto xpath =
        Make("web_reg_save_param_xpath", {"ParamName=x", "QueryString=//a", "NotFound=warning"});
    report = user.Apply(*xpath, responses);
    EXPECT_FALSE(report.failed);
    auto regexp = Make("web_reg_save_param_regexp",
                       {"ParamName=r", "RegExp=<v>(.*?)</v", "NotFound=warning"});
    report = user.Apply(*regexp, responses);
    EXPECT_FALSE(report.failed);
    EXPECT_FALSE(report.warnings.empty());  // only the first 16 MiB were searched
}

// ----- web_reg_save_param_json -----

TEST(SaveParamJson, SavesTheFirstValueOrEveryValueWithSelectAll) {
    Responses responses;
    responses.Add("http://h/api",
                  R"({"items":[{"id":7,"name":"a"},{"id":8,"name":"b"}],"meta":{"n":2}})",
                  {{"Content-Type", "application/json"}});
    User user;
    auto first = Make("web_reg_save_param_json", {"ParamName=f", "QueryString=$..id"});
    auto all = Make("web_reg_save_param_json",
                    {"ParamName=a", "QueryString=$.items[*].name", "SelectAll=Yes"});
    auto object = Make("web_reg_save_param_json", {"ParamName=o", "QueryString=$.meta"});
    EXPECT_FALSE(user.Apply(*first, responses).failed);
    EXPECT_FALSE(user.Apply(*all, responses).failed);
    EXPECT_FALSE(user.Apply(*object, responses).failed);
    EXPECT_EQ(user.Value("f"), "7");
    EXPECT_EQ(user.Value("a_1"), "a");
    EXPECT_EQ(user.Value("a_2"), "b");
    EXPECT_EQ(user.Value("a_count"), "2");
    EXPECT_EQ(user.Value("o"), "{\"n\":2}");
}

TEST(SaveParamJson, ABodyThatIsNotJsonIsNotFound) {
    Responses responses;
    responses.Add("http://h/", "<html>not json</html>");
    User user;
    auto rule = Make("web_reg_save_param_json", {"ParamName=j", "QueryString=$.a"});
    RegistrationReport report = user.Apply(*rule, responses);
    EXPECT_TRUE(report.failed);
    ASSERT_FALSE(report.notes.empty());
    EXPECT_NE(report.notes[0].find("not JSON"), std::string::npos) << report.notes[0];
}

// ----- web_reg_save_param_xpath -----

TEST(SaveParamXpath, QueriesHtmlAndXmlBodies) {
    Responses responses;
    responses.Add("http://h/page", "<html><body><div id=main><b>Hi</b> there<p>x</div>");
    User user;
    auto text =
        Make("web_reg_save_param_xpath", {"ParamName=t", "QueryString=//div[@id='main']/b"});
    auto markup = Make("web_reg_save_param_xpath",
                       {"ParamName=m", "QueryString=//div[@id='main']/b", "ReturnXML=Yes"});
    EXPECT_FALSE(user.Apply(*text, responses).failed);
    EXPECT_FALSE(user.Apply(*markup, responses).failed);
    EXPECT_EQ(user.Value("t"), "Hi");
    EXPECT_EQ(user.Value("m"), "<b>Hi</b>");

    Responses xml;
    xml.Add("http://h/feed",
            "<?xml version=\"1.0\"?><r><item k=\"1\">A</item><item k=\"2\">B</item></r>",
            {{"Content-Type", "application/xml"}});
    auto all = Make("web_reg_save_param_xpath",
                    {"ParamName=i", "QueryString=/r/item/@k", "SelectAll=Yes"});
    auto count = Make("web_reg_save_param_xpath", {"ParamName=c", "QueryString=count(//item)"});
    EXPECT_FALSE(user.Apply(*all, xml).failed);
    EXPECT_FALSE(user.Apply(*count, xml).failed);
    EXPECT_EQ(user.Value("i_count"), "2");
    EXPECT_EQ(user.Value("i_2"), "2");
    EXPECT_EQ(user.Value("c"), "2");
}

TEST(SaveParamXpath, MalformedMarkupAndBadQueriesGivePlainMessages) {
    Responses responses;
    responses.Add("http://h/", "<r><a>1</a><a>2", {{"Content-Type", "text/xml"}});
    User user;
    auto recovered = Make("web_reg_save_param_xpath", {"ParamName=r", "QueryString=//a[2]"});
    EXPECT_FALSE(user.Apply(*recovered, responses).failed);
    EXPECT_EQ(user.Value("r"), "2");
    auto bad = Make("web_reg_save_param_xpath", {"ParamName=b", "QueryString=//a[[["});
    RegistrationReport report = user.Apply(*bad, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("does not compile"), std::string::npos) << report.failure;
}

// ----- web_reg_save_param_attrib -----

TEST(SaveParamAttrib, ExtractsAnAttributeOfTheTagTheOthersSelect) {
    Responses responses;
    responses.Add("http://h/",
                  "<form><INPUT type=hidden name=a value=1><input type=hidden name=csrf "
                  "value=\"tok&amp;9\"><input name=csrf type=text value=no></form>");
    User user;
    auto rule = Make("web_reg_save_param_attrib",
                     {"ParamName=c", "TagName=input", "Extract=value", "Name=csrf", "Type=hidden"});
    ASSERT_NE(rule, nullptr);
    EXPECT_FALSE(user.Apply(*rule, responses).failed);
    EXPECT_EQ(user.Value("c"), "tok&9");
    auto all = Make("web_reg_save_param_attrib",
                    {"ParamName=n", "TagName=input", "Extract=name", "Ordinal=All"});
    EXPECT_FALSE(user.Apply(*all, responses).failed);
    EXPECT_EQ(user.Value("n_count"), "3");
    EXPECT_EQ(user.Value("n_1"), "a");
}
