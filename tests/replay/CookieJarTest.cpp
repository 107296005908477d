// The cookie jar of a virtual user: RFC 6265 storage and the Cookie header,
// web_add_cookie, web_remove_cookie and web_cleanup_cookies, limits and
// hostile input.
#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "webstep/replay/CookieJar.h"

namespace {

// 2024-01-01 00:00:00 UTC.
constexpr std::time_t kStart = 1704067200;

class CookieJarTest : public testing::Test {
protected:
    std::time_t now = kStart;
    CCookieJar jar{[this] { return now; }};

    void Receive(const std::string& url, const std::string& setCookie) {
        HttpResponse response;
        response.status = 200;
        response.headers.push_back({"Set-Cookie", setCookie});
        jar.StoreFromResponse(url, response);
    }
};

std::time_t Date(const char* text) {
    std::time_t value = 0;
    EXPECT_TRUE(CCookieJar::ParseCookieDate(text, value)) << text;
    return value;
}

}  // namespace

TEST_F(CookieJarTest, EmptyJarGivesEmptyHeader) {
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "");
}

TEST_F(CookieJarTest, StoresEverySetCookieHeaderOfAResponse) {
    HttpResponse response;
    response.headers = {
        {"Set-Cookie", "a=1"}, {"Content-Type", "text/html"}, {"set-cookie", "b=2"}};
    jar.StoreFromResponse("http://example.com/", response);
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=1; b=2");
}

TEST_F(CookieJarTest, NameAndValueAreTrimmedAndValueKeptAsWritten) {
    Receive("http://example.com/", "  sid = \"quoted value\" ; Path=/");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "sid=\"quoted value\"");
}

TEST_F(CookieJarTest, EmptyValueIsKept) {
    Receive("http://example.com/", "flag=");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "flag=");
}

// Host-only and domain cookies.

TEST_F(CookieJarTest, WithoutDomainTheCookieIsHostOnly) {
    Receive("http://www.example.com/", "a=1");
    EXPECT_EQ(jar.CookieHeader("http://www.example.com/"), "a=1");
    EXPECT_EQ(jar.CookieHeader("http://sub.www.example.com/"), "");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_TRUE(jar.Cookies()[0].hostOnly);
    EXPECT_EQ(jar.Cookies()[0].domain, "www.example.com");
}

TEST_F(CookieJarTest, DomainAttributeSendsToSubdomainsAndLeadingDotIsIgnored) {
    Receive("http://www.example.com/", "a=1; Domain=.Example.COM");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_FALSE(jar.Cookies()[0].hostOnly);
    EXPECT_EQ(jar.Cookies()[0].domain, "example.com");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=1");
    EXPECT_EQ(jar.CookieHeader("http://deep.www.example.com/"), "a=1");
    EXPECT_EQ(jar.CookieHeader("http://notexample.com/"), "");
    EXPECT_EQ(jar.CookieHeader("http://example.com.evil.net/"), "");
}

TEST_F(CookieJarTest, DomainThatDoesNotMatchTheRequestHostIsIgnored) {
    Receive("http://www.example.com/", "a=1; Domain=other.com");
    Receive("http://www.example.com/", "b=2; Domain=sub.www.example.com");
    Receive("http://www.example.com/", "c=3; Domain=ample.com");
    EXPECT_TRUE(jar.Cookies().empty());
    ASSERT_EQ(jar.Messages().size(), 3u);
    EXPECT_NE(jar.Messages()[0].find("does not domain-match"), std::string::npos);
}

TEST_F(CookieJarTest, DomainEqualToTheHostIsADomainCookie) {
    Receive("http://example.com/", "a=1; Domain=example.com");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_FALSE(jar.Cookies()[0].hostOnly);
    EXPECT_EQ(jar.CookieHeader("http://www.example.com/"), "a=1");
}

TEST_F(CookieJarTest, EmptyDomainAttributeIsIgnored) {
    Receive("http://www.example.com/", "a=1; Domain=");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_TRUE(jar.Cookies()[0].hostOnly);
}

