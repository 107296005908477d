// The web_set_user store: basic authentication per host and port.
#include <gtest/gtest.h>

#include <string>

#include "webstep/replay/Credentials.h"

TEST(Credentials, Base64FollowsTheStandardAlphabetAndPadding) {
    EXPECT_EQ(CCredentials::Base64(""), "");
    EXPECT_EQ(CCredentials::Base64("f"), "Zg==");
    EXPECT_EQ(CCredentials::Base64("fo"), "Zm8=");
    EXPECT_EQ(CCredentials::Base64("foo"), "Zm9v");
    EXPECT_EQ(CCredentials::Base64("foob"), "Zm9vYg==");
    EXPECT_EQ(CCredentials::Base64("fooba"), "Zm9vYmE=");
    EXPECT_EQ(CCredentials::Base64("foobar"), "Zm9vYmFy");
    EXPECT_EQ(CCredentials::Base64("\xff\xfe\xfd"), "//79");
}

TEST(Credentials, NoEntryGivesNoHeader) {
    CCredentials credentials;
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com/"), "");
}

TEST(Credentials, BasicHeaderForTheHostAndPort) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("Aladdin", "open sesame", "example.com:8080"));
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com:8080/private"),
              "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com/private"), "");
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com:8081/"), "");
    EXPECT_EQ(credentials.AuthorizationFor("http://other.com:8080/"), "");
}

TEST(Credentials, UrlWithoutPortUsesTheSchemeDefault) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("u", "p", "plain.example.com:80"));
    ASSERT_TRUE(credentials.Set("s", "q", "secure.example.com:443"));
    EXPECT_EQ(credentials.AuthorizationFor("http://plain.example.com/"),
              "Basic " + CCredentials::Base64("u:p"));
    EXPECT_EQ(credentials.AuthorizationFor("https://secure.example.com/x"),
              "Basic " + CCredentials::Base64("s:q"));
    EXPECT_EQ(credentials.AuthorizationFor("https://plain.example.com/"), "");
    EXPECT_EQ(credentials.AuthorizationFor("http://secure.example.com/"), "");
}

TEST(Credentials, HostIsComparedWithoutLetterCase) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("u", "p", "WWW.Example.COM:80"));
    EXPECT_EQ(credentials.AuthorizationFor("http://www.example.com/"),
              "Basic " + CCredentials::Base64("u:p"));
    EXPECT_EQ(credentials.AuthorizationFor("http://WWW.EXAMPLE.com/"),
              "Basic " + CCredentials::Base64("u:p"));
}

TEST(Credentials, LaterSetForTheSameHostAndPortReplaces) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("first", "1", "example.com:80"));
    ASSERT_TRUE(credentials.Set("second", "2", "EXAMPLE.com:80"));
    EXPECT_EQ(credentials.Size(), 1u);
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com/"),
              "Basic " + CCredentials::Base64("second:2"));
}

TEST(Credentials, DifferentPortsOfOneHostKeepTheirOwnEntries) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("a", "1", "example.com:80"));
    ASSERT_TRUE(credentials.Set("b", "2", "example.com:8080"));
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com/"),
              "Basic " + CCredentials::Base64("a:1"));
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com:8080/"),
              "Basic " + CCredentials::Base64("b:2"));
}

TEST(Credentials, HostWithoutPortAppliesToEveryPortButAnExactPortWins) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("any", "1", "example.com"));
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com:9000/"),
              "Basic " + CCredentials::Base64("any:1"));
    EXPECT_EQ(credentials.AuthorizationFor("https://example.com/"),
              "Basic " + CCredentials::Base64("any:1"));
    ASSERT_TRUE(credentials.Set("exact", "2", "example.com:9000"));
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com:9000/"),
              "Basic " + CCredentials::Base64("exact:2"));
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com/"),
              "Basic " + CCredentials::Base64("any:1"));
}

TEST(Credentials, HostAndPortAsAParsedStepGivesThem) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("u", "p", "example.com", 8443));
    EXPECT_EQ(credentials.AuthorizationFor("https://example.com:8443/"),
              "Basic " + CCredentials::Base64("u:p"));
    ASSERT_TRUE(credentials.Set("v", "q", "other.com", CCredentials::kAnyPort));
    EXPECT_EQ(credentials.AuthorizationFor("http://other.com:1234/"),
              "Basic " + CCredentials::Base64("v:q"));
}

TEST(Credentials, HostGivenAsAUrl) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("u", "p", "https://example.com/"));
    EXPECT_EQ(credentials.AuthorizationFor("https://example.com/a"),
              "Basic " + CCredentials::Base64("u:p"));
    EXPECT_EQ(credentials.AuthorizationFor("http://example.com/a"), "");
}

TEST(Credentials, Ipv6AddressInBrackets) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("u", "p", "[::1]:8080"));
    EXPECT_EQ(credentials.AuthorizationFor("http://[::1]:8080/"),
              "Basic " + CCredentials::Base64("u:p"));
    EXPECT_EQ(credentials.AuthorizationFor("http://[::1]/"), "");
}

TEST(Credentials, PasswordWithColonsAndNonAsciiBytesIsEncodedWhole) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("user", "a:b:\xc3\xa9", "h:80"));
    EXPECT_EQ(credentials.AuthorizationFor("http://h/"),
              "Basic " + CCredentials::Base64("user:a:b:\xc3\xa9"));
}

TEST(Credentials, BadHostOrPortIsRefusedWithAMessage) {
    CCredentials credentials;
    EXPECT_FALSE(credentials.Set("u", "p", ""));
    EXPECT_NE(credentials.Message().find("host"), std::string::npos);
    EXPECT_FALSE(credentials.Set("u", "p", ":80"));
    EXPECT_FALSE(credentials.Set("u", "p", "h:http"));
    EXPECT_NE(credentials.Message().find("port"), std::string::npos);
    EXPECT_FALSE(credentials.Set("u", "p", "h:0"));
    EXPECT_FALSE(credentials.Set("u", "p", "h:65536"));
    EXPECT_FALSE(credentials.Set("u", "p", "h:99999999999999999999"));
    EXPECT_FALSE(credentials.Set("u", "p", "[::1"));
    EXPECT_FALSE(credentials.Set("u", "p", "[::1]x"));
    EXPECT_FALSE(credentials.Set("u", "p", "h", 70000));
    EXPECT_EQ(credentials.Size(), 0u);
}

TEST(Credentials, UnreadableUrlGivesNoHeader) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("u", "p", "h"));
    EXPECT_EQ(credentials.AuthorizationFor("not a url"), "");
    EXPECT_EQ(credentials.AuthorizationFor(""), "");
}

TEST(Credentials, ClearForgetsEveryEntry) {
    CCredentials credentials;
    ASSERT_TRUE(credentials.Set("u", "p", "h:80"));
    credentials.Clear();
    EXPECT_EQ(credentials.AuthorizationFor("http://h/"), "");
}
