// The engine's output on the corpus pages is held fixed: the tokens with
// their batch boundaries and line counts, the callbacks and the page models,
// each fed whole and in pieces of several sizes, are compared by hash with
// corpus_golden.tsv beside this file. The hashes were taken from the engine
// before its speed work; any change of output shows here as a changed hash.
//
// WEBSTEP_WRITE_GOLDEN=1 writes the file anew instead of comparing (only for
// a deliberate change of output, which the commit must explain).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "HTMLScannerTestSupport.h"
#include "HTMLTestSupport.h"
#include "support/TestPaths.h"
#include "webstep/html/HTMLPageDump.h"

namespace {

// 64-bit FNV-1a over everything the engine hands out.
class Hash {
public:
    void bytes(const void* data, std::size_t n) {
        const auto* p = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < n; ++i) {
            m_h = (m_h ^ p[i]) * 0x100000001b3ULL;
        }
    }
    void number(long long v) { bytes(&v, sizeof v); }
    void text(const std::string& s) {
        number(static_cast<long long>(s.size()));
        bytes(s.data(), s.size());
    }
    std::string hex() const {
        char out[17];
        std::snprintf(out, sizeof out, "%016llx", static_cast<unsigned long long>(m_h));
        return out;
    }

private:
    std::uint64_t m_h = 0xcbf29ce484222325ULL;
};

// Hashes each batch: its sink, size, line and every token's kind and text.
class HashingSink : public CHTMLTokenSink {
public:
    void onTokens(HTMLTokenSinkId sink, const CHTMLTokenBatch& batch) override {
        hash.number(sink);
        hash.number(batch.count);
        hash.number(batch.line);
        for (int i = 0; i < batch.count; ++i) {
            hash.number(batch.kinds[i]);
            hash.number(batch.lengths[i]);
            hash.bytes(batch.texts[i], batch.lengths[i]);
        }
        ++batches;
    }
    Hash hash;
    long batches = 0;
};

const char* const kPages[] = {
    "corpus/html/arabic_newspapers.html",
    "corpus/html/baidu.html",
    "corpus/html/bbc.html",
    "corpus/html/google.html",
    "corpus/html/hacker_news.html",
    "corpus/html/wikipedia.html",
    "corpus/html/xinhua.html",
    "corpus/html/yahoo.html",
    "corpus/scripts/s0003_permits_en/data/t10.html",
    "corpus/scripts/s0004_library_en/data/t66.html",
    "corpus/scripts/s0005_tickets_en/data/t116.html",
    "corpus/scripts/s0007_tickets_ru/data/t7.html",
    "corpus/scripts/s0012_library_intl/data/t2.html",
    "corpus/scripts/s0029_permits_zh/data/t15.html",
};

// Piece sizes: whole, the benchmark's 4 KiB, and two sizes that cut tokens
// at many different places.
const std::size_t kPieces[] = {0, 4096, 1000, 97};

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string PieceName(std::size_t piece) {
    return piece == 0 ? "whole" : std::to_string(piece);
}

// Every hash of a page, keyed "what/piece".
std::map<std::string, std::string> HashesOf(const std::string& page) {
    std::map<std::string, std::string> out;
    for (std::size_t piece : kPieces) {
        HashingSink sink;
        CHTMLLexer lexer(&sink, true);
        webstep::test::FeedLexer(lexer, page, piece);
        sink.hash.number(sink.batches);
        out["tokens/" + PieceName(piece)] = sink.hash.hex();

        HashingSink raw;
        CHTMLLexer plain(&raw, false);
        webstep::test::FeedLexer(plain, page, piece);
        out["tokens-unnormalised/" + PieceName(piece)] = raw.hash.hex();

        webstep::test::RecordingParser parser;
        Hash events;
        for (const std::string& e : parser.run(page, piece)) {
            events.text(e);
        }
        out["callbacks/" + PieceName(piece)] = events.hex();

        const auto scanner = webstep::test::ScanPage(page, piece);
        Hash model;
        model.text(webstep::test::DescribePage(*scanner));
        model.text(CHTMLPageDump::Text(*scanner).c_str());
        out["model/" + PieceName(piece)] = model.hex();
    }
    return out;
}

std::filesystem::path GoldenFile() {
    return webstep::test::SourceDir() / "tests/html/corpus_golden.tsv";
}

TEST(HTMLCorpusGolden, TokensCallbacksAndModelsAreUnchangedOnEveryCorpusPage) {
    std::map<std::string, std::string> got;
    for (const char* file : kPages) {
        const std::string page = ReadFile(webstep::test::RequireShared(file));
        ASSERT_FALSE(page.empty()) << file;
        for (const auto& [what, hash] : HashesOf(page)) {
            got[std::string(file) + "\t" + what] = hash;
        }
    }
    if (const char* w = std::getenv("WEBSTEP_WRITE_GOLDEN"); w != nullptr && *w == '1') {
        std::ofstream out(GoldenFile());
        out << "# page\twhat/piece size\thash of the engine's output (see "
               "HTMLCorpusGoldenTest.cpp)\n";
        for (const auto& [key, hash] : got) {
            out << key << "\t" << hash << "\n";
        }
        ASSERT_TRUE(out.good()) << GoldenFile();
        return;
    }
    std::ifstream in(GoldenFile());
    ASSERT_TRUE(in.is_open()) << "missing " << GoldenFile();
    std::map<std::string, std::string> want;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const auto cut = line.rfind('\t');
        want[line.substr(0, cut)] = line.substr(cut + 1);
    }
    EXPECT_EQ(want.size(), got.size()) << "the golden file lists other cases than the test makes";
    for (const auto& [key, hash] : got) {
        const auto it = want.find(key);
        if (it == want.end()) {
            ADD_FAILURE() << "no golden hash for " << key;
        } else {
            EXPECT_EQ(it->second, hash) << "output changed: " << key;
        }
    }
}

// The hashes see small changes: one byte more on a page changes them.
TEST(HTMLCorpusGolden, HashesSeeAOneByteChange) {
    const std::string page = "<html><body><a href=\"x.html\">x</a><form><input name=q></form>";
    const auto a = HashesOf(page);
    const auto b = HashesOf(page + " ");
    const auto c = HashesOf("<html><body><a href=\"y.html\">x</a><form><input name=q></form>");
    for (const auto& [what, hash] : a) {
        EXPECT_NE(hash, c.at(what)) << what;
        if (what.rfind("tokens", 0) == 0 || what.rfind("callbacks", 0) == 0) {
            EXPECT_NE(hash, b.at(what)) << what;
        }
    }
}

}  // namespace
