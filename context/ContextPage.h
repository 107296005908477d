#pragma once
// A page that a context tree node can own outright, and the questions the
// tree asks of whatever page a node holds.
//
// The nodes hold pages as CHTMLVParser pointers. The tree needs more than
// that facade offers (whether anything was scanned, the links, the frame
// flags, a copy), so it asks through the static helpers below, which
// recognise two kinds of page:
// - CContextPage: owns its scanner and the scanned text; it knows whether it
//   is empty and copies itself by scanning the same text again.
// - any other CHTMLPage (such as CHTMLScanner::CreateObject's facade, which
//   borrows its scanner): links and frame flags come from the scanner; it is
//   never taken for empty, and its copy is another facade over the same
//   scanner.
// A page of any other class has no links, counts as empty, answers false to
// both frame questions and cannot be copied.
#include <cstddef>

#include "webstep/foundation/MString.h"
#include "webstep/html/HTMLPage.h"
#include "webstep/html/TagMap.h"

class CHTMLScanner;

class CContextPage : public CHTMLPage {
public:
    // Scans length bytes of text (null or empty gives an empty page) with
    // the link table (null: CHTMLVParser::linkDescriptor). Never null.
    static CContextPage* Scan(const char* text, std::size_t length,
                              const LinkSpec* table = nullptr);
    static CContextPage* Scan(const MString& text, const LinkSpec* table = nullptr) {
        return Scan(text.data(), text.size(), table);
    }

    CContextPage(const CContextPage&) = delete;
    CContextPage& operator=(const CContextPage&) = delete;
    ~CContextPage() override;

    // True when no byte was scanned.
    bool isEmpty() const;
    // A new page scanned from the same text with the same link table.
    virtual CContextPage* Clone() const;
    const MString& text() const { return m_text; }
    CHTMLScanner* scanner() const { return m_scanner; }

    // The helpers the context tree uses for any page (null: no page).
    static bool IsEmptyPage(const CHTMLVParser* page);
    static bool PageIsFrameSet(const CHTMLVParser* page);
    static bool PageIsFrame(const CHTMLVParser* page);
    static int PageLinkCount(const CHTMLVParser* page);
    // Null when out of range.
    static CHTMLLink* PageLink(const CHTMLVParser* page, int i);
    // The page's own copy, or null when it cannot be copied.
    static CHTMLVParser* ClonePage(const CHTMLVParser* page);

private:
    CContextPage(CHTMLScanner* scanner, MString text, const LinkSpec* table);

    CHTMLScanner* m_scanner;
    MString m_text;
    const LinkSpec* m_table;
};
