#include "webstep/html/HTMLObject.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace htmlpage {

char* Duplicate(const char* s) {
    return s == nullptr ? nullptr : Duplicate(s, static_cast<unsigned>(std::strlen(s)));
}

char* Duplicate(const char* s, unsigned length) {
    if (s == nullptr) {
        return nullptr;
    }
    char* copy = static_cast<char*>(std::malloc(length + 1u));
    if (copy != nullptr) {
        std::memcpy(copy, s, length);
        copy[length] = '\0';
    }
    return copy;
}

bool EqualsNoCase(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    return strcasecmp(a, b) == 0;
}

}  // namespace htmlpage

CHTMLObjectImpl::CHTMLObjectImpl(HTMLTag tag, CHTMLAttrs* attrs)
    : m_tag(tag),
      m_attrs(attrs != nullptr ? attrs : new CHTMLAttrs()),
      m_content(nullptr),
      m_contentInArena(false),
      m_inArena(false) {}

CHTMLObjectImpl* CHTMLObjectImpl::NewInArena(CHTMLAttrArena& arena, HTMLTag tag,
                                             CHTMLAttrs* attrs) {
    void* place = arena.allocate(sizeof(CHTMLObjectImpl), alignof(CHTMLObjectImpl));
    if (place == nullptr) {
        return new CHTMLObjectImpl(tag, attrs);
    }
    auto* object = new (place) CHTMLObjectImpl(tag, attrs);
    object->m_inArena = true;
    return object;
}

void CHTMLObjectImpl::operator delete(CHTMLObjectImpl* object, std::destroying_delete_t) {
    const bool inArena = object->m_inArena;
    object->~CHTMLObjectImpl();
    if (!inArena) {
        ::operator delete(object);
    }
}

CHTMLObjectImpl::CHTMLObjectImpl(HTMLTag tag) : CHTMLObjectImpl(tag, nullptr) {}

CHTMLObjectImpl::CHTMLObjectImpl(const CHTMLObjectImpl& other)
    : m_tag(other.m_tag),
      m_attrs(new CHTMLAttrs(*other.m_attrs)),
      m_content(htmlpage::Duplicate(other.m_content)),
      m_contentInArena(false),
      m_inArena(false) {}

CHTMLObjectImpl& CHTMLObjectImpl::operator=(const CHTMLObjectImpl& other) {
    if (this != &other) {
        CHTMLAttrs* attrs = new CHTMLAttrs(*other.m_attrs);
        char* content = htmlpage::Duplicate(other.m_content);
        delete m_attrs;
        releaseContent();
        m_tag = other.m_tag;
        m_attrs = attrs;
        m_content = content;
    }
    return *this;
}

CHTMLObjectImpl::~CHTMLObjectImpl() {
    delete m_attrs;
    releaseContent();
}

void CHTMLObjectImpl::releaseContent() {
    if (!m_contentInArena && m_content != nullptr) {
        std::free(m_content);
    }
    m_content = nullptr;
    m_contentInArena = false;
}

CHTMLAttr* CHTMLObjectImpl::find(const char* name) const {
    CHTMLAttr* found = nullptr;
    if (name == nullptr || !m_attrs->find(name, found)) {
        return nullptr;
    }
    return found;
}

CHTMLAttr* CHTMLObjectImpl::findAttrNoCase(const char* name) const {
    for (int i = 0; i < m_attrs->size(); ++i) {
        CHTMLAttr* a = (*m_attrs)[static_cast<unsigned>(i)];
        if (a->name() != nullptr && htmlpage::EqualsNoCase(a->name(), name)) {
            return a;
        }
    }
    return nullptr;
}

const char* CHTMLObjectImpl::attr(const char* name) const {
    const CHTMLAttr* a = find(name);
    if (a == nullptr) {
        return nullptr;
    }
    return a->value() != nullptr ? a->value() : "";
}

bool CHTMLObjectImpl::getAttrByIndex(int i, CHTMLAttr& out) const {
    if (i < 0 || i >= m_attrs->size()) {
        return false;
    }
    out = *(*m_attrs)[static_cast<unsigned>(i)];
    return true;
}

const char* CHTMLObjectImpl::getAttrNameByIndex(int i) const {
    if (i < 0 || i >= m_attrs->size()) {
        return nullptr;
    }
    return (*m_attrs)[static_cast<unsigned>(i)]->name();
}

const char* CHTMLObjectImpl::getAttrValueByIndex(int i) const {
    if (i < 0 || i >= m_attrs->size()) {
        return nullptr;
    }
    const char* v = (*m_attrs)[static_cast<unsigned>(i)]->value();
    return v != nullptr ? v : "";
}

bool CHTMLObjectImpl::isAttrValueDefined(const char* name) const {
    const CHTMLAttr* a = find(name);
    return a != nullptr && a->hasAValue();
}

void CHTMLObjectImpl::setAttr(const char* name, const char* value) {
    CHTMLAttr* a = find(name);
    if (a != nullptr) {
        a->setValue(value);
    }
}

void CHTMLObjectImpl::addAttr(const char* name, const char* value) {
    m_attrs->add(name, value);
}

void CHTMLObjectImpl::setContent(const char* text) {
    char* copy = htmlpage::Duplicate(text);
    releaseContent();
    m_content = copy;
}

void CHTMLObjectImpl::setContent(const char* text, unsigned length) {
    char* copy = htmlpage::Duplicate(text, length);
    releaseContent();
    m_content = copy;
}

void CHTMLObjectImpl::setContentInArena(const char* text) {
    releaseContent();
    m_content = const_cast<char*>(text);
    m_contentInArena = text != nullptr;
}

CHTMLObject::~CHTMLObject() = default;

HTMLTag CHTMLObject::tag() const {
    return m_impl != nullptr ? m_impl->tag() : HTML_UNKNOWN_TAG;
}
int CHTMLObject::nAttrs() const {
    return m_impl != nullptr ? m_impl->nAttrs() : 0;
}
const char* CHTMLObject::attr(const char* name) const {
    return m_impl != nullptr ? m_impl->attr(name) : nullptr;
}
bool CHTMLObject::getAttrByIndex(int i, CHTMLAttr& out) const {
    return m_impl != nullptr && m_impl->getAttrByIndex(i, out);
}
const char* CHTMLObject::getAttrNameByIndex(int i) const {
    return m_impl != nullptr ? m_impl->getAttrNameByIndex(i) : nullptr;
}
const char* CHTMLObject::getAttrValueByIndex(int i) const {
    return m_impl != nullptr ? m_impl->getAttrValueByIndex(i) : nullptr;
}
bool CHTMLObject::isAttrValueDefined(const char* name) const {
    return m_impl != nullptr && m_impl->isAttrValueDefined(name);
}
void CHTMLObject::setAttr(const char* name, const char* value) {
    if (m_impl != nullptr) {
        m_impl->setAttr(name, value);
    }
}
const char* CHTMLObject::content() const {
    return m_impl != nullptr ? m_impl->content() : nullptr;
}

CHTMLObjectDirect::~CHTMLObjectDirect() {
    delete m_impl;
}

void CHTMLObjectDirect::operator delete(CHTMLObjectDirect* object, std::destroying_delete_t) {
    const bool inArena = object->m_inArena;
    object->~CHTMLObjectDirect();
    if (!inArena) {
        ::operator delete(object);
    }
}
