// The page scanner fed in pieces whose sizes come from the input: the page
// model (forms, fields, links, maps, frames, title) must be the same as for
// the page fed in one piece, and every count must match what can be read.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "webstep/html/HTMLPageDump.h"
#include "webstep/html/HTMLScanner.h"

namespace {

std::unique_ptr<CHTMLScanner> Scan(const std::string& page, const std::vector<size_t>& pieces) {
    auto scanner = std::make_unique<CHTMLScanner>();
    scanner->startParse();
    size_t i = 0;
    for (size_t at = 0; at < page.size();) {
        size_t n = pieces.empty() ? page.size() : pieces[i++ % pieces.size()];
        n = std::min(n, page.size() - at);
        scanner->continueParse(page.data() + at, static_cast<unsigned>(n));
        at += n;
    }
    scanner->endParse();
    return scanner;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(in.Byte()));
    std::vector<size_t> pieces;
    const size_t count = in.Byte() % 16;
    for (size_t i = 0; i < count; ++i)
        pieces.push_back(in.Byte() + 1u);
    const std::string page = in.Rest();

    auto whole = Scan(page, {});
    auto split = Scan(page, pieces);
    FUZZ_CHECK(CHTMLPageDump::Text(*whole) == CHTMLPageDump::Text(*split));
    const MString json = CHTMLPageDump::Json(*whole);
    FUZZ_CHECK(!json.empty() && json.front() == '{' && json.back() != ',');

    FUZZ_CHECK(whole->nForms() >= 0 && whole->nLinks() >= 0 && whole->nMaps() >= 0);
    for (int f = 0; f < whole->nForms(); ++f)
        FUZZ_CHECK(whole->form(static_cast<unsigned>(f)) != nullptr);
    for (int l = 0; l < whole->nLinks(); ++l)
        FUZZ_CHECK(whole->link(static_cast<unsigned>(l)) != nullptr);
    for (int m = 0; m < whole->nMaps(); ++m)
        FUZZ_CHECK(whole->map(static_cast<unsigned>(m)) != nullptr);
    if (page.empty())
        FUZZ_CHECK(whole->isEmpty());

    webstep::platform::SetProcessCodePage(0);
    return 0;
}
