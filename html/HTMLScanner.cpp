#include "webstep/html/HTMLScanner.h"

class CHTMLScanner::CTranslator {
public:
    explicit CTranslator(HTMLLoader* loader) : m_loader(loader) {}
    CTranslator(const CTranslator&) = delete;
    CTranslator& operator=(const CTranslator&) = delete;
    ~CTranslator() { delete m_loader; }
    HTMLLoader* operator->() const { return m_loader; }

private:
    HTMLLoader* m_loader;
};

CHTMLScanner::CHTMLScanner(const LinkSpec* table)
    : m_translator(nullptr), m_impl(new CHTMLScannerImpl(table)), m_empty(true) {}

CHTMLScanner::~CHTMLScanner() {
    delete m_translator;
    delete m_impl;
}

void CHTMLScanner::setup(const LinkSpec* table) {
    m_impl->setup(table);
}

void CHTMLScanner::startParse() {
    m_impl->startParse();
    m_empty = true;
    delete m_translator;
    m_translator = nullptr;
    if (HTMLLoader* loader = CreateHTMLLoader()) {
        m_translator = new CTranslator(loader);
        (*m_translator)->StartParse();
    }
}

void CHTMLScanner::continueParse(const char* data, unsigned length) {
    if (data == nullptr || length == 0) {
        return;
    }
    if (m_translator != nullptr) {
        (*m_translator)->ContinueParse(const_cast<char*>(data), length);
    }
    m_impl->continueParse(data, length);
    m_empty = false;
}

void CHTMLScanner::endParse() {
    if (m_translator != nullptr && (*m_translator)->EndParse() != 0) {
        // The translated page replaces what the first scan collected.
        m_impl->startParse();
        char* text = nullptr;
        unsigned long length = 0;
        if ((*m_translator)->GetTranslatedHTML(&text, &length, false) >= 0) {
            if (text != nullptr && length > 0) {
                m_impl->continueParse(text, static_cast<unsigned>(length));
            }
            (*m_translator)->FreeTranslatedHTML(text);
        }
    }
    delete m_translator;
    m_translator = nullptr;
    m_impl->stopParse();
}

CHTMLPage* CHTMLScanner::CreateObject() {
    return new CHTMLPage(this);
}