TEST_F(CookieJarTest, TopLevelLabelDomainIsRefused) {
    Receive("http://www.example.com/", "a=1; Domain=com");
    Receive("http://www.example.com/", "b=2; Domain=.com");
    EXPECT_TRUE(jar.Cookies().empty());
    ASSERT_FALSE(jar.Messages().empty());
    EXPECT_NE(jar.Messages()[0].find("top-level"), std::string::npos);
}

TEST_F(CookieJarTest, SingleLabelDomainEqualToTheHostGivesAHostOnlyCookie) {
    Receive("http://localhost:8080/", "a=1; Domain=localhost");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_TRUE(jar.Cookies()[0].hostOnly);
    EXPECT_EQ(jar.CookieHeader("http://localhost/"), "a=1");
}

TEST_F(CookieJarTest, IpAddressHostGetsHostOnlyCookies) {
    Receive("http://192.168.1.10/", "a=1; Domain=192.168.1.10");
    Receive("http://192.168.1.10/", "b=2; Domain=168.1.10");
    Receive("http://192.168.1.10/", "c=3");
    const auto cookies = jar.Cookies();
    ASSERT_EQ(cookies.size(), 2u);
    EXPECT_TRUE(cookies[0].hostOnly);
    EXPECT_TRUE(cookies[1].hostOnly);
    EXPECT_EQ(jar.CookieHeader("http://192.168.1.10/x"), "a=1; c=3");
    EXPECT_EQ(jar.CookieHeader("http://1.192.168.1.10/x"), "");
}

TEST(CookieJarRules, DomainMatch) {
    EXPECT_TRUE(CCookieJar::DomainMatch("example.com", "example.com"));
    EXPECT_TRUE(CCookieJar::DomainMatch("a.b.example.com", "example.com"));
    EXPECT_FALSE(CCookieJar::DomainMatch("badexample.com", "example.com"));
    EXPECT_FALSE(CCookieJar::DomainMatch("example.com", "www.example.com"));
    EXPECT_FALSE(CCookieJar::DomainMatch("10.0.0.1", "0.0.1"));
    EXPECT_TRUE(CCookieJar::DomainMatch("10.0.0.1", "10.0.0.1"));
    EXPECT_FALSE(CCookieJar::DomainMatch("example.com", ""));
}

TEST_F(CookieJarTest, HostIsComparedWithoutLetterCase) {
    Receive("http://WWW.Example.com/", "a=1");
    EXPECT_EQ(jar.CookieHeader("http://www.EXAMPLE.com/"), "a=1");
}

TEST_F(CookieJarTest, PortDoesNotSeparateCookies) {
    Receive("http://example.com:8080/", "a=1");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=1");
}

// Paths.

TEST(CookieJarRules, DefaultPathIsTheDirectoryOfTheRequestPath) {
    EXPECT_EQ(CCookieJar::DefaultPath(""), "/");
    EXPECT_EQ(CCookieJar::DefaultPath("/"), "/");
    EXPECT_EQ(CCookieJar::DefaultPath("/file"), "/");
    EXPECT_EQ(CCookieJar::DefaultPath("/a/b"), "/a");
    EXPECT_EQ(CCookieJar::DefaultPath("/a/b/"), "/a/b");
    EXPECT_EQ(CCookieJar::DefaultPath("relative/x"), "/");
}

TEST_F(CookieJarTest, CookieWithoutPathGetsTheDefaultPath) {
    Receive("http://example.com/shop/cart/view?item=3", "a=1");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_EQ(jar.Cookies()[0].path, "/shop/cart");
    EXPECT_EQ(jar.CookieHeader("http://example.com/shop/cart/other"), "a=1");
    EXPECT_EQ(jar.CookieHeader("http://example.com/shop/cart"), "a=1");
    EXPECT_EQ(jar.CookieHeader("http://example.com/shop/"), "");
    EXPECT_EQ(jar.CookieHeader("http://example.com/shop/cartoon"), "");
}

TEST_F(CookieJarTest, PathAttributeNotStartingWithSlashGivesTheDefaultPath) {
    Receive("http://example.com/a/b", "a=1; Path=relative");
    Receive("http://example.com/a/b", "b=2; Path=");
    const auto cookies = jar.Cookies();
    ASSERT_EQ(cookies.size(), 2u);
    EXPECT_EQ(cookies[0].path, "/a");
    EXPECT_EQ(cookies[1].path, "/a");
}

