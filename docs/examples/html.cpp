// HTML scanning and the page model: a page fed in two pieces, then its
// title, forms with their elements and links read from the scanner.
#include <webstep/html/HTMLForm.h>
#include <webstep/html/HTMLFormElement.h>
#include <webstep/html/HTMLLink.h>
#include <webstep/html/HTMLPageDump.h>
#include <webstep/html/HTMLScanner.h>

#include <cstdio>
#include <cstring>

int main() {
    const char part1[] =
        "<html><head><title>Library loans</title></head><body>\n"
        "<a href=\"/books?page=2\">Next</a> <img src=\"/logo.png\">\n"
        "<form name=\"login\" action=\"/login\" meth";
    // A piece may end anywhere, even inside a tag.
    const char part2[] =
        "od=\"post\">\n"
        "<input name=\"card\"> <input type=\"password\" name=\"pin\">\n"
        "<select name=\"branch\"><option>North<option selected>South</select>\n"
        "<input type=\"submit\" value=\"Sign in\">\n"
        "</form></body></html>\n";

    CHTMLScanner scanner;  // the built-in link table
    scanner.startParse();
    scanner.continueParse(part1, sizeof part1 - 1);
    scanner.continueParse(part2, sizeof part2 - 1);
    scanner.endParse();

    std::printf("title: %s\n", scanner.title() ? scanner.title() : "(none)");
    for (int i = 0; i < scanner.nLinks(); ++i) {
        CHTMLLink* link = scanner.link(i);
        std::printf("link %d: %s (%s)\n", i + 1, link->url(),
                    link->isResource() ? "resource" : "followable");
    }
    if (scanner.nForms() != 1)
        return 1;
    CHTMLForm* form = scanner.form(0);
    std::printf("form %s: %s %s, %d elements\n", form->name(),
                form->method() == CHTMLForm::METHOD_POST ? "POST" : "GET", form->action(),
                form->nElements());
    for (int i = 0; i < form->nElements(); ++i) {
        CHTMLFormElement* element = form->element(i);
        std::printf("  %s %s\n", CHTMLPageDump::TypeName(element->type()),
                    element->name() ? element->name() : "(no name)");
    }

    // The whole model as text (JSON through CHTMLPageDump::Json).
    std::printf("%s", CHTMLPageDump::Text(scanner).c_str());
    return std::strcmp(scanner.title(), "Library loans") == 0 && form->nElements() == 4 &&
                   scanner.nLinks() >= 2
               ? 0
               : 1;
}
