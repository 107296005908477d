// The boundary and search texts of save rules and checks with their options.
#include <gtest/gtest.h>

#include <string>

#include "webstep/replay/BoundaryText.h"

TEST(BoundaryText, PlainFindAndCount) {
    CBoundaryText text("ab", 0);
    EXPECT_EQ(text.Find("xxabyab", 0), 2u);
    EXPECT_EQ(text.Find("xxabyab", 3), 5u);
    EXPECT_EQ(text.Find("xxabyab", 6), std::string::npos);
    EXPECT_EQ(text.Find("ab", 3), std::string::npos);
    EXPECT_EQ(text.Count("abababa"), 3u);
    EXPECT_EQ(CBoundaryText("aa", 0).Count("aaaa"), 2u);  // no overlaps
    EXPECT_EQ(CBoundaryText("", 0).Count("abc"), 0u);
    EXPECT_EQ(CBoundaryText("", 0).Find("abc", 1), 1u);
}

TEST(BoundaryText, OptionsChangeWhatMatches) {
    EXPECT_EQ(CBoundaryText("HeLLo", CBoundaryText::kIgnoreCase).Find("say hello", 0), 4u);
    EXPECT_EQ(CBoundaryText("id=##", CBoundaryText::kDigits).Find("id=x1 id=42", 0), 6u);
    EXPECT_EQ(CBoundaryText("^^", CBoundaryText::kAlnumAnyCase).Find("-- aB", 0), 3u);
    EXPECT_EQ(CBoundaryText("^^", CBoundaryText::kAlnumLower).Find("AB a1", 0), 3u);
    EXPECT_EQ(CBoundaryText("^^", CBoundaryText::kAlnumUpper).Find("ab A1", 0), 3u);
    EXPECT_EQ(CBoundaryText("#", 0).Find("1#", 0), 1u);  // without DIG '#' is itself
}

TEST(BoundaryText, BinaryEscapesAreDecoded) {
    EXPECT_EQ(CBoundaryText::DecodeBinary("a\\x00b\\x7Fc\\\\d\\n\\q\\x4"),
              std::string("a\0b\x7F"
                          "c\\d\n\\q\\x4",
                          13));
    CBoundaryText text("\\x00\\x01", CBoundaryText::kBinary);
    EXPECT_EQ(text.Size(), 2u);
    EXPECT_EQ(text.Find(std::string("ab\0\1", 4), 0), 2u);
}
