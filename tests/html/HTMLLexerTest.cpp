// The token engine: token kinds, start conditions, messages, normalisation,
// pieces and the diagnostic dump.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "HTMLTestSupport.h"
#include "webstep/platform/CodePage.h"

using webstep::test::FeedLexer;
using webstep::test::TokenRecorder;
using webstep::test::Tokens;
using Strings = std::vector<std::string>;

namespace {

constexpr int kTag = HTML_SINK_TAG_DATA;
constexpr int kAux = HTML_SINK_AUX_MARKUP;
constexpr int kErr = HTML_SINK_ERR_LIM;

class CodePageGuard {
public:
    explicit CodePageGuard(unsigned cp) { webstep::platform::SetProcessCodePage(cp); }
    ~CodePageGuard() { webstep::platform::SetProcessCodePage(0); }
};

}  // namespace

TEST(HTMLLexerTokens, TokenNumbersAndNames) {
    EXPECT_EQ(HTML_TOKEN_DATA, 1);
    EXPECT_EQ(HTML_TOKEN_MARKUP_DECL, 14);
    EXPECT_EQ(HTML_TOKEN_UNTERMINATED_MB, 23);
    EXPECT_STREQ(CHTMLLexer::TokenName(1), "Data");
    EXPECT_STREQ(CHTMLLexer::TokenName(2), "Start Tag");
    EXPECT_STREQ(CHTMLLexer::TokenName(4), "Tag Close");
    EXPECT_STREQ(CHTMLLexer::TokenName(8), "Name Token");
    EXPECT_STREQ(CHTMLLexer::TokenName(12), "RefC");
    EXPECT_STREQ(CHTMLLexer::TokenName(13), "Processing Instruction");
    EXPECT_STREQ(CHTMLLexer::TokenName(16), "!!Limitation!!");
    EXPECT_STREQ(CHTMLLexer::TokenName(17), "!!Error!!");
    EXPECT_STREQ(CHTMLLexer::TokenName(18), "!!Warning!!");
    EXPECT_STREQ(CHTMLLexer::SinkLabel(HTML_SINK_TAG_DATA), "Tag/Data");
    EXPECT_STREQ(CHTMLLexer::SinkLabel(HTML_SINK_AUX_MARKUP), "Aux Markup");
    EXPECT_STREQ(CHTMLLexer::SinkLabel(HTML_SINK_ERR_LIM), "Err/Lim");
}

TEST(HTMLLexerTokens, StartTagWithAttributeIsNormalised) {
    EXPECT_EQ(Tokens("<FORM ACTION=x>"),
              (Strings{"Start Tag:<form", "Attr Name:action", "Name Token:x", "Tag Close:>"}));
}

// Names are checked for upper-case letters a word at a time, with
// overlapping loads at the tail: a capital at any position of a name of any
// length is lowered, and the bytes just outside A-Z ('@', '[') stay as they
// are.
TEST(HTMLLexerTokens, NamesOfEveryLengthAreLoweredWhereverTheCapitalStands) {
    for (std::size_t length = 1; length <= 24; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (const char capital : {'A', 'Z', 'Q'}) {
                std::string name(length, 'k');
                name[at] = capital;
                std::string lowered = name;
                lowered[at] = static_cast<char>(capital + 32);
                const std::string attr = "d" + name.substr(1);
                const std::string attrLowered = "d" + lowered.substr(1);
                const Strings tokens = Tokens("<" + name + " " + (at == 0 ? attr : name) + "=v>");
                ASSERT_EQ(tokens.size(), 4u) << name;
                EXPECT_EQ(tokens[0], "Start Tag:<" + lowered) << name;
                EXPECT_EQ(tokens[1], "Attr Name:" + (at == 0 ? attrLowered : lowered)) << name;
            }
            std::string odd(length, 'k');
            odd[at] = at == 0 ? 'k' : (at % 2 == 0 ? '@' : '[');
            EXPECT_EQ(Tokens("<a " + odd + "=v>")[1], "Attr Name:" + odd) << odd;
        }
    }
}

