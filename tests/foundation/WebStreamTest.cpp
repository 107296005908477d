#include "webstep/foundation/WebStream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

// Owns a stream for the duration of a test.
struct StreamScope {
    StreamScope() : handle(CWebStream::Create("ignored")) {}
    ~StreamScope() { CWebStream::Destroy(handle); }
    void* handle;
};

bool WriteText(void* handle, const std::string& text, unsigned long* written = nullptr) {
    std::vector<unsigned char> bytes(text.begin(), text.end());
    return CWebStream::Write(handle, bytes.data(), static_cast<unsigned long>(bytes.size()),
                             written);
}

TEST(WebStream, CreateGivesEmptyStreamWhateverTheName) {
    void* a = CWebStream::Create(nullptr);
    void* b = CWebStream::Create("name");
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(CWebStream::GetSize(a), 0ul);
    EXPECT_TRUE(CWebStream::Destroy(a));
    EXPECT_TRUE(CWebStream::Destroy(b));
}

TEST(WebStream, TwoWritesGiveSizeSevenAndReadOfTenReturnsSeven) {
    StreamScope s;
    unsigned long written = 0;
    ASSERT_TRUE(WriteText(s.handle, "abc", &written));
    EXPECT_EQ(written, 3ul);
    ASSERT_TRUE(WriteText(s.handle, "defg", &written));
    EXPECT_EQ(written, 4ul);
    EXPECT_EQ(CWebStream::GetSize(s.handle), 7ul);
    unsigned char buffer[10] = {};
    unsigned long position = 0;
    unsigned long read = 0;
    ASSERT_TRUE(CWebStream::Read(s.handle, position, buffer, 10, &read));
    EXPECT_EQ(read, 7ul);
    EXPECT_EQ(position, 7ul);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 7), "abcdefg");
}

TEST(WebStream, ReadBetweenWritesDoesNotMoveWhereTheNextWriteLands) {
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "hello"));
    unsigned char buffer[2];
    unsigned long position = 0;
    ASSERT_TRUE(CWebStream::Read(s.handle, position, buffer, 2, nullptr));
    EXPECT_EQ(position, 2ul);
    ASSERT_TRUE(WriteText(s.handle, "!"));
    EXPECT_EQ(CWebStream::GetSize(s.handle), 6ul);
    unsigned char all[6];
    unsigned long start = 0;
    ASSERT_TRUE(CWebStream::Read(s.handle, start, all, 6, nullptr));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(all), 6), "hello!");
    // The caller's position is unaffected by the write.
    ASSERT_TRUE(CWebStream::Read(s.handle, position, buffer, 2, nullptr));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 2), "ll");
}

TEST(WebStream, ReadAtOrPastTheEndYieldsZeroBytes) {
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "xy"));
    unsigned char buffer[4];
    unsigned long position = 2;
    unsigned long read = 99;
    EXPECT_TRUE(CWebStream::Read(s.handle, position, buffer, 4, &read));
    EXPECT_EQ(read, 0ul);
    EXPECT_EQ(position, 2ul);
    position = 1000;
    EXPECT_TRUE(CWebStream::Read(s.handle, position, buffer, 4, &read));
    EXPECT_EQ(read, 0ul);
    EXPECT_EQ(position, 1000ul);
}

TEST(WebStream, SequentialReadsWalkTheContent) {
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "0123456789"));
    unsigned long position = 0;
    std::string collected;
    unsigned char chunk[3];
    unsigned long read = 0;
    do {
        ASSERT_TRUE(CWebStream::Read(s.handle, position, chunk, 3, &read));
        collected.append(reinterpret_cast<char*>(chunk), read);
    } while (read > 0);
    EXPECT_EQ(collected, "0123456789");
    EXPECT_EQ(position, 10ul);
}

TEST(WebStream, ZeroSizeWriteAndReadSucceed) {
    StreamScope s;
    unsigned long written = 5;
    EXPECT_TRUE(CWebStream::Write(s.handle, nullptr, 0, &written));
    EXPECT_EQ(written, 0ul);
    unsigned long position = 0;
    unsigned long read = 5;
    EXPECT_TRUE(CWebStream::Read(s.handle, position, nullptr, 0, &read));
    EXPECT_EQ(read, 0ul);
}

TEST(WebStream, NullDataOrBufferWithSizeIsRefused) {
    StreamScope s;
    EXPECT_FALSE(CWebStream::Write(s.handle, nullptr, 4, nullptr));
    EXPECT_EQ(CWebStream::GetSize(s.handle), 0ul);
    ASSERT_TRUE(WriteText(s.handle, "abc"));
    unsigned long position = 0;
    EXPECT_FALSE(CWebStream::Read(s.handle, position, nullptr, 4, nullptr));
    EXPECT_EQ(position, 0ul);
}

TEST(WebStream, MapGivesContiguousContentAndUnmapTakesThePointer) {
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "abc"));
    ASSERT_TRUE(WriteText(s.handle, "def"));
    unsigned char* view = CWebStream::Map(s.handle);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::memcmp(view, "abcdef", 6), 0);
    EXPECT_TRUE(CWebStream::Unmap(view));
    EXPECT_FALSE(CWebStream::Unmap(view));  // no longer mapped
}

TEST(WebStream, UnmapWithTheHandleInsteadOfThePointerFails) {
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "abc"));
    unsigned char* view = CWebStream::Map(s.handle);
    ASSERT_NE(view, nullptr);
    EXPECT_FALSE(CWebStream::Unmap(s.handle));
    EXPECT_TRUE(CWebStream::Unmap(view));
}

