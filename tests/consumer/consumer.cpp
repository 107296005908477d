// Uses the library as an outside program does: a step call parsed through
// the parser repository, a page scanned, a URL cracked and combined, and a
// settings file read back. Prints what it found and exits 1 on the first
// answer that is not the expected one.
#include <webstep/webstep.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

namespace {

int failures = 0;

void Expect(bool ok, const char* what) {
    std::printf("%s: %s\n", ok ? "ok" : "FAILED", what);
    if (!ok)
        ++failures;
}

void ParseStep() {
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(repository.CreateObject("web_url")));
    Expect(parser != nullptr, "the repository knows web_url");
    if (!parser)
        return;
    const char* args[] = {"home", "URL=http://example.org/index.html", "Mode=HTML", "LAST"};
    bool parsed = parser->ParseArguments(4, args, WPF_CREATE_STEP);
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    Expect(parsed, "web_url with a URL parses");
    auto* url = dynamic_cast<CWebStepUrl*>(step.get());
    Expect(url != nullptr && url->GetUrl() == "http://example.org/index.html",
           "the step object is a URL step holding the URL");

    std::unique_ptr<CWebStepParse> bad(
        static_cast<CWebStepParse*>(repository.CreateObject("web_url")));
    const char* noUrl[] = {"home", "Mode=HTML", "LAST"};
    Expect(!bad->ParseArguments(3, noUrl, WPF_CREATE_STEP) &&
               bad->GetLastErrorInfo().GetCode() == WSE_MISSING_ATTRIBUTE,
           "web_url without a URL is refused with the missing-attribute error");
    delete bad->GetDataStep();
}

void ScanPage() {
    const char page[] =
        "<html><head><title>Loans</title></head><body>"
        "<a href=\"/books\">Books</a>"
        "<form action=\"/login\" method=\"post\"><input name=\"user\"><input type=\"submit\">"
        "</form></body></html>";
    CHTMLScanner scanner;
    scanner.startParse();
    scanner.continueParse(page, static_cast<unsigned>(std::strlen(page)));
    scanner.endParse();
    Expect(scanner.title() != nullptr && std::strcmp(scanner.title(), "Loans") == 0,
           "the scanned page has its title");
    Expect(scanner.nForms() == 1, "the scanned page has one form");
    Expect(scanner.nLinks() >= 1, "the scanned page has its link");
}

void CrackUrl() {
    CURLParser url("http://user:pw@example.org:8080/a/b?q=1");
    Expect(url.GetHost() == "example.org" && url.GetPortInt() == 8080,
           "host and port of a cracked URL");
    CURLParser relative(url, "../c");
    Expect(relative.GetFullURL() == "http://example.org:8080/c",
           "a relative URL combined with its base (user information left out)");
}

void ReadSettings() {
    const char* path = "consumer-settings.cfg";
    {
        std::ofstream out(path);
        out << "[WEB]\r\nHttpVer=1.0\r\nKeepAlive=No\r\n";
    }
    CRunTimeSettings settings;
    settings.ReadFromFile(path);
    Expect(settings.GetHttpVer() == "1.0" && !settings.GetKeepAlive(),
           "settings read from the WEB section");
    std::remove(path);
}

}  // namespace

int main() {
    std::printf("webstep %s\n", webstep::GetVersion());
    ParseStep();
    ScanPage();
    CrackUrl();
    ReadSettings();
    return failures == 0 ? 0 : 1;
}
