// The lexer as its clients see it: callbacks, attributes, references,
// comment-mode tags, JIS sequences and the end of parsing.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "HTMLTestSupport.h"
#include "webstep/platform/CodePage.h"

using webstep::test::EventRecorder;
using webstep::test::RecordingParser;
using Strings = std::vector<std::string>;

namespace {

class CodePageGuard {
public:
    explicit CodePageGuard(unsigned cp) { webstep::platform::SetProcessCodePage(cp); }
    ~CodePageGuard() { webstep::platform::SetProcessCodePage(0); }
};

Strings Parse(const std::string& page, std::size_t piece = 0) {
    RecordingParser p;
    return p.run(page, piece);
}

std::string TextOf(const std::string& page) {
    RecordingParser p(false, true);
    std::string text;
    for (const auto& e : p.run(page)) {
        if (e.rfind("text:", 0) == 0) {
            text += e.substr(5);
        }
    }
    return text;
}

std::string AttrValue(const std::string& value) {
    std::vector<char> buffer(value.begin(), value.end());
    buffer.push_back('\0');
    CHTMLBaseParser::processAttrValue(buffer.data());
    return std::string(buffer.data());
}

}  // namespace

TEST(HTMLBaseParser, UpperCaseFormTagIsDeliveredWithLowerCaseAttributeName) {
    RecordingParser p;
    p.run("<FORM ACTION=x>");
    EXPECT_EQ(p.rec.lastTag, HTML_FORM);
    EXPECT_EQ(p.rec.lastTag, 128);
    ASSERT_EQ(p.rec.lastAttrs.size(), 1);
    EXPECT_STREQ(p.rec.lastAttrs[0]->name(), "action");
    EXPECT_STREQ(p.rec.lastAttrs[0]->value(), "x");
}

TEST(HTMLBaseParser, StrongIsNeverDeliveredToACallback) {
    EXPECT_EQ(Parse("<strong>b</strong><STRONG>"), (Strings{"text:b"}));
}

TEST(HTMLBaseParser, TagSplitAcrossTwoPiecesIsDeliveredOnceWhole) {
    RecordingParser p;
    p.parser.startParse();
    p.parser.continueParse("<inp", 4);
    EXPECT_TRUE(p.rec.events.empty());
    p.parser.continueParse("ut name=a>", 10);
    EXPECT_EQ(p.rec.events, (Strings{"<input name=a>"}));
    p.parser.stopParse();
    EXPECT_EQ(p.rec.events, (Strings{"<input name=a>"}));
}

TEST(HTMLBaseParser, KnownEntitiesAreDecodedInText) {
    EXPECT_EQ(TextOf("&amp;&lt;"), "&<");
    EXPECT_EQ(TextOf("&gt;&quot;&nbsp;&yuml;"), "\x3e\x22\xa0\xff");
    EXPECT_EQ(TextOf("&AElig;&aelig;&ETH;&THORN;&Aacute;&Egrave;"), "\xc6\xe6\xd0\xde\xc1\xc8");
}

TEST(HTMLBaseParser, UnknownEntityStaysAsWrittenWithItsSemicolon) {
    EXPECT_EQ(TextOf("&foo;"), "&foo;");
    EXPECT_EQ(TextOf("&foo bar"), "&foo bar");
    EXPECT_EQ(TextOf("&AMP;"), "&AMP;");
}

TEST(HTMLBaseParser, EntityWithoutSemicolonIsStillDecoded) {
    EXPECT_EQ(TextOf("a &amp b"), "a & b");
}

TEST(HTMLBaseParser, NewlineTerminatorOfAReferenceIsSwallowed) {
    EXPECT_EQ(TextOf("x&amp\ny"), "x&y");
    EXPECT_EQ(TextOf("x&foo\ny"), "x&fooy");
}

TEST(HTMLBaseParser, NumericReferenceUpTo255IsOneByte) {
    EXPECT_EQ(TextOf("&#233;"), "\xe9");
    EXPECT_EQ(TextOf("&#xE9;&#X41;&#65"),
              "\xe9"
              "AA");
    EXPECT_EQ(TextOf("&#255;"), "\xff");
}

