#include "webstep/html/HTMLAttr.h"

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

}  // namespace

CHTMLAttr::CHTMLAttr(const char* name, const char* value)
    : m_name(Duplicate(name)),
      m_value(Duplicate(value)),
      m_nameCapacity(Capacity(name)),
      m_valueCapacity(Capacity(value)),
      m_hasValue(value != nullptr) {}

CHTMLAttr::CHTMLAttr(const CHTMLAttr& other)
    : m_name(Duplicate(other.m_name)),
      m_value(Duplicate(other.value())),
      m_nameCapacity(Capacity(other.m_name)),
      m_valueCapacity(Capacity(other.value())),
      m_hasValue(other.m_hasValue) {}

CHTMLAttr& CHTMLAttr::operator=(const CHTMLAttr& other) {
    if (this != &other) {
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
    std::free(m_value);
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
    Store(m_value, m_valueCapacity, text, Length(text));
    m_hasValue = m_value != nullptr;
}

void CHTMLAttr::assign(const char* name, unsigned nameLength, const char* value,
                       unsigned valueLength) {
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
