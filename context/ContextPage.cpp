#include "webstep/context/ContextPage.h"

#include <algorithm>
#include <climits>
#include <typeinfo>
#include <utility>

#include "webstep/html/HTMLScanner.h"

namespace {
// The scanner takes pieces of at most UINT_MAX bytes.
constexpr std::size_t kPiece = 1u << 20;
}  // namespace

CContextPage::CContextPage(CHTMLScanner* scanner, MString text, const LinkSpec* table)
    : CHTMLPage(scanner), m_scanner(scanner), m_text(std::move(text)), m_table(table) {}

CContextPage::~CContextPage() {
    delete m_scanner;
}

CContextPage* CContextPage::Scan(const char* text, std::size_t length, const LinkSpec* table) {
    MString copy;
    if (text != nullptr && length > 0) {
        copy.assign(text, length);
    }
    auto* scanner = new CHTMLScanner(table);
    scanner->startParse();
    for (std::size_t at = 0; at < copy.size(); at += kPiece) {
        std::size_t piece = std::min(kPiece, copy.size() - at);
        scanner->continueParse(copy.data() + at, static_cast<unsigned>(piece));
    }
    scanner->endParse();
    return new CContextPage(scanner, std::move(copy), table);
}

bool CContextPage::isEmpty() const {
    return m_scanner->isEmpty();
}

CContextPage* CContextPage::Clone() const {
    return Scan(m_text.data(), m_text.size(), m_table);
}

bool CContextPage::IsEmptyPage(const CHTMLVParser* page) {
    if (const auto* own = dynamic_cast<const CContextPage*>(page)) {
        return own->isEmpty();
    }
    // A borrowed facade cannot tell whether its scanner saw any input.
    return dynamic_cast<const CHTMLPage*>(page) == nullptr;
}

bool CContextPage::PageIsFrameSet(const CHTMLVParser* page) {
    const auto* facade = dynamic_cast<const CHTMLPage*>(page);
    return facade != nullptr && facade->isFrameSet();
}

bool CContextPage::PageIsFrame(const CHTMLVParser* page) {
    const auto* facade = dynamic_cast<const CHTMLPage*>(page);
    return facade != nullptr && facade->isFrame();
}

int CContextPage::PageLinkCount(const CHTMLVParser* page) {
    const auto* facade = dynamic_cast<const CHTMLPage*>(page);
    return facade != nullptr ? facade->nLinks() : 0;
}

CHTMLLink* CContextPage::PageLink(const CHTMLVParser* page, int i) {
    const auto* facade = dynamic_cast<const CHTMLPage*>(page);
    return facade != nullptr ? facade->link(i) : nullptr;
}

CHTMLVParser* CContextPage::ClonePage(const CHTMLVParser* page) {
    if (const auto* own = dynamic_cast<const CContextPage*>(page)) {
        return own->Clone();
    }
    // Only an exact facade is copied field by field; a class derived from it
    // might hold more than the copy would carry.
    if (page != nullptr && typeid(*page) == typeid(CHTMLPage)) {
        return new CHTMLPage(static_cast<const CHTMLPage&>(*page));
    }
    return nullptr;
}
