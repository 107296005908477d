#pragma once
// Small value types that carry text and object lists through the HTML code:
// a growable NUL-terminated byte string, a scratch buffer with inline storage,
// a byte guard, a stack of integers and an owning array of object pointers.
// All text is multi-byte (process code page) bytes; lengths count bytes.
// Memory comes from malloc/realloc/free; allocation failures are not reported.
#include <cstdlib>
#include <vector>
#include "webstep/foundation/Export.h"

/// A growable byte string that is always NUL-terminated. The block is always
/// capacity + 1 bytes; the capacity never starts below 256.
class WEBSTEP_API CTextBuffer {
public:
    static constexpr int kMinCapacity = 256;

    CTextBuffer();
    explicit CTextBuffer(const char* s);
    /// Copies at most n bytes without cutting a double-byte character and puts
    /// the terminator at n; callers pass n not beyond the length of s.
    CTextBuffer(const char* s, unsigned n);
    CTextBuffer(const CTextBuffer& other);
    /// Deep copy: a member-wise copy would leave two owners of one block.
    CTextBuffer& operator=(const CTextBuffer& other);
    ~CTextBuffer();

    const char* buffer() const { return m_buffer; }
    char* buffer() { return m_buffer; }
    int size() const;
    int isEmpty() const { return m_buffer[0] == '\0'; }
    void clean() { m_buffer[0] = '\0'; }
    /// The number of usable bytes (the block holds one more for the terminator).
    int capacity() const { return m_capacity; }

    void add(char c) { append(&c, 1); }
    /// strncat semantics: stops at a NUL of s.
    void append(const char* s, unsigned n);
    void append(const char* s);
    /// Offset of the first whole character equal to c (a trail byte of a
    /// double-byte character never matches); -1 when absent or c is NUL.
    int find(char c) const;
    /// The last n bytes of the string, clamped to the string.
    const char* tail(int n) const;
    char* tail(int n) { return const_cast<char*>(static_cast<const CTextBuffer*>(this)->tail(n)); }
    /// Ends the string at n when n is below the capacity.
    void truncate(int n);
    /// Sets the capacity to exactly n; the contents are not re-terminated
    /// except at the new end of the block.
    char* realloc(int n);

private:
    void grow(int needed);

    char* m_buffer;
    int m_capacity;
};

/// A scratch buffer that starts on 256 bytes of inline storage. Growing out of
/// the inline storage does not copy its contents: ask for the size you need
/// before writing.
class WEBSTEP_API StringBuffer {
public:
    static constexpr unsigned kInlineSize = 256;

    StringBuffer() : m_data(m_inline), m_length(kInlineSize) {}
    StringBuffer(const StringBuffer&) = delete;
    StringBuffer& operator=(const StringBuffer&) = delete;
    ~StringBuffer();

    /// Storage of at least n bytes; null (and unchanged storage) when the
    /// allocation fails.
    char* GetBuffer(unsigned long n);
    /// The capacity of the current storage, not a string length.
    unsigned long GetLength() const { return m_length; }

private:
    char* m_data;
    unsigned long m_length;
    char m_inline[kInlineSize];
};

/// Temporarily overwrites one byte (typically with a NUL to cut a string) and
/// puts the original back when it goes out of scope.
class WEBSTEP_API SavedChar {
public:
    SavedChar(char* place, char c);
    SavedChar(const SavedChar&) = delete;
    SavedChar& operator=(const SavedChar&) = delete;
    ~SavedChar();

private:
    char m_saved;
    char* m_place;
};

/// A stack of integers; -1 is the answer of an empty stack.
struct WEBSTEP_API StackOfInts {
    void push(int v) { m_items.push_back(v); }
    int pop();
    int get() const { return m_items.empty() ? -1 : m_items.back(); }
    bool isEmpty() const { return m_items.empty(); }
    int size() const { return static_cast<int>(m_items.size()); }
    void reset() { m_items.clear(); }

private:
    std::vector<int> m_items;
};

/// An owning array of object pointers that grows by a fixed step. Items are
/// deleted through their (virtual) destructor by cleanup() and the destructor.
template <class T>
class ArrayOfPointers {
public:
    ArrayOfPointers(int initial = 100, int growBy = 10)
        : m_items(nullptr),
          m_count(0),
          m_capacity(initial > 0 ? initial : 0),
          m_growBy(growBy > 0 ? growBy : 1) {  // a step of 0 would never make room
        if (m_capacity > 0) {
            m_items = static_cast<T**>(std::malloc(sizeof(T*) * m_capacity));
        }
    }
    ArrayOfPointers(const ArrayOfPointers&) = delete;
    ArrayOfPointers& operator=(const ArrayOfPointers&) = delete;
    ~ArrayOfPointers() {
        cleanup();
        std::free(m_items);
    }

    void add(T* p) {
        if (m_count == m_capacity) {
            reserve(m_capacity + m_growBy);
        }
        m_items[m_count++] = p;
    }
    /// No bounds check.
    T*& operator[](int i) { return m_items[i]; }
    T* operator[](int i) const { return m_items[i]; }
    int size() const { return m_count; }
    int capacity() const { return m_capacity; }
    /// Grows the slot array to n when needed; drops (does not delete) the
    /// items beyond n.
    void SetSize(int n) {
        if (n < 0) {
            n = 0;
        }
        if (n > m_capacity) {
            reserve(n);
        }
        if (m_count > n) {
            m_count = n;
        }
    }
    void cleanup() {
        for (int i = 0; i < m_count; ++i) {
            delete m_items[i];
            m_items[i] = nullptr;
        }
        m_count = 0;
    }

private:
    void reserve(int n) {
        m_items = static_cast<T**>(std::realloc(m_items, sizeof(T*) * n));
        m_capacity = n;
    }

    T** m_items;
    int m_count;
    int m_capacity;
    int m_growBy;
};
