// A planned request against the recorded one: references match the recorded
// text, fragments and multipart boundaries aside, the first difference named.
#include <gtest/gtest.h>

#include "webstep/recording/RequestComparison.h"

namespace {

using Refs = std::vector<std::pair<std::string, std::string>>;

TEST(RequestComparisonTest, IdenticalRequestsAreTheSame) {
    RequestText a{"POST", "https://h.org/a?b=1", "x=1&y=2", ""};
    RequestComparison c = CompareRequests(a, a);
    EXPECT_TRUE(c.same);
    EXPECT_TRUE(c.references.empty());
}

TEST(RequestComparisonTest, ReferenceMatchesTheRecordedTextAndShowsIt) {
    RequestText planned{"POST", "{BaseUrl}/loans/{id}", "loan={loanId}&weeks=3&csrf={csrf}", ""};
    RequestText recorded{"POST", "https://h.org/loans/17", "loan=L-1&weeks=3&csrf=7f3c", ""};
    RequestComparison c = CompareRequests(planned, recorded);
    ASSERT_TRUE(c.same) << c.difference;
    EXPECT_EQ(
        c.references,
        (Refs{{"BaseUrl", "https://h.org"}, {"id", "17"}, {"loanId", "L-1"}, {"csrf", "7f3c"}}));
}

TEST(RequestComparisonTest, ReferenceMayMatchEmptyText) {
    Refs refs;
    EXPECT_TRUE(MatchWithReferences("a={x}&b=", "a=&b=", "{", "}", &refs));
    EXPECT_EQ(refs, (Refs{{"x", ""}}));
}

TEST(RequestComparisonTest, AdjacentReferencesAndRepeatedLiterals) {
    Refs refs;
    EXPECT_TRUE(MatchWithReferences("{a}{b}-x-{c}", "12-x-x-y", "{", "}", &refs));
    ASSERT_EQ(refs.size(), 3u);
    EXPECT_EQ(refs[2].second, "x-y");
    EXPECT_TRUE(MatchWithReferences("k={v}&z", "k=a&z&z", "{", "}", &refs));
    EXPECT_EQ(refs[0].second, "a&z");
    EXPECT_FALSE(MatchWithReferences("a{x}b", "ab-", "{", "}", nullptr));
    EXPECT_FALSE(MatchWithReferences("abc{x}", "ab", "{", "}", nullptr));
}

TEST(RequestComparisonTest, OtherBracesAndLiteralBracesInJson) {
    Refs refs;
    // With <> braces, the JSON braces are literal text.
    EXPECT_TRUE(MatchWithReferences("{\"loan\":\"<id>\"}", "{\"loan\":\"9\"}", "<", ">", &refs));
    EXPECT_EQ(refs, (Refs{{"id", "9"}}));
    // With {} braces, a JSON object that is not a name stays literal.
    EXPECT_TRUE(MatchWithReferences("{\"a\":{id}}", "{\"a\":5}", "{", "}", &refs));
    EXPECT_EQ(refs, (Refs{{"id", "5"}}));
}

TEST(RequestComparisonTest, FragmentIsSetAside) {
    RequestText planned{"GET", "https://h.org/p#top", "", ""};
    RequestText recorded{"GET", "https://h.org/p", "", ""};
    EXPECT_TRUE(CompareRequests(planned, recorded).same);
}

TEST(RequestComparisonTest, SameAddressWrittenDifferently) {
    RequestText planned{"GET", "https://H.ORG:443/p", "", ""};
    RequestText recorded{"GET", "https://h.org/p", "", ""};
    EXPECT_TRUE(CompareRequests(planned, recorded).same)
        << CompareRequests(planned, recorded).difference;
}

TEST(RequestComparisonTest, RawBytesOfTheScriptMatchTheirEscapesAsSent) {
    RequestText planned{"GET", "https://h.org/\xD0\xBA\xD0\xBD?q=a b&r=%2f", "", ""};
    RequestText recorded{"GET", "https://h.org/%D0%BA%D0%BD?q=a%20b&r=%2F", "", ""};
    EXPECT_TRUE(CompareRequests(planned, recorded).same)
        << CompareRequests(planned, recorded).difference;
    recorded.url = "https://h.org/%D0%BA%D0%BE?q=a%20b&r=%2F";
    EXPECT_FALSE(CompareRequests(planned, recorded).same);
}

TEST(RequestComparisonTest, MethodDifferenceIsNamed) {
    RequestComparison c =
        CompareRequests({"get", "https://h.org/", "", ""}, {"POST", "https://h.org/", "", ""});
    EXPECT_FALSE(c.same);
    EXPECT_EQ(c.part, "method");
    EXPECT_EQ(c.difference, "method differs: planned get, recorded POST");
    EXPECT_TRUE(CompareRequests({"get", "u", "", ""}, {"GET", "u", "", ""}).same);
}

TEST(RequestComparisonTest, FirstDifferenceOfTheUrlAndTheBody) {
    RequestComparison c =
        CompareRequests({"GET", "https://h.org/a/b", "", ""}, {"GET", "https://h.org/a/c", "", ""});
    EXPECT_EQ(c.part, "url");
    EXPECT_EQ(c.offset, 16u);
    EXPECT_NE(c.difference.find("url differs at byte 16"), std::string::npos) << c.difference;
    c = CompareRequests({"POST", "u", "a=1&b=2", ""}, {"POST", "u", "a=1&b=3", ""});
    EXPECT_EQ(c.part, "body");
    EXPECT_EQ(c.offset, 6u);
    c = CompareRequests({"POST", "u", "a={x}&b=2", ""}, {"POST", "u", "a=1&b=3", ""});
    EXPECT_EQ(c.part, "body");
}

TEST(RequestComparisonTest, MultipartBoundariesAreSetAside) {
    RequestText planned{"POST", "u",
                        "------webstepBoundary\r\nContent-Disposition: form-data; "
                        "name=\"a\"\r\n\r\n1\r\n------webstepBoundary--\r\n",
                        "multipart/form-data; boundary=----webstepBoundary"};
    RequestText recorded{"POST", "u",
                         "------WebKitFormBoundaryX1\r\nContent-Disposition: form-data; "
                         "name=\"a\"\r\n\r\n1\r\n------WebKitFormBoundaryX1--\r\n",
                         ""};
    EXPECT_TRUE(CompareRequests(planned, recorded).same)
        << CompareRequests(planned, recorded).difference;
    recorded.body.replace(recorded.body.find("\r\n1\r\n"), 5, "\r\n2\r\n");
    EXPECT_FALSE(CompareRequests(planned, recorded).same);
}

TEST(RequestComparisonTest, BinaryBytesAreShownEscaped) {
    RequestComparison c = CompareRequests({"POST", "u", std::string("A\x01\x00", 3), ""},
                                          {"POST", "u", std::string("A\x01\x02", 3), ""});
    EXPECT_FALSE(c.same);
    EXPECT_NE(c.difference.find("\\x02"), std::string::npos) << c.difference;
}

TEST(RequestComparisonTest, HugeBodiesCompareWithoutBlowingUp) {
    std::string big(5'000'000, 'a');
    std::string pattern = "{x}" + big.substr(0, 100) + "{y}b";
    EXPECT_FALSE(MatchWithReferences(pattern, big, "{", "}", nullptr));
    EXPECT_TRUE(MatchWithReferences(pattern, big + "b", "{", "}", nullptr));
}

}  // namespace