TEST(CookieJarRules, PathMatch) {
    EXPECT_TRUE(CCookieJar::PathMatch("/", "/"));
    EXPECT_TRUE(CCookieJar::PathMatch("/a/b", "/"));
    EXPECT_TRUE(CCookieJar::PathMatch("/a", "/a"));
    EXPECT_TRUE(CCookieJar::PathMatch("/a/b", "/a"));
    EXPECT_TRUE(CCookieJar::PathMatch("/a/b", "/a/"));
    EXPECT_FALSE(CCookieJar::PathMatch("/ab", "/a"));
    EXPECT_FALSE(CCookieJar::PathMatch("/a", "/a/"));
    EXPECT_FALSE(CCookieJar::PathMatch("/", "/a"));
}

TEST_F(CookieJarTest, PathAttributeLimitsWhereTheCookieGoes) {
    Receive("http://example.com/", "a=1; Path=/docs");
    EXPECT_EQ(jar.CookieHeader("http://example.com/docs"), "a=1");
    EXPECT_EQ(jar.CookieHeader("http://example.com/docs/x/y?q=1"), "a=1");
    EXPECT_EQ(jar.CookieHeader("http://example.com/docsx"), "");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "");
}

TEST_F(CookieJarTest, QueryOfTheRequestIsNotPartOfThePath) {
    Receive("http://example.com/a?x=/b/c", "a=1");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_EQ(jar.Cookies()[0].path, "/");
}

// Expiry.

TEST(CookieJarDates, ParsesTheFormatsServersSend) {
    const std::time_t expected = 784111777;  // 1994-11-06 08:49:37 UTC
    EXPECT_EQ(Date("Sun, 06 Nov 1994 08:49:37 GMT"), expected);
    EXPECT_EQ(Date("Sunday, 06-Nov-94 08:49:37 GMT"), expected);
    EXPECT_EQ(Date("Sun Nov  6 08:49:37 1994"), expected);
    EXPECT_EQ(Date("Sun, 06-Nov-1994 08:49:37 GMT"), expected);
    EXPECT_EQ(Date("6 nov 1994 8:49:37"), expected);
    EXPECT_EQ(Date("Thu, 01 Jan 1970 00:00:00 GMT"), 0);
    EXPECT_EQ(Date("Wed, 01 Jan 2070 00:00:00 GMT"), 3155760000);
    EXPECT_EQ(Date("Fri, 31 Dec 9999 23:59:59 GMT"), 253402300799);
    EXPECT_EQ(Date("Mon, 29 Feb 2016 12:00:00 GMT"), 1456747200);
}

TEST(CookieJarDates, TwoDigitYearsFollowTheCookieRule) {
    EXPECT_EQ(Date("01 Jan 69 00:00:00"), Date("01 Jan 2069 00:00:00"));
    EXPECT_EQ(Date("01 Jan 70 00:00:00"), Date("01 Jan 1970 00:00:00"));
    EXPECT_EQ(Date("01 Jan 99 00:00:00"), Date("01 Jan 1999 00:00:00"));
}

TEST(CookieJarDates, RejectsWhatIsNotADate) {
    std::time_t value = 0;
    for (const char* text :
         {"", "tomorrow", "Sun, 06 Nov 1994", "06 Nov 1994 24:00:00", "06 Nov 1994 08:60:00",
          "06 Nov 1994 08:49:60", "32 Nov 1994 08:49:37", "00 Nov 1994 08:49:37",
          "31 Apr 2020 00:00:00", "29 Feb 2019 00:00:00", "06 Nov 1600 08:49:37",
          "06 Xyz 1994 08:49:37", "06 Nov 19945 08:49:37", "06 Nov 1994 008:49:37"})
        EXPECT_FALSE(CCookieJar::ParseCookieDate(text, value)) << text;
}

TEST_F(CookieJarTest, ExpiresMakesAPersistentCookieThatExpires) {
    Receive("http://example.com/", "a=1; Expires=Mon, 01 Jan 2024 01:00:00 GMT");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_TRUE(jar.Cookies()[0].persistent);
    EXPECT_EQ(jar.Cookies()[0].expires, kStart + 3600);
    now = kStart + 3599;
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=1");
    now = kStart + 3600;
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "");
    EXPECT_TRUE(jar.Cookies().empty());
}

