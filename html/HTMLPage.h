#pragma once
// The page facade over a scanner's results (what CHTMLScanner::CreateObject
// gives). It borrows the scanner: the scanner must outlive the facade and
// every copy of it. The model is flat: root, siblings and per-object data
// keep the facade's defaults (null, nothing kept).
#include "webstep/foundation/Export.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLVParser.h"

class CHTMLScanner;

/// The page facade over a scanner's results, made by
/// CHTMLScanner::CreateObject and deleted by the caller. It borrows the
/// scanner, which must outlive it and its copies.
class WEBSTEP_API CHTMLPage : public CHTMLVParser {
public:
    /// The scanner is not owned; null gives a page with nothing in it.
    explicit CHTMLPage(const CHTMLScanner* scanner) : m_scanner(scanner) {}
    ~CHTMLPage() override;

    int nMaps() const override;
    CHTMLMap* map(int i) const override;
    int nForms() const override;
    CHTMLForm* form(int i) const override;
    int nLinks() const override;
    CHTMLLink* link(int i) const override;
    const char* title() const override;
    bool isFrameSet() const override;
    bool isFrame() const override;
    /// The scanner's answer: true from its startParse until the first
    /// non-empty piece (and for a facade without scanner).
    bool isEmpty() const override;
    /// Another facade over the same scanner. Only this exact class is copied
    /// that way: a derived class may hold more than the copy would carry, so
    /// unless it overrides clone() it cannot be copied (null).
    CHTMLVParser* clone() const override;

    const CHTMLScanner* scanner() const { return m_scanner; }

private:
    const CHTMLScanner* m_scanner;
};
