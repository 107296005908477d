#pragma once
// Links of the page model (every URL found in a URL-carrying attribute) and
// client-side image maps with the links of their areas.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/TextBuffer.h"
#include "webstep/html/HTMLObject.h"

class CHTMLMap;

/// What callers see of a link.
class WEBSTEP_API CHTMLLink {
public:
    CHTMLLink() : m_followed(false), m_map(nullptr) {}
    CHTMLLink(const CHTMLLink&) = delete;
    CHTMLLink& operator=(const CHTMLLink&) = delete;
    virtual ~CHTMLLink();

    void setFollowed(bool followed) { m_followed = followed; }
    bool isFollowed() const { return m_followed; }
    void setMap(CHTMLMap* map) { m_map = map; }
    CHTMLMap* getMap() const { return m_map; }

    virtual HTMLTag tag() const = 0;
    virtual const char* urlAttrName() const = 0;
    virtual const char* url() const = 0;
    virtual bool isResource() const = 0;
    virtual bool isFollowable() const = 0;
    virtual bool isMap() const = 0;
    /// "href" and "target" of the base element in force; null without one.
    virtual const char* base() const = 0;
    virtual const char* baseTarget() const = 0;
    /// The element the link belongs to (anchor, image or link object), or null.
    virtual CHTMLObject* getObject() const = 0;

private:
    bool m_followed;
    CHTMLMap* m_map;
};

/// The link record the scanner builds: tag, URL attribute name, URL and
/// flags, owned by the scanner's results.
class WEBSTEP_API CHTMLLinkImpl : public CHTMLLink {
public:
    /// Copies the name and the URL; base and object are not owned.
    CHTMLLinkImpl(HTMLTag tag, const char* urlAttrName, const char* url, bool isResource,
                  bool isFollowable, CHTMLObjectImpl* base, CHTMLObject* object);
    ~CHTMLLinkImpl() override;
    /// A link placed in arena that refers to urlAttrName and url instead of
    /// copying them: both must lie in the arena (or live longer). A null
    /// text reads as an empty one. Deleting it does not free its memory.
    static CHTMLLinkImpl* NewInArena(CHTMLAttrArena& arena, HTMLTag tag, const char* urlAttrName,
                                     const char* url, bool isResource, bool isFollowable,
                                     CHTMLObjectImpl* base, CHTMLObject* object);
    /// Links placed in an arena are destroyed without freeing their memory.
    void operator delete(CHTMLLinkImpl* link, std::destroying_delete_t);

    HTMLTag tag() const override { return m_tag; }
    const char* urlAttrName() const override { return m_urlAttrName; }
    const char* url() const override { return m_url; }
    bool isResource() const override { return m_isResource; }
    bool isFollowable() const override { return m_isFollowable; }
    bool isMap() const override { return m_isMap; }
    const char* base() const override;
    const char* baseTarget() const override;
    CHTMLObject* getObject() const override { return m_object; }

    void setIsMap(bool isMap) { m_isMap = isMap; }
    void setObject(CHTMLObject* object) { m_object = object; }
    CHTMLObjectImpl* baseElement() const { return m_base; }

private:
    struct InArena {};
    CHTMLLinkImpl(InArena, HTMLTag tag, const char* urlAttrName, const char* url, bool isResource,
                  bool isFollowable, CHTMLObjectImpl* base, CHTMLObject* object);

    HTMLTag m_tag;
    char* m_urlAttrName;
    char* m_url;
    bool m_isResource;
    bool m_isFollowable;
    bool m_isMap;
    /// Name and URL belong to an arena, as does the link itself.
    bool m_inArena;
    CHTMLObjectImpl* m_base;
    CHTMLObject* m_object;
};

/// A client-side image map. It owns its implementation object (the map
/// element) but not its links, which belong to the scanner.
class WEBSTEP_API CHTMLMap : public CHTMLObject {
public:
    explicit CHTMLMap(CHTMLObjectImpl* impl);
    ~CHTMLMap() override;

    const char* name() const { return attr("name"); }
    int nLinks() const { return m_links.size(); }
    /// Null when out of range.
    CHTMLLink* element(int i) const;
    void addLink(CHTMLLink* link) { m_links.add(link); }

private:
    ArrayOfPointers<CHTMLLink> m_links;
};