TEST(HTMLLexerTokens, WithoutNormalisationNamesKeepCaseAndEqualsSign) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec, false);
    FeedLexer(lexer, "<FORM ACTION = x>");
    EXPECT_EQ(rec.of(kTag),
              (Strings{"Start Tag:<FORM", "Attr Name:ACTION = ", "Name Token:x", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, AttributeNameLosesSpacesAndEqualsSign) {
    EXPECT_EQ(Tokens("<a HREF \t=\n y>"),
              (Strings{"Start Tag:<a", "Attr Name:href", "Name Token:y", "Tag Close:>"}));
}

// Every white space byte before an attribute name is left out of the name,
// fed whole or cut anywhere.
TEST(HTMLLexerTokens, EveryKindOfWhiteSpaceBeforeANameIsLeftOut) {
    const std::string page = "<a \t\n\r\f\vHREF = \"x y\"\v\fchecked\r\n\tid='z'>";
    const Strings want{"Start Tag:<a", "Attr Name:href", "Literal:\"x y\"", "Attr Name:",
                       "Name:checked", "Attr Name:id",   "Literal:'z'",     "Tag Close:>"};
    EXPECT_EQ(Tokens(page), want);
    for (std::size_t piece = 1; piece < page.size(); ++piece) {
        EXPECT_EQ(Tokens(page, kTag, piece), want) << "pieces of " << piece;
    }
}

TEST(HTMLLexerTokens, BareNameGivesEmptyAttrNameThenName) {
    EXPECT_EQ(Tokens("<input CHECKED>"),
              (Strings{"Start Tag:<input", "Attr Name:", "Name:checked", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, QuotedValuesKeepQuotesAndCase) {
    EXPECT_EQ(Tokens("<a title='A b' alt=\"C>d\">"),
              (Strings{"Start Tag:<a", "Attr Name:title", "Literal:'A b'", "Attr Name:alt",
                       "Literal:\"C>d\"", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, NumberInsideTagIsANumberToken) {
    EXPECT_EQ(Tokens("<td 100 width=50>"),
              (Strings{"Start Tag:<td", "Number:100", "Attr Name:width", "Name Token:50",
                       "Tag Close:>"}));
}

TEST(HTMLLexerTokens, QuotedValueEndingInEqualsQuoteWithGreaterThanWarns) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<a href=\"x?y=><img src=\">");
    EXPECT_TRUE(rec.hasMessage("missing attribute end-quote?"));
    EXPECT_EQ(rec.of(kTag)[2], "Literal:\"x?y=><img src=\"");
}

TEST(HTMLLexerTokens, QuotedValueWithoutTheSuspiciousEndDoesNotWarn) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<a href=\"x=y\" title=\"a>b\">");
    EXPECT_FALSE(rec.hasMessage("missing attribute end-quote?"));
}

TEST(HTMLLexerTokens, UnquotedValueThatNeedsQuotesIsAnErrorAndALiteral) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<a href=/x/y?z=1>");
    EXPECT_TRUE(rec.hasMessage("attribute value needs quotes"));
    EXPECT_EQ(rec.of(kTag),
              (Strings{"Start Tag:<a", "Attr Name:href", "Literal:/x/y?z=1", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, TagCloseWhereValueExpected) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<a href=>x");
    EXPECT_TRUE(rec.hasMessage("Tag close found where attribute value expected"));
    EXPECT_EQ(rec.of(kTag), (Strings{"Start Tag:<a", "Attr Name:href", "Tag Close:>", "Data:x"}));
}

TEST(HTMLLexerTokens, BadCharacterInTagIsReportedAndSkipped) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<br/>");
    EXPECT_TRUE(rec.hasMessage("bad character in tag"));
    EXPECT_EQ(rec.of(kTag), (Strings{"Start Tag:<br", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, LessThanInsideTagEndsItAsUnclosed) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<a href=x <b>");
    EXPECT_TRUE(rec.hasMessage("Unclosed tags not supported"));
    EXPECT_EQ(rec.of(kTag), (Strings{"Start Tag:<a", "Attr Name:href", "Name Token:x",
                                     "Start Tag:<b", "Tag Close:>"}));
    // The unclosed tag went out in a batch of its own, without a Tag Close.
    ASSERT_GE(rec.batches.size(), 2u);
    EXPECT_EQ(rec.sinks[1], kTag);
    EXPECT_EQ(rec.batches[1], 3);
}

TEST(HTMLLexerTokens, EndTagInsideEndTagClosesTheFirst) {
    EXPECT_EQ(Tokens("</a </B>"),
              (Strings{"End Tag:</a", "Tag Close:", "End Tag:</b", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, EmptyStartAndEndTagsAreLimitations) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "a<>b</>c");
    EXPECT_TRUE(rec.hasMessage("empty start tag not supported"));
    EXPECT_TRUE(rec.hasMessage("empty end tag not supported"));
}

TEST(HTMLLexerTokens, LoneLessThanAndAmpersandAreData) {
    EXPECT_EQ(Tokens("a < b & c"), (Strings{"Data:a ", "Data:<", "Data: b ", "Data:&", "Data: c"}));
}

TEST(HTMLLexerTokens, EntityReferenceWithItsTerminator) {
    EXPECT_EQ(Tokens("&amp;"), (Strings{"Entity:&amp", "RefC:;"}));
    // A newline terminator is white space, which normalisation cuts away.
    EXPECT_EQ(Tokens("&amp\nx"), (Strings{"Entity:&amp", "RefC:", "Data:x"}));
    EXPECT_EQ(Tokens("&amp x"), (Strings{"Entity:&amp", "Data: x"}));
}

TEST(HTMLLexerTokens, CharacterReferencesDecimalAndHexadecimal) {
    EXPECT_EQ(Tokens("&#233;&#xE9;&#X41"),
              (Strings{"CharRef:&#233", "RefC:;", "CharRef:&#xE9", "RefC:;", "CharRef:&#X41"}));
}

TEST(HTMLLexerTokens, MalformedCharacterReferenceIsAnError) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "&#;");
    EXPECT_TRUE(rec.hasMessage("bad character in character reference"));
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:&#", "Data:;"}));
}

TEST(HTMLLexerTokens, NamedCharacterReferenceIsALimitation) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "&#SPACE;");
    EXPECT_TRUE(rec.hasMessage("named character references are not supported"));
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:&#SPACE;"}));
}

TEST(HTMLLexerTokens, CommentGoesToTheAuxiliarySink) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "x<!-- a-b -->y");
    EXPECT_EQ(rec.of(kAux),
              (Strings{"Markup Decl:<!", "Comment: a", "Comment:-", "Comment:b ", "Tag Close:>"}));
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:x", "Data:y"}));
}

TEST(HTMLLexerTokens, DeclarationNameIsLowered) {
    EXPECT_EQ(Tokens("<!DOCTYPE HTML PUBLIC \"-//W3C\">", kAux),
              (Strings{"Markup Decl:<!doctype", "Name:html", "Name:public", "Literal:\"-//W3C\"",
                       "Tag Close:>"}));
}

TEST(HTMLLexerTokens, DoubleHyphenInsideDeclarationStartsAComment) {
    EXPECT_EQ(Tokens("<!x -- c -- >", kAux),
              (Strings{"Markup Decl:<!x", "Comment: c ", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, EmptyDeclarationIsSentAtOnce) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<!>x");
    EXPECT_EQ(rec.of(kAux), (Strings{"Markup Decl:<!", "Tag Close:>"}));
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:x"}));
}

TEST(HTMLLexerTokens, ProcessingInstructionIsSentAtOnce) {
    EXPECT_EQ(Tokens("<?xml version='1.0'?>", kAux),
              (Strings{"Processing Instruction:<?xml version='1.0'?>"}));
}

TEST(HTMLLexerTokens, MarkedSectionIsSkipped) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "a<![CDATA[<b>x</b>]]>c");
    EXPECT_TRUE(rec.hasMessage("marked sections not supported"));
    EXPECT_TRUE(rec.hasMessage("declaration subset: skipping"));
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:a", "Data:c"}));
}

TEST(HTMLLexerTokens, StrayMarkedSectionEndIsAnError) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "a]]>b");
    EXPECT_TRUE(rec.hasMessage("unmatched marked sections end"));
}