TEST(WebStream, UnmapOfUnknownPointerFails) {
    char local[4] = {};
    EXPECT_FALSE(CWebStream::Unmap(local));
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "abc"));
    unsigned char* view = CWebStream::Map(s.handle);
    EXPECT_FALSE(CWebStream::Unmap(view + 1));
    EXPECT_TRUE(CWebStream::Unmap(view));
}

TEST(WebStream, MapOfEmptyStreamIsNull) {
    StreamScope s;
    EXPECT_EQ(CWebStream::Map(s.handle), nullptr);
}

TEST(WebStream, NestedMapsNeedAsManyUnmaps) {
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "abc"));
    unsigned char* first = CWebStream::Map(s.handle);
    unsigned char* second = CWebStream::Map(s.handle);
    EXPECT_EQ(first, second);
    EXPECT_TRUE(CWebStream::Unmap(first));
    EXPECT_TRUE(CWebStream::Unmap(second));
    EXPECT_FALSE(CWebStream::Unmap(first));
}

TEST(WebStream, MappedViewStaysValidWhileWritesGrowTheStream) {
    StreamScope s;
    ASSERT_TRUE(WriteText(s.handle, "start"));
    unsigned char* view = CWebStream::Map(s.handle);
    ASSERT_NE(view, nullptr);
    const std::string big(1 << 20, 'z');
    ASSERT_TRUE(WriteText(s.handle, big));
    EXPECT_EQ(std::memcmp(view, "start", 5), 0);
    EXPECT_EQ(CWebStream::GetSize(s.handle), 5ul + big.size());
    unsigned char* fresh = CWebStream::Map(s.handle);
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(std::memcmp(fresh, "startzzz", 8), 0);
    EXPECT_EQ(fresh[5 + big.size() - 1], 'z');
    EXPECT_TRUE(CWebStream::Unmap(view));
    EXPECT_TRUE(CWebStream::Unmap(fresh));
}

TEST(WebStream, MappedViewOutlivesDestroy) {
    void* handle = CWebStream::Create("");
    ASSERT_TRUE(WriteText(handle, "kept"));
    unsigned char* view = CWebStream::Map(handle);
    ASSERT_TRUE(CWebStream::Destroy(handle));
    EXPECT_EQ(std::memcmp(view, "kept", 4), 0);
    EXPECT_TRUE(CWebStream::Unmap(view));
}

TEST(WebStream, NullHandleFailsEverywhere) {
    unsigned char data[4] = {1, 2, 3, 4};
    unsigned long written = 77;
    unsigned long position = 5;
    unsigned long read = 77;
    EXPECT_FALSE(CWebStream::Destroy(nullptr));
    EXPECT_EQ(CWebStream::GetIStream(nullptr), nullptr);
    EXPECT_FALSE(CWebStream::Write(nullptr, data, 4, &written));
    EXPECT_EQ(written, 77ul);
    EXPECT_FALSE(CWebStream::Read(nullptr, position, data, 4, &read));
    EXPECT_EQ(position, 5ul);
    EXPECT_EQ(read, 77ul);
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(CWebStream::GetSize(nullptr), 0ul);
    EXPECT_EQ(CWebStream::Map(nullptr), nullptr);
    EXPECT_FALSE(CWebStream::Unmap(nullptr));
}

TEST(WebStream, GetIStreamReturnsTheHandle) {
    StreamScope s;
    EXPECT_EQ(static_cast<void*>(CWebStream::GetIStream(s.handle)), s.handle);
}

TEST(WebStream, LargeBinaryContentRoundTrips) {
    StreamScope s;
    std::vector<unsigned char> data(3 << 20);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<unsigned char>(i * 131 + (i >> 8));
    }
    for (std::size_t offset = 0; offset < data.size(); offset += 65536) {
        ASSERT_TRUE(CWebStream::Write(s.handle, data.data() + offset, 65536, nullptr));
    }
    EXPECT_EQ(CWebStream::GetSize(s.handle), data.size());
    std::vector<unsigned char> back(data.size());
    unsigned long position = 0;
    unsigned long read = 0;
    ASSERT_TRUE(CWebStream::Read(s.handle, position, back.data(),
                                 static_cast<unsigned long>(back.size()), &read));
    EXPECT_EQ(read, data.size());
    EXPECT_EQ(back, data);
    unsigned char* view = CWebStream::Map(s.handle);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::memcmp(view, data.data(), data.size()), 0);
    EXPECT_TRUE(CWebStream::Unmap(view));
}

TEST(WebStream, StreamsOnSeveralThreadsStayApart) {
    std::vector<std::thread> threads;
    std::vector<int> ok(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &ok] {
            void* handle = CWebStream::Create(nullptr);
            const std::string text(1000, static_cast<char>('a' + t));
            bool good = true;
            for (int i = 0; i < 100; ++i) {
                good = good && WriteText(handle, text);
                unsigned char* view = CWebStream::Map(handle);
                good = good && view != nullptr && view[0] == 'a' + t;
                good = good && CWebStream::Unmap(view);
            }
            good = good && CWebStream::GetSize(handle) == 100000ul;
            CWebStream::Destroy(handle);
            ok[static_cast<std::size_t>(t)] = good ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ok, std::vector<int>(4, 1));
}

}  // namespace
