#pragma once
// The page objects left by the page scanner: an implementation object holding
// a tag, its attribute list and an optional text content, and the thin
// public wrappers that callers read it through. The model is flat: there is
// no parent/child navigation.
#include "webstep/foundation/Export.h"
#include "webstep/html/HTMLAttr.h"
#include "webstep/html/HTMLTag.h"

/// One element of a page: its tag, its attributes (the scanner's objects
/// hold a copy of the lexer's list placed in the page's arena) and its text
/// content (anchor text, text area contents...).
class WEBSTEP_API CHTMLObjectImpl {
public:
    /// Takes ownership of attrs; a null list stands for an empty one.
    CHTMLObjectImpl(HTMLTag tag, CHTMLAttrs* attrs);
    explicit CHTMLObjectImpl(HTMLTag tag);
    /// Deep copy of attributes and content (on the heap, also for a copy of
    /// an object placed in an arena).
    CHTMLObjectImpl(const CHTMLObjectImpl& other);
    /// An object placed in arena with attrs (null for an empty list), which
    /// the object owns; the arena must outlive it. Deleting it releases only
    /// what it took beyond the arena.
    static CHTMLObjectImpl* NewInArena(CHTMLAttrArena& arena, HTMLTag tag, CHTMLAttrs* attrs);
    /// Objects placed in an arena are destroyed without freeing their memory.
    void operator delete(CHTMLObjectImpl* object, std::destroying_delete_t);
    CHTMLObjectImpl& operator=(const CHTMLObjectImpl& other);
    virtual ~CHTMLObjectImpl();

    virtual HTMLTag tag() const { return m_tag; }
    virtual int nAttrs() const { return m_attrs->size(); }
    /// The value of the first attribute with exactly this name, an empty
    /// string when it has no value, null when absent.
    virtual const char* attr(const char* name) const;
    virtual bool getAttrByIndex(int i, CHTMLAttr& out) const;
    /// Null when i is out of range.
    virtual const char* getAttrNameByIndex(int i) const;
    /// An empty string for a missing value; null when i is out of range.
    virtual const char* getAttrValueByIndex(int i) const;
    virtual bool isAttrValueDefined(const char* name) const;
    /// Replaces the value of the first attribute with that name; does nothing
    /// when there is none (deliberately: no attribute is created).
    virtual void setAttr(const char* name, const char* value);

    /// Appends an attribute (used by the scanner for the attributes it adds).
    void addAttr(const char* name, const char* value);
    /// The first attribute whose name equals name ignoring ASCII case.
    CHTMLAttr* findAttrNoCase(const char* name) const;

    /// Null when none was set.
    const char* content() const { return m_content; }
    /// Stores a copy; null clears it.
    void setContent(const char* text);
    void setContent(const char* text, unsigned length);
    /// Makes text, which lies in an arena that outlives the object, the
    /// content without copying it.
    void setContentInArena(const char* text);

    CHTMLAttrs* attrs() const { return m_attrs; }

private:
    CHTMLAttr* find(const char* name) const;

    void releaseContent();

    HTMLTag m_tag;
    CHTMLAttrs* m_attrs;
    char* m_content;
    /// The content belongs to an arena (not freed).
    bool m_contentInArena;
    /// The object lies in an arena.
    bool m_inArena;
};

/// The public view of one page object; all calls are forwarded to the
/// implementation object. This base class does not own it.
class WEBSTEP_API CHTMLObject {
public:
    explicit CHTMLObject(CHTMLObjectImpl* impl = nullptr) : m_impl(impl) {}
    CHTMLObject(const CHTMLObject&) = delete;
    CHTMLObject& operator=(const CHTMLObject&) = delete;
    virtual ~CHTMLObject();

    CHTMLObjectImpl* GetImpl() const { return m_impl; }
    void SetImpl(CHTMLObjectImpl* impl) { m_impl = impl; }

    /// Without an implementation object every call answers as for an element
    /// without attributes: tag 0, no attributes, no content.
    virtual HTMLTag tag() const;
    virtual int nAttrs() const;
    virtual const char* attr(const char* name) const;
    virtual bool getAttrByIndex(int i, CHTMLAttr& out) const;
    virtual const char* getAttrNameByIndex(int i) const;
    virtual const char* getAttrValueByIndex(int i) const;
    virtual bool isAttrValueDefined(const char* name) const;
    virtual void setAttr(const char* name, const char* value);
    virtual const char* content() const;

protected:
    CHTMLObjectImpl* m_impl;
};

/// A plain link or image object made by the scanner; owns its implementation
/// object.
class WEBSTEP_API CHTMLObjectDirect : public CHTMLObject {
public:
    explicit CHTMLObjectDirect(CHTMLObjectImpl* impl) : CHTMLObject(impl), m_inArena(false) {}
    ~CHTMLObjectDirect() override;

    /// An object (or anchor) placed in arena around impl; null when memory
    /// runs out (impl is then not adopted).
    template <class T>
    static T* NewInArena(CHTMLAttrArena& arena, CHTMLObjectImpl* impl) {
        void* place = arena.allocate(sizeof(T), alignof(T));
        if (place == nullptr) {
            return nullptr;
        }
        T* object = new (place) T(impl);
        static_cast<CHTMLObjectDirect*>(object)->m_inArena = true;
        return object;
    }
    /// Objects placed in an arena are destroyed without freeing their memory.
    void operator delete(CHTMLObjectDirect* object, std::destroying_delete_t);

private:
    bool m_inArena;
};

/// An anchor; it knows the first image that stood inside it. The image is
/// owned by the scanner's object list, not by the anchor.
class WEBSTEP_API CHTMLAnchor : public CHTMLObjectDirect {
public:
    explicit CHTMLAnchor(CHTMLObjectImpl* impl) : CHTMLObjectDirect(impl), m_image(nullptr) {}

    CHTMLObjectDirect* getImage() const { return m_image; }
    void setImage(CHTMLObjectDirect* image) { m_image = image; }

private:
    CHTMLObjectDirect* m_image;
};

// Small string helpers shared by the page model and the scanner.
namespace htmlpage {
/// A malloc'ed copy; null for null.
WEBSTEP_API char* Duplicate(const char* s);
WEBSTEP_API char* Duplicate(const char* s, unsigned length);
/// ASCII case-insensitive equality; null equals only null.
WEBSTEP_API bool EqualsNoCase(const char* a, const char* b);
}  // namespace htmlpage