TEST_F(CookieJarTest, SessionCookieDoesNotExpire) {
    Receive("http://example.com/", "a=1");
    EXPECT_FALSE(jar.Cookies()[0].persistent);
    now = kStart + 100LL * 365 * 86400;
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=1");
}

TEST_F(CookieJarTest, MaxAgeCountsFromNow) {
    Receive("http://example.com/", "a=1; Max-Age=60");
    EXPECT_EQ(jar.Cookies()[0].expires, kStart + 60);
    now = kStart + 59;
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=1");
    now = kStart + 60;
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "");
}

TEST_F(CookieJarTest, MaxAgeWinsOverExpiresInEitherOrder) {
    Receive("http://example.com/", "a=1; Expires=Mon, 01 Jan 2024 00:00:10 GMT; Max-Age=1000");
    Receive("http://example.com/", "b=2; Max-Age=1000; Expires=Mon, 01 Jan 2024 00:00:10 GMT");
    const auto cookies = jar.Cookies();
    ASSERT_EQ(cookies.size(), 2u);
    EXPECT_EQ(cookies[0].expires, kStart + 1000);
    EXPECT_EQ(cookies[1].expires, kStart + 1000);
}

TEST_F(CookieJarTest, MaxAgeThatIsNotANumberIsIgnored) {
    Receive("http://example.com/", "a=1; Max-Age=12x; Expires=Mon, 01 Jan 2024 00:00:10 GMT");
    Receive("http://example.com/", "b=2; Max-Age=+5");
    Receive("http://example.com/", "c=3; Max-Age=-");
    const auto cookies = jar.Cookies();
    ASSERT_EQ(cookies.size(), 3u);
    EXPECT_EQ(cookies[0].expires, kStart + 10);
    EXPECT_FALSE(cookies[1].persistent);
    EXPECT_FALSE(cookies[2].persistent);
}

TEST_F(CookieJarTest, HugeMaxAgeSaturatesInsteadOfWrapping) {
    Receive("http://example.com/", "a=1; Max-Age=99999999999999999999999999999");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_GT(jar.Cookies()[0].expires, kStart);
}

TEST_F(CookieJarTest, UnreadableExpiresIsIgnored) {
    Receive("http://example.com/", "a=1; Expires=soon");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_FALSE(jar.Cookies()[0].persistent);
}

TEST_F(CookieJarTest, LastOfTwoSameAttributesWins) {
    Receive("http://example.com/a/b", "a=1; Path=/x; Path=/a");
    EXPECT_EQ(jar.Cookies()[0].path, "/a");
}

// Deletion and replacement.

TEST_F(CookieJarTest, ExpiresInThePastDeletesTheCookie) {
    Receive("http://example.com/", "a=1");
    Receive("http://example.com/", "b=2");
    Receive("http://example.com/", "a=gone; Expires=Thu, 01 Jan 1970 00:00:00 GMT");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "b=2");
}

TEST_F(CookieJarTest, MaxAgeZeroOrNegativeDeletesTheCookie) {
    Receive("http://example.com/", "a=1");
    Receive("http://example.com/", "b=2");
    Receive("http://example.com/", "a=; Max-Age=0");
    Receive("http://example.com/", "b=; Max-Age=-5");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "");
    EXPECT_TRUE(jar.Cookies().empty());
}

TEST_F(CookieJarTest, DeletionOnlyHitsTheSameNameDomainAndPath) {
    Receive("http://example.com/a/x", "a=1; Path=/a");
    Receive("http://example.com/a/x", "a=2; Path=/");
    Receive("http://example.com/a/x", "a=; Path=/a; Max-Age=0");
    EXPECT_EQ(jar.CookieHeader("http://example.com/a/x"), "a=2");
}

TEST_F(CookieJarTest, ExpiredCookieIsNotStored) {
    Receive("http://example.com/", "a=1; Expires=Sun, 31 Dec 2023 23:59:59 GMT");
    EXPECT_TRUE(jar.Cookies().empty());
}