TEST(HTMLLexerTokens, DeclarationSubsetIsSkippedAndTheDeclarationClosed) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<!DOCTYPE x [ <!ENTITY a 'b'> ]>t<p>");
    EXPECT_TRUE(rec.hasMessage("declaration subset not supported"));
    EXPECT_TRUE(rec.hasMessage("declaration subset: skipping"));
    EXPECT_EQ(rec.of(kAux), (Strings{"Markup Decl:<!doctype", "Name:x", "Tag Close:>"}));
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:t", "Start Tag:<p", "Tag Close:>"}));
}

TEST(HTMLLexerTokens, JisSequenceGivesMultiByteTokens) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "a\x1b$B0!<>\x1b(Bb");
    ASSERT_EQ(rec.of(kAux).size(), 3u);
    EXPECT_EQ(rec.tokens[1].kind, HTML_TOKEN_MB_START);
    EXPECT_EQ(rec.tokens[1].text, "\x1b$B");
    EXPECT_EQ(rec.tokens[2].kind, HTML_TOKEN_MB_BYTES);
    EXPECT_EQ(rec.tokens[2].text, "0!<>");
    EXPECT_EQ(rec.tokens[3].kind, HTML_TOKEN_MB_END);
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:a", "Data:b"}));
}

TEST(HTMLLexerTokens, SecondJisOpeningFormHasItsOwnCondition) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    lexer.feed("\x1b$(D", 4);
    EXPECT_EQ(lexer.condition(), HTML_COND_MB_2);
    lexer.reset();
    lexer.feed("\x1b$B", 3);
    EXPECT_EQ(lexer.condition(), HTML_COND_MB_1);
}

