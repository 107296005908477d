// URLs: an absolute URL split into its parts, a relative one resolved
// against it, a text that is no URL, and a path with dot segments.
#include <webstep/url/URLParser.h>

#include <cstdio>

int main() {
    CURLParser page("http://loans.example.org:8080/app/books/list.jsp?page=2#top");
    if (!page.IsValid())
        return 1;
    std::printf("protocol %s host %s port %u\n", page.GetProtocol().c_str(), page.GetHost().c_str(),
                page.GetPortInt());
    std::printf("path %s file %s search %s label %s\n", page.GetPath().c_str(),
                page.GetFile().c_str(), page.GetSearch().c_str(), page.GetLabel().c_str());

    // Relative against the page: the usual browser rules.
    CURLParser next(page, "../members/login.jsp?from=books");
    std::printf("combined: %s\n", next.GetFullURLWithSearch().c_str());

    // No scheme, no base: not a URL. Getters of an invalid URL give empty texts.
    CURLParser broken("not a url");
    std::printf("\"not a url\" valid: %s\n", broken.IsValid() ? "yes" : "no");

    MString path = "/a/./b/../c";
    CURLParser::NormalizePath(path);
    std::printf("normalised path: %s\n", path.c_str());

    return page.GetHost() == "loans.example.org" && page.GetPortInt() == 8080 && next.IsValid() &&
                   next.GetHost() == "loans.example.org" && !broken.IsValid()
               ? 0
               : 1;
}