TEST_F(CookieJarTest, ReplacementKeepsTheCreationTimeAndOrder) {
    Receive("http://example.com/", "first=1");
    now += 10;
    Receive("http://example.com/", "second=2");
    now += 10;
    Receive("http://example.com/", "first=updated; HttpOnly");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "first=updated; second=2");
    const auto cookies = jar.Cookies();
    ASSERT_EQ(cookies.size(), 2u);
    EXPECT_EQ(cookies[0].name, "first");
    EXPECT_EQ(cookies[0].created, kStart);
    EXPECT_TRUE(cookies[0].httpOnly);
}

TEST_F(CookieJarTest, SameNameOnDifferentPathsOrDomainsAreDifferentCookies) {
    Receive("http://www.example.com/a/b", "a=root; Path=/");
    Receive("http://www.example.com/a/b", "a=dir; Path=/a");
    Receive("http://www.example.com/a/b", "a=domain; Domain=example.com; Path=/");
    EXPECT_EQ(jar.Cookies().size(), 3u);
    EXPECT_EQ(jar.CookieHeader("http://www.example.com/a/b"), "a=dir; a=root; a=domain");
}

// Secure, HttpOnly, SameSite.

TEST_F(CookieJarTest, SecureCookiesGoOnlyOverHttps) {
    Receive("https://example.com/", "s=1; Secure");
    Receive("https://example.com/", "p=2");
    EXPECT_EQ(jar.CookieHeader("https://example.com/"), "s=1; p=2");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "p=2");
    EXPECT_TRUE(jar.Cookies()[0].secure);
}

TEST_F(CookieJarTest, HttpOnlyAndSameSiteAreKeptButNotEnforced) {
    Receive("http://example.com/", "a=1; HttpOnly; SameSite=Strict");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_TRUE(jar.Cookies()[0].httpOnly);
    EXPECT_EQ(jar.Cookies()[0].sameSite, "Strict");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=1");
}

TEST_F(CookieJarTest, AttributeNamesIgnoreLetterCase) {
    Receive("http://www.example.com/", "a=1; DOMAIN=example.com; pAtH=/p; SECURE; max-AGE=5");
    ASSERT_EQ(jar.Cookies().size(), 1u);
    const Cookie c = jar.Cookies()[0];
    EXPECT_EQ(c.domain, "example.com");
    EXPECT_EQ(c.path, "/p");
    EXPECT_TRUE(c.secure);
    EXPECT_EQ(c.expires, kStart + 5);
}

// Order of the header.

TEST_F(CookieJarTest, HeaderPutsLongerPathsFirstThenEarlierCreation) {
    Receive("http://example.com/a/b/c", "root1=1; Path=/");
    now += 1;
    Receive("http://example.com/a/b/c", "deep=2; Path=/a/b");
    now += 1;
    Receive("http://example.com/a/b/c", "mid=3; Path=/a");
    now += 1;
    Receive("http://example.com/a/b/c", "root2=4; Path=/");
    EXPECT_EQ(jar.CookieHeader("http://example.com/a/b/c"), "deep=2; mid=3; root1=1; root2=4");
}

TEST_F(CookieJarTest, CreationOrderBreaksTiesWithinOneSecond) {
    for (const char* name : {"z", "y", "x", "w"})
        Receive("http://example.com/", std::string(name) + "=1");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "z=1; y=1; x=1; w=1");
}

// Limits.

TEST_F(CookieJarTest, TooLargeCookieIsIgnored) {
    Receive("http://example.com/", "big=" + std::string(CCookieJar::kMaxCookieBytes - 2, 'v'));
    EXPECT_TRUE(jar.Cookies().empty());
    Receive("http://example.com/", "big=" + std::string(CCookieJar::kMaxCookieBytes - 3, 'v'));
    EXPECT_EQ(jar.Cookies().size(), 1u);
}

TEST_F(CookieJarTest, OversizedAttributeValueIsIgnored) {
    Receive("http://example.com/a/b", "a=1; Path=/" + std::string(2000, 'p'));
    ASSERT_EQ(jar.Cookies().size(), 1u);
    EXPECT_EQ(jar.Cookies()[0].path, "/a");
}

