// Long runs (text, comment text, quoted values, skipped sections, bytes of a
// JIS sequence) are one token whatever their length and wherever the pieces
// are cut; trailing white space of names is cut by whole characters.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "HTMLTestSupport.h"
#include "webstep/platform/CodePage.h"
#include "support/HeapInUse.h"

using webstep::test::FeedLexer;
using webstep::test::RecordedToken;
using webstep::test::TokenRecorder;
using webstep::test::Tokens;
using Strings = std::vector<std::string>;

namespace {

class CodePageGuard {
public:
    explicit CodePageGuard(unsigned cp) { webstep::platform::SetProcessCodePage(cp); }
    ~CodePageGuard() { webstep::platform::SetProcessCodePage(0); }
};

std::vector<RecordedToken> AllTokens(const std::string& text, std::size_t piece) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec, true);
    FeedLexer(lexer, text, piece);
    return rec.tokens;
}

// A run body of the given length: letters, spaces, a newline now and then
// and a NUL byte, none of which ends any run.
std::string Body(std::size_t length) {
    std::string s;
    s.reserve(length);
    for (std::size_t i = 0; s.size() < length; ++i) {
        s += i % 61 == 60 ? '\n' : (i % 97 == 50 ? '\0' : static_cast<char>('a' + i % 26));
    }
    return s;
}

struct RunCase {
    const char* name;
    std::string before;
    std::string after;
    int sink;
    const char* kind;  // the token that holds the run, with its prefix
    std::string prefix;
    std::string suffix;
};

std::vector<RunCase> Cases() {
    return {
        {"text", "<p>", "</p>", HTML_SINK_TAG_DATA, "Data", "", ""},
        {"comment", "<!--", "-->", HTML_SINK_AUX_MARKUP, "Comment", "", ""},
        {"double-quoted value", "<a href=\"", "\">", HTML_SINK_TAG_DATA, "Literal", "\"", "\""},
        {"single-quoted value", "<a href='", "'>", HTML_SINK_TAG_DATA, "Literal", "'", "'"},
        {"JIS bytes", "\x1b$B", "\x1b(B", HTML_SINK_AUX_MARKUP, "(multi-byte encoding)", "", ""},
    };
}

TEST(HTMLLongRun, RunIsOneTokenAtEveryLengthAndPieceSize) {
    for (const RunCase& c : Cases()) {
        for (std::size_t length : {1, 15, 16, 17, 31, 32, 33, 4095, 4096, 4097, 70000}) {
            const std::string body = Body(length);
            const std::string page = "<b>" + c.before + body + c.after + "<i>";
            const std::vector<RecordedToken> whole = AllTokens(page, 0);
            int runs = 0;
            for (const RecordedToken& t : whole) {
                if (t.sink == c.sink && CHTMLLexer::TokenName(t.kind) == std::string(c.kind)) {
                    ++runs;
                    EXPECT_EQ(t.text, c.prefix + body + c.suffix) << c.name << " " << length;
                }
            }
            EXPECT_EQ(runs, 1) << c.name << " " << length;
            for (std::size_t piece : {1, 2, 7, 16, 17, 1000, 4096}) {
                if (piece < 16 && length > 5000) {
                    continue;  // covered by the shorter runs, and slow
                }
                EXPECT_EQ(AllTokens(page, piece), whole)
                    << c.name << " of " << length << " bytes in pieces of " << piece;
            }
        }
    }
}

TEST(HTMLLongRun, SkippedSectionOfAnyLengthIsReportedOnceAndEnds) {
    for (std::size_t length : {15, 16, 17, 5000}) {
        const std::string page = "<![ " + Body(length) + " ]]>after";
        const std::vector<RecordedToken> whole = AllTokens(page, 0);
        int skipping = 0;
        for (const RecordedToken& t : whole) {
            skipping += t.text == "declaration subset: skipping" ? 1 : 0;
        }
        EXPECT_EQ(skipping, 1) << length;
        EXPECT_EQ(whole.back().text, "DEBUG: EOF reached");
        EXPECT_EQ(Tokens(page), (Strings{"Data:after"})) << length;
        for (std::size_t piece : {1, 16, 17, 4096}) {
            EXPECT_EQ(AllTokens(page, piece), whole) << length << " in pieces of " << piece;
        }
    }
}

