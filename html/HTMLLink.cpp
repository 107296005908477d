#include "webstep/html/HTMLLink.h"

#include <cstdlib>

CHTMLLink::~CHTMLLink() = default;

CHTMLLinkImpl::CHTMLLinkImpl(HTMLTag tag, const char* urlAttrName, const char* url, bool isResource,
                             bool isFollowable, CHTMLObjectImpl* base, CHTMLObject* object)
    : m_tag(tag),
      m_urlAttrName(htmlpage::Duplicate(urlAttrName != nullptr ? urlAttrName : "")),
      m_url(htmlpage::Duplicate(url != nullptr ? url : "")),
      m_isResource(isResource),
      m_isFollowable(isFollowable),
      m_isMap(false),
      m_inArena(false),
      m_base(base),
      m_object(object) {}

CHTMLLinkImpl::CHTMLLinkImpl(InArena, HTMLTag tag, const char* urlAttrName, const char* url,
                             bool isResource, bool isFollowable, CHTMLObjectImpl* base,
                             CHTMLObject* object)
    : m_tag(tag),
      m_urlAttrName(const_cast<char*>(urlAttrName != nullptr ? urlAttrName : "")),
      m_url(const_cast<char*>(url != nullptr ? url : "")),
      m_isResource(isResource),
      m_isFollowable(isFollowable),
      m_isMap(false),
      m_inArena(true),
      m_base(base),
      m_object(object) {}

CHTMLLinkImpl* CHTMLLinkImpl::NewInArena(CHTMLAttrArena& arena, HTMLTag tag,
                                         const char* urlAttrName, const char* url, bool isResource,
                                         bool isFollowable, CHTMLObjectImpl* base,
                                         CHTMLObject* object) {
    void* place = arena.allocate(sizeof(CHTMLLinkImpl), alignof(CHTMLLinkImpl));
    if (place == nullptr) {
        return new CHTMLLinkImpl(tag, urlAttrName, url, isResource, isFollowable, base, object);
    }
    return new (place)
        CHTMLLinkImpl(InArena{}, tag, urlAttrName, url, isResource, isFollowable, base, object);
}

void CHTMLLinkImpl::operator delete(CHTMLLinkImpl* link, std::destroying_delete_t) {
    const bool inArena = link->m_inArena;
    link->~CHTMLLinkImpl();
    if (!inArena) {
        ::operator delete(link);
    }
}

CHTMLLinkImpl::~CHTMLLinkImpl() {
    if (!m_inArena) {
        std::free(m_urlAttrName);
        std::free(m_url);
    }
}

const char* CHTMLLinkImpl::base() const {
    return m_base != nullptr ? m_base->attr("href") : nullptr;
}

const char* CHTMLLinkImpl::baseTarget() const {
    return m_base != nullptr ? m_base->attr("target") : nullptr;
}

CHTMLMap::CHTMLMap(CHTMLObjectImpl* impl) : CHTMLObject(impl) {}

CHTMLMap::~CHTMLMap() {
    // The links belong to the scanner: drop them without deleting.
    m_links.SetSize(0);
    delete m_impl;
}

CHTMLLink* CHTMLMap::element(int i) const {
    return i >= 0 && i < m_links.size() ? m_links[i] : nullptr;
}