TEST_F(CookieJarTest, PerDomainLimitDropsTheLeastRecentlyUsed) {
    for (std::size_t i = 0; i < CCookieJar::kMaxPerDomain; ++i)
        Receive("http://example.com/", "c" + std::to_string(i) + "=1");
    // c0 is sent (used) again, so c1 is now the least recently used.
    Receive("http://example.com/", "c0=again");
    Receive("http://example.com/", "extra=1");
    EXPECT_EQ(jar.Size(), CCookieJar::kMaxPerDomain);
    const std::string header = jar.CookieHeader("http://example.com/");
    EXPECT_NE(header.find("c0=again"), std::string::npos);
    EXPECT_EQ(header.find("c1="), std::string::npos);
    EXPECT_NE(header.find("extra=1"), std::string::npos);
    // Another domain is not affected.
    Receive("http://other.com/", "o=1");
    EXPECT_EQ(jar.CookieHeader("http://other.com/"), "o=1");
}

TEST_F(CookieJarTest, PerDomainLimitDropsExpiredOnesFirst) {
    Receive("http://example.com/", "old=1");
    Receive("http://example.com/", "shortlived=1; Max-Age=5");
    for (std::size_t i = 2; i < CCookieJar::kMaxPerDomain; ++i)
        Receive("http://example.com/", "c" + std::to_string(i) + "=1");
    now += 10;
    Receive("http://example.com/", "extra=1");
    const std::string header = jar.CookieHeader("http://example.com/");
    EXPECT_NE(header.find("old=1"), std::string::npos);
    EXPECT_NE(header.find("extra=1"), std::string::npos);
    EXPECT_EQ(jar.Size(), CCookieJar::kMaxPerDomain);
}

TEST_F(CookieJarTest, TotalLimitDropsTheOldest) {
    const std::size_t domains = CCookieJar::kMaxTotal / 100 + 1;
    for (std::size_t d = 0; d < domains; ++d)
        for (int i = 0; i < 100; ++i)
            Receive("http://h" + std::to_string(d) + ".example.com/",
                    "c" + std::to_string(i) + "=1");
    EXPECT_EQ(jar.Size(), CCookieJar::kMaxTotal);
    // The first domain's cookies were the oldest and went first.
    EXPECT_EQ(jar.CookieHeader("http://h0.example.com/"), "");
    EXPECT_NE(jar.CookieHeader("http://h" + std::to_string(domains - 1) + ".example.com/"), "");
}

TEST_F(CookieJarTest, SetCookieHeadersPerResponseAreCapped) {
    HttpResponse response;
    // The headers past the cap are not read, well-formed or not.
    for (std::size_t i = 0; i < CCookieJar::kMaxSetCookiePerResponse; ++i)
        response.headers.push_back({"Set-Cookie", "malformed"});
    response.headers.push_back({"Set-Cookie", "late=1"});
    jar.StoreFromResponse("http://example.com/", response);
    EXPECT_EQ(jar.Size(), 0u);
    ASSERT_FALSE(jar.Messages().empty());
    EXPECT_LE(jar.Messages().size(), CCookieJar::kMaxMessages);
    EXPECT_NE(jar.Messages().back().find("more"), std::string::npos);
    // A response within the cap is read whole.
    response.headers.erase(response.headers.begin());
    jar.StoreFromResponse("http://example.com/", response);
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "late=1");
}

TEST_F(CookieJarTest, MessagesAreCappedWithACountOfTheRest) {
    for (std::size_t i = 0; i < CCookieJar::kMaxMessages + 50; ++i)
        Receive("http://example.com/", "malformed");
    ASSERT_EQ(jar.Messages().size(), CCookieJar::kMaxMessages);
    EXPECT_NE(jar.Messages().back().find("51 more"), std::string::npos) << jar.Messages().back();
    jar.ClearMessages();
    EXPECT_TRUE(jar.Messages().empty());
}

// Bad input.

TEST_F(CookieJarTest, ControlBytesMakeTheCookieIgnored) {
    Receive("http://example.com/", std::string("a=1\0b", 5));
    Receive("http://example.com/", "b=1\r\nX-Injected: yes");
    Receive("http://example.com/", "c=1\x7f");
    Receive("http://example.com/", "d=1; Path=/\x01");
    EXPECT_TRUE(jar.Cookies().empty());
    EXPECT_EQ(jar.Messages().size(), 4u);
    Receive("http://example.com/", "tab=1;\tPath=/");
    EXPECT_EQ(jar.Cookies().size(), 1u);
}

