#pragma once
// Helpers shared by the fuzz targets: a reader that takes typed values from
// the fuzz bytes, and a check that stops the run with a message when an
// invariant does not hold (libFuzzer then stores the input as a crash).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "webstep/platform/CodePage.h"

namespace webstep::fuzz {

// Takes values from the front of the fuzz bytes; once they run out every
// value is 0 and every text empty, so a target never reads past the input.
class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    size_t Remaining() const { return m_size - m_at; }
    bool Empty() const { return m_at == m_size; }

    uint8_t Byte() { return m_at < m_size ? m_data[m_at++] : 0; }
    bool Bool() { return (Byte() & 1) != 0; }
    uint16_t Word() {
        const uint16_t high = Byte();
        return static_cast<uint16_t>((high << 8) | Byte());
    }
    // A value in [0, bound) (0 when bound is 0).
    size_t Below(size_t bound) { return bound == 0 ? 0 : Word() % bound; }

    // Bytes up to the separator (not included, and skipped) or the end.
    std::string Until(uint8_t separator) {
        std::string out;
        while (m_at < m_size && m_data[m_at] != separator)
            out.push_back(static_cast<char>(m_data[m_at++]));
        if (m_at < m_size)
            ++m_at;
        return out;
    }
    // At most n bytes.
    std::string Take(size_t n) {
        n = n < Remaining() ? n : Remaining();
        std::string out(reinterpret_cast<const char*>(m_data + m_at), n);
        m_at += n;
        return out;
    }
    std::string Rest() { return Take(Remaining()); }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_at = 0;
};

// The code pages the library treats differently: single-byte, the four
// double-byte ones, UTF-8, and the longer Linux multi-byte sets.
inline unsigned int PickCodePage(uint8_t selector) {
    static const unsigned int pages[] = {
        platform::CP_LATIN1, platform::CP_SHIFT_JIS, platform::CP_GBK,
        platform::CP_UHC,    platform::CP_BIG5,      platform::CP_UTF8,
        platform::CP_EUC_JP, platform::CP_GB18030,   1251};
    return pages[selector % (sizeof pages / sizeof pages[0])];
}

[[noreturn]] inline void Fail(const char* file, int line, const char* what) {
    std::fprintf(stderr, "%s:%d: invariant broken: %s\n", file, line, what);
    std::abort();
}

}  // namespace webstep::fuzz

#define FUZZ_CHECK(condition)                                      \
    do {                                                           \
        if (!(condition))                                          \
            ::webstep::fuzz::Fail(__FILE__, __LINE__, #condition); \
    } while (false)
