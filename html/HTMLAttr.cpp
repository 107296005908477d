#include "webstep/html/HTMLAttr.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

char* Duplicate(const char* s) {
    if (s == nullptr) {
        return nullptr;
    }
    const std::size_t n = std::strlen(s) + 1;
    char* copy = static_cast<char*>(std::malloc(n));
    if (copy != nullptr) {
        std::memcpy(copy, s, n);
    }
    return copy;
}

constexpr int kAttrsGrowStep = 10;

unsigned Length(const char* s) {
    return s != nullptr ? static_cast<unsigned>(std::strlen(s)) : 0;
}

unsigned Capacity(const char* s) {
    return s != nullptr ? Length(s) + 1 : 0;
}

bool Inside(const char* text, const char* buffer, unsigned capacity) {
    const auto t = reinterpret_cast<std::uintptr_t>(text);
    const auto b = reinterpret_cast<std::uintptr_t>(buffer);
    return text != nullptr && buffer != nullptr && t >= b && t < b + capacity;
}

// The first block is small (most pages keep a few hundred elements at
// most); later ones double up to a size whose unused end stays small next
// to the pages that need it.
constexpr std::size_t kFirstBlock = 4096;
constexpr std::size_t kLargestBlock = 32 * 1024;

// Attribute names that most pages repeat on most elements: an attribute
// copied into an arena refers to this static text instead of a copy. Null
// for any other name.
const char* CommonName(const char* name, unsigned length) {
    if (name == nullptr) {
        return nullptr;
    }
    // By length and first letter, then one comparison of known length.
    const auto is = [name](const char* known, unsigned n) {
        return std::memcmp(name, known, n) == 0 ? known : nullptr;
    };
    switch (length) {
        case 2:
            return is("id", 2);
        case 3:
            switch (name[0]) {
                case 'a':
                    return is("alt", 3);
                case 'r':
                    return is("rel", 3);
                case 's':
                    return is("src", 3);
                default:
                    return nullptr;
            }
        case 4:
            switch (name[0]) {
                case 'h':
                    return is("href", 4);
                case 'n':
                    return is("name", 4);
                case 't':
                    return is("type", 4);
                default:
                    return nullptr;
            }
        case 5:
            switch (name[0]) {
                case 'a':
                    return is("align", 5);
                case 'c':
                    return is("class", 5);
                case 's':
                    return is("style", 5);
                case 't':
                    return is("title", 5);
                case 'v':
                    return is("value", 5);
                case 'w':
                    return is("width", 5);
                default:
                    return nullptr;
            }
        case 6:
            switch (name[0]) {
                case 'a':
                    return is("action", 6);
                case 'b':
                    return is("border", 6);
                case 'h':
                    return is("height", 6);
                case 'm':
                    return is("method", 6);
                case 't':
                    return is("target", 6);
                default:
                    return nullptr;
            }
        case 7:
            switch (name[0]) {
                case 'c':
                    return name[1] == 'o' ? is("content", 7) : is("checked", 7);
                case 'o':
                    return is("onclick", 7);
                default:
                    return nullptr;
            }
        case 8:
            return is("selected", 8);
        default:
            return nullptr;
    }
}

}  // namespace

// ---------------------------------------------------------------- arena

struct CHTMLAttrArena::Block {
    Block* next;
    std::size_t size;  // with this header
};

CHTMLAttrArena::~CHTMLAttrArena() {
    clear();
}

void* CHTMLAttrArena::allocateSlow(std::size_t size, std::size_t align) {
    constexpr std::size_t header = (sizeof(Block) + 15) & ~std::size_t{15};
    const std::size_t needed = header + size + align;
    if (needed < size) {
        return nullptr;  // overflow
    }
    if (needed > kLargestBlock / 4) {
        // A large text gets a block of its own, linked behind the current
        // one so that the current block's free end stays in use.
        auto* block = static_cast<Block*>(std::malloc(needed));
        if (block == nullptr) {
            return nullptr;
        }
        block->size = needed;
        m_reserved += needed;
        if (m_blocks != nullptr) {
            block->next = m_blocks->next;
            m_blocks->next = block;
        } else {
            block->next = nullptr;
            m_blocks = block;
        }
        const auto start = reinterpret_cast<std::uintptr_t>(block) + header;
        return reinterpret_cast<void*>((start + (align - 1)) &
                                       ~static_cast<std::uintptr_t>(align - 1));
    }
    std::size_t blockSize = m_nextSize == 0 ? kFirstBlock : m_nextSize;
    while (blockSize < needed) {
        blockSize *= 2;
    }
    auto* block = static_cast<Block*>(std::malloc(blockSize));
    if (block == nullptr) {
        return nullptr;
    }
    block->size = blockSize;
    block->next = m_blocks;
    m_blocks = block;
    m_reserved += blockSize;
    m_nextSize = std::min(blockSize * 2, kLargestBlock);
    m_next = reinterpret_cast<char*>(block) + header;
    m_end = reinterpret_cast<char*>(block) + blockSize;
    return allocate(size, align);
}

