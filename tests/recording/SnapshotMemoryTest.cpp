// Reading a snapshot XML file of about 100 MB must not take memory in
// proportion to the file when bodies are left out or capped.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "SnapshotTestSupport.h"
#include "webstep/recording/SnapshotXmlReader.h"
#include "support/HeapInUse.h"

namespace {

using webstep::test::HeapInUse;

using snaptest::AllMessages;
using snaptest::Base64;
using snaptest::TempDir;

// The highest heap use seen while it runs: sampled by a thread of its own and
// by the caller (at each exchange).
class PeakHeap {
public:
    PeakHeap() : m_base(HeapInUse()), m_peak(m_base) {
        m_thread = std::thread([this] {
            while (!m_done.load()) {
                Sample();
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        });
    }
    ~PeakHeap() { Stop(); }
    void Sample() {
        const std::size_t now = HeapInUse();
        std::size_t seen = m_peak.load();
        while (now > seen && !m_peak.compare_exchange_weak(seen, now)) {
        }
    }
    void Stop() {
        if (m_thread.joinable()) {
            m_done = true;
            m_thread.join();
        }
    }
    std::size_t Growth() const {
        const std::size_t peak = m_peak.load();
        return peak > m_base ? peak - m_base : 0;
    }

private:
    std::size_t m_base;
    std::atomic<std::size_t> m_peak;
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

constexpr std::size_t kMiB = 1024 * 1024;
constexpr std::size_t kBigBody = 60 * kMiB;    // decoded size of the primary response
constexpr std::size_t kSmallBody = 24 * 1024;  // decoded size of each resource response
constexpr std::size_t kSmallTasks = 1200;

// Writes the file piece by piece, so that making it takes no memory either.
// Returns its size.
std::size_t WriteBigSnapshot(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return 0;
    std::size_t written = 0;
    auto put = [&](const std::string& text) {
        written += std::fwrite(text.data(), 1, text.size(), file);
    };
    // One line of base64 encodes 57 bytes.
    std::string raw(57, '\0');
    for (std::size_t i = 0; i < raw.size(); ++i)
        raw[i] = static_cast<char>((i * 37 + 11) & 0xFF);
    const std::string line = Base64(raw) + "\n";

    put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<HTTPSnapshot id=\"1\">\n");
    put("<HTTPTask id=\"1\" url=\"https://big.example.org/\" origin=\"Primary\" frame=\"1\">"
        "<HTTPRequest method=\"GET\"><HTTPHeaders><HTTPHeaderEntity name=\"Accept\" index=\"0\">"
        "<HTTPDataSet><HTTPData><ActualData>" +
        Base64("*/*") +
        "</ActualData></HTTPData></HTTPDataSet></HTTPHeaderEntity></HTTPHeaders></HTTPRequest>\n"
        "<HTTPResponse><HTTPBody><HTTPDataSet><HTTPData><ActualData>\n");
    for (std::size_t done = 0; done < kBigBody; done += raw.size())
        put(line);
    put("</ActualData></HTTPData></HTTPDataSet></HTTPBody></HTTPResponse></HTTPTask>\n");
    for (std::size_t t = 0; t < kSmallTasks; ++t) {
        put("<HTTPTask id=\"" + std::to_string(t + 2) +
            "\" url=\"https://big.example.org/r\" origin=\"ExtraRes\" frame=\"1\">"
            "<HTTPRequest method=\"GET\"/><HTTPResponse><HTTPBody><HTTPDataSet><HTTPData>"
            "<ActualData>\n");
        for (std::size_t done = 0; done < kSmallBody; done += raw.size())
            put(line);
        put("</ActualData></HTTPData></HTTPDataSet></HTTPBody></HTTPResponse></HTTPTask>\n");
    }
    put("</HTTPSnapshot>\n");
    std::fclose(file);
    return written;
}

std::size_t Rounded(std::size_t size) {
    return (size + 56) / 57 * 57;
}

class SnapshotMemory : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_dir = new TempDir();
        s_path = s_dir->File("snapshot_1.xml");
        s_size = WriteBigSnapshot(s_path);
    }
    static void TearDownTestSuite() {
        delete s_dir;
        s_dir = nullptr;
    }