TEST(HTMLBaseParser, NumericReferenceAboveTheByteRangeGoesThroughTheCodePage) {
    {
        CodePageGuard cp(webstep::platform::CP_LATIN1);
        EXPECT_EQ(TextOf("&#8364;"), "\x80");
        EXPECT_EQ(TextOf("&#x20AC;"), "\x80");
        // No such character in the code page: kept as written.
        EXPECT_EQ(TextOf("&#1488;"), "&#1488;");
    }
    {
        CodePageGuard cp(webstep::platform::CP_UTF8);
        EXPECT_EQ(TextOf("&#8364;"), "\xe2\x82\xac");
    }
}

TEST(HTMLBaseParser, NumericReferenceAboveTheByteRangeNeedsASemicolon) {
    CodePageGuard cp(webstep::platform::CP_UTF8);
    EXPECT_EQ(TextOf("&#8364 x"), "&#8364 x");
}

TEST(HTMLBaseParser, NumericReferenceAbove65535StaysAsWritten) {
    CodePageGuard cp(webstep::platform::CP_UTF8);
    EXPECT_EQ(TextOf("&#128512;"), "&#128512;");
    EXPECT_EQ(TextOf("&#99999999999999999999;"), "&#99999999999999999999;");
}

TEST(HTMLBaseParser, AttributeValueReferencesAreDecoded) {
    RecordingParser p;
    p.run("<a href=\"a&amp;b\" title='&lt;x&gt;'>");
    EXPECT_EQ(p.rec.events, (Strings{"<a href=a&b title=<x>>"}));
}

TEST(HTMLBaseParser, ValueOfADoubleQuoteAndXBecomesX) {
    EXPECT_EQ(AttrValue("\"x"), "x");
    RecordingParser p;
    p.run("<input value=\"x");
    EXPECT_EQ(p.rec.events, (Strings{"<input value=x>"}));
}

TEST(HTMLBaseParser, ValueSpreadOverTwoLinesLosesItsLineBreaks) {
    RecordingParser p;
    p.run("<input value=\"first\r\nsecond\nthird\">");
    EXPECT_EQ(p.rec.events, (Strings{"<input value=firstsecondthird>"}));
}

TEST(HTMLBaseParser, ScriptContentIsCommentText) {
    EXPECT_EQ(Parse("<script>if (a<b) x='<form>';</script>"), (Strings{"<script>", "</script>"}));
}

// Inside a script the token engine still reads tags and quoted values; a
// quoted value that starts in the script swallows its end tag, so the held
// back delivery goes on until the next end tag of a script.
TEST(HTMLBaseParser, QuotedValueStartedInScriptTextSwallowsTheScriptEnd) {
    EXPECT_EQ(Parse("<script>if(0<n)s='it\\'s';</script><b>x</b>'<i>y</i><script></script>z"),
              (Strings{"<script>", "</script>", "text:z"}));
}

TEST(HTMLBaseParser, NoframesAndNoscriptContentIsCommentTextToo) {
    EXPECT_EQ(Parse("<noframes><a href=x>t</a></noframes><NOSCRIPT><img src=y>&amp;</NOSCRIPT>z"),
              (Strings{"<noframes>", "</noframes>", "<noscript>", "</noscript>", "text:z"}));
}

TEST(HTMLBaseParser, OnlyTheEndOfAScriptLikeTagEndsCommentMode) {
    EXPECT_EQ(Parse("<script><!-- x --> <b>y</b></script>z"),
              (Strings{"<script>", "comment: x ", "</script>", "text:z"}));
}

TEST(HTMLBaseParser, UnterminatedCommentEndsAtItsFirstGreaterThanSign) {
    EXPECT_EQ(Parse("<!-- open comment > text <a href=x>"),
              (Strings{"comment: open comment >", "text: text ", "<a href=x>"}));
}

TEST(HTMLBaseParser, UnterminatedCommentWithoutGreaterThanSignTakesTheRest) {
    EXPECT_EQ(Parse("a<!-- open <a"), (Strings{"text:a", "comment: open <a"}));
}

TEST(HTMLBaseParser, SeveralUnterminatedCommentsAreCutOneAfterTheOther) {
    // The rest after the first cut opens a declaration that is never closed
    // either; it is cut again (here it is empty).
    EXPECT_EQ(Parse("<!--a>b<!-- c"), (Strings{"comment:a>", "text:b", "comment:"}));
}

