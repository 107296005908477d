// The calling contract of the URL services: buffers, lengths, errors.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "webstep/platform/LastError.h"
#include "webstep/platform/WinInet.h"

using namespace webstep::platform;

namespace {

URL_COMPONENTSA PointerMode() {
    URL_COMPONENTSA uc{};
    uc.dwStructSize = sizeof uc;
    uc.dwSchemeLength = uc.dwHostNameLength = uc.dwUserNameLength = uc.dwPasswordLength =
        uc.dwUrlPathLength = uc.dwExtraInfoLength = DWORD(-1);
    return uc;
}

std::string Piece(const char* p, DWORD n) {
    return p && n ? std::string(p, n) : std::string();
}

std::string Canon(const char* url) {
    char buf[1024];
    DWORD len = sizeof buf;
    return InternetCanonicalizeUrlA(url, buf, &len, ICU_NO_ENCODE) ? std::string(buf, len)
                                                                   : "<failed>";
}

std::string Combine(const char* base, const char* rel) {
    char buf[1024];
    DWORD len = sizeof buf;
    return InternetCombineUrlA(base, rel, buf, &len, ICU_NO_ENCODE) ? std::string(buf, len)
                                                                    : "<failed>";
}

}  // namespace

TEST(WinInetCrack, ComponentsPointIntoTheText) {
    const char* url = "http://joe:pw@host:8080/dir/file.html?q=1#top";
    URL_COMPONENTSA uc = PointerMode();
    ASSERT_TRUE(InternetCrackUrlA(url, 0, 0, &uc));
    EXPECT_EQ(uc.nScheme, INTERNET_SCHEME_HTTP);
    EXPECT_EQ(uc.lpszScheme, url);
    EXPECT_EQ(uc.dwSchemeLength, 4u);
    EXPECT_EQ(Piece(uc.lpszUserName, uc.dwUserNameLength), "joe");
    EXPECT_EQ(Piece(uc.lpszPassword, uc.dwPasswordLength), "pw");
    EXPECT_EQ(Piece(uc.lpszHostName, uc.dwHostNameLength), "host");
    EXPECT_EQ(uc.nPort, 8080);
    EXPECT_EQ(Piece(uc.lpszUrlPath, uc.dwUrlPathLength), "/dir/file.html");
    EXPECT_EQ(Piece(uc.lpszExtraInfo, uc.dwExtraInfoLength), "?q=1#top");
    EXPECT_GE(uc.lpszUrlPath, url);
    EXPECT_LT(uc.lpszUrlPath, url + std::strlen(url));
}

TEST(WinInetCrack, AcceptsThe32BitRecordSize) {
    URL_COMPONENTSA uc = PointerMode();
    uc.dwStructSize = URL_COMPONENTSA_SIZE32;
    EXPECT_TRUE(InternetCrackUrlA("http://h/", 0, 0, &uc));
}

