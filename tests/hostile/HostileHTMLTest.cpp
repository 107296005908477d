// Hostile pages: very large pages, deep nesting of unclosed tags, very many
// forms, very long attribute values, NUL bytes and broken multi-byte
// sequences. Each is scanned without a crash, keeps what it holds, and costs
// time in proportion to its size.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "HostileSupport.h"
#include "html/HTMLTestSupport.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/html/HTMLPageDump.h"
#include "webstep/html/HTMLScanner.h"
#include "webstep/platform/CodePage.h"

using webstep::test::MeasureScaling;
using webstep::test::PeakResidentBytes;
using webstep::test::Repeat;
using webstep::test::Sized;

namespace {

std::unique_ptr<CHTMLScanner> Scan(const std::string& page, std::size_t piece = 0) {
    auto scanner = std::make_unique<CHTMLScanner>();
    scanner->startParse();
    if (piece == 0)
        piece = std::max<std::size_t>(page.size(), 1);
    for (std::size_t at = 0; at < page.size(); at += piece) {
        const std::size_t n = std::min(piece, page.size() - at);
        scanner->continueParse(page.data() + at, static_cast<unsigned>(n));
    }
    scanner->endParse();
    return scanner;
}

// A piece of an ordinary page: text, links, a form with fields, a comment,
// a script and entities.
const char* const kOrdinaryPiece =
    "<div class=\"row\"><p>Some text &amp; more &#233; text</p>"
    "<a href=\"/item?id=1&amp;x=2\">item</a><img src=\"/i.gif\" alt=\"\">"
    "<form action=\"/s\" method=post><input type=text name=q value=\"v\">"
    "<select name=s><option value=1>One<option selected>Two</select>"
    "<textarea name=t>a &lt; b</textarea><input type=submit value=Go></form>"
    "<!-- a comment --><script>var s = '<a href=x>';</script></div>\n";

class CodePageScope {
public:
    explicit CodePageScope(unsigned int page) { webstep::platform::SetProcessCodePage(page); }
    ~CodePageScope() { webstep::platform::SetProcessCodePage(0); }
};

}  // namespace