TEST_F(CookieJarTest, NameValuePairWithoutEqualsOrNameIsIgnored) {
    Receive("http://example.com/", "justtext");
    Receive("http://example.com/", "=value");
    Receive("http://example.com/", "");
    Receive("http://example.com/", "; a=1");
    EXPECT_TRUE(jar.Cookies().empty());
}

TEST_F(CookieJarTest, NonAsciiBytesInTheValueAreKept) {
    Receive("http://example.com/", "n=caf\xc3\xa9");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "n=caf\xc3\xa9");
}

TEST_F(CookieJarTest, RequestUrlWithoutHostStoresNothing) {
    Receive("not a url", "a=1");
    Receive("", "a=1");
    EXPECT_TRUE(jar.Cookies().empty());
    EXPECT_EQ(jar.CookieHeader("not a url"), "");
    EXPECT_EQ(jar.CookieHeader(""), "");
}

TEST_F(CookieJarTest, RandomBytesNeverCrash) {
    std::mt19937 random(22);
    const std::vector<std::string> pieces = {
        "=",       ";",       " ",      "\t",       ".",
        "/",       "-",       ",",      ":",        "a",
        "1",       "99",      "Jan",    "Domain",   "Path",
        "Expires", "Max-Age", "Secure", "www",      "example",
        "com",     "\x01",    "\x7f",   "\x80\xff", std::string(1, '\0')};
    int accepted = 0;
    for (int round = 0; round < 3000; ++round) {
        // Half of the texts start as a well-formed cookie, then go wrong.
        std::string text = round % 2 == 0 ? "n=v; domain=example.com; " : "";
        const int length = static_cast<int>(random() % 40);
        for (int i = 0; i < length; ++i)
            text += pieces[random() % pieces.size()];
        Receive("http://www.example.com/a/b", text);
        accepted += jar.AddCookie(text) ? 1 : 0;
        jar.RemoveCookie(text);
        std::time_t ignored = 0;
        CCookieJar::ParseCookieDate(text, ignored);
    }
    jar.CookieHeader("http://www.example.com/a/b");
    // The pieces do make cookies now and then, and what is kept is sane.
    EXPECT_GT(accepted, 0);
    for (const Cookie& cookie : jar.Cookies()) {
        EXPECT_FALSE(cookie.name.empty());
        EXPECT_EQ(cookie.name.find_first_of(std::string("\x01\x7f\0", 3)), std::string::npos);
        EXPECT_EQ(cookie.path.front(), '/');
    }
    EXPECT_LE(jar.Size(), CCookieJar::kMaxTotal);
    EXPECT_LE(jar.Messages().size(), CCookieJar::kMaxMessages);
}

// web_add_cookie, web_remove_cookie, web_cleanup_cookies.

TEST_F(CookieJarTest, AddCookieStoresForTheDomainAndItsSubdomains) {
    EXPECT_TRUE(jar.AddCookie("session=abc; domain=example.com; path=/"));
    EXPECT_EQ(jar.CookieHeader("http://example.com/x"), "session=abc");
    EXPECT_EQ(jar.CookieHeader("https://www.example.com/"), "session=abc");
    EXPECT_EQ(jar.CookieHeader("http://other.com/"), "");
}

TEST_F(CookieJarTest, AddCookieWithoutDomainIsRefused) {
    EXPECT_FALSE(jar.AddCookie("session=abc; path=/"));
    EXPECT_TRUE(jar.Cookies().empty());
    ASSERT_EQ(jar.Messages().size(), 1u);
    EXPECT_NE(jar.Messages()[0].find("domain="), std::string::npos);
}

TEST_F(CookieJarTest, AddCookieDefaultsPathToRootAndReadsExpires) {
    EXPECT_TRUE(jar.AddCookie(" a=1; DOMAIN=.Example.com; expires=Mon, 01 Jan 2024 00:01:00 GMT "));
    ASSERT_EQ(jar.Cookies().size(), 1u);
    const Cookie c = jar.Cookies()[0];
    EXPECT_EQ(c.path, "/");
    EXPECT_EQ(c.domain, "example.com");
    EXPECT_EQ(c.expires, kStart + 60);
    EXPECT_EQ(jar.CookieHeader("http://example.com/deep/page"), "a=1");
}