TEST(WinInetCrack, WrongRecordSizeIsAnInvalidParameter) {
    URL_COMPONENTSA uc = PointerMode();
    uc.dwStructSize = 12;
    SetLastError(0);
    EXPECT_FALSE(InternetCrackUrlA("http://h/", 0, 0, &uc));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(InternetCrackUrlA("http://h/", 0, 0, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(WinInetCrack, NullOrEmptyURLIsAnInvalidParameter) {
    URL_COMPONENTSA uc = PointerMode();
    SetLastError(0);
    EXPECT_FALSE(InternetCrackUrlA(nullptr, 0, 0, &uc));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    SetLastError(0);
    EXPECT_FALSE(InternetCrackUrlA("", 0, 0, &uc));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(WinInetCrack, TextWithoutSchemeIsUnrecognised) {
    URL_COMPONENTSA uc = PointerMode();
    SetLastError(0);
    EXPECT_FALSE(InternetCrackUrlA("www.example.com/index.html", 0, 0, &uc));
    EXPECT_EQ(GetLastError(), ERROR_INTERNET_UNRECOGNIZED_SCHEME);
    EXPECT_FALSE(InternetCrackUrlA("sch eme:x", 0, 0, &uc));
    EXPECT_EQ(GetLastError(), ERROR_INTERNET_UNRECOGNIZED_SCHEME);
}

TEST(WinInetCrack, ExplicitLengthLimitsTheText) {
    URL_COMPONENTSA uc = PointerMode();
    ASSERT_TRUE(InternetCrackUrlA("http://host/path?query", 11, 0, &uc));
    EXPECT_EQ(Piece(uc.lpszHostName, uc.dwHostNameLength), "host");
    EXPECT_EQ(uc.dwUrlPathLength, 0u);
    EXPECT_EQ(uc.dwExtraInfoLength, 0u);
}

TEST(WinInetCrack, CallerBuffersReceiveCopies) {
    char host[16], path[5];
    URL_COMPONENTSA uc{};
    uc.dwStructSize = sizeof uc;
    uc.lpszHostName = host;
    uc.dwHostNameLength = sizeof host;
    uc.lpszUrlPath = path;
    uc.dwUrlPathLength = sizeof path;
    ASSERT_TRUE(InternetCrackUrlA("http://example/abc", 0, 0, &uc));
    EXPECT_STREQ(host, "example");
    EXPECT_EQ(uc.dwHostNameLength, 7u);
    EXPECT_STREQ(path, "/abc");
    EXPECT_EQ(uc.dwUrlPathLength, 4u);
    EXPECT_EQ(uc.lpszScheme, nullptr);  // not asked for
}

TEST(WinInetCrack, TooSmallCallerBufferReportsTheSizeNeeded) {
    char path[4];
    URL_COMPONENTSA uc{};
    uc.dwStructSize = sizeof uc;
    uc.lpszUrlPath = path;
    uc.dwUrlPathLength = sizeof path;
    SetLastError(0);
    EXPECT_FALSE(InternetCrackUrlA("http://example/abcd", 0, 0, &uc));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(uc.dwUrlPathLength, 6u);
}

TEST(WinInetCrack, SchemeNumberMatchesByPrefix) {
    URL_COMPONENTSA uc = PointerMode();
    ASSERT_TRUE(InternetCrackUrlA("h://x", 0, 0, &uc));
    EXPECT_EQ(uc.nScheme, INTERNET_SCHEME_HTTP);
    uc = PointerMode();  // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA(":rest", 0, 0, &uc));
    EXPECT_EQ(uc.nScheme, INTERNET_SCHEME_FTP);  // an empty name matches the first entry
    uc = PointerMode();                          // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA("httpx://x", 0, 0, &uc));
    EXPECT_EQ(uc.nScheme, INTERNET_SCHEME_UNKNOWN);
}

TEST(WinInetCrack, DefaultPortsOnlyWithAuthority) {
    URL_COMPONENTSA uc = PointerMode();
    ASSERT_TRUE(InternetCrackUrlA("https://x/", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 443);
    uc = PointerMode();  // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA("ftp://x/", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 21);
    uc = PointerMode();  // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA("http:x", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 0);
    uc = PointerMode();  // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA("gopher://x/", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 0);
}

TEST(WinInetCrack, PortTextIsReadLikeANumberAndCutTo16Bits) {
    URL_COMPONENTSA uc = PointerMode();
    ASSERT_TRUE(InternetCrackUrlA("http://h:70000/", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 70000 & 0xFFFF);
    uc = PointerMode();  // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA("http://h:99999999999999/", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 65535);
    uc = PointerMode();  // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA("http://h:-1/", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 65535);
    uc = PointerMode();  // the record is filled in place; start afresh
    ASSERT_TRUE(InternetCrackUrlA("http://h:abc/", 0, 0, &uc));
    EXPECT_EQ(uc.nPort, 0);
}

TEST(WinInetCrack, LastColonSeparatesPortAndPassword) {
    URL_COMPONENTSA uc = PointerMode();
    ASSERT_TRUE(InternetCrackUrlA("http://u:p:q@[::1]:81/", 0, 0, &uc));
    EXPECT_EQ(Piece(uc.lpszUserName, uc.dwUserNameLength), "u:p");
    EXPECT_EQ(Piece(uc.lpszPassword, uc.dwPasswordLength), "q");
    EXPECT_EQ(Piece(uc.lpszHostName, uc.dwHostNameLength), "[::1]");
    EXPECT_EQ(uc.nPort, 81);
}

TEST(WinInetCrack, HugeURLIsSplit) {
    std::string url = "http://host/" + std::string(100000, 'p') + "?" + std::string(50000, 'q');
    URL_COMPONENTSA uc = PointerMode();
    ASSERT_TRUE(InternetCrackUrlA(url.c_str(), 0, 0, &uc));
    EXPECT_EQ(uc.dwUrlPathLength, 100001u);
    EXPECT_EQ(uc.dwExtraInfoLength, 50001u);
}

TEST(WinInetCanonicalize, TooSmallBufferFailsWith122AndTheSizeWithNul) {
    char buf[8];
    DWORD len = sizeof buf;
    SetLastError(0);
    EXPECT_FALSE(InternetCanonicalizeUrlA("http://example.com/", buf, &len, ICU_NO_ENCODE));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(len, 20u);
    char big[20];
    len = sizeof big;
    ASSERT_TRUE(InternetCanonicalizeUrlA("http://example.com/", big, &len, ICU_NO_ENCODE));
    EXPECT_EQ(len, 19u);
    EXPECT_STREQ(big, "http://example.com/");
}

TEST(WinInetCanonicalize, ExactFitWithoutRoomForNulIsTooSmall) {
    char buf[19];
    DWORD len = sizeof buf;
    EXPECT_FALSE(InternetCanonicalizeUrlA("http://example.com/", buf, &len, ICU_NO_ENCODE));
    EXPECT_EQ(len, 20u);
}

TEST(WinInetCanonicalize, NullArgumentsAreInvalid) {
    char buf[8];
    DWORD len = sizeof buf;
    SetLastError(0);
    EXPECT_FALSE(InternetCanonicalizeUrlA(nullptr, buf, &len, ICU_NO_ENCODE));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(InternetCanonicalizeUrlA("http://a/", buf, nullptr, ICU_NO_ENCODE));
    len = 0;
    EXPECT_FALSE(InternetCanonicalizeUrlA("http://a/", nullptr, &len, ICU_NO_ENCODE));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(len, 10u);
}

TEST(WinInetCanonicalize, DotSegmentsAndSeparatorsFollowTheScheme) {
    EXPECT_EQ(Canon("HTTP://Host.Example/a/b/../c/./d"), "http://host.example/a/c/d");
    EXPECT_EQ(Canon("http://h/a\\b\\c"), "http://h/a/b/c");  // backslashes become slashes
    EXPECT_EQ(Canon("http://h/./a/../b"),
              "http://h/./a/../b");  // a path starting with a dot segment stays
    EXPECT_EQ(Canon("http://h/a/../../b"), "http://h/b");     // excess ".." disappear
    EXPECT_EQ(Canon("wine://h/a/../../b"), "wine://h/../b");  // unknown schemes keep them
    EXPECT_EQ(Canon("ftp://h/a\\b"), "ftp://h/a\\b");         // ftp keeps backslashes
    EXPECT_EQ(Canon("mailto:a/../b"), "mailto:a/../b");       // opaque schemes stay
    EXPECT_EQ(Canon("http://h"), "http://h/");
    EXPECT_EQ(Canon("http://h/p?a/../b#c"), "http://h/p?a/../b#c");
}

TEST(WinInetCanonicalize, WhitespaceIsTrimmedAndTabsAndLineEndsRemoved) {
    EXPECT_EQ(Canon("  http://h/a\tb\r\nc  "), "http://h/abc");
    EXPECT_EQ(Canon("http://h/a b"), "http://h/a b");  // no encoding
    EXPECT_EQ(Canon(""), "");
}

TEST(WinInetCanonicalize, FileURLsAndDrivesTakeThePathForm) {
    EXPECT_EQ(Canon("file:///C:/dir/../x.txt"), "file://C:\\x.txt");
    EXPECT_EQ(Canon("C:/dir/x.txt"), "file://C:\\dir\\x.txt");
    EXPECT_EQ(Canon("file://server/share/x"), "file://\\\\server\\share\\x");
    EXPECT_EQ(Canon("\\\\server\\share"), "file://\\\\server\\share");
    EXPECT_EQ(Canon("file://localhost/etc/x"), "file://\\etc\\x");
}

TEST(WinInetCanonicalize, FragmentBeforeQueryMovesBehindItForUnknownSchemes) {
    EXPECT_EQ(Canon("wine://h/p#f?q"), "wine://h/p?q#f");
    EXPECT_EQ(Canon("http://h/p#f?q"), "http://h/p#f?q");
}

TEST(WinInetCombine, ResolvesAgainstTheBaseDirectory) {
    EXPECT_EQ(Combine("http://h/d/p.html?x#y", "a/b"), "http://h/d/a/b");
    EXPECT_EQ(Combine("http://h/d/p.html", "../a"), "http://h/a");
    EXPECT_EQ(Combine("http://h/d/p.html", "/a"), "http://h/a");
    EXPECT_EQ(Combine("http://h/d/p.html", "//other/a"), "http://other/a");
    EXPECT_EQ(Combine("http://h/d/p.html", "?q"), "http://h/d/?q");
    EXPECT_EQ(Combine("http://h/d/p.html?x#y", "#f"), "http://h/d/p.html?x#f");
    EXPECT_EQ(Combine("http://h/d/p.html", ""), "http://h/d/");
    EXPECT_EQ(Combine("http://h/d/p.html", "https://o/x"), "https://o/x");
    EXPECT_EQ(Combine("http://h/d/p.html", "http:x"), "http://h/d/x");
    EXPECT_EQ(Combine("http://h/d/p.html", "C:\\x.txt"), "file:///C:/x.txt");
    EXPECT_EQ(Combine("http://h/d", "../a"), "http://h/../a");  // dot segment first: kept
}

TEST(WinInetCombine, OpaqueBaseTakesTheRelativeTextAsItsRest) {
    EXPECT_EQ(Combine("mailto:x@y", "z"), "mailto:z");
    EXPECT_EQ(Combine("mailto:x@y", "#f"), "mailto:x@y#f");
}

TEST(WinInetCombine, TooSmallBufferFailsWith122) {
    char buf[4];
    DWORD len = sizeof buf;
    SetLastError(0);
    EXPECT_FALSE(InternetCombineUrlA("http://h/", "a", buf, &len, ICU_NO_ENCODE));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(len, 11u);
    EXPECT_FALSE(InternetCombineUrlA(nullptr, "a", buf, &len, ICU_NO_ENCODE));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(LastError, IsKeptPerThread) {
    SetLastError(122);
    DWORD seenByOther = 1;
    std::thread other([&] {
        seenByOther = GetLastError();
        SetLastError(87);
    });
    other.join();
    EXPECT_EQ(seenByOther, 0u);
    EXPECT_EQ(GetLastError(), 122u);
}

// Random texts made of the characters that matter to URLs: every service
// answers without crashing, and the reported sizes are exact.
TEST(WinInetServices, RandomTextsKeepTheBufferContract) {
    const char alphabet[] = "abcHT:/\\\\.?#@%|; \t\n\x81\xE4-0123";
    unsigned state = 12345;
    auto next = [&] {
        state = state * 1103515245u + 12345u;
        return (state >> 16) & 0x7FFF;
    };
    for (int round = 0; round < 5000; ++round) {
        std::string a, b;
        int la = next() % 24, lb = next() % 12;
        for (int i = 0; i < la; ++i)
            a += alphabet[next() % (sizeof alphabet - 1)];
        for (int i = 0; i < lb; ++i)
            b += alphabet[next() % (sizeof alphabet - 1)];
        if (next() % 3 == 0)
            a = "http://" + a;

        URL_COMPONENTSA uc = PointerMode();
        if (InternetCrackUrlA(a.c_str(), 0, 0, &uc)) {
            for (auto [p, n] : {std::pair{uc.lpszHostName, uc.dwHostNameLength},
                                std::pair{uc.lpszUrlPath, uc.dwUrlPathLength},
                                std::pair{uc.lpszExtraInfo, uc.dwExtraInfoLength}}) {
                if (n) {
                    ASSERT_GE(p, a.c_str());
                    ASSERT_LE(p + n, a.c_str() + a.size());
                }
            }
        }

        for (int which = 0; which < 2; ++which) {
            DWORD len = 0;
            auto call = [&](char* buf, DWORD* l) {
                return which == 0
                           ? InternetCanonicalizeUrlA(a.c_str(), buf, l, ICU_NO_ENCODE)
                           : InternetCombineUrlA(a.c_str(), b.c_str(), buf, l, ICU_NO_ENCODE);
            };
            ASSERT_FALSE(call(nullptr, &len));
            ASSERT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
            std::vector<char> buf(len);
            DWORD size = len;
            ASSERT_TRUE(call(buf.data(), &size)) << a << " | " << b;
            ASSERT_EQ(size + 1, len);
            ASSERT_EQ(std::strlen(buf.data()), size);
        }
    }
}
