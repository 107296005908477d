#pragma once
// Attributes of a start tag as the lexer delivers them: names lower-cased,
// values with references decoded; an attribute without a value has a null
// value.
#include <cstddef>
#include <cstdint>
#include <new>

#include "webstep/foundation/Export.h"

/// Storage for the page model of one page: attribute lists, their texts,
/// page objects and links are placed in a few large blocks instead of one
/// heap block each, and all of it goes at once with clear(). Bytes handed
/// out are never moved or written by the arena until then.
class WEBSTEP_API CHTMLAttrArena {
public:
    CHTMLAttrArena() = default;
    CHTMLAttrArena(const CHTMLAttrArena&) = delete;
    CHTMLAttrArena& operator=(const CHTMLAttrArena&) = delete;
    ~CHTMLAttrArena();

    /// size bytes aligned to align (a power of two up to 16); null only when
    /// memory runs out.
    void* allocate(std::size_t size, std::size_t align = alignof(void*)) {
        // Inline: a page places tens of thousands of small pieces.
        const std::size_t pad =
            static_cast<std::size_t>(-reinterpret_cast<std::uintptr_t>(m_next)) & (align - 1);
        if (m_next != nullptr && static_cast<std::size_t>(m_end - m_next) >= pad &&
            size <= static_cast<std::size_t>(m_end - m_next) - pad) {
            char* p = m_next + pad;
            m_next = p + size;
            return p;
        }
        return allocateSlow(size, align);
    }
    /// A NUL-terminated copy of text[0, length); null only when memory runs
    /// out.
    char* copy(const char* text, std::size_t length);
    /// Hands back the end of the last block allocated, keeping its first
    /// used bytes; does nothing for any other block.
    void shrinkLast(void* block, std::size_t size, std::size_t used);
    /// Where the arena stands; equal marks mean nothing was allocated
    /// between them.
    struct Mark {
        const void* block;
        const char* next;
        const void* large;
        std::size_t reserved;
        bool operator==(const Mark&) const = default;
    };
    Mark mark() const;
    /// Hands back everything allocated since m, which nobody may use any
    /// more; does nothing when a new block was started since (its memory
    /// then stays until clear()).
    void rollback(const Mark& m);
    /// Releases every block.
    void clear();
    /// Bytes of the blocks held (headers included).
    std::size_t reserved() const { return m_reserved; }
    /// True when p lies in a block of this arena.
    bool contains(const void* p) const;

private:
    struct Block;
    void* allocateSlow(std::size_t size, std::size_t align);

    Block* m_blocks = nullptr;
    char* m_next = nullptr;
    char* m_end = nullptr;
    std::size_t m_nextSize = 0;
    std::size_t m_reserved = 0;
};

/// One attribute of a start tag: the lower-cased name and the decoded value
/// (null for an attribute written without one). Owned by the attribute list
/// of its tag.
class WEBSTEP_API CHTMLAttr {
public:
    /// Both texts are copied; a null stays null.
    CHTMLAttr(const char* name, const char* value);
    /// A copy of from placed in arena, texts included. Its texts are never
    /// written: a new name or value takes storage of its own, so pointers to
    /// the old texts stay valid as long as the arena. Deleting it only
    /// releases what it took beyond the arena.
    static CHTMLAttr* NewInArena(CHTMLAttrArena& arena, const CHTMLAttr& from);
    /// Attributes placed in an arena are destroyed without freeing their
    /// memory, which the arena owns.
    void operator delete(CHTMLAttr* attr, std::destroying_delete_t);
    CHTMLAttr(const CHTMLAttr& other);
    CHTMLAttr& operator=(const CHTMLAttr& other);
    ~CHTMLAttr();

    const char* name() const { return m_name; }
    const char* value() const { return m_hasValue ? m_value : nullptr; }
    bool hasAValue() const { return m_hasValue; }
    /// Bytes of storage the attribute holds for its texts (outside an arena).
    unsigned storage() const { return m_nameCapacity + m_valueCapacity; }
    /// The value is text of the arena the attribute was copied into.
    bool valueInArena() const { return m_valueBorrowed; }
    /// Stores a copy; a null argument stores an empty string.
    void setValue(const char* value);
    /// Makes the attribute name[0, nameLength) with value[0, valueLength),
    /// or without a value when value is null, reusing its own storage when
    /// the texts fit. The texts need no terminating NUL.
    void assign(const char* name, unsigned nameLength, const char* value, unsigned valueLength);

private:
    friend class CHTMLAttrs;  // places attributes with their list
    struct InArena {};
    CHTMLAttr(InArena, char* name, char* value);
    static void Store(char*& buffer, unsigned& capacity, const char* text, unsigned length);
    /// Forgets texts that belong to an arena so that the next write takes
    /// storage of its own.
    void leaveArenaName();
    void leaveArenaValue();

    char* m_name;
    char* m_value;
    unsigned m_nameCapacity;
    unsigned m_valueCapacity;
    bool m_hasValue;
    /// The value's storage is the tail of the name's block (one allocation
    /// for both), freed with the name.
    bool m_valueInName;
    /// Name or value lie in an arena (capacity 0: never written, not freed).
    bool m_nameBorrowed;
    bool m_valueBorrowed;
    /// The object itself lies in an arena.
    bool m_inArena;
};

/// An owning list of attributes in the order of the tag; an attribute written
/// twice is listed twice.
class WEBSTEP_API CHTMLAttrs {
public:
    CHTMLAttrs();
    CHTMLAttrs(const CHTMLAttrs& other);
    CHTMLAttrs& operator=(const CHTMLAttrs& other);
    ~CHTMLAttrs();
    /// A copy of from placed in arena: the list, its slots, its attributes
    /// and their texts (see CHTMLAttr::NewInArena). It reports the capacity
    /// the copied list would have; slots beyond its attributes are taken
    /// from the heap when the list grows.
    static CHTMLAttrs* NewInArena(CHTMLAttrArena& arena, const CHTMLAttrs* from);
    /// Lists placed in an arena are destroyed without freeing their memory.
    void operator delete(CHTMLAttrs* list, std::destroying_delete_t);

    /// Takes ownership; a null pointer is ignored.
    void add(CHTMLAttr* attr);
    void add(const char* name, const char* value);
    /// Removes the last attribute and hands it to the caller (who then owns
    /// it, for instance to reuse it); null when the list is empty. An
    /// attribute placed in an arena is handed out as a copy of its own, so
    /// that it outlives the arena like any other.
    CHTMLAttr* takeLast() {
        if (m_count == 0) {
            return nullptr;
        }
        CHTMLAttr* attr = m_items[--m_count];
        return attr->m_inArena || attr->m_nameBorrowed || attr->m_valueBorrowed ? OutOfArena(attr)
                                                                                : attr;
    }
    /// No bounds check.
    CHTMLAttr* operator[](unsigned i) const { return m_items[i]; }
    int size() const { return m_count; }
    int capacity() const { return m_capacity; }
    void removeAll();
    /// The first attribute whose name equals name byte for byte.
    bool find(const char* name, CHTMLAttr*& out) const;

private:
    struct InArena {};
    CHTMLAttrs(InArena, CHTMLAttr** items, int capacity, int count);
    /// A heap copy of an attribute that lies in an arena or reads its texts
    /// there; the arena's one is destroyed.
    static CHTMLAttr* OutOfArena(CHTMLAttr* attr);

    CHTMLAttr** m_items;
    int m_capacity;
    int m_count;
    /// Slots there are in an arena block (m_items in an arena); the heap
    /// takes over when more are needed.
    int m_arenaSlots;
    bool m_slotsInArena;
    bool m_inArena;
};
