#pragma once
// A page that a context tree node can own outright.
//
// The facade that CHTMLScanner::CreateObject gives borrows its scanner, and
// the scanner cannot be copied, so such a facade lives no longer than
// whoever keeps the scanner, and its copy is bound to the same scanner. A
// node that owns its page, and a tree copy that must outlive the tree it was
// taken from, need a page that owns its scanner and the scanned text: this
// class. It copies itself by scanning the same text again into a scanner of
// its own. The tree itself only talks to the CHTMLVParser facade.
#include <cstddef>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/html/HTMLPage.h"
#include "webstep/html/TagMap.h"

class CHTMLScanner;

/// A scanned page that owns its scanner and text, so that a context tree node
/// can own it and a tree copy can outlive the original. Scan never returns
/// null (an empty text gives an empty page); the caller, or the node it is
/// given to, deletes it.
class WEBSTEP_API CContextPage : public CHTMLPage {
public:
    /// Scans length bytes of text (null or empty gives an empty page) with
    /// the link table (null: CHTMLVParser::linkDescriptor). Never null.
    static CContextPage* Scan(const char* text, std::size_t length,
                              const LinkSpec* table = nullptr);
    static CContextPage* Scan(const MString& text, const LinkSpec* table = nullptr) {
        return Scan(text.data(), text.size(), table);
    }

    CContextPage(const CContextPage&) = delete;
    CContextPage& operator=(const CContextPage&) = delete;
    ~CContextPage() override;

    /// A new page scanned from the same text with the same link table, with
    /// a scanner of its own.
    CContextPage* clone() const override;
    const MString& text() const { return m_text; }
    CHTMLScanner* scanner() const { return m_scanner; }

private:
    CContextPage(CHTMLScanner* scanner, MString text, const LinkSpec* table);

    CHTMLScanner* m_scanner;
    MString m_text;
    const LinkSpec* m_table;
};