TEST(HTMLLexerEndOfInput, InNormalTextReportsDebugEof) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "abc");
    EXPECT_EQ(rec.messages(), (Strings{"!!Error!!:DEBUG: EOF reached"}));
    EXPECT_EQ(lexer.condition(), HTML_COND_TEXT);
}

TEST(HTMLLexerEndOfInput, InsideTagClosesIt) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<a href=x");
    EXPECT_TRUE(rec.hasMessage("Unexpected EOF : tag left unclosed"));
    EXPECT_EQ(rec.of(kTag),
              (Strings{"Start Tag:<a", "Attr Name:href", "Name Token:x", "Tag Close:"}));
    EXPECT_EQ(lexer.condition(), HTML_COND_TEXT);
}

TEST(HTMLLexerEndOfInput, InsideQuotedValueClosesTheTag) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<a href=\"x");
    EXPECT_TRUE(rec.hasMessage("Unexpected EOF : tag left unclosed"));
    EXPECT_EQ(rec.of(kTag),
              (Strings{"Start Tag:<a", "Attr Name:href", "Literal:\"x", "Tag Close:"}));
}

TEST(HTMLLexerEndOfInput, InsideCommentReportsKind19AfterFlushing) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "<!-- never closed > x");
    ASSERT_FALSE(rec.tokens.empty());
    EXPECT_EQ(rec.tokens.back().kind, HTML_TOKEN_UNTERMINATED_COMMENT);
    EXPECT_EQ(rec.tokens.back().text,
              "Unexpected EOF : markup declaration or comment left unclosed");
    EXPECT_EQ(rec.of(kAux), (Strings{"Markup Decl:<!", "Comment: never closed > x"}));
}

TEST(HTMLLexerEndOfInput, InsideJisSequenceReportsKind23AfterFlushing) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "\x1b$B0!");
    ASSERT_FALSE(rec.tokens.empty());
    EXPECT_EQ(rec.tokens.back().kind, HTML_TOKEN_UNTERMINATED_MB);
    EXPECT_EQ(rec.tokens.back().text, "Unexpected EOF : JIS encoding left unclosed");
    EXPECT_EQ(rec.of(kAux).size(), 2u);
}

TEST(HTMLLexerEndOfInput, EndingTwiceWithoutInputDoesNothing) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, "abc");
    const std::size_t n = rec.tokens.size();
    lexer.feed(nullptr, 0);
    EXPECT_EQ(rec.tokens.size(), n);
}

TEST(HTMLLexerEndOfInput, ResetDropsAnUnfinishedToken) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    lexer.feed("<inp", 4);
    lexer.reset();
    FeedLexer(lexer, "x");
    EXPECT_EQ(rec.of(kTag), (Strings{"Data:x"}));
}

TEST(HTMLLexerNormalisation, MultiByteLettersAreLoweredThroughTheCodePage) {
    CodePageGuard guard(webstep::platform::CP_UTF8);
    EXPECT_EQ(
        Tokens("<x\xC3\x84Y \xC3\x96=1>"),
        (Strings{"Start Tag:<x\xC3\xA4y", "Attr Name:\xC3\xB6", "Name Token:1", "Tag Close:>"}));
}