TEST_F(CookieJarTest, AddCookieOnAnIpAddressIsHostOnly) {
    EXPECT_TRUE(jar.AddCookie("a=1; domain=10.1.2.3"));
    EXPECT_EQ(jar.CookieHeader("http://10.1.2.3/"), "a=1");
    EXPECT_TRUE(jar.Cookies()[0].hostOnly);
}

TEST_F(CookieJarTest, AddCookieReplacesACookieFromAResponse) {
    Receive("http://www.example.com/", "a=server; Domain=example.com; Path=/");
    EXPECT_TRUE(jar.AddCookie("a=script; domain=example.com; path=/"));
    EXPECT_EQ(jar.CookieHeader("http://www.example.com/"), "a=script");
}

TEST_F(CookieJarTest, AddCookieRefusesBadText) {
    EXPECT_FALSE(jar.AddCookie(""));
    EXPECT_FALSE(jar.AddCookie("novalue; domain=example.com"));
    EXPECT_FALSE(jar.AddCookie(std::string("a=1\n; domain=example.com")));
    EXPECT_FALSE(jar.AddCookie("a=1; domain=."));
    EXPECT_FALSE(jar.AddCookie("a=1; domain="));
    EXPECT_TRUE(jar.Cookies().empty());
}

TEST_F(CookieJarTest, RemoveCookieByNameDomainAndPath) {
    Receive("http://example.com/a/b", "a=1; Path=/a");
    Receive("http://example.com/a/b", "a=2; Path=/");
    Receive("http://other.com/", "a=3");
    EXPECT_TRUE(jar.RemoveCookie("a=1; domain=example.com; path=/a"));
    EXPECT_EQ(jar.CookieHeader("http://example.com/a/b"), "a=2");
    EXPECT_EQ(jar.CookieHeader("http://other.com/"), "a=3");
}

TEST_F(CookieJarTest, RemoveCookieWithoutPathRemovesEveryPathOfThatDomain) {
    Receive("http://example.com/a/b", "a=1; Path=/a");
    Receive("http://example.com/a/b", "a=2; Path=/");
    Receive("http://other.com/", "a=3");
    EXPECT_TRUE(jar.RemoveCookie("a; domain=.EXAMPLE.com"));
    EXPECT_EQ(jar.CookieHeader("http://example.com/a/b"), "");
    EXPECT_EQ(jar.CookieHeader("http://other.com/"), "a=3");
}

TEST_F(CookieJarTest, RemoveCookieThatIsNotThereSaysSo) {
    Receive("http://example.com/", "a=1");
    EXPECT_FALSE(jar.RemoveCookie("b=1; domain=example.com"));
    EXPECT_FALSE(jar.RemoveCookie("a=1; domain=other.com"));
    EXPECT_FALSE(jar.RemoveCookie(""));
    EXPECT_EQ(jar.Cookies().size(), 1u);
    EXPECT_EQ(jar.Messages().size(), 3u);
}

TEST_F(CookieJarTest, CleanupRemovesEveryCookie) {
    Receive("http://example.com/", "a=1");
    Receive("https://other.com/", "b=1; Secure; Max-Age=100");
    jar.AddCookie("c=1; domain=third.org");
    jar.Clear();
    EXPECT_TRUE(jar.Cookies().empty());
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "");
    // The jar goes on working after a cleanup.
    Receive("http://example.com/", "a=2");
    EXPECT_EQ(jar.CookieHeader("http://example.com/"), "a=2");
}

TEST(CookieJarClock, WithoutAClockTheSystemTimeIsUsed) {
    CCookieJar jar;
    HttpResponse response;
    response.headers = {{"Set-Cookie", "a=1; Max-Age=3600"}};
    jar.StoreFromResponse("http://example.com/", response);
    ASSERT_EQ(jar.Cookies().size(), 1u);
    const std::time_t expires = jar.Cookies()[0].expires;
    const std::time_t now = std::time(nullptr);
    EXPECT_GE(expires, now + 3590);
    EXPECT_LE(expires, now + 3600);
}
