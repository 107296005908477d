#pragma once
// Bytes the heap holds now, for tests that bound the memory of a piece of
// work: the sanitizer's allocator keeps its own count; under glibc the
// blocks served from mmap are counted apart from the heap in use and added.
#include <malloc.h>

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
// Exported by the sanitizer's runtime; g++ ships no header that declares it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace webstep::test {

inline std::size_t HeapInUse() {
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

}  // namespace webstep::test
