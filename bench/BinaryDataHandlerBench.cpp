// Escaping and unescaping of 1 MB of mixed data (text with binary bytes).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "webstep/foundation/BinaryDataHandler.h"
#include "webstep/foundation/MString.h"

namespace {

std::string MixedData() {
    std::string data;
    data.reserve(1 << 20);
    unsigned state = 2463534242u;
    while (data.size() < (1u << 20)) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        // About one byte in eight is binary, the rest is text.
        data.push_back((state & 7) == 0 ? static_cast<char>(state >> 24)
                                        : static_cast<char>(' ' + (state >> 8) % 95));
    }
    return data;
}

void BM_EscapeMixedMegabyte(benchmark::State& state) {
    const std::string data = MixedData();
    MString out;
    for (auto _ : state) {
        CBinaryDataHandler::ConvertBinaryToAscii(
            reinterpret_cast<const unsigned char*>(data.data()), static_cast<unsigned>(data.size()),
            out, false);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(data.size()));
}
BENCHMARK(BM_EscapeMixedMegabyte);

void BM_EscapeMixedMegabyteIntoBuffer(benchmark::State& state) {
    const std::string data = MixedData();
    std::string buffer(data.size() * 4, '\0');
    for (auto _ : state) {
        unsigned int length = static_cast<unsigned int>(buffer.size());
        CBinaryDataHandler::ConvertBinaryToAscii(
            reinterpret_cast<const unsigned char*>(data.data()), static_cast<unsigned>(data.size()),
            buffer.data(), &length, false);
        benchmark::DoNotOptimize(length);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(data.size()));
}
BENCHMARK(BM_EscapeMixedMegabyteIntoBuffer);

void BM_UnescapeMixedMegabyte(benchmark::State& state) {
    const std::string data = MixedData();
    MString text;
    CBinaryDataHandler::ConvertBinaryToAscii(reinterpret_cast<const unsigned char*>(data.data()),
                                             static_cast<unsigned>(data.size()), text, false);
    for (auto _ : state) {
        char* result = nullptr;
        const int n = CBinaryDataHandler::ConvertAsciiToBinary(text.c_str(), &result, true);
        benchmark::DoNotOptimize(n);
        std::free(result);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_UnescapeMixedMegabyte);

}  // namespace