TEST(HTMLLexerNormalisation, ValuesAndTextKeepTheirCaseAndSpaces) {
    EXPECT_EQ(Tokens("A B <p v=XY>C "), (Strings{"Data:A B ", "Start Tag:<p", "Attr Name:v",
                                                 "Name Token:XY", "Tag Close:>", "Data:C "}));
}

TEST(HTMLLexerNormalisation, EightBitAndNulBytesPassThroughAsData) {
    const std::string text("a\0b\xff\xfe", 5);
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, text);
    ASSERT_EQ(rec.of(kTag).size(), 1u);
    EXPECT_EQ(rec.tokens[0].text, text);
}

TEST(HTMLLexerLines, LineCounterCountsNewlinesOfConsumedInput) {
    TokenRecorder rec;
    struct LineSink : CHTMLTokenSink {
        std::vector<int> lines;
        void onTokens(HTMLTokenSinkId, const CHTMLTokenBatch& b) override {
            lines.push_back(b.line);
        }
    } sink;
    CHTMLLexer lexer(&sink);
    FeedLexer(lexer, "<p>\n\n<a\nhref=x>");
    ASSERT_GE(sink.lines.size(), 3u);
    EXPECT_EQ(sink.lines[0], 1);
    EXPECT_EQ(sink.lines[2], 4);
    EXPECT_EQ(lexer.line(), 4);
}

TEST(HTMLLexerDump, PrintsEveryBatchInTheDiagnosticFormat) {
    char* data = nullptr;
    std::size_t size = 0;
    std::FILE* out = open_memstream(&data, &size);
    ASSERT_NE(out, nullptr);
    {
        CHTMLLexer lexer(nullptr);
        lexer.setDump(true, out);
        FeedLexer(lexer, "<A HREF=x>t\n<!--c-->");
    }
    std::fclose(out);
    const std::string dump(data, size);
    std::free(data);
    EXPECT_EQ(dump,
              "\nline 1: [Tag/Data]\n"
              "Start Tag: `<a'\n"
              "  Attr Name: `href'\n"
              "  Name Token: `x'\n"
              "  Tag Close: `>'\n"
              "\nline 2: [Tag/Data]\n"
              "Data: `t\n'\n"
              "\nline 2: [Aux Markup]\n"
              "Markup Decl: `<!'\n"
              "  Comment: `c'\n"
              "  Tag Close: `>'\n"
              "\nline 2: [Err/Lim]\n"
              "!!Error!!: `DEBUG: EOF reached'\n");
}

// A long unfinished token (here a processing instruction) makes the engine
// keep the next pieces unscanned for a while; a quoted value that then begins
// in those kept bytes and ends in the new piece is copied together, and the
// check for a missing end quote reads the copy, not where the bytes were
// before the copy grew: the warning comes as for the page fed whole.
TEST(HTMLLexerPieces, QuotedValueFromKeptBytesIntoTheNewPieceIsReadWhole) {
    for (const std::size_t instruction : {100u, 160u, 300u}) {
        for (const std::size_t value : {20u, 25u, 40u, 130u}) {
            const std::string page = "<b title=\"" + std::string(60, 'a') + "\"><?" +
                                     std::string(instruction, 'x') + "><a title=\"" +
                                     std::string(value, 'v') + ">x=\" href=\"" +
                                     std::string(value, 'w') + "\">t</a>" + std::string(300, 'z');
            TokenRecorder whole;
            {
                CHTMLLexer lexer(&whole);
                FeedLexer(lexer, page);
            }
            ASSERT_TRUE(whole.hasMessage("missing attribute end-quote?"));
            for (std::size_t piece = 1; piece <= 160; ++piece) {
                TokenRecorder rec;
                CHTMLLexer lexer(&rec);
                FeedLexer(lexer, page, piece);
                ASSERT_EQ(rec.tokens, whole.tokens) << "instruction " << instruction << ", value "
                                                    << value << ", pieces of " << piece;
            }
        }
    }
}

TEST(HTMLLexerPieces, TagSplitAcrossTwoPiecesIsOneTag) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    lexer.feed("<inp", 4);
    EXPECT_TRUE(rec.tokens.empty());
    lexer.feed("ut name=a>", 10);
    EXPECT_EQ(rec.of(kTag),
              (Strings{"Start Tag:<input", "Attr Name:name", "Name Token:a", "Tag Close:>"}));
    EXPECT_EQ(rec.batches.size(), 1u);
}