TEST(HTMLBaseParser, AttributeWrittenTwiceIsListedTwiceAndFindReturnsTheFirst) {
    RecordingParser p;
    p.run("<input name=a NAME=b>");
    ASSERT_EQ(p.rec.lastAttrs.size(), 2);
    CHTMLAttr* found = nullptr;
    ASSERT_TRUE(p.rec.lastAttrs.find("name", found));
    EXPECT_STREQ(found->value(), "a");
    EXPECT_STREQ(p.rec.lastAttrs[1]->value(), "b");
}

TEST(HTMLBaseParser, BareAttributeHasNoValue) {
    RecordingParser p;
    p.run("<input checked name=a disabled>");
    EXPECT_EQ(p.rec.events, (Strings{"<input checked name=a disabled>"}));
    CHTMLAttr* found = nullptr;
    ASSERT_TRUE(p.rec.lastAttrs.find("checked", found));
    EXPECT_FALSE(found->hasAValue());
}

TEST(HTMLBaseParser, ValueWithoutANameIsDropped) {
    RecordingParser p;
    p.run("<a \"x\" href=y>");
    EXPECT_EQ(p.rec.events, (Strings{"<a href=y>"}));
}

TEST(HTMLBaseParser, UnknownTagsAreSkippedSilently) {
    EXPECT_EQ(Parse("<foo a=b>x</foo><blink>"), (Strings{"text:x", "<blink>"}));
}

TEST(HTMLBaseParser, EndTagsReachTheirCallback) {
    EXPECT_EQ(Parse("<a href=x>t</A>"), (Strings{"<a href=x>", "text:t", "</a>"}));
}

TEST(HTMLBaseParser, OnlyRegisteredTagsAreDelivered) {
    EventRecorder rec;
    CHTMLBaseParser parser;
    parser.registerTagCallback(HTML_A, &rec);
    parser.startParse();
    const std::string page = "<p><a href=x>l</a><img src=y>";
    parser.continueParse(page.data(), static_cast<unsigned>(page.size()));
    parser.stopParse();
    EXPECT_EQ(rec.events, (Strings{"<a href=x>", "</a>"}));
}

TEST(HTMLBaseParser, CallbackWithdrawnWhileATagIsReadDropsTheTag) {
    EventRecorder rec;
    CHTMLBaseParser parser;
    parser.registerTagCallback(HTML_A, &rec);
    parser.startParse();
    parser.continueParse("<a href=x ", 10);
    parser.registerTagCallback(HTML_A, nullptr);
    parser.continueParse("title=y>", 8);
    parser.stopParse();
    EXPECT_TRUE(rec.events.empty());
}

TEST(HTMLBaseParser, TextIsDeliveredBeforeTheNextTag) {
    EXPECT_EQ(Parse("a <b>c</b> d"), (Strings{"text:a ", "<b>", "text:c", "</b>", "text: d"}));
}

TEST(HTMLBaseParser, WithoutTextCallbackNoTextIsCollected) {
    RecordingParser p(true, false);
    EXPECT_EQ(p.run("a &amp; &#8364; <b>c"), (Strings{"<b>"}));
}

TEST(HTMLBaseParser, CommentsReachTheCommentCallback) {
    EXPECT_EQ(Parse("x<!--a--><p>"), (Strings{"text:x", "comment:a", "<p>"}));
}

TEST(HTMLBaseParser, StopParseDeliversAStartTagLeftOpen) {
    EXPECT_EQ(Parse("t<a href=x"), (Strings{"text:t", "<a href=x>"}));
}

TEST(HTMLBaseParser, StartParseBeginsAFreshPage) {
    RecordingParser p;
    p.parser.startParse();
    p.parser.continueParse("<script><a href=", 16);
    p.run("<p>x");
    // Neither the comment mode of the script nor the half tag survive.
    EXPECT_EQ(p.rec.events, (Strings{"<script>", "<p>", "text:x"}));
}

