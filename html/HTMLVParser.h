#pragma once
// The page facade: what the rest of the library sees of a scanned page.
//
// Every operation is virtual and has a safe default body, so a facade class
// only overrides what it can answer: a page that offers nothing has no
// forms, links or maps, no title, is neither a frameset nor a frame, counts
// as empty and cannot be copied. The page model is flat: root(), getSibling()
// and getData() give null and setData() does nothing unless a subclass keeps
// such data. The class is abstract only through its destructor; it is meant
// to be derived from (CHTMLScanner::CreateObject gives the facade over a
// scanner's results).
#include "webstep/foundation/Export.h"
#include "webstep/html/TagMap.h"

class CHTMLObject;
class CHTMLForm;
class CHTMLLink;
class CHTMLMap;

/// The page facade: what the rest of the library sees of a scanned page.
/// Every question has a safe default answer (no forms, no links, no title,
/// empty, not copyable: clone gives null), so subclasses answer only what
/// they know. Owned by whoever created it (a context tree node owns the page
/// it is given).
class WEBSTEP_API CHTMLVParser {
public:
    /// The model keeps no tree; the values only name the direction asked for.
    enum Sibling { SIBLING_FIRST = 0, SIBLING_PREVIOUS = 1, SIBLING_NEXT = 2, SIBLING_LAST = 3 };

    CHTMLVParser() = default;
    CHTMLVParser(const CHTMLVParser&) = default;
    CHTMLVParser& operator=(const CHTMLVParser&) = default;
    virtual ~CHTMLVParser() = 0;

    virtual CHTMLObject* root() { return nullptr; }
    virtual CHTMLObject* getSibling(CHTMLObject*, Sibling) { return nullptr; }
    /// Data a caller attached to a page object; what it is and who frees it is
    /// up to the subclass that keeps it.
    virtual void* getData(CHTMLObject*) { return nullptr; }
    virtual void setData(CHTMLObject*, void*) {}

    /// Counts and elements in page order; an element out of range is null.
    virtual int nMaps() const { return 0; }
    virtual CHTMLMap* map(int) const { return nullptr; }
    virtual int nForms() const { return 0; }
    virtual CHTMLForm* form(int) const { return nullptr; }
    virtual int nLinks() const { return 0; }
    virtual CHTMLLink* link(int) const { return nullptr; }

    /// The title text, or null when the page has none.
    virtual const char* title() const { return nullptr; }
    /// A frameset was opened and is not closed (yet); a page scanned to its
    /// end with its framesets closed answers false.
    virtual bool isFrameSet() const { return false; }
    /// A frame tag was met anywhere in the page.
    virtual bool isFrame() const { return false; }
    /// True while no byte of the page was scanned.
    virtual bool isEmpty() const { return true; }

    /// A new facade of the same page that the caller owns and deletes, or null
    /// when this page cannot be copied.
    virtual CHTMLVParser* clone() const { return nullptr; }

    /// 24 rows and the terminating row.
    static const LinkSpec linkDescriptor[];
};
