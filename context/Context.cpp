#include "webstep/context/Context.h"

#include "webstep/context/ContextTree.h"
#include "webstep/html/HTMLVParser.h"

const CURLParser& CContext::GetUrl() const {
    static const CURLParser empty;
    return m_pContextTree != nullptr ? m_pContextTree->GetUrl() : empty;
}

bool CContext::SetUrl(const CURLParser& url) {
    if (m_pContextTree == nullptr) {
        return false;
    }
    m_pContextTree->SetUrl(url);
    return true;
}

bool CContext::LockTree() {
    return m_pContextTree == nullptr || m_pContextTree->LockTree();
}

bool CContext::UnlockTree() {
    return m_pContextTree == nullptr || m_pContextTree->UnlockTree();
}

CContextTree* CContext::CreateTreeCopy() const {
    if (m_pContextTree == nullptr) {
        return nullptr;
    }
    CContextTree* copy = m_pContextTree->CreateObject();
    if (copy == nullptr) {
        return nullptr;
    }
    copy->SetUrl(m_pContextTree->GetUrl());
    if (CHTMLVParser* page = m_pContextTree->GetTree()) {
        // The page's own copy; a page that cannot be copied leaves the copy
        // without one.
        copy->SetTree(page->clone());
    }
    return copy;
}