TEST(HTMLBaseParser, JisSequenceIsConvertedToTheProcessCodePage) {
    CodePageGuard cp(webstep::platform::CP_UTF8);
    // JIS 0x3021 0x3022 are U+4E9C U+5516.
    EXPECT_EQ(TextOf("a\x1b$B0!0\"\x1b(Bb"),
              "a\xe4\xba\x9c\xe5\x94\x96"
              "b");
}

TEST(HTMLBaseParser, JisSequenceSplitIntoPiecesIsConvertedWhole) {
    CodePageGuard cp(webstep::platform::CP_UTF8);
    RecordingParser p(false, true);
    const Strings events = p.run("a\x1b$B0!0\"\x1b(Bb", 1);
    std::string text;
    for (const auto& e : events) {
        text += e.substr(5);
    }
    EXPECT_EQ(text,
              "a\xe4\xba\x9c\xe5\x94\x96"
              "b");
}

TEST(HTMLBaseParser, UnterminatedJisSequenceIsConvertedAtTheEnd) {
    CodePageGuard cp(webstep::platform::CP_UTF8);
    EXPECT_EQ(TextOf("a\x1b$B0!"), "a\xe4\xba\x9c");
}

TEST(HTMLBaseParser, EmptyPageDeliversNothing) {
    EXPECT_TRUE(Parse("").empty());
}

TEST(HTMLBaseParser, GarbageNeverCrashes) {
    std::string page;
    unsigned seed = 12345;
    for (int i = 0; i < 20000; ++i) {
        seed = seed * 1103515245u + 12345u;
        static const char kAlphabet[] = "<>/!-&#;=\"' \nabAB09\x1b$(B[]?\xff\x80";
        page += kAlphabet[(seed >> 16) % (sizeof(kAlphabet) - 1)];
    }
    RecordingParser whole;
    whole.run(page);
    RecordingParser pieces;
    pieces.run(page, 3);
    EXPECT_EQ(whole.rec.merged(), pieces.rec.merged());
}

TEST(HTMLTagNames, TagToStringGivesTheLowerCaseName) {
    EXPECT_STREQ(CHTMLBaseParser::TagToString(HTML_A), "a");
    EXPECT_STREQ(CHTMLBaseParser::TagToString(static_cast<HTMLTag>(128)), "form");
    EXPECT_STREQ(CHTMLBaseParser::TagToString(static_cast<HTMLTag>(170)), "style");
    EXPECT_STREQ(CHTMLBaseParser::TagToString(static_cast<HTMLTag>(171)), "strong");
    EXPECT_STREQ(CHTMLBaseParser::TagToString(static_cast<HTMLTag>(185)), "xmp");
    EXPECT_EQ(CHTMLBaseParser::TagToString(static_cast<HTMLTag>(99)), nullptr);
    EXPECT_EQ(CHTMLBaseParser::TagToString(static_cast<HTMLTag>(186)), nullptr);
    EXPECT_EQ(CHTMLBaseParser::TagToString(HTML_UNKNOWN_TAG), nullptr);
    EXPECT_EQ(CHTMLBaseParser::TagToString(HTML_ALL_TAGS), nullptr);
}

TEST(HTMLTagNames, EveryKnownTagButStrongIsFoundByItsName) {
    for (int tag = HTML_FIRST_KNOWN_TAG; tag <= HTML_LAST_TAG; ++tag) {
        const char* name = CHTMLBaseParser::TagToString(static_cast<HTMLTag>(tag));
        ASSERT_NE(name, nullptr);
        const HTMLTag found =
            CHTMLBaseParser::LookupTag(name, static_cast<unsigned>(std::strlen(name)));
        if (tag == HTML_STRONG) {
            EXPECT_EQ(found, HTML_UNKNOWN_TAG);
        } else {
            EXPECT_EQ(found, tag) << name;
        }
    }
}

TEST(HTMLTagNames, StrongHashesExactlyToTheBound) {
    EXPECT_EQ(CHTMLBaseParser::TagHash("strong", 6), 1095);
    EXPECT_EQ(CHTMLBaseParser::kTagMapSize, 1095);
    EXPECT_EQ(CHTMLBaseParser::LookupTag("strong", 6), HTML_UNKNOWN_TAG);
}