TEST(HTMLLongRun, LongRunCountsItsLines) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec, true);
    std::string page = "<p>";
    for (int i = 0; i < 1000; ++i) {
        page += "a line of text that goes on for a while\n";
    }
    FeedLexer(lexer, page, 4096);
    EXPECT_EQ(lexer.line(), 1001);
}

TEST(HTMLLongRun, RunEndsAtEachOfItsStopBytes) {
    const std::string run(40, 'r');
    EXPECT_EQ(Tokens(run + "<b>" + run),
              (Strings{"Data:" + run, "Start Tag:<b", "Tag Close:>", "Data:" + run}));
    EXPECT_EQ(Tokens(run + "&amp;" + run),
              (Strings{"Data:" + run, "Entity:&amp", "RefC:;", "Data:" + run}));
    EXPECT_EQ(Tokens(run + "]" + run), (Strings{"Data:" + run, "Data:]", "Data:" + run}));
    EXPECT_EQ(Tokens(run + "\x1b" + run), (Strings{"Data:" + run, "Data:\x1b", "Data:" + run}));
    EXPECT_EQ(Tokens("<!--" + run + "-" + run + "-->", HTML_SINK_AUX_MARKUP),
              (Strings{"Markup Decl:<!", "Comment:" + run, "Comment:-", "Comment:" + run,
                       "Tag Close:>"}));
}

// Tokens with the line counter of the batch that carried them. The line of
// a message is left out: the note that a section is skipped is given when
// its first bytes are met, and that line depends on where the piece ends.
class LineRecorder : public CHTMLTokenSink {
public:
    void onTokens(HTMLTokenSinkId sink, const CHTMLTokenBatch& batch) override {
        std::string b = std::to_string(sink);
        if (sink != HTML_SINK_ERR_LIM) {
            b += "@" + std::to_string(batch.line);
        }
        for (int i = 0; i < batch.count; ++i) {
            b += "|" + std::string(CHTMLLexer::TokenName(batch.kinds[i])) + ":" +
                 std::string(batch.texts[i], batch.lengths[i]);
        }
        batches.push_back(b);
    }
    std::vector<std::string> batches;
};

std::vector<std::string> BatchesCutAt(const std::string& page, std::size_t first,
                                      std::size_t second) {
    LineRecorder rec;
    CHTMLLexer lexer(&rec, true);
    // An empty piece would end the input: only the others are fed.
    for (const auto& [from, to] : {std::pair{std::size_t{0}, first}, std::pair{first, second},
                                   std::pair{second, page.size()}}) {
        if (to > from) {
            lexer.feed(page.data() + from, static_cast<unsigned>(to - from));
        }
    }
    lexer.feed(nullptr, 0);
    EXPECT_EQ(lexer.line(), 1 + static_cast<int>(std::count(page.begin(), page.end(), '\n')));
    return rec.batches;
}

// The batches of the page fed whole.
std::vector<std::string> WholeBatches(const std::string& page) {
    return BatchesCutAt(page, page.size(), page.size());
}

// Every pair of cuts: pieces that begin inside, at the start and at the end
// of a run, and pieces a run fills completely.
void ExpectTheSameBatchesAtEveryPairOfCuts(const std::string& page,
                                           const std::vector<std::string>& whole,
                                           const std::string& label) {
    for (std::size_t first = 0; first <= page.size(); ++first) {
        for (std::size_t second = first; second <= page.size(); ++second) {
            ASSERT_EQ(BatchesCutAt(page, first, second), whole)
                << label << "cut at " << first << " and " << second;
        }
    }
}

TEST(HTMLLongRun, RunOpeningAPieceGivesTheSameBatchesAndLinesAsTheWholeFeed) {
    std::vector<RunCase> cases = Cases();
    cases.push_back({"skipped section", "<![", "]]>", HTML_SINK_ERR_LIM, "", "", ""});
    cases.push_back({"declaration subset", "<!doctype x [", "]>", HTML_SINK_ERR_LIM, "", "", ""});
    const std::string body = "ab\ncd e\n\nf";
    for (const RunCase& c : cases) {
        // Text before and after, so that runs meet other tokens on both sides.
        const std::string page = "x\n<b>y" + c.before + body + c.after + "z\n<i>w";
        const std::vector<std::string> whole = WholeBatches(page);
        ASSERT_FALSE(whole.empty()) << c.name;
        ExpectTheSameBatchesAtEveryPairOfCuts(page, whole, std::string(c.name) + ", ");
    }
}