TEST(HTMLLexerPieces, EveryCutPositionGivesTheSameTokens) {
    const std::string page =
        "<!DOCTYPE html><HTML><head><title>T &amp; t</title></head>\n"
        "<body bgcolor=#fff><!-- c - d --><a href=\"x.html\" title='y'>l&#233;&#x20AC;</a>"
        "<![CDATA[z]]>&copy\n<?pi x?><form action=/f method=post><input name=n value=\"v=>\">"
        "<script>if (a<b) x='<form>';</script>\x1b$B0!\x1b(B &nbsp;end";
    TokenRecorder whole;
    {
        CHTMLLexer lexer(&whole);
        FeedLexer(lexer, page);
    }
    for (std::size_t cut = 1; cut < page.size(); ++cut) {
        TokenRecorder rec;
        CHTMLLexer lexer(&rec);
        lexer.feed(page.data(), static_cast<unsigned>(cut));
        lexer.feed(page.data() + cut, static_cast<unsigned>(page.size() - cut));
        lexer.feed(nullptr, 0);
        ASSERT_EQ(rec.tokens, whole.tokens) << "cut at " << cut;
        ASSERT_EQ(rec.batches, whole.batches) << "cut at " << cut;
    }
    for (std::size_t piece : {1u, 2u, 3u, 5u, 7u, 13u}) {
        TokenRecorder rec;
        CHTMLLexer lexer(&rec);
        FeedLexer(lexer, page, piece);
        for (std::size_t i = 0; i < rec.tokens.size() && i < whole.tokens.size(); ++i) {
            ASSERT_EQ(rec.tokens[i], whole.tokens[i]) << "pieces of " << piece << ", token " << i;
        }
        ASSERT_EQ(rec.tokens.size(), whole.tokens.size()) << "pieces of " << piece;
    }
}

TEST(HTMLLexerPieces, LongTextRunInSmallPiecesIsOneToken) {
    const std::string run(500 * 1024, 'x');
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, run + "<p>", 4096);
    ASSERT_EQ(rec.of(kTag).size(), 3u);
    EXPECT_EQ(rec.tokens[0].text.size(), run.size());
}

TEST(HTMLLexerPieces, LongQuotedValueAndCommentInSingleBytes) {
    const std::string value(20000, 'v');
    const std::string comment(20000, 'c');
    const std::string page = "<a title=\"" + value + "\"><!--" + comment + "-->";
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, page, 1);
    EXPECT_EQ(rec.of(kTag)[2], "Literal:\"" + value + "\"");
    EXPECT_EQ(rec.of(kAux)[1], "Comment:" + comment);
}

TEST(HTMLLexerPieces, LongUnfinishedTokensInSingleBytesStayLinear) {
    // Tokens that are not runs are kept whole until they end; in single
    // bytes they must not be scanned again for every byte.
    const std::string blob(300000, 'b');
    const std::string page = "<img src=data:" + blob + " alt=x><?" + blob + "><" + blob + ">";
    TokenRecorder whole;
    {
        CHTMLLexer lexer(&whole);
        FeedLexer(lexer, page);
    }
    TokenRecorder rec;
    CHTMLLexer lexer(&rec);
    FeedLexer(lexer, page, 1);
    EXPECT_EQ(rec.tokens, whole.tokens);
    EXPECT_EQ(rec.of(kTag)[2], "Name Token:data:" + blob);
    EXPECT_EQ(rec.of(kAux)[0], "Processing Instruction:<?" + blob + ">");
}

TEST(HTMLLexerThreads, TwoEnginesInTwoThreadsAreIndependent) {
    std::string page;
    for (int i = 0; i < 2000; ++i) {
        page += "<a href=\"u" + std::to_string(i) + "\">t&amp;" + std::to_string(i) + "</a>\n";
    }
    TokenRecorder expected;
    {
        CHTMLLexer lexer(&expected);
        FeedLexer(lexer, page);
    }
    TokenRecorder a;
    TokenRecorder b;
    std::thread ta([&] {
        CHTMLLexer lexer(&a);
        FeedLexer(lexer, page, 3);
    });
    std::thread tb([&] {
        CHTMLLexer lexer(&b);
        FeedLexer(lexer, page, 11);
    });
    ta.join();
    tb.join();
    EXPECT_EQ(a.tokens, expected.tokens);
    EXPECT_EQ(b.tokens, expected.tokens);
}
