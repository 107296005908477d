// The token stream under the script reader.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "webstep/platform/CodePage.h"
#include "webstep/script/ScriptLexer.h"

namespace {

struct Lexed {
    std::vector<ScriptToken> tokens;
    std::vector<ScriptLexProblem> problems;
    std::vector<std::string> texts;
};

Lexed Lex(const std::string& text, unsigned int codePage = webstep::platform::CP_LATIN1) {
    Lexed out;
    CScriptLexer lexer(text.data(), text.size(), codePage);
    for (;;) {
        ScriptToken t;
        lexer.Next(t);
        if (t.kind == EScriptTokenKind::End)
            break;
        out.tokens.push_back(t);
        out.texts.push_back(text.substr(t.offset, t.length));
    }
    lexer.TakeProblems(out.problems);
    return out;
}

using Texts = std::vector<std::string>;

TEST(ScriptReaderLexer, TokensOfAStatementWithPositions) {
    Lexed l = Lex("  rc = p->f(\"a\\\"b\", 'c', 1.5e+3, x[2]);");
    EXPECT_EQ(l.texts, (Texts{"rc", "=", "p", "->", "f", "(", "\"a\\\"b\"", ",", "'c'", ",",
                              "1.5e+3", ",", "x", "[", "2", "]", ")", ";"}));
    EXPECT_EQ(l.tokens[0].kind, EScriptTokenKind::Identifier);
    EXPECT_EQ(l.tokens[0].column, 3u);
    EXPECT_EQ(l.tokens[3].kind, EScriptTokenKind::Punctuator);
    EXPECT_EQ(l.tokens[3].punctuator, '>');
    EXPECT_EQ(l.tokens[3].length, 2u);
    EXPECT_EQ(l.tokens[6].kind, EScriptTokenKind::String);
    EXPECT_EQ(l.tokens[8].kind, EScriptTokenKind::Character);
    EXPECT_EQ(l.tokens[10].kind, EScriptTokenKind::Number);
    EXPECT_TRUE(l.problems.empty());
}

TEST(ScriptReaderLexer, CommentsAndDirectivesAreSkippedAcrossLines) {
    Lexed l =
        Lex("#define A /* two\nline comment */ \"q\n"
            "a // end \\\n still comment\n"
            "/* x\r\n y */ b\n#if 0\nc\n");
    // A directive ends with its line; the directive's comment spans lines,
    // and c is a token because #if is not evaluated.
    EXPECT_EQ(l.texts, (Texts{"a", "b", "c"}));
    EXPECT_EQ(l.tokens[0].line, 3u);
    EXPECT_EQ(l.tokens[1].line, 6u);
    EXPECT_EQ(l.tokens[1].column, 7u);
    EXPECT_EQ(l.tokens[2].line, 8u);
    EXPECT_TRUE(l.problems.empty());
}

TEST(ScriptReaderLexer, HashAfterCodeIsAPunctuatorNotADirective) {
    Lexed l = Lex("a # b\n  #c d\ne");
    EXPECT_EQ(l.texts, (Texts{"a", "#", "b", "e"}));
}

TEST(ScriptReaderLexer, UnclosedLiteralEndsAtItsLineEnd) {
    Lexed l = Lex("\"abc\r\nnext");
    ASSERT_EQ(l.texts, (Texts{"\"abc", "next"}));
    EXPECT_TRUE(l.tokens[0].unterminated);
    EXPECT_EQ(l.tokens[1].line, 2u);
    ASSERT_EQ(l.problems.size(), 1u);
    EXPECT_EQ(l.problems[0].problem, EScriptLexProblem::UnterminatedString);
    EXPECT_EQ(l.problems[0].line, 1u);
    EXPECT_EQ(l.problems[0].column, 1u);
}

TEST(ScriptReaderLexer, LiteralTextForDecodingDropsSplicesAndClosesOpenLiterals) {
    std::string text = "\"ab\\\ncd\" \"open\\\\";
    CScriptLexer lexer(text.data(), text.size(), webstep::platform::CP_LATIN1);
    ScriptToken t;
    lexer.Next(t);
    EXPECT_TRUE(t.spliced);
    MString literal;
    CScriptLexer::GetLiteralText(text.data(), t, literal);
    EXPECT_EQ(literal, "\"abcd\"");
    lexer.Next(t);
    EXPECT_TRUE(t.unterminated);
    CScriptLexer::GetLiteralText(text.data(), t, literal);
    EXPECT_EQ(literal, "\"open\\\\\"");
}

TEST(ScriptReaderLexer, LeadByteKeepsItsTrailInMultiByteCodePages) {
    std::string text = "\"\x81\x5C\" x";
    Lexed gbk = Lex(text, webstep::platform::CP_GBK);
    EXPECT_EQ(gbk.texts, (Texts{"\"\x81\x5C\"", "x"}));
    Lexed latin = Lex(text, webstep::platform::CP_LATIN1);
    EXPECT_EQ(latin.texts, (Texts{"\"\x81\x5C\" x"}));
    EXPECT_EQ(latin.problems.size(), 1u);
}

TEST(ScriptReaderLexer, LeadByteBeforeAQuoteDoesNotSwallowIt) {
    Lexed l = Lex("\"\x81\" x", webstep::platform::CP_GBK);
    EXPECT_EQ(l.texts, (Texts{"\"\x81\"", "x"}));
    EXPECT_TRUE(l.problems.empty());
}

TEST(ScriptReaderLexer, InUtf8AnAsciiByteAfterALeadByteStandsAlone) {
    // GBK text ending in C0 ED (a UTF-8 lead byte) before an escaped quote:
    // read in UTF-8 the backslash still escapes the quote, so the literal
    // ends at its real end and the next call is not lost.
    std::string text = "f(\"\xC0\xED\\\"}\", LAST); g(\"x\");";
    Lexed utf8 = Lex(text, webstep::platform::CP_UTF8);
    EXPECT_EQ(utf8.texts, (Texts{"f", "(", "\"\xC0\xED\\\"}\"", ",", "LAST", ")", ";", "g", "(",
                                 "\"x\"", ")", ";"}));
    EXPECT_TRUE(utf8.problems.empty());
    // A real UTF-8 character keeps its continuation bytes.
    Lexed letters = Lex("\"\xE4\xBA\xBA\\\"\" y", webstep::platform::CP_UTF8);
    EXPECT_EQ(letters.texts, (Texts{"\"\xE4\xBA\xBA\\\"\"", "y"}));
}

TEST(ScriptReaderLexer, ByteOrderMarkIsSkipped) {
    std::string text = "\xEF\xBB\xBFx";
    CScriptLexer lexer(text.data(), text.size(), webstep::platform::CP_UTF8);
    EXPECT_TRUE(lexer.HasByteOrderMark());
    ScriptToken t;
    lexer.Next(t);
    EXPECT_EQ(t.offset, 3u);
    EXPECT_EQ(t.column, 1u);
}

TEST(ScriptReaderLexer, EndIsReturnedAgainAfterTheEnd) {
    CScriptLexer lexer("x", 1, webstep::platform::CP_LATIN1);
    ScriptToken t;
    lexer.Next(t);
    EXPECT_EQ(t.kind, EScriptTokenKind::Identifier);
    lexer.Next(t);
    EXPECT_EQ(t.kind, EScriptTokenKind::End);
    lexer.Next(t);
    EXPECT_EQ(t.kind, EScriptTokenKind::End);
}

TEST(ScriptReaderLexer, UnclosedCommentIsReportedAtItsStart) {
    Lexed l = Lex("a\n  /* open\n b");
    EXPECT_EQ(l.texts, (Texts{"a"}));
    ASSERT_EQ(l.problems.size(), 1u);
    EXPECT_EQ(l.problems[0].problem, EScriptLexProblem::UnterminatedComment);
    EXPECT_EQ(l.problems[0].line, 2u);
    EXPECT_EQ(l.problems[0].column, 3u);
}

}  // namespace