    struct Seen {
        std::size_t exchanges = 0;
        std::size_t bodyBytes = 0;
        std::size_t keptBytes = 0;
        std::size_t cut = 0;
        std::size_t leftOut = 0;
    };

    static Seen ReadWith(const SnapshotReadOptions& options, std::size_t& growth,
                         SnapshotReadResult& result) {
        CSnapshotXmlReader reader(options);
        FolderMessages messages;
        Seen seen;
        malloc_trim(0);
        PeakHeap peak;
        result = reader.ReadFile(
            s_path,
            [&](const HttpExchange& exchange) {
                peak.Sample();
                ++seen.exchanges;
                seen.bodyBytes += exchange.responseBodySize;
                seen.keptBytes += exchange.responseBody.size();
                seen.cut += exchange.responseBodyCut;
                seen.leftOut += exchange.responseBodyLeftOut;
                return true;
            },
            messages);
        peak.Stop();
        growth = peak.Growth();
        RecordProperty("heap_growth_bytes", std::to_string(growth));
        EXPECT_TRUE(messages.empty()) << AllMessages(messages);
        return seen;
    }

    static TempDir* s_dir;
    static std::string s_path;
    static std::size_t s_size;
};

TempDir* SnapshotMemory::s_dir = nullptr;
std::string SnapshotMemory::s_path;
std::size_t SnapshotMemory::s_size = 0;

constexpr std::size_t kLimit = 16 * kMiB;

TEST_F(SnapshotMemory, FileOfAHundredMegabytesIsWritten) {
    EXPECT_GT(s_size, 95 * kMiB);
}

TEST_F(SnapshotMemory, ReadWithResponseBodiesLeftOutTakesBoundedMemory) {
    SnapshotReadOptions options;
    options.keepResponseBodies = false;
    std::size_t growth = 0;
    SnapshotReadResult result;
    const Seen seen = ReadWith(options, growth, result);
    EXPECT_TRUE(result.Ok());
    EXPECT_EQ(seen.exchanges, kSmallTasks + 1);
    EXPECT_EQ(seen.bodyBytes, Rounded(kBigBody) + kSmallTasks * Rounded(kSmallBody));
    EXPECT_EQ(seen.keptBytes, 0u);
    EXPECT_EQ(seen.leftOut, kSmallTasks + 1);
    EXPECT_LT(growth, kLimit) << "heap grew by " << growth << " bytes reading " << s_size;
}

TEST_F(SnapshotMemory, ReadWithCappedBodiesTakesBoundedMemory) {
    SnapshotReadOptions options;
    options.maxBodyBytes = 1 * kMiB;
    std::size_t growth = 0;
    SnapshotReadResult result;
    const Seen seen = ReadWith(options, growth, result);
    EXPECT_TRUE(result.Ok());
    EXPECT_EQ(seen.exchanges, kSmallTasks + 1);
    EXPECT_EQ(seen.keptBytes, kMiB + kSmallTasks * Rounded(kSmallBody));
    EXPECT_EQ(seen.cut, 1u);
    EXPECT_LT(growth, kLimit) << "heap grew by " << growth << " bytes reading " << s_size;
}

TEST_F(SnapshotMemory, PrimaryOnlyReadStopsEarly) {
    SnapshotReadOptions options;
    options.primaryOnly = true;
    options.keepResponseBodies = false;
    std::size_t growth = 0;
    SnapshotReadResult result;
    const Seen seen = ReadWith(options, growth, result);
    EXPECT_TRUE(result.Ok());
    EXPECT_TRUE(result.stopped);
    EXPECT_EQ(seen.exchanges, 1u);
    EXPECT_LT(growth, kLimit);
}

// The measure itself sees a body that is kept whole, so that the bounded
// cases above mean something.
TEST_F(SnapshotMemory, ReadKeepingBodiesWholeIsSeenByTheMeasure) {
    SnapshotReadOptions options;
    std::size_t growth = 0;
    SnapshotReadResult result;
    const Seen seen = ReadWith(options, growth, result);
    EXPECT_TRUE(result.Ok());
    EXPECT_EQ(seen.keptBytes, seen.bodyBytes);
    EXPECT_GT(growth, kBigBody);
}

}  // namespace