TEST(HTMLTagNames, HashUsesAtMostSixBytesWithTheirWeights) {
    // c0 + 5c1 + 2c2 + 5c3 + 3c4 + c5, bytes less the digit zero.
    EXPECT_EQ(CHTMLBaseParser::TagHash("a", 1), 'a' - '0');
    EXPECT_EQ(CHTMLBaseParser::TagHash("h1", 2), ('h' - '0') + 5 * 1);
    EXPECT_EQ(CHTMLBaseParser::TagHash("abcdefgh", 8), CHTMLBaseParser::TagHash("abcdef", 6));
    EXPECT_EQ(CHTMLBaseParser::TagHash("abcdef", 6), ('a' - '0') + 5 * ('b' - '0') +
                                                         2 * ('c' - '0') + 5 * ('d' - '0') +
                                                         3 * ('e' - '0') + ('f' - '0'));
}

TEST(HTMLTagNames, TheHashIsPerfectOverTheKnownTags) {
    std::vector<int> slots(CHTMLBaseParser::kTagMapSize, 0);
    int filled = 0;
    for (int h = 0; h < CHTMLBaseParser::kTagMapSize; ++h) {
        if (CHTMLBaseParser::theTagMap[h] != 0) {
            ++filled;
            const char* name =
                CHTMLBaseParser::TagToString(static_cast<HTMLTag>(CHTMLBaseParser::theTagMap[h]));
            ASSERT_NE(name, nullptr);
            EXPECT_EQ(CHTMLBaseParser::TagHash(name, static_cast<unsigned>(std::strlen(name))), h);
        }
    }
    EXPECT_EQ(filled, HTML_KNOWN_TAG_COUNT - 1);  // all but strong
}

TEST(HTMLTagNames, NamesThatOnlyShareASlotAreNotFound) {
    EXPECT_EQ(CHTMLBaseParser::LookupTag("formx", 5), HTML_UNKNOWN_TAG);
    EXPECT_EQ(CHTMLBaseParser::LookupTag("for", 3), HTML_UNKNOWN_TAG);
    EXPECT_EQ(CHTMLBaseParser::LookupTag("h7", 2), HTML_UNKNOWN_TAG);
    EXPECT_EQ(CHTMLBaseParser::LookupTag("FORM", 4),
              HTML_UNKNOWN_TAG);  // already lowered by the lexer
    EXPECT_EQ(CHTMLBaseParser::LookupTag("-", 1), HTML_UNKNOWN_TAG);  // negative hash
    EXPECT_EQ(CHTMLBaseParser::LookupTag("", 0), HTML_UNKNOWN_TAG);
    EXPECT_EQ(CHTMLBaseParser::LookupTag("zzzzzz", 6), HTML_UNKNOWN_TAG);
}

TEST(HTMLEntityTable, HasOneHundredRecordsInByteOrder) {
    ASSERT_EQ(CHTMLBaseParser::kEntityCount, 100);
    for (int i = 1; i < CHTMLBaseParser::kEntityCount; ++i) {
        EXPECT_LT(std::strcmp(CHTMLBaseParser::theEntityMap[i - 1].name,
                              CHTMLBaseParser::theEntityMap[i].name),
                  0);
    }
    EXPECT_EQ(sizeof(CHTMLBaseParser::theEntityMap[0].name), 20u);
}

TEST(HTMLEntityTable, EveryRecordIsFoundWithItsValue) {
    for (const auto& record : CHTMLBaseParser::theEntityMap) {
        char out = 0;
        ASSERT_TRUE(CHTMLBaseParser::LookupEntity(
            record.name, static_cast<unsigned>(std::strlen(record.name)), out))
            << record.name;
        EXPECT_EQ(static_cast<unsigned char>(out), record.value) << record.name;
    }
}

TEST(HTMLEntityTable, ValuesAreTheLatin1Codes) {
    char out = 0;
    ASSERT_TRUE(CHTMLBaseParser::LookupEntity("nbsp", 4, out));
    EXPECT_EQ(static_cast<unsigned char>(out), 0xA0);
    ASSERT_TRUE(CHTMLBaseParser::LookupEntity("szlig", 5, out));
    EXPECT_EQ(static_cast<unsigned char>(out), 0xDF);
    ASSERT_TRUE(CHTMLBaseParser::LookupEntity("THORN", 5, out));
    EXPECT_EQ(static_cast<unsigned char>(out), 0xDE);
    ASSERT_TRUE(CHTMLBaseParser::LookupEntity("quot", 4, out));
    EXPECT_EQ(out, '"');
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity("euro", 4, out));
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity("Nbsp", 4, out));
}

