#include "webstep/foundation/TextBuffer.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "webstep/platform/CodePage.h"

namespace {

// Blocks are zero-filled so that bytes between the string's end and the
// capacity are always defined (truncate may move the terminator there).
char* AllocateBlock(int capacity) {
    return static_cast<char*>(std::calloc(static_cast<std::size_t>(capacity) + 1, 1));
}

char* ResizeBlock(char* block, int oldCapacity, int newCapacity) {
    char* grown =
        static_cast<char*>(std::realloc(block, static_cast<std::size_t>(newCapacity) + 1));
    if (grown != nullptr && newCapacity > oldCapacity) {
        std::memset(grown + oldCapacity + 1, 0,
                    static_cast<std::size_t>(newCapacity - oldCapacity));
    }
    return grown;
}

int ClampLength(std::size_t n) {
    return n > INT_MAX / 2 ? INT_MAX / 2 : static_cast<int>(n);
}

}  // namespace

CTextBuffer::CTextBuffer() : m_buffer(AllocateBlock(kMinCapacity)), m_capacity(kMinCapacity) {}

CTextBuffer::CTextBuffer(const char* s) {
    const int length = s != nullptr ? ClampLength(std::strlen(s)) : 0;
    m_capacity = std::max(length, kMinCapacity);
    m_buffer = AllocateBlock(m_capacity);
    if (length > 0) {
        std::memcpy(m_buffer, s, static_cast<std::size_t>(length));
    }
}

CTextBuffer::CTextBuffer(const char* s, unsigned n) {
    const int length = ClampLength(n);
    m_capacity = std::max(length, kMinCapacity);
    m_buffer = AllocateBlock(m_capacity);
    if (s != nullptr && length > 0) {
        webstep::platform::_mbsnbcpy(reinterpret_cast<unsigned char*>(m_buffer),
                                     reinterpret_cast<const unsigned char*>(s),
                                     static_cast<std::size_t>(length));
    }
    m_buffer[length] = '\0';
}

CTextBuffer::CTextBuffer(const CTextBuffer& other) : CTextBuffer(other.m_buffer) {}

CTextBuffer& CTextBuffer::operator=(const CTextBuffer& other) {
    if (this != &other) {
        const int length = other.size();
        if (length > m_capacity) {
            m_buffer = ResizeBlock(m_buffer, m_capacity, length);
            m_capacity = length;
        }
        std::memcpy(m_buffer, other.m_buffer, static_cast<std::size_t>(length) + 1);
    }
    return *this;
}

CTextBuffer::~CTextBuffer() {
    std::free(m_buffer);
}

int CTextBuffer::size() const {
    return static_cast<int>(std::strlen(m_buffer));
}

void CTextBuffer::grow(int needed) {
    const int length = size();
    if (static_cast<long long>(length) + needed > m_capacity) {
        const int step = needed >= kMinCapacity ? needed : kMinCapacity;
        const int newCapacity = m_capacity + step;
        m_buffer = ResizeBlock(m_buffer, m_capacity, newCapacity);
        m_capacity = newCapacity;
    }
}

void CTextBuffer::append(const char* s, unsigned n) {
    if (s == nullptr || n == 0) {
        return;
    }
    // Growth is sized on the bytes really appended, so a count larger than
    // the source (strncat allows it) never reserves memory for nothing.
    const int count = ClampLength(strnlen(s, n));
    if (count == 0) {
        return;
    }
    // A source inside this buffer is found again after a reallocation.
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(s);
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(m_buffer);
    const bool inside =
        address >= begin && address <= begin + static_cast<std::uintptr_t>(m_capacity);
    const std::size_t offset = inside ? address - begin : 0;
    grow(count);
    if (inside) {
        s = m_buffer + offset;
    }
    const int length = size();
    std::memmove(m_buffer + length, s, static_cast<std::size_t>(count));
    m_buffer[length + count] = '\0';
}

void CTextBuffer::append(const char* s) {
    if (s == nullptr) {
        return;
    }
    append(s, static_cast<unsigned>(std::min<std::size_t>(std::strlen(s), UINT_MAX)));
}

int CTextBuffer::find(char c) const {
    if (c == '\0') {
        return -1;
    }
    const unsigned char* start = reinterpret_cast<const unsigned char*>(m_buffer);
    const unsigned char* hit = webstep::platform::_mbschr(start, static_cast<unsigned char>(c));
    return hit != nullptr ? static_cast<int>(hit - start) : -1;
}

const char* CTextBuffer::tail(int n) const {
    const int length = size();
    if (n < 0) {
        n = 0;
    }
    if (n > length) {
        n = length;
    }
    return m_buffer + length - n;
}

void CTextBuffer::truncate(int n) {
    if (n >= 0 && n < m_capacity) {
        m_buffer[n] = '\0';
    }
}

char* CTextBuffer::realloc(int n) {
    if (n < 0) {
        return m_buffer;
    }
    m_buffer = ResizeBlock(m_buffer, m_capacity, n);
    m_capacity = n;
    // Only the last byte of the block is set, so that the string can never
    // run past the block even when it was cut by the shrink.
    m_buffer[n] = '\0';
    return m_buffer;
}

StringBuffer::~StringBuffer() {
    if (m_data != m_inline) {
        std::free(m_data);
    }
}

char* StringBuffer::GetBuffer(unsigned long n) {
    if (n <= m_length) {
        return m_data;
    }
    // Leaving the inline storage takes a fresh block; its contents are not
    // carried over, callers size the buffer before writing.
    char* block = m_data == m_inline ? static_cast<char*>(std::malloc(n))
                                     : static_cast<char*>(std::realloc(m_data, n));
    if (block == nullptr) {
        return nullptr;
    }
    m_data = block;
    m_length = n;
    return m_data;
}

SavedChar::SavedChar(char* place, char c)
    : m_saved(place != nullptr ? *place : '\0'), m_place(place) {
    if (m_place != nullptr) {
        *m_place = c;
    }
}

SavedChar::~SavedChar() {
    if (m_place != nullptr) {
        *m_place = m_saved;
    }
}

int StackOfInts::pop() {
    if (m_items.empty()) {
        return -1;
    }
    const int top = m_items.back();
    m_items.pop_back();
    return top;
}
