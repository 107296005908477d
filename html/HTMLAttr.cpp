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

}  // namespace

CHTMLAttr::CHTMLAttr(const char* name, const char* value)
    : m_name(Duplicate(name)),
      m_value(Duplicate(value)),
      m_nameCapacity(Capacity(name)),
      m_valueCapacity(Capacity(value)),
      m_hasValue(value != nullptr),
      m_valueInName(false) {}

CHTMLAttr::CHTMLAttr(const CHTMLAttr& other)
    : m_name(Duplicate(other.m_name)),
      m_value(Duplicate(other.value())),
      m_nameCapacity(Capacity(other.m_name)),
      m_valueCapacity(Capacity(other.value())),
      m_hasValue(other.m_hasValue),
      m_valueInName(false) {}

CHTMLAttr& CHTMLAttr::operator=(const CHTMLAttr& other) {
    if (this != &other) {
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
    std::free(m_name);
    if (!m_valueInName) {
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

CHTMLAttrs::CHTMLAttrs()
    : m_items(static_cast<CHTMLAttr**>(std::malloc(sizeof(CHTMLAttr*) * kAttrsGrowStep))),
      m_capacity(kAttrsGrowStep),
      m_count(0) {}

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
    std::free(m_items);
}

void CHTMLAttrs::add(CHTMLAttr* attr) {
    if (attr == nullptr) {
        return;
    }
    if (m_count == m_capacity) {
        const int capacity = m_capacity + kAttrsGrowStep;
        m_items = static_cast<CHTMLAttr**>(
            std::realloc(m_items, sizeof(CHTMLAttr*) * static_cast<std::size_t>(capacity)));
        m_capacity = capacity;
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