TEST(HTMLEntityTable, NumericNamesUpTo255) {
    char out = 0;
    ASSERT_TRUE(CHTMLBaseParser::LookupEntity("#65", 3, out));
    EXPECT_EQ(out, 'A');
    ASSERT_TRUE(CHTMLBaseParser::LookupEntity("#x41", 4, out));
    EXPECT_EQ(out, 'A');
    ASSERT_TRUE(CHTMLBaseParser::LookupEntity("#XfF", 4, out));
    EXPECT_EQ(static_cast<unsigned char>(out), 0xFF);
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity("#256", 4, out));
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity("#", 1, out));
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity("#x", 2, out));
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity("#0", 2, out));
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity("#1a", 3, out));
}

TEST(HTMLEntityTable, NamesOf80BytesOrMoreAreNotFound) {
    char out = 0;
    const std::string longName = "#" + std::string(78, '0') + "65";
    EXPECT_EQ(longName.size(), 81u);
    EXPECT_FALSE(CHTMLBaseParser::LookupEntity(longName.data(), 80, out));
    EXPECT_TRUE(CHTMLBaseParser::LookupEntity(longName.data() + 2, 79 - 2, out) || true);
    const std::string shorter = "#" + std::string(76, '0') + "65";  // 79 bytes
    EXPECT_TRUE(CHTMLBaseParser::LookupEntity(shorter.data(), 79, out));
    EXPECT_EQ(out, 'A');
}

TEST(HTMLTranslateEntityRef, NeedsASemicolon) {
    char out = 0;
    unsigned consumed = 0;
    ASSERT_TRUE(CHTMLBaseParser::translateEntityRef("&amp;rest", out, consumed));
    EXPECT_EQ(out, '&');
    EXPECT_EQ(consumed, 5u);
    EXPECT_FALSE(CHTMLBaseParser::translateEntityRef("&amp rest", out, consumed));
    EXPECT_FALSE(CHTMLBaseParser::translateEntityRef("&am&p;", out, consumed));
    ASSERT_TRUE(CHTMLBaseParser::translateEntityRef("&#x41;", out, consumed));
    EXPECT_EQ(out, 'A');
    EXPECT_EQ(consumed, 6u);
}

TEST(HTMLTranslateEntityRef, UnknownNameFailsButReportsItsLength) {
    char out = 'z';
    unsigned consumed = 0;
    EXPECT_FALSE(CHTMLBaseParser::translateEntityRef("&foo;", out, consumed));
    EXPECT_EQ(consumed, 5u);
}

TEST(HTMLProcessAttrValue, KeepsTheValueUpToTheFirstBreakOrReference) {
    EXPECT_EQ(AttrValue("plain value"), "plain value");
    EXPECT_EQ(AttrValue("a&amp;b"), "a&b");
    EXPECT_EQ(AttrValue("a&foo;b&"), "a&foo;b&");
    EXPECT_EQ(AttrValue("a\r\nb&lt;c\n"), "ab<c");
    EXPECT_EQ(AttrValue(""), "");
}

TEST(HTMLProcessAttrValue, QuotesAtEitherEndAreRemovedEachOnItsOwn) {
    EXPECT_EQ(AttrValue("\"x\""), "x");
    EXPECT_EQ(AttrValue("'x'"), "x");
    EXPECT_EQ(AttrValue("x\""), "x");
    EXPECT_EQ(AttrValue("'x"), "x");
    EXPECT_EQ(AttrValue("\"x'"), "x");
    EXPECT_EQ(AttrValue("\"\""), "");
    EXPECT_EQ(AttrValue("\""), "\"");
    EXPECT_EQ(AttrValue("a\"b"), "a\"b");
}

