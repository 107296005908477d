#include "webstep/html/HTMLPage.h"

#include <typeinfo>

#include "webstep/html/HTMLScanner.h"

CHTMLPage::~CHTMLPage() = default;

int CHTMLPage::nMaps() const {
    return m_scanner != nullptr ? m_scanner->nMaps() : 0;
}
CHTMLMap* CHTMLPage::map(int i) const {
    return m_scanner != nullptr && i >= 0 ? m_scanner->map(static_cast<unsigned>(i)) : nullptr;
}
int CHTMLPage::nForms() const {
    return m_scanner != nullptr ? m_scanner->nForms() : 0;
}
CHTMLForm* CHTMLPage::form(int i) const {
    return m_scanner != nullptr && i >= 0 ? m_scanner->form(static_cast<unsigned>(i)) : nullptr;
}
int CHTMLPage::nLinks() const {
    return m_scanner != nullptr ? m_scanner->nLinks() : 0;
}
CHTMLLink* CHTMLPage::link(int i) const {
    return m_scanner != nullptr && i >= 0 ? m_scanner->link(static_cast<unsigned>(i)) : nullptr;
}
const char* CHTMLPage::title() const {
    return m_scanner != nullptr ? m_scanner->title() : nullptr;
}
bool CHTMLPage::isFrameSet() const {
    return m_scanner != nullptr && m_scanner->isFrameSet();
}
bool CHTMLPage::isFrame() const {
    return m_scanner != nullptr && m_scanner->isFrame();
}
bool CHTMLPage::isEmpty() const {
    return m_scanner == nullptr || m_scanner->isEmpty();
}
CHTMLVParser* CHTMLPage::clone() const {
    if (typeid(*this) != typeid(CHTMLPage)) {
        return nullptr;
    }
    return new CHTMLPage(m_scanner);
}