// The named size is 50 MB; under a sanitizer the page is 4 MB (the full size
// takes minutes there).
TEST(HostileHTML, LargePageIsScannedInTimeProportionalToItsSize) {
    const std::string piece = kOrdinaryPiece;
    const std::size_t size = Sized(50u << 20, 4u << 20);
    const std::string page = Repeat(piece, size);
    const std::size_t copies = page.size() / piece.size();
    const std::size_t before = PeakResidentBytes();
    auto scanner = Scan(page, 1 << 16);
    EXPECT_EQ(scanner->nForms(), static_cast<int>(copies));
    EXPECT_GE(scanner->nLinks(), static_cast<int>(copies));
    const CHTMLForm* last = scanner->form(static_cast<unsigned>(copies - 1));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->nElements(), 4);
    scanner.reset();
    // The model of a page full of forms and links is larger than the page,
    // but by a bounded factor (a sanitizer adds shadow memory, red zones and
    // a quarantine of freed blocks).
    const std::size_t grown = PeakResidentBytes() - before;
    const std::size_t factor = webstep::test::kSanitized ? 200 : 40;
    EXPECT_LT(grown, factor * page.size() + (64u << 20));
    std::printf("peak memory grew by %.1f times the page size\n",
                static_cast<double>(grown) / static_cast<double>(page.size()));

    const auto scaling = MeasureScaling([&](std::size_t n) { Scan(Repeat(piece, n), 1 << 16); },
                                        Sized(1u << 20, 256u << 10), 8);
    EXPECT_LT(scaling.ratio(), 8 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileHTML, MillionNestedUnclosedTagsAreScannedInLinearTime) {
    const std::string nest = "<div><span><b><i><font size=2><table><tr><td><ul><li>";
    const std::size_t tags = 1000000;
    std::string page = Repeat(nest, nest.size() * (tags / 10));
    page += "<form action=/deep><input name=q value=1></form><a href=/end>end</a>";
    auto scanner = Scan(page);
    ASSERT_EQ(scanner->nForms(), 1);
    EXPECT_STREQ(scanner->form(0)->action(), "/deep");
    ASSERT_GE(scanner->nLinks(), 1);
    EXPECT_STREQ(scanner->link(static_cast<unsigned>(scanner->nLinks() - 1))->url(), "/end");

    // Open elements that are never closed, each one inside the last.
    const auto scaling = MeasureScaling([&](std::size_t n) { Scan(Repeat(nest, nest.size() * n)); },
                                        Sized(20000, 5000), 10);
    EXPECT_LT(scaling.ratio(), 10 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

// The named count is 100,000; under a sanitizer the page has 20,000 forms.
TEST(HostileHTML, HundredThousandFormsAreAllKeptAndTheLastOneMatches) {
    std::string page;
    const int forms = static_cast<int>(Sized(100000, 20000));
    page.reserve(static_cast<std::size_t>(forms) * 80);
    for (int i = 0; i < forms; ++i)
        page += "<form action=/f" + std::to_string(i) + "><input name=q" + std::to_string(i) +
                " value=v><input type=submit name=go value=Go></form>";
    auto scanner = Scan(page);
    ASSERT_EQ(scanner->nForms(), forms);
    CHTMLForm* last = scanner->form(forms - 1);
    EXPECT_EQ(std::string(last->action()), "/f" + std::to_string(forms - 1));
    CForm form(nullptr, last, false, "");
    CDataSet set;
    const std::string name = "q" + std::to_string(forms - 1);
    set.AddData(new CData(name, "hostile", CData::RT_LITERAL, CData::RT_LITERAL,
                          CData::DT_UNSPECIFIED, true, "", "", false, "", "", ""));
    EXPECT_TRUE(form.SetToDataSet(&set));
    MString body, boundary;
    form.GetSubmitArgs(body, boundary);
    EXPECT_NE(body.find(name + "=hostile"), MString::npos) << body;

    const auto scaling = MeasureScaling(
        [&](std::size_t n) {
            std::string p;
            for (std::size_t i = 0; i < n; ++i)
                p += "<form action=/f><input name=q value=v></form>";
            Scan(p);
        },
        Sized(5000, 1000), 10);
    EXPECT_LT(scaling.ratio(), 10 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileHTML, TenMegabyteAttributeValueIsKeptWhole) {
    const std::size_t size = 10u << 20;
    const std::string value(size, 'v');
    for (const char* quote : {"\"", "'", ""}) {
        SCOPED_TRACE(std::string("quote ") + quote);
        const std::string page = std::string("<a href=") + quote + "/" + value + quote + ">x</a>";
        auto scanner = Scan(page, 4096);
        ASSERT_EQ(scanner->nLinks(), 1);
        const char* url = scanner->link(0)->url();
        ASSERT_NE(url, nullptr);
        EXPECT_EQ(std::strlen(url), size + 1);
    }
    // Fed in small pieces the value costs linear time too.
    const auto scaling = MeasureScaling(
        [&](std::size_t n) { Scan("<a href=\"" + std::string(n, 'v') + "\">x</a>", 512); },
        Sized(1u << 20, 256u << 10), 8);
    EXPECT_LT(scaling.ratio(), 8 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileHTML, NulBytesInsideAPageLoseNothingAfterThem) {
    std::string page = "<html><title>a";
    page += '\0';
    page += "b</title><body>text";
    page += std::string(3, '\0');
    page += "more<a hr";
    page += '\0';
    page += "ef=x href=\"/a";
    page += '\0';
    page += "b\">l</a><form action=/f><input name=\"n";
    page += '\0';
    page += "\" value=v></form><a href=/after>after</a>";
    for (std::size_t piece : {std::size_t{0}, std::size_t{1}, std::size_t{7}}) {
        SCOPED_TRACE(piece);
        auto scanner = Scan(page, piece);
        EXPECT_EQ(scanner->nForms(), 1);
        ASSERT_GE(scanner->nLinks(), 2);
        EXPECT_STREQ(scanner->link(static_cast<unsigned>(scanner->nLinks() - 1))->url(), "/after");
    }
    EXPECT_EQ(CHTMLPageDump::Text(*Scan(page)), CHTMLPageDump::Text(*Scan(page, 1)));
}

// In every code page: a lead byte at the very end of the input, a lead byte
// just before a tag, bytes that are not valid in the code page, and cut
// UTF-8 sequences. The tag that follows is still seen, whole or in pieces.
TEST(HostileHTML, BrokenMultiByteSequencesInEveryCodePageKeepTheTagsThatFollow) {
    const std::vector<std::string> broken = {
        "\x81",     "\x83",         "\xA4",        "\xFE",         "\xFF",
        "\xE2\x82", "\xF0\x9D\x84", "\xC0\xAF",    "\xED\xA0\x80", "\x8E",
        "\x8F\xA1", "\x81\x30\x81", "\x80\x80\x80"};
    const unsigned int pages[] = {1252, 932, 936, 949, 950, 65001, 51932, 54936, 1251, 28591};
    for (unsigned int codePage : pages) {
        CodePageScope scope(codePage);
        for (const std::string& bad : broken) {
            SCOPED_TRACE(std::to_string(codePage) + " " + ::testing::PrintToString(bad));
            const std::string page = "<p title=\"" + bad + "\">" + bad + "<a href=/one>" + bad +
                                     "</a><!-- " + bad + " --><a href=/two>x</a>" + bad;
            std::string whole;
            for (std::size_t piece : {std::size_t{0}, std::size_t{1}, std::size_t{3}}) {
                auto scanner = Scan(page, piece);
                ASSERT_EQ(scanner->nLinks(), 2);
                EXPECT_STREQ(scanner->link(1)->url(), "/two");
                if (piece == 0)
                    whole = CHTMLPageDump::Text(*scanner);
                else
                    EXPECT_EQ(CHTMLPageDump::Text(*scanner), whole);
            }
            // The input ends inside the character.
            auto cut = Scan("<a href=/x>" + bad);
            EXPECT_EQ(cut->nLinks(), 1);
        }
    }
}

// An ISO-2022 opening escape takes the bytes after it as double-byte text
// until the closing one, so here only the absence of harm is asked: the same
// model whole and in pieces, in every code page, closed or not.
TEST(HostileHTML, CutAndUnclosedJisSequencesInEveryCodePageAreHarmless) {
    const std::vector<std::string> sequences = {"\x1B$B",
                                                "\x1B$@",
                                                "\x1B$",
                                                "\x1B",
                                                "\x1B$B\x30",
                                                "\x1B$B\x30\x21\x1B(B",
                                                "\x1B$B\x30\x21\x1B(",
                                                "\x1B(J"};
    const unsigned int pages[] = {1252, 932, 936, 949, 950, 65001, 51932, 54936};
    for (unsigned int codePage : pages) {
        CodePageScope scope(codePage);
        for (const std::string& jis : sequences) {
            SCOPED_TRACE(std::to_string(codePage) + " " + ::testing::PrintToString(jis));
            const std::string page = "<a href=/one>" + jis + "</a><title>" + jis + "</title>" + jis;
            const MString whole = CHTMLPageDump::Text(*Scan(page));
            EXPECT_EQ(CHTMLPageDump::Text(*Scan(page, 1)), whole);
            EXPECT_EQ(Scan(page)->nLinks(), 1);
        }
    }
}
