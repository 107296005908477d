#include "webstep/context/ContextPage.h"

#include <algorithm>
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

CContextPage* CContextPage::clone() const {
    return Scan(m_text.data(), m_text.size(), m_table);
}
