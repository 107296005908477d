#include "webstep/foundation/TextBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "webstep/platform/CodePage.h"

namespace {

// Restores the process code page when a test switched it.
struct CodePageScope {
    explicit CodePageScope(unsigned int cp) { webstep::platform::SetProcessCodePage(cp); }
    ~CodePageScope() { webstep::platform::SetProcessCodePage(0); }
};

TEST(TextBuffer, DefaultHasCapacity256AndEmptyString) {
    CTextBuffer b;
    EXPECT_EQ(b.capacity(), 256);
    EXPECT_STREQ(b.buffer(), "");
    EXPECT_EQ(b.size(), 0);
    EXPECT_TRUE(b.isEmpty());
}

TEST(TextBuffer, Appending256BytesKeepsCapacityAnd257thByteRaisesTo512) {
    CTextBuffer b;
    const std::string chunk(256, 'a');
    b.append(chunk.c_str());
    EXPECT_EQ(b.capacity(), 256);
    EXPECT_EQ(b.size(), 256);
    b.add('b');
    EXPECT_EQ(b.capacity(), 512);
    EXPECT_EQ(b.size(), 257);
    EXPECT_EQ(std::string(b.buffer()), chunk + "b");
}

TEST(TextBuffer, AppendingThousandBytesToEmptyRaisesCapacityTo1256) {
    CTextBuffer b;
    const std::string chunk(1000, 'x');
    b.append(chunk.c_str(), 1000);
    EXPECT_EQ(b.capacity(), 1256);
    EXPECT_EQ(std::string(b.buffer()), chunk);
}

TEST(TextBuffer, SmallAppendsGrowBy256) {
    CTextBuffer b(std::string(250, 'a').c_str());
    b.append("0123456789");
    EXPECT_EQ(b.capacity(), 512);
    EXPECT_EQ(b.size(), 260);
}

TEST(TextBuffer, AppendWithCountStopsAtNulLikeStrncat) {
    CTextBuffer b("ab");
    b.append("cd\0ef", 5);
    EXPECT_STREQ(b.buffer(), "abcd");
    b.append("xyz", 2);
    EXPECT_STREQ(b.buffer(), "abcdxy");
    b.append("zzz", 0);
    EXPECT_STREQ(b.buffer(), "abcdxy");
}

TEST(TextBuffer, AppendingOwnContentSurvivesReallocation) {
    CTextBuffer b(std::string(200, 'a').c_str());
    b.append(b.buffer());
    EXPECT_EQ(b.size(), 400);
    EXPECT_EQ(std::string(b.buffer()), std::string(400, 'a'));
    b.append(b.tail(3), 3);
    EXPECT_EQ(b.size(), 403);
}

TEST(TextBuffer, AppendNullIsIgnored) {
    CTextBuffer b("ab");
    b.append(nullptr);
    b.append(nullptr, 3);
    EXPECT_STREQ(b.buffer(), "ab");
}

TEST(TextBuffer, ConstructFromStringTakesMaxOfLengthAnd256) {
    CTextBuffer small("hello");
    EXPECT_EQ(small.capacity(), 256);
    EXPECT_STREQ(small.buffer(), "hello");
    const std::string big(300, 'q');
    CTextBuffer large(big.c_str());
    EXPECT_EQ(large.capacity(), 300);
    EXPECT_EQ(std::string(large.buffer()), big);
}

TEST(TextBuffer, ConstructFromPrefixCopiesNBytesAndTerminates) {
    CTextBuffer b("hello world", 5);
    EXPECT_STREQ(b.buffer(), "hello");
    EXPECT_EQ(b.capacity(), 256);
    const std::string big(400, 'z');
    CTextBuffer large(big.c_str(), 300);
    EXPECT_EQ(large.capacity(), 300);
    EXPECT_EQ(large.size(), 300);
}

TEST(TextBuffer, ConstructFromPrefixNeverCutsDoubleByteCharacter) {
    CodePageScope cp(webstep::platform::CP_SHIFT_JIS);
    // "a" then the double-byte character 0x95 0x5C; 2 bytes would cut it.
    CTextBuffer b("a\x95\x5C", 2);
    EXPECT_STREQ(b.buffer(), "a");
}

TEST(TextBuffer, CopyIsDeepWithCapacityFromSourceLength) {
    CTextBuffer a;
    a.append(std::string(600, 'm').c_str());
    CTextBuffer b(a);
    EXPECT_NE(a.buffer(), b.buffer());
    EXPECT_EQ(b.capacity(), 600);
    b.clean();
    EXPECT_EQ(a.size(), 600);
}

TEST(TextBuffer, AssignmentIsDeep) {
    CTextBuffer a("first");
    CTextBuffer b(std::string(500, 'k').c_str());
    a = b;
    EXPECT_NE(a.buffer(), b.buffer());
    EXPECT_EQ(a.size(), 500);
    b.clean();
    EXPECT_EQ(a.size(), 500);
    a = a;
    EXPECT_EQ(a.size(), 500);
}

TEST(TextBuffer, CleanEmptiesButKeepsCapacity) {
    CTextBuffer b;
    b.append(std::string(700, 'c').c_str());
    b.clean();
    EXPECT_TRUE(b.isEmpty());
    EXPECT_EQ(b.capacity(), 956);
}

TEST(TextBuffer, FindReturnsFirstOffsetOrMinusOne) {
    CTextBuffer b("a=b=c");
    EXPECT_EQ(b.find('='), 1);
    EXPECT_EQ(b.find('a'), 0);
    EXPECT_EQ(b.find('z'), -1);
    EXPECT_EQ(b.find('\0'), -1);
    CTextBuffer empty;
    EXPECT_EQ(empty.find('a'), -1);
}

TEST(TextBuffer, FindIgnoresTrailByteOfShiftJisCharacter) {
    CodePageScope cp(webstep::platform::CP_SHIFT_JIS);
    CTextBuffer b("\x95\x5C");  // one character whose trail byte is a backslash
    EXPECT_EQ(b.find('\\'), -1);
    b.append("x\\");
    EXPECT_EQ(b.find('\\'), 3);
}

TEST(TextBuffer, FindIgnoresTrailByteOfGbkCharacter) {
    CodePageScope cp(webstep::platform::CP_GBK);
    CTextBuffer b("\x81\x40");  // GBK character whose trail byte is '@'
    EXPECT_EQ(b.find('@'), -1);
}

TEST(TextBuffer, FindSeesTrailByteValueInSingleByteCodePage) {
    CodePageScope cp(webstep::platform::CP_LATIN1);
    CTextBuffer b("\x95\x5C");
    EXPECT_EQ(b.find('\\'), 1);
}

TEST(TextBuffer, TailPointsAtLastBytes) {
    CTextBuffer b("abcdef");
    EXPECT_STREQ(b.tail(2), "ef");
    EXPECT_STREQ(b.tail(0), "");
    EXPECT_STREQ(b.tail(6), "abcdef");
    EXPECT_STREQ(b.tail(100), "abcdef");  // clamped rather than before the block
    EXPECT_STREQ(b.tail(-5), "");
    char* writable = b.tail(1);
    *writable = 'F';
    EXPECT_STREQ(b.buffer(), "abcdeF");
}

TEST(TextBuffer, TruncateBelowCapacityCutsAndAtCapacityDoesNothing) {
    CTextBuffer b("abcdef");
    b.truncate(3);
    EXPECT_STREQ(b.buffer(), "abc");
    b.truncate(256);
    EXPECT_STREQ(b.buffer(), "abc");
    b.truncate(-1);
    EXPECT_STREQ(b.buffer(), "abc");
    b.truncate(0);
    EXPECT_TRUE(b.isEmpty());
}

TEST(TextBuffer, ReallocSetsExactCapacityAndKeepsContents) {
    CTextBuffer b("abc");
    char* block = b.realloc(1000);
    EXPECT_EQ(block, b.buffer());
    EXPECT_EQ(b.capacity(), 1000);
    EXPECT_STREQ(b.buffer(), "abc");
    b.realloc(10);
    EXPECT_EQ(b.capacity(), 10);
    EXPECT_STREQ(b.buffer(), "abc");
}

TEST(TextBuffer, ReallocBelowLengthLeavesStringInsideBlock) {
    CTextBuffer b("abcdefgh");
    b.realloc(4);
    EXPECT_EQ(b.capacity(), 4);
    EXPECT_EQ(std::strlen(b.buffer()), 4u);
    b.append("xy");
    EXPECT_STREQ(b.buffer(), "abcdxy");
}

TEST(TextBuffer, HugeAppendsKeepEveryByte) {
    CTextBuffer b;
    std::string expected;
    for (int i = 0; i < 2000; ++i) {
        const std::string piece(static_cast<std::size_t>(i % 300 + 1),
                                static_cast<char>('a' + i % 26));
        b.append(piece.c_str());
        expected += piece;
    }
    EXPECT_EQ(std::string(b.buffer()), expected);
    EXPECT_GE(b.capacity(), b.size());
}

TEST(StringBuffer, FreshHasInlineLength256) {
    StringBuffer s;
    EXPECT_EQ(s.GetLength(), 256u);
    char* inlineData = s.GetBuffer(256);
    EXPECT_EQ(s.GetBuffer(10), inlineData);
}

TEST(StringBuffer, GrowingFromInlineDoesNotCopyThenReusesBlock) {
    StringBuffer s;
    char* inlineData = s.GetBuffer(1);
    std::memset(inlineData, 'Q', 256);
    char* block = s.GetBuffer(300);
    ASSERT_NE(block, nullptr);
    EXPECT_NE(block, inlineData);
    EXPECT_EQ(s.GetLength(), 300u);
    EXPECT_EQ(s.GetBuffer(200), block);
    EXPECT_EQ(s.GetLength(), 300u);
}

TEST(StringBuffer, GrowingAHeapBlockKeepsContents) {
    StringBuffer s;
    char* block = s.GetBuffer(300);
    std::memcpy(block, "keep me", 8);
    char* bigger = s.GetBuffer(100000);
    EXPECT_STREQ(bigger, "keep me");
    EXPECT_EQ(s.GetLength(), 100000u);
}

TEST(SavedChar, CutsAndRestoresOneByte) {
    char text[] = "hello world";
    {
        SavedChar guard(text + 5, '\0');
        EXPECT_STREQ(text, "hello");
    }
    EXPECT_STREQ(text, "hello world");
}

TEST(SavedChar, NestedGuardsRestoreInReverseOrder) {
    char text[] = "abcdef";
    {
        SavedChar outer(text + 4, '\0');
        {
            SavedChar inner(text + 2, '\0');
            EXPECT_STREQ(text, "ab");
        }
        EXPECT_STREQ(text, "abcd");
    }
    EXPECT_STREQ(text, "abcdef");
}

TEST(StackOfInts, PopAndGetOnEmptyReturnMinusOneAndStayEmpty) {
    StackOfInts s;
    EXPECT_EQ(s.pop(), -1);
    EXPECT_EQ(s.get(), -1);
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(s.size(), 0);
}

TEST(StackOfInts, PushPopIsLastInFirstOut) {
    StackOfInts s;
    s.push(1);
    s.push(2);
    s.push(3);
    EXPECT_EQ(s.size(), 3);
    EXPECT_EQ(s.get(), 3);
    EXPECT_EQ(s.pop(), 3);
    EXPECT_EQ(s.pop(), 2);
    EXPECT_EQ(s.get(), 1);
    s.reset();
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(s.pop(), -1);
}

TEST(StackOfInts, CopiesAreIndependent) {
    StackOfInts a;
    a.push(7);
    a.push(8);
    StackOfInts b(a);
    EXPECT_EQ(b.pop(), 8);
    EXPECT_EQ(a.size(), 2);
    StackOfInts c;
    c = a;
    EXPECT_EQ(c.size(), 2);
    EXPECT_EQ(c.get(), 8);
}

struct Counted {
    explicit Counted(int* deletions) : deletions(deletions) {}
    virtual ~Counted() { ++*deletions; }
    int* deletions;
};

struct DerivedCounted : Counted {
    DerivedCounted(int* deletions, int* derivedDeletions)
        : Counted(deletions), derivedDeletions(derivedDeletions) {}
    ~DerivedCounted() override { ++*derivedDeletions; }
    int* derivedDeletions;
};

TEST(ArrayOfPointers, DefaultHolds100SlotsAnd101stAddGrowsTo110) {
    int deletions = 0;
    ArrayOfPointers<Counted> a;
    EXPECT_EQ(a.capacity(), 100);
    for (int i = 0; i < 100; ++i) {
        a.add(new Counted(&deletions));
    }
    EXPECT_EQ(a.capacity(), 100);
    a.add(new Counted(&deletions));
    EXPECT_EQ(a.capacity(), 110);
    EXPECT_EQ(a.size(), 101);
}

TEST(ArrayOfPointers, GrowsByFixedStepNotDoubling) {
    int deletions = 0;
    ArrayOfPointers<Counted> a(2, 3);
    for (int i = 0; i < 6; ++i) {
        a.add(new Counted(&deletions));
    }
    EXPECT_EQ(a.capacity(), 8);
    EXPECT_EQ(a.size(), 6);
}

TEST(ArrayOfPointers, IndexReturnsStoredPointers) {
    int deletions = 0;
    ArrayOfPointers<Counted> a(1, 1);
    Counted* first = new Counted(&deletions);
    Counted* second = new Counted(&deletions);
    a.add(first);
    a.add(second);
    EXPECT_EQ(a[0], first);
    EXPECT_EQ(a[1], second);
}

TEST(ArrayOfPointers, SetSizeZeroDropsWithoutDeleting) {
    int deletions = 0;
    Counted* kept[3];
    {
        ArrayOfPointers<Counted> a;
        for (Counted*& p : kept) {
            p = new Counted(&deletions);
            a.add(p);
        }
        a.SetSize(0);
        EXPECT_EQ(a.size(), 0);
    }
    EXPECT_EQ(deletions, 0);
    for (Counted* p : kept) {
        delete p;
    }
    EXPECT_EQ(deletions, 3);
}

TEST(ArrayOfPointers, SetSizeAboveCapacityReallocates) {
    ArrayOfPointers<Counted> a(5, 5);
    a.SetSize(50);
    EXPECT_EQ(a.capacity(), 50);
    EXPECT_EQ(a.size(), 0);
    a.SetSize(10);
    EXPECT_EQ(a.capacity(), 50);
}

TEST(ArrayOfPointers, CleanupDeletesThroughVirtualDestructorAndSkipsNull) {
    int deletions = 0;
    int derived = 0;
    ArrayOfPointers<Counted> a(4, 4);
    a.add(new DerivedCounted(&deletions, &derived));
    a.add(nullptr);
    a.add(new Counted(&deletions));
    a.cleanup();
    EXPECT_EQ(a.size(), 0);
    EXPECT_EQ(deletions, 2);
    EXPECT_EQ(derived, 1);
    EXPECT_EQ(a.capacity(), 4);
    a.add(new Counted(&deletions));
    EXPECT_EQ(a.size(), 1);
}

TEST(ArrayOfPointers, DestructorDeletesItems) {
    int deletions = 0;
    {
        ArrayOfPointers<Counted> a(0, 0);
        for (int i = 0; i < 25; ++i) {
            a.add(new Counted(&deletions));
        }
        EXPECT_EQ(a.size(), 25);
    }
    EXPECT_EQ(deletions, 25);
}

}  // namespace