char* CHTMLAttrArena::copy(const char* text, std::size_t length) {
    char* out = static_cast<char*>(allocate(length + 1, 1));
    if (out != nullptr) {
        if (length > 0) {
            std::memcpy(out, text, length);
        }
        out[length] = '\0';
    }
    return out;
}

void CHTMLAttrArena::shrinkLast(void* block, std::size_t size, std::size_t used) {
    char* p = static_cast<char*>(block);
    if (p != nullptr && used <= size && p + size == m_next) {
        m_next = p + used;
    }
}

CHTMLAttrArena::Mark CHTMLAttrArena::mark() const {
    return Mark{m_blocks, m_next, m_blocks != nullptr ? m_blocks->next : nullptr, m_reserved};
}

void CHTMLAttrArena::rollback(const Mark& m) {
    if (m_blocks == nullptr || m_blocks != m.block) {
        return;
    }
    // Blocks of large texts made since sit right behind the current one.
    while (m_blocks->next != m.large && m_blocks->next != nullptr) {
        Block* large = m_blocks->next;
        m_blocks->next = large->next;
        m_reserved -= large->size;
        std::free(large);
    }
    m_next = const_cast<char*>(m.next);
}

void CHTMLAttrArena::clear() {
    while (m_blocks != nullptr) {
        Block* next = m_blocks->next;
        std::free(m_blocks);
        m_blocks = next;
    }
    m_next = nullptr;
    m_end = nullptr;
    m_nextSize = 0;
    m_reserved = 0;
}

