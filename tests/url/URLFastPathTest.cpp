// The parser takes the common http and https URLs apart in one pass; for
// every URL it must give exactly what the general way (canonicalize, then
// crack) gives. A replaced crack service forces the general way.
#include <gtest/gtest.h>

#include <filesystem>
#include <cstring>
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

}  // namespace
