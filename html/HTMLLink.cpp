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
      m_base(base),
      m_object(object) {}

CHTMLLinkImpl::~CHTMLLinkImpl() {
    std::free(m_urlAttrName);
    std::free(m_url);
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