TEST(HTMLLongRun, QuotedValueCutAnywhereGivesTheSameTokensAndWarning) {
    const std::string page = "x<a title=\"a>b=\" href='p\nq' alt=\"\">y<!doctype \"d>=\">z";
    const std::vector<std::string> whole = WholeBatches(page);
    ASSERT_NE(std::find(whole.begin(), whole.end(), "2|!!Warning!!:missing attribute end-quote?"),
              whole.end());
    ExpectTheSameBatchesAtEveryPairOfCuts(page, whole, "");
}

TEST(HTMLLongRunNames, AsciiNameLosesTrailingWhiteSpace) {
    EXPECT_EQ(Tokens("<p Name  \t=v>"),
              (Strings{"Start Tag:<p", "Attr Name:name", "Name Token:v", "Tag Close:>"}));
}

TEST(HTMLLongRunNames, MultiByteSpaceAtTheEndOfANameIsCut) {
    CodePageGuard guard(webstep::platform::CP_UTF8);
    // U+3000 ideographic space after the name; U+00E9 inside it stays.
    EXPECT_EQ(Tokens("<p n\xC3\xA9\xE3\x80\x80>"),
              (Strings{"Start Tag:<p", "Attr Name:", "Name:n\xC3\xA9", "Tag Close:>"}));
    EXPECT_EQ(Tokens("<p n\xE3\x80\x80x>"),
              (Strings{"Start Tag:<p", "Attr Name:", "Name:n\xE3\x80\x80x", "Tag Close:>"}));
}

TEST(HTMLLongRunNames, ShiftJisSpaceWhoseTrailByteIsAsciiIsCutWhole) {
    CodePageGuard guard(webstep::platform::CP_SHIFT_JIS);
    // 0x81 0x40 is the ideographic space; its trail byte is "@".
    EXPECT_EQ(Tokens("<p n\x81\x40>"),
              (Strings{"Start Tag:<p", "Attr Name:", "Name:n", "Tag Close:>"}));
    // 0x82 0x4F (a full-width digit, trail byte "O") is no space and stays.
    EXPECT_EQ(Tokens("<p n\x82\x4f>"),
              (Strings{"Start Tag:<p", "Attr Name:", "Name:n\x82\x4f", "Tag Close:>"}));
}

}  // namespace

namespace {

TEST(HTMLLongRunNames, ShiftJisSpaceAtTheEndOfAnUnquotedValueIsCutWhole) {
    CodePageGuard guard(webstep::platform::CP_SHIFT_JIS);
    EXPECT_EQ(Tokens("<p a=n\x81\x40>"),
              (Strings{"Start Tag:<p", "Attr Name:a", "Literal:n", "Tag Close:>"}));
    EXPECT_EQ(Tokens("<p a=n\x82\x4f>"),
              (Strings{"Start Tag:<p", "Attr Name:a", "Name Token:n\x82\x4f", "Tag Close:>"}));
    // An ASCII byte after an ASCII byte is a character of its own.
    EXPECT_EQ(Tokens("<p a=\x81\x40x@>"),
              (Strings{"Start Tag:<p", "Attr Name:a", "Literal:\x81\x40x@", "Tag Close:>"}));
}

}  // namespace

namespace {

using webstep::test::HeapInUse;

TEST(HTMLLexerBuffer, PageFedWholeHoldsABufferOfItsOwnSizeNotTheNextPowerOfTwo) {
    // Tags all the way, so that no run is taken straight from the caller's
    // bytes and the engine needs room for the whole call.
    std::string page;
    while (page.size() < 600000) {
        page += "<b class=x>y</b>\n";
    }
    CHTMLLexer lexer(nullptr, true);
    const std::size_t before = HeapInUse();
    lexer.feed(page.data(), static_cast<unsigned>(page.size()));
    const std::size_t grown = HeapInUse() - before;
    // A buffer rounded up to 1 MiB would be 1.75 times the page.
    EXPECT_LT(grown, page.size() * 5 / 4) << "heap grew by " << grown << " bytes";
    lexer.feed(nullptr, 0);
}

}  // namespace
