// White space in the texts the page scanner collects, in the UTF-8 code
// page: multi-byte spaces count as white space, other multi-byte characters
// (CJK text) never do.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "HTMLScannerTestSupport.h"
#include "webstep/html/HTMLFormElement.h"
#include "webstep/platform/CodePage.h"

using webstep::test::ScanPage;

namespace {

class Utf8CodePage {
public:
    Utf8CodePage() { webstep::platform::SetProcessCodePage(webstep::platform::CP_UTF8); }
    ~Utf8CodePage() { webstep::platform::SetProcessCodePage(0); }
};

const char* OptionText(const std::string& option) {
    static std::unique_ptr<CHTMLScanner> scanner;
    scanner = ScanPage("<form><select name=m><option>" + option + "</select></form>");
    auto* menu = dynamic_cast<CHTMLMenu*>(scanner->form(0)->element(0));
    return menu != nullptr && menu->nItems() == 1 ? menu->item(0)->text() : nullptr;
}

TEST(HTMLScannerSpaces, MultiByteSpacesAreTrimmedAndJoined) {
    Utf8CodePage utf8;
    // U+3000, U+2003 and U+1680 around and between two words.
    EXPECT_STREQ(OptionText("\xE3\x80\x80one\xE2\x80\x83\xE1\x9A\x80two\xE3\x80\x80"), "one two");
}

TEST(HTMLScannerSpaces, CjkTextAndLatinLettersAreKept) {
    Utf8CodePage utf8;
    // Chinese characters and Latin letters with a C3 lead byte.
    EXPECT_STREQ(OptionText(" \xE6\x96\xB0\xE5\x8D\x8E \xC3\xA9t\xC3\xA9 "),
                 "\xE6\x96\xB0\xE5\x8D\x8E \xC3\xA9t\xC3\xA9");
}

}  // namespace