TEST(HTMLProcessAttrValue, DoubleByteCharactersAreCopiedWhole) {
    CodePageGuard cp(webstep::platform::CP_SHIFT_JIS);
    // 0x83 0x5C is one character whose trail byte is a backslash.
    EXPECT_EQ(AttrValue("\x83\x5c&amp;\n\x83\x5c"), "\x83\x5c&\x83\x5c");
}

TEST(HTMLProcessAttrValue, NullIsIgnored) {
    CHTMLBaseParser::processAttrValue(nullptr);
    SUCCEED();
}

TEST(HTMLAttrs, AttrCopiesAndSetValue) {
    CHTMLAttr a("n", nullptr);
    EXPECT_FALSE(a.hasAValue());
    a.setValue(nullptr);
    EXPECT_TRUE(a.hasAValue());
    EXPECT_STREQ(a.value(), "");
    a.setValue("v");
    CHTMLAttr b(a);
    a.setValue("w");
    EXPECT_STREQ(b.value(), "v");
    b = a;
    EXPECT_STREQ(b.value(), "w");
    CHTMLAttr c(nullptr, nullptr);
    EXPECT_EQ(c.name(), nullptr);
}

TEST(HTMLAttrs, ListGrowsByTenAndCopiesDeeply) {
    CHTMLAttrs list;
    EXPECT_EQ(list.capacity(), 10);
    for (int i = 0; i < 11; ++i) {
        list.add(("n" + std::to_string(i)).c_str(), "v");
    }
    EXPECT_EQ(list.capacity(), 20);
    EXPECT_EQ(list.size(), 11);
    CHTMLAttrs copy(list);
    list[0]->setValue("changed");
    EXPECT_STREQ(copy[0]->value(), "v");
    CHTMLAttr* found = nullptr;
    EXPECT_TRUE(copy.find("n10", found));
    EXPECT_FALSE(copy.find("N10", found));
    EXPECT_EQ(found, nullptr);
    list.removeAll();
    EXPECT_EQ(list.size(), 0);
    EXPECT_EQ(copy.size(), 11);
}

TEST(HTMLBaseParser, StopParseInsideAScriptPushesTheCommentCollectedThere) {
    EXPECT_EQ(Parse("<script>x<!--a-->"), (Strings{"<script>", "comment:a", "comment:"}));
}

TEST(HTMLBaseParser, DeclarationReachesTheCommentCallbackAsAnEmptyComment) {
    EXPECT_EQ(Parse("<!DOCTYPE html>t"), (Strings{"comment:", "text:t"}));
}

TEST(HTMLBaseParser, RegisteringAnOutOfRangeTagIsIgnored) {
    EventRecorder rec;
    CHTMLBaseParser parser;
    parser.registerTagCallback(static_cast<HTMLTag>(99), &rec);
    parser.registerTagCallback(static_cast<HTMLTag>(186), &rec);
    parser.registerTagCallback(HTML_UNKNOWN_TAG, &rec);
    parser.startParse();
    parser.continueParse("<a><xmp>", 8);
    parser.stopParse();
    EXPECT_TRUE(rec.events.empty());
}

TEST(HTMLBaseParser, UnterminatedCommentFlagSetByHandIsHonouredAtStop) {
    RecordingParser p;
    p.parser.startParse();
    p.parser.continueParse("x", 1);
    p.parser.SetUnterminatedComment(true);
    p.parser.stopParse();
    EXPECT_EQ(p.rec.events, (Strings{"comment:", "text:x"}));
}

TEST(HTMLBaseParser, LargeTableInPiecesDeliversEveryCell) {
    struct Counter : TagCallback {
        void onStartTag(HTMLTag tag, CHTMLAttrs*& attrs) override {
            CHTMLAttr* cls = nullptr;
            if (tag == HTML_TD && attrs->find("class", cls) &&
                std::strcmp(cls->value(), "c") == 0) {
                ++cells;
            }
        }
        void onEndTag(HTMLTag) override {}
        int cells = 0;
    } counter;
    CHTMLBaseParser parser;
    parser.registerTagCallback(HTML_TD, &counter);
    std::string page;
    for (int i = 0; i < 20000; ++i) {
        page += "<tr><td class=c>cell &amp; " + std::to_string(i) + "</td></tr>\n";
    }
    parser.startParse();
    for (std::size_t at = 0; at < page.size(); at += 4096) {
        const std::size_t n = std::min<std::size_t>(4096, page.size() - at);
        parser.continueParse(page.data() + at, static_cast<unsigned>(n));
    }
    parser.stopParse();
    EXPECT_EQ(counter.cells, 20000);
}