bool CHTMLAttrArena::contains(const void* p) const {
    const auto q = reinterpret_cast<std::uintptr_t>(p);
    for (const Block* b = m_blocks; b != nullptr; b = b->next) {
        const auto start = reinterpret_cast<std::uintptr_t>(b);
        if (q >= start && q < start + b->size) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------- attribute

CHTMLAttr::CHTMLAttr(const char* name, const char* value)
    : m_name(Duplicate(name)),
      m_value(Duplicate(value)),
      m_nameCapacity(Capacity(name)),
      m_valueCapacity(Capacity(value)),
      m_hasValue(value != nullptr),
      m_valueInName(false),
      m_nameBorrowed(false),
      m_valueBorrowed(false),
      m_inArena(false) {}

CHTMLAttr::CHTMLAttr(InArena, char* name, char* value)
    : m_name(name),
      m_value(value),
      m_nameCapacity(0),
      m_valueCapacity(0),
      m_hasValue(value != nullptr),
      m_valueInName(false),
      m_nameBorrowed(name != nullptr),
      m_valueBorrowed(value != nullptr),
      m_inArena(true) {}

CHTMLAttr::CHTMLAttr(const CHTMLAttr& other)
    : m_name(Duplicate(other.m_name)),
      m_value(Duplicate(other.value())),
      m_nameCapacity(Capacity(other.m_name)),
      m_valueCapacity(Capacity(other.value())),
      m_hasValue(other.m_hasValue),
      m_valueInName(false),
      m_nameBorrowed(false),
      m_valueBorrowed(false),
      m_inArena(false) {}

CHTMLAttr* CHTMLAttrs::OutOfArena(CHTMLAttr* attr) {
    CHTMLAttr* own = new CHTMLAttr(*attr);
    delete attr;
    return own;
}

CHTMLAttr* CHTMLAttr::NewInArena(CHTMLAttrArena& arena, const CHTMLAttr& from) {
    void* place = arena.allocate(sizeof(CHTMLAttr), alignof(CHTMLAttr));
    if (place == nullptr) {
        return nullptr;
    }
    char* name = from.m_name != nullptr ? arena.copy(from.m_name, Length(from.m_name)) : nullptr;
    const char* v = from.value();
    char* value = v != nullptr ? arena.copy(v, Length(v)) : nullptr;
    if ((from.m_name != nullptr && name == nullptr) || (v != nullptr && value == nullptr)) {
        return nullptr;
    }
    return new (place) CHTMLAttr(InArena{}, name, value);
}

void CHTMLAttr::operator delete(CHTMLAttr* attr, std::destroying_delete_t) {
    const bool inArena = attr->m_inArena;
    attr->~CHTMLAttr();
    if (!inArena) {
        ::operator delete(attr);
    }
}

void CHTMLAttr::leaveArenaName() {
    if (m_nameBorrowed) {
        m_name = nullptr;
        m_nameCapacity = 0;
        m_nameBorrowed = false;
    }
}

void CHTMLAttr::leaveArenaValue() {
    if (m_valueBorrowed) {
        m_value = nullptr;
        m_valueCapacity = 0;
        m_valueBorrowed = false;
    }
}

CHTMLAttr& CHTMLAttr::operator=(const CHTMLAttr& other) {
    if (this != &other) {
        // Arena texts stay as they are (links may point at them); the texts
        // they are given up for stay readable until the arena goes.
        leaveArenaName();
        leaveArenaValue();
        if (m_valueInName) {
            // Separate storage again, so that the name can grow on its own.
            std::free(m_name);
            m_name = nullptr;
            m_value = nullptr;
            m_nameCapacity = 0;
            m_valueCapacity = 0;
            m_valueInName = false;
        }
        if (other.m_name == nullptr) {
            std::free(m_name);
            m_name = nullptr;
            m_nameCapacity = 0;
        } else {
            Store(m_name, m_nameCapacity, other.m_name, Length(other.m_name));
        }
        if (other.m_hasValue) {
            Store(m_value, m_valueCapacity, other.m_value, Length(other.m_value));
        }
        m_hasValue = other.m_hasValue;
    }
    return *this;
}

CHTMLAttr::~CHTMLAttr() {
    if (!m_nameBorrowed) {
        std::free(m_name);
    }
    if (!m_valueInName && !m_valueBorrowed) {
        std::free(m_value);
    }
}

// Copies text into buffer, growing it when it is too small; a buffer that
// cannot grow keeps what it had and the text is cut to fit.
void CHTMLAttr::Store(char*& buffer, unsigned& capacity, const char* text, unsigned length) {
    if (length >= capacity) {
        // The old text is not kept (a text inside the buffer never needs it
        // to grow): a fresh block costs less than a reallocation.
        char* grown = static_cast<char*>(std::malloc(static_cast<std::size_t>(length) + 1));
        if (grown != nullptr) {
            std::free(buffer);
            buffer = grown;
            capacity = length + 1;
        }
    }
    if (buffer == nullptr || capacity == 0) {
        return;
    }
    if (length >= capacity) {
        length = capacity - 1;
    }
    std::memmove(buffer, text, length);
    buffer[length] = '\0';
}

void CHTMLAttr::setValue(const char* value) {
    const char* text = value != nullptr ? value : "";
    leaveArenaValue();
    if (m_valueInName && Length(text) >= m_valueCapacity) {
        // A longer value gets storage of its own; the old one stays part of
        // the name's block.
        char* own = static_cast<char*>(std::malloc(static_cast<std::size_t>(Length(text)) + 1));
        if (own == nullptr) {
            return;
        }
        std::memcpy(own, text, Length(text) + 1);
        m_value = own;
        m_valueCapacity = Length(text) + 1;
        m_valueInName = false;
        m_hasValue = true;
        return;
    }
    Store(m_value, m_valueCapacity, text, Length(text));
    m_hasValue = m_value != nullptr;
}

void CHTMLAttr::assign(const char* name, unsigned nameLength, const char* value,
                       unsigned valueLength) {
    leaveArenaName();
    leaveArenaValue();
    // Texts taken from the attribute itself go the way of a new block too,
    // which copies them before anything is overwritten.
    const bool own =
        Inside(name, m_name, m_nameCapacity) || Inside(value, m_name, m_nameCapacity) ||
        Inside(name, m_value, m_valueCapacity) || Inside(value, m_value, m_valueCapacity);
    if (own || nameLength >= m_nameCapacity ||
        (value != nullptr && valueLength >= m_valueCapacity)) {
        // One block for name and value: one allocation (and one release)
        // per attribute instead of two. The texts are copied before the old
        // storage goes, so they may lie in it.
        // Room for the names of most attributes, so that a reused block
        // takes the next name in place.
        const std::size_t nameRoom = std::max<std::size_t>(nameLength + 1, 16);
        const std::size_t needed =
            nameRoom + (value != nullptr ? static_cast<std::size_t>(valueLength) + 1 : 0);
        // Rounded up the way allocators round a block (16n + 8 usable bytes)
        // so that the next attributes that reuse it fit more often.
        const std::size_t size = ((needed + 8 + 15) & ~std::size_t{15}) - 8;
        char* block = static_cast<char*>(std::malloc(size));
        if (block != nullptr) {
            std::memcpy(block, name, nameLength);
            block[nameLength] = '\0';
            if (value != nullptr) {
                std::memcpy(block + nameRoom, value, valueLength);
                block[nameRoom + valueLength] = '\0';
            }
            std::free(m_name);
            if (!m_valueInName) {
                std::free(m_value);
            }
            m_name = block;
            m_nameCapacity = static_cast<unsigned>(value != nullptr ? nameRoom : size);
            m_value = value != nullptr ? block + nameRoom : nullptr;
            m_valueCapacity = static_cast<unsigned>(value != nullptr ? size - nameRoom : 0);
            m_valueInName = value != nullptr;
            m_hasValue = value != nullptr;
            return;
        }
        // Out of memory: the texts are cut to the storage there is; a value
        // stored in the name's block is given up with it.
        if (m_valueInName) {
            m_value = nullptr;
            m_valueCapacity = 0;
            m_valueInName = false;
            value = nullptr;
        }
    }
    Store(m_name, m_nameCapacity, name, nameLength);
    m_hasValue = false;
    if (value != nullptr) {
        Store(m_value, m_valueCapacity, value, valueLength);
        m_hasValue = m_value != nullptr;
    }
}

// ---------------------------------------------------------------- list

CHTMLAttrs::CHTMLAttrs()
    : m_items(static_cast<CHTMLAttr**>(std::malloc(sizeof(CHTMLAttr*) * kAttrsGrowStep))),
      m_capacity(kAttrsGrowStep),
      m_count(0),
      m_arenaSlots(0),
      m_slotsInArena(false),
      m_inArena(false) {}

CHTMLAttrs::CHTMLAttrs(InArena, CHTMLAttr** items, int capacity, int count)
    : m_items(items),
      m_capacity(capacity),
      m_count(count),
      m_arenaSlots(count),
      m_slotsInArena(true),
      m_inArena(true) {}

CHTMLAttrs* CHTMLAttrs::NewInArena(CHTMLAttrArena& arena, const CHTMLAttrs* from) {
    const int count = from != nullptr ? from->m_count : 0;
    // The capacity the list reports is the one of a list grown by steps of
    // ten; only the slots in use take room.
    const int capacity = count <= kAttrsGrowStep
                             ? kAttrsGrowStep
                             : (count + kAttrsGrowStep - 1) / kAttrsGrowStep * kAttrsGrowStep;
    // One piece of the arena for the list, its slots, its attributes and
    // their texts; the lengths of the texts of up to kBatch attributes are
    // measured once.
    constexpr int kBatch = 32;
    unsigned lengths[2 * kBatch];
    const char* common[kBatch];
    const bool batch = count <= kBatch;
    const std::size_t slots = static_cast<std::size_t>(count > 0 ? count : 1);
    std::size_t size = sizeof(CHTMLAttrs) + sizeof(CHTMLAttr*) * slots;
    if (batch) {
        size += sizeof(CHTMLAttr) * static_cast<std::size_t>(count);
        for (int i = 0; i < count; ++i) {
            const CHTMLAttr& a = *from->m_items[i];
            lengths[2 * i] = Length(a.m_name);
            lengths[2 * i + 1] = Length(a.value());
            common[i] = CommonName(a.m_name, lengths[2 * i]);
            size += (a.m_name != nullptr && common[i] == nullptr ? lengths[2 * i] + 1u : 0u) +
                    (a.value() != nullptr ? lengths[2 * i + 1] + 1u : 0u);
        }
    }
    static_assert(sizeof(CHTMLAttrs) % alignof(CHTMLAttr*) == 0 &&
                      sizeof(CHTMLAttr*) % alignof(CHTMLAttr) == 0 &&
                      alignof(CHTMLAttr) <= alignof(CHTMLAttrs),
                  "list, slots and attributes follow each other without padding");
    char* block = static_cast<char*>(arena.allocate(size, alignof(CHTMLAttrs)));
    if (block == nullptr) {
        return nullptr;
    }
    auto** items = reinterpret_cast<CHTMLAttr**>(block + sizeof(CHTMLAttrs));
    int made = 0;
    if (batch) {
        char* attrs = block + sizeof(CHTMLAttrs) + sizeof(CHTMLAttr*) * slots;
        char* text = attrs + sizeof(CHTMLAttr) * static_cast<std::size_t>(count);
        for (; made < count; ++made) {
            const CHTMLAttr& a = *from->m_items[made];
            char* name = nullptr;
            char* value = nullptr;
            if (common[made] != nullptr) {
                // Static text: never written or freed, like the arena's.
                name = const_cast<char*>(common[made]);
            } else if (a.m_name != nullptr) {
                name = text;
                std::memcpy(name, a.m_name, lengths[2 * made]);
                name[lengths[2 * made]] = '\0';
                text += lengths[2 * made] + 1;
            }
            if (a.value() != nullptr) {
                value = text;
                std::memcpy(value, a.value(), lengths[2 * made + 1]);
                value[lengths[2 * made + 1]] = '\0';
                text += lengths[2 * made + 1] + 1;
            }
            items[made] = new (attrs + sizeof(CHTMLAttr) * static_cast<std::size_t>(made))
                CHTMLAttr(CHTMLAttr::InArena{}, name, value);
        }
    } else {
        for (; made < count; ++made) {
            items[made] = CHTMLAttr::NewInArena(arena, *from->m_items[made]);
            if (items[made] == nullptr) {
                break;  // out of memory: the attributes copied so far
            }
        }
    }
    return new (block) CHTMLAttrs(InArena{}, items, capacity, made);
}

void CHTMLAttrs::operator delete(CHTMLAttrs* list, std::destroying_delete_t) {
    const bool inArena = list->m_inArena;
    list->~CHTMLAttrs();
    if (!inArena) {
        ::operator delete(list);
    }
}

CHTMLAttrs::CHTMLAttrs(const CHTMLAttrs& other) : CHTMLAttrs() {
    for (int i = 0; i < other.m_count; ++i) {
        add(new CHTMLAttr(*other.m_items[i]));
    }
}

CHTMLAttrs& CHTMLAttrs::operator=(const CHTMLAttrs& other) {
    if (this != &other) {
        removeAll();
        for (int i = 0; i < other.m_count; ++i) {
            add(new CHTMLAttr(*other.m_items[i]));
        }
    }
    return *this;
}

CHTMLAttrs::~CHTMLAttrs() {
    removeAll();
    if (!m_slotsInArena) {
        std::free(m_items);
    }
}

void CHTMLAttrs::add(CHTMLAttr* attr) {
    if (attr == nullptr) {
        return;
    }
    if (m_count == m_capacity) {
        const int capacity = m_capacity + kAttrsGrowStep;
        if (m_slotsInArena) {
            // Slots in an arena cannot grow: the heap takes over.
            auto** items = static_cast<CHTMLAttr**>(
                std::malloc(sizeof(CHTMLAttr*) * static_cast<std::size_t>(capacity)));
            if (items == nullptr) {
                return;
            }
            std::memcpy(items, m_items, sizeof(CHTMLAttr*) * static_cast<std::size_t>(m_count));
            m_items = items;
            m_slotsInArena = false;
        } else {
            m_items = static_cast<CHTMLAttr**>(
                std::realloc(m_items, sizeof(CHTMLAttr*) * static_cast<std::size_t>(capacity)));
        }
        m_capacity = capacity;
    } else if (m_slotsInArena && m_count >= m_arenaSlots) {
        // Room for the reported capacity, on the heap.
        auto** items = static_cast<CHTMLAttr**>(
            std::malloc(sizeof(CHTMLAttr*) * static_cast<std::size_t>(m_capacity)));
        if (items == nullptr) {
            return;
        }
        std::memcpy(items, m_items, sizeof(CHTMLAttr*) * static_cast<std::size_t>(m_count));
        m_items = items;
        m_slotsInArena = false;
    }
    m_items[m_count++] = attr;
}

void CHTMLAttrs::add(const char* name, const char* value) {
    add(new CHTMLAttr(name, value));
}

void CHTMLAttrs::removeAll() {
    for (int i = 0; i < m_count; ++i) {
        delete m_items[i];
    }
    m_count = 0;
}

bool CHTMLAttrs::find(const char* name, CHTMLAttr*& out) const {
    out = nullptr;
    if (name == nullptr) {
        return false;
    }
    for (int i = 0; i < m_count; ++i) {
        const char* n = m_items[i]->name();
        if (n != nullptr && std::strcmp(n, name) == 0) {
            out = m_items[i];
            return true;
        }
    }
    return false;
}
