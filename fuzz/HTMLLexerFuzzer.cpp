// The HTML lexer fed in pieces whose sizes come from the input: the token
// stream and the parser callbacks must be the same as for the page fed in
// one piece, in every code page.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "html/HTMLTestSupport.h"

namespace {

// Input layout: code page selector, count of piece sizes, the sizes (one
// byte each, 0 read as 1), then the page.
struct Plan {
    unsigned int codePage;
    std::vector<size_t> pieces;
    std::string page;
};

Plan MakePlan(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    Plan plan;
    plan.codePage = webstep::fuzz::PickCodePage(in.Byte());
    const size_t count = in.Byte() % 16;
    for (size_t i = 0; i < count; ++i)
        plan.pieces.push_back(in.Byte() + 1u);
    plan.page = in.Rest();
    return plan;
}

template <typename Feed>
void InPieces(const Plan& plan, Feed feed) {
    size_t i = 0;
    for (size_t at = 0; at < plan.page.size();) {
        size_t n = plan.pieces.empty() ? plan.page.size() : plan.pieces[i++ % plan.pieces.size()];
        n = std::min(n, plan.page.size() - at);
        feed(plan.page.data() + at, static_cast<unsigned>(n));
        at += n;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using webstep::test::RecordingParser;
    using webstep::test::TokenRecorder;
    const Plan plan = MakePlan(data, size);
    webstep::platform::SetProcessCodePage(plan.codePage);

    TokenRecorder whole;
    {
        CHTMLLexer lexer(&whole);
        lexer.feed(plan.page.data(), static_cast<unsigned>(plan.page.size()));
        lexer.feed(nullptr, 0);
    }
    TokenRecorder split;
    {
        CHTMLLexer lexer(&split);
        InPieces(plan, [&](const char* p, unsigned n) { lexer.feed(p, n); });
        lexer.feed(nullptr, 0);
    }
    FUZZ_CHECK(whole.tokens == split.tokens);
    // Tag and data tokens are cut out of the page (messages are not).
    for (const auto& token : whole.tokens)
        if (token.sink == HTML_SINK_TAG_DATA)
            FUZZ_CHECK(token.text.size() <= plan.page.size());

    RecordingParser wholeParser;
    const std::vector<std::string> expected = wholeParser.run(plan.page);
    RecordingParser splitParser;
    splitParser.parser.startParse();
    InPieces(plan, [&](const char* p, unsigned n) { splitParser.parser.continueParse(p, n); });
    splitParser.parser.stopParse();
    FUZZ_CHECK(splitParser.rec.merged() == wholeParser.rec.merged());

    webstep::platform::SetProcessCodePage(0);
    return 0;
}
