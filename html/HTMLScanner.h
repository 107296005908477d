#pragma once
// The page scanner: reads one page, fed in pieces, and keeps its forms,
// links, image maps, base elements, title and frame flags. At the end of
// input a translation component may hand back a replacement page, which is
// then scanned instead.
#include "webstep/foundation/Export.h"
#include "webstep/html/HTMLLoader.h"
#include "webstep/html/HTMLPage.h"
#include "webstep/html/HTMLScannerImpl.h"

/// The page scanner: fed a page in pieces, it keeps the page model (forms,
/// links, image maps, base elements, title, frame flags) until the next
/// startParse. It owns the model; pointers it hands out live as long as the
/// model. Malformed HTML never fails; indexes out of range give null.
/// CreateObject gives a facade that the caller deletes before the scanner.
class WEBSTEP_API CHTMLScanner {
public:
    /// table: the link table; null takes CHTMLVParser::linkDescriptor.
    explicit CHTMLScanner(const LinkSpec* table = nullptr);
    CHTMLScanner(const CHTMLScanner&) = delete;
    CHTMLScanner& operator=(const CHTMLScanner&) = delete;
    virtual ~CHTMLScanner();

    virtual void setup(const LinkSpec* table);
    /// Discards the previous page's results.
    virtual void startParse();
    /// A piece of the page; an empty piece is ignored.
    virtual void continueParse(const char* data, unsigned length);
    virtual void endParse();

    /// True from startParse until the first non-empty piece.
    virtual bool isEmpty() const { return m_empty; }
    virtual const char* title() const { return m_impl->title(); }
    virtual bool isFrameSet() const { return m_impl->framesetDepth() != 0; }
    virtual bool isFrame() const { return m_impl->isFrame(); }
    virtual int nForms() const { return m_impl->nForms(); }
    virtual CHTMLForm* form(unsigned i) const { return m_impl->form(static_cast<int>(i)); }
    virtual int nLinks() const { return m_impl->nLinks(); }
    virtual CHTMLLink* link(unsigned i) const { return m_impl->link(static_cast<int>(i)); }
    virtual int nMaps() const { return m_impl->nMaps(); }
    virtual CHTMLMap* map(unsigned i) const { return m_impl->map(static_cast<int>(i)); }
    /// A new facade over this scanner's results; the caller deletes it and
    /// must not use it after the scanner is gone.
    virtual CHTMLPage* CreateObject();

    /// Base elements in page order (their attributes are those of the tag).
    int nBases() const { return m_impl->nBases(); }
    CHTMLObjectImpl* baseElement(unsigned i) const {
        return m_impl->baseElement(static_cast<int>(i));
    }
    CHTMLScannerImpl* impl() const { return m_impl; }

private:
    /// Owns and deletes the translator for the current page.
    class CTranslator;

    CTranslator* m_translator;
    CHTMLScannerImpl* m_impl;
    bool m_empty;
};