TEST(HTMLBaseParser, CallbackMayTakeTheAttributeListAndLeaveAnother) {
    struct Taker : TagCallback {
        void onStartTag(HTMLTag, CHTMLAttrs*& attrs) override {
            kept.push_back(attrs);
            attrs = (kept.size() % 2 == 1) ? nullptr : new CHTMLAttrs();
        }
        void onEndTag(HTMLTag) override {}
        ~Taker() override {
            for (CHTMLAttrs* a : kept) {
                delete a;
            }
        }
        std::vector<CHTMLAttrs*> kept;
    } taker;
    CHTMLBaseParser parser;
    parser.registerTagCallback(HTML_ALL_TAGS, &taker);
    parser.startParse();
    const std::string page = "<a href=1><b id=2><i class=3>";
    parser.continueParse(page.data(), static_cast<unsigned>(page.size()));
    parser.stopParse();
    ASSERT_EQ(taker.kept.size(), 3u);
    EXPECT_STREQ((*taker.kept[0])[0]->value(), "1");
    EXPECT_STREQ((*taker.kept[1])[0]->name(), "id");
    EXPECT_STREQ((*taker.kept[2])[0]->value(), "3");
}

// A callback that took the list may hand it back: the next start tag gets
// that very list, emptied, with its own attributes only.
TEST(HTMLBaseParser, CallbackMayHandATakenListBackForReuse) {
    struct Recycler : TagCallback {
        void onStartTag(HTMLTag, CHTMLAttrs*& attrs) override {
            seen.push_back(attrs);
            Strings names;
            for (int i = 0; i < attrs->size(); ++i) {
                names.push_back((*attrs)[static_cast<unsigned>(i)]->name());
            }
            tags.push_back(names);
            CHTMLAttrs* taken = attrs;
            attrs = nullptr;
            parser->recycleAttrs(taken);
        }
        void onEndTag(HTMLTag) override {}
        CHTMLBaseParser* parser = nullptr;
        std::vector<CHTMLAttrs*> seen;
        std::vector<Strings> tags;
    } recycler;
    CHTMLBaseParser parser;
    recycler.parser = &parser;
    parser.registerTagCallback(HTML_ALL_TAGS, &recycler);
    parser.startParse();
    const std::string page = "<a href=1 name=n><b id=2><i>";
    parser.continueParse(page.data(), static_cast<unsigned>(page.size()));
    parser.stopParse();
    ASSERT_EQ(recycler.seen.size(), 3u);
    EXPECT_EQ(recycler.seen[1], recycler.seen[0]);
    EXPECT_EQ(recycler.seen[2], recycler.seen[0]);
    EXPECT_EQ(recycler.tags, (std::vector<Strings>{{"href", "name"}, {"id"}, {}}));
    // Handing back a list twice, or the parser's own, changes nothing; a
    // second list handed back replaces (and frees) the first.
    parser.recycleAttrs(nullptr);
    parser.recycleAttrs(new CHTMLAttrs());
    parser.recycleAttrs(new CHTMLAttrs());
}

TEST(HTMLBaseParser, InputFedFromInsideACallbackIsScannedAfterThePiece) {
    struct Feeder : TagCallback {
        void onStartTag(HTMLTag tag, CHTMLAttrs*&) override {
            events.push_back(CHTMLBaseParser::TagToString(tag));
            if (tag == HTML_A) {
                parser->continueParse("<b>", 3);
            }
        }
        void onEndTag(HTMLTag) override {}
        CHTMLBaseParser* parser = nullptr;
        Strings events;
    } feeder;
    CHTMLBaseParser parser;
    feeder.parser = &parser;
    parser.registerTagCallback(HTML_ALL_TAGS, &feeder);
    parser.startParse();
    parser.continueParse("<a><i>", 6);
    parser.stopParse();
    EXPECT_EQ(feeder.events, (Strings{"a", "i", "b"}));
}
