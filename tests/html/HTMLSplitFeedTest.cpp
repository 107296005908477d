// Feeding a page whole or in pieces of any size gives the same tokens and
// the same callbacks.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "HTMLTestSupport.h"
#include "support/TestPaths.h"
#include "webstep/platform/CodePage.h"

using webstep::test::FeedLexer;
using webstep::test::RecordingParser;
using webstep::test::TokenRecorder;

namespace {

std::vector<std::filesystem::path> CorpusPages() {
    const auto dir = webstep::test::RequireShared("corpus/html");
    std::vector<std::filesystem::path> pages;
    if (!std::filesystem::is_directory(dir)) {
        return pages;
    }
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        if (entry.path().extension() == ".html") {
            pages.push_back(entry.path());
        }
    }
    std::sort(pages.begin(), pages.end());
    return pages;
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void ExpectSameTokens(const TokenRecorder& got, const TokenRecorder& want,
                      const std::string& what) {
    ASSERT_EQ(got.tokens.size(), want.tokens.size()) << what;
    for (std::size_t i = 0; i < got.tokens.size(); ++i) {
        ASSERT_EQ(got.tokens[i], want.tokens[i]) << what << ", token " << i;
    }
    ASSERT_EQ(got.batches, want.batches) << what;
    ASSERT_EQ(got.sinks, want.sinks) << what;
}

// Feeds the parser pieces whose sizes come from the generator.
std::vector<std::string> RunRandomPieces(const std::string& page, unsigned seed) {
    RecordingParser p;
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> size(1, 300);
    p.parser.startParse();
    for (std::size_t at = 0; at < page.size();) {
        const std::size_t n = std::min(size(random), page.size() - at);
        p.parser.continueParse(page.data() + at, static_cast<unsigned>(n));
        at += n;
    }
    p.parser.stopParse();
    return p.rec.events;
}

const char* const kShortPage =
    "<html><HEAD><title>Caf&eacute; &amp; more</title><!-- note -->\n"
    "<meta http-equiv=refresh content=\"0; url=/x\"></head>"
    "<body background=bg.gif><form name=f action='/post?a=1&amp;b=2' method=POST>"
    "<input type=text name=q value=\"a\nb\"><select name=s><option value=1 selected>One"
    "<option>Two</select><textarea name=t>x &lt; y</textarea></form>"
    "<script>document.write('<a href=z>');</script><noscript><img src=n.gif></noscript>"
    "<a href=\"p.html\" title='t'>link &#233; &#8364; &#x41;</a><!-- open > tail";

// The tokens of the page fed in one piece.
TokenRecorder WholeFeed(const std::string& page) {
    TokenRecorder whole;
    CHTMLLexer lexer(&whole);
    FeedLexer(lexer, page);
    return whole;
}

}  // namespace

TEST(HTMLSplitFeed, CorpusPagesGiveTheSameTokensWholeAndInPieces) {
    const auto pages = CorpusPages();
    ASSERT_FALSE(pages.empty());
    for (const auto& path : pages) {
        const std::string page = ReadFile(path);
        const TokenRecorder whole = WholeFeed(page);
        EXPECT_GT(whole.tokens.size(), 100u) << path;
        for (std::size_t piece : {1u, 7u, 4096u}) {
            TokenRecorder rec;
            CHTMLLexer lexer(&rec);
            FeedLexer(lexer, page, piece);
            ExpectSameTokens(rec, whole,
                             path.filename().string() + " in pieces of " + std::to_string(piece));
        }
    }
}

TEST(HTMLSplitFeed, CorpusPagesGiveTheSameCallbacksWholeAndInPieces) {
    const auto pages = CorpusPages();
    ASSERT_FALSE(pages.empty());
    for (const auto& path : pages) {
        const std::string page = ReadFile(path);
        RecordingParser whole;
        const auto expected = whole.run(page);
        EXPECT_GT(expected.size(), 50u) << path;
        for (std::size_t piece : {1u, 7u, 4096u}) {
            RecordingParser p;
            EXPECT_EQ(p.run(page, piece), expected)
                << path.filename().string() << " in pieces of " << piece;
        }
        EXPECT_EQ(RunRandomPieces(page, 7), expected) << path.filename().string();
    }
}

