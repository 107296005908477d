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

}  // namespace

CHTMLAttr::CHTMLAttr(const char* name, const char* value)
    : m_name(Duplicate(name)), m_value(Duplicate(value)) {}

CHTMLAttr::CHTMLAttr(const CHTMLAttr& other)
    : m_name(Duplicate(other.m_name)), m_value(Duplicate(other.m_value)) {}

CHTMLAttr& CHTMLAttr::operator=(const CHTMLAttr& other) {
    if (this != &other) {
        char* name = Duplicate(other.m_name);
        char* value = Duplicate(other.m_value);
        std::free(m_name);
        std::free(m_value);
        m_name = name;
        m_value = value;
    }
    return *this;
}

CHTMLAttr::~CHTMLAttr() {
    std::free(m_name);
    std::free(m_value);
}

void CHTMLAttr::setValue(const char* value) {
    char* copy = Duplicate(value != nullptr ? value : "");
    std::free(m_value);
    m_value = copy;
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
