#pragma once
// The page facade over a scanned page. The model is flat: root, siblings
// and per-object data answer null or do nothing.
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLVParser.h"

class CHTMLScanner;

class CHTMLPage : public CHTMLVParser {
public:
    enum Sibling { SIBLING_FIRST = 0, SIBLING_PREVIOUS = 1, SIBLING_NEXT = 2, SIBLING_LAST = 3 };

    // The scanner is not owned and must outlive the facade.
    explicit CHTMLPage(const CHTMLScanner* scanner) : m_scanner(scanner) {}
    ~CHTMLPage() override;

    virtual CHTMLObject* root() { return nullptr; }
    virtual CHTMLObject* getSibling(CHTMLObject*, Sibling) { return nullptr; }
    virtual void* getData(CHTMLObject*) { return nullptr; }
    virtual void setData(CHTMLObject*, void*) {}

    virtual int nMaps() const;
    // Null when out of range.
    virtual CHTMLMap* map(int i) const;

    // The rest of the scanner's results, for callers that only hold the
    // facade.
    int nForms() const;
    CHTMLForm* form(int i) const;
    int nLinks() const;
    CHTMLLink* link(int i) const;
    const char* title() const;
    bool isFrameSet() const;
    bool isFrame() const;

private:
    const CHTMLScanner* m_scanner;
};
