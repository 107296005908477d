// The parser takes the common http and https URLs apart in one pass; for
// every URL it must give exactly what the general way (canonicalize, then
// crack) gives. A replaced crack service forces the general way.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../support/TestPaths.h"
#include "webstep/url/URLParser.h"

namespace {

using webstep::platform::BOOL;
using webstep::platform::DWORD;
using webstep::platform::LPCSTR;
using webstep::platform::URL_COMPONENTSA;

BOOL GeneralCrack(LPCSTR url, DWORD length, DWORD flags, URL_COMPONENTSA* components) {
    return webstep::platform::InternetCrackUrlA(url, length, flags, components);
}

std::string Describe(const CURLParser& u) {
    std::ostringstream out;
    out << u.IsValid() << '|' << u.GetProtocol() << '|' << u.GetHost() << '|' << u.GetPortInt()
        << '|' << u.HasExplicitPort() << '|' << u.GetUserNameA() << '|' << u.GetPassword() << '|'
        << u.GetPath() << '|' << u.GetFile() << '|' << u.GetExtraInfo() << '|'
        << u.GetFullURLWithLabelAndSearch() << '|' << u.GetFullURL() << '|'
        << u.GetFullURLWithSearch() << '|' << u.GetServer() << '|' << u.GetSearch() << '|'
        << u.GetLabel() << '|' << u.GetFullPath() << '|' << u.GetFullPathWithLabel() << '|'
        << u.GetFullPathWithSearch() << '|' << u.GetFullPathWithLabelAndSearch() << '|'
        << u.GetSimplifiedHost();
    return out.str();
}

struct GeneralWay {
    GeneralWay() { CURLParser::SetInternetCrackURLFunc(&GeneralCrack); }
    ~GeneralWay() { CURLParser::ResetInternetCrackURLFunc(); }
};

std::string AbsoluteGeneral(const std::string& url) {
    GeneralWay general;
    return Describe(CURLParser(url.c_str()));
}

std::string RelativeGeneral(const std::string& base, const std::string& url) {
    GeneralWay general;
    CURLParser b(base.c_str());
    return Describe(CURLParser(b, url.c_str()));
}

std::string RelativeFast(const std::string& base, const std::string& url) {
    CURLParser b(base.c_str());
    return Describe(CURLParser(b, url.c_str()));
}

const std::vector<std::string> kBases = {
    "http://www.example.com/news/today/index.html",
    "https://shop.example.org/",
    "http://www.example.com/a/b.php?x=1&y=2#top",
    "http://www.example.com:8080/a/b",
    "http://WWW.Example.COM/Dir/File.htm",
    "http://www.example.com/a/./b/../c",
    "http://user:pw@www.example.com/a/",
    "https://www.example.com:443/x?q#f?g",
    "ftp://ftp.example.com/pub/file.txt",
    "http://www.example.com/a/b/c/d.html?q=1",
    "http://www.example.com/.hidden/..x/...",
    "http://www.example.com/a//b/",
    "https://www.example.com/a/b/#frag",
};

const std::vector<std::string> kLinks = {
    "http://www.example.com/",
    "https://www.example.com/a/b/c.html?q=1#frag",
    "http://www.example.com",
    "http://www.example.com?x",
    "http://www.example.com#x",
    "http://WWW.EXAMPLE.COM/Upper/Case",
    "http://www.example.com:80/explicit",
    "https://www.example.com:443/explicit",
    "http://www.example.com/has:80/in/path",
    "https://www.example.com/has:443?x=:443",
    "http://www.example.com/a::80",
    "http://www.example.com/ends:8",
    "https://www.example.com/a?:44",
    "https://www.example.com/a:80:443",
    "http://user@www.example.com/",
    "http://u:p@www.example.com:81/",
    "http://www.example.com/a/./b",
    "http://www.example.com/a/../b",
    "http://www.example.com/a/.hidden",
    "http://www.example.com/a\\b\\c",
    "http://www.example.com/a?b\\c",
    "http://www.example.com/a#f?q",
    "http://www.example.com/a?q#f?g",
    "http://www.example.com/a b",
    "http://www.example.com/a?b c",
    " http://www.example.com/lead",
    "http://www.example.com/trail ",
    "http://www.example.com/t\tab",
    "http://www.example.com/\xc3\xa9t\xc3\xa9",
    "http://www.example.com/q?\xc3\xa9",
    "http:///nohost",
    "http://",
    "https://x",
    "HTTP://www.example.com/scheme",
    "/rooted/path.html",
    "//other.example.com/x",
    "/\\x",
    "\\back",
    "relative.html",
    "dir/file.php?x=1",
    "?only=query",
    "#fragment",
    "#frag?q",
    "",
    "../up.html",
    "./here.html",
    ".hidden",
    "page.php?u=http://x.example.com/",
    "mailto:someone@example.com",
    "javascript:void(0)",
    "http:relative",
    "https:/one/slash",
    ":colon",
    "a:b",
    " lead.html",
    "trail.html ",
    "tab\t.html",
    "\xc3\xa9.html",
    // Dot segments of every shape.
    ".",
    "..",
    "./",
    "../",
    "../..",
    "../../",
    "../../../../../beyond/the/root",
    "./x/./y/.",
    "x/..",
    "x/../",
    "x/y/../../..",
    "a/./b/../c",
    "a//../b",
    "a/.//b",
    "a/..//b",
    "%2e%2e/x",
    ".%2e/x",
    "%2E/x",
    "..x/.x/x./x..",
    ".../x",
    "../x?q=../y#z/..",
    "../x#frag/../y",
    "./?q",
    "..?q",
    "..#f",
    ".#f",
    "./#f?q",
    "x/..?q#f",
    "x/a:80/../y",
    "x/..:80",
    "x/a:443/./y",
    "/.",
    "/..",
    "/../x",
    "/./x/../y",
    "/a/b/../../../x",
    // Network-path links.
    "//www.example.org/x",
    "//www.example.org",
    "//www.example.org?x",
    "//www.example.org#x",
    "//www.example.org/",
    "//www.example.org/a/../b",
    "//www.example.org/../b",
    "//www.example.org:80/x",
    "//www.example.org:81/x",
    "//user@www.example.org/x",
    "//user:pw@www.example.org/x",
    "//WWW.Example.ORG/X",
    "//",
    "///x",
    "//www.example.org/x:80",
    // Backslashes.
    "\\\\www.example.org\\x",
    "\\/www.example.org/x",
    "/\\www.example.org/x",
    "\\x\\..\\y",
    "a\\b\\..\\c",
    "a/b\\..?q\\..",
    "a#b\\c",
    // Absolute URLs that canonicalization changes.
    "http://www.example.org/a/../b",
    "http://www.example.org/a/./b/..",
    "http://www.example.org/../x",
    "http://www.example.org/./",
    "http://www.example.org/a/b/../../..",
    "https://www.example.org/a/%2e%2e/b",
    "http:\\\\www.example.org\\a\\..\\b",
    "http:/\\www.example.org/x",
    "http://www.example.org\\x",
    "http://www.example.org/x?a\\b",
    "http://www.example.org?q",
    "http://www.example.org#f",
    "http://www.example.org:80",
    "http://www.example.org/a/..:80/b",
    "https://www.example.org/a:443/../b",
};

TEST(URLFastPath, AbsoluteURLsGiveWhatTheGeneralWayGives) {
    for (const std::string& url : kLinks)
        EXPECT_EQ(Describe(CURLParser(url.c_str())), AbsoluteGeneral(url)) << url;
    for (const std::string& url : kBases)
        EXPECT_EQ(Describe(CURLParser(url.c_str())), AbsoluteGeneral(url)) << url;
}

TEST(URLFastPath, RelativeURLsGiveWhatTheGeneralWayGives) {
    for (const std::string& base : kBases)
        for (const std::string& url : kLinks)
            EXPECT_EQ(RelativeFast(base, url), RelativeGeneral(base, url)) << base << " + " << url;
}

TEST(URLFastPath, ResolvingAgainstItselfGivesWhatTheGeneralWayGives) {
    for (const std::string& url : kLinks) {
        CURLParser fast("http://www.example.com/a/b.html");
        fast.CreateFromRelativeURL(fast, url.c_str());
        std::string general;
        {
            GeneralWay way;
            CURLParser u("http://www.example.com/a/b.html");
            u.CreateFromRelativeURL(u, url.c_str());
            general = Describe(u);
        }
        EXPECT_EQ(Describe(fast), general) << url;
    }
}

// One parser object reused for URLs of both ways, and copies of it, read the
// same parts as a fresh parser.
TEST(URLFastPath, ReusedAndCopiedParsersKeepTheirParts) {
    CURLParser reused;
    for (const std::string& url : kLinks) {
        for (const std::string& base : kBases) {
            reused.CreateFromAbsoluteURL(base.c_str());
            const CURLParser copy = reused;
            reused.CreateFromAbsoluteURL(url.c_str());
            EXPECT_EQ(Describe(reused), Describe(CURLParser(url.c_str()))) << url;
            EXPECT_EQ(Describe(copy), Describe(CURLParser(base.c_str()))) << base;
            CURLParser assigned;
            assigned = copy;
            assigned.CreateFromRelativeURL(assigned, url.c_str());
            EXPECT_EQ(Describe(assigned), RelativeFast(base, url)) << base << " + " << url;
        }
    }
}

// Every href and src value of the corpus pages, taken as it stands and
// resolved against a page address.
TEST(URLFastPath, CorpusLinksGiveWhatTheGeneralWayGives) {
    const auto dir = webstep::test::RequireShared("corpus/html");
    std::vector<std::string> links;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        std::ifstream in(entry.path(), std::ios::binary);
        std::string page((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        for (const char* attr : {"href=\"", "src=\""}) {
            for (std::size_t at = page.find(attr); at != std::string::npos;
                 at = page.find(attr, at + 1)) {
                const std::size_t start = at + std::strlen(attr);
                const std::size_t end = page.find('"', start);
                if (end == std::string::npos || end - start > 2000)
                    continue;
                links.push_back(page.substr(start, end - start));
            }
        }
    }
    ASSERT_GT(links.size(), 1000u);
    const std::string base = "http://www.example.com/news/today/index.html";
    for (const std::string& url : links) {
        EXPECT_EQ(Describe(CURLParser(url.c_str())), AbsoluteGeneral(url)) << url;
        EXPECT_EQ(RelativeFast(base, url), RelativeGeneral(base, url)) << url;
    }
}

// Dot segments are resolved as canonicalization does, including the path
// whose first segment is a dot segment (left to the clean-up, which drops
// dot segments without removing the segment before them).
TEST(URLFastPath, DotSegmentsAreResolvedAgainstTheBaseDirectory) {
    const CURLParser base("http://www.example.com/a/b/c.html");
    EXPECT_EQ(CURLParser(base, "../x").GetFullURL(), "http://www.example.com/a/x");
    EXPECT_EQ(CURLParser(base, "../../../../x").GetFullURL(), "http://www.example.com/x");
    EXPECT_EQ(CURLParser(base, "./y/./z/..").GetFullURL(), "http://www.example.com/a/b/y/");
    EXPECT_EQ(CURLParser(base, "..?q=../r").GetFullURLWithSearch(),
              "http://www.example.com/a/?q=../r");
    EXPECT_EQ(CURLParser(base, "/./x/../y").GetFullURL(), "http://www.example.com/x/y");
    EXPECT_EQ(CURLParser(base, "%2e%2e/x").GetPath(), "/a/b/%2e%2e/");
    const CURLParser root("http://www.example.com/");
    EXPECT_EQ(CURLParser(root, "../x/../y").GetFullURL(), "http://www.example.com/x/y");
    EXPECT_EQ(CURLParser(root, "x/../../y").GetFullURL(), "http://www.example.com/y");
}

TEST(URLFastPath, NetworkPathLinksKeepOnlyTheBaseScheme) {
    const CURLParser base("https://www.example.com/a/b.html?q#f");
    const CURLParser u(base, "//cdn.example.net/lib/../x.js?v=1");
    EXPECT_EQ(u.GetFullURLWithLabelAndSearch(), "https://cdn.example.net/x.js?v=1");
    EXPECT_EQ(u.GetHost(), "cdn.example.net");
    EXPECT_EQ(u.GetPortInt(), 443u);
    EXPECT_EQ(CURLParser(base, "//cdn.example.net").GetFullURL(), "https://cdn.example.net/");
    EXPECT_EQ(CURLParser(base, "\\\\cdn.example.net\\x").GetFullURL(), "https://cdn.example.net/x");
}

// An explicit port is looked for in the resolved text of a link, and in the
// text as given for an absolute URL.
TEST(URLFastPath, PortTextIsLookedForWhereTheGeneralWayLooks) {
    const CURLParser base("http://www.example.com/a/");
    EXPECT_FALSE(CURLParser(base, "x:80/../y").HasExplicitPort());
    EXPECT_TRUE(CURLParser(base, "x/y:80").HasExplicitPort());
    EXPECT_TRUE(CURLParser("http://www.example.com/x:80/../y").HasExplicitPort());
    EXPECT_EQ(CURLParser("http://www.example.com/x:80/../y").GetPath(), "/");
}

// Random links made of the bytes that steer resolution (and blanks, a tab,
// a byte above ASCII, upper case, user information), against bases of
// several shapes, and the same texts after an http host as absolute URLs.
TEST(URLFastPath, RandomLinksGiveWhatTheGeneralWayGives) {
    static const char kBytes[] = "./\\.?#:a8%/0 \t\xe9H@";
    const std::vector<std::string> bases = {
        "http://www.example.com/a/b/c.html?q#f",
        "https://www.example.com/",
        "http://www.example.com/a//b/",
    };
    std::uint32_t seed = 12345;
    auto next = [&seed] {
        seed = seed * 1103515245u + 12345u;
        return seed >> 16;
    };
    for (int round = 0; round < 1500; ++round) {
        std::string link;
        const unsigned length = next() % 10;
        for (unsigned k = 0; k < length; ++k)
            link += kBytes[next() % (sizeof kBytes - 1)];
        if (next() % 4 == 0)
            link = "//h.example.com" + link;
        const std::string& base = bases[round % bases.size()];
        EXPECT_EQ(RelativeFast(base, link), RelativeGeneral(base, link)) << base << " + " << link;
        const std::string absolute = "http://www.example.com/" + link;
        EXPECT_EQ(Describe(CURLParser(absolute.c_str())), AbsoluteGeneral(absolute)) << absolute;
    }
}

// URLs around and beyond the size a parser holds without allocating: taken
// apart, copied, assigned and resolved against themselves (the text moving
// between the parser and the heap both ways) as the general way does.
TEST(URLFastPath, URLsOfEveryLengthKeepTheirPartsWhenCopiedAndResolved) {
    for (std::size_t length = 60; length < 160; ++length) {
        std::string url = "http://www.example.com/dir/";
        url += std::string(length - url.size() - 4, 'p');
        url += "?q=1";
        ASSERT_EQ(url.size(), length);
        const CURLParser parsed(url.c_str());
        EXPECT_EQ(Describe(parsed), AbsoluteGeneral(url)) << url;
        CURLParser copy(parsed);
        EXPECT_EQ(Describe(copy), Describe(parsed)) << url;
        CURLParser assigned("http://www.example.com/short");
        assigned = parsed;
        EXPECT_EQ(Describe(assigned), Describe(parsed)) << url;
        assigned = CURLParser("http://www.example.com/short");
        EXPECT_EQ(assigned.GetFullURL(), "http://www.example.com/short") << url;
        for (const char* link : {"x", "../longer/link/text/than/before.html?q#f", "#f", "/"}) {
            CURLParser self(url.c_str());
            self.CreateFromRelativeURL(self, link);
            EXPECT_EQ(Describe(self), RelativeGeneral(url, link)) << url << " + " << link;
            CURLParser other(url.c_str());
            other.CreateFromRelativeURL(CURLParser("http://www.example.com/a/b"), link);
            EXPECT_EQ(Describe(other), RelativeGeneral("http://www.example.com/a/b", link))
                << url << " + " << link;
        }
    }
}

// Plain absolute URLs are measured 16 bytes at a time: every byte that
// steers the measure, put at every position of URLs of several lengths (so
// that it falls at each place of a piece, in the overlapping last piece and
// in the padded copy of a short text), gives what the general way gives.
TEST(URLFastPath, EveryByteAtEveryPositionOfPlainURLsGivesWhatTheGeneralWayGives) {
    static const char* const kSteering[] = {
        "/",  ".",    "..",   "?",   "#", ":", ":80", ":443", "@",  "A",  "Z",  "\\",   " ",
        "\t", "\x7f", "\xe9", "%2e", "[", "]", "/.",  "./",   "?#", "#?", ":8", "/:80", "a"};
    const std::vector<std::string> urls = {
        "http://h/",
        "https://h/x",
        "http://ab.cd/ef",
        "http://www.example.com/dir/sub/file.html",
        "https://www.example.com/a/",
        "http://a.example.org/1234567890/1234567890/1234567890/1234567890/1234567890/x.js",
    };
    std::size_t cases = 0;
    for (const std::string& url : urls) {
        for (std::size_t at = 0; at <= url.size(); ++at) {
            for (const char* piece : kSteering) {
                std::string inserted = url;
                inserted.insert(at, piece);
                EXPECT_EQ(Describe(CURLParser(inserted.c_str())), AbsoluteGeneral(inserted))
                    << inserted;
                if (at < url.size()) {
                    std::string replaced = url;
                    replaced.replace(at, 1, piece);
                    EXPECT_EQ(Describe(CURLParser(replaced.c_str())), AbsoluteGeneral(replaced))
                        << replaced;
                }
                cases += 2;
            }
        }
    }
    EXPECT_GT(cases, 9000u);
}

// Hosts and paths of every length up to a few pieces, so that the host's
// end, the last "/" and the end of the text fall at every place of a piece.
TEST(URLFastPath, HostsAndPathsOfEveryLengthGiveWhatTheGeneralWayGives) {
    for (const char* scheme : {"http://", "https://"}) {
        for (std::size_t host = 1; host <= 40; ++host) {
            for (std::size_t path = 0; path <= 40; path += (path < 20 ? 1 : 7)) {
                std::string url = scheme + std::string(host, 'h') + "/";
                for (std::size_t k = 0; k < path; ++k)
                    url += k % 6 == 5 ? '/' : static_cast<char>('a' + k % 26);
                const CURLParser parsed(url.c_str());
                EXPECT_EQ(Describe(parsed), AbsoluteGeneral(url)) << url;
                EXPECT_EQ(parsed.GetFullURL(), url);
                EXPECT_EQ(parsed.GetHost(), std::string(host, 'h'));
                std::string withQuery = url + "?q=/x/./y#f";
                EXPECT_EQ(Describe(CURLParser(withQuery.c_str())), AbsoluteGeneral(withQuery))
                    << withQuery;
            }
        }
    }
}

// Shapes the measure leaves to the other ways, and its boundary cases.
TEST(URLFastPath, BoundaryAbsoluteURLsGiveWhatTheGeneralWayGives) {
    const std::vector<std::string> urls = {
        "",
        "h",
        "http",
        "http:",
        "http:/",
        "http://",
        "http:///",
        "http:////x",
        "http://h",
        "http://h/",
        "http://h?",
        "http://h#",
        "http://h/?",
        "http://h/#",
        "http://h/?#",
        "http://h/#?",
        "http://h/a?b/c#d/e",
        "http://h/a#b/c",
        "http://h:80/",
        "http://h:80",
        "http://h:8080/x",
        "https://h:443/",
        "https://h:80/",
        "http://h/:80",
        "http://h/x:8",
        "https://h/x:44",
        "https://h/x:443",
        "http://h/x?y=:80",
        "http://u@h/",
        "http://u:p@h/x",
        "http://:p@h/",
        "http://@h/",
        "http://[::1]/x",
        "http://[::1]:8080/x",
        "http://[fe80::1%25eth0]/",
        "http://h/%41%2e/b",
        "http://h/%2e%2e/x",
        "http://h/a%20b",
        "http://h/a b",
        "http://H/",
        "http://h.EXAMPLE.com/",
        "HTTP://h/",
        "Http://h/",
        "httpx://h/",
        "https:h/",
        "http:h/",
        "http:\\\\h\\x",
        "http://h\\x",
        "http://./x",
        "http://../x",
        "http://h./x",
        "http://h/.",
        "http://h/..",
        "http://h/./",
        "http://h/.x",
        "http://h/x.",
        "http://h/x./y",
        "http://h//x",
        "http://h/x//",
        "ftp://h/x",
        "file://h/x",
        "mailto:a@h",
        "javascript:x",
        "news:x",
        "foo://h/x",
        "http://h/\x7f",
        "http://h/\x80",
        "http://h/?\xe9",
        "http://h/#\xe9",
        "http://h/\x01",
    };
    for (const std::string& url : urls)
        EXPECT_EQ(Describe(CURLParser(url.c_str())), AbsoluteGeneral(url)) << url;
    // Very long URLs, plain and with the bytes that stop the measure near
    // the end.
    std::string longPath;
    for (int k = 0; k < 700; ++k)
        longPath += "seg" + std::to_string(k) + "/";
    for (const char* tail : {"", "f.html", "f.html?q=1", "f.html#x", "x:80", "./y", "A", " "}) {
        const std::string url = "http://www.example.com/" + longPath + tail;
        EXPECT_EQ(Describe(CURLParser(url.c_str())), AbsoluteGeneral(url)) << tail;
    }
}

}  // namespace