TEST(HTMLSplitFeed, ShortPageCutAtEveryPositionGivesTheSameCallbacks) {
    const std::string page = kShortPage;
    RecordingParser whole;
    const auto expected = whole.run(page);
    ASSERT_FALSE(expected.empty());
    for (std::size_t cut = 0; cut <= page.size(); ++cut) {
        RecordingParser p;
        p.parser.startParse();
        p.parser.continueParse(page.data(), static_cast<unsigned>(cut));
        p.parser.continueParse(page.data() + cut, static_cast<unsigned>(page.size() - cut));
        p.parser.stopParse();
        ASSERT_EQ(p.rec.events, expected) << "cut at " << cut;
    }
    for (unsigned seed = 1; seed <= 20; ++seed) {
        EXPECT_EQ(RunRandomPieces(page, seed), expected) << "seed " << seed;
    }
}

TEST(HTMLSplitFeed, ShortPageGivesTheExpectedCallbacks) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1);
    RecordingParser p;
    const auto events = p.run(kShortPage);
    webstep::platform::SetProcessCodePage(0);
    const std::vector<std::string> expected = {
        "<html>",
        "<head>",
        "<title>",
        "text:Caf\xe9 & more",
        "</title>",
        "comment: note ",
        "text:\n",
        "<meta http-equiv=refresh content=0; url=/x>",
        "</head>",
        "<body background=bg.gif>",
        "<form name=f action=/post?a=1&b=2 method=POST>",
        "<input type=text name=q value=ab>",
        "<select name=s>",
        "<option value=1 selected>",
        "text:One",
        "<option>",
        "text:Two",
        "</select>",
        "<textarea name=t>",
        "text:x < y",
        "</textarea>",
        "</form>",
        "<script>",
        "</script>",
        "<noscript>",
        "</noscript>",
        "<a href=p.html title=t>",
        "text:link \xe9 \x80 A",
        "</a>",
        "comment: open >",
        "text: tail",
    };
    EXPECT_EQ(events, expected);
}

TEST(HTMLSplitFeed, TokensDoNotDependOnTheCallersBufferAfterTheFeed) {
    // The caller fills one buffer again for every piece and spoils it after
    // each feed: tokens still open at a piece end must have kept their bytes.
    const auto pages = CorpusPages();
    ASSERT_FALSE(pages.empty());
    for (const auto& path : pages) {
        const std::string page = ReadFile(path);
        const TokenRecorder whole = WholeFeed(page);
        for (std::size_t piece : {5u, 64u, 4096u}) {
            TokenRecorder rec;
            CHTMLLexer lexer(&rec);
            std::string buffer(piece, '\0');
            for (std::size_t at = 0; at < page.size(); at += piece) {
                const std::size_t n = std::min(piece, page.size() - at);
                buffer.assign(page, at, n);
                lexer.feed(buffer.data(), static_cast<unsigned>(n));
                buffer.assign(n, 'Z');
            }
            lexer.feed(nullptr, 0);
            ExpectSameTokens(
                rec, whole,
                path.filename().string() + " from a reused buffer of " + std::to_string(piece));
        }
    }
}

TEST(HTMLSplitFeed, CommentOfManyTokensFedInTinyPiecesTakesLinearTime) {
    // 240,000 tokens stay pending until the comment ends; every piece end
    // must only look at the tokens of its own piece.
    std::string page = "<!--";
    for (int i = 0; i < 120000; ++i) {
        page += "ab-";
    }
    page += "-->";
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    const std::clock_t start = std::clock();
    FeedLexer(lexer, page, 8);
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    ASSERT_EQ(rec.tokens.size(), 240003u);
    EXPECT_EQ(rec.tokens[2].text, "ab");
    EXPECT_EQ(rec.tokens[3].text, "-");
    EXPECT_LT(seconds, 1.0);
}
